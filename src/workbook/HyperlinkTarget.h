// SPDX-License-Identifier: MIT
// The address of a hyperlink and the URI reference that stores it (in packages the target of a
// relationship: ECMA-376 part 2, section 9.3.3.4). Addresses with a scheme stand as they are
// stored. Of a path, absolute or relative, the file:/// in front and percent-escapes are not part
// of the address.
#pragma once

#include <string>
#include <string_view>

namespace brindle::workbook {

enum class AddressForm { Url, AbsolutePath, RelativePath };

// An address or target taken apart. Borrowed from it.
struct AddressParts {
    AddressForm form = AddressForm::Url;
    std::string_view prefix;  // file:/// of an absolute path
    std::string_view body;
    std::string_view fragment;  // with the "#"
};
AddressParts addressParts(std::string_view address);

// What the user sees: without the fragment (the place in the document, from "#").
std::string shownAddress(std::string_view target);

// The target for a new address: its fragment and every character that the change leaves alone
// stay as they are stored. Throws Error 1004 when the new address cannot be stored.
// `hasLocation`: the link names its place beside the target.
std::string targetForAddress(std::string_view target, std::string_view address, bool hasLocation);

}  // namespace brindle::workbook
