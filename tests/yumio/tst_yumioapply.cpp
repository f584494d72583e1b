// Applying marked actions, end to end through the real engine on private
// copies of the sandbox's root: what the user is shown and asked, and what
// the root's rpm database holds afterwards.
#include "SessionTestSupport.h"
#include "widgets/HProgressBar.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <unistd.h>

using namespace SessionTest;

class TestYumIOApply : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;
    int clones = 0;
    QString root;
    QWidget* window = nullptr;
    YumIO* io = nullptr;
    DialogAnswerer answerer;

    bool switchRoot(QString const& path)
    {
        return pyRun(QStringLiteral("import os\nos.environ['SORVANROOT'] = '%1'\n").arg(path));
    }

    // A fresh copy of the sandbox's root, collected with `enable` (a
    // comma-separated list of repositories) enabled.
    void freshRoot(QString const& enable)
    {
        root = dir.filePath(QStringLiteral("root%1").arg(++clones));
        QString const failure = sandbox(QStringLiteral("clone"), { root });
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        QVERIFY(switchRoot(root));
        QHash<QString, bool> enables;
        for (QString const& id : enable.split(QLatin1Char(','), Qt::SkipEmptyParts))
            enables.insert(id, true);
        io->clear();
        QVERIFY2(io->collect(enables), qPrintable(answerer.summary()));
        answerer.clear();
    }

    // name-version of every package in the root's rpm database, as rpm says.
    QStringList rpmPackages() const
    {
        QProcess rpm;
        rpm.start(QStringLiteral("rpm"),
            { QStringLiteral("--root"), root, QStringLiteral("--dbpath"), QStringLiteral("/var/lib/rpm"),
                QStringLiteral("-qa"), QStringLiteral("--qf"), QStringLiteral("%{NAME}-%{VERSION}\\n") });
        rpm.waitForFinished(60000);
        QStringList list = QString::fromLocal8Bit(rpm.readAllStandardOutput())
                               .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        list.sort();
        return list;
    }

    // "install sv-app; update sv-kernel; remove group SORVAN Core": marks
    // every entry of that name (and kind).
    void mark(QString const& marks)
    {
        for (QString item : marks.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
            item = item.trimmed();
            QString const verb = item.section(QLatin1Char(' '), 0, 0);
            QString name = item.section(QLatin1Char(' '), 1);
            bool const group = name.startsWith(QLatin1String("group "));
            if (group)
                name = name.mid(6);
            Package::Action const action = verb == QLatin1String("install") ? Package::Install
                : verb == QLatin1String("update")                           ? Package::Update
                                                                            : Package::Remove;
            int found = 0;
            for (Package::Entry* e : *io) {
                if (e->name == name && (e->kind == Package::Group) == group && !e->superseded) {
                    e->action = action;
                    ++found;
                }
            }
            QVERIFY2(found > 0, qPrintable(item));
        }
    }

    void checkPackages(QStringList const& before, QString const& added, QString const& removed)
    {
        QStringList expected = before;
        for (QString const& p : removed.split(QLatin1Char(' '), Qt::SkipEmptyParts))
            QVERIFY2(expected.removeAll(p) > 0, qPrintable(p));
        expected += added.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        expected.sort();
        QCOMPARE(rpmPackages(), expected);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(::geteuid() == 0, "applying needs root");
        window = new QWidget;
        io = new YumIO;
        io->setup(window, new HProgressBar(window), new HProgressBar(window));
        qputenv("SORVANROOT", dir.filePath(QStringLiteral("none")).toLocal8Bit());
        QDir().mkpath(dir.filePath(QStringLiteral("none")));
        QVERIFY(io->initialize());
    }
    void cleanupTestCase()
    {
        if (io)
            io->clearEntriesBeforeQuit();
        delete io;
        delete window;
    }
    void init() { answerer.clear(); }

    // What the user marks, is shown and confirms, and what rpm then holds.
    void transactions_data()
    {
        columns<QString, QString, QString, QString, QString, QString>(
            "enable", "marks", "answer", "listing", "added", "removed");
        row("install pulls a dependency in", "", "install sv-app", "",
            "Transaction to be performed:\n\tInstall: sv-app 1.0-1 (ARCH) [sv-base]\nPerforming the "
            "following "
            "to resolve dependencies:\n\tInstall: sv-libfoo 1.0-1 (ARCH) [sv-base]\nTotal download size: ",
            "sv-app-1.0 sv-libfoo-1.0", "");
        row("update of two installed instances", "", "update sv-kernel", "",
            "Transaction to be performed:\n\tInstall: sv-kernel 5.2-1", "sv-kernel-5.2", "");
        row("update wins by epoch", "", "update sv-epoch", "",
            "\tUpdate: sv-epoch 2:1.0-1 (noarch) [sv-updates]", "sv-epoch-1.0", "sv-epoch-2.0");
        row("remove of an entry available for update", "", "remove sv-tool", "",
            "Transaction to be performed:\n\tRemove: sv-tool 1.0-1", "", "sv-tool-1.0");
        row("obsoletes", "", "install sv-new", "",
            "Other Transactions:\n\tObsoleting: sv-old 1.0-1 (noarch) with sv-new 2.0-1 (noarch)\n",
            "sv-new-2.0", "sv-old-1.0");
        row("group install", "", "install group SORVAN Desktop", "",
            "\tInstall: sv-viewer 1.0-1 (noarch) [sv-base]\n",
            "sv-editor-1.0 sv-viewer-1.0 sv-viewer-langpack-1.0", "");
        row("group conflict resolved for the group", "", "remove group SORVAN Core; update sv-tool",
            "Mark for remove", "\tRemove: sv-tool 1.0-1", "", "sv-docs-1.0 sv-reloc-1.0 sv-tool-1.0");
        row("group conflict resolved for the mark", "", "remove group SORVAN Core; update sv-tool",
            "Keep update", "\tUpdate: sv-tool 1.2-1", "sv-tool-1.2", "sv-docs-1.0 sv-reloc-1.0 sv-tool-1.0");
        row("group conflict stops", "", "remove group SORVAN Core; update sv-tool", "Stop", "", "", "");
        row("signed package, key imported", "sv-signed", "install sv-signed-tool", "Import Key",
            "\tInstall: sv-signed-tool 1.0-1", "gpg-pubkey-* sv-signed-tool-1.0", "");
        row("cancelled", "", "install sv-app", "-", "\tInstall: sv-app", "", "");
    }
    void transactions()
    {
        QFETCH(QString, enable);
        QFETCH(QString, marks);
        QFETCH(QString, answer);
        QFETCH(QString, listing);
        QFETCH(QString, added);
        QFETCH(QString, removed);
        freshRoot(enable);
        QStringList const before = rpmPackages();
        mark(marks);
        answerer.answer = answer;
        answerer.accept = answer != QLatin1String("-");
        bool const applied = io->apply();
        answerer.accept = true;

        bool const ran = !added.isEmpty() || !removed.isEmpty();
        QCOMPARE(applied, ran);
        QVERIFY(!io->lastApplyFailed());
        // No errors; the question shows the listing.
        QString listed;
        for (Dialog const& d : answerer.dialogs) {
            QVERIFY2(
                d.kind != Dialog::Critical && d.kind != Dialog::Scrollable, qPrintable(answerer.summary()));
            if (d.kind == Dialog::Question)
                listed = d.text;
        }
        QVERIFY2(listed.contains(listing.replace(QLatin1String("ARCH"), nativeArch())), qPrintable(listed));
        if (added.contains(QLatin1String("gpg-pubkey-*"))) {
            QStringList now = rpmPackages();
            QVERIFY(now.removeIf([](QString const& p) { return p.startsWith(QLatin1String("gpg-pubkey-")); })
                == 1);
            added.remove(QStringLiteral("gpg-pubkey-* "));
            QStringList expected = before + added.split(QLatin1Char(' '));
            expected.sort();
            QCOMPARE(now, expected);
        } else {
            checkPackages(before, added, removed);
        }
        if (!applied)
            qDebug() << answerer.summary();
        if (ran) {
            // Recorded in dnf's history of the managed root.
            QProcess dnf;
            dnf.start(python(),
                { QStringLiteral("-c"),
                    QStringLiteral("import sqlite3, sys\n"
                                   "db = sqlite3.connect(sys.argv[1] + '/var/lib/dnf/history.sqlite')\n"
                                   "print(db.execute('select count(*) from trans').fetchone()[0])\n"),
                    root });
            dnf.waitForFinished(60000);
            QVERIFY2(dnf.readAllStandardOutput().trimmed().toInt() >= 1, "no history");
        }
    }
};

QTEST_MAIN(TestYumIOApply)
#include "tst_yumioapply.moc"
