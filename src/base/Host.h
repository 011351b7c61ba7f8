// SPDX-License-Identifier: MIT
// What the core asks of the program around it. The windows, the command line and the tests
// each bring their own.
#pragma once

#include <string>

namespace brindle {

enum class MessageIcon { None, Information, Question, Exclamation, Critical };
enum class MessageButtons { Ok, YesNo, YesNoCancel };
enum class MessageAnswer { Ok, Yes, No, Cancel };

class Host {
public:
    virtual ~Host() = default;

    // Shows a text and waits for the answer. Texts are UTF-8.
    virtual MessageAnswer showMessage(const std::string& text, MessageIcon icon,
                                      MessageButtons buttons) = 0;

    // Lets pending user-interface events run. Called between documents and folders.
    virtual void processEvents() = 0;

    // The same while a document is in work, for a host that is watched. May do no more than paint
    // and take the wish to stop: the document may be in the middle of a change. What it throws is
    // lost.
    virtual void processEventsInDocument() {}
    // Whether somebody looks at a window meanwhile. Where nobody does, nothing is spent on it.
    virtual bool isWatched() const { return false; }
};

}  // namespace brindle
