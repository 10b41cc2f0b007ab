#ifndef KIV_LABELCACHE_P_H
#define KIV_LABELCACHE_P_H

// Internal: not exported, not installed.

#include <QFont>
#include <QGlyphRun>
#include <QHash>
#include <QList>
#include <QRect>
#include <QString>

class QPainter;

/*!
 * \brief Axis labels laid out once and drawn from their glyphs in later frames.
 *
 * QPainter::drawText() lays out and shapes its text on every call, which costs far more
 * than drawing the glyphs; axis labels mostly stay the same from frame to frame. draw()
 * puts the glyphs where drawText(r, Qt::AlignLeft | Qt::AlignBottom, text) puts them and
 * clips to r where drawText would, so the pixels are the same. Texts that drawText breaks
 * into lines or tabs are passed on to it.
 */
class KivLabelCache
{
public:
    // The painter's font metrics' boundingRect(text).
    QRect boundingRect(QPainter *painter, const QString &text);
    // As painter->drawText(r, Qt::AlignLeft | Qt::AlignBottom, text).
    void draw(QPainter *painter, const QRect &r, const QString &text);

private:
    struct Label
    {
        QRect ink;
        QList<QGlyphRun> runs; // positioned from the top left of the line
        qreal width = 0.0;     // of the laid-out line, as drawText measures it
        qreal height = 0.0;
        bool laidOut = false;
    };
    Label &label(QPainter *painter, const QString &text);

    // Labels of the font they were laid out in; cleared when it changes, or when the
    // labels of a scrolling axis have filled it.
    static constexpr int MaxLabels = 512;
    QHash<QString, Label> m_labels;
    QFont m_font;
    int m_dpiX = 0, m_dpiY = 0;
};

#endif // KIV_LABELCACHE_P_H
