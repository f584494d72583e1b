#pragma once

#include <QString>

namespace Share
{
// Absolute path of a file of the shared-data directory: $SORVANSHARE when it
// is set (even to an empty value), else the installed directory (see
// installedDir).  Whether the file exists is not checked.
QString absolute(QString const& relative);

// Whether the directory comes from $SORVANSHARE rather than the installation.
bool fromEnvironment();

// An installed directory: `fromProgram`, taken relative to the directory of
// the running executable, when that directory exists, else `compiled`.  A
// tree installed under another prefix, or staged under DESTDIR, thus uses
// its own files rather than those of another installation, and one at the
// compiled place finds the same directory either way.
QString installedDir(QString const& compiled, QString const& fromProgram);
} // namespace Share
