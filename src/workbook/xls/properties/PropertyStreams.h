// SPDX-License-Identifier: MIT
// The two streams of a workbook with its document properties. Layout: [MS-OSHARED] 2.3.3.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "workbook/xls/properties/PropertySet.h"

namespace brindle::workbook::xls {

inline constexpr const char* kSummaryStream = "\005SummaryInformation";
inline constexpr const char* kDocumentSummaryStream = "\005DocumentSummaryInformation";

struct PropertyStream {
    std::string name;
    std::string bytes;
};

// What both collections of properties share and change: the built-in ones are in both streams, the
// custom ones in the second.
class PropertyStreams {
public:
    // Nothing stands for a stream that the workbook does not have.
    PropertyStreams(std::optional<std::string> summary, std::optional<std::string> documentSummary)
        : mSummary(kSummaryStream, std::move(summary)),
          mDocumentSummary(kDocumentSummaryStream, std::move(documentSummary)) {}

    PropertySet& summary() { return mSummary; }
    PropertySet& documentSummary() { return mDocumentSummary; }

    bool isChanged() const { return mSummary.isChanged() || mDocumentSummary.isChanged(); }
    // The changed ones. Throws Error (TooLarge).
    std::vector<PropertyStream> changed() const {
        std::vector<PropertyStream> streams;
        for (const PropertySet* set : {&mSummary, &mDocumentSummary}) {
            if (set->isChanged()) streams.push_back({set->name(), set->bytes()});
        }
        return streams;
    }

private:
    PropertySet mSummary;
    PropertySet mDocumentSummary;
};

}  // namespace brindle::workbook::xls
