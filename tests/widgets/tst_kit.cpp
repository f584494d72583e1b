// The widget kit: the progress bar, the text area, the warning label, the
// tool-tip window, and the dialogs.
#include "widgets/GeneralTip.h"
#include "widgets/HFrameLabel.h"
#include "widgets/HProgressBar.h"
#include "widgets/HTextEdit.h"
#include "widgets/ScrollableConfirmDialog.h"
#include "widgets/ScrollableErrorDialog.h"

#include <QApplication>
#include <QGridLayout>
#include <QHelpEvent>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QTimer>
#include <QToolTip>

namespace
{
// Asks `widget` for its tool-tip at `pos`; true when it took the request.
bool askToolTip(QWidget* widget, QPoint pos)
{
    QHelpEvent event(QEvent::ToolTip, pos, widget->mapToGlobal(pos));
    QApplication::sendEvent(widget, &event);
    return event.isAccepted();
}

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

// A dialog that refuses to be shown while `allowed` is false.
class GuardedDialog : public HDialog
{
public:
    bool allowed = true;
    int asked = 0;

protected:
    bool aboutToShow() override
    {
        ++asked;
        return allowed;
    }
};

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

bool scrolls(QWidget* dialog)
{
    return dialog->findChild<HTextEdit*>()->verticalScrollBar()->maximum() > 0;
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
        // reset() forgets the activity: only the toolkit's text is left.
        bar.reset();
        bar.setValue(40);
        QCOMPARE(bar.text(), bar.QProgressBar::text());
    }

    void barToolTip_data()
    {
        QTest::addColumn<bool>("active");
        QTest::newRow("active window") << true;
        QTest::newRow("inactive window") << false;
    }
    void barToolTip()
    {
        QFETCH(bool, active);
        QWidget window, other;
        auto* bar = new HProgressBar(&window);
        window.show();
        QWidget* const front = active ? &window : &other;
        front->show();
        front->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(front));
        QSignalSpy spy(bar, &HProgressBar::toolTip);
        QCOMPARE(askToolTip(bar, QPoint(12, 10)), active);
        QCOMPARE(spy.value(0).value(0).toPoint(), active ? QPoint(12, 10) : QPoint());
        // The owner decides what to show; the toolkit's own tip never appears.
        QVERIFY(!QToolTip::isVisible());
    }

    void appendCompact()
    {
        // A fragment of several blocks brings its own margins, which plain
        // append() would pass on to every later paragraph.
        HTextEdit edit;
        for (QString const text : { "<h2>first</h2><p>second</p>", "after" }) {
            edit.appendCompact(text);
            QTextBlockFormat const last = edit.document()->lastBlock().blockFormat();
            QCOMPARE(last.topMargin() + last.bottomMargin(), 0.0);
        }
        QCOMPARE(edit.toPlainText(), "first\nsecond\nafter");
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

    void frameLabelDrawsNothingWithoutText()
    {
        QColor const grey(200, 200, 200);
        for (QString const text : { "Unlisted Actions", "" }) {
            QWidget window;
            window.setPalette(QPalette(grey));
            window.setAutoFillBackground(true);
            auto* label = new HFrameLabel("Unlisted Actions", &window);
            label->setPalette(QPalette(Qt::black, Qt::yellow));
            label->setGeometry(QRect(QPoint(10, 10), label->sizeHint()));
            label->setText(text);
            window.resize(label->width() + 20, label->height() + 20);
            // Filled inside the frame left of any text; with no text, not even a frame.
            QImage const image = window.grab(label->geometry()).toImage();
            QImage blank(image.size(), image.format());
            blank.fill(grey);
            QCOMPARE(image.pixelColor(label->frameWidth() + 1, label->height() / 2),
                text.isEmpty() ? grey : QColor(Qt::yellow));
            QCOMPARE(image == blank, text.isEmpty());
        }
    }

    void tipGoesAway_data()
    {
        QTest::addColumn<QString>("cause");
        QTest::addColumn<bool>("stays");
        QTest::newRow("key press") << "key" << false;
        QTest::newRow("pointer leaves the widget") << "leave" << false;
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
        QEvent leave(QEvent::Leave);
        if (cause == "key")
            QTest::keyClick(&window, Qt::Key_A);
        else if (cause == "leave")
            QApplication::sendEvent(widget, &leave);
        else if (cause == "move outside")
            move(&window, QPoint(250, 80));
        else if (cause == "move inside")
            move(widget, QPoint(100, 15));
        else
            delete widget;
        QApplication::processEvents();
        QFETCH(bool, stays);
        QCOMPARE(GeneralTip::current() != nullptr, stays);
        if (stays)
            QVERIFY(tip->isVisible());
        else
            QTRY_VERIFY(tip.isNull());
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
        QVERIFY(tip->width() >= tip->layout()->sizeHint().width());

        // One tip at a time.  Near the corner it stays on the screen and never
        // covers the pointer; one that is not live is built once.
        QPoint const corner = screen.bottomRight() - QPoint(3, 3);
        GeneralTip::showTip(corner, build, &still, &widget, false);
        QTRY_VERIFY(tip.isNull());
        QRect const frame = GeneralTip::current()->frameGeometry();
        QVERIFY(screen.contains(frame) && frame.bottom() < corner.y());
        QTest::qWait(3 * GeneralTip::refreshInterval);
        QCOMPARE(still.builds, 1);
        GeneralTip::hideTip();
    }

    void dialogRefusesToShow()
    {
        GuardedDialog dialog;
        QSignalSpy hidden(&dialog, &HDialog::hidden);
        whenShown(&dialog, [&] { QTest::keyClick(&dialog, Qt::Key_Escape); });
        QCOMPARE(dialog.exec(), int(QDialog::Rejected));
        QCOMPARE(hidden.count(), 1);
        QCOMPARE(dialog.asked, 1); // exec() shows the dialog itself: not asked twice
        // A refused dialog stays hidden, and exec() returns at once instead of
        // waiting for a dialog nobody can see or close.
        dialog.allowed = false;
        QTimer::singleShot(3000, &dialog, [&] { dialog.done(-1); });
        QCOMPARE(dialog.exec(), int(QDialog::Rejected));
        dialog.show();
        QVERIFY(!dialog.isVisible());
        QCOMPARE(dialog.asked, 3);
        QCOMPARE(hidden.count(), 1);
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
            scrolled = scrolls(&dialog);
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

    // A very long line is wrapped rather than cut off at the side; pages of
    // output scroll inside a dialog that fits the screen.
    void errorDialogFitsTheScreen_data()
    {
        QTest::addColumn<int>("lines");
        QTest::newRow("one very long line") << 0;
        QTest::newRow("pages of output") << 600;
    }
    void errorDialogFitsTheScreen()
    {
        QFETCH(int, lines);
        QString text = lines ? "" : "Cannot download repomd.xml: " + QString(300, 'x');
        for (int i = 0; i < lines; ++i)
            text += QString("  File \"/usr/lib/python3/dnf/base.py\", line %1\n").arg(i);
        ScrollableErrorDialog dialog(text);
        HTextEdit* area = dialog.findChild<HTextEdit*>();
        QCOMPARE(area->toPlainText(), text);
        bool scrolled = false;
        whenShown(&dialog, [&] {
            scrolled = scrolls(&dialog);
            dialog.findChild<QPushButton*>()->click();
        });
        QCOMPARE(dialog.exec(), int(QDialog::Accepted));
        QRect const available = dialog.screen()->availableGeometry();
        QVERIFY(dialog.width() <= available.width() && dialog.height() <= available.height());
        QCOMPARE(scrolled, lines > 0);
        QCOMPARE(area->horizontalScrollBar()->maximum(), 0);
    }
};

QTEST_MAIN(TestKit)
#include "tst_kit.moc"
