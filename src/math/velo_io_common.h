#ifndef VELO_IO_COMMON_H
#define VELO_IO_COMMON_H

// Helpers shared by the text, binary and MAT-file formats of matrices and vectors.

#include "votypes.h"

#include <cstdio>
#include <string>

namespace velo {
namespace io {

// Appends value as "%.16g " (or "%.17g " where 16 digits would not give the same
// double back) to out, or only counts it when out is null; returns the length.
int formatExact(char* out, double value);

// Whether a row, column or element count can be written as text and read back: the text
// format's counts are non-negative ints. Readers of every format refuse larger ones.
inline bool isTextCount(VoSize count)
{
    return count <= 0x7fffffffu;
}

// Parses "%d<sep>" at text + pos with scanf's rules for %d; false on failure or a
// negative count. pos moves past the separator.
bool readCount(const char* text, size_t& pos, char separator, VoSize& count);

// Parses one double at text + pos with strtod (what "%lf" accepts); pos moves past it.
bool readValue(const char* text, size_t& pos, double& value);

// Whether count values could possibly fit in the rest of text (each needs a
// character and a separator), so that garbage sizes never reach the allocator.
bool mayHoldValues(const char* text, size_t pos, VoSize count);

// Writes a level-5 MAT file with one double matrix (column-major values) named name.
bool writeMatFile(const char* fileName, const char* name, VoSize rows, VoSize cols, const VoMatrix* m,
                  const VoVector* v);

// Appends the text form of object to out through its writeToString(char*), which gives
// the length when handed null; returns that length.
template <typename T>
VoSize appendText(const T& object, std::string& out)
{
    const VoSize length = object.writeToString(static_cast<char*>(nullptr));
    const size_t start = out.size();
    out.resize(start + length + 1);
    object.writeToString(&out[start]);
    out.resize(start + length);
    return length;
}

} // namespace io
} // namespace velo

#endif // VELO_IO_COMMON_H
