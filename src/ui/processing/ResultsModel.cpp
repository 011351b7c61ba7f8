// SPDX-License-Identifier: MIT
#include "ui/processing/ResultsModel.h"

#include <algorithm>

#include "ui/common/QtText.h"

namespace brindle {

namespace {

// A line's index points to its document, a document's to nothing.
const RunReport::Document* ownerOf(const QModelIndex& line) {
    return static_cast<const RunReport::Document*>(line.constInternalPointer());
}

std::size_t lineCount(const RunReport::Document& document) {
    return document.children.size() + document.remarks.size();
}

bool isRemark(const RunReport::Document& document, int line) {
    return static_cast<std::size_t>(line) >= document.children.size();
}

const std::string& lineText(const RunReport::Document& document, int line) {
    const auto at = static_cast<std::size_t>(line);
    return isRemark(document, line) ? document.remarks[at - document.children.size()]
                                    : document.children[at];
}

}  // namespace

ResultsModel::ResultsModel(QObject* parent) : QAbstractItemModel(parent) {}

void ResultsModel::append(const Document& document) {
    const int row = static_cast<int>(mDocuments.size());
    beginInsertRows({}, row, row);
    mDocuments.push_back(&document);
    endInsertRows();
}

void ResultsModel::remove(const Document& document) {
    const int row = rowOf(document);
    beginRemoveRows({}, row, row);
    mDocuments.erase(mDocuments.begin() + row);
    endRemoveRows();
}

void ResultsModel::clear() {
    beginResetModel();
    mDocuments.clear();
    endResetModel();
}

int ResultsModel::rowOf(const Document& document) const {
    const auto found = std::lower_bound(
        mDocuments.begin(), mDocuments.end(), document.order,
        [](const Document* one, std::uint64_t order) { return one->order < order; });
    return static_cast<int>(found - mDocuments.begin());
}

QModelIndex ResultsModel::index(int row, int column, const QModelIndex& parent) const {
    if (row < 0 || column != 0 || row >= rowCount(parent)) return {};
    if (!parent.isValid()) return createIndex(row, column);
    return createIndex(row, column, mDocuments[static_cast<std::size_t>(parent.row())]);
}

QModelIndex ResultsModel::parent(const QModelIndex& index) const {
    const Document* owner = index.isValid() ? ownerOf(index) : nullptr;
    return owner == nullptr ? QModelIndex() : createIndex(rowOf(*owner), 0);
}

int ResultsModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid()) return static_cast<int>(mDocuments.size());
    if (ownerOf(parent) != nullptr) return 0;
    return static_cast<int>(lineCount(*mDocuments[static_cast<std::size_t>(parent.row())]));
}

int ResultsModel::columnCount(const QModelIndex&) const {
    return 1;
}

bool ResultsModel::hasChildren(const QModelIndex& parent) const {
    return rowCount(parent) > 0;
}

Qt::ItemFlags ResultsModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) return Qt::NoItemFlags;
    const Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    return ownerOf(index) == nullptr ? flags : flags | Qt::ItemNeverHasChildren;
}

QVariant ResultsModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const Document* owner = ownerOf(index);
    if (owner == nullptr) {
        const Document& document = *mDocuments[static_cast<std::size_t>(index.row())];
        if (role == Qt::DisplayRole || role == kKeyRole) return toQt(document.path);
        if (role == Qt::DecorationRole && !document.remarks.empty()) return mRemarkIcon;
        return {};
    }
    if (role == Qt::DisplayRole) return toQt(lineText(*owner, index.row()));
    if (role == Qt::DecorationRole && isRemark(*owner, index.row())) return mRemarkIcon;
    return {};
}

}  // namespace brindle
