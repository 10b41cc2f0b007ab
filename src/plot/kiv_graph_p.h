#ifndef KIV_GRAPH_P_H
#define KIV_GRAPH_P_H

#include "kiv_graph.h"
#include "kiv_graphgestures_p.h"
#include "kiv_labelcache_p.h"

#include <QAtomicInt>
#include <QElapsedTimer>
#include <QOpenGLPaintDevice>

class KivUpdateRelay;

/*!
 * \brief The state of a KivGraph, and the parts of its text layer that need no override.
 */
class KivGraphPrivate
{
public:
    static constexpr int AxisCount = 3;

    explicit KivGraphPrivate(KivGraph* graph);

    //! The first data set while the x axis is its sample window, else null.
    const KivDataSet* timeSeriesWindow() const;
    //! The window's samples are categories: one label per cell, no vertical grid lines.
    bool hasCategories() const;

    // Text layer, drawn by KivGraph::drawForeground().
    void drawForegroundLabels(QPainter* painter, const velo::MatrixF<3, 2>& box);
    void drawCategoryLabels(QPainter* painter);
    //! The data values of the zoom rectangle's corners a and b, kept inside the widget.
    void drawZoomCornerLabels(QPainter* painter, const QPointF& a, const QPointF& b);
    //! The sample position under the measure cursor and each series' value there.
    void drawMeasureText(QPainter* painter);
    //! Text of a visible x or y value for the pointer read-outs.
    QString pointerValueText(int axis, double value) const;

    KivGraph* const q;

    struct UpdateThrottle {
        qint64 intervalMs = 25;
        QElapsedTimer timer;
        bool force = false; //!< lets the next request through regardless of the interval
    };
    UpdateThrottle throttle;
    //! Brings producers' repaint requests to this thread, one pending call at a time.
    KivUpdateRelay* relay = nullptr;

    QList<KivAxisInfo> axes;
    QList<KivDataSet*> dataSets;
    KivAutoScaleMethod autoScaleMethod = KivNoAutoScale;
    bool frozen = false;
    KivGraph::ControlState controlState = KivGraph::ControlNone;
    bool equalAxes = false;
    bool heightBasedGrid = true; //!< grid steps follow the widget size
    char lastAxisSet = 0;
    int axisLink = 0;
    QColor backgroundColor;
    QAtomicInt painting;
    QString noDataText;
    QString validRangeText;
    QString graphText;
    double validMin = 0.0;
    double validMax = 0.0;
    bool imperial = false;
    bool updateRequested = false;
    bool inUpdate = false;
    bool showAllSamples = false;
    bool showMeasure = false;

    //! Device pixel ratio of an export under way; 0 outside exports.
    qreal exportRatio = 0.0;
    std::unique_ptr<QOpenGLPaintDevice> frameDevice;
    KivLabelCache axisLabels;

    KivGraphGestures gestures;
};

#endif // KIV_GRAPH_P_H
