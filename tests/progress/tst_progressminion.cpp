// The GUI side of the progress model: a model reporting from a real work
// thread through queued signals, and the download slots' tool-tip.
#include "ProgressScript.h"
#include "progress/ProgressMinion.h"
#include "widgets/GeneralTip.h"

#include <QApplication>
#include <QGridLayout>
#include <QHelpEvent>
#include <QLabel>
#include <QScopeGuard>
#include <QSemaphore>
#include <QTest>

using Progress::ThreadsState;

namespace
{
QString const empty = "[] -1 0..1 off";

// A bar left as an earlier operation might leave it.
void dirty(HProgressBar& bar)
{
    bar.setRange(0, 50);
    bar.setValue(20);
    bar.setActivity("Stale");
    bar.setEnabled(true);
}

// The tip's rows as "left|cell|frame style|background|text colour".
QStringList tipRows(QWidget* tip)
{
    QStringList rows;
    auto* const grid = qobject_cast<QGridLayout*>(tip->layout());
    for (int row = 0; grid && row < grid->rowCount(); ++row) {
        auto label = [&](int column) {
            QLayoutItem* const item = grid->itemAtPosition(row, column);
            return item ? qobject_cast<QLabel*>(item->widget()) : nullptr;
        };
        QLabel *left = label(0), *cell = label(1);
        if (!left || !cell)
            return { "not a grid of labels" };
        QPalette const colours = cell->palette();
        rows << u"%1|%2|%3|%4|%5"_s.arg(left->text(), cell->text(), QString::number(cell->frameStyle()),
            cell->autoFillBackground() ? colours.color(QPalette::Window).name() : "unfilled",
            colours.color(QPalette::WindowText).name());
    }
    return rows;
}

// A styled panel with a plain shadow, or a plain box.
QString row(QString const& left, QString const& cell, char const* fill, bool boxed = false)
{
    return u"%1|%2|%3|%4|#000000"_s.arg(
        left, cell, QString::number(boxed ? QFrame::Box : QFrame::StyledPanel | QFrame::Plain), fill);
}
char const* const progress = "#ffff00";
char const* const complete = "#90ee90";
char const* const waiting = "#ff8c00";

// Slots from "state:name:value/max" specifications.
ThreadsState slotsOf(QStringList const& specs)
{
    ThreadsState threads(quint32(specs.size()));
    for (unsigned i = 0; i < threads.count(); ++i) {
        QStringList const parts = specs[i].split(u':');
        threads[i].state = Progress::ThreadState::State(parts[0].toInt());
        threads[i].name = parts[1];
        threads[i].value = parts[2].section(u'/', 0, 0).toULongLong();
        threads[i].max = parts[2].section(u'/', 1).toULongLong();
    }
    return threads;
}

void hover(HProgressBar& bar)
{
    QHelpEvent event(QEvent::ToolTip, QPoint(5, 5), bar.mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(&bar, &event);
}
} // namespace

class TestProgressMinion : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        GeneralTip::hideTip();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    void workThreadReportsThroughTheQueue()
    {
        HProgressBar total, item;
        item.setAttribute(Qt::WA_AlwaysShowToolTips);
        dirty(total);
        dirty(item);

        // The worker stops at each checkpoint until the GUI thread has looked.
        QSemaphore reached, proceed;
        Progress::Object* slot = nullptr;
        QStringList faults;
        bool pumpedByModel = true, pumpedByLoop = false;
        std::unique_ptr<QThread> thread(QThread::create([&] {
            auto checkpoint = [&] {
                reached.release();
                proceed.acquire();
            };
            {
                Progress::User user(slot, &total, &item);
                if (!slot || slot->thread() != QThread::currentThread()) {
                    faults << "no model of the work thread in the slot";
                    reached.release(3);
                    return;
                }
                // What the model emits is tst_progressmodel's; here it is what reaches the bars.
                ProgressScript script(*slot);
                auto run = [&](QString const& steps) {
                    for (QString const& step : steps.split(u';'))
                        script.perform(step);
                };
                run("total Collecting 24000; item Preparing 100 100; wait; value 40");
                checkpoint();
                run("acts 14000 6; batch Downloading 0 4 3 3000; slot a.rpm 0 1024; slot b.rpm 1 300; wait;"
                    "slotvalue 1 300; slotend 1; wait; slotvalue 0 512");
                checkpoint();
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
                checkpoint();
            }
            if (slot)
                faults << "the slot still holds a model after the run";
        }));
        auto stop = qScopeGuard([&] {
            proceed.release(3);
            thread->wait();
        });
        thread->start();

        // Each stage's signals were queued before its checkpoint; delivering
        // them shows what the user sees.
        QVERIFY(reached.tryAcquire(1, 60000));
        QCoreApplication::sendPostedEvents();
        QCOMPARE(ProgressScript::barState(total), "[Collecting] 40 0..24000 on");
        QCOMPARE(ProgressScript::barState(item), "[Preparing] 40 0..100 on");
        hover(item);
        QVERIFY2(!GeneralTip::current(), "a tip without a batch");
        proceed.release();

        QVERIFY(reached.tryAcquire(1, 60000));
        QCoreApplication::sendPostedEvents();
        QCOMPARE(ProgressScript::barState(total), "[Collecting] 1994 0..24000 on");
        QCOMPARE(ProgressScript::barState(item), "[Downloading] 812 0..3000 on");
        hover(item);
        QVERIFY(GeneralTip::current());
        QCOMPARE(GeneralTip::current()->parentWidget(), &item);
        QCOMPARE(tipRows(GeneralTip::current()),
            QStringList({ row("a.rpm", "512 / 1024 (0.5%%)", progress),
                row("b.rpm", "Complete", complete, true), row("1 downloads", "Not Started Yet", waiting) }));
        proceed.release();

        QVERIFY(reached.tryAcquire(1, 60000));
        QCoreApplication::sendPostedEvents();
        QVERIFY2(!GeneralTip::current(), "the tip stays up after its batch ended");
        QCOMPARE(ProgressScript::barState(item), "[Checking] 812 0..3000 on");
        proceed.release();

        QVERIFY(thread->wait(60000));
        faults.removeAll(QString());
        QVERIFY2(faults.isEmpty(), qPrintable(faults.join(u'\n')));
        QVERIFY(!pumpedByModel);
        QVERIFY2(pumpedByLoop, "the probe of event processing never ran");
        QCOMPARE(slot, nullptr);
        // Deleting the model resets the bars; its minion goes after the signals queued before it.
        QCoreApplication::sendPostedEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(ProgressScript::barState(total), empty);
        QCOMPARE(ProgressScript::barState(item), empty);
    }

    void tip_data()
    {
        QTest::addColumn<QStringList>("slots");
        QTest::addColumn<QStringList>("rows");

        QTest::newRow("in progress, of known and unknown length")
            << QStringList { "2:a.rpm:512/1024", "2:c.rpm:1/3", "2:iso:6000000000/8000000000",
                   "2:b.rpm:300/1" }
            << QStringList { row("a.rpm", "512 / 1024 (0.5%%)", progress),
                   row("c.rpm", "1 / 3 (0.333333%%)", progress),
                   row("iso", "6000000000 / 8000000000 (0.75%%)", progress),
                   row("b.rpm", "In Progress", progress) };
        // A state past the known ones counts as not started; names are plain text.
        QTest::newRow("every state, in slot order")
            << QStringList { "0::0/1", "3:done.rpm:5/5", "2:a.rpm:10/40", "1:<b>x</b>:0/9", "4:odd:0/1" }
            << QStringList { row("done.rpm", "Complete", complete, true),
                   row("a.rpm", "10 / 40 (0.25%%)", progress), row("<b>x</b>", "Retrying", waiting, true),
                   row("2 downloads", "Not Started Yet", waiting) };

        QStringList twenty, twentyRows;
        for (int i = 0; i < 20; ++i) {
            twenty << u"3:f%1:1/1"_s.arg(i);
            twentyRows << row(u"f%1"_s.arg(i), "Complete", complete, true);
        }
        QTest::newRow("20 complete are listed one by one") << twenty << twentyRows;
        QTest::newRow("21 complete are summed up")
            << (twenty + QStringList { "3:last:1/1" })
            << QStringList { row("21 downloads", "Complete", complete) };
        QStringList many
            = twenty + QStringList { "3:g:1/1", "3:h:1/1", "3:i:1/1", "3:j:1/1", "3:k:1/1", "2:q.rpm:7/1" };
        many.insert(3, "2:p.rpm:100/400");
        QTest::newRow("25 complete and 2 in progress")
            << many
            << QStringList { row("25 downloads", "Complete", complete),
                   row("p.rpm", "100 / 400 (0.25%%)", progress), row("q.rpm", "In Progress", progress) };
    }

    void tip()
    {
        QFETCH(QStringList, slots);
        QWidget area;
        Progress::Minion::fillTip(&area, slotsOf(slots));
        QTEST(tipRows(&area), "rows");
        for (QLabel* const label : area.findChildren<QLabel*>())
            QCOMPARE(label->textFormat(), Qt::PlainText);
    }

    void hoverShowsLiveSlots()
    {
        HProgressBar total, item;
        item.setAttribute(Qt::WA_AlwaysShowToolTips);
        Progress::Object model(&total, &item);
        ProgressScript script(model);
        for (QString const step :
            { "total T 100", "item P 0 1", "acts 100 10", "batch D 1 5 2 300", "slot x.rpm 0 100" })
            script.perform(step);
        hover(item);
        QPointer<GeneralTip> const tip = GeneralTip::current();
        QVERIFY(tip && tip->isVisible());
        // Rebuilt from the minion's slots as they change while it is up.
        model.setItemActsThreadValue(0, 25);
        model.startItemActThread("y.rpm", 1, 1);
        tip->rebuild();
        QCOMPARE(tipRows(tip),
            QStringList(
                { row("x.rpm", "25 / 100 (0.25%%)", progress), row("y.rpm", "In Progress", progress) }));
    }
};

QTEST_MAIN(TestProgressMinion)
#include "tst_progressminion.moc"
