#include "kiv_graph.h"

#include <QMouseEvent>
#include <QWheelEvent>

bool KivGraph::PanZoomInfo::validZoom() const
{
    return endPoint.x() != startPoint.x() && endPoint.y() != startPoint.y();
}

KivGraph::PanZoomInfo& KivGraph::getPanZoomInfo(Qt::MouseButton button)
{
    return m_panZoom[button];
}

const KivGraph::PanZoomInfo& KivGraph::getPanZoomInfo(Qt::MouseButton button) const
{
    return m_panZoom[button];
}

bool KivGraph::isZooming() const
{
    return getControlState() == ControlZoom;
}

bool KivGraph::isPanning() const
{
    return getControlState() == ControlPan;
}

void KivGraph::pointToGraphPos(const QPoint& p, QPointF& pos, bool clamp) const
{
    pos = QPointF(2.0 * p.x() / width() - 1.0, 1.0 - 2.0 * p.y() / height());
    if (clamp)
        pos = clampPos(pos);
}

void KivGraph::graphPosToPoint(const QPointF& pos, QPoint& p) const
{
    p = QPoint(int(width() * (1.0 + pos.x()) * 0.5), int(height() - (pos.y() + 1.0) * 0.5 * height()));
}

QPointF KivGraph::clampPos(const QPointF& pos) const
{
    return QPointF(qBound(-1.0, pos.x(), 1.0), qBound(-1.0, pos.y(), 1.0));
}

bool KivGraph::posValid(const QPointF& pos) const
{
    return pos.x() >= -1.0 && pos.x() <= 1.0 && pos.y() >= -1.0 && pos.y() <= 1.0;
}

bool KivGraph::rectValid(const QPointF& topLeft, const QPointF& bottomRight) const
{
    return posValid(topLeft) && posValid(bottomRight) && bottomRight.x() >= topLeft.x()
        && topLeft.y() >= bottomRight.y();
}

void KivGraph::graphPosToScalePoint(const QPointF& pos, const velo::MatrixF<3, 2>& box, QPointF& out) const
{
    out = QPointF((1.0 + pos.x()) * 0.5 * (box(0, 1) - box(0, 0)) + box(0, 0),
                  (1.0 + pos.y()) * 0.5 * (box(1, 1) - box(1, 0)) + box(1, 0));
}

void KivGraph::scalePointToGraphPos(const QPointF& s, const velo::MatrixF<3, 2>& box, QPointF& out) const
{
    out = QPointF(2.0 * (s.x() - box(0, 0)) / (box(0, 1) - box(0, 0)) - 1.0,
                  2.0 * (s.y() - box(1, 0)) / (box(1, 1) - box(1, 0)) - 1.0);
}

std::pair<bool, Qt::MouseButton> KivGraph::isMouseButtonDown() const
{
    return std::make_pair(false, Qt::NoButton);
}

bool KivGraph::isHorizontalScrollBarSliderActive() const
{
    return false;
}

bool KivGraph::isVerticalScrollBarSliderActive() const
{
    return false;
}

bool KivGraph::isPointOnHorizontalScrollBarSlider(const QPoint&, const velo::MatrixF<3, 2>&) const
{
    return false;
}

bool KivGraph::isPointOnVerticalScrollBarSlider(const QPoint&, const velo::MatrixF<3, 2>&) const
{
    return false;
}

void KivGraph::handleMouseDown(Qt::MouseButton, const QPoint&)
{
}

void KivGraph::handleMouseUp(Qt::MouseButton, const QPoint&)
{
}

void KivGraph::handleMouseMove(Qt::MouseButton, const QPoint&)
{
}

void KivGraph::handleMouseDoubleClick(Qt::MouseButton, const QPoint&)
{
}

void KivGraph::calculateAutoZoomRect(const QPointF& centre, QPointF& topLeft, QPointF& bottomRight,
                                     double, double) const
{
    topLeft = centre;
    bottomRight = centre;
}

void KivGraph::updateZoomRectangle(const QPointF&, KivGraph::PanZoomInfo&, double, double)
{
}

void KivGraph::processZoomRectangle(const QPointF&, const QPointF&, KivGraph::ZoomMode::Type,
                                    KivGraph::ScaleInfo&)
{
}

void KivGraph::applyScaleLimits(const KivGraph::ScaleInfo& info, QList<KivAxisInfo>& axes)
{
    axes[0].scaleMin = info.xMin;
    axes[0].scaleMax = info.xMax;
    axes[1].scaleMin = info.yMin;
    axes[1].scaleMax = info.yMax;
    applyScaleLimits(axes);
}

void KivGraph::applyPanLimits(const velo::MatrixF<3, 2>&, QList<KivAxisInfo>&)
{
}

void KivGraph::mousePressEvent(QMouseEvent* e)
{
    QOpenGLWidget::mousePressEvent(e);
}

void KivGraph::mouseReleaseEvent(QMouseEvent* e)
{
    QOpenGLWidget::mouseReleaseEvent(e);
}

void KivGraph::mouseDoubleClickEvent(QMouseEvent* e)
{
    QOpenGLWidget::mouseDoubleClickEvent(e);
}

void KivGraph::mouseMoveEvent(QMouseEvent* e)
{
    QOpenGLWidget::mouseMoveEvent(e);
}

void KivGraph::wheelEvent(QWheelEvent* e)
{
    e->ignore();
}

void KivGraph::leaveEvent(QEvent* e)
{
    QOpenGLWidget::leaveEvent(e);
}

void KivGraph::drawPointerText(QPainter*)
{
}
