// Whether a long session holds up: cycles of mark, apply and collect again
// (sv-app installed with what it needs, then removed) on one copy of the
// sandbox's root, in one process, printing the resident memory after every
// tenth cycle and, at the end, what `rpm -Va` says about the root.
//
//   bench_soak [SANDBOX] [--cycles N]
//
// SANDBOX is a directory built by tools/sandbox/sandbox.py (default: the
// build's "sandbox"); it is only read.  The root is copied into a temporary
// directory, removed at the end.  Needs root, as applying does.
#include "widgets/HProgressBar.h"
#include "yumio/YumIO.h"

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QMessageBox>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace
{

// Confirms every transaction; any other dialog is an error of the run.
class Answerer : public QObject
{
public:
    QStringList others;

protected:
    bool eventFilter(QObject* object, QEvent* event) override
    {
        auto* dialog = event->type() == QEvent::Show ? qobject_cast<QDialog*>(object) : nullptr;
        if (!dialog)
            return false;
        bool const confirm = dialog->inherits("ScrollableConfirmDialog");
        if (!confirm) {
            auto* box = qobject_cast<QMessageBox*>(dialog);
            others.append(dialog->windowTitle() + QLatin1String(": ") + (box ? box->text() : QString()));
        }
        QTimer::singleShot(0, dialog, confirm ? &QDialog::accept : &QDialog::reject);
        return false;
    }
};

double residentMiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (QByteArray const& line : status.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toDouble() / 1024;
    return 0;
}

Package::Entry* find(YumIO& io, char const* name, Package::State state)
{
    for (Package::Entry* e : io)
        if (e->kind == Package::Ordinary && e->name == QLatin1String(name) && e->state == state)
            return e;
    return nullptr;
}

// Marks name for action in the state it must be in, applies, collects
// again; false with a message when any step fails.
bool step(YumIO& io, Answerer const& answerer, char const* name, Package::State from, Package::Action action,
    Package::State to)
{
    Package::Entry* entry = find(io, name, from);
    if (!entry) {
        std::fprintf(stderr, "bench_soak: %s is not listed as expected\n", name);
        return false;
    }
    entry->action = action;
    bool const applied = io.apply() && !io.lastApplyFailed();
    io.clear();
    if (!applied || !io.collect({}) || !answerer.others.isEmpty() || !find(io, name, to)) {
        std::fprintf(stderr, "bench_soak: applying to %s failed: %s\n", name,
            answerer.others.join(QLatin1String("; ")).toLocal8Bit().constData());
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    QString sandbox = QStringLiteral(SORVAN_BINARY_DIR "/sandbox");
    int cycles = 50;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--cycles") == 0 && i + 1 < argc)
            cycles = std::max(10, std::atoi(argv[++i]));
        else if (argv[i][0] == '-') {
            std::fprintf(stderr, "usage: bench_soak [SANDBOX] [--cycles N]\n");
            return 2;
        } else
            sandbox = QString::fromLocal8Bit(argv[i]);
    }
    if (::geteuid() != 0) {
        std::fprintf(stderr, "bench_soak: applying needs root\n");
        return 2;
    }
    QTemporaryDir work;
    QString const root = work.filePath(QStringLiteral("root"));
    QProcess clone;
    clone.setStandardOutputFile(QProcess::nullDevice());
    clone.start(QStringLiteral("/usr/bin/python3"),
        { QStringLiteral("-I"), QStringLiteral("-B"),
            QStringLiteral(SORVAN_SOURCE_DIR "/tools/sandbox/sandbox.py"), QStringLiteral("clone"), sandbox,
            root });
    if (!clone.waitForFinished(-1) || clone.exitCode() != 0) {
        std::fprintf(
            stderr, "bench_soak: no sandbox root to copy in %s\n", sandbox.toLocal8Bit().constData());
        return 2;
    }
    qputenv("SORVANROOT", root.toLocal8Bit());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    if (qEnvironmentVariableIsEmpty("SORVANSHARE"))
        qputenv("SORVANSHARE", QByteArray(SORVAN_BINARY_DIR "/share"));

    QApplication app(argc, argv);
    QWidget window;
    HProgressBar total(&window);
    HProgressBar item(&window);
    Answerer answerer;
    app.installEventFilter(&answerer);
    auto* io = new YumIO;
    io->setup(&window, &total, &item);
    if (!io->initialize() || !io->collect({})) {
        std::fprintf(stderr, "bench_soak: the first collection failed\n");
        return 1;
    }
    QFile load(QStringLiteral("/proc/loadavg"));
    std::printf("Root: %s\nLoad: %s", root.toLocal8Bit().constData(),
        load.open(QIODevice::ReadOnly) ? load.readAll().constData() : "?\n");
    std::printf("After the first collection: %.1f MiB resident\n", residentMiB());
    std::fflush(stdout);

    double tenth = 0;
    double last = 0;
    QElapsedTimer clock;
    clock.start();
    for (int cycle = 1; cycle <= cycles; ++cycle) {
        if (!step(*io, answerer, "sv-app", Package::Available, Package::Install, Package::Installed)
            || !step(*io, answerer, "sv-app", Package::Installed, Package::Remove, Package::Available))
            return 1;
        if (cycle % 10 == 0) {
            last = residentMiB();
            if (cycle == 10)
                tenth = last;
            std::printf("Cycle %3d: %.1f MiB resident, %.2f s a cycle\n", cycle, last,
                double(clock.restart()) / 1e3 / 10);
            std::fflush(stdout);
        }
    }
    io->clearEntriesBeforeQuit();
    delete io;
    std::printf("Growth from cycle 10 to %d: %+.1f%% (target at most +10%%)\n", cycles,
        tenth > 0 ? (last - tenth) * 100 / tenth : 0.0);

    // The root's whole rpm database, checked: what the cycles installed and
    // removed must have left nothing behind or broken.
    QProcess verify;
    verify.setProcessChannelMode(QProcess::MergedChannels);
    QStringList arguments { QStringLiteral("--root"), root, QStringLiteral("-Va") };
    // Debian's rpm looks for the database elsewhere than the root keeps it.
    if (QFileInfo(root + QLatin1String("/usr/lib/sysimage/rpm")).isDir())
        arguments << QStringLiteral("--dbpath") << QStringLiteral("/usr/lib/sysimage/rpm");
    verify.start(QStringLiteral("rpm"), arguments);
    verify.waitForFinished(-1);
    QByteArray const said = verify.readAll();
    std::printf("rpm -Va on the root: exit status %d, %lld lines\n%s", verify.exitCode(),
        qint64(said.count('\n')), said.constData());
    return 0;
}
