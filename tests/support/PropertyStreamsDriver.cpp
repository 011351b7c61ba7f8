// SPDX-License-Identifier: MIT
// Shows and changes the document properties of a compound file:
//     property_streams_driver list FILE
//         a line for each property: "builtin" or "custom", its index, and "text" with the text in
//         hexadecimal or the kind of the error by its number
//     property_streams_driver rewrite FILE NEW [builtin|custom INDEX TEXT]...
//         says which changes are refused
//     property_streams_driver rebuild FILE FOLDER
//         writes the streams with every value set to what it is, as 0 and 1
// Exit status 2 and a line on standard error when the file is refused.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "base/Error.h"
#include "base/FileIo.h"
#include "base/LittleEndian.h"
#include "workbook/package/CompoundFile.h"
#include "workbook/xls/properties/BuiltInProperties.h"
#include "workbook/xls/properties/CustomProperties.h"

namespace {

using namespace brindle;
using namespace brindle::workbook::package;
using namespace brindle::workbook::xls;

constexpr int kYear = 2000;

std::optional<std::string> streamOf(const CompoundFile& file, const char* name) {
    const auto index = file.find(name);
    return index ? std::optional(std::string(file.read(*index).view())) : std::nullopt;
}

void show(const char* collection, std::size_t index, const std::function<std::string()>& text) {
    std::printf("%s %zu ", collection, index);
    try {
        const std::string shown = text();
        std::printf("text ");
        for (const char c : shown) std::printf("%02x", static_cast<unsigned char>(c));
        std::printf("\n");
    } catch (const Error& error) {
        std::printf("%d\n", static_cast<int>(error.kind()));
    }
}

void list(PropertyStreams& streams) {
    const BuiltInProperties builtIn(streams, kYear);
    for (std::size_t i = 0; i < BuiltInProperties::count(); ++i) {
        show("builtin", i, [&] { return builtIn.text(i); });
    }
    const CustomProperties custom(streams);
    for (std::size_t i = 0; i < custom.count(); ++i) {
        show("custom", i, [&] { return custom.text(i); });
    }
}

void rewrite(const CompoundFile& file, PropertyStreams& streams, const std::string& target,
             const std::vector<std::string>& words) {
    BuiltInProperties builtIn(streams, kYear);
    CustomProperties custom(streams);
    for (std::size_t i = 0; i + 2 < words.size(); i += 3) {
        const std::size_t index = std::stoul(words[i + 1]);
        try {
            if (words[i] == "custom") {
                custom.setText(index, words[i + 2]);
            } else {
                builtIn.setText(index, words[i + 2]);
            }
        } catch (const Error& error) {
            std::printf("%s %zu: %s\n", words[i].c_str(), index, error.what());
        }
    }
    const auto changed = streams.changed();
    std::vector<StreamEdit> edits;
    for (const PropertyStream& stream : changed) {
        edits.push_back({StreamEdit::Action::Replace, stream.name, stream.bytes});
    }
    const FileDescriptor descriptor(open(target.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600));
    OutputFile out(descriptor.get(), target);
    file.writeTo(out, edits);
}

void rebuild(PropertySet& set, const std::string& target) {
    constexpr std::uint32_t kMostIds = 256;
    for (const FormatId& format : {kSummaryFormat, kDocumentSummaryFormat, kUserDefinedFormat}) {
        for (std::uint32_t id = 1; id < kMostIds; ++id) {
            const auto found = set.storedValue({format, id});
            if (!found) continue;
            set.setValue({format, id}, littleEndian(std::uint32_t{found->value.type}) +
                                           std::string(found->value.data));
        }
    }
    std::ofstream(target, std::ios::binary) << set.bytes();
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv + 1, argv + argc);
    try {
        const InputFile input(words.at(1));
        const CompoundFile file(input);
        PropertyStreams streams(streamOf(file, kSummaryStream),
                                streamOf(file, kDocumentSummaryStream));
        if (words.at(0) == "list") {
            list(streams);
        } else if (words.at(0) == "rewrite") {
            rewrite(file, streams, words.at(2), {words.begin() + 3, words.end()});
        } else {
            rebuild(streams.summary(), words.at(2) + "/0");
            rebuild(streams.documentSummary(), words.at(2) + "/1");
        }
    } catch (const Error& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
    return 0;
}
