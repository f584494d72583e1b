#include "repo/RepoBuffet.h"
#include "repo/URL.h"
#include "tests/yumio/TestRows.h"

using namespace Repo::Buffet;

class TestBuffet : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void encoding_data()
    {
        // decode(encoded) gives the text; where `encodes`, encode(text) gives `encoded`.
        columns<QString, QString, bool>("text", "encoded", "encodes");
        row("every reserved character", "$&+,/:;=?@ \"<>#%{}|\\^~[]\t\n\v\f\r",
            "%24%26%2b%2c%2f%3a%3b%3d%3f%40%20%22%3c%3e%23%25%7b%7d%7c%5c%5e%7e%5b%5d%09%0a%0b%0c%0d", true);
        row("the rest kept", "aZ09-._!*'()`\xc3\xa9", "aZ09-._!*'()`\xc3\xa9", true);
        row("name", "a b&c", "a%20b%26c", true);
        row("one pass", "%41", "%2541", true);
        row("either case", "JJ~", "%4A%4a%7E", false);
        row("not escapes", "%zz%4%", "%zz%4%", false);
    }
    void encoding()
    {
        QFETCH(QString, text);
        QFETCH(QString, encoded);
        QFETCH(bool, encodes);
        if (encodes)
            QCOMPARE(encode(text), encoded);
        QCOMPARE(decode(encoded), text);
    }

    void getAuth_data()
    {
        // "-" when getAuth fails; otherwise key1|value1|key2|value2.
        columns<QString, QString>("url", "auth");
        row("query", "https://h/buffet?user=me&pass=pw&path=/x/", "user|me|pass|pw");
        row("path", "https://h/rhel/u=me/p=pw/x/", "u|me|p|pw");
        row("empty values", "https://h/buffet?u=&p=&path=/x", "u||p|");
        row("decoded", "https://h/rhel/u%20k=a%20b%26c/p=%2f/", "u k|a b&c|p|/");
        row("first of several", "https://h/buffet?u=1&p=2&path=/\nhttps://h/buffet?v=3&q=4&path=/",
            "u|1|p|2");
        row("query before path", "https://h/rhel/a=1/b=2/ https://h/buffet?u=3&p=4&path=/", "u|3|p|4");
        row("key ends at its first =", "https://h/rhel/u=a=b/p=c=/x/", "u|a=b|p|c=");
        row("complete form after an incomplete one", "https://h/buffet?u=1&https://h/buffet?u=2&p=3&path=/",
            "u|2|p|3");
        row("query without path=", "https://h/buffet?u=me&p=pw", "-");
        row("query without path= hides a path form", "https://h/buffet?u=1&p=2 https://h/rhel/a=1/b=2/", "-");
        row("path missing its last slash", "https://h/rhel/u=me/p=pw", "-");
        row("neither", "https://h/x?u=1&p=2&path=/", "-");
    }
    void getAuth()
    {
        QFETCH(QString, url);
        QString k1 = "K1", v1 = "V1", k2 = "K2", v2 = "V2";
        bool const found = Repo::Buffet::getAuth(url, k1, v1, k2, v2);
        QTEST((found ? QStringList { k1, v1, k2, v2 }.join('|') : QString("-")), "auth");
        if (!found)
            QCOMPARE(QStringList({ k1, v1, k2, v2 }), QStringList({ "K1", "V1", "K2", "V2" }));

        // An entry is read from its baseurl, else from its mirror list.
        Repo::Entry entry;
        entry.mirrorlist = url;
        for (QString baseurl : { QString("https://plain/"), url }) {
            entry.baseurl = baseurl;
            QString e1, e2, e3, e4;
            QCOMPARE(Repo::Buffet::getAuth(entry, e1, e2, e3, e4), found);
        }
    }

    void replaceAuth_data()
    {
        // password.isNull(): the two-argument form (password only).
        columns<QString, QString, QString, QString>("url", "name", "password", "result");
        row("query", "https://h/buffet?u=&p=&path=/x/", "me", "pw", "https://h/buffet?u=me&p=pw&path=/x/");
        row("path", "https://h/rhel/u=old/p=old/x/", "me", "pw", "https://h/rhel/u=me/p=pw/x/");
        row("encoded, keys kept", "https://h/rhel/u%20k=/p=/x/", "a b&c", "%/",
            "https://h/rhel/u%20k=a%20b%26c/p=%25%2f/x/");
        row("every url of a text, both forms",
            "https://h/buffet?u=&p=&path=/a\nhttps://g/rhel/u=x/p=y/b/\nhttps://plain/c/", "me", "pw",
            "https://h/buffet?u=me&p=pw&path=/a\nhttps://g/rhel/u=me/p=pw/b/\nhttps://plain/c/");
        row("no form", "https://h/buffet?u=1&p=2 https://g/rhel/a=1/b=2/", "me", "pw",
            "https://h/buffet?u=1&p=2 https://g/rhel/a=1/b=2/");
        row("password only", "https://h/buffet?u=me&p=old&path=/x/", "", QString(),
            "https://h/buffet?u=me&p=%40new&path=/x/");
    }
    void replaceAuth()
    {
        QFETCH(QString, url);
        QFETCH(QString, name);
        QFETCH(QString, password);
        QTEST(password.isNull() ? Repo::Buffet::replaceAuth(url, "@new")
                                : Repo::Buffet::replaceAuth(url, name, password),
            "result");
    }

    void passwordExpressions_data()
    {
        // The texts each expression captures, joined by "|".
        columns<bool, QString, QString>("several", "text", "captured");
        row("one, query", false, "https://h/buffet?u=me&p=pw&path=/x/", "pw");
        row("one, path", false, "https://h/rhel/u=me/p=s%20t/x/", "s%20t");
        row("one, none", false, "https://h/x/", "");
        row("several", true,
            "https://h/buffet?u=me&p=one&path=a\n  https://g/rhel/u=me/p=two/b/\nhttps://plain/\n",
            "one|two");
    }
    void passwordExpressions()
    {
        QFETCH(bool, several);
        QFETCH(QString, text);
        QStringList captured;
        for (auto it = (several ? urlsRegExp() : oneUrlRegExp()).globalMatch(text); it.hasNext();) {
            auto const match = it.next();
            for (int i = 1; i <= match.lastCapturedIndex(); ++i)
                if (match.hasCaptured(i))
                    captured.append(match.captured(i));
        }
        QTEST(captured.join('|'), "captured");
    }

    void getHost_data()
    {
        columns<QString, QString>("url", "host");
        row("path", "https://mirror.example/pub/x/", "mirror.example");
        row("port kept", "ftp://mirror:21/pub", "mirror:21");
        row("user kept", "https://me:pw@h/x", "me:pw@h");
        row("no path", "ftp://mirror", "mirror");
        row("no colon", "mirror/pub", "");
        row("no slashes after the first colon", "file:/a http://h/", "");
        row("empty host", "file:///srv/a/", "");
    }
    void getHost()
    {
        QFETCH(QString, url);
        QTEST(URL::getHost(url), "host");
    }
};

QTEST_APPLESS_MAIN(TestBuffet)
#include "tst_buffet.moc"
