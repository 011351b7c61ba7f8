// SPDX-License-Identifier: MIT
// A text together with how it is stored, for storage that can spell one character in several
// ways: a change keeps the spelling of what it leaves alone.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace brindle::workbook {

class Spelling {
public:
    // `stored` is borrowed.
    explicit Spelling(std::string_view stored) : mStored(stored) {}

    // The next character and the number of bytes that store it.
    void add(std::string_view character, std::size_t storedLength) {
        mText += character;
        mPlaces.push_back({mText.size(), mPlaces.back().stored + storedLength});
    }
    const std::string& text() const { return mText; }

    // What stores `text`: the start and the end that it shares with the old text are stored as
    // they were, `encode` spells the rest.
    template <typename Encode>
    std::string changed(std::string_view text, const Encode& encode) const;

private:
    struct Place {
        std::size_t shown = 0;
        std::size_t stored = 0;
    };

    std::string_view mStored;
    std::string mText;
    std::vector<Place> mPlaces{Place()};  // between the characters, start and end included
};

template <typename Encode>
std::string Spelling::changed(std::string_view text, const Encode& encode) const {
    const auto start = std::mismatch(mText.begin(), mText.end(), text.begin(), text.end());
    const auto same = static_cast<std::size_t>(start.first - mText.begin());
    const Place head = *(std::upper_bound(mPlaces.begin(), mPlaces.end(), same,
                                          [](std::size_t shown, const Place& place) {
                                              return shown < place.shown;
                                          }) -
                         1);
    const std::string_view old = std::string_view(mText).substr(head.shown);
    const std::string_view rest = text.substr(head.shown);
    const auto end = std::mismatch(old.rbegin(), old.rend(), rest.rbegin(), rest.rend());
    const auto tailLength = static_cast<std::size_t>(end.first - old.rbegin());
    const Place tail = *std::lower_bound(
        mPlaces.begin(), mPlaces.end(), mText.size() - tailLength,
        [](const Place& place, std::size_t shown) { return place.shown < shown; });
    std::string out(mStored.substr(0, head.stored));
    out += encode(rest.substr(0, rest.size() - (mText.size() - tail.shown)));
    out += mStored.substr(tail.stored);
    return out;
}

}  // namespace brindle::workbook
