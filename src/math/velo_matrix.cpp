#include "velo_matrix.h"

#include "velo_math_base.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

namespace velo {

namespace {

const char ResizeNotAllowed[] = "resizing of this object is not allowed";

void check(VoResultValue result)
{
    if (result != VO_RESULT_OK)
        throw std::bad_alloc();
}

} // namespace

Matrix::Matrix(VoSize rows, VoSize cols)
{
    VoMatrix_zero(this);
    if (rows != 0 && cols != 0)
        check(VoMatrix_construct(this, rows, cols, cols, nullptr, 0));
}

Matrix::Matrix(VoSize rows, VoSize cols, const double* src)
{
    VoMatrix_zero(this);
    check(VoMatrix_assign(this, rows, cols, cols, src, cols));
}

Matrix::Matrix(const VoMatrix& other)
{
    VoMatrix_zero(this);
    check(VoMatrix_copy(this, &other));
}

Matrix::Matrix(const Matrix& other)
    : Matrix(static_cast<const VoMatrix&>(other))
{
}

Matrix::Matrix(Matrix&& other) noexcept
{
    VoMatrix_zero(this);
    if (other.flags & VO_DATA_MANAGED) {
        VoMatrix_swap(this, &other);
    } else if (other.data) {
        // Fixed storage lives inside the other object: it must be copied, not taken.
        check(VoMatrix_copy(this, &other));
    }
}

Matrix::Matrix(VoSize rows, VoSize cols, VoMatrix& other, VoSize rowOffset, VoSize colOffset)
    : Matrix(rows, cols, other.stride, other.data + rowOffset * other.stride + colOffset, VO_DATA_VIEW)
{
}

Matrix& Matrix::operator=(const VoMatrix& other)
{
    if (&other == this)
        return *this;
    if (rows != other.rows || cols != other.cols) {
        if (data && !(flags & VO_DATA_MANAGED))
            throw VoException(VO_RESULT_EXCEPTION, "void velo::Matrix::changeSize(VoSize, VoSize)",
                              ResizeNotAllowed);
        check(VoMatrix_assign(this, other.rows, other.cols, other.cols, nullptr, 0));
    }
    if (data && other.data)
        copyValues(other);
    return *this;
}

Matrix& Matrix::operator=(const Matrix& other)
{
    return operator=(static_cast<const VoMatrix&>(other));
}

Matrix& Matrix::operator=(Matrix&& other)
{
    if ((other.flags & VO_DATA_MANAGED) && (!data || (flags & VO_DATA_MANAGED))) {
        VoMatrix_swap(this, &other);
        return *this;
    }
    return operator=(static_cast<const VoMatrix&>(other));
}

// ---- Resizing group ----

void Matrix::changeSize(VoSize newRows, VoSize newCols)
{
    if (newRows == rows && newCols == cols)
        return;
    if (!data || rows == 0 || cols == 0) {
        if (data && !(flags & VO_DATA_MANAGED))
            throw VoException(VO_RESULT_EXCEPTION, "void velo::Matrix::changeSize(VoSize, VoSize)",
                              ResizeNotAllowed);
        check(VoMatrix_assign(this, newRows, newCols, newCols, nullptr, 0));
        return;
    }
    if (!(flags & VO_DATA_MANAGED))
        throw VoException(VO_RESULT_EXCEPTION, "void velo::Matrix::changeSize(VoSize, VoSize)", ResizeNotAllowed);
    Matrix grown(newRows, newCols);
    if (grown.data) {
        if (newRows > rows || newCols > cols)
            std::fill(grown.data, grown.data + newRows * newCols, 0.0);
        const VoSize keepRows = std::min(rows, newRows);
        const VoSize keepCols = std::min(cols, newCols);
        for (VoSize r = 0; r < keepRows; ++r)
            std::memcpy(grown.data + r * newCols, data + r * stride, keepCols * sizeof(double));
    } else {
        grown.rows = newRows;
        grown.cols = newCols;
        grown.stride = newCols;
    }
    VoMatrix_swap(this, &grown);
}

void Matrix::insertCols(VoSize before, VoSize count, VoReal value)
{
    if (data && !(flags & VO_DATA_MANAGED))
        throw VoException(VO_RESULT_EXCEPTION, "void velo::Matrix::insertCols(VoSize, VoSize, VoReal)",
                          ResizeNotAllowed);
    const VoSize oldCols = cols;
    changeSize(rows, cols + count);
    for (VoSize r = 0; r < rows; ++r) {
        double* row = data + r * stride;
        if (before < oldCols) {
            // Rightmost first, so nothing is overwritten before it moved.
            for (VoSize c = oldCols; c-- > before;)
                row[c + count] = row[c];
        }
        for (VoSize c = before; c < before + count; ++c)
            row[c] = value;
    }
}

void Matrix::insertRows(VoSize before, VoSize count, VoReal value)
{
    if (data && !(flags & VO_DATA_MANAGED))
        throw VoException(VO_RESULT_EXCEPTION, "void velo::Matrix::insertRows(VoSize, VoSize, VoReal)",
                          ResizeNotAllowed);
    const VoSize oldRows = rows;
    changeSize(rows + count, cols);
    if (before < oldRows) {
        for (VoSize r = oldRows; r-- > before;)
            std::memcpy(data + (r + count) * stride, data + r * stride, cols * sizeof(double));
    }
    for (VoSize r = before; r < before + count; ++r)
        setRow(value, r);
}

void Matrix::setTransposeSelf()
{
    if (rows == cols) {
        for (VoSize r = 0; r < rows; ++r)
            for (VoSize c = r + 1; c < cols; ++c)
                std::swap(data[r * stride + c], data[c * stride + r]);
        return;
    }
    if (!data || rows == 0 || cols == 0) {
        std::swap(rows, cols);
        stride = cols;
        return;
    }
    if (data && !(flags & VO_DATA_MANAGED))
        throw VoException(VO_RESULT_EXCEPTION, "void velo::Matrix::setTransposeSelf()",
                          "Resizing of this object is not allowed");
    Matrix transposed(cols, rows);
    for (VoSize r = 0; r < rows; ++r)
        for (VoSize c = 0; c < cols; ++c)
            transposed.data[c * rows + r] = data[r * stride + c];
    VoMatrix_swap(this, &transposed);
}

Vector3 toVector3(const int* v, int exponent)
{
    return Vector3(std::ldexp(v[0], -exponent), std::ldexp(v[1], -exponent), std::ldexp(v[2], -exponent));
}

} // namespace velo
