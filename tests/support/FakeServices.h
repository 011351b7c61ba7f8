// SPDX-License-Identifier: MIT
// The world around the windows, with answers preset.
#pragma once

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "base/Error.h"
#include "ScopedEnvironment.h"
#include "TempDir.h"
#include "ui/common/Services.h"

namespace brindle::test {

// Answers in the order in which they were preset; a dialog without an answer is cancelled.
class FakeDialogs : public Dialogs {
public:
    MessageAnswer show(QWidget*, const Message& message) override {
        messages.push_back(message);
        if (onMessage) onMessage(message);
        if (answers.empty()) return MessageAnswer::Ok;
        const MessageAnswer answer = answers.front();
        answers.pop_front();
        return answer;
    }
    std::string openFile(QWidget*, const FileQuestion& question) override {
        return next("open", question.title, question.filter);
    }
    std::string saveFile(QWidget*, const FileQuestion& question) override {
        return next("save", question.title, question.filter);
    }
    std::string browseForFolder(QWidget*, const std::string& title) override {
        return next("folder", title, "");
    }

    struct Question {
        std::string kind;
        std::string title;
        std::string filter;
    };
    std::deque<MessageAnswer> answers;
    std::deque<std::string> paths;
    std::vector<Message> messages;
    std::vector<Question> questions;
    std::function<void(const Message&)> onMessage;

private:
    std::string next(const char* kind, const std::string& title, const std::string& filter) {
        questions.push_back({kind, title, filter});
        if (paths.empty())
            throw Error(ErrorKind::Cancelled, error_number::kDialogCancelled,
                        "Cancel was selected");
        std::string path = paths.front();
        paths.pop_front();
        return path;
    }
};

class FakeDesktop : public Desktop {
public:
    void openWebPage(const std::string& address) override {
        if (webPageError) throw *webPageError;
        webPages.push_back(address);
    }
    int openDocument(const std::string& path) override {
        documents.push_back(path);
        return openResult;
    }
    void setClipboardText(const std::string& text) override { clipboard = text; }

    std::optional<Error> webPageError;
    int openResult = 33;
    std::vector<std::string> webPages;
    std::vector<std::string> documents;
    std::optional<std::string> clipboard;
};

// A user of the program with an application folder and settings of his own; languages and help
// are those that are shipped.
class FakeUser {
public:
    TempDir folder;
    ScopedEnvironment home{"BRINDLE_HOME", folder.path("app")};
    ScopedEnvironment config{"XDG_CONFIG_HOME", folder.path("config")};
    ScopedEnvironment data{"XDG_DATA_HOME", folder.path("data")};
    FakeDialogs dialogs;
    FakeDesktop desktop;
    Services services{dialogs, desktop, {}, {}};

    FakeUser() {
        std::filesystem::create_directories(folder.path("app"));
        for (const char* shipped : {"Languages", "Help"})
            std::filesystem::create_directory_symlink(
                std::filesystem::path(BRINDLE_SOURCE_DIR) / "data" / shipped,
                std::filesystem::path(folder.path("app")) / shipped);
    }

    std::string errorLog() const { return folder.read("app/Errors.Log"); }
};

}  // namespace brindle::test
