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

// `readMatrix` and `readVector` read the input into the object they are given.
template <typename ReadMatrix, typename ReadVector>
void checkFixedStorage(ReadMatrix readMatrix, ReadVector readVector)
{
    velo::MatrixF<3, 2> matrix;
    matrix(0, 0) = 42.0;
    try {
        readMatrix(matrix);
    } catch (const VoException&) {
        FUZZ_CHECK(matrix(0, 0) == 42.0);
    }
    FUZZ_CHECK(matrix.rows == 3 && matrix.cols == 2 && matrix.data == &matrix(0, 0));

    velo::Vector3 vector(42.0, 0.0, 0.0);
    const double* storage = vector.data;
    try {
        readVector(vector);
    } catch (const VoException&) {
        FUZZ_CHECK(vector[0] == 42.0);
    }
    FUZZ_CHECK(vector.size == 3 && vector.data == storage);
}

} // namespace fuzz

#endif // ROUNDTRIP_H
