#include "packagetable/PackageTableView.h"

#include "packagetable/PackageTableActionContextMenu.h"
#include "packagetable/PackageTableModel.h"
#include "packagetable/PackageTableOtherContextMenu.h"
#include "packagetable/PackageTableSortFilterProxyModel.h"

#include <QEvent>
#include <QFontMetrics>
#include <QHash>
#include <QHeaderView>
#include <QIcon>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QStyle>
#include <algorithm>
#include <iterator>
#include <limits>

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
    // One line of text or one small icon per row, whatever the style's
    // default: a table of thousands of packages should show many at once.
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    fitRowHeight();

    auto* header = new QHeaderView(Qt::Horizontal, this);
    header->setSectionsMovable(true);
    header->setSectionsClickable(true);
    header->setHighlightSections(true);
    // The header flips the indicator on a click before it reports the click,
    // so that a second click on a column reverses its order.
    header->setSortIndicatorShown(true);
    header->setStretchLastSection(true);
    setHorizontalHeader(header);

    HTableView::sortByColumn(KindColumn, Qt::AscendingOrder);
    packageProxy->setFilterKeyColumn(KindColumn);

    connect(header, &QHeaderView::sectionClicked, this, &View::handleHorizontalHeaderClicked);
    connect(this, &QAbstractItemView::clicked, this, &View::handleActivated);
    connect(this, &QWidget::customContextMenuRequested, this, &View::handleCustomContextMenuRequested);
    connect(this, &QAbstractItemView::doubleClicked, this, &View::handleDoubleClicked);
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
    // Asking the delegate about every cell of tens of thousands of entries
    // takes many seconds.  The package table's cells have a text or an icon
    // and nothing else that takes room, and a cell's width grows with its
    // text's: so the delegate is asked only about the cells that can be the
    // widest, one for each icon and text that comes within rounding of the
    // widest text of the column.
    ensurePolished();
    QStyleOptionViewItem option;
    initViewItemOption(&option);
    QFontMetrics const metrics(option.font);

    // Shaping a text is what costs; the sum of its characters' advances comes
    // within a few per cent of its width.  Texts are shaped from the widest
    // sum down until a sum, with ample room for kerning, is too narrow to come
    // within rounding of the widest text shaped.
    struct Cell {
        int row;
        int estimate;
        int advance = -1;
    };
    int latin1[256];
    std::fill(std::begin(latin1), std::end(latin1), -1);
    auto estimate = [&](QString const& text) {
        int sum = 0;
        for (QChar const c : text) {
            ushort const code = c.unicode();
            if (code > 0xff)
                return std::numeric_limits<int>::max();
            if (latin1[code] < 0)
                latin1[code] = metrics.horizontalAdvance(c);
            sum += latin1[code];
        }
        return sum;
    };
    QHash<QPair<qint64, QString>, Cell> cells;
    for (int row = 0, rows = packageModel->rowCount(); row < rows; ++row) {
        QModelIndex const index = packageModel->index(row, column);
        QVariant const decoration = index.data(Qt::DecorationRole);
        qint64 const icon = decoration.isValid() ? qvariant_cast<QIcon>(decoration).cacheKey() : 0;
        QString const text = index.data(Qt::DisplayRole).toString();
        QPair<qint64, QString> const key(icon, text);
        if (!cells.contains(key))
            cells.insert(key, Cell { row, estimate(text) });
    }
    QList<std::pair<QPair<qint64, QString> const*, Cell*>> order;
    order.reserve(cells.size());
    for (auto cell = cells.begin(); cell != cells.end(); ++cell)
        order.append({ &cell.key(), &cell.value() });
    std::sort(order.begin(), order.end(),
        [](auto const& a, auto const& b) { return a.second->estimate > b.second->estimate; });
    QHash<QString, int> advances;
    QHash<qint64, int> widest;
    for (auto const& [key, cell] : std::as_const(order)) {
        auto const most = widest.constFind(key->first);
        if (most != widest.constEnd() && cell->estimate != std::numeric_limits<int>::max()
            && qint64(cell->estimate) * 5 / 4 + 8 + 2 < *most)
            continue;
        auto advance = advances.constFind(key->second);
        if (advance == advances.constEnd())
            advance = advances.insert(key->second, metrics.horizontalAdvance(key->second));
        cell->advance = *advance;
        int& widestOfIcon = widest[key->first];
        widestOfIcon = std::max(widestOfIcon, *advance);
    }

    int hint = 0;
    for (auto cell = cells.constBegin(); cell != cells.constEnd(); ++cell) {
        if (cell->advance < 0 || cell->advance + 2 < widest.value(cell.key().first))
            continue;
        QModelIndex const index = packageModel->index(cell->row, column);
        hint = std::max(hint, itemDelegateForIndex(index)->sizeHint(option, index).width());
    }
    return hint;
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

void View::handleDoubleClicked(QModelIndex const& index)
{
    if (index.column() != ActionColumn)
        packageModel->describe(packageProxy->mapToSource(index), this);
}

void View::keyPressEvent(QKeyEvent* event)
{
    // Enter describes the current row and Space cycles its action, as a
    // double click and a click in the Action column do.
    if (currentIndex().isValid() && state() != EditingState) {
        if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
            describe();
            event->accept();
            return;
        }
        if (event->key() == Qt::Key_Space && event->modifiers() == Qt::NoModifier) {
            handleActivated(currentIndex().siblingAtColumn(ActionColumn));
            event->accept();
            return;
        }
    }
    HTableView::keyPressEvent(event);
}

bool View::event(QEvent* event)
{
    // The Menu key or Shift+F10 opens the menu of the current cell, where
    // the mouse would open the one under the pointer.
    if (event->type() == QEvent::ContextMenu
        && static_cast<QContextMenuEvent*>(event)->reason() == QContextMenuEvent::Keyboard) {
        if (currentIndex().isValid())
            handleCustomContextMenuRequested(visualRect(currentIndex()).center());
        event->accept();
        return true;
    }
    return HTableView::event(event);
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
    switch (event->type()) {
    case QEvent::EnabledChange:
        packageModel->setEnabled(isEnabled());
        break;
    case QEvent::FontChange:
    case QEvent::StyleChange:
        fitRowHeight();
        break;
    default:
        break;
    }
}

void View::fitRowHeight()
{
    int const icon = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
    verticalHeader()->setDefaultSectionSize(std::max(fontMetrics().height(), icon) + 6);
}

} // namespace PackageTable
