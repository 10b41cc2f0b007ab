#include "velo_vector.h"

#include "velo_math_base.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <new>
#include <utility>

namespace velo {

namespace {

const char ResizeNotAllowed[] = "Resizing of this object is not allowed";

inline double at(const VoMatrix& m, VoSize r, VoSize c)
{
    return m.data[r * m.stride + c];
}

} // namespace

Vector::Vector(VoSize size)
{
    VoVector_zero(this);
    checkAllocation(VoVector_construct(this, size, nullptr));
}

Vector::Vector(VoSize size, const double* src)
{
    VoVector_zero(this);
    checkAllocation(VoVector_construct(this, size, src));
}

Vector::Vector(VoSize size, VoVector& other, VoSize offset)
    : Vector(size, other.data + offset, VO_DATA_VIEW)
{
}

Vector::Vector(const VoQuaternion& q)
    : Vector(4, q.data)
{
}

Vector::Vector(VoMatrix& m, VoSize index)
    : Vector(m.cols, m.data + (index / m.cols) * m.stride + index % m.cols, VO_DATA_VIEW)
{
}

Vector Vector::constructRange(double start, double step, double end)
{
    const double count = (end - start) / step + 1.5;
    Vector range(count > 0.0 ? static_cast<VoSize>(count) : 0);
    for (VoSize i = 0; i < range.size; ++i)
        range.data[i] = start + static_cast<double>(i) * step;
    return range;
}

Vector& Vector::operator=(const VoQuaternion& q)
{
    std::memcpy(data, q.data, sizeof q.data);
    return *this;
}

Vector& Vector::operator=(const double* src)
{
    if (data && src)
        std::memmove(data, src, size * sizeof(double));
    return *this;
}

void Vector::relocate(double* newData, VoDataFlags newFlags)
{
    if (newData == data)
        return;
    const VoSize keptSize = size;
    if (data && (flags & VO_DATA_MANAGED))
        VoVector_destruct(this);
    data = newData;
    size = keptSize;
    flags = newFlags;
}

// ---- Resizing group ----

void Vector::changeSize(VoSize newSize)
{
    if (newSize == size)
        return;
    if (data && !(flags & VO_DATA_MANAGED))
        throw VoException(VO_RESULT_EXCEPTION, "void velo::Vector::changeSize(VoSize)", ResizeNotAllowed);
    Vector resized(newSize);
    const VoSize kept = data ? std::min(size, newSize) : 0;
    if (kept)
        std::memcpy(resized.data, data, kept * sizeof(double));
    if (newSize > kept)
        std::fill(resized.data + kept, resized.data + newSize, 0.0);
    VoVector_swap(this, &resized);
}

void Vector::insertItems(VoSize before, VoSize count, VoReal value)
{
    if (data && !(flags & VO_DATA_MANAGED))
        throw VoException(VO_RESULT_EXCEPTION, "void velo::Vector::insertItems(VoSize, VoSize, VoReal)",
                          ResizeNotAllowed);
    if (count == 0)
        return;
    const VoSize oldSize = size;
    before = std::min(before, oldSize);
    changeSize(oldSize + count);
    std::memmove(data + before + count, data + before, (oldSize - before) * sizeof(double));
    std::fill(data + before, data + before + count, value);
}

void Vector::erase(VoSize start, VoSize count)
{
    if (data && !(flags & VO_DATA_MANAGED))
        throw VoException(VO_RESULT_EXCEPTION, "void velo::Vector::erase(VoSize, VoSize)", ResizeNotAllowed);
    if (start >= size || count == 0)
        return;
    count = std::min(count, size - start);
    std::memmove(data + start, data + start + count, (size - start - count) * sizeof(double));
    changeSize(size - count);
}

void Vector::push_back(VoReal value)
{
    if (data && !(flags & VO_DATA_MANAGED))
        throw VoException(VO_RESULT_EXCEPTION, "void velo::Vector::push_back(VoReal)", ResizeNotAllowed);
    changeSize(size + 1);
    data[size - 1] = value;
}

void Vector::pop_back()
{
    if (data && !(flags & VO_DATA_MANAGED))
        throw VoException(VO_RESULT_EXCEPTION, "void velo::Vector::pop_back()", ResizeNotAllowed);
    if (size)
        changeSize(size - 1);
}

// ---- Element access ----

void Vector::setSubVector(const VoVector& src, VoSize srcStart, VoSize count, VoSize dstStart)
{
    setSubVector(src.data, srcStart, count, dstStart);
}

void Vector::setSubVector(const double* src, VoSize srcStart, VoSize count, VoSize dstStart)
{
    if (count)
        std::memmove(data + dstStart, src + srcStart, count * sizeof(double));
}

void Vector::setSub_zero(VoSize start, VoSize count)
{
    std::fill(data + start, data + start + count, 0.0);
}

void Vector::setZero()
{
    std::fill(data, data + size, 0.0);
}

void Vector::setMatCol(const VoMatrix& m, VoSize c)
{
    for (VoSize r = 0; r < m.rows; ++r)
        data[r] = at(m, r, c);
}

void Vector::setMatRow(const VoMatrix& m, VoSize r)
{
    std::memmove(data, m.data + r * m.stride, m.cols * sizeof(double));
}

void Vector::setFlatCol(const VoMatrix& m)
{
    for (VoSize c = 0; c < m.cols; ++c)
        for (VoSize r = 0; r < m.rows; ++r)
            data[c * m.rows + r] = at(m, r, c);
}

void Vector::setFlatRow(const VoMatrix& m)
{
    for (VoSize r = 0; r < m.rows; ++r)
        std::memmove(data + r * m.cols, m.data + r * m.stride, m.cols * sizeof(double));
}

void Vector::setDiag(const VoMatrix& m)
{
    for (VoSize i = 0; i < std::min(m.rows, m.cols); ++i)
        data[i] = at(m, i, i);
}

// ---- Element-wise arithmetic ----

void Vector::setVecAddVec(const VoVector& a, const VoVector& b)
{
    double* d = data;
    const double* pa = a.data;
    const double* pb = b.data;
    for (VoSize i = 0; i < size; ++i)
        d[i] = pa[i] + pb[i];
}

void Vector::setVecSubVec(const VoVector& a, const VoVector& b)
{
    double* d = data;
    const double* pa = a.data;
    const double* pb = b.data;
    for (VoSize i = 0; i < size; ++i)
        d[i] = pa[i] - pb[i];
}

void Vector::setVecAddVecAddVec(const VoVector& a, const VoVector& b, const VoVector& c)
{
    double* d = data;
    const double *pa = a.data, *pb = b.data, *pc = c.data;
    for (VoSize i = 0; i < size; ++i)
        d[i] = pa[i] + pb[i] + pc[i];
}

void Vector::setVecAddVecSubVec(const VoVector& a, const VoVector& b, const VoVector& c)
{
    double* d = data;
    const double *pa = a.data, *pb = b.data, *pc = c.data;
    for (VoSize i = 0; i < size; ++i)
        d[i] = pa[i] + pb[i] - pc[i];
}

void Vector::setVecAddVecMulSca(const VoVector& a, const VoVector& b, double s)
{
    setVecAddScaMulVec(a, s, b);
}

void Vector::setVecAddScaMulVec(const VoVector& a, double s, const VoVector& b)
{
    double* d = data;
    const double *pa = a.data, *pb = b.data;
    for (VoSize i = 0; i < size; ++i)
        d[i] = pa[i] + s * pb[i];
}

void Vector::setVecAddScaMulVecAddScaMulVec(const VoVector& a, double s, const VoVector& b, double t,
                                            const VoVector& c)
{
    double* d = data;
    const double *pa = a.data, *pb = b.data, *pc = c.data;
    for (VoSize i = 0; i < size; ++i)
        d[i] = pa[i] + s * pb[i] + t * pc[i];
}

void Vector::setScaMulVecAddScaMulVec(double s, const VoVector& a, double t, const VoVector& b)
{
    double* d = data;
    const double *pa = a.data, *pb = b.data;
    for (VoSize i = 0; i < size; ++i)
        d[i] = s * pa[i] + t * pb[i];
}

void Vector::setScaMulVec(double s, const VoVector& a)
{
    double* d = data;
    const double* pa = a.data;
    for (VoSize i = 0; i < size; ++i)
        d[i] = s * pa[i];
}

void Vector::setScaDivVec(double s, const VoVector& a)
{
    double* d = data;
    const double* pa = a.data;
    for (VoSize i = 0; i < size; ++i)
        d[i] = s / pa[i];
}

void Vector::setVecEMulVec(const VoVector& a, const VoVector& b)
{
    double* d = data;
    const double *pa = a.data, *pb = b.data;
    for (VoSize i = 0; i < size; ++i)
        d[i] = pa[i] * pb[i];
}

void Vector::setVecEDivVec(const VoVector& a, const VoVector& b)
{
    double* d = data;
    const double *pa = a.data, *pb = b.data;
    for (VoSize i = 0; i < size; ++i)
        d[i] = pa[i] / pb[i];
}

void Vector::setNegVec(const VoVector& a)
{
    double* d = data;
    const double* pa = a.data;
    for (VoSize i = 0; i < size; ++i)
        d[i] = -pa[i];
}

void Vector::setAbs(const VoVector& a)
{
    double* d = data;
    const double* pa = a.data;
    for (VoSize i = 0; i < size; ++i)
        d[i] = std::fabs(pa[i]);
}

void Vector::setSqrt(const VoVector& a)
{
    double* d = data;
    const double* pa = a.data;
    for (VoSize i = 0; i < size; ++i)
        d[i] = std::sqrt(pa[i]);
}

void Vector::setMax(const VoVector& a, const VoVector& b)
{
    double* d = data;
    const double *pa = a.data, *pb = b.data;
    for (VoSize i = 0; i < size; ++i)
        d[i] = pb[i] > pa[i] ? pb[i] : pa[i];
}

void Vector::setMin(const VoVector& a, const VoVector& b)
{
    double* d = data;
    const double *pa = a.data, *pb = b.data;
    for (VoSize i = 0; i < size; ++i)
        d[i] = pb[i] < pa[i] ? pb[i] : pa[i];
}

void Vector::setClamped(const VoVector& v, const VoVector& lo, const VoVector& hi)
{
    double* d = data;
    const double *pv = v.data, *pl = lo.data, *ph = hi.data;
    for (VoSize i = 0; i < size; ++i)
        d[i] = pv[i] < pl[i] ? pl[i] : (pv[i] > ph[i] ? ph[i] : pv[i]);
}

void Vector::setClamped(const VoVector& v, double lo, double hi)
{
    double* d = data;
    const double* pv = v.data;
    for (VoSize i = 0; i < size; ++i)
        d[i] = pv[i] < lo ? lo : (pv[i] > hi ? hi : pv[i]);
}

void Vector::setInterpolated(double t, const VoVector& a, const VoVector& b)
{
    double* d = data;
    const double *pa = a.data, *pb = b.data;
    const double u = 1.0 - t;
    for (VoSize i = 0; i < size; ++i)
        d[i] = t * pa[i] + u * pb[i];
}

// ---- Matrix-vector products ----

namespace {

inline double rowDot(const VoMatrix& m, VoSize r, const double* v, VoSize n)
{
    const double* p = m.data + r * m.stride;
    double sum = 0.0;
    for (VoSize k = 0; k < n; ++k)
        sum += p[k] * v[k];
    return sum;
}

} // namespace

void Vector::setMatMulVec(const VoMatrix& m, const VoVector& v)
{
    for (VoSize r = 0; r < m.rows; ++r)
        data[r] = rowDot(m, r, v.data, m.cols);
}

void Vector::setTransMatMulVec(const VoMatrix& m, const VoVector& v)
{
    std::fill(data, data + m.cols, 0.0);
    for (VoSize k = 0; k < m.rows; ++k) {
        const double f = v.data[k];
        const double* p = m.data + k * m.stride;
        for (VoSize c = 0; c < m.cols; ++c)
            data[c] += f * p[c];
    }
}

void Vector::setVecMulMat(const VoVector& v, const VoMatrix& m)
{
    setTransMatMulVec(m, v);
}

void Vector::setTriLMulVec(const VoMatrix& m, const VoVector& v)
{
    // From the last row up, so that this may be v.
    for (VoSize r = m.rows; r-- > 0;)
        data[r] = rowDot(m, r, v.data, std::min(r + 1, m.cols));
}

void Vector::setMatMulVecMulSca(const VoMatrix& m, const VoVector& v, double s)
{
    for (VoSize r = 0; r < m.rows; ++r)
        data[r] = rowDot(m, r, v.data, m.cols) * s;
}

void Vector::setScaMulMatMulVecAddVec(double s, const VoMatrix& m, const VoVector& v, const VoVector& a)
{
    for (VoSize r = 0; r < m.rows; ++r)
        data[r] = s * rowDot(m, r, v.data, m.cols) + a.data[r];
}

void Vector::setMatMulVecAddVecMulSca(const VoMatrix& m, const VoVector& v, const VoVector& a, double s)
{
    for (VoSize r = 0; r < m.rows; ++r)
        data[r] = rowDot(m, r, v.data, m.cols) + a.data[r] * s;
}

void Vector::setSelfAddScaMulMatMulVec(double s, const VoMatrix& m, const VoVector& v)
{
    for (VoSize r = 0; r < m.rows; ++r)
        data[r] += s * rowDot(m, r, v.data, m.cols);
}

void Vector::setLeftDivideTriU(const VoMatrix& m, const VoVector& v)
{
    const VoSize n = m.rows;
    for (VoSize r = n; r-- > 0;) {
        const double* p = m.data + r * m.stride;
        double sum = v.data[r];
        for (VoSize c = r + 1; c < n; ++c)
            sum -= p[c] * data[c];
        data[r] = sum / p[r];
    }
}

void Vector::setLeftDivideTriL(const VoMatrix& m, const VoVector& v)
{
    const VoSize n = m.rows;
    for (VoSize r = 0; r < n; ++r) {
        const double* p = m.data + r * m.stride;
        double sum = v.data[r];
        for (VoSize c = 0; c < r; ++c)
            sum -= p[c] * data[c];
        data[r] = sum / p[r];
    }
}

void Vector::setLeftDivideDiag(const VoMatrix& m, const VoVector& v)
{
    for (VoSize r = 0; r < std::min(m.rows, m.cols); ++r)
        data[r] = v.data[r] / at(m, r, r);
}

// ---- Geometry ----

void Vector::setVecCrossVec(const VoVector& a, const VoVector& b)
{
    // Written in this order, reading a and b between the writes.
    data[2] = a.data[0] * b.data[1] - a.data[1] * b.data[0];
    data[1] = a.data[2] * b.data[0] - a.data[0] * b.data[2];
    data[0] = a.data[1] * b.data[2] - a.data[2] * b.data[1];
}

void Vector::setSelfCrossVec(const VoVector& b)
{
    const double a0 = data[0], a1 = data[1], a2 = data[2];
    const double b0 = b.data[0], b1 = b.data[1], b2 = b.data[2];
    data[0] = a1 * b2 - a2 * b1;
    data[1] = a2 * b0 - a0 * b2;
    data[2] = a0 * b1 - a1 * b0;
}

void Vector::setVecCrossSelf(const VoVector& a)
{
    const double a0 = a.data[0], a1 = a.data[1], a2 = a.data[2];
    const double b0 = data[0], b1 = data[1], b2 = data[2];
    data[0] = a1 * b2 - a2 * b1;
    data[1] = a2 * b0 - a0 * b2;
    data[2] = a0 * b1 - a1 * b0;
}

namespace {

// q v q* for a quaternion (w, u): (w^2 - u.u) v + 2 (u.v) u + 2 w (u x v); sign -1 rotates by q*.
void rotateByQuat(double* out, const double* v, const VoQuaternion& q, double sign)
{
    const double w = q.data[0];
    const double ux = sign * q.data[1], uy = sign * q.data[2], uz = sign * q.data[3];
    const double vx = v[0], vy = v[1], vz = v[2];
    const double ww = w * w - (ux * ux + uy * uy + uz * uz);
    const double uv2 = 2.0 * (ux * vx + uy * vy + uz * vz);
    const double w2 = 2.0 * w;
    out[0] = ww * vx + uv2 * ux + w2 * (uy * vz - uz * vy);
    out[1] = ww * vy + uv2 * uy + w2 * (uz * vx - ux * vz);
    out[2] = ww * vz + uv2 * uz + w2 * (ux * vy - uy * vx);
}

} // namespace

void Vector::setRotateVecByQuat(const VoVector& v, const VoQuaternion& q)
{
    rotateByQuat(data, v.data, q, 1.0);
}

void Vector::setRotateVecByQuatAddVec(const VoVector& v, const VoQuaternion& q, const VoVector& t)
{
    const double t0 = t.data[0], t1 = t.data[1], t2 = t.data[2];
    rotateByQuat(data, v.data, q, 1.0);
    data[0] += t0;
    data[1] += t1;
    data[2] += t2;
}

void Vector::setRotateVecByInvQuat(const VoVector& v, const VoQuaternion& q)
{
    rotateByQuat(data, v.data, q, -1.0);
}

void Vector::setPermutation(const VoVector& v, const VoVector& p)
{
    for (VoSize i = 0; i < size; ++i)
        data[i] = v.data[static_cast<VoSize>(p.data[i])];
}

void Vector::setInversePermutation(const VoVector& p)
{
    for (VoSize i = 0; i < p.size; ++i)
        data[static_cast<VoSize>(p.data[i])] = static_cast<double>(i);
}

void Vector::setSumSquaresMat(const VoMatrix& m)
{
    std::fill(data, data + m.cols, 0.0);
    for (VoSize r = 0; r < m.rows; ++r) {
        const double* p = m.data + r * m.stride;
        for (VoSize c = 0; c < m.cols; ++c)
            data[c] += p[c] * p[c];
    }
}

void Vector::setDiagMatMulMat(const VoMatrix& a, const VoMatrix& b)
{
    for (VoSize i = 0; i < std::min(a.rows, b.cols); ++i) {
        double sum = 0.0;
        for (VoSize k = 0; k < a.cols; ++k)
            sum += at(a, i, k) * at(b, k, i);
        data[i] = sum;
    }
}

void Vector::setDiagMatMulTransMat(const VoMatrix& a, const VoMatrix& b)
{
    for (VoSize i = 0; i < std::min(a.rows, b.rows); ++i)
        data[i] = rowDot(a, i, b.data + i * b.stride, a.cols);
}

void Vector::setNormOfRows(const VoMatrix& m)
{
    for (VoSize r = 0; r < m.rows; ++r) {
        const double* p = m.data + r * m.stride;
        data[r] = std::sqrt(rowDot(m, r, p, m.cols));
    }
}

// ---- Reductions ----

double Vector::dotProductOfSubVector(const VoVector& b, VoSize start, VoSize count) const
{
    double sum = 0.0;
    for (VoSize i = start; i < start + count; ++i)
        sum += data[i] * b.data[i];
    return sum;
}

double Vector::triDot(const VoVector& a, const VoVector& b, const VoVector& c)
{
    double sum = 0.0;
    for (VoSize i = 0; i < a.size; ++i)
        sum += a.data[i] * b.data[i] * c.data[i];
    return sum;
}

double Vector::angleWith(const VoVector& b) const
{
    // A zero length gives NaN, which acosClamped maps to 0.
    return acosClamped(VoVector_dotProduct(this, &b)
                       / (VoVector_cartesianLength(this) * VoVector_cartesianLength(&b)));
}

bool Vector::cartesianLengthLargerThan(double x) const
{
    return x < 0.0 || sumSquaredVal() > x * x;
}

bool Vector::cartesianLengthLargerOrEqual(double x) const
{
    return x <= 0.0 || sumSquaredVal() >= x * x;
}

double Vector::l2Norm() const
{
    return std::sqrt(sumSquaredVal());
}

bool Vector::isNotZero() const
{
    for (VoSize i = 0; i < size; ++i)
        if (data[i] != 0.0)
            return true;
    return false;
}

double Vector::minVal() const
{
    double result = data[0];
    for (VoSize i = 1; i < size; ++i)
        result = data[i] < result ? data[i] : result;
    return result;
}

double Vector::maxVal() const
{
    VoSize index;
    return maxVal(index);
}

double Vector::maxVal(VoSize& index) const
{
    index = 0;
    for (VoSize i = 1; i < size; ++i)
        if (data[i] > data[index])
            index = i;
    return data[index];
}

double Vector::maxAbsVal(VoSize& index) const
{
    index = 0;
    double result = size ? std::fabs(data[0]) : 0.0;
    for (VoSize i = 1; i < size; ++i) {
        if (std::fabs(data[i]) > result) {
            result = std::fabs(data[i]);
            index = i;
        }
    }
    return result;
}

double Vector::minAbsDiff(double x, VoSize& index) const
{
    index = 0;
    double result = size ? std::fabs(data[0] - x) : 0.0;
    for (VoSize i = 1; i < size; ++i) {
        const double d = std::fabs(data[i] - x);
        if (d < result) {
            result = d;
            index = i;
        }
    }
    return result;
}

double Vector::avgVal() const
{
    return sumVal() / static_cast<double>(size);
}

double Vector::unweightedAvgVal() const
{
    return 0.5 * (minVal() + maxVal());
}

Vector Vector::nonZeroValues() const
{
    const VoSize count = countNonZeros();
    if (count == 0)
        return Vector();
    Vector values(count);
    VoSize j = 0;
    for (VoSize i = 0; i < size; ++i)
        if (data[i] != 0.0)
            values.data[j++] = data[i];
    return values;
}

double Vector::sumVal() const
{
    double sum = 0.0;
    for (VoSize i = 0; i < size; ++i)
        sum += data[i];
    return sum;
}

double Vector::sumSquaredVal() const
{
    double sum = 0.0;
    for (VoSize i = 0; i < size; ++i)
        sum += data[i] * data[i];
    return sum;
}

double Vector::sumAbsVal() const
{
    double sum = 0.0;
    for (VoSize i = 0; i < size; ++i)
        sum += std::fabs(data[i]);
    return sum;
}

VoSize Vector::countNonZeros() const
{
    VoSize count = 0;
    for (VoSize i = 0; i < size; ++i)
        count += data[i] != 0.0;
    return count;
}

double Vector::variance() const
{
    if (size < 2)
        return 0.0;
    const double mean = avgVal();
    double sum = 0.0;
    for (VoSize i = 0; i < size; ++i)
        sum += (data[i] - mean) * (data[i] - mean);
    return sum / static_cast<double>(size - 1);
}

double Vector::stdDev() const
{
    return std::sqrt(variance());
}

double Vector::median() const
{
    if (size == 0)
        return 0.0;
    Vector sorted(*this);
    double* first = sorted.data;
    double* middle = first + size / 2;
    std::nth_element(first, middle, first + size);
    if (size % 2)
        return *middle;
    return 0.5 * (*middle + *std::max_element(first, middle));
}

double Vector::greatestCommonDenominator() const
{
    double result = 0.0;
    for (VoSize i = 0; i < size; ++i) {
        double b = std::fabs(std::round(data[i]));
        double a = result;
        while (b != 0.0) {
            const double t = std::fmod(a, b);
            a = b;
            b = t;
        }
        result = a;
    }
    return result;
}

bool Vector::isValid(double bound) const
{
    const double limit = bound > 0.0 ? bound : DBL_MAX;
    for (VoSize i = 0; i < size; ++i)
        if (!(std::fabs(data[i]) <= limit))
            return false;
    return true;
}

namespace {

template <class Same>
bool compareVectors(const VoVector& a, const VoVector& b, Same same)
{
    if (a.size != b.size)
        return false;
    for (VoSize i = 0; i < a.size; ++i)
        if (!same(a.data[i], b.data[i]))
            return false;
    return true;
}

} // namespace

bool Vector::isEqual(const VoVector& other) const
{
    return compareVectors(*this, other, [](double x, double y) { return x == y; });
}

bool Vector::isEqual(const VoVector& other, double tolerance) const
{
    return compareVectors(*this, other, [tolerance](double x, double y) { return fuzzyIsEqual(x, y, tolerance); });
}

bool Vector::isEqual(const VoVector& other, uint64_t ulps) const
{
    return compareVectors(*this, other, [ulps](double x, double y) { return ulpCompare(x, y, ulps); });
}

void Vector::toArray(double* out) const
{
    if (size)
        std::memcpy(out, data, size * sizeof(double));
}

// ---- Polynomials ----

double Vector::polyVal(double x) const
{
    double result = 0.0;
    for (VoSize i = 0; i < size; ++i)
        result = result * x + data[i];
    return result;
}

double Vector::polyCauchyBound() const
{
    double largest = 0.0;
    for (VoSize i = 1; i < size; ++i)
        largest = std::max(largest, std::fabs(data[i] / data[0]));
    return 1.0 + largest;
}

void Vector::setPolyGrad(const VoVector& p)
{
    const VoSize degree = p.size - 1;
    for (VoSize i = 0; i < degree; ++i)
        data[i] = p.data[i] * static_cast<double>(degree - i);
}

double Vector::polyRootFalsePosition(double lo, double hi) const
{
    double flo = polyVal(lo), fhi = polyVal(hi);
    if (flo == 0.0)
        return lo;
    if (fhi == 0.0)
        return hi;
    int side = 0;
    double x = lo;
    for (int iteration = 0; iteration < 200; ++iteration) {
        x = (lo * fhi - hi * flo) / (fhi - flo);
        const double fx = polyVal(x);
        if (fx == 0.0 || std::fabs(hi - lo) <= 4.0 * DBL_EPSILON * std::fabs(x))
            break;
        // Illinois: halve the value of an end point that stays twice in a row.
        if ((fx > 0.0) == (fhi > 0.0)) {
            hi = x;
            fhi = fx;
            if (side == -1)
                flo *= 0.5;
            side = -1;
        } else {
            lo = x;
            flo = fx;
            if (side == 1)
                fhi *= 0.5;
            side = 1;
        }
    }
    return x;
}

VoSize Vector::polyRoot(Vector& roots, double lo, double hi) const
{
    roots.changeSize(0);
    VoSize first = 0;
    while (first < size && data[first] == 0.0)
        ++first;
    if (size - first < 2)
        return 0;
    const Vector p(size - first, data + first);
    // The roots of the derivative split [lo, hi] into monotone pieces.
    Vector grad(p.size - 1);
    grad.setPolyGrad(p);
    Vector stops;
    grad.polyRoot(stops, lo, hi);
    stops.insertItems(0, 1, lo);
    stops.push_back(hi);
    for (VoSize i = 0; i + 1 < stops.size; ++i) {
        const double a = stops.data[i], b = stops.data[i + 1];
        const double fa = p.polyVal(a), fb = p.polyVal(b);
        double root;
        if (fa == 0.0)
            root = a;
        else if ((fa < 0.0) != (fb < 0.0) || fb == 0.0)
            root = p.polyRootFalsePosition(a, b);
        else
            continue;
        if (roots.size == 0 || root > roots.data[roots.size - 1])
            roots.push_back(root);
    }
    return roots.size;
}

Vector::Line Vector::leastSquaresRegressionLine() const
{
    Vector x(size);
    for (VoSize i = 0; i < size; ++i)
        x.data[i] = static_cast<double>(i);
    return leastSquaresRegressionLine(x);
}

Vector::Line Vector::leastSquaresRegressionLine(const VoVector& x) const
{
    const double n = static_cast<double>(size);
    double sx = 0.0, sy = 0.0;
    for (VoSize i = 0; i < size; ++i) {
        sx += x.data[i];
        sy += data[i];
    }
    const double mx = sx / n, my = sy / n;
    double sxx = 0.0, sxy = 0.0;
    for (VoSize i = 0; i < size; ++i) {
        sxx += (x.data[i] - mx) * (x.data[i] - mx);
        sxy += (x.data[i] - mx) * (data[i] - my);
    }
    const double slope = sxx != 0.0 ? sxy / sxx : 0.0;
    return Line{slope, my - slope * mx};
}

void Vector::setRealDFT(const VoVector& v, VoSize n)
{
    const double step = -2.0 * 3.14159265358979323846 / static_cast<double>(n);
    for (VoSize k = 0; 2 * k + 1 < size; ++k) {
        double re = 0.0, im = 0.0;
        for (VoSize j = 0; j < n; ++j) {
            double s, c;
            ::sincos(step * static_cast<double>((j * k) % n), &s, &c);
            re += v.data[j] * c;
            im += v.data[j] * s;
        }
        data[2 * k] = re;
        data[2 * k + 1] = im;
    }
}

// ---- Normalisation ----

double Vector::setNormalizeSelf()
{
    return setNormalizeVec(*this);
}

double Vector::setNormalizeVec(const VoVector& v)
{
    const double length = VoVector_cartesianLength(&v);
    if (length < 1e-16) {
        std::fill(data, data + size, 0.0);
        return 0.0;
    }
    setScaMulVec(1.0 / length, v);
    return length;
}

double Vector::setNormalizeVecL2(const VoVector& v)
{
    const double length = Vector(v.size, v.data, VO_DATA_VIEW).l2Norm();
    if (length == 0.0) {
        std::fill(data, data + size, 0.0);
        return 0.0;
    }
    setScaMulVec(1.0 / length, v);
    return length;
}

} // namespace velo
