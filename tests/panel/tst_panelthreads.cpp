#include "paneltest.h"

#include <kiv_dataset.h>

#include <QAtomicInt>

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

void TestPanelThreads::producersByIndex()
{
    const int samples = 20000;
    // The graph (row-major) each producer feeds; the series there take 1, 1, 2 and 3 values per sample.
    const std::vector<int> producers{0, 0, 2, 2, 1, 3};
    const int dims[] = {1, 1, 2, 3};
    const unsigned long styles[] = {KivDataStyle1D, KivDataStyle1D, KivDataStyle2D, KivDataStyle3D};
    KivWidget panel(2, 2);
    QVERIFY(showPanel(panel, 500, 400));
    QList<KivDataSet*> sets;
    for (int i = 0; i < 4; ++i)
        sets << panel.addDataSet(panel.getGraph(i / 2, i % 2), 2 * samples, QColor(Qt::red), styles[i]);

    QAtomicInt running(int(producers.size()));
    std::vector<std::thread> threads;
    for (int p = 0; p < int(producers.size()); ++p) {
        threads.emplace_back([&, p]() {
            const int g = producers[p];
            for (int i = 0; i < samples; ++i) {
                const double key = p * 1e6 + i; // producer and sequence in one number
                if (dims[g] == 1)
                    panel.addData(g / 2, g % 2, 0, key);
                else if (dims[g] == 2)
                    panel.addData(g / 2, g % 2, 0, key, key + 1);
                else
                    panel.addData(g / 2, g % 2, 0, key, key + 1, key + 2);
            }
            running.fetchAndAddOrdered(-1);
        });
    }
    // Every frame moves queued samples into the drawn ones.
    while (running.loadAcquire() > 0) {
        for (KivGraphWidget* g : graphs(panel))
            g->graph()->update();
        QCoreApplication::processEvents();
    }
    for (std::thread& t : threads)
        t.join();

    QVector<int> next(int(producers.size()), 0);
    for (int s = 0; s < 4; ++s) {
        KivDataSet* set = sets.at(s);
        panel.getGraph(s / 2, s % 2)->graph()->grabFramebuffer();
        QCOMPARE(set->getItemCount(), set->getDisplayItemCount()); // nothing left in the queues
        for (unsigned long i = 0; i < set->getDisplayItemCount(); ++i) {
            double v[3] = {0.0, 0.0, 0.0};
            if (dims[s] == 1)
                set->getData(i, v[0]);
            else if (dims[s] == 2)
                set->getData(i, v[0], v[1]);
            else
                set->getData(i, v[0], v[1], v[2]);
            const int p = int(v[0] / 1e6);
            QVERIFY2(p >= 0 && p < next.size(), qPrintable(QString::number(v[0])));
            QCOMPARE(producers[p], s);
            QCOMPARE(int(v[0] - p * 1e6), next[p]++); // in order, none missing
            QCOMPARE(v[1], dims[s] > 1 ? v[0] + 1 : 0.0);
            QCOMPARE(v[2], dims[s] > 2 ? v[0] + 2 : 0.0);
        }
    }
    QCOMPARE(next, QVector<int>(int(producers.size()), samples));
}

QTEST_MAIN(TestPanelThreads)
#include "tst_panelthreads.moc"
