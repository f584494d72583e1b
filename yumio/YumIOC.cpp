// The extension module yumIOC: the companion script's way back into the
// session.  Every function runs on the thread that called into the script,
// with the interpreter lock held, and returns None; problems are reported
// through the session and never stop the engine.  Arguments that do not parse
// raise the usual TypeError in the script.
#include "yumio/YumIO.h"

#include <QMutex>
#include <cstring>

struct YumIOC {
    static inline YumIO* target = nullptr;

    static PyObject* none() { Py_RETURN_NONE; }

    // The session to call.  Before the program made one, and while the
    // interpreter shuts down after it went, there is none, and what the script
    // says then has nowhere to go.
    static YumIO* session() { return target; }

    // A size argument: an int, or None for an unknown size (1).
    static qint64 size(YumIO* io, PyObject* object)
    {
        if (object == Py_None)
            return 1;
        if (PyLong_Check(object)) {
            long long const value = PyLong_AsLongLong(object);
            if (value == -1 && PyErr_Occurred()) {
                PyErr_Clear();
                io->warning(YumIO::tr("Internal error: collect grab size not understood"));
                return 1;
            }
            return value;
        }
        io->warning(YumIO::tr("Internal error: collect grab size not understood"));
        return 1;
    }

    // A text argument: a str (or bytes), "" for None; anything else is
    // reported with `message` and counts as "".
    static QString text(YumIO* io, PyObject* object, char const* message)
    {
        if (object == Py_None)
            return QString();
        if (PyUnicode_Check(object) || PyBytes_Check(object))
            return io->pyString(object);
        if (message)
            io->error(YumIO::tr(message));
        return QString();
    }

    // --- output ---------------------------------------------------------------

    static PyObject* stdoutWrite(PyObject*, PyObject* args)
    {
        YumIO* io = session();
        char const* text = nullptr;
        if (!io)
            return none();
        if (!PyArg_ParseTuple(args, "s", &text))
            return nullptr;
        io->writeStdout(QString::fromUtf8(text));
        return none();
    }

    static PyObject* stderrWrite(PyObject*, PyObject* args)
    {
        YumIO* io = session();
        char const* text = nullptr;
        if (!io)
            return none();
        if (!PyArg_ParseTuple(args, "s", &text))
            return nullptr;
        io->write(QString::fromUtf8(text), io->stderrKind, io->stderrLevel, io->stderrBuffer);
        return none();
    }

    // log and errorlog: (detail level, text), told apart by their kind.
    template <Log::Kind kind>
    static PyObject* scriptLog(PyObject*, PyObject* args)
    {
        YumIO* io = session();
        long level = 0;
        char const* text = nullptr;
        if (!io)
            return none();
        if (!PyArg_ParseTuple(args, "ls", &level, &text))
            return nullptr;
        io->logScript(kind, level, text);
        // What resolution added drives the dependency progress.
        if (kind == Log::Info && std::strncmp(text, "TSINFO: ", 8) == 0)
            io->dsTsInfo(QString::fromUtf8(text + 8));
        return none();
    }

    // --- the collect meters ----------------------------------------------------

    static PyObject* collectProgress(PyObject*, PyObject* args)
    {
        YumIO* io = session();
        long current = 0;
        long total = 0;
        PyObject* name = nullptr;
        if (!io)
            return none();
        if (!PyArg_ParseTuple(args, "llO", &current, &total, &name))
            return nullptr;
        io->collectProgress(current, total,
            text(io, name, QT_TRANSLATE_NOOP("YumIO", "Internal error: unexpected progress name")));
        return none();
    }

    static PyObject* collectGrabMeterStart(PyObject*, PyObject* args)
    {
        YumIO* io = session();
        PyObject *meter, *fileName, *unused1, *unused2, *sizeObject, *textObject;
        if (!io)
            return none();
        if (!PyArg_ParseTuple(
                args, "OOOOOO", &meter, &fileName, &unused1, &unused2, &sizeObject, &textObject))
            return nullptr;
        QString const name
            = text(io, fileName, QT_TRANSLATE_NOOP("YumIO", "Internal error: unexpected progress filename"));
        // The text only stands in for a missing file name: not a string, it
        // is simply not used.
        QString const alternative = text(io, textObject, nullptr);
        io->collectGrabMeterStart(meter, name, long(size(io, sizeObject)), alternative);
        return none();
    }

    // --- the apply meters ------------------------------------------------------

    static PyObject* applyGrabMeterStart(PyObject*, PyObject* args)
    {
        YumIO* io = session();
        PyObject *meter, *fileName, *unused1, *unused2, *sizeObject, *textObject;
        if (!io)
            return none();
        if (!PyArg_ParseTuple(
                args, "OOOOOO", &meter, &fileName, &unused1, &unused2, &sizeObject, &textObject))
            return nullptr;
        QString const alternative = text(
            io, textObject, QT_TRANSLATE_NOOP("YumIO", "Internal error: unexpected progress text type"));
        QString const name
            = text(io, fileName, QT_TRANSLATE_NOOP("YumIO", "Internal error: unexpected progress name type"));
        io->applyGrabMeterStart(meter, name, size(io, sizeObject), alternative);
        return none();
    }

    // The two families report the same events in the same forms; one
    // parser each form serves both.

    // (meter, bytes so far): "OL".
    template <typename Value, void (YumIOMeters::*handler)(void*, Value)>
    static PyObject* meterValue(PyObject*, PyObject* args)
    {
        YumIO* io = session();
        PyObject* meter = nullptr;
        long long value = 0;
        if (!io)
            return none();
        if (!PyArg_ParseTuple(args, "OL", &meter, &value))
            return nullptr;
        (io->*handler)(meter, Value(value));
        return none();
    }

    // (meter, message): "OO"; the message is checked, then not used.
    template <void (YumIOMeters::*handler)(void*)>
    static PyObject* meterFailure(PyObject*, PyObject* args)
    {
        YumIO* io = session();
        PyObject* meter = nullptr;
        PyObject* message = nullptr;
        if (!io)
            return none();
        if (!PyArg_ParseTuple(args, "OO", &meter, &message))
            return nullptr;
        text(io, message, QT_TRANSLATE_NOOP("YumIO", "Internal error: unexpected progress failure message"));
        (io->*handler)(meter);
        return none();
    }

    // (files, bytes) announcing a parallel batch: "LL".
    template <void (YumIOMeters::*handler)(qint64, qint64)>
    static PyObject* batchStart(PyObject*, PyObject* args)
    {
        YumIO* io = session();
        long long files = 0;
        long long bytes = 0;
        if (!io)
            return none();
        if (!PyArg_ParseTuple(args, "LL", &files, &bytes))
            return nullptr;
        (io->*handler)(files, bytes);
        return none();
    }

    // (meter): "O".
    template <void (YumIOMeters::*handler)(void*)>
    static PyObject* batchMeter(PyObject*, PyObject* args)
    {
        YumIO* io = session();
        PyObject* meter = nullptr;
        if (!PyArg_ParseTuple(args, "O", &meter))
            return nullptr;
        if (io)
            (io->*handler)(meter);
        return none();
    }

    // (meter): "O", read and let be: the collect family finds a file's slot
    // when the file starts.
    static PyObject* ignoredMeter(PyObject*, PyObject* args)
    {
        PyObject* meter = nullptr;
        if (!PyArg_ParseTuple(args, "O", &meter))
            return nullptr;
        return none();
    }

    // No arguments parsed.
    template <void (YumIOMeters::*handler)()>
    static PyObject* batchEnd(PyObject*, PyObject*)
    {
        YumIO* io = session();
        if (io)
            (io->*handler)();
        return none();
    }

    // --- dependency resolution, confirmation, the RPM transaction --------------

    template <void (YumIO::*handler)()>
    static PyObject* noArguments(PyObject*, PyObject*)
    {
        if (YumIO* io = session())
            (io->*handler)();
        return none();
    }

    // (object): "O", for the listing, the download size and the results.
    template <void (YumIO::*handler)(PyObject*)>
    static PyObject* oneObject(PyObject*, PyObject* args)
    {
        YumIO* io = session();
        PyObject* object = nullptr;
        if (!io)
            return none();
        if (!PyArg_ParseTuple(args, "O", &object))
            return nullptr;
        (io->*handler)(object);
        return none();
    }

    // The answer, as a Python integer: 1 to go on, 0 not to.
    static PyObject* userconfirm(PyObject*, PyObject*)
    {
        YumIO* io = session();
        return PyLong_FromLong(io && io->userconfirm() ? 1 : 0);
    }

    // Whether the user asked to stop the downloads: read by librepo's
    // progress callbacks, about once a second per transfer.
    static PyObject* downloadCancelled(PyObject*, PyObject*)
    {
        YumIO* io = session();
        return PyBool_FromLong(io && io->downloadCancelled());
    }

    // (on): "l"; a download the user may cancel starts (1) or ended (0).
    static PyObject* downloadsCancellable(PyObject*, PyObject* args)
    {
        long on = 0;
        if (!PyArg_ParseTuple(args, "l", &on))
            return nullptr;
        if (YumIO* io = session())
            Q_EMIT io->downloadsCancellable(on != 0);
        return none();
    }

    // (package, repository, key user id, key id, key URLs): "sssss"; the
    // answer as a Python integer.
    static PyObject* gpgsigcheck(PyObject*, PyObject* args)
    {
        YumIO* io = session();
        char const *package, *repo, *userId, *keyId, *urls;
        if (!PyArg_ParseTuple(args, "sssss", &package, &repo, &userId, &keyId, &urls))
            return nullptr;
        bool const yes = io
            && io->gpgsigcheck(QString::fromUtf8(package), QString::fromUtf8(repo), QString::fromUtf8(userId),
                QString::fromUtf8(keyId), QString::fromUtf8(urls));
        return PyLong_FromLong(yes ? 1 : 0);
    }

    // (elements): "l".
    static PyObject* tsInitCallback(PyObject*, PyObject* args)
    {
        YumIO* io = session();
        long elements = 0;
        if (!io)
            return none();
        if (!PyArg_ParseTuple(args, "l", &elements))
            return nullptr;
        io->tsInitCallback(elements);
        return none();
    }

    // rpm's own callback (what, amount, total, package, test run): "lLLOO".
    static PyObject* tsCallback(PyObject*, PyObject* args)
    {
        YumIO* io = session();
        long what = 0;
        long long amount = 0;
        long long total = 0;
        PyObject* key = nullptr;
        PyObject* test = nullptr;
        if (!io)
            return none();
        if (!PyArg_ParseTuple(args, "lLLOO", &what, &amount, &total, &key, &test))
            return nullptr;
        io->tsCallback(
            what, quint64(qMax(0LL, amount)), quint64(qMax(0LL, total)), PyObject_IsTrue(test) == 1);
        PyErr_Clear();
        return none();
    }

    // One step of one package (package, action, done, of, element, elements):
    // "OlLLll".
    static PyObject* tsEvent(PyObject*, PyObject* args)
    {
        YumIO* io = session();
        PyObject* package = nullptr;
        long action = 0;
        long long done = 0;
        long long total = 0;
        long current = 0;
        long count = 0;
        if (!io)
            return none();
        if (!PyArg_ParseTuple(args, "OlLLll", &package, &action, &done, &total, &current, &count))
            return nullptr;
        Py_INCREF(package);
        io->tsEvent(io->pyStringXDec(package), action, quint64(qMax(0LL, done)), quint64(qMax(0LL, total)),
            current, count);
        return none();
    }

    // --- the module --------------------------------------------------------------

    static inline PyMethodDef methods[] = {
        { "stdoutWrite", stdoutWrite, METH_VARARGS, nullptr },
        { "stderrWrite", stderrWrite, METH_VARARGS, nullptr },
        { "log", scriptLog<Log::Info>, METH_VARARGS, nullptr },
        { "errorlog", scriptLog<Log::Error>, METH_VARARGS, nullptr },
        { "collectProgress", collectProgress, METH_VARARGS, nullptr },
        { "collectGrabMeterStart", collectGrabMeterStart, METH_VARARGS, nullptr },
        { "collectGrabMeterUpdate", meterValue<long, &YumIOMeters::collectUpdate>, METH_VARARGS, nullptr },
        { "collectGrabMeterEnd", meterValue<long, &YumIOMeters::collectEnd>, METH_VARARGS, nullptr },
        { "collectGrabMeterFailure", meterFailure<&YumIOMeters::collectFailure>, METH_VARARGS, nullptr },
        { "collectGrabMultiMeterStart", batchStart<&YumIOMeters::collectGrabMultiMeterStart>, METH_VARARGS,
            nullptr },
        { "collectGrabMultiMeterNew", ignoredMeter, METH_VARARGS, nullptr },
        { "collectGrabMultiMeterRemove", ignoredMeter, METH_VARARGS, nullptr },
        { "collectGrabMultiMeterEnd", batchEnd<&YumIOMeters::collectGrabMultiMeterEnd>, METH_VARARGS,
            nullptr },
        { "applyGrabMeterStart", applyGrabMeterStart, METH_VARARGS, nullptr },
        { "applyGrabMeterUpdate", meterValue<qint64, &YumIOMeters::applyGrabMeterUpdate>, METH_VARARGS,
            nullptr },
        { "applyGrabMeterEnd", meterValue<qint64, &YumIOMeters::applyGrabMeterEnd>, METH_VARARGS, nullptr },
        { "applyGrabMeterFailure", meterFailure<&YumIOMeters::applyGrabMeterFailure>, METH_VARARGS, nullptr },
        { "applyGrabMultiMeterStart", batchStart<&YumIOMeters::applyGrabMultiMeterStart>, METH_VARARGS,
            nullptr },
        { "applyGrabMultiMeterNew", batchMeter<&YumIOMeters::applyGrabMultiMeterNew>, METH_VARARGS, nullptr },
        { "applyGrabMultiMeterRemove", batchMeter<&YumIOMeters::applyGrabMultiMeterRemove>, METH_VARARGS,
            nullptr },
        { "applyGrabMultiMeterEnd", batchEnd<&YumIOMeters::applyGrabMultiMeterEnd>, METH_VARARGS, nullptr },
        { "dsTsCheck", noArguments<&YumIO::dsTsCheck>, METH_NOARGS, nullptr },
        { "dsRestartLoop", noArguments<&YumIO::dsRestartLoop>, METH_NOARGS, nullptr },
        { "userconfirm", userconfirm, METH_NOARGS, nullptr },
        { "reportDownloadSize", oneObject<&YumIO::reportDownloadSize>, METH_VARARGS, nullptr },
        { "listTransaction", oneObject<&YumIO::listTransaction>, METH_VARARGS, nullptr },
        { "tsInitCallback", tsInitCallback, METH_VARARGS, nullptr },
        { "tsCallback", tsCallback, METH_VARARGS, nullptr },
        { "tsEvent", tsEvent, METH_VARARGS, nullptr },
        { "postTransactionOutput", oneObject<&YumIO::postTransactionOutput>, METH_VARARGS, nullptr },
        { "gpgsigcheck", gpgsigcheck, METH_VARARGS, nullptr },
        { "downloadCancelled", downloadCancelled, METH_NOARGS, nullptr },
        { "downloadsCancellable", downloadsCancellable, METH_VARARGS, nullptr },
        { nullptr, nullptr, 0, nullptr },
    };

    static inline PyModuleDef module = {
        PyModuleDef_HEAD_INIT,
        "yumIOC",
        nullptr,
        -1,
        methods,
        nullptr,
        nullptr,
        nullptr,
        nullptr,
    };

    static PyObject* init() { return PyModule_Create(&module); }

    // Before the interpreter starts, once per process.
    static bool registerModule()
    {
        static bool registered = false;
        if (registered)
            return true;
        if (Python::isInitialized())
            return false;
        registered = PyImport_AppendInittab("yumIOC", &YumIOC::init) == 0;
        return registered;
    }
};

bool YumIO::registerYumIOC()
{
    return YumIOC::registerModule();
}

void YumIO::setYumIOCTarget(YumIO* io)
{
    YumIOC::target = io;
}

YumIO* YumIO::yumIOCTarget()
{
    return YumIOC::target;
}
