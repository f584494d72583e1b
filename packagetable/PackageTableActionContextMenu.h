#pragma once

#include "yumio/Package.h"

#include <QMenu>
#include <QPersistentModelIndex>

namespace PackageTable
{

class Model;
class View;

// The menu of the Action column: Update, Install, Remove and No Action, each
// enabled when it is legal for some row concerned (the selected rows, or the
// row clicked when nothing is selected).  Chosen for a selection, an action
// is set only on the rows for which it is legal.
class ActionContextMenu : public QMenu
{
    Q_OBJECT

public:
    ActionContextMenu(Model* model, View* view, QWidget* parent = nullptr);

    // Runs the menu at `globalPos` for the model index `index`.
    QAction* exec(QModelIndex const& index, QPoint const& globalPos);

    // Whether `action` may be set on an entry in `state`.
    static bool isLegal(int state, Package::Action action);

public Q_SLOTS:
    void handleUpdateAction();
    void handleInstallAction();
    void handleRemoveAction();
    void handleNoneAction();

private:
    void handleAction(Package::Action action);

    Model* model;
    View* view;
    QPersistentModelIndex index;
    QAction* updateAction;
    QAction* installAction;
    QAction* removeAction;
    QAction* noneAction;
};

} // namespace PackageTable
