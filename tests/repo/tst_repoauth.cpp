// Buffet authentication: the URL functions (the fuzz harness checks that they
// read back), and the checker with its dialog answered as a user would.
#include "ConfTestSupport.h"
#include "repo/RepoAuthChecker.h"
#include "repo/RepoAuthDialog.h"
#include "repo/RepoBuffet.h"

#include <QLabel>
#include <QLineEdit>

using namespace ConfTest;

namespace
{
// a and b share a host, c names another in its mirror list; "named" has a name,
// "off" is disabled, "plain" has no buffet form: none of those three is asked.
QString const repos = "[a]\nbaseurl=https://one.example/buffet?user=&pass=&path=/a/\n\n"
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

    void encoding_data()
    {
        // decode(encoded) gives the text; where `encodes`, encode(text) gives `encoded`.
        columns<QString, QString, bool>("text", "encoded", "encodes");
        row("reserved characters, the rest kept", "$&+,/:;=?@ \"<>#%{}|\\^~[]\t\n\v\f\raZ09-._!*'()`\xc3\xa9",
            "%24%26%2b%2c%2f%3a%3b%3d%3f%40%20%22%3c%3e%23%25%7b%7d%7c%5c%5e%7e%5b%5d%09%0a%0b%0c%0daZ09-._!*"
            "'()`\xc3\xa9",
            true);
        row("either case", "JJ~", "%4A%4a%7E", false);
        row("not escapes", "%zz%4%", "%zz%4%", false);
    }
    void encoding()
    {
        QFETCH(QString, text);
        QFETCH(QString, encoded);
        QFETCH(bool, encodes);
        if (encodes)
            QCOMPARE(Repo::Buffet::encode(text), encoded);
        QCOMPARE(Repo::Buffet::decode(encoded), text);
    }

    void getAuth_data()
    {
        // key1|value1|key2|value2, "-" when getAuth fails and leaves them alone.
        columns<QString, QString>("url", "auth");
        row("query", "https://h/buffet?user=&pass=pw&path=/x/", "user||pass|pw");
        row("path, decoded, key ends at its first =", "https://h/rhel/u%20k=a=b%26c/p=%2f=/",
            "u k|a=b&c|p|/=");
        row("query before path, first query",
            "https://h/rhel/a=1/b=2/ https://h/buffet?u=3&p=4&path=/\nhttps://h/buffet?v=5&q=6&path=/",
            "u|3|p|4");
        row("complete form after an incomplete one", "https://h/buffet?u=1&https://h/buffet?u=2&p=3&path=/",
            "u|2|p|3");
        row("query without path= hides a path form", "https://h/buffet?u=1&p=2 https://h/rhel/a=1/b=2/", "-");
        row("path missing its last slash, neither", "https://h/rhel/u=me/p=pw https://h/x?u=1&p=2&path=/",
            "-");
    }
    void getAuth()
    {
        QFETCH(QString, url);
        QFETCH(QString, auth);
        QString k1 = "-", v1 = "-", k2 = "-", v2 = "-";
        QCOMPARE(Repo::Buffet::getAuth(url, k1, v1, k2, v2), auth != "-");
        QCOMPARE(QStringList({ k1, v1, k2, v2 }).join('|'), auth == "-" ? "-|-|-|-" : auth);
    }

    void replaceAuth()
    {
        // Every form of a text, with the first one's keys, encoded; a text without one is kept.
        QCOMPARE(Repo::Buffet::replaceAuth(
                     "https://h/buffet?u%20k=&p=&path=/a\nhttps://g/rhel/u%20k=x/p=y/b/\nhttps://c/", "a b&c",
                     "%/"),
            "https://h/buffet?u%20k=a%20b%26c&p=%25%2f&path=/a\nhttps://g/rhel/u%20k=a%20b%26c/p=%25%2f/b/"
            "\nhttps://c/");
        QString const none = "https://h/buffet?u=1&p=2 https://g/rhel/a=1/b=2/";
        QCOMPARE(Repo::Buffet::replaceAuth(none, "me", "pw"), none);
    }

    void check_data()
    {
        // Answers "name:password:button", comma-separated; stored: "id=name/password"
        // of a, b and c as written; disabled: what the session table turned off.
        columns<QString, QString, QString, QString>("answers", "asked", "stored", "disabled");
        row("Apply to All", "me:a b&c:Apply to All", "a", "a=me/a b&c b=me/a b&c c=me/a b&c", "");
        row("Apply to All with this Host", "me:pw:Apply to All with this Host,you:qq:OK", "a c",
            "a=me/pw b=me/pw c=you/qq", "");
        row("Skip All keeps what was entered", "me:pw:OK,::Skip All", "a b", "a=me/pw b=/ c=/", "");
        row("Disable for Session", "::Disable for Session,me:pw:OK,::Skip All", "a b c", "a=/ b=me/pw c=/",
            "a");
        row("Quit keeps what was entered", "me:pw:OK,::Quit", "a b", "a=me/pw b=/ c=/", "");
        row("nothing entered", "::OK,::OK,::OK", "a b c", "a=/ b=/ c=/", "");
    }
    void check()
    {
        QFETCH(QString, answers);
        QFETCH(QString, stored);
        QFETCH(QString, disabled);
        Root root;
        QVERIFY(root.make({ "/etc/yum.conf=[main]\n", "r.repo=" + repos }));
        // The dialog gives way to the busy cursor of whoever waits behind it.
        QApplication::setOverrideCursor(Qt::WaitCursor);
        bool busyWhileAsked = true;
        QTimer::singleShot(0, [&] { busyWhileAsked = QApplication::overrideCursor() != nullptr; });
        // Each showing of the dialog is answered with the next "name:password:button",
        // recording the identifier shown and whether a label showed the password typed.
        QStringList pending = answers.split(','), asked;
        bool passwordShown = false;
        QTimer answerer;
        connect(&answerer, &QTimer::timeout, [&] {
            auto* dialog = qobject_cast<RepoAuth::Dialog*>(QApplication::activeModalWidget());
            QStringList const answer = pending.value(0).split(':');
            for (QPushButton* button :
                dialog ? dialog->findChildren<QPushButton*>() : QList<QPushButton*>()) {
                if (!button->isEnabled() || answer.size() < 3 || button->text() != answer[2])
                    continue;
                pending.removeFirst();
                asked << dialog->findChild<QLabel*>("identifier")->text();
                QTest::keyClicks(dialog->findChild<QLineEdit*>("name"), answer[0]);
                QTest::keyClicks(dialog->findChild<QLineEdit*>("password"), answer[1]);
                for (char const* label : { "urls", "mirrorlist" })
                    passwordShown |= !answer[1].isEmpty()
                        && dialog->findChild<QLabel*>(label)->text().contains(
                            Repo::Buffet::encode(answer[1]));
                button->click();
                return;
            }
        });
        answerer.start(5);
        Conf conf;
        RepoAuth::Checker const checker(nullptr, &conf.io);
        QVERIFY(!busyWhileAsked);
        QCOMPARE(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
        QApplication::restoreOverrideCursor();
        QTEST(asked.join(' '), "asked");
        QVERIFY(!passwordShown);
        QCOMPARE(checker.quit(), answers.endsWith("Quit"));

        Conf after;
        QVERIFY(after.io.read(nullptr));
        QStringList read;
        for (Repo::Entry const& entry : after.io.repos()) {
            QString k1, name, k2, password;
            if (QString("abc").contains(entry.id) && Repo::Buffet::getAuth(entry, k1, name, k2, password))
                read << entry.id + '=' + name + '/' + password;
            QCOMPARE(
                conf.session.value(entry.id), entry.id != "off" && !disabled.split(' ').contains(entry.id));
            // The files keep every repository enabled as it was.
            QCOMPARE(entry.enabled, entry.id == "off" ? Repo::Entry::Off : Repo::Entry::Unset);
        }
        QCOMPARE(read.join(' '), stored);
        bool const written = stored != "a=/ b=/ c=/";
        // Written when something was entered, then readable by its owner only.
        QCOMPARE(root.snapshot().value("/etc/yum.repos.d/r.repo").startsWith("600 "), written);
        QCOMPARE(checker.reset(), written || !disabled.isEmpty());
    }
};

QTEST_MAIN(TestRepoAuth)
#include "tst_repoauth.moc"
