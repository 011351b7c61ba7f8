// SPDX-License-Identifier: MIT
// The formulas of a binary workbook, for checks of the decoder and the compiler on real files.
#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "workbook/DocumentModel.h"
#include "workbook/xls/biff/RecordReader.h"
#include "workbook/xls/biff/StringCodec.h"
#include "workbook/xls/formula/FormulaDecoder.h"
#include "workbook/xls/formula/FormulaTokens.h"
#include "workbook/xls/formula/LinkTable.h"

namespace brindle::workbook::xls {

struct XlsFormula {
    enum class Kind { Own, Shared, Array, Table, Lost };
    CellPosition cell;
    Kind kind = Kind::Own;
    FormulaTokens tokens;  // those that say what the cell shows; none of a table
};

struct XlsFormulaSheet {
    std::string name;
    std::unique_ptr<LinkTable> links;
    std::vector<XlsFormula> formulas;
};

class XlsFormulas {
public:
    // Throws Error for what is no binary workbook, and for encrypted ones (WrongPassword).
    explicit XlsFormulas(const std::string& path);
    XlsFormulas(const XlsFormulas&) = delete;

    const StringCodec& codec() const { return *mCodec; }
    LinkTable& links() { return *mLinks; }
    const std::vector<XlsFormulaSheet>& sheets() const { return mSheets; }
    std::vector<XlsFormulaSheet>& sheets() { return mSheets; }
    const std::string& stream() const { return mStream; }

    // Nothing when the formula cannot be shown.
    static std::optional<std::string> text(const FormulaDecoder& decoder,
                                           const XlsFormula& formula);

private:
    struct Host;
    void readGlobals();
    void readSheet(std::string name, std::size_t offset);
    void learn(LinkTable& links, const Record& record) const;
    std::string_view bodyOf(const Record& record);

    std::string mStream;
    std::deque<std::string> mBodies;  // joined from several records
    std::unique_ptr<StringCodec> mCodec;
    std::unique_ptr<LinkTable> mLinks;
    std::vector<XlsFormulaSheet> mSheets;
};

}  // namespace brindle::workbook::xls
