// SPDX-License-Identifier: MIT
// The file that a package stands in: an archive, or a compound file that holds the archive
// encrypted ([MS-OFFCRYPTO] 2.3.4).
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "base/ByteStreams.h"
#include "base/FileIo.h"
#include "workbook/package/CompoundFile.h"
#include "workbook/package/EncryptionInfo.h"

namespace brindle::workbook::ooxml {

// Whether a compound file holds an encrypted package and no binary workbook.
bool isEncryptedPackage(const package::CompoundFile& file);

class PackageFile {
public:
    // An encrypted package is decrypted into memory. Documents that open without being asked for
    // a password have a well-known one, which is tried when `password` does not fit. Throws Error
    // (WrongPassword) when none was given and when another one was; Error (Damaged) for a package
    // that is not what was encrypted; Error (Unsupported, TooLarge) as EncryptionInfo.
    PackageFile(std::unique_ptr<InputFile> file, const std::string& password);

    const InputFile& file() const { return *mFile; }
    // The archive.
    const ByteSource& package() const;

    // Writes the file anew around the archive that `writePackage` writes.
    void write(OutputFile& out, const std::function<void(ByteSink&)>& writePackage) const;
    // Opens what write() wrote with the password that opened this one, and compares everything
    // around the package. Throws Error (Internal) for a difference.
    std::unique_ptr<PackageFile> reopened(const std::string& path) const;

private:
    // What an encrypted package has on top.
    struct Envelope {
        explicit Envelope(const InputFile& file);
        package::CompoundFile compound;
        std::unique_ptr<package::EncryptionInfo> info;
        std::string password;  // the one that fits
        std::string key;
        package::Buffer stream;  // decrypted
        MemorySource package{{}};
    };
    void unlock(const std::string& password);

    std::unique_ptr<InputFile> mFile;
    std::unique_ptr<Envelope> mEnvelope;
};

}  // namespace brindle::workbook::ooxml
