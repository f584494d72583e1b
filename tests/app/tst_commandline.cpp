// The command line, seen from outside (messages, usage text and exit status
// of the real program) and from inside (what each option does to the window).
#include "app/MainWindow.h"
#include "app/Startup.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QTemporaryDir>
#include <QtTest>

namespace
{
QString const usageText
    = QStringLiteral("usage: %1 [options...]\n"
                     "\n"
                     "SORVAN, Quorvel, is a graphical user interface which allows a user\n"
                     "to make modifications to the installed rpm packages on a system.\n"
                     "\n"
                     "options:\n"
                     "\n"
                     "   -h, -H, --help           display this help information\n"
                     "   -m m,   --mode=m         start with the package table mode, m:\n"
                     "                               filter, search\n"
                     "   -e r,   --regexp=r       start with the package table regexp, r\n"
                     "   -s s,   --state=s        start with the package table state, s:\n"
                     "                               updatable, installable, removable, all\n"
                     "   -d,     --duplicates     start with the package table omitting duplicates\n"
                     "   -g,     --groups         start with the package table showing groups\n"
                     "   -r,     --repo-editor    start by bringing up the repository configuration\n"
                     "                            editor\n"
                     "   -l,     --log            start with the log window displayed\n"
                     "           --disablerepo=r  disable the specified repository, r\n"
                     "           --enablerepo=r   enable the specified repository, r\n"
                     "\n");

struct Run {
    int status;
    QByteArray out;
    QByteArray err;
};

Run runProgram(QString const& exe, QStringList const& args)
{
    QProcess process;
    process.start(exe, args);
    if (!process.waitForFinished(60000)) {
        process.kill();
        process.waitForFinished();
        return { -1, {}, "did not finish" };
    }
    return { process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -2,
        process.readAllStandardOutput(), process.readAllStandardError() };
}

// Runs the option parser on a fresh window, as start-up does.
int parse(MainWindow& window, QStringList const& args)
{
    QList<QByteArray> storage;
    storage.append("sorvan");
    for (QString const& arg : args)
        storage.append(arg.toLocal8Bit());
    QVector<char*> argv;
    for (QByteArray& arg : storage)
        argv.append(arg.data());
    argv.append(nullptr);
    return Startup::parseCommandLine(int(storage.size()), argv.data(), window);
}
} // namespace

class TestCommandLine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rejectedAndHelp_data();
    void rejectedAndHelp();
    void programNameFromArgv0();
    void effectOnWindow_data();
    void effectOnWindow();
    void repoRequestsKeepOrder();

private:
    QString exe() const { return qEnvironmentVariable("SORVAN_EXE"); }
};

void TestCommandLine::rejectedAndHelp_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QString>("message");

    QTest::newRow("-h") << QStringList { "-h" } << QString();
    QTest::newRow("-H") << QStringList { "-H" } << QString();
    QTest::newRow("--help") << QStringList { "--help" } << QString();
    QTest::newRow("help after valid options") << QStringList { "-g", "--state=all", "--help" } << QString();
    QTest::newRow("-d is listed but rejected")
        << QStringList { "-d" } << "sorvan: unrecognized option letter: d\n";
    QTest::newRow("unknown letter") << QStringList { "-x" } << "sorvan: unrecognized option letter: x\n";
    QTest::newRow("-m without value") << QStringList { "-m" } << "sorvan: unrecognized option letter: m\n";
    QTest::newRow("--mode without value")
        << QStringList { "--mode" } << "sorvan: unrecognized option letter: m\n";
    QTest::newRow("-e without value")
        << QStringList { "-g", "-e" } << "sorvan: unrecognized option letter: e\n";
    QTest::newRow("--enablerepo without value")
        << QStringList { "--enablerepo" } << "sorvan: unrecogized option: --enablerepo\n";
    QTest::newRow("unknown long option")
        << QStringList { "--foo=bar" } << "sorvan: unrecogized option: --foo=bar\n";
    QTest::newRow("unknown mode") << QStringList { "--mode=x" }
                                  << "sorvan: unrecogized argument to -m/--mode option: x\n";
    QTest::newRow("mode longer than keyword")
        << QStringList { "-m", "searchx" } << "sorvan: unrecogized argument to -m/--mode option: searchx\n";
    QTest::newRow("state longer than keyword")
        << QStringList { "--state=allx" } << "sorvan: unrecogized argument to -s/--state option: allx\n";
    QTest::newRow("state case matters")
        << QStringList { "-s", "All" } << "sorvan: unrecogized argument to -s/--state option: All\n";
    QTest::newRow("left-over argument")
        << QStringList { "extra" } << "sorvan: unrecognized argument: extra\n";
    QTest::newRow("after --") << QStringList { "-g", "--", "-l" } << "sorvan: unrecognized argument: -l\n";
    QTest::newRow("options after the first argument are not parsed")
        << QStringList { "-g", "left", "--bogus" } << "sorvan: unrecognized argument: left\n";
}

void TestCommandLine::rejectedAndHelp()
{
    QFETCH(QStringList, args);
    QFETCH(QString, message);
    Run const run = runProgram(exe(), args);
    QCOMPARE(run.status, 1);
    QCOMPARE(QString::fromLocal8Bit(run.err), message);
    QCOMPARE(QString::fromLocal8Bit(run.out), usageText.arg(QStringLiteral("sorvan")));
}

void TestCommandLine::programNameFromArgv0()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    QString const link = dir.filePath(QStringLiteral("pkg-tool"));
    QVERIFY(QFile::link(exe(), link));
    Run const run = runProgram(link, { QStringLiteral("-x") });
    QCOMPARE(run.status, 1);
    QCOMPARE(QString::fromLocal8Bit(run.err), QStringLiteral("pkg-tool: unrecognized option letter: x\n"));
    QVERIFY(run.out.startsWith("usage: pkg-tool [options...]\n"));
}

void TestCommandLine::effectOnWindow_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("buttonText");
    QTest::addColumn<int>("state");
    QTest::addColumn<QString>("regexp");
    QTest::addColumn<bool>("dups");
    QTest::addColumn<bool>("groups");
    QTest::addColumn<bool>("log");
    QTest::addColumn<bool>("repoEditor");

    QTest::newRow("defaults") << QStringList {} << 0 << "Filter" << 0 << ".*" << true << false << false
                              << false;
    QTest::newRow("prefixes") << QStringList { "--state=al", "--groups", "--mode=s" } << 1 << "Search" << 3
                              << ".*" << true << true << false << false;
    QTest::newRow("empty keywords pick the first")
        << QStringList { "-m", "search", "-s", "all", "--mode=", "--state=" } << 0 << "Filter" << 0 << ".*"
        << true << false << false << false;
    QTest::newRow("short forms") << QStringList { "-m", "search", "-s", "inst", "-e", "^kernel", "-g", "-l",
        "-r" } << 1 << "Search" << 1
                                 << "^kernel" << true << true << true << true;
    QTest::newRow("whole keywords") << QStringList { "--mode=filter", "--state=removable", "--duplicates" }
                                    << 0 << "Filter" << 2 << ".*" << false << false << false << false;
    QTest::newRow("regexp verbatim, even option-like")
        << QStringList { "-e", "--log", "--regexp=a b|c" } << 0 << "Filter" << 0 << "a b|c" << true << false
        << false << false;
    QTest::newRow("empty regexp") << QStringList { "--regexp=" } << 0 << "Filter" << 0 << "" << true << false
                                  << false << false;
}

void TestCommandLine::effectOnWindow()
{
    QFETCH(QStringList, args);
    MainWindow window;
    QCOMPARE(parse(window, args), -1);

    QFETCH(int, mode);
    QFETCH(QString, buttonText);
    QFETCH(int, state);
    QFETCH(QString, regexp);
    QFETCH(bool, dups);
    QFETCH(bool, groups);
    QCOMPARE(window.findChild<QComboBox*>(QStringLiteral("modeBox"))->currentIndex(), mode);
    QCOMPARE(window.findChild<QPushButton*>(QStringLiteral("filterButton"))->text(), buttonText);
    QCOMPARE(window.findChild<QComboBox*>(QStringLiteral("stateBox"))->currentIndex(), state);
    QCOMPARE(window.findChild<QLineEdit*>(QStringLiteral("regexpEdit"))->text(), regexp);
    QCOMPARE(window.findChild<QCheckBox*>(QStringLiteral("dupsCheck"))->isChecked(), dups);
    QCOMPARE(window.findChild<QCheckBox*>(QStringLiteral("groupsCheck"))->isChecked(), groups);
    QTEST(window.startLog, "log");
    QTEST(window.startRepoEditor, "repoEditor");
}

void TestCommandLine::repoRequestsKeepOrder()
{
    MainWindow window;
    QCOMPARE(parse(window, { "--disablerepo=a", "--enablerepo=a", "--disablerepo", "te*" }), -1);
    QCOMPARE(window.repoRequests.size(), 3);
    QCOMPARE(window.repoRequests[0].enable, false);
    QCOMPARE(window.repoRequests[0].pattern, QStringLiteral("a"));
    QCOMPARE(window.repoRequests[1].enable, true);
    QCOMPARE(window.repoRequests[1].pattern, QStringLiteral("a"));
    QCOMPARE(window.repoRequests[2].enable, false);
    QCOMPARE(window.repoRequests[2].pattern, QStringLiteral("te*"));
}

QTEST_MAIN(TestCommandLine)
#include "tst_commandline.moc"
