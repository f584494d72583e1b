#pragma once

#include <QLabel>

// A label in a sunken panel, filled with its palette's Window colour, for
// status and warning texts.  While it has no text it draws nothing at all, so
// that it can keep its room in a layout without showing an empty box.
class HFrameLabel : public QLabel
{
    Q_OBJECT

public:
    explicit HFrameLabel(QWidget* parent = nullptr);
    explicit HFrameLabel(QString const& text, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};
