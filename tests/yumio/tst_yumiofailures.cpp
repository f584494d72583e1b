// How the session fails: at start-up, on a lock held elsewhere, without
// usable repositories, and on every kind of exception the engine raises.
// Each failure ends in one message that says what went wrong, and the
// session stays usable.
#include "SessionTestSupport.h"
#include "widgets/HProgressBar.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

using namespace SessionTest;

static QString const error = "SORVAN Yum Error: ";

class TestYumIOFailures : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;
    QString root;
    QWidget* window = nullptr;
    HProgressBar* itemBar = nullptr;
    YumIO* io = nullptr;
    DialogAnswerer answerer;

    // The interpreter took its environment at start: tell it directly.
    bool switchRoot(QString const& path)
    {
        return pyRun(QStringLiteral("import os\nos.environ['SORVANROOT'] = '%1'\n").arg(path));
    }
    // Makes the script's method raise `exception` (a Python expression)
    // once, after running `before` (Python statements).
    bool failOnce(QString const& method, QString const& exception, QString const& before = QString())
    {
        return pyRun(QStringLiteral("import yumIOC, yum.Errors, sqlite3\n"
                                    "def _sv_fail_once(name, original):\n"
                                    "    def failing(self, *args):\n"
                                    "        setattr(YumIO, name, original)\n"
                                    "%3"
                                    "        raise %2\n"
                                    "    return failing\n"
                                    "YumIO.%1 = _sv_fail_once('%1', YumIO.%1)\n")
                         .arg(method, exception, before));
    }
    int lastKind() const { return answerer.dialogs.isEmpty() ? -1 : int(answerer.dialogs.last().kind); }
    // A collection from scratch that works again after a failure.
    bool recovers(QHash<QString, bool> const& enables = {})
    {
        answerer.clear();
        io->clear();
        return io->collect(enables) && io->count() == 31 && answerer.dialogs.isEmpty();
    }

private Q_SLOTS:
    void initTestCase()
    {
        root = dir.filePath("root");
        QString const failure = sandbox("clone", { root });
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        window = new QWidget;
        itemBar = new HProgressBar(window);
        io = new YumIO;
        io->setup(window, new HProgressBar(window), itemBar);

        // A root that is not there: the script cannot make its session and
        // exits, which is one message, and no session.
        QString const missing = dir.filePath("missing");
        qputenv("SORVANROOT", missing.toLocal8Bit());
        QVERIFY(!io->initialize());
        QCOMPARE(answerer.dialogs.size(), 1);
        QCOMPARE(lastKind(), int(Dialog::Scrollable));
        QVERIFY2(answerer.summary().startsWith(error) && answerer.summary().contains(missing)
                && answerer.summary().endsWith("\nUnable to initialize"),
            qPrintable(answerer.summary()));
        QVERIFY(!io->collect({}));
        // Started again on a real root, the session works.
        QVERIFY(switchRoot(root));
        QVERIFY2(io->initialize(), qPrintable(answerer.summary()));
    }
    void cleanupTestCase()
    {
        if (io)
            io->clearEntriesBeforeQuit();
        delete io;
        delete window;
    }
    void init() { answerer.clear(); }

    // First of all: the session has not locked its root yet.
    void lockHeldElsewhere()
    {
        QVERIFY(!io->isLocked());
        // Another SORVAN on the same root, as the lock file sees it.
        LockHolder holder(QStringLiteral("import fcntl, os, sys\npath = sys.argv[1]\n"
                                         "os.makedirs(os.path.dirname(path), exist_ok=True)\n"
                                         "fd = os.open(path, os.O_RDWR | os.O_CREAT, 0o644)\n"
                                         "fcntl.flock(fd, fcntl.LOCK_EX)\nos.ftruncate(fd, 0)\n"
                                         "os.write(fd, b'%d\\n' % os.getpid())"),
            root + "/var/run/sorvan.pid");
        QVERIFY(holder.holds());

        QVERIFY(!io->collect({}));
        QCOMPARE(answerer.dialogs.size(), 1);
        QCOMPARE(lastKind(), int(Dialog::Scrollable));
        QString const text = answerer.summary();
        QVERIFY2(text.startsWith(error) && text.endsWith("\nUnable to obtain yum lock"), qPrintable(text));
        // Who holds it.
        QVERIFY2(text.contains(QString::number(holder.pid())), qPrintable(text));
        QCOMPARE(io->count(), 0);
        QVERIFY(!io->isLocked());
        QVERIFY(!itemBar->isEnabled());

        holder.release();
        answerer.clear();
        QVERIFY2(io->collect({}), qPrintable(answerer.summary()));
        QVERIFY(io->isLocked());
        // A repository id the engine does not know is no business of the session.
        QVERIFY2(recovers({ { "no-such-repo", true } }), qPrintable(answerer.summary()));
    }

    void noRepositories()
    {
        io->clear();
        QVERIFY(!io->collect({ { "sv-base", false }, { "sv-updates", false }, { "sv-mirrored", false } }));
        QCOMPARE(lastKind(), int(Dialog::Critical));
        QVERIFY2(answerer.summary().startsWith(error + "No repositories are enabled."),
            qPrintable(answerer.summary()));
        QCOMPARE(io->count(), 0);
        QVERIFY(!itemBar->isEnabled());

        QString const bare = dir.filePath("bare");
        QString const failure = sandbox("clone", { bare });
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        QDir repos(bare + "/etc/yum.repos.d");
        for (QString const& file : repos.entryList({ "*.repo" }, QDir::Files))
            QVERIFY(repos.remove(file));
        QVERIFY(switchRoot(bare));
        answerer.clear();
        io->clear();
        bool const collected = io->collect({});
        QVERIFY(switchRoot(root));
        QVERIFY(!collected);
        QCOMPARE(lastKind(), int(Dialog::Critical));
        QVERIFY2(answerer.summary().startsWith(error + "No repositories are configured."),
            qPrintable(answerer.summary()));
        QVERIFY(recovers());
    }

    // An enabled repository that cannot be reached, not disabled when the
    // user is asked: the engine's own error lines of the failed call and the
    // summary, in one box; detail lines (level 3 and up) stay in the log.
    void unreachableRepository()
    {
        io->clear();
        QVERIFY(failOnce("setupRepos", "original(self, *args) or None",
            QStringLiteral("        yumIOC.errorlog(3, 'a detail of the failure')\n"
                           "        yumIOC.errorlog(0, 'an error before the failure')\n")));
        answerer.answer = QStringLiteral("&Cancel");
        bool const collected = io->collect({ { "sv-unreachable", true } });
        answerer.answer.clear();
        QVERIFY(!collected);
        QCOMPARE(answerer.dialogs.size(), 2);
        Dialog const question = answerer.dialogs.takeFirst();
        QVERIFY2(question.kind == Dialog::Warning && question.text.contains("sv-unreachable"),
            qPrintable(question.text));
        QCOMPARE(lastKind(), int(Dialog::Scrollable));
        QString const text = answerer.summary();
        QVERIFY2(text.startsWith(error + "an error before the failure\n")
                && text.endsWith("\nUnable to initialize") && text.contains("sv-unreachable")
                && !text.contains("a detail"),
            qPrintable(text));
        QCOMPARE(io->count(), 0);
        bool logged = false;
        for (Log::Entry const& e : SessionTest::logged(io))
            logged = logged || (e.text == "a detail of the failure" && e.level == 3);
        QVERIFY(logged);
        QVERIFY2(recovers({ { "sv-unreachable", false } }), qPrintable(answerer.summary()));
    }

    // Without the repository that carries the groups, the collection
    // completes without group entries.
    void noGroupsAvailable()
    {
        io->clear();
        QVERIFY2(io->collect({ { "sv-base", false } }), qPrintable(answerer.summary()));
        QVERIFY(answerer.dialogs.isEmpty());
        QVERIFY(io->count() > 0);
        for (Package::Entry const* e : *io)
            QVERIFY2(e->kind != Package::Group, qPrintable(e->name));
    }

    // Each kind of exception from a long script call gets its own message
    // (here the part that tells it from the others); some leave a walkback
    // in the log.
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
        QFETCH(QString, text);
        io->clear();
        qsizetype const logStart = logged(io).size();
        QVERIFY(failOnce(method, exception));
        QVERIFY(!io->collect({}));
        QTEST(lastKind(), "kind");
        QString const shown = answerer.dialogs.last().title + ": " + answerer.dialogs.last().text;
        QVERIFY2(shown.startsWith(error) && shown.contains(text), qPrintable(answerer.summary()));
        QCOMPARE(io->count(), 0);
        bool traced = false;
        for (Log::Entry const& e : logged(io, logStart))
            traced = traced || e.text.startsWith("Traceback (most recent call last)");
        QTEST(traced, "walkback");
        QVERIFY2(recovers(), qPrintable(answerer.summary()));
    }

    // A failed load of the file lists is reported, leaves them unloaded, and
    // is tried again only when asked for again.
    void extraDataFailure()
    {
        QSignalSpy loaded(io, &YumIO::collectedExtraData);
        QVERIFY(failOnce("collectFileLists", "yum.Errors.YumBaseError('no file lists')"));
        QVERIFY(!io->collectFileLists());
        QCOMPARE(answerer.summary(), error + "no file lists\nUnable to collect filelists");
        QVERIFY(!io->fileListsLoaded());
        QVERIFY(!itemBar->isEnabled());
        Package::Entry const* app = nullptr;
        for (Package::Entry const* e : *io)
            app = e->name == "sv-app" ? e : app;
        QVERIFY(app);
        QCOMPARE(io->getFiles(*app), QStringList());
        QVERIFY(!io->fileListsLoaded());
        QCOMPARE(answerer.dialogs.size(), 1);
        QCOMPARE(loaded.count(), 0);
        QVERIFY(io->collectFileLists());
        QCOMPARE(loaded.count(), 1);
        QCOMPARE(io->getFiles(*app), QStringList("/usr/bin/sv-app"));
    }

    // A field that is not text is a warning and an empty text; None is no
    // text.  The collection goes on.
    void oddTextsWarn()
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
        QVERIFY(pyRun("_sv_packages.Package.returnSimple = _sv_returnSimple\n"));
        QVERIFY(ok);
        QCOMPARE(lastKind(), int(Dialog::Warning));
        QCOMPARE(answerer.summary(),
            "SORVAN Yum Warning: Internal error: YumIO::pyString did not understand type");
        QCOMPARE(io->count(), 31);
        for (Package::Entry const* e : *io) {
            if (e->name == "sv-app")
                QCOMPARE(e->summary, QString());
            if (e->name == "sv-calc")
                QCOMPARE(e->repo, QString());
        }
    }
};

QTEST_MAIN(TestYumIOFailures)
#include "tst_yumiofailures.moc"
