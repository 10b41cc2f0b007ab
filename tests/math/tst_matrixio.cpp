#include "velo_matrix.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <cstring>
#include <limits>
#include <random>
#include <sstream>

using velo::Matrix;
using velo::Vector;

namespace {

bool sameBits(const VoMatrix& a, const VoMatrix& b)
{
    for (VoSize r = 0; a.rows == b.rows && a.cols == b.cols && r < a.rows; ++r)
        if (std::memcmp(a.data + r * a.stride, b.data + r * b.stride, a.cols * sizeof(double)) != 0)
            return false;
    return a.rows == b.rows && a.cols == b.cols;
}

bool sameBits(const VoVector& a, const VoVector& b)
{
    return a.size == b.size && (a.size == 0 || std::memcmp(a.data, b.data, a.size * sizeof(double)) == 0);
}

// Values whose shortest exact text is long or unusual, then random ones.
std::vector<double> awkwardValues()
{
    std::vector<double> values = {0.1 + 0.2, -0.0, 1.0 / 3.0, 3.14159265358979323846, std::numeric_limits<double>::max(),
                                  -std::numeric_limits<double>::min(), std::numeric_limits<double>::denorm_min(),
                                  9007199254740993.0, 1e-300, 123456789.0};
    std::mt19937_64 rng(5);
    std::uniform_real_distribution<double> dist(-1e6, 1e6);
    while (values.size() < 36)
        values.push_back(dist(rng));
    return values;
}

// Fills a strided view with the awkward values: only the elements may be written.
void fillAwkward(Matrix& m)
{
    const std::vector<double> values = awkwardValues();
    for (VoSize i = 0; i < m.rows * m.cols; ++i)
        m.flatRow(i) = values[i];
}

} // namespace

class TestMatrixIO : public QObject
{
    Q_OBJECT

private slots:
    void textRoundTrip_data();
    void textRoundTrip();
    void textFormat();
    void malformedText_data();
    void malformedText();
    void binaryRoundTripAndLayout();
    void boundedDeserialize_data();
    void boundedDeserialize();
    void streamOperators();
    void matFileLoadsInScipy();
};

void TestMatrixIO::textRoundTrip_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("cols");
    QTest::newRow("6x6") << 6 << 6;
    QTest::newRow("1x36") << 1 << 36;
    QTest::newRow("36x1") << 36 << 1;
    QTest::newRow("empty") << 0 << 0;
}

void TestMatrixIO::textRoundTrip()
{
    QFETCH(int, rows);
    QFETCH(int, cols);
    std::vector<double> storage(size_t(rows * (cols + 2)), 42.0);
    Matrix source(VoSize(rows), VoSize(cols), VoSize(cols + 2), storage.data(), VO_DATA_VIEW);
    fillAwkward(source);

    const VoSize length = source.writeToString(static_cast<char*>(nullptr));
    std::vector<char> buf(length + 1, '#');
    QCOMPARE(source.writeToString(buf.data()), length);
    QCOMPARE(buf[length], '\0');
    // Reading stops after the last number, before the trailing blank.
    Matrix restored(3, 3);
    QCOMPARE(restored.readFromString(buf.data()), length - 1);
    QVERIFY(sameBits(restored, source));

    std::string text = "prefix";
    QCOMPARE(source.writeToString(text), length);
    QCOMPARE(text.substr(6), std::string(buf.data()));

    const std::vector<double> values = awkwardValues();
    const Vector v(VoSize(rows * cols), values.data());
    std::string vtext;
    const VoSize vlength = v.writeToString(vtext);
    Vector w;
    QCOMPARE(w.readFromString(vtext), vlength - 1);
    QVERIFY(sameBits(w, v));
}

void TestMatrixIO::textFormat()
{
    const double values[4] = {1.5, -2.0, 0.25, 1e20};
    std::string text;
    Matrix(2, 2, values).writeToString(text);
    Vector(2, values).writeToString(text);
    // Sixteen digits where they suffice, seventeen where they would not give the value back.
    const double third = 1.0 / 3.0, sum = 0.1 + 0.2;
    Vector(1, &third).writeToString(text);
    Vector(1, &sum).writeToString(text);
    QCOMPARE(QByteArray::fromStdString(text),
             QByteArray("2,2: 1.5 -2 0.25 1e+20 2: 1.5 -2 1: 0.3333333333333333 1: 0.30000000000000004 "));

    // Reading follows scanf: blanks are free around the numbers, not before the separators.
    Matrix read;
    QCOMPARE(read.readFromString("  1,\n2:\t7   8"), VoSize(13));
    QCOMPARE(read(0, 1), 8.0);

    // Text cut short fails but keeps the size and the values read so far.
    QCOMPARE(read.readFromString("2,2: 1 2 3"), VoSize(0));
    QCOMPARE(read.rows * read.cols, VoSize(4));
    QCOMPARE(read(1, 0), 3.0);
    Vector v;
    QCOMPARE(v.readFromString("3: 4 5"), VoSize(0));
    QCOMPARE(v.size, VoSize(3));
    QCOMPARE(v[1], 5.0);
}

void TestMatrixIO::malformedText_data()
{
    QTest::addColumn<bool>("vector");
    QTest::addColumn<QByteArray>("text");
    const char* matrixTexts[] = {"", "1 2 3", "2,", "2,2", "2;2: 1 2 3 4", "2 ,2: 1 2 3 4", "-1,2: 1 2", "2,2: 1 2 abc 4",
                                 "2,2: 1 2 3", "1,2: 1 -", "2000000000,2000000000: 1 2", "99999999999999999999,1: 1"};
    for (const char* text : matrixTexts)
        QTest::newRow(qPrintable(QString("matrix \"%1\"").arg(text))) << false << QByteArray(text);
    for (const char* text : {"", "3 1 2 3", "3: 1 2", "2: 1 x", "2000000000: 1"})
        QTest::newRow(qPrintable(QString("vector \"%1\"").arg(text))) << true << QByteArray(text);
}

void TestMatrixIO::malformedText()
{
    QFETCH(bool, vector);
    QFETCH(QByteArray, text);
    // An exactly sized heap copy, so that AddressSanitizer reports any read past the terminator.
    std::unique_ptr<char[]> exact(new char[size_t(text.size()) + 1]);
    std::memcpy(exact.get(), text.constData(), size_t(text.size()) + 1);
    Matrix m;
    Vector v;
    QCOMPARE(vector ? v.readFromString(exact.get()) : m.readFromString(exact.get()), VoSize(0));
}

void TestMatrixIO::binaryRoundTripAndLayout()
{
    std::vector<double> storage(4 * 12, 7.0);
    Matrix source(4, 9, 12, storage.data(), VO_DATA_VIEW);
    fillAwkward(source);
    std::vector<char> buf(source.serialize(nullptr));
    QCOMPARE(buf.size(), size_t(8 + 8 * 36));
    QCOMPARE(source.serialize(buf.data()), VoSize(buf.size()));
    Matrix restored;
    QCOMPARE(restored.deserialize(buf.data()), VoSize(buf.size()));
    QVERIFY(sameBits(restored, source));
    QCOMPARE(restored.stride, restored.cols);
    // Two 32-bit counts, then the elements row by row.
    const uint32_t counts[2] = {4, 9};
    QCOMPARE(std::memcmp(buf.data(), counts, 8), 0);
    QCOMPARE(std::memcmp(buf.data() + 8 + 9 * 8, &source(1, 0), 9 * 8), 0);

    const std::vector<double> values = awkwardValues();
    const Vector v(VoSize(values.size()), values.data());
    std::vector<char> vbuf(v.serialize(nullptr) + 1);
    // Start at an odd address: the format is unaligned by design.
    QCOMPARE(v.serialize(vbuf.data() + 1), VoSize(4 + 8 * values.size()));
    const uint32_t size = uint32_t(values.size());
    QCOMPARE(std::memcmp(vbuf.data() + 1, &size, 4), 0);
    Vector w;
    QCOMPARE(w.deserialize(vbuf.data() + 1), VoSize(4 + 8 * values.size()));
    QVERIFY(sameBits(w, v));

    char header[8];
    QCOMPARE(Matrix().serialize(header), VoSize(8));
    Matrix fromEmpty(2, 2);
    QCOMPARE(fromEmpty.deserialize(header), VoSize(8));
    QCOMPARE(fromEmpty.rows, VoSize(0));
}

void TestMatrixIO::boundedDeserialize_data()
{
    QTest::addColumn<int>("given");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("nothing") << 0 << false;
    QTest::newRow("half header") << 4 << false;
    QTest::newRow("header only") << 8 << false;
    QTest::newRow("one value short") << 8 + 5 * 8 << false;
    QTest::newRow("one byte short") << 8 + 6 * 8 - 1 << false;
    QTest::newRow("exact") << 8 + 6 * 8 << true;
    QTest::newRow("more than needed") << 100 << true;
}

void TestMatrixIO::boundedDeserialize()
{
    QFETCH(int, given);
    QFETCH(bool, accepted);
    const double values[6] = {1, 2, 3, 4, 5, 6};
    const Matrix source(2, 3, values);
    std::vector<char> full(100, 0);
    source.serialize(full.data());
    // Exactly sized heap copies: a read past the given size shows under AddressSanitizer.
    std::unique_ptr<char[]> buf(new char[size_t(std::max(given, 1))]);
    std::memcpy(buf.get(), full.data(), size_t(given));
    Matrix target(1, 1);
    target(0, 0) = -1.0;
    QCOMPARE(target.deserialize(buf.get(), VoSize(given)), accepted ? VoSize(56) : VoSize(0));
    QVERIFY(accepted ? sameBits(target, source) : target.rows == 1 && target(0, 0) == -1.0);

    // The same cut for a vector of six, whose header is four bytes shorter.
    Vector(6, values).serialize(full.data());
    const int vgiven = std::max(0, given - 4);
    std::unique_ptr<char[]> vbuf(new char[size_t(std::max(vgiven, 1))]);
    std::memcpy(vbuf.get(), full.data(), size_t(vgiven));
    Vector vtarget;
    QCOMPARE(vtarget.deserialize(vbuf.get(), VoSize(vgiven)), accepted ? VoSize(52) : VoSize(0));
}

void TestMatrixIO::streamOperators()
{
    const double values[4] = {1.5, -2, 0, 1e-3};
    std::ostringstream out;
    out << Matrix(2, 2, values) << Matrix() << Vector();
    QCOMPARE(QByteArray::fromStdString(out.str()), QByteArray("[2,2]{\n( 1.5 -2 )\n( 0 0.001 )}[0,0]{}[0]( )"));

    // The stream's own number format applies.
    std::ostringstream formatted;
    formatted.setf(std::ios::fixed);
    formatted.precision(2);
    formatted << Vector(3, values);
    QCOMPARE(QByteArray::fromStdString(formatted.str()), QByteArray("[3]( 1.50 -2.00 0.00 )"));
}

void TestMatrixIO::matFileLoadsInScipy()
{
    QString python;
    for (const QString& candidate : {QStringLiteral("python3"), QStringLiteral("/usr/bin/python3")}) {
        QProcess p;
        p.start(candidate, {"-c", "import scipy.io"});
        if (python.isEmpty() && p.waitForFinished(60000) && p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0)
            python = candidate;
    }
    if (python.isEmpty())
        QSKIP("no Python 3 with scipy found");
    QTemporaryDir dir;
    QVERIFY(dir.isValid());

    std::vector<double> storage(3 * 8, 0.0);
    Matrix m(3, 5, 8, storage.data(), VO_DATA_VIEW);
    fillAwkward(m);
    const std::vector<double> values = awkwardValues();
    const Vector v(7, values.data() + 3);
    const QString matrixFile = dir.filePath("m.mat"), vectorFile = dir.filePath("v.mat");
    QVERIFY(m.saveAsMatlab(QFile::encodeName(matrixFile).constData(), "velocity"));
    QVERIFY(v.saveAsMatlab(QFile::encodeName(vectorFile).constData(), "samples_of_v"));
    QVERIFY(!m.saveAsMatlab(QFile::encodeName(dir.filePath("missing/m.mat")).constData(), "x"));
    QFile header(matrixFile);
    QVERIFY(header.open(QIODevice::ReadOnly));
    QVERIFY(header.read(128).startsWith("voMath/Velo"));

    // Every loaded variable with its shape and its values in row-major order, exactly.
    const char* script = "import sys, scipy.io\n"
                         "for path in sys.argv[1:]:\n"
                         "    d = scipy.io.loadmat(path)\n"
                         "    for k in sorted(x for x in d if not x.startswith('__')):\n"
                         "        a = d[k]\n"
                         "        print(k, a.shape[0], a.shape[1], ' '.join(float(x).hex() for x in a.flatten(order='C')))\n";
    QProcess p;
    p.start(python, {"-c", script, matrixFile, vectorFile});
    QVERIFY(p.waitForFinished(120000));
    QVERIFY2(p.exitCode() == 0, p.readAllStandardError().constData());
    const QList<QByteArray> lines = p.readAllStandardOutput().split('\n');
    QVERIFY(lines.size() >= 2);
    auto check = [](const QByteArray& line, const QByteArray& name, int rows, int cols, const double* expected) {
        const QList<QByteArray> parts = line.split(' ');
        if (parts.size() != 3 + rows * cols || parts[0] != name || parts[1].toInt() != rows || parts[2].toInt() != cols)
            return false;
        for (int i = 0; i < rows * cols; ++i) {
            const double x = std::strtod(parts[3 + i].constData(), nullptr);
            if (std::memcmp(&x, &expected[i], sizeof x) != 0)
                return false;
        }
        return true;
    };
    QVERIFY2(check(lines[0], "velocity", 3, 5, values.data()), lines[0].constData());
    QVERIFY2(check(lines[1], "samples_of_v", 7, 1, values.data() + 3), lines[1].constData());
}

QTEST_APPLESS_MAIN(TestMatrixIO)
#include "tst_matrixio.moc"
