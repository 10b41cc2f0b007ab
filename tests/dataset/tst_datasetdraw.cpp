// What a data series draws: the primitives display() emits, captured with OpenGL feedback
// mode, and the extents and current value it records.

#include "glfeedback.h"
#include "kiv_dataset.h"

#include <QGuiApplication>
#include <QtTest>

#include <cfloat>
#include <cmath>

using kivtest::Primitive;
using Poly = QVector<QPointF>;
using Polys = QVector<Poly>;
using Values = QVector<double>;

namespace {

constexpr int ViewSize = 1000;
constexpr double Tolerance = 2e-4; // device units; feedback positions are floats
constexpr double Gap = DBL_MAX;

// One display() call as polylines (segments meeting end to start join), points and polygons,
// in device units -1 .. 1.
struct Drawing { Polys lines; Poly points; Polys polygons; };

// range: x, y (and z) minimum and maximum of the scale box.
Drawing capture(KivDataSet &ds, const Values &range)
{
    velo::MatrixF<3, 2> box;
    for (int i = 0; i < 6; ++i)
        box(VoSize(i / 2), VoSize(i % 2)) = i < range.size() ? range[i] : (i % 2 ? 1.0 : -1.0);
    Drawing d;
    for (const Primitive &p : kivtest::captureFeedback([&] { ds.display(box); })) {
        Poly v;
        for (int i = 0; i < p.vertexCount(); ++i)
            v.append({kivtest::toNdc(p.x(i), ViewSize), kivtest::toNdc(p.y(i), ViewSize)});
        if (p.type == Primitive::Point)
            d.points += v;
        else if (p.type == Primitive::Polygon)
            d.polygons.append(v);
        else if (p.type == Primitive::LineReset || d.lines.isEmpty() || d.lines.last().last() != v[0])
            d.lines.append(v); // Mesa does not always send a reset token for a new strip
        else
            d.lines.last().append(v[1]);
    }
    return d;
}

// A series of the given style (graph 400 x 200: aspect 2) holding the flat list of values.
std::unique_ptr<KivDataSet> series(ulong style, int maxItems, const Values &values)
{
    std::unique_ptr<KivDataSet> ds(new KivDataSet(400, 200));
    ds->setStyle(style);
    ds->setMaxItemCount(ulong(maxItems));
    const int dims = ds->dimensions();
    for (int i = 0; i + dims <= values.size(); i += dims) {
        if (dims == 1)
            ds->addData(values[i]);
        else if (dims == 2)
            ds->addData(values[i], values[i + 1]);
        else
            ds->addData(values[i], values[i + 1], values[i + 2]);
    }
    return ds;
}

bool same(const Polys &got, const Polys &want)
{
    bool ok = got.size() == want.size();
    for (int i = 0; ok && i < got.size(); ++i) {
        ok = got[i].size() == want[i].size();
        for (int k = 0; ok && k < got[i].size(); ++k) {
            const QPointF diff = got[i][k] - want[i][k];
            ok = std::fabs(diff.x()) <= Tolerance && std::fabs(diff.y()) <= Tolerance;
        }
    }
    if (!ok)
        qWarning() << "got" << got << "\nwant" << want;
    return ok;
}

bool sameExtents(const KivDataSet &ds, const Values &want)
{
    Values got;
    for (int i = 0; i < 6; ++i)
        got.append(ds.getLastMinMax()(VoSize(i / 2), VoSize(i % 2)));
    if (got != want)
        qWarning() << "extents" << got << "want" << want;
    return got == want;
}

// Points at x0, x0 + dx, ... with the given device y.
Poly run(double x0, double dx, const Values &ys)
{
    Poly p;
    for (int i = 0; i < ys.size(); ++i)
        p.append({x0 + i * dx, ys[i]});
    return p;
}

Values range(double first, int n, double step = 1.0)
{
    Values out;
    for (int i = 0; i < n; ++i)
        out.append(first + i * step);
    return out;
}

Poly cursorAt(double x) { return {{x, -1.0}, {x, 1.0}}; }

} // namespace

class TestDataSetDraw : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void primitives_data();
    void primitives();
    void currentValue_data();
    void currentValue();
    void bars_data();
    void bars();

private:
    std::unique_ptr<kivtest::GLContextScope> gl;
};

void TestDataSetDraw::initTestCase()
{
    gl.reset(new kivtest::GLContextScope(ViewSize, ViewSize));
    QVERIFY(gl->isValid());
}

void TestDataSetDraw::primitives_data()
{
    QTest::addColumn<ulong>("style");
    QTest::addColumn<int>("maxItems");
    QTest::addColumn<Values>("values");
    QTest::addColumn<Values>("box");
    QTest::addColumn<Polys>("lines");
    QTest::addColumn<Poly>("points");
    QTest::addColumn<Polys>("polygons");
    QTest::addColumn<Values>("extents"); // empty: not checked

    const Values y10{-1, 1, -10, 10}, y20{-1, 1, -20, 20}, xy1{-1, 1, -1, 1};
    const double s = 2.0 / 9.0; // scope slot width
    const Poly wrapped = run(-1 + 7 * s, s, {0.35, 0.4, 0.45}) + run(-1, s, range(0.5, 7, 0.05));
    // One 2-value sample at (0, 0); at aspect 2 vertical sizes double to look square.
    const double h = 0.0034641016151377543;
    const Poly cross{{-0.01, 0}, {0.01, 0}, {0, -0.02}, {0, 0.02}}, triangle{{0, 0.008}, {h, -0.004}, {-h, -0.004}};

    QTest::newRow("empty") << 0x0ul << 0 << Values{} << y10 << Polys{} << Poly{} << Polys{} << Values{0, 0, 0, 0, 0, 0};
    QTest::newRow("bounded fills from the left, cursor at 0") << 0x0ul << 100 << range(0, 10) << y10
        << Polys{run(-1, 2.0 / 99, range(0, 10, 0.1)), cursorAt(-1)} << Poly{} << Polys{} << Values{-1, 1, 0, 9, 0, 0};
    QTest::newRow("one sample draws no strip") << 0x0ul << 0 << Values{3} << y10 << Polys{} << Poly{} << Polys{} << Values{};
    QTest::newRow("points span the width") << 0x10ul << 0 << Values{3, 0, -1, -2, -3} << y10 << Polys{}
        << run(-1, 0.5, {0.3, 0, -0.1, -0.2, -0.3}) << Polys{} << Values{-1, 1, -3, 3, 0, 0};
    QTest::newRow("gap splits the strip") << 0x0ul << 0 << Values{1, 2, Gap, 4, 5, 6} << y10
        << Polys{run(-1, 0.4, {0.1, 0.2}), run(0.2, 0.4, {0.4, 0.5, 0.6})} << Poly{} << Polys{} << Values{-1, 1, 1, 6, 0, 0};
    QTest::newRow("JoinGaps keeps it whole") << 0x1000ul << 0 << Values{1, 2, Gap, 4, 5, 6} << y10
        << Polys{run(-1, 0.4, {0.1, 0.2}) + run(0.2, 0.4, {0.4, 0.5, 0.6})} << Poly{} << Polys{} << Values{-1, 1, 1, 6, 0, 0};
    QTest::newRow("leading gap") << 0x0ul << 0 << Values{Gap, -2, 3} << y10 << Polys{run(0, 1, {-0.2, 0.3})} << Poly{}
        << Polys{} << Values{-1, 1, -2, 3, 0, 0};
    QTest::newRow("only gaps") << 0x0ul << 0 << Values{Gap, Gap} << y10 << Polys{} << Poly{} << Polys{}
        << Values{-1, 1, Gap, -Gap, 0, 0};
    QTest::newRow("scope does not join slot 9 to slot 0") << 0x100ul << 10 << range(0, 17) << y20
        << Polys{cursorAt(-1 + 7 * s), wrapped.mid(0, 3), wrapped.mid(3)} << Poly{} << Polys{} << Values{-1, 1, 7, 16, 0, 0};
    QTest::newRow("scope points") << 0x110ul << 10 << range(0, 17) << y20 << Polys{cursorAt(-1 + 7 * s)} << wrapped
        << Polys{} << Values{-1, 1, 7, 16, 0, 0};
    QTest::newRow("scope before the first wrap, joined") << 0x1100ul << 5 << Values{1, Gap, 3} << y10
        << Polys{cursorAt(-1), run(-1, 1, {0.1, 0.3})} << Poly{} << Polys{} << Values{};
    QTest::newRow("scale box zooms and clips") << 0x10ul << 0 << range(100, 5) << Values{0, 1, 100, 104} << Polys{}
        << run(-1, 1, {0, 0.5, 1}) << Polys{} << Values{-1, 1, 100, 104, 0, 0};
    QTest::newRow("3 values, gap") << 0x2ul << 0 << Values{1, 2, 3, Gap, 0, 0, -1, -2, 7, 0, 0, -3}
        << Values{-2, 2, -4, 4, -10, 10} << Polys{run(-0.5, 0.5, {-0.5, 0})} << Poly{} << Polys{}
        << Values{-1, 1, -2, 2, -3, 7};
    QTest::newRow("cross") << 0x31ul << 0 << Values{0, 0} << xy1 << Polys{cross.mid(0, 2), cross.mid(2)} << Poly{}
        << Polys{} << Values{};
    QTest::newRow("triangle") << 0x41ul << 0 << Values{0, 0} << xy1 << Polys{} << Poly{} << Polys{triangle} << Values{};
    QTest::newRow("0x50: strip of triangle corners") << 0x51ul << 0 << Values{0, 0} << xy1 << Polys{triangle} << Poly{}
        << Polys{} << Values{};
    QTest::newRow("0x70: strip of cross ends") << 0x71ul << 0 << Values{0, 0} << xy1 << Polys{cross} << Poly{} << Polys{}
        << Values{};
}

void TestDataSetDraw::primitives()
{
    QFETCH(ulong, style);
    QFETCH(int, maxItems);
    QFETCH(Values, values);
    QFETCH(Values, box);
    QFETCH(Polys, lines);
    QFETCH(Poly, points);
    QFETCH(Polys, polygons);
    QFETCH(Values, extents);

    const auto ds = series(style, maxItems, values);
    const Drawing d = capture(*ds, box);
    QVERIFY(same(d.lines, lines));
    QVERIFY(same({d.points}, {points}));
    QVERIFY(same(d.polygons, polygons));
    if (!extents.isEmpty())
        QVERIFY(sameExtents(*ds, extents));
}

void TestDataSetDraw::currentValue_data()
{
    QTest::addColumn<ulong>("style");
    QTest::addColumn<Values>("values");
    QTest::addColumn<Values>("box");
    QTest::addColumn<long>("offset");
    QTest::addColumn<QString>("format");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QPointF>("position");
    QTest::addColumn<Polys>("lines");

    // 10, 20, gap, 40 over slots of width 2 / 3; the cursor stands at the offset, gap or not.
    const Values values{10, 20, Gap, 40}, box{-1, 1, -50, 50};
    const double s = 2.0 / 3;
    const Poly strip = run(-1, s, {0.2, 0.4});
    QTest::newRow("default format") << 0x0ul << values << box << 1l << QString() << "20.000000" << QPointF(-1 + s, 0.4)
                                    << Polys{strip, cursorAt(-1 + s)};
    QTest::newRow("own format") << 0x0ul << values << box << 3l << "%.1f V" << "40.0 V" << QPointF(1, 0.8)
                                << Polys{strip, cursorAt(1)};
    QTest::newRow("gap") << 0x0ul << values << box << 2l << QString() << QString() << QPointF(0, 0)
                         << Polys{strip, cursorAt(-1 + 2 * s)};
    QTest::newRow("gap, joined") << 0x1000ul << values << box << 2l << "%.0f" << "20" << QPointF(-1 + s, 0.4)
                                 << Polys{strip + Poly{{1, 0.8}}, cursorAt(-1 + 2 * s)};
    QTest::newRow("no current value") << 0x0ul << values << box << -1l << QString() << QString() << QPointF(0, 0)
                                      << Polys{strip};
    QTest::newRow("2 values, cross mark") << 0x1ul << Values{1, 2, 3, 4, 5, -6} << Values{0, 10, -10, 10} << 1l << "%.1f"
        << "3.0, 4.0" << QPointF(-0.4, 0.4)
        << Polys{run(-0.8, 0.4, {0.2, 0.4, -0.6}), {{-0.4, 0.25}, {-0.4, 0.55}}, {{-0.55, 0.4}, {-0.25, 0.4}}};
}

void TestDataSetDraw::currentValue()
{
    QFETCH(ulong, style);
    QFETCH(Values, values);
    QFETCH(Values, box);
    QFETCH(long, offset);
    QFETCH(QString, format);
    QFETCH(QString, text);
    QFETCH(QPointF, position);
    QFETCH(Polys, lines);

    const auto ds = series(style, 0, values);
    if (!format.isEmpty())
        ds->setLabelFormat(format);
    ds->flush();
    ds->setScopeOffset(offset);
    const Drawing d = capture(*ds, box);
    QCOMPARE(ds->currentValueText(), text);
    QVERIFY(same({{ds->currentValuePosition()}}, {{position}}));
    QVERIFY(same(d.lines, lines));
}

void TestDataSetDraw::bars_data()
{
    QTest::addColumn<ulong>("style");
    QTest::addColumn<int>("slotCount");
    QTest::addColumn<Values>("values");
    QTest::addColumn<Values>("box");
    QTest::addColumn<QRectF>("bar"); // the polygons that are not flat on the zero line
    QTest::addColumn<Values>("extents");

    // The newest sample is in the last slot; a bar fills 90 % of its slot from the left.
    QTest::newRow("below zero") << 0x20ul << 4 << Values{-2} << Values{-1, 1, -5, 5}
                                << QRectF(QPointF(0.5, -0.4), QPointF(0.95, 0)) << Values{-1, 1, -2, 0, 0, 0};
    QTest::newRow("above zero") << 0x20ul << 4 << Values{3} << Values{-1, 1, -5, 5}
                                << QRectF(QPointF(0.5, 0), QPointF(0.95, 0.6)) << Values{-1, 1, 0, 3, 0, 0};
    QTest::newRow("2 values") << 0x21ul << 8 << Values{2, 4} << Values{0, 4, 0, 8}
                              << QRectF(QPointF(0, -1), QPointF(0.25, 0)) << Values{0, 2, 0, 4, 0, 0};
}

void TestDataSetDraw::bars()
{
    QFETCH(ulong, style);
    QFETCH(int, slotCount);
    QFETCH(Values, values);
    QFETCH(Values, box);
    QFETCH(QRectF, bar);
    QFETCH(Values, extents);
    const auto ds = series(style, slotCount, values);
    ds->setScopeOffset(-1); // no cursor
    const Drawing d = capture(*ds, box);
    QRectF tall;
    for (const Poly &p : d.polygons) {
        const QRectF r = QPolygonF(p).boundingRect();
        if (r.height() > Tolerance)
            tall = tall.united(r);
    }
    QVERIFY(same({{tall.topLeft(), tall.bottomRight()}}, {{bar.topLeft(), bar.bottomRight()}}));
    QVERIFY(d.lines.isEmpty());
    QVERIFY(sameExtents(*ds, extents));
}

QTEST_MAIN(TestDataSetDraw)
#include "tst_datasetdraw.moc"
