// SPDX-License-Identifier: MIT
// A host that answers as told and remembers what it was asked.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "base/Host.h"

namespace brindle::test {

class FakeHost : public Host {
public:
    struct Message {
        std::string text;
        MessageIcon icon;
        MessageButtons buttons;
    };

    MessageAnswer showMessage(const std::string& text, MessageIcon icon,
                              MessageButtons buttons) override {
        messages.push_back({text, icon, buttons});
        if (onMessage) onMessage();
        return answer;
    }
    void processEvents() override {
        ++eventRounds;
        if (onEvents) onEvents();
    }

    void processEventsInDocument() override {
        ++documentRounds;
        if (onDocumentEvents) onDocumentEvents();
    }
    bool isWatched() const override { return watched; }

    MessageAnswer answer = MessageAnswer::Ok;
    std::vector<Message> messages;
    int eventRounds = 0;
    int documentRounds = 0;
    bool watched = false;
    std::function<void()> onEvents;
    std::function<void()> onDocumentEvents;
    std::function<void()> onMessage;
};

}  // namespace brindle::test
