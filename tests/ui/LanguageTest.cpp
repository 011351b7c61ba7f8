// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <QAction>
#include <QLabel>
#include <QPushButton>

#include "FakeServices.h"
#include "lang/modINI.h"
#include "ui/main/frmMain.h"

namespace brindle {
namespace {

TEST(Language, MainWindowTakesItsTexts) {
    test::FakeUser user;
    frmMain window(user.services);
    window.LoadLng();
    EXPECT_EQ(window.findChild<QPushButton*>("cmdAdd")->text(), "&Add");
    EXPECT_TRUE(window.findChild<QAction*>("mnuSep1")->isSeparator());
}

}  // namespace
}  // namespace brindle
