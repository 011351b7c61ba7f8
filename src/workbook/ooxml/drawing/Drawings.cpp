// SPDX-License-Identifier: MIT
#include "workbook/ooxml/drawing/Drawings.h"

#include <algorithm>

#include "base/Error.h"

namespace brindle::workbook::ooxml {

namespace {

template <typename Part>
Part& partIn(std::map<std::string, std::unique_ptr<Part>>& parts, const Package& package,
             const std::string& partName) {
    auto& part = parts[package::normalisedMemberName(partName)];
    if (part) return *part;
    try {
        part = std::make_unique<Part>(package.read(partName).view());
    } catch (Error& error) {
        throw error.inMember(partName);
    }
    return *part;
}

template <typename Part>
bool isAnyChanged(const std::map<std::string, std::unique_ptr<Part>>& parts) {
    return std::any_of(parts.begin(), parts.end(),
                       [](const auto& each) { return each.second && each.second->isChanged(); });
}

template <typename Part>
void changeEach(const std::map<std::string, std::unique_ptr<Part>>& parts, Package& package) {
    for (const auto& [name, part] : parts) {
        if (part && part->isChanged()) package.replacePart(name, part->changedPart());
    }
}

}  // namespace

DrawingPart& Drawings::drawing(const Package& package, const std::string& partName) {
    return partIn(mDrawings, package, partName);
}

VmlPart& Drawings::vmlDrawing(const Package& package, const std::string& partName) {
    return partIn(mVmlDrawings, package, partName);
}

bool Drawings::isChanged() const {
    return isAnyChanged(mDrawings) || isAnyChanged(mVmlDrawings);
}

void Drawings::changeParts(Package& package) const {
    changeEach(mDrawings, package);
    changeEach(mVmlDrawings, package);
}

}  // namespace brindle::workbook::ooxml
