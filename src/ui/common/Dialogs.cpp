// SPDX-License-Identifier: MIT
#include "ui/common/Dialogs.h"

#include <QFileDialog>
#include <QMessageBox>
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

std::string chosen(const QString& path) {
    if (path.isEmpty())
        throw Error(ErrorKind::Cancelled, error_number::kDialogCancelled, "Cancel was selected");
    return fromQt(path);
}

}  // namespace

MessageAnswer PlatformDialogs::show(QWidget* parent, const Message& message) {
    QMessageBox box(parent);
    box.setIcon(iconOf(message.icon));
    box.setWindowTitle(message.title.empty() ? QStringLiteral("Tarvello for Excel")
                                             : toQt(message.title));
    box.setTextFormat(Qt::PlainText);
    box.setText(toQt(message.text));
    box.setStandardButtons(buttonsOf(message.buttons));
    if (message.help) {
        // A button of the box would close it; this one is disconnected from it.
        QPushButton* help = box.addButton(QMessageBox::Help);
        help->disconnect();
        QObject::connect(help, &QPushButton::clicked, &box, message.help);
    }
    return answerOf(box.exec(), message.buttons);
}

// Not the ready-made question for an existing file: it would itself complain of any other, in its
// own words.
std::string PlatformDialogs::openFile(QWidget* parent, const FileQuestion& question) {
    QFileDialog dialog(parent, toQt(question.title), {}, qtFilter(question.filter));
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setFileMode(QFileDialog::AnyFile);
    return chosen(dialog.exec() == QDialog::Accepted ? dialog.selectedFiles().value(0) : QString());
}

std::string PlatformDialogs::saveFile(QWidget* parent, const FileQuestion& question) {
    return chosen(QFileDialog::getSaveFileName(parent, toQt(question.title), {},
                                               qtFilter(question.filter), nullptr,
                                               QFileDialog::DontConfirmOverwrite));
}

std::string PlatformDialogs::browseForFolder(QWidget* parent, const std::string& title) {
    return chosen(QFileDialog::getExistingDirectory(parent, toQt(title)));
}

}  // namespace brindle
