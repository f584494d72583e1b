// yum's download and metadata meters on a real progress model and real bars;
// what is checked is what the bars and the model's slot table show.
#include "tests/yumio/TestRows.h"
#include "progress/Progress.h"
#include "widgets/HProgressBar.h"
#include "yumio/YumIOMeters.h"

#include <QTest>
#include <QThread>
#include <memory>

using namespace Qt::StringLiterals;

namespace
{
int meterIds[16];

// One step's words: numbers, meters and texts, where "-" is no meter or an
// empty text and "~" stands for a blank.
struct Words : QStringList {
    qint64 n(int i) const { return value(i).toLongLong(); }
    void* m(int i) const { return value(i) == u"-" ? nullptr : &meterIds[value(i).toInt()]; }
    QString s(int i) const { return value(i) == u"-" ? QString() : QString(value(i)).replace(u'~', u' '); }
};

// The session's side: yum's probes as a script sets them, errors recorded, and
// a model on two bars with a total scale on which act k ends at position k.
class Session : public YumIOMeters
{
public:
    Session() { attach(1000000); }
    ~Session() override { model.reset(); } // before the bars it moves

    void attach(Progress::Steps length)
    {
        model = std::make_unique<Progress::Object>(&total, &item);
        // Structural signals are never throttled: these records are exact.
        QObject::connect(model.get(), &Progress::Object::updateThreadsStateSig, model.get(),
            [this](Progress::ThreadsState const& threads) {
                slots.clear();
                for (unsigned i = 0; i < threads.count(); ++i)
                    slots << u"%1:%2:%3/%4"_s.arg(threads[i].state)
                                 .arg(threads[i].name)
                                 .arg(threads[i].value)
                                 .arg(threads[i].max);
            });
        model->startTotal("Total", length);
        model->setupItemActs(length, length);
    }

    // Performs one step; one that looks at the bars returns what they show:
    //   item: "[activity] maximum"; value: the item's value; total: the total's;
    //   end: where the current item ends on the total scale; slots; errors;
    //   counters: the apply and collect act counters.
    QString perform(QString const& step)
    {
        using S = Session&;
        using W = Words const&;
        static QHash<QString, void (*)(S, W)> const acts {
            { "multi", [](S s, W) { s.multi = true; } },
            { "confirmed", [](S s, W) { s.applyConfirmed = true; } },
            { "version", [](S s, W w) { s.version = int(w.n(1)); } },
            { "counter", [](S s, W w) { s.collectActCounter = int(w.n(1)); } },
            // Resolution has counted up to here before the downloads.
            { "resolved",
                [](S s, W w) {
                    s.applyActCounter = quint32(w.n(1));
                    s.model->startItemAct("Resolve", 1, w.n(1));
                } },
            { "nomodel", [](S s, W) { s.model.reset(); } },
            { "attach", [](S s, W w) { s.attach(w.n(1)); } },
            { "acts", [](S s, W w) { s.model->setupItemActs(w.n(1), w.n(1)); } },
            { "sleep", [](S, W) { QThread::msleep(12); } }, // past the value throttle
            { "lists", [](S s, W) { s.setCollectLabelFileLists(); } },
            { "other", [](S s, W) { s.setCollectLabelOtherData(); } },
            { "cstart", [](S s, W w) { s.collectStart(w.m(1), w.s(2), RepoAct(w.n(3)), w.n(4), w.n(5)); } },
            { "cgrab", [](S s, W w) { s.collectGrabMeterStart(w.m(1), w.s(2), w.n(3), w.s(4)); } },
            { "cprogress", [](S s, W w) { s.collectProgress(w.n(1), w.n(2), w.s(3)); } },
            { "cupdate", [](S s, W w) { s.collectUpdate(w.m(1), w.n(2)); } },
            { "cend", [](S s, W w) { s.collectEnd(w.m(1), w.n(2)); } },
            { "cfail", [](S s, W w) { s.collectFailure(w.m(1)); } },
            { "cbatch", [](S s, W w) { s.collectGrabMultiMeterStart(w.n(1), w.n(2)); } },
            { "cbatchend", [](S s, W) { s.collectGrabMultiMeterEnd(); } },
            { "agrab", [](S s, W w) { s.applyGrabMeterStart(w.m(1), w.s(2), w.n(3), w.s(4)); } },
            { "aupdate", [](S s, W w) { s.applyGrabMeterUpdate(w.m(1), w.n(2)); } },
            { "aend", [](S s, W w) { s.applyGrabMeterEnd(w.m(1), w.n(2)); } },
            { "afail", [](S s, W w) { s.applyGrabMeterFailure(w.m(1)); } },
            { "abatch", [](S s, W w) { s.applyGrabMultiMeterStart(w.n(1), w.n(2)); } },
            { "anew", [](S s, W w) { s.applyGrabMultiMeterNew(w.m(1)); } },
            { "aremove", [](S s, W w) { s.applyGrabMultiMeterRemove(w.m(1)); } },
            { "abatchend", [](S s, W) { s.applyGrabMultiMeterEnd(); } },
        };
        Words const w { step.split(u' ', Qt::SkipEmptyParts) };
        QString const op = w.value(0);
        if (op == u"item")
            return u"[%1] %2"_s.arg(item.activity(), QString::number(item.maximum()));
        if (op == u"value" || op == u"total")
            return QString::number((op == u"value" ? item : total).value());
        if (op == u"end") {
            model->startItem("probe", 0, 1); // a start is never throttled
            return QString::number(total.value());
        }
        if (op == u"slots")
            return slots.join(u',');
        if (op == u"errors")
            return errors.join(u'|').simplified();
        if (op == u"counters")
            return u"%1 %2"_s.arg(applyActCounter).arg(collectActCounter);
        if (!acts.contains(op))
            return u"bad step: "_s + step;
        acts[op](*this, w);
        return {};
    }

    HProgressBar total, item;
    std::unique_ptr<Progress::Object> model;
    bool multi = false;
    int version = 41400;
    QStringList errors, slots;

protected:
    Progress::Object* meterProgress() override { return model.get(); }
    void error(QString const& text) override { errors << text; }
    void warning(QString const& text) override { errors << text; }
    bool hasMultiProgress() override { return multi; }
    bool usesSqlite() override { return false; }
    int yumVersion() override { return version; }
    int meterRepoCount() override { return 3; }
};
} // namespace

class TestMeters : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Steps separated by ";"; a step that looks ends in "-> what it must see".
    void script_data()
    {
        QTest::addColumn<QString>("script");
        // The act numbering, with 3 repositories.  Multi-file meters: index acts
        // in pairs from 1, contents from 2R, reading from 4R, each phase below
        // its base lifted to it.
        row("multi mirror list", "multi; counter 2; cstart - base 0 0 100; end -> 3");
        row("multi groups below base", "multi; cstart - base 2 0 100; end -> 7");
        row("multi read two pairs above base", "multi; counter 17; cstart - base 5 0 100; end -> 18");
        // Without them, above 3.1.6: six acts per repository in turn.
        row("6 contents second repository", "counter 7; cstart - base 3 0 100; end -> 10");
        // Up to 3.1.6: index acts in pairs, the others in threes from 2R.
        row("old repomd after its mirror list", "version 30106; counter 1; cstart - b 1 0 1; end -> 2");
        row("old read below base", "version 30106; cstart - base 5 0 100; end -> 10");
        row("old read above base", "version 30106; counter 10; cstart - base 5 0 100; end -> 13");

        // What a step is called: %1 is the label of what is read, %2 the
        // repository; a name is filled in once, markers inside it stay.
        row("convert named", "cstart - base 4 0 10; item -> [Converting repository base] 10");
        row("file lists", "lists; cstart - up 3 0 1; item -> [Downloading repository file lists for up] 1");
        row("other data", "other; cstart - - 5 0 1; item -> [Reading repository miscellaneous data] 1");
        row("name with markers",
            "cstart - r%1%2 3 0 1; item -> [Downloading repository contents for r%1%2] 1");
        row("no such act",
            "cstart - base 6 0 1; item -> [] 1; errors -> Internal error: invalid collect act");
        // A fetched file, named by its path or else by yum's text.
        row("metalink",
            "cgrab 0 /c/fedora-1a2b/metalink.xml 1 -;"
            "item -> [Downloading repository mirror list for fedora-1a2b] 1");
        row("group file",
            "cgrab 0 /c/extras/group_gz.xml.gz 1 -; item -> [Downloading repository groups for extras] 1");
        row("buffet",
            "cgrab 0 /c/buffet?user=joe&pass=s3cret&path=base/repomd.xml 1 -;"
            "item -> [Downloading repository repomd for base] 1");
        row("one slash",
            "cgrab 0 /repomd.xml 1 -; item -> [Downloading repository repomd for /repomd.xml] 1");
        row("text cut at its first slash",
            "cgrab 0 - 10 updates/x/group_gz; item -> [Downloading repository groups for updates] 10");

        // Metadata reading reports the same item many times: only a new item
        // starts, the rest update.
        row("MD Read starts, then updates",
            "cprogress 5 100 MD~Read; sleep; cprogress 50 100 MD~Read;"
            "item -> [Converting repository] 100; value -> 50");
        row("MD Read after a named item",
            "cprogress 1 100 up; sleep; cprogress 5 100 MD~Read; item -> [Converting repository] 100");
        row("both -1: a read of one", "cprogress -1 -1 up; item -> [Reading repository contents for up] 1");
        row("same name and total updates",
            "cprogress 1 10 up; sleep; cprogress 7 10 up;"
            "item -> [Reading repository contents for up] 10; value -> 7");
        row("new name, same total",
            "cprogress 1 10 up; sleep; cprogress 1 10 base;"
            "item -> [Reading repository contents for base] 10");

        // A collect batch is set up by its first file on the acts of its kind
        // (contents with sizes from 2R, without from 3R) up to the act before
        // its last.
        row("with sizes",
            "multi; cbatch 3 3000; cgrab 0 - 10 up/primary; cgrab 1 - 10 base/primary;"
            "item -> [Downloading repository contents for 3 repositories] 3000; end -> 8");
        row("without sizes", "multi; cbatch 3 0; cgrab 0 - 10 up/group_gz; end -> 11");
        row("an index",
            "multi; cbatch 3 3000; cgrab 0 - 10 up/repomd.xml; end -> 0;"
            "errors -> Internal error: Unexpected parallel grab type: up");
        row("no multi-file meters",
            "cbatch 3 3000; cgrab 0 - 10 up/primary; end -> 0;"
            "errors -> Internal error: Unexpected parallel grab with no parallel support: up");
        // One file more than announced takes the slot past the last and passes;
        // the next is refused and its reports are dropped.  A failed file gives
        // its bytes back and, started again under a new meter, finds its own
        // slot; a finished one is complete, late reports do not reopen it, and
        // in the next batch it is a new file.
        row("collect batch slots",
            "multi; cbatch 2 3000; cgrab 0 - 1000 a/primary; cgrab 1 - 2000 b/primary; cgrab 2 - 5 c/primary;"
            "cgrab 3 - 5 d/primary; cupdate 3 400; cfail 3; cend 3 500;"
            "errors -> Internal error: Start: unexpected thread 3 > total files 2;"
            "slots -> 2:Downloading repository contents for a:0/1000,"
            "2:Downloading repository contents for b:0/2000;"
            "cupdate 0 400; sleep; cupdate 1 1500; value -> 1900; cfail 1; cupdate 1 1900;"
            "slots -> 2:Downloading repository contents for a:400/1000,"
            "1:Downloading repository contents for b:0/2000;"
            "cgrab 4 - 2000 b/primary; cupdate 4 700; cend 0 1000; cupdate 0 5;"
            "slots -> 3:Downloading repository contents for a:1000/1000,"
            "2:Downloading repository contents for b:700/2000;"
            "cbatchend; slots -> ; cbatch 2 100; cgrab 5 - 50 b/primary; cend 5 50; cstart 6 b 3 20 50;"
            "slots -> 3:Downloading repository contents for b:50/50,"
            "2:Downloading repository contents for b:20/50");

        // A package's share of the scale: its size, at least 10240 without
        // multi-file meters, 10 for a header before confirmation.
        row("small, one by one",
            "confirmed; resolved 300; agrab 0 /var/cache/dnf/base-1a2b/packages/foo-1.0-1.i386.rpm 500 -;"
            "item -> [Downloading foo-1.0-1.i386] 500; total -> 300;"
            "sleep; aupdate 0 250; value -> 250; end -> 10540");
        row("large, one by one", "confirmed; resolved 300; agrab 0 foo.rpm 20000 -; end -> 20300");
        row("header",
            "resolved 300; agrab 0 /c/base/headers/foo-1.0-1.i386.hdr 500 -;"
            "item -> [Downloading foo-1.0-1.i386 header] 500; end -> 310");
        row("text path stripped",
            "multi; confirmed; agrab 0 - 100 Packages/b/bar-2.0-1.noarch.rpm;"
            "item -> [Downloading bar-2.0-1.noarch] 100; end -> 100");
        row("buffet query",
            "agrab 0 buffet?user=joe&pass=s3cret&path=baz-1-1.x86_64.rpm 1 -;"
            "item -> [Downloading baz-1-1.x86_64 header] 1");
        row("delta keeps its suffix",
            "agrab 0 /d/foo-1.0-2.i386.drpm 1 -; item -> [Downloading foo-1.0-2.i386.drpm header] 1");
        // The rebuild closes the downloads' acts and takes 2000 after them,
        // whatever file name comes with it.
        row("delta rebuild",
            "confirmed; acts 50000; agrab 0 a-1-1.x86_64.rpm 4000 -; agrab 1 /x/a.rpm 7 <delta~rebuild>;"
            "item -> [Finishing RPM rebuild from deltas] 7; total -> 50000; counters -> 10240 0;"
            "end -> 52000");

        // Slots follow the order of announcement, not of start; with several
        // the item bar keeps naming the batch, with one it names the file.
        row("apply batch slots",
            "multi; confirmed; abatch 3 6000; anew 7; anew 8; anew 9; agrab 9 /p/c-3-1.noarch.rpm 3000 -;"
            "agrab 7 /p/a-1-1.noarch.rpm 1000 -; item -> [Downloading 3 packages] 6000;"
            "aupdate 9 1200; sleep; aupdate 7 300; value -> 1500; afail 9; aend 7 1000; aremove 7;"
            "agrab 8 /p/b-2-1.noarch.rpm 2000 -; slots -> 3:Downloading a-1-1.noarch:1000/1000,"
            "2:Downloading b-2-1.noarch:0/2000,1:Downloading c-3-1.noarch:0/3000;"
            "abatchend; slots -> ; end -> 5999; abatch 1 10; anew 10; agrab 10 /p/d-1-1.noarch.rpm 10 -;"
            "item -> [Downloading d-1-1.noarch] 10; errors -> ");
        // Between operations there is no model: the reports move nothing, and
        // the counting goes on for the next operation.
        row("without a model",
            "nomodel; multi; confirmed; cgrab 0 /c/base/repomd.xml 10 -; cprogress 5 100 MD~Read;"
            "cbatch 1 10;"
            "cgrab 1 - 10 base/primary; cupdate 1 5; cfail 1; cend 1 10; cbatchend; agrab 2 a.rpm 700 -;"
            "abatch 1 300; anew 3; agrab 3 b.rpm 300 -; afail 3; aend 3 300; abatchend; errors -> ;"
            "counters -> 1000 14; attach 2000; agrab 5 c.rpm 100 -; end -> 1100");
    }
    void script()
    {
        QFETCH(QString, script);
        Session session;
        for (QString const& line : script.split(u';')) {
            QString const got = session.perform(line.section(u"->"_s, 0, 0));
            QString const expected = line.section(u"->"_s, 1).trimmed();
            QVERIFY2(got == expected, qPrintable(u"\"%1\" gave \"%2\""_s.arg(line.trimmed(), got)));
        }
    }
};

QTEST_MAIN(TestMeters)
#include "tst_meters.moc"
