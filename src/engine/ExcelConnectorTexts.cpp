// SPDX-License-Identifier: MIT
// The scopes of hyperlink addresses, page headers and footers, and shapes.
#include <array>

#include "engine/excel/Workbook.h"
#include "engine/ExcelConnector.h"

namespace brindle {
namespace {

using workbook::PageKind;
using workbook::PageSection;

// In the order of PageSection.
constexpr std::array kSectionNames = {"LeftHeader", "CenterHeader", "RightHeader",
                                      "LeftFooter", "CenterFooter", "RightFooter"};
constexpr std::array kPageKinds = {PageKind::Odd, PageKind::Even, PageKind::First};

bool isHeader(PageSection section) {
    return section <= PageSection::RightHeader;
}

}  // namespace

void ExcelConnector::ConvertHyperlinks(Entry& vEntry) {
    runScope("ConvertHyperlinks", vEntry, [&] {
        forEachWorksheet([&] {
            const excel::Hyperlinks links = mWorksheet->Hyperlinks();
            const std::int32_t count = links.Count();
            for (std::int32_t i = 1; i <= count; ++i) {
                moveTo("hyperlink", i);
                convertHyperlink(links.Item(i), vEntry);
            }
        });
    });
}

void ExcelConnector::convertHyperlink(excel::Hyperlink link, Entry& entry) {
    std::string address = link.Address();
    if (valueMatches(address, entry)) {
        clsCounts::increment(entry.counts.HyperlinkCounter);
        address = text::replaceAll(address, entry.FindWhat, entry.ReplaceWith, caseMode());
    }
    if (!mFlags.isSearchOnly) link.setAddress(address);
}

void ExcelConnector::Header(Entry& vEntry) {
    runScope("Header", vEntry,
             [&] { forEachWorksheet([&] { convertSections(vEntry, PageSection::LeftHeader); }); });
}

void ExcelConnector::Footer(Entry& vEntry) {
    runScope("Footer", vEntry,
             [&] { forEachWorksheet([&] { convertSections(vEntry, PageSection::LeftFooter); }); });
}

// Left, centre, right of every kind of page that the sheet uses.
void ExcelConnector::convertSections(Entry& entry, PageSection left) {
    const excel::PageSetup pages = mWorksheet->PageSetup();
    for (const PageKind kind : kPageKinds) {
        if (kind != PageKind::Odd && !pages.UsesPages(kind)) continue;
        for (int i = 0; i < 3; ++i) {
            const auto section = static_cast<PageSection>(static_cast<int>(left) + i);
            moveTo(kSectionNames[static_cast<std::size_t>(section)]);
            mPlace.pages = kind;
            headerfooter(pages.Section(kind, section), section, kind, entry);
        }
    }
}

void ExcelConnector::headerfooter(std::string text, PageSection position, PageKind pages,
                                  Entry& vEntry) {
    runScope("headerfooter", vEntry, [&] {
        if (text::contains(text, vEntry.FindWhat, caseMode())) {
            clsCounts::increment(isHeader(position) ? vEntry.counts.HeaderCounter
                                                    : vEntry.counts.FooterCounter);
            text = text::replaceAll(text, vEntry.FindWhat, vEntry.ReplaceWith, caseMode());
        }
        if (!mFlags.isSearchOnly) mWorksheet->PageSetup().setSection(pages, position, text);
    });
}

void ExcelConnector::shapes(Entry& vEntry) {
    runScope("shapes", vEntry, [&] {
        forEachWorksheet([&] {
            const excel::Shapes shapes = mWorksheet->Shapes();
            const std::int32_t count = shapes.Count();
            for (std::int32_t i = 1; i <= count; ++i) {
                moveTo("shape", i);
                convertShape(shapes.Item(i), vEntry);
            }
        });
    });
}

void ExcelConnector::convertShape(excel::Shape shape, Entry& entry) {
    const std::string text = shape.Text();
    if (text.empty()) return;
    const std::size_t occurrences = text::countOccurrences(text, entry.FindWhat, caseMode());
    for (std::size_t i = 0; i < occurrences; ++i) clsCounts::increment(entry.counts.ShapesCounter);
    if (mFlags.isSearchOnly) return;
    shape.setText(text::replaceAll(text, entry.FindWhat, entry.ReplaceWith, caseMode()));
}

}  // namespace brindle
