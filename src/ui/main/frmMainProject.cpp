// SPDX-License-Identifier: MIT
// The project in its file and in the controls.
#include "ui/main/frmMain.h"

#include <filesystem>

#include "base/Error.h"
#include "base/FileIo.h"
#include "project/ProjectFile.h"
#include "ui/common/QtText.h"
#include "ui/main/GridAtRest.h"
#include "ui_frmMain.h"

namespace brindle {

namespace {

constexpr const char* kProjectFilter = "Tarvello-Excel Setting File (*.tvl)|*.tvl";

// A file that may not be looked at is there too; reading it says why not.
bool isThere(const std::string& path) {
    std::error_code failure;
    return std::filesystem::status(path, failure).type() != std::filesystem::file_type::not_found;
}

// What could not be read of a file is put aside before it is written over, by the next end of the
// program if it is the default project. Where that is refused, the writing will be as well.
void keepDamaged(const std::string& path) {
    try {
        copyFile(path, path + ".damaged");
    } catch (const Error&) {
    }
}

}  // namespace

void frmMain::LoadProject(const std::string& path) {
    const std::string source = path.empty() ? defaultProjectPath() : path;
    if (!isThere(source)) return;
    bool isWhole = false;
    run("LoadProject", [&] {
        const PropertyBag bag = readProjectFile(source);
        for (const ProjectOption& option : projectOptions()) {
            readProjectOption(bag, option, mApplication.CurrentProject);
            showProjectOption(option.name);
        }
        loadEntries(bag);
        setIsModified(false);
        isWhole = mApplication.Items->Count() == bag.ReadProperty("Count").toInt32();
    });
    if (isWhole)
        mDamagedFiles.erase(source);
    else
        mDamagedFiles.insert(source);
}

// The counter starts anew together with the list: keys of entries that stay must not come again.
void frmMain::loadEntries(const PropertyBag& bag) {
    const GridAtRest rest(*ui->vsflex);
    mApplication.Items = std::make_shared<Entries>();
    mEntryKeyCounter = 1;
    ui->vsflex->setRows(1);
    readProjectEntries(bag, *mApplication.Items, mEntryKeyCounter,
                       [this](const Entry& entry) { SetItemInGrid(entry); });
}

void frmMain::SaveProject(const std::string& path) {
    run("SaveProject", [&] {
        copyControlsToProject();
        const std::string target = path.empty() ? defaultProjectPath() : path;
        const PropertyBag bag = projectBag(mApplication.CurrentProject, *mApplication.Items);
        if (mDamagedFiles.count(target) != 0) keepDamaged(target);
        writeProjectFile(target, bag);
        mDamagedFiles.erase(target);
    });
}

void frmMain::OpenProject(const std::string& path) {
    run("OpenProject", [&] {
        const std::string name =
            path.empty()
                ? mServices.dialogs.openFile(this, {"Open Tarvello-Excel File", kProjectFilter})
                : path;
        if (!name.ends_with(".tvl")) {
            ask("1023", MessageIcon::Exclamation);
            return;
        }
        rememberFile(name);
        mCurrentFile = name;
        takeNameOfFile();
        LoadProject(name);
    });
}

void frmMain::Save(bool SaveAs) {
    run("Save", [&] {
        if (SaveAs || mCurrentFile.empty()) {
            const char* title = SaveAs ? "Save As Tarvello-Excel File" : "Save Tarvello-Excel File";
            mCurrentFile = mServices.dialogs.saveFile(this, {title, kProjectFilter});
            rememberFile(mCurrentFile);
        }
        SaveProject(mCurrentFile);
        takeNameOfFile();
        setIsModified(false);
    });
}

// Projects of other platforms name their folders with backslashes.
void frmMain::takeNameOfFile() {
    mProjectName = mCurrentFile.substr(mCurrentFile.find_last_of("/\\") + 1);
    SetCaption();
}

void frmMain::copyControlsToProject() {
    // A key or a toolbar button takes no focus from the editor that is open.
    ui->vsflex->finishEdit();
    clsProjExcel& project = mApplication.CurrentProject;
    project.BackupMode = ui->chkBackupMode->isChecked();
    project.GetFilenamesFromTextFile = fromQt(ui->txtGetFileName->text());
    project.LoadsearchFilePath = fromQt(ui->txtLoadsearch->text());
    project.IsGrid = ui->optLoad_1->isChecked();
    project.IncludeSubFolders = ui->chkIncludesubfolders->isChecked();
    project.IsScanFolder = ui->optFileProcess_0->isChecked();
    project.KeepTheOriginalFileDate = ui->chkKeepOiginal->isChecked();
    project.Password = fromQt(ui->txtPassword->text());
    project.SpreadsheetTypeToExamine = fromQt(ui->cboSpreadsheetType->currentText());
    project.StartFolder = fromQt(ui->txtStartFolder->text());
}

void frmMain::showProjectOption(const std::string& name) {
    const clsProjExcel& project = mApplication.CurrentProject;
    if (name == "BackupMode") {
        ui->chkBackupMode->setChecked(project.BackupMode);
    } else if (name == "GetFilenamesFromTextFile") {
        ui->txtGetFileName->setText(toQt(project.GetFilenamesFromTextFile));
    } else if (name == "LoadsearchFilePath") {
        ui->txtLoadsearch->setText(toQt(project.LoadsearchFilePath));
    } else if (name == "IsGrid") {
        (project.IsGrid ? ui->optLoad_1 : ui->optLoad_0)->setChecked(true);
    } else if (name == "IncludeSubFolders") {
        ui->chkIncludesubfolders->setChecked(project.IncludeSubFolders);
    } else if (name == "IsScanFolder") {
        (project.IsScanFolder ? ui->optFileProcess_0 : ui->optFileProcess_1)->setChecked(true);
    } else if (name == "KeepTheOriginalFileDate") {
        ui->chkKeepOiginal->setChecked(project.KeepTheOriginalFileDate);
    } else if (name == "Password") {
        ui->txtPassword->setText(toQt(project.Password));
    } else if (name == "SpreadsheetTypeToExamine") {
        ui->cboSpreadsheetType->setCurrentText(toQt(project.SpreadsheetTypeToExamine));
    } else if (name == "StartFolder") {
        ui->txtStartFolder->setText(toQt(project.StartFolder));
    }
}

}  // namespace brindle
