// SPDX-License-Identifier: MIT
// Versions and record ids of the binary workbook format. Layout: [MS-XLS] for BIFF8; the same
// ids serve the older versions where a row below does not say otherwise.
#pragma once

#include <cstddef>
#include <cstdint>

namespace brindle::workbook::xls {

// Biff5 stands for 5.0 and 7.0 (95), which are one format.
enum class Version : std::uint8_t { Biff2, Biff3, Biff4, Biff5, Biff8 };

// The longest body of one record, in bytes.
constexpr std::size_t longestBody(Version version) {
    return version == Version::Biff8 ? 8224 : 2080;
}

// Kinds of substreams, as BOF names them.
namespace substream {
inline constexpr std::uint16_t kGlobals = 0x0005;
inline constexpr std::uint16_t kModule = 0x0006;
inline constexpr std::uint16_t kWorksheet = 0x0010;  // or a dialog sheet, by WSBOOL
inline constexpr std::uint16_t kChart = 0x0020;
inline constexpr std::uint16_t kMacro = 0x0040;
inline constexpr std::uint16_t kWorkspace = 0x0100;
}  // namespace substream

namespace record {
inline constexpr std::uint16_t kFormula = 0x0006;
inline constexpr std::uint16_t kBof2 = 0x0009;
inline constexpr std::uint16_t kEof = 0x000A;
inline constexpr std::uint16_t kProtect = 0x0012;
inline constexpr std::uint16_t kPassword = 0x0013;
inline constexpr std::uint16_t kHeader = 0x0014;
inline constexpr std::uint16_t kFooter = 0x0015;
inline constexpr std::uint16_t kExternCount = 0x0016;
inline constexpr std::uint16_t kExternSheet = 0x0017;
inline constexpr std::uint16_t kName = 0x0018;
inline constexpr std::uint16_t kVerticalBreaks = 0x001A;
inline constexpr std::uint16_t kHorizontalBreaks = 0x001B;
inline constexpr std::uint16_t kNote = 0x001C;
inline constexpr std::uint16_t kDateMode = 0x0022;
inline constexpr std::uint16_t kExternName = 0x0023;
inline constexpr std::uint16_t kFilePass = 0x002F;
inline constexpr std::uint16_t kFont = 0x0031;
inline constexpr std::uint16_t kContinue = 0x003C;
inline constexpr std::uint16_t kCodePage = 0x0042;
inline constexpr std::uint16_t kDefColWidth = 0x0055;
inline constexpr std::uint16_t kExternCache = 0x0059;
inline constexpr std::uint16_t kExternCacheRow = 0x005A;
inline constexpr std::uint16_t kFileSharing = 0x005B;
inline constexpr std::uint16_t kWriteAccess = 0x005C;
inline constexpr std::uint16_t kObj = 0x005D;
inline constexpr std::uint16_t kObjectProtect = 0x0063;
inline constexpr std::uint16_t kColInfo = 0x007D;
inline constexpr std::uint16_t kWsBool = 0x0081;
inline constexpr std::uint16_t kCenterHorizontally = 0x0083;
inline constexpr std::uint16_t kBoundSheet = 0x0085;
inline constexpr std::uint16_t kWriteProt = 0x0086;
inline constexpr std::uint16_t kCountry = 0x008C;
inline constexpr std::uint16_t kMulRk = 0x00BD;
inline constexpr std::uint16_t kMulBlank = 0x00BE;
inline constexpr std::uint16_t kRString = 0x00D6;
inline constexpr std::uint16_t kDbCell = 0x00D7;
inline constexpr std::uint16_t kXf = 0x00E0;
inline constexpr std::uint16_t kInterfaceHdr = 0x00E1;
inline constexpr std::uint16_t kMsoDrawing = 0x00EC;
inline constexpr std::uint16_t kSst = 0x00FC;
inline constexpr std::uint16_t kLabelSst = 0x00FD;
inline constexpr std::uint16_t kExtSst = 0x00FF;
inline constexpr std::uint16_t kRrdHead = 0x0138;
inline constexpr std::uint16_t kUsrExcl = 0x0194;
inline constexpr std::uint16_t kFileLock = 0x0195;
inline constexpr std::uint16_t kRrdInfo = 0x0196;
inline constexpr std::uint16_t kViewBegin = 0x01AA;  // of a custom view
inline constexpr std::uint16_t kViewEnd = 0x01AB;
inline constexpr std::uint16_t kSupBook = 0x01AE;
inline constexpr std::uint16_t kTxo = 0x01B6;
inline constexpr std::uint16_t kHyperlink = 0x01B8;
inline constexpr std::uint16_t kRecalcId = 0x01C1;
inline constexpr std::uint16_t kDimensions = 0x0200;
inline constexpr std::uint16_t kBlank = 0x0201;
inline constexpr std::uint16_t kNumber = 0x0203;
inline constexpr std::uint16_t kLabel = 0x0204;
inline constexpr std::uint16_t kBoolErr = 0x0205;
inline constexpr std::uint16_t kString = 0x0207;
inline constexpr std::uint16_t kRow = 0x0208;
inline constexpr std::uint16_t kBof3 = 0x0209;
inline constexpr std::uint16_t kIndex = 0x020B;
inline constexpr std::uint16_t kName3 = 0x0218;  // of BIFF3 and BIFF4
inline constexpr std::uint16_t kArray = 0x0221;
inline constexpr std::uint16_t kExternName3 = 0x0223;  // of BIFF3 and BIFF4
inline constexpr std::uint16_t kTable = 0x0236;
inline constexpr std::uint16_t kRk = 0x027E;
inline constexpr std::uint16_t kBof4 = 0x0409;
inline constexpr std::uint16_t kFormat = 0x041E;
inline constexpr std::uint16_t kSharedFormula = 0x04BC;
inline constexpr std::uint16_t kHyperlinkTooltip = 0x0800;
inline constexpr std::uint16_t kBof = 0x0809;
inline constexpr std::uint16_t kHeaderFooter = 0x089C;
}  // namespace record

// Whether a record begins a substream, in any version.
constexpr bool isBof(std::uint16_t id) {
    return id == record::kBof || id == record::kBof4 || id == record::kBof3 || id == record::kBof2;
}

}  // namespace brindle::workbook::xls
