#ifndef ROUNDTRIP_H
#define ROUNDTRIP_H

// What the reader targets check once a reader has accepted an object: it writes in both
// formats and reads back to the same shape and values, and a reader into fixed-size storage
// either keeps the shape or refuses without touching the values.

#include "fuzzcheck.h"
#include "velo_matrix.h"

#include <string>
#include <vector>

namespace fuzz {

template <typename T>
void checkRoundTrips(const T& object)
{
    std::string text;
    object.writeToString(text);
    T fromText;
    FUZZ_CHECK(fromText.readFromString(text) > 0);
    FUZZ_CHECK(sameValues(fromText, object));

    std::vector<char> binary(object.serialize(nullptr));
    FUZZ_CHECK(object.serialize(binary.data()) == binary.size());
    T fromBinary;
    FUZZ_CHECK(fromBinary.deserialize(binary.data(), binary.size()) == binary.size());
    FUZZ_CHECK(sameValues(fromBinary, object));
}

// `read` reads the input into the object it is given.
template <typename Read>
void checkFixedStorage(Read read)
{
    velo::MatrixF<3, 2> fixed;
    fixed(0, 0) = 42.0;
    try {
        read(fixed);
    } catch (const VoException&) {
        FUZZ_CHECK(fixed(0, 0) == 42.0);
    }
    FUZZ_CHECK(fixed.rows == 3 && fixed.cols == 2 && fixed.data == &fixed(0, 0));
}

} // namespace fuzz

#endif // ROUNDTRIP_H
