#include "packagetable/PackageTableOtherContextMenu.h"

#include "packagetable/PackageTableModel.h"
#include "packagetable/PackageTableView.h"

namespace PackageTable
{

OtherContextMenu::OtherContextMenu(Model* model, View* view, QWidget* parent)
    : QMenu(parent)
    , model(model)
    , view(view)
{
    setObjectName(QStringLiteral("otherContextMenu"));
    describeAction = addAction(tr("&Describe"), this, &OtherContextMenu::handleDescribeAction);
    browseAction = addAction(tr("Browse Repository"), this, &OtherContextMenu::handleBrowseAction);
}

QAction* OtherContextMenu::exec(QModelIndex const& index, QPoint const& globalPos)
{
    this->index = index;
    describeAction->setVisible(model->canDescribe());
    browseAction->setVisible(model->canBrowse() && index.column() == RepositoryColumn);
    if (!describeAction->isVisible() && !browseAction->isVisible())
        return nullptr;
    return QMenu::exec(globalPos);
}

void OtherContextMenu::handleDescribeAction()
{
    model->describe(index, view);
}

void OtherContextMenu::handleBrowseAction()
{
    model->browse(index, view);
}

} // namespace PackageTable
