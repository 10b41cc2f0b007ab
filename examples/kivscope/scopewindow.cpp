#include "scopewindow.h"

#include "lorenzsource.h"
#include "lorenzview.h"
#include "screenshots.h"

#include <kiv_base.h>
#include <kiv_dataset.h>
#include <kiv_graph.h>
#include <kiv_graphwidget.h>

#include <QFileDialog>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QEvent>
#include <QLabel>
#include <QSplitter>
#include <QStatusBar>
#include <QTimer>
#include <QVBoxLayout>

#include <cmath>
#include <random>

namespace {

// Style words: dimension (0x3), shape (0x70), scope sweep (0x100).
constexpr unsigned long Line1D = 0x0;
constexpr unsigned long Line2D = 0x1;
constexpr unsigned long Bars = 0x20;
constexpr unsigned long Scope = 0x100;
constexpr unsigned int ZeroLine = 0x1;
constexpr unsigned int TimeLabels = 0x80;
constexpr int BarCount = 8;

QFlags<KivAxisStyleFlag> axisStyle(unsigned int bits)
{
    return QFlags<KivAxisStyleFlag>(QFlag(int(bits)));
}

} // namespace

ScopeWindow::ScopeWindow(const Options& opts, QWidget* parent)
    : QMainWindow(parent)
    , options(opts)
    , panel(new KivWidget(2, 2, QString(), this))
    , status(new QLabel(this))
    , producers(opts.rate)
{
    setWindowTitle(tr("kivscope"));
    auto* splitter = new QSplitter(this);
    splitter->addWidget(panel);
    splitter->addWidget(buildTrajectory());
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 1);
    setCentralWidget(splitter);
    statusBar()->addWidget(status, 1);
    buildMenu();
    panel->setAllowLayoutSelection(true);
    panel->setLegendLayout(LegendAbove);

    buildTimeSeries();
    buildScope();
    buildLissajous();
    buildBars();
    // Full fit everywhere: the tool bar pushes its state into every graph of the panel.
    panel->toolbar()->setAutoScaleMethod(static_cast<KivAutoScaleMethod>(2));
    // The series have labels now: show every graph's legend.
    panel->toolbar()->setLegendChecked(true);

    for (KivGraph* graph : panel->findChildren<KivGraph*>())
        graph->installEventFilter(this);
    view->installEventFilter(this);

    auto* timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &ScopeWindow::updateStatus);
    timer->start(500);
    clock.start();
    producers.start();
    lorenz->start();
    resize(1450, 760);
    splitter->setSizes({1100, 350});
}

ScopeWindow::~ScopeWindow()
{
    producers.stop();
}

void ScopeWindow::buildTimeSeries()
{
    KivGraphWidget* graph = panel->getGraph(0, 0);
    panel->setGraphTitle(graph, tr("Input A: noisy sine and gated square"));
    panel->setAxisLabel(graph, 'y', tr("Voltage [V]"));
    panel->setAxisLabel(graph, 'x', tr("Time"));
    panel->setAxisStyle(graph, 'x', axisStyle(ZeroLine | TimeLabels));
    KivDataSet* sine = panel->addDataSet(graph, options.window, QColor(20, 90, 200), Line1D);
    KivDataSet* square = panel->addDataSet(graph, options.window, QColor(210, 60, 30), Line1D);
    panel->setDataSetLabel(sine, tr("sine + noise"));
    panel->setDataSetLabel(square, tr("square (gated)"));
    const double interval = 1.0 / options.rate;
    sine->setTime(interval, 0.0);
    square->setTime(interval, 0.0);

    const double rate = options.rate;
    producers.add([sine, rate, noise = std::minstd_rand(7)](unsigned long i) mutable {
        const double t = i / rate;
        sine->addData(std::sin(2.0 * M_PI * 1.5 * t) + 0.08 * (double(noise()) / noise.max() - 0.5));
    });
    producers.add([square, rate](unsigned long i) {
        const double t = i / rate;
        // The input is gated off for a fifth of every second: gaps, not zeros.
        if (std::fmod(t, 1.0) > 0.8)
            square->addData(NAN);
        else
            square->addData(std::fmod(t * 2.0, 1.0) < 0.5 ? 0.6 : -0.6);
    });
}

void ScopeWindow::buildScope()
{
    KivGraphWidget* graph = panel->getGraph(0, 1);
    panel->setGraphTitle(graph, tr("Input B: scope sweep"));
    panel->setAxisLabel(graph, 'y', tr("Current [mA]"));
    panel->setAxisLabel(graph, 'x', tr("Sample"));
    KivDataSet* wave = panel->addDataSet(graph, options.window / 2, QColor(0, 140, 70), Line1D | Scope);
    panel->setDataSetLabel(wave, tr("damped burst"));
    const double rate = options.rate;
    producers.add([wave, rate](unsigned long i) {
        const double t = std::fmod(i / rate, 2.0);
        wave->addData(12.0 * std::exp(-1.5 * t) * std::sin(2.0 * M_PI * 4.0 * t));
    });
}

void ScopeWindow::buildLissajous()
{
    KivGraphWidget* graph = panel->getGraph(1, 0);
    panel->setGraphTitle(graph, tr("X/Y: Lissajous figure"));
    panel->setAxisLabel(graph, 'x', tr("Channel X"));
    panel->setAxisLabel(graph, 'y', tr("Channel Y"));
    KivDataSet* figure = panel->addDataSet(graph, 1500, QColor(130, 40, 160), Line2D);
    panel->setDataSetLabel(figure, tr("3:2 figure"));
    graph->setEqualAxesChecked(true);
    // One full 3:2 figure per window of samples, slowly turning through its phase.
    const double period = 1500.0;
    const double rate = options.rate;
    producers.add([figure, period, rate](unsigned long i) {
        const double phase = 0.5 * i / rate;
        figure->addData(std::sin(2.0 * M_PI * 3.0 * i / period + phase), std::sin(2.0 * M_PI * 2.0 * i / period));
    });
}

void ScopeWindow::buildBars()
{
    KivGraphWidget* graph = panel->getGraph(1, 1);
    panel->setGraphTitle(graph, tr("Channel levels"));
    panel->setAxisLabel(graph, 'y', tr("Level [dB]"));
    KivDataSet* levels = panel->addDataSet(graph, BarCount, QColor(230, 150, 20), Bars);
    panel->setDataSetLabel(levels, tr("RMS level"));
    for (int slot = 0; slot < BarCount; ++slot)
        panel->setDataLabel(1, 1, 0, slot, tr("CH%1").arg(slot + 1));
    panel->setAxisLimits(graph, 'y', -5.0, 100.0);
    const double rate = options.rate;
    producers.add([levels, rate](unsigned long i) {
        const double t = i / rate;
        const int slot = int(i % BarCount);
        levels->setData(slot, 40.0 + 30.0 * std::sin(0.7 * t + slot) + 5.0 * std::sin(9.0 * t * (slot + 1)));
    });
}

QWidget* ScopeWindow::buildTrajectory()
{
    auto* box = new QWidget(this);
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* title = new QLabel(tr("3D: Lorenz trajectory (drag to rotate, wheel to zoom)"), box);
    title->setAlignment(Qt::AlignCenter);
    layout->addWidget(title);
    view = new LorenzView(&trajectory, box);
    layout->addWidget(view, 1);
    // Its own thread integrates the trajectory; the view collects the points on a timer.
    lorenz = std::make_unique<LorenzSource>(&trajectory);
    return box;
}

bool ScopeWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Paint)
        ++frames;
    return QMainWindow::eventFilter(watched, event);
}

void ScopeWindow::updateStatus()
{
    const qint64 now = clock.elapsed();
    const double seconds = (now - lastTime) / 1000.0;
    if (seconds <= 0.0)
        return;
    // The 3D view and its Lorenz thread count as one more graph and one more producer.
    const unsigned long long samples = producers.samplesProduced() + (unsigned long long)view->receivedCount();
    const int graphs = panel->findChildren<KivGraph*>().size() + 1;
    lastSampleRate = (samples - lastSamples) / seconds;
    lastFrameRate = (frames - lastFrames) / seconds / graphs;
    lastSamples = samples;
    lastFrames = frames;
    lastTime = now;
    status->setText(tr("%1 samples/s from %2 producer threads    %3 frames/s per graph")
                        .arg(lastSampleRate, 0, 'f', 0)
                        .arg(producers.count() + 1)
                        .arg(lastFrameRate, 0, 'f', 1));
}

bool ScopeWindow::saveScreenshots(const QString& dir)
{
    // The panel also goes out as a PDF page and its visible samples as CSV.
    bool ok = ::saveScreenshots(this, panel, dir);
    ok = panel->saveImage(dir + "/panel.pdf") && ok;
    return panel->saveCsv(dir + "/panel.csv", true) && ok;
}

void ScopeWindow::buildMenu()
{
    QMenu* file = menuBar()->addMenu(tr("&File"));
    file->addAction(tr("Save panel as &PNG..."), this, [this] { savePanel(tr("PNG image (*.png)"), ".png"); },
                    QKeySequence::Save);
    file->addAction(tr("Save panel as P&DF..."), this, [this] { savePanel(tr("PDF document (*.pdf)"), ".pdf"); });
    file->addAction(tr("Export visible samples as &CSV..."), this, [this] {
        const QString path = QFileDialog::getSaveFileName(this, tr("Export CSV"), "kivscope.csv",
                                                          tr("CSV (*.csv)"));
        if (!path.isEmpty() && !panel->saveCsv(path, true))
            QMessageBox::warning(this, tr("Export CSV"), tr("Could not write %1").arg(path));
    }, QKeySequence(Qt::CTRL + Qt::Key_E));
    file->addSeparator();
    file->addAction(tr("&Quit"), this, &QWidget::close, QKeySequence::Quit);
}

// The panel at twice its pixels, so that the picture stays sharp when zoomed.
void ScopeWindow::savePanel(const QString& filter, const QString& suffix)
{
    const QString path = QFileDialog::getSaveFileName(this, tr("Save panel"), "kivscope" + suffix, filter);
    if (!path.isEmpty() && !panel->saveImage(path, QSize(), 2.0))
        QMessageBox::warning(this, tr("Save panel"), tr("Could not write %1").arg(path));
}
