#ifndef KIVSCOPE_TEXTLINEPARSER_H
#define KIVSCOPE_TEXTLINEPARSER_H

#include "rowdecoder.h"

#include <string>

// Reads lines of numbers separated by commas, semicolons, tabs or spaces. A first line that
// holds a field that is not a number is a header naming the columns. The first row fixes the
// column count; lines with another count are skipped and counted. Empty fields and "nan" are
// gaps, other non-numbers are gaps and counted.
class TextLineParser : public RowDecoder
{
public:
    static constexpr std::size_t MaxLineLength = 8192;
    static constexpr int MaxColumns = 64;

    TextLineParser();

    void feed(const char* data, std::size_t size) override;
    void finish() override;

private:
    void parseLine(const char* begin, const char* end);
    bool splitFields(const char* begin, const char* end);

    std::string line;          // the unfinished line, up to MaxLineLength bytes
    bool skipping = false;     // inside an over-long line, dropping bytes up to its end
    bool seenFirstLine = false;
    int fieldCount = 0;
    // Fields of the line being parsed: value and where the text was.
    std::array<double, MaxColumns> values{};
    std::array<const char*, MaxColumns> fieldBegin{};
    std::array<const char*, MaxColumns> fieldEnd{};
    std::array<bool, MaxColumns> numeric{};
};

#endif
