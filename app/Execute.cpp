#include "app/Execute.h"

#include <QCoreApplication>
#include <QMessageBox>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <sys/wait.h>
#include <unistd.h>

void Execute::execute(QWidget* parent, char* const* argv)
{
    pid_t const child = ::fork();
    if (child < 0) {
        int const error = errno;
        QMessageBox::critical(parent, QCoreApplication::translate("Execute", "Help"),
            QCoreApplication::translate("Execute", "fork() failed; errno = %1 (%2)")
                .arg(error)
                .arg(QString::fromLocal8Bit(std::strerror(error))),
            QMessageBox::Ok);
        return;
    }
    if (child == 0) {
        // The process also runs an interpreter and work threads: from here on
        // only fork, execv, fprintf and _exit.
        pid_t const grandchild = ::fork();
        if (grandchild < 0) {
            int const error = errno;
            std::fprintf(
                stderr, "second fork() failed; errno = %u (%s)\n", unsigned(error), std::strerror(error));
            ::_exit(1);
        }
        if (grandchild > 0)
            ::_exit(0);
        // The viewer gets the signals the program keeps for itself.
        sigset_t none;
        sigemptyset(&none);
        ::sigprocmask(SIG_SETMASK, &none, nullptr);
        ::execv(argv[0], argv);
        int const error = errno;
        std::fprintf(stderr, "execv(\"%s\", ...) failed; errno = %u (%s)\n", argv[0], unsigned(error),
            std::strerror(error));
        ::_exit(1);
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) { }
}
