#include "packagetable/HItemDelegate.h"

void HItemDelegate::drawDisplay(
    QPainter* painter, QStyleOptionViewItem const& option, QRect const& rect, QString const& text) const
{
    QStyleOptionViewItem unwrapped(option);
    unwrapped.features &= ~QStyleOptionViewItem::WrapText;
    QItemDelegate::drawDisplay(painter, unwrapped, rect, text);
}
