// Behaviour of the reader/writer lock: re-entry, upgrade, downgrade, writer preference,
// growth of the reader list, and exclusion under contention.

#include "velo_lock.h"

#include <QtTest>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

using velo::LockReadWrite;
using velo::ReadWriteMutex;

namespace {

// Spins (yielding) until `done` returns true.
template<typename F>
void waitUntil(F done)
{
    while (!done())
        std::this_thread::yield();
}

// Gives another thread plenty of chances to run; only ever used to make a wrong ordering
// likely to show, never to decide the outcome.
void letOthersRun()
{
    for (int i = 0; i < 2000; ++i)
        std::this_thread::yield();
}

} // namespace

class TestVeloLock : public QObject
{
    Q_OBJECT

private slots:
    void writeReentry();
    void readReentryAndRelease();
    void guardReleasesOnScopeExitAndException();
    void upgradeWhenAllReadersAreThisThread();
    void upgradeWaitsForReaderOfAnotherThread();
    void downgradeKeepsOtherWritersOut();
    void writerMayReadWhileWritersWait();
    void waitingWriterHoldsBackNewReadersOnly();
    void readerListGrowsAndNeverShrinks();
    void writersAreExclusiveUnderContention();
};

void TestVeloLock::writeReentry()
{
    ReadWriteMutex m;
    LockReadWrite a(m);
    QVERIFY(a.lock(true));
    QVERIFY(a.lock(true)); // the same guard does not go deeper
    QCOMPARE(m.writeDepth(), 1u);

    LockReadWrite b(m);
    QVERIFY(b.lock(true));
    QCOMPARE(m.writeDepth(), 2u);

    QVERIFY(a.unlock());
    QVERIFY(m.isWriteLocked());
    QCOMPARE(m.writeDepth(), 1u);
    QVERIFY(b.unlock());
    QVERIFY(!m.isWriteLocked());
    QCOMPARE(m.writeDepth(), 0u);

    // Free for another thread now.
    bool gotIt = false;
    std::thread t([&] {
        LockReadWrite g(m);
        gotIt = g.lock(true);
    });
    t.join();
    QVERIFY(gotIt);
}

void TestVeloLock::readReentryAndRelease()
{
    ReadWriteMutex m;
    {
        LockReadWrite a(m), b(m), c(m);
        QVERIFY(!a.isReadLocked() && !a.isWriteLocked());
        QVERIFY(!a.unlock()); // holds nothing yet
        QVERIFY(a.lock(false));
        QVERIFY(a.lock(false)); // already held: no second entry
        QCOMPARE(m.readerCount(), 1);
        QVERIFY(b.lock(false));
        QVERIFY(c.lock(false));
        QCOMPARE(m.readerCount(), 3);
        QCOMPARE(m.readLocksOfCurrentThread(), 3);
        QVERIFY(b.unlock());
        QVERIFY(!b.unlock());
        QCOMPARE(m.readerCount(), 2);
    }
    QCOMPARE(m.readerCount(), 0);
}

void TestVeloLock::guardReleasesOnScopeExitAndException()
{
    ReadWriteMutex m;
    try {
        LockReadWrite g(m);
        g.lock(true);
        throw std::runtime_error("leaving early");
    } catch (const std::runtime_error &) {
    }
    QVERIFY(!m.isWriteLocked());
    try {
        LockReadWrite g(m);
        g.lock(false);
        throw std::runtime_error("leaving early");
    } catch (const std::runtime_error &) {
    }
    QCOMPARE(m.readerCount(), 0);
}

void TestVeloLock::upgradeWhenAllReadersAreThisThread()
{
    ReadWriteMutex m;
    LockReadWrite r1(m), r2(m), w(m);
    QVERIFY(r1.lock(false));
    QVERIFY(r2.lock(false));
    QVERIFY(w.lock(true)); // both reader entries are ours
    QVERIFY(m.isWriteLocked());
    QCOMPARE(m.readerCount(), 2);

    // A guard that reads and then asks for the write side gives up its read entry first.
    LockReadWrite g(m);
    QVERIFY(g.lock(false));
    QCOMPARE(m.readerCount(), 3);
    QVERIFY(g.lock(true));
    QVERIFY(g.isWriteLocked());
    QVERIFY(!g.isReadLocked());
    QCOMPARE(m.readerCount(), 2);
    QCOMPARE(m.writeDepth(), 2u);
}

void TestVeloLock::upgradeWaitsForReaderOfAnotherThread()
{
    ReadWriteMutex m;
    std::atomic<bool> otherReads{false}, release{false};
    std::thread reader([&] {
        LockReadWrite g(m);
        g.lock(false);
        otherReads = true;
        waitUntil([&] { return release.load(); });
    });
    waitUntil([&] { return otherReads.load(); });

    std::atomic<bool> upgraded{false};
    std::thread upgrader([&] {
        LockReadWrite r1(m), r2(m), w(m);
        r1.lock(false);
        r2.lock(false);
        w.lock(true);
        upgraded = true;
    });
    waitUntil([&] { return m.waitingWriters() == 1; });
    QVERIFY(!upgraded); // the other thread's reader entry keeps it out
    release = true;
    upgrader.join();
    reader.join();
    QVERIFY(upgraded);
    QCOMPARE(m.waitingWriters(), 0u);
    QCOMPARE(m.readerCount(), 0);
    QVERIFY(!m.isWriteLocked());
}

void TestVeloLock::downgradeKeepsOtherWritersOut()
{
    ReadWriteMutex m;
    LockReadWrite g(m);
    QVERIFY(g.lock(true));
    QVERIFY(g.lock(false));
    QVERIFY(g.isReadLocked());
    QVERIFY(!g.isWriteLocked());
    QVERIFY(!m.isWriteLocked());
    QCOMPARE(m.writeDepth(), 0u);
    QCOMPARE(m.readerCount(), 1);

    std::atomic<bool> written{false};
    std::thread writer([&] {
        LockReadWrite w(m);
        w.lock(true);
        written = true;
    });
    waitUntil([&] { return m.waitingWriters() == 1; });
    QVERIFY(!written);
    QVERIFY(g.unlock());
    writer.join();
    QVERIFY(written);

    // Downgrading one of two nested write guards keeps the write side held.
    LockReadWrite outer(m), inner(m);
    outer.lock(true);
    inner.lock(true);
    QVERIFY(inner.lock(false));
    QVERIFY(m.isWriteLocked());
    QCOMPARE(m.writeDepth(), 1u);
    QCOMPARE(m.readerCount(), 1);
}

void TestVeloLock::writerMayReadWhileWritersWait()
{
    ReadWriteMutex m;
    LockReadWrite w(m);
    QVERIFY(w.lock(true));
    std::atomic<bool> otherWrote{false};
    std::thread other([&] {
        LockReadWrite g(m);
        g.lock(true);
        otherWrote = true;
    });
    waitUntil([&] { return m.waitingWriters() == 1; });
    {
        LockReadWrite r(m);
        QVERIFY(r.lock(false)); // would deadlock if a waiting writer held the writer back
        QCOMPARE(m.readLocksOfCurrentThread(), 1);
    }
    QVERIFY(!otherWrote);
    w.unlock();
    other.join();
    QVERIFY(otherWrote);
}

void TestVeloLock::waitingWriterHoldsBackNewReadersOnly()
{
    ReadWriteMutex m;
    LockReadWrite mine(m);
    QVERIFY(mine.lock(false));

    std::atomic<int> order{0};
    std::atomic<int> writerTurn{0}, readerTurn{0};
    std::thread writer([&] {
        LockReadWrite g(m);
        g.lock(true);
        writerTurn = ++order;
    });
    waitUntil([&] { return m.waitingWriters() == 1; });

    std::atomic<bool> readerTrying{false};
    std::thread reader([&] {
        LockReadWrite g(m);
        readerTrying = true;
        g.lock(false);
        readerTurn = ++order;
    });
    waitUntil([&] { return readerTrying.load(); });
    letOthersRun();
    QCOMPARE(readerTurn.load(), 0); // a new reader waits behind the writer

    // This thread already reads, so it gets in again despite the waiting writer.
    {
        LockReadWrite again(m);
        QVERIFY(again.lock(false));
    }
    mine.unlock();
    writer.join();
    reader.join();
    QCOMPARE(writerTurn.load(), 1);
    QCOMPARE(readerTurn.load(), 2);
}

void TestVeloLock::readerListGrowsAndNeverShrinks()
{
    ReadWriteMutex m;
    std::vector<std::unique_ptr<LockReadWrite>> guards;
    const int expected[] = {32, 32, 64, 64, 128, 128, 256};
    const int counts[] = {1, 32, 33, 64, 65, 128, 129};
    for (int step = 0; step < 7; ++step) {
        while (int(guards.size()) < counts[step]) {
            guards.emplace_back(new LockReadWrite(m));
            QVERIFY(guards.back()->lock(false));
        }
        QCOMPARE(m.readerCount(), counts[step]);
        QCOMPARE(m.readerCapacity(), expected[step]);
    }
    guards.clear();
    QCOMPARE(m.readerCount(), 0);
    QCOMPARE(m.readerCapacity(), 256);

}

void TestVeloLock::writersAreExclusiveUnderContention()
{
    // Writers bump two plain counters in two steps; readers must never see them differ,
    // and the total must match. ThreadSanitizer checks the same from its side.
    ReadWriteMutex m;
    long a = 0, b = 0;
    std::atomic<long> mismatches{0};
    const int writers = 3, readers = 3, rounds = 20000;
    std::vector<std::thread> threads;
    for (int w = 0; w < writers; ++w) {
        threads.emplace_back([&] {
            for (int i = 0; i < rounds; ++i) {
                LockReadWrite g(m);
                g.lock(true);
                ++a;
                if (i % 7 == 0) {
                    LockReadWrite nested(m); // re-entry on both sides inside the writer
                    nested.lock(false);
                }
                ++b;
            }
        });
    }
    for (int r = 0; r < readers; ++r) {
        threads.emplace_back([&] {
            for (int i = 0; i < rounds; ++i) {
                LockReadWrite g(m);
                g.lock(false);
                if (a != b)
                    ++mismatches;
                if (i % 5 == 0) {
                    LockReadWrite nested(m);
                    nested.lock(false);
                    if (a != b)
                        ++mismatches;
                }
            }
        });
    }
    for (std::thread &t : threads)
        t.join();
    QCOMPARE(mismatches.load(), 0L);
    QCOMPARE(a, long(writers) * rounds);
    QCOMPARE(b, a);
    QCOMPARE(m.readerCount(), 0);
    QVERIFY(!m.isWriteLocked());
}

QTEST_GUILESS_MAIN(TestVeloLock)
#include "tst_velolock.moc"
