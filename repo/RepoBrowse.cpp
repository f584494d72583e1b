#include "repo/RepoBrowse.h"

#include "app/Execute.h"
#include "app/Share.h"
#include "repo/RepoBuffet.h"
#include "repo/YumConfIO.h"
#include "yumio/YumIO.h"

#include <QCoreApplication>
#include <QFile>
#include <QMessageBox>
#include <QRegularExpression>

namespace
{
// The passwords a URL carries, as written in it and as meant, which the
// browser's messages must not show: a buffet password, or the password of a
// "scheme://user:password@" part.
QStringList passwords(QString const& url)
{
    static QRegularExpression const userPassword(QStringLiteral("://[^/\\s@]*:([^/\\s@]*)@"));
    QStringList found;
    for (QRegularExpression const* expression : { &Repo::Buffet::oneUrlRegExp(), &userPassword }) {
        QRegularExpressionMatch const match = expression->match(url);
        for (int i = 1; i <= match.lastCapturedIndex(); ++i) {
            if (match.capturedLength(i) > 0)
                found << match.captured(i) << Repo::Buffet::decode(match.captured(i));
        }
    }
    return found;
}
} // namespace

void RepoBrowse::browse(QWidget* parent, Repo::Entry const& entry, YumIO* yum)
{
    static QRegularExpression const blanks(QStringLiteral("\\s+"));
    QString url = entry.baseurl.split(blanks, Qt::SkipEmptyParts).value(0);
    if (url.isEmpty())
        url = entry.mirrorlist;
    if (url.isEmpty()) {
        QMessageBox::critical(parent, QCoreApplication::translate("RepoBrowse", "Error"),
            QCoreApplication::translate("RepoBrowse", "Repository configuration has no URL"),
            QMessageBox::Ok);
        return;
    }
    if (yum) {
        for (char const* variable : { "basearch", "arch", "releasever" }) {
            QString const name = QLatin1String(variable);
            url.replace(QLatin1Char('$') + name, yum->getYumVar(name));
        }
    }

    QByteArray program = QFile::encodeName(Share::absolute(QStringLiteral("webbrowser")));
    QByteArray argument = url.toLocal8Bit();
    char* argv[] = { program.data(), argument.data(), nullptr };
    Execute::execute(parent, argv, passwords(url));
}

void RepoBrowse::browse(QWidget* parent, QString const& id, YumIO* yum, YumConfIO* conf)
{
    for (Repo::Entry const& entry : std::as_const(conf->repos())) {
        if (entry.id == id) {
            browse(parent, entry, yum);
            return;
        }
    }
}
