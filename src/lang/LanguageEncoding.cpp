// SPDX-License-Identifier: MIT
#include "lang/LanguageEncoding.h"

#include "base/CodePages.h"

namespace brindle {

namespace {

constexpr ByteOrderMark kMarks[] = {
    {"\xEF\xBB\xBF", "UTF-8"},
    {"\xFF\xFE", "UTF-16LE"},
    {"\xFE\xFF", "UTF-16BE"},
};

}  // namespace

const ByteOrderMark* byteOrderMarkOf(std::string_view fileBytes) {
    for (const ByteOrderMark& mark : kMarks)
        if (fileBytes.starts_with(mark.bytes)) return &mark;
    return nullptr;
}

std::string decodedBehind(const ByteOrderMark& mark, std::string_view fileBytes) {
    return CodePage(mark.codePage).decode(fileBytes.substr(mark.bytes.size()));
}

}  // namespace brindle
