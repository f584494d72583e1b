#pragma once

#include <QScrollArea>

// A scroll area that asks for as much room as its content wants, up to two
// thirds of the screen in each direction, and scrolls beyond that.  A plain
// QScrollArea asks for a small fixed size, which makes a dialog with little
// content scroll for no reason.
class HScrollArea : public QScrollArea
{
    Q_OBJECT

public:
    explicit HScrollArea(QWidget* parent = nullptr);

    QSize sizeHint() const override;
};
