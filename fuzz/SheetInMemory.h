// SPDX-License-Identifier: MIT
// A sheet of a binary workbook made of fuzzed records, for the fuzzers of what is not in cells.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/xls/biff/Biff.h"
#include "workbook/xls/biff/RecordSplice.h"
#include "workbook/xls/biff/SheetRecords.h"
#include "WorkbookInMemory.h"

namespace brindle::fuzz {

using Splices = std::vector<workbook::xls::RecordSplice>;

// Splices must be whole records, in the sheet, apart from each other, and new ones too.
inline std::string spliced(const std::string& stream, Splices splices) {
    std::vector<std::size_t> ends = {0};
    workbook::xls::RecordReader reader(stream);
    for (workbook::xls::Record record; reader.next(record);) ends.push_back(record.end());
    const auto isEnd = [&](std::size_t at) {
        return std::binary_search(ends.begin(), ends.end(), at);
    };
    std::stable_sort(splices.begin(), splices.end(),
                     [](const auto& a, const auto& b) { return a.begin < b.begin; });
    std::string out;
    std::size_t at = 0;
    for (const auto& splice : splices) {
        require(splice.begin >= at && splice.end >= splice.begin);
        require(isEnd(splice.begin) && isEnd(splice.end));
        workbook::xls::RecordReader added(splice.bytes);
        for (workbook::xls::Record record; added.next(record);) {
            require(record.body.size() <=
                    workbook::xls::longestBody(workbook::xls::Version::Biff8));
        }
        require(added.offset() == splice.bytes.size());
        out += stream.substr(at, splice.begin - at) + splice.bytes;
        at = splice.end;
    }
    return out + stream.substr(at);
}

// A text that is set is what is read; a refusal must leave it as it was.
template <typename Get, typename Set>
void replaceText(const Get& get, const Set& set, const char* what, const char* with,
                 bool isReadAsSet = true) {
    const std::string before = get();
    const std::string wanted = text::replaceAll(before, what, with, CaseMode::Folded);
    try {
        set(wanted);
        require(!isReadAsSet || get() == wanted);
    } catch (const Error& error) {
        require(error.kind() == ErrorKind::Refused && wanted != before);
        require(get() == before);
    }
}

}  // namespace brindle::fuzz
