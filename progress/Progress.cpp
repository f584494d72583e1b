#include "progress/Progress.h"

#include "progress/ProgressMinion.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <algorithm>
#include <utility>

namespace Progress
{

namespace
{
// The throttles let a signal through once more than 9 ms have passed since
// the last one.  A timer that never ran counts as long ago.
bool throttleOpen(QElapsedTimer const& timer)
{
    return !timer.isValid() || timer.elapsed() > 9;
}

void registerMetaTypes()
{
    // Once per process; a function-local static is initialised exactly once
    // even when the first models are made on two threads at the same time.
    static bool const registered = [] {
        qRegisterMetaType<Steps>("Steps");
        qRegisterMetaType<ThreadsState>("ThreadsState");
        return true;
    }();
    Q_UNUSED(registered);
}
} // namespace

ThreadsState::ThreadsState(quint32 count)
    : slotCount(count)
    , slots(count != 0 ? std::make_unique<ThreadState[]>(count) : nullptr)
{
}

ThreadsState::ThreadsState(ThreadsState const& other)
    : slotCount(other.slotCount)
    , slots(other.slotCount != 0 ? std::make_unique<ThreadState[]>(other.slotCount) : nullptr)
{
    std::copy_n(other.slots.get(), slotCount, slots.get());
}

ThreadsState::ThreadsState(ThreadsState&& other) noexcept
    : slotCount(std::exchange(other.slotCount, 0))
    , slots(std::move(other.slots))
{
}

ThreadsState& ThreadsState::operator=(ThreadsState const& other)
{
    if (this != &other) {
        // Built aside first, so that the old array is released only once the
        // copy exists.
        ThreadsState copy(other);
        *this = std::move(copy);
    }
    return *this;
}

ThreadsState& ThreadsState::operator=(ThreadsState&& other) noexcept
{
    slotCount = std::exchange(other.slotCount, 0);
    slots = std::move(other.slots);
    return *this;
}

Object::Object(HProgressBar* totalBar, HProgressBar* itemBar)
{
    registerMetaTypes();

    // The minion moves the bars, so it lives where they live, whatever thread
    // made this model.  It has no parent: a parent would have to share the
    // thread.
    minion = new Minion(totalBar, itemBar);
    if (QCoreApplication* const app = QCoreApplication::instance())
        minion->moveToThread(app->thread());
    guiThread = minion->thread() == thread();

    // Automatic connections: direct when this model reports on the GUI
    // thread, queued from a work thread.
    connect(this, &Object::startTotalSig, minion, &Minion::startTotal);
    connect(this, &Object::startItemSig, minion, &Minion::startItem);
    connect(this, &Object::changeItemActivitySig, minion, &Minion::changeItemActivity);
    connect(this, &Object::changeItemActsSig, minion, &Minion::changeItemActs);
    connect(this, &Object::setItemValueSig, minion, &Minion::setItemValue);
    connect(this, &Object::endItemActsSig, minion, &Minion::endItemActs);
    connect(this, &Object::setTotalValueSig, minion, &Minion::setTotalValue);
    connect(this, &Object::updateThreadsStateSig, minion, &Minion::updateThreadsState);
    connect(this, &Object::resetSig, minion, &Minion::reset);

    reset();
}

Object::~Object()
{
    reset();
    // Signals still queued for the minion are delivered before it goes.
    minion->deleteLater();
}

void Object::startTotal(QString const& activity, Steps total)
{
    totalValue = 0;
    totalTail = total;
    if (guiThread)
        guiTimer.start();
    Q_EMIT startTotalSig(activity, totalTail);
    updateGui();
}

void Object::startItem(QString const& activity, Steps share, Steps itemTail_)
{
    totalValue = itemEnd;
    itemStart = itemEnd;
    itemEnd = itemStart + share;
    itemValue = 0;
    itemTail = itemTail_;
    valueTimer.start();
    Q_EMIT startItemSig(activity, totalValue, itemTail);
    updateGui();
}

void Object::changeItemActivity(QString const& activity)
{
    Q_EMIT changeItemActivitySig(activity);
    updateGui();
}

void Object::setupItemActs(Steps size, Steps count)
{
    actsSize = size;
    actsEnd = itemEnd + size;
    actsCount = count;
    actsDone = 0;
}

Steps Object::actPosition(Steps k) const
{
    if (actsCount == 0)
        return actsSize;
    return actsSize * k / actsCount;
}

void Object::changeItemActs(Steps count)
{
    actsCount = count;
    itemEnd = (actsEnd - actsSize) + actPosition(actsDone);
    totalValue = itemEnd;
    Q_EMIT changeItemActsSig(totalValue);
    updateGui();
}

void Object::startItemAct(QString const& activity, Steps itemTail_, Steps act)
{
    Steps const k = std::min(act, actsCount);
    Steps const share = actPosition(k) - actPosition(actsDone);
    startItem(activity, share, itemTail_);
    actsDone = k;
}

void Object::endItemActs()
{
    itemStart = itemEnd = actsEnd;
    totalValue = actsEnd;
    Q_EMIT endItemActsSig(totalValue);
    updateGui();
}

void Object::setupItemActsThreads(
    QString const& activity, Steps actFrom, Steps actTo, unsigned threads, Steps itemTail_)
{
    threadsActsFrom = actFrom;
    threadsActsCount = actsCount;
    threadsState = ThreadsState(threads);
    Q_EMIT updateThreadsStateSig(threadsState);
    // The batch runs up to the act before actTo.
    Steps const share = actPosition(actTo - 1) - actPosition(actsDone);
    startItem(activity, share, itemTail_);
    actsDone = actTo - 1;
}

void Object::startItemActThread(QString const& activity, unsigned slot, Steps max)
{
    if (!hasSlot(slot))
        return;
    ThreadState& state = threadsState[slot];
    state.name = activity;
    state.value = 0;
    state.max = max;
    state.state = ThreadState::InProgress;
    // With one slot the item bar can name the file itself.
    if (threadsState.count() == 1)
        changeItemActivity(activity);
    Q_EMIT updateThreadsStateSig(threadsState);
}

void Object::setItemActsThreadValue(unsigned slot, Steps value)
{
    if (!hasSlot(slot))
        return;
    Steps const old = threadsState[slot].value;
    threadsState[slot].value = value;
    Q_EMIT updateThreadsStateSig(threadsState);
    // The item bar shows the sum over all slots.
    setItemValue(itemValue + value - old);
}

void Object::endItemActThread(unsigned slot)
{
    if (!hasSlot(slot))
        return;
    threadsState[slot].state = ThreadState::Complete;
    Q_EMIT updateThreadsStateSig(threadsState);
}

void Object::retryItemActThread(unsigned slot)
{
    if (!hasSlot(slot))
        return;
    threadsState[slot].state = ThreadState::Retrying;
    // The slot's bytes are taken back from the item: the file starts over.
    Steps const value = itemValue - threadsState[slot].value;
    threadsState[slot].value = 0;
    setItemValue(value);
    Q_EMIT updateThreadsStateSig(threadsState);
}

void Object::endItemActsThreads()
{
    threadsState = ThreadsState();
    Q_EMIT updateThreadsStateSig(threadsState);
}

void Object::setItemValue(Steps value)
{
    value = std::min(value, itemTail);
    itemValue = value;
    totalValue = itemTail != 0 ? itemStart + (itemEnd - itemStart) * value / itemTail : itemEnd;
    // Not even the end of the item forces a signal within 10 ms of the last
    // one: yum reports every few kilobytes, and the final position reaches the
    // bars with the next structural signal (the next item, the end of the
    // acts, a new total).
    if (throttleOpen(valueTimer)) {
        valueTimer.start();
        Q_EMIT setItemValueSig(totalValue, value);
    }
    updateGui();
}

void Object::setTotalValue(Steps value)
{
    value = std::min(value, totalTail);
    // Reaching the end is always shown, once.
    if (throttleOpen(valueTimer) || (value == totalTail && totalValue != totalTail)) {
        valueTimer.start();
        totalValue = value;
        Q_EMIT setTotalValueSig(value);
        updateGui();
    }
}

void Object::reset()
{
    totalTail = 1;
    itemStart = itemEnd = 0;
    itemTail = 1;
    threadsState = ThreadsState();
    Q_EMIT updateThreadsStateSig(threadsState);
    Q_EMIT resetSig();
    updateGui();
}

void Object::updateGui()
{
    if (!guiThread || !throttleOpen(guiTimer))
        return;
    QEventLoop loop;
    loop.processEvents(QEventLoop::ExcludeUserInputEvents);
    guiTimer.start();
}

User::User(Object*& slot_, HProgressBar* totalBar, HProgressBar* itemBar)
    : slot(slot_)
{
    slot = new Object(totalBar, itemBar);
}

User::~User()
{
    delete slot;
    slot = nullptr;
}

} // namespace Progress
