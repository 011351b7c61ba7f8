// SPDX-License-Identifier: MIT
#include "workbook/ooxml/SheetStream.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

#include "workbook/ooxml/OoxmlNames.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::ooxml {

namespace {

using package::PartWindow;
using package::XmlScanner;
using package::XmlToken;

enum class Step { Done, NeedMore, Unusual };

// The attributes of one start tag, which must differ. One with very many is unusual.
class AttributeNames {
public:
    void clear() { mCount = 0; }
    // False when the name stands there already, or there is no place for it.
    bool add(std::string_view name) {
        if (mCount == mNames.size()) return false;
        for (std::size_t i = 0; i < mCount; ++i) {
            if (mNames[i] == name) return false;
        }
        mNames[mCount++] = name;
        return true;
    }

private:
    std::array<std::string_view, 16> mNames;
    std::size_t mCount = 0;
};

// Reads units (row tags, whole cells) from NUL-terminated text. The cursor moves only when a
// unit was there as a whole; a unit that runs into the NUL asks for more.
class RowReader {
public:
    explicit RowReader(CellSink& sink) : mSink(sink) {}

    // Reads from `at` as far as it goes; `at` ends behind the last whole unit.
    // Done: at the end tag of sheetData.
    Step read(const char*& at, std::uint64_t offset);

private:
    Step readRowStart(const char*& at);
    Step readCell(const char*& at, std::uint64_t begin);
    bool readUsualCell(const char*& at);
    bool readUsualReference(const char*& at);
    void startRow(std::uint32_t row);
    Step tell(const char*& at, const char* end, std::uint64_t begin);
    Step readCellAttributes(const char*& at);
    Step readCellContent(const char*& at);
    Step readReference(const char*& at);
    Step readType(const char*& at);
    Step readElement(const char*& at, char name, std::string_view& attributes,
                     std::string_view& content);
    Step readPlainValue(const char*& at);
    Step readInlineItem(const char*& at);

    CellSink& mSink;
    ScannedCell mCell;
    AttributeNames mNames;
    std::int32_t mRow = 0;
    std::int32_t mColumn = 0;
    bool mInRow = false;
    // What ends the reference of a cell in this row, "12\"", in one word.
    std::uint64_t mReferenceEnd = 0;
    std::uint64_t mReferenceMask = 0;
    std::size_t mReferenceLength = 0;
};

bool isSpace(char c) {
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

const char* skipSpace(const char* at) {
    while (isSpace(*at)) ++at;
    return at;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// What a mismatch means: at the NUL more input may cure it, elsewhere it is something else.
Step mismatch(char found) {
    return found == '\0' ? Step::NeedMore : Step::Unusual;
}

// The window's padding allows to compare a short text in one go.
template <std::size_t N>
bool startsWith(const char* at, const char (&text)[N]) {
    static_assert(N - 1 <= package::PartWindow::kPadding);
    return std::memcmp(at, text, N - 1) == 0;
}

// Moves behind `text`; what a mismatch means depends on where it is.
template <std::size_t N>
Step expect(const char*& at, const char (&text)[N]) {
    if (startsWith(at, text)) {
        at += N - 1;
        return Step::Done;
    }
    const char* p = at;
    for (const char* wanted = text; *wanted == *p; ++wanted) ++p;
    return mismatch(*p);
}

bool readNumber(const char*& at, std::uint32_t& value) {
    std::uint32_t result = 0;
    const char* p = at;
    while (isDigit(*p) && p - at < 9) result = result * 10 + static_cast<std::uint32_t>(*p++ - '0');
    if (p == at || isDigit(*p)) return false;
    value = result;
    at = p;
    return true;
}

// An attribute that we do not need: passed over, its value must be plain.
Step skipAttribute(const char*& at, AttributeNames& names) {
    const char* p = at;
    while (*p && *p != '=' && *p != '>' && *p != '/' && !isSpace(*p)) ++p;
    if (*p != '=') return mismatch(*p);
    if (!names.add({at, static_cast<std::size_t>(p - at)})) return Step::Unusual;
    // A namespace declared down here may change what the names mean.
    if (p - at >= 5 && std::memcmp(at, "xmlns", 5) == 0) return Step::Unusual;
    const char quote = *++p;
    if (quote != '"' && quote != '\'') return mismatch(quote);
    // One of those that we do need (r, s, t), in the quotes that their readers do not expect.
    if (quote == '\'' && p - at == 2) return Step::Unusual;
    for (++p; *p != quote; ++p) {
        if (*p == '\0' || *p == '<' || *p == '&') return mismatch(*p);
    }
    at = p + 1;
    return Step::Done;
}

// To the end of a run of text; NeedMore at the NUL. ">" is left alone: it is harmless.
Step skipText(const char*& at) {
    const char* p = at;
    while (*p != '<' && *p != '\0') ++p;
    if (*p == '\0') return Step::NeedMore;
    at = p;
    return Step::Done;
}

std::string_view between(const char* begin, const char* end) {
    return {begin, static_cast<std::size_t>(end - begin)};
}

Step RowReader::read(const char*& at, std::uint64_t offset) {
    const char* const start = at;
    for (;;) {
        at = skipSpace(at);
        const char* p = at;
        if (*p != '<') return mismatch(*p);
        Step step = Step::Done;
        const char* unit = p;
        if (p[1] == 'c' && mInRow) {
            step = readCell(p, offset + static_cast<std::uint64_t>(unit - start));
        } else if (p[1] == 'r' && !mInRow) {
            step = readRowStart(p);
        } else if (p[1] == '/') {
            step = mInRow ? expect(p, "</row>") : expect(p, "</sheetData>");
            if (step == Step::Done && !mInRow) {
                at = unit;
                return Step::Done;
            }
            if (step == Step::Done) mInRow = false;
        } else {
            return mismatch(p[1]);
        }
        if (step != Step::Done) return step;
        at = p;
    }
}

Step RowReader::readRowStart(const char*& at) {
    const char* p = at;
    std::uint32_t row = static_cast<std::uint32_t>(mRow) + 1;
    if (const Step step = expect(p, "<row"); step != Step::Done) return step;
    mNames.clear();
    while (isSpace(*p)) {
        p = skipSpace(p);
        if (*p == '>' || *p == '/') break;
        if (p[0] == 'r' && p[1] == '=' && p[2] == '"') {
            p += 3;
            if (!mNames.add("r")) return Step::Unusual;
            if (!readNumber(p, row) || *p != '"') return mismatch(*p);
            ++p;
        } else if (const Step step = skipAttribute(p, mNames); step != Step::Done) {
            return step;
        }
    }
    const bool isEmpty = *p == '/';
    if (isEmpty) ++p;
    if (*p != '>') return mismatch(*p);
    at = p + 1;
    if (row == 0 || row > static_cast<std::uint32_t>(kMaxRow)) return Step::Unusual;
    startRow(row);
    mInRow = !isEmpty;
    return Step::Done;
}

void RowReader::startRow(std::uint32_t row) {
    mRow = static_cast<std::int32_t>(row);
    mColumn = 0;
    char text[sizeof mReferenceEnd] = {};
    char* const end = std::to_chars(text, text + sizeof text - 1, row).ptr;
    *end = '"';
    mReferenceLength = static_cast<std::size_t>(end + 1 - text);
    std::memcpy(&mReferenceEnd, text, sizeof text);
    std::memset(text, 0xFF, mReferenceLength);
    std::memset(text + mReferenceLength, 0, sizeof text - mReferenceLength);
    std::memcpy(&mReferenceMask, text, sizeof text);
}

Step RowReader::readReference(const char*& at) {
    const char* p = at;
    std::int32_t column = 0;
    while (*p >= 'A' && *p <= 'Z' && p - at < 3) column = column * 26 + (*p++ - 'A' + 1);
    std::uint32_t row = 0;
    if (column == 0 || column > kMaxColumn || !readNumber(p, row)) return mismatch(*p);
    if (*p != '"') return mismatch(*p);
    if (row == 0 || row > static_cast<std::uint32_t>(kMaxRow)) return Step::Unusual;
    mCell.position = {static_cast<std::int32_t>(row), column};
    at = p + 1;
    return Step::Done;
}

Step RowReader::readType(const char*& at) {
    if (startsWith(at, "s\"")) {
        mCell.type = CellType::SharedString;
        at += 2;
        return Step::Done;
    }
    const char* p = at;
    while (*p && *p != '"' && *p != '<') ++p;
    if (*p != '"') return mismatch(*p);
    const std::string_view type = between(at, p);
    if (type == "s") {
        mCell.type = CellType::SharedString;
    } else if (type == "n") {
        mCell.type = CellType::Number;
    } else if (type == "str") {
        mCell.type = CellType::String;
    } else if (type == "b") {
        mCell.type = CellType::Boolean;
    } else if (type == "e") {
        mCell.type = CellType::Error;
    } else if (type == "inlineStr") {
        mCell.type = CellType::InlineString;
    } else if (type == "d") {
        mCell.type = CellType::Date;
    } else {
        return Step::Unusual;
    }
    at = p + 1;
    return Step::Done;
}

Step RowReader::readCellAttributes(const char*& at) {
    mNames.clear();
    while (isSpace(*at)) {
        at = skipSpace(at);
        if (*at == '>' || *at == '/') break;
        const bool isOurs =
            (*at == 'r' || *at == 's' || *at == 't') && at[1] == '=' && at[2] == '"';
        Step step = Step::Done;
        if (isOurs && !mNames.add({at, 1})) return Step::Unusual;
        if (isOurs && *at == 'r') {
            step = readReference(at += 3);
        } else if (isOurs && *at == 's') {
            at += 3;
            if (!readNumber(at, mCell.style) || *at != '"') return mismatch(*at);
            ++at;
        } else if (isOurs && *at == 't') {
            step = readType(at += 3);
        } else {
            step = skipAttribute(at, mNames);
        }
        if (step != Step::Done) return step;
    }
    return Step::Done;
}

Step RowReader::readElement(const char*& at, char name, std::string_view& attributes,
                            std::string_view& content) {
    mNames.clear();
    const char* p = at + 2;  // behind "<" and the name
    const char* const attributesBegin = p;
    while (isSpace(*p)) {
        p = skipSpace(p);
        if (*p == '>' || *p == '/') break;
        if (const Step step = skipAttribute(p, mNames); step != Step::Done) return step;
    }
    attributes = between(attributesBegin, p);
    if (*p == '/') {
        if (p[1] != '>') return mismatch(p[1]);
        content = {};
        at = p + 2;
        return Step::Done;
    }
    if (*p != '>') return mismatch(*p);
    const char* const begin = ++p;
    if (const Step step = skipText(p); step != Step::Done) return step;
    content = between(begin, p);
    const char end[] = {'<', '/', name, '>', '\0'};
    if (const Step step = expect(p, end); step != Step::Done) return step;
    at = p;
    return Step::Done;
}

Step RowReader::readPlainValue(const char*& at) {
    const char* const begin = at + 3;
    const char* p = begin;
    while (*p != '<' && *p != '\0') ++p;
    const char* const end = p;
    if (const Step step = expect(p, "</v>"); step != Step::Done) return step;
    mCell.value = between(begin, end);
    at = p;
    return Step::Done;
}

Step RowReader::readInlineItem(const char*& at) {
    const char* p = at;
    if (const Step step = expect(p, "<is>"); step != Step::Done) return step;
    const char* const end = std::strstr(p, "</is>");
    if (!end) return Step::NeedMore;
    mCell.hasInlineItem = true;
    mCell.inlineItem = between(p, end);
    at = end + 5;
    return Step::Done;
}

Step RowReader::readCellContent(const char*& at) {
    bool hasValue = false;
    for (;;) {
        if (*at != '<') at = skipSpace(at);
        if (*at != '<') return mismatch(*at);
        Step step = Step::Done;
        if (startsWith(at, "<v>") && !hasValue) {
            step = readPlainValue(at);
            hasValue = true;
        } else if (at[1] == 'v' && !hasValue) {
            std::string_view attributes;
            step = readElement(at, 'v', attributes, mCell.value);
            hasValue = true;
        } else if (at[1] == 'f' && !mCell.hasFormula) {
            step = readElement(at, 'f', mCell.formulaAttributes, mCell.formula);
            mCell.hasFormula = true;
        } else if (at[1] == 'i' && !mCell.hasInlineItem) {
            step = readInlineItem(at);
        } else if (at[1] == '/') {
            return expect(at, "</c>");
        } else {
            return mismatch(at[1]);
        }
        if (step != Step::Done) return step;
    }
}

bool RowReader::readUsualReference(const char*& at) {
    const char* p = at;
    std::int32_t column = 0;
    while (*p >= 'A' && *p <= 'Z' && p - at < 3) column = column * 26 + (*p++ - 'A' + 1);
    std::uint64_t word = 0;
    static_assert(sizeof word <= package::PartWindow::kPadding);
    std::memcpy(&word, p, sizeof word);
    if ((word & mReferenceMask) != mReferenceEnd || column == 0 || column > kMaxColumn) {
        return false;
    }
    mCell.position.column = column;
    at = p + mReferenceLength;
    return true;
}

// Nearly all cells are written alike: reference, style, type, one value. What differs anywhere
// is left to the readers that know everything.
bool RowReader::readUsualCell(const char*& at) {
    const char* p = at;
    if (!startsWith(p, " r=\"")) return false;
    if (!readUsualReference(p += 4)) return false;
    if (startsWith(p, " s=\"")) {
        if (!readNumber(p += 4, mCell.style) || *p++ != '"') return false;
    }
    if (startsWith(p, " t=\"s\"")) {
        mCell.type = CellType::SharedString;
        p += 6;
    }
    if (!startsWith(p, "><v>")) return false;
    const char* const value = p += 4;
    while (*p != '<' && *p != '\0') ++p;
    if (!startsWith(p, "</v></c>")) return false;
    mCell.value = between(value, p);
    at = p + 8;
    return true;
}

Step RowReader::readCell(const char*& at, std::uint64_t begin) {
    const char* p = at + 2;  // behind "<c"
    mCell.style = 0;
    mCell.type = CellType::Number;
    mCell.hasFormula = false;
    mCell.hasInlineItem = false;
    mCell.value = {};
    mCell.formula = {};
    mCell.formulaAttributes = {};
    mCell.position = {mRow, mColumn + 1};
    if (readUsualCell(p)) return tell(at, p, begin);
    mCell.style = 0;
    mCell.type = CellType::Number;
    mCell.position = {mRow, mColumn + 1};
    if (const Step step = readCellAttributes(p); step != Step::Done) return step;
    if (*p == '/') {
        if (p[1] != '>') return mismatch(p[1]);
        p += 2;
    } else if (*p == '>') {
        ++p;
        if (const Step step = readCellContent(p); step != Step::Done) return step;
    } else {
        return mismatch(*p);
    }
    return tell(at, p, begin);
}

// The cell from `at` to `end`, which `at` moves to.
Step RowReader::tell(const char*& at, const char* end, std::uint64_t begin) {
    mCell.begin = begin;
    mCell.end = begin + static_cast<std::uint64_t>(end - at);
    mColumn = mCell.position.column;
    at = end;
    mSink.cell(mCell);
    return Step::Done;
}

// Everything up to and including the start tag of sheetData; nothing when it has no cells or is
// not to be found under that name.
std::optional<std::string> readHead(PartWindow& window) {
    for (;;) {
        const std::size_t at = window.view().find("<sheetData");
        const std::size_t end = at == std::string_view::npos ? at : window.view().find('>', at);
        if (end != std::string_view::npos) {
            if (window.view()[end - 1] == '/') return std::nullopt;
            return std::string(window.view().substr(0, end + 1));
        }
        if (!window.advance(window.begin())) return std::nullopt;
    }
}

// Checks that the frame is well-formed and that what the fast walk took for the start tag of
// sheetData, which ends at `headSize`, is one.
bool isPlainFrame(std::string_view text, std::size_t headSize) {
    XmlScanner scanner(text);
    bool isPlain = false;
    for (XmlToken token = scanner.next(); token != XmlToken::EndOfInput; token = scanner.next()) {
        if (token == XmlToken::StartElement && scanner.end() == headSize) {
            isPlain = scanner.depth() == 2 && scanner.qualifiedName() == "sheetData" &&
                      isMainNamespace(scanner.namespaceUri());
        }
    }
    return isPlain;
}

// The window begins at the end tag of sheetData.
std::optional<SheetFrame> frameAround(std::string head, PartWindow& window) {
    while (window.advance(window.begin())) {
    }
    SheetFrame frame;
    frame.hasSheetData = true;
    frame.cut = head.size();
    frame.text = std::move(head);
    frame.text += window.view();
    if (!isPlainFrame(frame.text, frame.cut)) return std::nullopt;
    return frame;
}

}  // namespace

std::optional<SheetFrame> streamSheet(PartWindow& window, CellSink& sink) {
    auto head = readHead(window);
    if (!head || package::toUtf8(*head)) return std::nullopt;

    XmlScanner root(*head);
    while (root.next() != XmlToken::StartElement) {
    }
    sink.root(FragmentContext(root));

    RowReader reader(sink);
    const char* at = window.begin() + head->size();
    for (;;) {
        const std::uint64_t offset =
            window.offset() + static_cast<std::uint64_t>(at - window.begin());
        const Step step = reader.read(at, offset);
        if (step == Step::Unusual) return std::nullopt;
        const bool isMore = window.advance(at);
        at = window.begin();
        if (step == Step::Done) break;
        if (!isMore) return std::nullopt;
    }
    return frameAround(std::move(*head), window);
}

std::optional<SheetFrame> streamFrame(PartWindow& window) {
    static constexpr std::string_view kEnd = "</sheetData>";
    auto head = readHead(window);
    if (!head || package::toUtf8(*head)) return std::nullopt;
    const char* at = window.begin() + head->size();
    for (;;) {
        const auto left = static_cast<std::size_t>(window.end() - at);
        // memmem is several times faster here than a search through a string_view, which stops
        // at every tag.
        const void* found = memmem(at, left, kEnd.data(), kEnd.size());
        if (found) {
            window.advance(static_cast<const char*>(found));
            return frameAround(std::move(*head), window);
        }
        if (!window.advance(at + left - std::min(left, kEnd.size() - 1))) return std::nullopt;
        at = window.begin();
    }
}

}  // namespace brindle::workbook::ooxml
