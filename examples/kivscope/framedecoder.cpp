#include "framedecoder.h"

#include <QtEndian>

#include <algorithm>

namespace {

std::size_t sizeOf(FrameDecoder::Type type)
{
    switch (type) {
    case FrameDecoder::Int16:
        return 2;
    case FrameDecoder::Int32:
    case FrameDecoder::Float32:
        return 4;
    case FrameDecoder::Float64:
        return 8;
    }
    return 1;
}

} // namespace

FrameDecoder::FrameDecoder(Type t, int channels)
    : type(t)
    , valueSize(sizeOf(t))
    , frameSize(sizeOf(t) * std::size_t(channels))
{
    cols = channels;
    partial.reserve(frameSize);
}

bool FrameDecoder::typeFromName(const QString& name, Type& type)
{
    static const char* const names[] = {"int16", "int32", "float32", "float64"};
    for (int i = 0; i < 4; ++i) {
        if (name == QLatin1String(names[i])) {
            type = Type(i);
            return true;
        }
    }
    return false;
}

void FrameDecoder::feed(const char* data, std::size_t size)
{
    auto p = reinterpret_cast<const unsigned char*>(data);
    const unsigned char* const end = p + size;
    if (!partial.empty()) {
        const std::size_t take = std::min(frameSize - partial.size(), size);
        partial.insert(partial.end(), p, p + take);
        p += take;
        if (partial.size() < frameSize)
            return;
        decode(partial.data());
        partial.clear();
    }
    for (; std::size_t(end - p) >= frameSize; p += frameSize)
        decode(p);
    partial.assign(p, end);
}

void FrameDecoder::finish()
{
    if (!partial.empty())
        ++counts[CutFrame];
    partial.clear();
}

void FrameDecoder::decode(const unsigned char* frame)
{
    for (const unsigned char* v = frame; v < frame + frameSize; v += valueSize) {
        switch (type) {
        case Int16:
            out.push_back(qFromLittleEndian<qint16>(v));
            break;
        case Int32:
            out.push_back(qFromLittleEndian<qint32>(v));
            break;
        case Float32:
            out.push_back(double(qFromLittleEndian<float>(v)));
            break;
        case Float64:
            out.push_back(qFromLittleEndian<double>(v));
            break;
        }
    }
}
