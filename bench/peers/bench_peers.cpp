// Frame times and append rates of Kiv beside QCustomPlot and Qwt, same data, same run.

#include "kiv_dataset.h"
#include "kiv_graph.h"
#include "timedgraph.h"

#include <qcustomplot.h>
#include <qwt_plot.h>
#include <qwt_plot_curve.h>
#include <qwt_series_data.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QOpenGLWidget>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

namespace {

constexpr int Width = 800;
constexpr int Height = 600;

double sample(long i)
{
    return std::sin(i * 0.001) * 10.0 + std::sin(i * 0.37);
}

// Median wall time of `frames` calls of `frame`, after one untimed call.
// With `timed`, the figure that `frame` leaves there counts instead.
double medianMs(int frames, const std::function<void()>& frame, const double* timed = nullptr)
{
    frame();
    std::vector<double> ms;
    for (int f = 0; f < frames; ++f) {
        QElapsedTimer t;
        t.start();
        frame();
        const double elapsed = t.nsecsElapsed() / 1e6;
        ms.push_back(timed ? *timed : elapsed);
    }
    return median(ms);
}

// Every sample in one immediate-mode strip (or points): the cost of not reducing at all.
// Without samples it only clears: the least any GL frame costs here.
class GLStrip : public QOpenGLWidget, protected QOpenGLFunctions
{
public:
    GLStrip(const std::vector<double>& y, bool points) : m_y(y), m_points(points) {}
    double lastMs = 0.0;

protected:
    void initializeGL() override { initializeOpenGLFunctions(); }
    void paintGL() override
    {
        QElapsedTimer t;
        t.start();
        glClearColor(1.0f, 1.0f, 1.0f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT);
        if (!m_y.empty()) {
            glColor3d(0.0, 0.35, 0.8);
            glBegin(m_points ? GL_POINTS : GL_LINE_STRIP);
            const double sx = 2.0 / double(m_y.size() - 1);
            for (size_t i = 0; i < m_y.size(); ++i)
                glVertex2d(-1.0 + double(i) * sx, m_y[i] / 12.0);
            glEnd();
        }
        glFinish();
        lastMs = t.nsecsElapsed() / 1e6;
    }

private:
    const std::vector<double>& m_y;
    bool m_points;
};

// The newest `capacity` points, oldest first, as Qwt's curves read them.
class RingData : public QwtSeriesData<QPointF>
{
public:
    explicit RingData(size_t capacity) : m_points(capacity) {}
    void append(const QPointF& p)
    {
        m_points[(m_first + m_size) % m_points.size()] = p;
        if (m_size < m_points.size())
            ++m_size;
        else
            m_first = (m_first + 1) % m_points.size();
    }
    size_t size() const override { return m_size; }
    QPointF sample(size_t i) const override { return m_points[(m_first + i) % m_points.size()]; }
    QRectF boundingRect() const override { return QRectF(0.0, -12.0, double(m_points.size()), 24.0); }

private:
    std::vector<QPointF> m_points;
    size_t m_first = 0;
    size_t m_size = 0;
};

struct Row {
    double strip, qcpAdaptive, qcpRaw, qwt, kiv;
};

Row frameTimes(long n, bool points)
{
    std::vector<double> y(size_t(n), 0.0);
    QVector<double> qx(static_cast<int>(n)), qy(static_cast<int>(n));
    for (long i = 0; i < n; ++i) {
        y[size_t(i)] = sample(i);
        qx[int(i)] = double(i);
        qy[int(i)] = y[size_t(i)];
    }
    const int frames = 25;
    Row row {};

    {
        GLStrip strip(y, points);
        strip.resize(Width, Height);
        strip.show();
        QCoreApplication::processEvents();
        row.strip = medianMs(frames, [&] { strip.grabFramebuffer(); }, &strip.lastMs);
    }
    for (bool adaptive : { true, false }) {
        QCustomPlot plot;
        plot.resize(Width, Height);
        QCPGraph* graph = plot.addGraph();
        graph->setData(qx, qy, true);
        graph->setAdaptiveSampling(adaptive);
        graph->setPen(QPen(QColor(0, 90, 200)));
        if (points) {
            graph->setLineStyle(QCPGraph::lsNone);
            graph->setScatterStyle(QCPScatterStyle(QCPScatterStyle::ssDot));
        }
        plot.xAxis->setRange(0.0, double(n));
        plot.yAxis->setRange(-12.0, 12.0);
        plot.show();
        QCoreApplication::processEvents();
        (adaptive ? row.qcpAdaptive : row.qcpRaw) =
            medianMs(frames, [&] { plot.replot(QCustomPlot::rpImmediateRefresh); });
    }
    {
        QwtPlot plot;
        plot.resize(Width, Height);
        plot.setAutoReplot(false);
        plot.setAxisScale(QwtPlot::xBottom, 0.0, double(n));
        plot.setAxisScale(QwtPlot::yLeft, -12.0, 12.0);
        auto* curve = new QwtPlotCurve;
        curve->setRawSamples(qx.constData(), qy.constData(), int(n));
        curve->setPen(QColor(0, 90, 200));
        if (points)
            curve->setStyle(QwtPlotCurve::Dots);
        curve->attach(&plot);
        plot.show();
        QCoreApplication::processEvents();
        row.qwt = medianMs(frames, [&] {
            plot.replot();
            plot.repaint();
        });
    }
    {
        TimedGraph graph;
        graph.resize(Width, Height);
        KivDataSet* ds = graph.addDataSet(points ? KivDataStylePoints : KivDataStyleLine, QColor(0, 90, 200), ulong(n));
        for (long i = 0; i < n; ++i)
            ds->addData(y[size_t(i)]);
        graph.setAxisScale('y', -12.0, 12.0);
        graph.show();
        QCoreApplication::processEvents();
        row.kiv = medianMs(frames, [&] { graph.grabFramebuffer(); }, &graph.lastMs);
    }
    return row;
}

// Frames of a scrolling window: one new sample (the oldest dropped) before every frame, so
// that nothing drawn before can be reused. The QCustomPlot figure includes its append.
Row liveFrameTimes(long n)
{
    const int frames = 25;
    const double nan = std::nan("");
    Row row { nan, nan, nan, nan, nan };
    {
        QCustomPlot plot;
        plot.resize(Width, Height);
        QCPGraph* graph = plot.addGraph();
        QVector<double> qx(static_cast<int>(n)), qy(static_cast<int>(n));
        for (long i = 0; i < n; ++i) {
            qx[int(i)] = double(i);
            qy[int(i)] = sample(i);
        }
        graph->setData(qx, qy, true);
        graph->setAdaptiveSampling(true);
        graph->setPen(QPen(QColor(0, 90, 200)));
        plot.yAxis->setRange(-12.0, 12.0);
        plot.show();
        QCoreApplication::processEvents();
        long next = n;
        row.qcpAdaptive = medianMs(frames, [&] {
            graph->addData(double(next), sample(next));
            graph->data()->removeBefore(double(next - n + 1));
            plot.xAxis->setRange(double(next - n + 1), double(next));
            ++next;
            plot.replot(QCustomPlot::rpImmediateRefresh);
        });
    }
    {
        TimedGraph graph;
        graph.resize(Width, Height);
        KivDataSet* ds = graph.addDataSet(KivDataStyleLine, QColor(0, 90, 200), ulong(n));
        for (long i = 0; i < n; ++i)
            ds->addData(sample(i));
        graph.setAxisScale('y', -12.0, 12.0);
        graph.show();
        QCoreApplication::processEvents();
        long next = n;
        row.kiv = medianMs(frames, [&] {
            ds->addData(sample(next++));
            graph.grabFramebuffer();
        }, &graph.lastMs);
    }
    return row;
}

// Samples per second appended one at a time into a window of `window` samples.
void appendRates()
{
    const long window = 100000;
    const long total = 3000000;
    std::printf("\nappend, one sample at a time into a %ld-sample window (%ld samples):\n", window, total);

    QCustomPlot plot;
    QCPGraph* graph = plot.addGraph();
    QElapsedTimer t;
    t.start();
    for (long i = 0; i < total; ++i) {
        graph->addData(double(i), sample(i));
        if (i >= window)
            graph->data()->removeBefore(double(i - window + 1));
    }
    std::printf("  %-28s %8.2f M samples/s\n", "QCustomPlot addData", total / (t.nsecsElapsed() / 1e9) / 1e6);

    RingData ring(static_cast<size_t>(window));
    t.restart();
    for (long i = 0; i < total; ++i)
        ring.append(QPointF(double(i), sample(i)));
    std::printf("  %-28s %8.2f M samples/s\n", "Qwt ring-buffer series", total / (t.nsecsElapsed() / 1e9) / 1e6);

    KivDataSet ds(Width, Height);
    ds.setMaxItemCount(ulong(window));
    t.restart();
    for (long i = 0; i < total; ++i)
        ds.addData(sample(i));
    std::printf("  %-28s %8.2f M samples/s\n", "Kiv addData", total / (t.nsecsElapsed() / 1e9) / 1e6);
}

// Samples per second appended in blocks of `block` into the same window: what a producer
// that reads a device buffer at a time gets.
void bulkAppendRates()
{
    const long window = 100000;
    const long total = 3000000;
    const int block = 1000;
    std::printf("\nappend, blocks of %d samples into a %ld-sample window (%ld samples):\n", block, window, total);
    QVector<double> keys(block), values(block);
    std::vector<double> kivValues(size_t(block), 0.0);
    auto fillBlock = [&](long first) {
        for (int k = 0; k < block; ++k) {
            keys[k] = double(first + k);
            values[k] = sample(first + k);
            kivValues[size_t(k)] = values[k];
        }
    };

    QCustomPlot plot;
    QCPGraph* graph = plot.addGraph();
    double ms = 0.0;
    QElapsedTimer t;
    for (long i = 0; i < total; i += block) {
        fillBlock(i);
        t.start();
        graph->addData(keys, values, true);
        graph->data()->removeBefore(double(i + block - window));
        ms += t.nsecsElapsed() / 1e6;
    }
    std::printf("  %-28s %8.2f M samples/s\n", "QCustomPlot addData(vectors)", total / (ms / 1e3) / 1e6);

    RingData ring(static_cast<size_t>(window));
    ms = 0.0;
    for (long i = 0; i < total; i += block) {
        fillBlock(i);
        t.start();
        for (int k = 0; k < block; ++k)
            ring.append(QPointF(keys[k], values[k]));
        ms += t.nsecsElapsed() / 1e6;
    }
    std::printf("  %-28s %8.2f M samples/s\n", "Qwt ring-buffer series", total / (ms / 1e3) / 1e6);

    KivDataSet ds(Width, Height);
    ds.setMaxItemCount(ulong(window));
    ms = 0.0;
    for (long i = 0; i < total; i += block) {
        fillBlock(i);
        t.start();
        ds.addSamples(kivValues.data(), ulong(block), 1);
        ms += t.nsecsElapsed() / 1e6;
    }
    std::printf("  %-28s %8.2f M samples/s\n", "Kiv addSamples", total / (ms / 1e3) / 1e6);
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    std::printf("median frame ms, %d x %d\n", Width, Height);
    std::printf("%-7s %9s %10s %10s %9s %8s %8s %10s\n", "shape", "samples", "GL strip", "QCP adapt", "QCP raw",
                "Qwt", "Kiv", "Kiv/QCPa");
    for (bool points : { false, true }) {
        for (long n : { 100L, 10000L, 100000L, 1000000L }) {
            const Row r = frameTimes(n, points);
            std::printf("%-7s %9ld %10.2f %10.2f %9.2f %8.2f %8.2f %10.2f\n", points ? "points" : "line", n, r.strip,
                        r.qcpAdaptive, r.qcpRaw, r.qwt, r.kiv, r.kiv / r.qcpAdaptive);
            std::fflush(stdout);
        }
    }
    for (long n : { 10000L, 100000L, 1000000L }) {
        const Row r = liveFrameTimes(n);
        std::printf("%-7s %9ld %10s %10.2f %9s %8s %8.2f %10.2f\n", "live", n, "-", r.qcpAdaptive, "-", "-", r.kiv,
                    r.kiv / r.qcpAdaptive);
        std::fflush(stdout);
    }
    {
        const std::vector<double> none;
        GLStrip clear(none, false);
        clear.resize(Width, Height);
        clear.show();
        QCoreApplication::processEvents();
        std::printf("\nGL floor: a frame that only clears the %d x %d framebuffer takes %.2f ms\n", Width, Height,
                    medianMs(25, [&] { clear.grabFramebuffer(); }, &clear.lastMs));
    }
    appendRates();
    bulkAppendRates();
    return 0;
}
