// The data series as a store: bounds, block storage, freezing, clearing, bar slots, the
// time base, adding at the front, scope offset, styles, labels and signals.

#include "kiv_dataset.h"

#include <QSignalSpy>
#include <QtTest>

#include <cfloat>
#include <cmath>
#include <limits>
#include <malloc.h>

namespace {

constexpr double Gap = DBL_MAX;

QVector<double> displayed(const KivDataSet &ds)
{
    QVector<double> out;
    for (unsigned long i = 0; i < ds.getDisplayItemCount(); ++i) {
        double v = -12345.0;
        ds.getData(i, v);
        out.append(v);
    }
    return out;
}

QVector<double> range(double first, int n, double step = 1.0)
{
    QVector<double> out;
    for (int i = 0; i < n; ++i)
        out.append(first + i * step);
    return out;
}

double timeOf(const KivDataSet &ds)
{
    double interval = 0.0, time = 0.0;
    ds.getTime(interval, time);
    return time;
}

size_t heapInUse()
{
    return mallinfo2().uordblks;
}

} // namespace

class TestDataSetStore : public QObject
{
    Q_OBJECT

private slots:
    void initialState();
    void boundKeepsNewest_data();
    void boundKeepsNewest();
    void itemCountIncludesQueuedSamples();
    void nonFiniteBecomesGap_data();
    void nonFiniteBecomesGap();
    void multiValueSamplesAcrossBlocks_data();
    void multiValueSamplesAcrossBlocks();
    void mismatchedVariantIsIgnored();
    void memoryStaysBounded_data();
    void memoryStaysBounded();
    void freezeHoldsDisplayedData();
    void clear_data();
    void clear();
    void barSlotsAreZeroFilled();
    void styleOrLimitChangeDiscardsData_data();
    void styleOrLimitChangeDiscardsData();
    void timeBase();
    void addAtFront();
    void addPositionChangeMovesQueuedDataFirst();
    void scopeOffsetFollowsTheSweep();
    void setScopeOffsetClamps();
    void duplicateDataAddsGaps();
    void setData();
    void copyData_data();
    void copyData();
    void hasStyle_data();
    void hasStyle();
    void labelsColourAndVisibilitySignals();
    void dataLabels();
};

void TestDataSetStore::initialState()
{
    // Before the first frame the extents span -1 .. 1 on every axis, so that a graph that
    // scales to them starts from a sane range.
    KivDataSet ds(400, 200);
    const velo::Matrix &mm = ds.getLastMinMax();
    for (VoSize r = 0; r < 3; ++r) {
        QCOMPARE(mm(r, 0), -1.0);
        QCOMPARE(mm(r, 1), 1.0);
    }
    QCOMPARE(ds.getScopeOffset(), 0l);
    QCOMPARE(ds.getAspect(), 2.0);
    ds.setGraphDimensions(300, 0); // not laid out yet
    QCOMPARE(ds.getAspect(), 2.0);
    ds.setGraphDimensions(300, 600);
    QCOMPARE(ds.getAspect(), 0.5);
}

void TestDataSetStore::boundKeepsNewest_data()
{
    QTest::addColumn<int>("maxItems");
    QTest::addColumn<int>("added");
    QTest::addColumn<int>("flushEvery"); // 0: one flush at the end

    QTest::newRow("unbounded, one block") << 0 << 10 << 0;
    QTest::newRow("unbounded, three blocks") << 0 << 13000 << 0;
    QTest::newRow("unbounded, flushed in pieces") << 0 << 13000 << 777;
    QTest::newRow("under the bound") << 5 << 3 << 0;
    QTest::newRow("over the bound") << 5 << 12 << 0;
    QTest::newRow("over the bound, flushed each sample") << 5 << 12 << 1;
    QTest::newRow("one block, one more") << 6000 << 6001 << 0;
    QTest::newRow("bound of a block, many blocks") << 6000 << 20000 << 0;
    QTest::newRow("bound of a block, flushed in pieces") << 6000 << 20000 << 2500;
    QTest::newRow("bound over a block") << 7000 << 30000 << 5999;
    QTest::newRow("small bound, long run") << 100 << 100000 << 333;
}

void TestDataSetStore::boundKeepsNewest()
{
    QFETCH(int, maxItems);
    QFETCH(int, added);
    QFETCH(int, flushEvery);

    KivDataSet ds(100, 100);
    ds.setMaxItemCount(ulong(maxItems));
    for (int i = 0; i < added; ++i) {
        ds.addData(double(i));
        if (flushEvery > 0 && (i + 1) % flushEvery == 0)
            ds.flush();
    }
    const int kept = maxItems > 0 ? std::min(maxItems, added) : added;
    QCOMPARE(ds.getItemCount(), ulong(kept));
    ds.flush();
    QCOMPARE(ds.getItemCount(), ulong(kept));
    QCOMPARE(ds.getDisplayItemCount(), ulong(kept));
    QCOMPARE(displayed(ds), range(added - kept, kept));
    // The time base advances for every sample, kept or dropped.
    QCOMPARE(timeOf(ds), double(added));
}

void TestDataSetStore::itemCountIncludesQueuedSamples()
{
    KivDataSet ds(100, 100);
    for (int i = 0; i < 4; ++i)
        ds.addData(i);
    ds.flush();
    for (int i = 0; i < 3; ++i)
        ds.addData(i);
    QCOMPARE(ds.getDisplayItemCount(), 4ul);
    QCOMPARE(ds.getItemCount(), 7ul);
    // The filling queue is readable too.
    double v = -1.0;
    ds.getData(2, v, false);
    QCOMPARE(v, 2.0);
}

void TestDataSetStore::nonFiniteBecomesGap_data()
{
    QTest::addColumn<int>("dims");
    QTest::addColumn<QVector<double>>("input");
    QTest::addColumn<QVector<double>>("stored");

    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    QTest::newRow("1 nan") << 1 << QVector<double>{nan} << QVector<double>{Gap};
    QTest::newRow("1 +inf") << 1 << QVector<double>{inf} << QVector<double>{Gap};
    QTest::newRow("1 -inf") << 1 << QVector<double>{-inf} << QVector<double>{Gap};
    QTest::newRow("1 largest finite") << 1 << QVector<double>{-DBL_MAX} << QVector<double>{-DBL_MAX};
    QTest::newRow("2 x nan") << 2 << QVector<double>{nan, 3.0} << QVector<double>{Gap, 3.0};
    QTest::newRow("2 y -inf") << 2 << QVector<double>{1.5, -inf} << QVector<double>{1.5, Gap};
    QTest::newRow("3 z inf") << 3 << QVector<double>{1.0, 2.0, inf} << QVector<double>{1.0, 2.0, Gap};
    QTest::newRow("3 all nan") << 3 << QVector<double>{nan, nan, nan} << QVector<double>{Gap, Gap, Gap};
}

void TestDataSetStore::nonFiniteBecomesGap()
{
    QFETCH(int, dims);
    QFETCH(QVector<double>, input);
    QFETCH(QVector<double>, stored);

    KivDataSet ds(100, 100);
    ds.setStyle(ulong(dims - 1));
    const double *v = input.constData();
    for (int k = 0; k < 2; ++k) {
        if (dims == 1)
            ds.addData(v[0]);
        else if (dims == 2)
            ds.addData(v[0], v[1]);
        else
            ds.addData(v[0], v[1], v[2]);
    }
    ds.flush();
    QCOMPARE(ds.getDisplayItemCount(), 2ul);
    QVector<double> got(dims);
    for (int i = 0; i < dims; ++i)
        ds.getData(ulong(dims + i), got[i], true, ulong(dims)); // the second sample
    QCOMPARE(got, stored);
}

void TestDataSetStore::multiValueSamplesAcrossBlocks_data()
{
    QTest::addColumn<int>("dims");
    QTest::addColumn<int>("maxItems");
    QTest::addColumn<int>("added");

    QTest::newRow("2 values, unbounded") << 2 << 0 << 7001;
    QTest::newRow("2 values, bounded") << 2 << 3000 << 7001;
    QTest::newRow("2 values, odd bound") << 2 << 1234 << 5000;
    QTest::newRow("3 values, unbounded") << 3 << 0 << 4001;
    QTest::newRow("3 values, bounded") << 3 << 2500 << 9000;
}

void TestDataSetStore::multiValueSamplesAcrossBlocks()
{
    QFETCH(int, dims);
    QFETCH(int, maxItems);
    QFETCH(int, added);

    KivDataSet ds(100, 100);
    ds.setStyle(ulong(dims - 1));
    ds.setMaxItemCount(ulong(maxItems));
    for (int i = 0; i < added; ++i) {
        if (dims == 2)
            ds.addData(i, -i);
        else
            ds.addData(i, -i, 0.5 * i);
        if (i % 1000 == 999)
            ds.flush();
    }
    ds.flush();
    const int kept = maxItems > 0 ? std::min(maxItems, added) : added;
    QCOMPARE(ds.getDisplayItemCount(), ulong(kept));
    for (int i = 0; i < kept; ++i) {
        const double n = added - kept + i;
        double x = 0, y = 0, z = 0;
        if (dims == 2) {
            ds.getData(ulong(i), x, y);
            z = 0.5 * n;
        } else {
            ds.getData(ulong(i), x, y, z);
        }
        if (x != n || y != -n || z != 0.5 * n)
            QFAIL(qPrintable(QString("sample %1 reads %2, %3, %4").arg(i).arg(x).arg(y).arg(z)));
    }
}

void TestDataSetStore::mismatchedVariantIsIgnored()
{
    KivDataSet ds(100, 100);
    QSignalSpy updates(&ds, &KivDataSet::needUpdate);
    for (int i = 0; i < 5000; ++i) {
        ds.addData(i);
        ds.addData(i, i); // wrong size for a one-value series
        ds.addData(i, i, i);
    }
    ds.flush();
    QCOMPARE(updates.count(), 5000);
    QCOMPARE(displayed(ds), range(0, 5000));

    ds.setStyle(0x3); // no dimension at all: nothing is stored
    ds.addData(1.0);
    ds.addData(1.0, 2.0);
    ds.addData(1.0, 2.0, 3.0);
    ds.flush();
    QCOMPARE(ds.getItemCount(), 0ul);
}

void TestDataSetStore::memoryStaysBounded_data()
{
    QTest::addColumn<bool>("frozen");
    QTest::newRow("running") << false;
    QTest::newRow("frozen") << true;
}

void TestDataSetStore::memoryStaysBounded()
{
    // Blocks are released as the bound drops their samples: a long run must not grow
    // the heap beyond a few blocks (one block is 48000 bytes).
    QFETCH(bool, frozen);
    KivDataSet ds(100, 100);
    ds.setMaxItemCount(6000);
    for (int i = 0; i < 20000; ++i)
        ds.addData(i);
    ds.flush();
    ds.freeze(frozen);
    const size_t before = heapInUse();
    for (int i = 0; i < 1000000; ++i) {
        ds.addData(i);
        if (i % 10000 == 0)
            ds.flush();
    }
    ds.flush();
    const size_t after = heapInUse();
    QVERIFY2(after < before + 1000000, qPrintable(QString("heap grew by %1 bytes").arg(qint64(after - before))));
    QCOMPARE(ds.getItemCount(), 6000ul);
}

void TestDataSetStore::freezeHoldsDisplayedData()
{
    KivDataSet ds(100, 100);
    ds.setMaxItemCount(50);
    for (int i = 0; i < 30; ++i)
        ds.addData(i);
    QSignalSpy updates(&ds, &KivDataSet::needUpdate);
    ds.freeze(true); // moves what is queued first
    QVERIFY(ds.isFrozen());
    QCOMPARE(ds.getDisplayItemCount(), 30ul);
    const QVector<double> shown = displayed(ds);

    for (int i = 30; i < 230; ++i) {
        ds.addData(i);
        if (i % 17 == 0)
            ds.flush();
    }
    ds.setData(0, 99.0);
    ds.flush();
    QCOMPARE(updates.count(), 0);
    QCOMPARE(displayed(ds), shown);
    QCOMPARE(ds.getItemCount(), 50ul);
    QCOMPARE(timeOf(ds), 30.0);

    ds.freeze(false);
    QVERIFY(!ds.isFrozen());
    QCOMPARE(updates.count(), 0);
    QCOMPARE(displayed(ds), shown); // nothing moves before the next flush
    ds.flush();
    QCOMPARE(displayed(ds), range(180, 50));
    QCOMPARE(timeOf(ds), 230.0);

    // Freezing twice and unfreezing an unfrozen series change nothing.
    ds.freeze(false);
    ds.freeze(true);
    ds.freeze(true);
    QVERIFY(ds.isFrozen());
    ds.freeze(false);
    ds.addData(230);
    QCOMPARE(updates.count(), 1);
}

void TestDataSetStore::clear_data()
{
    QTest::addColumn<bool>("resetTime");
    QTest::addColumn<bool>("frozen");
    QTest::newRow("keep time") << false << false;
    QTest::newRow("reset time") << true << false;
    QTest::newRow("frozen, reset time") << true << true;
}

void TestDataSetStore::clear()
{
    QFETCH(bool, resetTime);
    QFETCH(bool, frozen);

    KivDataSet ds(100, 100);
    ds.setMaxItemCount(20);
    ds.setTime(0.25, 100.0);
    for (int i = 0; i < 30; ++i)
        ds.addData(i);
    ds.flush();
    ds.addData(7);
    ds.freeze(frozen);
    QSignalSpy updates(&ds, &KivDataSet::needUpdate);
    ds.clear(resetTime);
    QCOMPARE(updates.count(), 1);
    QCOMPARE(ds.getItemCount(), 0ul);
    QCOMPARE(ds.getDisplayItemCount(), 0ul);
    QCOMPARE(ds.getScopeOffset(), -1l);
    double interval = 0.0, time = 0.0;
    ds.getTime(interval, time);
    QCOMPARE(interval, 0.25);
    QCOMPARE(time, resetTime ? 0.0 : 100.0 + 30 * 0.25);

    // The series works as before.
    ds.freeze(false);
    ds.addData(1.0);
    ds.addData(2.0);
    ds.flush();
    QCOMPARE(displayed(ds), QVector<double>({1.0, 2.0}));
}

void TestDataSetStore::barSlotsAreZeroFilled()
{
    KivDataSet ds(100, 100);
    ds.setStyle(KivDataStyleBar);
    ds.setMaxItemCount(8);
    QCOMPARE(ds.getDisplayItemCount(), 8ul);
    QCOMPARE(displayed(ds), QVector<double>(8, 0.0));
    QCOMPARE(ds.getLabelList(), QList<QString>() << "" << "" << "" << "" << "" << "" << "" << "");

    ds.addData(5.0);
    ds.addData(6.0);
    ds.flush();
    QCOMPARE(displayed(ds), QVector<double>({0, 0, 0, 0, 0, 0, 5, 6}));
    ds.setData(0, 3.0);
    QCOMPARE(displayed(ds).first(), 3.0);

    ds.clear(true);
    QCOMPARE(displayed(ds), QVector<double>(8, 0.0));

    // More slots than a block holds.
    ds.setMaxItemCount(13000);
    QCOMPARE(ds.getDisplayItemCount(), 13000ul);
    QCOMPARE(displayed(ds), QVector<double>(13000, 0.0));
    ds.addData(1.0);
    ds.flush();
    QCOMPARE(ds.getDisplayItemCount(), 13000ul);
    QCOMPARE(displayed(ds).last(), 1.0);

    // Without a bound there are no slots.
    ds.setMaxItemCount(0);
    QCOMPARE(ds.getDisplayItemCount(), 0ul);
    QVERIFY(ds.getLabelList().isEmpty());
}

void TestDataSetStore::styleOrLimitChangeDiscardsData_data()
{
    QTest::addColumn<bool>("changeStyle");
    QTest::newRow("setStyle") << true;
    QTest::newRow("setMaxItemCount") << false;
}

void TestDataSetStore::styleOrLimitChangeDiscardsData()
{
    QFETCH(bool, changeStyle);
    KivDataSet ds(100, 100);
    ds.setMaxItemCount(100);
    ds.setTime(1.0, 50.0);
    for (int i = 0; i < 60; ++i)
        ds.addData(i);
    ds.flush();
    ds.addData(1.0);
    if (changeStyle)
        ds.setStyle(KivDataStylePoints);
    else
        ds.setMaxItemCount(200);
    QCOMPARE(ds.getItemCount(), 0ul);
    QCOMPARE(timeOf(ds), 0.0);
    QCOMPARE(ds.getScopeOffset(), 0l);
    ds.setMaxItemCount(0);
    QCOMPARE(ds.getScopeOffset(), -1l);
}

void TestDataSetStore::timeBase()
{
    KivDataSet ds(100, 100);
    QSignalSpy updates(&ds, &KivDataSet::needUpdate);
    ds.setTime(0.5, 10.0);
    QCOMPARE(updates.count(), 1);
    for (int i = 0; i < 4; ++i)
        ds.addData(i);
    QCOMPARE(timeOf(ds), 10.0); // moves with the samples, not before
    ds.flush();
    QCOMPARE(timeOf(ds), 12.0);
    QCOMPARE(ds.getItemTime(0), 12.0);
    QCOMPARE(ds.getItemTime(2), 11.0);
    QCOMPARE(ds.getItemTime(-2), 13.0);

    // Samples dropped before they were drawn still count.
    ds.setMaxItemCount(3);
    ds.setTime(0.5, 0.0);
    for (int i = 0; i < 10; ++i)
        ds.addData(i);
    ds.flush();
    QCOMPARE(timeOf(ds), 5.0);

    ds.freeze(true);
    ds.setTime(2.0, 1.0);
    QCOMPARE(timeOf(ds), 1.0);
}

void TestDataSetStore::addAtFront()
{
    KivDataSet ds(100, 100);
    ds.setAddPosition(false);
    QVERIFY(!ds.isAddedAtBack());
    ds.setTime(1.0, 100.0);
    for (int i = 1; i <= 3; ++i)
        ds.addData(i);
    ds.flush();
    QCOMPARE(displayed(ds), QVector<double>({3, 2, 1}));
    QCOMPARE(timeOf(ds), 97.0);

    // Many blocks at the front, then a bound that drops the newest at the tail.
    for (int i = 4; i <= 15000; ++i)
        ds.addData(i);
    ds.flush();
    QCOMPARE(ds.getDisplayItemCount(), 15000ul);
    QCOMPARE(displayed(ds), range(15000, 15000, -1.0));

    ds.setMaxItemCount(4);
    ds.setAddPosition(false);
    for (int i = 1; i <= 9; ++i)
        ds.addData(i);
    ds.flush();
    QCOMPARE(displayed(ds), QVector<double>({9, 8, 7, 6}));
    QCOMPARE(timeOf(ds), -9.0);
    // Now back again: appended after the last.
    ds.setAddPosition(true);
    ds.addData(10);
    ds.flush();
    QCOMPARE(displayed(ds), QVector<double>({8, 7, 6, 10}));
}

void TestDataSetStore::addPositionChangeMovesQueuedDataFirst()
{
    KivDataSet ds(100, 100);
    ds.addData(1);
    ds.addData(2);
    ds.setAddPosition(true); // unchanged: nothing is moved
    QCOMPARE(ds.getDisplayItemCount(), 0ul);
    ds.setAddPosition(false);
    QCOMPARE(displayed(ds), QVector<double>({1, 2}));
    ds.addData(3);
    ds.addData(4);
    ds.setAddPosition(true);
    QCOMPARE(displayed(ds), QVector<double>({4, 3, 1, 2}));
    ds.addData(5);
    ds.flush();
    QCOMPARE(displayed(ds), QVector<double>({4, 3, 1, 2, 5}));
}

void TestDataSetStore::scopeOffsetFollowsTheSweep()
{
    KivDataSet ds(100, 100);
    ds.setStyle(KivDataStyleScope);
    ds.setMaxItemCount(10);
    for (int i = 0; i < 10; ++i)
        ds.addData(i);
    ds.flush();
    QCOMPARE(ds.getScopeOffset(), 0l); // not full before: nothing overwritten
    ds.addData(10);
    ds.addData(11);
    ds.addData(12);
    ds.flush();
    QCOMPARE(ds.getScopeOffset(), 3l);
    for (int i = 0; i < 25; ++i)
        ds.addData(i);
    ds.flush();
    QCOMPARE(ds.getScopeOffset(), 8l);

    // Added at the front, the cursor runs backwards and wraps below 0.
    ds.setAddPosition(false);
    for (int i = 0; i < 9; ++i)
        ds.addData(i);
    ds.flush();
    QCOMPARE(ds.getScopeOffset(), 9l);

    // Without the scope bit the offset stays where it was put.
    ds.setStyle(KivDataStyleLine);
    ds.setAddPosition(true);
    for (int i = 0; i < 15; ++i)
        ds.addData(i);
    ds.flush();
    QCOMPARE(ds.getScopeOffset(), 0l);
}

void TestDataSetStore::setScopeOffsetClamps()
{
    KivDataSet ds(100, 100);
    for (int i = 0; i < 10; ++i)
        ds.addData(i);
    QCOMPARE(ds.setScopeOffset(100), 0l);
    QCOMPARE(ds.getScopeOffset(), 9l);
    QCOMPARE(ds.setScopeOffset(4), 9l);
    QCOMPARE(ds.getScopeOffset(), 4l);
    QCOMPARE(ds.setScopeOffset(-1), 4l);
    QCOMPARE(ds.getScopeOffset(), -1l);
    KivDataSet empty(100, 100);
    empty.setScopeOffset(3);
    QCOMPARE(empty.getScopeOffset(), -1l);
}

void TestDataSetStore::duplicateDataAddsGaps()
{
    for (int dims = 1; dims <= 3; ++dims) {
        KivDataSet ds(100, 100);
        ds.setStyle(ulong(dims - 1));
        QSignalSpy updates(&ds, &KivDataSet::needUpdate);
        ds.duplicateData(7);
        QCOMPARE(updates.count(), 7);
        ds.flush();
        QCOMPARE(ds.getDisplayItemCount(), 7ul);
        for (unsigned long i = 0; i < ulong(7 * dims); ++i) {
            double v = 0.0;
            ds.getData(i, v, true, ulong(dims));
            QCOMPARE(v, Gap);
        }
    }
}

void TestDataSetStore::setData()
{
    KivDataSet ds(100, 100);
    for (int i = 0; i < 7000; ++i)
        ds.addData(i);
    ds.flush();
    QSignalSpy updates(&ds, &KivDataSet::needUpdate);
    ds.setData(6500, -1.0); // in the second block
    QCOMPARE(updates.count(), 1);
    double v = 0.0;
    ds.getData(6500, v);
    QCOMPARE(v, -1.0);
    ds.setData(7000, 5.0); // one past the end
    ds.setData(ulong(-1), 5.0);
    QCOMPARE(updates.count(), 1);
    ds.addData(8.0);
    ds.setData(7000, 5.0); // queued, not yet drawn
    QCOMPARE(updates.count(), 2);
    ds.flush();
    ds.getData(7000, v);
    QCOMPARE(v, 8.0);
}

void TestDataSetStore::copyData_data()
{
    QTest::addColumn<int>("dims");
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("copied");

    // 14000 samples after 1000 were dropped: blocks start part-way.
    QTest::newRow("all") << 1 << 0 << 14000 << 14000;
    QTest::newRow("across two blocks") << 1 << 4990 << 20 << 20;
    QTest::newRow("past the end") << 1 << 13990 << 50 << 10;
    QTest::newRow("first past the end") << 1 << 14000 << 5 << 0;
    QTest::newRow("nothing asked") << 1 << 10 << 0 << 0;
    QTest::newRow("2 values across blocks") << 2 << 1990 << 2000 << 2000;
    QTest::newRow("3 values, tail") << 3 << 13000 << 5000 << 1000;
}

void TestDataSetStore::copyData()
{
    QFETCH(int, dims);
    QFETCH(int, first);
    QFETCH(int, count);
    QFETCH(int, copied);

    KivDataSet ds(100, 100);
    ds.setStyle(ulong(dims - 1));
    ds.setMaxItemCount(14000);
    for (int i = 0; i < 15000; ++i) {
        if (dims == 1)
            ds.addData(i);
        else if (dims == 2)
            ds.addData(i, -i);
        else
            ds.addData(i, -i, 2 * i);
        if (i % 4000 == 0)
            ds.flush();
    }
    ds.flush();
    std::vector<double> out(size_t(count * dims + 1), -7.0);
    QCOMPARE(ds.copyData(ulong(first), ulong(count), out.data()), ulong(copied));
    for (int i = 0; i < copied; ++i) {
        const double n = 1000 + first + i;
        const double want[3] = {n, -n, 2 * n};
        for (int k = 0; k < dims; ++k) {
            if (out[size_t(i * dims + k)] != want[k])
                QFAIL(qPrintable(QString("sample %1 value %2 is %3").arg(i).arg(k).arg(out[size_t(i * dims + k)])));
        }
    }
    QCOMPARE(out[size_t(copied * dims)], -7.0); // nothing written beyond
    QCOMPARE(ds.copyData(0, 10, nullptr), 0ul);

    // Single reads out of range leave the target alone.
    double v = 42.0, x = 1.0, y = 2.0, z = 3.0;
    ds.getData(ulong(14000 * dims), v, true, ulong(dims));
    ds.getData(0, v, true, 0);
    ds.getData(20000, x, y, z);
    QCOMPARE(v, 42.0);
    QCOMPARE(x + y + z, 6.0);
}

void TestDataSetStore::hasStyle_data()
{
    QTest::addColumn<ulong>("style");
    QTest::addColumn<ulong>("flags");
    QTest::addColumn<ulong>("mask");
    QTest::addColumn<bool>("expected");

    QTest::newRow("bar field is bar") << 0x20ul << 0x20ul << 0x70ul << true;
    QTest::newRow("cross field is not bar") << 0x30ul << 0x20ul << 0x70ul << false;
    QTest::newRow("cross bits in cross") << 0x30ul << 0x30ul << 0ul << true;
    QTest::newRow("cross bits in 0x70") << 0x70ul << 0x30ul << 0ul << true;
    QTest::newRow("triangle bit in 0x50") << 0x51ul << 0x40ul << 0ul << true;
    QTest::newRow("triangle bit not in cross") << 0x30ul << 0x40ul << 0ul << false;
    QTest::newRow("scope with mask") << 0x121ul << 0x100ul << 0x100ul << true;
    QTest::newRow("two values masked") << 0x121ul << 0x1ul << 0x3ul << true;
    QTest::newRow("no flags, no mask") << 0x0ul << 0x0ul << 0ul << true;
}

void TestDataSetStore::hasStyle()
{
    QFETCH(ulong, style);
    QFETCH(ulong, flags);
    QFETCH(ulong, mask);
    QFETCH(bool, expected);
    KivDataSet ds(100, 100);
    ds.setStyle(style);
    QCOMPARE(ds.hasStyle(flags, mask), expected);
    QCOMPARE(ds.dimensions(), int(style & 3) + 1);
}

void TestDataSetStore::labelsColourAndVisibilitySignals()
{
    KivDataSet ds(100, 100);
    QSignalSpy updates(&ds, &KivDataSet::needUpdate);
    QSignalSpy labels(&ds, &KivDataSet::labelChanged);
    QSignalSpy colours(&ds, &KivDataSet::colorChanged);
    QVector<QString> order;
    connect(&ds, &KivDataSet::labelChanged, this, [&] { order.append("label"); });
    connect(&ds, &KivDataSet::needUpdate, this, [&] { order.append("update"); });

    ds.setLabel("Pressure");
    ds.setLabel("Pressure");
    QCOMPARE(labels.count(), 1);
    QCOMPARE(labels.first().first().toString(), QString("Pressure"));
    QCOMPARE(order, QVector<QString>({"label", "update"}));
    QVERIFY(ds.hasLabel());
    QCOMPARE(ds.getLabel(), QString("Pressure"));

    ds.setColor(QColor(Qt::red));
    ds.setColor(1.0, 0.0, 0.0);
    QCOMPARE(colours.count(), 1);
    ds.setColor(0.0, 0.5, 1.0);
    QCOMPARE(colours.count(), 2);
    QCOMPARE(colours.last().first().value<QColor>(), QColor::fromRgbF(0.0, 0.5, 1.0));
    QCOMPARE(ds.getColor(), QColor::fromRgbF(0.0, 0.5, 1.0));

    updates.clear();
    ds.setVisible(true);
    QCOMPARE(updates.count(), 0);
    ds.setVisible(false);
    QVERIFY(!ds.isVisible());
    QCOMPARE(updates.count(), 1);

    ds.setCurrentValueLabel("now");
    ds.setCurrentValueLabel("now");
    QCOMPARE(updates.count(), 2);
    QCOMPARE(ds.getCurrentValueLabel(), QString("now"));
    QCOMPARE(colours.count(), 2);
}

void TestDataSetStore::dataLabels()
{
    KivDataSet ds(100, 100);
    ds.setStyle(KivDataStyleBar);
    ds.setMaxItemCount(3);
    QSignalSpy updates(&ds, &KivDataSet::needUpdate);
    const QList<QString> shared = ds.getLabelList();
    ds.setDataLabel(1, "b");
    ds.setDataLabel(3, "x");
    ds.setDataLabel(-1, "x");
    QCOMPARE(updates.count(), 3); // announced even when out of range
    QCOMPARE(ds.getLabelList(), QList<QString>() << "" << "b" << "");
    QCOMPARE(shared, QList<QString>() << "" << "" << ""); // a copy taken before is untouched
    ds.freeze(true);
    ds.setDataLabel(0, "a");
    QCOMPARE(updates.count(), 3);
    QCOMPARE(ds.getLabelList().first(), QString("a"));
}

QTEST_GUILESS_MAIN(TestDataSetStore)
#include "tst_datasetstore.moc"
