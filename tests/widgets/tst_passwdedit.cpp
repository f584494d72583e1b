// The URL fields that mask passwords, one-line and multi-line, driven by keys.
#include "tests/yumio/TestRows.h"
#include "widgets/PasswdLineEdit.h"
#include "widgets/PasswdTextEdit.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QSignalSpy>
#include <QStyle>
#include <QToolButton>
#include <memory>

namespace
{
// The password of a "p=" key, in every URL of a text.
QRegularExpression const passwords("p=([^&/\\s]*)[&/]");

// Either field behind one face.
struct Field {
    PasswdLineEdit* line = nullptr;
    PasswdTextEdit* multi = nullptr;
    std::unique_ptr<QWidget> widget;

    explicit Field(bool multiLine)
        : widget(multiLine ? static_cast<QWidget*>(multi = new PasswdTextEdit(passwords))
                           : (line = new PasswdLineEdit(passwords)))
    {
        widget->show();
        QApplication::setActiveWindow(widget.get());
    }
    QString text() const { return line ? line->text() : multi->text(); }
    void setText(QString const& text) { line ? line->setText(text) : multi->setText(text); }
    QString shown() const { return line ? line->QLineEdit::text() : multi->toPlainText(); }
    QAction* eye() const { return line ? line->actions().value(0) : eyeButton()->defaultAction(); }
    QToolButton* eyeButton() const { return widget->findChild<QToolButton*>(); }
    void select(int anchor, int position)
    {
        if (line)
            return line->setSelection(anchor, position - anchor);
        QTextCursor cursor = multi->textCursor();
        cursor.setPosition(anchor);
        cursor.setPosition(position, QTextCursor::KeepAnchor);
        multi->setTextCursor(cursor);
    }
    // Whether the context menu offers to copy the selection.
    bool copyOffered() const
    {
        QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(1, 1), widget->mapToGlobal(QPoint(1, 1)));
        QApplication::sendEvent(widget.get(), &event);
        QWidget* const menu = QApplication::activePopupWidget();
        bool offered = false;
        for (QAction* action : menu->actions())
            offered |= action->text().startsWith("&Copy") && action->isEnabled();
        menu->close();
        return offered;
    }
};

QChar maskCharacter()
{
    return QChar(QApplication::style()->styleHint(QStyle::SH_LineEdit_PasswordCharacter));
}
} // namespace

class TestPasswdEdit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data()
    {
        QTest::addColumn<bool>("multi");
        QTest::newRow("line") << false;
        QTest::newRow("multi") << true;
    }

    void edits_data()
    {
        // "[" marks the selection's anchor, "|" the cursor, "*" the mask
        // character, "\b" Backspace.  The field never shows "cret" or a
        // "Z", not even for a moment.
        columns<QString, QString, QString, QString>("marked", "keys", "real", "shown");
        QString const q = "https://h/buffet?u=me&p=";
        row("name edited", "https://h/buffet?u=me|&p=secret&path=x", "\bX",
            "https://h/buffet?u=mX&p=secret&path=x", "https://h/buffet?u=mX&p=******&path=x");
        row("typed in the password", q + "se|cret&path=x", "Zz", q + "seZzcret&path=x",
            q + "********&path=x");
        row("password selected and erased", q + "[secret|&path=x", "\b", q + "&path=x", q + "&path=x");
        row("form broken across the password", "https://h/buffet?u=[me&p=sec|ret&path=x", "x",
            "https://h/buffet?u=xret&path=x", "https://h/buffet?u=xret&path=x");
        row("form completed", q + "pw|", "&path=x", q + "pw&path=x", q + "**&path=x");
        row("every url", q + "one&path=x https://g/rhel/u=me/p=two/5/|", "y",
            q + "one&path=x https://g/rhel/u=me/p=two/5/y", q + "***&path=x https://g/rhel/u=me/p=***/5/y");
    }
    void edits()
    {
        QFETCH_GLOBAL(bool, multi);
        QFETCH(QString, marked);
        QFETCH(QString, shown);
        Field field(multi);
        int const anchor = marked.indexOf('['), position = marked.remove('[').indexOf('|');
        field.setText(marked.remove('|'));
        field.select(anchor < 0 ? position : anchor, position);
        QSignalSpy changes(field.widget.get(), SIGNAL(realTextChanged(QString)));
        QStringList seen; // by whatever reads the field as a plain text field
        if (field.line)
            connect(field.line, &QLineEdit::textChanged, [&](QString const& text) { seen << text; });
        else
            connect(field.multi->document(), &QTextDocument::contentsChange, [&] { seen << field.shown(); });
        QFETCH(QString, keys);
        QTest::keyClicks(field.widget.get(), keys);
        QVERIFY(!seen.isEmpty() && !seen.join('|').contains("cret") && !seen.join('|').contains('Z'));
        QTEST(field.text(), "real");
        QCOMPARE(field.shown(), shown.replace('*', maskCharacter()));
        QCOMPARE(changes.last().value(0).toString(), field.text());

        // Undo may not bring mask characters back as password characters.
        QTest::keyClick(field.widget.get(), Qt::Key_Z, Qt::ControlModifier);
        QVERIFY(!field.text().contains(maskCharacter()));
        QCOMPARE(field.shown().size(), field.text().size());
    }

    void masked()
    {
        QFETCH_GLOBAL(bool, multi);
        Field field(multi);
        QString const url = "https://h/rhel/u=me/p=secret/5/";
        field.setText(url);
        QVERIFY(!field.shown().contains("secret"));
        QVERIFY(!QAccessible::queryAccessibleInterface(field.widget.get())
                     ->text(QAccessible::Value)
                     .contains("secret"));

        // Copying or cutting masked characters is refused; the rest copies.
        for (auto key : { Qt::Key_C, Qt::Key_X }) {
            QApplication::clipboard()->setText("before");
            field.select(0, url.indexOf("cret"));
            QTest::keyClick(field.widget.get(), key, Qt::ControlModifier);
            QCOMPARE(QApplication::clipboard()->text(), "before");
            QCOMPARE(field.text(), url);
        }
        QVERIFY(!field.copyOffered());
        field.select(0, 5);
        QVERIFY(field.copyOffered());
        QTest::keyClick(field.widget.get(), Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(QApplication::clipboard()->text(), "https");

        // The eye reveals until the field is hidden, and is there only for a password.
        QAction* eye = field.eye();
        eye->trigger();
        QCOMPARE(field.shown(), url);
        field.widget->hide();
        QVERIFY(!field.shown().contains("secret"));
        QVERIFY(multi ? !field.eyeButton()->isHidden() : eye->isVisible());
        field.setText("https://plain/");
        QVERIFY(multi ? field.eyeButton()->isHidden() : !eye->isVisible());
    }
};

QTEST_MAIN(TestPasswdEdit)
#include "tst_passwdedit.moc"
