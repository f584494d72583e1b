// The embedded interpreter layer, on the real system python.
#include "TestRows.h"
#include "yumio/Python.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <atomic>
#include <chrono>
#include <clocale>
#include <csignal>
#include <thread>

namespace
{

QString const unexpected = QStringLiteral(
    "Internal error: python exception occurred from C code.\nWhen reporting this issue, please "
    "include the contents of the\nLog window, which should contain a walkback.");

QString notFound(QString const& name)
{
    return QStringLiteral("Internal error: %1 not found\n").arg(name);
}

// The layer as the bridge uses it, keeping its reports instead of showing them.
class Probe : public Python
{
public:
    QStringList errors;
    int expectedCount = 0;
    using Python::handleException;

protected:
    void error(char const* message) override { errors << QString::fromUtf8(message); }
    void warning(char const* message) override { errors << QString::fromUtf8(message); }
    void exceptionExpected() override
    {
        ++expectedCount;
        Python::exceptionExpected();
    }
};

QString text(PyObject* object)
{
    PyObject* s = object ? PyObject_Str(object) : nullptr;
    QString const result = s ? QString::fromUtf8(PyUnicode_AsUTF8(s)) : "<null>";
    Py_XDECREF(s);
    return result;
}

PyModuleDef probeModule
    = { PyModuleDef_HEAD_INIT, "sorvanprobe", nullptr, -1, nullptr, nullptr, nullptr, nullptr, nullptr };

} // namespace

class TestPython : public QObject
{
    Q_OBJECT

    Probe* python = nullptr;
    QTemporaryDir trap;

    void write(QString const& relative, QByteArray const& content)
    {
        QDir().mkpath(QFileInfo(trap.filePath(relative)).path());
        QFile file(trap.filePath(relative));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.setPermissions(file.permissions() | QFileDevice::ExeOwner);
    }
    bool isTrue(QString const& expression) { return python->pyr(qPrintable(expression)) == Py_True; }
    // Walkbacks go to Python's sys.stderr, a buffer during each test.
    QString walkback() { return text(python->pyr("sys.stderr.getvalue()")); }

private Q_SLOTS:
    void initTestCase()
    {
        // Everything the environment could use to slip code into a root
        // process: if any of it is honoured, a marker appears or the start fails.
        QByteArray const version = "python3." + QByteArray::number(PY_MINOR_VERSION);
        QByteArray const marker = "import builtins\nbuiltins.SORVAN_TRAPPED = __file__\n";
        write("path/sitecustomize.py", marker);
        write("path/sorvan_trap.py", marker);
        write("user/lib/" + version + "/site-packages/usercustomize.py", marker);
        write("bin/python3", "#!/bin/sh\nexit 1\n");
        write("lib/" + version + "/os.py", marker + "raise SystemExit('trap stdlib')\n");
        write("modules/sorvan_broken.py", "raise RuntimeError('broken on import')\n");
        QByteArray const path = qgetenv("PATH");
        qputenv("PATH", trap.filePath("bin").toUtf8() + ':' + path);
        qputenv("PYTHONPATH", trap.filePath("path").toUtf8());
        qputenv("PYTHONUSERBASE", trap.filePath("user").toUtf8());
        qputenv("PYTHONHOME", trap.path().toUtf8());
        qputenv("PYTHONOPTIMIZE", "2");
        // As started from a terminal, in the C locale as under pkexec.
        std::signal(SIGINT, SIG_DFL);
        std::signal(SIGPIPE, SIG_DFL);
        std::setlocale(LC_CTYPE, "C");
        QCOMPARE(PyImport_AppendInittab("sorvanprobe", [] { return PyModule_Create(&probeModule); }), 0);

        python = new Probe;
        QVERIFY(python->initialize());
        QCOMPARE(python->errors, QStringList());
        QVERIFY(PyGILState_Check());
        qputenv("PATH", path);
        python->pyf("import sys, io, os\nsys.path.insert(0, '%s')\n", qPrintable(trap.filePath("modules")));
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
        python->py("sys.stderr = io.StringIO()");
    }
    void cleanup()
    {
        python->py("sys.stderr = sys.__stderr__");
        QVERIFY(!PyErr_Occurred());
        QCOMPARE(python->pyExceptDepth(), 0);
    }
    void cleanupTestCase()
    {
        delete python;
        QVERIFY(!Py_IsInitialized());
    }

    void startsIsolated()
    {
        QVERIFY(isTrue("sys.flags.isolated == 1 and sys.flags.optimize == 0"));
        QVERIFY(isTrue("sys.getfilesystemencoding() == 'utf-8' and sys.__stdout__.encoding == 'utf-8'"));
        QVERIFY(isTrue("signal.getsignal(signal.SIGPIPE) == signal.SIG_IGN"));
        QVERIFY(isTrue("not hasattr(__import__('builtins'), 'SORVAN_TRAPPED')"));
        QVERIFY(isTrue("__import__('site').ENABLE_USER_SITE is False"));
        QVERIFY(isTrue(QStringLiteral("[p for p in sys.path if p.startswith('%1')] == ['%1/modules']")
                           .arg(trap.path())));
        QVERIFY(isTrue(QStringLiteral("os.path.realpath(sys.executable) == os.path.realpath('%1')")
                           .arg(QLatin1String(SORVAN_TEST_PYTHON))));
        // dnf lives in the system's dist-packages, which site still adds.
        QCOMPARE(text(python->pyValue("dnf", "__version__")).section('.', 0, 0), "4");
        QVERIFY(python->pyLookup("sorvanprobe", false));
        QCOMPARE(python->errors, QStringList());
        // A second object shares the interpreter, and its end keeps it.
        {
            Probe second;
            QVERIFY(second.initialize());
            second.py("sharedBySecond = 7");
        }
        QCOMPARE(text(python->pyr("sharedBySecond * 6")), "42");
    }

    void runText_data()
    {
        columns<QString, QString, QString>("expression", "value", "raised"); // raised empty: none
        row("utf-8", "'\u00e9t\u00e9'.upper()", "\u00c9T\u00c9", "");
        row("zero division", "1 / 0", "<null>", "ZeroDivisionError: division by zero");
        row("statement", "x = 1", "<null>", "SyntaxError");
    }
    void runText()
    {
        QFETCH(QString, expression);
        QFETCH(QString, raised);
        PyObject* result = python->pyr(expression.toUtf8().constData());
        QTEST(text(result), "value");
        Py_XDECREF(result);
        QCOMPARE(python->errors, raised.isEmpty() ? QStringList() : QStringList(unexpected));
        // A statement's failure is printed by Python itself and cleared.
        python->pyf("sorvanResult = (%s)", expression.toUtf8().constData());
        QCOMPARE(python->errors.size(), raised.isEmpty() ? 0 : 1);
        if (!raised.isEmpty())
            QCOMPARE(walkback().count(raised), 2);
        // The formatting buffer grows to any length.
        python->pyf("sorvanLong = '%s'", QByteArray(40000, 'x').constData());
        QVERIFY(isTrue("len(sorvanLong) == 40000"));
    }

    // Dotted names go through modules and dictionaries only.
    void lookup_data()
    {
        columns<QString, bool, QString, QString>(
            "dotted", "quiet", "sameAs", "report"); // sameAs empty: not found
        row("built-in", "__builtins__.str", false, "str", "");
        row("imported on demand", "bdb.BdbQuit", false, "__import__('bdb').BdbQuit", "");
        row("dictionaries", "nested.a.b", false, "nested['a']['b']", "");
        row("instance attribute", "holder.attr", false, "", notFound("attr"));
        row("unimportable", "sorvan_absent.name", false, "", notFound("sorvan_absent"));
        row("unimportable, quiet", "sorvan_absent.name", true, "", "");
        row("failing import, quiet", "sorvan_broken.name", true, "", "");
        row("long name", QString(3000, 'q'), false, "", notFound(QString(3000, 'q')));
    }
    void lookup()
    {
        QFETCH(QString, dotted);
        QFETCH(bool, quiet);
        QFETCH(QString, sameAs);
        QFETCH(QString, report);
        PyObject* expected = sameAs.isEmpty() ? nullptr : python->pyr(qPrintable(sameAs));
        QCOMPARE(python->pyLookup(qPrintable(dotted), quiet), expected);
        Py_XDECREF(expected);
        QCOMPARE(python->errors, report.isEmpty() ? QStringList() : QStringList(report));
    }

    // pyAssign and pyValue find their place as pyLookup does.
    void valueAndAssign_data()
    {
        columns<QString, QString, QStringList>("module", "name", "reports"); // none: stored and found
        row("module", "sys", "sorvanAssigned", QStringList());
        row("dictionary", "nested", "b", QStringList());
        // A failed lookup is reported twice: the component, then the whole.
        row("missing", "os.sorvanMissing", "x",
            QStringList { notFound("sorvanMissing"), notFound("os.sorvanMissing") });
        row("instance", "holder", "attr", QStringList(unexpected));
    }
    void valueAndAssign()
    {
        QFETCH(QString, module);
        QFETCH(QString, name);
        QFETCH(QStringList, reports);
        QByteArray const m = module.toUtf8(), n = name.toUtf8();
        PyObject* value = PyUnicode_FromString("assigned");
        python->pyAssign(m.constData(), n.constData(), value);
        QCOMPARE(python->pyValue(m.constData(), n.constData()), reports.isEmpty() ? value : nullptr);
        Py_DECREF(value);
        QCOMPARE(python->errors, reports + reports);
        // A missing key is no report; a store that fails without an exception is.
        python->errors.clear();
        QVERIFY(!python->pyValue("sys", "sorvanMissing"));
        python->pyAssign("sys", "argv", nullptr);
        QCOMPARE(python->errors, QStringList("Internal error: cannot assign sys.argv\n"));
    }

    void calls()
    {
        PyObject* self = python->pyLookup("holder", false);
        QByteArray name("__builtins__.len"), format("(s)");
        QList<PyObject*> const results {
            python->pyCall("__builtins__.len", "(s)", "\xc3\xa9t\xc3\xa9"),
            python->pyCall(name.data(), format.data(), "abcd"), // the char* overload
            python->pyCall("__builtins__.max", "(O,O)", Py_False, Py_True),
            python->pyMethodCall(self, "greet", "(s)", "there"),
            // Failures, each with its report.
            python->pyCall("sorvan_absent.f", "()"),
            python->pyCall("sys.hexversion", "()"),
            python->pyCall("raiser", "(s)", "raised by raiser"),
            python->pyMethodCall(nullptr, "greet", "()"),
            python->pyMethodCall(self, "attr", "()"),
            python->pyMethodCall(self, "greet", "(i,i)", 1, 2),
        };
        QStringList texts;
        for (PyObject* result : results) {
            texts << text(result);
            Py_XDECREF(result);
        }
        QCOMPARE(texts.join(' '), "3 4 True hello there <null> <null> <null> <null> <null> <null>");
        QCOMPARE(python->errors,
            QStringList({ notFound("sorvan_absent"), notFound("sorvan_absent.f"),
                "Internal error: sys.hexversion not callable\n", unexpected,
                "Internal error: method greet call attemped with NULL self\n",
                "Internal error: method attr not callable\n", unexpected }));
        QVERIFY(walkback().contains("RuntimeError: raised by raiser"));

        // A missing method leaves its AttributeError for the caller.
        python->errors.clear();
        QVERIFY(!python->pyMethodCall(self, "sorvanMissing", "()"));
        QCOMPARE(python->errors, QStringList("Internal error: method sorvanMissing not found\n"));
        QVERIFY(PyErr_ExceptionMatches(PyExc_AttributeError));
        PyErr_Clear();
    }

    void strings_data()
    {
        columns<QString, QByteArray, QString>("expression", "string", "report"); // string null: none
        row("utf-8", "'\\u00e9t\\u00e9'", QByteArray("\xc3\xa9t\xc3\xa9"), "");
        row("bytes", "b'raw\\xff'", QByteArray("raw\xff"), "");
        row("None", "None", QByteArray(), "");
        row("number", "42", QByteArray(), unexpected);
    }
    void strings()
    {
        QFETCH(QString, expression);
        QFETCH(QByteArray, string);
        QFETCH(QString, report);
        PyObject* object = python->pyr(qPrintable(expression));
        char const* converted = python->pyString(object);
        QCOMPARE(QByteArray(converted), string);
        QCOMPARE(converted == nullptr, string.isNull());
        Py_XDECREF(object);
        QVERIFY(!python->pyString(nullptr));
        QCOMPARE(python->errors,
            (report.isEmpty() ? QStringList() : QStringList(report))
                << "Internal error: pyString passed NULL python object\n");
    }

    void expectedExceptions_data()
    {
        columns<QStringList, bool>("types", "expected");
        row("declared", QStringList("ZeroDivisionError"), true);
        row("base class", QStringList("ArithmeticError"), true);
        row("second of two", QStringList({ "KeyError", "ZeroDivisionError" }), true);
        row("other type", QStringList("KeyError"), false);
        row("empty scope", QStringList(), false);
    }
    void expectedExceptions()
    {
        QFETCH(QStringList, types);
        QFETCH(bool, expected);
        python->pyExceptStart();
        PyObject* last = nullptr;
        for (QString const& type : types)
            python->pyExceptExpect(last = python->pyLookup(qPrintable("__builtins__." + type), false));
        PyObject* result = python->pyr("1 / 0");
        QCOMPARE(python->errors, expected ? QStringList() : QStringList(unexpected));
        QCOMPARE(python->expectedCount, expected ? 1 : 0);
        QCOMPARE(PyErr_Occurred() != nullptr, expected);
        QCOMPARE(python->pyExceptMatches(result, last), expected);
        QVERIFY(!python->pyExceptMatches(result, PyExc_TypeError));
        QVERIFY(!python->pyExceptMatches(Py_None, PyExc_Exception));
        python->pyExceptClear();
    }

    // Only the innermost scope counts; closing it clears what is pending.
    void nestedScopes()
    {
        python->pyExceptStart();
        python->pyExceptExpect(PyExc_ZeroDivisionError);
        python->pyExceptStart();
        python->pyExceptExpect(nullptr); // reported, kept, and never matching
        python->pyExceptExpect(PyExc_KeyError);
        QCOMPARE(python->pyExceptExpected(), QList<PyObject*>({ nullptr, PyExc_KeyError }));
        QVERIFY(!python->pyr("1 / 0"));
        QVERIFY(!PyErr_Occurred());
        QVERIFY(!python->pyr("{}['k']"));
        QVERIFY(PyErr_ExceptionMatches(PyExc_KeyError));
        python->pyExceptClear();
        QVERIFY(!PyErr_Occurred());
        QVERIFY(!python->pyr("1 / 0"));
        QVERIFY(PyErr_ExceptionMatches(PyExc_ZeroDivisionError));
        python->pyExceptClear();
        QCOMPARE(
            python->errors, QStringList({ "Internal error: pyExceptExpect called with NULL\n", unexpected }));
        QCOMPARE(python->expectedCount, 2);
    }

    void unexpectedException()
    {
        QVERIFY(!python->pyCall("raiser", "(s)", "deep inside"));
        QCOMPARE(python->errors, QStringList(unexpected));
        QString const shown = walkback();
        QVERIFY2(shown.startsWith("Traceback (most recent call last):\n"), qPrintable(shown));
        QVERIFY2(shown.contains("in raiser\nRuntimeError: deep inside\n"), qPrintable(shown));
        python->errors.clear();
        python->handleException(); // nothing pending at all
        QCOMPARE(python->errors,
            QStringList("Internal error: python exception occurred, but exception information was empty."));
    }

    void exceptionText_data()
    {
        columns<QString, QString>("expression", "message");
        row("value attribute", "raiseWithValue('str text', 'value text')", "value text");
        row("value not text", "raiseWithValue('str text', 42)", "42");
        row("str", "int('seven')", "invalid literal for int() with base 10: 'seven'");
    }
    void exceptionText()
    {
        QFETCH(QString, expression);
        QVERIFY(!python->pyExceptValue());
        python->pyExceptStart();
        python->pyExceptExpect(PyExc_Exception);
        QVERIFY(!python->pyr(qPrintable(expression)));
        PyObject* value = python->pyExceptValue();
        PyObject* message = python->pyExceptValuef();
        QTEST(text(message), "message");
        // Still pending, and still the same exception.
        PyObject *type, *pending, *traceback;
        PyErr_Fetch(&type, &pending, &traceback);
        QVERIFY(value && pending == value);
        PyErr_Restore(type, pending, traceback);
        Py_XDECREF(value);
        Py_XDECREF(message);
        python->pyExceptClear();
        QCOMPARE(python->errors, QStringList());
    }

    void lockWrappersAcrossThreads()
    {
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
        QVERIFY(!lockedWithoutWrapper);
        QVERIFY(!lockedAfterRelease);
        QVERIFY(isTrue("workerDone and workerThread != threading.get_ident()"));
    }

    // Off, Ctrl-C kills the program; on, it becomes KeyboardInterrupt.
    void sigintSwitch()
    {
        python->setEnablePythonSIGINTHandler(false);
        QVERIFY(isTrue("signal.getsignal(signal.SIGINT) == signal.SIG_DFL"));
        python->setEnablePythonSIGINTHandler(true);
        python->pyExceptStart();
        python->pyExceptExpect(PyExc_KeyboardInterrupt);
        raise(SIGINT);
        QVERIFY(python->pyExceptMatches(python->pyr("sum(range(10))"), PyExc_KeyboardInterrupt));
        python->pyExceptClear();
        QCOMPARE(python->errors, QStringList());
    }
};

QTEST_GUILESS_MAIN(TestPython)
#include "tst_python.moc"
