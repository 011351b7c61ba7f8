// SPDX-License-Identifier: MIT
// Shows and replaces the texts of a workbook stream that are not in cells:
//     xls_texts_driver list STREAM
//         a line for each text: number of the worksheet, scope (links, headers, footers, shapes),
//         text in UTF-8 as hexadecimal, - when it is empty
//     xls_texts_driver replace STREAM NEW SCOPE WHAT WITH
//         as a run does it, with a line "refused ..." for each text that cannot be changed; of the
//         places that others point to, only the beginnings of sheets are set right in NEW
// Exit status 2 and a line on standard error when the stream is refused.
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "base/Error.h"
#include "base/FileIo.h"
#include "base/Text.h"
#include "workbook/xls/biff/RecordReader.h"
#include "workbook/xls/drawing/SheetShapes.h"
#include "workbook/xls/HeaderFooter.h"
#include "workbook/xls/Hyperlinks.h"

namespace {

using namespace brindle;
using namespace brindle::workbook;
using namespace brindle::workbook::xls;

using Splices = std::vector<RecordSplice>;

struct Sheet {
    std::size_t offset = 0;
    std::size_t pointer = 0;  // where the stream says so; 0 for none
    bool isWorksheet = true;
};

struct Book {
    Version version = Version::Biff8;
    std::string codePage = "windows-1252";
    std::vector<Sheet> sheets;
};

Version versionOf(const Record& bof) {
    if (bof.id == 0x0009) return Version::Biff2;
    if (bof.id == 0x0209) return Version::Biff3;
    if (bof.id == 0x0409) return Version::Biff4;
    const auto version = getLittleEndian<std::uint16_t>(bof.body.substr(0, 2).data());
    return version == 0x0600 ? Version::Biff8 : Version::Biff5;
}

Book readBook(std::string_view stream) {
    Book book;
    RecordReader reader(stream);
    Record record = recordAt(stream, 0);
    book.version = versionOf(record);
    if (book.version < Version::Biff5) book.sheets.push_back({});
    while (reader.next(record) && record.id != record::kEof) {
        if (record.id == record::kCodePage) {
            const auto page = getLittleEndian<std::uint16_t>(record.body.data());
            if (page > 0 && page < 0x8000) book.codePage = std::to_string(page);
        } else if (record.id == record::kBoundSheet) {
            Sheet sheet;
            sheet.offset = getLittleEndian<std::uint32_t>(record.body.data());
            sheet.pointer = record.offset + Record::kHeaderSize;
            sheet.isWorksheet = record.body[5] == 0;
            book.sheets.push_back(sheet);
        }
    }
    return book;
}

class Texts {
public:
    Texts(std::string_view stream, std::size_t offset, const StringCodec& codec)
        : mLinks(stream, offset, codec),
          mPages(stream, offset, codec),
          mShapes(stream, offset, codec, false) {}

    using Visit = std::function<void(const std::string& scope, const std::string& text,
                                     const std::function<void(const std::string&)>& set)>;
    void forEach(const Visit& visit) {
        for (std::size_t i = 0; i < mLinks.count(); ++i) {
            visit("links", mLinks.address(i),
                  [&](const std::string& text) { mLinks.setAddress(i, text); });
        }
        for (const PageKind kind : {PageKind::Odd, PageKind::Even, PageKind::First}) {
            for (int i = 0; i < 6 && mPages.usesPages(kind); ++i) {
                const auto section = static_cast<PageSection>(i);
                visit(i < 3 ? "headers" : "footers", mPages.section(kind, section),
                      [&](const std::string& text) { mPages.setSection(kind, section, text); });
            }
        }
        for (std::size_t i = 0; i < mShapes.count(); ++i) {
            visit("shapes", mShapes.text(i),
                  [&](const std::string& text) { mShapes.setText(i, text); });
        }
    }
    void addSplices(Splices& splices) const {
        for (const Splices& some : {mLinks.splices(), mPages.splices(), mShapes.splices()}) {
            splices.insert(splices.end(), some.begin(), some.end());
        }
    }

private:
    Hyperlinks mLinks;
    HeaderFooter mPages;
    SheetShapes mShapes;
};

std::string spliced(std::string stream, const Book& book, Splices splices) {
    std::sort(splices.begin(), splices.end(),
              [](const RecordSplice& a, const RecordSplice& b) { return a.begin > b.begin; });
    std::vector<Sheet> sheets = book.sheets;
    for (const RecordSplice& splice : splices) {
        stream.replace(splice.begin, splice.end - splice.begin, splice.bytes);
        for (Sheet& sheet : sheets) {
            if (sheet.offset >= splice.end) {
                sheet.offset += splice.bytes.size() - (splice.end - splice.begin);
            }
        }
    }
    for (const Sheet& sheet : sheets) {
        if (sheet.pointer == 0) continue;
        putLittleEndian(stream.data() + sheet.pointer, static_cast<std::uint32_t>(sheet.offset));
    }
    return stream;
}

std::string hexadecimal(const std::string& bytes) {
    std::string text;
    char digits[3];
    for (const char c : bytes) {
        std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned char>(c));
        text += digits;
    }
    return text.empty() ? "-" : text;
}

void run(const std::vector<std::string>& words) {
    const std::string stream = readWholeFile(words.at(1));
    const Book book = readBook(stream);
    const StringCodec codec(book.version, book.codePage);
    const bool isReplacing = words.at(0) == "replace";
    Splices splices;
    for (std::size_t i = 0; i < book.sheets.size(); ++i) {
        if (!book.sheets[i].isWorksheet) continue;
        Texts texts(stream, book.sheets[i].offset, codec);
        texts.forEach([&](const std::string& scope, const std::string& text, const auto& set) {
            if (!isReplacing) {
                std::printf("%zu %s %s\n", i, scope.c_str(), hexadecimal(text).c_str());
            } else if (scope == words.at(3)) {
                try {
                    const std::string newText =
                        text::replaceAll(text, words.at(4), words.at(5), CaseMode::Folded);
                    if (newText != text) set(newText);
                } catch (const Error& error) {
                    std::printf("refused %s\n", error.what());
                }
            }
        });
        texts.addSplices(splices);
    }
    if (!isReplacing) return;
    std::ofstream(words.at(2), std::ios::binary) << spliced(stream, book, splices);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        run({argv + 1, argv + argc});
    } catch (const Error& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
    return 0;
}
