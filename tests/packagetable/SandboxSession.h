#pragma once

// Python's header first: it sets feature macros the C library headers read.
#include "yumio/YumIO.h"

#include <QStringList>
#include <QTemporaryDir>
#include <QTimer>

class QWidget;

// A yum session collected from a private copy of the sandbox's root (so that
// parallel tests do not meet on its lock).  Any dialog the session opens is
// recorded in `reports` and closed, so that a failure fails rather than hangs.
class SandboxSession
{
public:
    SandboxSession();
    ~SandboxSession();
    SandboxSession(SandboxSession const&) = delete;
    SandboxSession& operator=(SandboxSession const&) = delete;

    // Copies the root, starts the interpreter and collects; else `failure` says why.
    bool start();
    QString failure;
    YumIO* yumIO = nullptr;
    QStringList reports;

    // The row of the entry of that name, kind (and architecture); -1 for none.
    int row(QString const& name, QString const& arch = {}, Package::Kind kind = Package::Ordinary) const;
    Package::Entry* entry(
        QString const& name, QString const& arch = {}, Package::Kind kind = Package::Ordinary) const
    {
        int const i = row(name, arch, kind);
        return i < 0 ? nullptr : (*yumIO)[i];
    }
    static QString nativeArch();

private:
    QTemporaryDir dir;
    QWidget* window = nullptr;
    QTimer watchdog;
};
