// SPDX-License-Identifier: MIT
// The command line: what may be said, what it means, and the help that explains it. One table
// in Options.cpp serves all three.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace brindle::cli {

enum class Command { Help, Version, Search, Replace, Run, Formats, CheckLanguage };

// A call that makes sense. Paths are bytes as they were given; texts are UTF-8.
struct Options {
    Command command = Command::Help;
    Command helpAbout = Command::Help;  // with Help: the command asked about

    // Entries: either `find` or `entriesFile` is set for a search or a replace.
    std::optional<std::string> find;
    std::optional<std::string> with;
    std::vector<std::int16_t> scopes;  // values of Look_In, in the order given, each once
    bool matchCase = false;
    bool entire = false;
    std::optional<std::string> entriesFile;

    // Documents.
    std::vector<std::string> paths;
    std::optional<std::string> listFile;  // "-" is standard input
    bool listEndsWithNul = false;
    std::optional<std::string> types;  // holds at least one ";"
    bool subfolders = false;
    std::string project;                       // of the run command
    std::string languageFile;                  // of the check-language command
    std::optional<std::string> referenceFile;  // likewise

    std::optional<std::string> passwordFile;
    std::optional<std::string> password;
    bool searchOnly = false;  // of the run command
    bool backup = false;
    bool keepDates = false;
    bool inPlace = false;
    unsigned jobs = 0;  // 0: one a core
    bool json = false;
    bool quiet = false;
    bool progress = false;
};

// Ends a call that makes no sense: throws Error (Argument).
[[noreturn]] void wrongCall(const std::string& text);

// Reads the arguments behind the program's name. Throws Error (Argument) with one line that
// says what is wrong with the call.
Options parseOptions(const std::vector<std::string>& arguments);

// The help on the whole program (Command::Help) or on one command.
std::string helpText(Command about);

// Word of a scope on the command line and in JSON: "cells", "hyperlinks", "headers", "footers",
// "shapes", "builtin", "custom"; empty for a value that is no scope.
std::string scopeWord(std::int16_t lookIn);

// The words that may follow --in, "all" last.
const std::vector<std::string>& scopeChoices();

}  // namespace brindle::cli
