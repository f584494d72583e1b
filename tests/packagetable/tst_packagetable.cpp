// The package table: its model, filter proxy, view and description dialog,
// shown in a window over a real collection of the sandbox root.

#include "app/Colors.h"
#include "app/Share.h"
#include "packagetable/PackageTableDescribeDialog.h"
#include "packagetable/PackageTableDescribeInstanceArea.h"
#include "packagetable/PackageTableModel.h"
#include "packagetable/PackageTableSortFilterProxyModel.h"
#include "packagetable/PackageTableView.h"
#include "repo/YumConfIO.h"
#include "tests/yumio/SessionTestSupport.h"
#include "tests/yumio/TestRows.h"
#include "widgets/HProgressBar.h"

#include <QAbstractItemModelTester>
#include <QApplication>
#include <QContextMenuEvent>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTemporaryDir>
#include <QVBoxLayout>
#include <functional>

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
QSL const groupNames { "SORVAN Core", "SORVAN Desktop", "SORVAN Development", "SORVAN Minimal",
    "SORVAN Workstation" };
QSL const packages = updates + installedAlone + available;

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

    QTemporaryDir dir; // the sandbox root's own copy: parallel tests do not meet on its lock
    SessionTest::DialogAnswerer dialogs;
    YumIO* yumIO = nullptr;
    QWidget* window = nullptr;
    Model* model = nullptr;
    SortFilterProxyModel* proxy = nullptr;
    View* view = nullptr;
    QPointer<QTimer> menuPoll;
    QSL menuItems; // the visible items of the last menu opened: "text" or "(text)" when disabled
    YumConfIO* conf = nullptr;
    QList<YumRepoEnabled> noRequests;
    QHash<QString, bool> sessionEnabled;
    std::function<void(QDialog*)> onShow; // every dialog as it is shown, before anything else sees it

    bool eventFilter(QObject* object, QEvent* event) override
    {
        if (auto* dialog = qobject_cast<QDialog*>(object); dialog && onShow && event->type() == QEvent::Show)
            onShow(dialog);
        return false;
    }

    // The row of the entry of that name and kind; -1 for none.
    int rowOf(QString const& name, Package::Kind kind = Package::Ordinary) const
    {
        for (int i = 0; i < yumIO->count(); ++i) {
            if ((*yumIO)[i]->name == name && (*yumIO)[i]->kind == kind)
                return i;
        }
        return -1;
    }
    Package::Entry* entry(QString const& name) const { return (*yumIO)[rowOf(name)]; }
    // The centre of an entry's cell in the view, scrolled into sight.
    QPoint at(QString const& name, int column, Package::Kind kind = Package::Ordinary) const
    {
        QModelIndex const index = proxy->mapFromSource(model->index(rowOf(name, kind), column));
        view->scrollTo(index);
        return view->visualRect(index).center();
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
            actions.append(entry(name)->action);
        return actions;
    }
    // Opens the menu at `pos`, after a selecting press or not, and chooses `item` (or nothing).
    void rightClick(QPoint const& pos, QString const& item = {}, bool press = true)
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
        if (press)
            QTest::mouseClick(view->viewport(), Qt::RightButton, {}, pos);
        QContextMenuEvent event(QContextMenuEvent::Mouse, pos, view->viewport()->mapToGlobal(pos));
        QApplication::sendEvent(view->viewport(), &event);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QString const failure = SessionTest::sandbox("clone", { dir.filePath("root") });
        QVERIFY2(failure.isEmpty(), qPrintable(failure));
        qputenv("SORVANROOT", dir.filePath("root").toLocal8Bit());
        window = new QWidget;
        yumIO = new YumIO;
        yumIO->setup(window, new HProgressBar(window), new HProgressBar(window));
        QVERIFY2(yumIO->initialize() && yumIO->collect({}), qPrintable(dialogs.summary()));
        model = new Model(yumIO, window);
        proxy = new SortFilterProxyModel(All, true, true, yumIO, window);
        proxy->setSourceModel(model);
        view = new View(model, proxy, window);
        conf = new YumConfIO(noRequests, sessionEnabled, window);
        QVERIFY(conf->read(window));
        model->setYumConfIO(conf);
        qApp->installEventFilter(this);
        (new QVBoxLayout(window))->addWidget(view);
        for (QAbstractItemModel* tested : QList<QAbstractItemModel*> { model, proxy })
            new QAbstractItemModelTester(
                tested, QAbstractItemModelTester::FailureReportingMode::QtTest, tested);
        window->resize(700, 500);
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window));
    }
    void cleanupTestCase()
    {
        // The table goes first: its models read the session to the end.
        yumIO->clearEntriesBeforeQuit();
        delete window;
        delete yumIO;
        // The session's answerer closes the dialogs the tests open, but meets no error.
        for (SessionTest::Dialog const& dialog : std::as_const(dialogs.dialogs))
            QVERIFY2(dialog.kind == SessionTest::Dialog::Other, qPrintable(dialogs.summary()));
    }
    void init()
    {
        window->setEnabled(true);
        model->clearActions();
        configure(Filter, All, true, true, QString());
        view->clearSelection();
        view->sortByColumn(KindColumn, Qt::AscendingOrder);
    }
    void cleanup()
    {
        // They refer to the test's locals; the first test keeps the model's own describer.
        delete menuPoll;
        onShow = nullptr;
        model->setDescriber(nullptr);
        model->setBrowser(nullptr);
    }

    // Through the model, Details shows the row's repository, its password masked.
    void repositoryDetails()
    {
        QString shown;
        onShow = [&](QDialog* dialog) {
            if (!qobject_cast<Describe::Dialog*>(dialog)) {
                shown = dialog->windowTitle();
                for (QLabel const* label : dialog->findChildren<QLabel*>())
                    shown += '|' + label->text();
            }
            // Clicked after the search: the dialog it opens may change this one's buttons.
            QTimer::singleShot(0, dialog, [dialog] {
                QPushButton* details = nullptr;
                for (QPushButton* button : dialog->findChildren<QPushButton*>())
                    if (button->text() == "Details")
                        details = button;
                if (details)
                    details->click();
                dialog->accept();
            });
        };
        for (Repo::Entry& repo : conf->repos())
            if (repo.id == "sv-updates")
                repo.baseurl += "\nhttps://h/rhel/u=me/p=secret/x/";
        model->describe(model->index(rowOf("sv-kernel"), NameColumn), window);
        QVERIFY2(shown.startsWith(
                     "SORVAN Repository Description|sv-updates|Name:|SORVAN Sandbox Updates|URLs:|file://")
                && shown.contains("/rhel/u=me/p=********/x/"),
            qPrintable(shown));
    }

    void rowsBeyondTheEntries()
    {
        // A view may still hold it after the entries went: no data, no change.
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

    void cells_data()
    {
        columns<QString, int, QString, QString, QString, QString, QString>(
            "name", "kind", "stateIcon", "kindIcon", "colour", "disabledColour", "toolTip");
        row("out of date", "sv-kernel", int(Package::Ordinary), "icons/out-of-date.png", "icons/package.png",
            Colors::error(), Colors::errorDisabled(), "Available: 5.2-1\nInstalled: 5.0-1\nInstalled: 5.1-1");
        // Installed entries take the palette's own text colour.
        row("installed", "sv-old", int(Package::Ordinary), "icons/up-to-date.png", "icons/package.png", "",
            "", "Installed: 1.0-1");
        row("suite", "sv-office-suite", int(Package::Suite), "", "icons/suite.png", Colors::minor(),
            Colors::minorDisabled(), "Available: 3.0-1");
        row("group", "SORVAN Core", int(Package::Group), "icons/out-of-date.png", "icons/group.png",
            Colors::error(), Colors::errorDisabled(), "Available: ");
    }
    void cells()
    {
        QFETCH(QString, name);
        QFETCH(int, kind);
        QFETCH(QString, stateIcon);
        QFETCH(QString, kindIcon);
        QFETCH(QString, colour);
        QFETCH(QString, disabledColour);
        QModelIndex const index = model->index(rowOf(name, Package::Kind(kind)), StateColumn);
        QCOMPARE(picture(index.data(Qt::DecorationRole)), picture(stateIcon));
        QVERIFY(!picture(kindIcon).isNull());
        QCOMPARE(picture(index.siblingAtColumn(KindColumn).data(Qt::DecorationRole)), picture(kindIcon));
        QTEST(index.siblingAtColumn(VersionColumn).data(Qt::ToolTipRole).toString(), "toolTip");

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
        QModelIndex const cell = model->index(rowOf(name), ActionColumn);
        QPoint const where = at(name, ActionColumn);
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
        for (QString const& name : selected ? rows : QSL()) {
            view->selectionModel()->select(proxy->mapFromSource(model->index(rowOf(name), 0)),
                QItemSelectionModel::Select | QItemSelectionModel::Rows);
        }
        // A press on a selected row keeps the selection.
        rightClick(at(rows.first(), ActionColumn), chosen, selected);
        QCOMPARE(view->selectedRows().size(), selected ? rows.size() : 0);
        QTEST(menuItems.join(' '), "items");
        QCOMPARE(actionsOf(rows), actions);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed[0][0].toInt(), -1);
        rightClick(at(rows.first(), ActionColumn), "&No Action"); // legal everywhere
        QCOMPARE(actionsOf(rows), QList<int>(rows.size(), Package::NoAction));
    }

    void otherMenu()
    {
        // With nothing to show about a package, no menu opens.
        QSignalSpy changed(view, &View::stateChanged);
        rightClick(at("sv-app", NameColumn));
        QVERIFY(menuItems.isEmpty() && !QApplication::activePopupWidget());

        QSL shown;
        auto viewer = [&](QString const& what) {
            return [&, what](YumIO* session, Package::Entry const& entry, YumConfIO*, QWidget* parent) {
                QVERIFY(session == yumIO && parent == view);
                shown.append(what + ' ' + entry.name);
            };
        };
        model->setDescriber(viewer("describe"));
        model->setBrowser(viewer("browse"));
        // Browsing is offered on the Repository column only.
        rightClick(at("sv-app", NameColumn), "&Describe");
        QCOMPARE(menuItems, QSL { "&Describe" });
        rightClick(at("sv-calc", RepositoryColumn), "Browse Repository");
        QCOMPARE(menuItems, QSL({ "&Describe", "Browse Repository" }));
        // The Describe button's slot and Enter describe the current row; so
        // does a double click (after its press), but not on the Action cell.
        view->setCurrentIndex(view->indexAt(at("sv-writer", NameColumn)));
        view->describe();
        view->setCurrentIndex(view->indexAt(at("sv-calc", NameColumn)));
        QTest::keyClick(view, Qt::Key_Return);
        for (int column : { VersionColumn, ActionColumn }) {
            QCOMPARE(changed.count(), 0); // clicks elsewhere than on the Action cell change nothing
            QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, at("sv-app", column));
            QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, at("sv-app", column));
        }
        QCOMPARE(shown,
            QSL({ "describe sv-app", "browse sv-calc", "describe sv-writer", "describe sv-calc",
                "describe sv-app" }));
    }

    void currentRow()
    {
        // In model terms, once per row: the Describe button follows it.
        view->setCurrentIndex(QModelIndex());
        QSignalSpy current(view, qOverload<int, int>(&View::currentChanged));
        view->setCurrentIndex(view->indexAt(at("sv-writer", NameColumn)));
        view->setCurrentIndex(view->indexAt(at("sv-writer", SizeColumn)));
        QCOMPARE(current.count(), 1);
        QCOMPARE(current[0], QVariantList({ rowOf("sv-writer"), -1 }));
    }

    void markingMany()
    {
        // The Selected button updates or installs the selected rows, but no
        // installed one; only the rows that change are signalled.
        QSL const names { "sv-docs", "sv-writer", "sv-reloc", "sv-epoch" };
        QModelIndexList rows;
        for (QString const& name : names)
            rows.append(model->index(rowOf(name), NameColumn));
        model->setAction(rows[3], Package::Update);
        QSignalSpy changed(model, &QAbstractItemModel::dataChanged);
        model->setSelected(rows);
        QCOMPARE(actionsOf(names),
            QList<int>({ Package::Update, Package::Install, Package::NoAction, Package::Update }));
        QCOMPARE(actionRows(changed), QList<int>({ rows[0].row(), rows[1].row() }));

        // Cleared with one signal per marked row, none when nothing is marked.
        changed.clear();
        model->clearActions();
        model->clearActions();
        QCOMPARE(changed.count(), 3);
        QCOMPARE(actionsOf(names), QList<int>(names.size(), Package::NoAction));

        // Update Listed marks the listed rows that are out of date, and
        // reaches all of them even while they are sorted by action.
        entry("sv-tool")->action = Package::Remove;
        entry("sv-release")->action = Package::Remove;
        configure(Filter, All, true, false, "^sv-(tool|docs|release|epoch) ");
        view->sortByColumn(ActionColumn, Qt::AscendingOrder);
        changed.clear();
        proxy->setUpdateListed();
        QCOMPARE(actionsOf({ "sv-docs", "sv-epoch", "sv-release", "sv-tool" }),
            QList<int>({ Package::Update, Package::Update, Package::Remove, Package::Update }));
        QCOMPARE(changed.count(), 3);
    }

    void description_data()
    {
        // One "state: labels" string per section; `lines` must all appear.
        columns<QString, int, QSL, QSL>("name", "kind", "sections", "lines");
        QString const details = "Summary Description Group Vendor Build Time Build Host";
        QString const rpm = "Binary RPM Source RPM License Packager URL";
        QString const further = "Installed: Version Architecture Size Build Time Packager Files Change Log";
        row("two installed versions behind an update", "sv-kernel", int(Package::Ordinary),
            QSL { "Available for update: Kind Version Repository Architecture Size " + details + ' ' + rpm
                    + " Provides Files Change Log",
                further, further },
            QSL { "Version: 5.2-1", "Repository: sv-updates Details", "Version: 5.0-1", "Version: 5.1-1",
                "Files: Show (must load extra data)", "Files: Show" });
        row("installed, relocatable", "sv-reloc", int(Package::Ordinary),
            QSL { "Installed: Kind Version Architecture Size " + details + " Install Time " + rpm
                + " Relocations Provides Requires Files Change Log" },
            QSL { "Relocations: /opt/sv-reloc", "Change Log: Show" });
        row("group", "SORVAN Core", int(Package::Group),
            QSL { "Available for update: Kind Mandatory Packages Default Packages Optional Packages" },
            QSL { "Mandatory Packages: sv-tool\nsv-docs\nsv-corelib", "Default Packages: sv-reloc",
                "Optional Packages: sv-extra-docs" });
    }
    void description()
    {
        QFETCH(QString, name);
        QFETCH(int, kind);
        QFETCH(QSL, lines);
        Describe::Dialog dialog(window);
        dialog.config(yumIO, *(*yumIO)[rowOf(name, Package::Kind(kind))], conf);
        QSL sections, shown;
        for (Describe::Instance::Area const* area : dialog.sections()) {
            QSL labels;
            for (auto const& [label, value] : area->rows()) {
                labels.append(label.isEmpty() ? value + ':' : label.chopped(1));
                if (!label.isEmpty())
                    shown.append(label + ' ' + value);
            }
            sections.append(labels.join(' '));
        }
        QTEST(sections, "sections");
        for (QString const& line : lines)
            QVERIFY2(shown.contains(line), qPrintable(line));
    }

    void states_data()
    {
        columns<int, bool, bool, QSL>("state", "dups", "groups", "expected");
        row("updatable", int(Updatable), true, false, updates);
        // Without duplicates, the superseded i686 twin goes.
        QSL withoutTwin = available;
        withoutTwin.removeOne("sv-lib");
        row("installable without duplicates", int(Installable), false, true,
            withoutTwin + QSL { "SORVAN Desktop", "SORVAN Development" });
        // Removable is everything installed, out of date or not.
        row("removable", int(Removable), true, true,
            updates + installedAlone + QSL { "SORVAN Core", "SORVAN Minimal", "SORVAN Workstation" });
        row("all", int(All), true, true, packages + groupNames);
    }
    void states()
    {
        QFETCH(int, state);
        QFETCH(bool, dups);
        QFETCH(bool, groups);
        QFETCH(QSL, expected);
        configure(Filter, StateFilter(state), dups, groups, ".*");
        QCOMPARE(sorted(listed()), sorted(expected));
    }

    void listing_data()
    {
        // "mode | expression | listed": F Filter, S Search; "*" every package,
        // "**" every row (an expression refused, here as too slow to compile).
        QTest::addColumn<QString>("mode");
        QTest::addColumn<QString>("expression");
        QTest::addColumn<QString>("listed");
        char const* table = R"(
F | SV-TOOL           |
F | ^sv-kernel 5\.2-1 \* sv-updates | sv-kernel
F | ^sv-epoch 2:1\.0-1 sv-updates | sv-epoch
F | ^sv-release 1-1 installed noarch | sv-release
F | ^sv-tool [[:digit:]]\.[[:digit:]]-1 | sv-tool
F | ^sv-tool\.*       | sv-tool
F | ^SORVAN Minimal {5}$ | SORVAN Minimal
F | Spreadsheet|SORVAN Sandbox |
F | ^(sv-)+(kern|to)(el|ol){1,2}  | sv-kernel, sv-tool
F | (((s?){,3}){2,}){,9} | **
S | ^2:1\.0-1$        | sv-epoch
S | ^sv-mirrored$     | sv-mirror-tool
S | Spreadsheet       | sv-calc
S | \$releasever expands | sv-release
S | ^System Environment/Kernel$ | sv-kernel
S | ^SORVAN Sandbox$  | *
S | ^(SORVAN Developers <devel@sorvan\.example>|https://sorvan\.example/sandbox)$ | *
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
            qsizetype const bar = line.lastIndexOf(" |");
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
        configure(mode == "F" ? Filter : Search, All, true, true, expression);
        QSL const expected = listed == "*" ? packages
            : listed == "**"               ? packages + groupNames
                                           : listed.split(", ", Qt::SkipEmptyParts);
        QCOMPARE(sorted(this->listed()), sorted(expected));
        // Installed packages' files and change logs come from the rpm
        // database: a search needs no extra data for them.
        QVERIFY(!yumIO->fileListsLoaded() && !yumIO->otherDataLoaded());
    }

    void extraData()
    {
        // Files and change logs of packages not installed count once the
        // session has loaded them; a search never loads them itself.
        QString const file = "^/usr/share/sv-new/data$";
        configure(Search, All, true, true, file);
        QCOMPARE(listed(), QSL());
        proxy->setFilterRegExp("- Build 3\\.0-1 for the sandbox");
        QCOMPARE(listed(), QSL());

        // The description's buttons load them, the proxy not filtering
        // meanwhile, as in the main window.
        proxy->setFilter(false);
        Describe::Dialog dialog(window);
        dialog.config(yumIO, *entry("sv-app"), nullptr);
        dialog.show();
        QPushButton* close = dialog.findChild<QDialogButtonBox*>()->findChild<QPushButton*>();
        QPushButton* files = dialog.sections().value(0)->filesButton();
        QPushButton* changeLog = dialog.sections().value(0)->changeLogButton();
        QCOMPARE(files->text(), "Show (must load extra data)");
        // While the file list loads (busy), the dialog stays open whatever
        // asks it to close, its Close button disabled.
        QList<bool> whileLoading;
        QTimer::singleShot(0, this, [&] {
            whileLoading << yumIO->isBusy() << dialog.close();
            dialog.reject();
            whileLoading << dialog.isVisible() << close->isEnabled();
        });
        dialogs.clear();
        files->click();
        QCOMPARE(whileLoading, QList<bool>({ true, false, true, false }));
        QCOMPARE(files->text(), "Show");
        QCOMPARE(changeLog->text(), "Show (must load extra data)");
        changeLog->click();
        QCOMPARE(changeLog->text(), "Show");
        QVERIFY2(dialogs.summary().startsWith(
                     "sv-app 1.0-1 File List: /usr/bin/sv-app | sv-app 1.0-1 Change Log: * "),
            qPrintable(dialogs.summary()));
        // Loaded, it closes again, and drops its content.
        QVERIFY(close->isEnabled() && dialog.close());
        QVERIFY(dialog.sections().isEmpty());

        proxy->setFilter(true);
        QCOMPARE(sorted(listed()), QSL({ "sv-calc", "sv-office-suite", "sv-writer" }));
        proxy->setFilterRegExp(file);
        QCOMPARE(listed(), QSL { "sv-new" });
        proxy->setMode(Filter); // still only the shown texts
        QCOMPARE(listed(), QSL());
    }

    void sorting_data()
    {
        columns<int, QSL>("column", "expected");
        QSL ordinary = sorted(packages);
        ordinary.removeOne("sv-office-suite");
        // Kinds: suite 0, group 1, ordinary 2.
        row("kind", int(KindColumn), QSL { "sv-office-suite" } + groupNames + ordinary);
        // Upper case before lower case.
        row("name", int(NameColumn), groupNames + sorted(packages));
    }
    void sorting()
    {
        // A click on a column's header sorts by it, a second one reverses
        // the order, ties by name included.
        QFETCH(int, column);
        QFETCH(QSL, expected);
        view->sortByColumn(ActionColumn, Qt::AscendingOrder);
        QHeaderView* header = view->horizontalHeader();
        int const x = header->sectionViewportPosition(column) + header->sectionSize(column) / 2;
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, QPoint(x, header->height() / 2));
        QCOMPARE(proxy->filterKeyColumn(), column);
        QCOMPARE(listed(), expected);
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, QPoint(x, header->height() / 2));
        std::reverse(expected.begin(), expected.end());
        QCOMPARE(listed(), expected);
    }

    void sortedAfterFilterChanges()
    {
        // A broken expression lists everything, the rows a filter lets back
        // in at their sorted places; sizes compare as numbers, equal ones by name.
        view->sortByColumn(SizeColumn, Qt::AscendingOrder);
        proxy->setFilterRegExp("sv-(w|a)");
        proxy->setFilterRegExp("(");
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
        // Columns are sized for every entry, also while a filter lists only one.
        proxy->setFilterRegExp("^sv-app ");
        view->resizeColumnsToContents();
        QList<int> filtered;
        for (int column = 0; column < ColumnCount; ++column)
            filtered.append(view->columnWidth(column));
        proxy->setFilterRegExp(QString());
        view->resizeColumnsToContents();
        for (int column = 0; column < ColumnCount; ++column)
            QCOMPARE(view->columnWidth(column), filtered[column]);
        QVERIFY(filtered[NameColumn] > view->fontMetrics().horizontalAdvance("sv-viewer-langpack"));

        // The window grows to its hint within 90% of the screen, never shrinks.
        QRect const screen = window->screen()->geometry();
        window->resize(200, 150);
        view->resizeColumnsToContents();
        QCOMPARE(window->height(), screen.height() * 9 / 10); // thirty-one rows do not fit
        QVERIFY(window->width() > 200 && window->width() <= screen.width() * 9 / 10);
        QSize const large = screen.size() * 0.95;
        window->resize(large);
        view->resizeColumnsToContents();
        QCOMPARE(window->size(), large);
    }

    void newCollection()
    {
        // Last: it collects anew.  What the proxy kept of the first collection
        // must not outlive it: the second, with sv-extras enabled and
        // sv-mirrored disabled, has as many entries in other places.
        configure(Search, All, true, true, "sv-extras");
        view->sortByColumn(NameColumn, Qt::AscendingOrder);
        QCOMPARE(listed(), QSL { "sv-tool" });
        yumIO->clear();
        QVERIFY(yumIO->collect({ { "sv-extras", true }, { "sv-mirrored", false } }));
        model->reset();
        QCOMPARE(model->rowCount(), 31);
        // sv-extra-tool's summary names its repository too.
        QCOMPARE(listed(), QSL({ "sv-extra-tool", "sv-tool" }));
        configure(Filter, All, true, true, "-tool");
        QCOMPARE(listed(), QSL({ "sv-extra-tool", "sv-tool" }));
        proxy->setFilterRegExp(QString());
        QSL names;
        for (Package::Entry const* e : *yumIO)
            names.append(e->name);
        QCOMPARE(listed(), sorted(names));
    }
};

QTEST_MAIN(PackageTableTest)
#include "tst_packagetable.moc"
