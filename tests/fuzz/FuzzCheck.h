#pragma once

#include <QDebug>
#include <cstdlib>

// A property that does not hold is a crash for the fuzzer; the report names
// it, and the saved input reproduces it.
#define FUZZ_CHECK(condition)                                                                                \
    do {                                                                                                     \
        if (!(condition)) {                                                                                  \
            qWarning("%s:%d: %s", __FILE__, __LINE__, #condition);                                           \
            std::abort();                                                                                    \
        }                                                                                                    \
    } while (false)
