#pragma once

// <sys/sysmacros.h>, pulled in by many system headers, defines minor() as a
// macro that would rename Colors::minor.  Including it here first means its
// include guard keeps it from defining the macro again after the undef.
#include <sys/sysmacros.h>
#undef minor

#include <QPalette>
#include <QString>

// The named colours of the program and the palettes made from them.  Names
// pass through translation so that a translation may change them.
namespace Colors
{
QString action();
QString error();
QString errorDisabled();
QString warning();
QString minor();
QString minorDisabled();
QString ok();
QString requiredBg();
QString errorBg();
QString warningBg();
QString okBg();

// For input fields that must be filled: the Base colour of the active and
// inactive groups becomes requiredBg().
QPalette makeRequired(QPalette const& palette);
// Window colour of every group set to the named background, with white or
// black window text, whichever reads better on it.
QPalette makeError(QPalette const& palette);
QPalette makeWarning(QPalette const& palette);
QPalette makeOK(QPalette const& palette);
} // namespace Colors
