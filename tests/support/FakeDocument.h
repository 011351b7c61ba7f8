// SPDX-License-Identifier: MIT
// Workbooks in memory behind the document interface, for tests of what drives it. A FakeBook
// is the file: what is not saved never reaches it.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "engine/excel/Application.h"
#include "workbook/Document.h"

namespace brindle::test {

using workbook::CellPosition;
using workbook::PageKind;
using workbook::PageSection;

struct FakeSheet {
    std::string name = "Sheet1";
    std::map<CellPosition, std::string> cells;
    std::vector<std::string> links;
    std::map<std::pair<PageKind, PageSection>, std::string> sections;
    std::set<PageKind> usedPages = {PageKind::Odd};
    std::vector<std::string> shapes;
    // Places that refuse a change: cells, and items named "hyperlink 1", "shape 2", "section 0".
    std::set<CellPosition> lockedCells;
    std::set<std::string> lockedItems;
    std::optional<Error> damage;             // thrown when cells are asked for
    std::chrono::milliseconds findTakes{0};  // for each search

    bool operator==(const FakeSheet& other) const {
        return cells == other.cells && links == other.links && sections == other.sections &&
               shapes == other.shapes;
    }
};

struct FakeBook {
    std::vector<FakeSheet> sheets = {FakeSheet{}};
    // Built-in, then custom. A property without a value cannot be read.
    std::vector<std::optional<std::string>> properties[2];
    std::set<std::string> lockedProperties;  // by value
    workbook::ReadOnlyReason readOnly = workbook::ReadOnlyReason::None;
    std::string password;
    std::optional<Error> saveError;

    // What happened to it.
    int opened = 0;
    int saved = 0;
    int closed = 0;
    workbook::OpenOptions openedWith;
    std::vector<workbook::CellMatch> expected;
};

class FakeWorksheet : public workbook::Worksheet {
public:
    explicit FakeWorksheet(FakeSheet& sheet) : mSheet(sheet) {}

    std::string name() const override { return mSheet.name; }

    std::optional<CellPosition> findCell(const workbook::CellMatch& match,
                                         CellPosition after) override {
        if (mSheet.damage) throw *mSheet.damage;
        std::this_thread::sleep_for(mSheet.findTakes);
        const auto start = mSheet.cells.upper_bound(after);
        for (auto cell = start; cell != mSheet.cells.end(); ++cell)
            if (match.matches(cell->second)) return cell->first;
        for (auto cell = mSheet.cells.begin(); cell != start; ++cell)
            if (match.matches(cell->second)) return cell->first;
        return std::nullopt;
    }
    void replaceInCell(CellPosition position, const workbook::CellMatch& match,
                       std::string_view replacement) override {
        if (mSheet.lockedCells.count(position) > 0) throw Error::refused("The cell is protected");
        std::string& text = mSheet.cells.at(position);
        text = workbook::replaceSpans(text, match.spans(text), replacement);
    }
    workbook::CellValue cellValue(CellPosition) override { return {}; }
    workbook::CellRange usedRange() override { return {}; }
    std::size_t hyperlinkCount() override { return mSheet.links.size(); }
    std::string hyperlinkAddress(std::size_t i) override { return mSheet.links.at(i); }
    void setHyperlinkAddress(std::size_t i, std::string_view text) override {
        change(mSheet.links.at(i), text, "hyperlink " + std::to_string(i + 1));
    }
    bool usesPages(PageKind kind) override { return mSheet.usedPages.count(kind) > 0; }
    std::string pageSection(PageKind kind, PageSection section) override {
        return mSheet.sections[{kind, section}];
    }
    void setPageSection(PageKind kind, PageSection section, std::string_view text) override {
        change(mSheet.sections[{kind, section}], text,
               "section " + std::to_string(static_cast<int>(section)));
    }
    std::size_t shapeCount() override { return mSheet.shapes.size(); }
    std::string shapeText(std::size_t i) override { return mSheet.shapes.at(i); }
    void setShapeText(std::size_t i, std::string_view text) override {
        change(mSheet.shapes.at(i), text, "shape " + std::to_string(i + 1));
    }

private:
    // As every format promises: a text set to what it is already is never refused.
    void change(std::string& item, std::string_view text, const std::string& lock) {
        if (item == text) return;
        if (mSheet.lockedItems.count(lock) > 0) throw Error::refused(lock + " is protected");
        item = text;
    }

    FakeSheet& mSheet;
};

class FakeDocument : public workbook::Document {
public:
    explicit FakeDocument(FakeBook& file) : mFile(file), mWork(file) {
        ++mFile.opened;
        for (FakeSheet& sheet : mWork.sheets)
            mSheets.push_back(std::make_unique<FakeWorksheet>(sheet));
    }
    ~FakeDocument() override { ++mFile.closed; }

    workbook::ReadOnlyReason readOnlyReason() const override { return mFile.readOnly; }
    std::size_t worksheetCount() override { return mSheets.size(); }
    workbook::Worksheet& worksheet(std::size_t index) override { return *mSheets.at(index); }

    std::size_t propertyCount(bool custom) override { return mWork.properties[custom].size(); }
    std::string propertyText(bool custom, std::size_t i) override {
        const auto& value = mWork.properties[custom].at(i);
        if (!value) {
            throw Error(ErrorKind::NotFound, error_number::kApplicationDefined,
                        "The property has no value");
        }
        return *value;
    }
    void setPropertyText(bool custom, std::size_t i, std::string_view text) override {
        auto& value = mWork.properties[custom].at(i);
        if (mWork.lockedProperties.count(*value) > 0)
            throw Error::refused("The property cannot be set");
        value = std::string(text);
    }

    bool isChanged() const override {
        return !(mWork.sheets == mFile.sheets) || mWork.properties[0] != mFile.properties[0] ||
               mWork.properties[1] != mFile.properties[1];
    }
    void save() override {
        if (mFile.saveError) throw *mFile.saveError;
        ++mFile.saved;
        mFile.sheets = mWork.sheets;
        mFile.properties[0] = mWork.properties[0];
        mFile.properties[1] = mWork.properties[1];
    }

private:
    FakeBook& mFile;
    FakeBook mWork;
    std::vector<std::unique_ptr<FakeWorksheet>> mSheets;
};

// Files of a run by path; what is not among them cannot be opened.
class FakeFiles {
public:
    FakeBook& operator[](const std::string& path) { return mBooks[path]; }

    excel::DocumentOpener opener() {
        return [this](const std::string& path, const workbook::OpenOptions& options) {
            return open(path, options);
        };
    }

    std::vector<std::string> openedPaths;
    std::function<void(const std::string& path)> beforeOpening;

private:
    std::unique_ptr<workbook::Document> open(const std::string& path,
                                             const workbook::OpenOptions& options) {
        if (beforeOpening) beforeOpening(path);
        openedPaths.push_back(path);
        const auto book = mBooks.find(path);
        if (book == mBooks.end())
            throw Error(ErrorKind::Unsupported, error_number::kApplicationDefined,
                        "The file is not in a recognizable format");
        if (!book->second.password.empty() && book->second.password != options.password)
            throw Error(ErrorKind::WrongPassword, error_number::kApplicationDefined,
                        "The password you supplied is not correct");
        book->second.openedWith = options;
        if (options.expectedPatterns) book->second.expected = *options.expectedPatterns;
        return std::make_unique<FakeDocument>(book->second);
    }

    std::map<std::string, FakeBook> mBooks;
};

}  // namespace brindle::test
