// SPDX-License-Identifier: MIT
#include "ui/common/Dialogs.h"

#include <QFileDialog>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QStringList>

#include "base/Error.h"
#include "ui/common/QtText.h"

namespace brindle {

namespace {

QMessageBox::Icon iconOf(MessageIcon icon) {
    switch (icon) {
        case MessageIcon::Information:
            return QMessageBox::Information;
        case MessageIcon::Question:
            return QMessageBox::Question;
        case MessageIcon::Exclamation:
            return QMessageBox::Warning;
        case MessageIcon::Critical:
            return QMessageBox::Critical;
        case MessageIcon::None:
            break;
    }
    return QMessageBox::NoIcon;
}

QMessageBox::StandardButtons buttonsOf(MessageButtons buttons) {
    switch (buttons) {
        case MessageButtons::YesNo:
            return QMessageBox::Yes | QMessageBox::No;
        case MessageButtons::YesNoCancel:
            return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
        case MessageButtons::Ok:
            break;
    }
    return QMessageBox::Ok;
}

// Closing a box with its close mark or Escape takes its harmless answer.
MessageAnswer answerOf(int button, MessageButtons buttons) {
    if (button == QMessageBox::Yes) return MessageAnswer::Yes;
    if (buttons == MessageButtons::Ok) return MessageAnswer::Ok;
    if (button == QMessageBox::No || buttons == MessageButtons::YesNo) return MessageAnswer::No;
    return MessageAnswer::Cancel;
}

// "A (*.a)|*.a|B (*.b)|*.b" as "A (*.a);;B (*.b)"; a description without a pattern gets its own.
QString qtFilter(const std::string& filter) {
    const QStringList parts = toQt(filter).split('|', Qt::SkipEmptyParts);
    QStringList filters;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        const bool named = parts[i].endsWith(')');
        filters << (named ? parts[i] : parts[i] + " (" + parts[i + 1] + ")");
    }
    return filters.join(";;");
}

// The window that a dialog belongs to may be deleted while the dialog waits for its answer, when
// the session ends, say; the dialog goes with it, and has no answer then.
template <class Dialog>
class Waiting {
public:
    explicit Waiting(Dialog* dialog) : mDialog(dialog) {}
    ~Waiting() { delete mDialog; }
    Waiting(const Waiting&) = delete;
    Waiting& operator=(const Waiting&) = delete;

    Dialog* operator->() const { return mDialog; }

private:
    QPointer<Dialog> mDialog;
};

// An existing file is no reason for a question of the dialog's own.
std::string pathFrom(QWidget* parent, const FileQuestion& question, QFileDialog::AcceptMode accept,
                     QFileDialog::FileMode mode) {
    const Waiting dialog(
        new QFileDialog(parent, toQt(question.title), {}, qtFilter(question.filter)));
    dialog->setAcceptMode(accept);
    dialog->setFileMode(mode);
    dialog->setOption(QFileDialog::DontConfirmOverwrite);
    dialog->setOption(QFileDialog::ShowDirsOnly, mode == QFileDialog::Directory);
    if (dialog->exec() != QDialog::Accepted || dialog->selectedFiles().isEmpty())
        throw Error(ErrorKind::Cancelled, error_number::kDialogCancelled, "Cancel was selected");
    return fromQt(dialog->selectedFiles().constFirst());
}

}  // namespace

MessageAnswer PlatformDialogs::show(QWidget* parent, const Message& message) {
    const Waiting box(new QMessageBox(parent));
    box->setIcon(iconOf(message.icon));
    box->setWindowTitle(message.title.empty() ? QStringLiteral("Tarvello for Excel")
                                              : toQt(message.title));
    box->setTextFormat(Qt::PlainText);
    box->setText(toQt(message.text));
    box->setStandardButtons(buttonsOf(message.buttons));
    if (message.help) {
        // A button of the box would close it; this one is disconnected from it.
        QPushButton* help = box->addButton(QMessageBox::Help);
        help->disconnect();
        QObject::connect(help, &QPushButton::clicked, help, message.help);
    }
    return answerOf(box->exec(), message.buttons);
}

// Any name: the ready-made question for an existing file would itself complain of others, in its
// own words.
std::string PlatformDialogs::openFile(QWidget* parent, const FileQuestion& question) {
    return pathFrom(parent, question, QFileDialog::AcceptOpen, QFileDialog::AnyFile);
}

std::string PlatformDialogs::saveFile(QWidget* parent, const FileQuestion& question) {
    return pathFrom(parent, question, QFileDialog::AcceptSave, QFileDialog::AnyFile);
}

std::string PlatformDialogs::browseForFolder(QWidget* parent, const std::string& title) {
    return pathFrom(parent, {title, {}}, QFileDialog::AcceptOpen, QFileDialog::Directory);
}

}  // namespace brindle
