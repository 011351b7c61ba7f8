// SPDX-License-Identifier: MIT
#include "workbook/ooxml/Package.h"

#include <algorithm>

#include "base/Error.h"
#include "base/Text.h"
#include "workbook/ooxml/Attributes.h"
#include "workbook/ooxml/OoxmlNames.h"
#include "workbook/package/Repack.h"
#include "workbook/package/XmlScanner.h"

namespace brindle::workbook::ooxml {

using package::XmlScanner;
using package::XmlToken;

namespace {

// A member is packed with more effort when the usual level made it larger than before by what is
// seen in the file's size, as after a program that took its time. The highest levels would take
// most of the time of a save.
constexpr int kLevel = 6;
constexpr int kHighLevel = 9;
constexpr std::uint64_t kHighLevelLimit = 4u << 20;
// Below it a part is one packed block or two.
constexpr std::uint64_t kSeveralBlocks = 128u << 10;
constexpr std::uint16_t kDeflated = 8;

// Real parts stay below half of it; what is packed more densely was made to fill the memory.
constexpr std::uint32_t kHighestRatio = 256;

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

std::string percentDecoded(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool escape = text[i] == '%' && i + 2 < text.size() && hexDigit(text[i + 1]) >= 0 &&
                            hexDigit(text[i + 2]) >= 0;
        if (escape) {
            out += static_cast<char>(hexDigit(text[i + 1]) * 16 + hexDigit(text[i + 2]));
            i += 2;
        } else {
            out += text[i];
        }
    }
    return out;
}

std::vector<Relationship> parseRelationships(std::string_view text, std::string_view source) {
    std::vector<Relationship> result;
    XmlScanner scanner(text);
    for (XmlToken token = scanner.next(); token != XmlToken::EndOfInput; token = scanner.next()) {
        if (token != XmlToken::StartElement || scanner.localName() != "Relationship") continue;
        Relationship relationship;
        relationship.id = attributeText(scanner, "Id");
        relationship.type = attributeText(scanner, "Type");
        relationship.target = attributeText(scanner, "Target");
        relationship.isExternal = attributeText(scanner, "TargetMode") == "External";
        if (!relationship.isExternal) {
            relationship.partName = resolveTarget(source, relationship.target);
        }
        result.push_back(std::move(relationship));
    }
    return result;
}

// The text without the element that `matches` accepts; unchanged when there is none.
template <typename Predicate>
std::string withoutElement(std::string_view text, const Predicate& matches) {
    XmlScanner scanner(text);
    for (XmlToken token = scanner.next(); token != XmlToken::EndOfInput; token = scanner.next()) {
        if (token != XmlToken::StartElement || !matches(scanner)) continue;
        const std::size_t begin = scanner.begin();
        scanner.skipElement();
        return std::string(text.substr(0, begin)) + std::string(text.substr(scanner.end()));
    }
    return std::string(text);
}

}  // namespace

PartText::PartText(package::Buffer bytes)
    : mBytes(std::move(bytes)), mConverted(package::toUtf8(mBytes.view())) {}

std::string relationshipPartName(std::string_view partName) {
    const std::size_t slash = partName.rfind('/');
    const std::size_t base = slash == std::string_view::npos ? 0 : slash + 1;
    return std::string(partName.substr(0, base)) + "_rels/" + std::string(partName.substr(base)) +
           ".rels";
}

std::string resolveTarget(std::string_view sourcePart, std::string_view target) {
    std::string path = percentDecoded(target.substr(0, target.find('#')));
    std::replace(path.begin(), path.end(), '\\', '/');
    if (path.empty() || path.front() != '/') {
        const std::size_t slash = sourcePart.rfind('/');
        if (slash != std::string_view::npos) {
            path = std::string(sourcePart.substr(0, slash + 1)) + path;
        }
    }
    std::vector<std::string_view> steps;
    std::string_view rest = path;
    while (!rest.empty()) {
        const std::size_t slash = rest.find('/');
        const std::string_view step = rest.substr(0, slash);
        rest = slash == std::string_view::npos ? std::string_view() : rest.substr(slash + 1);
        if (step.empty() || step == ".") continue;
        if (step != "..") {
            steps.push_back(step);
        } else if (!steps.empty()) {
            steps.pop_back();
        }
    }
    std::string result;
    for (const std::string_view step : steps) {
        if (!result.empty()) result += '/';
        result += step;
    }
    return result;
}

Package::Package(std::unique_ptr<InputFile> file, const std::string& password)
    : mFile(std::move(file), password) {
    package::ZipLimits limits;
    limits.ratio = kHighestRatio;
    mArchive = std::make_unique<package::ZipArchive>(mFile.package(), limits);
}

std::size_t Package::memberOf(std::string_view partName) const {
    const auto member = mArchive->find(partName);
    if (!member) {
        throw Error::damaged("A part of the workbook is missing").inMember(std::string(partName));
    }
    return *member;
}

PartText Package::read(std::string_view partName) const {
    return PartText(mArchive->read(memberOf(partName)));
}

const std::vector<Relationship>& Package::relationships(std::string_view partName) const {
    const auto known = mRelationships.find(partName);
    if (known != mRelationships.end()) return known->second;
    std::vector<Relationship> list;
    const std::string name = relationshipPartName(partName);
    if (hasPart(name)) {
        try {
            list = parseRelationships(read(name).view(), partName);
        } catch (Error& error) {
            throw error.inMember(name);
        }
    }
    return mRelationships.emplace(std::string(partName), std::move(list)).first->second;
}

const Relationship* Package::relationshipById(std::string_view partName,
                                              std::string_view id) const {
    const std::vector<Relationship>& list = relationships(partName);
    const auto [ids, isNew] = mRelationshipIds.try_emplace(std::string(partName));
    // The first of two that have the same id counts.
    for (std::size_t i = 0; isNew && i < list.size(); ++i) ids->second.emplace(list[i].id, i);
    const auto found = ids->second.find(std::string(id));
    return found == ids->second.end() ? nullptr : &list[found->second];
}

const Relationship* Package::relationshipByType(std::string_view partName,
                                                std::string_view typeSuffix) const {
    for (const Relationship& relationship : relationships(partName)) {
        if (relationship.hasType(typeSuffix) && !relationship.isExternal) return &relationship;
    }
    return nullptr;
}

std::string Package::contentType(std::string_view partName) const {
    const PartText text = read(kContentTypesPart);
    const std::string wanted = package::normalisedMemberName(partName);
    const std::size_t dot = wanted.rfind('.');
    const std::string extension = dot == std::string::npos ? "" : wanted.substr(dot + 1);
    std::string byExtension;
    XmlScanner scanner(text.view());
    for (XmlToken token = scanner.next(); token != XmlToken::EndOfInput; token = scanner.next()) {
        if (token != XmlToken::StartElement) continue;
        if (scanner.localName() == "Override" &&
            package::normalisedMemberName(attributeText(scanner, "PartName")) == wanted) {
            return attributeText(scanner, "ContentType");
        }
        if (scanner.localName() == "Default" &&
            text::lowerAscii(attributeText(scanner, "Extension")) == extension) {
            byExtension = attributeText(scanner, "ContentType");
        }
    }
    return byExtension;
}

// Longer than before by more than its change and than what is seen in the file's size.
bool Package::isTooLong(std::size_t member, const Change& change) const {
    const package::ZipMember& old = mArchive->members()[member];
    if (old.method != kDeflated) return false;
    const std::uint64_t longer = change.size > old.size ? change.size - old.size : 0;
    const std::uint64_t tolerance = std::max(old.compressedSize / 50, file().size() / 100);
    return change.compressed.size() > old.compressedSize + longer + tolerance;
}

Package::Change Package::packed(std::size_t member, std::string_view text, Content content) const {
    Change change;
    change.content = content;
    change.size = text.size();
    change.crc = package::crc32(text);
    change.compressed = package::deflateWhole(text, kLevel);
    if (text.size() <= kHighLevelLimit && isTooLong(member, change)) {
        change.compressed = package::deflateWhole(text, kHighLevel);
    }
    return change;
}

void Package::replacePart(std::string_view partName, std::string_view text, Content content) {
    const std::size_t member = memberOf(partName);
    pulse().during(text.size(), [&] { mChanges[member] = packed(member, text, content); });
}

// Nothing when packing everything is better.
std::optional<Package::Change> Package::repacked(std::string_view stored, std::string_view old,
                                                 const std::vector<Splice>& splices) {
    std::vector<package::TextChange> changes;
    for (const Splice& splice : splices) {
        changes.push_back({splice.begin, splice.end, splice.text});
    }
    auto packed = package::repacked(stored, old, changes, kLevel);
    if (!packed) return std::nullopt;
    return Change{
        .compressed = std::move(packed->compressed), .size = packed->size, .crc = packed->crc};
}

void Package::changePart(std::string_view partName, const PartText& old,
                         std::vector<Splice> splices) {
    const std::size_t member = memberOf(partName);
    const bool mayKeepBlocks = mArchive->members()[member].method == kDeflated &&
                               !old.isConverted() && old.view().size() >= kSeveralBlocks;
    const package::Buffer stored = mayKeepBlocks ? mArchive->rawBytes(member) : package::Buffer();
    sortSplices(splices);
    pulse().during(old.view().size(), [&] {
        std::optional<Change> change;
        if (mayKeepBlocks) change = repacked(stored.view(), old.view(), splices);
        if (!change) change = packed(member, spliced(old.view(), splices).view(), Content::Xml);
        mChanges[member] = std::move(*change);
    });
}

std::string Package::currentText(std::string_view partName) const {
    const auto change = mChanges.find(memberOf(partName));
    if (change == mChanges.end()) return std::string(read(partName).view());
    return std::string(
        package::inflateWhole(change->second.compressed.view(), change->second.size).view());
}

void Package::removeRelationship(std::string_view owner, std::string_view partName) {
    const std::string name = relationshipPartName(owner);
    const std::string wanted = package::normalisedMemberName(partName);
    const std::string text = currentText(name);
    replacePart(name, withoutElement(text, [&](const XmlScanner& scanner) {
                    return scanner.localName() == "Relationship" &&
                           attributeText(scanner, "TargetMode") != "External" &&
                           package::normalisedMemberName(
                               resolveTarget(owner, attributeText(scanner, "Target"))) == wanted;
                }));
}

void Package::removeContentType(std::string_view partName) {
    const std::string wanted = package::normalisedMemberName(partName);
    const std::string text = currentText(kContentTypesPart);
    std::string changed = withoutElement(text, [&](const XmlScanner& scanner) {
        return scanner.localName() == "Override" &&
               package::normalisedMemberName(attributeText(scanner, "PartName")) == wanted;
    });
    if (changed != text) replacePart(kContentTypesPart, changed);
}

void Package::removePart(std::string_view partName, std::string_view owner) {
    Change change;
    change.removed = true;
    mChanges[memberOf(partName)] = std::move(change);
    removeRelationship(owner, partName);
    removeContentType(partName);
}

void Package::writeTo(OutputFile& out) {
    std::vector<package::MemberEdit> edits;
    for (auto& [member, change] : mChanges) {
        const package::ZipMember& old = mArchive->members()[member];
        package::MemberEdit edit;
        edit.name = old.name;
        if (change.removed) {
            edit.action = package::MemberEdit::Action::Remove;
        } else {
            edit.size = change.size;
            edit.crc = change.crc;
            edit.compressed = std::move(change.compressed);
        }
        edits.push_back(std::move(edit));
    }
    mFile.write(out, [&](ByteSink& sink) { mArchive->writeTo(sink, std::move(edits)); });
}

void Package::verify(const std::string& path, const PartReader& read) const {
    const auto fail = [](const std::string& member) {
        throw Error(ErrorKind::Internal, error_number::kApplicationDefined,
                    "Document not saved: the written file did not read back as it was meant")
            .inMember(member);
    };
    const auto written = mFile.reopened(path);
    const package::ZipArchive archive(written->package());
    std::size_t kept = 0;
    for (std::size_t i = 0; i < mArchive->members().size(); ++i) {
        const package::ZipMember& old = mArchive->members()[i];
        const auto change = mChanges.find(i);
        if (change != mChanges.end() && change->second.removed) continue;
        if (kept >= archive.members().size()) fail(old.name);
        const package::ZipMember& now = archive.members()[kept];
        if (now.name != old.name) fail(old.name);
        if (change == mChanges.end()) {
            if (now.crc != old.crc || now.size != old.size ||
                now.compressedSize != old.compressedSize || now.method != old.method) {
                fail(old.name);
            }
        } else {
            if (now.crc != change->second.crc || now.size != change->second.size) fail(old.name);
            // Reading checks the sum over the unpacked bytes; scanning, that they are XML.
            if (!read(archive, kept)) {
                const PartText text(archive.read(kept));
                XmlScanner scanner(text.view());
                RoundPulse rounds(pulse());
                while (change->second.content == Content::Xml &&
                       scanner.next() != XmlToken::EndOfInput) {
                    rounds.round();
                }
            }
        }
        ++kept;
    }
    if (kept != archive.members().size()) fail(path);
}

}  // namespace brindle::workbook::ooxml
