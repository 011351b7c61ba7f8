// SPDX-License-Identifier: MIT
#include "base/Pulse.h"

#include <gtest/gtest.h>

#include <chrono>

#include "base/Error.h"
#include "base/FileIo.h"
#include "support/TempDir.h"

namespace brindle {
namespace {

class PulseTest : public testing::Test {
protected:
    int beats = 0;
    bool wasElsewhere = false;
    const std::thread::id home = std::this_thread::get_id();
    const std::function<void()> count = [this] {
        ++beats;
        wasElsewhere = wasElsewhere || std::this_thread::get_id() != home;
    };
    const Pulse pulse{count};
};

TEST_F(PulseTest, beatsWhileAStepLastsAndOnItsOwnThreadOnly) {
    pulse.during([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        pulse.beat();
        pulse.during([&] { pulse.beat(); });
    });
    EXPECT_GE(beats, 3);
    EXPECT_FALSE(wasElsewhere);
    EXPECT_THROW(pulse.during([] { throw Error::notSupported(); }), Error);
}

TEST_F(PulseTest, doesAStepWhereItIsWhenNobodyWaitsOrItIsSmall) {
    std::thread::id where;
    Pulse().during([&] { where = std::this_thread::get_id(); });
    EXPECT_EQ(where, home);
    where = {};
    pulse.during(1000, [&] { where = std::this_thread::get_id(); });
    EXPECT_EQ(where, home);
    EXPECT_EQ(beats, 0);
}

TEST_F(PulseTest, isBeatenByLongWorkOnFiles) {
    test::TempDir dir;
    const std::string path = dir.write("a.bin", std::string(40u << 20, 'x'));
    copyFile(path, dir.path("b.bin"), pulse);
    EXPECT_GE(beats, 5);
    beats = 0;
    std::string bytes(40u << 20, '\0');
    InputFile(path, pulse).readAt(0, std::as_writable_bytes(std::span(bytes)));
    EXPECT_GE(beats, 5);
    beats = 0;
    ReplaceOptions options;
    options.pulse = pulse;
    replaceFile(path, options, [&](OutputFile& out) { out.write(std::string_view(bytes)); });
    EXPECT_GE(beats, 5);
    EXPECT_FALSE(wasElsewhere);
}

}  // namespace
}  // namespace brindle
