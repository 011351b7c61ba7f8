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
constexpr std::size_t kMostChanges = 8;
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
void checkChange(Book& book, std::size_t index, const std::string& newText) {
    auto expected = book.texts();
    if (expected[index] == newText || !book.setText(index, newText)) return;
    const auto changed = book.streams().changed();
    require(changed.size() == 1 && book.text(index) == newText);
    expected[index] = newText;
    require(book.texts() == expected);
    Book after(changed[0].bytes);
    const auto shown = after.texts();
    require(shown == expected);
    for (std::size_t i = 0; i < shown.size(); ++i) {
        // As it is now: nothing is left to change.
        if (shown[i]) after.setText(i, *shown[i]);
    }
    require(!after.streams().isChanged());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string stream(reinterpret_cast<const char*>(data), size);
    Book book(stream);
    std::size_t changes = 0;
    for (std::size_t i = 0; i < book.count() && changes < kMostChanges; ++i) {
        const auto old = book.text(i);
        for (const std::string newText : kNewTexts) checkChange(book, i, newText);
        if (!book.streams().isChanged()) continue;
        ++changes;
        if (old) book.setText(i, *old);
        if (book.streams().isChanged()) return 0;  // a value that shows nothing cannot come back
    }
    return 0;
}
