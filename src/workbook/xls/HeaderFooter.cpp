// SPDX-License-Identifier: MIT
#include "workbook/xls/HeaderFooter.h"

#include <algorithm>

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/xls/biff/SheetRecords.h"

namespace brindle::workbook::xls {

namespace {

constexpr std::size_t kLongest = 255;

// The record for even and first pages.
constexpr std::size_t kViewOffset = 12;  // behind the header of a future record
constexpr std::size_t kViewSize = 16;
constexpr std::size_t kFlagsOffset = kViewOffset + kViewSize;
constexpr std::size_t kHeadSize = kFlagsOffset + 2;
constexpr std::uint16_t kDiffersEven = 0x01;
constexpr std::uint16_t kDiffersFirst = 0x02;

// What a sheet begins with, in front of its page setup.
constexpr std::array<std::uint16_t, 22> kInFront = {
    0x0009, 0x0209, 0x0409, 0x0809,          // BOF
    0x020B, 0x005E,                          // INDEX, UNCALCED
    0x000D, 0x000C, 0x000F, 0x0011, 0x0010,  // CALCMODE to DELTA
    0x005F, 0x002A, 0x002B, 0x0082,          // SAVERECALC to GRIDSET
    0x0080, 0x0025, 0x0225,                  // GUTS, DEFAULTROWHEIGHT
    0x0081, 0x0097,                          // WSBOOL, SYNC
    0x001A, 0x001B};                         // page breaks

bool isInFront(std::uint16_t id) {
    return std::find(kInFront.begin(), kInFront.end(), id) != kInFront.end();
}

std::size_t indexOf(PageKind kind, PageSection section) {
    const bool isFooter = section >= PageSection::LeftFooter;
    return static_cast<std::size_t>(kind) * 2 + (isFooter ? 1 : 0);
}

}  // namespace

HeaderFooter::HeaderFooter(std::string_view stream, std::size_t sheetOffset,
                           const StringCodec& codec)
    : mCodec(codec) {
    readRecords(stream, sheetOffset);
    for (Text& text : mTexts) text.original = text.text.raw();
}

void HeaderFooter::readRecords(std::string_view stream, std::size_t sheetOffset) {
    std::size_t place = sheetOffset;
    bool isStart = true;
    bool isInView = false;
    SheetRecords records(stream, sheetOffset);
    for (Record record; records.next(record);) {
        // Some writers put the widths of the columns too far to the front.
        isStart = isStart && (isInFront(record.id) || record.id == record::kDefColWidth);
        if (isStart && record.id != record::kDefColWidth) place = record.end();
        switch (record.id) {
            case record::kViewBegin:
            case record::kViewEnd:
                isInView = record.id == record::kViewBegin;
                break;
            case record::kHeader:
                if (!isInView && !mHeader.exists()) readOddText(record, mHeader, mTexts[0]);
                break;
            case record::kFooter:
                if (!isInView && !mFooter.exists()) readOddText(record, mFooter, mTexts[1]);
                break;
            case record::kHeaderFooter:
                if (!isInView && !mOthers.exists()) readOtherTexts(record);
                break;
            default:
                break;
        }
    }
    if (!mHeader.exists()) {
        const std::size_t at = mFooter.exists() ? mFooter.begin : place;
        mHeader = {at, at};
    }
    if (!mFooter.exists()) mFooter = {mHeader.end, mHeader.end};
}

void HeaderFooter::readOddText(const Record& record, Place& place, Text& text) {
    place = {record.offset, record.end()};
    if (record.body.empty()) return;
    ByteReader bytes(record.body);
    const bool isNew = mCodec.version() == Version::Biff8;
    text.text = PageText(isNew ? mCodec.readLong(bytes) : mCodec.readShort(bytes));
}

void HeaderFooter::readOtherTexts(const Record& record) {
    ByteReader bytes(record.body);
    const std::string_view head = bytes.bytes(kHeadSize);
    const std::string_view view = head.substr(kViewOffset, kViewSize);
    if (view.find_first_not_of('\0') != std::string_view::npos) return;
    std::array<std::uint16_t, 4> counts{};
    for (std::uint16_t& count : counts) count = bytes.number<std::uint16_t>();
    std::array<std::string, 4> texts;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        if (counts[i] > kLongest) return;
        if (counts[i] > 0) texts[i] = mCodec.readLong(bytes);
    }
    if (bytes.remaining() > 0) return;  // not a record that we would know how to write
    for (std::size_t i = 0; i < texts.size(); ++i) mTexts[2 + i].text = PageText(texts[i]);
    mOthers = {record.offset, record.end()};
    mOthersHead = head;
}

bool HeaderFooter::usesPages(PageKind kind) const {
    if (kind == PageKind::Odd) return true;
    if (!mOthers.exists()) return false;
    const auto flags = getLittleEndian<std::uint16_t>(mOthersHead.data() + kFlagsOffset);
    return (flags & (kind == PageKind::Even ? kDiffersEven : kDiffersFirst)) != 0;
}

std::string HeaderFooter::section(PageKind kind, PageSection section) const {
    return mTexts[indexOf(kind, section)].text.section(section);
}

void HeaderFooter::setSection(PageKind kind, PageSection section, std::string_view text) {
    Text& changed = mTexts[indexOf(kind, section)];
    if (text == changed.text.section(section)) return;
    if (kind != PageKind::Odd && !mOthers.exists()) {
        throw cannotSet(section, "the worksheet has no such pages");
    }
    PageText newText = changed.text;
    newText.setSection(section, text);
    oddBody(newText);  // refuses what cannot be stored
    // Back to what it was, spelling and all.
    const PageText original(changed.original);
    changed.text = newText.isSameAs(original) ? original : newText;
}

bool HeaderFooter::isChanged() const {
    return std::any_of(mTexts.begin(), mTexts.end(),
                       [](const Text& text) { return text.isChanged(); });
}

std::string HeaderFooter::oddBody(const PageText& text) const {
    std::string body;
    if (text.raw().empty()) return body;
    if (mCodec.version() == Version::Biff8) {
        mCodec.appendLong(body, text.raw(), kLongest);
    } else {
        mCodec.appendShort(body, text.raw(), kLongest);
    }
    return body;
}

std::string HeaderFooter::oddRecord(std::uint16_t id, const Text& text) const {
    std::string bytes;
    if (text.isChanged()) appendRecord(bytes, id, oddBody(text.text));
    return bytes;
}

std::vector<RecordSplice> HeaderFooter::splices() const {
    std::vector<RecordSplice> splices;
    addOddSplices(splices);
    const bool areOthersChanged = std::any_of(mTexts.begin() + 2, mTexts.end(),
                                              [](const Text& text) { return text.isChanged(); });
    if (areOthersChanged) splices.push_back({mOthers.begin, mOthers.end, otherRecord()});
    return splices;
}

// Neighbours go together, so that no two changes are at one place where one of them is added.
void HeaderFooter::addOddSplices(std::vector<RecordSplice>& splices) const {
    const std::string header = oddRecord(record::kHeader, mTexts[0]);
    const std::string footer = oddRecord(record::kFooter, mTexts[1]);
    if (!header.empty() && !footer.empty() && mHeader.end == mFooter.begin) {
        splices.push_back({mHeader.begin, mFooter.end, header + footer});
        return;
    }
    if (!header.empty()) splices.push_back({mHeader.begin, mHeader.end, header});
    if (!footer.empty()) splices.push_back({mFooter.begin, mFooter.end, footer});
}

std::string HeaderFooter::otherRecord() const {
    std::string body(mOthersHead);
    std::string texts;
    for (std::size_t i = 2; i < mTexts.size(); ++i) {
        const std::string& text = mTexts[i].text.raw();
        body += littleEndian(static_cast<std::uint16_t>(text::lengthUtf16(text)));
        if (!text.empty()) mCodec.appendLong(texts, text);
    }
    std::string bytes;
    appendRecord(bytes, record::kHeaderFooter, body + texts);
    return bytes;
}

}  // namespace brindle::workbook::xls
