// SPDX-License-Identifier: MIT
#include "cli/ConsoleHost.h"

#include "base/Text.h"
#include "cli/OutputStream.h"

#include <fmt/format.h>

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

namespace brindle::cli {

namespace {

constexpr auto kBetweenDraws = std::chrono::milliseconds(100);
constexpr std::size_t kBarWidth = 20;
constexpr std::size_t kUsualWidth = 80;

std::size_t terminalWidth() {
    struct winsize size {};
    const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : kUsualWidth;
}

// The first `columns` characters; wide ones count as one, which a terminal forgives.
std::string cutTo(const std::string& utf8, std::size_t columns) {
    std::size_t position = 0;
    for (std::size_t i = 0; i < columns && position < utf8.size(); ++i) {
        text::nextCodePoint(utf8, position);
    }
    return utf8.substr(0, position);
}

std::string bar(std::int64_t done, std::int64_t total) {
    if (total <= 0) return fmt::format("{} documents", done);
    const double share = std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
    const auto filled = static_cast<std::size_t>(share * static_cast<double>(kBarWidth));
    return fmt::format("[{}{}] {}/{}", std::string(filled, '#'),
                       std::string(kBarWidth - filled, '.'), done, total);
}

// U+0080 to U+009F in UTF-8; many terminals obey them as they do escape sequences.
bool isC1Control(std::string_view two) {
    return two.size() == 2 && two[0] == '\xC2' && (two[1] & '\xE0') == '\x80';
}

MessageAnswer harmlessAnswer(MessageButtons buttons) {
    switch (buttons) {
        case MessageButtons::YesNo:
            return MessageAnswer::No;
        case MessageButtons::YesNoCancel:
            return MessageAnswer::Cancel;
        case MessageButtons::Ok:
            break;
    }
    return MessageAnswer::Ok;
}

}  // namespace

std::string onOneLine(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const auto byte = static_cast<unsigned char>(c);
        if (isC1Control(text.substr(i, 2))) {
            out += fmt::format("\\u{:04x}", static_cast<unsigned char>(text[++i]));
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\r') {
            out += "\\r";
        } else if (c == '\t') {
            out += "\\t";
        } else if (byte < 0x20 || byte == 0x7F) {
            out += fmt::format("\\x{:02x}", byte);
        } else {
            out += c;
        }
    }
    return out;
}

ConsoleHost::ConsoleHost(bool wantsProgress)
    : mShowsProgress(wantsProgress && isatty(STDERR_FILENO) == 1) {}

ConsoleHost::~ConsoleHost() {
    clearBar();
}

MessageAnswer ConsoleHost::showMessage(const std::string& text, MessageIcon,
                                       MessageButtons buttons) {
    mHasShownMessage = true;
    // A text that is missing from the language file says nothing.
    if (!text.empty()) complain(text);
    return harmlessAnswer(buttons);
}

void ConsoleHost::complain(const std::string& text) {
    const std::lock_guard lock(mMutex);
    clearBar();
    OutputStream(STDERR_FILENO).tryWrite("tarvello: " + onOneLine(text) + "\n");
}

void ConsoleHost::showProgress(std::int64_t done, std::int64_t total, const std::string& path) {
    if (!mShowsProgress) return;
    const std::lock_guard lock(mMutex);
    const Time now = std::chrono::steady_clock::now();
    if (mBarStands && now - mDrawn < kBetweenDraws) return;
    const std::string line = bar(done, total) + "  " + onOneLine(path);
    OutputStream(STDERR_FILENO).tryWrite("\r\x1b[K" + cutTo(line, terminalWidth() - 1));
    mBarStands = true;
    mDrawn = now;
}

void ConsoleHost::clearProgress() {
    const std::lock_guard lock(mMutex);
    clearBar();
}

void ConsoleHost::clearBar() {
    if (!mBarStands) return;
    OutputStream(STDERR_FILENO).tryWrite("\r\x1b[K");
    mBarStands = false;
}

}  // namespace brindle::cli
