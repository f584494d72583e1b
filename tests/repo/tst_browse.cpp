// The shared-data scripts "webbrowser" and "mimeviewer", and RepoBrowse through
// them.  A stand-in xdg-open records who ran it and with what, or fails as a
// missing browser would.
#include "ConfTestSupport.h"
#include "app/Share.h"
#include "repo/RepoBrowse.h"

#include <QProcess>
#include <QStandardPaths>

namespace
{
QString const url = "https://h/buffet?u=me&p=s3cret&path=/a b$c/";
} // namespace

class TestBrowse : public QObject
{
    Q_OBJECT

    ConfTest::Root dir;
    QString const tools = dir.host("/tools"); // what the scripts need of the system, and nothing else
    QString const opener = dir.host("/opener"); // the stand-in xdg-open
    QString const record = dir.host("/out/record");

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
        // The desktop user must reach the stand-in and leave its record.
        QVERIFY(QDir().mkpath(tools) && QDir().mkpath(dir.host("/out")));
        QVERIFY(::chmod(ConfTest::local(dir.host("/out")).constData(), 01777) == 0);
        for (char const* tool : { "id", "getent", "cut", "setpriv", "runuser", "env" }) {
            QString const path = QStandardPaths::findExecutable(tool);
            QVERIFY(path.isEmpty() || QFile::link(path, tools + '/' + tool));
        }
        QVERIFY(dir.put("/opener/xdg-open",
            "#!/bin/sh\n"
            "case $1 in *fail*) echo \"xdg-open: no method available for opening '$1'\" >&2; exit 3;; esac\n"
            "{ id -u; printf '%s\\n' \"$@\"; } > "
                + ConfTest::local(record) + "\n",
            0755));
        QVERIFY(dir.put("/manual.pdf", ""));
        qputenv("PATH", (tools + ':' + opener).toLocal8Bit());
    }
    void init() { QFile::remove(record); }

    void scripts_data()
    {
        // Refusals of root are skipped for an ordinary user, whom the scripts run as.
        columns<QString, QString, QString, QString>("script", "environment", "argument", "error");
        QString const pdf = dir.host("/manual.pdf");
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
        if (::geteuid() != 0 && error.contains("desktop user"))
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
        QStringList const opened { QString::number(::geteuid() == 0 ? 65534 : ::getuid()), argument };
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
};

QTEST_MAIN(TestBrowse)
#include "tst_browse.moc"
