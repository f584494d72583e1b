#include "ConfTestSupport.h"
#include "repo/RepoEditorModel.h"
#include "repo/RepoEditorSortFilterProxyModel.h"

#include <QAbstractItemModelTester>
#include <QFont>
#include <QSignalSpy>

using namespace ConfTest;
using RepoEditor::Model;
using Proxy = RepoEditor::SortFilterProxyModel;

class TestRepoEditorModel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("SORVANROOT", "/nonexistent/sorvan-test-root"); }

    void naturalOrder_data()
    {
        columns<QString, QString, int>("left", "right", "order");
        row("number", "repo9", "repo10", -1);
        row("leading zero", "a01", "a1", 0);
        row("empty first", "", "a", -1);
        row("empty vs zero", "", "0", 0);
        row("text before number", "a", "a1", -1);
        row("case by code", "B", "a", -1);
        row("later run", "a1b2", "a1b10", -1);
        row("digits before letters", "1", "a", -1);
        row("too large is zero", "x99999999999999999999", "x1", -1);
        row("equal", "fedora", "fedora", 0);
    }
    void naturalOrder()
    {
        QFETCH(QString, left);
        QFETCH(QString, right);
        QFETCH(int, order);
        QCOMPARE(Proxy::naturalLessThan(left, right), order < 0);
        QCOMPARE(Proxy::naturalLessThan(right, left), order > 0);
    }

    // Under the model tester: rows added, toggled, changed and removed, the
    // proxy sorting identifiers naturally and an empty one shown "(new)".
    void modelAndProxy()
    {
        Root root;
        root.put("/etc/yum.conf", "[main]\n");
        root.put("/etc/yum.repos.d/a.repo",
            "[repo10]\nname=Ten\n\n[repo9]\nname=Nine\nenabled=0\n\n[b]\nenabled=1\n");
        Conf conf;
        QVERIFY(conf.io.read(nullptr));
        Model model(nullptr, &conf.io);
        Proxy proxy;
        proxy.setSourceModel(&model);
        QAbstractItemModelTester modelTester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QAbstractItemModelTester proxyTester(&proxy, QAbstractItemModelTester::FailureReportingMode::QtTest);
        proxy.sort(Model::IdColumn);
        auto ids = [&proxy] {
            QStringList list;
            for (int row = 0; row < proxy.rowCount(); ++row)
                list.append(proxy.index(row, Model::IdColumn).data().toString());
            return list.join(' ');
        };
        QCOMPARE(ids(), "b repo9 repo10");

        QSignalSpy use(&model, &Model::useChanged);
        QSignalSpy config(&model, &Model::configChanged);
        auto tip = [&model](int row, int column) {
            return model.index(row, column).data(Qt::ToolTipRole).toString();
        };
        model.toggleUse(model.index(1, Model::SessionColumn));
        QCOMPARE(conf.session.value("repo9"), true);
        QCOMPARE(tip(1, Model::PermanentColumn), "Repository is configured to be enabled");
        // Unset under an enabling [main] is on: the first toggle turns it off.
        for (auto expected : { Repo::Entry::Off, Repo::Entry::On }) {
            model.toggleEnabled(model.index(0, Model::PermanentColumn));
            QCOMPARE(conf.io.repos().at(0).enabled, expected);
        }
        QCOMPARE(use.size(), 1);
        QCOMPARE(config.size(), 2);

        model.setViewFont(QFont("Sans", 13));
        int const added = model.addRow(Repo::Entry());
        QCOMPARE(ids(), "(new) b repo9 repo10");
        QFont const font = model.index(added, Model::IdColumn).data(Qt::FontRole).value<QFont>();
        QVERIFY(font.italic() && font.pointSize() == 13);
        conf.io.repos()[added].id = "repo100";
        model.rowChanged(added);
        QCOMPARE(ids(), "b repo9 repo10 repo100");
        QVERIFY(model.removeRow(1));
        QCOMPARE(ids(), "b repo10 repo100");
    }
};

QTEST_MAIN(TestRepoEditorModel)
#include "tst_repoeditormodel.moc"
