// SPDX-License-Identifier: MIT
#include "workbook/xls/CellLabel.h"

#include "base/ByteReader.h"
#include "base/LittleEndian.h"
#include "base/Text.h"

namespace brindle::workbook::xls {

namespace {

constexpr std::uint16_t kLabelOfBiff2 = 0x0004;

std::size_t narrowRunsSize(std::string_view bytes) {
    return 1 + 2 * std::size_t{static_cast<unsigned char>(bytes.front())};
}

struct TextSize {
    std::size_t bytes;
    StringItem::Unit unit;
};

// The text for which the record says `count`. Newer applications count the characters of East
// Asian code pages when they write the old format; only the length of the record tells.
TextSize textSize(std::string_view rest, std::size_t count, bool isRich, const StringCodec& codec) {
    const auto fits = [&](std::size_t size) {
        if (!isRich) return size == rest.size();
        return size < rest.size() && size + narrowRunsSize(rest.substr(size)) == rest.size();
    };
    TextSize size{count, StringItem::Unit::Codec};
    if (fits(count)) return size;
    for (std::size_t bytes = count + 1; bytes <= 2 * count && bytes <= rest.size(); ++bytes) {
        if (!fits(bytes)) continue;
        const std::string text = codec.decode(rest.substr(0, bytes), false);
        if (text::lengthUtf16(text) == count) return {bytes, StringItem::Unit::Utf16};
        if (isRich && size.bytes == count) size = {bytes, StringItem::Unit::Unknown};
    }
    return size;
}

StringItem readNarrow(ByteReader& data, bool isRich, const StringCodec& codec) {
    const std::size_t count = codec.version() == Version::Biff2 ? data.number<std::uint8_t>()
                                                                : data.number<std::uint16_t>();
    const TextSize size = textSize(data.rest(), count, isRich, codec);
    StringItem item;
    item.text = codec.readCharacters(data, size.bytes);
    item.unit = size.unit;
    if (!isRich) return item;
    for (std::size_t runs = data.number<std::uint8_t>(); runs > 0; --runs) {
        const auto first = data.number<std::uint8_t>();
        item.runs.push_back({first, data.number<std::uint8_t>()});
    }
    return item;
}

std::string narrowRuns(const std::vector<FormatRun>& runs) {
    if (runs.empty()) return {};
    std::string bytes(1, static_cast<char>(runs.size()));
    for (const FormatRun& run : runs) {
        bytes += static_cast<char>(run.first);
        bytes += static_cast<char>(run.font);
    }
    return bytes;
}

}  // namespace

StringItem readLabel(const CellRecord& cell, const StringCodec& codec) {
    ByteReader data(cell.data);
    const bool isRich = cell.kind == CellKind::RichLabel;
    if (codec.version() != Version::Biff8) return readNarrow(data, isRich, codec);
    StringItem item;
    item.text = codec.readLong(data);
    if (!isRich) return item;
    for (std::size_t runs = data.number<std::uint16_t>(); runs > 0; --runs) {
        const auto first = data.number<std::uint16_t>();
        item.runs.push_back({first, data.number<std::uint16_t>()});
    }
    return item;
}

void appendLabel(std::string& out, std::string head, const StringItem& item,
                 const StringCodec& codec) {
    const std::size_t countAt = head.size();
    if (codec.version() == Version::Biff2) {
        codec.appendShort(head, item.text);
        appendRecord(out, kLabelOfBiff2, head);
        return;
    }
    codec.appendLong(head, item.text);
    if (item.unit == StringItem::Unit::Utf16) {
        putLittleEndian(head.data() + countAt,
                        static_cast<std::uint16_t>(text::lengthUtf16(item.text)));
    }
    const std::string runs =
        codec.version() == Version::Biff5 ? narrowRuns(item.runs) : std::string();
    head += runs;
    appendRecord(out, runs.empty() ? record::kLabel : record::kRString, head);
}

}  // namespace brindle::workbook::xls
