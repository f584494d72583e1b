#include "yumio/Python.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QTest>
#include <atomic>
#include <chrono>
#include <clocale>
#include <csignal>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

char const unexpected[]
    = "Internal error: python exception occurred from C code.\nWhen reporting this issue, please "
      "include the contents of the\nLog window, which should contain a walkback.";

// The layer as the bridge uses it, keeping its reports instead of showing them.
class Probe : public Python
{
public:
    QStringList errors;
    int expectedCount = 0;
    using Python::handleException;

protected:
    void error(char const* message) override { errors << QString::fromUtf8(message); }
    void warning(char const* message) override
    {
        errors << QStringLiteral("warning: ") + QString::fromUtf8(message);
    }
    void exceptionExpected() override
    {
        ++expectedCount;
        Python::exceptionExpected();
    }
};

QString text(PyObject* object)
{
    PyObject* s = object ? PyObject_Str(object) : nullptr;
    QString const result = s ? QString::fromUtf8(PyUnicode_AsUTF8(s)) : QStringLiteral("<null>");
    Py_XDECREF(s);
    return result;
}

// Python's sys.stderr, where walkbacks go, redirected into a buffer.
class StderrCapture
{
public:
    explicit StderrCapture(Probe& python)
        : buffer(python.pyr("__import__('io').StringIO()"))
        , saved(PySys_GetObject("stderr"))
    {
        Py_XINCREF(saved);
        PySys_SetObject("stderr", buffer);
    }
    ~StderrCapture()
    {
        PySys_SetObject("stderr", saved);
        Py_XDECREF(saved);
        Py_XDECREF(buffer);
    }
    QString text() const
    {
        PyObject* value = PyObject_CallMethod(buffer, "getvalue", nullptr);
        QString const result = ::text(value);
        Py_XDECREF(value);
        return result;
    }

private:
    PyObject* buffer;
    PyObject* saved;
};

PyModuleDef probeModule
    = { PyModuleDef_HEAD_INIT, "sorvanprobe", nullptr, -1, nullptr, nullptr, nullptr, nullptr, nullptr };
PyObject* initProbeModule()
{
    PyObject* module = PyModule_Create(&probeModule);
    if (module)
        PyModule_AddIntConstant(module, "answer", 42);
    return module;
}

} // namespace

class TestPython : public QObject
{
    Q_OBJECT

    Probe* python = nullptr;
    QTemporaryDir trap;

    void write(QString const& relative, QByteArray const& content)
    {
        QString const path = trap.filePath(relative);
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.setPermissions(file.permissions() | QFileDevice::ExeOwner);
    }
    bool isTrue(char const* expression) { return python->pyr(expression) == Py_True; }

private Q_SLOTS:
    void initTestCase()
    {
        // Everything the environment could use to slip code into a root
        // process: if any of it is honoured, a marker appears or the start
        // fails.
        QByteArray const version
            = QByteArray::number(PY_MAJOR_VERSION) + '.' + QByteArray::number(PY_MINOR_VERSION);
        QByteArray const marker = "import builtins\nbuiltins.SORVAN_TRAPPED = __file__\n";
        write("path/sitecustomize.py", marker);
        write("path/sorvan_trap.py", marker);
        write("user/lib/python" + version + "/site-packages/usercustomize.py", marker);
        write("bin/python3", "#!/bin/sh\nexit 1\n");
        write("lib/python" + version + "/os.py", marker + "raise SystemExit('trap stdlib')\n");
        write("modules/sorvan_broken.py", "raise RuntimeError('broken on import')\n");
        QByteArray const path = qgetenv("PATH");
        qputenv("PATH", trap.filePath("bin").toUtf8() + ':' + path);
        qputenv("PYTHONPATH", trap.filePath("path").toUtf8());
        qputenv("PYTHONUSERBASE", trap.filePath("user").toUtf8());
        qputenv("PYTHONHOME", trap.path().toUtf8());
        qputenv("PYTHONOPTIMIZE", "2");

        // As started from a terminal; Python leaves an inherited SIG_IGN alone.
        std::signal(SIGINT, SIG_DFL);
        std::signal(SIGPIPE, SIG_DFL);
        // As under pkexec, which starts programs in the C locale.
        std::setlocale(LC_CTYPE, "C");
        QCOMPARE(PyImport_AppendInittab("sorvanprobe", initProbeModule), 0);
        python = new Probe;
        QVERIFY(python->initialize());
        QCOMPARE(python->errors, QStringList());
        QVERIFY(PyGILState_Check());
        qputenv("PATH", path);

        python->pyf("import sys\nsys.path.insert(0, '%s')\n", qPrintable(trap.filePath("modules")));
        python->py(
            "class Holder:\n    shared = 1\n    def greet(self, name):\n        return 'hello ' + name\n"
            "holder = Holder()\nholder.attr = object()\nnested = {'a': {'b': 'deep'}}\n"
            "def raiser(text):\n    raise RuntimeError(text)\n"
            "class Carrier(Exception):\n    pass\n"
            "def raiseWithValue(text, value):\n    e = Carrier(text)\n    e.value = value\n    raise e\n");
    }
    void init()
    {
        python->errors.clear();
        python->expectedCount = 0;
    }
    void cleanup()
    {
        QVERIFY(!PyErr_Occurred());
        QCOMPARE(python->pyExceptDepth(), 0);
    }
    void cleanupTestCase()
    {
        delete python;
        QVERIFY(!Py_IsInitialized());
        QVERIFY(!Python::isInitialized());
    }

    void startsIsolated()
    {
        QVERIFY(isTrue("sys.flags.isolated == 1 and sys.flags.optimize == 0"));
        // Text is UTF-8 even in the C locale, as with python3 itself.
        QVERIFY(isTrue("sys.getfilesystemencoding() == 'utf-8' and sys.stdout.encoding == 'utf-8'"));
        // Python's own signal set-up still happens.
        QVERIFY(isTrue("signal.getsignal(signal.SIGPIPE) == signal.SIG_IGN"));
        QVERIFY(isTrue("not hasattr(__import__('builtins'), 'SORVAN_TRAPPED')"));
        QVERIFY(python->pyrf("[p for p in sys.path if p.startswith('%s')] == ['%s']", qPrintable(trap.path()),
                    qPrintable(trap.filePath("modules")))
            == Py_True);
        QVERIFY(isTrue("__import__('site').ENABLE_USER_SITE is False"));
        QVERIFY(!python->pyLookup("sorvan_trap", true));
        QVERIFY(python->pyrf(
                    "__import__('os').path.realpath(sys.executable) == __import__('os').path.realpath('%s')",
                    SORVAN_TEST_PYTHON)
            == Py_True);
        // dnf lives in the system's dist-packages, which site still adds.
        QCOMPARE(text(python->pyValue("dnf", "__version__")).section('.', 0, 0), QStringLiteral("4"));
        // Modules registered before the start are importable.
        QCOMPARE(text(python->pyValue("sorvanprobe", "answer")), QStringLiteral("42"));
        QVERIFY(python->pyVersion() >> 16 == PY_VERSION_HEX >> 16);
        QCOMPARE(python->errors, QStringList());
    }

    void secondObjectShares()
    {
        {
            Probe second;
            QVERIFY(second.initialize());
            QCOMPARE(Python::mainDict(), python->mainDict());
            second.py("sharedBySecond = 7");
            QCOMPARE(second.errors, QStringList());
        }
        // The second object's end did not finalize what the first still uses.
        QVERIFY(Py_IsInitialized());
        QCOMPARE(text(python->pyr("sharedBySecond * 6")), QStringLiteral("42"));
    }

    void runText_data()
    {
        QTest::addColumn<QByteArray>("expression");
        QTest::addColumn<QString>("value"); // empty: an unexpected exception of that type
        QTest::addColumn<QString>("raised");
        QTest::newRow("arithmetic") << QByteArray("6 * 7") << "42"
                                    << "";
        QTest::newRow("utf-8") << QByteArray("'\xc3\xa9t\xc3\xa9'.upper()") << "\u00c9T\u00c9"
                               << "";
        QTest::newRow("statement defined") << QByteArray("holder.greet('you')") << "hello you"
                                           << "";
        QTest::newRow("zero division") << QByteArray("1 / 0") << ""
                                       << "ZeroDivisionError: division by zero";
        QTest::newRow("unknown name") << QByteArray("sorvanUndefined") << ""
                                      << "NameError";
        QTest::newRow("statement as expression") << QByteArray("x = 1") << ""
                                                 << "SyntaxError: invalid syntax";
    }
    void runText()
    {
        QFETCH(QByteArray, expression);
        QFETCH(QString, value);
        QFETCH(QString, raised);
        StderrCapture stderrCapture(*python);
        PyObject* result = python->pyr(expression.data());
        QCOMPARE(text(result), value.isEmpty() ? QStringLiteral("<null>") : value);
        Py_XDECREF(result);
        QCOMPARE(python->errors, raised.isEmpty() ? QStringList() : QStringList(unexpected));
        QVERIFY(stderrCapture.text().contains(raised));

        // A statement's failure is printed by Python itself and cleared.
        python->errors.clear();
        python->pyf("sorvanResult = (%s)", expression.constData());
        if (!raised.isEmpty())
            QVERIFY(stderrCapture.text().count(raised) == 2);
        QCOMPARE(python->errors, QStringList());
    }

    void formattedTextGrows()
    {
        QByteArray const longText(40000, 'x');
        QByteArray statement("sorvanLong = '%s' + '%d'");
        python->pyf(statement.data(), longText.constData(), 7);
        QCOMPARE(text(python->pyrf("len(%s)", "sorvanLong")), QStringLiteral("40001"));
        QByteArray const longName(3000, 'q');
        QVERIFY(!python->pyLookup(longName.constData(), false));
        QCOMPARE(python->errors, QStringList(QStringLiteral("Internal error: %1 not found\n").arg(longName)));
    }

    void lookup_data()
    {
        QTest::addColumn<QByteArray>("dotted");
        QTest::addColumn<bool>("quiet");
        QTest::addColumn<QByteArray>("sameAs"); // empty: not found
        QTest::addColumn<QStringList>("reports");
        QTest::newRow("built-in through __main__")
            << QByteArray("__builtins__.str") << false << QByteArray("str") << QStringList();
        QTest::newRow("module imported on demand")
            << QByteArray("bdb.BdbQuit") << false << QByteArray("__import__('bdb').BdbQuit") << QStringList();
        QTest::newRow("module in module") << QByteArray("os.path.join") << false
                                          << QByteArray("__import__('os').path.join") << QStringList();
        QTest::newRow("dictionaries")
            << QByteArray("nested.a.b") << false << QByteArray("nested['a']['b']") << QStringList();
        QTest::newRow("instance attribute") << QByteArray("holder.attr") << false << QByteArray()
                                            << QStringList("Internal error: attr not found\n");
        QTest::newRow("class attribute") << QByteArray("Holder.shared") << false << QByteArray()
                                         << QStringList("Internal error: shared not found\n");
        QTest::newRow("missing in module") << QByteArray("os.sorvanMissing") << false << QByteArray()
                                           << QStringList("Internal error: sorvanMissing not found\n");
        QTest::newRow("unimportable") << QByteArray("sorvan_absent.name") << false << QByteArray()
                                      << QStringList("Internal error: sorvan_absent not found\n");
        QTest::newRow("unimportable, quiet")
            << QByteArray("sorvan_absent.name") << true << QByteArray() << QStringList();
        QTest::newRow("failing import, quiet")
            << QByteArray("sorvan_broken.name") << true << QByteArray() << QStringList();
        QTest::newRow("instance attribute, quiet")
            << QByteArray("holder.attr") << true << QByteArray() << QStringList();
    }
    void lookup()
    {
        QFETCH(QByteArray, dotted);
        QFETCH(bool, quiet);
        QFETCH(QByteArray, sameAs);
        QFETCH(QStringList, reports);
        PyObject* found = python->pyLookup(dotted.data(), quiet);
        PyObject* expected = sameAs.isEmpty() ? nullptr : python->pyr(sameAs.constData());
        QVERIFY(expected || sameAs.isEmpty());
        QCOMPARE(found, expected);
        Py_XDECREF(expected);
        QCOMPARE(python->errors, reports);
    }

    void valueAndAssign_data()
    {
        QTest::addColumn<QByteArray>("module");
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QStringList>("reports"); // empty: the value is found, and can be replaced
        QTest::newRow("module") << QByteArray("sys") << QByteArray("hexversion") << QStringList();
        QTest::newRow("module in module") << QByteArray("os.path") << QByteArray("sep") << QStringList();
        QTest::newRow("dictionary") << QByteArray("nested") << QByteArray("a") << QStringList();
        QTest::newRow("missing module") << QByteArray("sorvan_absent") << QByteArray("x")
                                        << QStringList { "Internal error: sorvan_absent not found\n",
                                               "Internal error: sorvan_absent not found\n" };
        QTest::newRow("missing inner module") << QByteArray("os.sorvanMissing") << QByteArray("x")
                                              << QStringList { "Internal error: sorvanMissing not found\n",
                                                     "Internal error: os.sorvanMissing not found\n" };
        QTest::newRow("instance") << QByteArray("holder") << QByteArray("attr") << QStringList(unexpected);
    }
    void valueAndAssign()
    {
        QFETCH(QByteArray, module);
        QFETCH(QByteArray, name);
        QFETCH(QStringList, reports);
        StderrCapture stderrCapture(*python);
        PyObject* old = python->pyValue(module.data(), name.data());
        QCOMPARE(python->errors, reports);
        QCOMPARE(old == nullptr, !reports.isEmpty());
        Py_XINCREF(old);

        python->errors.clear();
        PyObject* replacement = PyUnicode_FromString("replacement");
        python->pyAssign(module.data(), name.data(), replacement);
        QCOMPARE(python->errors, reports);
        QCOMPARE(
            python->pyValue(module.constData(), name.constData()), reports.isEmpty() ? replacement : nullptr);
        if (old)
            python->pyAssign(module.constData(), name.constData(), old);
        Py_XDECREF(old);
        Py_DECREF(replacement);
    }

    void valueEdges()
    {
        QVERIFY(!python->pyValue("sys", "sorvanMissing"));
        QCOMPARE(python->errors, QStringList());
        python->pyAssign("sys", "argv", nullptr);
        QCOMPARE(python->pyAssignGlobal("dbg", nullptr), -1);
        QCOMPARE(python->errors,
            QStringList({ "Internal error: cannot assign sys.argv\n",
                "Internal error: cannot assign __main__.dbg\n" }));
        QCOMPARE(python->pyAssignGlobal("sorvanGlobal", Py_True), 0);
        QVERIFY(isTrue("sorvanGlobal"));
    }

    void calls()
    {
        PyObject* self = python->pyLookup("holder", false);
        QByteArray name("__builtins__.len"), format("(s)");
        QList<PyObject*> const results {
            python->pyCall("__builtins__.len", "(s)", "\xc3\xa9t\xc3\xa9"),
            python->pyCall(name.data(), format.data(), "abcd"),
            python->pyCall("__builtins__.max", "(O,O)", Py_False, Py_True),
            python->pyCall("__builtins__.len", "s", "abcde"), // a lone argument, not a tuple
            python->pyCall("__builtins__.dict", ""),
            python->pyMethodCall(self, "greet", "(s)", "there"),
        };
        QStringList texts;
        for (PyObject* result : results) {
            texts << text(result);
            Py_XDECREF(result);
        }
        QCOMPARE(texts, QStringList({ "3", "4", "True", "5", "{}", "hello there" }));
        QCOMPARE(python->errors, QStringList());
    }

    void callFailures()
    {
        StderrCapture stderrCapture(*python);
        PyObject* self = python->pyLookup("holder", false);
        PyObject* attribute = python->pyr("holder.attr");
        Py_ssize_t const references = Py_REFCNT(attribute);
        QVERIFY(!python->pyCall("sorvan_absent.f", "()"));
        QVERIFY(!python->pyCall("sys.hexversion", "()"));
        QVERIFY(!python->pyCall("raiser", "(s)", "raised by raiser"));
        QVERIFY(!python->pyCall("__builtins__.len", "(O)", static_cast<PyObject*>(nullptr)));
        QVERIFY(!python->pyMethodCall(nullptr, "greet", "()"));
        QVERIFY(!python->pyMethodCall(self, "attr", "()"));
        QCOMPARE(Py_REFCNT(attribute), references);
        Py_DECREF(attribute);
        QVERIFY(!python->pyMethodCall(self, "greet", "(i,i)", 1, 2));
        QCOMPARE(python->errors,
            QStringList(
                { "Internal error: sorvan_absent not found\n", "Internal error: sorvan_absent.f not found\n",
                    "Internal error: sys.hexversion not callable\n", unexpected, unexpected,
                    "Internal error: method greet call attemped with NULL self\n",
                    "Internal error: method attr not callable\n", unexpected }));
        QVERIFY(stderrCapture.text().contains("RuntimeError: raised by raiser"));
        QVERIFY(stderrCapture.text().contains("SystemError"));
        QVERIFY(stderrCapture.text().contains("TypeError"));

        // A missing method leaves its AttributeError for the caller.
        python->errors.clear();
        QVERIFY(!python->pyMethodCall(self, "sorvanMissing", "()"));
        QCOMPARE(python->errors, QStringList("Internal error: method sorvanMissing not found\n"));
        QVERIFY(PyErr_ExceptionMatches(PyExc_AttributeError));
        PyErr_Clear();
    }

    void strings_data()
    {
        QTest::addColumn<QByteArray>("expression");
        QTest::addColumn<QByteArray>("string"); // null: none
        QTest::addColumn<QStringList>("reports");
        QTest::newRow("ascii") << QByteArray("'plain'") << QByteArray("plain") << QStringList();
        QTest::newRow("utf-8") << QByteArray("'\\u00e9t\\u00e9'") << QByteArray("\xc3\xa9t\xc3\xa9")
                               << QStringList();
        QTest::newRow("bytes") << QByteArray("b'raw\\xff'") << QByteArray("raw\xff") << QStringList();
        QTest::newRow("None") << QByteArray("None") << QByteArray() << QStringList();
        QTest::newRow("number") << QByteArray("42") << QByteArray() << QStringList(unexpected);
        QTest::newRow("lone surrogate") << QByteArray("'\\udcff'") << QByteArray() << QStringList(unexpected);
    }
    void strings()
    {
        QFETCH(QByteArray, expression);
        QFETCH(QByteArray, string);
        QFETCH(QStringList, reports);
        StderrCapture stderrCapture(*python);
        PyObject* object = python->pyr(expression.constData());
        QVERIFY(object);
        char const* converted = python->pyString(object);
        QCOMPARE(QByteArray(converted), string);
        QCOMPARE(converted == nullptr, string.isNull());
        Py_DECREF(object);
        QCOMPARE(python->errors, reports);
        python->errors.clear();
        QVERIFY(!python->pyString(nullptr));
        QCOMPARE(python->errors, QStringList("Internal error: pyString passed NULL python object\n"));
    }

    void expectedExceptions_data()
    {
        QTest::addColumn<QStringList>("types");
        QTest::addColumn<QByteArray>("expression");
        QTest::addColumn<bool>("expected");
        QTest::newRow("declared") << QStringList("ZeroDivisionError") << QByteArray("1 / 0") << true;
        QTest::newRow("base class") << QStringList("ArithmeticError") << QByteArray("1 / 0") << true;
        QTest::newRow("second of two")
            << QStringList({ "KeyError", "ZeroDivisionError" }) << QByteArray("1 / 0") << true;
        QTest::newRow("other type") << QStringList("KeyError") << QByteArray("1 / 0") << false;
        QTest::newRow("empty scope") << QStringList() << QByteArray("1 / 0") << false;
        QTest::newRow("lookup error") << QStringList("LookupError") << QByteArray("{}['k']") << true;
    }
    void expectedExceptions()
    {
        QFETCH(QStringList, types);
        QFETCH(QByteArray, expression);
        QFETCH(bool, expected);
        StderrCapture stderrCapture(*python);
        python->pyExceptStart();
        QList<PyObject*> declared;
        for (QString const& type : types)
            declared << python->pyLookup(qPrintable("__builtins__." + type), false);
        for (PyObject* type : declared)
            python->pyExceptExpect(type);
        QCOMPARE(python->pyExceptExpected(), declared);
        PyObject* result = python->pyr(expression.constData());
        QVERIFY(!result);
        QCOMPARE(python->errors, expected ? QStringList() : QStringList(unexpected));
        QCOMPARE(python->expectedCount, expected ? 1 : 0);
        QCOMPARE(PyErr_Occurred() != nullptr, expected);
        QCOMPARE(python->pyExceptMatches(result, declared.value(declared.size() - 1)), expected);
        QVERIFY(!python->pyExceptMatches(result, PyExc_TypeError));
        QVERIFY(!python->pyExceptMatches(Py_None, PyExc_Exception));
        python->pyExceptClear();
    }

    void nestedScopes()
    {
        StderrCapture stderrCapture(*python);
        python->pyExceptStart();
        python->pyExceptExpect(PyExc_ZeroDivisionError);
        python->pyExceptStart();
        python->pyExceptExpect(nullptr); // reported, kept, and never matching
        python->pyExceptExpect(PyExc_KeyError);
        QCOMPARE(python->pyExceptExpected(), QList<PyObject*>({ nullptr, PyExc_KeyError }));
        QVERIFY(!python->pyr("1 / 0")); // only the innermost scope counts
        QVERIFY(!PyErr_Occurred());
        QVERIFY(!python->pyr("{}['k']"));
        QVERIFY(PyErr_ExceptionMatches(PyExc_KeyError));
        python->pyExceptClear();
        QVERIFY(!PyErr_Occurred());
        QCOMPARE(python->pyExceptDepth(), 1);
        QVERIFY(!python->pyr("1 / 0"));
        QVERIFY(PyErr_ExceptionMatches(PyExc_ZeroDivisionError));
        python->pyExceptClear();
        QCOMPARE(
            python->errors, QStringList({ "Internal error: pyExceptExpect called with NULL\n", unexpected }));
        QCOMPARE(python->expectedCount, 2);
    }

    void unexpectedException()
    {
        StderrCapture stderrCapture(*python);
        QVERIFY(!python->pyCall("raiser", "(s)", "deep inside"));
        QCOMPARE(python->errors, QStringList(unexpected));
        QString const walkback = stderrCapture.text();
        QVERIFY2(walkback.startsWith("Traceback (most recent call last):\n"), qPrintable(walkback));
        QVERIFY2(walkback.contains("in raiser\nRuntimeError: deep inside\n"), qPrintable(walkback));
        // Nothing pending at all.
        python->errors.clear();
        python->handleException();
        QCOMPARE(python->errors,
            QStringList("Internal error: python exception occurred, but exception information was empty."));
    }

    void exceptionText_data()
    {
        QTest::addColumn<QByteArray>("expression");
        QTest::addColumn<QString>("message");
        QTest::newRow("value attribute")
            << QByteArray("raiseWithValue('str text', 'value text')") << "value text";
        QTest::newRow("value not text") << QByteArray("raiseWithValue('str text', 42)") << "42";
        QTest::newRow("str") << QByteArray("int('seven')")
                             << "invalid literal for int() with base 10: 'seven'";
        QTest::newRow("key error") << QByteArray("{}['missing']") << "'missing'";
    }
    void exceptionText()
    {
        QFETCH(QByteArray, expression);
        QFETCH(QString, message);
        QVERIFY(!python->pyExceptValue());
        python->pyExceptStart();
        python->pyExceptExpect(PyExc_Exception);
        QVERIFY(!python->pyr(expression.constData()));
        PyObject* value = python->pyExceptValue();
        PyObject* messageObject = python->pyExceptValuef();
        QCOMPARE(text(messageObject), message);
        // The exception is still pending, and still the same one.
        PyObject *type, *pending, *traceback;
        PyErr_Fetch(&type, &pending, &traceback);
        QVERIFY(value && pending == value);
        PyErr_Restore(type, pending, traceback);
        Py_XDECREF(value);
        Py_XDECREF(messageObject);
        python->pyExceptClear();

        // Exceptions raised from C come unnormalized.
        PyErr_SetString(PyExc_RuntimeError, "set from C");
        messageObject = python->pyExceptValuef();
        QCOMPARE(text(messageObject), QStringLiteral("set from C"));
        Py_XDECREF(messageObject);
        QVERIFY(PyErr_ExceptionMatches(PyExc_RuntimeError));
        PyErr_Clear();
        QCOMPARE(python->errors, QStringList());
    }

    void lockWrappersAcrossThreads()
    {
        StderrCapture stderrCapture(*python);
        std::atomic<int> stage { 0 };
        std::atomic<bool> lockedWithoutWrapper { true }, lockedAfterRelease { true };
        // A plain thread: Qt's own waiting is invisible to the thread sanitizer.
        std::thread worker([&] {
            {
                Python::PyGILStateWrapper disabled(false);
                lockedWithoutWrapper = PyGILState_Check();
            }
            Python::PyGILStateWrapper lock(true);
            stage = 1;
            python->py("import threading\nworkerThread = threading.get_ident()");
            python->pyCall("raiser", "(s)", "raised on the worker");
            lock.release();
            lockedAfterRelease = PyGILState_Check();
            lock.ensure();
            python->py("workerDone = True");
            lock.release(); // and the destructor must not release again
        });
        // The worker cannot get in while this thread holds the lock...
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        bool const workerKeptOut = stage == 0;
        bool lockedNested = false, lockedWhileWaiting = true;
        {
            Python::PyGILStateWrapper nested(true);
            lockedNested = PyGILState_Check();
        }
        {
            // ...and gets in as soon as it is given up.
            Python::PyThreadStateWrapper unlocked;
            lockedWhileWaiting = PyGILState_Check();
            worker.join();
        }
        QVERIFY(PyGILState_Check());
        QVERIFY(workerKeptOut);
        QVERIFY(lockedNested);
        QVERIFY(!lockedWhileWaiting);
        QCOMPARE(stage.load(), 1);
        QVERIFY(!lockedWithoutWrapper);
        QVERIFY(!lockedAfterRelease);
        QVERIFY(isTrue("workerDone and workerThread != threading.get_ident()"));
        QCOMPARE(python->errors, QStringList(unexpected));
        QVERIFY(stderrCapture.text().contains("RuntimeError: raised on the worker"));
    }

    void sigintSwitch()
    {
        auto childDiesOfSigint = [] {
            pid_t const child = fork();
            if (child == 0) {
                raise(SIGINT);
                _exit(0);
            }
            int status = 0;
            waitpid(child, &status, 0);
            return WIFSIGNALED(status) && WTERMSIG(status) == SIGINT;
        };
        QVERIFY(isTrue("defaultSigIntSigaction is signal.default_int_handler"));
        python->setEnablePythonSIGINTHandler(false);
        QVERIFY(isTrue("signal.getsignal(signal.SIGINT) == signal.SIG_DFL"));
        QVERIFY(childDiesOfSigint());

        python->setEnablePythonSIGINTHandler(true);
        QVERIFY(isTrue("signal.getsignal(signal.SIGINT) is signal.default_int_handler"));
        QVERIFY(!childDiesOfSigint());
        // Python's handler turns the signal into KeyboardInterrupt.
        python->pyExceptStart();
        python->pyExceptExpect(PyExc_KeyboardInterrupt);
        raise(SIGINT);
        PyObject* result = python->pyr("sum(range(10))");
        QVERIFY(python->pyExceptMatches(result, PyExc_KeyboardInterrupt));
        python->pyExceptClear();
        QCOMPARE(python->errors, QStringList());
    }

    void debugger()
    {
        // The debugger reads commands from sys.stdin and writes to the
        // terminal's stdout, here a file.
        QTemporaryFile output;
        QVERIFY(output.open());
        fflush(stdout);
        int const savedStdout = dup(STDOUT_FILENO);
        dup2(output.handle(), STDOUT_FILENO);
        python->py("import io\nsys.stdin = io.StringIO('p dbg\\nc\\n')\nsys.stdout = io.StringIO()");
        PyObject* object = PyUnicode_FromString("sorvan debug marker");
        python->pyDebug(object);
        bool const streamsBack = isTrue("sys.stdout is sys.__stdout__ and sys.stderr is sys.__stderr__");
        python->py("sys.__stdout__.flush()\nsys.stdin = sys.__stdin__");
        dup2(savedStdout, STDOUT_FILENO);
        close(savedStdout);
        QVERIFY(streamsBack);
        PyObject* bound = python->pyr("dbg");
        QCOMPARE(bound, object);
        Py_XDECREF(bound);
        Py_DECREF(object);
        QFile written(output.fileName());
        QVERIFY(written.open(QIODevice::ReadOnly));
        QByteArray const shown = written.readAll();
        QVERIFY2(shown.contains("'sorvan debug marker'"), shown.constData());
        python->setEnablePythonSIGINTHandler(true); // pdb's continue installs its own
        QCOMPARE(python->errors, QStringList());
    }
};

QTEST_GUILESS_MAIN(TestPython)
#include "tst_python.moc"
