// What a data series draws: the primitives display() emits, captured with OpenGL feedback
// mode, and the extents and current value it records.

#include "glfeedback.h"
#include "kiv_dataset.h"

#include <QGuiApplication>
#include <QtTest>

#include <cfloat>

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
    for (const double *v = values.constData(); v + dims <= values.constEnd(); v += dims)
        dims == 1 ? ds->addData(v[0]) : dims == 2 ? ds->addData(v[0], v[1]) : ds->addData(v[0], v[1], v[2]);
    return ds;
}

bool same(const Polys &got, const Polys &want)
{
    bool ok = got.size() == want.size();
    for (int i = 0; ok && i < got.size(); ++i) {
        ok = got[i].size() == want[i].size();
        for (int k = 0; ok && k < got[i].size(); ++k)
            ok = (got[i][k] - want[i][k]).manhattanLength() <= Tolerance;
    }
    if (!ok)
        qWarning() << "got" << got << "\nwant" << want;
    return ok;
}

// x, y and z minimum and maximum recorded by the last display().
Values extentsOf(const KivDataSet &ds)
{
    Values got;
    for (int i = 0; i < 6; ++i)
        got.append(ds.getLastMinMax()(VoSize(i / 2), VoSize(i % 2)));
    return got;
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

// What one display() should emit and record: extents empty are not checked; for bars the
// polygons are the box around those not flat on the zero line.
struct Drawn { ulong style; int bound; Values values, box; Polys lines; Poly points; Polys polygons; Values extents; };
struct Current { ulong style; Values values, box; long offset; QString format, text; QPointF position; Polys lines; };

} // namespace

Q_DECLARE_METATYPE(Drawn)
Q_DECLARE_METATYPE(Current)

class TestDataSetDraw : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        gl.reset(new kivtest::GLContextScope(ViewSize, ViewSize));
        QVERIFY(gl->isValid());
    }

    void primitives_data()
    {
        QTest::addColumn<Drawn>("want");
        const Values y5{-1, 1, -5, 5}, y10{-1, 1, -10, 10}, y20{-1, 1, -20, 20}, xy1{-1, 1, -1, 1};
        const double s = 2.0 / 9.0; // scope slot width
        const Poly wrapped = run(-1 + 7 * s, s, {0.35, 0.4, 0.45}) + run(-1, s, range(0.5, 7, 0.05));
        // One 2-value sample at (0, 0); at aspect 2 vertical sizes double to look square.
        const double h = 0.0034641016151377543;
        const Poly cross{{-0.01, 0}, {0.01, 0}, {0, -0.02}, {0, 0.02}}, triangle{{0, 0.008}, {h, -0.004}, {-h, -0.004}};

        QTest::newRow("empty") << Drawn{0x0, 0, {}, y10, {}, {}, {}, {0, 0, 0, 0, 0, 0}};
        QTest::newRow("bounded fills from the left, cursor at 0") << Drawn{0x0, 100, range(0, 10), y10,
            {run(-1, 2.0 / 99, range(0, 10, 0.1)), cursorAt(-1)}, {}, {}, {-1, 1, 0, 9, 0, 0}};
        QTest::newRow("one sample draws no strip") << Drawn{0x0, 0, {3}, y10, {}, {}, {}, {}};
        QTest::newRow("points span the width") << Drawn{0x10, 0, {3, 0, -1, -2, -3}, y10, {},
            run(-1, 0.5, {0.3, 0, -0.1, -0.2, -0.3}), {}, {-1, 1, -3, 3, 0, 0}};
        QTest::newRow("gap splits the strip") << Drawn{0x0, 0, {1, 2, Gap, 4, 5, 6}, y10,
            {run(-1, 0.4, {0.1, 0.2}), run(0.2, 0.4, {0.4, 0.5, 0.6})}, {}, {}, {-1, 1, 1, 6, 0, 0}};
        QTest::newRow("JoinGaps keeps it whole") << Drawn{0x1000, 0, {1, 2, Gap, 4, 5, 6}, y10,
            {run(-1, 0.4, {0.1, 0.2}) + run(0.2, 0.4, {0.4, 0.5, 0.6})}, {}, {}, {-1, 1, 1, 6, 0, 0}};
        QTest::newRow("leading gap") << Drawn{0x0, 0, {Gap, -2, 3}, y10, {run(0, 1, {-0.2, 0.3})}, {}, {},
            {-1, 1, -2, 3, 0, 0}};
        QTest::newRow("only gaps") << Drawn{0x0, 0, {Gap, Gap}, y10, {}, {}, {}, {-1, 1, Gap, -Gap, 0, 0}};
        QTest::newRow("scope does not join slot 9 to slot 0") << Drawn{0x100, 10, range(0, 17), y20,
            {cursorAt(-1 + 7 * s), wrapped.mid(0, 3), wrapped.mid(3)}, {}, {}, {-1, 1, 7, 16, 0, 0}};
        QTest::newRow("scope points") << Drawn{0x110, 10, range(0, 17), y20, {cursorAt(-1 + 7 * s)}, wrapped, {},
            {-1, 1, 7, 16, 0, 0}};
        QTest::newRow("scope before the first wrap, joined") << Drawn{0x1100, 5, {1, Gap, 3}, y10,
            {cursorAt(-1), run(-1, 1, {0.1, 0.3})}, {}, {}, {}};
        QTest::newRow("scale box zooms and clips") << Drawn{0x10, 0, range(100, 5), {0, 1, 100, 104}, {},
            run(-1, 1, {0, 0.5, 1}), {}, {-1, 1, 100, 104, 0, 0}};
        QTest::newRow("3 values, gap") << Drawn{0x2, 0, {1, 2, 3, Gap, 0, 0, -1, -2, 7, 0, 0, -3},
            {-2, 2, -4, 4, -10, 10}, {run(-0.5, 0.5, {-0.5, 0})}, {}, {}, {-1, 1, -2, 2, -3, 7}};
        QTest::newRow("cross") << Drawn{0x31, 0, {0, 0}, xy1, {cross.mid(0, 2), cross.mid(2)}, {}, {}, {}};
        QTest::newRow("triangle") << Drawn{0x41, 0, {0, 0}, xy1, {}, {}, {triangle}, {}};
        QTest::newRow("0x50: strip of triangle corners") << Drawn{0x51, 0, {0, 0}, xy1, {triangle}, {}, {}, {}};
        QTest::newRow("0x70: strip of cross ends") << Drawn{0x71, 0, {0, 0}, xy1, {cross}, {}, {}, {}};
        // The newest sample is in the last slot; a bar fills 90 % of its slot from the left.
        QTest::newRow("bar below zero") << Drawn{0x20, 4, {-2}, y5, {cursorAt(-1)}, {}, {{{0.5, -0.4}, {0.95, 0}}},
            {-1, 1, -2, 0, 0, 0}};
        QTest::newRow("bar above zero") << Drawn{0x20, 4, {3}, y5, {cursorAt(-1)}, {}, {{{0.5, 0}, {0.95, 0.6}}},
            {-1, 1, 0, 3, 0, 0}};
        QTest::newRow("2-value bars, cross mark in slot 0") << Drawn{0x21, 8, {2, 4}, {0, 4, 0, 8},
            {{{-1, -1}, {-1, -0.85}}, {{-1, -1}, {-0.85, -1}}}, {}, {{{0, -1}, {0.25, 0}}}, {0, 2, 0, 4, 0, 0}};
    }

    void primitives()
    {
        QFETCH(Drawn, want);
        const auto ds = series(want.style, want.bound, want.values);
        const Drawing d = capture(*ds, want.box);
        QVERIFY(same(d.lines, want.lines));
        QVERIFY(same({d.points}, {want.points}));
        Polys polygons = d.polygons;
        if ((want.style & KivDataStyleShapeMask) == KivDataStyleBar) { // the box around the bars off the zero line
            QRectF tall;
            for (const Poly &p : d.polygons)
                tall |= QPolygonF(p).boundingRect().height() > Tolerance ? QPolygonF(p).boundingRect() : QRectF();
            polygons = {{tall.topLeft(), tall.bottomRight()}};
        }
        QVERIFY(same(polygons, want.polygons));
        if (!want.extents.isEmpty())
            QCOMPARE(extentsOf(*ds), want.extents);
    }

    void currentValue_data()
    {
        QTest::addColumn<Current>("want");
        // 10, 20, gap, 40 over slots of width 2 / 3; the cursor stands at the offset, gap or not.
        const Values values{10, 20, Gap, 40}, box{-1, 1, -50, 50};
        const double s = 2.0 / 3;
        const Poly strip = run(-1, s, {0.2, 0.4});
        QTest::newRow("default format") << Current{0x0, values, box, 1, "", "20.000000", {-1 + s, 0.4},
                                                   {strip, cursorAt(-1 + s)}};
        QTest::newRow("own format") << Current{0x0, values, box, 3, "%.1f V", "40.0 V", {1, 0.8}, {strip, cursorAt(1)}};
        QTest::newRow("gap") << Current{0x0, values, box, 2, "", "", {0, 0}, {strip, cursorAt(-1 + 2 * s)}};
        QTest::newRow("gap, joined") << Current{0x1000, values, box, 2, "%.0f", "20", {-1 + s, 0.4},
                                                {strip + Poly{{1, 0.8}}, cursorAt(-1 + 2 * s)}};
        QTest::newRow("no current value") << Current{0x0, values, box, -1, "", "", {0, 0}, {strip}};
        QTest::newRow("2 values, cross mark") << Current{0x1, {1, 2, 3, 4, 5, -6}, {0, 10, -10, 10}, 1, "%.1f",
            "3.0, 4.0", {-0.4, 0.4},
            {run(-0.8, 0.4, {0.2, 0.4, -0.6}), {{-0.4, 0.25}, {-0.4, 0.55}}, {{-0.55, 0.4}, {-0.25, 0.4}}}};
    }

    void currentValue()
    {
        QFETCH(Current, want);
        const auto ds = series(want.style, 0, want.values);
        if (!want.format.isEmpty())
            ds->setLabelFormat(want.format);
        ds->flush();
        ds->setScopeOffset(want.offset);
        const Drawing d = capture(*ds, want.box);
        QCOMPARE(ds->currentValueText(), want.text);
        QVERIFY(same({{ds->currentValuePosition()}}, {{want.position}}));
        QVERIFY(same(d.lines, want.lines));
    }

    // A format is used only when it prints exactly one number; otherwise the previous one stays.
    void labelFormats_data()
    {
        QTest::addColumn<QString>("format");
        QTest::addColumn<QString>("text"); // of 20 after "%.1f" and then format
        const QString kept = QStringLiteral("20.0");
        for (const char *hostile : {"%s", "%n", "%f %f %f %f", "%1000000f", "%.1000f", "%*f", "%.*f", "%Lf", "%d",
                                    "%1$f", "%'f", "no number", "100%", "%f%"})
            QTest::newRow(hostile) << QString(hostile) << kept;
        QTest::newRow("flags, width, precision") << "%+08.3f mV" << "+020.000 mV";
        QTest::newRow("percent signs") << "%%%g%%" << "%20%";
        QTest::newRow("long modifier") << "%lf" << "20.000000";
        QTest::newRow("widest") << "%-100.100E" << QString("2.%1E+01").arg(QString(100, '0')).leftJustified(100);
    }

    void labelFormats()
    {
        QFETCH(QString, format);
        QFETCH(QString, text);
        const auto ds = series(0x0, 0, {10, 20});
        ds->flush();
        ds->setScopeOffset(1);
        ds->setLabelFormat(QStringLiteral("%.1f"));
        const bool valid = KivDataSet::isValidLabelFormat(format);
        QCOMPARE(valid, text != QStringLiteral("20.0"));
        if (!valid)
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^KivDataSet::setLabelFormat: .*keeping \"%\\.1f\"$"));
        ds->setLabelFormat(format);
        capture(*ds, {-1, 1, 0, 50});
        QCOMPARE(ds->currentValueText(), text);
    }

private:
    std::unique_ptr<kivtest::GLContextScope> gl;
};

QTEST_MAIN(TestDataSetDraw)
#include "tst_datasetdraw.moc"
