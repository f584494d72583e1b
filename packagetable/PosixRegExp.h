#pragma once

#include <QByteArray>
#include <regex.h>

// A POSIX extended regular expression, case-sensitive and compiled without
// sub-match reporting: the expression language of the package filter, which
// users know from grep -E.
class PosixRegExp
{
public:
    PosixRegExp() = default;
    ~PosixRegExp();
    PosixRegExp(PosixRegExp const&) = delete;
    PosixRegExp& operator=(PosixRegExp const&) = delete;

    // Compiles `pattern` in place of the previous expression and returns
    // regcomp's result: 0 on success.  An expression whose compiled form
    // would be too large to build quickly is refused with REG_ESPACE.
    int compile(QByteArray const& pattern);
    // The result of the last compile(); -1 before the first.
    int status() const { return compileStatus; }
    // Whether the expression occurs anywhere in the text.  Every text matches
    // while there is no compiled expression.
    bool matches(char const* text) const;
    bool matches(QByteArray const& text) const { return matches(text.constData()); }

private:
    regex_t regex;
    int compileStatus = -1;
};
