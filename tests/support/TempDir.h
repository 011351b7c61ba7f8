// SPDX-License-Identifier: MIT
// A folder of the test's own, with a blank in its path, gone with the object.
#pragma once

#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

namespace brindle::test {

class TempDir {
public:
    TempDir() {
        std::string name =
            (std::filesystem::temp_directory_path() / "brindle test XXXXXX").string();
        if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
        mPath = name;
    }
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    std::string path() const { return mPath.string(); }
    std::string path(std::string_view name) const { return (mPath / name).string(); }

    // Writes a file, its folders included, and returns its path.
    std::string write(std::string_view name, std::string_view content) const {
        const std::filesystem::path file = mPath / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary)
            .write(content.data(), static_cast<std::streamsize>(content.size()));
        return file.string();
    }
    std::string read(std::string_view name) const {
        std::ifstream file(mPath / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    bool has(std::string_view name) const {
        return std::filesystem::exists(std::filesystem::symlink_status(mPath / name));
    }

private:
    std::filesystem::path mPath;
};

}  // namespace brindle::test
