#include "kiv_graph.h"
#include "kiv_dataset.h"
#include "kiv_updaterelay.h"

#include <QOpenGLPaintDevice>
#include <QThread>

#include <cmath>

namespace {

const int AxisCount = 3;

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

KivGraph::KivGraph(QWidget* parent)
    : QOpenGLWidget(parent, Qt::WindowFlags())
    , m_backgroundColor(QColor::fromRgbF(1.0, 1.0, 1.0, 1.0))
    , m_painting(0)
    , m_noDataText(tr("No Data Available"))
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    // A frame without alpha: translucent overlays cannot make grab() or render() see-through,
    // and no extra pass per frame has to set the alpha back to one.
    setTextureFormat(GL_RGB8);
    setAutoFillBackground(false);

    m_throttle.target = this;
    m_throttle.call = &KivGraph::forceScheduleUpdate;
    m_throttle.timer.start();
    m_relay = new KivUpdateRelay(this);
    connect(m_relay, &KivUpdateRelay::updateRequested, this, &KivGraph::scheduleUpdate);
    connect(m_relay, &KivUpdateRelay::trailingUpdate, this, &KivGraph::forceScheduleUpdate);
    for (int i = 0; i < AxisCount; ++i)
        m_axes.append(KivAxisInfo());

    setAttribute(Qt::WA_MouseTracking);
}

KivGraph::~KivGraph()
{
    m_inUpdate = true;
    for (KivDataSet* ds : qAsConst(m_dataSets))
        delete ds;
    m_dataSets.clear();
}

// ---------------------------------------------------------------------------------------------
// Data sets

KivDataSet* KivGraph::addDataSet(unsigned long style, const QColor& color, unsigned long maxItemCount)
{
    auto* ds = new KivDataSet(width(), height());
    ds->setStyle(style);
    ds->setMaxItemCount(maxItemCount);
    ds->setColor(color.redF(), color.greenF(), color.blueF());
    m_dataSets.append(ds);
    // Its needUpdate() requests reach scheduleUpdate() through the relay, which keeps at
    // most one queued call pending however fast producers add samples.
    KivUpdateRelay::attach(ds, m_relay);
    // Every series, the new one included, takes the graph's frozen state.
    freeze(m_frozen);
    scheduleUpdate();
    return ds;
}

void KivGraph::removeDataSet(KivDataSet* ds)
{
    if (ds) {
        const int i = m_dataSets.indexOf(ds);
        if (i >= 0) {
            m_dataSets.removeAt(i);
            delete ds;
        }
    } else {
        const QList<KivDataSet*> all = m_dataSets;
        m_dataSets.clear();
        qDeleteAll(all);
    }
    scheduleUpdate();
}

KivDataSet* KivGraph::dataSet(int i) const
{
    if (i < 0 || i >= m_dataSets.size())
        return nullptr;
    return m_dataSets.at(i);
}

int KivGraph::dataSetCount() const
{
    return m_dataSets.size();
}

bool KivGraph::hasDataSet(KivDataSet* ds) const
{
    return m_dataSets.contains(ds);
}

bool KivGraph::isEmpty() const
{
    for (const KivDataSet* ds : m_dataSets) {
        if (ds->getItemCount() > 0)
            return false;
    }
    return true;
}

bool KivGraph::hasLegend() const
{
    for (const KivDataSet* ds : m_dataSets) {
        if (!ds->getLabel().isEmpty())
            return true;
    }
    return false;
}

int KivGraph::dimensions() const
{
    return m_dataSets.isEmpty() ? 0 : m_dataSets.first()->dimensions();
}

void KivGraph::clear(bool clearTime)
{
    for (KivDataSet* ds : qAsConst(m_dataSets))
        ds->clear(clearTime);
    forceScheduleUpdate();
}

void KivGraph::setAddPosition(bool back)
{
    for (KivDataSet* ds : qAsConst(m_dataSets))
        ds->setAddPosition(back);
}

void KivGraph::freeze(bool enabled)
{
    m_frozen = enabled;
    for (KivDataSet* ds : qAsConst(m_dataSets))
        ds->freeze(enabled);
}

bool KivGraph::isFrozen() const
{
    return m_frozen;
}

void KivGraph::setTime(double interval, double time)
{
    if (!m_dataSets.isEmpty())
        m_dataSets.first()->setTime(interval, time);
}

void KivGraph::getTime(double& interval, double& time) const
{
    if (!m_dataSets.isEmpty())
        m_dataSets.first()->getTime(interval, time);
}

long KivGraph::setScopeOffset(long offset)
{
    m_measureIndex = -2;
    const long previous = setScopeOffset_imp(offset);
    scheduleUpdate();
    return previous;
}

long KivGraph::setScopeOffset_imp(long offset)
{
    long previous = -1;
    for (KivDataSet* ds : qAsConst(m_dataSets)) {
        if (previous == -1)
            previous = ds->getScopeOffset();
        ds->setScopeOffset(offset);
    }
    return previous;
}

long KivGraph::scopeOffset() const
{
    for (const KivDataSet* ds : m_dataSets) {
        const long offset = ds->getScopeOffset();
        if (offset != -1)
            return offset;
    }
    return -1;
}

// ---------------------------------------------------------------------------------------------
// Display state

void KivGraph::setBackgroundColor(double r, double g, double b)
{
    m_backgroundColor = QColor::fromRgbF(qBound(0.0, r, 1.0), qBound(0.0, g, 1.0), qBound(0.0, b, 1.0), 1.0);
    scheduleUpdate();
}

void KivGraph::setBackgroundColor(unsigned long rgb)
{
    const QRgb c = QRgb(rgb);
    setBackgroundColor(qRed(c) / 255.0, qGreen(c) / 255.0, qBlue(c) / 255.0);
}

QColor KivGraph::backgroundColor() const
{
    return m_backgroundColor;
}

void KivGraph::setNoDataText(const QString& text)
{
    m_noDataText = text;
    scheduleUpdate();
}

QString KivGraph::noDataText() const
{
    return m_noDataText;
}

void KivGraph::setGraphText(const QString& text)
{
    m_graphText = text;
    scheduleUpdate();
}

QString KivGraph::graphText() const
{
    return m_graphText;
}

void KivGraph::setValidRange(double min, double max, const QString& text)
{
    m_validMin = min;
    m_validMax = max;
    m_validRangeText = text;
    scheduleUpdate();
}

void KivGraph::showMeasure(bool enabled)
{
    m_showMeasure = enabled;
    scheduleUpdate();
}

bool KivGraph::isMeasureShown() const
{
    return m_showMeasure;
}

void KivGraph::setDisplayUnits(bool imperial)
{
    m_imperial = imperial;
}

bool KivGraph::isImperialDisplay() const
{
    return m_imperial;
}

void KivGraph::setAxisLink(int link)
{
    m_axisLink = link & 1;
}

int KivGraph::axisLink() const
{
    return m_axisLink;
}

void KivGraph::setControlState(KivGraph::ControlState state)
{
    m_controlState = state;
    emit controlStateChanged(state);
}

KivGraph::ControlState KivGraph::getControlState() const
{
    return m_controlState;
}

void KivGraph::setTimeMode(int tm)
{
    Q_UNUSED(tm)
}

void KivGraph::setAutoScaleMethod(KivAutoScaleMethod autoScaleMethod)
{
    m_autoScaleMethod = autoScaleMethod;
    // Auto scaling and a pointer mode that moves the window do not mix on a full time series.
    if (autoScaleMethod != KivNoAutoScale && m_showAllSamples && dimensions() == 1)
        setControlState(ControlNone);
    scheduleUpdate();
}

KivAutoScaleMethod KivGraph::getAutoScaleMethod() const
{
    return m_autoScaleMethod;
}

void KivGraph::setEqualAxes(bool checked)
{
    m_equalAxes = checked;
    if (checked) {
        applyScaleLimits(m_axes);
        scheduleUpdate();
    }
}

bool KivGraph::isEqualAxesEnabled() const
{
    return m_equalAxes;
}

void KivGraph::showAllSamples(bool enabled)
{
    if (m_dataSets.isEmpty() || dimensions() != 1)
        return;
    m_showAllSamples = enabled;
    if (enabled) {
        // Start the next scaling pass from the full window.
        m_axes[0].scaleMin = -1.0;
        m_axes[0].scaleMax = 1.0;
    }
    applyScaleLimits(m_axes);
    scheduleUpdate();
}

bool KivGraph::isShowingAllSamples() const
{
    return m_showAllSamples;
}

void KivGraph::beginUpdate()
{
    m_inUpdate = true;
}

void KivGraph::endUpdate()
{
    m_inUpdate = false;
    update();
}

bool KivGraph::isInUpdate() const
{
    return m_inUpdate;
}

bool KivGraph::isPainting() const
{
    return m_painting.loadAcquire() != 0;
}

bool KivGraph::isUpdateRequested() const
{
    return m_updateRequested;
}

// ---------------------------------------------------------------------------------------------
// Update cycle

// Producers emit needUpdate() for every sample; letting one request through per interval
// keeps a fast producer from flooding the event loop. A dropped request leaves one
// trailing repaint at the end of the interval, so the last samples of a burst are drawn.
void KivGraph::scheduleUpdate()
{
    const qint64 elapsed = m_throttle.timer.elapsed();
    if (!m_throttle.force && elapsed < m_throttle.intervalMs) {
        m_relay->scheduleTrailing(m_throttle.intervalMs - elapsed);
        QThread::yieldCurrentThread();
        m_throttle.force = false;
        return;
    }
    m_relay->cancelTrailing();
    m_throttle.timer.restart();
    (m_throttle.target->*m_throttle.call)();
    m_throttle.force = false;
}

void KivGraph::forceScheduleUpdate()
{
    m_updateRequested = true;
    update();
}

void KivGraph::initializeGL()
{
    initializeOpenGLFunctions();
    // The integer components are passed unscaled, so any non-zero component clears at full
    // intensity; paintGL does the same every frame.
    glClearColor(float(m_backgroundColor.red()), float(m_backgroundColor.green()),
                 float(m_backgroundColor.blue()), float(m_backgroundColor.alpha()));
    glEnable(GL_DEPTH_TEST);
    glShadeModel(GL_SMOOTH);
    glEnable(GL_COLOR_MATERIAL);
    glEnable(GL_LIGHT0);
    const GLfloat lightPosition[] = { 0.5f, 5.0f, 7.0f, 1.0f };
    glLightfv(GL_LIGHT0, GL_POSITION, lightPosition);
}

void KivGraph::resizeGL(int w, int h)
{
    resizeGraph(w, h);
}

void KivGraph::resizeGraph(int w, int h)
{
    applyScaleLimits(m_axes);
    glViewport(0, 0, w, h);
    for (KivDataSet* ds : qAsConst(m_dataSets)) {
        if (ds)
            ds->setGraphDimensions(w, h);
    }
}

// ---------------------------------------------------------------------------------------------
// Axes

void KivGraph::setAxisLabel(char axis, const char* text)
{
    const int i = axisIndex(axis);
    if (i < 0)
        return;
    m_axes[i].setLabel(text);
    scheduleUpdate();
}

void KivGraph::setAxisStyle(char axis, unsigned long style)
{
    forSelectedAxes(axis, [&](int i) { m_axes[i].style = style; });
    scheduleUpdate();
}

void KivGraph::setAxisUnits(char axis, unsigned long units)
{
    forSelectedAxes(axis, [&](int i) { m_axes[i].units = units; });
    scheduleUpdate();
}

void KivGraph::setAxisMinScale(char axis, double span)
{
    forSelectedAxes(axis, [&](int i) {
        m_axes[i].minScale = span;
        m_lastAxisSet = getAxisIdentifier(i);
    });
    scheduleUpdate();
}

void KivGraph::setAxisLimits(char axis, double a, double b)
{
    forSelectedAxes(axis, [&](int i) {
        m_axes[i].limitMin = b > a ? a : b;
        m_axes[i].limitMax = b > a ? b : a;
    });
    scheduleUpdate();
}

void KivGraph::setAxisScale(char axis, double a, double b)
{
    forSelectedAxes(axis, [&](int i) {
        m_lastAxisSet = getAxisIdentifier(i);
        m_axes[i].scaleMin = b > a ? a : b;
        m_axes[i].scaleMax = b > a ? b : a;
    });
    scheduleUpdate();
}

void KivGraph::setLinkedAxisScale(char axis, double min, double max)
{
    if (axis == 'x' && (m_axisLink & 1))
        setAxisScale('x', min, max);
}

void KivGraph::getAxisScale(char axis, double& min, double& max) const
{
    const int i = (axis == 'y' || axis == 'Y') ? 1 : (axis == 'z' || axis == 'Z') ? 2 : 0;
    min = m_axes.at(i).scaleMin;
    max = m_axes.at(i).scaleMax;
}

const KivAxisInfo& KivGraph::axisInfo(int i) const
{
    return m_axes.at(qBound(0, i, AxisCount - 1));
}

char KivGraph::lastAxisSet() const
{
    return m_lastAxisSet;
}

void KivGraph::recalculateScales(QList<KivAxisInfo>& axes)
{
    // On a time series the x axis is the sample window, not a data axis.
    const int firstAxis =
        (dimensions() == 1 && m_dataSets.first()->getMaxItemCount() != 0) ? 1 : 0;

    if (m_autoScaleMethod == KivExpandToFit && !m_dataSets.isEmpty()) {
        for (const KivDataSet* ds : qAsConst(m_dataSets)) {
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
    } else if (m_autoScaleMethod == KivFullFit && !m_dataSets.isEmpty()) {
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
            m_lastAxisSet = 'x';
        }
        if (x.scaleMax > 1.0) {
            x.scaleMax = 1.0;
            m_lastAxisSet = 'x';
        }
        return;
    }
    if (!m_equalAxes || width() <= 0 || height() <= 0)
        return;

    const double ratio = double(height()) / width();
    const double xSpan = x.scaleMax - x.scaleMin;
    const double ySpan = y.scaleMax - y.scaleMin;
    if (m_autoScaleMethod != KivNoAutoScale) {
        // Widen the smaller range, never shrink the other one.
        const double neededY = xSpan * ratio;
        if (std::isnan(ySpan) || std::isnan(neededY))
            return;
        if (!(ySpan > neededY))
            recentre(y, neededY);
        else
            recentre(x, ySpan / ratio);
    } else if (m_lastAxisSet != 'y') {
        recentre(y, ratio * xSpan);
    } else {
        recentre(x, ySpan * (double(width()) / height()));
    }
}

void KivGraph::updateGridScale(QList<KivAxisInfo>& axes)
{
    for (KivAxisInfo& axis : axes)
        axis.updateDisplayRange(m_imperial);
}

velo::MatrixF<3, 2> KivGraph::calculateMinMaxScales() const
{
    velo::MatrixF<3, 2> box;
    bool first = true;
    for (const KivDataSet* ds : m_dataSets) {
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
