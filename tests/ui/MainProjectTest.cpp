// SPDX-License-Identifier: MIT
// Projects in the main window: first state, files, recent files, drops, the end.
#include <gtest/gtest.h>

#include <QAction>
#include <QComboBox>
#include <QDropEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>
#include <QRadioButton>
#include <QSessionManager>
#include <QTabWidget>
#include <QTest>
#include <QTimer>
#include <QUrl>

#include "Controls.h"
#include "FakeServices.h"
#include "project/ProjectFile.h"
#include "ui/common/QtText.h"
#include "ui/main/EntryGrid.h"
#include "ui/main/frmMain.h"

namespace brindle {
namespace {

constexpr const char* kUntitled = "Untitled - Tarvello for Excel";
constexpr const char* kSampleRows =
    "1|one|1|Cells|Match Case,Match entire cell contents|Item-1\n"
    "2|two||Custom properties||Item-2\n";

class MainProject : public testing::Test {
protected:
    void start(const std::string& commandLine = {}) {
        mWindow = std::make_unique<frmMain>(mUser.services);
        mWindow->Form_Load(commandLine);
        mWindow->show();
    }
    template <typename Control>
    Control& control(const std::string& name) const {
        return test::controlOf<Control>(*mWindow, name);
    }
    std::string textOf(const char* name) const { return fromQt(control<QLineEdit>(name).text()); }
    std::string title() const { return fromQt(mWindow->windowTitle()); }
    std::string recent(int index) const {
        const auto& item = control<QAction>("mnuDefRF(" + std::to_string(index) + ")");
        return item.isVisible() ? fromQt(item.text()) : "hidden";
    }
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
    void expectLog(int lines, const std::string& part) const {
        const std::string log = mUser.errorLog();
        EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), lines) << log;
        EXPECT_NE(log.find(part), log.npos) << log;
    }

    std::string path(const char* name) const { return mUser.folder.path(name); }
    std::string read(const char* name) const { return mUser.folder.read(name); }
    std::string write(const char* name, const PropertyBag& bag) {
        writeProjectFile(path(name), bag);
        return path(name);
    }
    std::string startFolderIn(const std::string& file) const {
        return readProjectFile(file).ReadProperty("StartFolder").toText();
    }
    static Application sample() {
        Application app;
        clsProjExcel& project = app.CurrentProject;
        project.BackupMode = project.IsGrid = project.IncludeSubFolders = true;
        project.KeepTheOriginalFileDate = true;
        project.GetFilenamesFromTextFile = "/data/list \xFF.txt";
        project.LoadsearchFilePath = "C:\\lists\\\xC3\xA4.csv";
        project.Password = " geh\xC3\xABim ";
        project.SpreadsheetTypeToExamine = "*.odd;" + std::string(40'000, '*');
        project.StartFolder = "/data/\xC3/" + std::string(40'000, 'x');
        app.Items->Add("one", "1", 0, true, true, "Item-1");
        app.Items->Add("two", "", 6, false, false, "Item-2");
        return app;
    }
    static PropertyBag bagOf(const Application& app) {
        return projectBag(app.CurrentProject, *app.Items);
    }

    test::FakeUser mUser;
    std::unique_ptr<frmMain> mWindow;
};

// Sends what a file manager would; true when it is taken.
bool drop(QWidget& onto, const QList<QUrl>& urls) {
    QMimeData data;
    data.setUrls(urls);
    QDragEnterEvent enter({1, 1}, Qt::MoveAction | Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(&onto, &enter);
    QDropEvent event({1, 1}, Qt::MoveAction | Qt::CopyAction, &data, Qt::LeftButton,
                     Qt::ShiftModifier);
    EXPECT_EQ(event.proposedAction(), Qt::MoveAction);
    QApplication::sendEvent(&onto, &event);
    EXPECT_EQ(enter.isAccepted(), event.isAccepted());
    EXPECT_TRUE(!event.isAccepted() || event.dropAction() == Qt::CopyAction);
    return event.isAccepted();
}

TEST_F(MainProject, StartsEmptyWithoutAFormerState) {
    start();
    EXPECT_EQ(rows(), "");
    EXPECT_EQ(control<QComboBox>("cboLookIn").currentText(), "Cells");
    EXPECT_EQ(control<QComboBox>("cboSpreadsheetType").currentText(), "*.xls;*.xl;*.xlt;");
    EXPECT_FALSE(control<QRadioButton>("optLoad(1)").isChecked());
    EXPECT_EQ(recent(0), "(Empty)");
    control<QAction>("mnuDefRF(0)").trigger();
    EXPECT_EQ(title(), kUntitled);
    expectLog(0, "");
}

TEST_F(MainProject, AProjectOfTheCoreIsShownAndSavedByteForByte) {
    const std::string file = write("a \xC3.tvl", bagOf(sample()));
    const std::string before = read("a \xC3.tvl");
    start();
    mUser.dialogs.paths = {file, path("copy")};
    mWindow->OpenProject();
    EXPECT_EQ(rows(), kSampleRows);
    EXPECT_EQ(title(), "a \xC3.tvl - Tarvello for Excel");
    mWindow->Save(true);
    EXPECT_EQ(read("copy"), before) << "and no extension is added";
    EXPECT_EQ(title(), "copy - Tarvello for Excel");
    EXPECT_EQ(recent(0), "&1    " + path("copy"));
    EXPECT_EQ(recent(1), "&2    " + file);
    expectLog(0, "");
}

TEST_F(MainProject, AsksForNamesInItsOwnWords) {
    start();
    mWindow->setIsModified(true);
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
    EXPECT_EQ(title(), "Untitled* - Tarvello for Excel") << "all were given up";
    EXPECT_EQ(recent(0), "(Empty)");
    expectLog(0, "");
}

TEST_F(MainProject, OnlyNamesOfProjectsAreOpened) {
    write("app/default.dat", bagOf(sample()));
    start(path("A.TVL"));
    for (const char* name : {"tvl", "a.tvl/x", "a.tvl\""}) mWindow->OpenProject(name);
    ASSERT_EQ(mUser.dialogs.messages.size(), 4U);
    EXPECT_EQ(mUser.dialogs.messages[0].text,
              "This is not a project file: its name must end in \".tvl\".");
    EXPECT_EQ(mUser.dialogs.messages[0].icon, MessageIcon::Exclamation);
    EXPECT_EQ(title(), kUntitled);
    // One that is not there yet is made by saving.
    mWindow->OpenProject(path("new [*].tvl"));
    EXPECT_EQ(rows(), kSampleRows);
    EXPECT_EQ(title(), "new [*][*].tvl - Tarvello for Excel") << "as Qt wants it written";
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
    const Row rows[] = {{false, MessageAnswer::Cancel, true, ""},
                        {true, MessageAnswer::Cancel, false, ""},
                        {true, MessageAnswer::No, true, ""},
                        {true, MessageAnswer::Yes, true, "/changed/"}};
    for (const Row& row : rows) {
        const std::string file = write("a.tvl", PropertyBag());
        std::filesystem::remove(defaultProjectPath());
        mUser.dialogs.messages.clear();
        mUser.dialogs.answers = {row.answer};
        start(file);
        control<QLineEdit>("txtStartFolder").setText("/changed/");
        mWindow->setIsModified(row.modified);
        QWidget other;
        other.show();
        EXPECT_EQ(mWindow->close(), row.closes);
        EXPECT_EQ(other.isVisible(), !row.closes);
        EXPECT_EQ(mUser.dialogs.messages.size(), row.modified ? 1U : 0U);
        EXPECT_EQ(startFolderIn(defaultProjectPath()), "/changed/");
        EXPECT_EQ(startFolderIn(file), row.saved);
    }
    // A file dialog that is given up saves nothing, and the program ends all the same.
    start();
    mWindow->setIsModified(true);
    mUser.dialogs.answers = {MessageAnswer::Yes};
    EXPECT_TRUE(mWindow->close());
    EXPECT_EQ(mUser.dialogs.questions.size(), 1U);
    expectLog(0, "");
}

TEST_F(MainProject, OrdersToEndNeedNoAnswer) {
    write("app/default.dat", bagOf(sample()));
    start();
    auto& grid = control<EntryGrid>("vsflex");
    grid.Select(2, 2, 2, 2);
    grid.EditCell();
    QTest::keyClicks(grid.findChild<QLineEdit*>(), "typed");
    // Only Qt makes one of these, and nobody looks at it here.
    alignas(QSessionManager) std::byte session[sizeof(QSessionManager)];
    Q_EMIT qApp->commitDataRequest(reinterpret_cast<QSessionManager&>(session));
    EXPECT_TRUE(mUser.dialogs.messages.empty());
    Entries kept;
    std::int32_t counter = 1;
    readProjectEntries(readProjectFile(defaultProjectPath()), kept, counter);
    EXPECT_EQ(kept.Item(2)->ReplaceWith, "typed");
    // Also while the question of an ordinary end stands.
    mUser.dialogs.answers = {MessageAnswer::Cancel};
    mUser.dialogs.onMessage = [&](const Message&) { mWindow->endProgram(); };
    mWindow->close();
    EXPECT_FALSE(mWindow->isVisible());
    EXPECT_EQ(mUser.dialogs.messages.size(), 1U);
}

TEST_F(MainProject, ADamagedStateLeavesAWindowAndACopy) {
    const auto with = [&](const char* name, const PropertyValue& value) {
        PropertyBag bag = bagOf(sample());
        bag.WriteProperty(name, value);
        write("damaged", bag);
        return read("damaged");
    };
    const std::string listFile = sample().CurrentProject.LoadsearchFilePath;
    struct Row {
        std::string bytes;
        std::string log;
        std::string listFile;
        std::string rows;
    };
    const Row rows[] = {{"junk", "Error 321 (", "", ""},
                        {with("IsGrid", PropertyValue::Bytes{}), "Error 13 (", listFile, ""},
                        {with("Count", std::int32_t{32768}), "Error 6 (", listFile, ""},
                        {with("Count", std::int32_t{3}), "", listFile, kSampleRows}};
    for (const Row& row : rows) {
        for (const char* name : {"app/default.dat", "app/Errors.Log", "app/default.dat.damaged"})
            std::filesystem::remove(path(name));
        mUser.folder.write("app/default.dat", row.bytes);
        start();
        expectLog(row.log.empty() ? 0 : 1, row.log);
        EXPECT_TRUE(mWindow->isVisible());
        EXPECT_EQ(textOf("txtLoadsearch"), row.listFile);
        EXPECT_EQ(this->rows(), row.rows);
        mWindow->close();
        EXPECT_EQ(read("app/default.dat.damaged"), row.bytes);
        EXPECT_NO_THROW(readProjectFile(defaultProjectPath()));
    }
}

TEST_F(MainProject, FailuresAreLoggedAndTheWindowStaysInUse) {
    Application app = sample();
    app.Items->Item(1)->Look_In = 9;
    const std::string odd = write("odd.tvl", bagOf(app));
    const std::string before = read("odd.tvl");
    start(odd);
    EXPECT_EQ(rows(), "1|one|1|||Item-1\n2|two||Custom properties||Item-2\n");
    expectLog(1, "in procedure SetItemInGrid");
    mWindow->Save(false);
    EXPECT_EQ(read("odd.tvl"), before);

    const std::string shown = rows();
    mWindow->OpenProject(mUser.folder.write("junk.tvl", "junk"));
    EXPECT_EQ(rows(), shown);
    expectLog(2, "in procedure LoadProject");
    mUser.dialogs.paths = {path("no folder/a.tvl")};
    mWindow->Save(true);
    expectLog(3, "in procedure SaveProject");
    EXPECT_EQ(title(), "a.tvl - Tarvello for Excel");
    EXPECT_EQ(read("junk.tvl"), "junk");

    const test::ScopedEnvironment home("BRINDLE_HOME", path("junk.tvl/app"));
    const test::ScopedEnvironment config("XDG_CONFIG_HOME", path("junk.tvl/config"));
    mUser.services.settings = SettingsStore();
    start(odd);
    EXPECT_EQ(rows(), shown);
    EXPECT_TRUE(mWindow->close());
}

TEST_F(MainProject, RecentFilesReopen) {
    const std::string first = write("a & b.tvl", bagOf(sample()));
    const std::string second = write("second.tvl", PropertyBag());
    start();
    for (const std::string& file : {first, first, second}) mWindow->OpenProject(file);
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
    mWindow->Save(false);
    EXPECT_EQ(read("second.tvl"), read("a & b.tvl"));
}

TEST_F(MainProject, TakesProjectsAndFoldersThatAreDropped) {
    write("a \xC3%.tvl", bagOf(sample()));
    const QUrl project =
        QUrl::fromEncoded(QUrl::fromLocalFile(toQt(path(""))).toEncoded() + "a%20%C3%25.tvl");
    const QUrl folder = QUrl::fromLocalFile(toQt(path("app")) + "/");
    const QUrl other = QUrl::fromLocalFile(toQt(mUser.folder.write("b.xls", "")));
    start();
    EXPECT_FALSE(drop(*mWindow, {other, QUrl("http://localhost/a.tvl"), QUrl("file://far/")}));
    EXPECT_TRUE(drop(*mWindow, {other, project, folder}));
    EXPECT_EQ(title(), "a \xC3%.tvl - Tarvello for Excel");
    EXPECT_EQ(textOf("txtStartFolder"), sample().CurrentProject.StartFolder);
    // Also where a text could be dropped.
    EXPECT_TRUE(drop(control<QLineEdit>("txtLoadsearch"), {folder, project}));
    EXPECT_EQ(textOf("txtStartFolder"), path("app") + "/");
    EXPECT_TRUE(control<QRadioButton>("optFileProcess(0)").isChecked());
    EXPECT_EQ(control<QTabWidget>("SSTab1").currentIndex(), 1);

    mUser.folder.write("app/a.csv", "one");
    control<QComboBox>("cboSpreadsheetType").setCurrentText("*.csv;");
    mUser.dialogs.answers = {MessageAnswer::Yes};
    int drops = 0;
    QTimer::singleShot(0, mWindow.get(), [&] {
        EXPECT_FALSE(control<QPushButton>("cmdStartSearching").isEnabled());
        EXPECT_FALSE(drop(*mWindow, {project})) << "in a run";
        ++drops;
    });
    QTest::mouseClick(&control<QPushButton>("cmdStartSearching"), Qt::LeftButton);
    EXPECT_EQ(drops, 1);
    EXPECT_TRUE(drop(*mWindow, {project}));
}

}  // namespace
}  // namespace brindle
