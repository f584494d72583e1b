#include "yumio/Python.h"

#include <QByteArray>
#include <cstdio>
#include <utility>

namespace
{

QByteArray vformat(char const* format, va_list args)
{
    va_list sizing;
    va_copy(sizing, args);
    int const size = std::vsnprintf(nullptr, 0, format, sizing);
    va_end(sizing);
    if (size <= 0)
        return QByteArray();
    QByteArray text(size, Qt::Uninitialized);
    // QByteArray keeps room for the terminating NUL after size() bytes.
    std::vsnprintf(text.data(), static_cast<size_t>(size) + 1, format, args);
    return text;
}

// The argument tuple for a call.  No format means no arguments, and a format
// that builds a single non-tuple object passes that object alone, as
// PyObject_CallFunction does: PyObject_Call itself needs a real tuple.
PyObject* buildArguments(char const* format, va_list args)
{
    if (!format || !*format)
        return PyTuple_New(0);
    PyObject* built = Py_VaBuildValue(format, args);
    if (!built || PyTuple_Check(built))
        return built;
    PyObject* tuple = PyTuple_Pack(1, built);
    Py_DECREF(built);
    return tuple;
}

} // namespace

// --- lock wrappers ----------------------------------------------------------

Python::PyGILStateWrapper::PyGILStateWrapper(bool enabled)
    : enabled(enabled)
{
    ensure();
}

Python::PyGILStateWrapper::~PyGILStateWrapper()
{
    release();
}

void Python::PyGILStateWrapper::ensure()
{
    if (enabled && !held) {
        state = PyGILState_Ensure();
        held = true;
    }
}

// Releasing twice would hand back a lock this thread no longer holds, which
// Python treats as fatal; an explicit release() before the destructor is fine.
void Python::PyGILStateWrapper::release()
{
    if (enabled && held) {
        held = false;
        PyGILState_Release(state);
    }
}

Python::PyThreadStateWrapper::PyThreadStateWrapper()
{
    save();
}

Python::PyThreadStateWrapper::~PyThreadStateWrapper()
{
    restore();
}

void Python::PyThreadStateWrapper::save()
{
    if (!state)
        state = PyEval_SaveThread();
}

void Python::PyThreadStateWrapper::restore()
{
    if (state) {
        PyEval_RestoreThread(state);
        state = nullptr;
    }
}

// --- start and finalize -----------------------------------------------------

Python::~Python()
{
    if (!user || !initialized || --users > 0 || !finalizeAtEnd)
        return;
    PyGILState_Ensure();
    Py_Finalize();
    initialized = false;
    mainDictionary = nullptr;
}

bool Python::initialize()
{
    if (initialized) {
        if (!user) {
            user = true;
            ++users;
        }
        return true;
    }

    // SORVAN runs as root: nothing from the environment (PYTHONPATH,
    // PYTHONHOME, PYTHONSTARTUP, ...) and no user site directory may decide
    // what code it imports.  The locale is the application's, but in the C
    // locale Python still picks UTF-8 as python3 itself would.
    PyPreConfig preconfig;
    PyPreConfig_InitIsolatedConfig(&preconfig);
    preconfig.utf8_mode = -1;
    PyStatus status = Py_PreInitialize(&preconfig);

    PyConfig config;
    PyConfig_InitIsolatedConfig(&config);
    // site still runs, for the system's dist-packages where dnf lives; and
    // Python's own SIGINT handler is installed so it can be switched back on.
    config.site_import = 1;
    config.install_signal_handlers = 1;
    // Named after the system interpreter, Python finds its prefix next to it;
    // named "python3" it would search PATH and could take a pyenv's library.
    if (!PyStatus_Exception(status))
        status = PyConfig_SetBytesString(&config, &config.program_name, SORVAN_PYTHON_EXECUTABLE);
    // Modules registered with PyImport_AppendInittab become importable here.
    if (!PyStatus_Exception(status))
        status = Py_InitializeFromConfig(&config);
    PyConfig_Clear(&config);
    if (PyStatus_Exception(status)) {
        report("Internal error: cannot start python: %s\n", status.err_msg ? status.err_msg : "");
        return false;
    }
    initialized = true;
    user = true;
    ++users;

    PyGILStateWrapper lock(true);
    py("import signal\ndefaultSigIntSigaction = signal.getsignal(signal.SIGINT)");

    PyObject* module = PyImport_ImportModule("__main__");
    if (!module) {
        PyErr_Clear();
        error("Internal error: cannot find python __main__ module\n");
        return false;
    }
    // sys.modules keeps __main__ alive for the interpreter's whole life.
    mainDictionary = PyModule_GetDict(module);
    Py_DECREF(module);
    if (!mainDictionary) {
        PyErr_Clear();
        error("Internal error: cannot find python __main__ dict\n");
        return false;
    }
    return true;
}

// --- running text -----------------------------------------------------------

void Python::py(char const* text)
{
    if (PyRun_SimpleStringFlags(text, nullptr) == -1 && PyErr_Occurred())
        handleException();
}

PyObject* Python::pyr(char const* text)
{
    PyObject* result = PyRun_StringFlags(text, Py_eval_input, mainDictionary, mainDictionary, nullptr);
    if (!result && PyErr_Occurred())
        handleException();
    return result;
}

void Python::vpyf(char const* format, va_list args)
{
    py(vformat(format, args).constData());
}

PyObject* Python::vpyrf(char const* format, va_list args)
{
    return pyr(vformat(format, args).constData());
}

void Python::pyf(char const* format, ...)
{
    va_list args;
    va_start(args, format);
    vpyf(format, args);
    va_end(args);
}

void Python::pyf(char* format, ...)
{
    va_list args;
    va_start(args, format);
    vpyf(format, args);
    va_end(args);
}

PyObject* Python::pyrf(char const* format, ...)
{
    va_list args;
    va_start(args, format);
    PyObject* result = vpyrf(format, args);
    va_end(args);
    return result;
}

PyObject* Python::pyrf(char* format, ...)
{
    va_list args;
    va_start(args, format);
    PyObject* result = vpyrf(format, args);
    va_end(args);
    return result;
}

char const* Python::pyString(PyObject* object)
{
    if (!object) {
        error("Internal error: pyString passed NULL python object\n");
        return nullptr;
    }
    if (object == Py_None)
        return nullptr;
    if (PyBytes_Check(object))
        return PyBytes_AsString(object);
    char const* text = PyUnicode_AsUTF8(object);
    if (!text && PyErr_Occurred())
        handleException();
    return text;
}

// --- names ------------------------------------------------------------------

PyObject* Python::pyLookup(char const* dotted, bool quiet)
{
    QList<QByteArray> const components = QByteArray(dotted).split('.');
    char const* failure = nullptr;
    QByteArray failed;
    PyObject* current = nullptr;

    for (qsizetype i = 0; i < components.size() && !failure; ++i) {
        QByteArray const& component = components[i];
        if (i == 0) {
            current = PyDict_GetItemString(mainDictionary, component.constData());
            if (!current) {
                PyErr_Clear();
                PyObject* module = PyImport_ImportModule(component.constData());
                if (module) {
                    // Borrowed like every other result: sys.modules holds it.
                    current = module;
                    Py_DECREF(module);
                } else {
                    PyErr_Clear();
                    failure = "Internal error: %s not found\n";
                    failed = component;
                }
            }
            continue;
        }
        // Only modules and dictionaries are walked through; an instance or a
        // class is not a dictionary, so its attributes are never found.
        PyObject* dictionary = current;
        if (PyModule_Check(current)) {
            dictionary = PyModule_GetDict(current);
            if (!dictionary) {
                PyErr_Clear();
                failure = "Internal error: module %s lacks dictionary\n";
                failed = components[i - 1];
                break;
            }
        }
        current
            = PyDict_Check(dictionary) ? PyDict_GetItemString(dictionary, component.constData()) : nullptr;
        if (!current) {
            failure = "Internal error: %s not found\n";
            failed = component;
        }
    }

    if (!failure)
        return current;
    if (!quiet)
        report(failure, failed.constData());
    return nullptr;
}

// The dictionary behind a dotted module or dictionary name.
PyObject* Python::dictionaryOf(char const* module)
{
    PyObject* object = pyLookup(module, false);
    if (!object) {
        report("Internal error: %s not found\n", module);
        return nullptr;
    }
    if (!PyModule_Check(object))
        return object;
    PyObject* dictionary = PyModule_GetDict(object);
    if (!dictionary) {
        PyErr_Clear();
        report("Internal error: module %s lacks dictionary\n", module);
    }
    return dictionary;
}

PyObject* Python::pyValue(char const* module, char const* name)
{
    PyObject* dictionary = dictionaryOf(module);
    if (!dictionary)
        return nullptr;
    PyObject* key = PyUnicode_FromString(name);
    // Something that is neither a module nor a dictionary raises SystemError
    // here, and that is reported like any other failure.
    PyObject* value = key ? PyDict_GetItemWithError(dictionary, key) : nullptr;
    Py_XDECREF(key);
    if (!value && PyErr_Occurred())
        handleException();
    return value;
}

void Python::pyAssign(char const* module, char const* name, PyObject* value)
{
    PyObject* dictionary = dictionaryOf(module);
    if (!dictionary)
        return;
    if (value && PyDict_SetItemString(dictionary, name, value) == 0)
        return;
    if (PyErr_Occurred())
        handleException();
    else
        report("Internal error: cannot assign %s.%s\n", module, name);
}

int Python::pyAssignGlobal(char const* name, PyObject* value)
{
    if (!value) {
        report("Internal error: cannot assign %s.%s\n", "__main__", name);
        return -1;
    }
    return PyDict_SetItemString(mainDictionary, name, value);
}

long Python::pyVersion()
{
    PyObject* version = pyValue("sys", "hexversion");
    if (!version)
        return -1;
    long const result = PyLong_AsLong(version);
    if (result == -1 && PyErr_Occurred())
        handleException();
    return result;
}

// --- calls ------------------------------------------------------------------

PyObject* Python::callObject(PyObject* callable, char const* format, va_list args)
{
    PyObject* arguments = buildArguments(format, args);
    if (!arguments) {
        handleException();
        return nullptr;
    }
    // The callable is borrowed from a dictionary that the call may change.
    Py_INCREF(callable);
    PyObject* result = PyObject_Call(callable, arguments, nullptr);
    Py_DECREF(callable);
    if (!result && PyErr_Occurred())
        handleException();
    Py_DECREF(arguments);
    return result;
}

PyObject* Python::pyVCall(char const* name, char const* format, va_list args)
{
    PyObject* callable = pyLookup(name, false);
    if (!callable) {
        report("Internal error: %s not found\n", name);
        return nullptr;
    }
    if (!PyCallable_Check(callable)) {
        report("Internal error: %s not callable\n", name);
        return nullptr;
    }
    return callObject(callable, format, args);
}

PyObject* Python::pyCall(char const* name, char const* format, ...)
{
    va_list args;
    va_start(args, format);
    PyObject* result = pyVCall(name, format, args);
    va_end(args);
    return result;
}

PyObject* Python::pyCall(char* name, char* format, ...)
{
    va_list args;
    va_start(args, format);
    PyObject* result = pyVCall(name, format, args);
    va_end(args);
    return result;
}

PyObject* Python::pyVMethodCall(PyObject* self, char const* method, char const* format, va_list args)
{
    if (!self) {
        report("Internal error: method %s call attemped with NULL self\n", method);
        return nullptr;
    }
    // A missing method leaves its AttributeError pending for the caller.
    PyObject* attribute = PyObject_GetAttrString(self, method);
    if (!attribute) {
        report("Internal error: method %s not found\n", method);
        return nullptr;
    }
    if (!PyCallable_Check(attribute)) {
        Py_DECREF(attribute);
        report("Internal error: method %s not callable\n", method);
        return nullptr;
    }
    PyObject* result = callObject(attribute, format, args);
    Py_DECREF(attribute);
    return result;
}

PyObject* Python::pyMethodCall(PyObject* self, char const* method, char const* format, ...)
{
    va_list args;
    va_start(args, format);
    PyObject* result = pyVMethodCall(self, method, format, args);
    va_end(args);
    return result;
}

PyObject* Python::pyMethodCall(PyObject* self, char* method, char* format, ...)
{
    va_list args;
    va_start(args, format);
    PyObject* result = pyVMethodCall(self, method, format, args);
    va_end(args);
    return result;
}

// --- expected exceptions ----------------------------------------------------

void Python::pyExceptStart()
{
    expected.append(QList<PyObject*>());
}

void Python::pyExceptExpect(PyObject* type)
{
    if (!type)
        error("Internal error: pyExceptExpect called with NULL\n");
    if (expected.isEmpty()) {
        error("Internal error: pyExceptExpect called without pyExceptStart\n");
        return;
    }
    // A null type never matches; keeping it keeps the list as the caller
    // built it.
    expected.last().append(type);
}

void Python::pyExceptClear()
{
    if (expected.isEmpty())
        error("Internal error: pyExceptClear called without pyExceptStart\n");
    else
        expected.removeLast();
    PyErr_Clear();
}

bool Python::pyExceptMatches(PyObject* result, PyObject* type)
{
    return !result && type && PyErr_Occurred() && PyErr_ExceptionMatches(type);
}

void Python::handleException()
{
    if (!expected.isEmpty()) {
        for (PyObject* type : std::as_const(expected.last())) {
            if (type && PyErr_ExceptionMatches(type)) {
                exceptionExpected();
                return;
            }
        }
    }
    exceptionError();
}

void Python::exceptionExpected() { }

void Python::exceptionError()
{
    PyObject* type = nullptr;
    PyObject* value = nullptr;
    PyObject* traceback = nullptr;
    PyErr_Fetch(&type, &value, &traceback);
    PyErr_NormalizeException(&type, &value, &traceback);
    if (!type) {
        PyErr_Clear();
        error("Internal error: python exception occurred, but exception information was empty.");
        return;
    }
    PyErr_Display(type, value, traceback);
    Py_DECREF(type);
    Py_XDECREF(value);
    Py_XDECREF(traceback);
    PyErr_Clear();
    error("Internal error: python exception occurred from C code.\nWhen reporting this issue, please include "
          "the contents of the\nLog window, which should contain a walkback.");
}

QString Python::exceptionText()
{
    PyObject* type = nullptr;
    PyObject* value = nullptr;
    PyObject* traceback = nullptr;
    PyErr_Fetch(&type, &value, &traceback);
    if (!type)
        return QString();
    PyErr_NormalizeException(&type, &value, &traceback);
    QString text;
    PyObject* module = PyImport_ImportModule("traceback");
    PyObject* lines = module ? PyObject_CallMethod(module, "format_exception", "OOO", type,
                                   value ? value : Py_None, traceback ? traceback : Py_None)
                             : nullptr;
    if (lines && PyList_Check(lines)) {
        for (Py_ssize_t i = 0; i < PyList_Size(lines); ++i)
            if (char const* line = PyUnicode_AsUTF8(PyList_GetItem(lines, i)))
                text += QString::fromUtf8(line);
    }
    PyErr_Clear();
    Py_XDECREF(lines);
    Py_XDECREF(module);
    Py_XDECREF(type);
    Py_XDECREF(value);
    Py_XDECREF(traceback);
    return text.trimmed();
}

PyObject* Python::pyExceptValue()
{
    PyObject* type = nullptr;
    PyObject* value = nullptr;
    PyObject* traceback = nullptr;
    PyErr_Fetch(&type, &value, &traceback);
    if (!type)
        return nullptr;
    // The pending exception is put back normalized, so that the caller's
    // value is the very object a later handler sees.
    PyErr_NormalizeException(&type, &value, &traceback);
    Py_XINCREF(value);
    PyErr_Restore(type, value, traceback);
    return value;
}

PyObject* Python::pyExceptRead(char const* attribute)
{
    PyObject* value = pyExceptValue();
    if (!value)
        return nullptr;
    // Nothing may be pending while Python code runs (str() may be the
    // exception's own __str__, an attribute a property).
    PyObject* type = nullptr;
    PyObject* pending = nullptr;
    PyObject* traceback = nullptr;
    PyErr_Fetch(&type, &pending, &traceback);
    PyObject* result = nullptr;
    if (!attribute)
        result = pyCall("__builtins__.str", "(O)", value);
    else if (PyObject_HasAttrString(value, attribute))
        result = PyObject_GetAttrString(value, attribute);
    PyErr_Restore(type, pending, traceback);
    Py_DECREF(value);
    return result;
}

PyObject* Python::pyExceptValuef()
{
    PyObject* text = pyExceptRead("value");
    return text ? text : pyExceptRead(nullptr);
}

// --- signals and debugging --------------------------------------------------

void Python::setEnablePythonSIGINTHandler(bool enable)
{
    if (enable)
        py("signal.signal(signal.SIGINT, defaultSigIntSigaction)");
    else
        py("signal.signal(signal.SIGINT, signal.SIG_DFL)");
}

void Python::pyDebug(PyObject* object)
{
    PyErr_Clear();
    // A null result is what one usually wants to look into: it shows as None.
    pyAssignGlobal("dbg", object ? object : Py_None);
    py("import sys\nsys.stdout = sys.__stdout__\nsys.stderr = sys.__stderr__\nimport pdb\npdb.set_trace()");
    PyErr_Clear();
}

// --- reports ----------------------------------------------------------------

void Python::report(char const* format, ...)
{
    va_list args;
    va_start(args, format);
    QByteArray const message = vformat(format, args);
    va_end(args);
    error(message.constData());
}
