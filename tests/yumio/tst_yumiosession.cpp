// A whole session through the real interpreter, the companion script and
// dnf on a private copy of the sandbox's root: what it collects and cleans,
// and how it fails; each failure ends in one message, and the session stays usable.
#include "SessionTestSupport.h"
#include "widgets/HProgressBar.h"

#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>
#include <clocale>
#include <csignal>
#include <ctime>
#include <pthread.h>

using namespace SessionTest;

static QString const error = "SORVAN Yum Error: ";
using Enables = QHash<QString, bool>;

class TestYumIOSession : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;
    QString root, arch = nativeArch();
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
    bool collect(Enables const& enables = {})
    {
        answerer.clear();
        io->clear();
        return io->collect(enables);
    }
    // A collection without a word to the user.
    bool works(Enables const& enables = {}) { return collect(enables) && answerer.dialogs.isEmpty(); }
    // The interpreter took its environment at start: tell it directly.
    bool switchRoot(QString const& path)
    {
        return pyRun(QStringLiteral("import os\nos.environ['SORVANROOT'] = '%1'\n").arg(path));
    }
    void plant(QString const& relative, QByteArray const& content)
    {
        QDir().mkpath(QFileInfo(dir.filePath(relative)).path());
        QFile file(dir.filePath(relative));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
        file.setPermissions(file.permissions() | QFileDevice::ExeOwner);
    }
    // Makes the script's method log an error and a detail (level 3) and
    // then raise `exception` (a Python expression), once.
    bool failOnce(QString const& method, QString const& exception)
    {
        return pyRun(QStringLiteral("import yumIOC, yum.Errors, sqlite3\n"
                                    "def _sv_fail_once(name, original):\n"
                                    "    def failing(self, *args):\n"
                                    "        setattr(YumIO, name, original)\n"
                                    "        yumIOC.errorlog(3, 'a detail')\n"
                                    "        yumIOC.errorlog(0, 'an error before the failure')\n"
                                    "        raise %2\n"
                                    "    return failing\n"
                                    "YumIO.%1 = _sv_fail_once('%1', YumIO.%1)\n")
                         .arg(method, exception));
    }
    // The last dialog shown is of `kind` and starts with `start`, and the
    // session holds no entries.
    void checkFailure(int kind, QString const& start)
    {
        Dialog const last = answerer.dialogs.value(answerer.dialogs.size() - 1);
        QVERIFY2(last.kind == kind && (last.title + ": " + last.text).startsWith(start),
            qPrintable(answerer.summary()));
        QCOMPARE(io->count(), 0);
        QVERIFY(!itemBar->isEnabled());
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
    // Metadata and solver files from a collection, and a downloaded package.
    void fillCache()
    {
        QVERIFY2(works(), qPrintable(answerer.summary()));
        QString const base = QDir(cache()).entryList({ "sv-base-*" }, QDir::Dirs).value(0);
        QVERIFY(!base.isEmpty());
        plant("root/var/cache/dnf/" + base + "/packages/sv-app-1.0-1.x86_64.rpm", "");
    }

private Q_SLOTS:
    // Started in the C locale, as under pkexec, with everything in the
    // environment that could slip code into a root process: if any of it is
    // honoured, a marker appears or the start fails.  A root that is not
    // there: the script cannot make its session and exits, which is one
    // message, and no session.  Started again on a real root, it works.
    void initTestCase()
    {
        qputenv("TZ", "UTC");
        tzset();
        root = dir.filePath("root");
        QString const failure = sandbox("clone", { root });
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        window = new QWidget;
        totalBar = new HProgressBar(window);
        itemBar = new HProgressBar(window);
        io = new YumIO;
        io->setup(window, totalBar, itemBar);
        QByteArray const version = "python3." + QByteArray::number(PY_MINOR_VERSION);
        QByteArray const marker = "import builtins\nbuiltins.SORVAN_TRAPPED = __file__\n";
        plant("trap/path/sitecustomize.py", marker);
        plant("trap/user/lib/" + version + "/site-packages/usercustomize.py", marker);
        plant("trap/bin/python3", "#!/bin/sh\nexit 1\n");
        plant("trap/lib/" + version + "/os.py", marker + "raise SystemExit('trap stdlib')\n");
        QByteArray const path = qgetenv("PATH");
        qputenv("PATH", dir.filePath("trap/bin").toUtf8() + ':' + path);
        qputenv("PYTHONPATH", dir.filePath("trap/path").toUtf8());
        qputenv("PYTHONUSERBASE", dir.filePath("trap/user").toUtf8());
        qputenv("PYTHONHOME", dir.filePath("trap").toUtf8());
        qputenv("PYTHONOPTIMIZE", "2");
        qputenv("SORVANROOT", dir.filePath("missing").toLocal8Bit());
        std::setlocale(LC_CTYPE, "C");
        std::signal(SIGPIPE, SIG_DFL);
        QVERIFY(!io->initialize());
        for (char const* name : { "PYTHONPATH", "PYTHONUSERBASE", "PYTHONHOME", "PYTHONOPTIMIZE" })
            qunsetenv(name);
        qputenv("PATH", path);
        QVERIFY2(answerer.dialogs.size() == 1 && answerer.summary().contains(dir.filePath("missing"))
                && answerer.summary().endsWith("\nUnable to initialize"),
            qPrintable(answerer.summary()));
        QVERIFY(!io->collect({}));
        QVERIFY(switchRoot(root));
        QVERIFY2(io->initialize(), qPrintable(answerer.summary()));
        QVERIFY(pyRun(
            QStringLiteral("import builtins, os, signal, site, sys\n"
                           "assert sys.flags.isolated == 1 and sys.flags.optimize == 0\n"
                           "assert sys.getfilesystemencoding() == sys.__stdout__.encoding == 'utf-8'\n"
                           "assert signal.getsignal(signal.SIGPIPE) == signal.SIG_IGN\n"
                           "assert not hasattr(builtins, 'SORVAN_TRAPPED') and not site.ENABLE_USER_SITE\n"
                           "assert not [p for p in sys.path if p.startswith('%1')], sys.path\n"
                           "assert os.path.realpath(sys.executable) == os.path.realpath('%2')\n")
                .arg(dir.path(), python())));
    }
    void cleanupTestCase()
    {
        if (io)
            io->clearEntriesBeforeQuit();
        delete io;
        delete window;
    }

    // First of all: the session has not locked its root yet.  Another
    // SORVAN on the same root is named by its process.
    void lockHeldElsewhere()
    {
        QVERIFY(!io->isLocked());
        LockHolder holder(
            QStringLiteral("import fcntl, os, sys\nfd = os.open(sys.argv[1], os.O_RDWR | os.O_CREAT)\n"
                           "fcntl.flock(fd, fcntl.LOCK_EX)\nos.write(fd, b'%d\\n' % os.getpid())"),
            root + "/var/run/sorvan.pid");
        QVERIFY(holder.holds());
        QVERIFY(!collect());
        checkFailure(Dialog::Scrollable, error);
        QVERIFY2(answerer.summary().endsWith("\nUnable to obtain yum lock")
                && answerer.summary().contains(QString::number(holder.pid())),
            qPrintable(answerer.summary()));
        QVERIFY(!io->isLocked());
        holder.release();
        // A repository id the engine does not know is no business of the session.
        QVERIFY2(works({ { "no-such-repo", true } }), qPrintable(answerer.summary()));
        QVERIFY(io->isLocked());
    }

    // One row per name and base architecture, one per group, and nothing
    // more: no hidden group, nothing of disabled repositories.  The 32-bit
    // twin of an installed package loses to it; an installed group missing a
    // mandatory package is out of date, and so is an environment of it.
    void entries()
    {
        QCOMPARE(io->count(), 31);
        QStringList seen;
        for (Package::Entry const* e : *io) {
            bool const group = e->kind == Package::Group;
            // The sandbox's packages were all built at 1700000000.
            QCOMPARE(io->getBuildTime(*e), group ? QString() : "Tue Nov 14 22:13:20 2023");
            QVERIFY2(group || e->size > 0, qPrintable(e->name));
            if (QStringList { "sv-lib", "SORVAN Minimal", "SORVAN Core", "SORVAN Workstation" }.contains(
                    e->name))
                seen << e->name + ' ' + e->arch + ": " + Package::stateText(e->state)
                        + (e->superseded ? " (superseded)" : "");
        }
        QStringList expected { "SORVAN Core : Available for update", "SORVAN Minimal : Installed",
            "SORVAN Workstation : Available for update", "sv-lib " + arch + ": Installed",
            "sv-lib i686: Available for installation (superseded)" };
        expected.sort();
        seen.sort();
        QCOMPARE(seen, expected);
        QCOMPARE(io->baseArchs(), QSet<QString>({ arch, "noarch", "i386" }));
        QStringList enabled = io->enabledRepos();
        enabled.sort();
        QCOMPARE(enabled.join(' '), "sv-base sv-mirrored sv-updates");
        QVERIFY(!find("SORVAN Hidden Helpers") && !find("sv-extra-tool"));
    }

    // Details of an installed package come from its rpm header, of the
    // others from the metadata; dependencies with their comparisons, an
    // epoch of 0 not shown.  Only installed packages have an install time.
    void details_data()
    {
        columns<QString, int, QString, QStringList, QStringList>(
            "name", "state", "group", "provides", "requirements");
        row("installed", "sv-release", int(Package::Installed), "System Environment/Base",
            QStringList({ "sv-release = 1-1", "system-release", "system-release(releasever) = 1" }),
            QStringList());
        row("requires", "sv-office-suite", int(Package::Available), "Suite",
            QStringList({ "sv-office-suite = 3.0-1" }), QStringList({ "sv-calc >= 1.0", "sv-writer" }));
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
        QCOMPARE(io->getInstallTime(*e).isEmpty(), e->state != Package::Installed);
    }

    // Obsoletes, files and change logs of installed packages come from their
    // rpm headers; files and change logs of available ones are loaded when
    // first asked for, each kind keeping the other, and a collection forgets them.
    void headersAndExtraData()
    {
        QCOMPARE(io->getObsoletes(*find("sv-new")), QStringList("sv-old < 2.0"));
        Package::Entry const* reloc = find("sv-reloc");
        QCOMPARE(io->getFiles(*reloc),
            QStringList({ "/opt/sv-reloc/bin/sv-reloc", "/opt/sv-reloc/share/sv-reloc.conf" }));
        Package::Entry const* tool = find("sv-tool");
        QCOMPARE(io->getChangeLog(*tool->next),
            "* Mon Jan  9 2023 Ada Builder <ada@sorvan.example> - 1.0-1\n- First release");
        QVERIFY(!io->fileListsLoaded() && !io->otherDataLoaded());
        QCOMPARE(io->getFiles(*tool), QStringList({ "/usr/bin/sv-tool", "/usr/share/doc/sv-tool/README" }));
        QVERIFY(io->fileListsLoaded() && !io->otherDataLoaded());
        QString const changes = io->getChangeLog(*tool);
        QVERIFY2(changes.startsWith("* Thu Mar  2 2023 Bo Packer <bo@sorvan.example> - 1.2-1\n- Rebuild")
                && changes.endsWith(
                    "\n\n* Mon Jan  9 2023 Ada Builder <ada@sorvan.example> - 1.0-1\n- First release"),
            qPrintable(changes));
        QVERIFY(io->fileListsLoaded() && io->otherDataLoaded());
        QVERIFY(works());
        QVERIFY(!io->fileListsLoaded() && !io->otherDataLoaded());
    }

    // While a worker clears the entries, the table sees none and SIGCHLD is
    // blocked on the GUI thread; after it, SIGCHLD is not, and Python's
    // SIGINT handler is off, whatever was set before.
    void aroundAWorker()
    {
        auto chldBlocked = [] {
            sigset_t mask;
            pthread_sigmask(SIG_BLOCK, nullptr, &mask);
            return sigismember(&mask, SIGCHLD) == 1;
        };
        QVERIFY(pyRun("import signal\nsignal.signal(signal.SIGINT, signal.default_int_handler)"));
        QVERIFY(!chldBlocked());
        bool seenBusy = false, seenEmpty = false, blockedDuring = false;
        // Queued before the session's own gate timer, this runs while the
        // worker still waits at the gate, with the entries all there.
        QTimer::singleShot(0, this, [&] {
            seenBusy = io->isBusy();
            seenEmpty = io->count() == 0 && !(*io)[0] && io->begin() == io->end();
            blockedDuring = chldBlocked();
        });
        io->clearEntries();
        QVERIFY(seenBusy && seenEmpty && blockedDuring);
        QVERIFY(!io->isBusy() && !chldBlocked());
        QVERIFY(pyRun("assert signal.getsignal(signal.SIGINT) == signal.SIG_DFL"));
        QVERIFY(works());
    }

    // Metadata fetched over HTTP reaches the bars through the engine's
    // meters: each file shows for which repository it is.
    void downloadsMoveTheBars()
    {
        QString const failure = sandbox("serve", { "--root", root, "--rate", "20000" });
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        QStringList seen;
        int maximum = 0;
        QTimer watcher;
        connect(&watcher, &QTimer::timeout, this, [&] {
            seen.append(itemBar->activity());
            maximum = qMax(maximum, totalBar->value());
        });
        watcher.start(0);
        bool const ok = works({ { "sv-http", true }, { "sv-extras", true }, { "sv-mirrored", false } });
        watcher.stop();
        sandbox("stop", { "--root", root });
        QVERIFY2(ok, qPrintable(answerer.summary()));
        QCOMPARE(find("sv-net-tool")->repo, "sv-http");
        QCOMPARE(find("sv-tool")->verRel, "2.0-1"); // of sv-extras
        seen.removeDuplicates();
        QVERIFY2(!seen.filter(QRegularExpression("^Downloading repository.*sv-http")).isEmpty(),
            qPrintable(seen.join('|')));
        QVERIFY(maximum > 0);
        QVERIFY(!itemBar->isEnabled() && !totalBar->isEnabled());
        QVERIFY(works());
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

    // Without repositories, a message that says so; without the one that
    // carries the groups, a collection without group entries.
    void withoutRepositories_data()
    {
        columns<bool, Enables, QString>("bare", "enables", "message");
        row("none enabled", false,
            Enables { { "sv-base", false }, { "sv-updates", false }, { "sv-mirrored", false } },
            "No repositories are enabled.");
        row("none configured", true, Enables(), "No repositories are configured.");
        row("no groups", false, Enables { { "sv-base", false } }, "");
    }
    void withoutRepositories()
    {
        QFETCH(bool, bare);
        QFETCH(Enables, enables);
        QFETCH(QString, message);
        QVERIFY(QDir().mkpath(dir.filePath("bare")));
        QVERIFY(switchRoot(bare ? dir.filePath("bare") : root));
        bool const collected = collect(enables);
        QVERIFY(switchRoot(root));
        QCOMPARE(collected, message.isEmpty());
        if (!message.isEmpty())
            checkFailure(Dialog::Critical, error + message);
        for (Package::Entry const* e : *io)
            QVERIFY2(e->kind != Package::Group, qPrintable(e->name));
        QVERIFY(works());
    }

    // Each kind of exception from a long script call gets its own message
    // (here the part that tells it from the others); some leave a walkback
    // in the log, and detail lines (level 3 and up) stay there.
    void scriptFailures_data()
    {
        columns<QString, QString, int, QString, bool>("method", "exception", "kind", "text", "walkback");
        int const critical = Dialog::Critical, scrollable = Dialog::Scrollable;
        row("I/O error", "collectUpdates", "OSError(2, 'No such file or directory')", critical,
            "Unable to collect updatable packages: I/O Error: [Errno 2] No such file or directory\n", true);
        row("interrupt", "collectAll", "KeyboardInterrupt()", critical,
            "Unable to collect installed and available packages: KeyboardInterrupt\n", true);
        row("assertion", "setupTs", "AssertionError('broken')", critical, "python assertion failed\n", true);
        row("no more mirrors", "collectUpdates",
            "yum.Errors.NoMoreMirrorsRepoError('All mirrors were tried')", critical,
            "packages: metadata unavailable from all repo mirrors:\nAll mirrors were tried", false);
        row("locked database", "collectAll", "sqlite3.OperationalError('database is locked')", scrollable,
            "packages: a repository's sqlite database was locked unexpectedly\n", false);
        row("repository error", "setupTs", "yum.Errors.RepoError('odd')", critical,
            "python exception occurred from C code.\n", true);
        row("engine error", "collectUpdates", "yum.Errors.YumBaseError('Depsolving failed')", scrollable,
            "Depsolving failed\nUnable to collect updatable packages", false);
        row("groups", "setupTsGroup", "yum.Errors.GroupsError('comps.xml is broken')", critical,
            "Internal error: execution of yumIO.setupTsGroup failed", false);
        row("unexpected", "collectGroupInfo", "ValueError('odd')", critical,
            "Internal error: execution of yumIO.collectGroupInfo failed", true);
    }
    void scriptFailures()
    {
        QFETCH(QString, method);
        QFETCH(QString, exception);
        QFETCH(int, kind);
        QFETCH(QString, text);
        qsizetype const logStart = logged(io).size();
        QVERIFY(failOnce(method, exception));
        QVERIFY(!collect());
        checkFailure(kind, error);
        QString const shown = answerer.dialogs.last().text;
        QVERIFY2(shown.contains(text) && !shown.contains("a detail"), qPrintable(shown));
        // A summary from the log repeats the errors of the failed call.
        QCOMPARE(shown.startsWith("an error before the failure\n"), kind == Dialog::Scrollable);
        bool traced = false, detailLogged = false;
        for (Log::Entry const& e : logged(io, logStart)) {
            traced = traced || e.text.startsWith("Traceback (most recent call last)");
            detailLogged = detailLogged || (e.text == "a detail" && e.level == 3);
        }
        QTEST(traced, "walkback");
        QVERIFY(detailLogged);
        QVERIFY2(works(), qPrintable(answerer.summary()));
    }

    // A failed load of the file lists is reported, leaves them unloaded, and
    // is tried again only when asked for again.
    void extraDataFailure()
    {
        QVERIFY(failOnce("collectFileLists", "yum.Errors.YumBaseError('no file lists')"));
        QVERIFY(!io->collectFileLists());
        Package::Entry const* app = find("sv-app");
        QVERIFY(app && !io->fileListsLoaded());
        QCOMPARE(io->getFiles(*app), QStringList());
        QCOMPARE(answerer.summary(),
            error + "an error before the failure\nno file lists\nUnable to collect filelists");
        QVERIFY(io->collectFileLists());
        QCOMPARE(io->getFiles(*app), QStringList("/usr/bin/sv-app"));
    }
};

QTEST_MAIN(TestYumIOSession)
#include "tst_yumiosession.moc"
