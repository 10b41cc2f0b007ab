#pragma once

// A graph shown in a window of a known size, driven by real mouse and wheel events.
// QTest's mouse helpers go through the window, as the platform delivers them: hover moves
// arrive, pressed buttons are tracked and Qt itself detects double clicks.
#define QTEST_QPA_MOUSE_HANDLING

#include "kiv_dataset.h"
#include "kiv_graph.h"

#include <QApplication>
#include <QCursor>
#include <QWheelEvent>
#include <QtTest>

Q_DECLARE_METATYPE(Qt::MouseButton)

namespace pointertest {

struct CountingGraph : public KivGraph {
    int frames = 0;
    void paintGL() override { KivGraph::paintGL(); ++frames; }
};

// A 300 x 200 graph at the top-left corner of a larger window: the free space right of it and
// below it is where the pointer leaves the graph or drags beyond it.
struct GraphWindow : public QWidget {
    CountingGraph* graph = new CountingGraph;

    GraphWindow()
    {
        qRegisterMetaType<Qt::MouseButton>(); // for spies on the panning signal
        setGeometry(0, 0, 420, 280);
        graph->setParent(this);
        graph->setGeometry(0, 0, 300, 200);
    }

    bool showAndWait()
    {
        QCursor::setPos(QPoint(1200, 1000)); // away from the window
        show();
        return QTest::qWaitForWindowExposed(this) && QTest::qWaitFor([&]() { return graph->frames > 0; }, 5000);
    }
};

inline bool waitForFrame(CountingGraph* g)
{
    const int before = g->frames;
    g->update();
    return QTest::qWaitFor([&]() { return g->frames > before; }, 5000);
}

inline void drag(QWidget* w, Qt::MouseButton button, const QPoint& from, const QPoint& to)
{
    QTest::mousePress(w, button, Qt::NoModifier, from);
    QTest::mouseMove(w, (from + to) / 2);
    QTest::mouseMove(w, to);
    QTest::mouseRelease(w, button, Qt::NoModifier, to);
}

// A double click that keeps the button down (QTest::mouseDClick releases it).
inline void doubleClickAndHold(QWidget* w, Qt::MouseButton button, const QPoint& p)
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

// Returns whether the graph accepted the wheel event.
inline bool wheel(QWidget* w, const QPoint& p, int delta, Qt::MouseButtons buttons = Qt::NoButton)
{
    QWheelEvent e(QPointF(p), QPointF(w->mapToGlobal(p)), QPoint(), QPoint(0, delta), buttons, Qt::NoModifier,
                  Qt::NoScrollPhase, false);
    QApplication::sendEvent(w, &e);
    return e.isAccepted();
}

// A series of points (i, i) for i = 0 .. 100, viewed at 25 .. 75 on both axes: both
// scroll-bar sliders are shown, spanning the middle half of their bands.
inline void addRampHalfViewed(KivGraph* g)
{
    KivDataSet* ds = g->addDataSet(1, QColor(Qt::red), 0);
    for (int i = 0; i <= 100; ++i)
        ds->addData(double(i), double(i));
    g->setAxisScale('x', 25.0, 75.0);
    g->setAxisScale('y', 25.0, 75.0);
}

inline velo::MatrixF<3, 2> box(double x0, double x1, double y0, double y1)
{
    const double v[3][2] = {{x0, x1}, {y0, y1}, {-1.0, 1.0}};
    velo::MatrixF<3, 2> b;
    for (int i = 0; i < 6; ++i)
        b(i / 2, i % 2) = v[i / 2][i % 2];
    return b;
}

inline bool near(double a, double b, double eps = 1e-9)
{
    return std::fabs(a - b) <= eps * std::max(1.0, std::max(std::fabs(a), std::fabs(b)));
}

// The view as a rectangle: x range left .. right, y range top .. bottom.
inline QRectF currentView(const KivGraph& g)
{
    double x0 = 0, x1 = 0, y0 = 0, y1 = 0;
    g.getAxisScale('x', x0, x1);
    g.getAxisScale('y', y0, y1);
    return QRectF(QPointF(x0, y0), QPointF(x1, y1));
}

// Whether the view is v; tells what it is instead when it is not.
inline bool viewIs(const KivGraph& g, const QRectF& v)
{
    const QRectF r = currentView(g);
    const bool same = near(r.left(), v.left()) && near(r.right(), v.right()) && near(r.top(), v.top())
        && near(r.bottom(), v.bottom());
    if (!same)
        qWarning("view x %.12g .. %.12g, y %.12g .. %.12g", r.left(), r.right(), r.top(), r.bottom());
    return same;
}

inline bool noGestureActive(const KivGraph& g)
{
    for (Qt::MouseButton b : {Qt::LeftButton, Qt::RightButton}) {
        const KivGraph::PanZoomInfo& r = g.getPanZoomInfo(b);
        if (r.active || r.autoZoom || r.horizontalSlider || r.verticalSlider)
            return false;
    }
    return !g.isMouseButtonDown().first;
}

} // namespace pointertest
