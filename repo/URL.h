#pragma once

#include <QString>

namespace URL
{
// The text between "scheme://" and the next "/" (a port or user part stays
// in it); empty when the URL has no "://" after its first ":".
QString getHost(QString const& url);
} // namespace URL
