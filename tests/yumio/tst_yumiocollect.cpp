// A whole collection through the real interpreter, the companion script and
// dnf, on a private copy of the sandbox's root; then the details of what was
// collected, and the session's lock over its whole life.
#include "SessionTestSupport.h"
#include "widgets/HProgressBar.h"

#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>
#include <algorithm>
#include <csignal>
#include <ctime>
#include <pthread.h>

using namespace SessionTest;

class TestYumIOCollect : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();

    void entries_data();
    void entries();
    void noOtherEntries();
    void texts();
    void packageDetails_data();
    void packageDetails();
    void dependencies_data();
    void dependencies();
    void installedOnlyDetails();
    void extraData();
    void groupLists_data();
    void groupLists();
    void secondCollectionKeepsLock();
    void noRowsWhileClearing();
    void signalsAroundWorker();
    void downloadsMoveTheBars();

private:
    Package::Entry* find(QString const& name, QString const& arch = QString(), int state = -1) const;
    bool collect(QHash<QString, bool> const& enables = {});

    QTemporaryDir dir;
    QString root;
    QString marks;
    QWidget* window = nullptr;
    HProgressBar* totalBar = nullptr;
    HProgressBar* itemBar = nullptr;
    YumIO* io = nullptr;
    DialogAnswerer answerer;
    QString arch;
};

Package::Entry* TestYumIOCollect::find(QString const& name, QString const& architecture, int state) const
{
    for (Package::Entry* e : *io)
        if (e->name == name && (architecture.isEmpty() || e->arch == architecture)
            && (state < 0 || e->state == state))
            return e;
    return nullptr;
}

bool TestYumIOCollect::collect(QHash<QString, bool> const& enables)
{
    answerer.clear();
    io->clear();
    return io->collect(enables);
}

void TestYumIOCollect::initTestCase()
{
    // The sandbox's packages were all built at 1700000000.
    qputenv("TZ", "UTC");
    tzset();
    arch = nativeArch();
    QVERIFY(dir.isValid());
    root = dir.filePath(QStringLiteral("root"));
    marks = dir.filePath(QStringLiteral("marks"));
    QString failure;
    QVERIFY2(cloneRoot(root, &failure), qPrintable(failure));
    qputenv("SORVANROOT", root.toLocal8Bit());

    window = new QWidget;
    totalBar = new HProgressBar(window);
    itemBar = new HProgressBar(window);
    io = new YumIO;
    io->setup(window, totalBar, itemBar);
    QVERIFY2(io->initialize(), qPrintable(answerer.summary()));

    // Every call of the script's lock() and unlock() leaves a line in a file
    // that outlives the interpreter.
    QVERIFY(pyRun(QStringLiteral("def _sv_count(name, method):\n"
                                 "    def counted(self):\n"
                                 "        with open(%1, 'a') as f:\n"
                                 "            f.write(name + '\\n')\n"
                                 "        return method(self)\n"
                                 "    return counted\n"
                                 "YumIO.lock = _sv_count('lock', YumIO.lock)\n"
                                 "YumIO.unlock = _sv_count('unlock', YumIO.unlock)\n")
                      .arg(QLatin1Char('\'') + marks + QLatin1Char('\''))));

    QVERIFY(!io->isLocked());
    QVERIFY2(io->collect({}), qPrintable(answerer.summary()));
    QVERIFY2(answerer.dialogs.isEmpty(), qPrintable(answerer.summary()));
    QVERIFY(io->isLocked());
}

void TestYumIOCollect::cleanupTestCase()
{
    if (!io)
        return;
    QString const lockFile = root + QLatin1String("/var/run/sorvan.pid");
    auto lockable = [&] {
        QProcess probe;
        probe.start(python(),
            { QStringLiteral("-c"),
                QStringLiteral("import fcntl,os,sys\n"
                               "fd = os.open(sys.argv[1], os.O_RDWR)\n"
                               "try:\n"
                               "    fcntl.flock(fd, fcntl.LOCK_EX | fcntl.LOCK_NB)\n"
                               "except OSError:\n"
                               "    sys.exit(1)\n"),
                lockFile });
        return probe.waitForFinished(30000) && probe.exitCode() == 0;
    };
    QVERIFY2(!lockable(), "the session does not hold the root's lock");

    io->clearEntriesBeforeQuit();
    QCOMPARE(io->count(), 0);
    delete io;
    io = nullptr;
    delete window;

    QFile file(marks);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts),
        QStringList({ QStringLiteral("lock"), QStringLiteral("unlock") }));
    QVERIFY2(lockable(), "quitting did not release the root's lock");
}

// Every row of the default collection: packages from the three enabled
// repositories and the rpm database, merged by name and base architecture,
// and the visible groups.
void TestYumIOCollect::entries_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("arch");
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("state");
    QTest::addColumn<QString>("verRel");
    QTest::addColumn<QString>("repo");
    QTest::addColumn<bool>("superseded");
    // The installed versions chained behind the row, in order.
    QTest::addColumn<QStringList>("chain");

    QString const native = nativeArch();
    auto row = [](char const* tag, QString const& name, QString const& arch, int kind, int state,
                   char const* verRel, char const* repo, bool superseded, QStringList chain) {
        QTest::newRow(tag) << name << arch << kind << state << QString::fromLatin1(verRel)
                           << QString::fromLatin1(repo) << superseded << chain;
    };
    int const P = Package::Ordinary;
    int const U = Package::AvailableForUpdate, A = Package::Available, I = Package::Installed;

    // Updates carry the installed versions they replace.
    row("update noarch", "sv-docs", "noarch", P, U, "1.1-1", "sv-updates", false, { "1.0-1" });
    row("update native", "sv-tool", native, P, U, "1.2-1", "sv-updates", false, { "1.0-1" });
    row("update by epoch", "sv-epoch", "noarch", P, U, "2:1.0-1", "sv-updates", false, { "1:2.0-1" });
    row("install-only update", "sv-kernel", native, P, U, "5.2-1", "sv-updates", false, { "5.0-1", "5.1-1" });
    // Installed without update.
    row("installed native", "sv-lib", native, P, I, "2.0-1", "installed", false, {});
    row("installed obsoleted", "sv-old", "noarch", P, I, "1.0-1", "installed", false, {});
    row("installed release", "sv-release", "noarch", P, I, "1-1", "installed", false, {});
    row("installed relocatable", "sv-reloc", "noarch", P, I, "1.0-1", "installed", false, {});
    // Available; the 32-bit twin of an installed library loses to it.
    row("32-bit twin", "sv-lib", "i686", P, A, "2.0-1", "sv-base", true, {});
    row("suite", "sv-office-suite", "noarch", Package::Suite, A, "3.0-1", "sv-base", false, {});
    row("obsoleter", "sv-new", "noarch", P, A, "2.0-1", "sv-updates", false, {});
    row("second mirror", "sv-mirror-tool", "noarch", P, A, "1.0-1", "sv-mirrored", false, {});
    for (char const* name : { "sv-calc", "sv-corelib", "sv-editor", "sv-extra-docs", "sv-failing",
             "sv-helper", "sv-noisy", "sv-themes", "sv-viewer", "sv-viewer-langpack", "sv-writer" })
        row(name, QString::fromLatin1(name), QStringLiteral("noarch"), P, A, "1.0-1", "sv-base", false, {});
    for (char const* name : { "sv-app", "sv-devtools", "sv-libfoo" })
        row(name, QString::fromLatin1(name), native, P, A, "1.0-1", "sv-base", false, {});
    // Groups: installed but missing a mandatory package, or with a member
    // that has an update, is available for update; an environment is as up
    // to date as its groups.  The hidden group is not listed.
    int const G = Package::Group;
    row("group incomplete", "SORVAN Core", "", G, U, "", "", false, {});
    row("group complete", "SORVAN Minimal", "", G, I, "", "", false, {});
    row("group available", "SORVAN Desktop", "", G, A, "", "", false, {});
    row("group other", "SORVAN Development", "", G, A, "", "", false, {});
    row("environment", "SORVAN Workstation", "", G, U, "", "", false, {});
}

void TestYumIOCollect::entries()
{
    QFETCH(QString, name);
    QFETCH(QString, arch);
    QFETCH(int, kind);
    QFETCH(int, state);
    QFETCH(QString, verRel);
    QFETCH(QString, repo);
    QFETCH(bool, superseded);
    QFETCH(QStringList, chain);
    // The 3.0 versions of the office suite's members.
    if (name == QLatin1String("sv-calc") || name == QLatin1String("sv-writer"))
        verRel = QStringLiteral("3.0-1");

    Package::Entry const* entry = find(name, arch);
    QVERIFY2(entry, qPrintable(name));
    QCOMPARE(int(entry->kind), kind);
    QCOMPARE(int(entry->state), state);
    QCOMPARE(int(entry->action), int(Package::NoAction));
    QCOMPARE(entry->verRel, verRel);
    QCOMPARE(entry->repo, repo);
    QCOMPARE(entry->superseded, superseded);
    QStringList instances;
    for (Package::Entry const* e = entry->next; e; e = e->next) {
        QCOMPARE(int(e->state), int(Package::Installed));
        QCOMPARE(e->repo, QStringLiteral("installed"));
        QCOMPARE(e->name, name);
        instances.append(e->verRel);
    }
    QCOMPARE(instances, chain);
    QCOMPARE(entry->instances(), int(chain.size()));
    QVERIFY(entry->object);
}

void TestYumIOCollect::noOtherEntries()
{
    // One row per name and base architecture, one per group: 26 packages
    // and 5 groups.
    QCOMPARE(io->count(), 31);
    QSet<QString> keys;
    for (Package::Entry const* e : *io)
        keys.insert(QString::number(e->kind == Package::Group) + e->name + e->baseArch);
    QCOMPARE(keys.size(), 31);
    QCOMPARE(io->baseArchs(), QSet<QString>({ arch, QStringLiteral("noarch"), QStringLiteral("i386") }));
    QStringList enabled = io->enabledRepos();
    enabled.sort();
    QCOMPARE(enabled,
        QStringList(
            { QStringLiteral("sv-base"), QStringLiteral("sv-mirrored"), QStringLiteral("sv-updates") }));
    QCOMPARE(io->baseArch(), arch);
    QVERIFY(!find(QStringLiteral("SORVAN Hidden Helpers")));
    QVERIFY(!find(QStringLiteral("sv-extra-tool")));
    QCOMPARE((*io)[io->count()], nullptr);
    QCOMPARE((*io)[-1], nullptr);
}

// What the table shows of each entry, as text.
void TestYumIOCollect::texts()
{
    for (Package::Entry const* e : *io) {
        QCOMPARE(io->getName(*e), e->name);
        QCOMPARE(io->getState(*e), Package::stateText(e->state));
        QCOMPARE(io->getKind(*e), Package::kindText(e->kind));
        if (e->kind == Package::Group) {
            QVERIFY(io->getSize(*e).isEmpty());
            QVERIFY(io->getBuildTime(*e).isEmpty());
            QVERIFY(io->getVerRel(*e).isEmpty());
            continue;
        }
        QVERIFY2(e->size > 0, qPrintable(e->name));
        QCOMPARE(io->getSize(*e), Package::bytesFormat(e->size));
        QCOMPARE(e->buildTime, 1700000000L);
        QCOMPARE(io->getBuildTime(*e), QStringLiteral("Tue Nov 14 22:13:20 2023"));
        QCOMPARE(io->getArch(*e), e->arch);
        QVERIFY(!io->getSummary(*e).isEmpty());
    }
    QCOMPARE(io->getSummary(*find(QStringLiteral("sv-reloc"))), QStringLiteral("Relocatable package"));
    QCOMPARE(io->getState(*find(QStringLiteral("sv-tool"))), QStringLiteral("Available for update"));
    QCOMPARE(io->getKind(*find(QStringLiteral("sv-office-suite"))), QStringLiteral("Suite of packages"));
}

// The simple details, from the rpm header of an installed package and from
// the metadata of an available one.
void TestYumIOCollect::packageDetails_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("state");
    QTest::addColumn<QString>("description");
    QTest::addColumn<QString>("group");
    QTest::addColumn<QString>("binaryRpm");

    QTest::newRow("installed") << "sv-reloc" << int(Package::Installed)
                               << "Installed; its files live under the relocatable prefix /opt/sv-reloc."
                               << "Applications/System"
                               << "sv-reloc-1.0-1.noarch.rpm";
    QTest::newRow("available") << "sv-office-suite" << int(Package::Available)
                               << "A package whose group is Suite; requires sv-writer and sv-calc."
                               << "Suite"
                               << "sv-office-suite-3.0-1.noarch.rpm";
    QTest::newRow("update") << "sv-docs" << int(Package::AvailableForUpdate)
                            << "An installed noarch package with an update in sv-updates."
                            << "Documentation"
                            << "sv-docs-1.1-1.noarch.rpm";
}

void TestYumIOCollect::packageDetails()
{
    QFETCH(QString, name);
    QFETCH(int, state);
    Package::Entry const* e = find(name, QString(), state);
    QVERIFY(e);
    QTEST(io->getDescription(*e), "description");
    QTEST(io->getGroup(*e), "group");
    QTEST(io->getBinaryRpm(*e), "binaryRpm");
    QCOMPARE(io->getVendor(*e), QStringLiteral("SORVAN Sandbox"));
    QCOMPARE(io->getBuildHost(*e), QStringLiteral("builder.sorvan.example"));
    QCOMPARE(io->getLicense(*e), QStringLiteral("MIT"));
    QCOMPARE(io->getPackager(*e), QStringLiteral("SORVAN Developers <devel@sorvan.example>"));
    QCOMPARE(io->getUrl(*e), QStringLiteral("https://sorvan.example/sandbox"));
    QCOMPARE(io->getSourceRpm(*e),
        QString(e->name + QLatin1Char('-') + e->verRel.section(QLatin1Char(':'), -1)
            + QLatin1String(".src.rpm")));
    QVERIFY2(answerer.dialogs.isEmpty(), qPrintable(answerer.summary()));
}

// Dependencies with their comparisons; an epoch of 0 is not shown.
void TestYumIOCollect::dependencies_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("state");
    QTest::addColumn<QStringList>("provides");
    QTest::addColumn<QStringList>("requirements");
    QTest::addColumn<QStringList>("obsoletes");

    QString const tag = nativeArch() == QLatin1String("x86_64")
        ? QStringLiteral("(x86-64)")
        : QLatin1Char('(') + nativeArch() + QLatin1Char(')');
    // From the metadata.
    QTest::newRow("available with epoch 0")
        << "sv-new" << int(Package::Available) << QStringList({ "sv-new = 2.0-1", "sv-old = 2.0" })
        << QStringList() << QStringList({ "sv-old < 2.0" });
    QTest::newRow("available with requires")
        << "sv-office-suite" << int(Package::Available) << QStringList({ "sv-office-suite = 3.0-1" })
        << QStringList({ "sv-calc >= 1.0", "sv-writer" }) << QStringList();
    QTest::newRow("available with epoch")
        << "sv-epoch" << int(Package::AvailableForUpdate) << QStringList({ "sv-epoch = 2:1.0-1" })
        << QStringList() << QStringList();
    QTest::newRow("available native") << "sv-app" << int(Package::Available)
                                      << QStringList({ "sv-app = 1.0-1", "sv-app" + tag + " = 1.0-1" })
                                      << QStringList({ "sv-libfoo >= 1.0" }) << QStringList();
    // From the rpm header, whose flags are rpm's sense bits.
    QTest::newRow("installed") << "sv-release" << int(Package::Installed)
                               << QStringList({ "sv-release = 1-1", "system-release",
                                      "system-release(releasever) = 1" })
                               << QStringList() << QStringList();
}

void TestYumIOCollect::dependencies()
{
    QFETCH(QString, name);
    QFETCH(int, state);
    Package::Entry const* e = find(name, QString(), state);
    QVERIFY(e);
    QTEST(io->getProvides(*e), "provides");
    QFETCH(QStringList, requirements);
    QStringList got = io->getRequires(*e);
    // rpm adds its own rpmlib() requirements to what it installs.
    got.removeIf([](QString const& r) { return r.startsWith(QLatin1String("rpmlib(")); });
    QCOMPARE(got, requirements);
    QTEST(io->getObsoletes(*e), "obsoletes");
    QCOMPARE(io->getConflicts(*e), QStringList());
}

// Install time, relocations, files and change log of installed packages come
// from the rpm header at once; an available package has no install time and
// no relocations.
void TestYumIOCollect::installedOnlyDetails()
{
    Package::Entry const* reloc = find(QStringLiteral("sv-reloc"));
    QVERIFY(reloc);
    QVERIFY(!io->getInstallTime(*reloc).isEmpty());
    QCOMPARE(io->getRelocations(*reloc), QStringList({ QStringLiteral("/opt/sv-reloc") }));
    QCOMPARE(io->getFiles(*reloc),
        QStringList({ QStringLiteral("/opt/sv-reloc/bin/sv-reloc"),
            QStringLiteral("/opt/sv-reloc/share/sv-reloc.conf") }));

    // The installed instance behind an update.
    Package::Entry const* tool = find(QStringLiteral("sv-tool"));
    QVERIFY(tool && tool->next);
    QCOMPARE(io->getChangeLog(*tool->next),
        QStringLiteral("* Mon Jan  9 2023 Ada Builder <ada@sorvan.example> - 1.0-1\n- First release"));
    QCOMPARE(io->getProvides(*tool->next).value(0), QStringLiteral("sv-tool = 1.0-1"));

    Package::Entry const* app = find(QStringLiteral("sv-app"));
    QVERIFY(app);
    QCOMPARE(io->getInstallTime(*app), QString());
    QCOMPARE(io->getRelocations(*app), QStringList());
    QCOMPARE(io->getInstallTime(*tool), QString());

    // None of this needed the repositories' extra data.
    QVERIFY(!io->fileListsLoaded());
    QVERIFY(!io->otherDataLoaded());
}

// File lists and change logs of available packages are loaded once, on a
// worker, when first asked for; every collection forgets them.
void TestYumIOCollect::extraData()
{
    QSignalSpy loaded(io, &YumIO::collectedExtraData);
    Package::Entry const* tool = find(QStringLiteral("sv-tool"));
    QVERIFY(tool);

    QVERIFY(!io->fileListsLoaded());
    QCOMPARE(io->getFiles(*tool),
        QStringList({ QStringLiteral("/usr/bin/sv-tool"), QStringLiteral("/usr/share/doc/sv-tool/README") }));
    QVERIFY(io->fileListsLoaded());
    QCOMPARE(loaded.count(), 1);
    QVERIFY(!io->otherDataLoaded());
    // Asked again, nothing is loaded again.
    QVERIFY(io->collectFileLists());
    QCOMPARE(io->getFiles(*find(QStringLiteral("sv-new"))),
        QStringList({ QStringLiteral("/usr/share/sv-new/data") }));
    QCOMPARE(loaded.count(), 1);

    QCOMPARE(io->getChangeLog(*tool),
        QStringLiteral("* Thu Mar  2 2023 Bo Packer <bo@sorvan.example> - 1.2-1\n- Rebuild with new flags\n\n"
                       "* Wed Mar  1 2023 Ada Builder <ada@sorvan.example> - 1.2-1\n- Fix the --quiet "
                       "option\n- Faster start-up\n\n"
                       "* Mon Jan  9 2023 Ada Builder <ada@sorvan.example> - 1.0-1\n- First release"));
    QVERIFY(io->otherDataLoaded());
    QCOMPARE(loaded.count(), 2);
    QVERIFY(io->collectOtherData());
    QCOMPARE(loaded.count(), 2);
    // The file lists survived the reload of the metadata for the change logs.
    QCOMPARE(io->getFiles(*find(QStringLiteral("sv-writer"))),
        QStringList({ QStringLiteral("/usr/bin/sv-writer") }));
    QVERIFY2(answerer.dialogs.isEmpty(), qPrintable(answerer.summary()));

    // The loads announced themselves in the log.
    QStringList actions;
    {
        QMutexLocker locker(&io->logEntries().mutex);
        for (Log::Entry const& entry : std::as_const(io->logEntries().entries))
            if (entry.kind == Log::Action)
                actions.append(entry.text);
    }
    QVERIFY(actions.contains(QStringLiteral("Collecting File Lists")));
    QVERIFY(actions.contains(QStringLiteral("Collecting Miscellaneous data")));

    QVERIFY(collect());
    QVERIFY(!io->fileListsLoaded());
    QVERIFY(!io->otherDataLoaded());
}

void TestYumIOCollect::groupLists_data()
{
    QTest::addColumn<QString>("group");
    QTest::addColumn<QStringList>("required");
    QTest::addColumn<QStringList>("optionalMeta");
    QTest::addColumn<QStringList>("mandatory");
    QTest::addColumn<QStringList>("defaults");
    QTest::addColumn<QStringList>("optional");
    QTest::addColumn<QStringList>("conditional");

    QTest::newRow("group") << "SORVAN Core" << QStringList() << QStringList()
                           << QStringList({ "sv-tool", "sv-docs", "sv-corelib" })
                           << QStringList({ "sv-reloc" }) << QStringList({ "sv-extra-docs" })
                           << QStringList();
    QTest::newRow("conditional") << "SORVAN Desktop" << QStringList() << QStringList()
                                 << QStringList({ "sv-viewer" }) << QStringList({ "sv-editor" })
                                 << QStringList({ "sv-themes" }) << QStringList({ "sv-viewer-langpack" });
    QTest::newRow("environment") << "SORVAN Workstation" << QStringList({ "SORVAN Core", "SORVAN Desktop" })
                                 << QStringList({ "SORVAN Development" }) << QStringList() << QStringList()
                                 << QStringList() << QStringList();
}

void TestYumIOCollect::groupLists()
{
    QFETCH(QString, group);
    Package::Entry const* e = find(group);
    QVERIFY(e);
    QCOMPARE(int(e->kind), int(Package::Group));
    QTEST(io->getRequiredGroups(*e), "required");
    QCOMPARE(io->getDefaultMetaPkgs(*e), QStringList());
    QTEST(io->getOptionalMetaPkgs(*e), "optionalMeta");
    QTEST(io->getMandatoryPkgs(*e), "mandatory");
    QTEST(io->getDefaultPkgs(*e), "defaults");
    QTEST(io->getOptionalPkgs(*e), "optional");
    QTEST(io->getConditionalPkgs(*e), "conditional");
    // A package has no member lists.
    QCOMPARE(io->getMandatoryPkgs(*find(QStringLiteral("sv-tool"))), QStringList());
}

// The lock is taken once per session; a reload with other repositories
// collects again without it.
void TestYumIOCollect::secondCollectionKeepsLock()
{
    QVERIFY2(collect({ { QStringLiteral("sv-extras"), true }, { QStringLiteral("sv-mirrored"), false } }),
        qPrintable(answerer.summary()));
    QVERIFY(answerer.dialogs.isEmpty());
    QVERIFY(io->enabledRepos().contains(QStringLiteral("sv-extras")));
    QVERIFY(!io->enabledRepos().contains(QStringLiteral("sv-mirrored")));
    QVERIFY(!find(QStringLiteral("sv-mirror-tool")));
    QVERIFY(find(QStringLiteral("sv-extra-tool")));
    // sv-tool 2.0 of the enabled repository is now the update.
    QCOMPARE(find(QStringLiteral("sv-tool"))->verRel, QStringLiteral("2.0-1"));
    QVERIFY(io->isLocked());

    QVERIFY(collect());
    QCOMPARE(io->count(), 31);
    QFile file(marks);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("lock\n"));
}

// While the entries go away on the worker, the table sees none.
void TestYumIOCollect::noRowsWhileClearing()
{
    QVERIFY(io->count() > 0);
    int seenCount = -1;
    bool seenBusy = false;
    bool emptyRange = false;
    Package::Entry* seenFirst = reinterpret_cast<Package::Entry*>(1);
    // Queued before the session's own gate timer, this runs while the worker
    // still waits at the gate, with the entries all there.
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
    // Details of nothing are nothing.
    QVERIFY(collect());
}

// SIGCHLD is blocked on the GUI thread exactly while a worker runs, and
// Python's SIGINT handler is off after it, whatever was set before.
void TestYumIOCollect::signalsAroundWorker()
{
    auto chldBlocked = [] {
        sigset_t mask;
        pthread_sigmask(SIG_BLOCK, nullptr, &mask);
        return sigismember(&mask, SIGCHLD) == 1;
    };
    // Python's own handler, as the engine might put it back.
    QVERIFY(
        pyRun(QStringLiteral("import signal\nsignal.signal(signal.SIGINT, signal.default_int_handler)\n")));
    QVERIFY(!chldBlocked());
    bool blockedDuring = false;
    QTimer::singleShot(0, this, [&] { blockedDuring = chldBlocked(); });
    QVERIFY(collect());
    QVERIFY(blockedDuring);
    QVERIFY(!chldBlocked());
    QCOMPARE(
        pyEval(QStringLiteral("signal.getsignal(signal.SIGINT) == signal.SIG_DFL")), QStringLiteral("True"));
}

// Metadata fetched over HTTP reaches the bars through the engine's meters:
// each file shows what it is and for which repository.
void TestYumIOCollect::downloadsMoveTheBars()
{
    QString failure;
    QVERIFY2(serveRoot(root, 20000, &failure), qPrintable(failure));
    QSet<QString> activities;
    int maximum = 0;
    QTimer watcher;
    connect(&watcher, &QTimer::timeout, this, [&] {
        if (!itemBar->activity().isEmpty())
            activities.insert(itemBar->activity());
        maximum = qMax(maximum, totalBar->value());
    });
    watcher.start(0);
    bool const ok = collect({ { QStringLiteral("sv-http"), true } });
    watcher.stop();
    stopServing(root);
    QVERIFY2(ok, qPrintable(answerer.summary()));
    QVERIFY2(answerer.dialogs.isEmpty(), qPrintable(answerer.summary()));
    Package::Entry const* net = find(QStringLiteral("sv-net-tool"));
    QVERIFY(net);
    QCOMPARE(net->repo, QStringLiteral("sv-http"));

    QStringList const seen(activities.begin(), activities.end());
    // The slow downloads are seen for sure; the quick steps around them may
    // come and go between two looks.
    QVERIFY2(std::any_of(seen.begin(), seen.end(),
                 [](QString const& a) {
                     return a.startsWith(QLatin1String("Downloading repository"))
                         && a.contains(QLatin1String("sv-http"));
                 }),
        qPrintable(seen.join(QLatin1String(" | "))));
    QVERIFY(maximum > 0);
    // At the end the bars are at rest.
    QVERIFY(!itemBar->isEnabled());
    QVERIFY(!totalBar->isEnabled());

    QVERIFY(collect());
}

QTEST_MAIN(TestYumIOCollect)
#include "tst_yumiocollect.moc"
