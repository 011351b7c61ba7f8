// SPDX-License-Identifier: MIT
// Changes to a relationship part. Layout: ECMA-376 part 2, section 9.3.
#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace brindle::workbook::ooxml {

struct RelationshipChanges {
    struct Added {
        std::string id;
        std::string target;
    };
    std::map<std::string, std::string> targets;  // new ones, by id
    std::set<std::string> removed;               // ids
    // By the id of the existing one that they are like in all other attributes.
    std::map<std::string, std::vector<Added>> added;

    bool isEmpty() const { return targets.empty() && removed.empty() && added.empty(); }
};

// The part with the changes made, all other bytes as they are.
std::string changedRelationships(std::string_view part, const RelationshipChanges& changes);

}  // namespace brindle::workbook::ooxml
