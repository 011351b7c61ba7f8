// SPDX-License-Identifier: MIT
// Streams of binary workbooks: real ones, and made ones record by record.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "base/ByteStreams.h"
#include "base/Error.h"
#include "base/LittleEndian.h"
#include "workbook/package/CompoundFile.h"
#include "workbook/xls/biff/Biff.h"
#include "workbook/xls/biff/RecordReader.h"

namespace brindle::test {

inline std::string u16(std::size_t value) {
    return littleEndian(static_cast<std::uint16_t>(value));
}
inline std::string u32(std::size_t value) {
    return littleEndian(static_cast<std::uint32_t>(value));
}
inline std::string xlsRecord(std::uint16_t id, std::string_view body = {}) {
    std::string bytes;
    workbook::xls::appendRecord(bytes, id, body);
    return bytes;
}

inline bool isEncryptedXls(std::string_view stream) {
    workbook::xls::RecordReader reader(stream);
    workbook::xls::Record record;
    for (int i = 0; i < 8 && reader.next(record); ++i) {
        if (record.id == workbook::xls::record::kFilePass) return true;
    }
    return false;
}

// Calls take(name, stream) for every workbook stream of the folder that BRINDLE_CORPUS names but
// those that are encrypted or cannot be got out of their files. False when it names none.
template <typename Take>
bool forEachXlsStream(const Take& take) {
    const char* corpus = std::getenv("BRINDLE_CORPUS");
    if (!corpus) return false;
    for (const char* folder : {"xls", "xlt", "xls-biff5", "xls-biff2-4", "corrupt", "misnamed"}) {
        for (const auto& entry :
             std::filesystem::directory_iterator(std::filesystem::path(corpus) / folder)) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string bytes{std::istreambuf_iterator<char>(file), {}};
            const std::string name = entry.path().filename().string();
            if (bytes.starts_with('\x09') && !isEncryptedXls(bytes)) take(name, bytes);
            if (!workbook::package::CompoundFile::hasSignature(bytes)) continue;
            try {
                const MemorySource source(bytes);
                const workbook::package::CompoundFile compound(source);
                for (const char* stream : {"Workbook", "Book"}) {
                    const auto index = compound.find(stream);
                    if (!index) continue;
                    const auto content = compound.read(*index);
                    if (!isEncryptedXls(content.view())) take(name, content.view());
                }
            } catch (const Error&) {
                continue;
            }
        }
    }
    return true;
}

}  // namespace brindle::test
