#include "kiv_graphwidget.h"

#include "kiv_dataset.h"
#include "kiv_export_p.h"
#include "kiv_graph.h"
#include "kivlabel.h"
#include "kivlegend.h"

#include <QFrame>
#include <QGridLayout>
#include <QVBoxLayout>
#include <QWheelEvent>

class KivGraphWidgetPrivate
{
public:
    explicit KivGraphWidgetPrivate(KivGraphWidget* owner);

    //! A new grid holding the widgets for the legend placement \a layout.
    QGridLayout* addWidgetsToLayout(KivLegendLayout layout);
    //! Centres the title over y label and graph while the y label is shown.
    void spanTitle(bool overYLabel);

    KivGraphWidget* const q;
    KivGraph* graph = nullptr;
    KivLabel* titleLabel = nullptr;
    QFrame* titleFrame = nullptr;
    KivLabel* yLabel = nullptr;
    KivLabel* xLabel = nullptr;
    KivLegend* legend = nullptr;
    QGridLayout* gridLayout = nullptr;
    bool zoomingChangeAllowed = true;
    bool panningChangeAllowed = true;
    bool legendChangeAllowed = true;
    bool freezeChangeAllowed = true;
    bool equalAxesChangeAllowed = true;
    bool allSamplesChangeAllowed = true;
    bool clearAllowed = true;
    bool autoScaleMethodChangeAllowed = true;
    bool measureChangeAllowed = true;
    bool measureChecked = false;
};

KivGraphWidgetPrivate::KivGraphWidgetPrivate(KivGraphWidget* owner)
    : q(owner)
{
}

QGridLayout* KivGraphWidgetPrivate::addWidgetsToLayout(KivLegendLayout layout)
{
    auto* grid = new QGridLayout;
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setSpacing(1);
    grid->addWidget(titleFrame, 0, 1);
    if (layout == LegendAbove) {
        grid->addWidget(legend, 1, 1);
        grid->addWidget(yLabel, 2, 0);
        grid->addWidget(graph, 2, 1);
        grid->addWidget(xLabel, 3, 1);
    } else {
        grid->addWidget(yLabel, 1, 0);
        grid->addWidget(graph, 1, 1);
        if (layout == LegendRight)
            grid->addWidget(legend, 1, 2);
        grid->addWidget(xLabel, 2, 1);
    }
    return grid;
}

void KivGraphWidgetPrivate::spanTitle(bool overYLabel)
{
    const int index = gridLayout->indexOf(titleFrame);
    if (index < 0)
        return;
    QLayoutItem* item = gridLayout->takeAt(index);
    if (overYLabel)
        gridLayout->addItem(item, 0, 0, 1, 2);
    else
        gridLayout->addItem(item, 0, 1, 1, 1);
}

KivGraphWidget::KivGraphWidget(QWidget* parent)
    : QWidget(parent)
    , d(new KivGraphWidgetPrivate(this))
{
    d->titleLabel = new KivLabel;
    d->titleLabel->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    d->titleLabel->hide();

    d->titleFrame = new QFrame(this);
    d->titleFrame->setFrameStyle(QFrame::NoFrame);
    d->titleFrame->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    auto* titleLayout = new QVBoxLayout(d->titleFrame);
    titleLayout->setContentsMargins(0, 0, 0, 0);
    titleLayout->addWidget(d->titleLabel, 0, Qt::AlignCenter);

    d->yLabel = new KivLabel;
    d->yLabel->setTextTilt(KivLabel::Tilt270);
    d->yLabel->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
    d->yLabel->setAlignment(Qt::AlignCenter);
    d->yLabel->hide();

    d->graph = new KivGraph(this);
    d->graph->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    connect(d->graph, SIGNAL(panning(Qt::MouseButton, int, int, double, double)), this,
            SIGNAL(panning(Qt::MouseButton, int, int, double, double)));

    d->legend = new KivLegend;

    d->xLabel = new KivLabel;
    d->xLabel->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    d->xLabel->setAlignment(Qt::AlignCenter);
    d->xLabel->hide();

    d->gridLayout = d->addWidgetsToLayout(LegendAbove);
    setLayout(d->gridLayout);
}

KivGraphWidget::~KivGraphWidget() = default;

KivGraph* KivGraphWidget::graph() const
{
    return d->graph;
}

KivLegend* KivGraphWidget::legend() const
{
    return d->legend;
}

// Deleting the grid leaves its widgets alone: they stay children of this widget.
void KivGraphWidget::setLegendLayout(KivLegendLayout layout)
{
    delete d->gridLayout;
    d->legend->setLegendLayout(layout);
    d->gridLayout = d->addWidgetsToLayout(layout);
    setLayout(d->gridLayout);
    if (!d->yLabel->text().isEmpty())
        d->spanTitle(true);
}

void KivGraphWidget::setTitle(const QString& title)
{
    d->titleLabel->setText(title);
    d->titleLabel->setVisible(!title.isEmpty());
}

QString KivGraphWidget::title() const
{
    return d->titleLabel->text();
}

QString KivGraphWidget::xLabel() const
{
    return d->xLabel->text();
}

QString KivGraphWidget::yLabel() const
{
    return d->yLabel->text();
}

void KivGraphWidget::setXLabel(const QString& label)
{
    d->xLabel->setText(label);
    d->xLabel->setVisible(!label.isEmpty());
}

void KivGraphWidget::setYLabel(const QString& label)
{
    const bool wasEmpty = d->yLabel->text().isEmpty();
    d->yLabel->setText(label);
    if (wasEmpty == label.isEmpty())
        return;
    d->yLabel->setVisible(!label.isEmpty());
    d->spanTitle(!label.isEmpty());
}

void KivGraphWidget::setAxisLabel(char axis, const QString& label)
{
    // Clearing bit 5 folds lower case onto upper case.
    switch (axis & ~0x20) {
    case 'Y':
        setYLabel(label);
        break;
    case 'X':
        setXLabel(label);
        break;
    default:
        break;
    }
}

void KivGraphWidget::setNoDataText(const QString& text)
{
    d->graph->setNoDataText(text);
}

void KivGraphWidget::setGraphText(const QString& text)
{
    d->graph->setGraphText(text);
}

void KivGraphWidget::setTimeMode(int timeMode)
{
    d->graph->setTimeMode(timeMode);
}

bool KivGraphWidget::isAutoScaleMethodChangeAllowed() const
{
    return d->autoScaleMethodChangeAllowed;
}

void KivGraphWidget::setAutoScaleMethodChangeAllowed(bool allow)
{
    d->autoScaleMethodChangeAllowed = allow;
}

KivAutoScaleMethod KivGraphWidget::getAutoScaleMethod() const
{
    return d->graph->getAutoScaleMethod();
}

void KivGraphWidget::setAutoScaleMethod(KivAutoScaleMethod method)
{
    if (d->autoScaleMethodChangeAllowed)
        d->graph->setAutoScaleMethod(method);
}

bool KivGraphWidget::isPanningChangeAllowed() const
{
    return d->panningChangeAllowed;
}

void KivGraphWidget::setPanningChangeAllowed(bool allow)
{
    d->panningChangeAllowed = allow;
}

bool KivGraphWidget::isPanningChecked() const
{
    return d->graph->isPanning();
}

void KivGraphWidget::setPanningChecked(bool checked)
{
    if (!d->panningChangeAllowed)
        return;
    const KivGraph::ControlState state = d->graph->getControlState();
    if (checked && state != KivGraph::ControlPan)
        d->graph->setControlState(KivGraph::ControlPan);
    else if (!checked && state == KivGraph::ControlPan)
        d->graph->setControlState(KivGraph::ControlNone);
}

bool KivGraphWidget::isZoomingChangeAllowed() const
{
    return d->zoomingChangeAllowed;
}

void KivGraphWidget::setZoomingChangeAllowed(bool allow)
{
    d->zoomingChangeAllowed = allow;
}

bool KivGraphWidget::isZoomingChecked() const
{
    return d->graph->isZooming();
}

void KivGraphWidget::setZoomingChecked(bool checked)
{
    if (!d->zoomingChangeAllowed)
        return;
    const KivGraph::ControlState state = d->graph->getControlState();
    if (checked && state != KivGraph::ControlZoom)
        d->graph->setControlState(KivGraph::ControlZoom);
    else if (!checked && state == KivGraph::ControlZoom)
        d->graph->setControlState(KivGraph::ControlNone);
}

bool KivGraphWidget::isFreezeChangeAllowed() const
{
    return d->freezeChangeAllowed;
}

void KivGraphWidget::setFreezeChangeAllowed(bool allow)
{
    d->freezeChangeAllowed = allow;
}

bool KivGraphWidget::isFreezeChecked() const
{
    return d->graph->isFrozen();
}

void KivGraphWidget::setFreezeChecked(bool checked)
{
    if (d->freezeChangeAllowed)
        d->graph->freeze(checked);
}

int KivGraphWidget::autoScale() const
{
    return int(getAutoScaleMethod());
}

void KivGraphWidget::setAutoScale(int method)
{
    if (method >= KivNoAutoScale && method <= KivFullFit)
        setAutoScaleMethod(KivAutoScaleMethod(method));
}

bool KivGraphWidget::isLegendChangeAllowed() const
{
    return d->legendChangeAllowed && d->graph->hasLegend();
}

void KivGraphWidget::setLegendChangeAllowed(bool allow)
{
    d->legendChangeAllowed = allow;
}

// Asked before the widget is shown, too; what counts is whether the legend would show.
bool KivGraphWidget::isLegendChecked() const
{
    return d->legend->isVisibleTo(this);
}

// An empty legend is not brought up; one already shown stays, so that series labelled later
// appear in it.
void KivGraphWidget::setLegendChecked(bool checked)
{
    if (!d->legendChangeAllowed)
        return;
    if (!checked)
        d->legend->hide();
    else if (d->legend->hasText())
        d->legend->show();
}

bool KivGraphWidget::isMeasureChangeAllowed() const
{
    return d->measureChangeAllowed;
}

void KivGraphWidget::setMeasureChangeAllowed(bool allow)
{
    d->measureChangeAllowed = allow;
}

bool KivGraphWidget::isMeasureChecked() const
{
    return d->measureChecked;
}

void KivGraphWidget::setMeasureChecked(bool checked)
{
    if (!d->measureChangeAllowed)
        return;
    d->measureChecked = checked;
    d->graph->showMeasure(checked);
}

bool KivGraphWidget::isAllSamplesChangeAllowed() const
{
    return d->allSamplesChangeAllowed;
}

void KivGraphWidget::setAllSamplesChangeAllowed(bool allow)
{
    d->allSamplesChangeAllowed = allow;
}

bool KivGraphWidget::isAllSamplesChecked() const
{
    return d->graph->isShowingAllSamples();
}

void KivGraphWidget::setAllSamplesChecked(bool checked)
{
    if (d->allSamplesChangeAllowed)
        d->graph->showAllSamples(checked);
}

void KivGraphWidget::setAllSamplesVisible(bool)
{
}

void KivGraphWidget::setClearVisible(bool)
{
}

bool KivGraphWidget::isClearAllowed() const
{
    return d->clearAllowed;
}

void KivGraphWidget::setClearAllowed(bool allow)
{
    d->clearAllowed = allow;
}

void KivGraphWidget::clear(bool clearTime)
{
    if (d->clearAllowed)
        d->graph->clear(clearTime);
}

bool KivGraphWidget::isEqualAxesChangeAllowed() const
{
    return d->equalAxesChangeAllowed;
}

void KivGraphWidget::setEqualAxesChangeAllowed(bool allow)
{
    d->equalAxesChangeAllowed = allow;
}

bool KivGraphWidget::isEqualAxesChecked() const
{
    return d->graph->isEqualAxesEnabled();
}

void KivGraphWidget::setEqualAxesChecked(bool checked)
{
    if (d->equalAxesChangeAllowed)
        d->graph->setEqualAxes(checked);
}

KivDataSet* KivGraphWidget::addDataSet(unsigned long style, const QColor& color,
                                       unsigned long maxItemCount)
{
    KivDataSet* dataSet = d->graph->addDataSet(style, color, maxItemCount);
    d->legend->addDataSet(dataSet);
    return dataSet;
}

// Null removes every series, and so every box of the legend.
void KivGraphWidget::removeDataSet(KivDataSet* dataSet)
{
    if (dataSet) {
        d->legend->removeDataSet(dataSet);
    } else {
        for (int j = 0; j < d->graph->dataSetCount(); ++j)
            d->legend->removeDataSet(d->graph->dataSet(j));
    }
    d->graph->removeDataSet(dataSet);
}

KivDataSet* KivGraphWidget::dataSet(unsigned long index) const
{
    if (index >= static_cast<unsigned long>(d->graph->dataSetCount()))
        return nullptr;
    return d->graph->dataSet(static_cast<int>(index));
}

int KivGraphWidget::dataSetCount() const
{
    return d->graph->dataSetCount();
}

bool KivGraphWidget::hasDataSet(KivDataSet* dataSet) const
{
    return d->graph->hasDataSet(dataSet);
}

bool KivGraphWidget::isEmpty() const
{
    return d->graph->isEmpty();
}

bool KivGraphWidget::isDataSetVisible(KivDataSet* dataSet) const
{
    return hasDataSet(dataSet) && dataSet->isVisible();
}

// A series added straight to the graph has no legend box; it is switched directly.
void KivGraphWidget::setDataSetVisible(KivDataSet* dataSet, bool visible)
{
    if (!hasDataSet(dataSet))
        return;
    d->legend->setDataSetVisible(dataSet, visible);
    dataSet->setVisible(visible);
}

void KivGraphWidget::setData(unsigned long set, unsigned long item, double value, bool exclusive)
{
    if (!exclusive) {
        if (KivDataSet* dataSet = this->dataSet(set))
            dataSet->setData(item, value);
        return;
    }
    const int count = dataSetCount();
    for (int j = 0; j < count; ++j)
        d->graph->dataSet(j)->setData(item, static_cast<unsigned long>(j) == set ? value : 0.0);
}

void KivGraphWidget::setAddPosition(bool back)
{
    d->graph->setAddPosition(back);
}

void KivGraphWidget::beginUpdate()
{
    d->graph->beginUpdate();
}

void KivGraphWidget::endUpdate()
{
    d->graph->endUpdate();
}

long KivGraphWidget::setScopeOffset(long offset)
{
    return d->graph->setScopeOffset(offset);
}

long KivGraphWidget::scopeOffset() const
{
    return d->graph->scopeOffset();
}

void KivGraphWidget::setDisplayUnits(bool imperial)
{
    d->graph->setDisplayUnits(imperial);
}

void KivGraphWidget::pointToGraphPos(const QPoint& point, QPointF& pos) const
{
    d->graph->pointToGraphPos(point, pos, false);
}

int KivGraphWidget::graphWidth() const
{
    return d->graph->width();
}

int KivGraphWidget::graphHeight() const
{
    return d->graph->height();
}

void KivGraphWidget::setAxisLink(int link)
{
    d->graph->setAxisLink(link);
}

void KivGraphWidget::setAxisLimits(char axis, double min, double max)
{
    d->graph->setAxisLimits(axis, min, max);
}

void KivGraphWidget::setAxisScale(char axis, double min, double max)
{
    d->graph->setAxisScale(axis, min, max);
}

void KivGraphWidget::setAxisStyle(char axis, QFlags<KivAxisStyleFlag> style)
{
    d->graph->setAxisStyle(axis, static_cast<unsigned long>(style));
}

void KivGraphWidget::setAxisUnits(char axis, int units)
{
    d->graph->setAxisUnits(axis, static_cast<unsigned long>(units));
}

void KivGraphWidget::setAxisMinScale(char axis, double minScale)
{
    d->graph->setAxisMinScale(axis, minScale);
}

void KivGraphWidget::setBackgroundColor(const QColor& color)
{
    d->graph->setBackgroundColor(color.redF(), color.greenF(), color.blueF());
}

void KivGraphWidget::setBackgroundColor(double red, double green, double blue)
{
    d->graph->setBackgroundColor(red, green, blue);
}

void KivGraphWidget::setValidRange(double min, double max, const QString& text)
{
    d->graph->setValidRange(min, max, text);
}

void KivGraphWidget::setTime(double interval, double time)
{
    d->graph->setTime(interval, time);
}

void KivGraphWidget::wheelEvent(QWheelEvent* event)
{
    event->ignore();
}

QImage KivGraphWidget::toImage(const QSize& size, qreal scale)
{
    return KivExport::toImage(this, size, scale);
}

bool KivGraphWidget::saveImage(const QString& path, const QSize& size, qreal scale)
{
    return KivExport::saveImage(this, path, size, scale);
}

void KivGraphWidget::renderTo(QPainter* painter, const QRectF& target)
{
    KivExport::renderTo(this, painter, target);
}

QString KivGraphWidget::toCsv(bool visibleOnly)
{
    return d->graph->toCsv(nullptr, visibleOnly);
}

bool KivGraphWidget::saveCsv(const QString& path, bool visibleOnly)
{
    return d->graph->saveCsv(path, nullptr, visibleOnly);
}
