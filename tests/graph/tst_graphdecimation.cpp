// Decimation may not change what a graph shows: each series is drawn with decimation and
// with every sample, and the pixels, the extents and the current value must be the same.

#include "graphtesthelpers.h"

#include <QtTest>

#include <cfloat>
#include <cmath>
#include <random>

using graphtest::TestGraph;

namespace {

enum class Data { Noise, Gaps, Monotonic, MonotonicGaps, Walk, Steps };

// One series: style, bound, sample count, data, scale box (x min, x max, y min, y max),
// graph size and the current value's offset (-1: leave it).
struct Series { ulong style; int bound; int count; Data data; QList<double> box; QSize size; long current; };

// Deterministic noise in -1 .. 1.
double noise(quint32& state)
{
    state = state * 1664525u + 1013904223u;
    return double(state >> 8) / double(1u << 23) - 1.0;
}

void fill(KivDataSet& ds, const Series& s)
{
    quint32 state = 1;
    quint32 stepState = 3066518679u;
    double walk = 0.0;
    for (int i = 0; i < s.count; ++i) {
        const double y = 5.0 * std::sin(i * 2e-5) + noise(state);
        switch (s.data) {
        case Data::Noise: ds.addData(y); break;
        case Data::Gaps: ds.addData((i / 1000 % 7 == 3 && i % 1000 < 200) || i % 4999 == 0 ? DBL_MAX : y); break;
        case Data::Monotonic: ds.addData(i * 0.001 + (i % 3 == 0 ? 0.0 : 0.0005), y); break;
        case Data::MonotonicGaps: ds.addData(i * 0.001, i / 1000 % 7 == 3 && i % 1000 < 200 ? DBL_MAX : y); break;
        case Data::Walk: walk += noise(state); ds.addData(walk, y); break;
        case Data::Steps: walk += 0.001 * (1 + i % 3); ds.addData(walk, 5.0 * std::sin(i * 7e-5) + noise(stepState)); break;
        }
    }
}

} // namespace

Q_DECLARE_METATYPE(Series)

class TestGraphDecimation : public QObject
{
    Q_OBJECT

    static void addRandomRows(quint32 seed, int rows, bool wide)
    {
        std::mt19937 rng(seed);
        const QSize sizes[] = {{1, 300}, {37, 600}, {123, 99}, {400, 300}, {517, 333}};
        const ulong timeStyles[] = {0x0, 0x10, 0x100, 0x110, 0x20, 0x1000, 0x1100, 0x120};
        const ulong xyStyles[] = {0x1, 0x11, 0x1001};
        for (int r = 0; r < rows; ++r) {
            const bool xy = rng() % 3 == 0;
            const ulong style = xy ? xyStyles[rng() % 3] : timeStyles[rng() % 8];
            int count = 2000 + int(rng() % 100000);
            const bool windowed = (style & 0x120) != 0 || rng() % 2;
            int bound = windowed ? count - int(rng() % quint32(count / 2)) : 0;
            double y0 = -8.0 + (rng() % 100) * 0.1;
            double y1 = y0 + 0.3 + (rng() % 100) * 0.1;
            double x0 = -1.0, x1 = 1.0;
            if (xy) {
                x0 = -20.0 + (rng() % 220);
                x1 = x0 + 1.0 + (rng() % 100);
            } else if (rng() % 2) {
                x0 = -1.2 + (rng() % 1000) * 0.002;
                x1 = x0 + 0.1 + (rng() % 100) * 0.01;
            }
            Data data = xy ? (rng() % 2 ? Data::MonotonicGaps : Data::Monotonic) : (rng() % 2 ? Data::Gaps : Data::Noise);
            const long current = rng() % 2 ? long(rng() % quint32(count)) : -1;
            QSize size = sizes[rng() % 5];
            if (wide) {
                if (rng() % 3 == 0)
                    size = QSize(1 + int(rng() % 1100), 1 + int(rng() % 700));
                if (rng() % 4 == 0) {
                    count = 4 * size.width() + 1 + int(rng() % 64);
                    bound = windowed ? count - int(rng() % quint32(count / 2 + 1)) : 0;
                }
                if (rng() % 5 == 0) {
                    y0 = (rng() % 2 ? 6.5 : -9.0) + (rng() % 20) * 0.1;
                    y1 = y0 + 0.1 + (rng() % 30) * 0.1;
                }
                if (!xy && rng() % 5 == 0) {
                    x0 = -3.0 + (rng() % 200) * 0.01;
                    x1 = x0 + 2.0 + (rng() % 300) * 0.01;
                }
                if (xy && rng() % 3 == 0) {
                    data = Data::Steps;
                    x0 = (rng() % 400) * 0.5;
                    x1 = x0 + 1.0 + (rng() % 300);
                }
            }
            const Series row{style, bound, count, data, {x0, x1, y0, y1}, size, current};
            QTest::newRow(qPrintable(QStringLiteral("random %1/%2: style 0x%3, %4 of %5, %6 x %7")
                                         .arg(seed).arg(r).arg(style, 0, 16).arg(bound).arg(count)
                                         .arg(size.width()).arg(size.height())))
                << row;
        }
    }

private slots:
    void samePicture_data()
    {
        QTest::addColumn<Series>("s");
        const QList<double> window{-1, 1, -7, 7};
        const QSize size(400, 300);
        QTest::newRow("noisy line, 1M") << Series{0x0, 0, 1000000, Data::Noise, window, size, 300000};
        QTest::newRow("line with gaps") << Series{0x0, 0, 200000, Data::Gaps, window, size, 3100};
        QTest::newRow("gaps joined") << Series{0x1000, 0, 200000, Data::Gaps, window, size, 3100};
        QTest::newRow("scope mid-wrap") << Series{0x100, 100000, 150000, Data::Noise, window, size, -1};
        QTest::newRow("monotonic XY") << Series{0x1, 0, 300000, Data::Monotonic, {-10, 310, -7, 7}, size, 5000};
        QTest::newRow("non-monotonic XY") << Series{0x1, 0, 100000, Data::Walk, {-300, 300, -7, 7}, size, 5000};
        QTest::newRow("points") << Series{0x10, 0, 1000000, Data::Noise, window, size, 300000};
        // Wider graphs; a line leaving the viewport; extremes reached only next to a column edge.
        QTest::newRow("line, 800 wide, 25 per column") << Series{0x0, 0, 20000, Data::Noise, window, QSize(800, 600), -1};
        QTest::newRow("line beyond the viewport") << Series{0x0, 0, 1000000, Data::Noise, {-1, 1, -0.8, 0.9}, QSize(800, 600), -1};
        QTest::newRow("line beyond, odd size") << Series{0x0, 0, 1000000, Data::Noise, {-1, 1, -0.8, 0.9}, QSize(517, 333), -1};
        QTest::newRow("line beyond one edge") << Series{0x0, 0, 1000000, Data::Noise, {-1, 1, -2.5, 3.1}, QSize(640, 480), -1};
        QTest::newRow("gaps in every column") << Series{0x0, 0, 1000000, Data::Gaps, {-1.2, 1.3, -0.8, 0.9}, QSize(123, 99), -1};
        QTest::newRow("joined gaps, dense") << Series{0x1000, 0, 1000000, Data::Gaps, {-1, 1, -2.5, 3.1}, QSize(640, 480), -1};
        QTest::newRow("dense monotonic XY") << Series{0x1, 0, 1000000, Data::Monotonic, {-10, 1010, -2.5, 3.1}, QSize(640, 480), -1};
        QTest::newRow("sparse points") << Series{0x10, 0, 8000, Data::Noise, window, size, -1};
        QTest::newRow("XY points") << Series{0x11, 0, 300000, Data::Walk, {-300, 300, -7, 7}, size, -1};
        // Points over the edges: a point clipped there stands in for no other.
        QTest::newRow("points beyond the viewport") << Series{0x10, 0, 60950, Data::Noise, {-1.09, -0.38, 0.7, 3.6}, QSize(123, 99), -1};
        QTest::newRow("bars") << Series{0x20, 100000, 100000, Data::Noise, window, size, 5};
        QTest::newRow("zoomed window") << Series{0x0, 0, 1000000, Data::Gaps, {-0.31, -0.3, -3, 3}, size, -1};
        QTest::newRow("zoomed, sparse, odd size") << Series{0x0, 20000, 20000, Data::Noise, {-0.31, -0.3, -2.5, 3.1}, QSize(517, 333), -1};
        QTest::newRow("zoomed XY") << Series{0x1, 0, 300000, Data::Monotonic, {100, 104, -7, 7}, size, -1};
        // A joined line across gaps that reach over the window's edges (gap runs at samples
        // 3000 .. 3199 and 10000 .. 10199, one slot 1e-4 wide).
        QTest::newRow("joined gap over the right edge") << Series{0x1000, 20000, 20000, Data::Gaps, {-0.99, -0.69, -7, 7}, size, -1};
        QTest::newRow("joined gap over the left edge") << Series{0x1000, 20000, 20000, Data::Gaps, {0.01, 0.31, -7, 7}, size, -1};
        QTest::newRow("joined XY gap over the left edge") << Series{0x1001, 0, 300000, Data::MonotonicGaps, {3.1, 9.1, -7, 7}, size, -1};
        // Every sample right of the window: the first one is alone in its column.
        QTest::newRow("XY right of the window") << Series{0x1, 0, 300000, Data::Monotonic, {-40, -5, -7, 7}, size, -1};
        // Column 26's top row is reached only by a sample on its left edge; the row below it
        // only by the inner segments, too many to draw as they are.
        QTest::newRow("top row only at the column's edge") << Series{0x1001, 238365, 313853, Data::Steps, {522, 835.5, -5, 6.5}, QSize(123, 99), 268766};
        QTest::newRow("one pixel wide") << Series{0x0, 0, 100000, Data::Noise, window, QSize(1, 300), -1};

        // Random rows (fixed seed): sizes, styles, bounds, gaps, zoomed and shifted windows and
        // current values that no hand-made row combines.
        addRandomRows(20261125, 12, false);
        // A wider search for changes to the reduction, too slow for every run (about 10 s per
        // seed): KIV_DECIMATION_SEEDS=first[-last] adds 60 rows per seed, with any size,
        // about four samples per column, windows off the data and stepped x.
        const QStringList seeds = qEnvironmentVariable("KIV_DECIMATION_SEEDS").split(QLatin1Char('-'));
        if (!seeds.first().isEmpty()) {
            for (uint seed = seeds.first().toUInt(); seed <= seeds.last().toUInt(); ++seed)
                addRandomRows(seed, 60, true);
        }
    }

    void samePicture()
    {
        QFETCH(Series, s);
        TestGraph g;
        g.setAutoScaleMethod(KivNoAutoScale);
        KivDataSet* ds = g.addDataSet(s.style, QColor(0, 90, 200), ulong(s.bound));
        fill(*ds, s);
        ds->flush();
        if (s.current >= 0)
            ds->setScopeOffset(s.current);
        g.setAxisScale('x', s.box[0], s.box[1]);
        g.setAxisScale('y', s.box[2], s.box[3]);
        QVERIFY(graphtest::showAt(g, s.size.width(), s.size.height()));

        QVERIFY(ds->isDecimationEnabled());
        ds->setDecimationEnabled(false);
        const QImage full = g.grabFramebuffer();
        const velo::Matrix extents = ds->getLastMinMax();
        const QString text = ds->currentValueText();
        const QPointF position = ds->currentValuePosition();
        ds->setDecimationEnabled(true);
        // The first frame reduces the series (handing it to GL in chunks), the second draws
        // again what the first kept.
        for (int frame = 0; frame < 2; ++frame) {
            const QImage reduced = g.grabFramebuffer();
            QCOMPARE(reduced.size(), full.size());
            int differing = 0;
            for (int y = 0; y < full.height(); ++y) {
                for (int x = 0; x < full.width(); ++x)
                    differing += reduced.pixel(x, y) != full.pixel(x, y);
            }
            QVERIFY2(differing == 0, qPrintable(QString("frame %1: %2 pixels differ").arg(frame).arg(differing)));
            for (VoSize i = 0; i < 6; ++i)
                QCOMPARE(ds->getLastMinMax()(i / 2, i % 2), extents(i / 2, i % 2));
            QCOMPARE(ds->currentValueText(), text);
            QCOMPARE(ds->currentValuePosition(), position);
        }
    }

    // An unchanged series is drawn again from what its last frame kept: every change to what
    // it shows must still reach the next frame.
    void redrawFollowsChanges_data()
    {
        QTest::addColumn<int>("change");
        QTest::newRow("setData") << 0;
        QTest::newRow("addData") << 1;
        QTest::newRow("label format") << 2;
        QTest::newRow("scope offset") << 3;
        QTest::newRow("colour") << 4;
        QTest::newRow("zeroData") << 5;
        QTest::newRow("clear and refill") << 6;
        QTest::newRow("zoom") << 7;
    }

    void redrawFollowsChanges()
    {
        QFETCH(int, change);
        TestGraph g;
        g.setAutoScaleMethod(KivNoAutoScale);
        KivDataSet* ds = g.addDataSet(KivDataStyleLine, QColor(0, 90, 200), 100000);
        fill(*ds, Series{0x0, 100000, 100000, Data::Noise, {}, {}, -1});
        ds->setScopeOffset(50000);
        g.setAxisScale('x', -1.0, 1.0);
        g.setAxisScale('y', -7.0, 7.0);
        QVERIFY(graphtest::showAt(g, 400, 300));
        const QImage before = g.grabFramebuffer();
        QCOMPARE(g.grabFramebuffer(), before);
        switch (change) {
        case 0: ds->setData(70000, 6.5); break;
        case 1: ds->addData(6.5); break;
        case 2: ds->setLabelFormat(QStringLiteral("%.1f")); break;
        case 3: ds->setScopeOffset(20000); break;
        case 4: ds->setColor(Qt::red); break;
        case 5: ds->zeroData(); break;
        case 6: ds->clear(); fill(*ds, Series{0x0, 100000, 100000, Data::Gaps, {}, {}, -1}); break;
        case 7: g.setAxisScale('y', -6.0, 6.0); break;
        }
        const QImage reduced = g.grabFramebuffer();
        const QString text = ds->currentValueText();
        const velo::Matrix extents = ds->getLastMinMax();
        ds->setDecimationEnabled(false);
        const QImage full = g.grabFramebuffer();
        QVERIFY(reduced != before || change == 2);
        QVERIFY(reduced == full);
        QCOMPARE(text, ds->currentValueText());
        for (VoSize i = 0; i < 6; ++i)
            QCOMPARE(extents(i / 2, i % 2), ds->getLastMinMax()(i / 2, i % 2));
    }
};

QTEST_MAIN(TestGraphDecimation)
#include "tst_graphdecimation.moc"
