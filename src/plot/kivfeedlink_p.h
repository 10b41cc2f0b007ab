#ifndef KIVFEEDLINK_P_H
#define KIVFEEDLINK_P_H

#include <QThread>

#include <atomic>

class KivDataSet;

// What a series shares with its feeds: the series while it exists and the number of feed
// appends running on it. close() runs first in the series' destructor.
class KivFeedLink
{
public:
    explicit KivFeedLink(KivDataSet* set) : m_set(set) {}

    // The series for one append, or null once closed; every enter() is paired with leave().
    KivDataSet* enter()
    {
        m_inFlight.fetch_add(1);
        return m_set.load();
    }
    void leave() { m_inFlight.fetch_sub(1); }

    bool isOpen() const { return m_set.load() != nullptr; }

    // Stops new appends and waits for those in flight. Both sides use sequentially
    // consistent operations: either an append sees the series gone, or close() sees it
    // counted and waits for it.
    void close()
    {
        m_set.store(nullptr);
        while (m_inFlight.load() != 0)
            QThread::yieldCurrentThread();
    }

private:
    std::atomic<KivDataSet*> m_set;
    std::atomic<int> m_inFlight{0};
};

#endif // KIVFEEDLINK_P_H
