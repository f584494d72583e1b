#include "ProgressScript.h"

#include "widgets/HProgressBar.h"

#include <QThread>
#include <algorithm>
#include <functional>

using Progress::Steps;

ProgressScript::ProgressScript(Progress::Object& model_)
    : model(model_)
{
    connections << QObject::connect(
        &model, &Progress::Object::startTotalSig, [this](QString const& activity, Steps tail) {
            records << QStringLiteral("total %1 %2").arg(activity).arg(tail);
        });
    connections << QObject::connect(&model, &Progress::Object::startItemSig,
        [this](QString const& activity, Steps totalValue, Steps tail) {
            records << QStringLiteral("item %1 %2 %3").arg(activity).arg(totalValue).arg(tail);
        });
    connections << QObject::connect(&model, &Progress::Object::changeItemActivitySig,
        [this](QString const& activity) { records << QStringLiteral("activity %1").arg(activity); });
    connections << QObject::connect(&model, &Progress::Object::changeItemActsSig,
        [this](Steps totalValue) { records << QStringLiteral("count %1").arg(totalValue); });
    connections << QObject::connect(
        &model, &Progress::Object::setItemValueSig, [this](Steps totalValue, Steps value) {
            records << QStringLiteral("value %1 %2").arg(totalValue).arg(value);
        });
    connections << QObject::connect(&model, &Progress::Object::endItemActsSig,
        [this](Steps totalValue) { records << QStringLiteral("endacts %1").arg(totalValue); });
    connections << QObject::connect(&model, &Progress::Object::setTotalValueSig,
        [this](Steps value) { records << QStringLiteral("totalvalue %1").arg(value); });
    connections << QObject::connect(&model, &Progress::Object::updateThreadsStateSig,
        [this](Progress::ThreadsState const& threads) { records << threadsRecord(threads); });
    connections << QObject::connect(
        &model, &Progress::Object::resetSig, [this] { records << QStringLiteral("reset"); });
}

ProgressScript::~ProgressScript()
{
    // The model outlives the script in most tests, and still signals when
    // it is deleted.
    for (QMetaObject::Connection const& connection : std::as_const(connections))
        QObject::disconnect(connection);
}

QString ProgressScript::threadsRecord(Progress::ThreadsState const& threads)
{
    if (threads.count() == 0)
        return QStringLiteral("slots -");
    QStringList slots;
    for (unsigned i = 0; i < threads.count(); ++i) {
        Progress::ThreadState const& slot = threads[i];
        slots << QStringLiteral("%1:%2:%3/%4")
                     .arg(int(slot.state))
                     .arg(slot.name)
                     .arg(slot.value)
                     .arg(slot.max);
    }
    return QStringLiteral("slots ") + slots.join(QLatin1Char(','));
}

QString ProgressScript::barState(HProgressBar const& bar)
{
    return QStringLiteral("[%1] %2 %3..%4 %5")
        .arg(bar.activity())
        .arg(bar.value())
        .arg(bar.minimum())
        .arg(bar.maximum())
        .arg(bar.isEnabled() ? QStringLiteral("on") : QStringLiteral("off"));
}

QString ProgressScript::stepOf(QString const& line)
{
    return line.section(QStringLiteral("->"), 0, 0).trimmed();
}

QStringList ProgressScript::expectedOf(QString const& line)
{
    QStringList expected;
    if (!line.contains(QStringLiteral("->")))
        return expected;
    for (QString const& record : line.section(QStringLiteral("->"), 1).split(QLatin1Char('|'))) {
        if (!record.trimmed().isEmpty())
            expected << record.trimmed();
    }
    return expected;
}

bool ProgressScript::throttled(QStringList const& records)
{
    for (QString const& record : records) {
        if (record.startsWith(QLatin1String("value ")) || record.startsWith(QLatin1String("totalvalue ")))
            return true;
    }
    return false;
}

QStringList ProgressScript::perform(QString const& step)
{
    QStringList const words = step.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (words.isEmpty())
        return { QStringLiteral("empty step") };
    QString const& op = words.first();
    bool good = true;
    auto number = [&](int i) -> Steps {
        bool ok = false;
        Steps const n = i < words.size() ? words[i].toULongLong(&ok) : 0;
        good = good && ok;
        return n;
    };
    auto word = [&](int i) -> QString {
        good = good && i < words.size();
        return words.value(i);
    };
    auto arity = [&](int n) { good = good && words.size() == n + 1; };

    if (op == QLatin1String("wait")) {
        arity(0);
        while (sinceRestarted.isValid() && sinceRestarted.elapsed() <= 9)
            QThread::msleep(1);
        return good ? QStringList() : QStringList { QStringLiteral("bad step: ") + step };
    }
    if (op == QLatin1String("hold")) {
        arity(0);
        // Spinning, not sleeping: a sleep may overshoot the 2 ms window.
        while (sinceRestarted.isValid() && sinceRestarted.elapsed() < 8)
            QThread::yieldCurrentThread();
        return good ? QStringList() : QStringList { QStringLiteral("bad step: ") + step };
    }

    // Parsed before the call, so that a typo never reaches the model.
    QString const activity
        = (op == QLatin1String("total") || op == QLatin1String("item") || op == QLatin1String("activity")
              || op == QLatin1String("act") || op == QLatin1String("batch") || op == QLatin1String("slot"))
        ? word(1)
        : QString();
    std::function<void()> call;
    if (op == QLatin1String("total")) {
        arity(2);
        call = [&, tail = number(2)] { model.startTotal(activity, tail); };
    } else if (op == QLatin1String("item")) {
        arity(3);
        call = [&, share = number(2), tail = number(3)] { model.startItem(activity, share, tail); };
    } else if (op == QLatin1String("activity")) {
        arity(1);
        call = [&] { model.changeItemActivity(activity); };
    } else if (op == QLatin1String("acts")) {
        arity(2);
        call = [&, size = number(1), count = number(2)] { model.setupItemActs(size, count); };
    } else if (op == QLatin1String("count")) {
        arity(1);
        call = [&, count = number(1)] { model.changeItemActs(count); };
    } else if (op == QLatin1String("act")) {
        arity(3);
        call = [&, tail = number(2), act = number(3)] { model.startItemAct(activity, tail, act); };
    } else if (op == QLatin1String("endacts")) {
        arity(0);
        call = [&] { model.endItemActs(); };
    } else if (op == QLatin1String("batch")) {
        arity(5);
        call = [&, from = number(2), to = number(3), threads = unsigned(number(4)), tail = number(5)] {
            model.setupItemActsThreads(activity, from, to, threads, tail);
        };
    } else if (op == QLatin1String("slot")) {
        arity(3);
        call = [&, slot = unsigned(number(2)), max = number(3)] {
            model.startItemActThread(activity, slot, max);
        };
    } else if (op == QLatin1String("slotvalue")) {
        arity(2);
        call = [&, slot = unsigned(number(1)), value = number(2)] {
            model.setItemActsThreadValue(slot, value);
        };
    } else if (op == QLatin1String("slotend")) {
        arity(1);
        call = [&, slot = unsigned(number(1))] { model.endItemActThread(slot); };
    } else if (op == QLatin1String("slotretry")) {
        arity(1);
        call = [&, slot = unsigned(number(1))] { model.retryItemActThread(slot); };
    } else if (op == QLatin1String("endbatch")) {
        arity(0);
        call = [&] { model.endItemActsThreads(); };
    } else if (op == QLatin1String("value")) {
        arity(1);
        call = [&, value = number(1)] { model.setItemValue(value); };
    } else if (op == QLatin1String("totalvalue")) {
        arity(1);
        call = [&, value = number(1)] { model.setTotalValue(value); };
    } else if (op == QLatin1String("reset")) {
        arity(0);
        call = [&] { model.reset(); };
    } else {
        good = false;
    }
    if (!good)
        return { QStringLiteral("bad step: ") + step };

    records.clear();
    QElapsedTimer started;
    started.start();
    call();
    // Judged by the stopwatch of the restart before this step: the step may
    // restart the throttle itself.
    lastConclusive = !sinceRestart.isValid() || sinceRestart.elapsed() <= 9;
    // Every signal that restarts the throttle was emitted after `started`.
    bool const restarted = throttled(records)
        || std::any_of(records.cbegin(), records.cend(),
            [](QString const& record) { return record.startsWith(QLatin1String("item ")); });
    if (restarted) {
        sinceRestart = started;
        sinceRestarted.start();
    }
    return records;
}
