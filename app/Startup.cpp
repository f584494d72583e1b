#include "app/Startup.h"

#include "app/CommandLine.h"
#include "app/DefaultStyle.h"
#include "app/MainWindow.h"
#include "app/Share.h"
#include "repo/YumRepoEnabled.h"

#include <QApplication>
#include <QIcon>
#include <QLibraryInfo>
#include <QLocale>
#include <QSocketNotifier>
#include <QTranslator>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <malloc.h>
#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

QApplication* application = nullptr;

namespace
{
// The main window is never deleted by start-up; holding it here keeps it
// reachable until the process ends.
MainWindow* mainWindow = nullptr;
} // namespace

namespace
{
// SIGINT, SIGTERM, SIGHUP and SIGQUIT ask the window to quit like its close
// button does: once no operation runs, so that a transaction is never cut.
// They are blocked in every thread (the mask is set before any thread starts
// and threads inherit it) and read from a descriptor on the GUI thread; rpm,
// which ends the process on such a signal between two packages, never sees
// them.
int quitSignals()
{
    sigset_t set;
    sigemptyset(&set);
    for (int signal : { SIGINT, SIGTERM, SIGHUP, SIGQUIT })
        sigaddset(&set, signal);
    if (pthread_sigmask(SIG_BLOCK, &set, nullptr) != 0)
        return -1;
    return ::signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC);
}

// Qt's own warnings go to the terminal the program started on, never into
// the log: while rpm runs, descriptor 2 is captured as the engine's errors.
int terminal = -1;

void toTerminal(QtMsgType type, QMessageLogContext const& context, QString const& message)
{
    QByteArray const line = qFormatLogMessage(type, context, message).toLocal8Bit() + '\n';
    if (terminal >= 0 && ::write(terminal, line.constData(), size_t(line.size())) < 0) { }
    if (type == QtFatalMsg)
        std::abort();
}

// Whether the command line asks for help before anything that ends the
// options; the arguments of -m, -e and -s are skipped, so "-e --help" is a
// regular expression.
bool asksForHelp(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        QByteArray const arg(argv[i]);
        if (arg == "--")
            return false;
        if (arg == "-m" || arg == "-e" || arg == "-s")
            ++i;
        else if (arg == "-h" || arg == "-H" || (arg.size() >= 4 && QByteArray("--help").startsWith(arg)))
            return true;
    }
    return false;
}

// Without any display the toolkit cannot start, and help needs none.
bool noDisplay()
{
    return qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY")
        && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}
} // namespace

int Startup::parseCommandLine(int argc, char** argv, MainWindow& window)
{
    QList<CommandLine::Setting> settings;
    int const status = CommandLine::parse(argc, argv, settings);
    for (CommandLine::Setting const& setting : std::as_const(settings)) {
        switch (setting.kind) {
        case CommandLine::Setting::Mode:
            window.setMode(PackageTable::Mode(setting.index));
            break;
        case CommandLine::Setting::Regexp:
            window.setRegexp(setting.argument);
            break;
        case CommandLine::Setting::State:
            window.setStateFilter(PackageTable::StateFilter(setting.index));
            break;
        case CommandLine::Setting::NoDuplicates:
            window.setDups(false);
            break;
        case CommandLine::Setting::Groups:
            window.setGroups(true);
            break;
        case CommandLine::Setting::RepoEditor:
            window.startRepoEditor = true;
            break;
        case CommandLine::Setting::Log:
            window.startLog = true;
            break;
        case CommandLine::Setting::DisableRepo:
        case CommandLine::Setting::EnableRepo:
            window.repoRequests.append(YumRepoEnabled(
                setting.kind == CommandLine::Setting::EnableRepo, QString::fromLocal8Bit(setting.argument)));
            break;
        }
    }
    return status;
}

void Startup::installTranslations(QCoreApplication& app)
{
    QLocale const locale;
    // Looked up last-installed first: the program's own catalogue goes on top.
    std::pair<QString, QString> const catalogues[] = {
        { QStringLiteral("qtbase"), QLibraryInfo::path(QLibraryInfo::TranslationsPath) },
        { QStringLiteral("sorvan"), Share::absolute(QStringLiteral("translations")) },
    };
    for (auto const& [name, directory] : catalogues) {
        auto* translator = new QTranslator(&app);
        if (translator->load(locale, name, QStringLiteral("_"), directory))
            app.installTranslator(translator);
        else
            delete translator;
    }
}

void Startup::tuneMemory()
{
    // The collection runs on a worker thread: in an arena of its own, glibc
    // grows the heap a page at a time, with a system call each, ten thousand
    // times for a distribution's packages.  One arena for every thread.
    mallopt(M_ARENA_MAX, 1);
}

int Startup::run(int argc, char** argv)
{
    tuneMemory();
    int const signals = quitSignals();
    terminal = ::fcntl(2, F_DUPFD_CLOEXEC, 3);
    qInstallMessageHandler(toTerminal);
    if (noDisplay() && asksForHelp(argc, argv)) {
        char const* slash = std::strrchr(argv[0], '/');
        program = slash ? slash + 1 : argv[0];
        CommandLine::usage();
        return 1;
    }
    DefaultStyle defaultStyle(argc, argv);
    // The application removes the toolkit's own options (-style, -display,
    // ...) before the program parses the rest.
    QApplication app(argc, argv);
    defaultStyle.set(app, QStringLiteral("plastique"));
    QApplication::setWindowIcon(QIcon(Share::absolute(QStringLiteral("pixmaps/sorvan.icon.png"))));
    QApplication::setApplicationName(QStringLiteral("SORVAN"));
    QApplication::setApplicationVersion(QStringLiteral(SORVAN_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("io.github.sorvan.Sorvan"));
    installTranslations(app);

    application = &app;
    char const* slash = std::strrchr(argv[0], '/');
    program = slash ? slash + 1 : argv[0];

    // Created before the options are parsed and never deleted here: it lives
    // as long as the application, which takes the remaining windows with it.
    mainWindow = new MainWindow;
    mainWindow->quitEndsProcess = true;
    int const status = parseCommandLine(argc, argv, *mainWindow);
    if (status >= 0)
        return status;
    if (signals >= 0) {
        auto* notifier = new QSocketNotifier(signals, QSocketNotifier::Read, mainWindow);
        QObject::connect(notifier, &QSocketNotifier::activated, mainWindow, [signals] {
            signalfd_siginfo info;
            while (::read(signals, &info, sizeof info) == ssize_t(sizeof info))
                mainWindow->requestQuit(false);
        });
    }
    mainWindow->show();
    int const ended = app.exec();
    return ended == 0 && mainWindow->hasStartFailed() ? 1 : ended;
}
