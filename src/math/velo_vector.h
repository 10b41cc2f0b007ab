#ifndef VELO_VECTOR_H
#define VELO_VECTOR_H

#include "vo_exception.h"
#include "votypes.h"

#include <cstring>
#include <iosfwd>
#include <string>

namespace velo {

class Matrix;

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
    Vector(const VoVector& other);
    Vector(const Vector& other);
    Vector(Vector&& other) noexcept;
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
    Vector& operator=(const VoVector& other);
    Vector& operator=(const Vector& other);
    Vector& operator=(Vector&& other);
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

    // Geometry and arithmetic used by the views.
    void setVecSubVec(const VoVector& a, const VoVector& b);
    // this := a x b; this must be neither a nor b (see setSelfCrossVec / setVecCrossSelf).
    void setVecCrossVec(const VoVector& a, const VoVector& b);
    // Angle in radians; 0 when either vector has zero length.
    double angleWith(const VoVector& b) const;
    // Scales to unit length and returns the old length; below 1e-16 the vector is zeroed and 0 returned.
    double setNormalizeSelf();
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
    explicit Vector3(const VoVector& other)
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

#endif // VELO_VECTOR_H
