#include "widgets/GeneralTip.h"

#include <QApplication>
#include <QGridLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QScreen>
#include <QTest>

namespace
{
// What the builder is given to show; its owner keeps it, as a progress minion does.
struct Source {
    int builds = 0;
    QString text = "In Progress";
};

void build(GeneralTip* tip, void* data)
{
    auto* source = static_cast<Source*>(data);
    ++source->builds;
    auto* grid = new QGridLayout(tip);
    grid->addWidget(new QLabel("foo-1.0-1.noarch.rpm", tip), 0, 0);
    grid->addWidget(new QLabel(source->text, tip), 0, 1);
}

QStringList labels(GeneralTip* tip)
{
    QStringList texts;
    for (QLabel* label : tip->findChildren<QLabel*>())
        texts << label->text();
    return texts;
}
} // namespace

class TestGeneralTip : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void showsOneTipAtATime();
    void placementNearTheCorner();
    void goesAway_data();
    void goesAway();
    void liveTipFollowsItsSource();

private:
    QWidget* window = nullptr;
    QWidget* widget = nullptr;
};

void TestGeneralTip::init()
{
    window = new QWidget;
    widget = new QWidget(window);
    widget->setGeometry(20, 20, 200, 30);
    window->resize(300, 100);
    window->show();
    window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(window));
}

void TestGeneralTip::cleanup()
{
    GeneralTip::hideTip();
    delete window;
    QApplication::processEvents();
}

void TestGeneralTip::showsOneTipAtATime()
{
    Source first, second;
    second.text = "Complete";
    GeneralTip::showTip(widget->mapToGlobal(QPoint(5, 5)), build, &first, widget, false);
    QPointer<GeneralTip> const old = GeneralTip::current();
    QVERIFY(old && old->isVisible());
    QCOMPARE(labels(old), QStringList({ "foo-1.0-1.noarch.rpm", "In Progress" }));
    QVERIFY(old->width() >= old->layout()->sizeHint().width());

    GeneralTip::showTip(widget->mapToGlobal(QPoint(50, 5)), build, &second, widget, false);
    QVERIFY(GeneralTip::current() != old);
    QTRY_VERIFY(old.isNull());
    QCOMPARE(labels(GeneralTip::current()).last(), "Complete");
    QCOMPARE(first.builds + second.builds, 2);
}

void TestGeneralTip::placementNearTheCorner()
{
    QRect const screen = widget->screen()->availableGeometry();
    QPoint const pos = screen.bottomRight() - QPoint(3, 3);
    Source source;
    GeneralTip::showTip(pos, build, &source, widget, false);
    QRect const frame = GeneralTip::current()->frameGeometry();
    // On the screen, and never under the pointer, where it would hide what it describes.
    QVERIFY(screen.contains(frame));
    QVERIFY(!frame.contains(pos));
    QVERIFY(frame.bottom() < pos.y());
}

void TestGeneralTip::goesAway_data()
{
    QTest::addColumn<QString>("cause");
    QTest::addColumn<bool>("stays");

    QTest::newRow("key press") << "key" << false;
    QTest::newRow("click") << "click" << false;
    QTest::newRow("pointer leaves the widget") << "leave" << false;
    QTest::newRow("pointer moves outside the widget") << "move outside" << false;
    QTest::newRow("pointer moves inside the widget") << "move inside" << true;
    QTest::newRow("widget hidden") << "hide" << false;
    QTest::newRow("widget deleted") << "delete" << false;
}

void TestGeneralTip::goesAway()
{
    QFETCH(QString, cause);
    QFETCH(bool, stays);
    Source source;
    GeneralTip::showTip(widget->mapToGlobal(QPoint(5, 5)), build, &source, widget, true);
    QPointer<GeneralTip> tip = GeneralTip::current();
    QVERIFY(tip);

    auto move = [&](QWidget* to, QPoint local) {
        QMouseEvent event(
            QEvent::MouseMove, local, to->mapToGlobal(local), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(to, &event);
    };
    if (cause == "key") {
        QTest::keyClick(window, Qt::Key_A);
    } else if (cause == "click") {
        QTest::mouseClick(window, Qt::LeftButton, {}, QPoint(5, 5));
    } else if (cause == "leave") {
        QEvent leave(QEvent::Leave);
        QApplication::sendEvent(widget, &leave);
    } else if (cause == "move outside") {
        move(window, QPoint(250, 80));
    } else if (cause == "move inside") {
        move(widget, QPoint(100, 15));
    } else if (cause == "hide") {
        widget->hide();
    } else {
        delete widget;
    }
    QApplication::processEvents();
    QCOMPARE(GeneralTip::current() != nullptr, stays);
    if (stays)
        QVERIFY(tip && tip->isVisible());
    else
        QTRY_VERIFY(tip.isNull());
}

void TestGeneralTip::liveTipFollowsItsSource()
{
    Source live;
    GeneralTip::showTip(widget->mapToGlobal(QPoint(5, 5)), build, &live, widget, true);
    GeneralTip* tip = GeneralTip::current();
    live.text = "512 / 1024";
    QTRY_VERIFY_WITH_TIMEOUT(live.builds >= 2, 5 * GeneralTip::refreshInterval);
    QCOMPARE(GeneralTip::current(), tip);
    // The old content is replaced, not piled up.
    QCOMPARE(labels(tip), QStringList({ "foo-1.0-1.noarch.rpm", "512 / 1024" }));

    Source still;
    GeneralTip::showTip(widget->mapToGlobal(QPoint(5, 5)), build, &still, widget, false);
    still.text = "512 / 1024";
    QTest::qWait(3 * GeneralTip::refreshInterval);
    QCOMPARE(still.builds, 1);
}

QTEST_MAIN(TestGeneralTip)
#include "tst_generaltip.moc"
