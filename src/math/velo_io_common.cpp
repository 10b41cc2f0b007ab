#include "velo_io_common.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace velo {
namespace io {

int formatExact(char* out, double value)
{
    char scratch[64];
    char* target = out ? out : scratch;
    int length = std::snprintf(scratch, sizeof scratch, "%.16g ", value);
    if (std::strtod(scratch, nullptr) != value && value == value)
        length = std::snprintf(scratch, sizeof scratch, "%.17g ", value);
    if (target != scratch)
        std::memcpy(target, scratch, static_cast<size_t>(length) + 1);
    return length;
}

bool readCount(const char* text, size_t& pos, char separator, VoSize& count)
{
    const char* start = text + pos;
    char* end = nullptr;
    errno = 0;
    const long value = std::strtol(start, &end, 10);
    if (end == start || errno == ERANGE || value < 0 || value > INT_MAX || *end != separator)
        return false;
    count = static_cast<VoSize>(value);
    pos = static_cast<size_t>(end - text) + 1;
    return true;
}

bool readValue(const char* text, size_t& pos, double& value)
{
    const char* start = text + pos;
    char* end = nullptr;
    value = std::strtod(start, &end);
    if (end == start)
        return false;
    pos = static_cast<size_t>(end - text);
    return true;
}

bool mayHoldValues(const char* text, size_t pos, VoSize count)
{
    const size_t remaining = std::strlen(text + pos);
    return count <= remaining / 2 + 1;
}

namespace {

enum MatType : uint32_t { MiInt8 = 1, MiInt32 = 5, MiUInt32 = 6, MiDouble = 9, MiMatrix = 14 };
constexpr uint32_t MxDoubleClass = 6;

bool writeTag(FILE* f, uint32_t type, uint32_t bytes)
{
    const uint32_t tag[2] = {type, bytes};
    return std::fwrite(tag, sizeof tag, 1, f) == 1;
}

uint32_t padded8(uint32_t n)
{
    return (n + 7u) & ~7u;
}

} // namespace

bool writeMatFile(const char* fileName, const char* name, VoSize rows, VoSize cols, const VoMatrix* m,
                  const VoVector* v)
{
    const uint64_t valueBytes = rows * cols * sizeof(double);
    const uint32_t nameLength = static_cast<uint32_t>(std::strlen(name));
    const uint64_t elementBytes = 16 + 16 + 8 + padded8(nameLength) + 8 + valueBytes;
    if (rows > INT32_MAX || cols > INT32_MAX || elementBytes > UINT32_MAX)
        return false;
    FILE* f = std::fopen(fileName, "wb");
    if (!f)
        return false;

    char header[128];
    std::memset(header, ' ', 116);
    const char text[] = "voMath/Velo MATLAB 5.0 MAT-file";
    std::memcpy(header, text, sizeof text - 1);
    std::memset(header + 116, 0, 8); // no subsystem data
    const uint16_t version = 0x0100;
    const uint16_t endian = ('M' << 8) | 'I'; // reads "IM" on a little-endian host, "MI" on a big-endian one
    std::memcpy(header + 124, &version, 2);
    std::memcpy(header + 126, &endian, 2);
    bool ok = std::fwrite(header, sizeof header, 1, f) == 1;

    ok = ok && writeTag(f, MiMatrix, static_cast<uint32_t>(elementBytes));
    const uint32_t arrayFlags[2] = {MxDoubleClass, 0};
    ok = ok && writeTag(f, MiUInt32, 8) && std::fwrite(arrayFlags, sizeof arrayFlags, 1, f) == 1;
    const int32_t dims[2] = {static_cast<int32_t>(rows), static_cast<int32_t>(cols)};
    ok = ok && writeTag(f, MiInt32, 8) && std::fwrite(dims, sizeof dims, 1, f) == 1;
    const char zeros[8] = {0};
    ok = ok && writeTag(f, MiInt8, nameLength) && std::fwrite(name, 1, nameLength, f) == nameLength
      && std::fwrite(zeros, 1, padded8(nameLength) - nameLength, f) == padded8(nameLength) - nameLength;
    ok = ok && writeTag(f, MiDouble, static_cast<uint32_t>(valueBytes));
    // MAT files hold the values column by column.
    for (VoSize c = 0; ok && c < cols; ++c) {
        if (v) {
            ok = std::fwrite(v->data, sizeof(double), rows, f) == rows;
        } else {
            for (VoSize r = 0; ok && r < rows; ++r)
                ok = std::fwrite(m->data + r * m->stride + c, sizeof(double), 1, f) == 1;
        }
    }
    return std::fclose(f) == 0 && ok;
}

} // namespace io
} // namespace velo
