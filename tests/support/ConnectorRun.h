// SPDX-License-Identifier: MIT
// A run of the engine over real files of a folder, with what they hold in memory.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "engine/ExcelConnector.h"
#include "support/FakeDocument.h"
#include "support/FakeHost.h"
#include "support/ScopedEnvironment.h"
#include "support/TempDir.h"

namespace brindle::test {

// What the engine reported of one document.
struct Report {
    std::string path;
    std::int32_t number = 0;
    int status = 0;
    bool failed = false;
    std::vector<clsCounts> counts;  // one an entry
    int errorNumber = 0;
    std::vector<Refusal> refusals;
};

class ConnectorRun {
public:
    ConnectorRun() : flags(stop) {
        app.CurrentProject.IsScanFolder = true;
        app.CurrentProject.StartFolder = dir.path();
        app.CurrentProject.SpreadsheetTypeToExamine = "*.xls;";
    }

    // A document of the start folder; the file itself only has to be there.
    FakeBook& addBook(const std::string& name) { return files[dir.write(name, "workbook")]; }

    Entry& addEntry(const std::string& find, const std::string& with, std::int16_t lookIn = 0,
                    bool matchCase = false, bool entire = false) {
        return *app.Items->Add(find, with, lookIn, matchCase, entire, "");
    }

    ExcelFactory factory() {
        return [this] { return std::make_unique<excel::Application>(files.opener()); };
    }

    // Runs over the project's documents, or those of `source`.
    void go(DocumentSource* source = nullptr) {
        ExcelConnector connector(host, flags, options, factory());
        connector.FileStatusChanged = [&](const std::string& path, std::int32_t& number, int status,
                                          Entries& entries) {
            report(connector, path, number, status, entries);
        };
        if (source)
            connector.StartReplace(app, *app.Items, *source);
        else
            connector.StartReplace(app, *app.Items);
        totalFiles = connector.TotalFiles;
    }

    std::string log() const { return home.has("Errors.Log") ? home.read("Errors.Log") : ""; }
    // How many lines of the log are about a routine of the engine.
    std::size_t linesOf(const std::string& procedure) const {
        const std::string all = log();
        const std::string mark = "in procedure " + procedure + " at";
        std::size_t count = 0;
        for (auto at = all.find(mark); at != std::string::npos; at = all.find(mark, at + 1))
            ++count;
        return count;
    }
    std::vector<std::string> reportedNames() const {
        std::vector<std::string> names;
        for (const Report& report : reports)
            names.push_back(std::filesystem::path(report.path).filename().string());
        return names;
    }

    TempDir home;
    ScopedEnvironment homeForLogAndTexts{"BRINDLE_HOME", home.path()};
    TempDir dir;
    FakeHost host;
    FakeFiles files;
    std::atomic<bool> stop{false};
    RunFlags flags;
    RunOptions options;
    Application app;
    std::vector<Report> reports;
    std::function<void(const Report&)> onReport;
    std::int32_t totalFiles = 0;

private:
    void report(ExcelConnector& connector, const std::string& path, std::int32_t number, int status,
                Entries& entries) {
        Report report{path, number, status, flags.CurrentFileFailed, {}, 0, connector.refusals()};
        for (const Entry* entry : entries.NewEnum()) report.counts.push_back(entry->counts);
        if (connector.documentError()) report.errorNumber = connector.documentError()->number();
        reports.push_back(report);
        if (onReport) onReport(report);
    }
};

}  // namespace brindle::test
