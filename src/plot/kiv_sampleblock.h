#ifndef KIV_SAMPLEBLOCK_H
#define KIV_SAMPLEBLOCK_H

// Internal: the storage block of a series, shared by the store and the series renderer.

#include <QtGlobal>

#include <cfloat>

// Doubles per storage block: 6000, 3000 or 2000 samples of 1, 2 or 3 values.
constexpr quint64 KivBlockDoubles = 6000;
// Stored in place of a missing or non-finite value.
constexpr double KivGap = DBL_MAX;

struct KivSampleBlock
{
    double values[KivBlockDoubles];
    quint64 start = 0; // first live sample
    quint64 fill = 0;  // one past the last live sample
    KivSampleBlock *next = nullptr;
};

#endif // KIV_SAMPLEBLOCK_H
