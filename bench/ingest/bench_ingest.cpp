// The live pipeline, from producer threads to frames on screen, in one run:
//  1. flood: producers call addData flat out into a shown 800 x 600 graph with one line series
//     of 100,000 samples; samples/s, frames/s, lateness of a 3 s timer on the GUI thread, peak
//     resident memory over the idle graph, and how long the event queue takes to drain;
//  2. bulk append: addSamples in blocks of 1,000 against addData, one producer;
//  3. producer scaling: 1, 2 and 4 producers on one series and on a series each, with a
//     flusher moving the data every 25 ms as a graph repainting at its throttle rate would.
// Goals of the live pipeline are printed beside the figures. Run it under xvfb-run -a.
//
// Usage: bench_ingest [seconds per flood case, default 3]

#include "kiv_dataset.h"
#include "kiv_graph.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTimer>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

namespace {

const unsigned long Window = 100000;

class CountingGraph : public KivGraph
{
public:
    using KivGraph::KivGraph;
    std::atomic<int> frames{0};

protected:
    void paintGL() override
    {
        KivGraph::paintGL();
        ++frames;
    }
};

// Resident set size in MB, from /proc.
double residentMb()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0.0;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toDouble() / 1024.0;
    }
    return 0.0;
}

void spin(int ms)
{
    QElapsedTimer t;
    t.start();
    while (t.elapsed() < ms)
        QApplication::processEvents(QEventLoop::AllEvents, 5);
}

void flood(int producers, int seconds)
{
    CountingGraph g;
    g.setAutoScaleMethod(KivFullFit);
    KivDataSet* ds = g.addDataSet(KivDataStyle1D, Qt::blue, Window);
    // The idle case is the same graph showing a full window, so that what the driver keeps
    // for drawing 100,000 vertices is not counted as the pipeline's growth.
    for (unsigned long i = 0; i < Window; ++i)
        ds->addData(double(i % 1000));
    g.resize(800, 600);
    g.show();
    spin(500);
    const double idleMb = residentMb();

    std::atomic<bool> stop{false};
    std::atomic<double> peakMb{idleMb};
    std::thread sampler([&] {
        while (!stop.load()) {
            const double mb = residentMb();
            if (mb > peakMb.load())
                peakMb = mb;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    });
    std::vector<long> counts(size_t(producers), 0);
    std::vector<std::thread> threads;
    const int framesBefore = g.frames;
    QElapsedTimer clock;
    clock.start();
    for (int p = 0; p < producers; ++p) {
        threads.emplace_back([&, p] {
            long n = 0;
            while (!stop.load(std::memory_order_relaxed))
                ds->addData(double(n++ % 1000));
            counts[size_t(p)] = n;
        });
    }
    // The timer is due at the end of the run; how late it fires shows how busy the GUI is.
    qint64 firedAt = -1;
    QTimer::singleShot(seconds * 1000, Qt::PreciseTimer, [&] { firedAt = clock.elapsed(); });
    while (firedAt < 0 && clock.elapsed() < seconds * 20000)
        QApplication::processEvents(QEventLoop::AllEvents, 5);
    stop = true;
    const qint64 ranMs = clock.elapsed();
    const int frames = g.frames - framesBefore;
    for (std::thread& t : threads)
        t.join();
    sampler.join();
    // Time until an event posted now is handled: what the producers left in the queue.
    QElapsedTimer drain;
    drain.start();
    bool drained = false;
    QTimer::singleShot(0, [&] { drained = true; });
    while (!drained)
        QApplication::processEvents(QEventLoop::AllEvents, 5);

    long total = 0;
    for (long n : counts)
        total += n;
    const double perSecond = double(total) / (double(ranMs) / 1000.0);
    std::printf("flood  producers %d  %7.2f M samples/s (%6.2f M per producer)  %5.1f frames/s  timer late %5lld ms"
                "  peak RSS +%5.1f MB  drain %4lld ms\n",
                producers, perSecond * 1e-6, perSecond * 1e-6 / producers, frames / (double(ranMs) / 1000.0),
                firedAt - seconds * 1000LL, peakMb.load() - idleMb, drain.elapsed());
    std::fflush(stdout);
}

// Samples per second through one series (or a series each) with a flusher every 25 ms.
double ingest(int producers, bool seriesEach, unsigned long blockSize, long perProducer)
{
    CountingGraph g;
    std::vector<KivDataSet*> series;
    for (int p = 0; p < (seriesEach ? producers : 1); ++p)
        series.push_back(g.addDataSet(KivDataStyle1D, Qt::blue, Window));

    std::atomic<int> running{producers};
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    for (int p = 0; p < producers; ++p) {
        KivDataSet* ds = series[seriesEach ? size_t(p) : 0];
        threads.emplace_back([&, ds, p] {
            std::vector<double> block(blockSize);
            while (!go.load())
                std::this_thread::yield();
            if (blockSize <= 1) {
                for (long i = 0; i < perProducer; ++i)
                    ds->addData(double(p) * 1e7 + double(i));
            } else {
                for (long i = 0; i < perProducer; i += long(blockSize)) {
                    for (unsigned long k = 0; k < blockSize; ++k)
                        block[k] = double(p) * 1e7 + double(i) + double(k);
                    ds->addSamples(block.data(), blockSize, 1);
                }
            }
            --running;
        });
    }
    std::thread flusher([&] {
        while (running.load() > 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(25));
            for (KivDataSet* ds : series)
                ds->flush();
        }
    });
    QElapsedTimer clock;
    clock.start();
    go = true;
    for (std::thread& t : threads)
        t.join();
    const qint64 ns = clock.nsecsElapsed();
    flusher.join();
    return double(perProducer * producers) / (double(ns) * 1e-9);
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    const int seconds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 3;
    std::printf("Live pipeline, %d s per flood case; goals: >= 10 M samples/s per producer, >= 25 frames/s,\n"
                "timer late <= 50 ms, peak RSS within 20 MB of the idle graph\n", seconds);
    for (int producers : {1, 4})
        flood(producers, seconds);

    const long perCase = 4000000;
    const double single = ingest(1, false, 1, perCase);
    const double bulk = ingest(1, false, 1000, perCase * 10);
    std::printf("\nappend, 1 producer, 100,000-sample window: addData %7.2f M samples/s, addSamples (blocks of 1,000)"
                " %8.2f M samples/s (goal >= 200)\n", single * 1e-6, bulk * 1e-6);

    std::printf("\nproducer scaling, addData, aggregate M samples/s and ratio to 1 producer (goal >= 0.8)\n");
    for (bool seriesEach : {false, true}) {
        const double one = ingest(1, seriesEach, 1, perCase);
        std::printf("%-18s 1: %6.2f", seriesEach ? "a series each" : "one shared series", one * 1e-6);
        for (int producers : {2, 4}) {
            const double r = ingest(producers, seriesEach, 1, perCase / producers);
            std::printf("   %d: %6.2f (%.2f)", producers, r * 1e-6, r / one);
        }
        std::printf("\n");
        std::fflush(stdout);
    }
    return 0;
}
