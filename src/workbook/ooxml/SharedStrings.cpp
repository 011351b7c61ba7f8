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

// The text of an item that is one t element, as nearly all are; nothing for any other.
std::optional<std::string_view> singleText(std::string_view content) {
    constexpr std::string_view kPlain = "<t>";
    constexpr std::string_view kPreserved = "<t xml:space=\"preserve\">";
    constexpr std::string_view kEnd = "</t>";
    if (!content.ends_with(kEnd)) return std::nullopt;
    if (content.starts_with(kPlain)) {
        content.remove_prefix(kPlain.size());
    } else if (content.starts_with(kPreserved)) {
        content.remove_prefix(kPreserved.size());
    } else {
        return std::nullopt;
    }
    content.remove_suffix(kEnd.size());
    if (std::memchr(content.data(), '<', content.size())) return std::nullopt;
    return content;
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

PatternMask SharedStrings::maskOfItem(std::string_view content, const PatternSet& patterns) {
    const auto single = singleText(content);
    if (single && isVerbatim(*single)) return patterns.matching(*single);
    if (single) {
        mScratch.clear();
        appendXstring(mScratch, *single);
        return patterns.matching(mScratch);
    }
    return patterns.matching(RichText(mContext, content).text());
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

// Walks the si elements of a part that is written the usual way. `take` gets each content.
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
            take(std::string_view(contentBegin,
                                  static_cast<std::size_t>(contentEnd - contentBegin)));
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

bool SharedStrings::lookThroughWindow(const PatternSet& patterns) {
    PartWindow window(mPackage.archive(), mPackage.memberOf(mPartName));
    const auto head = plainRoot(window);
    if (!head || package::toUtf8(*head)) return false;
    const std::string closed = *head + "</sst>";
    XmlScanner scanner(closed);
    while (scanner.next() != XmlToken::StartElement) {
    }
    mContext = FragmentContext(scanner);
    mHasContext = true;
    return isMainNamespace(scanner.namespaceUri()) &&
           walkItems(window, *head, [&](std::string_view content) {
               mMasks.push_back(maskOfItem(content, patterns));
           });
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
    for (std::uint32_t i = 0; i < mItems.size(); ++i) {
        mMasks.push_back(patterns.matching(item(i).text()));
    }
}

void SharedStrings::load() {
    if (mText) return;
    // Kept only when all of it could be read.
    PartText text = mPackage.read(mPartName);
    std::vector<ItemRange> items;
    XmlScanner scanner(text.view());
    for (XmlToken token = scanner.next(); token != XmlToken::EndOfInput; token = scanner.next()) {
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
    mItems = std::move(items);
    mText.emplace(std::move(text));
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
void SharedStrings::updateCounts(std::string& head) const {
    const std::string closed = head + "</" + mItemPrefix + "sst>";
    XmlScanner scanner(closed);
    while (scanner.next() != XmlToken::StartElement) {
    }
    const auto update = [&](const char* name, long long difference) {
        const auto* attribute = scanner.attribute(name);
        if (!attribute || difference == 0) return;
        long long count = 0;
        const std::string_view raw = attribute->rawValue;
        std::from_chars(raw.data(), raw.data() + raw.size(), count);
        const std::string value = std::to_string(std::max(0LL, count + difference));
        head.replace(attribute->valueBegin, raw.size(), value);
    };
    // From back to front, so that the places found stay right.
    const auto* count = scanner.attribute("count");
    const auto* unique = scanner.attribute("uniqueCount");
    const auto added = static_cast<long long>(mAdded.size());
    if (count && unique && count->begin > unique->begin) {
        update("count", mReferenceDifference);
        update("uniqueCount", added);
    } else {
        update("uniqueCount", added);
        update("count", mReferenceDifference);
    }
}

package::Buffer SharedStrings::changedPart() {
    load();
    const std::string_view old = mText->view();
    const std::size_t firstItem = mItems.empty() ? mAppendAt : old.rfind('<', mItems[0].begin - 1);
    std::string head(old.substr(0, firstItem));
    // An sst without any string may be an empty element; then it has to be opened.
    if (mItems.empty() && head.ends_with("/>")) {
        head.replace(head.size() - 2, 2, ">");
        updateCounts(head);
        for (const std::string& content : mAdded)
            head += "<" + mItemPrefix + "si>" + content + "</" + mItemPrefix + "si>";
        head += "</" + mItemPrefix + "sst>" + std::string(old.substr(firstItem));
        package::Buffer buffer(head.size());
        std::copy(head.begin(), head.end(), buffer.data());
        return buffer;
    }
    updateCounts(head);
    const std::string start = "<" + mItemPrefix + "si>";
    const std::string end = "</" + mItemPrefix + "si>";
    std::size_t size = head.size() + old.size();
    for (const auto& [index, content] : mItemEdits) size += content.size() + end.size() + 1;
    for (const std::string& content : mAdded) size += content.size() + start.size() + end.size();

    package::Buffer buffer(size);
    char* out = buffer.data();
    const auto put = [&out](std::string_view text) {
        out = std::copy(text.begin(), text.end(), out);
    };
    put(head);
    std::size_t at = firstItem;
    for (const auto& [index, content] : mItemEdits) {
        const ItemRange& range = mItems[index];
        put(old.substr(at, range.begin - at));
        if (range.isEmptyElement) put(">");
        put(content);
        if (range.isEmptyElement) put(end);
        at = range.isEmptyElement ? range.end + 2 : range.end;
    }
    put(old.substr(at, mAppendAt - at));
    for (const std::string& content : mAdded) {
        put(start);
        put(content);
        put(end);
    }
    put(old.substr(mAppendAt));
    buffer.shrink(static_cast<std::size_t>(out - buffer.data()));
    return buffer;
}

}  // namespace brindle::workbook::ooxml
