// How the session fails: at start-up, on a lock held elsewhere, without
// usable repositories, and on every kind of exception the engine raises.
// Each failure must end in one message that says what went wrong, and leave
// the session usable.
#include "SessionTestSupport.h"
#include "widgets/HProgressBar.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

using namespace SessionTest;

class TestYumIOFailures : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();

    // Before anything else: the session has not locked its root yet.
    void lockHeldElsewhere();
    void unknownRepositoryIgnored();
    void noneEnabled();
    void unreachableRepository();
    void noGroupsAvailable();
    void noRepositories();
    void scriptFailures_data();
    void scriptFailures();
    void extraDataFailure();
    void oddTextsWarn();

private:
    bool switchRoot(QString const& path);
    // Makes the script's method raise `exception` (a Python expression)
    // once, after logging `logs` (Python statements using yumIOC).
    bool failOnce(QString const& method, QString const& exception, QString const& logs = QString());

    QTemporaryDir dir;
    QString root;
    QWidget* window = nullptr;
    HProgressBar* totalBar = nullptr;
    HProgressBar* itemBar = nullptr;
    YumIO* io = nullptr;
    DialogAnswerer answerer;
};

bool TestYumIOFailures::switchRoot(QString const& path)
{
    // The interpreter took its environment at start: tell it directly.
    return pyRun(QStringLiteral("import os\nos.environ['SORVANROOT'] = %1\n")
                     .arg(QLatin1Char('\'') + path + QLatin1Char('\'')));
}

bool TestYumIOFailures::failOnce(QString const& method, QString const& exception, QString const& logs)
{
    return pyRun(QStringLiteral("import yumIOC, yum.Errors, sqlite3\n"
                                "def _sv_fail_once(name, original):\n"
                                "    def failing(self, *args):\n"
                                "        setattr(YumIO, name, original)\n"
                                "%3"
                                "        raise %2\n"
                                "    return failing\n"
                                "YumIO.%1 = _sv_fail_once('%1', YumIO.%1)\n")
                     .arg(method, exception, logs));
}

void TestYumIOFailures::initTestCase()
{
    QVERIFY(dir.isValid());
    root = dir.filePath(QStringLiteral("root"));
    QString failure;
    QVERIFY2(cloneRoot(root, &failure), qPrintable(failure));

    window = new QWidget;
    totalBar = new HProgressBar(window);
    itemBar = new HProgressBar(window);
    io = new YumIO;
    io->setup(window, totalBar, itemBar);

    // A root that is not there: the script cannot make its session and
    // exits, which is one message, and no session.
    QString const missing = dir.filePath(QStringLiteral("missing"));
    qputenv("SORVANROOT", missing.toLocal8Bit());
    QVERIFY(!io->initialize());
    QCOMPARE(answerer.dialogs.size(), 1);
    QCOMPARE(int(answerer.dialogs[0].kind), int(Dialog::Scrollable));
    QCOMPARE(answerer.dialogs[0].title, QStringLiteral("SORVAN Yum Error"));
    QVERIFY2(answerer.dialogs[0].text.contains(missing), qPrintable(answerer.dialogs[0].text));
    QVERIFY(answerer.dialogs[0].text.endsWith(QLatin1String("\nUnable to initialize")));
    QVERIFY(!io->collect({}));

    // Started again on a real root, the session works.
    QVERIFY(switchRoot(root));
    QVERIFY2(io->initialize(), qPrintable(answerer.summary()));
}

void TestYumIOFailures::cleanupTestCase()
{
    if (io)
        io->clearEntriesBeforeQuit();
    delete io;
    delete window;
}

void TestYumIOFailures::init()
{
    answerer.clear();
}

void TestYumIOFailures::lockHeldElsewhere()
{
    QVERIFY(!io->isLocked());
    // Another SORVAN on the same root, as the lock file sees it.
    QProcess holder;
    holder.start(python(),
        { QStringLiteral("-c"),
            QStringLiteral("import fcntl, os, sys\n"
                           "path = sys.argv[1]\n"
                           "os.makedirs(os.path.dirname(path), exist_ok=True)\n"
                           "fd = os.open(path, os.O_RDWR | os.O_CREAT, 0o644)\n"
                           "fcntl.flock(fd, fcntl.LOCK_EX)\n"
                           "os.ftruncate(fd, 0)\n"
                           "os.write(fd, b'%d\\n' % os.getpid())\n"
                           "print('locked', flush=True)\n"
                           "sys.stdin.read()\n"),
            root + QLatin1String("/var/run/sorvan.pid") });
    while (!holder.canReadLine())
        QVERIFY2(holder.waitForReadyRead(30000), "the lock holder did not start");
    QCOMPARE(holder.readLine(), QByteArray("locked\n"));

    QVERIFY(!io->collect({}));
    QCOMPARE(answerer.dialogs.size(), 1);
    Dialog const& d = answerer.dialogs[0];
    QCOMPARE(int(d.kind), int(Dialog::Scrollable));
    QCOMPARE(d.title, QStringLiteral("SORVAN Yum Error"));
    QVERIFY2(d.text.endsWith(QLatin1String("\nUnable to obtain yum lock")), qPrintable(d.text));
    // Who holds it.
    QVERIFY2(d.text.contains(QString::number(holder.processId())), qPrintable(d.text));
    QCOMPARE(io->count(), 0);
    QVERIFY(!io->isLocked());
    QVERIFY(!itemBar->isEnabled());
    QVERIFY(!totalBar->isEnabled());

    holder.closeWriteChannel();
    QVERIFY(holder.waitForFinished(30000));
    answerer.clear();
    QVERIFY2(io->collect({}), qPrintable(answerer.summary()));
    QVERIFY(io->isLocked());
    QVERIFY(io->count() > 0);
}

// A repository id the engine does not know is no business of the session.
void TestYumIOFailures::unknownRepositoryIgnored()
{
    QVERIFY2(io->collect({ { QStringLiteral("no-such-repo"), true } }), qPrintable(answerer.summary()));
    QVERIFY(answerer.dialogs.isEmpty());
    QCOMPARE(io->count(), 31);
}

void TestYumIOFailures::noneEnabled()
{
    io->clear();
    QVERIFY(!io->collect({ { QStringLiteral("sv-base"), false }, { QStringLiteral("sv-updates"), false },
        { QStringLiteral("sv-mirrored"), false } }));
    QCOMPARE(answerer.dialogs.size(), 1);
    QCOMPARE(int(answerer.dialogs[0].kind), int(Dialog::Critical));
    QCOMPARE(answerer.dialogs[0].text,
        QStringLiteral("No repositories are enabled.\nUnder the Repositories menu, Edit Configuration can be "
                       "used to configure repositories."));
    QCOMPARE(io->count(), 0);
    QVERIFY(!itemBar->isEnabled());
}

// An enabled repository that cannot be reached: the engine's own error lines
// of the failed call, its message, and the summary, in one box.  Detail
// lines (level 3 and up) stay in the log.
void TestYumIOFailures::unreachableRepository()
{
    io->clear();
    QVERIFY(failOnce(QStringLiteral("setupRepos"), QStringLiteral("original(self, *args) or None"),
        QStringLiteral("        yumIOC.errorlog(3, 'a detail of the failure')\n"
                       "        yumIOC.errorlog(0, 'an error before the failure')\n")));
    QVERIFY(!io->collect({ { QStringLiteral("sv-unreachable"), true } }));
    QCOMPARE(answerer.dialogs.size(), 1);
    Dialog const& d = answerer.dialogs[0];
    QCOMPARE(int(d.kind), int(Dialog::Scrollable));
    QCOMPARE(d.title, QStringLiteral("SORVAN Yum Error"));
    QStringList const lines = d.text.split(QLatin1Char('\n'));
    QCOMPARE(lines.first(), QStringLiteral("an error before the failure"));
    QCOMPARE(lines.last(), QStringLiteral("Unable to initialize"));
    QVERIFY2(d.text.contains(QLatin1String("sv-unreachable")), qPrintable(d.text));
    QVERIFY(!d.text.contains(QLatin1String("a detail of the failure")));
    QCOMPARE(io->count(), 0);

    // The detail is in the log all the same.
    bool logged = false;
    {
        QMutexLocker locker(&io->logEntries().mutex);
        for (Log::Entry const& e : std::as_const(io->logEntries().entries))
            logged = logged || (e.text == QLatin1String("a detail of the failure") && e.level == 3);
    }
    QVERIFY(logged);

    // Disabled again, everything is back.
    answerer.clear();
    io->clear();
    QVERIFY2(io->collect({ { QStringLiteral("sv-unreachable"), false } }), qPrintable(answerer.summary()));
    QCOMPARE(io->count(), 31);
}

// Without the repository that carries the groups, the collection completes
// without group entries.
void TestYumIOFailures::noGroupsAvailable()
{
    io->clear();
    QVERIFY2(io->collect({ { QStringLiteral("sv-base"), false } }), qPrintable(answerer.summary()));
    QVERIFY(answerer.dialogs.isEmpty());
    QVERIFY(io->count() > 0);
    for (Package::Entry const* e : *io)
        QVERIFY2(e->kind != Package::Group, qPrintable(e->name));
}

void TestYumIOFailures::noRepositories()
{
    QString const bare = dir.filePath(QStringLiteral("bare"));
    QString failure;
    QVERIFY2(cloneRoot(bare, &failure), qPrintable(failure));
    QDir repos(bare + QLatin1String("/etc/yum.repos.d"));
    for (QString const& file : repos.entryList({ QStringLiteral("*.repo") }, QDir::Files))
        QVERIFY(repos.remove(file));

    QVERIFY(switchRoot(bare));
    io->clear();
    bool const collected = io->collect({});
    QVERIFY(switchRoot(root));
    QVERIFY(!collected);
    QCOMPARE(answerer.dialogs.size(), 1);
    QCOMPARE(int(answerer.dialogs[0].kind), int(Dialog::Critical));
    QCOMPARE(answerer.dialogs[0].text,
        QStringLiteral("No repositories are configured.\nUnder the Repositories menu, Edit Configuration can "
                       "be used to configure repositories."));

    answerer.clear();
    io->clear();
    QVERIFY2(io->collect({}), qPrintable(answerer.summary()));
}

// Each kind of exception from a long script call gets its own message.
void TestYumIOFailures::scriptFailures_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QString>("exception");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("text");
    // The walkback goes to the log.
    QTest::addColumn<bool>("walkback");

    int const critical = Dialog::Critical, scrollable = Dialog::Scrollable;
    QTest::newRow("I/O error")
        << "collectUpdates"
        << "OSError(2, 'No such file or directory')" << critical
        << "Unable to collect updatable packages: I/O Error: [Errno 2] No such file or "
           "directory\n\nEmitting a walkback to the Log window."
        << true;
    QTest::newRow("interrupt")
        << "collectAll"
        << "KeyboardInterrupt()" << critical
        << "Unable to collect installed and available packages: KeyboardInterrupt\n\nThis "
           "usually means SORVAN was sent signal SIGINT, SIGTERM, or similar.\n\nBut "
           "urlgrabber also can raise this error for several situations where it is just "
           "guessing.\nSo, emitting a walkback to the Log window."
        << true;
    QTest::newRow("assertion")
        << "setupTs"
        << "AssertionError('broken')" << critical
        << "Internal error: python assertion failed\nWhen reporting this issue, please "
           "include the contents of the\nLog window, which should contain a walkback."
        << true;
    QTest::newRow("no more mirrors")
        << "collectUpdates"
        << "yum.Errors.NoMoreMirrorsRepoError('All mirrors were tried')" << critical
        << "Unable to collect updatable packages: metadata unavailable from all repo "
           "mirrors:\nAll mirrors were tried"
        << false;
    QTest::newRow("locked database")
        << "collectAll"
        << "sqlite3.OperationalError('database is locked')" << scrollable
        << "Unable to collect installed and available packages: a repository's sqlite "
           "database was locked unexpectedly\nOn some distributions, PackageKit has "
           "been known to cause this."
        << false;
    QTest::newRow("repository error")
        << "setupTs"
        << "yum.Errors.RepoError('odd')" << critical
        << "Internal error: python exception occurred from C code.\nWhen reporting "
           "this issue, please include the contents of the\nLog window, which should "
           "contain a walkback."
        << true;
    QTest::newRow("engine error") << "collectUpdates"
                                  << "yum.Errors.YumBaseError('Depsolving failed')" << scrollable
                                  << "Depsolving failed\nUnable to collect updatable packages" << false;
    QTest::newRow("groups") << "setupTsGroup"
                            << "yum.Errors.GroupsError('comps.xml is broken')" << critical
                            << "Internal error: execution of yumIO.setupTsGroup failed" << false;
    QTest::newRow("unexpected") << "collectGroupInfo"
                                << "ValueError('odd')" << critical
                                << "Internal error: execution of yumIO.collectGroupInfo failed" << true;
}

void TestYumIOFailures::scriptFailures()
{
    QFETCH(QString, method);
    QFETCH(QString, exception);
    QFETCH(int, kind);
    QFETCH(QString, text);
    QFETCH(bool, walkback);
    io->clear();
    qsizetype const logStart = [&] {
        QMutexLocker locker(&io->logEntries().mutex);
        return io->logEntries().entries.size();
    }();
    QVERIFY(failOnce(method, exception));
    QVERIFY(!io->collect({}));
    QVERIFY2(!answerer.dialogs.isEmpty(), "no message");
    Dialog const& d = answerer.dialogs.last();
    QCOMPARE(int(d.kind), kind);
    QCOMPARE(d.title, QStringLiteral("SORVAN Yum Error"));
    QCOMPARE(d.text, text);
    QCOMPARE(io->count(), 0);
    bool traced = false;
    {
        QMutexLocker locker(&io->logEntries().mutex);
        QList<Log::Entry> const& entries = io->logEntries().entries;
        for (qsizetype i = logStart; i < entries.size(); ++i)
            traced = traced || entries[i].text.startsWith(QLatin1String("Traceback (most recent call last)"));
    }
    QCOMPARE(traced, walkback);

    // The next collection works.
    answerer.clear();
    io->clear();
    QVERIFY2(io->collect({}), qPrintable(answerer.summary()));
    QCOMPARE(io->count(), 31);
}

// A failed load of the file lists is reported, leaves them unloaded, and
// is tried again only when asked for again.
void TestYumIOFailures::extraDataFailure()
{
    QSignalSpy loaded(io, &YumIO::collectedExtraData);
    QVERIFY(failOnce(
        QStringLiteral("collectFileLists"), QStringLiteral("yum.Errors.YumBaseError('no file lists')")));
    QVERIFY(!io->collectFileLists());
    QCOMPARE(answerer.dialogs.size(), 1);
    QCOMPARE(answerer.dialogs[0].text, QStringLiteral("no file lists\nUnable to collect filelists"));
    QVERIFY(!io->fileListsLoaded());
    QCOMPARE(loaded.count(), 0);
    QVERIFY(!itemBar->isEnabled());

    // The details do not start the failed load again by themselves.
    Package::Entry const* app = nullptr;
    for (Package::Entry const* e : *io)
        if (e->name == QLatin1String("sv-app"))
            app = e;
    QVERIFY(app);
    QCOMPARE(io->getFiles(*app), QStringList());
    QVERIFY(!io->fileListsLoaded());
    QCOMPARE(answerer.dialogs.size(), 1);

    QVERIFY(io->collectFileLists());
    QVERIFY(io->fileListsLoaded());
    QCOMPARE(loaded.count(), 1);
    QCOMPARE(io->getFiles(*app), QStringList({ QStringLiteral("/usr/bin/sv-app") }));
}

// A field that is not text is a warning and an empty text; the collection
// goes on.
void TestYumIOFailures::oddTextsWarn()
{
    QVERIFY(pyRun(QStringLiteral("import sorvanyum.packages as _sv_packages\n"
                                 "_sv_returnSimple = _sv_packages.Package.returnSimple\n"
                                 "def _sv_odd(self, field):\n"
                                 "    if self.name == 'sv-app' and field == 'summary':\n"
                                 "        return 5\n"
                                 "    if self.name == 'sv-calc' and field == 'repoid':\n"
                                 "        return None\n"
                                 "    return _sv_returnSimple(self, field)\n"
                                 "_sv_packages.Package.returnSimple = _sv_odd\n")));
    io->clear();
    bool const ok = io->collect({});
    QVERIFY(pyRun(QStringLiteral("_sv_packages.Package.returnSimple = _sv_returnSimple\n")));
    QVERIFY(ok);
    QCOMPARE(answerer.dialogs.size(), 1);
    QCOMPARE(int(answerer.dialogs[0].kind), int(Dialog::Warning));
    QCOMPARE(answerer.dialogs[0].title, QStringLiteral("SORVAN Yum Warning"));
    QCOMPARE(
        answerer.dialogs[0].text, QStringLiteral("Internal error: YumIO::pyString did not understand type"));
    QCOMPARE(io->count(), 31);
    for (Package::Entry const* e : *io) {
        if (e->name == QLatin1String("sv-app"))
            QCOMPARE(e->summary, QString());
        // None is simply no text.
        if (e->name == QLatin1String("sv-calc"))
            QCOMPARE(e->repo, QString());
    }
}

QTEST_MAIN(TestYumIOFailures)
#include "tst_yumiofailures.moc"
