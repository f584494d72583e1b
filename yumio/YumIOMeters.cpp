#include "yumio/YumIOMeters.h"

#include "progress/Progress.h"

#include <QRegularExpression>
#include <algorithm>
#include <limits>

using Progress::Steps;

namespace
{

// A negative count from yum is widened with its sign, as the model's unsigned
// arithmetic then clamps it to the item's end.
Steps steps(qint64 value)
{
    return static_cast<Steps>(value);
}

// The number of slots a batch can have: a negative file count gives none
// rather than an allocation of four thousand million.
unsigned slotCount(qint64 files)
{
    return static_cast<unsigned>(std::clamp<qint64>(files, 0, std::numeric_limits<unsigned>::max()));
}

// Buffet repositories carry their credentials in the URL's query; the part up
// to "path=" is not what the user wants to see, nor should it be shown.  A
// local object: the meters run on worker threads and a compiled expression
// is not safe to share between them.
void removeBuffetQuery(QString& name)
{
    QRegularExpression const buffet(QStringLiteral("buffet?.*=.*&.*=.*&path="));
    name.remove(buffet);
}

} // namespace

YumIOMeters::YumIOMeters()
{
    collectRepoLabel = tr("contents");
}

YumIOMeters::~YumIOMeters() = default;

void YumIOMeters::resetCollectMeters()
{
    resetCollect(tr("contents"));
}

void YumIOMeters::setCollectLabelFileLists()
{
    resetCollect(tr("file lists"));
}

void YumIOMeters::setCollectLabelOtherData()
{
    resetCollect(tr("miscellaneous data"));
}

void YumIOMeters::resetCollect(QString const& label)
{
    collectRepoLabel = label;
    collectActCounter = 0;
    collectLastTotal = 0;
    collectLastName.clear();
}

// Each repository owns a fixed group of acts on the total scale, set up by
// the collector before yum starts; this places the step in hand on it.  With
// multi-file meters yum works in phases across all repositories (mirror lists
// and indexes, then contents, then conversion), so each phase has its own
// block of two acts per repository.  Otherwise yum finishes one repository
// before the next.
void YumIOMeters::collectAct(RepoAct act)
{
    qint64 const repos = meterRepoCount();
    qint64 c = collectActCounter;
    qint64 const a = act;
    auto phase = [&c](qint64 base, qint64 width, qint64 offset) {
        c = std::max(c, base);
        c = base + width * ((c - base) / width) + offset;
    };
    if (hasMultiProgress()) {
        if (a == Convert || a == Read)
            phase(4 * repos, 2, a - 3);
        else if (a == Groups || a == Contents)
            phase(2 * repos, 2, a - 1);
        else if (a == MirrorList || a == Repomd)
            c = 2 * (c / 2) + a + 1;
    } else if (yumVersion() > 30106) {
        c = 6 * (c / 6) + a + 1;
    } else if (a > 1) {
        phase(2 * repos, 3, a - 1);
    } else if (a == MirrorList || a == Repomd) {
        c = 2 * (c / 2) + a + 1;
    }
    collectActCounter = static_cast<int>(c);
}

QString YumIOMeters::collectActivity(RepoAct act, QString const& name, bool* valid) const
{
    *valid = true;
    bool const named = !name.isEmpty();
    // Each text is translated whole and then filled: where only %2 is
    // present the name lands there.
    switch (act) {
    case MirrorList:
        return named ? tr("Downloading repository mirror list for %2").arg(name)
                     : tr("Downloading repository mirror list");
    case Repomd:
        return named ? tr("Downloading repository repomd for %2").arg(name)
                     : tr("Downloading repository repomd");
    case Groups:
        return named ? tr("Downloading repository groups for %2").arg(name)
                     : tr("Downloading repository groups");
    case Contents:
        return named ? tr("Downloading repository %1 for %2").arg(collectRepoLabel, name)
                     : tr("Downloading repository %1").arg(collectRepoLabel);
    case Convert:
        return named ? tr("Converting repository %2").arg(name) : tr("Converting repository");
    case Read:
        return named ? tr("Reading repository %1 for %2").arg(collectRepoLabel, name)
                     : tr("Reading repository %1").arg(collectRepoLabel);
    }
    *valid = false;
    return QString();
}

void YumIOMeters::collectStart(void* meter, QString const& name, RepoAct act, long current, long total)
{
    collectAct(act);
    collectLastTotal = total;
    collectLastName = name;

    bool valid = true;
    QString const text = collectActivity(act, name, &valid);
    if (!valid)
        error(tr("Internal error: invalid collect act\n"));

    Progress::Object* progress = meterProgress();
    if (!collectMulti) {
        if (progress) {
            progress->startItemAct(text, steps(total), steps(collectActCounter));
            if (current != 0)
                progress->setItemValue(steps(current));
        }
        return;
    }

    // The batch's item is set up by its first file, which tells what the
    // batch is downloading.
    if (!collectMultiSetUp) {
        QString batch = tr("Unknown");
        Steps from = 0;
        Steps to = 1;
        if (!hasMultiProgress()) {
            error(tr("Internal error: Unexpected parallel grab with no parallel support:\n%1").arg(name));
        } else if (act != Groups && act != Contents) {
            error(tr("Internal error: Unexpected parallel grab type:\n%1").arg(name));
        } else {
            batch = tr("Downloading repository contents for %1 repositories").arg(collectFiles);
            Steps const repos = steps(meterRepoCount());
            from = collectBytes != 0 ? 2 * repos : 3 * repos;
            to = collectBytes != 0 ? 3 * repos : 4 * repos;
        }
        if (progress)
            progress->setupItemActsThreads(batch, from, to, slotCount(collectFiles), steps(collectBytes));
        collectMultiSetUp = true;
    }

    // A file that failed and starts again keeps its slot.
    ThreadId const id { name, act };
    unsigned slot;
    auto const known = collectSlotByThreadId.constFind(id);
    if (known != collectSlotByThreadId.constEnd())
        slot = *known;
    else
        slot = collectNextSlot++;

    // Only a slot beyond the count is refused: yum may start one file more
    // than it announced.
    if (static_cast<qint64>(slot) > collectFiles) {
        error(
            tr("Internal error: Start: unexpected thread %1 > total files %2\n").arg(slot).arg(collectFiles));
        return;
    }

    collectSlotByMeter.insert(meter, slot);
    // Grown as slots are taken rather than sized from yum's announcement, so
    // that a nonsensical count costs nothing; it also holds the one slot past
    // the count.
    if (collectThreadIds.size() <= static_cast<qsizetype>(slot))
        collectThreadIds.resize(static_cast<qsizetype>(slot) + 1);
    collectThreadIds[slot] = id;
    collectSlotByThreadId.insert(id, slot);

    if (progress) {
        progress->startItemActThread(text, slot, steps(total));
        if (current != 0)
            progress->setItemActsThreadValue(slot, steps(current));
    }
}

qint64 YumIOMeters::collectSlotOf(void* meter) const
{
    auto const found = collectSlotByMeter.constFind(meter);
    return found == collectSlotByMeter.constEnd() ? -1 : static_cast<qint64>(*found);
}

// In a batch, a meter without a slot is a file that was refused one (or the
// metadata reading, which has no meter): its reports are dropped rather than
// moving another file's slot.

// The slot of a meter of the batch, or -1: none, or one past the batch,
// which is reported with `message` (its %1 the slot, %2 the file count).
qint64 YumIOMeters::collectBatchSlot(void* meter, char const* message)
{
    qint64 const slot = collectSlotOf(meter);
    if (slot < 0)
        return -1;
    if (slot > collectFiles) {
        error(tr(message).arg(slot).arg(collectFiles));
        return -1;
    }
    return slot;
}

void YumIOMeters::collectUpdate(void* meter, long value)
{
    Progress::Object* progress = meterProgress();
    if (!collectMulti) {
        if (progress)
            progress->setItemValue(steps(value));
        return;
    }
    qint64 const slot = collectBatchSlot(
        meter, QT_TR_NOOP("Internal error: Update: unexpected thread %1 > total files %2\n"));
    if (slot < 0)
        return;
    if (progress)
        progress->setItemActsThreadValue(static_cast<unsigned>(slot), steps(value));
}

void YumIOMeters::collectEnd(void* meter, long value)
{
    // Outside a batch the next start moves the bars on.
    if (!collectMulti)
        return;
    qint64 const slot
        = collectBatchSlot(meter, QT_TR_NOOP("Internal error: End: unexpected thread %1 > total files %2\n"));
    if (slot < 0)
        return;
    collectSlotByThreadId.remove(collectThreadIds.value(slot));
    if (Progress::Object* progress = meterProgress()) {
        progress->setItemActsThreadValue(static_cast<unsigned>(slot), steps(value));
        progress->endItemActThread(static_cast<unsigned>(slot));
    }
    collectSlotByMeter.remove(meter);
}

void YumIOMeters::collectFailure(void* meter)
{
    if (!collectMulti)
        return;
    qint64 const slot = collectBatchSlot(
        meter, QT_TR_NOOP("Internal error: Failure: unexpected thread %1 > total files %2\n"));
    if (slot < 0)
        return;
    if (Progress::Object* progress = meterProgress())
        progress->retryItemActThread(static_cast<unsigned>(slot));
    // The file's id stays, so that its restart finds the same slot.
    collectSlotByMeter.remove(meter);
}

void YumIOMeters::collectGrabMeterStart(void* meter, QString const& fileName, long size, QString const& text)
{
    QString name = fileName;
    bool const textUsed = name.isEmpty();
    if (textUsed)
        name = text;

    qsizetype const i = name.lastIndexOf(QLatin1Char('/'));
    bool repomd = false;
    bool metalink = false;
    bool groupGz = false;
    if (i != -1) {
        repomd = name.mid(i + 1, 6) == QLatin1String("repomd");
        metalink = name.mid(i + 1, 8) == QLatin1String("metalink");
        groupGz = name.mid(i + 1, 8) == QLatin1String("group_gz");
    }

    if (!textUsed) {
        // A cached file lives in its repository's directory: that directory
        // names the repository.
        qsizetype const j = i > 0 ? name.lastIndexOf(QLatin1Char('/'), i - 1) : -1;
        if (i != -1 && j != -1)
            name = name.mid(j + 1, i - j - 1);
        removeBuffetQuery(name);
    } else {
        // yum's text is "repository/what".
        qsizetype const k = name.indexOf(QLatin1Char('/'));
        if (k != -1)
            name.truncate(k);
    }

    RepoAct act = Contents;
    if (metalink)
        act = MirrorList;
    else if (repomd)
        act = Repomd;
    else if (groupGz)
        act = Groups;

    collectStart(meter, name, act, 0, size);
}

// yum reports the reading and conversion of metadata many times over for the
// same item; only a new item starts an act.
void YumIOMeters::collectProgress(long current, long total, QString const& name)
{
    if (collectActCounter > 0 && total == collectLastTotal && name == collectLastName) {
        collectUpdate(nullptr, current);
    } else if (current != -1 || total != -1) {
        if (name == QLatin1String("MD Read")) {
            if (collectActCounter > 0 && total == collectLastTotal && collectLastName.isEmpty())
                collectUpdate(nullptr, current);
            else
                collectStart(nullptr, QString(), Convert, current, total);
        } else {
            collectStart(nullptr, name, usesSqlite() ? Convert : Read, current, total);
        }
    } else {
        // No measure at all: a step of one that is already done.
        collectStart(nullptr, name, Read, 1, 1);
    }
}

void YumIOMeters::collectGrabMultiMeterStart(qint64 files, qint64 bytes)
{
    collectMulti = true;
    collectMultiSetUp = false;
    collectFiles = files;
    collectBytes = bytes;
    collectNextSlot = 0;
    collectSlotByMeter.clear();
    collectThreadIds.clear();
    collectSlotByThreadId.clear();
}

void YumIOMeters::collectGrabMultiMeterEnd()
{
    if (Progress::Object* progress = meterProgress())
        progress->endItemActsThreads();
    collectMulti = false;
    collectMultiSetUp = false;
    collectNextSlot = 0;
    collectSlotByMeter.clear();
    collectThreadIds.clear();
    collectSlotByThreadId.clear();
}

// The share of the total scale that a download takes: its size once the user
// has confirmed, at least 10240 where yum reports files one by one (so that
// small packages still move the bar); a header fetched while resolving is
// worth 10, as resolution counted it.
quint32 YumIOMeters::applyShare(qint64 size)
{
    if (!applyConfirmed)
        return 10;
    if (hasMultiProgress())
        return static_cast<quint32>(size);
    return static_cast<quint32>(std::max<qint64>(size, 10240));
}

void YumIOMeters::applyGrabMeterStart(void* meter, QString const& fileName, qint64 size, QString const& text)
{
    Progress::Object* progress = meterProgress();
    // Rebuilding packages from deltas follows the downloads, on a fixed share
    // of its own.
    if (text == QLatin1String("<delta rebuild>")) {
        if (progress) {
            progress->endItemActs();
            progress->startItem(tr("Finishing RPM rebuild from deltas"), 2000, steps(size));
        }
        return;
    }

    QString name = fileName.isEmpty() ? text : fileName;
    name.remove(0, name.lastIndexOf(QLatin1Char('/')) + 1);
    removeBuffetQuery(name);
    if (name.endsWith(QLatin1String(".rpm")) || name.endsWith(QLatin1String(".hdr")))
        name.chop(4);

    QString const activity
        = applyConfirmed ? tr("Downloading %1").arg(name) : tr("Downloading %1 header").arg(name);

    if (applyMulti) {
        if (progress)
            progress->startItemActThread(activity, applySlotByMeter.value(meter), steps(size));
        return;
    }
    applyActCounter += applyShare(size);
    if (progress)
        progress->startItemAct(activity, steps(size), applyActCounter);
}

void YumIOMeters::applyGrabMeterUpdate(void* meter, qint64 value)
{
    Progress::Object* progress = meterProgress();
    if (!progress)
        return;
    if (applyMulti)
        progress->setItemActsThreadValue(applySlotByMeter.value(meter), steps(value));
    else
        progress->setItemValue(steps(value));
}

void YumIOMeters::applyGrabMeterEnd(void* meter, qint64 value)
{
    Progress::Object* progress = meterProgress();
    if (!applyMulti || !progress)
        return;
    unsigned const slot = applySlotByMeter.value(meter);
    progress->setItemActsThreadValue(slot, steps(value));
    progress->endItemActThread(slot);
}

void YumIOMeters::applyGrabMeterFailure(void* meter)
{
    Progress::Object* progress = meterProgress();
    if (applyMulti && progress)
        progress->retryItemActThread(applySlotByMeter.value(meter));
}

void YumIOMeters::applyGrabMultiMeterStart(qint64 files, qint64 bytes)
{
    applyMulti = true;
    applyFiles = files;
    applyBytes = bytes;
    applyNextSlot = 0;
    applySlotByMeter.clear();

    QString const batch = files == 1 ? tr("Downloading 1 package") : tr("Downloading %1 packages").arg(files);
    Steps const from = applyActCounter;
    applyActCounter += applyShare(bytes);
    Steps const to = applyActCounter;
    if (Progress::Object* progress = meterProgress())
        progress->setupItemActsThreads(batch, from, to, slotCount(files), steps(bytes));
}

void YumIOMeters::applyGrabMultiMeterNew(void* meter)
{
    applySlotByMeter.insert(meter, applyNextSlot++);
}

void YumIOMeters::applyGrabMultiMeterRemove(void* meter)
{
    applySlotByMeter.remove(meter);
}

void YumIOMeters::applyGrabMultiMeterEnd()
{
    if (Progress::Object* progress = meterProgress())
        progress->endItemActsThreads();
    applyMulti = false;
    applyNextSlot = 0;
    applySlotByMeter.clear();
}
