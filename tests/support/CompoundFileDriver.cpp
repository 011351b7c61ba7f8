// SPDX-License-Identifier: MIT
// Shows and rewrites compound files:
//     compound_file_driver list FILE
//         a line for each entry: id, parent, type (0 root, 1 storage, 2 stream), path in UTF-8 as
//         hexadecimal, class id, state bits, created, modified, size, CRC-32 of the content
//     compound_file_driver rewrite FILE NEW [replace PATH BYTES | add PATH BYTES | remove PATH]...
//         BYTES is a file with the new content
// Exit status 2 and a line on standard error when the file is refused.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "base/Error.h"
#include "base/FileIo.h"
#include "workbook/package/CompoundFile.h"

namespace {

using namespace brindle;
using namespace brindle::workbook::package;

std::string hexadecimal(std::string_view bytes) {
    constexpr const char* kDigits = "0123456789abcdef";
    std::string text;
    for (const char c : bytes) {
        text += kDigits[static_cast<unsigned char>(c) >> 4];
        text += kDigits[static_cast<unsigned char>(c) & 15];
    }
    return text.empty() ? "-" : text;
}

void list(const CompoundFile& file) {
    for (std::size_t i = 0; i < file.entries().size(); ++i) {
        const CompoundEntry& entry = file.entries()[i];
        const bool isStream = entry.type == CompoundEntry::Type::Stream;
        std::printf(
            "%u %d %d %s %s %u %llu %llu %llu %u\n", entry.id, static_cast<int>(entry.parent),
            static_cast<int>(entry.type), hexadecimal(file.path(i)).c_str(),
            hexadecimal({entry.classId.data(), entry.classId.size()}).c_str(), entry.stateBits,
            static_cast<unsigned long long>(entry.created),
            static_cast<unsigned long long>(entry.modified),
            static_cast<unsigned long long>(entry.size), isStream ? crc32(file.read(i).view()) : 0);
    }
}

void rewrite(const CompoundFile& file, const std::string& target,
             const std::vector<std::string>& words) {
    std::deque<std::string> contents;
    std::vector<StreamEdit> edits;
    for (std::size_t i = 0; i < words.size();) {
        StreamEdit edit;
        const std::string& action = words.at(i++);
        edit.path = words.at(i++);
        edit.action = action == "replace" ? StreamEdit::Action::Replace
                      : action == "add"   ? StreamEdit::Action::Add
                                          : StreamEdit::Action::Remove;
        if (action != "remove") edit.bytes = contents.emplace_back(readWholeFile(words.at(i++)));
        edits.push_back(edit);
    }
    const FileDescriptor descriptor(open(target.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600));
    OutputFile out(descriptor.get(), target);
    file.writeTo(out, edits);
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    try {
        const InputFile input(words.at(1));
        const CompoundFile file(input);
        if (words.at(0) == "list") {
            list(file);
        } else {
            rewrite(file, words.at(2), {words.begin() + 3, words.end()});
        }
    } catch (const Error& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
    return 0;
}
