#pragma once

// Python's header first: it sets feature macros the C library headers read.
#include "tests/yumio/SessionTestSupport.h"
#include "widgets/HProgressBar.h"

#include <QTemporaryDir>

// A yum session collected from a private copy of the sandbox's root (so that
// parallel tests do not meet on its lock).  Every dialog the session opens is
// recorded and answered, so that a failure fails rather than hangs.
class SandboxSession
{
public:
    SandboxSession() = default;
    SandboxSession(SandboxSession const&) = delete;
    SandboxSession& operator=(SandboxSession const&) = delete;
    ~SandboxSession()
    {
        if (yumIO)
            yumIO->clearEntriesBeforeQuit();
        delete yumIO;
    }

    // Copies the root, starts the interpreter and collects; else `failure` says why.
    bool start()
    {
        QString const root = dir.filePath(QStringLiteral("root"));
        failure = SessionTest::sandbox(QStringLiteral("clone"), { root });
        if (!failure.isEmpty())
            return false;
        qputenv("SORVANROOT", root.toLocal8Bit());
        yumIO = new YumIO;
        yumIO->setup(&window, new HProgressBar(&window), new HProgressBar(&window));
        if (yumIO->initialize() && yumIO->collect({}))
            return true;
        failure = QLatin1String("the session did not start or collect: ") + dialogs.summary();
        return false;
    }
    QString failure;
    YumIO* yumIO = nullptr;
    SessionTest::DialogAnswerer dialogs;

    // The row of the entry of that name, kind (and architecture); -1 for none.
    int row(QString const& name, QString const& arch = {}, Package::Kind kind = Package::Ordinary) const
    {
        for (int i = 0; i < yumIO->count(); ++i) {
            Package::Entry const* e = (*yumIO)[i];
            if (e->name == name && e->kind == kind && (arch.isEmpty() || e->arch == arch))
                return i;
        }
        return -1;
    }
    Package::Entry* entry(
        QString const& name, QString const& arch = {}, Package::Kind kind = Package::Ordinary) const
    {
        int const i = row(name, arch, kind);
        return i < 0 ? nullptr : (*yumIO)[i];
    }

private:
    QTemporaryDir dir;
    QWidget window;
};
