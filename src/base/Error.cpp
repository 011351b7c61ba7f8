// SPDX-License-Identifier: MIT
#include "base/Error.h"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

namespace brindle {

namespace {

struct ErrnoRow {
    int errnoValue;
    int number;
    const char* description;
};

constexpr ErrnoRow kErrnoRows[] = {
    {ENOENT, error_number::kFileNotFound, "File not found"},
    {EACCES, error_number::kPermissionDenied, "Permission denied"},
    {EPERM, error_number::kPermissionDenied, "Permission denied"},
    {ETXTBSY, error_number::kPermissionDenied, "Permission denied"},
    {EISDIR, error_number::kPathFileAccess, "Path/File access error"},
    {ELOOP, error_number::kPathFileAccess, "Path/File access error"},
    {EROFS, error_number::kPathFileAccess, "Path/File access error"},
    {ENOTDIR, error_number::kPathNotFound, "Path not found"},
    {EEXIST, error_number::kFileExists, "File already exists"},
    {ENOSPC, error_number::kDiskFull, "Disk full"},
    {EDQUOT, error_number::kDiskFull, "Disk full"},
    {EMFILE, error_number::kTooManyFiles, "Too many files"},
    {ENFILE, error_number::kTooManyFiles, "Too many files"},
    {ENAMETOOLONG, error_number::kBadFileName, "Bad file name or number"},
    {ENODEV, error_number::kDeviceUnavailable, "Device unavailable"},
    {ENXIO, error_number::kDeviceUnavailable, "Device unavailable"},
    {ENOMEM, error_number::kOutOfMemory, "Out of memory"},
};

ErrnoRow rowOf(int errnoValue) {
    const auto* row = std::find_if(std::begin(kErrnoRows), std::end(kErrnoRows),
                                   [&](const ErrnoRow& r) { return r.errnoValue == errnoValue; });
    if (row != std::end(kErrnoRows)) return *row;
    return {errnoValue, error_number::kDeviceIo, "Device I/O error"};
}

ErrorKind kindOf(int errnoValue) {
    const bool missing = errnoValue == ENOENT || errnoValue == ENOTDIR;
    return missing ? ErrorKind::NotFound : ErrorKind::System;
}

void addToList(std::string& list, const std::string& item) {
    if (item.empty()) return;
    if (!list.empty()) list += ", ";
    list += item;
}

std::string listOf(const ErrorPlace& place) {
    std::string list;
    addToList(list, place.file);
    addToList(list, place.member);
    addToList(list, place.cell);
    if (place.offset) addToList(list, "offset " + std::to_string(*place.offset));
    return list;
}

}  // namespace

Error::Error(ErrorKind kind, int number, std::string description, SourceLocation thrownAt)
    : mKind(kind), mNumber(number), mDescription(std::move(description)), mThrownAt(thrownAt) {
    compose();
}

Error Error::refused(std::string description, SourceLocation thrownAt) {
    return Error(ErrorKind::Refused, error_number::kApplicationDefined, std::move(description),
                 thrownAt);
}

Error Error::notSupported(SourceLocation thrownAt) {
    return Error(ErrorKind::Unsupported, error_number::kNotSupportedByObject,
                 "Object doesn't support this property or method", thrownAt);
}

Error Error::damaged(std::string description, SourceLocation thrownAt) {
    return Error(ErrorKind::Damaged, error_number::kApplicationDefined, std::move(description),
                 thrownAt);
}

Error Error::system(int errnoValue, const std::string& what, SourceLocation thrownAt) {
    const ErrnoRow row = rowOf(errnoValue);
    Error error(kindOf(errnoValue), row.number, row.description, thrownAt);
    error.mDetail = what + ": " + std::generic_category().message(errnoValue);
    error.compose();
    return error;
}

Error& Error::inFile(const std::string& path) {
    if (mPlace.file.empty()) mPlace.file = path;
    compose();
    return *this;
}

Error& Error::inMember(const std::string& member) {
    if (mPlace.member.empty()) mPlace.member = member;
    compose();
    return *this;
}

Error& Error::inCell(const std::string& cell) {
    if (mPlace.cell.empty()) mPlace.cell = cell;
    compose();
    return *this;
}

Error& Error::atOffset(std::uint64_t offset) {
    if (!mPlace.offset) mPlace.offset = offset;
    compose();
    return *this;
}

std::string Error::placeText() const {
    return listOf(mPlace);
}

void Error::compose() {
    mWhat = mDescription;
    std::string details = mDetail;
    // The detail of a system call names its path as a rule; once is enough.
    ErrorPlace place = mPlace;
    if (mDetail.find(place.file) != std::string::npos) place.file.clear();
    addToList(details, listOf(place));
    if (!details.empty()) mWhat += " (" + details + ")";
    std::replace_if(
        mWhat.begin(), mWhat.end(), [](char c) { return c == '\r' || c == '\n' || c == '\0'; },
        ' ');
}

}  // namespace brindle
