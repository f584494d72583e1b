#include "ConfTestSupport.h"
#include "repo/FileReplacer.h"

#include <QRegularExpression>
#include <QSignalSpy>
#include <optional>

using namespace ConfTest;
using QSL = QStringList;
using Repo::Entry;
using Files = QMap<QString, QByteArray>;

namespace
{

// Temporary files of an atomic replacement (".name.sorvan-XXXXXX").
bool isTemporary(QString const& path)
{
    static QRegularExpression const temporary("/\\.[^/]+\\.sorvan-[^/]+$");
    return temporary.match(path).hasMatch();
}

QStringList temporaries(Files const& files)
{
    QStringList list = files.keys();
    list.removeIf([](QString const& path) { return !isTemporary(path); });
    return list;
}

// A linked main file holding a section, a link into another directory, a
// file with an owner and a set-group-ID mode of its own, and files that
// editInterruptible() empties, moves and adds.
void buildInterruptible(Root const& root)
{
    root.put("/etc/dnf/dnf.conf", "[main]\ngpgcheck=1\n\n[inmain]\nname=In main\n", 0600);
    root.link("/etc/yum.conf", "dnf/dnf.conf");
    root.put("/etc/yum.repos.d/a.repo", "[a1]\nname=A1\n\n[a2]\nname=A2\n");
    if (::geteuid() == 0)
        (void)::chown(local(root.host("/etc/yum.repos.d/a.repo")).constData(), 1234, 5678);
    (void)::chmod(local(root.host("/etc/yum.repos.d/a.repo")).constData(), 02640);
    root.put("/etc/yum.repos.d/b.repo", "[b]\nname=B\n");
    root.put("/etc/yum.repos.d/c.repo", "[c]\nname=C\n");
    root.put("/srv/l.repo", "[l]\nname=L\n");
    root.link("/etc/yum.repos.d/l.repo", "/srv/l.repo");
}

void editInterruptible(YumConfIO& conf)
{
    Repo::EntryList edited;
    for (Entry e : conf.repos()) {
        if (e.id == "b")
            e.file = "moved.repo";
        else if (e.id != "a2")
            e.name += " renamed";
        if (e.id == "a1")
            e.other = "password=x\n";
        if (e.id != "c")
            edited.append(e);
    }
    edited.append(entry("secret", 1));
    edited.last().baseurl = "https://h/buffet?user=me&pass=pw&path=/x/";
    conf.setRepos(edited);
}

} // namespace

class TestYumConfWrite : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Outside a Root the managed root does not exist: a test that forgot its
    // root fails instead of writing the host's /etc.
    void initTestCase() { qputenv("SORVANROOT", "/nonexistent/sorvan-test-root"); }
    void init() { Repo::FileReplacer::failAt(0); }

    void fileLayout()
    {
        // Files by name, sections by position, one empty line between them;
        // each entry's keys in a fixed order.
        Root root;
        QVERIFY(root.put("/etc/yum.conf", "# top\n[main]\ngpgcheck=1\n\n"));
        root.mkdir("/etc/yum.repos.d");
        root.mkdir("/srv");
        Conf conf;
        BoxAnswerer answerer;
        QVERIFY(conf.io.read(nullptr));
        QString const dir = root.host("/etc/yum.repos.d"), main = YumConfIO::fileName();
        Entry own = entry("own", 0); // no file: named after itself
        own.name = "O";
        own.baseurl = "u1\nu2";
        own.mirrorlist = "m";
        own.enabled = Entry::Off;
        own.gpgcheck = Entry::On;
        own.other = "# note\ncost=5"; // gets its last line feed
        conf.io.setRepos({ entry("third", 3, dir + "/f.repo"), entry("first", 1, dir + "/f.repo"),
            entry("between", 1.5, dir + "/f.repo"), own, entry("relative", 7, "sub.repo"),
            entry("main-b", 2, main), entry("main-a", 1, main), entry("outside", 1, "/srv/outside.repo"),
            entry("tidy", 1, dir + "//./t.repo") });
        QVERIFY2(conf.io.write(nullptr), qPrintable(answerer.texts()));
        QCOMPARE(answerer.boxes.size(), 0);

        QCOMPARE(root.get("/etc/yum.repos.d/f.repo"), QByteArray("[first]\n\n[between]\n\n[third]\n"));
        QCOMPARE(root.get("/etc/yum.repos.d/own.repo"),
            QByteArray("[own]\nname=O\nbaseurl=u1\n        u2\nmirrorlist=m\nenabled=0\ngpgcheck=1\n# "
                       "note\ncost=5\n"));
        QCOMPARE(root.get("/etc/yum.repos.d/sub.repo"), QByteArray("[relative]\n"));
        QCOMPARE(
            root.get("/etc/yum.conf"), QByteArray("# top\n[main]\ngpgcheck=1\n\n[main-a]\n\n[main-b]\n"));
        QCOMPARE(root.get("/srv/outside.repo"), QByteArray("[outside]\n")); // absolute, still inside the root
        QCOMPARE(root.get("/etc/yum.repos.d/t.repo"), QByteArray("[tidy]\n"));
        // The list now names the files written.
        QCOMPARE(conf.io.repos()[3].file, root.host("/etc/yum.repos.d/own.repo"));
        QCOMPARE(conf.io.repos()[4].file, root.host("/etc/yum.repos.d/sub.repo"));
    }

    void roundTrip_data()
    {
        // Read, write, read gives the same entries; writing them again changes nothing.
        columns<QString, QString, QString, QString>("main", "repo", "mainWritten", "repoWritten");
        char const* plain = "[main]\ncachedir=/var/cache/x\n";
        char const* twoUrls = "[a]\nbaseurl=file:///a/\n        file:///b/\n";
        row("continuation URLs", plain, "[a]\nbaseurl=file:///a/\n  file:///b/\n", plain, twoUrls);
        row("trailing blank after URL", plain, "[a]\nbaseurl=file:///a/ \n", plain,
            "[a]\nbaseurl=file:///a/\n        \n");
        row("keys reordered, others after them", plain,
            "[a]\n# why\ngpgcheck=0\nenabled=no\nexclude=k*\nmirrorlist=m\nName=x\nname=A\n", plain,
            "[a]\nname=A\nmirrorlist=m\nenabled=1\ngpgcheck=0\n# why\nexclude=k*\nName=x\n");
        row("leading comments lost, blank lines normalised", plain,
            "# head\n\n[a]\nname=A\n\n\nexclude=x\n\n\n\n[b]\n\n", plain, "[a]\nname=A\nexclude=x\n\n[b]\n");
        row("sections of the main file after its text",
            "# top\n[main]\ngpgcheck=1\n\n  \n[m]\ngpgcheck=0\nname=M\n\n[n]\n", "[a]\n",
            "# top\n[main]\ngpgcheck=1\n\n  \n[m]\nname=M\ngpgcheck=0\n\n[n]\n", "[a]\n");
        row("untrimmed identifier and values", plain, "[ x ]\nname = My repo \n", plain,
            "[ x ]\nname=My repo \n");
        QString const bytes = QString::fromLatin1("[a]\nname=D\xe9p\xf4t \xc3\xa9\n");
        row("latin-1 and utf-8 bytes kept", plain, bytes, plain, bytes);
    }
    void roundTrip()
    {
        QFETCH(QString, main);
        QFETCH(QString, repo);
        QFETCH(QString, mainWritten);
        QFETCH(QString, repoWritten);
        Root root;
        QVERIFY(root.put("/etc/yum.conf", main.toLatin1()));
        QVERIFY(root.put("/etc/yum.repos.d/r.repo", repo.toLatin1()));
        Conf conf, again;
        BoxAnswerer answerer;
        QVERIFY(conf.io.read(nullptr));
        QString const first = describe(conf.io.repos());
        QVERIFY2(conf.io.write(nullptr), qPrintable(answerer.texts()));
        for (int pass = 0; pass < 2; ++pass) {
            QCOMPARE(root.get("/etc/yum.conf"), mainWritten.toLatin1());
            QCOMPARE(root.get("/etc/yum.repos.d/r.repo"), repoWritten.toLatin1());
            QVERIFY(again.io.read(nullptr));
            QCOMPARE(describe(again.io.repos()), first);
            QCOMPARE(again.io.mainText(), conf.io.mainText());
            QVERIFY(again.io.write(nullptr));
        }
        QCOMPARE(answerer.boxes.size(), 0);
    }

    void unusedFiles()
    {
        // Emptied ".repo" files go; other names, ".repo" directories and
        // files that appeared after the read stay.
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
        QVERIFY(root.put("/etc/yum.repos.d/late.repo", "[late]\n"));
        conf.io.repos().removeIf([](Entry const& e) { return QSL({ "a", "b", "d" }).contains(e.id); });
        QCOMPARE(conf.io.repos().size(), 2);
        Entry& m = conf.io.repos()[conf.io.repos()[0].id == "m" ? 0 : 1];
        m.file = "moved.repo";
        QVERIFY2(conf.io.write(nullptr), qPrintable(answerer.texts()));
        Files const after = root.snapshot();
        QCOMPARE(QSL(after.keyBegin(), after.keyEnd()),
            QSL({ "/etc/yum.conf", "/etc/yum.repos.d/b.repo", "/etc/yum.repos.d/dir.repo/keep.repo",
                "/etc/yum.repos.d/late.repo", "/etc/yum.repos.d/moved.repo", "/etc/yum.repos.d/notes.txt" }));
        QCOMPARE(root.get("/etc/yum.repos.d/b.repo") + root.get("/etc/yum.repos.d/moved.repo"),
            QByteArray("[c]\n[m]\n"));

        // Apply writes again without reading: a file made by the first write
        // and emptied by the second must go too.
        m.file = "again.repo";
        QVERIFY2(conf.io.write(nullptr), qPrintable(answerer.texts()));
        QVERIFY(!root.snapshot().contains("/etc/yum.repos.d/moved.repo"));
        QCOMPARE(root.get("/etc/yum.repos.d/again.repo"), QByteArray("[m]\n"));
        QCOMPARE(answerer.boxes.size(), 0);
    }

    void checkErrors_data()
    {
        // Identifiers in order (entry i is named i, from 1), and the entries written.
        columns<QString, QMessageBox::StandardButton, QString, QString>(
            "ids", "answer", "question", "written");
        QString const noId = "A repository has no Identifier.  It will be removed.";
        auto dups = [](char const* list) {
            return QStringLiteral("Two or more repositories have the same Identifier(s), %1.  Only one "
                                  "repository will be applied for each Identifier.  Proceed?")
                .arg(QLatin1String(list));
        };
        row("no identifier, yes", "a,,b", QMessageBox::Yes, noId + "  Proceed?", "1 3");
        row("no identifier, no", "a,", QMessageBox::No, noId + "  Proceed?", "");
        row("three times, every pair listed", "a,a,b,a", QMessageBox::Yes, dups("a, a, a"), "1 3");
        row("two identifiers twice", "b,a,b,a", QMessageBox::Yes, dups("b, a"), "1 2");
        row("both, on two lines", ",a,,a", QMessageBox::Yes, noId + "\n" + dups(", a"), "2");
    }
    void checkErrors()
    {
        QFETCH(QString, ids);
        QFETCH(QMessageBox::StandardButton, answer);
        QFETCH(QString, question);
        QFETCH(QString, written);
        Root root;
        QVERIFY(root.put("/etc/yum.conf", "[main]\n"));
        QVERIFY(root.put("/etc/yum.repos.d/old.repo", "[old]\n"));
        Conf conf;
        BoxAnswerer answerer({ answer });
        QVERIFY(conf.io.read(nullptr));
        QStringList const id = ids.split(',');
        conf.io.repos().clear(); // old.repo's section is deleted
        for (int i = 0; i < id.size(); ++i) {
            conf.io.repos().append(entry(id[i], i + 1, "all.repo"));
            conf.io.repos().last().name = QString::number(i + 1);
        }
        Files const before = root.snapshot();

        QCOMPARE(conf.io.write(nullptr), !written.isEmpty());
        QCOMPARE(answerer.boxes.size(), 1);
        QCOMPARE(answerer.boxes[0].text, question);
        QCOMPARE(answerer.boxes[0].defaultButton, QMessageBox::No);
        QCOMPARE(answerer.boxes[0].escapeButton, QMessageBox::No);
        if (written.isEmpty()) {
            QCOMPARE(root.snapshot(), before);
            return;
        }
        QStringList sections;
        for (QString const& n : written.split(' '))
            sections.append('[' + id[n.toInt() - 1] + "]\nname=" + n + '\n');
        QCOMPARE(root.get("/etc/yum.repos.d/all.repo"), sections.join('\n').toLatin1());
        QVERIFY(!root.snapshot().contains("/etc/yum.repos.d/old.repo"));
    }

    void refusals_data()
    {
        // An edit of the entry "e" read from e.repo, what another program
        // does meanwhile, and the start of the refusal ("" when written).
        columns<QString, QString, QString, QString>("field", "value", "meanwhile", "refusal");
        row("valid", "id", "e-1.x:$basearch", "", "");
        row("identifier dnf rejects", "id", "my repo", "", "The Identifier \"my repo\" contains \" \"");
        row("no URL", "baseurl", "", "", "Repository e has no URLs and no Mirror list URL");
        row("a metalink will do", "other", "metalink=https://m/\n", "", "");
        row("a section in the options", "other", "x=1\n[evil]\n", "", "The Other Options of repository e");
        row("half query form", "baseurl", "https://h/buffet?user=u&path=/x/", "",
            "Repository e has a buffet authentication URL in its URLs");
        row("half path form", "mirrorlist", "https://h/rhel/user=u/x/", "",
            "Repository e has a buffet authentication URL in its Mirror list URL");
        row("whole path form", "mirrorlist", "https://h/rhel/user=u/pass=p/x/", "", "");
        row("no Latin-1 for it", "name", "\u20ac", "latin1",
            "Repository configuration file <root>/etc/yum.repos.d/e.repo is written in Latin-1");
        row("file changed meanwhile", "name", "E", "change",
            "Repository configuration file <root>/etc/yum.repos.d/e.repo was changed by another program");
        row("file made meanwhile", "file", "new.repo", "make",
            "Repository configuration file <root>/etc/yum.repos.d/new.repo was made by another program");
    }
    void refusals()
    {
        QFETCH(QString, field);
        QFETCH(QString, value);
        QFETCH(QString, meanwhile);
        QFETCH(QString, refusal);
        Root root;
        QVERIFY(root.put("/etc/yum.conf", "[main]\n"));
        QVERIFY(root.put("/etc/yum.repos.d/e.repo",
            meanwhile == "latin1" ? "[e]\nname=caf\xe9\nbaseurl=file:///e/\n"
                                  : "[e]\nname=e\nbaseurl=file:///e/\n"));
        Conf conf;
        BoxAnswerer answerer;
        QVERIFY(conf.io.read(nullptr));
        Entry& e = conf.io.repos().first();
        QHash<QString, QString*> const fields { { "id", &e.id }, { "baseurl", &e.baseurl },
            { "mirrorlist", &e.mirrorlist }, { "other", &e.other }, { "name", &e.name },
            { "file", &e.file } };
        *fields.value(field) = value;
        if (meanwhile == "change")
            QVERIFY(root.put("/etc/yum.repos.d/e.repo", "[e]\nbaseurl=file:///theirs/\n"));
        if (meanwhile == "make")
            QVERIFY(root.put("/etc/yum.repos.d/new.repo", "[theirs]\n"));
        Files const before = root.snapshot();

        bool const written = conf.io.checkEntries(nullptr) && conf.io.write(nullptr);
        QCOMPARE(written, refusal.isEmpty());
        if (written)
            return;
        QCOMPARE(answerer.boxes.size(), 1);
        QCOMPARE(answerer.boxes[0].title, "SORVAN Repository Editor Error");
        QVERIFY2(answerer.texts().startsWith(QString(refusal).replace("<root>", root.path())),
            qPrintable(answerer.texts()));
        QCOMPARE(root.snapshot(), before);
    }

    void holdsPassword_data()
    {
        columns<QByteArray, bool>("content", "secret");
        row("buffet query form", QByteArray("baseurl=https://h/buffet?u=&p=&path=/x\n"), true);
        row("buffet without path", QByteArray("baseurl=https://h/buffet?u=a&p=b\n"), false);
        row("buffet path form", QByteArray("mirrorlist=https://h/rhel/u=a/p=b/list\n"), true);
        row("password key with blanks", QByteArray("[a]\npassword : x\n"), true);
        row("password in a comment text", QByteArray("# the password is elsewhere\n"), false);
        row("URL with password", QByteArray("baseurl=ftp://me:pw@h/x\n"), true);
        row("URL with user or port only", QByteArray("baseurl=ftp://me@h/x http://h:8080/x\n"), false);
    }
    void holdsPassword()
    {
        QFETCH(QByteArray, content);
        QTEST(YumConfIO::holdsPassword(content), "secret");
    }

    void linkAndTargetBothRead()
    {
        // A link and its target are read twice; dropping the duplicate must
        // not delete the target the link leads to.
        Root second;
        QVERIFY(second.put("/etc/yum.conf", "[main]\n"));
        QVERIFY(second.put("/etc/yum.repos.d/b.repo", "[b]\n"));
        QVERIFY(second.link("/etc/yum.repos.d/a.repo", "b.repo"));
        Conf linked;
        BoxAnswerer yes({ QMessageBox::Yes });
        QVERIFY(linked.io.read(nullptr));
        QVERIFY2(linked.io.write(nullptr), qPrintable(yes.texts()));
        QCOMPARE(yes.boxes.size(), 1); // the duplicate question
        QVERIFY(second.isLink("/etc/yum.repos.d/a.repo"));
        QCOMPARE(second.get("/etc/yum.repos.d/b.repo"), QByteArray("[b]\n"));
    }

    void failedWrites_data()
    {
        columns<QByteArray, QString, bool, QString>(
            "main", "newFile", "asNobody", "message"); // "<root>": the root
        QString const prefix = "Unable to write repository configuration file ";
        row("directory not writable", QByteArray("[main]\n"), "", true,
            prefix + "<root>/etc/yum.repos.d/a.repo" + errnoSuffix(EACCES));
        row("missing directory", QByteArray("[main]\n"), "/nowhere/new.repo", false,
            prefix + "<root>/nowhere/new.repo" + errnoSuffix(ENOENT));
        row("file is a directory", QByteArray("[main]\n"), "dir.repo", false,
            prefix + "<root>/etc/yum.repos.d/dir.repo" + errnoSuffix(EISDIR));
        row("no repository directory", QByteArray("[main]\nreposdir=\n"), "new.repo", false,
            prefix + "new.repo" + errnoSuffix(ENOENT));
    }
    void failedWrites()
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
        for (Entry& e : conf.io.repos())
            e.name += " changed";
        conf.io.repos().append(entry("new", 1, newFile));
        Files const before = root.snapshot();
        {
            std::optional<AsNobody> nobody;
            if (asNobody)
                nobody.emplace();
            QVERIFY(!conf.io.write(nullptr));
        }
        QCOMPARE(answerer.boxes.size(), 1);
        QCOMPARE(answerer.boxes[0].text, message.replace("<root>", root.path()));
        QCOMPARE(root.snapshot(), before); // nothing replaced, nothing left behind
        if (asNobody) { // once the cause is gone the same list is written
            QVERIFY2(conf.io.write(nullptr), qPrintable(answerer.texts()));
            QCOMPARE(root.get("/etc/yum.repos.d/a.repo"), QByteArray("[a]\nname=A changed\n"));
        }
    }

    void interrupted_data()
    {
        columns<Repo::FileReplacer::FailMode>("mode");
        row("failing step", Repo::FileReplacer::FailMode::Error);
        row("crash", Repo::FileReplacer::FailMode::Crash);
    }
    void interrupted()
    {
        // A write that fails or dies at any step leaves every file wholly
        // old or wholly new, replaced in order, emptied files deleted last.
        // The same write, uninterrupted, first.
        QFETCH(Repo::FileReplacer::FailMode, mode);
        ::umask(022);
        Files before, after;
        int operations;
        {
            Root root;
            buildInterruptible(root);
            before = root.snapshot();
            Conf conf;
            BoxAnswerer answerer;
            QVERIFY(conf.io.read(nullptr));
            editInterruptible(conf.io);
            QVERIFY2(conf.io.write(nullptr), qPrintable(answerer.texts()));
            operations = Repo::FileReplacer::operations();
            after = root.snapshot();
        }
        // Links written through to their targets; rewritten files keep owner
        // and mode, less group's and others' once they hold a password; new
        // ones holding a password are for root only.
        QByteArray const own = QByteArray::number(::geteuid()) + ':' + QByteArray::number(::getegid());
        QByteArray const owner = ::geteuid() == 0 ? "1234:5678" : own;
        QCOMPARE(after,
            Files({ { "/etc/dnf/dnf.conf",
                        "600 " + own + "\n[main]\ngpgcheck=1\n\n[inmain]\nname=In main renamed\n" },
                { "/etc/yum.conf", "-> dnf/dnf.conf" },
                { "/etc/yum.repos.d/a.repo",
                    "2600 " + owner + "\n[a1]\nname=A1 renamed\npassword=x\n\n[a2]\nname=A2\n" },
                { "/etc/yum.repos.d/l.repo", "-> /srv/l.repo" },
                { "/etc/yum.repos.d/moved.repo", "644 " + own + "\n[b]\nname=B\n" },
                { "/etc/yum.repos.d/secret.repo",
                    "600 " + own + "\n[secret]\nbaseurl=https://h/buffet?user=me&pass=pw&path=/x/\n" },
                { "/srv/l.repo", "644 " + own + "\n[l]\nname=L renamed\n" } }));
        QVERIFY2(operations >= 30, qPrintable(QString::number(operations)));
        QSL const replaced { "/etc/dnf/dnf.conf", "/etc/yum.repos.d/a.repo", "/srv/l.repo",
            "/etc/yum.repos.d/moved.repo", "/etc/yum.repos.d/secret.repo" };
        QSL const deleted { "/etc/yum.repos.d/b.repo", "/etc/yum.repos.d/c.repo" };
        QSet<QString> paths(before.keyBegin(), before.keyEnd());
        paths.unite(QSet<QString>(after.keyBegin(), after.keyEnd()));

        for (int failing = 1; failing <= operations; ++failing) {
            QByteArray const step = "step " + QByteArray::number(failing) + ": ";
            Root root;
            buildInterruptible(root);
            Conf conf;
            BoxAnswerer answerer;
            QVERIFY(conf.io.read(nullptr));
            editInterruptible(conf.io);
            Repo::FileReplacer::failAt(failing, mode);
            QVERIFY2(!conf.io.write(nullptr), step.constData());
            Repo::FileReplacer::failAt(0);
            QString const suffix = errnoSuffix(mode == Repo::FileReplacer::FailMode::Error ? ENOSPC : EIO);
            QVERIFY2(answerer.boxes.size() == 1
                    && QRegularExpression("^Unable to (write|unlink) repository configuration file /.*"
                        + QRegularExpression::escape(suffix) + '$')
                           .match(answerer.texts())
                           .hasMatch(),
                qPrintable(answerer.texts()));

            Files const all = root.snapshot();
            Files now = all;
            now.removeIf([](auto it) { return isTemporary(it.key()); });
            QCOMPARE(QSet<QString>(now.keyBegin(), now.keyEnd()) - paths, QSet<QString>());
            for (QString const& path : paths) {
                auto state = [&path](Files const& files) { return files.value(path, "<absent>"); };
                QVERIFY2(state(now) == state(before) || state(now) == state(after),
                    (step + path.toUtf8() + " holds " + state(now)).constData());
            }
            bool stillNew = true;
            for (QString const& path : replaced) {
                bool const isNew = now.value(path) == after.value(path);
                QVERIFY2(stillNew || !isNew, (step + path.toUtf8() + " replaced out of order").constData());
                stillNew = stillNew && isNew;
            }
            for (QString const& path : deleted)
                QVERIFY2(stillNew || now.contains(path),
                    (step + path.toUtf8() + " deleted too early").constData());

            // After a failure: cleaned up, and the list can then be written whole.
            // After a crash: what is left is never read as configuration.
            if (mode == Repo::FileReplacer::FailMode::Error) {
                QCOMPARE(temporaries(all), QSL());
                QVERIFY2(conf.io.write(nullptr), step.constData());
                QCOMPARE(root.snapshot(), after);
            } else {
                Conf reader;
                BoxAnswerer readerAnswerer({ QMessageBox::No });
                QVERIFY2(reader.io.read(nullptr), step.constData());
                QCOMPARE(readerAnswerer.boxes.size(), 0);
                for (Entry const& e : reader.io.repos())
                    QVERIFY2(!isTemporary(e.file), step.constData());
            }
        }
    }
};

QTEST_MAIN(TestYumConfWrite)
#include "tst_yumconfwrite.moc"
