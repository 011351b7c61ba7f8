// SPDX-License-Identifier: MIT
// Any bytes as the records of a sheet of a binary workbook: addresses, headers and footers are told
// or end in an Error; what is changed is told again by the records that are written.
#include "SheetInMemory.h"
#include "workbook/xls/HeaderFooter.h"
#include "workbook/xls/Hyperlinks.h"

namespace {

using namespace brindle;
using namespace brindle::workbook;

constexpr PageKind kKinds[] = {PageKind::Odd, PageKind::Even, PageKind::First};
const char* const kReplacements[] = {"q",    "",   "& b",        "C:\\x y", "#",
                                     "..\\", "&R", "\xD0\xB4\"", "\\\\s\\", "http://"};

class Texts {
public:
    Texts(const std::string& stream, const xls::StringCodec& codec)
        : mLinks(stream, 0, codec), mPages(stream, 0, codec) {}

    // Emptied links may go, so only those that have an address are told.
    std::vector<std::string> all() const {
        std::vector<std::string> texts;
        for (std::size_t i = 0; i < mLinks.count(); ++i) {
            std::string address = mLinks.address(i);
            if (!address.empty()) texts.push_back(std::move(address));
        }
        for (const PageKind kind : kKinds) {
            for (int i = 0; i < 6; ++i) {
                texts.push_back(mPages.section(kind, static_cast<PageSection>(i)));
            }
        }
        return texts;
    }
    void replace(const char* what, const char* with) {
        for (std::size_t i = 0; i < mLinks.count(); ++i) {
            fuzz::replaceText([&] { return mLinks.address(i); },
                              [&](const std::string& text) { mLinks.setAddress(i, text); }, what,
                              with, false);
        }
        for (const PageKind kind : kKinds) {
            for (int i = 0; i < 6; ++i) {
                const auto section = static_cast<PageSection>(i);
                fuzz::replaceText(
                    [&] { return mPages.section(kind, section); },
                    [&](const std::string& text) { mPages.setSection(kind, section, text); }, what,
                    with);
            }
        }
    }
    fuzz::Splices splices() const {
        fuzz::Splices all = mLinks.splices();
        for (auto& splice : mPages.splices()) all.push_back(std::move(splice));
        return all;
    }
    bool isChanged() const { return mLinks.isChanged() || mPages.isChanged(); }

private:
    xls::Hyperlinks mLinks;
    xls::HeaderFooter mPages;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const char* const replacement = kReplacements[data[0] % std::size(kReplacements)];
    const auto version = (data[0] & 0x80) ? xls::Version::Biff5 : xls::Version::Biff8;
    static const xls::StringCodec kCodecs[] = {{xls::Version::Biff5, "windows-1252"},
                                               {xls::Version::Biff8, ""}};
    const xls::StringCodec& codec = kCodecs[version == xls::Version::Biff8 ? 1 : 0];
    const std::string stream(reinterpret_cast<const char*>(data) + 1, size - 1);
    try {
        Texts texts(stream, codec);
        texts.replace("none of it is there", "");
        fuzz::require(!texts.isChanged() && texts.splices().empty());
        texts.replace("a", replacement);
        texts.replace("o", "\xC3\xB6");
        const std::string after = fuzz::spliced(stream, texts.splices());
        fuzz::require(Texts(after, codec).all() == texts.all());
    } catch (const Error& error) {
        fuzz::require(error.kind() == ErrorKind::Damaged);
    }
    return 0;
}
