#include "streamreader.h"

#include <kiv_dataset.h>

#include <QThread>

#include <chrono>

namespace {

constexpr std::size_t ReadSize = 64 * 1024;
constexpr int ReadTimeoutMs = 100;
constexpr int GatherReads = 64;
constexpr std::size_t GatherRows = 16384;

} // namespace

StreamReader::StreamReader(std::unique_ptr<StreamSource> src, std::unique_ptr<RowDecoder> dec,
                           int dimensions, double rowsPerSecond, QObject* parent)
    : QObject(parent)
    , source(std::move(src))
    , decoder(std::move(dec))
    , dims(dimensions)
    , rate(source->isReplayable() ? rowsPerSecond : 0.0)
    , name(source->description())
{
    buffer.resize(ReadSize);
}

StreamReader::~StreamReader()
{
    stop();
}

void StreamReader::start()
{
    // A QThread, not a bare thread: a serial port needs the event dispatcher it brings.
    thread.reset(QThread::create([this] { run(); }));
    thread->start();
}

void StreamReader::stop()
{
    if (!thread)
        return;
    {
        std::lock_guard<std::mutex> lock(mutex);
        stopping = true;
    }
    attached.notify_all();
    thread->wait();
    thread.reset();
}

void StreamReader::attach(const std::vector<KivDataSet*>& sets)
{
    {
        std::lock_guard<std::mutex> lock(mutex);
        series = sets;
        hasSeries = true;
    }
    attached.notify_all();
}

bool StreamReader::waitForSeries()
{
    std::unique_lock<std::mutex> lock(mutex);
    attached.wait(lock, [this] { return hasSeries || stopping; });
    return hasSeries;
}

void StreamReader::publishProblems()
{
    const RowDecoder::Counts& c = decoder->problems();
    for (int kind = 0; kind < RowDecoder::ProblemCount; ++kind)
        counts[kind].store(c[kind], std::memory_order_relaxed);
    counts[RowDecoder::SourceLost].store(lost, std::memory_order_relaxed);
}

void StreamReader::run()
{
    using clock = std::chrono::steady_clock;
    bool announced = false;
    bool ended = false;
    std::size_t consumed = 0; // rows of decoder->rows() already handed over
    unsigned long long paced = 0;
    clock::time_point begin;
    std::vector<double>& decoded = decoder->rows();

    while (!stopping) {
        const int columns = decoder->columns();
        const std::size_t available = columns > 0 ? decoded.size() / std::size_t(columns) - consumed : 0;
        if (available == 0) {
            decoded.clear();
            consumed = 0;
            if (ended)
                break;
            StreamSource::Status status = readOnce(ReadTimeoutMs, ended);
            // Take in what is already waiting too: fewer, larger batches for the series.
            for (int more = 0; status == StreamSource::Data && rate == 0.0 && more < GatherReads; ++more) {
                if (decoder->columns() > 0 && decoded.size() / std::size_t(decoder->columns()) >= GatherRows)
                    break;
                status = readOnce(0, ended);
            }
            publishProblems();
            continue;
        }
        if (!announced) {
            announced = true;
            emit columnsKnown(columns, decoder->names());
            if (!waitForSeries())
                break;
            begin = clock::now();
        }
        std::size_t count = available;
        if (rate > 0.0) {
            // Replay: hand over what is due by the clock, then wait a little.
            const double elapsed = std::chrono::duration<double>(clock::now() - begin).count();
            const auto due = static_cast<unsigned long long>(elapsed * rate);
            count = std::size_t(std::min<unsigned long long>(available, due - paced));
            if (count == 0) {
                QThread::msleep(5);
                continue;
            }
            paced += count;
        }
        deliver(consumed, count);
        consumed += count;
    }
    // The port of a serial source belongs to this thread: it goes here.
    source.reset();
    done = !stopping;
    if (done)
        emit finished();
}

StreamSource::Status StreamReader::readOnce(int timeoutMs, bool& ended)
{
    std::size_t size = 0;
    const StreamSource::Status status = source->read(buffer.data(), buffer.size(), size, timeoutMs);
    switch (status) {
    case StreamSource::Data:
        decoder->feed(buffer.data(), size);
        if (source->readsRecords())
            decoder->finish();
        break;
    case StreamSource::End:
        decoder->finish();
        ended = true;
        break;
    case StreamSource::Lost:
        ++lost;
        break;
    case StreamSource::Idle:
        break;
    }
    return status;
}

void StreamReader::deliver(std::size_t first, std::size_t count)
{
    const std::size_t columns = std::size_t(decoder->columns());
    const double* row = decoder->rows().data() + first * columns;
    const std::size_t width = std::size_t(dims);
    if (series.size() == 1 && columns == width) {
        series.front()->addSamples(row, count, dims);
    } else {
        batch.resize(count * width);
        for (std::size_t s = 0; s < series.size(); ++s) {
            double* to = batch.data();
            const double* from = row + s * width;
            for (std::size_t r = 0; r < count; ++r, from += columns, to += width)
                std::copy(from, from + width, to);
            series[s]->addSamples(batch.data(), count, dims);
        }
    }
    rows.fetch_add(count, std::memory_order_relaxed);
}
