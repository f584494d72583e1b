// The small application-wide services: style choice, derived fonts, and
// starting a detached viewer.
#include "app/DefaultStyle.h"
#include "app/Execute.h"
#include "app/Fonts.h"
#include "tests/yumio/TestRows.h"

#include <QApplication>
#include <QFontDatabase>
#include <QFontInfo>
#include <QSettings>
#include <QStyle>
#include <QTemporaryDir>
#include <QtTest>
#include <cerrno>
#include <sys/wait.h>

class TestAppServices : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // The user's own toolkit settings must not decide the outcome.
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settingsDir.path());
        qunsetenv("QT_STYLE_OVERRIDE");
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

        // A user's choice is left alone; otherwise "plastique", which Qt 6
        // lacks, becomes Fusion with its own palette.
        QApplication::setStyle("Windows");
        style.set(*qApp, "plastique");
        QCOMPARE(QApplication::style()->name().toLower(), chosen ? "windows" : "fusion");
        if (!chosen)
            QCOMPARE(QApplication::palette().color(QPalette::Window),
                QApplication::style()->standardPalette().color(QPalette::Window));
    }

    void fonts()
    {
        // Sizes grow by half, truncated; the argument is left as it was.
        QFont pixels("DejaVu Sans Mono");
        pixels.setFixedPitch(true);
        pixels.setPixelSize(11);
        QFont const header = Fonts::makeHeader(pixels);
        QVERIFY(header.bold() && !header.fixedPitch() && !pixels.bold());
        QCOMPARE(header.pixelSize(), 16);
        QFont points;
        points.setPointSize(9);
        QCOMPARE(Fonts::makeHeader(points).pointSize(), 13);

        QFont const fixed = Fonts::makeFixed(QFont("DejaVu Sans"));
        QVERIFY(fixed.fixedPitch());
        if (!QFontDatabase::families().contains("DejaVu Sans Mono"))
            QSKIP("DejaVu Sans Mono is not installed");
        // Bitstream Vera is not installed here; an alias that resolves it to
        // another family must not stop the search.
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

private:
    QTemporaryDir settingsDir;
};

QTEST_MAIN(TestAppServices)
#include "tst_appservices.moc"
