#include "kiv_dataset.h"

#include "kiv_sampleblock.h"
#include "kiv_seriesrenderer.h"
#include "kiv_updaterelay.h"
#include "kiv_valueformat_p.h"
#include "kivfeedlink_p.h"
#include "velo_math_base.h"

#include <QMetaMethod>

#include <GL/gl.h>

#include <algorithm>
#include <atomic>
#include <cfloat>
#include <cstring>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace {

using SampleBlock = KivSampleBlock;
constexpr quint64 BlockDoubles = KivBlockDoubles;
constexpr double Gap = KivGap;

// Samples run from head->start through the chain to tail->fill. A queue always owns at
// least one block. Apart from the display queue's, every block but the tail is full.
struct SampleQueue
{
    SampleBlock *head = nullptr;
    SampleBlock *tail = nullptr;
    // Atomic only so that counts may be read without a lock; every change happens under
    // the series' lock (and, for an incoming queue, the producer mutex).
    std::atomic<quint64> count{0};
    // Samples dropped from this incoming queue by the bound before they were moved: the
    // time base still advances for them when the queue is drained.
    quint64 dropped = 0;

    SampleQueue() { head = tail = new SampleBlock; }
    ~SampleQueue() { release(); }
    SampleQueue(const SampleQueue &) = delete;
    SampleQueue &operator=(const SampleQueue &) = delete;

    quint64 size() const { return count.load(std::memory_order_relaxed); }
    void setSize(quint64 n) { count.store(n, std::memory_order_relaxed); }

    void release()
    {
        for (SampleBlock *b = head; b;) {
            SampleBlock *n = b->next;
            delete b;
            b = n;
        }
        head = tail = nullptr;
    }

    // Frees every block and starts again with one empty block.
    void reset()
    {
        SampleBlock *fresh = new SampleBlock;
        release();
        head = tail = fresh;
        setSize(0);
    }

    SampleBlock *appendBlock()
    {
        SampleBlock *b = new SampleBlock;
        tail->next = b;
        tail = b;
        return b;
    }
};

inline double finiteOrGap(double v)
{
    return compat_finite(v) ? v : Gap;
}

// (a + k) modulo m, in 0 .. m-1 for any signed a.
inline long wrapSlot(long a, long k, quint64 m)
{
    const long mm = long(m);
    long r = (a % mm + k % mm) % mm;
    return r < 0 ? r + mm : r;
}

} // namespace

class KivDataSetPrivate
{
public:
    template<int D>
    bool add(const double *v, quint64 n);
    template<int D>
    void append(const double *v);
    template<int D>
    void appendMany(const double *v, quint64 n);
    template<int D>
    void moveToBack(SampleQueue &src);
    template<int D>
    void moveToFront(SampleQueue &src);
    static void dropOldest(SampleQueue &q, quint64 n);
    void zeroDisplay();
    void resetCurrentValue();

    // n, or the item limit where one is set below n.
    quint64 cappedCount(quint64 n) const { return maxItemCount > 0 && maxItemCount < n ? maxItemCount : n; }

    SampleQueue displayQueue;
    SampleQueue incoming[2];
    quint32 readIndex = 1;
    quint32 writeIndex = 0;
    // Producers take its read side through a velo::SerialReader, which also serialises
    // them on the incoming queue they share.
    velo::ReadWriteMutex lock;
    // Taken under the read lock while flush() moves samples into the drawn queue (which may
    // happen on a producer's thread through freeze()) and by readers of that queue and of
    // the time outside display().
    std::mutex displayMutex;
    // The graph's relay for repaint requests; null while the series is on its own.
    std::atomic<KivUpdateRelay *> relay{nullptr};
    // Receivers of needUpdate(): emitting to none still costs a walk through Qt's
    // connection data, a third of a sample's cost.
    std::atomic<int> updateReceivers{0};
    // Moves on whenever the drawn samples or the label formats may change: a drawing of the
    // same generation, box and view is drawn again without reading the samples.
    std::atomic<quint64> generation{0};
    double aspect = 1.0;
    double pixelRatio = 1.0;
    QColor color;
    quint64 maxItemCount = 0;
    // Set by the pointer on the GUI thread, moved by flush() and clear() on any thread.
    std::atomic<long> scopeOffset{0};
    unsigned long style = 0;
    double time = 0.0;
    double interval = 1.0;
    bool visible = true;
    std::atomic<bool> frozen{false};
    bool addAtBack = true;
    velo::Matrix lastMinMax{3, 2};
    QString label;
    QList<QString> labelList;
    QString currentValueLabel;
    std::string oneValueFormat = "%f";
    std::string twoValueFormat = "%f, %f";
    QPointF currentPosition;
    QString currentText;
    std::shared_ptr<KivFeedLink> feedLink;

    // Drawing: the renderer keeps its scratch buffers from frame to frame.
    KivSeriesRenderer renderer;
    bool decimation = true;
};

// Appends n samples under the read lock; returns whether to announce them. A variant that
// does not match the style is dropped: mixing sample sizes would corrupt the blocks.
template<int D>
bool KivDataSetPrivate::add(const double *v, quint64 n)
{
    velo::SerialReader guard(lock);
    if (int(style & KivDataStyleDimensionMask) + 1 != D || n == 0)
        return false;
    if (n == 1)
        append<D>(v);
    else
        appendMany<D>(v, n);
    return !frozen.load(std::memory_order_relaxed);
}

template<int D>
void KivDataSetPrivate::append(const double *v)
{
    constexpr quint64 capacity = BlockDoubles / D;
    SampleQueue &q = incoming[writeIndex];
    SampleBlock *t = q.tail;
    if (t->fill == capacity)
        t = q.appendBlock();
    double *dst = t->values + t->fill * D;
    for (int k = 0; k < D; ++k)
        dst[k] = finiteOrGap(v[k]);
    ++t->fill;
    quint64 n = q.size() + 1;
    if (maxItemCount > 0 && n > maxItemCount) {
        SampleBlock *h = q.head;
        ++h->start;
        --n;
        ++q.dropped;
        if (h->start >= capacity) {
            q.head = h->next;
            delete h;
        }
    }
    q.setSize(n);
}

// Leaves the same samples and the same bookkeeping as n calls of append(): the newest
// maxItemCount stay, and every sample dropped on the way counts for the time base. The
// oldest are dropped before the rest is copied, so the queue never exceeds the bound.
template<int D>
void KivDataSetPrivate::appendMany(const double *v, quint64 n)
{
    constexpr quint64 capacity = BlockDoubles / D;
    SampleQueue &q = incoming[writeIndex];
    if (maxItemCount > 0) {
        if (n > maxItemCount) {
            const quint64 skip = n - maxItemCount;
            q.dropped += skip;
            v += skip * D;
            n = maxItemCount;
        }
        const quint64 excess = q.size() + n > maxItemCount ? q.size() + n - maxItemCount : 0;
        q.dropped += excess;
        dropOldest(q, excess);
    }
    quint64 size = q.size();
    while (n > 0) {
        SampleBlock *t = q.tail;
        if (t->fill == capacity)
            t = q.appendBlock();
        const quint64 k = std::min(n, capacity - t->fill);
        double *dst = t->values + t->fill * D;
        for (quint64 i = 0; i < k * D; ++i)
            dst[i] = finiteOrGap(v[i]);
        t->fill += k;
        v += k * D;
        n -= k;
        size += k;
    }
    q.setSize(size);
}

void KivDataSetPrivate::dropOldest(SampleQueue &q, quint64 n)
{
    quint64 left = q.size();
    while (n > 0) {
        SampleBlock *h = q.head;
        const quint64 k = std::min(n, h->fill - h->start);
        h->start += k;
        n -= k;
        left -= k;
        if (h->start == h->fill) {
            if (h->next) {
                q.head = h->next;
                delete h;
            } else {
                h->start = h->fill = 0;
            }
        }
    }
    q.setSize(left);
}

// Appends src's samples after the newest displayed one, a block-sized run at a time.
template<int D>
void KivDataSetPrivate::moveToBack(SampleQueue &src)
{
    constexpr quint64 capacity = BlockDoubles / D;
    SampleQueue &dst = displayQueue;
    quint64 left = src.size();
    const quint64 total = left;
    const bool scope = (style & KivDataStyleScope) != 0;
    while (left > 0) {
        SampleBlock *s = src.head;
        SampleBlock *t = dst.tail;
        if (t->fill == capacity)
            t = dst.appendBlock();
        const quint64 n = std::min(std::min(s->fill - s->start, capacity - t->fill), left);
        std::memcpy(t->values + t->fill * D, s->values + s->start * D, sizeof(double) * D * n);
        t->fill += n;
        s->start += n;
        left -= n;
        src.setSize(left);
        dst.setSize(dst.size() + n);
        if (left == 0) {
            s->start = s->fill = 0;
        } else if (s->start == s->fill) {
            src.head = s->next;
            delete s;
        }
        if (maxItemCount > 0 && dst.size() > maxItemCount) {
            const quint64 excess = dst.size() - maxItemCount;
            dropOldest(dst, excess);
            if (scope)
                scopeOffset = wrapSlot(scopeOffset, long(excess), maxItemCount);
        }
    }
    // A block freed by the loop may have been the last one; the queue keeps one.
    src.tail = src.head;
    time += interval * double(total);
}

// Puts src's samples one by one before the oldest displayed one; the newest ends first.
template<int D>
void KivDataSetPrivate::moveToFront(SampleQueue &src)
{
    constexpr quint64 capacity = BlockDoubles / D;
    SampleQueue &dst = displayQueue;
    const bool scope = (style & KivDataStyleScope) != 0;
    quint64 count = dst.size();
    quint64 left = src.size();
    const quint64 total = left;
    while (left > 0) {
        SampleBlock *s = src.head;
        SampleBlock *h = dst.head;
        if (h->start == 0) {
            if (h->fill != 0) {
                SampleBlock *b = new SampleBlock;
                b->next = h;
                dst.head = h = b;
            }
            h->start = h->fill = capacity;
        }
        --h->start;
        std::memcpy(h->values + h->start * D, s->values + s->start * D, sizeof(double) * D);
        ++count;
        if (maxItemCount > 0 && count > maxItemCount) {
            SampleBlock *t = dst.tail;
            --t->fill;
            --count;
            if (scope)
                scopeOffset = wrapSlot(scopeOffset, -1, maxItemCount);
            if (t->fill == t->start && t != dst.head) {
                SampleBlock *p = dst.head;
                while (p->next != t)
                    p = p->next;
                p->next = nullptr;
                dst.tail = p;
                delete t;
            }
        }
        ++s->start;
        --left;
        if (left == 0) {
            s->start = s->fill = 0;
        } else if (s->start == s->fill) {
            src.head = s->next;
            delete s;
        }
    }
    src.tail = src.head;
    src.setSize(0);
    dst.setSize(count);
    time -= interval * double(total);
}

void KivDataSetPrivate::zeroDisplay()
{
    ++generation;
    const int dims = int(style & KivDataStyleDimensionMask) + 1;
    if (maxItemCount == 0 || dims > 3)
        return;
    const quint64 capacity = BlockDoubles / quint64(dims);
    SampleBlock *b = displayQueue.head;
    quint64 left = maxItemCount;
    for (;;) {
        std::fill(b->values, b->values + BlockDoubles, 0.0);
        b->start = 0;
        if (left <= capacity) {
            b->fill = left;
            // Blocks beyond the slots hold nothing any more.
            for (SampleBlock *rest = b->next; rest;) {
                SampleBlock *n = rest->next;
                delete rest;
                rest = n;
            }
            b->next = nullptr;
            displayQueue.tail = b;
            break;
        }
        b->fill = capacity;
        left -= capacity;
        b = b->next ? b->next : displayQueue.appendBlock();
    }
    displayQueue.setSize(maxItemCount);
}

void KivDataSetPrivate::resetCurrentValue()
{
    currentPosition = QPointF();
    currentText.clear();
}

KivDataSet::KivDataSet(int width, int height)
    : d(new KivDataSetPrivate)
{
    d->feedLink = std::make_shared<KivFeedLink>(this);
    velo::LockReadWrite guard(d->lock);
    guard.lock(true);
    d->lastMinMax.setCol(-1.0, 0);
    d->lastMinMax.setCol(1.0, 1);
    setGraphDimensions(width, height);
}

// Feeds see the series gone from here on, and their appends in flight have finished.
// Appends through raw pointers that are inside the store finish before it is freed (the
// write lock waits for them); one arriving later would use a dangling pointer, which is
// why producers holding raw pointers must stop before the series is removed.
KivDataSet::~KivDataSet()
{
    d->feedLink->close();
    velo::LockReadWrite guard(d->lock);
#ifndef QT_NO_DEBUG
    if (d->lock.readerCount() > 0)
        qWarning("KivDataSet: removed while another thread is using it; stop raw-pointer producers "
                 "first or give them a KivDataFeed");
#endif
    guard.lock(true);
}

KivDataFeed KivDataSet::feed() const
{
    return KivDataFeed(d->feedLink);
}

void KivDataSet::addData(double v)
{
    if (d->add<1>(&v, 1))
        announceUpdate();
}

void KivDataSet::addData(double x, double y)
{
    const double v[2] = {x, y};
    if (d->add<2>(v, 1))
        announceUpdate();
}

void KivDataSet::addData(double x, double y, double z)
{
    const double v[3] = {x, y, z};
    if (d->add<3>(v, 1))
        announceUpdate();
}

void KivDataSet::addSamples(const double *values, unsigned long count, int dimensions)
{
    if (!values)
        return;
    bool added = false;
    switch (dimensions) {
    case 1: added = d->add<1>(values, count); break;
    case 2: added = d->add<2>(values, count); break;
    case 3: added = d->add<3>(values, count); break;
    default: break;
    }
    if (added)
        announceUpdate();
}

void KivDataSet::setUpdateRelay(KivUpdateRelay *relay)
{
    d->relay.store(relay);
}

void KivDataSet::announceUpdate()
{
    if (KivUpdateRelay *relay = d->relay.load(std::memory_order_acquire))
        relay->request();
    if (d->updateReceivers.load(std::memory_order_relaxed) > 0)
        emit needUpdate();
}

void KivDataSet::connectNotify(const QMetaMethod &signal)
{
    if (signal == QMetaMethod::fromSignal(&KivDataSet::needUpdate))
        ++d->updateReceivers;
}

void KivDataSet::disconnectNotify(const QMetaMethod &signal)
{
    // Wholesale disconnections arrive without a method and are not counted: a receiver
    // counted too many only costs an emit to nobody, one too few would lose signals.
    if (signal == QMetaMethod::fromSignal(&KivDataSet::needUpdate))
        --d->updateReceivers;
}

void KivDataSet::duplicateData(unsigned long n)
{
    velo::LockReadWrite guard(d->lock);
    guard.lock(false);
    const double gaps[3] = {Gap, Gap, Gap};
    for (unsigned long i = 0; i < n; ++i) {
        switch (dimensions()) {
        case 1: addData(gaps[0]); break;
        case 2: addData(gaps[0], gaps[1]); break;
        case 3: addData(gaps[0], gaps[1], gaps[2]); break;
        default: return;
        }
    }
}

void KivDataSet::setData(unsigned long index, double value)
{
    {
        velo::LockReadWrite guard(d->lock);
        guard.lock(true);
        if (d->frozen.load() || index >= d->displayQueue.size())
            return;
        SampleBlock *b = d->displayQueue.head;
        quint64 i = index;
        while (b && i >= b->fill - b->start) {
            i -= b->fill - b->start;
            b = b->next;
        }
        if (!b)
            return;
        b->values[b->start + i] = finiteOrGap(value);
        ++d->generation;
    }
    announceUpdate();
}

void KivDataSet::zeroData()
{
    d->zeroDisplay();
}

void KivDataSet::clear(bool resetTime)
{
    {
        velo::LockReadWrite guard(d->lock);
        guard.lock(true);
        d->displayQueue.reset();
        d->incoming[0].reset();
        d->incoming[1].reset();
        d->scopeOffset = -1;
        if ((d->style & KivDataStyleShapeMask) == KivDataStyleBar)
            d->zeroDisplay();
        if (resetTime) {
            d->time = 0.0;
            d->incoming[0].dropped = 0;
            d->incoming[1].dropped = 0;
        }
        d->resetCurrentValue();
    }
    announceUpdate();
}

void KivDataSet::freeze(bool on)
{
    velo::LockReadWrite guard(d->lock);
    if (!d->frozen.load() && on) {
        flush(guard);
        d->frozen.store(true);
    } else {
        guard.lock(false);
        d->frozen.store(on);
    }
}

bool KivDataSet::isFrozen() const
{
    return d->frozen.load();
}

void KivDataSet::flush(velo::LockReadWrite &guard)
{
    guard.lock(true);
    const bool frozen = d->frozen.load();
    // While frozen the filling queue stays the same, so that everything added meanwhile
    // is moved in order, and bounded as a whole, once the freeze ends.
    if (!frozen) {
        d->readIndex = d->writeIndex;
        d->writeIndex = 1 - d->writeIndex;
    }
    guard.lock(false);
    if (frozen)
        return;

    std::lock_guard<std::mutex> moving(d->displayMutex);
    SampleQueue &src = d->incoming[d->readIndex];
    // The scope cursor moves for every sample, also for those the bound dropped early.
    if (src.dropped > 0 && d->maxItemCount > 0 && (d->style & KivDataStyleScope)) {
        const long shift = long(src.dropped % d->maxItemCount);
        d->scopeOffset = wrapSlot(d->scopeOffset, d->addAtBack ? shift : -shift, d->maxItemCount);
    }
    if (src.size() > 0) {
        ++d->generation;
        switch (d->style & KivDataStyleDimensionMask) {
        case 0:
            d->addAtBack ? d->moveToBack<1>(src) : d->moveToFront<1>(src);
            break;
        case 1:
            d->addAtBack ? d->moveToBack<2>(src) : d->moveToFront<2>(src);
            break;
        case 2:
            d->addAtBack ? d->moveToBack<3>(src) : d->moveToFront<3>(src);
            break;
        default:
            return;
        }
    }
    // Samples the bound dropped before they got here still count for the time base.
    const double pendingTimeShift = d->interval * double(src.dropped);
    src.dropped = 0;
    d->time += d->addAtBack ? pendingTimeShift : -pendingTimeShift;
}

void KivDataSet::flush()
{
    velo::LockReadWrite guard(d->lock);
    flush(guard);
}

void KivDataSet::setMaxItemCount(unsigned long n)
{
    velo::LockReadWrite guard(d->lock);
    guard.lock(true);
    // Every bar slot is stored and labelled: a count beyond what memory holds is capped.
    if ((d->style & KivDataStyleShapeMask) == KivDataStyleBar)
        n = std::min(n, MaxBarSlots);
    d->maxItemCount = n;
    clear(true);
    d->labelList = QList<QString>();
    d->scopeOffset = n > 0 ? 0 : -1;
    if (n > 0 && (d->style & KivDataStyleShapeMask) == KivDataStyleBar) {
        d->labelList.reserve(int(n));
        for (unsigned long i = 0; i < n; ++i)
            d->labelList.append(QString());
    }
}

unsigned long KivDataSet::getMaxItemCount() const
{
    return d->maxItemCount;
}

void KivDataSet::setStyle(unsigned long style)
{
    velo::LockReadWrite guard(d->lock);
    guard.lock(true);
    d->style = style;
    setMaxItemCount(d->maxItemCount);
}

unsigned long KivDataSet::getStyle() const
{
    return d->style;
}

bool KivDataSet::hasStyle(unsigned long flags, unsigned long mask) const
{
    if (mask != 0)
        return (d->style & mask) == flags;
    return (d->style & flags) == flags;
}

int KivDataSet::dimensions() const
{
    return int(d->style & KivDataStyleDimensionMask) + 1;
}

void KivDataSet::setAddPosition(bool back)
{
    if (back == d->addAtBack)
        return;
    velo::LockReadWrite guard(d->lock);
    guard.lock(true);
    {
        velo::LockReadWrite moving(d->lock);
        flush(moving);
    }
    d->addAtBack = back;
}

bool KivDataSet::isAddedAtBack() const
{
    return d->addAtBack;
}

unsigned long KivDataSet::getItemCount() const
{
    velo::LockReadWrite guard(d->lock);
    guard.lock(false);
    return d->cappedCount(d->incoming[0].size() + d->displayQueue.size() + d->incoming[1].size());
}

unsigned long KivDataSet::getDisplayItemCount() const
{
    return d->cappedCount(d->displayQueue.size());
}

namespace {

// Double `i` of queue `q`, counting `dims` doubles per sample; `v` stays when out of range.
void readDouble(const SampleQueue &q, unsigned long i, double &v, unsigned long dims)
{
    for (const SampleBlock *b = q.head; b; b = b->next) {
        const quint64 n = (b->fill - b->start) * dims;
        if (i < n) {
            v = b->values[b->start * dims + i];
            return;
        }
        i -= n;
    }
}

// What a reader of the drawn or the filling queue holds against clear(), flush() and the
// producers.
class QueueReader
{
public:
    QueueReader(KivDataSetPrivate &d, bool display)
    {
        if (display) {
            reader.emplace(d.lock);
            reader->lock(false);
            moving.emplace(d.displayMutex);
            queue = &d.displayQueue;
        } else {
            producers.emplace(d.lock);
            queue = &d.incoming[d.writeIndex];
        }
    }

    const SampleQueue &samples() const { return *queue; }

private:
    // The drawn queue: the read lock against clear(), then the mutex flush() moves under.
    std::optional<velo::LockReadWrite> reader;
    std::optional<std::lock_guard<std::mutex>> moving;
    // The filling queue: kept from the producers as they keep from each other.
    std::optional<velo::SerialReader> producers;
    const SampleQueue *queue = nullptr;
};

} // namespace

void KivDataSet::getData(unsigned long i, double &v, bool display, unsigned long dims) const
{
    if (dims == 0)
        return;
    const QueueReader reader(*d, display);
    readDouble(reader.samples(), i, v, dims);
}

void KivDataSet::getData(unsigned long i, double &x, double &y, bool display) const
{
    const QueueReader reader(*d, display);
    readDouble(reader.samples(), 2 * i, x, 2);
    readDouble(reader.samples(), 2 * i + 1, y, 2);
}

void KivDataSet::getData(unsigned long i, double &x, double &y, double &z, bool display) const
{
    const QueueReader reader(*d, display);
    readDouble(reader.samples(), 3 * i, x, 3);
    readDouble(reader.samples(), 3 * i + 1, y, 3);
    readDouble(reader.samples(), 3 * i + 2, z, 3);
}

unsigned long KivDataSet::copyData(unsigned long first, unsigned long count, double *out) const
{
    const int dims = dimensions();
    if (!out || dims > 3)
        return 0;
    const QueueReader reader(*d, true);
    unsigned long copied = 0;
    for (const SampleBlock *b = reader.samples().head; b && copied < count; b = b->next) {
        const quint64 live = b->fill - b->start;
        if (first >= live) {
            first -= live;
            continue;
        }
        const quint64 n = std::min<quint64>(live - first, count - copied);
        std::memcpy(out + copied * dims, b->values + (b->start + first) * dims, sizeof(double) * dims * n);
        copied += n;
        first = 0;
    }
    return copied;
}

QVector<double> KivDataSet::snapshot(long *scopeOffset)
{
    velo::LockReadWrite guard(d->lock);
    flush(guard);
    if (scopeOffset)
        *scopeOffset = d->scopeOffset;
    const int dims = dimensions();
    QVector<double> out(int(d->displayQueue.size()) * dims);
    out.resize(int(copyData(0, d->displayQueue.size(), out.data())) * dims);
    return out;
}

const velo::Matrix &KivDataSet::getLastMinMax() const
{
    return d->lastMinMax;
}

long KivDataSet::setScopeOffset(long offset)
{
    const long previous = d->scopeOffset;
    d->scopeOffset = std::min(offset, long(getItemCount()) - 1);
    return previous;
}

long KivDataSet::getScopeOffset() const
{
    return d->scopeOffset;
}

void KivDataSet::setTime(double interval, double time)
{
    {
        velo::LockReadWrite guard(d->lock);
        guard.lock(true);
        d->interval = interval;
        d->time = time;
    }
    if (!d->frozen.load())
        announceUpdate();
}

void KivDataSet::getTime(double &interval, double &time) const
{
    const QueueReader reader(*d, true);
    interval = d->interval;
    time = d->time;
}

double KivDataSet::getItemTime(int i) const
{
    const QueueReader reader(*d, true);
    return d->time - i * d->interval;
}

void KivDataSet::setGraphDimensions(int width, int height)
{
    // A graph that is not laid out yet has no height; keep the last usable aspect.
    if (width <= 0 || height <= 0)
        return;
    d->aspect = double(width) / double(height);
}

double KivDataSet::getAspect() const
{
    return d->aspect;
}

void KivDataSet::setPixelRatio(double ratio)
{
    if (ratio > 0.0)
        d->pixelRatio = ratio;
}

void KivDataSet::setVisible(bool checked)
{
    if (d->visible == checked)
        return;
    d->visible = checked;
    announceUpdate();
}

bool KivDataSet::isVisible() const
{
    return d->visible;
}

void KivDataSet::setColor(const QColor &color)
{
    if (d->color == color)
        return;
    d->color = color;
    emit colorChanged(color);
}

void KivDataSet::setColor(double red, double green, double blue)
{
    setColor(QColor::fromRgbF(red, green, blue, 1.0));
}

QColor KivDataSet::getColor() const
{
    return d->color;
}

void KivDataSet::setLabel(const QString &label)
{
    if (d->label == label)
        return;
    d->label = label;
    emit labelChanged(label);
    announceUpdate();
}

QString KivDataSet::getLabel() const
{
    return d->label;
}

bool KivDataSet::hasLabel() const
{
    return !d->label.isEmpty();
}

void KivDataSet::setCurrentValueLabel(const QString &label)
{
    if (d->currentValueLabel == label)
        return;
    d->currentValueLabel = label;
    announceUpdate();
}

QString KivDataSet::getCurrentValueLabel() const
{
    return d->currentValueLabel;
}

void KivDataSet::setDataLabel(int i, const QString &label)
{
    if (i >= 0 && i < d->labelList.size())
        d->labelList[i] = label;
    if (!d->frozen.load())
        announceUpdate();
}

const QList<QString> &KivDataSet::getLabelList() const
{
    return d->labelList;
}

void KivDataSet::setLabelFormat(const QString &format)
{
    // The text goes to asprintf as a format: a stray conversion would read missing arguments.
    std::string utf8 = format.toStdString();
    if (!kiv::isValueFormat(utf8.c_str())) {
        qWarning("KivDataSet::setLabelFormat: \"%s\" does not print exactly one number; keeping \"%s\"",
                 utf8.c_str(), d->oneValueFormat.c_str());
        return;
    }
    d->oneValueFormat = std::move(utf8);
    d->twoValueFormat = d->oneValueFormat + ", " + d->oneValueFormat;
    ++d->generation;
}

bool KivDataSet::isValidLabelFormat(const QString &format)
{
    return kiv::isValueFormat(format.toStdString().c_str());
}

// Both are written by display() and reset by clear(), which may run on a producer's thread.
QPointF KivDataSet::currentValuePosition() const
{
    velo::LockReadWrite guard(d->lock);
    guard.lock(false);
    return d->currentPosition;
}

QString KivDataSet::currentValueText() const
{
    velo::LockReadWrite guard(d->lock);
    guard.lock(false);
    return d->currentText;
}

void KivDataSet::glDrawPlotShape(double x, double y) const
{
    KivSeriesRenderer::emitShape(KivSeriesRenderer::markerOf(d->style), d->aspect, x, y);
}

void KivDataSet::glCross2d(double x, double y) const
{
    KivSeriesRenderer::emitShape(KivSeriesRenderer::Marker::Cross, d->aspect, x, y);
}

void KivDataSet::glTriangle2d(double x, double y) const
{
    KivSeriesRenderer::emitShape(KivSeriesRenderer::Marker::Triangle, d->aspect, x, y);
}

void KivDataSet::setDecimationEnabled(bool on)
{
    d->decimation = on;
}

bool KivDataSet::isDecimationEnabled() const
{
    return d->decimation;
}

void KivDataSet::display(const velo::MatrixF<3, 2> &box)
{
    velo::LockReadWrite guard(d->lock);
    flush(guard);
    KivSeriesView view;
    view.head = d->displayQueue.head;
    view.count = d->displayQueue.size();
    view.style = d->style;
    view.maxItemCount = d->maxItemCount;
    view.scopeOffset = d->scopeOffset;
    view.visible = d->visible;
    view.color = d->color;
    view.aspect = d->aspect;
    view.pixelRatio = d->pixelRatio;
    view.oneValueFormat = &d->oneValueFormat;
    view.twoValueFormat = &d->twoValueFormat;
    view.generation = d->generation.load(std::memory_order_relaxed);
    // The viewport is what the rasteriser maps to pixels.
    GLint viewport[4] = {0, 0, 0, 0};
    glGetIntegerv(GL_VIEWPORT, viewport);
    KivSeriesDrawing drawn;
    d->renderer.draw(view, box, viewport[2], viewport[3], d->decimation, drawn);
    for (int r = 0; r < 3; ++r) {
        d->lastMinMax(VoSize(r), 0) = drawn.extents[2 * r];
        d->lastMinMax(VoSize(r), 1) = drawn.extents[2 * r + 1];
    }
    d->currentPosition = drawn.currentPosition;
    d->currentText = std::move(drawn.currentText);
}
