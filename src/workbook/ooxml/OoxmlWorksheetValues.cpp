// SPDX-License-Identifier: MIT
// The half of OoxmlWorksheet that tells values, for the import of lists.
#include "workbook/ooxml/IsoDate.h"
#include "workbook/ooxml/OoxmlDocument.h"
#include "workbook/ooxml/OoxmlWorksheet.h"

namespace brindle::workbook::ooxml {

namespace {

// The last result counts for a formula: values are asked for, not their source.
class ValueCollector final : public CellSink {
public:
    ValueCollector(WorkbookTexts& workbook, std::map<CellPosition, CellValue>& values)
        : mTexts(workbook), mIs1904(workbook.date1904), mValues(values) {}

    void root(const FragmentContext& context) override { mTexts.setContext(context); }

    void cell(const ScannedCell& cell) override {
        ScannedCell constant = cell;
        constant.hasFormula = false;
        CellValue value;
        value.text = mTexts.textOf(constant);
        if (value.text.empty()) return;
        value.kind = kindOf(cell.type);
        if (value.kind == CellValue::Kind::Number) {
            const auto number = cell.type == CellType::Date ? serialOfIsoDate(cell.value, mIs1904)
                                                            : parseDecimal(cell.value);
            if (number) value.number = *number;
        }
        value.boolean = value.text == "TRUE";
        mValues[cell.position] = std::move(value);
    }

private:
    static CellValue::Kind kindOf(CellType type) {
        switch (type) {
            case CellType::Number:
            case CellType::Date:
                return CellValue::Kind::Number;
            case CellType::Boolean:
                return CellValue::Kind::Boolean;
            case CellType::Error:
                return CellValue::Kind::Error;
            default:
                return CellValue::Kind::Text;
        }
    }

    CellTexts mTexts;
    bool mIs1904;
    std::map<CellPosition, CellValue>& mValues;
};

}  // namespace

std::map<CellPosition, CellValue> OoxmlWorksheet::readValues() {
    std::map<CellPosition, CellValue> values;
    const Package& package = mDocument.package();
    ValueCollector collector(mDocument.texts(), values);
    scanSheet(package.archive(), package.memberOf(mEntry.partName), collector,
              [&values] { values.clear(); });
    return values;
}

}  // namespace brindle::workbook::ooxml
