// Several producer threads append to one series while another thread moves the data, as
// the graph's painting does. Nothing may be lost or reordered; the time base must count
// every sample. Built with -DKIV_SANITIZE=thread this is also the race check.

#include "kiv_dataset.h"

#include <QtTest>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

constexpr int Producers = 4;
constexpr long PerProducer = 1000000;
constexpr double ProducerStride = 1e7; // a sample is producer * stride + its running number

struct Stress { ulong maxItems; bool toggleFreeze, atBack; };
Q_DECLARE_METATYPE(Stress)

class TestDataSetStress : public QObject
{
    Q_OBJECT

private slots:
    void producersAndFlusher_data()
    {
        QTest::addColumn<Stress>("c");
        QTest::newRow("unbounded") << Stress{0, false, true};
        QTest::newRow("bounded") << Stress{100000, false, true};
        QTest::newRow("unbounded, freezing now and then") << Stress{0, true, true};
        QTest::newRow("unbounded, added at the front") << Stress{0, false, false};
    }

    void producersAndFlusher()
    {
        QFETCH(Stress, c);
        const ulong maxItems = c.maxItems;
        KivDataSet ds(640, 480);
        ds.setMaxItemCount(maxItems);
        ds.setAddPosition(c.atBack);
        ds.setTime(0.5, 0.0);

        std::atomic<int> running{Producers};
        std::atomic<bool> go{false};
        std::vector<std::thread> producers;
        for (int p = 0; p < Producers; ++p) {
            producers.emplace_back([&, p] {
                while (!go.load())
                    std::this_thread::yield();
                for (long i = 0; i < PerProducer; ++i)
                    ds.addData(p * ProducerStride + double(i));
                --running;
            });
        }

        unsigned long flushes = 0, biggestCount = 0;
        std::thread flusher([&] {
            while (!go.load())
                std::this_thread::yield();
            while (running.load() > 0) {
                if (c.toggleFreeze && flushes % 50 == 10)
                    ds.freeze(true);
                if (c.toggleFreeze && flushes % 50 == 30)
                    ds.freeze(false);
                ds.flush();
                biggestCount = std::max(biggestCount, ds.getItemCount());
                ++flushes;
                std::this_thread::yield();
            }
            ds.freeze(false);
            ds.flush();
        });
        go = true;
        for (std::thread &t : producers)
            t.join();
        flusher.join();
        ds.flush(); // nothing left over

        const unsigned long total = Producers * PerProducer;
        const unsigned long expected = maxItems > 0 ? std::min(maxItems, total) : total;
        QCOMPARE(ds.getDisplayItemCount(), expected);
        QCOMPARE(ds.getItemCount(), expected);
        QVERIFY(biggestCount <= (maxItems > 0 ? maxItems : total));
        double interval = 0.0, time = 0.0;
        ds.getTime(interval, time);
        QCOMPARE(time, (c.atBack ? 0.5 : -0.5) * double(total));

        // Each producer's samples in the order added (reversed at the front); unbounded, all.
        std::vector<double> values(expected);
        QCOMPARE(ds.copyData(0, expected + 10, values.data()), expected);
        if (!c.atBack)
            std::reverse(values.begin(), values.end());
        std::vector<long> next(Producers, -1);
        for (unsigned long i = 0; i < expected; ++i) {
            const double v = values[i];
            const int p = int(v / ProducerStride);
            QVERIFY2(p >= 0 && p < Producers, qPrintable(QString("sample %1 reads %2").arg(i).arg(v)));
            const long counter = long(v - p * ProducerStride);
            if (maxItems == 0 ? counter != next[p] + 1 : counter <= next[p])
                QFAIL(qPrintable(QString("producer %1: %2 follows %3 at %4").arg(p).arg(counter).arg(next[p]).arg(i)));
            next[p] = counter;
        }
        if (maxItems == 0)
            QCOMPARE(next, std::vector<long>(Producers, PerProducer - 1));
    }
};

QTEST_GUILESS_MAIN(TestDataSetStress)
#include "tst_datasetstress.moc"
