// A whole collection through the real interpreter, the companion script and
// dnf, on a private copy of the sandbox's root; then the details of what was
// collected, and the session's lock over its whole life.
#include "SessionTestSupport.h"
#include "widgets/HProgressBar.h"

#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>
#include <csignal>
#include <ctime>
#include <pthread.h>

using namespace SessionTest;

class TestYumIOCollect : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;
    QString root, marks, arch = nativeArch();
    QWidget* window = nullptr;
    HProgressBar* totalBar = nullptr;
    HProgressBar* itemBar = nullptr;
    YumIO* io = nullptr;
    DialogAnswerer answerer;

    Package::Entry* find(QString const& name, int state = -1) const
    {
        for (Package::Entry* e : *io)
            if (e->name == name && (state < 0 || e->state == state))
                return e;
        return nullptr;
    }
    bool collect(QHash<QString, bool> const& enables = {})
    {
        answerer.clear();
        io->clear();
        return io->collect(enables);
    }
    // Whether another process could take the root's lock now.
    bool lockable()
    {
        QProcess probe;
        probe.start(python(),
            { "-c",
                QStringLiteral("import fcntl,os,sys\nfd = os.open(sys.argv[1], os.O_RDWR)\n"
                               "try:\n    fcntl.flock(fd, fcntl.LOCK_EX | fcntl.LOCK_NB)\n"
                               "except OSError:\n    sys.exit(1)\n"),
                root + "/var/run/sorvan.pid" });
        return probe.waitForFinished(30000) && probe.exitCode() == 0;
    }
    QByteArray lockCalls()
    {
        QFile file(marks);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private Q_SLOTS:
    void initTestCase()
    {
        // The sandbox's packages were all built at 1700000000.
        qputenv("TZ", "UTC");
        tzset();
        root = dir.filePath("root");
        marks = dir.filePath("marks");
        QString const failure = sandbox("clone", { root });
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        qputenv("SORVANROOT", root.toLocal8Bit());
        window = new QWidget;
        totalBar = new HProgressBar(window);
        itemBar = new HProgressBar(window);
        io = new YumIO;
        io->setup(window, totalBar, itemBar);
        QVERIFY2(io->initialize(), qPrintable(answerer.summary()));
        // Every call of the script's lock() and unlock() leaves a line in a
        // file that outlives the interpreter.
        QVERIFY(pyRun(QStringLiteral("def _sv_count(name, method):\n"
                                     "    def counted(self):\n"
                                     "        with open('%1', 'a') as f:\n"
                                     "            f.write(name + '\\n')\n"
                                     "        return method(self)\n"
                                     "    return counted\n"
                                     "YumIO.lock = _sv_count('lock', YumIO.lock)\n"
                                     "YumIO.unlock = _sv_count('unlock', YumIO.unlock)\n")
                          .arg(marks)));
        QVERIFY(!io->isLocked());
        QVERIFY2(io->collect({}), qPrintable(answerer.summary()));
        QVERIFY2(answerer.dialogs.isEmpty(), qPrintable(answerer.summary()));
        QVERIFY(io->isLocked());
    }

    // Quitting unlocks, once.
    void cleanupTestCase()
    {
        if (!io)
            return;
        QVERIFY2(!lockable(), "the session does not hold the root's lock");
        io->clearEntriesBeforeQuit();
        QCOMPARE(io->count(), 0);
        delete io;
        io = nullptr;
        delete window;
        QCOMPARE(lockCalls(), QByteArray("lock\nunlock\n"));
        QVERIFY2(lockable(), "quitting did not release the root's lock");
    }

    // Every row of the default collection: packages of the three enabled
    // repositories and the rpm database, merged by name and base
    // architecture, and the visible groups.
    void entries_data()
    {
        columns<QString, QString, int, int, QString, QString, bool, QStringList>("name", "arch", "kind",
            "state", "verRel", "repo", "superseded", "chain"); // chain: installed behind
        auto pkg = [](char const* name, QString const& arch, int state, char const* verRel, char const* repo,
                       bool superseded = false, QStringList chain = {}, int kind = Package::Ordinary) {
            row(name, name, arch, kind, state, verRel, repo, superseded, chain);
        };
        QString const native = nativeArch(), noarch = "noarch";
        int const U = Package::AvailableForUpdate, A = Package::Available, I = Package::Installed;
        // Updates carry the installed versions they replace.
        pkg("sv-docs", noarch, U, "1.1-1", "sv-updates", false, { "1.0-1" });
        pkg("sv-tool", native, U, "1.2-1", "sv-updates", false, { "1.0-1" });
        pkg("sv-epoch", noarch, U, "2:1.0-1", "sv-updates", false, { "1:2.0-1" });
        pkg("sv-kernel", native, U, "5.2-1", "sv-updates", false, { "5.0-1", "5.1-1" }); // install-only
        for (char const* name : { "sv-old", "sv-reloc" })
            pkg(name, noarch, I, "1.0-1", "installed");
        pkg("sv-lib", native, I, "2.0-1", "installed");
        pkg("sv-release", noarch, I, "1-1", "installed");
        // The 32-bit twin of an installed library loses to it.
        row("sv-lib i686", "sv-lib", "i686", int(Package::Ordinary), A, "2.0-1", "sv-base", true,
            QStringList());
        pkg("sv-office-suite", noarch, A, "3.0-1", "sv-base", false, {}, Package::Suite);
        pkg("sv-new", noarch, A, "2.0-1", "sv-updates");
        pkg("sv-mirror-tool", noarch, A, "1.0-1", "sv-mirrored");
        for (char const* name : { "sv-corelib", "sv-editor", "sv-extra-docs", "sv-failing", "sv-helper",
                 "sv-noisy", "sv-themes", "sv-viewer", "sv-viewer-langpack" })
            pkg(name, noarch, A, "1.0-1", "sv-base");
        for (char const* name : { "sv-calc", "sv-writer" })
            pkg(name, noarch, A, "3.0-1", "sv-base");
        for (char const* name : { "sv-app", "sv-devtools", "sv-libfoo" })
            pkg(name, native, A, "1.0-1", "sv-base");
        // Groups: an installed group missing a mandatory package, or with a
        // member that has an update, is available for update; an environment
        // is as up to date as its groups.
        auto group = [&](char const* name, int state) {
            pkg(name, QString(), state, "", "", false, {}, Package::Group);
        };
        group("SORVAN Core", U);
        group("SORVAN Minimal", I);
        group("SORVAN Desktop", A);
        group("SORVAN Development", A);
        group("SORVAN Workstation", U);
    }
    void entries()
    {
        QFETCH(QString, name);
        QFETCH(QString, arch);
        Package::Entry const* entry = nullptr;
        for (Package::Entry const* e : *io)
            if (e->name == name && e->arch == arch)
                entry = e;
        QVERIFY2(entry, qPrintable(name));
        QTEST(int(entry->kind), "kind");
        QTEST(int(entry->state), "state");
        QCOMPARE(int(entry->action), int(Package::NoAction));
        QTEST(entry->verRel, "verRel");
        QTEST(entry->repo, "repo");
        QTEST(entry->superseded, "superseded");
        QVERIFY(entry->object);
        QStringList chain;
        for (Package::Entry const* e = entry->next; e; e = e->next) {
            QCOMPARE(int(e->state), int(Package::Installed));
            QCOMPARE(e->repo + e->name, "installed" + name);
            chain.append(e->verRel);
        }
        QTEST(chain, "chain");
    }

    // One row per name and base architecture, one per group, and nothing
    // more: no hidden group, nothing of disabled repositories.
    void noOtherEntries()
    {
        QCOMPARE(io->count(), 31);
        QSet<QString> keys;
        for (Package::Entry const* e : *io)
            keys.insert(QString::number(e->kind == Package::Group) + e->name + e->baseArch);
        QCOMPARE(keys.size(), 31);
        QCOMPARE(io->baseArchs(), QSet<QString>({ arch, "noarch", "i386" }));
        QCOMPARE(io->baseArch(), arch);
        QStringList enabled = io->enabledRepos();
        enabled.sort();
        QCOMPARE(enabled.join(' '), "sv-base sv-mirrored sv-updates");
        QVERIFY(!find("SORVAN Hidden Helpers"));
        QVERIFY(!find("sv-extra-tool"));
        QCOMPARE((*io)[io->count()], nullptr);
        QCOMPARE((*io)[-1], nullptr);
    }

    // Sizes and times as the table shows them.
    void texts()
    {
        for (Package::Entry const* e : *io) {
            bool const group = e->kind == Package::Group;
            QCOMPARE(io->getBuildTime(*e), group ? QString() : "Tue Nov 14 22:13:20 2023");
            QCOMPARE(io->getSize(*e), group ? QString() : Package::bytesFormat(e->size));
            QVERIFY2(group || e->size > 0, qPrintable(e->name));
        }
        QCOMPARE(io->getSummary(*find("sv-reloc")), "Relocatable package");
    }

    // The simple details, from the rpm header of an installed package and
    // from the metadata of the others.
    void packageDetails_data()
    {
        columns<QString, int, QString, QString, QString>(
            "name", "state", "description", "group", "binaryRpm");
        row("installed", "sv-reloc", int(Package::Installed),
            "Installed; its files live under the relocatable prefix /opt/sv-reloc.", "Applications/System",
            "sv-reloc-1.0-1.noarch.rpm");
        row("available", "sv-office-suite", int(Package::Available),
            "A package whose group is Suite; requires sv-writer and sv-calc.", "Suite",
            "sv-office-suite-3.0-1.noarch.rpm");
        row("update", "sv-docs", int(Package::AvailableForUpdate),
            "An installed noarch package with an update in sv-updates.", "Documentation",
            "sv-docs-1.1-1.noarch.rpm");
    }
    void packageDetails()
    {
        QFETCH(QString, name);
        QFETCH(int, state);
        Package::Entry const* e = find(name, state);
        QVERIFY(e);
        QTEST(io->getDescription(*e), "description");
        QTEST(io->getGroup(*e), "group");
        QTEST(io->getBinaryRpm(*e), "binaryRpm");
        QCOMPARE(io->getSourceRpm(*e), e->name + '-' + e->verRel.section(':', -1) + ".src.rpm");
        QCOMPARE(QStringList({ io->getVendor(*e), io->getBuildHost(*e), io->getLicense(*e),
                     io->getPackager(*e), io->getUrl(*e) }),
            QStringList({ "SORVAN Sandbox", "builder.sorvan.example", "MIT",
                "SORVAN Developers <devel@sorvan.example>", "https://sorvan.example/sandbox" }));
        QVERIFY2(answerer.dialogs.isEmpty(), qPrintable(answerer.summary()));
    }

    // Dependencies with their comparisons; an epoch of 0 is not shown.
    void dependencies_data()
    {
        columns<QString, int, QStringList, QStringList, QStringList>(
            "name", "state", "provides", "requirements", "obsoletes");
        QString const tag = arch == "x86_64" ? "(x86-64)" : '(' + arch + ')';
        int const A = Package::Available;
        // From the metadata.
        row("epoch 0", "sv-new", A, QStringList({ "sv-new = 2.0-1", "sv-old = 2.0" }), QStringList(),
            QStringList({ "sv-old < 2.0" }));
        row("requires", "sv-office-suite", A, QStringList({ "sv-office-suite = 3.0-1" }),
            QStringList({ "sv-calc >= 1.0", "sv-writer" }), QStringList());
        row("epoch", "sv-epoch", int(Package::AvailableForUpdate), QStringList({ "sv-epoch = 2:1.0-1" }),
            QStringList(), QStringList());
        row("native", "sv-app", A, QStringList({ "sv-app = 1.0-1", "sv-app" + tag + " = 1.0-1" }),
            QStringList({ "sv-libfoo >= 1.0" }), QStringList());
        // From the rpm header, whose flags are rpm's sense bits.
        row("installed", "sv-release", int(Package::Installed),
            QStringList({ "sv-release = 1-1", "system-release", "system-release(releasever) = 1" }),
            QStringList(), QStringList());
    }
    void dependencies()
    {
        QFETCH(QString, name);
        QFETCH(int, state);
        Package::Entry const* e = find(name, state);
        QVERIFY(e);
        QTEST(io->getProvides(*e), "provides");
        QStringList required = io->getRequires(*e);
        // rpm adds its own rpmlib() requirements to what it installs.
        required.removeIf([](QString const& r) { return r.startsWith("rpmlib("); });
        QTEST(required, "requirements");
        QTEST(io->getObsoletes(*e), "obsoletes");
        QCOMPARE(io->getConflicts(*e), QStringList());
    }

    // Install time, relocations, files and change log of an installed
    // package come from its rpm header at once; an available package has
    // no install time and no relocations.
    void installedOnlyDetails()
    {
        Package::Entry const* reloc = find("sv-reloc");
        QVERIFY(!io->getInstallTime(*reloc).isEmpty());
        QCOMPARE(io->getRelocations(*reloc), QStringList("/opt/sv-reloc"));
        QCOMPARE(io->getFiles(*reloc),
            QStringList({ "/opt/sv-reloc/bin/sv-reloc", "/opt/sv-reloc/share/sv-reloc.conf" }));
        Package::Entry const* tool = find("sv-tool");
        QVERIFY(tool && tool->next);
        QCOMPARE(io->getChangeLog(*tool->next),
            "* Mon Jan  9 2023 Ada Builder <ada@sorvan.example> - 1.0-1\n- First release");
        QCOMPARE(io->getProvides(*tool->next).value(0), "sv-tool = 1.0-1");
        QCOMPARE(io->getInstallTime(*tool), QString());
        QCOMPARE(io->getRelocations(*tool), QStringList());
        QVERIFY(!io->fileListsLoaded());
        QVERIFY(!io->otherDataLoaded());
    }

    // File lists and change logs of available packages are loaded once, on
    // a worker, when first asked for; every collection forgets them.
    void extraData()
    {
        QSignalSpy loaded(io, &YumIO::collectedExtraData);
        Package::Entry const* tool = find("sv-tool");
        QCOMPARE(io->getFiles(*tool), QStringList({ "/usr/bin/sv-tool", "/usr/share/doc/sv-tool/README" }));
        QVERIFY(io->fileListsLoaded());
        QVERIFY(!io->otherDataLoaded());
        QVERIFY(io->collectFileLists());
        QCOMPARE(loaded.count(), 1);
        QCOMPARE(io->getChangeLog(*tool),
            QStringLiteral(
                "* Thu Mar  2 2023 Bo Packer <bo@sorvan.example> - 1.2-1\n- Rebuild with new flags\n\n"
                "* Wed Mar  1 2023 Ada Builder <ada@sorvan.example> - 1.2-1\n- Fix the --quiet "
                "option\n- Faster start-up\n\n"
                "* Mon Jan  9 2023 Ada Builder <ada@sorvan.example> - 1.0-1\n- First release"));
        QVERIFY(io->collectOtherData());
        QCOMPARE(loaded.count(), 2);
        // The file lists survived the reload of the metadata for the change logs.
        QCOMPARE(io->getFiles(*find("sv-writer")), QStringList("/usr/bin/sv-writer"));
        QVERIFY2(answerer.dialogs.isEmpty(), qPrintable(answerer.summary()));
        QStringList actions;
        for (Log::Entry const& entry : logged(io))
            if (entry.kind == Log::Action)
                actions.append(entry.text);
        QVERIFY(actions.contains("Collecting File Lists"));
        QVERIFY(actions.contains("Collecting Miscellaneous data"));

        QVERIFY(collect());
        QVERIFY(!io->fileListsLoaded());
        QVERIFY(!io->otherDataLoaded());
    }

    // Required groups, optional metapackages, then mandatory, default,
    // optional and conditional packages.
    void groupLists_data()
    {
        columns<QString, QString>("group", "lists");
        row("group", "SORVAN Core", "|||sv-tool,sv-docs,sv-corelib|sv-reloc|sv-extra-docs|");
        row("conditional", "SORVAN Desktop", "|||sv-viewer|sv-editor|sv-themes|sv-viewer-langpack");
        row("environment", "SORVAN Workstation", "SORVAN Core,SORVAN Desktop||SORVAN Development||||");
        row("package", "sv-tool", "||||||");
    }
    void groupLists()
    {
        QFETCH(QString, group);
        Package::Entry const* e = find(group);
        QVERIFY(e);
        QStringList lists;
        for (QStringList const& list : { io->getRequiredGroups(*e), io->getDefaultMetaPkgs(*e),
                 io->getOptionalMetaPkgs(*e), io->getMandatoryPkgs(*e), io->getDefaultPkgs(*e),
                 io->getOptionalPkgs(*e), io->getConditionalPkgs(*e) })
            lists.append(list.join(','));
        QTEST(lists.join('|'), "lists");
        QVERIFY2(answerer.dialogs.isEmpty(), qPrintable(answerer.summary()));
    }

    // The lock is taken once per session; a reload with other repositories
    // collects again without it.
    void secondCollectionKeepsLock()
    {
        QVERIFY2(
            collect({ { "sv-extras", true }, { "sv-mirrored", false } }), qPrintable(answerer.summary()));
        QVERIFY(answerer.dialogs.isEmpty());
        QVERIFY(!find("sv-mirror-tool"));
        QVERIFY(find("sv-extra-tool"));
        // sv-tool 2.0 of the enabled repository is now the update.
        QCOMPARE(find("sv-tool")->verRel, "2.0-1");
        QVERIFY(collect());
        QCOMPARE(io->count(), 31);
        QCOMPARE(lockCalls(), QByteArray("lock\n"));
    }

    // While the entries go away on the worker, the table sees none.
    void noRowsWhileClearing()
    {
        int seenCount = -1;
        bool seenBusy = false, emptyRange = false;
        Package::Entry* seenFirst = reinterpret_cast<Package::Entry*>(1);
        // Queued before the session's own gate timer, this runs while the
        // worker still waits at the gate, with the entries all there.
        QTimer::singleShot(0, this, [&] {
            seenBusy = io->isBusy();
            seenCount = io->count();
            seenFirst = (*io)[0];
            emptyRange = io->begin() == io->end();
        });
        io->clearEntries();
        QVERIFY(seenBusy);
        QCOMPARE(seenCount, 0);
        QCOMPARE(seenFirst, nullptr);
        QVERIFY(emptyRange);
        QCOMPARE(io->count(), 0);
        QVERIFY(!io->isBusy());
        QVERIFY(collect());
    }

    // SIGCHLD is blocked on the GUI thread exactly while a worker runs, and
    // Python's SIGINT handler is off after it, whatever was set before.
    void signalsAroundWorker()
    {
        auto chldBlocked = [] {
            sigset_t mask;
            pthread_sigmask(SIG_BLOCK, nullptr, &mask);
            return sigismember(&mask, SIGCHLD) == 1;
        };
        QVERIFY(pyRun("import signal\nsignal.signal(signal.SIGINT, signal.default_int_handler)"));
        QVERIFY(!chldBlocked());
        bool blockedDuring = false;
        QTimer::singleShot(0, this, [&] { blockedDuring = chldBlocked(); });
        QVERIFY(collect());
        QVERIFY(blockedDuring);
        QVERIFY(!chldBlocked());
        QVERIFY(pyRun("assert signal.getsignal(signal.SIGINT) == signal.SIG_DFL"));
    }

    // Metadata fetched over HTTP reaches the bars through the engine's
    // meters: each file shows what it is and for which repository.
    void downloadsMoveTheBars()
    {
        QString const failure = sandbox("serve", { "--root", root, "--rate", "20000" });
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        QStringList seen;
        int maximum = 0;
        QTimer watcher;
        connect(&watcher, &QTimer::timeout, this, [&] {
            QString const activity = itemBar->activity();
            if (activity.startsWith("Downloading repository") && !seen.contains(activity))
                seen.append(activity);
            maximum = qMax(maximum, totalBar->value());
        });
        watcher.start(0);
        bool const ok = collect({ { "sv-http", true } });
        watcher.stop();
        sandbox("stop", { "--root", root });
        QVERIFY2(ok && answerer.dialogs.isEmpty(), qPrintable(answerer.summary()));
        QCOMPARE(find("sv-net-tool")->repo, "sv-http");
        // The slow downloads are seen for sure; the quick steps around them
        // may come and go between two looks.
        QVERIFY2(!seen.filter("sv-http").isEmpty(), qPrintable(seen.join(" | ")));
        QVERIFY(maximum > 0);
        // At the end the bars are at rest.
        QVERIFY(!itemBar->isEnabled());
        QVERIFY(!totalBar->isEnabled());
        QVERIFY(collect());
    }
};

QTEST_MAIN(TestYumIOCollect)
#include "tst_yumiocollect.moc"
