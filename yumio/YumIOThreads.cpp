#include "yumio/YumIOThreads.h"

#include "yumio/YumIO.h"

#include <QMetaObject>

void YumIOThread::finish(bool result)
{
    ok = result;
    over = true;
    // Queued, so the loop ends only after the log lines, progress and
    // answers this thread queued before.
    QEventLoop* target = &loop;
    QMetaObject::invokeMethod(
        target, [target] { target->exit(0); }, Qt::QueuedConnection);
}

void CollectThread::run()
{
    finish(io->collectReal(enables));
}

void ClearEntriesThread::run()
{
    io->clearEntriesReal();
    finish(true);
}

void CollectFileListsThread::run()
{
    finish(io->collectFileListsReal());
}

void CollectOtherDataThread::run()
{
    finish(io->collectOtherDataReal());
}

void ApplyThread::run()
{
    finish(io->applyReal());
}
