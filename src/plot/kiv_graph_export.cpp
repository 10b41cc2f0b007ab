#include "kiv_graph.h"
#include "kiv_graph_p.h"
#include "kiv_export_p.h"

#include <QOpenGLPaintDevice>
#include <QPainter>

QImage KivGraph::toImage(const QSize& size, qreal scale)
{
    return KivExport::toImage(this, size, scale);
}

bool KivGraph::saveImage(const QString& path, const QSize& size, qreal scale)
{
    return KivExport::saveImage(this, path, size, scale);
}

void KivGraph::renderTo(QPainter* painter, const QRectF& target)
{
    KivExport::renderTo(this, painter, target);
}

QString KivGraph::toCsv(KivDataSet* series, bool visibleOnly)
{
    if (series && !hasDataSet(series))
        return QString();
    KivExport::Csv csv;
    csv.addGraph(this, series, QString(), visibleOnly);
    return csv.text();
}

bool KivGraph::saveCsv(const QString& path, KivDataSet* series, bool visibleOnly)
{
    if (series && !hasDataSet(series))
        return false;
    KivExport::Csv csv;
    csv.addGraph(this, series, QString(), visibleOnly);
    return csv.save(path);
}

void KivGraph::setExportRatio(qreal ratio)
{
    d->exportRatio = ratio;
}

int KivGraph::metric(PaintDeviceMetric metric) const
{
    if (d->exportRatio > 0.0) {
        if (metric == PdmDevicePixelRatio)
            return qRound(d->exportRatio);
        if (metric == PdmDevicePixelRatioScaled)
            return qRound(d->exportRatio * devicePixelRatioFScale());
    }
    return QOpenGLWidget::metric(metric);
}

void KivGraph::beginFramePainter(QPainter& painter)
{
    const qreal ratio = devicePixelRatioF();
    // A device per frame: it binds to the context current now, and the widget gets a new
    // context whenever it moves to another window.
    d->frameDevice.reset(new QOpenGLPaintDevice(size() * ratio));
    d->frameDevice->setDevicePixelRatio(ratio);
    // Text keeps the size it has on the widget.
    d->frameDevice->setDotsPerMeterX(logicalDpiX() / 0.0254);
    d->frameDevice->setDotsPerMeterY(logicalDpiY() / 0.0254);
    painter.begin(d->frameDevice.get());
    painter.setFont(font());
    painter.setPen(QPen(palette().brush(foregroundRole()), 1.0));
    painter.setBackground(palette().brush(backgroundRole()));
}
