// SPDX-License-Identifier: MIT
// The drawing parts of a workbook that were asked for, with their pending changes. Two sheets
// may show the same part.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "workbook/ooxml/drawing/DrawingPart.h"
#include "workbook/ooxml/drawing/VmlPart.h"
#include "workbook/ooxml/Package.h"

namespace brindle::workbook::ooxml {

class Drawings {
public:
    // Read when first asked for. Throw Error (Damaged) naming the part.
    DrawingPart& drawing(const Package& package, const std::string& partName);
    VmlPart& vmlDrawing(const Package& package, const std::string& partName);

    bool isChanged() const;
    void changeParts(Package& package) const;

private:
    std::map<std::string, std::unique_ptr<DrawingPart>> mDrawings;  // by part name
    std::map<std::string, std::unique_ptr<VmlPart>> mVmlDrawings;
};

}  // namespace brindle::workbook::ooxml
