#pragma once

#include <QList>
#include <QString>
#include <QtGlobal>

// The interpreter's object type, declared the way Python's own header does so
// that users of the records need not include it.
struct _object;
typedef struct _object PyObject;

// The records of the package table: one Entry per package or group that the
// engine reported, with the texts it shows read at collection time.
namespace Package
{

// The numbers are fixed: the table and the command line store them.
enum Action : int {
    Update = 0,
    Install = 1,
    Remove = 2,
    NoAction = 3, // every new entry starts here
};

enum State : int {
    AvailableForUpdate = 0,
    Available = 1,
    Installed = 2,
};

enum Kind : int {
    Suite = 0,
    Group = 1,
    Ordinary = 2,
};

// "Available for update", "Available for installation", "Installed";
// translated; empty for any other value.
QString stateText(int state);
// "Suite of packages", "Group of packages", "Ordinary package"; translated;
// empty for any other value.
QString kindText(int kind);

// One row of the table.  The session (YumIO) creates, owns and deletes the
// entries; only `action` is written by others (the table model), and `state`
// by the session's group check.
struct Entry {
    Entry() = default;
    // Deletes the chain behind this entry.  The Python reference must have
    // been dropped (and `object` set to null) under the interpreter lock
    // before: an entry that still holds one reports it once per process on
    // standard error and leaks the reference rather than touch the
    // interpreter without its lock.
    ~Entry();
    Entry(Entry const&) = delete;
    Entry& operator=(Entry const&) = delete;

    Action action = NoAction;
    State state = Available;
    Kind kind = Ordinary;
    QString name;
    // The package's printVer(): [epoch:]version-release.
    QString verRel;
    // Repository id; "installed" for what comes from the rpm database.
    QString repo;
    QString arch;
    // The bi-arch partner of `arch` (x86_64 for i686, ...): the key under
    // which packages of one name are merged.
    QString baseArch;
    quint64 size = 0;
    QString summary;
    long buildTime = 0; // seconds since the epoch
    // Owned reference to the engine's package or group object, kept for the
    // details shown on demand.
    PyObject* object = nullptr;
    // Another entry of the same name was judged the better choice.
    bool superseded = false;
    // Further installed instances of the same key (owned), a singly linked
    // chain: the installed versions behind an update, or the several
    // installed versions of an install-only package.
    Entry* next = nullptr;

    // Used only while an apply runs.  The action that will really be applied
    // (a marked group may change a member's), the entry whose marking
    // produced it, and, on further instances, that the instance was dealt
    // with.
    Action effectiveAction = NoAction;
    Entry const* actionSource = nullptr;
    bool handled = false;

    // Number of entries in the chain behind this one.
    int instances() const;
};

// A list of entries that owns them: its destructor deletes every one.
class EntryList : public QList<Entry*>
{
public:
    EntryList() = default;
    ~EntryList();
    EntryList(EntryList const&) = delete;
    EntryList& operator=(EntryList const&) = delete;

    // Deletes every entry and empties the list.
    void deleteAll();
};

// A byte count for people: "500b", "1.0Kb", "9.9Mb", "10Mb", ... The unit
// steps up from 1000 of the current one and each step divides by 1024.
QString bytesFormat(quint64 bytes);
// The local time as ctime shows it, without the line end:
// "Tue Nov 14 22:13:20 2023".
QString timeFormat(long time);
// The same without the time of day: "Tue Nov 14 2023".
QString dateFormat(long time);

} // namespace Package
