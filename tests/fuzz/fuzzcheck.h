#ifndef FUZZCHECK_H
#define FUZZCHECK_H

// Shared pieces of the fuzz targets: a check that stops the run where libFuzzer (or the
// replay driver under CTest) sees it, and comparisons of matrices and vectors.

#include "votypes.h"

#include <cstdio>
#include <cstdlib>

#define FUZZ_CHECK(condition)                                                                     \
    do {                                                                                          \
        if (!(condition)) {                                                                       \
            std::fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #condition);   \
            std::abort();                                                                         \
        }                                                                                         \
    } while (false)

namespace fuzz {

// Equal values, NaN equal to NaN: the text form keeps neither NaN payloads nor their signs.
inline bool sameValue(double a, double b)
{
    return a == b || (a != a && b != b);
}

inline bool sameValues(const VoMatrix& a, const VoMatrix& b)
{
    if (a.rows != b.rows || a.cols != b.cols)
        return false;
    for (VoSize r = 0; a.cols > 0 && r < a.rows; ++r)
        for (VoSize c = 0; c < a.cols; ++c)
            if (!sameValue(a.data[r * a.stride + c], b.data[r * b.stride + c]))
                return false;
    return true;
}

inline bool sameValues(const VoVector& a, const VoVector& b)
{
    if (a.size != b.size)
        return false;
    for (VoSize i = 0; i < a.size; ++i)
        if (!sameValue(a.data[i], b.data[i]))
            return false;
    return true;
}

} // namespace fuzz

#endif // FUZZCHECK_H
