// The URL fields that mask passwords, one-line and multi-line, driven by keys.
#include "tests/yumio/TestRows.h"
#include "widgets/PasswdLineEdit.h"
#include "widgets/PasswdTextEdit.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QMenu>
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
    std::unique_ptr<PasswdLineEdit> line;
    std::unique_ptr<PasswdTextEdit> multi;

    explicit Field(bool multiLine)
    {
        if (multiLine)
            multi = std::make_unique<PasswdTextEdit>(passwords);
        else
            line = std::make_unique<PasswdLineEdit>(passwords);
        widget()->show();
        QApplication::setActiveWindow(widget());
        widget()->setFocus();
    }
    QWidget* widget() const { return line ? static_cast<QWidget*>(line.get()) : multi.get(); }
    QString text() const { return line ? line->text() : multi->text(); }
    void setText(QString const& text) { line ? line->setText(text) : multi->setText(text); }
    QString shown() const { return line ? line->QLineEdit::text() : multi->toPlainText(); }
    bool revealed() const { return line ? line->revealed() : multi->revealed(); }
    QAction* reveal() const
    {
        return line ? line->actions().value(0) : multi->findChild<QToolButton*>()->defaultAction();
    }
    // Whether the eye is there to be clicked.
    bool offered() const
    {
        return line ? reveal()->isVisible() : !multi->findChild<QToolButton*>()->isHidden();
    }
    void select(int anchor, int position)
    {
        if (line) {
            line->setCursorPosition(anchor);
            line->setSelection(anchor, position - anchor);
        } else {
            QTextCursor cursor = multi->textCursor();
            cursor.setPosition(anchor);
            cursor.setPosition(position, QTextCursor::KeepAnchor);
            multi->setTextCursor(cursor);
        }
    }
    // "[" marks the selection's anchor and "|" the cursor.
    void setMarked(QString marked)
    {
        int const position = marked.indexOf('|');
        marked.remove('|');
        int anchor = marked.indexOf('[');
        if (anchor >= 0)
            marked.remove('[');
        setText(marked);
        select(anchor < 0 ? position : anchor, anchor >= 0 && anchor < position ? position - 1 : position);
    }
    void type(QString const& keys)
    {
        for (QChar const key : keys) {
            if (key == '\b')
                QTest::keyClick(widget(), Qt::Key_Backspace);
            else
                QTest::keyClick(widget(), key.toLatin1());
        }
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

    static void bothFields(char const* tag, QString const& marked, QString const& keys, QString const& real,
        QString const& shown)
    {
        for (bool const multi : { false, true })
            QTest::newRow(qPrintable(QString(multi ? "multi: " : "line: ") + tag))
                << multi << marked << keys << real << shown;
    }

private Q_SLOTS:
    void edits_data()
    {
        // "*" stands for the mask character; "\b" is Backspace.  The field
        // never shows "cret" or a "Z", not even for a moment.
        columns<bool, QString, QString, QString, QString>("multi", "marked", "keys", "real", "shown");
        QString const q = "https://h/buffet?u=me&p=";
        bothFields("typed after", q + "secret&path=x/|", "y", q + "secret&path=x/y", q + "******&path=x/y");
        bothFields("name edited", "https://h/buffet?u=me|&p=secret&path=x", "\bX",
            "https://h/buffet?u=mX&p=secret&path=x", "https://h/buffet?u=mX&p=******&path=x");
        bothFields("typed in the password", q + "se|cret&path=x", "Zz", q + "seZzcret&path=x",
            q + "********&path=x");
        bothFields(
            "erased in the password", q + "secret|&path=x", "\b\b", q + "secr&path=x", q + "****&path=x");
        bothFields("password selected and erased", q + "[secret|&path=x", "\b", q + "&path=x", q + "&path=x");
        bothFields("form broken across the password", "https://h/buffet?u=[me&p=sec|ret&path=x", "x",
            "https://h/buffet?u=xret&path=x", "https://h/buffet?u=xret&path=x");
        bothFields("form completed", q + "pw|", "&path=x", q + "pw&path=x", q + "**&path=x");
        QTest::newRow("multi: every url")
            << true << "https://h/buffet?u=me&p=one&path=x\nhttps://g/rhel/u=me/p=two/5/|"
            << "y"
            << "https://h/buffet?u=me&p=one&path=x\nhttps://g/rhel/u=me/p=two/5/y"
            << "https://h/buffet?u=me&p=***&path=x\nhttps://g/rhel/u=me/p=***/5/y";
    }
    void edits()
    {
        QFETCH(bool, multi);
        QFETCH(QString, marked);
        QFETCH(QString, keys);
        QFETCH(QString, shown);
        Field field(multi);
        field.setMarked(marked);
        QSignalSpy changes(field.widget(), SIGNAL(realTextChanged(QString)));
        QStringList seen; // by whatever reads the field as a plain text field
        if (field.line)
            connect(field.line.get(), &QLineEdit::textChanged, [&](QString const& text) { seen << text; });
        else
            connect(field.multi->document(), &QTextDocument::contentsChange, [&] { seen << field.shown(); });
        field.type(keys);
        QVERIFY(!seen.isEmpty());
        QVERIFY(!seen.join('|').contains("cret") && !seen.join('|').contains('Z'));
        QTEST(field.text(), "real");
        QCOMPARE(field.shown(), shown.replace('*', maskCharacter()));
        QCOMPARE(changes.last().value(0).toString(), field.text());

        // Undo may not bring mask characters back as password characters.
        QTest::keyClick(field.widget(), Qt::Key_Z, Qt::ControlModifier);
        QVERIFY(!field.text().contains(maskCharacter()));
        QCOMPARE(field.shown().size(), field.text().size());
    }

    void revealing_data()
    {
        QTest::addColumn<bool>("multi");
        QTest::newRow("line") << false;
        QTest::newRow("multi") << true;
    }
    void revealing()
    {
        QFETCH(bool, multi);
        Field field(multi);
        QAction* reveal = field.reveal();
        field.setText("https://h/rhel/u=me/p=secret/5/");
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(field.widget());
        QVERIFY(!accessible->text(QAccessible::Value).contains("secret"));
        QVERIFY(!field.shown().contains("secret"));
        QVERIFY(field.offered() && !reveal->toolTip().isEmpty() && !reveal->text().isEmpty());

        reveal->trigger();
        QVERIFY(field.revealed());
        QCOMPARE(field.shown(), field.text());
        // Hidden, the field is masked again for whoever shows it next.
        field.widget()->hide();
        QVERIFY(!field.revealed());
        QVERIFY(!field.shown().contains("secret"));

        field.setText("https://plain/");
        QVERIFY(!field.offered());
    }

    void copying_data() { revealing_data(); }
    void copying()
    {
        QFETCH(bool, multi);
        Field field(multi);
        QString const url = "https://h/rhel/u=me/p=secret/5/";
        field.setText(url);
        for (auto key : { Qt::Key_C, Qt::Key_X }) {
            QApplication::clipboard()->setText("before");
            field.select(0, url.indexOf("cret"));
            QTest::keyClick(field.widget(), key, Qt::ControlModifier);
            QCOMPARE(QApplication::clipboard()->text(), "before");
            QCOMPARE(field.text(), url);
        }
        QCOMPARE(copyOffered(field.widget()), false);
        field.select(0, 5);
        QCOMPARE(copyOffered(field.widget()), true);
        QTest::keyClick(field.widget(), Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(QApplication::clipboard()->text(), "https");
    }

private:
    // Whether the field's context menu offers to copy the selection.
    static bool copyOffered(QWidget* widget)
    {
        QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(1, 1), widget->mapToGlobal(QPoint(1, 1)));
        QApplication::sendEvent(widget, &event);
        QMenu* menu = nullptr;
        for (QWidget* top : QApplication::topLevelWidgets())
            menu = qobject_cast<QMenu*>(top) && top->isVisible() ? static_cast<QMenu*>(top) : menu;
        bool offered = false;
        for (QAction* action : menu ? menu->actions() : QList<QAction*>())
            offered |= action->text().startsWith("&Copy") && action->isEnabled();
        if (menu)
            menu->close();
        return offered;
    }
};

QTEST_MAIN(TestPasswdEdit)
#include "tst_passwdedit.moc"
