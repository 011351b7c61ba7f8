// SPDX-License-Identifier: MIT
#include "lang/LanguageCheck.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>

#include "base/Text.h"
#include "lang/LanguageTexts.h"
#include "lang/modINI.h"

namespace brindle {

namespace {

using Kind = IniLine::Kind;
using Severity = LanguageSeverity;

// --- what kind of text a key holds ---------------------------------------------------------

bool has(std::string_view text, std::string_view what) {
    return text::contains(text, what, CaseMode::Folded);
}

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() &&
           text::equals(text.substr(text.size() - end.size()), end, CaseMode::Folded);
}

bool isSame(std::string_view a, std::string_view b) {
    return text::equals(a, b, CaseMode::Folded);
}

bool isEncodingKey(const IniLine& line) {
    return isSame(line.section, "language") && isSame(line.key, "codepage");
}

bool isTab(const IniLine& line) {
    return has(line.key, ".TabCaption(");
}

// In the title of a window "&" is a letter like any other.
bool isCaption(const IniLine& line) {
    return isTab(line) ||
           (endsWith(line.key, ".caption") && !isSame(line.key, line.section + ".caption"));
}

// Where there is little room.
bool isNarrow(const IniLine& line) {
    return isTab(line) || (isCaption(line) && text::lowerAscii(line.key).starts_with("cmd"));
}

// Members of an array, and other windows than the main one, show "\r\n" as it is written.
bool mayBreakLines(const IniLine& line) {
    return isSame(line.section, "frmMain") && endsWith(line.key, ".ToolTipText") &&
           line.key.find('(') == std::string::npos;
}

// --- access keys ---------------------------------------------------------------------------

// Captions of one menu compete for keys. All other captions of a window, its menu bar included,
// compete with each other, even when they stand on different tabs.
struct MenuItems {
    const char* section;
    const char* menu;
    const char* items;  // each between blanks
};

constexpr MenuItems kMenus[] = {
    {"frmMain", "mnuFile", " mnuOpen menuSave menuSaveAs mnuSep1 mnuRecent mnuSep2 mnuExit "},
    {"frmMain", "menuOption",
     " mnuChangeLanguage mnuStartProcessing mnuSep3 mnuImportList mnuExportList "},
    {"frmMain", "mnuHelp", " mnuHelp1 mnuHomePage mnuAbout "},
    {"frmProcessingDocuments", "of a document", " mnuOpenDocument mnuOpenFolder mnuCopyPath "},
};

struct FixedKey {
    const char* section;
    char32_t key;
    const char* owner;
};

constexpr FixedKey kFixedKeys[] = {{"frmProcessingDocuments", U'4', "the fourth tab"}};

std::string scopeOf(const IniLine& line) {
    const std::string name = " " + line.key.substr(0, line.key.find('.')) + " ";
    for (const MenuItems& menu : kMenus)
        if (isSame(line.section, menu.section) && has(menu.items, name)) return menu.menu;
    return text::fold(line.section);
}

struct AccessKeys {
    std::vector<char32_t> keys;  // folded
    bool hasStray = false;       // a mark before a blank or at the end
};

AccessKeys accessKeysOf(std::string_view caption) {
    AccessKeys found;
    for (std::size_t at = 0; at < caption.size();) {
        if (text::nextCodePoint(caption, at) != U'&') continue;
        const char32_t key = at < caption.size() ? text::nextCodePoint(caption, at) : U' ';
        if (key == U' ') {
            found.hasStray = true;
        } else if (key != U'&') {
            found.keys.push_back(text::foldCodePoint(key));
        }
    }
    return found;
}

std::string shown(char32_t key) {
    std::string text;
    text::appendUtf8(text, key < 0x10000 ? text::upperUtf16(static_cast<char16_t>(key)) : key);
    return text;
}

// --- lengths and characters ----------------------------------------------------------------

std::size_t lengthOf(std::string_view text) {
    std::size_t length = 0;
    for (std::size_t at = 0; at < text.size(); ++length) text::nextCodePoint(text, at);
    return length;
}

bool hasControlCharacter(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        const char32_t c = text::nextCodePoint(text, at);
        if (c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x2028 || c == 0x2029) return true;
    }
    return false;
}

// --- the check -----------------------------------------------------------------------------

class Check {
public:
    Check(std::string_view file, std::string_view reference) : mFile(file), mReference(reference) {}

    std::vector<LanguageFinding> run() {
        checkEncoding();
        for (const IniLine& line : mFile.lines) checkLine(line);
        checkMissing();
        for (const auto& [name, line] : mFile.values) compare(*line);
        checkAccessKeys();
        checkStopButton();
        std::stable_sort(mFindings.begin(), mFindings.end(),
                         [](const auto& a, const auto& b) { return a.line < b.line; });
        return std::move(mFindings);
    }

private:
    void report(Severity severity, const IniLine& line, std::string text) {
        mFindings.push_back({severity, line.number, line.section, line.key, std::move(text)});
    }
    void fault(const IniLine& line, std::string text) {
        report(Severity::Fault, line, std::move(text));
    }
    void warning(const IniLine& line, std::string text) {
        report(Severity::Warning, line, std::move(text));
    }

    void checkEncoding();
    void checkLine(const IniLine& line);
    void checkValue(const IniLine& line);
    void checkMissing();
    void compare(const IniLine& line);
    void comparePlaceholders(const IniLine& line, const IniLine& reference);
    void compareAccessKeys(const IniLine& line, const IniLine& reference);
    void checkAccessKeys();
    void checkStopButton();

    LanguageTexts mFile;
    LanguageTexts mReference;
    std::vector<LanguageFinding> mFindings;
};

void Check::checkEncoding() {
    IniLine place{Kind::Value, mFile.lineOfSection("language"), "language", "codepage", {}};
    if (const IniLine* line = mFile.find("language", "codepage")) place = *line;
    const bool isMarked = !mFile.markedAs.empty();
    if (mFile.codePage.empty()) {
        if (!isMarked) fault(place, "the encoding of the file is not named");
    } else if (!isMarked && !isSame(mFile.codePage, mFile.encoding)) {
        fault(place, fmt::format("there is no code page \"{}\"", mFile.codePage));
    } else if (isMarked && !isSame(mFile.codePage, mFile.markedAs)) {
        warning(place, fmt::format("the byte-order mark of the file says {}", mFile.markedAs));
    }
}

void Check::checkLine(const IniLine& line) {
    if (line.kind == Kind::Section) {
        const bool isKnown =
            std::any_of(mReference.lines.begin(), mReference.lines.end(),
                        [&](const IniLine& other) { return isSame(line.section, other.section); });
        if (!isKnown) warning(line, "nothing reads this section");
        return;
    }
    if (line.kind == Kind::Other) {
        fault(line, "neither a section, a key nor a comment");
    } else if (line.section.empty()) {
        fault(line, "stands before the first section");
    } else if (mFile.find(line.section, line.key) != &line) {
        fault(line, fmt::format("stands twice; line {} is the one that is read",
                                mFile.find(line.section, line.key)->number));
    } else {
        checkValue(line);
    }
}

// What can be told of a text without the reference.
void Check::checkValue(const IniLine& line) {
    if (has(line.text, "\uFFFD"))
        fault(line, fmt::format("has bytes that are not {}", mFile.encoding));
    if (hasControlCharacter(line.text)) fault(line, "has a control character");
    if (lengthOf(line.text) > kLongestText)
        fault(line, fmt::format("is longer than {} characters", kLongestText));
    const bool mayBreak = mayBreakLines(line);
    const std::string rest =
        mayBreak ? text::replaceAll(line.text, "\\r\\n", "", CaseMode::Exact) : line.text;
    if (has(rest, "\\r") || has(rest, "\\n"))
        fault(line, mayBreak ? "has a part of a line break; one is written \"\\r\\n\""
                             : "shows \"\\r\" and \"\\n\" as they are, not as a line break");
}

void Check::checkMissing() {
    std::set<std::string> missing;
    for (const IniLine& line : mReference.lines) {
        const int place = mFile.lineOfSection(line.section);
        if (line.kind == Kind::Section) {
            const bool isThere =
                std::any_of(mFile.lines.begin(), mFile.lines.end(), [&](const IniLine& other) {
                    return other.kind == Kind::Section && isSame(other.section, line.section);
                });
            if (isThere || !missing.insert(text::fold(line.section)).second) continue;
            mFindings.push_back(
                {Severity::Fault, place, line.section, "", "the section is missing"});
        } else if (line.kind == Kind::Value && !line.text.empty() && !isEncodingKey(line) &&
                   missing.count(text::fold(line.section)) == 0 &&
                   mFile.find(line.section, line.key) == nullptr) {
            mFindings.push_back({Severity::Fault, place, line.section, line.key, "is missing"});
        }
    }
}

void Check::compare(const IniLine& line) {
    if (line.section.empty() || isEncodingKey(line)) return;
    const IniLine* reference = mReference.find(line.section, line.key);
    if (reference == nullptr) {
        warning(line, "nothing reads this key");
        return;
    }
    if (line.text.empty() && !reference->text.empty()) {
        fault(line, "is empty");
        return;
    }
    if (reference->text == "-" && line.text != "-") fault(line, "must be \"-\", a line in a menu");
    comparePlaceholders(line, *reference);
    if (isCaption(line)) compareAccessKeys(line, *reference);
    const std::size_t length = lengthOf(line.text);
    if (isNarrow(line) && length > 40 && length > 3 * lengthOf(reference->text))
        warning(line, fmt::format("is very long for its place ({} characters)", length));
}

void Check::comparePlaceholders(const IniLine& line, const IniLine& reference) {
    for (const char* placeholder : {"%s", "%d", "%i", "%t"}) {
        const auto count = [&](const IniLine& in) {
            return text::countOccurrences(in.text, placeholder, CaseMode::Exact);
        };
        if (count(line) != count(reference))
            fault(line, fmt::format("has {} {} times, not {}", placeholder, count(line),
                                    count(reference)));
    }
}

void Check::compareAccessKeys(const IniLine& line, const IniLine& reference) {
    const AccessKeys own = accessKeysOf(line.text);
    const bool isWanted = !accessKeysOf(reference.text).keys.empty();
    if (own.hasStray) fault(line, "has an \"&\" before no letter; the sign itself is \"&&\"");
    if (own.keys.size() > 1) fault(line, "has several access keys");
    if (own.keys.empty() && isWanted) fault(line, "has no access key (\"&\" before a letter)");
    if (!own.keys.empty() && !isWanted) warning(line, "has an access key that is not expected");
}

void Check::checkAccessKeys() {
    std::map<std::pair<std::string, char32_t>, std::string> owners;
    for (const FixedKey& fixed : kFixedKeys)
        owners[{text::fold(fixed.section), fixed.key}] = fixed.owner;
    for (const IniLine& line : mFile.lines) {
        const bool isRead = line.kind == Kind::Value && mFile.find(line.section, line.key) == &line;
        if (!isRead || !isCaption(line)) continue;
        for (const char32_t key : accessKeysOf(line.text).keys) {
            const auto [owner, isFree] = owners.try_emplace({scopeOf(line), key}, line.key);
            if (!isFree && owner->second != line.key)
                fault(line, fmt::format("the access key {} belongs to {} already", shown(key),
                                        owner->second));
        }
    }
}

// The button of the processing window tells its two states apart by these.
void Check::checkStopButton() {
    const IniLine* close = mFile.find("global msg", "1019");
    const IniLine* stop = mFile.find("global msg", "1020");
    if (close != nullptr && stop != nullptr && !stop->text.empty() && close->text == stop->text)
        fault(*stop, "must differ from 1019");
}

}  // namespace

std::vector<LanguageFinding> checkLanguage(std::string_view file, std::string_view reference) {
    return Check(file, reference).run();
}

}  // namespace brindle
