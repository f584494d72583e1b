// The package table model over a real collection of the sandbox root: its
// shape, headers, texts, icons, tool-tips, colours and user values by state,
// kind and action, and the ways it writes actions.

#include "SandboxSession.h"
#include "app/Colors.h"
#include "app/Share.h"
#include "packagetable/PackageTableModel.h"

#include <QAbstractItemModelTester>
#include <QImage>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTest>

using namespace PackageTable;

namespace
{
// The picture of an icon as the table draws it, to tell icons apart.
QImage picture(QVariant const& decoration)
{
    return qvariant_cast<QIcon>(decoration).pixmap(16, 16).toImage();
}

QImage picture(QString const& path)
{
    return QIcon(Share::absolute(path)).pixmap(16, 16).toImage();
}
} // namespace

class TableModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();

    void shape();
    void headers_data();
    void headers();
    void texts_data();
    void texts();
    void versionToolTip_data();
    void versionToolTip();
    void stateAndKind_data();
    void stateAndKind();
    void actionRoles_data();
    void actionRoles();
    void toggleCycle_data();
    void toggleCycle();
    void rowsBeyondTheEntriesAreIgnored();
    void setSelected();
    void clearActions();
    void disabledColours();
    void resetRereadsTheSession();
    void viewers();

private:
    QModelIndex cell(QString const& name, int column, Package::Kind kind = Package::Ordinary,
        QString const& arch = QString()) const;
    // An index of the row just beyond the entries, such as a view may still
    // hold when the entries have gone; the model cannot make one itself.
    QModelIndex beyond(int column);

    QStandardItemModel larger;

    SandboxSession sandbox;
    Model* model = nullptr;
    QString native;
};

void TableModel::initTestCase()
{
    QVERIFY2(sandbox.start(), qPrintable(sandbox.failure));
    native = SandboxSession::nativeArch();
    model = new Model(sandbox.yumIO, this);
    new QAbstractItemModelTester(model, QAbstractItemModelTester::FailureReportingMode::QtTest, model);
}

void TableModel::cleanupTestCase()
{
    QVERIFY2(sandbox.reports.isEmpty(), qPrintable(sandbox.reports.join(QLatin1Char('\n'))));
}

void TableModel::init()
{
    model->clearActions();
    model->setEnabled(true);
}

QModelIndex TableModel::cell(QString const& name, int column, Package::Kind kind, QString const& arch) const
{
    int const row = sandbox.row(name, arch, kind);
    return row < 0 ? QModelIndex() : model->index(row, column);
}

QModelIndex TableModel::beyond(int column)
{
    larger.setRowCount(model->rowCount() + 1);
    larger.setColumnCount(ColumnCount + 1);
    return larger.index(model->rowCount(), column);
}

void TableModel::shape()
{
    // Four updates, four packages installed alone, eighteen available, four
    // visible groups and one environment.
    QCOMPARE(model->rowCount(), sandbox.yumIO->count());
    QCOMPARE(model->rowCount(), 31);
    QCOMPARE(model->columnCount(), 9);

    // A row at the count is no row: every role of every column is empty.
    int const beyond = model->rowCount();
    for (int column = 0; column < ColumnCount; ++column) {
        QModelIndex const index = this->beyond(column);
        QCOMPARE(index.row(), beyond);
        for (int role : { int(Qt::DisplayRole), int(Qt::DecorationRole), int(Qt::ToolTipRole),
                 int(Qt::ForegroundRole), int(Qt::UserRole) })
            QVERIFY(!model->data(index, role).isValid());
    }
    QVERIFY(!model->data(larger.index(0, ColumnCount), Qt::DisplayRole).isValid());
    // Roles the table has no use for are empty everywhere.
    QVERIFY(!model->data(model->index(0, NameColumn), Qt::EditRole).isValid());
    QVERIFY(!model->data(model->index(0, NameColumn), Qt::FontRole).isValid());
}

void TableModel::headers_data()
{
    QTest::addColumn<int>("section");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("toolTip");

    QTest::newRow("action") << 0 << "Action"
                            << "Action to be performed on the package, if any: Update, Install, Remove";
    QTest::newRow("state")
        << 1 << "State"
        << "Indicates whether the package is Installed or not and, if installed, whether it is "
           "Up-to-date or not";
    QTest::newRow("kind") << 2 << "Kind"
                          << "Whether the package is an ordinary package, a suite of packages, or a group of "
                             "packages";
    QTest::newRow("name") << 3 << "Name"
                          << "Name of the package";
    QTest::newRow("version")
        << 4 << "Version"
        << "Version and release of the package as version-release;\nIf the Epoch is non-zero, "
           "includes it as epoch:version-release";
    QTest::newRow("repository")
        << 5 << "Repository"
        << "Repository from which the most recent version of the package is available";
    QTest::newRow("architecture") << 6 << "Architecture"
                                  << "Architecture for which the package is applicable, or \"noarch\" for "
                                     "general-purpose packages";
    QTest::newRow("size") << 7 << "Size"
                          << "Size of the package";
    QTest::newRow("build time") << 8 << "Build Time"
                                << "Date and time at which the package was created";
}

void TableModel::headers()
{
    QFETCH(int, section);
    QFETCH(QString, text);
    QFETCH(QString, toolTip);

    QCOMPARE(model->headerData(section, Qt::Horizontal, Qt::DisplayRole).toString(), text);
    QCOMPARE(model->headerData(section, Qt::Horizontal, Qt::ToolTipRole).toString(), toolTip);
    QVERIFY(!model->headerData(section, Qt::Horizontal, Qt::DecorationRole).isValid());
    QVERIFY(!model->headerData(section, Qt::Vertical, Qt::DisplayRole).isValid());
    QVERIFY(!model->headerData(section, Qt::Vertical, Qt::ToolTipRole).isValid());
}

void TableModel::texts_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("arch");
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("repository");

    QString const native = SandboxSession::nativeArch();
    // Two installed versions behind an update: more than an update implies.
    QTest::newRow("update over two installed") << "sv-kernel" << int(Package::Ordinary) << native << "5.2-1 *"
                                               << "sv-updates";
    // One installed version behind an update is what an update implies.
    QTest::newRow("update over one installed") << "sv-tool" << int(Package::Ordinary) << native << "1.2-1"
                                               << "sv-updates";
    QTest::newRow("noarch update") << "sv-docs" << int(Package::Ordinary) << "noarch"
                                   << "1.1-1"
                                   << "sv-updates";
    QTest::newRow("epoch") << "sv-epoch" << int(Package::Ordinary) << "noarch"
                           << "2:1.0-1"
                           << "sv-updates";
    QTest::newRow("installed") << "sv-release" << int(Package::Ordinary) << "noarch"
                               << "1-1"
                               << "installed";
    QTest::newRow("installed native") << "sv-lib" << int(Package::Ordinary) << native << "2.0-1"
                                      << "installed";
    QTest::newRow("available") << "sv-app" << int(Package::Ordinary) << native << "1.0-1"
                               << "sv-base";
    QTest::newRow("second mirror") << "sv-mirror-tool" << int(Package::Ordinary) << "noarch"
                                   << "1.0-1"
                                   << "sv-mirrored";
    QTest::newRow("suite") << "sv-office-suite" << int(Package::Suite) << "noarch"
                           << "3.0-1"
                           << "sv-base";
    QTest::newRow("group") << "SORVAN Desktop" << int(Package::Group) << ""
                           << ""
                           << "";
}

void TableModel::texts()
{
    QFETCH(QString, name);
    QFETCH(int, kind);
    QFETCH(QString, arch);
    QFETCH(QString, version);
    QFETCH(QString, repository);

    QModelIndex const index = cell(name, NameColumn, Package::Kind(kind), arch);
    QVERIFY2(index.isValid(), qPrintable(name));
    int const row = index.row();
    Package::Entry const* e = model->entry(row);

    QCOMPARE(model->index(row, NameColumn).data().toString(), name);
    QCOMPARE(model->index(row, VersionColumn).data().toString(), version);
    QCOMPARE(model->index(row, RepositoryColumn).data().toString(), repository);
    QCOMPARE(model->index(row, ArchitectureColumn).data().toString(), arch);
    if (kind == Package::Group) {
        QCOMPARE(model->index(row, SizeColumn).data().toString(), QString());
        QCOMPARE(model->index(row, BuildTimeColumn).data().toString(), QString());
    } else {
        QVERIFY(e->size > 0);
        QCOMPARE(model->index(row, SizeColumn).data().toString(), Package::bytesFormat(e->size));
        // Every sandbox package is built at the same second.
        QCOMPARE(model->index(row, BuildTimeColumn).data().toString(), Package::timeFormat(1700000000));
    }
    // The icon columns show no text.
    for (int column : { ActionColumn, StateColumn, KindColumn })
        QVERIFY(!model->index(row, column).data().isValid());
}

void TableModel::versionToolTip_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("toolTip");

    QTest::newRow("update over two installed")
        << "sv-kernel" << int(Package::Ordinary) << "Available: 5.2-1\nInstalled: 5.0-1\nInstalled: 5.1-1";
    QTest::newRow("update over one installed")
        << "sv-tool" << int(Package::Ordinary) << "Available: 1.2-1\nInstalled: 1.0-1";
    QTest::newRow("epochs") << "sv-epoch" << int(Package::Ordinary)
                            << "Available: 2:1.0-1\nInstalled: 1:2.0-1";
    QTest::newRow("installed") << "sv-reloc" << int(Package::Ordinary) << "Installed: 1.0-1";
    QTest::newRow("available") << "sv-calc" << int(Package::Ordinary) << "Available: 3.0-1";
    QTest::newRow("suite") << "sv-office-suite" << int(Package::Suite) << "Available: 3.0-1";
}

void TableModel::versionToolTip()
{
    QFETCH(QString, name);
    QFETCH(int, kind);
    QFETCH(QString, toolTip);

    QModelIndex const index = cell(name, VersionColumn, Package::Kind(kind));
    QVERIFY2(index.isValid(), qPrintable(name));
    QCOMPARE(index.data(Qt::ToolTipRole).toString(), toolTip);
    // Only the Version column has a tool-tip beyond the icon columns.
    for (int column : { NameColumn, RepositoryColumn, ArchitectureColumn, SizeColumn, BuildTimeColumn })
        QVERIFY(!model->index(index.row(), column).data(Qt::ToolTipRole).isValid());
}

void TableModel::stateAndKind_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("state");
    QTest::addColumn<QString>("stateIcon");
    QTest::addColumn<QString>("stateTip");
    QTest::addColumn<QString>("kindIcon");
    QTest::addColumn<QString>("kindTip");
    QTest::addColumn<QString>("colour");
    QTest::addColumn<QString>("disabledColour");

    QString const outOfDate = QStringLiteral("Package is available to update an out-of-date version");
    QString const available = QStringLiteral("Package is available for installation");
    QString const installed = QStringLiteral("Package is installed and up-to-date");
    QString const ordinary = QStringLiteral("Ordinary package");

    QTest::newRow("out of date") << "sv-docs" << int(Package::Ordinary) << int(Package::AvailableForUpdate)
                                 << "icons/out-of-date.png" << outOfDate << "icons/package.png" << ordinary
                                 << Colors::error() << Colors::errorDisabled();
    QTest::newRow("available") << "sv-noisy" << int(Package::Ordinary) << int(Package::Available) << ""
                               << available << "icons/package.png" << ordinary << Colors::minor()
                               << Colors::minorDisabled();
    // Installed entries take the palette's own text colour.
    QTest::newRow("installed") << "sv-old" << int(Package::Ordinary) << int(Package::Installed)
                               << "icons/up-to-date.png" << installed << "icons/package.png" << ordinary << ""
                               << "";
    QTest::newRow("suite") << "sv-office-suite" << int(Package::Suite) << int(Package::Available) << ""
                           << available << "icons/suite.png"
                           << "Suite of packages" << Colors::minor() << Colors::minorDisabled();
    // A group missing a mandatory member is out of date.
    QTest::newRow("group out of date")
        << "SORVAN Core" << int(Package::Group) << int(Package::AvailableForUpdate) << "icons/out-of-date.png"
        << outOfDate << "icons/group.png"
        << "Group of packages" << Colors::error() << Colors::errorDisabled();
    QTest::newRow("group installed") << "SORVAN Minimal" << int(Package::Group) << int(Package::Installed)
                                     << "icons/up-to-date.png" << installed << "icons/group.png"
                                     << "Group of packages"
                                     << ""
                                     << "";
    QTest::newRow("group available") << "SORVAN Development" << int(Package::Group) << int(Package::Available)
                                     << "" << available << "icons/group.png"
                                     << "Group of packages" << Colors::minor() << Colors::minorDisabled();
}

void TableModel::stateAndKind()
{
    QFETCH(QString, name);
    QFETCH(int, kind);
    QFETCH(int, state);
    QFETCH(QString, stateIcon);
    QFETCH(QString, stateTip);
    QFETCH(QString, kindIcon);
    QFETCH(QString, kindTip);
    QFETCH(QString, colour);
    QFETCH(QString, disabledColour);

    QModelIndex const index = cell(name, StateColumn, Package::Kind(kind));
    QVERIFY2(index.isValid(), qPrintable(name));
    int const row = index.row();
    QCOMPARE(model->getState(row), state);

    QVariant const stateDecoration = index.data(Qt::DecorationRole);
    if (stateIcon.isEmpty()) {
        QVERIFY(!stateDecoration.isValid());
    } else {
        QImage const expected = picture(stateIcon);
        QVERIFY(!expected.isNull());
        QCOMPARE(picture(stateDecoration), expected);
    }
    QCOMPARE(index.data(Qt::ToolTipRole).toString(), stateTip);

    QModelIndex const kindIndex = model->index(row, KindColumn);
    QImage const expectedKind = picture(kindIcon);
    QVERIFY(!expectedKind.isNull());
    QCOMPARE(picture(kindIndex.data(Qt::DecorationRole)), expectedKind);
    QCOMPARE(kindIndex.data(Qt::ToolTipRole).toString(), kindTip);

    // Columns 2 to 8 are coloured by state; the action and state icons not.
    for (bool enabled : { true, false }) {
        model->setEnabled(enabled);
        QString const expected = enabled ? colour : disabledColour;
        QVERIFY(!model->index(row, ActionColumn).data(Qt::ForegroundRole).isValid());
        QVERIFY(!model->index(row, StateColumn).data(Qt::ForegroundRole).isValid());
        for (int column = KindColumn; column < ColumnCount; ++column) {
            QVariant const foreground = model->index(row, column).data(Qt::ForegroundRole);
            if (expected.isEmpty())
                QVERIFY(!foreground.isValid());
            else
                QCOMPARE(foreground.value<QColor>(), QColor(expected));
        }
    }

    // The values the proxy sorts and filters by.
    Package::Entry* e = model->entry(row);
    QCOMPARE(model->index(row, StateColumn).data(Qt::UserRole).toInt(), state);
    QCOMPARE(model->index(row, KindColumn).data(Qt::UserRole).toInt(), kind);
    for (int column = NameColumn; column <= ArchitectureColumn; ++column)
        QCOMPARE(model->index(row, column).data(Qt::UserRole).value<Package::Entry*>(), e);
    QVariant const size = model->index(row, SizeColumn).data(Qt::UserRole);
    QCOMPARE(size.typeId(), int(QMetaType::ULongLong));
    QCOMPARE(size.toULongLong(), e->size);
    QCOMPARE(model->index(row, BuildTimeColumn).data(Qt::UserRole).toLongLong(),
        kind == Package::Group ? 0 : 1700000000);
}

void TableModel::actionRoles_data()
{
    QTest::addColumn<int>("action");
    QTest::addColumn<QString>("icon");
    QTest::addColumn<QString>("toolTip");

    QTest::newRow("update") << int(Package::Update) << "icons/updateBox.png"
                            << "Update package";
    QTest::newRow("install") << int(Package::Install) << "icons/installBox.png"
                             << "Install package";
    QTest::newRow("remove") << int(Package::Remove) << "icons/removeBox.png"
                            << "Remove package";
    QTest::newRow("none") << int(Package::NoAction) << "icons/noneBox.png"
                          << "";
}

void TableModel::actionRoles()
{
    QFETCH(int, action);
    QFETCH(QString, icon);
    QFETCH(QString, toolTip);

    // setAction writes whatever it is given: the menus offer only legal ones.
    QModelIndex const index = cell(QStringLiteral("sv-release"), ActionColumn);
    QSignalSpy changed(model, &QAbstractItemModel::dataChanged);
    model->setAction(index, Package::Action(action));
    QCOMPARE(changed.count(), 1);
    QCOMPARE(changed[0][0].toModelIndex(), index);
    QCOMPARE(changed[0][1].toModelIndex(), index);

    QImage const expected = picture(icon);
    QVERIFY(!expected.isNull());
    QCOMPARE(picture(index.data(Qt::DecorationRole)), expected);
    if (toolTip.isEmpty())
        QVERIFY(!index.data(Qt::ToolTipRole).isValid());
    else
        QCOMPARE(index.data(Qt::ToolTipRole).toString(), toolTip);
    QCOMPARE(index.data(Qt::UserRole).toInt(), action);
    QCOMPARE(int(model->entry(index)->action), action);
}

void TableModel::toggleCycle_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QList<int>>("cycle");

    QList<int> const outOfDate { Package::Update, Package::Remove, Package::NoAction, Package::Update };
    QList<int> const available { Package::Install, Package::NoAction, Package::Install };
    QList<int> const installed { Package::Remove, Package::NoAction, Package::Remove };
    QTest::newRow("out of date") << "sv-tool" << int(Package::Ordinary) << outOfDate;
    QTest::newRow("available") << "sv-app" << int(Package::Ordinary) << available;
    QTest::newRow("installed") << "sv-release" << int(Package::Ordinary) << installed;
    QTest::newRow("suite") << "sv-office-suite" << int(Package::Suite) << available;
    QTest::newRow("group out of date") << "SORVAN Core" << int(Package::Group) << outOfDate;
    QTest::newRow("group available") << "SORVAN Desktop" << int(Package::Group) << available;
}

void TableModel::toggleCycle()
{
    QFETCH(QString, name);
    QFETCH(int, kind);
    QFETCH(QList<int>, cycle);

    QModelIndex const index = cell(name, ActionColumn, Package::Kind(kind));
    QVERIFY2(index.isValid(), qPrintable(name));
    QSignalSpy changed(model, &QAbstractItemModel::dataChanged);
    for (int i = 0; i < cycle.size(); ++i) {
        model->toggleAction(index);
        QCOMPARE(int(model->entry(index)->action), cycle[i]);
        QCOMPARE(changed.count(), i + 1);
        QCOMPARE(changed.last()[0].toModelIndex(), index);
    }

    // An action the state does not cycle through starts the cycle over.
    model->setAction(index, Package::Install);
    if (cycle.first() != Package::Install) {
        model->toggleAction(index);
        QCOMPARE(model->entry(index)->action, Package::NoAction);
    }
}

void TableModel::rowsBeyondTheEntriesAreIgnored()
{
    QSignalSpy changed(model, &QAbstractItemModel::dataChanged);
    QModelIndex const beyond = this->beyond(ActionColumn);
    model->setAction(beyond, Package::Install);
    model->toggleAction(beyond);
    model->setAction(QModelIndex(), Package::Install);
    model->toggleAction(QModelIndex());
    model->setSelected({ beyond, QModelIndex() });
    QCOMPARE(model->getState(model->rowCount()), -1);
    QCOMPARE(model->getState(-1), -1);
    QCOMPARE(changed.count(), 0);
    for (Package::Entry const* e : *sandbox.yumIO)
        QCOMPARE(e->action, Package::NoAction);
}

void TableModel::setSelected()
{
    QModelIndex const outOfDate = cell(QStringLiteral("sv-docs"), NameColumn);
    QModelIndex const available = cell(QStringLiteral("sv-writer"), NameColumn);
    QModelIndex const installed = cell(QStringLiteral("sv-reloc"), NameColumn);
    QModelIndex const marked = cell(QStringLiteral("sv-epoch"), NameColumn);
    model->setAction(marked, Package::Update);
    model->setAction(installed, Package::Remove);

    QSignalSpy changed(model, &QAbstractItemModel::dataChanged);
    model->setSelected({ outOfDate, available, installed, marked });
    QCOMPARE(model->entry(outOfDate)->action, Package::Update);
    QCOMPARE(model->entry(available)->action, Package::Install);
    QCOMPARE(model->entry(installed)->action, Package::Remove);
    QCOMPARE(model->entry(marked)->action, Package::Update);
    // Only the two rows that changed are signalled, in their Action cells.
    QCOMPARE(changed.count(), 2);
    QCOMPARE(changed[0][0].toModelIndex(), model->index(outOfDate.row(), ActionColumn));
    QCOMPARE(changed[1][0].toModelIndex(), model->index(available.row(), ActionColumn));
}

void TableModel::clearActions()
{
    QList<int> rows { sandbox.row(QStringLiteral("sv-app")), sandbox.row(QStringLiteral("sv-old")),
        sandbox.row(QStringLiteral("sv-kernel")) };
    model->setAction(model->index(rows[0], 0), Package::Install);
    model->setAction(model->index(rows[1], 0), Package::Remove);
    model->setAction(model->index(rows[2], 0), Package::Update);
    std::sort(rows.begin(), rows.end());

    QSignalSpy changed(model, &QAbstractItemModel::dataChanged);
    model->clearActions();
    for (Package::Entry const* e : *sandbox.yumIO)
        QCOMPARE(e->action, Package::NoAction);
    // One signal per row that had an action, in the session's order.
    QCOMPARE(changed.count(), 3);
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(changed[i][0].toModelIndex(), model->index(rows[i], ActionColumn));
        QCOMPARE(changed[i][1].toModelIndex(), model->index(rows[i], ActionColumn));
    }
    model->clearActions();
    QCOMPARE(changed.count(), 3);
}

void TableModel::disabledColours()
{
    QModelIndex const index = cell(QStringLiteral("sv-tool"), NameColumn);
    QSignalSpy changed(model, &QAbstractItemModel::dataChanged);
    QSignalSpy reset(model, &QAbstractItemModel::modelReset);
    model->setEnabled(false);
    QVERIFY(!model->isEnabled());
    QCOMPARE(index.data(Qt::ForegroundRole).value<QColor>(), QColor(Colors::errorDisabled()));
    model->setEnabled(true);
    QCOMPARE(index.data(Qt::ForegroundRole).value<QColor>(), QColor(Colors::error()));
    QCOMPARE(changed.count(), 0);
    QCOMPARE(reset.count(), 0);
    QVERIFY(QColor(Colors::error()) != QColor(Colors::errorDisabled()));
}

void TableModel::resetRereadsTheSession()
{
    QSignalSpy aboutToReset(model, &QAbstractItemModel::modelAboutToBeReset);
    QSignalSpy reset(model, &QAbstractItemModel::modelReset);
    model->reset();
    QCOMPARE(aboutToReset.count(), 1);
    QCOMPARE(reset.count(), 1);
    model->forceSortColumnRediscovery();
    QCOMPARE(reset.count(), 2);
    QCOMPARE(model->rowCount(), sandbox.yumIO->count());
}

void TableModel::viewers()
{
    QVERIFY(!model->canDescribe());
    QVERIFY(!model->canBrowse());
    QModelIndex const index = cell(QStringLiteral("sv-app"), RepositoryColumn);
    model->describe(index, nullptr); // nothing to call: nothing happens

    QStringList shown;
    QWidget parent;
    auto viewer = [&](QString const& what) {
        return [&, what](YumIO* session, Package::Entry const& entry, YumConfIO*, QWidget* p) {
            QCOMPARE(session, sandbox.yumIO);
            QCOMPARE(p, &parent);
            shown.append(what + QLatin1Char(' ') + entry.name + QLatin1Char(' ') + entry.repo);
        };
    };
    model->setDescriber(viewer(QStringLiteral("describe")));
    model->setBrowser(viewer(QStringLiteral("browse")));
    QVERIFY(model->canDescribe());
    QVERIFY(model->canBrowse());

    model->describe(index, &parent);
    model->browse(index, &parent);
    model->describe(beyond(0), &parent);
    model->browse(QModelIndex(), &parent);
    QCOMPARE(shown, QStringList({ "describe sv-app sv-base", "browse sv-app sv-base" }));

    model->setDescriber(nullptr);
    model->setBrowser(nullptr);
}

QTEST_MAIN(TableModel)
#include "tst_packagetablemodel.moc"
