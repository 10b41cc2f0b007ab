// A graph fed from several threads while it repaints: every sample arrives, in order, and the
// picture keeps being drawn. Run under ThreadSanitizer as well (-DKIV_SANITIZE=thread).

#include "graphtesthelpers.h"

#include <QtTest>

#include <QTimer>

#include <algorithm>
#include <atomic>
#include <cfloat>
#include <functional>
#include <thread>
#include <vector>

namespace {

// Every sample posts a repaint request across threads, which ThreadSanitizer slows down.
#if defined(__SANITIZE_THREAD__)
const int Samples = 4000;
#else
const int Samples = 40000;
#endif

// The drawn queue of a one-value series.
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
    void everyProducerCallWhilePainting();
    void floodKeepsGuiResponsive();
};

// Three producers on series of their own, two sharing one series (the value tells who sent it
// and in which order), one on a series bounded to 1000 samples, and one on a series that is
// removed while the graph keeps painting.
void TestGraphThreads::producersWhilePainting()
{
    graphtest::TestGraph g;
    g.setAutoScaleMethod(KivFullFit);
    g.setAxisLimits('y', -1e7, 1e7);
    std::vector<KivDataSet*> own;
    for (int p = 0; p < 3; ++p)
        own.push_back(g.addDataSet(KivDataStyle1D, QColor::fromHsv(p * 90, 255, 200), 0));
    KivDataSet* shared = g.addDataSet(KivDataStyle1D, Qt::black, 0);
    KivDataSet* bounded = g.addDataSet(KivDataStyle1D, Qt::gray, 1000);
    KivDataSet* doomed = g.addDataSet(KivDataStyle1D, Qt::red, 0);
    QVERIFY(graphtest::showAt(g, 400, 300));

    std::atomic<int> finished { 0 };
    const auto produce = [&finished](KivDataSet* ds, double base, int count) {
        return std::thread([=, &finished] {
            for (int i = 0; i < count; ++i)
                ds->addData(base + i);
            ++finished;
        });
    };
    std::vector<std::thread> producers;
    for (KivDataSet* ds : { own[0], own[1], own[2], bounded })
        producers.push_back(produce(ds, 0.0, Samples));
    producers.push_back(produce(shared, 0.0, Samples));
    producers.push_back(produce(shared, 1e6, Samples));
    std::thread doomedProducer = produce(doomed, 0.0, 5000);

    // Paint until every producer is done; remove one series and freeze once on the way.
    int frames = 0;
    while (frames < 6 || finished < 7) {
        g.grabFramebuffer();
        QCoreApplication::processEvents();
        if (++frames == 3) {
            doomedProducer.join();
            g.removeDataSet(doomed);
        } else if (frames == 5) {
            g.freeze(true);
            g.grabFramebuffer();
            g.freeze(false);
        }
    }
    for (std::thread& t : producers)
        t.join();
    QVERIFY(!g.hasDataSet(doomed));
    g.update();
    QVERIFY(graphtest::saveFrame(g.grabFramebuffer(), QStringLiteral("graph-threads.png")));

    for (KivDataSet* ds : own) {
        const std::vector<double> v = drawnValues(ds);
        QCOMPARE(int(v.size()), Samples);
        for (int i = 0; i < Samples; ++i)
            QVERIFY2(v[size_t(i)] == i, qPrintable(QStringLiteral("item %1 is %2").arg(i).arg(v[size_t(i)])));
    }
    int next[2] = { 0, 0 };
    for (double value : drawnValues(shared)) {
        const int p = value >= 1e6 ? 1 : 0;
        QVERIFY2(int(value - p * 1e6) == next[p], qPrintable(QStringLiteral("producer %1: %2 after %3").arg(p).arg(value).arg(next[p] - 1)));
        ++next[p];
    }
    QVERIFY(next[0] == Samples && next[1] == Samples);
    const std::vector<double> newest = drawnValues(bounded);
    QCOMPARE(int(newest.size()), 1000);
    for (int i = 0; i < 1000; ++i)
        QCOMPARE(newest[size_t(i)], double(Samples - 1000 + i));
    // The full-fit view holds every series, up to 1e6 + Samples for the shared one.
    QVERIFY(g.axisInfo(1).scaleMax >= 1e6 + Samples - 1 && g.axisInfo(1).scaleMin <= 0.0);
    QVERIFY(!g.isPainting());
}

// Each call a producer may make, from threads of their own, while the graph paints with the
// measure read-out, the current values and time labels showing: a series frozen and thawed
// over and over loses nothing, one cleared over and over keeps an unbroken run of the newest
// samples, bar slots hold the last value set, gaps and samples from two threads all arrive,
// and a reader never sees the drawn samples out of order.
void TestGraphThreads::everyProducerCallWhilePainting()
{
    const int n = Samples / 16 * 16;
    graphtest::TestGraph g;
    g.setAxisStyle('x', KivAxisStyleTimeLabels);
    KivDataSet* thawed = g.addDataSet(KivDataStyle1D, Qt::blue, 0);
    KivDataSet* cleared = g.addDataSet(KivDataStyle1D, Qt::red, 0);
    KivDataSet* bars = g.addDataSet(KivDataStyleBar, Qt::green, 16);
    KivDataSet* gapped = g.addDataSet(KivDataStyle1D, Qt::gray, 0);
    for (KivDataSet* ds : { thawed, cleared, bars, gapped }) {
        ds->setLabelFormat(QStringLiteral("%.0f"));
        ds->setTime(0.001, 0.0);
    }
    QVERIFY(graphtest::showAt(g, 400, 300));
    g.showMeasure(true);
    QTest::mouseMove(&g, QPoint(200, 150));

    std::atomic<int> running { 0 };
    std::atomic<int> disorder { 0 };
    const auto feed = [n](KivDataSet* ds) {
        for (int i = 0; i < n; ++i)
            ds->addData(i);
    };
    const auto until = [&running](std::function<void()> step) {
        return [&running, step] {
            while (running > 0)
                step();
        };
    };
    std::vector<std::thread> feeders;
    running = 4;
    for (KivDataSet* ds : { thawed, cleared, gapped })
        feeders.emplace_back([&, ds] { feed(ds); --running; });
    feeders.emplace_back([&] {
        for (int i = 0; i < n; ++i) {
            bars->setData(ulong(i % 16), i);
            gapped->duplicateData(1);
        }
        --running;
    });
    std::vector<std::thread> others;
    others.emplace_back(until([&] { thawed->freeze(true); std::this_thread::yield(); thawed->freeze(false); }));
    others.emplace_back(until([&] { cleared->clear(false); std::this_thread::yield(); }));
    others.emplace_back(until([&] {
        double v[64];
        const unsigned long k = cleared->copyData(0, 64, v);
        for (unsigned long i = 1; i < k; ++i)
            disorder += v[i] != v[i - 1] + 1.0;
        double first = -1.0;
        cleared->getData(0, first);
        double interval = 0.0, time = 0.0;
        cleared->getTime(interval, time);
    }));

    for (int frame = 0; running > 0 || frame < 4; ++frame) {
        QTest::mouseMove(&g, QPoint(20 + frame * 7 % 360, 150));
        g.grabFramebuffer();
        QCoreApplication::processEvents();
    }
    for (std::thread& t : feeders)
        t.join();
    for (std::thread& t : others)
        t.join();
    thawed->freeze(false);
    cleared->addData(n);
    g.grabFramebuffer();

    QCOMPARE(disorder.load(), 0);
    std::vector<double> expected(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i)
        expected[size_t(i)] = i;
    QVERIFY(drawnValues(thawed) == expected);
    const std::vector<double> run = drawnValues(cleared);
    QVERIFY(!run.empty() && run.back() == n);
    for (size_t i = 1; i < run.size(); ++i)
        QCOMPARE(run[i], run[i - 1] + 1.0);
    const std::vector<double> barValues = drawnValues(bars);
    QCOMPARE(int(barValues.size()), 16);
    for (int s = 0; s < 16; ++s)
        QCOMPARE(barValues[size_t(s)], double(n - 16 + s));
    std::vector<double> values;
    for (double v : drawnValues(gapped))
        if (v != DBL_MAX)
            values.push_back(v);
    QVERIFY(values == expected);
    QCOMPARE(int(gapped->getDisplayItemCount()), 2 * n);
}

namespace {

// Counts the queued calls delivered to the children of one object.
struct QueuedCallCounter : QObject
{
    const QObject* parentOfReceiver = nullptr;
    int calls = 0;
    bool eventFilter(QObject* o, QEvent* e) override
    {
        if (e->type() == QEvent::MetaCall && o->parent() == parentOfReceiver)
            ++calls;
        return false;
    }
};

} // namespace

// A producer adding flat out to a shown graph: the GUI thread keeps running its timers, no
// more than one repaint notification crosses threads per frame, and every sample is drawn.
void TestGraphThreads::floodKeepsGuiResponsive()
{
    graphtest::TestGraph g;
    KivDataSet* ds = g.addDataSet(KivDataStyle1D, Qt::blue, 100000);
    QVERIFY(graphtest::showAt(g, 400, 300));
    QueuedCallCounter counter;
    counter.parentOfReceiver = &g;
    qApp->installEventFilter(&counter);
    const int framesBefore = g.frames;

    std::atomic<bool> stop { false };
    long added = 0;
    std::thread producer([&] {
        while (!stop.load())
            ds->addData(double(added++));
    });
    int ticks = 0;
    QTimer tick;
    connect(&tick, &QTimer::timeout, [&] {
        if (++ticks == 10)
            stop = true;
    });
    tick.start(20);
    QTRY_VERIFY_WITH_TIMEOUT(stop.load(), 60000);
    producer.join();
    QVERIFY(added > 0);

    // The last samples reach the screen without further requests.
    const auto drawn = [ds](ulong i) {
        double v = -1.0;
        ds->getData(i, v);
        return v;
    };
    const long kept = std::min(added, 100000L);
    QTRY_COMPARE(drawn(ulong(kept - 1)), double(added - 1));
    QCOMPARE(ds->getDisplayItemCount(), ulong(kept));
    QCOMPARE(drawn(0), double(added - kept));
    qApp->removeEventFilter(&counter);
    QVERIFY2(counter.calls <= g.frames - framesBefore + 1,
             qPrintable(QStringLiteral("%1 queued calls for %2 frames").arg(counter.calls).arg(g.frames - framesBefore)));
}

QTEST_MAIN(TestGraphThreads)
#include "tst_graphthreads.moc"
