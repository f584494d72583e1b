// yum's download and metadata meters on a real progress model and real bars;
// what is checked is what the bars and the model's slot table show.
#include "tests/progress/ProgressScript.h"
#include "tests/yumio/TestRows.h"
#include "widgets/HProgressBar.h"
#include "yumio/YumIOMeters.h"

#include <QThread>
#include <memory>

using Progress::Steps;

namespace
{

// The session's side: yum's probes as a test sets them, reports recorded
// instead of shown, and a model on two bars with a total scale on which act
// k ends at position k.
class Session : public YumIOMeters
{
public:
    explicit Session(bool multi = false, bool confirmed = false, bool withModel = true)
        : multi(multi)
    {
        applyConfirmed = confirmed;
        if (withModel)
            attach();
    }
    ~Session() override { model.reset(); } // before the bars it moves

    void attach(Steps length = 1000000)
    {
        model = std::make_unique<Progress::Object>(&total, &item);
        // Structural signals are never throttled: these records are exact.
        QObject::connect(
            model.get(), &Progress::Object::updateThreadsStateSig, model.get(),
            [this](Progress::ThreadsState const& threads) { slots = threads; }, Qt::DirectConnection);
        QObject::connect(
            model.get(), &Progress::Object::startItemSig, model.get(),
            [this](QString const& activity, Steps, Steps) { itemsStarted << activity; },
            Qt::DirectConnection);
        model->startTotal("Total", length);
        model->setupItemActs(length, length);
        itemsStarted.clear();
    }
    // Where the current item ends on the total scale: the next item starts
    // there, and a start is never throttled.
    int itemEnd()
    {
        model->startItem("probe", 0, 1);
        return total.value();
    }
    // Slot i as "state:activity:value/max".
    QString slot(unsigned i) const { return allSlots().value(i); }
    QStringList allSlots() const { return ProgressScript::slotRecords(slots); }

    using YumIOMeters::applyActCounter;
    using YumIOMeters::collectActCounter;

    HProgressBar total, item;
    std::unique_ptr<Progress::Object> model;
    bool multi, sqlite = false;
    int version = 41400, repos = 3;
    QStringList errors, itemsStarted;
    Progress::ThreadsState slots;

protected:
    Progress::Object* meterProgress() override { return model.get(); }
    void error(QString const& text) override { errors << text; }
    void warning(QString const& text) override { errors << text; }
    bool hasMultiProgress() override { return multi; }
    bool usesSqlite() override { return sqlite; }
    int yumVersion() override { return version; }
    int meterRepoCount() override { return repos; }
};

// Value signals pass once more than 9 ms have gone by since the last one.
void passThrottle()
{
    QThread::msleep(12);
}

int meterId[16];
void* meter(int i)
{
    return &meterId[i];
}

QString contents(char const* repo, int size, int state = 2, int value = 0)
{
    return QStringLiteral("%1:Downloading repository contents for %2:%3/%4")
        .arg(state)
        .arg(QLatin1String(repo))
        .arg(value)
        .arg(size);
}

} // namespace

class TestMeters : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Each branch of the act numbering, with 3 repositories.
    void actNumber_data()
    {
        columns<bool, int, int, int, int>("multi", "version", "act", "before", "after");
        // Multi-file meters: index acts in pairs from 1, contents from 2R,
        // reading from 4R, each phase below its base lifted to it.
        row("multi mirror list", true, 41400, 0, 2, 3);
        row("multi groups below base", true, 41400, 2, 0, 7);
        row("multi convert below base", true, 41400, 4, 8, 13);
        row("multi read two pairs above base", true, 41400, 5, 17, 18);
        // Without them, above 3.1.6: six acts per repository in turn.
        row("6 read", false, 30107, 5, 0, 6);
        row("6 contents second repository", false, 41400, 3, 7, 10);
        // Up to 3.1.6: index acts in pairs, the others in threes from 2R.
        row("old repomd after its mirror list", false, 30106, 1, 1, 2);
        row("old read below base", false, 30106, 5, 0, 10);
        row("old read above base", false, 30106, 5, 10, 13);
    }
    void actNumber()
    {
        QFETCH(bool, multi);
        QFETCH(int, act);
        Session session(multi);
        QFETCH(int, version);
        session.version = version;
        QFETCH(int, before);
        session.collectActCounter = before;
        session.collectStart(nullptr, "base", YumIOMeters::RepoAct(act), 0, 100);
        QCOMPARE(session.item.maximum(), 100);
        QTEST(session.itemEnd(), "after");
        QVERIFY(session.errors.isEmpty());
    }

    // %1 is the label of what is read, %2 the repository; the texts of the
    // fetched files' acts are pinned by grabMeterNames.
    void collectActivity_data()
    {
        columns<int, int, QString, QString>("label", "act", "name", "activity");
        // Only %2 in the text: the name lands there.
        row("convert named", 0, 4, "base", "Converting repository base");
        row("read named", 0, 5, "base", "Reading repository contents for base");
        row("file lists", 1, 3, "updates", "Downloading repository file lists for updates");
        row("other data", 2, 5, "", "Reading repository miscellaneous data");
        // A name is filled in once: markers inside it stay as they are.
        row("name with markers", 0, 3, "r%1%2", "Downloading repository contents for r%1%2");
        row("no such act", 0, 6, "base", "");
    }
    void collectActivity()
    {
        QFETCH(int, label);
        QFETCH(int, act);
        QFETCH(QString, name);
        Session session;
        label == 1       ? session.setCollectLabelFileLists()
            : label == 2 ? session.setCollectLabelOtherData()
                         : session.resetCollectMeters();
        session.collectStart(nullptr, name, YumIOMeters::RepoAct(act), 0, 10);
        QTEST(session.item.activity(), "activity");
        QCOMPARE(
            session.errors, act > 5 ? QStringList("Internal error: invalid collect act\n") : QStringList());
    }

    // What a fetched file is and which repository it belongs to.
    void grabMeterNames_data()
    {
        columns<QString, QString, QString>("fileName", "text", "activity");
        row("repomd", "/var/cache/yum/base/repomd.xml", "base/repomd",
            "Downloading repository repomd for base");
        row("metalink", "/c/fedora-1a2b/metalink.xml", "",
            "Downloading repository mirror list for fedora-1a2b");
        row("group file", "/c/extras/group_gz.xml.gz", "", "Downloading repository groups for extras");
        row("anything else", "/c/updates/primary.sqlite.bz2", "",
            "Downloading repository contents for updates");
        row("buffet", "/c/buffet?user=joe&pass=s3cret&path=base/repomd.xml", "",
            "Downloading repository repomd for base");
        row("one slash", "/repomd.xml", "", "Downloading repository repomd for /repomd.xml");
        row("text cut at its first slash", "", "updates/x/group_gz",
            "Downloading repository groups for updates");
    }
    void grabMeterNames()
    {
        QFETCH(QString, fileName);
        QFETCH(QString, text);
        Session session;
        session.collectGrabMeterStart(meter(0), fileName, 2048, text);
        QTEST(session.item.activity(), "activity");
        QCOMPARE(session.item.maximum(), 2048);
        QVERIFY(session.errors.isEmpty());
    }

    // Metadata reading reports the same item many times: only a new item
    // starts, the rest update.
    void collectProgress_data()
    {
        columns<bool, QString, QString, int, int>(
            "sqlite", "calls", "items", "max", "value"); // value -1: unchecked
        QString const md = "Converting repository";
        QString const up = "Reading repository contents for updates";
        row("MD Read starts, then updates", false, "5 100 MD Read|50 100 MD Read", md, 100, 50);
        row("MD Read with a new total", false, "5 100 MD Read|5 200 MD Read", md + '|' + md, 200, -1);
        row("MD Read after a named item", false, "1 100 updates|5 100 MD Read", up + '|' + md, 100, -1);
        row("both -1: a read of one, even with sqlite", true, "-1 -1 updates", up, 1, -1);
        row("named with sqlite converts", true, "0 10 updates", "Converting repository updates", 10, 0);
        row("same name and total updates", false, "1 10 updates|7 10 updates", up, 10, 7);
        row("new name, same total", false, "1 10 updates|1 10 base",
            up + "|Reading repository contents for base", 10, -1);
    }
    void collectProgress()
    {
        QFETCH(bool, sqlite);
        QFETCH(QString, calls);
        QFETCH(int, value);
        Session session;
        session.sqlite = sqlite;
        session.resetCollectMeters();
        for (QString const& call : calls.split('|')) {
            passThrottle(); // so that a swallowed update would show
            QStringList const p = call.split(' ');
            session.collectProgress(p[0].toLong(), p[1].toLong(), p.mid(2).join(' '));
        }
        QTEST(session.itemsStarted.join('|'), "items");
        QTEST(session.item.maximum(), "max");
        if (value >= 0)
            QCOMPARE(session.item.value(), value);
        QVERIFY(session.errors.isEmpty());
    }

    // A collect batch is set up by its first file, on the acts of its kind:
    // with two repositories, contents with sizes on acts 2R to 3R, without
    // on 3R to 4R; the batch ends on the act before its last.
    void collectBatchSetUp_data()
    {
        columns<bool, QString, qint64, QString, int, QString>(
            "multi", "text", "bytes", "batch", "end", "error");
        QString const three = "Downloading repository contents for 3 repositories";
        row("with sizes", true, "updates/primary", qint64(3000), three, 5, "");
        row("without sizes", true, "updates/primary", qint64(0), three, 7, "");
        row("groups", true, "updates/group_gz", qint64(3000), three, 5, "");
        row("an index", true, "updates/repomd.xml", qint64(3000), "Unknown", 0,
            "Internal error: Unexpected parallel grab type:\nupdates");
        row("no multi-file meters", false, "updates/primary", qint64(3000), "Unknown", 0,
            "Internal error: Unexpected parallel grab with no parallel support:\nupdates");
    }
    void collectBatchSetUp()
    {
        QFETCH(bool, multi);
        QFETCH(QString, text);
        QFETCH(qint64, bytes);
        QFETCH(QString, error);
        Session session(multi);
        session.repos = 2;
        session.collectGrabMultiMeterStart(3, bytes);
        QVERIFY(session.itemsStarted.isEmpty());
        session.collectGrabMeterStart(meter(0), QString(), 1000, text);
        session.collectGrabMeterStart(meter(1), QString(), 1000, "base/primary");
        QTEST(session.itemsStarted.join('|'), "batch");
        QCOMPARE(session.slots.count(), 3u);
        QCOMPARE(session.errors, error.isEmpty() ? QStringList() : QStringList(error));
        QTEST(session.itemEnd(), "end");
    }

    void collectBatchSlots()
    {
        Session session(true);
        session.collectGrabMultiMeterStart(3, 6000);
        session.collectGrabMeterStart(meter(0), QString(), 1000, "base/primary");
        session.collectGrabMeterStart(meter(1), QString(), 2000, "updates/primary");
        session.collectGrabMeterStart(meter(2), QString(), 3000, "extras/primary");
        QStringList const three { contents("base", 1000), contents("updates", 2000),
            contents("extras", 3000) };
        QCOMPARE(session.allSlots(), three);
        // One file more than announced takes the slot past the last and
        // passes; the next is refused and its reports are dropped.
        session.collectGrabMeterStart(meter(3), QString(), 500, "fourth/primary");
        QVERIFY(session.errors.isEmpty());
        session.collectGrabMeterStart(meter(4), QString(), 500, "fifth/primary");
        session.collectUpdate(meter(4), 400);
        session.collectFailure(meter(4));
        session.collectEnd(meter(4), 500);
        QCOMPARE(session.errors, QStringList("Internal error: Start: unexpected thread 4 > total files 3\n"));
        QCOMPARE(session.allSlots(), three);

        // Progress per slot; the item bar shows the sum.
        session.collectUpdate(meter(0), 400);
        session.collectUpdate(meter(1), 1500);
        passThrottle();
        session.collectUpdate(meter(2), 100);
        QCOMPARE(session.item.value(), 2000);
        // A failed file gives its bytes back and, started again under a new
        // meter, finds its own slot.
        session.collectFailure(meter(1));
        session.collectUpdate(meter(1), 1900);
        QCOMPARE(session.slot(1), contents("updates", 2000, 1));
        session.collectGrabMeterStart(meter(5), QString(), 2000, "updates/primary");
        session.collectUpdate(meter(5), 700);
        QCOMPARE(session.slot(1), contents("updates", 2000, 2, 700));
        // A finished file is complete; late reports do not reopen it.
        session.collectEnd(meter(0), 1000);
        session.collectUpdate(meter(0), 5);
        QCOMPARE(session.slot(0), contents("base", 1000, 3, 1000));
        session.collectGrabMultiMeterEnd();
        QCOMPARE(session.slots.count(), 0u);

        // The next batch numbers its slots afresh; a finished file that
        // comes again is a new file.
        session.collectGrabMultiMeterStart(2, 100);
        session.collectGrabMeterStart(meter(6), QString(), 50, "updates/primary");
        session.collectEnd(meter(6), 50);
        session.collectStart(meter(7), "updates", YumIOMeters::Contents, 20, 50);
        QCOMPARE(session.allSlots(),
            QStringList({ contents("updates", 50, 3, 50), contents("updates", 50, 2, 20) }));
        QCOMPARE(session.errors.size(), 1);
    }

    // A package's share of the scale: its size, at least 10240 without
    // multi-file meters, 10 for a header before confirmation.
    void applyStart_data()
    {
        columns<bool, bool, QString, QString, qint64, QString, int>(
            "confirmed", "multi", "fileName", "text", "size", "activity", "share");
        QString const pkg = "/var/cache/dnf/base-1a2b/packages/foo-1.0-1.i386.rpm";
        QString const foo = "Downloading foo-1.0-1.i386";
        row("small, one by one", true, false, pkg, "", qint64(500), foo, 10240);
        row("large, one by one", true, false, pkg, "", qint64(20000), foo, 20000);
        row("small, multi-file yum", true, true, pkg, "", qint64(500), foo, 500);
        row("header", false, false, "/c/base/headers/foo-1.0-1.i386.hdr", "", qint64(500), foo + " header",
            10);
        row("before confirmation", false, true, pkg, "", qint64(900000), foo + " header", 10);
        row("text path stripped", true, true, "", "Packages/b/bar-2.0-1.noarch.rpm", qint64(100),
            "Downloading bar-2.0-1.noarch", 100);
        row("buffet query", true, true, "buffet?user=joe&pass=s3cret&path=baz-1-1.x86_64.rpm", "",
            qint64(100), "Downloading baz-1-1.x86_64", 100);
        row("delta keeps its suffix", true, true, "/d/foo-1.0-2.i386.drpm", "", qint64(100),
            "Downloading foo-1.0-2.i386.drpm", 100);
    }
    void applyStart()
    {
        QFETCH(bool, confirmed);
        QFETCH(bool, multi);
        QFETCH(QString, fileName);
        QFETCH(QString, text);
        QFETCH(qint64, size);
        QFETCH(int, share);
        Session session(multi, confirmed);
        // Resolution has counted up to here before the downloads.
        session.applyActCounter = 300;
        session.model->startItemAct("Resolve Dependencies", 1, 300);
        session.applyGrabMeterStart(meter(0), fileName, size, text);
        QTEST(session.item.activity(), "activity");
        QCOMPARE(session.item.maximum(), int(size));
        QCOMPARE(session.total.value(), 300);
        passThrottle();
        session.applyGrabMeterUpdate(meter(0), size / 2);
        QCOMPARE(session.item.value(), int(size / 2));
        QCOMPARE(session.itemEnd(), 300 + share);
        QVERIFY(session.errors.isEmpty());
    }

    // The rebuild closes the downloads' acts and takes 2000 after them,
    // whatever file name comes with it.
    void applyDeltaRebuild()
    {
        Session session(false, true);
        session.attach(100000);
        session.model->setupItemActs(50000, 50000);
        session.applyGrabMeterStart(meter(0), "a-1-1.x86_64.rpm", 4000, QString());
        quint32 const counter = session.applyActCounter;
        session.applyGrabMeterStart(meter(1), "/x/a.rpm", 7, "<delta rebuild>");
        QCOMPARE(session.item.activity(), "Finishing RPM rebuild from deltas");
        QCOMPARE(session.item.maximum(), 7);
        QCOMPARE(session.total.value(), 50000);
        QCOMPARE(session.applyActCounter, counter);
        QCOMPARE(session.itemEnd(), 52000);
    }

    // A batch takes a download's share for its bytes, at least 10240 without
    // multi-file meters (the rules are applyStart's).
    void applyBatchShare()
    {
        Session session(false, true);
        session.applyActCounter = 100;
        session.model->startItemAct("Resolve Dependencies", 1, 100);
        session.applyGrabMultiMeterStart(2, 3000);
        QCOMPARE(session.item.maximum(), 3000);
        session.applyGrabMultiMeterEnd();
        // The next file is placed after the whole batch.
        session.applyGrabMeterStart(meter(0), "c-1-1.noarch.rpm", 10, QString());
        QCOMPARE(session.total.value(), 100 + 10240 - 1);
        QVERIFY(session.errors.isEmpty());
    }

    void applyBatchSlots()
    {
        Session session(true, true);
        session.applyGrabMultiMeterStart(3, 6000);
        for (int i : { 7, 8, 9 })
            session.applyGrabMultiMeterNew(meter(i));
        // Slots follow the order of announcement, not of start.
        session.applyGrabMeterStart(meter(9), "/p/c-3-1.noarch.rpm", 3000, QString());
        session.applyGrabMeterStart(meter(7), "/p/a-1-1.noarch.rpm", 1000, QString());
        QCOMPARE(session.allSlots(),
            QStringList(
                { "2:Downloading a-1-1.noarch:0/1000", "0::0/1", "2:Downloading c-3-1.noarch:0/3000" }));
        // Several slots: the item bar keeps naming the batch.
        QCOMPARE(session.item.activity(), "Downloading 3 packages");
        session.applyGrabMeterUpdate(meter(9), 1200);
        passThrottle();
        session.applyGrabMeterUpdate(meter(7), 300);
        QCOMPARE(session.item.value(), 1500);
        session.applyGrabMeterFailure(meter(9));
        QCOMPARE(session.slot(2), "1:Downloading c-3-1.noarch:0/3000");
        session.applyGrabMeterEnd(meter(7), 1000);
        QCOMPARE(session.slot(0), "3:Downloading a-1-1.noarch:1000/1000");
        session.applyGrabMultiMeterRemove(meter(7));
        session.applyGrabMeterStart(meter(8), "/p/b-2-1.noarch.rpm", 2000, QString());
        QCOMPARE(session.slot(1), "2:Downloading b-2-1.noarch:0/2000");
        session.applyGrabMultiMeterEnd();
        QCOMPARE(session.slots.count(), 0u);
        // The batch took its bytes on the scale, up to the act before its end.
        QCOMPARE(session.itemEnd(), 5999);
        // A batch of one names that file on the item bar.
        session.applyGrabMultiMeterStart(1, 10);
        session.applyGrabMultiMeterNew(meter(10));
        session.applyGrabMeterStart(meter(10), "/p/d-1-1.noarch.rpm", 10, QString());
        QCOMPARE(session.item.activity(), "Downloading d-1-1.noarch");
        QVERIFY(session.errors.isEmpty());
    }

    // Between operations there is no model: the reports move nothing, and
    // the counting goes on for the next operation.
    void withoutModel()
    {
        Session session(true, true, false);
        session.collectGrabMeterStart(meter(0), "/c/base/repomd.xml", 10, QString());
        session.collectProgress(5, 100, "MD Read");
        session.collectGrabMultiMeterStart(1, 10);
        session.collectGrabMeterStart(meter(1), QString(), 10, "base/primary");
        session.collectUpdate(meter(1), 5);
        session.collectFailure(meter(1));
        session.collectEnd(meter(1), 10);
        session.collectGrabMultiMeterEnd();
        session.applyGrabMeterStart(meter(2), "a.rpm", 700, QString());
        session.applyGrabMultiMeterStart(1, 300);
        session.applyGrabMultiMeterNew(meter(3));
        session.applyGrabMeterStart(meter(3), "b.rpm", 300, QString());
        session.applyGrabMeterFailure(meter(3));
        session.applyGrabMeterEnd(meter(3), 300);
        session.applyGrabMultiMeterEnd();
        QVERIFY(session.errors.isEmpty());
        QCOMPARE(session.applyActCounter, 1000u);
        QCOMPARE(session.collectActCounter, 14);
        session.attach(2000);
        session.applyGrabMeterStart(meter(5), "c.rpm", 100, QString());
        QCOMPARE(session.itemEnd(), 1100);
    }
};

QTEST_MAIN(TestMeters)
#include "tst_meters.moc"
