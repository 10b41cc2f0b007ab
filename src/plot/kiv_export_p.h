#ifndef KIV_EXPORT_P_H
#define KIV_EXPORT_P_H

#include <QImage>
#include <QList>
#include <QRectF>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QVector>

class KivDataSet;
class KivGraph;
class QPainter;
class QWidget;

/*!
 * \brief Picture and CSV export behind the toImage()/saveImage()/toCsv() members of the
 * graphs, the graph widget and the panel.
 *
 * Pictures come from QWidget::render() with the OpenGL children drawing into their frame
 * buffers at the requested pixel ratio, so a never-shown widget renders as well.
 */
class KivExport
{
public:
    //! \a widget and its children at \a size (invalid: its own) and \a scale device pixels
    //! per pixel (0: the screen's ratio); a null image for a bad scale or an oversized picture.
    static QImage toImage(QWidget* widget, const QSize& size, qreal scale);
    //! PNG, JPEG, BMP by suffix, or PDF: one page of the picture's size in points.
    static bool saveImage(QWidget* widget, const QString& path, const QSize& size, qreal scale);
    //! The picture at the widget's size, drawn into \a target at the resolution it needs.
    static void renderTo(QWidget* widget, QPainter* painter, const QRectF& target);

    //! CSV text collected series by series, each in columns of its own.
    class Csv
    {
    public:
        //! Adds the series of \a graph (only \a only when not null), headers prefixed by \a prefix.
        void addGraph(KivGraph* graph, KivDataSet* only, const QString& prefix, bool visibleOnly);
        QString text() const;
        bool save(const QString& path) const;

    private:
        struct Series
        {
            QStringList headers;
            bool slotColumn = false; //!< the first column holds sample slots, written as integers
            QVector<double> cells;   //!< row-major, headers.size() per row; DBL_MAX is a gap
        };
        void addSeries(KivDataSet& ds, const QString& name, bool timeAxis, bool visibleOnly,
                       double xMin, double xMax);

        QList<Series> m_series;
    };

private:
    //! Sets the export pixel ratio of the OpenGL widgets among \a widget and its children
    //! (0 ends it) and lets them resize their frame buffers.
    static void setGlRatio(QWidget* widget, qreal ratio);
};

#endif // KIV_EXPORT_P_H
