// The filter and search proxy over a real collection of the sandbox root:
// which entries each state, duplicates and groups setting lists, the
// expression's ".*" forms, case and syntax, Filter mode's joined line, Search
// mode's separate fields and the extra data it depends on, marking the listed
// updates, and sorting with ties broken by name.

#include "SandboxSession.h"
#include "packagetable/PackageTableModel.h"
#include "packagetable/PackageTableSortFilterProxyModel.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

using namespace PackageTable;

namespace
{
QStringList const updates { "sv-docs", "sv-epoch", "sv-kernel", "sv-tool" };
QStringList const installedAlone { "sv-lib", "sv-old", "sv-release", "sv-reloc" };
// With sv-lib's i686 twin, the superseded duplicate of the installed sv-lib.
QStringList const available { "sv-app", "sv-calc", "sv-corelib", "sv-devtools", "sv-editor", "sv-extra-docs",
    "sv-failing", "sv-helper", "sv-lib", "sv-libfoo", "sv-mirror-tool", "sv-new", "sv-noisy",
    "sv-office-suite", "sv-themes", "sv-viewer", "sv-viewer-langpack", "sv-writer" };
QStringList const updateGroups { "SORVAN Core", "SORVAN Workstation" };
QStringList const installedGroups { "SORVAN Minimal" };
QStringList const availableGroups { "SORVAN Desktop", "SORVAN Development" };

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}
} // namespace

class TableProxy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();

    void states_data();
    void states();
    void duplicates();
    void unchangedSettingsDoNothing();
    void wildcards_data();
    void wildcards();
    void filterLine_data();
    void filterLine();
    void search_data();
    void search();
    void searchNeedsExtraData();
    void setUpdateListed();
    void sorting_data();
    void sorting();
    void sortedAfterFilterChanges();
    // Last: it collects anew, with another repository.
    void newCollection();

private:
    void configure(Mode mode, StateFilter state, bool dups, bool groups, QString const& expression);
    // Names of the listed entries, in row order.
    QStringList listed() const;

    SandboxSession sandbox;
    Model* model = nullptr;
    SortFilterProxyModel* proxy = nullptr;
};

void TableProxy::initTestCase()
{
    QVERIFY2(sandbox.start(), qPrintable(sandbox.failure));
    model = new Model(sandbox.yumIO, this);
    proxy = new SortFilterProxyModel(Updatable, true, false, sandbox.yumIO, this);
    proxy->setSourceModel(model);
    new QAbstractItemModelTester(proxy, QAbstractItemModelTester::FailureReportingMode::QtTest, proxy);
    QVERIFY(!sandbox.yumIO->fileListsLoaded());
    QVERIFY(!sandbox.yumIO->otherDataLoaded());
}

void TableProxy::cleanupTestCase()
{
    QVERIFY2(sandbox.reports.isEmpty(), qPrintable(sandbox.reports.join(QLatin1Char('\n'))));
}

void TableProxy::init()
{
    model->clearActions();
    proxy->sort(KindColumn, Qt::AscendingOrder);
}

void TableProxy::configure(Mode mode, StateFilter state, bool dups, bool groups, QString const& expression)
{
    proxy->setMode(mode);
    proxy->setStateFilter(state);
    proxy->setDupsFilter(dups);
    proxy->setGroupsFilter(groups);
    proxy->setFilterRegExp(expression);
}

QStringList TableProxy::listed() const
{
    QStringList names;
    for (int row = 0; row < proxy->rowCount(); ++row)
        names.append(model->entry(proxy->mapToSource(proxy->index(row, 0)))->name);
    return names;
}

void TableProxy::states_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<bool>("groups");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("updatable") << int(Updatable) << false << updates;
    QTest::newRow("updatable with groups") << int(Updatable) << true << updates + updateGroups;
    QTest::newRow("installable") << int(Installable) << false << available;
    QTest::newRow("installable with groups") << int(Installable) << true << available + availableGroups;
    // Removable is everything installed, out of date or not.
    QTest::newRow("removable") << int(Removable) << false << updates + installedAlone;
    QTest::newRow("removable with groups")
        << int(Removable) << true << updates + installedAlone + updateGroups + installedGroups;
    QTest::newRow("all") << int(All) << false << updates + installedAlone + available;
    QTest::newRow("all with groups") << int(All) << true
                                     << updates + installedAlone + available + updateGroups + installedGroups
            + availableGroups;
}

void TableProxy::states()
{
    QFETCH(int, state);
    QFETCH(bool, groups);
    QFETCH(QStringList, expected);

    configure(Filter, StateFilter(state), true, groups, QStringLiteral(".*"));
    QCOMPARE(sorted(listed()), sorted(expected));
    // Suites are packages to the groups setting: the suite stays.
    QCOMPARE(listed().contains(QStringLiteral("sv-office-suite")), state == Installable || state == All);
}

void TableProxy::duplicates()
{
    configure(Filter, All, false, false, QStringLiteral("^sv-lib "));
    QCOMPARE(listed(), QStringList { "sv-lib" });
    Package::Entry const* shown = model->entry(proxy->mapToSource(proxy->index(0, 0)));
    QVERIFY(!shown->superseded);
    QCOMPARE(shown->arch, SandboxSession::nativeArch());

    proxy->setDupsFilter(true);
    QCOMPARE(listed(), QStringList({ "sv-lib", "sv-lib" }));
}

void TableProxy::unchangedSettingsDoNothing()
{
    configure(Search, All, true, true, QStringLiteral("tool"));
    QSignalSpy resets(proxy, &QAbstractItemModel::modelReset);
    QSignalSpy layouts(proxy, &QAbstractItemModel::layoutChanged);
    proxy->setMode(Search);
    proxy->setStateFilter(All);
    proxy->setDupsFilter(true);
    proxy->setGroupsFilter(true);
    proxy->setFilter(true);
    QCOMPARE(resets.count() + layouts.count(), 0);
    proxy->setFilter(false);
    QVERIFY(resets.count() + layouts.count() > 0);
    QCOMPARE(proxy->rowCount(), model->rowCount());
    proxy->setFilter(true);
    QVERIFY(proxy->rowCount() < model->rowCount());
}

void TableProxy::wildcards_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("expression");
    QTest::addColumn<QStringList>("expected");

    QStringList const everything
        = updates + installedAlone + available + updateGroups + installedGroups + availableGroups;
    for (int mode : { int(Filter), int(Search) }) {
        char const* name = mode == Filter ? "filter" : "search";
        // In Search mode SORVAN Core has sv-tool as a member.
        QStringList tools { "sv-mirror-tool", "sv-tool" };
        if (mode == Search)
            tools.append(QStringLiteral("SORVAN Core"));
        QTest::addRow("%s: empty", name) << mode << "" << everything;
        QTest::addRow("%s: any", name) << mode << ".*" << everything;
        QTest::addRow("%s: any twice", name) << mode << ".*.*" << everything;
        QTest::addRow("%s: around", name) << mode << ".*-tool.*" << tools;
        QTest::addRow("%s: plain", name) << mode << "-tool" << tools;
        QTest::addRow("%s: other case", name) << mode << "SV-TOOL" << QStringList();
        // An expression that does not compile lists everything.
        QTest::addRow("%s: lone parenthesis", name) << mode << "(" << everything;
        QTest::addRow("%s: lone bracket", name) << mode << "[a-" << everything;
    }
}

void TableProxy::wildcards()
{
    QFETCH(int, mode);
    QFETCH(QString, expression);
    QFETCH(QStringList, expected);

    configure(Mode(mode), All, true, true, expression);
    QCOMPARE(sorted(listed()), sorted(expected));
}

void TableProxy::filterLine_data()
{
    QTest::addColumn<QString>("expression");
    QTest::addColumn<QStringList>("expected");

    // The shown texts joined by single blanks: name, version, repository,
    // architecture, size, build time.
    QTest::newRow("name and version") << "sv-tool 1\\.2-1" << QStringList { "sv-tool" };
    QTest::newRow("two blanks") << "sv-tool  1\\.2-1" << QStringList();
    QTest::newRow("repository and architecture")
        << "installed noarch" << QStringList { "sv-old", "sv-release", "sv-reloc" };
    QTest::newRow("version with its star") << "5\\.2-1 \\* sv-updates" << QStringList { "sv-kernel" };
    QTest::newRow("whole line") << "^sv-lib 2\\.0-1 installed " << QStringList { "sv-lib" };
    QTest::newRow("anchors around the name") << "^sv-calc$" << QStringList();
    // A group's line is its name and a blank for each empty text.
    QTest::newRow("group") << "^SORVAN Minimal {5}$" << QStringList { "SORVAN Minimal" };
    QTest::newRow("group, one blank too many") << "^SORVAN Minimal {6}$" << QStringList();
    // Details are not part of the line.
    QTest::newRow("summary") << "Spreadsheet" << QStringList();
    QTest::newRow("vendor") << "SORVAN Sandbox" << QStringList();
}

void TableProxy::filterLine()
{
    QFETCH(QString, expression);
    QFETCH(QStringList, expected);

    configure(Filter, All, true, true, expression);
    QCOMPARE(sorted(listed()), sorted(expected));
}

void TableProxy::search_data()
{
    QTest::addColumn<QString>("expression");
    QTest::addColumn<QStringList>("expected");

    QStringList const packages = updates + installedAlone + available;
    QTest::newRow("name") << "^sv-calc$" << QStringList { "sv-calc" };
    QTest::newRow("version") << "^2:1\\.0-1$" << QStringList { "sv-epoch" };
    QTest::newRow("repository") << "^sv-mirrored$" << QStringList { "sv-mirror-tool" };
    QTest::newRow("summary") << "Spreadsheet" << QStringList { "sv-calc" };
    QTest::newRow("description") << "\\$releasever expands" << QStringList { "sv-release" };
    QTest::newRow("group") << "^System Environment/Kernel$" << QStringList { "sv-kernel" };
    QTest::newRow("vendor") << "^SORVAN Sandbox$" << packages;
    QTest::newRow("license") << "^MIT$" << packages;
    QTest::newRow("packager") << "^SORVAN Developers <devel@sorvan\\.example>$" << packages;
    QTest::newRow("url") << "^https://sorvan\\.example/sandbox$" << packages;
    QTest::newRow("binary rpm") << "^sv-reloc-1\\.0-1\\.noarch\\.rpm$" << QStringList { "sv-reloc" };
    QTest::newRow("source rpm") << "^sv-new-2\\.0-1\\.src\\.rpm$" << QStringList { "sv-new" };
    QTest::newRow("relocations") << "^/opt/sv-reloc$" << QStringList { "sv-reloc" };
    QTest::newRow("provides") << "^system-release\\(releasever\\) = 1$" << QStringList { "sv-release" };
    QTest::newRow("requires") << "^sv-libfoo >= 1\\.0$" << QStringList { "sv-app" };
    QTest::newRow("required and named") << "^sv-writer$" << QStringList { "sv-office-suite", "sv-writer" };
    QTest::newRow("obsoletes") << "^sv-old < 2\\.0$" << QStringList { "sv-new" };
    // Installed packages' files and change logs come from the rpm database.
    QTest::newRow("installed files") << "^/opt/sv-reloc/share/sv-reloc\\.conf$" << QStringList { "sv-reloc" };
    QTest::newRow("installed change log") << "Build 1-1 for the sandbox" << QStringList { "sv-release" };
    // The build host is not one of the fields searched.
    QTest::newRow("build host") << "builder\\.sorvan" << QStringList();
    // Each field on its own: no match across two of them.
    QTest::newRow("across fields") << "sv-calc 3\\.0-1" << QStringList();
    // Groups by name and by every member list.
    QTest::newRow("group by name") << "^SORVAN Minimal$" << QStringList { "SORVAN Minimal" };
    QTest::newRow("subgroup") << "^SORVAN Core$" << QStringList { "SORVAN Core", "SORVAN Workstation" };
    QTest::newRow("optional group") << "^SORVAN Development$"
                                    << QStringList { "SORVAN Development", "SORVAN Workstation" };
    QTest::newRow("mandatory member") << "^sv-corelib$" << QStringList { "SORVAN Core", "sv-corelib" };
    QTest::newRow("default member") << "^sv-editor$" << QStringList { "SORVAN Desktop", "sv-editor" };
    QTest::newRow("optional member") << "^sv-themes$" << QStringList { "SORVAN Desktop", "sv-themes" };
    QTest::newRow("conditional member")
        << "^sv-viewer-langpack$" << QStringList { "SORVAN Desktop", "sv-viewer-langpack" };
}

void TableProxy::search()
{
    QFETCH(QString, expression);
    QFETCH(QStringList, expected);

    configure(Search, All, true, true, expression);
    QCOMPARE(sorted(listed()), sorted(expected));
    QVERIFY(!sandbox.yumIO->fileListsLoaded());
    QVERIFY(!sandbox.yumIO->otherDataLoaded());
}

void TableProxy::searchNeedsExtraData()
{
    // Files and change logs of packages that are not installed count once
    // the session has loaded them, and never load from a search.
    QString const file = QStringLiteral("^/usr/share/sv-new/data$");
    QString const change = QStringLiteral("- Build 3\\.0-1 for the sandbox");
    configure(Search, All, true, true, file);
    QCOMPARE(listed(), QStringList());
    proxy->setFilterRegExp(change);
    QCOMPARE(listed(), QStringList());
    QVERIFY(!sandbox.yumIO->fileListsLoaded());
    QVERIFY(!sandbox.yumIO->otherDataLoaded());

    // As the main window does: no filtering while the data loads, and every
    // verdict anew afterwards.
    proxy->setFilter(false);
    QVERIFY(sandbox.yumIO->collectFileLists());
    QVERIFY(sandbox.yumIO->collectOtherData());
    proxy->setFilter(true);
    QCOMPARE(sorted(listed()), sorted({ "sv-calc", "sv-office-suite", "sv-writer" }));
    proxy->setFilterRegExp(file);
    QCOMPARE(listed(), QStringList { "sv-new" });
    // Filter mode still sees only the shown texts.
    proxy->setMode(Filter);
    QCOMPARE(listed(), QStringList());
}

void TableProxy::setUpdateListed()
{
    Package::Entry* tool = sandbox.entry(QStringLiteral("sv-tool"));
    Package::Entry* release = sandbox.entry(QStringLiteral("sv-release"));
    tool->action = Package::Remove;
    release->action = Package::Remove;

    // Listed: sv-tool and sv-docs (out of date), sv-release (installed).
    configure(Filter, All, true, false, QStringLiteral("^sv-(tool|docs|release) "));
    QCOMPARE(proxy->rowCount(), 3);
    QSignalSpy changed(model, &QAbstractItemModel::dataChanged);
    proxy->setUpdateListed();
    QCOMPARE(tool->action, Package::Update);
    QCOMPARE(sandbox.entry(QStringLiteral("sv-docs"))->action, Package::Update);
    QCOMPARE(release->action, Package::Remove);
    // Out of date but not listed.
    QCOMPARE(sandbox.entry(QStringLiteral("sv-kernel"))->action, Package::NoAction);
    QCOMPARE(sandbox.entry(QStringLiteral("sv-epoch"))->action, Package::NoAction);
    QCOMPARE(
        sandbox.entry(QStringLiteral("SORVAN Core"), QString(), Package::Group)->action, Package::NoAction);

    QCOMPARE(changed.count(), 2);
    for (QList<QVariant> const& signal : std::as_const(changed))
        QCOMPARE(signal[0].toModelIndex().column(), int(ActionColumn));

    // Sorted by action, the rows whose action changes must all be reached.
    model->clearActions();
    configure(Filter, Updatable, true, true, QString());
    proxy->sort(ActionColumn, Qt::AscendingOrder);
    proxy->setUpdateListed();
    for (Package::Entry const* e : *sandbox.yumIO)
        QCOMPARE(e->action, e->state == Package::AvailableForUpdate ? Package::Update : Package::NoAction);
}

void TableProxy::sorting_data()
{
    QTest::addColumn<int>("column");
    QTest::addColumn<int>("order");
    QTest::addColumn<QStringList>("expected");

    QStringList const ordinary { "sv-app", "sv-calc", "sv-corelib", "sv-devtools", "sv-docs", "sv-editor",
        "sv-epoch", "sv-extra-docs", "sv-failing", "sv-helper", "sv-kernel", "sv-lib", "sv-lib", "sv-libfoo",
        "sv-mirror-tool", "sv-new", "sv-noisy", "sv-old", "sv-release", "sv-reloc", "sv-themes", "sv-tool",
        "sv-viewer", "sv-viewer-langpack", "sv-writer" };
    QStringList const groups { "SORVAN Core", "SORVAN Desktop", "SORVAN Development", "SORVAN Minimal",
        "SORVAN Workstation" };
    QStringList const suite { "sv-office-suite" };

    QStringList reversed;
    for (QString const& name : sorted(ordinary + suite))
        reversed.prepend(name);
    QStringList reversedGroups;
    for (QString const& name : groups)
        reversedGroups.prepend(name);

    // Kinds: suite 0, group 1, ordinary 2; ties by name.
    QTest::newRow("kind") << int(KindColumn) << int(Qt::AscendingOrder) << suite + groups + ordinary;
    // A descending sort reverses the ties too.
    QStringList reversedOrdinary;
    for (QString const& name : ordinary)
        reversedOrdinary.prepend(name);
    QTest::newRow("kind descending") << int(KindColumn) << int(Qt::DescendingOrder)
                                     << reversedOrdinary + reversedGroups + suite;
    // Groups have no build time; every package was built at one second.
    QTest::newRow("build time") << int(BuildTimeColumn) << int(Qt::AscendingOrder)
                                << groups + sorted(ordinary + suite);
    QTest::newRow("build time descending")
        << int(BuildTimeColumn) << int(Qt::DescendingOrder) << reversed + reversedGroups;
    // Upper case sorts before lower case; the two sv-lib rows tie.
    QTest::newRow("name") << int(NameColumn) << int(Qt::AscendingOrder) << groups + sorted(ordinary + suite);
    QTest::newRow("state") << int(StateColumn) << int(Qt::AscendingOrder)
                           << QStringList { "SORVAN Core", "SORVAN Workstation", "sv-docs", "sv-epoch",
                                  "sv-kernel", "sv-tool", "SORVAN Desktop", "SORVAN Development" }
            + sorted(available)
            + QStringList { "SORVAN Minimal", "sv-lib", "sv-old", "sv-release", "sv-reloc" };
}

void TableProxy::sorting()
{
    QFETCH(int, column);
    QFETCH(int, order);
    QFETCH(QStringList, expected);

    configure(Filter, All, true, true, QString());
    proxy->sort(column, Qt::SortOrder(order));
    QCOMPARE(listed(), expected);
}

void TableProxy::sortedAfterFilterChanges()
{
    // Rows a filter lets back in take their sorted places; sizes compare as
    // numbers, equal sizes by name.
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

    model->entry(sandbox.row(QStringLiteral("sv-writer")))->action = Package::Install;
    model->entry(sandbox.row(QStringLiteral("sv-app")))->action = Package::Install;
    proxy->sort(ActionColumn, Qt::AscendingOrder);
    proxy->setFilterRegExp(QStringLiteral("^sv-[a-d]"));
    QCOMPARE(listed(), QStringList({ "sv-app", "sv-calc", "sv-corelib", "sv-devtools", "sv-docs" }));
    proxy->setFilterRegExp(QString());
    QCOMPARE(listed().mid(0, 3), QStringList({ "sv-app", "sv-writer", "SORVAN Core" }));
}

void TableProxy::newCollection()
{
    // What the proxy kept of the first collection must not outlive it.  The
    // second one, with sv-extras enabled and sv-mirrored disabled, has as
    // many entries, but sv-extra-tool instead of sv-mirror-tool, another
    // sv-tool, and rows in other places.
    configure(Filter, All, true, true, QStringLiteral("-tool"));
    proxy->sort(NameColumn, Qt::AscendingOrder);
    QCOMPARE(listed(), QStringList({ "sv-mirror-tool", "sv-tool" }));
    configure(Search, All, true, true, QStringLiteral("sv-extras"));
    QCOMPARE(listed(), QStringList { "sv-tool" });

    sandbox.yumIO->clear();
    QVERIFY(sandbox.yumIO->collect(
        { { QStringLiteral("sv-extras"), true }, { QStringLiteral("sv-mirrored"), false } }));
    model->reset();
    QCOMPARE(model->rowCount(), 31);

    // Searched again in the new texts: sv-extra-tool's summary names its
    // repository too.
    QCOMPARE(listed(), QStringList({ "sv-extra-tool", "sv-tool" }));
    configure(Filter, All, true, true, QStringLiteral("-tool"));
    QCOMPARE(listed(), QStringList({ "sv-extra-tool", "sv-tool" }));
    proxy->setFilterRegExp(QStringLiteral("^sv-tool 2\\.0-1 sv-extras "));
    QCOMPARE(listed(), QStringList { "sv-tool" });
    proxy->setFilterRegExp(QString());
    QStringList names;
    for (Package::Entry const* e : *sandbox.yumIO)
        names.append(e->name);
    QCOMPARE(listed(), sorted(names));
}

QTEST_MAIN(TableProxy)
#include "tst_packagetableproxy.moc"
