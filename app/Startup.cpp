#include "app/Startup.h"

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
#include <getopt.h>
#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

char const* program = "sorvan";
QApplication* application = nullptr;

namespace
{
// The main window is never deleted by start-up; holding it here keeps it
// reachable until the process ends.
MainWindow* mainWindow = nullptr;
} // namespace

namespace
{
enum LongOnly { DisableRepo = 256, EnableRepo = 257 };

// A keyword argument may be abbreviated to any prefix, the empty one
// included; keywords are tried in order.  Returns the index or -1.
int matchKeyword(char const* argument, std::initializer_list<char const*> keywords)
{
    size_t const length = std::strlen(argument);
    int index = 0;
    for (char const* keyword : keywords) {
        if (length <= std::strlen(keyword) && std::strncmp(keyword, argument, length) == 0)
            return index;
        ++index;
    }
    return -1;
}

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

int failUsage()
{
    Startup::usage();
    return 1;
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

void Startup::usage()
{
    static char const* const lines[] = {
        "",
        "SORVAN, Quorvel, is a graphical user interface which allows a user",
        "to make modifications to the installed rpm packages on a system.",
        "",
        "options:",
        "",
        "   -h, -H, --help           display this help information",
        "   -m m,   --mode=m         start with the package table mode, m:",
        "                               filter, search",
        "   -e r,   --regexp=r       start with the package table regexp, r",
        "   -s s,   --state=s        start with the package table state, s:",
        "                               updatable, installable, removable, all",
        "   -d,     --duplicates     start with the package table omitting duplicates",
        "   -g,     --groups         start with the package table showing groups",
        "   -r,     --repo-editor    start by bringing up the repository configuration",
        "                            editor",
        "   -l,     --log            start with the log window displayed",
        "           --disablerepo=r  disable the specified repository, r",
        "           --enablerepo=r   enable the specified repository, r",
        "",
    };
    std::printf("usage: %s [options...]\n", program);
    for (char const* line : lines)
        std::printf("%s\n", line);
    std::fflush(stdout);
}

int Startup::parseCommandLine(int argc, char** argv, MainWindow& window)
{
    static option const longOptions[] = {
        { "help", no_argument, nullptr, 'h' },
        { "mode", required_argument, nullptr, 'm' },
        { "regexp", required_argument, nullptr, 'e' },
        { "state", required_argument, nullptr, 's' },
        { "duplicates", no_argument, nullptr, 'd' },
        { "groups", no_argument, nullptr, 'g' },
        { "repo-editor", no_argument, nullptr, 'r' },
        { "log", no_argument, nullptr, 'l' },
        { "disablerepo", required_argument, nullptr, DisableRepo },
        { "enablerepo", required_argument, nullptr, EnableRepo },
        { nullptr, 0, nullptr, 0 },
    };
    opterr = 0;
    optind = 0; // a full re-initialisation, in case parsing ran before
    for (;;) {
        int const c = getopt_long(argc, argv, "+hHm:e:s:grl", longOptions, nullptr);
        if (c == -1)
            break;
        switch (c) {
        case 'h':
        case 'H':
            return failUsage();
        case 'm': {
            int const mode = matchKeyword(optarg, { "filter", "search" });
            if (mode < 0) {
                std::fprintf(stderr, "%s: unrecogized argument to -m/--mode option: %s\n", program, optarg);
                return failUsage();
            }
            window.setMode(PackageTable::Mode(mode));
            break;
        }
        case 'e':
            window.setRegexp(optarg);
            break;
        case 's': {
            int const state = matchKeyword(optarg, { "updatable", "installable", "removable", "all" });
            if (state < 0) {
                std::fprintf(stderr, "%s: unrecogized argument to -s/--state option: %s\n", program, optarg);
                return failUsage();
            }
            window.setStateFilter(PackageTable::StateFilter(state));
            break;
        }
        case 'd':
            window.setDups(false);
            break;
        case 'g':
            window.setGroups(true);
            break;
        case 'r':
            window.startRepoEditor = true;
            break;
        case 'l':
            window.startLog = true;
            break;
        case DisableRepo:
            window.repoRequests.append(YumRepoEnabled(false, QString::fromLocal8Bit(optarg)));
            break;
        case EnableRepo:
            window.repoRequests.append(YumRepoEnabled(true, QString::fromLocal8Bit(optarg)));
            break;
        default:
            // A long option without a letter of its own (--enablerepo with no
            // argument) has no character to name.
            if (optopt > 0 && optopt < 256)
                std::fprintf(stderr, "%s: unrecognized option letter: %c\n", program, optopt);
            else
                std::fprintf(stderr, "%s: unrecogized option: %s\n", program, argv[optind - 1]);
            return failUsage();
        }
    }
    if (optind < argc) {
        std::fprintf(stderr, "%s: unrecognized argument: %s\n", program, argv[optind]);
        return failUsage();
    }
    return -1;
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

int Startup::run(int argc, char** argv)
{
    int const signals = quitSignals();
    terminal = ::fcntl(2, F_DUPFD_CLOEXEC, 3);
    qInstallMessageHandler(toTerminal);
    if (noDisplay() && asksForHelp(argc, argv)) {
        char const* slash = std::strrchr(argv[0], '/');
        program = slash ? slash + 1 : argv[0];
        return failUsage();
    }
    DefaultStyle defaultStyle(argc, argv);
    // The application removes the toolkit's own options (-style, -display,
    // ...) before the program parses the rest.
    QApplication app(argc, argv);
    defaultStyle.set(app, QStringLiteral("plastique"));
    QApplication::setWindowIcon(QIcon(Share::absolute(QStringLiteral("pixmaps/sorvan.icon.png"))));
    QApplication::setApplicationName(QStringLiteral("SORVAN"));
    QApplication::setApplicationVersion(QStringLiteral(SORVAN_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("sorvan"));
    installTranslations(app);

    application = &app;
    char const* slash = std::strrchr(argv[0], '/');
    program = slash ? slash + 1 : argv[0];

    // Created before the options are parsed and never deleted here: it lives
    // as long as the application, which takes the remaining windows with it.
    mainWindow = new MainWindow;
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
    return app.exec();
}
