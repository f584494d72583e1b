#include "app/Colors.h"
#include "log/LogWindow.h"
#include "widgets/HTextEdit.h"

#include <QApplication>
#include <QTest>
#include <QTextBlock>
#include <QThread>

namespace
{
QStringList lines(Log::Window& window)
{
    QString const text = window.findChild<HTextEdit*>()->toPlainText();
    return text.isEmpty() ? QStringList() : text.split('\n');
}
} // namespace

class TestLogWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // An entry shows up to the chosen level, in its kind's colour.
    void threshold_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("level");
        QTest::addColumn<int>("threshold");
        QTest::addColumn<QString>("colour"); // "-" for hidden, "" for plain
        QTest::newRow("info 10 at 10, minor") << 0 << 10 << 10 << Colors::minor();
        QTest::newRow("info 10 at 9") << 0 << 10 << 9 << "-";
        QTest::newRow("info 9 at 9, plain") << 0 << 9 << 9 << "";
        QTest::newRow("unknown kind as error") << 9 << 1 << 2 << Colors::error();
        QTest::newRow("action heading") << 4 << 0 << 2 << Colors::action();
    }
    void threshold()
    {
        QFETCH(int, kind);
        QFETCH(int, level);
        QFETCH(int, threshold);
        QFETCH(QString, colour);
        Log::EntryList list;
        list.append(Log::Kind(kind), quint32(level), "the entry");
        list.append(Log::Info, 0, "after");
        Log::Window window(list);
        window.setLevel(threshold);
        window.show();
        QCOMPARE(lines(window), colour == "-" ? QStringList("after") : QStringList({ "the entry", "after" }));
        QTextDocument const* document = window.findChild<HTextEdit*>()->document();
        QTextCharFormat const format = document->firstBlock().begin().fragment().charFormat();
        if (colour != "-")
            QCOMPARE(format.foreground().color(), colour.isEmpty() ? QColor(Qt::black) : QColor(colour));
        // A heading's own margins would push it and every later line apart.
        for (QTextBlock const& block : { document->firstBlock(), document->lastBlock() })
            QCOMPARE(block.blockFormat().topMargin() + block.blockFormat().bottomMargin(), 0.0);
    }

    // Blanks and tabs are kept; entities reach the display as characters.
    void shownLiterally()
    {
        QStringList const literal { "<b>bold?</b> <script>x</script>", "a < b > c", "R&D",
            "   foo     1.0-1\tinstalled  " };
        Log::EntryList list;
        for (QString const& text : literal + QStringList { "x &lt; y, Tom &amp; Jerry &copy;" })
            list.append(Log::Output, 0, text);
        Log::Window window(list);
        window.show();
        QCOMPARE(lines(window), literal + QStringList { QString::fromUtf8("x < y, Tom & Jerry ©") });
    }

    // Hidden, the window does no work; shown, it catches up and follows.
    void connectedOnlyWhileVisible()
    {
        Log::EntryList list;
        Log::Window window(list);
        list.append(Log::Info, 0, "one");
        QApplication::processEvents();
        QVERIFY(lines(window).isEmpty());
        window.show();
        window.show(); // shown twice, it must follow only once
        list.append(Log::Info, 0, "two");
        QTRY_COMPARE(lines(window), QStringList({ "one", "two" }));
        QTest::keyClick(&window, Qt::Key_Escape);
        QVERIFY(!window.isVisible());
        list.append(Log::Warning, 0, "three");
        QTest::qWait(20);
        QCOMPARE(lines(window), QStringList({ "one", "two" }));
        window.show();
        QCOMPARE(lines(window), QStringList({ "one", "two", "three" }));
    }

    void workThreadsAppend()
    {
        Log::EntryList list;
        Log::Window window(list);
        window.setLevel(10);
        window.show();
        int const count = 1500;
        auto start = [&](QChar name) {
            std::unique_ptr<QThread> thread(QThread::create([&list, name] {
                for (int i = 0; i < count; ++i)
                    list.append(Log::Output, quint32(i % 11), QString("%1 %2").arg(name).arg(i));
            }));
            thread->start();
            return thread;
        };
        // wait() runs no events: a window called on the writer's thread would
        // already show the lines.
        QVERIFY(start('a')->wait(30000));
        QVERIFY(lines(window).isEmpty());

        // Two more writers race the window while the user changes the level:
        // every line arrives once, each writer's in its order.
        auto const second = start('b'), third = start('c');
        for (int level = 9; !second->isFinished() || !third->isFinished(); level = 19 - level) {
            QApplication::processEvents();
            window.setLevel(level);
        }
        window.setLevel(10);
        QTRY_COMPARE(lines(window).size(), 3 * count);
        QHash<QChar, int> next;
        for (QString const& line : lines(window))
            QCOMPARE(line, QString("%1 %2").arg(line[0]).arg(next[line[0]]++));
        QCOMPARE(next, (QHash<QChar, int> { { 'a', count }, { 'b', count }, { 'c', count } }));
    }
};

QTEST_MAIN(TestLogWindow)
#include "tst_logwindow.moc"
