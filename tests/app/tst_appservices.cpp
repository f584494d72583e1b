// The small application-wide services: style choice, shared-data paths,
// derived fonts and palettes, and starting a detached viewer.
#include "app/Colors.h"
#include "app/DefaultStyle.h"
#include "app/Execute.h"
#include "app/Fonts.h"
#include "app/Share.h"
#include "tests/yumio/TestRows.h"

#include <QApplication>
#include <QFontDatabase>
#include <QFontInfo>
#include <QSettings>
#include <QStyle>
#include <QTemporaryDir>
#include <QtTest>
#include <cerrno>
#include <sys/sysmacros.h> // its minor() macro must not rename Colors::minor
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
        columns<QStringList, QString, bool, bool>("args", "override", "settingsKey", "chosen");
        row("nothing", QStringList {}, "", false, false);
        row("-style=windows", QStringList { "-style=windows" }, "", false, true);
        row("-style windows", QStringList { "-g", "-style", "windows" }, "", false, true);
        row("-stylefoo is not a style", QStringList { "-stylefoo" }, "", false, false);
        row("environment", QStringList {}, "windows", false, true);
        row("legacy settings", QStringList {}, "", true, true);
    }

    void styleChoice()
    {
        QFETCH(QStringList, args);
        QFETCH(QString, override);
        QFETCH(bool, settingsKey);
        QFETCH(bool, chosen);

        QSettings settings(QSettings::UserScope, "Trolltech", QString());
        if (settingsKey)
            settings.setValue("Qt/style", "Windows");
        else
            settings.remove("Qt/style");
        settings.sync();
        if (!override.isEmpty())
            qputenv("QT_STYLE_OVERRIDE", override.toLocal8Bit());
        QList<QByteArray> storage { "sorvan" };
        for (QString const& arg : args)
            storage << arg.toLocal8Bit();
        QVector<char*> argv;
        for (QByteArray& arg : storage)
            argv << arg.data();
        DefaultStyle style(int(storage.size()), argv.data());
        qunsetenv("QT_STYLE_OVERRIDE");
        QCOMPARE(style.userChose(), chosen);

        // A user's choice is left alone; otherwise "plastique", which Qt 6 lacks, becomes Fusion.
        QApplication::setStyle("Windows");
        QStyle* const before = QApplication::style();
        style.set(*qApp, "plastique");
        if (chosen) {
            QCOMPARE(QApplication::style(), before);
        } else {
            QCOMPARE(QApplication::style()->name().toLower(), "fusion");
            QCOMPARE(QApplication::palette().color(QPalette::Window),
                QApplication::style()->standardPalette().color(QPalette::Window));
        }
    }

    void shareAbsolute_data()
    {
        columns<QByteArray, QString>("env", "expected"); // env null: unset
        row("set", QByteArray("/opt/x"), "/opt/x/icons/check.png");
        row("empty value is used as it is", QByteArray(""), "/icons/check.png");
        row("unset", QByteArray(), SORVAN_SHARE_DEFAULT "/icons/check.png");
    }

    void shareAbsolute()
    {
        QFETCH(QByteArray, env);
        QByteArray const saved = qgetenv("SORVANSHARE");
        if (env.isNull())
            qunsetenv("SORVANSHARE");
        else
            qputenv("SORVANSHARE", env);
        QString const result = Share::absolute("icons/check.png");
        qputenv("SORVANSHARE", saved);
        QTEST(result, "expected");
    }

    void fonts()
    {
        // Sizes grow by half, truncated; the argument is left as it was.
        QFont pixels("DejaVu Sans Mono");
        pixels.setFixedPitch(true);
        pixels.setPixelSize(11);
        QFont const header = Fonts::makeHeader(pixels);
        QVERIFY(header.bold() && !header.fixedPitch() && !pixels.bold());
        QCOMPARE(header.styleHint(), QFont::SansSerif);
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

    void palettes()
    {
        QPalette palette;
        palette.setColor(QPalette::All, QPalette::WindowText, Qt::red);
        QColor const disabledBase = palette.color(QPalette::Disabled, QPalette::Base);
        QPalette const required = Colors::makeRequired(palette);
        QCOMPARE(required.color(QPalette::Active, QPalette::Base), QColor("#fffacd"));
        QCOMPARE(required.color(QPalette::Inactive, QPalette::Base), QColor("#fffacd"));
        QCOMPARE(required.color(QPalette::Disabled, QPalette::Base), disabledBase);

        // Every one of these backgrounds is light: the text turns black in every group.
        for (auto [made, background] : { std::pair { Colors::makeError(palette), "#ff6060" },
                 { Colors::makeWarning(palette), "yellow" }, { Colors::makeOK(palette), "lightgreen" } }) {
            for (auto group : { QPalette::Active, QPalette::Inactive, QPalette::Disabled }) {
                QCOMPARE(made.color(group, QPalette::Window), QColor(background));
                QCOMPARE(made.color(group, QPalette::WindowText), QColor(Qt::black));
            }
        }
        QCOMPARE(Colors::minor(), "#8b5a2b");
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
