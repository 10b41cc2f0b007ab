#include "streamwindow.h"

#include "screenshots.h"
#include "streamreader.h"

#include <kiv_base.h>
#include <kiv_dataset.h>
#include <kiv_graph.h>
#include <kiv_graphwidget.h>

#include <QEvent>
#include <QLabel>
#include <QStatusBar>
#include <QTimer>

#include <cfloat>
#include <cmath>
#include <cstdio>

namespace {

const QColor seriesColors[] = {{20, 90, 200}, {210, 60, 30}, {0, 140, 70}, {130, 40, 160},
                          {230, 150, 20}, {0, 150, 170}, {180, 30, 110}, {90, 90, 90}};

// Graphs for `count` series: a column of up to three, then a near-square grid of up to 3 x 3.
void automaticGrid(int count, int& rows, int& cols)
{
    const int graphs = qBound(1, count, 9);
    cols = graphs <= 3 ? 1 : int(std::ceil(std::sqrt(double(graphs))));
    rows = (graphs + cols - 1) / cols;
}

const char* const problemKeys[] = {"malformed", "too-long", "not-a-number", "column-count", "cut-frame", "source-lost"};

} // namespace

StreamWindow::StreamWindow(StreamReader* streamReader, const Options& opts, QWidget* parent)
    : QMainWindow(parent)
    , reader(streamReader)
    , options(opts)
    , status(new QLabel(this))
{
    setWindowTitle(tr("kivscope: %1").arg(reader->description()));
    auto* waiting = new QLabel(tr("Waiting for data from %1").arg(reader->description()), this);
    waiting->setAlignment(Qt::AlignCenter);
    setCentralWidget(waiting);
    statusBar()->addWidget(status, 1);
    connect(reader, &StreamReader::columnsKnown, this, &StreamWindow::buildPanel);
    connect(reader, &StreamReader::finished, this, &StreamWindow::inputEnded);
    auto* timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &StreamWindow::updateStatus);
    timer->start(500);
    clock.start();
    resize(1100, 760);
}

void StreamWindow::buildPanel(int columns, const QStringList& names)
{
    const int dims = reader->dimensions();
    const int count = columns / dims;
    if (columns % dims != 0)
        std::fprintf(stderr, "kivscope: %d columns do not group by %d; the last %d are not plotted\n", columns, dims,
                     columns % dims);
    if (count == 0) {
        reader->attach({});
        return;
    }
    int rows = options.rows;
    int cols = options.cols;
    if (rows <= 0 || cols <= 0)
        automaticGrid(count, rows, cols);
    panel = new KivWidget(rows, cols, QString(), this);
    panel->setLegendLayout(LegendAbove);
    setCentralWidget(panel);

    const int graphs = rows * cols;
    for (int i = 0; i < count; ++i) {
        const int g = int(qint64(i) * qMin(graphs, count) / count);
        KivGraphWidget* graph = panel->getGraph(g / cols, g % cols);
        QStringList parts;
        for (int c = i * dims; c < (i + 1) * dims; ++c)
            parts << (c < names.size() && !names[c].isEmpty() ? names[c] : tr("column %1").arg(c + 1));
        KivDataSet* set = panel->addDataSet(graph, options.max, seriesColors[i % int(std::size(seriesColors))],
                                            (unsigned long)(dims - 1) | options.shape);
        panel->setDataSetLabel(set, parts.join(QStringLiteral(" / ")));
        if (dims == 1) {
            panel->setAxisLabel(graph, 'x', options.interval > 0.0 ? tr("Time") : tr("Sample"));
            if (options.interval > 0.0) {
                set->setTime(options.interval, 0.0);
                panel->setAxisStyle(graph, 'x', KivAxisStyleTimeLabels);
            }
        }
        series.push_back(set);
    }
    panel->toolbar()->setAutoScaleMethod(KivFullFit);
    panel->toolbar()->setLegendChecked(true);
    for (KivGraph* graph : panel->findChildren<KivGraph*>())
        graph->installEventFilter(this);
    panelTime = clock.elapsed();
    reader->attach(series);
}

void StreamWindow::inputEnded()
{
    endTime = clock.elapsed();
    updateStatus();
}

bool StreamWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Paint)
        ++frames;
    return QMainWindow::eventFilter(watched, event);
}

int StreamWindow::graphCount() const
{
    return panel ? panel->findChildren<KivGraph*>().size() : 0;
}

double StreamWindow::samplesPerSecond() const
{
    const qint64 ms = endTime >= 0 ? endTime : clock.elapsed();
    return ms > 0 ? double(reader->rowsRead()) * double(series.size()) * 1000.0 / double(ms) : 0.0;
}

double StreamWindow::framesPerSecond() const
{
    const qint64 ms = clock.elapsed() - panelTime;
    const int graphs = graphCount();
    return ms > 0 && graphs > 0 ? double(frames) * 1000.0 / double(ms) / graphs : 0.0;
}

QString StreamWindow::problemCounts() const
{
    QStringList parts;
    for (int kind = 0; kind < RowDecoder::ProblemCount; ++kind)
        parts << QStringLiteral("%1=%2").arg(problemKeys[kind]).arg(reader->problems(RowDecoder::Problem(kind)));
    return parts.join(' ');
}

QString StreamWindow::problemText() const
{
    const QString words[] = {tr("malformed lines"), tr("over-long lines"), tr("non-numbers"),
                             tr("lines with another column count"), tr("cut frames")};
    QStringList parts;
    for (int kind = 0; kind < RowDecoder::SourceLost; ++kind) {
        if (const unsigned long n = reader->problems(RowDecoder::Problem(kind)))
            parts << QStringLiteral("%1 %2").arg(n).arg(words[kind]);
    }
    QString text = parts.isEmpty() ? QString() : tr("skipped: %1").arg(parts.join(QStringLiteral(", ")));
    if (const unsigned long lost = reader->problems(RowDecoder::SourceLost))
        text += (text.isEmpty() ? QString() : QStringLiteral("; ")) + tr("source lost: %1").arg(lost);
    return text;
}

void StreamWindow::updateStatus()
{
    const qint64 now = clock.elapsed();
    const unsigned long long samples = reader->rowsRead() * series.size();
    const double rate = now > lastTime ? (samples - lastSamples) * 1000.0 / double(now - lastTime) : 0.0;
    lastSamples = samples;
    lastTime = now;
    QStringList parts;
    parts << tr("%1: %2 samples/s into %3 series").arg(reader->description()).arg(rate, 0, 'f', 0).arg(series.size());
    parts << tr("%1 frames/s per graph").arg(framesPerSecond(), 0, 'f', 1);
    const QString problems = problemText();
    if (!problems.isEmpty())
        parts << problems;
    if (reader->isFinished())
        parts << tr("input ended");
    status->setText(parts.join(QStringLiteral("    ")));
    if (options.reportToStderr && problems != lastReported) {
        std::fprintf(stderr, "kivscope: %s\n", qPrintable(problems));
        lastReported = problems;
    }
}

QStringList StreamWindow::seriesSummary() const
{
    QStringList lines;
    std::vector<double> values;
    for (KivDataSet* set : series) {
        // What is still queued moves into the drawn samples, which this thread may read.
        set->flush();
        const unsigned long count = set->getDisplayItemCount();
        const int dims = set->dimensions();
        values.resize(count * unsigned(dims));
        set->copyData(0, count, values.data());
        double low[3] = {DBL_MAX, DBL_MAX, DBL_MAX};
        double high[3] = {-DBL_MAX, -DBL_MAX, -DBL_MAX};
        unsigned long gaps = 0;
        for (unsigned long i = 0; i < count; ++i) {
            const double* v = values.data() + i * unsigned(dims);
            bool gap = false;
            for (int d = 0; d < dims; ++d) {
                if (v[d] == DBL_MAX) {
                    gap = true;
                    continue;
                }
                low[d] = qMin(low[d], v[d]);
                high[d] = qMax(high[d], v[d]);
            }
            gaps += gap;
        }
        QString line = QStringLiteral("series \"%1\": %2 samples, %3 gaps").arg(set->getLabel()).arg(count).arg(gaps);
        const char axes[3][2] = {{dims == 1 ? 'y' : 'x', 0}, {'y', 0}, {'z', 0}};
        for (int d = 0; d < dims; ++d) {
            if (low[d] <= high[d])
                line += QStringLiteral(", %1 %2 .. %3").arg(axes[d]).arg(low[d], 0, 'g', 10).arg(high[d], 0, 'g', 10);
        }
        lines << line;
    }
    return lines;
}

bool StreamWindow::saveScreenshots(const QString& dir)
{
    return panel && ::saveScreenshots(this, panel, dir);
}
