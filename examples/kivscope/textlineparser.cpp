#include "textlineparser.h"

#include <charconv>
#include <cmath>
#include <cstring>

namespace {

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r';
}

bool isMark(char c)
{
    return c == ',' || c == ';' || c == '\t';
}

// Parses the whole of [begin, end) as a number; "nan" and "inf" count as numbers.
bool parseNumber(const char* begin, const char* end, double& value)
{
    if (begin != end && *begin == '+')
        ++begin;
    if (begin == end)
        return false;
    const std::from_chars_result r = std::from_chars(begin, end, value);
    return r.ec == std::errc() && r.ptr == end;
}

} // namespace

TextLineParser::TextLineParser()
{
    line.reserve(MaxLineLength);
}

void TextLineParser::feed(const char* data, std::size_t size)
{
    const char* p = data;
    const char* const end = data + size;
    while (p < end) {
        const char* newline = static_cast<const char*>(std::memchr(p, '\n', std::size_t(end - p)));
        const char* stop = newline ? newline : end;
        if (!skipping) {
            const std::size_t room = MaxLineLength - line.size();
            if (std::size_t(stop - p) > room) {
                ++counts[TooLong];
                skipping = true;
                line.clear();
            } else if (newline && line.empty()) {
                // The whole line is in this piece: parse it where it is, without a copy.
                parseLine(p, stop);
            } else {
                line.append(p, stop);
                if (newline) {
                    parseLine(line.data(), line.data() + line.size());
                    line.clear();
                }
            }
        }
        if (!newline)
            break;
        skipping = false;
        p = newline + 1;
    }
}

void TextLineParser::finish()
{
    if (!skipping && !line.empty())
        parseLine(line.data(), line.data() + line.size());
    line.clear();
    skipping = false;
}

// Splits a line into fields. A line with a comma, semicolon or tab is split there, and blanks
// around fields are trimmed, so names may hold spaces; otherwise runs of blanks separate.
// A separator at the end of the line opens no field. False for too many fields.
bool TextLineParser::splitFields(const char* p, const char* end)
{
    bool marked = false;
    for (const char* c = p; c < end && !marked; ++c)
        marked = isMark(*c);
    fieldCount = 0;
    while (p < end && isBlank(*p))
        ++p;
    while (p < end) {
        if (fieldCount == MaxColumns)
            return false;
        const char* begin = p;
        while (p < end && !(marked ? isMark(*p) : isBlank(*p)))
            ++p;
        const char* last = p;
        while (last > begin && isBlank(last[-1]))
            --last;
        fieldBegin[fieldCount] = begin;
        fieldEnd[fieldCount] = last;
        ++fieldCount;
        if (p < end && marked)
            ++p;
        while (p < end && isBlank(*p) && !(marked && isMark(*p)))
            ++p;
    }
    return true;
}

void TextLineParser::parseLine(const char* begin, const char* end)
{
    if (!splitFields(begin, end)) {
        ++counts[Malformed];
        return;
    }
    if (fieldCount == 0)
        return; // a blank line says nothing
    int good = 0;
    int bad = 0;
    for (int i = 0; i < fieldCount; ++i) {
        numeric[i] = fieldBegin[i] == fieldEnd[i] || parseNumber(fieldBegin[i], fieldEnd[i], values[i]);
        if (fieldBegin[i] == fieldEnd[i])
            values[i] = NAN;
        else if (numeric[i])
            ++good;
        else
            ++bad;
    }
    const bool first = !seenFirstLine;
    seenFirstLine = true;
    if (first && bad > 0) {
        cols = fieldCount;
        for (int i = 0; i < fieldCount; ++i)
            columnNames << QString::fromUtf8(fieldBegin[i], int(fieldEnd[i] - fieldBegin[i]));
        return;
    }
    if (good == 0) {
        ++counts[Malformed];
        return;
    }
    if (cols == 0)
        cols = fieldCount;
    if (fieldCount != cols) {
        ++counts[ColumnCount];
        return;
    }
    counts[NotANumber] += unsigned(bad);
    for (int i = 0; i < fieldCount; ++i)
        out.push_back(numeric[i] ? values[i] : NAN);
}
