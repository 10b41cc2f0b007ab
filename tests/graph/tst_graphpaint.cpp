// What a shown graph paints: the primitives of the background (OpenGL feedback mode) and the
// pixels of whole frames, including bad input that must neither crash nor smear the picture.

#include "glfeedback.h"
#include "graphtesthelpers.h"

#include <QtTest>

#include <cfloat>
#include <cmath>
#include <limits>

using graphtest::TestGraph;

namespace {

const QRgb White = qRgb(255, 255, 255);
const QRgb Red = qRgb(255, 0, 0);
const QRgb Blue = qRgb(0, 0, 255);
const QRgb Grey = qRgb(128, 128, 128);

bool isDark(QRgb c)
{
    return qGray(c) < 100;
}

int countColour(const QImage& image, QRgb colour, const QRect& area, int tolerance = 8)
{
    int n = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            if (graphtest::near(image.pixel(x, y), colour, tolerance))
                ++n;
        }
    }
    return n;
}

// Segments of the captured lines, in graph space, rounded to 1e-3.
struct Segments {
    QList<double> verticalX;
    QList<double> horizontalY;
    QList<QPair<double, double>> polygonsY; // min and max y of each polygon
};

double rounded(double v)
{
    return std::round(v * 1000.0) / 1000.0;
}

Segments classify(const std::vector<kivtest::Primitive>& prims, int w, int h)
{
    Segments s;
    for (const kivtest::Primitive& p : prims) {
        if (p.type == kivtest::Primitive::Polygon) {
            double lo = 1e9;
            double hi = -1e9;
            for (int i = 0; i < p.vertexCount(); ++i) {
                lo = std::min(lo, kivtest::toNdc(p.y(i), h));
                hi = std::max(hi, kivtest::toNdc(p.y(i), h));
            }
            s.polygonsY.append(qMakePair(rounded(lo), rounded(hi)));
            continue;
        }
        if (p.type != kivtest::Primitive::Line && p.type != kivtest::Primitive::LineReset)
            continue;
        const double x0 = kivtest::toNdc(p.x(0), w);
        const double x1 = kivtest::toNdc(p.x(1), w);
        const double y0 = kivtest::toNdc(p.y(0), h);
        const double y1 = kivtest::toNdc(p.y(1), h);
        if (qAbs(x0 - x1) < 1e-6)
            s.verticalX.append(rounded(x0));
        else if (qAbs(y0 - y1) < 1e-6)
            s.horizontalY.append(rounded(y0));
    }
    std::sort(s.verticalX.begin(), s.verticalX.end());
    std::sort(s.horizontalY.begin(), s.horizontalY.end());
    std::sort(s.polygonsY.begin(), s.polygonsY.end());
    return s;
}

} // namespace

class TestGraphPaint : public QObject
{
    Q_OBJECT

private:
    // A shown graph of w x h pixels with fixed scales and no auto scaling.
    static void prepare(TestGraph& g, int w, int h)
    {
        g.resize(w, h);
        g.show();
        QVERIFY(QTest::qWaitForWindowExposed(&g));
    }

private slots:
    void noDataText_data();
    void noDataText();
    void backgroundPrimitives_data();
    void backgroundPrimitives();
    void overlayPrimitives();
    void seriesDrawOverGridAndFirstSeriesOnTop();
    void gridIsStippled();
    void validRangeTintAndWarning();
    void horizontalScrollBar();
    void timeString_data();
    void timeString();
    void representativeFrames();
    void badInput_data();
    void badInput();
};

void TestGraphPaint::noDataText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("withEmptySeries");
    QTest::newRow("default text") << QStringLiteral("No Data Available") << false;
    QTest::newRow("default text, empty series") << QStringLiteral("No Data Available") << true;
    QTest::newRow("no text") << QString() << true;
}

void TestGraphPaint::noDataText()
{
    QFETCH(QString, text);
    QFETCH(bool, withEmptySeries);
    TestGraph g;
    if (withEmptySeries)
        g.addDataSet(KivDataStyle2D, Qt::red, 0);
    if (text.isEmpty())
        g.setNoDataText(text);
    prepare(g, 300, 200);
    const QImage image = g.grabFramebuffer();
    QCOMPARE(image.size(), QSize(300, 200));

    QRect dark;
    int others = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb c = image.pixel(x, y);
            if (isDark(c))
                dark |= QRect(x, y, 1, 1);
            else if (qMax(qMax(qRed(c), qGreen(c)), qBlue(c)) - qMin(qMin(qRed(c), qGreen(c)), qBlue(c)) > 30)
                ++others; // colour: neither the text, its anti-aliased edge nor the background
        }
    }
    QCOMPARE(others, 0);
    if (text.isEmpty()) {
        QVERIFY(dark.isNull());
        QCOMPARE(image.pixel(150, 100), White);
        return;
    }
    QVERIFY(!dark.isNull());
    QVERIFY2(qAbs(dark.center().x() - 150) <= 3, qPrintable(QString::number(dark.center().x())));
    QVERIFY2(qAbs(dark.center().y() - 100) <= 4, qPrintable(QString::number(dark.center().y())));
    QVERIFY(dark.width() > 40); // a whole line of text, not a stray pixel
}

void TestGraphPaint::backgroundPrimitives_data()
{
    QTest::addColumn<int>("scenario");
    QTest::addColumn<QList<double>>("verticalX");
    QTest::addColumn<QList<double>>("horizontalY");
    QTest::addColumn<int>("polygons");
    // 400 x 300, x -5 .. 5, y -2 .. 3: x step 2 (one line per 120 px), y step 0.5 (per 56 px).
    const QList<double> gridY = { -1.0, -0.8, -0.6, -0.4, -0.2, 0.0, 0.2, 0.4, 0.6, 0.8 };
    QList<double> withZeroY = gridY;
    withZeroY.insert(5, -0.2);
    QTest::newRow("grid and zero lines") << 0 << QList<double> { -0.8, -0.4, 0.0, 0.0, 0.4, 0.8 } << withZeroY << 0;
    QList<double> withValid = withZeroY;
    withValid << -0.6 << 0.6;
    std::sort(withValid.begin(), withValid.end());
    QTest::newRow("valid range") << 1 << QList<double> { -0.8, -0.4, 0.0, 0.0, 0.4, 0.8 } << withValid << 2;
    QTest::newRow("zero lines off") << 2 << QList<double> { -0.8, -0.4, 0.0, 0.4, 0.8 } << gridY << 0;
    // A bar time series labels cells instead of drawing vertical grid lines; its zero line
    // stands at the window's left edge.
    QTest::newRow("categories") << 3 << QList<double> { -1.0 } << withZeroY << 0;
}

void TestGraphPaint::backgroundPrimitives()
{
    QFETCH(int, scenario);
    QFETCH(QList<double>, verticalX);
    QFETCH(QList<double>, horizontalY);
    QFETCH(int, polygons);
    TestGraph g;
    if (scenario == 3) {
        KivDataSet* bars = g.addDataSet(KivDataStyle1D | KivDataStyleBar, Qt::red, 5);
        bars->addData(1.0);
    } else {
        g.addDataSet(KivDataStyle2D, Qt::red, 0)->addData(1.0, 1.0);
    }
    g.setAxisScale('x', -5.0, 5.0);
    g.setAxisScale('y', -2.0, 3.0);
    if (scenario == 1)
        g.setValidRange(-1.0, 2.0, QStringLiteral("out of range"));
    if (scenario == 2)
        g.setAxisStyle('a', 0);
    prepare(g, 400, 300);
    g.grabFramebuffer(); // one frame scales the axes

    g.makeCurrent();
    const auto prims = kivtest::captureFeedback([&] { g.drawBackground(nullptr); });
    g.doneCurrent();
    const Segments s = classify(prims, 400, 300);
    QCOMPARE(s.verticalX, verticalX);
    QCOMPARE(s.horizontalY, horizontalY);
    // A quad may come back split into triangles; count the tinted bands.
    QList<QPair<double, double>> bands = s.polygonsY;
    bands.erase(std::unique(bands.begin(), bands.end()), bands.end());
    QCOMPARE(bands.size(), polygons);
    if (polygons == 2) {
        QCOMPARE(bands.at(0), qMakePair(-1.0, -0.6));
        QCOMPARE(bands.at(1), qMakePair(0.6, 1.0));
    }
}

void TestGraphPaint::overlayPrimitives()
{
    TestGraph g;
    KivDataSet* ds = g.addDataSet(KivDataStyle2D, Qt::red, 0);
    ds->addData(0.0, 0.0);
    ds->addData(100.0, 10.0);
    g.setAxisScale('x', 25.0, 75.0);
    g.setAxisScale('y', 2.0, 4.0);
    prepare(g, 400, 300);
    g.grabFramebuffer(); // records the extents 0 .. 100, 0 .. 10

    g.makeCurrent();
    const velo::MatrixF<3, 2> box = g.calculateMinMaxScales();
    const auto horizontal = kivtest::captureFeedback([&] { g.drawHorizontalScrollBar(box); });
    const auto vertical = kivtest::captureFeedback([&] { g.drawVerticalScrollBar(box); });
    const auto selection = kivtest::captureFeedback(
        [&] { g.drawSelectionRectangle(QPointF(-0.5, 0.5), QPointF(0.25, -0.25)); });
    g.doneCurrent();

    // Horizontal bar: a track over the full width and a slider over 25 .. 75 of 0 .. 100,
    // both 12 pixels tall, then the slider's outline.
    QRectF track;
    QRectF slider;
    int outline = 0;
    for (const kivtest::Primitive& p : horizontal) {
        QRectF r;
        for (int i = 0; i < p.vertexCount(); ++i)
            r |= QRectF(p.x(i), p.y(i), 0.001, 0.001);
        if (p.type == kivtest::Primitive::Polygon)
            (r.width() > 390 ? track : slider) |= r;
        else
            ++outline;
    }
    QVERIFY(qAbs(track.left()) < 0.5 && qAbs(track.right() - 400) < 0.5);
    QVERIFY(qAbs(track.top()) < 0.5 && qAbs(track.bottom() - 12) < 0.5);
    QVERIFY(qAbs(slider.left() - 100) < 0.5 && qAbs(slider.right() - 300) < 0.5);
    QCOMPARE(outline, 4);

    // Vertical bar: 12 pixels wide along the left edge, slider over 2 .. 4 of 0 .. 10.
    QRectF vslider;
    for (const kivtest::Primitive& p : vertical) {
        if (p.type != kivtest::Primitive::Polygon)
            continue;
        QRectF r;
        for (int i = 0; i < p.vertexCount(); ++i)
            r |= QRectF(p.x(i), p.y(i), 0.001, 0.001);
        QVERIFY(r.right() < 12.5);
        if (r.height() < 290)
            vslider |= r;
    }
    QVERIFY(qAbs(vslider.top() - 60) < 0.5 && qAbs(vslider.bottom() - 120) < 0.5);

    // Selection: fill, outline, four guides from the axes and the two band marks.
    int lines = 0;
    QList<QRectF> fills;
    for (const kivtest::Primitive& p : selection) {
        if (p.type == kivtest::Primitive::Polygon) {
            QRectF r;
            for (int i = 0; i < p.vertexCount(); ++i)
                r |= QRectF(p.x(i), p.y(i), 0.001, 0.001);
            fills << r;
        } else {
            ++lines;
        }
    }
    QCOMPARE(lines, 8);
    bool rectangle = false;
    bool leftBand = false;
    bool bottomBand = false;
    for (const QRectF& r : fills) {
        rectangle = rectangle || (qAbs(r.left() - 100) < 0.5 && qAbs(r.right() - 250) < 0.5 && qAbs(r.top() - 112.5) < 0.5);
        leftBand = leftBand || (r.left() < 0.5 && qAbs(r.right() - 12) < 0.5 && qAbs(r.bottom() - 225) < 0.5);
        bottomBand = bottomBand || (r.top() < 0.5 && qAbs(r.bottom() - 12) < 0.5 && qAbs(r.right() - 250) < 0.5);
    }
    QVERIFY(rectangle);
    QVERIFY(leftBand);
    QVERIFY(bottomBand);
}

void TestGraphPaint::seriesDrawOverGridAndFirstSeriesOnTop()
{
    // Both series run along x = 0, exactly where a grid line and the y zero line lie.
    TestGraph g;
    KivDataSet* top = g.addDataSet(KivDataStyle2D, Qt::red, 0);
    KivDataSet* below = g.addDataSet(KivDataStyle2D, Qt::blue, 0);
    for (KivDataSet* ds : { top, below }) {
        ds->addData(0.0, -10.0);
        ds->addData(0.0, 10.0);
    }
    // A horizontal series of its own crosses every vertical grid line.
    KivDataSet* across = g.addDataSet(KivDataStyle2D, Qt::green, 0);
    across->addData(-10.0, 0.0);
    across->addData(10.0, 0.0);
    g.setAxisScale('x', -5.0, 5.0);
    g.setAxisScale('y', -5.0, 5.0);
    prepare(g, 400, 300);

    for (int frame = 0; frame < 2; ++frame) {
        const QImage image = frame == 0 ? g.grabFramebuffer() : (g.update(), g.grabFramebuffer());
        if (frame == 0)
            graphtest::saveFrame(image, QStringLiteral("graph-overlap.png"));
        int redRows = 0;
        int blueRows = 0;
        for (int y = 20; y < 250; ++y) {
            if (qAbs(y - 150) < 3)
                continue; // the crossing series
            bool red = false;
            for (int x = 197; x <= 203; ++x) {
                red = red || graphtest::near(image.pixel(x, y), Red, 40);
                blueRows += graphtest::near(image.pixel(x, y), Blue, 40) ? 1 : 0;
            }
            redRows += red ? 1 : 0;
        }
        QCOMPARE(redRows, 250 - 20 - 5);
        QCOMPARE(blueRows, 0);

        // The green series is not cut by the vertical grid lines at x = -4, -2, 2, 4.
        int greenGaps = 0;
        for (int x = 30; x < 370; ++x) {
            bool green = false;
            for (int y = 147; y <= 153; ++y)
                green = green || graphtest::near(image.pixel(x, y), qRgb(0, 255, 0), 40);
            if (!green && qAbs(x - 200) > 3)
                ++greenGaps;
        }
        QCOMPARE(greenGaps, 0);
    }
}

void TestGraphPaint::gridIsStippled()
{
    TestGraph g;
    g.addDataSet(KivDataStyle2D, Qt::red, 0)->addData(100.0, 100.0);
    g.setAxisScale('x', -5.0, 5.0);
    g.setAxisScale('y', -2.0, 3.0);
    prepare(g, 400, 300);
    const QImage image = g.grabFramebuffer();

    // The vertical grid line at x = 2 (column 280); skip rows near horizontal grid lines.
    int grey = 0;
    int white = 0;
    for (int y = 5; y < 270; ++y) {
        const double gy = 1.0 - 2.0 * (y + 0.5) / 300.0;
        if (std::fmod(std::fabs(gy + 1.0) + 0.005, 0.2) < 0.03)
            continue;
        bool onLine = false;
        bool background = true;
        for (int x = 278; x <= 282; ++x) {
            onLine = onLine || graphtest::near(image.pixel(x, y), Grey, 10);
            background = background && graphtest::near(image.pixel(x, y), White, 2);
        }
        grey += onLine ? 1 : 0;
        white += background ? 1 : 0;
    }
    // One pixel in three is set by the 0x9249 pattern.
    const int rows = grey + white;
    QVERIFY2(grey > rows / 5 && grey < rows / 2, qPrintable(QStringLiteral("%1 of %2").arg(grey).arg(rows)));
    // Between the lines the background stays clean.
    QCOMPARE(image.pixel(250, 37), White);
}

void TestGraphPaint::validRangeTintAndWarning()
{
    TestGraph g;
    KivDataSet* ds = g.addDataSet(KivDataStyle2D, Qt::red, 0);
    ds->addData(-4.0, 0.0);
    ds->addData(4.0, 1.0);
    g.setAxisScale('x', -5.0, 5.0);
    g.setAxisScale('y', -2.0, 3.0);
    g.setValidRange(-1.0, 2.0, QStringLiteral("OUT OF RANGE"));
    prepare(g, 400, 300);
    QImage image = g.grabFramebuffer();
    graphtest::saveFrame(image, QStringLiteral("graph-validrange-inside.png"));

    const QRgb tint = qRgb(255, 255, 178);
    // y = 2.5 (row 30) and y = -1.5 (row 270) lie outside the range; y = 0.75 inside.
    QVERIFY(graphtest::near(image.pixel(250, 30), tint, 2));
    QVERIFY(graphtest::near(image.pixel(250, 262), tint, 2));
    QCOMPARE(image.pixel(250, 130), White);
    // The tint stops short of the right edge by a hair, not by a pixel column.
    QVERIFY(graphtest::near(image.pixel(398, 30), tint, 2));
    // Inside the range: no warning text in the top strip.
    // (Columns 195..205 hold the y zero line.)
    const QRect stripLeft(100, 0, 95, 14);
    const QRect stripRight(206, 0, 95, 14);
    QCOMPARE(countColour(image, qRgb(0, 0, 0), stripLeft, 90) + countColour(image, qRgb(0, 0, 0), stripRight, 90), 0);

    ds->addData(0.0, 2.8);
    g.update();
    image = g.grabFramebuffer();
    graphtest::saveFrame(image, QStringLiteral("graph-validrange.png"));
    QVERIFY(countColour(image, qRgb(0, 0, 0), stripLeft, 90) + countColour(image, qRgb(0, 0, 0), stripRight, 90) > 20);
}

void TestGraphPaint::horizontalScrollBar()
{
    TestGraph g;
    KivDataSet* ds = g.addDataSet(KivDataStyle2D, Qt::red, 0);
    ds->addData(0.0, 0.0);
    ds->addData(100.0, 1.0);
    g.setAxisScale('x', -10.0, 110.0);
    g.setAxisScale('y', -1.0, 2.0);
    prepare(g, 400, 300);
    QImage image = g.grabFramebuffer();
    QVERIFY(!g.isHorizontalScrollbarVisible(g.calculateMinMaxScales()));
    QVERIFY(!g.isVerticalScrollbarVisible(g.calculateMinMaxScales()));
    const QRgb track = qRgb(204, 204, 255);
    QVERIFY(!graphtest::near(image.pixel(310, 296), track, 6));

    g.setAxisScale('x', 20.0, 40.0);
    image = g.grabFramebuffer();
    graphtest::saveFrame(image, QStringLiteral("graph-scrollbar.png"));
    QVERIFY(g.isHorizontalScrollbarVisible(g.calculateMinMaxScales()));
    // Track everywhere along the bottom 12 rows; the slider (20..40 of 0..100) darker.
    QVERIFY(graphtest::near(image.pixel(310, 294), track, 6));
    QVERIFY(!graphtest::near(image.pixel(310, 284), track, 6));
    // Grid labels move up above the bar; the first one, at the left edge, is always written.
    QVERIFY(countColour(image, qRgb(0, 0, 0), QRect(0, 270, 18, 18), 100) > 5);
    QCOMPARE(countColour(image, qRgb(0, 0, 0), QRect(0, 288, 400, 12), 100), 0);
    const QRgb slider = image.pixel(120, 294);
    QVERIFY(qBlue(slider) > qRed(slider) + 60);
    QVERIFY(qRed(slider) < qRed(track) - 20);

    // With the view covering the data again it goes.
    g.setAxisScale('x', -1.0, 101.0);
    image = g.grabFramebuffer();
    QVERIFY(!graphtest::near(image.pixel(310, 294), track, 6));

    // The vertical bar only without auto scaling.
    g.setAxisScale('y', 0.2, 0.4);
    QVERIFY(g.isVerticalScrollbarVisible(g.calculateMinMaxScales()));
    g.setAutoScaleMethod(KivExpandToFit);
    QVERIFY(!g.isVerticalScrollbarVisible(g.calculateMinMaxScales()));
}

void TestGraphPaint::timeString_data()
{
    QTest::addColumn<double>("time");
    QTest::addColumn<QString>("text");
    QTest::newRow("negative minutes") << -75.5 << "-1:15.500";
    QTest::newRow("hours") << 3725.25 << " 1:02:05.250";
    QTest::newRow("seconds") << 0.25 << " 0.250";
    QTest::newRow("wraps at 48 days") << 4147200.0 << " 0.000";
    QTest::newRow("negative seconds") << -0.25 << "-0.250";
    QTest::newRow("two-digit hours") << 36000.0 << "10:00:00.000";
    QTest::newRow("negative two-digit minutes") << -600.0 << "-10:00.000";
    QTest::newRow("nan") << std::nan("") << " 0.000";
}

void TestGraphPaint::timeString()
{
    QFETCH(double, time);
    QFETCH(QString, text);
    TestGraph g;
    KivDataSet* ds = g.addDataSet(KivDataStyle1D, Qt::red, 100);
    ds->setTime(1.0, time);
    // Nothing drawn yet: position 0 is the newest sample, whose time is `time`.
    QCOMPARE(g.generateTimeString(*ds, 0.0), text);
    QCOMPARE(g.generateTimeString(*ds, 0.4), text);
}

void TestGraphPaint::representativeFrames()
{
    kivtest::GLContextScope probe;
    QVERIFY(probe.isValid());
    probe.context.doneCurrent();

    {
        TestGraph g;
        KivDataSet* ds = g.addDataSet(KivDataStyle1D, QColor(0, 90, 200), 400);
        KivDataSet* ref = g.addDataSet(KivDataStyle1D, QColor(220, 60, 0), 400);
        ds->setTime(0.05, 3590.0);
        for (int i = 0; i < 400; ++i) {
            ds->addData(10.0 * std::sin(i * 0.05) + 2.0 * std::sin(i * 0.7));
            ref->addData(6.0 * std::cos(i * 0.03));
        }
        g.setAxisStyle('x', KivAxisStyleTimeLabels | KivAxisStyleZeroLine);
        g.setAutoScaleMethod(KivFullFit);
        prepare(g, 640, 360);
        g.grabFramebuffer();
        const QImage image = g.grabFramebuffer();
        graphtest::saveFrame(image, QStringLiteral("graph-timeseries.png"));
        QVERIFY(countColour(image, QColor(0, 90, 200).rgb(), image.rect(), 30) > 300);
        QVERIFY(countColour(image, QColor(220, 60, 0).rgb(), image.rect(), 30) > 300);
        // Time labels along the bottom.
        int dark = 0;
        for (int x = 0; x < 640; ++x)
            for (int y = 340; y < 360; ++y)
                dark += isDark(image.pixel(x, y)) ? 1 : 0;
        QVERIFY(dark > 100);
    }
    {
        TestGraph g;
        KivDataSet* ds = g.addDataSet(KivDataStyle2D | KivDataStylePoints, QColor(200, 0, 120), 0);
        KivDataSet* curve = g.addDataSet(KivDataStyle2D, QColor(0, 140, 0), 0);
        for (int i = 0; i < 2000; ++i) {
            const double t = i * 0.01;
            ds->addData(3.0 * std::sin(3.0 * t), 2.0 * std::cos(2.0 * t));
            curve->addData(t - 10.0, std::sin(t));
        }
        g.setAutoScaleMethod(KivFullFit);
        prepare(g, 640, 360);
        g.grabFramebuffer();
        const QImage image = g.grabFramebuffer();
        graphtest::saveFrame(image, QStringLiteral("graph-xy.png"));
        QVERIFY(countColour(image, QColor(0, 140, 0).rgb(), image.rect(), 30) > 300);
        QVERIFY(countColour(image, QColor(200, 0, 120).rgb(), image.rect(), 30) > 300);
        QCOMPARE(g.axisInfo(0).scaleMin, -10.0 - 0.03 * 19.99);
    }
    {
        TestGraph g;
        KivDataSet* ds = g.addDataSet(KivDataStyle1D | KivDataStyleBar, QColor(60, 120, 200), 6);
        const QStringList names = { "Mon", "Tue", "Wed", "Thu", "Fri", "Sat" };
        for (int i = 0; i < names.size(); ++i)
            ds->setDataLabel(i, names.at(i));
        g.setAxisScale('y', -3.0, 10.0);
        prepare(g, 600, 300);
        g.grabFramebuffer(); // moves the zero-filled slots into view
        for (int i = 0; i < 6; ++i)
            ds->setData(i, i == 2 ? -2.0 : 1.5 * (i + 1));
        g.update();
        const QImage image = g.grabFramebuffer();
        graphtest::saveFrame(image, QStringLiteral("graph-bars.png"));
        // One label per 100-pixel cell along the bottom edge.
        for (int cell = 0; cell < 6; ++cell) {
            int dark = 0;
            for (int x = cell * 100; x < cell * 100 + 100; ++x)
                for (int y = 280; y < 300; ++y)
                    dark += isDark(image.pixel(x, y)) ? 1 : 0;
            QVERIFY2(dark > 10, qPrintable(names.at(cell)));
        }
        QVERIFY(countColour(image, QColor(60, 120, 200).rgb(), image.rect(), 20) > 2000);
    }
}

void TestGraphPaint::badInput_data()
{
    QTest::addColumn<int>("scenario");
    QTest::addColumn<int>("maxSeriesPixels");
    QTest::newRow("nan scale") << 0 << 400;
    QTest::newRow("huge values outside the limits") << 1 << 0;
    QTest::newRow("only gaps") << 2 << 0;
    QTest::newRow("zero span") << 3 << 2000;
    QTest::newRow("invisible series") << 4 << 0;
    QTest::newRow("full fit of gaps") << 5 << 0;
    QTest::newRow("infinite samples") << 6 << 0;
    QTest::newRow("removed between frames") << 7 << 0;
}

void TestGraphPaint::badInput()
{
    QFETCH(int, scenario);
    QFETCH(int, maxSeriesPixels);
    TestGraph g;
    KivDataSet* ds = g.addDataSet(KivDataStyle2D, Qt::red, 0);
    g.addDataSet(KivDataStyle2D, Qt::white, 0)->addData(0.0, 0.0); // keeps the frame non-empty
    switch (scenario) {
    case 0:
        ds->addData(-0.5, -0.5);
        ds->addData(0.5, 0.5);
        g.setAxisScale('y', std::nan(""), 1.0);
        break;
    case 1:
        ds->addData(-1e300, 1e300);
        ds->addData(1e300, 1e300);
        ds->addData(1e300, -1e300);
        g.setAxisScale('x', -1.0, 1.0);
        g.setAxisScale('y', -1.0, 1.0);
        break;
    case 2:
        ds->addData(DBL_MAX, DBL_MAX);
        ds->addData(0.0, DBL_MAX);
        ds->addData(DBL_MAX, 0.0);
        break;
    case 3:
        ds->addData(-0.5, 0.25);
        ds->addData(0.5, 0.25);
        g.setAxisMinScale('y', 0.0);
        g.setAxisScale('y', 0.25, 0.25);
        break;
    case 4:
        ds->addData(-0.5, -0.5);
        ds->addData(0.5, 0.5);
        ds->setVisible(false);
        g.setAutoScaleMethod(KivFullFit);
        break;
    case 5:
        ds->addData(DBL_MAX, DBL_MAX);
        g.setAutoScaleMethod(KivFullFit);
        break;
    case 6:
        ds->addData(std::numeric_limits<double>::infinity(), 0.0);
        ds->addData(0.0, -std::numeric_limits<double>::infinity());
        ds->addData(std::nan(""), std::nan(""));
        g.setAutoScaleMethod(KivExpandToFit);
        break;
    case 7:
        ds->addData(-0.5, -0.5);
        ds->addData(0.5, 0.5);
        break;
    default:
        break;
    }
    prepare(g, 300, 200);
    g.grabFramebuffer();
    if (scenario == 7) {
        g.removeDataSet(ds);
        g.update();
    }
    const QImage image = g.grabFramebuffer();
    for (int a = 0; a < 3; ++a) {
        QVERIFY(std::isfinite(g.axisInfo(a).scaleMin));
        QVERIFY(std::isfinite(g.axisInfo(a).scaleMax));
        QVERIFY(g.axisInfo(a).scaleMax > g.axisInfo(a).scaleMin || scenario == 3);
    }
    const int red = countColour(image, Red, image.rect(), 60);
    QVERIFY2(red <= maxSeriesPixels, qPrintable(QString::number(red)));
    // Nothing smears over the frame: the corners away from labels keep the background.
    QCOMPARE(image.pixel(image.width() - 3, 3), White);
    QVERIFY(image.pixel(3, image.height() - 30) != Red);
}

QTEST_MAIN(TestGraphPaint)
#include "tst_graphpaint.moc"
