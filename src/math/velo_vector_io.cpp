// Text, binary and MAT-file input and output of Vector.

#include "velo_vector.h"

#include "velo_io_common.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <new>
#include <ostream>

namespace velo {

namespace {

// Readers resize by the rules of assignment: fixed-size and borrowed storage keep their
// size, and the object is left as it was.
void resizeForReading(Vector& v, VoSize size)
{
    if (size == v.size)
        return;
    if (v.data && !(v.flags & VO_DATA_MANAGED))
        throw VoException(VO_RESULT_EXCEPTION, "void velo::Vector::changeSize(VoSize)",
                          "Resizing of this object is not allowed");
    if (VoVector_assign(&v, size, nullptr) != VO_RESULT_OK)
        throw std::bad_alloc();
}

} // namespace

int Vector::display(char* buf) const
{
    int n = std::sprintf(buf, "Vector %" PRIu64 ": [ ", size);
    for (VoSize i = 0; i < size; ++i)
        n += std::sprintf(buf + n, "%.7g ", data[i]);
    n += std::sprintf(buf + n, "]\n");
    return n;
}

VoSize Vector::writeToString(char* buf) const
{
    char scratch[256];
    VoSize total = static_cast<VoSize>(std::snprintf(buf ? buf : scratch, sizeof scratch, "%" PRIu64 ": ", size));
    for (VoSize i = 0; i < size; ++i)
        total += static_cast<VoSize>(io::formatExact(buf ? buf + total : nullptr, data[i]));
    return total;
}

VoSize Vector::writeToString(std::string& out) const
{
    return io::appendText(*this, out);
}

VoSize Vector::readFromString(const char* text)
{
    size_t pos = 0;
    VoSize newSize = 0;
    if (!io::readCount(text, pos, ':', newSize) || !io::mayHoldValues(text, pos, newSize))
        return 0;
    resizeForReading(*this, newSize);
    for (VoSize i = 0; i < size; ++i)
        if (!io::readValue(text, pos, data[i]))
            return 0;
    return pos;
}

VoSize Vector::readFromString(const std::string& text)
{
    return readFromString(text.c_str());
}

VoSize Vector::serialize(char* buf) const
{
    const VoSize bytes = 4 + 8 * size;
    if (!buf)
        return bytes;
    const uint32_t count = static_cast<uint32_t>(size);
    std::memcpy(buf, &count, sizeof count);
    if (size)
        std::memcpy(buf + 4, data, size * sizeof(double));
    return bytes;
}

VoSize Vector::deserialize(const char* buf)
{
    uint32_t count;
    std::memcpy(&count, buf, sizeof count);
    if (!io::isTextCount(count))
        return 0;
    resizeForReading(*this, count);
    if (size)
        std::memcpy(data, buf + 4, size * sizeof(double));
    return 4 + 8 * size;
}

VoSize Vector::deserialize(const char* buf, VoSize bufSize)
{
    if (!buf || bufSize < 4)
        return 0;
    uint32_t count;
    std::memcpy(&count, buf, sizeof count);
    if (count > (bufSize - 4) / sizeof(double))
        return 0;
    return deserialize(buf);
}

bool Vector::saveAsMatlab(const char* fileName, const char* variableName) const
{
    return io::writeMatFile(fileName, variableName, size, 1, nullptr, this);
}

} // namespace velo

std::ostream& operator<<(std::ostream& out, const VoVector& v)
{
    out << '[' << v.size << "](";
    for (VoSize i = 0; i < v.size; ++i)
        out << ' ' << v.data[i];
    return out << " )";
}
