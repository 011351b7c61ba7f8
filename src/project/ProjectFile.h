// SPDX-License-Identifier: MIT
// Project files: their bytes, and what of a project they hold. A file begins with one record;
// all numbers are little-endian:
//
//   uint16   0x2011: the record is an array of bytes
//   uint16   1: number of dimensions
//   uint32   number of content bytes
//   int32    0: lower bound
//   content  a PropertyBag: the ten options, "Count", and "Item1", "Item2", ... as many as
//            Count says, each the GetItemClip of an entry
//
// What follows the record is nobody's business: a shorter record leaves the end of a longer
// one before it in the file.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "project/clsProjExcel.h"
#include "project/Entries.h"
#include "project/PropertyBag.h"

namespace brindle {

// The file that holds the state of the last session.
std::string defaultProjectPath();

// Throws Error 321 for bytes that are no project file.
PropertyBag projectBagOf(std::span<const std::byte> fileBytes);

// Throws Error 53 for a missing file, 321 for one that is no project file.
PropertyBag readProjectFile(const std::string& path);

// The path holds the whole old or the whole new project at every instant, but for a file with
// several names (hard links), which is written where it stands. A file that is made new belongs to
// its user alone, because it may hold a password. Of two programs that write at once the later
// one wins. Throws Error 6 for more than 256 MiB of content,
// which would not be read back.
void writeProjectFile(const std::string& path, const PropertyBag& bag);

// One option: its name in the bag and its field, which is either a text or a flag.
struct ProjectOption {
    const char* name;
    std::string clsProjExcel::*text;
    bool clsProjExcel::*flag;
};

// The ten options in the order in which they are saved and loaded.
std::span<const ProjectOption> projectOptions();

// Takes one option over; an absent one is "" or false.
void readProjectOption(const PropertyBag& bag, const ProjectOption& option, clsProjExcel& project);

// Everything that a project file holds of a project. Throws Error 6 for more entries than the
// 16-bit number of an item can count.
PropertyBag projectBag(const clsProjExcel& project, const Entries& entries);

// Appends the entries of the bag, with keys "Item-" and the counter, which goes up by one for
// each; calls `loaded` for each as soon as it stands in the list. Items that are missing or no
// bytes are passed over; a damaged one is logged and leaves a gap in the keys. Throws Error 6
// for a count beyond 16 bits.
void readProjectEntries(const PropertyBag& bag, Entries& entries, std::int32_t& entryKeyCounter,
                        const std::function<void(Entry&)>& loaded = {});

}  // namespace brindle
