#ifndef KIV_LINEPIXELS_P_H
#define KIV_LINEPIXELS_P_H

// Internal: not exported, not installed.

#include <QtGlobal>

/*!
 * \brief The pixels that Mesa's llvmpipe lights for a one-pixel line drawn into a framebuffer
 * object, as a QOpenGLWidget draws.
 *
 * The model repeats the rasteriser's steps: the viewport transform in single precision with
 * one rounding, the diamond-exit decisions on the float ends, the parallelogram of the line
 * snapped to 1/256 pixel, and its four edge functions with the top-left fill rule, evaluated
 * at the pixel centres. It answers only where that is certain: both ends inside the viewport
 * (no clipping), and vertices that one or two roundings place alike (so that a rasteriser
 * without fused multiply-add gets the same). Rows count from the bottom, as GL's window does.
 */
class KivLinePixels
{
public:
    KivLinePixels(int width, int height) : m_width(width), m_height(height) {}

    // The segment from graph point (ax, ay) to (bx, by); false where its pixels are not known.
    bool setSegment(double ax, double ay, double bx, double by);
    bool lights(long column, long row) const;
    // The lit rows of `column`, low to high (low > high where none is lit): a line lights
    // one run of rows per column.
    void rowsIn(long column, long &low, long &high) const;
    long firstColumn() const { return m_left; }
    long lastColumn() const { return m_right; }

private:
    int m_width;
    int m_height;
    bool m_empty = true;
    qint64 m_c[4] = {};
    qint64 m_dcdx[4] = {};
    qint64 m_dcdy[4] = {};
    long m_left = 0, m_right = -1, m_bottom = 0, m_top = -1; // pixel bounds of the parallelogram
};

#endif // KIV_LINEPIXELS_P_H
