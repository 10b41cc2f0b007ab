// The label-format check on arbitrary bytes: what it accepts prints one number, in bounded
// space, with Qt's formatter (which the series uses) and with the C library's.

#include "fuzzcheck.h"
#include "kiv_valueformat_p.h"

#include <QString>

#include <cstdint>
#include <cstring>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string format(reinterpret_cast<const char*>(data), size);
    const char* f = format.c_str();
    if (!kiv::isValueFormat(f))
        return 0;
    // Literal text, plus one conversion: at most 309 integer digits, a point, the precision
    // and a sign, or the width.
    const int bound = int(std::strlen(f)) + 320 + kiv::MaxFormatPrecision + kiv::MaxFormatWidth;
    for (double value : {-1.7976931348623157e308, 2.5e-320, 1.0 / 3.0}) {
        FUZZ_CHECK(QString::asprintf(f, value).size() <= bound);
        FUZZ_CHECK(std::snprintf(nullptr, 0, f, value) <= bound);
    }
    return 0;
}
