// Applying marked actions, end to end through the real engine on private
// copies of the sandbox's root: what the user is shown and asked, and what
// the root's rpm database holds afterwards.
#include "SessionTestSupport.h"
#include "widgets/HProgressBar.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <unistd.h>

using namespace SessionTest;

class TestYumIOApply : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;
    bool asUser = false;
    int clones = 0;
    QString root;
    QWidget* window = nullptr;
    YumIO* io = nullptr;
    DialogAnswerer answerer;

    bool switchRoot(QString const& path)
    {
        return pyRun(QStringLiteral("import os\nos.environ['SORVANROOT'] = '%1'\n").arg(path));
    }

    // A fresh copy of the sandbox's root, made ready by `prepare` and
    // collected with `enable` (a comma-separated list of repositories) enabled.
    void freshRoot(QString const& enable, std::function<void()> const& prepare = {})
    {
        root = dir.filePath(QStringLiteral("root%1").arg(++clones));
        QString const failure = sandbox("clone", { root });
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        if (prepare)
            prepare();
        QVERIFY(switchRoot(root));
        QHash<QString, bool> enables;
        for (QString const& id : enable.split(',', Qt::SkipEmptyParts))
            enables.insert(id, true);
        io->clear();
        QVERIFY2(io->collect(enables), qPrintable(answerer.summary()));
        answerer.clear();
    }

    // name-version of every package in the root's rpm database, as rpm says.
    QStringList rpmPackages() const
    {
        QProcess rpm;
        rpm.start(
            "rpm", { "--root", root, "--dbpath", "/var/lib/rpm", "-qa", "--qf", "%{NAME}-%{VERSION}\\n" });
        rpm.waitForFinished(60000);
        QStringList list
            = QString::fromLocal8Bit(rpm.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
        list.sort();
        return list;
    }

    // "install sv-app; update sv-kernel; remove @SORVAN Core": marks every
    // entry of that name (and kind).
    void mark(QString const& marks)
    {
        QHash<QString, Package::Action> const actions { { "install", Package::Install },
            { "update", Package::Update }, { "remove", Package::Remove } };
        for (QString const& item : marks.split("; ")) {
            QString const name = item.section(' ', 1);
            bool const group = name.startsWith('@');
            int found = 0;
            for (Package::Entry* e : *io)
                if (e->name == name.mid(group) && (e->kind == Package::Group) == group && !e->superseded) {
                    e->action = actions.value(item.section(' ', 0, 0));
                    ++found;
                }
            QVERIFY2(found > 0, qPrintable(item));
        }
    }

    // The error boxes' texts hold each part of `message` ('|' between them),
    // or there is no error box when it is empty.
    void checkErrors(QString const& message)
    {
        QString errors;
        for (Dialog const& d : answerer.dialogs)
            if (d.kind == Dialog::Critical || d.kind == Dialog::Scrollable)
                errors += d.text;
        QVERIFY2(errors.isEmpty() == message.isEmpty(), qPrintable(answerer.summary()));
        for (QString const& part : message.split('|', Qt::SkipEmptyParts))
            QVERIFY2(errors.contains(part), qPrintable(part + " not in: " + answerer.summary()));
    }

    void checkPackages(QStringList const& before, QString added, QString const& removed)
    {
        QStringList expected = before;
        QStringList now = rpmPackages();
        // A signing key imported on the way is a package of rpm's too.
        if (added.contains("gpg-pubkey")) {
            QCOMPARE(now.removeIf([](QString const& p) { return p.startsWith("gpg-pubkey-"); }), 1);
            added = added.remove("gpg-pubkey").simplified();
        }
        for (QString const& p : removed.split(' ', Qt::SkipEmptyParts))
            QVERIFY2(expected.removeOne(p), qPrintable(p));
        expected += added.split(' ', Qt::SkipEmptyParts);
        expected.sort();
        QCOMPARE(now, expected);
    }

private Q_SLOTS:
    void initTestCase()
    {
        asUser = qEnvironmentVariableIsSet("SORVAN_APPLY_AS_USER");
        QVERIFY2(asUser || ::geteuid() == 0, "applying needs root");
        window = new QWidget;
        io = new YumIO;
        io->setup(window, new HProgressBar(window), new HProgressBar(window));
        qputenv("SORVANROOT", dir.filePath("none").toLocal8Bit());
        QDir().mkpath(dir.filePath("none"));
        QVERIFY(io->initialize());
    }
    void cleanupTestCase()
    {
        if (io)
            io->clearEntriesBeforeQuit();
        delete io;
        delete window;
    }
    void init() { answerer.clear(); }

    // What the user marks, is shown and answers, and what rpm then holds.
    // A fault ends in an error box that says what failed and where, and rpm
    // holds what it promises: nothing, unless the transaction ran.
    void transactions_data()
    {
        columns<QString, QString, QString, QString, QString, QString, QString>(
            "enable", "marks", "answer", "listing", "error", "added", "removed");
        row("install pulls a dependency in", "", "install sv-app", "",
            "Transaction to be performed:\n\tInstall: sv-app 1.0-1 (ARCH) [sv-base]\nPerforming the "
            "following "
            "to resolve dependencies:\n\tInstall: sv-libfoo 1.0-1 (ARCH) [sv-base]\nTotal download size: ",
            "", "sv-app-1.0 sv-libfoo-1.0", "");
        row("update of two installed instances", "", "update sv-kernel", "", "\tInstall: sv-kernel 5.2-1", "",
            "sv-kernel-5.2", "");
        row("update wins by epoch", "", "update sv-epoch", "",
            "\tUpdate: sv-epoch 2:1.0-1 (noarch) [sv-updates]", "", "sv-epoch-1.0", "sv-epoch-2.0");
        row("remove of an entry available for update", "", "remove sv-tool", "", "\tRemove: sv-tool 1.0-1",
            "", "", "sv-tool-1.0");
        row("obsoletes", "", "install sv-new", "", "\tObsoleting: sv-old 1.0-1 (noarch) with sv-new 2.0-1",
            "", "sv-new-2.0", "sv-old-1.0");
        row("group install", "", "install @SORVAN Desktop", "",
            "\tInstall: sv-viewer 1.0-1 (noarch) [sv-base]\n", "",
            "sv-editor-1.0 sv-viewer-1.0 sv-viewer-langpack-1.0", "");
        row("group conflict resolved for the group", "", "remove @SORVAN Core; update sv-tool",
            "Mark for remove", "\tRemove: sv-tool 1.0-1", "", "", "sv-docs-1.0 sv-reloc-1.0 sv-tool-1.0");
        row("group conflict resolved for the mark", "", "remove @SORVAN Core; update sv-tool", "Keep update",
            "\tUpdate: sv-tool 1.2-1", "", "sv-tool-1.2", "sv-docs-1.0 sv-reloc-1.0 sv-tool-1.0");
        row("group conflict stops", "", "remove @SORVAN Core; update sv-tool", "Stop", "", "", "", "");
        row("signed package, key imported", "sv-signed", "install sv-signed-tool", "Import Key",
            "\tInstall: sv-signed-tool 1.0-1", "", "gpg-pubkey sv-signed-tool-1.0", "");
        row("cancelled", "", "install sv-app", "-", "\tInstall: sv-app", "", "", "");
        row("unresolvable request", "sv-faults", "install sv-broken", "", "",
            "sv-broken|sv-nowhere|Unable to apply changes", "", "");
        row("file conflict", "sv-faults", "install sv-conflict-a; install sv-conflict-b", "", "",
            "transaction test failed|/usr/share/sv-conflict/data", "", "");
        row("failing pre-install scriptlet", "sv-faults", "install sv-prefail", "", "", "sv-prefail", "", "");
        row("failing post-install scriptlet", "", "install sv-failing", "", "", "sv-failing|scriptlet",
            "sv-failing-1.0", "");
        row("unsigned package", "sv-signed", "install sv-unsigned-tool", "", "",
            "sv-unsigned-tool|not signed", "", "");
        row("signed by an unknown key", "sv-signed", "install sv-badsig-tool", "Import Key", "",
            "sv-badsig-tool", "gpg-pubkey", "");
        row("key import cancelled", "sv-signed", "install sv-signed-tool", "Cancel", "", "sv-signed-tool", "",
            "");
    }
    void transactions()
    {
        QFETCH(QString, enable);
        QFETCH(QString, marks);
        QFETCH(QString, answer);
        QFETCH(QString, listing);
        QFETCH(QString, error);
        QFETCH(QString, added);
        QFETCH(QString, removed);
        freshRoot(enable);
        QStringList const before = rpmPackages();
        mark(marks);
        answerer.answer = answer;
        answerer.accept = answer != "-";
        bool const applied = io->apply();
        answerer.accept = true;
        QCOMPARE(io->lastApplyFailed(), !error.isEmpty());
        QCOMPARE(applied, error.isEmpty() && !(added + removed).isEmpty());
        checkErrors(error);
        QString listed;
        for (Dialog const& d : answerer.dialogs)
            listed += d.kind == Dialog::Question ? d.text : QString();
        QVERIFY2(listed.contains(listing.replace("ARCH", nativeArch())), qPrintable(listed));
        checkPackages(before, added, removed);
        if (applied) {
            // Recorded in dnf's history of the managed root.
            QProcess history;
            history.start(python(),
                { "-c",
                    "import sqlite3, sys\n"
                    "print(sqlite3.connect(sys.argv[1]).execute('select count(*) from trans').fetchone()[0])",
                    root + "/var/lib/dnf/history.sqlite" });
            QVERIFY(history.waitForFinished(60000));
            QVERIFY2(history.readAllStandardOutput().trimmed().toInt() >= 1, "no history");
        }
    }

    void lockHeldThenDownloadFails()
    {
        freshRoot("sv-http", [this] {
            QString const failure = sandbox("serve", { "--root", root });
            QVERIFY2(failure.isEmpty(), qPrintable(failure));
        });
        QString const failure = sandbox("stop", { "--root", root });
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        QStringList const before = rpmPackages();
        mark("install sv-net-tool");
        {
            LockHolder holder(LockHolder::dnf("build_rpmdb_lock"), root + "/var/lib/dnf");
            QVERIFY(holder.holds());
            QVERIFY(!io->apply() && io->lastApplyFailed());
            checkErrors("rpmdb_lock.pid|" + QString::number(holder.pid()));
        }
        answerer.clear();
        QVERIFY(!io->apply() && io->lastApplyFailed());
        checkErrors("Unable to download|sv-net-tool");
        QCOMPARE(rpmPackages(), before);
    }

    // A package installed for two architectures is updated in both, even
    // when only the row of the native one is marked.
    void updateOfTwoArchitectures()
    {
        freshRoot("sv-faults", [this] {
            QString const rpms = qEnvironmentVariable("SORVAN_BINARY_DIR") + "/sandbox/rpms/";
            QProcess rpm;
            rpm.start("rpm",
                { "--root", root, "--dbpath", "/var/lib/rpm", "-i",
                    rpms + nativeArch() + "/sv-multi-1.0-1." + nativeArch() + ".rpm",
                    rpms + "i686/sv-multi-1.0-1.i686.rpm" });
            QVERIFY(rpm.waitForFinished(60000));
            QVERIFY2(rpm.exitCode() == 0, rpm.readAllStandardError().constData());
        });
        QStringList const before = rpmPackages();
        mark("update sv-multi");
        QVERIFY2(io->apply(), qPrintable(answerer.summary()));
        checkPackages(before, "sv-multi-1.1 sv-multi-1.1", "sv-multi-1.0 sv-multi-1.0");
    }

    // Without root nothing is resolved: one message saying why and how.
    void notRoot()
    {
        if (!asUser) {
            // This test again, as an unprivileged user, on a copy it can read.
            QVERIFY(QFile::setPermissions(
                dir.path(), QFile::permissions(dir.path()) | QFile::ExeOther | QFile::ReadOther));
            QProcess child;
            QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
            env.insert("SORVAN_APPLY_AS_USER", dir.path());
            env.insert("XDG_RUNTIME_DIR", "/tmp");
            child.setProcessEnvironment(env);
            child.start("setpriv",
                { "--reuid=65534", "--regid=65534", "--clear-groups", "--",
                    QCoreApplication::applicationFilePath(), "notRoot" });
            QVERIFY(child.waitForFinished(120000));
            QVERIFY2(child.exitCode() == 0, child.readAll().constData());
            return;
        }
        QVERIFY(::geteuid() != 0);
        root = qEnvironmentVariable("SORVAN_APPLY_AS_USER") + "/root1";
        QVERIFY(switchRoot(root));
        io->clear();
        QVERIFY2(io->collect({}), qPrintable(answerer.summary()));
        answerer.clear();
        mark("install sv-app");
        // The engine, had it been asked, would have failed.
        QVERIFY(!io->apply() && !io->lastApplyFailed());
        QCOMPARE(answerer.dialogs.size(), 1);
        QVERIFY2(answerer.summary().contains("needs root") && answerer.summary().contains("pkexec"),
            qPrintable(answerer.summary()));
    }
};

QTEST_MAIN(TestYumIOApply)
#include "tst_yumioapply.moc"
