// Applying marked actions, end to end through the real engine on private
// copies of the sandbox's root: what the user is shown and asked, and what
// the root's rpm database and dnf's history hold afterwards.
#include "SessionTestSupport.h"
#include "widgets/HProgressBar.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <unistd.h>

using namespace SessionTest;

class TestYumIOApply : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;
    int clones = 0;
    QString root;
    QWidget* window = nullptr;
    YumIO* io = nullptr;
    DialogAnswerer answerer;

    // A fresh copy of the sandbox's root, which the session then manages.
    void cloneRoot()
    {
        root = dir.filePath(QStringLiteral("root%1").arg(++clones));
        QString const failure = sandbox("clone", { root });
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        QVERIFY(pyRun(QStringLiteral("import os\nos.environ['SORVANROOT'] = '%1'\n").arg(root)));
    }
    // Collects with the repository `enable` enabled too.
    void collect(QString const& enable)
    {
        answerer.accept = true;
        io->clear();
        QVERIFY2(io->collect(
                     enable.isEmpty() ? QHash<QString, bool>() : QHash<QString, bool> { { enable, true } }),
            qPrintable(answerer.summary()));
        answerer.clear();
    }
    QString run(QString const& program, QStringList const& arguments) const
    {
        QProcess process;
        process.start(program, arguments);
        process.waitForFinished(60000);
        return QString::fromLocal8Bit(process.readAllStandardOutput());
    }
    // name-version of every package in the root's rpm database, as rpm says;
    // signing keys are all "gpg-pubkey".
    QStringList rpmPackages() const
    {
        return run(
            "rpm", { "--root", root, "--dbpath", "/var/lib/rpm", "-qa", "--qf", "%{NAME}-%{VERSION}\\n" })
            .replace(QRegularExpression("gpg-pubkey-.*"), "gpg-pubkey")
            .split('\n', Qt::SkipEmptyParts);
    }
    // The number of transactions in dnf's history of the root.
    int history() const
    {
        return run(python(),
            { "-c",
                "import os, sqlite3, sys\nif os.path.exists(sys.argv[1]):\n"
                "    print(sqlite3.connect(sys.argv[1]).execute('select count(*) from trans').fetchone()[0])",
                root + "/var/lib/dnf/history.sqlite" })
            .toInt();
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

    // Applies the marks; the error boxes' texts hold each part of `error`
    // ('|' between them), or there is none when it is empty.  Then rpm's
    // database shows the `change` ("+added -removed", sorted), and when it
    // changed, dnf's history holds one more transaction.
    void applyAndCheck(QString const& marks, QString const& error, QString const& change)
    {
        QStringList const before = rpmPackages();
        int const transactions = history();
        mark(marks);
        bool const applied = io->apply();
        QCOMPARE(io->lastApplyFailed(), !error.isEmpty());
        QCOMPARE(applied, error.isEmpty() && !change.isEmpty());
        QString errors;
        for (Dialog const& d : answerer.dialogs)
            errors += d.kind == Dialog::Critical || d.kind == Dialog::Scrollable ? d.text : QString();
        QVERIFY2(errors.isEmpty() == error.isEmpty(), qPrintable(answerer.summary()));
        for (QString const& part : error.split('|', Qt::SkipEmptyParts))
            QVERIFY2(errors.contains(part), qPrintable(part + " not in: " + answerer.summary()));
        QStringList const now = rpmPackages();
        QStringList changes;
        for (QString const& p : now)
            changes << (before.count(p) < now.count(p) ? "+" + p : QString());
        for (QString const& p : before)
            changes << (now.count(p) < before.count(p) ? "-" + p : QString());
        changes.removeAll(QString());
        changes.sort();
        QCOMPARE(changes.join(' '), change);
        // A key is imported before the transaction, which changes packages.
        if (!QString(change).remove("+gpg-pubkey").trimmed().isEmpty())
            QCOMPARE(history(), transactions + 1);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(
            qEnvironmentVariableIsSet("SORVAN_APPLY_AS_USER") || ::geteuid() == 0, "applying needs root");
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

    // What the user marks, is shown and answers, and what rpm then holds; a
    // fault ends in an error box that says what failed and where.
    void transactions_data()
    {
        columns<QString, QString, QString, QString, QString, QString>(
            "enable", "marks", "answer", "listing", "error", "change");
        row("install pulls a dependency in", "", "install sv-app", "",
            "Transaction to be performed:\n\tInstall: sv-app 1.0-1 (ARCH) [sv-base]\nPerforming the "
            "following "
            "to resolve dependencies:\n\tInstall: sv-libfoo 1.0-1 (ARCH) [sv-base]\nTotal download size: ",
            "", "+sv-app-1.0 +sv-libfoo-1.0");
        row("update of two installed instances", "", "update sv-kernel", "", "\tInstall: sv-kernel 5.2-1", "",
            "+sv-kernel-5.2");
        row("update wins by epoch", "", "update sv-epoch", "",
            "\tUpdate: sv-epoch 2:1.0-1 (noarch) [sv-updates]", "", "+sv-epoch-1.0 -sv-epoch-2.0");
        row("remove of an entry available for update", "", "remove sv-tool", "", "\tRemove: sv-tool 1.0-1",
            "", "-sv-tool-1.0");
        row("obsoletes", "", "install sv-new", "", "\tObsoleting: sv-old 1.0-1 (noarch) with sv-new 2.0-1",
            "", "+sv-new-2.0 -sv-old-1.0");
        row("group install", "", "install @SORVAN Desktop", "",
            "\tInstall: sv-viewer 1.0-1 (noarch) [sv-base]\n", "",
            "+sv-editor-1.0 +sv-viewer-1.0 +sv-viewer-langpack-1.0");
        row("group conflict resolved for the group", "", "remove @SORVAN Core; update sv-tool",
            "Mark for remove", "\tRemove: sv-tool 1.0-1", "", "-sv-docs-1.0 -sv-reloc-1.0 -sv-tool-1.0");
        row("group conflict resolved for the mark", "", "remove @SORVAN Core; update sv-tool", "Keep update",
            "\tUpdate: sv-tool 1.2-1", "", "+sv-tool-1.2 -sv-docs-1.0 -sv-reloc-1.0 -sv-tool-1.0");
        row("group conflict stops", "", "remove @SORVAN Core; update sv-tool", "Stop", "", "", "");
        row("signed package, key imported", "sv-signed", "install sv-signed-tool", "Import Key",
            "\tInstall: sv-signed-tool 1.0-1", "", "+gpg-pubkey +sv-signed-tool-1.0");
        row("cancelled", "", "install sv-app", "-", "\tInstall: sv-app", "", "");
        row("unresolvable request", "sv-faults", "install sv-broken", "", "",
            "sv-broken|sv-nowhere|Unable to apply changes", "");
        row("file conflict", "sv-faults", "install sv-conflict-a; install sv-conflict-b", "", "",
            "transaction test failed|/usr/share/sv-conflict/data", "");
        row("failing pre-install scriptlet", "sv-faults", "install sv-prefail", "", "", "sv-prefail", "");
        row("failing post-install scriptlet", "", "install sv-failing", "", "", "sv-failing|scriptlet",
            "+sv-failing-1.0");
        row("unsigned package", "sv-signed", "install sv-unsigned-tool", "", "",
            "sv-unsigned-tool|not signed", "");
        row("signed by an unknown key", "sv-signed", "install sv-badsig-tool", "Import Key", "",
            "sv-badsig-tool", "+gpg-pubkey");
        row("key import cancelled", "sv-signed", "install sv-signed-tool", "Cancel", "", "sv-signed-tool",
            "");
    }
    void transactions()
    {
        QFETCH(QString, enable);
        QFETCH(QString, answer);
        QFETCH(QString, listing);
        cloneRoot();
        collect(enable);
        answerer.answer = answer;
        answerer.accept = answer != "-";
        QFETCH(QString, marks);
        QFETCH(QString, error);
        QFETCH(QString, change);
        applyAndCheck(marks, error, change);
        QString listed;
        for (Dialog const& d : answerer.dialogs)
            listed += d.kind == Dialog::Question ? d.text : QString();
        QVERIFY2(listed.contains(listing.replace("ARCH", nativeArch())), qPrintable(listed));
    }

    // A repository gone between the collection and the transaction: the
    // download fails, and nothing changes.
    void downloadFails()
    {
        cloneRoot();
        QString failure = sandbox("serve", { "--root", root });
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        collect("sv-http");
        failure = sandbox("stop", { "--root", root });
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        applyAndCheck("install sv-net-tool", "Unable to download|sv-net-tool", "");
    }

    // A package installed for two architectures is updated in both, even
    // when only the row of the native one is marked.
    void updateOfTwoArchitectures()
    {
        cloneRoot();
        QString const rpms = qEnvironmentVariable("SORVAN_BINARY_DIR") + "/sandbox/rpms/";
        QCOMPARE(QProcess::execute("rpm",
                     { "--root", root, "--dbpath", "/var/lib/rpm", "-i",
                         rpms + nativeArch() + "/sv-multi-1.0-1." + nativeArch() + ".rpm",
                         rpms + "i686/sv-multi-1.0-1.i686.rpm" }),
            0);
        collect("sv-faults");
        applyAndCheck("update sv-multi", "", "+sv-multi-1.1 +sv-multi-1.1 -sv-multi-1.0 -sv-multi-1.0");
    }

    // Without root nothing is resolved: one message saying why and how.
    // This test runs again as an unprivileged user.
    void notRoot()
    {
        if (::geteuid() == 0) {
            qputenv("SORVAN_APPLY_AS_USER", "1");
            qputenv("XDG_RUNTIME_DIR", "/tmp");
            QCOMPARE(QProcess::execute("setpriv",
                         { "--reuid=65534", "--regid=65534", "--clear-groups", "--",
                             QCoreApplication::applicationFilePath(), "notRoot" }),
                0);
            return;
        }
        // The engine, had it been asked, would have failed.
        QVERIFY(!io->apply() && !io->lastApplyFailed());
        QCOMPARE(answerer.dialogs.size(), 1);
        QVERIFY2(answerer.summary().contains("needs root") && answerer.summary().contains("pkexec"),
            qPrintable(answerer.summary()));
    }
};

QTEST_MAIN(TestYumIOApply)
#include "tst_yumioapply.moc"
