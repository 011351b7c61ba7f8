// SPDX-License-Identifier: MIT
#include "workbook/xls/Hyperlinks.h"

#include <algorithm>

#include "base/Error.h"
#include "workbook/xls/biff/SheetRecords.h"

namespace brindle::workbook::xls {

namespace {

constexpr std::size_t kRangeSize = 8;  // first and last row, first and last column
constexpr std::string_view kClassId = {
    "\xD0\xC9\xEA\x79\xF9\xBA\xCE\x11\x8C\x82\x00\xAA\x00\x4B\xA9\x0B", 16};
constexpr std::size_t kObjectOffset = kRangeSize + kClassId.size();

// A tooltip repeats its id, then names the cells.
bool isTooltipOf(const Record& tooltip, std::string_view linkBody) {
    return tooltip.body.size() >= 2 + kRangeSize && linkBody.size() >= kRangeSize &&
           tooltip.body.substr(2, kRangeSize) == linkBody.substr(0, kRangeSize);
}

}  // namespace

Hyperlinks::Hyperlinks(std::string_view stream, std::size_t sheetOffset, const StringCodec& codec) {
    if (codec.version() != Version::Biff8) return;
    SheetRecords records(stream, sheetOffset);
    for (Record record; records.next(record);) {
        if (record.id == record::kHyperlink) {
            mLinks.push_back({record.body, record.offset, record.end(), record.end(), false, {}});
        } else if (record.id == record::kHyperlinkTooltip && !mLinks.empty() &&
                   record.offset == mLinks.back().end && isTooltipOf(record, mLinks.back().body)) {
            mLinks.back().tooltipEnd = record.end();
        }
    }
}

// Of a body that is none of a link, nothing is understood.
HyperlinkObject Hyperlinks::objectOf(std::string_view body) {
    const bool isLink =
        body.size() >= kObjectOffset && body.substr(kRangeSize, kClassId.size()) == kClassId;
    return HyperlinkObject(isLink ? body.substr(kObjectOffset) : std::string_view());
}

std::string Hyperlinks::address(std::size_t index) const {
    const Link& link = mLinks.at(index);
    return objectOf(link.isChanged ? link.newBody : link.body).address();
}

void Hyperlinks::setAddress(std::size_t index, std::string_view address) {
    if (address == this->address(index)) return;
    Link& link = mLinks.at(index);
    const HyperlinkObject original = objectOf(link.body);
    if (!original.address().empty() && address == original.address()) {
        link.isChanged = false;  // back to what it was
        return;
    }
    const HyperlinkObject current = objectOf(link.isChanged ? link.newBody : link.body);
    const HyperlinkObject& base = current.address().empty() ? original : current;
    const std::optional<std::string> object = base.withAddress(address);
    std::string body;
    if (object) body = std::string(link.body.substr(0, kObjectOffset)) + *object;
    if (body.size() > longestBody(Version::Biff8)) {
        throw Error::refused("The address is too long for a hyperlink");
    }
    link.newBody = std::move(body);
    link.isChanged = true;
}

bool Hyperlinks::isChanged() const {
    return std::any_of(mLinks.begin(), mLinks.end(),
                       [](const Link& link) { return link.isChanged; });
}

std::vector<RecordSplice> Hyperlinks::splices() const {
    std::vector<RecordSplice> splices;
    for (const Link& link : mLinks) {
        if (!link.isChanged) continue;
        RecordSplice splice = {link.begin, link.newBody.empty() ? link.tooltipEnd : link.end, {}};
        if (!link.newBody.empty()) appendRecord(splice.bytes, record::kHyperlink, link.newBody);
        splices.push_back(std::move(splice));
    }
    return splices;
}

}  // namespace brindle::workbook::xls
