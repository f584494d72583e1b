// The package filter's rules that need no collection: POSIX extended
// matching of UTF-8 bytes, and the stripping of leading and trailing ".*".

#include "packagetable/PackageTableSortFilterProxyModel.h"
#include "packagetable/PosixRegExp.h"
#include "tests/yumio/TestRows.h"

class FilterRules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void matching_data()
    {
        columns<QString, QString, bool>("pattern", "text", "matches");
        row("character class", "[[:digit:]]+\\.[[:digit:]]-1", "sv-tool 1.2-1", true);
        row("escaped dot", "1\\.2", "1x2", false);
        row("non-ASCII", "für", "Arbeitsplatz für alle", true);
    }
    void matching()
    {
        QFETCH(QString, pattern);
        QFETCH(QString, text);
        PosixRegExp regex;
        QCOMPARE(regex.compile(pattern.toUtf8()), 0);
        QTEST(regex.matches(text.toUtf8()), "matches");
    }

    void stripping_data()
    {
        columns<QString, QString>("text", "stripped");
        row("doubled around", ".*.*foo.*.*", "foo");
        row("inside", "foo.*bar", "foo.*bar");
        // "\.*" is any number of literal dots, no wildcard.
        row("escaped dot", "foo\\.*", "foo\\.*");
        row("escaped backslash", "foo\\\\.*", "foo\\\\");
        row("escaped dot behind wildcard", "foo\\.*.*", "foo\\.*");
    }
    void stripping()
    {
        QFETCH(QString, text);
        QTEST(PackageTable::SortFilterProxyModel::stripWildcards(text), "stripped");
    }
};

QTEST_GUILESS_MAIN(FilterRules)
#include "tst_filterrules.moc"
