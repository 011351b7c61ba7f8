// SPDX-License-Identifier: MIT
#include "workbook/package/Inflate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <thread>
#include <vector>

#include "base/Error.h"
#include "support/Noise.h"
#include "support/Thrown.h"

namespace brindle::workbook::package {
namespace {

// Text of a sheet's kind: repetitive, but not trivially so.
std::string sample(std::size_t size) {
    std::mt19937 random(7);
    std::string text;
    while (text.size() < size) {
        text += R"(<c r="A)" + std::to_string(random() % 5000) + R"(" t="s"><v>)" +
                std::to_string(random() % 100) + "</v></c>";
    }
    text.resize(size);
    return text;
}

using test::noise;

std::string streamed(std::string_view compressed, std::uint64_t size, std::size_t window) {
    InflateStream stream(compressed, size);
    std::string out;
    std::vector<char> piece(window);
    while (const std::size_t length = stream.read(piece.data(), window)) {
        EXPECT_TRUE(length == window || out.size() + length == size);
        out.append(piece.data(), length);
    }
    EXPECT_EQ(stream.read(piece.data(), window), 0u);
    EXPECT_EQ(stream.crc(), crc32(out));
    return out;
}

TEST(InflateTest, GivesBackWhatWasPacked) {
    for (const std::size_t size : {0u, 1u, 3u, 4095u, 4096u, 70000u, 1048576u, 5000000u}) {
        for (const std::string& bytes : {sample(size), noise(size)}) {
            for (const int level : {1, 6, 12}) {
                if (level == 12 && size > 1000000) continue;
                const Buffer packed = deflateWhole(bytes, level);
                EXPECT_TRUE(inflateWhole(packed.view(), size).view() == bytes) << size;
                const std::size_t window = std::max<std::size_t>(size / 7, 100);
                EXPECT_TRUE(streamed(packed.view(), size, window) == bytes) << size;
                EXPECT_TRUE(streamed(packed.view(), size, size + 1) == bytes) << size;
            }
        }
    }
}

TEST(InflateTest, CountsCrcInPieces) {
    EXPECT_EQ(crc32("123456789"), 0xCBF43926u);
    EXPECT_EQ(crc32("6789", crc32("12345")), 0xCBF43926u);
    EXPECT_EQ(crc32(""), 0u);
}

void expectDamaged(std::string_view compressed, std::uint64_t size, const std::string& what) {
    EXPECT_EQ(test::kindOf([&] { inflateWhole(compressed, size); }), ErrorKind::Damaged) << what;
    EXPECT_EQ(test::kindOf([&] { streamed(compressed, size, 1000); }), ErrorKind::Damaged) << what;
}

TEST(InflateTest, RefusesDamage) {
    for (const std::size_t size : {0u, 5u, 3000u, 100000u}) {
        const std::string bytes = sample(size);
        const std::string packed(deflateWhole(bytes, 6).view());
        for (const std::size_t extra : {1u, 2u, 7u, 8u, 9u, 100u, 5000u}) {
            expectDamaged(packed + std::string(extra, '\0'), size, "trailing bytes");
            expectDamaged(packed, size + extra, "claimed too long");
            if (extra <= size) expectDamaged(packed, size - extra, "claimed too short");
        }
        for (std::size_t cut = 0; cut < packed.size(); cut += 1 + packed.size() / 50) {
            expectDamaged(packed.substr(0, cut), size, "cut");
        }
    }
    expectDamaged("\x07", 0, "block type 3");
    expectDamaged(std::string("\x01\x05\x00\x00\x00hello", 10), 5, "length and complement differ");
    expectDamaged(std::string("\x03\x00\x00\x00", 4), 0, "trailing bytes behind an empty block");
}

// Random changes end in an Error or in other bytes, never beyond the buffers.
TEST(InflateTest, SurvivesMutations) {
    std::mt19937 random(9);
    const std::string bytes = sample(20000);
    const std::string packed(deflateWhole(bytes, 6).view());
    int refused = 0;
    for (int i = 0; i < 3000; ++i) {
        std::string bad = packed;
        bad[random() % bad.size()] ^= static_cast<char>(1u << random() % 8);
        std::string whole = "refused";
        std::string pieces = "refused";
        test::thrownBy([&] { whole = inflateWhole(bad, 20000).view(); });
        test::thrownBy([&] { pieces = streamed(bad, 20000, 777); });
        // Streaming forgives some code tables.
        EXPECT_TRUE(whole == pieces || whole == "refused") << i;
        refused += whole == "refused";
    }
    EXPECT_GT(refused, 100);
}

TEST(InflateTest, WorksOnSeveralThreads) {
    const std::string bytes = sample(300000);
    std::vector<std::thread> threads;
    std::vector<int> good(4);
    for (int& each : good) {
        threads.emplace_back([&bytes, &each] {
            for (int i = 0; i < 10; ++i) {
                const Buffer packed = deflateWhole(bytes, 1 + i % 3);
                each += inflateWhole(packed.view(), bytes.size()).view() == bytes;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(good, std::vector<int>(4, 10));
}

TEST(BufferTest, ShrinksAndMoves) {
    for (const std::size_t size : {1u, 5000u, 1048576u, 20000000u}) {
        for (const std::size_t kept : {std::size_t{0}, size / 3, size - 1, size}) {
            Buffer buffer(size);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(buffer.data()) % 4096, 0u);
            std::fill(buffer.data(), buffer.data() + size, 'x');
            buffer.shrink(kept);
            Buffer moved = std::move(buffer);
            ASSERT_EQ(moved.size(), kept);
            EXPECT_EQ(moved.view(), std::string(kept, 'x'));
            buffer = Buffer(3);
            buffer = std::move(moved);
            EXPECT_EQ(buffer.size(), kept);
        }
    }
    EXPECT_EQ(Buffer().view(), "");
    EXPECT_THROW(Buffer(static_cast<std::size_t>(-1)), std::bad_alloc);
}

}  // namespace
}  // namespace brindle::workbook::package
