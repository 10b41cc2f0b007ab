#ifndef KIVSCOPE_PRODUCERS_H
#define KIVSCOPE_PRODUCERS_H

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

// Runs one feeder function per thread at a fixed sample rate until stopped, the way an
// acquisition driver would: wake up every few milliseconds and hand over what has arrived.
class Producers
{
public:
    // `feed(n)` is called with the index of the next sample, once per sample.
    using Feed = std::function<void(unsigned long index)>;

    explicit Producers(double samplesPerSecond);
    ~Producers();

    void add(Feed feed);
    void start();
    void stop();
    int count() const { return int(feeds.size()); }
    unsigned long long samplesProduced() const { return produced.load(std::memory_order_relaxed); }

private:
    void run(const Feed& feed);

    double rate;
    std::vector<Feed> feeds;
    std::vector<std::thread> threads;
    std::atomic<bool> running{false};
    std::atomic<unsigned long long> produced{0};
};

#endif
