#include "paneltest.h"

#include <kiv_dataset.h>
#include <kiv_graph.h>

#include <QImage>
#include <QMap>
#include <QTest>

#include <cstring>

using namespace paneltest;

Q_DECLARE_METATYPE(QList<unsigned long>)

// The host's side of the panel: addressing graphs and series by index or pointer.
class TestPanelFacade : public QObject
{
    Q_OBJECT

private slots:
    void indexAddressing_data();
    void indexAddressing();
    void setDataByIndex();
    void nullTolerance();
    void addDataSetArguments();
    void colors_data();
    void colors();
    void colorsOnScreen();
    void removeDataSet();
    void clear_data();
    void clear();
    void scopeOffset();
    void version();
};

// 2 x 2 panel: (0,0) one time series; (1,1) a time series, an xy and an xyz series.
struct Fixture
{
    Fixture()
        : panel(2, 2)
    {
        sets << panel.addDataSet(panel.getGraph(0, 0), 1000, QColor(Qt::red));
        sets << panel.addDataSet(panel.getGraph(1, 1), 1000, QColor(Qt::red));
        sets << panel.addDataSet(panel.getGraph(1, 1), 1000, QColor(Qt::red), KivDataStyle2D);
        sets << panel.addDataSet(panel.getGraph(1, 1), 1000, QColor(Qt::red), KivDataStyle3D);
    }
    QList<unsigned long> counts() const
    {
        QList<unsigned long> c;
        for (KivDataSet* s : sets)
            c << s->getItemCount();
        return c;
    }
    KivWidget panel;
    QList<KivDataSet*> sets;
};

void TestPanelFacade::indexAddressing_data()
{
    QTest::addColumn<int>("op"); // 1, 2, 3: values per sample; 0: duplicateData(4)
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("col");
    QTest::addColumn<int>("set");
    QTest::addColumn<QList<unsigned long>>("expected");
    const QList<unsigned long> none{0, 0, 0, 0};
    QTest::newRow("one value at (0,0,0)") << 1 << 0 << 0 << 0 << QList<unsigned long>{1, 0, 0, 0};
    QTest::newRow("row out of range") << 1 << 2 << 0 << 0 << none;
    QTest::newRow("column out of range") << 1 << 0 << 2 << 0 << none;
    QTest::newRow("negative row") << 1 << -1 << 1 << 0 << none;
    QTest::newRow("negative column") << 1 << 1 << -1 << 0 << none;
    QTest::newRow("no such series") << 1 << 0 << 0 << 5 << none;
    QTest::newRow("graph without series") << 1 << 0 << 1 << 0 << none;
    QTest::newRow("one value at (1,1,0)") << 1 << 1 << 1 << 0 << QList<unsigned long>{0, 1, 0, 0};
    QTest::newRow("two values at (1,1,1)") << 2 << 1 << 1 << 1 << QList<unsigned long>{0, 0, 1, 0};
    QTest::newRow("three values at (1,1,2)") << 3 << 1 << 1 << 2 << QList<unsigned long>{0, 0, 0, 1};
    QTest::newRow("three values, no such series") << 3 << 1 << 1 << 3 << none;
    QTest::newRow("duplicate at (1,1,0)") << 0 << 1 << 1 << 0 << QList<unsigned long>{0, 4, 0, 0};
    QTest::newRow("duplicate outside") << 0 << 1 << 2 << 0 << none;
}

void TestPanelFacade::indexAddressing()
{
    QFETCH(int, op);
    QFETCH(int, row);
    QFETCH(int, col);
    QFETCH(int, set);
    QFETCH(QList<unsigned long>, expected);
    Fixture f;
    switch (op) {
    case 0: f.panel.duplicateData(row, col, set, 4); break;
    case 1: f.panel.addData(row, col, set, 1.5); break;
    case 2: f.panel.addData(row, col, set, 1.5, 2.5); break;
    case 3: f.panel.addData(row, col, set, 1.5, 2.5, 3.5); break;
    }
    QCOMPARE(f.counts(), expected);
}

void TestPanelFacade::setDataByIndex()
{
    KivWidget panel(1, 1);
    panel.resize(300, 200);
    panel.show();
    QVERIFY(QTest::qWaitForWindowExposed(&panel));
    KivGraphWidget* g = panel.getGraph(0, 0);
    QList<KivDataSet*> sets;
    for (int i = 0; i < 3; ++i) {
        sets << panel.addDataSet(g, 10, QColor(Qt::red));
        for (int k = 0; k < 10; ++k)
            panel.addData(sets.last(), 7.0);
    }
    g->graph()->grabFramebuffer(); // a frame moves the samples into the drawn queues

    panel.setData(0, 0, 1, 5, 3.0, true);
    panel.setData(1, 0, 1, 4, 9.0, true); // outside the grid
    const QList<double> expected{0.0, 3.0, 0.0};
    for (int i = 0; i < 3; ++i) {
        double v = -1.0;
        sets.at(i)->getData(5, v);
        QCOMPARE(v, expected.at(i));
        sets.at(i)->getData(4, v);
        QCOMPARE(v, 7.0);
    }
    panel.setData(0, 0, 2, 4, 2.0, false);
    double v = -1.0;
    sets.at(2)->getData(4, v);
    QCOMPARE(v, 2.0);
    sets.at(0)->getData(4, v);
    QCOMPARE(v, 7.0);
}

void TestPanelFacade::nullTolerance()
{
    Fixture f;
    KivWidget& p = f.panel;
    KivGraphWidget* g = nullptr;
    KivDataSet* s = nullptr;
    p.setAxisLabel(g, 'x', QStringLiteral("t"));
    p.setAxisLimits(g, 'x', 0, 1);
    p.setAxisScale(g, 'y', 0, 1);
    p.setAxisStyle(g, 'x', KivAxisStyleZeroLine);
    p.setAxisUnits(g, 'x', KivUnitMetre);
    p.setAxisMinScale(g, 'x', 0.1);
    p.setBackgroundColor(g, 0x00ff00ul);
    p.setBackgroundColor(g, 0.1, 0.2, 0.3);
    p.setGraphTitle(g, QStringLiteral("t"));
    p.setNoDataText(g, QStringLiteral("t"));
    p.setGraphText(g, QStringLiteral("t"));
    p.setValidRange(g, 0, 1, QStringLiteral("t"));
    p.setTime(g, 1.0, 2.0);
    QCOMPARE(p.addDataSet(g, 10, QColor(Qt::red)), s);
    QCOMPARE(p.addDataSet(g, 10, 0xffu), s);
    QCOMPARE(p.addDataSet(g, 10, Qt::red), s);
    QCOMPARE(p.getDataSet(g, 0), s);
    QCOMPARE(p.getItemCount(s), 0ul);
    QCOMPARE(p.getMaxItemCount(s), 0ul);
    QVERIFY(!p.hasStyle(s, 0, 0));
    QVERIFY(!p.isDataSet(s));
    p.setMaxItemCount(s, 5);
    p.setStyle(s, KivDataStyle2D);
    p.setColor(s, 0xff);
    p.setDataSetLabel(s, QStringLiteral("t"));
    p.setDataSetCurrentValueLabel(s, QStringLiteral("t"));
    p.addData(s, 1.0);
    p.addData(s, 1.0, 2.0);
    p.addData(s, 1.0, 2.0, 3.0);
    p.duplicateData(s, 3);
    p.clear(g, s, true);
    p.setAddPosition(g, s, false);
    p.removeDataSet(g, s);
    p.setScopeOffset(g, 2);

    // Null pointers changed nothing that can be seen.
    QCOMPARE(f.counts(), (QList<unsigned long>{0, 0, 0, 0}));
    QCOMPARE(p.getGraph(1, 1)->dataSetCount(), 3);
    for (KivDataSet* set : f.sets) {
        QCOMPARE(set->getMaxItemCount(), 1000ul);
        QVERIFY(!set->hasLabel());
    }
    for (KivGraphWidget* graph : graphs(p)) {
        QVERIFY(graph->graph()->noDataText() != QStringLiteral("t"));
        QVERIFY(graph->graph()->graphText() != QStringLiteral("t"));
    }
}

void TestPanelFacade::addDataSetArguments()
{
    KivWidget p(1, 1);
    KivGraphWidget* g = p.getGraph(0, 0);
    KivDataSet* a = p.addDataSet(g, 77, QColor(Qt::blue), KivDataStyle3D | KivDataStylePoints);
    QCOMPARE(a->getMaxItemCount(), 77ul);
    QCOMPARE(a->getStyle(), 0x12ul);
    QCOMPARE(a->getColor(), QColor(Qt::blue));
    KivDataSet* b = p.addDataSet(g, 5, 0xff0000u, KivDataStyle2D);
    QCOMPARE(b->getMaxItemCount(), 5ul);
    QCOMPARE(b->getStyle(), 0x1ul);
    QCOMPARE(b->getColor(), QColor(Qt::blue));
    QCOMPARE(p.getDataSet(g, 1), b);
}

void TestPanelFacade::colors_data()
{
    QTest::addColumn<unsigned long>("value");
    QTest::addColumn<QColor>("series");     // 0xBBGGRR
    QTest::addColumn<QColor>("background"); // 0xRRGGBB
    QTest::newRow("0x0000FF") << 0x0000fful << QColor(255, 0, 0) << QColor(0, 0, 255);
    QTest::newRow("0x00FF00") << 0x00ff00ul << QColor(0, 255, 0) << QColor(0, 255, 0);
    QTest::newRow("0xFF0000") << 0xff0000ul << QColor(0, 0, 255) << QColor(255, 0, 0);
    QTest::newRow("0x123456") << 0x123456ul << QColor(0x56, 0x34, 0x12) << QColor(0x12, 0x34, 0x56);
    QTest::newRow("high byte ignored") << 0xab000080ul << QColor(0x80, 0, 0) << QColor(0, 0, 0x80);
}

void TestPanelFacade::colors()
{
    QFETCH(unsigned long, value);
    QFETCH(QColor, series);
    QFETCH(QColor, background);
    KivWidget p(1, 2);
    KivGraphWidget* g = p.getGraph(0, 1);
    KivDataSet* added = p.addDataSet(g, 10, static_cast<unsigned int>(value));
    QCOMPARE(added->getColor().rgba(), series.rgba());
    KivDataSet* set = p.addDataSet(g, 10, QColor(Qt::gray));
    p.setColor(set, value);
    QCOMPARE(set->getColor().rgba(), series.rgba());
    // Qt's named colours stay what they say.
    QCOMPARE(p.addDataSet(g, 10, Qt::red)->getColor(), QColor(Qt::red));

    p.setBackgroundColor(g, value);
    QCOMPARE(g->graph()->backgroundColor().rgba(), background.rgba());
    QVERIFY(p.getGraph(0, 0)->graph()->backgroundColor() != background);
}

// The most frequent colour of an image, and how often a colour occurs.
static QRgb dominant(const QImage& image)
{
    QMap<QRgb, int> histogram;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            ++histogram[image.pixel(x, y) | 0xff000000u];
    }
    QRgb best = 0;
    int most = -1;
    for (auto it = histogram.cbegin(); it != histogram.cend(); ++it) {
        if (it.value() > most) {
            most = it.value();
            best = it.key();
        }
    }
    return best;
}

static int occurrences(const QImage& image, QRgb color)
{
    int n = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            n += (image.pixel(x, y) | 0xff000000u) == (color | 0xff000000u);
    }
    return n;
}

void TestPanelFacade::colorsOnScreen()
{
    KivWidget p(1, 1);
    p.resize(400, 300);
    p.show();
    QVERIFY(QTest::qWaitForWindowExposed(&p));
    KivGraphWidget* g = p.getGraph(0, 0);
    p.setBackgroundColor(g, 0x0000fful); // blue
    KivDataSet* set = p.addDataSet(g, 100, 0x0000ffu); // red
    p.setAxisScale(g, 'y', 0.0, 1.0);
    for (int i = 0; i < 100; ++i)
        p.addData(set, 0.5);

    g->graph()->grabFramebuffer();
    const QImage image = g->graph()->grabFramebuffer();
    QCOMPARE(QColor(dominant(image)), QColor(0, 0, 255));
    // A horizontal line of the series across most of the width.
    QVERIFY2(occurrences(image, qRgb(255, 0, 0)) >= image.width() / 2,
             qPrintable(QString::number(occurrences(image, qRgb(255, 0, 0)))));
}

void TestPanelFacade::removeDataSet()
{
    Fixture f;
    KivWidget& p = f.panel;
    KivDataSet* extra = p.addDataSet(p.getGraph(0, 1), 10, QColor(Qt::red));
    p.removeDataSet(nullptr, f.sets.at(2));
    QCOMPARE(p.getGraph(1, 1)->dataSetCount(), 2);
    QVERIFY(!p.getGraph(1, 1)->hasDataSet(f.sets.at(2)));
    QCOMPARE(p.getGraph(0, 0)->dataSetCount(), 1);
    QCOMPARE(p.getGraph(0, 1)->dataSetCount(), 1);

    // Addressed to a graph that does not hold it: nothing happens.
    p.removeDataSet(p.getGraph(0, 0), extra);
    QVERIFY(p.isDataSet(extra));
    p.removeDataSet(p.getGraph(0, 1), extra);
    QVERIFY(!p.isDataSet(extra));
    QCOMPARE(p.getGraph(0, 0)->dataSetCount(), 1);
}

void TestPanelFacade::clear_data()
{
    QTest::addColumn<int>("graph"); // -1 none, else (1,1) = 3 or (0,0) = 0 as row-major index
    QTest::addColumn<int>("set");   // -1 none, else index into the fixture's sets
    QTest::addColumn<QList<unsigned long>>("expected");
    QTest::newRow("everything") << -1 << -1 << QList<unsigned long>{0, 0, 0, 0};
    QTest::newRow("graph (1,1)") << 3 << -1 << QList<unsigned long>{1, 0, 0, 0};
    QTest::newRow("graph (1,1) and a set of (0,0)") << 3 << 0 << QList<unsigned long>{0, 0, 0, 0};
    QTest::newRow("graph (0,1), an empty one") << 1 << -1 << QList<unsigned long>{1, 1, 1, 1};
    QTest::newRow("only a set") << -1 << 2 << QList<unsigned long>{1, 1, 0, 1};
}

void TestPanelFacade::clear()
{
    QFETCH(int, graph);
    QFETCH(int, set);
    QFETCH(QList<unsigned long>, expected);
    Fixture f;
    f.panel.addData(f.sets.at(0), 1.0);
    f.panel.addData(f.sets.at(1), 1.0);
    f.panel.addData(f.sets.at(2), 1.0, 2.0);
    f.panel.addData(f.sets.at(3), 1.0, 2.0, 3.0);
    KivGraphWidget* g = graph < 0 ? nullptr : f.panel.getGraph(graph / 2, graph % 2);
    f.panel.clear(g, set < 0 ? nullptr : f.sets.at(set), false);
    QCOMPARE(f.counts(), expected);
}

void TestPanelFacade::scopeOffset()
{
    KivWidget p(1, 3);
    QCOMPARE(p.getScopeOffset(nullptr), -1l);
    KivDataSet* set = p.addDataSet(p.getGraph(0, 2), 100, QColor(Qt::red));
    for (int i = 0; i < 20; ++i)
        p.addData(set, double(i));
    // Graphs without series report -1; the bounded series starts at 0.
    QCOMPARE(p.getScopeOffset(nullptr), 0l);

    p.setScopeOffset(p.getGraph(0, 2), 5);
    QCOMPARE(p.getScopeOffset(p.getGraph(0, 2)), 5l);
    QCOMPARE(p.getScopeOffset(p.getGraph(0, 0)), -1l);
    // The first graph whose offset is set answers for the panel.
    QCOMPARE(p.getScopeOffset(nullptr), 5l);

    p.setScopeOffset(nullptr, -1);
    QCOMPARE(p.getScopeOffset(nullptr), -1l);
}

void TestPanelFacade::version()
{
    VoVersion v = KivWidget::getVersion();
    QCOMPARE(v.major, 2u);
    QCOMPARE(v.minor, 6u);
    QCOMPARE(v.revision, 4u);
    QCOMPARE(v.build, 5678u);
    QCOMPARE(v.repositoryRevision, 108182u);
    QCOMPARE(QByteArray(v.text.data), QByteArray("built on 2021-02-04"));
    QCOMPARE(v.text.length, VoSize(std::strlen("built on 2021-02-04")));

    // Copies are independent; releasing the record leaves the next one intact.
    VoVersion copy;
    VoVersion_zero(&copy);
    QCOMPARE(VoVersion_copy(&copy, &v), VO_RESULT_OK);
    VoVersion_destruct(&v);
    VoVersion_destruct(&copy);
    QCOMPARE(QByteArray(KivWidget::getVersion().text.data), QByteArray("built on 2021-02-04"));
}

QTEST_MAIN(TestPanelFacade)
#include "tst_panelfacade.moc"
