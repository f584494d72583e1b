#include "app/Execute.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QMessageBox>
#include <QPointer>
#include <QSocketNotifier>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

QString tr(char const* text)
{
    return QCoreApplication::translate("Execute", text);
}

// How much of the program's messages a box shows: the end, where the reason is.
constexpr off_t shownMessages = 4096;

// Waits, in a watcher process of its own, for one started program, and
// reports its end here without blocking the interface.
class Watch : public QObject
{
    // Without it, tr() here would be QObject's, in a context of its own.
    Q_DECLARE_TR_FUNCTIONS(Execute)

public:
    Watch(QWidget* parent, QString const& program, QStringList const& secrets, int statusFd, int errorFd)
        : QObject(QCoreApplication::instance())
        , m_parent(parent)
        , m_program(program)
        , m_secrets(secrets)
        , m_statusFd(statusFd)
        , m_errorFd(errorFd)
        , m_notifier(statusFd, QSocketNotifier::Read, this)
    {
        connect(&m_notifier, &QSocketNotifier::activated, this, &Watch::ended);
    }
    ~Watch() override
    {
        ::close(m_statusFd);
        if (m_errorFd >= 0)
            ::close(m_errorFd);
    }

    // The first child failed: no watcher, no program.
    void failedToStart()
    {
        m_notifier.setEnabled(false);
        report(tr("%1 could not be started.").arg(m_program));
        deleteLater();
    }

private:
    void ended()
    {
        m_notifier.setEnabled(false);
        int status = 0;
        ssize_t got;
        do
            got = ::read(m_statusFd, &status, sizeof status);
        while (got < 0 && errno == EINTR);
        if (got != ssize_t(sizeof status))
            report(tr("%1 was started, but how it ended is unknown.").arg(m_program));
        else if (WIFEXITED(status) && WEXITSTATUS(status) != 0)
            report(tr("%1 failed with exit status %2.").arg(m_program).arg(WEXITSTATUS(status)));
        else if (WIFSIGNALED(status))
            report(tr("%1 was ended by signal %2 (%3).")
                       .arg(m_program)
                       .arg(WTERMSIG(status))
                       .arg(QString::fromLocal8Bit(::strsignal(WTERMSIG(status)))));
        deleteLater();
    }

    void report(QString text)
    {
        QString messages = this->messages().trimmed();
        for (QString const& secret : std::as_const(m_secrets)) {
            if (!secret.isEmpty())
                messages.replace(secret, QLatin1String("********"));
        }
        if (!messages.isEmpty())
            text += QLatin1String("\n\n") + messages;
        auto* box = new QMessageBox(
            QMessageBox::Critical, tr("SORVAN External Program Error"), text, QMessageBox::Ok, m_parent);
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->open();
    }

    // The end of what the program wrote to its standard error.  The file
    // stays open in whatever the program left running (a browser), which
    // may write on; only what is there now is read.
    QString messages() const
    {
        struct stat st;
        if (m_errorFd < 0 || ::fstat(m_errorFd, &st) != 0)
            return QString();
        off_t const from = std::max<off_t>(0, st.st_size - shownMessages);
        QByteArray bytes(qsizetype(st.st_size - from), '\0');
        ssize_t const got = ::pread(m_errorFd, bytes.data(), size_t(bytes.size()), from);
        bytes.truncate(got < 0 ? 0 : got);
        return QString::fromLocal8Bit(bytes);
    }

    QPointer<QWidget> m_parent;
    QString m_program;
    QStringList m_secrets;
    int m_statusFd;
    int m_errorFd;
    QSocketNotifier m_notifier;
};

} // namespace

void Execute::execute(QWidget* parent, char* const* argv, QStringList const& secrets)
{
    // The program's end comes through a pipe; its messages go to a file in
    // memory rather than a pipe, so that nothing it leaves running is ever
    // killed by writing to a pipe this program closed.
    int status[2];
    if (::pipe2(status, O_CLOEXEC) != 0) {
        int const error = errno;
        QMessageBox::critical(parent, tr("Help"),
            tr("pipe() failed; errno = %1 (%2)").arg(error).arg(QString::fromLocal8Bit(std::strerror(error))),
            QMessageBox::Ok);
        return;
    }
    int const errors = ::memfd_create("sorvan-program-errors", MFD_CLOEXEC);

    pid_t const child = ::fork();
    if (child < 0) {
        int const error = errno;
        ::close(status[0]);
        ::close(status[1]);
        if (errors >= 0)
            ::close(errors);
        QMessageBox::critical(parent, tr("Help"),
            tr("fork() failed; errno = %1 (%2)").arg(error).arg(QString::fromLocal8Bit(std::strerror(error))),
            QMessageBox::Ok);
        return;
    }
    if (child == 0) {
        // The process also runs an interpreter and work threads: from here on
        // only async-signal-safe calls, and fprintf for the last words.
        if (errors >= 0)
            ::dup2(errors, STDERR_FILENO);
        pid_t const watcher = ::fork();
        if (watcher < 0) {
            int const error = errno;
            std::fprintf(
                stderr, "second fork() failed; errno = %u (%s)\n", unsigned(error), std::strerror(error));
            ::_exit(1);
        }
        if (watcher > 0)
            ::_exit(0);
        // The watcher runs none of the program's signal handlers (it has
        // them all, and no exec to reset them): it blocks every signal.
        sigset_t all;
        sigfillset(&all);
        ::sigprocmask(SIG_SETMASK, &all, nullptr);
        struct sigaction fallback;
        std::memset(&fallback, 0, sizeof fallback);
        fallback.sa_handler = SIG_DFL;
        ::sigaction(SIGCHLD, &fallback, nullptr); // an ignored SIGCHLD would take the status away
        pid_t const program = ::fork();
        if (program < 0) {
            int const error = errno;
            std::fprintf(
                stderr, "third fork() failed; errno = %u (%s)\n", unsigned(error), std::strerror(error));
            ::_exit(1);
        }
        if (program == 0) {
            // The program gets the signals this process keeps for itself,
            // and SIGPIPE, which the interpreter ignores.
            ::sigaction(SIGPIPE, &fallback, nullptr);
            sigset_t none;
            sigemptyset(&none);
            ::sigprocmask(SIG_SETMASK, &none, nullptr);
            ::execv(argv[0], argv);
            int const error = errno;
            std::fprintf(stderr, "execv(\"%s\", ...) failed; errno = %u (%s)\n", argv[0], unsigned(error),
                std::strerror(error));
            ::_exit(127);
        }
        int ended = 0;
        while (::waitpid(program, &ended, 0) < 0) {
            if (errno != EINTR)
                ::_exit(1);
        }
        (void)!::write(status[1], &ended, sizeof ended);
        ::_exit(0);
    }
    ::close(status[1]);
    int childStatus = 0;
    while (::waitpid(child, &childStatus, 0) < 0 && errno == EINTR) { }
    auto* watch = new Watch(
        parent, QFileInfo(QString::fromLocal8Bit(argv[0])).fileName(), secrets, status[0], errors);
    if (!WIFEXITED(childStatus) || WEXITSTATUS(childStatus) != 0)
        watch->failedToStart();
}
