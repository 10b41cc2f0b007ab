// A user looks closer at a live, scrolling time series: zooms in with the rubber band, pans,
// and zooms back out with the wheel while samples keep arriving.

#include "pointertest.h"

#include <QTimer>

#include <cmath>

using namespace pointertest;

class TestPointerScenario : public QObject
{
    Q_OBJECT

private slots:
    void zoomPanAndWheelOnLiveSeries()
    {
        GraphWindow win;
        KivGraph* g = win.graph;
        KivDataSet* ds = g->addDataSet(0, QColor(Qt::darkGreen), 200);
        g->setAxisScale('y', -1.5, 1.5);
        int produced = 0;
        const auto produce = [&]() {
            for (int k = 0; k < 5; ++k, ++produced)
                ds->addData(std::sin(produced * 0.05));
        };
        while (produced < 200)
            produce();
        QTimer producer;
        QObject::connect(&producer, &QTimer::timeout, produce);
        producer.start(5);
        QVERIFY(win.showAndWait());
        QSignalSpy panning(g, &KivGraph::panning);

        // Rubber band over the middle half; the zoomed window stays put while the series scrolls.
        g->setControlState(KivGraph::ControlZoom);
        drag(g, Qt::LeftButton, QPoint(75, 50), QPoint(225, 150));
        QVERIFY(viewIs(*g, QRectF(QPointF(-0.5, -0.75), QPointF(0.5, 0.75))));
        const int before = produced;
        QTRY_VERIFY(produced > before + 100);
        QVERIFY(waitForFrame(win.graph));
        QVERIFY(viewIs(*g, QRectF(QPointF(-0.5, -0.75), QPointF(0.5, 0.75))));

        // Drag the data 30 pixels to the right: the view goes back a tenth of the window.
        g->setControlState(KivGraph::ControlPan);
        drag(g, Qt::LeftButton, QPoint(150, 100), QPoint(180, 100));
        QCOMPARE(panning.count(), 2);
        QVERIFY(viewIs(*g, QRectF(QPointF(-0.6, -0.75), QPointF(0.4, 0.75))));

        // Two notches down: x cannot grow past the series' window, y ends at twice its start.
        g->setControlState(KivGraph::ControlZoom);
        QVERIFY(wheel(g, QPoint(150, 100), -120));
        QVERIFY(viewIs(*g, QRectF(QPointF(-1.0, -1.5), QPointF(0.9, 1.5))));
        QVERIFY(wheel(g, QPoint(150, 100), -120));
        QVERIFY(viewIs(*g, QRectF(QPointF(-1.0, -3.0), QPointF(1.0, 3.0))));

        // No gesture is left running; the series kept up with all that arrived.
        QVERIFY(noGestureActive(*g));
        producer.stop();
        double interval = 0.0, time = 0.0;
        ds->getTime(interval, time);
        QCOMPARE(time, double(produced));
    }
};

QTEST_MAIN(TestPointerScenario)
#include "tst_pointerscenario.moc"
