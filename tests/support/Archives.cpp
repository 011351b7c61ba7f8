// SPDX-License-Identifier: MIT
#include "support/Archives.h"

#include <zip.h>

#include <memory>
#include <optional>
#include <stdexcept>

namespace brindle::test {

namespace {

struct Discard {
    void operator()(zip_t* zip) const { zip_discard(zip); }
};
using Zip = std::unique_ptr<zip_t, Discard>;

void require(bool isTrue, const std::string& what) {
    if (!isTrue) throw std::runtime_error("libzip: " + what);
}

std::optional<std::string> readMember(zip_t* zip, zip_uint64_t index, zip_uint64_t size,
                                      zip_flags_t flags) {
    zip_file_t* file = zip_fopen_index(zip, index, flags);
    if (!file) return std::nullopt;
    std::string bytes(size, '\0');
    const zip_int64_t got = zip_fread(file, bytes.data(), size);
    char behind = 0;
    const bool isWhole = got == static_cast<zip_int64_t>(size) && zip_fread(file, &behind, 1) == 0;
    const bool isSound = zip_fclose(file) == 0;
    return isWhole && isSound ? std::optional(bytes) : std::nullopt;
}

template <class Take>
void forEachMember(zip_t* zip, const Take& take) {
    const zip_int64_t count = zip_get_num_entries(zip, 0);
    for (zip_uint64_t i = 0; i < static_cast<zip_uint64_t>(count); ++i) {
        zip_stat_t status;
        require(zip_stat_index(zip, i, 0, &status) == 0, "no member");
        take(zip_get_name(zip, i, ZIP_FL_ENC_RAW), i, status);
    }
}

}  // namespace

void writeArchive(const std::string& path, const Members& members) {
    Zip zip(zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr));
    require(zip != nullptr, "cannot open " + path);
    for (const auto& [name, bytes] : members) {
        zip_source_t* source = zip_source_buffer(zip.get(), bytes.data(), bytes.size(), 0);
        const zip_int64_t index = zip_file_add(zip.get(), name.c_str(), source, ZIP_FL_ENC_UTF_8);
        require(index >= 0, zip_strerror(zip.get()));
        const auto place = static_cast<zip_uint64_t>(index);
        zip_set_file_compression(zip.get(), place, ZIP_CM_DEFLATE, 6);
        zip_file_set_mtime(zip.get(), place, 1'000'000'000, 0);
    }
    require(zip_close(zip.get()) == 0, "cannot write " + path);
    static_cast<void>(zip.release());
}

std::map<std::string, PackedMember> packedMembers(const std::string& path) {
    const Zip zip(zip_open(path.c_str(), ZIP_RDONLY, nullptr));
    require(zip != nullptr, "cannot open " + path);
    std::map<std::string, PackedMember> members;
    forEachMember(zip.get(), [&](const char* name, zip_uint64_t i, const zip_stat_t& status) {
        const auto bytes = readMember(zip.get(), i, status.comp_size, ZIP_FL_COMPRESSED);
        require(bytes.has_value(), "a damaged member");
        members[name] = {*bytes, status.crc, status.size};
    });
    return members;
}

Members readMembers(const std::string& path) {
    Members members;
    int error = 0;
    Zip zip(zip_open(path.c_str(), ZIP_RDONLY | ZIP_CHECKCONS, &error));
    if (!zip) {
        members["error"] = std::to_string(error);
        zip.reset(zip_open(path.c_str(), ZIP_RDONLY, nullptr));
    }
    if (!zip) return {};
    forEachMember(zip.get(), [&](const char* name, zip_uint64_t i, const zip_stat_t& status) {
        members[name] = readMember(zip.get(), i, status.size, 0).value_or("damaged");
    });
    return members;
}

std::string memberText(const std::string& path, const std::string& member) {
    const Members members = readMembers(path);
    const auto found = members.find(member);
    require(found != members.end() && found->second != "damaged", "no member " + member);
    return found->second;
}

}  // namespace brindle::test
