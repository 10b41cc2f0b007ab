#include "velo_vector.h"

#include "velo_math_base.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

namespace velo {

namespace {

const char ResizeNotAllowed[] = "Resizing of this object is not allowed";

void check(VoResultValue result)
{
    if (result != VO_RESULT_OK)
        throw std::bad_alloc();
}

} // namespace

Vector::Vector(VoSize size)
{
    VoVector_zero(this);
    check(VoVector_construct(this, size, nullptr));
}

Vector::Vector(VoSize size, const double* src)
{
    VoVector_zero(this);
    check(VoVector_construct(this, size, src));
}

Vector::Vector(const VoVector& other)
{
    VoVector_zero(this);
    check(VoVector_copy(this, &other));
}

Vector::Vector(const Vector& other)
    : Vector(static_cast<const VoVector&>(other))
{
}

Vector::Vector(Vector&& other) noexcept
{
    VoVector_zero(this);
    if (other.flags & VO_DATA_MANAGED)
        VoVector_swap(this, &other);
    else if (other.data)
        check(VoVector_copy(this, &other));
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

Vector& Vector::operator=(const VoVector& other)
{
    if (&other == this)
        return *this;
    if (size != other.size) {
        if (data && !(flags & VO_DATA_MANAGED))
            throw VoException(VO_RESULT_EXCEPTION, "void velo::Vector::changeSize(VoSize)", ResizeNotAllowed);
        check(VoVector_assign(this, other.size, nullptr));
    }
    if (data && other.data)
        std::memmove(data, other.data, size * sizeof(double));
    return *this;
}

Vector& Vector::operator=(const Vector& other)
{
    return operator=(static_cast<const VoVector&>(other));
}

Vector& Vector::operator=(Vector&& other)
{
    if ((other.flags & VO_DATA_MANAGED) && (!data || (flags & VO_DATA_MANAGED))) {
        VoVector_swap(this, &other);
        return *this;
    }
    return operator=(static_cast<const VoVector&>(other));
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

// ---- Geometry ----

void Vector::setVecSubVec(const VoVector& a, const VoVector& b)
{
    double* d = data;
    const double* pa = a.data;
    const double* pb = b.data;
    for (VoSize i = 0; i < size; ++i)
        d[i] = pa[i] - pb[i];
}

void Vector::setVecCrossVec(const VoVector& a, const VoVector& b)
{
    // Written in this order, reading a and b between the writes.
    data[2] = a.data[0] * b.data[1] - a.data[1] * b.data[0];
    data[1] = a.data[2] * b.data[0] - a.data[0] * b.data[2];
    data[0] = a.data[1] * b.data[2] - a.data[2] * b.data[1];
}

double Vector::angleWith(const VoVector& b) const
{
    // A zero length gives NaN, which acosClamped maps to 0.
    return acosClamped(VoVector_dotProduct(this, &b)
                       / (VoVector_cartesianLength(this) * VoVector_cartesianLength(&b)));
}

double Vector::setNormalizeSelf()
{
    const double length = VoVector_cartesianLength(this);
    if (length < 1e-16) {
        std::fill(data, data + size, 0.0);
        return 0.0;
    }
    const double inv = 1.0 / length;
    for (VoSize i = 0; i < size; ++i)
        data[i] *= inv;
    return length;
}

} // namespace velo
