#ifndef KIVCLAMP_P_H
#define KIVCLAMP_P_H

// Conversions from doubles that may be anything (extreme, inverted or non-finite scales,
// windows of 2^63 samples) to the integers of pixels and sample numbers. Converting a
// double outside the target's range is undefined behaviour; these stay inside it.

#include <QString>
#include <QtGlobal>

#include <cmath>

namespace kivclamp {

// Far outside any widget, yet small enough that sums of a few such values fit an int.
constexpr double PixelLimit = 1e8;
// Sample positions beyond this (2^62) are shown as this.
constexpr double PositionLimit = 4611686018427387904.0;

// A pixel coordinate, truncated toward zero; NaN gives 0.
inline int pixel(double v)
{
    return std::isnan(v) ? 0 : int(qBound(-PixelLimit, v, PixelLimit));
}

// A sample position truncated toward zero; NaN gives 0.
inline qint64 position(double v)
{
    return std::isnan(v) ? 0 : qint64(qBound(-PositionLimit, v, PositionLimit));
}

// The text of a sample number: what "%d" prints for the positions an int holds.
inline QString sampleNumber(double v)
{
    return QString::number(position(v));
}

// The text of the axis label at `v` on a grid of `step`: the label walk adds steps, so the
// label at zero can arrive a hair below it, where printf would write "-0.0".
inline QString axisNumber(const char* format, double v, double step)
{
    return QString::asprintf(format, std::fabs(v) < std::fabs(step) * 1e-9 ? 0.0 : v);
}

} // namespace kivclamp

#endif // KIVCLAMP_P_H
