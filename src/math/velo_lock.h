#ifndef VELO_LOCK_H
#define VELO_LOCK_H

#include <pthread.h>

#include <atomic>
#include <cstdint>

namespace velo {

class LockReadWrite;

/*! \brief Shared state of a reader/writer lock.
 *
 * Re-entrant per thread on both sides; a thread whose read locks are the only ones held
 * may take the write lock, a writer may downgrade to a reader, and waiting writers keep
 * new readers out. Waiting is a yield loop: nobody sleeps on the lock. It is used only
 * through LockReadWrite guards.
 */
class ReadWriteMutex
{
public:
    ReadWriteMutex();
    ~ReadWriteMutex();
    ReadWriteMutex(const ReadWriteMutex &) = delete;
    ReadWriteMutex &operator=(const ReadWriteMutex &) = delete;

    // Read-only views of the state, for diagnostics; each takes the internal mutex.
    uint32_t writeDepth() const;
    uint32_t waitingWriters() const;
    bool isWriteLocked() const;
    int32_t readerCount() const;
    int32_t readerCapacity() const;
    // Read locks held by the calling thread.
    int32_t readLocksOfCurrentThread() const;

private:
    friend class LockReadWrite;
    friend class SerialReader;
    class Inside;

    void enter() const;
    void leave() const;
    // Whether every listed reader is `self` (true for an empty list).
    bool onlyReaderIs(pthread_t self) const;
    bool isReader(pthread_t self) const;
    void appendReader(pthread_t self);
    void removeReader(pthread_t self);

    pthread_mutexattr_t attributes;
    mutable pthread_mutex_t mutex;
    std::atomic<uint32_t> writeDepth_{0};
    pthread_t writer = 0;
    std::atomic<uint32_t> waitingWriters_{0};
    pthread_t *readers = nullptr;
    int32_t readerCapacity_ = 32;
    int32_t readerCount_ = 0;
};

/*! \brief Scoped guard on a ReadWriteMutex; releases what it holds when destroyed.
 *
 * A guard holds at most one side at a time. Asking for the write side while holding the
 * read side releases the read lock first (the upgrade is not atomic); asking for the read
 * side while holding the write side downgrades without letting another writer in.
 */
class LockReadWrite
{
public:
    explicit LockReadWrite(ReadWriteMutex &mutex);
    ~LockReadWrite();
    LockReadWrite(const LockReadWrite &) = delete;
    LockReadWrite &operator=(const LockReadWrite &) = delete;

    // Acquires the write side (`write`) or the read side; true when the guard holds it.
    bool lock(bool write);
    // Releases what the guard holds; false when it held nothing.
    bool unlock();

    bool isReadLocked() const { return readLocked; }
    bool isWriteLocked() const { return writeLocked; }

private:
    bool lockWrite();
    bool lockRead();

    ReadWriteMutex &rw;
    bool readLocked = false;
    bool writeLocked = false;
};

/*! \brief Scoped read lock that also excludes every other use of the lock for its scope.
 *
 * It admits the calling thread exactly as a read lock would (waiting writers keep new
 * readers out) and holds the lock's internal mutex until it goes out of scope, so that such
 * sections run one at a time. Producers appending to one shared queue use it instead of a
 * read lock plus a mutex of their own: one acquisition instead of three. Keep the scope
 * short and never take another guard of the same lock inside it from another thread.
 */
class SerialReader
{
public:
    explicit SerialReader(ReadWriteMutex &mutex);
    ~SerialReader();
    SerialReader(const SerialReader &) = delete;
    SerialReader &operator=(const SerialReader &) = delete;

private:
    ReadWriteMutex &rw;
};

} // namespace velo

#endif // VELO_LOCK_H
