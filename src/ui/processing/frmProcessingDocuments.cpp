// SPDX-License-Identifier: MIT
#include "ui/processing/frmProcessingDocuments.h"

#include <QCloseEvent>
#include <QStyle>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <span>
#include <utility>

#include "base/FileIo.h"
#include "base/PathLookup.h"
#include "lang/Captions.h"
#include "lang/modINI.h"
#include "shell/ErrorLog.h"
#include "ui/common/QtText.h"
#include "ui/processing/modShell.h"
#include "ui_frmProcessingDocuments.h"

namespace brindle {

namespace {

constexpr const char* kSection = "frmProcessingDocuments";
constexpr const char* kMessages = "global msg";

QIcon warningIcon(const QWidget& window) {
    return window.style()->standardIcon(QStyle::SP_MessageBoxWarning, nullptr, &window);
}

// Some desktops add marks for keys to the captions of a window.
bool isSameCaption(const QString& caption, const std::string& text) {
    return withoutMnemonic(caption) == withoutMnemonic(toQt(text));
}

}  // namespace

frmProcessingDocuments::frmProcessingDocuments(Services& services, RunFlags& flags, QWidget* owner)
    : QWidget(owner, Qt::Window),
      mServices(services),
      mFlags(flags),
      ui(std::make_unique<Ui::frmProcessingDocuments>()),
      mMenu(this) {
    setAttribute(Qt::WA_DeleteOnClose);
    ui->setupUi(this);
    // Where there is no such font, that of the desktop; the size is always that of the desktop.
    QFont tahoma;
    tahoma.setFamilies(QStringList("Tahoma") + font().families());
    setFont(tahoma);
    mReport.leavesNotChanged = [this](const RunReport::Document& document) {
        mNotChanged.remove(document);
        countRefusals(document, -1);
    };
    connectTree(*ui->trvChangedFiles, mChanged, "trvChangedFiles_DblClick",
                "trvChangedFiles_KeyDown");
    connectTree(*ui->trvNotChangedFiles, mNotChanged, "trvNotChangedFiles_DblClick",
                "trvNotChangedFiles_KeyDown");
    connectTree(*ui->trvErrors, mFailed, "trvErrors_DblClick", "trvErrors_KeyDown");
    connect(ui->cmdOK, &QPushButton::clicked, this, &frmProcessingDocuments::cmdOK_Click);
    connect(ui->cmdCopyLog, &QPushButton::clicked, this, &frmProcessingDocuments::cmdCopyLog_Click);
    connect(ui->cmdSaveLog, &QPushButton::clicked, this, &frmProcessingDocuments::cmdSaveLog_Click);
    connect(ui->mnuOpenDocument, &QAction::triggered, this,
            [this] { run("mnuOpenDocument_Click", [&] { open(mMenuPath); }); });
    connect(ui->mnuOpenFolder, &QAction::triggered, this, [this] {
        run("mnuOpenFolder_Click",
            [&] { open(std::filesystem::path(mMenuPath).parent_path().string()); });
    });
    connect(ui->mnuCopyPath, &QAction::triggered, this, [this] {
        run("mnuCopyPath_Click", [&] { mServices.desktop.setClipboardText(mMenuPath); });
    });
    mMenu.addActions({ui->mnuOpenDocument, ui->mnuOpenFolder, ui->mnuCopyPath});
    run("Form_Load", [&] { Form_Load(); });
}

frmProcessingDocuments::~frmProcessingDocuments() = default;

bool frmProcessingDocuments::run(const char* procedure, const std::function<void()>& body) const {
    return !guarded({procedure, ModuleKind::Form, kSection}, body);
}

MessageAnswer frmProcessingDocuments::tell(const std::string& text, MessageIcon icon,
                                           MessageButtons buttons) {
    return mServices.dialogs.show(this, {text, icon, buttons, {}, {}});
}

void frmProcessingDocuments::connectTree(ResultsTree& tree, ResultsModel& model,
                                         const char* dblClick, const char* keyDown) {
    model.setRemarkIcon(warningIcon(*this));
    tree.setModel(&model);
    const auto opening = [this](const char* procedure) {
        return [this, procedure](const QModelIndex& node) {
            run(procedure, [&] { OPenDocument(node); });
        };
    };
    connect(&tree, &ResultsTree::doubleClicked, this, opening(dblClick));
    connect(&tree, &ResultsTree::returnPressed, this, opening(keyDown));
    connect(&tree, &ResultsTree::menuRequested, this, &frmProcessingDocuments::showMenu);
}

void frmProcessingDocuments::Form_Load() {
    LoadLng();
    setDocumentText(GetLngString(kMessages, "1021"));
    ui->SSTab1->setCurrentIndex(0);
}

void frmProcessingDocuments::LoadLng() {
    run("LoadLng", [&] {
        setWindowTitle(captionOf(kSection, kSection));
        loadCaptions(*this, {kSection, false, 3, {"lblChangesMade"}});
        ui->SSTab1->setMinimumWidth(ui->SSTab1->tabBar()->sizeHint().width());
        setButtonText(GetLngString(kMessages, "1020"));
        mCountText = toQt(GetLngString(kSection, "106"));
        showCounts();
    });
}

void frmProcessingDocuments::AddChangedFiles(const std::string& FilePath, const Entries& Items,
                                             const DocumentResult& result) {
    run("AddChangedFiles", [&] {
        const RunReport::Filed filed =
            mReport.AddChangedFiles(FilePath, Items, mFlags.CurrentFileFailed, remarksOn(result));
        if (filed == RunReport::Filed::Changed) {
            mChanged.append(mReport.changed().back());
            countRefusals(mReport.changed().back(), 1);
        } else if (filed == RunReport::Filed::NotChanged) {
            mNotChanged.append(mReport.notChanged().back());
            countRefusals(mReport.notChanged().back(), 1);
        } else if (filed == RunReport::Filed::Failed) {
            mFailed.append(mReport.failed().back());
        }
        showCounts();
    });
}

// The remarks on a document that did not fail are its refusals.
void frmProcessingDocuments::countRefusals(const RunReport::Document& document, int by) {
    if (!document.remarks.empty()) mRefusedDocuments += by;
}

std::vector<std::string> frmProcessingDocuments::remarksOn(const DocumentResult& result) const {
    std::vector<std::string> remarks;
    if (result.status == DocumentStatus::Failed)
        remarks.push_back(result.errorDetail.empty() ? result.errorText : result.errorDetail);
    if (result.refusals.empty()) return remarks;
    const std::string form = GetLngString(kSection, "107");
    for (const Refusal& refusal : result.refusals) {
        const std::string place = placeText(refusal);
        remarks.push_back(filledIn(filledIn(form, "%s", place.empty() ? result.path : place), "%t",
                                   refusalText(refusal)));
    }
    return remarks;
}

void frmProcessingDocuments::clearTrees() {
    mChanged.clear();
    mNotChanged.clear();
    mReport.clear(true);
    mRefusedDocuments = 0;
    showCounts();
}

void frmProcessingDocuments::showCounts() {
    const int counts[] = {mChanged.rowCount(), mNotChanged.rowCount(), mFailed.rowCount()};
    const auto show = [&](int tab, int count) {
        ui->SSTab1->setTabToolTip(tab, QString(mCountText).replace("%d", QString::number(count)));
    };
    show(0, counts[0] + counts[1] + counts[2]);
    for (int list : {0, 1, 2}) show(list + 1, counts[list]);
    if (mRefusedDocuments > 0 || ui->panelWarning->isVisibleTo(this)) showWarning();
}

void frmProcessingDocuments::showWarning() {
    const int size = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
    ui->imgWarning->setPixmap(warningIcon(*this).pixmap(QSize(size, size), devicePixelRatioF()));
    ui->lblWarning->setText(
        captionOf(kSection, "lblWarning").replace("%d", QString::number(mRefusedDocuments)));
    ui->panelWarning->setVisible(mRefusedDocuments > 0);
}

void frmProcessingDocuments::setDocumentText(const std::string& text) {
    ui->lblDocChanged->setText(toQt(text));
}

void frmProcessingDocuments::setChangesText(const std::string& text) {
    ui->lblChangesMade->setText(toQt(text));
}

void frmProcessingDocuments::setProgress(int value, int maximum) {
    if (maximum >= 1) ui->pgbar1->setMaximum(maximum);
    // Otherwise it paints at once, and with it all that waits to be painted.
    ui->pgbar1->setUpdatesEnabled(false);
    ui->pgbar1->setValue(std::min(value, ui->pgbar1->maximum()));
    ui->pgbar1->setUpdatesEnabled(true);
}

int frmProcessingDocuments::progress() const {
    return ui->pgbar1->value();
}

int frmProcessingDocuments::progressMaximum() const {
    return ui->pgbar1->maximum();
}

void frmProcessingDocuments::setButtonText(const std::string& text) {
    ui->cmdOK->setText(toQt(text));
}

void frmProcessingDocuments::closeEvent(QCloseEvent* event) {
    run("Form_QueryUnload", [&] { mFlags.StopProcessing = true; });
    event->accept();
}

void frmProcessingDocuments::cmdOK_Click() {
    run("cmdOK_Click", [&] {
        const QString caption = ui->cmdOK->text();
        const std::string closing = GetLngString(kMessages, "1019");
        if (isSameCaption(caption, GetLngString(kMessages, "1020"))) {
            mFlags.StopProcessing = true;
            setButtonText(closing);
        } else if (isSameCaption(caption, closing)) {
            close();
        }
    });
}

void frmProcessingDocuments::cmdCopyLog_Click() {
    run("cmdCopyLog_Click", [&] { mServices.desktop.setClipboardText(mReport.text()); });
}

void frmProcessingDocuments::cmdSaveLog_Click() {
    const std::optional<Error> error =
        guarded({"cmdSaveLog_Click", ModuleKind::Form, kSection}, [&] { saveReport(); });
    if (!error || error->kind() == ErrorKind::Cancelled) return;
    tell(filledIn(GetLngString(kMessages, "1030"), "%s", error->description()),
         MessageIcon::Exclamation);
}

void frmProcessingDocuments::saveReport() {
    const std::string path = mServices.dialogs.saveFile(
        this, {fromQt(withoutMnemonic(captionOf(kSection, "cmdSaveLog"))), "(*.txt)|*.txt"});
    if (fileExists(path) && tell(GetLngString(kMessages, "1005"), MessageIcon::Question,
                                 MessageButtons::YesNo) != MessageAnswer::Yes)
        return;
    const std::string report = mReport.fullText();
    replaceFile(path, {}, [&](OutputFile& out) { out.write(std::as_bytes(std::span(report))); });
}

void frmProcessingDocuments::OPenDocument(const QModelIndex& Node) {
    run("OPenDocument", [&] { open(fromQt(Node.data(ResultsModel::kKeyRole).toString())); });
}

void frmProcessingDocuments::open(const std::string& path) {
    if (path.empty()) return;
    std::string ErrorText;
    OpenDoc(mServices.desktop, path, ErrorText);
    if (!ErrorText.empty()) tell(ErrorText, MessageIcon::Exclamation);
}

void frmProcessingDocuments::showMenu(const QModelIndex& node, const QPoint& at) {
    run("showMenu", [&] {
        mMenuPath = fromQt(node.data(ResultsModel::kKeyRole).toString());
        if (!mMenuPath.empty()) mMenu.popup(at);
    });
}

}  // namespace brindle
