#pragma once

#include "packagetable/HSortFilterProxyModel.h"
#include "packagetable/PackageTableTypes.h"
#include "packagetable/PosixRegExp.h"
#include "yumio/Package.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <array>

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
//
// A collection's texts never change, so what the proxy derives from them is
// kept for as long as the collection: each entry's line, its searchable
// texts (until more extra data is loaded), and its place in the order of
// each column.  Filtering tens of thousands of entries then costs little
// more than the matching, and sorting them no string comparison.
class SortFilterProxyModel : public HSortFilterProxyModel
{
    Q_OBJECT

public:
    SortFilterProxyModel(
        StateFilter stateFilter, bool dups, bool groups, YumIO* yumIO, QObject* parent = nullptr);

    // Must be a PackageTable::Model.
    void setSourceModel(HAbstractTableModel* model) override;
    // Whether the expression compiles; one that does not filters nothing.
    bool isExpressionValid() const { return expression.isEmpty() || regex.status() == 0; }

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

public Q_SLOTS:
    void clearCache();

protected:
    bool filterAcceptsRow(int sourceRow, QModelIndex const& sourceParent) const override;
    // Action, state, kind, size and build time compare as 32-bit integers;
    // the other columns by their texts.  Ties go by name.
    bool lessThan(QModelIndex const& left, QModelIndex const& right) const override;

private:
    bool acceptRow(Package::Entry const& entry, int row) const;
    bool stateListed(int state) const;
    // Whether the expression occurs in one of the texts, each ended by a NUL.
    bool matchesAny(QByteArray const& texts) const;
    // What the proxy keeps of a collection; forgotten when a new one comes.
    void forgetCollection();
    QByteArray const& lineOf(Package::Entry const& entry, int row) const;
    QByteArray const& searchTextsOf(Package::Entry const& entry, int row) const;
    // The rows in the order to decide them: in Search mode, those whose texts
    // are still to be read in the order the engine reads them fastest.
    QList<int> decidingOrder() const;
    void decideAll();
    // Each row's place in the order of the column's values: equal values,
    // equal places.
    QList<qint32> const& keysOf(int column, int rows) const;
    // The same with the Name column's place as the tie-breaker, in one number:
    // a sort compares each pair with a single comparison.
    QList<qint64> const& sortKeysOf(int column, int rows) const;
    // The state, kind and superseded flag of each row, packed in a byte: all
    // that the settings other than the expression look at.
    QList<quint8> const& factsOf(int rows) const;
    QList<qint32> ranks(int column) const;

    Mode mode = Filter;
    bool filter = true;
    StateFilter stateFilter;
    bool dups;
    bool groups;
    YumIO* yumIO;
    Model* model = nullptr;
    // Each entry's verdict under the current settings, by model row (a row
    // is one entry for as long as a collection lasts): unknown, no or yes.
    struct Verdicts {
        enum : qint8 { Unknown = -1, No = 0, Yes = 1 };
        QList<qint8> byRow;
        qsizetype decided = 0;
        void clear()
        {
            byRow.clear();
            decided = 0;
        }
    };
    mutable Verdicts cache;
    PosixRegExp regex;
    QString expression;

    // By model row, each made whole at its first use.
    mutable QList<quint8> facts;
    mutable QList<QByteArray> lines;
    mutable QList<QByteArray> searchTexts;
    mutable std::array<QList<qint32>, 9> keys;
    mutable std::array<QList<qint64>, 9> sortKeys;
};

} // namespace PackageTable
