#include "packagetable/PosixRegExp.h"

PosixRegExp::~PosixRegExp()
{
    if (compileStatus == 0)
        regfree(&regex);
}

int PosixRegExp::compile(QByteArray const& pattern)
{
    if (compileStatus == 0)
        regfree(&regex);
    compileStatus = regcomp(&regex, pattern.constData(), REG_EXTENDED | REG_NOSUB);
    return compileStatus;
}

bool PosixRegExp::matches(char const* text) const
{
    if (compileStatus != 0)
        return true;
    return regexec(&regex, text, 0, nullptr, 0) == 0;
}
