#pragma once

#include <QEventLoop>
#include <QHash>
#include <QString>
#include <QThread>
#include <atomic>

class YumIO;

// The work threads of the session's long operations.  Each runs one
// operation of the session and then ends the GUI thread's wait loop; the
// session's public function starts it and returns its result.
class YumIOThread : public QThread
{
public:
    YumIOThread(YumIO* io, QEventLoop& loop)
        : io(io)
        , loop(loop)
    {
    }
    bool result() const { return ok; }
    // The operation is over: the worker needs nothing more of the GUI thread.
    bool done() const { return over; }

protected:
    // Ends the wait after everything the operation queued to the GUI thread.
    void finish(bool result);

    YumIO* io;
    QEventLoop& loop;
    bool ok = false;
    std::atomic_bool over = false;
};

class CollectThread : public YumIOThread
{
public:
    CollectThread(YumIO* io, QEventLoop& loop, QHash<QString, bool> const& enables)
        : YumIOThread(io, loop)
        , enables(enables)
    {
    }

protected:
    void run() override;

private:
    QHash<QString, bool> enables;
};

class ClearEntriesThread : public YumIOThread
{
public:
    using YumIOThread::YumIOThread;

protected:
    void run() override;
};

class CollectFileListsThread : public YumIOThread
{
public:
    using YumIOThread::YumIOThread;

protected:
    void run() override;
};

class CollectOtherDataThread : public YumIOThread
{
public:
    using YumIOThread::YumIOThread;

protected:
    void run() override;
};

class ApplyThread : public YumIOThread
{
public:
    using YumIOThread::YumIOThread;

protected:
    void run() override;
};
