// The repositories as the main window uses them: credentials asked for at
// start, the editor, a repository that cannot be read, and quitting or failing
// while the window starts.  Each case runs on a sandbox root of its own.
#include "app/MainWindow.h"
#include "packagetable/PackageTableModel.h"
#include "packagetable/PackageTableView.h"
#include "tests/yumio/SessionTestSupport.h"

#include <QApplication>
#include <QDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <sys/file.h>

using namespace SessionTest;

namespace
{
char const* const editor = "SORVAN Repository Configuration Editor";

// What the user does in the dialog with a given title: type into fields
// found by their tool-tip's start, then press a button.  Steps run in order,
// each once; message boxes in between are answered with OK and recorded.
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
        QString const title = dialog->windowTitle();
        if (!steps.isEmpty() && title == steps.first().title) {
            Step const step = steps.takeFirst();
            seen << title;
            for (auto const& [tip, value] : step.fields)
                for (QWidget* field : dialog->findChildren<QWidget*>())
                    if (field->isVisible() && field->toolTip().startsWith(tip))
                        QTest::keyClicks(field, value);
            // Later: a dialog the button opens runs its own loop, in which
            // this timer must fire again.
            for (QPushButton* push : dialog->findChildren<QPushButton*>())
                if (push->isVisible() && push->text().remove(u'&') == step.button)
                    QTimer::singleShot(0, push, &QPushButton::click);
        } else if (title != editor && title != "SORVAN Authentication") {
            auto* box = qobject_cast<QMessageBox*>(dialog);
            seen << title + ": " + (box ? box->text() : QString());
            dialog->accept();
        }
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
        root = dir.filePath(QString("root%1").arg(++clones));
        QString failure = sandbox("clone", { root });
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        qputenv("SORVANROOT", root.toLocal8Bit());
    }
    void cleanup()
    {
        delete window;
        window = nullptr;
        sandbox("stop", { "--root", root });
    }

    // The buffet repository's credentials asked for at start, then used over
    // HTTP; a wrong password's failure is reported, the password itself never.
    void credentialsAtStart_data()
    {
        columns<QString, QString, bool>("password", "button", "listed");
        row("wrong", "sand box&", "OK", false);
        row("right", "sandbox", "OK", true);
        row("quit", "sandbox", "Quit", false);
    }
    void credentialsAtStart()
    {
        QFETCH(QString, password);
        QFETCH(QString, button);
        QFETCH(bool, listed);
        QString const failure = sandbox("serve", { "--root", root });
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        User user({ { "SORVAN Authentication",
            { { "Authentication name", "sorvan" }, { "Authentication password", password } }, button } });
        start("sv-buffet");
        QTRY_VERIFY_WITH_TIMEOUT(window->isInitialized() || !window->isVisible(), 120000);
        QCOMPARE(user.seen.value(0), "SORVAN Authentication");
        QCOMPARE(window->isVisible(), button == "OK");
        if (button != "OK")
            return;
        QCOMPARE(packages().contains("sv-buffet-tool"), listed);
        QStringList said = user.seen;
        for (Log::Entry const& entry : logged(window->yumSession()))
            said << entry.text;
        QString const all = said.join(u'\n');
        QVERIFY2(!all.contains("pass=sand") && !all.contains("sand box"), qPrintable(all));
        QVERIFY2(listed || all.contains("pass=********&path="), qPrintable(all));
    }

    // Cancel in the editor opened at start still gives a working window; a
    // repository added in the editor is the engine's at once, under the name
    // SORVAN shows.
    void editorAtStartAndAddedRepository()
    {
        User user({ { editor, {}, "Cancel" } });
        start(nullptr, true);
        QTRY_VERIFY_WITH_TIMEOUT(window->isInitialized(), 120000);
        QVERIFY(user.steps.isEmpty() && packages().contains("sv-tool") && !packages().contains("sv-big-app"));

        QString const url
            = "file://" + qEnvironmentVariable("SORVAN_BINARY_DIR") + "/sandbox/repos/sv-faults/";
        user.steps = { { editor, {}, "Add" },
            { "SORVAN Repository Configuration",
                { { "Unique identifier", "added" }, { "Description", "Added in the editor" },
                    { "List of URLs", url } },
                "OK" },
            { editor, {}, "OK" } };
        window->editRepositories();
        QVERIFY2(user.steps.isEmpty(), qPrintable(user.seen.join(u'|')));
        QTRY_COMPARE_WITH_TIMEOUT(packages().value("sv-big-app"), "added", 60000);
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
        User user({ { "Repository Unavailable", {}, button } });
        start();
        QTRY_VERIFY_WITH_TIMEOUT(window->isInitialized(), 120000);
        QString const seen = user.seen.join(u'|');
        QVERIFY2(user.steps.isEmpty(), qPrintable(seen));
        QCOMPARE(packages().contains("sv-tool"), listed);
        QVERIFY(window->findChild<QWidget*>("mainPanel")->isEnabled());
        QCOMPARE(window->repoEnable.value("gone", true), !listed);
        if (!listed) {
            QVERIFY2(seen.contains("Yum Error"), qPrintable(seen));
            return;
        }
        window->refresh();
        QVERIFY2(user.seen.size() == 1, qPrintable(user.seen.join(u'|')));
        QVERIFY(packages().contains("sv-tool"));
    }

    // A quit asked for while the window starts (a signal, the close button)
    // waits until the session is up, then ends it and releases the root.
    void quitWhileStarting()
    {
        start();
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
        row("syntax error", "broken", "SyntaxError");
    }
    void companionScriptMissingOrBroken()
    {
        QFETCH(QString, share);
        QFETCH(QString, expected);
        if (share == "broken") {
            share = dir.filePath("broken");
            QVERIFY(QDir().mkpath(share + "/python"));
            QFile script(share + "/python/YumIO.py");
            QVERIFY(script.open(QIODevice::WriteOnly));
            script.write("def (:\n");
        }
        QByteArray const saved = qgetenv("SORVANSHARE");
        qputenv("SORVANSHARE", share.toLocal8Bit());
        User user({});
        start();
        QTRY_VERIFY_WITH_TIMEOUT(!window->isVisible(), 60000);
        qputenv("SORVANSHARE", saved);
        QVERIFY(window->hasStartFailed());
        QString const said = user.seen.join(u'|');
        QVERIFY2(said.contains(expected) && said.contains("SORVANSHARE"), qPrintable(said));
    }

private:
    void start(char const* enable = nullptr, bool withEditor = false)
    {
        window = new MainWindow;
        if (enable)
            window->repoRequests.append(YumRepoEnabled(true, enable));
        window->startRepoEditor = withEditor;
        window->show();
    }
    // The listed packages' names, each with its repository.
    QHash<QString, QString> packages() const
    {
        QHash<QString, QString> list;
        PackageTable::Model* model = window->findChild<PackageTable::View*>("view")->tableModel();
        for (int row = 0; row < model->rowCount(); ++row)
            list.insert(model->index(row, 3).data().toString(), model->index(row, 5).data().toString());
        return list;
    }

    QTemporaryDir dir;
    QString root;
    int clones = 0;
    MainWindow* window = nullptr;
};

QTEST_MAIN(TestRepositories)
#include "tst_repositories.moc"
