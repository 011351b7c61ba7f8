// SPDX-License-Identifier: MIT
#include "workbook/ooxml/CellEdit.h"

#include "base/Error.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::ooxml {

using package::XmlScanner;
using package::XmlToken;

namespace {

using Kind = EnteredCell::Kind;

const char* typeName(const CellEdit& edit) {
    switch (edit.content.kind) {
        case Kind::Text:
            return edit.content.isInline ? "inlineStr" : "s";
        case Kind::Boolean:
            return "b";
        case Kind::Error:
            return "e";
        default:
            return nullptr;
    }
}

std::string element(const std::string& prefix, const char* name, std::string_view content) {
    std::string out = "<" + prefix + name + ">";
    out += content;
    return out + "</" + prefix + name + ">";
}

// How a formula is calculated stays, whatever its text.
std::string calculationAttributes(std::string_view text) {
    XmlScanner scanner(text);
    std::string out;
    for (XmlToken token = scanner.next(); token != XmlToken::EndOfInput; token = scanner.next()) {
        if (token != XmlToken::StartElement || scanner.depth() != 3) continue;
        if (scanner.localName() != "f") continue;
        for (const auto& attribute : scanner.attributes()) {
            const std::string_view name = attribute.qualifiedName;
            if (name != "ca" && name != "aca" && name != "bx") continue;
            out += ' ';
            out += text.substr(attribute.begin, attribute.end - attribute.begin);
        }
    }
    return out;
}

std::string formulaElement(const std::string& prefix, const CellContent& content,
                           const std::string& attributes) {
    std::string out = "<" + prefix + "f";
    if (!content.arrayReference.empty()) {
        out += " t=\"array\" ref=\"" + content.arrayReference + "\"";
    }
    return out + attributes + ">" + package::xmlEscaped(content.formula) + "</" + prefix + "f>";
}

std::string contentXml(const std::string& prefix, const CellEdit& edit, std::string_view old) {
    const CellContent& content = edit.content;
    switch (content.kind) {
        case Kind::Blank:
            return {};
        case Kind::Text:
            if (content.isInline) return element(prefix, "is", content.item.str());
            return element(prefix, "v", std::to_string(edit.sharedString));
        case Kind::Number:
            return element(prefix, "v", storedNumber(content.number));
        case Kind::Boolean:
            return element(prefix, "v", content.boolean ? "1" : "0");
        case Kind::Error:
            return element(prefix, "v", package::xmlEscaped(content.text.str()));
        case Kind::Formula:
            return formulaElement(prefix, content, calculationAttributes(old));
    }
    return {};
}

// Children that we do not know are kept behind ours.
std::string unknownChildren(XmlScanner& scanner, std::string_view text) {
    std::string out;
    for (XmlToken token = scanner.next(); token != XmlToken::EndOfInput; token = scanner.next()) {
        if (token != XmlToken::StartElement || scanner.depth() != 3) continue;
        const std::size_t begin = scanner.begin();
        const std::string_view name = scanner.localName();
        const bool isOurs = name == "v" || name == "f" || name == "is";
        scanner.skipElement();
        if (!isOurs) out += text.substr(begin, scanner.end() - begin);
    }
    return out;
}

}  // namespace

std::string cellXml(const FragmentContext& context, std::string_view raw, const CellEdit& edit) {
    const std::string text = context.wrapped(raw);
    XmlScanner scanner(text);
    scanner.next();
    scanner.next();
    const std::string prefix = prefixOf(scanner.qualifiedName());
    // The metadata of a dynamic array goes with its formula, those of a rich value with it.
    const bool staysArray = !edit.content.arrayReference.empty();
    std::string out = "<" + prefix + "c";
    bool hasStyle = false;
    for (const auto& attribute : scanner.attributes()) {
        const std::string_view name = attribute.qualifiedName;
        if (name == "t" || name == "vm" || (name == "cm" && !staysArray)) continue;
        out += ' ';
        if (name == "s") {
            out += "s=\"" + std::to_string(edit.content.style) + "\"";
            hasStyle = true;
        } else {
            out += std::string_view(text).substr(attribute.begin, attribute.end - attribute.begin);
        }
    }
    if (!hasStyle && edit.content.style != 0) {
        out += " s=\"" + std::to_string(edit.content.style) + "\"";
    }
    if (const char* type = typeName(edit)) out += std::string(" t=\"") + type + "\"";

    std::string content = contentXml(prefix, edit, text) + unknownChildren(scanner, text);
    if (content.empty()) return out + "/>";
    return out + ">" + content + "</" + prefix + "c>";
}

}  // namespace brindle::workbook::ooxml
