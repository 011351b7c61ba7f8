// SPDX-License-Identifier: MIT
// Formula text for binary workbooks: what compiles shows a text that compiles to the same text
// again, also when it takes the place of another formula; nothing may crash on what does not.
//
// Input: the text, then, each behind a NUL, the text of the formula that was there and a digit for
// the version.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

#include "base/Error.h"
#include "support/XlsLinks.h"
#include "workbook/xls/formula/FormulaCompiler.h"
#include "workbook/xls/formula/FormulaDecoder.h"

namespace {

using namespace brindle;
using namespace brindle::workbook::xls;

void require(bool condition) {
    if (!condition) std::abort();
}

std::string takePart(std::string& input) {
    const std::size_t end = input.find('\0');
    std::string part = input.substr(0, end);
    input.erase(0, end == std::string::npos ? end : end + 1);
    return part;
}

class Check {
public:
    Check(const Links& links, FormulaUse use)
        : mTable(links.table()), mCompiler(links.codec, mTable), mDecoder(links.codec, mTable) {
        mPlace.cell = {7, 3};
        mPlace.use = use;
    }

    void run(const std::string& text, const std::string& oldText) {
        const auto old = compiled(oldText, nullptr);
        const FormulaTokens tokens = old ? old->view() : FormulaTokens();
        const auto anew = compiled(text, nullptr);
        const auto patched = compiled(text, old ? &tokens : nullptr);
        require(anew.has_value() == patched.has_value());
        if (!anew) return;
        const std::string shown = shownText(*anew);
        require(shownText(*patched) == shown);
        const auto again = compiled(shown, nullptr);
        require(again && shownText(*again) == shown);
    }

private:
    std::optional<CompiledFormula> compiled(const std::string& text, const FormulaTokens* old) {
        try {
            return mCompiler.compile(text, mPlace, old);
        } catch (const Error& error) {
            require(error.number() == error_number::kApplicationDefined);
            return std::nullopt;
        }
    }
    std::string shownText(const CompiledFormula& formula) const {
        const auto text = mDecoder.text(formula.view(), mPlace.cell);
        require(text.has_value());
        return *text;
    }

    LinkTable mTable;
    FormulaCompiler mCompiler;
    FormulaDecoder mDecoder;
    FormulaCompiler::Place mPlace;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string input(data, data + size);
    const std::string text = takePart(input);
    const std::string oldText = takePart(input);
    const bool isOlder = !input.empty() && input.front() >= '0' && input.front() <= '3';
    const Links links = isOlder ? Links(static_cast<Version>(input.front() - '0')) : biff8Links();
    Check(links, FormulaUse::Cell).run(text, oldText);
    Check(links, FormulaUse::Array).run(text, oldText);
    return 0;
}
