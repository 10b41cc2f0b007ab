#include "kiv_dataset.h"

#include "kiv_updaterelay.h"
#include "kiv_valueformat_p.h"
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

// Doubles per storage block: 6000, 3000 or 2000 samples of 1, 2 or 3 values.
constexpr quint64 BlockDoubles = 6000;
// Stored in place of a missing or non-finite value.
constexpr double Gap = DBL_MAX;

struct SampleBlock
{
    double values[BlockDoubles];
    quint64 start = 0; // first live sample
    quint64 fill = 0;  // one past the last live sample
    SampleBlock *next = nullptr;
};

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

enum class Marker { Vertex, Cross, Triangle };

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

    Marker marker() const
    {
        if ((style & 0x30) == 0x30)
            return Marker::Cross;
        if ((style & 0x40) == 0x40)
            return Marker::Triangle;
        return Marker::Vertex;
    }

    inline void emitShape(Marker m, double x, double y) const
    {
        switch (m) {
        case Marker::Cross: {
            const double a = aspect * 0.01;
            glVertex2d(x - 0.01, y);
            glVertex2d(x + 0.01, y);
            glVertex2d(x, y - a);
            glVertex2d(x, y + a);
            break;
        }
        case Marker::Triangle: {
            const double h = 0.0034641016151377543; // 0.002 * sqrt(3)
            glVertex2d(x, y + 0.004 * aspect);
            glVertex2d(x + h, y - 0.002 * aspect);
            glVertex2d(x - h, y - 0.002 * aspect);
            break;
        }
        case Marker::Vertex:
            glVertex2d(x, y);
            break;
        }
    }

    void beginPrimitive(GLenum primitive) const
    {
        glBegin(primitive);
        glColor3d(color.redF(), color.greenF(), color.blueF());
    }

    // Axis mapping of one display() call: drawn = (value + o) * s.
    struct Mapping
    {
        double sx, ox, sy, oy, sz, oz;
        double slot; // 1-value layout: slot width in data units of the -1 .. 1 window
    };
    void draw(const velo::MatrixF<3, 2> &box);
    template<int D>
    void drawSeries(const Mapping &m, double *mm);
    void drawScope(const Mapping &m, quint64 slotCount, double *mm);
    GLenum primitive(int dims) const;
    void setCurrentText(const double *p, int dims);
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
    double aspect = 1.0;
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
    bool hasCurrent = false; // the current value was drawn (or stands in for a joined gap)
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
    hasCurrent = false;
}

KivDataSet::KivDataSet(int width, int height)
    : d(new KivDataSetPrivate)
{
    velo::LockReadWrite guard(d->lock);
    guard.lock(true);
    d->lastMinMax.setCol(-1.0, 0);
    d->lastMinMax.setCol(1.0, 1);
    setGraphDimensions(width, height);
}

KivDataSet::~KivDataSet() = default;

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
    d->emitShape(d->marker(), x, y);
}

void KivDataSet::glCross2d(double x, double y) const
{
    d->emitShape(Marker::Cross, x, y);
}

void KivDataSet::glTriangle2d(double x, double y) const
{
    d->emitShape(Marker::Triangle, x, y);
}

void KivDataSet::display(const velo::MatrixF<3, 2> &box)
{
    velo::LockReadWrite guard(d->lock);
    flush(guard);
    d->draw(box);
}

GLenum KivDataSetPrivate::primitive(int dims) const
{
    switch (style & KivDataStyleShapeMask) {
    case KivDataStylePoints:
        return GL_POINTS;
    case KivDataStyleCross:
        return dims < 3 ? GL_LINES : GL_LINE_STRIP;
    case KivDataStyleTriangle:
        return dims < 3 ? GL_TRIANGLES : GL_LINE_STRIP;
    case KivDataStyleBar:
        return dims < 3 ? GL_QUADS : GL_LINE_STRIP;
    default:
        return GL_LINE_STRIP;
    }
}

void KivDataSetPrivate::setCurrentText(const double *p, int dims)
{
    if (dims == 1) {
        currentText = QString::asprintf(oneValueFormat.c_str(), p[0]);
    } else if (dims == 2) {
        currentText = QString::asprintf(twoValueFormat.c_str(), p[0], p[1]);
    } else {
        const std::string three = twoValueFormat + ", " + oneValueFormat;
        currentText = QString::asprintf(three.c_str(), p[0], p[1], p[2]);
    }
}

void KivDataSetPrivate::draw(const velo::MatrixF<3, 2> &box)
{
    double mm[6] = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0}; // rows x, y, z of (min, max)
    const quint64 count = displayQueue.size();
    const unsigned long dimField = style & KivDataStyleDimensionMask;
    resetCurrentValue();
    if (count > 0 && visible && dimField != 3) {
        const int dims = int(dimField) + 1;
        const bool bar = (style & KivDataStyleShapeMask) == KivDataStyleBar && dims < 3;

        const double *first = displayQueue.head->values + displayQueue.head->start * quint64(dims);
        if (dims == 1) {
            mm[0] = -1.0;
            mm[1] = 1.0;
            mm[2] = mm[3] = first[0];
        } else {
            for (int r = 0; r < dims; ++r)
                mm[2 * r] = mm[2 * r + 1] = first[r];
        }
        if (bar) {
            const double y = mm[3];
            mm[2] = std::min(0.0, y);
            if (y < 0.0)
                mm[3] = 0.0;
        }
        // A leading gap must not count as a maximum.
        for (int r = 0; r < 3; ++r) {
            if (mm[2 * r + 1] == Gap)
                mm[2 * r + 1] = -Gap;
        }

        quint64 slotCount = maxItemCount > 0 ? maxItemCount : count;
        if (!bar)
            slotCount = slotCount > 1 ? slotCount - 1 : 1;
        Mapping m;
        m.sx = 2.0 / (box(0, 1) - box(0, 0));
        m.ox = -(box(0, 1) + box(0, 0)) / 2.0;
        m.sy = 2.0 / (box(1, 1) - box(1, 0));
        m.oy = -(box(1, 1) + box(1, 0)) / 2.0;
        m.sz = 2.0 / (box(2, 1) - box(2, 0));
        m.oz = -(box(2, 1) + box(2, 0)) / 2.0;
        m.slot = 2.0 / double(slotCount);

        glLineWidth(1.0f);
        if (maxItemCount > 0 && (style & 0x103) == KivDataStyleScope) {
            drawScope(m, slotCount, mm);
        } else {
            switch (dims) {
            case 1: drawSeries<1>(m, mm); break;
            case 2: drawSeries<2>(m, mm); break;
            default: drawSeries<3>(m, mm); break;
            }
            // The cursor mark at the current value.
            if (scopeOffset >= 0 && quint64(scopeOffset) <= slotCount) {
                if (dims == 1) {
                    const double x = (-1.0 + double(scopeOffset) * m.slot + m.ox) * m.sx;
                    glColor3f(0.0f, 0.0f, 0.0f);
                    glBegin(GL_LINES);
                    glVertex2d(x, -1.0);
                    glVertex2d(x, 1.0);
                    glEnd();
                } else if (hasCurrent) {
                    const double x = currentPosition.x();
                    const double y = currentPosition.y();
                    glColor3f(0.0f, 0.0f, 0.0f);
                    glBegin(GL_LINES);
                    glVertex2d(x, y - 0.15);
                    glVertex2d(x, y + 0.15);
                    glVertex2d(x - 0.15, y);
                    glVertex2d(x + 0.15, y);
                    glEnd();
                }
            }
        }
        if (bar)
            glColor3f(0.0f, 0.0f, 0.0f);
    }
    for (int r = 0; r < 3; ++r) {
        lastMinMax(VoSize(r), 0) = mm[2 * r];
        lastMinMax(VoSize(r), 1) = mm[2 * r + 1];
    }
}

// Draws the display queue oldest first; mm collects the drawn extents.
template<int D>
void KivDataSetPrivate::drawSeries(const Mapping &m, double *mm)
{
    const bool bar = D < 3 && (style & KivDataStyleShapeMask) == KivDataStyleBar;
    const bool join = (style & KivDataStyleJoinGaps) != 0;
    const bool breakAtGaps = bar || !join;
    const GLenum prim = primitive(D);
    const Marker shape = D < 3 ? marker() : Marker::Vertex;
    const double base = m.oy * m.sy;
    // 1 value: bars fill 90 % of their slot; 2 values: a bar is 2 / maxItemCount wide.
    const double barWidth = D == 1 ? 0.9 * m.slot * m.sx
                                   : 2.0 / double(maxItemCount > 0 ? maxItemCount : displayQueue.size());
    const long current = scopeOffset;

    bool open = false;
    const double *last = nullptr; // last drawn sample
    double lastX = 0.0, lastY = 0.0;
    quint64 i = 0;
    for (const SampleBlock *b = displayQueue.head; b; b = b->next) {
        const double *p = b->values + b->start * D;
        const double *end = b->values + b->fill * D;
        for (; p < end; p += D, ++i) {
            bool gap = p[0] == Gap;
            if (D > 1)
                gap = gap || p[1] == Gap;
            if (D > 2)
                gap = gap || p[2] == Gap;
            if (gap) {
                if (long(i) == current && join && last) {
                    currentPosition = QPointF(lastX, lastY);
                    setCurrentText(last, D);
                    hasCurrent = true;
                }
                if (breakAtGaps && open) {
                    glEnd();
                    open = false;
                }
                continue;
            }
            if (!open) {
                beginPrimitive(prim);
                open = true;
            }
            double x, y;
            if (D == 1) {
                x = (-1.0 + double(i) * m.slot + m.ox) * m.sx;
                y = (p[0] + m.oy) * m.sy;
                mm[2] = std::min(mm[2], p[0]);
                mm[3] = std::max(mm[3], p[0]);
            } else {
                x = (p[0] + m.ox) * m.sx;
                y = (p[1] + m.oy) * m.sy;
                for (int r = 0; r < D; ++r) {
                    mm[2 * r] = std::min(mm[2 * r], p[r]);
                    mm[2 * r + 1] = std::max(mm[2 * r + 1], p[r]);
                }
            }
            if (D == 3) {
                glVertex3d(x, y, (p[2] + m.oz) * m.sz);
            } else if (bar) {
                glVertex2d(x, base);
                glVertex2d(x, y);
                glVertex2d(x + barWidth, y);
                glVertex2d(x + barWidth, base);
            } else {
                emitShape(shape, x, y);
            }
            if (long(i) == current) {
                currentPosition = QPointF(x, y);
                setCurrentText(p, D);
                hasCurrent = true;
            }
            last = p;
            lastX = x;
            lastY = y;
        }
    }
    if (open)
        glEnd();
}

// Oscilloscope sweep: the oldest sample sits at the cursor slot, later ones follow to the
// right edge and wrap to the left one.
void KivDataSetPrivate::drawScope(const Mapping &m, quint64 slotCount, double *mm)
{
    const bool bar = (style & KivDataStyleShapeMask) == KivDataStyleBar;
    const bool line = (style & KivDataStyleShapeMask) == KivDataStyleLine;
    const bool breakAtGaps = bar || (style & KivDataStyleJoinGaps) == 0;
    const GLenum prim = primitive(1);
    const Marker shape = marker();
    const double base = m.oy * m.sy;
    const double barWidth = 0.9 * m.slot * m.sx;

    const quint64 cursor = scopeOffset >= 0 && quint64(scopeOffset) < slotCount ? quint64(scopeOffset) : 0;
    const double xc = (-1.0 + double(cursor) * m.slot + m.ox) * m.sx;
    glColor3f(0.0f, 0.0f, 0.0f);
    glBegin(GL_LINES);
    glVertex2d(xc, -1.0);
    glVertex2d(xc, 1.0);
    glEnd();

    const quint64 wrapAt = maxItemCount > cursor ? maxItemCount - cursor : 0;
    bool open = false;
    quint64 slot = cursor;
    quint64 k = 0;
    for (const SampleBlock *b = displayQueue.head; b; b = b->next) {
        const double *p = b->values + b->start;
        const double *end = b->values + b->fill;
        for (; p < end; ++p, ++k, ++slot) {
            if (k == wrapAt) {
                slot = 0;
                if (line && open) {
                    glEnd();
                    open = false;
                }
            }
            const double v = *p;
            if (v == Gap) {
                if (breakAtGaps && open) {
                    glEnd();
                    open = false;
                }
                continue;
            }
            if (!open) {
                beginPrimitive(prim);
                open = true;
            }
            const double x = (-1.0 + double(slot) * m.slot + m.ox) * m.sx;
            const double y = (v + m.oy) * m.sy;
            if (bar) {
                glVertex2d(x, base);
                glVertex2d(x, y);
                glVertex2d(x + barWidth, y);
                glVertex2d(x + barWidth, base);
            } else {
                emitShape(shape, x, y);
            }
            mm[2] = std::min(mm[2], v);
            mm[3] = std::max(mm[3], v);
        }
    }
    if (open)
        glEnd();
}
