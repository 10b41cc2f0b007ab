// Zoom, pan, wheel, scroll-bar drags and the measure cursor driven by real mouse events on a
// shown graph of 300 x 200 pixels. The view is x 0 .. 300, y 0 .. 200 unless a test says
// otherwise, so that one pixel is one data unit (y upwards).

#include "pointertest.h"

#include <QColor>
#include <QSignalSpy>

#include <cmath>

using pointertest::GraphWindow;
using pointertest::near;
using pointertest::scale;
using pointertest::wheel;

namespace {

using Range = std::pair<double, double>;

bool sameRange(const Range& a, double min, double max)
{
    return near(a.first, min) && near(a.second, max);
}

QString rangeText(const Range& r)
{
    return QString("%1 .. %2").arg(r.first, 0, 'g', 12).arg(r.second, 0, 'g', 12);
}

bool noGestureActive(const KivGraph& g)
{
    for (Qt::MouseButton b : {Qt::LeftButton, Qt::RightButton}) {
        const KivGraph::PanZoomInfo& r = g.getPanZoomInfo(b);
        if (r.active || r.autoZoom || r.horizontalSlider || r.verticalSlider)
            return false;
    }
    return !g.isMouseButtonDown().first;
}

} // namespace

class TestPointerGestures : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void pressesThatStartNoGesture_data();
    void pressesThatStartNoGesture();
    void rubberBand_data();
    void rubberBand();
    void rubberBandRecordWhileDragging();
    void secondButtonCancelsZoom();
    void doubleClickZoomFollowsPointer_data();
    void doubleClickZoomFollowsPointer();
    void wheelResizesDoubleClickRectangle_data();
    void wheelResizesDoubleClickRectangle();
    void wheelMovesRubberBandAnchor();
    void wheelZoomsAboutPointer_data();
    void wheelZoomsAboutPointer();
    void wheelOutsideZoomGoesToParent_data();
    void wheelOutsideZoomGoesToParent();
    void pan_data();
    void pan();
    void sliderDrag_data();
    void sliderDrag();
    void allSamplesZoomOnlyChangesY();
    void gesturesRequestRepaints();
    void gestureOperationsWithoutEvents();
    void measureCursorFollowsPointer();
    void measureCursorNeedsTimeSeries_data();
    void measureCursorNeedsTimeSeries();
    void noDataSetsIsHarmless_data();
    void noDataSetsIsHarmless();

private:
    GraphWindow* win = nullptr;
    pointertest::CountingGraph* g = nullptr;
};

void TestPointerGestures::init()
{
    win = new GraphWindow(300, 200);
    g = win->graph;
    g->setAxisScale('x', 0.0, 300.0);
    g->setAxisScale('y', 0.0, 200.0);
    QVERIFY(pointertest::showAndWait(*win));
}

void TestPointerGestures::cleanup()
{
    delete win;
    win = nullptr;
    g = nullptr;
}

void TestPointerGestures::pressesThatStartNoGesture_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<Qt::MouseButton>("button");
    QTest::newRow("none, left") << int(KivGraph::ControlNone) << Qt::LeftButton;
    QTest::newRow("none, right") << int(KivGraph::ControlNone) << Qt::RightButton;
    QTest::newRow("zoom, middle") << int(KivGraph::ControlZoom) << Qt::MiddleButton;
    QTest::newRow("pan, middle") << int(KivGraph::ControlPan) << Qt::MiddleButton;
}

void TestPointerGestures::pressesThatStartNoGesture()
{
    QFETCH(int, state);
    QFETCH(Qt::MouseButton, button);

    g->setControlState(KivGraph::ControlState(state));
    QSignalSpy panning(g, &KivGraph::panning);
    QTest::mousePress(g, button, Qt::NoModifier, QPoint(50, 50));
    QVERIFY(!g->isMouseButtonDown().first);
    QTest::mouseMove(g, QPoint(200, 150));
    QTest::mouseRelease(g, button, Qt::NoModifier, QPoint(200, 150));
    QTest::mouseDClick(g, button, Qt::NoModifier, QPoint(100, 100));

    QVERIFY(noGestureActive(*g));
    QVERIFY(!g->getPanZoomInfo(button).active);
    QCOMPARE(panning.count(), 0);
    QVERIFY(sameRange(scale(*g, 'x'), 0.0, 300.0));
    QVERIFY(sameRange(scale(*g, 'y'), 0.0, 200.0));
}

void TestPointerGestures::rubberBand_data()
{
    QTest::addColumn<Qt::MouseButton>("button");
    QTest::addColumn<QPoint>("from");
    QTest::addColumn<QPoint>("to");
    QTest::addColumn<QRectF>("view"); // x range left .. right, y range top .. bottom

    const QRectF unchanged(QPointF(0, 0), QPointF(300, 200));
    QTest::newRow("zoom in") << Qt::LeftButton << QPoint(75, 50) << QPoint(225, 150)
                             << QRectF(QPointF(75, 50), QPointF(225, 150));
    QTest::newRow("zoom in, dragged up-left") << Qt::LeftButton << QPoint(225, 150) << QPoint(75, 50)
                                              << QRectF(QPointF(75, 50), QPointF(225, 150));
    QTest::newRow("zoom in, beyond the widget") << Qt::LeftButton << QPoint(75, 50) << QPoint(400, 260)
                                                << QRectF(QPointF(75, 0), QPointF(300, 150));
    QTest::newRow("zoom out") << Qt::RightButton << QPoint(75, 50) << QPoint(225, 150)
                              << QRectF(QPointF(-150, -100), QPointF(450, 300));
    QTest::newRow("zero height") << Qt::LeftButton << QPoint(100, 50) << QPoint(101, 50) << unchanged;
    QTest::newRow("zero width") << Qt::LeftButton << QPoint(100, 50) << QPoint(100, 150) << unchanged;
    QTest::newRow("click") << Qt::RightButton << QPoint(100, 50) << QPoint(100, 50) << unchanged;
}

void TestPointerGestures::rubberBand()
{
    QFETCH(Qt::MouseButton, button);
    QFETCH(QPoint, from);
    QFETCH(QPoint, to);
    QFETCH(QRectF, view);

    g->setControlState(KivGraph::ControlZoom);
    QSignalSpy panning(g, &KivGraph::panning);
    QTest::mousePress(g, button, Qt::NoModifier, from);
    QTest::mouseMove(g, (from + to) / 2);
    QTest::mouseMove(g, to);
    // Nothing is applied before the release.
    QVERIFY(sameRange(scale(*g, 'x'), 0.0, 300.0));
    QTest::mouseRelease(g, button, Qt::NoModifier, to);

    const Range x = scale(*g, 'x');
    const Range y = scale(*g, 'y');
    QVERIFY2(sameRange(x, view.left(), view.right()), qPrintable(rangeText(x)));
    QVERIFY2(sameRange(y, view.top(), view.bottom()), qPrintable(rangeText(y)));
    QVERIFY(noGestureActive(*g));
    QCOMPARE(panning.count(), 0);
}

void TestPointerGestures::rubberBandRecordWhileDragging()
{
    g->setControlState(KivGraph::ControlZoom);
    QTest::mousePress(g, Qt::LeftButton, Qt::NoModifier, QPoint(75, 50));
    QTest::mouseMove(g, QPoint(225, 150));

    const std::pair<bool, Qt::MouseButton> down = g->isMouseButtonDown();
    QVERIFY(down.first);
    QCOMPARE(down.second, Qt::LeftButton);
    const KivGraph::PanZoomInfo& r = g->getPanZoomInfo(Qt::LeftButton);
    QVERIFY(r.active);
    QVERIFY(!r.autoZoom);
    QCOMPARE(r.startPoint, QPoint(75, 50));
    QCOMPARE(r.endPoint, QPoint(225, 150));
    QCOMPARE(r.startPos, QPointF(-0.5, 0.5));
    QCOMPARE(r.endPos, QPointF(0.5, -0.5));
    QVERIFY(r.validZoom());

    // Outside the widget the graph positions are clamped, the widget point is kept.
    QTest::mouseMove(g, QPoint(350, -20));
    QCOMPARE(r.endPoint, QPoint(350, -20));
    QCOMPARE(r.endPos, QPointF(1.0, 1.0));
    QTest::mouseRelease(g, Qt::LeftButton, Qt::NoModifier, QPoint(350, -20));
    QVERIFY(!r.active);
}

void TestPointerGestures::secondButtonCancelsZoom()
{
    g->setControlState(KivGraph::ControlZoom);
    QTest::mousePress(g, Qt::LeftButton, Qt::NoModifier, QPoint(75, 50));
    QTest::mouseMove(g, QPoint(225, 150));
    QVERIFY(g->getPanZoomInfo(Qt::LeftButton).active);
    QTest::mousePress(g, Qt::RightButton, Qt::NoModifier, QPoint(225, 150));
    QVERIFY(noGestureActive(*g));

    QTest::mouseMove(g, QPoint(250, 180));
    QTest::mouseRelease(g, Qt::RightButton, Qt::NoModifier, QPoint(250, 180));
    QTest::mouseRelease(g, Qt::LeftButton, Qt::NoModifier, QPoint(250, 180));
    QVERIFY(sameRange(scale(*g, 'x'), 0.0, 300.0));
    QVERIFY(sameRange(scale(*g, 'y'), 0.0, 200.0));
    QVERIFY(noGestureActive(*g));

    // The next gesture works as usual.
    QTest::mousePress(g, Qt::LeftButton, Qt::NoModifier, QPoint(30, 20));
    QTest::mouseMove(g, QPoint(150, 100));
    QTest::mouseRelease(g, Qt::LeftButton, Qt::NoModifier, QPoint(150, 100));
    QVERIFY2(sameRange(scale(*g, 'x'), 30.0, 150.0), qPrintable(rangeText(scale(*g, 'x'))));
    QVERIFY(sameRange(scale(*g, 'y'), 100.0, 180.0));
}

void TestPointerGestures::doubleClickZoomFollowsPointer_data()
{
    QTest::addColumn<Qt::MouseButton>("button");
    QTest::addColumn<bool>("hold");
    QTest::addColumn<QPoint>("click");
    QTest::addColumn<QPoint>("moveTo");
    QTest::addColumn<QRectF>("view");

    // A plain double click zooms by two about the click at once.
    QTest::newRow("in, click") << Qt::LeftButton << false << QPoint(150, 100) << QPoint()
                               << QRectF(QPointF(75, 50), QPointF(225, 150));
    QTest::newRow("out, click") << Qt::RightButton << false << QPoint(150, 100) << QPoint()
                                << QRectF(QPointF(-150, -100), QPointF(450, 300));
    // Near the corner the rectangle is slid back inside the plot.
    QTest::newRow("in, click at corner") << Qt::LeftButton << false << QPoint(60, 40) << QPoint()
                                         << QRectF(QPointF(0, 100), QPointF(150, 200));
    // Held down, the rectangle follows the pointer until the release.
    QTest::newRow("in, held, stays") << Qt::LeftButton << true << QPoint(150, 100) << QPoint(150, 100)
                                     << QRectF(QPointF(75, 50), QPointF(225, 150));
    QTest::newRow("in, held, follows") << Qt::LeftButton << true << QPoint(150, 100) << QPoint(120, 120)
                                       << QRectF(QPointF(45, 30), QPointF(195, 130));
    QTest::newRow("in, held, to corner") << Qt::LeftButton << true << QPoint(150, 100) << QPoint(30, 20)
                                         << QRectF(QPointF(0, 100), QPointF(150, 200));
    QTest::newRow("out, held, follows") << Qt::RightButton << true << QPoint(150, 100) << QPoint(225, 50)
                                        << QRectF(QPointF(-300, -200), QPointF(300, 200));
}

void TestPointerGestures::doubleClickZoomFollowsPointer()
{
    QFETCH(Qt::MouseButton, button);
    QFETCH(bool, hold);
    QFETCH(QPoint, click);
    QFETCH(QPoint, moveTo);
    QFETCH(QRectF, view);

    g->setControlState(KivGraph::ControlZoom);
    if (hold) {
        pointertest::doubleClickAndHold(g, button, click);
        const KivGraph::PanZoomInfo& r = g->getPanZoomInfo(button);
        QVERIFY(r.active);
        QVERIFY(r.autoZoom);
        QCOMPARE(r.zoomFactorX, 2.0);
        QCOMPARE(r.zoomFactorY, 2.0);
        // Half the plot in each direction.
        QCOMPARE(r.endPos.x() - r.startPos.x(), 1.0);
        QCOMPARE(r.startPos.y() - r.endPos.y(), 1.0);
        QTest::mouseMove(g, moveTo);
        QVERIFY(sameRange(scale(*g, 'x'), 0.0, 300.0));
        QTest::mouseRelease(g, button, Qt::NoModifier, moveTo);
    } else {
        QTest::mouseDClick(g, button, Qt::NoModifier, click);
    }
    const Range x = scale(*g, 'x');
    const Range y = scale(*g, 'y');
    QVERIFY2(sameRange(x, view.left(), view.right()), qPrintable(rangeText(x)));
    QVERIFY2(sameRange(y, view.top(), view.bottom()), qPrintable(rangeText(y)));
    QVERIFY(noGestureActive(*g));
}

void TestPointerGestures::wheelResizesDoubleClickRectangle_data()
{
    QTest::addColumn<int>("notches"); // positive up, negative down
    QTest::addColumn<double>("factor");

    QTest::newRow("up three") << 3 << 2.6;
    QTest::newRow("down two") << -2 << 1.6;
    QTest::newRow("down five stops at one") << -5 << 1.0;
}

void TestPointerGestures::wheelResizesDoubleClickRectangle()
{
    QFETCH(int, notches);
    QFETCH(double, factor);

    g->setControlState(KivGraph::ControlZoom);
    pointertest::doubleClickAndHold(g, Qt::LeftButton, QPoint(150, 100));
    for (int i = 0; i < std::abs(notches); ++i)
        QVERIFY(wheel(g, QPoint(150, 100), notches > 0 ? 120 : -120, Qt::LeftButton));

    const KivGraph::PanZoomInfo& r = g->getPanZoomInfo(Qt::LeftButton);
    QVERIFY(r.active && r.autoZoom);
    QVERIFY2(near(r.zoomFactorX, factor, 1e-12), qPrintable(QString::number(r.zoomFactorX)));
    QVERIFY(near(r.zoomFactorY, factor, 1e-12));
    QVERIFY(near(r.endPos.x() - r.startPos.x(), 2.0 / factor));

    QTest::mouseRelease(g, Qt::LeftButton, Qt::NoModifier, QPoint(150, 100));
    const Range x = scale(*g, 'x');
    QVERIFY2(near(x.second - x.first, 300.0 / factor, 1e-6), qPrintable(rangeText(x)));
    QVERIFY(near((x.first + x.second) / 2, 150.0));
}

void TestPointerGestures::wheelMovesRubberBandAnchor()
{
    g->setControlState(KivGraph::ControlZoom);
    QTest::mousePress(g, Qt::LeftButton, Qt::NoModifier, QPoint(100, 50));
    const KivGraph::PanZoomInfo& r = g->getPanZoomInfo(Qt::LeftButton);
    // 5 % of the widget per notch: 15 pixels across, 10 down.
    QVERIFY(wheel(g, QPoint(100, 50), 120, Qt::LeftButton));
    QCOMPARE(r.startPoint, QPoint(115, 60));
    QVERIFY(wheel(g, QPoint(100, 50), -120, Qt::LeftButton));
    QVERIFY(wheel(g, QPoint(100, 50), -120, Qt::LeftButton));
    QCOMPARE(r.startPoint, QPoint(85, 40));
    QPointF pos;
    g->pointToGraphPos(QPoint(85, 40), pos, true);
    QCOMPARE(r.startPos, pos);
    QTest::mouseMove(g, QPoint(235, 140));
    QTest::mouseRelease(g, Qt::LeftButton, Qt::NoModifier, QPoint(235, 140));
    QVERIFY(sameRange(scale(*g, 'x'), 85.0, 235.0));
    QVERIFY(sameRange(scale(*g, 'y'), 60.0, 160.0));
}

void TestPointerGestures::wheelZoomsAboutPointer_data()
{
    QTest::addColumn<QPoint>("at");
    QTest::addColumn<int>("delta");
    QTest::addColumn<QRectF>("view");

    // View x 0 .. 100, y 0 .. 100 here.
    QTest::newRow("up, centre") << QPoint(150, 100) << 120 << QRectF(QPointF(25, 25), QPointF(75, 75));
    QTest::newRow("down, centre") << QPoint(150, 100) << -120 << QRectF(QPointF(-50, -50), QPointF(150, 150));
    QTest::newRow("up, any delta") << QPoint(150, 100) << 15 << QRectF(QPointF(25, 25), QPointF(75, 75));
    QTest::newRow("up, big delta") << QPoint(150, 100) << 960 << QRectF(QPointF(25, 25), QPointF(75, 75));
    QTest::newRow("up, off centre") << QPoint(120, 120) << 120 << QRectF(QPointF(15, 15), QPointF(65, 65));
    QTest::newRow("up, left edge") << QPoint(10, 100) << 120 << QRectF(QPointF(0, 25), QPointF(50, 75));
    QTest::newRow("up, top-right corner") << QPoint(299, 0) << 120 << QRectF(QPointF(50, 50), QPointF(100, 100));
    QTest::newRow("zero delta") << QPoint(150, 100) << 0 << QRectF(QPointF(0, 0), QPointF(100, 100));
}

void TestPointerGestures::wheelZoomsAboutPointer()
{
    QFETCH(QPoint, at);
    QFETCH(int, delta);
    QFETCH(QRectF, view);

    g->setAxisScale('x', 0.0, 100.0);
    g->setAxisScale('y', 0.0, 100.0);
    g->setControlState(KivGraph::ControlZoom);
    QVERIFY(wheel(g, at, delta));
    const Range x = scale(*g, 'x');
    const Range y = scale(*g, 'y');
    QVERIFY2(sameRange(x, view.left(), view.right()), qPrintable(rangeText(x)));
    QVERIFY2(sameRange(y, view.top(), view.bottom()), qPrintable(rangeText(y)));
    QVERIFY(noGestureActive(*g));
}

void TestPointerGestures::wheelOutsideZoomGoesToParent_data()
{
    QTest::addColumn<int>("state");
    QTest::newRow("none") << int(KivGraph::ControlNone);
    QTest::newRow("pan") << int(KivGraph::ControlPan);
}

void TestPointerGestures::wheelOutsideZoomGoesToParent()
{
    QFETCH(int, state);
    g->setControlState(KivGraph::ControlState(state));
    QVERIFY(!wheel(g, QPoint(150, 100), 120));
    QVERIFY(!wheel(g, QPoint(150, 100), -120));
    QVERIFY(sameRange(scale(*g, 'x'), 0.0, 300.0));
    QVERIFY(sameRange(scale(*g, 'y'), 0.0, 200.0));
}

void TestPointerGestures::pan_data()
{
    QTest::addColumn<Qt::MouseButton>("button");
    QTest::addColumn<double>("sign");

    // The left button drags the data with the pointer, the right button moves the view.
    QTest::newRow("left") << Qt::LeftButton << -1.0;
    QTest::newRow("right") << Qt::RightButton << 1.0;
}

void TestPointerGestures::pan()
{
    QFETCH(Qt::MouseButton, button);
    QFETCH(double, sign);

    g->setControlState(KivGraph::ControlPan);
    QSignalSpy panning(g, &KivGraph::panning);
    QTest::mousePress(g, button, Qt::NoModifier, QPoint(150, 100));
    QTest::mouseMove(g, QPoint(165, 90));
    QTest::mouseMove(g, QPoint(180, 80));
    QTest::mouseMove(g, QPoint(150, 80));

    // One signal per step, with the deltas of that step.
    QCOMPARE(panning.count(), 3);
    const int dx[] = {15, 15, -30};
    const int dy[] = {-10, -10, 0};
    for (int i = 0; i < 3; ++i) {
        const QList<QVariant> args = panning.at(i);
        QCOMPARE(args.at(0).value<Qt::MouseButton>(), button);
        QCOMPARE(args.at(1).toInt(), dx[i]);
        QCOMPARE(args.at(2).toInt(), dy[i]);
        QVERIFY(near(args.at(3).toDouble(), 2.0 * dx[i] / 300.0));
        QVERIFY(near(args.at(4).toDouble(), -2.0 * dy[i] / 200.0));
    }
    // 20 pixels up in all: the view moves by 20 units.
    QVERIFY2(sameRange(scale(*g, 'x'), 0.0, 300.0), qPrintable(rangeText(scale(*g, 'x'))));
    QVERIFY2(sameRange(scale(*g, 'y'), sign * 20.0, 200.0 + sign * 20.0), qPrintable(rangeText(scale(*g, 'y'))));

    const KivGraph::PanZoomInfo& r = g->getPanZoomInfo(button);
    QVERIFY(r.active);
    QCOMPARE(r.startPoint, QPoint(150, 80));
    QCOMPARE(r.lastPos, r.endPos);

    QTest::mouseRelease(g, button, Qt::NoModifier, QPoint(150, 80));
    QCOMPARE(panning.count(), 3);
    QVERIFY(noGestureActive(*g));
    QVERIFY(sameRange(scale(*g, 'y'), sign * 20.0, 200.0 + sign * 20.0));
}

void TestPointerGestures::sliderDrag_data()
{
    QTest::addColumn<Qt::MouseButton>("button");
    QTest::addColumn<QPoint>("from");
    QTest::addColumn<QPoint>("to");
    QTest::addColumn<bool>("horizontal");
    QTest::addColumn<QRectF>("view");

    // Data x 0 .. 100, y 0 .. 100, view 25 .. 75 on both axes. The sliders move with the
    // pointer whichever button drags them; the view moves by data units of the full extent.
    QTest::newRow("horizontal") << Qt::LeftButton << QPoint(150, 195) << QPoint(180, 190) << true
                                << QRectF(QPointF(35, 25), QPointF(85, 75));
    QTest::newRow("horizontal, right button") << Qt::RightButton << QPoint(150, 195) << QPoint(120, 195) << true
                                              << QRectF(QPointF(15, 25), QPointF(65, 75));
    QTest::newRow("vertical") << Qt::LeftButton << QPoint(5, 100) << QPoint(15, 80) << false
                              << QRectF(QPointF(25, 35), QPointF(75, 85));
}

void TestPointerGestures::sliderDrag()
{
    QFETCH(Qt::MouseButton, button);
    QFETCH(QPoint, from);
    QFETCH(QPoint, to);
    QFETCH(bool, horizontal);
    QFETCH(QRectF, view);

    KivDataSet* ds = g->addDataSet(1, QColor(Qt::red), 0);
    for (int i = 0; i <= 100; ++i)
        ds->addData(double(i), double(i));
    g->setAxisScale('x', 25.0, 75.0);
    g->setAxisScale('y', 25.0, 75.0);
    QVERIFY(pointertest::waitForFrame(g));
    const velo::MatrixF<3, 2> extent = g->calculateMinMaxScales();
    QCOMPARE(extent(0, 0), 0.0);
    QCOMPARE(extent(0, 1), 100.0);

    g->setControlState(KivGraph::ControlPan);
    QSignalSpy panning(g, &KivGraph::panning);
    QTest::mousePress(g, button, Qt::NoModifier, from);
    QCOMPARE(g->isHorizontalScrollBarSliderActive(), horizontal);
    QCOMPARE(g->isVerticalScrollBarSliderActive(), !horizontal);
    QTest::mouseMove(g, to);

    QCOMPARE(panning.count(), 1);
    const QList<QVariant> args = panning.at(0);
    // The other direction is reported as no movement in graph units.
    QCOMPARE(args.at(1).toInt(), to.x() - from.x());
    QCOMPARE(args.at(2).toInt(), to.y() - from.y());
    if (horizontal) {
        QVERIFY(near(args.at(3).toDouble(), 2.0 * (to.x() - from.x()) / 300.0));
        QCOMPARE(args.at(4).toDouble(), 0.0);
    } else {
        QCOMPARE(args.at(3).toDouble(), 0.0);
        QVERIFY(near(args.at(4).toDouble(), -2.0 * (to.y() - from.y()) / 200.0));
    }
    const Range x = scale(*g, 'x');
    const Range y = scale(*g, 'y');
    QVERIFY2(sameRange(x, view.left(), view.right()), qPrintable(rangeText(x)));
    QVERIFY2(sameRange(y, view.top(), view.bottom()), qPrintable(rangeText(y)));

    QTest::mouseRelease(g, button, Qt::NoModifier, to);
    QVERIFY(noGestureActive(*g));
    QVERIFY(!g->isHorizontalScrollBarSliderActive());
    QVERIFY(!g->isVerticalScrollBarSliderActive());
}

void TestPointerGestures::allSamplesZoomOnlyChangesY()
{
    KivDataSet* ds = g->addDataSet(0, QColor(Qt::blue), 100);
    for (int i = 0; i < 100; ++i)
        ds->addData(std::sin(i * 0.1) * 50.0);
    g->setAxisScale('y', -100.0, 100.0);
    g->showAllSamples(true);
    QVERIFY(pointertest::waitForFrame(g));
    const Range x0 = scale(*g, 'x');

    g->setControlState(KivGraph::ControlZoom);
    QTest::mousePress(g, Qt::LeftButton, Qt::NoModifier, QPoint(100, 50));
    QTest::mouseMove(g, QPoint(200, 150));
    const KivGraph::PanZoomInfo& r = g->getPanZoomInfo(Qt::LeftButton);
    QCOMPARE(r.startPoint, QPoint(0, 50));
    QCOMPARE(r.endPoint, QPoint(300, 150));
    QTest::mouseRelease(g, Qt::LeftButton, Qt::NoModifier, QPoint(200, 150));
    QVERIFY(sameRange(scale(*g, 'x'), x0.first, x0.second));
    QVERIFY2(sameRange(scale(*g, 'y'), -50.0, 50.0), qPrintable(rangeText(scale(*g, 'y'))));

    // A wheel notch and a double click keep the whole sample window as well.
    QVERIFY(wheel(g, QPoint(40, 100), 120));
    QVERIFY(sameRange(scale(*g, 'x'), x0.first, x0.second));
    QVERIFY(sameRange(scale(*g, 'y'), -25.0, 25.0));
    QTest::mouseDClick(g, Qt::LeftButton, Qt::NoModifier, QPoint(40, 100));
    QCOMPARE(r.startPos.x(), -1.0);
    QCOMPARE(r.endPos.x(), 1.0);
    QTest::mouseRelease(g, Qt::LeftButton, Qt::NoModifier, QPoint(40, 100));
    QVERIFY(sameRange(scale(*g, 'x'), x0.first, x0.second));
    QVERIFY(sameRange(scale(*g, 'y'), -12.5, 12.5));
}

void TestPointerGestures::gesturesRequestRepaints()
{
    KivDataSet* ds = g->addDataSet(1, QColor(Qt::red), 0);
    ds->addData(10.0, 10.0);
    ds->addData(20.0, 30.0);
    g->setControlState(KivGraph::ControlZoom);
    for (const char* step : {"press", "double click", "release", "wheel"}) {
        QVERIFY(pointertest::waitForFrame(g));
        QVERIFY(!g->isUpdateRequested());
        const QByteArray name(step);
        if (name == "press")
            g->handleMouseDown(Qt::LeftButton, QPoint(10, 10));
        else if (name == "double click")
            g->handleMouseDoubleClick(Qt::LeftButton, QPoint(10, 10));
        else if (name == "release")
            g->handleMouseUp(Qt::LeftButton, QPoint(10, 10));
        else
            wheel(g, QPoint(10, 10), 120);
        QVERIFY2(g->isUpdateRequested(), step);
        const int frames = g->frames;
        QTRY_VERIFY2(g->frames > frames, step);
    }
}

void TestPointerGestures::gestureOperationsWithoutEvents()
{
    // A host can drive a whole zoom with the public operations.
    g->setControlState(KivGraph::ControlZoom);
    g->handleMouseDown(Qt::LeftButton, QPoint(30, 20));
    g->handleMouseMove(Qt::LeftButton, QPoint(150, 100));
    QVERIFY(g->getPanZoomInfo(Qt::LeftButton).active);
    g->handleMouseUp(Qt::LeftButton, QPoint(150, 100));
    QVERIFY(sameRange(scale(*g, 'x'), 30.0, 150.0));
    QVERIFY(sameRange(scale(*g, 'y'), 100.0, 180.0));

    // A release in another state leaves the record alone; the gesture ends in its own state.
    g->handleMouseDown(Qt::RightButton, QPoint(30, 20));
    g->setControlState(KivGraph::ControlNone);
    g->handleMouseUp(Qt::RightButton, QPoint(150, 100));
    QVERIFY(g->getPanZoomInfo(Qt::RightButton).active);
    g->setControlState(KivGraph::ControlZoom);
    g->handleMouseUp(Qt::RightButton, QPoint(150, 100));
    QVERIFY(noGestureActive(*g));
    // Zooming out with the same pixels undoes the zoom in.
    QVERIFY2(sameRange(scale(*g, 'x'), 0.0, 300.0), qPrintable(rangeText(scale(*g, 'x'))));
    QVERIFY2(sameRange(scale(*g, 'y'), 0.0, 200.0), qPrintable(rangeText(scale(*g, 'y'))));
}

void TestPointerGestures::measureCursorFollowsPointer()
{
    KivDataSet* ds = g->addDataSet(0, QColor(Qt::blue), 100);
    for (int i = 0; i < 100; ++i)
        ds->addData(double(i));
    QVERIFY(pointertest::waitForFrame(g));
    g->setScopeOffset(40);
    QCOMPARE(g->scopeOffset(), 40L);

    // Without the measure shown the pointer changes nothing.
    QTest::mouseMove(g, QPoint(140, 100));
    QCOMPARE(g->scopeOffset(), 40L);

    g->showMeasure(true);
    QTest::mouseMove(g, QPoint(150, 100));
    QCOMPARE(g->scopeOffset(), 50L);
    QTest::mouseMove(g, QPoint(225, 100));
    QCOMPARE(g->scopeOffset(), 75L);
    QTest::mouseMove(g, QPoint(299, 50));
    QCOMPARE(g->scopeOffset(), 99L);
    QTest::mouseMove(g, QPoint(0, 50));
    QCOMPARE(g->scopeOffset(), 0L);
    QTest::mouseMove(g, QPoint(75, 10));
    QCOMPARE(g->scopeOffset(), 25L);

    // Leaving the graph for the rest of the window restores the offset of the first move.
    QTest::mouseMove(win, QPoint(150, 220));
    QTRY_COMPARE(g->scopeOffset(), 40L);

    // Back in: a new tracking run saves the offset again.
    QTest::mouseMove(g, QPoint(150, 100));
    QCOMPARE(g->scopeOffset(), 50L);
    g->setScopeOffset(70); // the host moves it while the pointer is inside
    QTest::mouseMove(g, QPoint(75, 100));
    QCOMPARE(g->scopeOffset(), 25L);
    QTest::mouseMove(win, QPoint(150, 230));
    QTRY_COMPARE(g->scopeOffset(), 70L);

    // A running gesture keeps the cursor where it is.
    g->setControlState(KivGraph::ControlPan);
    QTest::mouseMove(g, QPoint(150, 100));
    QCOMPARE(g->scopeOffset(), 50L);
    QTest::mousePress(g, Qt::LeftButton, Qt::NoModifier, QPoint(150, 100));
    QTest::mouseMove(g, QPoint(60, 100));
    QCOMPARE(g->scopeOffset(), 50L);
    QTest::mouseRelease(g, Qt::LeftButton, Qt::NoModifier, QPoint(60, 100));
}

void TestPointerGestures::measureCursorNeedsTimeSeries_data()
{
    QTest::addColumn<int>("style");
    QTest::newRow("two values") << 1;
    QTest::newRow("three values") << 2;
}

void TestPointerGestures::measureCursorNeedsTimeSeries()
{
    QFETCH(int, style);
    KivDataSet* ds = g->addDataSet(static_cast<unsigned long>(style), QColor(Qt::blue), 100);
    for (int i = 0; i < 50; ++i) {
        if (style == 1)
            ds->addData(double(i), double(i));
        else
            ds->addData(double(i), double(i), double(i));
    }
    g->setScopeOffset(20);
    const long before = g->scopeOffset();
    g->showMeasure(true);
    QTest::mouseMove(g, QPoint(150, 100));
    QTest::mouseMove(g, QPoint(250, 100));
    QCOMPARE(g->scopeOffset(), before);
    QTest::mouseMove(win, QPoint(150, 220));
    QCOMPARE(g->scopeOffset(), before);
}

void TestPointerGestures::noDataSetsIsHarmless_data()
{
    QTest::addColumn<int>("state");
    QTest::newRow("none") << int(KivGraph::ControlNone);
    QTest::newRow("zoom") << int(KivGraph::ControlZoom);
    QTest::newRow("pan") << int(KivGraph::ControlPan);
}

void TestPointerGestures::noDataSetsIsHarmless()
{
    QFETCH(int, state);
    g->setControlState(KivGraph::ControlState(state));
    g->showMeasure(true);
    for (Qt::MouseButton b : {Qt::LeftButton, Qt::RightButton}) {
        QTest::mouseMove(g, QPoint(20, 30));
        QTest::mousePress(g, b, Qt::NoModifier, QPoint(150, 195));
        QTest::mouseMove(g, QPoint(170, 190));
        QTest::mouseRelease(g, b, Qt::NoModifier, QPoint(170, 190));
        QTest::mouseDClick(g, b, Qt::NoModifier, QPoint(5, 100));
        wheel(g, QPoint(5, 100), 120, b);
        QTest::mouseMove(g, QPoint(60, 60));
        QTest::mouseRelease(g, b, Qt::NoModifier, QPoint(60, 60));
        wheel(g, QPoint(60, 60), -120);
        QTest::mouseMove(win, QPoint(150, 220));
    }
    QVERIFY(noGestureActive(*g));
    QCOMPARE(g->scopeOffset(), -1L);
    const Range x = scale(*g, 'x');
    const Range y = scale(*g, 'y');
    QVERIFY(std::isfinite(x.first) && std::isfinite(x.second) && x.second > x.first);
    QVERIFY(std::isfinite(y.first) && std::isfinite(y.second) && y.second > y.first);
}

QTEST_MAIN(TestPointerGestures)
#include "tst_pointergestures.moc"
