#ifndef VELO_MATH_BASE_H
#define VELO_MATH_BASE_H

#include "votypes.h"

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cwchar>

namespace velo {

// The sinc family: smooth functions with removable singularities, each with its
// first (Jacobian) and second (Hessian) derivative. Near the singular point a short
// series replaces the closed form, which would lose all precision there.
double sinc(double x);
double sincJacobian(double x);
double sincHessian(double x);
double cosinc(double x);
double cosincJacobian(double x);
double cosincHessian(double x);
double disinc(double x);
double disincJacobian(double x);
double disincHessian(double x);
double asinc(double x);
double asincJacobian(double x);
double asincHessian(double x);
double acosinc(double x);
double acosincJacobian(double x);
double acosincHessian(double x);

// Inverse trigonometry clamped to [-1, 1]. The "x < 1" test sends NaN to the
// upper end: acosClamped(NaN) is 0, which angle computations rely on.
double asinClamped(double x);
double acosClamped(double x);
double asincClamped(double x);
double acosincClamped(double x);
// 1 / asinc(x); 2/pi outside (-1, 1).
double asincInv(double x);

inline double sq(double x)
{
    return x * x;
}

// |a - b| <= 1e-16 * max(|a|, |b|).
bool fuzzyIsEqual(double a, double b);
bool fuzzyIsEqual(double a, double b, double tolerance);
bool fuzzyCompareRelative(double a, double b, double relative);
// Distance of the bit patterns taken as signed integers; numbers of opposite
// sign come out very far apart.
uint64_t ulpDiff(double a, double b);
bool ulpCompare(double a, double b, uint64_t maxUlps);
// t * a + (1 - t) * b: the weight belongs to the first value.
inline double interpolate(double t, double a, double b)
{
    return t * a + (1.0 - t) * b;
}
inline double xlog2(double x)
{
    return std::log(x) * 1.4426950408889634;
}

// Gamma function (Lanczos, g = 7), digamma and trigamma.
double gamma(double x);
double digamma(double x);
double trigamma(double x);

} // namespace velo

// Portability shims: the bounded string and wide-character file functions of
// another runtime, with its errno-style return codes (0, EINVAL 22, ERANGE 34).
int sprintf_s(char* buf, size_t size, const char* format, ...) __attribute__((format(printf, 3, 4)));
int strcpy_s(char* dst, size_t size, const char* src);
int strcat_s(char* dst, size_t size, const char* src);
int strncpy_s(char* dst, size_t size, const char* src, size_t count);
int fopen_s(FILE** fp, const char* name, const char* mode);
char* strtok_s(char* s, const char* delim, char** context);
FILE* compat_wfopen(const wchar_t* name, const wchar_t* mode);
FILE* compat_wfreopen(const wchar_t* name, const wchar_t* mode, FILE* stream);
int compat_wfullpath(wchar_t* dst, const wchar_t* path, size_t length);
wchar_t* compat_wcsdup(const wchar_t* s);
int compat_wcsnicmp(const wchar_t* a, const wchar_t* b, size_t n);
int compat_tolower(int c);
inline bool compat_finite(double x)
{
    return std::fabs(x) <= DBL_MAX;
}
// Whether the file named by p's text is at least size bytes long (0 or 1).
int IsBadWritePtr(const void* p, size_t size);

#endif // VELO_MATH_BASE_H
