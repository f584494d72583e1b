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
#include <functional>

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

// Runs `act` on the modal dialog once it is up; gives up after a while so
// that a dialog that never appears fails the test instead of hanging it.
void whenShown(QDialog* dialog, std::function<void()> act)
{
    auto* poll = new QTimer(dialog);
    auto tries = std::make_shared<int>(0);
    QObject::connect(poll, &QTimer::timeout, dialog, [=] {
        if (dialog->isVisible()) {
            poll->stop();
            poll->deleteLater();
            act();
        } else if (++*tries > 200) {
            poll->stop();
            dialog->done(-99);
        }
    });
    poll->start(10);
}

QString longText(int lines)
{
    QString text;
    for (int i = 0; i < lines; ++i)
        text += QStringLiteral("  File \"/usr/lib/python3/dnf/base.py\", line %1\n").arg(i);
    return text;
}

HTextEdit* textArea(QWidget* dialog)
{
    QList<HTextEdit*> const areas = dialog->findChildren<HTextEdit*>();
    return areas.size() == 1 ? areas.first() : nullptr;
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
    void errorDialog_data();
    void errorDialog();
    void textDialog();
};

void TestDialogs::hiddenOnEveryPath_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("result");

    QTest::newRow("accept") << "accept" << int(QDialog::Accepted);
    QTest::newRow("reject") << "reject" << int(QDialog::Rejected);
    QTest::newRow("done") << "done" << 7;
    QTest::newRow("escape") << "escape" << int(QDialog::Rejected);
    QTest::newRow("close") << "close" << int(QDialog::Rejected);
    QTest::newRow("hide") << "hide" << int(QDialog::Rejected);
}

void TestDialogs::hiddenOnEveryPath()
{
    QFETCH(QString, path);
    QFETCH(int, result);

    GuardedDialog dialog;
    QSignalSpy hidden(&dialog, &HDialog::hidden);
    whenShown(&dialog, [&] {
        QCOMPARE(hidden.count(), 0);
        if (path == "accept")
            dialog.accept();
        else if (path == "reject")
            dialog.reject();
        else if (path == "done")
            dialog.done(7);
        else if (path == "escape")
            QTest::keyClick(&dialog, Qt::Key_Escape);
        else if (path == "close")
            dialog.close();
        else
            dialog.hide();
    });
    QCOMPARE(dialog.exec(), result);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(hidden.count(), 1);
    QCOMPARE(dialog.asked, 1);

    // Shown and hidden again without exec().
    dialog.show();
    QVERIFY(dialog.isVisible());
    QCOMPARE(dialog.asked, 2);
    dialog.hide();
    QCOMPARE(hidden.count(), 2);
}

void TestDialogs::refusedShowing()
{
    GuardedDialog dialog;
    dialog.allowed = false;
    QSignalSpy hidden(&dialog, &HDialog::hidden);

    // exec() of a refused dialog returns at once instead of waiting for a
    // dialog nobody can see or close.
    bool timedOut = false;
    QTimer::singleShot(3000, &dialog, [&] {
        timedOut = true;
        dialog.done(-1);
    });
    QCOMPARE(dialog.exec(), int(QDialog::Rejected));
    QVERIFY(!timedOut);
    QCOMPARE(dialog.asked, 1);
    QVERIFY(!dialog.isVisible());

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
    QTest::addColumn<QString>("reject");
    QTest::addColumn<QString>("accept");
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QString>("rejectText");
    QTest::addColumn<QString>("acceptText");
    QTest::addColumn<int>("result");

    QTest::newRow("apply") << "Cancel"
                           << "Apply"
                           << "accept"
                           << "Cancel"
                           << "Apply" << int(QDialog::Accepted);
    QTest::newRow("cancel") << "Cancel"
                            << "Apply"
                            << "reject"
                            << "Cancel"
                            << "Apply" << int(QDialog::Rejected);
    QTest::newRow("yes") << ""
                         << ""
                         << "accept"
                         << "&No"
                         << "&Yes" << int(QDialog::Accepted);
    QTest::newRow("no") << ""
                        << ""
                        << "reject"
                        << "&No"
                        << "&Yes" << int(QDialog::Rejected);
    // Enter presses the default button, which must not be the one that
    // changes the system.
    QTest::newRow("enter") << "Cancel"
                           << "Apply"
                           << "enter"
                           << "Cancel"
                           << "Apply" << int(QDialog::Rejected);
    QTest::newRow("escape") << "Cancel"
                            << "Apply"
                            << "escape"
                            << "Cancel"
                            << "Apply" << int(QDialog::Rejected);
}

void TestDialogs::confirm()
{
    QFETCH(QString, reject);
    QFETCH(QString, accept);
    QFETCH(QString, answer);
    QFETCH(QString, rejectText);
    QFETCH(QString, acceptText);
    QFETCH(int, result);

    QString const text = "Transaction to be performed:\n\tInstall: foo 1.0-1 (noarch) [local]\n"
                         "\tUpdate: bar 2:3.0-4 (x86_64) [updates]\n\tRemove: <baz> 0.9-1 (noarch)\n"
                         "Performing the following to resolve dependencies:\n"
                         "\tInstall: libfoo 1.0-1 (x86_64) [local]\nTotal download size: 1.2 M\n";
    QWidget parent;
    ScrollableConfirmDialog dialog(text, reject, accept, &parent);
    dialog.setWindowTitle("Query");
    QCOMPARE(dialog.parentWidget(), &parent);
    QCOMPARE(dialog.rejectButton()->text(), rejectText);
    QCOMPARE(dialog.acceptButton()->text(), acceptText);
    HTextEdit* area = textArea(&dialog);
    QVERIFY(area);
    QCOMPARE(area->toPlainText(), text);
    QVERIFY(area->isReadOnly());

    bool scrolled = true;
    whenShown(&dialog, [&] {
        scrolled = area->verticalScrollBar()->maximum() > 0 || area->horizontalScrollBar()->maximum() > 0;
        if (answer == "accept")
            dialog.acceptButton()->click();
        else if (answer == "reject")
            dialog.rejectButton()->click();
        else if (answer == "enter")
            QTest::keyClick(
                QApplication::focusWidget() ? QApplication::focusWidget() : &dialog, Qt::Key_Return);
        else
            QTest::keyClick(&dialog, Qt::Key_Escape);
    });
    QCOMPARE(dialog.exec(), result);
    // A short transaction is shown whole, without scrolling.
    QVERIFY(!scrolled);
}

void TestDialogs::errorDialog_data()
{
    QTest::addColumn<int>("lines");
    QTest::addColumn<bool>("scrolls");

    QTest::newRow("one line") << 1 << false;
    QTest::newRow("a walkback") << 15 << false;
    QTest::newRow("pages of output") << 600 << true;
    QTest::newRow("one very long line") << -1 << false;
}

void TestDialogs::errorDialog()
{
    QFETCH(int, lines);
    QFETCH(bool, scrolls);

    QString const text = lines >= 0 ? longText(lines) + "Unable to collect groups"
                                    : "Cannot download repomd.xml: " + QString(300, 'x');
    ScrollableErrorDialog dialog(text);
    dialog.setWindowTitle("SORVAN Yum Error");
    HTextEdit* area = textArea(&dialog);
    QVERIFY(area);
    QCOMPARE(area->toPlainText(), text);

    QRect available;
    bool scrolled = false;
    whenShown(&dialog, [&] {
        available = dialog.screen()->availableGeometry();
        scrolled = area->verticalScrollBar()->maximum() > 0;
        QList<QPushButton*> const buttons = dialog.findChildren<QPushButton*>();
        QCOMPARE(buttons.size(), 1);
        buttons.first()->click();
    });
    QCOMPARE(dialog.exec(), int(QDialog::Accepted));
    // However long the text, the dialog fits on the screen and the text
    // scrolls inside it.
    QVERIFY(dialog.width() <= available.width());
    QVERIFY(dialog.height() <= available.height());
    QCOMPARE(scrolled, scrolls);
    // Every line of the text is there to read, none cut off at the side: long
    // lines wrap.
    QCOMPARE(area->horizontalScrollBar()->maximum(), 0);
}

void TestDialogs::textDialog()
{
    TextDialog dialog;
    dialog.setWindowTitle("foo 1.0-1 File List");
    dialog.setText("/usr/bin/foo\n/usr/share/doc/foo/README");
    QCOMPARE(dialog.text(), QString("/usr/bin/foo\n/usr/share/doc/foo/README"));
    QSize small;
    whenShown(&dialog, [&] {
        small = dialog.size();
        dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Close)->click();
    });
    dialog.exec();

    // The dialog is reused for a long change log: it grows for it, and the
    // old text is gone.
    QString log;
    for (int i = 300; i > 0; --i)
        log += QStringLiteral("* Mon Jan 01 2024 Some Packager <packager@example.org> - 1.0-%1\n- Rebuilt\n")
                   .arg(i);
    dialog.setText(log);
    QCOMPARE(dialog.text(), log);
    QCOMPARE(dialog.findChildren<HTextEdit*>().size(), 1);
    QSize large;
    whenShown(&dialog, [&] {
        large = dialog.size();
        QTest::keyClick(&dialog, Qt::Key_Escape);
    });
    QCOMPARE(dialog.exec(), int(QDialog::Rejected));
    QVERIFY(large.height() > small.height());
    QVERIFY(large.width() > small.width());
    QRect const available = dialog.screen()->availableGeometry();
    QVERIFY(large.height() <= available.height());
}

QTEST_MAIN(TestDialogs)
#include "tst_dialogs.moc"
