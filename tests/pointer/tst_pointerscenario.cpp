// A user looks closer at a live, scrolling time series: zooms in with the rubber band, pans,
// and zooms back out with the wheel while samples keep arriving.

#include "pointertest.h"

#include <QColor>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <cmath>
#include <thread>

using pointertest::GraphWindow;
using pointertest::near;
using pointertest::scale;
using pointertest::wheel;

class TestPointerScenario : public QObject
{
    Q_OBJECT

private slots:
    void zoomPanAndWheelOnLiveSeries();
    void gesturesWhileAnotherThreadProduces();
};

void TestPointerScenario::zoomPanAndWheelOnLiveSeries()
{
    GraphWindow win(300, 200);
    KivGraph* g = win.graph;
    KivDataSet* ds = g->addDataSet(0, QColor(Qt::darkGreen), 200);
    g->setAxisScale('y', -1.5, 1.5);
    int produced = 0;
    const auto produce = [&]() {
        for (int k = 0; k < 5; ++k, ++produced)
            ds->addData(std::sin(produced * 0.05));
    };
    for (int i = 0; i < 40; ++i)
        produce();
    QTimer producer;
    QObject::connect(&producer, &QTimer::timeout, produce);
    producer.start(5);
    QVERIFY(pointertest::showAndWait(win));
    qRegisterMetaType<Qt::MouseButton>();
    QSignalSpy panning(g, &KivGraph::panning);

    // Rubber band over the middle half of the plot.
    g->setControlState(KivGraph::ControlZoom);
    QTest::mousePress(g, Qt::LeftButton, Qt::NoModifier, QPoint(75, 50));
    QTest::mouseMove(g, QPoint(150, 100));
    QTest::mouseMove(g, QPoint(225, 150));
    QTest::mouseRelease(g, Qt::LeftButton, Qt::NoModifier, QPoint(225, 150));
    QVERIFY(near(scale(*g, 'x').first, -0.5) && near(scale(*g, 'x').second, 0.5));
    QVERIFY(near(scale(*g, 'y').first, -0.75) && near(scale(*g, 'y').second, 0.75));

    // The series scrolls on underneath; the zoomed window stays put.
    const int before = produced;
    QTRY_VERIFY(produced > before + 100);
    QVERIFY(pointertest::waitForFrame(win.graph));
    QVERIFY(near(scale(*g, 'x').first, -0.5) && near(scale(*g, 'x').second, 0.5));
    QVERIFY(near(scale(*g, 'y').first, -0.75) && near(scale(*g, 'y').second, 0.75));

    // Drag the data 30 pixels to the right: the view goes back a tenth of the window.
    g->setControlState(KivGraph::ControlPan);
    QTest::mousePress(g, Qt::LeftButton, Qt::NoModifier, QPoint(150, 100));
    QTest::mouseMove(g, QPoint(160, 100));
    QTest::mouseMove(g, QPoint(180, 100));
    QTest::mouseRelease(g, Qt::LeftButton, Qt::NoModifier, QPoint(180, 100));
    QCOMPARE(panning.count(), 2);
    QVERIFY(near(scale(*g, 'x').first, -0.6) && near(scale(*g, 'x').second, 0.4));
    QVERIFY(near(scale(*g, 'y').first, -0.75) && near(scale(*g, 'y').second, 0.75));

    // Two wheel notches down at the centre: the window is whole again (it cannot grow past
    // the series' window), and y shows twice the range it started with.
    g->setControlState(KivGraph::ControlZoom);
    QVERIFY(wheel(g, QPoint(150, 100), -120));
    QVERIFY(near(scale(*g, 'x').first, -1.0) && near(scale(*g, 'x').second, 0.9));
    QVERIFY(near(scale(*g, 'y').first, -1.5) && near(scale(*g, 'y').second, 1.5));
    QVERIFY(wheel(g, QPoint(150, 100), -120));
    QVERIFY(near(scale(*g, 'x').first, -1.0) && near(scale(*g, 'x').second, 1.0));
    QVERIFY(near(scale(*g, 'y').first, -3.0) && near(scale(*g, 'y').second, 3.0));

    // No gesture is left running, and the series kept all that arrived up to its window.
    QVERIFY(!g->isMouseButtonDown().first);
    for (Qt::MouseButton b : {Qt::LeftButton, Qt::RightButton}) {
        const KivGraph::PanZoomInfo& r = g->getPanZoomInfo(b);
        QVERIFY(!r.active && !r.autoZoom && !r.horizontalSlider && !r.verticalSlider);
    }
    producer.stop();
    QVERIFY(pointertest::waitForFrame(win.graph));
    QCOMPARE(ds->getItemCount(), 200UL);
    double interval = 0.0;
    double time = 0.0;
    ds->getTime(interval, time);
    QCOMPARE(time, double(produced));
}

// The user keeps zooming, panning and measuring while a producer thread appends: the series
// must end up with the newest samples, in order, and no gesture may be left running.
void TestPointerScenario::gesturesWhileAnotherThreadProduces()
{
    GraphWindow win(300, 200);
    KivGraph* g = win.graph;
    const unsigned long window = 500;
    KivDataSet* ds = g->addDataSet(0, QColor(Qt::darkBlue), window);
    g->setAxisScale('y', 0.0, 1e6);
    QVERIFY(pointertest::showAndWait(win));
    g->showMeasure(true);

    std::atomic<bool> stop{false};
    std::atomic<long> produced{0};
    std::thread producer([&]() {
        long i = 0;
        while (!stop.load()) {
            ds->addData(double(i));
            produced.store(++i);
            if (i % 20 == 0)
                QThread::msleep(1); // keeps the queued repaint requests in proportion
        }
    });

    for (int round = 0; round < 8; ++round) {
        g->setControlState(KivGraph::ControlZoom);
        QTest::mousePress(g, Qt::LeftButton, Qt::NoModifier, QPoint(40 + round, 30));
        QTest::mouseMove(g, QPoint(150, 90));
        QTest::mouseMove(g, QPoint(260 - round, 170));
        QTest::mouseRelease(g, Qt::LeftButton, Qt::NoModifier, QPoint(260 - round, 170));
        wheel(g, QPoint(100 + 10 * round, 100), -120);
        pointertest::doubleClickAndHold(g, Qt::RightButton, QPoint(150, 100));
        wheel(g, QPoint(150, 100), 120, Qt::RightButton);
        QTest::mouseMove(g, QPoint(120, 80));
        QTest::mouseRelease(g, Qt::RightButton, Qt::NoModifier, QPoint(120, 80));

        g->setControlState(KivGraph::ControlPan);
        QTest::mousePress(g, Qt::LeftButton, Qt::NoModifier, QPoint(150, 100));
        QTest::mouseMove(g, QPoint(170, 110));
        QTest::mouseMove(g, QPoint(130, 90));
        QTest::mouseRelease(g, Qt::LeftButton, Qt::NoModifier, QPoint(130, 90));

        g->setControlState(KivGraph::ControlNone);
        for (int x = 10; x < 300; x += 40)
            QTest::mouseMove(g, QPoint(x, 50 + round));
        QTest::mouseMove(&win, QPoint(150, 220));
        QVERIFY(pointertest::waitForFrame(win.graph));
    }
    const long beforeStop = produced.load();
    QTRY_VERIFY(produced.load() > beforeStop + 100);
    stop.store(true);
    producer.join();

    QVERIFY(!g->isMouseButtonDown().first);
    QVERIFY(pointertest::waitForFrame(win.graph));
    const long n = produced.load();
    QVERIFY(n > long(window));
    QCOMPARE(ds->getDisplayItemCount(), window);
    for (unsigned long i = 0; i < window; ++i) {
        double v = 0.0;
        ds->getData(i, v);
        QVERIFY2(v == double(n - long(window) + long(i)), qPrintable(QString("%1: %2").arg(i).arg(v)));
    }
    // The pointer has left: the series' cursor is back where it was before the first hover.
    QCOMPARE(g->scopeOffset(), 0L);
}

QTEST_MAIN(TestPointerScenario)
#include "tst_pointerscenario.moc"
