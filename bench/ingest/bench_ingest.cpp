// Samples per second through KivDataSet::addData for 1, 2 and 4 producer threads, with
// and without a bound, while a flusher thread moves the data every 25 ms as a graph
// repainting at its throttle rate would. Prints one line per case.
//
// Usage: bench_ingest [samples per case, default 4000000]

#include "kiv_dataset.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

namespace {

struct Result
{
    double samplesPerSecond;
    unsigned long flushes;
};

Result run(int producers, unsigned long maxItems, long total)
{
    KivDataSet ds(640, 480);
    ds.setMaxItemCount(maxItems);
    const long perProducer = total / producers;

    std::atomic<int> running{producers};
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    for (int p = 0; p < producers; ++p) {
        threads.emplace_back([&, p] {
            while (!go.load())
                std::this_thread::yield();
            for (long i = 0; i < perProducer; ++i)
                ds.addData(double(p) * 1e7 + double(i));
            --running;
        });
    }
    unsigned long flushes = 0;
    std::thread flusher([&] {
        while (running.load() > 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(25));
            ds.flush();
            ++flushes;
        }
    });

    QElapsedTimer clock;
    clock.start();
    go = true;
    for (std::thread &t : threads)
        t.join();
    const qint64 ns = clock.nsecsElapsed();
    flusher.join();
    ds.flush();
    return {double(perProducer * producers) / (double(ns) * 1e-9), flushes};
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const long total = argc > 1 ? std::atol(argv[1]) : 4000000;
    std::printf("addData throughput, %ld samples per case, flush every 25 ms\n", total);
    for (unsigned long maxItems : {0ul, 100000ul}) {
        for (int producers : {1, 2, 4}) {
            const Result r = run(producers, maxItems, total);
            std::printf("producers %d  maxItemCount %6lu  %8.2f M samples/s  (%lu flushes)\n", producers, maxItems,
                        r.samplesPerSecond * 1e-6, r.flushes);
            std::fflush(stdout);
        }
    }
    return 0;
}
