#include "repo/RepoEditorContextMenu.h"

#include "repo/RepoEditorModel.h"

namespace RepoEditor
{

ContextMenu::ContextMenu(Model* model, QWidget* parent)
    : QMenu(parent)
    , model(model)
{
    QAction* editAction = addAction(tr("Edit"));
    editAction->setObjectName(QStringLiteral("editAction"));
    connect(editAction, &QAction::triggered, this, [this] { Q_EMIT edit(index); });
    QAction* browseAction = addAction(tr("Browse Repository"));
    browseAction->setObjectName(QStringLiteral("browseAction"));
    connect(browseAction, &QAction::triggered, this, [this] { this->model->browse(index, parentWidget()); });
}

void ContextMenu::exec(QModelIndex const& index, QPoint const& position)
{
    this->index = index;
    QMenu::exec(position);
}

} // namespace RepoEditor
