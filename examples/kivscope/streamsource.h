#ifndef KIVSCOPE_STREAMSOURCE_H
#define KIVSCOPE_STREAMSOURCE_H

#include <QString>

#include <cstddef>

// Where a stream's bytes come from. Used by one reader thread only; every read returns
// within its timeout, so the reader can be stopped.
class StreamSource
{
public:
    // What a read brought.
    enum Status {
        Data, // `size` bytes arrived
        Idle, // nothing within the timeout
        End,  // the input is over; no more reads
        Lost  // the source failed; later reads may find it again
    };

    virtual ~StreamSource() = default;

    virtual Status read(char* buffer, std::size_t capacity, std::size_t& size, int timeoutMs) = 0;
    // True when every read returns one whole record (a datagram) that the decoder finishes.
    virtual bool readsRecords() const { return false; }
    // Only a finite source (a file) can be replayed at a chosen rate.
    virtual bool isReplayable() const { return false; }
    // For the status line, e.g. "stdin" or "udp 127.0.0.1:5000".
    virtual QString description() const = 0;
};

#endif
