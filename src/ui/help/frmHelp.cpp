// SPDX-License-Identifier: MIT
#include "ui/help/frmHelp.h"

#include <QFileInfo>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextList>
#include <QTreeWidgetItemIterator>
#include <QUrl>

#include "base/AppFolder.h"
#include "lang/Captions.h"
#include "lang/modINI.h"
#include "shell/ErrorLog.h"
#include "ui/common/QtText.h"
#include "ui_frmHelp.h"

namespace brindle {

namespace {

constexpr const char* kFirstPage = "contents";

QString pagePath(const QString& name) {
    return toQt(shippedPath("Help")) + "/" + name + ".html";
}

struct ContentsLine {
    QString title;
    QString address;
    int level = 0;  // 1 for an outer list
};

QList<ContentsLine> linesOf(const QTextDocument& page) {
    QList<ContentsLine> lines;
    for (QTextBlock block = page.begin(); block.isValid(); block = block.next()) {
        const QTextList* list = block.textList();
        if (list == nullptr || block.begin().atEnd()) continue;
        const QString address = block.begin().fragment().charFormat().anchorHref();
        if (!address.isEmpty())
            lines.push_back({block.text().trimmed(), address, list->format().indent()});
    }
    return lines;
}

}  // namespace

frmHelp::frmHelp(QWidget* owner) : QWidget(owner, Qt::Window), ui(std::make_unique<Ui::frmHelp>()) {
    setAttribute(Qt::WA_DeleteOnClose);
    ui->setupUi(this);
    ui->splitter->setStretchFactor(1, 1);
    connect(ui->cmdBack, &QPushButton::clicked, ui->txtPage, &QTextBrowser::backward);
    connect(ui->cmdForward, &QPushButton::clicked, ui->txtPage, &QTextBrowser::forward);
    connect(ui->cmdContents, &QPushButton::clicked, this, [this] { showPage({}); });
    connect(ui->txtPage, &QTextBrowser::backwardAvailable, ui->cmdBack, &QWidget::setEnabled);
    connect(ui->txtPage, &QTextBrowser::forwardAvailable, ui->cmdForward, &QWidget::setEnabled);
    connect(ui->txtPage, &QTextBrowser::sourceChanged, this,
            [this](const QUrl& page) { selectInContents(page); });
    connect(ui->trvContents, &QTreeWidget::itemSelectionChanged, this, [this] {
        const auto chosen = ui->trvContents->selectedItems();
        if (!chosen.isEmpty())
            ui->txtPage->setSource(chosen.first()->data(0, Qt::UserRole).toUrl());
    });
    LoadLng();
    readContents();
}

frmHelp::~frmHelp() = default;

void frmHelp::LoadLng() {
    guarded({"LoadLng", ModuleKind::Form, "frmHelp"}, [this] {
        setWindowTitle(captionOf("frmHelp", "frmHelp"));
        loadCaptions(*this, {"frmHelp"});
        ui->trvContents->setAccessibleName(withoutMnemonic(ui->cmdContents->text()));
    });
}

void frmHelp::showPage(const std::string& name) {
    guarded({"showPage", ModuleKind::Form, "frmHelp"}, [&] {
        const QString path = pagePath(name.empty() ? kFirstPage : toQt(name));
        if (QFileInfo::exists(path)) {
            ui->txtPage->setSource(QUrl::fromLocalFile(path));
        } else {
            ui->txtPage->setPlainText(toQt(GetLngString("global msg", "1031")).replace("%s", path));
        }
        show();
        raise();
        activateWindow();
    });
}

void frmHelp::readContents() {
    const QUrl first = QUrl::fromLocalFile(pagePath(kFirstPage));
    QTextBrowser reader;
    reader.setSource(first);
    QTreeWidgetItem* chapter = nullptr;
    for (const ContentsLine& line : linesOf(*reader.document())) {
        const bool isChapter = line.level <= 1 || chapter == nullptr;
        auto* item =
            isChapter ? new QTreeWidgetItem(ui->trvContents) : new QTreeWidgetItem(chapter);
        item->setText(0, line.title);
        item->setData(0, Qt::UserRole, first.resolved(QUrl(line.address)));
        if (isChapter) chapter = item;
    }
    ui->trvContents->expandAll();
}

// The line of the page that is shown, without showing it once more.
void frmHelp::selectInContents(const QUrl& shown) {
    const QSignalBlocker blocker(ui->trvContents);
    ui->trvContents->clearSelection();
    QTreeWidgetItem* samePage = nullptr;
    for (QTreeWidgetItemIterator at(ui->trvContents); *at; ++at) {
        const QUrl address = (*at)->data(0, Qt::UserRole).toUrl();
        if (address == shown) return ui->trvContents->setCurrentItem(*at);
        if (samePage == nullptr && address.matches(shown, QUrl::RemoveFragment)) samePage = *at;
    }
    if (samePage != nullptr) ui->trvContents->setCurrentItem(samePage);
}

}  // namespace brindle
