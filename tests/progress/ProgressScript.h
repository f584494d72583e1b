#pragma once

#include "progress/Progress.h"

#include <QElapsedTimer>
#include <QList>
#include <QMetaObject>
#include <QString>
#include <QStringList>

class HProgressBar;

// Drives a progress model from short textual steps and records, one line per
// signal, what each step emitted.  Steps (activities are single words):
//   total <activity> <tail>             item <activity> <share> <tail>
//   activity <activity>                 acts <size> <count>
//   count <n>                           act <activity> <tail> <n>
//   endacts                             batch <activity> <from> <to> <threads> <tail>
//   slot <activity> <slot> <max>        slotvalue <slot> <value>
//   slotend <slot>                      slotretry <slot>
//   endbatch                            value <v>
//   totalvalue <v>                      reset
//   wait                                hold
// Records:
//   total <activity> <tail>             item <activity> <totalValue> <tail>
//   activity <activity>                 count <totalValue>
//   value <totalValue> <value>          endacts <totalValue>
//   totalvalue <value>                  reset
//   slots <state>:<name>:<value>/<max>,...   (or "slots -" for none)
//
// The model's value throttle lets a signal through once more than 9 ms have
// passed since its last restart, which happens inside the model.  The runner
// keeps two stopwatches around every step that turns out to have restarted
// that throttle: one started just before the step, which never shows less
// than the model's own, and one started just after it, which never shows
// more.  "wait" lets the second pass 9 ms, after which the next value signal
// is certain.  "hold" lets the second reach 8 ms: while the first still shows
// 9 ms or less, the model's own shows 8 or 9, and suppression is certain.
class ProgressScript
{
public:
    explicit ProgressScript(Progress::Object& model);
    ~ProgressScript();
    ProgressScript(ProgressScript const&) = delete;
    ProgressScript& operator=(ProgressScript const&) = delete;

    // Performs one step (the part of a line before "->") and returns the
    // signals it emitted.
    QStringList perform(QString const& step);

    // True when, during the last step, the model's value throttle was
    // certainly still closed, or had never been started (then it was
    // certainly open, and a suppressed signal would be a real fault too):
    // either way the outcome was decided by the model, not by the machine's
    // speed.
    bool conclusive() const { return lastConclusive; }

    // True when the records hold a signal of the value throttle.
    static bool throttled(QStringList const& records);

    static QString threadsRecord(Progress::ThreadsState const& threads);
    // One line of a bar's state: "[activity] value minimum..maximum on|off".
    static QString barState(HProgressBar const& bar);

    // A step line "op args -> record | record" split into its step and its
    // expected records.
    static QString stepOf(QString const& line);
    static QStringList expectedOf(QString const& line);

private:
    Progress::Object& model;
    QStringList records;
    QElapsedTimer sinceRestart;
    QElapsedTimer sinceRestarted;
    bool lastConclusive = true;
    QList<QMetaObject::Connection> connections;
};
