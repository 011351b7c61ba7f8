// SPDX-License-Identifier: MIT
// Any bytes as the relationships of a worksheet and, behind a NUL, as the worksheet: addresses,
// headers and footers are told or end in an Error; what is changed is told again by the file that
// is written, and what is not changed stays.
#include "base/Text.h"
#include "WorkbookInMemory.h"

namespace {

using namespace brindle;

using Texts = std::vector<std::string>;

constexpr workbook::PageKind kKinds[] = {workbook::PageKind::Odd, workbook::PageKind::Even,
                                         workbook::PageKind::First};
const char* const kReplacements[] = {"q", "", "& b", "C:\\x y", "#", "%4", "&R", "\xC3\xA4\""};

// Emptied links may go, so only those that have an address are told.
Texts textsOf(workbook::Worksheet& sheet) {
    Texts texts;
    for (std::size_t i = 0; i < sheet.hyperlinkCount(); ++i) {
        std::string address = sheet.hyperlinkAddress(i);
        if (!address.empty()) texts.push_back(std::move(address));
    }
    for (const auto kind : kKinds) {
        for (int i = 0; i < 6; ++i) {
            texts.push_back(sheet.pageSection(kind, static_cast<workbook::PageSection>(i)));
        }
    }
    return texts;
}

// A refusal must leave the text as it was.
template <typename Get, typename Set>
void replaceText(const Get& get, const Set& set, const char* replacement) {
    const std::string before = get();
    try {
        set(text::replaceAll(before, "a", replacement, CaseMode::Folded));
    } catch (const Error& error) {
        if (error.kind() != ErrorKind::Refused) throw;
        fuzz::require(get() == before);
    }
}

void replaceAll(workbook::Worksheet& sheet, const char* replacement) {
    for (std::size_t i = 0; i < sheet.hyperlinkCount(); ++i) {
        replaceText([&] { return sheet.hyperlinkAddress(i); },
                    [&](const std::string& text) { sheet.setHyperlinkAddress(i, text); },
                    replacement);
    }
    for (const auto kind : kKinds) {
        for (int i = 0; i < 6; ++i) {
            const auto section = static_cast<workbook::PageSection>(i);
            replaceText([&] { return sheet.pageSection(kind, section); },
                        [&](const std::string& text) { sheet.setPageSection(kind, section, text); },
                        replacement);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    if (rest.empty()) return 0;
    const char* const replacement = kReplacements[data[0] % std::size(kReplacements)];
    rest.remove_prefix(1);
    const std::size_t end = std::min(rest.find('\0'), rest.size());
    const std::string_view sheetPart = rest.substr(std::min(end + 1, rest.size()));
    const std::string bytes = fuzz::workbookAround(
        sheetPart, "<sst xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\"/>",
        rest.substr(0, end));
    const fuzz::MemoryFile file(bytes);
    Texts meant;
    try {
        const auto document = workbook::openDocument(file.path(), {});
        workbook::Worksheet& sheet = document->worksheet(0);
        const Texts before = textsOf(sheet);
        replaceAll(sheet, "a");
        replaceAll(sheet, replacement);
        meant = textsOf(sheet);
        document->save();
    } catch (const Error& error) {
        // The writer's own check must never be what finds a fault.
        fuzz::require(error.kind() != ErrorKind::Internal);
        fuzz::require(readWholeFile(file.path()) == bytes);
        return 0;
    }
    const auto document = workbook::openDocument(file.path(), {});
    fuzz::require(textsOf(document->worksheet(0)) == meant);
    return 0;
}
