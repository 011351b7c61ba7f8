// SPDX-License-Identifier: MIT
// The real hand-over to the user's desktop, with a launcher of the test's own in its place.
#include <sys/stat.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include <QByteArray>
#include <QTest>

#include "ScopedEnvironment.h"
#include "TempDir.h"
#include "ui/common/Desktop.h"

namespace brindle {
namespace {

class OpenDocument : public testing::Test {
protected:
    void launcherDoes(const std::string& commands) {
        const std::string launcher = folder.write("bin/xdg-open", "#!/bin/sh\n" + commands + "\n");
        chmod(launcher.c_str(), 0755);
    }

    test::TempDir folder;
    test::ScopedEnvironment path{"PATH", folder.path("bin") + ":/usr/bin:/bin"};
    test::ScopedEnvironment out{"OPENED", folder.path("opened")};
    PlatformDesktop desktop;
};

TEST_F(OpenDocument, EveryNameArrivesAsItIs) {
    launcherDoes("printf %s \"$#$1\" > \"$OPENED\"");
    for (const std::string name :
         {"plain.xls", "two blanks .xls", "100%25 #1 ?a=b&c.xls", "line\nbreak.xls", "\n",
          "not UTF-8 \xFF\xC3.xls", "\u00e9\U0001F600.xls", "-n.xls", "$(id) `id` \"'\\.xls"}) {
        const std::string document = folder.write("documents/" + name, "x");
        EXPECT_EQ(desktop.openDocument(document), open_result::kOpened) << name;
        const QByteArray opened = QByteArray::fromStdString(folder.read("opened"));
        EXPECT_EQ(QByteArray::fromPercentEncoding(opened).toStdString(), "1file://" + document);
        for (const char sign : opened) EXPECT_TRUE(sign > ' ' && sign < 127) << name;
    }
    EXPECT_EQ(desktop.openDocument(folder.path("documents")), open_result::kOpened);
}

TEST_F(OpenDocument, WhatIsNotThereIsNotHandedOver) {
    launcherDoes("echo called > \"$OPENED\"");
    const std::string file = folder.write("a.xls", "x");
    const std::pair<std::string, int> rows[] = {
        {folder.path("gone.xls"), open_result::kFileNotFound},
        {folder.path("no folder/gone.xls"), open_result::kPathNotFound},
        {file + "/b.xls", open_result::kPathNotFound},
        {folder.path(std::string(300, 'x')), open_result::kPathNotFound},
        {"", open_result::kFileNotFound}};
    for (const auto& [document, answer] : rows)
        EXPECT_EQ(desktop.openDocument(document), answer) << document;
    if (geteuid() != 0) {
        chmod(file.c_str(), 0);
        EXPECT_EQ(desktop.openDocument(file), open_result::kAccessDenied);
    }
    EXPECT_FALSE(folder.has("opened"));
}

TEST_F(OpenDocument, TheLauncherSaysWhatBecameOfIt) {
    const std::string file = folder.write("a.xls", "x");
    const std::pair<const char*, int> rows[] = {
        {"exit 0", open_result::kOpened},        {"exit 1", open_result::kUnknown},
        {"exit 2", open_result::kFileNotFound},  {"exit 3", open_result::kNoAssociation},
        {"exit 4", open_result::kNoAssociation}, {"kill -9 $$", open_result::kUnknown}};
    for (const auto& [commands, answer] : rows) {
        launcherDoes(commands);
        EXPECT_EQ(desktop.openDocument(file), answer) << commands;
    }
    launcherDoes("sleep 1.5; exit 3");
    EXPECT_EQ(desktop.openDocument(file), open_result::kOpened) << "is not waited for";
    QTest::qWait(1000);  // what is left of it goes with its end
}

TEST_F(OpenDocument, WithoutALauncherThereIsNoAssociation) {
    const test::ScopedEnvironment nothing{"PATH", folder.path("empty")};
    EXPECT_EQ(desktop.openDocument(folder.write("a.xls", "x")), open_result::kNoAssociation);
}

}  // namespace
}  // namespace brindle
