#include "ConfTestSupport.h"
#include "repo/FileReplacer.h"
#include "repo/YumConfIO.h"

#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

using ConfTest::AsNobody;
using ConfTest::BoxAnswerer;
using ConfTest::describe;
using ConfTest::E;
using ConfTest::errnoSuffix;
using ConfTest::Root;
using Repo::Entry;

namespace
{

// A YumConfIO with the tables it refers to.
struct Conf {
    QList<YumRepoEnabled> requests;
    QHash<QString, bool> session;
    YumConfIO io { requests, session };
};

// Temporary files of an atomic replacement (".name.sorvan-XXXXXX").
bool isTemporary(QString const& path)
{
    static QRegularExpression const temporary(QStringLiteral("/\\.[^/]+\\.sorvan-[^/]+$"));
    return temporary.match(path).hasMatch();
}

QMap<QString, QByteArray> withoutTemporaries(QMap<QString, QByteArray> files)
{
    files.removeIf([](auto it) { return isTemporary(it.key()); });
    return files;
}

QStringList temporaries(QMap<QString, QByteArray> const& files)
{
    QStringList list;
    for (QString const& path : files.keys()) {
        if (isTemporary(path))
            list.append(path);
    }
    return list;
}

// Sets the umask for a test and restores it afterwards.
class Umask
{
public:
    explicit Umask(mode_t mask)
        : m_old(::umask(mask))
    {
    }
    ~Umask() { ::umask(m_old); }

private:
    mode_t m_old;
};

} // namespace

class TestYumConfWrite : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Outside a ConfTest::Root the managed root is a directory that does not
    // exist, so that a test that forgot its root fails instead of reading or
    // writing the host's /etc.
    void initTestCase() { qputenv("SORVANROOT", "/nonexistent/sorvan-test-root"); }
    void init() { Repo::FileReplacer::failAt(0); }
    void writeRepo_data();
    void writeRepo();
    void fileLayout();
    void roundTrip_data();
    void roundTrip();
    void unusedFiles();
    void secondWriteWithoutRead();
    void checkErrors_data();
    void checkErrors();
    void ownerAndMode();
    void holdsPassword_data();
    void holdsPassword();
    void symlinksWrittenThrough();
    void linkAndTargetBothRead();
    void failedWrites_data();
    void failedWrites();
    void interrupted_data();
    void interrupted();
};

void TestYumConfWrite::writeRepo_data()
{
    QTest::addColumn<Entry>("entry");
    QTest::addColumn<QByteArray>("text");

    QTest::newRow("identifier only") << Entry(E("a", 1)) << QByteArray("[a]\n");
    QTest::newRow("fixed key order")
        << Entry(E("a", 1)
                     .other("# note\nexclude=x\n")
                     .gpgcheck(Entry::Off)
                     .enabled(Entry::On)
                     .mirrorlist("http://m/list")
                     .baseurl("file:///srv/a/")
                     .name("A"))
        << QByteArray("[a]\nname=A\nbaseurl=file:///srv/a/\nmirrorlist=http://m/list\nenabled=1\ngpgcheck=0\n"
                      "# note\nexclude=x\n");
    QTest::newRow("several URLs continue")
        << Entry(E("a", 1).baseurl("file:///srv/a/\nfile:///srv/b/\nfile:///srv/c/"))
        << QByteArray("[a]\nbaseurl=file:///srv/a/\n        file:///srv/b/\n        file:///srv/c/\n");
    QTest::newRow("trailing line feed in URLs") << Entry(E("a", 1).baseurl("file:///srv/a/\n"))
                                                << QByteArray("[a]\nbaseurl=file:///srv/a/\n        \n");
    QTest::newRow("off flags") << Entry(E("a", 1).enabled(Entry::Off).gpgcheck(Entry::On))
                               << QByteArray("[a]\nenabled=0\ngpgcheck=1\n");
    QTest::newRow("unset flags not written")
        << Entry(E("a", 1).name("A").enabled(Entry::Unset)) << QByteArray("[a]\nname=A\n");
    QTest::newRow("other gets its last line feed")
        << Entry(E("a", 1).other("exclude=x\ncost=5")) << QByteArray("[a]\nexclude=x\ncost=5\n");
    QTest::newRow("latin-1") << Entry(E("a", 1).name(QString::fromLatin1("D\xe9p\xf4t")))
                             << QByteArray("[a]\nname=D\xe9p\xf4t\n");
}

void TestYumConfWrite::writeRepo()
{
    QFETCH(Entry, entry);
    QFETCH(QByteArray, text);

    Root root;
    QVERIFY(root.put("/etc/yum.conf", "[main]\n"));
    root.mkdir("/etc/yum.repos.d");
    Conf conf;
    BoxAnswerer answerer;
    QVERIFY(conf.io.read(nullptr));
    entry.file = QStringLiteral("x.repo");
    conf.io.setRepos({ entry });
    QSignalSpy changed(&conf.io, &YumConfIO::changed);
    QVERIFY2(conf.io.write(nullptr), qPrintable(answerer.texts().join(QLatin1Char('|'))));
    QCOMPARE(answerer.boxes.size(), 0);
    QCOMPARE(changed.count(), 0);
    QCOMPARE(root.get("/etc/yum.repos.d/x.repo"), text);
    QCOMPARE(root.get("/etc/yum.conf"), QByteArray("[main]\n"));
}

void TestYumConfWrite::fileLayout()
{
    Root root;
    QVERIFY(root.put("/etc/yum.conf", "# top\n[main]\ngpgcheck=1\n\n"));
    root.mkdir("/etc/yum.repos.d");
    root.mkdir("/srv");
    Conf conf;
    BoxAnswerer answerer;
    QVERIFY(conf.io.read(nullptr));
    QString const dir = root.host("/etc/yum.repos.d");
    QString const main = YumConfIO::fileName();
    conf.io.setRepos({
        E("third", 3).file(dir + "/f.repo"),
        E("first", 1).file(dir + "/f.repo"),
        E("between", 1.5).file(dir + "/f.repo"),
        E("own", 0), // no file: named after itself
        E("relative", 7).file("sub.repo"),
        E("main-b", 2).file(main),
        E("main-a", 1).file(main),
        E("outside", 1).file("/srv/outside.repo"), // absolute: still inside the managed root
        E("tidy", 1).file(dir + "//./t.repo"),
    });
    QVERIFY2(conf.io.write(nullptr), qPrintable(answerer.texts().join(QLatin1Char('|'))));
    QCOMPARE(answerer.boxes.size(), 0);

    QCOMPARE(root.get("/etc/yum.repos.d/f.repo"), QByteArray("[first]\n\n[between]\n\n[third]\n"));
    QCOMPARE(root.get("/etc/yum.repos.d/own.repo"), QByteArray("[own]\n"));
    QCOMPARE(root.get("/etc/yum.repos.d/sub.repo"), QByteArray("[relative]\n"));
    QCOMPARE(root.get("/etc/yum.conf"), QByteArray("# top\n[main]\ngpgcheck=1\n\n[main-a]\n\n[main-b]\n"));
    QCOMPARE(root.get("/srv/outside.repo"), QByteArray("[outside]\n"));
    QCOMPARE(root.get("/etc/yum.repos.d/t.repo"), QByteArray("[tidy]\n"));

    // The list now names the files it was written to.
    QStringList files;
    for (Entry const& entry : conf.io.repos())
        files.append(entry.file.mid(root.path().size()));
    QCOMPARE(files,
        (QStringList { "/etc/yum.repos.d/f.repo", "/etc/yum.repos.d/f.repo", "/etc/yum.repos.d/f.repo",
            "/etc/yum.repos.d/own.repo", "/etc/yum.repos.d/sub.repo", "/etc/yum.conf", "/etc/yum.conf",
            "/srv/outside.repo", "/etc/yum.repos.d/t.repo" }));
}

void TestYumConfWrite::roundTrip_data()
{
    QTest::addColumn<QByteArray>("main");
    QTest::addColumn<QByteArray>("repo");
    QTest::addColumn<QByteArray>("mainWritten");
    QTest::addColumn<QByteArray>("repoWritten");

    QByteArray const plainMain("[main]\ncachedir=/var/cache/x\n");
    QTest::newRow("continuation URLs")
        << plainMain << QByteArray("[a]\nbaseurl=file:///srv/a/\n  file:///srv/b/\n") << plainMain
        << QByteArray("[a]\nbaseurl=file:///srv/a/\n        file:///srv/b/\n");
    QTest::newRow("URLs on one line")
        << plainMain << QByteArray("[a]\nbaseurl=file:///srv/a/ file:///srv/b/\n") << plainMain
        << QByteArray("[a]\nbaseurl=file:///srv/a/\n        file:///srv/b/\n");
    QTest::newRow("trailing blank after URL")
        << plainMain << QByteArray("[a]\nbaseurl=file:///srv/a/ \n") << plainMain
        << QByteArray("[a]\nbaseurl=file:///srv/a/\n        \n");
    QTest::newRow("keys reordered, comments after them")
        << plainMain << QByteArray("[a]\n# why\nenabled=no\nexclude=k*\nName=x\nname=A\n") << plainMain
        << QByteArray("[a]\nname=A\nenabled=1\n# why\nexclude=k*\nName=x\n");
    QTest::newRow("leading comments lost, blank lines normalised")
        << plainMain << QByteArray("# file header\n\n[a]\nname=A\n\n\nexclude=x\n\n\n\n[b]\n\n") << plainMain
        << QByteArray("[a]\nname=A\nexclude=x\n\n[b]\n");
    QTest::newRow("sections of the main file after its text")
        << QByteArray("# top\n[main]\ngpgcheck=1\n\n  \n[m]\ngpgcheck=0\nname=M\n\n[n]\n")
        << QByteArray("[a]\n")
        << QByteArray("# top\n[main]\ngpgcheck=1\n\n  \n[m]\nname=M\ngpgcheck=0\n\n[n]\n")
        << QByteArray("[a]\n");
    QTest::newRow("untrimmed identifier and values") << plainMain << QByteArray("[ x ]\nname = My repo \n")
                                                     << plainMain << QByteArray("[ x ]\nname=My repo \n");
    QTest::newRow("latin-1 and utf-8 bytes kept")
        << QByteArray("[main]\n# caf\xc3\xa9\n") << QByteArray("[a]\nname=D\xe9p\xf4t \xc3\xa9\n")
        << QByteArray("[main]\n# caf\xc3\xa9\n") << QByteArray("[a]\nname=D\xe9p\xf4t \xc3\xa9\n");
}

void TestYumConfWrite::roundTrip()
{
    QFETCH(QByteArray, main);
    QFETCH(QByteArray, repo);
    QFETCH(QByteArray, mainWritten);
    QFETCH(QByteArray, repoWritten);

    Root root;
    QVERIFY(root.put("/etc/yum.conf", main));
    QVERIFY(root.put("/etc/yum.repos.d/r.repo", repo));
    Conf conf;
    BoxAnswerer answerer;
    QVERIFY(conf.io.read(nullptr));
    QStringList const first = describe(conf.io.repos());
    QString const firstMain = conf.io.mainText();

    QVERIFY2(conf.io.write(nullptr), qPrintable(answerer.texts().join(QLatin1Char('|'))));
    QCOMPARE(root.get("/etc/yum.conf"), mainWritten);
    QCOMPARE(root.get("/etc/yum.repos.d/r.repo"), repoWritten);

    // Read, write, read gives the same entries; and writing them again
    // changes nothing.
    Conf again;
    QVERIFY(again.io.read(nullptr));
    QCOMPARE(describe(again.io.repos()), first);
    QCOMPARE(again.io.mainText(), firstMain);
    QVERIFY(again.io.write(nullptr));
    QCOMPARE(root.get("/etc/yum.conf"), mainWritten);
    QCOMPARE(root.get("/etc/yum.repos.d/r.repo"), repoWritten);
    QCOMPARE(answerer.boxes.size(), 0);
}

void TestYumConfWrite::unusedFiles()
{
    Root root;
    QVERIFY(root.put("/etc/yum.conf", "[main]\nreposdir=/etc/yum.repos.d /etc/more.d\n"));
    QVERIFY(root.put("/etc/yum.repos.d/a.repo", "[a]\n"));
    QVERIFY(root.put("/etc/yum.repos.d/b.repo", "[b]\n[c]\n"));
    QVERIFY(root.put("/etc/yum.repos.d/m.repo", "[m]\n"));
    QVERIFY(root.put("/etc/yum.repos.d/comments.repo", "# only a comment\n"));
    QVERIFY(root.put("/etc/yum.repos.d/notes.txt", "[not-read]\n"));
    QVERIFY(root.put("/etc/yum.repos.d/dir.repo/keep.repo", "[inside]\n"));
    QVERIFY(root.put("/etc/more.d/d.repo", "[d]\n"));
    Conf conf;
    BoxAnswerer answerer;
    QVERIFY(conf.io.read(nullptr));
    QCOMPARE(conf.io.repos().size(), 5);

    // A file that appears after the read was never shown to the user.
    QVERIFY(root.put("/etc/yum.repos.d/late.repo", "[late]\n"));

    Repo::EntryList kept;
    for (Entry entry : conf.io.repos()) {
        if (entry.id == QLatin1String("a") || entry.id == QLatin1String("b")
            || entry.id == QLatin1String("d"))
            continue; // removed in the editor
        if (entry.id == QLatin1String("m"))
            entry.file = QStringLiteral("moved.repo");
        kept.append(entry);
    }
    conf.io.setRepos(kept);
    QVERIFY2(conf.io.write(nullptr), qPrintable(answerer.texts().join(QLatin1Char('|'))));
    QCOMPARE(answerer.boxes.size(), 0);

    QVERIFY(!root.exists("/etc/yum.repos.d/a.repo"));
    QCOMPARE(root.get("/etc/yum.repos.d/b.repo"), QByteArray("[c]\n"));
    QVERIFY(!root.exists("/etc/yum.repos.d/m.repo"));
    QCOMPARE(root.get("/etc/yum.repos.d/moved.repo"), QByteArray("[m]\n"));
    QVERIFY(!root.exists("/etc/yum.repos.d/comments.repo"));
    QVERIFY(!root.exists("/etc/more.d/d.repo"));
    QCOMPARE(root.get("/etc/yum.repos.d/notes.txt"), QByteArray("[not-read]\n"));
    QCOMPARE(root.get("/etc/yum.repos.d/dir.repo/keep.repo"), QByteArray("[inside]\n"));
    QCOMPARE(root.get("/etc/yum.repos.d/late.repo"), QByteArray("[late]\n"));
    QCOMPARE(root.get("/etc/yum.conf"), QByteArray("[main]\nreposdir=/etc/yum.repos.d /etc/more.d\n"));
}

void TestYumConfWrite::secondWriteWithoutRead()
{
    // The editor's Apply writes without reading again; a file made by one
    // Apply and emptied by the next must still go.
    Root root;
    QVERIFY(root.put("/etc/yum.conf", "[main]\n"));
    QVERIFY(root.put("/etc/yum.repos.d/a.repo", "[a]\n"));
    Conf conf;
    BoxAnswerer answerer;
    QVERIFY(conf.io.read(nullptr));
    conf.io.repos()[0].file = QStringLiteral("first.repo");
    QVERIFY2(conf.io.write(nullptr), qPrintable(answerer.texts().join(QLatin1Char('|'))));
    QVERIFY(!root.exists("/etc/yum.repos.d/a.repo"));
    QCOMPARE(root.get("/etc/yum.repos.d/first.repo"), QByteArray("[a]\n"));

    conf.io.repos()[0].file = QStringLiteral("second.repo");
    QVERIFY2(conf.io.write(nullptr), qPrintable(answerer.texts().join(QLatin1Char('|'))));
    QVERIFY(!root.exists("/etc/yum.repos.d/first.repo"));
    QCOMPARE(root.get("/etc/yum.repos.d/second.repo"), QByteArray("[a]\n"));
    QCOMPARE(answerer.boxes.size(), 0);
}

void TestYumConfWrite::checkErrors_data()
{
    QTest::addColumn<QStringList>("ids"); // "id:name"
    QTest::addColumn<QMessageBox::StandardButton>("answer");
    QTest::addColumn<QString>("question"); // empty: no question
    QTest::addColumn<QStringList>("written"); // "id:name" of what is written; empty: nothing

    QString const noId = QStringLiteral("A repository has no Identifier.  It will be removed.");
    auto duplicates = [](QString const& list) {
        return QStringLiteral(
            "Two or more repositories have the same Identifier(s), %1.  Only one repository "
            "will be applied for each Identifier.")
            .arg(list);
    };
    QTest::newRow("no problem") << QStringList { "a:1", "b:1" } << QMessageBox::No << QString()
                                << QStringList { "a:1", "b:1" };
    QTest::newRow("no identifier, yes") << QStringList { "a:1", ":2", "b:3" } << QMessageBox::Yes
                                        << noId + "  Proceed?" << QStringList { "a:1", "b:3" };
    QTest::newRow("no identifier, no")
        << QStringList { "a:1", ":2" } << QMessageBox::No << noId + "  Proceed?" << QStringList();
    QTest::newRow("three times, every pair listed")
        << QStringList { "a:1", "a:2", "b:3", "a:4" } << QMessageBox::Yes
        << duplicates("a, a, a") + "  Proceed?" << QStringList { "a:1", "b:3" };
    QTest::newRow("two identifiers twice")
        << QStringList { "b:1", "a:2", "b:3", "a:4" } << QMessageBox::Yes << duplicates("b, a") + "  Proceed?"
        << QStringList { "b:1", "a:2" };
    QTest::newRow("both, on two lines")
        << QStringList { ":1", "a:2", ":3", "a:4" } << QMessageBox::Yes
        << noId + "\n" + duplicates(", a") + "  Proceed?" << QStringList { "a:2" };
    QTest::newRow("duplicates, no") << QStringList { "a:1", "a:2" } << QMessageBox::No
                                    << duplicates("a") + "  Proceed?" << QStringList();
    QTest::newRow("escape means no") << QStringList { "a:1", "a:2" } << QMessageBox::Cancel
                                     << duplicates("a") + "  Proceed?" << QStringList();
}

void TestYumConfWrite::checkErrors()
{
    QFETCH(QStringList, ids);
    QFETCH(QMessageBox::StandardButton, answer);
    QFETCH(QString, question);
    QFETCH(QStringList, written);

    Root root;
    QVERIFY(root.put("/etc/yum.conf", "[main]\n"));
    QVERIFY(root.put("/etc/yum.repos.d/old.repo", "[old]\n"));
    Conf conf;
    BoxAnswerer answerer({ answer });
    QVERIFY(conf.io.read(nullptr));
    Repo::EntryList entries;
    for (QString const& id : ids)
        entries.append(
            E(id.section(':', 0, 0), entries.size() + 1).name(id.section(':', 1)).file("all.repo"));
    conf.io.setRepos(entries);
    QMap<QString, QByteArray> const before = root.snapshot();

    bool const result = conf.io.write(nullptr);
    if (question.isEmpty()) {
        QCOMPARE(answerer.boxes.size(), 0);
    } else {
        QCOMPARE(answerer.boxes.size(), 1);
        ConfTest::BoxAnswerer::Box const& box = answerer.boxes[0];
        QCOMPARE(box.title, QStringLiteral("Repository Editor"));
        QCOMPARE(box.icon, QMessageBox::Critical);
        QCOMPARE(box.text, question);
        QCOMPARE(box.buttons, QMessageBox::Yes | QMessageBox::No);
        QCOMPARE(box.defaultButton, QMessageBox::No);
        QCOMPARE(box.escapeButton, QMessageBox::No);
    }
    QCOMPARE(result, !written.isEmpty());
    if (written.isEmpty()) {
        QCOMPARE(root.snapshot(), before);
        return;
    }
    QByteArray expected;
    for (QString const& entry : written) {
        if (!expected.isEmpty())
            expected += '\n';
        expected += '[' + entry.section(':', 0, 0).toLatin1() + "]\nname=" + entry.section(':', 1).toLatin1()
            + '\n';
    }
    QCOMPARE(root.get("/etc/yum.repos.d/all.repo"), expected);
    QVERIFY(!root.exists("/etc/yum.repos.d/old.repo"));
    QCOMPARE(conf.io.repos().size(), written.size());
}

void TestYumConfWrite::ownerAndMode()
{
    Umask umask(022);
    bool const root_ = ::geteuid() == 0;
    Root root;
    QVERIFY(root.put("/etc/yum.conf", "[main]\n", 0600));
    QVERIFY(root.put("/etc/yum.repos.d/kept.repo", "[kept]\n", 0640));
    QVERIFY(root.put("/etc/yum.repos.d/setid.repo", "[setid]\n", 02664));
    QVERIFY(root.put("/etc/yum.repos.d/open.repo", "[open]\n", 0644));
    if (root_) {
        QCOMPARE(
            ::chown(QFile::encodeName(root.host("/etc/yum.repos.d/kept.repo")).constData(), 1234, 5678), 0);
        QCOMPARE(
            ::chown(QFile::encodeName(root.host("/etc/yum.repos.d/setid.repo")).constData(), 0, 5678), 0);
        QCOMPARE(::chmod(QFile::encodeName(root.host("/etc/yum.repos.d/setid.repo")).constData(), 02664), 0);
    }
    Conf conf;
    BoxAnswerer answerer;
    QVERIFY(conf.io.read(nullptr));
    for (Entry& entry : conf.io.repos()) {
        entry.name = QStringLiteral("changed");
        if (entry.id == QLatin1String("open"))
            entry.other = QStringLiteral("password=now-here\n");
    }
    conf.io.repos().append(E("plain", 1).baseurl("file:///srv/plain/"));
    conf.io.repos().append(E("buffet", 1).baseurl("https://h/buffet?user=&pass=&path=/x/"));
    QVERIFY2(conf.io.write(nullptr), qPrintable(answerer.texts().join(QLatin1Char('|'))));
    QCOMPARE(answerer.boxes.size(), 0);

    auto mode = [&](char const* file) { return root.status(file).st_mode & 07777; };
    QCOMPARE(mode("/etc/yum.repos.d/kept.repo"), mode_t(0640));
    QCOMPARE(root.get("/etc/yum.repos.d/kept.repo"), QByteArray("[kept]\nname=changed\n"));
    QCOMPARE(mode("/etc/yum.repos.d/setid.repo"), mode_t(02664));
    // A rewritten file keeps its mode even when it now holds a password.
    QCOMPARE(mode("/etc/yum.repos.d/open.repo"), mode_t(0644));
    QCOMPARE(mode("/etc/yum.repos.d/plain.repo"), mode_t(0644));
    QCOMPARE(mode("/etc/yum.repos.d/buffet.repo"), mode_t(0600));
    QCOMPARE(mode("/etc/yum.conf"), mode_t(0600));
    if (root_) {
        QCOMPARE(root.status("/etc/yum.repos.d/kept.repo").st_uid, uid_t(1234));
        QCOMPARE(root.status("/etc/yum.repos.d/kept.repo").st_gid, gid_t(5678));
        QCOMPARE(root.status("/etc/yum.repos.d/setid.repo").st_gid, gid_t(5678));
        QCOMPARE(root.status("/etc/yum.repos.d/buffet.repo").st_uid, uid_t(0));
    }
    QCOMPARE(temporaries(root.snapshot()), QStringList());
}

void TestYumConfWrite::holdsPassword_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("secret");

    QTest::newRow("plain") << QByteArray("[a]\nbaseurl=https://h/repo/\n") << false;
    QTest::newRow("buffet query form") << QByteArray("baseurl=https://h/buffet?u=a&p=b&path=/x\n") << true;
    QTest::newRow("buffet query form, empty values")
        << QByteArray("baseurl=https://h/buffet?u=&p=&path=/x\n") << true;
    QTest::newRow("buffet without path") << QByteArray("baseurl=https://h/buffet?u=a&p=b\n") << false;
    QTest::newRow("buffet path form") << QByteArray("mirrorlist=https://h/rhel/u=a/p=b/list\n") << true;
    QTest::newRow("password key") << QByteArray("[a]\npassword=x\n") << true;
    QTest::newRow("password key with blanks") << QByteArray("[a]\npassword : x\n") << true;
    QTest::newRow("proxy password") << QByteArray("[a]\nproxy_password=x\n") << true;
    QTest::newRow("user name only") << QByteArray("[a]\nusername=me\n") << false;
    QTest::newRow("password in a comment text") << QByteArray("# the password is elsewhere\n") << false;
    QTest::newRow("URL with password") << QByteArray("baseurl=ftp://me:pw@h/x\n") << true;
    QTest::newRow("URL with user only") << QByteArray("baseurl=ftp://me@h/x\n") << false;
    QTest::newRow("URL with port") << QByteArray("baseurl=http://h:8080/x\n") << false;
}

void TestYumConfWrite::holdsPassword()
{
    QFETCH(QByteArray, content);
    QFETCH(bool, secret);
    QCOMPARE(YumConfIO::holdsPassword(content), secret);
}

void TestYumConfWrite::symlinksWrittenThrough()
{
    Root root;
    QVERIFY(root.put("/etc/dnf/dnf.conf", "[main]\n\n[inmain]\n", 0640));
    QVERIFY(root.link("/etc/yum.conf", "dnf/dnf.conf"));
    QVERIFY(root.put("/srv/real.repo", "[l]\n"));
    // Absolute, as the managed system reads it: inside the root.
    QVERIFY(root.link("/etc/yum.repos.d/l.repo", "/srv/real.repo"));
    Conf conf;
    BoxAnswerer answerer;
    QVERIFY(conf.io.read(nullptr));
    QCOMPARE(YumConfIO::fileName(), root.host("/etc/yum.conf"));
    QCOMPARE(conf.io.repos().size(), 2);
    for (Entry& entry : conf.io.repos())
        entry.name = entry.id + QLatin1String(" renamed");
    QVERIFY2(conf.io.write(nullptr), qPrintable(answerer.texts().join(QLatin1Char('|'))));
    QCOMPARE(answerer.boxes.size(), 0);

    QVERIFY(root.isLink("/etc/yum.conf"));
    QCOMPARE(QFileInfo(root.host("/etc/yum.conf")).symLinkTarget(), root.host("/etc/dnf/dnf.conf"));
    QCOMPARE(root.get("/etc/dnf/dnf.conf"), QByteArray("[main]\n\n[inmain]\nname=inmain renamed\n"));
    QCOMPARE(root.status("/etc/dnf/dnf.conf").st_mode & 07777, mode_t(0640));
    QVERIFY(root.isLink("/etc/yum.repos.d/l.repo"));
    QCOMPARE(root.get("/srv/real.repo"), QByteArray("[l]\nname=l renamed\n"));
    QCOMPARE(temporaries(root.snapshot()), QStringList());
}

void TestYumConfWrite::linkAndTargetBothRead()
{
    // The sections of a link and of its target are read twice; when the
    // user drops the duplicates, the target must survive: the link still
    // leads to it.
    Root second;
    QVERIFY(second.put("/etc/yum.conf", "[main]\n"));
    QVERIFY(second.put("/etc/yum.repos.d/b.repo", "[b]\n"));
    QVERIFY(second.link("/etc/yum.repos.d/a.repo", "b.repo"));
    Conf linked;
    BoxAnswerer yes({ QMessageBox::Yes });
    QVERIFY(linked.io.read(nullptr));
    QCOMPARE(linked.io.repos().size(), 2);
    QVERIFY2(linked.io.write(nullptr), qPrintable(yes.texts().join(QLatin1Char('|'))));
    QCOMPARE(yes.boxes.size(), 1);
    QVERIFY(second.isLink("/etc/yum.repos.d/a.repo"));
    QCOMPARE(second.get("/etc/yum.repos.d/b.repo"), QByteArray("[b]\n"));
}

void TestYumConfWrite::failedWrites_data()
{
    QTest::addColumn<QByteArray>("main");
    QTest::addColumn<QString>("newFile"); // file of an added repository
    QTest::addColumn<bool>("asNobody");
    QTest::addColumn<QString>("message"); // "<root>" stands for the root's path

    QTest::newRow("directory not writable") << QByteArray("[main]\n") << QString() << true
                                            << "Unable to write repository configuration file "
                                               "<root>/etc/yum.repos.d/a.repo"
            + errnoSuffix(EACCES);
    QTest::newRow("missing directory")
        << QByteArray("[main]\n") << "/nowhere/new.repo" << false
        << "Unable to write repository configuration file <root>/nowhere/new.repo" + errnoSuffix(ENOENT);
    QTest::newRow("file is a directory") << QByteArray("[main]\n") << "dir.repo" << false
                                         << "Unable to write repository configuration file "
                                            "<root>/etc/yum.repos.d/dir.repo"
            + errnoSuffix(EISDIR);
    QTest::newRow("no repository directory")
        << QByteArray("[main]\nreposdir=\n") << "new.repo" << false
        << "Unable to write repository configuration file new.repo" + errnoSuffix(ENOENT);
}

void TestYumConfWrite::failedWrites()
{
    QFETCH(QByteArray, main);
    QFETCH(QString, newFile);
    QFETCH(bool, asNobody);
    QFETCH(QString, message);

    Root root;
    QVERIFY(root.put("/etc/yum.conf", main));
    QVERIFY(root.put("/etc/yum.repos.d/a.repo", "[a]\nname=A\n"));
    QVERIFY(root.put("/etc/yum.repos.d/b.repo", "[b]\nname=B\n"));
    root.mkdir("/etc/yum.repos.d/dir.repo");
    Conf conf;
    BoxAnswerer answerer;
    QVERIFY(conf.io.read(nullptr));
    for (Entry& entry : conf.io.repos())
        entry.name += QLatin1String(" changed");
    conf.io.repos().append(E("new", 1).file(newFile));
    QMap<QString, QByteArray> const before = root.snapshot();

    bool written;
    {
        std::optional<AsNobody> nobody;
        if (asNobody)
            nobody.emplace();
        written = conf.io.write(nullptr);
    }
    QVERIFY(!written);
    QCOMPARE(answerer.boxes.size(), 1);
    QCOMPARE(answerer.boxes[0].title, QStringLiteral("SORVAN Repository Editor Error"));
    QCOMPARE(answerer.boxes[0].text, QString(message).replace(QLatin1String("<root>"), root.path()));
    // Nothing was replaced, and nothing was left behind.
    QCOMPARE(root.snapshot(), before);

    // Once the cause is gone, the same list can be written.
    if (asNobody) {
        QVERIFY2(conf.io.write(nullptr), qPrintable(answerer.texts().join(QLatin1Char('|'))));
        QCOMPARE(root.get("/etc/yum.repos.d/a.repo"), QByteArray("[a]\nname=A changed\n"));
    }
}

void TestYumConfWrite::interrupted_data()
{
    QTest::addColumn<Repo::FileReplacer::FailMode>("mode");
    QTest::newRow("failing step") << Repo::FileReplacer::FailMode::Error;
    QTest::newRow("crash") << Repo::FileReplacer::FailMode::Crash;
}

namespace
{

// A configuration with a linked main file holding a section, a file with a
// mode and owner of its own, a link into another directory, and files that
// the edit below empties.
void buildInterruptible(Root const& root)
{
    root.put("/etc/dnf/dnf.conf", "[main]\ngpgcheck=1\n\n[inmain]\nname=In main\n");
    root.link("/etc/yum.conf", "dnf/dnf.conf");
    root.put("/etc/yum.repos.d/a.repo", "[a1]\nname=A1\n\n[a2]\nname=A2\n", 0640);
    if (::geteuid() == 0)
        ::chown(QFile::encodeName(root.host("/etc/yum.repos.d/a.repo")).constData(), 1234, 5678);
    root.put("/etc/yum.repos.d/b.repo", "[b]\nname=B\n");
    root.put("/etc/yum.repos.d/c.repo", "[c]\nname=C\n");
    root.put("/srv/l.repo", "[l]\nname=L\n");
    root.link("/etc/yum.repos.d/l.repo", "/srv/l.repo");
}

void editInterruptible(YumConfIO& conf)
{
    Repo::EntryList edited;
    for (Entry entry : conf.repos()) {
        if (entry.id == QLatin1String("c"))
            continue;
        if (entry.id == QLatin1String("b"))
            entry.file = QStringLiteral("moved.repo");
        else if (entry.id != QLatin1String("a2"))
            entry.name += QLatin1String(" renamed");
        edited.append(entry);
    }
    edited.append(E("secret", 1).baseurl("https://h/buffet?user=me&pass=pw&path=/x/"));
    conf.setRepos(edited);
}

} // namespace

void TestYumConfWrite::interrupted()
{
    QFETCH(Repo::FileReplacer::FailMode, mode);
    Umask umask(022);

    // What the files hold before and after an uninterrupted write.
    QMap<QString, QByteArray> before, after;
    int operations;
    {
        Root root;
        buildInterruptible(root);
        before = root.snapshot();
        Conf conf;
        BoxAnswerer answerer;
        QVERIFY(conf.io.read(nullptr));
        editInterruptible(conf.io);
        Repo::FileReplacer::failAt(0);
        QVERIFY2(conf.io.write(nullptr), qPrintable(answerer.texts().join(QLatin1Char('|'))));
        operations = Repo::FileReplacer::operations();
        after = root.snapshot();
        QCOMPARE(answerer.boxes.size(), 0);
    }
    QVERIFY2(operations >= 30, qPrintable(QString::number(operations)));
    QVERIFY(before != after);
    QVERIFY(after.contains("/etc/yum.repos.d/secret.repo"));
    QVERIFY(!after.contains("/etc/yum.repos.d/b.repo"));
    QVERIFY(!after.contains("/etc/yum.repos.d/c.repo"));

    // Replaced in this order (by file name as the list names them), and
    // only then are the emptied files deleted.
    QStringList const replaced { "/etc/dnf/dnf.conf", "/etc/yum.repos.d/a.repo", "/srv/l.repo",
        "/etc/yum.repos.d/moved.repo", "/etc/yum.repos.d/secret.repo" };
    QStringList const deleted { "/etc/yum.repos.d/b.repo", "/etc/yum.repos.d/c.repo" };

    for (int failing = 1; failing <= operations; ++failing) {
        QByteArray const step
            = "step " + QByteArray::number(failing) + " of " + QByteArray::number(operations);
        Root root;
        buildInterruptible(root);
        Conf conf;
        BoxAnswerer answerer;
        QVERIFY2(conf.io.read(nullptr), QByteArray(step).constData());
        editInterruptible(conf.io);
        Repo::FileReplacer::failAt(failing, mode);
        QVERIFY2(!conf.io.write(nullptr), QByteArray(step).constData());
        Repo::FileReplacer::failAt(0);

        QCOMPARE(answerer.boxes.size(), 1);
        QString const text = answerer.boxes[0].text;
        QVERIFY2(text.startsWith(QLatin1String("Unable to write repository configuration file "))
                || text.startsWith(QLatin1String("Unable to unlink repository configuration file ")),
            qPrintable(text));
        QVERIFY2(text.endsWith(errnoSuffix(mode == Repo::FileReplacer::FailMode::Error ? ENOSPC : EIO)),
            qPrintable(text));

        // Every file is wholly old or wholly new; nothing else appeared.
        QMap<QString, QByteArray> const all = root.snapshot();
        QMap<QString, QByteArray> const now = withoutTemporaries(all);
        QSet<QString> paths(before.keyBegin(), before.keyEnd());
        paths.unite(QSet<QString>(after.keyBegin(), after.keyEnd()));
        paths.unite(QSet<QString>(now.keyBegin(), now.keyEnd()));
        for (QString const& path : paths) {
            std::optional<QByteArray> const was
                = before.contains(path) ? std::optional(before.value(path)) : std::nullopt;
            std::optional<QByteArray> const will
                = after.contains(path) ? std::optional(after.value(path)) : std::nullopt;
            std::optional<QByteArray> const is
                = now.contains(path) ? std::optional(now.value(path)) : std::nullopt;
            QVERIFY2(is == was || is == will,
                QByteArray(step + ": " + path.toUtf8() + " holds " + is.value_or("<nothing>")).constData());
        }
        // The files not yet replaced are as they were: what is new is a
        // leading part of the replacement order, and deleting comes last.
        bool stillNew = true;
        for (QString const& path : replaced) {
            bool const isNew = now.value(path) == after.value(path);
            QVERIFY2(stillNew || !isNew,
                QByteArray(step + ": " + path.toUtf8() + " replaced out of order").constData());
            stillNew = stillNew && isNew;
        }
        for (QString const& path : deleted) {
            if (!now.contains(path))
                QVERIFY2(stillNew,
                    QByteArray(step + ": " + path.toUtf8() + " deleted before all were written").constData());
        }

        if (mode == Repo::FileReplacer::FailMode::Error) {
            // Cleaned up, and the same list can then be written whole.
            QCOMPARE(temporaries(all), QStringList());
            QVERIFY2(conf.io.write(nullptr), QByteArray(step).constData());
            QCOMPARE(root.snapshot(), after);
        } else {
            // What a crash leaves behind is never read as configuration.
            Conf reader;
            BoxAnswerer readerAnswerer({ QMessageBox::No });
            QVERIFY2(reader.io.read(nullptr), QByteArray(step).constData());
            QCOMPARE(readerAnswerer.boxes.size(), 0);
            for (Entry const& entry : reader.io.repos())
                QVERIFY2(!isTemporary(entry.file), QByteArray(step).constData());
        }
    }
}

QTEST_MAIN(TestYumConfWrite)
#include "tst_yumconfwrite.moc"
