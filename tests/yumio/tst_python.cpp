// The embedded interpreter layer, on the real system python.
#include "TestRows.h"
#include "yumio/Python.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <clocale>
#include <csignal>

namespace
{

QString const unexpected = QStringLiteral(
    "Internal error: python exception occurred from C code.\nWhen reporting this issue, please "
    "include the contents of the\nLog window, which should contain a walkback.");

// The layer as the bridge uses it, keeping its reports instead of showing them.
class Probe : public Python
{
public:
    QStringList errors;
    int expectedCount = 0;

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
        // A second object shares the interpreter, and its end keeps it.
        {
            Probe second;
            QVERIFY(second.initialize());
            second.py("sharedBySecond = 7");
        }
        QCOMPARE(text(python->pyr("sharedBySecond * 6")), "42");
    }

    // An expression's failure is reported; a statement's is printed by
    // Python itself and cleared.
    void runText()
    {
        PyObject* result = python->pyr("'\u00e9t\u00e9'.upper()");
        QCOMPARE(text(result), "\u00c9T\u00c9");
        Py_DECREF(result);
        QVERIFY(!python->pyr("1 / 0"));
        python->py("sorvanResult = 1 / 0");
        QCOMPARE(python->errors, QStringList(unexpected));
        QCOMPARE(walkback().count("ZeroDivisionError: division by zero"), 2);
        // The formatting buffer grows to any length.
        python->pyf("sorvanLong = '%s'", QByteArray(40000, 'x').constData());
        QVERIFY(isTrue("len(sorvanLong) == 40000"));
    }

    // Dotted names go through modules and dictionaries only.
    void lookup_data()
    {
        // sameAs empty: nothing found; report: the part said not to be found.
        columns<QString, bool, QString, QString>("dotted", "quiet", "sameAs", "report");
        row("built-in", "__builtins__.str", false, "str", "");
        row("imported on demand", "bdb.BdbQuit", false, "__import__('bdb').BdbQuit", "");
        row("dictionaries", "nested.a.b", false, "nested['a']['b']", "");
        row("instance attribute", "holder.attr", false, "", "attr");
        row("unimportable, quiet", "sorvan_absent.name", true, "", "");
        row("failing import, quiet", "sorvan_broken.name", true, "", "");
        row("long name", QString(3000, 'q'), false, "", QString(3000, 'q'));
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
        QCOMPARE(
            python->errors.join(""), report.isEmpty() ? "" : "Internal error: " + report + " not found\n");
    }

    // A failed call is null and reported; an exception raised in it leaves
    // its walkback.
    void calls()
    {
        PyObject* self = python->pyLookup("holder", false);
        PyObject* greeting = python->pyMethodCall(self, "greet", "(s)", "\xc3\xa9t\xc3\xa9");
        QCOMPARE(text(greeting), "hello \u00e9t\u00e9");
        Py_XDECREF(greeting);
        QVERIFY(!python->pyCall("sorvan_absent.f", "()"));
        QVERIFY(!python->pyCall("sys.hexversion", "()"));
        QVERIFY(!python->pyCall("raiser", "(s)", "raised by raiser"));
        QVERIFY(!python->pyMethodCall(nullptr, "greet", "()"));
        QVERIFY(!python->pyMethodCall(self, "attr", "()"));
        QVERIFY(!python->pyMethodCall(self, "greet", "(i,i)", 1, 2));
        QCOMPARE(python->errors.size(), 7);
        QVERIFY2(walkback().contains("in raiser\nRuntimeError: raised by raiser\n"), qPrintable(walkback()));
        // A missing method leaves its AttributeError for the caller.
        python->errors.clear();
        QVERIFY(!python->pyMethodCall(self, "sorvanMissing", "()"));
        QCOMPARE(python->errors.size(), 1);
        QVERIFY(PyErr_ExceptionMatches(PyExc_AttributeError));
        PyErr_Clear();
    }

    // Only the innermost scope counts; an expected exception stays pending
    // until its scope closes.
    void expectedExceptions_data()
    {
        columns<QString, QStringList, bool>("outer", "types", "expected");
        row("base class", "", QStringList("ArithmeticError"), true);
        row("second of two", "", QStringList({ "KeyError", "ZeroDivisionError" }), true);
        row("other type", "", QStringList("KeyError"), false);
        row("outer scope", "ZeroDivisionError", QStringList("KeyError"), false);
    }
    void expectedExceptions()
    {
        QFETCH(QString, outer);
        QFETCH(QStringList, types);
        QFETCH(bool, expected);
        auto type = [this](QString const& name) {
            return python->pyLookup(qPrintable("__builtins__." + name), false);
        };
        python->pyExceptStart();
        if (!outer.isEmpty())
            python->pyExceptExpect(type(outer));
        python->pyExceptStart();
        for (QString const& name : types)
            python->pyExceptExpect(type(name));
        PyObject* result = python->pyr("1 / 0");
        QCOMPARE(python->errors, expected ? QStringList() : QStringList(unexpected));
        QCOMPARE(python->expectedCount, expected ? 1 : 0);
        QCOMPARE(python->pyExceptMatches(result, type(types.last())), expected);
        QVERIFY(!python->pyExceptMatches(result, PyExc_TypeError));
        python->pyExceptClear();
        python->pyExceptClear();
    }
};

QTEST_GUILESS_MAIN(TestPython)
#include "tst_python.moc"
