#pragma once

#include "packagetable/HAbstractTableModel.h"
#include "repo/RepoEntry.h"

#include <QFont>
#include <QIcon>

class QWidget;
class YumConfIO;
class YumIO;

namespace RepoEditor
{
// The repositories of YumConfIO's list, one row each in list order: whether
// each is used in this session (column 0) and enabled in its file (column 1),
// its identifier and its name.  The model works on YumConfIO's own list and
// session table; whoever changes either behind its back calls reset().
class Model : public HAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { SessionColumn, PermanentColumn, IdColumn, NameColumn, ColumnCount };

    Model(YumIO* yum, YumConfIO* conf, QObject* parent = nullptr);

    int rowCount(QModelIndex const& parent = QModelIndex()) const override;
    int columnCount(QModelIndex const& parent = QModelIndex()) const override;
    QVariant data(QModelIndex const& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    bool removeRows(int row, int count, QModelIndex const& parent = QModelIndex()) override;

    // Unnamed repositories are shown in an italic copy of this font.
    void setViewFont(QFont const& font);
    // Whether the repository is enabled unless the session says otherwise:
    // its own key, or [main]'s when it has none.
    bool effectivelyEnabled(Repo::Entry const& entry) const;

    // Flips the session state of the row's identifier.
    void toggleUse(QModelIndex const& index);
    // Flips the row's enabled key between On and Off; it never returns to
    // Unset, so that the file states what the user chose.
    void toggleEnabled(QModelIndex const& index);
    // Appends the entry; returns its row.
    int addRow(Repo::Entry const& entry);
    // Announces that the row's entry was changed in place.
    void rowChanged(int row);
    void reset();
    void browse(QModelIndex const& index, QWidget* parent);

Q_SIGNALS:
    // A session state was toggled.
    void useChanged();
    // The repository list now differs from the files.
    void configChanged();

private:
    YumIO* yum;
    YumConfIO* conf;
    QFont italicFont;
    QIcon uncheckedIcon;
    QIcon checkedIcon;
};
} // namespace RepoEditor
