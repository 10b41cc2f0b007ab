#include "kiv_graphgestures_p.h"

#include "kiv_dataset.h"
#include "kivclamp_p.h"

#include <algorithm>
#include <cmath>

namespace {

// |a - b| negligible against the smaller magnitude.
bool nearlyEqual(double a, double b)
{
    return std::fabs(a - b) * 1e12 <= std::min(std::fabs(a), std::fabs(b));
}

bool isGestureButton(Qt::MouseButton button)
{
    return button == Qt::LeftButton || button == Qt::RightButton;
}

} // namespace

KivGraphGestures::KivGraphGestures(KivGraph& graph, QList<KivAxisInfo>& axes)
    : m_graph(graph)
    , m_axes(axes)
{
}

KivGraphMapping KivGraphGestures::mapping() const
{
    return KivGraphMapping(m_graph.size());
}

KivGraph::PanZoomInfo& KivGraphGestures::record(Qt::MouseButton button)
{
    return m_records[button];
}

const KivGraph::PanZoomInfo& KivGraphGestures::record(Qt::MouseButton button) const
{
    // A button never pressed reads as a default record; a getter adds nothing.
    static const KivGraph::PanZoomInfo none;
    const auto it = m_records.constFind(button);
    return it != m_records.constEnd() ? it.value() : none;
}

bool KivGraphGestures::zoomSpansAllSamples() const
{
    return m_graph.isZooming() && m_graph.isShowingAllSamples();
}

std::pair<bool, Qt::MouseButton> KivGraphGestures::buttonDown() const
{
    if (record(Qt::LeftButton).active)
        return std::make_pair(true, Qt::LeftButton);
    if (record(Qt::RightButton).active)
        return std::make_pair(true, Qt::RightButton);
    return std::make_pair(false, Qt::NoButton);
}

bool KivGraphGestures::horizontalSliderActive() const
{
    return record(Qt::LeftButton).horizontalSlider || record(Qt::RightButton).horizontalSlider;
}

bool KivGraphGestures::verticalSliderActive() const
{
    if (horizontalSliderActive())
        return false;
    return record(Qt::LeftButton).verticalSlider || record(Qt::RightButton).verticalSlider;
}

// The slider spans the visible part of the full extent along the bottom band.
bool KivGraphGestures::onHorizontalSlider(const QPoint& p, const velo::MatrixF<3, 2>& fullExtent) const
{
    const KivGraphMapping map = mapping();
    const QPointF g = map.pointToGraphPos(p, false);
    const QPointF s = KivGraphMapping::graphPosToScalePoint(g, fullExtent);
    const KivAxisInfo& x = m_axes.at(0);
    return g.y() >= -1.0 && g.y() <= map.horizontalBandTop() && s.x() >= x.scaleMin && s.x() <= x.scaleMax;
}

bool KivGraphGestures::onVerticalSlider(const QPoint& p, const velo::MatrixF<3, 2>& fullExtent) const
{
    const KivGraphMapping map = mapping();
    const QPointF g = map.pointToGraphPos(p, false);
    const QPointF s = KivGraphMapping::graphPosToScalePoint(g, fullExtent);
    const KivAxisInfo& y = m_axes.at(1);
    return g.x() >= -1.0 && g.x() <= map.verticalBandRight() && s.y() >= y.scaleMin && s.y() <= y.scaleMax;
}

void KivGraphGestures::press(Qt::MouseButton button, const QPoint& p)
{
    if ((!m_graph.isZooming() && !m_graph.isPanning()) || !isGestureButton(button))
        return;
    const KivGraphMapping map = mapping();
    const bool allSamples = zoomSpansAllSamples();
    KivGraph::PanZoomInfo& r = record(button);
    r.startPoint = p;
    if (allSamples)
        r.startPoint.setX(0);
    r.startPos = map.pointToGraphPos(r.startPoint, true);
    r.endPoint = p;
    if (allSamples)
        r.endPoint.setX(m_graph.width());
    r.endPos = map.pointToGraphPos(r.endPoint, true);
    r.lastPos = r.endPos;

    if (KivGraphMapping::posValid(r.startPos)) {
        r.active = true;
        const velo::MatrixF<3, 2> extent = m_graph.calculateMinMaxScales();
        if (onHorizontalSlider(p, extent))
            r.horizontalSlider = true;
        if (onVerticalSlider(p, extent))
            r.verticalSlider = true;
    }

    // Pressing the other button during a rubber band is the way out of both gestures.
    KivGraph::PanZoomInfo& left = record(Qt::LeftButton);
    KivGraph::PanZoomInfo& right = record(Qt::RightButton);
    if (m_graph.isZooming() && left.active && right.active) {
        for (KivGraph::PanZoomInfo* info : {&left, &right}) {
            info->active = false;
            info->horizontalSlider = false;
            info->verticalSlider = false;
            info->autoZoom = false;
        }
    }
    m_graph.forceScheduleUpdate();
}

// With a gesture running the move belongs to it; otherwise it drives the measure cursor.
void KivGraphGestures::move(Qt::MouseButton button, const QPoint& p)
{
    if (!isGestureButton(button) || !record(button).active) {
        moveMeasureCursor(p);
        return;
    }
    if (m_graph.isZooming() || m_graph.isPanning()) {
        moveGesture(button, record(button), p);
        m_graph.scheduleUpdate();
    }
}

void KivGraphGestures::moveGesture(Qt::MouseButton button, KivGraph::PanZoomInfo& r, const QPoint& p)
{
    const KivGraphMapping map = mapping();
    const bool allSamples = zoomSpansAllSamples();
    r.endPoint = p;
    if (allSamples)
        r.endPoint.setX(m_graph.width());
    r.endPos = map.pointToGraphPos(r.endPoint, true);

    if (m_graph.isZooming()) {
        if (r.autoZoom)
            updateZoomRectangle(r.endPos, r, r.zoomFactorX, r.zoomFactorY);
        return;
    }

    const int dxPixels = r.endPoint.x() - r.startPoint.x();
    const int dyPixels = r.endPoint.y() - r.startPoint.y();
    double dxGraph = r.endPos.x() - r.lastPos.x();
    double dyGraph = r.endPos.y() - r.lastPos.y();
    KivAxisInfo& x = m_axes[0];
    KivAxisInfo& y = m_axes[1];
    if (r.horizontalSlider) {
        // The slider stands for the visible part of the full extent: it moves by extent units.
        const velo::MatrixF<3, 2> extent = m_graph.calculateMinMaxScales();
        const double shift = (extent(0, 1) - extent(0, 0)) * dxGraph * 0.5;
        x.scaleMin += shift;
        x.scaleMax += shift;
        dyGraph = 0.0;
    } else if (r.verticalSlider) {
        const velo::MatrixF<3, 2> extent = m_graph.calculateMinMaxScales();
        const double shift = (extent(1, 1) - extent(1, 0)) * dyGraph * 0.5;
        y.scaleMin += shift;
        y.scaleMax += shift;
        dxGraph = 0.0;
    } else {
        // Left drags the data along with the pointer, right drags the view itself.
        const double sign = button == Qt::LeftButton ? -1.0 : 1.0;
        const double sx = (x.scaleMax - x.scaleMin) * dxGraph * 0.5 * sign;
        const double sy = (y.scaleMax - y.scaleMin) * dyGraph * 0.5 * sign;
        x.scaleMin += sx;
        x.scaleMax += sx;
        y.scaleMin += sy;
        y.scaleMax += sy;
    }

    r.lastPos = r.endPos;
    r.startPoint = r.endPoint;
    if (allSamples)
        r.startPoint.setX(0);
    r.startPos = map.pointToGraphPos(r.startPoint, true);

    emit m_graph.panning(button, dxPixels, dyPixels, dxGraph, dyGraph);

    applyPanLimits(m_graph.calculateMinMaxScales(), m_axes);
    m_graph.applyScaleLimits(m_axes);
}

// Over a time series the pointer moves the scope offset, so the series shows the values under
// it; the offset it had before is saved once and restored when the pointer leaves.
void KivGraphGestures::moveMeasureCursor(const QPoint& p)
{
    if (!m_graph.isMeasureShown() || !m_measureTracking || m_graph.dataSetCount() == 0)
        return;
    KivDataSet* ds = m_graph.dataSet(0);
    if (!ds->hasStyle(0, 3))
        return;
    const QPointF g = mapping().pointToGraphPos(p, true);
    const unsigned long n = std::max<unsigned long>(ds->getItemCount(), ds->getMaxItemCount());
    if (m_savedScopeOffset == -2)
        m_savedScopeOffset = int(ds->getScopeOffset());
    m_graph.setScopeOffset_imp(long(kivclamp::position(double(n) * (g.x() + 1.0) * 0.5)));
    m_graph.forceScheduleUpdate();
}

void KivGraphGestures::leave()
{
    if (m_savedScopeOffset != -2) {
        m_graph.setScopeOffset(m_savedScopeOffset);
        m_graph.forceScheduleUpdate();
    }
}

void KivGraphGestures::forgetSavedScopeOffset()
{
    m_savedScopeOffset = -2;
}

void KivGraphGestures::release(Qt::MouseButton button, const QPoint& p)
{
    if ((!m_graph.isZooming() && !m_graph.isPanning()) || !isGestureButton(button))
        return;
    KivGraph::PanZoomInfo& r = record(button);
    if (m_graph.isZooming() && r.active) {
        // A double-click zoom keeps the rectangle that followed the pointer.
        if (!r.autoZoom) {
            r.endPoint = p;
            if (zoomSpansAllSamples())
                r.endPoint.setX(m_graph.width());
            r.endPos = mapping().pointToGraphPos(r.endPoint, true);
        }
        if (r.validZoom())
            zoomTo(r, button == Qt::RightButton ? KivGraph::ZoomMode::ZoomOut : KivGraph::ZoomMode::ZoomIn);
    }
    r.active = false;
    r.autoZoom = false;
    r.horizontalSlider = false;
    r.verticalSlider = false;
    m_graph.forceScheduleUpdate();
}

// Arrives after the press of the same click, so startPos already holds the clicked position.
void KivGraphGestures::doubleClick(Qt::MouseButton button, const QPoint& p)
{
    if (!m_graph.isZooming() || !isGestureButton(button))
        return;
    KivGraph::PanZoomInfo& r = record(button);
    r.active = true;
    r.autoZoom = true;
    const velo::MatrixF<3, 2> extent = m_graph.calculateMinMaxScales();
    if (onHorizontalSlider(p, extent))
        r.horizontalSlider = true;
    if (onVerticalSlider(p, extent))
        r.verticalSlider = true;
    r.zoomFactorX = 2.0;
    r.zoomFactorY = 2.0;
    updateZoomRectangle(r.startPos, r, 2.0, 2.0);
    m_graph.forceScheduleUpdate();
}

// Outside the zoom mode the wheel belongs to the parent (a scroll area, say).
bool KivGraphGestures::wheel(const QPoint& p, int delta)
{
    if (!m_graph.isZooming())
        return false;
    const KivGraphMapping map = mapping();
    const bool up = delta > 0;
    const std::pair<bool, Qt::MouseButton> down = buttonDown();
    if (down.first) {
        KivGraph::PanZoomInfo& r = record(down.second);
        if (r.autoZoom) {
            const double step = up ? 0.2 : -0.2;
            r.zoomFactorX = std::max(r.zoomFactorX + step, 1.0);
            r.zoomFactorY = std::max(r.zoomFactorY + step, 1.0);
            updateZoomRectangle(map.pointToGraphPos(p, true), r, r.zoomFactorX, r.zoomFactorY);
        } else {
            // The rubber band's anchor moves by 5 % of the widget per notch.
            const double step = up ? 0.05 : -0.05;
            r.startPoint.setY(kivclamp::pixel(m_graph.height() * step + r.startPoint.y()));
            r.startPoint.setX(kivclamp::pixel(m_graph.width() * step + r.startPoint.x()));
            if (zoomSpansAllSamples())
                r.startPoint.setX(0);
            r.startPos = map.pointToGraphPos(r.startPoint, true);
        }
    } else if (delta != 0) {
        // One notch zooms by two about the pointer; a spare record holds the rectangle.
        KivGraph::PanZoomInfo& r = record(up ? Qt::LeftButton : Qt::RightButton);
        updateZoomRectangle(map.pointToGraphPos(p, true), r, 2.0, 2.0);
        zoomTo(r, up ? KivGraph::ZoomMode::ZoomIn : KivGraph::ZoomMode::ZoomOut);
    }
    m_graph.forceScheduleUpdate();
    return true;
}

void KivGraphGestures::zoomTo(const KivGraph::PanZoomInfo& r, KivGraph::ZoomMode::Type mode)
{
    QPointF topLeft;
    QPointF bottomRight;
    KivGraphMapping::orderedCorners(r.startPos, r.endPos, topLeft, bottomRight);
    KivGraph::ScaleInfo info;
    info.xMin = m_axes.at(0).scaleMin;
    info.xMax = m_axes.at(0).scaleMax;
    info.yMin = m_axes.at(1).scaleMin;
    info.yMax = m_axes.at(1).scaleMax;
    processZoomRectangle(topLeft, bottomRight, mode, info);
    m_graph.applyScaleLimits(info, m_axes);
}

// A rectangle of 1/zoom of the plot around centre, slid back inside the plot if it sticks out.
void KivGraphGestures::autoZoomRect(const QPointF& centre, QPointF& topLeft, QPointF& bottomRight, double zoomX,
                                    double zoomY) const
{
    const double hw = (2.0 / zoomX) * 0.5;
    const double hh = (2.0 / zoomY) * 0.5;
    topLeft = QPointF(centre.x() - hw, centre.y() + hh);
    bottomRight = QPointF(centre.x() + hw, centre.y() - hh);

    double shift = -1.0 - topLeft.x();
    if (shift > 0.0) {
        topLeft.rx() += shift;
        bottomRight.rx() += shift;
    }
    shift = 1.0 - bottomRight.x();
    if (shift < 0.0) {
        topLeft.rx() += shift;
        bottomRight.rx() += shift;
    }
    shift = 1.0 - topLeft.y();
    if (shift < 0.0) {
        topLeft.ry() += shift;
        bottomRight.ry() += shift;
    }
    shift = -1.0 - bottomRight.y();
    if (shift > 0.0) {
        topLeft.ry() += shift;
        bottomRight.ry() += shift;
    }
}

void KivGraphGestures::updateZoomRectangle(const QPointF& centre, KivGraph::PanZoomInfo& r, double zoomX,
                                           double zoomY)
{
    QPointF topLeft;
    QPointF bottomRight;
    autoZoomRect(centre, topLeft, bottomRight, zoomX, zoomY);
    const KivGraphMapping map = mapping();
    const bool allSamples = zoomSpansAllSamples();
    r.startPos = topLeft;
    if (allSamples)
        r.startPos.setX(-1.0);
    r.startPoint = map.graphPosToPoint(r.startPos);
    r.endPos = bottomRight;
    if (allSamples)
        r.endPos.setX(1.0);
    r.endPoint = map.graphPosToPoint(r.endPos);
}

void KivGraphGestures::processZoomRectangle(const QPointF& topLeft, const QPointF& bottomRight,
                                            KivGraph::ZoomMode::Type mode, KivGraph::ScaleInfo& info) const
{
    const double x0 = m_axes.at(0).scaleMin;
    const double x1 = m_axes.at(0).scaleMax;
    const double y0 = m_axes.at(1).scaleMin;
    const double y1 = m_axes.at(1).scaleMax;
    const double rx = x1 - x0;
    const double ry = y1 - y0;
    const double left = (topLeft.x() * 0.5 + 0.5) * rx + x0;
    const double right = (bottomRight.x() * 0.5 + 0.5) * rx + x0;
    const double bottom = (bottomRight.y() * 0.5 + 0.5) * ry + y0;
    const double top = (topLeft.y() * 0.5 + 0.5) * ry + y0;

    switch (mode) {
    case KivGraph::ZoomMode::ZoomIn:
        info.xMin = left;
        info.xMax = right;
        info.yMin = bottom;
        info.yMax = top;
        break;
    case KivGraph::ZoomMode::ZoomOut: {
        // The whole view shrinks into the rectangle: each side grows by its gap times the factor.
        const double fx = rx / (right - left);
        const double fy = ry / (top - bottom);
        info.xMin = x0 - (left - x0) * fx;
        info.xMax = x1 + (x1 - right) * fx;
        info.yMin = y0 - (bottom - y0) * fy;
        info.yMax = y1 + (y1 - top) * fy;
        break;
    }
    }
}

// Only snaps ends lying on the 3 % margin around the data onto it; the clamping proper is
// KivGraph::applyScaleLimits(axes), which the callers run next.
void KivGraphGestures::applyPanLimits(const velo::MatrixF<3, 2>& fullExtent, QList<KivAxisInfo>& axes) const
{
    const bool timeSeries = m_graph.dimensions() == 1;
    for (int a = 0; a < 3 && a < axes.size(); ++a) {
        const double min = fullExtent(a, 0);
        const double max = fullExtent(a, 1);
        const double margin = (a == 0 && timeSeries) ? 0.0 : 0.03 * (max - min);
        const double lo = min - margin;
        const double hi = max + margin;
        KivAxisInfo& axis = axes[a];
        if (nearlyEqual(axis.scaleMin, lo))
            axis.scaleMin = lo;
        if (nearlyEqual(axis.scaleMax, hi))
            axis.scaleMax = hi;
    }
    if (m_graph.isShowingAllSamples() && timeSeries) {
        axes[0].scaleMin = fullExtent(0, 0);
        axes[0].scaleMax = fullExtent(0, 1);
    }
}

KivGraphGestures::Overlay KivGraphGestures::overlay() const
{
    Overlay o;
    if (m_graph.isPanning()) {
        o.horizontalSliderDragged = horizontalSliderActive();
        o.verticalSliderDragged = verticalSliderActive();
    }
    const std::pair<bool, Qt::MouseButton> down = buttonDown();
    if (down.first) {
        const KivGraph::PanZoomInfo& r = record(down.second);
        o.startPos = r.startPos;
        o.endPos = r.endPos;
        if (m_graph.isZooming())
            o.kind = Overlay::ZoomRectangle;
        else if (m_graph.isPanning() && !o.horizontalSliderDragged && !o.verticalSliderDragged)
            o.kind = Overlay::PanArrow;
    }
    o.measureReadout = m_graph.isMeasureShown() && m_measureTracking && m_savedScopeOffset != -2
        && m_graph.dataSetCount() > 0 && m_graph.dataSet(0)->hasStyle(0, 3);
    return o;
}
