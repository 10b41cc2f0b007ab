// What a data series draws: the primitives and vertices display() emits, captured with
// OpenGL feedback mode, and the extents and current value it records.

#include "glfeedback.h"
#include "kiv_dataset.h"

#include <QGuiApplication>
#include <QtTest>

#include <cfloat>
#include <cmath>
#include <cstring>
#include <dlfcn.h>
#include <link.h>

using kivtest::Primitive;

namespace {

constexpr int ViewSize = 1000;
constexpr double Tolerance = 2e-4; // in device units; feedback positions are floats
constexpr double Gap = DBL_MAX;

struct Point
{
    double x, y;
};

// The drawing of one display() call, regrouped: connected polylines (a line strip, or one
// segment of GL_LINES), points and polygons, all in device units -1 .. 1. Two primitives
// meeting exactly end to start read as one polyline; no test draws such a pair.
struct Drawing
{
    QVector<QVector<Point>> lines;
    QVector<Point> points;
    QVector<QVector<Point>> polygons;
};

Point ndc(const Primitive &p, int i)
{
    return {kivtest::toNdc(p.x(i), ViewSize), kivtest::toNdc(p.y(i), ViewSize)};
}

bool samePlace(const Point &a, const Point &b)
{
    return std::fabs(a.x - b.x) < 1e-6 && std::fabs(a.y - b.y) < 1e-6;
}

Drawing capture(KivDataSet &ds, const velo::MatrixF<3, 2> &box)
{
    const std::vector<Primitive> prims = kivtest::captureFeedback([&] { ds.display(box); });
    Drawing d;
    for (const Primitive &p : prims) {
        switch (p.type) {
        case Primitive::LineReset:
            d.lines.append({ndc(p, 0), ndc(p, 1)});
            break;
        case Primitive::Line: {
            // Mesa does not always send a reset token for a new primitive: a segment that
            // does not start where the previous one ended starts a new polyline.
            const Point a = ndc(p, 0);
            if (d.lines.isEmpty() || !samePlace(d.lines.last().last(), a))
                d.lines.append({a});
            d.lines.last().append(ndc(p, 1));
            break;
        }
        case Primitive::Point:
            d.points.append(ndc(p, 0));
            break;
        case Primitive::Polygon: {
            QVector<Point> poly;
            for (int i = 0; i < p.vertexCount(); ++i)
                poly.append(ndc(p, i));
            d.polygons.append(poly);
            break;
        }
        default:
            break;
        }
    }
    return d;
}

velo::MatrixF<3, 2> makeBox(double xmin, double xmax, double ymin, double ymax, double zmin = -1, double zmax = 1)
{
    velo::MatrixF<3, 2> box;
    box(0, 0) = xmin;
    box(0, 1) = xmax;
    box(1, 0) = ymin;
    box(1, 1) = ymax;
    box(2, 0) = zmin;
    box(2, 1) = zmax;
    return box;
}

bool near(double a, double b)
{
    return std::fabs(a - b) <= Tolerance;
}

QString describe(const QVector<Point> &pts)
{
    QStringList s;
    for (const Point &p : pts)
        s << QString("(%1, %2)").arg(p.x, 0, 'g', 6).arg(p.y, 0, 'g', 6);
    return s.join(' ');
}

// Compares a polyline or polygon with the expected vertices, in order.
bool samePoints(const QVector<Point> &got, const QVector<Point> &want)
{
    if (got.size() != want.size())
        return false;
    for (int i = 0; i < got.size(); ++i) {
        if (!near(got[i].x, want[i].x) || !near(got[i].y, want[i].y))
            return false;
    }
    return true;
}

#define COMPARE_POINTS(got, want)                                                                            \
    QVERIFY2(samePoints(got, want), qPrintable("got " + describe(got) + "\nwant " + describe(want)))

// A vertical cursor segment from the bottom to the top edge at x.
QVector<Point> cursorAt(double x)
{
    return {{x, -1.0}, {x, 1.0}};
}

void compareExtents(const KivDataSet &ds, const QVector<double> &want)
{
    const velo::Matrix &mm = ds.getLastMinMax();
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 2; ++c) {
            QVERIFY2(mm(VoSize(r), VoSize(c)) == want[2 * r + c],
                     qPrintable(QString("extent (%1, %2) is %3, want %4")
                                    .arg(r)
                                    .arg(c)
                                    .arg(mm(VoSize(r), VoSize(c)))
                                    .arg(want[2 * r + c])));
        }
    }
}

// Keeps the loaded GL driver mapped until exit: the leak checker then still knows its name
// when it reports the driver's own allocations, and the suppressions for it apply.
void keepGLDriverLoaded()
{
    dl_iterate_phdr(
        [](dl_phdr_info *info, size_t, void *) {
            if (info->dlpi_name && strstr(info->dlpi_name, "_dri.so"))
                dlopen(info->dlpi_name, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
            return 0;
        },
        nullptr);
}

} // namespace

Q_DECLARE_METATYPE(Point)

class TestDataSetDraw : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void boundedSeriesFillsFromTheLeft();
    void unboundedSeriesSpansTheWidth();
    void primitivePerShape_data();
    void primitivePerShape();
    void gaps_data();
    void gaps();
    void scopeSweepWraps();
    void scopeSweepBeforeTheFirstWrap();
    void barsRiseFromZero();
    void twoValueBars();
    void markers_data();
    void markers();
    void currentValue_data();
    void currentValue();
    void twoValueCurrentValueAndCrossMark();
    void threeValueSeries();
    void nothingDrawnWhenEmptyOrHidden();
    void scaleBoxMapsValues();

private:
    std::unique_ptr<kivtest::GLContextScope> gl;
};

void TestDataSetDraw::initTestCase()
{
    gl.reset(new kivtest::GLContextScope(ViewSize, ViewSize));
    QVERIFY(gl->isValid());
    keepGLDriverLoaded();
}

void TestDataSetDraw::boundedSeriesFillsFromTheLeft()
{
    KivDataSet ds(ViewSize, ViewSize);
    ds.setMaxItemCount(100);
    for (int i = 0; i < 10; ++i)
        ds.addData(i);
    const Drawing d = capture(ds, makeBox(-1, 1, -10, 10));
    QCOMPARE(d.lines.size(), 2);
    QVector<Point> strip;
    for (int i = 0; i < 10; ++i)
        strip.append({-1.0 + i * 2.0 / 99.0, i / 10.0});
    COMPARE_POINTS(d.lines[0], strip);
    COMPARE_POINTS(d.lines[1], cursorAt(-1.0)); // scope offset 0 marks slot 0
    compareExtents(ds, {-1, 1, 0, 9, 0, 0});
}

void TestDataSetDraw::unboundedSeriesSpansTheWidth()
{
    KivDataSet ds(ViewSize, ViewSize);
    ds.setMaxItemCount(0); // no cursor
    ds.addData(3.0);
    Drawing d = capture(ds, makeBox(-1, 1, -10, 10));
    QVERIFY(d.lines.isEmpty()); // a one-vertex strip shows nothing
    ds.setStyle(KivDataStylePoints);
    ds.addData(3.0);
    d = capture(ds, makeBox(-1, 1, -10, 10));
    COMPARE_POINTS(d.points, QVector<Point>({{-1.0, 0.3}}));

    for (int i = 0; i < 4; ++i)
        ds.addData(-i);
    d = capture(ds, makeBox(-1, 1, -10, 10));
    COMPARE_POINTS(d.points, QVector<Point>({{-1.0, 0.3}, {-0.5, 0.0}, {0.0, -0.1}, {0.5, -0.2}, {1.0, -0.3}}));
    compareExtents(ds, {-1, 1, -3, 3, 0, 0});
}

void TestDataSetDraw::primitivePerShape_data()
{
    QTest::addColumn<ulong>("shape");
    QTest::addColumn<int>("lines");    // polylines
    QTest::addColumn<int>("vertices"); // per polyline
    QTest::addColumn<int>("points");
    QTest::addColumn<int>("polygons");

    // Three 2-value samples.
    QTest::newRow("line") << 0x00ul << 1 << 3 << 0 << 0;
    QTest::newRow("points") << 0x10ul << 0 << 0 << 3 << 0;
    QTest::newRow("cross") << 0x30ul << 6 << 2 << 0 << 0;
    QTest::newRow("triangle") << 0x40ul << 0 << 0 << 0 << 3;
    QTest::newRow("0x50 strip of triangle corners") << 0x50ul << 1 << 9 << 0 << 0;
    QTest::newRow("0x70 strip of cross ends") << 0x70ul << 1 << 12 << 0 << 0;
}

void TestDataSetDraw::primitivePerShape()
{
    QFETCH(ulong, shape);
    QFETCH(int, lines);
    QFETCH(int, vertices);
    QFETCH(int, points);
    QFETCH(int, polygons);

    KivDataSet ds(ViewSize, ViewSize);
    ds.setStyle(ulong(KivDataStyle2D) | shape);
    ds.addData(-0.5, 0.0);
    ds.addData(0.0, 0.5);
    ds.addData(0.5, 0.0);
    const Drawing d = capture(ds, makeBox(-1, 1, -1, 1));
    QCOMPARE(d.lines.size(), lines);
    for (const QVector<Point> &l : d.lines)
        QCOMPARE(l.size(), vertices);
    QCOMPARE(d.points.size(), points);
    QCOMPARE(d.polygons.size(), polygons);
}

void TestDataSetDraw::gaps_data()
{
    QTest::addColumn<ulong>("style");
    QTest::addColumn<QVector<double>>("values");
    QTest::addColumn<QVector<int>>("stripSizes");
    QTest::addColumn<QVector<double>>("extents"); // y min, y max

    QTest::newRow("gap splits the line") << 0x0ul << QVector<double>{1, 2, Gap, 4, 5, 6} << QVector<int>{2, 3}
                                         << QVector<double>{1, 6};
    QTest::newRow("joined across the gap") << 0x1000ul << QVector<double>{1, 2, Gap, 4, 5, 6} << QVector<int>{5}
                                           << QVector<double>{1, 6};
    QTest::newRow("two gaps in a row") << 0x0ul << QVector<double>{1, 2, Gap, Gap, 5, 6} << QVector<int>{2, 2}
                                       << QVector<double>{1, 6};
    QTest::newRow("leading gap does not count") << 0x0ul << QVector<double>{Gap, -2, 3} << QVector<int>{2}
                                                << QVector<double>{-2, 3};
    QTest::newRow("trailing gap") << 0x1000ul << QVector<double>{1, 2, Gap} << QVector<int>{2}
                                  << QVector<double>{1, 2};
    QTest::newRow("only gaps") << 0x0ul << QVector<double>{Gap, Gap} << QVector<int>{}
                               << QVector<double>{Gap, -Gap};
    QTest::newRow("nan added") << 0x0ul << QVector<double>{1, 2, qQNaN(), 4, 5} << QVector<int>{2, 2}
                               << QVector<double>{1, 5};
}

void TestDataSetDraw::gaps()
{
    QFETCH(ulong, style);
    QFETCH(QVector<double>, values);
    QFETCH(QVector<int>, stripSizes);
    QFETCH(QVector<double>, extents);

    KivDataSet ds(ViewSize, ViewSize);
    ds.setStyle(style);
    for (double v : values)
        ds.addData(v);
    const Drawing d = capture(ds, makeBox(-1, 1, -10, 10));
    QVector<int> sizes;
    for (const QVector<Point> &l : d.lines)
        sizes.append(l.size());
    QCOMPARE(sizes, stripSizes);
    // Slots stay where they are: the sample after the gap is drawn in its own slot.
    const double slot = 2.0 / (values.size() - 1);
    int k = 0;
    for (int i = 0; i < values.size(); ++i) {
        if (values[i] == Gap || std::isnan(values[i]))
            continue;
        int seen = 0;
        for (const QVector<Point> &l : d.lines) {
            for (const Point &p : l) {
                if (seen++ == k)
                    QVERIFY2(near(p.x, -1.0 + i * slot) && near(p.y, values[i] / 10.0), qPrintable(describe(l)));
            }
        }
        ++k;
    }
    compareExtents(ds, {-1, 1, extents[0], extents[1], 0, 0});
}

void TestDataSetDraw::scopeSweepWraps()
{
    KivDataSet ds(ViewSize, ViewSize);
    ds.setStyle(KivDataStyleScope);
    ds.setMaxItemCount(10);
    for (int i = 0; i < 17; ++i)
        ds.addData(i);
    const Drawing d = capture(ds, makeBox(-1, 1, -20, 20));
    QCOMPARE(ds.getScopeOffset(), 7l);
    const double slot = 2.0 / 9.0;
    QCOMPARE(d.lines.size(), 3);
    COMPARE_POINTS(d.lines[0], cursorAt(-1.0 + 7 * slot));
    // Oldest (7) at slot 7; 10 wraps to slot 0 in a new strip: nothing joins 9 and 0.
    COMPARE_POINTS(d.lines[1], QVector<Point>({{-1 + 7 * slot, 0.35}, {-1 + 8 * slot, 0.40}, {-1 + 9 * slot, 0.45}}));
    QVector<Point> second;
    for (int s = 0; s < 7; ++s)
        second.append({-1 + s * slot, (10 + s) / 20.0});
    COMPARE_POINTS(d.lines[2], second);
    compareExtents(ds, {-1, 1, 7, 16, 0, 0});
    QVERIFY(ds.currentValueText().isEmpty());

    // Points do not need a new primitive at the wrap, but sit in the same slots.
    ds.setStyle(KivDataStyleScope | KivDataStylePoints);
    ds.setMaxItemCount(10);
    for (int i = 0; i < 17; ++i)
        ds.addData(i);
    const Drawing p = capture(ds, makeBox(-1, 1, -20, 20));
    QCOMPARE(p.points.size(), 10);
    QVERIFY(near(p.points[0].x, -1 + 7 * slot));
    QVERIFY(near(p.points[3].x, -1.0));
}

void TestDataSetDraw::scopeSweepBeforeTheFirstWrap()
{
    KivDataSet ds(ViewSize, ViewSize);
    ds.setStyle(KivDataStyleScope | KivDataStyleJoinGaps);
    ds.setMaxItemCount(5);
    ds.addData(1);
    ds.addData(Gap);
    ds.addData(3);
    const Drawing d = capture(ds, makeBox(-1, 1, -10, 10));
    QCOMPARE(d.lines.size(), 2);
    COMPARE_POINTS(d.lines[0], cursorAt(-1.0));
    COMPARE_POINTS(d.lines[1], QVector<Point>({{-1.0, 0.1}, {0.0, 0.3}})); // joined over the gap
}

void TestDataSetDraw::barsRiseFromZero()
{
    KivDataSet ds(ViewSize, ViewSize);
    ds.setStyle(KivDataStyleBar);
    ds.setMaxItemCount(4);
    ds.addData(-2.0);
    ds.setScopeOffset(-1);
    const Drawing d = capture(ds, makeBox(-1, 1, -5, 5));
    // Slots are 0.5 wide; the bar of slot 3 spans 90 % of it, from 0 down to -0.4.
    double minX = 1, maxX = -1, minY = 1, maxY = -1;
    for (const QVector<Point> &poly : d.polygons) {
        for (const Point &p : poly) {
            minX = std::min(minX, p.x);
            maxX = std::max(maxX, p.x);
            minY = std::min(minY, p.y);
            maxY = std::max(maxY, p.y);
        }
    }
    QVERIFY(!d.polygons.isEmpty());
    QVERIFY2(near(minY, -0.4) && near(maxY, 0.0), qPrintable(QString("%1 .. %2").arg(minY).arg(maxY)));
    QVERIFY2(near(maxX, 0.5 + 0.45), qPrintable(QString::number(maxX)));
    // The zero bars are flat; whatever is drawn of them lies on the zero line.
    for (const QVector<Point> &poly : d.polygons) {
        bool tall = false;
        for (const Point &p : poly)
            tall = tall || !near(p.y, 0.0);
        if (tall) {
            for (const Point &p : poly)
                QVERIFY2(p.x >= 0.5 - Tolerance && p.x <= 0.95 + Tolerance, qPrintable(describe(poly)));
        }
    }
    QVERIFY(d.lines.isEmpty());
    compareExtents(ds, {-1, 1, -2, 0, 0, 0});

    // A positive bar widens the seeded zero upwards.
    ds.clear(true);
    ds.addData(3.0);
    capture(ds, makeBox(-1, 1, -5, 5));
    compareExtents(ds, {-1, 1, 0, 3, 0, 0});
}

void TestDataSetDraw::twoValueBars()
{
    KivDataSet ds(ViewSize, ViewSize);
    ds.setStyle(KivDataStyle2D | KivDataStyleBar);
    ds.setMaxItemCount(8); // eight (0, 0) slots; bars are 2 / 8 device units wide
    ds.setScopeOffset(-1);
    ds.addData(2.0, 4.0);
    const Drawing d = capture(ds, makeBox(0, 4, 0, 8));
    // Only the new bar has a height: from the drawn zero (-1) up to the drawn 4 (0).
    double minX = 1, maxX = -1, minY = 1, maxY = -1;
    for (const QVector<Point> &poly : d.polygons) {
        bool tall = false;
        for (const Point &p : poly)
            tall = tall || !near(p.y, -1.0);
        if (!tall)
            continue;
        for (const Point &p : poly) {
            minX = std::min(minX, p.x);
            maxX = std::max(maxX, p.x);
            minY = std::min(minY, p.y);
            maxY = std::max(maxY, p.y);
        }
    }
    QVERIFY2(near(minX, 0.0) && near(maxX, 0.25), qPrintable(QString("%1 .. %2").arg(minX).arg(maxX)));
    QVERIFY2(near(minY, -1.0) && near(maxY, 0.0), qPrintable(QString("%1 .. %2").arg(minY).arg(maxY)));
    compareExtents(ds, {0, 2, 0, 4, 0, 0});
}

void TestDataSetDraw::markers_data()
{
    QTest::addColumn<ulong>("shape");
    QTest::addColumn<QVector<Point>>("vertices");

    const double h = 0.0034641016151377543;
    // Aspect 2: the vertical sizes double so that the marker is as tall as wide in pixels.
    QTest::newRow("cross") << ulong(KivDataStyleCross)
                           << QVector<Point>{{-0.01, 0}, {0.01, 0}, {0, -0.02}, {0, 0.02}};
    QTest::newRow("triangle") << ulong(KivDataStyleTriangle)
                              << QVector<Point>{{0, 0.008}, {h, -0.004}, {-h, -0.004}};
}

void TestDataSetDraw::markers()
{
    QFETCH(ulong, shape);
    QFETCH(QVector<Point>, vertices);

    KivDataSet ds(ViewSize, ViewSize);
    ds.setGraphDimensions(400, 200);
    ds.setStyle(ulong(KivDataStyle2D) | shape);
    ds.addData(0.0, 0.0);
    const Drawing d = capture(ds, makeBox(-1, 1, -1, 1));
    QVector<Point> got;
    for (const QVector<Point> &l : d.lines)
        got += l;
    for (const QVector<Point> &p : d.polygons)
        got += p;
    COMPARE_POINTS(got, vertices);
}

void TestDataSetDraw::currentValue_data()
{
    QTest::addColumn<ulong>("style");
    QTest::addColumn<long>("offset");
    QTest::addColumn<QString>("format");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QPointF>("position");

    // Values 10, 20, Gap, 40 over slots 0 .. 3 of width 2 / 3; y range -50 .. 50.
    QTest::newRow("default format") << 0x0ul << 1l << QString() << QString("20.000000") << QPointF(-1 + 2.0 / 3, 0.4);
    QTest::newRow("own format") << 0x0ul << 3l << QString("%.1f V") << QString("40.0 V") << QPointF(1.0, 0.8);
    QTest::newRow("gap") << 0x0ul << 2l << QString() << QString() << QPointF(0, 0);
    QTest::newRow("gap, joined") << 0x1000ul << 2l << QString("%.0f") << QString("20") << QPointF(-1 + 2.0 / 3, 0.4);
    QTest::newRow("no current value") << 0x0ul << -1l << QString() << QString() << QPointF(0, 0);
}

void TestDataSetDraw::currentValue()
{
    QFETCH(ulong, style);
    QFETCH(long, offset);
    QFETCH(QString, format);
    QFETCH(QString, text);
    QFETCH(QPointF, position);

    KivDataSet ds(ViewSize, ViewSize);
    ds.setStyle(style);
    if (!format.isEmpty())
        ds.setLabelFormat(format);
    for (double v : {10.0, 20.0, Gap, 40.0})
        ds.addData(v);
    ds.flush();
    ds.setScopeOffset(offset);
    const Drawing d = capture(ds, makeBox(-1, 1, -50, 50));
    QCOMPARE(ds.currentValueText(), text);
    QVERIFY2(near(ds.currentValuePosition().x(), position.x()) && near(ds.currentValuePosition().y(), position.y()),
             qPrintable(QString("%1, %2").arg(ds.currentValuePosition().x()).arg(ds.currentValuePosition().y())));
    // The cursor line stands at the slot of the offset, gap or not.
    const QVector<Point> &last = d.lines.last();
    if (offset >= 0)
        COMPARE_POINTS(last, cursorAt(-1 + offset * 2.0 / 3));
}

void TestDataSetDraw::twoValueCurrentValueAndCrossMark()
{
    KivDataSet ds(ViewSize, ViewSize);
    ds.setStyle(KivDataStyle2D);
    ds.setLabelFormat("%.1f");
    ds.addData(1.0, 2.0);
    ds.addData(3.0, 4.0);
    ds.addData(5.0, -6.0);
    ds.flush();
    ds.setScopeOffset(1);
    const Drawing d = capture(ds, makeBox(0, 10, -10, 10));
    QCOMPARE(ds.currentValueText(), QString("3.0, 4.0"));
    const QPointF at(-0.4, 0.4);
    QVERIFY(near(ds.currentValuePosition().x(), at.x()) && near(ds.currentValuePosition().y(), at.y()));
    QCOMPARE(d.lines.size(), 3);
    COMPARE_POINTS(d.lines[0], QVector<Point>({{-0.8, 0.2}, {-0.4, 0.4}, {0.0, -0.6}}));
    COMPARE_POINTS(d.lines[1], QVector<Point>({{-0.4, 0.25}, {-0.4, 0.55}}));
    COMPARE_POINTS(d.lines[2], QVector<Point>({{-0.55, 0.4}, {-0.25, 0.4}}));
    compareExtents(ds, {1, 5, -6, 4, 0, 0});
}

void TestDataSetDraw::threeValueSeries()
{
    KivDataSet ds(ViewSize, ViewSize);
    ds.setStyle(KivDataStyle3D);
    ds.addData(1.0, 2.0, 3.0);
    ds.addData(Gap, 0.0, 0.0);
    ds.addData(-1.0, -2.0, 7.0);
    ds.addData(0.0, 0.0, -3.0);
    const Drawing d = capture(ds, makeBox(-2, 2, -4, 4, -10, 10));
    QCOMPARE(d.lines.size(), 1);
    COMPARE_POINTS(d.lines[0], QVector<Point>({{-0.5, -0.5}, {0.0, 0.0}}));
    compareExtents(ds, {-1, 1, -2, 2, -3, 7});
}

void TestDataSetDraw::nothingDrawnWhenEmptyOrHidden()
{
    KivDataSet ds(ViewSize, ViewSize);
    Drawing d = capture(ds, makeBox(-1, 1, -1, 1));
    QVERIFY(d.lines.isEmpty() && d.points.isEmpty() && d.polygons.isEmpty());
    compareExtents(ds, {0, 0, 0, 0, 0, 0});

    ds.addData(1.0);
    ds.addData(2.0);
    ds.setVisible(false);
    d = capture(ds, makeBox(-1, 1, -1, 1));
    QVERIFY(d.lines.isEmpty() && d.points.isEmpty() && d.polygons.isEmpty());
    compareExtents(ds, {0, 0, 0, 0, 0, 0});
    QCOMPARE(ds.getDisplayItemCount(), 2ul); // still moved, only not drawn

    ds.setVisible(true);
    d = capture(ds, makeBox(-1, 1, 0, 3));
    QCOMPARE(d.lines.size(), 2);
    COMPARE_POINTS(d.lines[0], QVector<Point>({{-1.0, -1.0 / 3}, {1.0, 1.0 / 3}}));
    compareExtents(ds, {-1, 1, 1, 2, 0, 0});
}

void TestDataSetDraw::scaleBoxMapsValues()
{
    // An x range of 0 .. 1 over the sample window zooms into its right half.
    KivDataSet ds(ViewSize, ViewSize);
    ds.setMaxItemCount(0);
    ds.setStyle(KivDataStylePoints);
    for (int i = 0; i < 5; ++i)
        ds.addData(100.0 + i);
    const Drawing d = capture(ds, makeBox(0, 1, 100, 104));
    QCOMPARE(d.points.size(), 3); // the others are clipped away
    COMPARE_POINTS(d.points, QVector<Point>({{-1.0, 0.0}, {0.0, 0.5}, {1.0, 1.0}}));
    compareExtents(ds, {-1, 1, 100, 104, 0, 0});
}

QTEST_MAIN(TestDataSetDraw)
#include "tst_datasetdraw.moc"
