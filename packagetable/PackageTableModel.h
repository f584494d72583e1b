#pragma once

#include "packagetable/HAbstractTableModel.h"
#include "yumio/Package.h"

#include <QColor>
#include <QIcon>
#include <QPointer>
#include <functional>

class QWidget;
class YumConfIO;
class YumIO;

namespace PackageTable
{

namespace Describe
{
class Dialog;
}

enum Column : int {
    ActionColumn = 0,
    StateColumn = 1,
    KindColumn = 2,
    NameColumn = 3,
    VersionColumn = 4,
    RepositoryColumn = 5,
    ArchitectureColumn = 6,
    SizeColumn = 7,
    BuildTimeColumn = 8,
};
inline constexpr int ColumnCount = 9;

// The session's entries as a table of nine columns, one row per entry in the
// session's order.  The model keeps no copy: every call reads the session, so
// a new collection shows after reset().  It is the one place where the user's
// action is written into an entry.
class Model : public HAbstractTableModel
{
    Q_OBJECT

public:
    // Shows something about one entry in a window of its own, parented to
    // `parent`: the package's description, or its repository.
    using EntryViewer = std::function<void(YumIO*, Package::Entry const&, YumConfIO*, QWidget* parent)>;

    Model(YumIO* yumIO, QObject* parent = nullptr);
    void setYumConfIO(YumConfIO* confIO) { yumConfIO = confIO; }

    int rowCount(QModelIndex const& parent = QModelIndex()) const override;
    int columnCount(QModelIndex const& parent = QModelIndex()) const override;
    QVariant data(QModelIndex const& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    // The state of the entry in `row`; -1 for a row beyond the entries.
    int getState(int row) const;
    // Writes the action whatever the entry's state: callers offer only the
    // legal ones.
    void setAction(QModelIndex const& index, Package::Action action);
    // The next action of the entry's cycle: none, update, remove for an
    // out-of-date package; none, install for an available one; none, remove
    // for an installed one.
    void toggleAction(QModelIndex const& index);
    // Update for the out-of-date entries of the list, install for the
    // available ones; installed entries are left alone.
    void setSelected(QModelIndexList const& indexes);
    // No action for every entry.
    void clearActions();
    // Everything above re-reads the session.
    void reset();
    // Selects the enabled or the disabled text colours; emits nothing, since
    // the view that calls it repaints anyway.
    void setEnabled(bool enabled) { this->enabled = enabled; }
    bool isEnabled() const { return enabled; }

    // Describing a package and browsing its repository are offered only while
    // a viewer for them is set.  The describer is the description dialog
    // until another is set.
    void setDescriber(EntryViewer viewer) { describer = std::move(viewer); }
    bool canDescribe() const { return bool(describer); }
    void describe(QModelIndex const& index, QWidget* parent);
    void setBrowser(EntryViewer viewer) { browser = std::move(viewer); }
    bool canBrowse() const { return bool(browser); }
    void browse(QModelIndex const& index, QWidget* parent);

    YumIO* session() const { return yumIO; }
    // The entry of a row; null for an invalid index and for a row beyond the
    // entries.
    Package::Entry* entry(QModelIndex const& index) const;
    Package::Entry* entry(int row) const;
    // The display text of a column of 3 to 8; empty for the others.
    QString text(Package::Entry const& entry, int column) const;
    // The version-release, followed by " *" when the entry has more
    // instances than its state implies: more than one installed version
    // behind an update, or any further one behind another entry.
    QString versionText(Package::Entry const& entry) const;
    // The Version column's tool-tip: one line per instance.
    QString versionToolTip(Package::Entry const& entry) const;
    static Package::Action nextAction(Package::State state, Package::Action action);

private:
    void emitActionChanged(int row);

    YumIO* yumIO;
    YumConfIO* yumConfIO = nullptr;
    EntryViewer describer;
    EntryViewer browser;
    // Made on first use and kept; its parent, the first describer's, may
    // take it along.
    QPointer<Describe::Dialog> describeDialog;
    bool enabled = true;

    QIcon outOfDateIcon;
    QIcon upToDateIcon;
    QIcon emptyIcon;
    QIcon noneBoxIcon;
    QIcon updateBoxIcon;
    QIcon installBoxIcon;
    QIcon removeBoxIcon;
    QIcon suiteIcon;
    QIcon groupIcon;
    QIcon packageIcon;

    QColor outOfDateColor;
    QColor outOfDateDisabledColor;
    QColor availableColor;
    QColor availableDisabledColor;
};

} // namespace PackageTable
