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

TEST(SystemError, HasTheNumberAndTextThatUsersKnow) {
    const auto sys = ErrorKind::System;
    const struct {
        int errnoValue;
        int number;
        const char* description;
        ErrorKind kind;
        // clang-format off
    } rows[] = {
        {ENOENT, 53, "File not found", ErrorKind::NotFound},
        {ENOTDIR, 76, "Path not found", ErrorKind::NotFound},
        {EACCES, 70, "Permission denied", sys}, {EPERM, 70, "Permission denied", sys},
        {ETXTBSY, 70, "Permission denied", sys}, {EISDIR, 75, "Path/File access error", sys},
        {ELOOP, 75, "Path/File access error", sys}, {EROFS, 75, "Path/File access error", sys},
        {EEXIST, 58, "File already exists", sys}, {ENOSPC, 61, "Disk full", sys},
        {EDQUOT, 61, "Disk full", sys}, {EMFILE, 67, "Too many files", sys},
        {ENFILE, 67, "Too many files", sys}, {ENODEV, 68, "Device unavailable", sys},
        {ENAMETOOLONG, 52, "Bad file name or number", sys}, {ENOMEM, 7, "Out of memory", sys},
        {ENXIO, 68, "Device unavailable", sys}, {EIO, 57, "Device I/O error", sys},
        {ESTALE, 57, "Device I/O error", sys},
    };
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE(row.errnoValue);
        Error error = Error::system(row.errnoValue, "open /data/a b.xls");
        EXPECT_EQ(error.number(), row.number);
        EXPECT_EQ(error.description(), row.description);
        EXPECT_EQ(error.kind(), row.kind);
        error.inFile("/data/a b.xls");
        const std::string what = error.what();
        EXPECT_EQ(what.find("a b.xls"), what.rfind("a b.xls")) << what;
        EXPECT_NE(what.find("open /data/a b.xls: "), std::string::npos) << what;
    }
}

}  // namespace
}  // namespace brindle
