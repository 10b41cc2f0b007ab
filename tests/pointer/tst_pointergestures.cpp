// Zoom, pan, wheel, scroll-bar drags and the measure cursor by real mouse events on a shown
// graph, and the arithmetic behind them. The view is x 0 .. 300, y 0 .. 200 unless a test says
// otherwise: one pixel is one data unit.

#include "pointertest.h"

#include <QSignalSpy>

#include <cmath>
#include <functional>

using namespace pointertest;

namespace {

// Pixels of `area` where pred(pixel before, pixel after) holds.
template <typename Pred>
int countPixels(const QImage& before, const QImage& after, const QRect& area, Pred pred)
{
    int n = 0;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            n += pred(before.pixel(x, y), after.pixel(x, y)) ? 1 : 0;
    return n;
}

// `after` is `before` seen through a blue veil of 20 % opacity.
bool veiled(QRgb before, QRgb after)
{
    return std::abs(qRed(after) - qRed(before) * 0.8) <= 3 && std::abs(qGreen(after) - qGreen(before) * 0.8) <= 3
        && std::abs(qBlue(after) - (qBlue(before) * 0.8 + 51)) <= 3;
}

bool dark(QRgb, QRgb after)
{
    return qRed(after) < 110 && qGreen(after) < 110 && qBlue(after) < 110;
}

} // namespace

class TestPointerGestures : public QObject
{
    Q_OBJECT

    GraphWindow* win = nullptr;
    CountingGraph* g = nullptr;
    const QRectF whole{0, 0, 300, 200};
    const QRectF middle{QPointF(75, 50), QPointF(225, 150)};

    QImage grab() { return g->grabFramebuffer().convertToFormat(QImage::Format_RGB32); }

private slots:
    void init()
    {
        win = new GraphWindow;
        g = win->graph;
        g->setAxisScale('x', 0.0, 300.0);
        g->setAxisScale('y', 0.0, 200.0);
        QVERIFY(win->showAndWait());
    }

    void cleanup() { delete win; }

    void pointMapping_data()
    {
        QTest::addColumn<QPoint>("point");
        QTest::addColumn<QPointF>("pos");
        QTest::addColumn<char>("slider"); // 'h', 'v' or 0
        // With an extent x -150 .. 450, y -100 .. 300 the sliders span x pixels 75 .. 225 on the
        // bottom band (rows 188 .. 200) and y pixels 50 .. 150 on the left band (columns 0 .. 12).
        QTest::newRow("top-left") << QPoint(0, 0) << QPointF(-1, 1) << char(0);
        QTest::newRow("bottom-right") << QPoint(300, 200) << QPointF(1, -1) << char(0);
        QTest::newRow("centre") << QPoint(150, 100) << QPointF(0, 0) << char(0);
        QTest::newRow("above-right") << QPoint(450, -100) << QPointF(2, 2) << char(0);
        QTest::newRow("below-left") << QPoint(-30, 300) << QPointF(-1.2, -2) << char(0);
        QTest::newRow("bottom band, top row") << QPoint(150, 189) << QPointF(0, -0.89) << 'h';
        QTest::newRow("above the band") << QPoint(150, 187) << QPointF(0, -0.87) << char(0);
        QTest::newRow("slider's right end") << QPoint(225, 199) << QPointF(0.5, -0.99) << 'h';
        QTest::newRow("right of the slider") << QPoint(231, 199) << QPointF(0.54, -0.99) << char(0);
        QTest::newRow("left band") << QPoint(6, 100) << QPointF(-0.96, 0) << 'v';
        QTest::newRow("left band, right column") << QPoint(9, 130) << QPointF(-0.94, -0.3) << 'v';
        QTest::newRow("right of the band") << QPoint(15, 130) << QPointF(-0.9, -0.3) << char(0);
        QTest::newRow("above the slider") << QPoint(6, 40) << QPointF(-0.96, 0.6) << char(0);
    }

    void pointMapping()
    {
        QFETCH(QPoint, point);
        QFETCH(QPointF, pos);
        QFETCH(char, slider);
        QPointF got;
        g->pointToGraphPos(point, got, false);
        QVERIFY2(near(got.x(), pos.x()) && near(got.y(), pos.y()),
                 qPrintable(QString("%1, %2").arg(got.x()).arg(got.y())));
        g->pointToGraphPos(point, got, true); // clamped to the plot
        QCOMPARE(got, QPointF(qBound(-1.0, pos.x(), 1.0), qBound(-1.0, pos.y(), 1.0)));
        QPoint back; // the way back truncates: at most one pixel off
        g->graphPosToPoint(pos, back);
        QVERIFY2(QRect(point - QPoint(1, 1), point + QPoint(1, 1)).contains(back),
                 qPrintable(QString("%1, %2").arg(back.x()).arg(back.y())));
        QCOMPARE(g->isPointOnHorizontalScrollBarSlider(point, box(-150, 450, -100, 300)), slider == 'h');
        QCOMPARE(g->isPointOnVerticalScrollBarSlider(point, box(-150, 450, -100, 300)), slider == 'v');
    }

    void panLimits_data()
    {
        QTest::addColumn<int>("style"); // -1: no data set
        QTest::addColumn<bool>("allSamples");
        QTest::addColumn<QVector<double>>("view"); // x min, x max, y min, y max
        QTest::addColumn<QVector<double>>("expected");
        // Extent x 0 .. 100, y -50 .. 50: ends nearly on the 3 % margins snap onto them; a time
        // series has no x margin; showing all samples pins x to the whole window.
        using V = QVector<double>;
        const double t = 1e-13;
        const V margins{-3, 103, -53, 53}, beyond{-40, 60, -80, 90}, close{-3.001, 103.001, -53.0001, 20};
        QTest::newRow("on the margins") << 1 << false << V{-3 * (1 + t), 103, -53, 53 * (1 - t)} << margins;
        QTest::newRow("beyond, not clamped") << 1 << false << beyond << beyond;
        QTest::newRow("near but not equal") << 1 << false << close << close;
        QTest::newRow("no data set") << -1 << false << V{-3 * (1 + t), 103, -53, 53} << margins;
        QTest::newRow("time series") << 0 << false << V{-3, 100 * (1 - t), -53, 53 * (1 + t)} << V{-3, 100, -53, 53};
        QTest::newRow("all samples") << 0 << true << V{10, 30, 1, 2} << V{0, 100, 1, 2};
    }

    void panLimits()
    {
        QFETCH(int, style);
        QFETCH(bool, allSamples);
        QFETCH(QVector<double>, view);
        QFETCH(QVector<double>, expected);
        if (style >= 0)
            g->addDataSet(static_cast<unsigned long>(style), QColor(Qt::red), 100);
        g->showAllSamples(allSamples);
        QList<KivAxisInfo> axes{g->axisInfo(0), g->axisInfo(1), g->axisInfo(2)};
        axes[0].scaleMin = view[0], axes[0].scaleMax = view[1], axes[1].scaleMin = view[2], axes[1].scaleMax = view[3];
        g->applyPanLimits(box(0, 100, -50, 50), axes);
        const QVector<double> got{axes[0].scaleMin, axes[0].scaleMax, axes[1].scaleMin, axes[1].scaleMax};
        for (int i = 0; i < 4; ++i) // exact: a snapped end lands on the margin itself
            QVERIFY2(got[i] == expected[i], qPrintable(QString("end %1: %2").arg(i).arg(got[i], 0, 'g', 17)));
    }

    void pressesThatStartNoGesture()
    {
        const std::pair<KivGraph::ControlState, Qt::MouseButton> cases[] = {
            {KivGraph::ControlNone, Qt::LeftButton}, {KivGraph::ControlNone, Qt::RightButton},
            {KivGraph::ControlZoom, Qt::MiddleButton}, {KivGraph::ControlPan, Qt::MiddleButton}};
        QSignalSpy panning(g, &KivGraph::panning);
        for (const auto& c : cases) {
            g->setControlState(c.first);
            QTest::mousePress(g, c.second, Qt::NoModifier, QPoint(50, 50));
            QVERIFY(!g->isMouseButtonDown().first);
            QTest::mouseMove(g, QPoint(200, 150));
            QTest::mouseRelease(g, c.second, Qt::NoModifier, QPoint(200, 150));
            QTest::mouseDClick(g, c.second, Qt::NoModifier, QPoint(100, 100));
            QVERIFY(noGestureActive(*g));
        }
        QCOMPARE(panning.count(), 0);
        QVERIFY(viewIs(*g, whole));
    }

    void rubberBand_data()
    {
        QTest::addColumn<Qt::MouseButton>("button");
        QTest::addColumn<QPoint>("from");
        QTest::addColumn<QPoint>("to");
        QTest::addColumn<int>("notches"); // wheel notches after the press: the anchor moves 5 % a notch
        QTest::addColumn<QRectF>("view");
        const Qt::MouseButton left = Qt::LeftButton;
        const QPoint a(75, 50), b(225, 150);
        QTest::newRow("zoom in") << left << a << b << 0 << middle;
        QTest::newRow("zoom in, dragged up-left") << left << b << a << 0 << middle;
        QTest::newRow("zoom in, beyond bottom-right") << left << a << QPoint(400, 260) << 0
                                                      << QRectF(QPointF(75, 0), QPointF(300, 150));
        QTest::newRow("zoom in, beyond top-right") << left << a << QPoint(350, -20) << 0
                                                   << QRectF(QPointF(75, 150), QPointF(300, 200));
        QTest::newRow("zoom out") << Qt::RightButton << a << b << 0 << QRectF(QPointF(-150, -100), QPointF(450, 300));
        QTest::newRow("zero height") << left << a << QPoint(76, 50) << 0 << whole;
        QTest::newRow("zero width") << left << a << QPoint(75, 150) << 0 << whole;
        QTest::newRow("click") << Qt::RightButton << a << a << 0 << whole;
        QTest::newRow("anchor, wheel up") << left << a << b << 1 << QRectF(QPointF(90, 50), QPointF(225, 140));
        QTest::newRow("anchor, wheel down two") << left << a << b << -2 << QRectF(QPointF(45, 50), QPointF(225, 170));
    }

    void rubberBand()
    {
        QFETCH(Qt::MouseButton, button);
        QFETCH(QPoint, from);
        QFETCH(QPoint, to);
        QFETCH(int, notches);
        QFETCH(QRectF, view);
        g->setControlState(KivGraph::ControlZoom);
        QSignalSpy panning(g, &KivGraph::panning);
        QVERIFY(waitForFrame(g));
        const int frames = g->frames;
        QTest::mousePress(g, button, Qt::NoModifier, from);
        for (int i = 0; i < std::abs(notches); ++i)
            QVERIFY(wheel(g, from, notches > 0 ? 120 : -120, button));
        QTest::mouseMove(g, (from + to) / 2);
        QTest::mouseMove(g, to);
        QTRY_VERIFY(g->frames > frames); // the rectangle is drawn
        // The widget point is kept, the graph position clamped to the plot, nothing applied yet.
        const KivGraph::PanZoomInfo& r = g->getPanZoomInfo(button);
        QVERIFY(r.active && g->isMouseButtonDown().second == button);
        QCOMPARE(r.endPoint, to);
        QVERIFY(std::fabs(r.endPos.x()) <= 1.0 && std::fabs(r.endPos.y()) <= 1.0);
        QVERIFY(viewIs(*g, whole));
        QTest::mouseRelease(g, button, Qt::NoModifier, to);
        QVERIFY(viewIs(*g, view));
        QVERIFY(noGestureActive(*g));
        QCOMPARE(panning.count(), 0);
    }

    void secondButtonCancelsZoom()
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
        QVERIFY(viewIs(*g, whole));
        QVERIFY(noGestureActive(*g));
        drag(g, Qt::LeftButton, QPoint(30, 20), QPoint(150, 100)); // the next one works as usual
        QVERIFY(viewIs(*g, QRectF(QPointF(30, 100), QPointF(150, 180))));
    }

    void doubleClickZoom_data()
    {
        QTest::addColumn<Qt::MouseButton>("button");
        QTest::addColumn<bool>("hold");
        QTest::addColumn<QPoint>("moveTo");
        QTest::addColumn<int>("notches"); // wheel notches while held: up > 0, down < 0
        QTest::addColumn<QRectF>("view");
        // Clicked at the centre: zooms by two about the click. Held down, the rectangle follows
        // the pointer, stays inside the plot, and the wheel changes the factor by 0.2 a notch,
        // never below 1.
        const double w = 150 / 2.6, h = 100 / 2.6, w2 = 150 / 1.6, h2 = 100 / 1.6;
        QTest::newRow("in") << Qt::LeftButton << false << QPoint() << 0 << middle;
        QTest::newRow("out") << Qt::RightButton << false << QPoint() << 0 << QRectF(-150, -100, 600, 400);
        QTest::newRow("in, held, follows") << Qt::LeftButton << true << QPoint(120, 120) << 0
                                           << QRectF(QPointF(45, 30), QPointF(195, 130));
        QTest::newRow("in, held, to corner") << Qt::LeftButton << true << QPoint(30, 20) << 0
                                             << QRectF(QPointF(0, 100), QPointF(150, 200));
        QTest::newRow("out, held, follows") << Qt::RightButton << true << QPoint(225, 50) << 0
                                            << QRectF(QPointF(-300, -200), QPointF(300, 200));
        QTest::newRow("wheel up three") << Qt::LeftButton << true << QPoint(150, 100) << 3
                                        << QRectF(QPointF(150 - w, 100 - h), QPointF(150 + w, 100 + h));
        QTest::newRow("wheel down two") << Qt::LeftButton << true << QPoint(150, 100) << -2
                                        << QRectF(QPointF(150 - w2, 100 - h2), QPointF(150 + w2, 100 + h2));
        QTest::newRow("wheel down seven") << Qt::LeftButton << true << QPoint(150, 100) << -7 << whole;
    }

    void doubleClickZoom()
    {
        QFETCH(Qt::MouseButton, button);
        QFETCH(bool, hold);
        QFETCH(QPoint, moveTo);
        QFETCH(int, notches);
        QFETCH(QRectF, view);
        g->setControlState(KivGraph::ControlZoom);
        const QPoint click(150, 100);
        if (!hold) {
            QTest::mouseDClick(g, button, Qt::NoModifier, click);
        } else {
            doubleClickAndHold(g, button, click);
            const KivGraph::PanZoomInfo& r = g->getPanZoomInfo(button);
            QVERIFY(r.active && r.autoZoom);
            QCOMPARE(r.zoomFactorX, 2.0);
            for (int i = 0; i < std::abs(notches); ++i)
                QVERIFY(wheel(g, click, notches > 0 ? 120 : -120, button));
            QVERIFY2(r.zoomFactorX >= 1.0 && r.zoomFactorY >= 1.0, qPrintable(QString::number(r.zoomFactorX)));
            QTest::mouseMove(g, moveTo);
            QVERIFY(viewIs(*g, whole));
            QTest::mouseRelease(g, button, Qt::NoModifier, moveTo);
        }
        QVERIFY(viewIs(*g, view));
        QVERIFY(noGestureActive(*g));
    }

    void wheelZoom_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<QPoint>("at");
        QTest::addColumn<int>("delta");
        QTest::addColumn<QRectF>("view"); // from x 0 .. 100, y 0 .. 100
        // A notch of any size zooms by two about the pointer, kept inside the plot. Outside the
        // zoom mode the wheel goes to the parent.
        const int zoom = KivGraph::ControlZoom;
        const QRectF half(25, 25, 50, 50);
        QTest::newRow("up, centre") << zoom << QPoint(150, 100) << 120 << half;
        QTest::newRow("down, centre") << zoom << QPoint(150, 100) << -120 << QRectF(-50, -50, 200, 200);
        QTest::newRow("up, small delta") << zoom << QPoint(150, 100) << 15 << half;
        QTest::newRow("up, off centre") << zoom << QPoint(120, 120) << 120 << QRectF(15, 15, 50, 50);
        QTest::newRow("up, left edge") << zoom << QPoint(10, 100) << 120 << QRectF(0, 25, 50, 50);
        QTest::newRow("up, top-right corner") << zoom << QPoint(299, 0) << 120 << QRectF(50, 50, 50, 50);
        QTest::newRow("zero delta") << zoom << QPoint(150, 100) << 0 << QRectF(0, 0, 100, 100);
        QTest::newRow("no control") << int(KivGraph::ControlNone) << QPoint(150, 100) << 120 << QRectF(0, 0, 100, 100);
        QTest::newRow("pan") << int(KivGraph::ControlPan) << QPoint(150, 100) << -120 << QRectF(0, 0, 100, 100);
    }

    void wheelZoom()
    {
        QFETCH(int, state);
        QFETCH(QPoint, at);
        QFETCH(int, delta);
        QFETCH(QRectF, view);
        g->setAxisScale('x', 0.0, 100.0);
        g->setAxisScale('y', 0.0, 100.0);
        g->setControlState(KivGraph::ControlState(state));
        QVERIFY(waitForFrame(g));
        const int frames = g->frames;
        QCOMPARE(wheel(g, at, delta), state == KivGraph::ControlZoom);
        QVERIFY(viewIs(*g, view));
        QVERIFY(noGestureActive(*g));
        if (state == KivGraph::ControlZoom)
            QTRY_VERIFY(g->frames > frames);
    }

    void panDrag_data()
    {
        QTest::addColumn<Qt::MouseButton>("button");
        QTest::addColumn<QVector<QPoint>>("path");
        QTest::addColumn<char>("slider"); // 'h', 'v' or 0
        QTest::addColumn<QRectF>("view");
        // From a view of x, y 25 .. 75 on data 0 .. 100. The left button drags the data with the
        // pointer, the right button moves the view; a slider moves with the pointer whichever
        // button drags it, by units of the full extent and only along its own axis.
        const QVector<QPoint> upAndBack{{150, 100}, {165, 90}, {180, 80}, {150, 80}};
        QTest::newRow("left") << Qt::LeftButton << upAndBack << char(0) << QRectF(QPointF(25, 20), QPointF(75, 70));
        QTest::newRow("right") << Qt::RightButton << upAndBack << char(0) << QRectF(QPointF(25, 30), QPointF(75, 80));
        QTest::newRow("horizontal slider") << Qt::LeftButton << QVector<QPoint>{{150, 195}, {165, 192}, {180, 190}}
                                           << 'h' << QRectF(QPointF(35, 25), QPointF(85, 75));
        QTest::newRow("horizontal slider, right button") << Qt::RightButton << QVector<QPoint>{{150, 195}, {120, 195}}
                                                         << 'h' << QRectF(QPointF(15, 25), QPointF(65, 75));
        QTest::newRow("vertical slider") << Qt::LeftButton << QVector<QPoint>{{5, 100}, {15, 80}} << 'v'
                                         << QRectF(QPointF(25, 35), QPointF(75, 85));
    }

    void panDrag()
    {
        QFETCH(Qt::MouseButton, button);
        QFETCH(QVector<QPoint>, path);
        QFETCH(char, slider);
        QFETCH(QRectF, view);
        addRampHalfViewed(g);
        QVERIFY(waitForFrame(g));
        g->setControlState(KivGraph::ControlPan);
        QSignalSpy panning(g, &KivGraph::panning);
        const QImage before = grab();
        QTest::mousePress(g, button, Qt::NoModifier, path[0]);
        QCOMPARE(g->isHorizontalScrollBarSliderActive(), slider == 'h');
        QCOMPARE(g->isVerticalScrollBarSliderActive(), slider == 'v');
        // A pixel of each slider: the dragged one darkens, the other keeps its colour.
        const QPoint own = slider == 'v' ? QPoint(6, 100) : QPoint(150, 194);
        const QPoint other = slider == 'v' ? QPoint(150, 194) : QPoint(6, 100);
        QVERIFY(qBlue(before.pixel(own)) > qRed(before.pixel(own)) + 30);
        if (slider) {
            const QImage during = grab();
            QVERIFY(qRed(during.pixel(own)) < qRed(before.pixel(own)) - 20);
            QCOMPARE(during.pixel(other), before.pixel(other));
        }
        for (int i = 1; i < path.size(); ++i)
            QTest::mouseMove(g, path[i]);
        // One signal per step with that step's deltas in pixels and in graph units; a slider
        // reports no movement across its axis.
        QCOMPARE(panning.count(), path.size() - 1);
        for (int i = 1; i < path.size(); ++i) {
            const QList<QVariant> args = panning.at(i - 1);
            const QPoint d = path[i] - path[i - 1];
            QCOMPARE(args.at(0).value<Qt::MouseButton>(), button);
            QCOMPARE(QPoint(args.at(1).toInt(), args.at(2).toInt()), d);
            QVERIFY(near(args.at(3).toDouble(), slider == 'v' ? 0.0 : 2.0 * d.x() / 300.0));
            QVERIFY(near(args.at(4).toDouble(), slider == 'h' ? 0.0 : -2.0 * d.y() / 200.0));
        }
        QVERIFY(viewIs(*g, view));
        QTest::mouseRelease(g, button, Qt::NoModifier, path.last());
        QCOMPARE(panning.count(), path.size() - 1);
        QVERIFY(noGestureActive(*g));
        QVERIFY(viewIs(*g, view));
        if (slider)
            QCOMPARE(grab().pixel(own), before.pixel(own));
    }

    void allSamplesZoomOnlyChangesY()
    {
        KivDataSet* ds = g->addDataSet(0, QColor(Qt::blue), 100);
        for (int i = 0; i < 100; ++i)
            ds->addData(std::sin(i * 0.1) * 50.0);
        g->setAxisScale('y', -100.0, 100.0);
        g->showAllSamples(true);
        QVERIFY(waitForFrame(g));
        const QRectF v = currentView(*g);
        g->setControlState(KivGraph::ControlZoom);
        // Rubber band, wheel and double click all keep the whole sample window.
        drag(g, Qt::LeftButton, QPoint(100, 50), QPoint(200, 150));
        QVERIFY(viewIs(*g, QRectF(QPointF(v.left(), -50), QPointF(v.right(), 50))));
        QVERIFY(wheel(g, QPoint(40, 100), 120));
        QVERIFY(viewIs(*g, QRectF(QPointF(v.left(), -25), QPointF(v.right(), 25))));
        QTest::mouseDClick(g, Qt::LeftButton, Qt::NoModifier, QPoint(40, 100));
        QVERIFY(viewIs(*g, QRectF(QPointF(v.left(), -12.5), QPointF(v.right(), 12.5))));
    }

    void measureCursorSavesAndRestores()
    {
        KivDataSet* ds = g->addDataSet(0, QColor(Qt::blue), 100);
        for (int i = 0; i < 100; ++i)
            ds->addData(double(i));
        QVERIFY(waitForFrame(g));
        g->setScopeOffset(40);
        QTest::mouseMove(g, QPoint(140, 100)); // without the measure shown nothing moves
        QCOMPARE(g->scopeOffset(), 40L);
        g->showMeasure(true);
        const std::pair<QPoint, long> moves[] = {{{150, 100}, 50}, {{225, 100}, 75}, {{299, 50}, 99}, {{0, 50}, 0}};
        for (const auto& m : moves) {
            QTest::mouseMove(g, m.first);
            QCOMPARE(g->scopeOffset(), m.second);
        }
        // Leaving restores the offset of before the first move.
        QTest::mouseMove(win, QPoint(150, 220));
        QTRY_COMPARE(g->scopeOffset(), 40L);
        // Back in, a new run saves the offset again, including one the host set meanwhile.
        QTest::mouseMove(g, QPoint(150, 100));
        g->setScopeOffset(70);
        QTest::mouseMove(g, QPoint(75, 10));
        QCOMPARE(g->scopeOffset(), 25L);
        QTest::mouseMove(win, QPoint(150, 230));
        QTRY_COMPARE(g->scopeOffset(), 70L);
        // A running gesture keeps the cursor where it is.
        g->setControlState(KivGraph::ControlPan);
        QTest::mouseMove(g, QPoint(150, 100));
        QTest::mousePress(g, Qt::LeftButton, Qt::NoModifier, QPoint(150, 100));
        QTest::mouseMove(g, QPoint(60, 100));
        QCOMPARE(g->scopeOffset(), 50L);
        QTest::mouseRelease(g, Qt::LeftButton, Qt::NoModifier, QPoint(60, 100));
    }

    void noDataSetsIsHarmless()
    {
        g->showMeasure(true);
        for (int state : {KivGraph::ControlNone, KivGraph::ControlZoom, KivGraph::ControlPan}) {
            g->setControlState(KivGraph::ControlState(state));
            for (Qt::MouseButton b : {Qt::LeftButton, Qt::RightButton}) {
                QTest::mouseMove(g, QPoint(20, 30));
                drag(g, b, QPoint(150, 195), QPoint(170, 190));
                QTest::mouseDClick(g, b, Qt::NoModifier, QPoint(5, 100));
                QTest::mouseRelease(g, b, Qt::NoModifier, QPoint(60, 60)); // a stray release
                wheel(g, QPoint(5, 100), 120, b);
                wheel(g, QPoint(60, 60), -120);
                QTest::mouseMove(win, QPoint(150, 220));
            }
        }
        QVERIFY(noGestureActive(*g));
        QCOMPARE(g->scopeOffset(), -1L);
        const QRectF v = currentView(*g);
        QVERIFY(v.isValid() && std::isfinite(v.left() + v.width() + v.top() + v.height()));
    }

    void selectionRectangle()
    {
        KivDataSet* ds = g->addDataSet(1, QColor(Qt::red), 0); // in the top-right corner, out of the way
        ds->addData(280.0, 190.0);
        ds->addData(290.0, 195.0);
        g->setControlState(KivGraph::ControlZoom);
        QVERIFY(waitForFrame(g));
        const QImage before = grab();
        QTest::mousePress(g, Qt::LeftButton, Qt::NoModifier, QPoint(75, 50));
        QTest::mouseMove(g, QPoint(225, 150));
        const QImage during = grab();
        // The inside is veiled in blue; so are the rectangle's extents on the two scroll-bar
        // bands, where the axis labels cover part of them.
        const QRect inside(80, 55, 140, 90);
        QCOMPARE(countPixels(before, during, inside, veiled), inside.width() * inside.height());
        QVERIFY(countPixels(before, during, QRect(2, 60, 8, 80), veiled) > 8 * 80 / 2);
        QVERIFY(countPixels(before, during, QRect(90, 190, 120, 8), veiled) > 120 * 8 / 2);
        // The outline along the top edge is dark blue.
        const auto darkBlue = [](QRgb, QRgb c) { return qBlue(c) > qRed(c) + 30 && qRed(c) < 110; };
        QVERIFY(countPixels(during, during, QRect(150, 49, 1, 3), darkBlue) > 0);
        // The corner values are written above the top-left and below the bottom-right corner.
        for (const QRect label : {QRect(0, 25, 75, 24), QRect(226, 151, 74, 24)})
            QVERIFY(countPixels(before, during, label, dark) > countPixels(before, before, label, dark) + 10);
        // Elsewhere nothing changed.
        for (const QRect area : {QRect(240, 20, 40, 20), QRect(100, 160, 100, 20)})
            QCOMPARE(countPixels(before, during, area, std::not_equal_to<QRgb>()), 0);

        QTest::mouseRelease(g, Qt::LeftButton, Qt::NoModifier, QPoint(225, 150));
        QVERIFY(countPixels(before, grab(), inside, veiled) < inside.width() * inside.height() / 10);
    }
};

QTEST_MAIN(TestPointerGestures)
#include "tst_pointergestures.moc"
