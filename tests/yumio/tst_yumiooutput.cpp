// The session's output paths, which need no interpreter: log lines, line
// buffers, the capture of descriptors 1 and 2, the dialog relay and the
// failure reports.
#include "SessionTestSupport.h"
#include "yumio/YumIOCapturers.h"
#include "yumio/YumIODialogs.h"

#include <QDialog>
#include <QtTest>
#include <sys/stat.h>
#include <unistd.h>

using namespace SessionTest;

namespace
{

// Writes straight to a descriptor, as rpm does.
void writeFd(int fd, char const* text)
{
    ssize_t const n = ::write(fd, text, std::strlen(text));
    Q_UNUSED(n);
}

} // namespace

class TestYumIOOutput : public QObject
{
    Q_OBJECT

    YumIO* io = nullptr;
    QWidget* window = nullptr;
    DialogAnswerer* answerer = nullptr;

    // The log entries from `from` on, as "kind level text".
    QStringList logged(qsizetype from = 0)
    {
        QStringList lines;
        for (Log::Entry const& e : SessionTest::logged(io, from))
            lines.append(QStringLiteral("%1 %2 %3").arg(e.kind).arg(e.level).arg(e.text));
        return lines;
    }

private Q_SLOTS:
    void init()
    {
        window = new QWidget;
        io = new YumIO;
        io->setup(window, nullptr, nullptr);
        answerer = new DialogAnswerer;
    }
    void cleanup()
    {
        delete answerer;
        delete io;
        delete window;
    }

    // One entry per line, empty ones kept; an errno prefix after ": " starts
    // a line of its own.
    void log_data()
    {
        columns<QString, QStringList>("text", "lines");
        row("lines", "a\nb", QStringList({ "a", "b" }));
        row("trailing line end", "done\n", QStringList({ "done", "" }));
        row("errno prefix", "Cannot open /x: [Errno 2] No such file",
            QStringList({ "Cannot open /x:", "[Errno 2] No such file" }));
        row("no blank after colon", "a:[Errno 2] b", QStringList({ "a:[Errno 2] b" }));
        // Passwords in URLs never reach the log.
        row("buffet query, file put in", "GET http://h/buffet/repodata/x.xml?u=me&p=s%20e&path=/r/ 401",
            QStringList({ "GET http://h/buffet/repodata/x.xml?u=me&p=********&path=/r/ 401" }));
        row("buffet path, twice", "a/rhel/u=me/p=s/x b/rhel/u=me/p=t/y",
            QStringList({ "a/rhel/u=me/p=********/x b/rhel/u=me/p=********/y" }));
        row("user info", "ftp://me:pw@h/x and me@h", QStringList({ "ftp://me:********@h/x and me@h" }));
        row("one pair only", "/buffet?u=me&path=/x /rhel/u=me/x",
            QStringList({ "/buffet?u=me&path=/x /rhel/u=me/x" }));
    }
    void log()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, lines);
        QSignalSpy appended(&io->logEntries(), &Log::EntryList::appended);
        io->log(Log::Warning, 7, text);
        QCOMPARE(logged().replaceInStrings(QRegularExpression("^2 7 "), QString()), lines);
        QCOMPARE(appended.count(), 1);
    }

    // Only complete lines are logged; the rest waits in its stream's buffer.
    void writes()
    {
        QString buffer;
        io->write("ab", Log::Info, 4, buffer);
        io->write("c\nd", Log::Info, 4, buffer);
        QCOMPARE(buffer, "d");
        io->write("\n\n", Log::Info, 4, buffer);
        QCOMPARE(logged(), QStringList({ "0 4 abc", "0 4 d", "0 4 " }));
        QCOMPARE(buffer, QString());
        io->writeStdout("out ");
        io->writeStderr("err ");
        io->writeStderr("line\n");
        io->writeStdout("line\n");
        QCOMPARE(logged(3), QStringList({ "3 0 err line", "1 0 out line" }));
    }

    // What a worker and its children write to descriptors 1 and 2 lands in
    // the log line by line, all of it by the time the capture ends; then the
    // descriptors are the old ones again.
    void captureDescriptors()
    {
        struct stat before, after;
        QCOMPARE(::fstat(1, &before), 0);
        int shell = -2;
        io->writeStdout("script says ");
        onWorker([&] {
            YumIOCapturers* slot = nullptr;
            YumIOCapturersUser user(slot, io);
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
        // The unfinished line waits for its end, from wherever it comes.
        io->writeStdout(" and finished\n");
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
            YumIOCapturersUser outer(slot, io);
            YumIOCapturers* first = slot;
            writeFd(1, "outer\n");
            {
                YumIOCapturersUser inner(slot, io);
                QVERIFY(slot && slot != first);
                writeFd(2, "inner\n");
            }
            QCOMPARE(slot, first);
            writeFd(1, "outer again\n");
        }
        QCOMPARE(slot, nullptr);
        QStringList lines = logged();
        lines.sort();
        QCOMPARE(lines, QStringList({ "1 0 outer", "1 0 outer again", "3 0 inner" }));
    }

    // On the GUI thread the dialog runs inside the call; from a worker the
    // question is queued and the worker waits in its relay's loop.
    void relay_data()
    {
        columns<int, bool, bool, int>("kind", "worker", "accept", "result");
        int const W = Dialog::Warning, C = Dialog::Critical, Q = Dialog::Question;
        row("warning here", W, false, true, 1);
        row("critical from worker", C, true, true, 1);
        row("confirm from worker, yes", Q, true, true, int(QDialog::Accepted));
        row("confirm from worker, no", Q, true, false, int(QDialog::Rejected));
    }
    void relay()
    {
        QFETCH(int, kind);
        QFETCH(bool, worker);
        QFETCH(bool, accept);
        answerer->accept = accept;
        answerer->answer = "Second";
        int result = -2;
        bool direct = !worker;
        auto ask = [&] {
            YumIODialogs relay(window);
            QString const title = "Title", text = "Which?";
            QString const first = "First", second = "Second";
            result = kind == Dialog::Question ? relay.confirm(title, text, QString(), QString())
                : kind == Dialog::Warning     ? relay.warning(title, text, first, second, QString(), 0, -1)
                                              : relay.critical(title, text, first, second, QString(), 0, 1);
            direct = relay.answeredDirectly();
        };
        if (worker)
            onWorker(ask);
        else
            ask();
        QTEST(result, "result");
        QCOMPARE(direct, !worker);
        QCOMPARE(answerer->dialogs.size(), 1);
        QCOMPARE(int(answerer->dialogs[0].kind), kind);
        QCOMPARE(answerer->dialogs[0].title, "Title");
        QCOMPARE(answerer->dialogs[0].text, "Which?");
    }

    // One box titled by its kind, and the text in the log, line by line; the
    // line end of the C texts is not shown.  A worker without a relay of its
    // own still gets its error to the user.
    void errorAndWarning()
    {
        io->error(QStringLiteral("No repositories are enabled.\nUnder the menu"));
        io->warning("Internal error: x not understood\n");
        onWorker([&] { io->error("from a worker"); });
        QCOMPARE(answerer->summary(),
            "SORVAN Yum Error: No repositories are enabled.\nUnder the menu | SORVAN Yum Warning: Internal "
            "error: x not understood | SORVAN Yum Error: from a worker");
        QCOMPARE(int(answerer->dialogs[0].kind), int(Dialog::Critical));
        QCOMPARE(int(answerer->dialogs[1].kind), int(Dialog::Warning));
        QCOMPARE(logged(),
            QStringList({ "3 0 No repositories are enabled.", "3 0 Under the menu",
                "2 0 Internal error: x not understood", "3 0 from a worker" }));
    }

    // With no expectation scope open, the report collects from the end of
    // the log: earlier errors are not repeated.
    void pythonExceptionWithoutScope()
    {
        io->log(Log::Error, 0, "an earlier error");
        io->pythonException("Unable to obtain yum lock");
        QCOMPARE(answerer->dialogs.size(), 1);
        QCOMPARE(int(answerer->dialogs[0].kind), int(Dialog::Scrollable));
        QCOMPARE(answerer->summary(), "SORVAN Yum Error: Unable to obtain yum lock");
        QCOMPARE(logged(), QStringList({ "3 0 an earlier error", "3 0 Unable to obtain yum lock" }));
    }
};

QTEST_MAIN(TestYumIOOutput)
#include "tst_yumiooutput.moc"
