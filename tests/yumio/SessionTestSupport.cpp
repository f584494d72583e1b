#include "SessionTestSupport.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
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

bool cloneRoot(QString const& destination, QString* failure)
{
    QByteArray const source = qgetenv("SORVAN_SOURCE_DIR");
    if (source.isEmpty() || qgetenv("SORVAN_BINARY_DIR").isEmpty()) {
        *failure = QStringLiteral("SORVAN_SOURCE_DIR and SORVAN_BINARY_DIR must be set");
        return false;
    }
    QProcess clone;
    clone.start(python(),
        { QStringLiteral("-I"), QStringLiteral("-B"),
            QString::fromLocal8Bit(source) + QLatin1String("/tools/sandbox/sandbox.py"),
            QStringLiteral("clone"), sandboxDir(), destination });
    if (!clone.waitForFinished(120000) || clone.exitStatus() != QProcess::NormalExit
        || clone.exitCode() != 0) {
        *failure = QStringLiteral("cloning the sandbox root failed: ")
            + QString::fromLocal8Bit(clone.readAllStandardError());
        return false;
    }
    return true;
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
