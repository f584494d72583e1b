// The session's output paths, which need no interpreter: log lines, line
// buffers, the capture of descriptors 1 and 2, the dialog relay on the GUI
// thread and from workers, and the failure reports.
#include "SessionTestSupport.h"
#include "yumio/YumIOCapturers.h"
#include "yumio/YumIODialogs.h"

#include <QEventLoop>
#include <QMessageBox>
#include <QThread>
#include <QtTest>
#include <functional>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

using namespace SessionTest;

namespace
{

// Runs `work` on a new thread while the GUI thread goes on with its events,
// as the session's own workers do.
void onWorker(std::function<void()> work)
{
    QEventLoop loop;
    QThread* thread = QThread::create(std::move(work));
    QObject::connect(thread, &QThread::finished, &loop, &QEventLoop::quit);
    thread->start();
    loop.exec();
    thread->wait();
    delete thread;
}

// Writes straight to a descriptor, as rpm does.
void writeFd(int fd, char const* text)
{
    ssize_t const n = ::write(fd, text, std::strlen(text));
    Q_UNUSED(n);
}

// A child process writing to its inherited descriptors 1 and 2, as rpm's
// scripts do.
int runShell(char const* script)
{
    pid_t pid = 0;
    char const* argv[] = { "/bin/sh", "-c", script, nullptr };
    if (::posix_spawn(&pid, "/bin/sh", nullptr, nullptr, const_cast<char**>(argv), environ) != 0)
        return -1;
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

class TestYumIOOutput : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void log_data();
    void log();
    void write_data();
    void write();
    void streamsKeepTheirOwnLines();
    void captureDescriptors();
    void captureOnGuiThread();
    void captureScopesNest();
    void relayOnGuiThread();
    void relayFromWorker();
    void relayConfirm_data();
    void relayConfirm();
    void relayScopesNest();
    void errorAndWarning_data();
    void errorAndWarning();
    void reportFromWorkerWithoutRelay();
    void pythonExceptionWithoutScope();

private:
    // The log entries from `from` on, as "kind level text".
    QStringList logged(qsizetype from = 0);

    YumIO* io = nullptr;
    QWidget* window = nullptr;
    DialogAnswerer* answerer = nullptr;
};

void TestYumIOOutput::init()
{
    window = new QWidget;
    io = new YumIO;
    io->setup(window, nullptr, nullptr);
    answerer = new DialogAnswerer;
}

void TestYumIOOutput::cleanup()
{
    delete answerer;
    delete io;
    delete window;
}

QStringList TestYumIOOutput::logged(qsizetype from)
{
    QStringList lines;
    Log::EntryList& list = io->logEntries();
    QMutexLocker locker(&list.mutex);
    for (qsizetype i = from; i < list.entries.size(); ++i)
        lines.append(QStringLiteral("%1 %2 %3")
                         .arg(list.entries[i].kind)
                         .arg(list.entries[i].level)
                         .arg(list.entries[i].text));
    return lines;
}

void TestYumIOOutput::log_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("lines");

    QTest::newRow("one line") << "Reading repositories" << QStringList({ "Reading repositories" });
    QTest::newRow("lines") << "a\nb" << QStringList({ "a", "b" });
    QTest::newRow("trailing line end") << "done\n" << QStringList({ "done", "" });
    QTest::newRow("empty") << "" << QStringList({ "" });
    QTest::newRow("errno prefix") << "Cannot open /x: [Errno 2] No such file"
                                  << QStringList({ "Cannot open /x:", "[Errno 2] No such file" });
    QTest::newRow("two errno prefixes")
        << "a: [Errno 13] b: [Errno 2] c" << QStringList({ "a:", "[Errno 13] b:", "[Errno 2] c" });
    QTest::newRow("errno without digits") << "a: [Errno ] b" << QStringList({ "a:", "[Errno ] b" });
    QTest::newRow("no blank after colon") << "a:[Errno 2] b" << QStringList({ "a:[Errno 2] b" });
    QTest::newRow("no colon") << "a [Errno 2] b" << QStringList({ "a [Errno 2] b" });
    QTest::newRow("lower case") << "a: [errno 2] b" << QStringList({ "a: [errno 2] b" });
    QTest::newRow("prefix at start") << "[Errno 2] b" << QStringList({ "[Errno 2] b" });
}

void TestYumIOOutput::log()
{
    QFETCH(QString, text);
    QFETCH(QStringList, lines);
    QSignalSpy appended(&io->logEntries(), &Log::EntryList::appended);
    io->log(Log::Warning, 7, text);
    QStringList expected;
    for (QString const& line : lines)
        expected.append(QStringLiteral("2 7 ") + line);
    QCOMPARE(logged(), expected);
    // One signal per call, however many lines.
    QCOMPARE(appended.count(), 1);
}

// Writes go into a line buffer; only complete lines are logged.
void TestYumIOOutput::write_data()
{
    QTest::addColumn<QStringList>("writes");
    QTest::addColumn<QStringList>("lines");

    QTest::newRow("unfinished") << QStringList({ "abc" }) << QStringList();
    QTest::newRow("line") << QStringList({ "abc\n" }) << QStringList({ "abc" });
    QTest::newRow("joined across writes") << QStringList({ "ab", "c\nde" }) << QStringList({ "abc" });
    QTest::newRow("rest completed later")
        << QStringList({ "ab", "c\nde", "f\n" }) << QStringList({ "abc", "def" });
    QTest::newRow("empty lines kept") << QStringList({ "a\n\nb\n" }) << QStringList({ "a", "", "b" });
    QTest::newRow("line end alone") << QStringList({ "\n" }) << QStringList({ "" });
    QTest::newRow("empty writes") << QStringList({ "", "x", "", "\n" }) << QStringList({ "x" });
}

void TestYumIOOutput::write()
{
    QFETCH(QStringList, writes);
    QFETCH(QStringList, lines);
    QSignalSpy appended(&io->logEntries(), &Log::EntryList::appended);
    QString buffer;
    int signalsExpected = 0;
    for (QString const& text : writes) {
        if (text.contains(QLatin1Char('\n')))
            ++signalsExpected;
        io->write(text, Log::Info, 4, buffer);
    }
    QStringList expected;
    for (QString const& line : lines)
        expected.append(QStringLiteral("0 4 ") + line);
    QCOMPARE(logged(), expected);
    QCOMPARE(appended.count(), signalsExpected);
    QCOMPARE(buffer, QString(writes.join(QString()).section(QLatin1Char('\n'), -1)));
}

// Standard output and standard error are buffered apart, with their own
// kinds.
void TestYumIOOutput::streamsKeepTheirOwnLines()
{
    io->writeStdout(QStringLiteral("out "));
    io->writeStderr(QStringLiteral("err "));
    io->writeStderr(QStringLiteral("line\n"));
    io->writeStdout(QStringLiteral("line\n"));
    QCOMPARE(logged(), QStringList({ "3 0 err line", "1 0 out line" }));
}

// What a worker's children and the worker itself write to descriptors 1 and
// 2 during a capture lands in the log line by line, all of it by the time
// the capture ends; afterwards the descriptors are the old ones again.
void TestYumIOOutput::captureDescriptors()
{
    struct stat before1, before2, after1, after2;
    QCOMPARE(::fstat(1, &before1), 0);
    QCOMPARE(::fstat(2, &before2), 0);
    int shell = -2;
    bool capturing = false;
    io->writeStdout(QStringLiteral("script says "));
    onWorker([&] {
        YumIOCapturers* slot = nullptr;
        YumIOCapturersUser user(slot, io);
        capturing = slot && slot->capturing();
        writeFd(1, "from rpm\n");
        shell = runShell("echo 'scriptlet out'; echo 'scriptlet err' >&2; printf 'unfinished'; "
                         "printf 'two\\nlines\\n' >&2");
        writeFd(2, "last words\n");
    });
    QVERIFY(capturing);
    QCOMPARE(shell, 0);
    QStringList const lines = logged();
    // Each stream in its own order; the streams may interleave.
    QStringList out, err;
    for (QString const& line : lines)
        (line.startsWith(QLatin1String("1 ")) ? out : err).append(line);
    QCOMPARE(out, QStringList({ "1 0 script says from rpm", "1 0 scriptlet out" }));
    QCOMPARE(err, QStringList({ "3 0 scriptlet err", "3 0 two", "3 0 lines", "3 0 last words" }));
    // The unfinished line waits for its end, from wherever it comes.
    io->writeStdout(QStringLiteral(" and finished\n"));
    QCOMPARE(logged(lines.size()), QStringList({ "1 0 unfinished and finished" }));

    QCOMPARE(::fstat(1, &after1), 0);
    QCOMPARE(::fstat(2, &after2), 0);
    QCOMPARE(after1.st_ino, before1.st_ino);
    QCOMPARE(after1.st_dev, before1.st_dev);
    QCOMPARE(after2.st_ino, before2.st_ino);
    QVERIFY2(answerer->dialogs.isEmpty(), qPrintable(answerer->summary()));
}

// A capture that begins and ends on the GUI thread reads the pipes itself
// instead of waiting for itself.
void TestYumIOOutput::captureOnGuiThread()
{
    {
        YumIOCapturers* slot = nullptr;
        YumIOCapturersUser user(slot, io);
        QVERIFY(slot->capturing());
        writeFd(1, "gui out\n");
        writeFd(2, "gui err\n");
    }
    QCOMPARE(logged(), QStringList({ "1 0 gui out", "3 0 gui err" }));
}

void TestYumIOOutput::captureScopesNest()
{
    onWorker([&] {
        YumIOCapturers* slot = nullptr;
        {
            YumIOCapturersUser outer(slot, io);
            YumIOCapturers* first = slot;
            writeFd(1, "outer\n");
            {
                YumIOCapturersUser inner(slot, io);
                if (slot == first)
                    return;
                writeFd(1, "inner\n");
            }
            if (slot != first)
                return;
            writeFd(1, "outer again\n");
        }
        if (slot != nullptr)
            return;
    });
    QCOMPARE(logged(), QStringList({ "1 0 outer", "1 0 inner", "1 0 outer again" }));
}

// Asked on the GUI thread, the dialog runs inside the call and the answer is
// there when it returns, without a wait loop.
void TestYumIOOutput::relayOnGuiThread()
{
    YumIODialogs relay(window);
    answerer->answer = QStringLiteral("Second");
    int const pressed = relay.warning(QStringLiteral("Title"), QStringLiteral("Question?"),
        QStringLiteral("First"), QStringLiteral("Second"), QString(), 0, -1);
    QCOMPARE(pressed, 1);
    QVERIFY(relay.answeredDirectly());
    QCOMPARE(answerer->dialogs.size(), 1);
    QCOMPARE(int(answerer->dialogs[0].kind), int(Dialog::Warning));
    QCOMPARE(answerer->dialogs[0].title, QStringLiteral("Title"));
}

// Asked on a worker, the question is queued to the GUI thread and the worker
// waits in its relay's loop for the answer.
void TestYumIOOutput::relayFromWorker()
{
    answerer->answer = QStringLiteral("Third");
    int pressed = -2;
    bool direct = true;
    bool onOtherThread = false;
    onWorker([&] {
        YumIODialogs relay(window);
        onOtherThread = relay.thread() != QCoreApplication::instance()->thread();
        pressed = relay.critical(QStringLiteral("Worker"), QStringLiteral("Which?"), QStringLiteral("First"),
            QStringLiteral("Second"), QStringLiteral("Third"), 0, 2);
        direct = relay.answeredDirectly();
    });
    QVERIFY(onOtherThread);
    QCOMPARE(pressed, 2);
    QVERIFY(!direct);
    QCOMPARE(answerer->dialogs.size(), 1);
    QCOMPARE(int(answerer->dialogs[0].kind), int(Dialog::Critical));
    QCOMPARE(answerer->dialogs[0].text, QStringLiteral("Which?"));
}

void TestYumIOOutput::relayConfirm_data()
{
    QTest::addColumn<bool>("accept");
    QTest::addColumn<bool>("worker");
    QTest::newRow("yes here") << true << false;
    QTest::newRow("no here") << false << false;
    QTest::newRow("yes from worker") << true << true;
    QTest::newRow("no from worker") << false << true;
}

void TestYumIOOutput::relayConfirm()
{
    QFETCH(bool, accept);
    QFETCH(bool, worker);
    answerer->accept = accept;
    int result = -1;
    auto ask = [&] {
        YumIODialogs relay(window);
        result = relay.confirm(
            QStringLiteral("Confirm"), QStringLiteral("Install 3 packages?"), QString(), QString());
    };
    if (worker)
        onWorker(ask);
    else
        ask();
    QCOMPARE(result, accept ? int(QDialog::Accepted) : int(QDialog::Rejected));
    QCOMPARE(answerer->dialogs.size(), 1);
    QCOMPARE(int(answerer->dialogs[0].kind), int(Dialog::Question));
    QCOMPARE(answerer->dialogs[0].title, QStringLiteral("Confirm"));
    QCOMPARE(answerer->dialogs[0].text, QStringLiteral("Install 3 packages?"));
}

void TestYumIOOutput::relayScopesNest()
{
    YumIODialogs* slot = nullptr;
    {
        YumIODialogsUser outer(slot, window);
        YumIODialogs* first = slot;
        QVERIFY(first);
        {
            YumIODialogsUser inner(slot, window);
            QVERIFY(slot && slot != first);
        }
        QCOMPARE(slot, first);
    }
    QCOMPARE(slot, nullptr);
}

// Errors and warnings: one box with the single standard button, titled by
// their kind, and one log line.
void TestYumIOOutput::errorAndWarning_data()
{
    QTest::addColumn<bool>("isError");
    QTest::addColumn<bool>("fromC");
    QTest::newRow("error") << true << false;
    QTest::newRow("warning") << false << false;
    QTest::newRow("error from C text") << true << true;
    QTest::newRow("warning from C text") << false << true;
}

void TestYumIOOutput::errorAndWarning()
{
    QFETCH(bool, isError);
    QFETCH(bool, fromC);
    int buttons = -1;
    QTimer::singleShot(10, this, [&] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget()))
            buttons = int(box->buttons().size());
    });
    if (fromC && isError)
        io->error("Internal error: x not found\n");
    else if (fromC)
        io->warning("Internal error: x not understood\n");
    else if (isError)
        io->error(QStringLiteral("No repositories are enabled.\nUnder the Repositories menu, ..."));
    else
        io->warning(QStringLiteral("unable to setup repository sv-base:\nbroken"));
    QCOMPARE(answerer->dialogs.size(), 1);
    Dialog const& d = answerer->dialogs[0];
    QCOMPARE(int(d.kind), int(isError ? Dialog::Critical : Dialog::Warning));
    QCOMPARE(d.title, isError ? QStringLiteral("SORVAN Yum Error") : QStringLiteral("SORVAN Yum Warning"));
    QCOMPARE(buttons, 1);
    QString const text = fromC
        ? (isError ? QStringLiteral("Internal error: x not found")
                   : QStringLiteral("Internal error: x not understood"))
        : (isError ? QStringLiteral("No repositories are enabled.\nUnder the Repositories menu, ...")
                   : QStringLiteral("unable to setup repository sv-base:\nbroken"));
    QCOMPARE(d.text, text);
    QStringList expected;
    for (QString const& line : text.split(QLatin1Char('\n')))
        expected.append(QStringLiteral("%1 0 %2").arg(isError ? 3 : 2).arg(line));
    QCOMPARE(logged(), expected);
}

// A worker without a relay of its own still gets its error to the user.
void TestYumIOOutput::reportFromWorkerWithoutRelay()
{
    onWorker([&] { io->error(QStringLiteral("from a worker")); });
    QCOMPARE(answerer->dialogs.size(), 1);
    QCOMPARE(answerer->dialogs[0].text, QStringLiteral("from a worker"));
}

// With no expectation scope open, the report collects from the end of the
// log: earlier errors are not repeated.
void TestYumIOOutput::pythonExceptionWithoutScope()
{
    io->log(Log::Error, 0, QStringLiteral("an earlier error"));
    io->pythonException(QStringLiteral("Unable to obtain yum lock"));
    QCOMPARE(answerer->dialogs.size(), 1);
    QCOMPARE(int(answerer->dialogs[0].kind), int(Dialog::Scrollable));
    QCOMPARE(answerer->dialogs[0].title, QStringLiteral("SORVAN Yum Error"));
    QCOMPARE(answerer->dialogs[0].text, QStringLiteral("Unable to obtain yum lock"));
    QCOMPARE(logged(), QStringList({ "3 0 an earlier error", "3 0 Unable to obtain yum lock" }));
}

QTEST_MAIN(TestYumIOOutput)
#include "tst_yumiooutput.moc"
