// SPDX-License-Identifier: MIT
// A package made from nothing, with the parts that a workbook must have and its shared strings.
#include <vector>

#include "workbook/NewDocument.h"
#include "workbook/NumberText.h"
#include "workbook/ooxml/OoxmlFormat.h"
#include "workbook/ooxml/OoxmlNames.h"
#include "workbook/ooxml/Xstring.h"
#include "workbook/package/EmptyContainers.h"
#include "workbook/package/XmlScanner.h"
#include "workbook/package/ZipArchive.h"

namespace brindle::workbook::ooxml {

namespace {

constexpr int kDeflateLevel = 6;

constexpr std::string_view kDeclaration =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
constexpr std::string_view kPackageNamespace = "http://schemas.openxmlformats.org/package/2006/";
constexpr std::string_view kPartType =
    "application/vnd.openxmlformats-officedocument."
    "spreadsheetml.";

struct Part {
    std::string name;
    std::string_view relationship;  // last step of the relationship type
    std::string_view contentType;   // its middle
    std::string text;
};

// " name="value"", for values that need no escapes.
std::string attribute(std::string_view name, std::string_view value) {
    std::string out = " ";
    out += name;
    out += "=\"";
    out += value;
    return out + '"';
}

std::string mainRoot(std::string_view name, std::string_view content,
                     const std::string& attributes = {}) {
    std::string out(kDeclaration);
    out += '<';
    out += name;
    out += attribute("xmlns", kMainNamespace) + attributes + '>';
    out += content;
    out += "</";
    out += name;
    return out + '>';
}

// --- parts ---------------------------------------------------------------------------------------

std::string workbookPart(const std::string& sheetName) {
    return mainRoot("workbook",
                    "<sheets><sheet" + attribute("name", package::xmlAttributeEscaped(sheetName)) +
                        " sheetId=\"1\" r:id=\"rId1\"/></sheets>",
                    attribute("xmlns:r", kRelationshipsNamespace));
}

std::string stylesPart(const NewDocument& document) {
    std::string codes;
    std::string styles;
    std::size_t codeCount = 0;
    for (const NewDocument::NumberFormat& format : document.formats()) {
        const std::string id = attribute("numFmtId", std::to_string(format.id));
        if (format.id >= NewDocument::kFirstOwnFormat) {
            codes += "<numFmt" + id +
                     attribute("formatCode", package::xmlAttributeEscaped(format.code)) + "/>";
            ++codeCount;
        }
        styles += "<xf" + id + " fontId=\"0\" fillId=\"0\" borderId=\"0\" xfId=\"0\"";
        styles += format.id == 0 ? "/>" : " applyNumberFormat=\"1\"/>";
    }
    const auto list = [](const std::string& name, std::size_t count, const std::string& items) {
        return "<" + name + attribute("count", std::to_string(count)) + ">" + items + "</" + name +
               ">";
    };
    return mainRoot(
        "styleSheet",
        (codes.empty() ? "" : list("numFmts", codeCount, codes)) +
            "<fonts count=\"1\"><font><sz val=\"10\"/><name val=\"Arial\"/></font></fonts>"
            "<fills count=\"2\"><fill><patternFill patternType=\"none\"/></fill>"
            "<fill><patternFill patternType=\"gray125\"/></fill></fills>"
            "<borders count=\"1\"><border><left/><right/><top/><bottom/><diagonal/></border>"
            "</borders><cellStyleXfs count=\"1\">"
            "<xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\"/></cellStyleXfs>" +
            list("cellXfs", document.formats().size(), styles) +
            "<cellStyles count=\"1\"><cellStyle name=\"Normal\" xfId=\"0\" builtinId=\"0\"/>"
            "</cellStyles>");
}

std::string stringsPart(const NewDocument& document) {
    std::string items;
    for (const std::string& text : document.texts()) {
        items += needsSpacePreserved(text) ? "<si><t xml:space=\"preserve\">" : "<si><t>";
        items += xstringEscaped(text);
        items += "</t></si>";
    }
    return mainRoot("sst", items,
                    attribute("uniqueCount", std::to_string(document.texts().size())));
}

void appendCell(std::string& out, std::int32_t row, const NewWorksheet::Cell& cell) {
    out += "<c" + attribute("r", cellName({row, cell.column}));
    if (cell.format != 0) out += attribute("s", std::to_string(cell.format));
    switch (cell.kind) {
        case CellValue::Kind::Text:
            out += " t=\"s\"><v>" + std::to_string(cell.text);
            break;
        case CellValue::Kind::Boolean:
            out += cell.boolean ? " t=\"b\"><v>1" : " t=\"b\"><v>0";
            break;
        default:
            out += "><v>" + storedNumber(cell.number);
    }
    out += "</v></c>";
}

std::string sheetPart(NewWorksheet& sheet) {
    const CellRange used = sheet.usedRange();
    std::string content;
    if (used.firstRow != 0) {
        content = "<dimension" +
                  attribute("ref", cellName({used.firstRow, used.firstColumn}) + ":" +
                                       cellName({used.lastRow, used.lastColumn})) +
                  "/>";
    }
    content += "<sheetData>";
    for (std::size_t i = 0; i < sheet.rows().size(); ++i) {
        if (sheet.rows()[i].empty()) continue;
        const auto row = static_cast<std::int32_t>(i) + 1;
        content += "<row" + attribute("r", std::to_string(row)) + ">";
        for (const NewWorksheet::Cell& cell : sheet.rows()[i]) appendCell(content, row, cell);
        content += "</row>";
    }
    return mainRoot("worksheet", content + "</sheetData>");
}

// --- the package ---------------------------------------------------------------------------------

std::string relationship(std::size_t number, std::string_view type, const std::string& target) {
    return "<Relationship" + attribute("Id", "rId" + std::to_string(number)) +
           attribute("Type", std::string(kRelationshipsNamespace) + std::string(type)) +
           attribute("Target", target) + "/>";
}

std::string relationshipsPart(const std::string& relationships) {
    return std::string(kDeclaration) + "<Relationships" +
           attribute("xmlns", std::string(kPackageNamespace) + "relationships") + ">" +
           relationships + "</Relationships>";
}

std::string contentTypesPart(const std::vector<Part>& parts) {
    std::string types =
        "<Default Extension=\"rels\" "
        "ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
        "<Default Extension=\"xml\" ContentType=\"application/xml\"/>";
    for (const Part& part : parts) {
        types += "<Override" + attribute("PartName", "/xl/" + part.name) +
                 attribute("ContentType",
                           std::string(kPartType) + std::string(part.contentType) + "+xml") +
                 "/>";
    }
    return std::string(kDeclaration) + "<Types" +
           attribute("xmlns", std::string(kPackageNamespace) + "content-types") + ">" + types +
           "</Types>";
}

package::MemberEdit member(std::string name, std::string_view text) {
    package::MemberEdit edit;
    edit.action = package::MemberEdit::Action::Add;
    edit.name = std::move(name);
    edit.compressed = package::deflateWhole(text, kDeflateLevel);
    edit.size = text.size();
    edit.crc = package::crc32(text);
    return edit;
}

}  // namespace

void writeNew(NewDocument& document, ByteSink& out) {
    NewWorksheet& sheet = document.worksheet(0);
    const std::vector<Part> parts = {
        {"workbook.xml", kOfficeDocumentType, "sheet.main", workbookPart(sheet.name())},
        {"worksheets/sheet1.xml", kWorksheetType, "worksheet", sheetPart(sheet)},
        {"styles.xml", kStylesType, "styles", stylesPart(document)},
        {"sharedStrings.xml", kSharedStringsType, "sharedStrings", stringsPart(document)},
    };
    std::string ofWorkbook;
    for (std::size_t i = 1; i < parts.size(); ++i) {
        ofWorkbook += relationship(i, parts[i].relationship, parts[i].name);
    }
    std::vector<package::MemberEdit> members;
    members.push_back(member(std::string(kContentTypesPart), contentTypesPart(parts)));
    members.push_back(member("_rels/.rels", relationshipsPart(relationship(
                                                1, parts[0].relationship, "xl/" + parts[0].name))));
    members.push_back(member("xl/_rels/workbook.xml.rels", relationshipsPart(ofWorkbook)));
    for (const Part& part : parts) members.push_back(member("xl/" + part.name, part.text));

    const std::string empty = package::emptyZipArchive();
    const MemorySource source(empty);
    package::ZipArchive(source).writeTo(out, std::move(members));
}

}  // namespace brindle::workbook::ooxml
