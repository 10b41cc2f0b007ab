#include "paneltest.h"

#include <kiv_dataset.h>
#include <kiv_graph.h>

#include <QAtomicInt>
#include <QVector>
#include <QTest>

#include <thread>
#include <vector>

using namespace paneltest;

// Producers feed the panel by (row, column, index) from their own threads while the GUI
// thread keeps painting; afterwards every sample must be there, in each producer's order.
class TestPanelThreads : public QObject
{
    Q_OBJECT

private slots:
    void producersByIndex();
};

namespace {

const int samplesPerProducer = 20000;

// Producer p writes samples (p, i) for i = 0 .. samplesPerProducer - 1 to its target.
struct Producer
{
    int row;
    int col;
    int dims;
};

} // namespace

void TestPanelThreads::producersByIndex()
{
    // Two producers share (0,0) and two share (1,0); the others have a series each.
    const std::vector<Producer> producers{
        {0, 0, 1}, {0, 0, 1}, {1, 0, 2}, {1, 0, 2}, {0, 1, 1}, {1, 1, 3},
    };
    KivWidget panel(2, 2);
    panel.resize(500, 400);
    panel.show();
    QVERIFY(QTest::qWaitForWindowExposed(&panel));
    const unsigned long capacity = 2 * samplesPerProducer;
    const unsigned long styles[] = {KivDataStyle1D, KivDataStyle2D, KivDataStyle3D};
    QList<KivDataSet*> sets;
    for (int r = 0; r < 2; ++r) {
        for (int c = 0; c < 2; ++c) {
            const int dims = r == 0 ? 1 : (c == 0 ? 2 : 3);
            sets << panel.addDataSet(panel.getGraph(r, c), capacity, QColor(Qt::red), styles[dims - 1]);
        }
    }

    QAtomicInt running(int(producers.size()));
    std::vector<std::thread> threads;
    for (size_t p = 0; p < producers.size(); ++p) {
        threads.emplace_back([&panel, &running, &producers, p]() {
            const Producer& target = producers[p];
            // 1-value samples carry both producer and sequence in one number.
            for (int i = 0; i < samplesPerProducer; ++i) {
                if (target.dims == 1)
                    panel.addData(target.row, target.col, 0, p * 1e6 + i);
                else if (target.dims == 2)
                    panel.addData(target.row, target.col, 0, double(p), double(i));
                else
                    panel.addData(target.row, target.col, 0, double(i), 2.0 * i, double(p));
            }
            running.fetchAndAddOrdered(-1);
        });
    }
    // The GUI thread paints meanwhile: every frame moves queued samples into the drawn ones.
    while (running.loadAcquire() > 0) {
        for (KivGraphWidget* g : graphs(panel))
            g->graph()->update();
        QCoreApplication::processEvents();
    }
    for (std::thread& t : threads)
        t.join();
    for (KivGraphWidget* g : graphs(panel))
        g->graph()->grabFramebuffer();

    QVector<int> next(int(producers.size()), 0);
    for (int s = 0; s < sets.size(); ++s) {
        KivDataSet* set = sets.at(s);
        const unsigned long n = set->getDisplayItemCount();
        QCOMPARE(set->getItemCount(), n); // nothing left behind in the incoming queues
        for (unsigned long i = 0; i < n; ++i) {
            int p = -1;
            int seq = -1;
            if (set->dimensions() == 1) {
                double v = 0.0;
                set->getData(i, v);
                p = int(v / 1e6);
                seq = int(v - p * 1e6);
            } else if (set->dimensions() == 2) {
                double x = 0.0, y = 0.0;
                set->getData(i, x, y);
                p = int(x);
                seq = int(y);
            } else {
                double x = 0.0, y = 0.0, z = 0.0;
                set->getData(i, x, y, z);
                p = int(z);
                seq = int(x);
                QCOMPARE(y, 2.0 * x);
            }
            QVERIFY2(p >= 0 && p < int(producers.size()), qPrintable(QString::number(p)));
            const Producer& target = producers[size_t(p)];
            QCOMPARE(target.row * 2 + target.col, s);
            QCOMPARE(seq, next[p]); // in order, none missing
            ++next[p];
        }
    }
    for (int p = 0; p < next.size(); ++p)
        QCOMPARE(next.at(p), samplesPerProducer);
}

QTEST_MAIN(TestPanelThreads)
#include "tst_panelthreads.moc"
