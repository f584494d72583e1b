#pragma once

#include <QSortFilterProxyModel>

class HAbstractTableModel;
class QRegularExpression;

// A sort/filter proxy over an HAbstractTableModel.  Every change of the
// filter rebuilds the proxy from a reset source, so that rows come back in
// the current sort order however the filter changed.
class HSortFilterProxyModel : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    explicit HSortFilterProxyModel(QObject* parent = nullptr);

    virtual void setSourceModel(HAbstractTableModel* model);
    HAbstractTableModel* tableModel() const { return source; }

    // Re-filters and re-sorts everything.
    void clear();
    // Re-filters everything and re-sorts.
    void filterChanged();
    void setFilterRegExp(QString const& pattern);
    void setFilterRegExp(QRegularExpression const& regExp);

protected:
    // True while the proxy resets its own source to rebuild itself: the
    // source's data have not changed.
    bool isRediscovering() const { return rediscovering; }

private:
    void setSourceModel(QAbstractItemModel* model) override;
    // Resets the source so that the proxy rebuilds its rows, then sorts again
    // by the current column and order.
    void rediscover();

    HAbstractTableModel* source = nullptr;
    bool rediscovering = false;
};
