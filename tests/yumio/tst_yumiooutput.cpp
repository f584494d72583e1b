// The session's output paths, which need no interpreter: log lines, line
// buffers, the capture of descriptors 1 and 2, the dialog relay and the
// failure reports.
#include "SessionTestSupport.h"
#include "yumio/YumIOCapturers.h"
#include "yumio/YumIODialogs.h"

#include <QMessageBox>
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

QStringList prefixed(QString const& prefix, QStringList lines)
{
    for (QString& line : lines)
        line.prepend(prefix);
    return lines;
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
        row("two prefixes", "a: [Errno 13] b: [Errno 2] c",
            QStringList({ "a:", "[Errno 13] b:", "[Errno 2] c" }));
        row("errno without digits", "a: [Errno ] b", QStringList({ "a:", "[Errno ] b" }));
        row("no blank after colon", "a:[Errno 2] b", QStringList({ "a:[Errno 2] b" }));
        row("lower case", "a: [errno 2] b", QStringList({ "a: [errno 2] b" }));
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
        QCOMPARE(logged(), prefixed("2 7 ", lines));
        QCOMPARE(appended.count(), 1);
    }

    // Only complete lines are logged; the rest waits in the buffer.
    void write_data()
    {
        columns<QStringList, QStringList>("writes", "lines");
        row("unfinished", QStringList({ "abc" }), QStringList());
        row("joined across writes", QStringList({ "ab", "c\nde" }), QStringList({ "abc" }));
        row("rest completed", QStringList({ "ab", "c\nde", "f\n" }), QStringList({ "abc", "def" }));
        row("empty lines kept", QStringList({ "a\n\nb\n" }), QStringList({ "a", "", "b" }));
    }
    void write()
    {
        QFETCH(QStringList, writes);
        QFETCH(QStringList, lines);
        QString buffer;
        for (QString const& text : writes)
            io->write(text, Log::Info, 4, buffer);
        QCOMPARE(logged(), prefixed("0 4 ", lines));
        QCOMPARE(buffer, writes.join(QString()).section('\n', -1));
    }

    void streamsKeepTheirOwnLines()
    {
        io->writeStdout("out ");
        io->writeStderr("err ");
        io->writeStderr("line\n");
        io->writeStdout("line\n");
        QCOMPARE(logged(), QStringList({ "3 0 err line", "1 0 out line" }));
    }

    // What a worker and its children write to descriptors 1 and 2 lands in
    // the log line by line, all of it by the time the capture ends; then the
    // descriptors are the old ones again.
    void captureDescriptors()
    {
        struct stat before, after;
        QCOMPARE(::fstat(1, &before), 0);
        int shell = -2;
        bool capturing = false;
        io->writeStdout("script says ");
        onWorker([&] {
            YumIOCapturers* slot = nullptr;
            YumIOCapturersUser user(slot, io);
            capturing = slot && slot->capturing();
            writeFd(1, "from rpm\n");
            shell = std::system("echo 'scriptlet out'; echo 'scriptlet err' >&2; printf 'unfinished'; "
                                "printf 'two\\nlines\\n' >&2");
            writeFd(2, "last words\n");
        });
        QVERIFY(capturing);
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
        QVERIFY2(answerer->dialogs.isEmpty(), qPrintable(answerer->summary()));
    }

    // Captures and dialog relays nest, each restoring the one before; a
    // capture on the GUI thread reads the pipes itself instead of waiting
    // for itself.
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

        // Dialog relays nest the same way.
        YumIODialogs* relay = nullptr;
        {
            YumIODialogsUser outer(relay, window);
            YumIODialogs* first = relay;
            QVERIFY(first);
            {
                YumIODialogsUser inner(relay, window);
                QVERIFY(relay && relay != first);
            }
            QCOMPARE(relay, first);
        }
        QCOMPARE(relay, nullptr);
    }

    // On the GUI thread the dialog runs inside the call; from a worker the
    // question is queued and the worker waits in its relay's loop.
    void relay_data()
    {
        columns<int, bool, bool, int>("kind", "worker", "accept", "result");
        int const W = Dialog::Warning, C = Dialog::Critical, Q = Dialog::Question;
        row("warning here", W, false, true, 1);
        row("critical from worker", C, true, true, 1);
        row("confirm here, no", Q, false, false, int(QDialog::Rejected));
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

    // One box with the single standard button, titled by its kind, and the
    // text in the log, line by line.
    void errorAndWarning_data()
    {
        columns<bool, bool, QString>("isError", "fromC", "text");
        row("error", true, false, "No repositories are enabled.\nUnder the menu");
        row("warning from C", false, true, "Internal error: x not understood");
    }
    void errorAndWarning()
    {
        QFETCH(bool, isError);
        QFETCH(bool, fromC);
        QFETCH(QString, text);
        int buttons = -1;
        QTimer::singleShot(10, this, [&] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget()))
                buttons = int(box->buttons().size());
        });
        // The C texts end in a line end, which is not shown.
        QByteArray const c = text.toUtf8() + '\n';
        if (isError)
            fromC ? io->error(c.constData()) : io->error(text);
        else
            fromC ? io->warning(c.constData()) : io->warning(text);
        QCOMPARE(answerer->dialogs.size(), 1);
        Dialog const& d = answerer->dialogs[0];
        QCOMPARE(int(d.kind), int(isError ? Dialog::Critical : Dialog::Warning));
        QCOMPARE(d.title, isError ? "SORVAN Yum Error" : "SORVAN Yum Warning");
        QCOMPARE(d.text, text);
        QCOMPARE(buttons, 1);
        QCOMPARE(logged(), prefixed(QLatin1String(isError ? "3 0 " : "2 0 "), text.split('\n')));
    }

    // A worker without a relay of its own still gets its error to the user.
    void reportFromWorkerWithoutRelay()
    {
        onWorker([&] { io->error("from a worker"); });
        QCOMPARE(answerer->summary(), "SORVAN Yum Error: from a worker");
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
