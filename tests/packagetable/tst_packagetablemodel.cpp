// The package table model over a real collection of the sandbox root.

#include "SandboxSession.h"
#include "app/Colors.h"
#include "app/Share.h"
#include "packagetable/PackageTableModel.h"
#include "tests/yumio/TestRows.h"

#include <QAbstractItemModelTester>
#include <QImage>
#include <QSignalSpy>
#include <QStandardItemModel>

using namespace PackageTable;

namespace
{
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

class TableModel : public QObject
{
    Q_OBJECT

    SandboxSession sandbox;
    Model* model = nullptr;

    QModelIndex cell(QString const& name, int column, int kind = Package::Ordinary) const
    {
        int const row = sandbox.row(name, QString(), Package::Kind(kind));
        return row < 0 ? QModelIndex() : model->index(row, column);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(sandbox.start(), qPrintable(sandbox.failure));
        model = new Model(sandbox.yumIO, this);
        new QAbstractItemModelTester(model, QAbstractItemModelTester::FailureReportingMode::QtTest, model);
    }
    void cleanupTestCase()
    {
        QVERIFY2(sandbox.dialogs.dialogs.isEmpty(), qPrintable(sandbox.dialogs.summary()));
    }
    void init()
    {
        model->clearActions();
        model->setEnabled(true);
    }

    void rowsBeyondTheEntries()
    {
        // A view may still hold the row at the count after the entries went:
        // it has no data and changes nothing.
        QCOMPARE(model->rowCount(), 31);
        QStandardItemModel larger(model->rowCount() + 1, ColumnCount);
        QModelIndex const beyond = larger.index(model->rowCount(), ActionColumn);
        for (int role : { Qt::DisplayRole, Qt::DecorationRole, Qt::ToolTipRole, Qt::UserRole })
            QVERIFY(!model->data(beyond, role).isValid());
        QSignalSpy changed(model, &QAbstractItemModel::dataChanged);
        model->setAction(beyond, Package::Install);
        model->toggleAction(beyond);
        model->toggleAction(QModelIndex());
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
        row("update over one installed", "sv-tool", int(Package::Ordinary), "1.2-1", "sv-updates",
            "Available: 1.2-1\nInstalled: 1.0-1");
        row("epochs", "sv-epoch", int(Package::Ordinary), "2:1.0-1", "sv-updates",
            "Available: 2:1.0-1\nInstalled: 1:2.0-1");
        row("installed", "sv-release", int(Package::Ordinary), "1-1", "installed", "Installed: 1-1");
        row("available", "sv-app", int(Package::Ordinary), "1.0-1", "sv-base", "Available: 1.0-1");
        row("group", "SORVAN Desktop", int(Package::Group), "", "", "Available: ");
    }
    void texts()
    {
        QFETCH(QString, name);
        QFETCH(int, kind);
        QModelIndex const index = cell(name, NameColumn, kind);
        QVERIFY2(index.isValid(), qPrintable(name));
        auto at = [&](int column, int role = Qt::DisplayRole) {
            return index.siblingAtColumn(column).data(role);
        };
        Package::Entry const* e = model->entry(index.row());
        QCOMPARE(at(NameColumn).toString(), name);
        QTEST(at(VersionColumn).toString(), "version");
        QTEST(at(RepositoryColumn).toString(), "repository");
        QCOMPARE(at(ArchitectureColumn).toString(), e->arch);
        QTEST(at(VersionColumn, Qt::ToolTipRole).toString(), "toolTip");
        bool const group = kind == Package::Group;
        QCOMPARE(at(SizeColumn).toString(), group ? QString() : Package::bytesFormat(e->size));
        QCOMPARE(at(BuildTimeColumn).toString(), group ? QString() : Package::timeFormat(1700000000));
        // The icon columns show no text; only Version has a tool-tip of the text columns.
        for (int column : { ActionColumn, StateColumn, KindColumn })
            QVERIFY(!at(column).isValid());
        for (int column : { NameColumn, RepositoryColumn, SizeColumn })
            QVERIFY(!at(column, Qt::ToolTipRole).isValid());
        // What the proxy sorts and filters by: sizes as unsigned 64-bit numbers.
        QCOMPARE(at(NameColumn, Qt::UserRole).value<Package::Entry*>(), e);
        QCOMPARE(at(SizeColumn, Qt::UserRole).typeId(), int(QMetaType::ULongLong));
        QCOMPARE(at(SizeColumn, Qt::UserRole).toULongLong(), e->size);
        QCOMPARE(at(BuildTimeColumn, Qt::UserRole).toLongLong(), group ? 0 : 1700000000);
        QCOMPARE(at(KindColumn, Qt::UserRole).toInt(), kind);
    }

    void stateAndKind_data()
    {
        columns<QString, int, int, QString, QString, QString, QString>(
            "name", "kind", "state", "stateIcon", "kindIcon", "colour", "disabledColour");
        row("out of date", "sv-docs", int(Package::Ordinary), int(Package::AvailableForUpdate),
            "icons/out-of-date.png", "icons/package.png", Colors::error(), Colors::errorDisabled());
        row("available", "sv-noisy", int(Package::Ordinary), int(Package::Available), "", "icons/package.png",
            Colors::minor(), Colors::minorDisabled());
        // Installed entries take the palette's own text colour.
        row("installed", "sv-old", int(Package::Ordinary), int(Package::Installed), "icons/up-to-date.png",
            "icons/package.png", "", "");
        row("suite", "sv-office-suite", int(Package::Suite), int(Package::Available), "", "icons/suite.png",
            Colors::minor(), Colors::minorDisabled());
        // A group missing a mandatory member is out of date.
        row("group out of date", "SORVAN Core", int(Package::Group), int(Package::AvailableForUpdate),
            "icons/out-of-date.png", "icons/group.png", Colors::error(), Colors::errorDisabled());
    }
    void stateAndKind()
    {
        QFETCH(QString, name);
        QFETCH(int, kind);
        QFETCH(int, state);
        QFETCH(QString, stateIcon);
        QFETCH(QString, kindIcon);
        QModelIndex const index = cell(name, StateColumn, kind);
        QVERIFY2(index.isValid(), qPrintable(name));
        QCOMPARE(model->getState(index.row()), state);
        QCOMPARE(index.data(Qt::UserRole).toInt(), state);
        QCOMPARE(picture(index.data(Qt::DecorationRole)), picture(stateIcon));
        QVERIFY(!picture(kindIcon).isNull());
        QCOMPARE(picture(index.siblingAtColumn(KindColumn).data(Qt::DecorationRole)), picture(kindIcon));

        // Columns from Kind on are coloured by state, without any data change.
        QFETCH(QString, colour);
        QFETCH(QString, disabledColour);
        QSignalSpy changed(model, &QAbstractItemModel::dataChanged);
        for (bool enabled : { true, false }) {
            model->setEnabled(enabled);
            QString const expected = enabled ? colour : disabledColour;
            QVERIFY(!index.siblingAtColumn(ActionColumn).data(Qt::ForegroundRole).isValid());
            QVERIFY(!index.data(Qt::ForegroundRole).isValid());
            for (int column = KindColumn; column < ColumnCount; ++column) {
                QVariant const foreground = index.siblingAtColumn(column).data(Qt::ForegroundRole);
                QCOMPARE(foreground.isValid() ? foreground.value<QColor>().name() : QString(),
                    expected.isEmpty() ? QString() : QColor(expected).name());
            }
        }
        QCOMPARE(changed.count(), 0);
    }

    void toggleCycle_data()
    {
        columns<QString, int, QList<int>>("name", "kind", "cycle");
        QList<int> const outOfDate { int(Package::Update), int(Package::Remove), int(Package::NoAction),
            int(Package::Update) };
        QList<int> const available { int(Package::Install), int(Package::NoAction), int(Package::Install) };
        row("out of date", "sv-tool", int(Package::Ordinary), outOfDate);
        row("available", "sv-app", int(Package::Ordinary), available);
        row("installed", "sv-release", int(Package::Ordinary),
            QList<int> { int(Package::Remove), int(Package::NoAction), int(Package::Remove) });
    }
    void toggleCycle()
    {
        QFETCH(QString, name);
        QFETCH(int, kind);
        QFETCH(QList<int>, cycle);
        QHash<int, QString> const icons { { Package::Update, "icons/updateBox.png" },
            { Package::Install, "icons/installBox.png" }, { Package::Remove, "icons/removeBox.png" },
            { Package::NoAction, "icons/noneBox.png" } };
        QModelIndex const index = cell(name, ActionColumn, kind);
        QSignalSpy changed(model, &QAbstractItemModel::dataChanged);
        QList<int> actions;
        for (int i = 0; i < cycle.size(); ++i) {
            model->toggleAction(index);
            int const action = model->entry(index)->action;
            actions.append(action);
            QVERIFY(!picture(icons[action]).isNull());
            QCOMPARE(picture(index.data(Qt::DecorationRole)), picture(icons[action]));
            QCOMPARE(index.data(Qt::UserRole).toInt(), action);
        }
        QCOMPARE(actions, cycle);
        QCOMPARE(actionRows(changed), QList<int>(cycle.size(), index.row()));
        // setAction writes whatever it is given (the menus offer only legal
        // ones); from an action outside the state's cycle, toggling starts over.
        changed.clear();
        model->setAction(index, Package::Install);
        QCOMPARE(actionRows(changed), QList<int> { index.row() });
        QCOMPARE(model->entry(index)->action, Package::Install);
        model->toggleAction(index);
        QCOMPARE(model->entry(index)->action, Package::NoAction);
    }

    void setSelectedAndClear()
    {
        QModelIndex const outOfDate = cell(QStringLiteral("sv-docs"), NameColumn);
        QModelIndex const available = cell(QStringLiteral("sv-writer"), NameColumn);
        QModelIndex const installed = cell(QStringLiteral("sv-reloc"), NameColumn);
        QModelIndex const marked = cell(QStringLiteral("sv-epoch"), NameColumn);
        model->setAction(marked, Package::Update);
        model->setAction(installed, Package::Remove);
        QSignalSpy changed(model, &QAbstractItemModel::dataChanged);
        model->setSelected({ outOfDate, available, installed, marked });
        QCOMPARE(QList<int>({ model->entry(outOfDate)->action, model->entry(available)->action,
                     model->entry(installed)->action, model->entry(marked)->action }),
            QList<int>({ Package::Update, Package::Install, Package::Remove, Package::Update }));
        // Only the rows that changed are signalled: never an installed one.
        QCOMPARE(actionRows(changed), QList<int>({ outOfDate.row(), available.row() }));

        // Cleared with one signal per marked row, in the session's order, and
        // none when nothing is marked.
        changed.clear();
        model->clearActions();
        QList<int> rows { outOfDate.row(), available.row(), installed.row(), marked.row() };
        std::sort(rows.begin(), rows.end());
        QCOMPARE(actionRows(changed), rows);
        for (Package::Entry const* e : *sandbox.yumIO)
            QCOMPARE(e->action, Package::NoAction);
        model->clearActions();
        QCOMPARE(changed.count(), rows.size());
    }
};

QTEST_MAIN(TableModel)
#include "tst_packagetablemodel.moc"
