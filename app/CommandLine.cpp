#include "app/CommandLine.h"

#include "app/Startup.h"

#include <cstdio>
#include <cstring>
#include <getopt.h>
#include <initializer_list>

char const* program = "sorvan";

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

// Every rejection ends the same way: the usage text and status 1.
int failUsage()
{
    CommandLine::usage();
    return 1;
}
} // namespace

void CommandLine::usage()
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

int CommandLine::parse(int argc, char** argv, QList<Setting>& settings)
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
            settings.append({ Setting::Mode, mode });
            break;
        }
        case 'e':
            settings.append({ Setting::Regexp, 0, optarg });
            break;
        case 's': {
            int const state = matchKeyword(optarg, { "updatable", "installable", "removable", "all" });
            if (state < 0) {
                std::fprintf(stderr, "%s: unrecogized argument to -s/--state option: %s\n", program, optarg);
                return failUsage();
            }
            settings.append({ Setting::State, state });
            break;
        }
        case 'd':
            settings.append(Setting { Setting::NoDuplicates });
            break;
        case 'g':
            settings.append(Setting { Setting::Groups });
            break;
        case 'r':
            settings.append(Setting { Setting::RepoEditor });
            break;
        case 'l':
            settings.append(Setting { Setting::Log });
            break;
        case DisableRepo:
            settings.append({ Setting::DisableRepo, 0, optarg });
            break;
        case EnableRepo:
            settings.append({ Setting::EnableRepo, 0, optarg });
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
