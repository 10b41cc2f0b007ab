#ifndef VOTYPES_H
#define VOTYPES_H

/*
 * Base types: plain C structures that hold the storage of matrices, vectors,
 * arrays and strings, and the functions that allocate, copy and release it.
 *
 * Storage contract: every function that allocates leaves VO_DATA_MANAGED set;
 * the destruct functions free managed storage only and never touch storage
 * that belongs to somebody else (views, inline buffers).
 */

#include <stddef.h>
#include <stdint.h>

#if defined(VOTYPES_BUILD_LIBRARY)
#  define VOTYPES_EXPORT __attribute__((visibility("default")))
#else
#  define VOTYPES_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef uint64_t VoSize;
typedef double VoReal;
typedef uint64_t VoDataFlags;
typedef int32_t VoResultValue;

/* VoDataFlags bits. */
#define VO_DATA_VIEW ((VoDataFlags)0)       /* borrowed storage: never freed, never resized */
#define VO_DATA_MANAGED ((VoDataFlags)1)    /* allocated here: freed by destruct, resizable */
#define VO_DATA_FIXED_SIZE ((VoDataFlags)2) /* inline storage of a fixed-size object */

/* Result values. */
#define VO_RESULT_OK ((VoResultValue)0)
#define VO_RESULT_INVALID_ARGUMENT ((VoResultValue)22)
#define VO_RESULT_OUT_OF_RANGE ((VoResultValue)34)
#define VO_RESULT_OUT_OF_MEMORY ((VoResultValue)12)
#define VO_RESULT_NOT_ALLOWED ((VoResultValue)1)
#define VO_RESULT_EXCEPTION ((VoResultValue)256)

/* Row-major matrix; element (r, c) is data[r * stride + c], stride >= cols. */
typedef struct VoMatrix {
    VoReal *data;
    VoSize rows;
    VoSize cols;
    VoSize stride;
    VoDataFlags flags;
} VoMatrix;

/* Contiguous vector. */
typedef struct VoVector {
    VoReal *data;
    VoSize size;
    VoDataFlags flags;
} VoVector;

/* Contiguous array of fixed-size elements of any type. */
typedef struct VoArray {
    void *data;
    VoSize size;
    VoSize elementSize;
    VoDataFlags flags;
} VoArray;

/* Zero-terminated character string; length excludes the terminator. */
typedef struct VoString {
    char *data;
    VoSize length;
    VoDataFlags flags;
} VoString;

/* Quaternion stored scalar first: w, x, y, z. */
typedef struct VoQuaternion {
    VoReal data[4];
} VoQuaternion;

/* Library version with a descriptive text. */
typedef struct VoVersion {
    uint32_t major;
    uint32_t minor;
    uint32_t revision;
    uint32_t build;
    uint32_t repositoryRevision;
    VoString text;
} VoVersion;

/* A short English name of a result value ("OK", "invalid argument", ...). */
VOTYPES_EXPORT const char *VoResultValue_toString(VoResultValue value);

/*
 * Matrix storage. construct initialises a header whatever it held; assign
 * gives an existing header the shape rows x cols, keeping its storage when it
 * already has exactly that shape and reallocating (managed) otherwise. Both
 * copy rows x cols values from src (row distance srcStride) when src is not
 * null. stride 0 means stride = cols.
 */
VOTYPES_EXPORT VoResultValue VoMatrix_construct(VoMatrix *m, VoSize rows, VoSize cols, VoSize stride,
                                                const VoReal *src, VoSize srcStride);
VOTYPES_EXPORT VoResultValue VoMatrix_assign(VoMatrix *m, VoSize rows, VoSize cols, VoSize stride,
                                             const VoReal *src, VoSize srcStride);
/* Deep copy of src into dst (dst's old managed storage is released). */
VOTYPES_EXPORT VoResultValue VoMatrix_copy(VoMatrix *dst, const VoMatrix *src);
VOTYPES_EXPORT void VoMatrix_swap(VoMatrix *a, VoMatrix *b);
/* Empties the header without releasing anything. */
VOTYPES_EXPORT void VoMatrix_zero(VoMatrix *m);
/* Releases managed storage and empties the header. */
VOTYPES_EXPORT void VoMatrix_destruct(VoMatrix *m);

/* Vector storage, same rules as the matrix functions. */
VOTYPES_EXPORT VoResultValue VoVector_construct(VoVector *v, VoSize size, const VoReal *src);
VOTYPES_EXPORT VoResultValue VoVector_assign(VoVector *v, VoSize size, const VoReal *src);
VOTYPES_EXPORT VoResultValue VoVector_copy(VoVector *dst, const VoVector *src);
VOTYPES_EXPORT void VoVector_swap(VoVector *a, VoVector *b);
VOTYPES_EXPORT void VoVector_zero(VoVector *v);
VOTYPES_EXPORT void VoVector_destruct(VoVector *v);
/* Euclidean length. */
VOTYPES_EXPORT VoReal VoVector_cartesianLength(const VoVector *v);
/* Dot product over the first min(a->size, b->size) elements. */
VOTYPES_EXPORT VoReal VoVector_dotProduct(const VoVector *a, const VoVector *b);
/* Scales v to unit length and returns the old length; a zero vector stays zero. */
VOTYPES_EXPORT VoReal VoVector_normalize(VoVector *v);

/* Array storage of size elements of elementSize bytes. */
VOTYPES_EXPORT VoResultValue VoArray_construct(VoArray *a, VoSize size, VoSize elementSize, const void *src);
VOTYPES_EXPORT VoResultValue VoArray_assign(VoArray *a, VoSize size, VoSize elementSize, const void *src);
VOTYPES_EXPORT VoResultValue VoArray_copy(VoArray *dst, const VoArray *src);
VOTYPES_EXPORT void VoArray_swap(VoArray *a, VoArray *b);
VOTYPES_EXPORT void VoArray_zero(VoArray *a);
VOTYPES_EXPORT void VoArray_destruct(VoArray *a);

/* String storage; a null text gives an empty string. */
VOTYPES_EXPORT VoResultValue VoString_construct(VoString *s, const char *text);
VOTYPES_EXPORT VoResultValue VoString_assign(VoString *s, const char *text);
VOTYPES_EXPORT VoResultValue VoString_copy(VoString *dst, const VoString *src);
VOTYPES_EXPORT void VoString_swap(VoString *a, VoString *b);
VOTYPES_EXPORT void VoString_zero(VoString *s);
VOTYPES_EXPORT void VoString_destruct(VoString *s);

/* Version records; the text is a managed VoString. */
VOTYPES_EXPORT VoResultValue VoVersion_construct(VoVersion *v, uint32_t major, uint32_t minor, uint32_t revision,
                                                 uint32_t build, uint32_t repositoryRevision, const char *text);
VOTYPES_EXPORT VoResultValue VoVersion_copy(VoVersion *dst, const VoVersion *src);
VOTYPES_EXPORT void VoVersion_swap(VoVersion *a, VoVersion *b);
VOTYPES_EXPORT void VoVersion_zero(VoVersion *v);
VOTYPES_EXPORT void VoVersion_destruct(VoVersion *v);

#ifdef __cplusplus
}
#endif

#endif /* VOTYPES_H */
