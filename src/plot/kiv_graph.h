#ifndef KIV_GRAPH_H
#define KIV_GRAPH_H

#include "kiv_global.h"
#include "kiv_axisinfo.h"
#include "velo_matrix.h"

#include <QColor>
#include <QImage>
#include <QList>
#include <QOpenGLFunctions>
#include <QOpenGLWidget>
#include <QPoint>
#include <QPointF>
#include <QString>

#include <memory>
#include <utility>
#include <vector>

class KivDataSet;
class KivExport;
class KivGraphGestures;
class KivGraphPrivate;
class QPainter;

/*!
 * \brief OpenGL plot of live data series in a 2D graph space.
 *
 * The graph owns its data sets. Producers may add samples to them from any thread; each
 * series asks for a repaint, and the graph lets at most one request through every 25 ms.
 * Every paint rescales the axes by the auto-scale method, draws grid and series with
 * OpenGL and writes the labels with a QPainter on top.
 */
class KIV_EXPORT KivGraph : public QOpenGLWidget, private QOpenGLFunctions
{
    Q_OBJECT
    Q_PROPERTY(QString noDataText READ noDataText WRITE setNoDataText)

public:
    //! What a drag with the pointer does.
    enum ControlState {
        ControlNone = 0, //!< nothing; moves drive the measure cursor
        ControlZoom = 1, //!< drags draw a zoom rectangle; double click and wheel zoom
        ControlPan = 2   //!< drags move the visible range or a scroll-bar slider
    };
    Q_ENUM(ControlState)

    struct ZoomMode {
        enum Type {
            ZoomIn = 0, //!< the rectangle becomes the visible range
            ZoomOut = 1 //!< the visible range is mapped into the rectangle
        };
    };

    //! Visible x and y ranges to apply.
    struct ScaleInfo {
        double xMin = 0.0;
        double xMax = 0.0;
        double yMin = 0.0;
        double yMax = 0.0;
    };

    //! State of one mouse button's gesture.
    struct PanZoomInfo {
        QPoint startPoint;          //!< widget point of the press or of the last pan step
        QPoint endPoint;            //!< widget point of the latest pointer position
        QPointF startPos;           //!< graph position of startPoint, clamped
        QPointF endPos;             //!< graph position of endPoint, clamped
        bool active = false;        //!< the button is down and the gesture runs
        bool horizontalSlider = false; //!< the press hit the horizontal scroll-bar slider
        bool verticalSlider = false;   //!< the press hit the vertical scroll-bar slider
        bool autoZoom = false;      //!< double-click zoom: a fixed-factor rectangle following the pointer
        QPointF lastPos;            //!< graph position at the previous pan step
        double zoomFactorX = 2.0;
        double zoomFactorY = 2.0;

        //! The pointer moved in both directions since the press.
        bool validZoom() const;
    };

    explicit KivGraph(QWidget* parent = nullptr);
    ~KivGraph() override;

    // ---- Data sets; the graph owns them ----
    KivDataSet* addDataSet(unsigned long style, const QColor& color, unsigned long maxItemCount);
    //! Deletes \a ds when the graph holds it; null deletes every data set.
    void removeDataSet(KivDataSet* ds);
    //! Null when \a i is not below dataSetCount().
    KivDataSet* dataSet(int i) const;
    int dataSetCount() const;
    bool hasDataSet(KivDataSet* ds) const;
    //! True when there is no data set or none holds a sample.
    bool isEmpty() const;
    //! True when a data set has a label.
    bool hasLegend() const;
    //! Values per sample of the first data set, 0 without data sets.
    int dimensions() const;

    bool isFrozen() const;
    void setTime(double interval, double time);
    void getTime(double& interval, double& time) const;

    //! Moves the view window end of every data set; returns the first previous offset not -1.
    long setScopeOffset(long offset);
    long setScopeOffset_imp(long offset);
    long scopeOffset() const;

    // ---- Display state ----
    void setBackgroundColor(double r, double g, double b);
    //! 0xRRGGBB; higher bits are ignored.
    void setBackgroundColor(unsigned long rgb);
    QColor backgroundColor() const;
    void setNoDataText(const QString& text);
    QString noDataText() const;
    void setGraphText(const QString& text);
    QString graphText() const;
    //! Tints the y ranges outside min..max and shows \a text while data leaves it.
    void setValidRange(double min, double max, const QString& text);
    void setAxisLink(int link);
    int axisLink() const;
    bool isImperialDisplay() const;
    bool isMeasureShown() const;

    ControlState getControlState() const;
    bool isZooming() const;
    bool isPanning() const;
    KivAutoScaleMethod getAutoScaleMethod() const;
    bool isEqualAxesEnabled() const;
    bool isShowingAllSamples() const;

    // ---- Update cycle ----
    //! Batch changes; endUpdate() repaints once.
    void beginUpdate();
    void endUpdate();
    bool isInUpdate() const;

    //! True while paintGL draws the series; safe to read from any thread.
    bool isPainting() const;
    //! A repaint was requested and no frame has been drawn since.
    bool isUpdateRequested() const;

    // ---- Axes and scaling. An identifier other than x, y, z (either case) addresses all three axes ----
    void setAxisLabel(char axis, const char* text);
    void setAxisStyle(char axis, unsigned long style);
    void setAxisUnits(char axis, unsigned long units);
    void setAxisMinScale(char axis, double span);
    void setAxisLimits(char axis, double a, double b);
    void setAxisScale(char axis, double a, double b);
    void getAxisScale(char axis, double& min, double& max) const;
    //! The record of axis 0, 1 or 2.
    const KivAxisInfo& axisInfo(int i) const;
    //! Identifier of the axis whose scale or minimum scale was set last, 0 at first.
    char lastAxisSet() const;

    //! The per-frame scaling pass of the auto-scale method.
    void recalculateScales(QList<KivAxisInfo>& axes);
    //! Holds one axis inside its limits and minimum span.
    void applyScaleBounds(KivAxisInfo& axis) const;
    //! Sets the x and y scales from \a info as given, then applies the limits.
    void applyScaleLimits(const KivGraph::ScaleInfo& info, QList<KivAxisInfo>& axes);
    //! Union of the newest extents of the visible, non-empty data sets; zeros without one.
    velo::MatrixF<3, 2> calculateMinMaxScales() const;
    //! Sample index of a normalised x position in a time-series window.
    double calculateItemXIndex(const KivDataSet& ds, double x) const;

    // ---- Widget pixels <-> graph space (-1..1) <-> data units of a scale box ----
    void pointToGraphPos(const QPoint& p, QPointF& pos, bool clamp) const;
    void graphPosToPoint(const QPointF& pos, QPoint& p) const;
    QPointF clampPos(const QPointF& pos) const;
    bool posValid(const QPointF& pos) const;
    bool rectValid(const QPointF& topLeft, const QPointF& bottomRight) const;
    void graphPosToScalePoint(const QPointF& pos, const velo::MatrixF<3, 2>& box, QPointF& out) const;
    void scalePointToGraphPos(const QPointF& s, const velo::MatrixF<3, 2>& box, QPointF& out) const;

    // ---- Pointer gestures, public so that a host can drive them without Qt events ----
    //! The record of \a button; a default one is created on first use.
    PanZoomInfo& getPanZoomInfo(Qt::MouseButton button);
    //! The record of \a button, or a default record for a button never pressed.
    const PanZoomInfo& getPanZoomInfo(Qt::MouseButton button) const;

    //! (true, button) while a gesture runs, the left button first; else (false, Qt::NoButton).
    std::pair<bool, Qt::MouseButton> isMouseButtonDown() const;
    bool isHorizontalScrollBarSliderActive() const;
    bool isVerticalScrollBarSliderActive() const;
    bool isPointOnHorizontalScrollBarSlider(const QPoint& p, const velo::MatrixF<3, 2>& fullExtent) const;
    bool isPointOnVerticalScrollBarSlider(const QPoint& p, const velo::MatrixF<3, 2>& fullExtent) const;

    void handleMouseDown(Qt::MouseButton button, const QPoint& p);
    void handleMouseUp(Qt::MouseButton button, const QPoint& p);
    void handleMouseMove(Qt::MouseButton button, const QPoint& p);
    void handleMouseDoubleClick(Qt::MouseButton button, const QPoint& p);
    void calculateAutoZoomRect(const QPointF& centre, QPointF& topLeft, QPointF& bottomRight,
                               double zoomX, double zoomY) const;
    void updateZoomRectangle(const QPointF& centre, KivGraph::PanZoomInfo& r, double zoomX, double zoomY);
    void processZoomRectangle(const QPointF& topLeft, const QPointF& bottomRight,
                              KivGraph::ZoomMode::Type mode, KivGraph::ScaleInfo& info);
    //! Snaps visible ends that lie on the full extent's 3 % margin onto it.
    void applyPanLimits(const velo::MatrixF<3, 2>& fullExtent, QList<KivAxisInfo>& axes);

    // ---- Painting ----
    //! Time label of sample position \a x of a time series.
    QString generateTimeString(const KivDataSet& ds, double x) const;
    bool isHorizontalScrollbarVisible(const velo::MatrixF<3, 2>& box) const;
    bool isVerticalScrollbarVisible(const velo::MatrixF<3, 2>& box) const;

public slots:
    void setAutoScaleMethod(KivAutoScaleMethod autoScaleMethod);
    void freeze(bool enabled);
    void setEqualAxes(bool checked);
    //! Clears every data set and repaints at once.
    void clear(bool clearTime);
    //! Always emits controlStateChanged(), also when the state does not change.
    void setControlState(KivGraph::ControlState state);
    void setAddPosition(bool back);
    //! The time display mode belongs to each data set; kept for the tool bar's connection.
    void setTimeMode(int tm);
    void showAllSamples(bool enabled);
    void showMeasure(bool enabled);
    //! Repaints unless a request passed less than 25 ms ago; dropped requests are not deferred.
    void scheduleUpdate();
    //! Follows another graph's x range when the axis link is on.
    void setLinkedAxisScale(char axis, double min, double max);
    void setDisplayUnits(bool imperial);

public:
    // ---- Export, on the GUI thread. An invalid size means the graph's own size; a scale of
    // 0 means the screen's device pixel ratio. Works on a graph that was never shown ----
    //! The picture as drawn, tick labels included, at \a size logical pixels times \a scale.
    QImage toImage(const QSize& size = QSize(), qreal scale = 0.0);
    //! PNG, JPEG or BMP by the suffix of \a path, or PDF (one page holding the raster
    //! picture). False for another suffix or when the file cannot be written.
    bool saveImage(const QString& path, const QSize& size = QSize(), qreal scale = 0.0);
    //! Draws the picture at the graph's size into \a target of \a painter's device.
    void renderTo(QPainter* painter, const QRectF& target);
    /*!
     * The samples of \a series (null: of every series) as CSV, a header row of series labels
     * first: per series the position each sample is drawn at (sample slot, time in seconds
     * when the x axis shows time, or x) and one column per value; gaps are empty cells.
     * \a visibleOnly keeps the samples whose x lies in the visible x range. Moves queued
     * samples in as a frame does, reading under each series' lock, so producers may keep
     * adding. GUI thread; empty for a series the graph does not hold.
     */
    QString toCsv(KivDataSet* series = nullptr, bool visibleOnly = false);
    bool saveCsv(const QString& path, KivDataSet* series = nullptr, bool visibleOnly = false);

signals:
    void controlStateChanged(int controlState);
    void panning(Qt::MouseButton mb, int dx_pixels, int dy_pixels, double dx_graph, double dy_graph);

protected slots:
    void updateGridScale(QList<KivAxisInfo>& axes);
    void applyScaleLimits(QList<KivAxisInfo>& axes);

protected:
    // Pointer events go to the gestures.
    void mousePressEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void mouseDoubleClickEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void wheelEvent(QWheelEvent* e) override;
    void leaveEvent(QEvent* e) override;

    void initializeGL() override;
    void resizeGL(int w, int h) override;
    void paintGL() override;

    // Drawing hooks of a frame: the first two draw with OpenGL only (null painter).
    virtual void drawBackground(QPainter* painter);
    virtual void drawAfterGraphs(QPainter* painter);
    virtual void drawForeground(QPainter* painter);

    void drawGraph(QPainter* painter);
    void drawHorizontalScrollBar(const velo::MatrixF<3, 2>& box);
    void drawVerticalScrollBar(const velo::MatrixF<3, 2>& box);
    void drawSelectionRectangle(const QPointF& a, const QPointF& b);
    void drawPanArrow(const QPointF& from, const QPointF& to);
    void drawArrow(const QPointF& at, const std::vector<QPointF>& shape);
    //! Arrow head outline in pixels pointing along \a direction (0 right, 1 up, 2 left, 3 down).
    void generateArrow(int direction, std::vector<QPointF>& shape) const;
    //! Top of a label box standing on \a at (above it), moved down to stay inside the widget.
    int calcUpperLeftYBounds(QPainter* painter, const QString& text, const QPoint& at) const;
    //! Top of a label box hanging from \a at (below it), moved up to stay inside the widget.
    int calcLowerRightYBounds(QPainter* painter, const QString& text, const QPoint& at) const;

    //! Repaints now, bypassing the throttle.
    void forceScheduleUpdate();

    //! Reports the export's pixel ratio while an export renders.
    int metric(PaintDeviceMetric metric) const override;
    //! Opens \a painter on the frame being drawn, set up as a painter on the widget would be.
    //! Painting on the widget itself would go to the target of a grab() or render() instead.
    void beginFramePainter(QPainter& painter);

private:
    friend class KivExport;
    friend class KivGraphGestures;
    friend class KivGraphPrivate;

    //! Pixel ratio of an export under way; 0 ends it.
    void setExportRatio(qreal ratio);

    std::unique_ptr<KivGraphPrivate> const d;
};

#endif // KIV_GRAPH_H
