#include "producers.h"

#include <chrono>

Producers::Producers(double samplesPerSecond)
    : rate(samplesPerSecond)
{
}

Producers::~Producers()
{
    stop();
}

void Producers::add(Feed feed)
{
    feeds.push_back(std::move(feed));
}

void Producers::start()
{
    running = true;
    for (const Feed& feed : feeds)
        threads.emplace_back([this, &feed] { run(feed); });
}

void Producers::stop()
{
    running = false;
    for (std::thread& t : threads)
        t.join();
    threads.clear();
}

void Producers::run(const Feed& feed)
{
    using clock = std::chrono::steady_clock;
    const auto begin = clock::now();
    unsigned long index = 0;
    while (running) {
        // Catch up with the wall clock in one burst, then sleep: like a driver's buffer. At a
        // rate beyond reach a burst never ends, so it stops as soon as the producers do.
        const double elapsed = std::chrono::duration<double>(clock::now() - begin).count();
        const auto due = static_cast<unsigned long>(elapsed * rate);
        const unsigned long first = index;
        for (; index < due && running.load(std::memory_order_relaxed); ++index)
            feed(index);
        produced.fetch_add(index - first, std::memory_order_relaxed);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}
