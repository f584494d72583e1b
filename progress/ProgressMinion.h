#pragma once

#include "progress/Progress.h"

#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QString>

class GeneralTip;
class HProgressBar;
class QWidget;

namespace Progress
{

// The GUI-thread side of a progress model: receives the model's signals and
// moves the two bars, and keeps its own copy of the download slots for the
// item bar's tool-tip.  Everything here runs on the GUI thread.
class Minion : public QObject
{
    Q_OBJECT

public:
    Minion(HProgressBar* totalBar, HProgressBar* itemBar);
    ~Minion() override;

    // Lays out the slot table of a parallel download on an empty tip widget.
    static void fillTip(QWidget* area, ThreadsState const& threads);

public Q_SLOTS:
    void startTotal(QString activity, Steps totalTail);
    void startItem(QString activity, Steps totalValue, Steps itemTail);
    void changeItemActivity(QString activity);
    void changeItemActs(Steps totalValue);
    void setItemValue(Steps totalValue, Steps value);
    void endItemActs(Steps totalValue);
    void setTotalValue(Steps value);
    void updateThreadsState(ThreadsState const& threads);
    void reset();
    void itemProgressToolTip(QPoint const& pos);

private:
    void hideOwnTip();

    // Not owned.  Guarded, because the window may close while signals are
    // still queued for a minion that is about to be deleted.
    QPointer<HProgressBar> totalBar;
    QPointer<HProgressBar> itemBar;
    ThreadsState threadsState;
    // How far each bar's values are shifted down to fit its int range.
    int totalShift = 0;
    int itemShift = 0;
    // The tip this minion put up, while it is up.
    QPointer<GeneralTip> tip;
};

} // namespace Progress
