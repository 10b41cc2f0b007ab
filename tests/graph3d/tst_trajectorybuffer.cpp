// The lorenz3d example's point hand-over: producer threads append while the consumer
// drains; every point must arrive once, in each producer's order, after what was there.

#include "trajectorybuffer.h"

#include <QTest>

#include <atomic>
#include <thread>
#include <vector>

class TestTrajectoryBuffer : public QObject
{
    Q_OBJECT

private slots:
    void concurrentProducers();
};

void TestTrajectoryBuffer::concurrentProducers()
{
    const int producers = 4, perProducer = 100000;
    TrajectoryBuffer buffer;
    std::atomic<int> running(producers);
    std::vector<std::thread> threads;
    for (int p = 0; p < producers; ++p) {
        threads.emplace_back([&buffer, &running, p] {
            for (int i = 0; i < perProducer; ++i)
                buffer.append({double(p), double(i), double(p) * 1e7 + i});
            running.fetch_sub(1);
        });
    }
    std::vector<TrajectoryBuffer::Point> received = {{-1.0, -1.0, -1.0}}; // takeAll appends to it
    std::vector<int> next(size_t(producers), 0);
    bool inOrder = true, done = false;
    for (size_t checked = 1; !done; std::this_thread::yield()) {
        done = running.load() == 0;
        buffer.takeAll(received);
        for (; checked < received.size(); ++checked) {
            const TrajectoryBuffer::Point& pt = received[checked];
            const int p = int(pt[0]);
            inOrder = inOrder && p >= 0 && p < producers && int(pt[1]) == next[size_t(p)]++ && pt[2] == p * 1e7 + pt[1];
        }
    }
    for (std::thread& t : threads)
        t.join();
    buffer.takeAll(received);
    QVERIFY(inOrder);
    QCOMPARE(received.size(), size_t(producers * perProducer + 1));
    QCOMPARE(next, std::vector<int>(size_t(producers), perProducer));
}

QTEST_APPLESS_MAIN(TestTrajectoryBuffer)
#include "tst_trajectorybuffer.moc"
