#pragma once

#include <QSortFilterProxyModel>

class HAbstractTableModel;
class QRegularExpression;

// A sort/filter proxy over an HAbstractTableModel that compares cells by the
// type of their values and breaks ties by a second column.  Every change of
// the filter rebuilds the proxy from a reset source, so that rows come back in
// the current sort order however the filter changed.
class HSortFilterProxyModel : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    explicit HSortFilterProxyModel(int secondarySortColumn, QObject* parent = nullptr);

    virtual void setSourceModel(HAbstractTableModel* model);
    HAbstractTableModel* tableModel() const { return source; }
    int secondarySortColumn() const { return secondaryColumn; }

    // Re-filters and re-sorts everything.
    void clear();
    // Re-filters everything and re-sorts.
    void filterChanged();
    void setFilterRegExp(QString const& pattern);
    void setFilterRegExp(QRegularExpression const& regExp);

    // -1, 0 or 1 as `left` is less than, equal to or greater than `right`,
    // compared as the type of `left`: numbers as numbers, characters and
    // strings by code point (case-sensitive), dates and times in time order;
    // values of any other type as their strings.
    static int compareValues(QVariant const& left, QVariant const& right);

protected:
    // Sort-role values compared by compareValues(); equal ones are ordered by
    // the secondary column of the same rows.
    bool lessThan(QModelIndex const& left, QModelIndex const& right) const override;
    // The tie-breaker: lessThan() of the rows' cells in the secondary column.
    // Equal cells of the secondary column itself are equal (false).
    bool secondaryLessThan(QModelIndex const& left, QModelIndex const& right) const;
    QModelIndex createSecondarySortIndex(QModelIndex const& index) const;
    // True while the proxy resets its own source to rebuild itself: the
    // source's data have not changed.
    bool isRediscovering() const { return rediscovering; }

private:
    void setSourceModel(QAbstractItemModel* model) override;
    // Resets the source so that the proxy rebuilds its rows, then sorts again
    // by the current column and order.
    void rediscover();

    int secondaryColumn;
    HAbstractTableModel* source = nullptr;
    bool rediscovering = false;
};
