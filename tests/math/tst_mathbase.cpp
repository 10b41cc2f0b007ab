#include "allocator.h"
#include "velo_math_base.h"

#include <QTemporaryDir>
#include <QtTest>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <new>

namespace {

const double Pi = 3.14159265358979323846;
const double Nan = std::numeric_limits<double>::quiet_NaN();
const double Inf = std::numeric_limits<double>::infinity();
const double Euler = 0.5772156649015329;

using ScalarFunction = double (*)(double);
using Shim = std::function<QByteArray()>;

// A shim's return code and what it left in its buffer.
QByteArray outcome(int code, const char* text = "")
{
    return QByteArray::number(code) + ' ' + text;
}

QByteArray strtokOutcome(char* text, const char* delimiters, char** context)
{
    errno = 0;
    const char* token = strtok_s(text, delimiters, context);
    return outcome(errno, token ? token : "null");
}

} // namespace

Q_DECLARE_METATYPE(ScalarFunction)
Q_DECLARE_METATYPE(Shim)

class TestMathBase : public QObject
{
    Q_OBJECT

private slots:
    void knownValues_data();
    void knownValues();
    void seriesMatchesClosedFormAcrossThreshold_data();
    void seriesMatchesClosedFormAcrossThreshold();
    void comparisons();
    void ulpDistance_data();
    void ulpDistance();
    void shimReturnCodes_data();
    void shimReturnCodes();
    void characterShims();
    void fileShims();
    void allocator();
};

void TestMathBase::knownValues_data()
{
    QTest::addColumn<ScalarFunction>("f");
    QTest::addColumn<double>("x");
    QTest::addColumn<double>("expected");
    QTest::addColumn<double>("tolerance");
    // Tolerance 0 means within four ulps.
    const auto row = [](const char* name, ScalarFunction f, double x, double expected, double tolerance = 0) {
        QTest::newRow(name) << f << x << expected << tolerance;
    };
    const double sqrtPi = std::sqrt(Pi);
    // Below 0.5 in magnitude by reflection, at or below -0.5 by the Lanczos sum.
    row("gamma(0.25)", velo::gamma, 0.25, 3.6256099082219083119, 1e-13);
    row("gamma(-0.25)", velo::gamma, -0.25, -4.90166680986071, 1e-13);
    row("gamma(-0.5)", velo::gamma, -0.5, -2.0 * sqrtPi, 1e-13);
    // Integers n and n + 1/2: (n - 1)! and (2n)! sqrt(pi) / (4^n n!).
    for (int n = 1, factorial = 1; n <= 10; factorial *= n++) {
        row(qPrintable(QString("gamma(%1)").arg(n)), velo::gamma, n, factorial, 1e-13);
        const double half = std::tgamma(2.0 * n + 1) * sqrtPi / (std::pow(4.0, n) * std::tgamma(n + 1.0));
        row(qPrintable(QString("gamma(%1.5)").arg(n)), velo::gamma, n + 0.5, half, 1e-13);
    }
    // Shifted up by the recurrence below 11 (digamma) or 9 (trigamma), then the asymptotic series.
    row("digamma(0.5)", velo::digamma, 0.5, -Euler - 2.0 * std::log(2.0), 1e-13);
    row("digamma(20)", velo::digamma, 20.0, 2.970523992242149, 1e-13);
    row("trigamma(0.5)", velo::trigamma, 0.5, Pi * Pi / 2.0, 1e-13);
    row("trigamma(20)", velo::trigamma, 20.0, 0.051270822935203124, 1e-13);
    // The limits at the singular points; the derivatives' series are checked where they meet the closed forms.
    row("sinc(0)", velo::sinc, 0.0, 1.0);
    row("asinc(0)", velo::asinc, 0.0, 1.0);
    row("acosinc(1)", velo::acosinc, 1.0, 1.0);
    row("cosinc(0)", velo::cosinc, 0.0, 0.5);
    row("disinc(0)", velo::disinc, 0.0, 1.0 / 6.0);
    // sinc on both sides of its series threshold, against long double.
    row("sinc(1e-3)", velo::sinc, 1e-3, double(std::sin(1e-3L) / 1e-3L), 2e-16);
    row("sinc(0.05)", velo::sinc, 0.05, double(std::sin(0.05L) / 0.05L), 2e-16);
    row("sinc(0.0502)", velo::sinc, 0.0502, double(std::sin(0.0502L) / 0.0502L), 2e-16);
    // The clamped inverses: out of range and NaN go to the nearest end.
    row("acosClamped(NaN)", velo::acosClamped, Nan, 0.0);
    row("acosClamped(2)", velo::acosClamped, 2.0, 0.0);
    row("acosClamped(-2)", velo::acosClamped, -2.0, Pi);
    row("acosClamped(0.5)", velo::acosClamped, 0.5, std::acos(0.5));
    row("asinClamped(NaN)", velo::asinClamped, Nan, Pi / 2.0);
    row("asinClamped(3)", velo::asinClamped, 3.0, Pi / 2.0);
    row("asinClamped(-3)", velo::asinClamped, -3.0, -Pi / 2.0);
    row("acosincClamped(1.5)", velo::acosincClamped, 1.5, 1.0);
    row("acosincClamped(NaN)", velo::acosincClamped, Nan, 1.0);
    row("acosincClamped(-1)", velo::acosincClamped, -1.0, Inf);
    row("acosincClamped(0)", velo::acosincClamped, 0.0, Pi / 2.0);
    row("asincClamped(0)", velo::asincClamped, 0.0, 1.0);
    row("asincClamped(2)", velo::asincClamped, 2.0, Pi / 2.0);
    row("asincClamped(-2)", velo::asincClamped, -2.0, Pi / 2.0);
    row("asincClamped(0.5)", velo::asincClamped, 0.5, std::asin(0.5) / 0.5);
    row("asincInv(0.0002)", velo::asincInv, 0.0002, 1.0 - 0.0002 * 0.0002 / 6.0);
    row("asincInv(0.5)", velo::asincInv, 0.5, 0.5 / std::asin(0.5));
    row("asincInv(1)", velo::asincInv, 1.0, 2.0 / Pi);
    row("asincInv(-7)", velo::asincInv, -7.0, 2.0 / Pi);
}

void TestMathBase::knownValues()
{
    QFETCH(ScalarFunction, f);
    QFETCH(double, x);
    QFETCH(double, expected);
    QFETCH(double, tolerance);
    const double actual = f(x);
    const double allowed = (tolerance > 0 ? tolerance : 4 * std::numeric_limits<double>::epsilon()) * std::fabs(expected);
    QVERIFY2(actual == expected || std::fabs(actual - expected) <= allowed,
             qPrintable(QString("%1, expected %2").arg(actual, 0, 'g', 17).arg(expected, 0, 'g', 17)));
}

void TestMathBase::seriesMatchesClosedFormAcrossThreshold_data()
{
    QTest::addColumn<ScalarFunction>("f");
    QTest::addColumn<double>("inside");
    QTest::addColumn<double>("outside");
    QTest::addColumn<double>("tolerance");
    // The series and the closed form must join without a visible step, on both sides of 0.
    const auto add = [](const char* name, ScalarFunction f, double limit, double tolerance) {
        const double inside = std::nextafter(limit, 0.0);
        QTest::addRow("%s +", name) << f << inside << limit << tolerance;
        QTest::addRow("%s -", name) << f << -inside << -limit << tolerance;
    };
    add("sinc", velo::sinc, 0.050190914246321355, 1e-15);
    add("sincJacobian", velo::sincJacobian, 0.05904227960167175, 1e-13);
    add("sincHessian", velo::sincHessian, 0.04486095539256875, 1e-11);
    add("cosinc", velo::cosinc, 0.061376541846515406, 1e-13);
    add("cosincJacobian", velo::cosincJacobian, 0.06773385303251855, 1e-12);
    add("cosincHessian", velo::cosincHessian, 0.05146510070086663, 1e-10);
    add("disinc", velo::disinc, 0.07220038303931696, 1e-12);
    add("disincJacobian", velo::disincJacobian, 0.07632716972793631, 1e-10);
    add("disincHessian", velo::disincHessian, 0.05799456382805544, 1e-8);
    add("asinc", velo::asinc, 0.015679843745529276, 1e-15);
    add("asincJacobian", velo::asincJacobian, 0.010649333937042363, 1e-12);
    add("asincHessian", velo::asincHessian, 0.00809185095426405, 1e-9);
    // The acos family is defined below 1 only: its threshold is a distance below 1.
    const auto below1 = [](const char* name, ScalarFunction f, double limit, double tolerance) {
        QTest::newRow(name) << f << 1.0 - std::nextafter(limit, 0.0) << 1.0 - limit << tolerance;
    };
    below1("acosinc", velo::acosinc, 2.571349336840866e-4, 1e-12);
    below1("acosincJacobian", velo::acosincJacobian, 1.591242264943736e-4, 1e-8);
    below1("acosincHessian", velo::acosincHessian, 1.1665819474381395e-4, 1e-5);
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

void TestMathBase::comparisons()
{
    QVERIFY(velo::fuzzyIsEqual(1.0, 1.0));
    QVERIFY(!velo::fuzzyIsEqual(1.0, std::nextafter(1.0, 2.0)));
    QVERIFY(velo::fuzzyIsEqual(1.0, 1.05, 0.1));
    QVERIFY(!velo::fuzzyIsEqual(1.0, 1.2, 0.1));
    QVERIFY(velo::fuzzyCompareRelative(100.0, 101.0, 0.01));
    QVERIFY(!velo::fuzzyCompareRelative(100.0, 102.0, 0.01));
    QCOMPARE(velo::interpolate(0.25, 4.0, 8.0), 7.0);
    QCOMPARE(velo::xlog2(8.0), 3.0);
}

void TestMathBase::ulpDistance_data()
{
    QTest::addColumn<double>("a");
    QTest::addColumn<double>("b");
    QTest::addColumn<quint64>("expected");
    QTest::newRow("equal") << 1.5 << 1.5 << quint64(0);
    QTest::newRow("signed zeros") << -0.0 << 0.0 << quint64(0);
    QTest::newRow("next up") << 1.0 << std::nextafter(1.0, 2.0) << quint64(1);
    QTest::newRow("two down") << 1.0 << std::nextafter(std::nextafter(1.0, 0.0), 0.0) << quint64(2);
    // Opposite signs are not re-ordered; a difference of the most negative
    // 64-bit value reads as the largest positive one.
    QTest::newRow("opposite signs") << 2.0 << -1.0 << quint64(0x7FF0000000000000ull);
    QTest::newRow("wrapped difference") << 1.0 << -1.0 << quint64(0x7FFFFFFFFFFFFFFFull);
}

void TestMathBase::ulpDistance()
{
    QFETCH(double, a);
    QFETCH(double, b);
    QFETCH(quint64, expected);
    QCOMPARE(quint64(velo::ulpDiff(a, b)), expected);
    QCOMPARE(quint64(velo::ulpDiff(b, a)), expected);
    QVERIFY(velo::ulpCompare(a, b, expected));
    QVERIFY(expected == 0 || !velo::ulpCompare(a, b, expected - 1));
}

void TestMathBase::shimReturnCodes_data()
{
    QTest::addColumn<Shim>("shim");
    QTest::addColumn<QByteArray>("expected");
    const auto row = [](const char* name, const Shim& shim, const QByteArray& expected) {
        QTest::newRow(name) << shim << expected;
    };
    row("strcpy_s fits", [] { char b[9] = "xxxxxxxx"; return outcome(strcpy_s(b, 5, "abcd"), b); }, outcome(0, "abcd"));
    row("strcpy_s no room for terminator", [] { char b[9] = "xxxxxxxx"; return outcome(strcpy_s(b, 4, "abcd"), b); },
        outcome(ERANGE, "xxxxxxxx"));
    row("strcpy_s empty", [] { char b[9] = "xxxxxxxx"; return outcome(strcpy_s(b, 1, ""), b); }, outcome(0));
    row("strcpy_s null target", [] { return outcome(strcpy_s(nullptr, 8, "a")); }, outcome(EINVAL));
    row("strcat_s fits", [] { char b[8] = "ab"; return outcome(strcat_s(b, 8, "cde"), b); }, outcome(0, "abcde"));
    row("strcat_s overflow", [] { char b[8] = "abcde"; return outcome(strcat_s(b, 8, "fgh"), b); }, outcome(ERANGE, "abcde"));
    row("strcat_s null", [] { return outcome(strcat_s(nullptr, 8, "a")); }, outcome(EINVAL));
    row("strncpy_s count", [] { char b[8]; return outcome(strncpy_s(b, 8, "123456789", 3), b); }, outcome(0, "123"));
    row("strncpy_s short source", [] { char b[8]; return outcome(strncpy_s(b, 8, "xy", 100), b); }, outcome(0, "xy"));
    row("strncpy_s overflow", [] { char b[8]; return outcome(strncpy_s(b, 8, "123456789", 8)); }, outcome(ERANGE));
    row("strncpy_s null", [] { char b[8]; return outcome(strncpy_s(b, 8, nullptr, 1)); }, outcome(EINVAL));
    row("sprintf_s truncates", [] { char b[6]; return outcome(sprintf_s(b, 6, "%d", 1234567), b); }, outcome(7, "12345"));
    row("strtok_s no text, no context", [] { char* c = nullptr; return strtokOutcome(nullptr, ",", &c); },
        outcome(EINVAL, "null"));
    row("strtok_s null context", [] { char t[] = "a"; return strtokOutcome(t, ",", nullptr); }, outcome(EINVAL, "null"));
    row("wcsnicmp equal ignoring case", [] { return outcome(compat_wcsnicmp(L"HeLLo", L"hello", 5)); }, outcome(0));
    row("wcsnicmp less", [] { return outcome(compat_wcsnicmp(L"abc", L"abd", 3) < 0); }, outcome(1));
    row("wcsnicmp prefix only", [] { return outcome(compat_wcsnicmp(L"abc", L"abd", 2)); }, outcome(0));
    row("wcsnicmp greater folded", [] { return outcome(compat_wcsnicmp(L"b", L"A", 1) > 0); }, outcome(1));
    row("wcsnicmp past the end", [] { return outcome(compat_wcsnicmp(L"ab", L"ab", 10)); }, outcome(0));
    row("wcsnicmp null left", [] { return outcome(compat_wcsnicmp(nullptr, L"a", 1)); }, outcome(-1));
    row("wcsnicmp null both", [] { return outcome(compat_wcsnicmp(nullptr, nullptr, 1)); }, outcome(0));
    row("wcsnicmp null right", [] { return outcome(compat_wcsnicmp(L"a", nullptr, 1)); }, outcome(1));
}

void TestMathBase::shimReturnCodes()
{
    QFETCH(Shim, shim);
    QFETCH(QByteArray, expected);
    QCOMPARE(shim(), expected);
}

void TestMathBase::characterShims()
{
    const int folds[][2] = {{'A', 'a'}, {'z', 'z'}, {'7', '7'}, {200, 200}, {-5, -5}, {256, 95}, {300, 95}};
    for (const auto& fold : folds)
        QCOMPARE(compat_tolower(fold[0]), fold[1]);
    for (const double x : {0.0, std::numeric_limits<double>::max(), -std::numeric_limits<double>::max(), 5e-324})
        QVERIFY(compat_finite(x));
    for (const double x : {Inf, -Inf, Nan})
        QVERIFY(!compat_finite(x));
    char text[] = "a,b,,c";
    char* context = nullptr;
    QList<QByteArray> tokens;
    for (char* token = strtok_s(text, ",", &context); token; token = strtok_s(nullptr, ",", &context))
        tokens << token;
    QCOMPARE(tokens, (QList<QByteArray>{"a", "b", "c"}));
    wchar_t* copy = compat_wcsdup(L"Hello");
    QCOMPARE(QString::fromWCharArray(copy), QString("Hello"));
    std::free(copy);
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
    std::fputs("0123456789", f);
    std::fclose(f);

    // The "pointer" is a path name: true when the file holds at least size bytes.
    QCOMPARE(IsBadWritePtr(path.constData(), 10), 1);
    QCOMPARE(IsBadWritePtr(path.constData(), 11), 0);
    QCOMPARE(IsBadWritePtr(path.constData(), 0), 0);
    QCOMPARE(IsBadWritePtr(nullptr, 4), 0);

    const std::wstring wide = dir.filePath("data.bin").toStdWString();
    FILE* wf = compat_wfopen(wide.c_str(), L"rb");
    QVERIFY(wf && std::fgetc(wf) == '0');
    wf = compat_wfreopen(wide.c_str(), L"rb", wf);
    QVERIFY(wf && std::fgetc(wf) == '0');
    std::fclose(wf);
    QCOMPARE(compat_wfopen(wide.c_str(), L"rbbbbb"), static_cast<FILE*>(nullptr));
    QCOMPARE(compat_wfopen(std::wstring(5000, L'a').c_str(), L"rb"), static_cast<FILE*>(nullptr));

    wchar_t resolved[4096];
    const std::wstring indirect = (dir.path() + "/./data.bin").toStdWString();
    QCOMPARE(compat_wfullpath(resolved, indirect.c_str(), 4096), 0);
    QCOMPARE(QString::fromWCharArray(resolved), QFileInfo(dir.filePath("data.bin")).canonicalFilePath());
    QCOMPARE(compat_wfullpath(resolved, L"/no/such/dir/x", 4096), ENOENT);
}

void TestMathBase::allocator()
{
    velo::Allocator allocator;
    auto* p = static_cast<double*>(allocator.malloc(4 * sizeof(double)));
    p[3] = 2.5;
    p = static_cast<double*>(allocator.realloc(p, 1000 * sizeof(double)));
    QCOMPARE(p[3], 2.5);
    allocator.free(p);

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
