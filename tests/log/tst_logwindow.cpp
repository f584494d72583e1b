#include "app/Colors.h"
#include "log/LogWindow.h"
#include "widgets/HTextEdit.h"

#include <QApplication>
#include <QMutexLocker>
#include <QPushButton>
#include <QScrollBar>
#include <QSpinBox>
#include <QTest>
#include <QTextBlock>
#include <QThread>
#include <atomic>

using Log::Entry;
using Log::EntryList;
using Log::Kind;

namespace
{
HTextEdit* areaOf(Log::Window& window)
{
    return window.findChild<HTextEdit*>();
}

QStringList lines(Log::Window& window)
{
    QStringList texts;
    QTextDocument const* document = areaOf(window)->document();
    if (document->isEmpty())
        return texts;
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next())
        texts << block.text();
    return texts;
}

// The block that shows `text`, or an invalid one.
QTextBlock blockOf(Log::Window& window, QString const& text)
{
    QTextDocument const* document = areaOf(window)->document();
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next())
        if (block.text() == text)
            return block;
    return {};
}

void fillAllKinds(EntryList& list)
{
    for (int level = 0; level <= 10; ++level)
        for (int kind = 0; kind <= 5; ++kind)
            list.append(Kind(kind), quint32(level),
                QStringLiteral("kind %1 level %2 <tag> & x").arg(kind).arg(level));
}
} // namespace

class TestLogWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void construction();
    void threshold_data();
    void threshold();
    void escape_data();
    void escape();
    void display_data();
    void display();
    void rebuildIsIdentical_data();
    void rebuildIsIdentical();
    void connectedOnlyWhileVisible();
    void openingShowsEverythingScrolledToTheEnd();
    void workerAppendsArriveQueued();
    void writersRaceTheWindow();
    void keys_data();
    void keys();
    void closeButtonHides();
};

void TestLogWindow::construction()
{
    EntryList list;
    QWidget owner;
    Log::Window window(list, &owner);
    QVERIFY(window.isWindow());
    QCOMPARE(window.windowTitle(), QString("SORVAN Log"));
    auto* level = window.findChild<QSpinBox*>();
    QVERIFY(level);
    QCOMPARE(level->minimum(), 0);
    QCOMPARE(level->maximum(), 10);
    QCOMPARE(level->value(), 2);
    QCOMPARE(level->toolTip(),
        QString("Threshold beyond which more detailed log messages are omitted.\nHigher levels show more "
                "detail.\nThe valid range is 0 .. 10.\nThe default is 2.\nHigher levels contain debug "
                "information.\nThis corresponds to yum's debuglevel (-d) option."));
    QVERIFY(areaOf(window)->isReadOnly());
}

void TestLogWindow::threshold_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("level");
    QTest::addColumn<int>("threshold");
    QTest::addColumn<bool>("shown");
    QTest::addColumn<QString>("colour");
    QTest::addColumn<bool>("heading");

    QString const plain;
    QTest::newRow("info 10 at 10, minor") << 0 << 10 << 10 << true << Colors::minor() << false;
    QTest::newRow("info 10 at 9") << 0 << 10 << 9 << false << plain << false;
    QTest::newRow("info 10 at default") << 0 << 10 << 2 << false << plain << false;
    QTest::newRow("info 9 at 9, plain") << 0 << 9 << 9 << true << plain << false;
    QTest::newRow("info 0 at 0, plain") << 0 << 0 << 0 << true << plain << false;
    QTest::newRow("info 3 at default") << 0 << 3 << 2 << false << plain << false;
    QTest::newRow("output") << 1 << 2 << 2 << true << Colors::ok() << false;
    QTest::newRow("warning") << 2 << 0 << 2 << true << Colors::warning() << false;
    QTest::newRow("error") << 3 << 0 << 0 << true << Colors::error() << false;
    QTest::newRow("unknown kind as error") << 9 << 1 << 2 << true << Colors::error() << false;
    QTest::newRow("action heading") << 4 << 0 << 2 << true << Colors::action() << true;
    QTest::newRow("detailed error hidden") << 3 << 5 << 4 << false << plain << false;
}

void TestLogWindow::threshold()
{
    QFETCH(int, kind);
    QFETCH(int, level);
    QFETCH(int, threshold);
    QFETCH(bool, shown);
    QFETCH(QString, colour);
    QFETCH(bool, heading);

    EntryList list;
    list.append(Log::Info, 0, "before");
    list.append(Kind(kind), quint32(level), "the entry");
    list.append(Log::Info, 0, "after");

    Log::Window window(list);
    window.setLevel(threshold);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    QStringList expected { "before", "the entry", "after" };
    if (!shown)
        expected.removeAt(1);
    QCOMPARE(lines(window), expected);
    if (!shown)
        return;

    QTextBlock const block = blockOf(window, "the entry");
    QTextCharFormat const format = block.begin().fragment().charFormat();
    if (colour.isEmpty())
        QVERIFY(!format.hasProperty(QTextFormat::ForegroundBrush));
    else
        QCOMPARE(format.foreground().color(), QColor(colour));
    QCOMPARE(format.fontWeight() >= QFont::Bold, heading);
    QCOMPARE(format.property(QTextFormat::FontSizeAdjustment).toInt() > 0, heading);
    QCOMPARE(block.blockFormat().topMargin(), 0.0);
    QCOMPARE(block.blockFormat().bottomMargin(), 0.0);
}

void TestLogWindow::escape_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("escaped");

    QTest::newRow("tag") << "<b>x</b>"
                         << "&lt;b&gt;x&lt;/b&gt;";
    QTest::newRow("blanks") << "a  b"
                            << "a&#x0020;&#x0020;b";
    QTest::newRow("tab") << "a\tb"
                         << "a&#x0009;b";
    QTest::newRow("ampersand left alone") << "R&D &amp;"
                                          << "R&D&#x0020;&amp;";
    QTest::newRow("empty") << ""
                           << "";
}

void TestLogWindow::escape()
{
    QFETCH(QString, text);
    QFETCH(QString, escaped);
    QCOMPARE(Log::Window::escape(text), escaped);
}

void TestLogWindow::display_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");

    QTest::newRow("tag shown literally") << "<b>bold?</b>"
                                         << "<b>bold?</b>";
    QTest::newRow("script tag") << "<script>x</script>"
                                << "<script>x</script>";
    QTest::newRow("half a tag") << "a < b > c"
                                << "a < b > c";
    QTest::newRow("entity through") << "x &lt; y"
                                    << "x < y";
    QTest::newRow("named entity") << "Tom &amp; Jerry &copy;" << QString::fromUtf8("Tom & Jerry ©");
    QTest::newRow("lone ampersand") << "R&D"
                                    << "R&D";
    QTest::newRow("columns of blanks") << "foo     1.0-1     installed"
                                       << "foo     1.0-1     installed";
    QTest::newRow("leading and trailing blanks") << "   indented  "
                                                 << "   indented  ";
    QTest::newRow("tabs") << "\tInstall:\tfoo"
                          << "\tInstall:\tfoo";
}

void TestLogWindow::display()
{
    QFETCH(QString, text);
    QFETCH(QString, shown);

    EntryList list;
    list.append(Log::Output, 0, text);
    Log::Window window(list);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QCOMPARE(lines(window), QStringList { shown });
    QTextCharFormat const format = areaOf(window)->document()->begin().begin().fragment().charFormat();
    QVERIFY(format.fontWeight() < QFont::Bold);
}

void TestLogWindow::rebuildIsIdentical_data()
{
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("second");

    QTest::newRow("2 to 10 and back") << 2 << 10;
    QTest::newRow("2 to 0 and back") << 2 << 0;
    QTest::newRow("10 to 5 and back") << 10 << 5;
}

void TestLogWindow::rebuildIsIdentical()
{
    QFETCH(int, first);
    QFETCH(int, second);

    EntryList list;
    fillAllKinds(list);
    Log::Window window(list);
    window.setLevel(first);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QString const html = areaOf(window)->toHtml();
    int const blocks = areaOf(window)->document()->blockCount();
    QCOMPARE(blocks, 6 * (first + 1));

    window.setLevel(second);
    int const otherBlocks = areaOf(window)->document()->blockCount();
    QCOMPARE(otherBlocks, 6 * (second + 1));

    window.setLevel(first);
    QCOMPARE(areaOf(window)->document()->blockCount(), blocks);
    QCOMPARE(areaOf(window)->toHtml(), html);
}

void TestLogWindow::connectedOnlyWhileVisible()
{
    EntryList list;
    Log::Window window(list);
    list.append(Log::Info, 0, "one");
    QApplication::processEvents();
    QVERIFY(lines(window).isEmpty());

    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QCOMPARE(lines(window), QStringList { "one" });

    list.append(Log::Info, 0, "two");
    QTRY_COMPARE(lines(window), (QStringList { "one", "two" }));

    window.hide();
    list.append(Log::Warning, 0, "three");
    list.append(Log::Error, 0, "four");
    QApplication::processEvents();
    QTest::qWait(20);
    QCOMPARE(lines(window), (QStringList { "one", "two" }));

    window.show();
    QCOMPARE(lines(window), (QStringList { "one", "two", "three", "four" }));
    // Showing an already visible window must not connect twice.
    window.show();
    list.append(Log::Info, 0, "five");
    QTRY_COMPARE(lines(window).size(), 5);
    QApplication::processEvents();
    QCOMPARE(lines(window), (QStringList { "one", "two", "three", "four", "five" }));
}

void TestLogWindow::openingShowsEverythingScrolledToTheEnd()
{
    EntryList list;
    for (int i = 0; i < 2000; ++i)
        list.append(Log::Output, 1, QStringLiteral("line %1").arg(i));
    Log::Window window(list);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QCOMPARE(areaOf(window)->document()->blockCount(), 2000);
    QScrollBar const* bar = areaOf(window)->verticalScrollBar();
    QVERIFY(bar->maximum() > 0);
    QTRY_COMPARE(bar->value(), bar->maximum());
}

void TestLogWindow::workerAppendsArriveQueued()
{
    EntryList list;
    Log::Window window(list);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    int const count = 500;
    QThread* worker = QThread::create([&list] {
        for (int i = 0; i < count; ++i)
            list.append(Log::Output, 0, QStringLiteral("worker %1").arg(i));
    });
    worker->start();
    // wait() processes no events: had the window been called on the worker's
    // thread, the lines would be there already.
    QVERIFY(worker->wait(30000));
    delete worker;
    QVERIFY(lines(window).isEmpty());

    QTRY_COMPARE(lines(window).size(), count);
    QStringList const shown = lines(window);
    for (int i = 0; i < count; ++i)
        QCOMPARE(shown.at(i), QStringLiteral("worker %1").arg(i));
}

void TestLogWindow::writersRaceTheWindow()
{
    // Two work threads write while the window reads and the user changes the
    // level: every line arrives once, each writer's lines in their order.
    EntryList list;
    Log::Window window(list);
    window.setLevel(10);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));

    int const count = 1500;
    auto writer = [&list](QString const& name) {
        for (int i = 0; i < count; ++i) {
            {
                QMutexLocker locker(&list.mutex);
                list.entries.append(
                    Entry { Log::Output, quint32(i % 11), QStringLiteral("%1 %2").arg(name).arg(i) });
            }
            list.emitAppended();
        }
    };
    QThread* first = QThread::create(writer, QStringLiteral("a"));
    QThread* second = QThread::create(writer, QStringLiteral("b"));
    first->start();
    second->start();
    int level = 10;
    while (!first->isFinished() || !second->isFinished()) {
        QApplication::processEvents();
        level = level == 10 ? 9 : 10;
        window.setLevel(level);
    }
    first->wait();
    second->wait();
    delete first;
    delete second;
    window.setLevel(10);
    QTRY_COMPARE(lines(window).size(), 2 * count);

    QStringList const shown = lines(window);
    int nextA = 0;
    int nextB = 0;
    for (QString const& line : shown) {
        if (line.startsWith("a "))
            QCOMPARE(line, QStringLiteral("a %1").arg(nextA++));
        else
            QCOMPARE(line, QStringLiteral("b %1").arg(nextB++));
    }
    QCOMPARE(nextA, count);
    QCOMPARE(nextB, count);
}

void TestLogWindow::keys_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<bool>("visible");

    QTest::newRow("escape") << int(Qt::Key_Escape) << false;
    QTest::newRow("letter") << int(Qt::Key_A) << true;
    QTest::newRow("return") << int(Qt::Key_Return) << true;
}

void TestLogWindow::keys()
{
    QFETCH(int, key);
    QFETCH(bool, visible);

    EntryList list;
    list.append(Log::Info, 0, "text");
    Log::Window window(list);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QTest::keyClick(&window, Qt::Key(key));
    QCOMPARE(window.isVisible(), visible);
    QCOMPARE(lines(window), QStringList { "text" });
}

void TestLogWindow::closeButtonHides()
{
    EntryList list;
    Log::Window window(list);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QPushButton* close = nullptr;
    for (QPushButton* button : window.findChildren<QPushButton*>())
        if (button->text() == "&Close")
            close = button;
    QVERIFY(close);
    QCOMPARE(close->toolTip(), QString("Close the Log Window"));
    close->click();
    QVERIFY(!window.isVisible());
    // Hidden by the button, it follows the list no more.
    list.append(Log::Info, 0, "later");
    QApplication::processEvents();
    QVERIFY(lines(window).isEmpty());
}

QTEST_MAIN(TestLogWindow)
#include "tst_logwindow.moc"
