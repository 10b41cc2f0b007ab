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

Q_DECLARE_METATYPE(std::vector<double>)

namespace {

bool sameBits(const VoMatrix& a, const VoMatrix& b)
{
    if (a.rows != b.rows || a.cols != b.cols)
        return false;
    for (VoSize r = 0; r < a.rows; ++r)
        if (std::memcmp(a.data + r * a.stride, b.data + r * b.stride, a.cols * sizeof(double)) != 0)
            return false;
    return true;
}

bool sameBits(const VoVector& a, const VoVector& b)
{
    return a.size == b.size && (a.size == 0 || std::memcmp(a.data, b.data, a.size * sizeof(double)) == 0);
}

// Values whose shortest exact text is long or unusual.
std::vector<double> awkwardValues()
{
    std::vector<double> values = {0.1 + 0.2,
                                  -0.0,
                                  1.0 / 3.0,
                                  3.14159265358979323846,
                                  std::numeric_limits<double>::max(),
                                  -std::numeric_limits<double>::min(),
                                  std::numeric_limits<double>::denorm_min(),
                                  9007199254740993.0,
                                  1e-300,
                                  123456789.0};
    std::mt19937_64 rng(5);
    std::uniform_real_distribution<double> dist(-1e6, 1e6);
    for (int i = 0; i < 26; ++i)
        values.push_back(dist(rng));
    return values;
}

// A copy of text in its own exactly sized heap block, so that AddressSanitizer
// reports any read past the terminator.
struct ExactText
{
    explicit ExactText(const QByteArray& text)
        : data(new char[size_t(text.size()) + 1])
    {
        std::memcpy(data.get(), text.constData(), size_t(text.size()) + 1);
    }
    std::unique_ptr<char[]> data;
};

// A Python interpreter that has scipy, or an empty string.
QString pythonWithScipy()
{
    for (const QString& candidate : {QStringLiteral("python3"), QStringLiteral("/usr/bin/python3")}) {
        QProcess p;
        p.start(candidate, {"-c", "import scipy.io"});
        if (p.waitForFinished(60000) && p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0)
            return candidate;
    }
    return QString();
}

} // namespace

class TestMatrixIO : public QObject
{
    Q_OBJECT

private slots:
    void textRoundTrip_data();
    void textRoundTrip();
    void textFormat();
    void malformedMatrixText_data();
    void malformedMatrixText();
    void malformedVectorText_data();
    void malformedVectorText();
    void truncatedTextKeepsWhatWasRead();
    void binaryRoundTrip();
    void binaryLayout();
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
    const std::vector<double> values = awkwardValues();
    // Written from a strided view: the text holds the elements only.
    std::vector<double> storage(size_t(rows * (cols + 2)), 42.0);
    Matrix source(VoSize(rows), VoSize(cols), VoSize(cols + 2), storage.data(), VO_DATA_VIEW);
    for (int i = 0; i < rows * cols; ++i)
        source.flatRow(VoSize(i)) = values[size_t(i)];

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
    Matrix again;
    QCOMPARE(again.readFromString(text.substr(6)), length - 1);
    QVERIFY(sameBits(again, source));

    Vector v(VoSize(rows * cols), values.data());
    const VoSize vlength = v.writeToString(static_cast<char*>(nullptr));
    std::string vtext;
    QCOMPARE(v.writeToString(vtext), vlength);
    Vector w;
    QCOMPARE(w.readFromString(vtext), vlength - 1);
    QVERIFY(sameBits(w, v));
}

void TestMatrixIO::textFormat()
{
    const double values[4] = {1.5, -2.0, 0.25, 1e20};
    Matrix m(2, 2, values);
    std::string text;
    m.writeToString(text);
    QCOMPARE(QByteArray::fromStdString(text), QByteArray("2,2: 1.5 -2 0.25 1e+20 "));
    Vector v(2, values);
    text.clear();
    v.writeToString(text);
    QCOMPARE(QByteArray::fromStdString(text), QByteArray("2: 1.5 -2 "));

    // Sixteen digits where they suffice, seventeen where they would not give the value back.
    const double third = 1.0 / 3.0;
    Vector t(1, &third);
    text.clear();
    t.writeToString(text);
    QCOMPARE(QByteArray::fromStdString(text), QByteArray("1: 0.3333333333333333 "));
    const double sum = 0.1 + 0.2;
    Vector s(1, &sum);
    text.clear();
    s.writeToString(text);
    QCOMPARE(QByteArray::fromStdString(text), QByteArray("1: 0.30000000000000004 "));

    // Reading follows scanf: blanks are free around the numbers, not before the separators.
    Matrix read;
    QCOMPARE(read.readFromString("  1,\n2:\t7   8"), VoSize(13));
    QCOMPARE(read(0, 1), 8.0);
}

void TestMatrixIO::malformedMatrixText_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("no header") << QByteArray("1 2 3");
    QTest::newRow("header cut") << QByteArray("2,");
    QTest::newRow("no colon") << QByteArray("2,2");
    QTest::newRow("wrong separator") << QByteArray("2;2: 1 2 3 4");
    QTest::newRow("blank before comma") << QByteArray("2 ,2: 1 2 3 4");
    QTest::newRow("negative count") << QByteArray("-1,2: 1 2");
    QTest::newRow("garbage number") << QByteArray("2,2: 1 2 abc 4");
    QTest::newRow("truncated") << QByteArray("2,2: 1 2 3");
    QTest::newRow("sign without digits") << QByteArray("1,2: 1 -");
    QTest::newRow("huge claim") << QByteArray("2000000000,2000000000: 1 2");
    QTest::newRow("count overflow") << QByteArray("99999999999999999999,1: 1");
}

void TestMatrixIO::malformedMatrixText()
{
    QFETCH(QByteArray, text);
    ExactText exact(text);
    Matrix m;
    QCOMPARE(m.readFromString(exact.data.get()), VoSize(0));
}

void TestMatrixIO::malformedVectorText_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("no colon") << QByteArray("3 1 2 3");
    QTest::newRow("truncated") << QByteArray("3: 1 2");
    QTest::newRow("garbage") << QByteArray("2: 1 x");
    QTest::newRow("huge claim") << QByteArray("2000000000: 1");
}

void TestMatrixIO::malformedVectorText()
{
    QFETCH(QByteArray, text);
    ExactText exact(text);
    Vector v;
    QCOMPARE(v.readFromString(exact.data.get()), VoSize(0));
}

void TestMatrixIO::truncatedTextKeepsWhatWasRead()
{
    Matrix m;
    QCOMPARE(m.readFromString("2,2: 1 2 3"), VoSize(0));
    QCOMPARE(m.rows, VoSize(2));
    QCOMPARE(m.cols, VoSize(2));
    QCOMPARE(m(0, 0), 1.0);
    QCOMPARE(m(0, 1), 2.0);
    QCOMPARE(m(1, 0), 3.0);

    Vector v;
    QCOMPARE(v.readFromString("3: 4 5"), VoSize(0));
    QCOMPARE(v.size, VoSize(3));
    QCOMPARE(v[1], 5.0);
}

void TestMatrixIO::binaryRoundTrip()
{
    const std::vector<double> values = awkwardValues();
    std::vector<double> storage(4 * 12, 7.0);
    Matrix source(4, 9, 12, storage.data(), VO_DATA_VIEW);
    for (VoSize i = 0; i < 36; ++i)
        source.flatRow(i) = values[i];

    QCOMPARE(source.serialize(nullptr), VoSize(8 + 8 * 36));
    std::vector<char> buf(source.serialize(nullptr));
    QCOMPARE(source.serialize(buf.data()), VoSize(buf.size()));
    Matrix restored;
    QCOMPARE(restored.deserialize(buf.data()), VoSize(buf.size()));
    QVERIFY(sameBits(restored, source));
    QCOMPARE(restored.stride, restored.cols);

    Vector v(VoSize(values.size()), values.data());
    std::vector<char> vbuf(v.serialize(nullptr) + 1);
    // Start at an odd address: the format is unaligned by design.
    QCOMPARE(v.serialize(vbuf.data() + 1), VoSize(4 + 8 * values.size()));
    Vector w;
    QCOMPARE(w.deserialize(vbuf.data() + 1), VoSize(4 + 8 * values.size()));
    QVERIFY(sameBits(w, v));

    Matrix empty;
    char header[8];
    QCOMPARE(empty.serialize(header), VoSize(8));
    Matrix fromEmpty(2, 2);
    QCOMPARE(fromEmpty.deserialize(header), VoSize(8));
    QCOMPARE(fromEmpty.rows, VoSize(0));
}

void TestMatrixIO::binaryLayout()
{
    const double values[6] = {1, 2, 3, 4, 5, 6};
    Matrix m(2, 3, values);
    char buf[8 + 48];
    m.serialize(buf);
    uint32_t counts[2];
    std::memcpy(counts, buf, 8);
    QCOMPARE(counts[0], 2u);
    QCOMPARE(counts[1], 3u);
    QCOMPARE(std::memcmp(buf + 8, values, 48), 0);

    Vector v(3, values);
    char vbuf[4 + 24];
    QCOMPARE(v.serialize(vbuf), VoSize(28));
    uint32_t size;
    std::memcpy(&size, vbuf, 4);
    QCOMPARE(size, 3u);
    QCOMPARE(std::memcmp(vbuf + 4, values, 24), 0);
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
    Matrix source(2, 3, values);
    std::unique_ptr<char[]> buf(new char[size_t(std::max(given, 1))]);
    std::vector<char> full(100, 0);
    source.serialize(full.data());
    std::memcpy(buf.get(), full.data(), size_t(given));

    Matrix target(1, 1);
    target(0, 0) = -1.0;
    const VoSize consumed = target.deserialize(buf.get(), VoSize(given));
    QCOMPARE(consumed, accepted ? VoSize(56) : VoSize(0));
    if (accepted) {
        QVERIFY(sameBits(target, source));
    } else {
        QCOMPARE(target.rows, VoSize(1));
        QCOMPARE(target(0, 0), -1.0);
    }

    Vector vsource(6, values);
    std::vector<char> vfull(100, 0);
    vsource.serialize(vfull.data());
    const int vgiven = std::max(0, given - 4);
    std::unique_ptr<char[]> vbuf(new char[size_t(std::max(vgiven, 1))]);
    std::memcpy(vbuf.get(), vfull.data(), size_t(vgiven));
    Vector vtarget;
    QCOMPARE(vtarget.deserialize(vbuf.get(), VoSize(vgiven)), accepted ? VoSize(52) : VoSize(0));
}

void TestMatrixIO::streamOperators()
{
    const double values[4] = {1.5, -2, 0, 1e-3};
    Matrix m(2, 2, values);
    std::ostringstream out;
    out << m;
    QCOMPARE(QByteArray::fromStdString(out.str()), QByteArray("[2,2]{\n( 1.5 -2 )\n( 0 0.001 )}"));

    std::ostringstream formatted;
    formatted.setf(std::ios::fixed);
    formatted.precision(2);
    formatted << Vector(3, values);
    QCOMPARE(QByteArray::fromStdString(formatted.str()), QByteArray("[3]( 1.50 -2.00 0.00 )"));

    std::ostringstream empty;
    empty << Matrix() << Vector();
    QCOMPARE(QByteArray::fromStdString(empty.str()), QByteArray("[0,0]{}[0]( )"));
}

void TestMatrixIO::matFileLoadsInScipy()
{
    const QString python = pythonWithScipy();
    if (python.isEmpty())
        QSKIP("no Python 3 with scipy found");
    QTemporaryDir dir;
    QVERIFY(dir.isValid());

    const std::vector<double> values = awkwardValues();
    std::vector<double> storage(3 * 8, 0.0);
    Matrix m(3, 5, 8, storage.data(), VO_DATA_VIEW);
    for (VoSize i = 0; i < 15; ++i)
        m.flatRow(i) = values[i];
    const QString matrixFile = dir.filePath("m.mat");
    QVERIFY(m.saveAsMatlab(QFile::encodeName(matrixFile).constData(), "velocity"));
    Vector v(7, values.data() + 3);
    const QString vectorFile = dir.filePath("v.mat");
    QVERIFY(v.saveAsMatlab(QFile::encodeName(vectorFile).constData(), "samples_of_v"));
    QVERIFY(!m.saveAsMatlab(QFile::encodeName(dir.filePath("missing/m.mat")).constData(), "x"));

    QFile header(matrixFile);
    QVERIFY(header.open(QIODevice::ReadOnly));
    QVERIFY(header.read(128).startsWith("voMath/Velo"));

    // Print every loaded variable with its shape and its values in row-major order.
    const char* script = "import sys, scipy.io\n"
                         "for path in sys.argv[1:]:\n"
                         "    d = scipy.io.loadmat(path)\n"
                         "    for k in sorted(x for x in d if not x.startswith('__')):\n"
                         "        a = d[k]\n"
                         "        print(k, a.shape[0], a.shape[1], ' '.join(repr(float(x)) for x in a.flatten(order='C')))\n";
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
            bool ok = false;
            const double x = parts[3 + i].toDouble(&ok);
            if (!ok || std::memcmp(&x, &expected[i], sizeof x) != 0)
                return false;
        }
        return true;
    };
    QVERIFY2(check(lines[0], "velocity", 3, 5, values.data()), lines[0].constData());
    QVERIFY2(check(lines[1], "samples_of_v", 7, 1, values.data() + 3), lines[1].constData());
}

QTEST_APPLESS_MAIN(TestMatrixIO)
#include "tst_matrixio.moc"
