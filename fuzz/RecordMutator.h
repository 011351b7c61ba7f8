// SPDX-License-Identifier: MIT
// Changes of a bare workbook stream that keep it a row of records, most of them with the sheets
// where the workbook says they are; bytes changed anywhere seldom get behind the first record.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "base/LittleEndian.h"
#include "workbook/xls/biff/Biff.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace brindle::fuzz {

class RecordMutator {
public:
    RecordMutator(std::string_view stream, unsigned seed) : mRandom(seed) {
        for (std::size_t at = 0; at + 4 <= stream.size();) {
            const auto id = getLittleEndian<std::uint16_t>(stream.data() + at);
            const auto size = getLittleEndian<std::uint16_t>(stream.data() + at + 2);
            mRecords.push_back({id, std::string(stream.substr(at + 4, size)), at});
            at += 4u + size;
        }
    }

    std::string mutated(std::size_t maxSize) {
        for (std::size_t i = 0; i <= below(3); ++i) change();
        std::vector<std::size_t> moved;
        std::string stream;
        for (const Item& item : mRecords) {
            moved.push_back(stream.size());
            char header[4];
            putLittleEndian(header, item.id);
            putLittleEndian(header + 2, static_cast<std::uint16_t>(item.body.size()));
            stream.append(header, sizeof header).append(item.body);
        }
        if (below(16) != 0) moveSheets(stream, moved);
        if (stream.size() > maxSize) stream.resize(maxSize);
        return stream;
    }

private:
    struct Item {
        std::uint16_t id;
        std::string body;
        std::size_t offset;  // before the change
    };

    std::size_t below(std::size_t limit) { return limit == 0 ? 0 : mRandom() % limit; }
    Item& any() { return mRecords[below(mRecords.size())]; }

    void change() {
        if (mRecords.empty()) return;
        const auto place = static_cast<std::ptrdiff_t>(below(mRecords.size()));
        switch (below(8)) {
            case 0:
                mRecords.insert(mRecords.begin() + place, Item(any()));
                break;
            case 1:
                mRecords.erase(mRecords.begin() + place);
                break;
            case 2:
                std::swap(mRecords[static_cast<std::size_t>(place)], any());
                break;
            case 3:
                split(static_cast<std::size_t>(place));
                break;
            case 4:
                any().id = any().id;
                break;
            default:
                changeBody(any().body);
                break;
        }
    }
    void changeBody(std::string& body) {
        const std::size_t size = body.size();
        // Mostly of the same size, since most layouts are fixed.
        const std::size_t limit = below(3) == 0 ? size + 64 : size;
        if (limit == 0) return;
        body.resize(limit);
        body.resize(LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(body.data()), size, limit));
    }
    void split(std::size_t place) {
        Item& item = mRecords[place];
        const std::size_t at = below(item.body.size() + 1);
        Item rest{workbook::xls::record::kContinue, item.body.substr(at), item.offset};
        item.body.resize(at);
        mRecords.insert(mRecords.begin() + static_cast<std::ptrdiff_t>(place) + 1, std::move(rest));
    }
    // Sheets stay where their BOF is.
    void moveSheets(std::string& stream, const std::vector<std::size_t>& moved) const {
        for (std::size_t i = 0; i < mRecords.size(); ++i) {
            if (mRecords[i].id != workbook::xls::record::kBoundSheet ||
                mRecords[i].body.size() < 4) {
                continue;
            }
            const auto offset = getLittleEndian<std::uint32_t>(mRecords[i].body.data());
            for (std::size_t bof = 0; bof < mRecords.size(); ++bof) {
                if (mRecords[bof].offset != offset || !workbook::xls::isBof(mRecords[bof].id)) {
                    continue;
                }
                putLittleEndian(stream.data() + moved[i] + 4,
                                static_cast<std::uint32_t>(moved[bof]));
            }
        }
    }

    std::minstd_rand mRandom;
    std::vector<Item> mRecords;
};

}  // namespace brindle::fuzz
