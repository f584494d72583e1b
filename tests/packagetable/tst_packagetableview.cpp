// The package table view over a real collection of the sandbox root: the
// Action column's click cycle, the context menus and the actions they offer
// for mixed selections, the rows and signals it reports in model terms, its
// disabled colours, sorting from the header, and sizing to every entry.

#include "SandboxSession.h"
#include "app/Colors.h"
#include "packagetable/PackageTableModel.h"
#include "packagetable/PackageTableSortFilterProxyModel.h"
#include "packagetable/PackageTableView.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QMenu>
#include <QPointer>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <QVBoxLayout>
#include <functional>

using namespace PackageTable;

class TableView : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    void construction();
    void clickCycle_data();
    void clickCycle();
    void clicksElsewhereDoNothing();
    void actionMenu_data();
    void actionMenu();
    void actionMenuWithoutSelection();
    void otherMenu();
    void currentAndSelectedRows();
    void disabledColours();
    void headerSorts();
    void resizeSizesForEveryEntry();
    void resizeGrowsTheWindowWithinTheScreen();

private:
    QModelIndex at(QString const& name, int column, Package::Kind kind = Package::Ordinary) const;
    void select(QStringList const& names);
    // Runs `act` on the popup menu as soon as one is open.
    void whenMenuOpens(std::function<void(QMenu*)> act);
    static QAction* action(QMenu* menu, QString const& text);
    void rightClick(QModelIndex const& index);

    SandboxSession sandbox;
    Model* model = nullptr;
    SortFilterProxyModel* proxy = nullptr;
    QWidget* window = nullptr;
    View* view = nullptr;
    bool menuOpened = false;
    QPointer<QTimer> menuPoll;
};

void TableView::initTestCase()
{
    QVERIFY2(sandbox.start(), qPrintable(sandbox.failure));
    window = new QWidget;
    auto* layout = new QVBoxLayout(window);
    model = new Model(sandbox.yumIO, window);
    proxy = new SortFilterProxyModel(All, true, true, sandbox.yumIO, window);
    proxy->setSourceModel(model);
    view = new View(model, proxy, window);
    layout->addWidget(view);
    window->resize(700, 500);
    window->show();
    QVERIFY(QTest::qWaitForWindowExposed(window));
}

void TableView::cleanupTestCase()
{
    delete window;
    QVERIFY2(sandbox.reports.isEmpty(), qPrintable(sandbox.reports.join(QLatin1Char('\n'))));
}

void TableView::init()
{
    model->clearActions();
    model->setDescriber(nullptr);
    model->setBrowser(nullptr);
    proxy->setFilterRegExp(QString());
    view->clearSelection();
    view->sortByColumn(KindColumn, Qt::AscendingOrder);
}

void TableView::cleanup()
{
    // A menu that never opened must not leave its poll, which refers to the
    // test's locals, running into the next test.
    delete menuPoll;
}

QModelIndex TableView::at(QString const& name, int column, Package::Kind kind) const
{
    int const row = sandbox.row(name, QString(), kind);
    QModelIndex const index = proxy->mapFromSource(model->index(row, column));
    view->scrollTo(index);
    return index;
}

void TableView::select(QStringList const& names)
{
    view->clearSelection();
    for (QString const& name : names)
        view->selectionModel()->select(
            at(name, NameColumn), QItemSelectionModel::Select | QItemSelectionModel::Rows);
}

void TableView::whenMenuOpens(std::function<void(QMenu*)> act)
{
    menuOpened = false;
    delete menuPoll;
    menuPoll = new QTimer(this);
    connect(menuPoll, &QTimer::timeout, this, [this, act] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (!menu)
            return;
        menuPoll->stop();
        menuOpened = true;
        act(menu);
        if (menu->isVisible())
            menu->close();
    });
    menuPoll->start(10);
}

QAction* TableView::action(QMenu* menu, QString const& text)
{
    for (QAction* action : menu->actions()) {
        if (action->text() == text)
            return action;
    }
    return nullptr;
}

void TableView::rightClick(QModelIndex const& index)
{
    // The press selects as a right click does; the platform then asks for
    // the context menu.
    QPoint const pos = view->visualRect(index).center();
    QTest::mouseClick(view->viewport(), Qt::RightButton, {}, pos);
    QContextMenuEvent event(QContextMenuEvent::Mouse, pos, view->viewport()->mapToGlobal(pos));
    QApplication::sendEvent(view->viewport(), &event);
}

void TableView::construction()
{
    // Sorted by kind from the start: the suite first, then the groups; the
    // header shows it.
    QCOMPARE(view->horizontalHeader()->sortIndicatorSection(), int(KindColumn));
    QCOMPARE(view->horizontalHeader()->sortIndicatorOrder(), Qt::AscendingOrder);
    QCOMPARE(proxy->index(0, NameColumn).data().toString(), QStringLiteral("sv-office-suite"));
    QCOMPARE(proxy->index(1, NameColumn).data().toString(), QStringLiteral("SORVAN Core"));
}

void TableView::clickCycle_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("sortColumn");
    QTest::addColumn<QList<int>>("cycle");

    QList<int> const outOfDate { Package::Update, Package::Remove, Package::NoAction };
    QTest::newRow("out of date") << "sv-tool" << int(KindColumn) << outOfDate;
    // Sorted by action, the row stays under the pointer while its action
    // changes, so that the cycle can be clicked through.
    QTest::newRow("out of date, sorted by action") << "sv-tool" << int(ActionColumn) << outOfDate;
    QTest::newRow("available") << "sv-writer" << int(KindColumn)
                               << QList<int> { Package::Install, Package::NoAction, Package::Install };
    QTest::newRow("installed") << "sv-release" << int(ActionColumn)
                               << QList<int> { Package::Remove, Package::NoAction, Package::Remove };
}

void TableView::clickCycle()
{
    QFETCH(QString, name);
    QFETCH(int, sortColumn);
    QFETCH(QList<int>, cycle);

    view->sortByColumn(sortColumn, Qt::AscendingOrder);
    QModelIndex const index = at(name, ActionColumn);
    QPoint const where = view->visualRect(index).center();
    int const row = sandbox.row(name);
    QSignalSpy changed(view, &View::stateChanged);
    for (int i = 0; i < cycle.size(); ++i) {
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, where);
        QCOMPARE(int(sandbox.entry(name)->action), cycle[i]);
        QCOMPARE(changed.count(), i + 1);
        QCOMPARE(changed.last().at(0).toInt(), row);
    }
}

void TableView::clicksElsewhereDoNothing()
{
    QSignalSpy changed(view, &View::stateChanged);
    for (int column : { StateColumn, KindColumn, NameColumn, RepositoryColumn })
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {},
            view->visualRect(at(QStringLiteral("sv-tool"), column)).center());
    QCOMPARE(changed.count(), 0);
    QCOMPARE(sandbox.entry(QStringLiteral("sv-tool"))->action, Package::NoAction);
}

void TableView::actionMenu_data()
{
    QTest::addColumn<QStringList>("selection");
    QTest::addColumn<QString>("chosen");
    // Whether "&Update", "&Install" and "&Remove" are offered.
    QTest::addColumn<QList<bool>>("offered");
    // The actions of the selected rows afterwards, in selection order.
    QTest::addColumn<QList<int>>("actions");

    QStringList const mixed { "sv-app", "sv-release" };
    // An available and an installed package: no update to offer.
    QTest::newRow("mixed, install") << mixed << "&Install" << QList<bool> { false, true, true }
                                    << QList<int> { Package::Install, Package::NoAction };
    QTest::newRow("mixed, remove") << mixed << "&Remove" << QList<bool> { false, true, true }
                                   << QList<int> { Package::NoAction, Package::Remove };
    QTest::newRow("out of date alone") << QStringList { "sv-kernel" } << "&Update"
                                       << QList<bool> { true, false, true } << QList<int> { Package::Update };
    QStringList const three { "sv-kernel", "sv-writer", "sv-old" };
    QTest::newRow("three states, update")
        << three << "&Update" << QList<bool> { true, true, true }
        << QList<int> { Package::Update, Package::NoAction, Package::NoAction };
    QTest::newRow("three states, remove")
        << three << "&Remove" << QList<bool> { true, true, true }
        << QList<int> { Package::Remove, Package::NoAction, Package::Remove };
    QTest::newRow("available alone") << QStringList { "sv-writer" } << "&Install"
                                     << QList<bool> { false, true, false } << QList<int> { Package::Install };
}

void TableView::actionMenu()
{
    QFETCH(QStringList, selection);
    QFETCH(QString, chosen);
    QFETCH(QList<bool>, offered);
    QFETCH(QList<int>, actions);

    select(selection);
    QList<bool> enabled;
    whenMenuOpens([&](QMenu* menu) {
        for (char const* text : { "&Update", "&Install", "&Remove" })
            enabled.append(action(menu, QLatin1String(text))->isEnabled());
        QVERIFY(action(menu, QStringLiteral("&No Action"))->isEnabled());
        menu->setActiveAction(action(menu, chosen));
        QTest::keyClick(menu, Qt::Key_Return);
    });
    QSignalSpy changed(view, &View::stateChanged);
    // On a selected row the right click keeps the selection.
    rightClick(at(selection.first(), ActionColumn));
    QVERIFY(menuOpened);
    QCOMPARE(enabled, offered);
    QCOMPARE(view->selectedRows().size(), selection.size());
    for (int i = 0; i < selection.size(); ++i)
        QCOMPARE(int(sandbox.entry(selection[i])->action), actions[i]);
    QCOMPARE(changed.count(), 1);
    QCOMPARE(changed[0][0].toInt(), -1);

    // "&No Action" is legal everywhere.
    whenMenuOpens([&](QMenu* menu) {
        menu->setActiveAction(action(menu, QStringLiteral("&No Action")));
        QTest::keyClick(menu, Qt::Key_Return);
    });
    rightClick(at(selection.first(), ActionColumn));
    for (QString const& name : selection)
        QCOMPARE(sandbox.entry(name)->action, Package::NoAction);
}

void TableView::actionMenuWithoutSelection()
{
    // A menu asked for without a selection acts on its own row.
    view->clearSelection();
    QList<bool> enabled;
    whenMenuOpens([&](QMenu* menu) {
        for (char const* text : { "&Update", "&Install", "&Remove" })
            enabled.append(action(menu, QLatin1String(text))->isEnabled());
        menu->setActiveAction(action(menu, QStringLiteral("&Remove")));
        QTest::keyClick(menu, Qt::Key_Return);
    });
    view->handleCustomContextMenuRequested(
        view->visualRect(at(QStringLiteral("sv-reloc"), ActionColumn)).center());
    QVERIFY(menuOpened);
    QCOMPARE(enabled, QList<bool>({ false, false, true }));
    QCOMPARE(sandbox.entry(QStringLiteral("sv-reloc"))->action, Package::Remove);
}

void TableView::otherMenu()
{
    // With nothing to show about a package, no menu opens.
    QSignalSpy changed(view, &View::stateChanged);
    whenMenuOpens([](QMenu*) {});
    view->handleCustomContextMenuRequested(
        view->visualRect(at(QStringLiteral("sv-app"), NameColumn)).center());
    QVERIFY(!menuOpened);
    QVERIFY(!QApplication::activePopupWidget());

    QStringList shown;
    auto viewer = [&](QString const& what) {
        return [&, what](YumIO*, Package::Entry const& entry, YumConfIO*, QWidget* parent) {
            QCOMPARE(parent, view);
            shown.append(what + QLatin1Char(' ') + entry.name);
        };
    };
    model->setDescriber(viewer(QStringLiteral("describe")));
    model->setBrowser(viewer(QStringLiteral("browse")));

    // Browsing is offered on the Repository column only.
    for (int column : { int(NameColumn), int(RepositoryColumn) }) {
        QStringList visible;
        whenMenuOpens([&](QMenu* menu) {
            for (QAction const* item : menu->actions()) {
                if (item->isVisible())
                    visible.append(item->text());
            }
        });
        rightClick(at(QStringLiteral("sv-app"), column));
        QVERIFY(menuOpened);
        QStringList expected { "&Describe" };
        if (column == RepositoryColumn)
            expected.append(QStringLiteral("Browse Repository"));
        QCOMPARE(visible, expected);
    }

    for (char const* text : { "&Describe", "Browse Repository" }) {
        whenMenuOpens([&](QMenu* menu) {
            menu->setActiveAction(action(menu, QLatin1String(text)));
            QTest::keyClick(menu, Qt::Key_Return);
        });
        rightClick(at(QStringLiteral("sv-calc"), RepositoryColumn));
    }
    QCOMPARE(shown, QStringList({ "describe sv-calc", "browse sv-calc" }));

    // The Describe button's slot describes the current row.
    view->setCurrentIndex(at(QStringLiteral("sv-writer"), NameColumn));
    view->describe();
    QCOMPARE(shown.last(), QStringLiteral("describe sv-writer"));
    QCOMPARE(changed.count(), 0);
}

void TableView::currentAndSelectedRows()
{
    // Sorted by name, the view's rows are not the model's.
    view->sortByColumn(NameColumn, Qt::DescendingOrder);
    view->setCurrentIndex(QModelIndex());
    QSignalSpy current(view, qOverload<int, int>(&View::currentChanged));

    int const writer = sandbox.row(QStringLiteral("sv-writer"));
    int const core = sandbox.row(QStringLiteral("SORVAN Core"), QString(), Package::Group);
    view->setCurrentIndex(at(QStringLiteral("sv-writer"), NameColumn));
    QCOMPARE(current.count(), 1);
    QCOMPARE(current[0][0].toInt(), writer);
    QCOMPARE(current[0][1].toInt(), -1);
    // Another cell of the same row is the same row.
    view->setCurrentIndex(at(QStringLiteral("sv-writer"), SizeColumn));
    QCOMPARE(current.count(), 1);
    view->setCurrentIndex(at(QStringLiteral("SORVAN Core"), NameColumn, Package::Group));
    QCOMPARE(current.count(), 2);
    QCOMPARE(current[1][0].toInt(), core);
    QCOMPARE(current[1][1].toInt(), writer);

    select({ "sv-writer", "sv-app" });
    QList<int> rows;
    for (QModelIndex const& index : view->selectedRows()) {
        QCOMPARE(index.model(), model);
        rows.append(index.row());
    }
    std::sort(rows.begin(), rows.end());
    QList<int> expected { writer, sandbox.row(QStringLiteral("sv-app")) };
    std::sort(expected.begin(), expected.end());
    QCOMPARE(rows, expected);
}

void TableView::disabledColours()
{
    QModelIndex const index = at(QStringLiteral("sv-tool"), NameColumn);
    view->setEnabled(false);
    QVERIFY(!model->isEnabled());
    QCOMPARE(index.data(Qt::ForegroundRole).value<QColor>(), QColor(Colors::errorDisabled()));
    view->setEnabled(true);
    QVERIFY(model->isEnabled());
    // Disabling the window disables the view with it.
    window->setEnabled(false);
    QVERIFY(!model->isEnabled());
    QCOMPARE(index.data(Qt::ForegroundRole).value<QColor>(), QColor(Colors::errorDisabled()));
    window->setEnabled(true);
    QVERIFY(model->isEnabled());
    QCOMPARE(index.data(Qt::ForegroundRole).value<QColor>(), QColor(Colors::error()));
}

void TableView::headerSorts()
{
    QHeaderView* header = view->horizontalHeader();
    auto clickHeader = [&](int column) {
        int const x = header->sectionViewportPosition(column) + header->sectionSize(column) / 2;
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, QPoint(x, header->height() / 2));
    };
    auto first = [&] { return proxy->index(0, NameColumn).data().toString(); };

    clickHeader(NameColumn);
    QCOMPARE(header->sortIndicatorSection(), int(NameColumn));
    QCOMPARE(header->sortIndicatorOrder(), Qt::AscendingOrder);
    QCOMPARE(proxy->filterKeyColumn(), int(NameColumn));
    QCOMPARE(first(), QStringLiteral("SORVAN Core"));
    // A second click on the same column reverses the order.
    clickHeader(NameColumn);
    QCOMPARE(header->sortIndicatorOrder(), Qt::DescendingOrder);
    QCOMPARE(first(), QStringLiteral("sv-writer"));
    // Another column starts ascending.
    clickHeader(StateColumn);
    QCOMPARE(header->sortIndicatorSection(), int(StateColumn));
    QCOMPARE(header->sortIndicatorOrder(), Qt::AscendingOrder);
    QCOMPARE(proxy->filterKeyColumn(), int(StateColumn));
    QCOMPARE(first(), QStringLiteral("SORVAN Core"));
}

void TableView::resizeSizesForEveryEntry()
{
    // Listed alone, sv-app would need a narrower Name column than the
    // longest names of the table.
    proxy->setFilterRegExp(QStringLiteral("^sv-app "));
    QCOMPARE(proxy->rowCount(), 1);
    view->resizeColumnsToContents();
    QList<int> filtered;
    for (int column = 0; column < ColumnCount; ++column)
        filtered.append(view->columnWidth(column));
    QVERIFY(proxy->getFilter());
    QCOMPARE(proxy->rowCount(), 1);

    proxy->setFilterRegExp(QString());
    view->resizeColumnsToContents();
    QList<int> all;
    for (int column = 0; column < ColumnCount; ++column)
        all.append(view->columnWidth(column));
    QCOMPARE(filtered, all);
    QVERIFY(all[NameColumn] > view->fontMetrics().horizontalAdvance(QStringLiteral("sv-viewer-langpack")));

    // The view asks for at least ten rows, and for every row there is.
    int const line = view->rowHeight(0);
    QVERIFY(view->sizeHint().height() >= model->rowCount() * line);
    proxy->setFilterRegExp(QStringLiteral("^sv-app "));
    QVERIFY(view->sizeHint().height() >= 10 * line);
    QVERIFY(view->sizeHint().height() < model->rowCount() * line);
}

void TableView::resizeGrowsTheWindowWithinTheScreen()
{
    QRect const screen = window->screen()->geometry();
    QSize const bound(screen.width() * 9 / 10, screen.height() * 9 / 10);

    window->resize(200, 150);
    view->resizeColumnsToContents();
    QSize const hint = window->sizeHint();
    QCOMPARE(window->size(), hint.boundedTo(bound).expandedTo(QSize(200, 150)));
    // Thirty-one rows do not fit on the test screen: the height stops at 90%.
    QCOMPARE(window->height(), bound.height());

    // A window the user made larger stays as large.
    QSize const large(screen.width() * 19 / 20, screen.height() * 19 / 20);
    window->resize(large);
    view->resizeColumnsToContents();
    QCOMPARE(window->size(), large);
}

QTEST_MAIN(TableView)
#include "tst_packagetableview.moc"
