// SPDX-License-Identifier: MIT
#include "cli/Commands.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <thread>

#include "base/SettingsStore.h"
#include "base/StandardDescriptors.h"
#include "cli/FormatList.h"
#include "cli/Jobs.h"
#include "cli/LanguageReport.h"
#include "cli/Options.h"
#include "cli/PathSource.h"
#include "cli/ProjectRun.h"
#include "cli/RunSession.h"
#include "cli/Signals.h"
#include "lang/modINI.h"
#include "shell/ErrorLog.h"

namespace brindle::cli {

namespace {

// A pipe or a here-document will do as well as a file, so that the password need not be on disk.
std::string firstLineOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string line;
    if (!std::getline(file, line) && !file.eof())
        wrongCall("cannot read the password file " + path);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.empty()) wrongCall("no password stands in the first line of " + path);
    return line;
}

void addOwnEntries(const Options& options, Entries& entries) {
    for (const std::int16_t scope : options.scopes) {
        entries.Add(*options.find, options.with.value_or(""), scope, options.matchCase,
                    options.entire, {});
    }
}

void applyOptions(const Options& options, clsProjExcel& project) {
    if (options.password) project.Password = *options.password;
    if (options.passwordFile) project.Password = firstLineOf(*options.passwordFile);
    project.KeepTheOriginalFileDate = project.KeepTheOriginalFileDate || options.keepDates;
    project.BackupMode = project.BackupMode || options.backup;
}

unsigned jobsOf(const Options& options) {
    return options.jobs > 0 ? options.jobs : std::max(1U, std::thread::hardware_concurrency());
}

Run runOf(const Options& options, ConsoleHost& console, Application& app, bool isSearchOnly) {
    RunOptions engineOptions;
    engineOptions.allowInPlace = options.inPlace;
    return {console, app, *app.Items, stopRequest(), isSearchOnly, engineOptions, jobsOf(options)};
}

PathSelection selectionOf(const Options& options) {
    return {options.paths, options.listFile, options.listEndsWithNul,
            options.types.value_or(allTypes()), options.subfolders};
}

using SourceMaker = std::function<std::unique_ptr<DocumentSource>(const PathSource::Problem&)>;

// A list that comes through a pipe is gone once it is read.
bool canBeReadTwice(const Options& options) {
    if (!options.listFile) return true;
    std::error_code ignored;
    return *options.listFile != "-" && std::filesystem::is_regular_file(*options.listFile, ignored);
}

// Counting takes a walk of its own, which is worth it only when somebody looks.
std::int64_t countDocuments(const SourceMaker& makeSource) {
    const auto source = makeSource([](const std::string&, const Error&) {});
    std::int64_t count = 0;
    while (!stopRequest() && source->next()) ++count;
    return count;
}

ExitCode work(const Options& options, ConsoleHost& console, const Run& run,
              const SourceMaker& makeSource) {
    RunSession session(options, console, run.isSearchOnly);
    const auto source = makeSource(
        [&](const std::string& path, const Error& error) { session.trouble(path, error); });
    if (console.showsProgress() && canBeReadTwice(options)) {
        session.expectDocuments(countDocuments(makeSource));
    }
    runDocuments(run, *source, [&](const DocumentResult& result) { session.take(result); });
    return session.finish();
}

ExitCode searchOrReplace(const Options& options, ConsoleHost& console) {
    Application app;
    if (options.find) {
        addOwnEntries(options, *app.Items);
    } else {
        addListedEntries(*options.entriesFile, true, *app.Items);
    }
    applyOptions(options, app.CurrentProject);
    const bool isSearchOnly = options.command == Command::Search;
    return work(options, console, runOf(options, console, app, isSearchOnly),
                [&](const PathSource::Problem& problem) {
                    return std::make_unique<PathSource>(selectionOf(options), problem);
                });
}

ExitCode runOfProject(const Options& options, ConsoleHost& console) {
    Application app;
    loadProject(options.project, app);
    applyOptions(options, app.CurrentProject);
    return work(options, console, runOf(options, console, app, options.searchOnly),
                [&](const PathSource::Problem& problem) {
                    return projectDocuments(app.CurrentProject, console, problem);
                });
}

ExitCode print(const std::string& text) {
    OutputStream(STDOUT_FILENO).write(text);
    return ExitCode::Found;
}

ExitCode carryOut(const Options& options, ConsoleHost& console) {
    switch (options.command) {
        case Command::Help:
            return print(helpText(options.helpAbout));
        case Command::Version:
            return print("tarvello " BRINDLE_VERSION "\n");
        case Command::Formats:
            return print(options.json ? formatListJson() : formatListText());
        case Command::CheckLanguage:
            return reportLanguage(options);
        case Command::Run:
            return runOfProject(options, console);
        case Command::Search:
        case Command::Replace:
            break;
    }
    return searchOrReplace(options, console);
}

// Whatever ends a call early: one line that says why.
ExitCode carryOutOrComplain(const std::vector<std::string>& arguments) {
    try {
        const Options options = parseOptions(arguments);
        ConsoleHost console(options.progress && !options.quiet);
        try {
            return carryOut(options, console);
        } catch (...) {
            console.complain(currentError().what());
        }
    } catch (const Error& error) {
        ConsoleHost(false).complain(error.what());
    }
    return wasInterrupted() ? ExitCode::Interrupted : ExitCode::Trouble;
}

}  // namespace

int runTarvello(const std::vector<std::string>& arguments) {
    if (!holdStandardDescriptors()) return static_cast<int>(ExitCode::Trouble);
    handleSignals();
    gLanguageFile = SettingsStore().get("Brindle", "INIFILE", "PATH", gLanguageFile);
    return static_cast<int>(carryOutOrComplain(arguments));
}

}  // namespace brindle::cli
