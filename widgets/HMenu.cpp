#include "widgets/HMenu.h"

HMenu::HMenu(QWidget* parent)
    : HMenu(QString(), parent)
{
}

HMenu::HMenu(QString const& title, QWidget* parent)
    : QMenu(title, parent)
{
    setToolTipsVisible(true);
}
