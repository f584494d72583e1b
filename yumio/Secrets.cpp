#include "yumio/Secrets.h"

#include <QRegularExpression>

namespace Secrets
{

QString masked(QString const& text)
{
    // Cheap test first: almost no text carries a URL with credentials.
    if (!text.contains(QLatin1String("/buffet")) && !text.contains(QLatin1String("/rhel/"))
        && !text.contains(QLatin1Char('@')))
        return text;
    // One per thread: the log is written from workers too.
    thread_local QRegularExpression const passwords(
        QStringLiteral("(/buffet[^?\\s]*\\?[^&\\s]*=[^&\\s]*&[^&\\s]*=)[^&\\s]*(?=&path=)"
                       "|(/rhel/[^/\\s]*=[^/\\s]*/[^/\\s]*=)[^/\\s]*(?=/)"
                       "|([A-Za-z][A-Za-z0-9+.-]*://[^/\\s@:]*:)[^/\\s@]*(?=@)"));
    QString result;
    qsizetype last = 0;
    for (auto it = passwords.globalMatch(text); it.hasNext();) {
        QRegularExpressionMatch const match = it.next();
        int group = 1;
        while (match.capturedStart(group) < 0)
            ++group;
        result += QStringView(text).mid(last, match.capturedEnd(group) - last);
        result += QLatin1String("********");
        last = match.capturedEnd(0);
    }
    result += QStringView(text).mid(last);
    return last == 0 ? text : result;
}

} // namespace Secrets
