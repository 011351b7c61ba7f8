// SPDX-License-Identifier: MIT
// Every window in every language that is shipped: nothing empty, clipped, unnamed or with the same
// access key twice.
#include <algorithm>
#include <atomic>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lang/frmChangeLanguage.h"
#include "lang/modINI.h"
#include "shell/frmAbout.h"
#include "ShownMainWindow.h"
#include "ui/help/frmHelp.h"
#include "ui/processing/frmProcessingDocuments.h"
#include "WindowAudit.h"

namespace brindle {
namespace {

class AllWindowsAudit : public testing::TestWithParam<std::string> {
protected:
    AllWindowsAudit() { gLanguageFile = GetParam(); }
    ~AllWindowsAudit() override { gLanguageFile = "English.lng"; }

    std::atomic<bool> mStopProcessing{false};
    RunFlags mFlags{mStopProcessing};
};

void expectNoFault(QWidget& window, const char* size) {
    QCoreApplication::processEvents();
    EXPECT_THAT(test::auditWindow(window), testing::IsEmpty())
        << gLanguageFile << ", " << window.objectName().toStdString() << ", " << size;
}

// As it comes, and as small as it can be made.
void audit(QWidget& window) {
    window.show();
    expectNoFault(window, "as it comes");
    window.resize(1, 1);
    expectNoFault(window, "at its smallest");
    window.close();
}

TEST_P(AllWindowsAudit, FindsNothing) {
    test::ShownMainWindow main;
    frmAbout about(&main.window);
    audit(about);
    frmChangeLanguage change(main.user.services);
    audit(change);
    auto* help = new frmHelp(&main.window);  // deletes itself when it is closed
    help->showPage({});
    audit(*help);
    // Deletes itself, too.
    auto* processing = new frmProcessingDocuments(main.user.services, mFlags, &main.window);
    audit(*processing);
    audit(main.window);
    EXPECT_EQ(main.user.errorLog(), "");
}

std::vector<std::string> shippedLanguages() {
    std::vector<std::string> names;
    for (const auto& file :
         std::filesystem::directory_iterator(BRINDLE_SOURCE_DIR "/data/Languages"))
        names.push_back(file.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

// Names of tests are letters and digits.
std::string testName(const testing::TestParamInfo<std::string>& file) {
    std::string name = std::filesystem::path(file.param).stem().string();
    std::erase(name, ' ');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Languages, AllWindowsAudit, testing::ValuesIn(shippedLanguages()),
                         testName);

}  // namespace
}  // namespace brindle
