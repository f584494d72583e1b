// The package records and the session's pure helpers: sizes, times, version
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
    void bytesFormat_data()
    {
        columns<quint64, QString>("bytes", "text");
        row("zero", quint64(0), "0b");
        row("one", quint64(1), "1.0b");
        row("999", quint64(999), "999b");
        // From 1000 of a unit the next one, divided by 1024.
        row("1000", quint64(1000), "1.0Kb");
        row("from 9.95", quint64(9.95 * 1024) + 1, "10Kb");
        row("largest", ~quint64(0), "16Eb");
    }
    void bytesFormat()
    {
        QFETCH(quint64, bytes);
        QTEST(Package::bytesFormat(bytes), "text");
    }

    void timeFormats()
    {
        qputenv("TZ", "UTC");
        tzset();
        QCOMPARE(Package::timeFormat(0), "Thu Jan  1 00:00:00 1970");
        QCOMPARE(Package::dateFormat(1700000000), "Tue Nov 14 2023");
    }

    void versionNumber_data()
    {
        columns<QString, int, bool>("text", "number", "understood");
        row("three parts", "3.2.8", 30208, true);
        row("third not limited", "3.2.100", 30300, true);
        row("two parts", "2.4", 20400, true);
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
    // sees a leak or a double delete); a long chain must not exhaust the stack.
    void chains()
    {
        Package::EntryList list;
        auto* head = new Package::Entry;
        Package::Entry* last = head;
        for (int i = 0; i < 100000; ++i)
            last = last->next = new Package::Entry;
        QCOMPARE(head->instances(), 100000);
        list.append(head);
        list.append(new Package::Entry);
        list.deleteAll();
        QVERIFY(list.isEmpty());
        list.append(new Package::Entry);
    }

    // An entry deleted with its Python object still in place says so once
    // per process, on standard error, and leaves the object alone.
    void extantObjectReportedOnce()
    {
        FILE* capture = std::tmpfile();
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
        QCOMPARE(text.count("extant python obj 0x1234\n"), 1);
    }
};

QTEST_MAIN(TestPackage)
#include "tst_package.moc"
