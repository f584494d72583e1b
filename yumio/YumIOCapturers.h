#pragma once

#include <QObject>
#include <QSemaphore>
#include <QStringDecoder>

class QSocketNotifier;
class YumIO;
class YumIOCapturersMinion;

// Captures what rpm and its scripts write to the process's descriptors 1 and
// 2 into the session's log, line by line, for as long as it exists.  It is
// made and destroyed on the work thread that runs rpm code, while the GUI
// thread, which reads the pipes, runs its local event loop.
class YumIOCapturers : public QObject
{
    Q_OBJECT

public:
    explicit YumIOCapturers(YumIO* io);
    // Puts descriptors 1 and 2 back and returns once everything written to
    // the pipes until then is in the log.
    ~YumIOCapturers() override;

    // The capture works: both descriptors go to the pipes.
    bool capturing() const { return active; }
    // Returns once everything written to the pipes so far is in the log: a
    // capture that starts inside this one must not overtake it.
    void sync();

private:
    YumIO* io;
    int savedStdout = -1;
    int savedStderr = -1;
    int outPipe[2] = { -1, -1 };
    int errPipe[2] = { -1, -1 };
    bool active = false;
    YumIOCapturersMinion* minion = nullptr;
};

// The GUI-thread side of a capture: reads the pipes as data arrives.
class YumIOCapturersMinion : public QObject
{
    Q_OBJECT

public:
    YumIOCapturersMinion(YumIO* io, int outRead, int errRead);
    // Drains both pipes a last time and closes their read ends.
    ~YumIOCapturersMinion() override;

    QSemaphore semaphore { 1 };

public Q_SLOTS:
    void initialize();
    void finalize();
    // Reads what the pipes hold and gives the permit back.
    void drain();
    void readStdout();
    void readStderr();

private:
    // Everything the pipe holds now, as text; stops reading at its end.
    QString takeAvailable(int fd, QStringDecoder& decoder, QSocketNotifier* notifier);

    YumIO* io;
    bool active = false;
    int outRead;
    int errRead;
    QSocketNotifier* outNotifier = nullptr;
    QSocketNotifier* errNotifier = nullptr;
    // UTF-8 sequences may be split between two reads.
    QStringDecoder outDecoder { QStringDecoder::Utf8 };
    QStringDecoder errDecoder { QStringDecoder::Utf8 };
};

// Installs a capture in the session's slot for a scope; scopes nest.
class YumIOCapturersUser
{
public:
    YumIOCapturersUser(YumIOCapturers*& slot, YumIO* io);
    ~YumIOCapturersUser();
    YumIOCapturersUser(YumIOCapturersUser const&) = delete;
    YumIOCapturersUser& operator=(YumIOCapturersUser const&) = delete;

private:
    YumIOCapturers*& slot;
    YumIOCapturers* previous;
};
