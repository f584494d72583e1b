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

class TestCommandLine : public QObject
{
    Q_OBJECT

    // Runs the program under another name, which its messages must use; fails
    // the test unless it exits with status 1 and the usage text.
    QString rejectedBy(QStringList const& args, QProcessEnvironment const& environment)
    {
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(dir.filePath("pkg-tool"), args);
        if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit
            || process.exitCode() != 1)
            return "did not exit with status 1";
        QString const usage = QString::fromLocal8Bit(process.readAllStandardOutput());
        if (!usage.startsWith("usage: pkg-tool [options...]\n") || !usage.contains("--enablerepo=r"))
            return "no usage text";
        return QString::fromLocal8Bit(process.readAllStandardError());
    }

    QTemporaryDir dir;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(QFile::link(qEnvironmentVariable("SORVAN_EXE"), dir.filePath("pkg-tool")));
    }

    void rejectedAndHelp_data()
    {
        columns<QString, bool, QString>("args", "display", "message"); // args split at blanks
        row("help", "-H", true, "");
        row("help without display", "-g -s all --hel", false, "");
        row("option letter", "-d", true, "pkg-tool: unrecognized option letter: d\n");
        row("missing argument", "-g --mode", true, "pkg-tool: unrecognized option letter: m\n");
        row("missing argument of a long option", "--enablerepo", true,
            "pkg-tool: unrecogized option: --enablerepo\n");
        row("mode", "--mode=x", true, "pkg-tool: unrecogized argument to -m/--mode option: x\n");
        row("state", "--state=allx", true, "pkg-tool: unrecogized argument to -s/--state option: allx\n");
        row("argument", "-g left --bogus", true, "pkg-tool: unrecognized argument: left\n");
        // Without a display, what is no help still needs one.
        row("regexp --help without display", "-e --help", false, "did not exit with status 1");
    }
    void rejectedAndHelp()
    {
        QFETCH(QString, args);
        QFETCH(bool, display);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        if (!display) {
            for (char const* name : { "QT_QPA_PLATFORM", "DISPLAY", "WAYLAND_DISPLAY" })
                environment.remove(name);
        }
        QTEST(rejectedBy(args.split(' '), environment), "message");
    }

    void effectOnWindow_data()
    {
        // effect: mode, filter button, state, regexp, duplicates, groups, log, repository editor
        columns<QString, QString, QString>("args", "effect", "repoRequests");
        row("prefixes", "--state=al --groups --mode=s --dup", "1 Search 3 .* 0 1 0 0", "");
        row("empty keywords pick the first", "-m search -s all --mode= --state=", "0 Filter 0 .* 1 0 0 0",
            "");
        row("short forms", "-m search -s inst -e ^kernel -g -l -r", "1 Search 1 ^kernel 1 1 1 1", "");
        row("repositories in order", "--disablerepo=a --enablerepo=a --disablerepo te*",
            "0 Filter 0 .* 1 0 0 0", "-a +a -te*");
    }
    void effectOnWindow()
    {
        QFETCH(QString, args);
        QByteArrayList storage = ("sorvan " + args).toLocal8Bit().split(' ');
        QList<char*> argv;
        for (QByteArray& arg : storage)
            argv << arg.data();
        MainWindow window;
        QCOMPARE(Startup::parseCommandLine(int(argv.size()), argv.data(), window), -1);
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
