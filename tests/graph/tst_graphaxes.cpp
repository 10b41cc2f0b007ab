// Axis scaling: grid steps, label formats, units, limits, the auto-scale methods and equal
// axes, as a host sees them through the graph's axis interface.

#include "glfeedback.h"
#include "graphtesthelpers.h"
#include "kivclamp_p.h"

#include <QtTest>

#include <cmath>
#include <limits>

using graphtest::TestGraph;
using graphtest::axesWith;

namespace {

const double NaN = std::nan("");

bool closeTo(double a, double b) { return qAbs(a - b) < 1e-9; }

// "name: x min .. max, y min .. max" to six places, for comparing ranges.
QString spans(const char* name, const QList<KivAxisInfo>& a)
{
    return QString::asprintf("%s: x %.6f .. %.6f, y %.6f .. %.6f", name, a[0].scaleMin + 0.0, a[0].scaleMax + 0.0,
                             a[1].scaleMin + 0.0, a[1].scaleMax + 0.0);
}

// Gives a series exactly the extents of its samples by drawing it once.
void drawOnce(KivDataSet* ds)
{
    velo::MatrixF<3, 2> box;
    for (int i = 0; i < 6; ++i)
        box(i / 2, i % 2) = i % 2 ? 100.0 : -100.0;
    ds->display(box);
}

} // namespace

class TestGraphAxes : public QObject
{
    Q_OBJECT

private slots:
    void getScale()
    {
        // The exact double matters: labels and grid positions are multiples of it.
        const struct { double range, step; int decimals; } cases[] = {
            { 7, 5, 0 }, { 3, 2, 0 }, { 4.5, 4, 0 }, { 1.5, 1, 0 }, { 1, 0.5, 1 }, { 0.3, 0.2, 1 },
            { 0.05, 0.4 * 0.1, 2 }, { 0.01, 0.5 * (0.1 * 0.1), 3 }, { 12, 10, -1 }, { 450, 400, -2 },
            { 0, 0.5, 1 }, { -3, 0.5, 1 }, { NaN, 0.5, 1 },
        };
        for (const auto& c : cases) {
            int d = 99;
            const double s = ::getScale(c.range, d);
            QVERIFY2(s == c.step && d == c.decimals,
                     qPrintable(QStringLiteral("range %1: step %2, %3 places").arg(c.range).arg(s, 0, 'g', 17).arg(d)));
        }
    }

    void decimalsToFmt()
    {
        const struct { double min, max; int decimals; const char* format; } cases[] = {
            { -5, 20, 0, "%.0f" }, { 0, 0.5, 2, "%.2f" }, { 0, 50000, 0, "%.4e" }, { -20000, 5, -2, "%.2e" },
            { 0, 0.0005, 5, "%.1e" }, { 0, 0.001, 3, "%.3f" }, { 0, 9999, -2, "%.0f" },
            { 0, 0, 1, "%.0e" }, // zero span: no wrap into a huge precision
        };
        for (const auto& c : cases) {
            char fmt[16];
            ::decimalsToFmt(c.min, c.max, c.decimals, fmt);
            QCOMPARE(QByteArray(fmt), QByteArray(c.format));
        }
    }

    // Labels are written at first + k steps, summed: the one at zero reads "0.0", never "-0.0"
    // (y from -1 to 1 on a 600-pixel graph has a step of 0.2 and a first label of -1).
    void zeroLabel()
    {
        const struct { double min, step; } cases[] = { { -1.0, 0.2 }, { -0.7, 0.1 }, { -2.4, 0.2 }, { -3e-6, 1e-6 } };
        for (const auto& c : cases) {
            double v = std::ceil(c.min / c.step) * c.step;
            while (v < -0.5 * c.step)
                v += c.step;
            QCOMPARE(kivclamp::axisNumber("%.1f", v, c.step), QStringLiteral("0.0"));
        }
        QCOMPARE(kivclamp::axisNumber("%.1f", -0.2, 0.2), QStringLiteral("-0.2"));
        QCOMPARE(kivclamp::axisNumber("%.2e", -1e-12, 1.0), QStringLiteral("0.00e+00"));
    }

    // The display range of -10 .. 20 data units, and whether the axis then shows imperial units.
    void units()
    {
        const double ft = 3.2808399;
        const struct { unsigned long units; bool imperial; double factor; bool imperialDisplay; } cases[] = {
            { KivUnitNone, true, 1, false }, { 9, true, 1, false }, { KivUnitMetre, true, ft, true },
            { KivUnitMetre, false, 1, false }, { KivUnitMetrePerSecondSquared, true, ft, true },
            { KivUnitFoot, false, 1 / ft, false }, { KivUnitFoot, true, 1, true },
            { KivUnitCentimetre, true, 1 / 2.54, false }, { KivUnitInch, false, 2.54, false },
            { KivUnitInch, true, 1, false },
        };
        for (const auto& c : cases) {
            KivAxisInfo axis;
            axis.units = c.units;
            axis.scaleMin = -10.0;
            axis.scaleMax = 20.0;
            axis.updateDisplayRange(c.imperial);
            QVERIFY2(closeTo(axis.displayMin, -10.0 * c.factor) && closeTo(axis.displayMax, 20.0 * c.factor)
                         && axis.imperialDisplay == c.imperialDisplay && axis.scaleMax == 20.0,
                     qPrintable(QStringLiteral("unit %1, imperial %2").arg(c.units).arg(c.imperial)));
        }
    }

    void axisInterface()
    {
        TestGraph g;
        double min = 0.0, max = 0.0;
        g.setAxisScale('y', 5.0, 2.0); // ends in either order
        g.getAxisScale('Y', min, max);
        QVERIFY(min == 2.0 && max == 5.0 && g.lastAxisSet() == 'y');
        g.setAxisScale('q', 0.0, 1.0); // unknown: all axes, z first, so x is set last
        for (int i = 0; i < 3; ++i)
            QVERIFY(g.axisInfo(i).scaleMin == 0.0 && g.axisInfo(i).scaleMax == 1.0);
        QCOMPARE(g.lastAxisSet(), 'x');
        g.setAxisLimits('X', 7.0, -3.0);
        QVERIFY(g.axisInfo(0).limitMin == -3.0 && g.axisInfo(0).limitMax == 7.0);
        QCOMPARE(g.axisInfo(0).scaleMin, 0.0); // limits wait for the next limiting pass

        // Labels: 63 characters fit, 64 leave the old label, an unknown axis sets none.
        g.setAxisLabel('x', "time [s]");
        g.setAxisLabel('x', QByteArray(64, 'a').constData());
        QCOMPARE(QByteArray(g.axisInfo(0).label), QByteArray("time [s]"));
        g.setAxisLabel('x', QByteArray(63, 'b').constData());
        QCOMPARE(qstrlen(g.axisInfo(0).label), 63u);
        g.setAxisLabel('x', nullptr);
        g.setAxisLabel('w', "all");
        for (int i = 0; i < 3; ++i)
            QCOMPARE(g.axisInfo(i).label[0], '\0');
    }

    void applyScaleBounds()
    {
        const struct { const char* name; double limitMin, limitMax, minScale; bool locked;
                       double scaleMin, scaleMax, expectedMin, expectedMax; } cases[] = {
            { "inside", 0, 10, 0.1, false, 2, 8, 2, 8 },
            { "below, shifted up", 0, 10, 0.1, false, -20, -15, 0, 5 },
            { "above, shifted down", 0, 10, 0.1, false, 12, 20, 2, 10 },
            { "lower end cut", 0, 10, 0.1, false, -5, 5, 0, 5 },
            { "upper end cut", 0, 10, 0.1, false, 5, 15, 5, 10 },
            { "wider than limits", 0, 10, 0.1, false, -5, 15, 0, 10 },
            { "minimum span", 0, 10, 0.1, false, 4, 4.05, 3.975, 4.075 },
            { "span wins over limits", 0, 10, 4, false, 9, 10, 7.5, 11.5 },
            { "locked to the limits", -2, 3, 0.1, true, 0, 1, -2, 3 },
            { "nan end", 0, 10, 0.1, false, NaN, 1, 0, 10 },
            { "infinite end", 0, 10, 0.1, false, 1, std::numeric_limits<double>::infinity(), 0, 10 },
        };
        TestGraph g;
        for (const auto& c : cases) {
            KivAxisInfo axis;
            axis.limitMin = c.limitMin;
            axis.limitMax = c.limitMax;
            axis.minScale = c.minScale;
            axis.style = c.locked ? KivAxisStyleLocked : KivAxisStyleZeroLine;
            axis.scaleMin = c.scaleMin;
            axis.scaleMax = c.scaleMax;
            g.applyScaleBounds(axis);
            QVERIFY2(closeTo(axis.scaleMin, c.expectedMin) && closeTo(axis.scaleMax, c.expectedMax),
                     qPrintable(QStringLiteral("%1: %2 .. %3").arg(c.name).arg(axis.scaleMin).arg(axis.scaleMax)));
        }
    }

    // Ranges are x min, x max, y min, y max. A full fit also holds a hidden series at (50, 50)
    // and an empty one, which it leaves out.
    void autoScale()
    {
        kivtest::GLContextScope gl;
        QVERIFY(gl.isValid());
        const struct { const char* name; KivAutoScaleMethod method; QList<double> start; QList<QPointF> first, second;
                       QList<double> expected; } cases[] = {
            { "none", KivNoAutoScale, { 0, 10, -1, 1 }, { { 0, 0 }, { 20, 20 } }, {}, { 0, 10, -1, 1 } },
            { "expand grows by 3 %", KivExpandToFit, { 0, 10, -1, 1 }, { { 0, 0 }, { 20, 20 } }, {},
              { 0, 20.6, -1, 20 + 0.03 * 21 } },
            { "expand never shrinks", KivExpandToFit, { 0, 20.6, -1, 20.63 }, { { 0, 0 }, { 5, 5 } }, {},
              { 0, 20.6, -1, 20.63 } },
            { "expand below", KivExpandToFit, { 0, 20.6, -1, 20.63 }, { { 0, 0 } }, { { -10, 0 } },
              { -10 - 0.03 * 30.6, 20.6, -1, 20.63 } },
            { "full fit shrinks", KivFullFit, { -30, 30, 5, 6 }, { { -1, -1 }, { 1, 1 } }, {},
              { -1.06, 1.06, -1.06, 1.06 } },
            { "full fit of the union", KivFullFit, { -30, 30, 5, 6 }, { { -1, -1 }, { 1, 1 } }, { { 3, 0 } },
              { -1.12, 3.12, -1.06, 1.06 } },
            { "full fit of nothing keeps the minimum span", KivFullFit, { 3, 4, 3, 4 }, {}, {},
              { -0.05, 0.05, -0.05, 0.05 } },
        };
        for (const auto& c : cases) {
            TestGraph g;
            g.setAutoScaleMethod(c.method);
            if (c.method == KivFullFit) {
                KivDataSet* hidden = g.addDataSet(KivDataStyle2D, Qt::blue, 0);
                hidden->addData(50.0, 50.0);
                drawOnce(hidden);
                hidden->setVisible(false);
                g.addDataSet(KivDataStyle2D, Qt::green, 0);
            }
            for (const QList<QPointF>& points : { c.first, c.second }) {
                KivDataSet* ds = g.addDataSet(KivDataStyle2D, Qt::red, 0);
                for (const QPointF& p : points)
                    ds->addData(p.x(), p.y());
                drawOnce(ds);
            }
            QList<KivAxisInfo> axes = axesWith(c.start);
            g.recalculateScales(axes);
            QCOMPARE(spans(c.name, axes), spans(c.name, axesWith(c.expected)));
            QCOMPARE(axes[0].displayMax, axes[0].scaleMax);
        }
    }

    void timeSeriesWindowClipsX()
    {
        kivtest::GLContextScope gl;
        TestGraph g;
        g.resize(400, 200);
        g.setEqualAxes(true);
        g.setAutoScaleMethod(KivFullFit);
        KivDataSet* ds = g.addDataSet(KivDataStyle1D, Qt::red, 100);
        for (int i = 0; i < 50; ++i)
            ds->addData(i * 0.5);
        drawOnce(ds);

        // Limiting clips x to the sample window -1 .. 1; equal axes leave a time series alone.
        QList<KivAxisInfo> axes = axesWith({ -3, 5, 0, 1 });
        g.applyScaleLimits(axes);
        QCOMPARE(spans("limits", axes), spans("limits", axesWith({ -1, 1, 0, 1 })));
        QCOMPARE(g.lastAxisSet(), 'x');
        // Scaling leaves the window alone and fits y only.
        axes = axesWith({ -0.5, 0.5, 0, 1 });
        g.recalculateScales(axes);
        const double margin = 0.03 * 24.5;
        QCOMPARE(spans("scaling", axes), spans("scaling", axesWith({ -0.5, 0.5, -margin, 24.5 + margin })));
    }

    // Widget 400 x 200: one unit of x is as long as one of y when y spans half of x. The axis
    // that gives way is the one not set last, or with auto scaling the one that is too small.
    void equalAxes()
    {
        const struct { const char* name; KivAutoScaleMethod method; char lastSet;
                       QList<double> start, expected; } cases[] = {
            { "manual, x set last", KivNoAutoScale, 'x', { 0, 10, 0, 1 }, { 0, 10, -2, 3 } },
            { "manual, y set last", KivNoAutoScale, 'y', { 0, 10, 0, 1 }, { 4, 6, 0, 1 } },
            { "auto, y too small", KivExpandToFit, 'x', { 0, 10, 0, 1 }, { 0, 10, -2, 3 } },
            { "auto, x too small", KivFullFit, 'x', { 0, 1, 0, 10 }, { -9.5, 10.5, 0, 10 } },
        };
        for (const auto& c : cases) {
            TestGraph g;
            g.resize(400, 200);
            g.addDataSet(KivDataStyle2D, Qt::red, 0);
            g.setAxisScale(c.lastSet, 0.0, 1.0);
            g.setAutoScaleMethod(c.method);
            g.setEqualAxes(true);
            QList<KivAxisInfo> axes = axesWith(c.start);
            g.applyScaleLimits(axes);
            QCOMPARE(spans(c.name, axes), spans(c.name, axesWith(c.expected)));
            g.setEqualAxes(false); // off: no coupling
            axes = axesWith(c.start);
            g.applyScaleLimits(axes);
            QCOMPARE(spans(c.name, axes), spans(c.name, axesWith(c.start)));
        }
    }
};

QTEST_MAIN(TestGraphAxes)
#include "tst_graphaxes.moc"
