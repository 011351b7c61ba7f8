// SPDX-License-Identifier: MIT
// Headers and directory records of an archive that is written. Internal to this folder.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/package/ZipDirectory.h"

namespace brindle::workbook::package::zip {

// The extra fields without the zip64 one, or with `values` as the zip64 one in its place (at
// the front when there was none).
std::string withZip64Values(std::string_view extraFields, const std::vector<std::uint64_t>& values);

// The local header of a changed or added member. `original` is the header that it had, empty for
// an added one.
std::string localHeaderFor(const MemberEdit& edit, std::string_view original);

// The directory record of a member; `edit` is null for one that stays, `original` as above.
// `storedOffset` is what the record says of the place of the local header.
std::string recordFor(const MemberEdit* edit, std::string_view original,
                      std::uint64_t storedOffset);

// The end records for a directory of `count` members; `original` is the old directory, whose
// comment and further data are kept.
std::string endRecordsFor(const Directory& original, std::uint64_t count, std::uint64_t size,
                          std::uint64_t position);

}  // namespace brindle::workbook::package::zip
