#include "widgets/HSeparator.h"

HSeparator::HSeparator(QWidget* parent)
    : HSeparator(Qt::Horizontal, parent)
{
}

HSeparator::HSeparator(Qt::Orientation orientation, QWidget* parent)
    : QFrame(parent)
{
    setFrameStyle((orientation == Qt::Horizontal ? QFrame::HLine : QFrame::VLine) | QFrame::Sunken);
}
