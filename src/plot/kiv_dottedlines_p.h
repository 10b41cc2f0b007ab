#ifndef KIV_DOTTEDLINES_P_H
#define KIV_DOTTEDLINES_P_H

// Internal: not exported, not installed.

#include <QtGlobal>

/*!
 * \brief Full-width and full-height dotted lines, lit exactly where glLineStipple would light them.
 *
 * Mesa's software rasterisers stipple by cutting every line into one piece per dash on the
 * CPU, so a dotted grid cost more than the series it sits under. Here each line stays one
 * primitive: a 16-texel alpha texture holds the pattern, the texture coordinate counts pixels
 * along the line from its first vertex (as the stipple counter does) and the alpha test drops
 * the texels that are off. Lines run bottom to top and left to right over the whole viewport,
 * in the current colour; the pattern texture lives per GL context.
 */
class KivDottedLines
{
public:
    // Starts a GL_LINES batch with the stipple `factor` and `pattern` (bit 0 first) over the
    // current viewport.
    KivDottedLines(int factor, quint16 pattern);
    ~KivDottedLines();
    KivDottedLines(const KivDottedLines &) = delete;
    KivDottedLines &operator=(const KivDottedLines &) = delete;

    // A line from (x, -1) to (x, 1) in graph coordinates.
    void vertical(double x) const;
    // A line from (-1, y) to (1, y).
    void horizontal(double y) const;

private:
    double m_verticalRepeats;   // pattern lengths along a vertical line
    double m_horizontalRepeats; // and along a horizontal one
};

#endif // KIV_DOTTEDLINES_P_H
