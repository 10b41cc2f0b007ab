#ifndef KIV_DATASET_H
#define KIV_DATASET_H

#include "kiv_global.h"
#include "kivdatafeed.h"

#include "velo_lock.h"
#include "velo_matrix.h"

#include <QColor>
#include <QFlags>
#include <QList>
#include <QObject>
#include <QPointF>
#include <QString>
#include <QVector>

#include <memory>

//! Style bits of a data series: a dimension field, a shape field and two mode bits.
enum KivDataStyleFlag {
    KivDataStyle1D = 0x0,                //!< one value per sample (a time series)
    KivDataStyle2D = 0x1,                //!< two values (x, y) per sample
    KivDataStyle3D = 0x2,                //!< three values (x, y, z) per sample
    KivDataStyleDimensionMask = 0x3,     //!< the dimension field
    KivDataStyleLine = 0x00,             //!< samples joined by a line strip
    KivDataStylePoints = 0x10,           //!< one point per sample
    KivDataStyleBar = 0x20,              //!< one bar per slot, zero-filled on clear, one label per slot
    KivDataStyleCross = 0x30,            //!< a cross marker per sample
    KivDataStyleTriangle = 0x40,         //!< a triangle marker per sample
    KivDataStyleShapeMask = 0x70,        //!< the shape field, compared as a whole
    KivDataStyleScope = 0x100,           //!< oscilloscope sweep: new samples overwrite at a moving cursor
    KivDataStyleJoinGaps = 0x1000        //!< lines continue across gap samples instead of breaking
};
Q_DECLARE_FLAGS(KivDataStyleFlags, KivDataStyleFlag)
Q_DECLARE_OPERATORS_FOR_FLAGS(KivDataStyleFlags)

class KivDataSetPrivate;
class KivUpdateRelay;

/*!
 * \brief One data series of a graph: a thread-safe sample store that draws itself.
 *
 * Producers append samples from any thread with addData(); the graph's painting calls
 * display(), which moves the queued samples into the drawn queue and draws them. With a
 * maximum item count the series keeps only that many newest samples. A stored value of
 * DBL_MAX marks a gap ("no value"); non-finite input is stored as such a gap.
 */
class KIV_EXPORT KivDataSet : public QObject
{
    Q_OBJECT

public:
    //! `width` and `height` are the graph's size; they set the marker aspect.
    KivDataSet(int width, int height);
    ~KivDataSet() override;

    //! Appends one sample; a variant that does not match dimensions() is ignored. Any thread.
    void addData(double v);
    void addData(double x, double y);
    void addData(double x, double y, double z);
    //! Appends `count` samples of `dimensions` values each, stored one after the other
    //! (x, y, z) at `values`, under one lock and with one needUpdate(); the rules of
    //! addData() apply to every sample. Ignored when `dimensions` does not match. Any thread.
    void addSamples(const double* values, unsigned long count, int dimensions);
    //! A handle for producer threads that stays safe to use after this series is removed:
    //! its appends then do nothing and return false.
    KivDataFeed feed() const;
    //! Appends `n` gap samples of the series' dimension.
    void duplicateData(unsigned long n);
    //! Overwrites the value at position `index` of the drawn samples (one double per
    //! sample, meant for one-value series); ignored when frozen or out of range.
    void setData(unsigned long index, double value);
    //! Fills the drawn queue with maxItemCount zeros; the caller holds the write lock.
    void zeroData();
    //! Drops all samples (bar series get zeros again); `resetTime` also zeroes the time.
    void clear(bool resetTime = true);
    //! Frozen series keep drawing the same samples; new ones wait in the incoming queue.
    void freeze(bool on);
    bool isFrozen() const;
    //! Moves queued samples into the drawn queue. On return `guard` holds the read lock.
    void flush(velo::LockReadWrite& guard);
    //! The same, releasing the lock on return; display() does it on every frame.
    void flush();

    //! Most slots of a bar series; each is stored and labelled.
    static constexpr unsigned long MaxBarSlots = 1ul << 20;
    //! 0 means unbounded; a bar series takes at most MaxBarSlots. Discards all stored samples.
    void setMaxItemCount(unsigned long n);
    unsigned long getMaxItemCount() const;
    //! KivDataStyleFlag bits. Discards all stored samples and resets the time.
    void setStyle(unsigned long style);
    unsigned long getStyle() const;
    //! With `mask` 0: all bits of `flags` are set; else (style & mask) == flags.
    bool hasStyle(unsigned long flags, unsigned long mask = 0) const;
    //! Values per sample: 1, 2 or 3.
    int dimensions() const;
    //! New samples go after the newest (`back`) or before the oldest.
    void setAddPosition(bool back);
    bool isAddedAtBack() const;

    //! All stored samples, drawn and queued, capped at the maximum item count.
    unsigned long getItemCount() const;
    //! Samples in the drawn queue, capped at the maximum item count.
    unsigned long getDisplayItemCount() const;
    //! Reads double `i` of the drawn (`display`) or the filling incoming queue, counting
    //! `dims` doubles per sample; `v` is left alone when `i` is out of range. Takes the
    //! series' lock, so producers may add, clear or freeze meanwhile.
    void getData(unsigned long i, double& v, bool display = true, unsigned long dims = 1) const;
    void getData(unsigned long i, double& x, double& y, bool display = true) const;
    void getData(unsigned long i, double& x, double& y, double& z, bool display = true) const;
    //! Copies up to `count` drawn samples from sample `first` on into `out` (dimensions()
    //! doubles each) and returns how many it copied. Takes the series' lock like getData().
    unsigned long copyData(unsigned long first, unsigned long count, double* out) const;
    //! Moves queued samples into the drawn queue as a frame does and returns a copy of all
    //! drawn samples (dimensions() doubles each), read under the series' lock so that
    //! producers may keep adding; `scopeOffset`, if given, gets the offset of the same moment.
    //! For the thread that draws.
    QVector<double> snapshot(long* scopeOffset = nullptr);

    //! Extents of the samples drawn by the last display(): rows x, y, z; columns min, max.
    const velo::Matrix& getLastMinMax() const;

    //! Clamps to getItemCount() - 1 and returns the previous offset.
    long setScopeOffset(long offset);
    long getScopeOffset() const;

    void setTime(double interval, double time);
    void getTime(double& interval, double& time) const;
    //! Time of item `i` counted back from the newest (item 0).
    double getItemTime(int i) const;

    //! Size of the graph in pixels; sets the marker aspect. Sizes below 1 are ignored.
    void setGraphDimensions(int width, int height);
    //! Graph width divided by graph height.
    double getAspect() const;
    //! Device pixels per pixel of the graph (2 on a high-DPI screen): line widths and point
    //! sizes grow by it. 1 at first; ratios not above 0 are ignored. The graph sets it.
    void setPixelRatio(double ratio);

    bool isVisible() const;

    void setColor(const QColor& color);
    void setColor(double red, double green, double blue);
    QColor getColor() const;

    void setLabel(const QString& label);
    QString getLabel() const;
    bool hasLabel() const;
    void setCurrentValueLabel(const QString& label);
    QString getCurrentValueLabel() const;
    //! Replaces the label of slot `i` of a bar series.
    void setDataLabel(int i, const QString& label);
    const QList<QString>& getLabelList() const;

    //! printf format of one value, for example "%.2f"; two-value samples use it twice.
    //! A format that is not isValidLabelFormat() is refused with a warning; the last one stays.
    void setLabelFormat(const QString& format);
    //! Whether `format` prints exactly one double: one f, e, g or a conversion with flags,
    //! width and precision up to 100, "%%" and plain text.
    static bool isValidLabelFormat(const QString& format);

    //! Draws the series into the current GL context within the scale box `box`
    //! (rows x, y, z; columns min, max) and records the drawn extents.
    void display(const velo::MatrixF<3, 2>& box);
    //! With decimation on (the default), display() draws a series holding more than about
    //! four samples per pixel column as only the samples that can change pixels; the picture,
    //! the extents and the current value stay the same. Off draws every sample.
    void setDecimationEnabled(bool on);
    bool isDecimationEnabled() const;
    //! Drawn position (device units) and text of the current value after display().
    QPointF currentValuePosition() const;
    QString currentValueText() const;

    //! Emits the vertices of this series' marker at (x, y): a cross, a triangle or a point.
    void glDrawPlotShape(double x, double y) const;
    void glCross2d(double x, double y) const;
    void glTriangle2d(double x, double y) const;

public slots:
    void setVisible(bool checked);

signals:
    void needUpdate();
    void labelChanged(QString label);
    void colorChanged(QColor color);

protected:
    void connectNotify(const QMetaMethod& signal) override;
    void disconnectNotify(const QMetaMethod& signal) override;

private:
    Q_DISABLE_COPY(KivDataSet)
    friend class KivUpdateRelay;
    void setUpdateRelay(KivUpdateRelay* relay);
    // Emits needUpdate() and tells the graph's relay, whatever the calling thread.
    void announceUpdate();

    std::unique_ptr<KivDataSetPrivate> const d;
};

#endif // KIV_DATASET_H
