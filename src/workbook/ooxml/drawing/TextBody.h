// SPDX-License-Identifier: MIT
// Texts of shapes as drawings write them. Layouts: DrawingML text bodies, ECMA-376 part 1,
// section 21.1.2; VML text boxes, part 4, section 19.1.2.22.
#pragma once

#include <string_view>

#include "workbook/ooxml/drawing/ShapeText.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::ooxml {

// Both read the element on whose start tag `scanner` stands, and leave it at its end tag. `part`
// is what the scanner reads. The text's xml() is the element as it stands. Throw Error (Damaged).
ShapeText readTextBody(package::XmlScanner& scanner, std::string_view part);

// White space counts as in a web page: a run of it is one blank, none at the ends of a line.
// New line feeds are written as `lineBreak`.
ShapeText readVmlTextBox(package::XmlScanner& scanner, std::string_view part,
                         std::string_view lineBreak);

}  // namespace brindle::workbook::ooxml
