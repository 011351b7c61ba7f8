// SPDX-License-Identifier: MIT
// Makes the workloads of the benchmark, the same for the same arguments, and prints as JSON how
// many cells of each needle it planted.
// Usage: bench_generate xlsx FILE ROWS SEED | bench_generate csv FILE MEGABYTES SEED
#include <fmt/format.h>
#include <zip.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

namespace {

// No random library: the result must be the same on every machine.
class Random {
public:
    explicit Random(std::uint64_t seed) : mState(seed * 2654435769u + 1) {}
    std::uint32_t below(std::uint32_t limit) {
        mState = mState * 6364136223846793005u + 1442695040888963407u;
        return static_cast<std::uint32_t>((mState >> 33) % limit);
    }

private:
    std::uint64_t mState;
};

// Needles and what is planted for them. Nothing else that is generated can hold one: words have
// no q, numbers stay below 60,000, dates before 2030.
constexpr const char* kRare = "xquartz";
constexpr const char* kCommon = "vqcommon";
constexpr const char* kNumber = "98765";
constexpr const char* kDate = "7/4/2031";
constexpr const char* kWildcard = "zq*end";
constexpr int kPlantedDate = 48033;  // 4 July 2031

std::string word(Random& random) {
    static constexpr const char* kSyllables[] = {"ba", "ce", "di", "fo", "gu", "ha", "je", "ki",
                                                 "lo", "mu", "na", "pe", "ri", "so", "tu", "va"};
    std::string text;
    for (std::uint32_t i = 2 + random.below(3); i > 0; --i) text += kSyllables[random.below(16)];
    return text;
}

struct Sheet {
    std::string xml;
    std::vector<std::string> strings;
    std::map<std::string, std::uint32_t> index;
    std::map<std::string, int> planted;

    std::uint32_t string(const std::string& text) {
        const auto [known, isNew] = index.emplace(text, static_cast<std::uint32_t>(strings.size()));
        if (isNew) strings.push_back(text);
        return known->second;
    }
};

std::string planted(Sheet& sheet, Random& random, const char* needle, const std::string& text) {
    ++sheet.planted[needle];
    return text + " " + std::to_string(random.below(60000));
}

// Of a million rows, a hundredth of a per cent of all cells, hence a thousandth of the rows.
std::string textFor(Sheet& sheet, Random& random, std::uint32_t rows) {
    if (random.below(1000) == 0) return planted(sheet, random, kRare, word(random) + " Xquartz");
    const std::uint32_t common = rows > 500000 ? 40 : 10;
    if (random.below(common) == 0) return planted(sheet, random, kCommon, "Vqcommon");
    if (random.below(2000) == 0) return planted(sheet, random, kWildcard, "zq middle end");
    return word(random) + " " + std::to_string(random.below(60000));
}

void addRow(Sheet& sheet, Random& random, std::uint32_t row, std::uint32_t rows,
            const std::vector<std::string>& pool) {
    auto out = std::back_inserter(sheet.xml);
    const auto text = [&](char column, std::uint32_t index) {
        fmt::format_to(out, R"(<c r="{}{}" t="s"><v>{}</v></c>)", column, row, index);
    };
    const auto number = [&](char column) {
        if (random.below(5000) == 0) {
            ++sheet.planted[kNumber];
            fmt::format_to(out, R"(<c r="{}{}"><v>1298765.5</v></c>)", column, row);
        } else {
            fmt::format_to(out, R"(<c r="{}{}"><v>{}.{:02}</v></c>)", column, row,
                           random.below(60000), 1 + random.below(99));
        }
    };
    fmt::format_to(out, R"(<row r="{}" spans="1:10">)", row);
    fmt::format_to(out, R"(<c r="A{}"><v>{}</v></c>)", row, random.below(60000));
    text('B', sheet.string(textFor(sheet, random, rows)));
    text('C', sheet.string(pool[random.below(static_cast<std::uint32_t>(pool.size()))]));
    number('D');
    int day = 36526 + static_cast<int>(random.below(10000));
    if (random.below(5000) == 0) {
        ++sheet.planted[kDate];
        day = kPlantedDate;
    }
    fmt::format_to(out, R"(<c r="E{}" s="1"><v>{}</v></c>)", row, day);
    number('F');
    // The row's number stands in its formula.
    if (std::to_string(row).find(kNumber) != std::string::npos) ++sheet.planted[kNumber];
    fmt::format_to(out, R"(<c r="G{0}"><f>D{0}*F{0}+SUM(A{0},2)</f><v>{1}</v></c>)", row,
                   random.below(60000));
    text('H', sheet.string(pool[random.below(100)]));
    fmt::format_to(out, R"(<c r="I{}" s="2"><v>0.{:02}</v></c>)", row, 1 + random.below(98));
    text('J', sheet.string(pool[random.below(static_cast<std::uint32_t>(pool.size()))]));
    sheet.xml += "</row>";
}

constexpr const char* kHead = R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)"
                              "\n";
constexpr const char* kMain = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";

std::string sharedStrings(const Sheet& sheet, std::uint32_t references) {
    std::string xml = fmt::format(R"({}<sst xmlns="{}" count="{}" uniqueCount="{}">)", kHead, kMain,
                                  references, sheet.strings.size());
    for (const std::string& text : sheet.strings) xml += "<si><t>" + text + "</t></si>";
    return xml + "</sst>";
}

void addMember(zip_t* archive, const char* name, const std::string& content) {
    zip_source_t* source = zip_source_buffer(archive, content.data(), content.size(), 0);
    if (!source || zip_file_add(archive, name, source, ZIP_FL_OVERWRITE) < 0) std::exit(2);
}

constexpr const char* kStyles =
    R"(<fonts count="1"><font/></fonts><fills count="1"><fill><patternFill/></fill></fills><borders count="1"><border/></borders>)"
    R"(<cellStyleXfs count="1"><xf/></cellStyleXfs><cellXfs count="3"><xf/><xf numFmtId="14" applyNumberFormat="1"/>)"
    R"(<xf numFmtId="10" applyNumberFormat="1"/></cellXfs></styleSheet>)";

void writeWorkbook(const char* path, const Sheet& sheet, std::uint32_t rows) {
    const std::string office =
        "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
    const std::string package = "http://schemas.openxmlformats.org/package/2006/";
    const std::string types =
        std::string(kHead) + "<Types xmlns=\"" + package + "content-types\">" +
        R"(<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>)"
        R"(<Default Extension="xml" ContentType="application/xml"/>)"
        R"(<Override PartName="/xl/workbook.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml"/>)"
        R"(<Override PartName="/xl/worksheets/sheet1.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml"/>)"
        R"(<Override PartName="/xl/styles.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.styles+xml"/>)"
        R"(<Override PartName="/xl/sharedStrings.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.sharedStrings+xml"/></Types>)";
    const auto rels = [&](const std::string& list) {
        return std::string(kHead) + "<Relationships xmlns=\"" + package + "relationships\">" +
               list + "</Relationships>";
    };
    const auto rel = [&](const char* id, const char* type, const char* target) {
        return fmt::format(R"(<Relationship Id="{}" Type="{}/{}" Target="{}"/>)", id, office, type,
                           target);
    };
    const std::string root = rels(rel("rId1", "officeDocument", "xl/workbook.xml"));
    const std::string book = rels(rel("rId1", "worksheet", "worksheets/sheet1.xml") +
                                  rel("rId2", "styles", "styles.xml") +
                                  rel("rId3", "sharedStrings", "sharedStrings.xml"));
    const std::string workbook = fmt::format(
        R"({}<workbook xmlns="{}" xmlns:r="{}"><sheets><sheet name="Data" sheetId="1" r:id="rId1"/></sheets></workbook>)",
        kHead, kMain, office);
    const std::string styles = fmt::format(R"({}<styleSheet xmlns="{}">)", kHead, kMain) + kStyles;
    const std::string strings = sharedStrings(sheet, rows * 4);

    int error = 0;
    zip_t* archive = zip_open(path, ZIP_CREATE | ZIP_TRUNCATE, &error);
    if (!archive) std::exit(2);
    addMember(archive, "[Content_Types].xml", types);
    addMember(archive, "_rels/.rels", root);
    addMember(archive, "xl/workbook.xml", workbook);
    addMember(archive, "xl/_rels/workbook.xml.rels", book);
    addMember(archive, "xl/worksheets/sheet1.xml", sheet.xml);
    addMember(archive, "xl/styles.xml", styles);
    addMember(archive, "xl/sharedStrings.xml", strings);
    if (zip_close(archive) != 0) std::exit(2);
}

void printPlanted(const std::map<std::string, int>& planted) {
    std::string json;
    for (const char* needle : {kRare, kCommon, kNumber, kDate, kWildcard}) {
        const auto known = planted.find(needle);
        json += fmt::format("{}\"{}\": {}", json.empty() ? "" : ", ", needle,
                            known == planted.end() ? 0 : known->second);
    }
    fmt::print("{{{}}}\n", json);
}

void generateWorkbook(const char* path, std::uint32_t rows, std::uint64_t seed) {
    Random random(seed);
    std::vector<std::string> pool;
    for (std::uint32_t i = 0; i < 1000 + rows / 20; ++i) pool.push_back(word(random));
    Sheet sheet;
    sheet.xml = fmt::format(R"({}<worksheet xmlns="{}"><dimension ref="A1:J{}"/><sheetData>)",
                            kHead, kMain, rows);
    for (std::uint32_t row = 1; row <= rows; ++row) addRow(sheet, random, row, rows, pool);
    sheet.xml += "</sheetData></worksheet>";
    writeWorkbook(path, sheet, rows);
    printPlanted(sheet.planted);
}

void generateText(const char* path, std::uint64_t megabytes, std::uint64_t seed) {
    Random random(seed);
    std::FILE* file = std::fopen(path, "wb");
    if (!file) std::exit(2);
    std::map<std::string, int> planted;
    std::string line;
    for (std::uint64_t size = 0; size < megabytes * 1000000; size += line.size()) {
        line = fmt::format("{},{} {},{}.{:02},", random.below(60000), word(random), word(random),
                           random.below(60000), random.below(100));
        if (random.below(5000) == 0) {
            ++planted[kRare];
            line += "some Xquartz here";
        } else if (random.below(20) == 0) {
            line += "\"" + word(random) + ", " + word(random) + "\"";
        } else {
            line += word(random);
        }
        line += fmt::format(",{}/{}/{}\r\n", 1 + random.below(12), 1 + random.below(28),
                            2000 + random.below(29));
        if (std::fwrite(line.data(), 1, line.size(), file) != line.size()) std::exit(2);
    }
    if (std::fclose(file) != 0) std::exit(2);
    printPlanted(planted);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) return 2;
    const std::string kind = argv[1];
    const auto size = std::strtoull(argv[3], nullptr, 10);
    const auto seed = std::strtoull(argv[4], nullptr, 10);
    if (kind == "xlsx") {
        generateWorkbook(argv[2], static_cast<std::uint32_t>(size), seed);
    } else {
        generateText(argv[2], size, seed);
    }
    return 0;
}
