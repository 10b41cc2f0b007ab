#ifndef KIVSCOPE_FRAMEDECODER_H
#define KIVSCOPE_FRAMEDECODER_H

#include "rowdecoder.h"

#include <QString>

// Reads raw little-endian binary frames of `channels` values of one type. A frame split
// between two reads is joined; one cut off by finish() is dropped and counted.
class FrameDecoder : public RowDecoder
{
public:
    // The value type of every channel.
    enum Type {
        Int16,   // signed 16-bit integer
        Int32,   // signed 32-bit integer
        Float32, // IEEE single precision
        Float64  // IEEE double precision
    };

    FrameDecoder(Type type, int channels);

    // "int16", "int32", "float32" or "float64"; false for anything else.
    static bool typeFromName(const QString& name, Type& type);

    void feed(const char* data, std::size_t size) override;
    void finish() override;

private:
    void decode(const unsigned char* frame);

    Type type;
    std::size_t valueSize;
    std::size_t frameSize;
    std::vector<unsigned char> partial; // the start of a frame that the next read completes
};

#endif
