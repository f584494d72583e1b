#include "app/Share.h"

#include <cstdlib>

QString Share::absolute(QString const& relative)
{
    char const* env = std::getenv("SORVANSHARE");
    QString const dir = env ? QString::fromLocal8Bit(env) : QStringLiteral(SORVAN_SHARE_DEFAULT);
    return QStringLiteral("%1/%2").arg(dir, relative);
}
