// The widget kit: the progress bar, the text area, the tool-tip window, and
// the dialogs.
#include "widgets/GeneralTip.h"
#include "widgets/HProgressBar.h"
#include "widgets/HTextEdit.h"
#include "widgets/ScrollableConfirmDialog.h"
#include "widgets/ScrollableErrorDialog.h"

#include <QApplication>
#include <QGridLayout>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

namespace
{
// The text a tip shows; its owner keeps it, as a progress minion does.
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

// Runs `act` on the modal dialog once it is up; a dialog that never appears
// ends its exec() with -99 instead of hanging the test.
void whenShown(QDialog* dialog, std::function<void()> act)
{
    auto* poll = new QTimer(dialog);
    QObject::connect(poll, &QTimer::timeout, dialog, [=, tries = 0]() mutable {
        if (dialog->isVisible() || ++tries > 200) {
            poll->deleteLater();
            dialog->isVisible() ? act() : dialog->done(-99);
        }
    });
    poll->start(10);
}
} // namespace

class TestKit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void barText_data()
    {
        QTest::addColumn<QString>("activity");
        QTest::addColumn<int>("value"); // -1: none yet
        QTest::addColumn<QString>("expected");
        QTest::newRow("percentage only") << "" << 40 << "40%";
        QTest::newRow("activity and percentage") << "Downloading" << 40 << "Downloading (40%)";
        QTest::newRow("activity before any value") << "Resolving" << -1 << "Resolving";
    }
    void barText()
    {
        QFETCH(QString, activity);
        QFETCH(int, value);
        HProgressBar bar;
        bar.setRange(0, 100);
        if (value >= 0)
            bar.setValue(value);
        bar.setActivity(activity);
        QTEST(bar.text(), "expected");
    }

    // Opening a context menu takes the focus for a moment: that ends no edit.
    void editFocusOut_data()
    {
        QTest::addColumn<int>("reason");
        QTest::addColumn<QString>("popupParent"); // "", "edit" or "other"
        QTest::addColumn<bool>("finished");
        QTest::newRow("pop-up opened") << int(Qt::PopupFocusReason) << "" << false;
        QTest::newRow("own pop-up active") << int(Qt::ActiveWindowFocusReason) << "edit" << false;
        QTest::newRow("someone else's pop-up active") << int(Qt::ActiveWindowFocusReason) << "other" << true;
    }
    void editFocusOut()
    {
        QFETCH(int, reason);
        QFETCH(QString, popupParent);
        QWidget window;
        auto* edit = new HTextEdit(&window);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QMenu menu(popupParent == "edit" ? static_cast<QWidget*>(edit) : &window);
        menu.addAction("Item");
        if (!popupParent.isEmpty()) {
            menu.popup(window.mapToGlobal(QPoint(10, 10)));
            QTRY_VERIFY(QApplication::activePopupWidget() == &menu);
        }
        QSignalSpy spy(edit, &HTextEdit::editingFinished);
        QFocusEvent event(QEvent::FocusOut, Qt::FocusReason(reason));
        QApplication::sendEvent(edit, &event);
        QTEST(spy.count() == 1, "finished");
    }

    void tipGoesAway_data()
    {
        QTest::addColumn<QString>("cause");
        QTest::addColumn<bool>("stays");
        QTest::newRow("key press") << "key" << false;
        QTest::newRow("pointer moves outside the widget") << "move outside" << false;
        QTest::newRow("pointer moves inside the widget") << "move inside" << true;
        QTest::newRow("widget deleted") << "delete" << false;
    }
    void tipGoesAway()
    {
        QFETCH(QString, cause);
        QWidget window;
        auto* widget = new QWidget(&window);
        widget->setGeometry(20, 20, 200, 30);
        window.resize(300, 100);
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        Source source;
        GeneralTip::showTip(widget->mapToGlobal(QPoint(5, 5)), build, &source, widget, true);
        QPointer<GeneralTip> tip = GeneralTip::current();
        QVERIFY(tip);

        auto move = [&](QWidget* to, QPoint local) {
            QMouseEvent event(
                QEvent::MouseMove, local, to->mapToGlobal(local), Qt::NoButton, Qt::NoButton, {});
            QApplication::sendEvent(to, &event);
        };
        if (cause == "key")
            QTest::keyClick(&window, Qt::Key_A);
        else if (cause == "move outside")
            move(&window, QPoint(250, 80));
        else if (cause == "move inside")
            move(widget, QPoint(100, 15));
        else
            delete widget;
        QApplication::processEvents();
        QTEST(GeneralTip::current() && tip->isVisible(), "stays");
        GeneralTip::hideTip();
    }

    void liveTipFollowsItsSource()
    {
        QWidget widget;
        widget.show();
        Source live, still;
        QRect const screen = widget.screen()->availableGeometry();
        GeneralTip::showTip(screen.center(), build, &live, &widget, true);
        QPointer<GeneralTip> const tip = GeneralTip::current();
        live.text = "512 / 1024";
        QTRY_VERIFY_WITH_TIMEOUT(live.builds >= 2, 5 * GeneralTip::refreshInterval);
        QCOMPARE(GeneralTip::current(), tip);
        // The old content is replaced, not piled up.
        QStringList texts;
        for (QLabel* label : tip->findChildren<QLabel*>())
            texts << label->text();
        QCOMPARE(texts, QStringList({ "foo-1.0-1.noarch.rpm", "512 / 1024" }));

        // One tip at a time; near the corner it stays on the screen and never
        // covers the pointer.
        QPoint const corner = screen.bottomRight() - QPoint(3, 3);
        GeneralTip::showTip(corner, build, &still, &widget, false);
        QTRY_VERIFY(tip.isNull());
        QRect const frame = GeneralTip::current()->frameGeometry();
        QVERIFY(screen.contains(frame) && frame.bottom() < corner.y());
        GeneralTip::hideTip();
    }

    void confirm()
    {
        QString const text = "Transaction to be performed:\n\tRemove: <baz> 0.9-1 (noarch)\n";
        QWidget parent;
        ScrollableConfirmDialog dialog(text, "Cancel", "Apply", &parent);
        HTextEdit* area = dialog.findChild<HTextEdit*>();
        QCOMPARE(area->toPlainText(), text);
        bool scrolled = true;
        whenShown(&dialog, [&] {
            scrolled = area->verticalScrollBar()->maximum() > 0;
            dialog.acceptButton()->click();
        });
        QCOMPARE(dialog.exec(), int(QDialog::Accepted));
        QVERIFY(!scrolled); // a short transaction is shown whole
        // The default button must not be the one that changes the system,
        // also after the user has clicked into the text to read it.
        whenShown(&dialog, [&] {
            area->setFocus(Qt::MouseFocusReason);
            QTest::keyClick(area, Qt::Key_Return);
        });
        QCOMPARE(dialog.exec(), int(QDialog::Rejected));
    }

    // Pages of output scroll inside a dialog that fits the screen, and a very
    // long line is wrapped rather than cut off at the side.
    void errorDialogFitsTheScreen()
    {
        QString text = "Cannot download repomd.xml: " + QString(300, 'x') + '\n';
        for (int i = 0; i < 600; ++i)
            text += QString("  File \"/usr/lib/python3/dnf/base.py\", line %1\n").arg(i);
        ScrollableErrorDialog dialog(text);
        HTextEdit* area = dialog.findChild<HTextEdit*>();
        whenShown(&dialog, [&] { dialog.findChild<QPushButton*>()->click(); });
        QCOMPARE(dialog.exec(), int(QDialog::Accepted));
        QRect const available = dialog.screen()->availableGeometry();
        QVERIFY(dialog.width() <= available.width() && dialog.height() <= available.height());
        QVERIFY(area->verticalScrollBar()->maximum() > 0);
        QCOMPARE(area->horizontalScrollBar()->maximum(), 0);
    }
};

QTEST_MAIN(TestKit)
#include "tst_kit.moc"
