#include "packagetable/PackageTableActionContextMenu.h"

#include "app/Share.h"
#include "packagetable/PackageTableModel.h"
#include "packagetable/PackageTableView.h"

namespace PackageTable
{

ActionContextMenu::ActionContextMenu(Model* model, View* view, QWidget* parent)
    : QMenu(parent)
    , model(model)
    , view(view)
{
    setObjectName(QStringLiteral("actionContextMenu"));
    updateAction = addAction(QIcon(Share::absolute(QStringLiteral("icons/update.png"))), tr("&Update"), this,
        &ActionContextMenu::handleUpdateAction);
    installAction = addAction(QIcon(Share::absolute(QStringLiteral("icons/install.png"))), tr("&Install"),
        this, &ActionContextMenu::handleInstallAction);
    removeAction = addAction(QIcon(Share::absolute(QStringLiteral("icons/remove.png"))), tr("&Remove"), this,
        &ActionContextMenu::handleRemoveAction);
    noneAction = addAction(QIcon(), tr("&No Action"), this, &ActionContextMenu::handleNoneAction);
}

bool ActionContextMenu::isLegal(int state, Package::Action action)
{
    if (action == Package::NoAction)
        return true;
    switch (state) {
    case Package::AvailableForUpdate:
        return action == Package::Update || action == Package::Remove;
    case Package::Available:
        return action == Package::Install;
    case Package::Installed:
        return action == Package::Remove;
    }
    return false;
}

QAction* ActionContextMenu::exec(QModelIndex const& index, QPoint const& globalPos)
{
    this->index = index;
    QModelIndexList rows = view->selectedRows();
    if (rows.isEmpty())
        rows.append(index);

    bool update = false;
    bool install = false;
    bool remove = false;
    for (QModelIndex const& row : std::as_const(rows)) {
        int const state = model->getState(row.row());
        update = update || isLegal(state, Package::Update);
        install = install || isLegal(state, Package::Install);
        remove = remove || isLegal(state, Package::Remove);
    }
    updateAction->setEnabled(update);
    installAction->setEnabled(install);
    removeAction->setEnabled(remove);
    noneAction->setEnabled(true);
    return QMenu::exec(globalPos);
}

void ActionContextMenu::handleUpdateAction()
{
    handleAction(Package::Update);
}

void ActionContextMenu::handleInstallAction()
{
    handleAction(Package::Install);
}

void ActionContextMenu::handleRemoveAction()
{
    handleAction(Package::Remove);
}

void ActionContextMenu::handleNoneAction()
{
    handleAction(Package::NoAction);
}

void ActionContextMenu::handleAction(Package::Action action)
{
    QModelIndexList const rows = view->selectedRows();
    if (rows.isEmpty()) {
        model->setAction(index, action);
        return;
    }
    for (QModelIndex const& row : rows) {
        if (isLegal(model->getState(row.row()), action))
            model->setAction(row, action);
    }
}

} // namespace PackageTable
