#pragma once

// Python's header first: it sets feature macros the C library headers read.
#include "tests/yumio/SessionTestSupport.h"
#include "widgets/HProgressBar.h"

#include <QTemporaryDir>

// A yum session collected from a private copy of the sandbox's root (parallel
// tests must not meet on its lock), with every dialog recorded and answered.
class SandboxSession
{
public:
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

    // The row of the entry of that name and kind; -1 for none.
    int row(QString const& name, Package::Kind kind = Package::Ordinary) const
    {
        for (int i = 0; i < yumIO->count(); ++i) {
            if ((*yumIO)[i]->name == name && (*yumIO)[i]->kind == kind)
                return i;
        }
        return -1;
    }
    Package::Entry* entry(QString const& name) const { return (*yumIO)[row(name)]; }

private:
    QTemporaryDir dir;
    QWidget window;
};
