#pragma once

#include "packagetable/HTableView.h"

namespace PackageTable
{

class ActionContextMenu;
class Model;
class OtherContextMenu;
class SortFilterProxyModel;

// The package table on screen, where the user marks actions: a click in the
// Action column steps the row's action through its cycle, a right click there
// offers the actions legal for the selected rows, and a right click elsewhere
// offers what can be shown about the package.  Rows and indexes given out are
// the model's, not the proxy's.
class View : public HTableView
{
    Q_OBJECT

public:
    View(Model* model, SortFilterProxyModel* proxy, QWidget* parent = nullptr);

    Model* tableModel() const { return packageModel; }
    SortFilterProxyModel* proxyModel() const { return packageProxy; }

    // One model index (column 0) per selected row.
    QModelIndexList selectedRows() const;
    // The widest cell of the column over every entry of the model, listed or
    // not: columns sized to contents (resizeColumnsToContents()) then fit
    // whatever a later filter lists.
    int sizeHintForColumn(int column) const override;

Q_SIGNALS:
    // The model rows of the new and the previous current row; -1 for none.
    void currentChanged(int current, int previous);
    // The model row whose action changed, or -1 when several may have.
    void stateChanged(int row);

public Q_SLOTS:
    // Describes the current row's package; a double click on a row (but on
    // its Action cell, which cycles the action) and Enter do too.
    void describe();
    void handleHorizontalHeaderClicked(int column);
    void handleActivated(QModelIndex const& index);
    void handleCustomContextMenuRequested(QPoint const& pos);
    void handleDoubleClicked(QModelIndex const& index);

protected:
    void currentChanged(QModelIndex const& current, QModelIndex const& previous) override;
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool event(QEvent* event) override;

private:
    int sourceRow(QModelIndex const& index) const;
    void fitRowHeight();

    Model* packageModel;
    SortFilterProxyModel* packageProxy;
    ActionContextMenu* actionMenu = nullptr;
    OtherContextMenu* otherMenu = nullptr;
};

} // namespace PackageTable
