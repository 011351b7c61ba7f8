// SPDX-License-Identifier: MIT
#include "base/SettingsStore.h"

#include <fcntl.h>
#include <sys/file.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/AppFolder.h"
#include "base/Error.h"
#include "base/FileIo.h"
#include "base/Text.h"

namespace brindle {

namespace {

// A file of settings beyond this is none of ours.
constexpr std::uint64_t kMostBytes = 64U << 20;

std::string escaped(std::string_view text, std::string_view special) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const bool atEnd = i == 0 || i + 1 == text.size();
        const bool plain = byte >= 0x20 && byte != '%' && byte != 0x7F &&
                           special.find(text[i]) == std::string_view::npos &&
                           !(atEnd && byte == ' ');
        if (plain)
            result += text[i];
        else
            result.append({'%', kDigits[byte / 16], kDigits[byte % 16]});
    }
    return result;
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

std::string unescaped(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool mayBeEscape = text[i] == '%' && i + 2 < text.size();
        const int high = mayBeEscape ? hexDigit(text[i + 1]) : -1;
        const int low = mayBeEscape ? hexDigit(text[i + 2]) : -1;
        if (high < 0 || low < 0) {
            result += text[i];
            continue;
        }
        result += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return result;
}

std::string headOf(const std::string& application, const std::string& section) {
    return "[" + escaped(application, "/]") + "/" + escaped(section, "/]") + "]";
}

// A leading "[" or ";" would make the line a head or a comment.
std::string lineStart(const std::string& key) {
    return escaped(key, "=[;") + "=";
}

}  // namespace

class SettingsLines {
public:
    explicit SettingsLines(std::string_view text) {
        while (!text.empty()) {
            const std::size_t end = std::min(text.find('\n'), text.size());
            std::string_view line = text.substr(0, end);
            if (line.ends_with('\r')) line.remove_suffix(1);
            mLines.emplace_back(line);
            text.remove_prefix(std::min(end + 1, text.size()));
        }
    }

    // The line of the key, or null.
    std::string* find(const std::string& head, const std::string& start) {
        for (std::size_t i = behind(head); i < mLines.size() && !mLines[i].starts_with('['); ++i)
            if (mLines[i].starts_with(start)) return &mLines[i];
        return nullptr;
    }

    void set(const std::string& head, const std::string& start, const std::string& value) {
        if (std::string* line = find(head, start)) {
            *line = start + value;
            return;
        }
        if (std::find(mLines.begin(), mLines.end(), head) == mLines.end()) mLines.push_back(head);
        mLines.insert(endOf(head), start + value);
    }

    std::vector<std::string> list(const std::string& head) const {
        std::unordered_map<std::string_view, std::string_view> values;
        for (std::size_t i = behind(head); i < mLines.size() && !mLines[i].starts_with('['); ++i) {
            const std::string_view line = mLines[i];
            const std::size_t sign = line.find('=');
            if (sign != line.npos) values.emplace(line.substr(0, sign), line.substr(sign + 1));
        }
        std::vector<std::string> list;
        for (;;) {
            const auto found = values.find(std::to_string(list.size()));
            if (found == values.end()) return list;
            std::string value = unescaped(found->second);
            if (text::trimBlanks(value).empty()) return list;
            list.push_back(std::move(value));
        }
    }

    void setList(const std::string& head, const std::vector<std::string>& list) {
        const std::vector<std::string> old = this->list(head);
        for (std::size_t i = 0; i < list.size(); ++i)
            if (i >= old.size() || list[i] != old[i])
                set(head, lineStart(std::to_string(i)), escaped(list[i], ""));
        for (std::size_t i = list.size(); i < old.size(); ++i)
            mLines.erase(mLines.begin() +
                         (find(head, lineStart(std::to_string(i))) - mLines.data()));
    }

    std::string text() const {
        std::string text;
        for (const std::string& line : mLines) text += line + '\n';
        return text;
    }

private:
    // Position of the first line of a section; the number of lines when there is no section.
    std::size_t behind(const std::string& head) const {
        const auto found = std::find(mLines.begin(), mLines.end(), head);
        const auto lines = static_cast<std::size_t>(found - mLines.begin());
        return found == mLines.end() ? lines : lines + 1;
    }
    std::vector<std::string>::iterator endOf(const std::string& head) {
        return std::find_if(mLines.begin() + static_cast<std::ptrdiff_t>(behind(head)),
                            mLines.end(), [](const std::string& l) { return l.starts_with('['); });
    }

    std::vector<std::string> mLines;
};

namespace {

std::string readOrEmpty(const std::string& path) {
    try {
        return readWholeFile(path, kMostBytes);
    } catch (const Error& error) {
        if (error.kind() != ErrorKind::NotFound) throw;
        return {};
    }
}

// Held while the file is read, changed and written. The lock lies beside the file, because the
// file itself is another one after each writing.
class StoreLock {
public:
    explicit StoreLock(const std::string& file)
        : mFd(open((file + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
        if (!mFd.isOpen()) throw Error::system(errno, "open " + file + ".lock");
        while (flock(mFd.get(), LOCK_EX) != 0)
            if (errno != EINTR) throw Error::system(errno, "lock " + file + ".lock");
    }

private:
    FileDescriptor mFd;
};

void makeFolderOf(const std::string& file) {
    std::error_code failure;
    std::filesystem::create_directories(std::filesystem::path(file).parent_path(), failure);
    if (failure) throw Error::system(failure.value(), "create the folder of " + file);
}

}  // namespace

SettingsStore::SettingsStore() : SettingsStore(configFolder() + "/Brindle/settings.ini") {}

SettingsStore::SettingsStore(std::string file) : mFile(std::move(file)) {}

std::string SettingsStore::get(const std::string& application, const std::string& section,
                               const std::string& key, const std::string& absent) const {
    try {
        SettingsLines lines(readOrEmpty(mFile));
        const std::string start = lineStart(key);
        const std::string* line = lines.find(headOf(application, section), start);
        return line == nullptr ? absent : unescaped(line->substr(start.size()));
    } catch (const Error&) {
        return absent;
    }
}

void SettingsStore::set(const std::string& application, const std::string& section,
                        const std::string& key, const std::string& value) {
    rewrite([&](SettingsLines& lines) {
        lines.set(headOf(application, section), lineStart(key), escaped(value, ""));
    });
}

std::vector<std::string> SettingsStore::list(const std::string& application,
                                             const std::string& section) const {
    try {
        return SettingsLines(readOrEmpty(mFile)).list(headOf(application, section));
    } catch (const Error&) {
        return {};
    }
}

void SettingsStore::changeList(const std::string& application, const std::string& section,
                               const std::function<void(std::vector<std::string>&)>& change) {
    rewrite([&](SettingsLines& lines) {
        const std::string head = headOf(application, section);
        std::vector<std::string> list = lines.list(head);
        change(list);
        lines.setList(head, list);
    });
}

void SettingsStore::rewrite(const std::function<void(SettingsLines&)>& change) {
    makeFolderOf(mFile);
    const StoreLock lock(mFile);
    SettingsLines lines(readOrEmpty(mFile));
    change(lines);
    ReplaceOptions options;
    options.newFileMode = 0600;
    const std::string text = lines.text();
    replaceFile(mFile, options, [&](OutputFile& file) { file.write(text); });
}

}  // namespace brindle
