#include "widgets/HDialog.h"
#include "widgets/HTextEdit.h"
#include "widgets/ScrollableConfirmDialog.h"
#include "widgets/ScrollableErrorDialog.h"
#include "widgets/TextDialog.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

namespace
{
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
            poll->stop();
            poll->deleteLater();
            dialog->isVisible() ? act() : dialog->done(-99);
        }
    });
    poll->start(10);
}

HTextEdit* textArea(QWidget* dialog)
{
    return dialog->findChild<HTextEdit*>();
}

bool scrolls(HTextEdit* area)
{
    return area->verticalScrollBar()->maximum() > 0;
}
} // namespace

class TestDialogs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void hiddenOnEveryPath_data();
    void hiddenOnEveryPath();
    void refusedShowing();
    void confirm_data();
    void confirm();
    void errorDialogFitsTheScreen_data();
    void errorDialogFitsTheScreen();
    void textDialogGrowsForALongerText();
};

void TestDialogs::hiddenOnEveryPath_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("result");

    QTest::newRow("accept") << "accept" << int(QDialog::Accepted);
    QTest::newRow("escape") << "escape" << int(QDialog::Rejected);
    QTest::newRow("hide") << "hide" << int(QDialog::Rejected);
}

void TestDialogs::hiddenOnEveryPath()
{
    QFETCH(QString, path);
    GuardedDialog dialog;
    QSignalSpy hidden(&dialog, &HDialog::hidden);
    whenShown(&dialog, [&] {
        QCOMPARE(hidden.count(), 0);
        if (path == "accept")
            dialog.accept();
        else if (path == "escape")
            QTest::keyClick(&dialog, Qt::Key_Escape);
        else
            dialog.hide();
    });
    QTEST(dialog.exec(), "result");
    QVERIFY(!dialog.isVisible());
    QCOMPARE(hidden.count(), 1);
    QCOMPARE(dialog.asked, 1);
}

void TestDialogs::refusedShowing()
{
    GuardedDialog dialog;
    dialog.allowed = false;
    QSignalSpy hidden(&dialog, &HDialog::hidden);
    // exec() of a refused dialog returns at once instead of waiting for a
    // dialog nobody can see or close.
    QTimer::singleShot(3000, &dialog, [&] { dialog.done(-1); });
    QCOMPARE(dialog.exec(), int(QDialog::Rejected));
    dialog.show();
    QVERIFY(!dialog.isVisible());
    QCOMPARE(dialog.asked, 2);
    QCOMPARE(hidden.count(), 0);

    dialog.allowed = true;
    dialog.open();
    QVERIFY(dialog.isVisible());
    QCOMPARE(dialog.asked, 3);
}

void TestDialogs::confirm_data()
{
    QTest::addColumn<bool>("named"); // the buttons' own texts, or the defaults
    QTest::addColumn<QString>("answer");
    QTest::addColumn<int>("result");

    QTest::newRow("accepted") << true << "accept" << int(QDialog::Accepted);
    QTest::newRow("rejected, default texts") << false << "reject" << int(QDialog::Rejected);
    // The default button must not be the one that changes the system.
    QTest::newRow("enter") << true << "enter" << int(QDialog::Rejected);
    QTest::newRow("escape") << true << "escape" << int(QDialog::Rejected);
}

void TestDialogs::confirm()
{
    QFETCH(bool, named);
    QFETCH(QString, answer);
    QString const text = "Transaction to be performed:\n\tInstall: foo 1.0-1 (noarch) [local]\n"
                         "\tRemove: <baz> 0.9-1 (noarch)\nTotal download size: 1.2 M\n";
    QWidget parent;
    ScrollableConfirmDialog dialog(text, named ? "Cancel" : "", named ? "Apply" : "", &parent);
    QCOMPARE(dialog.rejectButton()->text(), named ? "Cancel" : "&No");
    QCOMPARE(dialog.acceptButton()->text(), named ? "Apply" : "&Yes");
    QCOMPARE(textArea(&dialog)->toPlainText(), text);

    bool scrolled = true;
    whenShown(&dialog, [&] {
        scrolled = scrolls(textArea(&dialog));
        if (answer == "accept")
            dialog.acceptButton()->click();
        else if (answer == "reject")
            dialog.rejectButton()->click();
        else
            QTest::keyClick(QApplication::focusWidget() ? QApplication::focusWidget() : &dialog,
                answer == "enter" ? Qt::Key_Return : Qt::Key_Escape);
    });
    QTEST(dialog.exec(), "result");
    // A short transaction is shown whole.
    QVERIFY(!scrolled);
}

void TestDialogs::errorDialogFitsTheScreen_data()
{
    QTest::addColumn<int>("lines");
    QTest::addColumn<bool>("scrolls");
    QTest::newRow("a walkback") << 15 << false;
    QTest::newRow("one very long line") << 0 << false;
    QTest::newRow("pages of output") << 600 << true;
}

void TestDialogs::errorDialogFitsTheScreen()
{
    QFETCH(int, lines);
    // A very long line is wrapped rather than cut off at the side.
    QString text = lines ? "" : "Cannot download repomd.xml: " + QString(300, 'x');
    for (int i = 0; i < lines; ++i)
        text += QString("  File \"/usr/lib/python3/dnf/base.py\", line %1\n").arg(i);
    ScrollableErrorDialog dialog(text);
    HTextEdit* area = textArea(&dialog);
    QCOMPARE(area->toPlainText(), text);
    bool scrolled = false;
    whenShown(&dialog, [&] {
        scrolled = scrolls(area);
        QList<QPushButton*> const buttons = dialog.findChildren<QPushButton*>();
        QCOMPARE(buttons.size(), 1);
        buttons.first()->click();
    });
    QCOMPARE(dialog.exec(), int(QDialog::Accepted));
    QRect const available = dialog.screen()->availableGeometry();
    QVERIFY(dialog.width() <= available.width() && dialog.height() <= available.height());
    QTEST(scrolled, "scrolls");
    QCOMPARE(area->horizontalScrollBar()->maximum(), 0);
}

void TestDialogs::textDialogGrowsForALongerText()
{
    TextDialog dialog;
    dialog.setText("/usr/bin/foo\n/usr/share/doc/foo/README");
    QSize small, large;
    whenShown(&dialog, [&] {
        small = dialog.size();
        dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Close)->click();
    });
    dialog.exec();

    // Reused for a long change log: it grows for it, and the old text is gone.
    QString log;
    for (int i = 300; i > 0; --i)
        log += QString("* Mon Jan 01 2024 Some Packager <packager@example.org> - 1.0-%1\n- Rebuilt\n").arg(i);
    dialog.setText(log);
    QCOMPARE(dialog.text(), log);
    QCOMPARE(dialog.findChildren<HTextEdit*>().size(), 1);
    whenShown(&dialog, [&] {
        large = dialog.size();
        QTest::keyClick(&dialog, Qt::Key_Escape);
    });
    QCOMPARE(dialog.exec(), int(QDialog::Rejected));
    QVERIFY(large.height() > small.height() && large.width() > small.width());
    QVERIFY(large.height() <= dialog.screen()->availableGeometry().height());
}

QTEST_MAIN(TestDialogs)
#include "tst_dialogs.moc"
