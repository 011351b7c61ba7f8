// SPDX-License-Identifier: MIT
// Projects and start folders that are dropped on the window.
#include "ui/main/frmMain.h"

#include <filesystem>
#include <optional>

#include <QDropEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QUrl>

#include "ui/common/QtText.h"
#include "ui_frmMain.h"

namespace brindle {

namespace {

struct Dropped {
    std::string path;
    bool isFolder;
};

// As bytes: a name need not be UTF-8. Empty when it is on another machine.
std::string localPath(const QUrl& url) {
    const bool isHere = url.host().isEmpty() || url.host() == "localhost";
    if (!url.isLocalFile() || !isHere) return {};
    const QByteArray encoded = url.path(QUrl::FullyEncoded).toLatin1();
    return QByteArray::fromPercentEncoding(encoded).toStdString();
}

std::optional<Dropped> firstUsable(const QMimeData& data) {
    for (const QUrl& url : data.urls()) {
        const std::string path = localPath(url);
        std::error_code failure;
        const std::filesystem::file_status status = std::filesystem::status(path, failure);
        if (std::filesystem::is_directory(status)) return Dropped{path, true};
        if (std::filesystem::is_regular_file(status) && path.ends_with(".tvl"))
            return Dropped{path, false};
    }
    return std::nullopt;
}

// As the folder browser gives it.
std::string withoutEnd(std::string folder) {
    while (folder.size() > 1 && folder.ends_with('/')) folder.pop_back();
    return folder;
}

}  // namespace

void frmMain::connectDrop() {
    for (QLineEdit* box : findChildren<QLineEdit*>()) box->installEventFilter(this);
}

// A text box would take the address of a file for a text to insert.
bool frmMain::dropOnTextBox(QObject* watched, QEvent* event) {
    const bool isDrop = event->type() == QEvent::DragEnter || event->type() == QEvent::DragMove ||
                        event->type() == QEvent::Drop;
    if (!isDrop || qobject_cast<QLineEdit*>(watched) == nullptr) return false;
    auto* drop = static_cast<QDropEvent*>(event);
    if (!drop->mimeData()->hasUrls()) return false;
    if (event->type() == QEvent::Drop)
        dropEvent(drop);
    else
        takeDrag(*drop);
    return true;
}

// Always a copy: where things come from they must not be taken for moved.
void frmMain::takeDrag(QDropEvent& event) {
    event.setDropAction(Qt::CopyAction);
    event.ignore();
    run("Form_DragOver",
        [&] { event.setAccepted(!isRunning() && firstUsable(*event.mimeData())); });
}

void frmMain::dragEnterEvent(QDragEnterEvent* event) {
    takeDrag(*event);
}

void frmMain::dropEvent(QDropEvent* event) {
    takeDrag(*event);
    if (!event->isAccepted()) return;
    run("Form_DragDrop", [&] {
        const Dropped dropped = firstUsable(*event->mimeData()).value();
        if (dropped.isFolder)
            startFrom(withoutEnd(dropped.path));
        else
            OpenProject(dropped.path);
    });
}

// With a separator behind the name, as cmdBrowse2_Click does it.
void frmMain::startFrom(const std::string& folder) {
    ui->txtStartFolder->setText(toQt(folder + "/"));
    ui->optFileProcess_0->setChecked(true);
    ui->SSTab1->setCurrentWidget(ui->picFileToProcess);
}

}  // namespace brindle
