// SPDX-License-Identifier: MIT
#include "ui/main/frmMain.h"

#include "lang/Captions.h"
#include "lang/frmChangeLanguage.h"
#include "lang/modINI.h"
#include "lang/StandardTexts.h"
#include "ui/common/QtText.h"
#include "ui_frmMain.h"

namespace brindle {

void frmMain::LoadLng() {
    run("LoadLng", [&] {
        mAppTitle = GetLngString("frmMain", "frmMain.caption");
        // A project that has a file is called after it.
        if (mCurrentFile.empty() || mCurrentFile.find(mProjectName) == std::string::npos)
            mProjectName = GetLngString("global msg", "1016");
        loadStandardTexts();
        loadCaptions(*this, {"frmMain", true, 2});
        for (int column = 0; column < 5; ++column) {
            const std::string key = "vsflex.TextMatrix(0," + std::to_string(column) + ")";
            ui->vsflex->setTextMatrix(0, column, toQt(GetLngString("frmMain", key)));
        }
        SetCaption();
    });
}

void frmMain::mnuChangeLanguage_Click() {
    run("mnuChangeLanguage_Click", [&] {
        frmChangeLanguage dialog(mServices);
        connect(&dialog, &frmChangeLanguage::LanguageChanged, this,
                &frmMain::mfrmChangeLanguage_LanguageChanged);
        dialog.exec();
    });
}

void frmMain::mfrmChangeLanguage_LanguageChanged() {
    run("mfrmChangeLanguage_LanguageChanged", [&] { LoadLng(); });
}

}  // namespace brindle
