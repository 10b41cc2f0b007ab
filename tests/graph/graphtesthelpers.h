#pragma once

// Shared pieces of the graph tests: a graph with its protected hooks open, axes with known
// ranges and picture helpers.

#include "kiv_dataset.h"
#include "kiv_graph.h"
#include "kivtestutil.h"

#include <QImage>
#include <QtTest>

namespace graphtest {

class TestGraph : public KivGraph
{
public:
    using KivGraph::KivGraph;
    using KivGraph::applyScaleLimits;
    using KivGraph::drawBackground;

    int frames = 0; // paintGL calls so far

protected:
    void paintGL() override { ++frames; KivGraph::paintGL(); }
};

// Shows the graph at w x h pixels; false if the window never became exposed.
inline bool showAt(TestGraph& g, int w, int h)
{
    g.resize(w, h);
    g.show();
    return QTest::qWaitForWindowExposed(&g);
}

// Axes x, y, z with the visible ranges x min, x max, y min, y max.
inline QList<KivAxisInfo> axesWith(const QList<double>& r)
{
    QList<KivAxisInfo> axes = { KivAxisInfo(), KivAxisInfo(), KivAxisInfo() };
    for (int i = 0; i < 4; ++i)
        (i % 2 ? axes[i / 2].scaleMax : axes[i / 2].scaleMin) = r[i];
    return axes;
}

using kivtest::saveFrame;

inline bool near(QRgb a, QRgb b, int tol)
{
    return qAbs(qRed(a) - qRed(b)) <= tol && qAbs(qGreen(a) - qGreen(b)) <= tol && qAbs(qBlue(a) - qBlue(b)) <= tol;
}

// Pixels of `area` within `tolerance` of `colour` in every channel; dark ones are near black.
inline int countColour(const QImage& image, QRgb colour, const QRect& area, int tolerance)
{
    int n = 0;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            n += near(image.pixel(x, y), colour, tolerance) ? 1 : 0;
    return n;
}

inline int countDark(const QImage& image, const QRect& area) { return countColour(image, qRgb(0, 0, 0), area, 99); }

} // namespace graphtest
