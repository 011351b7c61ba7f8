// SPDX-License-Identifier: MIT
#include "ui/common/Desktop.h"

#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QClipboard>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QProcess>
#include <QUrl>

#include <filesystem>
#include <memory>

#include "base/Error.h"
#include "ui/common/QtText.h"

namespace brindle {

namespace {

// A launcher that fails does so soon; one that works may well run as long as the program.
constexpr int kLauncherPatience = 1000;  // milliseconds

int answerTo(int errnoValue, const std::string& path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    switch (errnoValue) {
        case ENOENT:
            return folder.empty() || access(folder.c_str(), F_OK) == 0 ? open_result::kFileNotFound
                                                                       : open_result::kPathNotFound;
        case ENOTDIR:
        case ELOOP:
        case ENAMETOOLONG:
            return open_result::kPathNotFound;
        case EACCES:
        case EPERM:
            return open_result::kAccessDenied;
        case ENOMEM:
            return open_result::kOutOfMemory;
        case ETXTBSY:
            return open_result::kSharingViolation;
        default:
            return open_result::kUnknown;
    }
}

// Every byte of a path, whatever it stands for, survives as an address.
QByteArray fileAddress(const std::string& path) {
    const std::string absolute = std::filesystem::absolute(path).string();
    return "file://" + QByteArray::fromStdString(absolute).toPercentEncoding("/");
}

// By what the manual of xdg-open says.
int answerTo(const QProcess& launcher) {
    if (launcher.exitStatus() != QProcess::NormalExit) return open_result::kUnknown;
    switch (launcher.exitCode()) {
        case 0:
            return open_result::kOpened;
        case 2:
            return open_result::kFileNotFound;
        case 3:  // nothing there that could open it
        case 4:  // nothing that is there would
            return open_result::kNoAssociation;
        default:
            return open_result::kUnknown;
    }
}

int launch(const QByteArray& address) {
    // Belongs to itself: its destructor would end a launcher that runs on.
    auto* launcher = new QProcess;
    QObject::connect(launcher, &QProcess::finished, launcher, &QObject::deleteLater);
    launcher->setStandardInputFile(QProcess::nullDevice());
    launcher->setStandardOutputFile(QProcess::nullDevice());
    launcher->setStandardErrorFile(QProcess::nullDevice());
    // Not to be ended by what ends us, such as Ctrl+C in a terminal.
    launcher->setChildProcessModifier([] { setsid(); });
    launcher->start("xdg-open", {QString::fromLatin1(address)});
    if (!launcher->waitForStarted()) {
        launcher->deleteLater();
        return QDesktopServices::openUrl(QUrl::fromEncoded(address)) ? open_result::kOpened
                                                                     : open_result::kNoAssociation;
    }
    return launcher->waitForFinished(kLauncherPatience) ? answerTo(*launcher)
                                                        : open_result::kOpened;
}

}  // namespace

void PlatformDesktop::openWebPage(const std::string& address) {
    if (!QDesktopServices::openUrl(QUrl(toQt(address))))
        throw Error(ErrorKind::System, error_number::kCannotCreateObject,
                    "The browser cannot be started");
}

int PlatformDesktop::openDocument(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0 || access(path.c_str(), R_OK) != 0)
        return answerTo(errno, path);
    return launch(fileAddress(path));
}

void PlatformDesktop::setClipboardText(const std::string& text) {
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    clipboard->setText(toQt(text));
}

}  // namespace brindle
