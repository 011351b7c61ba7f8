// SPDX-License-Identifier: MIT
#include "workbook/ooxml/StyleSheet.h"

#include <algorithm>
#include <charconv>

#include "workbook/ooxml/Attributes.h"
#include "workbook/ooxml/OoxmlNames.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::ooxml {

using package::XmlScanner;
using package::XmlToken;

namespace {

constexpr int kFirstCustomFormat = 164;
constexpr int kLastCustomFormat = 1 << 30;  // of those that new ones are counted on from

int intAttribute(const XmlScanner& scanner, std::string_view name, int missing) {
    const auto* attribute = scanner.attribute(name);
    if (!attribute) return missing;
    int value = missing;
    const std::string_view raw = attribute->rawValue;
    std::from_chars(raw.data(), raw.data() + raw.size(), value);
    return value;
}

std::string number(std::size_t value) {
    return std::to_string(value);
}

}  // namespace

StyleSheet::StyleSheet(std::string_view part) : mPart(part) {
    readFormats();
    XmlScanner scanner(mPart);
    bool inCellXfs = false;
    std::size_t begin = 0;
    for (XmlToken token = scanner.next(); token != XmlToken::EndOfInput; token = scanner.next()) {
        const bool isStart = token == XmlToken::StartElement;
        if (isStart && scanner.depth() == 1) mContext = FragmentContext(scanner);
        if (!isStart && token != XmlToken::EndElement) continue;
        if (scanner.localName() == "cellXfs" && scanner.depth() == 2) inCellXfs = isStart;
        if (!inCellXfs || scanner.depth() < 3) continue;
        if (isStart && scanner.depth() == 3) {
            begin = scanner.begin();
            mStyles.push_back(styleOf(scanner));
        } else if (isStart && scanner.depth() == 4 && scanner.localName() == "protection") {
            mStyles.back().locked = isTrue(scanner, "locked", true);
        } else if (token == XmlToken::EndElement && scanner.depth() == 3) {
            mStyleXml.push_back(mPart.substr(begin, scanner.end() - begin));
        }
    }
    mOldStyleCount = mStyles.size();
    if (mStyles.empty()) mStyles.emplace_back();
}

void StyleSheet::readFormats() {
    XmlScanner scanner(mPart);
    for (XmlToken token = scanner.next(); token != XmlToken::EndOfInput; token = scanner.next()) {
        // Deeper ones belong to differential formats, whose ids have meanings of their own.
        if (token != XmlToken::StartElement || scanner.depth() != 3) continue;
        const auto* code = scanner.attribute("formatCode");
        if (code && scanner.localName() == "numFmt") {
            mFormatCodes[intAttribute(scanner, "numFmtId", -1)] =
                package::xmlAttributeText(code->rawValue);
        }
    }
}

CellStyle StyleSheet::styleOf(const XmlScanner& scanner) const {
    CellStyle style;
    const int id = intAttribute(scanner, "numFmtId", 0);
    const auto own = mFormatCodes.find(id);
    style.kind = own != mFormatCodes.end() ? numberFormatKind(own->second) : builtInFormatKind(id);
    style.isGeneral = id == 0 || (own != mFormatCodes.end() && own->second == "General");
    style.quotePrefix = isTrue(scanner, "quotePrefix", false);
    return style;
}

int StyleSheet::formatId(std::string_view formatCode) {
    for (int id = 0; id < kFirstCustomFormat; ++id) {
        if (builtInFormatCode(id) == formatCode && !mFormatCodes.count(id)) return id;
    }
    int next = kFirstCustomFormat;
    for (const auto& [id, code] : mFormatCodes) {
        if (code == formatCode) return id;
        if (id < kLastCustomFormat) next = std::max(next, id + 1);
    }
    mFormatCodes.emplace(next, formatCode);
    mNewFormats.emplace_back(next, formatCode);
    return next;
}

std::uint32_t StyleSheet::withFormat(std::uint32_t base, std::string_view formatCode) {
    if (mOldStyleCount == 0) return base;
    const std::size_t from = base < mStyleXml.size() ? base : 0;
    const std::string id = std::to_string(formatId(formatCode));
    const std::string xml =
        withAttribute(mContext, withAttribute(mContext, mStyleXml[from], "numFmtId", id),
                      "applyNumberFormat", "1");
    const auto known = std::find(mStyleXml.begin(), mStyleXml.end(), xml);
    if (known != mStyleXml.end()) {
        return static_cast<std::uint32_t>(known - mStyleXml.begin());
    }
    CellStyle style = mStyles[from];
    style.kind = numberFormatKind(formatCode);
    style.isGeneral = formatCode == "General";
    mStyles.push_back(style);
    mStyleXml.push_back(xml);
    mChanged = true;
    return static_cast<std::uint32_t>(mStyleXml.size() - 1);
}

namespace {

// Inserts `added` before the end of the element called `name` (`count` elements then), which
// must be a child of the root; false when there is none.
bool appendToList(std::string& part, std::string_view name, const std::string& added,
                  std::size_t count) {
    XmlScanner scanner(part);
    for (XmlToken token = scanner.next(); token != XmlToken::EndOfInput; token = scanner.next()) {
        if (token != XmlToken::StartElement || scanner.depth() != 2 ||
            scanner.localName() != name) {
            continue;
        }
        const auto* attribute = scanner.attribute("count");
        const std::size_t valueBegin = attribute ? attribute->valueBegin : 0;
        const std::size_t valueEnd = attribute ? attribute->valueEnd : 0;
        const std::size_t startEnd = scanner.end();
        const std::string qualified(scanner.qualifiedName());
        if (scanner.isEmptyElement()) {
            part = part.substr(0, part.rfind('/', startEnd)) + ">" + added + "</" + qualified +
                   ">" + part.substr(startEnd);
        } else {
            scanner.skipElement();
            part.insert(scanner.begin(), added);
        }
        if (valueEnd > valueBegin) part.replace(valueBegin, valueEnd - valueBegin, number(count));
        return true;
    }
    return false;
}

}  // namespace

std::string StyleSheet::changedPart() const {
    std::string part = mPart;
    std::string styles;
    for (std::size_t i = mOldStyleCount; i < mStyleXml.size(); ++i) {
        styles += mStyleXml[i];
    }
    appendToList(part, "cellXfs", styles, mStyleXml.size());
    if (mNewFormats.empty()) return part;

    std::string formats;
    for (const auto& [id, code] : mNewFormats) {
        formats += "<" + mContext.prefix() + "numFmt numFmtId=\"" + std::to_string(id) +
                   "\" formatCode=\"" + package::xmlAttributeEscaped(code) + "\"/>";
    }
    if (appendToList(part, "numFmts", formats, mFormatCodes.size())) return part;
    // numFmts is the first child of the root.
    XmlScanner scanner(part);
    while (scanner.next() != XmlToken::StartElement) {
    }
    part.insert(scanner.end(), "<" + mContext.prefix() + "numFmts count=\"" +
                                   number(mNewFormats.size()) + "\">" + formats + "</" +
                                   mContext.prefix() + "numFmts>");
    return part;
}

}  // namespace brindle::workbook::ooxml
