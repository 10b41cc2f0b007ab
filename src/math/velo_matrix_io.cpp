// Text, binary and MAT-file input and output of Matrix.

#include "velo_matrix.h"

#include "velo_io_common.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <new>
#include <ostream>

namespace velo {

namespace {

// Code page 437 box-drawing bytes for the brackets of display().
const char TopLeft = '\xDA';
const char TopRight = '\xBF';
const char Side = '\xB3';
const char BottomLeft = '\xC0';
const char BottomRight = '\xD9';

// Readers reshape by the rules of assignment: fixed-size and borrowed storage keep their
// shape, and the object is left as it was.
void reshapeForReading(Matrix& m, VoSize rows, VoSize cols)
{
    if (rows == m.rows && cols == m.cols)
        return;
    if (m.data && !(m.flags & VO_DATA_MANAGED))
        throw VoException(VO_RESULT_EXCEPTION, "void velo::Matrix::changeSize(VoSize, VoSize)",
                          "resizing of this object is not allowed");
    if (VoMatrix_assign(&m, rows, cols, cols, nullptr, 0) != VO_RESULT_OK)
        throw std::bad_alloc();
}

} // namespace

int Matrix::display(char* buf) const
{
    int n = std::sprintf(buf, "Matrix %" PRIu64 ",%" PRIu64 ":\n", rows, cols);
    const char* rowFormat = rows <= 10 ? "%.1d " : rows <= 100 ? "%.2d " : "%.3d ";
    for (VoSize r = 0; r < rows; ++r) {
        char open = Side, close = Side;
        if (rows == 1) {
            open = '[';
            close = ']';
        } else if (r == 0) {
            open = TopLeft;
            close = TopRight;
        } else if (r == rows - 1) {
            open = BottomLeft;
            close = BottomRight;
        }
        n += std::sprintf(buf + n, rowFormat, static_cast<int>(r));
        n += std::sprintf(buf + n, "%c ", open);
        const double* p = data + r * stride;
        for (VoSize c = 0; c < cols; ++c)
            n += std::sprintf(buf + n, "%8.7g ", p[c]);
        n += std::sprintf(buf + n, "%c\n", close);
    }
    return n;
}

VoSize Matrix::writeToString(char* buf) const
{
    char scratch[256];
    VoSize total = static_cast<VoSize>(
        std::snprintf(buf ? buf : scratch, sizeof scratch, "%" PRIu64 ",%" PRIu64 ": ", rows, cols));
    for (VoSize r = 0; cols > 0 && r < rows; ++r) {
        const double* p = data + r * stride;
        for (VoSize c = 0; c < cols; ++c)
            total += static_cast<VoSize>(io::formatExact(buf ? buf + total : nullptr, p[c]));
    }
    return total;
}

VoSize Matrix::writeToString(std::string& out) const
{
    return io::appendText(*this, out);
}

VoSize Matrix::readFromString(const char* text)
{
    size_t pos = 0;
    VoSize newRows = 0, newCols = 0;
    if (!io::readCount(text, pos, ',', newRows) || !io::readCount(text, pos, ':', newCols))
        return 0;
    if (!io::mayHoldValues(text, pos, newRows * newCols))
        return 0;
    reshapeForReading(*this, newRows, newCols);
    for (VoSize r = 0; cols > 0 && r < rows; ++r) {
        double* p = data + r * stride;
        for (VoSize c = 0; c < cols; ++c)
            if (!io::readValue(text, pos, p[c]))
                return 0;
    }
    return pos;
}

VoSize Matrix::readFromString(const std::string& text)
{
    return readFromString(text.c_str());
}

VoSize Matrix::serialize(char* buf) const
{
    const VoSize bytes = 8 + 8 * rows * cols;
    if (!buf)
        return bytes;
    const uint32_t counts[2] = {static_cast<uint32_t>(rows), static_cast<uint32_t>(cols)};
    std::memcpy(buf, counts, sizeof counts);
    // Without columns there is nothing to copy, and possibly no storage at all.
    for (VoSize r = 0; cols > 0 && r < rows; ++r)
        std::memcpy(buf + 8 + r * cols * sizeof(double), data + r * stride, cols * sizeof(double));
    return bytes;
}

VoSize Matrix::deserialize(const char* buf)
{
    uint32_t counts[2];
    std::memcpy(counts, buf, sizeof counts);
    if (!io::isTextCount(counts[0]) || !io::isTextCount(counts[1]))
        return 0;
    reshapeForReading(*this, counts[0], counts[1]);
    const VoSize valueBytes = rows * cols * sizeof(double);
    if (stride == cols) {
        if (valueBytes)
            std::memcpy(data, buf + 8, valueBytes);
    } else {
        for (VoSize r = 0; cols > 0 && r < rows; ++r)
            std::memcpy(data + r * stride, buf + 8 + r * cols * sizeof(double), cols * sizeof(double));
    }
    return 8 + valueBytes;
}

VoSize Matrix::deserialize(const char* buf, VoSize size)
{
    if (!buf || size < 8)
        return 0;
    uint32_t counts[2];
    std::memcpy(counts, buf, sizeof counts);
    const VoSize count = static_cast<VoSize>(counts[0]) * counts[1];
    if (count > (size - 8) / sizeof(double))
        return 0;
    return deserialize(buf);
}

bool Matrix::saveAsMatlab(const char* fileName, const char* variableName) const
{
    return io::writeMatFile(fileName, variableName, rows, cols, this, nullptr);
}

} // namespace velo

std::ostream& operator<<(std::ostream& out, const VoMatrix& m)
{
    out << '[' << m.rows << ',' << m.cols << "]{";
    for (VoSize r = 0; r < m.rows; ++r) {
        out << "\n(";
        for (VoSize c = 0; c < m.cols; ++c)
            out << ' ' << m.data[r * m.stride + c];
        out << " )";
    }
    return out << '}';
}
