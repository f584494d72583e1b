#include "app/Share.h"

#include <QDir>
#include <QFileInfo>
#include <cstdlib>

QString Share::installedDir(QString const& compiled, QString const& fromProgram)
{
    // /proc/self/exe names the executable itself, symbolic links resolved,
    // and needs no application object.
    QString const program = QFileInfo(QStringLiteral("/proc/self/exe")).symLinkTarget();
    if (!program.isEmpty()) {
        QString const beside
            = QDir::cleanPath(QFileInfo(program).absolutePath() + QLatin1Char('/') + fromProgram);
        if (QFileInfo(beside).isDir())
            return beside;
    }
    return compiled;
}

QString Share::absolute(QString const& relative)
{
    char const* env = std::getenv("SORVANSHARE");
    static QString const installed
        = installedDir(QStringLiteral(SORVAN_SHARE_DEFAULT), QStringLiteral(SORVAN_SHARE_FROM_BINDIR));
    QString const dir = env ? QString::fromLocal8Bit(env) : installed;
    return QStringLiteral("%1/%2").arg(dir, relative);
}

bool Share::fromEnvironment()
{
    return std::getenv("SORVANSHARE") != nullptr;
}
