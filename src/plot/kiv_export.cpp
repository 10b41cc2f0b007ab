#include "kiv_export_p.h"

#include "kiv_dataset.h"
#include "kiv_graph.h"
#include "kiv_graph3d.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QLayout>
#include <QPainter>
#include <QPdfWriter>
#include <QResizeEvent>
#include <QSaveFile>
#include <QWidget>

#include <cfloat>
#include <cmath>

namespace {

// Longest picture side in device pixels: frame buffers beyond it fail on common drivers.
const int MaxPixels = 8192;

QList<QOpenGLWidget*> glWidgets(QWidget* root)
{
    QList<QOpenGLWidget*> list;
    if (auto* gl = qobject_cast<QOpenGLWidget*>(root))
        list.append(gl);
    list.append(root->findChildren<QOpenGLWidget*>());
    return list;
}

QString csvField(const QString& text)
{
    if (!text.contains(QLatin1Char(',')) && !text.contains(QLatin1Char('"'))
        && !text.contains(QLatin1Char('\n')) && !text.contains(QLatin1Char('\r')))
        return text;
    QString quoted = text;
    quoted.replace(QLatin1String("\""), QLatin1String("\"\""));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

} // namespace

void KivExport::setGlRatio(QWidget* widget, qreal ratio)
{
    for (QOpenGLWidget* gl : glWidgets(widget)) {
        const qreal before = gl->devicePixelRatioF();
        if (auto* graph = qobject_cast<KivGraph*>(gl))
            graph->setExportRatio(ratio);
        else if (auto* view = qobject_cast<KivGraph3D*>(gl))
            view->setExportRatio(ratio);
        else
            continue;
        // A resize event is what makes a QOpenGLWidget size its frame buffer anew.
        if (gl->devicePixelRatioF() != before) {
            QResizeEvent event(gl->size(), gl->size());
            QCoreApplication::sendEvent(gl, &event);
        }
    }
}

QImage KivExport::toImage(QWidget* widget, const QSize& size, qreal scale)
{
    if (!widget)
        return QImage();
    if (scale == 0.0)
        scale = widget->devicePixelRatioF();
    const QSize old = widget->size();
    const QSize want = size.isValid() ? size : old;
    if (!(scale > 0.0) || want.isEmpty() || !(want.width() * scale <= MaxPixels)
        || !(want.height() * scale <= MaxPixels))
        return QImage();

    const bool resize = want != old;
    if (resize) {
        widget->resize(want);
        if (widget->layout())
            widget->layout()->activate();
    }
    setGlRatio(widget, scale);
    // Automatic scaling works on the extents of the frame before; a first frame lets a
    // graph that was never drawn, or has new data, settle.
    for (QOpenGLWidget* gl : glWidgets(widget)) {
        if (qobject_cast<KivGraph*>(gl))
            gl->grabFramebuffer();
    }

    QImage image(want * scale, QImage::Format_ARGB32_Premultiplied);
    if (!image.isNull()) {
        image.setDevicePixelRatio(scale);
        image.fill(widget->palette().color(widget->backgroundRole()));
        widget->render(&image);
    }

    setGlRatio(widget, 0.0);
    if (resize) {
        widget->resize(old);
        if (widget->layout())
            widget->layout()->activate();
    }
    return image;
}

bool KivExport::saveImage(QWidget* widget, const QString& path, const QSize& size, qreal scale)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    const bool pdf = suffix == QLatin1String("pdf");
    const bool jpeg = suffix == QLatin1String("jpg") || suffix == QLatin1String("jpeg");
    if (!pdf && !jpeg && suffix != QLatin1String("png") && suffix != QLatin1String("bmp"))
        return false;
    QImage image = toImage(widget, size, scale);
    if (image.isNull())
        return false;
    if (!pdf) {
        if (suffix != QLatin1String("png"))
            image = image.convertToFormat(QImage::Format_RGB32);
        return image.save(path, jpeg ? "JPEG" : suffix.toUpper().toLatin1().constData());
    }

    // One point per logical pixel; the page holds the picture at its full resolution.
    const QSizeF points = QSizeF(image.size()) / image.devicePixelRatio();
    QPdfWriter writer(path);
    writer.setCreator(QStringLiteral("Kiv"));
    writer.setPageSize(QPageSize(points, QPageSize::Point, QString(), QPageSize::ExactMatch));
    writer.setPageMargins(QMarginsF(0, 0, 0, 0));
    QPainter painter;
    if (!painter.begin(&writer))
        return false;
    painter.drawImage(QRectF(0, 0, writer.width(), writer.height()), image);
    return painter.end();
}

void KivExport::renderTo(QWidget* widget, QPainter* painter, const QRectF& target)
{
    if (!widget || !painter || !painter->isActive() || widget->width() <= 0 || widget->height() <= 0
        || !(target.width() > 0.0) || !(target.height() > 0.0))
        return;
    // As many pixels as the target covers on the painter's device, within the export bound.
    const QRectF device = painter->deviceTransform().mapRect(target);
    const qreal needed = std::max(device.width() / widget->width(), device.height() / widget->height());
    const qreal bound = qreal(MaxPixels) / std::max(widget->width(), widget->height());
    const QImage image = toImage(widget, QSize(), std::min(std::max(needed, 1.0), bound));
    painter->drawImage(target, image);
}

void KivExport::Csv::addGraph(KivGraph* graph, KivDataSet* only, const QString& prefix, bool visibleOnly)
{
    if (!graph)
        return;
    double xMin = 0.0;
    double xMax = 0.0;
    graph->getAxisScale('x', xMin, xMax);
    const bool timeAxis = (graph->axisInfo(0).style & KivAxisStyleTimeLabels) != 0;
    for (int i = 0; i < graph->dataSetCount(); ++i) {
        KivDataSet* ds = graph->dataSet(i);
        if (only && ds != only)
            continue;
        const QString name = ds->hasLabel() ? ds->getLabel() : QStringLiteral("series %1").arg(i + 1);
        addSeries(*ds, prefix + name, timeAxis, visibleOnly, xMin, xMax);
    }
}

// One-value samples are placed by slot as the drawing places them: slot k of the oldest
// first, or in scope mode from the cursor slot on, wrapping at the maximum item count.
void KivExport::Csv::addSeries(KivDataSet& ds, const QString& name, bool timeAxis, bool visibleOnly,
                               double xMin, double xMax)
{
    long offset = -1;
    const QVector<double> values = ds.snapshot(&offset);
    const int dims = ds.dimensions();
    const quint64 count = quint64(values.size()) / quint64(dims);
    Series s;
    if (dims == 1) {
        s.headers << name + (timeAxis ? QStringLiteral(" time") : QStringLiteral(" sample")) << name;
        s.slotColumn = !timeAxis;
        const quint64 max = ds.getMaxItemCount();
        quint64 slotCount = max > 0 ? max : count;
        if (!ds.hasStyle(KivDataStyleBar, KivDataStyleShapeMask))
            slotCount = slotCount > 1 ? slotCount - 1 : 1;
        const bool scope = max > 0 && ds.hasStyle(KivDataStyleScope, 0x103);
        const quint64 cursor = scope && offset >= 0 && quint64(offset) < slotCount ? quint64(offset) : 0;
        s.cells.reserve(int(2 * count));
        for (quint64 k = 0; k < count; ++k) {
            const quint64 slot = scope ? (cursor + k) % max : k;
            const double x = -1.0 + double(slot) * 2.0 / double(slotCount);
            if (visibleOnly && (x < xMin || x > xMax))
                continue;
            s.cells << (timeAxis ? ds.getItemTime(int(count - k)) : double(slot)) << values[int(k)];
        }
    } else {
        const char* axes[] = { " x", " y", " z" };
        for (int a = 0; a < dims; ++a)
            s.headers << name + QLatin1String(axes[a]);
        s.cells.reserve(values.size());
        for (int k = 0; k + dims <= values.size(); k += dims) {
            if (visibleOnly && (values[k] < xMin || values[k] > xMax))
                continue;
            for (int a = 0; a < dims; ++a)
                s.cells << values[k + a];
        }
    }
    m_series.append(s);
}

QString KivExport::Csv::text() const
{
    QStringList fields;
    int rows = 0;
    for (const Series& s : m_series) {
        for (const QString& h : s.headers)
            fields << csvField(h);
        rows = std::max(rows, s.cells.size() / s.headers.size());
    }
    QString out = fields.join(QLatin1Char(',')) + QLatin1Char('\n');
    for (int r = 0; r < rows; ++r) {
        bool firstField = true;
        for (const Series& s : m_series) {
            const int columns = s.headers.size();
            for (int c = 0; c < columns; ++c) {
                if (!firstField)
                    out += QLatin1Char(',');
                firstField = false;
                const int i = r * columns + c;
                if (i >= s.cells.size() || s.cells[i] == DBL_MAX)
                    continue;
                if (c == 0 && s.slotColumn)
                    out += QString::number(qint64(s.cells[i]));
                else
                    out += QString::number(s.cells[i], 'g', 17);
            }
        }
        out += QLatin1Char('\n');
    }
    return out;
}

bool KivExport::Csv::save(const QString& path) const
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text))
        return false;
    file.write(text().toUtf8());
    return file.commit();
}
