// SPDX-License-Identifier: MIT
// Lists of entries from and to files.
#include "ui/main/frmMain.h"

#include "base/Clock.h"
#include "base/CodePages.h"
#include "base/PathLookup.h"
#include "ui/main/EntryListFile.h"
#include "ui/main/GridAtRest.h"
#include "ui_frmMain.h"

namespace brindle {

namespace {

EntryListOptions listOptions() {
    EntryListOptions options;
    options.open.ansiCodePage = ansiCodePage();
    options.open.currentYear = localYear(SystemClock().now());
    return options;
}

}  // namespace

void frmMain::connectImportExport() {
    connect(ui->mnuImportList, &QAction::triggered, this, &frmMain::mnuImportList_Click);
    connect(ui->mnuExportList, &QAction::triggered, this, &frmMain::mnuExportList_Click);
}

void frmMain::mnuImportList_Click() {
    run("mnuImportList_Click", [&] {
        const std::string path =
            mServices.dialogs.openFile(this, {"File Import", kEntryListFilter});
        ImportList(path, std::make_shared<Entries>(), true);
    });
}

void frmMain::ImportList(const std::string& path, const std::shared_ptr<Entries>& list,
                         bool toGrid) {
    const bool isRead = run("ImportList", [&] {
        EntryListOutcome outcome = EntryListOutcome::Read;
        if (toGrid) {
            const GridAtRest rest(*ui->vsflex);
            outcome = readEntryList(path, listOptions(), intoGrid(list));
        } else {
            outcome = readEntryList(path, listOptions(), *list);
        }
        if (outcome == EntryListOutcome::WrongType) ask("1006", MessageIcon::Information);
        if (outcome == EntryListOutcome::WrongColumns) ask("1009", MessageIcon::None);
        if (outcome == EntryListOutcome::WrongHeader) ask("1006", MessageIcon::None);
    });
    if (!isRead && toGrid && !fileExists(path)) ask("1008", MessageIcon::Information);
    // Entries that came before a failure stay.
    if (toGrid && list == mApplication.Items && list->Count() > 0) setIsModified(true);
}

// The list takes the place of the old one when its file is open, so that a file that cannot be
// read leaves everything as it was, and the grid never shows rows without an entry.
EntryListReceiver frmMain::intoGrid(const std::shared_ptr<Entries>& list) {
    EntryListReceiver receiver;
    receiver.opened = [this, list] {
        ui->vsflex->setRows(1);
        mApplication.Items = list;
        mEntryKeyCounter = 1;
    };
    receiver.entry = [this, list](Entry& entry, std::int32_t) {
        entry.Key = "Item-" + std::to_string(mEntryKeyCounter);
        const Entry* added = list->AddByObject(entry);
        if (!added) return;
        SetItemInGrid(*added);
        ++mEntryKeyCounter;
    };
    return receiver;
}

void frmMain::mnuExportList_Click() {
    run("mnuExportList_Click", [&] {
        Exportlist(mServices.dialogs.saveFile(this, {"Select File To Export", kEntryListFilter}));
    });
}

// Asks even where nothing will be written for want of a known type. An existing file is not
// deleted but replaced as a whole, so that it is still there when the writing fails.
void frmMain::Exportlist(const std::string& path) {
    run("Exportlist", [&] {
        if (fileExists(path) &&
            ask("1005", MessageIcon::Question, MessageButtons::YesNo) != MessageAnswer::Yes)
            return;
        writeEntryList(path, *mApplication.Items, listOptions());
    });
}

}  // namespace brindle
