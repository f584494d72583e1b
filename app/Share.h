#pragma once

#include <QString>

namespace Share
{
// Absolute path of a file of the shared-data directory: $SORVANSHARE when it
// is set (even to an empty value), else the directory compiled in.  Whether
// the file exists is not checked.
QString absolute(QString const& relative);
} // namespace Share
