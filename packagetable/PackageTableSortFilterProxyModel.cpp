#include "packagetable/PackageTableSortFilterProxyModel.h"

#include "packagetable/PackageTableModel.h"
#include "yumio/YumIO.h"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace PackageTable
{

SortFilterProxyModel::SortFilterProxyModel(
    StateFilter stateFilter, bool dups, bool groups, YumIO* yumIO, QObject* parent)
    : HSortFilterProxyModel(parent)
    , stateFilter(stateFilter)
    , dups(dups)
    , groups(groups)
    , yumIO(yumIO)
{
    // File lists and change logs make packages that are not installed
    // searchable by more texts.
    if (yumIO)
        connect(yumIO, &YumIO::collectedExtraData, this, [this] { searchTexts.clear(); });
}

void SortFilterProxyModel::setSourceModel(HAbstractTableModel* source)
{
    if (model)
        disconnect(model, &QAbstractItemModel::modelAboutToBeReset, this, nullptr);
    forgetCollection();
    model = qobject_cast<Model*>(source);
    HSortFilterProxyModel::setSourceModel(model);
    if (model) {
        // A reset of the model is a new collection; the proxy's own resets
        // change nothing.
        connect(model, &QAbstractItemModel::modelAboutToBeReset, this, [this] {
            if (!isRediscovering())
                forgetCollection();
        });
    }
}

void SortFilterProxyModel::forgetCollection()
{
    cache.clear();
    facts.clear();
    lines.clear();
    searchTexts.clear();
    for (QList<qint32>& column : keys)
        column.clear();
    for (QList<qint64>& column : sortKeys)
        column.clear();
}

void SortFilterProxyModel::clearCache()
{
    cache.clear();
}

void SortFilterProxyModel::clear()
{
    cache.clear();
    decideAll();
    HSortFilterProxyModel::clear();
}

void SortFilterProxyModel::decideAll()
{
    // Every entry in one go, before the rows are rebuilt in row order: in
    // Search mode reading the texts is the long part, and their order matters.
    if (model && filter && cache.decided != model->rowCount()) {
        for (int row : decidingOrder())
            filterAcceptsRow(row, QModelIndex());
    }
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
    decideAll();
    HSortFilterProxyModel::setFilterRegExp(stripped);
}

QList<int> SortFilterProxyModel::decidingOrder() const
{
    int const rows = model->rowCount();
    QList<int> order(rows);
    std::iota(order.begin(), order.end(), 0);
    if (mode != Search || expression.isEmpty() || !yumIO)
        return order;
    QList<Package::Entry const*> unread;
    QHash<Package::Entry const*, int> rowOf;
    for (int row = 0; row < rows; ++row) {
        if (row < searchTexts.size() && !searchTexts[row].isNull())
            continue;
        Package::Entry const* e = model->entry(row);
        unread.append(e);
        rowOf.insert(e, row);
    }
    if (unread.isEmpty())
        return order;
    order.clear();
    for (Package::Entry const* e : yumIO->readingOrder(unread))
        order.append(rowOf.value(e));
    for (int row = 0; row < rows; ++row) {
        if (!rowOf.contains(model->entry(row)))
            order.append(row);
    }
    return order;
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
    // Asked of every row each time the rows are rebuilt: an array, not a hash.
    int const rows = model->rowCount();
    if (cache.byRow.size() != rows) {
        cache.clear();
        cache.byRow.fill(Verdicts::Unknown, rows);
    }
    if (sourceRow < 0 || sourceRow >= rows)
        return false;
    qint8& cached = cache.byRow[sourceRow];
    if (cached != Verdicts::Unknown)
        return cached == Verdicts::Yes;
    Package::Entry* e = model->entry(sourceRow);
    if (!e)
        return false;
    bool const verdict = acceptRow(*e, sourceRow);
    cached = verdict ? Verdicts::Yes : Verdicts::No;
    ++cache.decided;
    return verdict;
}

bool SortFilterProxyModel::stateListed(int state) const
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

namespace
{
// The packing of a row's facts: state and kind in two bits each, then the
// superseded flag.
constexpr quint8 superseded = 1 << 4;
quint8 pack(Package::Entry const& e)
{
    return quint8((e.state & 3) | (e.kind & 3) << 2 | (e.superseded ? superseded : 0));
}
} // namespace

QList<quint8> const& SortFilterProxyModel::factsOf(int rows) const
{
    if (facts.size() != rows) {
        facts.resize(rows);
        for (int row = 0; row < rows; ++row)
            facts[row] = pack(*model->entry(row));
    }
    return facts;
}

bool SortFilterProxyModel::acceptRow(Package::Entry const& e, int row) const
{
    // Read from the packed facts rather than the entries, which lie all over
    // memory: for a Filter-mode decision the entry is often never touched.
    quint8 const fact = factsOf(model->rowCount())[row];
    if (!stateListed(fact & 3))
        return false;
    if (!dups && (fact & superseded))
        return false;
    if (!groups && (fact >> 2 & 3) == Package::Group)
        return false;
    if (expression.isEmpty())
        return true;
    if (mode == Filter)
        return regex.matches(lineOf(e, row));
    switch (e.kind) {
    case Package::Group:
    case Package::Ordinary:
    case Package::Suite:
        return matchesAny(searchTextsOf(e, row));
    }
    return false;
}

bool SortFilterProxyModel::matchesAny(QByteArray const& texts) const
{
    char const* text = texts.constData();
    char const* const end = text + texts.size();
    for (; text < end; text += std::strlen(text) + 1) {
        if (regex.matches(text))
            return true;
    }
    return false;
}

QByteArray const& SortFilterProxyModel::lineOf(Package::Entry const& e, int row) const
{
    if (lines.size() != model->rowCount()) {
        lines.clear();
        lines.resize(model->rowCount());
    }
    QByteArray& line = lines[row];
    if (line.isNull()) {
        // The shown texts, a single blank before each but the first.
        QString text;
        for (int column = NameColumn; column <= BuildTimeColumn; ++column) {
            if (!text.isEmpty())
                text += QLatin1Char(' ');
            text += model->text(e, column);
        }
        line = text.toUtf8();
    }
    return line;
}

QByteArray const& SortFilterProxyModel::searchTextsOf(Package::Entry const& e, int row) const
{
    if (searchTexts.size() != model->rowCount()) {
        searchTexts.clear();
        searchTexts.resize(model->rowCount());
    }
    QByteArray& bytes = searchTexts[row];
    if (!bytes.isNull())
        return bytes;

    QStringList texts;
    YumIO& s = *yumIO;
    if (e.kind == Package::Group) {
        texts << s.getName(e) << s.getRequiredGroups(e) << s.getDefaultMetaPkgs(e) << s.getOptionalMetaPkgs(e)
              << s.getMandatoryPkgs(e) << s.getDefaultPkgs(e) << s.getOptionalPkgs(e)
              << s.getConditionalPkgs(e);
    } else {
        texts << s.getName(e) << s.getVerRel(e) << s.getRepo(e) << s.getArch(e) << s.getSize(e)
              << s.getSummary(e) << s.getDescription(e) << s.getGroup(e) << s.getVendor(e)
              << s.getBuildTime(e) << s.getInstallTime(e) << s.getBinaryRpm(e) << s.getSourceRpm(e)
              << s.getLicense(e) << s.getPackager(e) << s.getUrl(e) << s.getRelocations(e) << s.getProvides(e)
              << s.getRequires(e) << s.getConflicts(e) << s.getObsoletes(e);
        // Files and change logs of packages that are not installed come
        // from extra data: searched once the session has loaded it, never
        // loaded from here, in the middle of filtering.
        bool const installed = e.state == Package::Installed;
        if (installed || s.fileListsLoaded())
            texts << s.getFiles(e);
        if (installed || s.otherDataLoaded())
            texts << s.getChangeLog(e);
    }
    bytes = QByteArray("");
    for (QString const& text : std::as_const(texts)) {
        bytes += text.toUtf8();
        bytes += '\0';
    }
    return bytes;
}

QList<qint32> SortFilterProxyModel::ranks(int column) const
{
    int const rows = model->rowCount();
    QList<qint32> keys(rows);
    switch (column) {
    case ActionColumn:
    case StateColumn:
    case KindColumn:
    case SizeColumn:
    case BuildTimeColumn:
        for (int row = 0; row < rows; ++row) {
            Package::Entry const& e = *model->entry(row);
            switch (column) {
            case StateColumn:
                keys[row] = e.state;
                break;
            case KindColumn:
                keys[row] = e.kind;
                break;
            case SizeColumn:
                // Compared as 32 bits, as the table always has: sizes of
                // 2 GiB and more wrap around.
                keys[row] = static_cast<qint32>(e.size);
                break;
            case BuildTimeColumn:
                keys[row] = static_cast<qint32>(e.buildTime);
                break;
            default:
                keys[row] = e.action;
            }
        }
        return keys;
    }

    // Texts: each row's rank in the code-point order of the column's texts.
    QList<QString> texts(rows);
    for (int row = 0; row < rows; ++row)
        texts[row] = model->text(*model->entry(row), column);
    QList<int> order(rows);
    std::iota(order.begin(), order.end(), 0);
    std::sort(order.begin(), order.end(), [&](int a, int b) { return texts[a] < texts[b]; });
    qint32 rank = 0;
    for (int i = 0; i < rows; ++i) {
        if (i > 0 && texts[order[i]] != texts[order[i - 1]])
            ++rank;
        keys[order[i]] = rank;
    }
    return keys;
}

QList<qint32> const& SortFilterProxyModel::keysOf(int column, int rows) const
{
    QList<qint32>& cached = keys[column];
    if (cached.size() != rows)
        cached = ranks(column);
    return cached;
}

QList<qint64> const& SortFilterProxyModel::sortKeysOf(int column, int rows) const
{
    QList<qint64>& cached = sortKeys[column];
    if (cached.size() != rows) {
        QList<qint32> const& values = keysOf(column, rows);
        QList<qint32> const& names = keysOf(NameColumn, rows);
        cached.resize(rows);
        for (int row = 0; row < rows; ++row)
            cached[row] = column == NameColumn ? names[row] : qint64(values[row]) * rows + names[row];
    }
    return cached;
}

bool SortFilterProxyModel::lessThan(QModelIndex const& left, QModelIndex const& right) const
{
    if (!left.model() || !right.model() || !model)
        return false;
    int const column = left.column();
    int const a = left.row();
    int const b = right.row();
    int const rows = model->rowCount();
    if (a < 0 || b < 0 || a >= rows || b >= rows || column < 0 || column >= ColumnCount)
        return false;

    if (column == ActionColumn) {
        // The user changes actions: never kept.
        qint32 const x = model->entry(a)->action;
        qint32 const y = model->entry(b)->action;
        if (x != y)
            return x < y;
    } else {
        QList<qint64> const& values = sortKeysOf(column, rows);
        return values[a] < values[b];
    }
    QList<qint32> const& names = keysOf(NameColumn, rows);
    return names[a] < names[b];
}

} // namespace PackageTable
