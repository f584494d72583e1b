#include "widgets/HScrollArea.h"

#include <QScreen>
#include <QScrollBar>
#include <algorithm>

HScrollArea::HScrollArea(QWidget* parent)
    : QScrollArea(parent)
{
    setWidgetResizable(true);
}

QSize HScrollArea::sizeHint() const
{
    QWidget const* content = widget();
    if (!content)
        return QScrollArea::sizeHint();
    QSize const wanted
        = content->sizeHint().expandedTo(content->minimumSizeHint()).expandedTo(content->minimumSize());
    QSize limit(640, 480);
    if (QScreen const* s = screen())
        limit = s->availableGeometry().size() * 2 / 3;

    int const frame = 2 * frameWidth();
    int width = wanted.width() + frame;
    int height = wanted.height() + frame;
    // When one direction has to scroll, its scroll bar takes room from the
    // other direction.
    if (height > limit.height())
        width += verticalScrollBar()->sizeHint().width();
    if (width > limit.width())
        height += horizontalScrollBar()->sizeHint().height();
    return { std::min(width, limit.width()), std::min(height, limit.height()) };
}
