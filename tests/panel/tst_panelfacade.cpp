// The host's side of the panel: addressing graphs and series by index or pointer.
#include "paneltest.h"

#include <kiv_dataset.h>

#include <functional>

using namespace paneltest;

using Sets = QList<KivDataSet*>;
using Panel = KivWidget&;
using Series = const Sets&;
using Op = std::function<void(Panel, Series)>;
using Counts = QList<unsigned long>;
Q_DECLARE_METATYPE(Op)
Q_DECLARE_METATYPE(Counts)

static int occurrences(const QImage& image, QRgb color)
{
    int n = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            n += (image.pixel(x, y) | 0xff000000u) == (color | 0xff000000u);
    return n;
}

class TestPanelFacade : public QObject
{
    Q_OBJECT

private slots:
    void addressing_data()
    {
        QTest::addColumn<Op>("op");
        QTest::addColumn<Counts>("expected"); // items in the four series, each starting with one
        const Counts same{1, 1, 1, 1};
        const auto row = [](const char* name, Op op, Counts expected) { QTest::newRow(name) << op << expected; };
        row("one value at (0,0,0)", [](Panel p, Series) { p.addData(0, 0, 0, 1.5); }, {2, 1, 1, 1});
        row("outside the grid", [](Panel p, Series) { p.addData(2, 0, 0, 1.5); p.addData(1, -1, 0, 1.5); }, same);
        row("no such series", [](Panel p, Series) { p.addData(0, 0, 5, 1.5); p.addData(0, 1, 0, 1.5); }, same);
        row("two values at (1,1,1)", [](Panel p, Series) { p.addData(1, 1, 1, 1.5, 2.5); }, {1, 1, 2, 1});
        row("three values at (1,1,2)", [](Panel p, Series) { p.addData(1, 1, 2, 1.5, 2.5, 3.5); }, {1, 1, 1, 2});
        row("duplicate at (1,1,0)", [](Panel p, Series) { p.duplicateData(1, 1, 0, 4); }, {1, 5, 1, 1});
        row("duplicate outside", [](Panel p, Series) { p.duplicateData(1, 2, 0, 4); }, same);
        row("by pointer", [](Panel p, Series s) { p.addData(s[1], 1.0); p.addData(s[3], 1.0, 2.0, 3.0); }, {1, 2, 1, 2});
        row("duplicate by pointer", [](Panel p, Series s) { p.duplicateData(s[2], 3); }, {1, 1, 4, 1});
        row("clear everything", [](Panel p, Series) { p.clear(nullptr, nullptr, false); }, {0, 0, 0, 0});
        row("clear graph (1,1)", [](Panel p, Series) { p.clear(p.getGraph(1, 1), nullptr, false); }, {1, 0, 0, 0});
        row("clear one series", [](Panel p, Series s) { p.clear(nullptr, s[2], false); }, {1, 1, 0, 1});
        row("remove from another graph", [](Panel p, Series s) { p.removeDataSet(p.getGraph(0, 0), s[2]); }, same);
        row("numbers beyond int", [](Panel p, Series s) {
            KivGraphWidget* g = p.getGraph(0, 0);
            s[0]->setStyle(KivDataStyleBar);
            p.setDataLabel(0, 0, 0, 1, QStringLiteral("one"));
            p.setDataLabel(0, 0, 0, 0x100000001ul, QStringLiteral("x"));
            p.setAxisUnits(g, 'y', 0x100000001ul);
            QCOMPARE(s[0]->getLabelList().value(1), QStringLiteral("one"));
            QCOMPARE(g->graph()->axisInfo(1).units, 0ul);
        }, {1000, 1, 1, 1});
        row("null graph", [](Panel p, Series) {
            KivGraphWidget* g = nullptr;
            p.setAxisScale(g, 'y', 0, 1); p.setBackgroundColor(g, 0x00ff00ul); p.setScopeOffset(g, 2);
            p.setNoDataText(g, QStringLiteral("t")); p.setGraphText(g, QStringLiteral("t"));
            QVERIFY(!p.addDataSet(g, 10, QColor(Qt::red)) && !p.addDataSet(g, 10, 0xffu) && !p.getDataSet(g, 0));
        }, same);
        row("null series", [](Panel p, Series) {
            KivDataSet* s = nullptr;
            QVERIFY(p.getItemCount(s) == 0 && p.getMaxItemCount(s) == 0 && !p.isDataSet(s));
            p.setMaxItemCount(s, 5); p.setColor(s, 0xff); p.setDataSetLabel(s, QStringLiteral("t"));
            p.addData(s, 1.0); p.addData(s, 1.0, 2.0, 3.0); p.duplicateData(s, 3); p.removeDataSet(nullptr, s);
        }, same);
    }

    // 2 x 2 panel: (0,0) one time series; (1,1) a time, an xy and an xyz series; one sample each.
    void addressing()
    {
        QFETCH(Op, op);
        QFETCH(Counts, expected);
        KivWidget p(2, 2);
        const Sets sets{p.addDataSet(p.getGraph(0, 0), 1000, QColor(Qt::red)),
                        p.addDataSet(p.getGraph(1, 1), 1000, QColor(Qt::red)),
                        p.addDataSet(p.getGraph(1, 1), 1000, QColor(Qt::red), KivDataStyle2D),
                        p.addDataSet(p.getGraph(1, 1), 1000, QColor(Qt::red), KivDataStyle3D)};
        p.addData(sets[0], 1.0);
        p.addData(sets[1], 1.0);
        p.addData(sets[2], 1.0, 2.0);
        p.addData(sets[3], 1.0, 2.0, 3.0);
        op(p, sets);

        Counts counts;
        for (KivDataSet* s : sets) {
            counts << s->getItemCount();
            QVERIFY(s->getMaxItemCount() == 1000 && !s->hasLabel()); // and nothing else changed
        }
        QCOMPARE(counts, expected);
        QCOMPARE(p.getGraph(1, 1)->dataSetCount(), 3);
        for (KivGraphWidget* g : graphs(p))
            QVERIFY(g->graph()->noDataText() != QStringLiteral("t") && g->graph()->graphText() != QStringLiteral("t"));
    }

    void addDataSetArguments()
    {
        KivWidget p(1, 1);
        KivGraphWidget* g = p.getGraph(0, 0);
        KivDataSet* a = p.addDataSet(g, 77, QColor(Qt::blue), KivDataStyle3D | KivDataStylePoints);
        KivDataSet* b = p.addDataSet(g, 5, 0xff0000u, KivDataStyle2D);
        QCOMPARE(Counts({a->getMaxItemCount(), a->getStyle(), b->getMaxItemCount(), b->getStyle()}),
                 Counts({77, 0x12, 5, 0x1}));
        QCOMPARE(QList<QColor>({a->getColor(), b->getColor()}), QList<QColor>({Qt::blue, Qt::blue})); // 0xBBGGRR
        QCOMPARE(p.getDataSet(g, 1), b);
        QCOMPARE(p.addDataSet(g, 10, Qt::red)->getColor(), QColor(Qt::red)); // Qt's named colours stay what they say
    }

    void colorByteOrders_data()
    {
        QTest::addColumn<unsigned long>("value");
        QTest::addColumn<QColor>("series");     // 0xBBGGRR
        QTest::addColumn<QColor>("background"); // 0xRRGGBB; the clear colour saturates non-zero channels
        QTest::newRow("0x0000FF") << 0x0000fful << QColor(255, 0, 0) << QColor(0, 0, 255);
        QTest::newRow("0x123456") << 0x123456ul << QColor(0x56, 0x34, 0x12) << QColor(Qt::white);
        QTest::newRow("high byte ignored") << 0xab000080ul << QColor(0x80, 0, 0) << QColor(0, 0, 255);
    }

    // A series added with the colour and one given it by setColor, on a background of the same value.
    void colorByteOrders()
    {
        QFETCH(unsigned long, value);
        QFETCH(QColor, series);
        QFETCH(QColor, background);
        KivWidget p(1, 1);
        QVERIFY(showPanel(p, 400, 300));
        KivGraphWidget* g = p.getGraph(0, 0);
        p.setBackgroundColor(g, value);
        p.setAxisScale(g, 'y', 0.0, 1.0);
        KivDataSet* low = p.addDataSet(g, 100, static_cast<unsigned int>(value));
        KivDataSet* high = p.addDataSet(g, 100, QColor(Qt::gray));
        p.setColor(high, value);
        for (int i = 0; i < 100; ++i) {
            p.addData(low, 0.25);
            p.addData(high, 0.75);
        }
        g->graph()->grabFramebuffer();
        const QImage image = g->graph()->grabFramebuffer();
        const int w = image.width(), half = image.height() / 2;
        QVERIFY(occurrences(image, background.rgb()) > w * half);
        QVERIFY(occurrences(image.copy(0, 0, w, half), series.rgb()) >= w / 2); // the series at 0.75
        QVERIFY(occurrences(image.copy(0, half, w, half), series.rgb()) >= w / 2); // the one at 0.25
    }

    void version()
    {
        for (int twice = 0; twice < 2; ++twice) { // each call hands out its own record to release
            VoVersion v = KivWidget::getVersion();
            QCOMPARE(QList<unsigned>({v.major, v.minor, v.revision, v.build, v.repositoryRevision}),
                     QList<unsigned>({2, 6, 4, 5678, 108182}));
            QCOMPARE(QByteArray(v.text.data, int(v.text.length) + 1), QByteArray("built on 2021-02-04", 20));
            VoVersion_destruct(&v);
        }
    }
};

QTEST_MAIN(TestPanelFacade)
#include "tst_panelfacade.moc"
