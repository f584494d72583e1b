#include "SessionTestSupport.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QEventLoop>
#include <QMessageBox>
#include <QProcess>
#include <QTextEdit>
#include <QThread>
#include <sys/utsname.h>

namespace SessionTest
{

QString sandboxDir()
{
    return QString::fromLocal8Bit(qgetenv("SORVAN_BINARY_DIR")) + QLatin1String("/sandbox");
}

QString python()
{
    return QStringLiteral(SORVAN_TEST_PYTHON);
}

QString nativeArch()
{
    struct utsname names;
    return ::uname(&names) == 0 ? QString::fromLatin1(names.machine) : QString();
}

namespace
{

// Runs the sandbox tool; false with its error output in `failure`.
bool sandboxTool(QStringList const& arguments, QString* failure)
{
    QByteArray const source = qgetenv("SORVAN_SOURCE_DIR");
    if (source.isEmpty() || qgetenv("SORVAN_BINARY_DIR").isEmpty()) {
        if (failure)
            *failure = QStringLiteral("SORVAN_SOURCE_DIR and SORVAN_BINARY_DIR must be set");
        return false;
    }
    QProcess tool;
    tool.start(python(),
        QStringList { QStringLiteral("-I"), QStringLiteral("-B"),
            QString::fromLocal8Bit(source) + QLatin1String("/tools/sandbox/sandbox.py") }
            + arguments);
    if (!tool.waitForFinished(120000) || tool.exitStatus() != QProcess::NormalExit || tool.exitCode() != 0) {
        if (failure)
            *failure = arguments.value(0) + QLatin1String(" failed: ")
                + QString::fromLocal8Bit(tool.readAllStandardError());
        return false;
    }
    return true;
}

} // namespace

bool serveRoot(QString const& root, int rate, QString* failure)
{
    QStringList arguments { QStringLiteral("serve"), sandboxDir(), QStringLiteral("--root"), root };
    if (rate > 0)
        arguments << QStringLiteral("--rate") << QString::number(rate);
    return sandboxTool(arguments, failure);
}

void stopServing(QString const& root)
{
    sandboxTool({ QStringLiteral("stop"), sandboxDir(), QStringLiteral("--root"), root }, nullptr);
}

bool cloneRoot(QString const& destination, QString* failure)
{
    return sandboxTool({ QStringLiteral("clone"), sandboxDir(), destination }, failure);
}

void onWorker(std::function<void()> work)
{
    QEventLoop loop;
    QThread* thread = QThread::create(std::move(work));
    QObject::connect(thread, &QThread::finished, &loop, &QEventLoop::quit);
    thread->start();
    loop.exec();
    thread->wait();
    delete thread;
}

QList<Log::Entry> logged(YumIO* io, qsizetype from)
{
    QMutexLocker locker(&io->logEntries().mutex);
    return io->logEntries().entries.mid(from);
}

bool pyRun(QString const& code)
{
    PyGILState_STATE const state = PyGILState_Ensure();
    int const result = PyRun_SimpleString(code.toUtf8().constData());
    PyGILState_Release(state);
    return result == 0;
}

QString pyEval(QString const& expression)
{
    PyGILState_STATE const state = PyGILState_Ensure();
    QString text;
    PyObject* main = PyImport_AddModule("__main__");
    PyObject* globals = main ? PyModule_GetDict(main) : nullptr;
    PyObject* value
        = globals ? PyRun_String(expression.toUtf8().constData(), Py_eval_input, globals, globals) : nullptr;
    PyObject* string = value ? PyObject_Str(value) : nullptr;
    if (string)
        text = QString::fromUtf8(PyUnicode_AsUTF8(string));
    Py_XDECREF(string);
    Py_XDECREF(value);
    PyErr_Clear();
    PyGILState_Release(state);
    return text;
}

DialogAnswerer::DialogAnswerer()
{
    connect(&timer, &QTimer::timeout, this, &DialogAnswerer::look);
    timer.start(20);
}

QString DialogAnswerer::summary() const
{
    QStringList lines;
    for (Dialog const& d : dialogs)
        lines.append(d.title + QLatin1String(": ") + d.text);
    return lines.join(QLatin1String(" | "));
}

void DialogAnswerer::look()
{
    auto* widget = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (!widget || !widget->isVisible())
        return;
    Dialog dialog;
    dialog.title = widget->windowTitle();
    if (auto* box = qobject_cast<QMessageBox*>(widget)) {
        dialog.kind = box->icon() == QMessageBox::Critical ? Dialog::Critical
            : box->icon() == QMessageBox::Warning          ? Dialog::Warning
                                                           : Dialog::Other;
        dialog.text = box->text();
        dialogs.append(dialog);
        QAbstractButton* press = box->button(QMessageBox::Ok);
        for (QAbstractButton* button : box->buttons())
            if (!answer.isEmpty() && button->text() == answer)
                press = button;
        if (!press)
            press = box->buttons().value(0);
        if (press)
            press->click();
        else
            box->reject();
        return;
    }
    QTextEdit const* area = widget->findChild<QTextEdit*>();
    dialog.text = area ? area->toPlainText() : QString();
    dialog.kind = widget->inherits("ScrollableErrorDialog") ? Dialog::Scrollable
        : widget->inherits("ScrollableConfirmDialog")       ? Dialog::Question
                                                            : Dialog::Other;
    dialogs.append(dialog);
    if (accept)
        widget->accept();
    else
        widget->reject();
}

} // namespace SessionTest
