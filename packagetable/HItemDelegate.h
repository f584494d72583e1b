#pragma once

#include <QItemDelegate>

// An item delegate that never wraps a cell's text: a table row stays one line
// high, and a text too long for its column is elided instead.
class HItemDelegate : public QItemDelegate
{
    Q_OBJECT

public:
    using QItemDelegate::QItemDelegate;

protected:
    void drawDisplay(QPainter* painter, QStyleOptionViewItem const& option, QRect const& rect,
        QString const& text) const override;
};
