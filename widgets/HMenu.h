#pragma once

#include <QMenu>

// A menu that shows the tool-tips of its actions while the pointer rests on
// them: several of the program's menu items explain themselves that way.
class HMenu : public QMenu
{
    Q_OBJECT

public:
    explicit HMenu(QWidget* parent = nullptr);
    explicit HMenu(QString const& title, QWidget* parent = nullptr);
};
