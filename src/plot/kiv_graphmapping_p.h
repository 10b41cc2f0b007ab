#ifndef KIV_GRAPHMAPPING_P_H
#define KIV_GRAPHMAPPING_P_H

#include "velo_matrix.h"

#include <QPoint>
#include <QPointF>
#include <QSize>

/*!
 * \brief Conversions between a graph's widget pixels, its graph space (-1..1 on both axes,
 * y up) and the data units of a scale box, for one widget size.
 *
 * Also the geometry of the scroll-bar bands along the bottom and left edges, which the
 * painter draws and the gestures hit-test. Knows nothing of widgets or gestures.
 */
class KivGraphMapping
{
public:
    //! Thickness of the scroll-bar bands, in pixels.
    static constexpr double ScrollBarPixels = 12.0;

    explicit KivGraphMapping(const QSize& size);

    QPointF pointToGraphPos(const QPoint& p, bool clamp) const;
    QPoint graphPosToPoint(const QPointF& pos) const;
    static QPointF clampPos(const QPointF& pos);
    static bool posValid(const QPointF& pos);
    static bool rectValid(const QPointF& topLeft, const QPointF& bottomRight);
    static QPointF graphPosToScalePoint(const QPointF& pos, const velo::MatrixF<3, 2>& box);
    static QPointF scalePointToGraphPos(const QPointF& s, const velo::MatrixF<3, 2>& box);
    //! The rectangle spanned by \a a and \a b with its corners in order, whichever way it was dragged.
    static void orderedCorners(const QPointF& a, const QPointF& b, QPointF& topLeft, QPointF& bottomRight);

    //! Graph y of the top of the horizontal scroll bar's band.
    double horizontalBandTop() const;
    //! Graph x of the right edge of the vertical scroll bar's band.
    double verticalBandRight() const;

private:
    int m_width;
    int m_height;
};

#endif // KIV_GRAPHMAPPING_P_H
