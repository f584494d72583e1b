#include "ConfTestSupport.h"
#include "repo/ManagedRoot.h"
#include "repo/YumConfIO.h"

#include <QSignalSpy>
#include <QTest>
#include <optional>

using ConfTest::BoxAnswerer;
using ConfTest::describe;
using ConfTest::E;
using ConfTest::errnoSuffix;
using ConfTest::Root;
using Repo::Entry;

namespace
{

// Requests written as "+pattern" (--enablerepo) and "-pattern" (--disablerepo).
QList<YumRepoEnabled> requestsOf(QStringList const& options)
{
    QList<YumRepoEnabled> requests;
    for (QString const& option : options)
        requests.append(YumRepoEnabled(option.startsWith(QLatin1Char('+')), option.mid(1)));
    return requests;
}

// The session table as "id=1"/"id=0" lines, sorted.
QStringList sessionOf(QHash<QString, bool> const& session)
{
    QStringList rows;
    for (auto it = session.cbegin(); it != session.cend(); ++it)
        rows.append(it.key() + (it.value() ? QLatin1String("=1") : QLatin1String("=0")));
    rows.sort();
    return rows;
}

} // namespace

class TestYumConfRead : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Outside a ConfTest::Root the managed root is a directory that does not
    // exist, so that a test that forgot its root fails instead of reading or
    // writing the host's /etc.
    void initTestCase() { qputenv("SORVANROOT", "/nonexistent/sorvan-test-root"); }
    void isOption_data();
    void isOption();
    void repoFile_data();
    void repoFile();
    void mainFile_data();
    void mainFile();
    void mainFileChoice_data();
    void mainFileChoice();
    void sectionsInMainFile();
    void readOrder();
    void sessionSeeding_data();
    void sessionSeeding();
    void rereadKeepsSessionState();
    void failures_data();
    void failures();
    void managedRootPaths_data();
    void managedRootPaths();
};

void TestYumConfRead::isOption_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("option");
    QTest::addColumn<bool>("matches");
    QTest::addColumn<QString>("value");

    QTest::newRow("plain") << "name=x"
                           << "name" << true << "x";
    QTest::newRow("blanks around separator, trailing blank kept") << "name = My repo "
                                                                  << "name" << true << "My repo ";
    QTest::newRow("tabs and colon") << "name\t:\tv"
                                    << "name" << true << "v";
    QTest::newRow("empty value") << "name="
                                 << "name" << true << "";
    QTest::newRow("first separator splits") << "name=a=b:c"
                                            << "name" << true << "a=b:c";
    QTest::newRow("colon before equals") << "baseurl:http://h:80/x=1"
                                         << "baseurl" << true << "http://h:80/x=1";
    QTest::newRow("continuation joined into value") << "baseurl=a\n  b"
                                                    << "baseurl" << true << "a\n  b";
    QTest::newRow("case matters") << "Name=x"
                                  << "name" << false << "";
    QTest::newRow("longer key") << "names=x"
                                << "name" << false << "";
    QTest::newRow("shorter key") << "nam=x"
                                 << "name" << false << "";
    QTest::newRow("leading blank") << " name=x"
                                   << "name" << false << "";
    QTest::newRow("no separator") << "name x"
                                  << "name" << false << "";
    QTest::newRow("comment") << "#name=x"
                             << "name" << false << "";
    QTest::newRow("separator first") << "=name"
                                     << "name" << false << "";
}

void TestYumConfRead::isOption()
{
    QFETCH(QString, line);
    QFETCH(QString, option);
    QFETCH(bool, matches);
    QFETCH(QString, value);

    QString found = QStringLiteral("untouched");
    QCOMPARE(YumConfIO::isOption(line, option, found), matches);
    QCOMPARE(found, matches ? value : QStringLiteral("untouched"));
}

void TestYumConfRead::repoFile_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QStringList>("expected");

    QTest::newRow("known keys") << QByteArray("[a]\nname=A\nbaseurl=file:///srv/a/\nmirrorlist=http://m/l\n"
                                              "enabled=1\ngpgcheck=0\n")
                                << describe(Repo::EntryList { E("a", 1)
                                                                  .name("A")
                                                                  .baseurl("file:///srv/a/")
                                                                  .mirrorlist("http://m/l")
                                                                  .enabled(Entry::On)
                                                                  .gpgcheck(Entry::Off) });
    QTest::newRow("baseurl continuation")
        << QByteArray("[a]\nbaseurl=file:///srv/a/\n  file:///srv/b/\n")
        << describe(Repo::EntryList { E("a", 1).baseurl("file:///srv/a/\nfile:///srv/b/") });
    QTest::newRow("baseurl on one line")
        << QByteArray("[a]\nbaseurl=file:///srv/a/ file:///srv/b/\n")
        << describe(Repo::EntryList { E("a", 1).baseurl("file:///srv/a/\nfile:///srv/b/") });
    QTest::newRow("baseurl mixed separators") << QByteArray(
        "[a]\nbaseurl=u1 \t u2\n\tu3\n") << describe(Repo::EntryList { E("a", 1).baseurl("u1\nu2\nu3") });
    QTest::newRow("baseurl trailing blank")
        << QByteArray("[a]\nbaseurl=file:///srv/a/ \n")
        << describe(Repo::EntryList { E("a", 1).baseurl("file:///srv/a/\n") });
    QTest::newRow("identifier not trimmed")
        << QByteArray("[ x ]\nname=X\n") << describe(Repo::EntryList { E(" x ", 1).name("X") });
    QTest::newRow("name keeps trailing blank")
        << QByteArray("[a]\nname = My repo \n") << describe(Repo::EntryList { E("a", 1).name("My repo ") });
    QTest::newRow("Name is another key")
        << QByteArray("[a]\nName=x\n") << describe(Repo::EntryList { E("a", 1).other("Name=x\n") });
    QTest::newRow("enabled values") << QByteArray(
        "[no]\nenabled=no\n[one]\nenabled=1\n[true]\nenabled=true\n[zero]\nenabled=0\n"
        "[zeroblank]\nenabled = 0 \n[unset]\nname=u\n")
                                    << describe(Repo::EntryList { E("no", 1).enabled(Entry::On),
                                           E("one", 2).enabled(Entry::On), E("true", 3).enabled(Entry::On),
                                           E("zero", 4).enabled(Entry::Off),
                                           E("zeroblank", 5).enabled(Entry::Off), E("unset", 6).name("u") });
    QTest::newRow("gpgcheck values") << QByteArray("[a]\ngpgcheck=0\n[b]\ngpgcheck=yes\n[c]\n")
                                     << describe(Repo::EntryList { E("a", 1).gpgcheck(Entry::Off),
                                            E("b", 2).gpgcheck(Entry::On), E("c", 3) });
    QTest::newRow("comments and unknown keys in order, empty lines dropped")
        << QByteArray("[a]\n# first\n\nexclude=k*\nname=A\n\n; second\nmetadata_expire=1d\n")
        << describe(Repo::EntryList {
               E("a", 1).name("A").other("# first\nexclude=k*\n; second\nmetadata_expire=1d\n") });
    QTest::newRow("unknown key keeps its continuation")
        << QByteArray("[a]\nexclude=a\n  b\nname=A\n")
        << describe(Repo::EntryList { E("a", 1).name("A").other("exclude=a\n  b\n") });
    QTest::newRow("lines before the first section are lost") << QByteArray(
        "# header\nname=stray\n\n[a]\nname=A\n") << describe(Repo::EntryList { E("a", 1).name("A") });
    QTest::newRow("later key wins") << QByteArray("[a]\nname=one\nname=two\n")
                                    << describe(Repo::EntryList { E("a", 1).name("two") });
    QTest::newRow("last line without line feed")
        << QByteArray("[a]\nname=A") << describe(Repo::EntryList { E("a", 1).name("A") });
    QTest::newRow("carriage returns kept")
        << QByteArray("[a]\r\nname=A\r\n") << QStringList(); // "[a]\r" is no section header
    QTest::newRow("latin-1 bytes") << QByteArray("[a]\nname=caf\xe9\n")
                                   << describe(
                                          Repo::EntryList { E("a", 1).name(QString::fromLatin1("caf\xe9")) });
    QTest::newRow("positions count sections")
        << QByteArray("[a]\n[b]\n\n[c]\n") << describe(Repo::EntryList { E("a", 1), E("b", 2), E("c", 3) });
    QTest::newRow("empty file") << QByteArray() << QStringList();
}

void TestYumConfRead::repoFile()
{
    QFETCH(QByteArray, text);
    QFETCH(QStringList, expected);

    Root root;
    QVERIFY(root.isValid());
    QVERIFY(root.put("/etc/yum.conf", "[main]\n"));
    QVERIFY(root.put("/etc/yum.repos.d/test.repo", text));
    QList<YumRepoEnabled> requests;
    QHash<QString, bool> session;
    YumConfIO conf(requests, session);
    BoxAnswerer answerer;

    if (QTest::currentDataTag() == QByteArray("carriage returns kept")) {
        // "[a]\r" does not end in "]": the carriage return is part of the line.
        QVERIFY(!conf.read(nullptr));
        QCOMPARE(answerer.texts(), QStringList { "Malformed section name in line: [a]\r" + errnoSuffix(0) });
        return;
    }
    QVERIFY(conf.read(nullptr));
    QCOMPARE(answerer.boxes.size(), 0);
    QCOMPARE(describe(conf.repos()), expected);
    for (Entry const& entry : conf.repos())
        QCOMPARE(entry.file, root.host("/etc/yum.repos.d/test.repo"));
}

void TestYumConfRead::mainFile_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("cachedir");
    QTest::addColumn<QStringList>("reposdirs");
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<bool>("gpgcheck");

    QStringList const defaults { "/etc/yum.repos.d", "/etc/yum/repos.d" };
    QTest::newRow("defaults") << QByteArray("[main]\n") << "/var/cache/dnf" << defaults << true << false;
    QTest::newRow("empty file") << QByteArray() << "/var/cache/dnf" << defaults << true << false;
    QTest::newRow("cachedir") << QByteArray("[main]\ncachedir=/var/cache/yum/$basearch\n")
                              << "/var/cache/yum/$basearch" << defaults << true << false;
    QTest::newRow("reposdir comma blank") << QByteArray("[main]\nreposdir=/a, /b\n") << "/var/cache/dnf"
                                          << QStringList { "/a", "/b" } << true << false;
    QTest::newRow("reposdir comma") << QByteArray("[main]\nreposdir=/a,/b\n") << "/var/cache/dnf"
                                    << QStringList { "/a", "/b" } << true << false;
    QTest::newRow("reposdir blanks and commas")
        << QByteArray("[main]\nreposdir = ,/a ,, /b  /c,\n") << "/var/cache/dnf"
        << QStringList { "/a", "/b", "/c" } << true << false;
    QTest::newRow("reposdir continued") << QByteArray("[main]\nreposdir=/a,\n   /b\n") << "/var/cache/dnf"
                                        << QStringList { "/a", "/b" } << true << false;
    QTest::newRow("reposdir empty") << QByteArray("[main]\nreposdir=\n") << "/var/cache/dnf" << QStringList()
                                    << true << false;
    QTest::newRow("enabled=0") << QByteArray("[main]\nenabled=0\n") << "/var/cache/dnf" << defaults << false
                               << false;
    QTest::newRow("enabled=no is on")
        << QByteArray("[main]\nenabled=no\n") << "/var/cache/dnf" << defaults << true << false;
    QTest::newRow("gpgcheck=1") << QByteArray("[main]\ngpgcheck=1\n") << "/var/cache/dnf" << defaults << true
                                << true;
    QTest::newRow("gpgcheck=no is on")
        << QByteArray("[main]\ngpgcheck=no\n") << "/var/cache/dnf" << defaults << true << true;
    QTest::newRow("gpgcheck=0") << QByteArray("[main]\ngpgcheck=1\ngpgcheck=0\n") << "/var/cache/dnf"
                                << defaults << true << false;
    QTest::newRow("keys before [main] count")
        << QByteArray("gpgcheck=1\n[main]\n") << "/var/cache/dnf" << defaults << true << true;
    QTest::newRow("keys of other sections do not")
        << QByteArray("[main]\n[repo]\nenabled=0\ngpgcheck=1\ncachedir=/x\n") << "/var/cache/dnf" << defaults
        << true << false;
}

void TestYumConfRead::mainFile()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, cachedir);
    QFETCH(QStringList, reposdirs);
    QFETCH(bool, enabled);
    QFETCH(bool, gpgcheck);

    Root root;
    QVERIFY(root.put("/etc/yum.conf", text));
    QList<YumRepoEnabled> requests;
    QHash<QString, bool> session;
    YumConfIO conf(requests, session);
    BoxAnswerer answerer;
    QVERIFY(conf.read(nullptr));
    QCOMPARE(answerer.boxes.size(), 0);

    QCOMPARE(conf.cachedir(), root.host(cachedir));
    QStringList hostDirs;
    for (QString const& dir : reposdirs)
        hostDirs.append(root.host(dir));
    QCOMPARE(conf.reposdirs(), hostDirs);
    QCOMPARE(conf.mainEnabled(), enabled);
    QCOMPARE(conf.mainGpgcheck(), gpgcheck);
}

void TestYumConfRead::mainFileChoice_data()
{
    QTest::addColumn<QStringList>("files"); // "path" for a file, "path->target" for a link
    QTest::addColumn<QString>("expected");

    QTest::newRow("yum/yum.conf first")
        << QStringList { "/etc/yum/yum.conf", "/etc/yum.conf", "/etc/dnf/dnf.conf" } << "/etc/yum/yum.conf";
    QTest::newRow("then yum.conf") << QStringList { "/etc/yum.conf", "/etc/dnf/dnf.conf" } << "/etc/yum.conf";
    QTest::newRow("then dnf.conf") << QStringList { "/etc/dnf/dnf.conf" } << "/etc/dnf/dnf.conf";
    QTest::newRow("relative link") << QStringList { "/etc/dnf/dnf.conf", "/etc/yum.conf->dnf/dnf.conf" }
                                   << "/etc/yum.conf";
    // An absolute link is read inside the managed root, never on the host.
    QTest::newRow("absolute link") << QStringList { "/etc/dnf/dnf.conf", "/etc/yum.conf->/etc/dnf/dnf.conf" }
                                   << "/etc/yum.conf";
    QTest::newRow("dangling link skipped")
        << QStringList { "/etc/yum/yum.conf->/nowhere", "/etc/dnf/dnf.conf" } << "/etc/dnf/dnf.conf";
}

void TestYumConfRead::mainFileChoice()
{
    QFETCH(QStringList, files);
    QFETCH(QString, expected);

    Root root;
    for (QString const& file : files) {
        QStringList const link = file.split(QStringLiteral("->"));
        if (link.size() == 2)
            QVERIFY(root.link(link[0], link[1]));
        else
            QVERIFY(root.put(file, "[main]\ncachedir=/cache" + file.toLatin1() + "\n"));
    }
    QCOMPARE(YumConfIO::fileName(), root.host(expected));

    QList<YumRepoEnabled> requests;
    QHash<QString, bool> session;
    YumConfIO conf(requests, session);
    BoxAnswerer answerer;
    QVERIFY(conf.read(nullptr));
    // The content read is that of the first real file the chosen name leads to.
    QString const realFile = files.contains(expected) ? expected : QStringLiteral("/etc/dnf/dnf.conf");
    QCOMPARE(conf.cachedir(), root.host("/cache" + realFile));
}

void TestYumConfRead::sectionsInMainFile()
{
    Root root;
    QVERIFY(root.put("/etc/yum.conf",
        "# top\n[main]\ngpgcheck=1\n\n  \nkeepcache=0\n\n[local]\nname=Local\n"
        "[main]\nname=second main\n"));
    QVERIFY(root.put("/etc/yum.repos.d/a.repo", "[a]\n"));
    QList<YumRepoEnabled> requests;
    QHash<QString, bool> session;
    YumConfIO conf(requests, session);
    BoxAnswerer answerer;
    QVERIFY(conf.read(nullptr));

    // Everything up to the first other section, continuation joined, as read.
    QCOMPARE(conf.mainText(), QStringLiteral("# top\n[main]\ngpgcheck=1\n\n  \nkeepcache=0\n\n"));
    QCOMPARE(describe(conf.repos()),
        describe(
            Repo::EntryList { E("local", 1).name("Local"), E("main", 2).name("second main"), E("a", 1) }));
    QCOMPARE(conf.repos().at(0).file, root.host("/etc/yum.conf"));
    QCOMPARE(conf.repos().at(1).file, root.host("/etc/yum.conf"));
    QCOMPARE(conf.repos().at(2).file, root.host("/etc/yum.repos.d/a.repo"));
}

void TestYumConfRead::readOrder()
{
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
    QList<YumRepoEnabled> requests;
    QHash<QString, bool> session;
    YumConfIO conf(requests, session);
    QSignalSpy changed(&conf, &YumConfIO::changed);
    BoxAnswerer answerer;
    QVERIFY(conf.read(nullptr));
    QCOMPARE(changed.count(), 1);

    QStringList read;
    for (Entry const& entry : conf.repos())
        read.append(entry.id + QLatin1Char(' ') + entry.file.mid(root.path().size()));
    QCOMPARE(read,
        (QStringList { "m /etc/yum.conf", "r2-hidden /r2/.hidden.repo", "r2-a /r2/a.repo", "r2-b1 /r2/b.repo",
            "r2-b2 /r2/b.repo", "r1-one /r1/one.repo" }));
}

void TestYumConfRead::sessionSeeding_data()
{
    QTest::addColumn<QByteArray>("main");
    QTest::addColumn<QByteArray>("repos");
    QTest::addColumn<QStringList>("requests");
    QTest::addColumn<QStringList>("preset");
    QTest::addColumn<QStringList>("expected");

    QByteArray const three("[test]\n[tex]\n[other]\n");
    QTest::newRow("unset follows [main] on") << QByteArray("[main]\n") << three << QStringList()
                                             << QStringList() << QStringList { "other=1", "test=1", "tex=1" };
    QTest::newRow("unset follows [main] off")
        << QByteArray("[main]\nenabled=0\n") << QByteArray("[a]\n[b]\nenabled=1\n[c]\nenabled=0\n")
        << QStringList() << QStringList() << QStringList { "a=0", "b=1", "c=0" };
    QTest::newRow("file says off") << QByteArray("[main]\n")
                                   << QByteArray("[a]\nenabled=0\n[b]\nenabled=no\n") << QStringList()
                                   << QStringList() << QStringList { "a=0", "b=1" };
    QTest::newRow("disable te*") << QByteArray("[main]\n") << three << QStringList { "-te*" } << QStringList()
                                 << QStringList { "other=1", "test=0", "tex=0" };
    QTest::newRow("disable te* then enable test")
        << QByteArray("[main]\n") << three << QStringList { "-te*", "+test" } << QStringList()
        << QStringList { "other=1", "test=1", "tex=0" };
    QTest::newRow("enable test then disable te*")
        << QByteArray("[main]\n") << three << QStringList { "+test", "-te*" } << QStringList()
        << QStringList { "other=1", "test=0", "tex=0" };
    QTest::newRow("request beats the file")
        << QByteArray("[main]\n") << QByteArray("[a]\nenabled=0\n[b]\n") << QStringList { "+a", "-b" }
        << QStringList() << QStringList { "a=1", "b=0" };
    QTest::newRow("requests are case-sensitive and whole")
        << QByteArray("[main]\n") << three << QStringList { "-Test", "-tes", "-ther" } << QStringList()
        << QStringList { "other=1", "test=1", "tex=1" };
    QTest::newRow("known rows are kept")
        << QByteArray("[main]\n") << QByteArray("[a]\nenabled=1\n[b]\nenabled=0\n")
        << QStringList { "+b", "-a" } << QStringList { "a=1", "b=0", "gone=1" }
        << QStringList { "a=1", "b=0", "gone=1" };
    QTest::newRow("duplicate identifier seeded by its first section")
        << QByteArray("[main]\n") << QByteArray("[a]\nenabled=0\n[a]\nenabled=1\n") << QStringList()
        << QStringList() << QStringList { "a=0" };
}

void TestYumConfRead::sessionSeeding()
{
    QFETCH(QByteArray, main);
    QFETCH(QByteArray, repos);
    QFETCH(QStringList, requests);
    QFETCH(QStringList, preset);
    QFETCH(QStringList, expected);

    Root root;
    QVERIFY(root.put("/etc/yum.conf", main));
    QVERIFY(root.put("/etc/yum.repos.d/r.repo", repos));
    QList<YumRepoEnabled> const patterns = requestsOf(requests);
    QHash<QString, bool> session;
    for (QString const& row : preset)
        session.insert(row.section(QLatin1Char('='), 0, 0), row.endsWith(QLatin1String("=1")));
    YumConfIO conf(patterns, session);
    BoxAnswerer answerer;
    QVERIFY(conf.read(nullptr));
    QCOMPARE(sessionOf(session), expected);
    QCOMPARE(&conf.sessionEnabled(), &session);
}

void TestYumConfRead::rereadKeepsSessionState()
{
    Root root;
    QVERIFY(root.put("/etc/yum.conf", "[main]\n"));
    QVERIFY(root.put("/etc/yum.repos.d/a.repo", "[a]\nenabled=1\n"));
    QList<YumRepoEnabled> const patterns = requestsOf({ "-b" });
    QHash<QString, bool> session;
    YumConfIO conf(patterns, session);
    BoxAnswerer answerer;
    QVERIFY(conf.read(nullptr));
    QCOMPARE(sessionOf(session), QStringList { "a=1" });

    // The user switches "a" off for the session, and a new file appears.
    session[QStringLiteral("a")] = false;
    QVERIFY(root.put("/etc/yum.repos.d/b.repo", "[b]\nenabled=1\n[c]\nenabled=1\n"));
    QVERIFY(conf.read(nullptr));
    QCOMPARE(sessionOf(session), (QStringList { "a=0", "b=0", "c=1" }));
    QCOMPARE(conf.repos().size(), 3);
}

void TestYumConfRead::failures_data()
{
    QTest::addColumn<QStringList>("files"); // "path=content", "path->target", "path/" for a directory
    QTest::addColumn<QString>("unreadable"); // read as another user, for whom this file is private
    QTest::addColumn<QString>("message"); // "<root>" stands for the root's path
    QTest::addColumn<QStringList>("ids"); // what the list holds afterwards

    QTest::newRow("no main file") << QStringList { "/etc/yum.repos.d/a.repo=[a]\n" } << ""
                                  << "Unable to read yum configuration file <root>/etc/dnf/dnf.conf"
            + errnoSuffix(ENOENT) << QStringList();
    QTest::newRow("main file is a directory")
        << QStringList { "/etc/yum/yum.conf/", "/etc/yum.conf=[main]\n" } << ""
        << "Error reading repository configuration file <root>/etc/yum/yum.conf" + errnoSuffix(EISDIR)
        << QStringList();
    QTest::newRow("malformed section in a repo file")
        << QStringList { "/etc/yum.conf=[main]\n[m]\n",
               "/etc/yum.repos.d/a.repo=[a]\nname=A\n[b]\n[c\nname=C\n", "/etc/yum.repos.d/z.repo=[z]\n" }
        << ""
        << "Malformed section name in line: [c" + errnoSuffix(0) << QStringList { "m", "a" };
    QTest::newRow("malformed section in the main file")
        << QStringList { "/etc/yum.conf=[main]\n[m\n" } << ""
        << "Malformed section name in line: [m" + errnoSuffix(0) << QStringList();
    QTest::newRow("continuation makes a header malformed")
        << QStringList { "/etc/yum.conf=[main]\n", "/etc/yum.repos.d/a.repo=[a]\n name=A\n" } << ""
        << "Malformed section name in line: [a]\n name=A" + errnoSuffix(0) << QStringList();
    QTest::newRow("dangling repo link")
        << QStringList { "/etc/yum.conf=[main]\n", "/etc/yum.repos.d/a.repo=[a]\n",
               "/etc/yum.repos.d/gone.repo->missing.repo" }
        << ""
        << "Unable to stat repository configuration file <root>/etc/yum.repos.d/gone.repo"
            + errnoSuffix(ENOENT)
        << QStringList { "a" };
    QTest::newRow("unreadable repo file")
        << QStringList { "/etc/yum.conf=[main]\n", "/etc/yum.repos.d/a.repo=[a]\n",
               "/etc/yum.repos.d/b.repo=[b]\n" }
        << "/etc/yum.repos.d/b.repo"
        << "Unable to read repository configuration file <root>/etc/yum.repos.d/b.repo" + errnoSuffix(EACCES)
        << QStringList { "a" };
}

void TestYumConfRead::failures()
{
    QFETCH(QStringList, files);
    QFETCH(QString, unreadable);
    QFETCH(QString, message);
    QFETCH(QStringList, ids);

    Root root;
    for (QString const& file : files) {
        if (file.contains(QLatin1String("->"))) {
            QVERIFY(root.link(file.section(QLatin1String("->"), 0, 0), file.section(QLatin1String("->"), 1)));
        } else if (file.endsWith(QLatin1Char('/'))) {
            root.mkdir(file);
        } else {
            QString const path = file.section(QLatin1Char('='), 0, 0);
            QVERIFY(root.put(
                path, file.section(QLatin1Char('='), 1).toLatin1(), path == unreadable ? 0600 : 0644));
        }
    }
    QList<YumRepoEnabled> requests;
    QHash<QString, bool> session;
    YumConfIO conf(requests, session);
    QSignalSpy changed(&conf, &YumConfIO::changed);
    BoxAnswerer answerer;
    bool read;
    {
        std::optional<ConfTest::AsNobody> nobody;
        if (!unreadable.isEmpty())
            nobody.emplace();
        read = conf.read(nullptr);
    }
    QVERIFY(!read);
    QCOMPARE(changed.count(), 0);
    QCOMPARE(answerer.boxes.size(), 1);
    QCOMPARE(answerer.boxes[0].title, QStringLiteral("SORVAN Repository Editor Error"));
    QCOMPARE(answerer.boxes[0].icon, QMessageBox::Critical);
    QCOMPARE(answerer.boxes[0].buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(answerer.boxes[0].text, QString(message).replace(QLatin1String("<root>"), root.path()));
    QStringList readIds;
    for (Entry const& entry : conf.repos())
        readIds.append(entry.id);
    QCOMPARE(readIds, ids);

    // A configuration that was not read completely is never written back:
    // that would delete the files not read.
    QMap<QString, QByteArray> const before = root.snapshot();
    QVERIFY(!conf.write(nullptr));
    QCOMPARE(answerer.boxes.size(), 2);
    QVERIFY(answerer.boxes[1].text.startsWith(QLatin1String("Internal error: ")));
    QCOMPARE(root.snapshot(), before);
}

void TestYumConfRead::managedRootPaths_data()
{
    QTest::addColumn<QString>("rootDir"); // relative to the temporary directory; "" for unset
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected"); // "<root>" stands for the root

    QTest::newRow("unset root") << ""
                                << "/etc/yum.conf"
                                << "/etc/yum.conf";
    QTest::newRow("under root") << "/r"
                                << "/etc/yum.conf"
                                << "<root>/etc/yum.conf";
    QTest::newRow("cleaned") << "/r"
                             << "/etc//yum.repos.d/./a.repo"
                             << "<root>/etc/yum.repos.d/a.repo";
    QTest::newRow("dot-dot cannot leave the root") << "/r"
                                                   << "/../../etc/passwd"
                                                   << "<root>/etc/passwd";
    QTest::newRow("dot-dot alone") << "/r"
                                   << "/.."
                                   << "<root>";
    QTest::newRow("already under root") << "/r"
                                        << "<root>/etc/yum.conf"
                                        << "<root>/etc/yum.conf";
    QTest::newRow("root with trailing slash") << "/r/"
                                              << "/etc/yum.conf"
                                              << "<root>/etc/yum.conf";
    QTest::newRow("relative stays relative") << "/r"
                                             << "a.repo"
                                             << "a.repo";
}

void TestYumConfRead::managedRootPaths()
{
    QFETCH(QString, rootDir);
    QFETCH(QString, path);
    QFETCH(QString, expected);

    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    QByteArray const previous = qgetenv("SORVANROOT");
    QString const root = QDir::cleanPath(dir.path() + rootDir);
    if (rootDir.isEmpty())
        qunsetenv("SORVANROOT");
    else
        qputenv("SORVANROOT", QFile::encodeName(dir.path() + rootDir));
    QString const actual = Repo::ManagedRoot::under(QString(path).replace(QLatin1String("<root>"), root));
    QString const mapped = Repo::ManagedRoot::path();
    qputenv("SORVANROOT", previous);
    QCOMPARE(mapped, rootDir.isEmpty() ? QStringLiteral("/") : root);
    QCOMPARE(actual, QString(expected).replace(QLatin1String("<root>"), root));
}

QTEST_MAIN(TestYumConfRead)
#include "tst_yumconfread.moc"
