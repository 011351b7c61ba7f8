// SPDX-License-Identifier: MIT
// Formula text: what parses must print as something that parses to the same print; the stored
// form must survive the way to the shown form and back; nothing may crash on what does not parse.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/formula/Formula.h"

namespace {

using namespace brindle::workbook;

const std::vector<std::string> kBooks = {"C:\\dir\\book.xls", "b.xlsx"};

void require(bool condition) {
    if (!condition) std::abort();
}

bool parses(std::string_view text) {
    try {
        formula::Formula::parse(text);
        return true;
    } catch (const brindle::Error&) {
        return false;
    }
}

void checkPrint(std::string_view text) {
    std::string printed;
    try {
        const formula::Formula parsed = formula::Formula::parse(text);
        printed = parsed.print();
        parsed.sheetNames();
        parsed.externalBooks();
    } catch (const brindle::Error&) {
        return;
    }
    require(formula::Formula::parse(printed).print() == printed);
}

void checkStoredForm(const std::string& stored) {
    const std::string shown = formula::shownText(stored, kBooks);
    require(formula::storedText(shown, stored, kBooks) == stored);
    try {
        formula::storedText(shown + "+1", stored, kBooks);
        formula::storedText(stored, "", kBooks);
    } catch (const brindle::Error&) {
        // Books that are not linked.
    }
}

// Storing may tidy the shown text once (@(A1) becomes @A1); then it must stay, and still parse.
void checkShownForm(const std::string& shown) {
    // The prefixes of the stored form have no place in it.
    if (!parses(shown) || brindle::text::lowerAscii(shown).find("_xl") != std::string::npos) return;
    try {
        const std::string once = formula::shownText(formula::storedText(shown, "", {}), {});
        require(parses(once));
        require(formula::shownText(formula::storedText(once, "", {}), {}) == once);
    } catch (const brindle::Error&) {
        // A book that is not linked.
    }
}

void checkMoving(std::string_view text) {
    std::string here;
    const formula::SharedFormula shared(text, {10, 10});
    shared.appendTextAt(here, {10, 10});
    std::string there;
    shared.appendTextAt(there, {1, 1});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + size);
    checkPrint(text);
    checkStoredForm(text);
    checkShownForm(text);
    checkMoving(text);
    return 0;
}
