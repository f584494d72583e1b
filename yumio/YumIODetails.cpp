// Package details read on demand from the entries' engine objects.
#include "progress/Progress.h"
#include "yumio/PyCompat.h"
#include "yumio/YumIO.h"
#include "yumio/YumIODialogs.h"

#include <algorithm>

namespace
{

QStringList sortedUnique(QStringList list)
{
    list.sort();
    list.erase(std::unique(list.begin(), list.end()), list.end());
    return list;
}

} // namespace

bool YumIO::hasHeader(PyObject* object)
{
    if (!object)
        return false;
    // Asked of every package for every field: the lookup that does not raise
    // for an object without the attribute saves building an exception each time.
    PyObject* name = PyUnicode_FromString("hdr");
    PyObject* header = nullptr;
    int const found = name ? PyCompat::lookupAttr(object, name, &header) : -1;
    Py_XDECREF(name);
    if (found <= 0) {
        PyErr_Clear();
        return false;
    }
    bool const has = header != Py_None;
    Py_DECREF(header);
    return has;
}

PyObject* YumIO::getRpmHdrValue(PyObject* object, char const* tag)
{
    PyObject* header = PyObject_GetAttrString(object, "hdr");
    if (!header || header == Py_None) {
        PyErr_Clear();
        Py_XDECREF(header);
        error(tr("getRpmHdrValue called for package with no hdr (i.e. not installed)"));
        return nullptr;
    }
    QByteArray const name = QByteArrayLiteral("RPMTAG_") + tag;
    PyObject* tagObject = rpmDict ? PyDict_GetItemString(rpmDict, name.constData()) : nullptr;
    if (!tagObject) {
        Py_DECREF(header);
        error(tr("Internal error: cannot find rpm.%1").arg(QLatin1String(name)));
        return nullptr;
    }
    PyObject* value = PyObject_GetItem(header, tagObject);
    Py_DECREF(header);
    if (!value && PyErr_Occurred())
        handleException();
    return value;
}

QString YumIO::getRpmTime(PyObject* object, char const* tag)
{
    if (!hasHeader(object))
        return QString();
    PyObject* value = getRpmHdrValue(object, tag);
    if (!value)
        return QString();
    long time = 0;
    if (PyLong_Check(value))
        time = PyLong_AsLong(value);
    Py_DECREF(value);
    if (PyErr_Occurred())
        PyErr_Clear();
    return time ? Package::timeFormat(time) : QString();
}

QStringList YumIO::getRpmList(PyObject* object, char const* tag)
{
    if (!hasHeader(object))
        return QStringList();
    PyObject* value = getRpmHdrValue(object, tag);
    if (!value || value == Py_None) {
        Py_XDECREF(value);
        return QStringList();
    }
    QStringList const list = stringList(value);
    Py_DECREF(value);
    return list;
}

namespace
{

QString senseText(long flags)
{
    // rpm's sense bits.
    bool const less = flags & 2;
    bool const greater = flags & 4;
    bool const equal = flags & 8;
    QString text;
    if (less)
        text += QLatin1Char('<');
    if (greater)
        text += QLatin1Char('>');
    if (equal)
        text += QLatin1Char('=');
    return text;
}

QString flagText(QString const& flag)
{
    static QHash<QString, QString> const flags {
        { QStringLiteral("GT"), QStringLiteral(">") },
        { QStringLiteral("GE"), QStringLiteral(">=") },
        { QStringLiteral("LT"), QStringLiteral("<") },
        { QStringLiteral("LE"), QStringLiteral("<=") },
        { QStringLiteral("EQ"), QStringLiteral("=") },
    };
    return flags.value(flag, flag);
}

} // namespace

QStringList YumIO::getPrco(PyObject* object, char const* kind, char const* prefix)
{
    QStringList lines;
    if (hasHeader(object)) {
        QByteArray const p(prefix);
        QStringList const names = getRpmList(object, (p + "NAME").constData());
        QStringList const versions = getRpmList(object, (p + "VERSION").constData());
        PyObject* flagsObject = getRpmHdrValue(object, (p + "FLAGS").constData());
        QList<long> flags;
        if (flagsObject) {
            PyObject* iterator = PyObject_GetIter(flagsObject);
            while (PyObject* item = iterator ? PyIter_Next(iterator) : nullptr) {
                flags.append(PyLong_Check(item) ? PyLong_AsLong(item) : 0);
                Py_DECREF(item);
            }
            Py_XDECREF(iterator);
            Py_DECREF(flagsObject);
            PyErr_Clear();
        }
        for (qsizetype i = 0; i < names.size(); ++i) {
            QString line = names[i];
            QString const sense = i < flags.size() ? senseText(flags[i]) : QString();
            QString const version = i < versions.size() ? versions[i] : QString();
            if (!sense.isEmpty() && !version.isEmpty())
                line += QLatin1Char(' ') + sense + QLatin1Char(' ') + version;
            lines.append(line);
        }
        return sortedUnique(lines);
    }

    PyObject* items = nullptr;
    if (PyObject_HasAttrString(object, "returnPrco")) {
        items = pyMethodCall(object, "returnPrco", "(s)", kind);
    } else {
        PyObject* prco = PyObject_GetAttrString(object, "prco");
        items = prco ? PyMapping_GetItemString(prco, kind) : nullptr;
        Py_XDECREF(prco);
    }
    if (!items) {
        PyErr_Clear();
        error(tr("Internal error: cannot find package's prco.%1").arg(QLatin1String(kind)));
        return lines;
    }
    PyObject* iterator = PyObject_GetIter(items);
    Py_DECREF(items);
    while (PyObject* item = iterator ? PyIter_Next(iterator) : nullptr) {
        // (name, flag, (epoch, version, release))
        PyObject *name = nullptr, *flag = nullptr, *evr = nullptr;
        if (PyTuple_Check(item) && PyTuple_Size(item) == 3) {
            name = PyTuple_GET_ITEM(item, 0);
            flag = PyTuple_GET_ITEM(item, 1);
            evr = PyTuple_GET_ITEM(item, 2);
        }
        if (!name) {
            lines.append(pyStringXDec(item));
            continue;
        }
        QString line = pyString(name);
        if (flag && flag != Py_None) {
            QString epoch, version, release;
            if (evr && PyTuple_Check(evr) && PyTuple_Size(evr) == 3) {
                epoch = pyStringXDec(PyCompat::newRef(PyTuple_GET_ITEM(evr, 0)));
                version = pyStringXDec(PyCompat::newRef(PyTuple_GET_ITEM(evr, 1)));
                release = pyStringXDec(PyCompat::newRef(PyTuple_GET_ITEM(evr, 2)));
            }
            QString text = version;
            if (!epoch.isEmpty() && epoch != QLatin1String("0"))
                text = epoch + QLatin1Char(':') + text;
            if (!release.isEmpty())
                text += QLatin1Char('-') + release;
            line += QLatin1Char(' ') + flagText(pyStringXDec(PyCompat::newRef(flag)));
            if (!text.isEmpty())
                line += QLatin1Char(' ') + text;
        }
        lines.append(line);
        Py_DECREF(item);
    }
    Py_XDECREF(iterator);
    if (PyErr_Occurred())
        handleException();
    return sortedUnique(lines);
}

// --- the accessors ------------------------------------------------------------------

// Every accessor runs on the GUI thread and takes the interpreter lock (which
// it holds already, unless a worker runs: then the details wait).
#define DETAILS_GUARD(entry, empty)                                                                          \
    if (!(entry).object || busy || !Python::isInitialized())                                                 \
        return empty;                                                                                        \
    PyGILStateWrapper gil(true)

QString YumIO::simpleString(Package::Entry const& entry, char const* field)
{
    DETAILS_GUARD(entry, QString());
    return pyStringXDec(pyMethodCall(entry.object, "returnSimple", "(s)", field));
}

QString YumIO::getDescription(Package::Entry const& entry)
{
    return simpleString(entry, "description");
}

QString YumIO::getGroup(Package::Entry const& entry)
{
    return simpleString(entry, "group");
}

QString YumIO::getVendor(Package::Entry const& entry)
{
    return simpleString(entry, "vendor");
}

QString YumIO::getBuildHost(Package::Entry const& entry)
{
    return simpleString(entry, "buildhost");
}

QString YumIO::getSourceRpm(Package::Entry const& entry)
{
    return simpleString(entry, "sourcerpm");
}

QString YumIO::getLicense(Package::Entry const& entry)
{
    return simpleString(entry, "license");
}

QString YumIO::getPackager(Package::Entry const& entry)
{
    return simpleString(entry, "packager");
}

QString YumIO::getUrl(Package::Entry const& entry)
{
    return simpleString(entry, "url");
}

QString YumIO::getInstallTime(Package::Entry const& entry)
{
    DETAILS_GUARD(entry, QString());
    return getRpmTime(entry.object, "INSTALLTIME");
}

QString YumIO::getBinaryRpm(Package::Entry const& entry)
{
    DETAILS_GUARD(entry, QString());
    // An installed package has no file: its header names the one it came from.
    if (hasHeader(entry.object)) {
        PyObject* nvra = getRpmHdrValue(entry.object, "NVRA");
        QString const name = pyStringXDec(nvra);
        return name.isEmpty() ? name : name + QLatin1String(".rpm");
    }
    QString const path = pyStringXDec(pyMethodCall(entry.object, "returnSimple", "(s)", "relativepath"));
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

QStringList YumIO::getRelocations(Package::Entry const& entry)
{
    DETAILS_GUARD(entry, QStringList());
    return getRpmList(entry.object, "PREFIXES");
}

QStringList YumIO::getProvides(Package::Entry const& entry)
{
    DETAILS_GUARD(entry, QStringList());
    return getPrco(entry.object, "provides", "PROVIDE");
}

QStringList YumIO::getRequires(Package::Entry const& entry)
{
    DETAILS_GUARD(entry, QStringList());
    return getPrco(entry.object, "requires", "REQUIRE");
}

QStringList YumIO::getConflicts(Package::Entry const& entry)
{
    DETAILS_GUARD(entry, QStringList());
    return getPrco(entry.object, "conflicts", "CONFLICT");
}

QStringList YumIO::getObsoletes(Package::Entry const& entry)
{
    DETAILS_GUARD(entry, QStringList());
    return getPrco(entry.object, "obsoletes", "OBSOLETE");
}

QStringList YumIO::getFiles(Package::Entry const& entry)
{
    if (!entry.object || busy || !Python::isInitialized())
        return QStringList();
    {
        PyGILStateWrapper gil(true);
        if (hasHeader(entry.object)) {
            QStringList const basenames = getRpmList(entry.object, "BASENAMES");
            QStringList const dirnames = getRpmList(entry.object, "DIRNAMES");
            PyObject* indexes = getRpmHdrValue(entry.object, "DIRINDEXES");
            QStringList files;
            PyObject* iterator = indexes ? PyObject_GetIter(indexes) : nullptr;
            for (qsizetype i = 0; iterator && i < basenames.size(); ++i) {
                PyObject* item = PyIter_Next(iterator);
                long const index = item && PyLong_Check(item) ? PyLong_AsLong(item) : -1;
                Py_XDECREF(item);
                files.append(
                    (index >= 0 && index < dirnames.size() ? dirnames[index] : QString()) + basenames[i]);
            }
            Py_XDECREF(iterator);
            Py_XDECREF(indexes);
            PyErr_Clear();
            files.sort();
            return files;
        }
    }
    // Not installed: the repositories' file lists must be loaded first.
    if (!fileListsFlag && !fileListsFailed)
        collectFileLists();
    PyGILStateWrapper gil(true);
    PyObject* files = nullptr;
    if (PyObject_HasAttrString(entry.object, "returnFileEntries"))
        files = pyMethodCall(entry.object, "returnFileEntries", "(s)", "file");
    if (!files && PyObject_HasAttrString(entry.object, "_loadFiles"))
        Py_XDECREF(pyMethodCall(entry.object, "_loadFiles", "()"));
    if (!files) {
        PyObject* table = PyObject_GetAttrString(entry.object, "files");
        files = table ? PyMapping_GetItemString(table, "file") : nullptr;
        Py_XDECREF(table);
    }
    if (!files) {
        PyErr_Clear();
        error(tr("Internal error: cannot find package's files"));
        return QStringList();
    }
    QStringList list = stringList(files);
    Py_DECREF(files);
    list.sort();
    return list;
}

QString YumIO::getChangeLog(Package::Entry const& entry)
{
    if (!entry.object || busy || !Python::isInitialized())
        return QString();
    struct Change {
        long time;
        QString author;
        QString text;
    };
    QList<Change> changes;
    bool found = false;
    {
        PyGILStateWrapper gil(true);
        if (hasHeader(entry.object)) {
            QStringList const names = getRpmList(entry.object, "CHANGELOGNAME");
            QStringList const texts = getRpmList(entry.object, "CHANGELOGTEXT");
            PyObject* times = getRpmHdrValue(entry.object, "CHANGELOGTIME");
            PyObject* iterator = times ? PyObject_GetIter(times) : nullptr;
            for (qsizetype i = 0; iterator && i < names.size(); ++i) {
                PyObject* item = PyIter_Next(iterator);
                long const time = item && PyLong_Check(item) ? PyLong_AsLong(item) : 0;
                Py_XDECREF(item);
                changes.append(Change { time, names[i], i < texts.size() ? texts[i] : QString() });
            }
            Py_XDECREF(iterator);
            Py_XDECREF(times);
            PyErr_Clear();
            found = true;
        }
    }
    if (!found) {
        // Not installed: the repositories' change logs must be loaded first.
        if (!otherDataFlag && !otherDataFailed)
            collectOtherData();
        PyGILStateWrapper gil(true);
        PyObject* items = yumVersion() > 20300 ? pyMethodCall(entry.object, "returnChangelog", "()")
                                               : PyObject_GetAttrString(entry.object, "changelog");
        PyObject* iterator = items ? PyObject_GetIter(items) : nullptr;
        Py_XDECREF(items);
        if (!iterator) {
            PyErr_Clear();
            error(tr("Internal error: cannot find package's changelog"));
            return QString();
        }
        while (PyObject* item = PyIter_Next(iterator)) {
            if (PyTuple_Check(item) && PyTuple_Size(item) >= 3) {
                PyObject* time = PyTuple_GET_ITEM(item, 0);
                long const seconds = PyLong_Check(time) ? PyLong_AsLong(time) : 0;
                changes.append(Change { seconds, pyStringXDec(PyCompat::newRef(PyTuple_GET_ITEM(item, 1))),
                    pyStringXDec(PyCompat::newRef(PyTuple_GET_ITEM(item, 2))) });
            }
            Py_DECREF(item);
        }
        Py_DECREF(iterator);
        if (PyErr_Occurred())
            handleException();
    }
    QStringList parts;
    for (Change const& change : std::as_const(changes))
        parts.append(QStringLiteral("* ") + Package::dateFormat(change.time) + QLatin1Char(' ')
            + change.author + QLatin1Char('\n') + change.text);
    return parts.join(QLatin1String("\n\n"));
}

QStringList YumIO::getGroupList(
    Package::Entry const& entry, char const* attribute, char const* otherAttribute)
{
    if (entry.kind != Package::Group)
        return QStringList();
    DETAILS_GUARD(entry, QStringList());
    PyObject* list = PyObject_GetAttrString(entry.object, attribute);
    if (!list && otherAttribute) {
        PyErr_Clear();
        list = PyObject_GetAttrString(entry.object, otherAttribute);
    }
    if (!list) {
        PyErr_Clear();
        return QStringList();
    }
    QStringList const names = stringList(list);
    Py_DECREF(list);
    return names;
}

QStringList YumIO::getRequiredGroups(Package::Entry const& entry)
{
    return getGroupList(entry, "sub_groups", nullptr);
}

QStringList YumIO::getDefaultMetaPkgs(Package::Entry const& entry)
{
    return getGroupList(entry, "default_metapkgs", nullptr);
}

QStringList YumIO::getOptionalMetaPkgs(Package::Entry const& entry)
{
    return getGroupList(entry, "optional_metapkgs", nullptr);
}

QStringList YumIO::getMandatoryPkgs(Package::Entry const& entry)
{
    return getGroupList(entry, "mandatory_packages", "mandatory_pkgs");
}

QStringList YumIO::getDefaultPkgs(Package::Entry const& entry)
{
    return getGroupList(entry, "default_packages", "default_pkgs");
}

QStringList YumIO::getOptionalPkgs(Package::Entry const& entry)
{
    return getGroupList(entry, "optional_packages", "optional_pkgs");
}

QStringList YumIO::getConditionalPkgs(Package::Entry const& entry)
{
    return getGroupList(entry, "conditional_packages", nullptr);
}

QList<Package::Entry const*> YumIO::readingOrder(QList<Package::Entry const*> entries)
{
    if (busy || !Python::isInitialized())
        return entries;
    QList<std::pair<qint64, Package::Entry const*>> placed;
    placed.reserve(entries.size());
    QList<Package::Entry const*> unplaced;
    {
        PyGILStateWrapper gil(true);
        for (Package::Entry const* e : std::as_const(entries)) {
            PyObject* order = e->object ? PyObject_GetAttrString(e->object, "storageOrder") : nullptr;
            if (order && PyLong_Check(order))
                placed.append({ PyLong_AsLongLong(order), e });
            else
                unplaced.append(e);
            Py_XDECREF(order);
            PyErr_Clear();
        }
    }
    std::stable_sort(
        placed.begin(), placed.end(), [](auto const& a, auto const& b) { return a.first < b.first; });
    entries.clear();
    for (auto const& [order, e] : std::as_const(placed))
        entries.append(e);
    return entries + unplaced;
}

// --- extra data -----------------------------------------------------------------------

bool YumIO::collectExtraReal(char const* method, QString const& total, QString const& item,
    QString const& what, char const* internalError)
{
    blocker.block();
    Progress::User progressUser(progress, totalBar, itemBar);
    YumIODialogsUser dialogsUser(dialogs, parentWidget);
    log(Log::Action, 0, item);

    PyGILStateWrapper gil(true);
    progress->startTotal(total, 15000);
    progress->startItem(item, 1000, 1);
    progress->setupItemActs(14000, 6 * Progress::Steps(qMax<qsizetype>(1, enabledRepoIds.size())));
    pyExceptStart();
    commExceptSetup();
    PyObject* result = pyMethodCall(yumIO, method, "()");
    if (commExceptRaised(result, what))
        return collectFailed();
    if (!result) {
        error(tr(internalError));
        return collectFailed();
    }
    Py_DECREF(result);
    pyExceptClear();
    progress->endItemActs();
    return true;
}

bool YumIO::collectFileListsReal()
{
    setCollectLabelFileLists();
    return collectExtraReal("collectFileLists", tr("Loading file lists: Total Progress"),
        tr("Collecting File Lists"), tr("collect filelists"),
        "Internal error: execution of yumIO.collectFileLists failed");
}

bool YumIO::collectOtherDataReal()
{
    setCollectLabelOtherData();
    return collectExtraReal("collectOtherData", tr("Loading miscellaneous data: Total Progress"),
        tr("Collecting Miscellaneous data"), tr("collect miscellaneous data"),
        "Internal error: execution of yumIO.collectOtherData failed");
}
