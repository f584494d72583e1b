// Collecting repositories, packages and groups, on a work thread.
#include "progress/Progress.h"
#include "yumio/YumIO.h"
#include "yumio/YumIOCapturers.h"
#include "yumio/Secrets.h"
#include "yumio/YumIODialogs.h"

bool YumIO::collectFailed()
{
    if (pyExceptDepth() > 0)
        pyExceptClear();
    if (progress)
        progress->reset();
    return false;
}

bool YumIO::takeLock()
{
    pyExceptStart();
    pyExceptExpect(lockErrorType);
    PyObject* result = pyMethodCall(yumIO, "lock", "()");
    if (pyExceptMatches(result, lockErrorType)) {
        // Its message says who holds the lock.
        pythonExceptionV(tr("Unable to obtain yum lock"));
        return collectFailed();
    }
    // Anything else was reported as the internal error it is.
    if (!result)
        return collectFailed();
    Py_DECREF(result);
    pyExceptClear();
    locked = true;
    return true;
}

bool YumIO::setupRepos(PyObject* store)
{
    for (;;) {
        pyExceptStart();
        pyExceptExpect(repoErrorType);
        pyExceptExpect(bdbQuitType);
        PyObject* result = pyMethodCall(yumIO, "setupRepos", "()");
        if (result) {
            Py_DECREF(result);
            pyExceptClear();
            return true;
        }
        if (!pyExceptMatches(result, repoErrorType)) {
            if (pyExceptMatches(result, bdbQuitType))
                pythonExceptionV(tr("Unable to initialize"));
            return collectFailed();
        }
        // The engine's error names the repository it could not read.
        QString const repo = pyStringXDec(pyExceptRead("repo"));
        if (!enabledRepoIds.contains(repo) || enabledRepoIds.size() < 2) {
            pythonExceptionV(tr("Unable to initialize"));
            return collectFailed();
        }
        QString const message = Secrets::masked(pyStringXDec(pyExceptValuef()));
        int const answer = dialogs->warning(tr("Repository Unavailable"),
            tr("The repository %1 cannot be read:\n%2\n\nDisable it for this session and read the other "
               "repositories?")
                .arg(repo, message),
            tr("&Disable for This Session"), tr("&Cancel"), QString(), 0, 1);
        if (answer != 0) {
            pythonExceptionV(tr("Unable to initialize"));
            return collectFailed();
        }
        log(Log::Error, 0, message);
        pyExceptClear();
        PyObject* done = pyMethodCall(store, "disableRepo", "(s)", repo.toUtf8().constData());
        if (!done)
            return collectFailed();
        Py_DECREF(done);
        log(Log::Warning, 0, tr("Repository %1 is disabled for this session.").arg(repo));
        unreachableDisabled.append(repo);
        enabledRepoIds.removeAll(repo);
    }
}

bool YumIO::collectReal(QHash<QString, bool> const& enables)
{
    blocker.block();
    Progress::User progressUser(progress, totalBar, itemBar);
    YumIODialogsUser dialogsUser(dialogs, parentWidget);
    log(Log::Action, 0, tr("Initialization"));

    PyGILStateWrapper gil(true);
    progress->startTotal(tr("Initializing: Total Progress"), 24000);
    progress->startItem(tr("Preparing"), 100, 1);

    if (!locked && !takeLock())
        return false;

    PyObject* store = PyObject_GetAttrString(yumIO, "repos");
    PyObject* dictionary = store ? PyObject_GetAttrString(store, "repos") : nullptr;
    if (!dictionary) {
        PyErr_Clear();
        Py_XDECREF(store);
        error(tr("Internal error: yumIO.repos.repos not evaluable"));
        return collectFailed();
    }
    if (!PyDict_Check(dictionary)) {
        Py_DECREF(dictionary);
        Py_DECREF(store);
        error(tr("Internal error: yumIO.repos.repos not a dictionary"));
        return collectFailed();
    }
    Py_XSETREF(repoDict, dictionary);

    useRepos(store, enables);
    enabledRepoIds = collectRepos(repoDict);
    unreachableDisabled.clear();
    resetCollectMeters();

    if (PyDict_Size(repoDict) == 0) {
        Py_DECREF(store);
        error(tr("No repositories are configured.\nUnder the Repositories menu, Edit Configuration can be "
                 "used to configure repositories."));
        return collectFailed();
    }
    if (enabledRepoIds.isEmpty()) {
        Py_DECREF(store);
        error(tr("No repositories are enabled.\nUnder the Repositories menu, Edit Configuration can be used "
                 "to configure repositories."));
        return collectFailed();
    }

    progress->startItem(tr("Reading repositories"), 900, 1);
    progress->setupItemActs(14000, 6 * Progress::Steps(enabledRepoIds.size()));
    bool const read = setupRepos(store);
    Py_DECREF(store);
    if (!read)
        return false;
    progress->endItemActs();

    baseArchitecture = getYumVar(QStringLiteral("basearch"));

    QHash<EntryKey, Package::Entry*>& hash = entriesByKey;

    progress->startItem(tr("Collecting updatable packages"), 4000, 1);
    pyExceptStart();
    commExceptSetup();
    PyObject* result = pyMethodCall(yumIO, "setupTs", "()");
    if (commExceptRaised(result, tr("setup transaction")) || !result)
        return collectFailed();
    Py_DECREF(result);
    pyExceptClear();

    {
        YumIOCapturersUser capture(capturers, this);
        pyExceptStart();
        commExceptSetup();
        result = pyMethodCall(yumIO, "collectUpdates", "()");
    }
    if (commExceptRaised(result, tr("collect updatable packages")))
        return collectFailed();
    if (!result) {
        error(tr("Internal error: execution of yumIO.collectUpdates failed"));
        return collectFailed();
    }
    pyExceptClear();
    bool ok = collectSet(hash, result, Package::AvailableForUpdate);
    Py_DECREF(result);
    if (!ok)
        return collectFailed();

    progress->startItem(tr("Collecting installed and available packages"), 4000, 1);
    {
        YumIOCapturersUser capture(capturers, this);
        pyExceptStart();
        commExceptSetup();
        result = pyMethodCall(yumIO, "collectAll", "()");
    }
    if (commExceptRaised(result, tr("collect installed and available packages")))
        return collectFailed();
    if (!result) {
        error(tr("Internal error: execution of yumIO.collectAll failed"));
        return collectFailed();
    }
    pyExceptClear();
    ok = collectField(hash, result, "installed", Package::Installed)
        && collectField(hash, result, "available", Package::Available);
    Py_DECREF(result);
    if (!ok)
        return collectFailed();

    progress->startItem(tr("Collecting groups"), 1000, 1);
    pyExceptStart();
    pyExceptExpect(groupsErrorType);
    commExceptSetup();
    result = pyMethodCall(yumIO, "setupTsGroup", "()");
    if (pyExceptMatches(result, groupsErrorType)) {
        // A system without any group file is no error.
        if (!pyStringXDec(pyExceptValuef()).contains(QLatin1String("No Groups Available"))) {
            error(tr("Internal error: execution of yumIO.setupTsGroup failed"));
            return collectFailed();
        }
    } else if (commExceptRaised(result, tr("collect groups")) || !result) {
        return collectFailed();
    }
    Py_XDECREF(result);
    pyExceptClear();

    PyObject* groupInfo = pyMethodCall(yumIO, "collectGroupInfo", "()");
    if (!groupInfo) {
        error(tr("Internal error: execution of yumIO.collectGroupInfo failed"));
        return collectFailed();
    }
    ok = collectGroups(hash, groupInfo);
    if (!ok) {
        Py_DECREF(groupInfo);
        return collectFailed();
    }
    Py_XDECREF(pyMethodCall(yumIO, "collectDone", "()"));
    Py_DECREF(groupInfo);
    return true;
}

void YumIO::useRepos(PyObject* repoStore, QHash<QString, bool> const& enables)
{
    for (auto i = enables.constBegin(); i != enables.constEnd(); ++i) {
        QByteArray const id = i.key().toUtf8();
        // Ids that the engine does not know are none of its business.
        if (PyDict_GetItemString(repoDict, id.constData()) == nullptr)
            continue;
        pyExceptStart();
        pyExceptExpect(repoErrorType);
        PyObject* result
            = pyMethodCall(repoStore, i.value() ? "enableRepo" : "disableRepo", "(s)", id.constData());
        if (pyExceptMatches(result, repoErrorType))
            warning(tr("unable to setup repository %1:\n%2").arg(i.key(), pyStringXDec(pyExceptValuef())));
        Py_XDECREF(result);
        pyExceptClear();
    }
}

QStringList YumIO::collectRepos(PyObject* dictionary)
{
    QStringList ids;
    Py_ssize_t position = 0;
    PyObject* key = nullptr;
    PyObject* repo = nullptr;
    while (PyDict_Next(dictionary, &position, &key, &repo)) {
        PyObject* enabled = PyObject_GetAttrString(repo, "enabled");
        if (!enabled) {
            // No flag: not enabled.
            PyErr_Clear();
            continue;
        }
        long const value = PyLong_Check(enabled) ? PyLong_AsLong(enabled) : 0;
        Py_DECREF(enabled);
        if (PyErr_Occurred())
            PyErr_Clear();
        else if (value != 0)
            ids.append(pyString(key));
    }
    return ids;
}

// --- packages -------------------------------------------------------------------------

Package::Entry*& YumIO::findUpdateablePackage(
    QHash<EntryKey, Package::Entry*>& hash, QString const& name, QString const& arch, QString const& baseArch)
{
    EntryKey const key(false, name, baseArch);
    auto found = hash.find(key);
    if (found != hash.end())
        return *found;
    // A noarch package and one of an architecture are one row.
    static QString const noarch = QStringLiteral("noarch");
    if (arch != noarch) {
        found = hash.find(EntryKey(false, name, noarch));
        if (found != hash.end())
            return *found;
    }
    return hash[key];
}

namespace
{

// A row's number as the table keeps it; 0 for anything else.
template <typename T>
T rowNumber(PyObject* object)
{
    if (!object || !PyLong_Check(object))
        return 0;
    T const value = std::is_unsigned_v<T> ? T(PyLong_AsUnsignedLongLong(object)) : T(PyLong_AsLong(object));
    if (PyErr_Occurred()) {
        PyErr_Clear();
        return 0;
    }
    return value;
}

} // namespace

QString YumIO::sharedString(PyObject* object, QHash<PyObject*, QString>& seen)
{
    // The script hands the same object for the same text within a call;
    // every entry then shares one copy.
    auto const known = seen.constFind(object);
    if (known != seen.constEnd())
        return *known;
    QString const text = pyString(object);
    QString const& shared = *sharedTexts.insert(text);
    seen.insert(object, shared);
    return shared;
}

bool YumIO::collectSet(QHash<EntryKey, Package::Entry*>& hash, PyObject* packages, Package::State state)
{
    PyObject* rows = PyObject_GetAttr(packages, names.rows);
    if (!rows || !PyList_Check(rows)) {
        Py_XDECREF(rows);
        if (PyErr_Occurred())
            handleException();
        error(tr("Internal error: collected packages are not iterable"));
        return false;
    }
    Py_ssize_t const count = PyList_GET_SIZE(rows);
    hash.reserve(hash.size() + count);
    collected.reserve(collected.size() + count);
    QHash<PyObject*, QString> seen;
    bool ok = true;
    for (Py_ssize_t i = 0; i < count; ++i) {
        // (package, name, arch, printVer, repoid, size, summary, buildtime, is a suite)
        PyObject* row = PyList_GET_ITEM(rows, i);
        if (!PyTuple_Check(row) || PyTuple_GET_SIZE(row) != 9) {
            error(tr("Internal error: collected packages are not iterable"));
            ok = false;
            break;
        }
        auto item = [row](Py_ssize_t n) { return PyTuple_GET_ITEM(row, n); };
        QString const name = pyString(item(1));
        QString const arch = sharedString(item(2), seen);
        QString const baseArch = getBiArch(arch);
        baseArchitectures.insert(baseArch);
        Package::Entry*& slot = findUpdateablePackage(hash, name, arch, baseArch);
        Package::Entry** made = nullptr;
        if (!slot) {
            made = &slot;
        } else if (state == Package::Installed) {
            // Further installed instances of one package hang off its row.
            Package::Entry* last = slot;
            while (last->next)
                last = last->next;
            made = &last->next;
        } else {
            continue;
        }
        auto* entry = new Package::Entry;
        *made = entry;
        PyObject* pkg = item(0);
        Py_INCREF(pkg);
        entry->object = pkg;
        entry->state = state;
        // Only the exact group name marks a suite.
        entry->kind = item(8) == Py_True ? Package::Suite : Package::Ordinary;
        entry->name = name;
        entry->verRel = pyString(item(3));
        entry->repo = sharedString(item(4), seen);
        entry->arch = arch;
        entry->baseArch = baseArch;
        entry->size = rowNumber<quint64>(item(5));
        entry->summary = pyString(item(6));
        entry->buildTime = rowNumber<long>(item(7));
        if (made != &slot)
            continue;
        collected.append(entry);
        auto best = bestByName.find(name);
        if (best == bestByName.end()) {
            bestByName.insert(name, entry);
        } else {
            PyObject* better = pyMethodCall(yumIO, "isBetterThan", "(O,O)", (*best)->object, entry->object);
            if (better == Py_True) {
                entry->superseded = true;
            } else {
                (*best)->superseded = true;
                *best = entry;
            }
            Py_XDECREF(better);
        }
    }
    Py_DECREF(rows);
    if (ok && PyErr_Occurred()) {
        handleException();
        return false;
    }
    return ok;
}

bool YumIO::collectField(
    QHash<EntryKey, Package::Entry*>& hash, PyObject* object, char const* field, Package::State state)
{
    PyObject* value = PyObject_GetAttrString(object, field);
    if (!value) {
        PyErr_Clear();
        error(tr("Internal error: yumIO.collectAll.%1 not found").arg(QLatin1String(field)));
        return false;
    }
    bool const ok = collectSet(hash, value, state);
    Py_DECREF(value);
    return ok;
}

quint64 YumIO::sizeOf(PyObject* pkg)
{
    PyObject* size = callMethod(pkg, names.size);
    quint64 value = 0;
    if (size && PyLong_Check(size)) {
        value = PyLong_AsUnsignedLongLong(size);
        if (PyErr_Occurred()) {
            PyErr_Clear();
            value = 0;
        }
    }
    Py_XDECREF(size);
    return value;
}

// --- groups ---------------------------------------------------------------------------

bool YumIO::collectGroups(QHash<EntryKey, Package::Entry*>& hash, PyObject* groupInfo)
{
    bool const distrib = hasDistribGroups();
    PyObject* groups = nullptr;
    if (distrib) {
        Py_INCREF(groupInfo);
        groups = groupInfo;
    } else {
        groups = PyObject_GetAttrString(groupInfo, "visible_groups");
        if (!groups) {
            PyErr_Clear();
            error(tr("Internal error: groupInfo.visible_groups not evaluable"));
            return false;
        }
    }
    PyObject* iterator = PyObject_GetIter(groups);
    Py_DECREF(groups);
    if (!iterator) {
        if (PyErr_Occurred())
            handleException();
        error(tr("Internal error: groupInfo.visible_groups not evaluable"));
        return false;
    }
    bool ok = true;
    while (PyObject* group = PyIter_Next(iterator)) {
        if (distrib) {
            PyObject* visible = PyObject_GetAttrString(group, "user_visible");
            if (!visible)
                PyErr_Clear();
            bool const hidden = visible && PyObject_Not(visible) == 1;
            Py_XDECREF(visible);
            if (hidden) {
                Py_DECREF(group);
                continue;
            }
        }
        PyObject* nameObject = PyObject_GetAttrString(group, "name");
        if (!nameObject) {
            PyErr_Clear();
            Py_DECREF(group);
            error(tr("Internal error: group without name"));
            ok = false;
            break;
        }
        QString const name = pyStringDec(nameObject);
        EntryKey const key(true, name, QString());
        if (!hash.contains(key)) {
            Package::Entry*& slot = hash[key];
            if (!collectGroup(slot, group, name, groupInfo)) {
                Py_DECREF(group);
                ok = false;
                break;
            }
            collected.append(slot);
        }
        Py_DECREF(group);
    }
    Py_DECREF(iterator);
    if (ok && PyErr_Occurred()) {
        handleException();
        ok = false;
    }
    return ok;
}

bool YumIO::collectGroup(Package::Entry*& slot, PyObject* group, QString const& name, PyObject* groupInfo)
{
    PyObject* installed = nullptr;
    if (hasDistribGroups()) {
        installed = PyObject_GetAttrString(group, "installed");
        if (!installed) {
            PyErr_Clear();
            error(tr("Internal error: cannot find group's installed flag"));
            return false;
        }
    } else {
        PyObject* table = PyObject_GetAttrString(groupInfo, "group_installed");
        installed = table ? PyMapping_GetItemString(table, name.toUtf8().constData()) : nullptr;
        Py_XDECREF(table);
        if (!installed) {
            PyErr_Clear();
            error(tr("Internal error: cannot find groupInfo.group_installed['%1']").arg(name));
            return false;
        }
    }
    int const truth = PyObject_IsTrue(installed);
    Py_DECREF(installed);
    if (truth < 0)
        PyErr_Clear();

    auto* entry = new Package::Entry;
    slot = entry;
    entry->action = Package::NoAction;
    entry->state = truth > 0 ? Package::Installed : Package::Available;
    entry->kind = Package::Group;
    entry->name = name;
    Py_INCREF(group);
    entry->object = group;
    if (entry->state == Package::Installed && !upToDateGroup(*entry))
        entry->state = Package::AvailableForUpdate;
    return true;
}

bool YumIO::upToDateGroup(Package::Entry const& entry)
{
    return upToDateGroupGrps(entry, "sub_groups")
        && upToDateGroupPkgs(entry, "mandatory_pkgs", "mandatory_packages");
}

namespace
{

// The first of two attributes that the object has, or null.
PyObject* eitherAttribute(PyObject* object, char const* attribute, char const* otherAttribute)
{
    PyObject* value = PyObject_GetAttrString(object, attribute);
    if (!value && otherAttribute) {
        PyErr_Clear();
        value = PyObject_GetAttrString(object, otherAttribute);
    }
    if (!value)
        PyErr_Clear();
    return value;
}

} // namespace

bool YumIO::upToDateGroupGrps(Package::Entry const& entry, char const* attribute)
{
    // Every listed group must be installed and up to date itself; one that
    // was not collected (hidden, or not yet read) is not.
    PyObject* names = eitherAttribute(entry.object, attribute, nullptr);
    if (!names)
        return true;
    QStringList const groups = stringList(names);
    Py_DECREF(names);
    for (QString const& name : groups) {
        Package::Entry const* group = entriesByKey.value(EntryKey(true, name, QString()));
        if (!group || group->state != Package::Installed)
            return false;
    }
    return true;
}

bool YumIO::upToDateGroupPkgs(Package::Entry const& entry, char const* attribute, char const* otherAttribute)
{
    // Every listed package must be installed without an update.  A package
    // is looked for under the session's base architecture, as noarch, and
    // then under every other base architecture seen.
    PyObject* names = eitherAttribute(entry.object, attribute, otherAttribute);
    if (!names)
        return true;
    QStringList const packages = stringList(names);
    Py_DECREF(names);
    QStringList archs { baseArchitecture, QStringLiteral("noarch") };
    for (QString const& arch : std::as_const(baseArchitectures))
        if (!archs.contains(arch))
            archs.append(arch);
    for (QString const& name : packages) {
        Package::Entry const* found = nullptr;
        for (QString const& arch : std::as_const(archs)) {
            found = entriesByKey.value(EntryKey(false, name, arch));
            if (found)
                break;
        }
        if (!found || found->state != Package::Installed)
            return false;
    }
    return true;
}
