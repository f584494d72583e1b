// The repositories as the main window uses them: the credentials asked for
// at start, the editor opened at start, and a repository added in the editor
// that the engine then reads, a repository that cannot be read, and a quit
// asked for while the window starts.  Each case runs on its own sandbox root, the
// buffet repository served by the sandbox's own HTTP front end.
#include "app/MainWindow.h"
#include "app/Startup.h"
#include "packagetable/PackageTableModel.h"
#include "packagetable/PackageTableView.h"
#include "tests/yumio/SessionTestSupport.h"

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <sys/file.h>
#include <sys/stat.h>

using namespace SessionTest;

namespace
{

// What the user does in the dialog with a given title: fill fields found by
// their tool-tip's start, then press a button.  Steps run in order, each
// once; message boxes in between are answered with OK and recorded.
struct Step {
    QString title;
    QList<QPair<QString, QString>> fields;
    QString button;
};

class User : public QObject
{
public:
    explicit User(QList<Step> steps)
        : steps(std::move(steps))
    {
        connect(&timer, &QTimer::timeout, this, &User::look);
        timer.start(20);
    }
    QStringList seen;
    QList<Step> steps;

private:
    void look()
    {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible())
            return;
        if (!steps.isEmpty() && dialog->windowTitle() == steps.first().title) {
            Step const step = steps.takeFirst();
            seen << step.title;
            for (auto const& [tip, value] : step.fields) {
                for (QWidget* field : dialog->findChildren<QWidget*>()) {
                    if (!field->toolTip().startsWith(tip) || !field->isVisible())
                        continue;
                    if (auto* line = qobject_cast<QLineEdit*>(field))
                        line->setText(value), Q_EMIT line->textEdited(value);
                    else if (auto* text = qobject_cast<QPlainTextEdit*>(field))
                        text->setPlainText(value);
                }
            }
            for (QPushButton* push : dialog->findChildren<QPushButton*>()) {
                if (push->text().remove(u'&') == step.button && push->isVisible()) {
                    // Later: a dialog the button opens runs its own loop, in
                    // which this timer must fire again.
                    QTimer::singleShot(0, push, &QPushButton::click);
                    return;
                }
            }
            seen << "no button " + step.button;
            dialog->reject();
            return;
        }
        if (dialog->windowTitle() == QLatin1String("SORVAN Repository Configuration Editor")
            || dialog->windowTitle() == QLatin1String("SORVAN Authentication"))
            return; // a step of its own comes
        auto* box = qobject_cast<QMessageBox*>(dialog);
        seen << dialog->windowTitle() + ": " + (box ? box->text() : QString());
        dialog->accept();
    }
    QTimer timer;
};

} // namespace

class TestRepositories : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        root = dir.filePath(QStringLiteral("root%1").arg(++clones));
        QString failure = sandbox(QStringLiteral("clone"), { root });
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        qputenv("SORVANROOT", root.toLocal8Bit());
    }
    void cleanup()
    {
        delete window;
        window = nullptr;
        sandbox(QStringLiteral("stop"), { QStringLiteral("--root"), root });
    }

    void credentialsAtStart_data()
    {
        // The auth dialog's button; what the buffet repository's file holds
        // after start; whether its package is listed; whether SORVAN goes on.
        columns<QString, QByteArray, bool, bool>("button", "baseurl", "listed", "running");
        QByteArray const empty = "/buffet?user=&pass=&path=/sv-buffet/";
        row("OK", "OK", QByteArray("/buffet?user=sorvan&pass=sand%20box%26&path=/sv-buffet/"), false, true);
        row("right ones", "OK", QByteArray("/buffet?user=sorvan&pass=sandbox&path=/sv-buffet/"), true, true);
        row("quit", "Quit", empty, false, false);
    }
    void credentialsAtStart()
    {
        QFETCH(QString, button);
        QFETCH(QByteArray, baseurl);
        QFETCH(bool, listed);
        QFETCH(bool, running);
        QString const failure = sandbox(QStringLiteral("serve"), { QStringLiteral("--root"), root });
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        QString const password = QString::fromLatin1(baseurl.contains("box%26") ? "sand box&" : "sandbox");
        User user({ { QStringLiteral("SORVAN Authentication"),
            { { QStringLiteral("Authentication name"), QStringLiteral("sorvan") },
                { QStringLiteral("Authentication password"), password } },
            button } });
        start({ "--enablerepo=sv-buffet" });
        QTRY_VERIFY_WITH_TIMEOUT(window->isInitialized() || !window->isVisible(), 120000);
        QCOMPARE(user.seen.value(0), QStringLiteral("SORVAN Authentication"));
        QCOMPARE(window->isVisible(), running);

        QString const file = root + "/etc/yum.repos.d/sv-buffet.repo";
        QFile repo(file);
        QVERIFY(repo.open(QIODevice::ReadOnly));
        QVERIFY2(repo.readAll().contains(baseurl), qPrintable(file));
        // Credentials are for root's eyes only.
        struct stat st;
        QCOMPARE(::stat(QFile::encodeName(file).constData(), &st), 0);
        if (!baseurl.contains("user=&"))
            QCOMPARE(st.st_mode & 077, 0u);
        if (running) {
            QCOMPARE(names().contains(QStringLiteral("sv-buffet-tool")), listed);
            // The wrong password's failure is reported, the password itself never.
            QStringList said = user.seen;
            for (Log::Entry const& entry : logged(window->yumSession()))
                said << entry.text;
            QString const all = said.join(u'\n');
            QVERIFY2(!all.contains(QLatin1String("pass=sand")) && !all.contains(QLatin1String("sand box")),
                qPrintable(all));
            if (!listed && button == QLatin1String("OK"))
                QVERIFY2(all.contains(QLatin1String("pass=********&path=")), qPrintable(all));
        }
    }

    // Cancel in the editor opened at start still gives a working window.
    void editorAtStart()
    {
        User user(
            { { QStringLiteral("SORVAN Repository Configuration Editor"), {}, QStringLiteral("Cancel") } });
        start({ "--repo-editor" });
        QTRY_VERIFY_WITH_TIMEOUT(user.steps.isEmpty() && !names().isEmpty(), 120000);
        QVERIFY(names().contains(QStringLiteral("sv-tool")));
        QVERIFY(window->findChild<QWidget*>(QStringLiteral("mainPanel"))->isVisible());
    }

    // A repository added in the editor is the engine's at once, under the
    // name SORVAN shows, and its packages can be listed.
    void addedRepositoryIsUsed()
    {
        start({});
        QTRY_VERIFY_WITH_TIMEOUT(window->isInitialized(), 120000);
        QVERIFY(!names().contains(QStringLiteral("sv-big-app")));
        QString const url
            = "file://" + qEnvironmentVariable("SORVAN_BINARY_DIR") + "/sandbox/repos/sv-faults/";
        User user({ { QStringLiteral("SORVAN Repository Configuration Editor"), {}, QStringLiteral("Add") },
            { QStringLiteral("SORVAN Repository Configuration"),
                { { QStringLiteral("Unique identifier"), QStringLiteral("added") },
                    { QStringLiteral("Description"), QStringLiteral("Added in the editor") },
                    { QStringLiteral("List of URLs"), url } },
                QStringLiteral("OK") },
            { QStringLiteral("SORVAN Repository Configuration Editor"), {}, QStringLiteral("OK") } });
        window->editRepositories();
        QVERIFY2(user.steps.isEmpty(), qPrintable(user.seen.join(u'|')));
        QFile repo(root + "/etc/yum.repos.d/added.repo");
        QVERIFY(repo.open(QIODevice::ReadOnly));
        QCOMPARE(repo.readAll(), ("[added]\nname=Added in the editor\nbaseurl=" + url + "\n").toUtf8());
        QTRY_VERIFY_WITH_TIMEOUT(names().contains(QStringLiteral("sv-big-app")), 60000);
        PackageTable::Model* model
            = window->findChild<PackageTable::View*>(QStringLiteral("view"))->tableModel();
        int const row = model
                            ->match(model->index(0, 3), Qt::DisplayRole, QStringLiteral("sv-big-app"), 1,
                                Qt::MatchExactly)
                            .value(0)
                            .row();
        QCOMPARE(model->index(row, 5).data().toString(), QStringLiteral("added"));
    }

    // A repository that cannot be read is named, and disabling it for the
    // session lists every other repository's packages, then and after a
    // refresh; refusing leaves the table empty and the window usable.
    void unreachableRepository_data()
    {
        columns<QString, bool>("button", "listed");
        row("disable", "Disable for This Session", true);
        row("cancel", "Cancel", false);
    }
    void unreachableRepository()
    {
        QFETCH(QString, button);
        QFETCH(bool, listed);
        QFile gone(root + "/etc/yum.repos.d/gone.repo");
        QVERIFY(gone.open(QIODevice::WriteOnly));
        gone.write("[gone]\nname=Gone\nbaseurl=file://" + QFile::encodeName(root) + "/missing/\n");
        gone.close();
        User user({ { QStringLiteral("Repository Unavailable"), {}, button } });
        start({});
        QTRY_VERIFY_WITH_TIMEOUT(window->isInitialized(), 120000);
        QVERIFY2(user.steps.isEmpty(), qPrintable(user.seen.join(u'|')));
        QCOMPARE(names().contains(QStringLiteral("sv-tool")), listed);
        QVERIFY(window->findChild<QWidget*>(QStringLiteral("mainPanel"))->isEnabled());
        QCOMPARE(window->repoEnable.value(QStringLiteral("gone"), true), !listed);
        if (listed) {
            window->refresh();
            QVERIFY2(user.seen.size() == 1, qPrintable(user.seen.join(u'|')));
            QVERIFY(names().contains(QStringLiteral("sv-tool")));
        } else {
            QVERIFY2(user.seen.join(u'|').contains(QLatin1String("Yum Error")),
                qPrintable(user.seen.join(u'|')));
        }
    }

    // A quit asked for while the window starts (a signal, the close button)
    // waits until the session is up, then ends it and releases the root.
    void quitWhileStarting()
    {
        start({});
        QTimer::singleShot(0, window, [this] { window->requestQuit(false); });
        QTRY_VERIFY_WITH_TIMEOUT(!window->isVisible(), 120000);
        QCOMPARE(window->yumSession(), nullptr);
        QFile lock(root + "/var/run/sorvan.pid");
        QVERIFY(lock.open(QIODevice::ReadWrite));
        QCOMPARE(::flock(lock.handle(), LOCK_EX | LOCK_NB), 0);
    }

    // Without its companion script SORVAN names the file it looked for and
    // where the directory came from, and ends with a failure status.
    void companionScriptMissingOrBroken_data()
    {
        columns<QString, QString>("share", "expected");
        row("empty SORVANSHARE", "", "script /python/YumIO.py: ");
        row("no such directory", "/nonexistent", "script /nonexistent/python/YumIO.py: ");
        row("syntax error", "broken", "SyntaxError");
    }
    void companionScriptMissingOrBroken()
    {
        QFETCH(QString, share);
        QFETCH(QString, expected);
        if (share == QLatin1String("broken")) {
            share = dir.filePath(QStringLiteral("broken"));
            QVERIFY(QDir().mkpath(share + "/python"));
            QFile script(share + "/python/YumIO.py");
            QVERIFY(script.open(QIODevice::WriteOnly));
            script.write("def (:\n");
        }
        QByteArray const saved = qgetenv("SORVANSHARE");
        qputenv("SORVANSHARE", share.toLocal8Bit());
        User user({});
        start({});
        QTRY_VERIFY_WITH_TIMEOUT(!window->isVisible(), 60000);
        qputenv("SORVANSHARE", saved);
        QVERIFY(window->hasStartFailed());
        QString const said = user.seen.join(u'|');
        QVERIFY2(said.contains(expected) && said.contains(QLatin1String("SORVANSHARE")), qPrintable(said));
    }

private:
    void start(QList<QByteArray> options)
    {
        window = new MainWindow;
        options.prepend("sorvan");
        QList<char*> argv;
        for (QByteArray& option : options)
            argv << option.data();
        argv << nullptr;
        QCOMPARE(Startup::parseCommandLine(int(options.size()), argv.data(), *window), -1);
        window->show();
    }
    QStringList names() const
    {
        QStringList list;
        auto* view = window->findChild<PackageTable::View*>(QStringLiteral("view"));
        PackageTable::Model* model = view->tableModel();
        for (int row = 0; row < model->rowCount(); ++row)
            list << model->index(row, 3).data().toString();
        return list;
    }

    QTemporaryDir dir;
    QString root;
    int clones = 0;
    MainWindow* window = nullptr;
};

QTEST_MAIN(TestRepositories)
#include "tst_repositories.moc"
