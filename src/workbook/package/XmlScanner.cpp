// SPDX-License-Identifier: MIT
#include "workbook/package/XmlScanner.h"

#include <algorithm>
#include <cstring>
#include <tuple>

#include "base/Error.h"
#include "workbook/package/XmlCharacters.h"
#include "workbook/package/XmlDeclaration.h"

#ifdef __SSE2__
#include <emmintrin.h>

#include <bit>
#endif

namespace brindle::workbook::package {
namespace {

using xml::hasClass;

// Up to this number attributes are compared with each other, beyond it they are sorted.
constexpr std::size_t kComparedAttributes = 24;

// The first byte that needs a look in character data or in an attribute value: markup, a
// control character, a blank other than U+0020, a byte outside ASCII. `stop` is the closing
// quote, or ">" in character data, which may end "]]>".
bool needsLook(char c, char stop) {
    return static_cast<signed char>(c) < 0x20 || c == '<' || c == '&' || c == stop;
}

const char* skipPlain(const char* at, const char* limit, char stop) {
#ifdef __SSE2__
    const __m128i blank = _mm_set1_epi8(0x20);
    const __m128i less = _mm_set1_epi8('<');
    const __m128i ampersand = _mm_set1_epi8('&');
    const __m128i stops = _mm_set1_epi8(stop);
    for (; limit - at >= 16; at += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
        const __m128i found = _mm_or_si128(
            _mm_or_si128(_mm_cmplt_epi8(bytes, blank), _mm_cmpeq_epi8(bytes, less)),
            _mm_or_si128(_mm_cmpeq_epi8(bytes, ampersand), _mm_cmpeq_epi8(bytes, stops)));
        const auto mask = static_cast<unsigned>(_mm_movemask_epi8(found));
        if (mask != 0) return at + std::countr_zero(mask);
    }
#endif
    while (at != limit && !needsLook(*at, stop)) ++at;
    return at;
}

std::string_view between(const char* begin, const char* end) {
    return {begin, static_cast<std::size_t>(end - begin)};
}

// For names, of which most differ in their first letter; never empty.
bool isSameText(std::string_view a, std::string_view b) {
    return a.size() == b.size() && a[0] == b[0] && a == b;
}

bool isDeclaration(const XmlAttribute& attribute) {
    if (attribute.qualifiedName[0] != 'x') return false;
    return attribute.prefix == "xmlns" ||
           (attribute.prefix.empty() && attribute.localName == "xmlns");
}

}  // namespace

XmlScanner::XmlScanner(std::string_view input)
    : mStart(input.data()), mLimit(input.data() + input.size()), mAt(input.data()) {}

XmlToken XmlScanner::next() {
    if (mIsEmptyElement && !mIsAtEndElement) return scanEmptyElementEnd();
    if (mIsAtEndElement) closeElement();
    if (mDepth == 0) return scanOutsideRoot();
    if (mAt == mLimit) fail(mAt, "The document ends inside an element");
    return *mAt == '<' ? scanMarkup() : scanText();
}

void XmlScanner::skipElement() {
    const std::size_t depth = mDepth;
    while (next() != XmlToken::EndElement || mDepth != depth) {
    }
}

std::string_view XmlScanner::namespaceUri() const {
    const std::size_t local = mQualifiedName.size() - mLocalName.size();
    const xml::Namespace* space =
        mNamespaces.find(local == 0 ? std::string_view() : mQualifiedName.substr(0, local - 1));
    return space == nullptr ? std::string_view() : space->uri;
}

std::string_view XmlScanner::namespaceOf(const XmlAttribute& attribute) const {
    if (attribute.prefix.empty()) return isDeclaration(attribute) ? xml::kXmlnsNamespace : "";
    const xml::Namespace* space = mNamespaces.find(attribute.prefix);
    return space == nullptr ? std::string_view() : space->uri;
}

const XmlAttribute* XmlScanner::attribute(std::string_view localName) const {
    const XmlAttribute* prefixed = nullptr;
    for (const XmlAttribute& each : attributes()) {
        if (each.localName != localName || isDeclaration(each)) continue;
        if (each.prefix.empty()) return &each;
        if (prefixed == nullptr) prefixed = &each;
    }
    return prefixed;
}

const XmlAttribute* XmlScanner::attribute(std::string_view localName, std::string_view uri) const {
    const auto isWanted = [&](const XmlAttribute& each) {
        return each.localName == localName && namespaceOf(each) == uri;
    };
    const auto all = attributes();
    const auto found = std::find_if(all.begin(), all.end(), isWanted);
    return found == all.end() ? nullptr : &*found;
}

XmlToken XmlScanner::finish(XmlToken token, const char* end) {
    mBegin = offsetOf(mAt);
    mEnd = offsetOf(end);
    mAt = end;
    return token;
}

void XmlScanner::closeElement() {
    mIsAtEndElement = false;
    mIsEmptyElement = false;
    mNamespaces.leave(mDepth);
    mOpen.pop_back();
    --mDepth;
}

XmlToken XmlScanner::scanOutsideRoot() {
    mAt = skipSpace(mAt);
    if (mAt == mLimit) {
        if (!mHasRoot) fail(mAt, "The document has no element");
        return finish(XmlToken::EndOfInput, mAt);
    }
    if (*mAt != '<') fail(mAt, "There is text outside the root element");
    return scanMarkup();
}

XmlToken XmlScanner::scanMarkup() {
    const char second = mLimit - mAt > 1 ? mAt[1] : '\0';
    if (second == '/') return scanEndTag();
    if (second == '?') return scanInstruction();
    if (second != '!') return scanStartTag();
    if (startsWith("<!--")) return scanComment();
    if (startsWith("<![CDATA[")) return scanCData();
    if (startsWith("<!DOCTYPE")) {
        throw Error(ErrorKind::Unsupported, error_number::kApplicationDefined,
                    "A document type declaration is not accepted")
            .atOffset(offsetOf(mAt));
    }
    fail(mAt, "The markup is of no known kind");
}

XmlToken XmlScanner::scanText() {
    const char* at = mAt;
    for (;;) {
        at = skipPlain(at, mLimit, '>');
        if (at == mLimit) fail(at, "The document ends inside an element");
        if (*at == '<') break;
        if (*at == '&') {
            at = passReference(at);
        } else if (*at == '>') {
            if (at - mAt >= 2 && at[-1] == ']' && at[-2] == ']') {
                fail(at - 2, "The text contains \"]]>\"");
            }
            ++at;
        } else {
            at = passCharacter(at);
        }
    }
    mRawText = between(mAt, at);
    mIsCData = false;
    return finish(XmlToken::Text, at);
}

XmlToken XmlScanner::scanStartTag() {
    if (mDepth == 0 && mHasRoot) fail(mAt, "There is a second root element");
    const QName name = scanName(mAt + 1);
    mQualifiedName = between(mAt + 1, name.end);
    mLocalName = mQualifiedName.substr(name.localBegin);
    const char* at = scanAttributes(name.end);
    const bool isEmpty = *at == '/';
    if (isEmpty) ++at;
    if (at == mLimit || *at != '>') fail(at, "The tag does not end with \">\"");
    openElement(name, isEmpty);
    return finish(XmlToken::StartElement, at + 1);
}

void XmlScanner::openElement(const QName& name, bool isEmpty) {
    ++mDepth;
    mHasRoot = true;
    mIsEmptyElement = isEmpty;
    mOpen.push_back({mQualifiedName, name.localBegin});
    if (mHasDeclarations) declareNamespaces();
    if (mHasPrefixes || name.prefixLength != 0) checkNamespaces();
    if (mAttributeCount > 1) checkUniqueAttributes();
}

XmlToken XmlScanner::scanEmptyElementEnd() {
    mIsAtEndElement = true;
    return finish(XmlToken::EndElement, mAt);
}

XmlToken XmlScanner::scanEndTag() {
    if (mDepth == 0) fail(mAt, "An end tag has no start tag");
    const OpenElement& open = mOpen.back();
    const std::string_view name = open.name;
    const char* at = mAt + 2;
    const bool fits = static_cast<std::size_t>(mLimit - at) >= name.size() &&
                      std::memcmp(at, name.data(), name.size()) == 0;
    if (!fits) fail(mAt, "An end tag does not match its start tag");
    at = skipSpace(at + name.size());
    if (at == mLimit || *at != '>') fail(mAt, "An end tag does not match its start tag");
    mQualifiedName = name;
    mLocalName = name.substr(open.localBegin);
    mIsAtEndElement = true;
    mIsEmptyElement = false;
    return finish(XmlToken::EndElement, at + 1);
}

XmlToken XmlScanner::scanCData() {
    if (mDepth == 0) fail(mAt, "There is text outside the root element");
    static constexpr std::string_view kOpening = "<![CDATA[";
    static constexpr std::string_view kClosing = "]]>";
    const std::string_view content = between(mAt, mLimit).substr(kOpening.size());
    const std::size_t length = content.find(kClosing);
    if (length == std::string_view::npos) fail(mAt, "A CDATA section has no end");
    mRawText = content.substr(0, length);
    mIsCData = true;
    const char* end = mRawText.data() + length;
    checkCharacters(mRawText.data(), end);
    return finish(XmlToken::CData, end + kClosing.size());
}

XmlToken XmlScanner::scanComment() {
    const std::string_view content = between(mAt, mLimit).substr(4);
    const std::size_t length = content.find("--");
    if (length == std::string_view::npos) fail(mAt, "A comment has no end");
    const char* end = content.data() + length;
    if (content.substr(length).substr(0, 3) != "-->") fail(end, "A comment contains \"--\"");
    checkCharacters(content.data(), end);
    return finish(XmlToken::Other, end + 3);
}

XmlToken XmlScanner::scanInstruction() {
    const QName name = scanName(mAt + 2);
    const std::string_view target = between(mAt + 2, name.end);
    if (name.prefixLength != 0) fail(mAt, "The name of an instruction has a colon");
    const std::string_view rest = between(name.end, mLimit);
    const std::size_t length = rest.find("?>");
    if (length == std::string_view::npos) fail(mAt, "A processing instruction has no end");
    if (length != 0 && !hasClass(rest[0], xml::kSpace)) {
        fail(name.end, "A blank is missing behind the name of an instruction");
    }
    checkCharacters(name.end, name.end + length);
    if (target == "xml") {
        if (mAt != mStart) fail(mAt, "The XML declaration is not at the start");
        if (!xml::parseXmlDeclaration(rest.substr(0, length))) {
            fail(mAt, "The XML declaration is not well formed");
        }
    } else if (target.size() == 3 && (target[0] | 0x20) == 'x' && (target[1] | 0x20) == 'm' &&
               (target[2] | 0x20) == 'l') {
        fail(mAt, "The name of an instruction is reserved");
    }
    return finish(XmlToken::Other, name.end + length + 2);
}

// Stops at the "/" or ">" behind the attributes.
const char* XmlScanner::scanAttributes(const char* at) {
    mAttributeCount = 0;
    mHasPrefixes = mHasDeclarations = false;
    for (;;) {
        const char* begin = skipSpace(at);
        if (begin == mLimit) fail(mAt, "A tag has no end");
        if (*begin == '>' || *begin == '/') return begin;
        if (begin == at) fail(at, "A blank is missing in front of an attribute");
        at = scanAttribute(begin);
    }
}

const char* XmlScanner::scanAttribute(const char* at) {
    const QName name = scanName(at);
    const char* equals = skipSpace(name.end);
    if (equals == mLimit || *equals != '=') fail(equals, "An attribute has no value");
    const char* quote = skipSpace(equals + 1);
    if (quote == mLimit || (*quote != '"' && *quote != '\'')) {
        fail(quote, "The value of an attribute is not quoted");
    }
    const char* end = scanValue(quote);
    if (mAttributeCount == mAttributePool.size()) mAttributePool.emplace_back();
    XmlAttribute& added = mAttributePool[mAttributeCount++];
    added.qualifiedName = between(at, name.end);
    added.prefix = added.qualifiedName.substr(0, name.prefixLength);
    added.localName = added.qualifiedName.substr(name.localBegin);
    added.rawValue = between(quote + 1, end);
    added.begin = offsetOf(at);
    added.end = offsetOf(end + 1);
    added.valueBegin = offsetOf(quote + 1);
    added.valueEnd = offsetOf(end);
    mHasPrefixes |= name.prefixLength != 0;
    mHasDeclarations |= isDeclaration(added);
    return end + 1;
}

// `at` is the opening quote; stops at the closing one.
const char* XmlScanner::scanValue(const char* at) {
    const char quote = *at++;
    for (;;) {
        at = skipPlain(at, mLimit, quote);
        if (at == mLimit) fail(at, "The value of an attribute has no end");
        if (*at == quote) return at;
        if (*at == '<') fail(at, "The value of an attribute contains \"<\"");
        at = *at == '&' ? passReference(at) : passCharacter(at);
    }
}

XmlScanner::QName XmlScanner::scanName(const char* at) const {
    QName name;
    name.end = scanNamePart(at);
    if (name.end != mLimit && *name.end == ':') {
        name.prefixLength = static_cast<std::size_t>(name.end - at);
        name.localBegin = name.prefixLength + 1;
        name.end = scanNamePart(name.end + 1);
        if (name.end != mLimit && *name.end == ':') fail(name.end, "A name has two colons");
    }
    return name;
}

// A name without colons; stops behind it.
const char* XmlScanner::scanNamePart(const char* at) const {
    const char* begin = at;
    while (at != mLimit) {
        if (hasClass(*at, at == begin ? xml::kNameStart : xml::kNamePart)) {
            ++at;
            while (at != mLimit && hasClass(*at, xml::kNamePart)) ++at;
        } else if (xml::isOutsideAscii(*at)) {
            at = passNameCharacter(at, at == begin);
        } else {
            break;
        }
    }
    if (at == begin) fail(at, "A name is missing or not well formed");
    return at;
}

const char* XmlScanner::passNameCharacter(const char* at, bool isFirst) const {
    const xml::Decoded decoded = xml::decodeUtf8(between(at, mLimit));
    const bool isGood = decoded.length != 0 && (isFirst ? xml::isNameStart(decoded.codePoint)
                                                        : xml::isNamePart(decoded.codePoint));
    if (!isGood) fail(at, "A name contains a character that is not allowed");
    return at + decoded.length;
}

const char* XmlScanner::skipSpace(const char* at) const {
    while (at != mLimit && hasClass(*at, xml::kSpace)) ++at;
    return at;
}

const char* XmlScanner::passCharacter(const char* at) const {
    if (!xml::isOutsideAscii(*at)) {
        if (!hasClass(*at, xml::kAllowed)) fail(at, "A control character is not allowed");
        return at + 1;
    }
    const xml::Decoded decoded = xml::decodeUtf8(between(at, mLimit));
    if (decoded.length == 0) fail(at, "The bytes are not valid UTF-8");
    if (!xml::isCharacter(decoded.codePoint)) fail(at, "A character is not allowed");
    return at + decoded.length;
}

const char* XmlScanner::passReference(const char* at) const {
    const xml::Decoded reference = xml::readReference(between(at, mLimit));
    if (reference.length == 0) fail(at, "A reference is not well formed or not known");
    return at + reference.length;
}

void XmlScanner::checkCharacters(const char* at, const char* end) const {
    while (at < end) {
        at = skipPlain(at, end, '<');
        if (at < end) at = passCharacter(at);
    }
}

void XmlScanner::declareNamespaces() {
    for (const XmlAttribute& each : attributes()) {
        if (!isDeclaration(each)) continue;
        const std::string_view prefix = each.prefix.empty() ? "" : each.localName;
        try {
            mNamespaces.declare(prefix, each.rawValue, mDepth);
        } catch (Error& error) {
            throw error.atOffset(each.begin);
        }
    }
}

void XmlScanner::checkNamespaces() const {
    const std::size_t local = mQualifiedName.size() - mLocalName.size();
    const std::string_view prefix = mQualifiedName.substr(0, local == 0 ? 0 : local - 1);
    if (prefix == "xmlns" || mNamespaces.find(prefix) == nullptr) {
        fail(mAt, "A namespace prefix is not declared");
    }
    for (const XmlAttribute& each : attributes()) {
        if (!each.prefix.empty() && mNamespaces.find(each.prefix) == nullptr) {
            fail(mStart + each.begin, "A namespace prefix is not declared");
        }
    }
}

void XmlScanner::checkUniqueAttributes() const {
    if (mAttributeCount > kComparedAttributes) return checkManyUniqueAttributes();
    for (std::size_t i = 1; i < mAttributeCount; ++i) {
        const XmlAttribute& later = mAttributePool[i];
        for (std::size_t j = 0; j < i; ++j) {
            const XmlAttribute& earlier = mAttributePool[j];
            if (!isSameText(earlier.localName, later.localName)) continue;
            const bool isSame = earlier.prefix.empty() || later.prefix.empty()
                                    ? earlier.prefix == later.prefix
                                    : mNamespaces.find(earlier.prefix)->number ==
                                          mNamespaces.find(later.prefix)->number;
            if (isSame) fail(mStart + later.begin, "An attribute occurs twice");
        }
    }
}

void XmlScanner::checkManyUniqueAttributes() const {
    struct Key {
        std::string_view localName;
        std::size_t space;  // 0: without a prefix
        bool operator<(const Key& other) const {
            return std::tie(localName, space) < std::tie(other.localName, other.space);
        }
        bool operator==(const Key& other) const {
            return localName == other.localName && space == other.space;
        }
    };
    std::vector<Key> keys;
    keys.reserve(mAttributeCount);
    for (const XmlAttribute& each : attributes()) {
        const bool isBare = each.prefix.empty();
        keys.push_back({each.localName, isBare ? 0 : mNamespaces.find(each.prefix)->number});
    }
    std::sort(keys.begin(), keys.end());
    if (std::adjacent_find(keys.begin(), keys.end()) != keys.end()) {
        fail(mAt, "An attribute occurs twice");
    }
}

bool XmlScanner::startsWith(std::string_view text) const {
    return between(mAt, mLimit).substr(0, text.size()) == text;
}

std::size_t XmlScanner::offsetOf(const char* at) const {
    return static_cast<std::size_t>(at - mStart);
}

void XmlScanner::fail(const char* at, const char* reason) const {
    throw Error::damaged(reason).atOffset(offsetOf(at));
}

}  // namespace brindle::workbook::package
