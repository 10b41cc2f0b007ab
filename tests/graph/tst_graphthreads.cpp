// A graph fed from several threads while it repaints: every sample arrives, in order, and the
// picture keeps being drawn. Run under ThreadSanitizer as well (-DKIV_SANITIZE=thread).

#include "graphtesthelpers.h"

#include <QtTest>

#include <atomic>
#include <thread>
#include <vector>

using graphtest::TestGraph;

namespace {

// Every sample posts a repaint request across threads; under ThreadSanitizer that is slow
// enough to need a smaller run.
#if defined(__SANITIZE_THREAD__)
const int SamplesPerProducer = 4000;
#else
const int SamplesPerProducer = 40000;
#endif

// Reads the drawn queue of a one-value series.
std::vector<double> drawnValues(const KivDataSet* ds)
{
    std::vector<double> out(ds->getDisplayItemCount());
    for (size_t i = 0; i < out.size(); ++i)
        ds->getData(i, out[i], true, 1);
    return out;
}

} // namespace

class TestGraphThreads : public QObject
{
    Q_OBJECT

private slots:
    void producersWhilePainting();
};

void TestGraphThreads::producersWhilePainting()
{
    TestGraph g;
    g.setAutoScaleMethod(KivFullFit);
    g.setAxisLimits('y', -1e7, 1e7);
    const int own = 3;
    std::vector<KivDataSet*> series;
    for (int p = 0; p < own; ++p)
        series.push_back(g.addDataSet(KivDataStyle1D, QColor::fromHsv(p * 90, 255, 200), 0));
    KivDataSet* shared = g.addDataSet(KivDataStyle1D, Qt::black, 0);
    KivDataSet* bounded = g.addDataSet(KivDataStyle1D, Qt::gray, 1000);
    KivDataSet* doomed = g.addDataSet(KivDataStyle1D, Qt::red, 0);
    g.resize(400, 300);
    g.show();
    QVERIFY(QTest::qWaitForWindowExposed(&g));

    std::atomic<int> running { 0 };
    std::vector<std::thread> producers;
    auto start = [&](std::function<void()> work) {
        ++running;
        producers.emplace_back([work, &running] {
            work();
            --running;
        });
    };
    for (int p = 0; p < own; ++p) {
        KivDataSet* ds = series[size_t(p)];
        start([ds] {
            for (int i = 0; i < SamplesPerProducer; ++i)
                ds->addData(double(i));
        });
    }
    // Two producers share one series; the value tells who sent it and in which order.
    for (int p = 0; p < 2; ++p) {
        start([shared, p] {
            for (int i = 0; i < SamplesPerProducer; ++i)
                shared->addData(p * 1e6 + i);
        });
    }
    start([bounded] {
        for (int i = 0; i < SamplesPerProducer; ++i)
            bounded->addData(double(i));
    });
    std::thread doomedProducer([doomed] {
        for (int i = 0; i < 5000; ++i)
            doomed->addData(double(i));
    });

    // Paint continuously, freezing once, and remove a series whose producer has finished.
    int frames = 0;
    bool removed = false;
    bool frozeOnce = false;
    while (running.load() > 0 || !removed) {
        g.grabFramebuffer();
        QCoreApplication::processEvents();
        ++frames;
        if (!removed && frames > 3) {
            doomedProducer.join();
            g.removeDataSet(doomed);
            removed = true;
        }
        if (!frozeOnce && frames == 6) {
            g.freeze(true);
            g.grabFramebuffer();
            g.freeze(false);
            frozeOnce = true;
        }
    }
    for (std::thread& t : producers)
        t.join();
    QVERIFY(frames > 3);
    QVERIFY(!g.hasDataSet(doomed));

    g.update();
    const QImage last = g.grabFramebuffer();
    graphtest::saveFrame(last, QStringLiteral("graph-threads.png"));

    for (int p = 0; p < own; ++p) {
        const std::vector<double> v = drawnValues(series[size_t(p)]);
        QCOMPARE(int(v.size()), SamplesPerProducer);
        for (int i = 0; i < SamplesPerProducer; ++i) {
            if (v[size_t(i)] != double(i))
                QFAIL(qPrintable(QStringLiteral("series %1: item %2 is %3").arg(p).arg(i).arg(v[size_t(i)])));
        }
    }

    const std::vector<double> mixed = drawnValues(shared);
    QCOMPARE(int(mixed.size()), 2 * SamplesPerProducer);
    int next[2] = { 0, 0 };
    for (double value : mixed) {
        const int p = value >= 1e6 ? 1 : 0;
        const int i = int(value - p * 1e6);
        if (i != next[p])
            QFAIL(qPrintable(QStringLiteral("producer %1: expected %2, got %3").arg(p).arg(next[p]).arg(i)));
        ++next[p];
    }
    QCOMPARE(next[0], SamplesPerProducer);
    QCOMPARE(next[1], SamplesPerProducer);

    const std::vector<double> newest = drawnValues(bounded);
    QCOMPARE(int(newest.size()), 1000);
    for (int i = 0; i < 1000; ++i)
        QCOMPARE(newest[size_t(i)], double(SamplesPerProducer - 1000 + i));

    // The full-fit view holds every series: 0 .. SamplesPerProducer for the own series and
    // up to 1e6 + SamplesPerProducer for the shared one.
    QVERIFY(g.axisInfo(1).scaleMax >= 1e6 + SamplesPerProducer - 1);
    QVERIFY(g.axisInfo(1).scaleMin <= 0.0);
    QVERIFY(!g.isPainting());
}

QTEST_MAIN(TestGraphThreads)
#include "tst_graphthreads.moc"
