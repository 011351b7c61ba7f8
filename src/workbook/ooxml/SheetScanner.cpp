// SPDX-License-Identifier: MIT
#include "workbook/ooxml/SheetScanner.h"

#include <charconv>

#include "base/Error.h"
#include "workbook/ooxml/OoxmlNames.h"
#include "workbook/ooxml/Package.h"
#include "workbook/ooxml/SheetStream.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::ooxml {

namespace {

using package::XmlAttribute;
using package::XmlScanner;
using package::XmlToken;

std::uint32_t unsignedOf(std::string_view raw) {
    std::uint32_t value = 0;
    std::from_chars(raw.data(), raw.data() + raw.size(), value);
    return value;
}

CellType typeOf(std::string_view raw) {
    if (raw == "s") return CellType::SharedString;
    if (raw == "str") return CellType::String;
    if (raw == "b") return CellType::Boolean;
    if (raw == "e") return CellType::Error;
    if (raw == "inlineStr") return CellType::InlineString;
    if (raw == "d") return CellType::Date;
    return CellType::Number;
}

// "B7"; false for anything else.
bool readReference(std::string_view raw, CellPosition& position) {
    std::int32_t column = 0;
    std::size_t i = 0;
    for (; i < raw.size() && i < 3; ++i) {
        const char upper = static_cast<char>(raw[i] & ~0x20);
        if (upper < 'A' || upper > 'Z') break;
        column = column * 26 + (upper - 'A' + 1);
    }
    const std::uint32_t row = unsignedOf(raw.substr(i));
    if (column < 1 || column > kMaxColumn || row < 1 || row > static_cast<std::uint32_t>(kMaxRow)) {
        return false;
    }
    position = {static_cast<std::int32_t>(row), column};
    return true;
}

// The general reader: any prefix, comments, CDATA, unknown elements.
class WholeSheetReader {
public:
    WholeSheetReader(std::string_view text, CellSink& sink, Pulse pulse)
        : mText(text), mScanner(text), mSink(sink), mPulse(pulse) {}

    SheetFrame read();

private:
    bool isMain(std::string_view name) const {
        return mScanner.localName() == name && isMainNamespace(mScanner.namespaceUri());
    }
    void readRows();
    void readRow();
    void readCell();
    void readCellAttributes();
    std::string_view elementText(std::string& scratch);

    std::string_view mText;
    XmlScanner mScanner;
    CellSink& mSink;
    RoundPulse mPulse;
    ScannedCell mCell;
    std::int32_t mRow = 0;
    std::int32_t mColumn = 0;
    std::string mValue;
    std::string mFormula;
    std::string mItem;
};

SheetFrame WholeSheetReader::read() {
    SheetFrame frame;
    std::size_t copied = 0;
    for (XmlToken token = mScanner.next(); token != XmlToken::EndOfInput; token = mScanner.next()) {
        if (token != XmlToken::StartElement) continue;
        if (mScanner.depth() == 1) mSink.root(FragmentContext(mScanner));
        if (mScanner.depth() != 2 || !isMain("sheetData")) continue;
        if (mScanner.isEmptyElement()) continue;
        frame.hasSheetData = true;
        frame.text = mText.substr(0, mScanner.end());
        frame.cut = frame.text.size();
        readRows();
        copied = mScanner.begin();
    }
    frame.text += mText.substr(copied);
    return frame;
}

void WholeSheetReader::readRows() {
    for (;;) {
        const XmlToken token = mScanner.next();
        if (token == XmlToken::EndElement && mScanner.depth() == 2) return;
        if (token == XmlToken::StartElement && mScanner.depth() == 3 && isMain("row")) readRow();
    }
}

void WholeSheetReader::readRow() {
    ++mRow;
    mColumn = 0;
    if (const XmlAttribute* attribute = mScanner.attribute("r", "")) {
        const std::uint32_t row = unsignedOf(attribute->rawValue);
        if (row < 1 || row > static_cast<std::uint32_t>(kMaxRow)) {
            throw Error::damaged("Unable to read file: row number out of range")
                .atOffset(mScanner.begin());
        }
        mRow = static_cast<std::int32_t>(row);
    }
    for (;;) {
        const XmlToken token = mScanner.next();
        if (token == XmlToken::EndElement && mScanner.depth() == 3) return;
        if (token == XmlToken::StartElement && mScanner.depth() == 4 && isMain("c")) readCell();
    }
}

void WholeSheetReader::readCellAttributes() {
    mCell.position = {mRow, mColumn + 1};
    const XmlAttribute* reference = mScanner.attribute("r", "");
    if (reference && !readReference(reference->rawValue, mCell.position)) {
        throw Error::damaged("Unable to read file: cell reference out of range")
            .atOffset(mScanner.begin());
    }
    if (const XmlAttribute* style = mScanner.attribute("s", "")) {
        mCell.style = unsignedOf(style->rawValue);
    }
    if (const XmlAttribute* type = mScanner.attribute("t", "")) mCell.type = typeOf(type->rawValue);
}

// The content of the current element, escaped anew where it is more than one run of text.
std::string_view WholeSheetReader::elementText(std::string& scratch) {
    const std::size_t depth = mScanner.depth();
    std::string_view raw;
    int runs = 0;
    scratch.clear();
    for (;;) {
        const XmlToken token = mScanner.next();
        if (token == XmlToken::EndElement && mScanner.depth() == depth) break;
        if (mScanner.depth() != depth) continue;
        if (token == XmlToken::Text) {
            raw = mScanner.rawText();
            scratch += raw;
            ++runs;
        } else if (token == XmlToken::CData) {
            scratch += package::xmlEscaped(mScanner.rawText());
            runs += 2;
        }
    }
    return runs == 1 ? raw : std::string_view(scratch);
}

void WholeSheetReader::readCell() {
    mPulse.round();
    mCell = ScannedCell();
    mCell.begin = mScanner.begin();
    readCellAttributes();
    for (;;) {
        const XmlToken token = mScanner.next();
        if (token == XmlToken::EndElement && mScanner.depth() == 4) break;
        if (token != XmlToken::StartElement || mScanner.depth() != 5) continue;
        if (isMain("v")) {
            mCell.value = elementText(mValue);
        } else if (isMain("f")) {
            const std::size_t nameEnd = mScanner.begin() + 1 + mScanner.qualifiedName().size();
            const std::size_t tail = mScanner.isEmptyElement() ? 2 : 1;
            mCell.formulaAttributes = mText.substr(nameEnd, mScanner.end() - tail - nameEnd);
            mCell.formula = elementText(mFormula);
            mCell.hasFormula = true;
        } else if (isMain("is")) {
            const bool isEmpty = mScanner.isEmptyElement();
            const std::size_t begin = mScanner.end();
            mScanner.skipElement();
            mCell.inlineItem =
                isEmpty ? std::string_view() : mText.substr(begin, mScanner.begin() - begin);
            mCell.hasInlineItem = true;
        }
    }
    mCell.end = mScanner.end();
    mColumn = mCell.position.column;
    mSink.cell(mCell);
}

}  // namespace

SheetFrame scanSheetText(std::string_view text, CellSink& sink, Pulse pulse) {
    return WholeSheetReader(text, sink, pulse).read();
}

namespace {

class NoCells final : public CellSink {
public:
    void cell(const ScannedCell&) override {}
};

// `read` is one of the fast readers. What looks like damage to it may be another encoding, or a
// tag within a comment.
template <typename Read>
std::optional<SheetFrame> tryStream(const package::ZipArchive& archive, std::size_t member,
                                    const Read& read) {
    try {
        package::PartWindow window(archive, member);
        return read(window);
    } catch (const Error& error) {
        if (error.kind() != ErrorKind::Damaged) throw;
        return std::nullopt;
    }
}

}  // namespace

SheetFrame scanSheet(const package::ZipArchive& archive, std::size_t member, CellSink& sink,
                     const std::function<void()>& restart) {
    try {
        auto frame =
            tryStream(archive, member, [&](auto& window) { return streamSheet(window, sink); });
        if (frame) return std::move(*frame);
        restart();
        const PartText text(archive.read(member));
        return scanSheetText(text.view(), sink, archive.pulse());
    } catch (Error& error) {
        throw error.inMember(archive.members()[member].name);
    }
}

SheetFrame readSheetFrame(const package::ZipArchive& archive, std::size_t member) {
    try {
        if (auto frame = tryStream(archive, member, streamFrame)) return std::move(*frame);
        NoCells sink;
        const PartText text(archive.read(member));
        return scanSheetText(text.view(), sink, archive.pulse());
    } catch (Error& error) {
        throw error.inMember(archive.members()[member].name);
    }
}

std::string_view rawAttribute(std::string_view attributes, std::string_view name) {
    constexpr std::string_view kSpaces = " \t\r\n";
    for (std::size_t at = attributes.find(name); at != std::string_view::npos;
         at = attributes.find(name, at + 1)) {
        const bool begins = at == 0 || kSpaces.find(attributes[at - 1]) != std::string_view::npos;
        const std::size_t equals = attributes.find_first_not_of(kSpaces, at + name.size());
        if (!begins || equals == std::string_view::npos || attributes[equals] != '=') continue;
        const std::size_t quote = attributes.find_first_not_of(kSpaces, equals + 1);
        if (quote == std::string_view::npos) return {};
        const std::size_t end = attributes.find(attributes[quote], quote + 1);
        if (end == std::string_view::npos) return {};
        return attributes.substr(quote + 1, end - quote - 1);
    }
    return {};
}

}  // namespace brindle::workbook::ooxml
