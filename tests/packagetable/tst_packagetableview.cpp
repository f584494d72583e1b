// The package table view over a real collection of the sandbox root.

#include "SandboxSession.h"
#include "packagetable/PackageTableModel.h"
#include "packagetable/PackageTableSortFilterProxyModel.h"
#include "packagetable/PackageTableView.h"
#include "tests/yumio/TestRows.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QMenu>
#include <QPointer>
#include <QScreen>
#include <QSignalSpy>
#include <QVBoxLayout>
#include <functional>

using namespace PackageTable;
using QSL = QStringList;

class TableView : public QObject
{
    Q_OBJECT

    SandboxSession sandbox;
    Model* model = nullptr;
    SortFilterProxyModel* proxy = nullptr;
    QWidget* window = nullptr;
    View* view = nullptr;
    QPointer<QTimer> menuPoll;
    QStringList menuItems; // the visible items of the last menu opened: "text" or "(text)" when disabled

    QModelIndex at(QString const& name, int column, Package::Kind kind = Package::Ordinary) const
    {
        QModelIndex const index
            = proxy->mapFromSource(model->index(sandbox.row(name, QString(), kind), column));
        view->scrollTo(index);
        return index;
    }
    void select(QSL const& names)
    {
        view->clearSelection();
        for (QString const& name : names)
            view->selectionModel()->select(
                at(name, NameColumn), QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }
    // Chooses `item` (or nothing) in the next menu that opens.
    void whenMenuOpens(QString const& item = {})
    {
        menuItems.clear();
        delete menuPoll;
        menuPoll = new QTimer(this);
        connect(menuPoll, &QTimer::timeout, this, [this, item] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            if (!menu)
                return;
            menuPoll->stop();
            for (QAction* action : menu->actions()) {
                if (action->isVisible())
                    menuItems.append(action->isEnabled()
                            ? action->text()
                            : QLatin1Char('(') + action->text() + QLatin1Char(')'));
                if (action->text() == item)
                    menu->setActiveAction(action);
            }
            if (item.isEmpty())
                menu->close();
            else
                QTest::keyClick(menu, Qt::Key_Return);
        });
        menuPoll->start(10);
    }
    // A press that selects, then the platform's context menu request.
    // The widget's double click event alone, without the press before it,
    // is no double click to a view.
    void doubleClick(QModelIndex const& index)
    {
        QPoint const pos = view->visualRect(index).center();
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, pos);
        QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, pos);
    }
    void rightClick(QModelIndex const& index, QString const& item = {})
    {
        whenMenuOpens(item);
        QPoint const pos = view->visualRect(index).center();
        QTest::mouseClick(view->viewport(), Qt::RightButton, {}, pos);
        QContextMenuEvent event(QContextMenuEvent::Mouse, pos, view->viewport()->mapToGlobal(pos));
        QApplication::sendEvent(view->viewport(), &event);
    }
    QList<int> actionsOf(QSL const& names) const
    {
        QList<int> actions;
        for (QString const& name : names)
            actions.append(sandbox.entry(name)->action);
        return actions;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(sandbox.start(), qPrintable(sandbox.failure));
        window = new QWidget;
        model = new Model(sandbox.yumIO, window);
        proxy = new SortFilterProxyModel(All, true, true, sandbox.yumIO, window);
        proxy->setSourceModel(model);
        view = new View(model, proxy, window);
        (new QVBoxLayout(window))->addWidget(view);
        window->resize(700, 500);
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        // Sorted by kind from the start: the suite first, then the groups.
        QCOMPARE(view->horizontalHeader()->sortIndicatorSection(), int(KindColumn));
        QCOMPARE(proxy->index(0, NameColumn).data().toString(), QStringLiteral("sv-office-suite"));
    }
    void cleanupTestCase()
    {
        delete window;
        QVERIFY2(sandbox.dialogs.dialogs.isEmpty(), qPrintable(sandbox.dialogs.summary()));
    }
    void init()
    {
        model->clearActions();
        model->setDescriber(nullptr);
        model->setBrowser(nullptr);
        proxy->setFilterRegExp(QString());
        view->clearSelection();
        view->sortByColumn(KindColumn, Qt::AscendingOrder);
    }
    void cleanup() { delete menuPoll; } // its lambda refers to the test's locals

    void clickCycle_data()
    {
        // The other states' cycles are the model's; the view only passes clicks on.
        columns<QString, int, QList<int>>("name", "sortColumn", "cycle");
        QList<int> const outOfDate { Package::Update, Package::Remove, Package::NoAction };
        row("out of date", "sv-tool", int(KindColumn), outOfDate);
        // Sorted by action, the row stays under the pointer while its action changes.
        row("out of date, sorted by action", "sv-tool", int(ActionColumn), outOfDate);
    }
    void clickCycle()
    {
        QFETCH(QString, name);
        QFETCH(int, sortColumn);
        QFETCH(QList<int>, cycle);
        view->sortByColumn(sortColumn, Qt::AscendingOrder);
        QPoint const where = view->visualRect(at(name, ActionColumn)).center();
        QSignalSpy changed(view, &View::stateChanged);
        QList<int> actions;
        for (int i = 0; i < cycle.size(); ++i) {
            QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, where);
            actions.append(sandbox.entry(name)->action);
        }
        QCOMPARE(actions, cycle);
        QCOMPARE(changed.count(), cycle.size());
        QCOMPARE(changed.last().at(0).toInt(), sandbox.row(name));

        // Clicks in other columns change nothing.
        changed.clear();
        for (int column : { StateColumn, NameColumn, RepositoryColumn })
            QTest::mouseClick(
                view->viewport(), Qt::LeftButton, {}, view->visualRect(at(name, column)).center());
        QCOMPARE(changed.count(), 0);
        QCOMPARE(sandbox.entry(name)->action, Package::NoAction);
    }

    void actionMenu_data()
    {
        // The menu's items, then the actions of the selected rows afterwards.
        columns<QSL, QString, QString, QList<int>>("selection", "chosen", "items", "actions");
        QSL const mixed { "sv-app", "sv-release" };
        QSL const three { "sv-kernel", "sv-writer", "sv-old" };
        row("mixed, install", mixed, "&Install", "(&Update) &Install &Remove &No Action",
            QList<int> { Package::Install, Package::NoAction });
        row("out of date alone", QSL { "sv-kernel" }, "&Update", "&Update (&Install) &Remove &No Action",
            QList<int> { Package::Update });
        row("three states, remove", three, "&Remove", "&Update &Install &Remove &No Action",
            QList<int> { Package::Remove, Package::NoAction, Package::Remove });
    }
    void actionMenu()
    {
        QFETCH(QSL, selection);
        QFETCH(QString, chosen);
        QFETCH(QList<int>, actions);
        select(selection);
        QSignalSpy changed(view, &View::stateChanged);
        rightClick(at(selection.first(), ActionColumn), chosen); // on a selected row: keeps the selection
        QTEST(menuItems.join(QLatin1Char(' ')), "items");
        QCOMPARE(view->selectedRows().size(), selection.size());
        QCOMPARE(actionsOf(selection), actions);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed[0][0].toInt(), -1);
        rightClick(at(selection.first(), ActionColumn), QStringLiteral("&No Action")); // legal everywhere
        QCOMPARE(actionsOf(selection), QList<int>(selection.size(), Package::NoAction));
    }

    void actionMenuWithoutSelection()
    {
        // A menu asked for without a selection acts on its own row.
        view->clearSelection();
        whenMenuOpens(QStringLiteral("&Remove"));
        view->handleCustomContextMenuRequested(
            view->visualRect(at(QStringLiteral("sv-reloc"), ActionColumn)).center());
        QCOMPARE(menuItems.join(QLatin1Char(' ')), QStringLiteral("(&Update) (&Install) &Remove &No Action"));
        QCOMPARE(sandbox.entry(QStringLiteral("sv-reloc"))->action, Package::Remove);
    }

    void otherMenu()
    {
        // With nothing to show about a package, no menu opens.
        QSignalSpy changed(view, &View::stateChanged);
        rightClick(at(QStringLiteral("sv-app"), NameColumn));
        QVERIFY(menuItems.isEmpty() && !QApplication::activePopupWidget());

        QSL shown;
        auto viewer = [&](QString const& what) {
            return [&, what](YumIO* session, Package::Entry const& entry, YumConfIO*, QWidget* parent) {
                QVERIFY(session == sandbox.yumIO && parent == view);
                shown.append(what + QLatin1Char(' ') + entry.name);
            };
        };
        model->setDescriber(viewer(QStringLiteral("describe")));
        model->setBrowser(viewer(QStringLiteral("browse")));
        // Browsing is offered on the Repository column only.
        rightClick(at(QStringLiteral("sv-app"), NameColumn), QStringLiteral("&Describe"));
        QCOMPARE(menuItems, QSL { "&Describe" });
        rightClick(at(QStringLiteral("sv-calc"), RepositoryColumn), QStringLiteral("Browse Repository"));
        QCOMPARE(menuItems, QSL({ "&Describe", "Browse Repository" }));
        // The Describe button's slot describes the current row.
        view->setCurrentIndex(at(QStringLiteral("sv-writer"), NameColumn));
        view->describe();
        // So do Enter and a double click, but not on the Action cell, where
        // clicks cycle the action.
        view->setCurrentIndex(at(QStringLiteral("sv-calc"), NameColumn));
        QTest::keyClick(view, Qt::Key_Return);
        doubleClick(at(QStringLiteral("sv-app"), VersionColumn));
        QCOMPARE(changed.count(), 0);
        doubleClick(at(QStringLiteral("sv-app"), ActionColumn));
        QCOMPARE(shown,
            QSL({ "describe sv-app", "browse sv-calc", "describe sv-writer", "describe sv-calc",
                "describe sv-app" }));
    }

    void rowsInModelTerms()
    {
        // Sorted by name, the view's rows are not the model's.
        view->sortByColumn(NameColumn, Qt::DescendingOrder);
        view->setCurrentIndex(QModelIndex());
        QSignalSpy current(view, qOverload<int, int>(&View::currentChanged));
        int const writer = sandbox.row(QStringLiteral("sv-writer"));
        int const core = sandbox.row(QStringLiteral("SORVAN Core"), QString(), Package::Group);
        view->setCurrentIndex(at(QStringLiteral("sv-writer"), NameColumn));
        view->setCurrentIndex(at(QStringLiteral("sv-writer"), SizeColumn)); // the same row
        view->setCurrentIndex(at(QStringLiteral("SORVAN Core"), NameColumn, Package::Group));
        QCOMPARE(current.count(), 2);
        QCOMPARE(current[0], QVariantList({ writer, -1 }));
        QCOMPARE(current[1], QVariantList({ core, writer }));

        select({ "sv-writer", "sv-app" });
        QList<int> rows, expected { writer, sandbox.row(QStringLiteral("sv-app")) };
        for (QModelIndex const& index : view->selectedRows())
            rows.append(index.model() == model ? index.row() : -1);
        std::sort(rows.begin(), rows.end());
        std::sort(expected.begin(), expected.end());
        QCOMPARE(rows, expected);
    }

    void disabledColours()
    {
        // Disabling the window disables the view, which switches the model's colours.
        window->setEnabled(false);
        QVERIFY(!model->isEnabled());
        window->setEnabled(true);
        QVERIFY(model->isEnabled());
    }

    void headerSorts()
    {
        QHeaderView* header = view->horizontalHeader();
        QSL seen;
        for (int column : { NameColumn, NameColumn, StateColumn }) {
            int const x = header->sectionViewportPosition(column) + header->sectionSize(column) / 2;
            QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, QPoint(x, header->height() / 2));
            QCOMPARE(proxy->filterKeyColumn(), column);
            seen.append(QString::number(header->sortIndicatorSection()) + QLatin1Char(':')
                + QString::number(header->sortIndicatorOrder()) + QLatin1Char(':')
                + proxy->index(0, NameColumn).data().toString());
        }
        // A second click on the same column reverses the order; another starts ascending.
        QCOMPARE(seen, QSL({ "3:0:SORVAN Core", "3:1:sv-writer", "1:0:SORVAN Core" }));
    }

    void resize()
    {
        // Sized for every entry, also with a filter listing only sv-app.
        proxy->setFilterRegExp(QStringLiteral("^sv-app "));
        view->resizeColumnsToContents();
        QList<int> filtered;
        for (int column = 0; column < ColumnCount; ++column)
            filtered.append(view->columnWidth(column));
        QCOMPARE(proxy->rowCount(), 1);
        QVERIFY(view->sizeHint().height() >= 10 * view->rowHeight(0));
        QVERIFY(view->sizeHint().height() < model->rowCount() * view->rowHeight(0));
        proxy->setFilterRegExp(QString());
        view->resizeColumnsToContents();
        for (int column = 0; column < ColumnCount; ++column)
            QCOMPARE(view->columnWidth(column), filtered[column]);
        QVERIFY(filtered[NameColumn]
            > view->fontMetrics().horizontalAdvance(QStringLiteral("sv-viewer-langpack")));
        QVERIFY(view->sizeHint().height() >= model->rowCount() * view->rowHeight(0));

        // The window grows to its hint within 90% of the screen, never shrinks.
        QRect const screen = window->screen()->geometry();
        QSize const bound(screen.width() * 9 / 10, screen.height() * 9 / 10);
        window->resize(200, 150);
        view->resizeColumnsToContents();
        QCOMPARE(window->size(), window->sizeHint().boundedTo(bound).expandedTo(QSize(200, 150)));
        QCOMPARE(window->height(), bound.height()); // thirty-one rows do not fit
        QSize const large(screen.width() * 19 / 20, screen.height() * 19 / 20);
        window->resize(large);
        view->resizeColumnsToContents();
        QCOMPARE(window->size(), large);
    }
};

QTEST_MAIN(TableView)
#include "tst_packagetableview.moc"
