#include "packagetable/PosixRegExp.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace
{
// What the compiled form of an expression may grow to, in glibc's tree nodes:
// every interval the syntax allows on its own ("a{32767}") compiles in a few
// hundredths of a second, but nested repetitions multiply.
constexpr double maxExpandedSize = 20000;

// A bracket expression from its '[' to its ']': the index of the ']', or of
// the last character when it is not closed (regcomp refuses that).
qsizetype bracketEnd(QByteArray const& pattern, qsizetype i)
{
    qsizetype const n = pattern.size();
    ++i;
    if (i < n && pattern[i] == '^')
        ++i;
    if (i < n && pattern[i] == ']')
        ++i;
    for (; i < n; ++i) {
        if (pattern[i] == ']')
            return i;
        // "[:alpha:]", "[.-.]" and "[=e=]" may hold a ']' of their own.
        if (pattern[i] == '[' && i + 1 < n
            && (pattern[i + 1] == ':' || pattern[i + 1] == '.' || pattern[i + 1] == '=')) {
            char const close[] = { pattern[i + 1], ']', '\0' };
            qsizetype const end = pattern.indexOf(close, i + 2);
            if (end < 0)
                return n - 1;
            i = end + 1;
        }
    }
    return n - 1;
}

// An upper bound of the nodes regcomp builds for `pattern`.  glibc spells a
// repetition out: "x+" becomes "xx*" and "x{3,5}" "xxx(x(x)?)?", copying x
// each time, so "t++++..." or "((t{99}){99}){99}" grows exponentially with
// the nesting and would take every byte of memory and freeze the window.
double expandedSize(QByteArray const& pattern)
{
    std::vector<double> groups { 0 };
    double last = 0; // the size of what a repetition would repeat
    auto atom = [&](double size) {
        groups.back() += size;
        last = size;
    };
    auto repeat = [&](double copies) {
        double const added = last * (copies - 1) + copies;
        groups.back() += added;
        last += added;
    };
    qsizetype const n = pattern.size();
    auto total = [&] { return std::accumulate(groups.cbegin(), groups.cend(), 0.0); };
    // Stopping once over the bound keeps the sizes finite.
    for (qsizetype i = 0; i < n && total() <= maxExpandedSize; ++i) {
        switch (pattern[i]) {
        case '\\':
            ++i;
            atom(1);
            break;
        case '[':
            i = bracketEnd(pattern, i);
            atom(1);
            break;
        case '(':
            groups.push_back(0);
            last = 0;
            break;
        case ')':
            if (groups.size() > 1) {
                double const size = groups.back() + 1;
                groups.pop_back();
                atom(size);
            } else {
                atom(1);
            }
            break;
        case '|':
            groups.back() += 1;
            last = 0;
            break;
        case '*':
        case '?':
            repeat(1);
            break;
        case '+':
            repeat(2);
            break;
        case '{': {
            // "{m}", "{m,}", "{m,n}" or glibc's "{,n}"; anything else is
            // left to regcomp.
            qsizetype j = i + 1;
            double low = 0, high = -1;
            bool interval = false; // a bound or the comma seen
            for (; j < n && pattern[j] >= '0' && pattern[j] <= '9'; ++j, interval = true)
                low = std::min(low * 10 + (pattern[j] - '0'), 1e9);
            if (j < n && pattern[j] == ',') {
                interval = true;
                high = 0;
                bool any = false;
                for (++j; j < n && pattern[j] >= '0' && pattern[j] <= '9'; ++j, any = true)
                    high = std::min(high * 10 + (pattern[j] - '0'), 1e9);
                if (!any)
                    high = low + 1;
            }
            if (!interval || j >= n || pattern[j] != '}') {
                atom(1);
                break;
            }
            double const repeated = last;
            repeat(std::max({ low, high, 1.0 }));
            // The optional copies nest one in the next ("x(x(x)?)?"), and
            // glibc's work on them grows with the square of their number.
            if (double const optional = high - low; optional > 1) {
                double const nested = repeated * optional * optional / 200;
                groups.back() += nested;
                last += nested;
            }
            i = j;
            break;
        }
        default:
            atom(1);
        }
    }
    return total();
}

// Adjacent repetition symbols after an atom ("c++", "x*?"), which POSIX
// leaves undefined, as the one symbol glibc reads them as: "+" for pluses
// alone, "?" for question marks alone, else "*".  glibc nests one repetition
// per symbol, and its closure computation grows steeply with the nesting:
// "x+++????+++++" alone compiled for most of a second.
QByteArray collapseRepeats(QByteArray const& pattern)
{
    auto repetition = [](char c) { return c == '*' || c == '+' || c == '?'; };
    QByteArray result;
    result.reserve(pattern.size());
    qsizetype const n = pattern.size();
    bool afterAtom = false;
    for (qsizetype i = 0; i < n;) {
        char const c = pattern[i];
        if (c == '\\') {
            result += pattern.mid(i, 2);
            i += 2;
            afterAtom = true;
        } else if (c == '[') {
            qsizetype const end = bracketEnd(pattern, i);
            result += pattern.mid(i, end + 1 - i);
            i = end + 1;
            afterAtom = true;
        } else if (repetition(c) && afterAtom) {
            qsizetype j = i;
            bool plus = false, question = false, star = false;
            for (; j < n && repetition(pattern[j]); ++j) {
                plus |= pattern[j] == '+';
                question |= pattern[j] == '?';
                star |= pattern[j] == '*';
            }
            result += star || (plus && question) ? '*' : plus ? '+' : '?';
            i = j;
        } else {
            result += c;
            ++i;
            afterAtom = c != '(' && c != '|' && c != '^';
        }
    }
    return result;
}
} // namespace

PosixRegExp::~PosixRegExp()
{
    if (compileStatus == 0)
        regfree(&regex);
}

int PosixRegExp::compile(QByteArray const& pattern)
{
    if (compileStatus == 0)
        regfree(&regex);
    QByteArray const collapsed = collapseRepeats(pattern);
    // Refused as regcomp refuses what it has no memory for.
    if (expandedSize(collapsed) > maxExpandedSize)
        compileStatus = REG_ESPACE;
    else
        compileStatus = regcomp(&regex, collapsed.constData(), REG_EXTENDED | REG_NOSUB);
    return compileStatus;
}

bool PosixRegExp::matches(char const* text) const
{
    if (compileStatus != 0)
        return true;
    return regexec(&regex, text, 0, nullptr, 0) == 0;
}
