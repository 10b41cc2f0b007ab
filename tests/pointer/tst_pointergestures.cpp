// Zoom, pan, wheel, scroll-bar drags and the measure cursor by real mouse events on a shown
// graph, and the arithmetic behind them. The graph is 300 x 200 pixels at the top-left corner of
// a larger window: the free space right of it and below it is where the pointer leaves the graph
// or drags beyond it. The view is x 0 .. 300, y 0 .. 200 unless a test says otherwise: one pixel
// is one data unit.

// QTest's mouse helpers go through the window, as the platform delivers them: hover moves
// arrive, pressed buttons are tracked and Qt itself detects double clicks.
#define QTEST_QPA_MOUSE_HANDLING

#include "kiv_dataset.h"
#include "kiv_graph.h"
#include "kivtestutil.h"

#include <QApplication>
#include <QCursor>
#include <QTimer>
#include <QtTest>

#include <cmath>
#include <functional>

Q_DECLARE_METATYPE(Qt::MouseButton)

// Rows of the gesture tables, each ending in the view that results.
struct Band { Qt::MouseButton button; QPoint from, to; int notches; QRectF view; };
struct DoubleClick { Qt::MouseButton button; bool hold; QPoint moveTo; int notches; QRectF view; };
struct Wheel { KivGraph::ControlState state; QPoint at; int delta; QRectF view; };
struct Pan { Qt::MouseButton button; QVector<QPoint> path; char slider; QRectF view; }; // slider: 'h', 'v' or 0
Q_DECLARE_METATYPE(Band)
Q_DECLARE_METATYPE(DoubleClick)
Q_DECLARE_METATYPE(Wheel)
Q_DECLARE_METATYPE(Pan)

namespace {

struct CountingGraph : public KivGraph {
    using KivGraph::KivGraph;
    int frames = 0;
    void paintGL() override { KivGraph::paintGL(); ++frames; }
};

bool waitForFrame(CountingGraph* g)
{
    const int before = g->frames;
    g->update();
    return QTest::qWaitFor([&]() { return g->frames > before; }, 5000);
}

void drag(QWidget* w, Qt::MouseButton button, const QPoint& from, const QPoint& to)
{
    QTest::mousePress(w, button, Qt::NoModifier, from);
    QTest::mouseMove(w, (from + to) / 2);
    QTest::mouseMove(w, to);
    QTest::mouseRelease(w, button, Qt::NoModifier, to);
}

// A double click that keeps the button down (QTest::mouseDClick releases it).
void doubleClickAndHold(QWidget* w, Qt::MouseButton button, const QPoint& p)
{
    QTest::mousePress(w, button, Qt::NoModifier, p);
    QWindow* window = w->window()->windowHandle();
    const QPoint local = window->mapFromGlobal(w->mapToGlobal(p));
    QTestPrivate::qtestMouseButtons.setFlag(button, false);
    qt_handleMouseEvent(window, local, window->mapToGlobal(local), QTestPrivate::qtestMouseButtons, button,
                        QEvent::MouseButtonRelease, Qt::NoModifier, ++QTest::lastMouseTimestamp);
    QCoreApplication::processEvents();
    QTest::mousePress(w, button, Qt::NoModifier, p);
}

using kivtest::wheel;

velo::MatrixF<3, 2> box(double x0, double x1, double y0, double y1)
{
    const double v[6] = {x0, x1, y0, y1, -1.0, 1.0};
    velo::MatrixF<3, 2> b;
    for (int i = 0; i < 6; ++i)
        b(i / 2, i % 2) = v[i];
    return b;
}

bool near(double a, double b, double eps = 1e-9)
{
    return std::fabs(a - b) <= eps * std::max(1.0, std::max(std::fabs(a), std::fabs(b)));
}

// Whether the view (x left .. right, y top .. bottom) is v; tells what it is instead when not.
bool viewIs(const KivGraph& g, const QRectF& v)
{
    double x0 = 0, x1 = 0, y0 = 0, y1 = 0;
    g.getAxisScale('x', x0, x1);
    g.getAxisScale('y', y0, y1);
    if (near(x0, v.left()) && near(x1, v.right()) && near(y0, v.top()) && near(y1, v.bottom()))
        return true;
    qWarning("view x %.12g .. %.12g, y %.12g .. %.12g", x0, x1, y0, y1);
    return false;
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

    QWidget* win = nullptr;
    CountingGraph* g = nullptr;
    const QRectF whole{0, 0, 300, 200};
    const QRectF middle{QPointF(75, 50), QPointF(225, 150)};

    QImage grab() { return g->grabFramebuffer().convertToFormat(QImage::Format_RGB32); }

private slots:
    void init()
    {
        qRegisterMetaType<Qt::MouseButton>(); // for spies on the panning signal
        win = new QWidget;
        win->setGeometry(0, 0, 420, 280);
        g = new CountingGraph(win);
        g->setGeometry(0, 0, 300, 200);
        g->setAxisScale('x', 0.0, 300.0);
        g->setAxisScale('y', 0.0, 200.0);
        QCursor::setPos(QPoint(1200, 1000)); // away from the window
        win->show();
        QVERIFY(QTest::qWaitForWindowExposed(win) && QTest::qWaitFor([&]() { return g->frames > 0; }, 5000));
    }

    void cleanup() { delete win; }

    void pointMapping()
    {
        // With an extent x -150 .. 450, y -100 .. 300 the sliders span x pixels 75 .. 225 on the
        // bottom band (rows 188 .. 200) and y pixels 50 .. 150 on the left band (columns 0 .. 12).
        const struct { const char* name; QPoint point; QPointF pos; char slider; } rows[] = {
            {"top-left", {0, 0}, {-1, 1}, 0}, {"bottom-right", {300, 200}, {1, -1}, 0},
            {"above-right", {450, -100}, {2, 2}, 0}, {"below-left", {-30, 300}, {-1.2, -2}, 0},
            {"bottom band, top row", {150, 189}, {0, -0.89}, 'h'}, {"above it", {150, 187}, {0, -0.87}, 0},
            {"slider's right end", {225, 199}, {0.5, -0.99}, 'h'}, {"past it", {231, 199}, {0.54, -0.99}, 0},
            {"left band, column 9", {9, 130}, {-0.94, -0.3}, 'v'}, {"column 15", {15, 130}, {-0.9, -0.3}, 0},
            {"above the slider", {6, 40}, {-0.96, 0.6}, 0}};
        const velo::MatrixF<3, 2> extent = box(-150, 450, -100, 300);
        for (const auto& r : rows) {
            QPointF got, clamped;
            g->pointToGraphPos(r.point, got, false);
            g->pointToGraphPos(r.point, clamped, true); // clamped to the plot
            QPoint back; // the way back truncates: at most one pixel off
            g->graphPosToPoint(r.pos, back);
            QVERIFY2(near(got.x(), r.pos.x()) && near(got.y(), r.pos.y())
                         && clamped == QPointF(qBound(-1.0, r.pos.x(), 1.0), qBound(-1.0, r.pos.y(), 1.0))
                         && qAbs(back.x() - r.point.x()) <= 1 && qAbs(back.y() - r.point.y()) <= 1,
                     qPrintable(QString("%1: %2, %3 back at %4, %5").arg(r.name).arg(got.x()).arg(got.y())
                                    .arg(back.x()).arg(back.y())));
            QVERIFY2(g->isPointOnHorizontalScrollBarSlider(r.point, extent) == (r.slider == 'h')
                         && g->isPointOnVerticalScrollBarSlider(r.point, extent) == (r.slider == 'v'),
                     r.name);
        }
    }

    // Extent x 0 .. 100, y -50 .. 50: ends nearly on the 3 % margins snap onto them; a time series
    // has no x margin; showing all samples pins x to the whole window.
    void panLimits()
    {
        using V = QVector<double>;
        const double t = 1e-13;
        const V margins{-3, 103, -53, 53}, beyond{-40, 60, -80, 90}, close{-3.001, 103.001, -53.0001, 20};
        const struct { int style; bool allSamples; V view, expected; } rows[] = { // style -1: no data set
            {1, false, {-3 * (1 + t), 103, -53, 53 * (1 - t)}, margins}, {1, false, beyond, beyond},
            {1, false, close, close}, {-1, false, {-3 * (1 + t), 103, -53, 53}, margins},
            {0, false, {-3, 100 * (1 - t), -53, 53 * (1 + t)}, {-3, 100, -53, 53}},
            {0, true, {10, 30, 1, 2}, {0, 100, 1, 2}}};
        for (const auto& r : rows) {
            KivGraph lg;
            if (r.style >= 0)
                lg.addDataSet(static_cast<unsigned long>(r.style), QColor(Qt::red), 100);
            lg.showAllSamples(r.allSamples);
            QList<KivAxisInfo> axes{lg.axisInfo(0), lg.axisInfo(1), lg.axisInfo(2)};
            for (int i = 0; i < 4; ++i)
                (i % 2 ? axes[i / 2].scaleMax : axes[i / 2].scaleMin) = r.view[i];
            lg.applyPanLimits(box(0, 100, -50, 50), axes);
            // Exact: a snapped end lands on the margin itself.
            const V got{axes[0].scaleMin, axes[0].scaleMax, axes[1].scaleMin, axes[1].scaleMax};
            QVERIFY2(got == r.expected,
                     qPrintable(QString::asprintf("%.17g %.17g %.17g %.17g", got[0], got[1], got[2], got[3])));
        }
    }

    // Presses that start nothing leave the view alone; then every gesture, stray releases and
    // wheels on a graph without data sets leave no gesture running and a finite view.
    void strayInput()
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
        double v[4] = {};
        g->getAxisScale('x', v[0], v[1]);
        g->getAxisScale('y', v[2], v[3]);
        QVERIFY(v[0] < v[1] && v[2] < v[3] && std::isfinite(v[0] + v[1] + v[2] + v[3]));
    }

    void rubberBand_data()
    {
        QTest::addColumn<Band>("row"); // wheel notches after the press move the anchor by 5 % each
        const Qt::MouseButton left = Qt::LeftButton, right = Qt::RightButton;
        const QPoint a(75, 50), b(225, 150);
        QTest::newRow("in") << Band{left, a, b, 0, middle};
        QTest::newRow("in, dragged up-left") << Band{left, b, a, 0, middle};
        QTest::newRow("in, beyond top-right") << Band{left, a, {350, -20}, 0, {75, 150, 225, 50}};
        QTest::newRow("out") << Band{right, a, b, 0, {-150, -100, 600, 400}};
        QTest::newRow("zero height") << Band{left, a, {76, 50}, 0, whole};
        QTest::newRow("zero width") << Band{left, a, {75, 150}, 0, whole};
        QTest::newRow("click") << Band{right, a, a, 0, whole};
        QTest::newRow("anchor, wheel up") << Band{left, a, b, 1, {90, 50, 135, 90}};
        QTest::newRow("anchor, wheel down two") << Band{left, a, b, -2, {45, 50, 180, 120}};
    }

    void rubberBand()
    {
        QFETCH(Band, row);
        const auto& [button, from, to, notches, view] = row;
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
        QVERIFY(viewIs(*g, whole)); // nothing is applied before the release
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
        QTest::addColumn<DoubleClick>("row"); // wheel notches while held: up > 0, down < 0
        // Clicked at the centre: zooms by two about the click. Held down, the rectangle follows
        // the pointer, stays inside the plot, and the wheel changes the factor by 0.2 a notch,
        // never below 1.
        const Qt::MouseButton left = Qt::LeftButton, right = Qt::RightButton;
        const QPoint c(150, 100);
        const QPointF up3(150 / 2.6, 100 / 2.6), down2(150 / 1.6, 100 / 1.6); // half sizes after the wheel
        QTest::newRow("in") << DoubleClick{left, false, {}, 0, middle};
        QTest::newRow("out") << DoubleClick{right, false, {}, 0, {-150, -100, 600, 400}};
        QTest::newRow("in, held, follows") << DoubleClick{left, true, {120, 120}, 0, {45, 30, 150, 100}};
        QTest::newRow("in, held, to corner") << DoubleClick{left, true, {30, 20}, 0, {0, 100, 150, 100}};
        QTest::newRow("out, held, follows") << DoubleClick{right, true, {225, 50}, 0, {-300, -200, 600, 400}};
        QTest::newRow("wheel up three") << DoubleClick{left, true, c, 3, {c - up3, c + up3}};
        QTest::newRow("wheel down two") << DoubleClick{left, true, c, -2, {c - down2, c + down2}};
        QTest::newRow("wheel down seven") << DoubleClick{left, true, c, -7, whole};
    }

    void doubleClickZoom()
    {
        QFETCH(DoubleClick, row);
        const auto& [button, hold, moveTo, notches, view] = row;
        g->setControlState(KivGraph::ControlZoom);
        const QPoint click(150, 100);
        if (!hold) {
            QTest::mouseDClick(g, button, Qt::NoModifier, click);
        } else {
            doubleClickAndHold(g, button, click);
            for (int i = 0; i < std::abs(notches); ++i)
                QVERIFY(wheel(g, click, notches > 0 ? 120 : -120, button));
            QTest::mouseMove(g, moveTo);
            QVERIFY(viewIs(*g, whole));
            QTest::mouseRelease(g, button, Qt::NoModifier, moveTo);
        }
        QVERIFY(viewIs(*g, view));
        QVERIFY(noGestureActive(*g));
    }

    void wheelZoom_data()
    {
        QTest::addColumn<Wheel>("row"); // the view from x 0 .. 100, y 0 .. 100
        // A notch of any size zooms by two about the pointer, kept inside the plot. Outside the
        // zoom mode the wheel goes to the parent.
        const KivGraph::ControlState zoom = KivGraph::ControlZoom;
        const QPoint c(150, 100);
        const QRectF half(25, 25, 50, 50), start(0, 0, 100, 100);
        QTest::newRow("up, centre") << Wheel{zoom, c, 120, half};
        QTest::newRow("down, centre") << Wheel{zoom, c, -120, {-50, -50, 200, 200}};
        QTest::newRow("up, small delta") << Wheel{zoom, c, 15, half};
        QTest::newRow("up, off centre") << Wheel{zoom, {120, 120}, 120, {15, 15, 50, 50}};
        QTest::newRow("up, top-right corner") << Wheel{zoom, {299, 0}, 120, {50, 50, 50, 50}};
        QTest::newRow("zero delta") << Wheel{zoom, c, 0, start};
        QTest::newRow("pan") << Wheel{KivGraph::ControlPan, c, -120, start};
    }

    void wheelZoom()
    {
        QFETCH(Wheel, row);
        const auto& [state, at, delta, view] = row;
        g->setAxisScale('x', 0.0, 100.0);
        g->setAxisScale('y', 0.0, 100.0);
        g->setControlState(state);
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
        QTest::addColumn<Pan>("row");
        // From a view of x, y 25 .. 75 on data 0 .. 100. The left button drags the data with the
        // pointer, the right button moves the view; a slider moves with the pointer whichever
        // button drags it, by units of the full extent and only along its own axis.
        using Path = QVector<QPoint>;
        const Path upAndBack{{150, 100}, {165, 90}, {180, 80}, {150, 80}};
        const Qt::MouseButton left = Qt::LeftButton, right = Qt::RightButton;
        QTest::newRow("left") << Pan{left, upAndBack, 0, {25, 20, 50, 50}};
        QTest::newRow("right") << Pan{right, upAndBack, 0, {25, 30, 50, 50}};
        QTest::newRow("horizontal slider") << Pan{left, {{150, 195}, {165, 192}, {180, 190}}, 'h', {35, 25, 50, 50}};
        QTest::newRow("horizontal slider, right") << Pan{right, {{150, 195}, {120, 195}}, 'h', {15, 25, 50, 50}};
        QTest::newRow("vertical slider") << Pan{left, {{5, 100}, {15, 80}}, 'v', {25, 35, 50, 50}};
    }

    void panDrag()
    {
        QFETCH(Pan, row);
        const auto& [button, path, slider, view] = row;
        // The series (i, i) for i = 0 .. 100 viewed at 25 .. 75: both sliders span the middle
        // half of their bands.
        KivDataSet* ds = g->addDataSet(1, QColor(Qt::red), 0);
        for (int i = 0; i <= 100; ++i)
            ds->addData(double(i), double(i));
        g->setAxisScale('x', 25.0, 75.0);
        g->setAxisScale('y', 25.0, 75.0);
        QVERIFY(waitForFrame(g));
        g->setControlState(KivGraph::ControlPan);
        QSignalSpy panning(g, &KivGraph::panning);
        const QImage before = grab();
        QTest::mousePress(g, button, Qt::NoModifier, path[0]);
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
        // The read-out stands beside the cursor at the top, on its right side, or on its left
        // where the right side has no room. The view shows the whole window of samples.
        g->setAxisScale('x', -1.0, 1.0);
        g->setAxisScale('y', -10.0, 110.0);
        QVERIFY(waitForFrame(g));
        const QImage before = grab();
        const auto newText = [&](const QImage& after, const QRect& area) {
            return countPixels(before, after, area, dark) > countPixels(before, before, area, dark) + 10;
        };
        QTest::mouseMove(g, QPoint(150, 100));
        QVERIFY(waitForFrame(g));
        QImage shown = grab();
        QVERIFY(newText(shown, QRect(155, 2, 50, 34)));
        QVERIFY(!newText(shown, QRect(95, 2, 50, 34)));
        QTest::mouseMove(g, QPoint(270, 100));
        QVERIFY(waitForFrame(g));
        shown = grab();
        QVERIFY(newText(shown, QRect(215, 2, 50, 34)));
        QVERIFY(!newText(shown, QRect(276, 2, 24, 34)));
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

    // A user looks closer at a live, scrolling time series: zooms in with the rubber band and
    // zooms back out with the wheel while samples keep arriving, then zooms with all samples
    // shown. Panning is in panDrag.
    void liveTimeSeries()
    {
        KivDataSet* ds = g->addDataSet(0, QColor(Qt::darkGreen), 200);
        g->setAxisScale('x', -1.0, 1.0); // the whole sample window
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
        QVERIFY(waitForFrame(g));

        // Rubber band over the middle half; the zoomed window stays put while the series scrolls.
        g->setControlState(KivGraph::ControlZoom);
        drag(g, Qt::LeftButton, QPoint(75, 50), QPoint(225, 150));
        const QRectF zoomed(QPointF(-0.5, -0.75), QPointF(0.5, 0.75));
        QVERIFY(viewIs(*g, zoomed));
        const int before = produced;
        QTRY_VERIFY(produced > before + 100);
        QVERIFY(waitForFrame(g));
        QVERIFY(viewIs(*g, zoomed));

        // Two notches down: x cannot grow past the series' window, y ends at twice its start.
        QVERIFY(wheel(g, QPoint(150, 100), -120));
        QVERIFY(wheel(g, QPoint(150, 100), -120));
        QVERIFY(viewIs(*g, QRectF(QPointF(-1.0, -3.0), QPointF(1.0, 3.0))));

        // No gesture is left running; the series kept up with all that arrived. Samples reach
        // its time base when a frame is drawn, so one more frame takes in the producer's last.
        QVERIFY(noGestureActive(*g));
        producer.stop();
        QVERIFY(waitForFrame(g));
        double interval = 0.0, time = 0.0;
        ds->getTime(interval, time);
        QCOMPARE(time, double(produced));

        // Showing all samples pins x to the whole window: rubber band, wheel and double click
        // zoom y only.
        g->showAllSamples(true);
        drag(g, Qt::LeftButton, QPoint(100, 50), QPoint(200, 150));
        QVERIFY(viewIs(*g, QRectF(QPointF(-1.0, -1.5), QPointF(1.0, 1.5))));
        QVERIFY(wheel(g, QPoint(40, 100), 120));
        QVERIFY(viewIs(*g, QRectF(QPointF(-1.0, -0.75), QPointF(1.0, 0.75))));
        QTest::mouseDClick(g, Qt::LeftButton, Qt::NoModifier, QPoint(40, 100));
        QVERIFY(viewIs(*g, QRectF(QPointF(-1.0, -0.375), QPointF(1.0, 0.375))));
    }
};

QTEST_MAIN(TestPointerGestures)
#include "tst_pointergestures.moc"
