// SPDX-License-Identifier: MIT
#include "project/PropertyBag.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

#include "base/Error.h"
#include "support/Thrown.h"

namespace brindle {
namespace {

using Bytes = PropertyValue::Bytes;

Bytes bytesOf(const std::string& text) {
    const auto* first = reinterpret_cast<const std::byte*>(text.data());
    return {first, first + text.size()};
}

using test::numberOf;

PropertyBag sample() {
    PropertyBag inner;
    inner.WriteProperty("Key", "Item-1");
    PropertyBag bag;
    bag.WriteProperty("text", std::string("ä\0\xFF", 4));
    bag.WriteProperty("", "no name");
    bag.WriteProperty("small", std::int16_t{-32768});
    bag.WriteProperty("large", std::int32_t{-2147483647 - 1});
    bag.WriteProperty("yes", true);
    bag.WriteProperty("no", false);
    bag.WriteProperty("none", PropertyValue());
    bag.WriteProperty("bag", inner.Contents());
    return bag;
}

TEST(PropertyBag, ContentsBringBackEveryValue) {
    const PropertyBag bag = sample();
    PropertyBag read;
    read.WriteProperty("old", "gone");
    read.Contents(bag.Contents());
    for (const char* name : {"text", "", "small", "large", "yes", "no", "none", "bag"})
        EXPECT_EQ(read.ReadProperty(name), bag.ReadProperty(name)) << name;
    EXPECT_TRUE(read.ReadProperty("old").isEmpty());
    EXPECT_TRUE(read.ReadProperty("Text").isEmpty());
    EXPECT_EQ(read.Contents(), bag.Contents());
    PropertyBag inner;
    inner.Contents(read.ReadProperty("bag").toBytes());
    EXPECT_EQ(inner.ReadProperty("Key").toText(), "Item-1");
}

// Files of users hold these bytes; they may never change.
TEST(PropertyBag, HasTheLayoutThatItsHeaderTells) {
    PropertyBag bag;
    bag.WriteProperty("a", "xy");
    bag.WriteProperty("b", std::int16_t{258});
    bag.WriteProperty("c", std::int32_t{-2});
    bag.WriteProperty("d", true);
    bag.WriteProperty("e", bytesOf("z"));
    const std::string expected(
        "BPB\x01\x05\0\0\0\x01\0a\x01\x02\0\0\0xy\x01\0b\x02\x02\x01\x01\0c\x03\xFE\xFF\xFF\xFF\x01"
        "\0d\x04\x01\x01\0e\x05\x01\0\0\0z",
        8 + 10 + 6 + 8 + 5 + 9);
    EXPECT_EQ(bag.Contents(), bytesOf(expected));
}

TEST(PropertyBag, AValueWrittenAgainKeepsItsPlace) {
    PropertyBag twice;
    twice.WriteProperty("a", "1");
    twice.WriteProperty("b", "2");
    twice.WriteProperty("a", "3");
    PropertyBag once;
    once.WriteProperty("a", "3");
    once.WriteProperty("b", "2");
    EXPECT_EQ(twice.Contents(), once.Contents());
}

// Empty ones, each with a name of three bytes.
std::string moreValuesThanMayBe() {
    std::string bytes("BPB\x01\x01\0\x10\0", 8);
    for (unsigned i = 0; i <= 0x100000; ++i)
        for (const unsigned byte : {3U, 0U, i & 0xFF, i >> 8 & 0xFF, i >> 16, 0U})
            bytes += static_cast<char>(byte);
    return bytes;
}

TEST(PropertyBag, DamageIsRefused) {
    struct Row {
        const char* what;
        std::string bytes;
    };
    const std::string head("BPB\x01\x01\0\0\0", 8);
    const Row rows[] = {
        {"other magic", {"BPC\x01\0\0\0\0", 8}},
        {"later version", {"BPB\x02\0\0\0\0", 8}},
        {"bytes behind the end", {"BPB\x01\0\0\0\0x", 9}},
        {"count beyond the bytes", {"BPB\x01\xFF\xFF\xFF\xFF", 8}},
        {"unknown type", head + std::string("\x01\0a\x06\0\0\0\0", 8)},
        {"boolean of 2", head + std::string("\x01\0a\x04\x02", 5)},
        {"text of 4 GiB", head + std::string("\x01\0a\x01\xFF\xFF\xFF\xFF", 8)},
        {"array of 2 GiB", head + std::string("\x01\0a\x05\xFF\xFF\xFF\x7F", 8)},
        {"more values than may be", moreValuesThanMayBe()},
        {"name twice", std::string("BPB\x01\x02\0\0\0\x01\0a\0\x01\0a\0", 16)},
    };
    for (const Row& row : rows) {
        PropertyBag bag;
        bag.WriteProperty("kept", "as it was");
        EXPECT_EQ(numberOf([&] { bag.Contents(bytesOf(row.bytes)); }), 321) << row.what;
        EXPECT_EQ(bag.ReadProperty("kept").toText(), "as it was") << row.what;
    }
}

// Any single changed byte either still reads as some bag or is refused; nothing else.
TEST(PropertyBag, ChangedBytesNeverDoHarm) {
    const Bytes whole = sample().Contents();
    for (std::size_t i = 0; i < whole.size(); ++i) {
        for (int bit = 0; bit < 8; ++bit) {
            Bytes changed = whole;
            changed[i] ^= static_cast<std::byte>(1U << bit);
            PropertyBag bag;
            const int number = numberOf([&] { bag.Contents(changed); });
            EXPECT_TRUE(number == 0 || number == 321) << i;
            if (number == 0) {
                EXPECT_EQ(bag.Contents(), changed) << i;
            }
        }
    }
}

TEST(PropertyBag, RefusesNamesThatItCannotSave) {
    PropertyBag bag;
    bag.WriteProperty(std::string(65535, 'n'), "x");
    EXPECT_EQ(numberOf([&] { bag.WriteProperty(std::string(65536, 'n'), "x"); }), 5);
    PropertyBag read;
    read.Contents(bag.Contents());
    EXPECT_EQ(read.ReadProperty(std::string(65535, 'n')).toText(), "x");
}

// Results as texts; "#n" stands for the number of a failure.
std::string outcome(const std::function<std::string()>& convert) {
    std::string result;
    const int number = numberOf([&] { result = convert(); });
    return number == 0 ? result : "#" + std::to_string(number);
}

TEST(PropertyValue, ConvertsOrFailsWithTheRightNumber) {
    const struct {
        PropertyValue value;
        std::string text, int16, int32, boolean;
        // clang-format off
    } rows[] = {
        {PropertyValue(), "", "0", "0", "no"}, {"", "", "#13", "#13", "#13"},
        {"text", "text", "#13", "#13", "#13"}, {" 12 ", " 12 ", "12", "12", "yes"},
        {"12x", "12x", "#13", "#13", "#13"}, {"-32769", "-32769", "#6", "-32769", "yes"},
        {"99999999999", "99999999999", "#6", "#6", "#6"}, {"TRUE", "TRUE", "#13", "#13", "yes"},
        {"False", "False", "#13", "#13", "no"}, {std::int16_t{-5}, "-5", "-5", "-5", "yes"},
        {std::int16_t{0}, "0", "0", "0", "no"}, {false, "False", "0", "0", "no"},
        {std::int32_t{32768}, "32768", "#6", "32768", "yes"},
        {true, "True", "-1", "-1", "yes"}, {std::int32_t{32767}, "32767", "32767", "32767", "yes"},
        {std::int32_t{-32768}, "-32768", "-32768", "-32768", "yes"},
        {Bytes{std::byte{1}}, "#13", "#13", "#13", "#13"},
    };
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text + " as " + row.int32);
        EXPECT_EQ(outcome([&] { return row.value.toText(); }), row.text);
        EXPECT_EQ(outcome([&] { return std::to_string(row.value.toInt16()); }), row.int16);
        EXPECT_EQ(outcome([&] { return std::to_string(row.value.toInt32()); }), row.int32);
        EXPECT_EQ(outcome([&] { return row.value.toBoolean() ? "yes" : "no"; }), row.boolean);
    }
}

TEST(PropertyValue, OnlyBytesAndNothingAreBytes) {
    EXPECT_EQ(PropertyValue(bytesOf("ab")).toBytes(), bytesOf("ab"));
    EXPECT_TRUE(PropertyValue().toBytes().empty());
    EXPECT_EQ(numberOf([] { PropertyValue("ab").toBytes(); }), 13);
    EXPECT_FALSE(PropertyValue("ab").isBytes());
    EXPECT_FALSE(PropertyValue().isBytes());
}

}  // namespace
}  // namespace brindle
