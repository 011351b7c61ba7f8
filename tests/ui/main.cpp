// SPDX-License-Identifier: MIT
// Tests of real windows, on no screen unless QT_QPA_PLATFORM names one.
#include <gtest/gtest.h>

#include <stdlib.h>

#include <QApplication>

int main(int argc, char** argv) {
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    setenv("QT_STYLE_OVERRIDE", "fusion", 0);
    testing::InitGoogleTest(&argc, argv);
    QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
