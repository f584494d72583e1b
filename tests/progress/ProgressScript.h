#pragma once

#include "progress/Progress.h"
#include "widgets/HProgressBar.h"

#include <QElapsedTimer>
#include <QHash>
#include <QStringList>
#include <QThread>
#include <algorithm>
#include <functional>

using namespace Qt::StringLiterals;

// Drives a progress model from one-line steps and records, one line per
// signal, what each step emitted.  Steps (activities are single words):
//   total A tail | item A share tail | activity A | acts size count | count n | act A tail n | endacts
//   batch A from to threads tail | slot A slot max | slotvalue slot v | slotend slot | slotretry slot
//   endbatch | value v | totalvalue v | reset | wait | hold | bars
// Records: "total A tail", "item A totalValue tail", "activity A", "count totalValue", "endacts totalValue",
//   "value totalValue value", "totalvalue v", "reset", "slots state:name:value/max,..." or "slots -".
// The value throttle opens once 9 ms have passed since its last restart.  Around each step that restarted
// it the runner starts one stopwatch just before (never behind the model's) and one just after (never
// ahead): "wait" lets the second pass 9 ms, so the next value signal is certain; "hold" lets it reach 8 ms,
// so while the first still shows 9 ms or less, suppression is certain.
class ProgressScript
{
public:
    // With the bars, the step "bars" records what they show, as barState() does.
    explicit ProgressScript(
        Progress::Object& model, HProgressBar* total = nullptr, HProgressBar* item = nullptr)
        : model(model)
        , bars { total, item }
    {
        using namespace Progress;
        auto add = [&](auto signal, auto record) { links << QObject::connect(&model, signal, record); };
        add(&Object::startTotalSig, [this](QString a, Steps t) { rec(u"total %1 %2"_s.arg(a).arg(t)); });
        add(&Object::startItemSig,
            [this](QString a, Steps v, Steps t) { rec(u"item %1 %2 %3"_s.arg(a).arg(v).arg(t)); });
        add(&Object::changeItemActivitySig, [this](QString a) { rec(u"activity "_s + a); });
        add(&Object::changeItemActsSig, [this](Steps v) { rec(u"count %1"_s.arg(v)); });
        add(&Object::setItemValueSig, [this](Steps t, Steps v) { rec(u"value %1 %2"_s.arg(t).arg(v)); });
        add(&Object::endItemActsSig, [this](Steps v) { rec(u"endacts %1"_s.arg(v)); });
        add(&Object::setTotalValueSig, [this](Steps v) { rec(u"totalvalue %1"_s.arg(v)); });
        add(&Object::updateThreadsStateSig, [this](ThreadsState const& s) { rec(threadsRecord(s)); });
        add(&Object::resetSig, [this] { rec(u"reset"_s); });
    }
    // The model may outlive the script, and signals when it is deleted.
    ~ProgressScript()
    {
        for (auto const& link : std::as_const(links))
            QObject::disconnect(link);
    }

    // Performs one step and returns the records of the signals it emitted.
    QStringList perform(QString const& step)
    {
        using namespace Progress;
        QStringList const words = step.split(u' ', Qt::SkipEmptyParts);
        if (words.value(0) == u"bars" && bars[0] && bars[1])
            return { barState(*bars[0]), barState(*bars[1]) };
        if (words.value(0) == u"wait") {
            while (sinceRestarted.isValid() && sinceRestarted.elapsed() <= 9)
                QThread::msleep(1);
            return {};
        }
        if (words.value(0) == u"hold") {
            // Spinning, not sleeping: a sleep may overshoot the 2 ms window.
            while (sinceRestarted.isValid() && sinceRestarted.elapsed() < 8)
                QThread::yieldCurrentThread();
            return {};
        }
        using A = QString const&;
        using N = Steps const*;
        // Arity, whether the first argument is an activity, and the call.
        struct Op {
            int arity;
            bool activity;
            void (*call)(Object&, A, N);
        };
        static QHash<QString, Op> const ops {
            { "total", { 2, true, [](Object& m, A a, N n) { m.startTotal(a, n[0]); } } },
            { "item", { 3, true, [](Object& m, A a, N n) { m.startItem(a, n[0], n[1]); } } },
            { "activity", { 1, true, [](Object& m, A a, N) { m.changeItemActivity(a); } } },
            { "acts", { 2, false, [](Object& m, A, N n) { m.setupItemActs(n[0], n[1]); } } },
            { "count", { 1, false, [](Object& m, A, N n) { m.changeItemActs(n[0]); } } },
            { "act", { 3, true, [](Object& m, A a, N n) { m.startItemAct(a, n[0], n[1]); } } },
            { "endacts", { 0, false, [](Object& m, A, N) { m.endItemActs(); } } },
            { "batch",
                { 5, true, [](Object& m, A a, N n) { m.setupItemActsThreads(a, n[0], n[1], n[2], n[3]); } } },
            { "slot", { 3, true, [](Object& m, A a, N n) { m.startItemActThread(a, n[0], n[1]); } } },
            { "slotvalue", { 2, false, [](Object& m, A, N n) { m.setItemActsThreadValue(n[0], n[1]); } } },
            { "slotend", { 1, false, [](Object& m, A, N n) { m.endItemActThread(n[0]); } } },
            { "slotretry", { 1, false, [](Object& m, A, N n) { m.retryItemActThread(n[0]); } } },
            { "endbatch", { 0, false, [](Object& m, A, N) { m.endItemActsThreads(); } } },
            { "value", { 1, false, [](Object& m, A, N n) { m.setItemValue(n[0]); } } },
            { "totalvalue", { 1, false, [](Object& m, A, N n) { m.setTotalValue(n[0]); } } },
            { "reset", { 0, false, [](Object& m, A, N) { m.reset(); } } },
        };
        Op const op = ops.value(words.value(0), { -1, false, nullptr });
        // Parsed before the call, so that a typo never reaches the model.
        bool good = op.arity == words.size() - 1;
        std::vector<Steps> n;
        for (qsizetype i = op.activity ? 2 : 1; i < words.size(); ++i) {
            bool ok = false;
            n.push_back(words[i].toULongLong(&ok));
            good = good && ok;
        }
        if (!good)
            return { u"bad step: "_s + step };

        records.clear();
        QElapsedTimer started;
        started.start();
        op.call(model, op.activity ? words[1] : QString(), n.data());
        // Conclusive when the throttle was certainly closed, or never started
        // and so certainly open; judged by the stopwatch of the restart before
        // this step, since the step may restart the throttle itself.
        lastConclusive = !sinceRestart.isValid() || sinceRestart.elapsed() <= 9;
        if (throttled(records) || startsWith(records, u"item "_s)) {
            sinceRestart = started;
            sinceRestarted.start();
        }
        return records;
    }

    // Runs "step -> record | record; ..." and returns "" when every step
    // emitted what its line expects; "inconclusive" when a value signal came
    // through that may rightly have done so on a slow machine (the throttle
    // was not certainly closed); otherwise the first mismatch.
    QString check(QString const& lines)
    {
        for (QString const& line : lines.split(u';')) {
            QStringList expected;
            for (QString const& record : line.section(u"->"_s, 1).split(u'|', Qt::SkipEmptyParts))
                expected << record.trimmed();
            expected.removeAll(QString());
            QStringList const got = perform(line.section(u"->"_s, 0, 0));
            if (got == expected)
                continue;
            if (!lastConclusive && !throttled(expected) && throttled(got))
                return u"inconclusive"_s;
            return u"\"%1\" gave \"%2\""_s.arg(line, got.join(u" | "));
        }
        return {};
    }

    static bool throttled(QStringList const& records)
    {
        return startsWith(records, u"value "_s) || startsWith(records, u"totalvalue "_s);
    }

    // Each slot as "state:name:value/max".
    static QStringList slotRecords(Progress::ThreadsState const& threads)
    {
        QStringList slots;
        for (unsigned i = 0; i < threads.count(); ++i)
            slots << u"%1:%2:%3/%4"_s.arg(int(threads[i].state))
                         .arg(threads[i].name)
                         .arg(threads[i].value)
                         .arg(threads[i].max);
        return slots;
    }
    static QString threadsRecord(Progress::ThreadsState const& threads)
    {
        QStringList const slots = slotRecords(threads);
        return u"slots "_s + (slots.isEmpty() ? u"-"_s : slots.join(u','));
    }

    // "[activity] value minimum..maximum on|off"
    static QString barState(HProgressBar const& bar)
    {
        return u"[%1] %2 %3..%4 %5"_s.arg(bar.activity())
            .arg(bar.value())
            .arg(bar.minimum())
            .arg(bar.maximum())
            .arg(bar.isEnabled() ? u"on" : u"off");
    }

private:
    static bool startsWith(QStringList const& records, QString const& head)
    {
        return std::any_of(
            records.cbegin(), records.cend(), [&](QString const& r) { return r.startsWith(head); });
    }
    void rec(QString const& record) { records << record; }

    Progress::Object& model;
    HProgressBar* bars[2];
    QStringList records;
    QElapsedTimer sinceRestart;
    QElapsedTimer sinceRestarted;
    bool lastConclusive = true;
    QList<QMetaObject::Connection> links;
};
