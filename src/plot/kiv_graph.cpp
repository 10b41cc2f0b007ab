// KivGraph: the object, its data sets, display state and update cycle.

#include "kiv_graph.h"
#include "kiv_graph_p.h"
#include "kiv_dataset.h"
#include "kiv_updaterelay.h"

#include <QThread>

KivGraphPrivate::KivGraphPrivate(KivGraph* graph)
    : q(graph)
    , backgroundColor(QColor::fromRgbF(1.0, 1.0, 1.0, 1.0))
    , painting(0)
    , noDataText(KivGraph::tr("No Data Available"))
    , gestures(*graph, axes)
{
    for (int i = 0; i < AxisCount; ++i)
        axes.append(KivAxisInfo());
}

KivGraph::KivGraph(QWidget* parent)
    : QOpenGLWidget(parent, Qt::WindowFlags())
    , d(new KivGraphPrivate(this))
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    // A frame without alpha: translucent overlays cannot make grab() or render() see-through,
    // and no extra pass per frame has to set the alpha back to one.
    setTextureFormat(GL_RGB8);
    setAutoFillBackground(false);

    d->throttle.timer.start();
    d->relay = new KivUpdateRelay(this);
    connect(d->relay, &KivUpdateRelay::updateRequested, this, &KivGraph::scheduleUpdate);
    connect(d->relay, &KivUpdateRelay::trailingUpdate, this, &KivGraph::forceScheduleUpdate);

    setAttribute(Qt::WA_MouseTracking);
}

KivGraph::~KivGraph()
{
    for (KivDataSet* ds : qAsConst(d->dataSets))
        delete ds;
    d->dataSets.clear();
}

// ---------------------------------------------------------------------------------------------
// Data sets

KivDataSet* KivGraph::addDataSet(unsigned long style, const QColor& color, unsigned long maxItemCount)
{
    auto* ds = new KivDataSet(width(), height());
    ds->setStyle(style);
    ds->setMaxItemCount(maxItemCount);
    ds->setColor(color.redF(), color.greenF(), color.blueF());
    d->dataSets.append(ds);
    // Its needUpdate() requests reach scheduleUpdate() through the relay, which keeps at
    // most one queued call pending however fast producers add samples.
    KivUpdateRelay::attach(ds, d->relay);
    // Every series, the new one included, takes the graph's frozen state.
    freeze(d->frozen);
    scheduleUpdate();
    return ds;
}

void KivGraph::removeDataSet(KivDataSet* ds)
{
    if (ds) {
        const int i = d->dataSets.indexOf(ds);
        if (i >= 0) {
            d->dataSets.removeAt(i);
            delete ds;
        }
    } else {
        const QList<KivDataSet*> all = d->dataSets;
        d->dataSets.clear();
        qDeleteAll(all);
    }
    scheduleUpdate();
}

KivDataSet* KivGraph::dataSet(int i) const
{
    if (i < 0 || i >= d->dataSets.size())
        return nullptr;
    return d->dataSets.at(i);
}

int KivGraph::dataSetCount() const
{
    return d->dataSets.size();
}

bool KivGraph::hasDataSet(KivDataSet* ds) const
{
    return d->dataSets.contains(ds);
}

bool KivGraph::isEmpty() const
{
    for (const KivDataSet* ds : d->dataSets) {
        if (ds->getItemCount() > 0)
            return false;
    }
    return true;
}

bool KivGraph::hasLegend() const
{
    for (const KivDataSet* ds : d->dataSets) {
        if (!ds->getLabel().isEmpty())
            return true;
    }
    return false;
}

int KivGraph::dimensions() const
{
    return d->dataSets.isEmpty() ? 0 : d->dataSets.first()->dimensions();
}

void KivGraph::clear(bool clearTime)
{
    for (KivDataSet* ds : qAsConst(d->dataSets))
        ds->clear(clearTime);
    forceScheduleUpdate();
}

void KivGraph::setAddPosition(bool back)
{
    for (KivDataSet* ds : qAsConst(d->dataSets))
        ds->setAddPosition(back);
}

void KivGraph::freeze(bool enabled)
{
    d->frozen = enabled;
    for (KivDataSet* ds : qAsConst(d->dataSets))
        ds->freeze(enabled);
}

bool KivGraph::isFrozen() const
{
    return d->frozen;
}

void KivGraph::setTime(double interval, double time)
{
    if (!d->dataSets.isEmpty())
        d->dataSets.first()->setTime(interval, time);
}

void KivGraph::getTime(double& interval, double& time) const
{
    if (!d->dataSets.isEmpty())
        d->dataSets.first()->getTime(interval, time);
}

long KivGraph::setScopeOffset(long offset)
{
    d->gestures.forgetSavedScopeOffset();
    const long previous = setScopeOffset_imp(offset);
    scheduleUpdate();
    return previous;
}

long KivGraph::setScopeOffset_imp(long offset)
{
    long previous = -1;
    for (KivDataSet* ds : qAsConst(d->dataSets)) {
        if (previous == -1)
            previous = ds->getScopeOffset();
        ds->setScopeOffset(offset);
    }
    return previous;
}

long KivGraph::scopeOffset() const
{
    for (const KivDataSet* ds : d->dataSets) {
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
    d->backgroundColor = QColor::fromRgbF(qBound(0.0, r, 1.0), qBound(0.0, g, 1.0), qBound(0.0, b, 1.0), 1.0);
    scheduleUpdate();
}

void KivGraph::setBackgroundColor(unsigned long rgb)
{
    const QRgb c = QRgb(rgb);
    setBackgroundColor(qRed(c) / 255.0, qGreen(c) / 255.0, qBlue(c) / 255.0);
}

QColor KivGraph::backgroundColor() const
{
    return d->backgroundColor;
}

void KivGraph::setNoDataText(const QString& text)
{
    d->noDataText = text;
    scheduleUpdate();
}

QString KivGraph::noDataText() const
{
    return d->noDataText;
}

void KivGraph::setGraphText(const QString& text)
{
    d->graphText = text;
    scheduleUpdate();
}

QString KivGraph::graphText() const
{
    return d->graphText;
}

void KivGraph::setValidRange(double min, double max, const QString& text)
{
    d->validMin = min;
    d->validMax = max;
    d->validRangeText = text;
    scheduleUpdate();
}

void KivGraph::showMeasure(bool enabled)
{
    d->showMeasure = enabled;
    scheduleUpdate();
}

bool KivGraph::isMeasureShown() const
{
    return d->showMeasure;
}

void KivGraph::setDisplayUnits(bool imperial)
{
    d->imperial = imperial;
}

bool KivGraph::isImperialDisplay() const
{
    return d->imperial;
}

void KivGraph::setAxisLink(int link)
{
    d->axisLink = link & 1;
}

int KivGraph::axisLink() const
{
    return d->axisLink;
}

void KivGraph::setControlState(KivGraph::ControlState state)
{
    d->controlState = state;
    emit controlStateChanged(state);
}

KivGraph::ControlState KivGraph::getControlState() const
{
    return d->controlState;
}

bool KivGraph::isZooming() const
{
    return d->controlState == ControlZoom;
}

bool KivGraph::isPanning() const
{
    return d->controlState == ControlPan;
}

void KivGraph::setTimeMode(int tm)
{
    Q_UNUSED(tm)
}

void KivGraph::setAutoScaleMethod(KivAutoScaleMethod autoScaleMethod)
{
    d->autoScaleMethod = autoScaleMethod;
    // Auto scaling and a pointer mode that moves the window do not mix on a full time series.
    if (autoScaleMethod != KivNoAutoScale && d->showAllSamples && dimensions() == 1)
        setControlState(ControlNone);
    scheduleUpdate();
}

KivAutoScaleMethod KivGraph::getAutoScaleMethod() const
{
    return d->autoScaleMethod;
}

void KivGraph::setEqualAxes(bool checked)
{
    d->equalAxes = checked;
    if (checked) {
        applyScaleLimits(d->axes);
        scheduleUpdate();
    }
}

bool KivGraph::isEqualAxesEnabled() const
{
    return d->equalAxes;
}

void KivGraph::showAllSamples(bool enabled)
{
    if (d->dataSets.isEmpty() || dimensions() != 1)
        return;
    d->showAllSamples = enabled;
    if (enabled) {
        // Start the next scaling pass from the full window.
        d->axes[0].scaleMin = -1.0;
        d->axes[0].scaleMax = 1.0;
    }
    applyScaleLimits(d->axes);
    scheduleUpdate();
}

bool KivGraph::isShowingAllSamples() const
{
    return d->showAllSamples;
}

void KivGraph::beginUpdate()
{
    d->inUpdate = true;
}

void KivGraph::endUpdate()
{
    d->inUpdate = false;
    update();
}

bool KivGraph::isInUpdate() const
{
    return d->inUpdate;
}

bool KivGraph::isPainting() const
{
    return d->painting.loadAcquire() != 0;
}

bool KivGraph::isUpdateRequested() const
{
    return d->updateRequested;
}

// ---------------------------------------------------------------------------------------------
// Update cycle

// Producers emit needUpdate() for every sample; letting one request through per interval
// keeps a fast producer from flooding the event loop. A dropped request leaves one
// trailing repaint at the end of the interval, so the last samples of a burst are drawn.
void KivGraph::scheduleUpdate()
{
    const qint64 elapsed = d->throttle.timer.elapsed();
    if (!d->throttle.force && elapsed < d->throttle.intervalMs) {
        d->relay->scheduleTrailing(d->throttle.intervalMs - elapsed);
        QThread::yieldCurrentThread();
        d->throttle.force = false;
        return;
    }
    d->relay->cancelTrailing();
    d->throttle.timer.restart();
    forceScheduleUpdate();
    d->throttle.force = false;
}

void KivGraph::forceScheduleUpdate()
{
    d->updateRequested = true;
    update();
}

void KivGraph::initializeGL()
{
    initializeOpenGLFunctions();
    // The integer components are passed unscaled, so any non-zero component clears at full
    // intensity; paintGL does the same every frame.
    glClearColor(float(d->backgroundColor.red()), float(d->backgroundColor.green()),
                 float(d->backgroundColor.blue()), float(d->backgroundColor.alpha()));
    glEnable(GL_DEPTH_TEST);
    glShadeModel(GL_SMOOTH);
    glEnable(GL_COLOR_MATERIAL);
    glEnable(GL_LIGHT0);
    const GLfloat lightPosition[] = { 0.5f, 5.0f, 7.0f, 1.0f };
    glLightfv(GL_LIGHT0, GL_POSITION, lightPosition);
}

void KivGraph::resizeGL(int w, int h)
{
    applyScaleLimits(d->axes);
    glViewport(0, 0, w, h);
    for (KivDataSet* ds : qAsConst(d->dataSets)) {
        if (ds)
            ds->setGraphDimensions(w, h);
    }
}
