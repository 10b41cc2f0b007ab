#include "kiv_graph.h"

#include "kiv_dataset.h"
#include "kivclamp_p.h"

#include <QFontMetrics>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace {

// Thickness of the scroll bars along the bottom and left edges, in pixels.
constexpr double ScrollBarPixels = 12.0;

// |a - b| negligible against the smaller magnitude.
bool nearlyEqual(double a, double b)
{
    return std::fabs(a - b) * 1e12 <= std::min(std::fabs(a), std::fabs(b));
}

bool isGestureButton(Qt::MouseButton button)
{
    return button == Qt::LeftButton || button == Qt::RightButton;
}

// The record's rectangle with its corners in order, whichever way it was dragged.
void rectangleCorners(const KivGraph::PanZoomInfo& r, QPointF& topLeft, QPointF& bottomRight)
{
    topLeft = QPointF(std::min(r.startPos.x(), r.endPos.x()), std::max(r.startPos.y(), r.endPos.y()));
    bottomRight = QPointF(std::max(r.startPos.x(), r.endPos.x()), std::min(r.startPos.y(), r.endPos.y()));
}

} // namespace

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
    // A button never pressed reads as a default record; a getter adds nothing.
    static const PanZoomInfo none;
    const auto it = m_panZoom.constFind(button);
    return it != m_panZoom.constEnd() ? it.value() : none;
}

bool KivGraph::isZooming() const
{
    return m_controlState == ControlZoom;
}

bool KivGraph::isPanning() const
{
    return m_controlState == ControlPan;
}

bool KivGraph::zoomSpansAllSamples() const
{
    return m_controlState == ControlZoom && m_showAllSamples;
}

void KivGraph::pointToGraphPos(const QPoint& p, QPointF& pos, bool clamp) const
{
    const double w = std::max(1, width());
    const double h = std::max(1, height());
    pos = QPointF(2.0 * p.x() / w - 1.0, 1.0 - 2.0 * p.y() / h);
    if (clamp)
        pos = clampPos(pos);
}

// Truncates toward zero, so a round trip through pointToGraphPos may land one pixel short.
void KivGraph::graphPosToPoint(const QPointF& pos, QPoint& p) const
{
    const double w = width();
    const double h = height();
    p = QPoint(kivclamp::pixel(w * (1.0 + pos.x()) * 0.5), kivclamp::pixel(h - (pos.y() + 1.0) * 0.5 * h));
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
    if (getPanZoomInfo(Qt::LeftButton).active)
        return std::make_pair(true, Qt::LeftButton);
    if (getPanZoomInfo(Qt::RightButton).active)
        return std::make_pair(true, Qt::RightButton);
    return std::make_pair(false, Qt::NoButton);
}

bool KivGraph::isHorizontalScrollBarSliderActive() const
{
    return getPanZoomInfo(Qt::LeftButton).horizontalSlider || getPanZoomInfo(Qt::RightButton).horizontalSlider;
}

bool KivGraph::isVerticalScrollBarSliderActive() const
{
    if (isHorizontalScrollBarSliderActive())
        return false;
    return getPanZoomInfo(Qt::LeftButton).verticalSlider || getPanZoomInfo(Qt::RightButton).verticalSlider;
}

// The slider spans the visible part of the full extent along the bottom band.
bool KivGraph::isPointOnHorizontalScrollBarSlider(const QPoint& p, const velo::MatrixF<3, 2>& fullExtent) const
{
    QPointF g;
    pointToGraphPos(p, g, false);
    QPointF s;
    graphPosToScalePoint(g, fullExtent, s);
    const double top = 2.0 * (ScrollBarPixels / std::max(1, height())) - 1.0;
    const KivAxisInfo& x = m_axes.at(0);
    return g.y() >= -1.0 && g.y() <= top && s.x() >= x.scaleMin && s.x() <= x.scaleMax;
}

bool KivGraph::isPointOnVerticalScrollBarSlider(const QPoint& p, const velo::MatrixF<3, 2>& fullExtent) const
{
    QPointF g;
    pointToGraphPos(p, g, false);
    QPointF s;
    graphPosToScalePoint(g, fullExtent, s);
    const double right = 2.0 * (ScrollBarPixels / std::max(1, width())) - 1.0;
    const KivAxisInfo& y = m_axes.at(1);
    return g.x() >= -1.0 && g.x() <= right && s.y() >= y.scaleMin && s.y() <= y.scaleMax;
}

void KivGraph::handleMouseDown(Qt::MouseButton button, const QPoint& p)
{
    if ((!isZooming() && !isPanning()) || !isGestureButton(button))
        return;
    const bool allSamples = zoomSpansAllSamples();
    PanZoomInfo& r = getPanZoomInfo(button);
    r.startPoint = p;
    if (allSamples)
        r.startPoint.setX(0);
    pointToGraphPos(r.startPoint, r.startPos, true);
    r.endPoint = p;
    if (allSamples)
        r.endPoint.setX(width());
    pointToGraphPos(r.endPoint, r.endPos, true);
    r.lastPos = r.endPos;

    if (posValid(r.startPos)) {
        r.active = true;
        const velo::MatrixF<3, 2> extent = calculateMinMaxScales();
        if (isPointOnHorizontalScrollBarSlider(p, extent))
            r.horizontalSlider = true;
        if (isPointOnVerticalScrollBarSlider(p, extent))
            r.verticalSlider = true;
    }

    // Pressing the other button during a rubber band is the way out of both gestures.
    PanZoomInfo& left = getPanZoomInfo(Qt::LeftButton);
    PanZoomInfo& right = getPanZoomInfo(Qt::RightButton);
    if (isZooming() && left.active && right.active) {
        for (PanZoomInfo* info : {&left, &right}) {
            info->active = false;
            info->horizontalSlider = false;
            info->verticalSlider = false;
            info->autoZoom = false;
        }
    }
    forceScheduleUpdate();
}

// With a gesture running the move belongs to it; otherwise it drives the measure cursor.
void KivGraph::handleMouseMove(Qt::MouseButton button, const QPoint& p)
{
    if (!isGestureButton(button) || !getPanZoomInfo(button).active) {
        moveMeasureCursor(p);
        return;
    }
    if (isZooming() || isPanning()) {
        moveGesture(button, getPanZoomInfo(button), p);
        scheduleUpdate();
    }
}

void KivGraph::moveGesture(Qt::MouseButton button, PanZoomInfo& r, const QPoint& p)
{
    const bool allSamples = zoomSpansAllSamples();
    r.endPoint = p;
    if (allSamples)
        r.endPoint.setX(width());
    pointToGraphPos(r.endPoint, r.endPos, true);

    if (isZooming()) {
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
        const velo::MatrixF<3, 2> extent = calculateMinMaxScales();
        const double shift = (extent(0, 1) - extent(0, 0)) * dxGraph * 0.5;
        x.scaleMin += shift;
        x.scaleMax += shift;
        dyGraph = 0.0;
    } else if (r.verticalSlider) {
        const velo::MatrixF<3, 2> extent = calculateMinMaxScales();
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
    pointToGraphPos(r.startPoint, r.startPos, true);

    emit panning(button, dxPixels, dyPixels, dxGraph, dyGraph);

    applyPanLimits(calculateMinMaxScales(), m_axes);
    applyScaleLimits(m_axes);
}

// Over a time series the pointer moves the scope offset, so the series shows the values under
// it; the offset it had before is saved once and restored when the pointer leaves.
void KivGraph::moveMeasureCursor(const QPoint& p)
{
    if (!m_showMeasure || !m_measureAllowed || m_dataSets.isEmpty())
        return;
    KivDataSet* ds = m_dataSets.first();
    if (!ds->hasStyle(0, 3))
        return;
    QPointF g;
    pointToGraphPos(p, g, true);
    const unsigned long n = std::max<unsigned long>(ds->getItemCount(), ds->getMaxItemCount());
    if (m_measureIndex == -2)
        m_measureIndex = int(ds->getScopeOffset());
    setScopeOffset_imp(long(kivclamp::position(double(n) * (g.x() + 1.0) * 0.5)));
    forceScheduleUpdate();
}

void KivGraph::handleMouseUp(Qt::MouseButton button, const QPoint& p)
{
    if ((!isZooming() && !isPanning()) || !isGestureButton(button))
        return;
    PanZoomInfo& r = getPanZoomInfo(button);
    if (isZooming() && r.active) {
        // A double-click zoom keeps the rectangle that followed the pointer.
        if (!r.autoZoom) {
            r.endPoint = p;
            if (zoomSpansAllSamples())
                r.endPoint.setX(width());
            pointToGraphPos(r.endPoint, r.endPos, true);
        }
        if (r.validZoom()) {
            QPointF topLeft;
            QPointF bottomRight;
            rectangleCorners(r, topLeft, bottomRight);
            ScaleInfo info = currentScaleInfo();
            processZoomRectangle(topLeft, bottomRight,
                                 button == Qt::RightButton ? ZoomMode::ZoomOut : ZoomMode::ZoomIn, info);
            applyScaleLimits(info, m_axes);
        }
    }
    r.active = false;
    r.autoZoom = false;
    r.horizontalSlider = false;
    r.verticalSlider = false;
    forceScheduleUpdate();
}

// Arrives after the press of the same click, so startPos already holds the clicked position.
void KivGraph::handleMouseDoubleClick(Qt::MouseButton button, const QPoint& p)
{
    if (!isZooming() || !isGestureButton(button))
        return;
    PanZoomInfo& r = getPanZoomInfo(button);
    r.active = true;
    r.autoZoom = true;
    const velo::MatrixF<3, 2> extent = calculateMinMaxScales();
    if (isPointOnHorizontalScrollBarSlider(p, extent))
        r.horizontalSlider = true;
    if (isPointOnVerticalScrollBarSlider(p, extent))
        r.verticalSlider = true;
    r.zoomFactorX = 2.0;
    r.zoomFactorY = 2.0;
    updateZoomRectangle(r.startPos, r, 2.0, 2.0);
    forceScheduleUpdate();
}

// A rectangle of 1/zoom of the plot around centre, slid back inside the plot if it sticks out.
void KivGraph::calculateAutoZoomRect(const QPointF& centre, QPointF& topLeft, QPointF& bottomRight,
                                     double zoomX, double zoomY) const
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

void KivGraph::updateZoomRectangle(const QPointF& centre, KivGraph::PanZoomInfo& r, double zoomX, double zoomY)
{
    QPointF topLeft;
    QPointF bottomRight;
    calculateAutoZoomRect(centre, topLeft, bottomRight, zoomX, zoomY);
    const bool allSamples = zoomSpansAllSamples();
    r.startPos = topLeft;
    if (allSamples)
        r.startPos.setX(-1.0);
    graphPosToPoint(r.startPos, r.startPoint);
    r.endPos = bottomRight;
    if (allSamples)
        r.endPos.setX(1.0);
    graphPosToPoint(r.endPos, r.endPoint);
}

void KivGraph::processZoomRectangle(const QPointF& topLeft, const QPointF& bottomRight,
                                    KivGraph::ZoomMode::Type mode, KivGraph::ScaleInfo& info)
{
    const KivAxisInfo& xAxis = m_axes.at(0);
    const KivAxisInfo& yAxis = m_axes.at(1);
    const double x0 = xAxis.scaleMin;
    const double x1 = xAxis.scaleMax;
    const double y0 = yAxis.scaleMin;
    const double y1 = yAxis.scaleMax;
    const double rx = x1 - x0;
    const double ry = y1 - y0;
    const double left = (topLeft.x() * 0.5 + 0.5) * rx + x0;
    const double right = (bottomRight.x() * 0.5 + 0.5) * rx + x0;
    const double bottom = (bottomRight.y() * 0.5 + 0.5) * ry + y0;
    const double top = (topLeft.y() * 0.5 + 0.5) * ry + y0;

    switch (mode) {
    case ZoomMode::ZoomIn:
        info.xMin = left;
        info.xMax = right;
        info.yMin = bottom;
        info.yMax = top;
        break;
    case ZoomMode::ZoomOut: {
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

void KivGraph::applyScaleLimits(const KivGraph::ScaleInfo& info, QList<KivAxisInfo>& axes)
{
    axes[0].scaleMin = info.xMin;
    axes[0].scaleMax = info.xMax;
    axes[1].scaleMin = info.yMin;
    axes[1].scaleMax = info.yMax;
    applyScaleLimits(axes);
}

// Only snaps ends lying on the 3 % margin around the data onto it; the clamping proper is
// applyScaleLimits(axes), which the callers run next.
void KivGraph::applyPanLimits(const velo::MatrixF<3, 2>& fullExtent, QList<KivAxisInfo>& axes)
{
    const bool timeSeries = dimensions() == 1;
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
    if (m_showAllSamples && timeSeries) {
        axes[0].scaleMin = fullExtent(0, 0);
        axes[0].scaleMax = fullExtent(0, 1);
    }
}

KivGraph::ScaleInfo KivGraph::currentScaleInfo() const
{
    ScaleInfo info;
    info.xMin = m_axes.at(0).scaleMin;
    info.xMax = m_axes.at(0).scaleMax;
    info.yMin = m_axes.at(1).scaleMin;
    info.yMax = m_axes.at(1).scaleMax;
    return info;
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

// Outside the zoom mode the wheel belongs to the parent (a scroll area, say).
void KivGraph::wheelEvent(QWheelEvent* e)
{
    if (!isZooming()) {
        e->ignore();
        return;
    }
    const QPoint p = e->position().toPoint();
    const QPoint angle = e->angleDelta();
    const int delta = std::abs(angle.x()) > std::abs(angle.y()) ? angle.x() : angle.y();
    const bool up = delta > 0;
    const std::pair<bool, Qt::MouseButton> down = isMouseButtonDown();
    if (down.first) {
        PanZoomInfo& r = getPanZoomInfo(down.second);
        if (r.autoZoom) {
            const double step = up ? 0.2 : -0.2;
            r.zoomFactorX = std::max(r.zoomFactorX + step, 1.0);
            r.zoomFactorY = std::max(r.zoomFactorY + step, 1.0);
            QPointF centre;
            pointToGraphPos(p, centre, true);
            updateZoomRectangle(centre, r, r.zoomFactorX, r.zoomFactorY);
        } else {
            // The rubber band's anchor moves by 5 % of the widget per notch.
            const double step = up ? 0.05 : -0.05;
            r.startPoint.setY(kivclamp::pixel(height() * step + r.startPoint.y()));
            r.startPoint.setX(kivclamp::pixel(width() * step + r.startPoint.x()));
            if (zoomSpansAllSamples())
                r.startPoint.setX(0);
            pointToGraphPos(r.startPoint, r.startPos, true);
        }
    } else if (delta != 0) {
        // One notch zooms by two about the pointer; a spare record holds the rectangle.
        PanZoomInfo& r = getPanZoomInfo(up ? Qt::LeftButton : Qt::RightButton);
        QPointF centre;
        pointToGraphPos(p, centre, true);
        updateZoomRectangle(centre, r, 2.0, 2.0);
        QPointF topLeft;
        QPointF bottomRight;
        rectangleCorners(r, topLeft, bottomRight);
        ScaleInfo info = currentScaleInfo();
        processZoomRectangle(topLeft, bottomRight, up ? ZoomMode::ZoomIn : ZoomMode::ZoomOut, info);
        applyScaleLimits(info, m_axes);
    }
    forceScheduleUpdate();
    e->accept();
}

void KivGraph::leaveEvent(QEvent* e)
{
    if (m_measureIndex != -2) {
        setScopeOffset(m_measureIndex);
        forceScheduleUpdate();
    }
    QOpenGLWidget::leaveEvent(e);
}

QString KivGraph::pointerValueText(int axis, double value) const
{
    // On a time series x is the sample window: show the sample position (or its time).
    const KivDataSet* first = m_dataSets.isEmpty() ? nullptr : m_dataSets.first();
    if (axis == 0 && first && first->dimensions() == 1 && first->getMaxItemCount() > 0) {
        const double index = calculateItemXIndex(*first, value);
        if (m_axes.at(0).style & KivAxisStyleTimeLabels)
            return generateTimeString(*first, index);
        return kivclamp::sampleNumber(index);
    }
    // One hundredth of the visible span decides the places, as the grid labels are written.
    const KivAxisInfo& info = m_axes.at(axis);
    int decimals = 1;
    getScale((info.scaleMax - info.scaleMin) / 100.0, decimals);
    decimals = qBound(0, decimals, 12);
    if (std::max(std::fabs(info.scaleMin), std::fabs(info.scaleMax)) < 0.001)
        decimals = std::max(decimals, 4);
    char fmt[16];
    decimalsToFmt(info.scaleMin, info.scaleMax, decimals, fmt);
    return QString::asprintf(fmt, value);
}

// The data values of the rectangle's corners, above its top-left and below its bottom-right
// corner, moved as needed to stay inside the widget.
void KivGraph::drawZoomCornerLabels(QPainter* painter, const PanZoomInfo& r)
{
    QPointF topLeft;
    QPointF bottomRight;
    rectangleCorners(r, topLeft, bottomRight);
    const KivAxisInfo& x = m_axes.at(0);
    const KivAxisInfo& y = m_axes.at(1);
    velo::MatrixF<3, 2> view;
    view(0, 0) = x.scaleMin;
    view(0, 1) = x.scaleMax;
    view(1, 0) = y.scaleMin;
    view(1, 1) = y.scaleMax;
    view(2, 0) = m_axes.at(2).scaleMin;
    view(2, 1) = m_axes.at(2).scaleMax;

    const QFontMetrics fm = painter->fontMetrics();
    for (int corner = 0; corner < 2; ++corner) {
        const QPointF pos = corner == 0 ? topLeft : bottomRight;
        QPointF value;
        graphPosToScalePoint(pos, view, value);
        const QString text =
            QString("%1,%2").arg(pointerValueText(0, value.x()), pointerValueText(1, value.y()));
        QPoint at;
        graphPosToPoint(pos, at);
        const QSize size = fm.size(Qt::TextExpandTabs, text);
        int left = corner == 0 ? at.x() - size.width() : at.x();
        left = qBound(0, left, std::max(0, width() - size.width()));
        const int top = corner == 0 ? calcUpperLeftYBounds(painter, text, at) : calcLowerRightYBounds(painter, text, at);
        painter->drawText(QRect(QPoint(left, top), size), Qt::TextExpandTabs, text);
    }
}

// The sample position under the measure cursor and each series' value there, in a box beside
// the cursor line.
void KivGraph::drawMeasureText(QPainter* painter)
{
    const KivDataSet* first = m_dataSets.first();
    const long index = scopeOffset();
    if (index < 0)
        return;

    QString text = (m_axes.at(0).style & KivAxisStyleTimeLabels) ? generateTimeString(*first, double(index))
                                                                 : kivclamp::sampleNumber(double(index));
    for (const KivDataSet* ds : qAsConst(m_dataSets)) {
        if (!ds->isVisible() || ds->getDisplayItemCount() == 0)
            continue;
        QString value = ds->currentValueText();
        if (value.isEmpty() && ds->dimensions() == 1 && ds->getScopeOffset() >= 0
            && (unsigned long)ds->getScopeOffset() < ds->getDisplayItemCount()) {
            // Bar series prepare no text of their own.
            double v = 0.0;
            ds->getData((unsigned long)ds->getScopeOffset(), v);
            value = v == DBL_MAX ? QStringLiteral("-") : QString::asprintf("%.1f", v);
        }
        if (value.isEmpty())
            value = QStringLiteral("-");
        const QString line = ds->hasLabel() ? QString("%1: %2").arg(ds->getLabel(), value) : value;
        text += QString("\n%0").arg(line);
    }

    // The cursor's column: slot `index` of the series' window, through the visible x range.
    const unsigned long slotCount = first->getMaxItemCount() > 0 ? first->getMaxItemCount() : first->getDisplayItemCount();
    const double n = std::max(1.0, double(slotCount) - 1.0);
    const KivAxisInfo& x = m_axes.at(0);
    const double dataX = -1.0 + index * 2.0 / n;
    const double graphX = x.scaleMax > x.scaleMin ? 2.0 * (dataX - x.scaleMin) / (x.scaleMax - x.scaleMin) - 1.0 : 0.0;
    QPoint at;
    graphPosToPoint(QPointF(graphX, 1.0), at);

    const QSize size = painter->fontMetrics().size(Qt::TextExpandTabs, text);
    const int gap = 6;
    int left = at.x() + gap;
    if (left + size.width() > width())
        left = at.x() - gap - size.width();
    left = qBound(0, left, std::max(0, width() - size.width()));
    const QRect box(QPoint(left, gap), size);
    painter->fillRect(box.adjusted(-2, -1, 2, 1), QColor(255, 255, 255, 200));
    painter->setPen(QColor(0, 0, 0));
    painter->drawText(box, Qt::TextExpandTabs, text);
}

void KivGraph::drawPointerText(QPainter* painter)
{
    const std::pair<bool, Qt::MouseButton> down = isMouseButtonDown();
    if (down.first && isZooming())
        drawZoomCornerLabels(painter, getPanZoomInfo(down.second));
    if (m_showMeasure && m_measureAllowed && m_measureIndex != -2 && !m_dataSets.isEmpty()
        && m_dataSets.first()->hasStyle(0, 3))
        drawMeasureText(painter);
}
