// A whole collection through the real interpreter, the companion script and
// dnf, on a private copy of the sandbox's root; then the details of what was
// collected, the cleaning of the caches, and the session's lock over its
// whole life.
#include "SessionTestSupport.h"
#include "widgets/HProgressBar.h"

#include <QDirIterator>
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

    QString cache() const { return root + "/var/cache/dnf"; }
    // Whether the cache holds XML metadata, solver files, packages: "1 1 0".
    QString cacheKinds() const
    {
        int xml = 0, solv = 0, rpm = 0;
        for (QDirIterator it(cache(), QDir::Files, QDirIterator::Subdirectories); it.hasNext();) {
            QString const name = it.next();
            xml += name.contains(".xml");
            solv += name.endsWith(".solv") || name.endsWith(".solvx");
            rpm += name.endsWith(".rpm");
        }
        return QStringLiteral("%1 %2 %3").arg(xml > 0).arg(solv > 0).arg(rpm > 0);
    }
    // A full cache: metadata and solver files from a collection, and a
    // downloaded package.
    void fillCache()
    {
        QVERIFY2(collect(), qPrintable(answerer.summary()));
        QDir repoCache(cache());
        QString const base = repoCache.entryList({ "sv-base-*" }, QDir::Dirs).value(0);
        QVERIFY(!base.isEmpty() && repoCache.mkpath(base + "/packages"));
        QFile planted(cache() + '/' + base + "/packages/sv-app-1.0-1.x86_64.rpm");
        QVERIFY(planted.open(QIODevice::WriteOnly));
        QCOMPARE(cacheKinds(), "1 1 1");
    }

private Q_SLOTS:
    void initTestCase()
    {
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

    // Representative rows of the default collection: packages of the three
    // enabled repositories and the rpm database, merged by name and base
    // architecture, and the groups.
    void entries_data()
    {
        columns<QString, QString, int, int, QString, QString, bool, QStringList>("name", "arch", "kind",
            "state", "verRel", "repo", "superseded", "chain"); // chain: installed behind
        auto pkg = [](char const* name, QString const& arch, int state, char const* verRel, char const* repo,
                       QStringList chain = {}, int kind = Package::Ordinary) {
            row(name, name, arch, kind, state, verRel, repo, false, chain);
        };
        QString const native = nativeArch(), noarch = "noarch";
        int const U = Package::AvailableForUpdate, A = Package::Available, I = Package::Installed;
        // Updates carry the installed versions they replace.
        pkg("sv-epoch", noarch, U, "2:1.0-1", "sv-updates", { "1:2.0-1" });
        pkg("sv-kernel", native, U, "5.2-1", "sv-updates", { "5.0-1", "5.1-1" }); // install-only
        pkg("sv-lib", native, I, "2.0-1", "installed");
        // The 32-bit twin of an installed library loses to it.
        row("sv-lib i686", "sv-lib", "i686", int(Package::Ordinary), A, "2.0-1", "sv-base", true,
            QStringList());
        pkg("sv-office-suite", noarch, A, "3.0-1", "sv-base", {}, Package::Suite);
        pkg("sv-app", native, A, "1.0-1", "sv-base");
        // An installed group missing a mandatory package, or with a member
        // that has an update, is available for update; an environment is as
        // up to date as its groups.
        for (auto [name, state] : { std::pair("SORVAN Core", U), std::pair("SORVAN Minimal", I),
                 std::pair("SORVAN Desktop", A), std::pair("SORVAN Workstation", U) })
            pkg(name, QString(), state, "", "", {}, Package::Group);
    }
    void entries()
    {
        QFETCH(QString, name);
        QFETCH(QString, arch);
        Package::Entry const* entry = nullptr;
        for (Package::Entry const* e : *io)
            entry = e->name == name && e->arch == arch ? e : entry;
        QVERIFY2(entry && entry->object, qPrintable(name));
        QTEST(int(entry->kind), "kind");
        QTEST(int(entry->state), "state");
        QTEST(entry->verRel, "verRel");
        QTEST(entry->repo, "repo");
        QTEST(entry->superseded, "superseded");
        QStringList chain;
        for (Package::Entry const* e = entry->next; e; e = e->next) {
            QCOMPARE(e->repo + e->name + QString::number(e->state), "installed" + name + "2");
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
        for (Package::Entry const* e : *io) {
            bool const group = e->kind == Package::Group;
            keys.insert(QString::number(group) + e->name + e->baseArch);
            // The sandbox's packages were all built at 1700000000.
            QCOMPARE(io->getBuildTime(*e), group ? QString() : "Tue Nov 14 22:13:20 2023");
            QVERIFY2(group || e->size > 0, qPrintable(e->name));
        }
        QCOMPARE(keys.size(), 31);
        QCOMPARE(io->baseArchs(), QSet<QString>({ arch, "noarch", "i386" }));
        QStringList enabled = io->enabledRepos();
        enabled.sort();
        QCOMPARE(enabled.join(' '), "sv-base sv-mirrored sv-updates");
        QVERIFY(!find("SORVAN Hidden Helpers"));
        QVERIFY(!find("sv-extra-tool"));
        QCOMPARE((*io)[io->count()], nullptr);
        QCOMPARE((*io)[-1], nullptr);
    }

    // Details of an installed package come from its rpm header, of the
    // others from the metadata; dependencies with their comparisons, an
    // epoch of 0 not shown.
    void details_data()
    {
        columns<QString, int, QString, QStringList, QStringList>(
            "name", "state", "group", "provides", "requirements");
        QString const tag = arch == "x86_64" ? "(x86-64)" : '(' + arch + ')';
        row("installed", "sv-release", int(Package::Installed), "System Environment/Base",
            QStringList({ "sv-release = 1-1", "system-release", "system-release(releasever) = 1" }),
            QStringList());
        row("requires", "sv-office-suite", int(Package::Available), "Suite",
            QStringList({ "sv-office-suite = 3.0-1" }), QStringList({ "sv-calc >= 1.0", "sv-writer" }));
        row("native", "sv-app", int(Package::Available), "Applications/System",
            QStringList({ "sv-app = 1.0-1", "sv-app" + tag + " = 1.0-1" }),
            QStringList({ "sv-libfoo >= 1.0" }));
        row("epoch", "sv-epoch", int(Package::AvailableForUpdate), "Applications/System",
            QStringList({ "sv-epoch = 2:1.0-1" }), QStringList());
    }
    void details()
    {
        QFETCH(QString, name);
        QFETCH(int, state);
        Package::Entry const* e = find(name, state);
        QVERIFY(e);
        QTEST(io->getGroup(*e), "group");
        QString const file = e->name + '-' + e->verRel.section(':', -1);
        QCOMPARE(io->getBinaryRpm(*e), file + '.' + e->arch + ".rpm");
        QCOMPARE(io->getSourceRpm(*e), file + ".src.rpm");
        QCOMPARE(QStringList({ io->getVendor(*e), io->getBuildHost(*e), io->getLicense(*e),
                     io->getPackager(*e), io->getUrl(*e) }),
            QStringList({ "SORVAN Sandbox", "builder.sorvan.example", "MIT",
                "SORVAN Developers <devel@sorvan.example>", "https://sorvan.example/sandbox" }));
        QTEST(io->getProvides(*e), "provides");
        QStringList required = io->getRequires(*e);
        // rpm adds its own rpmlib() requirements to what it installs.
        required.removeIf([](QString const& r) { return r.startsWith("rpmlib("); });
        QTEST(required, "requirements");
        QVERIFY2(answerer.dialogs.isEmpty(), qPrintable(answerer.summary()));
    }

    // Obsoletes, install time, relocations, files and change log of an
    // installed package come from its rpm header at once; an available
    // package has no install time and no relocations.
    void installedOnlyDetails()
    {
        QCOMPARE(io->getObsoletes(*find("sv-new")), QStringList("sv-old < 2.0"));
        Package::Entry const* reloc = find("sv-reloc");
        QCOMPARE(io->getDescription(*reloc),
            "Installed; its files live under the relocatable prefix /opt/sv-reloc.");
        QVERIFY(!io->getInstallTime(*reloc).isEmpty());
        QCOMPARE(io->getRelocations(*reloc), QStringList("/opt/sv-reloc"));
        QCOMPARE(io->getFiles(*reloc),
            QStringList({ "/opt/sv-reloc/bin/sv-reloc", "/opt/sv-reloc/share/sv-reloc.conf" }));
        Package::Entry const* tool = find("sv-tool");
        QVERIFY(tool && tool->next);
        QCOMPARE(io->getChangeLog(*tool->next),
            "* Mon Jan  9 2023 Ada Builder <ada@sorvan.example> - 1.0-1\n- First release");
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
        QString const changes = io->getChangeLog(*tool);
        QVERIFY2(changes.startsWith("* Thu Mar  2 2023 Bo Packer <bo@sorvan.example> - 1.2-1\n- Rebuild")
                && changes.endsWith("- Faster start-up\n\n* Mon Jan  9 2023 Ada Builder "
                                    "<ada@sorvan.example> - 1.0-1\n- First release"),
            qPrintable(changes));
        QVERIFY(io->collectOtherData());
        QCOMPARE(loaded.count(), 2);
        // The file lists survived the reload of the metadata for the change logs.
        QCOMPARE(io->getFiles(*find("sv-writer")), QStringList("/usr/bin/sv-writer"));
        QVERIFY2(answerer.dialogs.isEmpty(), qPrintable(answerer.summary()));
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

    // Other repositories collected without taking the lock again (see
    // cleanupTestCase).  Metadata fetched over HTTP reaches the bars through
    // the engine's meters: each file shows for which repository it is.
    void downloadsMoveTheBars()
    {
        QString const failure = sandbox("serve", { "--root", root, "--rate", "20000" });
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        QStringList seen;
        int maximum = 0;
        QTimer watcher;
        connect(&watcher, &QTimer::timeout, this, [&] {
            if (QString const activity = itemBar->activity(); !seen.contains(activity))
                seen.append(activity);
            maximum = qMax(maximum, totalBar->value());
        });
        watcher.start(0);
        bool const ok = collect({ { "sv-http", true }, { "sv-extras", true }, { "sv-mirrored", false } });
        watcher.stop();
        sandbox("stop", { "--root", root });
        QVERIFY2(ok && answerer.dialogs.isEmpty(), qPrintable(answerer.summary()));
        QCOMPARE(find("sv-net-tool")->repo, "sv-http");
        QVERIFY(!find("sv-mirror-tool"));
        // sv-tool 2.0 of the enabled repository is now the update.
        QCOMPARE(find("sv-tool")->verRel, "2.0-1");
        // The slow downloads are seen for sure; the quick steps around them
        // may come and go between two looks.
        QVERIFY(!seen.filter(QRegularExpression("^Downloading repository.*sv-http")).isEmpty());
        QVERIFY(maximum > 0);
        QVERIFY(!itemBar->isEnabled() && !totalBar->isEnabled());
        QVERIFY(collect());
    }

    // What each of the cleaning commands removes from the root's cache
    // directory, and what it leaves.
    void clean_data()
    {
        columns<int, QString>("member", "left");
        row("packages", 0, "1 1 0");
        row("XML metadata", 1, "0 1 1");
        row("sqlite data", 2, "1 0 1");
        row("all", 3, "0 0 0");
    }
    void clean()
    {
        QFETCH(int, member);
        fillCache();
        static bool (YumIO::*const cleaners[])()
            = { &YumIO::cleanPackages, &YumIO::cleanXmlMetadata, &YumIO::cleanSqliteCache, &YumIO::cleanAll };
        QVERIFY((io->*cleaners[member])());
        QTEST(cacheKinds(), "left");
        QVERIFY(answerer.dialogs.isEmpty());
    }

    // A dnf busy with the cache: nothing removed, and the report names the
    // cache.  One kind failing does not keep cleanAll from the others.
    void cleanFailures()
    {
        fillCache();
        LockHolder holder(LockHolder::dnf("build_download_lock"), cache());
        QVERIFY(holder.holds());
        QVERIFY(!io->cleanPackages());
        holder.release();
        QCOMPARE(cacheKinds(), "1 1 1");
        QVERIFY2(io->cleanMessages().join('|').contains(cache()), qPrintable(io->cleanMessages().join('|')));
        QVERIFY(pyRun(QStringLiteral("original = YumIO.cleanPackages\n"
                                     "def failing(self):\n"
                                     "    YumIO.cleanPackages = original\n"
                                     "    return 1, ['Unable to remove a package: Permission denied']\n"
                                     "YumIO.cleanPackages = failing\n")));
        QVERIFY(!io->cleanAll());
        QCOMPARE(cacheKinds(), "0 0 1");
        QVERIFY(io->cleanMessages().contains("Unable to remove a package: Permission denied"));
    }
};

QTEST_MAIN(TestYumIOCollect)
#include "tst_yumiocollect.moc"
