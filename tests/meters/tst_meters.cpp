// The download and metadata meters on a real progress model and real bars;
// what is checked is what the bars and the model's slot table show.
#include "progress/Progress.h"
#include "tests/yumio/TestRows.h"
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

// The session's side: the probes answer as for dnf (multi-file meters),
// errors are recorded, and a model on two bars has a total scale on which act
// k ends at position k.
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
                for (unsigned i = 0; i < threads.count(); ++i) {
                    Progress::ThreadState const& t = threads[i];
                    slots << u"%1:%2:%3/%4"_s.arg(t.state).arg(t.name).arg(t.value).arg(t.max);
                }
            });
        model->startTotal("Total", length);
        model->setupItemActs(length, length);
    }

    // Performs one step; the looks return item: "[activity] maximum", value,
    // total, end (where the item ends on the total scale), slots, errors, or
    // counters (apply, collect).
    QString perform(QString const& step)
    {
        using S = Session&;
        using W = Words const&;
        static QHash<QString, void (*)(S, W)> const acts {
            { "confirmed", [](S s, W) { s.applyConfirmed = true; } },
            { "counter", [](S s, W w) { s.collectActCounter = int(w.n(1)); } },
            // Resolution has counted up to here before the downloads.
            { "resolved",
                [](S s, W w) {
                    s.applyActCounter = quint32(w.n(1));
                    s.model->startItemAct("Resolve", 1, w.n(1));
                } },
            { "nomodel", [](S s, W) { s.model.reset(); } },
            { "attach", [](S s, W w) { s.attach(w.n(1)); } },
            { "sleep", [](S, W) { QThread::msleep(12); } }, // past the value throttle
            { "cstart", [](S s, W w) { s.collectStart(w.m(1), w.s(2), RepoAct(w.n(3)), w.n(4), w.n(5)); } },
            { "cgrab", [](S s, W w) { s.collectGrabMeterStart(w.m(1), w.s(2), w.n(3), w.s(4)); } },
            { "cprogress", [](S s, W w) { s.collectProgress(w.n(1), w.n(2), w.s(3)); } },
            { "cupdate", [](S s, W w) { s.collectUpdate(w.m(1), w.n(2)); } },
            { "cend", [](S s, W w) { s.collectEnd(w.m(1), w.n(2)); } },
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
    QStringList errors, slots;

protected:
    Progress::Object* meterProgress() override { return model.get(); }
    void error(QString const& text) override { errors << text; }
    void warning(QString const& text) override { errors << text; }
    bool hasMultiProgress() override { return true; }
    bool usesSqlite() override { return false; }
    int yumVersion() override { return 40000; }
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
        // The act numbering, with 3 repositories: index acts in pairs from 1,
        // contents from 2R, reading from 4R, each phase below its base lifted to it.
        row("mirror list after a pair", "counter 2; cstart - base 0 0 100; end -> 3");
        row("groups below their base", "cstart - base 2 0 100; end -> 7");
        row("read two pairs above its base", "counter 17; cstart - base 5 0 100; end -> 18");

        // What a step is called: %1 is the label of what is read, %2 the repository.
        row("convert named", "cstart - base 4 0 10; item -> [Converting repository base] 10");
        row("a fetch named by yum's text",
            "cgrab 0 - 10 updates/repodata; item -> [Downloading repository contents for updates] 10");
        // Metadata reading reports the same item many times: only a new item
        // starts, the rest update.
        row("same name and total updates",
            "cprogress 0 1 up; sleep; cprogress 1 1 up; item -> [Reading repository contents for up] 1; "
            "value -> 1");
        row("new name, same total",
            "cprogress 0 1 up; sleep; cprogress 0 1 base; item -> [Reading repository contents for base] 1");

        // A package takes its size on the scale, a header before confirmation 10.
        row("a package",
            "confirmed; resolved 300; agrab 0 /var/cache/dnf/base-1a2b/packages/foo-1.0-1.i386.rpm 500 -;"
            "item -> [Downloading foo-1.0-1.i386] 500; total -> 300; sleep; aupdate 0 250; value -> 250;"
            "end -> 800");
        row("a header",
            "agrab 0 foo-1.0-1.i386.hdr 500 -; item -> [Downloading foo-1.0-1.i386 header] 500; end -> 10");
        row("text path stripped",
            "confirmed; agrab 0 - 1 Packages/b/bar-2.0-1.noarch.rpm; item -> [Downloading bar-2.0-1.noarch] "
            "1");
        row("buffet query",
            "confirmed; agrab 0 buffet?user=joe&pass=s3cret&path=baz-1-1.x86_64.rpm 1 -;"
            "item -> [Downloading baz-1-1.x86_64] 1");
        row("delta keeps its suffix",
            "confirmed; agrab 0 /d/foo-1.0-2.i386.drpm 1 -; item -> [Downloading foo-1.0-2.i386.drpm] 1");

        // Slots follow the order of announcement, not of start; with several
        // the item bar keeps naming the batch, with one it names the file.
        row("apply batch slots",
            "confirmed; abatch 3 6000; anew 7; anew 8; anew 9; agrab 9 /p/c-3-1.noarch.rpm 3000 -;"
            "agrab 7 /p/a-1-1.noarch.rpm 1000 -; item -> [Downloading 3 packages] 6000;"
            "aupdate 9 1200; sleep; aupdate 7 300; value -> 1500; afail 9; aend 7 1000; aremove 7;"
            "agrab 8 /p/b-2-1.noarch.rpm 2000 -; slots -> 3:Downloading a-1-1.noarch:1000/1000,"
            "2:Downloading b-2-1.noarch:0/2000,1:Downloading c-3-1.noarch:0/3000;"
            "abatchend; slots -> ; end -> 5999; abatch 1 10; anew 10; agrab 10 /p/d-1-1.noarch.rpm 10 -;"
            "item -> [Downloading d-1-1.noarch] 10; errors -> ");
        // Between operations there is no model: the reports move nothing, and
        // the counting goes on for the next operation.
        row("without a model",
            "nomodel; confirmed; cgrab 0 - 10 base/repodata; cupdate 0 5; cend 0 10; cprogress 0 1 base;"
            "agrab 2 a.rpm 700 -; abatch 1 300; anew 3; agrab 3 b.rpm 300 -; aupdate 3 10; afail 3; aend 3 "
            "300;"
            "abatchend; errors -> ; counters -> 1000 14; attach 2000; agrab 5 c.rpm 100 -; end -> 1100");
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
