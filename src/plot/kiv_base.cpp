#include "kiv_base.h"

#include "kiv_dataset.h"
#include "kiv_export_p.h"
#include "kiv_graph.h"
#include "kiv_graphwidget.h"
#include "kivtoolbar.h"

#include <gridsplitter.h>
#include <velo_lock.h>

#include <QCoreApplication>
#include <QEvent>
#include <QGridLayout>
#include <QPointer>
#include <QSaveFile>
#include <QVBoxLayout>

#include <algorithm>
#include <climits>

class KivWidgetPrivate
{
public:
    int rows = 0;
    int columns = 0;
    QString fontPath;
    //! Kept here: the tool bar reports its selector hidden while itself is not shown.
    bool layoutSelectionAllowed = false;
    GridSplitter* grid = nullptr;
    KivToolBar* toolbar = nullptr;
    //! Row-major: (r, c) is entry columns * r + c.
    QList<KivGraphWidget*> graphs;
    //! Index-addressed appends from producer threads hold the read side while they look
    //! up and feed a series; the panel's relayout, addDataSet and removeDataSet hold the
    //! write side, so they never free or move what an append is using.
    mutable velo::ReadWriteMutex structureLock;

    //! Calls \a append on the series (row, col, set), if there is one, under the read side.
    template <typename Append>
    void appendAt(const KivWidget* panel, int row, int col, unsigned long set, Append append) const;

    //! After a pan or zoom step of \a from, linked graphs take over its x range.
    void shareXScale(KivGraphWidget* from) const;
    //! The same, once the event under way has been handled.
    void shareXScaleLater(KivWidget* panel, KivGraphWidget* from);
    //! Calls \a apply on \a graph and then \a set where a graph is given, else on \a set
    //! alone, else on every graph.
    template <typename Apply>
    void applyToGraphOrSet(KivGraphWidget* graph, KivDataSet* set, Apply apply) const;
};

template <typename Append>
void KivWidgetPrivate::appendAt(const KivWidget* panel, int row, int col, unsigned long set, Append append) const
{
    velo::LockReadWrite guard(structureLock);
    guard.lock(false);
    if (KivDataSet* ds = panel->getDataSet(panel->getGraph(row, col), set))
        append(ds);
}

template <typename Apply>
void KivWidgetPrivate::applyToGraphOrSet(KivGraphWidget* graph, KivDataSet* set, Apply apply) const
{
    if (graph) {
        apply(graph);
        if (set)
            apply(set);
    } else if (set) {
        apply(set);
    } else {
        for (KivGraphWidget* g : graphs)
            apply(g);
    }
}

void KivWidgetPrivate::shareXScale(KivGraphWidget* from) const
{
    if (!(from->graph()->axisLink() & 1))
        return;
    double min = 0.0;
    double max = 0.0;
    from->graph()->getAxisScale('x', min, max);
    for (KivGraphWidget* graph : graphs) {
        if (graph != from)
            graph->graph()->setLinkedAxisScale('x', min, max);
    }
}

void KivWidgetPrivate::shareXScaleLater(KivWidget* panel, KivGraphWidget* from)
{
    QPointer<KivGraphWidget> source(from);
    QMetaObject::invokeMethod(panel, [this, source]() {
        if (source)
            shareXScale(source);
    }, Qt::QueuedConnection);
}

namespace {

// 0xBBGGRR, the byte order of series colours.
QColor colorFromBgr(unsigned long color)
{
    const QRgb c = QRgb(color);
    return QColor(qBlue(c), qGreen(c), qRed(c));
}

const char versionText[] = "built on 2021-02-04";

} // namespace

KivWidget::KivWidget(int rows, int cols, const QString& fontPath, QWidget* parent)
    : QWidget(parent)
    , d(new KivWidgetPrivate)
{
    d->fontPath = fontPath.isEmpty()
        ? QCoreApplication::applicationDirPath() + QStringLiteral("/fonts/") + QStringLiteral("arial.ttf")
        : fontPath;

    auto* layout = new QVBoxLayout;
    layout->setSpacing(0);
    layout->setContentsMargins(0, 0, 0, 0);
    d->toolbar = new KivToolBar(this);
    layout->addWidget(d->toolbar);
    setLayout(layout);

    selectLayout(rows, cols);
    d->toolbar->emitAllStates();
}

KivWidget::KivWidget(QWidget* parent)
    : KivWidget(1, 1, QString(), parent)
{
}

KivWidget::~KivWidget() = default;

int KivWidget::rows() const
{
    return d->rows;
}

int KivWidget::columns() const
{
    return d->columns;
}

void KivWidget::setRows(int rows)
{
    selectLayout(rows, d->columns);
}

void KivWidget::setColumns(int columns)
{
    selectLayout(d->rows, columns);
}

QImage KivWidget::toImage(const QSize& size, qreal scale, bool withToolBar)
{
    return KivExport::toImage(withToolBar ? static_cast<QWidget*>(this) : d->grid, size, scale);
}

bool KivWidget::saveImage(const QString& path, const QSize& size, qreal scale, bool withToolBar)
{
    return KivExport::saveImage(withToolBar ? static_cast<QWidget*>(this) : d->grid, path, size, scale);
}

void KivWidget::renderTo(QPainter* painter, const QRectF& target, bool withToolBar)
{
    KivExport::renderTo(withToolBar ? static_cast<QWidget*>(this) : d->grid, painter, target);
}

QString KivWidget::toCsv(bool visibleOnly)
{
    KivExport::Csv csv;
    for (int i = 0; i < d->graphs.size(); ++i) {
        const QString prefix = d->graphs.size() > 1
            ? QStringLiteral("r%1c%2 ").arg(i / d->columns).arg(i % d->columns) : QString();
        csv.addGraph(d->graphs.at(i)->graph(), nullptr, prefix, visibleOnly);
    }
    return csv.text();
}

bool KivWidget::saveCsv(const QString& path, bool visibleOnly)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text))
        return false;
    file.write(toCsv(visibleOnly).toUtf8());
    return file.commit();
}

QString KivWidget::fontPath() const
{
    return d->fontPath;
}

void KivWidget::getLayout(int& rows, int& cols) const
{
    rows = d->rows;
    cols = d->columns;
}

void KivWidget::selectLayout(int rows, int cols)
{
    if (rows < 0 || cols < 0 || rows > MaxGridSide || cols > MaxGridSide || (rows == d->rows && cols == d->columns))
        return;
    velo::LockReadWrite guard(d->structureLock);
    guard.lock(true);

    // Out of the old grid: its deletion must not take the graphs with it.
    for (KivGraphWidget* graph : qAsConst(d->graphs)) {
        graph->hide();
        graph->setParent(nullptr);
    }
    delete d->grid;
    d->grid = new GridSplitter(this);
    layout()->addWidget(d->grid);

    // Graphs holding data first, so a smaller grid keeps them.
    std::stable_partition(d->graphs.begin(), d->graphs.end(),
                          [](KivGraphWidget* graph) { return !graph->isEmpty(); });

    const int count = rows * cols;
    while (d->graphs.size() < count) {
        auto* graph = new KivGraphWidget;
        connectToolbarToGraph(d->toolbar, graph);
        // Deferred, so the pan step has passed the graph's limits before the range is shared.
        connect(graph, &KivGraphWidget::panning, this, [this, graph]() { d->shareXScaleLater(this, graph); });
        graph->graph()->installEventFilter(this);
        d->graphs.append(graph);
    }

    QGridLayout* grid = d->grid->grid();
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < cols; ++c)
            grid->addWidget(d->graphs.at(cols * r + c), r, c);
    }

    d->rows = rows;
    d->columns = cols;
    for (int i = 0; i < count; ++i)
        d->graphs.at(i)->show();
    while (d->graphs.size() > count)
        delete d->graphs.takeLast();

    d->grid->show();
    d->grid->resetGrid(-1, -1);
    guard.unlock();

    d->toolbar->showLayoutSelection(d->layoutSelectionAllowed, rows, cols);
    checkForLegends();
    d->toolbar->emitAllStates();
    emit layoutChanged();
}

bool KivWidget::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::MouseButtonRelease: // a rubber band or a double click zooms
    case QEvent::MouseButtonDblClick:
    case QEvent::Wheel:
        if (auto* graph = qobject_cast<KivGraphWidget*>(watched->parent()))
            d->shareXScaleLater(this, graph);
        break;
    default:
        break;
    }
    return QWidget::eventFilter(watched, event);
}

void KivWidget::resetGrid()
{
    if (d->grid)
        d->grid->resetGrid(-1, -1);
}

void KivWidget::setLegendLayout(KivLegendLayout layout)
{
    for (KivGraphWidget* graph : qAsConst(d->graphs))
        graph->setLegendLayout(layout);
}

void KivWidget::linkAxes(int axes)
{
    for (KivGraphWidget* graph : qAsConst(d->graphs))
        graph->setAxisLink(axes);
}

void KivWidget::setAllowLayoutSelection(bool allow)
{
    if (allow == d->layoutSelectionAllowed)
        return;
    d->layoutSelectionAllowed = allow;
    if (allow) {
        d->toolbar->showLayoutSelection(true, d->rows, d->columns);
        connect(d->toolbar, SIGNAL(layoutSelectionChanged(int,int)), this, SLOT(selectLayout(int,int)));
    } else {
        disconnect(d->toolbar, SIGNAL(layoutSelectionChanged(int,int)), this, SLOT(selectLayout(int,int)));
        d->toolbar->showLayoutSelection(false, d->rows, d->columns);
    }
}

bool KivWidget::isLayoutSelectionChangeAllowed() const
{
    return d->layoutSelectionAllowed;
}

void KivWidget::checkForLegends()
{
    bool legends = false;
    for (int r = 0; r < d->rows && !legends; ++r) {
        for (int c = 0; c < d->columns && !legends; ++c) {
            KivGraphWidget* graph = getGraph(r, c);
            legends = graph && graph->isLegendChangeAllowed();
        }
    }
    d->toolbar->setLegendChangeAllowed(legends);
}

KivControlInterface* KivWidget::toolbar() const
{
    return d->toolbar;
}

void KivWidget::setToolBarEnabled(bool enabled)
{
    d->toolbar->setEnabled(enabled);
}

void KivWidget::setToolBarHidden(bool hidden)
{
    d->toolbar->setHidden(hidden);
}

bool KivWidget::isToolBarEnabled() const
{
    return d->toolbar->isEnabled();
}

KivGraphWidget* KivWidget::getGraph(int row, int col) const
{
    if (row < 0 || col < 0 || row >= d->rows || col >= d->columns)
        return nullptr;
    const QList<KivGraphWidget*>& graphs = d->graphs;
    return graphs.value(d->columns * row + col);
}

KivGraphWidget* KivWidget::getGraph(const QPoint& p, QPoint& local) const
{
    local = p;
    QWidget* child = childAt(p);
    if (!child)
        return nullptr;
    auto* graph = qobject_cast<KivGraphWidget*>(child->parent());
    if (graph)
        local = graph->mapFrom(this, p);
    return graph;
}

KivGraphWidget* KivWidget::getGraph(const QPoint& p, char* axis) const
{
    QPoint local;
    KivGraphWidget* graph = getGraph(p, local);
    if (graph && axis) {
        QPointF pos;
        graph->pointToGraphPos(local, pos);
        *axis = pos.x() > pos.y() ? 'x' : 'y';
    }
    return graph;
}

KivDataSet* KivWidget::getDataSet(KivGraphWidget* graph, unsigned long index) const
{
    return graph ? graph->dataSet(index) : nullptr;
}

bool KivWidget::isDataSet(KivDataSet* set) const
{
    if (!set)
        return false;
    for (KivGraphWidget* graph : qAsConst(d->graphs)) {
        if (graph->hasDataSet(set))
            return true;
    }
    return false;
}

void KivWidget::addData(int row, int col, unsigned long set, double v)
{
    d->appendAt(this, row, col, set, [v](KivDataSet* ds) { ds->addData(v); });
}

void KivWidget::addData(int row, int col, unsigned long set, double x, double y)
{
    d->appendAt(this, row, col, set, [x, y](KivDataSet* ds) { ds->addData(x, y); });
}

void KivWidget::addData(int row, int col, unsigned long set, double x, double y, double z)
{
    d->appendAt(this, row, col, set, [x, y, z](KivDataSet* ds) { ds->addData(x, y, z); });
}

void KivWidget::duplicateData(int row, int col, unsigned long set, unsigned long n)
{
    d->appendAt(this, row, col, set, [n](KivDataSet* ds) { ds->duplicateData(n); });
}

void KivWidget::setLabelFormat(int row, int col, unsigned long set, const QString& format)
{
    if (KivDataSet* ds = getDataSet(getGraph(row, col), set))
        ds->setLabelFormat(format);
}

void KivWidget::setDataLabel(int row, int col, unsigned long set, unsigned long slot, const QString& label)
{
    // A slot beyond int is out of range, not a smaller slot.
    if (slot > static_cast<unsigned long>(INT_MAX))
        return;
    if (KivDataSet* ds = getDataSet(getGraph(row, col), set))
        ds->setDataLabel(int(slot), label);
}

void KivWidget::setData(int row, int col, unsigned long set, unsigned long item, double value, bool exclusive)
{
    if (KivGraphWidget* graph = getGraph(row, col))
        graph->setData(set, item, value, exclusive);
}

void KivWidget::setAxisLabel(KivGraphWidget* graph, char axis, const QString& label)
{
    if (graph)
        graph->setAxisLabel(axis, label);
}

void KivWidget::setAxisLimits(KivGraphWidget* graph, char axis, double min, double max)
{
    if (graph)
        graph->setAxisLimits(axis, min, max);
}

void KivWidget::setAxisScale(KivGraphWidget* graph, char axis, double min, double max)
{
    if (graph)
        graph->setAxisScale(axis, min, max);
}

void KivWidget::setAxisStyle(KivGraphWidget* graph, char axis, QFlags<KivAxisStyleFlag> style)
{
    if (graph)
        graph->setAxisStyle(axis, style);
}

void KivWidget::setAxisUnits(KivGraphWidget* graph, char axis, unsigned long units)
{
    if (graph && units <= static_cast<unsigned long>(INT_MAX))
        graph->setAxisUnits(axis, int(units));
}

void KivWidget::setAxisMinScale(KivGraphWidget* graph, char axis, double minScale)
{
    if (graph)
        graph->setAxisMinScale(axis, minScale);
}

void KivWidget::setBackgroundColor(KivGraphWidget* graph, unsigned long rgb)
{
    if (graph)
        graph->setBackgroundColor(QColor(QRgb(rgb)));
}

void KivWidget::setBackgroundColor(KivGraphWidget* graph, double red, double green, double blue)
{
    if (graph)
        graph->setBackgroundColor(red, green, blue);
}

void KivWidget::setGraphTitle(KivGraphWidget* graph, const QString& title)
{
    if (graph)
        graph->setTitle(title);
}

void KivWidget::setNoDataText(KivGraphWidget* graph, const QString& text)
{
    if (graph)
        graph->setNoDataText(text);
}

void KivWidget::setGraphText(KivGraphWidget* graph, const QString& text)
{
    if (graph)
        graph->setGraphText(text);
}

void KivWidget::setValidRange(KivGraphWidget* graph, double min, double max, const QString& text)
{
    if (graph)
        graph->setValidRange(min, max, text);
}

void KivWidget::setTime(KivGraphWidget* graph, double interval, double time)
{
    if (graph)
        graph->setTime(interval, time);
}

KivDataSet* KivWidget::addDataSet(KivGraphWidget* graph, unsigned long maxItemCount, const QColor& color,
                                  unsigned long style)
{
    if (!graph)
        return nullptr;
    KivDataSet* set = nullptr;
    {
        velo::LockReadWrite guard(d->structureLock);
        guard.lock(true);
        set = graph->addDataSet(style, color, maxItemCount);
    }
    checkForLegends();
    return set;
}

KivDataSet* KivWidget::addDataSet(KivGraphWidget* graph, unsigned long maxItemCount, unsigned int color,
                                  unsigned long style)
{
    return addDataSet(graph, maxItemCount, colorFromBgr(color), style);
}

KivDataSet* KivWidget::addDataSet(KivGraphWidget* graph, unsigned long maxItemCount, Qt::GlobalColor color,
                                  unsigned long style)
{
    return addDataSet(graph, maxItemCount, QColor(color), style);
}

void KivWidget::removeDataSet(KivGraphWidget* graph, KivDataSet* set)
{
    // A null set would make the graphs drop all their series.
    if (!set)
        return;
    {
        velo::LockReadWrite guard(d->structureLock);
        guard.lock(true);
        if (graph) {
            graph->removeDataSet(set);
        } else {
            for (KivGraphWidget* g : qAsConst(d->graphs))
                g->removeDataSet(set);
        }
    }
    checkForLegends();
}

void KivWidget::clear(KivGraphWidget* graph, KivDataSet* set, bool resetTime)
{
    d->applyToGraphOrSet(graph, set, [resetTime](auto* target) { target->clear(resetTime); });
    checkForLegends();
}

void KivWidget::setAddPosition(KivGraphWidget* graph, KivDataSet* set, bool back)
{
    d->applyToGraphOrSet(graph, set, [back](auto* target) { target->setAddPosition(back); });
}

void KivWidget::setScopeOffset(KivGraphWidget* graph, long offset)
{
    if (graph) {
        graph->setScopeOffset(offset);
        return;
    }
    for (KivGraphWidget* g : qAsConst(d->graphs))
        g->setScopeOffset(offset);
}

long KivWidget::getScopeOffset(KivGraphWidget* graph) const
{
    if (graph)
        return graph->scopeOffset();
    for (KivGraphWidget* g : qAsConst(d->graphs)) {
        const long offset = g->scopeOffset();
        if (offset != -1)
            return offset;
    }
    return -1;
}

void KivWidget::beginUpdate()
{
    for (KivGraphWidget* graph : qAsConst(d->graphs))
        graph->beginUpdate();
}

void KivWidget::endUpdate()
{
    for (KivGraphWidget* graph : qAsConst(d->graphs))
        graph->endUpdate();
}

void KivWidget::setDisplayUnits(bool imperial)
{
    for (KivGraphWidget* graph : qAsConst(d->graphs))
        graph->setDisplayUnits(imperial);
}

unsigned long KivWidget::getItemCount(KivDataSet* set) const
{
    return set ? set->getItemCount() : 0;
}

unsigned long KivWidget::getMaxItemCount(KivDataSet* set) const
{
    return set ? set->getMaxItemCount() : 0;
}

void KivWidget::setMaxItemCount(KivDataSet* set, unsigned long count)
{
    if (set)
        set->setMaxItemCount(count);
}

bool KivWidget::hasStyle(KivDataSet* set, unsigned long flags, unsigned long mask) const
{
    return set ? set->hasStyle(flags, mask) : false;
}

void KivWidget::setStyle(KivDataSet* set, QFlags<KivDataStyleFlag> style)
{
    if (!set)
        return;
    set->setStyle(static_cast<unsigned long>(style));
    // Two- and three-value series may carry a legend.
    if (style & KivDataStyleDimensionMask)
        checkForLegends();
}

void KivWidget::setColor(KivDataSet* set, unsigned long color)
{
    if (!set)
        return;
    set->setColor(colorFromBgr(color));
}

void KivWidget::setDataSetLabel(KivDataSet* set, const QString& label)
{
    if (!set)
        return;
    set->setLabel(label);
    checkForLegends();
}

void KivWidget::setDataSetCurrentValueLabel(KivDataSet* set, const QString& label)
{
    if (!set)
        return;
    set->setCurrentValueLabel(label);
    checkForLegends();
}

void KivWidget::addData(KivDataSet* set, double v)
{
    if (set)
        set->addData(v);
}

void KivWidget::addData(KivDataSet* set, double x, double y)
{
    if (set)
        set->addData(x, y);
}

void KivWidget::addData(KivDataSet* set, double x, double y, double z)
{
    if (set)
        set->addData(x, y, z);
}

void KivWidget::duplicateData(KivDataSet* set, unsigned long n)
{
    if (set)
        set->duplicateData(n);
}

VoVersion KivWidget::getVersion()
{
    VoVersion version;
    version.major = 2;
    version.minor = 6;
    version.revision = 4;
    version.build = 5678;
    version.repositoryRevision = 108182;
    // A view: the record owns nothing, so hosts may copy it freely.
    version.text.data = const_cast<char*>(versionText);
    version.text.length = sizeof(versionText) - 1;
    version.text.flags = VO_DATA_VIEW;
    return version;
}
