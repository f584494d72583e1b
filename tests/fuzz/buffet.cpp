// The buffet URL functions: encoding, and a name and password put in reading back.
// Input: a URL, optionally followed by NUL, a user name, NUL and a password.
#include "repo/RepoBuffet.h"
#include "repo/URL.h"
#include "tests/fuzz/FuzzCheck.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    QList<QByteArray> const parts
        = QByteArray(reinterpret_cast<char const*>(data), qsizetype(size)).split('\0');
    QString const url = QString::fromUtf8(parts.value(0));
    QString const name = parts.size() > 1 ? QString::fromUtf8(parts.at(1)) : QStringLiteral("u s&e=r/");
    QString const password
        = parts.size() > 2 ? QString::fromUtf8(parts.at(2)) : QStringLiteral("p%40ss?w&rd");

    for (QString const& text : { url, name, password })
        FUZZ_CHECK(Repo::Buffet::decode(Repo::Buffet::encode(text)) == text);
    FUZZ_CHECK(url.contains(URL::getHost(url)));

    // What the authentication dialog does: keep the keys, set the name and
    // the password; reading the URL again gives them back.
    QString key1, value1, key2, value2;
    if (!Repo::Buffet::getAuth(url, key1, value1, key2, value2))
        return 0;
    // Not checked where a URL holds forms of both kinds: rewriting a path
    // form after the query's '?' can join pieces of a query form into a new
    // one ("/buffet??k=v/rhel/=/&p=w&p/a/buffet?k=v&p=w&path=").
    if (url.contains(QLatin1String("/rhel/")) && url.contains(QLatin1String("/buffet?")))
        return 0;
    QString k1, v1, k2, v2;
    QString const both = Repo::Buffet::replaceAuth(url, name, password);
    FUZZ_CHECK(Repo::Buffet::getAuth(both, k1, v1, k2, v2));
    FUZZ_CHECK(QStringList({ k1, v1, k2, v2 }) == QStringList({ key1, name, key2, password }));
    // The log masks what this captures: the password put in.  Checked where
    // the URL holds one form: forms run together without a blank between
    // them can make new ones out of their neighbours' slashes.
    if (url.count(QLatin1String("/buffet?")) + url.count(QLatin1String("/rhel/")) == 1) {
        for (auto it = Repo::Buffet::urlsRegExp().globalMatch(both); it.hasNext();) {
            QRegularExpressionMatch const match = it.next();
            QString const captured = match.capturedStart(1) >= 0 ? match.captured(1) : match.captured(2);
            FUZZ_CHECK(captured == Repo::Buffet::encode(password));
        }
    }
    QString const one = Repo::Buffet::replaceAuth(url, password);
    FUZZ_CHECK(Repo::Buffet::getAuth(one, k1, v1, k2, v2));
    FUZZ_CHECK(QStringList({ k1, v1, k2, v2 }) == QStringList({ key1, value1, key2, password }));
    return 0;
}
