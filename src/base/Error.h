// SPDX-License-Identifier: MIT
// The one exception type of the system.
#pragma once

#include <cstdint>
#include <exception>
#include <optional>
#include <string>

#include "base/SourceLocation.h"

namespace brindle {

// What a caller does differently about a failure.
enum class ErrorKind {
    NotFound,       // the file, folder or item is not there
    Refused,        // the item may not be changed so; it is as it was before the call
    Damaged,        // the bytes break the rules of their format
    Unsupported,    // a format or a feature that we do not handle
    TooLarge,       // a size or count beyond what we accept
    WrongPassword,  // missing or wrong password
    Cancelled,      // the user gave up a dialog; never logged
    System,         // the operating system refused (disk full, no permission, ...)
    Argument,       // a value that the called operation cannot take
    Internal        // our own fault
};

// Numbers of failures as users meet them in the error log.
namespace error_number {
inline constexpr int kInvalidArgument = 5;
inline constexpr int kOverflow = 6;
inline constexpr int kOutOfMemory = 7;
inline constexpr int kSubscript = 9;
inline constexpr int kTypeMismatch = 13;
inline constexpr int kInternal = 51;
inline constexpr int kBadFileName = 52;
inline constexpr int kFileNotFound = 53;
inline constexpr int kDeviceIo = 57;
inline constexpr int kFileExists = 58;
inline constexpr int kDiskFull = 61;
inline constexpr int kPastEnd = 62;
inline constexpr int kTooManyFiles = 67;
inline constexpr int kDeviceUnavailable = 68;
inline constexpr int kPermissionDenied = 70;
inline constexpr int kPathFileAccess = 75;
inline constexpr int kPathNotFound = 76;
inline constexpr int kInvalidFileFormat = 321;
inline constexpr int kCannotCreateObject = 429;
inline constexpr int kNotSupportedByObject = 438;
inline constexpr int kKeyInUse = 457;
inline constexpr int kApplicationDefined = 1004;
inline constexpr int kDialogCancelled = 32755;
}  // namespace error_number

// Where a fault lies; any field may be empty. All texts are UTF-8.
struct ErrorPlace {
    std::string file;                     // path of the document
    std::string member;                   // part of a package, stream, sheet name
    std::string cell;                     // address such as B7
    std::optional<std::uint64_t> offset;  // byte offset in the member (else in the file)
};

// Thrown where the fault is seen. The description is one sentence without a final period, in
// the words that the error log shows; place and number travel as data. The in...() functions
// fill in what an outer layer knows, and never overwrite what an inner one said.
class Error : public std::exception {
public:
    Error(ErrorKind kind, int number, std::string description,
          SourceLocation thrownAt = SourceLocation::current());

    // A refusal of the object model: number 1004.
    static Error refused(std::string description,
                         SourceLocation thrownAt = SourceLocation::current());
    // Bytes that break their format: number 1004 with the reason as text.
    static Error damaged(std::string description,
                         SourceLocation thrownAt = SourceLocation::current());
    // A member that the object does not have: number 438.
    static Error notSupported(SourceLocation thrownAt = SourceLocation::current());
    // A failure of a system call, by errno; `what` names the action and its object, and is told
    // by what() only: the description is the plain text of the number. Numbers:
    // ENOENT 53, EACCES/EPERM/ETXTBSY 70, EISDIR/ELOOP/EROFS 75, ENOTDIR 76, EEXIST 58,
    // ENOSPC/EDQUOT 61, EMFILE/ENFILE 67, ENAMETOOLONG 52, ENODEV/ENXIO 68, ENOMEM 7, else 57.
    static Error system(int errnoValue, const std::string& what,
                        SourceLocation thrownAt = SourceLocation::current());

    Error& inFile(const std::string& path);
    Error& inMember(const std::string& member);
    Error& inCell(const std::string& cell);
    Error& atOffset(std::uint64_t offset);

    ErrorKind kind() const { return mKind; }
    int number() const { return mNumber; }
    // The bare sentence, without the place.
    const std::string& description() const { return mDescription; }
    const ErrorPlace& place() const { return mPlace; }
    // The place in words ("a.xlsx, xl/styles.xml, offset 12"); empty when nothing is known.
    std::string placeText() const;
    const SourceLocation& thrownAt() const { return mThrownAt; }
    // Description, followed by the place in parentheses when there is one; a single line.
    const char* what() const noexcept override { return mWhat.c_str(); }

private:
    void compose();

    ErrorKind mKind;
    int mNumber;
    std::string mDescription;
    std::string mDetail;  // of a system call: what was done to what, and the system's reason
    ErrorPlace mPlace;
    SourceLocation mThrownAt;
    std::string mWhat;
};

}  // namespace brindle
