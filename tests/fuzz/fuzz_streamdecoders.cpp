// The stream decoders of kivscope (text lines and binary frames) on arbitrary bytes. The first
// byte picks the decoder and the piece size: bytes may arrive in pieces of any size, so the
// rows and the problem counts must not depend on how the input was cut.

#include "framedecoder.h"
#include "fuzzcheck.h"
#include "textlineparser.h"

#include <cstdint>
#include <memory>

namespace {

std::unique_ptr<RowDecoder> makeDecoder(uint8_t choice)
{
    const int kind = choice % 5;
    if (kind == 0)
        return std::make_unique<TextLineParser>();
    return std::make_unique<FrameDecoder>(FrameDecoder::Type(kind - 1), (choice >> 3) % 6 + 1);
}

bool sameRows(const std::vector<double>& a, const std::vector<double>& b)
{
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (!fuzz::sameValue(a[i], b[i]))
            return false;
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    const uint8_t choice = data[0];
    const char* bytes = reinterpret_cast<const char*>(data + 1);
    const std::size_t n = size - 1;

    std::unique_ptr<RowDecoder> whole = makeDecoder(choice);
    whole->feed(bytes, n);
    whole->finish();

    std::unique_ptr<RowDecoder> pieces = makeDecoder(choice);
    const std::size_t piece = std::size_t(choice % 7) * 3 + 1;
    for (std::size_t at = 0; at < n; at += piece)
        pieces->feed(bytes + at, std::min(piece, n - at));
    pieces->finish();

    FUZZ_CHECK(whole->columns() >= 0 && whole->columns() <= TextLineParser::MaxColumns);
    FUZZ_CHECK(whole->columns() == 0 ? whole->rows().empty() : whole->rows().size() % std::size_t(whole->columns()) == 0);
    FUZZ_CHECK(pieces->columns() == whole->columns());
    FUZZ_CHECK(sameRows(pieces->rows(), whole->rows()));
    FUZZ_CHECK(pieces->problems() == whole->problems());
    FUZZ_CHECK(pieces->names() == whole->names());
    return 0;
}
