// SPDX-License-Identifier: MIT
// Tokens of any version with the link records of their workbook: decoding may not crash; what the
// compiler makes of the text must show that text, also by the link records as they are written.
//
// Input: version (8 bits), size of the link records (16), these, size of the tokens (16), these,
// extra data.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/ByteReader.h"
#include "base/Error.h"
#include "workbook/xls/biff/RecordReader.h"
#include "workbook/xls/biff/StringCodec.h"
#include "workbook/xls/formula/FormulaCompiler.h"
#include "workbook/xls/formula/FormulaDecoder.h"
#include "workbook/xls/formula/LinkTable.h"
#include "workbook/xls/formula/TokenReader.h"

namespace {

using namespace brindle;
using namespace brindle::workbook;
using namespace brindle::workbook::xls;

constexpr CellPosition kCell = {7, 3};

void require(bool condition) {
    if (!condition) std::abort();
}

std::string_view cut(ByteReader& bytes, std::size_t size) {
    return bytes.bytes(std::min(size, bytes.remaining()));
}

LinkTable tableOf(std::string_view stream, const StringCodec& codec) {
    LinkTable table(codec);
    table.setSheets({"Sheet1", "My sheet", "A1", "it's", "Last"});
    RecordReader reader(stream);
    Record record;
    try {
        while (reader.next(record)) {
            if (!LinkTable::concerns(record.id)) continue;
            std::size_t end = 0;
            const std::string body = continuedBody(stream, record, &end);
            table.learn(record, body, end);
        }
    } catch (const Error&) {
        // The rest is no record.
    }
    return table;
}

std::string spliced(std::string_view stream, const std::vector<RecordSplice>& splices) {
    std::string result;
    std::size_t at = 0;
    for (const RecordSplice& splice : splices) {
        require(at <= splice.begin && splice.begin <= splice.end && splice.end <= stream.size());
        result.append(stream.substr(at, splice.begin - at)) += splice.bytes;
        at = splice.end;
    }
    return result.append(stream.substr(at));
}

void checkCompiled(const std::string& text, std::string_view stream, const StringCodec& codec,
                   const FormulaTokens* old) {
    LinkTable table = tableOf(stream, codec);
    FormulaCompiler compiler(codec, table);
    CompiledFormula compiled;
    try {
        compiled = compiler.compile(text, {0, kCell, FormulaUse::Cell}, old);
    } catch (const Error&) {
        return;
    }
    // The compiler may tidy letter case and the corners of areas once, if it makes all anew.
    const auto shown = FormulaDecoder(codec, table).text(compiled.view(), kCell);
    require(shown.has_value());
    const std::string changed = spliced(stream, table.splices());
    const LinkTable written = tableOf(changed, codec);
    require(FormulaDecoder(codec, written).text(compiled.view(), kCell) == shown);
    if (old != nullptr) return;
    const CompiledFormula again = compiler.compile(*shown, {0, kCell, FormulaUse::Cell});
    require(FormulaDecoder(codec, table).text(again.view(), kCell) == shown);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ByteReader bytes({reinterpret_cast<const char*>(data), size});
    if (size < 5) return 0;
    const auto version = static_cast<Version>(bytes.number<std::uint8_t>() % 5);
    const std::string_view stream = cut(bytes, bytes.number<std::uint16_t>());
    if (bytes.remaining() < 2) return 0;
    FormulaTokens formula;
    formula.tokens = cut(bytes, bytes.number<std::uint16_t>());
    formula.extra = bytes.rest();

    const StringCodec codec(version, "1252");
    const LinkTable table = tableOf(stream, codec);
    formulaHost(formula, version);
    const auto text = FormulaDecoder(codec, table).text(formula, kCell);
    if (!text) return 0;
    checkCompiled(*text, stream, codec, nullptr);
    checkCompiled(*text, stream, codec, &formula);
    return 0;
}
