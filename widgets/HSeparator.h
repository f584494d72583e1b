#pragma once

#include <QFrame>

// A sunken line between parts of a dialog.
class HSeparator : public QFrame
{
    Q_OBJECT

public:
    explicit HSeparator(QWidget* parent = nullptr);
    explicit HSeparator(Qt::Orientation orientation, QWidget* parent = nullptr);
};
