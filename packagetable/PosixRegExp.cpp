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

struct Estimate {
    double size = 0;
    // Something that can match the empty text is repeated by "*", "+" or an
    // interval ("(x?)*", "(a|)+", "x{,2}{,8}").  glibc's closure computation
    // over such loops of empty steps grows exponentially with their nesting
    // and their number, in ways no size follows: "(((x?){,3}){2,}){,5}" takes
    // two seconds, "{,6}" at its end minutes, and "(x?){,200}(x?){,200}(x?)*",
    // small as it is, three.  They say nothing a filter needs ("(x?)*" is
    // "x*"), so they are refused.
    bool emptyRepeated = false;
};

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

// An upper bound of the nodes regcomp builds for `pattern`, and whether it
// repeats what can be empty.  glibc spells a repetition out: "x+" becomes
// "xx*" and "x{3,5}" "xxx(x(x)?)?", copying x each time, so "t++++..." or
// "((t{99}){99}){99}" grows exponentially with the nesting and would take
// every byte of memory and freeze the window.
Estimate estimate(QByteArray const& pattern)
{
    Estimate result;
    // Per open group: its size, whether the current alternative so far and
    // any finished one can match the empty text.
    struct Group {
        double size = 0;
        bool emptySequence = true;
        bool emptyAlternative = false;
    };
    std::vector<Group> groups(1);
    double last = 0; // the size of what a repetition would repeat
    bool lastEmpty = false; // whether that can match the empty text
    bool sequenceBefore = true; // the group's emptySequence before it
    auto atom = [&](double size, bool empty = false) {
        Group& group = groups.back();
        group.size += size;
        last = size;
        lastEmpty = empty;
        sequenceBefore = group.emptySequence;
        group.emptySequence = sequenceBefore && empty;
    };
    // `optional`: the repetition can match the empty text itself; `once`:
    // it is "?", one optional copy and no loop, harmless on an empty operand.
    auto repeat = [&](double copies, bool optional, bool once = false) {
        Group& group = groups.back();
        double const added = last * (copies - 1) + copies;
        group.size += added;
        last += added;
        result.emptyRepeated |= lastEmpty && !once;
        lastEmpty = lastEmpty || optional;
        group.emptySequence = sequenceBefore && lastEmpty;
    };
    qsizetype const n = pattern.size();
    auto total = [&] {
        return std::accumulate(groups.cbegin(), groups.cend(), 0.0,
            [](double sum, Group const& group) { return sum + group.size; });
    };
    // Stopping once over the bound keeps the sizes finite.
    for (qsizetype i = 0; i < n && total() <= maxExpandedSize; ++i) {
        switch (pattern[i]) {
        case '\\':
            ++i;
            // Word boundaries and back-references can match the empty text.
            atom(1, i < n && QByteArrayView("<>bB`'123456789").contains(pattern[i]));
            break;
        case '^':
        case '$':
            atom(1, true);
            break;
        case '[':
            i = bracketEnd(pattern, i);
            atom(1);
            break;
        case '(':
            groups.emplace_back();
            last = 0;
            lastEmpty = false;
            break;
        case ')':
            if (groups.size() > 1) {
                Group const group = groups.back();
                groups.pop_back();
                atom(group.size + 1, group.emptySequence || group.emptyAlternative);
            } else {
                atom(1);
            }
            break;
        case '|':
            groups.back().size += 1;
            groups.back().emptyAlternative |= groups.back().emptySequence;
            groups.back().emptySequence = true;
            last = 0;
            lastEmpty = false;
            break;
        case '*':
            repeat(1, true);
            break;
        case '?':
            repeat(1, true, true);
            break;
        case '+':
            repeat(2, false);
            break;
        case '{': {
            // "{m}", "{m,}", "{m,n}" or glibc's "{,n}"; anything else is
            // left to regcomp.
            qsizetype j = i + 1;
            double low = 0, high = -1;
            bool interval = false; // a bound or the comma seen
            for (; j < n && pattern[j] >= '0' && pattern[j] <= '9'; ++j, interval = true)
                low = std::min(low * 10 + (pattern[j] - '0'), 1e9);
            // glibc takes an escaped comma for the comma too.
            if (j + 1 < n && pattern[j] == '\\' && pattern[j + 1] == ',')
                ++j;
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
            repeat(std::max({ low, high, 1.0 }), low == 0);
            // The optional copies nest one in the next ("x(x(x)?)?"), and
            // glibc's work on them grows with the square of their number.
            if (double const optional = high - low; optional > 1) {
                double const nested = repeated * optional * optional / 200;
                groups.back().size += nested;
                last += nested;
            }
            i = j;
            break;
        }
        default:
            atom(1);
        }
    }
    result.size = total();
    return result;
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
    // Refused as regcomp refuses what it has no memory for, or a repetition
    // it cannot use.
    Estimate const cost = estimate(collapsed);
    if (cost.size > maxExpandedSize)
        compileStatus = REG_ESPACE;
    else if (cost.emptyRepeated)
        compileStatus = REG_BADRPT;
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
