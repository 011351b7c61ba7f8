// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "base/FileIo.h"
#include "engine/BackupPath.h"
#include "lang/modINI.h"
#include "support/ConnectorRun.h"
#include "support/FileStatus.h"

namespace brindle::test {
namespace {

using Names = std::vector<std::string>;

std::int16_t cellsFound(const Report& report) {
    return report.counts.at(0).CellCounter;
}

FakeBook& addCat(ConnectorRun& run, const std::string& name) {
    FakeSheet sheet;
    sheet.cells = {{{1, 1}, "cat"}};
    FakeBook& book = run.addBook(name);
    book.sheets = {sheet};
    return book;
}

class ExcelConnectorOneRun : public testing::Test {
protected:
    ConnectorRun run;
};

TEST(ExcelConnectorRun, numbersCountsAndReportsEachDocument) {
    for (const bool withSubfolders : {true, false}) {
        ConnectorRun run;
        for (const char* name : {"a.xls", "b.xls", "sub/c.xls", "sub/deep/d.xls", "z.xls"})
            addCat(run, name);
        run.dir.write("note.doc", "no workbook");
        run.addEntry("cat", "dog");
        run.app.CurrentProject.IncludeSubFolders = withSubfolders;
        run.go();
        Names wanted{"a.xls", "b.xls", "z.xls"};
        // Files before subfolders, parents before children.
        if (withSubfolders) wanted.insert(wanted.end(), {"c.xls", "d.xls"});
        EXPECT_EQ(run.reportedNames(), wanted);
        EXPECT_EQ(run.totalFiles, static_cast<std::int32_t>(wanted.size()));
        EXPECT_FALSE(run.flags.NoFilesToProcess);
        std::int32_t number = 0;
        for (const Report& report : run.reports) {
            EXPECT_EQ(report.number, ++number);
            EXPECT_EQ(report.status, 1);
            EXPECT_EQ(cellsFound(report), 1) << "counters start from zero for each document";
        }
        EXPECT_EQ(run.app.Items->Item(1)->counts.CellCounter, 0);
        EXPECT_EQ(run.log(), "");
    }
}

TEST_F(ExcelConnectorOneRun, runWithoutEntriesStillOpensSavesAndReports) {
    FakeBook& book = run.addBook("a.xls");
    run.addEntry("", "x");
    run.addEntry("cat", "x", 7);
    run.addEntry("cat", "x", -1);
    book.sheets[0].cells = {{{1, 1}, "cat"}};
    run.go();
    EXPECT_EQ(book.opened, 1);
    EXPECT_EQ(book.saved, 1);
    EXPECT_EQ(book.closed, 1);
    ASSERT_EQ(run.reports.size(), 1u);
    EXPECT_EQ(book.sheets[0].cells.at({1, 1}), "cat");
}

TEST(ExcelConnectorRun, startFolderThatIsMissingLeavesNothingToDo) {
    for (const bool named : {true, false}) {
        ConnectorRun run;
        run.app.CurrentProject.StartFolder = named ? run.dir.path("missing") : "";
        run.go();
        EXPECT_TRUE(run.flags.NoFilesToProcess);
        EXPECT_TRUE(run.reports.empty());
        EXPECT_EQ(run.linesOf("getFilesCount"), 1u) << run.log();
        EXPECT_EQ(run.linesOf("getFolders"), 1u);
        EXPECT_NE(run.log().find("Error 76 ("), std::string::npos);
    }
}

TEST(ExcelConnectorRun, stopLetsTheDocumentInWorkFinish) {
    for (const bool fromList : {false, true}) {
        ConnectorRun run;
        std::string list;
        for (const char* name : {"a.xls", "b.xls", "c.xls"}) {
            addCat(run, name);
            list += run.dir.path(name) + "\r\n";
        }
        run.addBook("sub/d.xls");
        run.addEntry("cat", "dog");
        run.app.CurrentProject.IncludeSubFolders = true;
        run.app.CurrentProject.IsScanFolder = !fromList;
        run.app.CurrentProject.GetFilenamesFromTextFile = run.dir.write("list.txt", list);
        run.files.beforeOpening = [&](const std::string&) {
            if (run.files.openedPaths.size() == 1) run.stop = true;
        };
        run.go();
        ASSERT_EQ(run.reports.size(), 2u);
        EXPECT_EQ(run.files.openedPaths.size(), 2u);
        EXPECT_EQ(run.files[run.reports[1].path].saved, 1);
    }
}

TEST_F(ExcelConnectorOneRun, applicationThatCannotBeStartedIsSaid) {
    run.home.write("Languages/English.lng", "[global msg]\r\n1015=No application\r\n");
    gLanguageFile = "English.lng";
    run.addBook("a.xls");
    const ExcelFactory factories[] = {
        [] { return nullptr; },
        []() -> std::unique_ptr<excel::Application> { throw std::runtime_error("no server"); }};
    for (const ExcelFactory& factory : factories) {
        run.host.messages.clear();
        ExcelConnector connector(run.host, run.flags, {}, factory);
        connector.StartReplace(run.app, *run.app.Items);
        ASSERT_EQ(run.host.messages.size(), 1u);
        EXPECT_EQ(run.host.messages[0].text, "No application");
        EXPECT_EQ(run.host.messages[0].icon, MessageIcon::None);
        EXPECT_EQ(connector.TotalFiles, 0);
        EXPECT_EQ(run.log(), "");
    }
}

TEST_F(ExcelConnectorOneRun, listIsProcessedInItsOrderWithRepetitions) {
    addCat(run, "a.xls");
    addCat(run, "b.csv");
    run.dir.write("empty.xls", "");
    std::filesystem::create_directory(run.dir.path("folder.xls"));
    run.app.CurrentProject.IsScanFolder = false;
    std::string list;
    for (const char* name :
         {"b.csv", "a.xls", "empty.xls", "gone.xls", "x.doc", "folder.xls", "a.xls"})
        list += run.dir.path(name) + "\r\n";
    run.app.CurrentProject.GetFilenamesFromTextFile = run.dir.write("list.txt", list);
    run.addEntry("cat", "dog");
    run.go();
    EXPECT_EQ(run.reportedNames(), (Names{"b.csv", "a.xls", "a.xls"}));
    EXPECT_EQ(run.totalFiles, 3);
    EXPECT_EQ(run.reports.back().number, 3);
    EXPECT_EQ(cellsFound(run.reports[1]), 1);
    EXPECT_EQ(cellsFound(run.reports[2]), 0) << "the first time replaced it";
    EXPECT_EQ(run.log(), "");
}

TEST(ExcelConnectorRun, listWithoutADocumentIsSaid) {
    const struct {
        const char* content;
        bool noFiles;
        std::size_t messages;
    } rows[] = {{"", true, 0}, {"a.doc\r\n", true, 0}, {"/gone/a.xls\r\n", false, 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.content);
        ConnectorRun run;
        run.home.write("Languages/English.lng", "[global msg]\r\n1024=No document\r\n");
        gLanguageFile = "English.lng";
        run.app.CurrentProject.IsScanFolder = false;
        run.app.CurrentProject.GetFilenamesFromTextFile = run.dir.write("list.txt", row.content);
        run.go();
        EXPECT_EQ(run.flags.NoFilesToProcess, row.noFiles);
        ASSERT_EQ(run.host.messages.size(), row.messages);
        for (const FakeHost::Message& message : run.host.messages) {
            EXPECT_EQ(message.text, "No document");
            EXPECT_EQ(message.icon, MessageIcon::Exclamation);
        }
        EXPECT_TRUE(run.reports.empty());
    }
}

TEST_F(ExcelConnectorOneRun, failedDocumentIsReportedOnceAndTheRunGoesOn) {
    run.addBook("a.xls").password = "secret";
    run.dir.write("b.xls", "not a workbook");
    FakeBook& unsavable = addCat(run, "c.xls");
    unsavable.saveError = Error(ErrorKind::System, error_number::kDiskFull, "Disk full");
    run.addBook("d.xls").sheets.clear();
    addCat(run, "e.xls");
    run.dir.write("f.xls", "");
    run.addEntry("cat", "dog");
    run.go();
    ASSERT_EQ(run.reports.size(), 6u);
    EXPECT_EQ(run.files.openedPaths.size(), 5u) << "an empty file holds nothing and is no fault";
    std::map<std::string, int> errors;
    for (const Report& report : run.reports) {
        errors[report.path.substr(report.path.size() - 5)] = report.errorNumber;
        EXPECT_EQ(report.failed, report.errorNumber != 0);
    }
    EXPECT_EQ(errors, (std::map<std::string, int>{{"a.xls", 1004},
                                                  {"b.xls", 1004},
                                                  {"c.xls", 61},
                                                  {"d.xls", 9},
                                                  {"e.xls", 0},
                                                  {"f.xls", 0}}));
    EXPECT_EQ(run.linesOf("ReplaceFile"), 4u) << run.log();
    EXPECT_EQ(unsavable.sheets[0].cells.at({1, 1}), "cat");
    EXPECT_EQ(unsavable.closed, 1);
    EXPECT_EQ(run.files[run.dir.path("e.xls")].sheets[0].cells.at({1, 1}), "dog");
}

TEST(ExcelConnectorRun, passwordsAndOptionsReachTheDocument) {
    for (const char* password : {"", "secret"}) {
        ConnectorRun run;
        FakeBook& book = run.addBook("a.xls");
        book.password = password;
        run.app.CurrentProject.Password = password;
        run.options.allowInPlace = true;
        run.options.ansiCodePage = "windows-1250";
        run.go();
        EXPECT_FALSE(run.reports.at(0).failed);
        EXPECT_EQ(book.openedWith.password, password);
        EXPECT_EQ(book.openedWith.writeResPassword, *password ? password : "kqv");
        EXPECT_TRUE(book.openedWith.allowInPlace);
        EXPECT_EQ(book.openedWith.ansiCodePage, "windows-1250");
        EXPECT_GT(book.openedWith.currentYear, 2020);
    }
}

TEST(ExcelConnectorRun, readOnlyFailsOnlyARunThatReplaces) {
    using workbook::ReadOnlyReason;
    for (const auto reason : {ReadOnlyReason::Permission, ReadOnlyReason::FileSystem,
                              ReadOnlyReason::InUse, ReadOnlyReason::WriteReserved}) {
        for (const bool searchOnly : {false, true}) {
            ConnectorRun run;
            FakeBook& book = addCat(run, "a.xls");
            book.readOnly = reason;
            run.addEntry("cat", "dog");
            run.flags.isSearchOnly = searchOnly;
            run.go();
            const Report& report = run.reports.at(0);
            EXPECT_EQ(report.failed, !searchOnly);
            EXPECT_EQ(report.errorNumber, searchOnly ? 0 : 70);
            EXPECT_EQ(cellsFound(report), searchOnly ? 1 : 0);
            EXPECT_EQ(book.saved, 0);
            EXPECT_EQ(book.closed, 1);
            EXPECT_EQ(run.log(), "") << "a read-only document is no fault";
        }
    }
}

TEST(ExcelConnectorRun, backupIsMadeBeforeTheDocumentIsOpened) {
    const struct {
        const char* document;
        const char* backup;
    } rows[] = {{"book.xls", "book.bak"},
                {"book.xl", "boo.bak"},
                {"a.xls/book.xls", "a.xls/book.bak"},
                {"b\xC3\xBC.xl", "b.bak"},
                {"book.xlsx", "book..bak"}};
    for (const auto& row : rows) {
        ConnectorRun run;
        run.addBook(row.document);
        run.dir.write(row.backup, "older backup");
        run.app.CurrentProject.SpreadsheetTypeToExamine = "*.xls;*.xl;*.xlsx;";
        run.app.CurrentProject.IncludeSubFolders = true;
        run.app.CurrentProject.BackupMode = true;
        std::string atOpening;
        run.files.beforeOpening = [&](const std::string&) { atOpening = run.dir.read(row.backup); };
        run.go();
        EXPECT_EQ(atOpening, "workbook") << row.document;
    }
}

TEST(ExcelConnectorRun, backupNeedsFourCharactersOfTheName) {
    EXPECT_EQ(backupPath("/folder/a.x"), "");
    EXPECT_EQ(backupPath("a.x"), "");
    EXPECT_EQ(backupPath("/folder/.xls"), "/folder/.bak");
    EXPECT_EQ(backupPath("/folder/a.bak"), "");
}

TEST_F(ExcelConnectorOneRun, backupThatCannotBeMadeIsPassedOver) {
    FakeBook& book = run.addBook("book.xls");
    std::filesystem::create_directory(run.dir.path("book.bak"));
    run.app.CurrentProject.BackupMode = true;
    run.go();
    EXPECT_FALSE(run.reports.at(0).failed);
    EXPECT_EQ(book.saved, 1);
    EXPECT_EQ(run.log(), "");
}

TEST(ExcelConnectorRun, originalTimesComeBackWhenAsked) {
    for (const bool keep : {false, true}) {
        for (const bool searchOnly : {false, true}) {
            ConnectorRun run;
            run.addBook("a.xls");
            const std::string path = run.dir.path("a.xls");
            setTimes(path, {1000000000, 123456789}, {1000000001, 123456789});
            // Stands for the program's own reading and writing of the file.
            run.files.beforeOpening = [](const std::string& opened) {
                setTimes(opened, {1700000000, 0}, {1700000001, 0});
            };
            run.app.CurrentProject.KeepTheOriginalFileDate = keep;
            run.app.CurrentProject.BackupMode = true;  // for which the document is read
            run.flags.isSearchOnly = searchOnly;
            run.go();
            const struct stat status = statusOf(path);
            EXPECT_EQ(status.st_atim.tv_sec, keep ? 1000000000 : 1700000000);
            EXPECT_EQ(status.st_mtim.tv_sec, keep ? 1000000001 : 1700000001);
            EXPECT_EQ(status.st_mtim.tv_nsec, keep ? 123456789 : 0);
        }
    }
}

// A crashed run leaves its half-written files behind; a search touches nothing, not even those.
TEST(ExcelConnectorRun, leftoversOfDeadRunsGoBeforeTheFolderIsTouched) {
    for (const bool searchOnly : {false, true}) {
        ConnectorRun run;
        run.addBook("sub/a.xls");
        const std::string leftover = "sub/.tarvello-2147483646-1-1.tmp";
        run.dir.write(leftover, "half");
        run.app.CurrentProject.IncludeSubFolders = true;
        run.flags.isSearchOnly = searchOnly;
        bool isThereAtOpening = false;
        run.files.beforeOpening = [&](const std::string&) {
            isThereAtOpening = run.dir.has(leftover);
        };
        run.go();
        EXPECT_EQ(run.reports.size(), 1u);
        EXPECT_EQ(isThereAtOpening, searchOnly);
    }
}

TEST_F(ExcelConnectorOneRun, failureOfTheListenerDoesNotEndTheRun) {
    run.addBook("a.xls");
    run.addBook("b.xls");
    run.onReport = [](const Report&) { throw std::runtime_error("listener"); };
    run.go();
    EXPECT_EQ(run.reports.size(), 2u);
    EXPECT_EQ(run.linesOf("AddChangedFilePath"), 2u);
}

TEST_F(ExcelConnectorOneRun, projectLoadedMeanwhileDoesNotEndTheEntries) {
    addCat(run, "a.xls");
    addCat(run, "b.xls");
    run.addEntry("cat", "dog");
    run.onReport = [&](const Report&) { run.app.Items = std::make_shared<Entries>(); };
    run.go();
    ASSERT_EQ(run.reports.size(), 2u);
    EXPECT_EQ(cellsFound(run.reports[1]), 1);
}

TEST_F(ExcelConnectorOneRun, takesDocumentsFromAnySource) {
    addCat(run, "a.xls");
    addCat(run, "b.weird");
    run.addEntry("cat", "dog");
    class Countdown : public DocumentSource {
    public:
        std::optional<std::string> next() override {
            if (left.empty()) return std::nullopt;
            const std::string path = left.back();
            left.pop_back();
            return path;
        }
        Names left;
    } source;
    source.left = {run.dir.path("a.xls"), run.dir.path("gone.xls"), run.dir.path("b.weird")};
    run.go(&source);
    ASSERT_EQ(run.reports.size(), 3u);
    EXPECT_EQ(run.reports[2].number, 3);
    EXPECT_EQ(cellsFound(run.reports[2]), 1);
    EXPECT_TRUE(run.reports[1].failed);
    EXPECT_FALSE(run.flags.NoFilesToProcess);
    run.go(&source);  // which has no more
    EXPECT_TRUE(run.flags.NoFilesToProcess);
}

}  // namespace
}  // namespace brindle::test
