// The package table's model, filter proxy and view, shown in a window over a
// real collection of the sandbox root.

#include "SandboxSession.h"
#include "app/Colors.h"
#include "app/Share.h"
#include "packagetable/PackageTableModel.h"
#include "packagetable/PackageTableSortFilterProxyModel.h"
#include "packagetable/PackageTableView.h"
#include "tests/yumio/TestRows.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QMenu>
#include <QPointer>
#include <QScreen>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QVBoxLayout>

using namespace PackageTable;
using QSL = QStringList;

namespace
{
QSL const updates { "sv-docs", "sv-epoch", "sv-kernel", "sv-tool" };
QSL const installedAlone { "sv-lib", "sv-old", "sv-release", "sv-reloc" };
// sv-lib's i686 twin is the superseded duplicate of the installed sv-lib.
QSL const available { "sv-app", "sv-calc", "sv-corelib", "sv-devtools", "sv-editor", "sv-extra-docs",
    "sv-failing", "sv-helper", "sv-lib", "sv-libfoo", "sv-mirror-tool", "sv-new", "sv-noisy",
    "sv-office-suite", "sv-themes", "sv-viewer", "sv-viewer-langpack", "sv-writer" };
QSL const updateGroups { "SORVAN Core", "SORVAN Workstation" };
QSL const installedGroups { "SORVAN Minimal" };
QSL const availableGroups { "SORVAN Desktop", "SORVAN Development" };
QSL const packages = updates + installedAlone + available;
QSL const everything = packages + updateGroups + installedGroups + availableGroups;

QSL sorted(QSL list)
{
    list.sort();
    return list;
}
// An icon as the table draws it, or the icon file of that path ("" for none).
QImage picture(QVariant const& decoration)
{
    return qvariant_cast<QIcon>(decoration).pixmap(16, 16).toImage();
}
QImage picture(QString const& path)
{
    return path.isEmpty() ? QImage() : QIcon(Share::absolute(path)).pixmap(16, 16).toImage();
}
// The rows of dataChanged signals, each of which must be a single Action cell.
QList<int> actionRows(QSignalSpy const& spy)
{
    QList<int> rows;
    for (QList<QVariant> const& signal : spy) {
        QModelIndex const from = signal[0].toModelIndex();
        rows.append(from == signal[1].toModelIndex() && from.column() == ActionColumn ? from.row() : -1);
    }
    return rows;
}
} // namespace

class PackageTableTest : public QObject
{
    Q_OBJECT

    SandboxSession sandbox;
    QWidget* window = nullptr;
    Model* model = nullptr;
    SortFilterProxyModel* proxy = nullptr;
    View* view = nullptr;
    QPointer<QTimer> menuPoll;
    QSL menuItems; // the visible items of the last menu opened: "text" or "(text)" when disabled

    // The view's cell of an entry, scrolled into sight.
    QModelIndex at(QString const& name, int column, Package::Kind kind = Package::Ordinary) const
    {
        QModelIndex const index = proxy->mapFromSource(model->index(sandbox.row(name, kind), column));
        view->scrollTo(index);
        return index;
    }
    void configure(Mode mode, StateFilter state, bool dups, bool groups, QString const& expression)
    {
        proxy->setMode(mode);
        proxy->setStateFilter(state);
        proxy->setDupsFilter(dups);
        proxy->setGroupsFilter(groups);
        proxy->setFilterRegExp(expression);
    }
    // Names of the listed entries in row order.
    QSL listed() const
    {
        QSL names;
        for (int row = 0; row < proxy->rowCount(); ++row)
            names.append(model->entry(proxy->mapToSource(proxy->index(row, 0)))->name);
        return names;
    }
    QList<int> actionsOf(QSL const& names) const
    {
        QList<int> actions;
        for (QString const& name : names)
            actions.append(sandbox.entry(name)->action);
        return actions;
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
                    menuItems.append(action->isEnabled() ? action->text() : '(' + action->text() + ')');
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
    void rightClick(QModelIndex const& index, QString const& item = {})
    {
        whenMenuOpens(item);
        QPoint const pos = view->visualRect(index).center();
        QTest::mouseClick(view->viewport(), Qt::RightButton, {}, pos);
        QContextMenuEvent event(QContextMenuEvent::Mouse, pos, view->viewport()->mapToGlobal(pos));
        QApplication::sendEvent(view->viewport(), &event);
    }
    // The double click event alone, without the press before it, is no
    // double click to a view.
    void doubleClick(QModelIndex const& index)
    {
        QPoint const pos = view->visualRect(index).center();
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, pos);
        QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, pos);
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
        for (QAbstractItemModel* tested : QList<QAbstractItemModel*> { model, proxy })
            new QAbstractItemModelTester(
                tested, QAbstractItemModelTester::FailureReportingMode::QtTest, tested);
        window->resize(700, 500);
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QVERIFY(!sandbox.yumIO->fileListsLoaded() && !sandbox.yumIO->otherDataLoaded());
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
        configure(Filter, All, true, true, QString());
        view->clearSelection();
        view->sortByColumn(KindColumn, Qt::AscendingOrder);
    }
    void cleanup() { delete menuPoll; } // its lambda refers to the test's locals

    void rowsBeyondTheEntries()
    {
        // A view may still hold the row at the count after the entries went:
        // it has no data and changes nothing.
        QStandardItemModel larger(model->rowCount() + 1, ColumnCount);
        QModelIndex const beyond = larger.index(model->rowCount(), ActionColumn);
        for (int role : { Qt::DisplayRole, Qt::DecorationRole, Qt::ToolTipRole })
            QVERIFY(!model->data(beyond, role).isValid());
        QSignalSpy changed(model, &QAbstractItemModel::dataChanged);
        model->setAction(beyond, Package::Install);
        model->toggleAction(beyond);
        model->setSelected({ beyond, QModelIndex() });
        QCOMPARE(model->getState(model->rowCount()), -1);
        QCOMPARE(changed.count(), 0);
    }

    void texts_data()
    {
        columns<QString, int, QString, QString, QString>("name", "kind", "version", "repository", "toolTip");
        // Two installed versions behind an update are more than it implies.
        row("update over two installed", "sv-kernel", int(Package::Ordinary), "5.2-1 *", "sv-updates",
            "Available: 5.2-1\nInstalled: 5.0-1\nInstalled: 5.1-1");
        row("epochs", "sv-epoch", int(Package::Ordinary), "2:1.0-1", "sv-updates",
            "Available: 2:1.0-1\nInstalled: 1:2.0-1");
        row("installed", "sv-release", int(Package::Ordinary), "1-1", "installed", "Installed: 1-1");
        row("group", "SORVAN Desktop", int(Package::Group), "", "", "Available: ");
    }
    void texts()
    {
        QFETCH(QString, name);
        QFETCH(int, kind);
        QModelIndex const index = model->index(sandbox.row(name, Package::Kind(kind)), NameColumn);
        auto text = [&](int column, int role = Qt::DisplayRole) {
            return index.siblingAtColumn(column).data(role).toString();
        };
        Package::Entry const* e = model->entry(index);
        QCOMPARE(text(NameColumn), name);
        QTEST(text(VersionColumn), "version");
        QTEST(text(RepositoryColumn), "repository");
        QCOMPARE(text(ArchitectureColumn), e->arch);
        QTEST(text(VersionColumn, Qt::ToolTipRole), "toolTip");
        bool const group = kind == Package::Group;
        QCOMPARE(text(SizeColumn), group ? QString() : Package::bytesFormat(e->size));
        QCOMPARE(text(BuildTimeColumn), group ? QString() : Package::timeFormat(1700000000));
        for (int column : { ActionColumn, StateColumn, KindColumn }) // icons only
            QVERIFY(!index.siblingAtColumn(column).data().isValid());
    }

    void stateAndKind_data()
    {
        columns<QString, int, QString, QString, QString, QString>(
            "name", "kind", "stateIcon", "kindIcon", "colour", "disabledColour");
        row("out of date", "sv-docs", int(Package::Ordinary), "icons/out-of-date.png", "icons/package.png",
            Colors::error(), Colors::errorDisabled());
        // Installed entries take the palette's own text colour.
        row("installed", "sv-old", int(Package::Ordinary), "icons/up-to-date.png", "icons/package.png", "",
            "");
        row("suite", "sv-office-suite", int(Package::Suite), "", "icons/suite.png", Colors::minor(),
            Colors::minorDisabled());
        row("group", "SORVAN Core", int(Package::Group), "icons/out-of-date.png", "icons/group.png",
            Colors::error(), Colors::errorDisabled());
    }
    void stateAndKind()
    {
        QFETCH(QString, name);
        QFETCH(int, kind);
        QFETCH(QString, stateIcon);
        QFETCH(QString, kindIcon);
        QFETCH(QString, colour);
        QFETCH(QString, disabledColour);
        QModelIndex const index = model->index(sandbox.row(name, Package::Kind(kind)), StateColumn);
        QCOMPARE(picture(index.data(Qt::DecorationRole)), picture(stateIcon));
        QVERIFY(!picture(kindIcon).isNull());
        QCOMPARE(picture(index.siblingAtColumn(KindColumn).data(Qt::DecorationRole)), picture(kindIcon));

        // Columns from Kind on take the state's colour, dimmed while the
        // window is disabled, without any data change.
        QSignalSpy changed(model, &QAbstractItemModel::dataChanged);
        for (bool enabled : { false, true }) {
            window->setEnabled(enabled);
            QString const expected = enabled ? colour : disabledColour;
            for (int column = StateColumn; column < ColumnCount; ++column) {
                QVariant const foreground = index.siblingAtColumn(column).data(Qt::ForegroundRole);
                QCOMPARE(foreground.isValid() ? foreground.value<QColor>().name() : QString(),
                    column == StateColumn || expected.isEmpty() ? QString() : QColor(expected).name());
            }
        }
        QCOMPARE(changed.count(), 0);
    }

    void clickCycle_data()
    {
        // The actions after each click on the Action cell, back to none.
        columns<QString, int, QList<int>>("name", "sortColumn", "cycle");
        QList<int> const outOfDate { Package::Update, Package::Remove, Package::NoAction };
        row("out of date", "sv-tool", int(KindColumn), outOfDate);
        // Sorted by action, the row stays under the pointer while its action changes.
        row("out of date, sorted by action", "sv-tool", int(ActionColumn), outOfDate);
        row("available", "sv-app", int(KindColumn), QList<int> { Package::Install, Package::NoAction });
        row("installed", "sv-release", int(KindColumn), QList<int> { Package::Remove, Package::NoAction });
    }
    void clickCycle()
    {
        QFETCH(QString, name);
        QFETCH(int, sortColumn);
        QFETCH(QList<int>, cycle);
        QHash<int, QString> const icons { { Package::Update, "icons/updateBox.png" },
            { Package::Install, "icons/installBox.png" }, { Package::Remove, "icons/removeBox.png" },
            { Package::NoAction, "icons/noneBox.png" } };
        view->sortByColumn(sortColumn, Qt::AscendingOrder);
        QModelIndex const cell = model->index(sandbox.row(name), ActionColumn);
        QPoint const where = view->visualRect(at(name, ActionColumn)).center();
        QSignalSpy stateChanged(view, &View::stateChanged);
        QSignalSpy dataChanged(model, &QAbstractItemModel::dataChanged);
        QList<int> actions;
        for (int i = 0; i < cycle.size(); ++i) {
            QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, where);
            actions.append(model->entry(cell)->action);
            QVERIFY(!picture(icons[actions.last()]).isNull());
            QCOMPARE(picture(cell.data(Qt::DecorationRole)), picture(icons[actions.last()]));
        }
        QCOMPARE(actions, cycle);
        QCOMPARE(actionRows(dataChanged), QList<int>(cycle.size(), cell.row()));
        QCOMPARE(stateChanged.count(), cycle.size());
        QCOMPARE(stateChanged.last().at(0).toInt(), cell.row());

        // Clicks in other columns change nothing.
        for (int column : { StateColumn, NameColumn })
            QTest::mouseClick(
                view->viewport(), Qt::LeftButton, {}, view->visualRect(at(name, column)).center());
        QCOMPARE(stateChanged.count(), cycle.size());
        QCOMPARE(model->entry(cell)->action, Package::NoAction);
    }

    void setSelectedAndClear()
    {
        QSL const names { "sv-docs", "sv-writer", "sv-reloc",
            "sv-epoch" }; // out of date, available, installed, marked
        QList<int> rows;
        for (QString const& name : names)
            rows.append(sandbox.row(name));
        model->setAction(model->index(rows[2], 0), Package::Remove);
        model->setAction(model->index(rows[3], 0), Package::Update);
        QSignalSpy changed(model, &QAbstractItemModel::dataChanged);
        QModelIndexList indexes;
        for (int row : rows)
            indexes.append(model->index(row, NameColumn));
        model->setSelected(indexes);
        QCOMPARE(actionsOf(names),
            QList<int>({ Package::Update, Package::Install, Package::Remove, Package::Update }));
        // Only the rows that changed are signalled: never an installed one.
        QCOMPARE(actionRows(changed), rows.first(2));

        // Cleared with one signal per marked row in the session's order, and
        // none when nothing is marked.
        changed.clear();
        model->clearActions();
        model->clearActions();
        std::sort(rows.begin(), rows.end());
        QCOMPARE(actionRows(changed), rows);
        QCOMPARE(actionsOf(names), QList<int>(names.size(), Package::NoAction));
    }

    void actionMenu_data()
    {
        // The menu's items on the first row's Action cell, then the rows' actions.
        columns<QSL, bool, QString, QString, QList<int>>("rows", "selected", "chosen", "items", "actions");
        row("mixed, install", QSL { "sv-app", "sv-release" }, true, "&Install",
            "(&Update) &Install &Remove &No Action", QList<int> { Package::Install, Package::NoAction });
        row("three states, remove", QSL { "sv-kernel", "sv-writer", "sv-old" }, true, "&Remove",
            "&Update &Install &Remove &No Action",
            QList<int> { Package::Remove, Package::NoAction, Package::Remove });
        // Without a selection, the menu acts on its own row.
        row("unselected", QSL { "sv-reloc" }, false, "&Remove", "(&Update) (&Install) &Remove &No Action",
            QList<int> { Package::Remove });
    }
    void actionMenu()
    {
        QFETCH(QSL, rows);
        QFETCH(bool, selected);
        QFETCH(QString, chosen);
        QFETCH(QList<int>, actions);
        QSignalSpy changed(view, &View::stateChanged);
        QModelIndex const clicked = at(rows.first(), ActionColumn);
        if (selected) {
            select(rows);
            rightClick(clicked, chosen); // on a selected row: keeps the selection
            QCOMPARE(view->selectedRows().size(), rows.size());
        } else {
            whenMenuOpens(chosen);
            view->handleCustomContextMenuRequested(view->visualRect(clicked).center());
        }
        QTEST(menuItems.join(' '), "items");
        QCOMPARE(actionsOf(rows), actions);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed[0][0].toInt(), -1);
        rightClick(clicked, QStringLiteral("&No Action")); // legal everywhere
        QCOMPARE(actionsOf(rows), QList<int>(rows.size(), Package::NoAction));
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
                shown.append(what + ' ' + entry.name);
            };
        };
        model->setDescriber(viewer(QStringLiteral("describe")));
        model->setBrowser(viewer(QStringLiteral("browse")));
        // Browsing is offered on the Repository column only.
        rightClick(at(QStringLiteral("sv-app"), NameColumn), QStringLiteral("&Describe"));
        QCOMPARE(menuItems, QSL { "&Describe" });
        rightClick(at(QStringLiteral("sv-calc"), RepositoryColumn), QStringLiteral("Browse Repository"));
        QCOMPARE(menuItems, QSL({ "&Describe", "Browse Repository" }));
        // The Describe button's slot and Enter describe the current row; so
        // does a double click, but not on the Action cell, where clicks cycle.
        view->setCurrentIndex(at(QStringLiteral("sv-writer"), NameColumn));
        view->describe();
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
        int const core = sandbox.row(QStringLiteral("SORVAN Core"), Package::Group);
        view->setCurrentIndex(at(QStringLiteral("sv-writer"), NameColumn));
        view->setCurrentIndex(at(QStringLiteral("sv-writer"), SizeColumn)); // the same row
        view->setCurrentIndex(at(QStringLiteral("SORVAN Core"), NameColumn, Package::Group));
        QCOMPARE(current.count(), 2);
        QCOMPARE(current[0], QVariantList({ writer, -1 }));
        QCOMPARE(current[1], QVariantList({ core, writer }));

        select({ "sv-writer", "sv-app" });
        QList<int> rows;
        for (QModelIndex const& index : view->selectedRows())
            rows.append(index.model() == model ? index.row() : -1);
        std::sort(rows.begin(), rows.end());
        int const app = sandbox.row(QStringLiteral("sv-app"));
        QCOMPARE(rows, QList<int>({ std::min(writer, app), std::max(writer, app) }));
    }

    void headerSorts()
    {
        // A second click on the same column reverses the order; another starts ascending.
        QHeaderView* header = view->horizontalHeader();
        QSL seen;
        for (int column : { NameColumn, NameColumn, StateColumn }) {
            int const x = header->sectionViewportPosition(column) + header->sectionSize(column) / 2;
            QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, QPoint(x, header->height() / 2));
            QCOMPARE(proxy->filterKeyColumn(), column);
            seen.append(QString::number(header->sortIndicatorSection()) + ':'
                + QString::number(header->sortIndicatorOrder()) + ':' + listed().first());
        }
        QCOMPARE(seen, QSL({ "3:0:SORVAN Core", "3:1:sv-writer", "1:0:SORVAN Core" }));
    }

    void states_data()
    {
        columns<int, bool, bool, QSL>("state", "dups", "groups", "expected");
        row("updatable", int(Updatable), true, false, updates);
        // Without duplicates, the superseded i686 twin goes.
        QSL withoutTwin = available;
        withoutTwin.removeOne(QStringLiteral("sv-lib"));
        row("installable without duplicates", int(Installable), false, true, withoutTwin + availableGroups);
        // Removable is everything installed, out of date or not.
        row("removable", int(Removable), true, true,
            updates + installedAlone + updateGroups + installedGroups);
        row("all", int(All), true, true, everything);
    }
    void states()
    {
        QFETCH(int, state);
        QFETCH(bool, dups);
        QFETCH(bool, groups);
        QFETCH(QSL, expected);
        configure(Filter, StateFilter(state), dups, groups, QStringLiteral(".*"));
        QCOMPARE(sorted(listed()), sorted(expected));
    }

    void listing_data()
    {
        // "mode | expression | listed": F Filter, S Search; "*" everything, "*packages" every package.
        QTest::addColumn<QString>("mode");
        QTest::addColumn<QString>("expression");
        QTest::addColumn<QString>("listed");
        char const* table = R"(
F |                   | *
F | .*-tool.*         | sv-mirror-tool, sv-tool
F | SV-TOOL           |
F | sv-tool 1\.2-1    | sv-tool
F | ^sv-calc$         |
F | ^SORVAN Minimal {5}$ | SORVAN Minimal
F | Spreadsheet|SORVAN Sandbox |
S | ^2:1\.0-1$        | sv-epoch
S | ^sv-mirrored$     | sv-mirror-tool
S | Spreadsheet       | sv-calc
S | \$releasever expands | sv-release
S | ^System Environment/Kernel$ | sv-kernel
S | ^SORVAN Sandbox$  | *packages
S | ^(SORVAN Developers <devel@sorvan\.example>|https://sorvan\.example/sandbox)$ | *packages
S | ^sv-reloc-1\.0-1\.noarch\.rpm$ | sv-reloc
S | ^sv-new-2\.0-1\.src\.rpm$ | sv-new
S | ^/opt/sv-reloc$   | sv-reloc
S | ^system-release\(releasever\) = 1$ | sv-release
S | ^sv-libfoo >= 1\.0$ | sv-app
S | ^sv-old < 2\.0$   | sv-new
S | ^/opt/sv-reloc/share/sv-reloc\.conf$ | sv-reloc
S | Build 1-1 for the sandbox | sv-release
S | ^SORVAN Core$     | SORVAN Core, SORVAN Workstation
S | ^SORVAN Development$ | SORVAN Development, SORVAN Workstation
S | ^sv-corelib$      | SORVAN Core, sv-corelib
S | ^sv-editor$       | SORVAN Desktop, sv-editor
S | ^sv-themes$       | SORVAN Desktop, sv-themes
S | ^sv-viewer-langpack$ | SORVAN Desktop, sv-viewer-langpack
)";
        for (QString const& line : QString::fromUtf8(table).split('\n', Qt::SkipEmptyParts)) {
            qsizetype const bar = line.lastIndexOf(QLatin1String(" |"));
            QTest::newRow(qPrintable(line))
                << line.left(1) << line.mid(4, bar - 4).trimmed() << line.mid(bar + 2).trimmed();
        }
    }
    void listing()
    {
        // Filter mode matches the shown texts joined by single blanks; Search
        // mode each field on its own.
        QFETCH(QString, mode);
        QFETCH(QString, expression);
        QFETCH(QString, listed);
        configure(mode == QLatin1String("F") ? Filter : Search, All, true, true, expression);
        QSL const expected = listed == QLatin1String("*") ? everything
            : listed == QLatin1String("*packages")        ? packages
                                                   : listed.split(QLatin1String(", "), Qt::SkipEmptyParts);
        QCOMPARE(sorted(this->listed()), sorted(expected));
        // Installed packages' files and change logs come from the rpm
        // database: a search needs no extra data for them.
        QVERIFY(!sandbox.yumIO->fileListsLoaded() && !sandbox.yumIO->otherDataLoaded());
    }

    void searchNeedsExtraData()
    {
        // Files and change logs of packages not installed count once the
        // session has loaded them; a search never loads them itself.
        QString const file = QStringLiteral("^/usr/share/sv-new/data$");
        configure(Search, All, true, true, file);
        QCOMPARE(listed(), QSL());
        proxy->setFilterRegExp(QStringLiteral("- Build 3\\.0-1 for the sandbox"));
        QCOMPARE(listed(), QSL());
        QVERIFY(!sandbox.yumIO->fileListsLoaded() && !sandbox.yumIO->otherDataLoaded());

        // As the main window does: no filtering while the data loads, every
        // verdict anew afterwards.
        proxy->setFilter(false);
        QCOMPARE(proxy->rowCount(), model->rowCount());
        QVERIFY(sandbox.yumIO->collectFileLists() && sandbox.yumIO->collectOtherData());
        proxy->setFilter(true);
        QCOMPARE(sorted(listed()), QSL({ "sv-calc", "sv-office-suite", "sv-writer" }));
        proxy->setFilterRegExp(file);
        QCOMPARE(listed(), QSL { "sv-new" });
        proxy->setMode(Filter); // still only the shown texts
        QCOMPARE(listed(), QSL());
    }

    void setUpdateListed()
    {
        // Listed: sv-tool and sv-docs (out of date), sv-release (installed).
        sandbox.entry(QStringLiteral("sv-tool"))->action = Package::Remove;
        sandbox.entry(QStringLiteral("sv-release"))->action = Package::Remove;
        configure(Filter, All, true, false, QStringLiteral("^sv-(tool|docs|release) "));
        QSignalSpy changed(model, &QAbstractItemModel::dataChanged);
        proxy->setUpdateListed();
        QCOMPARE(actionsOf({ "sv-docs", "sv-release", "sv-tool" }),
            QList<int>({ Package::Update, Package::Remove, Package::Update }));
        QCOMPARE(changed.count(), 2);

        // Sorted by action, the rows whose action changes must all be reached.
        model->clearActions();
        configure(Filter, Updatable, true, true, QString());
        view->sortByColumn(ActionColumn, Qt::AscendingOrder);
        proxy->setUpdateListed();
        for (Package::Entry const* e : *sandbox.yumIO)
            QCOMPARE(
                e->action, e->state == Package::AvailableForUpdate ? Package::Update : Package::NoAction);
    }

    void sorting_data()
    {
        // Ascending; descending is the reverse, ties by name included.
        columns<int, QSL>("column", "expected");
        QSL ordinary = sorted(packages);
        ordinary.removeOne(QStringLiteral("sv-office-suite"));
        QSL const groups = sorted(updateGroups + installedGroups + availableGroups);
        // Kinds: suite 0, group 1, ordinary 2.
        row("kind", int(KindColumn), QSL { "sv-office-suite" } + groups + ordinary);
        // Groups have no build time; every package was built at one second.
        row("build time", int(BuildTimeColumn), groups + sorted(packages));
        // Upper case before lower case.
        row("name", int(NameColumn), groups + sorted(packages));
    }
    void sorting()
    {
        QFETCH(int, column);
        view->sortByColumn(column, Qt::AscendingOrder);
        QTEST(listed(), "expected");
        view->sortByColumn(column, Qt::DescendingOrder);
        QSL descending = listed();
        std::reverse(descending.begin(), descending.end());
        QTEST(descending, "expected");
    }

    void sortedAfterFilterChanges()
    {
        // A broken expression lists everything, the rows a filter lets back
        // in at their sorted places; sizes compare as numbers, equal ones by name.
        view->sortByColumn(SizeColumn, Qt::AscendingOrder);
        proxy->setFilterRegExp(QStringLiteral("sv-(w|a)"));
        proxy->setFilterRegExp(QStringLiteral("("));
        QCOMPARE(proxy->rowCount(), model->rowCount());
        for (int row = 1; row < proxy->rowCount(); ++row) {
            Package::Entry const* a = model->entry(proxy->mapToSource(proxy->index(row - 1, 0)));
            Package::Entry const* b = model->entry(proxy->mapToSource(proxy->index(row, 0)));
            QVERIFY2(a->size < b->size || (a->size == b->size && a->name <= b->name),
                qPrintable(a->name + ' ' + b->name));
        }
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

    void newCollection()
    {
        // Last: it collects anew.  What the proxy kept of the first collection
        // must not outlive it: the second, with sv-extras enabled and
        // sv-mirrored disabled, has as many entries in other places.
        configure(Search, All, true, true, QStringLiteral("sv-extras"));
        view->sortByColumn(NameColumn, Qt::AscendingOrder);
        QCOMPARE(listed(), QSL { "sv-tool" });
        sandbox.yumIO->clear();
        QVERIFY(sandbox.yumIO->collect(
            { { QStringLiteral("sv-extras"), true }, { QStringLiteral("sv-mirrored"), false } }));
        model->reset();
        QCOMPARE(model->rowCount(), 31);
        // sv-extra-tool's summary names its repository too.
        QCOMPARE(listed(), QSL({ "sv-extra-tool", "sv-tool" }));
        configure(Filter, All, true, true, QStringLiteral("-tool"));
        QCOMPARE(listed(), QSL({ "sv-extra-tool", "sv-tool" }));
        proxy->setFilterRegExp(QString());
        QSL names;
        for (Package::Entry const* e : *sandbox.yumIO)
            names.append(e->name);
        QCOMPARE(listed(), sorted(names));
    }
};

QTEST_MAIN(PackageTableTest)
#include "tst_packagetable.moc"
