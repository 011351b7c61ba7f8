// SPDX-License-Identifier: MIT
#include "workbook/xls/HyperlinkObject.h"

#include "base/Error.h"
#include "workbook/HyperlinkTarget.h"
#include "workbook/xls/biff/Utf16.h"

namespace brindle::workbook::xls {

namespace {

constexpr std::uint32_t kHasMoniker = 0x01;
constexpr std::uint32_t kIsAbsolute = 0x02;
constexpr std::uint32_t kHasPlace = 0x08;
constexpr std::uint32_t kHasDisplayName = 0x10;
constexpr std::uint32_t kHasFrame = 0x80;
constexpr std::uint32_t kIsString = 0x100;

constexpr std::size_t kFlagsOffset = 4;
constexpr std::size_t kClassIdSize = 16;
constexpr std::string_view kUrlMoniker = {
    "\xE0\xC9\xEA\x79\xF9\xBA\xCE\x11\x8C\x82\x00\xAA\x00\x4B\xA9\x0B", kClassIdSize};
constexpr std::string_view kFileMoniker = {
    "\x03\x03\x00\x00\x00\x00\x00\x00\xC0\x00\x00\x00\x00\x00\x00\x46", kClassIdSize};

// A count of characters, the terminator among them, and the characters.
std::string readString(ByteReader& bytes) {
    return utf16Text(bytes.bytes(std::size_t{2} * bytes.number<std::uint32_t>()));
}

std::string stringBytes(std::string_view text) {
    const std::string bytes = utf16Bytes(text) + std::string(2, '\0');
    return littleEndian(static_cast<std::uint32_t>(bytes.size() / 2)) + bytes;
}

bool isOnServer(std::string_view path) {
    return path.starts_with("\\\\");
}

}  // namespace

HyperlinkObject::HyperlinkObject(std::string_view bytes) : mBytes(bytes) {
    try {
        ByteReader reader(bytes);
        read(reader);
    } catch (const Error& error) {
        if (error.kind() != ErrorKind::Damaged) throw;
        mKind = Kind::None;
    }
    if (mKind == Kind::Url) {
        mAddress = shownAddress(mTarget);
    } else if (mKind != Kind::None) {
        mAddress = mTarget.substr(0, mTarget.find('#'));
    }
}

void HyperlinkObject::read(ByteReader& bytes) {
    bytes.skip(kFlagsOffset);
    mFlags = bytes.number<std::uint32_t>();
    if (mFlags & kHasDisplayName) readString(bytes);
    if (mFlags & kHasFrame) readString(bytes);
    mBegin = bytes.position();
    if ((mFlags & kHasMoniker) && (mFlags & kIsString)) {
        mTarget = readString(bytes);
        mKind = Kind::String;
    } else if (mFlags & kHasMoniker) {
        readMoniker(bytes);
    }
    mEnd = bytes.position();
    if (mFlags & kHasPlace) readString(bytes);
    if (mTarget.empty()) mKind = Kind::None;
}

void HyperlinkObject::readMoniker(ByteReader& bytes) {
    const std::string_view classId = bytes.bytes(kClassIdSize);
    if (classId == kUrlMoniker) {
        const std::string_view url = bytes.bytes(bytes.number<std::uint32_t>());
        mTarget = utf16Text(url);
        mUrlTail = url.substr(std::min(url.size(), 2 * text::lengthUtf16(mTarget) + 2));
        mKind = Kind::Url;
    } else if (classId == kFileMoniker) {
        mFile.emplace(bytes);
        mTarget = mFile->path();
        mKind = Kind::File;
    } else {
        throw Error::damaged("A hyperlink of an unknown kind");
    }
}

bool HyperlinkObject::hasPlace() const {
    return (mFlags & kHasPlace) != 0;
}

// The kind stays as long as it can hold the address in the way in which the application does.
HyperlinkObject::Kind HyperlinkObject::kindFor(std::string_view address) const {
    const AddressParts parts = addressParts(address);
    if (parts.form == AddressForm::Url) return Kind::Url;
    if (mKind == Kind::Url && addressParts(mTarget).form != AddressForm::Url) return Kind::Url;
    const bool staysString = mKind == Kind::String && !isOnServer(mTarget);
    const bool staysFile = mKind == Kind::File && mFile->isOnServer();
    if (isOnServer(parts.body)) return staysFile ? Kind::File : Kind::String;
    return staysString ? Kind::String : Kind::File;
}

HyperlinkObject::Stored HyperlinkObject::stored(std::string_view address) const {
    const bool wasUrl = mKind == Kind::Url;
    const AddressParts old = addressParts(mTarget);
    // Refuses what no link can hold.
    const std::string target =
        targetForAddress(wasUrl ? mTarget : old.fragment, address, hasPlace());
    Stored stored;
    stored.kind = kindFor(address);
    if (stored.kind == Kind::Url) {
        const std::string url = utf16Bytes(target) + std::string(2, '\0') +
                                std::string(wasUrl ? mUrlTail : std::string_view());
        stored.bytes = std::string(kUrlMoniker);
        stored.bytes += littleEndian(static_cast<std::uint32_t>(url.size())) + url;
        return stored;
    }
    std::string path(wasUrl ? shownAddress(target) : addressParts(address).body);
    const std::string_view fragment = addressParts(target).fragment;
    if (!wasUrl && !old.fragment.empty()) {
        path += old.fragment;
    } else if (!fragment.empty()) {
        stored.place = fragment.substr(1);
    }
    if (stored.kind == Kind::String) {
        stored.bytes = stringBytes(path);
    } else {
        stored.bytes = std::string(kFileMoniker);
        stored.bytes += mFile ? mFile->changedTo(path) : FileMoniker::made(path);
    }
    return stored;
}

std::optional<std::string> HyperlinkObject::withAddress(std::string_view address) const {
    if (mKind == Kind::None) {
        throw Error::refused("The link leads to a place in the workbook and has no address");
    }
    std::uint32_t flags = mFlags & ~(kHasMoniker | kIsString);
    if (address.empty()) {
        if (!hasPlace()) return std::nullopt;
        return rebuilt({}, flags & ~kIsAbsolute);
    }
    const Stored changed = stored(address);
    flags |= kHasMoniker;
    if (changed.kind == Kind::String) flags |= kIsString;
    if (!changed.place.empty()) flags |= kHasPlace;
    const bool wasRelative = addressParts(mTarget).form == AddressForm::RelativePath;
    const bool isRelative = addressParts(address).form == AddressForm::RelativePath;
    if (wasRelative != isRelative) {
        flags = isRelative ? flags & ~kIsAbsolute : flags | kIsAbsolute;
    }
    return rebuilt(changed, flags);
}

std::string HyperlinkObject::rebuilt(const Stored& stored, std::uint32_t flags) const {
    std::string out(mBytes.substr(0, mBegin));
    putLittleEndian(out.data() + kFlagsOffset, flags);
    out += stored.bytes;
    if (!stored.place.empty()) out += stringBytes(stored.place);
    out += mBytes.substr(mEnd);
    return out;
}

}  // namespace brindle::workbook::xls
