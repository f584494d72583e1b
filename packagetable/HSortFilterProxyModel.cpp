#include "packagetable/HSortFilterProxyModel.h"

#include "packagetable/HAbstractTableModel.h"

#include <QDateTime>
#include <QRegularExpression>

namespace
{
template <typename T>
int sign(T const& left, T const& right)
{
    if (left < right)
        return -1;
    if (right < left)
        return 1;
    return 0; // equal, or unordered (a NaN)
}
} // namespace

HSortFilterProxyModel::HSortFilterProxyModel(int secondarySortColumn, QObject* parent)
    : QSortFilterProxyModel(parent)
    , secondaryColumn(secondarySortColumn)
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

int HSortFilterProxyModel::compareValues(QVariant const& left, QVariant const& right)
{
    switch (left.typeId()) {
    case QMetaType::Int:
        return sign(left.toInt(), right.toInt());
    case QMetaType::UInt:
        return sign(left.toUInt(), right.toUInt());
    case QMetaType::LongLong:
        return sign(left.toLongLong(), right.toLongLong());
    case QMetaType::ULongLong:
        return sign(left.toULongLong(), right.toULongLong());
    case QMetaType::Float:
    case QMetaType::Double:
        return sign(left.toDouble(), right.toDouble());
    case QMetaType::QChar:
        return sign(left.toChar().unicode(), right.toChar().unicode());
    case QMetaType::QDate:
        return sign(left.toDate(), right.toDate());
    case QMetaType::QTime:
        return sign(left.toTime(), right.toTime());
    case QMetaType::QDateTime:
        return sign(left.toDateTime(), right.toDateTime());
    default:
        return sign(QString::compare(left.toString(), right.toString(), Qt::CaseSensitive), 0);
    }
}

bool HSortFilterProxyModel::lessThan(QModelIndex const& left, QModelIndex const& right) const
{
    int const order = compareValues(left.data(sortRole()), right.data(sortRole()));
    if (order != 0)
        return order < 0;
    return secondaryLessThan(left, right);
}

bool HSortFilterProxyModel::secondaryLessThan(QModelIndex const& left, QModelIndex const& right) const
{
    if (left.column() == secondaryColumn)
        return false;
    return lessThan(createSecondarySortIndex(left), createSecondarySortIndex(right));
}

QModelIndex HSortFilterProxyModel::createSecondarySortIndex(QModelIndex const& index) const
{
    if (!source)
        return QModelIndex();
    return source->index(index.row(), secondaryColumn);
}
