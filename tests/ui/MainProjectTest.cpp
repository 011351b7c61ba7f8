// SPDX-License-Identifier: MIT
// Projects in the main window: first state, files, recent files, drops, the end.
#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDropEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QRadioButton>
#include <QSessionManager>
#include <QTabWidget>
#include <QUrl>

#include "FakeServices.h"
#include "project/ProjectFile.h"
#include "ui/common/QtText.h"
#include "ui/main/EntryGrid.h"
#include "ui/main/frmMain.h"

namespace brindle {
namespace {

class MainProject : public testing::Test {
protected:
    MainProject() { mWindow = std::make_unique<frmMain>(mUser.services); }

    void load(const std::string& commandLine = {}) {
        mWindow->Form_Load(commandLine);
        mWindow->show();
    }
    void restart(const std::string& commandLine = {}) {
        mWindow = std::make_unique<frmMain>(mUser.services);
        load(commandLine);
    }

    template <typename Control>
    Control& control(const char* name) const {
        Control* found = mWindow->findChild<Control*>(name);
        if (found == nullptr) throw std::runtime_error(std::string("no control ") + name);
        return *found;
    }
    std::string textOf(const char* name) const { return fromQt(control<QLineEdit>(name).text()); }
    void type(const char* name, const std::string& text) {
        control<QLineEdit>(name).setText(toQt(text));
    }
    std::string title() const { return fromQt(mWindow->windowTitle()); }
    std::string recent(int index) const {
        const auto& item = control<QAction>(("mnuDefRF(" + std::to_string(index) + ")").c_str());
        return item.isVisible() ? fromQt(item.text()) : "hidden";
    }
    // The rows of the grid, and what they stand for in the project.
    std::string rows() const {
        const auto& grid = control<EntryGrid>("vsflex");
        std::string text;
        for (int row = 1; row < grid.Rows(); ++row) {
            for (int column = 0; column < 5; ++column)
                text += fromQt(grid.TextMatrix(row, column)) + "|";
            text += fromQt(grid.RowData(row)) + "\n";
        }
        return text;
    }
    std::string path(const char* name) const { return mUser.folder.path(name); }
    std::string read(const char* name) const { return mUser.folder.read(name); }
    std::string write(const char* name, const PropertyBag& bag) {
        writeProjectFile(path(name), bag);
        return path(name);
    }

    static Application sample() {
        Application app;
        clsProjExcel& project = app.CurrentProject;
        project.BackupMode = true;
        project.GetFilenamesFromTextFile = "/data/list \xFF.txt";
        project.LoadsearchFilePath = "C:\\lists\\\xC3\xA4.csv";
        project.IsGrid = true;
        project.IncludeSubFolders = true;
        project.KeepTheOriginalFileDate = true;
        project.Password = " geh\xC3\xABim ";
        project.SpreadsheetTypeToExamine = "*.odd;";
        project.StartFolder = "/data/\xC3/";
        app.Items->Add("one", "1", 0, true, true, "Item-1");
        app.Items->Add("two", "", 6, false, false, "Item-2");
        return app;
    }
    static PropertyBag sampleBag() {
        const Application app = sample();
        return projectBag(app.CurrentProject, *app.Items);
    }

    test::FakeUser mUser;
    std::unique_ptr<frmMain> mWindow;
};

constexpr const char* kSampleRows =
    "1|one|1|Cells|Match Case,Match entire cell contents|Item-1\n"
    "2|two||Custom properties||Item-2\n";

TEST_F(MainProject, StartsEmptyWithoutAFormerState) {
    load();
    EXPECT_EQ(title(), "Untitled - Tarvello for Excel");
    EXPECT_FALSE(mWindow->IsModified());
    EXPECT_EQ(rows(), "");
    EXPECT_EQ(control<EntryGrid>("vsflex").TextMatrix(0, 4), "Options");
    EXPECT_EQ(control<QComboBox>("cboLookIn").currentText(), "Cells");
    EXPECT_EQ(control<QComboBox>("cboSpreadsheetType").currentText(), "*.xls;*.xl;*.xlt;");
    EXPECT_FALSE(control<QRadioButton>("optLoad(1)").isChecked());
    EXPECT_EQ(control<QTabWidget>("SSTab1").currentIndex(), 0);
    EXPECT_EQ(recent(0), "(Empty)");
    control<QAction>("mnuDefRF(0)").trigger();
    EXPECT_EQ(title(), "Untitled - Tarvello for Excel");
    EXPECT_EQ(mUser.errorLog(), "");
}

TEST_F(MainProject, AProjectOfTheCoreIsShownAndSavedByteForByte) {
    const std::string file = write("a \xC3.tvl", sampleBag());
    const std::string before = read("a \xC3.tvl");
    load();
    mUser.dialogs.paths = {file, path("copy.tvl")};
    mWindow->OpenProject();
    EXPECT_EQ(rows(), kSampleRows);
    EXPECT_TRUE(control<QCheckBox>("chkBackupMode").isChecked());
    EXPECT_TRUE(control<QCheckBox>("chkIncludesubfolders").isChecked());
    EXPECT_TRUE(control<QCheckBox>("chkKeepOiginal").isChecked());
    EXPECT_TRUE(control<QRadioButton>("optLoad(1)").isChecked());
    EXPECT_TRUE(control<QRadioButton>("optFileProcess(1)").isChecked());
    EXPECT_EQ(control<QComboBox>("cboSpreadsheetType").currentText(), "*.odd;");
    EXPECT_EQ(textOf("txtPassword"), " geh\xC3\xABim ");
    EXPECT_EQ(textOf("txtStartFolder"), "/data/\xC3/");
    EXPECT_EQ(title(), "a \xC3.tvl - Tarvello for Excel");
    EXPECT_FALSE(mWindow->IsModified());

    mWindow->Save(true);
    EXPECT_EQ(read("copy.tvl"), before);
    EXPECT_EQ(title(), "copy.tvl - Tarvello for Excel");
    EXPECT_EQ(recent(0), "&1    " + path("copy.tvl"));
    EXPECT_EQ(recent(1), "&2    " + file);
    EXPECT_EQ(recent(2), "hidden");
    EXPECT_EQ(mUser.errorLog(), "");
}

TEST_F(MainProject, AsksForNamesInItsOwnWords) {
    load();
    mWindow->OpenProject();
    mWindow->Save(false);
    mWindow->Save(true);
    std::string titles;
    for (const test::FakeDialogs::Question& question : mUser.dialogs.questions) {
        EXPECT_EQ(question.filter, "Tarvello-Excel Setting File (*.tvl)|*.tvl");
        titles += question.kind + ": " + question.title + "\n";
    }
    EXPECT_EQ(titles,
              "open: Open Tarvello-Excel File\nsave: Save Tarvello-Excel File\n"
              "save: Save As Tarvello-Excel File\n");
    // All of them were given up.
    EXPECT_EQ(title(), "Untitled - Tarvello for Excel");
    EXPECT_EQ(recent(0), "(Empty)");
    EXPECT_EQ(mUser.errorLog(), "");
    // A name is taken as it is typed, and asked for once.
    mUser.dialogs.paths = {path("bare")};
    mWindow->setIsModified(true);
    EXPECT_EQ(title(), "Untitled* - Tarvello for Excel");
    mWindow->Save(false);
    mWindow->Save(false);
    EXPECT_TRUE(mUser.folder.has("bare"));
    EXPECT_EQ(title(), "bare - Tarvello for Excel");
    EXPECT_EQ(mUser.dialogs.questions.size(), 4U);
}

TEST_F(MainProject, OnlyProjectsAreOpened) {
    write("default.tvl", sampleBag());
    load(path("default.tvl"));
    for (const char* name : {"A.TVL", "tvl", "a.tvl/x", "a.tvl\"", "x.xls"}) {
        mUser.dialogs.messages.clear();
        mWindow->OpenProject(name);
        ASSERT_EQ(mUser.dialogs.messages.size(), 1U) << name;
        EXPECT_EQ(mUser.dialogs.messages[0].text,
                  "This is not a project file: its name must end in \".tvl\".");
        EXPECT_EQ(mUser.dialogs.messages[0].icon, MessageIcon::Exclamation);
    }
    EXPECT_EQ(title(), "default.tvl - Tarvello for Excel");
    EXPECT_EQ(recent(1), "hidden");
}

TEST_F(MainProject, AProjectThatIsNotThereYetIsMadeBySaving) {
    write("app/default.dat", sampleBag());
    load(path("new [*].tvl"));
    EXPECT_EQ(rows(), kSampleRows);
    EXPECT_EQ(title(), "new [*][*].tvl - Tarvello for Excel");  // as Qt wants it written
    EXPECT_EQ(recent(0), "&1    " + path("new [*].tvl"));
    EXPECT_FALSE(mUser.folder.has("new [*].tvl"));
    mWindow->Save(false);
    EXPECT_EQ(read("new [*].tvl"), read("app/default.dat"));
}

TEST_F(MainProject, ClosingKeepsTheStateAndAsksWhatToDoWithChanges) {
    struct Row {
        bool modified;
        MessageAnswer answer;
        bool closes;
        const char* saved;
    };
    // clang-format off
    const Row rows[] = {
        {false, MessageAnswer::Cancel, true, ""},
        {true, MessageAnswer::Cancel, false, ""},
        {true, MessageAnswer::No, true, ""},
        {true, MessageAnswer::Yes, true, "/changed/"},
    };
    // clang-format on
    int number = 0;
    for (const Row& row : rows) {
        const std::string file = write("a.tvl", PropertyBag());
        restart(file);
        type("txtStartFolder", "/changed/");
        mWindow->setIsModified(row.modified);
        mUser.dialogs.answers = {row.answer};
        mUser.dialogs.messages.clear();
        QWidget other;
        other.show();
        EXPECT_EQ(mWindow->close(), row.closes) << ++number;
        EXPECT_EQ(other.isVisible(), !row.closes);
        EXPECT_EQ(mUser.dialogs.messages.size(), row.modified ? 1U : 0U);
        EXPECT_EQ(readProjectFile(defaultProjectPath()).ReadProperty("StartFolder").toText(),
                  "/changed/");
        EXPECT_EQ(readProjectFile(file).ReadProperty("StartFolder").toText(), row.saved);
        std::filesystem::remove(defaultProjectPath());
    }
    // A file dialog that is given up saves nothing, and the program ends all the same.
    restart();
    mWindow->setIsModified(true);
    mUser.dialogs.answers = {MessageAnswer::Yes};
    EXPECT_TRUE(mWindow->close());
    EXPECT_EQ(mUser.dialogs.questions.size(), 1U);
    EXPECT_EQ(mUser.errorLog(), "");
}

TEST_F(MainProject, TheSessionMayEndWithoutAQuestion) {
    load();
    type("txtStartFolder", "/kept/");
    mUser.dialogs.messages.clear();
    // Only Qt makes one of these, and nobody looks at it here.
    alignas(QSessionManager) std::byte session[sizeof(QSessionManager)];
    Q_EMIT qApp->commitDataRequest(reinterpret_cast<QSessionManager&>(session));
    EXPECT_EQ(readProjectFile(defaultProjectPath()).ReadProperty("StartFolder").toText(), "/kept/");
    EXPECT_TRUE(mUser.dialogs.messages.empty());
}

TEST_F(MainProject, ADamagedStateLeavesAWindowAndACopy) {
    PropertyBag mismatch = sampleBag();
    mismatch.WriteProperty("IsGrid", PropertyValue::Bytes{});
    PropertyBag tooMany = sampleBag();
    tooMany.WriteProperty("Count", std::int32_t{32768});
    PropertyBag lying = sampleBag();
    lying.WriteProperty("Count", std::int32_t{5});
    const auto fileOf = [&](const PropertyBag& bag) {
        write("bag", bag);
        std::string bytes = read("bag");
        std::filesystem::remove(path("bag"));
        return bytes;
    };
    struct Row {
        std::string bytes;
        const char* log;
        const char* listFile;
        const char* rows;
    };
    const Row rows[] = {
        {std::string(5000, 'x'), "Error 321 (", "", ""},
        {"", "Error 321 (", "", ""},
        {fileOf(mismatch), "Error 13 (", "C:\\lists\\\xC3\xA4.csv", ""},
        {fileOf(tooMany), "Error 6 (", "C:\\lists\\\xC3\xA4.csv", ""},
        {fileOf(lying), "", "C:\\lists\\\xC3\xA4.csv", kSampleRows},
    };
    for (const Row& row : rows) {
        mUser.folder.write("app/default.dat", row.bytes);
        mUser.folder.write("app/Errors.Log", "");
        restart();
        const std::string log = mUser.errorLog();
        const bool isLogged = *row.log != '\0';
        EXPECT_TRUE(log.starts_with(row.log)) << log;
        EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), isLogged ? 1 : 0) << log;
        EXPECT_EQ(log.find("in procedure LoadProject at Line No. ") != log.npos, isLogged) << log;
        EXPECT_TRUE(mWindow->isVisible());
        EXPECT_EQ(textOf("txtLoadsearch"), row.listFile);
        EXPECT_EQ(this->rows(), row.rows);
        mWindow->close();
        EXPECT_EQ(read("app/default.dat.damaged"), row.bytes);
        EXPECT_NO_THROW(readProjectFile(defaultProjectPath()));
        std::filesystem::remove(path("app/default.dat.damaged"));
    }
}

TEST_F(MainProject, ADamagedProjectStaysUntilItIsSaved) {
    const std::string file = mUser.folder.write("a.tvl", "no project");
    write("app/default.dat", sampleBag());
    load(file);
    EXPECT_EQ(rows(), kSampleRows);
    mWindow->close();
    EXPECT_EQ(read("a.tvl"), "no project");
    EXPECT_FALSE(mUser.folder.has("a.tvl.damaged"));
}

TEST_F(MainProject, AnEntryThatCannotBeShownIsKept) {
    Application app = sample();
    app.Items->Item(1)->Look_In = 9;
    write("app/default.dat", projectBag(app.CurrentProject, *app.Items));
    const std::string before = read("app/default.dat");
    load();
    EXPECT_EQ(rows(), "1|one|1|||Item-1\n2|two||Custom properties||Item-2\n");
    EXPECT_NE(mUser.errorLog().find("in procedure SetItemInGrid"), std::string::npos);
    mWindow->close();
    EXPECT_EQ(read("app/default.dat"), before);
}

TEST_F(MainProject, AFailedSaveIsLogged) {
    load();
    mUser.dialogs.paths = {path("no folder/a.tvl")};
    mWindow->setIsModified(true);
    mWindow->Save(false);
    const std::string log = mUser.errorLog();
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1) << log;
    EXPECT_NE(log.find("in procedure SaveProject at Line No. "), log.npos) << log;
    EXPECT_EQ(title(), "a.tvl - Tarvello for Excel");
}

TEST_F(MainProject, RecentFilesReopen) {
    const std::string first = write("a & b.tvl", sampleBag());
    const std::string second = write("second.tvl", PropertyBag());
    load();
    for (const std::string& file : {first, first, second}) mWindow->OpenProject(file);
    EXPECT_EQ(recent(1), "&2    " + path("a && b.tvl"));
    EXPECT_EQ(rows(), "");
    control<QAction>("mnuDefRF(1)").trigger();
    EXPECT_EQ(title(), "a & b.tvl - Tarvello for Excel");
    EXPECT_EQ(rows(), kSampleRows);
    EXPECT_EQ(recent(0), "&1    " + path("a && b.tvl"));
    EXPECT_EQ(recent(1), "&2    " + second);
    EXPECT_EQ(recent(2), "hidden");

    std::filesystem::remove(second);
    control<QAction>("mnuDefRF(1)").trigger();
    ASSERT_EQ(mUser.dialogs.messages.size(), 1U);
    EXPECT_EQ(mUser.dialogs.messages[0].text, "The file " + second + " was not found.");
    EXPECT_EQ(mUser.dialogs.messages[0].icon, MessageIcon::Exclamation);
    EXPECT_EQ(rows(), kSampleRows);
    mWindow->Save(false);
    EXPECT_EQ(read("second.tvl"), read("a & b.tvl"));
}

// Sends what a file manager would; true when it is taken.
bool drop(QWidget& onto, const QList<QUrl>& urls) {
    QMimeData data;
    data.setUrls(urls);
    QDragEnterEvent enter({1, 1}, Qt::MoveAction | Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(&onto, &enter);
    QDropEvent event({1, 1}, Qt::MoveAction | Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(&onto, &event);
    EXPECT_EQ(enter.isAccepted(), event.isAccepted());
    EXPECT_TRUE(!event.isAccepted() || event.dropAction() == Qt::CopyAction);
    return event.isAccepted();
}

TEST_F(MainProject, TakesProjectsAndFoldersThatAreDropped) {
    const std::string file = write("a \xC3%.tvl", sampleBag());
    const QUrl project =
        QUrl::fromEncoded(QUrl::fromLocalFile(toQt(path(""))).toEncoded() + "a%20%C3%25.tvl");
    const QUrl folder = QUrl::fromLocalFile(toQt(path("app")) + "/");
    const QUrl other = QUrl::fromLocalFile(toQt(mUser.folder.write("b.xls", "")));
    load();
    EXPECT_FALSE(drop(*mWindow, {other, QUrl("http://localhost/a.tvl"), QUrl("file://far/")}));
    EXPECT_EQ(title(), "Untitled - Tarvello for Excel");
    EXPECT_TRUE(drop(*mWindow, {other, project, folder}));
    EXPECT_EQ(title(), "a \xC3%.tvl - Tarvello for Excel");
    EXPECT_EQ(textOf("txtStartFolder"), "/data/\xC3/");
    EXPECT_FALSE(control<QRadioButton>("optFileProcess(0)").isChecked());
    // Also where a text could be dropped.
    EXPECT_TRUE(drop(control<QLineEdit>("txtLoadsearch"), {folder, project}));
    EXPECT_EQ(textOf("txtStartFolder"), path("app") + "/");
    EXPECT_TRUE(control<QRadioButton>("optFileProcess(0)").isChecked());
    EXPECT_EQ(control<QTabWidget>("SSTab1").currentIndex(), 1);
    EXPECT_EQ(mUser.errorLog(), "");
}

}  // namespace
}  // namespace brindle
