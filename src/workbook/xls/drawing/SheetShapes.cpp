// SPDX-License-Identifier: MIT
#include "workbook/xls/drawing/SheetShapes.h"

#include <algorithm>
#include <utility>

#include "base/Error.h"
#include "workbook/xls/biff/SheetRecords.h"

namespace brindle::workbook::xls {

namespace {

// The object that a text belongs to.
struct Owner {
    static constexpr std::uint16_t kNote = 0x19;
    static constexpr std::uint16_t kLocked = 0x01;
    std::uint16_t type = 0;
    std::uint16_t flags = kLocked;
};

Owner ownerOf(const Record& object) {
    Owner owner;
    if (object.body.size() < 10) return owner;
    owner.type = getLittleEndian<std::uint16_t>(object.body.data() + 4);
    owner.flags = getLittleEndian<std::uint16_t>(object.body.data() + 8);
    return owner;
}

}  // namespace

SheetShapes::SheetShapes(std::string_view stream, std::size_t sheetOffset, const StringCodec& codec,
                         bool areProtected, CellText cellText)
    : mAreProtected(areProtected), mCellText(std::move(cellText)) {
    if (codec.version() != Version::Biff8) return;
    Owner owner;
    SheetRecords records(stream, sheetOffset);
    for (Record record; records.next(record);) {
        if (record.id == record::kObj) owner = ownerOf(record);
        if (record.id != record::kTxo || owner.type == Owner::kNote) continue;
        ShapeText text(stream, record, codec);
        const bool isLocked = (owner.flags & Owner::kLocked) != 0 && text.isLocked();
        mShapes.push_back({isLocked, std::move(text)});
    }
}

std::string SheetShapes::text(std::size_t index) const {
    const ShapeText& text = mShapes.at(index).text;
    if (mCellText && !text.link().empty()) {
        if (const auto shown = mCellText(text.link())) return *shown;
    }
    return text.text();
}

void SheetShapes::setText(std::size_t index, std::string_view newText) {
    if (newText == text(index)) return;
    Shape& shape = mShapes.at(index);
    if (mAreProtected && shape.isLocked) {
        throw Error::refused(
            "The shape that you are trying to change is protected and therefore read-only");
    }
    shape.text.setText(newText);
}

bool SheetShapes::isChanged() const {
    return std::any_of(mShapes.begin(), mShapes.end(),
                       [](const Shape& shape) { return shape.text.isChanged(); });
}

std::vector<RecordSplice> SheetShapes::splices() const {
    std::vector<RecordSplice> splices;
    for (const Shape& shape : mShapes) {
        if (shape.text.isChanged()) splices.push_back(shape.text.splice());
    }
    return splices;
}

}  // namespace brindle::workbook::xls
