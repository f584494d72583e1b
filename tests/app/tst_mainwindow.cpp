// The main window on a real collection of a sandbox root: start-up options,
// the search's extra data, the unlisted-actions warning, and the busy state.
#include "app/MainWindow.h"
#include "app/Startup.h"
#include "packagetable/PackageTableModel.h"
#include "packagetable/PackageTableSortFilterProxyModel.h"
#include "packagetable/PackageTableView.h"
#include "tests/yumio/SessionTestSupport.h"
#include "widgets/HFrameLabel.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QToolButton>
#include <QtTest>

class TestMainWindow : public QObject
{
    Q_OBJECT

    template <typename T>
    T* child(char const* name) const
    {
        T* found = window->findChild<T*>(QString::fromLatin1(name));
        if (!found)
            qFatal("no child %s", name);
        return found;
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
    // Presses the button whose text contains `button` in every modal dialog
    // that comes up (accepts other dialogs), and records their texts.
    void answerWith(QString const& button)
    {
        answer = button;
        asked.clear();
        if (answerer.isActive())
            return;
        connect(&answerer, &QTimer::timeout, this, [this] {
            auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            if (!dialog || !dialog->isVisible())
                return;
            QTextEdit const* area = dialog->findChild<QTextEdit*>();
            auto* box = qobject_cast<QMessageBox*>(dialog);
            asked << (box ? box->text() : area ? area->toPlainText() : dialog->windowTitle());
            for (QPushButton* push : dialog->findChildren<QPushButton*>()) {
                if (push->text().remove(u'&').contains(answer)) {
                    push->click();
                    return;
                }
            }
            dialog->accept();
        });
        answerer.start(20);
    }
    void markByName(QString const& name, Package::Action action)
    {
        int const row = modelRow(name);
        QVERIFY(row >= 0);
        view->tableModel()->setAction(view->tableModel()->index(row, 0), action);
        window->stateChanged(row);
    }

    QTimer answerer;
    QString answer;
    QStringList asked;

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
        QByteArray args[]
            = { "sorvan", "--state=all", "--groups", "--mode=search", "--regexp=foo", "--enablerepo=sv-no*" };
        char* argv[] = { args[0].data(), args[1].data(), args[2].data(), args[3].data(), args[4].data(),
            args[5].data(), nullptr };
        QCOMPARE(Startup::parseCommandLine(6, argv, *window), -1);
        // Nothing is loaded before the window is up.
        QCOMPARE(extraDataSignals, 0);
        window->show();
        QTRY_VERIFY_WITH_TIMEOUT(window->isInitialized(), 120000);
    }

    void startupOptionsAndSearch()
    {
        QCOMPARE(child<QComboBox>("stateBox")->currentText(), "View All");
        QVERIFY(child<QCheckBox>("groupsCheck")->isChecked());
        QVERIFY(child<QWidget>("mainPanel")->isVisible() && child<QWidget>("mainPanel")->isEnabled());

        // The search needed the file lists and the change logs: each loaded once.
        YumIO* session = window->yumSession();
        QVERIFY(session->fileListsLoaded() && session->otherDataLoaded());
        QCOMPARE(extraDataSignals, 2);
        QVERIFY(!child<QComboBox>("modeBox")->toolTip().contains("(Must load extra data.)"));

        // sv-libfoo by name, sv-app through its requirement on it; nothing that
        // does not mention foo anywhere.
        QStringList const names = listedNames();
        QVERIFY2(names.contains("sv-libfoo") && names.contains("sv-app"), qPrintable(names.join(u',')));
        QVERIFY(!names.contains("sv-docs") && !names.contains("SORVAN Core"));

        // The engine keeps no pickled cache; the tips name the root's own cache.
        QHash<QString, QAction*> cache;
        for (QAction* action : child<QMenu>("cacheMenu")->actions())
            cache.insert(action->text(), action);
        QVERIFY(!cache["Clean Pickled Data"]->isEnabled());
        QVERIFY(cache["Clean Sqlite Data"]->isEnabled() && cache["Clean All"]->isEnabled());
        QVERIFY(cache["Clean Headers"]->toolTip().endsWith(" " + root.filePath("root") + "/var/cache/dnf"));

        // A request that names no repository is said once in the log.
        QStringList unknown;
        for (Log::Entry const& entry : std::as_const(session->logEntries().entries))
            if (entry.text.startsWith("No configured repository matches"))
                unknown << entry.text;
        QCOMPARE(
            unknown, QStringList { "No configured repository matches --enablerepo=sv-no*; it is ignored." });
    }

    void unlistedActionsWarning()
    {
        child<QComboBox>("modeBox")->setCurrentIndex(PackageTable::Filter);
        filterTo(".*");
        HFrameLabel* warning = child<HFrameLabel>("warningLabel");
        QPushButton* clear = child<QPushButton>("clearButton");
        QCOMPARE(warning->text(), QString());
        QRect const clearGeometry = clear->geometry();
        view->tableModel()->setAction(view->tableModel()->index(modelRow("sv-docs"), 0), Package::Update);
        QCOMPARE(entry("sv-docs")->action, Package::Update);

        filterTo("^sv-tool");
        QVERIFY(!listedNames().contains("sv-docs"));
        QCOMPARE(warning->text(), "Unlisted Actions");
        QCOMPARE(clear->geometry(), clearGeometry);
        filterTo("docs");
        QCOMPARE(warning->text(), QString());
        QCOMPARE(clear->geometry(), clearGeometry);

        // A state filter that hides it warns as well; clearing the actions ends it.
        child<QComboBox>("stateBox")->setCurrentIndex(PackageTable::Installable);
        QCOMPARE(warning->text(), "Unlisted Actions");
        QTest::mouseClick(clear, Qt::LeftButton);
        QCOMPARE(warning->text(), QString());
        QCOMPARE(entry("sv-docs")->action, Package::NoAction);
    }

    void clearButtonClearsFilter()
    {
        filterTo("^sv-tool$");
        int const filtered = int(listedNames().size());
        // The clear button, as the user clicks it.
        auto* clear = child<QLineEdit>("regexpEdit")->findChild<QToolButton*>();
        QVERIFY(clear);
        clear->click();
        QVERIFY2(listedNames().size() > filtered, qPrintable(listedNames().join(u' ')));
    }

    // An expression that does not compile lists everything, and the field
    // says it is not valid until a valid one replaces it.
    void invalidExpressionIsShown()
    {
        auto* edit = child<QLineEdit>("regexpEdit");
        filterTo(".*");
        int const all = int(listedNames().size());
        filterTo("(");
        QCOMPARE(int(listedNames().size()), all);
        QVERIFY(!edit->accessibleDescription().isEmpty() && edit->toolTip().contains(edit->accessibleDescription()));
        QVERIFY(edit->palette().color(QPalette::Base) != QApplication::palette(edit).color(QPalette::Base));
        filterTo("^sv-tool$");
        QVERIFY(edit->accessibleDescription().isEmpty());
        QCOMPARE(edit->palette().color(QPalette::Base), QApplication::palette(edit).color(QPalette::Base));
    }

    void busyWhileCollecting()
    {
        QWidget* panel = child<QWidget>("mainPanel");
        QAction* logAction = nullptr;
        for (QAction* action : child<QMenu>("windowsMenu")->actions())
            logAction = action->text() == "&Log" ? action : logAction;
        QVERIFY(logAction);
        bool sawBusy = false, panelEnabled = true, logEnabled = false, logShown = false;
        QTimer probe;
        connect(&probe, &QTimer::timeout, this, [&] {
            if (!window->isInitialized() || !QApplication::overrideCursor() || sawBusy)
                return;
            sawBusy = true;
            panelEnabled = panel->isEnabled();
            logEnabled = logAction->isEnabled();
            logAction->trigger();
            for (QWidget* top : QApplication::topLevelWidgets())
                logShown = logShown || (top->windowTitle() == "SORVAN Log" && top->isVisible());
        });
        probe.start(0);
        QMetaObject::invokeMethod(window, "refresh");
        probe.stop();
        QVERIFY(sawBusy && !panelEnabled && logEnabled && logShown);
        QVERIFY(panel->isEnabled());
        QVERIFY(!QApplication::overrideCursor());
        QVERIFY(window->yumSession()->count() > 0);
    }

    // Refresh and Quit throw marked actions away only when the user agrees.
    void marksAskBeforeTheyGo()
    {
        markByName("sv-app", Package::Install);
        answerWith("Cancel");
        QMetaObject::invokeMethod(window, "refresh");
        QMetaObject::invokeMethod(window, "requestQuit", Q_ARG(bool, true));
        QCOMPARE(asked.size(), 2);
        QVERIFY2(asked[0].startsWith("Refresh the package list?\n1 marked action"), qPrintable(asked[0]));
        QVERIFY2(asked[1].startsWith("Quit SORVAN?"), qPrintable(asked[1]));
        QVERIFY(window->isVisible());
        QCOMPARE(entry("sv-app")->action, Package::Install);

        answerWith("Refresh");
        QMetaObject::invokeMethod(window, "refresh");
        QCOMPARE(entry("sv-app")->action, Package::NoAction);
        QVERIFY(!child<QPushButton>("applyButton")->isEnabled());
    }

    // After a failed apply the table is collected anew with the marks that
    // still make sense; after a transaction, it shows the system as it is.
    void applyCollectsAgain()
    {
        QPushButton* apply = child<QPushButton>("applyButton");
        QVERIFY(apply->isVisible());
        markByName("sv-app", Package::Install);
        QVERIFY(apply->isEnabled());
        {
            SessionTest::LockHolder holder(
                SessionTest::LockHolder::dnf("build_rpmdb_lock"), root.filePath("root") + "/var/lib/dnf");
            QVERIFY(holder.holds());
            answerWith("OK");
            QTest::mouseClick(apply, Qt::LeftButton);
        }
        QVERIFY2(asked.join(u'|').contains("rpmdb_lock.pid"), qPrintable(asked.join(u'|')));
        QCOMPARE(entry("sv-app")->action, Package::Install);
        QVERIFY(apply->isEnabled());

        answerWith("Apply");
        QTest::mouseClick(apply, Qt::LeftButton);
        QVERIFY2(asked.size() == 1 && asked[0].startsWith("Transaction to be performed:\n\tInstall: sv-app"),
            qPrintable(asked.join(u'|')));
        QCOMPARE(entry("sv-app")->state, Package::Installed);
        QCOMPARE(entry("sv-app")->action, Package::NoAction);
        QCOMPARE(entry("sv-libfoo")->state, Package::Installed);
        QVERIFY(!apply->isEnabled());
        QVERIFY(child<QWidget>("mainPanel")->isEnabled());
    }

    // The Help menu's two manuals: a manual found nowhere is reported with
    // every place looked in.
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
        answerWith("OK");
        child<QMenu>("helpMenu")->actions().at(item)->trigger();
        QCOMPARE(asked.size(), 1);
        QVERIFY2(asked.first().contains(docs.filePath("installed/" + file))
                && asked.first().contains(docs.filePath("built/" + file)),
            qPrintable(asked.first()));
    }

    // Closing the window while the engine works waits for it to finish, then
    // ends the session and releases the root.
    void quitWaitsForTheOperation()
    {
        answerer.stop();
        // The application quitting ends every event loop, the one that waits
        // for the worker too: the wait goes on until the worker is done with it.
        bool exited = false;
        QTimer early;
        connect(&early, &QTimer::timeout, this, [&] {
            if (window->yumSession()->isBusy() && !exited) {
                exited = true;
                QCoreApplication::exit(0);
            }
        });
        early.start(0);
        QMetaObject::invokeMethod(window, "refresh");
        early.stop();
        QVERIFY(exited);
        QVERIFY(window->yumSession()->count() > 0);

        bool closedWhileBusy = false;
        QTimer probe;
        connect(&probe, &QTimer::timeout, this, [&] {
            if (!window->yumSession() || !window->yumSession()->isBusy())
                return;
            probe.stop();
            window->close();
            closedWhileBusy = window->isVisible() && window->yumSession() != nullptr;
        });
        probe.start(0);
        QMetaObject::invokeMethod(window, "refresh");
        QVERIFY(closedWhileBusy);
        QTRY_VERIFY(!window->isVisible());
        QCOMPARE(window->yumSession(), nullptr);
    }
};

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
