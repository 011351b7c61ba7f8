// SPDX-License-Identifier: MIT
#include "project/ProjectFile.h"

#include <sys/stat.h>

#include <array>
#include <limits>
#include <optional>

#include "base/AppFolder.h"
#include "base/Error.h"
#include "base/FileIo.h"

namespace brindle {

namespace {

constexpr std::uint16_t kArrayOfBytes = 0x2011;
constexpr std::uint16_t kOneDimension = 1;
constexpr std::size_t kHeaderSize = 12;
// Far beyond any real project; keeps a foreign file from claiming the memory of the machine.
constexpr std::uint32_t kMostContent = 256U << 20;

constexpr std::array<ProjectOption, 10> kOptions{{
    {"BackupMode", nullptr, &clsProjExcel::BackupMode},
    {"GetFilenamesFromTextFile", &clsProjExcel::GetFilenamesFromTextFile, nullptr},
    {"LoadsearchFilePath", &clsProjExcel::LoadsearchFilePath, nullptr},
    {"IsGrid", nullptr, &clsProjExcel::IsGrid},
    {"IncludeSubFolders", nullptr, &clsProjExcel::IncludeSubFolders},
    {"IsScanFolder", nullptr, &clsProjExcel::IsScanFolder},
    {"KeepTheOriginalFileDate", nullptr, &clsProjExcel::KeepTheOriginalFileDate},
    {"Password", &clsProjExcel::Password, nullptr},
    {"SpreadsheetTypeToExamine", &clsProjExcel::SpreadsheetTypeToExamine, nullptr},
    {"StartFolder", &clsProjExcel::StartFolder, nullptr},
}};

using Header = std::array<std::byte, kHeaderSize>;

void putNumber(Header& header, std::size_t at, std::size_t size, std::uint32_t value) {
    for (std::size_t i = 0; i < size; ++i)
        header[at + i] = static_cast<std::byte>((value >> (8 * i)) & 0xFFU);
}

std::uint32_t numberAt(std::span<const std::byte> bytes, std::size_t at, std::size_t size) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < size; ++i)
        value |= std::to_integer<std::uint32_t>(bytes[at + i]) << (8 * i);
    return value;
}

[[noreturn]] void throwInvalidFormat(std::uint64_t offset) {
    throw Error(ErrorKind::Damaged, error_number::kInvalidFileFormat, "Invalid file format")
        .atOffset(offset);
}

[[noreturn]] void throwOverflow() {
    throw Error(ErrorKind::TooLarge, error_number::kOverflow, "Overflow");
}

Header headerFor(std::size_t contentSize) {
    if (contentSize > kMostContent) throwOverflow();
    Header header{};
    putNumber(header, 0, 2, kArrayOfBytes);
    putNumber(header, 2, 2, kOneDimension);
    putNumber(header, 4, 4, static_cast<std::uint32_t>(contentSize));
    return header;
}

// The size of the content that follows the header.
std::uint32_t checkedContentSize(std::span<const std::byte> header, std::uint64_t fileSize) {
    if (fileSize < kHeaderSize) throwInvalidFormat(fileSize);
    if (numberAt(header, 0, 2) != kArrayOfBytes) throwInvalidFormat(0);
    if (numberAt(header, 2, 2) != kOneDimension) throwInvalidFormat(2);
    const std::uint32_t size = numberAt(header, 4, 4);
    if (size > fileSize - kHeaderSize || size > kMostContent) throwInvalidFormat(4);
    if (numberAt(header, 8, 4) != 0) throwInvalidFormat(8);
    return size;
}

PropertyBag bagIn(std::span<const std::byte> content) {
    PropertyBag bag;
    bag.Contents(content);
    return bag;
}

PropertyBag readBag(const InputFile& file) {
    Header header{};
    if (file.size() < kHeaderSize) throwInvalidFormat(file.size());
    file.readAt(0, header);
    PropertyValue::Bytes content(checkedContentSize(header, file.size()));
    file.readAt(kHeaderSize, content);
    return bagIn(content);
}

std::optional<InputFile> openIfThere(const std::string& path) {
    try {
        return InputFile(path);
    } catch (const Error& error) {
        if (error.number() != error_number::kFileNotFound) throw;
        return std::nullopt;
    }
}

std::string itemName(std::int32_t number) {
    return "Item" + std::to_string(number);
}

}  // namespace

std::string defaultProjectPath() {
    return applicationFolder() + "/default.dat";
}

PropertyBag projectBagOf(std::span<const std::byte> fileBytes) {
    if (fileBytes.size() < kHeaderSize) throwInvalidFormat(fileBytes.size());
    const std::uint32_t size = checkedContentSize(fileBytes, fileBytes.size());
    return bagIn(fileBytes.subspan(kHeaderSize, size));
}

PropertyBag readProjectFile(const std::string& path) {
    try {
        return readBag(InputFile(path));
    } catch (Error& error) {
        error.inFile(path);
        throw;
    }
}

void writeProjectFile(const std::string& path, const PropertyBag& bag) {
    const PropertyValue::Bytes content = bag.Contents();
    const Header header = headerFor(content.size());
    const std::uint64_t recordSize = kHeaderSize + std::uint64_t{content.size()};
    const std::optional<InputFile> old = openIfThere(path);
    ReplaceOptions options;
    options.newFileMode = 0600;
    options.allowInPlace = true;  // a project that cannot be saved is the greater loss
    // Nothing is expected of the old file: of two programs that save at once the later one wins,
    // and the end that stays of another record means nothing.
    replaceFile(path, options, [&](OutputFile& file) {
        file.write(header);
        file.write(content);
        if (old && old->size() > recordSize)
            file.copyFrom(*old, recordSize, old->size() - recordSize);
    });
}

std::span<const ProjectOption> projectOptions() {
    return kOptions;
}

void readProjectOption(const PropertyBag& bag, const ProjectOption& option, clsProjExcel& project) {
    const PropertyValue& value = bag.ReadProperty(option.name);
    if (option.text != nullptr)
        project.*option.text = value.toText();
    else
        project.*option.flag = value.toBoolean();
}

PropertyBag projectBag(const clsProjExcel& project, const Entries& entries) {
    if (entries.Count() > std::numeric_limits<std::int16_t>::max()) throwOverflow();
    PropertyBag bag;
    for (const ProjectOption& option : kOptions) {
        if (option.text != nullptr)
            bag.WriteProperty(option.name, project.*option.text);
        else
            bag.WriteProperty(option.name, project.*option.flag);
    }
    bag.WriteProperty("Count", entries.Count());
    for (std::int32_t i = 1; i <= entries.Count(); ++i)
        bag.WriteProperty(itemName(i), entries.Item(i)->GetItemClip());
    return bag;
}

void readProjectEntries(const PropertyBag& bag, Entries& entries, std::int32_t& entryKeyCounter,
                        const std::function<void(Entry&)>& loaded) {
    const std::int16_t count = bag.ReadProperty("Count").toInt16();
    for (std::int32_t i = 1; i <= count; ++i) {
        const PropertyValue& item = bag.ReadProperty(itemName(i));
        if (!item.isBytes()) continue;
        const std::string key = "Item-" + std::to_string(entryKeyCounter);
        Entry* entry = entries.AddItemFromByteArray(item.toBytes(), key);
        if (entry != nullptr && loaded) loaded(*entry);
        ++entryKeyCounter;
    }
}

}  // namespace brindle
