#include "yumio/TsInfo.h"

TsInfo::Line TsInfo::parse(QString const& text)
{
    static QString const updating = QStringLiteral("Updating ");
    static QString const obsoleting = QStringLiteral("Obsoleting ");
    static QString const marking = QStringLiteral("Marking ");
    Line line;
    if (text.startsWith(updating) || text.startsWith(marking)) {
        qsizetype const prefix = text.startsWith(updating) ? updating.size() : marking.size();
        qsizetype const space = text.indexOf(QLatin1Char(' '), prefix);
        if (space < 0)
            return line;
        line.kind = Marked;
        line.envra = text.mid(prefix, space - prefix);
        line.weight = text.startsWith(updating) || text.contains(QLatin1String(" update ")) ? 2 : 1;
    } else if (text.startsWith(obsoleting)) {
        QString const s = text.mid(obsoleting.size());
        qsizetype const i = s.indexOf(QLatin1Char(' '));
        if (i < 0 || s.indexOf(QLatin1String(" with "), i) < 0)
            return line;
        line.kind = Obsoleting;
        line.envra = s.left(i);
    } else if (text.contains(QLatin1String(" marked as erase"))) {
        line.kind = Erased;
    }
    return line;
}

bool TsInfo::parseEnvra(QString const& envra, QString& name, QString& arch)
{
    qsizetype const dot = envra.lastIndexOf(QLatin1Char('.'));
    if (dot <= 0 || dot == envra.size() - 1)
        return false;
    QString nvr = envra.left(dot);
    qsizetype const colon = nvr.indexOf(QLatin1Char(':'));
    if (colon >= 0) {
        bool number = false;
        nvr.left(colon).toUInt(&number);
        if (!number)
            return false;
        nvr = nvr.mid(colon + 1);
    }
    qsizetype const release = nvr.lastIndexOf(QLatin1Char('-'));
    if (release <= 0)
        return false;
    qsizetype const version = nvr.lastIndexOf(QLatin1Char('-'), release - 1);
    if (version <= 0 || version == release - 1)
        return false;
    name = nvr.left(version);
    arch = envra.mid(dot + 1);
    return true;
}
