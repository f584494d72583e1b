#include "repo/RepoBuffet.h"

namespace
{

// The characters that would end a key or a value in either form, or be read
// as an escape.  All are ASCII, so two hexadecimal digits always do.
constexpr QLatin1StringView reserved("$&+,/:;=?@ \"<>#%{}|\\^~[]");

// Finds `delimiters` one after the other from `from`; the texts between them
// are the four fields.  False when one is missing.
bool split(
    QString const& url, qsizetype from, std::initializer_list<char const*> delimiters, QString* fields[4])
{
    int field = 0;
    for (char const* const text : delimiters) {
        QLatin1String const delimiter(text);
        qsizetype const at = url.indexOf(delimiter, from);
        if (at < 0)
            return false;
        *fields[field++] = url.mid(from, at - from);
        from = at + delimiter.size();
    }
    return true;
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
    QString k1, v1, k2, v2;
    QString* fields[4] = { &k1, &v1, &k2, &v2 };
    QLatin1String const query("/buffet?");
    QLatin1String const path("/rhel/");
    // A query form, even an incomplete one, rules out the path form.
    qsizetype const queryAt = url.indexOf(query);
    bool found;
    if (queryAt >= 0) {
        found = split(url, queryAt + query.size(), { "=", "&", "=", "&path=" }, fields);
    } else {
        qsizetype const pathAt = url.indexOf(path);
        found = pathAt >= 0 && split(url, pathAt + path.size(), { "=", "/", "=", "/" }, fields);
    }
    if (!found)
        return false;
    key1 = decode(k1);
    value1 = decode(v1);
    key2 = decode(k2);
    value2 = decode(v2);
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
    static QRegularExpression const query(
        QStringLiteral("/buffet\\?[^&\\s]*=[^&\\s]*&[^&\\s]*=[^&\\s]*&path="));
    static QRegularExpression const path(QStringLiteral("/rhel/[^/\\s]*=[^/\\s]*/[^/\\s]*=[^/\\s]*/"));
    // Encoding leaves no backslash for replace() to read as a back-reference.
    QString const k1 = encode(key1), v1 = encode(value1), k2 = encode(key2), v2 = encode(value2);
    url.replace(query,
        QLatin1String("/buffet?") + k1 + QLatin1Char('=') + v1 + QLatin1Char('&') + k2 + QLatin1Char('=') + v2
            + QLatin1String("&path="));
    return url.replace(path,
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
        QStringLiteral("^.*(?:/buffet\\?[^&\\s]*=[^&\\s]*&[^&\\s]*=([^&\\s]*)&path="
                       "|/rhel/[^/\\s]*=[^/\\s]*/[^/\\s]*=([^/\\s]*)/).*$"));
    return expression;
}

QRegularExpression const& Repo::Buffet::urlsRegExp()
{
    static QRegularExpression const expression(
        QStringLiteral("(?:/buffet\\?[^&\\s]*=[^&\\s]*&[^&\\s]*=([^&\\s]*)&path="
                       "|/rhel/[^/\\s]*=[^/\\s]*/[^/\\s]*=([^/\\s]*)/)[\\s]*\\b"));
    return expression;
}
