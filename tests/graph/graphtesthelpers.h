#ifndef KIV_GRAPHTESTHELPERS_H
#define KIV_GRAPHTESTHELPERS_H

// Shared pieces of the graph tests: a graph that opens its protected hooks, and helpers to
// give a series known extents and to look at pictures.

#include "kiv_dataset.h"
#include "kiv_graph.h"

#include <QDir>
#include <QImage>
#include <QtGlobal>

#if defined(__SANITIZE_ADDRESS__)
#include <dlfcn.h>
#endif

namespace graphtest {

#if defined(__SANITIZE_ADDRESS__)
// Mesa's driver is unloaded before the leak check runs, which leaves its own allocations
// attributed to an unknown module. Keeping it mapped lets lsan.supp name it.
inline const bool driverKeptLoaded =
    dlopen("/usr/lib/x86_64-linux-gnu/dri/swrast_dri.so", RTLD_LAZY | RTLD_NODELETE) != nullptr;
#endif

class TestGraph : public KivGraph
{
public:
    using KivGraph::KivGraph;
    using KivGraph::applyScaleLimits;
    using KivGraph::drawBackground;
    using KivGraph::drawHorizontalScrollBar;
    using KivGraph::drawSelectionRectangle;
    using KivGraph::drawVerticalScrollBar;
    using KivGraph::forceScheduleUpdate;
    using KivGraph::updateGridScale;

    int frames = 0; //!< paintGL calls so far

protected:
    void paintGL() override
    {
        ++frames;
        KivGraph::paintGL();
    }
};

inline QList<KivAxisInfo> defaultAxes()
{
    return { KivAxisInfo(), KivAxisInfo(), KivAxisInfo() };
}

inline QList<KivAxisInfo> axesWith(double xMin, double xMax, double yMin, double yMax)
{
    QList<KivAxisInfo> axes = defaultAxes();
    axes[0].scaleMin = xMin;
    axes[0].scaleMax = xMax;
    axes[1].scaleMin = yMin;
    axes[1].scaleMax = yMax;
    return axes;
}

inline velo::MatrixF<3, 2> boxOf(double xMin, double xMax, double yMin, double yMax)
{
    velo::MatrixF<3, 2> box;
    box(0, 0) = xMin;
    box(0, 1) = xMax;
    box(1, 0) = yMin;
    box(1, 1) = yMax;
    box(2, 0) = -1.0;
    box(2, 1) = 1.0;
    return box;
}

// Directory for pictures a test leaves behind; empty when the environment names none.
inline QString outputDir()
{
    const QString dir = qEnvironmentVariable("KIV_TEST_OUTPUT_DIR");
    if (!dir.isEmpty())
        QDir().mkpath(dir);
    return dir;
}

inline void saveFrame(const QImage& image, const QString& name)
{
    const QString dir = outputDir();
    if (!dir.isEmpty())
        image.save(dir + QLatin1Char('/') + name);
}

inline bool near(QRgb a, QRgb b, int tolerance = 8)
{
    return qAbs(qRed(a) - qRed(b)) <= tolerance && qAbs(qGreen(a) - qGreen(b)) <= tolerance
        && qAbs(qBlue(a) - qBlue(b)) <= tolerance;
}

} // namespace graphtest

#endif // KIV_GRAPHTESTHELPERS_H
