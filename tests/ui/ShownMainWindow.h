// SPDX-License-Identifier: MIT
// The main window as a user without any project sees it.
#pragma once

#include <string>

#include <gtest/gtest.h>
#include <QTest>

#include "Controls.h"
#include "FakeServices.h"
#include "ui/common/QtText.h"
#include "ui/main/frmMain.h"

namespace brindle::test {

struct ShownMainWindow {
    FakeUser user;
    frmMain window{user.services};

    ShownMainWindow() {
        window.Form_Load({});
        window.show();
        window.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window)) << "hears no keys before";
    }

    template <class Kind = QWidget>
    Kind& control(const std::string& name) {
        return controlOf<Kind>(window, name);
    }
    void click(const std::string& name) {
        QTest::mouseClick(&control(name), Qt::LeftButton, {}, {8, control(name).height() / 2});
    }
};

}  // namespace brindle::test
