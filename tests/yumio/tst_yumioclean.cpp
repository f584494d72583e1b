// Cleaning the engine's caches on a copy of the sandbox's root: what each
// command removes from the root's cache directory, and what it leaves.
#include "SessionTestSupport.h"
#include "widgets/HProgressBar.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

using namespace SessionTest;

class TestYumIOClean : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;
    QString cache;
    QWidget* window = nullptr;
    YumIO* io = nullptr;
    DialogAnswerer answerer;

    // Counts of the cache's files of each kind: "xml solv rpm".
    QString kinds() const
    {
        int xml = 0, solv = 0, rpm = 0;
        for (QDirIterator it(cache, QDir::Files, QDirIterator::Subdirectories); it.hasNext();) {
            QString const name = it.next();
            xml += name.contains(".xml");
            solv += name.endsWith(".solv") || name.endsWith(".solvx");
            rpm += name.endsWith(".rpm");
        }
        return QStringLiteral("%1 %2 %3").arg(xml > 0).arg(solv > 0).arg(rpm > 0);
    }
    // A full cache again: metadata and solver files from a collection, and
    // a downloaded package.
    void fill()
    {
        io->clear();
        QVERIFY2(io->collect({}), qPrintable(answerer.summary()));
        QDir repoCache(cache);
        QString const base = repoCache.entryList({ "sv-base-*" }, QDir::Dirs).value(0);
        QVERIFY(!base.isEmpty());
        QVERIFY(repoCache.mkpath(base + "/packages"));
        QFile planted(cache + '/' + base + "/packages/sv-app-1.0-1.x86_64.rpm");
        QVERIFY(planted.open(QIODevice::WriteOnly));
        QCOMPARE(kinds(), "1 1 1");
    }

private Q_SLOTS:
    void initTestCase()
    {
        QString const root = dir.filePath("root");
        QString const failure = sandbox("clone", { root });
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        cache = root + "/var/cache/dnf";
        qputenv("SORVANROOT", root.toLocal8Bit());
        window = new QWidget;
        io = new YumIO;
        io->setup(window, new HProgressBar(window), new HProgressBar(window));
        QVERIFY(io->initialize());
    }
    void cleanupTestCase()
    {
        if (io)
            io->clearEntriesBeforeQuit();
        delete io;
        delete window;
    }

    void members_data()
    {
        columns<int, QString, QString>("member", "left", "logged");
        row("headers", 0, "1 1 1", "Cleaning Headers");
        row("packages", 1, "1 1 0", "Cleaning Packages");
        row("XML metadata", 2, "0 1 1", "Cleaning Xml Metadata");
        row("pickled data", 3, "1 1 1", "Cleaning Pickled Cache");
        row("sqlite data", 4, "1 0 1", "Cleaning Sqlite Cache");
        row("all", 5, "0 0 0", "Cleaning All");
    }
    void members()
    {
        QFETCH(int, member);
        QFETCH(QString, left);
        fill();
        static bool (YumIO::*const cleaners[])() = { &YumIO::cleanHeaders, &YumIO::cleanPackages,
            &YumIO::cleanXmlMetadata, &YumIO::cleanPickledCache, &YumIO::cleanSqliteCache, &YumIO::cleanAll };
        qsizetype const from = logged(io).size();
        QVERIFY((io->*cleaners[member])());
        QCOMPARE(kinds(), left);
        QTEST(logged(io, from).value(0).text, "logged");
        QCOMPARE(logged(io, from).value(0).kind, Log::Action);
        QVERIFY(answerer.dialogs.isEmpty());
    }

    // One kind failing does not keep cleanAll from the others; what failed is
    // in the report.
    void cleanAllGoesOnPastAFailure()
    {
        fill();
        QVERIFY(pyRun(QStringLiteral("original = YumIO.cleanPackages\n"
                                     "def failing(self):\n"
                                     "    YumIO.cleanPackages = original\n"
                                     "    return 1, ['Unable to remove a package: Permission denied']\n"
                                     "YumIO.cleanPackages = failing\n")));
        QVERIFY(!io->cleanAll());
        QCOMPARE(kinds(), "0 0 1");
        QVERIFY2(io->cleanMessages().contains("Unable to remove a package: Permission denied"),
            qPrintable(io->cleanMessages().join('|')));
    }

    // A dnf busy with the cache: nothing removed, and the report names the cache.
    void cacheInUse()
    {
        fill();
        LockHolder holder(LockHolder::dnf("build_download_lock"), cache);
        QVERIFY(holder.holds());
        QVERIFY(!io->cleanPackages());
        holder.release();
        QCOMPARE(kinds(), "1 1 1");
        QVERIFY2(io->cleanMessages().join('|').contains(cache), qPrintable(io->cleanMessages().join('|')));
    }
};

QTEST_MAIN(TestYumIOClean)
#include "tst_yumioclean.moc"
