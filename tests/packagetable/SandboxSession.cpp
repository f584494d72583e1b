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
    QObject::connect(&watchdog, &QTimer::timeout, [this] { closeDialogs(); });
    watchdog.start(50);
}

SandboxSession::~SandboxSession()
{
    if (yumIO) {
        yumIO->clearEntriesBeforeQuit();
        delete yumIO;
    }
    delete window;
}

void SandboxSession::closeDialogs()
{
    auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (!dialog)
        return;
    QString text = dialog->windowTitle();
    if (auto* box = qobject_cast<QMessageBox*>(dialog)) {
        text += QLatin1String(": ") + box->text();
    } else {
        for (QLabel const* label : dialog->findChildren<QLabel*>())
            text += QLatin1String(": ") + label->text();
    }
    reports.append(text);
    dialog->reject();
}

QString SandboxSession::nativeArch()
{
    struct utsname names;
    return ::uname(&names) == 0 ? QString::fromLatin1(names.machine) : QString();
}

bool SandboxSession::start()
{
    QByteArray const binary = qgetenv("SORVAN_BINARY_DIR");
    QByteArray const source = qgetenv("SORVAN_SOURCE_DIR");
    if (binary.isEmpty() || source.isEmpty() || !dir.isValid()) {
        failure = QStringLiteral(
            "SORVAN_BINARY_DIR and SORVAN_SOURCE_DIR must be set, and a temporary directory made");
        return false;
    }
    QString const root = dir.filePath(QStringLiteral("root"));
    QProcess clone;
    clone.start(QStringLiteral(SORVAN_TEST_PYTHON),
        { QStringLiteral("-I"), QStringLiteral("-B"),
            QString::fromLocal8Bit(source) + QLatin1String("/tools/sandbox/sandbox.py"),
            QStringLiteral("clone"), QString::fromLocal8Bit(binary) + QLatin1String("/sandbox"), root });
    if (!clone.waitForFinished(120000) || clone.exitStatus() != QProcess::NormalExit
        || clone.exitCode() != 0) {
        failure = QStringLiteral("cloning the sandbox root failed: ")
            + QString::fromLocal8Bit(clone.readAllStandardError());
        return false;
    }
    qputenv("SORVANROOT", root.toLocal8Bit());

    window = new QWidget;
    auto* layout = new QVBoxLayout(window);
    itemBar = new HProgressBar(window);
    totalBar = new HProgressBar(window);
    layout->addWidget(itemBar);
    layout->addWidget(totalBar);

    yumIO = new YumIO;
    yumIO->setup(window, totalBar, itemBar);
    if (!yumIO->initialize()) {
        failure = QStringLiteral("the session did not start: ") + reports.join(QLatin1String("; "));
        return false;
    }
    if (!yumIO->collect(QHash<QString, bool>())) {
        failure = QStringLiteral("the collection failed: ") + reports.join(QLatin1String("; "));
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

Package::Entry* SandboxSession::entry(QString const& name, QString const& arch, Package::Kind kind) const
{
    int const i = row(name, arch, kind);
    return i < 0 ? nullptr : (*yumIO)[i];
}
