// SPDX-License-Identifier: MIT
#include "base/Error.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace brindle {
namespace {

TEST(Error, PlaceIsToldBehindTheSentence) {
    Error error = Error::damaged("The file is not in a recognizable format");
    EXPECT_STREQ(error.what(), "The file is not in a recognizable format");
    error.inCell("B7").inMember("xl/worksheets/sheet1.xml").inFile("/data/a.xlsx").atOffset(12);
    EXPECT_STREQ(
        error.what(),
        "The file is not in a recognizable format (/data/a.xlsx, xl/worksheets/sheet1.xml, "
        "B7, offset 12)");
    EXPECT_EQ(error.description(), "The file is not in a recognizable format");
    EXPECT_EQ(error.number(), 1004);
    EXPECT_EQ(error.kind(), ErrorKind::Damaged);
}

TEST(Error, OuterLayersDoNotOverwriteThePlace) {
    Error error = Error::refused("No");
    error.inFile("inner").inMember("m1").inCell("A1").atOffset(0);
    error.inFile("outer").inMember("m2").inCell("A2").atOffset(9);
    EXPECT_EQ(error.place().file, "inner");
    EXPECT_EQ(error.place().member, "m1");
    EXPECT_EQ(error.place().cell, "A1");
    EXPECT_EQ(error.place().offset, 0U);
}

TEST(Error, WhatIsASingleLine) {
    Error error = Error::refused("two\r\nlines");
    error.inFile("a\nb");
    EXPECT_STREQ(error.what(), "two  lines (a b)");
}

TEST(Error, KnowsTheLineOfTheThrow) {
    const auto line = SourceLocation::current().line();
    const Error error = Error::refused("No");
    EXPECT_EQ(error.thrownAt().line(), line + 1);
}

struct ErrnoCase {
    int errnoValue;
    int number;
    const char* description;
    ErrorKind kind;
};

class SystemError : public testing::TestWithParam<ErrnoCase> {};

TEST_P(SystemError, HasTheNumberAndTextThatUsersKnow) {
    const ErrnoCase& c = GetParam();
    Error error = Error::system(c.errnoValue, "open /data/a b.xls");
    EXPECT_EQ(error.number(), c.number);
    EXPECT_EQ(error.description(), c.description);
    EXPECT_EQ(error.kind(), c.kind);
    error.inFile("/data/a b.xls");
    const std::string what = error.what();
    EXPECT_EQ(what.find("a b.xls"), what.rfind("a b.xls")) << what;
    EXPECT_NE(what.find("open /data/a b.xls: "), std::string::npos) << what;
}

INSTANTIATE_TEST_SUITE_P(
    Table, SystemError,
    testing::Values(ErrnoCase{ENOENT, 53, "File not found", ErrorKind::NotFound},
                    ErrnoCase{ENOTDIR, 76, "Path not found", ErrorKind::NotFound},
                    ErrnoCase{EACCES, 70, "Permission denied", ErrorKind::System},
                    ErrnoCase{EPERM, 70, "Permission denied", ErrorKind::System},
                    ErrnoCase{ETXTBSY, 70, "Permission denied", ErrorKind::System},
                    ErrnoCase{EISDIR, 75, "Path/File access error", ErrorKind::System},
                    ErrnoCase{ELOOP, 75, "Path/File access error", ErrorKind::System},
                    ErrnoCase{EROFS, 75, "Path/File access error", ErrorKind::System},
                    ErrnoCase{EEXIST, 58, "File already exists", ErrorKind::System},
                    ErrnoCase{ENOSPC, 61, "Disk full", ErrorKind::System},
                    ErrnoCase{EDQUOT, 61, "Disk full", ErrorKind::System},
                    ErrnoCase{EMFILE, 67, "Too many files", ErrorKind::System},
                    ErrnoCase{ENFILE, 67, "Too many files", ErrorKind::System},
                    ErrnoCase{ENAMETOOLONG, 52, "Bad file name or number", ErrorKind::System},
                    ErrnoCase{ENODEV, 68, "Device unavailable", ErrorKind::System},
                    ErrnoCase{ENXIO, 68, "Device unavailable", ErrorKind::System},
                    ErrnoCase{ENOMEM, 7, "Out of memory", ErrorKind::System},
                    ErrnoCase{EIO, 57, "Device I/O error", ErrorKind::System},
                    ErrnoCase{ESTALE, 57, "Device I/O error", ErrorKind::System}));

}  // namespace
}  // namespace brindle
