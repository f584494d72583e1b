#pragma once

#include <QMenu>
#include <QPersistentModelIndex>

namespace RepoEditor
{
class Model;

// The menu of a repository's row: edit it, or browse its first URL.
class ContextMenu : public QMenu
{
    Q_OBJECT

public:
    ContextMenu(Model* model, QWidget* parent);

    // Shows the menu at the global `position` for the model's `index`.
    void exec(QModelIndex const& index, QPoint const& position);

Q_SIGNALS:
    void edit(QModelIndex const& index);

private:
    Model* model;
    QPersistentModelIndex index;
};
} // namespace RepoEditor
