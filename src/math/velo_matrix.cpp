#include "velo_matrix.h"

#include "velo_math_base.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <new>
#include <utility>

namespace velo {

namespace {

const char ResizeNotAllowed[] = "resizing of this object is not allowed";

inline const double* rowOf(const VoMatrix& m, VoSize r)
{
    return m.data + r * m.stride;
}

inline double at(const VoMatrix& m, VoSize r, VoSize c)
{
    return m.data[r * m.stride + c];
}

// Calls f(row pointer of t, r) for the first rows rows of t.
template <class F>
inline void eachRow(VoMatrix& t, VoSize rows, F f)
{
    for (VoSize r = 0; r < rows; ++r)
        f(t.data + r * t.stride, r);
}

} // namespace

Matrix::Matrix(VoSize rows, VoSize cols)
{
    VoMatrix_zero(this);
    if (rows != 0 && cols != 0)
        checkAllocation(VoMatrix_construct(this, rows, cols, cols, nullptr, 0));
}

Matrix::Matrix(VoSize rows, VoSize cols, const double* src)
{
    VoMatrix_zero(this);
    checkAllocation(VoMatrix_assign(this, rows, cols, cols, src, cols));
}

Matrix::Matrix(VoSize rows, VoSize cols, VoMatrix& other, VoSize rowOffset, VoSize colOffset)
    : Matrix(rows, cols, other.stride, other.data + rowOffset * other.stride + colOffset, VO_DATA_VIEW)
{
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
        checkAllocation(VoMatrix_assign(this, newRows, newCols, newCols, nullptr, 0));
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

// ---- Line access ----

void Matrix::setCol(const VoVector& v, VoSize c)
{
    setCol(v.data, c);
}

void Matrix::setRow(const VoVector& v, VoSize r)
{
    setRow(v.data, r);
}

void Matrix::setCol(const double* v, VoSize c)
{
    double* p = data + c;
    for (VoSize r = 0; r < rows; ++r, p += stride)
        *p = v[r];
}

void Matrix::setRow(const double* v, VoSize r)
{
    std::memmove(data + r * stride, v, cols * sizeof(double));
}

void Matrix::setCol(const VoQuaternion& q, VoSize c)
{
    for (VoSize r = 0; r < 4; ++r)
        data[r * stride + c] = q.data[r];
}

void Matrix::setRow(const VoQuaternion& q, VoSize r)
{
    std::memcpy(data + r * stride, q.data, sizeof q.data);
}

void Matrix::getCol(VoVector& v, VoSize c) const
{
    const double* p = data + c;
    for (VoSize r = 0; r < rows; ++r, p += stride)
        v.data[r] = *p;
}

Vector Matrix::row(VoSize r) const
{
    if (!data || rows == 0 || cols == 0)
        return Vector();
    return Vector(cols, data + r * stride);
}

Vector Matrix::col(VoSize c) const
{
    if (!data || rows == 0 || cols == 0)
        return Vector();
    Vector column(rows);
    getCol(column, c);
    return column;
}

void Matrix::setRow_rowAddScaMulRow(VoSize dst, double s, VoSize src)
{
    double* d = data + dst * stride;
    const double* p = data + src * stride;
    for (VoSize c = 0; c < cols; ++c)
        d[c] += s * p[c];
}

void Matrix::swapCols(VoSize c1, VoSize c2, VoSize count, VoSize firstRow)
{
    if (c1 == c2 || count == 0)
        return;
    for (VoSize r = firstRow; r < rows; ++r) {
        double* p = data + r * stride;
        for (VoSize k = 0; k < count; ++k)
            std::swap(p[c1 + k], p[c2 + k]);
    }
}

void Matrix::swapRows(VoSize r1, VoSize r2, VoSize count, VoSize firstCol)
{
    if (r1 == r2 || count == 0)
        return;
    for (VoSize k = 0; k < count; ++k) {
        double* p1 = data + (r1 + k) * stride;
        double* p2 = data + (r2 + k) * stride;
        for (VoSize c = firstCol; c < cols; ++c)
            std::swap(p1[c], p2[c]);
    }
}

// ---- Block writes ----

void Matrix::setZero()
{
    setSub_scalar(0.0, 0, 0, rows, cols);
}

void Matrix::setSub_zero(VoSize r0, VoSize c0, VoSize nRows, VoSize nCols)
{
    setSub_scalar(0.0, r0, c0, nRows, nCols);
}

void Matrix::setSub_scalar(double value, VoSize r0, VoSize c0, VoSize nRows, VoSize nCols)
{
    for (VoSize r = 0; r < nRows; ++r)
        std::fill(data + (r0 + r) * stride + c0, data + (r0 + r) * stride + c0 + nCols, value);
}

void Matrix::setSub_identity(double s, VoSize r0, VoSize c0, VoSize nRows, VoSize nCols)
{
    setSub_scalar(0.0, r0, c0, nRows, nCols);
    for (VoSize i = 0; i < std::min(nRows, nCols); ++i)
        data[(r0 + i) * stride + c0 + i] = s;
}

void Matrix::setSub_diag(const VoVector& v, VoSize r0, VoSize c0)
{
    for (VoSize i = 0; i < v.size; ++i)
        data[(r0 + i) * stride + c0 + i] = v.data[i];
}

void Matrix::setSub_mat(const VoMatrix& src, VoSize dstRow, VoSize dstCol, VoSize nRows, VoSize nCols,
                        VoSize srcRow, VoSize srcCol)
{
    if (nRows == 0 || nCols == 0)
        return;
    for (VoSize r = 0; r < nRows; ++r)
        std::memmove(data + (dstRow + r) * stride + dstCol, src.data + (srcRow + r) * src.stride + srcCol,
                     nCols * sizeof(double));
}

void Matrix::setSub_scaMulMat(double s, const VoMatrix& src, VoSize dstRow, VoSize dstCol, VoSize nRows,
                              VoSize nCols, VoSize srcRow, VoSize srcCol)
{
    for (VoSize r = 0; r < nRows; ++r) {
        double* d = data + (dstRow + r) * stride + dstCol;
        const double* p = src.data + (srcRow + r) * src.stride + srcCol;
        for (VoSize c = 0; c < nCols; ++c)
            d[c] = s * p[c];
    }
}

void Matrix::setSub_matAddMat(const VoMatrix& a, const VoMatrix& b, VoSize dstRow, VoSize dstCol, VoSize nRows,
                              VoSize nCols, VoSize srcRow, VoSize srcCol)
{
    for (VoSize r = 0; r < nRows; ++r) {
        double* d = data + (dstRow + r) * stride + dstCol;
        const double* pa = a.data + (srcRow + r) * a.stride + srcCol;
        const double* pb = b.data + (srcRow + r) * b.stride + srcCol;
        for (VoSize c = 0; c < nCols; ++c)
            d[c] = pa[c] + pb[c];
    }
}

// ---- Sums and scalings ----

void Matrix::setMatAddMat(const VoMatrix& a, const VoMatrix& b)
{
    const VoSize n = a.cols;
    eachRow(*this, a.rows, [&](double* d, VoSize r) {
        const double* pa = rowOf(a, r);
        const double* pb = rowOf(b, r);
        for (VoSize c = 0; c < n; ++c)
            d[c] = pa[c] + pb[c];
    });
}

void Matrix::setMatSubMat(const VoMatrix& a, const VoMatrix& b)
{
    const VoSize n = a.cols;
    eachRow(*this, a.rows, [&](double* d, VoSize r) {
        const double* pa = rowOf(a, r);
        const double* pb = rowOf(b, r);
        for (VoSize c = 0; c < n; ++c)
            d[c] = pa[c] - pb[c];
    });
}

void Matrix::setMatAddIdentity(const VoMatrix& a, double s)
{
    setSub_mat(a, 0, 0, a.rows, a.cols);
    for (VoSize i = 0; i < std::min(a.rows, a.cols); ++i)
        data[i * stride + i] += s;
}

void Matrix::setMatAddVec(const VoMatrix& a, const VoVector& v)
{
    if (a.cols == 1) {
        for (VoSize i = 0; i < rows; ++i)
            data[i * stride] = at(a, i, 0) + v.data[i];
    } else if (a.rows == 1) {
        for (VoSize j = 0; j < cols; ++j)
            data[j] = a.data[j] + v.data[j];
    }
}

void Matrix::setMatAddMatDiagonal(const VoMatrix& a, const VoMatrix& b)
{
    setSub_mat(a, 0, 0, a.rows, a.cols);
    for (VoSize i = 0; i < std::min(a.rows, a.cols); ++i)
        data[i * stride + i] += at(b, i, i);
}

void Matrix::setMatAddDiagVec(const VoMatrix& a, const VoVector& v)
{
    setSub_mat(a, 0, 0, a.rows, a.cols);
    for (VoSize i = 0; i < std::min(a.rows, a.cols); ++i)
        data[i * stride + i] += v.data[i];
}

void Matrix::setMatAddMatAddMatSubMat(const VoMatrix& a, const VoMatrix& b, const VoMatrix& c, const VoMatrix& d)
{
    const VoSize n = a.cols;
    eachRow(*this, a.rows, [&](double* out, VoSize r) {
        const double* pa = rowOf(a, r);
        const double* pb = rowOf(b, r);
        const double* pc = rowOf(c, r);
        const double* pd = rowOf(d, r);
        for (VoSize j = 0; j < n; ++j)
            out[j] = pa[j] + pb[j] + pc[j] - pd[j];
    });
}

void Matrix::setMatAddScaMulMat(const VoMatrix& a, double s, const VoMatrix& b)
{
    const VoSize n = a.cols;
    eachRow(*this, a.rows, [&](double* d, VoSize r) {
        const double* pa = rowOf(a, r);
        const double* pb = rowOf(b, r);
        for (VoSize c = 0; c < n; ++c)
            d[c] = pa[c] + s * pb[c];
    });
}

void Matrix::setMatAddScaMulMatAddScaMulMat(const VoMatrix& a, double s, const VoMatrix& b, double t,
                                            const VoMatrix& c)
{
    const VoSize n = a.cols;
    eachRow(*this, a.rows, [&](double* d, VoSize r) {
        const double* pa = rowOf(a, r);
        const double* pb = rowOf(b, r);
        const double* pc = rowOf(c, r);
        for (VoSize j = 0; j < n; ++j)
            d[j] = pa[j] + s * pb[j] + t * pc[j];
    });
}

void Matrix::setScaMulMatAddScaMulMat(double s, const VoMatrix& a, double t, const VoMatrix& b)
{
    const VoSize n = a.cols;
    eachRow(*this, a.rows, [&](double* d, VoSize r) {
        const double* pa = rowOf(a, r);
        const double* pb = rowOf(b, r);
        for (VoSize c = 0; c < n; ++c)
            d[c] = s * pa[c] + t * pb[c];
    });
}

void Matrix::setScaMulMat(double s, const VoMatrix& a)
{
    setSub_scaMulMat(s, a, 0, 0, a.rows, a.cols);
}

void Matrix::setSelfAddScaMulMat(double s, const VoMatrix& a)
{
    const VoSize n = a.cols;
    eachRow(*this, a.rows, [&](double* d, VoSize r) {
        const double* pa = rowOf(a, r);
        for (VoSize c = 0; c < n; ++c)
            d[c] += s * pa[c];
    });
}

void Matrix::setMatAddTransMatMulSca(const VoMatrix& a, const VoMatrix& b, double s)
{
    const VoSize n = a.cols;
    eachRow(*this, a.rows, [&](double* d, VoSize r) {
        const double* pa = rowOf(a, r);
        for (VoSize c = 0; c < n; ++c)
            d[c] = pa[c] + s * at(b, c, r);
    });
}

void Matrix::setIdentity(double s)
{
    setSub_identity(s, 0, 0, rows, cols);
}

void Matrix::setIdentity(double s, unsigned mask)
{
    setZero();
    const VoSize n = std::min<VoSize>(std::min(rows, cols), sizeof(mask) * 8);
    for (VoSize i = 0; i < n; ++i)
        if (mask & (1u << i))
            data[i * stride + i] = s;
}

void Matrix::setDiag(const VoVector& v)
{
    setZero();
    for (VoSize i = 0; i < v.size; ++i)
        data[i * stride + i] = v.data[i];
}

void Matrix::setDiag(const VoMatrix& m)
{
    setZero();
    for (VoSize i = 0; i < std::min(m.rows, m.cols); ++i)
        data[i * stride + i] = at(m, i, i);
}

void Matrix::setDiag(const double* v)
{
    setZero();
    for (VoSize i = 0; i < std::min(rows, cols); ++i)
        data[i * stride + i] = v[i];
}

void Matrix::setDiagSquared(const VoVector& v)
{
    setZero();
    for (VoSize i = 0; i < v.size; ++i)
        data[i * stride + i] = v.data[i] * v.data[i];
}

void Matrix::setDiagSquared(const double* v)
{
    setZero();
    for (VoSize i = 0; i < std::min(rows, cols); ++i)
        data[i * stride + i] = v[i] * v[i];
}

void Matrix::setSelfAddDiag(const VoMatrix& m)
{
    for (VoSize i = 0; i < std::min(m.rows, m.cols); ++i)
        data[i * stride + i] += at(m, i, i);
}

// ---- Element-wise ----

void Matrix::setMatEMulMat(const VoMatrix& a, const VoMatrix& b)
{
    const VoSize n = a.cols;
    eachRow(*this, a.rows, [&](double* d, VoSize r) {
        const double* pa = rowOf(a, r);
        const double* pb = rowOf(b, r);
        for (VoSize c = 0; c < n; ++c)
            d[c] = pa[c] * pb[c];
    });
}

void Matrix::setMatEDivMat(const VoMatrix& a, const VoMatrix& b)
{
    const VoSize n = a.cols;
    eachRow(*this, a.rows, [&](double* d, VoSize r) {
        const double* pa = rowOf(a, r);
        const double* pb = rowOf(b, r);
        for (VoSize c = 0; c < n; ++c)
            d[c] = pa[c] / pb[c];
    });
}

void Matrix::setMatEMulMatDiagonal(const VoMatrix& a, const VoMatrix& b)
{
    for (VoSize i = 0; i < std::min(a.rows, a.cols); ++i)
        data[i * stride + i] = at(a, i, i) * at(b, i, i);
}

void Matrix::setScaMulMatEMulMat(double s, const VoMatrix& a, const VoMatrix& b)
{
    const VoSize n = a.cols;
    eachRow(*this, a.rows, [&](double* d, VoSize r) {
        const double* pa = rowOf(a, r);
        const double* pb = rowOf(b, r);
        for (VoSize c = 0; c < n; ++c)
            d[c] = s * pa[c] * pb[c];
    });
}

void Matrix::setSqrt(const VoMatrix& a)
{
    const VoSize n = a.cols;
    eachRow(*this, a.rows, [&](double* d, VoSize r) {
        const double* pa = rowOf(a, r);
        for (VoSize c = 0; c < n; ++c)
            d[c] = std::sqrt(pa[c]);
    });
}

void Matrix::setSqrtDiagonal(const VoMatrix& a)
{
    for (VoSize i = 0; i < std::min(a.rows, a.cols); ++i)
        data[i * stride + i] = std::sqrt(at(a, i, i));
}

void Matrix::setAbs(const VoMatrix& a)
{
    const VoSize n = a.cols;
    eachRow(*this, a.rows, [&](double* d, VoSize r) {
        const double* pa = rowOf(a, r);
        for (VoSize c = 0; c < n; ++c)
            d[c] = std::fabs(pa[c]);
    });
}

void Matrix::setMin(const VoMatrix& a, const VoMatrix& b)
{
    const VoSize n = a.cols;
    eachRow(*this, a.rows, [&](double* d, VoSize r) {
        const double* pa = rowOf(a, r);
        const double* pb = rowOf(b, r);
        for (VoSize c = 0; c < n; ++c)
            d[c] = pb[c] < pa[c] ? pb[c] : pa[c];
    });
}

void Matrix::setPermutation(const VoMatrix& a, const VoVector& p)
{
    for (VoSize r = 0; r < p.size; ++r)
        std::memmove(data + r * stride, rowOf(a, static_cast<VoSize>(p.data[r])), a.cols * sizeof(double));
}

// ---- Transposes and triangles ----

void Matrix::setTransposeOf(const VoMatrix& a)
{
    for (VoSize r = 0; r < a.cols; ++r) {
        double* d = data + r * stride;
        for (VoSize c = 0; c < a.rows; ++c)
            d[c] = at(a, c, r);
    }
}

void Matrix::setTransposeOfTriU(const VoMatrix& a)
{
    for (VoSize r = 0; r < a.cols; ++r) {
        double* d = data + r * stride;
        for (VoSize c = 0; c < a.rows; ++c)
            d[c] = c <= r ? at(a, c, r) : 0.0;
    }
}

void Matrix::setSymmetric(const VoMatrix& a)
{
    for (VoSize r = 0; r < a.rows; ++r) {
        double* d = data + r * stride;
        for (VoSize c = 0; c < a.cols; ++c)
            d[c] = c >= r ? at(a, r, c) : at(a, c, r);
    }
}

void Matrix::setSymmetric()
{
    for (VoSize r = 1; r < rows; ++r)
        for (VoSize c = 0; c < r; ++c)
            data[r * stride + c] = data[c * stride + r];
}

void Matrix::setSymmetricTriL(const VoMatrix& a)
{
    for (VoSize r = 0; r < a.rows; ++r) {
        double* d = data + r * stride;
        for (VoSize c = 0; c < a.cols; ++c)
            d[c] = c <= r ? at(a, r, c) : at(a, c, r);
    }
}

namespace {

// Whether element (r, c) lies on or above the k-th diagonal (k > 0 above the main one).
inline bool onOrAbove(VoSize r, VoSize c, long k)
{
    return static_cast<long>(c) - static_cast<long>(r) >= k;
}

inline bool onOrBelow(VoSize r, VoSize c, long k)
{
    return static_cast<long>(c) - static_cast<long>(r) <= k;
}

} // namespace

void Matrix::setTriU(const VoMatrix& a, long k)
{
    for (VoSize r = 0; r < a.rows; ++r) {
        double* d = data + r * stride;
        const double* pa = rowOf(a, r);
        for (VoSize c = 0; c < a.cols; ++c)
            d[c] = onOrAbove(r, c, k) ? pa[c] : 0.0;
    }
}

void Matrix::setTriL(const VoMatrix& a)
{
    setTriL(a, 0);
}

void Matrix::setTriL(const VoMatrix& a, long k)
{
    for (VoSize r = 0; r < a.rows; ++r) {
        double* d = data + r * stride;
        const double* pa = rowOf(a, r);
        for (VoSize c = 0; c < a.cols; ++c)
            d[c] = onOrBelow(r, c, k) ? pa[c] : 0.0;
    }
}

void Matrix::setSelfAddTriL(const VoMatrix& a)
{
    setSelfAddTriL(a, 0);
}

void Matrix::setSelfAddTriL(const VoMatrix& a, long k)
{
    for (VoSize r = 0; r < a.rows; ++r) {
        double* d = data + r * stride;
        const double* pa = rowOf(a, r);
        for (VoSize c = 0; c < a.cols && onOrBelow(r, c, k); ++c)
            d[c] += pa[c];
    }
}

void Matrix::setTriLMulDiag(const VoMatrix& a, const VoVector& dv)
{
    for (VoSize r = 0; r < a.rows; ++r) {
        double* d = data + r * stride;
        const double* pa = rowOf(a, r);
        for (VoSize c = 0; c < a.cols; ++c)
            d[c] = c <= r ? pa[c] * dv.data[c] : 0.0;
    }
}

void Matrix::setSelfAddTriLMulDiag(const VoMatrix& a, const VoVector& dv)
{
    for (VoSize r = 0; r < a.rows; ++r) {
        double* d = data + r * stride;
        const double* pa = rowOf(a, r);
        for (VoSize c = 0; c <= r && c < a.cols; ++c)
            d[c] += pa[c] * dv.data[c];
    }
}

// ---- Rotations and structured matrices ----

void Matrix::setRotateX(double angle)
{
    double s, c;
    ::sincos(angle, &s, &c);
    const double m[9] = {1.0, 0.0, 0.0, 0.0, c, -s, 0.0, s, c};
    setArray(m);
}

void Matrix::setRotateY(double angle)
{
    double s, c;
    ::sincos(angle, &s, &c);
    const double m[9] = {c, 0.0, s, 0.0, 1.0, 0.0, -s, 0.0, c};
    setArray(m);
}

void Matrix::setRotateZ(double angle)
{
    double s, c;
    ::sincos(angle, &s, &c);
    const double m[9] = {c, -s, 0.0, s, c, 0.0, 0.0, 0.0, 1.0};
    setArray(m);
}

void Matrix::setMcrossVec(const VoVector& v)
{
    const double* p = v.data;
    const double m[9] = {0.0, -p[2], p[1], p[2], 0.0, -p[0], -p[1], p[0], 0.0};
    setArray(m);
}

void Matrix::setMcrossNegVec(const VoVector& v)
{
    const double* p = v.data;
    const double m[9] = {0.0, p[2], -p[1], -p[2], 0.0, p[0], p[1], -p[0], 0.0};
    setArray(m);
}

void Matrix::setCrossTerms(const VoVector& v)
{
    setVecMulVec(v, v);
}

void Matrix::setQuat(const VoQuaternion& q)
{
    const double w = q.data[0], x = q.data[1], y = q.data[2], z = q.data[3];
    const double m[9] = {w * w + x * x - y * y - z * z, 2.0 * (x * y - w * z), 2.0 * (x * z + w * y),
                         2.0 * (x * y + w * z), w * w - x * x + y * y - z * z, 2.0 * (y * z - w * x),
                         2.0 * (x * z - w * y), 2.0 * (y * z + w * x), w * w - x * x - y * y + z * z};
    setArray(m);
}

void Matrix::setInvQuat(const VoQuaternion& q)
{
    const VoQuaternion conjugate = {{q.data[0], -q.data[1], -q.data[2], -q.data[3]}};
    setQuat(conjugate);
}

void Matrix::setLeftQuat(const VoQuaternion& q)
{
    const double w = q.data[0], x = q.data[1], y = q.data[2], z = q.data[3];
    const double m[16] = {w, -x, -y, -z, x, w, -z, y, y, z, w, -x, z, -y, x, w};
    setArray(m);
}

void Matrix::setRightQuat(const VoQuaternion& q)
{
    const double w = q.data[0], x = q.data[1], y = q.data[2], z = q.data[3];
    const double m[16] = {w, -x, -y, -z, x, w, z, -y, y, -z, w, x, z, y, -x, w};
    setArray(m);
}

void Matrix::setQuatNormalizeJacobian(const VoQuaternion& q)
{
    // d(q / |q|) / dq = (|q|^2 I - q q^T) / |q|^3
    const double n2 = q.data[0] * q.data[0] + q.data[1] * q.data[1] + q.data[2] * q.data[2] + q.data[3] * q.data[3];
    const double inv3 = 1.0 / (n2 * std::sqrt(n2));
    for (VoSize r = 0; r < 4; ++r)
        for (VoSize c = 0; c < 4; ++c)
            data[r * stride + c] = ((r == c ? n2 : 0.0) - q.data[r] * q.data[c]) * inv3;
}

// ---- Reductions ----

double Matrix::minVal() const
{
    return minVal(0, 0, rows, cols);
}

double Matrix::minVal(VoSize r0, VoSize c0, VoSize nRows, VoSize nCols) const
{
    double result = at(*this, r0, c0);
    for (VoSize r = 0; r < nRows; ++r) {
        const double* p = rowOf(*this, r0 + r) + c0;
        for (VoSize c = 0; c < nCols; ++c)
            result = p[c] < result ? p[c] : result;
    }
    return result;
}

double Matrix::maxVal() const
{
    return maxVal(0, 0, rows, cols);
}

double Matrix::maxVal(VoSize r0, VoSize c0, VoSize nRows, VoSize nCols) const
{
    double result = at(*this, r0, c0);
    for (VoSize r = 0; r < nRows; ++r) {
        const double* p = rowOf(*this, r0 + r) + c0;
        for (VoSize c = 0; c < nCols; ++c)
            result = p[c] > result ? p[c] : result;
    }
    return result;
}

double Matrix::maxAbsVal(VoSize& rowOut, VoSize& colOut) const
{
    return maxAbsVal(rowOut, colOut, 0, 0, rows, cols);
}

double Matrix::maxAbsVal(VoSize& rowOut, VoSize& colOut, VoSize r0, VoSize c0, VoSize nRows, VoSize nCols) const
{
    double result = -1.0;
    rowOut = r0;
    colOut = c0;
    for (VoSize r = 0; r < nRows; ++r) {
        const double* p = rowOf(*this, r0 + r) + c0;
        for (VoSize c = 0; c < nCols; ++c) {
            if (std::fabs(p[c]) > result) {
                result = std::fabs(p[c]);
                rowOut = r0 + r;
                colOut = c0 + c;
            }
        }
    }
    return result < 0.0 ? 0.0 : result;
}

double Matrix::maxAbsValForRow(VoSize r) const
{
    double result = 0.0;
    const double* p = rowOf(*this, r);
    for (VoSize c = 0; c < cols; ++c)
        result = std::max(result, std::fabs(p[c]));
    return result;
}

double Matrix::maxAbsValForCol(VoSize c) const
{
    double result = 0.0;
    for (VoSize r = 0; r < rows; ++r)
        result = std::max(result, std::fabs(at(*this, r, c)));
    return result;
}

double Matrix::sumVal() const
{
    return sumVal(0, 0, rows, cols);
}

double Matrix::sumVal(VoSize r0, VoSize c0, VoSize nRows, VoSize nCols) const
{
    double sum = 0.0;
    for (VoSize r = 0; r < nRows; ++r) {
        const double* p = rowOf(*this, r0 + r) + c0;
        for (VoSize c = 0; c < nCols; ++c)
            sum += p[c];
    }
    return sum;
}

double Matrix::sumSquaredVal() const
{
    return sumSquaredVal(0, 0, rows, cols);
}

double Matrix::sumSquaredVal(VoSize r0, VoSize c0, VoSize nRows, VoSize nCols) const
{
    double sum = 0.0;
    for (VoSize r = 0; r < nRows; ++r) {
        const double* p = rowOf(*this, r0 + r) + c0;
        for (VoSize c = 0; c < nCols; ++c)
            sum += p[c] * p[c];
    }
    return sum;
}

double Matrix::avgVal() const
{
    return avgVal(0, 0, rows, cols);
}

double Matrix::avgVal(VoSize r0, VoSize c0, VoSize nRows, VoSize nCols) const
{
    return sumVal(r0, c0, nRows, nCols) / static_cast<double>(nRows * nCols);
}

double Matrix::trace() const
{
    double sum = 0.0;
    for (VoSize i = 0; i < std::min(rows, cols); ++i)
        sum += data[i * stride + i];
    return sum;
}

Vector Matrix::diag() const
{
    const VoSize n = std::min(rows, cols);
    if (!data || n == 0)
        return Vector();
    Vector d(n);
    for (VoSize i = 0; i < n; ++i)
        d.data[i] = data[i * stride + i];
    return d;
}

VoSize Matrix::countNonZeros() const
{
    VoSize count = 0;
    for (VoSize r = 0; r < rows; ++r) {
        const double* p = rowOf(*this, r);
        for (VoSize c = 0; c < cols; ++c)
            count += p[c] != 0.0;
    }
    return count;
}

bool Matrix::isValid(double bound) const
{
    const double limit = bound > 0.0 ? bound : DBL_MAX;
    for (VoSize r = 0; r < rows; ++r) {
        const double* p = rowOf(*this, r);
        for (VoSize c = 0; c < cols; ++c)
            if (!(std::fabs(p[c]) <= limit))
                return false;
    }
    return true;
}

double Matrix::det2x2() const
{
    return at(*this, 0, 0) * at(*this, 1, 1) - at(*this, 0, 1) * at(*this, 1, 0);
}

double Matrix::det3x3() const
{
    const Matrix& m = *this;
    return m(0, 0) * (m(1, 1) * m(2, 2) - m(1, 2) * m(2, 1)) - m(0, 1) * (m(1, 0) * m(2, 2) - m(1, 2) * m(2, 0))
         + m(0, 2) * (m(1, 0) * m(2, 1) - m(1, 1) * m(2, 0));
}

double Matrix::det() const
{
    if (rows != cols)
        return 0.0;
    switch (rows) {
    case 0:
        return 1.0;
    case 1:
        return data[0];
    case 2:
        return det2x2();
    case 3:
        return det3x3();
    default:
        break;
    }
    // Gaussian elimination with partial pivoting on a copy.
    Matrix lu(*this);
    const VoSize n = rows;
    double result = 1.0;
    for (VoSize k = 0; k < n; ++k) {
        VoSize pivot = k;
        for (VoSize r = k + 1; r < n; ++r)
            if (std::fabs(lu(r, k)) > std::fabs(lu(pivot, k)))
                pivot = r;
        if (lu(pivot, k) == 0.0)
            return 0.0;
        if (pivot != k) {
            lu.swapRows(k, pivot, 1, k);
            result = -result;
        }
        result *= lu(k, k);
        const double inv = 1.0 / lu(k, k);
        for (VoSize r = k + 1; r < n; ++r) {
            const double f = lu(r, k) * inv;
            double* d = lu.data + r * lu.stride;
            const double* p = lu.data + k * lu.stride;
            for (VoSize c = k + 1; c < n; ++c)
                d[c] -= f * p[c];
        }
    }
    return result;
}

namespace {

template <class Same>
bool compareMatrices(const VoMatrix& a, const VoMatrix& b, Same same)
{
    if (a.rows != b.rows || a.cols != b.cols)
        return false;
    for (VoSize r = 0; r < a.rows; ++r) {
        const double* pa = rowOf(a, r);
        const double* pb = rowOf(b, r);
        for (VoSize c = 0; c < a.cols; ++c)
            if (!same(pa[c], pb[c]))
                return false;
    }
    return true;
}

} // namespace

bool Matrix::isEqual(const VoMatrix& other) const
{
    return compareMatrices(*this, other, [](double x, double y) { return x == y; });
}

bool Matrix::isEqual(const VoMatrix& other, double tolerance) const
{
    return compareMatrices(*this, other, [tolerance](double x, double y) { return fuzzyIsEqual(x, y, tolerance); });
}

bool Matrix::isEqual(const VoMatrix& other, uint64_t ulps) const
{
    return compareMatrices(*this, other, [ulps](double x, double y) { return ulpCompare(x, y, ulps); });
}

void Matrix::toArray(double* out) const
{
    for (VoSize r = 0; r < rows; ++r)
        std::memcpy(out + r * cols, rowOf(*this, r), cols * sizeof(double));
}

void Matrix::setArray(const double* in)
{
    for (VoSize r = 0; r < rows; ++r)
        std::memmove(data + r * stride, in + r * cols, cols * sizeof(double));
}

Vector3 toVector3(const int* v, int exponent)
{
    return Vector3(std::ldexp(v[0], -exponent), std::ldexp(v[1], -exponent), std::ldexp(v[2], -exponent));
}

} // namespace velo
