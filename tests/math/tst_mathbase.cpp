#include "allocator.h"
#include "velo_math_base.h"

#include <QTemporaryDir>
#include <QtTest>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>

namespace {

const double Pi = 3.14159265358979323846;
const double Nan = std::numeric_limits<double>::quiet_NaN();
const double Inf = std::numeric_limits<double>::infinity();

bool closeRelative(double actual, double expected, double relative)
{
    return std::fabs(actual - expected) <= relative * std::fabs(expected);
}

// The closed forms, evaluated in long double far from the singular point.
long double sincRef(long double x)
{
    return std::sin(x) / x;
}

} // namespace

class TestMathBase : public QObject
{
    Q_OBJECT

private slots:
    void gammaKnownValues_data();
    void gammaKnownValues();
    void digammaAndTrigamma_data();
    void digammaAndTrigamma();
    void seriesAtSingularPoints_data();
    void seriesAtSingularPoints();
    void seriesMatchesClosedFormAcrossThreshold_data();
    void seriesMatchesClosedFormAcrossThreshold();
    void sincAgainstLongDouble();
    void clampedInverseTrigonometry_data();
    void clampedInverseTrigonometry();
    void asincInvBranches();
    void comparisons();
    void ulpDistance_data();
    void ulpDistance();
    void stringShimReturnCodes_data();
    void stringShimReturnCodes();
    void strncpyAndStrcat();
    void strtokContextRules();
    void fileShims();
    void wideStringShims();
    void tolowerFolding_data();
    void tolowerFolding();
    void finiteTest();
    void allocator();
};

void TestMathBase::gammaKnownValues_data()
{
    QTest::addColumn<double>("x");
    QTest::addColumn<double>("expected");
    QTest::newRow("1") << 1.0 << 1.0;
    QTest::newRow("2") << 2.0 << 1.0;
    QTest::newRow("3") << 3.0 << 2.0;
    QTest::newRow("5") << 5.0 << 24.0;
    QTest::newRow("10") << 10.0 << 362880.0;
    QTest::newRow("0.5") << 0.5 << std::sqrt(Pi);
    QTest::newRow("1.5") << 1.5 << std::sqrt(Pi) / 2.0;
    QTest::newRow("2.5") << 2.5 << 3.0 * std::sqrt(Pi) / 4.0;
    QTest::newRow("4.5") << 4.5 << 105.0 * std::sqrt(Pi) / 16.0;
    // Below 0.5 in magnitude the reflection formula is used.
    QTest::newRow("0.25 reflection") << 0.25 << 3.6256099082219083119;
    QTest::newRow("-0.25 reflection") << -0.25 << -4.90166680986071;
    // At or below -0.5 the Lanczos sum is used directly.
    QTest::newRow("-0.5 direct") << -0.5 << -2.0 * std::sqrt(Pi);
}

void TestMathBase::gammaKnownValues()
{
    QFETCH(double, x);
    QFETCH(double, expected);
    const double actual = velo::gamma(x);
    QVERIFY2(closeRelative(actual, expected, 1e-13),
             qPrintable(QString("gamma(%1) = %2, expected %3").arg(x).arg(actual, 0, 'g', 17).arg(expected, 0, 'g', 17)));
}

void TestMathBase::digammaAndTrigamma_data()
{
    QTest::addColumn<double>("x");
    QTest::addColumn<double>("digamma");
    QTest::addColumn<double>("trigamma");
    const double euler = 0.5772156649015329;
    QTest::newRow("1") << 1.0 << -euler << Pi * Pi / 6.0;
    QTest::newRow("0.5") << 0.5 << -euler - 2.0 * std::log(2.0) << Pi * Pi / 2.0;
    QTest::newRow("2") << 2.0 << 1.0 - euler << Pi * Pi / 6.0 - 1.0;
    QTest::newRow("4") << 4.0 << 1.0 + 0.5 + 1.0 / 3.0 - euler << Pi * Pi / 6.0 - 1.0 - 0.25 - 1.0 / 9.0;
    // No shifting above the thresholds (11 and 9).
    QTest::newRow("20") << 20.0 << 2.970523992242149 << 0.051270822935203124;
}

void TestMathBase::digammaAndTrigamma()
{
    QFETCH(double, x);
    QFETCH(double, digamma);
    QFETCH(double, trigamma);
    QVERIFY2(closeRelative(velo::digamma(x), digamma, 1e-13),
             qPrintable(QString::number(velo::digamma(x), 'g', 17)));
    QVERIFY2(closeRelative(velo::trigamma(x), trigamma, 1e-13),
             qPrintable(QString::number(velo::trigamma(x), 'g', 17)));
}

using ScalarFunction = double (*)(double);
Q_DECLARE_METATYPE(ScalarFunction)

void TestMathBase::seriesAtSingularPoints_data()
{
    QTest::addColumn<ScalarFunction>("f");
    QTest::addColumn<double>("x");
    QTest::addColumn<double>("expected");
    QTest::newRow("sinc(0)") << ScalarFunction(velo::sinc) << 0.0 << 1.0;
    QTest::newRow("asinc(0)") << ScalarFunction(velo::asinc) << 0.0 << 1.0;
    QTest::newRow("acosinc(1)") << ScalarFunction(velo::acosinc) << 1.0 << 1.0;
    QTest::newRow("cosinc(0)") << ScalarFunction(velo::cosinc) << 0.0 << 0.5;
    QTest::newRow("disinc(0)") << ScalarFunction(velo::disinc) << 0.0 << 0.16666666666666666;
    QTest::newRow("sincJacobian(0)") << ScalarFunction(velo::sincJacobian) << 0.0 << 0.0;
    QTest::newRow("cosincJacobian(0)") << ScalarFunction(velo::cosincJacobian) << 0.0 << 0.0;
    QTest::newRow("disincJacobian(0)") << ScalarFunction(velo::disincJacobian) << 0.0 << 0.0;
    QTest::newRow("asincJacobian(0)") << ScalarFunction(velo::asincJacobian) << 0.0 << 0.0;
    QTest::newRow("sincHessian(0)") << ScalarFunction(velo::sincHessian) << 0.0 << -0.3333333333333333;
    QTest::newRow("cosincHessian(0)") << ScalarFunction(velo::cosincHessian) << 0.0 << -0.08333333333333333;
    QTest::newRow("disincHessian(0)") << ScalarFunction(velo::disincHessian) << 0.0 << -0.016666666666666666;
    QTest::newRow("asincHessian(0)") << ScalarFunction(velo::asincHessian) << 0.0 << 0.3333333333333333;
    QTest::newRow("acosincJacobian(1)") << ScalarFunction(velo::acosincJacobian) << 1.0 << -0.3333333333333333;
    QTest::newRow("acosincHessian(1)") << ScalarFunction(velo::acosincHessian) << 1.0 << 0.26666666666666666;
}

void TestMathBase::seriesAtSingularPoints()
{
    QFETCH(ScalarFunction, f);
    QFETCH(double, x);
    QFETCH(double, expected);
    QCOMPARE(f(x), expected);
}

void TestMathBase::seriesMatchesClosedFormAcrossThreshold_data()
{
    QTest::addColumn<ScalarFunction>("f");
    QTest::addColumn<double>("inside");
    QTest::addColumn<double>("outside");
    QTest::addColumn<double>("tolerance");
    // Just inside and just outside each threshold: the series and the closed
    // form must join without a visible step.
    const struct
    {
        const char* name;
        ScalarFunction f;
        double limit;
        double center;
        double tolerance;
    } rows[] = {
        {"sinc", velo::sinc, 0.050190914246321355, 0.0, 1e-15},
        {"sincJacobian", velo::sincJacobian, 0.05904227960167175, 0.0, 1e-13},
        {"sincHessian", velo::sincHessian, 0.04486095539256875, 0.0, 1e-11},
        {"cosinc", velo::cosinc, 0.061376541846515406, 0.0, 1e-13},
        {"cosincJacobian", velo::cosincJacobian, 0.06773385303251855, 0.0, 1e-12},
        {"cosincHessian", velo::cosincHessian, 0.05146510070086663, 0.0, 1e-10},
        {"disinc", velo::disinc, 0.07220038303931696, 0.0, 1e-12},
        {"disincJacobian", velo::disincJacobian, 0.07632716972793631, 0.0, 1e-10},
        {"disincHessian", velo::disincHessian, 0.05799456382805544, 0.0, 1e-8},
        {"asinc", velo::asinc, 0.015679843745529276, 0.0, 1e-15},
        {"asincJacobian", velo::asincJacobian, 0.010649333937042363, 0.0, 1e-12},
        {"asincHessian", velo::asincHessian, 0.00809185095426405, 0.0, 1e-9},
        {"acosinc", velo::acosinc, 2.571349336840866e-4, 1.0, 1e-12},
        {"acosincJacobian", velo::acosincJacobian, 1.591242264943736e-4, 1.0, 1e-8},
        {"acosincHessian", velo::acosincHessian, 1.1665819474381395e-4, 1.0, 1e-5},
    };
    for (const auto& row : rows) {
        const double inside = std::nextafter(row.limit, 0.0);
        const double outside = row.limit;
        if (row.center == 0.0) {
            QTest::newRow(QByteArray(row.name).append(" +").constData())
                << row.f << inside << outside << row.tolerance;
            QTest::newRow(QByteArray(row.name).append(" -").constData())
                << row.f << -inside << -outside << row.tolerance;
        } else {
            // The acos family is defined below 1 only.
            const double in = row.center - std::nextafter(row.limit, 0.0);
            const double out = row.center - row.limit;
            QTest::newRow(row.name) << row.f << in << out << row.tolerance;
        }
    }
}

void TestMathBase::seriesMatchesClosedFormAcrossThreshold()
{
    QFETCH(ScalarFunction, f);
    QFETCH(double, inside);
    QFETCH(double, outside);
    QFETCH(double, tolerance);
    const double a = f(inside);
    const double b = f(outside);
    QVERIFY(std::isfinite(a) && std::isfinite(b));
    QVERIFY2(std::fabs(a - b) <= tolerance * std::max(1.0, std::fabs(a)),
             qPrintable(QString("%1 vs %2").arg(a, 0, 'g', 17).arg(b, 0, 'g', 17)));
}

void TestMathBase::sincAgainstLongDouble()
{
    // 0.05 takes the series, 0.0502 the closed form; both are accurate.
    QVERIFY(closeRelative(velo::sinc(0.05), static_cast<double>(sincRef(0.05L)), 2e-16));
    QVERIFY(closeRelative(velo::sinc(0.0502), static_cast<double>(sincRef(0.0502L)), 2e-16));
    QVERIFY(closeRelative(velo::sinc(1e-3), static_cast<double>(sincRef(1e-3L)), 2e-16));
    QCOMPARE(velo::sinc(2.0), std::sin(2.0) / 2.0);
}

void TestMathBase::clampedInverseTrigonometry_data()
{
    QTest::addColumn<ScalarFunction>("f");
    QTest::addColumn<double>("x");
    QTest::addColumn<double>("expected");
    QTest::newRow("acos NaN") << ScalarFunction(velo::acosClamped) << Nan << 0.0;
    QTest::newRow("acos 2") << ScalarFunction(velo::acosClamped) << 2.0 << 0.0;
    QTest::newRow("acos -2") << ScalarFunction(velo::acosClamped) << -2.0 << Pi;
    QTest::newRow("acos 0.5") << ScalarFunction(velo::acosClamped) << 0.5 << std::acos(0.5);
    QTest::newRow("asin NaN") << ScalarFunction(velo::asinClamped) << Nan << Pi / 2.0;
    QTest::newRow("asin 3") << ScalarFunction(velo::asinClamped) << 3.0 << Pi / 2.0;
    QTest::newRow("asin -3") << ScalarFunction(velo::asinClamped) << -3.0 << -Pi / 2.0;
    QTest::newRow("acosinc 1.5") << ScalarFunction(velo::acosincClamped) << 1.5 << 1.0;
    QTest::newRow("acosinc NaN") << ScalarFunction(velo::acosincClamped) << Nan << 1.0;
    QTest::newRow("acosinc -1") << ScalarFunction(velo::acosincClamped) << -1.0 << Inf;
    QTest::newRow("acosinc 0") << ScalarFunction(velo::acosincClamped) << 0.0 << Pi / 2.0;
    QTest::newRow("asinc 0") << ScalarFunction(velo::asincClamped) << 0.0 << 1.0;
    QTest::newRow("asinc 2") << ScalarFunction(velo::asincClamped) << 2.0 << Pi / 2.0;
    QTest::newRow("asinc -2") << ScalarFunction(velo::asincClamped) << -2.0 << Pi / 2.0;
    QTest::newRow("asinc 0.5") << ScalarFunction(velo::asincClamped) << 0.5 << std::asin(0.5) / 0.5;
}

void TestMathBase::clampedInverseTrigonometry()
{
    QFETCH(ScalarFunction, f);
    QFETCH(double, x);
    QFETCH(double, expected);
    QCOMPARE(f(x), expected);
}

void TestMathBase::asincInvBranches()
{
    QCOMPARE(velo::asincInv(0.0002), 1.0 - 0.0002 * 0.0002 / 6.0);
    QCOMPARE(velo::asincInv(0.5), 0.5 / std::asin(0.5));
    QCOMPARE(velo::asincInv(1.0), 0.6366197723675814);
    QCOMPARE(velo::asincInv(-7.0), 0.6366197723675814);
    QVERIFY(closeRelative(velo::asincInv(0.3) * velo::asinc(0.3), 1.0, 1e-15));
}

void TestMathBase::comparisons()
{
    QVERIFY(velo::fuzzyIsEqual(1.0, 1.0));
    QVERIFY(!velo::fuzzyIsEqual(1.0, std::nextafter(1.0, 2.0)));
    QVERIFY(velo::fuzzyIsEqual(1.0, 1.05, 0.1));
    QVERIFY(!velo::fuzzyIsEqual(1.0, 1.2, 0.1));
    QVERIFY(velo::fuzzyCompareRelative(100.0, 101.0, 0.01));
    QVERIFY(!velo::fuzzyCompareRelative(100.0, 102.0, 0.01));
    QCOMPARE(velo::interpolate(1.0, 3.0, 7.0), 3.0);
    QCOMPARE(velo::interpolate(0.0, 3.0, 7.0), 7.0);
    QCOMPARE(velo::interpolate(0.25, 4.0, 8.0), 7.0);
    QCOMPARE(velo::sq(-3.0), 9.0);
    QVERIFY(closeRelative(velo::xlog2(8.0), 3.0, 1e-15));
}

void TestMathBase::ulpDistance_data()
{
    QTest::addColumn<double>("a");
    QTest::addColumn<double>("b");
    QTest::addColumn<quint64>("expected");
    QTest::newRow("equal") << 1.5 << 1.5 << quint64(0);
    QTest::newRow("signed zeros") << -0.0 << 0.0 << quint64(0);
    QTest::newRow("next up") << 1.0 << std::nextafter(1.0, 2.0) << quint64(1);
    QTest::newRow("next down") << 1.0 << std::nextafter(std::nextafter(1.0, 0.0), 0.0) << quint64(2);
    // Opposite signs are not re-ordered: the patterns are far apart.
    QTest::newRow("opposite signs") << 2.0 << -1.0 << quint64(0x7FF0000000000000ull);
    // A difference of exactly the most negative 64-bit value reads as the largest positive one.
    QTest::newRow("wrapped difference") << 1.0 << -1.0 << quint64(0x7FFFFFFFFFFFFFFFull);
    QTest::newRow("tiny opposite") << 5e-324 << -5e-324 << quint64(0x7FFFFFFFFFFFFFFFull);
}

void TestMathBase::ulpDistance()
{
    QFETCH(double, a);
    QFETCH(double, b);
    QFETCH(quint64, expected);
    QCOMPARE(quint64(velo::ulpDiff(a, b)), expected);
    QCOMPARE(quint64(velo::ulpDiff(b, a)), expected);
    QVERIFY(velo::ulpCompare(a, b, expected));
    if (expected > 0)
        QVERIFY(!velo::ulpCompare(a, b, expected - 1));
}

void TestMathBase::stringShimReturnCodes_data()
{
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("expected");
    QTest::newRow("fits exactly") << QByteArray("abcd") << 5 << 0;
    QTest::newRow("no room for terminator") << QByteArray("abcd") << 4 << ERANGE;
    QTest::newRow("size zero") << QByteArray("") << 0 << ERANGE;
    QTest::newRow("empty") << QByteArray("") << 1 << 0;
}

void TestMathBase::stringShimReturnCodes()
{
    QFETCH(QByteArray, source);
    QFETCH(int, size);
    QFETCH(int, expected);
    char buffer[8];
    std::memset(buffer, 'x', sizeof buffer);
    QCOMPARE(strcpy_s(buffer, size_t(size), source.constData()), expected);
    if (expected == 0)
        QCOMPARE(QByteArray(buffer), source);
    else
        QCOMPARE(QByteArray(buffer, sizeof buffer), QByteArray(sizeof buffer, 'x'));
    QCOMPARE(strcpy_s(nullptr, 8, "a"), EINVAL);
    QCOMPARE(strcpy_s(buffer, 8, nullptr), EINVAL);
}

void TestMathBase::strncpyAndStrcat()
{
    char buffer[8] = "ab";
    QCOMPARE(strcat_s(buffer, sizeof buffer, "cde"), 0);
    QCOMPARE(QByteArray(buffer), QByteArray("abcde"));
    QCOMPARE(strcat_s(buffer, sizeof buffer, "fgh"), ERANGE);
    QCOMPARE(QByteArray(buffer), QByteArray("abcde"));
    QCOMPARE(strcat_s(nullptr, 8, "a"), EINVAL);

    QCOMPARE(strncpy_s(buffer, sizeof buffer, "123456789", 3), 0);
    QCOMPARE(QByteArray(buffer), QByteArray("123"));
    QCOMPARE(strncpy_s(buffer, sizeof buffer, "xy", 100), 0);
    QCOMPARE(QByteArray(buffer), QByteArray("xy"));
    QCOMPARE(strncpy_s(buffer, sizeof buffer, "123456789", 8), ERANGE);
    QCOMPARE(strncpy_s(buffer, 0, "1", 1), ERANGE);
    QCOMPARE(strncpy_s(buffer, sizeof buffer, nullptr, 1), EINVAL);

    char formatted[6];
    QCOMPARE(sprintf_s(formatted, sizeof formatted, "%d", 1234567), 7);
    QCOMPARE(QByteArray(formatted), QByteArray("12345"));
}

void TestMathBase::strtokContextRules()
{
    char text[] = "a,b,,c";
    char* context = nullptr;
    QList<QByteArray> tokens;
    for (char* token = strtok_s(text, ",", &context); token; token = strtok_s(nullptr, ",", &context))
        tokens << token;
    QCOMPARE(tokens, (QList<QByteArray>{"a", "b", "c"}));

    errno = 0;
    char* empty = nullptr;
    QCOMPARE(strtok_s(nullptr, ",", &empty), static_cast<char*>(nullptr));
    QCOMPARE(errno, EINVAL);
    errno = 0;
    QCOMPARE(strtok_s(text, ",", nullptr), static_cast<char*>(nullptr));
    QCOMPARE(errno, EINVAL);
    errno = 0;
    QCOMPARE(strtok_s(text, nullptr, &context), static_cast<char*>(nullptr));
    QCOMPARE(errno, EINVAL);
}

void TestMathBase::fileShims()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QByteArray path = dir.filePath("data.bin").toLocal8Bit();

    FILE* f = reinterpret_cast<FILE*>(0x1);
    QCOMPARE(fopen_s(&f, dir.filePath("missing/x").toLocal8Bit().constData(), "rb"), ENOENT);
    QCOMPARE(f, static_cast<FILE*>(nullptr));
    QCOMPARE(fopen_s(&f, path.constData(), "wb"), 0);
    QVERIFY(f);
    std::fputs("0123456789", f);
    std::fclose(f);

    // The "pointer" is a path name: true when the file holds at least size bytes.
    QCOMPARE(IsBadWritePtr(path.constData(), 10), 1);
    QCOMPARE(IsBadWritePtr(path.constData(), 11), 0);
    QCOMPARE(IsBadWritePtr(path.constData(), 0), 0);
    QCOMPARE(IsBadWritePtr(nullptr, 4), 0);
    QCOMPARE(IsBadWritePtr("/no/such/file/here", 1), 0);

    const std::wstring wide = dir.filePath("data.bin").toStdWString();
    FILE* wf = compat_wfopen(wide.c_str(), L"rb");
    QVERIFY(wf);
    char head[4] = {};
    QCOMPARE(std::fread(head, 1, 3, wf), size_t(3));
    QCOMPARE(QByteArray(head), QByteArray("012"));
    wf = compat_wfreopen(wide.c_str(), L"rb", wf);
    QVERIFY(wf);
    std::fclose(wf);
    QCOMPARE(compat_wfopen(wide.c_str(), L"rbbbbb"), static_cast<FILE*>(nullptr));
    const std::wstring tooLong(5000, L'a');
    QCOMPARE(compat_wfopen(tooLong.c_str(), L"rb"), static_cast<FILE*>(nullptr));

    wchar_t resolved[4096];
    const std::wstring indirect = (dir.path() + "/./data.bin").toStdWString();
    QCOMPARE(compat_wfullpath(resolved, indirect.c_str(), 4096), 0);
    QCOMPARE(QString::fromWCharArray(resolved), QFileInfo(dir.filePath("data.bin")).canonicalFilePath());
    QCOMPARE(compat_wfullpath(resolved, L"/no/such/dir/x", 4096), ENOENT);
}

void TestMathBase::wideStringShims()
{
    wchar_t* copy = compat_wcsdup(L"Hello");
    QVERIFY(copy);
    QCOMPARE(QString::fromWCharArray(copy), QString("Hello"));
    std::free(copy);

    QCOMPARE(compat_wcsnicmp(L"HeLLo", L"hello", 5), 0);
    QVERIFY(compat_wcsnicmp(L"abc", L"abd", 3) < 0);
    QCOMPARE(compat_wcsnicmp(L"abc", L"abd", 2), 0);
    QVERIFY(compat_wcsnicmp(L"b", L"A", 1) > 0);
    QCOMPARE(compat_wcsnicmp(nullptr, L"a", 1), -1);
    QCOMPARE(compat_wcsnicmp(nullptr, nullptr, 1), 0);
    QCOMPARE(compat_wcsnicmp(L"a", nullptr, 1), 1);
    QCOMPARE(compat_wcsnicmp(L"ab", L"ab", 10), 0);
}

void TestMathBase::tolowerFolding_data()
{
    QTest::addColumn<int>("c");
    QTest::addColumn<int>("expected");
    QTest::newRow("A") << int('A') << int('a');
    QTest::newRow("z") << int('z') << int('z');
    QTest::newRow("7") << int('7') << int('7');
    QTest::newRow("200") << 200 << 200;
    QTest::newRow("negative") << -5 << -5;
    QTest::newRow("300") << 300 << 95;
    QTest::newRow("256") << 256 << 95;
}

void TestMathBase::tolowerFolding()
{
    QFETCH(int, c);
    QFETCH(int, expected);
    QCOMPARE(compat_tolower(c), expected);
}

void TestMathBase::finiteTest()
{
    QVERIFY(compat_finite(0.0));
    QVERIFY(compat_finite(std::numeric_limits<double>::max()));
    QVERIFY(compat_finite(-std::numeric_limits<double>::max()));
    QVERIFY(compat_finite(std::numeric_limits<double>::denorm_min()));
    QVERIFY(!compat_finite(Inf));
    QVERIFY(!compat_finite(-Inf));
    QVERIFY(!compat_finite(Nan));
}

void TestMathBase::allocator()
{
    velo::Allocator allocator;
    QVERIFY(allocator.canFree());
    auto* p = static_cast<double*>(allocator.malloc(4 * sizeof(double)));
    p[3] = 2.5;
    p = static_cast<double*>(allocator.realloc(p, 1000 * sizeof(double)));
    QCOMPARE(p[3], 2.5);
    allocator.free(p);

    void* q = velo::veloMathMalloc(16);
    QVERIFY(q);
    std::free(q);

    // Exhaustion surfaces as std::bad_alloc, never as a null pointer.
    const VoSize huge = VoSize(1) << 62;
    QVERIFY_EXCEPTION_THROWN(velo::veloMathMalloc(huge), std::bad_alloc);
    QVERIFY_EXCEPTION_THROWN(allocator.malloc(huge), std::bad_alloc);
    void* small = allocator.malloc(8);
    QVERIFY_EXCEPTION_THROWN(allocator.realloc(small, huge), std::bad_alloc);
    allocator.free(small);
}

QTEST_APPLESS_MAIN(TestMathBase)
#include "tst_mathbase.moc"
