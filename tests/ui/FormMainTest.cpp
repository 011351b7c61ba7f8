// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "FakeServices.h"
#include "ui/main/frmMain.h"

namespace brindle {
namespace {

TEST(FormMain, HasItsControlsByName) {
    test::FakeUser user;
    frmMain window(user.services);
    for (const char* name : {"SSTab1", "vsflex", "optLoad(0)", "optFileProcess(1)", "cmdAdd"})
        EXPECT_NE(window.findChild<QWidget*>(name), nullptr) << name;
}

}  // namespace
}  // namespace brindle
