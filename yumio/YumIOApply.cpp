// Applying the marked actions: the three lists handed to the script, group
// marks spread onto their members, and the callbacks the script makes while
// it resolves, lists, confirms and runs the transaction.
#include "progress/Progress.h"
#include "yumio/TsInfo.h"
#include "yumio/YumIO.h"
#include "yumio/YumIOCapturers.h"
#include "yumio/YumIODialogs.h"
#include "yumio/YumIOThreads.h"

#include <QDialog>
#include <QFileInfo>
#include <QMultiHash>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

// The script's codes for what happens to a package in the RPM transaction.
enum TsCode : long {
    TsUpdate = 10,
    TsErase = 20,
    TsInstall = 30,
    TsObsoleted = 50,
    TsObsoleting = 60,
    TsUpdated = 90,
    TsScriptlet = 110,
    TsPost = 120,
    TsVerify = 130,
};

// The shares of the running transaction's total after the downloads.
constexpr Progress::Steps testSetupShare = 300;
constexpr Progress::Steps testShare = 700;
constexpr Progress::Steps prepareShare = 500;
constexpr Progress::Steps packagesShare = 7500;

} // namespace

QString YumIO::actionName(Package::Action action)
{
    switch (action) {
    case Package::Update:
        return tr("update");
    case Package::Install:
        return tr("install");
    case Package::Remove:
        return tr("remove");
    case Package::NoAction:
        break;
    }
    return tr("no action");
}

// --- the public operation ---------------------------------------------------------

bool YumIO::apply()
{
    applyFailed = false;
    if (!yumIO || busy)
        return false;
    if (::geteuid() != 0) {
        // Refused before anything is resolved or fetched: listing goes on.
        error(tr("Changing the system needs root.\nSORVAN runs here as user id %1: it can list and "
                 "search packages, but not install, update or remove them.\nStart SORVAN as root "
                 "to apply actions, for example with: pkexec sorvan")
                  .arg(::geteuid()));
        return false;
    }
    QEventLoop loop;
    ApplyThread thread(this, loop);
    execWorkThread(loop, thread);
    return thread.result();
}

// --- the work thread ----------------------------------------------------------------

bool YumIO::applyReal()
{
    blocker.block();
    Progress::User progressUser(progress, totalBar, itemBar);
    YumIODialogsUser dialogsUser(dialogs, parentWidget);
    log(Log::Action, 0, tr("Applying"));

    PyGILStateWrapper gil(true);
    progress->startTotal(tr("Checking Dependencies: Total Progress"), 10000);
    progress->startItem(tr("Preparing"), 100, 1);

    transactionText.clear();
    listed = false;
    asked = false;
    applyConfirmed = false;
    applyActCounter = 0;
    dsTsWeight = 0;
    dsTsHeaders = 0;
    dsTsStep = 0;
    dsTsActs = 0;
    tsBytesTotal = 0;
    tsBytesDownload = 0;
    tsElements = 0;
    tsActs = 0;
    tsLastCode = 0;
    tsActsReady = false;
    tsLastName.clear();
    applyMulti = false;

    for (Package::Entry* entry : std::as_const(entries)) {
        entry->effectiveAction = entry->action;
        entry->actionSource = entry;
        for (Package::Entry* instance = entry->next; instance; instance = instance->next)
            instance->handled = false;
    }
    if (!applyGroups()) {
        progress->reset();
        return false;
    }

    PyObject* installs = PyList_New(0);
    PyObject* updates = PyList_New(0);
    PyObject* removes = PyList_New(0);
    bool ok = true;
    for (Package::Entry const* entry : std::as_const(entries)) {
        if (entry->kind == Package::Group)
            continue;
        switch (entry->effectiveAction) {
        case Package::Remove: {
            // An entry that shows the newer version removes what is installed.
            Package::Entry* instance = entry->state == Package::AvailableForUpdate
                ? entry->next
                : const_cast<Package::Entry*>(entry);
            for (; instance; instance = instance->next) {
                if (instance->handled)
                    continue;
                instance->handled = true;
                if (PyList_Append(removes, instance->object) != 0) {
                    PyErr_Clear();
                    error(tr("Unable to add package %1 to removes list").arg(entry->name));
                }
                ++dsTsWeight;
            }
            break;
        }
        case Package::NoAction:
            break;
        case Package::Install:
            if (PyList_Append(installs, entry->object) != 0) {
                PyErr_Clear();
                error(tr("Unable to add package %1 to installs list").arg(entry->name));
            }
            ++dsTsWeight;
            if (!QFileInfo::exists(getLocalHdr(entry->object)))
                ++dsTsHeaders;
            break;
        case Package::Update:
            if (!entry->next) {
                error(tr("Internal error: Unable to find installed version for package update %1")
                          .arg(entry->name));
                ok = false;
                break;
            }
            ++dsTsWeight;
            for (Package::Entry const* instance = entry->next; instance; instance = instance->next) {
                PyObject* pair = PyList_New(2);
                Py_INCREF(entry->object);
                if (PyList_SetItem(pair, 0, entry->object) != 0) {
                    PyErr_Clear();
                    error(tr("Unable to add new package to pair for updated package %1").arg(entry->name));
                }
                Py_INCREF(instance->object);
                if (PyList_SetItem(pair, 1, instance->object) != 0) {
                    PyErr_Clear();
                    error(tr("Unable to add old package to pair for updated package %1").arg(entry->name));
                }
                if (PyList_Append(updates, pair) != 0) {
                    PyErr_Clear();
                    error(tr("Unable to add package %1 to updates list").arg(entry->name));
                }
                Py_DECREF(pair);
                ++dsTsWeight;
            }
            if (!QFileInfo::exists(getLocalHdr(entry->object)))
                ++dsTsHeaders;
            break;
        }
        if (!ok)
            break;
    }
    if (!ok) {
        Py_DECREF(installs);
        Py_DECREF(updates);
        Py_DECREF(removes);
        progress->reset();
        return false;
    }

    dsTsStep = quint32(dsTsWeight * 10u) / 10u;
    dsTsActs = dsTsStep;
    progress->setupItemActs(9900, Progress::Steps(dsTsActs) + 10u * Progress::Steps(dsTsHeaders));

    bool reaped = reapChildren();
    if (reaped) {
        {
            YumIOCapturersUser capture(capturers, this);
            sigchldDisable();
            pyExceptStart();
            commExceptSetup();
            PyObject* result = pyMethodCall(yumIO, "apply", "(O,O,O)", installs, updates, removes);
            bool const raised = commExceptRaised(result, tr("apply changes"));
            if (raised || !result) {
                pyExceptClear();
                applyConfirmed = false;
                applyFailed = true;
                Py_XDECREF(pyMethodCall(yumIO, "applyFailCleanup", "()"));
            } else {
                bool const nothing = result == Py_False && !asked;
                Py_DECREF(result);
                pyExceptClear();
                if (nothing)
                    warning(tr("Nothing to do: the marked actions need no change of the system."));
            }
            sigchldRestore();
        }
        Py_XDECREF(pyMethodCall(yumIO, "flush", "()"));
    }
    Py_DECREF(installs);
    Py_DECREF(updates);
    Py_DECREF(removes);
    progress->reset();
    return reaped && applyConfirmed;
}

// --- groups ------------------------------------------------------------------------

bool YumIO::applyGroups()
{
    manuallyResolved.clear();
    bool anyGroup = false;
    for (Package::Entry const* entry : std::as_const(entries))
        anyGroup = anyGroup || (entry->kind == Package::Group && entry->action != Package::NoAction);
    if (!anyGroup)
        return true;
    // Every entry of a name: a group member may be a row per architecture.
    QMultiHash<QString, Package::Entry*> byName;
    for (Package::Entry* entry : std::as_const(entries))
        if (entry->kind != Package::Group)
            byName.insert(entry->name, entry);
    for (Package::Entry* group : std::as_const(entries)) {
        if (group->kind != Package::Group)
            continue;
        bool ok = true;
        switch (group->action) {
        case Package::Install:
            ok = applyGrpInstall(*group, byName);
            break;
        case Package::Update:
            ok = applyGrpUpdate(*group, byName);
            break;
        case Package::Remove:
            ok = applyGrpRemove(*group, byName);
            break;
        case Package::NoAction:
            break;
        }
        if (!ok)
            return false;
    }
    return true;
}

QStringList YumIO::groupMembers(Package::Entry const& group, char const* method)
{
    pyExceptStart();
    pyExceptExpect(groupsErrorType);
    PyObject* result = pyMethodCall(yumIO, method, "(s)", group.name.toUtf8().constData());
    QStringList names;
    if (pyExceptMatches(result, groupsErrorType))
        warning(pyStringXDec(pyExceptValuef()));
    else if (result)
        names = stringList(result);
    Py_XDECREF(result);
    pyExceptClear();
    return names;
}

bool YumIO::applyGrpInstall(Package::Entry const& group, QMultiHash<QString, Package::Entry*> const& byName)
{
    for (QString const& name : groupMembers(group, "requiredPkgs")) {
        Package::Entry* best = bestByName.value(name);
        if (!best || best->kind == Package::Group) {
            applyGrpLogNot(group, name, Package::Install, tr("no such package is available"));
            continue;
        }
        bool installed = false;
        for (Package::Entry* member : byName.values(name))
            installed = installed || member->state != Package::Available;
        if (installed) {
            applyGrpLogNot(group, name, Package::Install, tr("it is already installed"));
            continue;
        }
        if (!applyGrpMark(group, *best, Package::Install))
            return false;
    }
    return true;
}

bool YumIO::applyGrpUpdate(Package::Entry const& group, QMultiHash<QString, Package::Entry*> const& byName)
{
    // Brings the group up to date: updates its installed members and installs
    // the members it lacks.
    for (QString const& name : groupMembers(group, "requiredPkgs")) {
        QList<Package::Entry*> members = byName.values(name);
        bool any = false;
        for (Package::Entry* member : members) {
            if (member->state != Package::AvailableForUpdate)
                continue;
            any = true;
            if (!applyGrpMark(group, *member, Package::Update))
                return false;
        }
        if (any)
            continue;
        bool installed = false;
        for (Package::Entry* member : members)
            installed = installed || member->state == Package::Installed;
        Package::Entry* best = bestByName.value(name);
        if (installed)
            applyGrpLogNot(group, name, Package::Update, tr("it is up to date"));
        else if (!best)
            applyGrpLogNot(group, name, Package::Install, tr("no such package is available"));
        else if (!applyGrpMark(group, *best, Package::Install))
            return false;
    }
    return true;
}

bool YumIO::applyGrpRemove(Package::Entry const& group, QMultiHash<QString, Package::Entry*> const& byName)
{
    for (QString const& name : groupMembers(group, "pkgTree")) {
        bool any = false;
        for (Package::Entry* member : byName.values(name)) {
            if (member->state == Package::Available)
                continue;
            any = true;
            if (!applyGrpMark(group, *member, Package::Remove))
                return false;
        }
        if (!any)
            applyGrpLogNot(group, name, Package::Remove, tr("it is not installed"));
    }
    return true;
}

bool YumIO::applyGrpMark(Package::Entry const& group, Package::Entry& member, Package::Action wanted)
{
    if (member.effectiveAction == wanted) {
        applyGrpLogWas(group, member, wanted);
        return true;
    }
    if (member.effectiveAction == Package::NoAction) {
        member.effectiveAction = wanted;
        member.actionSource = &group;
        applyGrpLog(group, member, wanted);
        return true;
    }
    return applyGrpConflict(group, member, wanted);
}

bool YumIO::applyGrpConflict(Package::Entry const& group, Package::Entry& member, Package::Action wanted)
{
    Package::Action const current = member.effectiveAction;
    QString const lead = tr("Package %1 is included in group %2 which was marked for %3,\nso the package "
                            "would be marked for %4,\n")
                             .arg(member.name, group.name, actionName(group.action), actionName(wanted));
    QString text;
    if (manuallyResolved.contains(&member))
        text = lead
            + tr("but it was marked for %1 by an earlier manual resolution.\nHow do you wish to proceed?")
                  .arg(actionName(current));
    else if (member.actionSource == &member)
        text = lead
            + tr("but it was marked individually for %1.\nHow do you wish to proceed?")
                  .arg(actionName(current));
    else
        text = lead
            + tr("but it is included in group %1 which was marked for %2,\nso it was marked for %3.\nHow do "
                 "you wish to proceed?")
                  .arg(member.actionSource ? member.actionSource->name : QString(),
                      member.actionSource ? actionName(member.actionSource->action) : QString(),
                      actionName(current));
    int const answer = askRelay([&](YumIODialogs* relay) {
        return relay->warning(tr("SORVAN Group Conflict"), text, tr("Mark for %1").arg(actionName(wanted)),
            tr("Keep %1").arg(actionName(current)), tr("Stop"), 1, 2);
    });
    if (answer != 0 && answer != 1) {
        log(Log::Warning, 0,
            tr("Not applying: the conflict for package %1 was not resolved").arg(member.name));
        return false;
    }
    Package::Action const chosen = answer == 0 ? wanted : current;
    member.effectiveAction = chosen;
    if (answer == 0)
        member.actionSource = &group;
    manuallyResolved.insert(&member);
    log(Log::Info, 0,
        tr("Manually resolving conflict: marking package %1 for %3").arg(member.name, actionName(chosen)));
    return true;
}

void YumIO::applyGrpLog(Package::Entry const& group, Package::Entry const& member, Package::Action action)
{
    log(Log::Info, 1,
        tr("For group %1, marking package %2 for %3").arg(group.name, member.name, actionName(action)));
}

void YumIO::applyGrpLogWas(Package::Entry const& group, Package::Entry const& member, Package::Action action)
{
    log(Log::Info, 1,
        tr("For group %1, package %2 already was marked for %3")
            .arg(group.name, member.name, actionName(action)));
}

void YumIO::applyGrpLogNot(
    Package::Entry const& group, QString const& member, Package::Action action, QString const& reason)
{
    log(Log::Info, 1,
        tr("For group %1, not marking package %2 for %3, becuase %4")
            .arg(group.name, member, actionName(action), reason));
}

// --- dependency-resolution feedback -------------------------------------------------

Package::Entry* YumIO::findPackage(QString const& name)
{
    return bestByName.value(name);
}

void YumIO::dsTsInfo(QString const& text)
{
    TsInfo::Line const line = TsInfo::parse(text);
    switch (line.kind) {
    case TsInfo::Marked:
        dsTsNewPkg(line.envra, dsTsFindPkg(line.envra), line.weight, true);
        break;
    case TsInfo::Obsoleting: {
        // Both names are the obsoleting package: it counts once as the
        // replacement and once as what it brings.
        Package::Entry* first = dsTsFindPkg(line.envra);
        Package::Entry* second = dsTsFindPkg(line.envra);
        dsTsNewPkg(line.envra, first, 1, false);
        dsTsNewPkg(line.envra, second, 1, true);
        break;
    }
    case TsInfo::Erased:
        break;
    case TsInfo::Unexpected:
        error(tr("Internal error: unexpected TSINFO: %1").arg(text));
        break;
    }
}

Package::Entry* YumIO::dsTsFindPkg(QString const& envra)
{
    Package::Entry* entry = nullptr;
    QString name;
    QString arch;
    if (yumVersion() > 30208) {
        if (TsInfo::parseEnvra(envra, name, arch)) {
            entry = entriesByKey[EntryKey(false, name, getBiArch(arch))];
            // A noarch package and one of an architecture share a row.
            if (!entry)
                entry = entriesByKey.value(EntryKey(false, name, QStringLiteral("noarch")));
            if (!entry && arch == QLatin1String("noarch"))
                entry = findPackage(name);
        } else {
            error(tr("Internal error: TSINFO mentions package %1 which does not appear to be a valid envra; "
                     "interpreting as package name")
                      .arg(envra));
            entry = findPackage(envra);
        }
    } else {
        entry = findPackage(envra);
    }
    if (!entry)
        error(tr("Internal error: TSINFO mentions unknown package: %1").arg(envra));
    return entry;
}

void YumIO::dsTsNewPkg(QString const&, Package::Entry* entry, unsigned weight, bool checkHeader)
{
    if (!entry)
        return;
    if (entry->state == Package::Installed) {
        error(tr("Internal error: TSINFO mentions intent to install or upgrade package that already seems "
                 "up-to-date: %1")
                  .arg(entry->name));
        return;
    }
    dsTsWeight += weight;
    if (checkHeader && !QFileInfo::exists(getLocalHdr(entry->object)))
        ++dsTsHeaders;
    if (progress)
        progress->changeItemActs(Progress::Steps(dsTsActs) + 10u * Progress::Steps(dsTsHeaders));
}

void YumIO::dsTsCheck()
{
    applyActCounter += dsTsStep;
    if (progress)
        progress->startItemAct(tr("Resolve Dependencies"), 1, applyActCounter);
}

void YumIO::dsRestartLoop()
{
    dsTsStep = quint32(dsTsWeight * 10u) / 10u;
    dsTsActs += dsTsStep;
    if (progress)
        progress->changeItemActs(Progress::Steps(dsTsActs) + 10u * Progress::Steps(dsTsHeaders));
}

QString YumIO::getLocalHdr(PyObject* object)
{
    PyObject* result = object ? pyMethodCall(object, "localHdr", "()") : nullptr;
    if (!result)
        return QString();
    return pyStringDec(result);
}

QString YumIO::getLocalPkg(PyObject* object)
{
    PyObject* result = object ? pyMethodCall(object, "localPkg", "()") : nullptr;
    if (!result)
        return QString();
    return pyStringDec(result);
}

// --- listing and confirmation --------------------------------------------------------

QString YumIO::pkgtupFormat(PyObject* pkgtup)
{
    QString fields[5];
    for (int i = 0; i < 5; ++i) {
        PyObject* item = PySequence_GetItem(pkgtup, i);
        if (!item)
            PyErr_Clear();
        fields[i] = pyStringXDec(item);
    }
    // (name, arch, epoch, version, release); an epoch of 0 is no epoch.
    QString const& epoch = fields[2];
    if (epoch.isEmpty() || epoch == QLatin1String("0"))
        return QStringLiteral("%1 %3-%4 (%2)").arg(fields[0], fields[1], fields[3], fields[4]);
    return QStringLiteral("%1 %3:%4-%5 (%2)").arg(fields[0], fields[1], fields[2], fields[3], fields[4]);
}

QString YumIO::pkgtupRepoFormat(PyObject* pkgtup, QString const& repoid)
{
    return QStringLiteral("%1 [%2]").arg(pkgtupFormat(pkgtup), repoid);
}

PyObject* YumIO::findRelation(PyObject* relations, QString const& name)
{
    PyObject* found = nullptr;
    forEach(relations, [&](PyObject* pair) {
        PyObject* kind = PySequence_GetItem(pair, 1);
        if (!kind)
            PyErr_Clear();
        if (kind && pyStringXDec(kind) == name)
            found = PySequence_GetItem(pair, 0);
        return !found;
    });
    PyErr_Clear();
    return found;
}

bool YumIO::forEach(PyObject* iterable, std::function<bool(PyObject*)> const& each)
{
    PyObject* iterator = iterable ? PyObject_GetIter(iterable) : nullptr;
    if (!iterator) {
        PyErr_Clear();
        return true;
    }
    bool ok = true;
    while (ok) {
        PyObject* item = PyIter_Next(iterator);
        if (!item)
            break;
        ok = each(item);
        Py_DECREF(item);
    }
    Py_DECREF(iterator);
    PyErr_Clear();
    return ok;
}

// A transaction member's pkgtup (new reference), or null after reporting.
PyObject* YumIO::memberPkgtup(PyObject* member)
{
    PyObject* pkgtup = PyObject_GetAttrString(member, "pkgtup");
    if (!pkgtup) {
        PyErr_Clear();
        error(tr("Internal error: txmbr lacks pkgtup\n"));
    }
    return pkgtup;
}

bool YumIO::makeLists(PyObject* transaction, PyObject* lists[7])
{
    static char const* const names[7]
        = { "updated", "installed", "removed", "obsoleted", "depupdated", "depinstalled", "depremoved" };
    PyObject* tsInfo = PyObject_GetAttrString(transaction, "tsInfo");
    if (!tsInfo) {
        PyErr_Clear();
        error(tr("Internal error: transaction lacks tsInfo\n"));
        return false;
    }
    if (yumVersion() < 20302) {
        PyObject* tuple = pyMethodCall(tsInfo, "makelists", "()");
        Py_DECREF(tsInfo);
        if (!tuple || !PyTuple_Check(tuple)) {
            Py_XDECREF(tuple);
            error(tr("Internal error: yumIO.makelists() did not return a tuple\n"));
            return false;
        }
        if (PyTuple_Size(tuple) != 7) {
            Py_DECREF(tuple);
            error(tr("Internal error: yumIO.makelists() returned tuple of incorrect size\n"));
            return false;
        }
        for (int i = 0; i < 7; ++i) {
            lists[i] = PyTuple_GetItem(tuple, i);
            Py_INCREF(lists[i]);
        }
        Py_DECREF(tuple);
        return true;
    }
    for (int i = 0; i < 7; ++i) {
        lists[i] = PyObject_GetAttrString(tsInfo, names[i]);
        if (!lists[i]) {
            PyErr_Clear();
            error(tr("Internal error: tsInfo lacks %1\n").arg(QLatin1String(names[i])));
            for (int j = 0; j < i; ++j)
                Py_DECREF(lists[j]);
            Py_DECREF(tsInfo);
            return false;
        }
    }
    Py_DECREF(tsInfo);
    return true;
}

bool YumIO::displayTransactionPkgs(QString& text, QString const& label, PyObject* members, bool repo)
{
    return forEach(members, [&](PyObject* member) {
        PyObject* pkgtup = memberPkgtup(member);
        if (!pkgtup)
            return false;
        QString const formatted
            = repo ? pkgtupRepoFormat(pkgtup, attributeString(member, "repoid")) : pkgtupFormat(pkgtup);
        text += QStringLiteral("\t%1: %2\n").arg(label, formatted);
        Py_DECREF(pkgtup);
        return true;
    });
}

bool YumIO::displayTransactionPkgsObs(QString& text, QString const& label, PyObject* members)
{
    return forEach(members, [&](PyObject* member) {
        PyObject* pkgtup = memberPkgtup(member);
        if (!pkgtup)
            return false;
        PyObject* related = PyObject_GetAttrString(member, "relatedto");
        PyObject* by = related ? findRelation(related, QStringLiteral("obsoletedby")) : nullptr;
        if (!related) {
            PyErr_Clear();
            error(tr("Internal error: package has no relatedto\n"));
        } else if (!by) {
            error(tr("Internal error: couldn't find obsoletedby package\n"));
        } else {
            QString with;
            if (yumVersion() > 20301) {
                PyObject* byTup = PyObject_GetAttrString(by, "pkgtup");
                if (!byTup)
                    PyErr_Clear();
                with = byTup ? pkgtupFormat(byTup) : QString();
                Py_XDECREF(byTup);
            } else {
                Py_INCREF(by);
                with = pyStringXDec(by);
            }
            text += QStringLiteral("\t%1: %2 with %3\n").arg(label, pkgtupFormat(pkgtup), with);
        }
        Py_XDECREF(by);
        Py_XDECREF(related);
        Py_DECREF(pkgtup);
        return by != nullptr;
    });
}

void YumIO::noteTransactionPkgs(PyObject* members, bool fetched)
{
    forEach(members, [&](PyObject* member) {
        PyObject* po = PyObject_GetAttrString(member, "po");
        if (!po) {
            PyErr_Clear();
            return true;
        }
        quint64 const size = sizeOf(po);
        tsBytesTotal += size;
        if (fetched && !QFileInfo::exists(getLocalPkg(po)))
            tsBytesDownload += size;
        Py_DECREF(po);
        return true;
    });
}

void YumIO::listTransaction(PyObject* transaction)
{
    PyObject* lists[7];
    if (!makeLists(transaction, lists))
        return;
    enum { Updated, Installed, Removed, Obsoleted, DepUpdated, DepInstalled, DepRemoved };
    auto done = [&] {
        for (PyObject* list : lists)
            Py_DECREF(list);
    };
    QString& text = transactionText;
    text += tr("Transaction to be performed:\n");
    if (!displayTransactionPkgs(text, tr("Install"), lists[Installed], true)
        || !displayTransactionPkgs(text, tr("Update"), lists[Updated], true)
        || !displayTransactionPkgs(text, tr("Remove"), lists[Removed], false))
        return done();
    auto nonEmpty = [](PyObject* list) { return PyObject_Length(list) > 0; };
    if (nonEmpty(lists[DepInstalled]) || nonEmpty(lists[DepUpdated]) || nonEmpty(lists[DepRemoved])) {
        text += tr("Performing the following to resolve dependencies:\n");
        if (!displayTransactionPkgs(text, tr("Install"), lists[DepInstalled], true)
            || !displayTransactionPkgs(text, tr("Update"), lists[DepUpdated], true)
            || !displayTransactionPkgs(text, tr("Remove"), lists[DepRemoved], false))
            return done();
    }
    PyErr_Clear();
    if (nonEmpty(lists[Obsoleted])) {
        text += tr("Other Transactions:\n");
        if (!displayTransactionPkgsObs(text, tr("Obsoleting"), lists[Obsoleted]))
            return done();
    }
    PyErr_Clear();
    for (int i : { Installed, Updated, DepInstalled, DepUpdated })
        noteTransactionPkgs(lists[i], true);
    for (int i : { Removed, DepRemoved, Obsoleted })
        noteTransactionPkgs(lists[i], false);
    listed = true;
    done();
}

void YumIO::reportDownloadSize(PyObject* packages)
{
    quint64 total = 0;
    forEach(packages, [&](PyObject* pkg) {
        total += sizeOf(pkg);
        return true;
    });
    transactionText += tr("Total download size: %1\n").arg(Package::bytesFormat(total));
}

bool YumIO::userconfirm()
{
    // Only an apply has a question to ask.
    if (!progress)
        return false;
    asked = true;
    progress->endItemActs();
    applyActCounter = 0;
    progress->reset();
    bool answer = false;
    if (!listed) {
        answer = askRelay([&](YumIODialogs* relay) {
            return relay->confirm(tr("Query"), transactionText, QString(), QString());
        }) == QDialog::Accepted;
        log(Log::Info, 0, answer ? tr("Confirmation: Yes") : tr("Confirmation: No"));
    } else {
        answer = askRelay([&](YumIODialogs* relay) {
            return relay->confirm(tr("Apply Actions"), transactionText, tr("Cancel"), tr("Apply"));
        }) == QDialog::Accepted;
        log(Log::Info, 0, answer ? tr("Applying: OK") : tr("Not Applying: Canceled"));
        applyConfirmed = answer;
    }
    if (answer) {
        quint64 const units = tsBytesTotal ? tsBytesDownload * 24000u / tsBytesTotal : 0;
        quint64 const total = units + (usesPresto() ? 2000u : 0u) + (hasTransTest() ? 2000u : 0u) + 9100u;
        progress->startTotal(tr("Running Transaction: Total Progress"), total);
        progress->startItem(tr("Preparing"), 100, 1);
        // The downloads share out their part of the total by bytes.
        if (units > 0)
            progress->setupItemActs(units, tsBytesDownload);
    }
    transactionText.clear();
    listed = false;
    return answer;
}

bool YumIO::gpgsigcheck(QString const& package, QString const& repo, QString const& userId,
    QString const& keyId, QString const& urls)
{
    QString const text
        = tr("Package %1 of repository %2 is signed with a key that is not installed yet.\n\nImport the key "
             "that the repository names, so that this and later packages of the repository can be "
             "checked?\n\nUser ID: %3\nKey ID: 0x%4\nFrom: %5")
              .arg(package, repo, userId, keyId, urls);
    int const answer = askRelay([&](YumIODialogs* relay) {
        return relay->warning(
            tr("SORVAN Import Signing Key"), text, tr("Import Key"), tr("Cancel"), QString(), 1, 1);
    });
    bool const yes = answer == 0;
    log(Log::Info, 0,
        yes ? tr("Importing signing key 0x%1 of repository %2").arg(keyId, repo)
            : tr("Not importing signing key 0x%1 of repository %2").arg(keyId, repo));
    return yes;
}

// --- the RPM transaction -----------------------------------------------------------

void YumIO::tsInitCallback(long elements)
{
    if (!progress)
        return;
    tsElements = quint32(qMax(0L, elements));
    tsActsReady = false;
    transactionOutputDone = false;
    transactionOutput.clear();
    progress->endItemActs();
    progress->startItem(tr("Preparing to Test Transaction"), testSetupShare, 1);
}

YumIO::RpmCallbacks const& YumIO::rpmCallbacks()
{
    // rpm's numbers, read once: its callback comes for every chunk of every
    // package.
    if (!rpmCallbackNumbers.read && rpmDict) {
        auto number = [this](char const* name) {
            PyObject* value = PyDict_GetItemString(rpmDict, name);
            long const n = value && PyLong_Check(value) ? PyLong_AsLong(value) : -1;
            if (PyErr_Occurred())
                PyErr_Clear();
            return n;
        };
        RpmCallbacks& c = rpmCallbackNumbers;
        c.transStart = number("RPMCALLBACK_TRANS_START");
        c.transProgress = number("RPMCALLBACK_TRANS_PROGRESS");
        c.transStop = number("RPMCALLBACK_TRANS_STOP");
        for (char const* name :
            { "RPMCALLBACK_UNKNOWN", "RPMCALLBACK_INST_PROGRESS", "RPMCALLBACK_INST_START",
                "RPMCALLBACK_INST_OPEN_FILE", "RPMCALLBACK_INST_CLOSE_FILE", "RPMCALLBACK_INST_STOP",
                "RPMCALLBACK_UNINST_PROGRESS", "RPMCALLBACK_UNINST_START", "RPMCALLBACK_UNINST_STOP",
                "RPMCALLBACK_REPACKAGE_PROGRESS", "RPMCALLBACK_REPACKAGE_START", "RPMCALLBACK_REPACKAGE_STOP",
                "RPMCALLBACK_UNPACK_ERROR", "RPMCALLBACK_CPIO_ERROR", "RPMCALLBACK_SCRIPT_ERROR",
                "RPMCALLBACK_SCRIPT_START", "RPMCALLBACK_SCRIPT_STOP", "RPMCALLBACK_ELEM_PROGRESS",
                "RPMCALLBACK_VERIFY_PROGRESS", "RPMCALLBACK_VERIFY_START", "RPMCALLBACK_VERIFY_STOP" })
            if (long const n = number(name); n >= 0)
                c.known.insert(n);
        c.read = true;
    }
    return rpmCallbackNumbers;
}

void YumIO::tsCallback(long what, quint64 amount, quint64 total, bool test)
{
    if (!progress)
        return;
    RpmCallbacks const& c = rpmCallbacks();
    if (what == c.transStart) {
        if (test)
            progress->startItem(tr("Transaction Test"), testShare, qMax<quint64>(total, 1));
        else
            progress->startItem(tr("Preparing to Run Transaction"), prepareShare, qMax<quint64>(total, 1));
    } else if (what == c.transProgress) {
        progress->setItemValue(amount + 1);
    } else if (what == c.transStop) {
        if (!test && !tsActsReady) {
            progress->setupItemActs(packagesShare, qMax<quint32>(tsElements, 1));
            tsActs = qMax<quint32>(tsElements, 1);
            tsActsReady = true;
        }
    } else if (!c.known.contains(what)) {
        // Reported in the log only: a box would hold the running transaction.
        log(Log::Error, 0,
            tr("Internal error: YumIO::tsCallback what=%1 not understood; ignoring").arg(what));
    }
}

void YumIO::tsEvent(QString const& name, long code, quint64 done, quint64 total, long current, long count)
{
    if (!progress)
        return;
    QString text;
    switch (code) {
    case TsUpdate:
        text = tr("Updating %1");
        break;
    case TsErase:
    case TsObsoleted:
        text = tr("Removing %1");
        break;
    case TsInstall:
    case TsObsoleting:
        text = tr("Installing %1");
        break;
    case TsUpdated:
        text = tr("Completing update for: %1");
        break;
    case TsScriptlet:
        progress->changeItemActivity(tr("Running scriptlet of %1").arg(name));
        return;
    case TsPost:
        progress->changeItemActivity(tr("Running post-transaction scriptlets"));
        return;
    case TsVerify:
        progress->changeItemActivity(tr("Verifying %1").arg(name));
        return;
    default:
        log(Log::Error, 0, tr("Internal error: YumIO::tsEvent action=%1 not understood; ignoring").arg(code));
        return;
    }
    if (!tsActsReady) {
        progress->setupItemActs(packagesShare, quint64(qMax(1L, count)));
        tsActs = quint32(qMax(1L, count));
        tsActsReady = true;
    } else if (count > 0 && quint32(count) != tsActs) {
        tsActs = quint32(count);
        progress->changeItemActs(tsActs);
    }
    if (name != tsLastName || quint32(code) != tsLastCode) {
        tsLastName = name;
        tsLastCode = quint32(code);
        progress->startItemAct(text.arg(name), qMax<quint64>(total, 1), quint64(qMax(1L, current)));
    }
    progress->setItemValue(done);
}

void YumIO::postTransactionOutput(PyObject* transaction)
{
    transactionOutputDone = true;
    PyObject* lists[7];
    if (!makeLists(transaction, lists))
        return;
    QString const labels[7] = { tr("Updated"), tr("Installed"), tr("Removed"), tr("Obsoleted"),
        tr("Dependency Updated"), tr("Dependency Installed"), tr("Dependency Removed") };
    // In the order a reader wants them: what was asked, then what it took.
    for (int i : { 2, 1, 0, 3, 6, 5, 4 }) {
        forEach(lists[i], [&](PyObject* member) {
            if (PyObject* pkgtup = memberPkgtup(member)) {
                log(Log::Info, 0, QStringLiteral("%1: %2").arg(labels[i], pkgtupFormat(pkgtup)));
                Py_DECREF(pkgtup);
            }
            return true;
        });
    }
    PyErr_Clear();
    for (PyObject* list : lists)
        Py_DECREF(list);
}

// --- child processes ---------------------------------------------------------------

bool YumIO::reapChildren()
{
    // Children that ended earlier (a viewer, a script) must not be taken
    // for rpm's own when it waits for its scriptlets.
    for (;;) {
        int status = 0;
        pid_t const pid = ::waitpid(-1, &status, WNOHANG);
        if (pid > 0)
            continue;
        if (pid == 0 || errno == ECHILD)
            return true;
        if (errno == EINTR)
            continue;
        int const code = errno;
        error(tr("Unable to reap child processes: errno = %1 (%2)")
                  .arg(code)
                  .arg(QString::fromLocal8Bit(std::strerror(code))));
        return false;
    }
}

void YumIO::sigchldDisable()
{
    // rpm waits for its scriptlets: an ignored SIGCHLD would take their exit
    // status away, so the default action holds while the transaction runs.
    struct sigaction action;
    std::memset(&action, 0, sizeof action);
    action.sa_handler = SIG_DFL;
    sigemptyset(&action.sa_mask);
    savedSigchldValid = ::sigaction(SIGCHLD, &action, &savedSigchld) == 0;
}

void YumIO::sigchldRestore()
{
    if (savedSigchldValid)
        ::sigaction(SIGCHLD, &savedSigchld, nullptr);
    savedSigchldValid = false;
}
