#pragma once

#include "TestRows.h"
#include "yumio/YumIO.h"

#include <QProcess>
#include <QTimer>
#include <functional>

// What the session's tests share: the sandbox, Python in the session's
// interpreter, a worker thread, and a user who answers the dialogs.
namespace SessionTest
{

// Runs the sandbox tool's `command` ("clone", "serve", "stop") on the
// fixture's sandbox; its error output when it failed.
QString sandbox(QString const& command, QStringList const& arguments);
// The interpreter the engine belongs to, and the native architecture.
QString python();
QString nativeArch();
// Runs `work` on a new thread while the GUI thread goes on with its events.
void onWorker(std::function<void()> work);
QList<Log::Entry> logged(YumIO* io, qsizetype from = 0);
// Runs statements in the session's __main__; false when they raised.
bool pyRun(QString const& code);

// Another process holding a lock from its start until release() or the end
// of its scope: `take` is Python that takes it, with `path` in sys.argv[1].
class LockHolder
{
public:
    LockHolder(QString const& take, QString const& path);
    // One of dnf's locks ("build_rpmdb_lock", "build_download_lock") on `dir`.
    static QString dnf(char const* builder);
    ~LockHolder() { release(); }
    bool holds() const { return holding; }
    qint64 pid() const { return process.processId(); }
    void release();

private:
    QProcess process;
    bool holding = false;
};

struct Dialog {
    enum Kind { Critical, Warning, Question, Scrollable, Other } kind = Other;
    QString title, text;
};

// Records every modal dialog and answers it: the message box button whose
// text is `answer` (else its standard button), accept or reject otherwise.
// The session's dialogs run their own loop, in which the timer runs.
class DialogAnswerer : public QObject
{
    Q_OBJECT

public:
    DialogAnswerer();
    QList<Dialog> dialogs;
    QString answer;
    bool accept = true;
    // "title: text | title: text ..." of the dialogs, for failure messages.
    QString summary() const;
    void clear() { dialogs.clear(); }

private:
    void look();
    QTimer timer;
};

} // namespace SessionTest
