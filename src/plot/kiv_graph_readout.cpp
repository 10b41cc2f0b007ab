// The read-outs of the pointer in a graph's text layer: the zoom rectangle's corner values and
// the values under the measure cursor.

#include "kiv_graph_p.h"

#include "kiv_dataset.h"
#include "kiv_graphmapping_p.h"
#include "kivclamp_p.h"
#include "kivtimelabel_p.h"

#include <QFontMetrics>
#include <QPainter>

#include <algorithm>
#include <cfloat>
#include <cmath>

QString KivGraphPrivate::pointerValueText(int axis, double value) const
{
    // On a time series x is the sample window: show the sample position (or its time).
    const KivDataSet* first = dataSets.isEmpty() ? nullptr : dataSets.first();
    if (axis == 0 && first && first->dimensions() == 1 && first->getMaxItemCount() > 0) {
        const double index = q->calculateItemXIndex(*first, value);
        if (axes.at(0).style & KivAxisStyleTimeLabels)
            return kivtime::sampleTimeText(*first, index);
        return kivclamp::sampleNumber(index);
    }
    // One hundredth of the visible span decides the places, as the grid labels are written.
    const KivAxisInfo& info = axes.at(axis);
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
void KivGraphPrivate::drawZoomCornerLabels(QPainter* painter, const QPointF& a, const QPointF& b)
{
    QPointF topLeft;
    QPointF bottomRight;
    KivGraphMapping::orderedCorners(a, b, topLeft, bottomRight);
    const KivAxisInfo& x = axes.at(0);
    const KivAxisInfo& y = axes.at(1);
    velo::MatrixF<3, 2> view;
    view(0, 0) = x.scaleMin;
    view(0, 1) = x.scaleMax;
    view(1, 0) = y.scaleMin;
    view(1, 1) = y.scaleMax;
    view(2, 0) = axes.at(2).scaleMin;
    view(2, 1) = axes.at(2).scaleMax;
    const KivGraphMapping map(q->size());

    const QFontMetrics fm = painter->fontMetrics();
    for (int corner = 0; corner < 2; ++corner) {
        const QPointF pos = corner == 0 ? topLeft : bottomRight;
        const QPointF value = KivGraphMapping::graphPosToScalePoint(pos, view);
        const QString text =
            QString("%1,%2").arg(pointerValueText(0, value.x()), pointerValueText(1, value.y()));
        const QPoint at = map.graphPosToPoint(pos);
        const QSize size = fm.size(Qt::TextExpandTabs, text);
        int left = corner == 0 ? at.x() - size.width() : at.x();
        left = qBound(0, left, std::max(0, q->width() - size.width()));
        const int top =
            corner == 0 ? q->calcUpperLeftYBounds(painter, text, at) : q->calcLowerRightYBounds(painter, text, at);
        painter->drawText(QRect(QPoint(left, top), size), Qt::TextExpandTabs, text);
    }
}

// The sample position under the measure cursor and each series' value there, in a box beside
// the cursor line.
void KivGraphPrivate::drawMeasureText(QPainter* painter)
{
    const KivDataSet* first = dataSets.first();
    const long index = q->scopeOffset();
    if (index < 0)
        return;

    QString text = (axes.at(0).style & KivAxisStyleTimeLabels) ? kivtime::sampleTimeText(*first, double(index))
                                                               : kivclamp::sampleNumber(double(index));
    for (const KivDataSet* ds : qAsConst(dataSets)) {
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
    const KivAxisInfo& x = axes.at(0);
    const double dataX = -1.0 + index * 2.0 / n;
    const double graphX = x.scaleMax > x.scaleMin ? 2.0 * (dataX - x.scaleMin) / (x.scaleMax - x.scaleMin) - 1.0 : 0.0;
    const QPoint at = KivGraphMapping(q->size()).graphPosToPoint(QPointF(graphX, 1.0));

    const QSize size = painter->fontMetrics().size(Qt::TextExpandTabs, text);
    const int gap = 6;
    int left = at.x() + gap;
    if (left + size.width() > q->width())
        left = at.x() - gap - size.width();
    left = qBound(0, left, std::max(0, q->width() - size.width()));
    const QRect box(QPoint(left, gap), size);
    painter->fillRect(box.adjusted(-2, -1, 2, 1), QColor(255, 255, 255, 200));
    painter->setPen(QColor(0, 0, 0));
    painter->drawText(box, Qt::TextExpandTabs, text);
}
