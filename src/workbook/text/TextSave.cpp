// SPDX-License-Identifier: MIT
// How a changed text file is written and read back.
#include <algorithm>

#include "base/Error.h"
#include "workbook/text/FieldText.h"
#include "workbook/text/TextSheet.h"

namespace brindle::workbook::textfile {

namespace {

constexpr std::size_t kWriteBytes = 1024 * 1024;
// Shorter pieces between two changes are cheaper to carry along than to copy in the system.
constexpr std::uint64_t kWorthCopying = 128 * 1024;

void flush(OutputFile& output, std::string& pending) {
    if (!pending.empty()) output.write(std::string_view(pending));
    pending.clear();
}

}  // namespace

void TextSheet::copyUntouched(OutputFile& output, std::string& pending, std::uint64_t from,
                              std::uint64_t to) const {
    if (to - from >= kWorthCopying) {
        flush(output, pending);
        output.copyFrom(*mFile, from, to - from);
    } else if (to > from) {
        pending += rawBytes(from, static_cast<std::size_t>(to - from));
    }
}

void TextSheet::writeTo(OutputFile& output) const {
    std::string pending;
    std::uint64_t done = 0;
    for (const FieldPlace& field : mFields) {
        if (field.edit == 0) continue;
        copyUntouched(output, pending, done, field.begin);
        pending += mEdits[field.edit - 1];
        done = field.begin + field.length;
        if (pending.size() >= kWriteBytes) flush(output, pending);
    }
    copyUntouched(output, pending, done, mFile->size());
    flush(output, pending);
}

void TextSheet::verify(const InputFile& temporary) const {
    const TextDialect dialect =
        detectDialect(temporary, textExtension(mFile->path()), mOptions->ansiCodePage);
    bool good = dialect == *mDialect;
    FieldCursor cursor(temporary, *mDialect);
    std::uint64_t grown = 0;  // modulo 2^64, so that it may stand for less
    for (const FieldPlace& field : mFields) {
        if (field.edit == 0) continue;
        const std::string& bytes = mEdits[field.edit - 1];
        good = good && cursor.moveTo(field.begin + grown) &&
               cursor.place().position == field.position && cursor.place().length == bytes.size() &&
               cursor.text() == editedText(field);
        if (!good) break;
        grown += bytes.size() - field.length;
    }
    if (!good || temporary.size() != mFile->size() + grown) {
        throw Error::refused("The changed text would be read in another way than it was meant");
    }
}

}  // namespace brindle::workbook::textfile
