// SPDX-License-Identifier: MIT
// The scanner accepts what expat accepts and sees the same in it; conversion from other encodings
// ends in text or an Error.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "base/Error.h"
#include "unit/workbook/package/ExpatEvents.h"
#include "workbook/package/XmlScanner.h"

namespace {

using namespace brindle::workbook::package;

bool isOutsideAscii(std::string_view document, std::size_t at) {
    return at < document.size() && static_cast<unsigned char>(document[at]) >= 0x80;
}

// expat 2.5 holds to the names of the fourth edition, takes any version number and skips a
// byte-order mark by itself.
bool isComparable(std::string_view document, const testing::XmlVerdict& ours,
                  const testing::XmlVerdict& theirs) {
    const bool hasMark = !document.empty() && isOutsideAscii(document, 0);
    return !hasMark && !ours.isDoctype && !isOutsideAscii(document, ours.failedAt) &&
           !isOutsideAscii(document, theirs.failedAt) &&
           ours.reason != "The XML declaration is not well formed";
}

void convert(std::string_view bytes) {
    try {
        if (const auto text = toUtf8(bytes)) testing::judgeByScanner(*text);
    } catch (const brindle::Error&) {
        // Expected of foreign bytes.
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view document(reinterpret_cast<const char*>(data), size);
    convert(document);
    const auto ours = testing::judgeByScanner(document);
    const auto theirs = testing::judgeByExpat(document);
    if (!isComparable(document, ours, theirs)) return 0;
    if (ours.isAccepted != theirs.isAccepted) {
        std::fprintf(stderr, "scanner: %s; expat: %s\n", ours.reason.c_str(),
                     theirs.reason.c_str());
        std::abort();
    }
    if (ours.isAccepted && ours.events != theirs.events) std::abort();
    return 0;
}
