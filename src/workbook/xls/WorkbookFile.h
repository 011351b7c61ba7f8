// SPDX-License-Identifier: MIT
// The file of a binary workbook: since 5.0 a compound file with the workbook in one of its
// streams, before that the bare stream.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/FileIo.h"
#include "workbook/package/CompoundFile.h"
#include "workbook/package/Inflate.h"
#include "workbook/xls/biff/Biff.h"
#include "workbook/xls/encryption/StreamCipher.h"

namespace brindle::workbook::xls {

// Whether a compound file holds a workbook.
bool holdsWorkbook(const package::CompoundFile& file);
// Whether bytes begin like a bare workbook stream.
bool isBareWorkbook(std::string_view head);

class WorkbookFile {
public:
    // Reads the file into memory. `ansiCodePage` is what older passwords are counted in. Throws
    // Error (Damaged, Unsupported, WrongPassword, TooLarge).
    WorkbookFile(std::unique_ptr<InputFile> file, const std::string& password,
                 const std::string& ansiCodePage);
    WorkbookFile(const WorkbookFile&) = delete;
    WorkbookFile& operator=(const WorkbookFile&) = delete;

    const InputFile& file() const { return *mFile; }
    Version version() const { return mVersion; }
    // The workbook stream, decrypted.
    std::string_view stream() const { return mStream; }
    // Another stream of the compound file, by its path; nothing when there is none.
    std::optional<std::string> read(const char* path) const;
    // Whether the document is signed. (A signature of its macros stands elsewhere and stays good.)
    bool isSigned() const;
    const StreamCipher* cipher() const { return mCipher.get(); }

    // Writes the file with another workbook stream (given decrypted, encrypted here in place) and
    // other streams changed. A copy of the workbook for older programs goes: it would tell what
    // stood there before.
    struct Stream {
        std::string path;
        std::string bytes;
    };
    void write(OutputFile& out, std::string& stream, const std::vector<Stream>& others) const;

    // Reads a written file back. Throws Error (Internal) when what was not to be changed is not as
    // it was, or what was written is not there; `stream` is the one that was given to write(),
    // encrypted by now.
    void verify(const std::string& path, std::string_view stream,
                const std::vector<Stream>& others) const;

private:
    void findStream();

    std::unique_ptr<InputFile> mFile;
    package::Buffer mBytes;  // of the file
    MemorySource mSource;
    std::optional<package::CompoundFile> mCompound;
    std::size_t mStreamIndex = 0;  // in the compound file
    package::Buffer mOwnStream;    // where it is not just a piece of the file
    std::string_view mStream;
    Version mVersion = Version::Biff8;
    std::unique_ptr<StreamCipher> mCipher;
};

}  // namespace brindle::workbook::xls
