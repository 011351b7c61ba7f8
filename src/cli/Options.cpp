// SPDX-License-Identifier: MIT
#include "cli/Options.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <span>

#include "base/Error.h"
#include "base/Text.h"

namespace brindle::cli {

namespace {

constexpr unsigned kSearch = 1;
constexpr unsigned kReplace = 2;
constexpr unsigned kRun = 4;
constexpr unsigned kFormats = 8;
constexpr unsigned kCheckLanguage = 16;
constexpr unsigned kWorking = kSearch | kReplace | kRun;
constexpr unsigned kDirect = kSearch | kReplace;
constexpr unsigned kMaxJobs = 256;

struct CommandRow {
    Command command;
    unsigned bit;
    const char* name;
    const char* usage;
    const char* summary;
};

constexpr std::array<CommandRow, 5> kCommands{{
    {Command::Search, kSearch, "search", "ENTRIES DOCUMENTS [OPTIONS]",
     "Counts what the entries find. Nothing is written."},
    {Command::Replace, kReplace, "replace", "ENTRIES DOCUMENTS [OPTIONS]",
     "Replaces what the entries find, and counts it."},
    {Command::Run, kRun, "run", "PROJECT.tvl [--search-only] [OPTIONS]",
     "Does what the desktop program would do with this project."},
    {Command::Formats, kFormats, "formats", "[--json]",
     "Lists the file formats, and what each can hold."},
    {Command::CheckLanguage, kCheckLanguage, "check-language", "FILE [--reference FILE] [--json]",
     "Says what is wrong with a language file."},
}};

const CommandRow& rowOf(Command command) {
    return *std::find_if(kCommands.begin(), kCommands.end(),
                         [&](const CommandRow& row) { return row.command == command; });
}

// --- what the options do -------------------------------------------------------------------

void addScope(Options& options, const std::string& word) {
    const std::vector<std::string>& words = scopeChoices();
    const auto found = std::find(words.begin(), words.end(), word);
    if (found == words.end()) {
        wrongCall(
            fmt::format("--in does not know \"{}\"; it takes {}", word, fmt::join(words, ", ")));
    }
    const auto all = static_cast<std::int16_t>(words.size() - 1);
    const auto given = static_cast<std::int16_t>(found - words.begin());
    for (std::int16_t scope = 0; scope < all; ++scope) {
        const bool wanted = given == all || scope == given;
        if (wanted && std::count(options.scopes.begin(), options.scopes.end(), scope) == 0) {
            options.scopes.push_back(scope);
        }
    }
}

void setFind(Options& options, const std::string& text) {
    if (text.empty()) wrongCall("--find needs a text that is not empty");
    if (!text::isValidUtf8(text)) wrongCall("the text of --find is not UTF-8");
    options.find = text;
}

void setWith(Options& options, const std::string& text) {
    if (!text::isValidUtf8(text)) wrongCall("the text of --with is not UTF-8");
    options.with = text;
}

// A list of one pattern is written with a ";" behind it, or it would match nothing.
void setTypes(Options& options, const std::string& list) {
    if (list.empty()) wrongCall("--types needs a list such as \"*.xls;*.xlsx;\"");
    options.types = list.find(';') == std::string::npos ? list + ";" : list;
}

void setJobs(Options& options, const std::string& text) {
    unsigned jobs = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), jobs);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    if (!isNumber || jobs < 1 || jobs > kMaxJobs) {
        wrongCall(fmt::format("--jobs takes a number from 1 to {}, not \"{}\"", kMaxJobs, text));
    }
    options.jobs = jobs;
}

std::string needed(const char* option, const std::string& value) {
    if (value.empty()) wrongCall(fmt::format("{} needs the name of a file", option));
    return value;
}

struct OptionRow {
    const char* name;
    const char* value;  // what the help calls it; null for a switch
    const char* group;
    unsigned commands;
    bool repeats;
    const char* help;
    void (*apply)(Options&, const std::string&);
};

const std::array<OptionRow, 22> kOptions{{
    {"--find", "TEXT", "Entries", kDirect, false,
     "What to find. In cells, ? stands for any one character and * for any number of them; "
     "~?, ~* and ~~ stand for the characters themselves.",
     setFind},
    {"--with", "TEXT", "Entries", kDirect, false,
     "What to put in its place; an empty text (--with \"\") deletes. A replace must say it.",
     setWith},
    {"--in", "SCOPE", "Entries", kDirect, true,
     "Where to look: cells (unless said otherwise), hyperlinks, headers, footers, shapes, "
     "builtin, custom (document properties) or all. May be given several times.",
     addScope},
    {"--match-case", nullptr, "Entries", kDirect, false, "Capital and small letters differ.",
     [](Options& o, const std::string&) { o.matchCase = true; }},
    {"--entire", nullptr, "Entries", kDirect, false,
     "The text must be the entire content, not a part of it.",
     [](Options& o, const std::string&) { o.entire = true; }},
    {"--entries", "FILE", "Entries", kDirect, false,
     "Takes the entries from a list file (.csv, .tab or a workbook) in place of --find.",
     [](Options& o, const std::string& v) { o.entriesFile = needed("--entries", v); }},
    {"--list", "FILE", "Documents", kDirect, false,
     "Takes the documents named in FILE, one path a line; - reads standard input.",
     [](Options& o, const std::string& v) { o.listFile = needed("--list", v); }},
    {"-0", nullptr, "Documents", kDirect, false,
     "The paths of --list end with a NUL byte each, as find -print0 writes them.",
     [](Options& o, const std::string&) { o.listEndsWithNul = true; }},
    {"--types", "LIST", "Documents", kDirect, false,
     "File types taken from a folder, such as \"*.xls;*.xlsx;\" (every type of the formats "
     "command unless said otherwise).",
     setTypes},
    {"--subfolders", nullptr, "Documents", kDirect, false, "Scans the folders inside, too.",
     [](Options& o, const std::string&) { o.subfolders = true; }},
    {"--search-only", nullptr, "Documents", kRun, false,
     "Counts only, whatever the project would replace.",
     [](Options& o, const std::string&) { o.searchOnly = true; }},
    {"--reference", "FILE", "Options", kCheckLanguage, false,
     "The language file whose texts must all be there (the English one unless said otherwise).",
     [](Options& o, const std::string& v) { o.referenceFile = needed("--reference", v); }},
    {"--password-file", "FILE", "Options", kWorking, false,
     "Opens protected documents with the password in the first line of FILE.",
     [](Options& o, const std::string& v) { o.passwordFile = needed("--password-file", v); }},
    {"--password", "TEXT", "Options", kWorking, false,
     "The password itself. It shows in process lists, where everyone on this machine can "
     "read it while the program runs; --password-file keeps it out of there.",
     [](Options& o, const std::string& v) { o.password = v; }},
    {"--backup", nullptr, "Options", kReplace, false,
     "Copies each document to a .bak file beside it first.",
     [](Options& o, const std::string&) { o.backup = true; }},
    {"--keep-dates", nullptr, "Options", kWorking, false,
     "Puts the dates of each document back as they were.",
     [](Options& o, const std::string&) { o.keepDates = true; }},
    {"--in-place", nullptr, "Options", kWorking, false,
     "Also writes documents that have several names (hard links). They are written where "
     "they stand: a power failure or a second interrupt at that moment can damage them.",
     [](Options& o, const std::string&) { o.inPlace = true; }},
    {"--jobs", "N", "Options", kWorking, false,
     "Works on N documents at once (one a processor core unless said otherwise). The results "
     "and their order are the same.",
     setJobs},
    {"--json", nullptr, "Options", kWorking | kFormats | kCheckLanguage, false,
     "Prints one JSON object a line in place of text.",
     [](Options& o, const std::string&) { o.json = true; }},
    {"--quiet", nullptr, "Options", kWorking, false,
     "Prints failures only. JSON objects are printed all the same.",
     [](Options& o, const std::string&) { o.quiet = true; }},
    {"--progress", nullptr, "Options", kWorking, false,
     "Shows how far the run is, when standard error is a terminal.",
     [](Options& o, const std::string&) { o.progress = true; }},
    {"--help", nullptr, "Options", kWorking | kFormats | kCheckLanguage, false, "Shows this help.",
     [](Options& o, const std::string&) {
         o.helpAbout = o.command;
         o.command = Command::Help;
     }},
}};

const OptionRow* findOption(const std::string& name, unsigned commands) {
    const auto row = std::find_if(kOptions.begin(), kOptions.end(), [&](const OptionRow& option) {
        return (option.commands & commands) != 0 && name == option.name;
    });
    return row == kOptions.end() ? nullptr : &*row;
}

// --- reading -------------------------------------------------------------------------------

// Options with their values apart from the paths. File names may look like anything ("[a]",
// "++", "search"), and an option's value may be empty or begin with a dash, so the argument
// parser gets to see only what is its own.
struct Sorted {
    std::vector<std::string> options;
    std::vector<std::string> paths;
};

void sortOption(Sorted& sorted, std::span<const std::string>& rest, unsigned commands) {
    const std::string argument = rest.front() == "-h" ? "--help" : rest.front();
    const std::size_t equals = argument.find('=');
    const std::string name = argument.substr(0, equals);
    const OptionRow* row = findOption(name, commands);
    if (row == nullptr) wrongCall(fmt::format("unknown option {}", name));
    rest = rest.subspan(1);
    sorted.options.push_back(name);
    if (row->value == nullptr) {
        if (equals != std::string::npos) wrongCall(fmt::format("{} takes no value", name));
    } else if (equals != std::string::npos) {
        sorted.options.push_back(argument.substr(equals + 1));
    } else if (!rest.empty()) {
        sorted.options.push_back(rest.front());
        rest = rest.subspan(1);
    }
}

Sorted sortArguments(std::span<const std::string> rest, unsigned commands) {
    Sorted sorted;
    while (!rest.empty()) {
        const std::string& argument = rest.front();
        if (argument == "--") {
            sorted.paths.insert(sorted.paths.end(), rest.begin() + 1, rest.end());
            break;
        }
        if (argument.size() > 1 && argument[0] == '-') {
            sortOption(sorted, rest, commands);
        } else {
            sorted.paths.push_back(argument);
            rest = rest.subspan(1);
        }
    }
    return sorted;
}

void addToParser(CLI::App& parser, const OptionRow& row, Options& options) {
    if (row.value == nullptr) {
        // Scripts put their arguments together from pieces; a switch said twice does no harm.
        parser.add_flag_function(row.name,
                                 [&row, &options](std::int64_t) { row.apply(options, {}); });
        return;
    }
    const auto applyAll = [&row, &options](const std::vector<std::string>& values) {
        if (values.size() > 1 && !row.repeats) {
            wrongCall(fmt::format("{} is given more than once", row.name));
        }
        for (const std::string& value : values) row.apply(options, value);
    };
    parser.add_option_function<std::vector<std::string>>(row.name, applyAll)
        ->allow_extra_args(false);
}

void parseSorted(std::vector<std::string> arguments, unsigned commands, Options& options) {
    CLI::App parser;
    parser.set_help_flag();
    for (const OptionRow& row : kOptions) {
        if ((row.commands & commands) != 0) addToParser(parser, row, options);
    }
    // The order that parse() wants.
    std::reverse(arguments.begin(), arguments.end());
    try {
        parser.parse(std::move(arguments));
    } catch (const CLI::ArgumentMismatch& error) {
        const std::string text = error.what();
        wrongCall(fmt::format("{} needs a value", text.substr(0, text.find(':'))));
    } catch (const CLI::ParseError& error) {
        wrongCall(error.what());
    }
}

// --- what belongs together -----------------------------------------------------------------

void checkEntries(const Options& options) {
    if (options.find.has_value() == options.entriesFile.has_value()) {
        wrongCall(options.find ? "--find and --entries cannot be given together"
                               : "one of --find and --entries is needed");
    }
    const bool hasFindOptions =
        options.with || !options.scopes.empty() || options.matchCase || options.entire;
    if (options.entriesFile && hasFindOptions) {
        wrongCall("--with, --in, --match-case and --entire belong to --find, not to --entries");
    }
    if (options.command == Command::Replace && options.find && !options.with) {
        wrongCall("replace needs --with; --with \"\" deletes what is found");
    }
}

void checkDocuments(const Options& options) {
    if (options.paths.empty() && !options.listFile) wrongCall("no document is named");
    const auto isEmpty = [](const std::string& path) { return path.empty(); };
    if (std::any_of(options.paths.begin(), options.paths.end(), isEmpty)) {
        wrongCall("the name of a document is empty");
    }
    if (options.listEndsWithNul && !options.listFile) wrongCall("-0 belongs to --list");
}

std::string takeOnlyPath(Options& options, const char* complaint) {
    if (options.paths.size() != 1 || options.paths.front().empty()) wrongCall(complaint);
    std::string path = std::move(options.paths.front());
    options.paths.clear();
    return path;
}

void check(Options& options) {
    if (options.command == Command::Search || options.command == Command::Replace) {
        checkEntries(options);
        checkDocuments(options);
        if (options.scopes.empty()) options.scopes.push_back(0);
    } else if (options.command == Command::Run) {
        options.project = takeOnlyPath(options, "run needs the name of one project file");
    } else if (options.command == Command::CheckLanguage) {
        options.languageFile =
            takeOnlyPath(options, "check-language needs the name of one language file");
    } else if (!options.paths.empty()) {
        wrongCall(fmt::format("formats takes no \"{}\"", options.paths.front()));
    }
    if (options.password && options.passwordFile) {
        wrongCall("--password and --password-file cannot be given together");
    }
}

Command commandNamed(const std::string& word) {
    for (const CommandRow& row : kCommands) {
        if (word == row.name) return row.command;
    }
    wrongCall(fmt::format("unknown command \"{}\" (see tarvello --help)", word));
}

// --- help ----------------------------------------------------------------------------------

// `text` broken into lines of at most 79 columns, all behind `indent` blanks.
std::string wrapped(const std::string& text, std::size_t indent) {
    constexpr std::size_t kColumns = 79;
    std::string out;
    std::size_t column = kColumns;
    std::size_t position = 0;
    while (position < text.size()) {
        const std::size_t end = std::min(text.find(' ', position), text.size());
        const std::size_t length = end - position;
        if (column + 1 + length > kColumns) {
            out += (out.empty() ? "" : "\n") + std::string(indent, ' ');
            column = indent;
        } else {
            out += ' ';
            ++column;
        }
        out.append(text, position, length);
        column += length;
        position = end + 1;
    }
    return out + "\n";
}

std::string optionsHelp(unsigned command) {
    std::string out;
    const char* group = "";
    for (const OptionRow& row : kOptions) {
        if ((row.commands & command) == 0) continue;
        if (std::strcmp(group, row.group) != 0) {
            out += fmt::format("\n{}\n", row.group);
            group = row.group;
        }
        out += fmt::format("  {}{}{}\n", row.name, row.value == nullptr ? "" : " ",
                           row.value == nullptr ? "" : row.value);
        out += wrapped(row.help, 6);
    }
    return out;
}

constexpr const char* kExitHelp =
    "\nExit status: 0 something was found or changed; 1 nothing was; 2 a document failed,\n"
    "a replacement was refused, or the call was wrong; 130 after an interrupt, which ends\n"
    "the run after the current document (a second one ends it at once).\n";

constexpr const char* kCheckExitHelp =
    "\nPrints FILE:LINE: and what is wrong there, a line for each finding.\n\n"
    "Exit status: 0 nothing is wrong; 1 there are warnings only; 2 there are faults, a file\n"
    "could not be read, or the call was wrong.\n";

const char* exitHelp(Command about) {
    if (about == Command::Formats) return "";
    return about == Command::CheckLanguage ? kCheckExitHelp : kExitHelp;
}

std::string programHelp() {
    std::string out = "Finds and replaces text in many workbooks.\n\n";
    for (const CommandRow& row : kCommands) {
        out += fmt::format("  tarvello {} {}\n      {}\n", row.name, row.usage, row.summary);
    }
    out +=
        "  tarvello --version\n"
        "  tarvello COMMAND --help\n\n"
        "ENTRIES    --find TEXT [--with TEXT] [--in SCOPE]... [--match-case] [--entire]\n"
        "           or --entries FILE\n"
        "DOCUMENTS  PATH... (a folder is scanned, a file is taken) or --list FILE;\n"
        "           -- ends the options, for names that begin with a dash\n";
    return out + kExitHelp;
}

}  // namespace

void wrongCall(const std::string& text) {
    throw Error(ErrorKind::Argument, error_number::kInvalidArgument, text);
}

const std::vector<std::string>& scopeChoices() {
    static const std::vector<std::string> words{"cells",  "hyperlinks", "headers", "footers",
                                                "shapes", "builtin",    "custom",  "all"};
    return words;
}

std::string scopeWord(std::int16_t lookIn) {
    const std::vector<std::string>& words = scopeChoices();
    const bool isScope = lookIn >= 0 && static_cast<std::size_t>(lookIn) + 1 < words.size();
    return isScope ? words[static_cast<std::size_t>(lookIn)] : std::string();
}

Options parseOptions(const std::vector<std::string>& arguments) {
    Options options;
    if (arguments.empty()) wrongCall("no command is given (see tarvello --help)");
    const std::string& first = arguments.front();
    if (first == "--help" || first == "-h" || first == "help") return options;
    if (first == "--version") {
        options.command = Command::Version;
        return options;
    }
    options.command = commandNamed(first);
    const CommandRow& row = rowOf(options.command);
    const std::span<const std::string> rest = std::span(arguments).subspan(1);
    try {
        Sorted sorted = sortArguments(rest, row.bit);
        options.paths = std::move(sorted.paths);
        parseSorted(std::move(sorted.options), row.bit, options);
        if (options.command != Command::Help) check(options);
    } catch (const Error& error) {
        wrongCall(fmt::format("{} (see tarvello {} --help)", error.description(), row.name));
    }
    return options;
}

std::string helpText(Command about) {
    if (about == Command::Help || about == Command::Version) return programHelp();
    const CommandRow& row = rowOf(about);
    std::string out = fmt::format("tarvello {} {}\n\n{}\n", row.name, row.usage, row.summary);
    if ((row.bit & kDirect) != 0) {
        out +=
            "DOCUMENTS are PATH... (a folder is scanned, a file is taken) or --list FILE;\n"
            "-- ends the options, for names that begin with a dash.\n";
    }
    return out + optionsHelp(row.bit) + exitHelp(about);
}

}  // namespace brindle::cli
