#pragma once

#include <QList>
#include <QMetaObject>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QWidget>

class HTextEdit;
class QSpinBox;

namespace Log
{

// What an entry is; the numbers are fixed, other code passes them as numbers.
enum Kind : int {
    Info = 0,
    Output = 1, // captured standard output of yum and rpm
    Warning = 2,
    Error = 3, // also every value not listed here
    Action = 4, // the start of an operation, shown as a heading
};

struct Entry {
    Kind kind;
    // 0 = always of interest, higher = more detail; yum's debug levels pass
    // through unchanged.
    quint32 level;
    // One line, without its newline.
    QString text;
};

// Every entry of the run; nothing is ever removed.  Writers on any thread
// lock `mutex`, append to `entries`, unlock, and then call emitAppended().
class EntryList : public QObject
{
    Q_OBJECT

public:
    explicit EntryList(QObject* parent = nullptr);

    QList<Entry> entries;
    QMutex mutex;

    void emitAppended();
    // Locks, appends one entry, unlocks and emits appended().
    void append(Kind kind, quint32 level, QString const& text);

Q_SIGNALS:
    void appended();
};

// Shows the entries whose level is at most the chosen detail level.  While
// hidden it does no work at all; it catches up when shown again.
class Window : public QWidget
{
    Q_OBJECT

public:
    static constexpr int maximumLevel = 10;
    static constexpr int defaultLevel = 2;

    explicit Window(EntryList& list, QWidget* parent = nullptr);

    void setVisible(bool visible) override;

    int level() const;
    void setLevel(int level);

    // The rich text that shows one entry: its text made safe and coloured by
    // its kind.
    static QString format(Entry const& entry);
    // Angle brackets, blanks and tabs as character references.  Ampersands
    // are left alone on purpose, so that an entity in a text reaches the
    // display as the character it names.
    static QString escape(QString const& text);

public Q_SLOTS:
    void appended();
    void levelChanged(int level);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    EntryList& list;
    HTextEdit* area;
    QSpinBox* levelBox;
    qsizetype examined = 0;
    QMetaObject::Connection following;
};

} // namespace Log
