// SPDX-License-Identifier: MIT
#include "cli/LanguageReport.h"

#include <fmt/format.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>

#include "base/AppFolder.h"
#include "base/FileIo.h"
#include "cli/OutputStream.h"
#include "lang/LanguageCheck.h"

namespace brindle::cli {

namespace {

constexpr std::uint64_t kMostBytes = 16U << 20;

std::string textLine(const std::string& file, const LanguageFinding& finding) {
    const bool isWarning = finding.severity == LanguageSeverity::Warning;
    std::string place;
    if (!finding.section.empty()) place += "[" + finding.section + "] ";
    if (!finding.key.empty()) place += finding.key + ": ";
    return fmt::format("{}:{}: {}{}{}\n", file, finding.line, isWarning ? "warning: " : "", place,
                       finding.text);
}

std::string jsonLine(const LanguageFinding& finding) {
    const bool isWarning = finding.severity == LanguageSeverity::Warning;
    const nlohmann::ordered_json object{{"type", "finding"},
                                        {"line", finding.line},
                                        {"severity", isWarning ? "warning" : "fault"},
                                        {"section", finding.section},
                                        {"key", finding.key},
                                        {"text", finding.text}};
    return object.dump() + "\n";
}

ExitCode exitCodeOf(const std::vector<LanguageFinding>& findings) {
    if (findings.empty()) return ExitCode::Found;
    const bool hasFault = std::any_of(
        findings.begin(), findings.end(),
        [](const LanguageFinding& each) { return each.severity == LanguageSeverity::Fault; });
    return hasFault ? ExitCode::Trouble : ExitCode::Nothing;
}

}  // namespace

ExitCode reportLanguage(const Options& options) {
    const std::string reference =
        options.referenceFile.value_or(languagesFolder() + "/English.lng");
    const auto findings = checkLanguage(readWholeFile(options.languageFile, kMostBytes),
                                        readWholeFile(reference, kMostBytes));
    OutputStream out(STDOUT_FILENO);
    for (const LanguageFinding& finding : findings)
        out.write(options.json ? jsonLine(finding) : textLine(options.languageFile, finding));
    return exitCodeOf(findings);
}

}  // namespace brindle::cli
