// SPDX-License-Identifier: MIT
// Document properties of Office Open XML workbooks.
#include <gtest/gtest.h>

#include <ctime>

#include "base/Error.h"
#include "support/ScopedEnvironment.h"
#include "support/TempDir.h"
#include "support/Thrown.h"
#include "support/WorkbookBuilder.h"
#include "workbook/FormatTable.h"

namespace brindle::workbook {
namespace {

using namespace brindle::test;

constexpr const char* kCore = "props/c.xml";
constexpr const char* kExtended = "props/e.xml";
constexpr const char* kCustom = "props/u.xml";

std::string corePart(const std::string& properties) {
    return "<cp:coreProperties "
           "xmlns:cp=\"http://schemas.openxmlformats.org/package/2006/metadata/core-properties\" "
           "xmlns:dc=\"http://purl.org/dc/elements/1.1/\" "
           "xmlns:dcterms=\"http://purl.org/dc/terms/\" "
           "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">\r\n" +
           properties + "</cp:coreProperties>";
}

std::string propertiesPart(const std::string& kind, const std::string& properties) {
    return "<Properties xmlns=\"http://schemas.openxmlformats.org/officeDocument/2006/" + kind +
           "-properties\" "
           "xmlns:vt=\"http://schemas.openxmlformats.org/officeDocument/2006/docPropsVTypes\">" +
           properties + "</Properties>";
}

std::string property(const std::string& value, const std::string& attributes = {}) {
    return "<property fmtid=\"{D5CDD505-2E9C-101B-9397-08002B2CF9AE}\" pid=\"2\" name=\"a\"" +
           attributes + ">" + value + "</property>";
}

// Parts that are empty texts are left out.
WorkbookBuilder book(const std::string& core, const std::string& extended,
                     const std::string& custom, bool isStrict = false) {
    const std::string office = isStrict ? "http://purl.oclc.org/ooxml/officeDocument/relationships/"
                                        : "http://schemas.openxmlformats.org/officeDocument/2006/"
                                          "relationships/";
    std::string links;
    WorkbookBuilder book;
    book.sheet("");
    const auto add = [&](const char* name, const std::string& bytes, const std::string& type) {
        if (bytes.empty()) return;
        book.part(name, bytes);
        links += "<Relationship Id=\"" + std::string(name) + "\" Type=\"" + type + "\" Target=\"/" +
                 name + "\"/>";
    };
    add(kCore, core,
        "http://schemas.openxmlformats.org/package/2006/relationships/metadata/core-properties");
    add(kExtended, extended, office + (isStrict ? "extendedProperties" : "extended-properties"));
    add(kCustom, custom, office + (isStrict ? "customProperties" : "custom-properties"));
    const std::string first = "<Relationship Id=\"main\"";
    book.inAllParts(first, links + first);
    if (isStrict) book.strict();
    return book;
}

// --- built-in ------------------------------------------------------------------------------------

struct BuiltIn {
    int number;  // in the collection, from 1
    bool isCore;
    std::string element;
    std::string shown;
    std::string newText;
    std::string after;  // empty: refused
};

const std::string kW3c = " xsi:type=\"dcterms:W3CDTF\"";

const BuiltIn kBuiltIn[] = {
    {1, true, "<dc:title>a &amp; b</dc:title>", "a & b", "a < c", "<dc:title>a &lt; c</dc:title>"},
    {2, true, "<dc:subject/>", "", "x", "<dc:subject>x</dc:subject>"},
    {3, true, "<dc:creator>me</dc:creator>", "me", "", "<dc:creator></dc:creator>"},
    {4, true, "<cp:keywords xml:lang=\"en\">a<cp:value>b</cp:value></cp:keywords>", "ab", "cd",
     "<cp:keywords xml:lang=\"en\">cd</cp:keywords>"},
    {5, true, "<dc:description>one_x000d_\ntwo</dc:description>", "one\r\ntwo", "1\r\ntwo_x0041_",
     "<dc:description>1_x000D_\ntwo_x005F_x0041_</dc:description>"},
    {6, false, "<Template>t</Template>", "t", "u", "<Template>u</Template>"},
    {7, true, "<cp:lastModifiedBy>me</cp:lastModifiedBy>", "me", "you",
     "<cp:lastModifiedBy>you</cp:lastModifiedBy>"},
    {8, true, "<cp:revision>7</cp:revision>", "7", "8", ""},
    {9, false, "<Application>Program</Application>", "Program", "Other", ""},
    {10, true, "<cp:lastPrinted>2016-02-29T22:59:59Z</cp:lastPrinted>", "2/29/2016 11:59:59 PM",
     "3/1/2016", "<cp:lastPrinted>2016-02-29T23:00:00Z</cp:lastPrinted>"},
    {11, true, "<dcterms:created" + kW3c + ">2016-07-01T10:00:00+02:00</dcterms:created>",
     "7/1/2016 10:00:00 AM", "8/1/2017 10:00:00 AM",
     "<dcterms:created" + kW3c + ">2017-08-01T08:00:00Z</dcterms:created>"},
    {11, true, "<dcterms:created>2016-12-31T23:00:00Z</dcterms:created>", "1/1/2017", "someday",
     ""},
    {12, true, "<dcterms:modified>last week</dcterms:modified>", "last week", "1/2/2016",
     "<dcterms:modified>2016-01-01T23:00:00Z</dcterms:modified>"},
    {13, false, "<TotalTime>12</TotalTime>", "12", "13", ""},
    {15, false, "<Words>120</Words>", "120", "1", ""},
    {17, false, "<DocSecurity>0</DocSecurity>", "0", "1", ""},
    {18, true, "<cp:category>c</cp:category>", "c", "d", "<cp:category>d</cp:category>"},
    {20, false, "<Manager>m</Manager>", "m", "n", "<Manager>n</Manager>"},
    {21, false, "<Company><![CDATA[A & B]]></Company>", "A & B", "A & C",
     "<Company>A &amp; C</Company>"},
    {29, false, "<HyperlinkBase>c:\\</HyperlinkBase>", "c:\\", "d:\\",
     "<HyperlinkBase>d:\\</HyperlinkBase>"},
    {34, true, "<cp:version>1.0</cp:version>", "1.0", "2.0", "<cp:version>2.0</cp:version>"},
};

// Dates are shown in the machine's time.
class OoxmlProperties : public testing::Test {
protected:
    OoxmlProperties() : mZone("TZ", "CET-1CEST,M3.5.0,M10.5.0/3") { tzset(); }

    TempDir mDir;

private:
    ScopedEnvironment mZone;
};

TEST_F(OoxmlProperties, builtIn) {
    for (const BuiltIn& row : kBuiltIn) {
        for (const bool isStrict : {false, true}) {
            SCOPED_TRACE(row.element);
            const auto part = [&](const std::string& element) {
                const std::string around = "<x/>" + element + "\n<y>1</y>";
                return row.isCore ? corePart(around) : propertiesPart("extended", around);
            };
            const std::string path = book(row.isCore ? part(row.element) : "",
                                          row.isCore ? "" : part(row.element), "", isStrict)
                                         .write(mDir);
            const auto document = openDocument(path, {});
            const auto index = static_cast<std::size_t>(row.number - 1);
            EXPECT_EQ(document->propertyText(false, index), row.shown);
            document->setPropertyText(false, index, row.shown);
            EXPECT_FALSE(document->isChanged());
            const auto error =
                thrownBy([&] { document->setPropertyText(false, index, row.newText); });
            EXPECT_EQ(error.has_value(), row.after.empty());
            EXPECT_TRUE(!error || error->kind() == ErrorKind::Refused);
            EXPECT_EQ(document->propertyText(false, index), error ? row.shown : row.newText);
            document->save();
            EXPECT_EQ(memberText(path, row.isCore ? kCore : kExtended),
                      part(error ? row.element : row.after));
        }
    }
}

TEST_F(OoxmlProperties, withoutValues) {
    const std::string path = book("", "", "").write(mDir);
    const auto before = packedMembers(path);
    const auto document = openDocument(path, {});
    ASSERT_EQ(document->propertyCount(false), 34u);
    EXPECT_EQ(document->propertyCount(true), 0u);
    for (std::size_t i = 0; i < 34; ++i) {
        // Texts are empty; dates, numbers and what only the application sets are not there.
        std::string text;
        const auto error = thrownBy([&] { text = document->propertyText(false, i); });
        EXPECT_TRUE(!error || error->kind() == ErrorKind::NotFound);
        EXPECT_EQ(text, "");
        thrownBy([&] { document->setPropertyText(false, i, ""); });
    }
    EXPECT_EQ(numberOf([&] { document->propertyText(false, 9); }), 1004);
    EXPECT_EQ(numberOf([&] { document->setPropertyText(false, 0, "x"); }), 1004);
    EXPECT_FALSE(document->isChanged());
    document->save();
    EXPECT_EQ(packedMembers(path), before);
    EXPECT_EQ(thrownBy([&] {
                  openDocument(book("<a>", "", "").write(mDir), {})->propertyText(false, 0);
              })->kind(),
              ErrorKind::Damaged);
}

// --- custom --------------------------------------------------------------------------------------

struct Custom {
    std::string value;
    std::string shown;
    std::string newText;
    std::string after;  // empty: refused
};

const Custom kCustomValues[] = {
    {"<vt:lpwstr>a &amp; b</vt:lpwstr>", "a & b", "c", "<vt:lpwstr>c</vt:lpwstr>"},
    {"<vt:lpstr>a_x000d_b</vt:lpstr>", "a\rb", "a\rc", "<vt:lpstr>a_x000D_c</vt:lpstr>"},
    {"<vt:i4>2023</vt:i4>", "2023", "1993", "<vt:lpwstr>1993</vt:lpwstr>"},
    {"<vt:r8>3.1400000000000001</vt:r8>", "3.14", "2", "<vt:lpwstr>2</vt:lpwstr>"},
    {"<vt:bool>1</vt:bool>", "True", "Truth", "<vt:lpwstr>Truth</vt:lpwstr>"},
    {"<vt:bool>false</vt:bool>", "False", "x", "<vt:lpwstr>x</vt:lpwstr>"},
    {"<vt:filetime>1967-03-09T16:30:00Z</vt:filetime>", "3/9/1967 5:30:00 PM", "1968",
     "<vt:lpwstr>1968</vt:lpwstr>"},
    {"<vt:lpwstr/>", "", "x", "<vt:lpwstr>x</vt:lpwstr>"},
    {"<vt:lpwstr>short</vt:lpwstr>", "short", std::string(256, 'x'), ""},
    {"<vt:vector size=\"1\" baseType=\"lpstr\"><vt:lpstr>a</vt:lpstr></vt:vector>", "", "",
     "<vt:vector size=\"1\" baseType=\"lpstr\"><vt:lpstr>a</vt:lpstr></vt:vector>"},
};

TEST_F(OoxmlProperties, custom) {
    for (const Custom& row : kCustomValues) {
        SCOPED_TRACE(row.value);
        const std::string other = property("<vt:lpwstr>other</vt:lpwstr>");
        const auto part = [&](const std::string& value) {
            return propertiesPart("custom", other + property(value, " linkTarget=\"name\"") + "\n");
        };
        const std::string path = book("", "", part(row.value)).write(mDir);
        const auto document = openDocument(path, {});
        ASSERT_EQ(document->propertyCount(true), 2u);
        EXPECT_EQ(document->propertyText(true, 0), "other");
        EXPECT_EQ(document->propertyText(true, 1), row.shown);
        const auto error = thrownBy([&] { document->setPropertyText(true, 1, row.newText); });
        EXPECT_EQ(error.has_value(), row.after.empty());
        EXPECT_EQ(document->propertyText(true, 1), error ? row.shown : row.newText);
        document->save();
        EXPECT_EQ(memberText(path, kCustom), part(error ? row.value : row.after));
    }
}

TEST_F(OoxmlProperties, changeNothingElse) {
    const std::string path =
        book(corePart("<dc:title>a</dc:title>"), propertiesPart("extended", "<Company>b</Company>"),
             propertiesPart("custom", property("<vt:lpwstr>c</vt:lpwstr>")))
            .write(mDir);
    const auto before = packedMembers(path);
    const auto document = openDocument(path, {});
    document->setPropertyText(true, 0, "x");
    document->setPropertyText(false, 20, "y");
    document->setPropertyText(false, 20, "b");
    document->save();
    auto after = packedMembers(path);
    EXPECT_NE(after[kCustom], before.at(kCustom));
    after[kCustom] = before.at(kCustom);
    EXPECT_EQ(after, before);
}

}  // namespace
}  // namespace brindle::workbook
