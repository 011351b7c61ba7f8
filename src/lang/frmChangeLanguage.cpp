// SPDX-License-Identifier: MIT
#include "lang/frmChangeLanguage.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <string>
#include <system_error>
#include <vector>

#include "base/AppFolder.h"
#include "base/Text.h"
#include "lang/Captions.h"
#include "lang/modINI.h"
#include "shell/ErrorLog.h"
#include "ui/common/QtText.h"
#include "ui_frmChangeLanguage.h"

namespace brindle {

namespace {

namespace fs = std::filesystem;

constexpr const char* kEnd = ".lng";

void run(const char* procedure, const std::function<void()>& body) {
    guarded({procedure, ModuleKind::Form, "frmChangeLanguage"}, body);
}

bool isLanguageFile(const fs::directory_entry& file) {
    const std::string name = text::lowerAscii(file.path().filename().string());
    return name.ends_with(kEnd) && !name.starts_with('.') && file.is_regular_file();
}

// Names without folder, in the order of the alphabet. No folder, no languages.
std::vector<std::string> languageFiles() {
    std::vector<std::string> names;
    if (!fs::exists(languagesFolder())) return names;
    for (const fs::directory_entry& file : fs::directory_iterator(languagesFolder()))
        if (isLanguageFile(file)) names.push_back(file.path().filename().string());
    std::sort(names.begin(), names.end(), [](const std::string& a, const std::string& b) {
        return text::fold(a) < text::fold(b);
    });
    return names;
}

}  // namespace

frmChangeLanguage::frmChangeLanguage(Services& services)
    : mServices(services), ui(std::make_unique<Ui::frmChangeLanguage>()) {
    ui->setupUi(this);
    connect(ui->cmdOK, &QPushButton::clicked, this, &frmChangeLanguage::cmdOK_Click);
    connect(ui->cmdCancel, &QPushButton::clicked, this, &frmChangeLanguage::cmdCancel_Click);
    Form_Load();
}

frmChangeLanguage::~frmChangeLanguage() = default;

void frmChangeLanguage::Form_Load() {
    run("Form_Load", [&] {
        LoadLng();
        LoadLanguageFiles();
    });
}

void frmChangeLanguage::LoadLng() {
    run("LoadLng", [&] { loadCaptions(*this, {"frmChangeLanguage"}); });
}

void frmChangeLanguage::LoadLanguageFiles() {
    run("LoadLanguageFiles", [&] {
        ui->cboLanguage->clear();
        for (const std::string& file : languageFiles()) {
            ui->cboLanguage->addItem(toQt(text::replaceAll(file, kEnd, "", CaseMode::Exact)),
                                     toQt(file));
        }
        ui->cboLanguage->setCurrentIndex(ui->cboLanguage->findData(toQt(gLanguageFile)));
    });
}

void frmChangeLanguage::cmdOK_Click() {
    run("cmdOK_Click", [&] {
        gLanguageFile = fromQt(ui->cboLanguage->currentText()) + kEnd;
        mServices.settings.set("Brindle", "INIFILE", "PATH", gLanguageFile);
        accept();
        Q_EMIT LanguageChanged();
    });
}

void frmChangeLanguage::cmdCancel_Click() {
    run("cmdCancel_Click", [&] { reject(); });
}

}  // namespace brindle
