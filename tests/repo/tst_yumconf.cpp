// Reading and writing the yum configuration files on throw-away roots.
#include "ConfTestSupport.h"
#include "repo/FileReplacer.h"

#include <QSignalSpy>
#include <sys/fsuid.h>

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

bool readQuietly(Conf& conf)
{
    BoxAnswerer answerer; // a box would wait for an answer
    return conf.io.read(nullptr) && answerer.texts.isEmpty();
}

// A linked main file holding a section, a link into another directory, a
// file with an owner and a set-group-ID mode of its own, files that
// editInterruptible() empties, moves and adds, and files no write touches.
void buildInterruptible(Root const& root)
{
    root.put("/etc/dnf/dnf.conf", "# top\n[main]\ngpgcheck=1\n  \n\n[inmain]\nname=In main\n", 0600);
    root.make(
        { "/etc/yum.conf->dnf/dnf.conf", "a.repo=[a1]\nname=A1\n\n[a2]\nname=A2\n", "b.repo=[b]\nname=B\n",
            "c.repo=[c]\nname=C\n", "comments.repo=# only a comment\n", "notes.txt=[not-read]\n",
            "dir.repo/keep.repo=[inside]\n", "/srv/l.repo=[l]\nname=L\n", "l.repo->/srv/l.repo" });
    if (::geteuid() == 0)
        (void)::chown(local(root.host("a.repo")).constData(), 1234, 5678);
    (void)::chmod(local(root.host("a.repo")).constData(), 02640);
}

QString& field(Entry& e, QString const& key)
{
    QHash<QString, QString*> const fields { { "id", &e.id }, { "baseurl", &e.baseurl },
        { "mirrorlist", &e.mirrorlist }, { "other", &e.other }, { "name", &e.name }, { "file", &e.file } };
    return *fields.value(key);
}

// Sections go by position, keys in a fixed order; an entry with no file is
// named after itself, a relative file is in the first reposdir.
void editInterruptible(YumConfIO& conf)
{
    Repo::EntryList edited;
    for (Entry e : conf.repos()) {
        if (e.id == "b") {
            e.file = "moved.repo";
            e.baseurl = "ftp://me@h/x http://h:8080/x"; // a user or a port is no password
        } else if (e.id != "a2")
            e.name += " renamed";
        if (e.id == "a1")
            e.other = "password=x\n";
        if (e.id == "a2")
            edited.append(entry("between", 1.5, e.file));
        if (e.id != "c")
            edited.append(e);
    }
    edited << entry("main-a", 0.5, YumConfIO::fileName()) << entry("o", 1, "/srv//./o.repo")
           << entry("secret", 0);
    edited[edited.size() - 2].mirrorlist = "ftp://me:pw@h/x";
    Entry& secret = edited.last();
    secret.name = "S";
    secret.baseurl = "https://h/buffet?user=me&pass=pw&path=/x/\nfile:///s2/";
    secret.mirrorlist = "m";
    secret.enabled = Entry::Off;
    secret.gpgcheck = Entry::On;
    secret.other = "# note\ncost=5"; // gets its last line feed
    conf.setRepos(edited);
}

} // namespace

class TestYumConf : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Outside a Root the managed root does not exist: a test that forgot its
    // root fails instead of touching the host's /etc.
    void initTestCase() { qputenv("SORVANROOT", "/nonexistent/sorvan-test-root"); }

    void roundTrip_data()
    {
        // A .repo file, the name its first entry reads with, and what it is
        // written back as ("" unchanged); that reads and writes the same again.
        columns<QString, QString, QString>("repo", "name", "written");
        row("known keys first, only 0 is off",
            "[a]\n# why\ngpgcheck = 0 \nenabled=no\nexclude=k*\nmirrorlist=m\nName=x\nname=A\n", "A",
            "[a]\nname=A\nmirrorlist=m\nenabled=1\ngpgcheck=0\n# why\nexclude=k*\nName=x\n");
        row("URLs", "[a]\nbaseurl=u1 \t u2\n\tu3\n", "", "[a]\nbaseurl=u1\n        u2\n        u3\n");
        row("separators, later key wins", "[a]\nname=one\nname\t:\tA=b:c\nnames=x\nbaseurl u\n", "A=b:c",
            "[a]\nname=A=b:c\nnames=x\nbaseurl u\n");
        row("text before the first section, blank lines",
            "# head\nname=stray\n\n[a]\nname=A\n\n\nexclude=x\n  y\n\n[b]\n\n", "A",
            "[a]\nname=A\nexclude=x\n  y\n\n[b]\n");
        row("untrimmed, no last line feed", "[ x ]\nname = My repo ", "My repo ", "[ x ]\nname=My repo \n");
        row("latin-1", QString::fromLatin1("[a]\nname=caf\xe9\n"), QString::fromLatin1("caf\xe9"), "");
        row("utf-8", QString::fromLatin1("[a]\nname=caf\xc3\xa9\n"), QString::fromLatin1("caf\xe9"), "");
    }
    void roundTrip()
    {
        QFETCH(QString, repo);
        QFETCH(QString, written);
        Root root;
        QVERIFY(root.make({ "/etc/yum.conf=[main]\n", "r.repo=" + repo }));
        Conf conf;
        for (int pass = 0; pass < 2; ++pass) {
            QVERIFY(readQuietly(conf));
            QTEST(conf.io.repos().value(0).name, "name");
            BoxAnswerer answerer;
            QVERIFY2(conf.io.write(nullptr), qPrintable(answerer.texts.join('|')));
            QCOMPARE(root.get("r.repo"), (written.isEmpty() ? repo : written).toLatin1());
        }
    }

    void reading_data()
    {
        // Requests: "+pattern" --enablerepo, "-pattern" --disablerepo.  Read:
        // the main file, its settings that differ from the defaults, and each
        // entry with its session state and its file unless r.repo.
        columns<QSL, QString, QString>("files", "requests", "read");
        row("yum/yum.conf first",
            QSL { "/etc/yum/yum.conf=[main]\ncachedir=/c/$basearch\n", "/etc/yum.conf=[main]\ncachedir=/x\n",
                "/etc/dnf/dnf.conf=" },
            "", "/etc/yum/yum.conf cachedir=/c/$basearch");
        // Followed inside the managed root, never on the host, however many "..".
        row("absolute link",
            QSL { "/etc/dnf/dnf.conf=[main]\nreposdir = ,/a ,,\n  /b  /c,\n",
                "/etc/yum.conf->/../../etc/dnf/dnf.conf" },
            "", "/etc/yum.conf reposdir=/a /b /c");
        row("dangling link skipped",
            QSL { "/etc/yum/yum.conf->/nowhere", "/etc/dnf/dnf.conf=[main]\nreposdir=\n" }, "",
            "/etc/dnf/dnf.conf reposdir=");
        row("keys before [main] count, other sections' not; unset follows [main]",
            QSL { "/etc/yum.conf=gpgcheck=1\n[main]\nenabled=0\n[r]\nenabled=1\ngpgcheck=0\ncachedir=/x\n",
                "r.repo=[a]\n[b]\nenabled=1\n[c]\nenabled=0\n" },
            "", "/etc/yum.conf enabled=off gpgcheck=on r@1+ /etc/yum.conf a@1- b@2+ c@3-");
        row("later request wins, case-sensitive whole identifiers",
            QSL { "/etc/yum.conf=[main]\n", "r.repo=[test]\n[tex]\n[other]\n" }, "-te* +test -Test -tes",
            "/etc/yum.conf test@1+ tex@2- other@3+");
        // The main file's sections, then reposdir and directory order; only
        // regular "*.repo" files: opening a FIFO would wait for a writer forever.
        row("read order",
            QSL { "/r1/one.repo=[r1-one]\n", "/r1/zz.repo|", "/r2/b.repo=[r2-b1]\n[r2-b2]\n",
                "/r2/a.repo=[r2-a]\n", "/r2/.hidden.repo=[r2-hidden]\n", "/r2/notes.txt=[no]\n",
                "/r2/a.repo.rpmnew=[no]\n", "/r2/dir.repo/inside.repo=[no]\n", "default.repo=[no]\n",
                "/etc/yum.conf=[main]\nreposdir=/r2 /r1 /missing\n[m]\n[main]\n" },
            "",
            "/etc/yum.conf reposdir=/r2 /r1 /missing m@1+ /etc/yum.conf main@2+ /etc/yum.conf r2-hidden@1+ "
            "/r2/.hidden.repo r2-a@1+ /r2/a.repo r2-b1@1+ /r2/b.repo r2-b2@2+ /r2/b.repo r1-one@1+ "
            "/r1/one.repo");
    }
    void reading()
    {
        QFETCH(QSL, files);
        QFETCH(QString, requests);
        Root root;
        QVERIFY(root.make(files));
        Conf conf;
        for (QString const& request : requests.split(' ', Qt::SkipEmptyParts))
            conf.requests.append(YumRepoEnabled(request.startsWith('+'), request.mid(1)));
        QVERIFY(readQuietly(conf));
        QSL read { YumConfIO::fileName().remove(root.path()) };
        if (conf.io.cachedir() != root.host("/var/cache/dnf"))
            read << "cachedir=" + QString(conf.io.cachedir()).remove(root.path());
        if (conf.io.reposdirs() != QSL { root.host("/etc/yum.repos.d"), root.host("/etc/yum/repos.d") })
            read << "reposdir=" + conf.io.reposdirs().join(' ').remove(root.path());
        if (!conf.io.mainEnabled())
            read << "enabled=off";
        if (conf.io.mainGpgcheck())
            read << "gpgcheck=on";
        for (Entry const& e : conf.io.repos())
            read << e.id + '@' + QString::number(e.position) + (conf.session.value(e.id) ? '+' : '-')
                    + (e.file == root.host("r.repo") ? QString() : ' ' + QString(e.file).remove(root.path()));
        QTEST(read.join(' '), "read");
    }

    void refusals_data()
    {
        // Files for Root::make(), the main file and e.repo added where none under /etc
        // is named; edits of the first entry, "+id=file" to add one, "!path=content"
        // for another program's change; the start of the refusal, "" when written.
        columns<QSL, QString, QString, QString>("files", "edits", "unreadable", "refusal");
        QString const cannotWrite = "Unable to write repository configuration file <root>";
        row("no main file", QSL { "/etc/yum.repos.d/a.repo=[a]\n" }, "", "",
            "Unable to read yum configuration file <root>/etc/dnf/dnf.conf" + errnoSuffix(ENOENT));
        row("malformed section", QSL { "a.repo=[a]\n[c\n" }, "", "",
            "Malformed section name in line: [c" + errnoSuffix(0));
        row("dangling repo link", QSL { "gone.repo->missing.repo" }, "", "",
            "Unable to stat repository configuration file <root>/etc/yum.repos.d/gone.repo"
                + errnoSuffix(ENOENT));
        row("unreadable repo file", QSL { "b.repo=[b]\n" }, "", "b.repo",
            "Unable to read repository configuration file <root>/etc/yum.repos.d/b.repo"
                + errnoSuffix(EACCES));
        row("valid", QSL(), "id=e-1.x:$basearch; mirrorlist=https://h/rhel/user=u/pass=p/x/", "", "");
        row("identifier dnf rejects", QSL(), "id=my repo", "", "The Identifier \"my repo\" contains \" \"");
        row("no URL", QSL(), "baseurl=", "", "Repository e has no URLs and no Mirror list URL");
        row("a section in the options", QSL(), "other=x=1\n[evil]\n", "",
            "The Other Options of repository e");
        row("half query form", QSL(), "baseurl=https://h/buffet?user=u&path=/x/", "",
            "Repository e has a buffet authentication URL in its URLs");
        row("no Latin-1 for it",
            QSL { QString::fromLatin1("e.repo=[e]\nname=caf\xe9\nbaseurl=file:///e/\n") }, "name=\u20ac", "",
            "Repository configuration file <root>/etc/yum.repos.d/e.repo is written in Latin-1");
        row("file changed meanwhile", QSL(), "name=E; !e.repo=[e]\nbaseurl=file:///theirs/\n", "",
            "Repository configuration file <root>/etc/yum.repos.d/e.repo was changed by another program");
        row("file made meanwhile", QSL(), "file=new.repo; !new.repo=[theirs]\n", "",
            "Repository configuration file <root>/etc/yum.repos.d/new.repo was made by another program");
        row("missing directory", QSL(), "name=E; +new=/nowhere/new.repo", "",
            cannotWrite + "/nowhere/new.repo" + errnoSuffix(ENOENT));
        row("no identifier, Return is no", QSL(), "+=all.repo", "",
            "A repository has no Identifier.  It will be removed.  Proceed?");
        row("no repository directory", QSL { "/etc/yum.conf=[main]\nreposdir=\n" }, "+new=new.repo", "",
            "Unable to write repository configuration file new.repo" + errnoSuffix(ENOENT));
    }
    void refusals()
    {
        QFETCH(QSL, files);
        QFETCH(QString, edits);
        QFETCH(QString, unreadable);
        QFETCH(QString, refusal);
        Root root;
        if (files.isEmpty())
            files << "e.repo=[e]\nname=e\nbaseurl=file:///e/\n";
        if (!files.first().startsWith("/etc/"))
            files.prepend("/etc/yum.conf=[main]\n");
        QVERIFY(root.make(files));
        Conf conf;
        QSignalSpy changed(&conf.io, &YumConfIO::changed);
        BoxAnswerer answerer;
        if (!unreadable.isEmpty()) { // read as a user the file's mode keeps out
            QCOMPARE(::chmod(local(root.host(unreadable)).constData(), 0600), 0);
            ::setfsuid(65534);
        }
        bool const read = conf.io.read(nullptr);
        ::setfsuid(::geteuid());
        QCOMPARE(changed.count(), int(read));
        for (QString const& edit : edits.split("; ", Qt::SkipEmptyParts)) {
            QString const key = edit.section('=', 0, 0), value = edit.section('=', 1);
            if (key.startsWith('!')) {
                QVERIFY(root.make({ edit.mid(1) }));
            } else if (key.startsWith('+')) {
                conf.io.repos().append(entry(key.mid(1), 1, value));
                conf.io.repos().last().baseurl = "file:///n/";
            } else {
                field(conf.io.repos().first(), key) = value;
            }
        }
        Files const before = root.snapshot();
        bool const written = read && conf.io.write(nullptr, true);
        QCOMPARE(written, refusal.isEmpty());
        if (written)
            return;
        // Writing back a configuration not read whole would delete the files not read.
        if (!read)
            QVERIFY(!conf.io.write(nullptr) && answerer.texts.last().startsWith("Internal error: "));
        QVERIFY2(answerer.texts.join('|').startsWith(refusal.replace("<root>", root.path())),
            qPrintable(answerer.texts.join('|')));
        QCOMPARE(root.snapshot(), before);
    }

    void duplicates()
    {
        // Answered yes, the first entry of each identifier is written, one without is
        // dropped; the duplicate a link and its target make must not cost the target.
        Root root;
        QVERIFY(root.make({ "/etc/yum.conf=[main]\n", "b.repo=[b]\n", "a.repo->b.repo" }));
        Conf conf;
        QVERIFY(readQuietly(conf));
        for (char const* id : { "x", "", "x", "y", "x" }) {
            conf.io.repos().append(entry(id, conf.io.repos().size(), "all.repo"));
            conf.io.repos().last().name = QString::number(conf.io.repos().size());
        }
        BoxAnswerer yes({ QMessageBox::Yes });
        QVERIFY2(conf.io.write(nullptr), qPrintable(yes.texts.join('|')));
        QCOMPARE(yes.texts.join('|'),
            "A repository has no Identifier.  It will be removed.\nTwo or more repositories have the same "
            "Identifier(s), b, x, x, x.  Only one repository will be applied for each Identifier.  Proceed?");
        QCOMPARE(root.get("all.repo"), "[x]\nname=3\n\n[y]\nname=6\n");
        QCOMPARE(root.snapshot().value("/etc/yum.repos.d/a.repo"), "-> b.repo");
        QCOMPARE(root.get("b.repo"), "[b]\n");
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
        // Step 0: the same write, uninterrupted.
        QFETCH(Repo::FileReplacer::FailMode, mode);
        ::umask(022);
        QByteArray const own = QByteArray::number(::geteuid()) + ':' + QByteArray::number(::getegid());
        QByteArray const owner = ::geteuid() == 0 ? "1234:5678" : own;
        QSL const replaced { "/etc/dnf/dnf.conf", "/etc/yum.repos.d/a.repo", "/srv/l.repo",
            "/etc/yum.repos.d/moved.repo", "/etc/yum.repos.d/secret.repo", "/srv/o.repo" };
        Files before, after;
        int operations = 0;
        for (int failing = 0; failing == 0 || failing <= operations; ++failing) {
            QByteArray const step = "step " + QByteArray::number(failing) + ": ";
            Root root;
            buildInterruptible(root);
            before = root.snapshot();
            Conf conf;
            QVERIFY(readQuietly(conf));
            editInterruptible(conf.io);
            QVERIFY(root.make({ "late.repo=[late]\n" })); // not read, so kept
            BoxAnswerer answerer;
            Repo::FileReplacer::failAt(failing, mode);
            if (failing == 0) {
                QVERIFY2(conf.io.write(nullptr), qPrintable(answerer.texts.join('|')));
                operations = Repo::FileReplacer::operations();
                QVERIFY2(operations >= 30, qPrintable(QString::number(operations)));
                after = root.snapshot();
                // Links written through; rewritten files keep owner and mode, less group's and
                // others' once they hold a password, as new ones do; emptied ".repo" files go.
                QByteArray const dir = "/etc/yum.repos.d/";
                QCOMPARE(after,
                    Files({ { "/etc/dnf/dnf.conf",
                                "600 " + own
                                    + "\n# top\n[main]\ngpgcheck=1\n  \n\n[main-a]\n\n[inmain]\nname=In main "
                                      "renamed\n" },
                        { "/etc/yum.conf", "-> dnf/dnf.conf" },
                        { dir + "a.repo",
                            "2600 " + owner
                                + "\n[a1]\nname=A1 renamed\npassword=x\n\n[between]\n\n[a2]\nname=A2\n" },
                        { dir + "dir.repo/keep.repo", "644 " + own + "\n[inside]\n" },
                        { dir + "l.repo", "-> /srv/l.repo" },
                        { dir + "late.repo", "644 " + own + "\n[late]\n" },
                        { dir + "moved.repo",
                            "644 " + own + "\n[b]\nname=B\nbaseurl=ftp://me@h/x http://h:8080/x\n" },
                        { dir + "notes.txt", "644 " + own + "\n[not-read]\n" },
                        { dir + "secret.repo",
                            "600 " + own
                                + "\n[secret]\nname=S\nbaseurl=https://h/buffet?user=me&pass=pw&path=/x/\n"
                                  "        file:///s2/\nmirrorlist=m\nenabled=0\ngpgcheck=1\n# "
                                  "note\ncost=5\n" },
                        { "/srv/l.repo", "644 " + own + "\n[l]\nname=L renamed\n" },
                        { "/srv/o.repo", "600 " + own + "\n[o]\nmirrorlist=ftp://me:pw@h/x\n" } }));
                // Written again without a read, a file the first write made and the second empties goes too.
                QCOMPARE(conf.io.repos().last().file, root.host("secret.repo"));
                conf.io.repos().last().file = "again.repo";
                QVERIFY2(conf.io.write(nullptr), qPrintable(answerer.texts.join('|')));
                QVERIFY(QFile::exists(root.host("again.repo")) && !QFile::exists(root.host("secret.repo")));
                continue;
            }
            QVERIFY2(!conf.io.write(nullptr), step.constData());
            Repo::FileReplacer::failAt(0);
            QString const suffix = errnoSuffix(mode == Repo::FileReplacer::FailMode::Error ? ENOSPC : EIO);
            QVERIFY2(answerer.texts.join('|').startsWith("Unable to ")
                    && answerer.texts.join('|').endsWith(suffix),
                qPrintable(answerer.texts.join('|')));

            Files now = root.snapshot();
            qsizetype const temporaries = now.removeIf([](auto it) { return isTemporary(it.key()); });
            bool stillNew = true; // replaced files are a prefix of `replaced`
            for (QString const& path : replaced) {
                bool const isNew = now.value(path) == after.value(path);
                QVERIFY2(stillNew || !isNew, (step + path.toUtf8() + " replaced out of order").constData());
                stillNew = stillNew && isNew;
            }
            Files all = before;
            all.insert(after);
            all.insert(now);
            for (QString const& path : all.keys()) {
                auto state = [&path](Files const& files) { return files.value(path, "<absent>"); };
                QVERIFY2(state(now) == state(before) || state(now) == state(after),
                    (step + path.toUtf8() + " holds " + state(now)).constData());
            }
            for (QString const& path : before.keys()) {
                if (!after.contains(path))
                    QVERIFY2(stillNew || now.contains(path),
                        (step + path.toUtf8() + " deleted too early").constData());
            }

            // After a failure: cleaned up, and the list can then be written whole.
            // After a crash: what is left is never read as configuration.
            if (mode == Repo::FileReplacer::FailMode::Error) {
                QCOMPARE(temporaries, 0);
                QVERIFY2(conf.io.write(nullptr), step.constData());
                QCOMPARE(root.snapshot(), after);
            } else {
                Conf reader;
                QVERIFY2(readQuietly(reader), step.constData());
                for (Entry const& e : reader.io.repos())
                    QVERIFY2(!isTemporary(e.file), step.constData());
            }
        }
    }
};

QTEST_MAIN(TestYumConf)
#include "tst_yumconf.moc"
