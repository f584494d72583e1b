#include "widgets/GeneralTip.h"

#include <QApplication>
#include <QGridLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPointer>
#include <QScreen>
#include <QTest>

namespace
{
// What the builder saw; the tip's owner keeps it, as a progress minion does.
struct Source {
    int builds = 0;
    QString text = "In Progress";
    void* seen = nullptr;
};

void build(GeneralTip* tip, void* data)
{
    auto* source = static_cast<Source*>(data);
    ++source->builds;
    source->seen = data;
    auto* grid = new QGridLayout(tip);
    grid->setContentsMargins(4, 4, 4, 4);
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
    void showsBuiltContent();
    void placement_data();
    void placement();
    void replacesPreviousTip();
    void goesAway_data();
    void goesAway();
    void staysWhileInside();
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
    window = widget = nullptr;
    QApplication::processEvents();
}

void TestGeneralTip::showsBuiltContent()
{
    Source source;
    GeneralTip::showTip(widget->mapToGlobal(QPoint(5, 5)), build, &source, widget, false);
    GeneralTip* tip = GeneralTip::current();
    QVERIFY(tip);
    QVERIFY(tip->isVisible());
    QCOMPARE(source.builds, 1);
    QCOMPARE(source.seen, static_cast<void*>(&source));
    QCOMPARE(labels(tip), (QStringList { "foo-1.0-1.noarch.rpm", "In Progress" }));
    // Sized to its content.
    QVERIFY(tip->width() >= tip->layout()->sizeHint().width());
    QVERIFY(tip->height() >= tip->layout()->sizeHint().height());
    QVERIFY(tip->windowFlags() & Qt::ToolTip);
}

void TestGeneralTip::placement_data()
{
    QTest::addColumn<QString>("where");

    QTest::newRow("middle") << "middle";
    QTest::newRow("bottom right corner") << "bottom right";
    QTest::newRow("right edge") << "right";
    QTest::newRow("bottom edge") << "bottom";
}

void TestGeneralTip::placement()
{
    QFETCH(QString, where);

    QRect const screen = widget->screen()->availableGeometry();
    QPoint pos = screen.center();
    if (where.contains("right"))
        pos.setX(screen.right() - 3);
    if (where.contains("bottom"))
        pos.setY(screen.bottom() - 3);

    Source source;
    GeneralTip::showTip(pos, build, &source, widget, false);
    GeneralTip* tip = GeneralTip::current();
    QVERIFY(tip);
    QRect const frame = tip->frameGeometry();
    QVERIFY2(screen.contains(frame),
        qPrintable(QStringLiteral("%1,%2 %3x%4")
                       .arg(frame.x())
                       .arg(frame.y())
                       .arg(frame.width())
                       .arg(frame.height())));
    // Never under the pointer, where it would hide what it describes.
    QVERIFY(!frame.contains(pos));
    if (where == "middle")
        QCOMPARE(frame.topLeft(), pos + QPoint(2, 16));
    if (where.contains("bottom"))
        QVERIFY(frame.bottom() < pos.y());
}

void TestGeneralTip::replacesPreviousTip()
{
    Source first;
    Source second;
    second.text = "Complete";
    GeneralTip::showTip(widget->mapToGlobal(QPoint(5, 5)), build, &first, widget, false);
    QPointer<GeneralTip> old = GeneralTip::current();
    GeneralTip::showTip(widget->mapToGlobal(QPoint(50, 5)), build, &second, widget, false);
    QVERIFY(GeneralTip::current() != old.data());
    QVERIFY(old.isNull() || !old->isVisible());
    QTRY_VERIFY(old.isNull());
    QCOMPARE(labels(GeneralTip::current()).last(), QString("Complete"));
    QCOMPARE(first.builds, 1);
    QCOMPARE(second.builds, 1);
}

void TestGeneralTip::goesAway_data()
{
    QTest::addColumn<QString>("cause");

    QTest::newRow("key press") << "key";
    QTest::newRow("click") << "click";
    QTest::newRow("pointer leaves the widget") << "leave";
    QTest::newRow("pointer moves outside the widget") << "move outside";
    QTest::newRow("widget hidden") << "hide";
    QTest::newRow("window hidden") << "hide window";
    QTest::newRow("widget deleted") << "delete";
    QTest::newRow("hideTip") << "hideTip";
}

void TestGeneralTip::goesAway()
{
    QFETCH(QString, cause);

    Source source;
    GeneralTip::showTip(widget->mapToGlobal(QPoint(5, 5)), build, &source, widget, true);
    QPointer<GeneralTip> tip = GeneralTip::current();
    QVERIFY(tip);

    if (cause == "key") {
        QTest::keyClick(window, Qt::Key_A);
    } else if (cause == "click") {
        QTest::mouseClick(window, Qt::LeftButton, {}, QPoint(5, 5));
    } else if (cause == "leave") {
        QEvent leave(QEvent::Leave);
        QApplication::sendEvent(widget, &leave);
    } else if (cause == "move outside") {
        QPoint const local(250, 80);
        QMouseEvent move(
            QEvent::MouseMove, local, window->mapToGlobal(local), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(window, &move);
    } else if (cause == "hide") {
        widget->hide();
    } else if (cause == "hide window") {
        window->hide();
    } else if (cause == "delete") {
        delete widget;
        widget = nullptr;
    } else {
        GeneralTip::hideTip();
    }
    QVERIFY(!GeneralTip::current());
    QVERIFY(tip.isNull() || !tip->isVisible());
    QTRY_VERIFY(tip.isNull());
}

void TestGeneralTip::staysWhileInside()
{
    Source source;
    GeneralTip::showTip(widget->mapToGlobal(QPoint(5, 5)), build, &source, widget, false);
    QPoint const local(100, 15);
    QMouseEvent move(
        QEvent::MouseMove, local, widget->mapToGlobal(local), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(widget, &move);
    QApplication::processEvents();
    QVERIFY(GeneralTip::current());
    QVERIFY(GeneralTip::current()->isVisible());
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
    QCOMPARE(labels(tip), (QStringList { "foo-1.0-1.noarch.rpm", "512 / 1024" }));

    Source still;
    GeneralTip::showTip(widget->mapToGlobal(QPoint(5, 5)), build, &still, widget, false);
    still.text = "512 / 1024";
    QTest::qWait(3 * GeneralTip::refreshInterval);
    QCOMPARE(still.builds, 1);
    QCOMPARE(labels(GeneralTip::current()).last(), QString("In Progress"));
}

QTEST_MAIN(TestGeneralTip)
#include "tst_generaltip.moc"
