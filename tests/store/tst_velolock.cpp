// The reader/writer lock: re-entry, upgrade, downgrade, writer preference and growth of the
// reader list. Exclusion under contention is exercised by tst_datasetstress.

#include "velo_lock.h"

#include <QtTest>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

using velo::LockReadWrite;
using velo::ReadWriteMutex;

namespace {

template<typename F>
void waitUntil(F done)
{
    while (!done())
        std::this_thread::yield();
}

// A thread that takes the lock (after a read entry of its own if readFirst), notes when it
// has it (as 1 + the number of takers before it), and keeps it until `release`.
struct Taker
{
    Taker(ReadWriteMutex &m, bool write, std::atomic<int> &order, bool hold = false, bool readFirst = false)
        : release(!hold), t([this, &m, write, &order, readFirst] {
              LockReadWrite r(m), g(m);
              trying = true;
              if (readFirst)
                  r.lock(false);
              g.lock(write);
              turn = ++order;
              waitUntil([this] { return release.load(); });
          })
    {
    }
    ~Taker() { join(); }
    void join() { release = true; if (t.joinable()) t.join(); }
    std::atomic<bool> trying{false}, release;
    std::atomic<int> turn{0};
    std::thread t;
};

} // namespace

class TestVeloLock : public QObject
{
    Q_OBJECT

private slots:
    void reentryAndRelease()
    {
        ReadWriteMutex m;
        {
            LockReadWrite a(m), b(m);
            QVERIFY(!a.unlock()); // holds nothing yet
            QVERIFY(a.lock(true) && a.lock(true)); // the same guard does not go deeper
            QVERIFY(b.lock(true));
            QCOMPARE(m.writeDepth(), 2u);
            QVERIFY(a.unlock() && m.isWriteLocked());
        } // b released by its destructor
        QCOMPARE(m.writeDepth(), 0u);
        {
            LockReadWrite a(m), b(m), c(m);
            QVERIFY(a.lock(false) && a.lock(false) && b.lock(false) && c.lock(false));
            QCOMPARE(m.readLocksOfCurrentThread(), 3);
            QVERIFY(b.unlock() && !b.unlock());
            QCOMPARE(m.readerCount(), 2);
        }
        QCOMPARE(m.readerCount(), 0);

        // Far more read guards than the reader list starts with all hold the lock, and all let go.
        std::vector<std::unique_ptr<LockReadWrite>> guards;
        for (int i = 0; i < 300; ++i) {
            guards.emplace_back(new LockReadWrite(m));
            QVERIFY(guards.back()->lock(false));
        }
        QCOMPARE(m.readerCount(), 300);
        guards.clear();
        QCOMPARE(m.readerCount(), 0);
        std::atomic<int> order{0};
        Taker(m, true, order).join();
        QCOMPARE(order.load(), 1);
    }

    void upgradeAndDowngrade()
    {
        ReadWriteMutex m;
        {
            LockReadWrite r1(m), r2(m), w(m), g(m);
            QVERIFY(r1.lock(false) && r2.lock(false));
            QVERIFY(w.lock(true)); // all reader entries are this thread's
            QVERIFY(g.lock(false) && g.lock(true)); // a reading guard gives up its entry first
            QVERIFY(g.isWriteLocked() && !g.isReadLocked());
            QVERIFY(m.readerCount() == 2 && m.writeDepth() == 2);
        }
        // Another thread reads as well: the upgrade waits for it.
        std::atomic<int> order{0};
        Taker reader(m, false, order, true);
        waitUntil([&] { return reader.turn.load() == 1; });
        Taker upgrader(m, true, order, false, true);
        waitUntil([&] { return m.waitingWriters() == 1; });
        QCOMPARE(upgrader.turn.load(), 0);
        reader.join();
        upgrader.join();
        QCOMPARE(upgrader.turn.load(), 2);
        QVERIFY(m.readerCount() == 0 && !m.isWriteLocked());

        // Downgrading keeps writers out until the read entry goes too.
        order = 0;
        {
            LockReadWrite g(m);
            QVERIFY(g.lock(true) && g.lock(false));
            QVERIFY(g.isReadLocked() && !g.isWriteLocked() && !m.isWriteLocked() && m.readerCount() == 1);
            Taker writer(m, true, order);
            waitUntil([&] { return m.waitingWriters() == 1; });
            QCOMPARE(writer.turn.load(), 0);
            QVERIFY(g.unlock());
            writer.join();
            QCOMPARE(writer.turn.load(), 1);
        }
        // Downgrading one of two nested write guards keeps the write side held.
        LockReadWrite outer(m), inner(m);
        QVERIFY(outer.lock(true) && inner.lock(true) && inner.lock(false));
        QVERIFY(m.isWriteLocked() && m.writeDepth() == 1 && m.readerCount() == 1);
    }

    void writerPreference()
    {
        ReadWriteMutex m;
        std::atomic<int> order{0};
        {
            // The writer may still read while other writers wait.
            LockReadWrite w(m), r(m);
            QVERIFY(w.lock(true));
            Taker other(m, true, order);
            waitUntil([&] { return m.waitingWriters() == 1; });
            QVERIFY(r.lock(false));
            QCOMPARE(other.turn.load(), 0);
            QVERIFY(r.unlock() && w.unlock());
        }
        // A waiting writer holds back new readers of other threads, not this thread's.
        order = 0;
        LockReadWrite mine(m), again(m);
        QVERIFY(mine.lock(false));
        Taker writer(m, true, order);
        waitUntil([&] { return m.waitingWriters() == 1; });
        Taker reader(m, false, order);
        waitUntil([&] { return reader.trying.load(); });
        for (int i = 0; i < 2000; ++i) // only makes a wrong order likely to show
            std::this_thread::yield();
        QCOMPARE(reader.turn.load(), 0);
        QVERIFY(again.lock(false) && again.unlock() && mine.unlock());
        writer.join();
        reader.join();
        QCOMPARE(writer.turn.load(), 1);
        QCOMPARE(reader.turn.load(), 2);
    }
};

QTEST_GUILESS_MAIN(TestVeloLock)
#include "tst_velolock.moc"
