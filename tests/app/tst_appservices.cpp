// The command line, seen from outside (the real program's messages, usage
// text and status) and from inside (each option's effect on the window), the
// style, the fixed font, a detached viewer, and the window's translations.
#include "app/DefaultStyle.h"
#include "app/Execute.h"
#include "app/Fonts.h"
#include "app/MainWindow.h"
#include "app/Startup.h"
#include "tests/yumio/TestRows.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFontDatabase>
#include <QFontInfo>
#include <QLineEdit>
#include <QMenuBar>
#include <QProcess>
#include <QPushButton>
#include <QSettings>
#include <QStyle>
#include <QTemporaryDir>
#include <QTranslator>
#include <QtTest>
#include <cerrno>
#include <sys/wait.h>

namespace
{
QStringList warnings;

void record(QtMsgType, QMessageLogContext const&, QString const& message)
{
    warnings << message;
}
} // namespace

class TestAppServices : public QObject
{
    Q_OBJECT

    // Its messages under another name, if it exits with status 1 and the usage.
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
        // The user's own toolkit settings must not decide the style.
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, dir.path());
        qunsetenv("QT_STYLE_OVERRIDE");
        // A shared-data directory whose German catalogue is damaged.
        QVERIFY(QDir(dir.path()).mkpath("translations"));
        QFile qm(dir.filePath("translations/sorvan_de.qm"));
        QFile built(qEnvironmentVariable("SORVANSHARE") + "/translations/sorvan_de.qm");
        QVERIFY(built.open(QIODevice::ReadOnly) && qm.open(QIODevice::WriteOnly));
        qm.write(built.read(16) + QByteArray(4096, '\xa5'));
    }

    void rejectedAndHelp_data()
    {
        columns<QString, bool, QString>("args", "display", "message"); // args split at blanks
        row("help", "-H", true, "");
        row("help without display", "-g -s all --hel", false, "");
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
    void styleChoice_data()
    {
        columns<QByteArrayList, QString, bool>("args", "source", "chosen");
        row("-style=windows", QByteArrayList { "sorvan", "-style=windows" }, "", true);
        row("-style windows", QByteArrayList { "sorvan", "-g", "-style", "windows" }, "", true);
        row("-stylefoo is not a style", QByteArrayList { "sorvan", "-stylefoo" }, "", false);
        row("environment", QByteArrayList { "sorvan" }, "environment", true);
        // Last: the setting stays.
        row("legacy settings", QByteArrayList { "sorvan" }, "settings", true);
    }
    void styleChoice()
    {
        QFETCH(QByteArrayList, args);
        QFETCH(QString, source);
        QFETCH(bool, chosen);
        if (source == "settings")
            QSettings(QSettings::UserScope, "Trolltech", QString()).setValue("Qt/style", "Windows");
        if (source == "environment")
            qputenv("QT_STYLE_OVERRIDE", "windows");
        QList<char*> argv;
        for (QByteArray& arg : args)
            argv << arg.data();
        DefaultStyle style(int(argv.size()), argv.data());
        qunsetenv("QT_STYLE_OVERRIDE");

        // A user's choice stays; otherwise "plastique", which Qt 6 lacks, becomes Fusion.
        QApplication::setStyle("Windows");
        style.set(*qApp, "plastique");
        QCOMPARE(QApplication::style()->name().toLower(), chosen ? "windows" : "fusion");
    }

    void fixedFont()
    {
        QFont const fixed = Fonts::makeFixed(QFont("DejaVu Sans"));
        QVERIFY(fixed.fixedPitch());
        if (!QFontDatabase::families().contains("DejaVu Sans Mono"))
            QSKIP("DejaVu Sans Mono is not installed");
        // Bitstream Vera is not installed: an alias to another family must not stop the search.
        QCOMPARE(QFontInfo(fixed).family(), "DejaVu Sans Mono");
    }

    void executeDetachesWithoutZombie_data()
    {
        columns<QString>("program");
        row("a viewer", "/bin/sh");
        row("a missing viewer", "/nonexistent/viewer");
    }
    void executeDetachesWithoutZombie()
    {
        QFETCH(QString, program);
        QTemporaryDir dir;
        QString const marker = dir.filePath("ran");
        QByteArray path = program.toLocal8Bit(), c = "-c",
                   script = "sleep 2; echo $PPID > " + marker.toLocal8Bit();
        char* argv[] = { path.data(), c.data(), script.data(), nullptr };
        Execute::execute(nullptr, argv);

        // The intermediate child has been waited for and the viewer is not ours.
        errno = 0;
        QCOMPARE(::waitpid(-1, nullptr, WNOHANG), -1);
        QCOMPARE(errno, ECHILD);
        if (!QFile::exists(program))
            return;
        // It returned while the viewer still runs, and the viewer's parent is not this process.
        QVERIFY(!QFile::exists(marker));
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo(marker).size() > 0, 10000);
        QFile file(marker);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().trimmed().toLongLong() != QCoreApplication::applicationPid());
    }

    // German menus as the built catalogue has them; English, silently, from a damaged one.
    void menus_data()
    {
        columns<bool>("damaged");
        row("German", false);
        row("damaged catalogue", true);
    }
    void menus()
    {
        QFETCH(bool, damaged);
        QStringList const english { "&Program", "&Windows", "&Repositories", "&Cache", "&Help" };
        QStringList expected = english;
        if (!damaged) {
            QTranslator catalogue;
            QVERIFY(catalogue.load(qEnvironmentVariable("SORVANSHARE") + "/translations/sorvan_de.qm"));
            for (QString& text : expected)
                text = catalogue.translate("MainWindow", text.toUtf8().constData());
            QVERIFY(!expected.contains(QString()) && expected != english);
        }

        QLocale::setDefault(QLocale("de_DE"));
        QByteArray const share = qgetenv("SORVANSHARE");
        if (damaged)
            qputenv("SORVANSHARE", dir.path().toLocal8Bit());
        warnings.clear();
        QtMessageHandler const previous = qInstallMessageHandler(record);
        Startup::installTranslations(*qApp);
        qputenv("SORVANSHARE", share);
        QStringList menus;
        {
            MainWindow window;
            for (QAction* menu : window.menuBar()->actions())
                menus << menu->text();
        }
        qInstallMessageHandler(previous);
        // The next case starts in English.
        qDeleteAll(qApp->findChildren<QTranslator*>());
        QCOMPARE(menus, expected);
        QVERIFY2(warnings.isEmpty(), qPrintable(warnings.join(u'\n')));
    }
};

QTEST_MAIN(TestAppServices)
#include "tst_appservices.moc"
