#pragma once

// What the benchmarks share: dnf's command line on a managed root, and a
// child process measured from start to end.
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QStringList>
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
#include <vector>

extern char** environ;

namespace Bench
{

inline char const* const dnfPython = "/usr/bin/python3";

// dnf's command line, with rpm pointed at the root's database the way the
// companion script points it: Debian's rpm looks elsewhere by default, and
// every new dnf.Base reads rpm's configuration again.
inline char const* const dnfWrapper = "import os, sys, rpm\n"
                                      "root = sys.argv[1]\n"
                                      "db = None\n"
                                      "for candidate in ('/usr/lib/sysimage/rpm', '/var/lib/rpm'):\n"
                                      "    if os.path.isdir(os.path.join(root, candidate.lstrip('/'))):\n"
                                      "        db = candidate\n"
                                      "        break\n"
                                      "import dnf\n"
                                      "original = dnf.Base.__init__\n"
                                      "def init(self, *args, **kwargs):\n"
                                      "    original(self, *args, **kwargs)\n"
                                      "    if db:\n"
                                      "        rpm.addMacro('_dbpath', db)\n"
                                      "dnf.Base.__init__ = init\n"
                                      "from dnf.cli.main import user_main\n"
                                      "user_main(sys.argv[2:], exit_code=True)\n";

struct Run {
    double wall = 0; // seconds, the whole process
    long peakKiB = 0;
    int status = -1;
    QByteArray output; // what the child printed on its standard output
};

// Runs a program with its standard output (and, with `errorsToo`, its
// standard error) in a file, and measures it.
inline Run measure(QStringList const& arguments, QByteArray const& outputFile, bool errorsToo = false)
{
    std::vector<QByteArray> storage;
    std::vector<char*> argv;
    for (QString const& a : arguments)
        storage.push_back(a.toLocal8Bit());
    for (QByteArray& a : storage)
        argv.push_back(a.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, outputFile.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (errorsToo)
        posix_spawn_file_actions_adddup2(&actions, 1, 2);

    Run run;
    QElapsedTimer clock;
    clock.start();
    pid_t pid = 0;
    if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ) != 0) {
        posix_spawn_file_actions_destroy(&actions);
        std::fprintf(stderr, "bench: cannot start %s: %s\n", argv[0], std::strerror(errno));
        return run;
    }
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    struct rusage usage = {};
    while (wait4(pid, &status, 0, &usage) < 0 && errno == EINTR) { }
    run.wall = double(clock.nsecsElapsed()) / 1e9;
    run.peakKiB = usage.ru_maxrss;
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    QFile file(QString::fromLocal8Bit(outputFile));
    if (file.open(QIODevice::ReadOnly))
        run.output = file.readAll();
    return run;
}

// The managed root of the scale fixture named by the command line ([DIR]
// [--runs N], DIR by default <build>/scale), with the runs asked for, and
// the environment the program's children need to manage it; an empty root
// after saying what is wrong.
inline QString useScaleRoot(int argc, char** argv, char const* name, int& runs)
{
    QString const binDir
        = QFileInfo(QFileInfo(QString::fromLocal8Bit(argv[0])).absoluteFilePath()).absolutePath();
    QString dir = binDir + QLatin1String("/../scale");
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--runs") == 0 && i + 1 < argc) {
            runs = std::max(1, std::atoi(argv[++i]));
        } else if (argv[i][0] == '-') {
            std::fprintf(stderr, "usage: %s [DIR] [--runs N]\n", name);
            return {};
        } else {
            dir = QString::fromLocal8Bit(argv[i]);
        }
    }
    QString root = QDir(dir).absolutePath();
    if (QFileInfo::exists(root + QLatin1String("/root/etc")))
        root += QLatin1String("/root");
    if (!QFileInfo::exists(root + QLatin1String("/etc"))) {
        std::fprintf(stderr,
            "%s: no scale fixture in %s\n"
            "Make one with: /usr/bin/python3 tools/scale/scale.py build %s\n",
            name, qPrintable(dir), qPrintable(dir));
        return {};
    }
    root = QDir::cleanPath(root);
    qputenv("SORVANROOT", root.toLocal8Bit());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    if (qEnvironmentVariableIsEmpty("SORVANSHARE"))
        qputenv("SORVANSHARE", QDir::cleanPath(binDir + QLatin1String("/../share")).toLocal8Bit());
    return root;
}

} // namespace Bench
