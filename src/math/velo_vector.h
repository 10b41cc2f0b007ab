#ifndef VELO_VECTOR_H
#define VELO_VECTOR_H

#include "vo_exception.h"
#include "votypes.h"

#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <new>
#include <string>

namespace velo {

//! \brief Dense vector over a VoVector: owned, fixed or borrowed storage.
//! Operations are named by formula and write their result into this; only the
//! resizing group (changeSize, insertItems, erase, push_back, pop_back) allocates.
class Vector : public VoVector
{
public:
    Vector() { VoVector_zero(this); }
    // Owned storage of size elements, not initialised.
    explicit Vector(VoSize size);
    // Owned copy of size doubles.
    Vector(VoSize size, const double* src);
    // User storage: stores the fields as given, the caller keeps ownership of data.
    Vector(VoSize size, double* data, VoDataFlags flags)
    {
        this->data = data;
        this->size = size;
        this->flags = flags;
    }
    // Deep copy; the special members are inline for hosts, as with Matrix.
    Vector(const VoVector& other)
    {
        VoVector_zero(this);
        checkAllocation(VoVector_copy(this, &other));
    }
    Vector(const Vector& other)
        : Vector(static_cast<const VoVector&>(other))
    {
    }
    // Takes managed storage over; anything else (inline storage in particular) is copied.
    Vector(Vector&& other)
    {
        VoVector_zero(this);
        if (other.flags & VO_DATA_MANAGED)
            VoVector_swap(this, &other);
        else if (other.data)
            checkAllocation(VoVector_copy(this, &other));
    }
    // View of size elements of other starting at offset.
    Vector(VoSize size, VoVector& other, VoSize offset);
    // Owned copy of the four components, scalar first.
    explicit Vector(const VoQuaternion& q);
    // View of one row's worth (m.cols elements) starting at m's flat row-major index.
    Vector(VoMatrix& m, VoSize index);
    ~Vector() { VoVector_destruct(this); }

    // start, start + step, ... with int((end - start) / step + 1.5) elements.
    static Vector constructRange(double start, double step, double end);

    // Copies values, resizing by the resizing rules when the size differs.
    Vector& operator=(const VoVector& other)
    {
        if (&other == this)
            return *this;
        if (size != other.size) {
            if (data && !(flags & VO_DATA_MANAGED))
                throw VoException(VO_RESULT_EXCEPTION, "void velo::Vector::changeSize(VoSize)",
                                  "Resizing of this object is not allowed");
            checkAllocation(VoVector_assign(this, other.size, nullptr));
        }
        if (data && other.data)
            std::memmove(data, other.data, size * sizeof(double));
        return *this;
    }
    Vector& operator=(const Vector& other) { return operator=(static_cast<const VoVector&>(other)); }
    Vector& operator=(Vector&& other)
    {
        if ((other.flags & VO_DATA_MANAGED) && (!data || (flags & VO_DATA_MANAGED))) {
            VoVector_swap(this, &other);
            return *this;
        }
        return operator=(static_cast<const VoVector&>(other));
    }
    // Copies the four components into the existing storage.
    Vector& operator=(const VoQuaternion& q);
    // Copies size doubles into the existing storage; null pointers do nothing.
    Vector& operator=(const double* src);

    double& operator[](VoSize i) { return data[i]; }
    const double& operator[](VoSize i) const { return data[i]; }
    bool isManaged() const { return (flags & VO_DATA_MANAGED) != 0; }

    // Replaces the storage pointer (releasing managed storage); the size is kept.
    void relocate(double* data, VoDataFlags flags);

    // Resizing group: throws VoException when the storage is not managed.
    void changeSize(VoSize size);
    void insertItems(VoSize before, VoSize count, VoReal value);
    void erase(VoSize start, VoSize count);
    void push_back(VoReal value);
    void pop_back();

    // Element access; no bounds checks.
    void setSubVector(const VoVector& src, VoSize srcStart, VoSize count, VoSize dstStart);
    void setSubVector(const double* src, VoSize srcStart, VoSize count, VoSize dstStart);
    void setSub_zero(VoSize start, VoSize count);
    void setZero();
    void setMatCol(const VoMatrix& m, VoSize c);
    void setMatRow(const VoMatrix& m, VoSize r);
    // All elements of m, column by column or row by row.
    void setFlatCol(const VoMatrix& m);
    void setFlatRow(const VoMatrix& m);
    void setDiag(const VoMatrix& m);

    // Element-wise arithmetic over this->size elements.
    void setVecAddVec(const VoVector& a, const VoVector& b);
    void setVecSubVec(const VoVector& a, const VoVector& b);
    void setVecAddVecAddVec(const VoVector& a, const VoVector& b, const VoVector& c);
    void setVecAddVecSubVec(const VoVector& a, const VoVector& b, const VoVector& c);
    // a + s * b, in both spellings.
    void setVecAddVecMulSca(const VoVector& a, const VoVector& b, double s);
    void setVecAddScaMulVec(const VoVector& a, double s, const VoVector& b);
    void setVecAddScaMulVecAddScaMulVec(const VoVector& a, double s, const VoVector& b, double t,
                                        const VoVector& c);
    void setScaMulVecAddScaMulVec(double s, const VoVector& a, double t, const VoVector& b);
    void setScaMulVec(double s, const VoVector& a);
    // s / a[i].
    void setScaDivVec(double s, const VoVector& a);
    void setVecEMulVec(const VoVector& a, const VoVector& b);
    void setVecEDivVec(const VoVector& a, const VoVector& b);
    void setNegVec(const VoVector& a);
    void setAbs(const VoVector& a);
    void setSqrt(const VoVector& a);
    void setMax(const VoVector& a, const VoVector& b);
    void setMin(const VoVector& a, const VoVector& b);
    void setClamped(const VoVector& v, const VoVector& lo, const VoVector& hi);
    void setClamped(const VoVector& v, double lo, double hi);
    // t * a + (1 - t) * b, as velo::interpolate.
    void setInterpolated(double t, const VoVector& a, const VoVector& b);

    // Matrix-vector products.
    void setMatMulVec(const VoMatrix& m, const VoVector& v);
    void setTransMatMulVec(const VoMatrix& m, const VoVector& v);
    // v^T * m.
    void setVecMulMat(const VoVector& v, const VoMatrix& m);
    // Lower triangle of m times v.
    void setTriLMulVec(const VoMatrix& m, const VoVector& v);
    void setMatMulVecMulSca(const VoMatrix& m, const VoVector& v, double s);
    // s * m * v + a.
    void setScaMulMatMulVecAddVec(double s, const VoMatrix& m, const VoVector& v, const VoVector& a);
    // m * v + a * s.
    void setMatMulVecAddVecMulSca(const VoMatrix& m, const VoVector& v, const VoVector& a, double s);
    void setSelfAddScaMulMatMulVec(double s, const VoMatrix& m, const VoVector& v);
    // Solutions of m x = v for upper / lower triangular or diagonal m.
    void setLeftDivideTriU(const VoMatrix& m, const VoVector& v);
    void setLeftDivideTriL(const VoMatrix& m, const VoVector& v);
    void setLeftDivideDiag(const VoMatrix& m, const VoVector& v);

    // Cross products of 3-vectors. setVecCrossVec writes element 2, 1, 0 in turn,
    // so this must be neither a nor b; the Self forms are the in-place ones.
    void setVecCrossVec(const VoVector& a, const VoVector& b);
    void setSelfCrossVec(const VoVector& b);
    void setVecCrossSelf(const VoVector& a);
    // Rotation of a 3-vector: q v q*, optionally plus t, or by the inverse rotation.
    void setRotateVecByQuat(const VoVector& v, const VoQuaternion& q);
    void setRotateVecByQuatAddVec(const VoVector& v, const VoQuaternion& q, const VoVector& t);
    void setRotateVecByInvQuat(const VoVector& v, const VoQuaternion& q);
    // this[i] := v[p[i]]; the inverse form makes this the inverse of permutation p.
    void setPermutation(const VoVector& v, const VoVector& p);
    void setInversePermutation(const VoVector& p);

    // Per-column sums of squares, diagonals of a * b and a * b^T, row norms.
    void setSumSquaresMat(const VoMatrix& m);
    void setDiagMatMulMat(const VoMatrix& a, const VoMatrix& b);
    void setDiagMatMulTransMat(const VoMatrix& a, const VoMatrix& b);
    void setNormOfRows(const VoMatrix& m);

    // Reductions and queries.
    double dotProductOfSubVector(const VoVector& b, VoSize start, VoSize count) const;
    // Sum of a[i] * b[i] * c[i].
    static double triDot(const VoVector& a, const VoVector& b, const VoVector& c);
    // Angle in radians; 0 when either vector has zero length.
    double angleWith(const VoVector& b) const;
    bool cartesianLengthLargerThan(double x) const;
    bool cartesianLengthLargerOrEqual(double x) const;
    double l2Norm() const;
    bool isNotZero() const;
    double minVal() const;
    double maxVal() const;
    double maxVal(VoSize& index) const;
    double maxAbsVal(VoSize& index) const;
    // Smallest |this[i] - x| and its index.
    double minAbsDiff(double x, VoSize& index) const;
    // Arithmetic mean.
    double avgVal() const;
    // Midpoint of the smallest and the largest value, whatever their counts.
    double unweightedAvgVal() const;
    // Owned copy of the non-zero elements, in order.
    Vector nonZeroValues() const;
    double sumVal() const;
    double sumSquaredVal() const;
    double sumAbsVal() const;
    VoSize countNonZeros() const;
    // Sample variance (n - 1) and its square root.
    double variance() const;
    double stdDev() const;
    double median() const;
    // Greatest common divisor of the elements rounded to integers.
    double greatestCommonDenominator() const;
    // bound <= 0: every element finite; bound > 0: finite and within [-bound, bound].
    bool isValid(double bound = 0.0) const;
    bool isEqual(const VoVector& other) const;
    bool isEqual(const VoVector& other, double tolerance) const;
    bool isEqual(const VoVector& other, uint64_t ulps) const;
    bool operator==(const VoVector& other) const { return isEqual(other); }
    bool operator!=(const VoVector& other) const { return !isEqual(other); }
    void toArray(double* out) const;

    // Polynomials with coefficients from the highest power down.
    double polyVal(double x) const;
    // Every real root lies within this bound of zero.
    double polyCauchyBound() const;
    // this := coefficients of p's derivative (this->size == p.size - 1).
    void setPolyGrad(const VoVector& p);
    // A root in [lo, hi] whose ends have opposite signs, by the Illinois false position.
    double polyRootFalsePosition(double lo, double hi) const;
    // All real roots in [lo, hi], ascending, stored into roots; returns their count.
    VoSize polyRoot(Vector& roots, double lo, double hi) const;

    //! Straight line y = slope * x + offset.
    struct Line
    {
        double slope;
        double offset;
    };
    // Fit to the points (i, this[i]), or to (x[i], this[i]).
    Line leastSquaresRegressionLine() const;
    Line leastSquaresRegressionLine(const VoVector& x) const;
    static double lineValue(const Line& line, double x) { return line.slope * x + line.offset; }
    // Real DFT of the first n elements of v: this[2k], this[2k+1] = real and
    // imaginary part of bin k, for the first this->size / 2 bins.
    void setRealDFT(const VoVector& v, VoSize n);

    // Scales to unit length and returns the old length; below 1e-16 the vector is zeroed and 0 returned.
    double setNormalizeSelf();
    // this := v / |v| by the same rule.
    double setNormalizeVec(const VoVector& v);
    // this := v / l2Norm(v); only an exactly zero v is left as zeros.
    double setNormalizeVecL2(const VoVector& v);

    // Text and binary formats, as for Matrix.
    int display(char* buf) const;
    VoSize writeToString(char* buf) const;
    VoSize writeToString(std::string& out) const;
    VoSize readFromString(const char* text);
    VoSize readFromString(const std::string& text);
    // 32-bit size, then the values from byte 4 (unaligned) in host byte order.
    VoSize serialize(char* buf) const;
    VoSize deserialize(const char* buf);
    VoSize deserialize(const char* buf, VoSize size);
    // A size x 1 variable in a level-5 MAT file.
    bool saveAsMatlab(const char* fileName, const char* variableName) const;

private:
    static void checkAllocation(VoResultValue result)
    {
        if (result != VO_RESULT_OK)
            throw std::bad_alloc();
    }
};

//! \brief Three-element vector with inline storage.
class Vector3 : public Vector
{
public:
    Vector3()
        : Vector(3, m_storage, VO_DATA_FIXED_SIZE)
    {
    }
    Vector3(double x, double y, double z)
        : Vector(3, m_storage, VO_DATA_FIXED_SIZE)
        , m_storage{x, y, z}
    {
    }
    // Copies land in this object's own storage, never alias the source's.
    Vector3(const Vector3& other)
        : Vector(3, m_storage, VO_DATA_FIXED_SIZE)
    {
        std::memcpy(m_storage, other.data, sizeof m_storage);
    }
    // From any 3-element vector; another size throws as a refused resize would.
    Vector3(const VoVector& other)
        : Vector(3, m_storage, VO_DATA_FIXED_SIZE)
    {
        assign(other);
    }
    Vector3& operator=(const Vector3& other)
    {
        std::memmove(data, other.data, sizeof m_storage);
        return *this;
    }
    Vector3& operator=(const VoVector& other)
    {
        assign(other);
        return *this;
    }

private:
    void assign(const VoVector& other)
    {
        if (other.size != 3)
            throw VoException(VO_RESULT_EXCEPTION, "void velo::Vector::changeSize(VoSize)",
                              "Resizing of this object is not allowed");
        std::memmove(data, other.data, sizeof m_storage);
    }

    double m_storage[3] = {0.0, 0.0, 0.0};
};

} // namespace velo

// "[size](", " value" per element, then " )".
std::ostream& operator<<(std::ostream& out, const VoVector& v);

#endif // VELO_VECTOR_H
