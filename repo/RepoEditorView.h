#pragma once

#include "packagetable/HTableView.h"

namespace RepoEditor
{
class ContextMenu;
class Model;
class SortFilterProxyModel;

// The editor's table.  One click on a Sess or Perm cell toggles it, as Space
// does on the current cell; Delete asks for the selected rows to be removed
// and Enter or a double click for the current one to be edited.  Rows and
// indexes given out are the model's, not the proxy's.
class View : public HTableView
{
    Q_OBJECT

public:
    View(Model* model, SortFilterProxyModel* proxy, QWidget* parent = nullptr);

    ContextMenu* contextMenu() const { return menu; }
    // The model row of the current index, -1 for none.
    int currentRow() const;
    // Makes the model's `row` current and selects it; -1 clears both.
    void setCurrentRow(int row);
    // One model index (column 0) per selected row.
    QModelIndexList selectedRows() const;

Q_SIGNALS:
    // Model rows, -1 for none.
    void currentChanged(int previous, int current);
    // A model index the user wants to edit.
    void sourceActivated(QModelIndex const& index);
    void removeRequested();

protected:
    void currentChanged(QModelIndex const& current, QModelIndex const& previous) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

private:
    int sourceRow(QModelIndex const& index) const;
    // Toggles the cell if it is a Sess or Perm cell; false otherwise.
    bool toggle(QModelIndex const& index);
    void handleHeaderClicked(int column);
    void handleContextMenuRequested(QPoint const& position);

    Model* repoModel;
    SortFilterProxyModel* repoProxy;
    ContextMenu* menu;
};
} // namespace RepoEditor
