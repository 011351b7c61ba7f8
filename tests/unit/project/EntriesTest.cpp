// SPDX-License-Identifier: MIT
#include "project/Entries.h"

#include <gtest/gtest.h>

#include <chrono>

#include "project/PropertyBag.h"
#include "support/ScopedEnvironment.h"
#include "support/TempDir.h"
#include "support/Thrown.h"

namespace brindle {
namespace {

std::string findTexts(const Entries& entries) {
    std::string texts;
    for (const Entry* entry : entries.NewEnum()) texts += entry->FindWhat + ";";
    return texts;
}

using test::numberOf;

class EntriesTest : public testing::Test {
protected:
    Entry* add(const std::string& text, const std::string& key) {
        return mEntries.Add(text, "with", 0, false, false, key);
    }

    test::TempDir mDir;
    test::ScopedEnvironment mHome{"BRINDLE_HOME", mDir.path()};
    Entries mEntries;
};

TEST_F(EntriesTest, AreFoundByPositionAndByKey) {
    Entry* first = add("find", "Item-1");
    Entry* second = add("other", "");
    EXPECT_EQ(mEntries.Item(1), first);
    EXPECT_EQ(mEntries.Item("Item-1"), first);
    EXPECT_EQ(mEntries.Item(2), second);
    for (const std::int32_t position : {-1, 0, 3, INT32_MAX, INT32_MIN})
        EXPECT_EQ(mEntries.Item(position), nullptr) << position;
    for (const char* key : {"", "Item-2", "item-1", "1"})
        EXPECT_EQ(mEntries.Item(key), nullptr) << key;
}

TEST_F(EntriesTest, AKeyInUseIsRefused) {
    add("a", "Item-1");
    EXPECT_EQ(numberOf([&] { add("b", "Item-1"); }), 457);
    EXPECT_EQ(findTexts(mEntries), "a;");
    add("c", "");
    add("d", "");
    EXPECT_EQ(findTexts(mEntries), "a;c;d;");
}

TEST_F(EntriesTest, RemovingKeepsOrderAndFreesTheKey) {
    for (const char* text : {"a", "b", "c", "d"}) add(text, std::string("Item-") + text);
    mEntries.Remove(1);
    mEntries.Remove("Item-c");
    EXPECT_EQ(findTexts(mEntries), "b;d;");
    EXPECT_EQ(mEntries.Item("Item-a"), nullptr);
    EXPECT_EQ(mEntries.Item("Item-c"), nullptr);
    EXPECT_EQ(mEntries.Item(2), mEntries.Item("Item-d"));
    add("e", "Item-a");
    EXPECT_EQ(findTexts(mEntries), "b;d;e;");
    EXPECT_EQ(numberOf([&] { mEntries.Remove(4); }), 9);
    EXPECT_EQ(numberOf([&] { mEntries.Remove(0); }), 9);
    EXPECT_EQ(numberOf([&] { mEntries.Remove("Item-c"); }), 5);
    EXPECT_EQ(numberOf([&] { mEntries.Remove(""); }), 5);
    EXPECT_EQ(mEntries.Count(), 3);
}

TEST_F(EntriesTest, SeveralAreRemovedByTheirKeys) {
    for (const char* text : {"a", "b", "c", "d"}) add(text, std::string("Item-") + text);
    add("e", "");
    mEntries.RemoveAll({"Item-d", "Item-nowhere", "", "Item-b", "Item-d"});
    EXPECT_EQ(findTexts(mEntries), "a;c;e;");
    EXPECT_EQ(mEntries.Item("Item-b"), nullptr);
    EXPECT_EQ(mEntries.Item(2), mEntries.Item("Item-c"));
}

TEST_F(EntriesTest, TheKeyOfTheListOutlivesAChangeOfTheField) {
    add("a", "Item-1")->Key = "renamed";
    EXPECT_EQ(mEntries.Item("renamed"), nullptr);
    mEntries.Remove("Item-1");
    add("b", "Item-1");
    EXPECT_EQ(mEntries.Item("Item-1")->FindWhat, "b");
}

TEST_F(EntriesTest, SavedEntriesComeBackUnderTheKeyGiven) {
    Entry* saved = mEntries.Add("fünf\r\n", std::string("a\0b", 3), -7, true, true, "Item-1");
    saved->counts.CellCounter = 5;
    const Entry* read = mEntries.AddItemFromByteArray(saved->GetItemClip(), "Item-9");
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(mEntries.Item("Item-9"), read);
    saved->Key = "Item-9";
    EXPECT_EQ(read->GetItemClip(), saved->GetItemClip());
    EXPECT_EQ(read->counts.CellCounter, 0);
    EXPECT_FALSE(mDir.has("Errors.Log"));
}

TEST_F(EntriesTest, MissingValuesOfAClipAreEmpty) {
    const Entry* entry = mEntries.AddItemFromByteArray(PropertyBag().Contents(), "");
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->FindWhat + entry->ReplaceWith + entry->Key, "");
    EXPECT_EQ(entry->Look_In, 0);
    EXPECT_FALSE(entry->MatchCase || entry->MatchEntireCellContents);
}

TEST_F(EntriesTest, FailuresOfAppendingAreLogged) {
    const Entry* entry = add("a", "Item-1");
    EXPECT_EQ(mEntries.AddByObject(*entry), nullptr);
    EXPECT_EQ(mEntries.AddItemFromByteArray(entry->GetItemClip(), "Item-1"), nullptr);
    EXPECT_EQ(mEntries.AddItemFromByteArray({}, "Item-2"), nullptr);
    PropertyBag wide;
    wide.WriteProperty("Look_In", std::int32_t{40000});
    EXPECT_EQ(mEntries.AddItemFromByteArray(wide.Contents(), "Item-2"), nullptr);
    EXPECT_EQ(mEntries.Count(), 1);
    const std::string log = mDir.read("Errors.Log");
    for (const char* part :
         {"Error 457 (This key is already associated with an element of this collection) in "
          "procedure AddByObject at Line No. ",
          "Error 457 (This key is already associated with an element of this collection) in "
          "procedure AddItemFromByteArray at Line No. ",
          "Error 321 (Invalid file format) in procedure AddItemFromByteArray",
          "Error 6 (Overflow) in procedure AddItemFromByteArray",
          " of Class Module Entries at time- "})
        EXPECT_NE(log.find(part), std::string::npos) << part << "\n" << log;
}

TEST_F(EntriesTest, CopiesHaveTheirOwnCounters) {
    Entry* source = mEntries.Add("f", "w", 6, false, true, "Item-4");
    source->counts.CustomPropCounter = 3;
    Entries others;
    Entry* copy = others.AddByObject(*source);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(others.Item("Item-4"), copy);
    EXPECT_EQ(copy->counts.CustomPropCounter, 0);
    copy->counts.CustomPropCounter = 9;
    EXPECT_EQ(source->counts.CustomPropCounter, 3);
    EXPECT_EQ(copy->Look_In, 6);
    EXPECT_TRUE(copy->MatchEntireCellContents);
}

TEST_F(EntriesTest, TenThousandAreQuick) {
    constexpr std::int32_t kMany = 10000;
    const auto keyOf = [](std::int32_t i) { return "Item-" + std::to_string(i); };
    const auto start = std::chrono::steady_clock::now();
    for (std::int32_t i = 1; i <= kMany; ++i) add("text", keyOf(i));
    for (std::int32_t i = 1; i <= kMany; ++i) ASSERT_EQ(mEntries.Item(keyOf(i)), mEntries.Item(i));
    for (std::int32_t i = kMany; i >= 1; i -= 2) mEntries.Remove(keyOf(i));
    EXPECT_EQ(mEntries.Count(), kMany / 2);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST(Counts, EndAt32767) {
    clsCounts counts;
    clsCounts::increment(counts.CellCounter);
    clsCounts::increment(counts.CellCounter, 32766);
    EXPECT_EQ(counts.CellCounter, 32767);
    const auto line = SourceLocation::current().line() + 1;
    const auto error = test::thrownBy([&] { clsCounts::increment(counts.CellCounter); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->number(), 6);
    EXPECT_EQ(error->description(), "Overflow");
    EXPECT_EQ(error->thrownAt().line(), line);
    EXPECT_EQ(numberOf([&] { clsCounts::increment(counts.HeaderCounter, INT64_MAX); }), 6);
    EXPECT_EQ(counts.CellCounter, 32767);
    EXPECT_EQ(counts.HeaderCounter, 0);
}

}  // namespace
}  // namespace brindle
