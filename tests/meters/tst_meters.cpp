// yum's download and metadata meters driven through a real progress model and
// real bars, as the session drives them once it has converted yum's
// arguments; what is checked is what the bars and the model's slot table show.

#include "progress/Progress.h"
#include "widgets/HProgressBar.h"
#include "yumio/YumIOMeters.h"

#include <QCoreApplication>
#include <QSemaphore>
#include <QTest>
#include <QThread>
#include <memory>

using Progress::Steps;
using Progress::ThreadsState;
using Progress::ThreadState;

namespace
{

// The session's side of the seam: yum's probes as a test sets them, reports
// recorded instead of shown, and a model on two bars.
class Session : public YumIOMeters
{
public:
    explicit Session(bool ownModel = true)
    {
        if (ownModel)
            attach(std::make_unique<Progress::Object>(&total, &item));
    }

    ~Session() override
    {
        // The model goes before the bars it moves.
        model.reset();
    }

    void attach(std::unique_ptr<Progress::Object> object)
    {
        model = std::move(object);
        // Structural signals are never throttled: these records are exact.
        QObject::connect(
            model.get(), &Progress::Object::updateThreadsStateSig, model.get(),
            [this](ThreadsState const& threads) { slots = threads; }, Qt::DirectConnection);
        QObject::connect(
            model.get(), &Progress::Object::startItemSig, model.get(),
            [this](QString const& activity, Steps, Steps) { itemsStarted << activity; },
            Qt::DirectConnection);
    }

    // A total scale on which act k ends at position k.
    void oneToOneScale(Steps length = 1000000)
    {
        model->startTotal(QStringLiteral("Total"), length);
        model->setupItemActs(length, length);
        itemsStarted.clear();
    }

    // Where the current item ends on the total scale: the next item starts
    // there, and its start is never throttled.
    int itemEnd()
    {
        model->startItem(QStringLiteral("probe"), 0, 1);
        return total.value();
    }

    using YumIOMeters::applyActCounter;
    using YumIOMeters::applyConfirmed;
    using YumIOMeters::collectActCounter;

    HProgressBar total;
    HProgressBar item;
    std::unique_ptr<Progress::Object> model;

    bool multi = false;
    bool sqlite = false;
    int version = 41400;
    int repos = 3;

    QStringList errors;
    QStringList warnings;
    ThreadsState slots;
    QStringList itemsStarted;

protected:
    Progress::Object* meterProgress() override { return model.get(); }
    void error(QString const& text) override { errors << text; }
    void warning(QString const& text) override { warnings << text; }
    bool hasMultiProgress() override { return multi; }
    bool usesSqlite() override { return sqlite; }
    int yumVersion() override { return version; }
    int meterRepoCount() override { return repos; }
};

// Value signals pass once more than 9 ms have gone by since the model's last
// one or the start of its item; waiting longer only makes that more certain.
void passThrottle()
{
    QThread::msleep(12);
}

QString slotText(ThreadState const& slot)
{
    return QStringLiteral("%1:%2:%3/%4").arg(int(slot.state)).arg(slot.name).arg(slot.value).arg(slot.max);
}

QStringList slotTexts(ThreadsState const& threads)
{
    QStringList texts;
    for (unsigned i = 0; i < threads.count(); ++i)
        texts << slotText(threads[i]);
    return texts;
}

int meterId[16];
void* meter(int i)
{
    return &meterId[i];
}

} // namespace

class TestMeters : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void actNumber_data();
    void actNumber();
    void collectActivity_data();
    void collectActivity();
    void grabMeterNames_data();
    void grabMeterNames();
    void collectProgress_data();
    void collectProgress();
    void collectBatchSetUp_data();
    void collectBatchSetUp();
    void collectBatchSlots();
    void collectOutsideBatchMovesOneItem();
    void applyStart_data();
    void applyStart();
    void applyOneByOne();
    void applyDeltaRebuild();
    void applyBatchShare_data();
    void applyBatchShare();
    void applyBatchSlots();
    void withoutModel();
    void workerThreadReachesBars();
};

void TestMeters::actNumber_data()
{
    QTest::addColumn<bool>("multi");
    QTest::addColumn<int>("version");
    QTest::addColumn<int>("repos");
    QTest::addColumn<int>("act");
    QTest::addColumn<int>("before");
    QTest::addColumn<int>("after");

    // Multi-file meters: index acts in pairs from 1, contents from 2R, reading
    // from 4R, each phase below its base lifted to it.
    QTest::newRow("multi mirror list first") << true << 41400 << 3 << 0 << 0 << 1;
    QTest::newRow("multi repomd first") << true << 41400 << 3 << 1 << 0 << 2;
    QTest::newRow("multi mirror list after a pair") << true << 41400 << 3 << 0 << 2 << 3;
    QTest::newRow("multi repomd after its mirror list") << true << 41400 << 3 << 1 << 3 << 4;
    QTest::newRow("multi groups below base") << true << 41400 << 3 << 2 << 0 << 7;
    QTest::newRow("multi contents below base") << true << 41400 << 3 << 3 << 4 << 8;
    QTest::newRow("multi contents above base") << true << 41400 << 3 << 3 << 9 << 10;
    QTest::newRow("multi convert below base") << true << 41400 << 3 << 4 << 8 << 13;
    QTest::newRow("multi read two pairs above base") << true << 41400 << 3 << 5 << 17 << 18;
    QTest::newRow("multi one repository contents") << true << 41400 << 1 << 3 << 0 << 4;
    // Without them, above 3.1.6: six acts per repository in turn.
    QTest::newRow("6 mirror list") << false << 30107 << 3 << 0 << 0 << 1;
    QTest::newRow("6 read") << false << 30107 << 3 << 5 << 0 << 6;
    QTest::newRow("6 contents second repository") << false << 41400 << 3 << 3 << 7 << 10;
    QTest::newRow("6 mirror list next repository") << false << 41400 << 3 << 0 << 6 << 7;
    QTest::newRow("6 convert same repository") << false << 41400 << 3 << 4 << 11 << 11;
    // Up to 3.1.6: index acts in pairs, the others in threes from 2R.
    QTest::newRow("old mirror list") << false << 30106 << 3 << 0 << 0 << 1;
    QTest::newRow("old repomd after its mirror list") << false << 30106 << 3 << 1 << 1 << 2;
    QTest::newRow("old groups below base") << false << 30106 << 3 << 2 << 0 << 7;
    QTest::newRow("old contents below base") << false << 30106 << 3 << 3 << 2 << 8;
    QTest::newRow("old read below base") << false << 30106 << 3 << 5 << 0 << 10;
    QTest::newRow("old groups above base") << false << 30106 << 3 << 2 << 10 << 10;
    QTest::newRow("old read above base") << false << 30106 << 3 << 5 << 10 << 13;
    QTest::newRow("old contents two repositories") << false << 30106 << 2 << 3 << 8 << 9;
}

void TestMeters::actNumber()
{
    QFETCH(bool, multi);
    QFETCH(int, version);
    QFETCH(int, repos);
    QFETCH(int, act);
    QFETCH(int, before);
    QFETCH(int, after);

    Session session;
    session.multi = multi;
    session.version = version;
    session.repos = repos;
    session.oneToOneScale();
    session.collectActCounter = before;

    session.collectStart(nullptr, QStringLiteral("base"), YumIOMeters::RepoAct(act), 0, 100);

    // The item claims the scale up to its act.
    QCOMPARE(session.itemsStarted.size(), 1);
    QCOMPARE(session.item.maximum(), 100);
    QCOMPARE(session.itemEnd(), after);
    QVERIFY(session.errors.isEmpty());
}

void TestMeters::collectActivity_data()
{
    QTest::addColumn<QString>("label");
    QTest::addColumn<int>("act");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("activity");
    QTest::addColumn<QStringList>("errors");

    QStringList const none;
    QTest::newRow("mirror list") << "contents" << 0 << ""
                                 << "Downloading repository mirror list" << none;
    QTest::newRow("mirror list named") << "contents" << 0 << "base"
                                       << "Downloading repository mirror list for base" << none;
    QTest::newRow("repomd") << "contents" << 1 << ""
                            << "Downloading repository repomd" << none;
    QTest::newRow("repomd named") << "contents" << 1 << "base"
                                  << "Downloading repository repomd for base" << none;
    QTest::newRow("groups") << "contents" << 2 << ""
                            << "Downloading repository groups" << none;
    QTest::newRow("groups named") << "contents" << 2 << "base"
                                  << "Downloading repository groups for base" << none;
    QTest::newRow("contents") << "contents" << 3 << ""
                              << "Downloading repository contents" << none;
    QTest::newRow("contents named") << "contents" << 3 << "base"
                                    << "Downloading repository contents for base" << none;
    QTest::newRow("convert") << "contents" << 4 << ""
                             << "Converting repository" << none;
    QTest::newRow("convert named") << "contents" << 4 << "base"
                                   << "Converting repository base" << none;
    QTest::newRow("read") << "contents" << 5 << ""
                          << "Reading repository contents" << none;
    QTest::newRow("read named") << "contents" << 5 << "base"
                                << "Reading repository contents for base" << none;
    QTest::newRow("file lists") << "file lists" << 3 << "updates"
                                << "Downloading repository file lists for updates" << none;
    QTest::newRow("file lists read") << "file lists" << 5 << ""
                                     << "Reading repository file lists" << none;
    QTest::newRow("other data") << "miscellaneous data" << 5 << "updates"
                                << "Reading repository miscellaneous data for updates" << none;
    QTest::newRow("other data, not in label") << "miscellaneous data" << 1 << "updates"
                                              << "Downloading repository repomd for updates" << none;
    // A name is filled in once: markers inside it stay as they are.
    QTest::newRow("name with markers") << "contents" << 3 << "r%1%2"
                                       << "Downloading repository contents for r%1%2" << none;
    QTest::newRow("no such act") << "contents" << 6 << "base"
                                 << "" << QStringList { "Internal error: invalid collect act\n" };
}

void TestMeters::collectActivity()
{
    QFETCH(QString, label);
    QFETCH(int, act);
    QFETCH(QString, name);
    QFETCH(QString, activity);
    QFETCH(QStringList, errors);

    Session session;
    session.oneToOneScale();
    if (label == QLatin1String("file lists"))
        session.setCollectLabelFileLists();
    else if (label == QLatin1String("miscellaneous data"))
        session.setCollectLabelOtherData();
    else
        session.resetCollectMeters();

    session.collectStart(nullptr, name, YumIOMeters::RepoAct(act), 0, 10);
    QCOMPARE(session.item.activity(), activity);
    QCOMPARE(session.errors, errors);
}

void TestMeters::grabMeterNames_data()
{
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("activity");

    QTest::newRow("repomd in its cache directory") << "/var/cache/yum/base/repomd.xml"
                                                   << "base/repomd"
                                                   << "Downloading repository repomd for base";
    QTest::newRow("metalink") << "/var/cache/dnf/fedora-1a2b/metalink.xml"
                              << ""
                              << "Downloading repository mirror list for fedora-1a2b";
    QTest::newRow("group file") << "/var/cache/yum/extras/group_gz.xml.gz"
                                << ""
                                << "Downloading repository groups for extras";
    QTest::newRow("anything else is contents") << "/var/cache/yum/updates/primary.sqlite.bz2"
                                               << ""
                                               << "Downloading repository contents for updates";
    QTest::newRow("buffet directory") << "/var/cache/yum/buffet?user=joe&pass=s3cret&path=base/repomd.xml"
                                      << ""
                                      << "Downloading repository repomd for base";
    QTest::newRow("buffe directory") << "/c/buffe?u=joe&p=s3cret&path=extras/primary.xml.gz"
                                     << ""
                                     << "Downloading repository contents for extras";
    QTest::newRow("one slash: the name stays whole") << "/repomd.xml"
                                                     << ""
                                                     << "Downloading repository repomd for /repomd.xml";
    QTest::newRow("no slash") << "repomd.xml"
                              << ""
                              << "Downloading repository contents for repomd.xml";
    QTest::newRow("text stands in") << ""
                                    << "updates/primary_db"
                                    << "Downloading repository contents for updates";
    QTest::newRow("text without a slash") << ""
                                          << "updates"
                                          << "Downloading repository contents for updates";
    QTest::newRow("text cut at its first slash") << ""
                                                 << "updates/x/group_gz"
                                                 << "Downloading repository groups for updates";
    QTest::newRow("neither") << ""
                             << ""
                             << "Downloading repository contents";
}

void TestMeters::grabMeterNames()
{
    QFETCH(QString, fileName);
    QFETCH(QString, text);
    QFETCH(QString, activity);

    Session session;
    session.oneToOneScale();
    session.collectGrabMeterStart(meter(0), fileName, 2048, text);
    QCOMPARE(session.item.activity(), activity);
    QCOMPARE(session.item.maximum(), 2048);
    QCOMPARE(session.item.value(), 0);
    QVERIFY(session.errors.isEmpty());
}

void TestMeters::collectProgress_data()
{
    QTest::addColumn<bool>("sqlite");
    // One call per entry: "current total name".
    QTest::addColumn<QStringList>("calls");
    QTest::addColumn<QStringList>("items");
    QTest::addColumn<int>("tail");
    // -1: not checked.  A start's own value comes right after the item
    // started, where the model holds value signals back.
    QTest::addColumn<int>("value");

    QTest::newRow("MD Read starts, then updates")
        << false << QStringList { "5 100 MD Read", "50 100 MD Read" }
        << QStringList { "Converting repository" } << 100 << 50;
    QTest::newRow("MD Read with a new total starts again")
        << false << QStringList { "5 100 MD Read", "5 200 MD Read" }
        << QStringList { "Converting repository", "Converting repository" } << 200 << -1;
    QTest::newRow("MD Read after a named item starts")
        << false << QStringList { "1 100 primary", "5 100 MD Read" }
        << QStringList { "Reading repository contents for primary", "Converting repository" } << 100 << -1;
    QTest::newRow("both -1: a read of one")
        << false << QStringList { "-1 -1 primary" }
        << QStringList { "Reading repository contents for primary" } << 1 << -1;
    QTest::newRow("both -1 under sqlite still reads")
        << true << QStringList { "-1 -1 primary" }
        << QStringList { "Reading repository contents for primary" } << 1 << -1;
    QTest::newRow("both -1 twice starts twice") << false << QStringList { "-1 -1 primary", "-1 -1 primary" }
                                                << QStringList { "Reading repository contents for primary",
                                                       "Reading repository contents for primary" }
                                                << 1 << -1;
    QTest::newRow("only one -1 is a measure")
        << false << QStringList { "-1 30 primary" }
        << QStringList { "Reading repository contents for primary" } << 30 << -1;
    QTest::newRow("named without sqlite reads")
        << false << QStringList { "0 10 updates" }
        << QStringList { "Reading repository contents for updates" } << 10 << 0;
    QTest::newRow("named with sqlite converts") << true << QStringList { "0 10 updates" }
                                                << QStringList { "Converting repository updates" } << 10 << 0;
    QTest::newRow("same name and total updates")
        << false << QStringList { "1 10 updates", "7 10 updates" }
        << QStringList { "Reading repository contents for updates" } << 10 << 7;
    QTest::newRow("same name, new total starts") << false << QStringList { "1 10 updates", "1 20 updates" }
                                                 << QStringList { "Reading repository contents for updates",
                                                        "Reading repository contents for updates" }
                                                 << 20 << -1;
    QTest::newRow("new name, same total starts")
        << false << QStringList { "1 10 updates", "1 10 base" }
        << QStringList { "Reading repository contents for updates", "Reading repository contents for base" }
        << 10 << -1;
}

void TestMeters::collectProgress()
{
    QFETCH(bool, sqlite);
    QFETCH(QStringList, calls);
    QFETCH(QStringList, items);
    QFETCH(int, tail);
    QFETCH(int, value);

    Session session;
    session.sqlite = sqlite;
    session.oneToOneScale();
    session.resetCollectMeters();
    for (QString const& call : calls) {
        // Lets every update through, so that the bar shows what the meters
        // asked for and a swallowed update would show as one.
        passThrottle();
        session.collectProgress(call.section(QLatin1Char(' '), 0, 0).toLong(),
            call.section(QLatin1Char(' '), 1, 1).toLong(), call.section(QLatin1Char(' '), 2));
    }
    QCOMPARE(session.itemsStarted, items);
    QCOMPARE(session.item.activity(), items.last());
    QCOMPARE(session.item.maximum(), tail);
    if (value >= 0)
        QCOMPARE(session.item.value(), value);
    QVERIFY(session.errors.isEmpty());
}

void TestMeters::collectBatchSetUp_data()
{
    QTest::addColumn<bool>("multi");
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<QString>("batch");
    QTest::addColumn<int>("end");
    QTest::addColumn<QStringList>("errors");

    // Two repositories: contents with sizes run on acts 2R to 3R, without
    // sizes on 3R to 4R; the batch ends on the act before its last.
    QTest::newRow("contents with sizes")
        << true << "updates/primary" << qint64(3000) << "Downloading repository contents for 3 repositories"
        << 5 << QStringList();
    QTest::newRow("contents without sizes")
        << true << "updates/primary" << qint64(0) << "Downloading repository contents for 3 repositories" << 7
        << QStringList();
    QTest::newRow("groups") << true << "updates/group_gz" << qint64(3000)
                            << "Downloading repository contents for 3 repositories" << 5 << QStringList();
    QTest::newRow("an index is not expected in parallel")
        << true << "updates/repomd.xml" << qint64(3000) << "Unknown" << 0
        << QStringList { "Internal error: Unexpected parallel grab type:\nupdates" };
    QTest::newRow("a yum without multi-file meters")
        << false << "updates/primary" << qint64(3000) << "Unknown" << 0
        << QStringList { "Internal error: Unexpected parallel grab with no parallel support:\nupdates" };
}

void TestMeters::collectBatchSetUp()
{
    QFETCH(bool, multi);
    QFETCH(QString, text);
    QFETCH(qint64, bytes);
    QFETCH(QString, batch);
    QFETCH(int, end);
    QFETCH(QStringList, errors);

    Session session;
    session.multi = multi;
    session.repos = 2;
    session.oneToOneScale();
    session.collectGrabMultiMeterStart(3, bytes);
    // Announcing a batch shows nothing yet: its first file tells what it is.
    QVERIFY(session.itemsStarted.isEmpty());

    session.collectGrabMeterStart(meter(0), QString(), 1000, text);
    QCOMPARE(session.itemsStarted, QStringList { batch });
    QCOMPARE(session.item.activity(), batch);
    QCOMPARE(session.item.maximum(), int(bytes));
    QCOMPARE(session.slots.count(), 3u);
    QCOMPARE(session.errors, errors);

    // Later files join the batch without setting it up again.
    session.collectGrabMeterStart(meter(1), QString(), 1000, QStringLiteral("base/primary"));
    QCOMPARE(session.itemsStarted.size(), 1);
    QCOMPARE(session.errors, errors);
    QCOMPARE(session.itemEnd(), end);
}

void TestMeters::collectBatchSlots()
{
    Session session;
    session.multi = true;
    session.repos = 3;
    session.oneToOneScale();
    session.collectGrabMultiMeterStart(3, 6000);

    auto const started = [](char const* repo, int size) {
        return QStringLiteral("2:Downloading repository contents for %1:0/%2")
            .arg(QLatin1String(repo))
            .arg(size);
    };
    QString const idle = QStringLiteral("0::0/1");

    session.collectGrabMeterStart(meter(0), QString(), 1000, QStringLiteral("base/primary"));
    session.collectGrabMeterStart(meter(1), QString(), 2000, QStringLiteral("updates/primary"));
    session.collectGrabMeterStart(meter(2), QString(), 3000, QStringLiteral("extras/primary"));
    QCOMPARE(slotTexts(session.slots),
        (QStringList { started("base", 1000), started("updates", 2000), started("extras", 3000) }));

    // One file more than announced takes the slot past the last and passes
    // unreported; the model has no such slot to show.
    session.collectGrabMeterStart(meter(3), QString(), 500, QStringLiteral("fourth/primary"));
    QVERIFY(session.errors.isEmpty());
    // A second one is refused and its reports are dropped.
    session.collectGrabMeterStart(meter(4), QString(), 500, QStringLiteral("fifth/primary"));
    QCOMPARE(session.errors, QStringList { "Internal error: Start: unexpected thread 4 > total files 3\n" });
    session.collectUpdate(meter(4), 400);
    session.collectFailure(meter(4));
    session.collectEnd(meter(4), 500);
    QCOMPARE(session.errors.size(), 1);
    QCOMPARE(slotTexts(session.slots),
        (QStringList { started("base", 1000), started("updates", 2000), started("extras", 3000) }));

    // Progress per slot; the item bar shows the sum.
    session.collectUpdate(meter(0), 400);
    session.collectUpdate(meter(1), 1500);
    passThrottle();
    session.collectUpdate(meter(2), 100);
    QCOMPARE(session.slots[0].value, Steps(400));
    QCOMPARE(session.slots[1].value, Steps(1500));
    QCOMPARE(session.slots[2].value, Steps(100));
    QCOMPARE(session.item.value(), 2000);

    // A failed file gives its bytes back and, started again under a new
    // meter, finds its own slot rather than a new one.
    session.collectFailure(meter(1));
    QCOMPARE(
        slotText(session.slots[1]), QStringLiteral("1:Downloading repository contents for updates:0/2000"));
    session.collectUpdate(meter(1), 1900);
    QCOMPARE(session.slots[1].value, Steps(0));
    session.collectGrabMeterStart(meter(5), QString(), 2000, QStringLiteral("updates/primary"));
    QCOMPARE(slotText(session.slots[1]), started("updates", 2000));
    session.collectUpdate(meter(5), 700);
    QCOMPARE(session.slots[1].value, Steps(700));
    QVERIFY(session.errors.size() == 1);

    // A finished file is complete at its last count.
    session.collectEnd(meter(0), 1000);
    QCOMPARE(
        slotText(session.slots[0]), QStringLiteral("3:Downloading repository contents for base:1000/1000"));
    // Its meter is gone: late reports do not reopen the slot.
    session.collectUpdate(meter(0), 5);
    QCOMPARE(session.slots[0].value, Steps(1000));

    session.collectGrabMultiMeterEnd();
    QCOMPARE(session.slots.count(), 0u);
    QCOMPARE(session.errors.size(), 1);

    // The next batch numbers its slots afresh, and a file of the last batch
    // that ended is no longer known.
    session.collectGrabMultiMeterStart(2, 100);
    session.collectGrabMeterStart(meter(6), QString(), 50, QStringLiteral("updates/primary"));
    QCOMPARE(slotTexts(session.slots), (QStringList { started("updates", 50), idle }));
    // A file that finished and comes again is a new file: a new slot, and
    // a start with a count shows it at once.
    session.collectEnd(meter(6), 50);
    session.collectStart(meter(7), QStringLiteral("updates"), YumIOMeters::Contents, 20, 50);
    QCOMPARE(
        slotText(session.slots[1]), QStringLiteral("2:Downloading repository contents for updates:20/50"));
    QCOMPARE(
        slotText(session.slots[0]), QStringLiteral("3:Downloading repository contents for updates:50/50"));
    session.collectGrabMultiMeterEnd();
    QVERIFY(session.warnings.isEmpty());
}

void TestMeters::collectOutsideBatchMovesOneItem()
{
    Session session;
    session.oneToOneScale();
    session.collectGrabMeterStart(
        meter(0), QStringLiteral("/var/cache/yum/base/repomd.xml"), 4000, QString());
    passThrottle();
    session.collectUpdate(meter(0), 1000);
    QCOMPARE(session.item.value(), 1000);
    // The end and a failure leave the bars to the next start.
    session.collectEnd(meter(0), 4000);
    session.collectFailure(meter(0));
    QCOMPARE(session.item.value(), 1000);
    QCOMPARE(session.slots.count(), 0u);
    QCOMPARE(session.itemsStarted.size(), 1);
    QVERIFY(session.errors.isEmpty());
}

void TestMeters::applyStart_data()
{
    QTest::addColumn<bool>("confirmed");
    QTest::addColumn<bool>("multi");
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint64>("size");
    QTest::addColumn<QString>("activity");
    QTest::addColumn<int>("share");

    QString const pkg = QStringLiteral("/var/cache/dnf/base-1a2b/packages/foo-1.0-1.i386.rpm");
    QTest::newRow("small package one by one")
        << true << false << pkg << "" << qint64(500) << "Downloading foo-1.0-1.i386" << 10240;
    QTest::newRow("large package one by one")
        << true << false << pkg << "" << qint64(20000) << "Downloading foo-1.0-1.i386" << 20000;
    QTest::newRow("small package, multi-file yum")
        << true << true << pkg << "" << qint64(500) << "Downloading foo-1.0-1.i386" << 500;
    QTest::newRow("header before confirmation")
        << false << false << "/var/cache/yum/base/headers/foo-1.0-1.i386.hdr"
        << "" << qint64(500) << "Downloading foo-1.0-1.i386 header" << 10;
    QTest::newRow("large file before confirmation")
        << false << true << pkg << "" << qint64(900000) << "Downloading foo-1.0-1.i386 header" << 10;
    QTest::newRow("text stands in") << true << false << ""
                                    << "bar-2.0-1.noarch.rpm" << qint64(100) << "Downloading bar-2.0-1.noarch"
                                    << 10240;
    QTest::newRow("text path stripped")
        << true << true << ""
        << "Packages/b/bar-2.0-1.noarch.rpm" << qint64(100) << "Downloading bar-2.0-1.noarch" << 100;
    QTest::newRow("buffet query") << true << true << "buffet?user=joe&pass=s3cret&path=baz-1-1.x86_64.rpm"
                                  << "" << qint64(100) << "Downloading baz-1-1.x86_64" << 100;
    QTest::newRow("delta keeps its suffix") << true << true << "/d/foo-1.0-2.i386.drpm"
                                            << "" << qint64(100) << "Downloading foo-1.0-2.i386.drpm" << 100;
}

void TestMeters::applyStart()
{
    QFETCH(bool, confirmed);
    QFETCH(bool, multi);
    QFETCH(QString, fileName);
    QFETCH(QString, text);
    QFETCH(qint64, size);
    QFETCH(QString, activity);
    QFETCH(int, share);

    Session session;
    session.multi = multi;
    session.applyConfirmed = confirmed;
    session.oneToOneScale();
    // Resolution has counted up to here before the downloads.
    session.applyActCounter = 300;
    session.model->startItemAct(QStringLiteral("Resolve Dependencies"), 1, 300);

    session.applyGrabMeterStart(meter(0), fileName, size, text);
    QCOMPARE(session.item.activity(), activity);
    QCOMPARE(session.item.maximum(), int(size));
    QCOMPARE(session.total.value(), 300);
    QCOMPARE(session.itemEnd(), 300 + share);
    QVERIFY(session.errors.isEmpty());
}

void TestMeters::applyOneByOne()
{
    Session session;
    session.applyConfirmed = true;
    session.oneToOneScale();

    session.applyGrabMeterStart(meter(0), QStringLiteral("a-1-1.x86_64.rpm"), 4000, QString());
    passThrottle();
    session.applyGrabMeterUpdate(meter(0), 1000);
    QCOMPARE(session.item.value(), 1000);
    // A quarter of the file is a quarter of its share.
    QCOMPARE(session.total.value(), 2560);
    // Without a batch the end and a failure leave the bars as they are.
    session.applyGrabMeterEnd(meter(0), 4000);
    session.applyGrabMeterFailure(meter(0));
    QCOMPARE(session.item.value(), 1000);

    session.applyGrabMeterStart(meter(1), QStringLiteral("b-1-1.x86_64.rpm"), 30000, QString());
    QCOMPARE(session.item.activity(), QStringLiteral("Downloading b-1-1.x86_64"));
    QCOMPARE(session.total.value(), 10240);
    QCOMPARE(session.itemEnd(), 40240);
    QCOMPARE(session.slots.count(), 0u);
}

void TestMeters::applyDeltaRebuild()
{
    Session session;
    session.applyConfirmed = true;
    session.model->startTotal(QStringLiteral("Total"), 100000);
    session.model->setupItemActs(50000, 50000);
    session.applyGrabMeterStart(meter(0), QStringLiteral("a-1-1.x86_64.rpm"), 4000, QString());
    quint32 const counter = session.applyActCounter;

    // The rebuild closes the downloads' acts and takes its own share after
    // them, whatever file name comes with it.
    session.applyGrabMeterStart(
        meter(1), QStringLiteral("/x/a-1-1.x86_64.rpm"), 7, QStringLiteral("<delta rebuild>"));
    QCOMPARE(session.item.activity(), QStringLiteral("Finishing RPM rebuild from deltas"));
    QCOMPARE(session.item.maximum(), 7);
    QCOMPARE(session.total.value(), 50000);
    QCOMPARE(session.applyActCounter, counter);
    QCOMPARE(session.itemEnd(), 52000);
}

void TestMeters::applyBatchShare_data()
{
    QTest::addColumn<bool>("confirmed");
    QTest::addColumn<bool>("multi");
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<int>("share");

    QTest::newRow("confirmed, multi-file yum") << true << true << qint64(3000) << 3000;
    QTest::newRow("confirmed, small batch, plain yum") << true << false << qint64(3000) << 10240;
    QTest::newRow("confirmed, large batch, plain yum") << true << false << qint64(30000) << 30000;
    QTest::newRow("headers before confirmation") << false << true << qint64(3000) << 10;
}

void TestMeters::applyBatchShare()
{
    QFETCH(bool, confirmed);
    QFETCH(bool, multi);
    QFETCH(qint64, bytes);
    QFETCH(int, share);

    Session session;
    session.multi = multi;
    session.applyConfirmed = confirmed;
    session.oneToOneScale();
    session.applyActCounter = 100;
    session.model->startItemAct(QStringLiteral("Resolve Dependencies"), 1, 100);

    session.applyGrabMultiMeterStart(2, bytes);
    QCOMPARE(session.itemsStarted.last(), QStringLiteral("Downloading 2 packages"));
    QCOMPARE(session.item.maximum(), int(bytes));
    QCOMPARE(session.slots.count(), 2u);
    session.applyGrabMultiMeterEnd();
    QCOMPARE(session.slots.count(), 0u);

    // The next file is placed after the whole batch.
    session.applyGrabMeterStart(meter(0), QStringLiteral("c-1-1.noarch.rpm"), 10, QString());
    QCOMPARE(session.item.activity(),
        QLatin1String(confirmed ? "Downloading c-1-1.noarch" : "Downloading c-1-1.noarch header"));
    QCOMPARE(session.total.value(), 100 + share - 1);
    QVERIFY(session.errors.isEmpty());
}

void TestMeters::applyBatchSlots()
{
    Session session;
    session.multi = true;
    session.applyConfirmed = true;
    session.oneToOneScale();

    session.applyGrabMultiMeterStart(3, 6000);
    QCOMPARE(session.item.activity(), QStringLiteral("Downloading 3 packages"));
    session.applyGrabMultiMeterNew(meter(7));
    session.applyGrabMultiMeterNew(meter(8));
    session.applyGrabMultiMeterNew(meter(9));

    // Slots follow the order of announcement, not of start.
    session.applyGrabMeterStart(meter(9), QStringLiteral("/p/c-3-1.noarch.rpm"), 3000, QString());
    session.applyGrabMeterStart(meter(7), QStringLiteral("/p/a-1-1.noarch.rpm"), 1000, QString());
    QCOMPARE(slotTexts(session.slots),
        (QStringList { "2:Downloading a-1-1.noarch:0/1000", "0::0/1", "2:Downloading c-3-1.noarch:0/3000" }));
    // Several slots: the item bar keeps naming the batch.
    QCOMPARE(session.item.activity(), QStringLiteral("Downloading 3 packages"));

    session.applyGrabMeterUpdate(meter(9), 1200);
    passThrottle();
    session.applyGrabMeterUpdate(meter(7), 300);
    QCOMPARE(session.slots[2].value, Steps(1200));
    QCOMPARE(session.item.value(), 1500);

    session.applyGrabMeterFailure(meter(9));
    QCOMPARE(slotText(session.slots[2]), QStringLiteral("1:Downloading c-3-1.noarch:0/3000"));
    passThrottle();
    session.applyGrabMeterUpdate(meter(7), 400);
    QCOMPARE(session.item.value(), 400);

    session.applyGrabMeterEnd(meter(7), 1000);
    QCOMPARE(slotText(session.slots[0]), QStringLiteral("3:Downloading a-1-1.noarch:1000/1000"));
    session.applyGrabMultiMeterRemove(meter(7));

    session.applyGrabMeterStart(meter(8), QStringLiteral("/p/b-2-1.noarch.rpm"), 2000, QString());
    QCOMPARE(slotText(session.slots[1]), QStringLiteral("2:Downloading b-2-1.noarch:0/2000"));

    session.applyGrabMultiMeterEnd();
    QCOMPARE(session.slots.count(), 0u);
    // The batch took its bytes on the scale, up to the act before its end.
    QCOMPARE(session.itemEnd(), 5999);

    // A batch with one file names that file on the item bar.
    session.applyGrabMultiMeterStart(1, 10);
    session.applyGrabMultiMeterNew(meter(10));
    session.applyGrabMeterStart(meter(10), QStringLiteral("/p/d-1-1.noarch.rpm"), 10, QString());
    QCOMPARE(session.item.activity(), QStringLiteral("Downloading d-1-1.noarch"));
    session.applyGrabMultiMeterEnd();
    QVERIFY(session.errors.isEmpty());
}

void TestMeters::withoutModel()
{
    // Between operations there is no model: whatever the script reports then
    // moves nothing, and the counting goes on for the next operation.
    Session session(false);
    session.multi = true;
    session.applyConfirmed = true;
    session.collectGrabMeterStart(meter(0), QStringLiteral("/c/base/repomd.xml"), 10, QString());
    session.collectUpdate(meter(0), 5);
    session.collectProgress(5, 100, QStringLiteral("MD Read"));
    session.collectGrabMultiMeterStart(1, 10);
    session.collectGrabMeterStart(meter(1), QString(), 10, QStringLiteral("base/primary"));
    session.collectUpdate(meter(1), 5);
    session.collectFailure(meter(1));
    session.collectEnd(meter(1), 10);
    session.collectGrabMultiMeterEnd();
    session.applyGrabMeterStart(meter(2), QStringLiteral("a.rpm"), 700, QString());
    session.applyGrabMeterUpdate(meter(2), 5);
    session.applyGrabMultiMeterStart(1, 300);
    session.applyGrabMultiMeterNew(meter(3));
    session.applyGrabMeterStart(meter(3), QStringLiteral("b.rpm"), 300, QString());
    session.applyGrabMeterUpdate(meter(3), 5);
    session.applyGrabMeterFailure(meter(3));
    session.applyGrabMeterEnd(meter(3), 300);
    session.applyGrabMultiMeterEnd();
    session.applyGrabMeterStart(meter(4), QString(), 1, QStringLiteral("<delta rebuild>"));
    QVERIFY(session.errors.isEmpty());
    QCOMPARE(session.applyActCounter, 1000u);
    QCOMPARE(session.collectActCounter, 14);

    session.attach(std::make_unique<Progress::Object>(&session.total, &session.item));
    session.oneToOneScale(2000);
    session.applyGrabMeterStart(meter(5), QStringLiteral("c.rpm"), 100, QString());
    QCOMPARE(session.total.value(), 0);
    QCOMPARE(session.itemEnd(), 1100);
}

void TestMeters::workerThreadReachesBars()
{
    // As in a collection: the model is made on the work thread that runs yum,
    // and the bars hear of it through the queue.
    Session session(false);
    session.multi = true;
    session.repos = 2;
    QSemaphore checked;
    std::unique_ptr<QThread> worker(QThread::create([&session, &checked] {
        session.attach(std::make_unique<Progress::Object>(&session.total, &session.item));
        session.oneToOneScale(1000);
        session.resetCollectMeters();
        session.collectGrabMeterStart(meter(0), QStringLiteral("/c/base/repomd.xml"), 10, QString());
        session.collectGrabMeterStart(meter(1), QStringLiteral("/c/updates/repomd.xml"), 10, QString());
        session.collectGrabMultiMeterStart(2, 300);
        session.collectGrabMeterStart(meter(2), QString(), 100, QStringLiteral("base/primary"));
        session.collectGrabMeterStart(meter(3), QString(), 200, QStringLiteral("updates/primary"));
        session.collectEnd(meter(2), 100);
        // The GUI thread looks at the bars while the batch is still on.
        checked.acquire();
        session.collectGrabMultiMeterEnd();
        session.collectProgress(-1, -1, QStringLiteral("updates"));
        // The model goes with the operation, on its own thread.
        session.model.reset();
    }));
    worker->start();

    QTRY_COMPARE(
        session.item.activity(), QStringLiteral("Downloading repository contents for 2 repositories"));
    QCOMPARE(session.item.maximum(), 300);
    QCOMPARE(session.total.value(), 4);
    checked.release();
    QVERIFY(worker->wait(10000));
    // The model's end reset the bars.
    QTRY_VERIFY(!session.item.isEnabled());
    QCOMPARE(session.item.activity(), QString());
    QVERIFY(session.errors.isEmpty());
    QCOMPARE(session.collectActCounter, 10);
}

QTEST_MAIN(TestMeters)
#include "tst_meters.moc"
