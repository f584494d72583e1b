#pragma once

class QApplication;
class QCoreApplication;
class MainWindow;

// The program's name for diagnostics (base name of argv[0]) and its one
// application object; both written once at start-up, before anything reads them.
extern char const* program;
extern QApplication* application;

namespace Startup
{
// The whole start-up: application, style, main window, command line, event loop.
int run(int argc, char** argv);
// How the process allocates memory; first thing, before any thread starts.
void tuneMemory();

// Applies the options to the window in the order given (see CommandLine).
// Returns -1 to go on, otherwise the exit status (after the message and the
// usage text).
int parseCommandLine(int argc, char** argv, MainWindow& window);

// Installs the translations of the program's texts and of the toolkit's own
// for the user's language (LANGUAGE, LC_ALL, LC_MESSAGES, LANG); where there
// is none, or it cannot be read, the texts stay English.
void installTranslations(QCoreApplication& app);
} // namespace Startup
