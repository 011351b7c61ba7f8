// SPDX-License-Identifier: MIT
#include "workbook/xls/SharedStrings.h"

#include <array>

#include "base/Error.h"
#include "base/LittleEndian.h"
#include "workbook/xls/biff/RecordReader.h"
#include "workbook/xls/StoredPattern.h"
#include "workbook/xls/StringFlags.h"

namespace brindle::workbook::xls {

namespace {

constexpr std::size_t kLongestCellText = 32767;  // UTF-16 units

// The characters of a string as one piece, as the bytes of a character and the halves of a
// surrogate pair may be apart.
struct JoinedCharacters {
    std::string bytes;
    bool isWide = false;
};

JoinedCharacters joined(StoredString string) {
    JoinedCharacters all;
    for (StoredString::Characters piece; string.nextCharacters(piece);) {
        if (piece.isWide && !all.isWide) {
            std::string wide;
            for (const char c : all.bytes) wide.append({c, '\0'});
            all = {std::move(wide), true};
        }
        if (all.isWide && !piece.isWide) {
            for (const char c : piece.bytes) all.bytes.append({c, '\0'});
        } else {
            all.bytes += piece.bytes;
        }
    }
    return all;
}

// Records that follow the table in a workbook that has all of them.
constexpr std::array<std::uint16_t, 10> kBehindTable{0x0801, 0x080B, 0x0863, 0x0865, 0x0867,
                                                     0x0876, 0x088C, 0x0896, 0x0897, 0x089B};

}  // namespace

SharedStrings::SharedStrings(std::string_view stream, std::optional<std::size_t> sst)
    : mStream(stream), mSst(sst), mCodec(Version::Biff8, {}), mIndex(stream, sst) {}

std::string_view SharedStrings::textOf(std::size_t index, std::string& buffer) const {
    StoredString string = mIndex.string(index);
    StoredString::Characters piece;
    if (string.nextCharacters(piece) && piece.bytes.size() == string.count() * (piece.isWide + 1)) {
        if (!piece.isWide && text::isAscii(piece.bytes)) return piece.bytes;
        buffer = mCodec.decode(piece.bytes, piece.isWide);
    } else {
        const JoinedCharacters all = joined(mIndex.string(index));
        buffer = mCodec.decode(all.bytes, all.isWide);
    }
    return buffer;
}

std::string SharedStrings::text(std::uint32_t index) const {
    std::string buffer;
    return index < size() ? std::string(textOf(index, buffer)) : buffer;
}

StringItem SharedStrings::item(std::uint32_t index) const {
    StringItem item;
    if (index >= size()) return item;
    item.text = text(index);
    StoredString string = mIndex.string(index);
    for (StoredString::Characters piece; string.nextCharacters(piece);) {
    }
    for (std::string_view piece; string.nextData(piece);) item.phonetic += piece;
    ByteReader runs(item.phonetic);
    for (std::size_t i = 0; i < string.runCount(); ++i) {
        const auto first = runs.number<std::uint16_t>();
        item.runs.push_back({first, runs.number<std::uint16_t>()});
    }
    item.phonetic.erase(0, runs.position());
    return item;
}

// --- searching -----------------------------------------------------------------------------------

void SharedStrings::look(const PatternSet& patterns) {
    mMasks.assign(size(), 0);
    for (std::size_t i = 0; i < patterns.patterns().size(); ++i) {
        lookFor(patterns.patterns()[i], PatternSet::maskOf(i));
    }
}

void SharedStrings::lookFor(const CellMatch& pattern, PatternMask bit) {
    const auto stored = StoredPattern::of(pattern.requiredLiteral(), pattern.caseMode());
    if (!stored) {
        for (std::size_t i = 0; i < size(); ++i) check(i, pattern, bit);
        return;
    }
    if (mIndex.hasNarrow() && stored->narrow) lookForStored(*stored->narrow, pattern, bit);
    if (mIndex.hasWide()) lookForStored(stored->wide, pattern, bit);
    // A break may stand in the midst of what is looked for.
    std::size_t behind = 0;
    for (const Segment& segment : mIndex.segments()) {
        const std::size_t last = behind;
        behind = mIndex.firstBehind(segment.end, behind);
        if (behind != last) check(behind - 1, pattern, bit);
    }
}

void SharedStrings::lookForStored(const MaskedBytes& bytes, const CellMatch& pattern,
                                  PatternMask bit) {
    std::size_t behind = 0;  // the string behind the place found
    for (const Segment& segment : mIndex.segments()) {
        const std::string_view reach = mStream.substr(0, segment.end);
        std::size_t from = segment.begin;
        while ((from = bytes.find(reach, from)) != MaskedBytes::npos) {
            const std::size_t last = behind;
            behind = mIndex.firstBehind(from, behind);
            // Once looked at, a string need not be looked at again.
            if (behind != last) check(behind - 1, pattern, bit);
            if (behind == size() || mIndex.offset(behind) >= segment.end) break;
            from = mIndex.offset(behind);
        }
    }
}

void SharedStrings::check(std::size_t index, const CellMatch& pattern, PatternMask bit) {
    if ((mMasks[index] & bit) == 0 && pattern.matches(textOf(index, mScratch))) {
        mMasks[index] |= bit;
    }
}

// --- changes -------------------------------------------------------------------------------------

std::string SharedStrings::storedForm(const StringItem& item) const {
    const StringCodec::Characters characters = mCodec.encode(item.text);
    if (characters.count > kLongestCellText) {
        throw Error::refused("The text is longer than " + std::to_string(kLongestCellText) +
                             " characters");
    }
    const auto flags =
        static_cast<unsigned char>((characters.isWide ? string_flag::kWide : 0) |
                                   (item.runs.empty() ? 0 : string_flag::kRich) |
                                   (item.phonetic.empty() ? 0 : string_flag::kPhonetic));
    std::string stored = littleEndian(static_cast<std::uint16_t>(characters.count));
    stored += static_cast<char>(flags);
    if (!item.runs.empty()) stored += littleEndian(static_cast<std::uint16_t>(item.runs.size()));
    if (!item.phonetic.empty()) {
        stored += littleEndian(static_cast<std::uint32_t>(item.phonetic.size()));
    }
    stored += characters.bytes;
    for (const FormatRun& run : item.runs) {
        stored += littleEndian(run.first) + littleEndian(run.font);
    }
    return stored + item.phonetic;
}

void SharedStrings::setItem(std::uint32_t index, StringItem item) {
    if (index >= size()) throw Error::refused("The cell's string is not there");
    // Mostly they come in their order.
    mEdits.insert_or_assign(mEdits.end(), index, storedForm(item));
}

// A cell whose string is not there shows nothing, and must not show the one that is added next.
void SharedStrings::fillGap() {
    constexpr std::size_t kLargestGap = 65536;
    const std::size_t known = size() + mAdded.size();
    if (mDanglingEnd <= known) return;
    if (mDanglingEnd - known > kLargestGap) {
        throw Error::damaged("A cell refers to a shared string that is not there");
    }
    mAdded.resize(mDanglingEnd - size(), storedForm({}));
}

std::uint32_t SharedStrings::add(const StringItem& item) {
    std::string stored = storedForm(item);
    fillGap();
    const auto next = static_cast<std::uint32_t>(size() + mAdded.size());
    const auto [known, isNew] = mAddedIndex.emplace(stored, next);
    if (isNew) mAdded.push_back(std::move(stored));
    return known->second;
}

// --- writing -------------------------------------------------------------------------------------

namespace {

std::uint32_t changedCount(std::uint32_t count, long long difference) {
    const long long changed = static_cast<long long>(count) + difference;
    return static_cast<std::uint32_t>(std::clamp(changed, 0LL, static_cast<long long>(UINT32_MAX)));
}

struct StoredPlaces {
    std::size_t begin = 0;  // of EXTSST; end is behind its CONTINUE records
    std::size_t end = 0;
    std::uint16_t bucketSize = 0;
};

// EXTSST, if it comes before the end of the substream.
std::optional<StoredPlaces> findPlaces(std::string_view stream, std::size_t from) {
    RecordReader reader(stream, from);
    Record record;
    while (reader.next(record) && record.id != record::kEof) {
        if (record.id != record::kExtSst) continue;
        StoredPlaces places{record.offset, record.end(), 0};
        if (record.body.size() >= sizeof(std::uint16_t)) {
            places.bucketSize = getLittleEndian<std::uint16_t>(record.body.data());
        }
        while (reader.peek() == record::kContinue && reader.next(record)) places.end = record.end();
        return places;
    }
    return std::nullopt;
}

}  // namespace

// Where the table of a workbook that has none belongs.
std::size_t SharedStrings::insertionPoint() const {
    RecordReader reader(mStream);
    Record record;
    while (reader.next(record)) {
        const bool isBehind =
            std::find(kBehindTable.begin(), kBehindTable.end(), record.id) != kBehindTable.end();
        // The globals may have lost their end.
        const bool isNext = isBof(record.id) && record.offset != 0;
        if (isBehind || isNext || record.id == record::kEof) return record.offset;
    }
    throw Error::damaged("The workbook has no end");
}

void SharedStrings::write(SharedStringWriter& writer) const {
    const auto addUnbroken = [&writer](const std::string& stored) {
        const Segment all{0, stored.size()};
        writer.add(StoredString(stored, {&all, 1}, 0));
    };
    auto edit = mEdits.begin();
    for (std::uint32_t i = 0; i < size(); ++i) {
        if (edit != mEdits.end() && edit->first == i) {
            addUnbroken(edit++->second);
        } else {
            writer.add(mIndex.string(i));
        }
    }
    for (const std::string& stored : mAdded) addUnbroken(stored);
}

void SharedStrings::appendSplices(std::vector<RecordSplice>& splices) const {
    const bool isTableChanged = !mEdits.empty() || !mAdded.empty();
    if (!isTableChanged && (!mSst || mReferenceDifference == 0)) return;

    std::uint32_t references = 0;
    if (mSst) references = getLittleEndian<std::uint32_t>(recordAt(mStream, *mSst).body.data());
    references = changedCount(references, mReferenceDifference);
    if (!isTableChanged) {
        const std::size_t end = mIndex.segments().front().end;
        std::string record(mStream.substr(*mSst, end - *mSst));
        putLittleEndian(record.data() + Record::kHeaderSize, references);
        splices.push_back({*mSst, end, std::move(record)});
        return;
    }

    const std::size_t begin = mSst ? *mSst : insertionPoint();
    const std::size_t end = mSst ? mIndex.end() : begin;
    const std::size_t strings = size() + mAdded.size();
    const auto places = mSst ? findPlaces(mStream, end) : std::nullopt;
    const bool hasBucketSize = places && places->bucketSize != 0;
    SharedStringWriter writer(references, static_cast<std::uint32_t>(strings),
                              hasBucketSize ? places->bucketSize : usualBucketSize(strings));
    write(writer);
    if (places) {
        std::size_t newBegin = begin;
        for (const RecordSplice& splice : splices) {
            if (splice.end <= begin) newBegin += splice.bytes.size() - (splice.end - splice.begin);
        }
        splices.push_back({places->begin, places->end, writer.places(newBegin)});
    }
    splices.push_back({begin, end, writer.table()});
}

}  // namespace brindle::workbook::xls
