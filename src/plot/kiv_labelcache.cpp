#include "kiv_labelcache_p.h"

#include <QFontMetrics>
#include <QPaintDevice>
#include <QPainter>
#include <QTextLayout>

KivLabelCache::Label &KivLabelCache::label(QPainter *painter, const QString &text)
{
    const QFont font = painter->font();
    const QPaintDevice *device = painter->device();
    if (font != m_font || device->logicalDpiX() != m_dpiX || device->logicalDpiY() != m_dpiY
        || m_labels.size() >= MaxLabels) {
        m_labels.clear();
        m_font = font;
        m_dpiX = device->logicalDpiX();
        m_dpiY = device->logicalDpiY();
    }
    auto it = m_labels.find(text);
    if (it == m_labels.end()) {
        it = m_labels.insert(text, Label());
        it->ink = painter->fontMetrics().boundingRect(text);
    }
    return *it;
}

QRect KivLabelCache::boundingRect(QPainter *painter, const QString &text)
{
    return label(painter, text).ink;
}

void KivLabelCache::draw(QPainter *painter, const QRect &r, const QString &text)
{
    if (text.isEmpty() || text.contains(QLatin1Char('\n')) || text.contains(QLatin1Char('\t'))) {
        painter->drawText(r, Qt::AlignLeft | Qt::AlignBottom, text);
        return;
    }
    Label &l = label(painter, text);
    if (!l.laidOut) {
        // The layout drawText makes of one line: unbounded width, left aligned, in the
        // painter's direction, the line at the top.
        QTextLayout layout(text, painter->font(), painter->device());
        QTextOption option(Qt::AlignLeft);
        option.setTextDirection(painter->layoutDirection());
        option.setFlags(QTextOption::IncludeTrailingSpaces);
        layout.setTextOption(option);
        layout.setCacheEnabled(true);
        layout.beginLayout();
        QTextLine line = layout.createLine();
        line.setLineWidth(0x01000000);
        line.setPosition(QPointF(0.0, 0.0));
        layout.endLayout();
        l.width = line.naturalTextWidth();
        l.height = line.ascent() + line.descent();
        l.runs = layout.glyphRuns();
        l.laidOut = true;
    }
    const QPointF at(r.x(), r.y() + r.height() - l.height);
    const bool clip = !QRectF(r).contains(QRectF(at, QSizeF(l.width, l.height)));
    if (clip) {
        painter->save();
        painter->setClipRect(r, Qt::IntersectClip);
    }
    for (const QGlyphRun &run : l.runs)
        painter->drawGlyphRun(at, run);
    if (clip)
        painter->restore();
}
