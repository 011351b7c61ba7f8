// SPDX-License-Identifier: MIT
// The function names that the application knows, and the prefixes that package formats put in
// front of some names.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace brindle::workbook::formula {

// What the stored form of a package puts in front of a function name.
enum class StoredPrefix : std::uint8_t {
    None,
    Future,           // _xlfn.
    FutureWorksheet,  // _xlfn._xlws.
};

struct FunctionName {
    std::string_view name;  // upper case
    StoredPrefix prefix = StoredPrefix::None;
};

// All of them, in byte order.
std::span<const FunctionName> functionNames();
// Null when the name, in any case and without a prefix, is not known.
const FunctionName* findFunction(std::string_view name);
std::string_view storedPrefixText(StoredPrefix prefix);
// Bytes of "_xlfn.", "_xlws." or both in front of a stored function name.
std::size_t functionPrefixLength(std::string_view storedName);
// The name with its letters as the application writes them: known names upper case, prefixes
// kept; a name that is not known stays as it is.
std::string usualFunctionName(std::string_view name);

}  // namespace brindle::workbook::formula
