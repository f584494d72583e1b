#pragma once

#include <QList>

// The command line, read without a window: what each option asks, in the
// order given, for start-up to apply to the main window.
namespace CommandLine
{
struct Setting {
    enum Kind { Mode, Regexp, State, NoDuplicates, Groups, RepoEditor, Log, DisableRepo, EnableRepo };
    Kind kind;
    // The keyword's index (Mode: PackageTable::Mode, State: PackageTable::StateFilter).
    int index = 0;
    // The option's argument, pointing into argv (Regexp, DisableRepo, EnableRepo).
    char const* argument = nullptr;
};

// Reads the options of argv, appending to `settings` as they are met.
// Returns -1 to go on, otherwise the exit status, after the message on
// standard error and the usage text on standard output.
int parse(int argc, char** argv, QList<Setting>& settings);

// The usage text, on standard output.
void usage();
} // namespace CommandLine
