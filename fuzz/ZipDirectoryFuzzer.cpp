// SPDX-License-Identifier: MIT
// Any bytes are either an archive or an Error. What opens is written back unchanged, and with one
// member replaced all others read as before.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "base/Error.h"
#include "base/FileIo.h"
#include "workbook/package/ZipArchive.h"

namespace {

using namespace brindle;
using namespace brindle::workbook::package;

constexpr ZipLimits kLimits = {.totalBytes = 1u << 22, .memberBytes = 1u << 20};

void require(bool condition) {
    if (!condition) std::abort();
}

// A file in memory with a path.
class MemoryFile {
public:
    MemoryFile() : mDescriptor(memfd_create("archive", 0)) { require(mDescriptor >= 0); }
    explicit MemoryFile(std::string_view bytes) : MemoryFile() {
        OutputFile(mDescriptor, path()).write(bytes);
    }
    ~MemoryFile() { close(mDescriptor); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    int descriptor() const { return mDescriptor; }
    std::string path() const { return "/proc/self/fd/" + std::to_string(mDescriptor); }

private:
    int mDescriptor;
};

std::optional<std::string> readMember(const ZipArchive& archive, std::size_t index) {
    try {
        return std::string(archive.read(index).view());
    } catch (const Error&) {
        return std::nullopt;
    }
}

std::optional<std::string> streamMember(const ZipArchive& archive, std::size_t index) {
    try {
        MemberStream stream(archive, index);
        std::string all;
        char piece[1000];
        while (const std::size_t length = stream.read(piece, sizeof piece))
            all.append(piece, length);
        return all;
    } catch (const Error&) {
        return std::nullopt;
    }
}

void checkUnchanged(const ZipArchive& archive, std::string_view bytes) {
    const MemoryFile copy;
    OutputFile out(copy.descriptor(), copy.path());
    archive.writeTo(out, {});
    require(readWholeFile(copy.path()) == bytes);
}

void checkReplaced(const ZipArchive& archive,
                   const std::vector<std::optional<std::string>>& contents) {
    const MemoryFile copy;
    OutputFile out(copy.descriptor(), copy.path());
    const std::string data = "replaced";
    MemberEdit edit;
    edit.name = archive.members()[0].name;
    edit.compressed = deflateWhole(data, 1);
    edit.size = data.size();
    edit.crc = crc32(data);
    std::vector<MemberEdit> edits;
    edits.push_back(std::move(edit));
    archive.writeTo(out, std::move(edits));
    const InputFile file(copy.path());
    const ZipArchive after(file, kLimits);
    require(after.members().size() == contents.size());
    require(readMember(after, 0) == data);
    for (std::size_t i = 1; i < contents.size(); ++i) require(readMember(after, i) == contents[i]);
}

void checkArchive(const ZipArchive& archive, std::string_view bytes) {
    checkUnchanged(archive, bytes);
    std::vector<std::optional<std::string>> contents;
    for (std::size_t i = 0; i < archive.members().size(); ++i) {
        contents.push_back(readMember(archive, i));
        // Streaming may forgive a bad code table as long as the checksum holds.
        const auto streamed = streamMember(archive, i);
        require(!contents.back() || streamed == contents.back());
        const bool isFolder = archive.members()[i].isFolder();
        require(isFolder || archive.find(archive.members()[i].name) == i);
    }
    // A folder or a member with a broken header is not one that is ever replaced.
    if (!contents.empty() && contents[0] && !archive.members()[0].isFolder()) {
        checkReplaced(archive, contents);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const MemoryFile stored(bytes);
    const InputFile file(stored.path());
    std::optional<ZipArchive> archive;
    try {
        archive.emplace(file, kLimits);
    } catch (const Error&) {
        return 0;
    }
    checkArchive(*archive, bytes);
    return 0;
}
