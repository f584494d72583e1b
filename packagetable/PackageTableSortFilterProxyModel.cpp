#include "packagetable/PackageTableSortFilterProxyModel.h"

#include "packagetable/PackageTableModel.h"
#include "yumio/YumIO.h"

namespace PackageTable
{

SortFilterProxyModel::SortFilterProxyModel(
    StateFilter stateFilter, bool dups, bool groups, YumIO* yumIO, QObject* parent)
    : HSortFilterProxyModel(NameColumn, parent)
    , stateFilter(stateFilter)
    , dups(dups)
    , groups(groups)
    , yumIO(yumIO)
{
}

void SortFilterProxyModel::setSourceModel(HAbstractTableModel* source)
{
    if (model)
        disconnect(model, &QAbstractItemModel::modelAboutToBeReset, this, nullptr);
    cache.clear();
    model = qobject_cast<Model*>(source);
    HSortFilterProxyModel::setSourceModel(model);
    if (model) {
        // A reset of the model is a new collection, whose entries the old
        // verdicts do not describe; the proxy's own resets change nothing.
        connect(model, &QAbstractItemModel::modelAboutToBeReset, this, [this] {
            if (!isRediscovering())
                clearCache();
        });
    }
}

void SortFilterProxyModel::clearCache()
{
    cache.clear();
}

void SortFilterProxyModel::clear()
{
    cache.clear();
    HSortFilterProxyModel::clear();
}

void SortFilterProxyModel::setMode(Mode value)
{
    if (value == mode)
        return;
    mode = value;
    clear();
}

void SortFilterProxyModel::setStateFilter(StateFilter value)
{
    if (value == stateFilter)
        return;
    stateFilter = value;
    clear();
}

void SortFilterProxyModel::setDupsFilter(bool value)
{
    if (value == dups)
        return;
    dups = value;
    clear();
}

void SortFilterProxyModel::setGroupsFilter(bool value)
{
    if (value == groups)
        return;
    groups = value;
    clear();
}

void SortFilterProxyModel::setFilter(bool value)
{
    if (value == filter)
        return;
    filter = value;
    clear();
}

QString SortFilterProxyModel::stripWildcards(QString const& text)
{
    static QLatin1String const any(".*");
    QString stripped = text;
    while (stripped.startsWith(any))
        stripped.remove(0, any.size());
    while (stripped.endsWith(any)) {
        // "\.*" is any number of dots, not a wildcard: removing ".*" would
        // leave a dangling backslash.
        qsizetype backslashes = 0;
        for (qsizetype i = stripped.size() - any.size() - 1; i >= 0 && stripped[i] == QLatin1Char('\\'); --i)
            ++backslashes;
        if (backslashes % 2 != 0)
            break;
        stripped.chop(any.size());
    }
    return stripped;
}

void SortFilterProxyModel::setFilterRegExp(QString const& text)
{
    QString const stripped = stripWildcards(text);
    regex.compile(stripped.toUtf8());
    if (stripped != expression)
        cache.clear();
    expression = stripped;
    HSortFilterProxyModel::setFilterRegExp(stripped);
    // Decide every entry now, in one go, rather than piecemeal as the view
    // scrolls: in Search mode this is the long part.
    if (model) {
        for (int row = 0, rows = model->rowCount(); row < rows; ++row)
            filterAcceptsRow(row, QModelIndex());
    }
}

bool SortFilterProxyModel::matches(QString const& text) const
{
    return regex.matches(text.toUtf8());
}

bool SortFilterProxyModel::matchesAny(QStringList const& texts) const
{
    for (QString const& text : texts) {
        if (matches(text))
            return true;
    }
    return false;
}

void SortFilterProxyModel::setUpdateListed()
{
    if (!model)
        return;
    // The rows first: setting actions must not move rows under the loop.
    QList<QModelIndex> listed;
    for (int row = 0, rows = rowCount(); row < rows; ++row)
        listed.append(mapToSource(index(row, ActionColumn)));
    for (QModelIndex const& source : std::as_const(listed)) {
        Package::Entry const* e = model->entry(source);
        if (e && e->state == Package::AvailableForUpdate && e->action != Package::Update)
            model->setAction(source, Package::Update);
    }
}

bool SortFilterProxyModel::filterAcceptsRow(int sourceRow, QModelIndex const& sourceParent) const
{
    if (!filter)
        return true;
    if (!model || sourceParent.isValid())
        return false;
    Package::Entry* e = model->entry(sourceRow);
    if (!e)
        return false;
    auto const cached = cache.constFind(e);
    if (cached != cache.constEnd())
        return cached.value();
    bool const verdict = acceptRow(*e);
    cache.insert(e, verdict);
    return verdict;
}

bool SortFilterProxyModel::stateListed(Package::State state) const
{
    switch (stateFilter) {
    case Updatable:
        return state == Package::AvailableForUpdate;
    case Installable:
        return state == Package::Available;
    case Removable:
        return state != Package::Available;
    case All:
        return true;
    }
    return false;
}

bool SortFilterProxyModel::acceptRow(Package::Entry& e) const
{
    if (!stateListed(e.state))
        return false;
    if (!dups && e.superseded)
        return false;
    if (!groups && e.kind == Package::Group)
        return false;
    if (expression.isEmpty())
        return true;

    if (mode == Filter) {
        QString line;
        for (int column = NameColumn; column <= BuildTimeColumn; ++column) {
            if (!line.isEmpty())
                line += QLatin1Char(' ');
            line += model->text(e, column);
        }
        return matches(line);
    }

    switch (e.kind) {
    case Package::Group:
        return searchGroup(e);
    case Package::Ordinary:
    case Package::Suite:
        return searchPackage(e);
    }
    return false;
}

bool SortFilterProxyModel::searchGroup(Package::Entry const& e) const
{
    YumIO& s = *yumIO;
    return matches(s.getName(e)) || matchesAny(s.getRequiredGroups(e)) || matchesAny(s.getDefaultMetaPkgs(e))
        || matchesAny(s.getOptionalMetaPkgs(e)) || matchesAny(s.getMandatoryPkgs(e))
        || matchesAny(s.getDefaultPkgs(e)) || matchesAny(s.getOptionalPkgs(e))
        || matchesAny(s.getConditionalPkgs(e));
}

bool SortFilterProxyModel::searchPackage(Package::Entry const& e) const
{
    YumIO& s = *yumIO;
    // Files and change logs of packages that are not installed come from
    // extra data: searched only once the session has loaded it, never loaded
    // from here, in the middle of filtering.
    bool const installed = e.state == Package::Installed;
    return matches(s.getName(e)) || matches(s.getVerRel(e)) || matches(s.getRepo(e)) || matches(s.getArch(e))
        || matches(s.getSize(e)) || matches(s.getSummary(e)) || matches(s.getDescription(e))
        || matches(s.getGroup(e)) || matches(s.getVendor(e)) || matches(s.getBuildTime(e))
        || matches(s.getInstallTime(e)) || matches(s.getBinaryRpm(e)) || matches(s.getSourceRpm(e))
        || matches(s.getLicense(e)) || matches(s.getPackager(e)) || matches(s.getUrl(e))
        || matchesAny(s.getRelocations(e)) || matchesAny(s.getProvides(e)) || matchesAny(s.getRequires(e))
        || matchesAny(s.getConflicts(e)) || matchesAny(s.getObsoletes(e))
        || ((installed || s.fileListsLoaded()) && matchesAny(s.getFiles(e)))
        || ((installed || s.otherDataLoaded()) && matches(s.getChangeLog(e)));
}

qint32 SortFilterProxyModel::sortKey(Package::Entry const& e, int column)
{
    switch (column) {
    case ActionColumn:
        return e.action;
    case StateColumn:
        return e.state;
    case KindColumn:
        return e.kind;
    case SizeColumn:
        // Compared as 32 bits, as the table always has: sizes of 2 GiB and
        // more wrap around.
        return static_cast<qint32>(e.size);
    case BuildTimeColumn:
        return static_cast<qint32>(e.buildTime);
    }
    return 0;
}

bool SortFilterProxyModel::lessThan(QModelIndex const& left, QModelIndex const& right) const
{
    if (!left.model() || !right.model())
        return false;
    Package::Entry const* l = model ? model->entry(left) : nullptr;
    Package::Entry const* r = model ? model->entry(right) : nullptr;
    if (!l || !r)
        return HSortFilterProxyModel::lessThan(left, right);

    // The same comparisons as the user and display roles give, read from the
    // entries directly: sorting 70,000 rows makes a million of them.
    int const column = left.column();
    switch (column) {
    case ActionColumn:
    case StateColumn:
    case KindColumn:
    case SizeColumn:
    case BuildTimeColumn: {
        qint32 const a = sortKey(*l, column);
        qint32 const b = sortKey(*r, column);
        if (a != b)
            return a < b;
        return secondaryLessThan(left, right);
    }
    default: {
        int const order
            = QString::compare(model->text(*l, column), model->text(*r, column), Qt::CaseSensitive);
        if (order != 0)
            return order < 0;
        return secondaryLessThan(left, right);
    }
    }
}

} // namespace PackageTable
