// SPDX-License-Identifier: MIT
#include "support/WorkbookBuilder.h"

namespace brindle::test {

namespace {

const std::string kMain = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
const std::string kOffice = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
const std::string kPackage = "http://schemas.openxmlformats.org/package/2006/";
const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
const std::string kStyles =
    R"(<numFmts count="2"><numFmt numFmtId="165" formatCode="0.0%;[Red]0.0%"/>)"
    R"(<numFmt numFmtId="166" formatCode="0&quot;%&quot;"/></numFmts>)"
    R"(<fonts count="2"><font><sz val="11"/><name val="Calibri"/></font>)"
    R"(<font><b/><sz val="11"/><name val="Calibri"/></font></fonts>)"
    R"(<fills count="1"><fill><patternFill patternType="none"/></fill></fills>)"
    R"(<borders count="1"><border/></borders>)"
    R"(<cellStyleXfs count="1"><xf numFmtId="0"/></cellStyleXfs>)";

void replaceAll(std::string& text, std::string_view old, std::string_view with) {
    for (std::size_t at = text.find(old); at != std::string::npos;
         at = text.find(old, at + with.size())) {
        text.replace(at, old.size(), with);
    }
}

// Puts the prefix in front of every element name that has none.
std::string withPrefix(const std::string& text, const std::string& prefix) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        out += text[i];
        if (text[i] != '<' || i + 1 == text.size()) continue;
        const std::size_t name = text[i + 1] == '/' ? i + 2 : i + 1;
        const std::size_t end = text.find_first_of(" \t\r\n/>:", name);
        const bool isElement = name < text.size() && text[name] >= 'A' && end != std::string::npos;
        if (!isElement || text[end] == ':') continue;
        if (name == i + 2) out += text[++i];
        out += prefix + ":";
    }
    replaceAll(out, "xmlns=", "xmlns:" + prefix + "=");
    return out;
}

std::string contentType(const std::string& name) {
    const std::pair<const char*, const char*> kTypes[] = {
        {"_rels/", ""},
        {"worksheets/", "worksheet"},
        {"chartsheets/", "chartsheet"},
        {"tables/", "table"},
        {"externalLinks/", "externalLink"},
        {"workbook.xml", "sheet.main"},
        {"sharedStrings", "sharedStrings"},
        {"styles", "styles"},
        {"calcChain", "calcChain"},
    };
    for (const auto& [piece, type] : kTypes) {
        if (name.find(piece) != std::string::npos) return type;
    }
    return {};
}

std::string root(const std::string& element, std::string_view attributes,
                 const std::string& content) {
    return "<" + element + " xmlns=\"" + kMain + "\" xmlns:r=\"" + kOffice + "\"" +
           std::string(attributes) + ">" + content + "</" + element + ">";
}

std::string link(const std::string& id, const std::string& type, const std::string& target,
                 const char* rest = "") {
    return "<Relationship Id=\"" + id + "\" Type=\"" + kOffice + "/" + type + "\" Target=\"" +
           target + "\"" + rest + "/>";
}

std::string stylesPart() {
    // Number format, font, and the rest of each cell style.
    const std::tuple<int, int, const char*> kCellStyles[] = {
        {0, 0, "/>"},
        {9, 0, "/>"},
        {14, 0, "/>"},
        {49, 0, "/>"},
        {0, 0, " quotePrefix=\"1\"/>"},
        {0, 0, " applyProtection=\"1\"><protection locked=\"0\"/></xf>"},
        {3, 0, "/>"},
        {20, 0, "/>"},
        {17, 0, "/>"},
        {0, 1, "/>"},
        {22, 0, "/>"},
        {165, 0, "/>"},
        {46, 0, "/>"},
        {166, 0, "/>"},
    };
    std::string xfs;
    for (const auto& [format, font, rest] : kCellStyles) {
        xfs += "<xf numFmtId=\"" + std::to_string(format) + "\" fontId=\"" + std::to_string(font) +
               "\" fillId=\"0\" borderId=\"0\" xfId=\"0\"" + rest;
    }
    return root("styleSheet", "", kStyles + "<cellXfs count=\"14\">" + xfs + "</cellXfs>");
}

}  // namespace

WorkbookBuilder::Sheet& WorkbookBuilder::addSheet() {
    Sheet& sheet = mSheets.emplace_back();
    sheet.name = "Sheet" + std::to_string(mSheets.size());
    return sheet;
}

WorkbookBuilder& WorkbookBuilder::sheet(std::string_view rows, std::string_view tail,
                                        std::string_view head) {
    Sheet& added = addSheet();
    added.rows = rows;
    added.tail = tail;
    added.head = head;
    return *this;
}

WorkbookBuilder& WorkbookBuilder::row(std::string_view cells, std::string_view tail) {
    return sheet("<row r=\"1\">" + std::string(cells) + "</row>", tail);
}

WorkbookBuilder& WorkbookBuilder::rawSheet(std::string_view bytes) {
    return addSheet().raw = bytes, *this;
}

WorkbookBuilder& WorkbookBuilder::chartSheet() {
    return addSheet().isChart = true, *this;
}

WorkbookBuilder& WorkbookBuilder::named(std::string_view name) {
    return mSheets.back().name = name, *this;
}

WorkbookBuilder& WorkbookBuilder::strings(std::string_view items, std::string_view attributes) {
    const std::string blank = attributes.empty() ? "" : " ";
    return mStrings = root("sst", blank + std::string(attributes), std::string(items)), *this;
}

WorkbookBuilder& WorkbookBuilder::calcChain(std::string_view entries) {
    return mCalcChain = entries, *this;
}

WorkbookBuilder& WorkbookBuilder::table(std::string_view range,
                                        const std::vector<std::string>& columns) {
    std::string list;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        list += "<tableColumn id=\"" + std::to_string(i + 1) + "\" name=\"" + columns[i] + "\"/>";
    }
    const std::string id = std::to_string(mTables.size() + 1);
    mSheets.back().tableLinks += link("table" + id, "table", "../tables/table" + id + ".xml");
    mSheets.back().tableParts += "<tablePart r:id=\"table" + id + "\"/>";
    mTables.push_back(root("table",
                           " id=\"" + id + "\" name=\"Table" + id + "\" displayName=\"Table" + id +
                               "\" ref=\"" + std::string(range) + "\"",
                           "<tableColumns count=\"" + std::to_string(columns.size()) + "\">" +
                               list + "</tableColumns>"));
    return *this;
}

WorkbookBuilder& WorkbookBuilder::externalBook(std::string_view target) {
    return mExternalBooks.emplace_back(target), *this;
}

WorkbookBuilder& WorkbookBuilder::settings(std::string_view front, std::string_view behind) {
    return mFront = front, mBehind = behind, *this;
}

WorkbookBuilder& WorkbookBuilder::withoutStyles() {
    return mHasStyles = false, *this;
}

WorkbookBuilder& WorkbookBuilder::part(std::string_view name, std::string_view bytes) {
    return mExtra[std::string(name)] = bytes, *this;
}

WorkbookBuilder& WorkbookBuilder::withoutPart(std::string_view name) {
    return mLeftOut.emplace_back(name), *this;
}

WorkbookBuilder& WorkbookBuilder::inAllParts(std::string_view text, std::string_view with) {
    return mReplacements.emplace_back(text, with), *this;
}

WorkbookBuilder& WorkbookBuilder::prefix(std::string_view prefix) {
    return mPrefix = prefix, *this;
}

WorkbookBuilder& WorkbookBuilder::strict() {
    return mIsStrict = true, *this;
}

// Prefix, variant and replacements, for what root() made.
std::string WorkbookBuilder::finished(std::string text) const {
    const bool isMain = text.find(kMain) != std::string::npos;
    if (isMain && !mPrefix.empty()) text = withPrefix(text, mPrefix);
    if (mIsStrict) {
        replaceAll(text, kMain, "http://purl.oclc.org/ooxml/spreadsheetml/main");
        replaceAll(text, kOffice, "http://purl.oclc.org/ooxml/officeDocument/relationships");
    }
    for (const auto& [old, with] : mReplacements) replaceAll(text, old, with);
    return kDeclaration + text;
}

std::string WorkbookBuilder::relationships(const std::string& links) const {
    return finished("<Relationships xmlns=\"" + kPackage + "relationships\">" + links +
                    "</Relationships>");
}

std::string WorkbookBuilder::workbookLinks() const {
    std::string links;
    for (std::size_t i = 0; i < mSheets.size(); ++i) {
        const std::string kind = mSheets[i].isChart ? "chartsheet" : "worksheet";
        const std::string id = "sheet" + std::to_string(i + 1);
        links += link(id, kind, kind + "s/" + id + ".xml");
    }
    for (std::size_t i = 0; i < mExternalBooks.size(); ++i) {
        const std::string id = "link" + std::to_string(i + 1);
        links += link(id, "externalLink", "externalLinks/" + id + ".xml");
    }
    if (!mStrings.empty()) links += link("strings", "sharedStrings", "sharedStrings.xml");
    if (mHasStyles) links += link("styles", "styles", "styles.xml");
    if (!mCalcChain.empty()) links += link("chain", "calcChain", "calcChain.xml");
    return links;
}

std::string WorkbookBuilder::workbookPart() const {
    std::string sheets;
    for (std::size_t i = 0; i < mSheets.size(); ++i) {
        const std::string number = std::to_string(i + 1);
        sheets += "<sheet name=\"" + mSheets[i].name + "\" sheetId=\"" + number +
                  "\" r:id=\"sheet" + number + "\"/>";
    }
    std::string books;
    for (std::size_t i = 0; i < mExternalBooks.size(); ++i) {
        books += "<externalReference r:id=\"link" + std::to_string(i + 1) + "\"/>";
    }
    if (!books.empty()) books = "<externalReferences>" + books + "</externalReferences>";
    return root("workbook", "", mFront + "<sheets>" + sheets + "</sheets>" + books + mBehind);
}

void WorkbookBuilder::addSheetParts(Members& parts, std::size_t index) const {
    const Sheet& sheet = mSheets[index];
    const std::string file = "sheet" + std::to_string(index + 1) + ".xml";
    if (sheet.isChart) {
        parts["xl/chartsheets/" + file] = finished(root("chartsheet", "", ""));
        return;
    }
    const bool hasTables = !sheet.tableParts.empty();
    const std::string tables =
        hasTables ? "<tableParts>" + sheet.tableParts + "</tableParts>" : std::string();
    const std::string content =
        sheet.head + "<sheetData>" + sheet.rows + "</sheetData>" + sheet.tail + tables;
    parts["xl/worksheets/" + file] =
        sheet.raw.empty() ? finished(root("worksheet", "", content)) : sheet.raw;
    if (hasTables) parts["xl/worksheets/_rels/" + file + ".rels"] = relationships(sheet.tableLinks);
}

Members WorkbookBuilder::parts() const {
    Members parts;
    parts["_rels/.rels"] = relationships(link("main", "officeDocument", "xl/workbook.xml"));
    parts["xl/workbook.xml"] = finished(workbookPart());
    parts["xl/_rels/workbook.xml.rels"] = relationships(workbookLinks());
    for (std::size_t i = 0; i < mSheets.size(); ++i) addSheetParts(parts, i);
    if (!mStrings.empty()) parts["xl/sharedStrings.xml"] = finished(mStrings);
    if (mHasStyles) parts["xl/styles.xml"] = finished(stylesPart());
    if (!mCalcChain.empty()) {
        parts["xl/calcChain.xml"] = finished(root("calcChain", "", mCalcChain));
    }
    for (std::size_t i = 0; i < mTables.size(); ++i) {
        parts["xl/tables/table" + std::to_string(i + 1) + ".xml"] = finished(mTables[i]);
    }
    for (std::size_t i = 0; i < mExternalBooks.size(); ++i) {
        const std::string file = "link" + std::to_string(i + 1) + ".xml";
        parts["xl/externalLinks/" + file] = finished(root("externalLink", "", ""));
        parts["xl/externalLinks/_rels/" + file + ".rels"] = relationships(
            link("book", "externalLinkPath", mExternalBooks[i], " TargetMode=\"External\""));
    }
    for (const auto& [name, bytes] : mExtra) parts[name] = bytes;
    for (const std::string& name : mLeftOut) parts.erase(name);
    std::string types = "<Types xmlns=\"" + kPackage +
                        "content-types\"><Default Extension=\"rels\" ContentType=\"application/"
                        "vnd.openxmlformats-package.relationships+xml\"/>"
                        "<Default Extension=\"xml\" ContentType=\"application/xml\"/>";
    for (const auto& [name, bytes] : parts) {
        const std::string type = contentType(name);
        if (type.empty()) continue;
        types += "<Override PartName=\"/" + name +
                 "\" ContentType=\"application/vnd.openxmlformats-"
                 "officedocument.spreadsheetml." +
                 type + "+xml\"/>";
    }
    parts.emplace("[Content_Types].xml", kDeclaration + types + "</Types>");
    return parts;
}

std::string WorkbookBuilder::write(const TempDir& dir, std::string_view name) const {
    const std::string path = dir.path(name);
    writeArchive(path, parts());
    return path;
}

}  // namespace brindle::test
