// SPDX-License-Identifier: MIT
#include "ui/common/Desktop.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QUrl>

#include "base/Error.h"
#include "ui/common/QtText.h"

namespace brindle {

namespace {

constexpr int kOpened = 33;
constexpr int kNoAssociation = 31;

}  // namespace

void PlatformDesktop::openWebPage(const std::string& address) {
    if (!QDesktopServices::openUrl(QUrl(toQt(address))))
        throw Error(ErrorKind::System, error_number::kCannotCreateObject,
                    "The browser cannot be started");
}

int PlatformDesktop::openDocument(const std::string& path) {
    return QDesktopServices::openUrl(QUrl::fromLocalFile(toQt(path))) ? kOpened : kNoAssociation;
}

void PlatformDesktop::setClipboardText(const std::string& text) {
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    clipboard->setText(toQt(text));
}

}  // namespace brindle
