// Export as a host sees it: saved pictures and documents, tick labels in grab() and render(),
// the picture at pixel ratio 2, and CSV of known samples, also while producers add more.

#include "kiv_base.h"
#include "kiv_dataset.h"
#include "kiv_graph.h"
#include "kiv_graph3d.h"
#include "kiv_graphwidget.h"
#include "kivtestutil.h"

#include <QPainter>
#include <QtTest>

#include <atomic>
#include <thread>

using kivtest::countPixels;

namespace {

bool isDark(QRgb p) { return qRed(p) < 100 && qGreen(p) < 100 && qBlue(p) < 100; }
bool isRed(QRgb p) { return qRed(p) > 150 && qGreen(p) < 100 && qBlue(p) < 100; }
bool isGrey(QRgb p) { return qAbs(qRed(p) - 128) < 40 && qAbs(qGreen(p) - 128) < 40 && qAbs(qBlue(p) - 128) < 40; }

// A sawtooth (0 to 6) in a 1-value series of 100 slots on white, y from -4 to 5 with a zero
// line; the samples above 5 bring up the translucent vertical scroll bar.
void fillGraph(KivGraph* g)
{
    g->setBackgroundColor(0xffffff);
    g->setAxisStyle('x', KivAxisStyleZeroLine);
    g->setAxisScale('y', -4.0, 5.0);
    KivDataSet* ds = g->addDataSet(KivDataStyle1D, Qt::red, 100);
    for (int i = 0; i < 80; ++i)
        ds->addData(i % 7);
}

QString tempPath(const QString& name)
{
    static QTemporaryDir dir;
    return dir.filePath(name);
}

} // namespace

class TestExport : public QObject
{
    Q_OBJECT

private slots:
    // Never-shown widgets of each kind saved by suffix, at their size or a requested one.
    void savedFiles_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("file");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<double>("scale");
        QTest::addColumn<QSize>("pixels"); // invalid: the save must fail

        QTest::newRow("graph png") << "graph" << "g.png" << QSize() << 1.0 << QSize(300, 200);
        QTest::newRow("graph jpeg requested") << "graph" << "g.jpeg" << QSize(400, 250) << 1.0 << QSize(400, 250);
        QTest::newRow("graph widget jpg") << "widget" << "w.jpg" << QSize(320, 240) << 1.0 << QSize(320, 240);
        QTest::newRow("panel png scale 2") << "panel" << "p.png" << QSize(500, 400) << 2.0 << QSize(1000, 800);
        QTest::newRow("panel pdf") << "panel" << "p.pdf" << QSize(500, 400) << 1.0 << QSize(500, 400);
        QTest::newRow("panel without tool bar") << "grid" << "p.png" << QSize(500, 300) << 1.0 << QSize(500, 300);
        QTest::newRow("3d png") << "3d" << "v.png" << QSize(200, 200) << 1.0 << QSize(200, 200);
        QTest::newRow("unknown suffix") << "graph" << "g.xyz" << QSize() << 1.0 << QSize();
        QTest::newRow("negative scale") << "graph" << "g2.png" << QSize() << -1.0 << QSize();
    }
    void savedFiles()
    {
        QFETCH(QString, kind);
        QFETCH(QString, file);
        QFETCH(QSize, size);
        QFETCH(double, scale);
        QFETCH(QSize, pixels);
        const QString path = tempPath(QString(QTest::currentDataTag()).replace(' ', '_') + file);
        bool saved = false;
        if (kind == "graph") {
            KivGraph g;
            g.resize(300, 200);
            fillGraph(&g);
            saved = g.saveImage(path, size, scale);
        } else if (kind == "widget") {
            KivGraphWidget w;
            w.setTitle("Title");
            fillGraph(w.graph());
            saved = w.saveImage(path, size, scale);
        } else if (kind == "panel" || kind == "grid") {
            KivWidget panel(2, 2);
            fillGraph(panel.getGraph(1, 1)->graph());
            saved = panel.saveImage(path, size, scale, kind == "panel");
        } else {
            KivGraph3D view;
            saved = view.saveImage(path, size, scale);
        }
        QCOMPARE(saved, pixels.isValid());
        if (!pixels.isValid())
            return;

        if (file.endsWith(".pdf")) {
            QFile pdf(path);
            QVERIFY(pdf.open(QIODevice::ReadOnly));
            const QByteArray bytes = pdf.readAll();
            QVERIFY(bytes.startsWith("%PDF"));
            // One point per pixel; the page holds a picture of full resolution.
            QVERIFY(bytes.contains(QStringLiteral("/MediaBox [0 0 %1.000000 %2.000000]")
                                       .arg(pixels.width()).arg(pixels.height()).toLatin1()));
            QVERIFY(bytes.contains(QStringLiteral("/Width %1").arg(pixels.width()).toLatin1()));
            return;
        }
        const QImage image(path);
        QCOMPARE(image.size(), pixels);
        // Not blank: the picture holds dark text or lines besides its background.
        QVERIFY(countPixels(image, image.rect(), isDark) > 50);
    }

    // renderTo() fills its target at the resolution the target covers.
    void renderToFillsTarget()
    {
        KivGraph g;
        g.resize(300, 200);
        fillGraph(&g);
        QImage target(600, 400, QImage::Format_ARGB32_Premultiplied);
        target.fill(Qt::white);
        QPainter painter(&target);
        g.renderTo(&painter, QRectF(0, 0, 600, 400));
        painter.end();
        const QImage direct = g.toImage(QSize(), 2.0);
        QCOMPARE(countPixels(target, target.rect(), isRed), countPixels(direct, direct.rect(), isRed));
        QCOMPARE(countPixels(target, target.rect(), isDark), countPixels(direct, direct.rect(), isDark));
    }

    // The ordinary Qt calls give the tick labels that the graph's own frame shows.
    void grabShowsTickLabels_data()
    {
        QTest::addColumn<bool>("shown");
        QTest::addColumn<bool>("panel");
        QTest::newRow("graph never shown") << false << false;
        QTest::newRow("graph shown") << true << false;
        QTest::newRow("panel never shown") << false << true;
        QTest::newRow("panel shown") << true << true;
    }
    void grabShowsTickLabels()
    {
        QFETCH(bool, shown);
        QFETCH(bool, panel);
        KivWidget host(1, 1);
        KivGraph own;
        KivGraph* g = panel ? host.getGraph(0, 0)->graph() : &own;
        QWidget* top = panel ? static_cast<QWidget*>(&host) : &own;
        top->resize(400, 300);
        fillGraph(g);
        if (shown) {
            top->show();
            QVERIFY(QTest::qWaitForWindowExposed(top));
        }
        const QImage grabbed = top->grab().toImage();
        QImage rendered(top->size(), QImage::Format_ARGB32_Premultiplied);
        rendered.fill(Qt::white);
        top->render(&rendered);
        const QImage frame = g->grabFramebuffer().convertToFormat(QImage::Format_ARGB32_Premultiplied);

        // The y labels and the scroll bar stand in the left 40 pixels of the graph.
        const QPoint at = g->mapTo(top, QPoint(0, 0));
        const QRect labels(0, 0, 40, g->height() - 20);
        QVERIFY(countPixels(frame, labels, isDark) > 30);
        for (const QImage& picture : { grabbed, rendered }) {
            const QImage part = picture.copy(labels.translated(at)).convertToFormat(QImage::Format_ARGB32_Premultiplied);
            int differing = 0;
            for (int y = 0; y < labels.height(); ++y)
                for (int x = 0; x < labels.width(); ++x)
                    differing += part.pixel(x, y) == frame.pixel(x, y) ? 0 : 1;
            QCOMPARE(differing, 0);
        }
    }

    // At ratio 2 lines are twice as thick and twice as long: four times the pixels, less where
    // a 1.5 pixel line rounds to 2 at ratio 1; a line that keeps its width gives twice.
    void pixelRatioTwo_data()
    {
        QTest::addColumn<QString>("part");
        QTest::newRow("series") << "series";
        QTest::newRow("points") << "points";
        QTest::newRow("grid") << "grid";
        QTest::newRow("zero line") << "zero";
        QTest::newRow("3d grid") << "3d";
    }
    void pixelRatioTwo()
    {
        QFETCH(QString, part);
        KivGraph g;
        KivGraph3D view;
        g.resize(300, 200);
        fillGraph(&g);
        // Away from the labels: the right part of the graph above the x labels.
        QRect area(60, 0, 240, 170);
        bool (*match)(QRgb) = isRed;
        QWidget* target = &g;
        if (part == "points") {
            KivDataSet* ds = g.dataSet(0);
            ds->setStyle(KivDataStylePoints);
            for (int i = 0; i < 80; ++i)
                ds->addData(i % 7);
        } else if (part == "grid") {
            match = isGrey;
        } else if (part == "zero") {
            match = isDark;
            area = QRect(200, 100, 100, 60); // right of the series, which reaches x = 160
        } else if (part == "3d") {
            target = &view;
            view.resize(200, 200);
            area = QRect(0, 0, 200, 200);
            match = [](QRgb p) { return qGray(p) > 200; };
        }
        auto picture = [&](qreal scale) {
            return part == "3d" ? view.toImage(QSize(), scale) : g.toImage(QSize(), scale);
        };
        const QImage one = picture(1.0);
        const QImage two = picture(2.0);
        QCOMPARE(two.size(), target->size() * 2);
        const int n1 = countPixels(one, area, match);
        const int n2 = countPixels(two, QRect(area.topLeft() * 2, area.size() * 2), match);
        QVERIFY(n1 > 20);
        const double ratio = double(n2) / n1;
        QVERIFY2(ratio > 2.5 && ratio < 5.0, qPrintable(QString("%1 -> %2 pixels").arg(n1).arg(n2)));
    }

    // Known samples with gaps, labels needing quotes, 17 significant digits and the window.
    void csvContents_data()
    {
        QTest::addColumn<int>("style");
        QTest::addColumn<int>("maxItems");
        QTest::addColumn<QList<double>>("values");
        QTest::addColumn<bool>("visibleOnly");
        QTest::addColumn<QString>("expected");

        const double gap = std::numeric_limits<double>::quiet_NaN();
        QTest::newRow("1 value, gap") << int(KivDataStyle1D) << 5 << QList<double> { 0.1 + 0.2, gap, -2.5 } << false
                                      << "\"a,\"\"b\"\" sample\",\"a,\"\"b\"\"\"\n0,0.30000000000000004\n1,\n2,-2.5\n";
        QTest::newRow("1 value, visible window") << int(KivDataStyle1D) << 5 << QList<double> { 1, 2, 3, 4, 5 } << true
                                                 << "\"a,\"\"b\"\" sample\",\"a,\"\"b\"\"\"\n2,3\n3,4\n4,5\n";
        QTest::newRow("2 values, gap") << int(KivDataStyle2D) << 0 << QList<double> { 1e-300, 7, gap, 8, 3, 1e300 } << false
                                       << "\"a,\"\"b\"\" x\",\"a,\"\"b\"\" y\"\n1e-300,7\n,8\n3,1.0000000000000001e+300\n";
        QTest::newRow("2 values, visible window") << int(KivDataStyle2D) << 0 << QList<double> { -5, 1, 0.5, 2, 5, 3 } << true
                                                  << "\"a,\"\"b\"\" x\",\"a,\"\"b\"\" y\"\n0.5,2\n";
    }
    void csvContents()
    {
        QFETCH(int, style);
        QFETCH(int, maxItems);
        QFETCH(QList<double>, values);
        QFETCH(bool, visibleOnly);
        QFETCH(QString, expected);
        KivGraph g;
        KivDataSet* ds = g.addDataSet(style, Qt::blue, maxItems);
        ds->setLabel("a,\"b\"");
        if (style == KivDataStyle1D) {
            for (double v : values)
                ds->addData(v);
        } else {
            for (int i = 0; i + 1 < values.size(); i += 2)
                ds->addData(values[i], values[i + 1]);
        }
        // Slots 0..4 of a 5-slot series lie at x = -1, -0.5, 0, 0.5, 1; two-value x as given.
        g.setAxisScale('x', style == KivDataStyle1D ? -0.1 : -1.0, 1.0);
        const QString text = g.toCsv(ds, visibleOnly);
        QCOMPARE(text, expected);
        // The file holds the same text; a series of another graph gives nothing.
        const QString path = tempPath("series.csv");
        QVERIFY(g.saveCsv(path, ds, visibleOnly));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(QString::fromUtf8(file.readAll()), text);
        KivGraph other;
        QVERIFY(other.toCsv(ds).isEmpty());
    }

    // Panel: graphs side by side, headed by row and column, a shorter series padded.
    void csvPanel()
    {
        KivWidget panel(1, 2);
        KivDataSet* a = panel.addDataSet(panel.getGraph(0, 0), 10, Qt::red);
        KivDataSet* b = panel.addDataSet(panel.getGraph(0, 1), 10, Qt::blue);
        a->setLabel("a");
        for (double v : { 1.0, 2.0 })
            a->addData(v);
        b->addData(9.0);
        QCOMPARE(panel.toCsv(), QString("r0c0 a sample,r0c0 a,r0c1 series 1 sample,r0c1 series 1\n0,1,0,9\n1,2,,\n"));
    }

    // Snapshots while a producer adds a counting sequence and another thread clears: each
    // holds consecutive values in order, and the last one everything after the last clear.
    void csvWhileProducing()
    {
        KivGraph g;
        KivDataSet* ds = g.addDataSet(KivDataStyle1D, Qt::red, 0);
        const int total = 200000;
        std::atomic<bool> producing { true };
        std::atomic<bool> clearsDone { false };
        // The clears happen while the first half goes in; the second half follows them.
        std::thread producer([&] {
            for (int i = 0; i < total; ++i) {
                if (i == total / 2)
                    while (!clearsDone)
                        QThread::yieldCurrentThread();
                ds->addData(double(i));
            }
            producing = false;
        });
        std::thread clearer([&] {
            for (int i = 0; i < 3; ++i) {
                QThread::msleep(2);
                ds->clear(false);
            }
            clearsDone = true;
        });
        int snapshots = 0;
        auto check = [&](int& last) {
            const QStringList lines = g.toCsv().split('\n', Qt::SkipEmptyParts);
            double previous = -1.0;
            for (int i = 1; i < lines.size(); ++i) {
                const double v = lines[i].section(',', 1, 1).toDouble();
                if (i > 1 && v != previous + 1.0)
                    return false;
                previous = v;
            }
            last = int(previous);
            ++snapshots;
            return true;
        };
        int last = -1;
        while (producing)
            QVERIFY(check(last));
        producer.join();
        clearer.join();
        QVERIFY(check(last));
        QCOMPARE(last, total - 1);
        QVERIFY(snapshots > 1);
    }
};

QTEST_MAIN(TestExport)
#include "tst_export.moc"
