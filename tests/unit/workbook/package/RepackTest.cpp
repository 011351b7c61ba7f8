// SPDX-License-Identifier: MIT
#include "workbook/package/Repack.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "base/Error.h"
#include "support/Noise.h"

namespace brindle::workbook::package {
namespace {

std::string rows(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string text;
    while (text.size() < size) {
        text += "<c r=\"A" + std::to_string(random() % 500000) + "\" t=\"s\"><v>" +
                std::to_string(random() % 3000) + "</v></c>";
    }
    text.resize(size);
    return text;
}

using test::noise;

// As other programs pack: zlib's blocks, with an empty block at every `flushEvery` bytes.
std::string packedByZlib(const std::string& text, int level, int strategy, std::size_t flushEvery) {
    z_stream stream{};
    deflateInit2(&stream, level, Z_DEFLATED, -15, 8, strategy);
    std::string out(text.size() * 2 + 100000, '\0');
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    const std::size_t step = flushEvery == 0 ? text.size() : flushEvery;
    for (std::size_t at = 0; at < text.size(); at += step) {
        std::string piece = text.substr(at, step);
        stream.next_in = reinterpret_cast<Bytef*>(piece.data());
        stream.avail_in = static_cast<uInt>(piece.size());
        deflate(&stream, Z_SYNC_FLUSH);
    }
    deflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return out;
}

std::string changed(const std::string& text, const std::vector<TextChange>& changes) {
    std::string out;
    std::size_t at = 0;
    for (const TextChange& change : changes) {
        out += text.substr(at, change.begin - at);
        out += change.text;
        at = change.end;
    }
    return out + text.substr(at);
}

void expectHolds(const PackedText& packed, const std::string& text, const std::string& label) {
    ASSERT_EQ(packed.size, text.size()) << label;
    EXPECT_EQ(packed.crc, crc32(text)) << label;
    EXPECT_TRUE(inflateWhole(packed.compressed.view(), packed.size).view() == text) << label;
}

struct Packer {
    const char* name;
    int level;
    int strategy;
    std::size_t flushEvery;
};
constexpr Packer kPackers[] = {
    {"usual", 6, Z_DEFAULT_STRATEGY, 0},
    {"fast", 1, Z_DEFAULT_STRATEGY, 0},
    {"fixed codes", 6, Z_FIXED, 0},
    {"no matches", 6, Z_HUFFMAN_ONLY, 0},
    {"many flushes", 9, Z_DEFAULT_STRATEGY, 9999},
};

TEST(RepackTest, HoldsTheChangedText) {
    const std::string text = rows(2'500'000, 7);
    const std::string longText = noise(90'000);
    const std::uint64_t size = text.size();
    const struct {
        const char* name;
        std::vector<TextChange> changes;
    } cases[] = {
        {"none", {}},
        {"one byte", {{1'200'000, 1'200'001, "x"}}},
        {"longer", {{1'200'000, 1'200'003, longText}}},
        {"removed", {{700'000, 1'100'000, ""}}},
        {"at the start", {{0, 0, "<?xml?>"}, {5, 9, ""}}},
        {"at the end", {{size - 1, size, "z"}, {size, size, "more"}}},
        {"appended", {{size, size, "more"}}},
        {"several, some close",
         {{10, 20, "a"},
          {40'000, 40'000, "bb"},
          {1'500'000, 1'500'009, ""},
          {1'500'009, 1'500'012, "ccc"},
          {1'560'000, 1'560'001, "d"}}},
    };
    for (const Packer& packer : kPackers) {
        const std::string packed =
            packedByZlib(text, packer.level, packer.strategy, packer.flushEvery);
        for (const auto& item : cases) {
            const std::string label = std::string(packer.name) + ", " + item.name;
            const auto result = repacked(packed, text, item.changes, 6);
            ASSERT_TRUE(result) << label;
            const std::string expected = changed(text, item.changes);
            expectHolds(*result, expected, label);
            EXPECT_LT(result->compressed.size(), packed.size() + longText.size() + 40'000) << label;
        }
    }
}

// Most of a large text is taken over as it was packed, which shows in what stays the same.
TEST(RepackTest, KeepsTheBlocksThatNoChangeReaches) {
    const std::string text = rows(4'000'000, 9);
    const std::string packed = packedByZlib(text, 9, Z_DEFAULT_STRATEGY, 0);
    const auto result = repacked(packed, text, {{2'000'000, 2'000'001, "x"}}, 1);
    ASSERT_TRUE(result);
    const std::string_view now = result->compressed.view();
    const auto same = std::mismatch(packed.begin(), packed.end(), now.begin(), now.end());
    EXPECT_GT(same.first - packed.begin(), static_cast<std::ptrdiff_t>(packed.size() / 3));
    EXPECT_LT(now.size(), packed.size() + packed.size() / 50);
}

TEST(RepackTest, RandomChangesInRandomTexts) {
    std::mt19937 random(11);
    int repackedCount = 0;
    for (int round = 0; round < 60; ++round) {
        std::string text = rows(600'000 + random() % 900'000, static_cast<unsigned>(random()));
        // What cannot be packed is stored, between blocks that can be taken over.
        if (round % 2 == 0) text.insert(random() % text.size(), noise(random() % 200'000));
        const Packer& packer = kPackers[random() % std::size(kPackers)];
        const std::string packed =
            packedByZlib(text, packer.level, packer.strategy, packer.flushEvery);
        std::vector<std::string> texts(1 + random() % 4);
        for (std::string& with : texts) with = rows(random() % 300, 3);
        std::vector<TextChange> changes;
        std::uint64_t at = 0;
        for (const std::string& with : texts) {
            at += random() % (text.size() / 2);
            const std::uint64_t end = at + random() % 200;
            if (end > text.size()) break;
            changes.push_back({at, end, with});
            at = end;
        }
        const auto result = repacked(packed, text, changes, 6);
        if (!result) continue;
        ++repackedCount;
        expectHolds(*result, changed(text, changes), packer.name + std::to_string(round));
    }
    EXPECT_GT(repackedCount, 20);
}

// Nothing to gain, or nothing to trust.
TEST(RepackTest, LeavesItToOthers) {
    const std::string small = rows(30'000, 2);
    EXPECT_FALSE(repacked(packedByZlib(small, 6, Z_DEFAULT_STRATEGY, 0), small, {{1, 2, "x"}}, 6));

    const std::string text = rows(1'000'000, 4);
    std::vector<TextChange> everywhere;
    for (std::uint64_t at = 0; at < text.size(); at += 30'000) everywhere.push_back({at, at, "x"});
    const std::string packed = packedByZlib(text, 6, Z_DEFAULT_STRATEGY, 0);
    EXPECT_FALSE(repacked(packed, text, everywhere, 6));

    const std::string stored = packedByZlib(noise(1'000'000), 0, Z_DEFAULT_STRATEGY, 0);
    EXPECT_FALSE(repacked(stored, noise(1'000'000), {{1, 2, "x"}}, 6));

    const std::string inCrumbs = packedByZlib(text, 6, Z_DEFAULT_STRATEGY, 400);
    EXPECT_FALSE(repacked(inCrumbs, text, {{1, 2, "x"}}, 6));

    for (const std::string& damaged : {packed.substr(0, packed.size() / 2),
                                       packedByZlib(text + "more", 6, Z_DEFAULT_STRATEGY, 0)}) {
        EXPECT_THROW(repacked(damaged, text, {{1, 2, "x"}}, 6), Error);
    }
}

}  // namespace
}  // namespace brindle::workbook::package
