// SPDX-License-Identifier: MIT
// Any bytes as the records of a sheet of a binary workbook: texts of shapes are told or end in an
// Error; what is changed is told again by the records that are written.
#include "SheetInMemory.h"
#include "workbook/xls/drawing/SheetShapes.h"

namespace {

using namespace brindle;
using workbook::xls::SheetShapes;

std::vector<std::string> textsOf(const SheetShapes& shapes) {
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < shapes.count(); ++i) texts.push_back(shapes.text(i));
    return texts;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const workbook::xls::StringCodec kCodec(workbook::xls::Version::Biff8, "");
    const char* const replacements[][2] = {
        {"nowhere", ""}, {"a", "q"}, {"e", "q\nr"}, {"t", ""}, {"\n", "\xD0\xB4"}};
    const std::string stream(reinterpret_cast<const char*>(data), size);
    try {
        SheetShapes shapes(stream, 0, kCodec, false);
        for (const auto& [what, with] : replacements) {
            for (std::size_t i = 0; i < shapes.count(); ++i) {
                fuzz::replaceText([&] { return shapes.text(i); },
                                  [&](const std::string& text) { shapes.setText(i, text); }, what,
                                  with);
            }
        }
        const std::string after = fuzz::spliced(stream, shapes.splices());
        const SheetShapes read(after, 0, kCodec, false);
        fuzz::require(textsOf(read) == textsOf(shapes));
        fuzz::require(!read.isChanged() && read.splices().empty());
    } catch (const Error& error) {
        fuzz::require(error.kind() == ErrorKind::Damaged);
    }
    return 0;
}
