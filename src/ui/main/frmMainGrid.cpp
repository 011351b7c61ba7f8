// SPDX-License-Identifier: MIT
// The grid of entries and the controls below it. Each row carries the key of its entry, and what
// is edited goes through that key; a row whose key has no entry is edited without effect.
#include "ui/main/frmMain.h"

#include <QScopedValueRollback>

#include "base/Error.h"
#include "ui/common/QtText.h"
#include "ui/main/GridAtRest.h"
#include "ui/main/GridColours.h"
#include "ui_frmMain.h"

namespace brindle {
namespace {

constexpr int kInvalidPropertyValue = 380;

enum Column { kNumber, kFindWhat, kReplaceWith, kLookIn, kOptions };

// Keys that are no character open the editor only when they are of use there. All others (arrows,
// Home, End, the page keys, Escape, function keys, modifiers alone) go on moving in the grid.
bool startsEdit(int key, Qt::KeyboardModifiers shift) {
    if (shift & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) return false;
    // With Shift too: a text may begin with a capital letter.
    if (key < Qt::Key_Escape) return true;
    if (shift & Qt::ShiftModifier) return false;
    switch (key) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
        case Qt::Key_F2:
        case Qt::Key_Backspace:
        case Qt::Key_unknown:
            return true;
        default:
            return false;
    }
}

void setBackColor(EntryGrid& grid, int row, const QBrush& brush) {
    grid.setCellBackColor(row, 0, row, grid.Cols() - 1, brush);
}

void setUnderline(EntryGrid& grid, int row, bool on) {
    grid.setCellFontUnderline(row, 0, row, grid.Cols() - 1, on);
}

}  // namespace

void frmMain::connectGrid() {
    EntryGrid* grid = ui->vsflex;
    connect(grid, &EntryGrid::AfterEdit, this, &frmMain::vsflex_AfterEdit);
    connect(grid, &EntryGrid::AfterRowColChange, this, &frmMain::vsflex_AfterRowColChange);
    connect(grid, &EntryGrid::BeforeEdit, this, &frmMain::vsflex_BeforeEdit);
    connect(grid, &EntryGrid::DblClick, this, &frmMain::vsflex_DblClick);
    connect(grid, &EntryGrid::GotFocus, this, &frmMain::vsflex_GotFocus);
    connect(grid, &EntryGrid::KeyDown, this, &frmMain::vsflex_KeyDown);
    connect(grid, &EntryGrid::KeyDownEdit, this, &frmMain::vsflex_KeyDownEdit);
    connect(grid, &EntryGrid::MouseMove, this, &frmMain::vsflex_MouseMove);
    connect(ui->cmdAdd, &QPushButton::clicked, this, [this] { cmdAdd_Click(); });
    connect(ui->cmdDelete, &QPushButton::clicked, this, [this] { cmdDelete_Click(); });
    connect(ui->cboLookIn, &QComboBox::currentIndexChanged, this, [this] { cboLookIn_Click(); });
    // The scope that is shown can be chosen too: an entry may have one that cannot be shown.
    connect(ui->cboLookIn, &QComboBox::activated, this, [this] { cboLookIn_Click(); });
    connect(ui->chkMatchCase, &QCheckBox::toggled, this, [this] { chkMatchCase_Click(); });
    connect(ui->chkWholeWord, &QCheckBox::toggled, this, [this] { chkWholeWord_Click(); });

    // Runs when something changed that shows in the colours, and not while nothing happens.
    Timer1.setSingleShot(true);
    Timer1.setInterval(0);
    connect(&Timer1, &QTimer::timeout, this, [this] { Timer1_Timer(); });
    connect(grid, &EntryGrid::SelChange, &Timer1, qOverload<>(&QTimer::start));
}

QString frmMain::GetOptions() const {
    QString options;
    run("GetOptions", [&] {
        if (ui->chkMatchCase->isChecked()) options = "Match Case";
        if (!ui->chkWholeWord->isChecked()) return;
        if (!options.isEmpty()) options += ",";
        options += "Match entire cell contents";
    });
    return options;
}

Entry* frmMain::entryOfRow(int row) const {
    return mApplication.Items->Item(fromQt(ui->vsflex->RowData(row)));
}

std::vector<std::string> frmMain::keysOfSelectedRows() const {
    std::vector<std::string> keys;
    for (int index = 0; index < ui->vsflex->SelectedRows(); ++index)
        keys.push_back(fromQt(ui->vsflex->RowData(ui->vsflex->SelectedRow(index))));
    return keys;
}

// The row that the option controls change; 0 for none.
int frmMain::rowOfOptions() const {
    return SyncingOptions ? 0 : ui->vsflex->Row();
}

void frmMain::showOptions(const Entry& entry) {
    if (entry.Look_In < 0 || entry.Look_In >= ui->cboLookIn->count())
        throw Error(ErrorKind::Argument, kInvalidPropertyValue, "Invalid property value");
    const QScopedValueRollback syncing(SyncingOptions, true);
    ui->cboLookIn->setCurrentIndex(entry.Look_In);
    ui->chkMatchCase->setChecked(entry.MatchCase);
    ui->chkWholeWord->setChecked(entry.MatchEntireCellContents);
    ui->chkWholeWord->setEnabled(entry.Look_In == 0);
}

// --- rows -------------------------------------------------------------------------------------

void frmMain::SetItemInGrid(const Entry& entry) {
    run("SetItemInGrid", [&] {
        EntryGrid& grid = *ui->vsflex;
        const int row = grid.Rows();
        // The texts one by one: they may hold tabulators themselves.
        grid.AddItem(QString::number(row));
        grid.setTextMatrix(row, kFindWhat, toQt(entry.FindWhat));
        grid.setTextMatrix(row, kReplaceWith, toQt(entry.ReplaceWith));
        grid.Select(row, kFindWhat, row, kFindWhat);
        grid.setRowData(row, toQt(entry.Key));
        showOptions(entry);
        grid.setTextMatrix(row, kLookIn, ui->cboLookIn->currentText());
        grid.setTextMatrix(row, kOptions, GetOptions());
    });
}

void frmMain::cmdAdd_Click() {
    run("cmdAdd_Click", [&] {
        EntryGrid& grid = *ui->vsflex;
        grid.finishEdit();
        ui->optLoad_1->setChecked(true);
        const std::string key = "Item-" + std::to_string(++mEntryKeyCounter);
        const int row = grid.Rows();
        grid.AddItem(QString::number(row));
        grid.setRowData(row, toQt(key));
        grid.setTextMatrix(row, kLookIn, ui->cboLookIn->currentText());
        grid.setTextMatrix(row, kOptions, GetOptions());
        mApplication.Items->Add("", "", static_cast<std::int16_t>(ui->cboLookIn->currentIndex()),
                                ui->chkMatchCase->isChecked(), ui->chkWholeWord->isChecked(), key);
        grid.Select(row, 0, row, grid.Cols() - 1);
        grid.setCol(kFindWhat);
        grid.setFocus();
        grid.EditCell();
        setIsModified(true);
    });
}

void frmMain::cmdDelete_Click() {
    run("cmdDelete_Click", [&] {
        EntryGrid& grid = *ui->vsflex;
        if (grid.Rows() == 1) return;
        grid.finishEdit();
        const int first = grid.SelectedRows() > 0 ? grid.SelectedRow(0) : grid.Row();
        mApplication.Items->RemoveAll(keysOfSelectedRows());
        const GridAtRest rest(grid);
        grid.setRows(1);
        for (const Entry* entry : mApplication.Items->NewEnum()) SetItemInGrid(*entry);
        HoverRow = -1;
        for (int row = 1; row < grid.Rows(); ++row)
            grid.setTextMatrix(row, kNumber, QString::number(row));
        // Not the end of the list, where the last row shown would leave the user.
        const int row = std::min(first, grid.Rows() - 1);
        if (row > 0) grid.Select(row, kFindWhat, row, kFindWhat);
        setIsModified(true);
    });
}

// --- option controls --------------------------------------------------------------------------

void frmMain::cboLookIn_Click() {
    run("cboLookIn_Click", [&] {
        const int scope = ui->cboLookIn->currentIndex();
        ui->chkWholeWord->setEnabled(scope == 0);
        if (scope != 0) ui->chkWholeWord->setChecked(false);
        const int row = rowOfOptions();
        if (scope == -1 || row == 0) return;
        ui->vsflex->setTextMatrix(row, kLookIn, ui->cboLookIn->currentText());
        if (Entry* entry = entryOfRow(row)) {
            setIsModified(true);
            entry->Look_In = static_cast<std::int16_t>(scope);
        }
    });
}

void frmMain::chkMatchCase_Click() {
    run("chkMatchCase_Click", [&] {
        const int row = rowOfOptions();
        if (row == 0) return;
        ui->vsflex->setTextMatrix(row, kOptions, GetOptions());
        if (Entry* entry = entryOfRow(row)) {
            setIsModified(true);
            entry->MatchCase = ui->chkMatchCase->isChecked();
        }
    });
}

void frmMain::chkWholeWord_Click() {
    run("chkWholeWord_Click", [&] {
        const int row = rowOfOptions();
        if (row == 0) return;
        ui->vsflex->setTextMatrix(row, kOptions, GetOptions());
        if (Entry* entry = entryOfRow(row)) {
            setIsModified(true);
            entry->MatchEntireCellContents = ui->chkWholeWord->isChecked();
        }
    });
}

// --- events of the grid -----------------------------------------------------------------------

void frmMain::vsflex_AfterRowColChange(int, int, int NewRow, int) {
    run("vsflex_AfterRowColChange", [&] {
        if (ui->vsflex->Row() == 0 || NewRow <= 0) return;
        if (const Entry* entry = entryOfRow(NewRow)) showOptions(*entry);
    });
}

void frmMain::vsflex_BeforeEdit(int Row, int Col, bool& Cancel) {
    run("vsflex_BeforeEdit", [&] {
        if (ui->vsflex->Row() == 0) return;
        Cancel = Col != kFindWhat && Col != kReplaceWith;
        if (Cancel) return;
        const GridColours colours(palette());
        clearBackColors();
        setBackColor(*ui->vsflex, Row, colours.editedRow);
        ui->vsflex->setCellBackColor(Row, Col, Row, Col, colours.editedCell);
    });
}

void frmMain::vsflex_AfterEdit(int Row, int Col) {
    run("vsflex_AfterEdit", [&] {
        if (ui->vsflex->Row() == 0) return;
        Entry* entry = entryOfRow(Row);
        if (entry != nullptr && (Col == kFindWhat || Col == kReplaceWith)) {
            (Col == kFindWhat ? entry->FindWhat : entry->ReplaceWith) =
                fromQt(ui->vsflex->TextMatrix(Row, Col));
            setIsModified(true);
        }
        clearBackColors();
    });
}

void frmMain::vsflex_DblClick() {
    run("vsflex_DblClick", [&] {
        EntryGrid& grid = *ui->vsflex;
        if (grid.Row() == 0 || (grid.Col() != kFindWhat && grid.Col() != kReplaceWith)) return;
        grid.EditCell();
        grid.setBackColorSel(GridColours(palette()).editedCell);
    });
}

void frmMain::vsflex_GotFocus() {
    run("vsflex_GotFocus", [&] {
        if (ui->vsflex->Rows() == 1)
            ui->cmdAdd->setFocus();
        else
            ui->vsflex->setCol(kFindWhat);
    });
}

void frmMain::vsflex_KeyDown(int KeyCode, Qt::KeyboardModifiers Shift, bool& handled) {
    run("vsflex_KeyDown", [&] {
        if (ui->vsflex->Row() == 0) return;
        if (KeyCode == Qt::Key_Tab) {
            handled = true;
            clearBackColors();
            ui->cmdAdd->setFocus();
        } else if (KeyCode == Qt::Key_Delete) {
            handled = true;
            cmdDelete_Click();
        } else if (startsEdit(KeyCode, Shift)) {
            ui->vsflex->EditCell();
            handled = ui->vsflex->isEditWindowOpen();
        }
    });
}

void frmMain::vsflex_KeyDownEdit(int Row, int Col, int KeyCode, Qt::KeyboardModifiers Shift) {
    run("vsflex_KeyDownEdit", [&] {
        EntryGrid& grid = *ui->vsflex;
        if (grid.Row() == 0 || KeyCode != Qt::Key_Tab || Shift != Qt::NoModifier) return;
        clearBackColors();
        if (Col == kReplaceWith) {
            if (Row == grid.Rows() - 1) {
                cmdAdd_Click();
                grid.setCol(kNumber);
            } else {
                grid.setCol(kNumber);
                grid.setRow(Row + 1);
            }
        } else if (Col != kFindWhat) {
            return;
        }
        grid.setFocus();
        grid.takeTabStep();
        grid.EditCell();
    });
}

void frmMain::vsflex_MouseMove(Qt::MouseButtons Button) {
    run("vsflex_MouseMove", [&] {
        EntryGrid& grid = *ui->vsflex;
        if (grid.Row() == 0) return;
        if (HoverRow != -1) setUnderline(grid, HoverRow, false);
        const int row = grid.MouseRow();
        if (Button != Qt::NoButton || row <= 0) return;
        setUnderline(grid, row, true);
        HoverRow = row;
    });
}

// --- colours ----------------------------------------------------------------------------------

void frmMain::clearBackColors() {
    EntryGrid& grid = *ui->vsflex;
    grid.setCellBackColor(1, 0, grid.Rows() - 1, grid.Cols() - 1, {});
    Timer1.start();
}

void frmMain::Timer1_Timer() {
    run("Timer1_Timer", [&] {
        EntryGrid& grid = *ui->vsflex;
        const GridAtRest rest(grid);
        const GridColours colours(palette());
        const bool hasCurrentRow = grid.Row() != 0;
        if (hasCurrentRow) grid.setCellBackColor(1, 0, grid.Rows() - 1, grid.Cols() - 1, {});
        for (int index = 0; index < grid.SelectedRows(); ++index)
            setBackColor(grid, grid.SelectedRow(index), colours.selected);
        if (grid.SelectedRows() > 0 && grid.isEditWindowOpen() && hasCurrentRow)
            grid.setCellBackColor(grid.Row(), grid.Col(), grid.Row(), grid.Col(),
                                  colours.editedCell);
    });
}

}  // namespace brindle
