#include "yumio/YumIO.h"
#include "yumio/Secrets.h"

#include "app/Share.h"
#include "progress/Progress.h"
#include "yumio/YumIOCapturers.h"
#include "yumio/YumIODialogs.h"
#include "yumio/YumIOThreads.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutexLocker>
#include <QRegularExpression>
#include <QThread>
#include <QTimer>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <pthread.h>

namespace
{
std::atomic_bool versionWarned = false;
} // namespace

size_t qHash(YumIO::EntryKey const& key, size_t)
{
    // Unsigned 32-bit arithmetic, so that the same keys spread the same way
    // on every platform.
    quint32 const name = quint32(qHash(key.name));
    quint32 const arch = quint32(qHash(key.baseArch));
    return quint32(2u * name + 4u * arch + (key.group ? 1u : 0u));
}

YumIO::YumIO(QObject* parent)
    : QObject(parent)
{
}

YumIO::~YumIO()
{
    if (Python::isInitialized() && yumIOCTarget() == this) {
        PyGILStateWrapper gil(true);
        // From here on, output goes to the terminal.
        py("import sys\nsys.stdout = sys.__stdout__\nsys.stderr = sys.__stderr__\n");
        releaseLock();
        dropEntries(entries, true);
        dropEntries(clearingEntries, true);
        dropEntries(collected, true);
        Py_CLEAR(repoDict);
        Py_CLEAR(yumIO);
        // The script froze what it collected out of the collector's sight;
        // finalizing must find its cycles.
        py("import gc\ngc.unfreeze()\n");
        for (PyObject** name : { &names.size, &names.rows })
            Py_CLEAR(*name);
        setYumIOCTarget(nullptr);
    }
    delete dialogs;
    dialogs = nullptr;
}

void YumIO::setup(QWidget* parent, HProgressBar* total, HProgressBar* item)
{
    parentWidget = parent;
    totalBar = total;
    itemBar = item;
    delete dialogs;
    dialogs = new YumIODialogs(parent);
}

// --- start-up ---------------------------------------------------------------------

bool YumIO::initialize()
{
    if (!registerYumIOC()) {
        error(tr("Internal error: cannot register python yumIOC module"));
        return false;
    }
    if (!Python::initialize())
        return false;
    if (yumIO)
        return true;

    PyGILStateWrapper gil(true);
    setYumIOCTarget(this);
    if (!names.size) {
        names.size = PyUnicode_InternFromString("size");
        names.rows = PyUnicode_InternFromString("rows");
    }

    // yum's command-line modules look at sys.argv: give them a harmless
    // command.
    QByteArray const program = QCoreApplication::instance() ? QCoreApplication::applicationFilePath().toUtf8()
                                                            : QByteArrayLiteral("sorvan");
    PyObject* argv = Py_BuildValue("[s,s]", program.constData(), "info");
    pyAssign("sys", "argv", argv);
    Py_XDECREF(argv);

    PyObject* rpm = PyImport_ImportModule("rpm");
    if (!rpm) {
        if (PyErr_Occurred())
            handleException();
        error(tr("Internal error: cannot find python rpm module"));
        return false;
    }
    // sys.modules keeps the module, and so its dictionary, alive.
    rpmDict = PyModule_GetDict(rpm);
    Py_DECREF(rpm);
    if (!rpmDict) {
        if (PyErr_Occurred())
            handleException();
        error(tr("Internal error: cannot find python rpm dict"));
        return false;
    }

    setEnablePythonSIGINTHandler(false);

    QString const scriptPath = Share::absolute(QStringLiteral("python/YumIO.py"));
    // The script's own modules (yum, sorvanyum) live beside it.
    PyObject* path = PySys_GetObject("path");
    PyObject* directory = PyUnicode_FromString(QFileInfo(scriptPath).absolutePath().toUtf8().constData());
    if (path && directory && PyList_Check(path))
        PyList_Insert(path, 0, directory);
    Py_XDECREF(directory);
    if (PyErr_Occurred())
        handleException();

    // Where the script was looked for, for a message that says how to fix it.
    QString const origin = Share::fromEnvironment()
        ? tr("the environment variable SORVANSHARE")
        : tr("the installation (the environment variable SORVANSHARE can name another directory)");
    QFile file(scriptPath);
    if (!file.open(QIODevice::ReadOnly)) {
        error(tr("Cannot open SORVAN's companion script %1: %2\nSORVAN's shared-data directory comes from %3.")
                  .arg(scriptPath, file.errorString(), origin));
        return false;
    }
    QByteArray const source = file.readAll();
    file.close();
    // Compiled and run here rather than by PyRun_SimpleFile, which would
    // print a syntax error to the terminal only.
    PyObject* code = Py_CompileString(source.constData(), QFile::encodeName(scriptPath).constData(), Py_file_input);
    PyObject* ran = code ? PyEval_EvalCode(code, mainDict(), mainDict()) : nullptr;
    Py_XDECREF(code);
    if (!ran) {
        error(tr("Cannot run SORVAN's companion script %1:\n%2\nSORVAN's shared-data directory comes from %3.")
                  .arg(scriptPath, Secrets::masked(exceptionText()), origin));
        return false;
    }
    Py_DECREF(ran);

    yumIOClass = PyDict_GetItemString(mainDict(), "YumIO");
    if (!yumIOClass) {
        if (PyErr_Occurred())
            handleException();
        error(tr("Internal error: cannot find python YumIO"));
        return false;
    }

    pyExceptStart();
    pyExceptExpect(PyExc_SystemExit);
    PyObject* arguments = PyTuple_New(0);
    yumIO = PyObject_Call(yumIOClass, arguments, nullptr);
    Py_DECREF(arguments);
    if (!yumIO && PyErr_Occurred())
        handleException();
    if (pyExceptMatches(yumIO, PyExc_SystemExit)) {
        pythonException(tr("Unable to initialize"));
        pyExceptClear();
        return false;
    }
    pyExceptClear();
    if (!yumIO) {
        error(tr("Internal error: cannot create python yumIO"));
        return false;
    }

    bdbQuitType = pyLookup("bdb.BdbQuit", false);
    yumBaseErrorType = pyLookup("yum.Errors.YumBaseError", false);
    lockErrorType = pyLookup("yum.Errors.LockError", false);
    groupsErrorType = pyLookup("yum.Errors.GroupsError", false);
    repoErrorType = pyLookup("yum.Errors.RepoError", false);
    sqliteOperationalErrorType = pyLookup("sqlite3.OperationalError", true);
    noMoreMirrorsRepoErrorType = pyLookup("yum.Errors.NoMoreMirrorsRepoError", true);
    return true;
}

// --- probes -------------------------------------------------------------------------

QString YumIO::yumVersionStr()
{
    if (!yumVersionStrComputed && Python::isInitialized()) {
        PyGILStateWrapper gil(true);
        yumVersionStrComputed = true;
        PyObject* version = pyLookup("yum.__version__", true);
        if (!version)
            version = pyLookup("cli.__version__", true);
        if (version && (PyUnicode_Check(version) || PyBytes_Check(version)))
            yumVersionString = pyString(version);
    }
    return yumVersionString;
}

int YumIO::versionNumber(QString const& text, bool* understood)
{
    static int const weights[] = { 10000, 100, 1 };
    if (understood)
        *understood = true;
    QStringList const parts = text.split(QLatin1Char('.'));
    int number = 0;
    for (qsizetype i = 0; i < parts.size() && i < 3; ++i) {
        QByteArray const part = parts[i].toLatin1();
        char* end = nullptr;
        errno = 0;
        unsigned long const value = std::strtoul(part.constData(), &end, 10);
        // A part without a digit is as little understood as one out of range.
        if (errno == 0 && end == part.constData())
            errno = EINVAL;
        if (errno != 0 && understood)
            *understood = false;
        number += int(value) * weights[i];
    }
    return number;
}

int YumIO::yumVersion()
{
    QString const text = yumVersionStr();
    bool understood = true;
    int const number = versionNumber(text, &understood);
    if (!understood && !versionWarned.exchange(true)) {
        int const code = errno;
        warning(tr("Internal error: yum version not understood: %1 errno=%2 (%3)")
                    .arg(text)
                    .arg(code)
                    .arg(QString::fromLocal8Bit(std::strerror(code))));
    }
    return number;
}

bool YumIO::hasDistribGroups()
{
    return yumVersion() >= 20500;
}

bool YumIO::hasTransTest()
{
    return yumVersion() <= 30202;
}

bool YumIO::hasPickledCache()
{
    return yumVersion() <= 20901;
}

bool YumIO::hasSqliteCache()
{
    return yumVersion() >= 20302;
}

namespace
{

// A probe is true exactly when the call returned the True object.
bool isTrue(PyObject* result)
{
    bool const value = result == Py_True;
    Py_XDECREF(result);
    return value;
}

} // namespace

bool YumIO::usesSqlite()
{
    if (!usesSqliteComputed && yumIO) {
        PyGILStateWrapper gil(true);
        usesSqliteComputed = true;
        pyExceptStart();
        usesSqliteValue = isTrue(pyCall("usesSqlite", "()"));
        pyExceptClear();
    }
    return usesSqliteValue;
}

bool YumIO::usesPresto()
{
    if (!usesPrestoComputed && yumIO) {
        PyGILStateWrapper gil(true);
        usesPrestoComputed = true;
        pyExceptStart();
        usesPrestoValue = isTrue(pyMethodCall(yumIO, "usesPresto", "()"));
        pyExceptClear();
    }
    return usesPrestoValue;
}

bool YumIO::hasMultiProgress()
{
    if (!hasMultiProgressComputed && yumIO) {
        PyGILStateWrapper gil(true);
        hasMultiProgressComputed = true;
        pyExceptStart();
        hasMultiProgressValue = isTrue(pyMethodCall(yumIO, "hasMultiProgress", "()"));
        pyExceptClear();
    }
    return hasMultiProgressValue;
}

QString YumIO::getYumVar(QString const& name)
{
    if (!yumIO)
        return QString();
    PyGILStateWrapper gil(true);
    PyObject* conf = PyObject_GetAttrString(yumIO, "conf");
    PyObject* vars = conf ? PyObject_GetAttrString(conf, "yumvar") : nullptr;
    Py_XDECREF(conf);
    PyObject* value = vars ? PyMapping_GetItemString(vars, name.toUtf8().constData()) : nullptr;
    Py_XDECREF(vars);
    // An absent variable is the conversion's warning, not an exception.
    PyErr_Clear();
    return pyStringDec(value);
}

QString YumIO::getBiArch(QString const& arch)
{
    auto const known = biArchs.constFind(arch);
    if (known != biArchs.constEnd())
        return *known;
    if (!yumIO)
        return QString();
    PyGILStateWrapper gil(true);
    QString const value = pyStringDec(pyMethodCall(yumIO, "getBiArch", "(s)", arch.toUtf8().constData()));
    biArchs.insert(arch, value);
    return value;
}

// --- conversions ----------------------------------------------------------------

QString YumIO::pyString(PyObject* object)
{
    if (!object) {
        warning(tr("Internal error: YumIO::pyString called with NULL"));
        return QString();
    }
    if (object == Py_None)
        return QString();
    if (PyBytes_Check(object))
        return QString::fromUtf8(PyBytes_AS_STRING(object), PyBytes_GET_SIZE(object));
    if (PyUnicode_Check(object)) {
        Py_ssize_t size = 0;
        char const* text = PyUnicode_AsUTF8AndSize(object, &size);
        if (text)
            return QString::fromUtf8(text, size);
        // Lone surrogates (undecodable file names) cannot be UTF-8: take them
        // through the wide characters as they are.
        PyErr_Clear();
        Py_ssize_t const length = PyUnicode_GetLength(object);
        std::unique_ptr<wchar_t[]> wide(new wchar_t[size_t(length) + 1]);
        Py_ssize_t const copied = PyUnicode_AsWideChar(object, wide.get(), length + 1);
        if (copied < 0) {
            PyErr_Clear();
            return QString();
        }
        return QString::fromWCharArray(wide.get(), copied);
    }
    warning(tr("Internal error: YumIO::pyString did not understand type"));
    return QString();
}

QString YumIO::pyStringDec(PyObject* object)
{
    QString const text = pyString(object);
    Py_XDECREF(object);
    return text;
}

QString YumIO::pyStringXDec(PyObject* object)
{
    if (!object || object == Py_None || PyUnicode_Check(object) || PyBytes_Check(object))
        return pyStringDec(object);
    PyObject* text = PyObject_Str(object);
    Py_DECREF(object);
    if (!text)
        PyErr_Clear();
    return pyStringDec(text);
}

PyObject* YumIO::callMethod(PyObject* self, PyObject* method, PyObject* argument)
{
    PyObject* arguments[2] = { self, argument };
    PyObject* result = PyObject_VectorcallMethod(method, arguments, argument ? 2 : 1, nullptr);
    if (result || !PyErr_Occurred())
        return result;
    // Rare: call again the ordinary way, for the ordinary reports.
    PyErr_Clear();
    char const* name = PyUnicode_AsUTF8(method);
    if (argument)
        return pyMethodCall(self, name, "(O)", argument);
    return pyMethodCall(self, name, "()");
}

QString YumIO::attributeString(PyObject* object, char const* attribute)
{
    PyObject* value = object ? PyObject_GetAttrString(object, attribute) : nullptr;
    if (!value)
        PyErr_Clear();
    return pyStringDec(value);
}

QStringList YumIO::stringList(PyObject* iterable)
{
    QStringList list;
    PyObject* iterator = iterable ? PyObject_GetIter(iterable) : nullptr;
    if (!iterator) {
        PyErr_Clear();
        return list;
    }
    while (PyObject* item = PyIter_Next(iterator))
        list.append(pyStringXDec(item));
    Py_DECREF(iterator);
    if (PyErr_Occurred())
        handleException();
    return list;
}

// --- reports ------------------------------------------------------------------------

namespace
{

// A report's text without the line end that the C-level messages carry.
QString trimmed(QString text)
{
    while (text.endsWith(QLatin1Char('\n')))
        text.chop(1);
    return text;
}

} // namespace

int YumIO::askRelay(std::function<int(YumIODialogs*)> const& ask)
{
    // A relay serves only the thread it lives on.  Before setup(), or on a
    // thread whose operation installed none, a relay is made for the one
    // question.
    if (dialogs && dialogs->thread() == QThread::currentThread())
        return ask(dialogs);
    YumIODialogs own(parentWidget);
    return ask(&own);
}

void YumIO::error(QString const& text)
{
    QString const message = trimmed(text);
    log(Log::Error, 0, message);
    if (!QCoreApplication::instance()) {
        std::fprintf(stderr, "%s\n", message.toLocal8Bit().constData());
        return;
    }
    askRelay([&](YumIODialogs* relay) {
        return relay->critical(tr("SORVAN Yum Error"), message, QString(), QString(), QString(), 0, -1);
    });
}

void YumIO::warning(QString const& text)
{
    QString const message = trimmed(text);
    log(Log::Warning, 0, message);
    if (!QCoreApplication::instance()) {
        std::fprintf(stderr, "%s\n", message.toLocal8Bit().constData());
        return;
    }
    askRelay([&](YumIODialogs* relay) {
        return relay->warning(tr("SORVAN Yum Warning"), message, QString(), QString(), QString(), 0, -1);
    });
}

void YumIO::error(char const* message)
{
    error(QString::fromUtf8(message));
}

void YumIO::warning(char const* message)
{
    warning(QString::fromUtf8(message));
}

void YumIO::pythonException(QString const& text)
{
    qsizetype start;
    {
        QMutexLocker locker(&logList.mutex);
        start = logMark >= 0 ? logMark : logList.entries.size();
    }
    pythonExceptionFrom(start, text);
}

void YumIO::pythonExceptionV(QString const& text)
{
    qsizetype start;
    {
        QMutexLocker locker(&logList.mutex);
        start = logMark >= 0 ? logMark : logList.entries.size();
    }
    // The exception's own message heads the summary.
    log(Log::Error, 0, pyStringXDec(pyExceptValuef()));
    pythonExceptionFrom(start, text);
}

void YumIO::pythonExceptionFrom(qsizetype start, QString const& text)
{
    log(Log::Error, 0, text);
    QStringList lines;
    {
        QMutexLocker locker(&logList.mutex);
        for (qsizetype i = start; i < logList.entries.size(); ++i) {
            Log::Entry const& entry = logList.entries[i];
            if (entry.kind == Log::Error && entry.level < 3)
                lines.append(entry.text);
        }
    }
    if (!QCoreApplication::instance()) {
        std::fprintf(stderr, "%s\n", lines.join(QLatin1Char('\n')).toLocal8Bit().constData());
        return;
    }
    askRelay([&](YumIODialogs* relay) {
        relay->scrollable(tr("SORVAN Yum Error"), lines.join(QLatin1Char('\n')));
        return 0;
    });
}

void YumIO::pyExceptExpect(PyObject* type)
{
    {
        QMutexLocker locker(&logList.mutex);
        if (logMark < 0)
            logMark = logList.entries.size();
    }
    Python::pyExceptExpect(type);
}

void YumIO::pyExceptClear()
{
    {
        QMutexLocker locker(&logList.mutex);
        logMark = -1;
    }
    Python::pyExceptClear();
}

void YumIO::commExceptSetup()
{
    pyExceptExpect(bdbQuitType);
    pyExceptExpect(yumBaseErrorType);
    pyExceptExpect(repoErrorType);
    pyExceptExpect(PyExc_OSError);
    pyExceptExpect(PyExc_KeyboardInterrupt);
    pyExceptExpect(PyExc_AssertionError);
    if (sqliteOperationalErrorType)
        pyExceptExpect(sqliteOperationalErrorType);
    if (noMoreMirrorsRepoErrorType)
        pyExceptExpect(noMoreMirrorsRepoErrorType);
}

void YumIO::printWalkback()
{
    PyObject* type = nullptr;
    PyObject* value = nullptr;
    PyObject* traceback = nullptr;
    PyErr_Fetch(&type, &value, &traceback);
    PyErr_NormalizeException(&type, &value, &traceback);
    if (type)
        PyErr_Display(type, value, traceback);
    Py_XDECREF(type);
    Py_XDECREF(value);
    Py_XDECREF(traceback);
    PyErr_Clear();
}

bool YumIO::commExceptRaised(PyObject* result, QString const& what)
{
    if (pyExceptMatches(result, PyExc_OSError)) {
        QString const text = pyStringXDec(pyExceptValuef());
        printWalkback();
        error(tr("Unable to %1: I/O Error: %2\n\nEmitting a walkback to the Log window.").arg(what, text));
        return true;
    }
    if (pyExceptMatches(result, PyExc_KeyboardInterrupt)) {
        printWalkback();
        error(tr("Unable to %1: KeyboardInterrupt\n\nThis usually means SORVAN was sent signal SIGINT, "
                 "SIGTERM, or similar.\n\nBut urlgrabber also can raise this error for several situations "
                 "where it is just guessing.\nSo, emitting a walkback to the Log window.")
                  .arg(what));
        return true;
    }
    if (pyExceptMatches(result, PyExc_AssertionError)) {
        printWalkback();
        error(tr("Internal error: python assertion failed\nWhen reporting this issue, please include the "
                 "contents of the\nLog window, which should contain a walkback."));
        return true;
    }
    if (noMoreMirrorsRepoErrorType && pyExceptMatches(result, noMoreMirrorsRepoErrorType)) {
        error(tr("Unable to %1: metadata unavailable from all repo mirrors:\n%2")
                  .arg(what, pyStringXDec(pyExceptValuef())));
        return true;
    }
    if (pyExceptMatches(result, repoErrorType)
        || (sqliteOperationalErrorType && pyExceptMatches(result, sqliteOperationalErrorType))) {
        QString const text = pyStringXDec(pyExceptValuef());
        if (text.contains(QLatin1String("database is locked")))
            pythonException(tr("Unable to %1: a repository's sqlite database was locked unexpectedly\nOn "
                               "some distributions, PackageKit has been known to cause this.")
                                .arg(what));
        else
            exceptionError();
        return true;
    }
    if (pyExceptMatches(result, bdbQuitType) || pyExceptMatches(result, yumBaseErrorType)) {
        pythonExceptionV(tr("Unable to %1").arg(what));
        return true;
    }
    return false;
}

// --- output -------------------------------------------------------------------------

void YumIO::log(Log::Kind kind, unsigned level, QString const& text)
{
    QString rewritten = Secrets::masked(text);
    if (rewritten.contains(QLatin1String("[Errno "))) {
        // One per thread: the output comes from workers and the GUI thread.
        thread_local QRegularExpression const errnoPrefix(QStringLiteral(": (\\[Errno [0-9]*\\] )"));
        rewritten.replace(errnoPrefix, QStringLiteral(":\n\\1"));
    }
    QStringList const parts = rewritten.split(QLatin1Char('\n'));
    {
        QMutexLocker locker(&logList.mutex);
        for (QString const& part : parts)
            logList.entries.append(Log::Entry { kind, level, part });
    }
    logList.emitAppended();
}

void YumIO::write(QString const& text, Log::Kind kind, unsigned level, QString& buffer)
{
    bool appended = false;
    {
        // The buffers are shared by the script's writes (on the worker) and
        // the captured descriptors (read on the GUI thread).
        QMutexLocker locker(&logList.mutex);
        buffer.append(text);
        qsizetype const last = buffer.lastIndexOf(QLatin1Char('\n'));
        if (last >= 0) {
            QStringList const lines = buffer.left(last).split(QLatin1Char('\n'));
            for (QString const& line : lines)
                logList.entries.append(Log::Entry { kind, level, Secrets::masked(line) });
            buffer.remove(0, last + 1);
            appended = true;
        }
    }
    if (appended)
        logList.emitAppended();
}

void YumIO::writeStdout(QString const& text)
{
    write(text, Log::Output, 0, stdoutBuffer);
}

void YumIO::writeStderr(QString const& text)
{
    write(text, Log::Error, 0, stderrBuffer);
}

void YumIO::logScript(Log::Kind kind, long level, char const* text)
{
    QString const message = QString::fromUtf8(text);
    log(kind, unsigned(qMax(0L, level)), message);
    if (!transactionOutputDone)
        transactionOutput += message + QLatin1Char('\n');
}

// --- work threads ---------------------------------------------------------------------

void YumIO::execWorkThread(QEventLoop& loop, YumIOThread& thread)
{
    busy = true;
    // A cancel belongs to the operation it was asked in.
    downloadCancel = false;
    blocker.prepare();
    {
        // The worker takes the interpreter lock; this thread waits without it.
        PyThreadStateWrapper released;
        thread.start(QThread::HighPriority);
        // Started before the mask changes, the worker keeps SIGCHLD unblocked:
        // rpm's children are its business.
        sigset_t chld;
        sigset_t old;
        sigemptyset(&chld);
        sigaddset(&chld, SIGCHLD);
        pthread_sigmask(SIG_BLOCK, &chld, &old);
        QTimer::singleShot(0, this, &YumIO::blockerRelease);
        loop.exec(QEventLoop::AllEvents);
        // The loop also ends early when the application quits (its last
        // window closed).  The worker may still need this thread, for a
        // question or to end an output capture, so events go on until it is
        // done: waiting for it here would wait forever.
        while (!thread.done())
            QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
        thread.wait();
        loop.processEvents(QEventLoop::ExcludeUserInputEvents);
        {
            PyGILStateWrapper gil(true);
            // The engine may have put Python's own handler back.
            setEnablePythonSIGINTHandler(false);
        }
        pthread_sigmask(SIG_SETMASK, &old, nullptr);
    }
    busy = false;
}

bool YumIO::collect(QHash<QString, bool> const& enables)
{
    if (!yumIO || busy)
        return false;
    if (!entries.isEmpty() || !collected.isEmpty())
        clearEntries();
    // The next detail query loads the extra data afresh.
    fileListsFlag = false;
    otherDataFlag = false;
    fileListsFailed = false;
    otherDataFailed = false;
    QEventLoop loop;
    CollectThread thread(this, loop, enables);
    execWorkThread(loop, thread);
    if (!thread.result())
        return false;
    // Handed over here, on the GUI thread, where the table reads the list.
    entries.append(collected);
    collected.QList::clear();
    return true;
}

void YumIO::clearEntries()
{
    if (!Python::isInitialized() || busy)
        return;
    clearing = true;
    QEventLoop loop;
    ClearEntriesThread thread(this, loop);
    execWorkThread(loop, thread);
}

void YumIO::clearEntriesReal()
{
    blocker.block();
    {
        PyGILStateWrapper gil(true);
        dropEntries(entries, true);
        dropEntries(collected, true);
        entriesByKey.clear();
        bestByName.clear();
        baseArchitectures.clear();
    }
    clearing = false;
}

void YumIO::dropEntries(Package::EntryList& list, bool release)
{
    for (Package::Entry* entry : std::as_const(list)) {
        for (Package::Entry* e = entry; e; e = e->next) {
            if (release)
                Py_XDECREF(e->object);
            e->object = nullptr;
        }
    }
    list.deleteAll();
}

void YumIO::clear()
{
    if (!Python::isInitialized() || busy)
        return;
    if (yumIO) {
        PyGILStateWrapper gil(true);
        Py_XDECREF(pyMethodCall(yumIO, "flush", "()"));
    }
    clearEntries();
    PyGILStateWrapper gil(true);
    // The old engine's package data goes before the new session reads its own.
    if (yumIO && PyObject_HasAttrString(yumIO, "close"))
        Py_XDECREF(pyMethodCall(yumIO, "close", "()"));
    Py_CLEAR(repoDict);
    Py_CLEAR(yumIO);
    biArchs.clear();
    if (!yumIOClass)
        return;
    PyObject* arguments = PyTuple_New(0);
    yumIO = PyObject_Call(yumIOClass, arguments, nullptr);
    Py_DECREF(arguments);
    if (!yumIO) {
        if (PyErr_Occurred())
            handleException();
        error(tr("Internal error: cannot create python yumIO"));
    }
}

void YumIO::releaseLock()
{
    if (!locked || !yumIO)
        return;
    pyExceptStart();
    pyExceptExpect(lockErrorType);
    PyObject* result = pyMethodCall(yumIO, "unlock", "()");
    if (pyExceptMatches(result, lockErrorType))
        pythonExceptionV(tr("Unable to release yum lock"));
    Py_XDECREF(result);
    pyExceptClear();
    locked = false;
}

void YumIO::leaveToProcessEnd()
{
    if (busy)
        return;
    clearing = true;
    // Kept reachable to the end, so that leak checkers see no leak either:
    // the list is never destroyed, as static objects are before the check.
    struct Leftovers {
        Package::EntryList entries;
        QHash<EntryKey, Package::Entry*> entriesByKey;
        QHash<QString, Package::Entry*> bestByName;
        QList<PyObject*> objects;
    };
    static auto* const leftovers = new QList<Leftovers*>;
    auto* left = new Leftovers;
    leftovers->append(left);
    left->entries.append(entries);
    left->entries.append(collected);
    entries.QList::clear();
    collected.QList::clear();
    left->entriesByKey.swap(entriesByKey);
    left->bestByName.swap(bestByName);
    if (Python::isInitialized() && yumIOCTarget() == this && yumIO) {
        PyGILStateWrapper gil(true);
        py("import sys\nsys.stdout = sys.__stdout__\nsys.stderr = sys.__stderr__\n");
        releaseLock();
        // The engine's databases and the files it keeps between runs are
        // closed and written as at any other end of a session.
        Py_XDECREF(pyMethodCall(yumIO, "end", "()"));
        PyErr_Clear();
        left->objects << yumIO << repoDict;
        yumIO = nullptr;
        repoDict = nullptr;
    }
    Python::leaveToProcessEnd();
}

void YumIO::clearEntriesBeforeQuit()
{
    if (busy)
        return;
    clearing = true;
    // The interpreter is finalized right after: nothing to release one by one.
    dropEntries(entries, false);
    dropEntries(collected, false);
    entriesByKey.clear();
    bestByName.clear();
    baseArchitectures.clear();
}

bool YumIO::collectFileLists()
{
    if (fileListsFlag)
        return true;
    if (!yumIO || busy)
        return false;
    QEventLoop loop;
    CollectFileListsThread thread(this, loop);
    execWorkThread(loop, thread);
    fileListsFailed = !thread.result();
    if (fileListsFailed)
        return false;
    fileListsFlag = true;
    Q_EMIT collectedExtraData();
    return true;
}

bool YumIO::collectOtherData()
{
    if (otherDataFlag)
        return true;
    if (!yumIO || busy)
        return false;
    QEventLoop loop;
    CollectOtherDataThread thread(this, loop);
    execWorkThread(loop, thread);
    otherDataFailed = !thread.result();
    if (otherDataFailed)
        return false;
    otherDataFlag = true;
    Q_EMIT collectedExtraData();
    return true;
}

// --- the entries ----------------------------------------------------------------------

int YumIO::count() const
{
    return clearing ? 0 : int(entries.size());
}

Package::EntryList::const_iterator YumIO::begin() const
{
    return clearing ? clearingEntries.cbegin() : entries.cbegin();
}

Package::EntryList::const_iterator YumIO::end() const
{
    return clearing ? clearingEntries.cend() : entries.cend();
}

Package::Entry* YumIO::operator[](int i) const
{
    if (clearing || i < 0 || i >= entries.size())
        return nullptr;
    return entries[i];
}
