// The small application-wide services: style choice, shared-data paths,
// derived fonts and palettes, and starting a detached viewer.
#include "app/Colors.h"
#include "app/DefaultStyle.h"
#include "app/Execute.h"
#include "app/Fonts.h"
#include "app/Share.h"

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
    void initTestCase();
    void styleChoice_data();
    void styleChoice();
    void styleFallsBackToFusion();
    void shareAbsolute_data();
    void shareAbsolute();
    void headerFont_data();
    void headerFont();
    void fixedFont();
    void boldFont();
    void colourMacroDoesNotInterfere();
    void requiredPalette();
    void backgroundPalettes_data();
    void backgroundPalettes();
    void executeDetachesWithoutZombie();
    void executeOfMissingProgramReturns();

private:
    QTemporaryDir settingsDir;
};

void TestAppServices::initTestCase()
{
    QVERIFY(settingsDir.isValid());
    // The user's own toolkit settings must not decide the outcome.
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settingsDir.path());
    qunsetenv("QT_STYLE_OVERRIDE");
}

void TestAppServices::styleChoice_data()
{
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QString>("override");
    QTest::addColumn<bool>("settingsKey");
    QTest::addColumn<bool>("chosen");

    QTest::newRow("nothing") << QStringList {} << QString() << false << false;
    QTest::newRow("-style=windows") << QStringList { "-style=windows" } << QString() << false << true;
    QTest::newRow("-style windows") << QStringList { "-g", "-style", "windows" } << QString() << false
                                    << true;
    QTest::newRow("-stylefoo is not a style") << QStringList { "-stylefoo" } << QString() << false << false;
    QTest::newRow("--style is not the toolkit's")
        << QStringList { "--style=x" } << QString() << false << false;
    QTest::newRow("environment") << QStringList {} << "windows" << false << true;
    QTest::newRow("legacy settings") << QStringList {} << QString() << true << true;
}

void TestAppServices::styleChoice()
{
    QFETCH(QStringList, args);
    QFETCH(QString, override);
    QFETCH(bool, settingsKey);

    {
        QSettings settings(QSettings::UserScope, QStringLiteral("Trolltech"), QString());
        settings.beginGroup(QStringLiteral("Qt"));
        if (settingsKey)
            settings.setValue(QStringLiteral("style"), QStringLiteral("Windows"));
        else
            settings.remove(QStringLiteral("style"));
    }
    if (!override.isEmpty())
        qputenv("QT_STYLE_OVERRIDE", override.toLocal8Bit());

    QList<QByteArray> storage { "sorvan" };
    for (QString const& arg : args)
        storage.append(arg.toLocal8Bit());
    QVector<char*> argv;
    for (QByteArray& arg : storage)
        argv.append(arg.data());
    argv.append(nullptr);
    DefaultStyle style(int(storage.size()), argv.data());
    qunsetenv("QT_STYLE_OVERRIDE");
    QTEST(style.userChose(), "chosen");

    if (style.userChose()) {
        // A user's choice is left alone.
        QStyle* before = QApplication::style();
        style.set(*qApp, QStringLiteral("plastique"));
        QCOMPARE(QApplication::style(), before);
    }
}

void TestAppServices::styleFallsBackToFusion()
{
    QSettings(QSettings::UserScope, QStringLiteral("Trolltech"), QString())
        .remove(QStringLiteral("Qt/style"));
    QList<QByteArray> storage { "sorvan" };
    char* argv[] = { storage[0].data(), nullptr };
    DefaultStyle style(1, argv);
    QVERIFY(!style.userChose());
    QApplication::setStyle(QStringLiteral("Windows"));
    style.set(*qApp, QStringLiteral("plastique"));
    QCOMPARE(QApplication::style()->name().toLower(), QStringLiteral("fusion"));
    QCOMPARE(QApplication::palette().color(QPalette::Window),
        QApplication::style()->standardPalette().color(QPalette::Window));
}

void TestAppServices::shareAbsolute_data()
{
    QTest::addColumn<QByteArray>("env");
    QTest::addColumn<bool>("set");
    QTest::addColumn<QString>("relative");
    QTest::addColumn<QString>("expected");

    QTest::newRow("set") << QByteArray("/opt/x") << true << "icons/check.png"
                         << "/opt/x/icons/check.png";
    QTest::newRow("script") << QByteArray("/opt/x") << true << "python/YumIO.py"
                            << "/opt/x/python/YumIO.py";
    QTest::newRow("empty value is used as it is") << QByteArray() << true << "icons/check.png"
                                                  << "/icons/check.png";
    QTest::newRow("unset") << QByteArray() << false << "pixmaps/sorvan.icon.png"
                           << QStringLiteral(SORVAN_SHARE_DEFAULT "/pixmaps/sorvan.icon.png");
}

void TestAppServices::shareAbsolute()
{
    QFETCH(QByteArray, env);
    QFETCH(bool, set);
    QFETCH(QString, relative);
    QByteArray const saved = qgetenv("SORVANSHARE");
    if (set)
        qputenv("SORVANSHARE", env);
    else
        qunsetenv("SORVANSHARE");
    QString const result = Share::absolute(relative);
    qputenv("SORVANSHARE", saved);
    QTEST(result, "expected");
}

void TestAppServices::headerFont_data()
{
    QTest::addColumn<int>("pixelSize");
    QTest::addColumn<int>("pointSize");
    QTest::addColumn<int>("expectedPixel");
    QTest::addColumn<int>("expectedPoint");

    QTest::newRow("pixels 10") << 10 << -1 << 15 << -1;
    QTest::newRow("pixels 11 truncates") << 11 << -1 << 16 << -1;
    QTest::newRow("points 9 truncates") << -1 << 9 << -1 << 13;
    QTest::newRow("points 12") << -1 << 12 << -1 << 18;
}

void TestAppServices::headerFont()
{
    QFETCH(int, pixelSize);
    QFETCH(int, pointSize);
    QFont font(QStringLiteral("DejaVu Sans Mono"));
    font.setFixedPitch(true);
    if (pixelSize > 0)
        font.setPixelSize(pixelSize);
    else
        font.setPointSize(pointSize);
    QFont const original(font);

    QFont const header = Fonts::makeHeader(font);
    QCOMPARE(font, original);
    QVERIFY(header.bold());
    QVERIFY(!header.fixedPitch());
    QCOMPARE(header.styleHint(), QFont::SansSerif);
    QTEST(header.pixelSize(), "expectedPixel");
    if (pointSize > 0)
        QTEST(header.pointSize(), "expectedPoint");
}

void TestAppServices::fixedFont()
{
    QFont font(QStringLiteral("DejaVu Sans"));
    QFont const original(font);
    QFont const fixed = Fonts::makeFixed(font);
    QCOMPARE(font, original);
    QVERIFY(fixed.fixedPitch());
    QStringList const families = QFontDatabase::families();
    if (!families.contains(QStringLiteral("DejaVu Sans Mono")))
        QSKIP("DejaVu Sans Mono is not installed");
    // Bitstream Vera is not installed here; an alias that resolves it to
    // another family must not stop the search.
    QVERIFY(!families.contains(QStringLiteral("Bitstream Vera Sans Mono")));
    QCOMPARE(fixed.family(), QStringLiteral("DejaVu Sans Mono"));
    QCOMPARE(QFontInfo(fixed).family(), QStringLiteral("DejaVu Sans Mono"));
}

void TestAppServices::boldFont()
{
    QFont font;
    font.setItalic(true);
    QFont const bold = Fonts::makeBold(font);
    QVERIFY(bold.bold());
    QVERIFY(bold.italic());
    QVERIFY(!font.bold());
}

void TestAppServices::colourMacroDoesNotInterfere()
{
    QCOMPARE(Colors::minor(), QStringLiteral("#8b5a2b"));
    QCOMPARE(Colors::minorDisabled(), QStringLiteral("#ffbd94"));
    QVERIFY(QColor(Colors::action()).isValid());
    QVERIFY(QColor(Colors::warning()).isValid());
}

void TestAppServices::requiredPalette()
{
    QPalette palette;
    QColor const disabledBase = palette.color(QPalette::Disabled, QPalette::Base);
    QPalette const required = Colors::makeRequired(palette);
    QCOMPARE(required.color(QPalette::Active, QPalette::Base), QColor(QStringLiteral("#fffacd")));
    QCOMPARE(required.color(QPalette::Inactive, QPalette::Base), QColor(QStringLiteral("#fffacd")));
    QCOMPARE(required.color(QPalette::Disabled, QPalette::Base), disabledBase);
    QCOMPARE(
        palette.color(QPalette::Active, QPalette::Base), QPalette().color(QPalette::Active, QPalette::Base));
}

void TestAppServices::backgroundPalettes_data()
{
    QTest::addColumn<int>("which");
    QTest::addColumn<QString>("background");
    QTest::newRow("error") << 0 << "#ff6060";
    QTest::newRow("warning") << 1 << "yellow";
    QTest::newRow("ok") << 2 << "lightgreen";
}

void TestAppServices::backgroundPalettes()
{
    QFETCH(int, which);
    QFETCH(QString, background);
    QPalette palette;
    palette.setColor(QPalette::All, QPalette::WindowText, QColor(Qt::red));
    QPalette const made = which == 0 ? Colors::makeError(palette)
        : which == 1                 ? Colors::makeWarning(palette)
                                     : Colors::makeOK(palette);
    QColor const expected(background);
    // Every one of these backgrounds is light: its text turns black.
    QVERIFY(qGray(expected.rgb()) >= 124);
    for (auto group : { QPalette::Active, QPalette::Inactive, QPalette::Disabled }) {
        QCOMPARE(made.color(group, QPalette::Window), expected);
        QCOMPARE(made.color(group, QPalette::WindowText), QColor(Qt::black));
    }
}

void TestAppServices::executeDetachesWithoutZombie()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    QByteArray const marker = dir.filePath(QStringLiteral("ran")).toLocal8Bit();
    QByteArray script = "echo $PPID > " + marker;
    char sh[] = "/bin/sh";
    char c[] = "-c";
    char* argv[] = { sh, c, script.data(), nullptr };
    Execute::execute(nullptr, argv);

    // The intermediate child has been waited for and the viewer is not ours.
    errno = 0;
    QCOMPARE(::waitpid(-1, nullptr, WNOHANG), -1);
    QCOMPARE(errno, ECHILD);
    QTRY_VERIFY_WITH_TIMEOUT(QFileInfo(QString::fromLocal8Bit(marker)).size() > 0, 10000);
    QFile file(QString::fromLocal8Bit(marker));
    QVERIFY(file.open(QIODevice::ReadOnly));
    // Reparented: its parent is not this process.
    QVERIFY(file.readAll().trimmed().toLongLong() != QCoreApplication::applicationPid());
}

void TestAppServices::executeOfMissingProgramReturns()
{
    char missing[] = "/nonexistent/viewer";
    char* argv[] = { missing, nullptr };
    Execute::execute(nullptr, argv);
    errno = 0;
    QCOMPARE(::waitpid(-1, nullptr, WNOHANG), -1);
    QCOMPARE(errno, ECHILD);
}

QTEST_MAIN(TestAppServices)
#include "tst_appservices.moc"
