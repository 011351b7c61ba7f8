// SPDX-License-Identifier: MIT
// Any bytes are either a project or an Error; what reads as a project is written back to the
// same content.
#include <cstdint>
#include <cstdlib>
#include <span>

#include "base/Error.h"
#include "project/ProjectFile.h"

namespace {

void takeEverything(const brindle::PropertyBag& bag) {
    brindle::clsProjExcel project;
    for (const brindle::ProjectOption& option : brindle::projectOptions())
        brindle::readProjectOption(bag, option, project);
    brindle::Entries entries;
    std::int32_t entryKeyCounter = 1;
    brindle::readProjectEntries(bag, entries, entryKeyCounter);
    brindle::projectBag(project, entries);
}

}  // namespace

// Damaged items would fill the user's log.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return setenv("BRINDLE_HOME", "/dev/null", 1);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto bytes = std::as_bytes(std::span(data, size));
    try {
        const brindle::PropertyBag bag = brindle::projectBagOf(bytes);
        const auto content = bag.Contents();
        if (!std::equal(content.begin(), content.end(), bytes.begin() + 12)) std::abort();
        takeEverything(bag);
    } catch (const brindle::Error&) {
        // Expected of foreign bytes.
    }
    return 0;
}
