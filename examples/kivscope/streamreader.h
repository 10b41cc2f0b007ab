#ifndef KIVSCOPE_STREAMREADER_H
#define KIVSCOPE_STREAMREADER_H

#include "rowdecoder.h"
#include "streamsource.h"

#include <QObject>
#include <QStringList>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

class KivDataSet;
class QThread;

// Reads a source on a thread of its own, decodes it into rows and appends them to series in
// batches. When the column count is known it says so (columnsKnown()) and waits for the GUI
// thread to attach() one series per `dimensions` columns; column c of a row is value
// c % dimensions of series c / dimensions, and columns left over are dropped.
class StreamReader : public QObject
{
    Q_OBJECT

public:
    // `rate` > 0 replays a replayable source at that many rows per second; 0 is as fast as
    // it comes.
    StreamReader(std::unique_ptr<StreamSource> source, std::unique_ptr<RowDecoder> decoder,
                 int dimensions, double rate, QObject* parent = nullptr);
    ~StreamReader() override;

    void start();
    // Stops the thread and waits for it; returns within a read timeout.
    void stop();
    // Hands over the series for columnsKnown(); GUI thread. The reader keeps its rows until then.
    void attach(const std::vector<KivDataSet*>& series);

    QString description() const { return name; }
    int dimensions() const { return dims; }
    // Rows handed to the series so far.
    unsigned long long rowsRead() const { return rows.load(std::memory_order_relaxed); }
    unsigned long problems(RowDecoder::Problem kind) const { return counts[kind].load(std::memory_order_relaxed); }
    // True once the input is over and every row went to the series.
    bool isFinished() const { return done.load(); }

signals:
    // The column count and header names (empty without a header), once. From the reader thread.
    void columnsKnown(int columns, const QStringList& names);
    // The input is over and every row was handed over. From the reader thread.
    void finished();

private:
    void run();
    bool waitForSeries();
    // One read from the source into the decoder; `ended` is set at the end of the input.
    StreamSource::Status readOnce(int timeoutMs, bool& ended);
    // Hands `count` decoded rows from `first` on to the series.
    void deliver(std::size_t first, std::size_t count);
    void publishProblems();

    std::unique_ptr<StreamSource> source;
    std::unique_ptr<RowDecoder> decoder;
    const int dims;
    const double rate;
    const QString name;
    std::unique_ptr<QThread> thread;

    std::mutex mutex;
    std::condition_variable attached;
    std::vector<KivDataSet*> series; // set once by attach(), then read by the reader thread only
    bool hasSeries = false;

    std::atomic<bool> stopping{false};
    std::atomic<bool> done{false};
    std::atomic<unsigned long long> rows{0};
    std::array<std::atomic<unsigned long>, RowDecoder::ProblemCount> counts{};
    unsigned long lost = 0;
    std::vector<char> buffer;
    std::vector<double> batch; // one series' values of the rows being handed over
};

#endif
