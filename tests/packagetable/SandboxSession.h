#pragma once

// Python's header first: it sets feature macros the C library headers read.
#include "yumio/YumIO.h"

#include <QStringList>
#include <QTemporaryDir>
#include <QTimer>

class HProgressBar;
class QWidget;

// A yum session collected from a private copy of the sandbox's root: what
// every package table test runs against.  The copy keeps parallel tests from
// meeting on the root's lock.
//
// Any message box the session opens (an error, a warning) is recorded in
// `reports` and closed, as a user would, so that a failure shows up as a test
// failure rather than a hang.
class SandboxSession
{
public:
    SandboxSession();
    ~SandboxSession();
    SandboxSession(SandboxSession const&) = delete;
    SandboxSession& operator=(SandboxSession const&) = delete;

    // Copies the root, starts the interpreter and collects; on failure
    // `failure` says why.
    bool start();
    QString failure;

    YumIO* yumIO = nullptr;
    QWidget* window = nullptr;
    QStringList reports;

    // The row of the entry of that name and kind (and architecture, when one
    // is given); -1 when there is none.
    int row(
        QString const& name, QString const& arch = QString(), Package::Kind kind = Package::Ordinary) const;
    Package::Entry* entry(
        QString const& name, QString const& arch = QString(), Package::Kind kind = Package::Ordinary) const;
    // The native architecture of the sandbox's packages (rpm's %_arch).
    static QString nativeArch();

private:
    void closeDialogs();

    QTemporaryDir dir;
    HProgressBar* totalBar = nullptr;
    HProgressBar* itemBar = nullptr;
    QTimer watchdog;
};
