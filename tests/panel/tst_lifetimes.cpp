// Teardown while a producer thread keeps appending: the series goes away under the
// producer, which must neither crash nor touch freed memory (run it in make asan and
// make tsan) and learns through its feed that the series is gone.

#include "paneltest.h"

#include <kiv_dataset.h>

#include <QPointer>
#include <QtTest>

#include <atomic>
#include <thread>

namespace {

enum class Teardown { RemoveDataSet, PanelRemoveDataSet, DeleteGraphWidget, Relayout };
struct Lifetime { Teardown teardown; bool viaPanelIndex; };

} // namespace

Q_DECLARE_METATYPE(Lifetime)

class TestLifetimes : public QObject
{
    Q_OBJECT

private slots:
    void teardownWhileProducing_data()
    {
        QTest::addColumn<Lifetime>("c");
        QTest::newRow("graph widget removeDataSet, feed") << Lifetime{ Teardown::RemoveDataSet, false };
        QTest::newRow("panel removeDataSet, feed") << Lifetime{ Teardown::PanelRemoveDataSet, false };
        QTest::newRow("graph widget deleted, feed") << Lifetime{ Teardown::DeleteGraphWidget, false };
        QTest::newRow("relayout to fewer graphs, feed") << Lifetime{ Teardown::Relayout, false };
        QTest::newRow("panel removeDataSet, index-addressed") << Lifetime{ Teardown::PanelRemoveDataSet, true };
        QTest::newRow("relayout to fewer graphs, index-addressed") << Lifetime{ Teardown::Relayout, true };
    }

    void teardownWhileProducing()
    {
        QFETCH(Lifetime, c);
        KivWidget panel(1, 2);
        KivGraphWidget* lone = c.teardown == Teardown::DeleteGraphWidget ? new KivGraphWidget : nullptr;
        KivGraphWidget* target = lone ? lone : panel.getGraph(0, 1);
        // Both panel graphs hold data, so the relayout to 1 x 1 must drop a graph with data.
        panel.addDataSet(panel.getGraph(0, 0), 100, QColor(Qt::blue), KivDataStyle1D)->addData(1.0);
        KivDataSet* set = panel.addDataSet(target, 1000, QColor(Qt::red), KivDataStyle1D);
        set->addData(0.0);
        const QPointer<KivDataSet> watch(set);
        const KivDataFeed feed = set->feed();
        QVERIFY(feed.isValid());
        QVERIFY(!KivDataFeed().addData(1.0));

        std::atomic<long> accepted{0};
        std::atomic<bool> stop{false};
        std::thread producer([&] {
            for (long i = 1; !stop.load(); ++i) {
                if (c.viaPanelIndex)
                    panel.addData(0, 1, 0, double(i));
                else if (!feed.addData(double(i)))
                    break;
                ++accepted;
            }
        });
        while (accepted.load() < 2000)
            std::this_thread::yield();
        const long beforeTeardown = accepted.load();

        switch (c.teardown) {
        case Teardown::RemoveDataSet: target->removeDataSet(set); break;
        case Teardown::PanelRemoveDataSet: panel.removeDataSet(nullptr, set); break;
        case Teardown::DeleteGraphWidget: delete lone; break;
        case Teardown::Relayout: panel.selectLayout(1, 1); break;
        }
        QVERIFY(watch.isNull());
        if (!c.viaPanelIndex) {
            // The feed notices by itself: the producer ends without being told.
            producer.join();
            QVERIFY(!feed.isValid());
            QVERIFY(!feed.addData(1.0));
        } else {
            while (accepted.load() < beforeTeardown + 2000)
                std::this_thread::yield();
            stop = true;
            producer.join();
        }
        QVERIFY(accepted.load() >= beforeTeardown);
        QCOMPARE(panel.getDataSet(panel.getGraph(0, 0), 0)->getItemCount(), 1ul);
    }
};

QTEST_MAIN(TestLifetimes)
#include "tst_lifetimes.moc"
