#include "packagetable/PackageTableView.h"

#include "packagetable/PackageTableActionContextMenu.h"
#include "packagetable/PackageTableModel.h"
#include "packagetable/PackageTableOtherContextMenu.h"
#include "packagetable/PackageTableSortFilterProxyModel.h"

#include <QEvent>
#include <QHeaderView>

namespace PackageTable
{

View::View(Model* model, SortFilterProxyModel* proxy, QWidget* parent)
    : HTableView(10, INT_MAX, parent)
    , packageModel(model)
    , packageProxy(proxy)
{
    setObjectName(QStringLiteral("packageTable"));
    setModel(proxy);
    setShowGrid(false);
    setGridStyle(Qt::NoPen);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setAlternatingRowColors(true);
    setContextMenuPolicy(Qt::CustomContextMenu);
    verticalHeader()->hide();

    auto* header = new QHeaderView(Qt::Horizontal, this);
    header->setSectionsMovable(true);
    header->setSectionsClickable(true);
    header->setHighlightSections(true);
    // The header flips the indicator on a click before it reports the click,
    // so that a second click on a column reverses its order.
    header->setSortIndicatorShown(true);
    setHorizontalHeader(header);

    HTableView::sortByColumn(KindColumn, Qt::AscendingOrder);
    packageProxy->setFilterKeyColumn(KindColumn);

    connect(header, &QHeaderView::sectionClicked, this, &View::handleHorizontalHeaderClicked);
    connect(this, &QAbstractItemView::clicked, this, &View::handleActivated);
    connect(this, &QWidget::customContextMenuRequested, this, &View::handleCustomContextMenuRequested);
}

QModelIndexList View::selectedRows() const
{
    QModelIndexList rows;
    for (QModelIndex const& index : HTableView::selectedRows())
        rows.append(packageProxy->mapToSource(index));
    return rows;
}

int View::sizeHintForColumn(int column) const
{
    return widestCell(packageModel, QModelIndex(), column);
}

void View::describe()
{
    packageModel->describe(packageProxy->mapToSource(currentIndex()), this);
}

void View::handleHorizontalHeaderClicked(int column)
{
    HTableView::sortByColumn(column);
    packageProxy->setFilterKeyColumn(column);
}

void View::handleActivated(QModelIndex const& index)
{
    if (index.column() != ActionColumn)
        return;
    QModelIndex const source = packageProxy->mapToSource(index);
    if (!source.isValid())
        return;
    packageModel->toggleAction(source);
    Q_EMIT stateChanged(source.row());
}

void View::handleCustomContextMenuRequested(QPoint const& pos)
{
    QModelIndex const source = packageProxy->mapToSource(indexAt(pos));
    if (!source.isValid())
        return;
    QPoint const global = viewport()->mapToGlobal(pos);
    if (source.column() == ActionColumn) {
        if (!actionMenu)
            actionMenu = new ActionContextMenu(packageModel, this, this);
        actionMenu->exec(source, global);
        Q_EMIT stateChanged(-1);
    } else {
        if (!otherMenu)
            otherMenu = new OtherContextMenu(packageModel, this, this);
        otherMenu->exec(source, global);
    }
}

int View::sourceRow(QModelIndex const& index) const
{
    QModelIndex const source = packageProxy->mapToSource(index);
    return source.isValid() ? source.row() : -1;
}

void View::currentChanged(QModelIndex const& current, QModelIndex const& previous)
{
    HTableView::currentChanged(current, previous);
    int const currentRow = sourceRow(current);
    int const previousRow = sourceRow(previous);
    if (currentRow != previousRow)
        Q_EMIT currentChanged(currentRow, previousRow);
}

void View::changeEvent(QEvent* event)
{
    HTableView::changeEvent(event);
    if (event->type() == QEvent::EnabledChange)
        packageModel->setEnabled(isEnabled());
}

} // namespace PackageTable
