// Every speed and memory target at distribution scale in one run, each figure
// beside its anchor measured in the same run, with the machine's load.
//
//   bench_targets [DIR] [--runs N]
//
// DIR is a fixture made by tools/scale/scale.py (default: "scale" beside the
// build's bench directory).  Each figure is the best of N fresh processes
// (default 3; peak memory: the largest):
//
// - collection, whole process (bench_collect's child: start, collection,
//   quitting as the program does), warm and cold, beside `dnf list --all`;
//   cold runs start without the root's dnf cache, for both;
// - start to filled table: the program's main window on the root, from the
//   process's start to the default view listing its rows;
// - Filter mode, first Search and its memory: bench_filter's figures.
//
// The fixture's cache is the only thing written.
#include "app/MainWindow.h"
#include "app/Startup.h"
// After the interpreter's header, which the window's brings in first.
#include "BenchProcess.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <unistd.h>

namespace
{

using Bench::measure;
using Bench::Run;

qint64 monotonicNs()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return qint64(now.tv_sec) * 1000000000 + now.tv_nsec;
}

// The program's window as it starts, until its default view lists rows.
// Prints the seconds since `spawned` (the parent's clock when it started
// this process) and the rows listed.
int windowChild(int argc, char** argv, qint64 spawned)
{
    Startup::tuneMemory();
    QApplication app(argc, argv);
    auto* window = new MainWindow;
    window->quitEndsProcess = true;
    window->show();
    QTimer poll;
    int rows = 0;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (!window->isInitialized())
            return;
        auto* view = window->findChild<QAbstractItemView*>();
        rows = view && view->model() ? view->model()->rowCount() : 0;
        if (rows > 0)
            app.quit();
    });
    poll.start(5);
    QTimer::singleShot(300000, &app, &QApplication::quit);
    app.exec();
    double const seconds = double(monotonicNs() - spawned) / 1e9;
    std::printf("%.3f %d\n", seconds, rows);
    std::fflush(stdout);
    window->quit();
    return rows > 0 ? 0 : 1;
}

double best(std::vector<double> const& values)
{
    return values.empty() ? 0 : *std::min_element(values.begin(), values.end());
}

long most(std::vector<long> const& values)
{
    return values.empty() ? 0 : *std::max_element(values.begin(), values.end());
}

void removeCache(QString const& root)
{
    QDir cache(root + QLatin1String("/var/cache/dnf"));
    cache.removeRecursively();
    QDir().mkpath(cache.path());
}

struct Row {
    char const* figure;
    double value;
    double anchor;
    char const* unit;
    char const* anchorName;
    double target; // ratio, or an absolute value when anchor is 0
};

void printRow(Row const& r)
{
    if (r.anchor > 0) {
        double const ratio = r.value / r.anchor;
        std::printf("%-48s %9.2f %-4s %9.2f %-4s %-22s %6.2fx  <= %.1fx  %s\n", r.figure, r.value, r.unit,
            r.anchor, r.unit, r.anchorName, ratio, r.target, ratio <= r.target ? "met" : "NOT met");
    } else {
        std::printf("%-48s %9.2f %-4s %9s %-4s %-22s %7s  <= %.1f%s %s\n", r.figure, r.value, r.unit, "", "",
            r.anchorName, "", r.target, r.unit, r.value <= r.target ? "met" : "NOT met");
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc >= 3 && std::strcmp(argv[1], "--window") == 0)
        return windowChild(argc, argv, std::atoll(argv[2]));

    QString const program = QFileInfo(QString::fromLocal8Bit(argv[0])).absoluteFilePath();
    QString const benchDir = QFileInfo(program).absolutePath();
    int runs = 3;
    QString const root = Bench::useScaleRoot(argc, argv, "bench_targets", runs);
    if (root.isEmpty())
        return 2;
    QByteArray const output
        = QDir::temp().filePath(QStringLiteral("bench_targets.%1.out").arg(getpid())).toLocal8Bit();

    QStringList const sorvan { benchDir + QLatin1String("/bench_collect"), QStringLiteral("--child") };
    QStringList const dnf { QString::fromLatin1(Bench::dnfPython), QStringLiteral("-I"), QStringLiteral("-c"),
        QString::fromLatin1(Bench::dnfWrapper), root, QStringLiteral("--installroot=") + root,
        QStringLiteral("--noplugins"), QStringLiteral("--quiet"), QStringLiteral("list"),
        QStringLiteral("--all") };

    std::printf("Root: %s; %d runs of each\n", qPrintable(root), runs);
    std::fflush(stdout);
    auto failed = [](char const* what, Run const& run) {
        std::fprintf(stderr, "bench_targets: %s failed (status %d)\n", what, run.status);
        return 1;
    };

    // Warm: one run of each first, not counted.
    std::vector<double> warmS, warmD, coldS, coldD, window;
    std::vector<long> peakS, peakD;
    for (int i = -1; i < runs; ++i) {
        Run s = measure(sorvan, output);
        if (s.status != 0)
            return failed("SORVAN's collection", s);
        Run d = measure(dnf, output);
        if (d.status != 0)
            return failed("dnf list --all", d);
        if (i < 0)
            continue;
        warmS.push_back(s.wall);
        warmD.push_back(d.wall);
        peakS.push_back(s.peakKiB);
        peakD.push_back(d.peakKiB);
    }
    for (int i = 0; i < runs; ++i) {
        removeCache(root);
        Run s = measure(sorvan, output);
        if (s.status != 0)
            return failed("SORVAN's cold collection", s);
        removeCache(root);
        Run d = measure(dnf, output);
        if (d.status != 0)
            return failed("cold dnf list --all", d);
        coldS.push_back(s.wall);
        coldD.push_back(d.wall);
    }
    // The cache warm again for what follows.
    measure(dnf, output);
    for (int i = 0; i < runs; ++i) {
        Run w = measure({ program, QStringLiteral("--window"), QString::number(monotonicNs()) }, output);
        if (w.status != 0)
            return failed("the main window", w);
        window.push_back(w.output.trimmed().split(' ').value(0).toDouble());
    }

    std::printf("Filter and search (bench_filter)...\n");
    std::fflush(stdout);
    Run f = measure({ benchDir + QLatin1String("/bench_filter"), root, QStringLiteral("--runs"),
                        QString::number(runs), QStringLiteral("--figures") },
        output);
    QFile::remove(QString::fromLocal8Bit(output));
    if (f.status != 0)
        return failed("bench_filter", f);
    QHash<QByteArray, double> figures;
    for (QByteArray const& line : f.output.split('\n')) {
        if (!line.startsWith("FIGURES "))
            continue;
        for (QByteArray const& pair : line.mid(8).split(' ')) {
            QList<QByteArray> const parts = pair.split('=');
            if (parts.size() == 2)
                figures.insert(parts[0], parts[1].toDouble());
        }
    }

    double load[3] = {};
    getloadavg(load, 3);
    std::printf("\nLoad average %.2f %.2f %.2f on %ld cores\n\n", load[0], load[1], load[2],
        sysconf(_SC_NPROCESSORS_ONLN));
    std::printf("%-48s %14s %14s %-22s %7s  %-6s\n", "figure", "SORVAN", "anchor", "", "ratio", "target");
    double const dnfWarm = best(warmD);
    printRow({ "Collection, whole process, warm", best(warmS), dnfWarm, "s", "dnf list --all", 0.8 });
    printRow(
        { "Collection, whole process, cold", best(coldS), best(coldD), "s", "dnf list --all, cold", 0.8 });
    printRow({ "Peak memory of the collection", most(peakS) / 1024.0, most(peakD) / 1024.0, "MiB",
        "dnf list --all", 1.3 });
    std::printf("%-48s %9.2f %-4s %9.2f %-4s %-22s %7s  <= 1.5s %s\n", "Start to filled table, default view",
        best(window), "s", dnfWarm, "s", "dnf list --all", "", best(window) <= 1.5 ? "met" : "NOT met");
    printRow({ "Filter-mode change, worst of every expression", figures.value("filterWorst"), 1, "x",
        "bare regexec", 2 });
    printRow({ "First Search, file lists and change logs", figures.value("searchFirstRatio"), 1, "x",
        "bare regexec", 5 });
    std::printf("%-48s %9.0f %-4s %9s %-4s %-22s %7s  <= 400MiB %s\n",
        "Peak memory after extra data and one search", figures.value("searchPeakMB"), "MiB", "", "", "", "",
        figures.value("searchPeakMB") <= 400 ? "met" : "NOT met");
    std::printf(
        "(the first search took %.0f ms; bench_filter prints the details)\n", figures.value("searchFirstMs"));
    return 0;
}
