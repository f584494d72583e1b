#include "widgets/HProgressBar.h"

#include <QApplication>
#include <QHelpEvent>
#include <QSignalSpy>
#include <QTest>
#include <QToolTip>

class TestHProgressBar : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void text_data();
    void text();
    void repaintsOnlyForNewActivity();
    void toolTip_data();
    void toolTip();
};

void TestHProgressBar::text_data()
{
    QTest::addColumn<QString>("activity");
    QTest::addColumn<QString>("format");
    QTest::addColumn<int>("value"); // -1: none yet
    QTest::addColumn<QString>("expected");

    auto row = [](char const* name, QString activity, QString format, int value, QString expected) {
        QTest::newRow(name) << activity << format << value << expected;
    };
    row("percentage only", "", "%p%", 40, "40%");
    row("activity and percentage", "Downloading", "%p%", 40, "Downloading (40%)");
    row("activity before any value", "Resolving", "%p%", -1, "Resolving");
    row("own format", "Reading", "%v of %m", 30, "Reading (30 of 100)");
}

void TestHProgressBar::text()
{
    QFETCH(QString, activity);
    QFETCH(QString, format);
    QFETCH(int, value);
    HProgressBar bar;
    bar.setFormat(format);
    bar.setRange(0, 100);
    if (value >= 0)
        bar.setValue(value);
    bar.setActivity(activity);
    QTEST(bar.text(), "expected");

    // reset() forgets the activity: only the toolkit's text is left.
    bar.reset();
    bar.setValue(40);
    QCOMPARE(bar.text(), bar.QProgressBar::text());
}

void TestHProgressBar::repaintsOnlyForNewActivity()
{
    struct PaintCounter : QObject {
        int count = 0;
        bool eventFilter(QObject*, QEvent* event) override
        {
            count += event->type() == QEvent::Paint;
            return false;
        }
    } counter;
    auto settle = [] {
        QApplication::processEvents();
        QTest::qWait(30);
    };
    HProgressBar bar;
    bar.resize(300, 30);
    bar.show();
    QVERIFY(QTest::qWaitForWindowExposed(&bar));
    settle();
    bar.installEventFilter(&counter);
    for (auto [activity, paints] :
        { std::pair { "Downloading", 1 }, { "Downloading", 1 }, { "Checking", 2 } }) {
        bar.setActivity(activity);
        settle();
        QCOMPARE(counter.count, paints);
    }
}

void TestHProgressBar::toolTip_data()
{
    QTest::addColumn<bool>("active");
    QTest::addColumn<bool>("alwaysShow");
    QTest::addColumn<bool>("emitted");

    QTest::newRow("active window") << true << false << true;
    QTest::newRow("inactive window") << false << false << false;
    QTest::newRow("inactive window that always shows tips") << false << true << true;
}

void TestHProgressBar::toolTip()
{
    QFETCH(bool, active);
    QFETCH(bool, alwaysShow);
    QFETCH(bool, emitted);

    QWidget window, other;
    window.setAttribute(Qt::WA_AlwaysShowToolTips, alwaysShow);
    auto* bar = new HProgressBar(&window);
    window.show();
    QWidget* const front = active ? &window : &other;
    front->show();
    front->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(front));

    QSignalSpy spy(bar, &HProgressBar::toolTip);
    QHelpEvent event(QEvent::ToolTip, QPoint(12, 10), bar->mapToGlobal(QPoint(12, 10)));
    QApplication::sendEvent(bar, &event);
    QCOMPARE(spy.count(), emitted ? 1 : 0);
    QCOMPARE(event.isAccepted(), emitted);
    if (emitted)
        QCOMPARE(spy.at(0).at(0).toPoint(), QPoint(12, 10));
    // The owner decides what to show; the toolkit's own tip never appears.
    QVERIFY(!QToolTip::isVisible());
}

QTEST_MAIN(TestHProgressBar)
#include "tst_hprogressbar.moc"
