#pragma once

#include <QFont>

// Fonts derived from a widget's font; the argument is never changed.
namespace Fonts
{
QFont makeHeader(QFont const& font);
QFont makeFixed(QFont const& font);
QFont makeBold(QFont const& font);
} // namespace Fonts
