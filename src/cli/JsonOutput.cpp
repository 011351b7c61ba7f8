// SPDX-License-Identifier: MIT
#include "cli/JsonOutput.h"

#include "base/Text.h"
#include "cli/Options.h"
#include "crypto/Base64.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <string>

namespace brindle::cli {

namespace {

using Json = nlohmann::ordered_json;

const char* statusWord(const DocumentResult& result, bool isSearchOnly) {
    switch (result.status) {
        case DocumentStatus::Failed:
            return "failed";
        case DocumentStatus::Unchanged:
            return "unchanged";
        case DocumentStatus::Changed:
            break;
    }
    return isSearchOnly ? "found" : "changed";
}

Json countObject(const EntryCount& count) {
    return {{"find", count.find},
            {"with", count.with},
            {"in", scopeWord(count.lookIn)},
            {"count", count.count}};
}

Json refusalObject(const Refusal& refusal) {
    return {{"find", refusal.find},     {"in", scopeWord(refusal.lookIn)},
            {"sheet", refusal.sheet},   {"place", refusal.place},
            {"number", refusal.number}, {"description", refusal.description}};
}

template <typename Item>
Json arrayOf(const std::vector<Item>& items, Json (*object)(const Item&)) {
    Json array = Json::array();
    for (const Item& item : items) array.push_back(object(item));
    return array;
}

// Names of files may stand inside a description, so a byte that is not UTF-8 is no reason to
// fail: it becomes U+FFFD.
std::string line(const Json& object) {
    return object.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace

void JsonOutput::document(const DocumentResult& result) {
    Json object{{"type", "document"}};
    if (text::isValidUtf8(result.path)) {
        object["path"] = result.path;
    } else {
        object["path_bytes"] = crypto::toBase64(result.path);
    }
    object["number"] = result.number;
    object["status"] = statusWord(result, mIsSearchOnly);
    if (result.status == DocumentStatus::Failed) {
        object["error"] = {{"number", result.errorNumber}, {"description", result.errorText}};
    }
    object["entries"] = arrayOf(result.counts, countObject);
    if (!result.refusals.empty()) object["refused"] = arrayOf(result.refusals, refusalObject);
    mOut.write(line(object));
}

void JsonOutput::summary(const RunSummary& summary) {
    mOut.write(line({{"type", "summary"},
                     {"mode", summary.isSearchOnly ? "search" : "replace"},
                     {"documents", summary.documents},
                     {"changed", summary.changed},
                     {"unchanged", summary.unchanged},
                     {"failed", summary.failed},
                     {"occurrences", summary.occurrences},
                     {"seconds", std::round(summary.seconds * 1000) / 1000}}));
}

}  // namespace brindle::cli
