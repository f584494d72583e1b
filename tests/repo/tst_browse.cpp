// Browsing a repository: the shared-data scripts "webbrowser" and
// "mimeviewer" as processes, and RepoBrowse through them with the program's
// runner.  A browser cannot run here: a stand-in xdg-open records who ran it
// and with what, or fails as a missing browser would.
#include "ConfTestSupport.h"
#include "app/Share.h"
#include "repo/RepoBrowse.h"
#include "tests/yumio/SessionTestSupport.h"
#include "widgets/HProgressBar.h"

#include <QStandardPaths>

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
        QVERIFY(xdgOpen.open(QIODevice::WriteOnly));
        xdgOpen.write(
            "#!/bin/sh\n"
            "case $1 in *fail*) echo \"xdg-open: no method available for opening '$1'\" >&2; exit 3;; esac\n"
            "{ id -u; printf '%s\\n' \"$@\"; } > "
            + QFile::encodeName(record) + "\n");
        xdgOpen.close();
        QVERIFY(::chmod(QFile::encodeName(xdgOpen.fileName()).constData(), 0755) == 0);
        QVERIFY(QFile(dir.filePath("manual.pdf")).open(QIODevice::WriteOnly));
        qputenv("PATH", (tools + ':' + opener).toLocal8Bit());
    }
    void init() { QFile::remove(record); }

    void scripts_data()
    {
        // Rows that refuse root are skipped for an ordinary user, for whom
        // the scripts open as themselves.
        columns<QString, QString, QString, QString>("script", "environment", "argument", "error");
        QString const pdf = dir.filePath("manual.pdf");
        row("webbrowser as the sudo user", "webbrowser", "SUDO_UID=65534", url, "");
        row("pkexec's user first", "webbrowser", "PKEXEC_UID=65534 SUDO_UID=0", url, "");
        row("root is no desktop user", "webbrowser", "SUDO_UID=0", url, "no desktop user is known");
        row("no xdg-open", "webbrowser", "SUDO_UID=65534", url, "xdg-open is not installed");
        row("mimeviewer as the sudo user", "mimeviewer", "SUDO_UID=65534", pdf, "");
        row("mimeviewer, no file", "mimeviewer", "SUDO_UID=65534", pdf + ".gone", "there is no file");
    }
    void scripts()
    {
        QFETCH(QString, script);
        QFETCH(QString, environment);
        QFETCH(QString, argument);
        QFETCH(QString, error);
        if (!root() && error.contains("desktop user"))
            QSKIP("only root is refused");
        QProcess process;
        QString const path = tools + (error.contains("xdg-open") ? QString() : ':' + opener);
        process.setEnvironment(environment.split(' ') + QStringList { "PATH=" + path, "DISPLAY=:9" });
        process.start(Share::absolute(script),
            script == "mimeviewer" ? QStringList { "application/pdf", argument } : QStringList { argument });
        QVERIFY(process.waitForFinished(30000));
        QString const stderr = QString::fromLocal8Bit(process.readAllStandardError());
        QCOMPARE(process.exitCode(), error.isEmpty() ? 0 : 1);
        QVERIFY2(stderr.contains(error) && !stderr.contains("s3cret"), qPrintable(stderr));
        QStringList const opened { QString::number(root() ? 65534 : ::getuid()), argument };
        QCOMPARE(recorded(), error.isEmpty() ? opened : QStringList());
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
        qputenv("SUDO_UID", "65534");
        ConfTest::BoxAnswerer answerer;
        RepoBrowse::browse(nullptr, entry, nullptr);
        if (!opened.isEmpty())
            QTRY_COMPARE_WITH_TIMEOUT(recorded().value(1), opened, 30000);
        QTRY_COMPARE_WITH_TIMEOUT(answerer.texts.join('|'), box, 30000);
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
