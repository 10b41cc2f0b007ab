#ifndef KIVSCOPE_ROWDECODER_H
#define KIVSCOPE_ROWDECODER_H

#include <QStringList>

#include <array>
#include <cstddef>
#include <vector>

// Turns a byte stream into rows of numbers, one value per column, and counts what it has to
// skip on the way. Bytes may arrive in pieces of any size; rows are complete when they appear.
class RowDecoder
{
public:
    // What a stream can do wrong; each kind has its own counter.
    enum Problem {
        Malformed,   // a text line with no number in it, or with too many fields
        TooLong,     // a text line longer than the line limit, skipped up to its end
        NotANumber,  // one field that is not a number; it becomes a gap
        ColumnCount, // a text line whose field count differs from the first row's
        CutFrame,    // a binary frame cut off by the end of the input or of a datagram
        SourceLost,  // the source failed (a serial port gone); counted by the reader
        ProblemCount // number of kinds
    };
    using Counts = std::array<unsigned long, ProblemCount>;

    virtual ~RowDecoder() = default;

    // Decodes `size` bytes; the rows they complete are appended to rows().
    virtual void feed(const char* data, std::size_t size) = 0;
    // The end of a record (a datagram, or the whole input): an unfinished row is decoded or
    // counted, and the next bytes start afresh.
    virtual void finish() = 0;

    // Values per row; 0 until the first row or header tells.
    int columns() const { return cols; }
    // Column names from a header line; empty when there was none.
    const QStringList& names() const { return columnNames; }
    // Decoded rows, columns() values each, oldest first. The caller takes them out.
    std::vector<double>& rows() { return out; }
    const Counts& problems() const { return counts; }

protected:
    int cols = 0;
    QStringList columnNames;
    std::vector<double> out;
    Counts counts{};
};

#endif
