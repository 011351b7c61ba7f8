// SPDX-License-Identifier: MIT
#include "shell/ErrorLog.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <time.h>

#include <filesystem>
#include <new>
#include <system_error>
#include <thread>

#include "base/CodePages.h"
#include "ScopedEnvironment.h"
#include "TempDir.h"

namespace brindle {
namespace {

Error errorAt(const std::string& description, int number = 53) {
    return Error(ErrorKind::NotFound, number, description, SourceLocation{});
}

TEST(ErrorMessage, IsOneLineWhateverItSays) {
    EXPECT_EQ(errorMessage({"Save", ModuleKind::Form, "frmMain"}, errorAt("a\r\nb\nc\td\re")),
              "Error 53 (a b c d e) in procedure Save at Line No. 0 of Form frmMain at time");
}

TEST(ErrorMessage, EndsAsItsRoutineHasIt) {
    const auto kForm = ModuleKind::Form;
    const struct {
        Routine routine;
        const char* module;
        bool tellsTheTime;
    } rows[] = {
        {{"LoadProject", kForm, "frmMain"}, "Form frmMain", true},
        {{"menuSave_Click", kForm, "frmMain"}, "Form frmMain", false},
        {{"ReplaceFile", ModuleKind::Class, "ExcelConnector"}, "Class Module ExcelConnector", true},
        {{"closeObjects", ModuleKind::Class, "ExcelConnector"},
         "Class Module ExcelConnector",
         false},
        {{"GetLngString", ModuleKind::Module, "modINI"}, "Module modINI", true},
        {{"Main", ModuleKind::Module, "modBrindle"}, "Module modBrindle", false},
        // The same name in another module has its own rule.
        {{"Form_Load", kForm, "frmChangeLanguage"}, "Form frmChangeLanguage", false},
        {{"Form_Load", kForm, "frmMain"}, "Form frmMain", true},
        {{"Form_Resize", kForm, "frmProcessingDocuments"}, "Form frmProcessingDocuments", false},
        {{"cmdOK_Click", kForm, "frmChangeLanguage"}, "Form frmChangeLanguage", false},
        {{"cmdOK_Click", kForm, "frmProcessingDocuments"}, "Form frmProcessingDocuments", true},
        {{"cmdBrowse3_Click", kForm, "frmMain"}, "Form frmMain", false},
        {{"cmdBrowse2_Click", kForm, "frmMain"}, "Form frmMain", true},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(errorMessage(row.routine, errorAt("File not found")),
                  "Error 53 (File not found) in procedure " + std::string(row.routine.procedure) +
                      " at Line No. 0 of " + row.module + (row.tellsTheTime ? " at time" : ""));
    }
}

class ErrorLog : public testing::Test {
protected:
    std::string log() const { return mDir.read("Errors.Log"); }

    test::TempDir mDir;
    test::ScopedEnvironment mHome{"BRINDLE_HOME", mDir.path()};
    test::ScopedEnvironment mLocale{"LC_ALL", "C.UTF-8"};
};

time_t dateAtEndOf(const std::string& line) {
    struct tm parts {};
    const std::string date = line.substr(line.rfind("- ") + 2);
    const char* end = strptime(date.c_str(), "%d/%m/%Y %H:%M:%S", &parts);
    EXPECT_TRUE(end != nullptr && std::string(end) == "\r\n") << date;
    EXPECT_EQ(date.size(), std::string("dd/mm/yyyy hh:mm:ss\r\n").size());
    parts.tm_isdst = -1;
    return mktime(&parts);
}

TEST_F(ErrorLog, AppendsALineWithTheLocalTime) {
    const time_t before = time(nullptr);
    WriteFile("Error 1 (x)");
    const std::string first = log();
    EXPECT_TRUE(first.starts_with("Error 1 (x)- ")) << first;
    EXPECT_GE(dateAtEndOf(first), before);
    EXPECT_LE(dateAtEndOf(first), time(nullptr));
    WriteFile("Error 2 (y)");
    EXPECT_TRUE(log().starts_with(first + "Error 2 (y)- ")) << log();
}

TEST_F(ErrorLog, KeepsTheLineOfTheFailingStatement) {
    std::uint_least32_t line = 0;
    guarded({"GetItemClip", ModuleKind::Class, "Entry"}, [&] {
        line = SourceLocation::current().line() + 1;
        throw Error::refused("Document not saved");
    });
    EXPECT_TRUE(
        log().starts_with("Error 1004 (Document not saved) in procedure GetItemClip at Line No. " +
                          std::to_string(line) + " of Class Module Entry at time- "))
        << log();
}

TEST_F(ErrorLog, StaysSilentWhenNothingFailed) {
    EXPECT_FALSE(guarded({"Save", ModuleKind::Form, "frmMain"}, [] {}));
    const auto cancelled = guarded({"Save", ModuleKind::Form, "frmMain"}, [] {
        throw Error(ErrorKind::Cancelled, error_number::kDialogCancelled, "Cancel was selected.");
    });
    ASSERT_TRUE(cancelled);
    EXPECT_EQ(cancelled->number(), 32755);
    EXPECT_FALSE(mDir.has("Errors.Log"));
}

TEST_F(ErrorLog, OtherExceptionsHaveNumbersToo) {
    const Routine routine{"Save", ModuleKind::Form, "frmMain"};
    const auto numberOf = [&](const auto& exception) {
        return guarded(routine, [&] { throw exception; })->number();
    };
    EXPECT_EQ(numberOf(std::bad_alloc()), 7);
    EXPECT_EQ(numberOf(std::runtime_error("x")), 51);
    EXPECT_EQ(numberOf(42), 51);
    EXPECT_EQ(numberOf(std::system_error(ENOSPC, std::generic_category())), 61);
    EXPECT_EQ(numberOf(std::filesystem::filesystem_error(
                  "x", std::make_error_code(std::errc::permission_denied))),
              70);
    EXPECT_NE(log().find("Error 7 (Out of memory) in procedure Save at Line No. 0 of"),
              std::string::npos)
        << log();
    EXPECT_NE(log().find("Error 51 (Internal error)"), std::string::npos);
}

TEST_F(ErrorLog, IsWrittenInTheAnsiCodePage) {
    WriteFile("ä中");
    EXPECT_TRUE(log().starts_with("ä中- ")) << log();
    setAnsiCodePage("windows-1252");
    mDir.write("Errors.Log", "");
    WriteFile("ä中\xFF");
    setAnsiCodePage("");
    EXPECT_TRUE(log().starts_with("\xE4?\?- ")) << testing::PrintToString(log());
}

TEST_F(ErrorLog, ALogThatCannotBeWrittenIsPassedOver) {
    const auto fails = [] { throw Error::refused("No"); };
    const std::string path = mDir.write("Errors.Log", "old\r\n");
    ASSERT_EQ(chmod(path.c_str(), 0444), 0);
    EXPECT_TRUE(guarded({"Save", ModuleKind::Form, "frmMain"}, fails));
    EXPECT_EQ(log(), "old\r\n");
    std::filesystem::remove(path);
    std::filesystem::create_directory(path);
    EXPECT_TRUE(guarded({"Save", ModuleKind::Form, "frmMain"}, fails));
    EXPECT_TRUE(std::filesystem::is_empty(path));
}

TEST_F(ErrorLog, LinesOfThreadsStayWhole) {
    constexpr std::size_t kLines = 200;
    const auto writeLines = [](char c) {
        for (std::size_t i = 0; i < kLines; ++i) WriteFile(std::string(300, c));
    };
    std::thread other(writeLines, 'b');
    writeLines('a');
    other.join();
    const std::string text = log();
    std::size_t count = 0;
    for (std::size_t begin = 0; begin < text.size(); ++count) {
        const std::size_t end = text.find("\r\n", begin);
        ASSERT_NE(end, std::string::npos);
        EXPECT_EQ(text.substr(begin, 302), std::string(300, text[begin]) + "- ");
        EXPECT_EQ(end - begin, 302 + std::string("dd/mm/yyyy hh:mm:ss").size());
        begin = end + 2;
    }
    EXPECT_EQ(count, 2 * kLines);
}

}  // namespace
}  // namespace brindle
