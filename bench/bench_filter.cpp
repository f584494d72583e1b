// How long the package table takes to answer the filter bar on a
// distribution-sized root, beside the bare cost of the matching itself.
//
//   bench_filter ROOT [--runs N] [--no-search] [--figures]
//
// ROOT is a managed root, such as the one tools/scale/scale.py makes (DIR/root).
// The program collects it, puts the table (model, proxy, view) on an offscreen
// screen listing every entry, and measures:
//
// - Filter mode: the time from an expression change to the re-filtered,
//   re-sorted table (events processed, so the view has caught up), beside the
//   floor: POSIX regexec of the same expression over the same joined lines,
//   prepared beforehand, in the same run.  Target: within 2 times the floor.
// - Search mode, with file lists and change logs loaded: a pass over every
//   entry with an expression that matches nothing (every field of every
//   entry is read and matched), beside the floor: regexec over the same
//   fields' texts, fetched beforehand.  The first search reads the fields
//   from the engine; later ones match what the table kept of them.  Target:
//   within 5 times that floor.  Where the fields' reading goes is printed.
//
// Times are the best of N runs (default 3), in milliseconds; the machine's
// load moves them, the ratios within a run much less.  With --figures a last
// line "FIGURES name=value ..." gives the targets' figures to bench_targets.

#include "app/Startup.h"
#include "packagetable/PackageTableModel.h"
#include "packagetable/PackageTableSortFilterProxyModel.h"
#include "packagetable/PackageTableView.h"
#include "widgets/HProgressBar.h"
#include "yumio/YumIO.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QHeaderView>
#include <QScreen>
#include <QVBoxLayout>
#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <regex.h>
#include <sys/resource.h>

using namespace PackageTable;

namespace
{

// What bench_targets reads: the worst Filter-mode ratio of every change, the
// first search's ratio and time, and the peak memory right after it.
struct Figures {
    double filterWorst = 0;
    double searchFirstRatio = 0;
    double searchFirstMs = 0;
    double searchPeakMB = 0;
} figures;

double ms(qint64 ns)
{
    return double(ns) / 1e6;
}

// The process's peak resident memory.
double peakMB()
{
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_maxrss) / 1024.0;
}

// The bare matching: every text of every entry, stopping at an entry's first
// match as the table does.  Returns the number of entries matched and sets
// `ns` to the time taken.
int floorPass(QString const& expression, QList<QList<QByteArray>> const& texts, qint64& ns)
{
    QByteArray const pattern = SortFilterProxyModel::stripWildcards(expression).toUtf8();
    regex_t regex;
    if (regcomp(&regex, pattern.constData(), REG_EXTENDED | REG_NOSUB) != 0) {
        std::fprintf(stderr, "bench_filter: %s does not compile\n", pattern.constData());
        std::exit(2);
    }
    int matched = 0;
    QElapsedTimer timer;
    timer.start();
    for (QList<QByteArray> const& entry : texts) {
        for (QByteArray const& text : entry) {
            if (regexec(&regex, text.constData(), 0, nullptr, 0) == 0) {
                ++matched;
                break;
            }
        }
    }
    ns = timer.nsecsElapsed();
    regfree(&regex);
    return matched;
}

// The fields Search mode reads, in its order, each with what reading it cost
// over the whole table.
struct Field {
    char const* name;
    std::function<QStringList(YumIO&, Package::Entry const&)> read;
    qint64 ns = 0;
};

QList<Field> packageFields()
{
    auto text = [](QString (YumIO::*get)(Package::Entry const&)) {
        return [get](YumIO& s, Package::Entry const& e) { return QStringList { (s.*get)(e) }; };
    };
    auto stored = [](QString (YumIO::*get)(Package::Entry const&) const) {
        return [get](YumIO& s, Package::Entry const& e) { return QStringList { (s.*get)(e) }; };
    };
    auto list = [](QStringList (YumIO::*get)(Package::Entry const&)) {
        return [get](YumIO& s, Package::Entry const& e) { return (s.*get)(e); };
    };
    return {
        { "name", stored(&YumIO::getName) },
        { "version", stored(&YumIO::getVerRel) },
        { "repository", stored(&YumIO::getRepo) },
        { "architecture", stored(&YumIO::getArch) },
        { "size", stored(&YumIO::getSize) },
        { "summary", stored(&YumIO::getSummary) },
        { "description", text(&YumIO::getDescription) },
        { "group", text(&YumIO::getGroup) },
        { "vendor", text(&YumIO::getVendor) },
        { "build time", stored(&YumIO::getBuildTime) },
        { "install time", text(&YumIO::getInstallTime) },
        { "binary rpm", text(&YumIO::getBinaryRpm) },
        { "source rpm", text(&YumIO::getSourceRpm) },
        { "license", text(&YumIO::getLicense) },
        { "packager", text(&YumIO::getPackager) },
        { "url", text(&YumIO::getUrl) },
        { "relocations", list(&YumIO::getRelocations) },
        { "provides", list(&YumIO::getProvides) },
        { "requires", list(&YumIO::getRequires) },
        { "conflicts", list(&YumIO::getConflicts) },
        { "obsoletes", list(&YumIO::getObsoletes) },
        { "files", list(&YumIO::getFiles) },
        { "change log", text(&YumIO::getChangeLog) },
    };
}

QList<Field> groupFields()
{
    auto list = [](QStringList (YumIO::*get)(Package::Entry const&)) {
        return [get](YumIO& s, Package::Entry const& e) { return (s.*get)(e); };
    };
    return {
        { "group name", [](YumIO& s, Package::Entry const& e) { return QStringList { s.getName(e) }; } },
        { "required groups", list(&YumIO::getRequiredGroups) },
        { "default meta-packages", list(&YumIO::getDefaultMetaPkgs) },
        { "optional meta-packages", list(&YumIO::getOptionalMetaPkgs) },
        { "mandatory packages", list(&YumIO::getMandatoryPkgs) },
        { "default packages", list(&YumIO::getDefaultPkgs) },
        { "optional packages", list(&YumIO::getOptionalPkgs) },
        { "conditional packages", list(&YumIO::getConditionalPkgs) },
    };
}

QList<QByteArray> searchTexts(YumIO& session, Package::Entry const& entry, QList<Field>& fields)
{
    QList<QByteArray> bytes;
    QElapsedTimer timer;
    for (Field& field : fields) {
        timer.start();
        QStringList const texts = field.read(session, entry);
        field.ns += timer.nsecsElapsed();
        for (QString const& text : texts)
            bytes.append(text.toUtf8());
    }
    return bytes;
}

struct Table {
    Model* model;
    SortFilterProxyModel* proxy;
    View* view;
};

// Sets the expression and waits for the table to catch up: the proxy has
// decided and sorted every row, and the view has laid out and painted.
qint64 change(Table const& table, QString const& expression)
{
    QElapsedTimer timer;
    timer.start();
    table.proxy->setFilterRegExp(expression);
    table.proxy->rowCount();
    QCoreApplication::processEvents();
    return timer.nsecsElapsed();
}

// Search mode with the extra data loaded, beside regexec over the texts of
// every field, read beforehand.
bool searchMode(YumIO& session, Table const& table, int runs)
{
    // As the main window does before a search.
    QElapsedTimer timer;
    timer.start();
    table.proxy->setFilter(false);
    bool const loaded = session.collectFileLists() && session.collectOtherData();
    table.proxy->setFilter(true);
    qint64 const loadNs = timer.nsecsElapsed();
    if (!loaded)
        return false;
    std::printf("\nSearch mode: file lists and change logs loaded in %.0f ms\n", ms(loadNs));

    // The first search reads every field of every entry from the engine;
    // later ones match what it kept.
    change(table, QStringLiteral(".*"));
    table.proxy->setMode(Search);
    QCoreApplication::processEvents();
    QString const nothing = QStringLiteral("no such text anywhere");
    qint64 const firstNs = change(table, nothing);
    figures.searchFirstMs = ms(firstNs);
    figures.searchPeakMB = peakMB();
    std::printf("  first search, reading every field: %.0f ms; peak memory %.0f MB\n", ms(firstNs), peakMB());

    QList<QList<QByteArray>> fields;
    fields.reserve(session.count());
    qsizetype textCount = 0;
    qsizetype bytes = 0;
    QList<Field> packageReads = packageFields();
    QList<Field> groupReads = groupFields();
    QList<Package::Entry const*> entries;
    for (Package::Entry const* e : session)
        entries.append(e);
    timer.restart();
    for (Package::Entry const* e : session.readingOrder(entries)) {
        fields.append(searchTexts(session, *e, e->kind == Package::Group ? groupReads : packageReads));
        textCount += fields.last().size();
        for (QByteArray const& text : std::as_const(fields.last()))
            bytes += text.size();
    }
    qint64 const fetchNs = timer.nsecsElapsed();
    std::printf("  the same fields read again for the floor, in reading order: %.0f ms, %lld texts, %.1f MB; "
                "the costliest:\n",
        ms(fetchNs), qlonglong(textCount), double(bytes) / 1e6);
    QList<Field> reads = packageReads + groupReads;
    std::sort(reads.begin(), reads.end(), [](Field const& a, Field const& b) { return a.ns > b.ns; });
    for (qsizetype i = 0; i < std::min<qsizetype>(6, reads.size()); ++i)
        std::printf("    %-24s %8.0f ms\n", reads[i].name, ms(reads[i].ns));

    qint64 best = LLONG_MAX;
    qint64 bestFloor = LLONG_MAX;
    int listed = 0;
    int floorListed = 0;
    for (int run = 0; run < runs; ++run) {
        change(table, QStringLiteral(".*"));
        best = std::min(best, change(table, nothing));
        listed = table.proxy->rowCount();
        qint64 floorNs;
        floorListed = floorPass(nothing, fields, floorNs);
        bestFloor = std::min(bestFloor, floorNs);
    }
    if (floorListed != listed)
        std::fprintf(stderr, "bench_filter: the search lists %d rows, the floor %d\n", listed, floorListed);
    std::printf(
        "  %-34s %8s %12s %10s %7s\n", "pass (best of runs)", "listed", "table ms", "floor ms", "ratio");
    figures.searchFirstRatio = double(firstNs) / double(bestFloor);
    std::printf("  %-34s %8d %12.1f %10.1f %6.2fx\n", "first search", listed, ms(firstNs), ms(bestFloor),
        double(firstNs) / double(bestFloor));
    std::printf("  %-34s %8d %12.1f %10.1f %6.2fx (target: 5x)\n", "later searches", listed, ms(best),
        ms(bestFloor), double(best) / double(bestFloor));
    std::printf("  peak memory %.0f MB\n", peakMB());
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    Startup::tuneMemory();
    qputenv(
        "QT_QPA_PLATFORM", qgetenv("QT_QPA_PLATFORM").isEmpty() ? "offscreen" : qgetenv("QT_QPA_PLATFORM"));
    QApplication app(argc, argv);

    QStringList arguments = app.arguments().mid(1);
    int runs = 3;
    bool const search = !arguments.removeOne(QStringLiteral("--no-search"));
    bool const printFigures = arguments.removeOne(QStringLiteral("--figures"));
    if (int const at = arguments.indexOf(QStringLiteral("--runs")); at >= 0 && at + 1 < arguments.size()) {
        runs = std::max(1, arguments[at + 1].toInt());
        arguments.remove(at, 2);
    }
    if (arguments.size() != 1 || !QFileInfo(arguments[0]).isDir()) {
        std::fprintf(stderr,
            "usage: bench_filter ROOT [--runs N] [--no-search] [--figures]\n  ROOT: a managed root, such as DIR/root of "
            "tools/scale/scale.py build DIR\n");
        return 2;
    }
    qputenv("SORVANROOT", QFileInfo(arguments[0]).absoluteFilePath().toLocal8Bit());
    // The shared data assembled beside the benchmark in the build tree.
    if (qgetenv("SORVANSHARE").isEmpty())
        qputenv("SORVANSHARE",
            QDir(app.applicationDirPath() + QLatin1String("/../share")).absolutePath().toLocal8Bit());

    QWidget window;
    auto* layout = new QVBoxLayout(&window);
    auto* itemBar = new HProgressBar(&window);
    auto* totalBar = new HProgressBar(&window);

    YumIO session;
    session.setup(&window, totalBar, itemBar);
    if (!session.initialize())
        return 1;
    QElapsedTimer timer;
    timer.start();
    if (!session.collect(QHash<QString, bool>()))
        return 1;
    qint64 const collectNs = timer.nsecsElapsed();

    // The whole table, as "View All" with duplicates and groups shows it.
    Table table;
    table.model = new Model(&session, &window);
    table.proxy = new SortFilterProxyModel(All, true, true, &session, &window);
    table.proxy->setSourceModel(table.model);
    table.view = new View(table.model, table.proxy, &window);
    layout->addWidget(table.view);
    layout->addWidget(itemBar);
    layout->addWidget(totalBar);
    window.resize(1000, 700);
    window.show();
    QCoreApplication::processEvents();
    qint64 const firstNs = change(table, QStringLiteral(".*"));

    timer.restart();
    table.view->resizeColumnsToContents();
    qint64 const resizeNs = timer.nsecsElapsed();

    int const entries = table.model->rowCount();
    std::printf("entries: %d (collected in %.0f ms; first listing %.0f ms; columns sized to every entry in "
                "%.0f ms)\n",
        entries, ms(collectNs), ms(firstNs), ms(resizeNs));

    // --- Filter mode ----------------------------------------------------------
    QList<QList<QByteArray>> lines;
    lines.reserve(entries);
    for (Package::Entry const* e : session) {
        QString line;
        for (int column = NameColumn; column <= BuildTimeColumn; ++column) {
            if (!line.isEmpty())
                line += QLatin1Char(' ');
            line += table.model->text(*e, column);
        }
        lines.append({ line.toUtf8() });
    }

    struct Change {
        char const* from;
        char const* to;
    };
    Change const changes[] = {
        { ".*", "python3-" }, // narrows to a few thousand
        { "python3-", ".*" }, // every row back, in sorted place
        { ".*", "lib.*-devel" }, // narrows, with a wildcard inside
        { ".*", "x86_64 [0-9.]+Mb" }, // across two of the joined texts
        { ".*", "no-such-package-name" }, // nothing listed
    };
    std::printf("\nFilter mode, sorted by %s (%d runs, best):\n",
        qPrintable(
            table.model->headerData(table.view->horizontalHeader()->sortIndicatorSection(), Qt::Horizontal)
                .toString()),
        runs);
    std::printf("  %-34s %8s %12s %10s %7s\n", "change", "listed", "table ms", "floor ms", "ratio");
    double worst = 0;
    for (Change const& c : changes) {
        qint64 best = LLONG_MAX;
        qint64 bestFloor = LLONG_MAX;
        int listed = 0;
        int floorListed = 0;
        for (int run = 0; run < runs; ++run) {
            change(table, QString::fromLatin1(c.from));
            best = std::min(best, change(table, QString::fromLatin1(c.to)));
            listed = table.proxy->rowCount();
            qint64 floorNs;
            floorListed = floorPass(QString::fromLatin1(c.to), lines, floorNs);
            bestFloor = std::min(bestFloor, floorNs);
        }
        if (floorListed != listed)
            std::fprintf(stderr, "bench_filter: %s lists %d rows, the floor %d\n", c.to, listed, floorListed);
        double const ratio = double(best) / double(bestFloor);
        figures.filterWorst = std::max(figures.filterWorst, ratio);
        // Every row back matches nothing at all: its floor is empty, and what
        // it costs is the sort.
        if (!SortFilterProxyModel::stripWildcards(QString::fromLatin1(c.to)).isEmpty())
            worst = std::max(worst, ratio);
        QByteArray const label = QByteArray("\"") + c.from + "\" -> \"" + c.to + "\"";
        std::printf(
            "  %-34s %8d %12.1f %10.1f %6.2fx\n", label.constData(), listed, ms(best), ms(bestFloor), ratio);
    }
    std::printf("  worst ratio of the expressions that match: %.2fx (target: 2x); peak memory %.0f MB\n",
        worst, peakMB());

    bool const searched = !search || searchMode(session, table, runs);
    if (printFigures)
        std::printf("FIGURES filterWorst=%.3f searchFirstRatio=%.3f searchFirstMs=%.1f searchPeakMB=%.1f\n",
            figures.filterWorst, figures.searchFirstRatio, figures.searchFirstMs, figures.searchPeakMB);

    // The table goes before the session it reads.
    delete table.view;
    delete table.proxy;
    delete table.model;
    session.clearEntriesBeforeQuit();
    return searched ? 0 : 1;
}
