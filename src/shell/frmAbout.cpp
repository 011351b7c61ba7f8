// SPDX-License-Identifier: MIT
#include "shell/frmAbout.h"

#include "lang/modINI.h"
#include "ui/common/Icons.h"
#include "ui/common/QtText.h"
#include "ui_frmAbout.h"

namespace brindle {

namespace {

constexpr int kIconSize = 64;

QString caption(const std::string& control) {
    return toQt(GetLngString("frmAbout", control + ".caption"));
}

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
    setWindowTitle(caption("frmAbout"));
    ui->lblVersion->setText(caption("lblVersion").replace("%s", BRINDLE_VERSION));
    ui->lblDescription->setText(caption("lblDescription"));
    ui->lblLicences->setText(caption("lblLicences"));
    ui->txtLicences->setAccessibleName(ui->lblLicences->text().remove('&'));
    ui->cmdQuit->setText(caption("cmdQuit"));
}

}  // namespace brindle
