#include "kiv_graphmapping_p.h"

#include "kivclamp_p.h"

#include <algorithm>

KivGraphMapping::KivGraphMapping(const QSize& size)
    : m_width(size.width())
    , m_height(size.height())
{
}

QPointF KivGraphMapping::pointToGraphPos(const QPoint& p, bool clamp) const
{
    const double w = std::max(1, m_width);
    const double h = std::max(1, m_height);
    const QPointF pos(2.0 * p.x() / w - 1.0, 1.0 - 2.0 * p.y() / h);
    return clamp ? clampPos(pos) : pos;
}

// Truncates toward zero, so a round trip through pointToGraphPos may land one pixel short.
QPoint KivGraphMapping::graphPosToPoint(const QPointF& pos) const
{
    const double w = m_width;
    const double h = m_height;
    return QPoint(kivclamp::pixel(w * (1.0 + pos.x()) * 0.5), kivclamp::pixel(h - (pos.y() + 1.0) * 0.5 * h));
}

QPointF KivGraphMapping::clampPos(const QPointF& pos)
{
    return QPointF(qBound(-1.0, pos.x(), 1.0), qBound(-1.0, pos.y(), 1.0));
}

bool KivGraphMapping::posValid(const QPointF& pos)
{
    return pos.x() >= -1.0 && pos.x() <= 1.0 && pos.y() >= -1.0 && pos.y() <= 1.0;
}

bool KivGraphMapping::rectValid(const QPointF& topLeft, const QPointF& bottomRight)
{
    return posValid(topLeft) && posValid(bottomRight) && bottomRight.x() >= topLeft.x()
        && topLeft.y() >= bottomRight.y();
}

QPointF KivGraphMapping::graphPosToScalePoint(const QPointF& pos, const velo::MatrixF<3, 2>& box)
{
    return QPointF((1.0 + pos.x()) * 0.5 * (box(0, 1) - box(0, 0)) + box(0, 0),
                   (1.0 + pos.y()) * 0.5 * (box(1, 1) - box(1, 0)) + box(1, 0));
}

QPointF KivGraphMapping::scalePointToGraphPos(const QPointF& s, const velo::MatrixF<3, 2>& box)
{
    return QPointF(2.0 * (s.x() - box(0, 0)) / (box(0, 1) - box(0, 0)) - 1.0,
                   2.0 * (s.y() - box(1, 0)) / (box(1, 1) - box(1, 0)) - 1.0);
}

void KivGraphMapping::orderedCorners(const QPointF& a, const QPointF& b, QPointF& topLeft, QPointF& bottomRight)
{
    topLeft = QPointF(std::min(a.x(), b.x()), std::max(a.y(), b.y()));
    bottomRight = QPointF(std::max(a.x(), b.x()), std::min(a.y(), b.y()));
}

double KivGraphMapping::horizontalBandTop() const
{
    return 2.0 * (ScrollBarPixels / std::max(1, m_height)) - 1.0;
}

double KivGraphMapping::verticalBandRight() const
{
    return 2.0 * (ScrollBarPixels / std::max(1, m_width)) - 1.0;
}
