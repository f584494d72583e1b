#include "widgets/HTextEdit.h"

#include <QApplication>
#include <QFocusEvent>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QVBoxLayout>

class TestHTextEdit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void appendCompact_data();
    void appendCompact();
    void focusOut_data();
    void focusOut();
    void contextMenuDoesNotFinishEditing();
};

void TestHTextEdit::appendCompact_data()
{
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<QStringList>("blocks");

    QTest::newRow("lines and a heading")
        << QStringList { "one", "<h2><font color=\"blue\">Applying</font></h2>", "" }
        << QStringList { "one", "Applying", "" };
    // A fragment of several blocks brings its own margins, which plain
    // append() would pass on to every later paragraph.
    QTest::newRow("several blocks, then a line") << QStringList { "<h2>first</h2><p>second</p>", "after" }
                                                 << QStringList { "first", "second", "after" };
}

void TestHTextEdit::appendCompact()
{
    QFETCH(QStringList, texts);
    HTextEdit edit;
    for (QString const& text : texts) {
        edit.appendCompact(text);
        QTextBlockFormat const last = edit.document()->lastBlock().blockFormat();
        QCOMPARE(last.topMargin(), 0.0);
        QCOMPARE(last.bottomMargin(), 0.0);
    }
    QStringList found;
    for (QTextBlock block = edit.document()->begin(); block.isValid(); block = block.next())
        found << block.text();
    QTEST(found, "blocks");
}

void TestHTextEdit::focusOut_data()
{
    QTest::addColumn<int>("reason");
    QTest::addColumn<QString>("popupParent"); // "", "edit" or "other"
    QTest::addColumn<bool>("finished");

    QTest::newRow("tab") << int(Qt::TabFocusReason) << "" << true;
    QTest::newRow("pop-up opened") << int(Qt::PopupFocusReason) << "" << false;
    QTest::newRow("own pop-up active") << int(Qt::ActiveWindowFocusReason) << "edit" << false;
    QTest::newRow("someone else's pop-up active") << int(Qt::ActiveWindowFocusReason) << "other" << true;
}

void TestHTextEdit::focusOut()
{
    QFETCH(int, reason);
    QFETCH(QString, popupParent);
    QWidget window;
    auto* edit = new HTextEdit(&window);
    auto* other = new QLineEdit(&window);
    auto* layout = new QVBoxLayout(&window);
    layout->addWidget(edit);
    layout->addWidget(other);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QMenu menu(popupParent == "edit" ? static_cast<QWidget*>(edit) : other);
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

void TestHTextEdit::contextMenuDoesNotFinishEditing()
{
    QWidget window;
    auto* edit = new HTextEdit(&window);
    auto* other = new QLineEdit(&window);
    auto* layout = new QVBoxLayout(&window);
    layout->addWidget(edit);
    layout->addWidget(other);
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    edit->setFocus(Qt::OtherFocusReason);
    QTRY_VERIFY(edit->hasFocus());

    QSignalSpy spy(edit, &HTextEdit::editingFinished);
    struct FocusOuts : QObject {
        QList<Qt::FocusReason> reasons;
        bool eventFilter(QObject*, QEvent* event) override
        {
            if (event->type() == QEvent::FocusOut)
                reasons << static_cast<QFocusEvent*>(event)->reason();
            return false;
        }
    } focusOuts;
    edit->installEventFilter(&focusOuts);
    QPoint const pos = edit->viewport()->rect().center();
    QContextMenuEvent menuEvent(QContextMenuEvent::Mouse, pos, edit->viewport()->mapToGlobal(pos));
    QApplication::sendEvent(edit->viewport(), &menuEvent);
    QTRY_VERIFY(QApplication::activePopupWidget() != nullptr);
    // The edit was told that it lost the focus, for the pop-up.
    QCOMPARE(focusOuts.reasons, QList<Qt::FocusReason> { Qt::PopupFocusReason });
    QPointer<QWidget> popup = QApplication::activePopupWidget();
    popup->close();
    QTRY_VERIFY(edit->hasFocus());
    QCOMPARE(spy.count(), 0);

    // Leaving for another field does finish the edit.
    other->setFocus(Qt::TabFocusReason);
    QTRY_COMPARE(spy.count(), 1);
}
QTEST_MAIN(TestHTextEdit)
#include "tst_htextedit.moc"
