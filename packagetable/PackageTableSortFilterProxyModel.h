#pragma once

#include "packagetable/HSortFilterProxyModel.h"
#include "packagetable/PackageTableTypes.h"
#include "packagetable/PosixRegExp.h"
#include "yumio/Package.h"

#include <QHash>
#include <QString>
#include <QStringList>

class YumIO;

namespace PackageTable
{

class Model;

// Decides which entries the table lists, from the filter bar's settings: the
// mode, a POSIX extended regular expression, the state view, and whether
// duplicates and groups are included; and sorts them, breaking ties by name.
//
// Filter mode matches the expression against one line made of the texts the
// table shows (name to build time, joined by single spaces).  Search mode
// matches it against every field of a package separately, details, files and
// change log included (those of packages that are not installed only as far
// as the session has loaded them), and against a group's name and member
// lists.  A Search verdict can cost many matches over long texts, so each
// entry's verdict is kept until a setting, the expression or the collection
// changes.
class SortFilterProxyModel : public HSortFilterProxyModel
{
    Q_OBJECT

public:
    SortFilterProxyModel(
        StateFilter stateFilter, bool dups, bool groups, YumIO* yumIO, QObject* parent = nullptr);

    // Must be a PackageTable::Model.
    void setSourceModel(HAbstractTableModel* model) override;

    // Each setter re-filters and re-sorts when the value changes, and does
    // nothing otherwise.
    void setMode(Mode mode);
    Mode getMode() const { return mode; }
    void setStateFilter(StateFilter stateFilter);
    StateFilter getStateFilter() const { return stateFilter; }
    void setDupsFilter(bool dups);
    bool getDupsFilter() const { return dups; }
    void setGroupsFilter(bool groups);
    bool getGroupsFilter() const { return groups; }
    // Off, every row is listed whatever the settings.
    void setFilter(bool filter);
    bool getFilter() const { return filter; }

    // Sets the expression, leading and trailing ".*" removed, then decides
    // every entry at once.  An expression that does not compile matches every
    // text.
    void setFilterRegExp(QString const& text);
    // The expression as last set, after the ".*" removal.
    QString filterExpression() const { return expression; }

    // Marks every listed entry that is available for update for update.
    void setUpdateListed();
    // Forgets every verdict, then re-filters and re-sorts.
    void clear();

    // `text` without its leading ".*", repeatedly, then without its trailing
    // ".*", repeatedly.
    static QString stripWildcards(QString const& text);
    // Whether the current expression occurs in the text (always, when it did
    // not compile).
    bool matches(QString const& text) const;
    // Whether the current expression occurs in any of the texts.
    bool matchesAny(QStringList const& texts) const;

public Q_SLOTS:
    void clearCache();

protected:
    bool filterAcceptsRow(int sourceRow, QModelIndex const& sourceParent) const override;
    // Action, state, kind, size and build time compare as 32-bit integers;
    // the other columns by their texts.  Ties go by name.
    bool lessThan(QModelIndex const& left, QModelIndex const& right) const override;

private:
    bool acceptRow(Package::Entry& entry) const;
    bool stateListed(Package::State state) const;
    bool searchGroup(Package::Entry const& entry) const;
    bool searchPackage(Package::Entry const& entry) const;
    static qint32 sortKey(Package::Entry const& entry, int column);

    Mode mode = Filter;
    bool filter = true;
    StateFilter stateFilter;
    bool dups;
    bool groups;
    YumIO* yumIO;
    Model* model = nullptr;
    mutable QHash<Package::Entry*, bool> cache;
    PosixRegExp regex;
    QString expression;
};

} // namespace PackageTable
