// The package filter's rules that need no collection: POSIX extended
// matching, the stripping of leading and trailing ".*", and the typed sort.

#include "packagetable/HSortFilterProxyModel.h"
#include "packagetable/PackageTableSortFilterProxyModel.h"
#include "packagetable/PosixRegExp.h"
#include "tests/yumio/TestRows.h"

#include <QDateTime>
#include <cmath>

class FilterRules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void matching_data()
    {
        // What the table's listing does not show already: extended syntax and bytes.
        columns<QString, QString, bool>("pattern", "text", "matches");
        row("interval", "a{2}", "caat", true);
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

    void recompiling()
    {
        // Nothing compiled matches everything; a failed compilation does not
        // leave the previous expression in force.
        PosixRegExp regex;
        QCOMPARE(regex.status(), -1);
        QVERIFY(regex.matches(QByteArray("anything")));
        QCOMPARE(regex.compile("foo"), 0);
        QVERIFY(!regex.matches(QByteArray("bar")));
        QVERIFY(regex.compile("(") != 0);
        QVERIFY(regex.matches(QByteArray("bar")));
        QCOMPARE(regex.compile("bar"), 0);
        QVERIFY(!regex.matches(QByteArray("foo")));
    }

    void stripping_data()
    {
        columns<QString, QString>("text", "stripped");
        row("any", ".*", "");
        row("doubled around", ".*.*foo.*.*", "foo");
        row("leading", ".*foo", "foo");
        row("trailing", "foo.*", "foo");
        row("inside", "foo.*bar", "foo.*bar");
        row("after an anchor", "^.*foo", "^.*foo");
        row("before an anchor", "foo.*$", "foo.*$");
        row("one or more", "..*", ".");
        // Any number of literal dots is no wildcard.
        row("escaped dot", "foo\\.*", "foo\\.*");
        row("escaped backslash", "foo\\\\.*", "foo\\\\");
        row("escaped dot behind wildcard", "foo\\.*.*", "foo\\.*");
    }
    void stripping()
    {
        QFETCH(QString, text);
        QTEST(PackageTable::SortFilterProxyModel::stripWildcards(text), "stripped");
    }

    void comparing_data()
    {
        columns<QVariant, QVariant, int>("left", "right", "order");
        row("int", QVariant(-3), QVariant(2), -1);
        row("unsigned", QVariant(4000000000u), QVariant(5u), 1);
        row("unsigned 64-bit", QVariant::fromValue(~quint64(0)), QVariant::fromValue(quint64(1)), 1);
        row("double", QVariant(1.5), QVariant(1.25), 1);
        row("not a number", QVariant(std::nan("")), QVariant(1.0), 0);
        // Strings by code point: upper case before lower case.
        row("string by code point", QVariant("Zebra"), QVariant("apple"), -1);
        row("date", QVariant(QDate(2024, 1, 2)), QVariant(QDate(2023, 12, 31)), 1);
        row("date-time", QVariant(QDateTime(QDate(2023, 1, 1), QTime(0, 0), Qt::UTC)),
            QVariant(QDateTime(QDate(2023, 1, 1), QTime(0, 0, 1), Qt::UTC)), -1);
        // The left value's type decides: "10" against 9 compares as strings.
        row("left string, right number", QVariant("10"), QVariant(9), -1);
    }
    void comparing()
    {
        QFETCH(QVariant, left);
        QFETCH(QVariant, right);
        QFETCH(int, order);
        QCOMPARE(HSortFilterProxyModel::compareValues(left, right), order);
        if (left.typeId() == right.typeId())
            QCOMPARE(HSortFilterProxyModel::compareValues(right, left), -order);
    }
};

QTEST_GUILESS_MAIN(FilterRules)
#include "tst_filterrules.moc"
