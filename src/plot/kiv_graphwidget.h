#ifndef KIV_GRAPHWIDGET_H
#define KIV_GRAPHWIDGET_H

#include "kiv_global.h"
#include "kiv_axisinfo.h"
#include "kivcontrolinterface.h"
#include "kivlegend.h"

#include <QColor>
#include <QImage>
#include <QWidget>

#include <memory>

class QPainter;
class QPoint;
class QPointF;
class QWheelEvent;
class KivDataSet;
class KivGraph;
class KivGraphWidgetPrivate;

/*!
 * \brief The widget a host places on a form: one graph with a title, a tilted y-axis label,
 * an x-axis label and a legend with a visibility box per series.
 *
 * It forwards the graph's data and axis operations and implements the control operations that
 * a KivToolBar drives (see connectToolbarToGraph()); each control has a change-allowed flag.
 */
class KIV_EXPORT KivGraphWidget : public QWidget, public KivControlInterface
{
    Q_OBJECT
    // The settings a form designer sets; uic writes them through set<Name>().
    Q_PROPERTY(QString title READ title WRITE setTitle)
    Q_PROPERTY(QString xLabel READ xLabel WRITE setXLabel)
    Q_PROPERTY(QString yLabel READ yLabel WRITE setYLabel)
    Q_PROPERTY(bool legendChecked READ isLegendChecked WRITE setLegendChecked)
    Q_PROPERTY(bool freezeChecked READ isFreezeChecked WRITE setFreezeChecked)
    Q_PROPERTY(int autoScale READ autoScale WRITE setAutoScale)

public:
    explicit KivGraphWidget(QWidget* parent = nullptr);
    ~KivGraphWidget() override;

    KivGraph* graph() const;
    KivLegend* legend() const;

    //! Rebuilds the grid around the graph for the legend placement \a layout.
    void setLegendLayout(KivLegendLayout layout);

    //! The title is shown exactly when \a title is not empty.
    void setTitle(const QString& title);
    QString title() const;
    QString xLabel() const;
    QString yLabel() const;
    //! 'x' or 'y' (either case) sets that axis label; other axes have none.
    void setAxisLabel(char axis, const QString& label);

    // Export of the whole widget (title, labels, legend, graph); see KivGraph::toImage().
    QImage toImage(const QSize& size = QSize(), qreal scale = 0.0);
    bool saveImage(const QString& path, const QSize& size = QSize(), qreal scale = 0.0);
    void renderTo(QPainter* painter, const QRectF& target);
    //! The graph's series as CSV; see KivGraph::toCsv().
    QString toCsv(bool visibleOnly = false);
    bool saveCsv(const QString& path, bool visibleOnly = false);

    bool isAutoScaleMethodChangeAllowed() const override;
    KivAutoScaleMethod getAutoScaleMethod() const override;
    bool isPanningChangeAllowed() const override;
    bool isPanningChecked() const override;
    bool isZoomingChangeAllowed() const override;
    bool isZoomingChecked() const override;
    bool isFreezeChangeAllowed() const override;
    bool isFreezeChecked() const override;
    //! The auto-scale method as a number (0 none, 1 expand, 2 full fit), for forms.
    int autoScale() const;
    //! True only while allowed and at least one series has a label to show.
    bool isLegendChangeAllowed() const override;
    bool isLegendChecked() const override;
    bool isMeasureChangeAllowed() const override;
    bool isMeasureChecked() const override;
    bool isAllSamplesChangeAllowed() const override;
    bool isAllSamplesChecked() const override;
    bool isClearAllowed() const override;
    bool isEqualAxesChangeAllowed() const override;
    bool isEqualAxesChecked() const override;

    //! Adds a series to the graph and a box for it to the legend.
    KivDataSet* addDataSet(unsigned long style, const QColor& color, unsigned long maxItemCount);
    //! Deletes the series and its legend box; null deletes every series.
    void removeDataSet(KivDataSet* dataSet);
    KivDataSet* dataSet(unsigned long index) const;
    int dataSetCount() const;
    bool hasDataSet(KivDataSet* dataSet) const;
    bool isEmpty() const;
    bool isDataSetVisible(KivDataSet* dataSet) const;
    //! Shows or hides a series of this graph, keeping its legend box in step.
    void setDataSetVisible(KivDataSet* dataSet, bool visible);
    //! Overwrites item \a item of series \a set; \a exclusive writes 0.0 there in every other
    //! series, so one series at a time holds the value.
    void setData(unsigned long set, unsigned long item, double value, bool exclusive);
    void setAddPosition(bool back);
    void beginUpdate();
    void endUpdate();
    long setScopeOffset(long offset);
    long scopeOffset() const;
    void setDisplayUnits(bool imperial);

    //! Widget pixel \a point to graph position (-1..1 on both axes), not clamped.
    void pointToGraphPos(const QPoint& point, QPointF& pos) const;
    int graphWidth() const;
    int graphHeight() const;

    void setAxisLink(int link);
    void setAxisLimits(char axis, double min, double max);
    void setAxisScale(char axis, double min, double max);
    void setAxisStyle(char axis, QFlags<KivAxisStyleFlag> style);
    void setAxisUnits(char axis, int units);
    void setAxisMinScale(char axis, double minScale);
    void setBackgroundColor(const QColor& color);
    void setBackgroundColor(double red, double green, double blue);
    void setValidRange(double min, double max, const QString& text);
    void setTime(double interval, double time);

signals:
    void panning(Qt::MouseButton mouseButton, int dx_pixels, int dy_pixels, double dx_graph,
                 double dy_graph);

public slots:
    //! A non-empty y label moves the title to span label and graph, so it stays centred.
    void setYLabel(const QString& label);
    void setXLabel(const QString& label);
    void setNoDataText(const QString& text);
    void setGraphText(const QString& text);
    void setTimeMode(int timeMode);
    void setAutoScaleMethodChangeAllowed(bool allow) override;
    void setAutoScaleMethod(KivAutoScaleMethod method) override;
    void setPanningChangeAllowed(bool allow) override;
    void setPanningChecked(bool checked) override;
    void setZoomingChangeAllowed(bool allow) override;
    void setZoomingChecked(bool checked) override;
    void setFreezeChangeAllowed(bool allow) override;
    void setFreezeChecked(bool checked) override;
    //! Sets the auto-scale method from its number; other numbers are ignored.
    void setAutoScale(int method);
    void setLegendChangeAllowed(bool allow) override;
    //! The legend is shown only when it has something to say.
    void setLegendChecked(bool checked) override;
    void setMeasureChangeAllowed(bool allow) override;
    void setMeasureChecked(bool checked) override;
    void setAllSamplesChangeAllowed(bool allow) override;
    void setAllSamplesChecked(bool checked) override;
    //! No control to show in the graph widget; kept for the tool bar's sake.
    void setAllSamplesVisible(bool visible) override;
    //! No control to show in the graph widget; kept for the tool bar's sake.
    void setClearVisible(bool visible) override;
    void setClearAllowed(bool allow) override;
    void clear(bool clearTime) override;
    void setEqualAxesChangeAllowed(bool allow) override;
    void setEqualAxesChecked(bool checked) override;

protected:
    //! Lets the wheel reach the parent; the graph itself takes it only while zooming.
    void wheelEvent(QWheelEvent* event) override;

private:
    std::unique_ptr<KivGraphWidgetPrivate> const d;
};

#endif // KIV_GRAPHWIDGET_H
