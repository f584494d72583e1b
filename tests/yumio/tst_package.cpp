// The package records and the session's pure helpers: sizes, times, keys,
// version numbers, and the ownership of entries.
#include "SessionTestSupport.h"

#include <QtTest>
#include <cstdio>
#include <ctime>
#include <unistd.h>

class TestPackage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("TZ", "UTC");
        tzset();
    }

    void bytesFormat_data()
    {
        columns<quint64, QString>("bytes", "text");
        quint64 const K = 1024;
        row("zero", quint64(0), "0b");
        row("one", quint64(1), "1.0b");
        row("ten", quint64(10), "10b");
        row("999", quint64(999), "999b");
        // From 1000 of a unit the next one, divided by 1024.
        row("1000", quint64(1000), "1.0Kb");
        row("below 9.95", quint64(9.94 * K), "9.9Kb");
        row("from 9.95", quint64(9.95 * K) + 1, "10Kb");
        row("Eb", 1000 * K * K * K * K * K, "1.0Eb");
        row("largest", ~quint64(0), "16Eb");
    }
    void bytesFormat()
    {
        QFETCH(quint64, bytes);
        QTEST(Package::bytesFormat(bytes), "text");
    }

    void timeFormats_data()
    {
        columns<qlonglong, QString, QString>("time", "timeText", "dateText");
        row("epoch", 0LL, "Thu Jan  1 00:00:00 1970", "Thu Jan  1 1970");
        row("two-digit day", 1700000000LL, "Tue Nov 14 22:13:20 2023", "Tue Nov 14 2023");
    }
    void timeFormats()
    {
        QFETCH(qlonglong, time);
        QTEST(Package::timeFormat(long(time)), "timeText");
        QTEST(Package::dateFormat(long(time)), "dateText");
    }

    // A key is all three parts: a group never meets a package of its name.
    void keys_data()
    {
        columns<bool, QString, QString, bool>("group", "name", "arch", "equal");
        row("same", false, "sv-lib", "x86_64", true);
        row("group", true, "sv-lib", "x86_64", false);
        row("other arch", false, "sv-lib", "i386", false);
        row("other name", false, "sv-lob", "x86_64", false);
        row("name and arch swapped", false, "x86_64", "sv-lib", false);
    }
    void keys()
    {
        QFETCH(bool, group);
        QFETCH(QString, name);
        QFETCH(QString, arch);
        QFETCH(bool, equal);
        YumIO::EntryKey const a(false, "sv-lib", "x86_64");
        YumIO::EntryKey const b(group, name, arch);
        QCOMPARE(a == b, equal);
        QHash<YumIO::EntryKey, int> hash { { a, 1 }, { b, 2 } };
        QCOMPARE(hash.size(), equal ? 1 : 2);
    }

    void versionNumber_data()
    {
        columns<QString, int, bool>("text", "number", "understood");
        row("three parts", "3.2.8", 30208, true);
        row("two-digit third", "3.2.23", 30223, true);
        row("third not limited", "3.2.100", 30300, true);
        row("two parts", "2.4", 20400, true);
        row("four parts", "4.14.0.1", 41400, true);
        row("empty", "", 0, false);
        row("not a number", "4.x.1", 40001, false);
    }
    void versionNumber()
    {
        QFETCH(QString, text);
        QFETCH(bool, understood);
        bool ok = !understood;
        QTEST(YumIO::versionNumber(text, &ok), "number");
        QCOMPARE(ok, understood);
    }

    // An entry owns its chain, and a list its entries (the address build
    // sees a leak or a double delete).
    void chains()
    {
        Package::EntryList list;
        auto* head = new Package::Entry;
        Package::Entry* last = head;
        for (int i = 0; i < 10000; ++i)
            last = last->next = new Package::Entry;
        QCOMPARE(head->instances(), 10000);
        list.append(head);
        list.append(new Package::Entry);
        QCOMPARE(list.last()->instances(), 0);
        QCOMPARE(int(list.last()->action), int(Package::NoAction));
        list.deleteAll();
        QVERIFY(list.isEmpty());
        list.append(new Package::Entry);
    }

    // An entry deleted with its Python object still in place says so once
    // per process, on standard error, and leaves the object alone.
    void extantObjectReportedOnce()
    {
        FILE* capture = std::tmpfile();
        QVERIFY(capture);
        std::fflush(stderr);
        int const saved = ::dup(2);
        ::dup2(::fileno(capture), 2);
        for (int i = 0; i < 3; ++i) {
            auto* entry = new Package::Entry;
            entry->object = reinterpret_cast<PyObject*>(0x1234);
            delete entry;
        }
        std::fflush(stderr);
        ::dup2(saved, 2);
        ::close(saved);
        std::rewind(capture);
        char buffer[1024] = {};
        QString const text = QString::fromLatin1(buffer, qsizetype(std::fread(buffer, 1, 1023, capture)));
        std::fclose(capture);
        QCOMPARE(text.count("Internal error: attempt to delete Package::Entry "), 1);
        QVERIFY2(text.contains(" with extant python obj 0x1234\n"), qPrintable(text));
    }
};

QTEST_MAIN(TestPackage)
#include "tst_package.moc"
