// The rules of the package filter that need no collection: POSIX extended
// matching, the removal of leading and trailing ".*", and the typed
// comparison of the sort.

#include "packagetable/HSortFilterProxyModel.h"
#include "packagetable/PackageTableSortFilterProxyModel.h"
#include "packagetable/PosixRegExp.h"

#include <QDateTime>
#include <QTest>
#include <cmath>

class FilterRules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void matching_data();
    void matching();
    void nothingCompiledMatchesEverything();
    void recompiling();
    void stripping_data();
    void stripping();
    void comparing_data();
    void comparing();
};

void FilterRules::matching_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("compiles");
    QTest::addColumn<bool>("matches");

    QTest::newRow("substring") << "tool"
                               << "sv-tool" << true << true;
    QTest::newRow("case-sensitive") << "Foo"
                                    << "foo" << true << false;
    QTest::newRow("case-sensitive, same case") << "foo"
                                               << "libfoo" << true << true;
    QTest::newRow("anchored start") << "^sv-"
                                    << "sv-tool" << true << true;
    QTest::newRow("anchored start, inside") << "^tool"
                                            << "sv-tool" << true << false;
    QTest::newRow("anchored end") << "x86_64$"
                                  << "sv-tool 1.0-1 x86_64" << true << true;
    QTest::newRow("joined by a blank") << "bash 4"
                                       << "bash 4.2.46-34 base x86_64 1.0Mb" << true << true;
    QTest::newRow("two blanks do not match one") << "bash  4"
                                                 << "bash 4.2.46-34" << true << false;
    // Extended syntax: these are literal characters in a basic expression.
    QTest::newRow("alternation") << "calc|writer"
                                 << "sv-writer" << true << true;
    QTest::newRow("one or more") << "ca+t"
                                 << "caaat" << true << true;
    QTest::newRow("interval") << "a{2}"
                              << "cat" << true << false;
    QTest::newRow("interval met") << "a{2}"
                                  << "caat" << true << true;
    QTest::newRow("group") << "(ab)+c"
                           << "xababc" << true << true;
    QTest::newRow("character class") << "[[:digit:]]+\\.[[:digit:]]-1"
                                     << "sv-tool 1.2-1" << true << true;
    QTest::newRow("escaped dot") << "1\\.2"
                                 << "1x2" << true << false;
    QTest::newRow("empty expression") << ""
                                      << "anything" << true << true;
    QTest::newRow("non-ASCII") << "Arbeitsplatz für"
                               << "Arbeitsplatz für alle" << true << true;
    // An expression that does not compile lets everything through.
    QTest::newRow("lone parenthesis") << "("
                                      << "anything" << false << true;
    QTest::newRow("lone bracket") << "["
                                  << "anything" << false << true;
    QTest::newRow("unbalanced brace") << "a{1"
                                      << "b" << false << true;
}

void FilterRules::matching()
{
    QFETCH(QString, pattern);
    QFETCH(QString, text);
    QFETCH(bool, compiles);
    QFETCH(bool, matches);

    PosixRegExp regex;
    QCOMPARE(regex.compile(pattern.toUtf8()) == 0, compiles);
    QCOMPARE(regex.status() == 0, compiles);
    QCOMPARE(regex.matches(text.toUtf8()), matches);
}

void FilterRules::nothingCompiledMatchesEverything()
{
    PosixRegExp regex;
    QCOMPARE(regex.status(), -1);
    QVERIFY(regex.matches(QByteArray("anything")));
    QVERIFY(regex.matches(QByteArray()));
}

void FilterRules::recompiling()
{
    // A failed compilation does not leave the previous expression in force,
    // and a good one after a failure takes effect.
    PosixRegExp regex;
    QCOMPARE(regex.compile("foo"), 0);
    QVERIFY(!regex.matches(QByteArray("bar")));
    QVERIFY(regex.compile("(") != 0);
    QVERIFY(regex.matches(QByteArray("bar")));
    QCOMPARE(regex.compile("bar"), 0);
    QVERIFY(regex.matches(QByteArray("crowbar")));
    QVERIFY(!regex.matches(QByteArray("foo")));
}

void FilterRules::stripping_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("stripped");

    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("any") << ".*"
                         << "";
    QTest::newRow("any twice") << ".*.*"
                               << "";
    QTest::newRow("any thrice") << ".*.*.*"
                                << "";
    QTest::newRow("around") << ".*foo.*"
                            << "foo";
    QTest::newRow("doubled around") << ".*.*foo.*.*"
                                    << "foo";
    QTest::newRow("leading") << ".*foo"
                             << "foo";
    QTest::newRow("trailing") << "foo.*"
                              << "foo";
    QTest::newRow("inside") << "foo.*bar"
                            << "foo.*bar";
    QTest::newRow("after an anchor") << "^.*foo"
                                     << "^.*foo";
    QTest::newRow("before an anchor") << "foo.*$"
                                      << "foo.*$";
    QTest::newRow("one or more") << "..*"
                                 << ".";
    QTest::newRow("blank between") << ". *"
                                   << ". *";
    QTest::newRow("plain") << "sv-tool"
                           << "sv-tool";
    // Any number of literal dots is not a wildcard.
    QTest::newRow("escaped dot") << "foo\\.*"
                                 << "foo\\.*";
    QTest::newRow("escaped backslash") << "foo\\\\.*"
                                       << "foo\\\\";
    QTest::newRow("escaped dot behind wildcard") << "foo\\.*.*"
                                                 << "foo\\.*";
}

void FilterRules::stripping()
{
    QFETCH(QString, text);
    QFETCH(QString, stripped);
    QCOMPARE(PackageTable::SortFilterProxyModel::stripWildcards(text), stripped);
}

void FilterRules::comparing_data()
{
    QTest::addColumn<QVariant>("left");
    QTest::addColumn<QVariant>("right");
    QTest::addColumn<int>("order");

    QTest::newRow("int") << QVariant(-3) << QVariant(2) << -1;
    QTest::newRow("int equal") << QVariant(7) << QVariant(7) << 0;
    QTest::newRow("unsigned") << QVariant(4000000000u) << QVariant(5u) << 1;
    QTest::newRow("64-bit") << QVariant(qlonglong(1) << 40) << QVariant(qlonglong(1) << 41) << -1;
    QTest::newRow("unsigned 64-bit") << QVariant::fromValue<quint64>(~quint64(0))
                                     << QVariant::fromValue<quint64>(1) << 1;
    QTest::newRow("double") << QVariant(1.5) << QVariant(1.25) << 1;
    QTest::newRow("not a number") << QVariant(std::nan("")) << QVariant(1.0) << 0;
    QTest::newRow("character") << QVariant(QChar('B')) << QVariant(QChar('a')) << -1;
    // Strings by code point: upper case sorts before lower case.
    QTest::newRow("string by code point") << QVariant("Zebra") << QVariant("apple") << -1;
    QTest::newRow("string equal") << QVariant("sv-lib") << QVariant("sv-lib") << 0;
    QTest::newRow("string prefix") << QVariant("sv-lib") << QVariant("sv-libfoo") << -1;
    QTest::newRow("date") << QVariant(QDate(2024, 1, 2)) << QVariant(QDate(2023, 12, 31)) << 1;
    QTest::newRow("time") << QVariant(QTime(9, 0)) << QVariant(QTime(10, 0)) << -1;
    QTest::newRow("date-time") << QVariant(QDateTime(QDate(2023, 1, 1), QTime(0, 0), Qt::UTC))
                               << QVariant(QDateTime(QDate(2023, 1, 1), QTime(0, 0, 1), Qt::UTC)) << -1;
    // The left value's type decides: "10" against 9 compares as strings.
    QTest::newRow("left string, right number") << QVariant("10") << QVariant(9) << -1;
    QTest::newRow("left number, right string") << QVariant(10) << QVariant("9") << 1;
    QTest::newRow("other type as string") << QVariant(QByteArray("b")) << QVariant(QByteArray("a")) << 1;
    QTest::newRow("invalid values") << QVariant() << QVariant() << 0;
}

void FilterRules::comparing()
{
    QFETCH(QVariant, left);
    QFETCH(QVariant, right);
    QFETCH(int, order);
    QCOMPARE(HSortFilterProxyModel::compareValues(left, right), order);
    if (left.typeId() == right.typeId())
        QCOMPARE(HSortFilterProxyModel::compareValues(right, left), -order);
}

QTEST_GUILESS_MAIN(FilterRules)
#include "tst_filterrules.moc"
