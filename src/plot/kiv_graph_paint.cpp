#include "kiv_graph.h"
#include "kiv_graph_p.h"
#include "kiv_dataset.h"
#include "kiv_dottedlines_p.h"
#include "kiv_graphmapping_p.h"
#include "kiv_updaterelay.h"
#include "kivclamp_p.h"
#include "kivtextlimits_p.h"
#include "kivtimelabel_p.h"

#include <QFontMetrics>
#include <QPainter>

#include <cmath>

namespace {

// Upper bound of grid lines or labels per axis: a span that is tiny against its values
// would otherwise never advance v += step.
const int MaxGridLines = 1000;

struct AxisMap {
    double s;
    double o;
    double toGraph(double v) const { return s * (v + o); }
};

AxisMap axisMap(const KivAxisInfo& axis)
{
    return AxisMap { 2.0 / (axis.displayMax - axis.displayMin), -(axis.displayMax + axis.displayMin) * 0.5 };
}

bool usableStep(const KivAxisInfo& axis)
{
    return axis.gridStep > 0.0 && std::isfinite(axis.gridStep) && std::isfinite(axis.displayMin)
        && std::isfinite(axis.displayMax) && axis.displayMax > axis.displayMin;
}

// A line width of `w` pixels on `device`, so that lines keep their look at any pixel ratio.
GLfloat lineWidth(const QPaintDevice* device, double w)
{
    return GLfloat(w * device->devicePixelRatioF());
}

double clampUnit(double v)
{
    return v < -1.0 ? -1.0 : (v > 1.0 ? 1.0 : v);
}

// Rectangle in graph coordinates (-1..1 on both axes) between the corners (x0, y0) and (x1, y1).
struct GraphRect {
    double x0;
    double y0;
    double x1;
    double y1;
};

// Filled from (x0, y0) along y0 first, then back along y1.
void fillGraphRect(const GraphRect& r)
{
    glBegin(GL_POLYGON);
    glVertex2d(r.x0, r.y0);
    glVertex2d(r.x1, r.y0);
    glVertex2d(r.x1, r.y1);
    glVertex2d(r.x0, r.y1);
    glEnd();
}

// A scroll bar: the translucent track, the slider over it (darker while dragged) and
// the slider outline, inset by two pixels on its left and top edges.
void drawScrollBar(const GraphRect& track, const GraphRect& slider, bool sliderActive, int widthPx, int heightPx,
                   GLfloat outlineWidth)
{
    glEnable(GL_BLEND);
    glDisable(GL_DEPTH_TEST);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glColor4d(0.0, 0.0, 1.0, 0.2);
    fillGraphRect(track);

    if (sliderActive)
        glColor4d(0.0, 0.0, 0.8, 0.4);
    else
        glColor4d(0.0, 0.0, 1.0, 0.2);
    fillGraphRect(slider);

    glColor4d(0.0, 0.0, 0.4, 0.8);
    glLineWidth(outlineWidth);
    const double outlineLeft = slider.x0 + 2.0 / widthPx;
    const double outlineTop = slider.y1 - 2.0 / heightPx;
    glBegin(GL_LINE_LOOP);
    glVertex2d(outlineLeft, outlineTop);
    glVertex2d(slider.x1, outlineTop);
    glVertex2d(slider.x1, slider.y0);
    glVertex2d(outlineLeft, slider.y0);
    glEnd();
    glDisable(GL_BLEND);
    glEnable(GL_DEPTH_TEST);
}

} // namespace

const KivDataSet* KivGraphPrivate::timeSeriesWindow() const
{
    if (q->dimensions() != 1 || dataSets.first()->getMaxItemCount() == 0)
        return nullptr;
    return dataSets.first();
}

bool KivGraphPrivate::hasCategories() const
{
    const KivDataSet* window = timeSeriesWindow();
    return window && window->hasStyle(KivDataStyleBar, KivDataStyleShapeMask);
}

// Frame order: background and grid, then the series from the last to the first so that
// the first series ends on top, then overlays, then the text layer with QPainter.
void KivGraph::paintGL()
{
    // This frame takes every sample added so far; producers may ask for the next one.
    d->relay->rearm();
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    glClearColor(float(d->backgroundColor.red()), float(d->backgroundColor.green()),
                 float(d->backgroundColor.blue()), float(d->backgroundColor.alpha()));
    // The stencil shares its words with the depth: clearing both is one plain fill, where
    // the depth alone costs a masked write per pixel on software rasterisers.
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);

    if (isEmpty()) {
        if (!d->noDataText.isEmpty()) {
            QPainter painter;
            beginFramePainter(painter);
            painter.setPen(QColor(0, 0, 0));
            painter.drawText(QRect(0, 0, width(), height()), Qt::AlignCenter, kivtext::shown(d->noDataText));
        }
        return;
    }

    d->updateRequested = false;
    d->painting.fetchAndStoreOrdered(1);
    recalculateScales(d->axes);

    // Everything lies at z = 0. The depth test stays on, but a later primitive must win over
    // an earlier one at the same depth, whatever state the last frame's QPainter left behind.
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LEQUAL);
    glDisable(GL_BLEND);
    glDisable(GL_LINE_STIPPLE);
    glUseProgram(0);

    drawBackground(nullptr);
    // Hand each layer to the driver as soon as it is built: a software rasteriser clears and
    // draws it on its own threads while this one reduces the series and lays out the text.
    glFlush();

    velo::MatrixF<3, 2> box;
    for (int a = 0; a < 3; ++a) {
        box(a, 0) = d->axes.at(a).scaleMin;
        box(a, 1) = d->axes.at(a).scaleMax;
        // A zero span (minimum scale 0) would scale every sample to infinity; draw the
        // samples in the middle instead.
        if (!(box(a, 1) > box(a, 0))) {
            const double pad = std::fmax(std::fabs(box(a, 0)) * 1e-9, 1e-9);
            box(a, 0) -= pad;
            box(a, 1) += pad;
        }
    }
    bool outOfRange = false;
    for (int i = d->dataSets.size() - 1; i >= 0; --i) {
        KivDataSet* ds = d->dataSets.at(i);
        if (ds->getItemCount() == 0)
            continue;
        ds->setPixelRatio(devicePixelRatioF());
        ds->display(box);
        if (!d->validRangeText.isEmpty()) {
            const velo::Matrix& extent = ds->getLastMinMax();
            if (d->validMin > extent(1, 0) || extent(1, 1) > d->validMax)
                outOfRange = true;
        }
    }

    glFlush();
    drawAfterGraphs(nullptr);
    glPopMatrix();

    QList<KivAxisInfo> settled = d->axes;
    recalculateScales(settled);
    if (settled != d->axes)
        forceScheduleUpdate();

    QPainter painter;
    beginFramePainter(painter);
    drawForeground(&painter);
    if (outOfRange) {
        painter.setPen(palette().brush(QPalette::WindowText).color());
        const QString warning = kivtext::shown(d->validRangeText);
        const QRect bounds = QFontMetrics(font()).boundingRect(warning);
        painter.drawText(QRect(0, 0, width(), bounds.bottom() - bounds.top() + 1), Qt::AlignCenter, warning);
    }
    painter.end();

    d->painting.fetchAndStoreOrdered(0);
}

void KivGraph::drawBackground(QPainter*)
{
    glLineWidth(lineWidth(this, 1.0));
    KivAxisInfo& ax = d->axes[0];
    KivAxisInfo& ay = d->axes[1];
    const AxisMap mx = axisMap(ax);
    const AxisMap my = axisMap(ay);
    if (d->heightBasedGrid) {
        int decimals = 0;
        ay.gridStep = getScale((ay.displayMax - ay.displayMin) / (height() / 56.0), decimals);
        ax.gridStep = getScale((ax.displayMax - ax.displayMin) / (width() / 120.0), decimals);
    }

    const KivDataSet* first = d->dataSets.isEmpty() ? nullptr : d->dataSets.first();
    const bool timeSeries = dimensions() == 1 && first->getMaxItemCount() != 0;
    const bool categories = timeSeries && first->hasStyle(KivDataStyleBar, KivDataStyleShapeMask);

    if (!d->validRangeText.isEmpty()) {
        const double a = my.toGraph(d->validMax);
        const double b = my.toGraph(d->validMin);
        // Clamped so that far-away limits stay within float range; the picture is the same.
        const double qa = clampUnit(a);
        const double qb = clampUnit(b);
        glColor3d(1.0, 1.0, 0.7);
        glBegin(GL_QUADS);
        glVertex2d(-1.0, qa);
        glVertex2d(0.9999, qa);
        glVertex2d(0.9999, 1.0);
        glVertex2d(-1.0, 1.0);
        glVertex2d(-1.0, qb);
        glVertex2d(0.9999, qb);
        glVertex2d(0.9999, -1.0);
        glVertex2d(-1.0, -1.0);
        glEnd();
        glColor3d(0.75, 0.5, 0.0);
        glBegin(GL_LINES);
        if (a == qa) {
            glVertex2d(-1.0, a);
            glVertex2d(0.9999, a);
        }
        if (b == qb) {
            glVertex2d(-1.0, b);
            glVertex2d(0.9999, b);
        }
        glEnd();
    }

    glColor3d(0.5, 0.5, 0.5);
    {
        const KivDottedLines grid(int(std::lround(devicePixelRatioF())), 0x9249);
        if (usableStep(ax) && !categories) {
            double v = std::ceil(ax.displayMin / ax.gridStep) * ax.gridStep;
            for (int n = 0; ax.displayMax > v && n < MaxGridLines; ++n) {
                grid.vertical(mx.toGraph(v));
                v += ax.gridStep;
            }
        }
        if (usableStep(ay)) {
            double v = std::ceil(ay.displayMin / ay.gridStep) * ay.gridStep;
            for (int n = 0; ay.displayMax > v && n < MaxGridLines; ++n) {
                grid.horizontal(my.toGraph(v));
                v += ay.gridStep;
            }
        }
    }

    glColor3d(0.0, 0.0, 0.0);
    glLineWidth(lineWidth(this, 1.5));
    glBegin(GL_LINES);
    if ((ax.style & KivAxisStyleZeroLine) && ay.displayMin < 0.0 && 0.0 < ay.displayMax) {
        const double y = my.s * my.o;
        glVertex2d(-1.0, y);
        glVertex2d(1.0, y);
    }
    if ((ay.style & KivAxisStyleZeroLine) && ax.displayMin < 0.0 && 0.0 < ax.displayMax) {
        const double x = timeSeries ? mx.s * (mx.o - 1.0) : mx.s * mx.o;
        glVertex2d(x, -1.0);
        glVertex2d(x, 1.0);
    }
    glEnd();
    glLineWidth(lineWidth(this, 1.0));
}

void KivGraph::drawAfterGraphs(QPainter*)
{
    const velo::MatrixF<3, 2> box = calculateMinMaxScales();
    const KivGraphGestures::Overlay overlay = d->gestures.overlay();
    if (overlay.kind == KivGraphGestures::Overlay::ZoomRectangle)
        drawSelectionRectangle(overlay.startPos, overlay.endPos);
    else if (overlay.kind == KivGraphGestures::Overlay::PanArrow)
        drawPanArrow(overlay.endPos, overlay.startPos);
    drawHorizontalScrollBar(box);
    drawVerticalScrollBar(box);
}

void KivGraph::drawGraph(QPainter*)
{
}

void KivGraph::drawSelectionRectangle(const QPointF& a, const QPointF& b)
{
    glEnable(GL_BLEND);
    glDisable(GL_DEPTH_TEST);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);

    glColor4d(0.0, 0.0, 1.0, 0.2);
    fillGraphRect(GraphRect { a.x(), a.y(), b.x(), b.y() });

    glColor4d(0.0, 0.0, 0.4, 0.8);
    glLineWidth(lineWidth(this, 1.5));
    glBegin(GL_LINE_LOOP);
    glVertex2d(a.x(), a.y());
    glVertex2d(b.x(), a.y());
    glVertex2d(b.x(), b.y());
    glVertex2d(a.x(), b.y());
    glEnd();
    // Guides from the axes to the corners.
    glBegin(GL_LINES);
    glVertex2d(-1.0, a.y());
    glVertex2d(a.x(), a.y());
    glVertex2d(-1.0, b.y());
    glVertex2d(a.x(), b.y());
    glVertex2d(a.x(), -1.0);
    glVertex2d(a.x(), a.y());
    glVertex2d(b.x(), -1.0);
    glVertex2d(b.x(), b.y());
    glEnd();

    // The rectangle's extent on the two scroll-bar bands.
    const KivGraphMapping map(size());
    const double band = map.verticalBandRight();
    const double bandY = map.horizontalBandTop();
    glColor4d(0.0, 0.0, 1.0, 0.2);
    fillGraphRect(GraphRect { -1.0, a.y(), band, b.y() });
    fillGraphRect(GraphRect { a.x(), -1.0, b.x(), bandY });

    glLineWidth(lineWidth(this, 1.0));
    glDisable(GL_BLEND);
    glEnable(GL_DEPTH_TEST);
}

void KivGraph::generateArrow(int direction, std::vector<QPointF>& shape) const
{
    // A head 12 pixels long and 10 wide with its tip at the origin, pointing right.
    shape = { QPointF(0.0, 0.0), QPointF(-12.0, 5.0), QPointF(-12.0, -5.0) };
    for (QPointF& p : shape) {
        switch (direction & 3) {
        case 1: p = QPointF(-p.y(), p.x()); break;   // up
        case 2: p = QPointF(-p.x(), -p.y()); break;  // left
        case 3: p = QPointF(p.y(), -p.x()); break;   // down
        default: break;
        }
    }
}

void KivGraph::drawArrow(const QPointF& at, const std::vector<QPointF>& shape)
{
    // shape is in pixels (y up); convert to graph units around at.
    const double px = 2.0 / width();
    const double py = 2.0 / height();
    glBegin(GL_POLYGON);
    for (const QPointF& p : shape)
        glVertex2d(at.x() + p.x() * px, at.y() + p.y() * py);
    glEnd();
}

void KivGraph::drawPanArrow(const QPointF& from, const QPointF& to)
{
    const double dx = (to.x() - from.x()) * width() * 0.5;
    const double dy = (to.y() - from.y()) * height() * 0.5;
    if (dx == 0.0 && dy == 0.0)
        return;
    glEnable(GL_BLEND);
    glDisable(GL_DEPTH_TEST);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glColor4d(0.0, 0.0, 0.4, 0.8);
    glLineWidth(lineWidth(this, 1.5));
    glBegin(GL_LINES);
    glVertex2d(from.x(), from.y());
    glVertex2d(to.x(), to.y());
    glEnd();
    int direction = 0;
    if (std::fabs(dx) >= std::fabs(dy))
        direction = dx >= 0.0 ? 0 : 2;
    else
        direction = dy >= 0.0 ? 1 : 3;
    std::vector<QPointF> shape;
    generateArrow(direction, shape);
    drawArrow(to, shape);
    glLineWidth(lineWidth(this, 1.0));
    glDisable(GL_BLEND);
    glEnable(GL_DEPTH_TEST);
}

bool KivGraph::isHorizontalScrollbarVisible(const velo::MatrixF<3, 2>& box) const
{
    const KivAxisInfo& x = d->axes.at(0);
    return x.scaleMin > box(0, 0) || box(0, 1) > x.scaleMax;
}

bool KivGraph::isVerticalScrollbarVisible(const velo::MatrixF<3, 2>& box) const
{
    if (d->autoScaleMethod != KivNoAutoScale)
        return false;
    const KivAxisInfo& y = d->axes.at(1);
    return y.scaleMin > box(1, 0) || box(1, 1) > y.scaleMax;
}

void KivGraph::drawHorizontalScrollBar(const velo::MatrixF<3, 2>& box)
{
    if (!isHorizontalScrollbarVisible(box))
        return;
    const QPointF lo = KivGraphMapping::scalePointToGraphPos(QPointF(d->axes.at(0).scaleMin, d->axes.at(1).scaleMin), box);
    const QPointF hi = KivGraphMapping::scalePointToGraphPos(QPointF(d->axes.at(0).scaleMax, d->axes.at(1).scaleMax), box);
    // The view may reach past the data; the slider still stays on its track.
    const double left = clampUnit(std::isnan(lo.x()) ? -1.0 : lo.x());
    const double right = clampUnit(std::isnan(hi.x()) ? 1.0 : hi.x());
    const double top = KivGraphMapping(size()).horizontalBandTop();
    drawScrollBar(GraphRect { -1.0, -1.0, 1.0, top }, GraphRect { left, -1.0, right, top },
                  d->gestures.overlay().horizontalSliderDragged, width(), height(), lineWidth(this, 1.0));
}

void KivGraph::drawVerticalScrollBar(const velo::MatrixF<3, 2>& box)
{
    if (!isVerticalScrollbarVisible(box))
        return;
    const QPointF lo = KivGraphMapping::scalePointToGraphPos(QPointF(d->axes.at(0).scaleMin, d->axes.at(1).scaleMin), box);
    const QPointF hi = KivGraphMapping::scalePointToGraphPos(QPointF(d->axes.at(0).scaleMax, d->axes.at(1).scaleMax), box);
    const double bottom = clampUnit(std::isnan(lo.y()) ? -1.0 : lo.y());
    const double top = clampUnit(std::isnan(hi.y()) ? 1.0 : hi.y());
    const double right = KivGraphMapping(size()).verticalBandRight();
    drawScrollBar(GraphRect { -1.0, -1.0, right, 1.0 }, GraphRect { -1.0, bottom, right, top },
                  d->gestures.overlay().verticalSliderDragged, width(), height(), lineWidth(this, 1.0));
}

int KivGraph::calcUpperLeftYBounds(QPainter* painter, const QString& text, const QPoint& at) const
{
    const QRect r = painter->fontMetrics().boundingRect(QRect(), Qt::TextExpandTabs, text);
    const int top = at.y() - r.height();
    return top < 0 ? 0 : top;
}

int KivGraph::calcLowerRightYBounds(QPainter* painter, const QString& text, const QPoint& at) const
{
    const QRect r = painter->fontMetrics().boundingRect(QRect(), Qt::TextExpandTabs, text);
    const int top = at.y();
    return top + r.height() > height() ? height() - r.height() : top;
}

QString KivGraph::generateTimeString(const KivDataSet& ds, double x) const
{
    return kivtime::sampleTimeText(ds, x);
}

void KivGraph::drawForeground(QPainter* painter)
{
    const velo::MatrixF<3, 2> box = calculateMinMaxScales();
    painter->setPen(QColor(0, 0, 0));
    d->drawForegroundLabels(painter, box);
    d->drawCategoryLabels(painter);
    if (!d->graphText.isEmpty()) {
        const QString text = kivtext::shown(d->graphText);
        const QSize size = painter->fontMetrics().size(Qt::TextExpandTabs, text);
        painter->drawText(QRect(QPoint(20, 0), size), Qt::TextExpandTabs, text);
    }
    const KivGraphGestures::Overlay overlay = d->gestures.overlay();
    if (overlay.kind == KivGraphGestures::Overlay::ZoomRectangle)
        d->drawZoomCornerLabels(painter, overlay.startPos, overlay.endPos);
    if (overlay.measureReadout)
        d->drawMeasureText(painter);
}

void KivGraphPrivate::drawForegroundLabels(QPainter* painter, const velo::MatrixF<3, 2>& box)
{
    const KivAxisInfo& ax = axes.at(0);
    const KivAxisInfo& ay = axes.at(1);
    const AxisMap mx = axisMap(ax);
    const AxisMap my = axisMap(ay);
    const int w = q->width();
    const int h = q->height();
    const KivDataSet* window = timeSeriesWindow();
    char fmt[16];

    if (!hasCategories() && usableStep(ax) && !(ax.style & KivAxisStyleNoLabels)) {
        int decimals = 1;
        const double step = getScale((ax.displayMax - ax.displayMin) / (w / 120.0), decimals);
        decimalsToFmt(ax.displayMin, ax.displayMax, decimals, fmt);
        const int bottom = q->isHorizontalScrollbarVisible(box) ? h - int(KivGraphMapping::ScrollBarPixels) : h;
        double last = 0.0;   // graph x of the last written label
        int lastRight = -1;  // its right edge in pixels, -1 before the first
        double v = std::ceil(ax.displayMin / step) * step;
        for (int n = 0; v < ax.displayMax && n < MaxGridLines; ++n, v += step) {
            const double gx = mx.toGraph(v);
            // Labels at least 40 pixels apart; the first one is always written.
            if (lastRight >= 0 && gx - last < 80.0 / w)
                continue;
            QString text;
            if (window) {
                const double position = q->calculateItemXIndex(*window, v);
                if (ax.style & KivAxisStyleTimeLabels)
                    text = kivtime::sampleTimeText(*window, position);
                else
                    text = kivclamp::sampleNumber(position);
            } else {
                text = kivclamp::axisNumber(fmt, v, step);
            }
            const QRect r = axisLabels.boundingRect(painter, text);
            const int column = kivclamp::pixel(w * (gx + 1.0) * 0.5);
            // Beside the grid line, kept inside the widget; long time labels that would run
            // into the previous one are left out.
            const int left = qBound(0, column + 2, qMax(0, w - r.width() - 1));
            if (lastRight >= 0 && left < lastRight + 6)
                continue;
            last = gx;
            lastRight = left + r.width();
            axisLabels.draw(painter, QRect(left, bottom - r.height(), r.width() + 1, r.height()), text);
        }
    }

    if (usableStep(ay) && !(ay.style & KivAxisStyleNoLabels)) {
        int decimals = 1;
        const double step = getScale((ay.displayMax - ay.displayMin) / (h / 56.0), decimals);
        decimalsToFmt(ay.displayMin, ay.displayMax, decimals, fmt);
        // Clear of the vertical scroll bar where it is shown.
        const int left = q->isVerticalScrollbarVisible(box) ? int(KivGraphMapping::ScrollBarPixels) + 2 : 2;
        double last = -1.0;
        double v = std::ceil(ay.displayMin / step) * step;
        for (int n = 0; v < ay.displayMax && n < MaxGridLines; ++n, v += step) {
            const double gy = my.toGraph(v);
            if (!(gy - last > 30.0 / h))
                continue;
            last = gy;
            const QString text = kivclamp::axisNumber(fmt, v, step);
            const QRect r = axisLabels.boundingRect(painter, text);
            const int row = kivclamp::pixel(h - (gy + 1.0) * h * 0.5);
            // Just above its grid line, kept inside the widget.
            const int top = qBound(0, row - r.height(), qMax(0, h - r.height()));
            axisLabels.draw(painter, QRect(left, top, r.width() + 1, r.height()), text);
        }
    }
}

void KivGraphPrivate::drawCategoryLabels(QPainter* painter)
{
    if (!hasCategories() || (axes.at(0).style & KivAxisStyleNoLabels))
        return;
    const KivDataSet* first = dataSets.first();
    const qint64 count = qint64(first->getItemCount());
    const QList<QString>& labels = first->getLabelList();
    const QFontMetrics fm(q->font());
    const qint64 w = q->width();
    // Cells without a label would only draw an empty text.
    const qint64 labelled = qMin(count, qint64(labels.size()));
    for (qint64 k = 0; k < labelled; ++k) {
        const QString text = kivtext::shown(labels.at(int(k)));
        if (text.isEmpty())
            continue;
        const int cellLeft = int(k * w / count);
        const int cellRight = int((k + 1) * w / count);
        const QSize size = fm.size(Qt::TextExpandTabs, text);
        const int left = cellLeft + int((cellRight - cellLeft - size.width()) * 0.9 * 0.5);
        painter->drawText(QRect(QPoint(left, q->height() - size.height()), size), Qt::TextExpandTabs, text);
    }
}
