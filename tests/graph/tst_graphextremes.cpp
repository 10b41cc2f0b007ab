// Extreme, non-finite and inverted scales, limits and item counts, run through a frame, the
// pointer gestures and the read-outs. The sanitizer build (make asan, with UBSan halting on
// the first report) is where this test earns its keep: every integer derived from such a
// double must stay in range.

#include "graphtesthelpers.h"

#include <QtTest>

#include <cfloat>
#include <algorithm>
#include <cmath>
#include <limits>

using graphtest::TestGraph;

namespace {

const double NaN = std::numeric_limits<double>::quiet_NaN();
const double Inf = std::numeric_limits<double>::infinity();
const double Denormal = std::numeric_limits<double>::denorm_min();

struct Extreme {
    unsigned long style;
    unsigned long maxItems;
    KivAutoScaleMethod method;
    double xMin, xMax, yMin, yMax;   // axis scales
    double limitMin, limitMax;       // limits of both axes
    double sample;
};

} // namespace

Q_DECLARE_METATYPE(Extreme)

class TestGraphExtremes : public QObject
{
    Q_OBJECT

private slots:
    void extremes_data()
    {
        const unsigned long Bar1D = KivDataStyle1D | KivDataStyleBar;
        const unsigned long Scope = KivDataStyle1D | KivDataStyleScope;
        QTest::addColumn<Extreme>("c");
        const struct { const char* name; double lo, hi; } scales[] = {
            { "full double range", -DBL_MAX, DBL_MAX }, { "+-1e308", -1e308, 1e308 },
            { "nan", NaN, NaN }, { "inf", -Inf, Inf }, { "denormal span", 0.0, Denormal },
            { "inverted", 5.0, -5.0 }, { "zero span", 3.0, 3.0 }, { "far away", 1e300, 1e300 * 1.0000001 },
        };
        const KivAutoScaleMethod methods[] = { KivNoAutoScale, KivExpandToFit, KivFullFit };
        // Each scale under each method on an x/y series; as limits that full fit runs into;
        // on a time series, whose labels are sample numbers.
        for (const auto& s : scales) {
            const QByteArray name(s.name);
            for (KivAutoScaleMethod m : methods)
                QTest::newRow(name + " xy method " + QByteArray::number(int(m)))
                    << Extreme{ KivDataStyle2D, 0, m, s.lo, s.hi, s.lo, s.hi, -1e5, 1e5, 1e307 };
            QTest::newRow(name + " as limits") << Extreme{ KivDataStyle2D, 0, KivFullFit, -1, 1, -1, 1, s.lo, s.hi, 0.5 };
            QTest::newRow(name + " time series") << Extreme{ KivDataStyle1D, 100, KivNoAutoScale, -1, 1, s.lo, s.hi, -DBL_MAX / 2, DBL_MAX, -1e308 };
        }
        QTest::newRow("bars of 2^31 slots") << Extreme{ Bar1D, 1ul << 31, KivNoAutoScale, -1, 1, -1, 1, -1e5, 1e5, 1.0 };
        QTest::newRow("scope of 2^40 slots") << Extreme{ Scope, 1ul << 40, KivFullFit, -1, 1, -1, 1, -1e5, 1e5, 1.0 };
        QTest::newRow("time series of 2^63 items") << Extreme{ KivDataStyle1D, 1ul << 63, KivFullFit, -1, 1, -1, 1, -1e5, 1e5, 1.0 };
    }

    // A frame, a measure read-out, a rubber band and a wheel step: afterwards the scales are
    // finite and ordered (the limits hold them) and the frame is still drawn.
    void extremes()
    {
        QFETCH(Extreme, c);
        TestGraph g;
        KivDataSet* ds = g.addDataSet(c.style, Qt::red, c.maxItems);
        const bool bars = (c.style & KivDataStyleShapeMask) == KivDataStyleBar;
        QCOMPARE(ds->getMaxItemCount(), bars ? std::min(c.maxItems, KivDataSet::MaxBarSlots) : c.maxItems);
        ds->setTime(1e300, DBL_MAX);
        for (int i = 0; i < 3; ++i) {
            if (ds->dimensions() == 1)
                ds->addData(c.sample * (i - 1));
            else
                ds->addData(c.sample * (i - 1), -c.sample);
        }
        g.setAxisStyle('x', KivAxisStyleZeroLine | KivAxisStyleTimeLabels);
        g.setAxisLimits('q', c.limitMin, c.limitMax);
        g.setAxisScale('x', c.xMin, c.xMax);
        g.setAxisScale('y', c.yMin, c.yMax);
        g.setAutoScaleMethod(c.method);
        QVERIFY(graphtest::showAt(g, 320, 240));
        g.grabFramebuffer();

        g.showMeasure(true);
        QTest::mouseMove(&g, QPoint(200, 100));
        g.setControlState(KivGraph::ControlZoom);
        QTest::mousePress(&g, Qt::LeftButton, {}, QPoint(40, 40));
        QTest::mouseMove(&g, QPoint(250, 200));
        g.grabFramebuffer();
        QTest::mouseRelease(&g, Qt::LeftButton, {}, QPoint(250, 200));
        kivtest::wheel(&g, QPoint(160, 120), 120);
        g.setControlState(KivGraph::ControlPan);
        QTest::mousePress(&g, Qt::LeftButton, {}, QPoint(100, 100));
        QTest::mouseMove(&g, QPoint(300, 30));
        QTest::mouseRelease(&g, Qt::LeftButton, {}, QPoint(300, 30));
        const QImage image = g.grabFramebuffer();

        QPointF pos;
        g.pointToGraphPos(QPoint(319, 0), pos, false);
        QVERIFY(std::isfinite(pos.x()) && std::isfinite(pos.y()));
        for (double x : { -1e300, -1.0, 0.0, 1e300, NaN })
            g.generateTimeString(*ds, x);
        for (int a = 0; a < 2; ++a) {
            const KivAxisInfo& axis = g.axisInfo(a);
            QVERIFY(std::isfinite(axis.scaleMin) && std::isfinite(axis.scaleMax));
            QVERIFY(axis.scaleMax >= axis.scaleMin);
        }
        QCOMPARE(image.size(), g.size() * g.devicePixelRatio());
    }
};

QTEST_MAIN(TestGraphExtremes)
#include "tst_graphextremes.moc"
