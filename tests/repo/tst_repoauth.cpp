// The authentication checker on throwaway roots, its dialog answered as a
// user would: fields typed into, buttons clicked.
#include "ConfTestSupport.h"
#include "repo/RepoAuthChecker.h"
#include "repo/RepoAuthDialog.h"
#include "repo/RepoBuffet.h"

#include <QLabel>
#include <QLineEdit>

using namespace ConfTest;

namespace
{
// Answers each showing of the dialog with the next "name:password:button"
// (no fields typed when name and password are both empty), recording the
// identifier shown and whether a label ever showed a typed password.
class Answerer : public QObject
{
public:
    QStringList asked;
    bool passwordShown = false;

    explicit Answerer(QStringList answers)
        : m_answers(answers)
    {
        connect(&m_timer, &QTimer::timeout, this, &Answerer::answer);
        m_timer.start(5);
    }

private:
    void answer()
    {
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            auto* dialog = qobject_cast<RepoAuth::Dialog*>(widget);
            if (!dialog || !dialog->isVisible() || m_answers.isEmpty())
                continue;
            auto buttons = dialog->findChildren<QPushButton*>();
            QStringList const answer = m_answers.first().split(':');
            auto button = std::find_if(buttons.begin(), buttons.end(),
                [&](QPushButton* b) { return b->isEnabled() && b->text() == answer[2]; });
            if (button == buttons.end())
                continue;
            m_answers.removeFirst();
            asked << dialog->findChild<QLabel*>("identifier")->text();
            QTest::keyClicks(dialog->findChild<QLineEdit*>("name"), answer[0]);
            QTest::keyClicks(dialog->findChild<QLineEdit*>("password"), answer[1]);
            for (char const* label : { "urls", "mirrorlist" })
                passwordShown |= !answer[1].isEmpty()
                    && dialog->findChild<QLabel*>(label)->text().contains(Repo::Buffet::encode(answer[1]));
            (*button)->click();
        }
    }

    QStringList m_answers;
    QTimer m_timer;
};

// a and b share a host, c names another in its mirror list; "named" has a
// name already, "off" is disabled and "plain" has no buffet form: none of
// those three is asked about.
QByteArray const repos = "[a]\nbaseurl=https://one.example/buffet?user=&pass=&path=/a/\n\n"
                         "[named]\nbaseurl=https://one.example/buffet?user=me&pass=&path=/n/\n\n"
                         "[off]\nenabled=0\nbaseurl=https://one.example/rhel/user=/pass=/off/\n\n"
                         "[b]\nbaseurl=https://one.example/rhel/user=/pass=/b/\n\n"
                         "[plain]\nbaseurl=https://one.example/plain/\n\n"
                         "[c]\nmirrorlist=https://two.example/buffet?user=&pass=&path=/c/\n";
} // namespace

class TestRepoAuth : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("SORVANROOT", "/nonexistent/sorvan-test-root"); }

    void check_data()
    {
        // stored: "id=name/password" of a, b and c as written; disabled: the
        // identifiers the session table turned off.
        columns<QStringList, QString, QString, QString, bool, bool>(
            "answers", "asked", "stored", "disabled", "quit", "written");
        row("OK each", QStringList { "me:pw:OK", "me:pw:OK", "you:pw:OK" }, "a b c",
            "a=me/pw b=me/pw c=you/pw", "", false, true);
        row("Apply to All", QStringList { "me:a b&c:Apply to All" }, "a", "a=me/a b&c b=me/a b&c c=me/a b&c",
            "", false, true);
        row("Apply to All with this Host", QStringList { "me:pw:Apply to All with this Host", "you:qq:OK" },
            "a c", "a=me/pw b=me/pw c=you/qq", "", false, true);
        row("Skip All keeps what was entered", QStringList { "me:pw:OK", "::Skip All" }, "a b",
            "a=me/pw b=/ c=/", "", false, true);
        row("Disable for Session", QStringList { "::Disable for Session", "me:pw:OK", "::Skip All" }, "a b c",
            "a=/ b=me/pw c=/", "a", false, true);
        row("Quit keeps what was entered", QStringList { "me:pw:OK", "::Quit" }, "a b", "a=me/pw b=/ c=/", "",
            true, true);
        row("nothing entered", QStringList { "::OK", "::OK", "::OK" }, "a b c", "a=/ b=/ c=/", "", false,
            false);
    }
    void check()
    {
        QFETCH(QStringList, answers);
        QFETCH(QString, disabled);
        Root root;
        QVERIFY(root.put("/etc/yum.conf", "[main]\n"));
        QVERIFY(root.put("/etc/yum.repos.d/r.repo", repos));
        auto const before = root.snapshot();
        Conf conf;
        Answerer answerer(answers);
        RepoAuth::Checker const checker(nullptr, &conf.io);
        QTEST(answerer.asked.join(' '), "asked");
        QVERIFY(!answerer.passwordShown);
        QTEST(checker.quit(), "quit");

        Conf after;
        QVERIFY(after.io.read(nullptr));
        QStringList stored;
        for (Repo::Entry const& entry : after.io.repos()) {
            QString k1, name, k2, password;
            if (QString("abc").contains(entry.id) && Repo::Buffet::getAuth(entry, k1, name, k2, password))
                stored << entry.id + '=' + name + '/' + password;
            QCOMPARE(
                conf.session.value(entry.id), entry.id != "off" && !disabled.split(' ').contains(entry.id));
            // The files keep every repository enabled as it was.
            QCOMPARE(entry.enabled, entry.id == "off" ? Repo::Entry::Off : Repo::Entry::Unset);
        }
        QTEST(stored.join(' '), "stored");

        QFETCH(bool, written);
        QCOMPARE(root.snapshot() != before, written);
        QCOMPARE(checker.reset(), written || !disabled.isEmpty());
        // A file that now holds a password is readable by its owner only.
        if (written)
            QCOMPARE(root.status("/etc/yum.repos.d/r.repo").st_mode & 077, 0u);
    }

    // The dialog gives way to the busy cursor of whoever waits behind it.
    void busyCursor()
    {
        Root root;
        QVERIFY(root.put("/etc/yum.conf", "[main]\n"));
        QVERIFY(root.put("/etc/yum.repos.d/r.repo", repos));
        QApplication::setOverrideCursor(Qt::WaitCursor);
        bool busyWhileAsked = true;
        QTimer::singleShot(0, [&] { busyWhileAsked = QApplication::overrideCursor() != nullptr; });
        Conf conf;
        Answerer answerer({ "::Quit" });
        RepoAuth::Checker const checker(nullptr, &conf.io);
        QVERIFY(!busyWhileAsked);
        QVERIFY(QApplication::overrideCursor() && QApplication::overrideCursor()->shape() == Qt::WaitCursor);
        QApplication::restoreOverrideCursor();
        QVERIFY(!QApplication::overrideCursor());
    }
};

QTEST_MAIN(TestRepoAuth)
#include "tst_repoauth.moc"
