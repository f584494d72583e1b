#pragma once

#include "repo/RepoEntry.h"

#include <QRegularExpression>
#include <QString>

// Repositories behind the "buffet" authenticating front end carry a user name
// and a password inside their URLs, in one of two forms:
//   query form  .../buffet?KEY1=NAME&KEY2=PASSWORD&path=...
//   path form   .../rhel/KEY1=NAME/KEY2=PASSWORD/...
// The key texts are whatever the URL has; keys and values are stored
// percent-encoded.
namespace Repo::Buffet
{
// Percent-encodes the characters that would break either form.
QString encode(QString const& text);
QString decode(QString const& text);

// Reads the first buffet form in `url`; false, with the outputs untouched,
// when there is none.
bool getAuth(QString const& url, QString& key1, QString& value1, QString& key2, QString& value2);
// The same on the entry's baseurl, else on its mirrorlist.
bool getAuth(Entry const& entry, QString& key1, QString& value1, QString& key2, QString& value2);

// Rewrites every buffet form in `url` (a text of several URLs included).
QString replaceAuth(QString url, QString const& key1, QString const& value1, QString const& key2,
    QString const& value2);
// Keeps the keys found in `url` and replaces name and password.
QString replaceAuth(QString url, QString const& name, QString const& password);
// Keeps the keys and the name found in `url` and replaces the password.
QString replaceAuth(QString url, QString const& password);

// Expressions whose captures are the password of one URL, and of each URL of
// a text of several; the masked URL fields hide what they capture.
QRegularExpression const& oneUrlRegExp();
QRegularExpression const& urlsRegExp();
} // namespace Repo::Buffet
