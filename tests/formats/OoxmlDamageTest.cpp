// SPDX-License-Identifier: MIT
// Damaged and foreign files, and the two sheet readers against each other on real ones.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <random>

#include "base/Error.h"
#include "support/CellRuns.h"
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
using test::part;
using test::replaceAll;
using test::TempDir;
using test::WorkbookBuilder;

WorkbookBuilder fullBook() {
    WorkbookBuilder book;
    book.sheet(
            "<row r=\"1\"><c r=\"A1\" t=\"s\"><v>0</v></c><c r=\"B1\" s=\"2\"><v>41234.5</v></c>"
            "<c r=\"C1\" t=\"inlineStr\"><is><r><rPr><b/></rPr><t>in</t></r><r><t>line</t></r></is>"
            "</c></row><row r=\"2\"><c r=\"A2\"><f t=\"shared\" ref=\"A2:B2\" si=\"0\">SUM(B1)</f>"
            "<v>1</v></c><c r=\"B2\"><f t=\"shared\" si=\"0\"/><v>1</v></c>"
            "<c r=\"C2\" t=\"str\"><v>Column &amp;</v></c></row>",
            "<sheetProtection sheet=\"0\"/>")
        .table("C2:C3", {"Column &amp;"})
        .strings("<si><t>a text</t></si>", "count=\"1\" uniqueCount=\"1\"")
        .calcChain("<c r=\"A2\" i=\"1\"/><c r=\"B2\"/>");
    return book;
}

// A run over the file: it ends with an Error, and then the file is as it was, or is carried out.
// Anything else ends the test.
bool survives(const std::string& path) {
    const std::string before = readWholeFile(path);
    const auto error = test::thrownBy([&] {
        const auto document = openDocument(path, {});
        for (std::size_t i = 0; i < document->worksheetCount(); ++i) {
            document->worksheet(i).usedRange();
        }
        // Refused cells do not keep the others from being saved.
        for (const char* what : {"e", "1", "u"}) {
            test::thrownBy([&] { replaceAll(*document, part(what), "7"); });
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

TEST(OoxmlDamage, SurvivesCutArchives) {
    TempDir dir;
    fullBook().write(dir);
    const std::string whole = dir.read("book.xlsx");
    std::mt19937 random(20240607);
    for (int i = 0; i < 150; ++i) {
        const std::size_t length = random() % whole.size();
        const std::string path = dir.write("cut.xlsx", whole.substr(0, length));
        EXPECT_FALSE(survives(path)) << length;
    }
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

TEST(OoxmlDamage, SaysWhatIsWrong) {
    const std::string sheet = "xl/worksheets/sheet1.xml";
    const std::string sheetText = fullBook().parts().at(sheet);
    const auto changed = [&](const std::string& text, const std::string& with) {
        std::string damaged = sheetText;
        return damaged.replace(damaged.find(text), text.size(), with);
    };
    const struct {
        const char* name;
        WorkbookBuilder book;
        ErrorKind kind;
        std::string member;
    } rows[] = {
        {"document type",
         fullBook().part(sheet, changed("<worksheet", "<!DOCTYPE worksheet []><worksheet")),
         ErrorKind::Unsupported, sheet},
        {"invalid UTF-8", fullBook().part(sheet, changed("line", "\xC3\x28")), ErrorKind::Damaged,
         sheet},
        {"unbalanced", fullBook().part(sheet, changed("</row>", "</rom>")), ErrorKind::Damaged,
         sheet},
        {"bad reference", fullBook().part(sheet, changed("&amp;", "&nbsp;")), ErrorKind::Damaged,
         sheet},
        {"row out of range", fullBook().part(sheet, changed("r=\"2\"", "r=\"1048577\"")),
         ErrorKind::Damaged, sheet},
        {"cell out of range", fullBook().part(sheet, changed("r=\"C2\"", "r=\"XFE2\"")),
         ErrorKind::Damaged, sheet},
        {"no sheet", fullBook().withoutPart(sheet), ErrorKind::Damaged, sheet},
        {"no strings", fullBook().part("xl/sharedStrings.xml", "<sst>"), ErrorKind::Damaged,
         "xl/sharedStrings.xml"},
        {"damaged styles", fullBook().part("xl/styles.xml", "<styleSheet"), ErrorKind::Damaged,
         "xl/styles.xml"},
        {"no workbook", fullBook().withoutPart("xl/workbook.xml"), ErrorKind::Unsupported, ""},
        {"another document", fullBook().part("xl/workbook.xml", "<document/>"),
         ErrorKind::Unsupported, "xl/workbook.xml"},
        {"binary workbook",
         fullBook()
             .inAllParts("xl/workbook.xml", "xl/workbook.bin")
             .part("xl/workbook.bin", "\x83\x01"),
         ErrorKind::Unsupported, ""},
        {"no relationships", fullBook().withoutPart("_rels/.rels"), ErrorKind::Unsupported, ""},
    };
    const std::vector<CellMatch> patterns = {part("&"), part("4")};
    OpenOptions options;
    options.expectedPatterns = &patterns;
    TempDir dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string path = row.book.write(dir);
        const auto error = test::thrownBy([&] { openDocument(path, options); });
        ASSERT_TRUE(error.has_value());
        EXPECT_EQ(error->kind(), row.kind) << error->what();
        EXPECT_EQ(error->place().member, row.member) << error->what();
        EXPECT_EQ(error->place().file, path);
    }
}

TEST(OoxmlDamage, SeesAWrongChecksum) {
    TempDir dir;
    fullBook().write(dir);
    std::string bytes = dir.read("book.xlsx");
    const std::size_t record = bytes.find("PK\x01\x02");
    ASSERT_NE(record, std::string::npos);
    for (std::size_t at = record; at != std::string::npos; at = bytes.find("PK\x01\x02", at + 4)) {
        const std::size_t local = static_cast<unsigned char>(bytes[at + 42]) +
                                  256u * static_cast<unsigned char>(bytes[at + 43]);
        const std::string_view name(bytes.data() + at + 46,
                                    static_cast<unsigned char>(bytes[at + 28]));
        if (name != "xl/worksheets/sheet1.xml") continue;
        bytes[at + 16] ^= 1;     // in the directory
        bytes[local + 14] ^= 1;  // and in front of the member
    }
    const std::string path = dir.write("crc.xlsx", bytes);
    const auto document = openDocument(path, {});
    const auto error = test::thrownBy([&] { document->worksheet(0).findCell(part("a"), {1, 1}); });
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->kind(), ErrorKind::Damaged);
    EXPECT_EQ(error->place().member, "xl/worksheets/sheet1.xml");
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
        const auto error = test::thrownBy([&] { openDocument(dir.write("b.xlsx", content), {}); });
        ASSERT_TRUE(error.has_value());
        EXPECT_EQ(error->kind(), ErrorKind::Unsupported);
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
            test::thrownBy([&] { compareReaders(entry.path().string(), streamed, others); });
        }
    }
    std::printf("%d parts by both readers, %d by the general one alone\n", streamed, others);
    EXPECT_GT(streamed, others);
}

TEST(OoxmlCorpus, SurvivesRealFiles) {
    const char* corpus = std::getenv("BRINDLE_CORPUS");
    if (!corpus) GTEST_SKIP() << "BRINDLE_CORPUS names no folder of real workbooks";
    TempDir dir;
    int carriedOut = 0;
    int refused = 0;
    for (const char* kind :
         {"xlsx", "xlsm", "xltx", "xltm", "corrupt", "misnamed", "xlsb", "ods"}) {
        const auto folder = std::filesystem::path(corpus) / kind;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
            if (!entry.is_regular_file() || entry.file_size() > 3'000'000) continue;
            const std::string path = dir.path("real.xlsx");
            std::filesystem::copy_file(entry.path(), path,
                                       std::filesystem::copy_options::overwrite_existing);
            std::filesystem::permissions(path, std::filesystem::perms::owner_all);
            SCOPED_TRACE(entry.path().string());
            const bool isOurs = survives(path);
            ++(isOurs ? carriedOut : refused);
            if (kind == "xlsb"s || kind == "ods"s) {
                const auto error = test::thrownBy([&] { openDocument(path, {}); });
                EXPECT_TRUE(error && error->kind() == ErrorKind::Unsupported);
            }
        }
    }
    std::printf("%d files changed, %d ended in an error\n", carriedOut, refused);
    EXPECT_GT(carriedOut, refused);
}

}  // namespace

}  // namespace brindle::workbook
