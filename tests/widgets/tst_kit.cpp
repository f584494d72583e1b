#include "widgets/HFrameLabel.h"
#include "widgets/HMenu.h"
#include "widgets/HScrollArea.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QHelpEvent>
#include <QScreen>
#include <QScrollBar>
#include <QTest>
#include <QToolTip>

class TestKit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void frameLabel_data();
    void frameLabel();
    void frameLabelKeepsItsRoom();
    void menuToolTips_data();
    void menuToolTips();
    void scrollArea_data();
    void scrollArea();
};

void TestKit::frameLabel_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QColor>("background");
    QTest::addColumn<bool>("filled");

    QTest::newRow("warning") << "Unlisted Actions" << QColor("yellow") << true;
    QTest::newRow("error") << "A repository has no Identifier" << QColor("#ff6060") << true;
    QTest::newRow("empty warning") << "" << QColor("yellow") << false;
    QTest::newRow("empty error") << "" << QColor("#ff6060") << false;
}

void TestKit::frameLabel()
{
    QFETCH(QString, text);
    QFETCH(QColor, background);
    QFETCH(bool, filled);

    QWidget window;
    QPalette plain = window.palette();
    plain.setColor(QPalette::Window, QColor(200, 200, 200));
    window.setPalette(plain);
    window.setAutoFillBackground(true);
    auto* label = new HFrameLabel(&window);
    QPalette coloured = label->palette();
    coloured.setColor(QPalette::Window, background);
    label->setPalette(coloured);
    label->setText("Unlisted Actions");
    label->setFixedSize(label->sizeHint());
    label->setText(text);
    label->move(10, 10);
    window.resize(label->width() + 20, label->height() + 20);

    QImage const image = window.grab().toImage();
    // Inside the frame, left of any text.
    QColor const inside
        = image.pixelColor(label->x() + label->frameWidth() + 1, label->y() + label->height() / 2);
    QColor const outside = image.pixelColor(3, 3);
    QCOMPARE(outside, QColor(200, 200, 200));
    QCOMPARE(inside, filled ? background : QColor(200, 200, 200));
    if (!filled) {
        // Nothing at all is drawn: no frame either.
        QImage const area = image.copy(label->geometry());
        for (int y = 0; y < area.height(); ++y)
            for (int x = 0; x < area.width(); ++x)
                QCOMPARE(area.pixelColor(x, y), QColor(200, 200, 200));
    }
}

void TestKit::frameLabelKeepsItsRoom()
{
    // A label fixed to the size of its warning keeps that size when the text
    // goes, so that the buttons beside it do not move.
    QWidget window;
    auto* layout = new QHBoxLayout(&window);
    auto* label = new HFrameLabel("Unlisted Actions", &window);
    label->setFixedSize(label->sizeHint());
    auto* right = new QWidget(&window);
    right->setFixedSize(40, 20);
    layout->addWidget(label);
    layout->addWidget(right);
    layout->addStretch(1);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QPoint const before = right->pos();
    label->setText(QString());
    QApplication::processEvents();
    QCOMPARE(right->pos(), before);
    QVERIFY(label->sizeHint().width() > QLabel("Unlisted Actions").sizeHint().width());
}

void TestKit::menuToolTips_data()
{
    QTest::addColumn<QString>("toolTip");

    QTest::newRow("one line") << "Clean all data cached locally in /var/cache/dnf";
    QTest::newRow("several lines")
        << "Clean RPM packages cached locally in /var/cache/dnf\n(useful for recovering disk "
           "space)";
    QTest::newRow("none") << "";
}

void TestKit::menuToolTips()
{
    QFETCH(QString, toolTip);

    QWidget window;
    HMenu menu("&Cache", &window);
    QCOMPARE(menu.title(), QString("&Cache"));
    menu.addAction("Clean Headers");
    QAction* action = menu.addAction("Clean Packages");
    action->setToolTip(toolTip);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    menu.popup(window.mapToGlobal(QPoint(0, 0)));
    QVERIFY(QTest::qWaitForWindowExposed(&menu));

    QToolTip::hideText();
    QTRY_VERIFY(!QToolTip::isVisible());
    QPoint const pos = menu.actionGeometry(action).center();
    QHelpEvent event(QEvent::ToolTip, pos, menu.mapToGlobal(pos));
    QApplication::sendEvent(&menu, &event);
    if (toolTip.isEmpty()) {
        QVERIFY(!QToolTip::isVisible());
    } else {
        QTRY_VERIFY(QToolTip::isVisible());
        QCOMPARE(QToolTip::text(), toolTip);
    }
    QToolTip::hideText();
    menu.close();
}

void TestKit::scrollArea_data()
{
    QTest::addColumn<QSize>("content");
    QTest::addColumn<bool>("horizontal");
    QTest::addColumn<bool>("vertical");

    QTest::newRow("small") << QSize(200, 150) << false << false;
    QTest::newRow("wider than the screen") << QSize(5000, 150) << true << false;
    QTest::newRow("taller than the screen") << QSize(200, 5000) << false << true;
    QTest::newRow("larger than the screen") << QSize(5000, 5000) << true << true;
}

void TestKit::scrollArea()
{
    QFETCH(QSize, content);
    QFETCH(bool, horizontal);
    QFETCH(bool, vertical);

    HScrollArea area;
    auto* inner = new QWidget;
    inner->setMinimumSize(content);
    area.setWidget(inner);

    QSize const hint = area.sizeHint();
    QSize const limit = area.screen()->availableGeometry().size();
    QVERIFY(hint.width() <= limit.width());
    QVERIFY(hint.height() <= limit.height());

    area.resize(hint);
    area.show();
    QVERIFY(QTest::qWaitForWindowExposed(&area));
    QCOMPARE(area.horizontalScrollBar()->isVisible(), horizontal);
    QCOMPARE(area.verticalScrollBar()->isVisible(), vertical);
    if (!horizontal)
        QCOMPARE(inner->width(), area.viewport()->width());
}

QTEST_MAIN(TestKit)
#include "tst_kit.moc"
