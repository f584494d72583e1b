// The session's parts that need no interpreter: the package records, sizes
// and version numbers, log lines, the capture of descriptors 1 and 2, and
// the failure reports.
#include "SessionTestSupport.h"
#include "yumio/YumIOCapturers.h"

#include <QtTest>
#include <sys/stat.h>
#include <unistd.h>

using namespace SessionTest;

// Writes straight to a descriptor, as rpm does.
static void writeFd(int fd, char const* text)
{
    [[maybe_unused]] ssize_t const written = ::write(fd, text, std::strlen(text));
}

class TestYumIOOutput : public QObject
{
    Q_OBJECT

    QWidget window;
    YumIO io;
    DialogAnswerer answerer;
    qsizetype start = 0;

    // The log entries of this test, as "kind level text".
    QStringList logged(qsizetype skip = 0)
    {
        QStringList lines;
        for (Log::Entry const& e : SessionTest::logged(&io, start + skip))
            lines.append(QStringLiteral("%1 %2 %3").arg(e.kind).arg(e.level).arg(e.text));
        return lines;
    }

private Q_SLOTS:
    void initTestCase() { io.setup(&window, nullptr, nullptr); }
    void init()
    {
        start = SessionTest::logged(&io).size();
        answerer.clear();
    }

    void bytesFormat_data()
    {
        columns<quint64, QString>("bytes", "text");
        row("zero", quint64(0), "0b");
        row("one", quint64(1), "1.0b");
        // From 1000 of a unit the next one, divided by 1024.
        row("1000", quint64(1000), "1.0Kb");
        row("from 9.95", quint64(9.95 * 1024) + 1, "10Kb");
        row("largest", ~quint64(0), "16Eb");
    }
    void bytesFormat()
    {
        QFETCH(quint64, bytes);
        QTEST(Package::bytesFormat(bytes), "text");
    }

    void versionNumber_data()
    {
        columns<QString, int, bool>("text", "number", "understood");
        row("third not limited", "3.2.100", 30300, true);
        row("empty", "", 0, false);
        row("not a number", "4.x.1", 40001, false);
    }
    void versionNumber()
    {
        QFETCH(QString, text);
        QFETCH(bool, understood);
        bool ok = !understood;
        QTEST(YumIO::versionNumber(text, &ok), "number");
        QCOMPARE(ok, understood);
    }

    // An entry owns its chain, and a list its entries (the address build
    // sees a leak or a double delete); a long chain must not exhaust the
    // stack, and a Python object left behind is not touched.
    void chains()
    {
        Package::EntryList list;
        auto* head = new Package::Entry;
        Package::Entry* last = head;
        for (int i = 0; i < 100000; ++i)
            last = last->next = new Package::Entry;
        last->object = reinterpret_cast<PyObject*>(0x1234);
        QCOMPARE(head->instances(), 100000);
        list.append(head);
        list.append(new Package::Entry);
        list.deleteAll();
        QVERIFY(list.isEmpty());
        list.append(new Package::Entry);
    }

    // One entry per line, empty ones kept; an errno prefix after ": " starts
    // a line of its own.  Passwords in URLs never reach the log.
    void log_data()
    {
        columns<QString, QStringList>("text", "lines");
        row("lines", "a\nb\n", QStringList({ "a", "b", "" }));
        row("errno prefix", "Cannot open /x: [Errno 2] No such file",
            QStringList({ "Cannot open /x:", "[Errno 2] No such file" }));
        row("no blank after colon", "a:[Errno 2] b", QStringList({ "a:[Errno 2] b" }));
        row("buffet path, twice", "a/rhel/u=me/p=s/x b/rhel/u=me/p=t/y",
            QStringList({ "a/rhel/u=me/p=********/x b/rhel/u=me/p=********/y" }));
        row("user info", "ftp://me:pw@h/x and me@h", QStringList({ "ftp://me:********@h/x and me@h" }));
        row("one pair only", "/buffet?u=me&path=/x /rhel/u=me/x",
            QStringList({ "/buffet?u=me&path=/x /rhel/u=me/x" }));
    }
    void log()
    {
        QFETCH(QString, text);
        QSignalSpy appended(&io.logEntries(), &Log::EntryList::appended);
        io.log(Log::Warning, 7, text);
        QTEST(logged().replaceInStrings(QRegularExpression("^2 7 "), QString()), "lines");
        QCOMPARE(appended.count(), 1);
    }

    // What a worker and its children write to descriptors 1 and 2 lands in
    // the log line by line, all of it by the time the capture ends; then the
    // descriptors are the old ones again.
    void captureDescriptors()
    {
        struct stat before, after;
        QCOMPARE(::fstat(1, &before), 0);
        int shell = -2;
        io.writeStdout("script says ");
        onWorker([&] {
            YumIOCapturers* slot = nullptr;
            YumIOCapturersUser user(slot, &io);
            writeFd(1, "from rpm\n");
            shell = std::system("echo 'scriptlet out'; echo 'scriptlet err' >&2; printf 'unfinished'; "
                                "printf 'two\\nlines\\n' >&2");
            writeFd(2, "last words\n");
        });
        QCOMPARE(shell, 0);
        QStringList const lines = logged();
        // Each stream in its own order; the two may interleave.
        QStringList const out = lines.filter(QRegularExpression("^1 0 "));
        QStringList const err = lines.filter(QRegularExpression("^3 0 "));
        QCOMPARE(out, QStringList({ "1 0 script says from rpm", "1 0 scriptlet out" }));
        QCOMPARE(err, QStringList({ "3 0 scriptlet err", "3 0 two", "3 0 lines", "3 0 last words" }));
        QCOMPARE(lines.size(), out.size() + err.size());
        io.writeStdout(" and finished\n");
        QCOMPARE(logged(lines.size()), QStringList({ "1 0 unfinished and finished" }));
        QCOMPARE(::fstat(1, &after), 0);
        QCOMPARE(after.st_ino, before.st_ino);
    }

    // Captures nest, each restoring the one before; a capture on the GUI
    // thread reads the pipes itself instead of waiting for itself.
    void captureScopes()
    {
        YumIOCapturers* slot = nullptr;
        {
            YumIOCapturersUser outer(slot, &io);
            YumIOCapturers* first = slot;
            {
                YumIOCapturersUser inner(slot, &io);
                QVERIFY(slot && slot != first);
                writeFd(2, "inner\n");
            }
            QCOMPARE(slot, first);
            writeFd(1, "outer again\n");
        }
        QCOMPARE(slot, nullptr);
        QCOMPARE(logged(), QStringList({ "3 0 inner", "1 0 outer again" }));
    }

    // One box titled by its kind, and the text in the log, line by line; the
    // line end of the C texts is not shown.  A worker without a relay of its
    // own still gets its error to the user.  A Python failure reported with
    // no expectation scope open collects from the end of the log only.
    void reports()
    {
        io.error(QStringLiteral("No repositories are enabled.\nUnder the menu"));
        io.warning("Internal error: x not understood\n");
        onWorker([&] { io.error("from a worker"); });
        io.pythonException("Unable to obtain yum lock");
        QCOMPARE(answerer.summary(),
            "SORVAN Yum Error: No repositories are enabled.\nUnder the menu | SORVAN Yum Warning: Internal "
            "error: x not understood | SORVAN Yum Error: from a worker | SORVAN Yum Error: Unable to obtain "
            "yum lock");
        QList<int> kinds { Dialog::Critical, Dialog::Warning, Dialog::Critical, Dialog::Scrollable };
        for (Dialog const& d : answerer.dialogs)
            QCOMPARE(int(d.kind), kinds.takeFirst());
        QCOMPARE(logged(),
            QStringList({ "3 0 No repositories are enabled.", "3 0 Under the menu",
                "2 0 Internal error: x not understood", "3 0 from a worker",
                "3 0 Unable to obtain yum lock" }));
    }
};

QTEST_MAIN(TestYumIOOutput)
#include "tst_yumiooutput.moc"
