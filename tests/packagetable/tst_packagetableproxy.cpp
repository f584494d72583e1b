// The filter and search proxy over a real collection of the sandbox root.

#include "SandboxSession.h"
#include "packagetable/PackageTableModel.h"
#include "packagetable/PackageTableSortFilterProxyModel.h"
#include "tests/yumio/TestRows.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

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
QSL const everything
    = updates + installedAlone + available + updateGroups + installedGroups + availableGroups;

QSL sorted(QSL list)
{
    list.sort();
    return list;
}
QSL reversed(QSL list)
{
    std::reverse(list.begin(), list.end());
    return list;
}
} // namespace

class TableProxy : public QObject
{
    Q_OBJECT

    SandboxSession sandbox;
    Model* model = nullptr;
    SortFilterProxyModel* proxy = nullptr;

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

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(sandbox.start(), qPrintable(sandbox.failure));
        model = new Model(sandbox.yumIO, this);
        proxy = new SortFilterProxyModel(Updatable, true, false, sandbox.yumIO, this);
        proxy->setSourceModel(model);
        new QAbstractItemModelTester(proxy, QAbstractItemModelTester::FailureReportingMode::QtTest, proxy);
        QVERIFY(!sandbox.yumIO->fileListsLoaded() && !sandbox.yumIO->otherDataLoaded());
    }
    void cleanupTestCase()
    {
        QVERIFY2(sandbox.dialogs.dialogs.isEmpty(), qPrintable(sandbox.dialogs.summary()));
    }
    void init()
    {
        model->clearActions();
        proxy->sort(KindColumn, Qt::AscendingOrder);
    }

    void states_data()
    {
        columns<int, bool, QSL>("state", "groups", "expected");
        row("updatable", int(Updatable), false, updates);
        row("installable with groups", int(Installable), true, available + availableGroups);
        // Removable is everything installed, out of date or not.
        row("removable with groups", int(Removable), true,
            updates + installedAlone + updateGroups + installedGroups);
        row("all with groups", int(All), true, everything);
    }
    void states()
    {
        QFETCH(int, state);
        QFETCH(bool, groups);
        QFETCH(QSL, expected);
        configure(Filter, StateFilter(state), true, groups, QStringLiteral(".*"));
        QCOMPARE(sorted(listed()), sorted(expected));
    }

    void duplicates()
    {
        configure(Filter, All, false, false, QStringLiteral("^sv-lib "));
        QCOMPARE(listed(), QSL { "sv-lib" });
        QCOMPARE(model->entry(proxy->mapToSource(proxy->index(0, 0)))->arch, SessionTest::nativeArch());
        proxy->setDupsFilter(true);
        QCOMPARE(listed(), QSL({ "sv-lib", "sv-lib" }));
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
S | -tool             | SORVAN Core, sv-mirror-tool, sv-tool
F | SV-TOOL           |
F | (                 | *
F | sv-tool 1\.2-1    | sv-tool
F | installed noarch  | sv-old, sv-release, sv-reloc
F | 5\.2-1 \* sv-updates | sv-kernel
F | ^sv-calc$         |
F | ^SORVAN Minimal {5}$ | SORVAN Minimal
F | Spreadsheet|SORVAN Sandbox |
S | ^sv-calc$         | sv-calc
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
S | builder\.sorvan   |
S | sv-calc 3\.0-1    |
S | ^SORVAN Minimal$  | SORVAN Minimal
S | ^SORVAN Core$     | SORVAN Core, SORVAN Workstation
S | ^SORVAN Development$ | SORVAN Development, SORVAN Workstation
S | ^sv-corelib$      | SORVAN Core, sv-corelib
S | ^sv-editor$       | SORVAN Desktop, sv-editor
S | ^sv-themes$       | SORVAN Desktop, sv-themes
S | ^sv-viewer-langpack$ | SORVAN Desktop, sv-viewer-langpack
)";
        for (QString const& line : QString::fromUtf8(table).split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
            qsizetype const bar = line.lastIndexOf(QLatin1String(" |"));
            QTest::newRow(qPrintable(line))
                << line.left(1) << line.mid(4, bar - 4).trimmed() << line.mid(bar + 2).trimmed();
        }
    }
    void listing()
    {
        // Filter mode matches the shown texts joined by single blanks; Search
        // mode each field on its own.  A broken expression lists everything.
        QFETCH(QString, mode);
        QFETCH(QString, expression);
        QFETCH(QString, listed);
        configure(mode == QLatin1String("F") ? Filter : Search, All, true, true, expression);
        QSL expected = listed.split(QLatin1String(", "), Qt::SkipEmptyParts);
        if (listed == QLatin1String("*"))
            expected = everything;
        else if (listed == QLatin1String("*packages"))
            expected = updates + installedAlone + available;
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
        QVERIFY(sandbox.yumIO->collectFileLists());
        QVERIFY(sandbox.yumIO->collectOtherData());
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
        QSL marked;
        for (Package::Entry const* e : *sandbox.yumIO) {
            if (e->action != Package::NoAction)
                marked.append(e->name + QLatin1Char('=') + QString::number(e->action));
        }
        QCOMPARE(sorted(marked), QSL({ "sv-docs=0", "sv-release=2", "sv-tool=0" }));
        QCOMPARE(changed.count(), 2);

        // Sorted by action, the rows whose action changes must all be reached.
        model->clearActions();
        configure(Filter, Updatable, true, true, QString());
        proxy->sort(ActionColumn, Qt::AscendingOrder);
        proxy->setUpdateListed();
        for (Package::Entry const* e : *sandbox.yumIO)
            QCOMPARE(
                e->action, e->state == Package::AvailableForUpdate ? Package::Update : Package::NoAction);
    }

    void sorting_data()
    {
        columns<int, int, QSL>("column", "order", "expected");
        QSL const ordinary { "sv-app", "sv-calc", "sv-corelib", "sv-devtools", "sv-docs", "sv-editor",
            "sv-epoch", "sv-extra-docs", "sv-failing", "sv-helper", "sv-kernel", "sv-lib", "sv-lib",
            "sv-libfoo", "sv-mirror-tool", "sv-new", "sv-noisy", "sv-old", "sv-release", "sv-reloc",
            "sv-themes", "sv-tool", "sv-viewer", "sv-viewer-langpack", "sv-writer" };
        QSL const groups { "SORVAN Core", "SORVAN Desktop", "SORVAN Development", "SORVAN Minimal",
            "SORVAN Workstation" };
        QSL const suite { "sv-office-suite" };
        // Kinds: suite 0, group 1, ordinary 2; ties by name, reversed with the order.
        row("kind", int(KindColumn), int(Qt::AscendingOrder), suite + groups + ordinary);
        row("kind descending", int(KindColumn), int(Qt::DescendingOrder),
            reversed(suite + groups + ordinary));
        // Groups have no build time; every package was built at one second.
        row("build time", int(BuildTimeColumn), int(Qt::AscendingOrder), groups + sorted(ordinary + suite));
        // Upper case before lower case.
        row("name", int(NameColumn), int(Qt::AscendingOrder), groups + sorted(ordinary + suite));
        row("state", int(StateColumn), int(Qt::AscendingOrder),
            QSL { "SORVAN Core", "SORVAN Workstation", "sv-docs", "sv-epoch", "sv-kernel", "sv-tool",
                "SORVAN Desktop", "SORVAN Development" }
                + sorted(available) + QSL { "SORVAN Minimal", "sv-lib", "sv-old", "sv-release", "sv-reloc" });
    }
    void sorting()
    {
        QFETCH(int, column);
        QFETCH(int, order);
        configure(Filter, All, true, true, QString());
        proxy->sort(column, Qt::SortOrder(order));
        QTEST(listed(), "expected");
    }

    void sortedAfterFilterChanges()
    {
        // Rows a filter lets back in take their sorted places; sizes compare
        // as numbers, equal ones by name.
        configure(Filter, All, true, true, QString());
        proxy->sort(SizeColumn, Qt::AscendingOrder);
        proxy->setFilterRegExp(QStringLiteral("sv-(w|a)"));
        proxy->setFilterRegExp(QStringLiteral(".*"));
        QCOMPARE(proxy->rowCount(), model->rowCount());
        for (int row = 1; row < proxy->rowCount(); ++row) {
            Package::Entry const* a = model->entry(proxy->mapToSource(proxy->index(row - 1, 0)));
            Package::Entry const* b = model->entry(proxy->mapToSource(proxy->index(row, 0)));
            QVERIFY2(a->size < b->size || (a->size == b->size && a->name <= b->name),
                qPrintable(a->name + QLatin1Char(' ') + b->name));
        }
    }

    void newCollection()
    {
        // Last: it collects anew.  What the proxy kept of the first collection
        // must not outlive it: the second, with sv-extras enabled and
        // sv-mirrored disabled, has as many entries in other places.
        configure(Search, All, true, true, QStringLiteral("sv-extras"));
        proxy->sort(NameColumn, Qt::AscendingOrder);
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

QTEST_MAIN(TableProxy)
#include "tst_packagetableproxy.moc"
