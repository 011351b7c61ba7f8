// SPDX-License-Identifier: MIT
// The records that hold cells, in every version of the format. Layout: [MS-XLS] 2.4 (RK, MulRk,
// Number, LabelSst, Label, BoolErr, Formula).
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/LittleEndian.h"
#include "workbook/DocumentModel.h"
#include "workbook/xls/biff/Biff.h"
#include "workbook/xls/biff/RecordReader.h"
#include "workbook/xls/formula/FormulaTokens.h"

namespace brindle::workbook::xls {

enum class CellKind : std::uint8_t {
    SharedString,
    Label,      // the text stands in the record
    RichLabel,  // the same with formatting runs behind it
    Number,     // also one of several in a record
    Boolean,
    Error,
    Formula
};

struct CellRecord {
    CellPosition position;
    std::size_t begin = 0;  // of the record, in the stream
    std::size_t end = 0;
    // Place of the cell's format among the XF records; of BIFF2 the first two attribute bytes.
    std::uint16_t format = 0;
    CellKind kind = CellKind::Number;
    double number = 0;
    std::uint32_t sharedString = 0;
    std::uint8_t code = 0;  // Boolean: 0 or 1; Error: its code
    std::string_view data;  // Label: behind the format, with the count in front; Formula: the body
};

// The cells of one kind of record in one version; nothing for records that hold none.
enum class CellShape : std::uint8_t {
    None,
    SharedString,
    Label,
    RichLabel,
    Integer,
    Number,
    Rk,
    MulRk,
    BoolErr,
    Formula
};
CellShape cellShapeInBiff2(std::uint16_t id);
// From BIFF3 on. Some programs write later versions with the ids of BIFF3 and BIFF4.
bool isFormulaRecord(std::uint16_t id, Version version);
inline CellShape cellShape(std::uint16_t id, Version version) {
    if (version == Version::Biff2) return cellShapeInBiff2(id);
    switch (id) {
        case record::kLabelSst:
            return version == Version::Biff8 ? CellShape::SharedString : CellShape::None;
        case record::kRk:
            return CellShape::Rk;
        case record::kMulRk:
            return CellShape::MulRk;
        case record::kNumber:
            return CellShape::Number;
        case record::kLabel:
            return CellShape::Label;
        case record::kRString:
            return CellShape::RichLabel;
        case record::kBoolErr:
            return CellShape::BoolErr;
        default:
            return isFormulaRecord(id, version) ? CellShape::Formula : CellShape::None;
    }
}

// Of row, column and format: 6 bytes, 7 in BIFF2.
constexpr std::size_t cellHeaderSize(Version version) {
    return version == Version::Biff2 ? 7 : 6;
}

double rkNumber(std::uint32_t rk);
// Cells in a record that holds any: more than one in a MULRK. Throws Error (Damaged) when that is
// cut.
std::size_t cellCount(const Record& record, CellShape shape);

// The cell of a record that holds one, or the one at `index` of a MULRK. Throws Error (Damaged)
// when the body is too short.
CellRecord cellOf(const Record& record, CellShape shape, Version version, std::size_t index = 0);

// The number of a record that holds one, or the one at `index` of a MULRK. Throws as cellOf() does.
struct StoredNumber {
    std::uint16_t format = 0;  // as in CellRecord
    double number = 0;
};
StoredNumber numberOf(const Record& record, CellShape shape, Version version, std::size_t index);

// The parts of a FORMULA record.
struct FormulaRecord {
    static constexpr std::uint16_t kAlwaysCalculate = 1;
    static constexpr std::uint16_t kCalculateOnLoad = 2;
    static constexpr std::uint16_t kShared = 8;

    std::string_view result;  // 8 bytes
    FormulaTokens formula;

    enum class Result { Number, Text, Boolean, Error, Empty };
    Result resultKind() const;
    double number() const {
        return std::bit_cast<double>(getLittleEndian<std::uint64_t>(result.data()));
    }
    std::uint8_t resultCode() const { return static_cast<std::uint8_t>(result[2]); }
};
FormulaRecord formulaOf(std::string_view body, Version version);

}  // namespace brindle::workbook::xls
