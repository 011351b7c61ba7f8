// SPDX-License-Identifier: MIT
// One list of a RunReport as a tree of one column: documents, and under a document its lines.
// Keeps no texts, only where the documents of the list are.
#pragma once

#include <string>
#include <vector>

#include <QAbstractItemModel>
#include <QIcon>

#include "ui/processing/RunReport.h"

namespace brindle {

class ResultsModel : public QAbstractItemModel {
    Q_OBJECT

public:
    using Document = RunReport::Document;

    // The path of a document, as toQt gives it; empty for the lines under it.
    static constexpr int kKeyRole = Qt::UserRole;

    explicit ResultsModel(QObject* parent = nullptr);

    // The picture of remarks and of the documents that have some.
    void setRemarkIcon(const QIcon& icon) { mRemarkIcon = icon; }

    // A document that was just added at the end of the list. It stays as it is until it is
    // removed here, which comes before it changes or leaves the list.
    void append(const Document& document);
    void remove(const Document& document);
    // Before the list is cleared.
    void clear();

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& index) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    bool hasChildren(const QModelIndex& parent = {}) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant data(const QModelIndex& index, int role) const override;

private:
    int rowOf(const Document& document) const;

    std::vector<const Document*> mDocuments;
    QIcon mRemarkIcon;
};

}  // namespace brindle
