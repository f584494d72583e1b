// The main window in the user's language: German menus under a German
// locale, as the built catalogue has them, and English without a warning for
// a locale with no catalogue or a damaged one.
#include "app/MainWindow.h"
#include "app/Startup.h"
#include "tests/yumio/TestRows.h"

#include <QMenuBar>
#include <QTemporaryDir>
#include <QTranslator>
#include <QtTest>

namespace
{
QStringList warnings;

void record(QtMsgType, QMessageLogContext const&, QString const& message)
{
    warnings << message;
}
} // namespace

class TestTranslations : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // A shared-data directory whose German catalogue has the built one's
        // header, then bytes that make no sense.
        QVERIFY(QDir(damagedShare.path()).mkpath("translations"));
        QFile qm(damagedShare.filePath("translations/sorvan_de.qm"));
        QFile built(qEnvironmentVariable("SORVANSHARE") + "/translations/sorvan_de.qm");
        QVERIFY(built.open(QIODevice::ReadOnly) && qm.open(QIODevice::WriteOnly));
        qm.write(built.read(16) + QByteArray(4096, '\xa5'));
    }

    void menus_data()
    {
        columns<QString, bool, bool>("locale", "damaged", "german");
        row("German", "de_DE", false, true);
        row("no catalogue", "fr_FR", false, false);
        row("damaged catalogue", "de_DE", true, false);
    }
    void menus()
    {
        QFETCH(QString, locale);
        QFETCH(bool, damaged);
        QFETCH(bool, german);
        QStringList const english { "&Program", "&Windows", "&Repositories", "&Cache", "&Help" };
        QStringList expected = english;
        if (german) {
            QTranslator catalogue;
            QVERIFY(catalogue.load(qEnvironmentVariable("SORVANSHARE") + "/translations/sorvan_de.qm"));
            for (QString& text : expected)
                text = catalogue.translate("MainWindow", text.toUtf8().constData());
            QVERIFY(!expected.contains(QString()) && expected != english);
        }

        // The start-up's own translations, read as the user's locale says.
        QLocale::setDefault(QLocale(locale));
        QByteArray const share = qgetenv("SORVANSHARE");
        if (damaged)
            qputenv("SORVANSHARE", damagedShare.path().toLocal8Bit());
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

private:
    QTemporaryDir damagedShare;
};

QTEST_MAIN(TestTranslations)
#include "tst_translations.moc"
