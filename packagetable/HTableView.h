#pragma once

#include <QStyleOptionViewItem>
#include <QTableView>
#include <climits>

class HItemDelegate;

// A table view that sizes itself to its contents: its columns to the widest
// cell of every row, listed on screen or not, and its window to what the
// table then needs, up to 90% of the screen.  Cell texts never wrap.
class HTableView : public QTableView
{
    Q_OBJECT

public:
    // The size hint shows at least `minimumRows` and at most `maximumRows`
    // rows (fewer when the model has fewer).
    explicit HTableView(int minimumRows = 10, int maximumRows = INT_MAX, QWidget* parent = nullptr);

    // Sorts by `column`: descending only when the column already shows a
    // descending sort indicator, else ascending.
    void sortByColumn(int column);
    void sortByColumn(int column, Qt::SortOrder order);
    // Sizes the columns to their contents, then grows the window to its size
    // hint, bounded by 90% of the screen; the window never shrinks.
    void resizeColumnsToContents();
    // The widest cell of the column over every row of the model; -1 without
    // a model.
    int sizeHintForColumn(int column) const override;
    // One index (column 0) per selected row of the view's model.
    QModelIndexList selectedRows() const;
    QSize sizeHint() const override;

protected:
    void initViewItemOption(QStyleOptionViewItem* option) const override;
    // The widest size hint that the view's delegates give for the cells of
    // `column` over every row of `model` under `root`.
    int widestCell(QAbstractItemModel const* model, QModelIndex const& root, int column) const;

private:
    QStyleOptionViewItem::Position decorationPosition;
    int minimumRows;
    int maximumRows;
    HItemDelegate* delegate;
};
