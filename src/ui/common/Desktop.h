// SPDX-License-Identifier: MIT
// What the windows ask of the user's desktop. Tests stand in for it.
#pragma once

#include <string>

namespace brindle {

// Answers to opening a document.
namespace open_result {
inline constexpr int kUnknown = 0;
inline constexpr int kFileNotFound = 2;
inline constexpr int kPathNotFound = 3;
inline constexpr int kAccessDenied = 5;
inline constexpr int kOutOfMemory = 8;
inline constexpr int kBadProgram = 11;
inline constexpr int kSharingViolation = 26;
inline constexpr int kIncompleteAssociation = 27;
inline constexpr int kDdeTimeOut = 28;
inline constexpr int kDdeFailed = 29;
inline constexpr int kDdeBusy = 30;
inline constexpr int kNoAssociation = 31;
inline constexpr int kLibraryNotFound = 32;
inline constexpr int kOpened = 33;

constexpr bool isOpened(int answer) {
    return answer > 32;
}
}  // namespace open_result

// Texts are UTF-8, paths are bytes.
class Desktop {
public:
    virtual ~Desktop() = default;

    // Opens an address in the user's browser. Throws Error 429 when there is none.
    virtual void openWebPage(const std::string& address) = 0;
    // Hands a file or folder to the program that is associated with it, and does not wait for
    // its end. Nothing passes through a command interpreter. Returns an open_result; what the
    // desktop finds wrong later than a second counts as opened.
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
