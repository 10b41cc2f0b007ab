// Dense matrix products: the straightforward kernels for small operands and a
// cache-blocked, packed kernel for large ones.

#include "velo_matrix.h"

#include <algorithm>
#include <cstring>

namespace velo {

namespace {

// Above this size in every dimension the blocked kernel pays for its packing.
constexpr VoSize BlockedLimit = 258;

// The trivial kernels work on column strips of this width when the result is wide.
constexpr VoSize StripWidth = 5;
constexpr VoSize StripMinCols = 14;

// ---- Blocked kernel ----
// Blocks of A (MC x KC) and B (KC x NC) are packed into contiguous panels that the
// MR x NR micro-kernel streams through; the packing buffers live on the stack so
// that the product never allocates.

typedef double Packet __attribute__((vector_size(16)));

constexpr VoSize MR = 4;
constexpr VoSize NR = 4;
constexpr VoSize MC = 64;
constexpr VoSize KC = 256;
constexpr VoSize NC = 256;

// Element (k, j) of the right operand, b itself or b transposed.
template <bool Transposed>
inline double rightElement(const VoMatrix& b, VoSize k, VoSize j)
{
    return Transposed ? b.data[j * b.stride + k] : b.data[k * b.stride + j];
}

// A block of rows [i0, i0 + mc) and depth [k0, k0 + kc) as MR-row panels, zero padded.
void packLeft(double* dst, const VoMatrix& a, VoSize i0, VoSize mc, VoSize k0, VoSize kc)
{
    for (VoSize ip = 0; ip < mc; ip += MR) {
        const VoSize rowsHere = std::min(MR, mc - ip);
        for (VoSize r = 0; r < MR; ++r) {
            if (r < rowsHere) {
                const double* src = a.data + (i0 + ip + r) * a.stride + k0;
                for (VoSize k = 0; k < kc; ++k)
                    dst[k * MR + r] = src[k];
            } else {
                for (VoSize k = 0; k < kc; ++k)
                    dst[k * MR + r] = 0.0;
            }
        }
        dst += MR * kc;
    }
}

// B block of depth [k0, k0 + kc) and columns [j0, j0 + nc) as NR-column panels, zero padded.
template <bool Transposed>
void packRight(double* dst, const VoMatrix& b, VoSize k0, VoSize kc, VoSize j0, VoSize nc)
{
    for (VoSize jp = 0; jp < nc; jp += NR) {
        const VoSize colsHere = std::min(NR, nc - jp);
        if (!Transposed && colsHere == NR) {
            for (VoSize k = 0; k < kc; ++k) {
                const double* src = b.data + (k0 + k) * b.stride + j0 + jp;
                std::memcpy(dst + k * NR, src, NR * sizeof(double));
            }
        } else {
            for (VoSize k = 0; k < kc; ++k)
                for (VoSize c = 0; c < NR; ++c)
                    dst[k * NR + c] = c < colsHere ? rightElement<Transposed>(b, k0 + k, j0 + jp + c) : 0.0;
        }
        dst += NR * kc;
    }
}

// c (MR x NR, row distance ldc) += packed A panel * packed B panel over kc.
inline void microKernel(VoSize kc, const double* __restrict ap, const double* __restrict bp, double* c,
                        VoSize ldc, VoSize rowsHere, VoSize colsHere)
{
    Packet c00 = {0, 0}, c01 = {0, 0}, c10 = {0, 0}, c11 = {0, 0};
    Packet c20 = {0, 0}, c21 = {0, 0}, c30 = {0, 0}, c31 = {0, 0};
    for (VoSize k = 0; k < kc; ++k) {
        Packet b0, b1;
        std::memcpy(&b0, bp, sizeof b0);
        std::memcpy(&b1, bp + 2, sizeof b1);
        const Packet a0 = {ap[0], ap[0]};
        const Packet a1 = {ap[1], ap[1]};
        const Packet a2 = {ap[2], ap[2]};
        const Packet a3 = {ap[3], ap[3]};
        c00 += a0 * b0;
        c01 += a0 * b1;
        c10 += a1 * b0;
        c11 += a1 * b1;
        c20 += a2 * b0;
        c21 += a2 * b1;
        c30 += a3 * b0;
        c31 += a3 * b1;
        ap += MR;
        bp += NR;
    }
    alignas(16) double tile[MR * NR];
    std::memcpy(tile + 0, &c00, sizeof c00);
    std::memcpy(tile + 2, &c01, sizeof c01);
    std::memcpy(tile + 4, &c10, sizeof c10);
    std::memcpy(tile + 6, &c11, sizeof c11);
    std::memcpy(tile + 8, &c20, sizeof c20);
    std::memcpy(tile + 10, &c21, sizeof c21);
    std::memcpy(tile + 12, &c30, sizeof c30);
    std::memcpy(tile + 14, &c31, sizeof c31);
    for (VoSize r = 0; r < rowsHere; ++r)
        for (VoSize col = 0; col < colsHere; ++col)
            c[r * ldc + col] += tile[r * NR + col];
}

// result := a * op(b), op(b) = b or b transposed.
template <bool Transposed>
void blockedProduct(VoMatrix& result, const VoMatrix& a, const VoMatrix& b)
{
    const VoSize m = a.rows;
    const VoSize depth = a.cols;
    const VoSize n = Transposed ? b.rows : b.cols;
    for (VoSize r = 0; r < m; ++r)
        std::fill(result.data + r * result.stride, result.data + r * result.stride + n, 0.0);

    alignas(64) double packedA[MC * KC];
    alignas(64) double packedB[KC * NC];
    for (VoSize j0 = 0; j0 < n; j0 += NC) {
        const VoSize nc = std::min(NC, n - j0);
        for (VoSize k0 = 0; k0 < depth; k0 += KC) {
            const VoSize kc = std::min(KC, depth - k0);
            packRight<Transposed>(packedB, b, k0, kc, j0, nc);
            for (VoSize i0 = 0; i0 < m; i0 += MC) {
                const VoSize mc = std::min(MC, m - i0);
                packLeft(packedA, a, i0, mc, k0, kc);
                for (VoSize jp = 0; jp < nc; jp += NR) {
                    const double* bp = packedB + jp * kc;
                    for (VoSize ip = 0; ip < mc; ip += MR) {
                        double* c = result.data + (i0 + ip) * result.stride + j0 + jp;
                        microKernel(kc, packedA + ip * kc, bp, c, result.stride, std::min(MR, mc - ip),
                                    std::min(NR, nc - jp));
                    }
                }
            }
        }
    }
}

} // namespace

void Matrix::setMatMulMat(const VoMatrix& a, const VoMatrix& b)
{
    if (rows > BlockedLimit && cols > BlockedLimit && a.cols > BlockedLimit)
        setMatMulMatBlocked(a, b);
    else
        setMatMulMatTrivial(a, b);
}

void Matrix::setMatMulMatTrivial(const VoMatrix& a, const VoMatrix& b)
{
    const VoSize m = a.rows;
    const VoSize depth = a.cols;
    const VoSize n = b.cols;
    for (VoSize i = 0; i < m; ++i)
        std::fill(data + i * stride, data + i * stride + n, 0.0);
    if (n <= StripMinCols) {
        for (VoSize i = 0; i < m; ++i) {
            double* out = data + i * stride;
            const double* ai = a.data + i * a.stride;
            for (VoSize k = 0; k < depth; ++k) {
                const double aik = ai[k];
                const double* bk = b.data + k * b.stride;
                for (VoSize j = 0; j < n; ++j)
                    out[j] += aik * bk[j];
            }
        }
        return;
    }
    // Strips of five result columns, the sums held in registers; the last
    // strip takes the remaining columns.
    for (VoSize j0 = 0; j0 < n; j0 += StripWidth) {
        const VoSize width = std::min(StripWidth, n - j0);
        for (VoSize i = 0; i < m; ++i) {
            const double* ai = a.data + i * a.stride;
            double* out = data + i * stride + j0;
            if (width == StripWidth) {
                // Columns 0-1 and 2-3 as packets, column 4 alone; k still ascends.
                Packet s01 = {0, 0}, s23 = {0, 0};
                double s4 = 0.0;
                const double* bk = b.data + j0;
                for (VoSize k = 0; k < depth; ++k, bk += b.stride) {
                    const double aik = ai[k];
                    const Packet a2 = {aik, aik};
                    Packet b01, b23;
                    std::memcpy(&b01, bk, sizeof b01);
                    std::memcpy(&b23, bk + 2, sizeof b23);
                    s01 += a2 * b01;
                    s23 += a2 * b23;
                    s4 += aik * bk[4];
                }
                std::memcpy(out, &s01, sizeof s01);
                std::memcpy(out + 2, &s23, sizeof s23);
                out[4] = s4;
            } else {
                for (VoSize k = 0; k < depth; ++k) {
                    const double aik = ai[k];
                    const double* bk = b.data + k * b.stride + j0;
                    for (VoSize j = 0; j < width; ++j)
                        out[j] += aik * bk[j];
                }
            }
        }
    }
}

void Matrix::setMatMulMatBlocked(const VoMatrix& a, const VoMatrix& b)
{
    blockedProduct<false>(*this, a, b);
}

void Matrix::setMatMulTransMat(const VoMatrix& a, const VoMatrix& b)
{
    if (rows > BlockedLimit && cols > BlockedLimit && a.cols > BlockedLimit)
        setMatMulTransMatBlocked(a, b);
    else
        setMatMulTransMatTrivial(a, b);
}

void Matrix::setMatMulTransMatTrivial(const VoMatrix& a, const VoMatrix& b)
{
    // Rows of a against rows of b: both contiguous, one dot product per element.
    const VoSize m = a.rows;
    const VoSize depth = a.cols;
    const VoSize n = b.rows;
    for (VoSize i = 0; i < m; ++i) {
        const double* ai = a.data + i * a.stride;
        double* out = data + i * stride;
        for (VoSize j = 0; j < n; ++j) {
            const double* bj = b.data + j * b.stride;
            double sum = 0.0;
            for (VoSize k = 0; k < depth; ++k)
                sum += ai[k] * bj[k];
            out[j] = sum;
        }
    }
}

void Matrix::setMatMulTransMatBlocked(const VoMatrix& a, const VoMatrix& b)
{
    blockedProduct<true>(*this, a, b);
}

void Matrix::setTransMatMulMat(const VoMatrix& a, const VoMatrix& b)
{
    // Row k of a scales row k of b into every row i (a(k, i)); rows stay contiguous.
    const VoSize m = a.cols;
    const VoSize n = b.cols;
    for (VoSize i = 0; i < m; ++i)
        std::fill(data + i * stride, data + i * stride + n, 0.0);
    for (VoSize k = 0; k < a.rows; ++k) {
        const double* ak = a.data + k * a.stride;
        const double* bk = b.data + k * b.stride;
        for (VoSize i = 0; i < m; ++i) {
            const double aki = ak[i];
            double* out = data + i * stride;
            for (VoSize j = 0; j < n; ++j)
                out[j] += aki * bk[j];
        }
    }
}

void Matrix::setTransMatMulMat(const VoMatrix& a)
{
    setTransMatMulMat(a, a);
}

void Matrix::setMatMulMatMulMat(const VoMatrix& a, const VoMatrix& b, const VoMatrix& c)
{
    // No temporary: each element of the row a(i, :) * b is formed once and at
    // once spread over row i of the result through c.
    const VoSize n = c.cols;
    for (VoSize i = 0; i < a.rows; ++i) {
        double* out = data + i * stride;
        std::fill(out, out + n, 0.0);
        const double* ai = a.data + i * a.stride;
        for (VoSize l = 0; l < b.cols; ++l) {
            double t = 0.0;
            for (VoSize k = 0; k < a.cols; ++k)
                t += ai[k] * b.data[k * b.stride + l];
            const double* cl = c.data + l * c.stride;
            for (VoSize j = 0; j < n; ++j)
                out[j] += t * cl[j];
        }
    }
}

void Matrix::setScaMulMatMulMat(double s, const VoMatrix& a, const VoMatrix& b)
{
    setMatMulMat(a, b);
    if (s != 1.0)
        setScaMulMat(s, *this);
}

void Matrix::setSelfAddScaMulMatMulMat(double s, const VoMatrix& a, const VoMatrix& b)
{
    const VoSize n = b.cols;
    for (VoSize i = 0; i < a.rows; ++i) {
        const double* ai = a.data + i * a.stride;
        double* out = data + i * stride;
        for (VoSize k = 0; k < a.cols; ++k) {
            const double f = s * ai[k];
            const double* bk = b.data + k * b.stride;
            for (VoSize j = 0; j < n; ++j)
                out[j] += f * bk[j];
        }
    }
}

namespace {

// Row i of a * b, element l, for the products with a transposed factor.
inline double rowTimesCol(const VoMatrix& a, VoSize i, const VoMatrix& b, VoSize l)
{
    const double* ai = a.data + i * a.stride;
    double t = 0.0;
    for (VoSize k = 0; k < a.cols; ++k)
        t += ai[k] * b.data[k * b.stride + l];
    return t;
}

// out[0, cols) = sum over k < n of f[k] times the row of cols values at rows + k * rowStep.
inline void setRowCombination(double* out, VoSize cols, const double* f, VoSize n, const double* rows,
                              VoSize rowStep)
{
    std::fill(out, out + cols, 0.0);
    for (VoSize k = 0; k < n; ++k) {
        const double fk = f[k];
        const double* row = rows + k * rowStep;
        for (VoSize c = 0; c < cols; ++c)
            out[c] += fk * row[c];
    }
}

// The Kronecker product of a (or of a transposed) and b into result.
template <bool Transposed>
void kronProduct(VoMatrix& result, const VoMatrix& a, const VoMatrix& b)
{
    const VoSize aRows = Transposed ? a.cols : a.rows;
    const VoSize aCols = Transposed ? a.rows : a.cols;
    for (VoSize i = 0; i < aRows; ++i)
        for (VoSize k = 0; k < b.rows; ++k) {
            double* out = result.data + (i * b.rows + k) * result.stride;
            const double* bk = b.data + k * b.stride;
            for (VoSize j = 0; j < aCols; ++j) {
                const double aij = Transposed ? a.data[j * a.stride + i] : a.data[i * a.stride + j];
                for (VoSize l = 0; l < b.cols; ++l)
                    out[j * b.cols + l] = aij * bk[l];
            }
        }
}

} // namespace

void Matrix::setABAt(const VoMatrix& a, const VoMatrix& b)
{
    const VoSize n = a.rows;
    for (VoSize i = 0; i < n; ++i) {
        double* out = data + i * stride;
        std::fill(out, out + n, 0.0);
        for (VoSize l = 0; l < b.cols; ++l) {
            const double t = rowTimesCol(a, i, b, l);
            for (VoSize j = 0; j < n; ++j)
                out[j] += t * a.data[j * a.stride + l];
        }
    }
}

void Matrix::setABAtSymmetrical(const VoMatrix& a, const VoMatrix& b)
{
    const VoSize n = a.rows;
    for (VoSize i = 0; i < n; ++i) {
        double* out = data + i * stride;
        std::fill(out, out + i + 1, 0.0);
        for (VoSize l = 0; l < b.cols; ++l) {
            const double t = rowTimesCol(a, i, b, l);
            for (VoSize j = 0; j <= i; ++j)
                out[j] += t * a.data[j * a.stride + l];
        }
    }
    setSymmetricTriL(*this);
}

void Matrix::setABAtDiagonal(const VoMatrix& a, const VoMatrix& b)
{
    for (VoSize i = 0; i < a.rows; ++i) {
        double sum = 0.0;
        for (VoSize l = 0; l < b.cols; ++l)
            sum += rowTimesCol(a, i, b, l) * a.data[i * a.stride + l];
        data[i * stride + i] = sum;
    }
}

void Matrix::setAtBA(const VoMatrix& a, const VoMatrix& b)
{
    // this(i, :) = sum over l of (a(:, i)^T b(:, l)) * a(l, :)
    const VoSize n = a.cols;
    for (VoSize i = 0; i < n; ++i) {
        double* out = data + i * stride;
        std::fill(out, out + n, 0.0);
        for (VoSize l = 0; l < b.cols; ++l) {
            double t = 0.0;
            for (VoSize k = 0; k < a.rows; ++k)
                t += a.data[k * a.stride + i] * b.data[k * b.stride + l];
            const double* al = a.data + l * a.stride;
            for (VoSize j = 0; j < n; ++j)
                out[j] += t * al[j];
        }
    }
}

void Matrix::setMatMulMatSymmetrical(const VoMatrix& a, const VoMatrix& b)
{
    for (VoSize i = 0; i < a.rows; ++i)
        for (VoSize j = 0; j <= i; ++j)
            data[i * stride + j] = rowTimesCol(a, i, b, j);
    setSymmetricTriL(*this);
}

void Matrix::setMatMulTransMatSymmetrical(const VoMatrix& a, const VoMatrix& b)
{
    for (VoSize i = 0; i < a.rows; ++i) {
        const double* ai = a.data + i * a.stride;
        for (VoSize j = 0; j <= i; ++j) {
            const double* bj = b.data + j * b.stride;
            double sum = 0.0;
            for (VoSize k = 0; k < a.cols; ++k)
                sum += ai[k] * bj[k];
            data[i * stride + j] = sum;
        }
    }
    setSymmetricTriL(*this);
}

void Matrix::setMatMulMatDiagonal(const VoMatrix& a, const VoMatrix& b)
{
    for (VoSize i = 0; i < std::min(a.rows, b.cols); ++i)
        data[i * stride + i] = rowTimesCol(a, i, b, i);
}

void Matrix::setSelfMulMatDiagonal(const VoMatrix& a)
{
    // Row i of this is read before its diagonal element is replaced.
    for (VoSize i = 0; i < std::min(rows, a.cols); ++i)
        data[i * stride + i] = rowTimesCol(*this, i, a, i);
}

void Matrix::setMatMulDiag(const VoMatrix& a, const VoVector& v)
{
    for (VoSize i = 0; i < a.rows; ++i) {
        const double* ai = a.data + i * a.stride;
        double* out = data + i * stride;
        for (VoSize j = 0; j < a.cols; ++j)
            out[j] = ai[j] * v.data[j];
    }
}

void Matrix::setMatMulDiag(const VoMatrix& a, const VoMatrix& m)
{
    for (VoSize i = 0; i < a.rows; ++i) {
        const double* ai = a.data + i * a.stride;
        double* out = data + i * stride;
        for (VoSize j = 0; j < a.cols; ++j)
            out[j] = ai[j] * m.data[j * m.stride + j];
    }
}

void Matrix::setDiagMulMat(const VoVector& v, const VoMatrix& a)
{
    for (VoSize i = 0; i < a.rows; ++i) {
        const double* ai = a.data + i * a.stride;
        double* out = data + i * stride;
        const double f = v.data[i];
        for (VoSize j = 0; j < a.cols; ++j)
            out[j] = f * ai[j];
    }
}

void Matrix::setDiagMulMat(const VoMatrix& m, const VoMatrix& a)
{
    for (VoSize i = 0; i < a.rows; ++i) {
        const double* ai = a.data + i * a.stride;
        double* out = data + i * stride;
        const double f = m.data[i * m.stride + i];
        for (VoSize j = 0; j < a.cols; ++j)
            out[j] = f * ai[j];
    }
}

void Matrix::setDiagMulDiag(const VoMatrix& a, const VoMatrix& b)
{
    setZero();
    for (VoSize i = 0; i < std::min(a.rows, a.cols); ++i)
        data[i * stride + i] = a.data[i * a.stride + i] * b.data[i * b.stride + i];
}

void Matrix::setSelfAddMatMulDiag(const VoMatrix& a, const VoVector& v)
{
    for (VoSize i = 0; i < a.rows; ++i) {
        const double* ai = a.data + i * a.stride;
        double* out = data + i * stride;
        for (VoSize j = 0; j < a.cols; ++j)
            out[j] += ai[j] * v.data[j];
    }
}

void Matrix::setSelfAddMatMulDiag(const VoMatrix& a, const VoMatrix& m)
{
    for (VoSize i = 0; i < a.rows; ++i) {
        const double* ai = a.data + i * a.stride;
        double* out = data + i * stride;
        for (VoSize j = 0; j < a.cols; ++j)
            out[j] += ai[j] * m.data[j * m.stride + j];
    }
}

void Matrix::setSelfAddDiagMulMat(const VoVector& v, const VoMatrix& a)
{
    for (VoSize i = 0; i < a.rows; ++i) {
        const double* ai = a.data + i * a.stride;
        double* out = data + i * stride;
        const double f = v.data[i];
        for (VoSize j = 0; j < a.cols; ++j)
            out[j] += f * ai[j];
    }
}

void Matrix::setSelfAddDiagMulMat(const VoMatrix& m, const VoMatrix& a)
{
    for (VoSize i = 0; i < a.rows; ++i) {
        const double* ai = a.data + i * a.stride;
        double* out = data + i * stride;
        const double f = m.data[i * m.stride + i];
        for (VoSize j = 0; j < a.cols; ++j)
            out[j] += f * ai[j];
    }
}

void Matrix::setSelfAddDiagMulDiag(const VoMatrix& a, const VoMatrix& b)
{
    for (VoSize i = 0; i < std::min(a.rows, a.cols); ++i)
        data[i * stride + i] += a.data[i * a.stride + i] * b.data[i * b.stride + i];
}

void Matrix::setKronMatMulMat(const VoMatrix& a, const VoMatrix& b)
{
    kronProduct<false>(*this, a, b);
}

void Matrix::setKronTransMatMulMat(const VoMatrix& a, const VoMatrix& b)
{
    kronProduct<true>(*this, a, b);
}

void Matrix::setKronHorVecMulIdMulMat(const VoVector& v, const VoMatrix& m)
{
    // (v^T (x) I_p) m = sum over k of v[k] times the k-th block of p rows of m.
    const VoSize p = rows;
    for (VoSize r = 0; r < p; ++r)
        setRowCombination(data + r * stride, m.cols, v.data, v.size, m.data + r * m.stride, p * m.stride);
}

void Matrix::setKronMatMulIdMulMat(const VoMatrix& a, const VoMatrix& b)
{
    // (a (x) I_p) b: row i*p + r = sum over j of a(i, j) * row j*p + r of b.
    const VoSize p = rows / a.rows;
    for (VoSize i = 0; i < a.rows; ++i)
        for (VoSize r = 0; r < p; ++r)
            setRowCombination(data + (i * p + r) * stride, b.cols, a.data + i * a.stride, a.cols,
                              b.data + r * b.stride, p * b.stride);
}

void Matrix::setKronIdMulMatMulMat(const VoMatrix& a, const VoMatrix& b)
{
    // (I_p (x) a) b: block s of rows is a times block s of b's rows.
    const VoSize p = rows / a.rows;
    for (VoSize s = 0; s < p; ++s)
        for (VoSize i = 0; i < a.rows; ++i)
            setRowCombination(data + (s * a.rows + i) * stride, b.cols, a.data + i * a.stride, a.cols,
                              b.data + s * a.cols * b.stride, b.stride);
}

void Matrix::setVecMulVec(const VoVector& a, const VoVector& b)
{
    for (VoSize i = 0; i < a.size; ++i) {
        double* out = data + i * stride;
        const double f = a.data[i];
        for (VoSize j = 0; j < b.size; ++j)
            out[j] = f * b.data[j];
    }
}

void Matrix::setVecMulMat(const VoVector& v, const VoMatrix& m)
{
    setRowCombination(data, m.cols, v.data, v.size, m.data, m.stride);
}

void Matrix::setMatMulVec(const VoMatrix& m, const VoVector& v)
{
    for (VoSize i = 0; i < m.rows; ++i) {
        const double* mi = m.data + i * m.stride;
        double sum = 0.0;
        for (VoSize k = 0; k < m.cols; ++k)
            sum += mi[k] * v.data[k];
        data[i * stride] = sum;
    }
}

void Matrix::setMatMulMatTriL(const VoMatrix& a, const VoMatrix& b)
{
    setMatMulMatTriLSkip(a, b, 0);
}

void Matrix::setMatMulMatTriLSkip(const VoMatrix& a, const VoMatrix& b, VoSize n)
{
    for (VoSize i = n; i < a.rows; ++i) {
        double* out = data + i * stride;
        for (VoSize j = 0; j < b.cols; ++j)
            out[j] = j <= i ? rowTimesCol(a, i, b, j) : 0.0;
    }
}

} // namespace velo
