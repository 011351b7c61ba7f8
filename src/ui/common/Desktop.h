// SPDX-License-Identifier: MIT
// What the windows ask of the user's desktop. Tests stand in for it.
#pragma once

#include <string>

namespace brindle {

// Texts are UTF-8, paths are bytes.
class Desktop {
public:
    virtual ~Desktop() = default;

    // Opens an address in the user's browser. Throws Error 429 when there is none.
    virtual void openWebPage(const std::string& address) = 0;
    // Hands a file or folder to the program that is associated with it, and does not wait for
    // it. Nothing passes through a command interpreter. Above 32: done; else a failure in the
    // numbers of modShell.h.
    virtual int openDocument(const std::string& path) = 0;
    virtual void setClipboardText(const std::string& text) = 0;
};

// The desktop that the program runs on.
class PlatformDesktop final : public Desktop {
public:
    void openWebPage(const std::string& address) override;
    int openDocument(const std::string& path) override;
    void setClipboardText(const std::string& text) override;
};

}  // namespace brindle
