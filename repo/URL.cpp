#include "repo/URL.h"

QString URL::getHost(QString const& url)
{
    qsizetype const colon = url.indexOf(QLatin1Char(':'));
    if (colon < 0 || QStringView(url).mid(colon + 1, 2) != QLatin1String("//"))
        return QString();
    qsizetype const start = colon + 3;
    qsizetype const end = url.indexOf(QLatin1Char('/'), start);
    return url.mid(start, end < 0 ? -1 : end - start);
}
