#include "ConfTestSupport.h"
#include "app/Share.h"
#include "repo/RepoEditorConfig.h"
#include "repo/RepoEditorConfigDialog.h"
#include "repo/RepoEditorDialog.h"
#include "repo/RepoEditorModel.h"
#include "repo/RepoEditorView.h"
#include "widgets/HFrameLabel.h"
#include "widgets/PasswdLineEdit.h"
#include "widgets/PasswdTextEdit.h"

#include <QComboBox>
#include <QLineEdit>
#include <QSignalSpy>

using namespace ConfTest;
using RepoEditor::Model;

namespace
{
QString const repos = "/etc/yum.repos.d/";

template <typename T = QLineEdit>
T* field(QWidget* dialog, char const* name)
{
    return dialog->findChild<T*>(QLatin1String(name));
}

void click(QWidget* dialog, char const* button)
{
    QVERIFY(field<QPushButton>(dialog, button)->isEnabled());
    field<QPushButton>(dialog, button)->click();
}

// Fills the configuration dialog that opens next with `fields` (object name,
// text) and presses OK.
void whenConfigOpens(QList<QPair<char const*, QString>> fields)
{
    QTimer::singleShot(0, [fields] {
        auto* dialog = qobject_cast<RepoEditor::ConfigDialog*>(QApplication::activeModalWidget());
        QVERIFY(dialog);
        for (auto const& [name, text] : fields) {
            if (auto* urls = field<PasswdTextEdit>(dialog, name))
                urls->setText(text);
            else
                field(dialog, name)->setText(text);
        }
        click(dialog, "okButton");
    });
}

// The editor's table as it shows: "id:sess/perm" per row, 1 for a checked
// box.
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

QPoint cellCentre(RepoEditor::View* view, QString const& id, int column)
{
    for (int row = 0; row < view->model()->rowCount(); ++row) {
        if (view->model()->index(row, Model::IdColumn).data().toString() == id)
            return view->visualRect(view->model()->index(row, column)).center();
    }
    return {};
}
} // namespace

class TestRepoEditor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("SORVANROOT", "/nonexistent/sorvan-test-root"); }

    // A session as a user would have it: toggles by click and key, Edit, Add,
    // Copy, Remove of several rows, Apply, Reset All, Cancel and OK, with the
    // files and the change reports checked after each.
    void editSession()
    {
        Root root;
        root.put("/etc/yum.conf", "[main]\n");
        root.put(repos + "a.repo", "[repo10]\nname=Ten\nbaseurl=file:///10/\n\n[repo9]\nenabled=0\n");
        root.put(repos + "b.repo", "[b]\nname=B\nbaseurl=file:///b/\n");
        Conf conf;
        RepoEditor::Dialog editor(nullptr, &conf.io);
        QSignalSpy changed(&editor, &RepoEditor::Dialog::reposChanged);
        auto* view = editor.view();
        auto* status = field<HFrameLabel>(&editor, "statusLabel");
        editor.show();
        QCOMPARE(rows(view), "b:1/1 repo9:0/0 repo10:1/1");

        // Session toggles alone leave nothing to apply; OK keeps them.
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, cellCentre(view, "repo9", 0));
        QVERIFY(!field<QPushButton>(&editor, "applyButton")->isEnabled());
        click(&editor, "okButton");
        QCOMPARE(changed.size(), 1);
        QCOMPARE(conf.session.value("repo9"), true);

        editor.show();
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, cellCentre(view, "b", 1));
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
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, cellCentre(view, "repo9", 3));
        QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::ControlModifier, cellCentre(view, "new", 3));
        QTest::keyClick(view, Qt::Key_Delete);
        QCOMPARE(rows(view), "b:1/0 new2:1/1 repo10:1/1");
        QVERIFY(QMetaObject::invokeMethod(&editor, "apply"));
        QCOMPARE(root.get(repos + "a.repo"), "[repo10]\nname=Ten renamed\nbaseurl=file:///10/\n");
        QCOMPARE(root.get(repos + "b.repo"), "[b]\nname=B\nbaseurl=file:///b/\nenabled=0\n");
        QCOMPARE(root.get(repos + "new2.repo"), "[new2]\nbaseurl=file:///new/\n        file:///n2/\n");
        QVERIFY(!QFile::exists(root.host(repos + "new.repo")));
        QCOMPARE(status->text(), QString());

        // Reset All and Cancel go back to the files as applied; Space toggles.
        view->setCurrentIndex(view->model()->index(1, Model::PermanentColumn));
        QTest::keyClick(view, Qt::Key_Space);
        QCOMPARE(rows(view), "b:1/0 new2:1/0 repo10:1/1");
        click(&editor, "resetAllButton");
        QCOMPARE(rows(view), "b:1/0 new2:1/1 repo10:1/1");
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, cellCentre(view, "b", 0));
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, cellCentre(view, "repo10", 1));
        auto const files = root.snapshot();
        click(&editor, "cancelButton");
        QVERIFY(!editor.isVisible());
        QCOMPARE(root.snapshot(), files);
        QCOMPARE(conf.session.value("b"), true);
        QCOMPARE(changed.size(), 2); // applied before the cancel
    }

    // A write that fails keeps the dialog open with every edit; the editor
    // refuses to open when the files cannot be read.
    void failures()
    {
        Root root;
        root.put("/etc/yum.conf", "[main]\n");
        root.put(repos + "a.repo", "[a]\nname=A\n");
        root.mkdir(repos + "dir.repo"); // a directory where a file belongs
        Conf conf;
        RepoEditor::Dialog editor(nullptr, &conf.io);
        QSignalSpy changed(&editor, &RepoEditor::Dialog::reposChanged);
        editor.show();
        view(editor)->setCurrentRow(0);
        whenConfigOpens({ { "nameEdit", "A2" }, { "fileEdit", "/etc/yum.repos.d/dir.repo" } });
        click(&editor, "editButton");
        auto const files = root.snapshot();
        {
            BoxAnswerer boxes;
            click(&editor, "okButton");
            QCOMPARE(boxes.boxes.size(), 1);
        }
        QVERIFY(editor.isVisible());
        QCOMPARE(root.snapshot(), files);
        QCOMPARE(conf.io.repos().value(0).name, "A2");
        QVERIFY(field<QPushButton>(&editor, "applyButton")->isEnabled());
        click(&editor, "cancelButton");
        QCOMPARE(changed.size(), 0);

        root.put(repos + "bad.repo", "[bad\n");
        BoxAnswerer boxes;
        QCOMPARE(editor.exec(), int(QDialog::Rejected));
        QCOMPARE(boxes.boxes.size(), 1);
    }

    void configStatus_data()
    {
        columns<QString, QString, QString, QString, QString>("id", "urls", "mirror", "file", "status");
        QString const buffet = "https://h/buffet?u=%1&p=%2&path=rhel/x/";
        row("no id", "", "file:///a/", "", "", "No Identifier specified");
        row("no url", "a", "", "", "", "No URLs or Mirror list URL specified");
        row("outside", "a", "file:///a/", "", "/srv/a.repo", "File is not in any reposdir directory");
        row("suffix", "a", "", "file:///a/", "/etc/yum.repos.d/a.conf", "File lacks .repo suffix");
        row("main file", "a", "file:///a/", "", "/etc/yum.conf", "");
        row("bare name", "a", "file:///a/", "", "a.repo", "");
        row("no name", "a", buffet.arg("", "pw"), "", "", "No Buffet Authentication Name specified");
        row("no password", "a", "", buffet.arg("me", ""), "", "No Buffet Authentication Password specified");
        row("complete", "a", buffet.arg("me", "pw"), "", "", "");
    }
    void configStatus()
    {
        QFETCH(QString, id);
        QFETCH(QString, urls);
        QFETCH(QString, mirror);
        QFETCH(QString, file);
        QFETCH(QString, status);
        Root root;
        root.put("/etc/yum.conf", "[main]\n");
        Conf conf;
        QVERIFY(conf.io.read(nullptr));
        Repo::Entry entry;
        entry.id = id;
        entry.baseurl = urls;
        entry.mirrorlist = mirror;
        entry.file = file.startsWith('/') ? root.host(file) : file;
        RepoEditor::ConfigDialog dialog(&conf.io);
        dialog.setEntry(&entry);
        dialog.changed();
        QCOMPARE(field<HFrameLabel>(&dialog, "statusLabel")->text(), status);
    }

    // The buffet fields and the URLs in step both ways; the Default items
    // follow [main]; OK without an edit rejects.
    void configDialog()
    {
        Root root;
        root.put("/etc/yum.conf", "[main]\nenabled=0\ngpgcheck=1\n");
        Conf conf;
        QVERIFY(conf.io.read(nullptr));
        Repo::Entry entry;
        entry.id = "a";
        entry.baseurl = "https://h/buffet?user=&pass=&path=/x/";
        entry.mirrorlist = "https://h/rhel/user=/pass=/list";
        RepoEditor::ConfigDialog dialog(&conf.io);
        dialog.setEntry(&entry);
        dialog.show();
        QCOMPARE(field<QComboBox>(&dialog, "enabledBox")->currentText(), "Default (No)");
        QCOMPARE(field<QComboBox>(&dialog, "gpgcheckBox")->currentText(), "Default (Yes)");
        click(&dialog, "okButton");
        QCOMPARE(dialog.result(), int(QDialog::Rejected));

        dialog.show();
        QTest::keyClicks(field(&dialog, "authNameEdit"), "a b&c");
        QTest::keyClicks(field(&dialog, "authPasswordEdit"), "pw");
        auto* urls = field<PasswdTextEdit>(&dialog, "urlsEdit");
        auto* mirror = field<PasswdLineEdit>(&dialog, "mirrorlistEdit");
        QCOMPARE(urls->text(), "https://h/buffet?user=a%20b%26c&pass=pw&path=/x/");
        QCOMPARE(mirror->text(), "https://h/rhel/user=a%20b%26c/pass=pw/list");
        QVERIFY(!urls->toPlainText().contains("pw"));
        QVERIFY(!mirror->QLineEdit::text().contains("pw"));
        urls->setText("https://h/buffet?user=me&pass=secret&path=/x/");
        QCOMPARE(field(&dialog, "authNameEdit")->text(), "me");
        QCOMPARE(field(&dialog, "authPasswordEdit")->text(), "secret");
        click(&dialog, "okButton");
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QCOMPARE(entry.mirrorlist, "https://h/rhel/user=a%20b%26c/pass=pw/list");
        QCOMPARE(conf.session.value("a", true), false);
    }

private:
    static RepoEditor::View* view(RepoEditor::Dialog& editor) { return editor.view(); }
};

QTEST_MAIN(TestRepoEditor)
#include "tst_repoeditor.moc"
