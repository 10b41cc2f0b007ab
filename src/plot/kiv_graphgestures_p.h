#ifndef KIV_GRAPHGESTURES_P_H
#define KIV_GRAPHGESTURES_P_H

#include "kiv_graph.h"
#include "kiv_graphmapping_p.h"

#include <QMap>

#include <utility>

/*!
 * \brief The pointer handling of a KivGraph: one gesture record per mouse button, turning
 * pans, rubber bands, double clicks and wheel steps into new visible x and y ranges, and the
 * measure cursor that moves a time series' scope offset.
 *
 * Works in the graph's coordinate mapping and on its axis list; the painter only reads
 * overlay() to show what a gesture is doing.
 */
class KivGraphGestures
{
public:
    //! What the painter shows for the gesture under way.
    struct Overlay {
        enum Kind {
            None,          //!< no gesture feedback
            ZoomRectangle, //!< the rectangle between startPos and endPos
            PanArrow       //!< an arrow from endPos back to startPos
        };
        Kind kind = None;
        QPointF startPos;
        QPointF endPos;
        bool horizontalSliderDragged = false;
        bool verticalSliderDragged = false;
        //! The measure cursor holds a scope offset: show the values under it.
        bool measureReadout = false;
    };

    KivGraphGestures(KivGraph& graph, QList<KivAxisInfo>& axes);

    KivGraph::PanZoomInfo& record(Qt::MouseButton button);
    const KivGraph::PanZoomInfo& record(Qt::MouseButton button) const;

    std::pair<bool, Qt::MouseButton> buttonDown() const;
    bool horizontalSliderActive() const;
    bool verticalSliderActive() const;
    bool onHorizontalSlider(const QPoint& p, const velo::MatrixF<3, 2>& fullExtent) const;
    bool onVerticalSlider(const QPoint& p, const velo::MatrixF<3, 2>& fullExtent) const;

    void press(Qt::MouseButton button, const QPoint& p);
    void release(Qt::MouseButton button, const QPoint& p);
    void move(Qt::MouseButton button, const QPoint& p);
    void doubleClick(Qt::MouseButton button, const QPoint& p);
    //! False when the wheel is not for the graph (outside the zoom mode).
    bool wheel(const QPoint& p, int delta);
    //! Gives the scope offset saved by the measure cursor back.
    void leave();
    //! The scope offset was set from outside; there is nothing to give back any more.
    void forgetSavedScopeOffset();

    void autoZoomRect(const QPointF& centre, QPointF& topLeft, QPointF& bottomRight, double zoomX,
                      double zoomY) const;
    void updateZoomRectangle(const QPointF& centre, KivGraph::PanZoomInfo& r, double zoomX, double zoomY);
    void processZoomRectangle(const QPointF& topLeft, const QPointF& bottomRight, KivGraph::ZoomMode::Type mode,
                              KivGraph::ScaleInfo& info) const;
    void applyPanLimits(const velo::MatrixF<3, 2>& fullExtent, QList<KivAxisInfo>& axes) const;

    Overlay overlay() const;

private:
    KivGraphMapping mapping() const;
    //! A zoom while all samples are shown keeps the sample window and zooms y only.
    bool zoomSpansAllSamples() const;
    void moveGesture(Qt::MouseButton button, KivGraph::PanZoomInfo& r, const QPoint& p);
    void moveMeasureCursor(const QPoint& p);
    //! Applies the rectangle of \a r to the visible range, zooming in or out.
    void zoomTo(const KivGraph::PanZoomInfo& r, KivGraph::ZoomMode::Type mode);

    KivGraph& m_graph;
    QList<KivAxisInfo>& m_axes;
    QMap<Qt::MouseButton, KivGraph::PanZoomInfo> m_records;
    //! Scope offset saved while the measure cursor moves it; -2 when nothing is saved.
    int m_savedScopeOffset = -2;
    //! The measure cursor follows the pointer only while this is non-zero.
    int m_measureTracking = 1;
};

#endif // KIV_GRAPHGESTURES_P_H
