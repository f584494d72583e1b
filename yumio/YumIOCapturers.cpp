#include "yumio/YumIOCapturers.h"

#include "yumio/YumIO.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QSocketNotifier>
#include <QThread>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace
{

void closeFd(int& fd)
{
    if (fd >= 0)
        ::close(fd);
    fd = -1;
}

bool onGuiThread()
{
    return QThread::currentThread() == QCoreApplication::instance()->thread();
}

} // namespace

YumIOCapturers::YumIOCapturers(YumIO* io)
    : io(io)
{
    // What the C library still buffers belongs to the old destinations.
    std::fflush(stdout);
    std::fflush(stderr);
    savedStdout = ::fcntl(1, F_DUPFD_CLOEXEC, 0);
    savedStderr = ::fcntl(2, F_DUPFD_CLOEXEC, 0);
    // The pipes' own descriptors stay out of rpm's children; only 1 and 2
    // reach them.
    if (savedStdout < 0 || savedStderr < 0 || ::pipe2(outPipe, O_CLOEXEC) != 0
        || ::pipe2(errPipe, O_CLOEXEC) != 0) {
        io->error(tr("Unable to open pipe to capture rpm transaction output"));
        closeFd(outPipe[0]);
        closeFd(outPipe[1]);
        closeFd(errPipe[0]);
        closeFd(errPipe[1]);
        closeFd(savedStdout);
        closeFd(savedStderr);
        return;
    }
    if (::dup2(outPipe[1], 1) < 0 || ::dup2(errPipe[1], 2) < 0) {
        int const failed = errno;
        ::dup2(savedStdout, 1);
        ::dup2(savedStderr, 2);
        closeFd(outPipe[0]);
        closeFd(outPipe[1]);
        closeFd(errPipe[0]);
        closeFd(errPipe[1]);
        closeFd(savedStdout);
        closeFd(savedStderr);
        errno = failed;
        io->error(tr("Unable to dup2 pipe to capture rpm transaction output"));
        return;
    }
    ::fcntl(outPipe[0], F_SETFL, ::fcntl(outPipe[0], F_GETFL) | O_NONBLOCK);
    ::fcntl(errPipe[0], F_SETFL, ::fcntl(errPipe[0], F_GETFL) | O_NONBLOCK);
    active = true;

    minion = new YumIOCapturersMinion(io, outPipe[0], errPipe[0]);
    minion->moveToThread(QCoreApplication::instance()->thread());
    QMetaObject::invokeMethod(minion, &YumIOCapturersMinion::initialize, Qt::QueuedConnection);
}

YumIOCapturers::~YumIOCapturers()
{
    if (!active)
        return;
    std::fflush(stdout);
    std::fflush(stderr);
    if (::dup2(savedStdout, 1) < 0 || ::dup2(savedStderr, 2) < 0) {
        io->error(tr("Unable to dup2 to restore stderr"));
        return;
    }
    closeFd(savedStdout);
    closeFd(savedStderr);
    closeFd(outPipe[1]);
    closeFd(errPipe[1]);

    if (onGuiThread()) {
        // Nobody else could read the pipes: do it here.
        minion->initialize();
        minion->finalize();
        delete minion;
        return;
    }
    // Wait until the GUI thread has read everything written so far.
    minion->semaphore.acquire();
    QMetaObject::invokeMethod(minion, &YumIOCapturersMinion::finalize, Qt::QueuedConnection);
    minion->semaphore.acquire();
    minion->semaphore.release();
    minion->deleteLater();
}

void YumIOCapturers::sync()
{
    if (!active)
        return;
    if (onGuiThread()) {
        minion->readStdout();
        minion->readStderr();
        return;
    }
    minion->semaphore.acquire();
    QMetaObject::invokeMethod(minion, &YumIOCapturersMinion::drain, Qt::QueuedConnection);
    minion->semaphore.acquire();
    minion->semaphore.release();
}

// --- the minion -----------------------------------------------------------------

YumIOCapturersMinion::YumIOCapturersMinion(YumIO* io, int outRead, int errRead)
    : io(io)
    , outRead(outRead)
    , errRead(errRead)
{
}

YumIOCapturersMinion::~YumIOCapturersMinion()
{
    readStdout();
    readStderr();
    delete outNotifier;
    delete errNotifier;
    closeFd(outRead);
    closeFd(errRead);
}

void YumIOCapturersMinion::initialize()
{
    if (active || outNotifier)
        return;
    outNotifier = new QSocketNotifier(outRead, QSocketNotifier::Read, this);
    errNotifier = new QSocketNotifier(errRead, QSocketNotifier::Read, this);
    connect(outNotifier, &QSocketNotifier::activated, this, &YumIOCapturersMinion::readStdout);
    connect(errNotifier, &QSocketNotifier::activated, this, &YumIOCapturersMinion::readStderr);
    active = true;
}

void YumIOCapturersMinion::finalize()
{
    if (active) {
        if (outNotifier)
            outNotifier->disconnect(this);
        if (errNotifier)
            errNotifier->disconnect(this);
        readStdout();
        readStderr();
        active = false;
    }
    semaphore.release();
}

void YumIOCapturersMinion::drain()
{
    readStdout();
    readStderr();
    semaphore.release();
}

void YumIOCapturersMinion::readStdout()
{
    QString const text = takeAvailable(outRead, outDecoder, outNotifier);
    if (!text.isEmpty())
        io->writeStdout(text);
}

void YumIOCapturersMinion::readStderr()
{
    QString const text = takeAvailable(errRead, errDecoder, errNotifier);
    if (!text.isEmpty())
        io->writeStderr(text);
}

QString YumIOCapturersMinion::takeAvailable(int fd, QStringDecoder& decoder, QSocketNotifier* notifier)
{
    if (fd < 0)
        return QString();
    QByteArray bytes;
    char buffer[8192];
    for (;;) {
        ssize_t const n = ::read(fd, buffer, sizeof buffer);
        if (n > 0) {
            bytes.append(buffer, n);
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        // At the end of the pipe a level-triggered notifier would fire
        // without pause.
        if (n == 0 && notifier)
            notifier->setEnabled(false);
        break;
    }
    return decoder.decode(bytes);
}

// --- the scope --------------------------------------------------------------------

YumIOCapturersUser::YumIOCapturersUser(YumIOCapturers*& slot, YumIO* io)
    : slot(slot)
    , previous(slot)
{
    if (previous)
        previous->sync();
    slot = new YumIOCapturers(io);
}

YumIOCapturersUser::~YumIOCapturersUser()
{
    delete slot;
    slot = previous;
}
