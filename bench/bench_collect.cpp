// What a collection costs at distribution scale, beside what dnf itself
// takes to list the same packages.
//
//   bench_collect [DIR] [--runs N]
//
// DIR is a fixture made by tools/scale/scale.py (default: "scale" beside the
// build's bench directory).  Each measurement is a fresh process: SORVAN's
// start and collection (the yum session with its interpreter, as the program
// runs it), and `dnf list --all` run through dnf's own command line with the
// same root.  Both run on a warm cache: one run of each comes first and is
// not counted.  Prints the best wall time and the peak memory of each.  The
// fixture's cache is the only thing written.
#include "app/Startup.h"
#include "widgets/HProgressBar.h"
#include "yumio/YumIO.h"
// After the interpreter's header, which must come first.
#include "BenchProcess.h"

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTimer>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{

using Bench::dnfPython;
using Bench::dnfWrapper;
using Bench::measure;
using Bench::Run;

// The child that collects, as the program does, and prints its own times.
int collectChild(int argc, char** argv)
{
    Startup::tuneMemory();
    QApplication app(argc, argv);
    QWidget window;
    HProgressBar total(&window);
    HProgressBar item(&window);
    // Nobody is there to answer: a message means the run failed.
    QStringList messages;
    QTimer closer;
    QObject::connect(&closer, &QTimer::timeout, [&] {
        if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
            messages.append(dialog->windowTitle());
            dialog->reject();
        }
    });
    closer.start(100);

    auto* io = new YumIO;
    io->setup(&window, &total, &item);
    QElapsedTimer clock;
    clock.start();
    bool ok = io->initialize();
    double const start = double(clock.nsecsElapsed()) / 1e9;
    clock.restart();
    ok = ok && io->collect({});
    double const collect = double(clock.nsecsElapsed()) / 1e9;
    int packages = 0, groups = 0;
    for (Package::Entry const* e : *io) {
        if (e->kind == Package::Group)
            ++groups;
        else
            for (Package::Entry const* i = e; i; i = i->next)
                ++packages;
    }
    std::printf("%.3f %.3f %d %d\n", start, collect, packages, groups);
    std::fflush(stdout);
    // As the program quits.
    io->leaveToProcessEnd();
    delete io;
    if (!ok || !messages.isEmpty()) {
        std::fprintf(stderr, "bench_collect: the collection failed: %s\n",
            messages.join(QLatin1String("; ")).toLocal8Bit().constData());
        return 1;
    }
    return 0;
}

double best(std::vector<double> values)
{
    return values.empty() ? 0 : *std::min_element(values.begin(), values.end());
}

long most(std::vector<long> values)
{
    return values.empty() ? 0 : *std::max_element(values.begin(), values.end());
}

} // namespace

int main(int argc, char** argv)
{
    if (argc >= 2 && std::strcmp(argv[1], "--child") == 0)
        return collectChild(argc, argv);

    QString const program = QFileInfo(QString::fromLocal8Bit(argv[0])).absoluteFilePath();
    int runs = 3;
    QString const root = Bench::useScaleRoot(argc, argv, "bench_collect", runs);
    if (root.isEmpty())
        return 2;
    QByteArray const output
        = QDir::temp().filePath(QStringLiteral("bench_collect.%1.out").arg(getpid())).toLocal8Bit();

    QStringList const sorvan { program, QStringLiteral("--child") };
    QStringList const dnf { QString::fromLatin1(dnfPython), QStringLiteral("-I"), QStringLiteral("-c"),
        QString::fromLatin1(dnfWrapper), root, QStringLiteral("--installroot=") + root,
        QStringLiteral("--noplugins"), QStringLiteral("--quiet"), QStringLiteral("list"),
        QStringLiteral("--all") };

    std::printf("Root: %s\n", root.toLocal8Bit().constData());
    std::printf("Warming the cache...\n");
    std::fflush(stdout);
    Run warm = measure(sorvan, output);
    if (warm.status != 0) {
        std::fprintf(stderr, "bench_collect: SORVAN's collection failed (status %d)\n", warm.status);
        return 1;
    }
    Run warmDnf = measure(dnf, output);
    if (warmDnf.status != 0) {
        std::fprintf(stderr, "bench_collect: dnf list --all failed (status %d)\n", warmDnf.status);
        return 1;
    }
    qsizetype const dnfLines = warmDnf.output.count('\n');

    std::vector<double> sorvanWall, sorvanStart, sorvanCollect, dnfWall;
    std::vector<long> sorvanPeak, dnfPeak;
    QByteArray counts;
    for (int i = 0; i < runs; ++i) {
        Run s = measure(sorvan, output);
        if (s.status != 0)
            return 1;
        QList<QByteArray> const fields = s.output.trimmed().split(' ');
        sorvanWall.push_back(s.wall);
        sorvanPeak.push_back(s.peakKiB);
        if (fields.size() == 4) {
            sorvanStart.push_back(fields[0].toDouble());
            sorvanCollect.push_back(fields[1].toDouble());
            counts = fields[2] + " packages and " + fields[3] + " groups";
        }
        Run d = measure(dnf, output);
        if (d.status != 0)
            return 1;
        dnfWall.push_back(d.wall);
        dnfPeak.push_back(d.peakKiB);
    }
    QFile::remove(QString::fromLocal8Bit(output));

    double load[3] = {};
    getloadavg(load, 3);
    // dnf's listing has a heading line before the installed and before the
    // available packages.
    std::printf("SORVAN collected %s; dnf listed %lld packages.\n", counts.constData(), qint64(dnfLines) - 2);
    std::printf(
        "Best of %d warm runs each (load average now %.1f %.1f %.1f):\n\n", runs, load[0], load[1], load[2]);
    std::printf("%-40s %10s %12s\n", "", "wall s", "peak MiB");
    std::printf("%-40s %10.2f %12.0f\n", "SORVAN: process (start and collection)", best(sorvanWall),
        most(sorvanPeak) / 1024.0);
    std::printf("%-40s %10.2f\n", "  start (interpreter, script, session)", best(sorvanStart));
    std::printf("%-40s %10.2f\n", "  collection", best(sorvanCollect));
    std::printf("%-40s %10.2f %12.0f\n", "dnf list --all: process", best(dnfWall), most(dnfPeak) / 1024.0);
    return 0;
}
