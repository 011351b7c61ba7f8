// SPDX-License-Identifier: MIT
// What holds for the document properties of every format: the collection of the built-in ones and
// what the application would refuse.
#pragma once

#include <array>
#include <cstddef>
#include <ctime>
#include <string>
#include <string_view>

namespace brindle::workbook {

struct BuiltInProperty {
    enum class Kind {
        Text,   // empty when it is not stored
        Fixed,  // a text that only the application sets
        Date,
        Number  // counted by the application
    };
    const char* name;
    Kind kind;

    // What it shows when it has no value. Throws Error (NotFound) unless it is a text.
    std::string textWithoutValue() const;
    // Throws Error (Refused) for what the application counts or says by itself.
    void checkMayChange() const;
    // A date typed by a user, in seconds since 1970. Throws Error (Refused) when it is none.
    std::time_t typedDate(std::string_view text, int currentYear) const;
    [[noreturn]] void refuseDate() const;
};

// In the order of the object model's collection. Formats have tables of their own that tell, in
// the same order, where each of them is stored.
inline constexpr std::size_t kBuiltInPropertyCount = 34;
extern const std::array<BuiltInProperty, kBuiltInPropertyCount> kBuiltInProperties;

// Throw Error (Refused) for a property that has no value to change, and for a text that a custom
// property cannot take in place of the one that it shows.
[[noreturn]] void refuseMissingProperty();
void checkCustomPropertyText(std::string_view shown, std::string_view text);

}  // namespace brindle::workbook
