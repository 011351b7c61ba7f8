// SPDX-License-Identifier: MIT
// A zip archive that is read by member and rewritten with some members changed, all others
// byte for byte as they are stored. Layout: PKWARE APPNOTE.TXT. Both directions walk the
// records themselves: reading needs offsets that libzip does not tell, and libzip 1.7 writes
// untouched members back with other flags (descriptor, UTF-8), reordered extra fields and
// another date where there was none.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/ByteStreams.h"
#include "workbook/package/Inflate.h"

namespace brindle::workbook::package {

// What we accept, by what the directory claims and before anything is unpacked. Beyond it:
// Error (TooLarge).
struct ZipLimits {
    std::uint64_t totalBytes = 4ull << 30;  // all members unpacked
    std::uint32_t members = 65535;
    // These two hold for members that are unpacked only.
    std::uint64_t memberBytes = 2ull << 30;
    // Unpacked to packed size, for members over 100 KiB; deflate itself ends at 1032.
    std::uint32_t ratio = 1032;
};

struct ZipMember {
    std::string name;  // as stored; UTF-8 or code page 437
    std::uint16_t method = 0;
    std::uint16_t flags = 0;
    std::uint32_t crc = 0;
    std::uint64_t compressedSize = 0;
    std::uint64_t size = 0;
    std::uint64_t headerOffset = 0;  // of the local header in the file
    bool isFolder() const { return !name.empty() && (name.back() == '/' || name.back() == '\\'); }
};

// Reads a member's bytes in pieces; verifies size and CRC with the last one.
class MemberStream {
public:
    // `archive` is borrowed. Throws as ZipArchive::read does.
    MemberStream(const class ZipArchive& archive, std::size_t index);
    ~MemberStream();
    MemberStream(MemberStream&&) noexcept;
    // As InflateStream::read. Throws Error (Damaged) with the member's name.
    std::size_t read(char* into, std::size_t capacity);

private:
    struct State;
    std::unique_ptr<State> mState;
};

struct MemberEdit {
    enum class Action { Replace, Remove, Add };
    Action action = Action::Replace;
    std::string name;   // of an existing member, or the new one
    Buffer compressed;  // Replace, Add: raw deflate stream
    std::uint64_t size = 0;
    std::uint32_t crc = 0;
};

class ZipArchive {
public:
    // Reads and checks the directory: end record (zip64 too), claims against `limits`,
    // members that overlap or lie outside the file, names that stand twice (folders excepted).
    // Bytes in front of the archive are accepted. Throws Error
    // (Damaged, TooLarge, Unsupported), for archives on several disks the last. `source`
    // is borrowed.
    explicit ZipArchive(const ByteSource& source, const ZipLimits& limits = {});
    ~ZipArchive();
    ZipArchive(ZipArchive&&) noexcept;

    // In the directory's order.
    const std::vector<ZipMember>& members() const;
    // Of the source.
    Pulse pulse() const;
    // By name: ASCII case ignored, "\" equal to "/", no leading "/". Among names that differ in
    // nothing else the exact spelling decides; Error (Damaged) when it is none of theirs.
    std::optional<std::size_t> find(std::string_view name) const;

    // The stored bytes of a member, after its local header was compared with the directory
    // (name, method, flags; sizes and CRC there or in the data descriptor). Throws Error
    // (Damaged) with the member's name.
    Buffer rawBytes(std::size_t index) const;
    // The unpacked bytes; size and CRC verified. Throws Error (Damaged, TooLarge; Unsupported for
    // an encrypted member and methods other than stored and deflated) with the member's name.
    Buffer read(std::size_t index) const;

    // Writes the archive with the edits applied to `out`: what is not edited stays as it is
    // stored, bytes outside of members and the comment included; only offsets follow. Changed
    // members keep their place, date, attributes and extra fields; added ones come last, dated
    // 1980-01-01. Written members have no data descriptor. Throws Error (NotFound) for a
    // Replace or Remove without its member, Error (Argument) for a second edit of a member and
    // an Add of one that exists.
    void writeTo(ByteSink& out, std::vector<MemberEdit> edits) const;

private:
    friend class MemberStream;
    struct Contents;

    void indexNames();
    std::string_view storedBytes(std::size_t index, Buffer& scratch) const;
    std::string_view readableBytes(std::size_t index, Buffer& scratch) const;

    std::unique_ptr<Contents> mContents;
    std::vector<std::uint32_t> mByName;  // indexes sorted by normalised name
};

// Normalised member name: ASCII lower case, "/" for "\", no leading "/".
std::string normalisedMemberName(std::string_view name);

}  // namespace brindle::workbook::package
