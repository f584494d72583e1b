#include "widgets/HProgressBar.h"

#include <QApplication>
#include <QHelpEvent>
#include <QSignalSpy>
#include <QTest>
#include <QToolTip>

namespace
{
// Counts the paint events a widget receives.
class PaintCounter : public QObject
{
public:
    int count = 0;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint)
            ++count;
        return false;
    }
};

void settle()
{
    QApplication::processEvents();
    QTest::qWait(30);
    QApplication::processEvents();
}
} // namespace

class TestHProgressBar : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void text_data();
    void text();
    void resetClearsActivity();
    void repaintsOnlyForNewActivity();
    void toolTip_data();
    void toolTip();
};

void TestHProgressBar::text_data()
{
    QTest::addColumn<QString>("activity");
    QTest::addColumn<QString>("format");
    QTest::addColumn<int>("maximum");
    QTest::addColumn<int>("value");
    QTest::addColumn<QString>("expected");

    QTest::newRow("percentage only") << ""
                                     << "%p%" << 100 << 40 << "40%";
    QTest::newRow("activity and percentage") << "Downloading"
                                             << "%p%" << 100 << 40 << "Downloading (40%)";
    QTest::newRow("activity before any value") << "Resolving"
                                               << "%p%" << 100 << -1 << "Resolving";
    QTest::newRow("activity on a busy bar") << "Waiting"
                                            << "%p%" << 0 << 0 << "Waiting";
    QTest::newRow("nothing at all") << ""
                                    << "%p%" << 100 << -1 << "";
    QTest::newRow("own format") << "Reading"
                                << "%v of %m" << 8 << 3 << "Reading (3 of 8)";
    QTest::newRow("empty format") << "Reading"
                                  << "" << 8 << 3 << "Reading";
    QTest::newRow("complete") << "Done"
                              << "%p%" << 7 << 7 << "Done (100%)";
}

void TestHProgressBar::text()
{
    QFETCH(QString, activity);
    QFETCH(QString, format);
    QFETCH(int, maximum);
    QFETCH(int, value);
    QFETCH(QString, expected);

    HProgressBar bar;
    bar.setFormat(format);
    bar.setRange(0, maximum);
    if (value >= 0)
        bar.setValue(value);
    bar.setActivity(activity);
    QCOMPARE(bar.text(), expected);
    QCOMPARE(bar.activity(), activity);
}

void TestHProgressBar::resetClearsActivity()
{
    HProgressBar bar;
    bar.setRange(0, 100);
    bar.setValue(40);
    bar.setActivity("Installing foo");
    QCOMPARE(bar.text(), QString("Installing foo (40%)"));

    bar.reset();
    QVERIFY(bar.activity().isEmpty());
    QCOMPARE(bar.text(), bar.QProgressBar::text());

    bar.setValue(40);
    QCOMPARE(bar.text(), QString("40%"));
}

void TestHProgressBar::repaintsOnlyForNewActivity()
{
    QWidget window;
    auto* bar = new HProgressBar(&window);
    bar->setRange(0, 100);
    bar->setValue(40);
    bar->resize(300, 30);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    settle();

    PaintCounter counter;
    bar->installEventFilter(&counter);

    bar->setActivity("Downloading");
    settle();
    QCOMPARE(counter.count, 1);

    bar->setActivity("Downloading");
    settle();
    QCOMPARE(counter.count, 1);

    bar->setActivity("Checking");
    settle();
    QCOMPARE(counter.count, 2);
}

void TestHProgressBar::toolTip_data()
{
    QTest::addColumn<bool>("active");
    QTest::addColumn<bool>("alwaysShow");
    QTest::addColumn<bool>("emitted");

    QTest::newRow("active window") << true << false << true;
    QTest::newRow("inactive window") << false << false << false;
    QTest::newRow("inactive window that always shows tips") << false << true << true;
    QTest::newRow("active window that always shows tips") << true << true << true;
}

void TestHProgressBar::toolTip()
{
    QFETCH(bool, active);
    QFETCH(bool, alwaysShow);
    QFETCH(bool, emitted);

    QWidget window;
    window.setAttribute(Qt::WA_AlwaysShowToolTips, alwaysShow);
    auto* bar = new HProgressBar(&window);
    bar->resize(300, 30);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    QWidget other;
    if (active) {
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
    } else {
        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        QVERIFY(!window.isActiveWindow());
    }

    QSignalSpy spy(bar, &HProgressBar::toolTip);
    QPoint const pos(120, 10);
    QHelpEvent event(QEvent::ToolTip, pos, bar->mapToGlobal(pos));
    QApplication::sendEvent(bar, &event);

    QCOMPARE(spy.count(), emitted ? 1 : 0);
    QCOMPARE(event.isAccepted(), emitted);
    if (emitted)
        QCOMPARE(spy.at(0).at(0).toPoint(), pos);
    QVERIFY(!QToolTip::isVisible());
}

QTEST_MAIN(TestHProgressBar)
#include "tst_hprogressbar.moc"
