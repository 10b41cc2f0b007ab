// What the user sees while a gesture runs: the selection rectangle and its corner labels, the
// dragged scroll-bar slider, the data following a pan, and the measure read-out. Frames are
// grabbed from a shown 300 x 200 graph and compared with the frame before the gesture.

#include "pointertest.h"

#include <QColor>
#include <QDir>

using pointertest::GraphWindow;
using pointertest::near;
using pointertest::scale;

namespace {

bool isDark(QRgb c)
{
    return qRed(c) < 110 && qGreen(c) < 110 && qBlue(c) < 110;
}

int countDark(const QImage& img, const QRect& area)
{
    int n = 0;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            n += isDark(img.pixel(x, y)) ? 1 : 0;
    return n;
}

// Pixels of `after` that are `before` seen through a blue veil of 20 % opacity.
bool isVeiled(QRgb before, QRgb after)
{
    const auto blend = [](int c, int veil) { return c * 0.8 + veil * 0.2; };
    return std::abs(qRed(after) - blend(qRed(before), 0)) <= 3 && std::abs(qGreen(after) - blend(qGreen(before), 0)) <= 3
        && std::abs(qBlue(after) - blend(qBlue(before), 255)) <= 3;
}

int countVeiled(const QImage& before, const QImage& after, const QRect& area)
{
    int n = 0;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            n += isVeiled(before.pixel(x, y), after.pixel(x, y)) ? 1 : 0;
    return n;
}

int countChanged(const QImage& before, const QImage& after, const QRect& area)
{
    int n = 0;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            n += before.pixel(x, y) != after.pixel(x, y) ? 1 : 0;
    return n;
}

// Mean column of the red pixels of one row (the series is drawn in pure red), -1 if none.
double redColumn(const QImage& img, int row)
{
    double sum = 0.0;
    int n = 0;
    for (int x = 0; x < img.width(); ++x) {
        const QRgb c = img.pixel(x, row);
        if (qRed(c) > 200 && qGreen(c) < 80 && qBlue(c) < 80) {
            sum += x;
            ++n;
        }
    }
    return n ? sum / n : -1.0;
}

void save(const QImage& img, const char* name)
{
    const QString dir = qEnvironmentVariable("KIV_TEST_OUTPUT_DIR");
    if (!dir.isEmpty() && QDir().mkpath(dir))
        img.save(dir + QStringLiteral("/pointer_") + QLatin1String(name) + QStringLiteral(".png"));
}

} // namespace

class TestPointerPicture : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void selectionRectangle();
    void cornerLabelsStayInside();
    void activeSliderColour_data();
    void activeSliderColour();
    void dataFollowsPan_data();
    void dataFollowsPan();
    void measureReadOut();

private:
    QImage grab() { return g->grabFramebuffer().convertToFormat(QImage::Format_RGB32); }

    GraphWindow* win = nullptr;
    pointertest::CountingGraph* g = nullptr;
};

void TestPointerPicture::init()
{
    win = new GraphWindow(300, 200);
    g = win->graph;
    QVERIFY(pointertest::showAndWait(*win));
}

void TestPointerPicture::cleanup()
{
    delete win;
    win = nullptr;
    g = nullptr;
}

void TestPointerPicture::selectionRectangle()
{
    // A short series in the top-right corner, out of the way of the rectangle.
    KivDataSet* ds = g->addDataSet(1, QColor(Qt::red), 0);
    ds->addData(280.0, 190.0);
    ds->addData(290.0, 195.0);
    g->setAxisScale('x', 0.0, 300.0);
    g->setAxisScale('y', 0.0, 200.0);
    g->setControlState(KivGraph::ControlZoom);
    QVERIFY(pointertest::waitForFrame(g));
    const QImage before = grab();

    QTest::mousePress(g, Qt::LeftButton, Qt::NoModifier, QPoint(75, 50));
    QTest::mouseMove(g, QPoint(225, 150));
    const QImage during = grab();
    save(during, "selection");

    // The inside of the rectangle is veiled in blue, away from its outline.
    const QRect inside(80, 55, 140, 90);
    QCOMPARE(countVeiled(before, during, inside), inside.width() * inside.height());
    // So are the rectangle's extents on the two scroll-bar bands (the axis labels are written
    // over them, hence only most of the pixels).
    QVERIFY(countVeiled(before, during, QRect(2, 60, 8, 80)) > 8 * 80 / 2);
    QVERIFY(countVeiled(before, during, QRect(90, 190, 120, 8)) > 120 * 8 / 2);
    // The outline is dark blue.
    bool outline = false;
    for (int row = 49; row <= 51; ++row) {
        const QRgb edge = during.pixel(150, row);
        outline = outline || (qBlue(edge) > qRed(edge) + 30 && qRed(edge) < 110);
    }
    QVERIFY(outline);
    // Away from the rectangle, its guides and its labels nothing changed.
    QCOMPARE(countChanged(before, during, QRect(240, 20, 40, 20)), 0);
    QCOMPARE(countChanged(before, during, QRect(100, 160, 100, 20)), 0);
    // The corner values are written above the top-left and below the bottom-right corner.
    QVERIFY(countDark(during, QRect(0, 25, 75, 24)) > countDark(before, QRect(0, 25, 75, 24)) + 10);
    QVERIFY(countDark(during, QRect(226, 151, 74, 24)) > countDark(before, QRect(226, 151, 74, 24)) + 10);

    QTest::mouseRelease(g, Qt::LeftButton, Qt::NoModifier, QPoint(225, 150));
    const QImage after = grab();
    QVERIFY(countVeiled(before, after, inside) < inside.width() * inside.height() / 10);
}

void TestPointerPicture::cornerLabelsStayInside()
{
    KivDataSet* ds = g->addDataSet(1, QColor(Qt::red), 0);
    ds->addData(150.0, 100.0);
    ds->addData(151.0, 101.0);
    g->setAxisScale('x', 0.0, 300.0);
    g->setAxisScale('y', 0.0, 200.0);
    g->setControlState(KivGraph::ControlZoom);
    QVERIFY(pointertest::waitForFrame(g));
    const QImage before = grab();

    // From the top-left corner of the widget to its bottom-right corner: both labels would
    // leave the widget; they are moved back inside, on the rectangle's own corners.
    QTest::mousePress(g, Qt::LeftButton, Qt::NoModifier, QPoint(1, 1));
    QTest::mouseMove(g, QPoint(299, 199));
    const QImage during = grab();
    save(during, "corner_labels");
    QVERIFY(countDark(during, QRect(0, 0, 80, 20)) > countDark(before, QRect(0, 0, 80, 20)) + 10);
    QVERIFY(countDark(during, QRect(220, 180, 80, 20)) > countDark(before, QRect(220, 180, 80, 20)) + 10);
    QTest::mouseRelease(g, Qt::LeftButton, Qt::NoModifier, QPoint(299, 199));
}

void TestPointerPicture::activeSliderColour_data()
{
    QTest::addColumn<QPoint>("press");
    QTest::addColumn<QPoint>("slider");
    QTest::addColumn<QPoint>("otherSlider");

    QTest::newRow("horizontal") << QPoint(150, 195) << QPoint(150, 194) << QPoint(6, 100);
    QTest::newRow("vertical") << QPoint(5, 100) << QPoint(6, 100) << QPoint(150, 194);
}

void TestPointerPicture::activeSliderColour()
{
    QFETCH(QPoint, press);
    QFETCH(QPoint, slider);
    QFETCH(QPoint, otherSlider);

    KivDataSet* ds = g->addDataSet(1, QColor(Qt::red), 0);
    for (int i = 0; i <= 100; ++i)
        ds->addData(double(i), double(i));
    g->setAxisScale('x', 25.0, 75.0);
    g->setAxisScale('y', 25.0, 75.0);
    g->setControlState(KivGraph::ControlPan);
    QVERIFY(pointertest::waitForFrame(g));
    const QImage before = grab();
    // Both bars are shown: the view covers half of the data each way.
    QVERIFY(qBlue(before.pixel(slider)) > qRed(before.pixel(slider)) + 30);
    QVERIFY(qBlue(before.pixel(otherSlider)) > qRed(before.pixel(otherSlider)) + 30);

    QTest::mousePress(g, Qt::LeftButton, Qt::NoModifier, press);
    const QImage during = grab();
    save(during, QTest::currentDataTag()[0] == 'h' ? "slider_horizontal" : "slider_vertical");
    // The dragged slider darkens; the other one keeps its colour.
    QVERIFY2(qRed(during.pixel(slider)) < qRed(before.pixel(slider)) - 20,
             qPrintable(QString("%1 -> %2").arg(before.pixel(slider), 0, 16).arg(during.pixel(slider), 0, 16)));
    QCOMPARE(during.pixel(otherSlider), before.pixel(otherSlider));

    QTest::mouseRelease(g, Qt::LeftButton, Qt::NoModifier, press);
    const QImage after = grab();
    QCOMPARE(after.pixel(slider), before.pixel(slider));
}

void TestPointerPicture::dataFollowsPan_data()
{
    QTest::addColumn<Qt::MouseButton>("button");
    QTest::addColumn<int>("shift");
    QTest::newRow("left drags the data") << Qt::LeftButton << 30;
    QTest::newRow("right drags the view") << Qt::RightButton << -30;
}

void TestPointerPicture::dataFollowsPan()
{
    QFETCH(Qt::MouseButton, button);
    QFETCH(int, shift);

    // A vertical red line at x = 100.
    KivDataSet* ds = g->addDataSet(1, QColor(Qt::red), 0);
    ds->addData(100.0, -1000.0);
    ds->addData(100.0, 1000.0);
    g->setAxisScale('x', 0.0, 300.0);
    g->setAxisScale('y', 0.0, 200.0);
    g->setControlState(KivGraph::ControlPan);
    QVERIFY(pointertest::waitForFrame(g));
    const double x0 = redColumn(grab(), 60);
    QVERIFY2(std::fabs(x0 - 100.0) <= 1.5, qPrintable(QString::number(x0)));

    QTest::mousePress(g, button, Qt::NoModifier, QPoint(150, 100));
    QTest::mouseMove(g, QPoint(165, 100));
    QTest::mouseMove(g, QPoint(180, 100));
    const QImage during = grab();
    save(during, button == Qt::LeftButton ? "pan_left" : "pan_right");
    const double x1 = redColumn(during, 60);
    QVERIFY2(std::fabs(x1 - (x0 + shift)) <= 1.5, qPrintable(QString("%1 -> %2").arg(x0).arg(x1)));
    QTest::mouseRelease(g, button, Qt::NoModifier, QPoint(180, 100));
    QVERIFY(std::fabs(redColumn(grab(), 60) - x1) <= 0.5);
}

void TestPointerPicture::measureReadOut()
{
    KivDataSet* ds = g->addDataSet(0, QColor(Qt::red), 100);
    ds->setLabel(QStringLiteral("level"));
    for (int i = 0; i < 100; ++i)
        ds->addData(-0.5);
    g->setAxisScale('y', -1.0, 1.0);
    g->showMeasure(true);
    QVERIFY(pointertest::waitForFrame(g));
    const QImage before = grab();

    // The read-out stands beside the cursor, on the right of it in the left half...
    QTest::mouseMove(g, QPoint(75, 100));
    const QImage left = grab();
    save(left, "measure_left");
    QVERIFY(countDark(left, QRect(78, 0, 80, 45)) > countDark(before, QRect(78, 0, 80, 45)) + 20);
    QCOMPARE(countDark(left, QRect(4, 0, 66, 45)), countDark(before, QRect(4, 0, 66, 45)));

    // ... and on its left near the right edge, so that it stays readable.
    QTest::mouseMove(g, QPoint(290, 100));
    const QImage right = grab();
    save(right, "measure_right");
    QVERIFY(countDark(right, QRect(180, 0, 100, 45)) > countDark(before, QRect(180, 0, 100, 45)) + 20);

    // Leaving the graph takes it away again.
    QTest::mouseMove(win, QPoint(150, 220));
    QTRY_VERIFY(g->scopeOffset() == 0);
    const QImage gone = grab();
    QCOMPARE(countDark(gone, QRect(150, 0, 150, 45)), countDark(before, QRect(150, 0, 150, 45)));
}

QTEST_MAIN(TestPointerPicture)
#include "tst_pointerpicture.moc"
