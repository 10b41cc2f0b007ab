// Deliberately racy: one thread stores a series' label, as a Kiv signal hands it over,
// into a QString while another thread reads the same QString, with no lock between them.
// Both stacks hold QtCore frames (QThread, the signal's activation), which is what a
// too-wide suppression would hide. CTest expects the ThreadSanitizer report.

#include "kiv_dataset.h"

#include <QtTest>

class TestTsanSeesRace : public QObject
{
    Q_OBJECT

private slots:
    void unlockedLabelCopyIsReported()
    {
        KivDataSet ds(100, 100);
        QString shared;
        connect(&ds, &KivDataSet::labelChanged, &ds, [&shared](const QString& label) {
            shared = QString(label); // racy store, deliberately without a lock
        }, Qt::DirectConnection);

        constexpr int Rounds = 2000;
        QThread* writer = QThread::create([&ds] {
            for (int i = 0; i < Rounds; ++i)
                ds.setLabel(QString::number(i));
        });
        qsizetype seen = 0;
        QThread* reader = QThread::create([&shared, &seen] {
            for (int i = 0; i < Rounds; ++i)
                seen += QString(shared).size(); // racy load
        });
        writer->start();
        reader->start();
        QVERIFY(writer->wait());
        QVERIFY(reader->wait());
        delete writer;
        delete reader;
        QVERIFY(seen >= 0);
    }
};

QTEST_GUILESS_MAIN(TestTsanSeesRace)
#include "tst_tsanseesrace.moc"
