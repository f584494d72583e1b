// The main window on real collections of sandbox roots: the first cases share
// one window, the later ones start their own on a root of their own.
#include "app/MainWindow.h"
#include "packagetable/PackageTableModel.h"
#include "packagetable/PackageTableView.h"
#include "tests/yumio/SessionTestSupport.h"
#include "widgets/HFrameLabel.h"

#include <QAction>
#include <QComboBox>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QToolButton>
#include <QtTest>
#include <sys/file.h>

using namespace SessionTest;

namespace
{
char const* const editor = "SORVAN Repository Configuration Editor";

// In the dialog of each step's title in turn: type into the fields whose tool-tip
// starts so, press the button.  Other dialogs are accepted and recorded.
struct Step {
    QString title;
    QList<QPair<QString, QString>> fields;
    QString button;
};

class User : public QTimer
{
public:
    User()
    {
        connect(this, &QTimer::timeout, this, &User::look);
        start(20);
    }
    QStringList seen;
    QList<Step> steps;
    QString said() const { return seen.join(u'|'); }

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
            // Later: a dialog the button opens runs a loop of its own.
            for (QPushButton* push : dialog->findChildren<QPushButton*>())
                if (push->isVisible() && push->text().remove(u'&') == step.button)
                    QTimer::singleShot(0, push, &QPushButton::click);
        } else if (title != editor && title != "SORVAN Authentication") {
            auto* box = qobject_cast<QMessageBox*>(dialog);
            auto const* area = dialog->findChild<QTextEdit*>();
            seen << title + ": " + (box ? box->text() : area ? area->toPlainText() : QString());
            dialog->accept();
        }
    }
};

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT

    template <typename T = QWidget>
    T* child(char const* name) const
    {
        return window->findChild<T*>(name);
    }
    QAction* action(char const* menu, QString const& text) const
    {
        for (QAction* action : child<QMenu>(menu)->actions())
            if (action->text() == text)
                return action;
        return nullptr;
    }
    // The names in the table's model, or in the rows it lists, each with its repository.
    QHash<QString, QString> packages(bool listed = false) const
    {
        QAbstractItemModel* model = listed ? view()->QTableView::model() : view()->tableModel();
        QHash<QString, QString> names;
        for (int row = 0; row < model->rowCount(); ++row)
            names.insert(model->index(row, 3).data().toString(), model->index(row, 5).data().toString());
        return names;
    }
    PackageTable::View* view() const { return child<PackageTable::View>("view"); }
    int modelRow(QString const& name) const
    {
        PackageTable::Model* model = view()->tableModel();
        return model->match(model->index(0, 3), Qt::DisplayRole, name, 1, Qt::MatchExactly).value(0).row();
    }
    Package::Entry const* entry(QString const& name) const { return (*window->yumSession())[modelRow(name)]; }
    void filterTo(QString const& regexp)
    {
        child<QLineEdit>("regexpEdit")->setText(regexp);
        QTest::mouseClick(child<QPushButton>("filterButton"), Qt::LeftButton);
    }
    void mark(QString const& name, Package::Action action)
    {
        view()->tableModel()->setAction(view()->tableModel()->index(modelRow(name), 0), action);
        window->stateChanged(modelRow(name));
    }
    // A new clone of the sandbox, for a new window.
    void clone()
    {
        delete window;
        window = nullptr;
        if (!root.isEmpty())
            sandbox("stop", { "--root", root });
        root = dir.filePath(QString("root%1").arg(++clones));
        QString const failure = sandbox("clone", { root });
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        qputenv("SORVANROOT", root.toLocal8Bit());
    }
    void expect(QList<Step> steps)
    {
        user.steps = steps;
        user.seen.clear();
    }
    void start(char const* enable = nullptr, bool withEditor = false)
    {
        window = new MainWindow;
        if (enable)
            window->repoRequests.append(YumRepoEnabled(true, enable));
        window->startRepoEditor = withEditor;
        window->show();
    }

    // Points sv-http at the sandbox server's hanging front: for every file,
    // or for the packages only.
    void stall(char const* front)
    {
        QFile file(root + "/etc/yum.repos.d/sv-http.repo");
        QVERIFY(file.open(QIODevice::ReadWrite));
        QString text = QString::fromUtf8(file.readAll());
        text.replace(QRegularExpression("(127\\.0\\.0\\.1:\\d+/)(stall\\w*/)?sv-http/"),
            QString("\\1%1/sv-http/").arg(front));
        QVERIFY(file.resize(0) && file.seek(0));
        file.write(text.toUtf8());
    }
    // Runs the command, pressing Cancel the first time it shows.
    void cancelDuring(void (MainWindow::*command)())
    {
        auto* button = child<QPushButton>("cancelDownloadButton");
        QTimer cancelling;
        connect(&cancelling, &QTimer::timeout, button, [&] {
            if (button->isVisible() && button->isEnabled()) {
                cancelling.stop();
                button->click();
            }
        });
        cancelling.start(50);
        QTimer::singleShot(0, window, command);
        QTRY_VERIFY_WITH_TIMEOUT(!cancelling.isActive() && child("mainPanel")->isEnabled(), 120000);
    }

    User user;
    QTemporaryDir dir;
    QString root;
    int clones = 0;
    MainWindow* window = nullptr;
    int extraDataSignals = 0;

private Q_SLOTS:
    void initTestCase()
    {
        clone();
        window = new MainWindow;
        connect(window->yumSession(), &YumIO::collectedExtraData, this, [this] { ++extraDataSignals; });
        window->setStateFilter(PackageTable::All);
        window->setGroups(true);
        window->setMode(PackageTable::Search);
        window->setRegexp("foo");
        window->repoRequests.append(YumRepoEnabled(true, "sv-no*"));
        // Nothing is loaded before the window is up.
        QCOMPARE(extraDataSignals, 0);
        window->show();
        QTRY_VERIFY_WITH_TIMEOUT(window->isInitialized(), 120000);
    }
    void cleanupTestCase()
    {
        delete window;
        sandbox("stop", { "--root", root });
    }

    void startupSearch()
    {
        // The search needed the file lists and the change logs: each loaded once.
        YumIO* session = window->yumSession();
        QVERIFY(session->fileListsLoaded() && session->otherDataLoaded());
        QCOMPARE(extraDataSignals, 2);
        // sv-libfoo by name, sv-app through its requirement; nothing without foo.
        QHash<QString, QString> const names = packages(true);
        QVERIFY2(
            names.contains("sv-libfoo") && names.contains("sv-app"), qPrintable(names.keys().join(u',')));
        QVERIFY(!names.contains("sv-docs") && !names.contains("SORVAN Core"));

        // The engine keeps no pickled cache; the tips name the root's own cache.
        QVERIFY(!action("cacheMenu", "Clean Pickled Data")->isEnabled());
        QVERIFY(action("cacheMenu", "Clean Headers")->toolTip().endsWith(root + "/var/cache/dnf"));

        // A request that names no repository is said once in the log.
        int said = 0;
        for (Log::Entry const& entry : std::as_const(session->logEntries().entries))
            said += entry.text == "No configured repository matches --enablerepo=sv-no*; it is ignored.";
        QCOMPARE(said, 1);
    }

    void unlistedActionsWarning()
    {
        child<QComboBox>("modeBox")->setCurrentIndex(PackageTable::Filter);
        auto* warning = child<HFrameLabel>("warningLabel");
        mark("sv-docs", Package::Update);
        filterTo("docs");
        QCOMPARE(warning->text(), QString());
        filterTo("^sv-tool");
        QCOMPARE(warning->text(), "Unlisted Actions");
        // Clearing the actions ends it.
        QTest::mouseClick(child<QPushButton>("clearButton"), Qt::LeftButton);
        QCOMPARE(warning->text(), QString());
        QCOMPARE(entry("sv-docs")->action, Package::NoAction);
    }

    // An expression that does not compile lists everything, and the field says
    // so until a valid one replaces it; the field's clear button lists all.
    void invalidExpressionIsShown()
    {
        auto* edit = child<QLineEdit>("regexpEdit");
        QColor const base = QApplication::palette(edit).color(QPalette::Base);
        filterTo(".*");
        qsizetype const all = packages(true).size();
        filterTo("(");
        QCOMPARE(packages(true).size(), all);
        QVERIFY(!edit->accessibleDescription().isEmpty()
            && edit->toolTip().contains(edit->accessibleDescription()));
        QVERIFY(edit->palette().color(QPalette::Base) != base);
        filterTo("^sv-tool$");
        QVERIFY(edit->accessibleDescription().isEmpty());
        QCOMPARE(edit->palette().color(QPalette::Base), base);
        QVERIFY(packages(true).size() < all);
        edit->findChild<QToolButton*>()->click();
        QCOMPARE(packages(true).size(), all);
    }

    // Refresh and Quit throw marked actions away only when the user agrees.
    // A manual found nowhere is reported with every place looked in.
    void manualItems_data()
    {
        columns<int, QString>("item", "file");
        row("html", 0, "html/index.html");
        row("pdf", 1, "manual.pdf");
    }
    void manualItems()
    {
        QFETCH(int, item);
        QFETCH(QString, file);
        QTemporaryDir docs;
        QVERIFY(QDir().mkpath(docs.filePath("built/html")));
        window->manualDirs = { docs.filePath("installed"), docs.filePath("built") };
        expect({});
        child<QMenu>("helpMenu")->actions().at(item)->trigger();
        QTRY_COMPARE(user.seen.size(), 1);
        QVERIFY2(user.said().contains(docs.filePath("installed/" + file))
                && user.said().contains(docs.filePath("built/" + file)),
            qPrintable(user.said()));
    }

    void marksAndApply()
    {
        mark("sv-app", Package::Install);
        user.seen.clear();
        QMetaObject::invokeMethod(window, "refresh");
        window->requestQuit(true);
        QVERIFY2(user.said().startsWith("SORVAN: Refresh the package list?\n1 marked action")
                && user.said().contains("|SORVAN: Quit SORVAN?"),
            qPrintable(user.said()));
        QVERIFY(window->isVisible());
        QCOMPARE(entry("sv-app")->action, Package::Install);

        expect({ { "SORVAN", {}, "Refresh" } });
        QMetaObject::invokeMethod(window, "refresh");
        QCOMPARE(entry("sv-app")->action, Package::NoAction);
        auto* apply = child<QPushButton>("applyButton");
        QVERIFY(!apply->isEnabled());
        // The refresh's new session object still holds the root's lock.
        QFile lock(root + "/var/run/sorvan.pid");
        QVERIFY(lock.open(QIODevice::ReadOnly));
        QCOMPARE(::flock(lock.handle(), LOCK_EX | LOCK_NB), -1);

        // A failed apply keeps the marks; a transaction shows the system as it is.
        mark("sv-app", Package::Install);
        QVERIFY(apply->isEnabled());
        user.seen.clear();
        LockHolder holder(LockHolder::dnf("build_rpmdb_lock"), root + "/var/lib/dnf");
        QVERIFY(holder.holds());
        QTest::mouseClick(apply, Qt::LeftButton);
        holder.release();
        QVERIFY2(user.said().contains("rpmdb_lock.pid"), qPrintable(user.said()));
        QCOMPARE(entry("sv-app")->action, Package::Install);
        QVERIFY(apply->isEnabled());

        user.seen.clear();
        QTest::mouseClick(apply, Qt::LeftButton);
        QVERIFY2(user.seen.size() == 1
                && user.seen[0].contains(": Transaction to be performed:\n\tInstall: sv-app"),
            qPrintable(user.said()));
        // Installed, as the rpm database now says, and no longer marked.
        QVERIFY(
            entry("sv-app")->state == Package::Installed && entry("sv-libfoo")->state == Package::Installed);
        QCOMPARE(entry("sv-app")->action, Package::NoAction);
        QVERIFY(!apply->isEnabled() && child("mainPanel")->isEnabled());
    }

    // The buffet repository's credentials asked for at start, then used over HTTP.
    void credentialsAtStart_data()
    {
        columns<QString, QString, bool>("password", "button", "listed");
        row("wrong", "sand box", "OK", false);
        row("right", "sandbox", "OK", true);
        row("quit", "sandbox", "Quit", false);
    }
    void credentialsAtStart()
    {
        clone();
        QFETCH(QString, password);
        QFETCH(QString, button);
        QFETCH(bool, listed);
        QString const failure = sandbox("serve", { "--root", root });
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        expect({ { "SORVAN Authentication",
            { { "Authentication name", "sorvan" }, { "Authentication password", password } }, button } });
        start("sv-buffet");
        QTRY_VERIFY_WITH_TIMEOUT(window->isInitialized() || !window->isVisible(), 120000);
        QCOMPARE(user.seen.value(0), "SORVAN Authentication");
        QCOMPARE(window->isVisible(), button == "OK");
        if (button != "OK")
            return;
        QCOMPARE(packages().contains("sv-buffet-tool"), listed);
    }

    // Cancel in the editor opened at start still gives a working window; a
    // repository added in the editor is the engine's at once, under its name.
    void editorAtStartAndAddedRepository()
    {
        clone();
        expect({ { editor, {}, "Cancel" } });
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
        QVERIFY2(user.steps.isEmpty(), qPrintable(user.said()));
        QTRY_COMPARE_WITH_TIMEOUT(packages().value("sv-big-app"), "added", 60000);
    }

    // Disabling a repository that cannot be read lists the others' packages,
    // then and after a refresh; refusing leaves the table empty, the window usable.
    void unreachableRepository_data()
    {
        columns<QString, bool>("button", "listed");
        row("disable", "Disable for This Session", true);
        row("cancel", "Cancel", false);
    }
    void unreachableRepository()
    {
        clone();
        QFETCH(QString, button);
        QFETCH(bool, listed);
        QFile gone(root + "/etc/yum.repos.d/gone.repo");
        QVERIFY(gone.open(QIODevice::WriteOnly));
        gone.write("[gone]\nbaseurl=file:///nonexistent/sorvan-gone/\n");
        gone.close();
        expect({ { "Repository Unavailable", {}, button } });
        start();
        QTRY_VERIFY_WITH_TIMEOUT(window->isInitialized(), 120000);
        QVERIFY2(user.steps.isEmpty(), qPrintable(user.said()));
        QCOMPARE(packages().contains("sv-tool"), listed);
        QVERIFY(window->findChild<QWidget*>("mainPanel")->isEnabled());
        QCOMPARE(window->repoEnable.value("gone", true), !listed);
        if (!listed) {
            QVERIFY2(user.said().contains("Yum Error"), qPrintable(user.said()));
            return;
        }
        window->refresh();
        QVERIFY2(user.seen.size() == 1, qPrintable(user.said()));
        QVERIFY(packages().contains("sv-tool"));
    }

    // Cancel beside the bars stops downloads from a server that accepts and
    // never answers (dnf's own timeout would end in an error much later): an
    // apply then changes nothing and keeps its marks, a refresh lists what
    // the cache holds and leaves the hung repository out.
    void cancelStalledDownloads()
    {
        clone();
        QString const failure = sandbox("serve", { "--root", root });
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        stall("stallrpm");
        expect({ { "Apply Actions", {}, "Apply" } });
        start("sv-http");
        QTRY_VERIFY_WITH_TIMEOUT(window->isInitialized(), 120000);
        mark("sv-net-tool", Package::Install);
        cancelDuring(&MainWindow::apply);
        QVERIFY2(user.said().contains("The download was cancelled: nothing was changed."),
            qPrintable(user.said()));
        QCOMPARE(entry("sv-net-tool")->state, Package::Available);
        QCOMPARE(entry("sv-net-tool")->action, Package::Install);

        mark("sv-net-tool", Package::NoAction);
        stall("stall");
        expect({});
        cancelDuring(&MainWindow::refresh);
        QVERIFY2(user.seen.isEmpty(), qPrintable(user.said()));
        QVERIFY(packages().contains("sv-tool") && !packages().contains("sv-net-tool"));
        QStringList told;
        for (Log::Entry const& entry : logged(window->yumSession()))
            told << entry.text;
        QVERIFY(told.join(u'|').contains("'sv-http' has no metadata in the cache"));
        // The next operation downloads again.
        QVERIFY2(window->yumSession()->collectFileLists(), qPrintable(user.said()));
    }

    // A quit asked for while the window starts (a signal, the close button)
    // waits until the session is up, then ends it and releases the root.
    void quitWhileStarting()
    {
        clone();
        start();
        QTimer::singleShot(0, window, [this] { window->requestQuit(false); });
        QTRY_VERIFY_WITH_TIMEOUT(!window->isVisible(), 120000);
        QCOMPARE(window->yumSession(), nullptr);
        QFile lock(root + "/var/run/sorvan.pid");
        QVERIFY(lock.open(QIODevice::ReadWrite));
        QCOMPARE(::flock(lock.handle(), LOCK_EX | LOCK_NB), 0);
    }

    // Without its companion script SORVAN says where it looked, and fails.
    void companionScriptMissingOrBroken_data()
    {
        columns<QString, QString>("share", "expected");
        row("empty SORVANSHARE", "", "script /python/YumIO.py: ");
        row("syntax error", "broken", "SyntaxError");
    }
    void companionScriptMissingOrBroken()
    {
        clone();
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
        expect({});
        start();
        QTRY_VERIFY_WITH_TIMEOUT(!window->isVisible(), 60000);
        qputenv("SORVANSHARE", saved);
        QVERIFY(window->hasStartFailed());
        QVERIFY2(
            user.said().contains(expected) && user.said().contains("SORVANSHARE"), qPrintable(user.said()));
    }

    // The application quitting ends every event loop, the one that waits for
    // the worker too, which must wait on; meanwhile the panel is off and the
    // log can be read.  Last: no later loop would run.
    void busyWhenTheApplicationQuits()
    {
        clone();
        start();
        QTRY_VERIFY_WITH_TIMEOUT(window->isInitialized(), 120000);
        QWidget* panel = child("mainPanel");
        QAction* log = action("windowsMenu", "&Log");
        bool panelEnabled = true, logEnabled = false, logShown = false;
        QTimer probe;
        connect(&probe, &QTimer::timeout, this, [&] {
            if (!window->yumSession()->isBusy())
                return;
            probe.stop();
            panelEnabled = panel->isEnabled();
            logEnabled = log->isEnabled();
            log->trigger();
            for (QWidget* top : QApplication::topLevelWidgets())
                logShown = logShown || (top->windowTitle() == "SORVAN Log" && top->isVisible());
            QCoreApplication::exit(0);
        });
        probe.start(0);
        QMetaObject::invokeMethod(window, "refresh");
        QVERIFY(!panelEnabled && logEnabled && logShown);
        QVERIFY(panel->isEnabled() && !QApplication::overrideCursor());
        QVERIFY(window->yumSession()->count() > 0);
    }
};

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
