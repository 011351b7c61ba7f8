// SPDX-License-Identifier: MIT
#include "workbook/xls/formula/FutureFunctions.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "base/Text.h"
#include "workbook/formula/FunctionNames.h"

namespace brindle::workbook::xls {
namespace {

struct FutureFunction {
    std::string_view name;
    std::string_view parameterClasses;
};

// As the application writes them; in byte order. The newer functions that take arrays or other
// functions are not here: what writes them into this format writes them as user-defined ones.
constexpr FutureFunction kFutureFunctions[] = {
    // clang-format off
    {"ACOT", "V"},
    {"ACOTH", "V"},
    {"AGGREGATE", "VVR"},
    {"ARABIC", "V"},
    {"AVERAGEIF", "RVR"},
    {"AVERAGEIFS", "RRVRVRVRVRVRVRVRVRVRVRVRVRVRV"},
    {"BASE", "V"},
    {"BETA.DIST", "V"},
    {"BETA.INV", "V"},
    {"BINOM.DIST", "V"},
    {"BINOM.DIST.RANGE", "V"},
    {"BINOM.INV", "V"},
    {"BITAND", "V"},
    {"BITLSHIFT", "V"},
    {"BITOR", "V"},
    {"BITRSHIFT", "V"},
    {"BITXOR", "V"},
    {"CEILING.MATH", "V"},
    {"CEILING.PRECISE", "V"},
    {"CHISQ.DIST", "V"},
    {"CHISQ.DIST.RT", "V"},
    {"CHISQ.INV", "V"},
    {"CHISQ.INV.RT", "V"},
    {"CHISQ.TEST", "A"},
    {"COMBINA", "V"},
    {"CONFIDENCE.NORM", "V"},
    {"CONFIDENCE.T", "V"},
    {"COT", "V"},
    {"COTH", "V"},
    {"COUNTIFS", "RVRVRVRVRVRVRVRVRVRVRVRVRVRVRV"},
    {"COVARIANCE.P", "A"},
    {"COVARIANCE.S", "A"},
    {"CSC", "V"},
    {"CSCH", "V"},
    {"DAYS", "V"},
    {"DECIMAL", "V"},
    {"ECMA.CEILING", "V"},
    {"ENCODEURL", "V"},
    {"ERF.PRECISE", "V"},
    {"ERFC.PRECISE", "V"},
    {"EXPON.DIST", "V"},
    {"F.DIST", "V"},
    {"F.DIST.RT", "V"},
    {"F.INV", "V"},
    {"F.INV.RT", "V"},
    {"F.TEST", "A"},
    {"FLOOR.MATH", "V"},
    {"FLOOR.PRECISE", "V"},
    {"GAMMA", "V"},
    {"GAMMA.DIST", "V"},
    {"GAMMA.INV", "V"},
    {"GAMMALN.PRECISE", "V"},
    {"GAUSS", "V"},
    {"HYPGEOM.DIST", "V"},
    {"IFERROR", "VR"},
    {"IFNA", "VR"},
    {"ISO.CEILING", "V"},
    {"LOGNORM.DIST", "V"},
    {"LOGNORM.INV", "V"},
    {"MODE.MULT", "A"},
    {"MODE.SNGL", "A"},
    {"NEGBINOM.DIST", "V"},
    {"NETWORKDAYS.INTL", "RRVR"},
    {"NORM.DIST", "V"},
    {"NORM.INV", "V"},
    {"NORM.S.DIST", "V"},
    {"NORM.S.INV", "V"},
    {"NUMBERVALUE", "V"},
    {"PDURATION", "V"},
    {"PERCENTILE.EXC", "RV"},
    {"PERCENTILE.INC", "RV"},
    {"PERCENTRANK.EXC", "RV"},
    {"PERCENTRANK.INC", "RV"},
    {"PERMUTATIONA", "V"},
    {"PHI", "V"},
    {"POISSON.DIST", "V"},
    {"QUARTILE.EXC", "RV"},
    {"QUARTILE.INC", "RV"},
    {"RANK.AVG", "VRV"},
    {"RANK.EQ", "VRV"},
    {"RRI", "V"},
    {"SEC", "V"},
    {"SECH", "V"},
    {"SUMIFS", "RRVRVRVRVRVRVRVRVRVRVRVRVRVRV"},
    {"T.DIST", "V"},
    {"T.DIST.2T", "V"},
    {"T.DIST.RT", "V"},
    {"T.INV", "V"},
    {"T.INV.2T", "V"},
    {"T.TEST", "AAV"},
    {"UNICHAR", "V"},
    {"UNICODE", "V"},
    {"WEIBULL.DIST", "V"},
    {"WORKDAY.INTL", "RRVR"},
    {"Z.TEST", "RV"},
    // clang-format on
};

bool isBefore(const FutureFunction& function, std::string_view name) {
    return function.name < name;
}

}  // namespace

std::string_view futureParameterClasses(std::string_view name) {
    const std::string upper = text::upperAscii(name.substr(formula::functionPrefixLength(name)));
    const auto* const found =
        std::lower_bound(std::begin(kFutureFunctions), std::end(kFutureFunctions), upper, isBefore);
    return found != std::end(kFutureFunctions) && found->name == upper ? found->parameterClasses
                                                                       : "R";
}

}  // namespace brindle::workbook::xls
