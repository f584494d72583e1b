// The progress model's arithmetic and throttles, observed through the signals
// it emits and the bars its minion moves; a model reporting from a real work
// thread through queued signals; and the download slots' tool-tip.
#include "progress/Progress.h"
#include "progress/ProgressMinion.h"
#include "tests/yumio/TestRows.h"
#include "widgets/GeneralTip.h"
#include "widgets/HProgressBar.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QGridLayout>
#include <QHelpEvent>
#include <QLabel>
#include <QScopeGuard>
#include <QSemaphore>
#include <QTest>
#include <QThread>

using namespace Qt::StringLiterals;
using namespace Progress;

namespace
{
// "[activity] value minimum..maximum on|off"
QString barState(HProgressBar const& bar)
{
    return u"[%1] %2 %3..%4 %5"_s.arg(bar.activity())
        .arg(bar.value())
        .arg(bar.minimum())
        .arg(bar.maximum())
        .arg(bar.isEnabled() ? u"on" : u"off");
}

// Drives a model from one-line steps (activities are single words) and
// records what each emitted, one line per signal; "bars" records the bars, and
// "wait" lets the value throttle open again (10 ms after its last restart).
class Script
{
public:
    explicit Script(Object& model, HProgressBar* total = nullptr, HProgressBar* item = nullptr)
        : model(model)
        , bars { total, item }
    {
        // Through a context object: the model may outlive the script, and signals when it is deleted.
        auto add = [&](auto signal, auto record) { QObject::connect(&model, signal, &context, record); };
        add(&Object::startTotalSig,
            [this](QString a, Steps t) { records << u"total %1 %2"_s.arg(a).arg(t); });
        add(&Object::startItemSig,
            [this](QString a, Steps v, Steps t) { records << u"item %1 %2 %3"_s.arg(a).arg(v).arg(t); });
        add(&Object::changeItemActivitySig, [this](QString a) { records << u"activity "_s + a; });
        add(&Object::changeItemActsSig, [this](Steps v) { records << u"count %1"_s.arg(v); });
        add(&Object::setItemValueSig,
            [this](Steps t, Steps v) { records << u"value %1 %2"_s.arg(t).arg(v); });
        add(&Object::endItemActsSig, [this](Steps v) { records << u"endacts %1"_s.arg(v); });
        add(&Object::setTotalValueSig, [this](Steps v) { records << u"totalvalue %1"_s.arg(v); });
        // "slots state:name:value/max,..." or "slots -".
        add(&Object::updateThreadsStateSig, [this](ThreadsState const& threads) {
            QStringList slots;
            for (unsigned i = 0; i < threads.count(); ++i) {
                ThreadState const& t = threads[i];
                slots << u"%1:%2:%3/%4"_s.arg(t.state).arg(t.name).arg(t.value).arg(t.max);
            }
            records << u"slots "_s + (slots.isEmpty() ? u"-"_s : slots.join(u','));
        });
        add(&Object::resetSig, [this] { records << u"reset"_s; });
    }

    // The activity is the step's one word that is not a number.
    QString perform(QString const& step)
    {
        QStringList const words = step.split(u' ', Qt::SkipEmptyParts);
        if (words.value(0) == u"bars")
            return barState(*bars[0]) + u" | "_s + barState(*bars[1]);
        if (words.value(0) == u"wait") {
            while (sinceRestarted.isValid() && sinceRestarted.elapsed() <= 9)
                QThread::msleep(1);
            return {};
        }
        using A = QString const&;
        using N = Steps const*;
        static QHash<QString, void (*)(Object&, A, N)> const ops {
            { "total", [](Object& m, A a, N n) { m.startTotal(a, n[0]); } },
            { "item", [](Object& m, A a, N n) { m.startItem(a, n[0], n[1]); } },
            { "activity", [](Object& m, A a, N) { m.changeItemActivity(a); } },
            { "acts", [](Object& m, A, N n) { m.setupItemActs(n[0], n[1]); } },
            { "count", [](Object& m, A, N n) { m.changeItemActs(n[0]); } },
            { "act", [](Object& m, A a, N n) { m.startItemAct(a, n[0], n[1]); } },
            { "endacts", [](Object& m, A, N) { m.endItemActs(); } },
            { "batch",
                [](Object& m, A a, N n) { m.setupItemActsThreads(a, n[0], n[1], unsigned(n[2]), n[3]); } },
            { "slot", [](Object& m, A a, N n) { m.startItemActThread(a, unsigned(n[0]), n[1]); } },
            { "slotvalue", [](Object& m, A, N n) { m.setItemActsThreadValue(unsigned(n[0]), n[1]); } },
            { "slotend", [](Object& m, A, N n) { m.endItemActThread(unsigned(n[0])); } },
            { "slotretry", [](Object& m, A, N n) { m.retryItemActThread(unsigned(n[0])); } },
            { "endbatch", [](Object& m, A, N) { m.endItemActsThreads(); } },
            { "value", [](Object& m, A, N n) { m.setItemValue(n[0]); } },
            { "totalvalue", [](Object& m, A, N n) { m.setTotalValue(n[0]); } },
            { "reset", [](Object& m, A, N) { m.reset(); } },
        };
        if (!ops.contains(words.value(0)))
            return u"bad step: "_s + step;
        QString activity;
        QList<Steps> n;
        for (QString const& word : words.mid(1)) {
            bool number = false;
            Steps const value = word.toULongLong(&number);
            if (number)
                n << value;
            else
                activity = word;
        }
        n.resize(4);
        records.clear();
        ops[words[0]](model, activity, n.constData());
        if (!records.filter(QRegularExpression(u"^(item|value|totalvalue) "_s)).isEmpty())
            sinceRestarted.start();
        return records.join(u" | ");
    }

    // Runs "step -> record | record; ..."; returns the first mismatch, if any.
    QString check(QString const& lines)
    {
        for (QString const& line : lines.split(u';')) {
            QString const step = line.section(u"->"_s, 0, 0).trimmed();
            QString expected = line.section(u"->"_s, 1).trimmed();
            expected = expected == u"=" ? step : expected;
            QString const got = perform(step);
            if (got == expected)
                continue;
            return u"\"%1\" gave \"%2\""_s.arg(line, got);
        }
        return {};
    }

private:
    Object& model;
    HProgressBar* bars[2];
    QObject context;
    QStringList records;
    QElapsedTimer sinceRestarted;
};

// Cell colours, as the tip's rows show them.
QString const yellow = "|#ffff00", green = "|#90ee90", orange = "|#ff8c00";

// The tip's rows as "name|cell|background", with "+box" for a boxed cell.
QStringList tipRows(QWidget* tip)
{
    QStringList rows;
    auto* const grid = qobject_cast<QGridLayout*>(tip->layout());
    for (int row = 0; grid && row < grid->rowCount(); ++row) {
        auto label
            = [&](int column) { return qobject_cast<QLabel*>(grid->itemAtPosition(row, column)->widget()); };
        QLabel* const cell = label(1);
        rows << label(0)->text() + '|' + cell->text() + '|' + cell->palette().color(QPalette::Window).name()
                + (cell->frameStyle() == QFrame::Box ? "+box" : "");
    }
    return rows;
}
} // namespace

class TestProgress : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Steps separated by ";", each with the records it must emit after "->";
    // "-> =" for a step whose one record repeats the step.
    void script_data()
    {
        QTest::addColumn<QString>("lines");
        // Shares, and the linear map of an item's own unit into its share.
        row("items claim consecutive shares; a value past the tail is clamped",
            "total T 1000 -> =; item A 300 10 -> item A 0 10; wait; value 5 -> value 150 5;"
            "item B 200 4 -> item B 300 4; bars -> [T] 300 0..1000 on | [B] 0 0..4 on; wait;"
            "value 1 -> value 350 1; bars -> [T] 350 0..1000 on | [B] 1 0..4 on; wait; value 9 -> value 500 "
            "4");
        row("a new total keeps the item chain, reset restarts it",
            "total T 100 -> =; item A 30 10 -> item A 0 10; total U 200 -> =;"
            "bars -> [U] 0 0..200 on | [] -1 0..10 off; item B 10 1 -> item B 30 1; reset -> slots - | reset;"
            "bars -> [] -1 0..1 off | [] -1 0..1 off; total V 50 -> =; item C 10 1 -> item C 0 1");
        row("an item of length 0 maps to its end",
            "total T 100 -> =; item A 40 0 -> item A 0 0; wait; value 7 -> value 40 0");
        // Past the bars' int range both keep their proportions.
        row("scales beyond 32 bits",
            "total T 10000000000 -> =; item A 3000000000 5000000000 -> item A 0 5000000000; wait;"
            "value 4000000000 -> value 2400000000 4000000000;"
            "bars -> [T] 300000000 0..1250000000 on | [A] 1000000000 0..1250000000 on");

        // Runs of acts.
        row("acts split their block equally",
            "total T 24000 -> =; item Prep 100 100 -> item Prep 0 100; acts 14000 6;"
            "act R1 10 1 -> item R1 100 10; wait; value 10 -> value 2433 10; act R2 10 2 -> item R2 2433 10; "
            "act R4 5 4 -> item R4 4766 5;"
            "act R9 1 9 -> item R9 9433 1; wait; value 1 -> value 14100 1; endacts -> endacts 14100;"
            "item Next 900 9 -> item Next 14100 9");
        row("acts counted late",
            "total T 10000 -> =; item P 100 1 -> item P 0 1; acts 9900 10; act D 1 3 -> item D 100 1;"
            "count 30 -> count 1090; bars -> [T] 1090 0..10000 on | [D] 0 0..1 on;"
            "act E 1 6 -> item E 1090 1; wait; value 1 -> value 2080 1; endacts -> endacts 10000");
        row("a count of 0 puts every act at the end of the block",
            "total T 1000 -> =; item P 100 1 -> item P 0 1; acts 500 4; act A 1 2 -> item A 100 1;"
            "count 0 -> count 600; act B 1 3 -> item B 600 1; endacts -> endacts 600");

        // Parallel batches: the item shows the sum of the slots, a retried slot
        // gives its bytes back, and slots the batch does not have are ignored.
        row("a batch sums its slots on the item",
            "total T 100000 -> =; item P 0 1 -> =; acts 90000 90;"
            "batch Dl 10 31 2 3000 -> slots 0::0/1,0::0/1 | item Dl 0 3000;"
            "slot f1 0 1000 -> slots 2:f1:0/1000,0::0/1; slot f2 1 2000 -> slots 2:f1:0/1000,2:f2:0/2000;"
            "wait; slotvalue 1 500 -> slots 2:f1:0/1000,2:f2:500/2000 | value 5000 500;"
            "slotend 0 -> slots 3:f1:0/1000,2:f2:500/2000; wait;"
            "slotretry 1 -> value 0 0 | slots 3:f1:0/1000,1:f2:0/2000;"
            "slot x 2 10; slotvalue 7 5; slotend 2; slotretry 9; endbatch -> slots -; act N 1 60 -> item N "
            "30000 1");

        // The value throttle: one signal per 10 ms, shared by item and total
        // values.  Structural signals are never throttled: the rows above emit
        // them right after an item's start.
        row("the start of an item closes the throttle; its end is not forced through",
            "total T 100 -> =; item A 60 10 -> item A 0 10; value 10; item B 40 1 -> item B 60 1");
        row("the total's end, clamped, is shown at once, once; a suppressed value changes nothing",
            "total T 1000 -> =; item A 10 1 -> item A 0 1; wait; totalvalue 300 -> =;"
            "bars -> [T] 300 0..1000 on | [A] 0 0..1 on; totalvalue 1500 -> totalvalue 1000; totalvalue 400;"
            "totalvalue 5000");
        row("a suppressed item value still moves the total position",
            "total T 1000 -> =; item A 1000 10 -> item A 0 10; value 10; totalvalue 1000");
        row("item and total values share one throttle",
            "total T 1000 -> =; item A 1000 10 -> item A 0 10; wait; value 5 -> value 500 5; totalvalue 600;"
            "wait; totalvalue 600 -> =; value 6");
    }
    void script()
    {
        QFETCH(QString, lines);
        // A machine that stalls for 10 ms lets a value through that the
        // throttle would hold back; a fault of the model shows every time.
        QString fault = "not run";
        for (int attempt = 0; attempt < 5 && !fault.isEmpty(); ++attempt) {
            HProgressBar total, item;
            Object model(&total, &item);
            fault = Script(model, &total, &item).check(lines);
        }
        QVERIFY2(fault.isEmpty(), qPrintable(fault));
    }

    // A reporter on the GUI thread lets queued events through once 10 ms have passed.
    void guiThreadLetsEventsThrough()
    {
        HProgressBar total, item;
        Object model(&total, &item);
        bool delivered = false;
        QMetaObject::invokeMethod(
            &model, [&] { delivered = true; }, Qt::QueuedConnection);
        QThread::msleep(12);
        model.changeItemActivity("a");
        QVERIFY(delivered);
    }

    void workThreadReportsThroughTheQueue()
    {
        HProgressBar total, item;
        item.setAttribute(Qt::WA_AlwaysShowToolTips);
        // The worker stops at each checkpoint until the GUI thread has looked.
        QSemaphore reached, proceed;
        Object* slot = nullptr;
        bool inSlot = false, pumpedByModel = true, pumpedByLoop = false;
        std::unique_ptr<QThread> thread(QThread::create([&] {
            User user(slot, &total, &item);
            inSlot = slot && slot->thread() == QThread::currentThread();
            Script script(*slot);
            auto run = [&](QString const& steps) {
                for (QString const& step : steps.split(u';'))
                    script.perform(step);
            };
            run("total Collecting 24000; item Preparing 100 100; acts 14000 6; batch Downloading 0 4 3 3000;"
                "slot a.rpm 0 1024; slot b.rpm 1 300; wait; slotvalue 1 300; slotend 1;"
                "wait; slotvalue 0 512");
            reached.release();
            proceed.acquire();
            // A model on a work thread never runs that thread's events, even
            // when its GUI throttle would allow it.
            QObject probe;
            bool ran = false;
            QMetaObject::invokeMethod(
                &probe, [&ran] { ran = true; }, Qt::QueuedConnection);
            QThread::msleep(20);
            run("endbatch; activity Checking");
            pumpedByModel = ran;
            QCoreApplication::processEvents();
            pumpedByLoop = ran;
            reached.release();
            proceed.acquire();
        }));
        auto stop = qScopeGuard([&] {
            proceed.release(2);
            thread->wait();
        });
        thread->start();

        // Each stage's signals were queued before its checkpoint; delivering
        // them shows what the user sees.
        QVERIFY(reached.tryAcquire(1, 60000));
        QVERIFY2(inSlot, "no model of the work thread in the slot");
        QCoreApplication::sendPostedEvents();
        QCOMPARE(barState(total), "[Collecting] 1994 0..24000 on");
        QCOMPARE(barState(item), "[Downloading] 812 0..3000 on");
        QHelpEvent hover(QEvent::ToolTip, QPoint(5, 5), item.mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(&item, &hover);
        QVERIFY(GeneralTip::current());
        QCOMPARE(tipRows(GeneralTip::current()),
            QStringList({ "a.rpm|512 / 1024 (0.5%%)" + yellow, "b.rpm|Complete" + green + "+box",
                "1 downloads|Not Started Yet" + orange }));
        proceed.release();

        QVERIFY(reached.tryAcquire(1, 60000));
        QCoreApplication::sendPostedEvents();
        QVERIFY2(!GeneralTip::current(), "the tip stays up after its batch ended");
        QCOMPARE(barState(item), "[Checking] 812 0..3000 on");
        QVERIFY(!pumpedByModel);
        QVERIFY2(pumpedByLoop, "the probe of event processing never ran");
        proceed.release();
        QVERIFY(thread->wait(60000));
        QCOMPARE(slot, nullptr);
        // Deleting the model resets the bars; its minion goes after the signals queued before it.
        QCoreApplication::sendPostedEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(barState(total), "[] -1 0..1 off");
        QCOMPARE(barState(item), "[] -1 0..1 off");
    }

    // Past 20 the complete files are summed up; a state past the known ones
    // counts as not started, and names are plain text.
    void tip()
    {
        ThreadsState threads(26);
        threads[0] = { "a.rpm", 10, 40, ThreadState::InProgress };
        threads[1] = { "iso", 6000000000, 8000000000, ThreadState::InProgress };
        threads[2] = { "b.rpm", 300, 1, ThreadState::InProgress };
        threads[3] = { "<b>x", 0, 9, ThreadState::Retrying };
        threads[4] = { "odd", 0, 1, ThreadState::State(4) };
        for (unsigned i = 5; i < 26; ++i)
            threads[i] = { u"f%1"_s.arg(i), 1, 1, ThreadState::Complete };
        QWidget area;
        Minion::fillTip(&area, threads);
        QCOMPARE(tipRows(&area),
            QStringList({ "21 downloads|Complete" + green, "a.rpm|10 / 40 (0.25%%)" + yellow,
                "iso|6000000000 / 8000000000 (0.75%%)" + yellow, "b.rpm|In Progress" + yellow,
                "<b>x|Retrying" + orange + "+box", "1 downloads|Not Started Yet" + orange }));
        for (QLabel* const label : area.findChildren<QLabel*>())
            QCOMPARE(label->textFormat(), Qt::PlainText);
    }
};

QTEST_MAIN(TestProgress)
#include "tst_progress.moc"
