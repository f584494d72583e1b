#include "ConfTestSupport.h"
#include "repo/ManagedRoot.h"

#include <QRegularExpression>
#include <QSignalSpy>
#include <optional>
#include <sys/stat.h>

using namespace ConfTest;
using QSL = QStringList;

class TestYumConfRead : public QObject
{
    Q_OBJECT

    // Reads `main` as the main file and `repo` as a .repo file, or the
    // files the root already has.
    static bool readAll(Root const& root, Conf& conf, QString const& main = {}, QString const& repo = {})
    {
        if (!main.isNull() && !root.put("/etc/yum.conf", main.toLatin1()))
            return false;
        if (!repo.isNull() && !root.put("/etc/yum.repos.d/r.repo", repo.toLatin1()))
            return false;
        BoxAnswerer answerer;
        bool const ok = conf.io.read(nullptr);
        if (!answerer.boxes.isEmpty())
            qWarning("%s", qPrintable(answerer.texts()));
        return ok && answerer.boxes.isEmpty();
    }

private Q_SLOTS:
    // Outside a Root the managed root does not exist: a test that forgot its
    // root fails instead of reading the host's /etc.
    void initTestCase() { qputenv("SORVANROOT", "/nonexistent/sorvan-test-root"); }

    void repoFile_data()
    {
        columns<QString, QString>("text", "entries");
        row("known keys", "[a]\nname=A\nbaseurl=u\nmirrorlist=m\nenabled=1\ngpgcheck=0\n",
            "a@1 name=A baseurl=u mirrorlist=m enabled=on gpgcheck=off");
        row("baseurl mixed separators", "[a]\nbaseurl=u1 \t u2\n\tu3\n", "a@1 baseurl=u1|u2|u3");
        row("Name is another key", "[a]\nName=x\n", "a@1 other=Name=x|");
        row("separators", "[a]\nname\t:\tA=b:c\nnames=x\nbaseurl u\n",
            "a@1 name=A=b:c other=names=x|baseurl u|");
        row("only 0 is off",
            "[n]\nenabled=no\ngpgcheck=yes\n[t]\nenabled=true\n[z]\nenabled = 0 \ngpgcheck=0\n[u]\n",
            "n@1 enabled=on gpgcheck=on; t@2 enabled=on; z@3 enabled=off gpgcheck=off; u@4");
        row("others in order, empty lines dropped", "[a]\n# first\n\nexclude=k*\nname=A\n\n; second\n",
            "a@1 name=A other=# first|exclude=k*|; second|");
        row("unknown key continued", "[a]\nexclude=a\n  b\nname=A\n", "a@1 name=A other=exclude=a|  b|");
        row("lines before the first section lost", "# header\nname=stray\n\n[a]\n", "a@1");
        row("later key wins", "[a]\nname=one\nname=two\n", "a@1 name=two");
        row("no last line feed", "[a]\nname=A", "a@1 name=A");
        row("latin-1", QString::fromLatin1("[a]\nname=caf\xe9\n"), QString::fromLatin1("a@1 name=caf\xe9"));
        row("utf-8", QString::fromLatin1("[a]\nname=caf\xc3\xa9\n"), QString::fromLatin1("a@1 name=caf\xe9"));
    }
    void repoFile()
    {
        QFETCH(QString, text);
        Root root;
        Conf conf;
        QVERIFY(readAll(root, conf, "[main]\n", text));
        QTEST(describe(conf.io.repos()), "entries");
        for (Repo::Entry const& entry : conf.io.repos())
            QCOMPARE(entry.file, root.host("/etc/yum.repos.d/r.repo"));
    }

    void mainFile_data()
    {
        columns<QString, QString>("text", "settings"); // what differs from the defaults
        row("empty file", "", "");
        row("cachedir", "[main]\ncachedir=/c/$basearch\n", "cachedir=/c/$basearch");
        row("reposdir empty parts", "[main]\nreposdir = ,/a ,, /b  /c,\n", "reposdir=/a /b /c");
        row("reposdir continued", "[main]\nreposdir=/a,\n   /b\n", "reposdir=/a /b");
        row("reposdir empty", "[main]\nreposdir=\n", "reposdir=");
        row("enabled=0, gpgcheck=no", "[main]\nenabled=0\ngpgcheck=no\n", "enabled=off gpgcheck=on");
        row("enabled=no, last gpgcheck 0", "[main]\nenabled=no\ngpgcheck=1\ngpgcheck=0\n", "");
        row("keys before [main] count", "gpgcheck=1\n[main]\n", "gpgcheck=on");
        row("keys of other sections not", "[main]\n[r]\nenabled=0\ngpgcheck=1\ncachedir=/x\n", "");
    }
    void mainFile()
    {
        QFETCH(QString, text);
        Root root;
        Conf conf;
        QVERIFY(readAll(root, conf, text));
        QStringList settings;
        if (conf.io.cachedir() != root.host("/var/cache/dnf"))
            settings << "cachedir=" + conf.io.cachedir().mid(root.path().size());
        if (conf.io.reposdirs() != QSL { root.host("/etc/yum.repos.d"), root.host("/etc/yum/repos.d") })
            settings << "reposdir=" + conf.io.reposdirs().join(' ').remove(root.path());
        if (!conf.io.mainEnabled())
            settings << "enabled=off";
        if (conf.io.mainGpgcheck())
            settings << "gpgcheck=on";
        QTEST(settings.join(' '), "settings");
    }

    void mainFileChoice_data()
    {
        columns<QString, QString>("files", "expected"); // "path" or "path->target", blank-separated
        row("yum/yum.conf first", "/etc/yum/yum.conf /etc/yum.conf /etc/dnf/dnf.conf", "/etc/yum/yum.conf");
        row("then yum.conf", "/etc/yum.conf /etc/dnf/dnf.conf", "/etc/yum.conf");
        row("then dnf.conf", "/etc/dnf/dnf.conf", "/etc/dnf/dnf.conf");
        // Followed inside the managed root, never on the host.
        row("absolute link", "/etc/dnf/dnf.conf /etc/yum.conf->/etc/dnf/dnf.conf", "/etc/yum.conf");
        row("dangling link skipped", "/etc/yum/yum.conf->/nowhere /etc/dnf/dnf.conf", "/etc/dnf/dnf.conf");
    }
    void mainFileChoice()
    {
        QFETCH(QString, files);
        QFETCH(QString, expected);
        Root root;
        for (QString const& file : files.split(' ')) {
            QStringList const link = file.split("->");
            QVERIFY(link.size() == 2 ? root.link(link[0], link[1])
                                     : root.put(file, "[main]\ncachedir=/cache" + file.toLatin1() + "\n"));
        }
        QCOMPARE(YumConfIO::fileName(), root.host(expected));
        Conf conf;
        QVERIFY(readAll(root, conf));
        QString const real = files.contains(expected + "->") ? "/etc/dnf/dnf.conf" : expected;
        QCOMPARE(conf.io.cachedir(), root.host("/cache" + real));
    }

    void readOrder()
    {
        // The main file's text up to its first other section, then its
        // sections, then reposdir order and directory order; only regular
        // "*.repo" files.
        Root root;
        QVERIFY(root.put("/r1/one.repo", "[r1-one]\n"));
        QVERIFY(root.put("/r2/b.repo", "[r2-b1]\n[r2-b2]\n"));
        QVERIFY(root.put("/r2/a.repo", "[r2-a]\n"));
        QVERIFY(root.put("/r2/.hidden.repo", "[r2-hidden]\n"));
        QVERIFY(root.put("/r2/notes.txt", "[not-read]\n"));
        QVERIFY(root.put("/r2/a.repo.rpmnew", "[not-read-either]\n"));
        QVERIFY(root.put("/r2/dir.repo/inside.repo", "[inside]\n"));
        // Opening a FIFO would wait for a writer that never comes.
        QCOMPARE(::mkfifo(QFile::encodeName(root.path() + "/r1/zz.repo").constData(), 0644), 0);
        QVERIFY(root.put("/etc/yum.repos.d/default.repo", "[not-in-reposdir]\n"));
        Conf conf;
        QSignalSpy changed(&conf.io, &YumConfIO::changed);
        QVERIFY(readAll(root, conf,
            "# top\n[main]\nreposdir=/r2 /r1 /missing\n\n  \nkeepcache=0\n\n[m]\nname=M\n[main]\n"));
        QCOMPARE(changed.count(), 1);
        QCOMPARE(conf.io.mainText(), "# top\n[main]\nreposdir=/r2 /r1 /missing\n\n  \nkeepcache=0\n\n");
        QStringList read;
        for (Repo::Entry const& entry : conf.io.repos())
            read.append(
                entry.id + '@' + QString::number(entry.position) + ' ' + entry.file.mid(root.path().size()));
        QCOMPARE(read.join(','),
            QStringLiteral(
                "m@1 /etc/yum.conf,main@2 /etc/yum.conf,r2-hidden@1 /r2/.hidden.repo,r2-a@1 /r2/a.repo,"
                "r2-b1@1 /r2/b.repo,r2-b2@2 /r2/b.repo,r1-one@1 /r1/one.repo"));
    }

    void sessionSeeding_data()
    {
        // Requests: "+pattern" --enablerepo, "-pattern" --disablerepo.
        columns<QString, QString, QString, QString, QString>(
            "main", "repos", "requests", "preset", "session");
        char const* main = "[main]\n";
        char const* three = "[test]\n[tex]\n[other]\n";
        row("unset follows [main] off", "[main]\nenabled=0\n", "[a]\n[b]\nenabled=1\n[c]\nenabled=0\n", "",
            "", "a=0 b=1 c=0");
        row("disable te* then enable test", main, three, "-te* +test", "", "other=1 test=1 tex=0");
        row("enable test then disable te*", main, three, "+test -te*", "", "other=1 test=0 tex=0");
        row("case-sensitive, whole identifier", main, three, "-Test -tes -ther", "", "other=1 test=1 tex=1");
        // A repository read again keeps the state the session gave it.
        row("known rows kept", main, "[a]\nenabled=1\n[b]\nenabled=0\n", "+b -a", "a=1 b=0 gone=1",
            "a=1 b=0 gone=1");
        row("duplicate seeded by its first", main, "[a]\nenabled=0\n[a]\nenabled=1\n", "", "", "a=0");
    }
    void sessionSeeding()
    {
        QFETCH(QString, requests);
        QFETCH(QString, preset);
        Root root;
        Conf conf;
        for (QString const& request : requests.split(' ', Qt::SkipEmptyParts))
            conf.requests.append(YumRepoEnabled(request.startsWith('+'), request.mid(1)));
        for (QString const& row : preset.split(' ', Qt::SkipEmptyParts))
            conf.session.insert(row.chopped(2), row.endsWith("=1"));
        QFETCH(QString, main);
        QFETCH(QString, repos);
        QVERIFY(readAll(root, conf, main, repos));
        QStringList session;
        for (auto it = conf.session.cbegin(); it != conf.session.cend(); ++it)
            session.append(it.key() + (it.value() ? "=1" : "=0"));
        session.sort();
        QTEST(session.join(' '), "session");
    }

    void failures_data()
    {
        // Files: "path=content", "path->target", "path/" for a directory.
        columns<QSL, QString, QString, QString>("files", "unreadable", "message", "ids");
        QString const main = "/etc/yum.conf=[main]\n";
        row("no main file", QSL { "/etc/yum.repos.d/a.repo=[a]\n" }, "",
            "Unable to read yum configuration file <root>/etc/dnf/dnf.conf" + errnoSuffix(ENOENT), "");
        row("main file is a directory", QSL { "/etc/yum/yum.conf/", main }, "",
            "Error reading repository configuration file <root>/etc/yum/yum.conf" + errnoSuffix(EISDIR), "");
        row("malformed section in a repo file",
            QSL { "/etc/yum.conf=[main]\n[m]\n", "/etc/yum.repos.d/a.repo=[a]\nname=A\n[b]\n[c\n",
                "/etc/yum.repos.d/z.repo=[z]\n" },
            "", "Malformed section name in line: [c" + errnoSuffix(0), "m a");
        row("carriage return kept", QSL { main, "/etc/yum.repos.d/a.repo=[a]\r\nname=A\r\n" }, "",
            "Malformed section name in line: [a]\r" + errnoSuffix(0), "");
        row("dangling repo link",
            QSL { main, "/etc/yum.repos.d/a.repo=[a]\n", "/etc/yum.repos.d/gone.repo->missing.repo" }, "",
            "Unable to stat repository configuration file <root>/etc/yum.repos.d/gone.repo"
                + errnoSuffix(ENOENT),
            "a");
        row("unreadable repo file",
            QSL { main, "/etc/yum.repos.d/a.repo=[a]\n", "/etc/yum.repos.d/b.repo=[b]\n" },
            "/etc/yum.repos.d/b.repo",
            "Unable to read repository configuration file <root>/etc/yum.repos.d/b.repo"
                + errnoSuffix(EACCES),
            "a");
    }
    void failures()
    {
        QFETCH(QSL, files);
        QFETCH(QString, unreadable);
        QFETCH(QString, message);
        Root root;
        for (QString const& file : files) {
            QString const path = file.section(QRegularExpression("->|="), 0, 0);
            if (file.contains("->"))
                QVERIFY(root.link(path, file.section("->", 1)));
            else if (file.endsWith('/'))
                root.mkdir(file);
            else
                QVERIFY(root.put(path, file.section('=', 1).toLatin1(), path == unreadable ? 0600 : 0644));
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
        QCOMPARE(answerer.boxes[0].title, "SORVAN Repository Editor Error");
        QCOMPARE(answerer.boxes[0].text, message.replace("<root>", root.path()));
        QStringList read;
        for (Repo::Entry const& entry : conf.io.repos())
            read.append(entry.id);
        QTEST(read.join(' '), "ids");

        // Writing back a configuration not read whole would delete the files not read.
        auto const before = root.snapshot();
        QVERIFY(!conf.io.write(nullptr));
        QVERIFY(answerer.boxes.last().text.startsWith("Internal error: "));
        QCOMPARE(root.snapshot(), before);
    }

    void managedRootPaths_data()
    {
        columns<QString, QString, QString>("rootDir", "path", "expected"); // "<root>": the root; "": unset
        row("unset root", "", "/etc/yum.conf", "/etc/yum.conf");
        row("cleaned", "/r/", "/etc//yum.repos.d/./a.repo", "<root>/etc/yum.repos.d/a.repo");
        row("dot-dot cannot leave the root", "/r", "/../../etc/passwd", "<root>/etc/passwd");
        row("already under root", "/r", "<root>/etc/yum.conf", "<root>/etc/yum.conf");
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
        QString const actual = Repo::ManagedRoot::under(path.replace("<root>", root));
        QString const mapped = Repo::ManagedRoot::path();
        initTestCase();
        QCOMPARE(mapped, rootDir.isEmpty() ? "/" : root);
        QCOMPARE(actual, expected.replace("<root>", root));
    }
};

QTEST_MAIN(TestYumConfRead)
#include "tst_yumconfread.moc"
