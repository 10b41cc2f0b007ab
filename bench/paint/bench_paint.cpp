// Frame times of the graph for large series, and a live producer at 200,000 samples/s.

#include "kiv_dataset.h"
#include "kiv_graph.h"
#include "timedgraph.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QOpenGLContext>
#include <QOpenGLFunctions>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <thread>
#include <vector>

namespace {

struct Shape {
    const char* name;
    unsigned long style;
};

void staticFrames()
{
    const Shape shapes[] = { { "line", KivDataStyleLine }, { "points", KivDataStylePoints }, { "bars", KivDataStyleBar } };
    const unsigned long sizes[] = { 10000, 100000, 1000000 };
    std::printf("%-8s %10s %12s %12s %8s\n", "shape", "samples", "median ms", "min ms", "frames");
    for (const Shape& shape : shapes) {
        for (unsigned long n : sizes) {
            TimedGraph g;
            g.resize(800, 600);
            KivDataSet* ds = g.addDataSet(shape.style, QColor(0, 90, 200), n);
            for (unsigned long i = 0; i < n; ++i)
                ds->addData(std::sin(i * 0.001) * 10.0 + std::sin(i * 0.37));
            g.setAxisScale('y', -12.0, 12.0);
            g.show();
            QCoreApplication::processEvents();
            g.grabFramebuffer(); // the first frame moves the samples into the drawn queue
            g.frameMs.clear();
            const int frames = n >= 1000000 ? 9 : 25;
            for (int f = 0; f < frames; ++f)
                g.grabFramebuffer();
            std::printf("%-8s %10lu %12.2f %12.2f %8d\n", shape.name, n, median(g.frameMs),
                        *std::min_element(g.frameMs.begin(), g.frameMs.end()), frames);
            std::fflush(stdout);
        }
    }
}

void liveProducer(double seconds)
{
    const unsigned long window = 100000;
    const double rate = 200000.0;
    TimedGraph g;
    g.resize(800, 600);
    KivDataSet* ds = g.addDataSet(KivDataStyle1D, QColor(0, 90, 200), window);
    g.setAutoScaleMethod(KivFullFit);
    g.show();
    QCoreApplication::processEvents();

    std::atomic<bool> stop { false };
    std::atomic<unsigned long> produced { 0 };
    std::thread producer([&] {
        // Paced by the clock in 1 ms slices: 200 samples each.
        const auto start = std::chrono::steady_clock::now();
        unsigned long i = 0;
        while (!stop.load()) {
            const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
            const unsigned long due = static_cast<unsigned long>(elapsed * rate);
            for (; i < due; ++i)
                ds->addData(std::sin(i * 0.0005) * 10.0 + 0.5 * std::sin(i * 0.05));
            produced.store(i);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });

    g.frameMs.clear();
    QElapsedTimer clock;
    clock.start();
    unsigned long shownSum = 0;
    unsigned long shownMin = window;
    int samples = 0;
    while (clock.elapsed() < seconds * 1000.0) {
        const size_t before = g.frameMs.size();
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        if (g.frameMs.size() != before && clock.elapsed() > 500) {
            const unsigned long shown = ds->getDisplayItemCount();
            shownSum += shown;
            shownMin = std::min(shownMin, shown);
            ++samples;
        }
    }
    const double elapsed = clock.elapsed() / 1000.0;
    stop.store(true);
    producer.join();
    const double fps = g.frameMs.size() / elapsed;
    std::printf("\nlive: producer %.0f samples/s (target %.0f), window %lu samples\n",
                produced.load() / elapsed, rate, window);
    std::printf("live: %.1f frames/s over %.1f s, median frame %.2f ms, samples shown per frame: mean %.0f, min %lu\n",
                fps, elapsed, median(g.frameMs), samples ? double(shownSum) / samples : 0.0, samples ? shownMin : 0);
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    const double liveSeconds = argc > 1 ? std::atof(argv[1]) : 5.0;
    staticFrames();
    liveProducer(liveSeconds);
    return 0;
}
