// The binary readers of Matrix and Vector on arbitrary bytes, told the size of the buffer.

#include "roundtrip.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const char* bytes = reinterpret_cast<const char*>(data);
    velo::Matrix m;
    if (m.deserialize(bytes, size) > 0)
        fuzz::checkRoundTrips(m);
    velo::Vector v;
    if (v.deserialize(bytes, size) > 0)
        fuzz::checkRoundTrips(v);
    fuzz::checkFixedStorage([&](velo::Matrix& fixed) { fixed.deserialize(bytes, size); },
                            [&](velo::Vector& fixed) { fixed.deserialize(bytes, size); });
    return 0;
}
