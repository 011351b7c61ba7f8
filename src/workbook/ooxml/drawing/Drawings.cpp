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
    for (const auto& [name, part] : mDrawings) {
        if (part && part->isChanged()) package.replacePart(name, part->changedPart());
    }
    for (const auto& [name, part] : mVmlDrawings) {
        if (!part || !part->isChanged()) continue;
        const std::string changed = part->changedPart();
        package.replacePart(name, changed,
                            part->isXml() ? Package::Content::Xml : Package::Content::Other);
    }
}

}  // namespace brindle::workbook::ooxml
