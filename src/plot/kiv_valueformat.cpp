#include "kiv_valueformat_p.h"

#include <cstring>

namespace kiv {

namespace {

// Reads up to three digits at p into n; false when there are more, or n exceeds max.
bool readBound(const char*& p, int max, int& n)
{
    n = 0;
    int digits = 0;
    for (; *p >= '0' && *p <= '9'; ++p) {
        if (++digits > 3)
            return false;
        n = n * 10 + (*p - '0');
    }
    return n <= max;
}

} // namespace

bool isValueFormat(const char* format)
{
    if (!format)
        return false;
    int conversions = 0;
    for (const char* p = format; *p; ++p) {
        if (*p != '%')
            continue;
        ++p;
        if (*p == '%')
            continue;
        while (*p && std::strchr("-+ #0", *p))
            ++p;
        int n = 0;
        if (!readBound(p, MaxFormatWidth, n))
            return false;
        if (*p == '.') {
            ++p;
            if (!readBound(p, MaxFormatPrecision, n))
                return false;
        }
        if (*p == 'l')
            ++p;
        if (*p == '\0' || !std::strchr("fFeEgGaA", *p) || ++conversions > 1)
            return false;
    }
    return conversions == 1;
}

} // namespace kiv
