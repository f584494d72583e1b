#include "SandboxSession.h"

#include "widgets/HProgressBar.h"

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QMessageBox>
#include <QProcess>
#include <QVBoxLayout>
#include <sys/utsname.h>

SandboxSession::SandboxSession()
{
    QObject::connect(&watchdog, &QTimer::timeout, [this] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        QString text = dialog->windowTitle();
        if (auto* box = qobject_cast<QMessageBox*>(dialog))
            text += QLatin1String(": ") + box->text();
        for (QLabel const* label : dialog->findChildren<QLabel*>())
            text += QLatin1String(": ") + label->text();
        reports.append(text);
        dialog->reject();
    });
    watchdog.start(50);
}

SandboxSession::~SandboxSession()
{
    if (yumIO)
        yumIO->clearEntriesBeforeQuit();
    delete yumIO;
    delete window;
}

QString SandboxSession::nativeArch()
{
    struct utsname names;
    return ::uname(&names) == 0 ? QString::fromLatin1(names.machine) : QString();
}

bool SandboxSession::start()
{
    QString const binary = qEnvironmentVariable("SORVAN_BINARY_DIR");
    QString const source = qEnvironmentVariable("SORVAN_SOURCE_DIR");
    QString const root = dir.filePath(QStringLiteral("root"));
    QProcess clone;
    clone.start(QStringLiteral(SORVAN_TEST_PYTHON),
        { QStringLiteral("-I"), QStringLiteral("-B"), source + QLatin1String("/tools/sandbox/sandbox.py"),
            QStringLiteral("clone"), binary + QLatin1String("/sandbox"), root });
    if (binary.isEmpty() || source.isEmpty() || !dir.isValid() || !clone.waitForFinished(120000)
        || clone.exitStatus() != QProcess::NormalExit || clone.exitCode() != 0) {
        failure = QLatin1String("cloning the sandbox root failed: ")
            + QString::fromLocal8Bit(clone.readAllStandardError());
        return false;
    }
    qputenv("SORVANROOT", root.toLocal8Bit());

    window = new QWidget;
    auto* layout = new QVBoxLayout(window);
    auto* itemBar = new HProgressBar(window);
    auto* totalBar = new HProgressBar(window);
    layout->addWidget(itemBar);
    layout->addWidget(totalBar);
    yumIO = new YumIO;
    yumIO->setup(window, totalBar, itemBar);
    if (!yumIO->initialize() || !yumIO->collect(QHash<QString, bool>())) {
        failure = QLatin1String("the session did not start or collect: ") + reports.join(QLatin1String("; "));
        return false;
    }
    return true;
}

int SandboxSession::row(QString const& name, QString const& arch, Package::Kind kind) const
{
    for (int i = 0; i < yumIO->count(); ++i) {
        Package::Entry const* e = (*yumIO)[i];
        if (e->name == name && e->kind == kind && (arch.isEmpty() || e->arch == arch))
            return i;
    }
    return -1;
}
