#include "widgets/HTextEdit.h"

#include <QApplication>
#include <QFocusEvent>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QVBoxLayout>

namespace
{
class FocusOutRecorder : public QObject
{
public:
    QList<Qt::FocusReason> reasons;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::FocusOut)
            reasons << static_cast<QFocusEvent*>(event)->reason();
        return false;
    }
};
} // namespace

class TestHTextEdit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void appendCompact_data();
    void appendCompact();
    void sizeHint_data();
    void sizeHint();
    void focusOut_data();
    void focusOut();
    void contextMenuDoesNotFinishEditing();
    void plainViewer_data();
    void plainViewer();
};

void TestHTextEdit::appendCompact_data()
{
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<QStringList>("blocks");

    QTest::newRow("plain lines") << QStringList { "one", "two", "three" }
                                 << QStringList { "one", "two", "three" };
    QTest::newRow("coloured line") << QStringList { "<font color=\"red\">bad</font>" }
                                   << QStringList { "bad" };
    QTest::newRow("heading between lines")
        << QStringList { "before", "<h2><font color=\"blue\">Applying</font></h2>", "after" }
        << QStringList { "before", "Applying", "after" };
    // A fragment of several blocks brings its own margins, and plain
    // append() would pass them on to every later paragraph.
    QTest::newRow("several headings then a line") << QStringList { "<h2>first</h2><h2>second</h2>", "after" }
                                                  << QStringList { "first", "second", "after" };
    QTest::newRow("paragraphs then a line")
        << QStringList { "<p>a</p><p>b</p>", "c" } << QStringList { "a", "b", "c" };
    QTest::newRow("empty paragraph") << QStringList { "x", "", "y" } << QStringList { "x", "", "y" };
}

void TestHTextEdit::appendCompact()
{
    QFETCH(QStringList, texts);
    QFETCH(QStringList, blocks);

    HTextEdit edit;
    for (QString const& text : texts) {
        edit.appendCompact(text);
        QTextBlock const last = edit.document()->lastBlock();
        QCOMPARE(last.blockFormat().topMargin(), 0.0);
        QCOMPARE(last.blockFormat().bottomMargin(), 0.0);
    }
    QStringList found;
    for (QTextBlock block = edit.document()->begin(); block.isValid(); block = block.next())
        found << block.text();
    QCOMPARE(found, blocks);
}

void TestHTextEdit::sizeHint_data()
{
    QTest::addColumn<int>("columns");
    QTest::addColumn<int>("lines");

    QTest::newRow("one line") << 40 << 1;
    QTest::newRow("log window") << 100 << 30;
    QTest::newRow("narrow and tall") << 10 << 50;
}

void TestHTextEdit::sizeHint()
{
    QFETCH(int, columns);
    QFETCH(int, lines);

    HTextEdit edit(columns, lines, nullptr);
    HTextEdit wider(columns * 2, lines, nullptr);
    HTextEdit taller(columns, lines * 2, nullptr);
    QFontMetricsF const metrics(edit.font());
    qreal const column = metrics.averageCharWidth();
    qreal const line = metrics.lineSpacing();

    QSize const hint = edit.sizeHint();
    QVERIFY(hint.width() >= columns * column);
    QVERIFY(hint.height() >= lines * line);
    // Each further column and line adds its room, rounded up once.
    QVERIFY(qAbs(wider.sizeHint().width() - hint.width() - columns * column) <= 1);
    QCOMPARE(wider.sizeHint().height(), hint.height());
    QVERIFY(qAbs(taller.sizeHint().height() - hint.height() - lines * line) <= 1);
    QCOMPARE(taller.sizeHint().width(), hint.width());

    // Without the numbers the toolkit's own hint stands.
    HTextEdit unsized;
    QTextEdit plain;
    QCOMPARE(unsized.sizeHint(), plain.sizeHint());
}

void TestHTextEdit::focusOut_data()
{
    QTest::addColumn<int>("reason");
    QTest::addColumn<bool>("ownPopup");
    QTest::addColumn<bool>("foreignPopup");
    QTest::addColumn<bool>("finished");

    QTest::newRow("tab") << int(Qt::TabFocusReason) << false << false << true;
    QTest::newRow("mouse") << int(Qt::MouseFocusReason) << false << false << true;
    QTest::newRow("window deactivated") << int(Qt::ActiveWindowFocusReason) << false << false << true;
    QTest::newRow("pop-up opened") << int(Qt::PopupFocusReason) << false << false << false;
    QTest::newRow("own pop-up active") << int(Qt::ActiveWindowFocusReason) << true << false << false;
    QTest::newRow("someone else's pop-up active")
        << int(Qt::ActiveWindowFocusReason) << false << true << true;
}

void TestHTextEdit::focusOut()
{
    QFETCH(int, reason);
    QFETCH(bool, ownPopup);
    QFETCH(bool, foreignPopup);
    QFETCH(bool, finished);

    QWidget window;
    auto* edit = new HTextEdit(&window);
    auto* other = new QLineEdit(&window);
    auto* layout = new QVBoxLayout(&window);
    layout->addWidget(edit);
    layout->addWidget(other);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    QMenu menu(ownPopup ? static_cast<QWidget*>(edit) : static_cast<QWidget*>(other));
    menu.addAction("Item");
    if (ownPopup || foreignPopup) {
        menu.popup(window.mapToGlobal(QPoint(10, 10)));
        QTRY_VERIFY(QApplication::activePopupWidget() == &menu);
    }

    QSignalSpy spy(edit, &HTextEdit::editingFinished);
    QFocusEvent event(QEvent::FocusOut, Qt::FocusReason(reason));
    QApplication::sendEvent(edit, &event);
    QCOMPARE(spy.count(), finished ? 1 : 0);
    menu.close();
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
    QTest::keyClicks(edit, "http://example.org/");

    QSignalSpy spy(edit, &HTextEdit::editingFinished);
    FocusOutRecorder focusOuts;
    edit->installEventFilter(&focusOuts);
    QPoint const pos = edit->viewport()->rect().center();
    QContextMenuEvent menuEvent(QContextMenuEvent::Mouse, pos, edit->viewport()->mapToGlobal(pos));
    QApplication::sendEvent(edit->viewport(), &menuEvent);
    QTRY_VERIFY(QApplication::activePopupWidget() != nullptr);
    QPointer<QWidget> popup = QApplication::activePopupWidget();
    // The edit was told that it lost the focus, for the pop-up.
    QCOMPARE(focusOuts.reasons, QList<Qt::FocusReason> { Qt::PopupFocusReason });
    popup->close();
    QTRY_VERIFY(popup.isNull() || !popup->isVisible());
    QTRY_VERIFY(edit->hasFocus());
    QCOMPARE(spy.count(), 0);

    // Leaving for another field does finish the edit.
    other->setFocus(Qt::TabFocusReason);
    QTRY_COMPARE(spy.count(), 1);
}

void TestHTextEdit::plainViewer_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("scrolls");

    QTest::newRow("transaction") << "Transaction to be performed:\n\tInstall: foo 1.0-1 (noarch) [base]\n"
                                 << false;
    QTest::newRow("mark-up shown as it is") << "<b>not bold</b> & <i>not italic</i>" << false;
    QString lines;
    for (int i = 0; i < 400; ++i)
        lines += QStringLiteral("/usr/share/doc/package/file%1.txt\n").arg(i);
    QTest::newRow("long file list") << lines << true;
    QTest::newRow("empty") << QString() << false;
}

void TestHTextEdit::plainViewer()
{
    QFETCH(QString, text);
    QFETCH(bool, scrolls);

    QWidget window;
    HTextEdit* area = HTextEdit::plainViewer(text, &window);
    QVERIFY(area->isReadOnly());
    QCOMPARE(area->toPlainText(), text.endsWith('\n') ? text.chopped(1) + '\n' : text);
    QCOMPARE(area->document()->blockCount(), std::max<qsizetype>(1, text.count('\n') + 1));

    auto* layout = new QVBoxLayout(&window);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(area);
    window.resize(area->sizeHint());
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QCOMPARE(area->verticalScrollBar()->maximum() > 0, scrolls);
    QCOMPARE(area->horizontalScrollBar()->maximum(), 0);
}

QTEST_MAIN(TestHTextEdit)
#include "tst_htextedit.moc"
