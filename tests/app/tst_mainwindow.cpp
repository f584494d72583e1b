// The main window on a real collection of a sandbox root: the search's extra
// data, the filter's warnings, the busy state, apply, and quitting.
#include "app/MainWindow.h"
#include "packagetable/PackageTableModel.h"
#include "packagetable/PackageTableView.h"
#include "tests/yumio/SessionTestSupport.h"
#include "widgets/HFrameLabel.h"

#include <QAction>
#include <QComboBox>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTemporaryDir>
#include <QToolButton>
#include <QtTest>
#include <sys/file.h>

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
    QStringList listedNames() const
    {
        QStringList names;
        QAbstractItemModel* proxy = view->QTableView::model();
        for (int row = 0; row < proxy->rowCount(); ++row)
            names << proxy->index(row, 3).data().toString();
        return names;
    }
    int modelRow(QString const& name) const
    {
        PackageTable::Model* model = view->tableModel();
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
        view->tableModel()->setAction(view->tableModel()->index(modelRow(name), 0), action);
        window->stateChanged(modelRow(name));
    }
    // Refreshes while `probe` runs on every pass of the event loop until it returns true.
    void refreshProbing(std::function<bool()> probe)
    {
        QTimer timer;
        connect(&timer, &QTimer::timeout, this, [&] {
            if (probe())
                timer.stop();
        });
        timer.start(0);
        QMetaObject::invokeMethod(window, "refresh");
    }

    SessionTest::DialogAnswerer user;
    QTemporaryDir root;
    MainWindow* window = nullptr;
    PackageTable::View* view = nullptr;
    int extraDataSignals = 0;

private Q_SLOTS:
    void initTestCase()
    {
        // A root of its own: the session locks it and tests run side by side.
        QString const failure = SessionTest::sandbox("clone", { root.filePath("root") });
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        qputenv("SORVANROOT", root.filePath("root").toLocal8Bit());

        window = new MainWindow;
        view = child<PackageTable::View>("view");
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

    void startupSearch()
    {
        // The search needed the file lists and the change logs: each loaded once.
        YumIO* session = window->yumSession();
        QVERIFY(session->fileListsLoaded() && session->otherDataLoaded());
        QCOMPARE(extraDataSignals, 2);
        // sv-libfoo by name, sv-app through its requirement on it; nothing
        // that does not mention foo anywhere.
        QStringList const names = listedNames();
        QVERIFY2(names.contains("sv-libfoo") && names.contains("sv-app"), qPrintable(names.join(u',')));
        QVERIFY(!names.contains("sv-docs") && !names.contains("SORVAN Core"));

        // The engine keeps no pickled cache; the tips name the root's own cache.
        QVERIFY(!action("cacheMenu", "Clean Pickled Data")->isEnabled());
        QVERIFY(action("cacheMenu", "Clean Headers")
                    ->toolTip()
                    .endsWith(root.filePath("root") + "/var/cache/dnf"));

        // A request that names no repository is said once in the log.
        int said = 0;
        for (Log::Entry const& entry : std::as_const(session->logEntries().entries))
            said += entry.text == "No configured repository matches --enablerepo=sv-no*; it is ignored.";
        QCOMPARE(said, 1);
    }

    void unlistedActionsWarning()
    {
        child<QComboBox>("modeBox")->setCurrentIndex(PackageTable::Filter);
        filterTo(".*");
        auto* warning = child<HFrameLabel>("warningLabel");
        auto* clear = child<QPushButton>("clearButton");
        QRect const clearGeometry = clear->geometry();
        mark("sv-docs", Package::Update);

        filterTo("^sv-tool");
        QCOMPARE(warning->text(), "Unlisted Actions");
        // The warning takes no room from the buttons beside it.
        QCOMPARE(clear->geometry(), clearGeometry);
        filterTo("docs");
        QCOMPARE(warning->text(), QString());

        // A state filter that hides it warns as well; clearing the actions ends it.
        child<QComboBox>("stateBox")->setCurrentIndex(PackageTable::Installable);
        QCOMPARE(warning->text(), "Unlisted Actions");
        QTest::mouseClick(clear, Qt::LeftButton);
        QCOMPARE(warning->text(), QString());
        QCOMPARE(entry("sv-docs")->action, Package::NoAction);
        child<QComboBox>("stateBox")->setCurrentIndex(PackageTable::All);
    }

    // An expression that does not compile lists everything, and the field
    // says it is not valid until a valid one replaces it; the field's clear
    // button lists everything again.
    void invalidExpressionIsShown()
    {
        auto* edit = child<QLineEdit>("regexpEdit");
        QColor const base = QApplication::palette(edit).color(QPalette::Base);
        filterTo(".*");
        int const all = int(listedNames().size());
        filterTo("(");
        QCOMPARE(int(listedNames().size()), all);
        QVERIFY(!edit->accessibleDescription().isEmpty()
            && edit->toolTip().contains(edit->accessibleDescription()));
        QVERIFY(edit->palette().color(QPalette::Base) != base);
        filterTo("^sv-tool$");
        QVERIFY(edit->accessibleDescription().isEmpty());
        QCOMPARE(edit->palette().color(QPalette::Base), base);
        QVERIFY(listedNames().size() < all);
        edit->findChild<QToolButton*>()->click();
        QCOMPARE(int(listedNames().size()), all);
    }

    // Refresh and Quit throw marked actions away only when the user agrees.
    void marksAndApply()
    {
        mark("sv-app", Package::Install);
        user.clear();
        QMetaObject::invokeMethod(window, "refresh");
        window->requestQuit(true);
        QVERIFY2(user.summary().startsWith("SORVAN: Refresh the package list?\n1 marked action")
                && user.summary().contains(" | SORVAN: Quit SORVAN?"),
            qPrintable(user.summary()));
        QVERIFY(window->isVisible());
        QCOMPARE(entry("sv-app")->action, Package::Install);

        user.answer = "Re&fresh";
        QMetaObject::invokeMethod(window, "refresh");
        QCOMPARE(entry("sv-app")->action, Package::NoAction);
        auto* apply = child<QPushButton>("applyButton");
        QVERIFY(!apply->isEnabled());
        // The refresh's new session object still holds the root's lock.
        QFile lock(root.filePath("root/var/run/sorvan.pid"));
        QVERIFY(lock.open(QIODevice::ReadOnly));
        QCOMPARE(::flock(lock.handle(), LOCK_EX | LOCK_NB), -1);

        // After a failed apply the table is collected anew with the marks
        // that still make sense; after a transaction, it shows the system as it is.
        mark("sv-app", Package::Install);
        QVERIFY(apply->isEnabled());
        user.clear();
        {
            SessionTest::LockHolder holder(
                SessionTest::LockHolder::dnf("build_rpmdb_lock"), root.filePath("root") + "/var/lib/dnf");
            QVERIFY(holder.holds());
            QTest::mouseClick(apply, Qt::LeftButton);
        }
        QVERIFY2(user.summary().contains("rpmdb_lock.pid"), qPrintable(user.summary()));
        QCOMPARE(entry("sv-app")->action, Package::Install);
        QVERIFY(apply->isEnabled());

        user.clear();
        QTest::mouseClick(apply, Qt::LeftButton);
        QVERIFY2(user.dialogs.size() == 1
                && user.dialogs[0].text.startsWith("Transaction to be performed:\n\tInstall: sv-app"),
            qPrintable(user.summary()));
        QCOMPARE(entry("sv-app")->state, Package::Installed);
        QCOMPARE(entry("sv-app")->action, Package::NoAction);
        QCOMPARE(entry("sv-libfoo")->state, Package::Installed);
        QVERIFY(!apply->isEnabled() && child("mainPanel")->isEnabled());
    }

    // A manual found nowhere is reported with every place looked in; a
    // directory of the manual's name is no manual.
    void missingManual()
    {
        QTemporaryDir docs;
        QVERIFY(QDir().mkpath(docs.filePath("built/html/index.html")));
        window->manualDirs = { docs.filePath("installed"), docs.filePath("built") };
        user.clear();
        action("helpMenu", "Manual (html)")->trigger();
        QVERIFY2(user.dialogs.size() == 1
                && user.summary().contains(docs.filePath("installed/html/index.html"))
                && user.summary().contains(docs.filePath("built/html/index.html")),
            qPrintable(user.summary()));
    }

    // While the engine collects, the panel is off and the log can be read.
    // Closing the window then waits for the engine to finish, then ends the
    // session and releases the root.
    void busyAndQuitting()
    {
        QWidget* panel = child("mainPanel");
        QAction* log = action("windowsMenu", "&Log");
        bool panelEnabled = true, logEnabled = false, logShown = false;
        // The application quitting ends every event loop, the one that waits
        // for the worker too: the wait goes on until the worker is done with it.
        refreshProbing([&] {
            if (!window->yumSession()->isBusy())
                return false;
            panelEnabled = panel->isEnabled();
            logEnabled = log->isEnabled();
            log->trigger();
            for (QWidget* top : QApplication::topLevelWidgets())
                logShown = logShown || (top->windowTitle() == "SORVAN Log" && top->isVisible());
            QCoreApplication::exit(0);
            return true;
        });
        QVERIFY(!panelEnabled && logEnabled && logShown);
        QVERIFY(panel->isEnabled() && !QApplication::overrideCursor());
        QVERIFY(window->yumSession()->count() > 0);

        bool closedWhileBusy = false;
        refreshProbing([&] {
            if (!window->yumSession() || !window->yumSession()->isBusy())
                return false;
            window->close();
            closedWhileBusy = window->isVisible() && window->yumSession() != nullptr;
            return true;
        });
        QVERIFY(closedWhileBusy);
        QTRY_VERIFY(!window->isVisible());
        QCOMPARE(window->yumSession(), nullptr);
    }
};

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
