// The GUI side of the progress model: the two bars it moves, a model that
// reports from a real work thread through queued signals, and the tool-tip
// of download slots over the item bar.

#include "ProgressScript.h"
#include "progress/Progress.h"
#include "progress/ProgressMinion.h"
#include "widgets/GeneralTip.h"
#include "widgets/HProgressBar.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFrame>
#include <QGridLayout>
#include <QHelpEvent>
#include <QLabel>
#include <QScopeGuard>
#include <QSemaphore>
#include <QTest>
#include <QThread>
#include <memory>

using Progress::Steps;
using Progress::ThreadsState;
using Progress::ThreadState;

namespace
{
// A bar left as an earlier operation might leave it, so that every state
// the model shows is one it set.
void dirty(HProgressBar& bar)
{
    bar.setRange(0, 50);
    bar.setValue(20);
    bar.setActivity(QStringLiteral("Stale"));
    bar.setEnabled(true);
}

// The tip's rows as "left|cell|frame|background|text colour".
QStringList tipRows(QWidget* tip)
{
    QStringList rows;
    auto* const grid = qobject_cast<QGridLayout*>(tip->layout());
    if (!grid)
        return { QStringLiteral("no grid layout") };
    for (int row = 0; row < grid->count() / 2; ++row) {
        QLayoutItem* const leftItem = grid->itemAtPosition(row, 0);
        QLayoutItem* const cellItem = grid->itemAtPosition(row, 1);
        auto* const left = leftItem ? qobject_cast<QLabel*>(leftItem->widget()) : nullptr;
        auto* const cell = cellItem ? qobject_cast<QLabel*>(cellItem->widget()) : nullptr;
        if (!left || !cell) {
            rows << QStringLiteral("row %1 is not two labels").arg(row);
            continue;
        }
        QString frame = QString::number(cell->frameStyle());
        if (cell->frameStyle() == (QFrame::StyledPanel | QFrame::Plain))
            frame = QStringLiteral("panel");
        else if (cell->frameStyle() == QFrame::Box)
            frame = QStringLiteral("box");
        QString const fill = cell->autoFillBackground() ? cell->palette().color(QPalette::Window).name()
                                                        : QStringLiteral("unfilled");
        rows << QStringList { left->text(), cell->text(), frame, fill,
            cell->palette().color(QPalette::WindowText).name() }
                    .join(QLatin1Char('|'));
    }
    return rows;
}

// Slots from "state:name:value/max" specifications.
ThreadsState slotsOf(QStringList const& specs)
{
    ThreadsState threads(quint32(specs.size()));
    for (int i = 0; i < specs.size(); ++i) {
        QStringList const parts = specs[i].split(QLatin1Char(':'));
        QStringList const amounts = parts.value(2).split(QLatin1Char('/'));
        threads[unsigned(i)].state = ThreadState::State(parts.value(0).toInt());
        threads[unsigned(i)].name = parts.value(1);
        threads[unsigned(i)].value = amounts.value(0).toULongLong();
        threads[unsigned(i)].max = amounts.value(1).toULongLong();
    }
    return threads;
}

void hover(HProgressBar& bar)
{
    QPoint const pos(5, 5);
    QHelpEvent event(QEvent::ToolTip, pos, bar.mapToGlobal(pos));
    QApplication::sendEvent(&bar, &event);
}

QString const progressColour = QStringLiteral("#ffff00");
QString const completeColour = QStringLiteral("#90ee90");
QString const waitingColour = QStringLiteral("#ff8c00");
QString const black = QStringLiteral("#000000");

QString row(QString const& left, QString const& cell, char const* frame, QString const& fill)
{
    return QStringList { left, cell, QLatin1String(frame), fill, black }.join(QLatin1Char('|'));
}
} // namespace

class TestProgressMinion : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void bars_data();
    void bars();
    void workThreadReportsThroughTheQueue();
    void tip_data();
    void tip();
    void hoverWithoutBatchShowsNoTip();
    void hoverShowsLiveSlots();
};

void TestProgressMinion::cleanup()
{
    GeneralTip::hideTip();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void TestProgressMinion::bars_data()
{
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<QString>("totalBar");
    QTest::addColumn<QString>("itemBar");

    QString const empty = QStringLiteral("[] -1 0..1 off");
    QTest::newRow("a new model empties both bars") << QStringList {} << empty << empty;
    QTest::newRow("a total starts") << QStringList { "total Collecting 24000" }
                                    << "[Collecting] 0 0..24000 on" << empty;
    QTest::newRow("an item starts") << QStringList { "total T 24000", "item Preparing 100 100" }
                                    << "[T] 0 0..24000 on"
                                    << "[Preparing] 0 0..100 on";
    QTest::newRow("the next item moves the total bar")
        << QStringList { "total T 1000", "item A 300 10", "item B 200 4" } << "[T] 300 0..1000 on"
        << "[B] 0 0..4 on";
    QTest::newRow("an item value moves both bars")
        << QStringList { "total T 1000", "item A 100 100", "item B 900 90", "wait", "value 45" }
        << "[T] 550 0..1000 on"
        << "[B] 45 0..90 on";
    QTest::newRow("the item's activity changes")
        << QStringList { "total T 10", "item A 5 5", "activity Other" } << "[T] 0 0..10 on"
        << "[Other] 0 0..5 on";
    QTest::newRow("a late count moves the total bar")
        << QStringList { "total T 1000", "item P 100 1", "acts 600 3", "act A 10 1", "count 6" }
        << "[T] 200 0..1000 on"
        << "[A] 0 0..10 on";
    QTest::newRow("the end of the acts moves the total bar")
        << QStringList { "total T 1000", "item P 100 1", "acts 600 3", "act A 10 1", "endacts" }
        << "[T] 700 0..1000 on"
        << "[A] 0 0..10 on";
    QTest::newRow("a total value") << QStringList { "total T 1000", "item A 10 1", "wait", "totalvalue 640" }
                                   << "[T] 640 0..1000 on"
                                   << "[A] 0 0..1 on";
    QTest::newRow("a new total empties the item bar")
        << QStringList { "total T 1000", "item A 10 1", "total U 50" } << "[U] 0 0..50 on" << empty;
    QTest::newRow("reset empties both bars")
        << QStringList { "total T 1000", "item A 10 5", "wait", "value 3", "reset" } << empty << empty;
    // Counted in bytes, a batch of 6 GB would overflow the bar's int range.
    QTest::newRow("an item past the bar's range keeps its proportions")
        << QStringList { "total T 1000", "item A 1000 6000000000", "wait", "value 3000000000" }
        << "[T] 500 0..1000 on"
        << "[A] 750000000 0..1500000000 on";
    QTest::newRow("one slot names the item bar") << QStringList { "total T 100", "item P 0 1", "acts 100 10",
        "batch Dl 1 3 1 50", "slot pkg-1.0 0 50" }
                                                 << "[T] 0 0..100 on"
                                                 << "[pkg-1.0] 0 0..50 on";
}

void TestProgressMinion::bars()
{
    QFETCH(QStringList, steps);
    QFETCH(QString, totalBar);
    QFETCH(QString, itemBar);

    HProgressBar total;
    HProgressBar item;
    dirty(total);
    dirty(item);
    Progress::Object model(&total, &item);
    ProgressScript script(model);
    for (QString const& step : steps) {
        QStringList const got = script.perform(step);
        QVERIFY2(!got.value(0).startsWith(QLatin1String("bad step")), qPrintable(step));
    }
    QCOMPARE(ProgressScript::barState(total), totalBar);
    QCOMPARE(ProgressScript::barState(item), itemBar);
}

void TestProgressMinion::workThreadReportsThroughTheQueue()
{
    HProgressBar total;
    HProgressBar item;
    item.setAttribute(Qt::WA_AlwaysShowToolTips);
    dirty(total);
    dirty(item);

    // The worker stops at each checkpoint until the GUI thread has looked.
    QSemaphore reached;
    QSemaphore proceed;
    Progress::Object* slot = nullptr;
    QStringList workerFaults;
    bool pumpedByModel = true;
    bool pumpedByLoop = false;

    std::unique_ptr<QThread> thread(QThread::create([&] {
        auto checkpoint = [&] {
            reached.release();
            proceed.acquire();
        };
        auto run = [&](ProgressScript& script, QStringList const& lines) {
            for (QString const& line : lines) {
                QStringList const got = script.perform(ProgressScript::stepOf(line));
                if (got != ProgressScript::expectedOf(line))
                    workerFaults << line + QStringLiteral(" gave ") + got.join(QStringLiteral(" | "));
            }
        };
        {
            Progress::User user(slot, &total, &item);
            if (!slot || slot->thread() != QThread::currentThread()) {
                workerFaults << QStringLiteral("no model of the work thread in the slot");
                checkpoint();
                checkpoint();
                checkpoint();
                return;
            }
            ProgressScript script(*slot);
            run(script,
                {
                    "total Collecting 24000 -> total Collecting 24000",
                    "item Preparing 100 100 -> item Preparing 0 100",
                    "wait",
                    "value 40 -> value 40 40",
                });
            checkpoint();

            run(script,
                {
                    "acts 14000 6",
                    "batch Downloading 0 4 3 3000 -> slots 0::0/1,0::0/1,0::0/1 | item Downloading 100 3000",
                    "slot a.rpm 0 1024 -> slots 2:a.rpm:0/1024,0::0/1,0::0/1",
                    "slot b.rpm 1 300 -> slots 2:a.rpm:0/1024,2:b.rpm:0/300,0::0/1",
                    "wait",
                    "slotvalue 1 300 -> slots 2:a.rpm:0/1024,2:b.rpm:300/300,0::0/1 | value 800 300",
                    "slotend 1 -> slots 2:a.rpm:0/1024,3:b.rpm:300/300,0::0/1",
                    "wait",
                    "slotvalue 0 512 -> slots 2:a.rpm:512/1024,3:b.rpm:300/300,0::0/1 | value 1994 812",
                });
            checkpoint();

            run(script, { "endbatch -> slots -" });
            // A model on a work thread never runs that thread's events, even
            // when its GUI throttle would allow it.
            QObject probe;
            bool ran = false;
            QMetaObject::invokeMethod(
                &probe, [&ran] { ran = true; }, Qt::QueuedConnection);
            QElapsedTimer wait;
            wait.start();
            while (wait.elapsed() <= 20)
                QThread::msleep(1);
            slot->changeItemActivity(QStringLiteral("Checking"));
            pumpedByModel = ran;
            QCoreApplication::processEvents();
            pumpedByLoop = ran;
            checkpoint();
        }
        if (slot)
            workerFaults << QStringLiteral("the slot still holds a model after the run");
    }));
    auto stop = qScopeGuard([&] {
        proceed.release(3);
        thread->wait();
    });
    thread->start();

    // The queued signals of each stage were posted before the worker
    // reached its checkpoint; delivering them shows what the user sees.
    QVERIFY(reached.tryAcquire(1, 60000));
    QCoreApplication::sendPostedEvents();
    QCOMPARE(ProgressScript::barState(total), QStringLiteral("[Collecting] 40 0..24000 on"));
    QCOMPARE(ProgressScript::barState(item), QStringLiteral("[Preparing] 40 0..100 on"));
    hover(item);
    QVERIFY2(!GeneralTip::current(), "a tip without a batch");
    proceed.release();

    QVERIFY(reached.tryAcquire(1, 60000));
    QCoreApplication::sendPostedEvents();
    QCOMPARE(ProgressScript::barState(total), QStringLiteral("[Collecting] 1994 0..24000 on"));
    QCOMPARE(ProgressScript::barState(item), QStringLiteral("[Downloading] 812 0..3000 on"));
    hover(item);
    QVERIFY(GeneralTip::current());
    QCOMPARE(GeneralTip::current()->parentWidget(), &item);
    QCOMPARE(tipRows(GeneralTip::current()),
        (QStringList { row("a.rpm", "512 / 1024 (0.5%%)", "panel", progressColour),
            row("b.rpm", "Complete", "box", completeColour),
            row("1 downloads", "Not Started Yet", "panel", waitingColour) }));
    proceed.release();

    QVERIFY(reached.tryAcquire(1, 60000));
    QCoreApplication::sendPostedEvents();
    QVERIFY2(!GeneralTip::current(), "the tip stays up after its batch ended");
    QCOMPARE(ProgressScript::barState(item), QStringLiteral("[Checking] 812 0..3000 on"));
    proceed.release();

    QVERIFY(thread->wait(60000));
    QVERIFY2(workerFaults.isEmpty(), qPrintable(workerFaults.join(QLatin1Char('\n'))));
    QVERIFY(!pumpedByModel);
    QVERIFY2(pumpedByLoop, "the probe of event processing never ran");
    QCOMPARE(slot, nullptr);

    // Deleting the model resets the bars, and its minion goes after the
    // signals queued before it.
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(ProgressScript::barState(total), QStringLiteral("[] -1 0..1 off"));
    QCOMPARE(ProgressScript::barState(item), QStringLiteral("[] -1 0..1 off"));
}

void TestProgressMinion::tip_data()
{
    QTest::addColumn<QStringList>("slots");
    QTest::addColumn<QStringList>("rows");

    QTest::newRow("a slot of known length")
        << QStringList { "2:a.rpm:512/1024" }
        << QStringList { row("a.rpm", "512 / 1024 (0.5%%)", "panel", progressColour) };
    QTest::newRow("a ratio in general format")
        << QStringList { "2:c.rpm:1/3" }
        << QStringList { row("c.rpm", "1 / 3 (0.333333%%)", "panel", progressColour) };
    QTest::newRow("sizes beyond 32 bits")
        << QStringList { "2:iso:6000000000/8000000000" }
        << QStringList { row("iso", "6000000000 / 8000000000 (0.75%%)", "panel", progressColour) };
    QTest::newRow("a slot of unknown length")
        << QStringList { "2:b.rpm:300/1" }
        << QStringList { row("b.rpm", "In Progress", "panel", progressColour) };
    QTest::newRow("every state, in slot order")
        << QStringList { "0::0/1", "3:done.rpm:5/5", "2:a.rpm:10/40", "1:again.rpm:0/9", "0::0/1" }
        << QStringList { row("done.rpm", "Complete", "box", completeColour),
               row("a.rpm", "10 / 40 (0.25%%)", "panel", progressColour),
               row("again.rpm", "Retrying", "box", waitingColour),
               row("2 downloads", "Not Started Yet", "panel", waitingColour) };
    QTest::newRow("a state past the known ones counts as not started")
        << QStringList { "4:odd:0/1", "2:a:1/1" }
        << QStringList { row("a", "In Progress", "panel", progressColour),
               row("1 downloads", "Not Started Yet", "panel", waitingColour) };
    QTest::newRow("a name is shown as plain text")
        << QStringList { "1:<b>x</b>:0/1" }
        << QStringList { row("<b>x</b>", "Retrying", "box", waitingColour) };

    QStringList twenty;
    QStringList twentyRows;
    for (int i = 0; i < 20; ++i) {
        twenty << QStringLiteral("3:f%1:1/1").arg(i);
        twentyRows << row(QStringLiteral("f%1").arg(i), "Complete", "box", completeColour);
    }
    QTest::newRow("20 complete are listed one by one") << twenty << twentyRows;
    QTest::newRow("21 complete are summed up") << (QStringList(twenty)
        << "3:last:1/1") << QStringList { row("21 downloads", "Complete", "panel", completeColour) };

    QStringList many;
    for (int i = 0; i < 25; ++i)
        many << QStringLiteral("3:g%1:1/1").arg(i);
    many.insert(3, "2:p.rpm:100/400");
    many << "2:q.rpm:7/1";
    QTest::newRow("25 complete and 2 in progress")
        << many
        << QStringList {
               row("25 downloads", "Complete", "panel", completeColour),
               row("p.rpm", "100 / 400 (0.25%%)", "panel", progressColour),
               row("q.rpm", "In Progress", "panel", progressColour),
           };
}

void TestProgressMinion::tip()
{
    QFETCH(QStringList, slots);
    QFETCH(QStringList, rows);

    QWidget area;
    Progress::Minion::fillTip(&area, slotsOf(slots));
    QCOMPARE(tipRows(&area), rows);
    QMargins const margins = area.layout()->contentsMargins();
    QCOMPARE(margins, QMargins(4, 4, 4, 4));
    for (QLabel* const label : area.findChildren<QLabel*>())
        QCOMPARE(label->textFormat(), Qt::PlainText);
}

void TestProgressMinion::hoverWithoutBatchShowsNoTip()
{
    HProgressBar total;
    HProgressBar item;
    item.setAttribute(Qt::WA_AlwaysShowToolTips);
    Progress::Object model(&total, &item);
    ProgressScript script(model);
    for (QString const step : { "total T 100", "item A 50 10", "acts 50 2", "batch D 1 2 2 10", "endbatch" })
        script.perform(step);
    hover(item);
    QVERIFY(!GeneralTip::current());
}

void TestProgressMinion::hoverShowsLiveSlots()
{
    HProgressBar total;
    HProgressBar item;
    item.setAttribute(Qt::WA_AlwaysShowToolTips);
    auto model = std::make_unique<Progress::Object>(&total, &item);
    {
        ProgressScript script(*model);
        for (QString const step :
            { "total T 100", "item P 0 1", "acts 100 10", "batch D 1 5 2 300", "slot x.rpm 0 100" })
            script.perform(step);
    }
    hover(item);
    QPointer<GeneralTip> const tip = GeneralTip::current();
    QVERIFY(tip);
    QVERIFY(tip->isVisible());
    QCOMPARE(tipRows(tip),
        (QStringList { row("x.rpm", "0 / 100 (0%%)", "panel", progressColour),
            row("1 downloads", "Not Started Yet", "panel", waitingColour) }));

    // The tip is rebuilt from the minion's slots while it is up.
    model->setItemActsThreadValue(0, 25);
    model->startItemActThread(QStringLiteral("y.rpm"), 1, 1);
    tip->rebuild();
    QCOMPARE(tipRows(tip),
        (QStringList { row("x.rpm", "25 / 100 (0.25%%)", "panel", progressColour),
            row("y.rpm", "In Progress", "panel", progressColour) }));

    // The end of the operation takes the tip down with the slots.
    model.reset();
    QVERIFY(!GeneralTip::current());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!tip);
    hover(item);
    QVERIFY(!GeneralTip::current());
}

QTEST_MAIN(TestProgressMinion)
#include "tst_progressminion.moc"
