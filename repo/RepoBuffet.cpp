#include "repo/RepoBuffet.h"

namespace
{

// The characters that would end a key or a value in either form, or be read
// as an escape; blanks and line feeds also end a URL of a text of several.
// All are ASCII, so two hexadecimal digits always do.
constexpr QLatin1StringView reserved("$&+,/:;=?@ \"<>#%{}|\\^~[]\t\n\v\f\r");

// The two forms as every function here reads them, so that what getAuth()
// reads is what replaceAuth() rewrites and what the masks hide.  A key ends
// at its first '='; a key or value ends at its delimiter or at a blank; the
// path form is in a URL's path, before any '?', so it never overlaps a query
// form.
QRegularExpression const& queryForm()
{
    static QRegularExpression const expression(
        QStringLiteral("/buffet\\?([^&\\s=]*)=([^&\\s]*)&([^&\\s=]*)=([^&\\s]*)&path="));
    return expression;
}

QRegularExpression const& pathForm()
{
    static QRegularExpression const expression(
        QStringLiteral("/rhel/([^/\\s=?]*)=([^/\\s?]*)/([^/\\s=?]*)=([^/\\s?]*)/"));
    return expression;
}

} // namespace

QString Repo::Buffet::encode(QString const& text)
{
    QString result;
    result.reserve(text.size());
    for (QChar const c : text) {
        if (reserved.contains(c)) {
            result += QLatin1Char('%');
            result += QLatin1Char("0123456789abcdef"[c.unicode() >> 4]);
            result += QLatin1Char("0123456789abcdef"[c.unicode() & 15]);
        } else {
            result += c;
        }
    }
    return result;
}

QString Repo::Buffet::decode(QString const& text)
{
    static QRegularExpression const escape(QStringLiteral("%[0-9a-fA-F][0-9a-fA-F]"));
    QString result;
    qsizetype from = 0;
    for (QRegularExpressionMatchIterator it = escape.globalMatch(text); it.hasNext();) {
        QRegularExpressionMatch const match = it.next();
        result += QStringView(text).mid(from, match.capturedStart() - from);
        result += QChar(match.capturedView().mid(1).toUShort(nullptr, 16));
        from = match.capturedEnd();
    }
    return result + text.mid(from);
}

bool Repo::Buffet::getAuth(QString const& url, QString& key1, QString& value1, QString& key2, QString& value2)
{
    // A query form, even an incomplete one, rules out the path form.
    QRegularExpressionMatch const match
        = (url.contains(QLatin1String("/buffet?")) ? queryForm() : pathForm()).match(url);
    if (!match.hasMatch())
        return false;
    key1 = decode(match.captured(1));
    value1 = decode(match.captured(2));
    key2 = decode(match.captured(3));
    value2 = decode(match.captured(4));
    return true;
}

bool Repo::Buffet::getAuth(Entry const& entry, QString& key1, QString& value1, QString& key2, QString& value2)
{
    return getAuth(entry.baseurl, key1, value1, key2, value2)
        || getAuth(entry.mirrorlist, key1, value1, key2, value2);
}

QString Repo::Buffet::replaceAuth(
    QString url, QString const& key1, QString const& value1, QString const& key2, QString const& value2)
{
    // Encoding leaves no backslash for replace() to read as a back-reference.
    QString const k1 = encode(key1), v1 = encode(value1), k2 = encode(key2), v2 = encode(value2);
    url.replace(queryForm(),
        QLatin1String("/buffet?") + k1 + QLatin1Char('=') + v1 + QLatin1Char('&') + k2 + QLatin1Char('=') + v2
            + QLatin1String("&path="));
    return url.replace(pathForm(),
        QLatin1String("/rhel/") + k1 + QLatin1Char('=') + v1 + QLatin1Char('/') + k2 + QLatin1Char('=') + v2
            + QLatin1Char('/'));
}

// Without a readable form there are no keys to keep: the text is returned as
// it is rather than rewritten with empty keys.
QString Repo::Buffet::replaceAuth(QString url, QString const& name, QString const& password)
{
    QString key1, value1, key2, value2;
    if (!getAuth(url, key1, value1, key2, value2))
        return url;
    return replaceAuth(url, key1, name, key2, password);
}

QString Repo::Buffet::replaceAuth(QString url, QString const& password)
{
    QString key1, value1, key2, value2;
    if (!getAuth(url, key1, value1, key2, value2))
        return url;
    return replaceAuth(url, key1, value1, key2, password);
}

QRegularExpression const& Repo::Buffet::oneUrlRegExp()
{
    static QRegularExpression const expression(
        QStringLiteral("^.*(?:/buffet\\?[^&\\s=]*=[^&\\s]*&[^&\\s=]*=([^&\\s]*)&path="
                       "|/rhel/[^/\\s=?]*=[^/\\s?]*/[^/\\s=?]*=([^/\\s?]*)/).*$"));
    return expression;
}

QRegularExpression const& Repo::Buffet::urlsRegExp()
{
    static QRegularExpression const expression(
        QStringLiteral("(?:/buffet\\?[^&\\s=]*=[^&\\s]*&[^&\\s=]*=([^&\\s]*)&path="
                       "|/rhel/[^/\\s=?]*=[^/\\s?]*/[^/\\s=?]*=([^/\\s?]*)/)[\\s]*\\b"));
    return expression;
}
