// The text readers of Matrix and Vector on arbitrary bytes (up to the first NUL, as a C string).

#include "roundtrip.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    velo::Matrix m;
    if (m.readFromString(text.c_str()) > 0)
        fuzz::checkRoundTrips(m);
    velo::Vector v;
    if (v.readFromString(text.c_str()) > 0)
        fuzz::checkRoundTrips(v);
    fuzz::checkFixedStorage([&](velo::Matrix& fixed) { fixed.readFromString(text.c_str()); },
                            [&](velo::Vector& fixed) { fixed.readFromString(text.c_str()); });
    return 0;
}
