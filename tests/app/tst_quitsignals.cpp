// The real program asked to end by a signal, as a desktop session or an
// administrator's kill does: it quits cleanly and releases its root.
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <csignal>
#include <sys/file.h>

class TestQuitSignals : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // SIGTERM is the staged program's, in the desktop checks.
    void quits_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGINT") << int(SIGINT);
        QTest::newRow("SIGHUP") << int(SIGHUP);
    }
    void quits()
    {
        QFETCH(int, signal);
        QTemporaryDir dir;
        QString const root = dir.filePath("root");
        QCOMPARE(QProcess::execute("/usr/bin/python3",
                     { "-I", qEnvironmentVariable("SORVAN_SOURCE_DIR") + "/tools/sandbox/sandbox.py", "clone",
                         qEnvironmentVariable("SORVAN_BINARY_DIR") + "/sandbox", root }),
            0);

        QProcess sorvan;
        qputenv("SORVANROOT", root.toLocal8Bit());
        sorvan.start(qEnvironmentVariable("SORVAN_EXE"));
        QVERIFY(sorvan.waitForStarted());
        // The session holds its lock once the packages are collected.
        QFile lock(root + "/var/run/sorvan.pid");
        auto locked = [&] {
            bool const ours = lock.open(QIODevice::ReadOnly)
                && lock.readAll().trimmed().toLongLong() == sorvan.processId();
            lock.close();
            return ours;
        };
        QTRY_VERIFY_WITH_TIMEOUT(locked(), 120000);

        ::kill(pid_t(sorvan.processId()), signal);
        QVERIFY(sorvan.waitForFinished(60000));
        QVERIFY2(sorvan.exitStatus() == QProcess::NormalExit && sorvan.exitCode() == 0,
            sorvan.readAllStandardError().right(8000).constData());
        // Released: another process takes the lock at once.
        QVERIFY(lock.open(QIODevice::ReadWrite));
        QCOMPARE(::flock(lock.handle(), LOCK_EX | LOCK_NB), 0);
    }
};

QTEST_MAIN(TestQuitSignals)
#include "tst_quitsignals.moc"
