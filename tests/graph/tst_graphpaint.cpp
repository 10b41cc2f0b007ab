// What a shown graph paints: the primitives of the background (OpenGL feedback
// mode) and the pixels of whole frames, including bad input that must neither crash nor smear.

#include "glfeedback.h"
#include "graphtesthelpers.h"

#include <QtTest>

#include <cfloat>
#include <cmath>
#include <limits>

using graphtest::TestGraph;
using graphtest::countColour;
using graphtest::countDark;
using graphtest::near;
using kivtest::Primitive;

namespace {

const QRgb White = qRgb(255, 255, 255);
const QRgb Red = qRgb(255, 0, 0);

// What drawBackground emits, in normalised device coordinates rounded to 1e-3: the x of each
// vertical line, the y of each horizontal one and the distinct y bands of the polygons.
struct Background { QList<double> verticalX, horizontalY, bands; }; // bands: low, high, low, high ...

Background captureBackground(TestGraph& g)
{
    g.makeCurrent();
    const auto prims = kivtest::captureFeedback([&] { g.drawBackground(nullptr); });
    g.doneCurrent();
    const auto ndc = [](double v, int size) { return std::round(kivtest::toNdc(v, size) * 1000.0) / 1000.0; };
    Background b;
    for (const Primitive& p : prims) {
        double lo = p.y(0), hi = p.y(0);
        for (int i = 1; i < p.vertexCount(); ++i) {
            lo = std::min(lo, p.y(i));
            hi = std::max(hi, p.y(i));
        }
        const QList<double> band = { ndc(lo, g.height()), ndc(hi, g.height()) };
        if (p.type == Primitive::Polygon) {
            if (b.bands.mid(b.bands.size() - 2) != band) // a quad may come as two triangles
                b.bands << band;
        } else if (p.type != Primitive::Line && p.type != Primitive::LineReset)
            continue;
        else if (qAbs(p.x(0) - p.x(1)) < 1e-3)
            b.verticalX << ndc(p.x(0), g.width());
        else if (hi - lo < 1e-3)
            b.horizontalY << ndc(lo, g.height());
    }
    std::sort(b.verticalX.begin(), b.verticalX.end());
    std::sort(b.horizontalY.begin(), b.horizontalY.end());
    return b;
}

} // namespace

class TestGraphPaint : public QObject
{
    Q_OBJECT

private slots:
    // Without samples only the text is drawn: black, centred, a line wide, nothing coloured.
    void noDataText()
    {
        for (int scenario = 0; scenario < 3; ++scenario) { // no series, an empty series, no text
            TestGraph g;
            if (scenario > 0)
                g.addDataSet(KivDataStyle2D, Qt::red, 0);
            if (scenario == 2)
                g.setNoDataText(QString());
            QVERIFY(graphtest::showAt(g, 300, 200));
            const QImage image = g.grabFramebuffer();
            QRect dark;
            for (int y = 0; y < image.height(); ++y)
                for (int x = 0; x < image.width(); ++x) {
                    QVERIFY(image.pixelColor(x, y).hsvSaturation() <= 30);
                    dark |= qGray(image.pixel(x, y)) < 100 ? QRect(x, y, 1, 1) : QRect();
                }
            QCOMPARE(image.pixel(5, 5), White);
            const QPoint c = dark.center();
            QVERIFY2(scenario == 2 ? dark.isNull() : qAbs(c.x() - 150) <= 3 && qAbs(c.y() - 100) <= 4 && dark.width() > 40,
                     qPrintable(QStringLiteral("text at %1, %2, %3 wide").arg(c.x()).arg(c.y()).arg(dark.width())));
        }
    }

    // 400 x 300, x -5 .. 5, y -2 .. 3: x step 2 (one line per 80 px), y step 0.5 (per 30 px).
    void backgroundPrimitives()
    {
        using L = QList<double>;
        const L gridX = { -0.8, -0.4, 0.0, 0.0, 0.4, 0.8 }; // one of the 0.0 is the zero line
        const L gridY = { -1.0, -0.8, -0.6, -0.4, -0.2, 0.0, 0.2, 0.4, 0.6, 0.8 };
        L withZeroY = gridY;
        withZeroY.insert(5, -0.2); // the x axis's zero line at y = 0
        L withValid = withZeroY + L { -0.6, 0.6 }; // edges of the valid range -1 .. 2
        std::sort(withValid.begin(), withValid.end());
        // Grid and zero lines, a valid range with its tinted bands (low, high each, in drawing
        // order), zero lines off, and bars, which label cells instead of drawing vertical grid
        // lines and have their zero line at the left.
        const struct { L verticalX, horizontalY, bands; } rows[] = {
            { gridX, withZeroY, {} }, { gridX, withValid, { 0.6, 1.0, -1.0, -0.6 } },
            { { -0.8, -0.4, 0.0, 0.4, 0.8 }, gridY, {} }, { { -1.0 }, withZeroY, {} } };
        for (int scenario = 0; scenario < 4; ++scenario) {
            TestGraph g;
            if (scenario == 3)
                g.addDataSet(KivDataStyle1D | KivDataStyleBar, Qt::red, 5)->addData(1.0);
            else
                g.addDataSet(KivDataStyle2D, Qt::red, 0)->addData(1.0, 1.0);
            g.setAxisScale('x', -5.0, 5.0);
            g.setAxisScale('y', -2.0, 3.0);
            if (scenario == 1)
                g.setValidRange(-1.0, 2.0, QStringLiteral("out of range"));
            if (scenario == 2)
                g.setAxisStyle('a', 0);
            QVERIFY(graphtest::showAt(g, 400, 300));
            g.grabFramebuffer(); // one frame scales the axes
            const Background b = captureBackground(g);
            QCOMPARE(QList<L>({ b.verticalX, b.horizontalY, b.bands }),
                     QList<L>({ rows[scenario].verticalX, rows[scenario].horizontalY, rows[scenario].bands }));
        }
    }

    // Red and blue run along x = 0, where a grid line and the zero line lie; red, the first series,
    // covers the others in every row. Green crosses every vertical grid line without a gap.
    void seriesDrawOverGridAndFirstSeriesOnTop()
    {
        TestGraph g;
        for (const QColor& colour : { QColor(Qt::red), QColor(Qt::blue) }) {
            KivDataSet* ds = g.addDataSet(KivDataStyle2D, colour, 0);
            ds->addData(0.0, -10.0);
            ds->addData(0.0, 10.0);
        }
        KivDataSet* across = g.addDataSet(KivDataStyle2D, Qt::green, 0);
        across->addData(-10.0, 0.0);
        across->addData(10.0, 0.0);
        g.setAxisScale('x', -5.0, 5.0);
        g.setAxisScale('y', -5.0, 5.0);
        QVERIFY(graphtest::showAt(g, 400, 300));
        for (int frame = 0; frame < 2; ++frame) { // the second frame draws the same
            g.update();
            const QImage image = g.grabFramebuffer();
            QVERIFY(frame > 0 || graphtest::saveFrame(image, QStringLiteral("graph-overlap.png")));
            int redRows = 0, bluePixels = 0, greenGaps = 0;
            for (int y = 20; y < 250; ++y) {
                if (qAbs(y - 150) < 3) // the green crossing
                    continue;
                redRows += countColour(image, Red, QRect(197, y, 7, 1), 40) > 0 ? 1 : 0;
                bluePixels += countColour(image, qRgb(0, 0, 255), QRect(197, y, 7, 1), 40);
            }
            for (int x = 30; x < 370; ++x)
                greenGaps += qAbs(x - 200) > 3 && countColour(image, qRgb(0, 255, 0), QRect(x, 147, 1, 7), 40) == 0 ? 1 : 0;
            QCOMPARE(QList<int>({ redRows, bluePixels, greenGaps }), QList<int>({ 250 - 20 - 5, 0, 0 }));
        }
    }

    void gridStippleTintAndWarning()
    {
        TestGraph g;
        KivDataSet* ds = g.addDataSet(KivDataStyle2D, Qt::red, 0);
        ds->addData(-4.0, 0.0);
        ds->addData(4.0, 1.0);
        g.setAxisScale('x', -5.0, 5.0);
        g.setAxisScale('y', -2.0, 3.0);
        g.setValidRange(-1.0, 2.0, QStringLiteral("OUT OF RANGE"));
        QVERIFY(graphtest::showAt(g, 400, 300));
        QImage image = g.grabFramebuffer();

        // The vertical grid line at x = 2 (column 280) inside the valid range (rows 60 .. 240),
        // away from the horizontal grid lines: one pixel in three is set by the 0x9249 pattern.
        int grey = 0, white = 0;
        for (int y = 65; y < 235; ++y) {
            const double gy = 1.0 - 2.0 * (y + 0.5) / 300.0;
            if (std::fmod(std::fabs(gy + 1.0) + 0.005, 0.2) < 0.03)
                continue;
            grey += countColour(image, qRgb(128, 128, 128), QRect(278, y, 5, 1), 10) > 0 ? 1 : 0;
            white += countColour(image, White, QRect(278, y, 5, 1), 2) == 5 ? 1 : 0;
        }
        QVERIFY2(grey > (grey + white) / 5 && grey < (grey + white) / 2,
                 qPrintable(QStringLiteral("%1 of %2").arg(grey).arg(grey + white)));

        // Tint outside the valid range, up to the right edge; clean background inside.
        const QRgb tint = qRgb(255, 255, 178);
        QVERIFY(near(image.pixel(250, 30), tint, 2) && near(image.pixel(398, 30), tint, 2));
        QVERIFY(near(image.pixel(250, 262), tint, 2));
        QCOMPARE(image.pixel(250, 130), White);
        // The warning appears in the top strip only when data leave the range. Columns 196 .. 205
        // hold the zero line.
        const auto warning = [](const QImage& i) {
            return countDark(i, QRect(100, 0, 95, 14)) + countDark(i, QRect(206, 0, 95, 14));
        };
        QCOMPARE(warning(image), 0);
        ds->addData(0.0, 2.8);
        g.update();
        image = g.grabFramebuffer();
        QVERIFY(graphtest::saveFrame(image, QStringLiteral("graph-validrange.png")));
        QVERIFY(warning(image) > 20);
    }

    void horizontalScrollBar()
    {
        TestGraph g;
        KivDataSet* ds = g.addDataSet(KivDataStyle2D, Qt::red, 0);
        ds->addData(0.0, 0.0);
        ds->addData(100.0, 1.0);
        g.setAxisScale('x', 20.0, 40.0);
        g.setAxisScale('y', -1.0, 2.0);
        QVERIFY(graphtest::showAt(g, 400, 300));
        const QImage image = g.grabFramebuffer();
        QVERIFY(graphtest::saveFrame(image, QStringLiteral("graph-scrollbar.png")));
        // Track along the bottom 12 rows, the slider (20 .. 40 of 0 .. 100) darker and bluer; the
        // grid labels move up above it, the first one at the left edge always written.
        const QRgb track = qRgb(204, 204, 255), slider = image.pixel(120, 294);
        QVERIFY(near(image.pixel(310, 294), track, 6) && !near(image.pixel(310, 284), track, 6));
        QVERIFY(qBlue(slider) > qRed(slider) + 60 && qRed(slider) < qRed(track) - 20);
        QVERIFY(countDark(image, QRect(0, 270, 18, 18)) > 5 && countDark(image, QRect(0, 288, 400, 12)) == 0);

        g.setAxisScale('x', -1.0, 101.0); // data in view again: the bar goes
        QVERIFY(!near(g.grabFramebuffer().pixel(310, 294), track, 6));
        g.setAxisScale('y', 0.2, 0.4); // the vertical bar, along the left edge, only without auto scaling
        QVERIFY(near(g.grabFramebuffer().pixel(5, 20), track, 6));
        g.setAutoScaleMethod(KivExpandToFit);
        QVERIFY(!g.isVerticalScrollbarVisible(g.calculateMinMaxScales()));
    }

    // Labels: the text of a time, then the pictures left in $KIV_TEST_OUTPUT_DIR, a time series
    // with time labels and bars with category labels.
    void labels()
    {
        const QColor blue(0, 90, 200);
        const auto frame = [](TestGraph& g, int w, int h, const QString& file) {
            graphtest::showAt(g, w, h);
            g.grabFramebuffer(); // scales the axes
            g.update();
            const QImage image = g.grabFramebuffer();
            return graphtest::saveFrame(image, file) ? image : QImage();
        };
        TestGraph ts;
        KivDataSet* ds = ts.addDataSet(KivDataStyle1D, blue, 400);
        const struct { double time; const char* text; } times[] = {
            { -75.5, "-1:15.500" }, { 3725.25, " 1:02:05.250" }, { 0.25, " 0.250" }, { -0.25, "-0.250" },
            { 4147200.0, " 0.000" }, // wraps at 48 days
            { 36000.0, "10:00:00.000" }, { -600.0, "-10:00.000" }, { std::nan(""), " 0.000" },
        };
        for (const auto& c : times) {
            ds->setTime(1.0, c.time);
            // Nothing drawn yet: position 0 (rounded) is the newest sample, whose time is `time`.
            QCOMPARE(ts.generateTimeString(*ds, 0.0), QString::fromLatin1(c.text));
            QCOMPARE(ts.generateTimeString(*ds, 0.4), QString::fromLatin1(c.text));
        }
        ds->setTime(0.05, 3590.0);
        for (int i = 0; i < 400; ++i)
            ds->addData(10.0 * std::sin(i * 0.05) + 2.0 * std::sin(i * 0.7));
        ts.setAxisStyle('x', KivAxisStyleTimeLabels | KivAxisStyleZeroLine);
        ts.setAutoScaleMethod(KivFullFit);
        QImage image = frame(ts, 640, 360, QStringLiteral("graph-timeseries.png"));
        QVERIFY(countDark(image, QRect(0, 340, 640, 20)) > 100); // time labels

        TestGraph bars;
        KivDataSet* week = bars.addDataSet(KivDataStyle1D | KivDataStyleBar, blue, 6);
        const QStringList names = { "Mon", "Tue", "Wed", "Thu", "Fri", "Sat" };
        for (int i = 0; i < 6; ++i) {
            week->setDataLabel(i, names.at(i));
            week->setData(i, i == 2 ? -2.0 : 1.5 * (i + 1));
        }
        bars.setAxisScale('y', -3.0, 10.0);
        image = frame(bars, 600, 300, QStringLiteral("graph-bars.png"));
        for (int cell = 0; cell < 6; ++cell) // one label per 100-pixel cell
            QVERIFY2(countDark(image, QRect(cell * 100, 280, 100, 20)) > 10, qPrintable(names.at(cell)));
        QVERIFY(countColour(image, blue.rgb(), image.rect(), 20) > 2000);
    }

    // Bad samples and scales: the frame is drawn with finite scales, the bad series leaves at most
    // a few pixels and nothing smears over the picture. A white series keeps the graph non-empty.
    void badInput()
    {
        const double NaN = std::nan("");
        const double Inf = std::numeric_limits<double>::infinity();
        const QList<QPointF> diagonal = { { -0.5, -0.5 }, { 0.5, 0.5 } };
        const struct { const char* name; QList<QPointF> points; KivAutoScaleMethod method; double yMin, yMax, yMinScale;
                       bool hidden, removedAfterFirstFrame; int maxSeriesPixels; } cases[] = {
            { "nan scale", diagonal, KivNoAutoScale, NaN, 1, 0.1, false, false, 400 },
            { "huge values", { { -1e300, 1e300 }, { 1e300, 1e300 }, { 1e300, -1e300 } }, KivNoAutoScale, -1, 1, 0.1, false, false, 0 },
            { "only gaps", { { DBL_MAX, DBL_MAX }, { 0, DBL_MAX }, { DBL_MAX, 0 } }, KivNoAutoScale, -1, 1, 0.1, false, false, 0 },
            { "zero span", { { -0.5, 0.25 }, { 0.5, 0.25 } }, KivNoAutoScale, 0.25, 0.25, 0.0, false, false, 2000 },
            { "invisible series", diagonal, KivFullFit, -1, 1, 0.1, true, false, 0 },
            { "full fit of gaps", { { DBL_MAX, DBL_MAX } }, KivFullFit, -1, 1, 0.1, false, false, 0 },
            { "infinite samples", { { Inf, 0 }, { 0, -Inf }, { NaN, NaN } }, KivExpandToFit, -1, 1, 0.1, false, false, 0 },
            { "removed between frames", diagonal, KivNoAutoScale, -1, 1, 0.1, false, true, 0 },
        };
        for (const auto& c : cases) {
            TestGraph g;
            KivDataSet* ds = g.addDataSet(KivDataStyle2D, Qt::red, 0);
            g.addDataSet(KivDataStyle2D, Qt::white, 0)->addData(0.0, 0.0);
            for (const QPointF& p : c.points)
                ds->addData(p.x(), p.y());
            ds->setVisible(!c.hidden);
            g.setAutoScaleMethod(c.method);
            g.setAxisMinScale('y', c.yMinScale);
            g.setAxisScale('y', c.yMin, c.yMax);
            QVERIFY(graphtest::showAt(g, 300, 200));
            g.grabFramebuffer();
            if (c.removedAfterFirstFrame) {
                g.removeDataSet(ds);
                g.update();
            }
            const QImage image = g.grabFramebuffer();
            for (int a = 0; a < 3; ++a) {
                const KivAxisInfo& axis = g.axisInfo(a);
                QVERIFY2(std::isfinite(axis.scaleMin) && std::isfinite(axis.scaleMax), c.name);
                QVERIFY2(axis.scaleMax > axis.scaleMin || c.yMinScale == 0.0, c.name);
            }
            const int red = countColour(image, Red, image.rect(), 60);
            QVERIFY2(red <= c.maxSeriesPixels, qPrintable(QStringLiteral("%1: %2 red pixels").arg(c.name).arg(red)));
            // The corners away from the labels keep the background.
            QVERIFY2(image.pixel(image.width() - 3, 3) == White && image.pixel(3, image.height() - 30) != Red, c.name);
        }
    }
};

QTEST_MAIN(TestGraphPaint)
#include "tst_graphpaint.moc"
