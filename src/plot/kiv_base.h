#ifndef KIV_BASE_H
#define KIV_BASE_H

#include "kiv_global.h"
#include "kiv_axisinfo.h"
#include "kiv_dataset.h"
#include "kivlegend.h"

#include <votypes.h>

#include <QColor>
#include <QImage>
#include <QWidget>

#include <memory>

class KivControlInterface;
class QPainter;
class KivGraphWidget;
class KivWidgetPrivate;

/*!
 * \brief The panel most hosts create: a tool bar over a rows x columns grid of graph widgets
 * whose cells the user resizes by dragging, with a flat facade for feeding and styling series.
 *
 * Every graph widget is wired to the tool bar, so a tool bar action reaches all of them.
 * Graphs are addressed by (row, column), series by their index within a graph or by pointer;
 * null pointers and indices outside the grid are ignored. The index-addressed data
 * operations may be called from any thread while the layout and the series stay as they are.
 */
class KIV_EXPORT KivWidget : public QWidget
{
    Q_OBJECT
    // The grid size a form designer sets.
    Q_PROPERTY(int rows READ rows WRITE setRows)
    Q_PROPERTY(int columns READ columns WRITE setColumns)

public:
    //! Most rows, and most columns, a grid may have: every cell is an OpenGL widget.
    static constexpr int MaxGridSide = 16;

    //! An empty \a fontPath means "fonts/arial.ttf" in the application's directory.
    explicit KivWidget(int rows = 1, int cols = 1, const QString& fontPath = QString(),
                       QWidget* parent = nullptr);
    //! One graph; the constructor that Qt Designer's generated code calls.
    explicit KivWidget(QWidget* parent);
    ~KivWidget() override;

    // Export of the panel; see KivGraph::toImage(). Without \a withToolBar the picture
    // shows the grid of graphs alone, and \a size is the size of that grid.
    QImage toImage(const QSize& size = QSize(), qreal scale = 0.0, bool withToolBar = true);
    bool saveImage(const QString& path, const QSize& size = QSize(), qreal scale = 0.0,
                   bool withToolBar = true);
    void renderTo(QPainter* painter, const QRectF& target, bool withToolBar = true);
    //! The series of every graph as CSV, the labels prefixed by "r<row>c<column> " when
    //! there are several graphs; see KivGraph::toCsv().
    QString toCsv(bool visibleOnly = false);
    bool saveCsv(const QString& path, bool visibleOnly = false);

    QString fontPath() const;

    // Layout and the grid as a whole.
    void getLayout(int& rows, int& cols) const;
    int rows() const;
    int columns() const;
    //! selectLayout() with the other size kept.
    void setRows(int rows);
    void setColumns(int columns);
    //! Gives every row and column of the grid the same size again.
    void resetGrid();
    void setLegendLayout(KivLegendLayout layout);
    //! Sets the axis link of every graph; graphs with bit 0 set share their x range.
    void linkAxes(int axes);
    //! Offers the rows x columns selector on the tool bar; the user's choice relayouts.
    void setAllowLayoutSelection(bool allow);
    bool isLayoutSelectionChangeAllowed() const;
    //! The legend button is enabled while at least one graph has a legend to show.
    void checkForLegends();

    // The tool bar.
    KivControlInterface* toolbar() const;
    void setToolBarEnabled(bool enabled);
    void setToolBarHidden(bool hidden);
    bool isToolBarEnabled() const;

    // Lookup.
    //! Null outside the grid.
    KivGraphWidget* getGraph(int row, int col) const;
    //! The graph widget under panel point \a p; \a local becomes \a p in its coordinates.
    KivGraphWidget* getGraph(const QPoint& p, QPoint& local) const;
    //! As above; \a axis (if given) becomes 'x' when the graph position there has x > y,
    //! else 'y'.
    KivGraphWidget* getGraph(const QPoint& p, char* axis) const;
    KivDataSet* getDataSet(KivGraphWidget* graph, unsigned long index) const;
    //! Whether some graph of the panel holds \a set.
    bool isDataSet(KivDataSet* set) const;

    // Series addressed by (row, column, index within the graph). Any thread.
    void addData(int row, int col, unsigned long set, double v);
    void addData(int row, int col, unsigned long set, double x, double y);
    void addData(int row, int col, unsigned long set, double x, double y, double z);
    void duplicateData(int row, int col, unsigned long set, unsigned long n);
    void setLabelFormat(int row, int col, unsigned long set, const QString& format);
    void setDataLabel(int row, int col, unsigned long set, unsigned long slot, const QString& label);
    //! See KivGraphWidget::setData().
    void setData(int row, int col, unsigned long set, unsigned long item, double value, bool exclusive);

    // Graphs addressed by pointer.
    void setAxisLabel(KivGraphWidget* graph, char axis, const QString& label);
    void setAxisLimits(KivGraphWidget* graph, char axis, double min, double max);
    void setAxisScale(KivGraphWidget* graph, char axis, double min, double max);
    void setAxisStyle(KivGraphWidget* graph, char axis, QFlags<KivAxisStyleFlag> style);
    void setAxisUnits(KivGraphWidget* graph, char axis, unsigned long units);
    void setAxisMinScale(KivGraphWidget* graph, char axis, double minScale);
    //! \a rgb is 0xRRGGBB (QRgb order: blue in the lowest byte).
    void setBackgroundColor(KivGraphWidget* graph, unsigned long rgb);
    void setBackgroundColor(KivGraphWidget* graph, double red, double green, double blue);
    void setGraphTitle(KivGraphWidget* graph, const QString& title);
    void setNoDataText(KivGraphWidget* graph, const QString& text);
    void setGraphText(KivGraphWidget* graph, const QString& text);
    void setValidRange(KivGraphWidget* graph, double min, double max, const QString& text);
    void setTime(KivGraphWidget* graph, double interval, double time);

    //! Adds a series of \a style (KivDataStyleFlag bits) to \a graph; null when \a graph is.
    KivDataSet* addDataSet(KivGraphWidget* graph, unsigned long maxItemCount, const QColor& color,
                           unsigned long style = KivDataStyle1D);
    //! \a color is 0xBBGGRR: red in the lowest byte, the opposite of setBackgroundColor().
    KivDataSet* addDataSet(KivGraphWidget* graph, unsigned long maxItemCount, unsigned int color,
                           unsigned long style = KivDataStyle1D);
    //! Keeps Qt::red and friends from being read as 0xBBGGRR integers.
    KivDataSet* addDataSet(KivGraphWidget* graph, unsigned long maxItemCount, Qt::GlobalColor color,
                           unsigned long style = KivDataStyle1D);
    //! A null \a graph removes \a set from whichever graph holds it; a null \a set is ignored.
    void removeDataSet(KivGraphWidget* graph, KivDataSet* set);
    //! Both null: every graph; a graph: it and, if given, \a set too; only a set: that set.
    void clear(KivGraphWidget* graph, KivDataSet* set, bool resetTime);
    //! Both null: every graph; a graph: it and, if given, \a set too; only a set: that set.
    void setAddPosition(KivGraphWidget* graph, KivDataSet* set, bool back);
    //! A null \a graph sets every graph.
    void setScopeOffset(KivGraphWidget* graph, long offset);
    //! A null \a graph answers the first graph whose offset is not -1, else -1.
    long getScopeOffset(KivGraphWidget* graph) const;
    //! Batch changes on every graph; endUpdate() repaints them.
    void beginUpdate();
    void endUpdate();

    // Series addressed by pointer.
    unsigned long getItemCount(KivDataSet* set) const;
    unsigned long getMaxItemCount(KivDataSet* set) const;
    void setMaxItemCount(KivDataSet* set, unsigned long count);
    bool hasStyle(KivDataSet* set, unsigned long flags, unsigned long mask) const;
    void setStyle(KivDataSet* set, QFlags<KivDataStyleFlag> style);
    //! \a color is 0xBBGGRR: red in the lowest byte.
    void setColor(KivDataSet* set, unsigned long color);
    void setDataSetLabel(KivDataSet* set, const QString& label);
    void setDataSetCurrentValueLabel(KivDataSet* set, const QString& label);
    void addData(KivDataSet* set, double v);
    void addData(KivDataSet* set, double x, double y);
    void addData(KivDataSet* set, double x, double y, double z);
    void duplicateData(KivDataSet* set, unsigned long n);

    //! The library's version. The text is a view of static storage: nothing to release,
    //! though VoVersion_destruct() on the record is harmless.
    static VoVersion getVersion();

signals:
    //! The grid was rebuilt by selectLayout().
    void layoutChanged();

public slots:
    void setDisplayUnits(bool imperial);
    //! Rebuilds the grid as \a rows x \a cols. Graphs holding data move to the front and are
    //! kept; empty ones fill up the rest or are deleted. Negative sizes and sizes above
    //! MaxGridSide are ignored.
    void selectLayout(int rows, int cols);

protected:
    //! Watches the graphs' zoom gestures so that linked graphs follow them.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::unique_ptr<KivWidgetPrivate> const d;
};

#endif // KIV_BASE_H
