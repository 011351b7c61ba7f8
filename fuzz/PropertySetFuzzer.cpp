// SPDX-License-Identifier: MIT
// Any bytes as a stream with document properties: after a change of one, all others show what they
// showed.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "base/Error.h"
#include "workbook/xls/properties/BuiltInProperties.h"
#include "workbook/xls/properties/CustomProperties.h"

namespace {

using namespace brindle;
using namespace brindle::workbook::xls;

constexpr int kYear = 2000;
constexpr std::size_t kMostChanges = 2;
constexpr const char* kNewTexts[] = {"new \u0416 text", "3/1/2016"};

// Both collections, one behind the other.
class Book {
public:
    explicit Book(const std::string& stream) : mStreams(stream, stream) {
        try {
            mCustom.emplace(mStreams);
        } catch (const Error&) {
            // Has no custom properties that can be told.
        }
    }

    std::size_t count() const {
        return BuiltInProperties::count() + (mCustom ? mCustom->count() : 0);
    }
    std::optional<std::string> text(std::size_t index) const {
        try {
            const std::size_t builtIn = BuiltInProperties::count();
            return index < builtIn ? mBuiltIn.text(index) : mCustom->text(index - builtIn);
        } catch (const Error&) {
            return std::nullopt;
        }
    }
    bool setText(std::size_t index, const std::string& text) {
        try {
            const std::size_t builtIn = BuiltInProperties::count();
            if (index < builtIn) {
                mBuiltIn.setText(index, text);
            } else {
                mCustom->setText(index - builtIn, text);
            }
            return true;
        } catch (const Error&) {
            return false;
        }
    }
    std::vector<std::optional<std::string>> texts() const {
        std::vector<std::optional<std::string>> all(count());
        for (std::size_t i = 0; i < all.size(); ++i) all[i] = text(i);
        return all;
    }
    PropertyStreams& streams() { return mStreams; }

private:
    PropertyStreams mStreams;
    BuiltInProperties mBuiltIn{mStreams, kYear};
    std::optional<CustomProperties> mCustom;
};

void require(bool condition) {
    if (!condition) std::abort();
}

// The streams are the same at first: of a changed one the other is not looked at.
void checkChanged(Book& book, std::vector<std::optional<std::string>> expected, std::size_t index) {
    expected[index] = book.text(index);
    require(book.texts() == expected);
    const auto changed = book.streams().changed();
    require(changed.size() == 1);
    Book after(changed[0].bytes);
    require(after.texts() == expected);
    // As it is now: nothing is left to change.
    after.setText(index, *expected[index]);
    require(!after.streams().isChanged());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string stream(reinterpret_cast<const char*>(data), size);
    Book book(stream);
    const auto texts = book.texts();
    std::size_t changes = 0;
    for (std::size_t n = 0; n < texts.size() && changes < kMostChanges; ++n) {
        const std::size_t i = (size + n) % texts.size();
        for (const std::string newText : kNewTexts) {
            if (!book.setText(i, newText)) continue;
            require(book.text(i) == newText);
            if (!book.streams().isChanged()) continue;
            ++changes;
            checkChanged(book, texts, i);
        }
        if (texts[i]) book.setText(i, *texts[i]);
        if (book.streams().isChanged()) break;  // a value that shows nothing cannot come back
    }
    return 0;
}
