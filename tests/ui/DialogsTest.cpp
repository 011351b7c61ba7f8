// SPDX-License-Identifier: MIT
// The platform's own file dialogs, answered with the keyboard.
#include <gtest/gtest.h>

#include <QApplication>
#include <QLineEdit>
#include <QTest>
#include <QTimer>

#include "base/Error.h"
#include "Controls.h"
#include "TempDir.h"
#include "ui/common/Dialogs.h"

namespace brindle {
namespace {

class FileDialogs : public testing::Test {
protected:
    // What comes of a name that is typed into the next dialog; "more questions" when it does not
    // end there, and the number of the error that the dialog throws.
    template <class Ask>
    std::string answerTo(const std::string& typed, Ask ask) {
        std::string more;
        QTimer::singleShot(0, [&] {
            QWidget& dialog = *QApplication::activeModalWidget();
            auto& name = test::controlOf<QLineEdit>(dialog, "fileNameEdit");
            name.setText(toQt(typed));
            // Before a further question, which would hold this up.
            QTimer::singleShot(300, &dialog, [&] {
                more = "more questions";
                for (QWidget* open : QApplication::topLevelWidgets()) open->close();
            });
            QTest::keyClick(&name, typed.empty() ? Qt::Key_Escape : Qt::Key_Return);
        });
        try {
            const std::string chosen = ask();
            return more + chosen;
        } catch (const Error& error) {
            return more + std::to_string(error.number());
        }
    }

    test::TempDir folder;
    PlatformDialogs dialogs;
};

TEST_F(FileDialogs, TakeAnyNameAsItIsTyped) {
    const std::string old = folder.write("old.tvl", "");
    const FileQuestion question{"Title", "Tarvello-Excel Setting File (*.tvl)|*.tvl"};
    const auto open = [&] { return dialogs.openFile(nullptr, question); };
    const auto save = [&] { return dialogs.saveFile(nullptr, question); };
    for (const std::string& name : {old, folder.path("new.tvl"), folder.path("new")}) {
        EXPECT_EQ(answerTo(name, open), name);
        EXPECT_EQ(answerTo(name, save), name);
    }
    EXPECT_EQ(answerTo("", open), "32755");
    EXPECT_EQ(answerTo("", save), "32755");
}

}  // namespace
}  // namespace brindle
