// SPDX-License-Identifier: MIT
#include "unit/workbook/package/CompoundBuilder.h"

#include <algorithm>
#include <random>

namespace brindle::workbook::package::testing {

namespace {

constexpr std::uint32_t kEnd = 0xFFFFFFFE;
constexpr std::uint32_t kNone = 0xFFFFFFFF;

void put(std::string& bytes, std::size_t at, std::uint64_t value, int count) {
    for (int i = 0; i < count; ++i) {
        bytes[at + static_cast<std::size_t>(i)] = static_cast<char>(value >> (8 * i));
    }
}

// Sectors behind each other.
class Layout {
public:
    Layout(unsigned shift, bool isReversed) : mShift(shift), mIsReversed(isReversed) {}

    // The first sector of a new chain.
    std::uint32_t place(const std::string& content) {
        const std::size_t size = std::size_t{1} << mShift;
        const std::size_t count = (content.size() + size - 1) / size;
        const auto base = static_cast<std::uint32_t>(fat.size());
        const auto sectorOf = [&](std::size_t i) {
            return base + static_cast<std::uint32_t>(mIsReversed ? count - 1 - i : i);
        };
        fat.resize(base + count);
        sectors.resize((base + count) << mShift);
        for (std::size_t i = 0; i < count; ++i) {
            const std::string piece = content.substr(i << mShift, size);
            sectors.replace(std::size_t{sectorOf(i)} << mShift, piece.size(), piece);
            fat[sectorOf(i)] = i + 1 == count ? kEnd : sectorOf(i + 1);
        }
        return count == 0 ? kEnd : sectorOf(0);
    }
    std::uint32_t take(std::uint32_t mark) {
        fat.push_back(mark);
        sectors.resize(fat.size() << mShift);
        return static_cast<std::uint32_t>(fat.size() - 1);
    }

    std::vector<std::uint32_t> fat;
    std::string sectors;

private:
    unsigned mShift;
    bool mIsReversed;
};

struct Node {
    std::string path;
    std::string name;
    std::string parent;
    std::uint32_t start = 0;
    std::uint64_t size = 0;
    bool isStream = false;
};

bool stands(const Node& a, const Node& b) {
    if (a.parent != b.parent) return a.parent < b.parent;
    if (a.name.size() != b.name.size()) return a.name.size() < b.name.size();
    return a.name < b.name;
}

std::vector<Node> nodesOf(const std::map<std::string, std::string>& streams) {
    std::map<std::string, Node> nodes;
    for (const auto& [path, content] : streams) {
        for (std::size_t end = path.find('/');; end = path.find('/', end + 1)) {
            Node node;
            node.path = path.substr(0, end);
            const std::size_t slash = node.path.rfind('/');
            node.parent = slash == std::string::npos ? "" : node.path.substr(0, slash);
            node.name = slash == std::string::npos ? node.path : node.path.substr(slash + 1);
            node.isStream = end == std::string::npos;
            nodes[node.path] = node;
            if (node.isStream) break;
        }
    }
    std::vector<Node> sorted;
    for (auto& [path, node] : nodes) sorted.push_back(node);
    std::sort(sorted.begin(), sorted.end(), stands);
    return sorted;
}

}  // namespace

std::size_t BuiltCompound::fatEntryAt(std::uint32_t sector) const {
    const std::size_t perSector = std::size_t{1} << (shift - 2);
    return sectorAt(fatSectors[sector / perSector]) + sector % perSector * 4;
}
std::size_t BuiltCompound::miniFatEntryAt(std::uint32_t unit) const {
    return sectorAt(miniFatStart) + unit * 4;
}
std::size_t BuiltCompound::entryAt(const std::string& path) const {
    return sectorAt(directoryStart) + ids.at(path) * std::size_t{128};
}
std::uint32_t BuiltCompound::number(std::size_t at) const {
    std::uint32_t value = 0;
    for (std::size_t i = 4; i-- > 0;)
        value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
    return value;
}
void BuiltCompound::set(std::size_t at, std::uint32_t value) {
    put(bytes, at, value, 4);
}

BuiltCompound buildCompound(const std::map<std::string, std::string>& streams, unsigned shift,
                            bool isReversed) {
    BuiltCompound result;
    result.shift = shift;
    Layout layout(shift, isReversed);
    Layout mini(6, isReversed);
    std::vector<Node> nodes = nodesOf(streams);
    for (Node& node : nodes) {
        result.ids[node.path] = static_cast<std::uint32_t>(result.ids.size() + 1);
        if (!node.isStream) continue;
        const std::string& content = streams.at(node.path);
        node.size = content.size();
        node.start = content.size() < 4096 ? mini.place(content) : layout.place(content);
    }
    result.ids[""] = 0;
    const std::uint32_t rootStart = layout.place(mini.sectors);
    const std::size_t perSector = std::size_t{1} << (shift - 2);
    std::string miniFat(((mini.fat.size() + perSector - 1) / perSector) << shift, '\xFF');
    for (std::size_t i = 0; i < mini.fat.size(); ++i) put(miniFat, 4 * i, mini.fat[i], 4);
    // Both are not scattered, so that tests find their way.
    Layout plain(shift, false);
    plain.fat = layout.fat;
    plain.sectors = layout.sectors;
    result.miniFatStart = plain.place(miniFat);

    std::string directory(
        ((nodes.size() * 128 + 128 + (std::size_t{1} << shift) - 1) >> shift) << shift, '\0');
    for (std::size_t i = 0; i <= nodes.size(); ++i) {
        const Node root{"", "Root Entry", "-", rootStart, mini.sectors.size(), false};
        const Node& node = i == 0 ? root : nodes[i - 1];
        const std::size_t at = i * 128;
        for (std::size_t j = 0; j < node.name.size(); ++j) directory[at + 2 * j] = node.name[j];
        put(directory, at + 64, 2 * node.name.size() + 2, 2);
        directory[at + 66] = i == 0 ? 5 : node.isStream ? 2 : 1;
        directory[at + 67] = 1;
        const bool hasNext = i > 0 && i < nodes.size() && nodes[i].parent == node.parent;
        put(directory, at + 68, kNone, 4);
        put(directory, at + 72, hasNext ? i + 1 : kNone, 4);
        const auto child = std::find_if(nodes.begin(), nodes.end(), [&](const Node& each) {
            return each.parent == node.path && !node.isStream;
        });
        put(directory, at + 76,
            child == nodes.end() ? kNone : static_cast<std::uint64_t>(child - nodes.begin()) + 1,
            4);
        for (std::size_t j = 0; j < 16; ++j) directory[at + 80 + j] = static_cast<char>(i * 3 + j);
        put(directory, at + 96, i * 5, 4);
        put(directory, at + 100, i * 70000000000, 8);
        put(directory, at + 108, i * 90000000000, 8);
        put(directory, at + 116, node.start, 4);
        put(directory, at + 120, node.size, 8);
    }
    result.directoryStart = plain.place(directory);
    for (;;) {
        const std::size_t count = result.fatSectors.size();
        if (count * perSector < plain.fat.size()) {
            result.fatSectors.push_back(plain.take(0xFFFFFFFD));
        } else if (count > 109 + result.difatSectors.size() * (perSector - 1)) {
            result.difatSectors.push_back(plain.take(0xFFFFFFFC));
        } else {
            break;
        }
    }
    std::string header(std::size_t{1} << shift, '\0');
    header.replace(0, 8, "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1");
    put(header, 24, 0x3E, 2);
    put(header, 26, shift == 12 ? 4 : 3, 2);
    put(header, 28, 0xFFFE, 2);
    put(header, 30, shift, 2);
    put(header, 32, 6, 2);
    put(header, 40, shift == 12 ? directory.size() >> shift : 0, 4);
    put(header, 44, result.fatSectors.size(), 4);
    put(header, 48, result.directoryStart, 4);
    put(header, 56, 4096, 4);
    put(header, 60, miniFat.empty() ? kEnd : result.miniFatStart, 4);
    put(header, 64, miniFat.size() >> shift, 4);
    put(header, 68, result.difatSectors.empty() ? kEnd : result.difatSectors[0], 4);
    put(header, 72, result.difatSectors.size(), 4);
    for (std::size_t i = 0; i < 109; ++i) {
        put(header, 76 + 4 * i, i < result.fatSectors.size() ? result.fatSectors[i] : kNone, 4);
    }
    result.bytes = header + plain.sectors;
    for (const std::uint32_t sector : result.fatSectors) {
        std::fill_n(result.bytes.begin() + static_cast<std::ptrdiff_t>(result.sectorAt(sector)),
                    std::size_t{1} << shift, '\xFF');
    }
    for (std::uint32_t i = 0; i < plain.fat.size(); ++i) {
        result.set(result.fatEntryAt(i), plain.fat[i]);
    }
    for (std::size_t i = 0; i < result.difatSectors.size(); ++i) {
        const std::size_t at = result.sectorAt(result.difatSectors[i]);
        for (std::size_t j = 0; j + 1 < perSector; ++j) {
            const std::size_t index = 109 + i * (perSector - 1) + j;
            result.set(at + 4 * j,
                       index < result.fatSectors.size() ? result.fatSectors[index] : kNone);
        }
        const bool isLast = i + 1 == result.difatSectors.size();
        result.set(at + 4 * (perSector - 1), isLast ? kEnd : result.difatSectors[i + 1]);
    }
    return result;
}

std::string noise(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    return bytes;
}

}  // namespace brindle::workbook::package::testing
