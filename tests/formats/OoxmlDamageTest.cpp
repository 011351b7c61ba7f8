// SPDX-License-Identifier: MIT
// Damaged and foreign files, and the two sheet readers against each other on real ones.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <random>

#include "base/Error.h"
#include "base/Text.h"
#include "support/CellRuns.h"
#include "support/Noise.h"
#include "support/TempDir.h"
#include "support/Thrown.h"
#include "support/WorkbookBuilder.h"
#include "workbook/FormatTable.h"
#include "workbook/ooxml/Package.h"
#include "workbook/ooxml/SheetScanner.h"
#include "workbook/ooxml/SheetStream.h"

namespace brindle::workbook {
namespace {

using namespace std::string_literals;
using namespace test;

WorkbookBuilder fullBook() {
    WorkbookBuilder book;
    book.sheet(R"(<row r="1"><c r="A1" t="s"><v>0</v></c><c r="B1" s="2"><v>41234.5</v></c>)"
               R"(<c r="C1" t="inlineStr"><is><r><rPr><b/></rPr><t>in</t></r><r><t>line</t></r>)"
               R"(</is></c></row><row r="2"><c r="A2"><f t="shared" ref="A2:B2" si="0">)"
               R"(SUM(B1)</f><v>1</v></c><c r="B2"><f t="shared" si="0"/><v>1</v></c>)"
               R"(<c r="C2" t="str"><v>Column &amp;</v></c></row>)",
               R"(<sheetProtection sheet="0"/><hyperlinks><hyperlink ref="A1" r:id="h"/>)"
               R"(<hyperlink ref="A2" r:id="h" location="B2"/></hyperlinks><headerFooter>)"
               R"(<oddHeader>&amp;Lleft &amp;&amp;&amp;Rright</oddHeader></headerFooter>)")
        .table("C2:C3", {"Column &amp;"})
        .strings("<si><t>a text</t></si>", R"(count="1" uniqueCount="1")")
        .calcChain(R"(<c r="A2" i="1"/><c r="B2"/>)");
    const char* const name = "xl/worksheets/_rels/sheet1.xml.rels";
    const std::string relationship =
        R"(<Relationship Id="h" Type="http://schemas.openxmlformats.org/officeDocument/2006/)"
        R"(relationships/hyperlink" Target="../the%20same.xlsx" TargetMode="External"/>)";
    std::string relationships = book.parts().at(name);
    return book.part(name, relationships.insert(relationships.find("</"), relationship));
}

void replaceInTexts(Worksheet& sheet, const char* what) {
    const auto replaced = [&](const std::string& text) {
        return text::replaceAll(text, what, "7", CaseMode::Exact);
    };
    for (std::size_t i = 0; i < sheet.hyperlinkCount(); ++i) {
        sheet.setHyperlinkAddress(i, replaced(sheet.hyperlinkAddress(i)));
    }
    for (int i = 0; i < 6; ++i) {
        const auto section = static_cast<PageSection>(i);
        sheet.setPageSection(PageKind::Odd, section,
                             replaced(sheet.pageSection(PageKind::Odd, section)));
    }
}

// A run over the file: it ends with an Error, and then the file is as it was, or is carried out.
// Anything else ends the test.
bool survives(const std::string& path) {
    const std::string before = readWholeFile(path);
    const auto error = thrownBy([&] {
        const auto document = openDocument(path, {});
        for (std::size_t i = 0; i < document->worksheetCount(); ++i) {
            document->worksheet(i).usedRange();
        }
        // Refused cells do not keep the others from being saved.
        for (const char* what : {"e", "1", "u"}) {
            thrownBy([&] { replaceAll(*document, part(what), "7"); });
            for (std::size_t i = 0; i < document->worksheetCount(); ++i) {
                thrownBy([&] { replaceInTexts(document->worksheet(i), what); });
            }
        }
        document->save();
    });
    if (error) {
        EXPECT_TRUE(readWholeFile(path) == before) << error->what();
    } else {
        EXPECT_NO_THROW(openDocument(path, {}));
    }
    return !error;
}

TEST(OoxmlDamage, SurvivesChangedBytes) {
    TempDir dir;
    fullBook().write(dir);
    const std::string whole = dir.read("book.xlsx");
    std::mt19937 random(1234);
    for (int i = 0; i < 300; ++i) {
        std::string bytes = whole;
        for (unsigned flips = random() % 4 + 1; flips > 0; --flips) {
            bytes[random() % bytes.size()] ^= static_cast<char>(1u << (random() % 8));
        }
        survives(dir.write("changed.xlsx", bytes));
    }
}

TEST(OoxmlDamage, SurvivesDamagedParts) {
    TempDir dir;
    std::mt19937 random(99);
    int opened = 0;
    for (const auto& [name, text] : fullBook().parts()) {
        SCOPED_TRACE(name);
        for (int i = 0; i < 40; ++i) {
            std::string damaged = text;
            const std::size_t at = random() % text.size();
            if (i % 2 == 0) {
                damaged.resize(at);
            } else {
                damaged.erase(at, random() % 12 + 1);
            }
            opened += survives(fullBook().part(name, damaged).write(dir)) ? 1 : 0;
        }
        survives(fullBook().withoutPart(name).write(dir));
    }
    EXPECT_GT(opened, 0);
}

// Neither what an earlier pass found nor half of this one is taken for its result.
TEST(OoxmlDamage, FailsAgainUntilAPassSucceeds) {
    const TempDir dir;
    WorkbookBuilder book;
    book.row(R"(<c r="A1" t="str"><v>red</v></c><c r="B1" t="str"><v>green</v></c>)");
    book.part("xl/media/image.png", noise(2 << 20));  // small files stand in memory
    const std::string path = book.write(dir);
    const std::string whole = dir.read("book.xlsx");
    const auto document = openDocument(path, {});
    Worksheet& sheet = document->worksheet(0);
    sheet.replaceInCell(cell("A1"), part("red"), "blue");
    dir.write("book.xlsx", "");
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(thrownBy([&] { sheet.findCell(part("e"), {}); }).has_value());
    }
    dir.write("book.xlsx", whole);
    EXPECT_EQ(found(sheet, part("e")), (std::vector{cell("B1"), cell("A1")}));
}

TEST(OoxmlDamage, SaysWhatIsWrong) {
    const auto withSheet = [&](const std::string& text, const std::string& with) {
        std::string sheet = fullBook().parts().at(kSheet);
        return fullBook().part(kSheet, sheet.replace(sheet.find(text), text.size(), with));
    };
    const std::string kMain = "xl/workbook.xml";
    const auto damaged = ErrorKind::Damaged;
    const auto unsupported = ErrorKind::Unsupported;
    const struct {
        const char* name;
        WorkbookBuilder book;
        ErrorKind kind;
        std::string member;
        // clang-format off
    } rows[] = {
        {"document type", withSheet("<worksheet", "<!DOCTYPE worksheet []><worksheet"), unsupported,
         kSheet},
        {"invalid UTF-8", withSheet("line", "\xC3\x28"), damaged, kSheet},
        {"unbalanced", withSheet("</row>", "</rom>"), damaged, kSheet},
        {"bad reference", withSheet("&amp;", "&nbsp;"), damaged, kSheet},
        {"row zero", withSheet("r=\"2\"", "r=\"0\""), damaged, kSheet},
        {"row out of range", withSheet("r=\"2\"", "r=\"1048577\""), damaged, kSheet},
        {"cell out of range", withSheet("r=\"C2\"", "r=\"XFE2\""), damaged, kSheet},
        {"a cell twice", withSheet("r=\"B2\"", "r=\"A2\""), damaged, kSheet},
        {"a cell twice, apart", withSheet("r=\"B2\"", "r=\"C1\""), damaged, kSheet},
        {"no sheet", fullBook().withoutPart(kSheet), damaged, kSheet},
        {"no strings", fullBook().part(kStringsPart, "<sst>"), damaged, kStringsPart},
        {"one part for two sheets", fullBook().sheet("").inAllParts(
         "worksheets/sheet2.xml\"/>", "worksheets/sheet1.xml\"/>"), damaged, kMain},
        {"bad styles", fullBook().part("xl/styles.xml", "<styleSheet"), damaged, "xl/styles.xml"},
        {"no workbook", fullBook().withoutPart(kMain), unsupported, ""},
        {"another document", fullBook().part(kMain, "<document/>"), unsupported, kMain},
        {"binary workbook", fullBook().inAllParts(kMain, "xl/workbook.bin")
         .part("xl/workbook.bin", "\x83\x01"), unsupported, ""},
        {"no relationships", fullBook().withoutPart("_rels/.rels"), unsupported, ""},
    };
    // clang-format on
    const std::vector<CellMatch> patterns = {part("&"), part("4")};
    OpenOptions options;
    options.expectedPatterns = &patterns;
    TempDir dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string path = row.book.write(dir);
        const auto error = thrownBy([&] { openDocument(path, options); });
        ASSERT_TRUE(error.has_value());
        EXPECT_EQ(error->kind(), row.kind) << error->what();
        EXPECT_EQ(error->place().member, row.member) << error->what();
        EXPECT_EQ(error->place().file, path);
    }
}

// --- probing -------------------------------------------------------------------------------------

TEST(OoxmlProbe, GoesByContent) {
    TempDir dir;
    for (const char* name : {"a.xlsx", "a.xls", "a.csv", "a.dat", "a"}) {
        SCOPED_TRACE(name);
        const auto document = openDocument(fullBook().write(dir, name), {});
        EXPECT_EQ(document->worksheet(0).name(), "Sheet1");
    }
    for (const char* content : {"", "a,b", "PK\x07\x08", "<Workbook/>"}) {
        SCOPED_TRACE(content);
        EXPECT_EQ(kindOf([&] { openDocument(dir.write("b.xlsx", content), {}); }),
                  ErrorKind::Unsupported);
    }
}

// --- real files ----------------------------------------------------------------------------------

// All cells as lines, to be compared.
class CellLines final : public ooxml::CellSink {
public:
    void cell(const ooxml::ScannedCell& cell) override {
        mLines += cellName(cell.position) + " " + std::to_string(cell.style) + " " +
                  std::to_string(static_cast<int>(cell.type)) + (cell.hasFormula ? " f" : "") +
                  (cell.hasInlineItem ? " i " : " ") + std::to_string(cell.begin) + "-" +
                  std::to_string(cell.end);
        for (const std::string_view piece :
             {cell.value, cell.formula, cell.formulaAttributes,
              cell.hasInlineItem ? cell.inlineItem : std::string_view()}) {
            mLines += '|';
            mLines += piece;
        }
        mLines += '\n';
    }
    const std::string& lines() const { return mLines; }

private:
    std::string mLines;
};

// Worksheet parts of one file that both readers told; adds to `streamed` and `others`.
void compareReaders(const std::string& path, int& streamed, int& others) {
    const InputFile file(path);
    const package::ZipArchive archive(file);
    for (std::size_t i = 0; i < archive.members().size(); ++i) {
        const std::string name = package::normalisedMemberName(archive.members()[i].name);
        if (!name.starts_with("xl/worksheets/") || !name.ends_with(".xml")) continue;
        const ooxml::PartText text(archive.read(i));
        CellLines general;
        const ooxml::SheetFrame frame = ooxml::scanSheetText(text.view(), general);
        CellLines fast;
        package::PartWindow window(archive, i);
        const auto fastFrame = ooxml::streamSheet(window, fast);
        if (!fastFrame) {
            ++others;
            continue;
        }
        ++streamed;
        EXPECT_TRUE(fast.lines() == general.lines()) << path << " " << name;
        EXPECT_TRUE(fastFrame->text == frame.text) << path << " " << name;
        const ooxml::SheetFrame alone = ooxml::readSheetFrame(archive, i);
        EXPECT_TRUE(alone.text == frame.text && alone.cut == frame.cut) << path << " " << name;
    }
}

TEST(OoxmlCorpus, BothReadersTellTheSameCells) {
    const char* corpus = std::getenv("BRINDLE_CORPUS");
    if (!corpus) GTEST_SKIP() << "BRINDLE_CORPUS names no folder of real workbooks";
    int streamed = 0;
    int others = 0;
    for (const char* kind : {"xlsx", "xlsm", "xltx", "xltm"}) {
        const auto folder = std::filesystem::path(corpus) / kind;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
            if (!entry.is_regular_file()) continue;
            // What cannot be read at all is another test's business.
            thrownBy([&] { compareReaders(entry.path().string(), streamed, others); });
        }
    }
    std::printf("%d parts by both readers, %d by the general one alone\n", streamed, others);
    EXPECT_GT(streamed, others);
}

}  // namespace
}  // namespace brindle::workbook
