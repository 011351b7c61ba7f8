// SPDX-License-Identifier: MIT
// What expat makes of an XML document, as an independent judge of the scanner.
#pragma once

#include <expat.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Error.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::package::testing {

// A document as a list of lines: elements with namespaces and attributes, texts joined across
// CDATA sections, other markup by kind.
class XmlEvents {
public:
    void start(std::string line) { add("start " + std::move(line)); }
    void end(std::string name) { add("end " + std::move(name)); }
    void other() { add("other"); }
    void text(std::string_view piece) { mText.append(piece); }
    void finish() {
        if (!mText.empty()) mLines.push_back("text " + mText);
        mText.clear();
    }
    const std::vector<std::string>& lines() const { return mLines; }

private:
    void add(std::string line) {
        finish();
        mLines.push_back(std::move(line));
    }
    std::string mText;
    std::vector<std::string> mLines;
};

struct XmlVerdict {
    bool isAccepted = false;
    bool isDoctype = false;    // refused for a document type declaration
    std::size_t failedAt = 0;  // offset, when not accepted
    std::string reason;
    std::vector<std::string> events;
};

inline XmlVerdict judgeByExpat(std::string_view document) {
    XML_Parser parser = XML_ParserCreateNS("UTF-8", '\1');
    XmlEvents events;
    XML_SetUserData(parser, &events);
    XML_SetElementHandler(
        parser,
        [](void* data, const XML_Char* name, const XML_Char** attributes) {
            std::string line = name;
            for (; *attributes != nullptr; attributes += 2) {
                line += std::string(" ") + attributes[0] + "=" + attributes[1];
            }
            static_cast<XmlEvents*>(data)->start(line);
        },
        [](void* data, const XML_Char* name) { static_cast<XmlEvents*>(data)->end(name); });
    XML_SetCharacterDataHandler(parser, [](void* data, const XML_Char* text, int length) {
        static_cast<XmlEvents*>(data)->text({text, static_cast<std::size_t>(length)});
    });
    XML_SetCommentHandler(
        parser, [](void* data, const XML_Char*) { static_cast<XmlEvents*>(data)->other(); });
    XML_SetProcessingInstructionHandler(parser, [](void* data, const XML_Char*, const XML_Char*) {
        static_cast<XmlEvents*>(data)->other();
    });
    XmlVerdict verdict;
    verdict.isAccepted = XML_Parse(parser, document.data(), static_cast<int>(document.size()),
                                   XML_TRUE) == XML_STATUS_OK;
    if (!verdict.isAccepted) {
        verdict.reason = XML_ErrorString(XML_GetErrorCode(parser));
        verdict.failedAt = static_cast<std::size_t>(XML_GetCurrentByteIndex(parser));
    }
    XML_ParserFree(parser);
    events.finish();
    verdict.events = events.lines();
    return verdict;
}

inline std::string expandedName(std::string_view uri, std::string_view localName) {
    return uri.empty() ? std::string(localName) : std::string(uri) + '\1' + std::string(localName);
}

inline std::string startLine(const XmlScanner& scanner) {
    std::string line = expandedName(scanner.namespaceUri(), scanner.localName());
    for (const XmlAttribute& each : scanner.attributes()) {
        if (each.prefix == "xmlns" || each.qualifiedName == "xmlns") continue;
        line += " " + expandedName(scanner.namespaceOf(each), each.localName) + "=" +
                xmlAttributeText(each.rawValue);
    }
    return line;
}

inline bool isXmlDeclaration(const XmlScanner& scanner, std::string_view document) {
    return scanner.begin() == 0 && document.substr(0, 5) == "<?xml" &&
           std::string_view(" \t\r\n").find(document[5]) != std::string_view::npos;
}

inline void addEvents(XmlEvents& events, XmlScanner& scanner, std::string_view document) {
    std::string text;
    for (;;) {
        switch (scanner.next()) {
            case XmlToken::StartElement:
                events.start(startLine(scanner));
                break;
            case XmlToken::EndElement:
                events.end(expandedName(scanner.namespaceUri(), scanner.localName()));
                break;
            case XmlToken::Text:
            case XmlToken::CData:
                text.clear();
                scanner.appendText(text);
                events.text(text);
                break;
            case XmlToken::Other:
                if (!isXmlDeclaration(scanner, document)) events.other();
                break;
            case XmlToken::EndOfInput:
                return;
        }
    }
}

inline XmlVerdict judgeByScanner(std::string_view document) {
    XmlVerdict verdict;
    XmlEvents events;
    try {
        XmlScanner scanner(document);
        addEvents(events, scanner, document);
        verdict.isAccepted = true;
    } catch (const Error& error) {
        verdict.isDoctype = error.kind() == ErrorKind::Unsupported;
        verdict.reason = error.description();
        verdict.failedAt = static_cast<std::size_t>(error.place().offset.value_or(0));
    }
    events.finish();
    verdict.events = events.lines();
    return verdict;
}

}  // namespace brindle::workbook::package::testing
