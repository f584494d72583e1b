// The main window in the user's language: German menus under a German
// locale, as the built catalogue has them, and English without a word on
// standard error for a locale with no catalogue or a damaged one.
//
// Each case starts this program again as the window's process, since the
// locale is read from the environment once per process.
#include "app/MainWindow.h"
#include "app/Startup.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QMenuBar>
#include <QProcess>
#include <QTemporaryDir>
#include <QTranslator>
#include <QtTest>
#include <cstdio>

namespace
{
char const* const childVariable = "TST_TRANSLATIONS_WINDOW";

// The window's process: the real start-up's translations, the window on
// SORVANROOT once it has collected, its menu bar's titles on standard output.
int showWindow(int argc, char** argv)
{
    QApplication app(argc, argv);
    Startup::installTranslations(app);
    MainWindow window;
    window.show();
    QDeadlineTimer const deadline(120000);
    while (!window.isInitialized() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 100);
    for (QAction* menu : window.menuBar()->actions())
        std::printf("%s\n", menu->text().toUtf8().constData());
    return window.isInitialized() ? 0 : 1;
}
} // namespace

class TestTranslations : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        QProcess tool;
        tool.start("/usr/bin/python3",
            { "-I", qEnvironmentVariable("SORVAN_SOURCE_DIR") + "/tools/sandbox/sandbox.py", "clone",
                qEnvironmentVariable("SORVAN_BINARY_DIR") + "/sandbox", dir.filePath("root") });
        QVERIFY(tool.waitForFinished(120000));
        QVERIFY2(tool.exitCode() == 0, tool.readAllStandardError().constData());

        // A shared-data directory like the built one whose German catalogue
        // is damaged.
        QDir const share(qEnvironmentVariable("SORVANSHARE"));
        QDir damaged(dir.filePath("damaged-share"));
        QVERIFY(damaged.mkpath("translations"));
        for (QString const& entry : share.entryList(QDir::AllEntries | QDir::NoDotAndDotDot)) {
            if (entry != "translations")
                QVERIFY(QFile::link(share.filePath(entry), damaged.filePath(entry)));
        }
        QFile qm(damaged.filePath("translations/sorvan_de.qm"));
        QFile built(share.filePath("translations/sorvan_de.qm"));
        QVERIFY(built.open(QIODevice::ReadOnly) && qm.open(QIODevice::WriteOnly));
        // The catalogue's own header, then bytes that make no sense.
        qm.write(built.read(16) + QByteArray(4096, '\xa5'));
    }

    void menus_data()
    {
        QTest::addColumn<QString>("lang");
        QTest::addColumn<QString>("language");
        QTest::addColumn<bool>("damaged");
        QTest::addColumn<bool>("german");
        QTest::newRow("LANG=de_DE.UTF-8") << "de_DE.UTF-8" << "" << false << true;
        QTest::newRow("LANG=de_DE.UTF-8 LANGUAGE=de") << "de_DE.UTF-8" << "de" << false << true;
        QTest::newRow("LANG=xx_YY") << "xx_YY" << "" << false << false;
        QTest::newRow("damaged catalogue") << "de_DE.UTF-8" << "de" << true << false;
    }
    void menus()
    {
        QFETCH(QString, lang);
        QFETCH(QString, language);
        QFETCH(bool, damaged);
        QFETCH(bool, german);

        QStringList const english { "&Program", "&Windows", "&Repositories", "&Cache", "&Help" };
        QStringList expected = english;
        if (german) {
            QTranslator catalogue;
            QVERIFY(catalogue.load(qEnvironmentVariable("SORVANSHARE") + "/translations/sorvan_de.qm"));
            for (int i = 0; i < english.size(); ++i) {
                expected[i] = catalogue.translate("MainWindow", english[i].toUtf8().constData());
                QVERIFY2(!expected[i].isEmpty(), qPrintable(english[i]));
            }
            QVERIFY(expected != english);
        }

        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        for (char const* name : { "LC_ALL", "LC_MESSAGES", "LANGUAGE" })
            env.remove(name);
        env.insert("LANG", lang);
        if (!language.isEmpty())
            env.insert("LANGUAGE", language);
        env.insert("SORVANROOT", dir.filePath("root"));
        if (damaged)
            env.insert("SORVANSHARE", dir.filePath("damaged-share"));
        env.insert(childVariable, "1");
        QProcess window;
        window.setProcessEnvironment(env);
        window.start(QCoreApplication::applicationFilePath(), {});
        QVERIFY(window.waitForFinished(180000));
        QByteArray const errors = window.readAllStandardError();
        QCOMPARE(window.exitStatus(), QProcess::NormalExit);
        QVERIFY2(window.exitCode() == 0, errors.constData());
        QCOMPARE(QString::fromUtf8(window.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts), expected);
        for (char const* word : { "transl", ".qm", "locale" })
            QVERIFY2(!errors.toLower().contains(word), errors.constData());
    }

private:
    QTemporaryDir dir;
};

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsSet(childVariable))
        return showWindow(argc, argv);
    QCoreApplication app(argc, argv);
    TestTranslations test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_translations.moc"
