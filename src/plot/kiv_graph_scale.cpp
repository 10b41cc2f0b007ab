// KivGraph's axes: setters, the per-frame scaling pass, limits and equal axes.

#include "kiv_graph.h"
#include "kiv_graph_p.h"
#include "kiv_dataset.h"

#include <cmath>

namespace {

const int AxisCount = KivGraphPrivate::AxisCount;

// Extents of one series in the scale-box shape.
velo::MatrixF<3, 2> extentOf(const KivDataSet* ds)
{
    velo::MatrixF<3, 2> box;
    box = ds->getLastMinMax();
    return box;
}

// Recentres [min, max] on its middle with the new span.
void recentre(KivAxisInfo& axis, double span)
{
    const double c = (axis.scaleMin + axis.scaleMax) * 0.5;
    axis.scaleMin = c - span * 0.5;
    axis.scaleMax = c + span * 0.5;
}

// Calls f(i) for the axis \a axis names, or for every axis from the last one down when
// it names none.
template <typename F>
void forSelectedAxes(char axis, F f)
{
    const int only = axisIndex(axis);
    for (int i = AxisCount - 1; i >= 0; --i) {
        if (only < 0 || only == i)
            f(i);
    }
}

} // namespace

void KivGraph::setAxisLabel(char axis, const char* text)
{
    const int i = axisIndex(axis);
    if (i < 0)
        return;
    d->axes[i].setLabel(text);
    scheduleUpdate();
}

void KivGraph::setAxisStyle(char axis, unsigned long style)
{
    forSelectedAxes(axis, [&](int i) { d->axes[i].style = style; });
    scheduleUpdate();
}

void KivGraph::setAxisUnits(char axis, unsigned long units)
{
    forSelectedAxes(axis, [&](int i) { d->axes[i].units = units; });
    scheduleUpdate();
}

void KivGraph::setAxisMinScale(char axis, double span)
{
    forSelectedAxes(axis, [&](int i) {
        d->axes[i].minScale = span;
        d->lastAxisSet = getAxisIdentifier(i);
    });
    scheduleUpdate();
}

void KivGraph::setAxisLimits(char axis, double a, double b)
{
    forSelectedAxes(axis, [&](int i) {
        d->axes[i].limitMin = b > a ? a : b;
        d->axes[i].limitMax = b > a ? b : a;
    });
    scheduleUpdate();
}

void KivGraph::setAxisScale(char axis, double a, double b)
{
    forSelectedAxes(axis, [&](int i) {
        d->lastAxisSet = getAxisIdentifier(i);
        d->axes[i].scaleMin = b > a ? a : b;
        d->axes[i].scaleMax = b > a ? b : a;
    });
    scheduleUpdate();
}

void KivGraph::setLinkedAxisScale(char axis, double min, double max)
{
    if (axis == 'x' && (d->axisLink & 1))
        setAxisScale('x', min, max);
}

void KivGraph::getAxisScale(char axis, double& min, double& max) const
{
    const int i = (axis == 'y' || axis == 'Y') ? 1 : (axis == 'z' || axis == 'Z') ? 2 : 0;
    min = d->axes.at(i).scaleMin;
    max = d->axes.at(i).scaleMax;
}

const KivAxisInfo& KivGraph::axisInfo(int i) const
{
    return d->axes.at(qBound(0, i, AxisCount - 1));
}

char KivGraph::lastAxisSet() const
{
    return d->lastAxisSet;
}

void KivGraph::recalculateScales(QList<KivAxisInfo>& axes)
{
    // On a time series the x axis is the sample window, not a data axis.
    const int firstAxis =
        (dimensions() == 1 && d->dataSets.first()->getMaxItemCount() != 0) ? 1 : 0;

    if (d->autoScaleMethod == KivExpandToFit && !d->dataSets.isEmpty()) {
        for (const KivDataSet* ds : qAsConst(d->dataSets)) {
            const velo::MatrixF<3, 2> box = extentOf(ds);
            for (int a = firstAxis; a < AxisCount; ++a) {
                KivAxisInfo& axis = axes[a];
                if (axis.scaleMin > box(a, 0))
                    axis.scaleMin = box(a, 0) - 0.03 * (axis.scaleMax - box(a, 0));
                if (box(a, 1) > axis.scaleMax)
                    axis.scaleMax = box(a, 1) + 0.03 * (box(a, 1) - axis.scaleMin);
            }
        }
        applyScaleLimits(axes);
    } else if (d->autoScaleMethod == KivFullFit && !d->dataSets.isEmpty()) {
        const velo::MatrixF<3, 2> box = calculateMinMaxScales();
        for (int a = firstAxis; a < AxisCount; ++a) {
            // A series of nothing but gaps has an inverted extent; it says nothing about the scale.
            if (!(box(a, 1) >= box(a, 0)) || !std::isfinite(box(a, 1) - box(a, 0)))
                continue;
            const double span = box(a, 1) - box(a, 0);
            axes[a].scaleMin = box(a, 0) - 0.03 * span;
            axes[a].scaleMax = box(a, 1) + 0.03 * span;
        }
        applyScaleLimits(axes);
    }
    updateGridScale(axes);
}

void KivGraph::applyScaleBounds(KivAxisInfo& axis) const
{
    if (axis.style & KivAxisStyleLocked) {
        axis.scaleMin = axis.limitMin;
        axis.scaleMax = axis.limitMax;
        return;
    }
    // A NaN or infinite end cannot be limited; fall back to the whole allowed range.
    if (!std::isfinite(axis.scaleMin) || !std::isfinite(axis.scaleMax)) {
        axis.scaleMin = axis.limitMin;
        axis.scaleMax = axis.limitMax;
    }

    const double lower = axis.limitMin;
    if (lower > axis.scaleMax) {
        const double shift = lower - axis.scaleMin;
        axis.scaleMin += shift;
        axis.scaleMax += shift;
    } else if (lower > axis.scaleMin) {
        axis.scaleMin = lower;
    }

    const double upper = axis.limitMax;
    if (axis.scaleMin > upper) {
        const double shift = upper - axis.scaleMax;
        axis.scaleMin += shift;
        axis.scaleMax += shift;
    } else if (axis.scaleMax > upper) {
        axis.scaleMax = upper;
    }

    if (axis.minScale > axis.scaleMax - axis.scaleMin) {
        const double c = (axis.scaleMin + axis.scaleMax) * 0.5;
        axis.scaleMin = c - axis.minScale * 0.5;
        axis.scaleMax = c + axis.minScale * 0.5;
    }
}

void KivGraph::applyScaleLimits(QList<KivAxisInfo>& axes)
{
    for (int i = 0; i < AxisCount; ++i)
        applyScaleBounds(axes[i]);

    KivAxisInfo& x = axes[0];
    KivAxisInfo& y = axes[1];
    if (dimensions() == 1) {
        if (x.scaleMin < -1.0) {
            x.scaleMin = -1.0;
            d->lastAxisSet = 'x';
        }
        if (x.scaleMax > 1.0) {
            x.scaleMax = 1.0;
            d->lastAxisSet = 'x';
        }
        return;
    }
    if (!d->equalAxes || width() <= 0 || height() <= 0)
        return;

    const double ratio = double(height()) / width();
    const double xSpan = x.scaleMax - x.scaleMin;
    const double ySpan = y.scaleMax - y.scaleMin;
    if (d->autoScaleMethod != KivNoAutoScale) {
        // Widen the smaller range, never shrink the other one.
        const double neededY = xSpan * ratio;
        if (std::isnan(ySpan) || std::isnan(neededY))
            return;
        if (!(ySpan > neededY))
            recentre(y, neededY);
        else
            recentre(x, ySpan / ratio);
    } else if (d->lastAxisSet != 'y') {
        recentre(y, ratio * xSpan);
    } else {
        recentre(x, ySpan * (double(width()) / height()));
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

void KivGraph::updateGridScale(QList<KivAxisInfo>& axes)
{
    for (KivAxisInfo& axis : axes)
        axis.updateDisplayRange(d->imperial);
}

velo::MatrixF<3, 2> KivGraph::calculateMinMaxScales() const
{
    velo::MatrixF<3, 2> box;
    bool first = true;
    for (const KivDataSet* ds : d->dataSets) {
        if (!ds->isVisible() || ds->getItemCount() == 0)
            continue;
        const velo::MatrixF<3, 2> extent = extentOf(ds);
        if (first) {
            box = extent;
            first = false;
            continue;
        }
        for (int a = 0; a < AxisCount; ++a) {
            box(a, 0) = std::fmin(box(a, 0), extent(a, 0));
            box(a, 1) = std::fmax(box(a, 1), extent(a, 1));
        }
    }
    return box;
}

double KivGraph::calculateItemXIndex(const KivDataSet& ds, double x) const
{
    return (x * 0.5 + 0.5) * double(ds.getMaxItemCount());
}
