// The data series as a store: bounds across blocks, gaps, freezing, clearing, bar slots,
// the time base, adding at the front, the scope offset and signals.

#include "kiv_dataset.h"

#include <QSignalSpy>
#include <QtTest>

#include <cfloat>
#include <functional>
#include <limits>
#include <malloc.h>

using Values = QVector<double>;

namespace {

constexpr double Gap = DBL_MAX;

Values displayed(const KivDataSet &ds)
{
    Values out(int(ds.getDisplayItemCount()), -12345.0);
    for (int i = 0; i < out.size(); ++i)
        ds.getData(ulong(i), out[i]);
    return out;
}

Values range(double first, int n, double step = 1.0)
{
    Values out;
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

void addSample(KivDataSet &ds, int dims, const double *v)
{
    dims == 1 ? ds.addData(v[0]) : dims == 2 ? ds.addData(v[0], v[1]) : ds.addData(v[0], v[1], v[2]);
}

// flushEvery 0: one flush at the end; bulk > 0: samples go in through addSamples, that many
// per call.
struct Run { int dims, maxItems, added, flushEvery, bulk = 0; };
// Something that discards the samples, whether the series is frozen, and the time and scope
// offset after it.
struct Discard { std::function<void(KivDataSet &)> action; bool frozen; double time; long scopeOffset; };

} // namespace

Q_DECLARE_METATYPE(Run)
Q_DECLARE_METATYPE(Discard)

class TestDataSetStore : public QObject
{
    Q_OBJECT

private slots:
    void boundKeepsNewest_data()
    {
        QTest::addColumn<Run>("run");
        // A block holds 6000 one-value samples.
        QTest::newRow("unbounded, three blocks, in pieces") << Run{1, 0, 13000, 777};
        QTest::newRow("over the bound, flushed each sample") << Run{1, 5, 12, 1};
        QTest::newRow("one block, one more") << Run{1, 6000, 6001, 0};
        QTest::newRow("bound of a block, many blocks") << Run{1, 6000, 20000, 2500};
        QTest::newRow("bound over a block") << Run{1, 7000, 30000, 5999};
        QTest::newRow("small bound, long run") << Run{1, 100, 1000000, 333};
        QTest::newRow("2 values, odd bound") << Run{2, 1234, 5000, 1000};
        QTest::newRow("3 values, bounded") << Run{3, 2500, 9000, 1000};
        QTest::newRow("bulk, blocks of 1000 across storage blocks") << Run{1, 7000, 30000, 6000, 1000};
        QTest::newRow("bulk, one call over the bound") << Run{1, 100, 5000, 0, 5000};
        QTest::newRow("bulk, 2 values, calls over the bound") << Run{2, 1234, 5000, 0, 1500};
    }

    void boundKeepsNewest()
    {
        QFETCH(Run, run);
        const auto [dims, maxItems, added, flushEvery, bulk] = run;
        KivDataSet ds(100, 100);
        ds.setStyle(ulong(dims - 1));
        ds.setMaxItemCount(ulong(maxItems));
        QSignalSpy updates(&ds, &KivDataSet::needUpdate);
        const size_t heapBefore = mallinfo2().uordblks;
        const int step = std::max(bulk, 1);
        std::vector<double> values;
        for (int i = 0; i < added; i += step) {
            const int n = std::min(step, added - i);
            values.clear();
            for (int k = i; k < i + n; ++k)
                values.insert(values.end(), {double(k), -double(k), 2.0 * k});
            if (bulk > 0) {
                std::vector<double> packed; // dims values per sample
                for (int k = 0; k < n; ++k)
                    packed.insert(packed.end(), values.begin() + 3 * k, values.begin() + 3 * k + dims);
                ds.addSamples(packed.data(), ulong(n), dims);
            } else {
                addSample(ds, dims, values.data());
            }
            if (flushEvery > 0 && (i + n) / flushEvery != i / flushEvery)
                ds.flush();
        }
        QCOMPARE(updates.count(), (added + step - 1) / step); // one per call
        const int kept = maxItems > 0 ? std::min(maxItems, added) : added;
        QCOMPARE(ds.getItemCount(), ulong(kept)); // counts the queued samples too
        ds.flush();
        QCOMPARE(ds.getDisplayItemCount(), ulong(kept));
        QCOMPARE(timeOf(ds), double(added)); // every sample counts, kept or dropped
        if (maxItems > 0) // blocks are released as the bound drops their samples
            QVERIFY(mallinfo2().uordblks < heapBefore + 1000000);

        // Copy from part-way into the stored samples to past their end.
        const int first = kept / 3, copied = kept - first;
        std::vector<double> out(size_t(copied * dims + 1), -7.0);
        QCOMPARE(ds.copyData(ulong(first), ulong(copied + 5), out.data()), ulong(copied));
        for (int i = 0; i < copied * dims; ++i) {
            const double n = added - copied + i / dims, want[3] = {n, -n, 2 * n};
            if (out[size_t(i)] != want[i % dims])
                QFAIL(qPrintable(QString("value %1 is %2, want %3").arg(i).arg(out[size_t(i)]).arg(want[i % dims])));
        }
        QCOMPARE(out.back(), -7.0); // nothing written beyond
        QCOMPARE(ds.copyData(ulong(kept), 5, out.data()), 0ul);
    }

    void nonFiniteBecomesGap_data()
    {
        QTest::addColumn<Values>("input");
        QTest::addColumn<Values>("stored");
        const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
        QTest::newRow("nan") << Values{nan} << Values{Gap};
        QTest::newRow("inf") << Values{inf} << Values{Gap};
        QTest::newRow("largest finite") << Values{-DBL_MAX} << Values{-DBL_MAX};
        QTest::newRow("2 values, x nan") << Values{nan, 3.0} << Values{Gap, 3.0};
        QTest::newRow("2 values, y -inf") << Values{1.5, -inf} << Values{1.5, Gap};
        QTest::newRow("3 values, z inf") << Values{1.0, 2.0, inf} << Values{1.0, 2.0, Gap};
    }

    void nonFiniteBecomesGap()
    {
        QFETCH(Values, input);
        QFETCH(Values, stored);
        const int dims = input.size();
        KivDataSet ds(100, 100);
        ds.setStyle(ulong(dims - 1));
        addSample(ds, dims, input.constData());
        const Values twice = input + input;
        ds.addSamples(twice.constData(), 2, dims);
        ds.duplicateData(2); // explicit gaps
        ds.flush();
        Values got(5 * dims);
        QCOMPARE(ds.copyData(0, 5, got.data()), 5ul);
        QCOMPARE(got, stored + stored + stored + Values(2 * dims, Gap));
        // Overwriting a drawn value follows the same rule.
        if (dims == 1) {
            ds.setData(2, input[0]);
            double v = 0.0;
            ds.getData(2, v);
            QCOMPARE(v, stored[0]);
        }
    }

    void badInputIsIgnored()
    {
        KivDataSet ds(100, 100);
        QSignalSpy updates(&ds, &KivDataSet::needUpdate);
        const double pairs[4] = {1, 2, 3, 4};
        for (int i = 0; i < 7000; ++i) {
            ds.addData(i);
            ds.addData(i, i); // wrong size for a one-value series
            ds.addData(i, i, i);
            ds.addSamples(pairs, 2, 2);
        }
        ds.addSamples(nullptr, 5, 1);
        ds.addSamples(pairs, 0, 1); // nothing added, nothing announced
        ds.addSamples(pairs, 1, 4);
        ds.flush();
        QCOMPARE(updates.count(), 7000);
        QCOMPARE(displayed(ds), range(0, 7000));

        // setData reaches only samples already moved.
        ds.setData(6500, -1.0); // in the second block
        ds.setData(7000, 5.0);
        ds.setData(ulong(-1), 5.0);
        ds.addData(8.0);
        ds.setData(7000, 5.0); // queued
        QCOMPARE(updates.count(), 7002);
        ds.flush();
        const Values shown = displayed(ds);
        QCOMPARE(shown.mid(6499, 2) + shown.mid(6999), Values({6499, -1, 6999, 8}));
        QCOMPARE(ds.copyData(0, 10, nullptr), 0ul);
    }

    void freezeHoldsDisplayedData()
    {
        KivDataSet ds(100, 100);
        ds.setMaxItemCount(50);
        ds.setTime(0.5, 0.0);
        for (int i = 0; i < 30; ++i)
            ds.addData(i);
        QCOMPARE(timeOf(ds), 0.0); // moves with the samples, not before
        QSignalSpy updates(&ds, &KivDataSet::needUpdate);
        ds.freeze(true); // moves what is queued first
        QCOMPARE(Values({ds.getItemTime(0), ds.getItemTime(2), ds.getItemTime(-2)}), Values({15.0, 14.0, 16.0}));
        for (int i = 30; i < 200; ++i) {
            ds.addData(i);
            if (i % 17 == 0)
                ds.flush();
        }
        const Values last = range(200, 30);
        ds.addSamples(last.constData(), 30, 1);
        ds.setData(0, 99.0);
        ds.setDataLabel(0, "a");
        ds.flush();
        QCOMPARE(updates.count(), 0);
        QCOMPARE(displayed(ds), range(0, 30));
        QCOMPARE(ds.getItemCount(), 50ul);
        QCOMPARE(timeOf(ds), 15.0);

        ds.freeze(false);
        QCOMPARE(displayed(ds), range(0, 30)); // nothing moves before the next flush
        ds.flush();
        QCOMPARE(displayed(ds), range(180, 50));
        QCOMPARE(timeOf(ds), 115.0);
        ds.freeze(true);
        ds.freeze(true); // a second freeze changes nothing
        ds.setTime(2.0, 1.0); // applies at once, announced only when unfrozen
        QCOMPARE(timeOf(ds), 1.0);
        ds.freeze(false);
        ds.addData(230);
        QCOMPARE(updates.count(), 1);
    }

    void discardingData_data()
    {
        QTest::addColumn<Discard>("c");
        const auto clear = [](bool time) { return [time](KivDataSet &ds) { ds.clear(time); }; };
        QTest::newRow("clear, keep time") << Discard{clear(false), false, 100.0 + 30 * 0.25, -1};
        QTest::newRow("clear, reset time") << Discard{clear(true), false, 0.0, -1};
        QTest::newRow("clear frozen") << Discard{clear(true), true, 0.0, -1};
        QTest::newRow("setStyle") << Discard{[](KivDataSet &ds) { ds.setStyle(KivDataStylePoints); }, false, 0.0, 0};
        QTest::newRow("setMaxItemCount") << Discard{[](KivDataSet &ds) { ds.setMaxItemCount(200); }, false, 0.0, 0};
    }

    void discardingData()
    {
        QFETCH(Discard, c);
        KivDataSet ds(100, 100);
        ds.setMaxItemCount(20);
        ds.setTime(0.25, 100.0);
        for (int i = 0; i < 30; ++i)
            ds.addData(i);
        ds.flush();
        ds.addData(7);
        ds.freeze(c.frozen);
        QSignalSpy updates(&ds, &KivDataSet::needUpdate);
        c.action(ds);
        QCOMPARE(updates.count(), 1);
        QCOMPARE(ds.getItemCount() + ds.getDisplayItemCount(), 0ul);
        QCOMPARE(ds.getScopeOffset(), c.scopeOffset);
        QCOMPARE(timeOf(ds), c.time);

        ds.freeze(false); // the series works as before
        ds.addData(1.0);
        ds.addData(2.0);
        ds.flush();
        QCOMPARE(displayed(ds), Values({1.0, 2.0}));
    }

    void barSlotsAreZeroFilled()
    {
        KivDataSet ds(100, 100);
        ds.setStyle(KivDataStyleBar);
        ds.setMaxItemCount(4);
        QCOMPARE(displayed(ds), Values(4, 0.0));
        ds.addData(5.0);
        ds.addData(6.0);
        ds.flush();
        QCOMPARE(displayed(ds), Values({0, 0, 5, 6}));

        ds.setDataLabel(1, "b"); // one label per slot
        ds.setDataLabel(4, "x");
        ds.setDataLabel(-1, "x");
        QCOMPARE(ds.getLabelList(), QList<QString>({"", "b", "", ""}));

        ds.clear(true);
        QCOMPARE(displayed(ds), Values(4, 0.0));
        ds.setMaxItemCount(13000); // more slots than a block holds
        ds.addData(1.0);
        ds.flush();
        QCOMPARE(displayed(ds), Values(12999, 0.0) << 1.0);
        ds.setMaxItemCount(0); // without a bound there are no slots
        QCOMPARE(ds.getDisplayItemCount(), 0ul);
        QVERIFY(ds.getLabelList().isEmpty());
    }

    void addAtFront()
    {
        KivDataSet ds(100, 100);
        ds.addData(1);
        ds.addData(2);
        ds.setAddPosition(true); // unchanged: nothing is moved
        QCOMPARE(ds.getDisplayItemCount(), 0ul);
        ds.setAddPosition(false); // the queued samples are moved first
        ds.setTime(1.0, 100.0);
        ds.addData(3);
        ds.addData(4);
        ds.setAddPosition(true);
        QCOMPARE(displayed(ds), Values({4, 3, 1, 2}));
        QCOMPARE(timeOf(ds), 98.0);

        ds.setMaxItemCount(4); // a bound drops the oldest, at the tail
        ds.setAddPosition(false);
        const Values nine = range(1, 9);
        ds.addSamples(nine.constData(), 9, 1);
        ds.flush();
        QCOMPARE(displayed(ds), Values({9, 8, 7, 6}));
        ds.setAddPosition(true);
        ds.addData(10);
        ds.flush();
        QCOMPARE(displayed(ds), Values({8, 7, 6, 10}));
    }

    void scopeOffset()
    {
        KivDataSet ds(100, 100);
        ds.setStyle(KivDataStyleScope);
        ds.setMaxItemCount(10);
        // Not full: nothing overwritten yet; at the front the cursor runs back and wraps below 0.
        const struct { int added; bool atBack; long offset; } steps[] = {{10, true, 0}, {3, true, 3}, {25, true, 8}, {9, false, 9}};
        for (const auto &s : steps) {
            ds.setAddPosition(s.atBack);
            for (int i = 0; i < s.added; ++i)
                ds.addData(i);
            ds.flush();
            QCOMPARE(ds.getScopeOffset(), s.offset);
        }
        ds.setStyle(KivDataStyleLine); // without the scope bit the offset stays where it was put
        ds.setAddPosition(true);
        for (int i = 0; i < 15; ++i)
            ds.addData(i);
        ds.flush();
        QCOMPARE(ds.getScopeOffset(), 0l);

        // Setting it clamps to the last sample and returns the previous one.
        QCOMPARE(ds.setScopeOffset(100), 0l);
        QCOMPARE(ds.setScopeOffset(4), 9l);
        QCOMPARE(ds.setScopeOffset(-1), 4l);
        QCOMPARE(ds.getScopeOffset(), -1l);
        KivDataSet empty(100, 100);
        empty.setScopeOffset(3);
        QCOMPARE(empty.getScopeOffset(), -1l);
    }

    void signalsOncePerChange()
    {
        KivDataSet ds(400, 200);
        // Each change is announced once; setting the same value again is silent.
        QSignalSpy labels(&ds, &KivDataSet::labelChanged), colours(&ds, &KivDataSet::colorChanged),
            updates(&ds, &KivDataSet::needUpdate);
        for (int i = 0; i < 2; ++i) {
            ds.setLabel("Pressure");
            ds.setColor(0.0, 0.5, 1.0);
            ds.setVisible(false);
            ds.setCurrentValueLabel("now");
        }
        QVERIFY(labels.count() == 1 && colours.count() == 1 && updates.count() == 3);
        QCOMPARE(colours.last().first().value<QColor>(), QColor::fromRgbF(0.0, 0.5, 1.0));
    }
};

QTEST_GUILESS_MAIN(TestDataSetStore)
#include "tst_datasetstore.moc"
