// What applying costs at distribution scale, beside dnf's command line doing
// the same request.
//
//   bench_apply [DIR] [--runs N]
//
// DIR is a fixture made by tools/scale/scale.py with its apply set (default:
// "scale" beside the build's bench directory).  Its apply-request.txt names an
// application that pulls in a tree of new packages, and updates of installed
// packages; the scale-apply repository holds them as real RPMs.
//
// 1. To the confirmation: after a collection, the request is marked on the
//    entries and apply() runs until the confirmation dialog shows; it is
//    answered with Cancel.  Beside it, `dnf install --assumeno` of the same
//    request in a fresh process, which must load the metadata first.
// 2. The whole transaction: apply() confirmed, the RPM transaction, and the
//    entries collected again; beside `dnf install -y` of the same request
//    plus SORVAN's own collection time of the same run.  Every measurement
//    of this part has a fresh copy of the root, with the cache part 1 warmed.
//
// Everything runs on copies of the fixture's root, made beside it and
// removed at the end; the fixture is only read.  Each SORVAN measurement is a
// fresh process; one run of each kind comes first and is not counted.
#include "widgets/HProgressBar.h"
#include "yumio/YumIO.h"
// After the interpreter's header, which must come first.
#include "BenchProcess.h"

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QMessageBox>
#include <QProcess>
#include <QTextEdit>
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
using Bench::Run;

Run measure(QStringList const& arguments, QByteArray const& outputFile)
{
    return Bench::measure(arguments, outputFile, true);
}

struct Request {
    QString action; // "install" or "update"
    QString name;
    QString arch;
    QString nevra;
};

QList<Request> readRequest(QString const& path)
{
    QList<Request> request;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return request;
    for (QByteArray const& line : file.readAll().split('\n')) {
        QList<QByteArray> const f = line.simplified().split(' ');
        if (f.size() == 4 && !f[0].startsWith('#'))
            request.append({ QString::fromUtf8(f[0]), QString::fromUtf8(f[1]), QString::fromUtf8(f[2]),
                QString::fromUtf8(f[3]) });
    }
    return request;
}

// --- the child: one SORVAN session ------------------------------------------

// Watches for dialogs: the confirmation is timed and answered, anything else
// is a failure of the run.
class Answerer : public QObject
{
public:
    Answerer(QElapsedTimer const& clock, bool accept)
        : clock(clock)
        , accept(accept)
    {
    }

    double shownAt = -1; // seconds on the clock
    QString listing;
    QStringList others;

protected:
    bool eventFilter(QObject* object, QEvent* event) override
    {
        if (event->type() != QEvent::Show || !object->isWidgetType())
            return false;
        auto* dialog = qobject_cast<QDialog*>(object);
        if (!dialog)
            return false;
        if (dialog->inherits("ScrollableConfirmDialog")) {
            shownAt = double(clock.nsecsElapsed()) / 1e9;
            if (QTextEdit const* area = dialog->findChild<QTextEdit*>())
                listing = area->toPlainText();
            QTimer::singleShot(0, dialog, accept ? &QDialog::accept : &QDialog::reject);
        } else {
            auto* box = qobject_cast<QMessageBox*>(dialog);
            others.append(dialog->windowTitle() + QLatin1String(": ") + (box ? box->text() : QString()));
            QTimer::singleShot(0, dialog, &QDialog::reject);
        }
        return false;
    }

private:
    QElapsedTimer const& clock;
    bool accept;
};

// Marks the request on the entries; the number of entries marked.
int markRequest(YumIO& io, QList<Request> const& request)
{
    int marked = 0;
    for (Request const& r : request) {
        bool const install = r.action == QLatin1String("install");
        for (Package::Entry* e : io) {
            if (e->kind == Package::Group || e->superseded || e->name != r.name)
                continue;
            if (install && e->state == Package::Available && e->arch == r.arch) {
                e->action = Package::Install;
                ++marked;
                break;
            }
            if (!install && e->state == Package::AvailableForUpdate
                && e->repo == QLatin1String("scale-apply")) {
                e->action = Package::Update;
                ++marked;
                break;
            }
        }
    }
    return marked;
}

// What the re-collected entries still offer of the request: the application
// not installed, or an update still available.  0 when it was all applied.
int requestLeft(YumIO const& io, QList<Request> const& request)
{
    // An applied update leaves the installed package alone in its entry.
    int left = 0;
    for (Request const& r : request) {
        bool done = false;
        for (Package::Entry const* e : io)
            if (e->kind != Package::Group && e->name == r.name && e->state == Package::Installed)
                done = true;
        left += done ? 0 : 1;
    }
    return left;
}

// mode "confirm": collect, mark, apply until the confirmation, Cancel.
// mode "apply": the same, confirmed, then the transaction and a new
// collection.  Prints the times and what the listing held.
int applyChild(int argc, char** argv, bool confirm, QString const& requestFile)
{
    QApplication app(argc, argv);
    QWidget window;
    HProgressBar total(&window);
    HProgressBar item(&window);
    QElapsedTimer clock;
    Answerer answerer(clock, !confirm);
    app.installEventFilter(&answerer);
    QList<Request> const request = readRequest(requestFile);

    auto* io = new YumIO;
    io->setup(&window, &total, &item);
    bool ok = io->initialize();
    clock.start();
    ok = ok && io->collect({});
    double const collect = double(clock.nsecsElapsed()) / 1e9;
    int const marked = ok ? markRequest(*io, request) : 0;
    ok = ok && marked == request.size();

    double toConfirm = 0, toDone = 0, recollect = 0;
    int left = -1;
    if (ok) {
        clock.restart();
        bool const applied = io->apply();
        double const returned = double(clock.nsecsElapsed()) / 1e9;
        toConfirm = answerer.shownAt;
        toDone = returned - answerer.shownAt;
        ok = answerer.shownAt >= 0 && applied == !confirm && !io->lastApplyFailed();
        if (ok && !confirm) {
            clock.restart();
            io->clear();
            ok = io->collect({});
            recollect = double(clock.nsecsElapsed()) / 1e9;
            left = requestLeft(*io, request);
            ok = ok && left == 0;
        }
    }
    int const installs = int(answerer.listing.count(QLatin1String("\tInstall: ")));
    int const updates = int(answerer.listing.count(QLatin1String("\tUpdate: ")));
    std::printf("%.3f %.3f %.3f %.3f %d %d\n", collect, toConfirm, toDone, recollect, installs, updates);
    std::fflush(stdout);
    io->clearEntriesBeforeQuit();
    delete io;
    if (!ok || !answerer.others.isEmpty()) {
        std::fprintf(stderr,
            "bench_apply: the %s run failed: %d of %d marked, confirmation %s, %d left; %s\n",
            confirm ? "confirmation" : "apply", marked, int(request.size()),
            answerer.shownAt >= 0 ? "shown" : "not shown", left,
            answerer.others.join(QLatin1String("; ")).toLocal8Bit().constData());
        return 1;
    }
    return 0;
}

// --- the parent -----------------------------------------------------------------

double best(std::vector<double> values)
{
    return values.empty() ? 0 : *std::min_element(values.begin(), values.end());
}

long most(std::vector<long> values)
{
    return values.empty() ? 0 : *std::max_element(values.begin(), values.end());
}

bool copyRoot(QString const& from, QString const& to)
{
    QDir(to).removeRecursively();
    return QProcess::execute(QStringLiteral("cp"), { QStringLiteral("-a"), from, to }) == 0;
}

QStringList dnfCommand(QString const& root, QStringList const& tail)
{
    return QStringList { QString::fromLatin1(dnfPython), QStringLiteral("-I"), QStringLiteral("-c"),
        QString::fromLatin1(dnfWrapper), root, QStringLiteral("--installroot=") + root,
        QStringLiteral("--config=") + root + QLatin1String("/etc/dnf/dnf.conf"),
        QStringLiteral("--setopt=reposdir=") + root + QLatin1String("/etc/yum.repos.d"),
        QStringLiteral("--noplugins") }
    + tail;
}

// "Install  21 Packages" and "Upgrade  50 Packages" of dnf's summary.
int dnfSummaryCount(QByteArray const& output, char const* word)
{
    for (QByteArray const& line : output.split('\n')) {
        QList<QByteArray> const f = line.simplified().split(' ');
        if (f.size() == 3 && f[0] == word && f[2].startsWith("Package"))
            return f[1].toInt();
    }
    return 0;
}

struct SorvanFigures {
    double collect = 0, toConfirm = 0, toDone = 0, recollect = 0;
    int installs = 0, updates = 0;
};

bool parseChild(Run const& run, SorvanFigures& f)
{
    // The engine and Qt may print around the figures' line.
    QList<QByteArray> fields;
    for (QByteArray const& line : run.output.split('\n')) {
        QList<QByteArray> const f = line.trimmed().split(' ');
        bool number = f.size() == 6;
        if (number)
            f[0].toDouble(&number);
        if (number)
            fields = f;
    }
    if (run.status != 0 || fields.size() != 6) {
        std::fprintf(stderr, "bench_apply: SORVAN's run failed (status %d):\n%s\n", run.status,
            run.output.right(4000).constData());
        return false;
    }
    f = { fields[0].toDouble(), fields[1].toDouble(), fields[2].toDouble(), fields[3].toDouble(),
        fields[4].toInt(), fields[5].toInt() };
    return true;
}

bool dnfFailed(Run const& run, char const* what, int okStatus)
{
    if (run.status == okStatus && run.output.contains("Transaction Summary"))
        return false;
    std::fprintf(stderr, "bench_apply: dnf %s failed (status %d):\n%s\n", what, run.status,
        run.output.right(4000).constData());
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc >= 4 && std::strcmp(argv[1], "--child") == 0)
        return applyChild(argc, argv, std::strcmp(argv[2], "confirm") == 0, QString::fromLocal8Bit(argv[3]));

    QString program = QFileInfo(QString::fromLocal8Bit(argv[0])).absoluteFilePath();
    QString dir = QFileInfo(program).absolutePath() + QLatin1String("/../scale");
    int runs = 3;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--runs") == 0 && i + 1 < argc)
            runs = std::max(1, std::atoi(argv[++i]));
        else if (argv[i][0] == '-') {
            std::fprintf(stderr, "usage: bench_apply [DIR] [--runs N]\n");
            return 2;
        } else
            dir = QString::fromLocal8Bit(argv[i]);
    }
    dir = QDir::cleanPath(QDir(dir).absolutePath());
    if (QFileInfo(dir).fileName() == QLatin1String("root"))
        dir = QFileInfo(dir).absolutePath();
    QString const fixtureRoot = dir + QLatin1String("/root");
    QString const requestFile = dir + QLatin1String("/apply-request.txt");
    QList<Request> const request = readRequest(requestFile);
    if (!QFileInfo::exists(fixtureRoot + QLatin1String("/etc")) || request.isEmpty()) {
        std::fprintf(stderr,
            "bench_apply: no scale fixture with an apply set in %s\n"
            "Make one with: /usr/bin/python3 tools/scale/scale.py build %s\n",
            dir.toLocal8Bit().constData(), dir.toLocal8Bit().constData());
        return 2;
    }
    if (::geteuid() != 0) {
        std::fprintf(stderr, "bench_apply: applying needs root\n");
        return 2;
    }
    QStringList nevras;
    for (Request const& r : request)
        nevras.append(r.nevra);

    qputenv("QT_QPA_PLATFORM", "offscreen");
    // dnf's summary is read back in English.
    qputenv("LC_ALL", "C.UTF-8");
    if (qEnvironmentVariableIsEmpty("SORVANSHARE"))
        qputenv("SORVANSHARE",
            QDir::cleanPath(QFileInfo(program).absolutePath() + QLatin1String("/../share")).toLocal8Bit());
    QString const work = dir + QStringLiteral("/bench-apply.%1").arg(getpid());
    QDir().mkpath(work);
    QByteArray const output = (work + QLatin1String("/out")).toLocal8Bit();
    auto cleanUp = [&] { QDir(work).removeRecursively(); };

    QStringList const sorvanConfirm { program, QStringLiteral("--child"), QStringLiteral("confirm"),
        requestFile };
    QStringList const sorvanApply { program, QStringLiteral("--child"), QStringLiteral("apply"),
        requestFile };

    std::printf("Fixture: %s\nRequest: %lld packages named (%s ...)\n", dir.toLocal8Bit().constData(),
        qint64(request.size()), request.first().nevra.toLocal8Bit().constData());
    std::fflush(stdout);

    // Part 1, on one copy: nothing is changed there.
    QString const listRoot = work + QLatin1String("/root-confirm");
    if (!copyRoot(fixtureRoot, listRoot)) {
        cleanUp();
        return 1;
    }
    qputenv("SORVANROOT", listRoot.toLocal8Bit());
    QStringList const dnfAssumeNo = dnfCommand(
        listRoot, QStringList { QStringLiteral("install"), QStringLiteral("--assumeno") } + nevras);
    std::printf("Warming the cache...\n");
    std::fflush(stdout);
    SorvanFigures f;
    Run warm = measure(sorvanConfirm, output);
    Run warmDnf = measure(dnfAssumeNo, output);
    // --assumeno ends with "Operation aborted" and status 1.
    if (!parseChild(warm, f) || dnfFailed(warmDnf, "install --assumeno", 1)) {
        cleanUp();
        return 1;
    }
    int const dnfInstalls = dnfSummaryCount(warmDnf.output, "Install");
    int const dnfUpgrades = dnfSummaryCount(warmDnf.output, "Upgrade");
    std::printf("SORVAN lists %d installs and %d updates; dnf %d and %d.\n", f.installs, f.updates,
        dnfInstalls, dnfUpgrades);
    if (f.installs != dnfInstalls || f.updates != dnfUpgrades)
        std::printf("WARNING: the two transactions differ.\n");
    std::fflush(stdout);

    std::vector<double> confirmWall, confirmCollect, confirmTo, dnfNoWall;
    std::vector<long> confirmPeak, dnfNoPeak;
    for (int i = 0; i < runs; ++i) {
        Run s = measure(sorvanConfirm, output);
        Run d = measure(dnfAssumeNo, output);
        if (!parseChild(s, f) || dnfFailed(d, "install --assumeno", 1)) {
            cleanUp();
            return 1;
        }
        confirmWall.push_back(s.wall);
        confirmPeak.push_back(s.peakKiB);
        confirmCollect.push_back(f.collect);
        confirmTo.push_back(f.toConfirm);
        dnfNoWall.push_back(d.wall);
        dnfNoPeak.push_back(d.peakKiB);
    }
    // Part 2: a fresh copy for every run, of the first copy, whose cache is
    // warm now, as a system's is.  The first run of each warms the page cache
    // with the package files and is not counted.
    std::printf("Applying on fresh copies of the root...\n");
    std::fflush(stdout);
    QString const applyRoot = work + QLatin1String("/root-apply");
    std::vector<double> applyWall, applyCollect, applyTo, applyDone, applyRecollect, applyWhole, dnfYesWall;
    std::vector<long> applyPeak, dnfYesPeak;
    for (int i = 0; i <= runs; ++i) {
        if (!copyRoot(listRoot, applyRoot)) {
            cleanUp();
            return 1;
        }
        qputenv("SORVANROOT", applyRoot.toLocal8Bit());
        Run s = measure(sorvanApply, output);
        if (!parseChild(s, f)) {
            cleanUp();
            return 1;
        }
        if (!copyRoot(listRoot, applyRoot)) {
            cleanUp();
            return 1;
        }
        Run d = measure(
            dnfCommand(applyRoot, QStringList { QStringLiteral("install"), QStringLiteral("-y") } + nevras),
            output);
        if (dnfFailed(d, "install -y", 0)) {
            cleanUp();
            return 1;
        }
        if (i == 0)
            continue;
        applyWall.push_back(s.wall);
        applyPeak.push_back(s.peakKiB);
        applyCollect.push_back(f.collect);
        applyTo.push_back(f.toConfirm);
        applyDone.push_back(f.toDone);
        applyRecollect.push_back(f.recollect);
        applyWhole.push_back(f.toConfirm + f.toDone + f.recollect);
        dnfYesWall.push_back(d.wall);
        dnfYesPeak.push_back(d.peakKiB);
    }
    cleanUp();

    double load[3] = {};
    getloadavg(load, 3);
    std::printf(
        "Best of %d warm runs each (load average now %.1f %.1f %.1f):\n\n", runs, load[0], load[1], load[2]);
    std::printf("%-52s %10s %12s\n", "", "wall s", "peak MiB");
    std::printf("1. To the confirmation\n");
    std::printf("%-52s %10.2f\n", "  SORVAN: apply() to the confirmation dialog", best(confirmTo));
    std::printf("%-52s %10.2f %12.0f\n", "  SORVAN: process (start, collection, apply)", best(confirmWall),
        most(confirmPeak) / 1024.0);
    std::printf("%-52s %10.2f\n", "    of which the collection", best(confirmCollect));
    std::printf("%-52s %10.2f %12.0f\n", "  dnf install --assumeno: process", best(dnfNoWall),
        most(dnfNoPeak) / 1024.0);
    std::printf(
        "%-52s %10.2f   (target 0.50 or less)\n", "  ratio SORVAN / dnf", best(confirmTo) / best(dnfNoWall));
    std::printf("2. The whole transaction\n");
    std::printf("%-52s %10.2f\n", "  SORVAN: apply() to the confirmation dialog", best(applyTo));
    std::printf("%-52s %10.2f\n", "  SORVAN: confirmation to transaction done", best(applyDone));
    std::printf("%-52s %10.2f\n", "  SORVAN: collection again (clear, collect)", best(applyRecollect));
    std::printf("%-52s %10.2f %12.0f\n", "  SORVAN: apply() to collected entries", best(applyWhole),
        most(applyPeak) / 1024.0);
    std::printf("%-52s %10.2f\n", "  SORVAN: its first collection, same runs", best(applyCollect));
    std::printf(
        "%-52s %10.2f %12.0f\n", "  dnf install -y: process", best(dnfYesWall), most(dnfYesPeak) / 1024.0);
    double const anchor = best(dnfYesWall) + best(applyCollect);
    std::printf("%-52s %10.2f\n", "  dnf install -y + SORVAN's collection", anchor);
    std::printf("%-52s %10.2f   (target 1.20 or less)\n", "  ratio SORVAN / (dnf + collection)",
        best(applyWhole) / anchor);
    return 0;
}
