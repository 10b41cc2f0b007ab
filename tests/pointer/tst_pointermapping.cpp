// Coordinate conversions, zoom-rectangle arithmetic, pan limits and scroll-bar hit tests of
// the graph, checked on a sized (not shown) graph.

#include "pointertest.h"

#include <QColor>

using pointertest::near;
using pointertest::scale;

namespace {

velo::MatrixF<3, 2> makeBox(double x0, double x1, double y0, double y1, double z0 = -1.0, double z1 = 1.0)
{
    velo::MatrixF<3, 2> box;
    box(0, 0) = x0;
    box(0, 1) = x1;
    box(1, 0) = y0;
    box(1, 1) = y1;
    box(2, 0) = z0;
    box(2, 1) = z1;
    return box;
}

} // namespace

class TestPointerMapping : public QObject
{
    Q_OBJECT

private slots:
    void pointToGraphPos_data();
    void pointToGraphPos();
    void graphPosToPoint_data();
    void graphPosToPoint();
    void roundTripLosesAtMostOnePixel();
    void scalePoints_data();
    void scalePoints();
    void autoZoomRect_data();
    void autoZoomRect();
    void zoomRectangle_data();
    void zoomRectangle();
    void panLimits_data();
    void panLimits();
    void panLimitsShowAllSamples();
    void sliderHitTests_data();
    void sliderHitTests();
};

void TestPointerMapping::pointToGraphPos_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QPoint>("point");
    QTest::addColumn<bool>("clamp");
    QTest::addColumn<QPointF>("expected");

    QTest::newRow("top-left") << QSize(300, 200) << QPoint(0, 0) << true << QPointF(-1.0, 1.0);
    QTest::newRow("bottom-right") << QSize(300, 200) << QPoint(300, 200) << true << QPointF(1.0, -1.0);
    QTest::newRow("centre") << QSize(300, 200) << QPoint(150, 100) << true << QPointF(0.0, 0.0);
    QTest::newRow("quarter") << QSize(400, 100) << QPoint(100, 75) << false << QPointF(-0.5, -0.5);
    QTest::newRow("outside, free") << QSize(300, 200) << QPoint(450, -100) << false << QPointF(2.0, 2.0);
    QTest::newRow("outside, clamped") << QSize(300, 200) << QPoint(450, -100) << true << QPointF(1.0, 1.0);
    QTest::newRow("left of, clamped") << QSize(300, 200) << QPoint(-30, 300) << true << QPointF(-1.0, -1.0);
}

void TestPointerMapping::pointToGraphPos()
{
    QFETCH(QSize, size);
    QFETCH(QPoint, point);
    QFETCH(bool, clamp);
    QFETCH(QPointF, expected);

    KivGraph g;
    g.resize(size);
    QPointF pos;
    g.pointToGraphPos(point, pos, clamp);
    QVERIFY2(near(pos.x(), expected.x()) && near(pos.y(), expected.y()),
             qPrintable(QString("got %1, %2").arg(pos.x()).arg(pos.y())));
}

void TestPointerMapping::graphPosToPoint_data()
{
    QTest::addColumn<QPointF>("pos");
    QTest::addColumn<QPoint>("expected");

    // 300 x 200 pixels throughout.
    QTest::newRow("top-left") << QPointF(-1.0, 1.0) << QPoint(0, 0);
    QTest::newRow("bottom-right") << QPointF(1.0, -1.0) << QPoint(300, 200);
    QTest::newRow("centre") << QPointF(0.0, 0.0) << QPoint(150, 100);
    // 298.5 and 0.5 pixels: truncated, not rounded.
    QTest::newRow("truncates") << QPointF(0.99, 0.995) << QPoint(298, 0);
    // -0.6 pixels truncates toward zero, to 0 and not to -1.
    QTest::newRow("toward zero") << QPointF(-1.004, -1.0) << QPoint(0, 200);
    QTest::newRow("outside") << QPointF(-2.0, 2.0) << QPoint(-150, -100);
}

void TestPointerMapping::graphPosToPoint()
{
    QFETCH(QPointF, pos);
    QFETCH(QPoint, expected);

    KivGraph g;
    g.resize(300, 200);
    QPoint p;
    g.graphPosToPoint(pos, p);
    QCOMPARE(p, expected);
}

void TestPointerMapping::roundTripLosesAtMostOnePixel()
{
    for (const QSize size : {QSize(300, 200), QSize(317, 213), QSize(7, 3)}) {
        KivGraph g;
        g.resize(size);
        for (int x = 0; x <= size.width(); ++x) {
            for (int y = 0; y <= size.height(); y += 3) {
                QPointF pos;
                g.pointToGraphPos(QPoint(x, y), pos, true);
                QPoint back;
                g.graphPosToPoint(pos, back);
                QVERIFY2(back.x() <= x && back.x() >= x - 1 && back.y() <= y && back.y() >= y - 1,
                         qPrintable(QString("%1,%2 -> %3,%4").arg(x).arg(y).arg(back.x()).arg(back.y())));
            }
        }
    }
}

void TestPointerMapping::scalePoints_data()
{
    QTest::addColumn<QPointF>("pos");
    QTest::addColumn<QPointF>("value");

    // Box x 10 .. 30, y -4 .. 0.
    QTest::newRow("lower corner") << QPointF(-1.0, -1.0) << QPointF(10.0, -4.0);
    QTest::newRow("upper corner") << QPointF(1.0, 1.0) << QPointF(30.0, 0.0);
    QTest::newRow("inside") << QPointF(0.5, -0.25) << QPointF(25.0, -2.5);
    QTest::newRow("outside") << QPointF(3.0, -2.0) << QPointF(50.0, -6.0);
}

void TestPointerMapping::scalePoints()
{
    QFETCH(QPointF, pos);
    QFETCH(QPointF, value);

    KivGraph g;
    const velo::MatrixF<3, 2> box = makeBox(10.0, 30.0, -4.0, 0.0);
    QPointF s;
    g.graphPosToScalePoint(pos, box, s);
    QVERIFY2(near(s.x(), value.x()) && near(s.y(), value.y()), qPrintable(QString("%1, %2").arg(s.x()).arg(s.y())));
    QPointF back;
    g.scalePointToGraphPos(value, box, back);
    QVERIFY(near(back.x(), pos.x()) && near(back.y(), pos.y()));
}

void TestPointerMapping::autoZoomRect_data()
{
    QTest::addColumn<QPointF>("centre");
    QTest::addColumn<double>("zoomX");
    QTest::addColumn<double>("zoomY");
    QTest::addColumn<QPointF>("topLeft");
    QTest::addColumn<QPointF>("bottomRight");

    QTest::newRow("centred") << QPointF(0, 0) << 2.0 << 2.0 << QPointF(-0.5, 0.5) << QPointF(0.5, -0.5);
    QTest::newRow("off centre") << QPointF(0.2, -0.1) << 4.0 << 2.0 << QPointF(-0.05, 0.4) << QPointF(0.45, -0.6);
    QTest::newRow("at left edge") << QPointF(-0.9, 0) << 2.0 << 2.0 << QPointF(-1.0, 0.5) << QPointF(0.0, -0.5);
    QTest::newRow("at right edge") << QPointF(0.95, 0) << 2.0 << 2.0 << QPointF(0.0, 0.5) << QPointF(1.0, -0.5);
    QTest::newRow("at top edge") << QPointF(0, 0.8) << 2.0 << 2.0 << QPointF(-0.5, 1.0) << QPointF(0.5, 0.0);
    QTest::newRow("at bottom edge") << QPointF(0, -1.0) << 2.0 << 2.0 << QPointF(-0.5, 0.0) << QPointF(0.5, -1.0);
    QTest::newRow("corner") << QPointF(1.0, 1.0) << 4.0 << 4.0 << QPointF(0.5, 1.0) << QPointF(1.0, 0.5);
    QTest::newRow("factor one") << QPointF(0.3, 0.3) << 1.0 << 1.0 << QPointF(-1.0, 1.0) << QPointF(1.0, -1.0);
    // Wider than the plot: the right and bottom edges are applied last and win.
    QTest::newRow("too wide") << QPointF(0, 0) << 0.5 << 0.5 << QPointF(-3.0, 3.0) << QPointF(1.0, -1.0);
}

void TestPointerMapping::autoZoomRect()
{
    QFETCH(QPointF, centre);
    QFETCH(double, zoomX);
    QFETCH(double, zoomY);
    QFETCH(QPointF, topLeft);
    QFETCH(QPointF, bottomRight);

    KivGraph g;
    g.resize(300, 200);
    QPointF tl;
    QPointF br;
    g.calculateAutoZoomRect(centre, tl, br, zoomX, zoomY);
    QVERIFY2(near(tl.x(), topLeft.x()) && near(tl.y(), topLeft.y()) && near(br.x(), bottomRight.x())
                 && near(br.y(), bottomRight.y()),
             qPrintable(QString("(%1, %2) (%3, %4)").arg(tl.x()).arg(tl.y()).arg(br.x()).arg(br.y())));

    // The record takes the rectangle together with its widget points.
    KivGraph::PanZoomInfo r;
    g.updateZoomRectangle(centre, r, zoomX, zoomY);
    QCOMPARE(r.startPos, tl);
    QCOMPARE(r.endPos, br);
    QPoint p;
    g.graphPosToPoint(tl, p);
    QCOMPARE(r.startPoint, p);
    g.graphPosToPoint(br, p);
    QCOMPARE(r.endPoint, p);
    QVERIFY(!r.active);
}

void TestPointerMapping::zoomRectangle_data()
{
    QTest::addColumn<QPointF>("topLeft");
    QTest::addColumn<QPointF>("bottomRight");
    QTest::addColumn<int>("mode");
    QTest::addColumn<QRectF>("expected"); // x = xMin, y = yMin, width = x span, height = y span

    // View x 0 .. 100, y -10 .. 10.
    QTest::newRow("in, centre half") << QPointF(-0.5, 0.5) << QPointF(0.5, -0.5) << 0
                                     << QRectF(25.0, -5.0, 50.0, 10.0);
    QTest::newRow("out, centre half") << QPointF(-0.5, 0.5) << QPointF(0.5, -0.5) << 1
                                      << QRectF(-50.0, -20.0, 200.0, 40.0);
    QTest::newRow("in, corner") << QPointF(0.0, 1.0) << QPointF(1.0, 0.0) << 0 << QRectF(50.0, 0.0, 50.0, 10.0);
    // The view shrinks into the top-right quarter: its corner stays, the rest grows.
    QTest::newRow("out, corner") << QPointF(0.0, 1.0) << QPointF(1.0, 0.0) << 1
                                 << QRectF(-100.0, -30.0, 200.0, 40.0);
    QTest::newRow("in, whole") << QPointF(-1.0, 1.0) << QPointF(1.0, -1.0) << 0 << QRectF(0.0, -10.0, 100.0, 20.0);
    QTest::newRow("out, whole") << QPointF(-1.0, 1.0) << QPointF(1.0, -1.0) << 1
                                << QRectF(0.0, -10.0, 100.0, 20.0);
}

void TestPointerMapping::zoomRectangle()
{
    QFETCH(QPointF, topLeft);
    QFETCH(QPointF, bottomRight);
    QFETCH(int, mode);
    QFETCH(QRectF, expected);

    KivGraph g;
    g.resize(300, 200);
    g.setAxisScale('x', 0.0, 100.0);
    g.setAxisScale('y', -10.0, 10.0);
    KivGraph::ScaleInfo info;
    info.xMin = 1.0;
    info.xMax = 3.0;
    info.yMin = 2.0;
    info.yMax = 4.0;
    g.processZoomRectangle(topLeft, bottomRight, KivGraph::ZoomMode::Type(mode), info);
    QVERIFY2(near(info.xMin, expected.left()) && near(info.xMax, expected.right()) && near(info.yMin, expected.top())
                 && near(info.yMax, expected.bottom()),
             qPrintable(QString("x %1 .. %2, y %3 .. %4").arg(info.xMin).arg(info.xMax).arg(info.yMin).arg(info.yMax)));
    // Computing a rectangle does not move the view.
    QCOMPARE(scale(g, 'x'), std::make_pair(0.0, 100.0));
}

void TestPointerMapping::panLimits_data()
{
    QTest::addColumn<int>("style"); // -1: no data set
    QTest::addColumn<QVector<double>>("view");     // x min, x max, y min, y max
    QTest::addColumn<QVector<double>>("expected"); // the same after the snapping

    // Extent x 0 .. 100, y -50 .. 50: 3 % margins.
    const double m = 0.03 * 100.0;
    const double tiny = 1e-13;
    const QVector<double> margins{-m, 100.0 + m, -50.0 - m, 50.0 + m};
    QTest::newRow("on the margins") << 1 << QVector<double>{-m * (1 + tiny), 100.0 + m, -50.0 - m, (50.0 + m) * (1 - tiny)}
                                    << margins;
    const QVector<double> inside{10.0, 90.0, -20.0, 20.0};
    QTest::newRow("inside") << 1 << inside << inside;
    const QVector<double> beyond{-40.0, 60.0, -80.0, 90.0};
    QTest::newRow("beyond, not clamped") << 1 << beyond << beyond;
    const QVector<double> close{-m - 0.001, 100.0 + m + 0.001, -50.0 - m - 0.0001, 20.0};
    QTest::newRow("near but not equal") << 1 << close << close;
    QTest::newRow("no data set") << -1 << QVector<double>{-m * (1 + tiny), 100.0 + m, -50.0 - m, 50.0 + m} << margins;
    // On a time series the sample window has no margin: 0 and 100 are the snapping points.
    QTest::newRow("time series") << 0 << QVector<double>{-m, 100.0 * (1 - tiny), -50.0 - m, (50.0 + m) * (1 + tiny)}
                                 << QVector<double>{-m, 100.0, -50.0 - m, 50.0 + m};
}

void TestPointerMapping::panLimits()
{
    QFETCH(int, style);
    QFETCH(QVector<double>, view);
    QFETCH(QVector<double>, expected);

    KivGraph g;
    g.resize(300, 200);
    if (style >= 0)
        g.addDataSet(static_cast<unsigned long>(style), QColor(Qt::red), 100);
    QList<KivAxisInfo> axes;
    for (int i = 0; i < 3; ++i)
        axes << g.axisInfo(i);
    axes[0].scaleMin = view[0];
    axes[0].scaleMax = view[1];
    axes[1].scaleMin = view[2];
    axes[1].scaleMax = view[3];
    g.applyPanLimits(makeBox(0.0, 100.0, -50.0, 50.0), axes);
    const QVector<double> got{axes[0].scaleMin, axes[0].scaleMax, axes[1].scaleMin, axes[1].scaleMax};
    // Exact: a snapped end must land on the margin itself, not merely close to it.
    for (int i = 0; i < 4; ++i)
        QVERIFY2(got[i] == expected[i], qPrintable(QString("end %1: %2").arg(i).arg(got[i], 0, 'g', 17)));
}

void TestPointerMapping::panLimitsShowAllSamples()
{
    KivGraph g;
    g.resize(300, 200);
    g.addDataSet(0, QColor(Qt::blue), 100);
    g.showAllSamples(true);
    QVERIFY(g.isShowingAllSamples());
    QList<KivAxisInfo> axes;
    for (int i = 0; i < 3; ++i)
        axes << g.axisInfo(i);
    axes[0].scaleMin = -0.2;
    axes[0].scaleMax = 0.3;
    axes[1].scaleMin = 1.0;
    axes[1].scaleMax = 2.0;
    g.applyPanLimits(makeBox(-1.0, 1.0, -50.0, 50.0), axes);
    // The whole sample window stays in view; y is left alone.
    QCOMPARE(axes[0].scaleMin, -1.0);
    QCOMPARE(axes[0].scaleMax, 1.0);
    QCOMPARE(axes[1].scaleMin, 1.0);
    QCOMPARE(axes[1].scaleMax, 2.0);
}

void TestPointerMapping::sliderHitTests_data()
{
    QTest::addColumn<QPoint>("point");
    QTest::addColumn<bool>("horizontal");
    QTest::addColumn<bool>("vertical");

    // 300 x 200 pixels; extent x 0 .. 100, y 0 .. 50; view x 25 .. 75, y 10 .. 20.
    QTest::newRow("bottom band, on slider") << QPoint(150, 195) << true << false;
    QTest::newRow("bottom band, upper rows") << QPoint(150, 189) << true << false;
    QTest::newRow("above the band") << QPoint(150, 187) << false << false;
    QTest::newRow("bottom band, left of slider") << QPoint(60, 199) << false << false;
    QTest::newRow("bottom band, slider end") << QPoint(225, 199) << true << false;
    QTest::newRow("bottom band, right of slider") << QPoint(230, 199) << false << false;
    QTest::newRow("left band, on slider") << QPoint(5, 130) << false << true;
    QTest::newRow("left band, right columns") << QPoint(11, 130) << false << true;
    QTest::newRow("right of the band") << QPoint(13, 130) << false << false;
    QTest::newRow("left band, above slider") << QPoint(5, 100) << false << false;
    QTest::newRow("middle") << QPoint(150, 130) << false << false;
    QTest::newRow("below the widget") << QPoint(150, 210) << false << false;
}

void TestPointerMapping::sliderHitTests()
{
    QFETCH(QPoint, point);
    QFETCH(bool, horizontal);
    QFETCH(bool, vertical);

    KivGraph g;
    g.resize(300, 200);
    g.setAxisScale('x', 25.0, 75.0);
    g.setAxisScale('y', 10.0, 20.0);
    const velo::MatrixF<3, 2> extent = makeBox(0.0, 100.0, 0.0, 50.0);
    QCOMPARE(g.isPointOnHorizontalScrollBarSlider(point, extent), horizontal);
    QCOMPARE(g.isPointOnVerticalScrollBarSlider(point, extent), vertical);
}

QTEST_MAIN(TestPointerMapping)
#include "tst_pointermapping.moc"
