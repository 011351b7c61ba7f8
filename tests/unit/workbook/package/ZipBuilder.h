// SPDX-License-Identifier: MIT
// Makes zip archives by hand, also such as no program writes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "workbook/package/Inflate.h"

namespace brindle::workbook::package::testing {

inline std::string number(std::uint64_t value, int bytes) {
    std::string out;
    for (int i = 0; i < bytes; ++i) out.push_back(static_cast<char>(value >> (8 * i)));
    return out;
}

enum class Descriptor { None, Plain, Signed, Signed64 };

struct BuiltMember {
    std::string name;
    std::string data;
    bool isStored = false;
    Descriptor descriptor = Descriptor::None;
    bool isZip64 = false;  // 64-bit fields although nothing needs them
    std::uint16_t flags = 0;
    std::uint16_t date = 0x58C5;
    std::uint32_t attributes = 0;
    std::string localExtra = {};
    std::string centralExtra = {};
    std::string comment = {};
    std::string localName = {};  // when it differs
};

class ZipBuilder {
public:
    explicit ZipBuilder(std::string prefix = {}, bool areOffsetsFromFile = true)
        : mBytes(std::move(prefix)), mBase(areOffsetsFromFile ? 0 : mBytes.size()) {}

    void add(const BuiltMember& member) {
        const std::string stored =
            member.isStored ? member.data : std::string(deflateWhole(member.data, 6).view());
        const std::uint32_t crc = crc32(member.data);
        const std::size_t offset = mBytes.size() - mBase;
        const bool isLate = member.descriptor != Descriptor::None;
        const std::uint32_t flags = member.flags | (isLate ? 8u : 0u);
        const std::string& localName = member.localName.empty() ? member.name : member.localName;
        const std::string sizes64 = number(member.data.size(), 8) + number(stored.size(), 8);
        const auto common = [&](bool isEmpty, bool isWide) {
            const auto size = [&](std::size_t value) {
                return isWide ? number(0xFFFFFFFF, 4) : number(isEmpty ? 0 : value, 4);
            };
            return number(member.isZip64 ? 45 : 20, 2) + number(flags, 2) +
                   number(member.isStored ? 0 : 8, 2) + number(0x6000, 2) + number(member.date, 2) +
                   number(isEmpty ? 0 : crc, 4) + size(stored.size()) + size(member.data.size());
        };
        const std::string localExtra =
            (member.isZip64 && !isLate ? number(1, 2) + number(16, 2) + sizes64 : "") +
            member.localExtra;
        mBytes += "PK\3\4" + common(isLate, member.isZip64 && !isLate) +
                  number(localName.size(), 2) + number(localExtra.size(), 2) + localName +
                  localExtra + stored;
        const int width = member.descriptor == Descriptor::Signed64 ? 8 : 4;
        if (member.descriptor >= Descriptor::Signed) mBytes += "PK\7\x08";
        if (isLate) {
            mBytes +=
                number(crc, 4) + number(stored.size(), width) + number(member.data.size(), width);
        }
        const std::string extra =
            (member.isZip64 ? number(1, 2) + number(24, 2) + sizes64 + number(offset, 8) : "") +
            member.centralExtra;
        mRecords += "PK\1\2" + number(0x0314, 2) + common(false, member.isZip64) +
                    number(member.name.size(), 2) + number(extra.size(), 2) +
                    number(member.comment.size(), 2) + number(0, 2) + number(1, 2) +
                    number(member.attributes, 4) + number(member.isZip64 ? 0xFFFFFFFF : offset, 4) +
                    member.name + extra + member.comment;
        ++mCount;
    }

    std::string finish(const std::string& comment = {}, bool isZip64 = false) {
        const std::size_t offset = mBytes.size() - mBase;
        std::string out = mBytes + mRecords;
        if (isZip64) {
            const std::size_t end = out.size() - mBase;
            out += "PK\6\6" + number(44, 8) + number(45, 2) + number(45, 2) + number(0, 8) +
                   number(mCount, 8) + number(mCount, 8) + number(mRecords.size(), 8) +
                   number(offset, 8) + "PK\6\7" + number(0, 4) + number(end, 8) + number(1, 4);
        }
        const auto count = number(isZip64 ? 0xFFFF : mCount, 2);
        return out + "PK\5\6" + number(0, 4) + count + count +
               number(isZip64 ? 0xFFFFFFFF : mRecords.size(), 4) +
               number(isZip64 ? 0xFFFFFFFF : offset, 4) + number(comment.size(), 2) + comment;
    }

private:
    std::string mBytes;
    std::string mRecords;
    std::size_t mBase;
    std::size_t mCount = 0;
};

}  // namespace brindle::workbook::package::testing
