// Axis scaling: grid steps, label formats, unit conversion, limits, the auto-scale methods
// and equal axes, as a host sees them through the graph's axis interface.

#include "glfeedback.h"
#include "graphtesthelpers.h"

#include <QtTest>

#include <cmath>
#include <limits>

using graphtest::TestGraph;

class TestGraphAxes : public QObject
{
    Q_OBJECT

private:
    // Gives a series exactly the extents of the samples by drawing it once.
    static void drawOnce(KivDataSet* ds)
    {
        ds->display(graphtest::boxOf(-100.0, 100.0, -100.0, 100.0));
    }

private slots:
    void getScale_data();
    void getScale();
    void decimalsToFmt_data();
    void decimalsToFmt();
    void unitConversion_data();
    void unitConversion();
    void axisIdentifiers();
    void axisSetters();
    void axisLabel();
    void applyScaleBounds_data();
    void applyScaleBounds();
    void expandToFitOnlyGrows();
    void fullFitFollowsVisibleData();
    void fullFitWithNothingVisibleKeepsMinimumSpan();
    void timeSeriesWindowClipsX();
    void equalAxes_data();
    void equalAxes();
    void linkedAxisScale();
    void displayUnitsReachDisplayRange();
};

void TestGraphAxes::getScale_data()
{
    QTest::addColumn<double>("range");
    QTest::addColumn<double>("step");
    QTest::addColumn<int>("decimals");
    QTest::newRow("7") << 7.0 << 5.0 << 0;
    QTest::newRow("3") << 3.0 << 2.0 << 0;
    QTest::newRow("4.5") << 4.5 << 4.0 << 0;
    QTest::newRow("1.5") << 1.5 << 1.0 << 0;
    QTest::newRow("1") << 1.0 << 0.5 << 1;
    QTest::newRow("0.3") << 0.3 << 0.2 << 1;
    QTest::newRow("0.05") << 0.05 << 0.4 * 0.1 << 2;
    QTest::newRow("0.01") << 0.01 << 0.5 * (0.1 * 0.1) << 3;
    QTest::newRow("12") << 12.0 << 10.0 << -1;
    QTest::newRow("450") << 450.0 << 400.0 << -2;
    QTest::newRow("zero") << 0.0 << 0.5 << 1;
    QTest::newRow("negative") << -3.0 << 0.5 << 1;
    QTest::newRow("nan") << std::nan("") << 0.5 << 1;
}

void TestGraphAxes::getScale()
{
    QFETCH(double, range);
    QFETCH(double, step);
    QFETCH(int, decimals);
    int d = 99;
    const double s = ::getScale(range, d);
    // The exact double matters: labels and grid positions are multiples of it.
    QVERIFY2(s == step, qPrintable(QString::number(s, 'g', 17)));
    QCOMPARE(d, decimals);
}

void TestGraphAxes::decimalsToFmt_data()
{
    QTest::addColumn<double>("min");
    QTest::addColumn<double>("max");
    QTest::addColumn<int>("decimals");
    QTest::addColumn<QString>("format");
    QTest::newRow("integers") << -5.0 << 20.0 << 0 << "%.0f";
    QTest::newRow("two places") << 0.0 << 0.5 << 2 << "%.2f";
    QTest::newRow("large") << 0.0 << 50000.0 << 0 << "%.4e";
    QTest::newRow("large negative") << -20000.0 << 5.0 << -2 << "%.2e";
    QTest::newRow("small") << 0.0 << 0.0005 << 5 << "%.1e";
    QTest::newRow("lower fixed bound") << 0.0 << 0.001 << 3 << "%.3f";
    QTest::newRow("just below 10000") << 0.0 << 9999.0 << -2 << "%.0f";
    // Fewer decimals than orders must not wrap into an absurd precision.
    QTest::newRow("zero span") << 0.0 << 0.0 << 1 << "%.0e";
}

void TestGraphAxes::decimalsToFmt()
{
    QFETCH(double, min);
    QFETCH(double, max);
    QFETCH(int, decimals);
    QFETCH(QString, format);
    char fmt[16];
    ::decimalsToFmt(min, max, decimals, fmt);
    QCOMPARE(QString::fromLatin1(fmt), format);
}

void TestGraphAxes::unitConversion_data()
{
    QTest::addColumn<int>("units");
    QTest::addColumn<bool>("imperial");
    QTest::addColumn<double>("factor");
    QTest::addColumn<bool>("imperialDisplay");
    const double ft = 3.2808399;
    QTest::newRow("none, imperial") << 0 << true << 1.0 << false;
    QTest::newRow("unknown code") << 9 << true << 1.0 << false;
    QTest::newRow("metre, imperial") << 1 << true << ft << true;
    QTest::newRow("metre, metric") << 1 << false << 1.0 << false;
    QTest::newRow("m/s, imperial") << 5 << true << ft << true;
    QTest::newRow("m/s2, imperial") << 7 << true << ft << true;
    QTest::newRow("foot, metric") << 4 << false << 1.0 / ft << false;
    QTest::newRow("foot, imperial") << 4 << true << 1.0 << true;
    QTest::newRow("ft/s, metric") << 6 << false << 1.0 / ft << false;
    QTest::newRow("ft/s2, metric") << 8 << false << 1.0 / ft << false;
    QTest::newRow("cm, imperial") << 2 << true << 1.0 / 2.54 << false;
    QTest::newRow("cm, metric") << 2 << false << 1.0 << false;
    QTest::newRow("inch, metric") << 3 << false << 2.54 << false;
    QTest::newRow("inch, imperial") << 3 << true << 1.0 << false;
}

void TestGraphAxes::unitConversion()
{
    QFETCH(int, units);
    QFETCH(bool, imperial);
    QFETCH(double, factor);
    QFETCH(bool, imperialDisplay);
    KivAxisInfo axis;
    axis.units = units;
    axis.scaleMin = -10.0;
    axis.scaleMax = 20.0;
    axis.updateDisplayRange(imperial);
    QVERIFY(qAbs(axis.displayMin - (-10.0 * factor)) < 1e-12);
    QVERIFY(qAbs(axis.displayMax - 20.0 * factor) < 1e-12);
    QCOMPARE(axis.imperialDisplay, imperialDisplay);
    // The scale itself stays in data units.
    QCOMPARE(axis.scaleMin, -10.0);
}

void TestGraphAxes::axisIdentifiers()
{
    QCOMPARE(getAxisIdentifier(0), 'x');
    QCOMPARE(getAxisIdentifier(1), 'y');
    QCOMPARE(getAxisIdentifier(2), 'z');
    QCOMPARE(getAxisIdentifier(3), 'a');
    QCOMPARE(axisIndex('Y'), 1);
    QCOMPARE(axisIndex('q'), -1);

    KivAxisInfo a;
    KivAxisInfo b;
    b.limitMax = 5.0;
    QVERIFY(a == b); // only the visible range counts
    b.scaleMax = std::nan("");
    QVERIFY(a != b);
}

void TestGraphAxes::axisSetters()
{
    TestGraph g;
    QCOMPARE(g.lastAxisSet(), char(0));

    g.setAxisScale('y', 5.0, 2.0);
    double min = 0.0;
    double max = 0.0;
    g.getAxisScale('Y', min, max);
    QCOMPARE(min, 2.0);
    QCOMPARE(max, 5.0);
    QCOMPARE(g.lastAxisSet(), 'y');

    // Unknown identifiers address all axes, z first, so x is the last one set.
    g.setAxisScale('q', 0.0, 1.0);
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(g.axisInfo(i).scaleMin, 0.0);
        QCOMPARE(g.axisInfo(i).scaleMax, 1.0);
    }
    QCOMPARE(g.lastAxisSet(), 'x');

    g.setAxisMinScale('z', 0.5);
    QCOMPARE(g.axisInfo(2).minScale, 0.5);
    QCOMPARE(g.lastAxisSet(), 'z');

    g.setAxisLimits('X', 7.0, -3.0);
    QCOMPARE(g.axisInfo(0).limitMin, -3.0);
    QCOMPARE(g.axisInfo(0).limitMax, 7.0);
    QCOMPARE(g.axisInfo(1).limitMin, -100000.0);
    // Limits wait for the next limiting pass.
    QCOMPARE(g.axisInfo(0).scaleMin, 0.0);

    g.setAxisStyle('*', KivAxisStyleNoLabels | KivAxisStyleZeroLine);
    g.setAxisUnits('z', KivUnitInch);
    for (int i = 0; i < 3; ++i)
        QCOMPARE(g.axisInfo(i).style, 0x41ul);
    QCOMPARE(g.axisInfo(2).units, 3ul);
    QCOMPARE(g.axisInfo(1).units, 0ul);

    // Anything but 'y'/'z' reads x.
    g.setAxisScale('x', 10.0, 20.0);
    g.getAxisScale('?', min, max);
    QCOMPARE(min, 10.0);
}

void TestGraphAxes::axisLabel()
{
    TestGraph g;
    g.setAxisLabel('x', "time [s]");
    QCOMPARE(QString::fromLatin1(g.axisInfo(0).label), QStringLiteral("time [s]"));
    // A text that does not fit leaves the label as it was.
    g.setAxisLabel('x', QByteArray(64, 'a').constData());
    QCOMPARE(QString::fromLatin1(g.axisInfo(0).label), QStringLiteral("time [s]"));
    g.setAxisLabel('x', QByteArray(63, 'b').constData());
    QCOMPARE(qstrlen(g.axisInfo(0).label), 63u);
    g.setAxisLabel('x', nullptr);
    QCOMPARE(g.axisInfo(0).label[0], '\0');
    // An unknown axis sets no label at all.
    g.setAxisLabel('w', "all");
    for (int i = 0; i < 3; ++i)
        QVERIFY(QString::fromLatin1(g.axisInfo(i).label) != QStringLiteral("all"));
}

void TestGraphAxes::applyScaleBounds_data()
{
    QTest::addColumn<double>("limitMin");
    QTest::addColumn<double>("limitMax");
    QTest::addColumn<double>("minScale");
    QTest::addColumn<unsigned long>("style");
    QTest::addColumn<double>("scaleMin");
    QTest::addColumn<double>("scaleMax");
    QTest::addColumn<double>("expectedMin");
    QTest::addColumn<double>("expectedMax");
    QTest::newRow("inside") << 0.0 << 10.0 << 0.1 << 1ul << 2.0 << 8.0 << 2.0 << 8.0;
    QTest::newRow("below, shifted up") << 0.0 << 10.0 << 0.1 << 1ul << -20.0 << -15.0 << 0.0 << 5.0;
    QTest::newRow("above, shifted down") << 0.0 << 10.0 << 0.1 << 1ul << 12.0 << 20.0 << 2.0 << 10.0;
    QTest::newRow("lower end cut") << 0.0 << 10.0 << 0.1 << 1ul << -5.0 << 5.0 << 0.0 << 5.0;
    QTest::newRow("upper end cut") << 0.0 << 10.0 << 0.1 << 1ul << 5.0 << 15.0 << 5.0 << 10.0;
    QTest::newRow("wider than limits") << 0.0 << 10.0 << 0.1 << 1ul << -5.0 << 15.0 << 0.0 << 10.0;
    QTest::newRow("minimum span") << 0.0 << 10.0 << 0.1 << 1ul << 4.0 << 4.05 << 3.975 << 4.075;
    QTest::newRow("span wins over limits") << 0.0 << 10.0 << 4.0 << 1ul << 9.0 << 10.0 << 7.5 << 11.5;
    QTest::newRow("locked") << -2.0 << 3.0 << 0.1 << 0x20ul << 0.0 << 1.0 << -2.0 << 3.0;
    QTest::newRow("nan end") << 0.0 << 10.0 << 0.1 << 1ul << std::nan("") << 1.0 << 0.0 << 10.0;
    QTest::newRow("infinite end") << 0.0 << 10.0 << 0.1 << 1ul << 1.0
                                  << std::numeric_limits<double>::infinity() << 0.0 << 10.0;
}

void TestGraphAxes::applyScaleBounds()
{
    QFETCH(double, limitMin);
    QFETCH(double, limitMax);
    QFETCH(double, minScale);
    QFETCH(unsigned long, style);
    QFETCH(double, scaleMin);
    QFETCH(double, scaleMax);
    QFETCH(double, expectedMin);
    QFETCH(double, expectedMax);
    TestGraph g;
    KivAxisInfo axis;
    axis.limitMin = limitMin;
    axis.limitMax = limitMax;
    axis.minScale = minScale;
    axis.style = style;
    axis.scaleMin = scaleMin;
    axis.scaleMax = scaleMax;
    g.applyScaleBounds(axis);
    QVERIFY2(qAbs(axis.scaleMin - expectedMin) < 1e-12, qPrintable(QString::number(axis.scaleMin)));
    QVERIFY2(qAbs(axis.scaleMax - expectedMax) < 1e-12, qPrintable(QString::number(axis.scaleMax)));
}

void TestGraphAxes::expandToFitOnlyGrows()
{
    kivtest::GLContextScope gl;
    QVERIFY(gl.isValid());
    TestGraph g;
    g.setAutoScaleMethod(KivExpandToFit);
    KivDataSet* ds = g.addDataSet(KivDataStyle2D, Qt::red, 0);
    ds->addData(0.0, 0.0);
    ds->addData(20.0, 20.0);
    drawOnce(ds);

    QList<KivAxisInfo> axes = graphtest::axesWith(0.0, 10.0, -1.0, 1.0);
    g.recalculateScales(axes);
    QCOMPARE(axes[0].scaleMin, 0.0);
    QVERIFY(qAbs(axes[0].scaleMax - 20.6) < 1e-12);
    // y grows from -1 .. 1; the margin is measured from the (unchanged) minimum.
    QVERIFY(qAbs(axes[1].scaleMax - (20.0 + 0.03 * 21.0)) < 1e-12);
    QCOMPARE(axes[0].displayMax, axes[0].scaleMax);

    ds->clear(true);
    ds->addData(0.0, 0.0);
    ds->addData(5.0, 5.0);
    drawOnce(ds);
    g.recalculateScales(axes);
    QVERIFY(qAbs(axes[0].scaleMax - 20.6) < 1e-12);

    // Below the scale the minimum moves by 3 % of the new span.
    ds->addData(-10.0, 0.0);
    drawOnce(ds);
    g.recalculateScales(axes);
    QVERIFY(qAbs(axes[0].scaleMin - (-10.0 - 0.03 * 30.6)) < 1e-12);
}

void TestGraphAxes::fullFitFollowsVisibleData()
{
    kivtest::GLContextScope gl;
    TestGraph g;
    g.setAutoScaleMethod(KivFullFit);
    KivDataSet* a = g.addDataSet(KivDataStyle2D, Qt::red, 0);
    a->addData(-1.0, -1.0);
    a->addData(1.0, 1.0);
    drawOnce(a);
    KivDataSet* hidden = g.addDataSet(KivDataStyle2D, Qt::blue, 0);
    hidden->addData(50.0, 50.0);
    drawOnce(hidden);
    hidden->setVisible(false);
    g.addDataSet(KivDataStyle2D, Qt::green, 0); // empty

    QList<KivAxisInfo> axes = graphtest::axesWith(-30.0, 30.0, 5.0, 6.0);
    g.recalculateScales(axes);
    for (int i = 0; i < 2; ++i) {
        QVERIFY(qAbs(axes[i].scaleMin + 1.06) < 1e-12);
        QVERIFY(qAbs(axes[i].scaleMax - 1.06) < 1e-12);
    }

    // Full fit shrinks as well as grows, and the union counts.
    KivDataSet* b = g.addDataSet(KivDataStyle2D, Qt::black, 0);
    b->addData(3.0, 0.0);
    drawOnce(b);
    g.recalculateScales(axes);
    QVERIFY(qAbs(axes[0].scaleMin - (-1.0 - 0.12)) < 1e-12);
    QVERIFY(qAbs(axes[0].scaleMax - (3.0 + 0.12)) < 1e-12);
}

void TestGraphAxes::fullFitWithNothingVisibleKeepsMinimumSpan()
{
    TestGraph g;
    g.setAutoScaleMethod(KivFullFit);
    g.addDataSet(KivDataStyle2D, Qt::red, 0);
    QList<KivAxisInfo> axes = graphtest::axesWith(3.0, 4.0, 3.0, 4.0);
    g.recalculateScales(axes);
    // A zero box collapses the scale to 0 .. 0, which the minimum span widens again.
    QVERIFY(qAbs(axes[0].scaleMin + 0.05) < 1e-12);
    QVERIFY(qAbs(axes[0].scaleMax - 0.05) < 1e-12);
}

void TestGraphAxes::timeSeriesWindowClipsX()
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

    QList<KivAxisInfo> axes = graphtest::axesWith(-3.0, 5.0, 0.0, 1.0);
    g.applyScaleLimits(axes);
    QCOMPARE(axes[0].scaleMin, -1.0);
    QCOMPARE(axes[0].scaleMax, 1.0);
    QCOMPARE(g.lastAxisSet(), 'x');
    // Equal axes does not touch a time series.
    QCOMPARE(axes[1].scaleMax, 1.0);

    // The scaling pass leaves the sample window alone and fits y only.
    axes = graphtest::axesWith(-0.5, 0.5, 0.0, 1.0);
    g.recalculateScales(axes);
    QCOMPARE(axes[0].scaleMin, -0.5);
    QCOMPARE(axes[0].scaleMax, 0.5);
    QVERIFY(qAbs(axes[1].scaleMax - (24.5 + 0.03 * 24.5)) < 1e-12);
}

void TestGraphAxes::equalAxes_data()
{
    QTest::addColumn<int>("method");
    QTest::addColumn<char>("lastSet");
    QTest::addColumn<double>("xMin");
    QTest::addColumn<double>("xMax");
    QTest::addColumn<double>("yMin");
    QTest::addColumn<double>("yMax");
    QTest::addColumn<double>("expXMin");
    QTest::addColumn<double>("expXMax");
    QTest::addColumn<double>("expYMin");
    QTest::addColumn<double>("expYMax");
    // Widget 400 x 200: one unit of x is as long as one of y when y spans half of x.
    QTest::newRow("manual, x set last") << 0 << 'x' << 0.0 << 10.0 << 0.0 << 1.0 << 0.0 << 10.0 << -2.0 << 3.0;
    QTest::newRow("manual, y set last") << 0 << 'y' << 0.0 << 10.0 << 0.0 << 1.0 << 4.0 << 6.0 << 0.0 << 1.0;
    QTest::newRow("auto, y too small") << 1 << 'x' << 0.0 << 10.0 << 0.0 << 1.0 << 0.0 << 10.0 << -2.0 << 3.0;
    QTest::newRow("auto, x too small") << 2 << 'x' << 0.0 << 1.0 << 0.0 << 10.0 << -9.5 << 10.5 << 0.0 << 10.0;
}

void TestGraphAxes::equalAxes()
{
    QFETCH(int, method);
    QFETCH(char, lastSet);
    QFETCH(double, xMin);
    QFETCH(double, xMax);
    QFETCH(double, yMin);
    QFETCH(double, yMax);
    QFETCH(double, expXMin);
    QFETCH(double, expXMax);
    QFETCH(double, expYMin);
    QFETCH(double, expYMax);
    TestGraph g;
    g.resize(400, 200);
    g.addDataSet(KivDataStyle2D, Qt::red, 0);
    g.setAxisScale(lastSet, 0.0, 1.0);
    g.setAutoScaleMethod(KivAutoScaleMethod(method));
    g.setEqualAxes(true);
    QList<KivAxisInfo> axes = graphtest::axesWith(xMin, xMax, yMin, yMax);
    g.applyScaleLimits(axes);
    QVERIFY(qAbs(axes[0].scaleMin - expXMin) < 1e-12);
    QVERIFY(qAbs(axes[0].scaleMax - expXMax) < 1e-12);
    QVERIFY(qAbs(axes[1].scaleMin - expYMin) < 1e-12);
    QVERIFY(qAbs(axes[1].scaleMax - expYMax) < 1e-12);

    // Turning equal axes off stops the coupling.
    g.setEqualAxes(false);
    axes = graphtest::axesWith(xMin, xMax, yMin, yMax);
    g.applyScaleLimits(axes);
    QCOMPARE(axes[1].scaleMax, yMax);
}

void TestGraphAxes::linkedAxisScale()
{
    TestGraph g;
    double min = 0.0;
    double max = 0.0;
    g.setLinkedAxisScale('x', 2.0, 3.0);
    g.getAxisScale('x', min, max);
    QCOMPARE(max, 1.0); // link bit clear

    g.setAxisLink(3);
    QCOMPARE(g.axisLink(), 1);
    g.setLinkedAxisScale('X', 2.0, 3.0);
    g.getAxisScale('x', min, max);
    QCOMPARE(max, 1.0); // only lower-case x
    g.setLinkedAxisScale('y', 2.0, 3.0);
    g.getAxisScale('y', min, max);
    QCOMPARE(max, 1.0);

    g.setLinkedAxisScale('x', 3.0, 2.0);
    g.getAxisScale('x', min, max);
    QCOMPARE(min, 2.0);
    QCOMPARE(max, 3.0);
}

void TestGraphAxes::displayUnitsReachDisplayRange()
{
    TestGraph g;
    g.setAxisUnits('y', KivUnitMetre);
    g.setDisplayUnits(true);
    QList<KivAxisInfo> axes = graphtest::axesWith(0.0, 1.0, 0.0, 10.0);
    axes[1].units = KivUnitMetre;
    g.recalculateScales(axes);
    QVERIFY(qAbs(axes[1].displayMax - 32.808399) < 1e-9);
    QVERIFY(axes[1].imperialDisplay);
    QCOMPARE(axes[0].displayMax, 1.0);
}

QTEST_MAIN(TestGraphAxes)
#include "tst_graphaxes.moc"
