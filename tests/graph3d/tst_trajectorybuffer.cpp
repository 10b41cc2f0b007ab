// The lorenz3d example's point hand-over: several producer threads append while the
// consumer drains; every point must arrive once, in each producer's order.

#include "trajectorybuffer.h"

#include <QTest>

#include <atomic>
#include <thread>
#include <vector>

class TestTrajectoryBuffer : public QObject
{
    Q_OBJECT

private slots:
    void takeAllKeepsOrder();
    void concurrentProducers_data();
    void concurrentProducers();
};

void TestTrajectoryBuffer::takeAllKeepsOrder()
{
    TrajectoryBuffer buffer;
    std::vector<TrajectoryBuffer::Point> out = {{-1.0, -1.0, -1.0}};
    buffer.takeAll(out);
    QCOMPARE(out.size(), size_t(1));

    for (int i = 0; i < 5; ++i)
        buffer.append({double(i), 2.0 * i, 3.0 * i});
    buffer.takeAll(out);
    buffer.append({5.0, 10.0, 15.0});
    buffer.takeAll(out);
    QCOMPARE(out.size(), size_t(7));
    QCOMPARE(out[0][0], -1.0);
    for (int i = 0; i < 6; ++i) {
        QCOMPARE(out[size_t(i + 1)][0], double(i));
        QCOMPARE(out[size_t(i + 1)][2], 3.0 * i);
    }
    out.clear();
    buffer.takeAll(out);
    QVERIFY(out.empty());
}

void TestTrajectoryBuffer::concurrentProducers_data()
{
    QTest::addColumn<int>("producers");
    QTest::addColumn<int>("perProducer");
    QTest::newRow("one producer") << 1 << 200000;
    QTest::newRow("four producers") << 4 << 100000;
}

void TestTrajectoryBuffer::concurrentProducers()
{
    QFETCH(int, producers);
    QFETCH(int, perProducer);

    TrajectoryBuffer buffer;
    std::atomic<int> running(producers);
    std::vector<std::thread> threads;
    for (int p = 0; p < producers; ++p) {
        threads.emplace_back([&buffer, &running, p, perProducer] {
            for (int i = 0; i < perProducer; ++i)
                buffer.append({double(p), double(i), double(p) * 1e7 + i});
            running.fetch_sub(1);
        });
    }

    std::vector<TrajectoryBuffer::Point> received;
    std::vector<int> next(size_t(producers), 0);
    bool inOrder = true;
    size_t checked = 0;
    for (;;) {
        const bool last = running.load() == 0;
        buffer.takeAll(received);
        for (; checked < received.size(); ++checked) {
            const TrajectoryBuffer::Point& pt = received[checked];
            const int p = int(pt[0]);
            inOrder = inOrder && p >= 0 && p < producers && int(pt[1]) == next[size_t(p)]
                && pt[2] == double(p) * 1e7 + pt[1];
            if (p >= 0 && p < producers)
                ++next[size_t(p)];
        }
        if (last)
            break;
        std::this_thread::yield();
    }
    for (std::thread& t : threads)
        t.join();

    QVERIFY(inOrder);
    QCOMPARE(received.size(), size_t(producers) * size_t(perProducer));
    for (int p = 0; p < producers; ++p)
        QCOMPARE(next[size_t(p)], perProducer);
}

QTEST_APPLESS_MAIN(TestTrajectoryBuffer)
#include "tst_trajectorybuffer.moc"
