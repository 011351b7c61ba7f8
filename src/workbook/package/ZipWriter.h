// SPDX-License-Identifier: MIT
// Writes an archive anew with some members changed. Internal to this folder.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/ByteStreams.h"
#include "workbook/package/ZipDirectory.h"

namespace brindle::workbook::package::zip {

class ZipWriter {
public:
    // All borrowed.
    ZipWriter(const FileBytes& bytes, const Directory& directory, ByteSink& out);

    // Takes in an edit (borrowed) of the member at `index`; without one the name is not in the
    // archive. Throws Error (NotFound, Argument) as ZipArchive::writeTo does.
    void plan(const MemberEdit& edit, std::optional<std::size_t> index);

    void write();

private:
    struct Addition {
        const MemberEdit* edit;
        std::uint64_t offset;
    };

    void writeMembers();
    void writeEdited(std::size_t index);
    void writeAdditions();
    void writeDirectory();
    void writeData(const std::string& header, const MemberEdit& edit);

    const FileBytes& mBytes;
    const Directory& mDirectory;
    ByteSink& mOut;
    std::vector<const MemberEdit*> mEdits;  // of each member of the archive, null for none
    std::vector<std::uint64_t> mOffsets;    // of each member in the new file
    std::vector<Addition> mAdditions;
};

}  // namespace brindle::workbook::package::zip
