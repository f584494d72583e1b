#pragma once

#include <QString>

namespace Secrets
{
// `text` with every password it carries in a URL replaced by asterisks: the
// second value of a buffet URL in either form (also where a downloader put a
// file name after "/buffet"), and the password of "scheme://user:password@".
// Whatever the engine reports passes through here before a log entry or a
// dialog shows it.
QString masked(QString const& text);
} // namespace Secrets
