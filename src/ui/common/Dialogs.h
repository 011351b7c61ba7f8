// SPDX-License-Identifier: MIT
// Everything that asks the user something in a window of its own. The only place that opens a
// message box or a file dialog; tests answer in its stead.
#pragma once

#include <functional>
#include <string>

#include "base/Host.h"

class QWidget;

namespace brindle {

struct Message {
    std::string text;
    MessageIcon icon = MessageIcon::None;
    MessageButtons buttons = MessageButtons::Ok;
    std::string title;           // empty: the program's
    std::function<void()> help;  // of a Help button, which leaves the box open; empty: no button
};

struct FileQuestion {
    std::string title;
    // Pairs of a description and a pattern: "CSV Files (*.csv)|*.csv|Text (*.txt)|*.txt".
    std::string filter;
};

// Texts are UTF-8, paths are bytes. The file and folder dialogs throw Error (Cancelled, 32755)
// when the user gives up. `parent` may be null.
class Dialogs {
public:
    virtual ~Dialogs() = default;

    virtual MessageAnswer show(QWidget* parent, const Message& message) = 0;
    // The name that was typed or picked, whether such a file exists or not.
    virtual std::string openFile(QWidget* parent, const FileQuestion& question) = 0;
    // Exactly the name that was typed or picked: no extension is added, and nobody is asked
    // whether an existing file may go.
    virtual std::string saveFile(QWidget* parent, const FileQuestion& question) = 0;
    // Without a separator at the end, but for the root.
    virtual std::string browseForFolder(QWidget* parent, const std::string& title) = 0;
};

// The platform's own dialogs.
class PlatformDialogs final : public Dialogs {
public:
    MessageAnswer show(QWidget* parent, const Message& message) override;
    std::string openFile(QWidget* parent, const FileQuestion& question) override;
    std::string saveFile(QWidget* parent, const FileQuestion& question) override;
    std::string browseForFolder(QWidget* parent, const std::string& title) override;
};

}  // namespace brindle
