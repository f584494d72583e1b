// The package records and the session's pure helpers: texts, keys, version
// numbers, and the ownership of entries.
#include "SessionTestSupport.h"

#include <QtTest>
#include <cstdio>
#include <ctime>
#include <unistd.h>

class TestPackage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void bytesFormat_data();
    void bytesFormat();
    void timeFormats_data();
    void timeFormats();
    void displayTexts_data();
    void displayTexts();
    void keys_data();
    void keys();
    void versionNumber_data();
    void versionNumber();
    void chains();
    void extantObjectReportedOnce();
};

void TestPackage::initTestCase()
{
    qputenv("TZ", "UTC");
    tzset();
}

void TestPackage::bytesFormat_data()
{
    QTest::addColumn<quint64>("bytes");
    QTest::addColumn<QString>("text");

    quint64 const K = 1024;
    QTest::newRow("zero") << quint64(0) << "0b";
    // Every count above 0 and below 9.95 of its unit gets a decimal.
    QTest::newRow("one") << quint64(1) << "1.0b";
    QTest::newRow("nine") << quint64(9) << "9.0b";
    QTest::newRow("ten") << quint64(10) << "10b";
    QTest::newRow("below a thousand") << quint64(500) << "500b";
    QTest::newRow("999") << quint64(999) << "999b";
    // From 1000 of a unit the next one, divided by 1024.
    QTest::newRow("1000") << quint64(1000) << "1.0Kb";
    QTest::newRow("1023") << quint64(1023) << "1.0Kb";
    QTest::newRow("1 KiB") << K << "1.0Kb";
    QTest::newRow("one decimal below 9.95") << quint64(9.94 * K) << "9.9Kb";
    QTest::newRow("none from 9.95") << quint64(9.95 * K) + 1 << "10Kb";
    QTest::newRow("hundreds") << quint64(999 * K) << "999Kb";
    QTest::newRow("1000 KiB is Mb") << quint64(1000 * K) << "1.0Mb";
    QTest::newRow("MiB") << quint64(5 * K * K) << "5.0Mb";
    QTest::newRow("GiB") << quint64(1000) * K * K << "1.0Gb";
    QTest::newRow("TiB") << quint64(1000) * K * K * K << "1.0Tb";
    QTest::newRow("PiB") << quint64(1000) * K * K * K * K << "1.0Pb";
    QTest::newRow("EiB") << quint64(1000) * K * K * K * K * K << "1.0Eb";
    QTest::newRow("largest") << ~quint64(0) << "16Eb";
}

void TestPackage::bytesFormat()
{
    QFETCH(quint64, bytes);
    QTEST(Package::bytesFormat(bytes), "text");
}

void TestPackage::timeFormats_data()
{
    QTest::addColumn<qlonglong>("time");
    QTest::addColumn<QString>("timeText");
    QTest::addColumn<QString>("dateText");

    QTest::newRow("epoch") << 0LL << "Thu Jan  1 00:00:00 1970"
                           << "Thu Jan  1 1970";
    QTest::newRow("two-digit day") << 1700000000LL << "Tue Nov 14 22:13:20 2023"
                                   << "Tue Nov 14 2023";
    QTest::newRow("noon") << 1672660800LL << "Mon Jan  2 12:00:00 2023"
                          << "Mon Jan  2 2023";
}

void TestPackage::timeFormats()
{
    QFETCH(qlonglong, time);
    QTEST(Package::timeFormat(long(time)), "timeText");
    QTEST(Package::dateFormat(long(time)), "dateText");
}

void TestPackage::displayTexts_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<QString>("state");
    QTest::addColumn<QString>("kind");

    QTest::newRow("0") << 0 << "Available for update"
                       << "Suite of packages";
    QTest::newRow("1") << 1 << "Available for installation"
                       << "Group of packages";
    QTest::newRow("2") << 2 << "Installed"
                       << "Ordinary package";
    QTest::newRow("3") << 3 << ""
                       << "";
    QTest::newRow("-1") << -1 << ""
                        << "";
}

void TestPackage::displayTexts()
{
    QFETCH(int, value);
    QTEST(Package::stateText(value), "state");
    QTEST(Package::kindText(value), "kind");
}

// Keys are equal exactly when all three parts are, and their hash is the
// fixed combination of the parts' hashes.
void TestPackage::keys_data()
{
    QTest::addColumn<bool>("group1");
    QTest::addColumn<QString>("name1");
    QTest::addColumn<QString>("arch1");
    QTest::addColumn<bool>("group2");
    QTest::addColumn<QString>("name2");
    QTest::addColumn<QString>("arch2");
    QTest::addColumn<bool>("equal");

    QTest::newRow("same") << false << "sv-lib"
                          << "x86_64" << false << "sv-lib"
                          << "x86_64" << true;
    QTest::newRow("group and package") << true << "sv-lib"
                                       << "" << false << "sv-lib"
                                       << "" << false;
    QTest::newRow("other arch") << false << "sv-lib"
                                << "x86_64" << false << "sv-lib"
                                << "i386" << false;
    QTest::newRow("other name") << false << "sv-lib"
                                << "x86_64" << false << "sv-lob"
                                << "x86_64" << false;
    QTest::newRow("name and arch swapped") << false << "a"
                                           << "b" << false << "b"
                                           << "a" << false;
}

void TestPackage::keys()
{
    QFETCH(bool, group1);
    QFETCH(QString, name1);
    QFETCH(QString, arch1);
    QFETCH(bool, group2);
    QFETCH(QString, name2);
    QFETCH(QString, arch2);
    QFETCH(bool, equal);
    YumIO::EntryKey const a(group1, name1, arch1);
    YumIO::EntryKey const b(group2, name2, arch2);
    QCOMPARE(a == b, equal);
    if (equal)
        QCOMPARE(qHash(a), qHash(b));
    quint32 const expected = 2u * quint32(qHash(name1)) + 4u * quint32(qHash(arch1)) + (group1 ? 1u : 0u);
    QCOMPARE(qHash(a), size_t(expected));

    QHash<YumIO::EntryKey, int> hash;
    hash.insert(a, 1);
    hash.insert(b, 2);
    QCOMPARE(hash.size(), equal ? 1 : 2);
}

void TestPackage::versionNumber_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("number");
    QTest::addColumn<bool>("understood");

    QTest::newRow("three parts") << "3.2.8" << 30208 << true;
    QTest::newRow("two-digit third") << "3.2.23" << 30223 << true;
    QTest::newRow("third not limited") << "3.2.100" << 30300 << true;
    QTest::newRow("two parts") << "2.4" << 20400 << true;
    QTest::newRow("four parts") << "4.14.0.1" << 41400 << true;
    QTest::newRow("dnf") << "4.14.0" << 41400 << true;
    QTest::newRow("empty") << "" << 0 << false;
    QTest::newRow("not a number") << "4.x.1" << 40001 << false;
    QTest::newRow("out of range") << "99999999999999999999999.0" << -10000 << false;
}

void TestPackage::versionNumber()
{
    QFETCH(QString, text);
    QFETCH(bool, understood);
    bool ok = !understood;
    int const number = YumIO::versionNumber(text, &ok);
    QCOMPARE(ok, understood);
    // A part out of range saturates: whatever it gives, it is not trusted.
    if (QTest::currentDataTag() != QByteArray("out of range"))
        QTEST(number, "number");
}

// An entry owns its chain, and a list owns its entries: deleting the head
// deletes every instance behind it (the address build checks that nothing
// leaks and nothing is deleted twice).
void TestPackage::chains()
{
    Package::EntryList list;
    auto* head = new Package::Entry;
    Package::Entry* last = head;
    for (int i = 0; i < 10000; ++i) {
        last->next = new Package::Entry;
        last = last->next;
    }
    QCOMPARE(head->instances(), 10000);
    list.append(head);
    list.append(new Package::Entry);
    QCOMPARE(list.last()->instances(), 0);
    QCOMPARE(int(list.last()->action), int(Package::NoAction));
    list.deleteAll();
    QVERIFY(list.isEmpty());
    list.append(new Package::Entry);
}

// An entry deleted with its Python object still in place says so once per
// process, on standard error, and does not touch the object.
void TestPackage::extantObjectReportedOnce()
{
    FILE* capture = std::tmpfile();
    QVERIFY(capture);
    std::fflush(stderr);
    int const saved = ::dup(2);
    ::dup2(::fileno(capture), 2);
    auto* object = reinterpret_cast<PyObject*>(0x1234);
    for (int i = 0; i < 3; ++i) {
        auto* entry = new Package::Entry;
        entry->object = object;
        delete entry;
    }
    std::fflush(stderr);
    ::dup2(saved, 2);
    ::close(saved);
    std::rewind(capture);
    char buffer[1024] = {};
    size_t const n = std::fread(buffer, 1, sizeof buffer - 1, capture);
    std::fclose(capture);
    QString const text = QString::fromLatin1(buffer, qsizetype(n));
    QCOMPARE(text.count(QLatin1String("Internal error: attempt to delete Package::Entry ")), 1);
    QVERIFY2(text.contains(QLatin1String(" with extant python obj 0x1234\n")), qPrintable(text));
}

QTEST_MAIN(TestPackage)
#include "tst_package.moc"
