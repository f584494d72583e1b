#include "repo/RepoEditorView.h"

#include "repo/RepoEditorContextMenu.h"
#include "repo/RepoEditorModel.h"
#include "repo/RepoEditorSortFilterProxyModel.h"

#include <QHeaderView>
#include <QKeyEvent>

namespace RepoEditor
{

View::View(Model* model, SortFilterProxyModel* proxy, QWidget* parent)
    : HTableView(10, 30, parent)
    , repoModel(model)
    , repoProxy(proxy)
    , menu(new ContextMenu(model, this))
{
    setObjectName(QStringLiteral("repoTable"));
    repoProxy->setSourceModel(model);
    setModel(proxy);
    setShowGrid(false);
    setAlternatingRowColors(true);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setContextMenuPolicy(Qt::CustomContextMenu);
    setTabKeyNavigation(false);
    verticalHeader()->hide();

    QHeaderView* header = horizontalHeader();
    header->setStretchLastSection(true);
    header->setSectionsMovable(true);
    header->setSectionsClickable(true);
    // The header flips the indicator on a click before it reports the click,
    // so that a second click on a column reverses its order.
    header->setSortIndicatorShown(true);

    connect(header, &QHeaderView::sectionClicked, this, &View::handleHeaderClicked);
    connect(this, &QAbstractItemView::clicked, this, &View::toggle);
    connect(this, &QAbstractItemView::doubleClicked, this, [this](QModelIndex const& index) {
        // A double click on a toggle is two toggles, not an edit.
        if (index.column() != Model::SessionColumn && index.column() != Model::PermanentColumn)
            Q_EMIT sourceActivated(this->repoProxy->mapToSource(index));
    });
    connect(this, &QWidget::customContextMenuRequested, this, &View::handleContextMenuRequested);
}

int View::sourceRow(QModelIndex const& index) const
{
    QModelIndex const source = repoProxy->mapToSource(index);
    return source.isValid() ? source.row() : -1;
}

int View::currentRow() const
{
    return sourceRow(currentIndex());
}

void View::setCurrentRow(int row)
{
    QModelIndex const index = repoProxy->mapFromSource(repoModel->index(row, Model::IdColumn));
    if (!index.isValid()) {
        selectionModel()->clear();
        return;
    }
    selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    scrollTo(index);
}

QModelIndexList View::selectedRows() const
{
    QModelIndexList rows;
    for (QModelIndex const& index : HTableView::selectedRows())
        rows.append(repoProxy->mapToSource(index));
    return rows;
}

bool View::toggle(QModelIndex const& index)
{
    QModelIndex const source = repoProxy->mapToSource(index);
    if (source.column() == Model::SessionColumn)
        repoModel->toggleUse(source);
    else if (source.column() == Model::PermanentColumn)
        repoModel->toggleEnabled(source);
    else
        return false;
    return true;
}

void View::handleHeaderClicked(int column)
{
    HTableView::sortByColumn(column);
    repoProxy->setFilterKeyColumn(column);
}

void View::handleContextMenuRequested(QPoint const& position)
{
    QModelIndex const source = repoProxy->mapToSource(indexAt(position));
    if (source.isValid() && source.column() != Model::SessionColumn
        && source.column() != Model::PermanentColumn)
        menu->exec(source, viewport()->mapToGlobal(position));
}

void View::currentChanged(QModelIndex const& current, QModelIndex const& previous)
{
    HTableView::currentChanged(current, previous);
    int const previousRow = sourceRow(previous);
    int const currentRow = sourceRow(current);
    if (previousRow != currentRow)
        Q_EMIT currentChanged(previousRow, currentRow);
}

void View::focusInEvent(QFocusEvent* event)
{
    HTableView::focusInEvent(event);
    // Focus from the keyboard makes the first row current; select it too, so
    // that the buttons act on the row the user sees marked.
    if (currentIndex().isValid() && !selectionModel()->hasSelection())
        selectionModel()->select(currentIndex(), QItemSelectionModel::Select | QItemSelectionModel::Rows);
}

void View::keyPressEvent(QKeyEvent* event)
{
    bool const plain = !(event->modifiers() & ~Qt::KeypadModifier);
    bool handled = false;
    if (plain && event->key() == Qt::Key_Delete
        && (currentIndex().isValid() || selectionModel()->hasSelection())) {
        Q_EMIT removeRequested();
        handled = true;
    } else if (plain && currentIndex().isValid()) {
        switch (event->key()) {
        case Qt::Key_Space:
            handled = toggle(currentIndex());
            break;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            Q_EMIT sourceActivated(repoProxy->mapToSource(currentIndex()));
            handled = true;
            break;
        default:
            break;
        }
    }
    if (handled)
        event->accept();
    else
        HTableView::keyPressEvent(event);
}

} // namespace RepoEditor
