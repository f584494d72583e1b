#include "ConfTestSupport.h"
#include "app/Share.h"
#include "repo/RepoEditorConfigDialog.h"
#include "repo/RepoEditorDialog.h"
#include "repo/RepoEditorModel.h"
#include "repo/RepoEditorSortFilterProxyModel.h"
#include "repo/RepoEditorView.h"
#include "widgets/HFrameLabel.h"
#include "widgets/PasswdLineEdit.h"
#include "widgets/PasswdTextEdit.h"

#include <QAbstractItemModelTester>
#include <QLineEdit>
#include <QSignalSpy>

using namespace ConfTest;
using RepoEditor::Model;

namespace
{
void click(QWidget* dialog, char const* button)
{
    QVERIFY(dialog->findChild<QPushButton*>(button)->isEnabled());
    dialog->findChild<QPushButton*>(button)->click();
}

// Fills the configuration dialog that opens next with `fields`, then presses OK.
void whenConfigOpens(QList<QPair<char const*, QString>> fields)
{
    QTimer::singleShot(0, [fields] {
        auto* dialog = qobject_cast<RepoEditor::ConfigDialog*>(QApplication::activeModalWidget());
        QVERIFY(dialog);
        for (auto const& [name, text] : fields) {
            if (auto* urls = dialog->findChild<PasswdTextEdit*>(name))
                urls->setText(text);
            else
                dialog->findChild<QLineEdit*>(name)->setText(text);
        }
        click(dialog, "okButton");
    });
}

// The editor's table as it shows: "id:session/permanent", 1 for a checked box.
QString rows(RepoEditor::View* view)
{
    QStringList list;
    auto checked = [view](int row, int column) {
        QIcon const icon = view->model()->index(row, column).data(Qt::DecorationRole).value<QIcon>();
        QIcon const on(Share::absolute("icons/checkBox.png"));
        return icon.pixmap(16).toImage() == on.pixmap(16).toImage() ? '1' : '0';
    };
    for (int row = 0; row < view->model()->rowCount(); ++row)
        list.append(view->model()->index(row, Model::IdColumn).data().toString() + ':'
            + QLatin1Char(checked(row, 0)) + '/' + QLatin1Char(checked(row, 1)));
    return list.join(' ');
}

void clickCell(RepoEditor::View* view, QString const& id, int column, Qt::KeyboardModifiers keys = {})
{
    for (int row = 0; row < view->model()->rowCount(); ++row) {
        if (view->model()->index(row, Model::IdColumn).data().toString() == id)
            QTest::mouseClick(view->viewport(), Qt::LeftButton, keys,
                view->visualRect(view->model()->index(row, column)).center());
    }
}
} // namespace

class TestRepoEditor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("SORVANROOT", "/nonexistent/sorvan-test-root"); }

    void naturalOrder()
    {
        // Numbers by value, leading zeros aside; one too large to convert is 0.
        auto less = &RepoEditor::SortFilterProxyModel::naturalLessThan;
        QVERIFY(!less("a01", "a1"));
        QVERIFY(!less("a1", "a01"));
        QVERIFY(less("x99999999999999999999", "x1"));
        QVERIFY(!less("x1", "x99999999999999999999"));
    }

    // A session as a user would have it: toggles by click and key, Edit, Add,
    // Copy, Remove of several rows, Apply, Reset All, Cancel and OK, and a
    // failed write, with the files and the change reports checked after each.
    void editSession()
    {
        Root root;
        QVERIFY(root.make({ "/etc/yum.conf=[main]\n",
            "a.repo=[repo10]\nname=Ten\nbaseurl=file:///10/\n\n[repo9]\nenabled=0\n",
            "b.repo=[b]\nname=B\nbaseurl=file:///b/\n", "dir.repo/" }));
        Conf conf;
        RepoEditor::Dialog editor(nullptr, &conf.io);
        QSignalSpy changed(&editor, &RepoEditor::Dialog::reposChanged);
        auto* view = editor.view();
        QAbstractItemModelTester tester(
            view->model(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        auto* status = editor.findChild<HFrameLabel*>("statusLabel");
        editor.show();
        QCOMPARE(rows(view), "b:1/1 repo9:0/0 repo10:1/1");

        // Session toggles alone leave nothing to apply; OK keeps them.
        clickCell(view, "repo9", 0);
        QVERIFY(!editor.findChild<QPushButton*>("applyButton")->isEnabled());
        click(&editor, "okButton");
        QCOMPARE(changed.size(), 1);
        QCOMPARE(conf.session.value("repo9"), true);

        editor.show();
        clickCell(view, "b", 1);
        view->setCurrentRow(0); // repo10
        whenConfigOpens({ { "nameEdit", "Ten renamed" } });
        QTest::keyClick(view, Qt::Key_Return);
        whenConfigOpens({ { "identifierEdit", "new" }, { "urlsEdit", "file:///new/ file:///n2/" } });
        click(&editor, "addButton");
        QCOMPARE(view->currentRow(), 3);
        whenConfigOpens({ { "identifierEdit", "new2" } });
        click(&editor, "copyButton");
        QCOMPARE(status->text(), "Unapplied Configuration Changes");
        QCOMPARE(rows(view), "b:1/0 new:1/1 new2:1/1 repo9:1/0 repo10:1/1");

        // Two rows selected bottom up by click and Ctrl+click, removed by Delete.
        clickCell(view, "repo9", 3);
        clickCell(view, "new", 3, Qt::ControlModifier);
        QTest::keyClick(view, Qt::Key_Delete);
        QCOMPARE(rows(view), "b:1/0 new2:1/1 repo10:1/1");
        QVERIFY(QMetaObject::invokeMethod(&editor, "apply"));
        QCOMPARE(root.get("a.repo"), "[repo10]\nname=Ten renamed\nbaseurl=file:///10/\n");
        QCOMPARE(root.get("b.repo"), "[b]\nname=B\nbaseurl=file:///b/\nenabled=0\n");
        QCOMPARE(root.get("new2.repo"), "[new2]\nbaseurl=file:///new/\n        file:///n2/\n");
        QVERIFY(!QFile::exists(root.host("new.repo")));
        QCOMPARE(status->text(), QString());

        // Reset All and Cancel go back to the files as applied; Space toggles.
        view->setCurrentIndex(view->model()->index(1, Model::PermanentColumn));
        QTest::keyClick(view, Qt::Key_Space);
        QCOMPARE(rows(view), "b:1/0 new2:1/0 repo10:1/1");
        click(&editor, "resetAllButton");
        QCOMPARE(rows(view), "b:1/0 new2:1/1 repo10:1/1");
        clickCell(view, "b", 0);
        clickCell(view, "repo10", 1);
        auto const files = root.snapshot();
        click(&editor, "cancelButton");
        QCOMPARE(root.snapshot(), files);
        QCOMPARE(conf.session.value("b"), true);
        QCOMPARE(changed.size(), 2); // applied before the cancel

        // A write that fails keeps the dialog open with every edit; the editor
        // refuses to open when the files cannot be read.
        editor.show();
        view->setCurrentRow(0);
        whenConfigOpens({ { "nameEdit", "B2" }, { "fileEdit", "/etc/yum.repos.d/dir.repo" } }); // repo10
        click(&editor, "editButton");
        {
            BoxAnswerer boxes;
            click(&editor, "okButton");
            QCOMPARE(boxes.texts.size(), 1);
        }
        QVERIFY(editor.isVisible());
        QCOMPARE(root.snapshot(), files);
        QCOMPARE(conf.io.repos().value(0).name, "B2");
        click(&editor, "cancelButton");
        QCOMPARE(changed.size(), 2);
        QVERIFY(root.put("bad.repo", "[bad\n"));
        BoxAnswerer boxes;
        QCOMPARE(editor.exec(), int(QDialog::Rejected));
        QCOMPARE(boxes.texts.size(), 1);
    }

    // The buffet fields and the URLs in step both ways; OK without an edit
    // rejects; a repository left to [main] follows it.
    void configDialog()
    {
        Root root;
        root.put("/etc/yum.conf", "[main]\nenabled=0\ngpgcheck=1\n");
        Conf conf;
        QVERIFY(conf.io.read(nullptr));
        Repo::Entry entry = ConfTest::entry("a", 1);
        entry.baseurl = "https://h/buffet?user=&pass=&path=/x/";
        entry.mirrorlist = "https://h/rhel/user=/pass=/list";
        RepoEditor::ConfigDialog dialog(&conf.io);
        dialog.setEntry(&entry);
        dialog.show();
        click(&dialog, "okButton");
        QCOMPARE(dialog.result(), int(QDialog::Rejected));

        dialog.show();
        QTest::keyClicks(dialog.findChild<QLineEdit*>("authNameEdit"), "a b&c");
        QTest::keyClicks(dialog.findChild<QLineEdit*>("authPasswordEdit"), "pw");
        auto* urls = dialog.findChild<PasswdTextEdit*>("urlsEdit");
        auto* mirror = dialog.findChild<PasswdLineEdit*>("mirrorlistEdit");
        QCOMPARE(urls->text(), "https://h/buffet?user=a%20b%26c&pass=pw&path=/x/");
        QVERIFY(!urls->toPlainText().contains("pw"));
        QVERIFY(!mirror->QLineEdit::text().contains("pw"));
        urls->setText("https://h/buffet?user=me&pass=secret&path=/x/");
        QCOMPARE(dialog.findChild<QLineEdit*>("authNameEdit")->text(), "me");
        QCOMPARE(dialog.findChild<QLineEdit*>("authPasswordEdit")->text(), "secret");
        click(&dialog, "okButton");
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QCOMPARE(entry.mirrorlist, "https://h/rhel/user=a%20b%26c/pass=pw/list");
        QCOMPARE(conf.session.value("a", true), false);
    }
};

QTEST_MAIN(TestRepoEditor)
#include "tst_repoeditor.moc"
