// The progress model's arithmetic and throttles on the GUI thread, observed
// through the signals it emits and the bars its minion moves.
#include "ProgressScript.h"

#include <QTest>

class TestProgressModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void script_data();
    void script();
    void guiThreadPumpsEventsAtMostEvery10Ms();
};

void TestProgressModel::script_data()
{
    // Steps separated by ";", each with the records it must emit after "->".
    QTest::addColumn<QString>("lines");

    // Shares, and the linear map of an item's own unit into its share.
    QTest::newRow("items claim consecutive shares; a value past the tail is clamped")
        << "total T 1000 -> total T 1000; item A 300 10 -> item A 0 10; wait; value 5 -> value 150 5;"
           "item B 200 4 -> item B 300 4; bars -> [T] 300 0..1000 on | [B] 0 0..4 on; wait;"
           "value 1 -> value 350 1; bars -> [T] 350 0..1000 on | [B] 1 0..4 on; wait; value 9 -> value 500 4";
    QTest::newRow("a new total keeps the item chain, reset restarts it")
        << "total T 100 -> total T 100; item A 30 10 -> item A 0 10; total U 200 -> total U 200;"
           "bars -> [U] 0 0..200 on | [] -1 0..10 off; item B 10 1 -> item B 30 1; reset -> slots - | reset;"
           "bars -> [] -1 0..1 off | [] -1 0..1 off; total V 50 -> total V 50; item C 10 1 -> item C 0 1";
    QTest::newRow("an item of length 0 maps to its end")
        << "total T 100 -> total T 100; item A 40 0 -> item A 0 0; wait; value 7 -> value 40 0";
    QTest::newRow("a 5 GB item in a 24000 share")
        << "total T 30000 -> total T 30000; item A 24000 5000000000 -> item A 0 5000000000; wait;"
           "value 4000000000 -> value 19200 4000000000;"
           // Past the bars' int range both keep their proportions.
           "bars -> [T] 19200 0..30000 on | [A] 1000000000 0..1250000000 on";
    QTest::newRow("a share beyond 32 bits, truncated")
        << "total T 10000000000 -> total T 10000000000; item A 3000000000 7 -> item A 0 7; wait;"
           "value 5 -> value 2142857142 5; bars -> [T] 267857142 0..1250000000 on | [A] 5 0..7 on";

    // Runs of acts.
    QTest::newRow("acts split their block equally")
        << "total T 24000 -> total T 24000; item Prep 100 100 -> item Prep 0 100; acts 14000 6;"
           "act R1 10 1 -> item R1 100 10; wait; value 10 -> value 2433 10; act R2 10 2 -> item R2 2433 10;"
           "act R4 5 4 -> item R4 4766 5; act R9 1 9 -> item R9 9433 1; wait; value 1 -> value 14100 1;"
           "endacts -> endacts 14100; item Next 900 9 -> item Next 14100 9";
    QTest::newRow("acts counted late")
        << "total T 10000 -> total T 10000; item P 100 1 -> item P 0 1; acts 9900 10;"
           "act D 1 3 -> item D 100 1; count 30 -> count 1090; bars -> [T] 1090 0..10000 on | [D] 0 0..1 on;"
           "act E 1 6 -> item E 1090 1; wait; value 1 -> value 2080 1; endacts -> endacts 10000;"
           "bars -> [T] 10000 0..10000 on | [E] 1 0..1 on";
    QTest::newRow("a count of 0 puts every act at the end of the block")
        << "total T 1000 -> total T 1000; item P 100 1 -> item P 0 1; acts 500 4; act A 1 2 -> item A 100 1;"
           "count 0 -> count 600; act B 1 3 -> item B 600 1; wait; value 1 -> value 600 1;"
           "endacts -> endacts 600";

    // Parallel batches.
    QTest::newRow("a batch sums its slots on the item")
        << "total T 100000 -> total T 100000; item P 0 1 -> item P 0 1; acts 90000 90;"
           "batch Dl 10 31 3 3000 -> slots 0::0/1,0::0/1,0::0/1 | item Dl 0 3000;"
           "slot f1 0 1000 -> slots 2:f1:0/1000,0::0/1,0::0/1; wait;"
           "slotvalue 0 400 -> slots 2:f1:400/1000,0::0/1,0::0/1 | value 4000 400;"
           "slot f2 1 2000 -> slots 2:f1:400/1000,2:f2:0/2000,0::0/1;"
           "slotvalue 1 500 -> slots 2:f1:400/1000,2:f2:500/2000,0::0/1; wait;"
           "slotvalue 0 1000 -> slots 2:f1:1000/1000,2:f2:500/2000,0::0/1 | value 15000 1500;"
           "slotend 0 -> slots 3:f1:1000/1000,2:f2:500/2000,0::0/1; wait;"
           "slotretry 1 -> value 10000 1000 | slots 3:f1:1000/1000,1:f2:0/2000,0::0/1; wait;"
           "slotvalue 1 100 -> slots 3:f1:1000/1000,1:f2:100/2000,0::0/1 | value 11000 1100;"
           "endbatch -> slots -; act N 1 60 -> item N 30000 1";
    QTest::newRow("a batch of one slot names the item")
        << "total T 100 -> total T 100; item P 0 1 -> item P 0 1; acts 100 10;"
           "batch Dl 1 3 1 50 -> slots 0::0/1 | item Dl 0 50;"
           "slot pkg 0 50 -> activity pkg | slots 2:pkg:0/50; wait; slotvalue 0 25 -> slots 2:pkg:25/50 | "
           "value 10 25; slotend 0 -> slots 3:pkg:25/50;"
           "endbatch -> slots -";
    QTest::newRow("slots the batch does not have are ignored")
        << "total T 100 -> total T 100; item P 0 1 -> item P 0 1; acts 100 10;"
           "batch Dl 1 3 2 50 -> slots 0::0/1,0::0/1 | item Dl 0 50; slot x 2 10; wait; slotvalue 7 5;"
           "slotend 2; slotretry 9; slot y 1 10 -> slots 0::0/1,2:y:0/10";

    // The value throttle: one signal per 10 ms, shared by item and total values.  Structural
    // signals are never throttled: the rows above emit them right after an item's start.
    QTest::newRow("a value 8 ms after the last is still held back")
        << "total T 100 -> total T 100; item A 100 100 -> item A 0 100; wait; value 10 -> value 10 10; hold;"
           "value 20; wait; value 30 -> value 30 30";
    QTest::newRow("the start of an item closes the throttle")
        << "total T 100 -> total T 100; item A 100 100 -> item A 0 100; value 10";
    QTest::newRow("the end of an item is not forced through")
        << "total T 100 -> total T 100; item A 60 10 -> item A 0 10; value 10; item B 40 1 -> item B 60 1";
    QTest::newRow("reaching the total's end, clamped, is shown at once, once")
        << "total T 1000 -> total T 1000; item A 10 1 -> item A 0 1; wait; totalvalue 300 -> totalvalue 300;"
           "bars -> [T] 300 0..1000 on | [A] 0 0..1 on; totalvalue 1500 -> totalvalue 1000; totalvalue 1000; "
           "totalvalue 5000";
    QTest::newRow("a suppressed total value changes nothing")
        << "total T 1000 -> total T 1000; item A 10 1 -> item A 0 1; wait;"
           "totalvalue 1000 -> totalvalue 1000; totalvalue 400; totalvalue 1000";
    QTest::newRow("a suppressed item value still moves the total position")
        << "total T 1000 -> total T 1000; item A 1000 10 -> item A 0 10; value 10; totalvalue 1000";
    QTest::newRow("item and total values share one throttle")
        << "total T 1000 -> total T 1000; item A 1000 10 -> item A 0 10; wait; value 5 -> value 500 5;"
           "totalvalue 600; wait; totalvalue 600 -> totalvalue 600; value 6";
}

void TestProgressModel::script()
{
    QFETCH(QString, lines);

    // An inconclusive run is no fault of the model; it runs again on a fresh one.
    for (int attempt = 0; attempt < 100; ++attempt) {
        HProgressBar total, item;
        Progress::Object model(&total, &item);
        QString const fault = ProgressScript(model, &total, &item).check(lines);
        if (fault != "inconclusive") {
            QVERIFY2(fault.isEmpty(), qPrintable(fault));
            return;
        }
    }
    QSKIP("the machine never gave a quiet 10 ms window to decide the throttle in");
}

void TestProgressModel::guiThreadPumpsEventsAtMostEvery10Ms()
{
    for (int attempt = 0; attempt < 100; ++attempt) {
        HProgressBar total, item;
        Progress::Object model(&total, &item);
        QObject probe;
        bool delivered = false;
        QElapsedTimer sinceStart;
        sinceStart.start();
        model.startTotal("T", 100);
        QMetaObject::invokeMethod(
            &probe, [&] { delivered = true; }, Qt::QueuedConnection);
        model.changeItemActivity("a");
        if (sinceStart.elapsed() > 9)
            continue;
        QVERIFY2(!delivered, "events processed within 10 ms of the last time");
        sinceStart.start();
        while (sinceStart.elapsed() <= 9)
            QThread::msleep(1);
        model.changeItemActivity("b");
        QVERIFY2(delivered, "a reporter on the GUI thread must let queued events through");
        return;
    }
    QSKIP("the machine never gave a quiet 10 ms window to decide the throttle in");
}

QTEST_MAIN(TestProgressModel)
#include "tst_progressmodel.moc"
