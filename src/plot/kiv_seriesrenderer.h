#ifndef KIV_SERIESRENDERER_H
#define KIV_SERIESRENDERER_H

// Internal: not exported, not installed.

#include "kiv_sampleblock.h"
#include "velo_matrix.h"

#include <QColor>
#include <QPointF>
#include <QString>

#include <climits>

#include <string>
#include <utility>
#include <vector>

// Read-only view of a series' drawn samples and of the state their drawing depends on.
struct KivSeriesView
{
    const KivSampleBlock *head = nullptr;
    quint64 count = 0;
    unsigned long style = 0;
    quint64 maxItemCount = 0;
    long scopeOffset = 0;
    bool visible = true;
    QColor color;
    double aspect = 1.0;
    double pixelRatio = 1.0; // device pixels per graph pixel: line width and point size
    const std::string *oneValueFormat = nullptr;
    const std::string *twoValueFormat = nullptr;
    // Changes whenever the drawn samples or the label formats may have changed.
    quint64 generation = 0;
};

// What a drawing records: the extents of the drawn samples (x, y, z rows of minimum and
// maximum) and the current value's drawn position and text.
struct KivSeriesDrawing
{
    double extents[6] = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
    QPointF currentPosition;
    QString currentText;
    bool hasCurrent = false; // the current value was drawn (or stands in for a joined gap)
};

/*!
 * \brief Draws one series into the current GL context (fixed-function pipeline).
 *
 * With decimation on, a line, point or bar series holding more than about four samples per
 * pixel column is reduced to what can change pixels, modelling a rasteriser that snaps
 * vertices to 1/256 pixel and lights lines by the diamond-exit rule. A line column becomes
 * one vertical run over the rows its inner segments light. The segments across its edges and
 * those that reach its top or bottom pixel are judged by the model of the rasteriser's line
 * setup (KivLinePixels): the run grows over the pixels they surely light, and only those the
 * model cannot answer for are drawn as they are. Points
 * become one point or vertical segment per pixel or run of lit pixels, bars the ones that
 * cover a pixel centre. Only the visible part is visited for drawing. Smaller series,
 * markers, 3-value and non-monotonic 2-value lines, lines wider than one device pixel and
 * points of a fractional width are drawn sample by sample. Extents and
 * the current value are the same either way. A long reduction reaches GL in chunks as it
 * goes, and an unchanged series is drawn again from what its last reduction kept.
 */
class KivSeriesRenderer
{
public:
    enum class Marker { Vertex, Cross, Triangle };
    static Marker markerOf(unsigned long style);
    // The vertices of marker `m` at (x, y); `aspect` keeps crosses and triangles square.
    static void emitShape(Marker m, double aspect, double x, double y);

    // Draws `view` within `box` (rows x, y, z; columns min, max) onto a viewport of
    // `width` x `height` pixels.
    void draw(const KivSeriesView &view, const velo::MatrixF<3, 2> &box, int width, int height, bool decimate,
              KivSeriesDrawing &out);

private:
    // Axis mapping of one drawing: drawn = (value + o) * s.
    struct Mapping
    {
        double sx, ox, sy, oy, sz, oz;
        double slot; // 1-value layout: slot width in data units of the -1 .. 1 window
        // Drawn x of 1-value slot `s`.
        double slotX(double s) const { return (-1.0 + s * slot + ox) * sx; }
    };
    // Run of stored samples: `n` samples from `p`, the first being sample `first`.
    struct Span
    {
        const double *p;
        quint64 n;
        quint64 first;
    };
    // A sample kept by the line reduction, with its place in the series for ordering.
    struct Kept
    {
        quint64 i;
        double x, y;
    };
    enum class Reduction { Line, Points, Bars };
    enum class Light { Never, Maybe, Surely };
    static Light lights(const QPointF &a, const QPointF &b, const QPointF &centre);
    Light segmentLights(const QPointF &a, const QPointF &b, long column, long row) const;
    QPointF windowPoint(double x, double y) const;
    // What the segments within a line column do to the pixel of its top or bottom row.
    struct RowJudgement
    {
        long row;
        bool inside;          // the row is within the viewport
        bool sure = false;    // some segment surely lights the pixel; witness is its end
        static constexpr int MaxDoubts = 4;
        int doubts = 0;       // segments that may light it; the first ones end at doubtful[]
        quint64 doubtful[MaxDoubts] = {};
        bool any = false;     // some segment touches the row; witness is the first one's end
        quint64 witness = 0;
    };

    template<int D>
    void drawSeries(const Mapping &m);
    void drawScope(const Mapping &m, quint64 slotCount);
    void drawCursorLine(double x);
    void drawCursorMark(const Mapping &m, quint64 slotCount, int dims);
    unsigned primitive(int dims) const;
    void beginPrimitive(unsigned primitive) const;
    void setCurrentText(const double *p, int dims);

    bool reducible(int dims, int width) const;
    void buildSpans(int dims);
    const double *sampleAt(quint64 i, int dims) const;
    template<class F>
    void forRange(quint64 first, quint64 end, int dims, F &&f) const;
    void widenY(quint64 first, quint64 end);
    void reduceSlots(const Mapping &m, quint64 first, quint64 end, quint64 slot0);
    void reachPastGaps(quint64 first, quint64 end, quint64 &from, quint64 &to) const;
    void addSlots(const Mapping &m, quint64 from, quint64 to, quint64 first, quint64 slot0);
    void reduceLineColumn(const Mapping &m, quint64 from, quint64 to, quint64 first, quint64 slot0);
    // Rows low .. high of a column drawn as one run (none where low > high).
    struct ColumnRun
    {
        long column = LONG_MIN, low = 0, high = -1;
    };
    void keepAcrossEdge(const ColumnRun &left, ColumnRun &right);
    void flushPendingTail();
    void startStrip();
    // lo .. hi: the column's extreme values.
    bool runColumn(const Mapping &m, quint64 from, quint64 to, quint64 first, quint64 slot0, long column, double lo,
                   double hi, const RowJudgement &top, const RowJudgement &bottom);
    long rowOfValue(const Mapping &m, double val) const;
    quint64 scopeCursor(quint64 slotCount) const;
    void reducePointColumn(const Mapping &m, quint64 from, quint64 to, quint64 first, quint64 slot0);
    bool reduceXY(const Mapping &m);
    bool reduceXYLine(const Mapping &m);
    double xAt(const Mapping &m, quint64 i, quint64 first, quint64 slot0) const;
    void findCurrent(const Mapping &m, int dims);
    void startReduction(int width, int height);
    void add(double x, double y);
    void breakStrip();
    void keep(double x, double y);
    void emitReduced(const Mapping &m, size_t vertexFrom, size_t runFrom, size_t runTo) const;
    bool emitRuns(size_t from, size_t to) const;
    void emitSharedRuns(size_t from, size_t to) const;
    bool sharedRows(size_t k, size_t to, long &low, long &high) const;
    void emitPending(const Mapping &m, bool holdLast);
    void emitChunk(const Mapping &m, quint64 samples);

    // What a reduced drawing depends on besides the stored values (the colour is applied when
    // it is drawn).
    struct ReplayKey
    {
        quint64 generation, count, maxItemCount;
        unsigned long style;
        long scopeOffset;
        double pixelRatio;
        double box[6];
        int width, height;
        bool operator==(const ReplayKey &o) const;
    };
    static ReplayKey replayKey(const KivSeriesView &view, const velo::MatrixF<3, 2> &box, int width, int height);
    void drawReduced(const Mapping &m, quint64 slotCount, int dims);

    const KivSeriesView *v = nullptr;
    KivSeriesDrawing *out = nullptr;
    double *mm = nullptr;
    bool join = false;
    bool breakAtGaps = true;
    double barWidth = 0.0;

    // The last reduced drawing is drawn again as it was while its key stays the same: a
    // graph repaints unchanged series whenever anything else on it changes.
    bool replayValid = false;
    ReplayKey replay{};
    KivSeriesDrawing replayDrawing;

    // Reduction state; the vectors keep their capacity from frame to frame.
    Reduction reduction = Reduction::Line;
    std::vector<Span> spans;
    std::vector<double> kept;         // x, y of the samples to draw
    std::vector<size_t> stripStarts;  // indices into kept (in vertices) where a new strip begins
    std::vector<long> rowColumn;      // points: per pixel row, the column last lit there
    std::vector<ColumnRun> runs;      // vertical runs of lit pixels
    std::vector<double> pendingTail;  // x, y of a run column's last samples, kept once the next is known
    std::vector<std::pair<quint64, quint64>> pieces; // a column's runs of samples between gaps
    std::vector<quint64> asIs;        // inner samples of a run column whose segments are drawn as they are
    std::vector<Kept> picks;          // a line column reduced sample by sample: what it keeps
    size_t emittedVertices = 0;       // kept vertices and runs already handed to GL
    size_t emittedRuns = 0;
    quint64 chunkSamples = 0;         // samples reduced since the last chunk
    // A 2-value line being reduced: drawn x and y of each sample, and the x the columns use.
    std::vector<double> xyX, xyY;
    const double *columnX = nullptr;
    ColumnRun pendingRun;
    int pointSize = 1; // device pixels
    double halfWidth = 0.0, halfHeight = 0.0;
    long columns = 0, rows = 0;
};

#endif // KIV_SERIESRENDERER_H
