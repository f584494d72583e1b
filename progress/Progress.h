#pragma once

#include <QElapsedTimer>
#include <QMetaType>
#include <QObject>
#include <QString>
#include <QtGlobal>
#include <memory>

class HProgressBar;

// The progress of a long yum operation, reported from the thread that runs it
// and shown on two bars of the GUI thread: a total bar for the whole operation
// and an item bar for the step in hand.
//
// Everything is measured on one absolute total scale.  An operation announces
// its length; each item then claims a share of it and maps its own progress
// (bytes, say) linearly into that share.  A run of like items ("acts") can be
// given one block of the scale, split equally between them, and a batch of
// parallel downloads is one item whose files are shown per slot in the item
// bar's tool-tip.
namespace Progress
{

// Positions and lengths on either scale.  All arithmetic on them is unsigned
// 64-bit with truncating division.
using Steps = quint64;

class Minion;

// One slot of a parallel download.
class ThreadState
{
public:
    enum State : int { NotStarted = 0, Retrying = 1, InProgress = 2, Complete = 3 };

    QString name;
    Steps value = 0;
    // A max of exactly 1 means that the length of the file is unknown.
    Steps max = 1;
    State state = NotStarted;
};

// All slots of one parallel batch.  A value type: copies are deep, so that a
// copy can travel through a queued connection while the reporter goes on
// changing its own.
class ThreadsState
{
public:
    ThreadsState() = default;
    explicit ThreadsState(quint32 count);
    ThreadsState(ThreadsState const& other);
    ThreadsState(ThreadsState&& other) noexcept;
    ThreadsState& operator=(ThreadsState const& other);
    ThreadsState& operator=(ThreadsState&& other) noexcept;
    ~ThreadsState() = default;

    quint32 count() const { return slotCount; }
    // No bounds test: callers check against count().
    ThreadState& operator[](unsigned i) { return slots[i]; }
    ThreadState const& operator[](unsigned i) const { return slots[i]; }

private:
    quint32 slotCount = 0;
    std::unique_ptr<ThreadState[]> slots;
};

// The reporting model.  Lives on the thread that reports (a work thread, or
// the GUI thread for short operations) and reaches the bars only through its
// signals, which carry values only, so that queued delivery is safe.  It takes
// no lock: one thread reports at a time.
class Object : public QObject
{
    Q_OBJECT

public:
    Object(HProgressBar* totalBar, HProgressBar* itemBar);
    ~Object() override;

    Object(Object const&) = delete;
    Object& operator=(Object const&) = delete;

    void startTotal(QString const& activity, Steps total);
    void startItem(QString const& activity, Steps share, Steps itemTail);
    void changeItemActivity(QString const& activity);

    void setupItemActs(Steps size, Steps count);
    void changeItemActs(Steps count);
    void startItemAct(QString const& activity, Steps itemTail, Steps act);
    void endItemActs();

    void setupItemActsThreads(
        QString const& activity, Steps actFrom, Steps actTo, unsigned threads, Steps itemTail);
    void startItemActThread(QString const& activity, unsigned slot, Steps max);
    void setItemActsThreadValue(unsigned slot, Steps value);
    void endItemActThread(unsigned slot);
    void retryItemActThread(unsigned slot);
    void endItemActsThreads();

    void setItemValue(Steps value);
    void setTotalValue(Steps value);
    void reset();

    // Lets the GUI repaint, at most every 10 ms and without user input, when
    // the reporter is the GUI thread itself; a work thread never pumps events.
    void updateGui();

Q_SIGNALS:
    void startTotalSig(QString activity, Steps totalTail);
    void startItemSig(QString activity, Steps totalValue, Steps itemTail);
    void changeItemActivitySig(QString activity);
    void changeItemActsSig(Steps totalValue);
    void setItemValueSig(Steps totalValue, Steps value);
    void endItemActsSig(Steps totalValue);
    void setTotalValueSig(Steps value);
    void updateThreadsStateSig(ThreadsState const& threads);
    void resetSig();

private:
    // Where act k of the reserved run ends, relative to the start of the run.
    Steps actPosition(Steps k) const;
    // A slot number the batch does not have is ignored rather than written
    // past the array: the meters number slots from what yum announces, and
    // a miscount there must not corrupt memory here.
    bool hasSlot(unsigned slot) const { return slot < threadsState.count(); }

    Minion* minion = nullptr;
    bool guiThread = false;
    QElapsedTimer valueTimer;
    QElapsedTimer guiTimer;
    Steps totalValue = 0;
    Steps totalTail = 1;
    Steps itemStart = 0;
    Steps itemEnd = 0;
    Steps itemValue = 0;
    Steps itemTail = 1;
    Steps actsSize = 0;
    Steps actsEnd = 0;
    Steps actsCount = 0;
    Steps actsDone = 0;
    // Recorded for inspection in a debugger; nothing reads them back.
    Steps threadsActsFrom = 0;
    Steps threadsActsCount = 0;
    ThreadsState threadsState;
};

// Holds a model in the caller's slot for the length of one operation, so that
// the model exists exactly while the operation runs.
class User
{
public:
    User(Object*& slot, HProgressBar* totalBar, HProgressBar* itemBar);
    ~User();

    User(User const&) = delete;
    User& operator=(User const&) = delete;

private:
    Object*& slot;
};

} // namespace Progress

Q_DECLARE_METATYPE(Progress::ThreadsState)
