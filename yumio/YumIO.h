#pragma once

// Python's header first: it sets feature macros the C library headers read.
#include "log/LogWindow.h"
#include "yumio/Package.h"
#include "yumio/Python.h"
#include "yumio/YumIOMeters.h"

#include <QHash>
#include <QMutex>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <atomic>
#include <csignal>
#include <functional>

class HProgressBar;
class QEventLoop;
class QThread;
class QWidget;
class YumIOCapturers;
class YumIODialogs;
class YumIOThread;
template <typename K, typename V>
class QMultiHash;

namespace Progress
{
class Object;
}

// The yum session: the one object through which SORVAN talks to the package
// engine.  It runs the companion script python/YumIO.py in the embedded
// interpreter, keeps the script's session object `yumIO`, and answers the
// script's callbacks (module yumIOC).  It owns the package entries the table
// shows and the log of everything the engine said.
//
// Start-up order: YumIO(), setup(), initialize(), then collect().  Everything
// public runs on the GUI thread, which holds the interpreter lock except while
// a long operation runs on a work thread (collect, clearEntries,
// collectFileLists, collectOtherData); those block the caller in a local event
// loop, so the window stays live, and return the operation's result.
class YumIO : public QObject, public YumIOMeters, private Python
{
    Q_OBJECT

public:
    // The key under which packages of one name are merged: a package and a
    // group of the same name are different keys.
    struct EntryKey {
        EntryKey() = default;
        EntryKey(bool group, QString name, QString baseArch)
            : group(group)
            , name(std::move(name))
            , baseArch(std::move(baseArch))
        {
        }
        bool group = false;
        QString name;
        QString baseArch;
        friend bool operator==(EntryKey const&, EntryKey const&) = default;
    };

    // A one-shot gate: the GUI thread closes it before starting a worker and
    // opens it once its wait loop runs, so the worker sends nothing before
    // the loop can receive it.
    class Blocker
    {
    public:
        void prepare() { mutex.lock(); }
        void release() { mutex.unlock(); }
        void block()
        {
            mutex.lock();
            mutex.unlock();
        }

    private:
        QMutex mutex;
    };

    explicit YumIO(QObject* parent = nullptr);
    // Puts Python's streams back, releases the lock when held, and finalizes
    // the interpreter.
    ~YumIO() override;

    // The parent of every dialog, and the two bars that show progress.
    void setup(QWidget* parent, HProgressBar* total, HProgressBar* item);
    // Starts the interpreter and the script.  False after a reported failure:
    // the session is then unusable.
    bool initialize();

    // --- collection --------------------------------------------------------

    // Takes the lock (once per session) and collects the repositories,
    // packages and groups, with the given repositories enabled or disabled
    // for this run (repository id -> enabled; empty for the defaults).
    bool collect(QHash<QString, bool> const& enables);
    // Starts over: a new session object of the script, and no entries.
    void clear();
    // Deletes the entries on a worker; the table sees none meanwhile.
    void clearEntries();
    // At shutdown, without a worker: forgets the entries' Python objects
    // (the interpreter goes right after) and deletes the entries.
    void clearEntriesBeforeQuit();
    // When the process ends next, without a worker: releases the lock and
    // closes the engine's files and databases, as deleting the session would,
    // but leaves the entries, the engine's data and the interpreter to the
    // process's end instead of taking tens of thousands of objects apart one
    // by one.  Only deleting the session may follow.
    void leaveToProcessEnd();
    // Load the repositories' file lists or change logs, once per collection.
    bool collectFileLists();
    bool collectOtherData();
    bool fileListsLoaded() const { return fileListsFlag; }
    bool otherDataLoaded() const { return otherDataFlag; }
    // True while a long operation runs on a worker.
    bool isBusy() const { return busy; }
    // Stops the running downloads, from any thread: a collection reads the
    // metadata already in the cache instead, an apply ends before rpm starts.
    // Every operation on a worker starts uncancelled.
    void cancelDownloads() { downloadCancel = true; }
    bool downloadCancelled() const { return downloadCancel; }

    // --- applying ------------------------------------------------------------

    // Applies the marked actions (and those of marked groups' members) on a
    // worker: resolution, the listing and its confirmation, downloads and the
    // RPM transaction.  True once a confirmed transaction ran.  Refused with
    // a message, before anything is resolved, without root.
    bool apply();
    // The last apply reached the engine and failed: what the engine did may
    // have changed the system, so the packages need collecting again.
    bool lastApplyFailed() const { return applyFailed; }
    // --- cleaning the caches (GUI thread) ------------------------------------

    // Each empties one of the engine's caches under the managed root; true
    // when the engine reported success.  cleanAll() goes on past a failure.
    bool cleanHeaders();
    bool cleanPackages();
    bool cleanXmlMetadata();
    bool cleanPickledCache();
    bool cleanSqliteCache();
    bool cleanAll();
    // What the engine said of the last cleaning: a summary per kind, and a
    // line per file it could not remove.
    QStringList cleanMessages() const { return cleanReport; }

    // "update", "install", "remove": an action as the messages name it.
    static QString actionName(Package::Action action);

    // --- the entries, for the table (GUI thread) ---------------------------

    // 0 while the entries are being cleared.
    int count() const;
    Package::EntryList::const_iterator begin() const;
    Package::EntryList::const_iterator end() const;
    // Entry i; null while the entries are being cleared (count() is 0 then)
    // or for an index out of range.
    Package::Entry* operator[](int i) const;

    // The texts of what was read at collection time; no interpreter needed.
    // Size and build time are formatted when asked: tens of thousands of
    // entries, of which a table shows a few dozen.  A group has neither.
    QString getName(Package::Entry const& entry) const { return entry.name; }
    QString getVerRel(Package::Entry const& entry) const { return entry.verRel; }
    QString getRepo(Package::Entry const& entry) const { return entry.repo; }
    QString getArch(Package::Entry const& entry) const { return entry.arch; }
    QString getSize(Package::Entry const& entry) const
    {
        return entry.kind == Package::Group ? QString() : Package::bytesFormat(entry.size);
    }
    QString getSummary(Package::Entry const& entry) const { return entry.summary; }
    QString getBuildTime(Package::Entry const& entry) const
    {
        return entry.kind == Package::Group ? QString() : Package::timeFormat(entry.buildTime);
    }
    QString getState(Package::Entry const& entry) const { return Package::stateText(entry.state); }
    QString getKind(Package::Entry const& entry) const { return Package::kindText(entry.kind); }

    // Details read on demand from the entry's engine object: from the rpm
    // header for an installed package, from the repository metadata for the
    // others.  Empty for an entry without an object.
    QString getDescription(Package::Entry const& entry);
    QString getGroup(Package::Entry const& entry);
    QString getVendor(Package::Entry const& entry);
    QString getBuildHost(Package::Entry const& entry);
    // Empty for a package that is not installed.
    QString getInstallTime(Package::Entry const& entry);
    // The file name of the package's rpm.
    QString getBinaryRpm(Package::Entry const& entry);
    QString getSourceRpm(Package::Entry const& entry);
    QString getLicense(Package::Entry const& entry);
    QString getPackager(Package::Entry const& entry);
    QString getUrl(Package::Entry const& entry);
    // Empty for a package that is not installed.
    QStringList getRelocations(Package::Entry const& entry);
    // One dependency per line: "name", or "name >= [epoch:]version[-release]".
    QStringList getProvides(Package::Entry const& entry);
    QStringList getRequires(Package::Entry const& entry);
    QStringList getConflicts(Package::Entry const& entry);
    QStringList getObsoletes(Package::Entry const& entry);
    // For a package that is not installed these need the file lists or the
    // change logs: they are loaded first (collectFileLists(),
    // collectOtherData()) unless a load failed since the last collection.
    QStringList getFiles(Package::Entry const& entry);
    // "* date author\ntext" per entry of the change log, separated by blank
    // lines.
    QString getChangeLog(Package::Entry const& entry);
    // The member lists of a group.
    QStringList getRequiredGroups(Package::Entry const& entry);
    QStringList getDefaultMetaPkgs(Package::Entry const& entry);
    QStringList getOptionalMetaPkgs(Package::Entry const& entry);
    QStringList getMandatoryPkgs(Package::Entry const& entry);
    QStringList getDefaultPkgs(Package::Entry const& entry);
    QStringList getOptionalPkgs(Package::Entry const& entry);
    QStringList getConditionalPkgs(Package::Entry const& entry);
    // The entries in the order their details are quickest to read one after
    // the other (where they lie in the engine's metadata); entries the engine
    // does not place keep their order, after the others.
    QList<Package::Entry const*> readingOrder(QList<Package::Entry const*> entries);

    // --- the engine --------------------------------------------------------

    QString yumVersionStr();
    // 3.2.8 -> 30208: up to three dotted parts weighted 10000, 100 and 1.
    int yumVersion() override;
    // The same for any version text; `understood` is cleared when a part is
    // not a number.
    static int versionNumber(QString const& text, bool* understood = nullptr);
    bool hasDistribGroups();
    bool hasTransTest();
    bool hasPickledCache();
    bool hasSqliteCache();
    bool usesSqlite() override;
    bool usesPresto();
    bool hasMultiProgress() override;
    QString getYumVar(QString const& name);
    QString getBiArch(QString const& arch);

    // The repositories enabled in the last collection, and its base
    // architecture.
    QStringList enabledRepos() const { return enabledRepoIds; }
    // Repositories the user chose to disable for this session when the last
    // collection could not reach them.
    QStringList unreachableReposDisabled() const { return unreachableDisabled; }
    QString baseArch() const { return baseArchitecture; }
    // The base architectures of the packages collected.
    QSet<QString> baseArchs() const { return baseArchitectures; }
    // The session holds the lock on the managed root.
    bool isLocked() const { return locked; }

    // Everything the engine, rpm and SORVAN's own reports wrote.
    Log::EntryList& logEntries() { return logList; }

    // --- reports -----------------------------------------------------------

    // A message box ("SORVAN Yum Error" or "SORVAN Yum Warning") and a log
    // line; from any thread.
    void error(QString const& text) override;
    void warning(QString const& text) override;
    void error(char const* message) override;
    void warning(char const* message) override;
    // A scrollable box with the error lines the engine logged since the
    // current expectation scope opened, followed by `text`.
    void pythonException(QString const& text);
    // The same, headed by the pending exception's message.
    void pythonExceptionV(QString const& text);

Q_SIGNALS:
    // File lists or change logs were loaded: details may have grown.
    void collectedExtraData();
    // From the worker: downloads that cancelDownloads() stops start or end.
    void downloadsCancellable(bool on);

private Q_SLOTS:
    void blockerRelease() { blocker.release(); }

private:
    friend class CollectThread;
    friend class ClearEntriesThread;
    friend class CollectFileListsThread;
    friend class CollectOtherDataThread;
    friend class ApplyThread;
    friend struct YumIOC;

    // What the meters need.
    Progress::Object* meterProgress() override { return progress; }
    int meterRepoCount() override { return int(enabledRepoIds.size()); }
    // The log mark: the first log entry written after the scope's first
    // expectation.
    void pyExceptExpect(PyObject* type) override;
    void pyExceptClear() override;
    void exceptionExpected() override { }

    // The expectations of every long script call, and the classification of
    // its failure; true when `result` failed with one of them (reported).
    void commExceptSetup();
    bool commExceptRaised(PyObject* result, QString const& what);
    // The walkback of the pending exception to the log (through sys.stderr);
    // the exception is consumed.
    void printWalkback();
    // The error lines logged from `start` on, `text` last, in a scrollable box.
    void pythonExceptionFrom(qsizetype start, QString const& text);

    // --- work threads --------------------------------------------------------
    void execWorkThread(QEventLoop& loop, YumIOThread& thread);
    bool collectReal(QHash<QString, bool> const& enables);
    void clearEntriesReal();
    bool collectFileListsReal();
    bool collectOtherDataReal();
    // The common part of the two extra-data loads.
    bool collectExtraReal(char const* method, QString const& total, QString const& item, QString const& what,
        char const* internalError);
    bool takeLock();
    // Releases the lock when held, reporting a failure.
    void releaseLock();
    // Reads the enabled repositories; a repository that cannot be reached
    // may be disabled for the session, at the user's word, and the others read.
    bool setupRepos(PyObject* store);
    // Closes the expectation scope and the progress display of a failed step.
    bool collectFailed();

    // --- applying (work thread, interpreter lock held) ------------------------
    bool applyReal();
    bool applyGroups();
    // The package names of a group, from the script's requiredPkgs or pkgTree.
    QStringList groupMembers(Package::Entry const& group, char const* method);
    bool applyGrpInstall(Package::Entry const& group, QMultiHash<QString, Package::Entry*> const& byName);
    bool applyGrpUpdate(Package::Entry const& group, QMultiHash<QString, Package::Entry*> const& byName);
    bool applyGrpRemove(Package::Entry const& group, QMultiHash<QString, Package::Entry*> const& byName);
    // Gives a member the group's action, asking when it already has another;
    // false when the user chose to stop.
    bool applyGrpMark(Package::Entry const& group, Package::Entry& member, Package::Action wanted);
    bool applyGrpConflict(Package::Entry const& group, Package::Entry& member, Package::Action wanted);
    void applyGrpLog(Package::Entry const& group, Package::Entry const& member, Package::Action action);
    void applyGrpLogWas(Package::Entry const& group, Package::Entry const& member, Package::Action action);
    void applyGrpLogNot(
        Package::Entry const& group, QString const& member, Package::Action action, QString const& reason);
    Package::Entry* findPackage(QString const& name);

    // What resolution added, from the script's "TSINFO: " lines.
    void dsTsInfo(QString const& text);
    Package::Entry* dsTsFindPkg(QString const& envra);
    void dsTsNewPkg(QString const& envra, Package::Entry* entry, unsigned weight, bool checkHeader);
    void dsTsCheck();
    void dsRestartLoop();
    QString getLocalHdr(PyObject* object);
    QString getLocalPkg(PyObject* object);

    // The listing, the confirmation and the running transaction.
    QString pkgtupFormat(PyObject* pkgtup);
    QString pkgtupRepoFormat(PyObject* pkgtup, QString const& repoid);
    PyObject* findRelation(PyObject* relations, QString const& name);
    // Calls `each` with every item of an iterable until it returns false;
    // false then.  A value that is not iterable has no items.
    bool forEach(PyObject* iterable, std::function<bool(PyObject*)> const& each);
    PyObject* memberPkgtup(PyObject* member);
    bool makeLists(PyObject* transaction, PyObject* lists[7]);
    bool displayTransactionPkgs(QString& text, QString const& label, PyObject* members, bool repo);
    bool displayTransactionPkgsObs(QString& text, QString const& label, PyObject* members);
    void noteTransactionPkgs(PyObject* members, bool fetched);
    void listTransaction(PyObject* transaction);
    void reportDownloadSize(PyObject* packages);
    bool userconfirm();
    bool gpgsigcheck(QString const& package, QString const& repo, QString const& userId, QString const& keyId,
        QString const& urls);
    void tsInitCallback(long elements);
    void tsCallback(long what, quint64 amount, quint64 total, bool test);
    void tsEvent(QString const& name, long code, quint64 done, quint64 total, long current, long count);
    void postTransactionOutput(PyObject* transaction);
    // The rpm callbacks the transaction's progress tells apart, and those it
    // knows to ignore.
    struct RpmCallbacks {
        bool read = false;
        long transStart = -1;
        long transProgress = -1;
        long transStop = -1;
        QSet<long> known;
    };
    RpmCallbacks const& rpmCallbacks();

    // Calls one of the script's cleaning methods; its status (0 is success)
    // and its messages, added to cleanReport.
    long cleanCall(char const* method);
    bool clean(QString const& what, char const* method);

    bool reapChildren();
    void sigchldDisable();
    void sigchldRestore();

    // --- collection steps (interpreter lock held) ----------------------------
    void useRepos(PyObject* repoStore, QHash<QString, bool> const& enables);
    QStringList collectRepos(PyObject* repoDict);
    // Makes the entries of the script's collected packages from their rows.
    bool collectSet(QHash<EntryKey, Package::Entry*>& hash, PyObject* packages, Package::State state);
    bool collectField(
        QHash<EntryKey, Package::Entry*>& hash, PyObject* object, char const* field, Package::State state);
    // The text of a str that stands for one of few values (an architecture, a
    // repository): one copy of each text for every entry.  `seen` maps the
    // objects already read in this call.
    QString sharedString(PyObject* object, QHash<PyObject*, QString>& seen);
    Package::Entry*& findUpdateablePackage(QHash<EntryKey, Package::Entry*>& hash, QString const& name,
        QString const& arch, QString const& baseArch);
    bool collectGroups(QHash<EntryKey, Package::Entry*>& hash, PyObject* groupInfo);
    bool collectGroup(Package::Entry*& slot, PyObject* group, QString const& name, PyObject* groupInfo);
    bool upToDateGroup(Package::Entry const& entry);
    bool upToDateGroupGrps(Package::Entry const& entry, char const* attribute);
    bool upToDateGroupPkgs(Package::Entry const& entry, char const* attribute, char const* otherAttribute);
    // Drops every entry's Python reference (lock held) and deletes them.
    void dropEntries(Package::EntryList& list, bool release);

    // --- conversions ---------------------------------------------------------
    // Text of a str, bytes or None; a warning and "" for anything else.
    QString pyString(PyObject* object);
    // The same, releasing the reference.
    QString pyStringDec(PyObject* object);
    // Also renders objects that are not strings, through str().
    QString pyStringXDec(PyObject* object);
    // An attribute of an object as text ("" and a warning when missing).
    QString attributeString(PyObject* object, char const* attribute);
    // The package's returnSimple(field) as text.
    QString simpleString(Package::Entry const& entry, char const* field);
    // The items of an iterable as texts.
    QStringList stringList(PyObject* iterable);
    quint64 sizeOf(PyObject* pkg);
    // A method call with no argument or one, by an interned name.  A failure
    // is reported as pyMethodCall() reports it.
    PyObject* callMethod(PyObject* self, PyObject* method, PyObject* argument = nullptr);

    // Names looked up often, made once the interpreter runs.
    struct Names {
        PyObject* size = nullptr;
        PyObject* rows = nullptr;
    } names;

    // --- details ---------------------------------------------------------------
    PyObject* getRpmHdrValue(PyObject* object, char const* tag);
    QString getRpmTime(PyObject* object, char const* tag);
    QStringList getRpmList(PyObject* object, char const* tag);
    QStringList getPrco(PyObject* object, char const* kind, char const* prefix);
    QStringList getGroupList(Package::Entry const& entry, char const* attribute, char const* otherAttribute);
    bool hasHeader(PyObject* object);

    // --- output (from any thread) --------------------------------------------
public:
    // Appends the text as log lines, an errno prefix ("[Errno 2] ") starting a
    // line of its own.
    void log(Log::Kind kind, unsigned level, QString const& text);
    // Line-buffered: complete lines are logged, the unfinished last one waits
    // in `buffer` for the rest.
    void write(QString const& text, Log::Kind kind, unsigned level, QString& buffer);
    void writeStdout(QString const& text);
    void writeStderr(QString const& text);

private:
    // The script's log() and errorlog().
    void logScript(Log::Kind kind, long level, char const* text);
    // A relay of the calling thread: the session's, or a temporary one.
    int askRelay(std::function<int(YumIODialogs*)> const& ask);

    // yumIOC: registered once per process before the interpreter starts; its
    // functions call the target session.
    static bool registerYumIOC();
    static void setYumIOCTarget(YumIO* io);
    static YumIO* yumIOCTarget();

    // Session
    PyObject* rpmDict = nullptr; // borrowed
    PyObject* yumIOClass = nullptr; // borrowed
    PyObject* yumIO = nullptr; // owned
    PyObject* bdbQuitType = nullptr;
    PyObject* yumBaseErrorType = nullptr;
    PyObject* repoErrorType = nullptr;
    PyObject* sqliteOperationalErrorType = nullptr; // may stay null
    PyObject* lockErrorType = nullptr;
    PyObject* groupsErrorType = nullptr;
    PyObject* noMoreMirrorsRepoErrorType = nullptr; // may stay null
    bool locked = false;
    PyObject* repoDict = nullptr; // owned
    QStringList enabledRepoIds;
    QStringList unreachableDisabled;
    QString baseArchitecture;

    bool yumVersionStrComputed = false;
    QString yumVersionString;
    bool usesSqliteComputed = false;
    bool usesSqliteValue = false;
    bool usesPrestoComputed = false;
    bool usesPrestoValue = false;
    bool hasMultiProgressComputed = false;
    bool hasMultiProgressValue = false;

    QWidget* parentWidget = nullptr;
    YumIODialogs* dialogs = nullptr;
    YumIOCapturers* capturers = nullptr;
    Progress::Object* progress = nullptr;
    HProgressBar* totalBar = nullptr;
    HProgressBar* itemBar = nullptr;
    Blocker blocker;
    bool busy = false;

    // Entries
    Package::EntryList entries;
    Package::EntryList clearingEntries;
    std::atomic_bool clearing = false;
    std::atomic_bool downloadCancel = false;
    QHash<EntryKey, Package::Entry*> entriesByKey;
    QHash<QString, Package::Entry*> bestByName;
    QSet<QString> baseArchitectures;
    // The one copy of each architecture and repository text.
    QSet<QString> sharedTexts;
    // Made by collectReal on the worker, handed to `entries` on the GUI thread.
    Package::EntryList collected;

    bool fileListsFlag = false;
    bool otherDataFlag = false;
    // A load that failed is not retried by the detail accessors until the
    // next collection or an explicit request.
    bool fileListsFailed = false;
    bool otherDataFailed = false;

    // Output
    Log::EntryList logList;
    qsizetype logMark = -1; // guarded by logList.mutex
    QString stdoutBuffer;
    QString stderrBuffer;
    Log::Kind stderrKind = Log::Error;
    unsigned stderrLevel = 0;
    // The transaction's own summary of what the engine logged; collected only
    // while a transaction has cleared the flag.
    bool transactionOutputDone = true;
    QString transactionOutput;

    QHash<QString, QString> biArchs;

    QStringList cleanReport;

    // Apply
    bool applyFailed = false;
    QString transactionText;
    bool listed = false;
    bool asked = false;
    quint32 dsTsWeight = 0;
    quint32 dsTsHeaders = 0;
    quint32 dsTsStep = 0;
    quint32 dsTsActs = 0;
    quint64 tsBytesTotal = 0;
    quint64 tsBytesDownload = 0;
    quint32 tsElements = 0;
    quint32 tsActs = 0;
    quint32 tsLastCode = 0;
    bool tsActsReady = false;
    QString tsLastName;
    QSet<Package::Entry const*> manuallyResolved;
    RpmCallbacks rpmCallbackNumbers;
    struct sigaction savedSigchld = {};
    bool savedSigchldValid = false;
};

size_t qHash(YumIO::EntryKey const& key, size_t seed = 0);
