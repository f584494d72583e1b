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

        python = new Probe;
        QVERIFY(python->initialize());
        QCOMPARE(python->errors, QStringList());
        QVERIFY(PyGILState_Check());
        qputenv("PATH", path);
        python->pyf("import sys, io, os\nsys.path.insert(0, '%s')\n", qPrintable(trap.filePath("modules")));
        python->py("class Holder:\n    def greet(self, name):\n        return 'hello ' + name\n"
                   "holder = Holder()\nholder.attr = object()\nnested = {'a': {'b': 'deep'}}\n"
                   "def raiser(text):\n    raise RuntimeError(text)\n");
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
        QCOMPARE(python->errors, QStringList());
        // A second object shares the interpreter, and its end keeps it.
        {
            Probe second;
            QVERIFY(second.initialize());
            second.py("sharedBySecond = 7");
        }
        QCOMPARE(text(python->pyr("sharedBySecond * 6")), "42");
    }

    void runText()
    {
        PyObject* result = python->pyr("'\u00e9t\u00e9'.upper()");
        QCOMPARE(text(result), "\u00c9T\u00c9");
        Py_DECREF(result);
        QCOMPARE(python->errors, QStringList());
        QVERIFY(!python->pyr("1 / 0"));
        QVERIFY(!python->pyr("x = 1")); // a statement is no expression
        QCOMPARE(python->errors, QStringList({ unexpected, unexpected }));
        // A statement's failure is printed by Python itself and cleared.
        python->py("sorvanResult = 1 / 0");
        QCOMPARE(python->errors.size(), 2);
        QCOMPARE(walkback().count("ZeroDivisionError: division by zero"), 2);
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
    void valueAndAssign()
    {
        PyObject* value = PyUnicode_FromString("assigned");
        python->pyAssign("sys", "sorvanAssigned", value);
        QCOMPARE(python->pyValue("sys", "sorvanAssigned"), value);
        QVERIFY(!python->pyValue("sys", "sorvanMissing")); // not reported
        QCOMPARE(python->errors, QStringList());
        python->pyAssign("os.sorvanMissing", "x", value);
        QVERIFY(!python->pyValue("os.sorvanMissing", "x"));
        python->pyAssign("holder", "attr", value); // an instance is no dictionary
        QVERIFY(!python->pyValue("holder", "attr"));
        python->pyAssign("sys", "argv", nullptr);
        Py_DECREF(value);
        QCOMPARE(python->errors.filter("os.sorvanMissing").size(), 2);
        QCOMPARE(python->errors.size(), 7);
        QCOMPARE(python->errors.last(), "Internal error: cannot assign sys.argv\n");
    }

    void calls()
    {
        PyObject* self = python->pyLookup("holder", false);
        QList<PyObject*> const results {
            python->pyCall("__builtins__.len", "(s)", "\xc3\xa9t\xc3\xa9"),
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
        QCOMPARE(texts.join(' '), "3 True hello there <null> <null> <null> <null> <null> <null>");
        QCOMPARE(python->errors.size(), 7);
        QString const shown = walkback();
        QVERIFY2(shown.startsWith("Traceback (most recent call last):\n")
                && shown.contains("in raiser\nRuntimeError: raised by raiser\n"),
            qPrintable(shown));

        // A missing method leaves its AttributeError for the caller.
        python->errors.clear();
        QVERIFY(!python->pyMethodCall(self, "sorvanMissing", "()"));
        QCOMPARE(python->errors.size(), 1);
        QVERIFY(PyErr_ExceptionMatches(PyExc_AttributeError));
        PyErr_Clear();
        python->errors.clear();
        python->handleException(); // nothing pending at all
        QCOMPARE(python->errors.size(), 1);
    }

    // Text of str and bytes; None and failures are null, only failures reported.
    void strings()
    {
        PyObject* objects[]
            = { python->pyr("'\\u00e9t\\u00e9'"), python->pyr("b'raw\\xff'"), python->pyr("42") };
        QCOMPARE(QByteArray(python->pyString(objects[0])), QByteArray("\xc3\xa9t\xc3\xa9"));
        QCOMPARE(QByteArray(python->pyString(objects[1])), QByteArray("raw\xff"));
        QVERIFY(!python->pyString(objects[2]));
        QVERIFY(!python->pyString(Py_None));
        QVERIFY(!python->pyString(nullptr));
        for (PyObject* object : objects)
            Py_DECREF(object);
        QCOMPARE(python->errors.size(), 2);
    }

    void expectedExceptions_data()
    {
        columns<QStringList, bool>("types", "expected");
        row("base class", QStringList("ArithmeticError"), true);
        row("second of two", QStringList({ "KeyError", "ZeroDivisionError" }), true);
        row("other type", QStringList("KeyError"), false);
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
