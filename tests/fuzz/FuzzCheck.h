#pragma once

#include <QDebug>
#include <cstdlib>

// A property that does not hold is a crash for the fuzzer, with both sides
// printed so that the input's fault can be read off the report.
#define FUZZ_CHECK_EQUAL(actual, expected)                                                                  \
    do {                                                                                                   \
        auto const& fuzzActual = (actual);                                                                 \
        auto const& fuzzExpected = (expected);                                                             \
        if (!(fuzzActual == fuzzExpected)) {                                                               \
            qWarning().noquote() << __FILE__ << __LINE__ << #actual << "!=" << #expected;                  \
            qWarning() << "  actual:  " << fuzzActual;                                                     \
            qWarning() << "  expected:" << fuzzExpected;                                                   \
            std::abort();                                                                                  \
        }                                                                                                  \
    } while (false)

#define FUZZ_CHECK(condition) FUZZ_CHECK_EQUAL(bool(condition), true)
