// The decoders that turn a byte stream into rows: text lines and binary frames, whole and
// split into single bytes, good and bad input.
#include "framedecoder.h"
#include "textlineparser.h"

#include <QtEndian>
#include <QtTest>

#include <cmath>
#include <limits>

namespace {

const char* const problemNames[] = {"malformed", "too-long", "not-a-number", "column-count", "cut-frame", "source-lost"};

// Rows as "1 2|3 4", gaps as "nan".
QString rowsText(RowDecoder& decoder)
{
    QStringList rows;
    const std::vector<double>& v = decoder.rows();
    const std::size_t cols = std::size_t(decoder.columns());
    for (std::size_t r = 0; cols && r < v.size() / cols; ++r) {
        QStringList row;
        for (std::size_t c = 0; c < cols; ++c)
            row << (std::isnan(v[r * cols + c]) ? QStringLiteral("nan") : QString::number(v[r * cols + c]));
        rows << row.join(' ');
    }
    return rows.join('|');
}

// The non-zero problem counts as "malformed=1 not-a-number=2".
QString problemsText(const RowDecoder& decoder)
{
    QStringList parts;
    for (int kind = 0; kind < RowDecoder::ProblemCount; ++kind) {
        if (decoder.problems()[kind])
            parts << QStringLiteral("%1=%2").arg(problemNames[kind]).arg(decoder.problems()[kind]);
    }
    return parts.join(' ');
}

// Feeds `input` whole or one byte at a time, then ends the stream.
void feed(RowDecoder& decoder, const QByteArray& input, bool bytewise)
{
    if (bytewise) {
        for (char c : input)
            decoder.feed(&c, 1);
    } else {
        decoder.feed(input.constData(), std::size_t(input.size()));
    }
    decoder.finish();
}

template <typename T>
QByteArray littleEndian(std::initializer_list<T> values)
{
    QByteArray bytes;
    for (T v : values) {
        char raw[sizeof(T)];
        qToLittleEndian(v, raw);
        bytes.append(raw, int(sizeof(T)));
    }
    return bytes;
}

} // namespace

class TestStreamDecoders : public QObject
{
    Q_OBJECT

private slots:
    void textLines_data();
    void textLines();
    void binaryFrames_data();
    void binaryFrames();
};

void TestStreamDecoders::textLines_data()
{
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QString>("rows");
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QString>("problems");

    const QStringList none;
    QTest::newRow("commas") << QByteArray("1,2\n3,4\n") << "1 2|3 4" << none << "";
    QTest::newRow("semicolons, tabs, blanks around them, CRLF") << QByteArray("1; 2\t3\r\n 4 ,5 , 6 \r\n") << "1 2 3|4 5 6" << none << "";
    QTest::newRow("runs of blanks") << QByteArray("  1  2   3 \n") << "1 2 3" << none << "";
    QTest::newRow("signs and exponents") << QByteArray("+1.5 -2e3 .5\n") << "1.5 -2000 0.5" << none << "";
    QTest::newRow("header names the columns") << QByteArray("time [s], level [V]\n0,1\n1,2\n") << "0 1|1 2"
                                              << QStringList{"time [s]", "level [V]"} << "";
    QTest::newRow("last line without newline") << QByteArray("1 2\n3 4") << "1 2|3 4" << none << "";
    QTest::newRow("blank lines and a trailing separator") << QByteArray("\n1,\n\n2,\n") << "1|2" << none << "";
    QTest::newRow("empty field and nan are gaps") << QByteArray("1,,nan\n") << "1 nan nan" << none << "";
    QTest::newRow("non-number is a counted gap") << QByteArray("1,2\n3,4V\n") << "1 2|3 nan" << none << "not-a-number=1";
    QTest::newRow("line without a number") << QByteArray("1,2\nabc,def\n3,4\n") << "1 2|3 4" << none << "malformed=1";
    QTest::newRow("column count changes") << QByteArray("1,2\n3\n4,5,6\n7,8\n") << "1 2|7 8" << none << "column-count=2";
    QTest::newRow("header then a short row") << QByteArray("a b c\n1 2\n3 4 5\n") << "3 4 5" << QStringList{"a", "b", "c"}
                                             << "column-count=1";
    QTest::newRow("over-long line") << QByteArray("1,2\n") + QByteArray(9000, '7') + "\n3,4\n" << "1 2|3 4" << none
                                    << "too-long=1";
    QTest::newRow("too many fields") << QByteArray("1\n") + QByteArray("1,").repeated(65) + "\n2\n" << "1|2" << none
                                     << "malformed=1";
    QTest::newRow("cut last line") << QByteArray("1,2,3\n4,5") << "1 2 3" << none << "column-count=1";
    QTest::newRow("binary noise") << QByteArray("1\n\x01\x02\xff\xfe\n2\n", 9) << "1|2" << none << "malformed=1";
}

void TestStreamDecoders::textLines()
{
    QFETCH(QByteArray, input);
    QFETCH(QString, rows);
    QFETCH(QStringList, names);
    QFETCH(QString, problems);
    for (bool bytewise : {false, true}) {
        TextLineParser parser;
        feed(parser, input, bytewise);
        QCOMPARE(rowsText(parser), rows);
        QCOMPARE(parser.names(), names);
        QCOMPARE(problemsText(parser), problems);
    }
}

void TestStreamDecoders::binaryFrames_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<int>("channels");
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QString>("rows");
    QTest::addColumn<QString>("problems");

    QTest::newRow("int16") << "int16" << 2 << littleEndian<qint16>({1, -2, 300, -32768}) << "1 -2|300 -32768" << "";
    QTest::newRow("int32") << "int32" << 1 << littleEndian<qint32>({70000, -1}) << "70000|-1" << "";
    QTest::newRow("float32") << "float32" << 2 << littleEndian<float>({1.5f, -0.25f}) << "1.5 -0.25" << "";
    QTest::newRow("float64 with a NaN") << "float64" << 1
                                        << littleEndian<double>({3.25, std::numeric_limits<double>::quiet_NaN()})
                                        << "3.25|nan" << "";
    QTest::newRow("cut mid-frame") << "float64" << 2 << littleEndian<double>({1.0, 2.0, 3.0}) << "1 2" << "cut-frame=1";
}

void TestStreamDecoders::binaryFrames()
{
    QFETCH(QString, type);
    QFETCH(int, channels);
    QFETCH(QByteArray, input);
    QFETCH(QString, rows);
    QFETCH(QString, problems);
    FrameDecoder::Type t;
    QVERIFY(FrameDecoder::typeFromName(type, t));
    for (bool bytewise : {false, true}) {
        FrameDecoder decoder(t, channels);
        feed(decoder, input, bytewise);
        QCOMPARE(rowsText(decoder), rows);
        QCOMPARE(problemsText(decoder), problems);
    }
}

QTEST_GUILESS_MAIN(TestStreamDecoders)
#include "tst_streamdecoders.moc"
