#include "ConfTestSupport.h"
#include "repo/ManagedRoot.h"

#include <QRegularExpression>
#include <QSignalSpy>
#include <optional>

using namespace ConfTest;
using QSL = QStringList;

namespace
{

// Reads the root's configuration; the boxes it showed are in `answerer`.
bool readAll(Conf& conf, BoxAnswerer& answerer)
{
    bool const ok = conf.io.read(nullptr);
    return ok && answerer.boxes.isEmpty();
}

QString sessionOf(QHash<QString, bool> const& session)
{
    QStringList rows;
    for (auto it = session.cbegin(); it != session.cend(); ++it)
        rows.append(it.key() + (it.value() ? QLatin1String("=1") : QLatin1String("=0")));
    rows.sort();
    return rows.join(QLatin1Char(' '));
}

} // namespace

class TestYumConfRead : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Outside a Root the managed root does not exist: a test that forgot its
    // root fails instead of reading the host's /etc.
    void initTestCase() { qputenv("SORVANROOT", "/nonexistent/sorvan-test-root"); }

    void isOption_data()
    {
        columns<QString, QString, QString>("line", "option", "value"); // value "-": no match
        row("plain", "name=x", "name", "x");
        row("blanks around separator, trailing blank kept", "name = My repo ", "name", "My repo ");
        row("tabs and colon", "name\t:\tv", "name", "v");
        row("first separator splits", "baseurl:http://h:80/x=1", "baseurl", "http://h:80/x=1");
        row("continuation joined into value", "baseurl=a\n  b", "baseurl", "a\n  b");
        row("case matters", "Name=x", "name", "-");
        row("longer key", "names=x", "name", "-");
        row("leading blank", " name=x", "name", "-");
        row("no separator", "name x", "name", "-");
    }
    void isOption()
    {
        QFETCH(QString, line);
        QFETCH(QString, option);
        QFETCH(QString, value);
        QString found = QStringLiteral("-");
        QCOMPARE(YumConfIO::isOption(line, option, found), value != QLatin1String("-"));
        QCOMPARE(found, value);
    }

    void repoFile_data()
    {
        columns<QByteArray, QString>("text", "entries");
        row("known keys",
            QByteArray("[a]\nname=A\nbaseurl=file:///a/\nmirrorlist=http://m/l\nenabled=1\ngpgcheck=0\n"),
            "a@1 name=A baseurl=file:///a/ mirrorlist=http://m/l enabled=on gpgcheck=off");
        row("baseurl continuation", QByteArray("[a]\nbaseurl=file:///srv/a/\n  file:///srv/b/\n"),
            "a@1 baseurl=file:///srv/a/|file:///srv/b/");
        row("baseurl on one line", QByteArray("[a]\nbaseurl=file:///srv/a/ file:///srv/b/\n"),
            "a@1 baseurl=file:///srv/a/|file:///srv/b/");
        row("baseurl mixed separators", QByteArray("[a]\nbaseurl=u1 \t u2\n\tu3\n"), "a@1 baseurl=u1|u2|u3");
        row("baseurl trailing blank", QByteArray("[a]\nbaseurl=file:///srv/a/ \n"),
            "a@1 baseurl=file:///srv/a/|");
        row("identifier not trimmed", QByteArray("[ x ]\nname=X\n"), " x @1 name=X");
        row("name keeps trailing blank", QByteArray("[a]\nname = My repo \n"), "a@1 name=My repo ");
        row("Name is another key", QByteArray("[a]\nName=x\n"), "a@1 other=Name=x|");
        row("only 0 is off",
            QByteArray(
                "[n]\nenabled=no\ngpgcheck=yes\n[t]\nenabled=true\n[z]\nenabled = 0 \ngpgcheck=0\n[u]\n"),
            "n@1 enabled=on gpgcheck=on; t@2 enabled=on; z@3 enabled=off gpgcheck=off; u@4");
        row("comments and unknown keys in order, empty lines dropped",
            QByteArray("[a]\n# first\n\nexclude=k*\nname=A\n\n; second\n"),
            "a@1 name=A other=# first|exclude=k*|; second|");
        row("unknown key keeps its continuation", QByteArray("[a]\nexclude=a\n  b\nname=A\n"),
            "a@1 name=A other=exclude=a|  b|");
        row("lines before the first section are lost", QByteArray("# header\nname=stray\n\n[a]\n"), "a@1");
        row("later key wins", QByteArray("[a]\nname=one\nname=two\n"), "a@1 name=two");
        row("last line without line feed", QByteArray("[a]\nname=A"), "a@1 name=A");
        row("latin-1 bytes", QByteArray("[a]\nname=caf\xe9\n"), QString::fromLatin1("a@1 name=caf\xe9"));
        row("positions count sections", QByteArray("[a]\n[b]\n\n[c]\n"), "a@1; b@2; c@3");
        row("empty file", QByteArray(), "");
    }
    void repoFile()
    {
        QFETCH(QByteArray, text);
        Root root;
        QVERIFY(root.put("/etc/yum.conf", "[main]\n"));
        QVERIFY(root.put("/etc/yum.repos.d/test.repo", text));
        Conf conf;
        BoxAnswerer answerer;
        QVERIFY2(readAll(conf, answerer), qPrintable(answerer.texts()));
        QTEST(describe(conf.io.repos()), "entries");
        for (Repo::Entry const& entry : conf.io.repos())
            QCOMPARE(entry.file, root.host("/etc/yum.repos.d/test.repo"));
    }

    void mainFile_data()
    {
        // "cachedir; reposdirs; enabled; gpgcheck"
        columns<QByteArray, QString>("text", "settings");
        row("defaults", QByteArray("[main]\n"), "/var/cache/dnf; /etc/yum.repos.d /etc/yum/repos.d; on; off");
        row("empty file", QByteArray(), "/var/cache/dnf; /etc/yum.repos.d /etc/yum/repos.d; on; off");
        row("cachedir", QByteArray("[main]\ncachedir=/c/$basearch\n"),
            "/c/$basearch; /etc/yum.repos.d /etc/yum/repos.d; on; off");
        row("reposdir comma blank", QByteArray("[main]\nreposdir=/a, /b\n"),
            "/var/cache/dnf; /a /b; on; off");
        row("reposdir comma", QByteArray("[main]\nreposdir=/a,/b\n"), "/var/cache/dnf; /a /b; on; off");
        row("reposdir blanks and commas", QByteArray("[main]\nreposdir = ,/a ,, /b  /c,\n"),
            "/var/cache/dnf; /a /b /c; on; off");
        row("reposdir continued", QByteArray("[main]\nreposdir=/a,\n   /b\n"),
            "/var/cache/dnf; /a /b; on; off");
        row("reposdir empty", QByteArray("[main]\nreposdir=\n"), "/var/cache/dnf; ; on; off");
        row("enabled=0, gpgcheck=no", QByteArray("[main]\nenabled=0\ngpgcheck=no\n"),
            "/var/cache/dnf; /etc/yum.repos.d /etc/yum/repos.d; off; on");
        row("enabled=no, gpgcheck last 0", QByteArray("[main]\nenabled=no\ngpgcheck=1\ngpgcheck=0\n"),
            "/var/cache/dnf; /etc/yum.repos.d /etc/yum/repos.d; on; off");
        row("keys before [main] count", QByteArray("gpgcheck=1\n[main]\n"),
            "/var/cache/dnf; /etc/yum.repos.d /etc/yum/repos.d; on; on");
        row("keys of other sections do not", QByteArray("[main]\n[r]\nenabled=0\ngpgcheck=1\ncachedir=/x\n"),
            "/var/cache/dnf; /etc/yum.repos.d /etc/yum/repos.d; on; off");
    }
    void mainFile()
    {
        QFETCH(QByteArray, text);
        Root root;
        QVERIFY(root.put("/etc/yum.conf", text));
        Conf conf;
        BoxAnswerer answerer;
        QVERIFY2(readAll(conf, answerer), qPrintable(answerer.texts()));
        QString const settings = QStringList { conf.io.cachedir(), conf.io.reposdirs().join(QLatin1Char(' ')),
            QLatin1String(conf.io.mainEnabled() ? "on" : "off"),
            QLatin1String(conf.io.mainGpgcheck() ? "on" : "off") }
                                     .join(QLatin1String("; "));
        QTEST(QString(settings).remove(root.path()), "settings");
    }

    void mainFileChoice_data()
    {
        columns<QSL, QString>("files", "expected"); // "path" or "path->target"
        row("yum/yum.conf first", QSL { "/etc/yum/yum.conf", "/etc/yum.conf", "/etc/dnf/dnf.conf" },
            "/etc/yum/yum.conf");
        row("then yum.conf", QSL { "/etc/yum.conf", "/etc/dnf/dnf.conf" }, "/etc/yum.conf");
        row("then dnf.conf", QSL { "/etc/dnf/dnf.conf" }, "/etc/dnf/dnf.conf");
        // An absolute link is followed inside the managed root, never on the host.
        row("absolute link", QSL { "/etc/dnf/dnf.conf", "/etc/yum.conf->/etc/dnf/dnf.conf" },
            "/etc/yum.conf");
        row("dangling link skipped", QSL { "/etc/yum/yum.conf->/nowhere", "/etc/dnf/dnf.conf" },
            "/etc/dnf/dnf.conf");
    }
    void mainFileChoice()
    {
        QFETCH(QSL, files);
        QFETCH(QString, expected);
        Root root;
        for (QString const& file : files) {
            QStringList const link = file.split(QStringLiteral("->"));
            QVERIFY(link.size() == 2 ? root.link(link[0], link[1])
                                     : root.put(file, "[main]\ncachedir=/cache" + file.toLatin1() + "\n"));
        }
        QCOMPARE(YumConfIO::fileName(), root.host(expected));
        Conf conf;
        BoxAnswerer answerer;
        QVERIFY(readAll(conf, answerer));
        QString const real = files.contains(expected) ? expected : QStringLiteral("/etc/dnf/dnf.conf");
        QCOMPARE(conf.io.cachedir(), root.host("/cache" + real));
    }

    void sectionsInMainFile()
    {
        Root root;
        QVERIFY(root.put("/etc/yum.conf",
            "# top\n[main]\ngpgcheck=1\n\n  \nkeepcache=0\n\n[local]\nname=L\n[main]\nname=M\n"));
        QVERIFY(root.put("/etc/yum.repos.d/a.repo", "[a]\n"));
        Conf conf;
        BoxAnswerer answerer;
        QVERIFY(readAll(conf, answerer));
        QCOMPARE(conf.io.mainText(), QStringLiteral("# top\n[main]\ngpgcheck=1\n\n  \nkeepcache=0\n\n"));
        QCOMPARE(describe(conf.io.repos()), QStringLiteral("local@1 name=L; main@2 name=M; a@1"));
        QCOMPARE(conf.io.repos().at(1).file, root.host("/etc/yum.conf"));
        QCOMPARE(conf.io.repos().at(2).file, root.host("/etc/yum.repos.d/a.repo"));
    }

    void readOrder()
    {
        // reposdir order, then directory order; only regular "*.repo" files.
        Root root;
        QVERIFY(root.put("/etc/yum.conf", "[main]\nreposdir=/r2 /r1 /missing\n[m]\n"));
        QVERIFY(root.put("/r1/one.repo", "[r1-one]\n"));
        QVERIFY(root.put("/r2/b.repo", "[r2-b1]\n[r2-b2]\n"));
        QVERIFY(root.put("/r2/a.repo", "[r2-a]\n"));
        QVERIFY(root.put("/r2/.hidden.repo", "[r2-hidden]\n"));
        QVERIFY(root.put("/r2/notes.txt", "[not-read]\n"));
        QVERIFY(root.put("/r2/a.repo.rpmnew", "[not-read-either]\n"));
        QVERIFY(root.put("/r2/dir.repo/inside.repo", "[inside]\n"));
        QVERIFY(root.put("/etc/yum.repos.d/default.repo", "[not-in-reposdir]\n"));
        Conf conf;
        QSignalSpy changed(&conf.io, &YumConfIO::changed);
        BoxAnswerer answerer;
        QVERIFY(readAll(conf, answerer));
        QCOMPARE(changed.count(), 1);
        QStringList read;
        for (Repo::Entry const& entry : conf.io.repos())
            read.append(entry.id + QLatin1Char(' ') + entry.file.mid(root.path().size()));
        QCOMPARE(read,
            QSL({ "m /etc/yum.conf", "r2-hidden /r2/.hidden.repo", "r2-a /r2/a.repo", "r2-b1 /r2/b.repo",
                "r2-b2 /r2/b.repo", "r1-one /r1/one.repo" }));
    }

    void sessionSeeding_data()
    {
        // Requests: "+pattern" --enablerepo, "-pattern" --disablerepo.
        columns<QByteArray, QByteArray, QSL, QSL, QString>("main", "repos", "requests", "preset", "session");
        QByteArray const main("[main]\n"), three("[test]\n[tex]\n[other]\n");
        row("unset follows [main] on", main, three, QSL(), QSL(), "other=1 test=1 tex=1");
        row("unset follows [main] off", QByteArray("[main]\nenabled=0\n"),
            QByteArray("[a]\n[b]\nenabled=1\n[c]\nenabled=0\n"), QSL(), QSL(), "a=0 b=1 c=0");
        row("file says off", main, QByteArray("[a]\nenabled=0\n[b]\nenabled=no\n"), QSL(), QSL(), "a=0 b=1");
        row("disable te* then enable test", main, three, QSL { "-te*", "+test" }, QSL(),
            "other=1 test=1 tex=0");
        row("enable test then disable te*", main, three, QSL { "+test", "-te*" }, QSL(),
            "other=1 test=0 tex=0");
        row("request beats the file", main, QByteArray("[a]\nenabled=0\n[b]\n"), QSL { "+a", "-b" }, QSL(),
            "a=1 b=0");
        row("case-sensitive, whole identifier", main, three, QSL { "-Test", "-tes", "-ther" }, QSL(),
            "other=1 test=1 tex=1");
        // A repository read again keeps the state the session gave it.
        row("known rows are kept", main, QByteArray("[a]\nenabled=1\n[b]\nenabled=0\n"), QSL { "+b", "-a" },
            QSL { "a=1", "b=0", "gone=1" }, "a=1 b=0 gone=1");
        row("duplicate identifier seeded by its first section", main,
            QByteArray("[a]\nenabled=0\n[a]\nenabled=1\n"), QSL(), QSL(), "a=0");
    }
    void sessionSeeding()
    {
        QFETCH(QByteArray, main);
        QFETCH(QByteArray, repos);
        QFETCH(QSL, requests);
        QFETCH(QSL, preset);
        Root root;
        QVERIFY(root.put("/etc/yum.conf", main));
        QVERIFY(root.put("/etc/yum.repos.d/r.repo", repos));
        Conf conf;
        for (QString const& request : requests)
            conf.requests.append(YumRepoEnabled(request.startsWith(QLatin1Char('+')), request.mid(1)));
        for (QString const& row : preset)
            conf.session.insert(row.section(QLatin1Char('='), 0, 0), row.endsWith(QLatin1String("=1")));
        BoxAnswerer answerer;
        QVERIFY(readAll(conf, answerer));
        QTEST(sessionOf(conf.session), "session");
    }

    void failures_data()
    {
        // Files: "path=content", "path->target", "path/" for a directory.
        columns<QSL, QString, QString, QSL>("files", "unreadable", "message", "ids");
        row("no main file", QSL { "/etc/yum.repos.d/a.repo=[a]\n" }, "",
            "Unable to read yum configuration file <root>/etc/dnf/dnf.conf" + errnoSuffix(ENOENT), QSL());
        row("main file is a directory", QSL { "/etc/yum/yum.conf/", "/etc/yum.conf=[main]\n" }, "",
            "Error reading repository configuration file <root>/etc/yum/yum.conf" + errnoSuffix(EISDIR),
            QSL());
        row("malformed section in a repo file",
            QSL { "/etc/yum.conf=[main]\n[m]\n", "/etc/yum.repos.d/a.repo=[a]\nname=A\n[b]\n[c\nname=C\n",
                "/etc/yum.repos.d/z.repo=[z]\n" },
            "", "Malformed section name in line: [c" + errnoSuffix(0), QSL { "m", "a" });
        row("malformed section in the main file", QSL { "/etc/yum.conf=[main]\n[m\n" }, "",
            "Malformed section name in line: [m" + errnoSuffix(0), QSL());
        row("continuation makes a header malformed",
            QSL { "/etc/yum.conf=[main]\n", "/etc/yum.repos.d/a.repo=[a]\n name=A\n" }, "",
            "Malformed section name in line: [a]\n name=A" + errnoSuffix(0), QSL());
        row("carriage return is part of the line",
            QSL { "/etc/yum.conf=[main]\n", "/etc/yum.repos.d/a.repo=[a]\r\nname=A\r\n" }, "",
            "Malformed section name in line: [a]\r" + errnoSuffix(0), QSL());
        row("dangling repo link",
            QSL { "/etc/yum.conf=[main]\n", "/etc/yum.repos.d/a.repo=[a]\n",
                "/etc/yum.repos.d/gone.repo->missing.repo" },
            "",
            "Unable to stat repository configuration file <root>/etc/yum.repos.d/gone.repo"
                + errnoSuffix(ENOENT),
            QSL { "a" });
        row("unreadable repo file",
            QSL {
                "/etc/yum.conf=[main]\n", "/etc/yum.repos.d/a.repo=[a]\n", "/etc/yum.repos.d/b.repo=[b]\n" },
            "/etc/yum.repos.d/b.repo",
            "Unable to read repository configuration file <root>/etc/yum.repos.d/b.repo"
                + errnoSuffix(EACCES),
            QSL { "a" });
    }
    void failures()
    {
        QFETCH(QSL, files);
        QFETCH(QString, unreadable);
        QFETCH(QString, message);
        QFETCH(QSL, ids);
        Root root;
        for (QString const& file : files) {
            QString const path = file.section(QRegularExpression(QStringLiteral("->|=")), 0, 0);
            if (file.contains(QLatin1String("->")))
                QVERIFY(root.link(path, file.section(QLatin1String("->"), 1)));
            else if (file.endsWith(QLatin1Char('/')))
                root.mkdir(file);
            else
                QVERIFY(root.put(
                    path, file.section(QLatin1Char('='), 1).toLatin1(), path == unreadable ? 0600 : 0644));
        }
        Conf conf;
        QSignalSpy changed(&conf.io, &YumConfIO::changed);
        BoxAnswerer answerer;
        {
            std::optional<AsNobody> nobody;
            if (!unreadable.isEmpty())
                nobody.emplace();
            QVERIFY(!conf.io.read(nullptr));
        }
        QCOMPARE(changed.count(), 0);
        QCOMPARE(answerer.boxes.size(), 1);
        QCOMPARE(answerer.boxes[0].title, QStringLiteral("SORVAN Repository Editor Error"));
        QCOMPARE(answerer.boxes[0].icon, QMessageBox::Critical);
        QCOMPARE(answerer.boxes[0].buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
        QCOMPARE(answerer.boxes[0].text, message.replace(QLatin1String("<root>"), root.path()));
        QStringList read;
        for (Repo::Entry const& entry : conf.io.repos())
            read.append(entry.id);
        QCOMPARE(read, ids);

        // Writing back a configuration not read whole would delete the files
        // not read.
        auto const before = root.snapshot();
        QVERIFY(!conf.io.write(nullptr));
        QVERIFY(answerer.boxes.last().text.startsWith(QLatin1String("Internal error: ")));
        QCOMPARE(root.snapshot(), before);
    }

    void managedRootPaths_data()
    {
        columns<QString, QString, QString>(
            "rootDir", "path", "expected"); // "<root>": the root; rootDir "": unset
        row("unset root", "", "/etc/yum.conf", "/etc/yum.conf");
        row("under root", "/r", "/etc/yum.conf", "<root>/etc/yum.conf");
        row("cleaned", "/r/", "/etc//yum.repos.d/./a.repo", "<root>/etc/yum.repos.d/a.repo");
        row("dot-dot cannot leave the root", "/r", "/../../etc/passwd", "<root>/etc/passwd");
        row("already under root", "/r", "<root>/etc/yum.conf", "<root>/etc/yum.conf");
        row("relative stays relative", "/r", "a.repo", "a.repo");
    }
    void managedRootPaths()
    {
        QFETCH(QString, rootDir);
        QFETCH(QString, path);
        QFETCH(QString, expected);
        QTemporaryDir dir;
        QString const root = QDir::cleanPath(dir.path() + rootDir);
        if (rootDir.isEmpty())
            qunsetenv("SORVANROOT");
        else
            qputenv("SORVANROOT", local(dir.path() + rootDir));
        QString const actual = Repo::ManagedRoot::under(path.replace(QLatin1String("<root>"), root));
        QString const mapped = Repo::ManagedRoot::path();
        initTestCase();
        QCOMPARE(mapped, rootDir.isEmpty() ? QStringLiteral("/") : root);
        QCOMPARE(actual, expected.replace(QLatin1String("<root>"), root));
    }
};

QTEST_MAIN(TestYumConfRead)
#include "tst_yumconfread.moc"
