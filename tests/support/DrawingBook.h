// SPDX-License-Identifier: MIT
// Workbooks with one sheet that has a drawing, a legacy drawing or both.
#pragma once

#include <string>

#include "support/WorkbookBuilder.h"

namespace brindle::test {

inline constexpr const char* kDrawing = "xl/drawings/drawing1.xml";
inline constexpr const char* kVml = "xl/drawings/vmlDrawing1.vml";

inline std::string drawingPart(const std::string& anchors) {
    return "<xdr:wsDr "
           "xmlns:xdr=\"http://schemas.openxmlformats.org/drawingml/2006/spreadsheetDrawing\" "
           "xmlns:a=\"http://schemas.openxmlformats.org/drawingml/2006/main\" "
           "xmlns:mc=\"http://schemas.openxmlformats.org/markup-compatibility/2006\" "
           "xmlns:a14=\"http://schemas.microsoft.com/office/drawing/2010/main\">" +
           anchors + "</xdr:wsDr>";
}

inline std::string anchored(const std::string& object, const std::string& clientData = {}) {
    return "<xdr:absoluteAnchor><xdr:pos x=\"0\" y=\"0\"/>" + object + "<xdr:clientData" +
           clientData + "/></xdr:absoluteAnchor>";
}

// A shape with these paragraphs.
inline std::string shape(const std::string& paragraphs, const std::string& attributes = {},
                         const std::string& id = "2", const std::string& inName = {}) {
    return "<xdr:sp" + attributes + "><xdr:nvSpPr><xdr:cNvPr id=\"" + id + "\" name=\"n\">" +
           inName + "</xdr:cNvPr><xdr:cNvSpPr/></xdr:nvSpPr><xdr:spPr/>" +
           (paragraphs.empty() ? "" : "<xdr:txBody><a:bodyPr/>" + paragraphs + "</xdr:txBody>") +
           "</xdr:sp>";
}

inline std::string run(const std::string& text, const std::string& format = {}) {
    return "<a:r>" + (format.empty() ? "" : "<a:rPr " + format + "/>") + "<a:t>" + text +
           "</a:t></a:r>";
}

inline std::string paragraph(const std::string& text) {
    return "<a:p>" + run(text) + "</a:p>";
}

// The name's extension that pairs a shape with a control of the legacy drawing.
inline std::string controlId(const std::string& id) {
    return "<a:extLst><a:ext uri=\"{63B3BB69-23CF-44E3-9099-C40C66FF867C}\"><a14:compatExt "
           "spid=\"" +
           id + "\"/></a:ext></a:extLst>";
}

inline std::string vmlPart(const std::string& shapes) {
    return "<xml xmlns:v=\"urn:schemas-microsoft-com:vml\" "
           "xmlns:o=\"urn:schemas-microsoft-com:office:office\" "
           "xmlns:x=\"urn:schemas-microsoft-com:office:excel\">\n <v:shapetype id=\"t\"/>" +
           shapes + "</xml>";
}

inline std::string vmlShape(const std::string& id, const std::string& type, const std::string& box,
                            const std::string& data = {}) {
    return "<v:shape id=\"" + id + "\" type=\"#t\">\n  <v:textbox>" + box +
           "</v:textbox>\n  <x:ClientData ObjectType=\"" + type + "\">" + data +
           "</x:ClientData></v:shape>";
}

// `tail` stands between the cells and the references to the drawings; an empty part is left out.
inline WorkbookBuilder drawingBook(const std::string& drawing, const std::string& vml = {},
                                   const std::string& tail = {}, const std::string& rows = {}) {
    const std::string type = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/";
    std::string links =
        "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">";
    WorkbookBuilder book;
    std::string references = tail;
    if (!drawing.empty()) {
        references += "<drawing r:id=\"d\"/>";
        links += "<Relationship Id=\"d\" Type=\"" + type +
                 "drawing\" Target=\"../drawings/drawing1.xml\"/>";
        book.part(kDrawing, drawing);
    }
    if (!vml.empty()) {
        references += "<legacyDrawing r:id=\"v\"/>";
        links += "<Relationship Id=\"v\" Type=\"" + type +
                 "vmlDrawing\" Target=\"../drawings/vmlDrawing1.vml\"/>";
        book.part(kVml, vml);
    }
    book.sheet(rows, references);
    book.part("xl/worksheets/_rels/sheet1.xml.rels", links + "</Relationships>");
    return book;
}

}  // namespace brindle::test
