// SPDX-License-Identifier: MIT
// Where a hyperlink of a binary workbook leads: a web address, the path of a file or the path of
// one on a server, and a place in there. Layout: [MS-OSHARED] 2.3.7.1 (Hyperlink Object).
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/ByteReader.h"
#include "workbook/xls/FileMoniker.h"

namespace brindle::workbook::xls {

class HyperlinkObject {
public:
    // `bytes` from the version number on; borrowed. An object in a form that is not understood,
    // damaged ones among them, has no address.
    explicit HyperlinkObject(std::string_view bytes);

    // As workbook/HyperlinkTarget.h shows it. Of a path, nothing is escaped.
    const std::string& address() const { return mAddress; }
    // The object with another address; everything but the address stays. Nothing when neither an
    // address nor a place is left. Throws Error 1004 when there is no address to change, and when
    // the new one cannot be stored.
    std::optional<std::string> withAddress(std::string_view address) const;

private:
    enum class Kind { None, Url, File, String };
    struct Stored {
        Kind kind = Kind::None;
        std::string bytes;  // of the moniker, or of the string
        std::string place;  // that it moved to behind the address
    };
    void read(ByteReader& bytes);
    void readMoniker(ByteReader& bytes);
    bool hasPlace() const;
    Kind kindFor(std::string_view address) const;
    Stored stored(std::string_view address) const;
    std::string rebuilt(const Stored& stored, std::uint32_t flags) const;

    std::string_view mBytes;
    std::uint32_t mFlags = 0;
    std::size_t mBegin = 0;  // of what holds the address
    std::size_t mEnd = 0;
    Kind mKind = Kind::None;
    std::string mTarget;        // with the place behind "#", if there is one
    std::string_view mUrlTail;  // Url: what follows the terminator
    std::optional<FileMoniker> mFile;
    std::string mAddress;
};

}  // namespace brindle::workbook::xls
