// SPDX-License-Identifier: MIT
// Link records of a binary workbook as bytes, and the table that is made of them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/LittleEndian.h"
#include "workbook/xls/biff/RecordReader.h"
#include "workbook/xls/biff/StringCodec.h"
#include "workbook/xls/formula/LinkTable.h"

namespace brindle::workbook::xls {

inline std::string fromHex(std::string_view hex) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hex.size();) {
        if (hex[i] == ' ') {
            ++i;
            continue;
        }
        bytes += static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16));
        i += 2;
    }
    return bytes;
}

inline std::string number16(int value) {
    return littleEndian(static_cast<std::uint16_t>(value));
}

inline std::string shortText(std::string_view text) {
    return std::string(1, static_cast<char>(text.size())) + '\0' + std::string(text);
}

inline std::string longText(std::string_view text) {
    return number16(static_cast<int>(text.size())) + '\0' + std::string(text);
}

// A stream of records and what a table learns from it.
struct Links {
    explicit Links(Version version) : codec(version, "1252") {}

    void add(std::uint16_t id, const std::string& body) { appendRecord(stream, id, body); }
    void addName(std::string_view name, int sheet = 0, int flags = 0) {
        add(record::kName, number16(flags) + '\0' + static_cast<char>(name.size()) + number16(0) +
                               number16(0) + number16(sheet) + std::string(4, '\0') +
                               (codec.version() == Version::Biff8 ? std::string(1, '\0') : "") +
                               std::string(name));
    }
    void addExternName(std::string_view name, int sheet = 0) {
        add(record::kExternName,
            number16(0) + number16(sheet) + number16(0) + shortText(name) + number16(0));
    }
    LinkTable table() const { return tableOf(stream); }
    LinkTable tableOf(const std::string& records) const {
        LinkTable table(codec);
        table.setSheets({"Sheet1", "My sheet", "R1", "Last"});
        RecordReader reader(records);
        Record record;
        while (reader.next(record)) {
            std::size_t end = 0;
            const std::string body = continuedBody(records, record, &end);
            if (LinkTable::concerns(record.id)) table.learn(record, body, end);
        }
        return table;
    }
    // The stream with the changes of a table.
    std::string changed(const LinkTable& table) const {
        std::string result = stream;
        const auto splices = table.splices();
        for (auto splice = splices.rbegin(); splice != splices.rend(); ++splice) {
            result.replace(splice->begin, splice->end - splice->begin, splice->bytes);
        }
        return result;
    }

    StringCodec codec;
    std::string stream;
};

inline Links biff8Links() {
    Links links(Version::Biff8);
    links.add(record::kBoundSheet, fromHex("00000000 0000") + shortText("Sheet1"));
    links.add(record::kSupBook, fromHex("0400 0104"));
    links.add(record::kSupBook, fromHex("0100 013a"));
    links.addExternName("EDATE");
    links.add(record::kSupBook, number16(2) +
                                    longText("\x01\x01"
                                             "Cdir\x03"
                                             "b's.xls") +
                                    longText("S 1") + longText("Two"));
    links.addExternName("Rate");
    links.addExternName("Local", 2);
    links.add(record::kSupBook, number16(1) + longText("\x01plain.xls") + longText("T"));
    links.add(record::kSupBook, number16(0) + longText("Excel\x03topic"));
    links.addExternName("item");
    // 0 to 4 of this workbook, then add-ins, C:\dir\b's.xls three times, plain.xls, the topic,
    // and one beyond all books
    links.add(record::kExternSheet,
              fromHex("0c00 0000 0000 0000  0000 0100 0100  0000 0000 0300  0000 ffff ffff"
                      "0000 feff feff  0100 feff feff  0200 0000 0000  0200 0000 0100"
                      "0200 feff feff  0300 0000 0000  0400 feff feff  0900 0000 0000"));
    links.addName("Total");
    links.addName("_xlfn.IFERROR");
    links.addName("\x06", 2, 0x20);  // Print_Area of the second sheet
    links.add(record::kName, "cut");
    links.addName("Udf");
    return links;
}

}  // namespace brindle::workbook::xls
