#include "packagetable/PackageTableModel.h"

#include "app/Colors.h"
#include "app/Share.h"
#include "packagetable/PackageTableDescribeDialog.h"
#include "yumio/YumIO.h"

namespace PackageTable
{

namespace
{
QIcon shareIcon(char const* path)
{
    return QIcon(Share::absolute(QString::fromLatin1(path)));
}
} // namespace

Model::Model(YumIO* yumIO, QObject* parent)
    : HAbstractTableModel(parent)
    , yumIO(yumIO)
    , outOfDateIcon(shareIcon("icons/out-of-date.png"))
    , upToDateIcon(shareIcon("icons/up-to-date.png"))
    , noneBoxIcon(shareIcon("icons/noneBox.png"))
    , updateBoxIcon(shareIcon("icons/updateBox.png"))
    , installBoxIcon(shareIcon("icons/installBox.png"))
    , removeBoxIcon(shareIcon("icons/removeBox.png"))
    , suiteIcon(shareIcon("icons/suite.png"))
    , groupIcon(shareIcon("icons/group.png"))
    , packageIcon(shareIcon("icons/package.png"))
    , outOfDateColor(Colors::error())
    , outOfDateDisabledColor(Colors::errorDisabled())
    , availableColor(Colors::minor())
    , availableDisabledColor(Colors::minorDisabled())
{
    describer = [this](YumIO* session, Package::Entry const& entry, YumConfIO* confIO, QWidget* parent) {
        if (!describeDialog)
            describeDialog = new Describe::Dialog(parent);
        describeDialog->config(session, entry, confIO);
        describeDialog->exec();
    };
}

int Model::rowCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : yumIO->count();
}

int Model::columnCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

Package::Entry* Model::entry(int row) const
{
    if (row < 0 || row >= yumIO->count())
        return nullptr;
    return (*yumIO)[row];
}

Package::Entry* Model::entry(QModelIndex const& index) const
{
    return index.isValid() ? entry(index.row()) : nullptr;
}

QString Model::versionText(Package::Entry const& entry) const
{
    int const implied = entry.state == Package::AvailableForUpdate ? 1 : 0;
    QString text = yumIO->getVerRel(entry);
    if (entry.instances() > implied)
        text += QLatin1String(" *");
    return text;
}

QString Model::versionToolTip(Package::Entry const& entry) const
{
    QString tip;
    for (Package::Entry const* instance = &entry; instance; instance = instance->next) {
        QString const line
            = instance->state == Package::Installed ? tr("Installed: %1\n") : tr("Available: %1\n");
        tip += line.arg(yumIO->getVerRel(*instance));
    }
    if (tip.endsWith(QLatin1Char('\n')))
        tip.chop(1);
    return tip;
}

QString Model::text(Package::Entry const& entry, int column) const
{
    switch (column) {
    case NameColumn:
        return yumIO->getName(entry);
    case VersionColumn:
        return versionText(entry);
    case RepositoryColumn:
        return yumIO->getRepo(entry);
    case ArchitectureColumn:
        return yumIO->getArch(entry);
    case SizeColumn:
        return yumIO->getSize(entry);
    case BuildTimeColumn:
        return yumIO->getBuildTime(entry);
    }
    return QString();
}

QVariant Model::data(QModelIndex const& index, int role) const
{
    Package::Entry* const e = entry(index);
    if (!e || index.column() < 0 || index.column() >= ColumnCount)
        return QVariant();
    int const column = index.column();

    switch (role) {
    case Qt::DisplayRole:
        if (column >= NameColumn)
            return text(*e, column);
        return QVariant();

    case Qt::DecorationRole:
        switch (column) {
        case ActionColumn:
            switch (e->action) {
            case Package::Update:
                return updateBoxIcon;
            case Package::Install:
                return installBoxIcon;
            case Package::Remove:
                return removeBoxIcon;
            case Package::NoAction:
                return noneBoxIcon;
            }
            return QVariant();
        case StateColumn:
            switch (e->state) {
            case Package::AvailableForUpdate:
                return outOfDateIcon;
            case Package::Installed:
                return upToDateIcon;
            case Package::Available:
                break;
            }
            return QVariant();
        case KindColumn:
            switch (e->kind) {
            case Package::Suite:
                return suiteIcon;
            case Package::Group:
                return groupIcon;
            case Package::Ordinary:
                return packageIcon;
            }
            return QVariant();
        }
        return QVariant();

    case Qt::AccessibleTextRole:
        // What a screen reader says for the cells that show only an icon.
        switch (column) {
        case ActionColumn:
            switch (e->action) {
            case Package::Update:
                return tr("Update");
            case Package::Install:
                return tr("Install");
            case Package::Remove:
                return tr("Remove");
            case Package::NoAction:
                return tr("No action");
            }
            return QVariant();
        case StateColumn:
            switch (e->state) {
            case Package::AvailableForUpdate:
                return tr("Out of date");
            case Package::Available:
                return tr("Available");
            case Package::Installed:
                return tr("Installed");
            }
            return QVariant();
        case KindColumn:
            switch (e->kind) {
            case Package::Suite:
                return tr("Suite");
            case Package::Group:
                return tr("Group");
            case Package::Ordinary:
                return tr("Package");
            }
            return QVariant();
        }
        return text(*e, column);

    case Qt::ToolTipRole:
    case Qt::AccessibleDescriptionRole:
        switch (column) {
        case ActionColumn:
            switch (e->action) {
            case Package::Update:
                return tr("Update package");
            case Package::Install:
                return tr("Install package");
            case Package::Remove:
                return tr("Remove package");
            case Package::NoAction:
                break;
            }
            return QVariant();
        case StateColumn:
            switch (e->state) {
            case Package::AvailableForUpdate:
                return tr("Package is available to update an out-of-date version");
            case Package::Available:
                return tr("Package is available for installation");
            case Package::Installed:
                return tr("Package is installed and up-to-date");
            }
            return QVariant();
        case KindColumn:
            switch (e->kind) {
            case Package::Suite:
                return tr("Suite of packages");
            case Package::Group:
                return tr("Group of packages");
            case Package::Ordinary:
                return tr("Ordinary package");
            }
            return QVariant();
        case VersionColumn:
            return versionToolTip(*e);
        }
        return QVariant();

    case Qt::ForegroundRole:
        if (column < KindColumn)
            return QVariant();
        switch (e->state) {
        case Package::AvailableForUpdate:
            return enabled ? outOfDateColor : outOfDateDisabledColor;
        case Package::Available:
            return enabled ? availableColor : availableDisabledColor;
        case Package::Installed:
            // No colour of its own: the palette's text colour, whatever the
            // theme, enabled or not.
            break;
        }
        return QVariant();
    }
    return QVariant();
}

QVariant Model::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return QVariant();
    if (role == Qt::DisplayRole) {
        switch (section) {
        case ActionColumn:
            return tr("Action");
        case StateColumn:
            return tr("State");
        case KindColumn:
            return tr("Kind");
        case NameColumn:
            return tr("Name");
        case VersionColumn:
            return tr("Version");
        case RepositoryColumn:
            return tr("Repository");
        case ArchitectureColumn:
            return tr("Architecture");
        case SizeColumn:
            return tr("Size");
        case BuildTimeColumn:
            return tr("Build Time");
        }
    } else if (role == Qt::ToolTipRole) {
        switch (section) {
        case ActionColumn:
            return tr("Action to be performed on the package, if any: Update, Install, Remove");
        case StateColumn:
            return tr("Indicates whether the package is Installed or not and, if installed, whether it is "
                      "Up-to-date or not");
        case KindColumn:
            return tr(
                "Whether the package is an ordinary package, a suite of packages, or a group of packages");
        case NameColumn:
            return tr("Name of the package");
        case VersionColumn:
            return tr("Version and release of the package as version-release;\nIf the Epoch is non-zero, "
                      "includes it as epoch:version-release");
        case RepositoryColumn:
            return tr("Repository from which the most recent version of the package is available");
        case ArchitectureColumn:
            return tr("Architecture for which the package is applicable, or \"noarch\" for general-purpose "
                      "packages");
        case SizeColumn:
            return tr("Size of the package");
        case BuildTimeColumn:
            return tr("Date and time at which the package was created");
        }
    }
    return QVariant();
}

int Model::getState(int row) const
{
    Package::Entry const* e = entry(row);
    return e ? int(e->state) : -1;
}

void Model::emitActionChanged(int row)
{
    QModelIndex const cell = index(row, ActionColumn);
    Q_EMIT dataChanged(cell, cell);
}

void Model::setAction(QModelIndex const& index, Package::Action action)
{
    Package::Entry* e = entry(index);
    if (!e)
        return;
    e->action = action;
    emitActionChanged(index.row());
}

Package::Action Model::nextAction(Package::State state, Package::Action action)
{
    if (action == Package::NoAction) {
        switch (state) {
        case Package::AvailableForUpdate:
            return Package::Update;
        case Package::Available:
            return Package::Install;
        case Package::Installed:
            return Package::Remove;
        }
    } else if (action == Package::Update && state == Package::AvailableForUpdate) {
        return Package::Remove;
    }
    return Package::NoAction;
}

void Model::toggleAction(QModelIndex const& index)
{
    Package::Entry* e = entry(index);
    if (!e)
        return;
    e->action = nextAction(e->state, e->action);
    emitActionChanged(index.row());
}

void Model::setSelected(QModelIndexList const& indexes)
{
    for (QModelIndex const& index : indexes) {
        Package::Entry* e = entry(index);
        if (!e)
            continue;
        Package::Action wanted;
        if (e->state == Package::AvailableForUpdate)
            wanted = Package::Update;
        else if (e->state == Package::Available)
            wanted = Package::Install;
        else
            continue;
        if (e->action != wanted) {
            e->action = wanted;
            emitActionChanged(index.row());
        }
    }
}

void Model::clearActions()
{
    int row = 0;
    for (Package::Entry* e : *yumIO) {
        if (e->action != Package::NoAction) {
            e->action = Package::NoAction;
            emitActionChanged(row);
        }
        ++row;
    }
}

void Model::reset()
{
    beginResetModel();
    endResetModel();
}

void Model::describe(QModelIndex const& index, QWidget* parent)
{
    Package::Entry const* e = entry(index);
    if (e && describer)
        describer(yumIO, *e, yumConfIO, parent);
}

void Model::browse(QModelIndex const& index, QWidget* parent)
{
    Package::Entry const* e = entry(index);
    if (e && browser)
        browser(yumIO, *e, yumConfIO, parent);
}

} // namespace PackageTable
