#include "widgets/HFrameLabel.h"

#include <QPainter>

HFrameLabel::HFrameLabel(QWidget* parent)
    : HFrameLabel(QString(), parent)
{
}

HFrameLabel::HFrameLabel(QString const& text, QWidget* parent)
    : QLabel(text, parent)
{
    setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
    setMargin(3);
}

void HFrameLabel::paintEvent(QPaintEvent* event)
{
    if (text().isEmpty() && pixmap().isNull())
        return;
    {
        QPainter painter(this);
        painter.fillRect(rect(), palette().brush(QPalette::Window));
    }
    QLabel::paintEvent(event);
}
