#include "widgets/HFrameLabel.h"
#include "widgets/HMenu.h"
#include "widgets/HScrollArea.h"

#include <QApplication>
#include <QHelpEvent>
#include <QScreen>
#include <QScrollBar>
#include <QTest>
#include <QToolTip>

class TestKit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void frameLabelDrawsNothingWithoutText();
    void menuShowsToolTips();
    void scrollArea_data();
    void scrollArea();
};

void TestKit::frameLabelDrawsNothingWithoutText()
{
    QColor const grey(200, 200, 200);
    for (QString const text : { "Unlisted Actions", "" }) {
        QWidget window;
        window.setPalette(QPalette(grey));
        window.setAutoFillBackground(true);
        auto* label = new HFrameLabel("Unlisted Actions", &window);
        QPalette yellow = label->palette();
        yellow.setColor(QPalette::Window, Qt::yellow);
        label->setPalette(yellow);
        label->setFixedSize(label->sizeHint());
        label->setText(text);
        label->move(10, 10);
        window.resize(label->width() + 20, label->height() + 20);

        // Filled inside the frame left of any text; with no text, not even a frame.
        QImage const image = window.grab(label->geometry()).toImage();
        QColor const inside = image.pixelColor(label->frameWidth() + 1, label->height() / 2);
        QCOMPARE(inside, text.isEmpty() ? grey : QColor(Qt::yellow));
        for (int y = 0; text.isEmpty() && y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                QCOMPARE(image.pixelColor(x, y), grey);
    }
}

void TestKit::menuShowsToolTips()
{
    QWidget window;
    HMenu menu("&Cache", &window);
    QAction* action = menu.addAction("Clean Packages");
    action->setToolTip(
        "Clean RPM packages cached locally in /var/cache/dnf\n(useful for recovering disk space)");
    window.show();
    menu.popup(window.mapToGlobal(QPoint(0, 0)));
    QVERIFY(QTest::qWaitForWindowExposed(&menu));
    QPoint const pos = menu.actionGeometry(action).center();
    QHelpEvent event(QEvent::ToolTip, pos, menu.mapToGlobal(pos));
    QApplication::sendEvent(&menu, &event);
    QTRY_VERIFY(QToolTip::isVisible());
    QCOMPARE(QToolTip::text(), action->toolTip());
    QToolTip::hideText();
}

void TestKit::scrollArea_data()
{
    QTest::addColumn<QSize>("content");
    QTest::addColumn<bool>("horizontal");
    QTest::addColumn<bool>("vertical");

    QTest::newRow("small") << QSize(200, 150) << false << false;
    QTest::newRow("taller than the screen") << QSize(200, 5000) << false << true;
    QTest::newRow("larger than the screen") << QSize(5000, 5000) << true << true;
}

void TestKit::scrollArea()
{
    QFETCH(QSize, content);
    HScrollArea area;
    auto* inner = new QWidget;
    inner->setMinimumSize(content);
    area.setWidget(inner);
    // Sized for its content up to what the screen holds; only the overflowing direction scrolls.
    QSize const hint = area.sizeHint();
    QVERIFY(area.screen()->availableGeometry().size().boundedTo(hint) == hint);
    area.resize(hint);
    area.show();
    QVERIFY(QTest::qWaitForWindowExposed(&area));
    QTEST(area.horizontalScrollBar()->isVisible(), "horizontal");
    QTEST(area.verticalScrollBar()->isVisible(), "vertical");
}

QTEST_MAIN(TestKit)
#include "tst_kit.moc"
