// SPDX-License-Identifier: MIT
// The dialog in which the user picks one of the language files.
#pragma once

#include <memory>

#include <QDialog>

#include "ui/common/Services.h"

namespace brindle {

namespace Ui {
class frmChangeLanguage;
}

class frmChangeLanguage : public QDialog {
    Q_OBJECT

public:
    explicit frmChangeLanguage(Services& services);
    ~frmChangeLanguage() override;

Q_SIGNALS:
    // The picked language is in use and stored.
    void LanguageChanged();

private:
    void Form_Load();
    void LoadLng();
    void LoadLanguageFiles();
    void cmdOK_Click();
    void cmdCancel_Click();

    Services& mServices;
    std::unique_ptr<Ui::frmChangeLanguage> ui;
};

}  // namespace brindle
