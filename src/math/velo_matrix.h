#ifndef VELO_MATRIX_H
#define VELO_MATRIX_H

#include "velo_vector.h"
#include "vo_exception.h"
#include "votypes.h"

#include <iosfwd>
#include <string>

namespace velo {

//! \brief Dense row-major matrix with a stride over a VoMatrix: owned, fixed or
//! borrowed storage. Operations are named by formula and write into this, whose
//! shape must already be the result's; only the resizing group allocates.
class Matrix : public VoMatrix
{
public:
    Matrix() { VoMatrix_zero(this); }
    // Owned storage when both dimensions are nonzero (not initialised), else empty.
    Matrix(VoSize rows, VoSize cols);
    // Owned copy of a dense row-major array.
    Matrix(VoSize rows, VoSize cols, const double* src);
    // User storage: stores the fields as given, the caller keeps ownership of data.
    Matrix(VoSize rows, VoSize cols, VoSize stride, double* data, VoDataFlags flags)
    {
        this->data = data;
        this->rows = rows;
        this->cols = cols;
        this->stride = stride;
        this->flags = flags;
    }
    Matrix(const VoMatrix& other);
    Matrix(const Matrix& other);
    Matrix(Matrix&& other) noexcept;
    // View of a rows x cols block of other starting at (rowOffset, colOffset).
    Matrix(VoSize rows, VoSize cols, VoMatrix& other, VoSize rowOffset, VoSize colOffset);
    ~Matrix() { VoMatrix_destruct(this); }

    // Copies values, resizing by the resizing rules when the shape differs.
    Matrix& operator=(const VoMatrix& other);
    Matrix& operator=(const Matrix& other);
    Matrix& operator=(Matrix&& other);

    double& operator()(VoSize r, VoSize c) { return data[r * stride + c]; }
    const double& operator()(VoSize r, VoSize c) const { return data[r * stride + c]; }
    double& flatRow(VoSize i) { return data[(i / cols) * stride + i % cols]; }
    const double& flatRow(VoSize i) const { return data[(i / cols) * stride + i % cols]; }
    double& flatCol(VoSize i) { return data[i / rows + (i % rows) * stride]; }
    const double& flatCol(VoSize i) const { return data[i / rows + (i % rows) * stride]; }
    bool isManaged() const { return (flags & VO_DATA_MANAGED) != 0; }

    // Every element of column col := value.
    void setCol(double value, VoSize col)
    {
        double* p = data + col;
        for (VoSize r = 0; r < rows; ++r, p += stride)
            *p = value;
    }
    void setRow(double value, VoSize row)
    {
        double* p = data + row * stride;
        for (VoSize c = 0; c < cols; ++c)
            p[c] = value;
    }

    // Resizing group: throws VoException when data is present and not managed.
    void changeSize(VoSize rows, VoSize cols);
    void insertCols(VoSize before, VoSize count, VoReal value);
    void insertRows(VoSize before, VoSize count, VoReal value);
    void setTransposeSelf();

    void setMatMulMat(const VoMatrix& a, const VoMatrix& b);
    void setMatMulMatTrivial(const VoMatrix& a, const VoMatrix& b);
    void setMatMulMatBlocked(const VoMatrix& a, const VoMatrix& b);
    void setMatMulTransMat(const VoMatrix& a, const VoMatrix& b);
    void setMatMulTransMatTrivial(const VoMatrix& a, const VoMatrix& b);
    void setMatMulTransMatBlocked(const VoMatrix& a, const VoMatrix& b);

protected:
    // Copies the values of a same-shaped matrix.
    void copyValues(const VoMatrix& other)
    {
        for (VoSize r = 0; r < rows; ++r)
            std::memmove(data + r * stride, other.data + r * other.stride, cols * sizeof(double));
    }
};

//! \brief R x C matrix with inline storage (the plotting code's scale box is MatrixF<3,2>).
template <VoSize R, VoSize C>
class MatrixF : public Matrix
{
public:
    MatrixF()
        : Matrix(R, C, C, m_storage, VO_DATA_FIXED_SIZE)
    {
    }
    // Copies land in this object's own storage, never alias the source's.
    MatrixF(const MatrixF& other)
        : Matrix(R, C, C, m_storage, VO_DATA_FIXED_SIZE)
    {
        copyValues(other);
    }
    explicit MatrixF(const VoMatrix& other)
        : Matrix(R, C, C, m_storage, VO_DATA_FIXED_SIZE)
    {
        assign(other);
    }
    MatrixF& operator=(const MatrixF& other)
    {
        copyValues(other);
        return *this;
    }
    MatrixF& operator=(const VoMatrix& other)
    {
        assign(other);
        return *this;
    }

private:
    void assign(const VoMatrix& other)
    {
        if (other.rows != R || other.cols != C)
            throw VoException(VO_RESULT_EXCEPTION, "void velo::Matrix::changeSize(VoSize, VoSize)",
                              "resizing of this object is not allowed");
        copyValues(other);
    }

    double m_storage[R * C] = {};
};

//! \brief 3 x 3 matrix with inline storage.
using Matrix3x3 = MatrixF<3, 3>;

// Fixed-point to double: element i is v[i] / 2^exponent.
Vector3 toVector3(const int* v, int exponent);

} // namespace velo

#endif // VELO_MATRIX_H
