// KivGraph's coordinate mapping and pointer interface: both forward, to KivGraphMapping and to
// the graph's KivGraphGestures.

#include "kiv_graph.h"
#include "kiv_graph_p.h"

#include <QMouseEvent>
#include <QWheelEvent>

#include <cstdlib>

bool KivGraph::PanZoomInfo::validZoom() const
{
    return endPoint.x() != startPoint.x() && endPoint.y() != startPoint.y();
}

void KivGraph::pointToGraphPos(const QPoint& p, QPointF& pos, bool clamp) const
{
    pos = KivGraphMapping(size()).pointToGraphPos(p, clamp);
}

void KivGraph::graphPosToPoint(const QPointF& pos, QPoint& p) const
{
    p = KivGraphMapping(size()).graphPosToPoint(pos);
}

QPointF KivGraph::clampPos(const QPointF& pos) const
{
    return KivGraphMapping::clampPos(pos);
}

bool KivGraph::posValid(const QPointF& pos) const
{
    return KivGraphMapping::posValid(pos);
}

bool KivGraph::rectValid(const QPointF& topLeft, const QPointF& bottomRight) const
{
    return KivGraphMapping::rectValid(topLeft, bottomRight);
}

void KivGraph::graphPosToScalePoint(const QPointF& pos, const velo::MatrixF<3, 2>& box, QPointF& out) const
{
    out = KivGraphMapping::graphPosToScalePoint(pos, box);
}

void KivGraph::scalePointToGraphPos(const QPointF& s, const velo::MatrixF<3, 2>& box, QPointF& out) const
{
    out = KivGraphMapping::scalePointToGraphPos(s, box);
}

KivGraph::PanZoomInfo& KivGraph::getPanZoomInfo(Qt::MouseButton button)
{
    return d->gestures.record(button);
}

const KivGraph::PanZoomInfo& KivGraph::getPanZoomInfo(Qt::MouseButton button) const
{
    return d->gestures.record(button);
}

std::pair<bool, Qt::MouseButton> KivGraph::isMouseButtonDown() const
{
    return d->gestures.buttonDown();
}

bool KivGraph::isHorizontalScrollBarSliderActive() const
{
    return d->gestures.horizontalSliderActive();
}

bool KivGraph::isVerticalScrollBarSliderActive() const
{
    return d->gestures.verticalSliderActive();
}

bool KivGraph::isPointOnHorizontalScrollBarSlider(const QPoint& p, const velo::MatrixF<3, 2>& fullExtent) const
{
    return d->gestures.onHorizontalSlider(p, fullExtent);
}

bool KivGraph::isPointOnVerticalScrollBarSlider(const QPoint& p, const velo::MatrixF<3, 2>& fullExtent) const
{
    return d->gestures.onVerticalSlider(p, fullExtent);
}

void KivGraph::handleMouseDown(Qt::MouseButton button, const QPoint& p)
{
    d->gestures.press(button, p);
}

void KivGraph::handleMouseUp(Qt::MouseButton button, const QPoint& p)
{
    d->gestures.release(button, p);
}

void KivGraph::handleMouseMove(Qt::MouseButton button, const QPoint& p)
{
    d->gestures.move(button, p);
}

void KivGraph::handleMouseDoubleClick(Qt::MouseButton button, const QPoint& p)
{
    d->gestures.doubleClick(button, p);
}

void KivGraph::calculateAutoZoomRect(const QPointF& centre, QPointF& topLeft, QPointF& bottomRight,
                                     double zoomX, double zoomY) const
{
    d->gestures.autoZoomRect(centre, topLeft, bottomRight, zoomX, zoomY);
}

void KivGraph::updateZoomRectangle(const QPointF& centre, KivGraph::PanZoomInfo& r, double zoomX, double zoomY)
{
    d->gestures.updateZoomRectangle(centre, r, zoomX, zoomY);
}

void KivGraph::processZoomRectangle(const QPointF& topLeft, const QPointF& bottomRight,
                                    KivGraph::ZoomMode::Type mode, KivGraph::ScaleInfo& info)
{
    d->gestures.processZoomRectangle(topLeft, bottomRight, mode, info);
}

void KivGraph::applyPanLimits(const velo::MatrixF<3, 2>& fullExtent, QList<KivAxisInfo>& axes)
{
    d->gestures.applyPanLimits(fullExtent, axes);
}

void KivGraph::mousePressEvent(QMouseEvent* e)
{
    handleMouseDown(e->button(), e->pos());
}

void KivGraph::mouseReleaseEvent(QMouseEvent* e)
{
    handleMouseUp(e->button(), e->pos());
}

void KivGraph::mouseDoubleClickEvent(QMouseEvent* e)
{
    handleMouseDoubleClick(e->button(), e->pos());
}

void KivGraph::mouseMoveEvent(QMouseEvent* e)
{
    handleMouseMove(isMouseButtonDown().second, e->pos());
}

void KivGraph::wheelEvent(QWheelEvent* e)
{
    const QPoint angle = e->angleDelta();
    const int delta = std::abs(angle.x()) > std::abs(angle.y()) ? angle.x() : angle.y();
    if (d->gestures.wheel(e->position().toPoint(), delta))
        e->accept();
    else
        e->ignore();
}

void KivGraph::leaveEvent(QEvent* e)
{
    d->gestures.leave();
    QOpenGLWidget::leaveEvent(e);
}
