#pragma once

#include <QSortFilterProxyModel>

namespace RepoEditor
{
// Sorts identifiers and names in natural order, so that repo9 comes before
// repo10.
class SortFilterProxyModel : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    using QSortFilterProxyModel::QSortFilterProxyModel;

    // Alternating runs of non-digits, compared by character code, and of
    // digits, compared as numbers: "a01" and "a1" are equal, and a
    // run of digits too large for 64 bits counts as 0.
    static bool naturalLessThan(QString const& left, QString const& right);

protected:
    bool lessThan(QModelIndex const& left, QModelIndex const& right) const override;
};
} // namespace RepoEditor
