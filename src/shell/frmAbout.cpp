// SPDX-License-Identifier: MIT
#include "shell/frmAbout.h"

#include "lang/Captions.h"
#include "ui/common/Icons.h"
#include "ui/common/QtText.h"
#include "ui_frmAbout.h"

namespace brindle {

namespace {

constexpr int kIconSize = 64;

}  // namespace

frmAbout::frmAbout(QWidget* owner) : QDialog(owner), ui(std::make_unique<Ui::frmAbout>()) {
    ui->setupUi(this);
    ui->imgIcon->setPixmap(
        ownIcon("Brindle").pixmap(QSize(kIconSize, kIconSize), devicePixelRatioF()));
    ui->txtLicences->setPlainText(
        toQt(compiledFile("Licence.txt") + "\n\n" + compiledFile("ThirdParty.txt")));
    connect(ui->cmdQuit, &QPushButton::clicked, this, &QDialog::accept);
    LoadLng();
}

frmAbout::~frmAbout() = default;

void frmAbout::LoadLng() {
    setWindowTitle(captionOf("frmAbout", "frmAbout"));
    loadCaptions(*this, {.section = "frmAbout", .kept = {"lblProduct"}});
    ui->lblVersion->setText(ui->lblVersion->text().replace("%s", BRINDLE_VERSION));
}

}  // namespace brindle
