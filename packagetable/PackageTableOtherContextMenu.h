#pragma once

#include <QMenu>
#include <QPersistentModelIndex>

namespace PackageTable
{

class Model;
class View;

// The menu of every column but Action: "&Describe" the package, and, on the
// Repository column, "Browse Repository".  Each is offered only when the
// model has a viewer for it.
class OtherContextMenu : public QMenu
{
    Q_OBJECT

public:
    OtherContextMenu(Model* model, View* view, QWidget* parent = nullptr);

    // Runs the menu at `globalPos` for the model index `index`; shows nothing
    // and returns null when no item applies.
    QAction* exec(QModelIndex const& index, QPoint const& globalPos);

public Q_SLOTS:
    void handleDescribeAction();
    void handleBrowseAction();

private:
    Model* model;
    View* view;
    QPersistentModelIndex index;
    QAction* describeAction;
    QAction* browseAction;
};

} // namespace PackageTable
