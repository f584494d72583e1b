#pragma once

// Python's header must come before any system header: it sets feature macros
// that the C library headers read.
#define PY_SSIZE_T_CLEAN
#include <Python.h>
#include <QList>
#include <QString>
#include <cstdarg>

// The thin layer between SORVAN and the embedded interpreter: starting it,
// running text, looking up dotted names, calling functions and methods, and
// routing every Python failure through handleException(), which tells the
// exceptions a caller declared as expected from real errors.
//
// Every operation but initialize() must be called with the interpreter lock
// held.  Results of pyr() and of the calls are new references; results of
// pyLookup(), pyValue() and pyString() are borrowed.  A failed call returns
// null; by then handleException() has run, and an expected exception is still
// pending for the caller's pyExceptMatches() tests.
//
// String arguments come as `char const*` and as `char*`; the `char*` forms
// only forward, since Python 3's C API takes constant strings.
class Python
{
public:
    // Takes the interpreter lock for a scope.  Constructed with false it does
    // nothing at all, so that one code path serves callers that hold the lock
    // already.
    class PyGILStateWrapper
    {
    public:
        explicit PyGILStateWrapper(bool enabled);
        ~PyGILStateWrapper();
        PyGILStateWrapper(PyGILStateWrapper const&) = delete;
        PyGILStateWrapper& operator=(PyGILStateWrapper const&) = delete;

        void ensure();
        void release();

    private:
        bool enabled;
        bool held = false;
        PyGILState_STATE state = PyGILState_UNLOCKED;
    };

    // Gives the interpreter lock up for a scope, keeping this thread's state,
    // so that another thread can run Python while this one waits for it.
    class PyThreadStateWrapper
    {
    public:
        PyThreadStateWrapper();
        ~PyThreadStateWrapper();
        PyThreadStateWrapper(PyThreadStateWrapper const&) = delete;
        PyThreadStateWrapper& operator=(PyThreadStateWrapper const&) = delete;

        void save();
        void restore();

    private:
        PyThreadState* state = nullptr;
    };

    Python() = default;
    // The last object that initialized the interpreter finalizes it, unless
    // leaveToProcessEnd() was called.  The interpreter lock is taken for that
    // and never given back.
    virtual ~Python();
    Python(Python const&) = delete;
    Python& operator=(Python const&) = delete;

    // Starts the interpreter once per process, isolated from PYTHONPATH,
    // PYTHONHOME, the other PYTHON* variables and the user's site directory;
    // later calls, by this or another object, share it and return true at
    // once.  On return the calling thread holds the interpreter lock.
    // Built-in extension modules must be registered with
    // PyImport_AppendInittab before the first call: a derived class that
    // offers one registers it in its own initialize() and then calls this one.
    bool initialize();

    // Statement text, run in __main__.  A failure is printed to sys.stderr
    // by Python itself.
    void py(char const* text);
    void py(char* text) { py(static_cast<char const*>(text)); }
    // Expression text, evaluated with __main__'s dictionary as globals and
    // locals.
    PyObject* pyr(char const* text);
    PyObject* pyr(char* text) { return pyr(static_cast<char const*>(text)); }
    [[gnu::format(printf, 2, 3)]] void pyf(char const* format, ...);
    [[gnu::format(printf, 2, 3)]] void pyf(char* format, ...);
    [[gnu::format(printf, 2, 3)]] PyObject* pyrf(char const* format, ...);
    [[gnu::format(printf, 2, 3)]] PyObject* pyrf(char* format, ...);

    // UTF-8 text of a str (or the bytes of a bytes object), owned by the
    // object; null for None and on failure.
    char const* pyString(PyObject* object);

    // Calls with argument tuples built by Py_BuildValue: "()", "(s)", "(O)",
    // "(O,O)", ...  A format that builds a single object other than a tuple
    // passes that object as the only argument, as PyObject_CallFunction does.
    PyObject* pyCall(char const* name, char const* format, ...);
    PyObject* pyCall(char* name, char* format, ...);
    PyObject* pyVCall(char const* name, char const* format, va_list args);
    PyObject* pyVCall(char* name, char* format, va_list args)
    {
        return pyVCall(static_cast<char const*>(name), static_cast<char const*>(format), args);
    }
    PyObject* pyMethodCall(PyObject* self, char const* method, char const* format, ...);
    PyObject* pyMethodCall(PyObject* self, char* method, char* format, ...);
    PyObject* pyVMethodCall(PyObject* self, char const* method, char const* format, va_list args);
    PyObject* pyVMethodCall(PyObject* self, char* method, char* format, va_list args)
    {
        return pyVMethodCall(self, static_cast<char const*>(method), static_cast<char const*>(format), args);
    }

    // Walks a dotted name from __main__'s globals (or an importable module)
    // through modules and dictionaries only: attributes of classes and
    // instances are never reached.
    PyObject* pyLookup(char const* dotted, bool quiet);
    PyObject* pyLookup(char* dotted, bool quiet) { return pyLookup(static_cast<char const*>(dotted), quiet); }
    // A key of a module (by its dotted name) or of a dictionary.
    PyObject* pyValue(char const* module, char const* name);
    PyObject* pyValue(char* module, char* name)
    {
        return pyValue(static_cast<char const*>(module), static_cast<char const*>(name));
    }
    void pyAssign(char const* module, char const* name, PyObject* value);
    void pyAssign(char* module, char* name, PyObject* value)
    {
        pyAssign(static_cast<char const*>(module), static_cast<char const*>(name), value);
    }
    int pyAssignGlobal(char const* name, PyObject* value);
    int pyAssignGlobal(char* name, PyObject* value)
    {
        return pyAssignGlobal(static_cast<char const*>(name), value);
    }
    // sys.hexversion, or -1 when it cannot be read.
    long pyVersion();

    // Binds the object (None for null) to the global "dbg" and enters the
    // Python debugger on the terminal's streams.
    void pyDebug(PyObject* object);
    // Python's own SIGINT handler (KeyboardInterrupt) or the default action.
    void setEnablePythonSIGINTHandler(bool enable);

    // An expectation scope: pyExceptStart(), one pyExceptExpect() per type,
    // the call, pyExceptMatches() tests, pyExceptClear().  Scopes nest; only
    // the innermost one counts.
    virtual void pyExceptStart();
    virtual void pyExceptExpect(PyObject* type);
    virtual void pyExceptClear();
    virtual bool pyExceptMatches(PyObject* result, PyObject* type);

protected:
    virtual void error(char const* message) = 0;
    virtual void warning(char const* message) = 0;
    virtual void handleException();
    // The pending exception was declared: it stays pending for the caller.
    virtual void exceptionExpected();
    // A real error: the walkback goes to sys.stderr and the user gets a report.
    virtual void exceptionError();

public:
    // The pending exception as Python prints it, traceback included; the
    // exception is consumed.
    static QString exceptionText();
    // The pending exception's value, normalized; it stays pending.
    PyObject* pyExceptValue();
    // Its message: the `value` attribute when it has one, else its str().
    PyObject* pyExceptValuef();
    // An attribute of the pending exception's value (null when it has none),
    // or with none named its str(); the exception stays pending.
    PyObject* pyExceptRead(char const* attribute);

    qsizetype pyExceptDepth() const { return expected.size(); }
    // Types declared in the innermost scope, null entries included.
    QList<PyObject*> pyExceptExpected() const
    {
        return expected.isEmpty() ? QList<PyObject*>() : expected.last();
    }

    static bool isInitialized() { return initialized; }
    // The process ends soon after the last user goes: the interpreter is left
    // running for it, rather than finalized object by object.
    static void leaveToProcessEnd() { finalizeAtEnd = false; }
    // __main__'s dictionary (borrowed), null before initialize().
    static PyObject* mainDict() { return mainDictionary; }

private:
    void vpyf(char const* format, va_list args);
    PyObject* vpyrf(char const* format, va_list args);
    [[gnu::format(printf, 2, 3)]] void report(char const* format, ...);
    PyObject* dictionaryOf(char const* module);
    PyObject* callObject(PyObject* callable, char const* format, va_list args);

    // One list of borrowed type objects per open scope.
    QList<QList<PyObject*>> expected;

    bool user = false;

    static inline bool initialized = false;
    static inline int users = 0;
    static inline bool finalizeAtEnd = true;
    static inline PyObject* mainDictionary = nullptr;
};
