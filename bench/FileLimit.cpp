// SPDX-License-Identifier: MIT
// The least that can be done with files whose texts stand in them in clear: for a search, to read
// each and look at every byte once; for a replacement, to write each anew.
// Usage: bench_file_limit search WORD FILE... | bench_file_limit copy FILE...
// `copy` writes FILE.limit beside each file, flushed to disk, and removes it.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace {

// One piece of memory serves all files.
class Reader {
public:
    std::string_view read(const char* path) {
        const int fd = open(path, O_RDONLY);
        struct stat status {};
        if (fd < 0 || fstat(fd, &status) != 0) giveUp(path);
        const auto size = static_cast<std::size_t>(status.st_size);
        if (size > mCapacity) {
            mBytes.reset(new char[size]);
            mCapacity = size;
        }
        for (std::size_t done = 0; done < size;) {
            const ssize_t count = ::read(fd, mBytes.get() + done, size - done);
            if (count <= 0) giveUp(path);
            done += static_cast<std::size_t>(count);
        }
        close(fd);
        return {mBytes.get(), size};
    }

    [[noreturn]] static void giveUp(const char* path) {
        std::perror(path);
        std::exit(2);
    }

private:
    std::unique_ptr<char[]> mBytes;
    std::size_t mCapacity = 0;
};

std::size_t occurrences(std::string_view bytes, std::string_view word) {
    std::size_t found = 0;
    const char* at = bytes.data();
    const char* const end = at + bytes.size();
    while (const void* hit =
               memmem(at, static_cast<std::size_t>(end - at), word.data(), word.size())) {
        ++found;
        at = static_cast<const char*>(hit) + 1;
    }
    return found;
}

void writeFlushed(const std::string& path, std::string_view bytes) {
    const int fd = open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
    if (fd < 0) Reader::giveUp(path.c_str());
    while (!bytes.empty()) {
        const ssize_t count = write(fd, bytes.data(), bytes.size());
        if (count <= 0) Reader::giveUp(path.c_str());
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    if (fsync(fd) != 0 || close(fd) != 0) Reader::giveUp(path.c_str());
}

}  // namespace

int main(int argc, char** argv) {
    const bool isSearch = std::string_view(argv[1]) == "search";
    Reader reader;
    std::size_t found = 0;
    for (int i = isSearch ? 3 : 2; i < argc; ++i) {
        const std::string_view bytes = reader.read(argv[i]);
        if (isSearch) {
            found += occurrences(bytes, argv[2]);
            continue;
        }
        const std::string copy = std::string(argv[i]) + ".limit";
        writeFlushed(copy, bytes);
        if (unlink(copy.c_str()) != 0) Reader::giveUp(copy.c_str());
    }
    std::printf("%zu\n", found);
    return 0;
}
