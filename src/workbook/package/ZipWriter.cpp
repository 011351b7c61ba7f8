// SPDX-License-Identifier: MIT
#include "workbook/package/ZipWriter.h"

#include <algorithm>

#include "base/Error.h"
#include "workbook/package/ZipRecords.h"

namespace brindle::workbook::package::zip {

ZipWriter::ZipWriter(const FileBytes& bytes, const Directory& directory, ByteSink& out)
    : mBytes(bytes),
      mDirectory(directory),
      mOut(out),
      mEdits(directory.members.size()),
      mOffsets(directory.members.size()) {}

void ZipWriter::plan(const MemberEdit& edit, std::optional<std::size_t> index) {
    const auto wrong = [&edit](const char* what) {
        throw Error(ErrorKind::Argument, error_number::kInvalidArgument, what).inMember(edit.name);
    };
    if (edit.action == MemberEdit::Action::Add) {
        const bool isAdded =
            std::any_of(mAdditions.begin(), mAdditions.end(), [&edit](const Addition& each) {
                return normalisedMemberName(each.edit->name) == normalisedMemberName(edit.name);
            });
        if (index || isAdded) wrong("The archive has a part of this name");
        if (edit.name.size() > 65535) wrong("The name of the part is too long");
        mAdditions.push_back({&edit, 0});
        return;
    }
    if (!index) {
        throw Error(ErrorKind::NotFound, error_number::kApplicationDefined,
                    "The archive has no part of this name")
            .inMember(edit.name);
    }
    if (mEdits[*index] != nullptr) wrong("A part is changed twice");
    mEdits[*index] = &edit;
}

void ZipWriter::write() {
    writeMembers();
    writeAdditions();
    writeDirectory();
}

// Whatever stands between two edited members is copied as one range, gaps included.
void ZipWriter::writeMembers() {
    std::uint64_t copied = 0;            // up to here the old file has been dealt with
    std::vector<std::uint32_t> waiting;  // members of the range that is to be copied next
    const auto copyUpTo = [&](std::uint64_t end) {
        for (const std::uint32_t index : waiting) {
            mOffsets[index] = mOut.position() + (mDirectory.members[index].headerOffset - copied);
        }
        waiting.clear();
        mBytes.copyTo(mOut, copied, end);
    };
    for (const std::uint32_t index : mDirectory.byOffset) {
        if (mEdits[index] == nullptr) {
            waiting.push_back(index);
            continue;
        }
        copyUpTo(mDirectory.members[index].headerOffset);
        if (mEdits[index]->action == MemberEdit::Action::Replace) writeEdited(index);
        copied = mDirectory.extentEnd[index];
    }
    copyUpTo(mDirectory.offset);
}

void ZipWriter::writeEdited(std::size_t index) {
    mOffsets[index] = mOut.position();
    const std::string original = readLocalHeader(mBytes, mDirectory, index);
    writeData(localHeaderFor(*mEdits[index], original), *mEdits[index]);
}

void ZipWriter::writeAdditions() {
    for (Addition& addition : mAdditions) {
        addition.offset = mOut.position();
        writeData(localHeaderFor(*addition.edit, ""), *addition.edit);
    }
}

void ZipWriter::writeData(const std::string& header, const MemberEdit& edit) {
    mOut.write(std::string_view(header));
    mOut.write(edit.compressed.view());
}

void ZipWriter::writeDirectory() {
    std::string records;
    std::uint64_t count = 0;
    const auto append = [&](const MemberEdit* edit, std::string_view original, std::uint64_t at) {
        records += recordFor(edit, original, at - mDirectory.base);
        ++count;
    };
    for (std::size_t i = 0; i < mEdits.size(); ++i) {
        const bool isGone = mEdits[i] != nullptr && mEdits[i]->action == MemberEdit::Action::Remove;
        if (!isGone) append(mEdits[i], mDirectory.record(i), mOffsets[i]);
    }
    for (const Addition& addition : mAdditions) append(addition.edit, "", addition.offset);
    const std::uint64_t position = mOut.position();
    mOut.write(std::string_view(records));
    mOut.write(std::string_view(endRecordsFor(mDirectory, count, records.size(), position)));
}

}  // namespace brindle::workbook::package::zip
