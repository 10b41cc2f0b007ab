#ifndef KIVSCOPE_SCOPEWINDOW_H
#define KIVSCOPE_SCOPEWINDOW_H

#include "producers.h"
#include "trajectorybuffer.h"

#include <QElapsedTimer>
#include <QMainWindow>

#include <memory>

class KivDataSet;
class KivWidget;
class LorenzSource;
class LorenzView;
class QLabel;

// An instrument front panel: a 2 x 2 Kiv panel fed by producer threads, a rotatable 3D view
// of a live trajectory beside it, and a status line.
class ScopeWindow : public QMainWindow
{
    Q_OBJECT

public:
    struct Options
    {
        double rate = 2000.0;        // samples per second and producer
        unsigned long window = 4000; // samples kept by the time series
    };

    explicit ScopeWindow(const Options& options, QWidget* parent = nullptr);
    ~ScopeWindow() override;

    double samplesPerSecond() const { return lastSampleRate; }
    double framesPerSecond() const { return lastFrameRate; }
    // Writes the whole window and every 2D graph as PNG files into `dir`, the panel as PDF
    // and its visible samples as CSV.
    bool saveScreenshots(const QString& dir);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildTimeSeries();
    void buildScope();
    void buildLissajous();
    void buildBars();
    QWidget* buildTrajectory();
    void updateStatus();
    // File menu: the panel as PNG or PDF, its visible samples as CSV.
    void buildMenu();
    void savePanel(const QString& filter, const QString& suffix);

    Options options;
    KivWidget* panel;
    QLabel* status;
    Producers producers;
    TrajectoryBuffer trajectory;
    LorenzView* view = nullptr;
    // Declared after the buffer it feeds, so it stops before the buffer goes.
    std::unique_ptr<LorenzSource> lorenz;
    QElapsedTimer clock;
    unsigned long long lastSamples = 0;
    unsigned long long frames = 0;
    unsigned long long lastFrames = 0;
    qint64 lastTime = 0;
    double lastSampleRate = 0.0;
    double lastFrameRate = 0.0;
};

#endif
