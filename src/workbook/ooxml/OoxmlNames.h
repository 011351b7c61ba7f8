// SPDX-License-Identifier: MIT
// Names of the Office Open XML formats (ECMA-376 / ISO/IEC 29500, transitional and strict).
#pragma once

#include <string_view>

namespace brindle::workbook::ooxml {

inline constexpr std::string_view kMainNamespace =
    "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
inline constexpr std::string_view kMainNamespaceStrict =
    "http://purl.oclc.org/ooxml/spreadsheetml/main";
inline constexpr std::string_view kRelationshipsNamespace =
    "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
inline constexpr std::string_view kRelationshipsNamespaceStrict =
    "http://purl.oclc.org/ooxml/officeDocument/relationships";

inline constexpr std::string_view kSpreadsheetDrawingNamespace =
    "http://schemas.openxmlformats.org/drawingml/2006/spreadsheetDrawing";
inline constexpr std::string_view kSpreadsheetDrawingNamespaceStrict =
    "http://purl.oclc.org/ooxml/drawingml/spreadsheetDrawing";
inline constexpr std::string_view kCompatibilityNamespace =
    "http://schemas.openxmlformats.org/markup-compatibility/2006";
inline constexpr std::string_view kVmlNamespace = "urn:schemas-microsoft-com:vml";

inline constexpr std::string_view kContentTypesPart = "[Content_Types].xml";

// Last steps of relationship types; the part in front differs between the two variants.
inline constexpr std::string_view kOfficeDocumentType = "/officeDocument";
inline constexpr std::string_view kWorksheetType = "/worksheet";
inline constexpr std::string_view kSharedStringsType = "/sharedStrings";
inline constexpr std::string_view kStylesType = "/styles";
inline constexpr std::string_view kCalcChainType = "/calcChain";
inline constexpr std::string_view kTableType = "/table";
inline constexpr std::string_view kHyperlinkType = "/hyperlink";
inline constexpr std::string_view kExternalLinkType = "/externalLink";
inline constexpr std::string_view kDrawingType = "/drawing";
inline constexpr std::string_view kVmlDrawingType = "/vmlDrawing";
inline constexpr std::string_view kCorePropertiesType = "/core-properties";
inline constexpr std::string_view kExtendedPropertiesType = "/extended-properties";
inline constexpr std::string_view kExtendedPropertiesTypeStrict = "/extendedProperties";
inline constexpr std::string_view kCustomPropertiesType = "/custom-properties";
inline constexpr std::string_view kCustomPropertiesTypeStrict = "/customProperties";
inline constexpr std::string_view kSignatureOriginType = "/digital-signature/origin";

inline bool isMainNamespace(std::string_view uri) {
    return uri == kMainNamespace || uri == kMainNamespaceStrict;
}

inline bool isRelationshipsNamespace(std::string_view uri) {
    return uri == kRelationshipsNamespace || uri == kRelationshipsNamespaceStrict;
}

inline bool isSpreadsheetDrawingNamespace(std::string_view uri) {
    return uri == kSpreadsheetDrawingNamespace || uri == kSpreadsheetDrawingNamespaceStrict;
}

// Limits of a worksheet.
inline constexpr int kMaxRow = 1048576;
inline constexpr int kMaxColumn = 16384;

}  // namespace brindle::workbook::ooxml
