// SPDX-License-Identifier: MIT
#include "support/WorkbookBuilder.h"

#include <zip.h>

#include <algorithm>
#include <stdexcept>

namespace brindle::test {

namespace {

constexpr std::string_view kMain = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
constexpr std::string_view kOffice =
    "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
constexpr std::string_view kContentTypes =
    "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
    "<Default Extension=\"rels\" "
    "ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
    "<Default Extension=\"xml\" ContentType=\"application/xml\"/>";
constexpr std::string_view kTypeStart = "application/vnd.openxmlformats-officedocument.";
constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

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
        if (name == i + 2) {
            out += '/';
            ++i;
        }
        out += prefix + ":";
    }
    replaceAll(out, "xmlns=", "xmlns:" + prefix + "=");
    return out;
}

std::string number(std::size_t value) {
    return std::to_string(value);
}

std::string contentType(const std::string& name) {
    const auto has = [&](std::string_view text) { return name.find(text) != std::string::npos; };
    const std::string sheetMl = std::string(kTypeStart) + "spreadsheetml.";
    if (has("_rels/")) return {};
    if (has("worksheets/")) return sheetMl + "worksheet+xml";
    if (has("chartsheets/")) return sheetMl + "chartsheet+xml";
    if (has("tables/")) return sheetMl + "table+xml";
    if (has("externalLinks/")) return sheetMl + "externalLink+xml";
    if (has("workbook.xml")) return sheetMl + "sheet.main+xml";
    if (has("sharedStrings")) return sheetMl + "sharedStrings+xml";
    if (has("styles")) return sheetMl + "styles+xml";
    if (has("calcChain")) return sheetMl + "calcChain+xml";
    return {};
}

}  // namespace

WorkbookBuilder::Sheet& WorkbookBuilder::addSheet() {
    Sheet& sheet = mSheets.emplace_back();
    sheet.name = "Sheet" + number(mSheets.size());
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

WorkbookBuilder& WorkbookBuilder::rawSheet(std::string_view bytes) {
    addSheet().raw = bytes;
    return *this;
}

WorkbookBuilder& WorkbookBuilder::chartSheet() {
    addSheet().isChart = true;
    return *this;
}

WorkbookBuilder& WorkbookBuilder::named(std::string_view name) {
    mSheets.back().name = name;
    return *this;
}

WorkbookBuilder& WorkbookBuilder::strings(std::string_view items, std::string_view attributes) {
    mHasStrings = true;
    mStrings = items;
    mStringAttributes = attributes;
    return *this;
}

WorkbookBuilder& WorkbookBuilder::calcChain(std::string_view entries) {
    mCalcChain = entries;
    return *this;
}

WorkbookBuilder& WorkbookBuilder::table(std::string_view range,
                                        const std::vector<std::string>& columns) {
    std::string list;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        list += "<tableColumn id=\"" + number(i + 1) + "\" name=\"" + columns[i] + "\"/>";
    }
    const std::string id = number(mTables.size() + 1);
    mSheets.back().tables.push_back("../tables/table" + id + ".xml");
    mTables.push_back(
        root("table",
             " id=\"" + id + "\" name=\"Table" + id + "\" displayName=\"Table" + id + "\" ref=\"" +
                 std::string(range) + "\"",
             "<tableColumns count=\"" + number(columns.size()) + "\">" + list + "</tableColumns>"));
    return *this;
}

WorkbookBuilder& WorkbookBuilder::externalBook(std::string_view target) {
    mExternalBooks.emplace_back(target);
    return *this;
}

WorkbookBuilder& WorkbookBuilder::settings(std::string_view front, std::string_view behind) {
    mFront = front;
    mBehind = behind;
    return *this;
}

WorkbookBuilder& WorkbookBuilder::withoutStyles() {
    mHasStyles = false;
    return *this;
}

WorkbookBuilder& WorkbookBuilder::part(std::string_view name, std::string_view bytes) {
    mExtra[std::string(name)] = bytes;
    return *this;
}

WorkbookBuilder& WorkbookBuilder::withoutPart(std::string_view name) {
    mLeftOut.emplace_back(name);
    return *this;
}

WorkbookBuilder& WorkbookBuilder::inAllParts(std::string_view text, std::string_view with) {
    mReplacements.emplace_back(text, with);
    return *this;
}

WorkbookBuilder& WorkbookBuilder::prefix(std::string_view prefix) {
    mPrefix = prefix;
    return *this;
}

WorkbookBuilder& WorkbookBuilder::strict() {
    mIsStrict = true;
    return *this;
}

std::string WorkbookBuilder::root(std::string_view element, std::string_view attributes,
                                  std::string_view content) const {
    std::string out = "<" + std::string(element) + " xmlns=\"" + std::string(kMain) +
                      "\" xmlns:r=\"" + std::string(kOffice) + "\"";
    out += attributes;
    out += '>';
    out += content;
    return out + "</" + std::string(element) + ">";
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
    return std::string(kDeclaration) + text;
}

std::string WorkbookBuilder::relationships(const std::vector<Link>& links) {
    std::string out =
        "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">";
    for (const Link& link : links) {
        out += "<Relationship Id=\"" + link.id + "\" Type=\"" + std::string(kOffice) + "/" +
               link.type + "\" Target=\"" + link.target + "\"" +
               (link.isExternal ? " TargetMode=\"External\"/>" : "/>");
    }
    return out + "</Relationships>";
}

std::vector<WorkbookBuilder::Link> WorkbookBuilder::workbookLinks() const {
    std::vector<Link> links;
    for (std::size_t i = 0; i < mSheets.size(); ++i) {
        const std::string kind = mSheets[i].isChart ? "chartsheet" : "worksheet";
        links.push_back({"sheet" + number(i + 1), kind, kind + "s/sheet" + number(i + 1) + ".xml"});
    }
    for (std::size_t i = 0; i < mExternalBooks.size(); ++i) {
        const std::string link = "link" + number(i + 1);
        links.push_back({link, "externalLink", "externalLinks/" + link + ".xml"});
    }
    if (mHasStrings) links.push_back({"strings", "sharedStrings", "sharedStrings.xml"});
    if (mHasStyles) links.push_back({"styles", "styles", "styles.xml"});
    if (!mCalcChain.empty()) links.push_back({"chain", "calcChain", "calcChain.xml"});
    return links;
}

std::string WorkbookBuilder::workbookPart() const {
    std::string content = mFront + "<sheets>";
    for (std::size_t i = 0; i < mSheets.size(); ++i) {
        content += "<sheet name=\"" + mSheets[i].name + "\" sheetId=\"" + number(i + 1) +
                   "\" r:id=\"sheet" + number(i + 1) + "\"/>";
    }
    content += "</sheets>";
    if (!mExternalBooks.empty()) content += "<externalReferences>";
    for (std::size_t i = 0; i < mExternalBooks.size(); ++i) {
        content += "<externalReference r:id=\"link" + number(i + 1) + "\"/>";
    }
    if (!mExternalBooks.empty()) content += "</externalReferences>";
    return root("workbook", "", content + mBehind);
}

std::string WorkbookBuilder::stylesPart() const {
    const auto xf = [](int format, const char* rest = "/>") {
        return "<xf numFmtId=\"" + std::to_string(format) +
               "\" fontId=\"0\" fillId=\"0\" borderId=\"0\" xfId=\"0\"" + rest;
    };
    const std::string xfs =
        xf(0) + xf(9) + xf(14) + xf(49) + xf(0, " quotePrefix=\"1\"/>") +
        xf(0, " applyProtection=\"1\"><protection locked=\"0\"/></xf>") + xf(3) + xf(20) + xf(17) +
        "<xf numFmtId=\"0\" fontId=\"1\" fillId=\"0\" borderId=\"0\" xfId=\"0\"/>" + xf(22) +
        xf(165) + xf(46) + xf(166);
    return root("styleSheet", "",
                "<numFmts count=\"2\"><numFmt numFmtId=\"165\" formatCode=\"0.0%;[Red]0.0%\"/>"
                "<numFmt numFmtId=\"166\" formatCode=\"0&quot;%&quot;\"/></numFmts>"
                "<fonts count=\"2\"><font><sz val=\"11\"/><name val=\"Calibri\"/></font>"
                "<font><b/><sz val=\"11\"/><name val=\"Calibri\"/></font></fonts>"
                "<fills count=\"1\"><fill><patternFill patternType=\"none\"/></fill></fills>"
                "<borders count=\"1\"><border/></borders>"
                "<cellStyleXfs count=\"1\"><xf numFmtId=\"0\"/></cellStyleXfs>"
                "<cellXfs count=\"" +
                    std::to_string(style::kCount) + "\">" + xfs + "</cellXfs>");
}

void WorkbookBuilder::addSheetParts(std::map<std::string, std::string>& parts,
                                    std::size_t index) const {
    const Sheet& sheet = mSheets[index];
    const std::string file = "sheet" + number(index + 1) + ".xml";
    if (sheet.isChart) {
        parts["xl/chartsheets/" + file] = finished(root("chartsheet", "", ""));
        return;
    }
    std::vector<Link> links;
    std::string tables;
    for (const std::string& target : sheet.tables) {
        const std::string id = "table" + number(links.size() + 1);
        links.push_back({id, "table", target});
        tables += "<tablePart r:id=\"" + id + "\"/>";
    }
    if (!tables.empty()) tables = "<tableParts>" + tables + "</tableParts>";
    const std::string content =
        sheet.head + "<sheetData>" + sheet.rows + "</sheetData>" + sheet.tail + tables;
    parts["xl/worksheets/" + file] =
        sheet.raw.empty() ? finished(root("worksheet", "", content)) : sheet.raw;
    if (!links.empty()) {
        parts["xl/worksheets/_rels/" + file + ".rels"] = finished(relationships(links));
    }
}

std::map<std::string, std::string> WorkbookBuilder::parts() const {
    std::map<std::string, std::string> parts;
    parts["_rels/.rels"] = finished(relationships({{"main", "officeDocument", "xl/workbook.xml"}}));
    parts["xl/workbook.xml"] = finished(workbookPart());
    parts["xl/_rels/workbook.xml.rels"] = finished(relationships(workbookLinks()));
    for (std::size_t i = 0; i < mSheets.size(); ++i) addSheetParts(parts, i);
    if (mHasStrings) {
        parts["xl/sharedStrings.xml"] = finished(
            root("sst", mStringAttributes.empty() ? "" : " " + mStringAttributes, mStrings));
    }
    if (mHasStyles) parts["xl/styles.xml"] = finished(stylesPart());
    if (!mCalcChain.empty()) {
        parts["xl/calcChain.xml"] = finished(root("calcChain", "", mCalcChain));
    }
    for (std::size_t i = 0; i < mTables.size(); ++i) {
        parts["xl/tables/table" + number(i + 1) + ".xml"] = finished(mTables[i]);
    }
    for (std::size_t i = 0; i < mExternalBooks.size(); ++i) {
        const std::string file = "link" + number(i + 1) + ".xml";
        parts["xl/externalLinks/" + file] = finished(root("externalLink", "", ""));
        parts["xl/externalLinks/_rels/" + file + ".rels"] =
            finished(relationships({{"book", "externalLinkPath", mExternalBooks[i], true}}));
    }
    for (const auto& [name, bytes] : mExtra) parts[name] = bytes;
    for (const std::string& name : mLeftOut) parts.erase(name);

    std::string types(kContentTypes);
    for (const auto& [name, bytes] : parts) {
        const std::string type = contentType(name);
        if (type.empty()) continue;
        types += "<Override PartName=\"/" + name + "\" ContentType=\"" + type + "\"/>";
    }
    parts.emplace("[Content_Types].xml", std::string(kDeclaration) + types + "</Types>");
    return parts;
}

std::string WorkbookBuilder::write(const TempDir& dir, std::string_view name) const {
    const std::string path = dir.path(name);
    writeArchive(path, parts());
    return path;
}

// --- archives ------------------------------------------------------------------------------------

namespace {

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error("libzip: " + what);
}

class OpenArchive {
public:
    OpenArchive(const std::string& path, int flags) {
        int code = 0;
        mZip = zip_open(path.c_str(), flags, &code);
        if (!mZip) fail("cannot open " + path);
    }
    ~OpenArchive() {
        if (mZip) zip_discard(mZip);
    }
    OpenArchive(const OpenArchive&) = delete;
    OpenArchive& operator=(const OpenArchive&) = delete;

    zip_t* get() const { return mZip; }
    void close() {
        if (zip_close(mZip) != 0) fail(zip_strerror(mZip));
        mZip = nullptr;
    }

private:
    zip_t* mZip = nullptr;
};

std::string readMember(zip_t* zip, zip_uint64_t index, zip_uint64_t size, zip_flags_t flags) {
    zip_file_t* file = zip_fopen_index(zip, index, flags);
    if (!file) fail(zip_strerror(zip));
    std::string bytes(size, '\0');
    const zip_int64_t got = zip_fread(file, bytes.data(), size);
    char behind = 0;
    const bool isWhole = got == static_cast<zip_int64_t>(size) && zip_fread(file, &behind, 1) == 0;
    zip_fclose(file);
    if (!isWhole) fail("a damaged member");
    return bytes;
}

}  // namespace

void writeArchive(const std::string& path, const std::map<std::string, std::string>& members) {
    OpenArchive archive(path, ZIP_CREATE | ZIP_TRUNCATE);
    for (const auto& [name, bytes] : members) {
        zip_source_t* source = zip_source_buffer(archive.get(), bytes.data(), bytes.size(), 0);
        const zip_int64_t index =
            zip_file_add(archive.get(), name.c_str(), source, ZIP_FL_ENC_UTF_8);
        if (index < 0) fail(zip_strerror(archive.get()));
        const auto place = static_cast<zip_uint64_t>(index);
        zip_set_file_compression(archive.get(), place, ZIP_CM_DEFLATE, 6);
        zip_file_set_mtime(archive.get(), place, 1'000'000'000, 0);
    }
    archive.close();
}

std::map<std::string, PackedMember> packedMembers(const std::string& path) {
    const OpenArchive archive(path, ZIP_RDONLY);
    std::map<std::string, PackedMember> members;
    const zip_int64_t count = zip_get_num_entries(archive.get(), 0);
    for (zip_int64_t i = 0; i < count; ++i) {
        const auto index = static_cast<zip_uint64_t>(i);
        zip_stat_t status;
        if (zip_stat_index(archive.get(), index, 0, &status) != 0) fail("no member");
        PackedMember member;
        member.compressed = readMember(archive.get(), index, status.comp_size, ZIP_FL_COMPRESSED);
        member.crc = status.crc;
        member.size = status.size;
        members.emplace(status.name, std::move(member));
    }
    return members;
}

std::string memberText(const std::string& path, std::string_view member) {
    const OpenArchive archive(path, ZIP_RDONLY);
    zip_stat_t status;
    if (zip_stat(archive.get(), std::string(member).c_str(), 0, &status) != 0) {
        fail("no member " + std::string(member));
    }
    return readMember(archive.get(), status.index, status.size, 0);
}

bool hasMember(const std::string& path, std::string_view member) {
    const OpenArchive archive(path, ZIP_RDONLY);
    return zip_name_locate(archive.get(), std::string(member).c_str(), 0) >= 0;
}

}  // namespace brindle::test
