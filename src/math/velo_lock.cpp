#include "velo_lock.h"

#include <sched.h>

#include <cstring>

namespace velo {

namespace {

inline bool isNoThread(pthread_t t) { return t == pthread_t(); }

} // namespace

// Holds the internal mutex for one scope; wait() lets other threads in for a moment.
class ReadWriteMutex::Inside
{
public:
    explicit Inside(const ReadWriteMutex &m)
        : m(m)
    {
        m.enter();
    }
    ~Inside() { m.leave(); }
    Inside(const Inside &) = delete;
    Inside &operator=(const Inside &) = delete;

    void wait()
    {
        m.leave();
        sched_yield();
        m.enter();
    }

private:
    const ReadWriteMutex &m;
};

ReadWriteMutex::ReadWriteMutex()
{
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&mutex, &attributes);
    readers = new pthread_t[size_t(readerCapacity_)];
}

ReadWriteMutex::~ReadWriteMutex()
{
    delete[] readers;
    pthread_mutex_destroy(&mutex);
    pthread_mutexattr_destroy(&attributes);
}

void ReadWriteMutex::enter() const
{
    pthread_mutex_lock(&mutex);
}

void ReadWriteMutex::leave() const
{
    pthread_mutex_unlock(&mutex);
}

bool ReadWriteMutex::onlyReaderIs(pthread_t self) const
{
    for (int32_t i = 0; i < readerCount_; ++i) {
        if (!pthread_equal(readers[i], self))
            return false;
    }
    return true;
}

bool ReadWriteMutex::isReader(pthread_t self) const
{
    for (int32_t i = 0; i < readerCount_; ++i) {
        if (pthread_equal(readers[i], self))
            return true;
    }
    return false;
}

void ReadWriteMutex::appendReader(pthread_t self)
{
    if (readerCount_ == readerCapacity_) {
        // Grows by doubling and never shrinks: a series sees the same few threads again.
        pthread_t *grown = new pthread_t[size_t(readerCapacity_) * 2];
        std::memcpy(grown, readers, sizeof(pthread_t) * size_t(readerCount_));
        delete[] readers;
        readers = grown;
        readerCapacity_ *= 2;
    }
    readers[readerCount_++] = self;
}

void ReadWriteMutex::removeReader(pthread_t self)
{
    for (int32_t i = readerCount_ - 1; i >= 0; --i) {
        if (pthread_equal(readers[i], self)) {
            std::memmove(readers + i, readers + i + 1, sizeof(pthread_t) * size_t(readerCount_ - i - 1));
            --readerCount_;
            return;
        }
    }
}

uint32_t ReadWriteMutex::writeDepth() const
{
    Inside in(*this);
    return writeDepth_.load();
}

uint32_t ReadWriteMutex::waitingWriters() const
{
    Inside in(*this);
    return waitingWriters_.load();
}

bool ReadWriteMutex::isWriteLocked() const
{
    Inside in(*this);
    return !isNoThread(writer);
}

int32_t ReadWriteMutex::readerCount() const
{
    Inside in(*this);
    return readerCount_;
}

int32_t ReadWriteMutex::readerCapacity() const
{
    Inside in(*this);
    return readerCapacity_;
}

int32_t ReadWriteMutex::readLocksOfCurrentThread() const
{
    Inside in(*this);
    const pthread_t self = pthread_self();
    int32_t n = 0;
    for (int32_t i = 0; i < readerCount_; ++i)
        n += pthread_equal(readers[i], self) ? 1 : 0;
    return n;
}

LockReadWrite::LockReadWrite(ReadWriteMutex &mutex)
    : rw(mutex)
{
}

LockReadWrite::~LockReadWrite()
{
    unlock();
}

bool LockReadWrite::lock(bool write)
{
    return write ? lockWrite() : lockRead();
}

bool LockReadWrite::lockWrite()
{
    if (writeLocked)
        return true;
    if (readLocked)
        unlock();

    const pthread_t self = pthread_self();
    ReadWriteMutex::Inside in(rw);
    rw.waitingWriters_.fetch_add(1);
    while (!(pthread_equal(rw.writer, self) || (isNoThread(rw.writer) && rw.onlyReaderIs(self))))
        in.wait();
    rw.writeDepth_.fetch_add(1);
    rw.waitingWriters_.fetch_sub(1);
    rw.writer = self;
    std::atomic_thread_fence(std::memory_order_seq_cst);
    writeLocked = true;
    return true;
}

bool LockReadWrite::lockRead()
{
    const pthread_t self = pthread_self();
    if (writeLocked) {
        ReadWriteMutex::Inside in(rw);
        if (pthread_equal(rw.writer, self)) {
            // Downgrade: become a reader before giving up the write side, so no other
            // writer can slip in between.
            rw.appendReader(self);
            if (rw.writeDepth_.fetch_sub(1) == 1) {
                rw.writer = pthread_t();
                std::atomic_thread_fence(std::memory_order_seq_cst);
            }
            readLocked = true;
        }
        writeLocked = false;
    }
    if (readLocked)
        return true;

    ReadWriteMutex::Inside in(rw);
    // A thread that already reads (or writes) is let in again even while writers wait,
    // otherwise a nested read would deadlock against a waiting writer.
    while (!((isNoThread(rw.writer) && rw.waitingWriters_.load() == 0) || pthread_equal(rw.writer, self)
             || rw.isReader(self)))
        in.wait();
    rw.appendReader(self);
    readLocked = true;
    return true;
}

bool LockReadWrite::unlock()
{
    if (writeLocked) {
        writeLocked = false;
        ReadWriteMutex::Inside in(rw);
        if (!pthread_equal(rw.writer, pthread_self()))
            return false;
        if (rw.writeDepth_.fetch_sub(1) == 1) {
            rw.writer = pthread_t();
            std::atomic_thread_fence(std::memory_order_seq_cst);
        }
        return true;
    }
    if (readLocked) {
        readLocked = false;
        ReadWriteMutex::Inside in(rw);
        if (rw.readerCount_ > 0)
            rw.removeReader(pthread_self());
        return true;
    }
    return false;
}

SerialReader::SerialReader(ReadWriteMutex &mutex)
    : rw(mutex)
{
    rw.enter();
    const pthread_t self = pthread_self();
    while (!((isNoThread(rw.writer) && rw.waitingWriters_.load() == 0) || pthread_equal(rw.writer, self)
             || rw.isReader(self))) {
        rw.leave();
        sched_yield();
        rw.enter();
    }
}

SerialReader::~SerialReader()
{
    rw.leave();
}

} // namespace velo
