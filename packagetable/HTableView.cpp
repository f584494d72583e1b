#include "packagetable/HTableView.h"

#include "packagetable/HItemDelegate.h"

#include <QHeaderView>
#include <QScreen>
#include <QScrollBar>
#include <QStyle>
#include <algorithm>

HTableView::HTableView(int minimumRows, int maximumRows, QWidget* parent)
    : QTableView(parent)
    , decorationPosition(QStyleOptionViewItem::Left)
    , minimumRows(minimumRows)
    , maximumRows(maximumRows)
    , delegate(new HItemDelegate(this))
{
    setItemDelegate(delegate);
}

void HTableView::sortByColumn(int column)
{
    if (!model())
        return;
    QHeaderView const* header = horizontalHeader();
    Qt::SortOrder const order
        = header->sortIndicatorSection() == column ? header->sortIndicatorOrder() : Qt::AscendingOrder;
    sortByColumn(column, order);
}

void HTableView::sortByColumn(int column, Qt::SortOrder order)
{
    if (!model())
        return;
    horizontalHeader()->setSortIndicator(column, order);
    model()->sort(column, order);
}

void HTableView::resizeColumnsToContents()
{
    QTableView::resizeColumnsToContents();
    for (QWidget* widget = this; widget; widget = widget->parentWidget()) {
        widget->updateGeometry();
        if (widget->isWindow())
            break;
    }

    QWidget* top = window();
    QScreen const* screen = top->screen();
    if (!screen)
        return;
    QRect const area = screen->geometry();
    QSize const bound(area.width() * 9 / 10, area.height() * 9 / 10);
    QSize const wanted = top->sizeHint().boundedTo(bound);
    top->resize(wanted.expandedTo(top->size()));
}

int HTableView::sizeHintForColumn(int column) const
{
    if (!model())
        return -1;
    return widestCell(model(), rootIndex(), column);
}

int HTableView::widestCell(QAbstractItemModel const* model, QModelIndex const& root, int column) const
{
    ensurePolished();
    QStyleOptionViewItem option;
    initViewItemOption(&option);
    int widest = 0;
    int const rows = model->rowCount(root);
    for (int row = 0; row < rows; ++row) {
        QModelIndex const index = model->index(row, column, root);
        widest = std::max(widest, itemDelegateForIndex(index)->sizeHint(option, index).width());
    }
    return showGrid() ? widest + 1 : widest;
}

QModelIndexList HTableView::selectedRows() const
{
    if (!selectionModel())
        return QModelIndexList();
    return selectionModel()->selectedRows();
}

QSize HTableView::sizeHint() const
{
    ensurePolished();
    qint64 const rows = model() ? model()->rowCount(rootIndex()) : 0;
    qint64 const shown = std::clamp<qint64>(rows, std::min(minimumRows, maximumRows), maximumRows);
    qint64 const line = rows > 0 ? std::max(rowHeight(0), 1) : verticalHeader()->defaultSectionSize();

    // With the style's frame around the contents only, the scroll bars sit
    // outside the frame, at the style's spacing from it.
    int const frame = 2 * frameWidth();
    int const spacing = style()->styleHint(QStyle::SH_ScrollView_FrameOnlyAroundContents, nullptr, this)
        ? style()->pixelMetric(QStyle::PM_ScrollView_ScrollBarSpacing, nullptr, this)
        : 0;
    int const scrollBar = style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, verticalScrollBar());

    qint64 width = frame + horizontalHeader()->length() + spacing + scrollBar;
    if (!verticalHeader()->isHidden())
        width += verticalHeader()->sizeHint().width();
    qint64 height = frame + shown * line;
    if (!horizontalHeader()->isHidden())
        height += horizontalHeader()->sizeHint().height();
    return QSize(static_cast<int>(std::min<qint64>(width, QWIDGETSIZE_MAX)),
        static_cast<int>(std::min<qint64>(height, QWIDGETSIZE_MAX)));
}

void HTableView::initViewItemOption(QStyleOptionViewItem* option) const
{
    QTableView::initViewItemOption(option);
    option->decorationPosition = decorationPosition;
}
