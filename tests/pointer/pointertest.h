#ifndef KIV_TEST_POINTERTEST_H
#define KIV_TEST_POINTERTEST_H

// Helpers shared by the pointer tests: a graph shown in a window of a known size, real mouse
// events through the window system interface, wheel events and scale read-back.

// Route QTest's mouse helpers through the window (as the platform delivers them), so that
// hover moves arrive, pressed buttons are tracked and double clicks are detected by Qt itself.
#ifndef QTEST_QPA_MOUSE_HANDLING
#define QTEST_QPA_MOUSE_HANDLING
#endif

#include "kiv_dataset.h"
#include "kiv_graph.h"

#include <QApplication>
#include <QCursor>
#include <QImage>
#include <QMouseEvent>
#include <QWheelEvent>
#include <QtTest>

#include <utility>

// The panning signal carries the button; spies and data columns need it as a meta type.
Q_DECLARE_METATYPE(Qt::MouseButton)

namespace pointertest {

// A graph that counts its frames, so a test can wait for the repaint a gesture asked for.
class CountingGraph : public KivGraph
{
public:
    explicit CountingGraph(QWidget* parent = nullptr)
        : KivGraph(parent)
    {
    }
    int frames = 0;

protected:
    void paintGL() override
    {
        KivGraph::paintGL();
        ++frames;
    }
};

// A window holding the graph at its top-left corner with free space right of it and below
// it, where the pointer goes to leave the graph or to drag beyond it.
class GraphWindow : public QWidget
{
public:
    explicit GraphWindow(int w = 300, int h = 200)
        : graph(new CountingGraph(this))
    {
        setGeometry(0, 0, w + 120, h + 80);
        graph->setGeometry(0, 0, w, h);
    }
    CountingGraph* graph;
};

// Shows the window at the screen's corner, away from the real pointer, and waits for the
// first frame. Returns false when the window never became visible.
inline bool showAndWait(GraphWindow& win)
{
    QCursor::setPos(QPoint(1200, 1000));
    win.move(0, 0);
    win.show();
    if (!QTest::qWaitForWindowExposed(&win))
        return false;
    return QTest::qWaitFor([&]() { return win.graph->frames > 0; }, 5000);
}

// Waits until the graph drew a frame after the current one.
inline bool waitForFrame(CountingGraph* g)
{
    const int before = g->frames;
    g->update();
    return QTest::qWaitFor([&]() { return g->frames > before; }, 5000);
}

// Press, release and press again in quick succession, as a user's double click that keeps the
// button down: Qt turns the second press into a double click. (QTest::mouseDClick releases.)
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

// One wheel notch (or any delta) at widget point p; returns whether the graph accepted it.
inline bool wheel(QWidget* w, const QPoint& p, int delta, Qt::MouseButtons buttons = Qt::NoButton)
{
    QWheelEvent e(QPointF(p), QPointF(w->mapToGlobal(p)), QPoint(), QPoint(0, delta), buttons, Qt::NoModifier,
                  Qt::NoScrollPhase, false);
    QApplication::sendEvent(w, &e);
    return e.isAccepted();
}

// A pointer move with no button down, delivered straight to the widget.
inline void hover(QWidget* w, const QPoint& p)
{
    QMouseEvent e(QEvent::MouseMove, QPointF(p), QPointF(w->mapToGlobal(p)), Qt::NoButton, Qt::NoButton,
                  Qt::NoModifier);
    QApplication::sendEvent(w, &e);
}

inline std::pair<double, double> scale(const KivGraph& g, char axis)
{
    double min = 0.0;
    double max = 0.0;
    g.getAxisScale(axis, min, max);
    return std::make_pair(min, max);
}

// Relative comparison that also accepts values near zero.
inline bool near(double a, double b, double eps = 1e-9)
{
    return std::fabs(a - b) <= eps * std::max(1.0, std::max(std::fabs(a), std::fabs(b)));
}

} // namespace pointertest

#endif // KIV_TEST_POINTERTEST_H
