// SPDX-License-Identifier: MIT
// A pull scanner over one XML entity in memory that tells byte ranges, so that a few bytes can
// be replaced and all others copied. Checks well-formedness and namespaces (XML 1.0, fifth
// edition; Namespaces in XML 1.0) and refuses a document type declaration.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "workbook/package/XmlNamespaces.h"

namespace brindle::workbook::package {

struct XmlAttribute {
    std::string_view qualifiedName;
    std::string_view localName;
    std::string_view prefix;
    std::string_view rawValue;  // between the quotes, references not expanded
    std::size_t begin = 0;      // of the name
    std::size_t end = 0;        // behind the closing quote
    std::size_t valueBegin = 0;
    std::size_t valueEnd = 0;
};

enum class XmlToken {
    StartElement,  // also for <a/>; then isEmptyElement() and an EndElement follows
    EndElement,
    Text,  // one run of character data between markup
    CData,
    Other,  // comment, processing instruction or XML declaration
    EndOfInput
};

// Views point into the input; they stay valid as long as it does, the attribute list and
// namespaces until the next call of next(). White space outside the root element is passed over.
class XmlScanner {
public:
    // `input` is UTF-8 without a byte-order mark (see toUtf8; what the XML declaration says of
    // the encoding is not looked at). Borrowed.
    explicit XmlScanner(std::string_view input);

    // The next token. Throws Error (Damaged) with the offset when the input is not well-formed,
    // Error (Unsupported) at a DOCTYPE; the scanner must not be used afterwards. Linear in the
    // input (a sort where an element has very many attributes), no recursion; nesting is
    // limited only by memory, at a few bytes a level.
    XmlToken next();

    std::size_t begin() const { return mBegin; }  // of the current token
    std::size_t end() const { return mEnd; }
    // Depth of the current element; the root is 1, an EndElement has its element's depth.
    std::size_t depth() const { return mDepth; }

    // StartElement, EndElement
    std::string_view qualifiedName() const { return mQualifiedName; }
    std::string_view localName() const { return mLocalName; }
    // The resolved namespace; empty for none. Strict office namespaces are returned as they
    // stand; mapping them is the caller's business.
    std::string_view namespaceUri() const;
    bool isEmptyElement() const { return mIsEmptyElement; }

    // StartElement
    std::span<const XmlAttribute> attributes() const {
        return {mAttributePool.data(), mAttributeCount};
    }
    // By local name: the attribute without a prefix, else the first with any prefix, namespace
    // declarations left out. Null when absent.
    const XmlAttribute* attribute(std::string_view localName) const;
    // By local name and namespace.
    const XmlAttribute* attribute(std::string_view localName, std::string_view uri) const;
    // Empty for an attribute without a prefix.
    std::string_view namespaceOf(const XmlAttribute& attribute) const;

    // Text, CData: as it stands in the input (CData without its delimiters).
    std::string_view rawText() const { return mRawText; }
    // Text, CData: appends what the document means by it (references expanded in a Text, line
    // ends normalised in both).
    void appendText(std::string& out) const;

    // Goes on to the EndElement of the current StartElement, which becomes the current token.
    // What is passed over is checked like everything else.
    void skipElement();

private:
    struct QName {
        std::size_t prefixLength = 0;  // without the colon
        std::size_t localBegin = 0;    // in the name
        const char* end = nullptr;
    };
    struct OpenElement {
        std::string_view name;
        std::size_t localBegin;
    };

    XmlToken scanOutsideRoot();
    XmlToken scanText();
    XmlToken scanMarkup();
    XmlToken scanStartTag();
    XmlToken scanEndTag();
    XmlToken scanEmptyElementEnd();
    XmlToken scanCData();
    XmlToken scanComment();
    XmlToken scanInstruction();
    XmlToken finish(XmlToken token, const char* end);

    void closeElement();
    void openElement(const QName& name, bool isEmpty);
    const char* scanAttributes(const char* at);
    const char* scanAttribute(const char* at);
    const char* scanValue(const char* at);
    QName scanName(const char* at) const;
    const char* scanNamePart(const char* at) const;
    const char* passNameCharacter(const char* at, bool isFirst) const;
    const char* skipSpace(const char* at) const;
    const char* passCharacter(const char* at) const;
    const char* passReference(const char* at) const;
    void checkCharacters(const char* at, const char* end) const;
    void declareNamespaces();
    void checkNamespaces() const;
    void checkUniqueAttributes() const;
    void checkManyUniqueAttributes() const;
    bool startsWith(std::string_view text) const;
    std::size_t offsetOf(const char* at) const;
    [[noreturn]] void fail(const char* at, const char* reason) const;

    const char* mStart;
    const char* mLimit;
    const char* mAt;  // where the next token begins
    std::size_t mBegin = 0;
    std::size_t mEnd = 0;
    std::size_t mDepth = 0;
    std::string_view mQualifiedName;
    std::string_view mLocalName;
    std::string_view mRawText;
    bool mIsCData = false;
    bool mIsEmptyElement = false;
    bool mHasRoot = false;
    bool mIsAtEndElement = false;  // the element ends with the current token
    bool mHasPrefixes = false;     // among the attributes
    bool mHasDeclarations = false;
    // Used again for every element: making and clearing them would take a fifth of all time.
    std::vector<XmlAttribute> mAttributePool;
    std::size_t mAttributeCount = 0;
    std::vector<OpenElement> mOpen;
    xml::XmlNamespaces mNamespaces;
};

// Appends `raw` with character references and the five predefined entities expanded and line
// ends normalised (CR LF and CR become LF). Throws Error (Damaged) for a bad reference.
void appendXmlText(std::string& out, std::string_view raw);
std::string xmlText(std::string_view raw);
// Attribute values: as above, and literal tab, LF, CR become blanks.
std::string xmlAttributeText(std::string_view raw);

// Escapes for element content (& < > and CR as a reference) and for attribute values (also
// the double quote, tab and LF). Throws Error 1004 for a character that XML cannot hold.
void appendXmlEscaped(std::string& out, std::string_view text);
std::string xmlEscaped(std::string_view text);
std::string xmlAttributeEscaped(std::string_view text);

// The input as UTF-8 without a mark: a byte-order mark or the XML declaration decides (UTF-8,
// UTF-16 either order, ASCII, ISO-8859-1, windows-1252). The declaration of the result says
// UTF-8, so that it can be edited and stored as it is. Returns nullopt when `bytes` already are
// plain UTF-8 by name, so that nothing is copied. Throws Error (Unsupported) for any other
// encoding, Error (Damaged) when mark, declaration and bytes contradict each other. UTF-8 itself
// is not validated here; the scanner does.
std::optional<std::string> toUtf8(std::string_view bytes);

}  // namespace brindle::workbook::package
