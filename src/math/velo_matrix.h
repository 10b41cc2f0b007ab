#ifndef VELO_MATRIX_H
#define VELO_MATRIX_H

#include "velo_vector.h"
#include "vo_exception.h"
#include "votypes.h"

#include <cstdint>
#include <iosfwd>
#include <new>
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
    // Deep, dense copy. The special members are inline because hosts copy the
    // matrices that the plotting classes hand out.
    Matrix(const VoMatrix& other)
    {
        VoMatrix_zero(this);
        checkAllocation(VoMatrix_copy(this, &other));
    }
    Matrix(const Matrix& other)
        : Matrix(static_cast<const VoMatrix&>(other))
    {
    }
    // Takes managed storage over; anything else (inline storage in particular) is copied.
    Matrix(Matrix&& other)
    {
        VoMatrix_zero(this);
        if (other.flags & VO_DATA_MANAGED)
            VoMatrix_swap(this, &other);
        else if (other.data)
            checkAllocation(VoMatrix_copy(this, &other));
    }
    // View of a rows x cols block of other starting at (rowOffset, colOffset).
    Matrix(VoSize rows, VoSize cols, VoMatrix& other, VoSize rowOffset, VoSize colOffset);
    ~Matrix() { VoMatrix_destruct(this); }

    // Copies values, resizing by the resizing rules when the shape differs.
    Matrix& operator=(const VoMatrix& other)
    {
        if (&other == this)
            return *this;
        if (rows != other.rows || cols != other.cols) {
            if (data && !(flags & VO_DATA_MANAGED))
                throw VoException(VO_RESULT_EXCEPTION, "void velo::Matrix::changeSize(VoSize, VoSize)",
                                  "resizing of this object is not allowed");
            checkAllocation(VoMatrix_assign(this, other.rows, other.cols, other.cols, nullptr, 0));
        }
        if (data && other.data)
            copyValues(other);
        return *this;
    }
    Matrix& operator=(const Matrix& other) { return operator=(static_cast<const VoMatrix&>(other)); }
    Matrix& operator=(Matrix&& other)
    {
        if ((other.flags & VO_DATA_MANAGED) && (!data || (flags & VO_DATA_MANAGED))) {
            VoMatrix_swap(this, &other);
            return *this;
        }
        return operator=(static_cast<const VoMatrix&>(other));
    }

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

    // Line access; no bounds checks anywhere in this group.
    void setCol(const VoVector& v, VoSize col);
    void setRow(const VoVector& v, VoSize row);
    void setCol(const double* v, VoSize col);
    void setRow(const double* v, VoSize row);
    void setCol(const VoQuaternion& q, VoSize col);
    void setRow(const VoQuaternion& q, VoSize row);
    // Copies column col into the first rows elements of v.
    void getCol(VoVector& v, VoSize col) const;
    // Owned copies of a row or a column.
    Vector row(VoSize r) const;
    Vector col(VoSize c) const;
    // Row dst += s * row src.
    void setRow_rowAddScaMulRow(VoSize dst, double s, VoSize src);
    // Exchanges columns c1 + k and c2 + k (k < count) over the rows from firstRow on.
    void swapCols(VoSize c1, VoSize c2, VoSize count = 1, VoSize firstRow = 0);
    // Exchanges rows r1 + k and r2 + k (k < count) over the columns from firstCol on.
    void swapRows(VoSize r1, VoSize r2, VoSize count = 1, VoSize firstCol = 0);

    // Block writes: a rows x cols block whose top-left element is (row, col).
    void setZero();
    void setSub_zero(VoSize row, VoSize col, VoSize rows, VoSize cols);
    void setSub_scalar(double value, VoSize row, VoSize col, VoSize rows, VoSize cols);
    // s on the block's diagonal, zero elsewhere in the block.
    void setSub_identity(double s, VoSize row, VoSize col, VoSize rows, VoSize cols);
    // v on the diagonal starting at (row, col); nothing else is touched.
    void setSub_diag(const VoVector& v, VoSize row, VoSize col);
    // this(dstRow + i, dstCol + j) := src(srcRow + i, srcCol + j).
    void setSub_mat(const VoMatrix& src, VoSize dstRow, VoSize dstCol, VoSize rows, VoSize cols,
                    VoSize srcRow = 0, VoSize srcCol = 0);
    void setSub_scaMulMat(double s, const VoMatrix& src, VoSize dstRow, VoSize dstCol, VoSize rows, VoSize cols,
                          VoSize srcRow = 0, VoSize srcCol = 0);
    // Block of a + b, both read at (srcRow, srcCol).
    void setSub_matAddMat(const VoMatrix& a, const VoMatrix& b, VoSize dstRow, VoSize dstCol, VoSize rows,
                          VoSize cols, VoSize srcRow = 0, VoSize srcCol = 0);

    // Resizing group: throws VoException when data is present and not managed.
    void changeSize(VoSize rows, VoSize cols);
    void insertCols(VoSize before, VoSize count, VoReal value);
    void insertRows(VoSize before, VoSize count, VoReal value);
    void setTransposeSelf();

    // Sums and scalings; the operands' shapes give the loop bounds.
    void setMatAddMat(const VoMatrix& a, const VoMatrix& b);
    void setMatSubMat(const VoMatrix& a, const VoMatrix& b);
    void setMatAddIdentity(const VoMatrix& a, double s);
    // Adds v along a one-column or one-row a; other shapes leave this unchanged.
    void setMatAddVec(const VoMatrix& a, const VoVector& v);
    void setMatAddMatDiagonal(const VoMatrix& a, const VoMatrix& b);
    void setMatAddDiagVec(const VoMatrix& a, const VoVector& v);
    void setMatAddMatAddMatSubMat(const VoMatrix& a, const VoMatrix& b, const VoMatrix& c, const VoMatrix& d);
    void setMatAddScaMulMat(const VoMatrix& a, double s, const VoMatrix& b);
    void setMatAddScaMulMatAddScaMulMat(const VoMatrix& a, double s, const VoMatrix& b, double t,
                                        const VoMatrix& c);
    void setScaMulMatAddScaMulMat(double s, const VoMatrix& a, double t, const VoMatrix& b);
    void setScaMulMat(double s, const VoMatrix& a);
    void setSelfAddScaMulMat(double s, const VoMatrix& a);
    // a + s * b transposed.
    void setMatAddTransMatMulSca(const VoMatrix& a, const VoMatrix& b, double s);
    void setIdentity(double s = 1.0);
    // Diagonal element i := s where bit i of mask is set (bit 0 is element (0, 0)).
    void setIdentity(double s, unsigned mask);
    void setDiag(const VoVector& v);
    void setDiag(const VoMatrix& m);
    void setDiag(const double* v);
    void setDiagSquared(const VoVector& v);
    void setDiagSquared(const double* v);
    void setSelfAddDiag(const VoMatrix& m);

    // Products. setMatMulMat switches to the blocked kernel above 258 in every dimension.
    void setMatMulMat(const VoMatrix& a, const VoMatrix& b);
    void setMatMulMatTrivial(const VoMatrix& a, const VoMatrix& b);
    void setMatMulMatBlocked(const VoMatrix& a, const VoMatrix& b);
    void setMatMulTransMat(const VoMatrix& a, const VoMatrix& b);
    void setMatMulTransMatTrivial(const VoMatrix& a, const VoMatrix& b);
    void setMatMulTransMatBlocked(const VoMatrix& a, const VoMatrix& b);
    void setTransMatMulMat(const VoMatrix& a, const VoMatrix& b);
    void setTransMatMulMat(const VoMatrix& a);
    void setMatMulMatMulMat(const VoMatrix& a, const VoMatrix& b, const VoMatrix& c);
    void setScaMulMatMulMat(double s, const VoMatrix& a, const VoMatrix& b);
    void setSelfAddScaMulMatMulMat(double s, const VoMatrix& a, const VoMatrix& b);
    // a * b * a transposed: in full, from one triangle mirrored, or the diagonal only.
    void setABAt(const VoMatrix& a, const VoMatrix& b);
    void setABAtSymmetrical(const VoMatrix& a, const VoMatrix& b);
    void setABAtDiagonal(const VoMatrix& a, const VoMatrix& b);
    // a transposed * b * a.
    void setAtBA(const VoMatrix& a, const VoMatrix& b);
    // Products known to be symmetric: the lower triangle is computed and mirrored.
    void setMatMulMatSymmetrical(const VoMatrix& a, const VoMatrix& b);
    void setMatMulTransMatSymmetrical(const VoMatrix& a, const VoMatrix& b);
    // Only the diagonal of the product is written.
    void setMatMulMatDiagonal(const VoMatrix& a, const VoMatrix& b);
    void setSelfMulMatDiagonal(const VoMatrix& a);
    // Column scaling a * diag(v), row scaling diag(v) * a, and the diagonal product.
    void setMatMulDiag(const VoMatrix& a, const VoVector& v);
    void setMatMulDiag(const VoMatrix& a, const VoMatrix& m);
    void setDiagMulMat(const VoVector& v, const VoMatrix& a);
    void setDiagMulMat(const VoMatrix& m, const VoMatrix& a);
    void setDiagMulDiag(const VoMatrix& a, const VoMatrix& b);
    void setSelfAddMatMulDiag(const VoMatrix& a, const VoVector& v);
    void setSelfAddMatMulDiag(const VoMatrix& a, const VoMatrix& m);
    void setSelfAddDiagMulMat(const VoVector& v, const VoMatrix& a);
    void setSelfAddDiagMulMat(const VoMatrix& m, const VoMatrix& a);
    void setSelfAddDiagMulDiag(const VoMatrix& a, const VoMatrix& b);
    // Element-wise products and quotients.
    void setMatEMulMat(const VoMatrix& a, const VoMatrix& b);
    void setMatEDivMat(const VoMatrix& a, const VoMatrix& b);
    void setMatEMulMatDiagonal(const VoMatrix& a, const VoMatrix& b);
    void setScaMulMatEMulMat(double s, const VoMatrix& a, const VoMatrix& b);
    // Kronecker products: a (x) b, a^T (x) b, and products with (v^T (x) I),
    // (a (x) I) and (I (x) a) whose identity size follows from this's rows.
    void setKronMatMulMat(const VoMatrix& a, const VoMatrix& b);
    void setKronTransMatMulMat(const VoMatrix& a, const VoMatrix& b);
    void setKronHorVecMulIdMulMat(const VoVector& v, const VoMatrix& m);
    void setKronMatMulIdMulMat(const VoMatrix& a, const VoMatrix& b);
    void setKronIdMulMatMulMat(const VoMatrix& a, const VoMatrix& b);
    // Outer product a * b^T.
    void setVecMulVec(const VoVector& a, const VoVector& b);
    // v^T * m as a one-row matrix, m * v as a one-column matrix.
    void setVecMulMat(const VoVector& v, const VoMatrix& m);
    void setMatMulVec(const VoMatrix& m, const VoVector& v);

    // Transposes and triangles.
    void setTransposeOf(const VoMatrix& a);
    // Transpose of a's upper triangle (zero above the diagonal).
    void setTransposeOfTriU(const VoMatrix& a);
    // a's upper triangle mirrored below the diagonal; the no-argument form works in place.
    void setSymmetric(const VoMatrix& a);
    void setSymmetric();
    // a's lower triangle mirrored above the diagonal.
    void setSymmetricTriL(const VoMatrix& a);
    // Elements with c - r >= k kept, the rest zero.
    void setTriU(const VoMatrix& a, long k = 0);
    void setTriL(const VoMatrix& a);
    // Elements with c - r <= k kept, the rest zero.
    void setTriL(const VoMatrix& a, long k);
    void setSelfAddTriL(const VoMatrix& a);
    void setSelfAddTriL(const VoMatrix& a, long k);
    // Lower triangle of a times diag(d).
    void setTriLMulDiag(const VoMatrix& a, const VoVector& d);
    void setSelfAddTriLMulDiag(const VoMatrix& a, const VoVector& d);
    // Lower triangle of a * b (zero above the diagonal).
    void setMatMulMatTriL(const VoMatrix& a, const VoMatrix& b);
    // As setMatMulMatTriL, leaving the first n rows untouched.
    void setMatMulMatTriLSkip(const VoMatrix& a, const VoMatrix& b, VoSize n);

    // Element-wise functions.
    void setSqrt(const VoMatrix& a);
    void setSqrtDiagonal(const VoMatrix& a);
    void setAbs(const VoMatrix& a);
    void setMin(const VoMatrix& a, const VoMatrix& b);
    // Row i := row p[i] of a (p holds indices).
    void setPermutation(const VoMatrix& a, const VoVector& p);

    // 3 x 3 rotations about the axes (right-handed, angle in radians).
    void setRotateX(double angle);
    void setRotateY(double angle);
    void setRotateZ(double angle);
    // Cross-product matrix: this * x == v x x; the Neg form gives (-v) x x.
    void setMcrossVec(const VoVector& v);
    void setMcrossNegVec(const VoVector& v);
    // All pairwise products v[i] * v[j].
    void setCrossTerms(const VoVector& v);
    // 3 x 3 rotation by q (q v q*) and by its inverse.
    void setQuat(const VoQuaternion& q);
    void setInvQuat(const VoQuaternion& q);
    // 4 x 4 matrices of the Hamilton product: q * p == L(q) p, p * q == R(q) p.
    void setLeftQuat(const VoQuaternion& q);
    void setRightQuat(const VoQuaternion& q);
    // 4 x 4 Jacobian of q / |q|.
    void setQuatNormalizeJacobian(const VoQuaternion& q);

    // Reductions, over the whole matrix or a block.
    double minVal() const;
    double minVal(VoSize row, VoSize col, VoSize rows, VoSize cols) const;
    double maxVal() const;
    double maxVal(VoSize row, VoSize col, VoSize rows, VoSize cols) const;
    // Largest magnitude and where it is (the first one in row-major order).
    double maxAbsVal(VoSize& rowOut, VoSize& colOut) const;
    double maxAbsVal(VoSize& rowOut, VoSize& colOut, VoSize row, VoSize col, VoSize rows, VoSize cols) const;
    double maxAbsValForRow(VoSize row) const;
    double maxAbsValForCol(VoSize col) const;
    double sumVal() const;
    double sumVal(VoSize row, VoSize col, VoSize rows, VoSize cols) const;
    double sumSquaredVal() const;
    double sumSquaredVal(VoSize row, VoSize col, VoSize rows, VoSize cols) const;
    double avgVal() const;
    double avgVal(VoSize row, VoSize col, VoSize rows, VoSize cols) const;
    double trace() const;
    Vector diag() const;
    VoSize countNonZeros() const;
    // bound <= 0: every element finite; bound > 0: finite and within [-bound, bound].
    bool isValid(double bound = 0.0) const;
    // Determinant; above 3 x 3 by elimination on a copy (the one allocating query).
    double det() const;
    double det2x2() const;
    double det3x3() const;
    bool isEqual(const VoMatrix& other) const;
    bool isEqual(const VoMatrix& other, double tolerance) const;
    bool isEqual(const VoMatrix& other, uint64_t ulps) const;
    bool operator==(const VoMatrix& other) const { return isEqual(other); }
    bool operator!=(const VoMatrix& other) const { return !isEqual(other); }
    // Dense row-major out and in.
    void toArray(double* out) const;
    void setArray(const double* in);

    // Text: display for people (code page 437 brackets), writeToString and
    // readFromString for round trips. Each returns the characters written or read.
    int display(char* buf) const;
    VoSize writeToString(char* buf) const;
    VoSize writeToString(std::string& out) const;
    // 0 when the header or any value does not parse.
    VoSize readFromString(const char* text);
    VoSize readFromString(const std::string& text);
    // Binary: 32-bit rows and cols, then the values row by row in host byte order.
    VoSize serialize(char* buf) const;
    VoSize deserialize(const char* buf);
    // As deserialize, reading at most size bytes; 0 (and no change) when buf is too short.
    VoSize deserialize(const char* buf, VoSize size);
    // Writes a level-5 MAT file holding one variable; false when the file cannot be written.
    bool saveAsMatlab(const char* fileName, const char* variableName) const;

protected:
    static void checkAllocation(VoResultValue result)
    {
        if (result != VO_RESULT_OK)
            throw std::bad_alloc();
    }
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
    // From any R x C matrix; another shape throws as a refused resize would.
    MatrixF(const VoMatrix& other)
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

// "[rows,cols]{", then per row "\n(" and " value" per element, " )"; finally "}".
std::ostream& operator<<(std::ostream& out, const VoMatrix& m);

#endif // VELO_MATRIX_H
