// SPDX-License-Identifier: MIT
#include "base/FileIo.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>

#include "base/Error.h"
#include "base/PathInFolder.h"
#include "support/TempDir.h"
#include "support/Thrown.h"

namespace brindle {
namespace {

using test::numberOf;
using test::TempDir;
using test::thrownBy;

TEST(FileIo, ReadsEveryByte) {
    const TempDir dir;
    for (const std::string& content :
         {std::string(), std::string("\0\r\n\xFF", 4), std::string(3'000'000, 'x')}) {
        EXPECT_EQ(readWholeFile(dir.write("a file", content)), content);
    }
}

TEST(FileIo, RefusesWhatIsLargerThanTheLimit) {
    const TempDir dir;
    const std::string path = dir.write("file", "12345");
    EXPECT_EQ(readWholeFile(path, 5), "12345");
    const auto error = thrownBy([&] { readWholeFile(path, 4); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind(), ErrorKind::TooLarge);
    EXPECT_NE(std::string(error->what()).find(path), std::string::npos);
}

TEST(FileIo, ReadingBehindTheEndIsDamage) {
    const TempDir dir;
    const InputFile file(dir.write("file", "12345"));
    std::array<std::byte, 3> three;
    file.readAt(2, three);
    EXPECT_EQ(static_cast<char>(three[2]), '5');
    for (const std::uint64_t offset : {3U, 5U, 1'000'000U}) {
        const auto error = thrownBy([&] { file.readAt(offset, three); });
        ASSERT_TRUE(error) << offset;
        EXPECT_EQ(error->kind(), ErrorKind::Damaged);
        EXPECT_EQ(error->number(), error_number::kPastEnd);
    }
}

void makeSocket(const std::string& path) {
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
}

TEST(FileIo, OpensOrdinaryFilesOnly) {
    const TempDir dir;
    ASSERT_EQ(::mkfifo(dir.path("fifo.xls").c_str(), 0666), 0);
    makeSocket(dir.path("socket.xls"));
    dir.write("folder.xls/file", "");
    ASSERT_EQ(::symlink("nowhere", dir.path("dangling").c_str()), 0);
    ASSERT_EQ(::symlink("loop", dir.path("loop").c_str()), 0);
    ASSERT_EQ(::symlink("fifo.xls", dir.path("to fifo").c_str()), 0);
    const std::pair<std::string, int> rows[] = {
        {dir.path("fifo.xls"), error_number::kPathFileAccess},  // would hang if it were opened
        {dir.path("to fifo"), error_number::kPathFileAccess},
        {dir.path("socket.xls"), error_number::kPathFileAccess},
        {"/dev/zero", error_number::kPathFileAccess},
        {dir.path("folder.xls"), error_number::kPathFileAccess},
        {dir.path("folder.xls") + "/", error_number::kPathFileAccess},
        {dir.path("missing"), error_number::kFileNotFound},
        {dir.path("dangling"), error_number::kFileNotFound},
        {dir.path("loop"), error_number::kPathFileAccess},
        {dir.path("no folder/file"), error_number::kPathNotFound},
        {dir.path("folder.xls/file/below"), error_number::kPathNotFound},
        {dir.path(std::string(256, 'n')), error_number::kBadFileName},
        {dir.path() + std::string("/a\0b", 4), error_number::kBadFileName},
        {"", error_number::kFileNotFound},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(numberOf([&] { InputFile file(row.first); }), row.second) << row.first;
    }
}

// Writes through an OutputFile and returns what the file holds then.
std::string written(const TempDir& dir, const std::function<void(OutputFile&)>& write) {
    const FileDescriptor fd(::open(dir.path("out").c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600));
    OutputFile output(fd.get(), dir.path("out"));
    write(output);
    EXPECT_EQ(output.position(), readWholeFile(dir.path("out")).size());
    return dir.read("out");
}

TEST(FileIo, CopiesRangesWithinAndAcrossFileSystems) {
    const TempDir dir;
    std::string content(700'000, '\0');
    for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i * 7 / 3);
    const std::string elsewhere = "/dev/shm/brindle copy test";
    for (const std::string& path : {dir.path("source"), elsewhere}) {
        std::ofstream(path, std::ios::binary) << content;
        const InputFile source(path);
        const std::string result = written(dir, [&](OutputFile& output) {
            output.write("head");
            output.copyFrom(source, 100, 600'000);
            output.copyFrom(source, 0, 0);
            output.write("tail");
        });
        EXPECT_EQ(result, "head" + content.substr(100, 600'000) + "tail") << path;
        EXPECT_EQ(numberOf([&] {
                      written(dir, [&](OutputFile& out) { out.copyFrom(source, 699'999, 2); });
                  }),
                  error_number::kPastEnd);
    }
    ::unlink(elsewhere.c_str());
}

TEST(FileIo, AFailingWriteIsReported) {
    const FileDescriptor full(::open("/dev/full", O_WRONLY));
    OutputFile output(full.get(), "/dev/full");
    EXPECT_EQ(numberOf([&] { output.write("text"); }), error_number::kDiskFull);
    EXPECT_EQ(output.position(), 0U);
}

TEST(FileIo, PathsMayBeLongerThanOneCallAccepts) {
    const TempDir dir;
    std::string folder = dir.path();
    for (int depth = 0; depth < 50; ++depth) {
        const std::string name(200, static_cast<char>('a' + depth % 26));
        ASSERT_EQ(::mkdirat(openFolder(folder, O_PATH).get(), name.c_str(), 0777), 0);
        folder += "/" + name;
    }
    ASSERT_GT(folder.size(), 2U * PATH_MAX);
    const std::string path = folder + "/book.xls";
    const auto put = [](const char* text) { return [=](OutputFile& out) { out.write(text); }; };
    replaceFile(path, {}, put("first"));
    replaceFile(path, {}, put("second"), [](const std::string& temporary) {
        EXPECT_EQ(readWholeFile(temporary), "second");
    });
    copyFile(path, folder + "/book.bak");
    EXPECT_EQ(readWholeFile(folder + "/book.bak"), "second");
}

}  // namespace
}  // namespace brindle
