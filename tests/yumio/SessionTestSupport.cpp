#include "SessionTestSupport.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QProcess>
#include <QTextEdit>
#include <QThread>
#include <sys/utsname.h>

namespace SessionTest
{

QString sandbox(QString const& command, QStringList const& arguments)
{
    QProcess tool;
    tool.start(python(),
        QStringList { "-I", "-B", qEnvironmentVariable("SORVAN_SOURCE_DIR") + "/tools/sandbox/sandbox.py",
            command, qEnvironmentVariable("SORVAN_BINARY_DIR") + "/sandbox" }
            + arguments);
    if (tool.waitForFinished(120000) && tool.exitStatus() == QProcess::NormalExit && tool.exitCode() == 0)
        return QString();
    return command + " failed: " + QString::fromLocal8Bit(tool.readAllStandardError());
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

void onWorker(std::function<void()> work)
{
    QEventLoop loop;
    std::unique_ptr<QThread> thread(QThread::create(std::move(work)));
    QObject::connect(thread.get(), &QThread::finished, &loop, &QEventLoop::quit);
    thread->start();
    loop.exec();
    thread->wait();
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

LockHolder::LockHolder(QString const& take, QString const& path)
{
    process.start(python(), { "-c", take + "\nprint('locked', flush=True)\nsys.stdin.read()\n", path });
    while (!process.canReadLine())
        if (!process.waitForReadyRead(30000))
            return;
    holding = true;
}

QString LockHolder::dnf(char const* builder)
{
    return QStringLiteral("import dnf.lock, sys\nlock = dnf.lock.%1(sys.argv[1], False)\nlock.__enter__()")
        .arg(QLatin1String(builder));
}

void LockHolder::release()
{
    if (process.state() == QProcess::NotRunning)
        return;
    process.closeWriteChannel();
    process.waitForFinished(30000);
    holding = false;
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
        lines.append(d.title + ": " + d.text);
    return lines.join(" | ");
}

void DialogAnswerer::look()
{
    auto* widget = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (!widget || !widget->isVisible())
        return;
    auto* box = qobject_cast<QMessageBox*>(widget);
    QTextEdit const* area = widget->findChild<QTextEdit*>();
    Dialog::Kind const kind = box && box->icon() == QMessageBox::Critical ? Dialog::Critical
        : box && box->icon() == QMessageBox::Warning                      ? Dialog::Warning
        : widget->inherits("ScrollableErrorDialog")                       ? Dialog::Scrollable
        : widget->inherits("ScrollableConfirmDialog")                     ? Dialog::Question
                                                                          : Dialog::Other;
    dialogs.append({ kind, widget->windowTitle(), box ? box->text() : area ? area->toPlainText() : "" });
    if (!box) {
        accept ? widget->accept() : widget->reject();
        return;
    }
    QAbstractButton* press = box->button(QMessageBox::Ok);
    for (QAbstractButton* button : box->buttons())
        press = !answer.isEmpty() && button->text() == answer ? button : press;
    press ? press->click() : box->reject();
}

} // namespace SessionTest
