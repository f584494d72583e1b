#include "repo/ManagedRoot.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <climits>
#include <cstdlib>
#include <unistd.h>

namespace Repo::ManagedRoot
{

QString path()
{
    QString const root = QString::fromLocal8Bit(qgetenv("SORVANROOT"));
    if (root.isEmpty())
        return QStringLiteral("/");
    return QDir::cleanPath(QDir(root).absolutePath());
}

QString under(QString const& systemPath)
{
    QString clean = QDir::cleanPath(systemPath);
    if (!clean.startsWith(QLatin1Char('/')))
        return clean;
    // "/.." is "/" in the managed system as on any other; without this the
    // path would climb out of the root.
    while (clean == QLatin1String("/..") || clean.startsWith(QLatin1String("/../")))
        clean = clean.mid(3).isEmpty() ? QStringLiteral("/") : clean.mid(3);
    QString const root = path();
    if (clean == QLatin1String("/"))
        return root;
    if (root == QLatin1String("/") || clean == root || clean.startsWith(root + QLatin1Char('/')))
        return clean;
    return root + clean;
}

QString resolve(QString const& hostPath)
{
    // The kernel gives up after 40 links; so do we, and the open of what is
    // left then fails with ELOOP as it should.
    QString current = hostPath;
    for (int hops = 0; hops < 40; ++hops) {
        char target[PATH_MAX];
        ssize_t const length = ::readlink(QFile::encodeName(current).constData(), target, sizeof target);
        if (length < 0 || length >= ssize_t(sizeof target))
            break;
        QString const link = QFile::decodeName(QByteArray(target, int(length)));
        if (link.startsWith(QLatin1Char('/')))
            current = under(link);
        else
            current = QDir::cleanPath(QFileInfo(current).path() + QLatin1Char('/') + link);
    }
    return current;
}

} // namespace Repo::ManagedRoot
