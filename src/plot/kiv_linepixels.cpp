#include "kiv_linepixels_p.h"

#include <algorithm>
#include <cmath>

// This file is built with floating-point contraction off: every product and sum below must
// round on its own, as in the rasteriser.

namespace {

constexpr float PixelOffset = 0.5f; // pixel centres at half-integers
constexpr int HalfWidth = 128;      // half a pixel in 1/256 steps

// floor() for the window's range (|a| < 2^31, checked by the callers' viewport test):
// truncation and one compare, where the library's floorf costs a dozen instructions.
int floorInt(float a)
{
    const int i = int(a);
    return i - (float(i) > a);
}

float floorOf(float a)
{
    return float(floorInt(a));
}

int snap(float a)
{
    return floorInt(a * 256.0f + 0.5f);
}

bool sign(float x)
{
    return x >= 0.0f;
}

float fraction(float f)
{
    return f - floorOf(f);
}

// a / b rounded down, for b > 0.
qint64 floorDiv(qint64 a, qint64 b)
{
    const qint64 q = a / b;
    return a % b != 0 && a < 0 ? q - 1 : q;
}

// Window coordinate of graph coordinate `g` on an axis of `half` pixels: the vertex arrives
// as a float and the transform rounds once (fused) or, on CPUs without fused multiply-add,
// twice.
float window(double g, float half, bool fused)
{
    const float f = float(g);
    if (fused)
        return std::fma(f, half, half);
    volatile float product = f * half;
    return product + half;
}

// The line's parallelogram in 1/256 pixel steps, corners counter-clockwise in x[] and y[];
// false for a line of no length.
bool parallelogram(float v1x, float v1y, float v2x, float v2y, int x[4], int y[4])
{
    const float dx = v1x - v2x;
    const float dy = v1y - v2y;
    if (dx * dx + dy * dy == 0.0f)
        return false;

    float xOffset = 0.0f, yOffset = 0.0f, xOffsetEnd = 0.0f, yOffsetEnd = 0.0f;
    const float x1diff = v1x - floorOf(v1x) - 0.5f;
    const float y1diff = v1y - floorOf(v1y) - 0.5f;
    float x2diff = v2x - floorOf(v2x) - 0.5f;
    float y2diff = v2y - floorOf(v2y) - 0.5f;
    bool drawStart, drawEnd;
    if (std::fabs(dx) >= std::fabs(dy)) {
        const float dydx = dy / dx;
        if (y2diff == -0.5f && dy < 0.0f)
            y2diff = 0.5f;
        // Diamond-exit rule at each end.
        if (std::fabs(x1diff) + std::fabs(y1diff) < 0.5f)
            drawStart = true;
        else if (sign(x1diff) == sign(-dx))
            drawStart = false;
        else if (sign(-y1diff) != sign(dy))
            drawStart = true;
        else {
            const float yIntersect = fraction(v1y) + x1diff * dydx;
            drawStart = yIntersect < 1.0f && yIntersect > 0.0f;
        }
        if (std::fabs(x2diff) + std::fabs(y2diff) < 0.5f)
            drawEnd = false;
        else if (sign(x2diff) != sign(-dx))
            drawEnd = false;
        else if (sign(-y2diff) == sign(dy))
            drawEnd = true;
        else {
            const float yIntersect = fraction(v2y) + x2diff * dydx;
            drawEnd = yIntersect < 1.0f && yIntersect > 0.0f;
        }
        // Whether the ends are lit already; if not as wanted, the ends move by up to a pixel.
        const bool willDrawStart = sign(-x1diff) != sign(dx);
        const bool willDrawEnd = sign(x2diff) == sign(-dx) || x2diff == 0.0f;
        if (dx < 0.0f) {
            std::swap(v1x, v2x);
            std::swap(v1y, v2y);
            if (willDrawStart != drawStart) {
                xOffsetEnd = -x1diff - 0.5f;
                yOffsetEnd = xOffsetEnd * dydx;
            }
            if (willDrawEnd != drawEnd) {
                xOffset = -x2diff - 0.5f;
                yOffset = xOffset * dydx;
            }
        } else {
            if (willDrawStart != drawStart) {
                xOffset = -x1diff + 0.5f;
                yOffset = xOffset * dydx;
            }
            if (willDrawEnd != drawEnd) {
                xOffsetEnd = -x2diff + 0.5f;
                yOffsetEnd = xOffsetEnd * dydx;
            }
        }
        x[0] = x[3] = snap(v1x + xOffset - PixelOffset);
        x[1] = x[2] = snap(v2x + xOffsetEnd - PixelOffset);
        y[0] = snap(v1y + yOffset - PixelOffset) - HalfWidth;
        y[1] = snap(v2y + yOffsetEnd - PixelOffset) - HalfWidth;
        y[2] = snap(v2y + yOffsetEnd - PixelOffset) + HalfWidth;
        y[3] = snap(v1y + yOffset - PixelOffset) + HalfWidth;
    } else {
        const float dxdy = dx / dy;
        if (x2diff == -0.5f && dx < 0.0f)
            x2diff = 0.5f;
        if (std::fabs(x1diff) + std::fabs(y1diff) < 0.5f)
            drawStart = true;
        else if (sign(-y1diff) == sign(dy))
            drawStart = false;
        else if (sign(x1diff) != sign(-dx))
            drawStart = true;
        else {
            const float xIntersect = fraction(v1x) + y1diff * dxdy;
            drawStart = xIntersect < 1.0f && xIntersect > 0.0f;
        }
        if (std::fabs(x2diff) + std::fabs(y2diff) < 0.5f)
            drawEnd = false;
        else if (sign(-y2diff) != sign(dy))
            drawEnd = false;
        else if (sign(x2diff) == sign(-dx))
            drawEnd = true;
        else {
            const float xIntersect = fraction(v2x) + y2diff * dxdy;
            drawEnd = xIntersect < 1.0f && xIntersect >= 0.0f;
        }
        const bool willDrawStart = sign(y1diff) == sign(dy);
        const bool willDrawEnd = sign(-y2diff) == sign(dy) || y2diff == 0.0f;
        if (dy > 0.0f) {
            std::swap(v1x, v2x);
            std::swap(v1y, v2y);
            if (willDrawStart != drawStart) {
                yOffsetEnd = -y1diff + 0.5f;
                xOffsetEnd = yOffsetEnd * dxdy;
            }
            if (willDrawEnd != drawEnd) {
                yOffset = -y2diff + 0.5f;
                xOffset = yOffset * dxdy;
            }
        } else {
            if (willDrawStart != drawStart) {
                yOffset = -y1diff - 0.5f;
                xOffset = yOffset * dxdy;
            }
            if (willDrawEnd != drawEnd) {
                yOffsetEnd = -y2diff - 0.5f;
                xOffsetEnd = yOffsetEnd * dxdy;
            }
        }
        x[0] = snap(v1x + xOffset - PixelOffset) - HalfWidth;
        x[1] = snap(v2x + xOffsetEnd - PixelOffset) - HalfWidth;
        x[2] = snap(v2x + xOffsetEnd - PixelOffset) + HalfWidth;
        x[3] = snap(v1x + xOffset - PixelOffset) + HalfWidth;
        y[0] = y[3] = snap(v1y + yOffset - PixelOffset);
        y[1] = y[2] = snap(v2y + yOffsetEnd - PixelOffset);
    }

    return true;
}

} // namespace

bool KivLinePixels::setSegment(double ax, double ay, double bx, double by)
{
    m_empty = true;
    const float hw = float(m_width) * 0.5f;
    const float hh = float(m_height) * 0.5f;
    // Ends outside the viewport are clipped first.
    auto inside = [&](float px, float py) {
        return px >= 0.0f && px <= float(m_width) && py >= 0.0f && py <= float(m_height);
    };
    const float v1x = window(ax, hw, true), v1y = window(ay, hh, true);
    const float v2x = window(bx, hw, true), v2y = window(by, hh, true);
    if (!inside(v1x, v1y) || !inside(v2x, v2y))
        return false;
    int x[4], y[4];
    const bool lit = parallelogram(v1x, v1y, v2x, v2y, x, y);
    // Mostly both roundings give the same ends, and with them the same parallelogram.
    const float u1x = window(ax, hw, false), u1y = window(ay, hh, false);
    const float u2x = window(bx, hw, false), u2y = window(by, hh, false);
    if (u1x != v1x || u1y != v1y || u2x != v2x || u2y != v2y) {
        if (!inside(u1x, u1y) || !inside(u2x, u2y))
            return false;
        int qx[4], qy[4];
        const bool has = parallelogram(u1x, u1y, u2x, u2y, qx, qy);
        if (has != lit || (has && (!std::equal(qx, qx + 4, x) || !std::equal(qy, qy + 4, y))))
            return false; // the two roundings disagree
    }
    if (!lit)
        return true;

    // Edge functions of the parallelogram; a centre on a left or top edge is inside.
    for (int i = 0; i < 4; ++i) {
        const int j = (i + 1) & 3;
        m_dcdy[i] = qint64(x[i]) - x[j];
        m_dcdx[i] = qint64(y[i]) - y[j];
        m_c[i] = m_dcdx[i] * x[i] - m_dcdy[i] * y[i];
        if (m_dcdx[i] < 0 || (m_dcdx[i] == 0 && m_dcdy[i] > 0))
            ++m_c[i];
    }
    m_left = std::max(long(std::min(std::min(x[0], x[1]), std::min(x[2], x[3])) >> 8) - 1, 0L);
    m_right = std::min(long(std::max(std::max(x[0], x[1]), std::max(x[2], x[3])) >> 8) + 1, long(m_width) - 1);
    m_bottom = std::max(long(std::min(std::min(y[0], y[1]), std::min(y[2], y[3])) >> 8) - 1, 0L);
    m_top = std::min(long(std::max(std::max(y[0], y[1]), std::max(y[2], y[3])) >> 8) + 1, long(m_height) - 1);
    m_empty = false;
    return true;
}

bool KivLinePixels::lights(long column, long row) const
{
    if (m_empty || column < m_left || column > m_right || row < m_bottom || row > m_top)
        return false;
    for (int i = 0; i < 4; ++i) {
        if (m_c[i] + m_dcdy[i] * (qint64(row) * 256) - m_dcdx[i] * (qint64(column) * 256) <= 0)
            return false;
    }
    return true;
}

void KivLinePixels::rowsIn(long column, long &low, long &high) const
{
    low = 0;
    high = -1;
    if (m_empty || column < m_left || column > m_right)
        return;
    // Each edge function is linear in the row: it bounds the lit rows from one side.
    qint64 from = m_bottom, to = m_top;
    for (int i = 0; i < 4; ++i) {
        const qint64 a = m_c[i] - m_dcdx[i] * (qint64(column) * 256);
        const qint64 b = m_dcdy[i] * 256;
        if (b > 0)
            from = std::max(from, floorDiv(-a, b) + 1); // a + b * row > 0
        else if (b < 0)
            to = std::min(to, -floorDiv(-a, -b) - 1);
        else if (a <= 0)
            return;
    }
    if (from <= to) {
        low = long(from);
        high = long(to);
    }
}
