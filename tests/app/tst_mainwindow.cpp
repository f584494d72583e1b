// The main window on a real collection of a sandbox root: start-up options,
// the search's extra data, the unlisted-actions warning, and the busy state.
#include "app/MainWindow.h"
#include "app/Startup.h"
#include "packagetable/PackageTableModel.h"
#include "packagetable/PackageTableSortFilterProxyModel.h"
#include "packagetable/PackageTableView.h"
#include "tests/yumio/TestRows.h"
#include "widgets/HFrameLabel.h"
#include "yumio/YumIO.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QToolButton>
#include <QtTest>

class TestMainWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void startupOptionsAndSearch();
    void unlistedActionsWarning();
    void clearButtonClearsFilter();
    void busyWhileCollecting();
    void marksAskBeforeTheyGo();
    void applyCollectsAgain();
    void manualItems_data();
    void manualItems();
    void quitWaitsForTheOperation();

private:
    template <typename T>
    T* child(char const* name) const
    {
        T* found = window->findChild<T*>(QString::fromLatin1(name));
        if (!found)
            qFatal("no child %s", name);
        return found;
    }
    QStringList listedNames() const;
    int modelRow(QString const& name) const;
    void filterTo(QString const& regexp);
    // Presses the button whose text contains `button` in every modal dialog
    // that comes up (accepts other dialogs), and records their texts.
    void answerWith(QString const& button);
    void markByName(QString const& name, Package::Action action);

    QTimer answerer;
    QString answer;
    QStringList asked;

    QTemporaryDir root;
    MainWindow* window = nullptr;
    PackageTable::View* view = nullptr;
    int extraDataSignals = 0;
};

void TestMainWindow::initTestCase()
{
    // A root of its own: the session locks it and tests run side by side.
    QString const clone = root.filePath("root");
    QProcess tool;
    tool.start("/usr/bin/python3",
        { "-I", qEnvironmentVariable("SORVAN_SOURCE_DIR") + "/tools/sandbox/sandbox.py", "clone",
            qEnvironmentVariable("SORVAN_BINARY_DIR") + "/sandbox", clone });
    QVERIFY(tool.waitForFinished(120000));
    QVERIFY2(tool.exitCode() == 0, tool.readAllStandardError().constData());
    qputenv("SORVANROOT", clone.toLocal8Bit());

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

QStringList TestMainWindow::listedNames() const
{
    QStringList names;
    QAbstractItemModel* proxy = view->QTableView::model();
    for (int row = 0; row < proxy->rowCount(); ++row)
        names << proxy->index(row, 3).data().toString();
    return names;
}

int TestMainWindow::modelRow(QString const& name) const
{
    PackageTable::Model* model = view->tableModel();
    return model->match(model->index(0, 3), Qt::DisplayRole, name, 1, Qt::MatchExactly).value(0).row();
}

void TestMainWindow::filterTo(QString const& regexp)
{
    child<QLineEdit>("regexpEdit")->setText(regexp);
    QTest::mouseClick(child<QPushButton>("filterButton"), Qt::LeftButton);
}

void TestMainWindow::answerWith(QString const& button)
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

void TestMainWindow::markByName(QString const& name, Package::Action action)
{
    int const row = modelRow(name);
    QVERIFY(row >= 0);
    view->tableModel()->setAction(view->tableModel()->index(row, 0), action);
    window->stateChanged(row);
}

void TestMainWindow::startupOptionsAndSearch()
{
    QCOMPARE(child<QComboBox>("stateBox")->currentText(), "View All");
    QVERIFY(child<QCheckBox>("groupsCheck")->isChecked());
    QCOMPARE(child<QComboBox>("modeBox")->currentIndex(), int(PackageTable::Search));
    QCOMPARE(child<QPushButton>("filterButton")->text(), "Search");
    QCOMPARE(child<QLineEdit>("regexpEdit")->toolTip(),
        "Regular expression to compare to all fields of a package");
    QVERIFY(child<QWidget>("mainPanel")->isVisible());
    QVERIFY(child<QWidget>("mainPanel")->isEnabled());

    // The search needed the file lists and the change logs: each loaded once.
    YumIO* session = window->yumSession();
    QVERIFY(session->fileListsLoaded());
    QVERIFY(session->otherDataLoaded());
    QCOMPARE(extraDataSignals, 2);
    QVERIFY(!child<QComboBox>("modeBox")->toolTip().contains("(Must load extra data.)"));

    // sv-libfoo by name, sv-app through its requirement on it; nothing that
    // does not mention foo anywhere.
    QStringList const names = listedNames();
    QVERIFY2(names.contains("sv-libfoo"), qPrintable(names.join(u',')));
    QVERIFY2(names.contains("sv-app"), qPrintable(names.join(u',')));
    QVERIFY(!names.contains("sv-docs"));
    QVERIFY(!names.contains("SORVAN Core"));

    // The engine keeps no pickled cache; the tips name the root's own cache.
    QHash<QString, QAction*> cache;
    for (QAction* action : child<QMenu>("cacheMenu")->actions())
        cache.insert(action->text(), action);
    QVERIFY(!cache["Clean Pickled Data"]->isEnabled());
    QVERIFY(cache["Clean Sqlite Data"]->isEnabled() && cache["Clean All"]->isEnabled());
    QCOMPARE(cache["Clean Headers"]->toolTip(),
        "Clean RPM package headers cached locally in " + root.filePath("root") + "/var/cache/dnf");

    // A request that names no repository is said once in the log.
    QStringList unknown;
    for (Log::Entry const& entry : std::as_const(session->logEntries().entries))
        if (entry.text.startsWith("No configured repository matches"))
            unknown << entry.text;
    QCOMPARE(unknown, QStringList { "No configured repository matches --enablerepo=sv-no*; it is ignored." });
}

void TestMainWindow::clearButtonClearsFilter()
{
    filterTo("^sv-tool$");
    int const filtered = int(listedNames().size());
    // The clear button, as the user clicks it.
    auto* clear = child<QLineEdit>("regexpEdit")->findChild<QToolButton*>();
    QVERIFY(clear);
    clear->click();
    QVERIFY2(listedNames().size() > filtered, qPrintable(listedNames().join(u' ')));
}

void TestMainWindow::unlistedActionsWarning()
{
    child<QComboBox>("modeBox")->setCurrentIndex(PackageTable::Filter);
    filterTo(".*");
    HFrameLabel* warning = child<HFrameLabel>("warningLabel");
    QPushButton* clear = child<QPushButton>("clearButton");
    QCOMPARE(warning->text(), QString());
    QRect const clearGeometry = clear->geometry();

    int const row = modelRow("sv-docs");
    QVERIFY(row >= 0);
    PackageTable::Model* model = view->tableModel();
    model->setAction(model->index(row, 0), Package::Update);
    QCOMPARE(window->yumSession()->operator[](row)->action, Package::Update);

    filterTo("^sv-tool");
    QVERIFY(!listedNames().contains("sv-docs"));
    QCOMPARE(warning->text(), "Unlisted Actions");
    QCOMPARE(warning->toolTip(),
        "Some packages have actions specified, but because of the current\nMode, Filter, Search, State, "
        "Duplicates, and Groups settings,\nthese packages are not listed currently.\nPressing Apply will "
        "cause these actions to occur nonetheless.");
    QCOMPARE(clear->geometry(), clearGeometry);

    filterTo("docs");
    QCOMPARE(warning->text(), QString());
    QCOMPARE(clear->geometry(), clearGeometry);

    // A state filter that hides it warns as well; clearing the actions ends it.
    child<QComboBox>("stateBox")->setCurrentIndex(PackageTable::Installable);
    QCOMPARE(warning->text(), "Unlisted Actions");
    QTest::mouseClick(clear, Qt::LeftButton);
    QCOMPARE(warning->text(), QString());
    QCOMPARE(window->yumSession()->operator[](row)->action, Package::NoAction);
}

void TestMainWindow::busyWhileCollecting()
{
    QWidget* panel = child<QWidget>("mainPanel");
    QAction* logAction = nullptr;
    for (QAction* action : child<QMenu>("windowsMenu")->actions()) {
        if (action->text() == "&Log")
            logAction = action;
    }
    QVERIFY(logAction);

    bool sawBusy = false;
    bool panelEnabled = true;
    bool logEnabled = false;
    bool logShown = false;
    QTimer probe;
    probe.setInterval(0);
    connect(&probe, &QTimer::timeout, this, [&] {
        if (window->isInitialized() && QApplication::overrideCursor() && !sawBusy) {
            sawBusy = true;
            panelEnabled = panel->isEnabled();
            logEnabled = logAction->isEnabled();
            logAction->trigger();
            for (QWidget* top : QApplication::topLevelWidgets()) {
                if (top->windowTitle() == "SORVAN Log" && top->isVisible())
                    logShown = true;
            }
        }
    });
    probe.start();
    QMetaObject::invokeMethod(window, "refresh");
    probe.stop();

    QVERIFY(sawBusy);
    QVERIFY(!panelEnabled);
    QVERIFY(logEnabled);
    QVERIFY(logShown);
    QVERIFY(panel->isEnabled());
    QVERIFY(!QApplication::overrideCursor());
    QVERIFY(window->yumSession()->count() > 0);
}

// Refresh and Quit throw marked actions away only when the user agrees.
void TestMainWindow::marksAskBeforeTheyGo()
{
    markByName("sv-app", Package::Install);
    answerWith("Cancel");
    QMetaObject::invokeMethod(window, "refresh");
    QMetaObject::invokeMethod(window, "requestQuit", Q_ARG(bool, true));
    QCOMPARE(asked.size(), 2);
    QVERIFY2(asked[0].startsWith("Refresh the package list?\n1 marked action"), qPrintable(asked[0]));
    QVERIFY2(asked[1].startsWith("Quit SORVAN?"), qPrintable(asked[1]));
    QVERIFY(window->isVisible());
    QCOMPARE(window->yumSession()->operator[](modelRow("sv-app"))->action, Package::Install);

    answerWith("Refresh");
    QMetaObject::invokeMethod(window, "refresh");
    QCOMPARE(window->yumSession()->operator[](modelRow("sv-app"))->action, Package::NoAction);
    QVERIFY(!child<QPushButton>("applyButton")->isEnabled());
}

// After a failed apply the table is collected anew with the marks that still
// make sense; after a transaction, the table shows the system as it is.
void TestMainWindow::applyCollectsAgain()
{
    QPushButton* apply = child<QPushButton>("applyButton");
    QVERIFY(apply->isVisible());
    markByName("sv-app", Package::Install);
    QVERIFY(apply->isEnabled());

    QProcess holder;
    holder.start("/usr/bin/python3",
        { "-c",
            "import dnf.lock, sys\nlock = dnf.lock.build_rpmdb_lock(sys.argv[1], False)\nlock.__enter__()\n"
            "print('locked', flush=True)\nsys.stdin.read()\n",
            root.filePath("root") + "/var/lib/dnf" });
    while (!holder.canReadLine())
        QVERIFY(holder.waitForReadyRead(30000));
    answerWith("OK");
    QTest::mouseClick(apply, Qt::LeftButton);
    holder.closeWriteChannel();
    QVERIFY(holder.waitForFinished(30000));
    QVERIFY2(asked.join(u'|').contains("rpmdb_lock.pid"), qPrintable(asked.join(u'|')));
    YumIO* session = window->yumSession();
    Package::Entry const* app = session->operator[](modelRow("sv-app"));
    QCOMPARE(app->action, Package::Install);
    QVERIFY(apply->isEnabled());

    answerWith("Apply");
    QTest::mouseClick(apply, Qt::LeftButton);
    QVERIFY2(asked.size() == 1 && asked[0].startsWith("Transaction to be performed:\n\tInstall: sv-app"),
        qPrintable(asked.join(u'|')));
    app = session->operator[](modelRow("sv-app"));
    QCOMPARE(app->state, Package::Installed);
    QCOMPARE(app->action, Package::NoAction);
    QCOMPARE(session->operator[](modelRow("sv-libfoo"))->state, Package::Installed);
    QVERIFY(!apply->isEnabled());
    QVERIFY(child<QWidget>("mainPanel")->isEnabled());
}

// Closing the window while the engine works waits for it to finish, then
// ends the session and releases the root.
// The Help menu's two manuals; a manual found nowhere is reported with every
// place looked in.
void TestMainWindow::manualItems_data()
{
    columns<int, QString>("item", "file");
    row("html", 0, "html/index.html");
    row("pdf", 1, "manual.pdf");
}

// Without a manual anywhere, the message names every place looked at.
void TestMainWindow::manualItems()
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

void TestMainWindow::quitWaitsForTheOperation()
{
    answerer.stop();
    // The application quitting ends every event loop, the one that waits for
    // the worker too: the wait goes on until the worker is done with it.
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

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
