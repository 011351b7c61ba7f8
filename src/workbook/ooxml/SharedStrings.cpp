// SPDX-License-Identifier: MIT
#include "workbook/ooxml/SharedStrings.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "base/Error.h"
#include "workbook/ooxml/OoxmlNames.h"
#include "workbook/ooxml/Xstring.h"
#include "workbook/package/PartWindow.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::ooxml {

using package::PartWindow;
using package::XmlScanner;
using package::XmlToken;

namespace {

constexpr std::string_view kItemStart = "<si>";
constexpr std::string_view kItemEnd = "</si>";

const char* skipSpace(const char* at) {
    while (*at == ' ' || *at == '\n' || *at == '\r' || *at == '\t') ++at;
    return at;
}

bool startsWith(const char* at, const char* end, std::string_view text) {
    return static_cast<std::size_t>(end - at) >= text.size() &&
           std::memcmp(at, text.data(), text.size()) == 0;
}

// True when the bytes in the file are the text itself.
bool isVerbatim(std::string_view raw) {
    return !std::memchr(raw.data(), '&', raw.size()) &&
           !std::memchr(raw.data(), '\r', raw.size()) && raw.find("_x") == std::string_view::npos;
}

// The root's start tag when the part is written the usual way: without a prefix and in the
// main namespace. Nothing when it has to be read by the general scanner.
std::optional<std::string> plainRoot(const PartWindow& window) {
    const std::size_t at = window.view().find("<sst");
    if (at == std::string_view::npos) return std::nullopt;
    const std::size_t end = window.view().find('>', at);
    if (end == std::string_view::npos || window.view()[end - 1] == '/') return std::nullopt;
    return std::string(window.view().substr(0, end + 1));
}

}  // namespace

SharedStrings::SharedStrings(const Package& package, std::string partName)
    : mPackage(package), mPartName(std::move(partName)) {}

PatternMask SharedStrings::maskOfItem(const FragmentContext& context, std::string_view content,
                                      const PatternSet& patterns) {
    const auto single = RichText::singleText(content);
    if (single && isVerbatim(*single)) return patterns.matching(*single);
    if (single) {
        mScratch.clear();
        appendXstring(mScratch, *single);
        return patterns.matching(mScratch);
    }
    return patterns.matching(RichText(context, content).text());
}

namespace {

// Items are short, so stepping from tag to tag beats a general search for the end tag.
const char* findItemEnd(const char* at, const char* end) {
    const auto left = [&] { return static_cast<std::size_t>(end - at); };
    while (const void* tag = std::memchr(at, '<', left())) {
        at = static_cast<const char*>(tag);
        if (startsWith(at, end, kItemEnd)) return at;
        ++at;
    }
    return nullptr;
}

// Walks the si elements of a part that is written the usual way. `take` gets each content and its
// offset in the part.
// False when something unusual turns up; what was taken then does not count.
template <typename Take>
bool walkItems(PartWindow& window, const std::string& head, const Take& take) {
    const char* at = window.begin() + head.size();
    for (;;) {
        at = skipSpace(at);
        const bool isItem = startsWith(at, window.end(), kItemStart);
        const char* const contentBegin = at + kItemStart.size();
        const char* const contentEnd = isItem ? findItemEnd(contentBegin, window.end()) : nullptr;
        if (contentEnd) {
            take(
                std::string_view(contentBegin, static_cast<std::size_t>(contentEnd - contentBegin)),
                window.offset() + static_cast<std::uint64_t>(contentBegin - window.begin()));
            at = contentEnd + kItemEnd.size();
            continue;
        }
        const bool isMore = window.advance(at);
        at = window.begin();
        if (isMore) continue;
        if (!startsWith(at, window.end(), "</sst>") && !startsWith(at, window.end(), "<extLst")) {
            return false;
        }
        // The rest must close what the head opened.
        const std::string frame = head + std::string(at, window.end());
        XmlScanner scanner(frame);
        while (scanner.next() != XmlToken::EndOfInput) {
        }
        return true;
    }
}

}  // namespace

namespace {

// Walks a part that is written the usual way; what its elements mean, or nothing for any other.
template <typename Take>
std::optional<FragmentContext> walkPlainPart(PartWindow& window, const Take& take) {
    const auto head = plainRoot(window);
    if (!head || package::toUtf8(*head)) return std::nullopt;
    const std::string closed = *head + "</sst>";
    XmlScanner scanner(closed);
    while (scanner.next() != XmlToken::StartElement) {
    }
    if (!isMainNamespace(scanner.namespaceUri())) return std::nullopt;
    FragmentContext context(scanner);
    const bool isPlain = walkItems(
        window, *head,
        [&](std::string_view content, std::uint64_t offset) { take(context, content, offset); });
    return isPlain ? std::optional(std::move(context)) : std::nullopt;
}

// Throws Error (Damaged) when the content is not well-formed, as where the end tag that was found
// stands in a comment.
void checkItem(const FragmentContext& context, std::string_view content) {
    const auto single = RichText::singleText(content);
    if (!single || !isVerbatim(*single)) static_cast<void>(RichText(context, content));
}

}  // namespace

bool isReadableStringPart(const package::ZipArchive& archive, std::size_t member) {
    try {
        PartWindow window(archive, member);
        const auto check = [](const FragmentContext& context, std::string_view content,
                              std::uint64_t) { checkItem(context, content); };
        return walkPlainPart(window, check).has_value();
    } catch (const Error& error) {
        if (error.kind() != ErrorKind::Damaged) throw;
        return false;
    }
}

bool SharedStrings::lookThroughWindow(const PatternSet& patterns) {
    PartWindow window(mPackage.archive(), mPackage.memberOf(mPartName));
    return keepContext(walkPlainPart(
        window, [&](const FragmentContext& context, std::string_view content, std::uint64_t) {
            mMasks.push_back(maskOfItem(context, content, patterns));
        }));
}

bool SharedStrings::keepContext(std::optional<FragmentContext> context) {
    if (!context) return false;
    mContext = std::move(*context);
    mHasContext = true;
    return true;
}

void SharedStrings::look(const PatternSet& patterns) {
    mMasks.clear();
    if (!exists()) return;
    try {
        if (lookThroughWindow(patterns)) return;
    } catch (const Error& error) {
        // What looks like damage may be another encoding, or a tag within a comment.
        if (error.kind() != ErrorKind::Damaged) throw;
    }
    mMasks.clear();
    load();
    RoundPulse rounds(mPackage.pulse());
    for (std::uint32_t i = 0; i < mItems.size(); ++i) {
        rounds.round();
        mMasks.push_back(patterns.matching(item(i).text()));
    }
}

std::optional<std::vector<SharedStrings::ItemRange>> SharedStrings::plainItems(
    std::string_view text) {
    std::vector<ItemRange> items;
    PartWindow window(text, mPackage.pulse());
    try {
        const bool isPlain =
            keepContext(walkPlainPart(window, [&](const FragmentContext& context,
                                                  std::string_view content, std::uint64_t offset) {
                checkItem(context, content);
                items.push_back({offset, offset + content.size(), false});
            }));
        if (!isPlain || items.empty()) return std::nullopt;
    } catch (const Error& error) {
        if (error.kind() != ErrorKind::Damaged) throw;
        return std::nullopt;
    }
    mAppendAt = items.back().end + kItemEnd.size();
    return items;
}

void SharedStrings::load() {
    if (mText) return;
    // Kept only when all of it could be read.
    PartText text = mPackage.read(mPartName);
    auto plain = plainItems(text.view());
    mItems = plain ? std::move(*plain) : scannedItems(text.view());
    mText.emplace(std::move(text));
}

std::vector<SharedStrings::ItemRange> SharedStrings::scannedItems(std::string_view text) {
    std::vector<ItemRange> items;
    RoundPulse rounds(mPackage.pulse());
    XmlScanner scanner(text);
    for (XmlToken token = scanner.next(); token != XmlToken::EndOfInput; token = scanner.next()) {
        rounds.round();
        const bool isStart = token == XmlToken::StartElement;
        if (isStart && scanner.depth() == 1) {
            mContext = FragmentContext(scanner);
            mHasContext = true;
            mItemPrefix = mContext.prefix();
            mAppendAt = scanner.end();
        } else if (isStart && scanner.depth() == 2 && scanner.localName() == "si") {
            const bool isEmpty = scanner.isEmptyElement();
            const std::uint64_t begin = isEmpty ? scanner.end() - 2 : scanner.end();
            scanner.skipElement();
            items.push_back({begin, isEmpty ? begin : scanner.begin(), isEmpty});
            mAppendAt = scanner.end();
        } else if (isStart && scanner.depth() == 2) {
            scanner.skipElement();
        }
    }
    return items;
}

const FragmentContext& SharedStrings::context() {
    if (!mHasContext) load();
    return mContext;
}

RichText SharedStrings::item(std::uint32_t index) {
    if (!exists()) return RichText(mContext, {});
    load();
    if (index >= mItems.size()) return RichText(mContext, {});
    const ItemRange& range = mItems[index];
    return RichText(mContext, mText->view().substr(range.begin, range.end - range.begin));
}

void SharedStrings::setItem(std::uint32_t index, std::string content) {
    mItemEdits[index] = std::move(content);
}

// A cell whose string is not there shows nothing, and must not show the one that is added next.
void SharedStrings::fillGap() {
    constexpr std::size_t kLargestGap = 65536;
    const std::size_t known = mItems.size() + mAdded.size();
    if (mDanglingEnd <= known) return;
    if (mDanglingEnd - known > kLargestGap) {
        throw Error::damaged("A cell refers to a shared string that is not there")
            .inMember(mPartName);
    }
    mAdded.resize(mDanglingEnd - mItems.size());
}

std::uint32_t SharedStrings::add(const std::string& content) {
    load();
    fillGap();
    const auto next = static_cast<std::uint32_t>(mItems.size() + mAdded.size());
    const auto [known, isNew] = mAddedIndex.emplace(content, next);
    if (isNew) mAdded.push_back(content);
    return known->second;
}

// Readers take the counts for hints, but some complain when they are wrong.
void SharedStrings::changeCounts(const std::string& head, std::vector<Splice>& splices) const {
    XmlScanner scanner(head);
    while (scanner.next() != XmlToken::StartElement) {
    }
    const auto change = [&](const char* name, long long difference) {
        const auto* attribute = scanner.attribute(name);
        if (!attribute || difference == 0) return;
        long long count = 0;
        const std::string_view raw = attribute->rawValue;
        std::from_chars(raw.data(), raw.data() + raw.size(), count);
        splices.push_back({attribute->valueBegin, attribute->valueBegin + raw.size(),
                           std::to_string(std::max(0LL, count + difference))});
    };
    change("count", mReferenceDifference);
    change("uniqueCount", static_cast<long long>(mAdded.size()));
}

void SharedStrings::changePart(Package& package) {
    load();
    const std::string_view old = mText->view();
    const std::string itemStart = "<" + mItemPrefix + "si>";
    const std::string itemEnd = "</" + mItemPrefix + "si>";
    const std::string end = "</" + mItemPrefix + "sst>";
    const std::size_t firstItem = mItems.empty() ? mAppendAt : old.rfind('<', mItems[0].begin - 1);
    const std::string head(old.substr(0, firstItem));
    // An sst without any string may be an empty element; then it has to be opened.
    const bool isEmpty = mItems.empty() && head.ends_with("/>");

    std::vector<Splice> splices;
    changeCounts(isEmpty ? head : head + end, splices);
    for (const auto& [index, content] : mItemEdits) {
        const ItemRange& range = mItems[index];
        if (range.isEmptyElement) {
            splices.push_back({range.begin, range.end + 2, ">" + content + itemEnd});
        } else {
            splices.push_back({range.begin, range.end, content});
        }
    }
    std::string added = isEmpty ? ">" : "";
    for (const std::string& content : mAdded) added += itemStart + content + itemEnd;
    if (isEmpty) added += end;
    if (!added.empty()) {
        splices.push_back({isEmpty ? mAppendAt - 2 : mAppendAt, mAppendAt, std::move(added)});
    }
    // Without counts there may be nothing to change.
    if (!splices.empty()) package.changePart(mPartName, *mText, std::move(splices));
}

}  // namespace brindle::workbook::ooxml
