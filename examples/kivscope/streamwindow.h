#ifndef KIVSCOPE_STREAMWINDOW_H
#define KIVSCOPE_STREAMWINDOW_H

#include <QElapsedTimer>
#include <QMainWindow>

#include <vector>

class KivDataSet;
class KivWidget;
class QLabel;
class StreamReader;

// Plots what a StreamReader reads: once the columns are known, a panel with one series per
// column (or pair, or triple) and a legend named after the header; a status line with the
// rates and the count of everything the reader skipped.
class StreamWindow : public QMainWindow
{
    Q_OBJECT

public:
    struct Options
    {
        int rows = 0;              // panel rows; 0 chooses rows and columns from the series count
        int cols = 0;              // panel columns
        unsigned long max = 4000;  // samples kept per series
        double interval = 0.0;     // seconds between samples for time labels; 0 numbers samples
        unsigned long shape = 0;   // KivDataStyleLine, KivDataStylePoints or KivDataStyleBar
        bool reportToStderr = false; // also write what was skipped to stderr as it happens
    };

    StreamWindow(StreamReader* reader, const Options& options, QWidget* parent = nullptr);

    // Averages over the run: samples up to the end of the input, frames since the graphs appeared.
    double samplesPerSecond() const;
    double framesPerSecond() const;
    bool saveScreenshots(const QString& dir);
    // One line per series: label, samples held, gaps among them and the extents.
    QStringList seriesSummary() const;
    // "malformed=0 too-long=0 ..." for every kind of problem.
    QString problemCounts() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildPanel(int columns, const QStringList& names);
    void inputEnded();
    void updateStatus();
    QString problemText() const;
    int graphCount() const;

    StreamReader* reader;
    Options options;
    KivWidget* panel = nullptr;
    QLabel* status;
    std::vector<KivDataSet*> series;
    QElapsedTimer clock;
    qint64 endTime = -1;
    qint64 panelTime = 0; // when the graphs appeared
    unsigned long long frames = 0;
    unsigned long long lastSamples = 0;
    qint64 lastTime = 0;
    QString lastReported;
};

#endif
