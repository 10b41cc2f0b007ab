// The line model must light exactly the pixels the rasteriser lights, wherever it answers:
// short random segments, many on the pixel grid's knife edges, each in a cell of its own.

#include "kiv_linepixels_p.h"

#include <QOpenGLWidget>
#include <QtTest>

#include <random>

namespace {

constexpr int Cell = 16;

struct Segment { double ax, ay, bx, by; };

class Segments : public QOpenGLWidget
{
public:
    std::vector<Segment> segments;

protected:
    void paintGL() override
    {
        glClearColor(0.0f, 0.0f, 0.0f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT);
        glColor3d(1.0, 1.0, 1.0);
        glBegin(GL_LINES);
        for (const Segment& s : segments) {
            glVertex2d(s.ax, s.ay);
            glVertex2d(s.bx, s.by);
        }
        glEnd();
    }
};

// An end in window pixels within the cell at (x0, y0): anywhere, on a 1/256 step, or on a
// pixel centre or edge give or take a knife's width.
double coordinate(std::mt19937& rng, double origin, int kind)
{
    std::uniform_real_distribution<double> inside(4.0, 12.0);
    const double knives[] = {0.0, 1.0 / 512, -1.0 / 512, 1.0 / 1024, -1.0 / 1024, 1e-6};
    switch (kind) {
    case 0: return origin + inside(rng);
    case 1: return origin + std::round(inside(rng) * 256.0) / 256.0;
    default: return origin + std::round(inside(rng) * 2.0) / 2.0 + knives[rng() % 6];
    }
}

} // namespace

class TestLinePixels : public QObject
{
    Q_OBJECT

private slots:
    void sameAsRasteriser_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::newRow("800 x 600") << QSize(800, 600);
        QTest::newRow("odd size") << QSize(1001, 257);
    }

    void sameAsRasteriser()
    {
        QFETCH(QSize, size);
        Segments view;
        view.resize(size);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        std::mt19937 rng(7);
        const int columns = size.width() / Cell;
        const int rows = size.height() / Cell;
        auto graph = [](double w, int extent) { return w / (extent * 0.5) - 1.0; };
        int known = 0, total = 0;
        for (int batch = 0; batch < 3; ++batch) {
            view.segments.clear();
            for (int j = 0; j < rows; ++j) {
                for (int i = 0; i < columns; ++i) {
                    const int kind = int(rng() % 4);
                    double ax = coordinate(rng, i * Cell, kind % 3), ay = coordinate(rng, j * Cell, kind % 3);
                    double bx = coordinate(rng, i * Cell, kind % 3), by = coordinate(rng, j * Cell, kind % 3);
                    if (kind == 3) // nearly upright across a column edge, as between dense samples
                        bx = ax = std::round(ax) + 1e-4 * double(int(rng() % 21) - 10);
                    view.segments.push_back(Segment{graph(ax, size.width()), graph(ay, size.height()),
                                                    graph(bx, size.width()), graph(by, size.height())});
                }
            }
            const QImage image = view.grabFramebuffer();
            KivLinePixels line(size.width(), size.height());
            for (int k = 0; k < int(view.segments.size()); ++k) {
                const Segment& s = view.segments[size_t(k)];
                ++total;
                if (!line.setSegment(s.ax, s.ay, s.bx, s.by))
                    continue;
                ++known;
                const int x0 = (k % columns) * Cell;
                const int y0 = (k / columns) * Cell;
                const QString where = QStringLiteral("segment (%1, %2) - (%3, %4)")
                                          .arg(s.ax, 0, 'g', 17).arg(s.ay, 0, 'g', 17)
                                          .arg(s.bx, 0, 'g', 17).arg(s.by, 0, 'g', 17);
                for (int x = x0; x < x0 + Cell; ++x) {
                    long low = 0, high = -1; // the lit rows of this column, as the rasteriser drew them
                    for (int y = y0; y < y0 + Cell; ++y) {
                        const bool lit = qRed(image.pixel(x, size.height() - 1 - y)) > 128;
                        if (lit != line.lights(x, y))
                            QFAIL(qPrintable(where + QStringLiteral(": pixel (%1, %2)").arg(x).arg(y)));
                        if (lit && low > high)
                            low = y;
                        if (lit)
                            high = y;
                    }
                    long modelLow, modelHigh;
                    line.rowsIn(x, modelLow, modelHigh);
                    if (modelLow > modelHigh ? low <= high : (modelLow != low || modelHigh != high))
                        QFAIL(qPrintable(where + QStringLiteral(": rows of column %1").arg(x)));
                }
            }
        }
        // The model answers for nearly every segment; the rest are drawn as they are.
        QVERIFY2(known > total * 9 / 10, qPrintable(QStringLiteral("%1 of %2 known").arg(known).arg(total)));
    }
};

QTEST_MAIN(TestLinePixels)
#include "tst_linepixels.moc"
