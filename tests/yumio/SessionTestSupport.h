#pragma once

// Python's header first: it sets feature macros the C library headers read.
#include "TestRows.h"
#include "yumio/YumIO.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>
#include <functional>

// What the session's tests share: copies of the sandbox's root, a way to run
// Python in the session's interpreter, and a user who answers the dialogs.

namespace SessionTest
{

// Copies the sandbox's root (built by the sandbox fixture) to `destination`;
// false with the reason in `failure`.
bool cloneRoot(QString const& destination, QString* failure);
// Serves the sandbox's HTTP repositories for a copy of its root (each
// download limited to `rate` bytes a second when given), and stops that.
bool serveRoot(QString const& root, int rate, QString* failure);
void stopServing(QString const& root);
// The sandbox tool's directory and interpreter, for helper processes.
QString sandboxDir();
QString python();
// The native architecture of the sandbox's packages.
QString nativeArch();

// Runs `work` on a new thread while the GUI thread goes on with its events,
// as the session's own workers do.
void onWorker(std::function<void()> work);

// The session's log entries from `from` on.
QList<Log::Entry> logged(YumIO* io, qsizetype from = 0);

// Runs statements in __main__ of the session's interpreter; the caller is the
// GUI thread, which holds the interpreter lock.  False when they raised.
bool pyRun(QString const& code);
// The value of an expression as text (its str()); empty when it raised.
QString pyEval(QString const& expression);

// A dialog that was shown, as the user saw it.
struct Dialog {
    enum Kind { Critical, Warning, Question, Scrollable, Other };
    Kind kind = Other;
    QString title;
    QString text;
};

// Watches for modal dialogs, records each and answers it: the button of a
// message box whose text is `answer` (else its standard button, else its
// first), accept or reject of the scrollable dialogs.  Dialogs shown by the
// session are modal and run their own loop; the watcher's timer runs inside
// it.
class DialogAnswerer : public QObject
{
    Q_OBJECT

public:
    DialogAnswerer();

    QList<Dialog> dialogs;
    QString answer;
    bool accept = true;

    // Titles and texts, one per dialog, for failure messages.
    QString summary() const;
    void clear() { dialogs.clear(); }

private:
    void look();
    QTimer timer;
};

} // namespace SessionTest
