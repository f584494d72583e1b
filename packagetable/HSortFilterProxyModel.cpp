#include "packagetable/HSortFilterProxyModel.h"

#include "packagetable/HAbstractTableModel.h"

#include <QRegularExpression>

HSortFilterProxyModel::HSortFilterProxyModel(QObject* parent)
    : QSortFilterProxyModel(parent)
{
    // Rows keep their place while their cells change; they move only when the
    // filter, the sort or the collection changes.  A row that jumped away as
    // soon as its action was clicked could not be clicked again.
    setDynamicSortFilter(false);
}

void HSortFilterProxyModel::setSourceModel(HAbstractTableModel* model)
{
    source = model;
    QSortFilterProxyModel::setSourceModel(model);
    rediscover();
}

void HSortFilterProxyModel::setSourceModel(QAbstractItemModel* model)
{
    setSourceModel(qobject_cast<HAbstractTableModel*>(model));
}

// The source's reset makes the proxy decide and sort every row anew, which is
// all that invalidate() and invalidateFilter() would do.
void HSortFilterProxyModel::clear()
{
    rediscover();
}

void HSortFilterProxyModel::filterChanged()
{
    rediscover();
}

// Rebuilt first, then told: a subclass whose verdicts already follow the new
// expression leaves the toolkit nothing to change, where the other order
// would have it remove or insert each changed row on its own (tens of
// thousands of signals, each rippling through the views) before the rebuild.
// A subclass that filters by the toolkit's own expression still ends right,
// through that row-by-row update.
void HSortFilterProxyModel::setFilterRegExp(QString const& pattern)
{
    rediscover();
    setFilterRegularExpression(pattern);
}

void HSortFilterProxyModel::setFilterRegExp(QRegularExpression const& regExp)
{
    rediscover();
    setFilterRegularExpression(regExp);
}

void HSortFilterProxyModel::rediscover()
{
    // The rebuilt rows come sorted by the current column and order: sorting
    // them once more would only repeat the work.
    if (!source)
        return;
    rediscovering = true;
    source->forceSortColumnRediscovery();
    rediscovering = false;
}
