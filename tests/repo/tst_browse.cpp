// Browsing a repository: the shared-data scripts "webbrowser" and
// "mimeviewer" as processes, and RepoBrowse through them with the program's
// runner.  A browser cannot run here: a stand-in xdg-open records who ran it
// and with what, or fails as a missing browser would.
#include "app/Share.h"
#include "repo/RepoBrowse.h"
#include "tests/yumio/SessionTestSupport.h"
#include "widgets/HProgressBar.h"

#include <QApplication>
#include <QMessageBox>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <unistd.h>

namespace
{
QString const url = "https://h/buffet?u=me&p=s3cret&path=/a b$c/";
} // namespace

class TestBrowse : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;
    QString tools; // what the scripts need of the system, and nothing else
    QString opener; // the stand-in xdg-open
    QString record;

    static bool root() { return ::geteuid() == 0; }

    // The record of the last opening: the opener's uid, then its arguments.
    QStringList recorded() const
    {
        QFile file(record);
        return file.open(QIODevice::ReadOnly)
            ? QString::fromLocal8Bit(file.readAll()).split('\n', Qt::SkipEmptyParts)
            : QStringList();
    }

private Q_SLOTS:
    void initTestCase()
    {
        tools = dir.filePath("tools");
        opener = dir.filePath("opener");
        record = dir.filePath("out/record");
        // The desktop user must reach the stand-in and leave its record.
        for (auto [path, mode] :
            { std::pair { tools, 0755 }, { opener, 0755 }, { dir.filePath("out"), 01777 } })
            QVERIFY(QDir().mkpath(path) && ::chmod(QFile::encodeName(path).constData(), mode) == 0);
        QVERIFY(::chmod(QFile::encodeName(dir.path()).constData(), 0755) == 0);
        for (char const* tool : { "id", "getent", "cut", "setpriv", "runuser", "env" }) {
            QString const path = QStandardPaths::findExecutable(tool);
            QVERIFY(path.isEmpty() || QFile::link(path, tools + '/' + tool));
        }
        QFile xdgOpen(opener + "/xdg-open");
        QVERIFY(xdgOpen.open(QIODevice::WriteOnly)
            && xdgOpen.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner
                | QFileDevice::ReadOther | QFileDevice::ExeOther));
        xdgOpen.write(
            "#!/bin/sh\n"
            "case $1 in *fail*) echo \"xdg-open: no method available for opening '$1'\" >&2; exit 3;; esac\n"
            "{ id -u; printf '%s\\n' \"$@\"; } > "
            + QFile::encodeName(record) + "\n");
        xdgOpen.close();
        QVERIFY(QFile(dir.filePath("manual.pdf")).open(QIODevice::WriteOnly));
    }
    void init() { QFile::remove(record); }

    void scripts_data()
    {
        // uid: the opener's, -1 when none may run; a root-only row is skipped
        // for an ordinary user, for whom the scripts open as themselves.
        columns<QString, QStringList, QStringList, bool, int, int, QString>(
            "script", "arguments", "environment", "onPath", "exitCode", "uid", "error");
        QString const pdf = dir.filePath("manual.pdf");
        row("webbrowser as the sudo user", "webbrowser", QStringList { url },
            QStringList { "SUDO_UID=65534" }, true, 0, 65534, "");
        row("pkexec's user first", "webbrowser", QStringList { url },
            QStringList { "PKEXEC_UID=65534", "SUDO_UID=0" }, true, 0, 65534, "");
        row("root, no desktop user", "webbrowser", QStringList { url }, QStringList(), true, 1, -1,
            "no desktop user is known");
        row("root is no desktop user", "webbrowser", QStringList { url }, QStringList { "SUDO_UID=0" }, true,
            1, -1, "no desktop user is known");
        row("no xdg-open", "webbrowser", QStringList { url }, QStringList { "SUDO_UID=65534" }, false, 1, -1,
            "xdg-open is not installed");
        row("webbrowser usage", "webbrowser", QStringList(), QStringList { "SUDO_UID=65534" }, true, 2, -1,
            "usage");
        row("mimeviewer as the sudo user", "mimeviewer", QStringList { "application/pdf", pdf },
            QStringList { "SUDO_UID=65534" }, true, 0, 65534, "");
        row("mimeviewer, no file", "mimeviewer", QStringList { "application/pdf", pdf + ".gone" },
            QStringList { "SUDO_UID=65534" }, true, 1, -1, "there is no file");
        row("mimeviewer, no xdg-open", "mimeviewer", QStringList { "application/pdf", pdf },
            QStringList { "SUDO_UID=65534" }, false, 1, -1, "xdg-open is not installed");
    }
    void scripts()
    {
        QFETCH(QString, script);
        QFETCH(QStringList, arguments);
        QFETCH(QStringList, environment);
        QFETCH(bool, onPath);
        QFETCH(int, uid);
        QFETCH(QString, error);
        if (!root() && error.contains("desktop user"))
            QSKIP("only root is refused");
        QProcess process;
        process.setEnvironment(environment
            + QStringList { "PATH=" + tools + (onPath ? ':' + opener : QString()), "DISPLAY=:9" });
        process.start(Share::absolute(script), arguments);
        QVERIFY(process.waitForFinished(30000));
        QString const stderr = QString::fromLocal8Bit(process.readAllStandardError());
        QTEST(process.exitCode(), "exitCode");
        QVERIFY2(stderr.contains(error), qPrintable(stderr));
        QVERIFY(!stderr.contains("s3cret"));
        QStringList expected;
        if (uid >= 0)
            expected << QString::number(root() ? uid : ::getuid()) << arguments.last();
        QCOMPARE(recorded(), expected);
    }

    // Browsing runs the script with the repository's first URL and shows its
    // failure, the password hidden.
    void browse_data()
    {
        columns<QString, QString, QString, QString>("baseurl", "mirrorlist", "opened", "box");
        row("first URL", "  file:///a/ file:///b/\nfile:///c/", "file:///m/", "file:///a/", "");
        row("mirror list", "", "https://m/list?u=me", "https://m/list?u=me", "");
        row("no URL", "", "", "", "Repository configuration has no URL");
        row("browser failure", "https://h/fail/buffet?u=me&p=s3cret&path=/x/", "", "",
            "webbrowser failed with exit status 3.\n\n"
            "xdg-open: no method available for opening 'https://h/fail/buffet?u=me&p=********&path=/x/'");
    }
    void browse()
    {
        QFETCH(QString, opened);
        QFETCH(QString, box);
        Repo::Entry entry;
        QFETCH(QString, baseurl);
        QFETCH(QString, mirrorlist);
        entry.baseurl = baseurl;
        entry.mirrorlist = mirrorlist;
        qputenv("PATH", (tools + ':' + opener).toLocal8Bit());
        qputenv("SUDO_UID", "65534");
        QStringList boxes;
        QTimer answerer;
        connect(&answerer, &QTimer::timeout, [&] {
            for (QWidget* widget : QApplication::topLevelWidgets()) {
                if (auto* shown = qobject_cast<QMessageBox*>(widget); shown && shown->isVisible()) {
                    boxes << shown->text();
                    shown->close();
                }
            }
        });
        answerer.start(5);
        RepoBrowse::browse(nullptr, entry, nullptr);
        if (!opened.isEmpty())
            QTRY_COMPARE_WITH_TIMEOUT(recorded().value(1), opened, 30000);
        if (!box.isEmpty())
            QTRY_COMPARE_WITH_TIMEOUT(boxes.join('|'), box, 30000);
        QCOMPARE(boxes.join('|'), box);
    }

    // Yum's variables are the session's.
    void variables()
    {
        QString const failure = SessionTest::sandbox("clone", { dir.filePath("root") });
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        qputenv("SORVANROOT", QFile::encodeName(dir.filePath("root")));
        SessionTest::DialogAnswerer answerer;
        QWidget window;
        YumIO yum;
        yum.setup(&window, new HProgressBar(&window), new HProgressBar(&window));
        QVERIFY2(yum.initialize(), qPrintable(answerer.summary()));
        Repo::Entry entry;
        entry.baseurl = "file:///r/$releasever/$basearch/$arch/";
        qputenv("PATH", (tools + ':' + opener).toLocal8Bit());
        RepoBrowse::browse(nullptr, entry, &yum);
        QTRY_VERIFY_WITH_TIMEOUT(!recorded().isEmpty(), 30000);
        QString const arch = SessionTest::nativeArch();
        QVERIFY2(QRegularExpression("^file:///r/[^$/]+/" + arch + '/' + arch + "/$")
                     .match(recorded().value(1))
                     .hasMatch(),
            qPrintable(recorded().value(1)));
        yum.clearEntriesBeforeQuit();
    }
};

QTEST_MAIN(TestBrowse)
#include "tst_browse.moc"
