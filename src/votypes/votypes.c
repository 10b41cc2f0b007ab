#include "votypes.h"

#include <math.h>
#include <stdlib.h>
#include <string.h>

const char *VoResultValue_toString(VoResultValue value)
{
    switch (value) {
    case VO_RESULT_OK:
        return "OK";
    case VO_RESULT_NOT_ALLOWED:
        return "operation not allowed";
    case VO_RESULT_OUT_OF_MEMORY:
        return "out of memory";
    case VO_RESULT_INVALID_ARGUMENT:
        return "invalid argument";
    case VO_RESULT_OUT_OF_RANGE:
        return "out of range";
    case VO_RESULT_EXCEPTION:
        return "exception";
    default:
        return "unknown result";
    }
}

/* count * size in bytes, or 0 with *ok cleared when it does not fit. */
static size_t byteCount(VoSize count, VoSize size, int *ok)
{
    if (size != 0 && count > (VoSize)SIZE_MAX / size) {
        *ok = 0;
        return 0;
    }
    *ok = 1;
    return (size_t)(count * size);
}

static void copyRows(VoReal *dst, VoSize dstStride, const VoReal *src, VoSize srcStride, VoSize rows,
                     VoSize cols)
{
    if (dstStride == cols && srcStride == cols) {
        memcpy(dst, src, (size_t)(rows * cols) * sizeof(VoReal));
        return;
    }
    for (VoSize r = 0; r < rows; ++r)
        memcpy(dst + r * dstStride, src + r * srcStride, (size_t)cols * sizeof(VoReal));
}

/* ---- VoMatrix ---- */

VoResultValue VoMatrix_construct(VoMatrix *m, VoSize rows, VoSize cols, VoSize stride, const VoReal *src,
                                 VoSize srcStride)
{
    VoMatrix_zero(m);
    return VoMatrix_assign(m, rows, cols, stride, src, srcStride);
}

VoResultValue VoMatrix_assign(VoMatrix *m, VoSize rows, VoSize cols, VoSize stride, const VoReal *src,
                              VoSize srcStride)
{
    if (stride < cols)
        stride = cols;
    if (srcStride < cols)
        srcStride = cols;
    if (!(m->data && m->rows == rows && m->cols == cols)) {
        VoReal *data = NULL;
        if (rows != 0 && cols != 0) {
            int ok1, ok2;
            size_t elements = byteCount(rows, stride, &ok1);
            size_t bytes = byteCount(elements, sizeof(VoReal), &ok2);
            if (!ok1 || !ok2)
                return VO_RESULT_OUT_OF_MEMORY;
            data = (VoReal *)malloc(bytes);
            if (!data)
                return VO_RESULT_OUT_OF_MEMORY;
        }
        VoMatrix_destruct(m);
        m->data = data;
        m->rows = rows;
        m->cols = cols;
        m->stride = stride;
        m->flags = data ? VO_DATA_MANAGED : VO_DATA_VIEW;
    }
    if (src && m->data && src != m->data)
        copyRows(m->data, m->stride, src, srcStride, rows, cols);
    return VO_RESULT_OK;
}

VoResultValue VoMatrix_copy(VoMatrix *dst, const VoMatrix *src)
{
    if (dst == src)
        return VO_RESULT_OK;
    if (!src->data)
        return VoMatrix_assign(dst, src->rows, src->cols, src->cols, NULL, 0);
    return VoMatrix_assign(dst, src->rows, src->cols, src->cols, src->data, src->stride);
}

void VoMatrix_swap(VoMatrix *a, VoMatrix *b)
{
    VoMatrix t = *a;
    *a = *b;
    *b = t;
}

void VoMatrix_zero(VoMatrix *m)
{
    m->data = NULL;
    m->rows = 0;
    m->cols = 0;
    m->stride = 0;
    m->flags = VO_DATA_VIEW;
}

void VoMatrix_destruct(VoMatrix *m)
{
    if (m->flags & VO_DATA_MANAGED)
        free(m->data);
    VoMatrix_zero(m);
}

/* ---- VoVector ---- */

VoResultValue VoVector_construct(VoVector *v, VoSize size, const VoReal *src)
{
    VoVector_zero(v);
    return VoVector_assign(v, size, src);
}

VoResultValue VoVector_assign(VoVector *v, VoSize size, const VoReal *src)
{
    if (!(v->data && v->size == size)) {
        VoReal *data = NULL;
        if (size != 0) {
            int ok;
            size_t bytes = byteCount(size, sizeof(VoReal), &ok);
            if (!ok)
                return VO_RESULT_OUT_OF_MEMORY;
            data = (VoReal *)malloc(bytes);
            if (!data)
                return VO_RESULT_OUT_OF_MEMORY;
        }
        VoVector_destruct(v);
        v->data = data;
        v->size = size;
        v->flags = data ? VO_DATA_MANAGED : VO_DATA_VIEW;
    }
    if (src && v->data && src != v->data)
        memmove(v->data, src, (size_t)size * sizeof(VoReal));
    return VO_RESULT_OK;
}

VoResultValue VoVector_copy(VoVector *dst, const VoVector *src)
{
    if (dst == src)
        return VO_RESULT_OK;
    return VoVector_assign(dst, src->size, src->data);
}

void VoVector_swap(VoVector *a, VoVector *b)
{
    VoVector t = *a;
    *a = *b;
    *b = t;
}

void VoVector_zero(VoVector *v)
{
    v->data = NULL;
    v->size = 0;
    v->flags = VO_DATA_VIEW;
}

void VoVector_destruct(VoVector *v)
{
    if (v->flags & VO_DATA_MANAGED)
        free(v->data);
    VoVector_zero(v);
}

VoReal VoVector_cartesianLength(const VoVector *v)
{
    VoReal sum = 0.0;
    for (VoSize i = 0; i < v->size; ++i)
        sum += v->data[i] * v->data[i];
    return sqrt(sum);
}

VoReal VoVector_dotProduct(const VoVector *a, const VoVector *b)
{
    VoSize n = a->size < b->size ? a->size : b->size;
    VoReal sum = 0.0;
    for (VoSize i = 0; i < n; ++i)
        sum += a->data[i] * b->data[i];
    return sum;
}

VoReal VoVector_normalize(VoVector *v)
{
    VoReal length = VoVector_cartesianLength(v);
    if (length > 0.0) {
        VoReal inv = 1.0 / length;
        for (VoSize i = 0; i < v->size; ++i)
            v->data[i] *= inv;
    }
    return length;
}

/* ---- VoArray ---- */

VoResultValue VoArray_construct(VoArray *a, VoSize size, VoSize elementSize, const void *src)
{
    VoArray_zero(a);
    return VoArray_assign(a, size, elementSize, src);
}

VoResultValue VoArray_assign(VoArray *a, VoSize size, VoSize elementSize, const void *src)
{
    int ok;
    size_t bytes = byteCount(size, elementSize, &ok);
    if (!ok)
        return VO_RESULT_OUT_OF_MEMORY;
    if (!(a->data && a->size == size && a->elementSize == elementSize)) {
        void *data = NULL;
        if (bytes != 0) {
            data = malloc(bytes);
            if (!data)
                return VO_RESULT_OUT_OF_MEMORY;
        }
        VoArray_destruct(a);
        a->data = data;
        a->flags = data ? VO_DATA_MANAGED : VO_DATA_VIEW;
    }
    a->size = size;
    a->elementSize = elementSize;
    if (src && a->data && src != a->data)
        memmove(a->data, src, bytes);
    return VO_RESULT_OK;
}

VoResultValue VoArray_copy(VoArray *dst, const VoArray *src)
{
    if (dst == src)
        return VO_RESULT_OK;
    return VoArray_assign(dst, src->size, src->elementSize, src->data);
}

void VoArray_swap(VoArray *a, VoArray *b)
{
    VoArray t = *a;
    *a = *b;
    *b = t;
}

void VoArray_zero(VoArray *a)
{
    a->data = NULL;
    a->size = 0;
    a->elementSize = 0;
    a->flags = VO_DATA_VIEW;
}

void VoArray_destruct(VoArray *a)
{
    if (a->flags & VO_DATA_MANAGED)
        free(a->data);
    VoArray_zero(a);
}

/* ---- VoString ---- */

VoResultValue VoString_construct(VoString *s, const char *text)
{
    VoString_zero(s);
    return VoString_assign(s, text);
}

VoResultValue VoString_assign(VoString *s, const char *text)
{
    size_t length = text ? strlen(text) : 0;
    char *data = (char *)malloc(length + 1);
    if (!data)
        return VO_RESULT_OUT_OF_MEMORY;
    if (length)
        memcpy(data, text, length);
    data[length] = '\0';
    VoString_destruct(s);
    s->data = data;
    s->length = length;
    s->flags = VO_DATA_MANAGED;
    return VO_RESULT_OK;
}

VoResultValue VoString_copy(VoString *dst, const VoString *src)
{
    if (dst == src)
        return VO_RESULT_OK;
    return VoString_assign(dst, src->data);
}

void VoString_swap(VoString *a, VoString *b)
{
    VoString t = *a;
    *a = *b;
    *b = t;
}

void VoString_zero(VoString *s)
{
    s->data = NULL;
    s->length = 0;
    s->flags = VO_DATA_VIEW;
}

void VoString_destruct(VoString *s)
{
    if (s->flags & VO_DATA_MANAGED)
        free(s->data);
    VoString_zero(s);
}

/* ---- VoVersion ---- */

VoResultValue VoVersion_construct(VoVersion *v, uint32_t major, uint32_t minor, uint32_t revision, uint32_t build,
                                  uint32_t repositoryRevision, const char *text)
{
    VoVersion_zero(v);
    v->major = major;
    v->minor = minor;
    v->revision = revision;
    v->build = build;
    v->repositoryRevision = repositoryRevision;
    return VoString_assign(&v->text, text);
}

VoResultValue VoVersion_copy(VoVersion *dst, const VoVersion *src)
{
    if (dst == src)
        return VO_RESULT_OK;
    VoResultValue result = VoString_copy(&dst->text, &src->text);
    if (result != VO_RESULT_OK)
        return result;
    dst->major = src->major;
    dst->minor = src->minor;
    dst->revision = src->revision;
    dst->build = src->build;
    dst->repositoryRevision = src->repositoryRevision;
    return VO_RESULT_OK;
}

void VoVersion_swap(VoVersion *a, VoVersion *b)
{
    VoVersion t = *a;
    *a = *b;
    *b = t;
}

void VoVersion_zero(VoVersion *v)
{
    v->major = 0;
    v->minor = 0;
    v->revision = 0;
    v->build = 0;
    v->repositoryRevision = 0;
    VoString_zero(&v->text);
}

void VoVersion_destruct(VoVersion *v)
{
    VoString_destruct(&v->text);
    VoVersion_zero(v);
}
