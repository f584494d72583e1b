#pragma once

#include <QCoreApplication>
#include <QHash>
#include <QList>
#include <QString>
#include <QtGlobal>

namespace Progress
{
class Object;
}

// yum's download and metadata meters turned into moves of the progress model.
//
// While yum reads repository metadata (the collect family) or downloads the
// packages of a transaction (the apply family), the companion script forwards
// every meter call through yumIOC.  This base of the session holds the meter
// state and does the work on arguments already converted from Python: it
// names and classifies each file, places it on the total scale, and gives
// each file of a parallel batch a slot of the item bar's tool-tip.
//
// Everything here runs on the thread that runs the yum operation, with the
// interpreter lock held; only that thread touches these fields.  Problems are
// reported through error() and warning() and never stop a download.
class YumIOMeters
{
    // The meters' texts belong with the session's.
    Q_DECLARE_TR_FUNCTIONS(YumIO)

public:
    // What one repository download or read step is.  The values are part of
    // the act numbering below: do not reorder.
    enum RepoAct : int { MirrorList = 0, Repomd = 1, Groups = 2, Contents = 3, Convert = 4, Read = 5 };

    // One file of a parallel batch: the repository it belongs to and what it
    // is.  A file that fails and starts again has the same id, which is how it
    // finds its slot again.
    struct ThreadId {
        QString name;
        int act = 0;

        friend bool operator==(ThreadId const& a, ThreadId const& b) = default;
        friend size_t qHash(ThreadId const& id, size_t seed = 0) noexcept
        {
            return qHashMulti(seed, id.name, id.act);
        }
    };

    YumIOMeters();
    virtual ~YumIOMeters();

    YumIOMeters(YumIOMeters const&) = delete;
    YumIOMeters& operator=(YumIOMeters const&) = delete;

    // Start of a collection: the repository label becomes "contents" and the
    // act count starts again.
    void resetCollectMeters();
    // Start of reading file lists or other metadata: the label names what is
    // read, and the act count starts again with it.
    void setCollectLabelFileLists();
    void setCollectLabelOtherData();

    // The collect family.  A null meter stands for the metadata reading of
    // collectProgress().
    void collectStart(void* meter, QString const& name, RepoAct act, long current, long total);
    void collectUpdate(void* meter, long value);
    void collectEnd(void* meter, long value);
    void collectFailure(void* meter);
    // The text stands in for an empty file name; pass it empty when it was
    // not a Python string.
    void collectGrabMeterStart(void* meter, QString const& fileName, long size, QString const& text);
    void collectProgress(long current, long total, QString const& name);
    void collectGrabMultiMeterStart(qint64 files, qint64 bytes);
    void collectGrabMultiMeterEnd();
    // collectGrabMultiMeterNew and collectGrabMultiMeterRemove are ignored:
    // the collect family finds slots by ThreadId when a file starts.

    // The apply family.
    void applyGrabMeterStart(void* meter, QString const& fileName, qint64 size, QString const& text);
    void applyGrabMeterUpdate(void* meter, qint64 value);
    void applyGrabMeterEnd(void* meter, qint64 value);
    void applyGrabMeterFailure(void* meter);
    void applyGrabMultiMeterStart(qint64 files, qint64 bytes);
    void applyGrabMultiMeterNew(void* meter);
    void applyGrabMultiMeterRemove(void* meter);
    void applyGrabMultiMeterEnd();

protected:
    // What the meters need of the session.  The model in hand; null while no
    // operation runs, and then the meters move nothing.
    virtual Progress::Object* meterProgress() = 0;
    // Reports to the user and the log, from any thread.
    virtual void error(QString const& text) = 0;
    virtual void warning(QString const& text) = 0;
    // yum's probes: multi-file meters, sqlite metadata, the version number.
    virtual bool hasMultiProgress() = 0;
    virtual bool usesSqlite() = 0;
    virtual int yumVersion() = 0;
    // The number of repositories enabled for this collection.
    virtual int meterRepoCount() = 0;

    // The collect family's state.
    QString collectRepoLabel;
    int collectActCounter = 0;
    long collectLastTotal = 0;
    QString collectLastName;
    bool collectMulti = false;
    bool collectMultiSetUp = false;
    qint64 collectFiles = 0;
    qint64 collectBytes = 0;
    unsigned collectNextSlot = 0;
    QHash<void*, unsigned> collectSlotByMeter;
    QList<ThreadId> collectThreadIds;
    QHash<ThreadId, unsigned> collectSlotByThreadId;

    // The apply family's state.  applyConfirmed is set by the confirmation
    // and applyActCounter is shared with dependency resolution, which counts
    // on the same scale before the downloads start.
    bool applyConfirmed = false;
    quint32 applyActCounter = 0;
    bool applyMulti = false;
    qint64 applyFiles = 0;
    qint64 applyBytes = 0;
    unsigned applyNextSlot = 0;
    QHash<void*, unsigned> applySlotByMeter;

private:
    void resetCollect(QString const& label);
    void collectAct(RepoAct act);
    QString collectActivity(RepoAct act, QString const& name, bool* valid) const;
    // The slot of a collect meter, or -1 when the meter never got one.
    qint64 collectSlotOf(void* meter) const;
    qint64 collectBatchSlot(void* meter, char const* message);
    quint32 applyShare(qint64 size);
};
