#include "repo/RepoEditorModel.h"

#include "app/Share.h"
#include "repo/RepoBrowse.h"
#include "repo/YumConfIO.h"

namespace RepoEditor
{

Model::Model(YumIO* yum, YumConfIO* conf, QObject* parent)
    : HAbstractTableModel(parent)
    , yum(yum)
    , conf(conf)
    , uncheckedIcon(Share::absolute(QStringLiteral("icons/noneBox.png")))
    , checkedIcon(Share::absolute(QStringLiteral("icons/checkBox.png")))
{
    italicFont.setItalic(true);
}

int Model::rowCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : int(conf->repos().size());
}

int Model::columnCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

bool Model::effectivelyEnabled(Repo::Entry const& entry) const
{
    return entry.enabled == Repo::Entry::On || (entry.enabled == Repo::Entry::Unset && conf->mainEnabled());
}

QVariant Model::data(QModelIndex const& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return QVariant();
    Repo::Entry const& entry = conf->repos().at(index.row());
    bool const session = conf->sessionEnabled().value(entry.id);
    switch (index.column()) {
    case SessionColumn:
        if (role == Qt::DecorationRole)
            return session ? checkedIcon : uncheckedIcon;
        if (role == Qt::ToolTipRole)
            return session ? tr("Repository is enabled for this session")
                           : tr("Repository is not enabled for this session");
        break;
    case PermanentColumn:
        if (role == Qt::DecorationRole)
            return effectivelyEnabled(entry) ? checkedIcon : uncheckedIcon;
        // Chosen by the session state, as in the Sess column.
        if (role == Qt::ToolTipRole)
            return session ? tr("Repository is configured to be enabled")
                           : tr("Repository is not configured to be enabled");
        break;
    case IdColumn:
        if (role == Qt::DisplayRole)
            return entry.id.isEmpty() ? tr("(new)") : entry.id;
        if (role == Qt::FontRole && entry.id.isEmpty())
            return italicFont;
        break;
    case NameColumn:
        if (role == Qt::DisplayRole)
            return entry.name;
        break;
    }
    return QVariant();
}

QVariant Model::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || (role != Qt::DisplayRole && role != Qt::ToolTipRole))
        return QVariant();
    bool const tip = role == Qt::ToolTipRole;
    switch (section) {
    case SessionColumn:
        return tip ? tr("Whether or not the repository is used during this session.\nIt overrides the "
                        "persistent Enabled flag in the repository configuration.")
                   : tr("Sess");
    case PermanentColumn:
        return tip ? tr("Whether or not the repository is configured to be enabled by default.\nIt can be "
                        "overridden for a particular session.")
                   : tr("Perm");
    case IdColumn:
        return tip ? tr("Unique identifier for the repository") : tr("Identifier");
    case NameColumn:
        return tip ? tr("Description of the repository") : tr("Name");
    default:
        return QVariant();
    }
}

bool Model::removeRows(int row, int count, QModelIndex const& parent)
{
    if (parent.isValid() || row < 0 || count < 1 || row + count > rowCount())
        return false;
    beginRemoveRows(parent, row, row + count - 1);
    conf->repos().remove(row, count);
    endRemoveRows();
    return true;
}

void Model::setViewFont(QFont const& font)
{
    italicFont = font;
    italicFont.setItalic(true);
}

void Model::toggleUse(QModelIndex const& index)
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return;
    QHash<QString, bool>& session = conf->sessionEnabled();
    QString const id = conf->repos().at(index.row()).id;
    session.insert(id, !session.value(id));
    // Both tool-tips follow the session state, and rows sharing the
    // identifier share it.
    Q_EMIT dataChanged(this->index(0, SessionColumn), this->index(rowCount() - 1, PermanentColumn));
    Q_EMIT useChanged();
}

void Model::toggleEnabled(QModelIndex const& index)
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return;
    Repo::Entry& entry = conf->repos()[index.row()];
    entry.enabled = effectivelyEnabled(entry) ? Repo::Entry::Off : Repo::Entry::On;
    QModelIndex const cell = this->index(index.row(), PermanentColumn);
    Q_EMIT dataChanged(cell, cell);
    Q_EMIT configChanged();
}

int Model::addRow(Repo::Entry const& entry)
{
    int const row = rowCount();
    beginInsertRows(QModelIndex(), row, row);
    conf->repos().append(entry);
    endInsertRows();
    return row;
}

void Model::rowChanged(int row)
{
    if (row >= 0 && row < rowCount())
        Q_EMIT dataChanged(index(row, 0), index(row, ColumnCount - 1));
}

void Model::reset()
{
    forceSortColumnRediscovery();
}

void Model::browse(QModelIndex const& index, QWidget* parent)
{
    if (checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        RepoBrowse::browse(parent, conf->repos().at(index.row()), yum);
}

} // namespace RepoEditor
