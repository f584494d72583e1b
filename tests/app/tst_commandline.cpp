// The command line, seen from outside (messages, usage text and exit status
// of the real program) and from inside (what each option does to the window).
#include "app/MainWindow.h"
#include "app/Startup.h"
#include "tests/yumio/TestRows.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QTemporaryDir>
#include <QtTest>

namespace
{
// Runs the real program; fails the test unless it exits with status 1 and the usage text.
QString rejectedBy(QString const& program, QStringList const& args,
    QProcessEnvironment const& environment = QProcessEnvironment::systemEnvironment())
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, args);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit
        || process.exitCode() != 1)
        return "did not exit with status 1";
    // The usage text, under the name the program was started by.
    QString const name = QFileInfo(program).fileName();
    QString const usage = QString::fromLocal8Bit(process.readAllStandardOutput());
    if (!usage.startsWith("usage: " + name + " [options...]\n") || !usage.contains("--enablerepo=r"))
        return "no usage text";
    return QString::fromLocal8Bit(process.readAllStandardError()).replace(name, "$0");
}

// Runs the option parser on the window, as start-up does.
int parse(MainWindow& window, QStringList const& args)
{
    QList<QByteArray> storage { "sorvan" };
    for (QString const& arg : args)
        storage << arg.toLocal8Bit();
    QVector<char*> argv;
    for (QByteArray& arg : storage)
        argv << arg.data();
    argv << nullptr;
    return Startup::parseCommandLine(int(storage.size()), argv.data(), window);
}
} // namespace

class TestCommandLine : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rejectedAndHelp_data()
    {
        columns<QString, QString>("args", "message"); // args split at blanks
        auto row = [](char const* args, char const* message) { ::row(args, args, message); };
        row("-h", "");
        row("-H", "");
        row("-g --state=all --help", "");
        row("-d", "$0: unrecognized option letter: d\n");
        row("-m", "$0: unrecognized option letter: m\n");
        row("-g --mode", "$0: unrecognized option letter: m\n");
        row("--enablerepo", "$0: unrecogized option: --enablerepo\n");
        row("--foo=bar", "$0: unrecogized option: --foo=bar\n");
        row("--mode=x", "$0: unrecogized argument to -m/--mode option: x\n");
        row("--state=allx", "$0: unrecogized argument to -s/--state option: allx\n");
        row("-s All", "$0: unrecogized argument to -s/--state option: All\n");
        row("-g -- -l", "$0: unrecognized argument: -l\n");
        row("-g left --bogus", "$0: unrecognized argument: left\n");
    }

    void rejectedAndHelp()
    {
        QFETCH(QString, args);
        QTEST(rejectedBy(qEnvironmentVariable("SORVAN_EXE"), args.split(' ')), "message");
    }

    // Help needs no display; what is no help still needs one.
    void helpWithoutDisplay()
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (char const* name : { "QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY" })
            environment.remove(QLatin1String(name));
        QString const exe = qEnvironmentVariable("SORVAN_EXE");
        QCOMPARE(rejectedBy(exe, { "--help" }, environment), QString());
        QCOMPARE(rejectedBy(exe, { "-g", "-s", "all", "--hel" }, environment), QString());
        QCOMPARE(
            rejectedBy(exe, { "-e", "--help" }, environment), QStringLiteral("did not exit with status 1"));
    }

    void programNameFromArgv0()
    {
        QTemporaryDir dir;
        QString const link = dir.filePath("pkg-tool");
        QVERIFY(QFile::link(qEnvironmentVariable("SORVAN_EXE"), link));
        QCOMPARE(rejectedBy(link, { "-x" }), "$0: unrecognized option letter: x\n");
    }

    void effectOnWindow_data()
    {
        // effect: mode, filter button, state, regexp, duplicates, groups, log, repository editor
        columns<QString, QString, QString>("args", "effect", "repoRequests");
        row("prefixes", "--state=al --groups --mode=s", "1 Search 3 .* 1 1 0 0", "");
        row("empty keywords pick the first", "-m search -s all --mode= --state=", "0 Filter 0 .* 1 0 0 0",
            "");
        row("short forms", "-m search -s inst -e ^kernel -g -l -r", "1 Search 1 ^kernel 1 1 1 1", "");
        row("whole keywords", "--mode=filter --state=removable --duplicates", "0 Filter 2 .* 0 0 0 0", "");
        row("regexp verbatim, even option-like", "-e --log", "0 Filter 0 --log 1 0 0 0", "");
        row("repositories in order", "--disablerepo=a --enablerepo=a --disablerepo te*",
            "0 Filter 0 .* 1 0 0 0", "-a +a -te*");
    }

    void effectOnWindow()
    {
        QFETCH(QString, args);
        MainWindow window;
        QCOMPARE(parse(window, args.split(' ', Qt::SkipEmptyParts)), -1);
        auto child = [&window](char const* name) { return window.findChild<QWidget*>(name); };
        QStringList const effect { QString::number(static_cast<QComboBox*>(child("modeBox"))->currentIndex()),
            static_cast<QPushButton*>(child("filterButton"))->text(),
            QString::number(static_cast<QComboBox*>(child("stateBox"))->currentIndex()),
            static_cast<QLineEdit*>(child("regexpEdit"))->text(),
            QString::number(static_cast<QCheckBox*>(child("dupsCheck"))->isChecked()),
            QString::number(static_cast<QCheckBox*>(child("groupsCheck"))->isChecked()),
            QString::number(window.startLog), QString::number(window.startRepoEditor) };
        QTEST(effect.join(' '), "effect");
        QStringList repos;
        for (YumRepoEnabled const& request : window.repoRequests)
            repos << (request.enable ? "+" : "-") + request.pattern;
        QTEST(repos.join(' '), "repoRequests");
    }
};

QTEST_MAIN(TestCommandLine)
#include "tst_commandline.moc"
