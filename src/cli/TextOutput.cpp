// SPDX-License-Identifier: MIT
#include "cli/TextOutput.h"

#include <fmt/format.h>

#include <string>

#include "cli/Options.h"

namespace brindle::cli {

std::string refusalLine(const Refusal& refusal) {
    const std::string place = placeText(refusal);
    return fmt::format("refused: {} ({}){}{}: {}", refusal.find, scopeWord(refusal.lookIn),
                       place.empty() ? "" : " at ", place, refusal.description);
}

void TextOutput::document(const DocumentResult& result) {
    if (result.counts.empty() && result.refusals.empty()) return;
    std::string out = onOneLine(result.path) + "\n";
    for (const EntryCount& count : result.counts) {
        out += "\t" + onOneLine(childText(count)) + "\n";
    }
    for (const Refusal& refusal : result.refusals) {
        out += "\t" + onOneLine(refusalLine(refusal)) + "\n";
    }
    mConsole.clearProgress();
    mOut.write(out);
}

void TextOutput::summary(const RunSummary& summary) {
    const auto counted = [](std::int64_t number, const char* thing) {
        return fmt::format("{} {}{}", number, thing, number == 1 ? "" : "s");
    };
    const std::string refused =
        summary.refused == 0 ? "" : fmt::format("{} refused, ", summary.refused);
    mConsole.clearProgress();
    mOut.write(fmt::format("{}, {} {}, {} unchanged, {} failed, {}{}, {:.1f} s\n",
                           counted(summary.documents, "document"), summary.changed,
                           summary.isSearchOnly ? "found" : "changed", summary.unchanged,
                           summary.failed, refused, counted(summary.occurrences, "occurrence"),
                           summary.seconds));
}

void QuietOutput::document(const DocumentResult& result) {
    for (const Refusal& refusal : result.refusals) {
        mConsole.complain(result.path + ": " + refusalLine(refusal));
    }
}

}  // namespace brindle::cli
