#include "velo_matrix.h"

#include <Eigen/Geometry>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <sstream>

using velo::Matrix;
using velo::MatrixF;
using velo::Vector;
using velo::Vector3;

namespace {

const double Pi = 3.14159265358979323846;

Matrix mat(VoSize rows, VoSize cols, std::initializer_list<double> values)
{
    return Matrix(rows, cols, values.begin());
}

Vector vec(std::initializer_list<double> values)
{
    return Vector(values.size(), values.begin());
}

// Quaternions are stored scalar first.
Eigen::Quaterniond toEigen(const VoQuaternion& q)
{
    return {q.data[0], q.data[1], q.data[2], q.data[3]};
}

Vector toVector(const Eigen::Quaterniond& q)
{
    return vec({q.w(), q.x(), q.y(), q.z()});
}

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
    std::vector<double> values = {0.1 + 0.2, -0.0, 1.0 / 3.0, Pi, std::numeric_limits<double>::max(),
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

using Operation = std::function<void()>;
Q_DECLARE_METATYPE(Operation)

class TestMatrixCore : public QObject
{
    Q_OBJECT

private slots:
    void cTypes();
    void viewsShareStorageAndCopiesAreDeep();
    void fixedSizeKeepsItsOwnStorage();
    void resizeNotAllowed_data();
    void resizeNotAllowed();
    void resizeRules();
    void lineAndBlockAccess();
    void crossProductWriteOrder();
    void angleAndNormalisation();
    void quaternionAndRotationMatrices();
    void reductionsStatisticsAndPolynomials();
    void display();
    void roundTrips_data();
    void roundTrips();
    void textFormat();
    void malformedText_data();
    void malformedText();
    void degenerateShapes_data();
    void degenerateShapes();
    void boundedDeserialize_data();
    void boundedDeserialize();
    void matFileLoadsInScipy();
};

void TestMatrixCore::cTypes()
{
    VoMatrix m;
    const double src[6] = {1, 2, 3, 4, 5, 6};
    QCOMPARE(VoMatrix_construct(&m, 2, 3, 0, src, 3), VO_RESULT_OK);
    QCOMPARE(m.data[1 * 3 + 2], 6.0);
    // A wider stride keeps the values in their rows.
    QCOMPARE(VoMatrix_assign(&m, 3, 2, 5, src, 2), VO_RESULT_OK);
    QCOMPARE(m.data[2 * 5 + 1], 6.0);
    QCOMPARE(m.data[1 * 5 + 0], 3.0);

    // Copies are deep and dense, whatever the source stride.
    VoMatrix copy;
    VoMatrix_zero(&copy);
    QCOMPARE(VoMatrix_copy(&copy, &m), VO_RESULT_OK);
    QVERIFY(copy.data != m.data);
    QCOMPARE(copy.stride, VoSize(2));
    QCOMPARE(copy.data[5], 6.0);
    VoMatrix_swap(&copy, &m);
    QCOMPARE(m.stride, VoSize(2));
    VoMatrix_destruct(&copy);
    VoMatrix_destruct(&m);
    QCOMPARE(m.data, static_cast<VoReal*>(nullptr));
    // Sizes whose byte count overflows are refused, not wrapped.
    QCOMPARE(VoMatrix_construct(&m, VoSize(1) << 40, VoSize(1) << 40, 0, nullptr, 0), VO_RESULT_OUT_OF_MEMORY);
    QCOMPARE(m.data, static_cast<VoReal*>(nullptr));

    // Borrowed storage is never freed: under AddressSanitizer a free of this stack array would abort.
    double storage[6] = {};
    VoMatrix fixed = {storage, 2, 3, 3, VO_DATA_FIXED_SIZE};
    QCOMPARE(VoMatrix_assign(&fixed, 2, 3, 3, src, 3), VO_RESULT_OK);
    QVERIFY(fixed.data == storage && fixed.flags == VO_DATA_FIXED_SIZE);
    QCOMPARE(storage[5], 6.0);
    // Another shape gets storage of its own, which is then managed.
    QCOMPARE(VoMatrix_assign(&fixed, 1, 2, 2, src, 2), VO_RESULT_OK);
    QVERIFY(fixed.data != storage && (fixed.flags & VO_DATA_MANAGED));
    VoMatrix_destruct(&fixed);
    VoMatrix view = {storage, 2, 2, 3, VO_DATA_VIEW};
    VoMatrix_destruct(&view);
    QCOMPARE(view.data, static_cast<VoReal*>(nullptr));
    VoVector vector = {storage, 4, VO_DATA_VIEW};
    VoVector_destruct(&vector);
    QCOMPARE(vector.size, VoSize(0));
    QCOMPARE(storage[5], 6.0);

    VoVector v, w;
    const double xyz[3] = {3, 0, 4};
    QCOMPARE(VoVector_construct(&v, 3, xyz), VO_RESULT_OK);
    VoVector_zero(&w);
    QCOMPARE(VoVector_copy(&w, &v), VO_RESULT_OK);
    QCOMPARE(VoVector_normalize(&w), 5.0);
    QCOMPARE(w.data[2], 0.8);
    QCOMPARE(v.data[2], 4.0);
    double zeros[2] = {0, 0};
    VoVector z = {zeros, 2, VO_DATA_VIEW};
    QCOMPARE(VoVector_normalize(&z), 0.0);
    QCOMPARE(zeros[0], 0.0);
    VoVector_destruct(&v);
    VoVector_destruct(&w);

    VoArray a, b;
    const int values[3] = {7, 8, 9};
    QCOMPARE(VoArray_construct(&a, 3, sizeof(int), values), VO_RESULT_OK);
    VoArray_zero(&b);
    QCOMPARE(VoArray_copy(&b, &a), VO_RESULT_OK);
    QVERIFY(b.data != a.data);
    QCOMPARE(static_cast<int*>(b.data)[2], 9);
    VoArray_destruct(&a);
    VoArray_destruct(&b);

    VoString s, t;
    QCOMPARE(VoString_construct(&s, "hello"), VO_RESULT_OK);
    VoString_zero(&t);
    QCOMPARE(VoString_copy(&t, &s), VO_RESULT_OK);
    QCOMPARE(VoString_assign(&s, nullptr), VO_RESULT_OK);
    QCOMPARE(QByteArray(s.data), QByteArray());
    VoString_swap(&s, &t);
    QCOMPARE(QByteArray(s.data), QByteArray("hello"));
    VoString_destruct(&s);
    VoString_destruct(&t);

    VoVersion version, versionCopy;
    QCOMPARE(VoVersion_construct(&version, 2, 6, 4, 5678, 108182, "built on 2021-02-04"), VO_RESULT_OK);
    VoVersion_zero(&versionCopy);
    QCOMPARE(VoVersion_copy(&versionCopy, &version), VO_RESULT_OK);
    VoVersion_destruct(&version);
    QCOMPARE(QByteArray(versionCopy.text.data), QByteArray("built on 2021-02-04"));
    VoVersion_destruct(&versionCopy);

    QCOMPARE(QByteArray(VoResultValue_toString(VO_RESULT_OUT_OF_RANGE)), QByteArray("out of range"));
    QCOMPARE(QByteArray(VoResultValue_toString(4711)), QByteArray("unknown result"));
}

void TestMatrixCore::viewsShareStorageAndCopiesAreDeep()
{
    double storage[12] = {0, 1, 2, 3, 10, 11, 12, 13, 20, 21, 22, 23};
    Matrix user(3, 3, 4, storage, VO_DATA_VIEW);
    Matrix block(2, 2, user, 1, 1);
    block(1, 0) = 99.0;
    QCOMPARE(storage[9], 99.0);
    Matrix copy(block);
    storage[5] = 0.0;
    QCOMPARE(copy, mat(2, 2, {11, 12, 99, 22}));

    // A view of the same shape receives values in place; other matrices get their own storage.
    block = mat(2, 2, {1, 2, 3, 4});
    QCOMPARE(storage[10], 4.0);
    QCOMPARE(storage[7], 13.0);
    Matrix grown = mat(1, 1, {5});
    grown = copy;
    QCOMPARE(grown, copy);

    Matrix dense = mat(2, 3, {1, 2, 3, 4, 5, 6});
    QCOMPARE(dense.flatRow(4), 5.0);
    QCOMPARE(dense.flatCol(1), 4.0);
    Vector rowView(dense, 3);
    QCOMPARE(rowView, vec({4, 5, 6}));
    Vector sub(2, rowView, 1);
    sub[1] = 30;
    QCOMPARE(dense(1, 2), 30.0);
    const int fixed[3] = {256, -128, 3};
    QCOMPARE(velo::toVector3(fixed, 8), Vector3(1, -0.5, 3.0 / 256.0));

    double other[5] = {5, 6, 7, 8, 9};
    Vector owner(5);
    owner.relocate(other, VO_DATA_VIEW);
    QCOMPARE(owner[4], 9.0);
    owner.relocate(other, VO_DATA_MANAGED);
    QCOMPARE(owner.flags, VO_DATA_VIEW);
}

void TestMatrixCore::fixedSizeKeepsItsOwnStorage()
{
    MatrixF<3, 2> box;
    box(2, 1) = 7.0;
    MatrixF<3, 2> copy(box);
    QVERIFY(copy.data == reinterpret_cast<double*>(reinterpret_cast<char*>(&copy) + sizeof(Matrix)));
    box(2, 1) = 8.0;
    QCOMPARE(copy(2, 1), 7.0);

    double* own = copy.data;
    copy = box;
    QCOMPARE(copy.data, own);
    QCOMPARE(copy(2, 1), 8.0);
    Matrix managed(3, 2);
    managed.setZero();
    copy = managed;
    QCOMPARE(copy.data, own);
    QCOMPARE(copy(2, 1), 0.0);

    Vector3 c;
    own = c.data;
    c = Vector(Vector3(5, 6, 7));
    QCOMPARE(c.data, own);
    QCOMPARE(c, Vector3(5, 6, 7));

    std::vector<Vector3> many(5, Vector3(1, 1, 1));
    many.resize(50, Vector3(2, 2, 2));
    // After the reallocations every element still points into itself.
    for (const Vector3& item : many)
        QCOMPARE(static_cast<const void*>(item.data), static_cast<const void*>(reinterpret_cast<const char*>(&item) + sizeof(Vector)));
    QCOMPARE(many[49][2], 2.0);
    QCOMPARE(many[0][0], 1.0);
}

void TestMatrixCore::resizeNotAllowed_data()
{
    QTest::addColumn<Operation>("operation");
    QTest::addColumn<QString>("message");
    // Matrix messages say "resizing", Vector ones and setTransposeSelf "Resizing".
    const QString matrixText = " resizing of this object is not allowed [256]";
    const QString vectorText = " Resizing of this object is not allowed [256]";
    const QString changeSize = "void velo::Matrix::changeSize(VoSize, VoSize)" + matrixText;
    const QString vectorChangeSize = "void velo::Vector::changeSize(VoSize)" + vectorText;
    const auto row = [](const char* name, const Operation& operation, const QString& message) {
        QTest::newRow(name) << operation << message;
    };
    row("MatrixF changeSize", [] { MatrixF<3, 2>().changeSize(2, 2); }, changeSize);
    row("view changeSize", [] { double s[4]; Matrix(2, 2, 2, s, VO_DATA_VIEW).changeSize(3, 3); }, changeSize);
    row("view with a zero dimension", [] { double s[4]; Matrix(0, 2, 2, s, VO_DATA_VIEW).changeSize(3, 3); }, changeSize);
    row("assign other shape", [] { MatrixF<3, 2>() = Matrix(2, 2); }, changeSize);
    row("insertCols", [] { MatrixF<2, 2>().insertCols(0, 0, 1.0); },
        "void velo::Matrix::insertCols(VoSize, VoSize, VoReal)" + matrixText);
    row("insertRows", [] { MatrixF<2, 2>().insertRows(1, 1, 1.0); },
        "void velo::Matrix::insertRows(VoSize, VoSize, VoReal)" + matrixText);
    row("transpose", [] { MatrixF<3, 2>().setTransposeSelf(); }, "void velo::Matrix::setTransposeSelf()" + vectorText);
    row("Vector3 changeSize", [] { Vector3().changeSize(4); }, vectorChangeSize);
    row("Vector3 from a longer vector", [] { Vector3() = Vector(4); }, vectorChangeSize);
    row("insertItems", [] { Vector3().insertItems(0, 1, 0.0); },
        "void velo::Vector::insertItems(VoSize, VoSize, VoReal)" + vectorText);
    row("erase", [] { Vector3().erase(0, 1); }, "void velo::Vector::erase(VoSize, VoSize)" + vectorText);
    row("push_back", [] { Vector3().push_back(1.0); }, "void velo::Vector::push_back(VoReal)" + vectorText);
    row("view pop_back", [] { double s[3]; Vector(3, s, VO_DATA_VIEW).pop_back(); }, "void velo::Vector::pop_back()" + vectorText);
    // Readers refuse a shape change of fixed or borrowed storage as assignment does.
    row("MatrixF readFromString", [] { MatrixF<3, 2>().readFromString("2,2: 1 2 3 4"); }, changeSize);
    row("view deserialize", [] {
        double s[4];
        char bin[16];
        mat(1, 1, {7}).serialize(bin);
        Matrix(2, 2, 2, s, VO_DATA_VIEW).deserialize(bin, sizeof bin);
    }, changeSize);
    row("Vector3 readFromString", [] { Vector3().readFromString("2: 1 2"); }, vectorChangeSize);
    row("Vector view deserialize", [] {
        double s[3];
        char bin[12];
        vec({7}).serialize(bin);
        Vector(3, s, VO_DATA_VIEW).deserialize(bin, sizeof bin);
    }, vectorChangeSize);
}

void TestMatrixCore::resizeNotAllowed()
{
    QFETCH(Operation, operation);
    QFETCH(QString, message);
    QString caught;
    try {
        operation();
    } catch (const VoException& e) {
        caught = QString::fromLatin1(e.what()) + QString(" [%1]").arg(e.result());
    }
    QCOMPARE(caught, message);
}

void TestMatrixCore::resizeRules()
{
    // changeSize keeps the top left block and zero-fills the rest.
    Matrix m = mat(2, 2, {1, 2, 3, 4});
    m.changeSize(3, 3);
    QCOMPARE(m, mat(3, 3, {1, 2, 0, 3, 4, 0, 0, 0, 0}));
    m.changeSize(1, 3);
    QCOMPARE(m, mat(1, 3, {1, 2, 0}));
    MatrixF<3, 2> box;
    box(2, 1) = 3.0;
    box.changeSize(3, 2);
    QCOMPARE(box(2, 1), 3.0);
    Matrix empty;
    empty.changeSize(2, 5);
    QVERIFY(empty.isManaged());

    m = mat(2, 2, {1, 2, 3, 4});
    m.insertCols(1, 2, 7.0);
    m.insertCols(4, 1, -1.0);
    QCOMPARE(m, mat(2, 5, {1, 7, 7, 2, -1, 3, 7, 7, 4, -1}));
    m = mat(2, 2, {1, 2, 3, 4});
    m.insertRows(0, 1, 5.0);
    m.insertRows(2, 2, 0.5);
    QCOMPARE(m, mat(5, 2, {5, 5, 1, 2, 0.5, 0.5, 0.5, 0.5, 3, 4}));

    // Square transposes stay in place, whatever the storage.
    double s[6] = {1, 2, 0, 3, 4, 0};
    Matrix(2, 2, 3, s, VO_DATA_VIEW).setTransposeSelf();
    QCOMPARE(s[1], 3.0);
    QCOMPARE(s[3], 2.0);
    m = mat(2, 3, {1, 2, 3, 4, 5, 6});
    m.setTransposeSelf();
    QCOMPARE(m, mat(3, 2, {1, 4, 2, 5, 3, 6}));

    Vector v;
    v.changeSize(3);
    QCOMPARE(v, vec({0, 0, 0}));
    v[0] = 1;
    v.push_back(4);
    v.insertItems(1, 2, 9.0);
    QCOMPARE(v, vec({1, 9, 9, 0, 0, 4}));
    v.erase(2, 3);
    v.pop_back();
    v.changeSize(4);
    QCOMPARE(v, vec({1, 9, 0, 0}));
    QCOMPARE(Vector::constructRange(0.0, 0.5, 2.0), vec({0, 0.5, 1, 1.5, 2}));
    QCOMPARE(Vector::constructRange(1.0, 1.0, 3.4).size, VoSize(3));
}

void TestMatrixCore::lineAndBlockAccess()
{
    Matrix m = mat(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    QCOMPARE(m.row(1), vec({4, 5, 6}));
    QCOMPARE(m.col(2), vec({3, 6, 9}));
    m.setCol(0.5, 1);
    m.setRow(vec({-1, -2, -3}), 0);
    m.setRow_rowAddScaMulRow(2, 2.0, 0);
    QCOMPARE(m, mat(3, 3, {-1, -2, -3, 4, 0.5, 6, 5, -3.5, 3}));
    m.swapCols(0, 2, 1, 1);
    m.swapRows(0, 1, 1, 1);
    QCOMPARE(m, mat(3, 3, {-1, 0.5, 4, 6, -2, -3, 3, -3.5, 5}));

    Matrix big(4, 5);
    big.setSub_scalar(1.0, 0, 0, 4, 5);
    big.setSub_identity(3.0, 1, 1, 3, 2);
    big.setSub_mat(m, 0, 3, 2, 2, 1, 1);
    big.setSub_scaMulMat(-2.0, m, 2, 0, 1, 3);
    big.setSub_zero(3, 0, 1, 5);
    QCOMPARE(big, mat(4, 5, {1, 1, 1, -2, -3, 1, 3, 0, -3.5, 5, 2, -1, -8, 1, 1, 0, 0, 0, 0, 0}));

    Vector flat(9);
    flat.setFlatCol(m);
    QCOMPARE(flat[1], 6.0);
    flat.setFlatRow(m);
    QCOMPARE(flat[3], 6.0);
}

void TestMatrixCore::crossProductWriteOrder()
{
    const Vector3 a(1, 2, 3), b(4, 5, 6), expected(-3, 6, -3);
    Vector3 c;
    c.setVecCrossVec(a, b);
    QCOMPARE(c, expected);

    // Element 2 is written first and read again for the later elements, so an
    // aliased call uses the new value; the in-place forms avoid that.
    Vector3 alias(a);
    alias.setVecCrossVec(alias, b);
    const double z = 1 * 5 - 2 * 4;
    const double y = z * 4 - 1 * 6;
    QCOMPARE(alias, Vector3(y * 6 - z * 5, y, z));

    Vector3 self(a);
    self.setSelfCrossVec(b);
    QCOMPARE(self, expected);
    Vector3 other(b);
    other.setVecCrossSelf(a);
    QCOMPARE(other, expected);

    Matrix r(3, 3);
    r.setMcrossVec(a);
    c.setMatMulVec(r, b);
    QCOMPARE(c, expected);
    r.setMcrossNegVec(a);
    c.setMatMulVec(r, b);
    QCOMPARE(c, Vector3(3, -6, 3));
}

void TestMatrixCore::angleAndNormalisation()
{
    const Vector3 x(1, 0, 0), y(0, 1, 0), zero(0, 0, 0);
    QCOMPARE(x.angleWith(y), Pi / 2.0);
    QCOMPARE(x.angleWith(zero), 0.0);
    QVERIFY(std::fabs(x.angleWith(Vector3(1, 1, 0)) - Pi / 4.0) < 1e-15);
    QCOMPARE(x.angleWith(Vector3(-2, 0, 0)), Pi);

    Vector3 tiny(1e-17, 0, 0);
    QCOMPARE(tiny.setNormalizeSelf(), 0.0);
    QCOMPARE(tiny, zero);
    Vector3 v(3, 0, 4);
    QCOMPARE(v.setNormalizeSelf(), 5.0);
    QVERIFY(v.isEqual(Vector3(0.6, 0, 0.8), uint64_t(1)));
    Vector3 n;
    QCOMPARE(n.setNormalizeVecL2(Vector3(0, 0, 1e-20)), 1e-20);
    QCOMPARE(n, Vector3(0, 0, 1));
}

void TestMatrixCore::quaternionAndRotationMatrices()
{
    const VoQuaternion q = {{0.5, -1.5, 2.0, 0.25}};
    const VoQuaternion p = {{-0.75, 0.5, 1.25, -2.0}};
    Matrix left(4, 4), right(4, 4);
    left.setLeftQuat(q);
    right.setRightQuat(q);
    Vector out(4);
    out.setMatMulVec(left, Vector(p));
    QVERIFY(out.isEqual(toVector(toEigen(q) * toEigen(p)), 1e-14));
    out.setMatMulVec(right, Vector(p));
    QVERIFY(out.isEqual(toVector(toEigen(p) * toEigen(q)), 1e-14));

    const Eigen::Quaterniond e = toEigen(q).normalized();
    const VoQuaternion unit = {{e.w(), e.x(), e.y(), e.z()}};
    const Vector3 v(1, -2, 0.5);
    const Eigen::Vector3d rotated = e * Eigen::Vector3d(v[0], v[1], v[2]);
    const Vector3 expected(rotated.x(), rotated.y(), rotated.z());
    Matrix r(3, 3);
    r.setQuat(unit);
    Vector3 result;
    result.setMatMulVec(r, v);
    QVERIFY(result.isEqual(expected, 1e-14));
    result.setRotateVecByQuat(v, unit);
    QVERIFY(result.isEqual(expected, 1e-14));
    result.setRotateVecByQuatAddVec(v, unit, Vector3(1, 1, 1));
    QVERIFY(result.isEqual(Vector3(expected[0] + 1, expected[1] + 1, expected[2] + 1), 1e-14));
    result.setRotateVecByInvQuat(expected, unit);
    QVERIFY(result.isEqual(v, 1e-14));

    // The normalisation Jacobian against central differences.
    Matrix jacobian(4, 4);
    jacobian.setQuatNormalizeJacobian(q);
    const double h = 1e-6;
    for (int k = 0; k < 4; ++k) {
        Vector a(q), b(q);
        a[k] += h;
        b[k] -= h;
        a.setNormalizeSelf();
        b.setNormalizeSelf();
        for (int i = 0; i < 4; ++i)
            QVERIFY(std::fabs((a[i] - b[i]) / (2 * h) - jacobian(i, k)) < 1e-8);
    }

    // Quarter turns about z, then x, then y carry x to y to z to x.
    r.setRotateZ(Pi / 2.0);
    result.setMatMulVec(r, Vector3(1, 0, 0));
    r.setRotateX(Pi / 2.0);
    result.setMatMulVec(r, Vector3(result));
    r.setRotateY(Pi / 2.0);
    result.setMatMulVec(r, Vector3(result));
    QVERIFY(result.isEqual(Vector3(1, 0, 0), 1e-15));
}

void TestMatrixCore::reductionsStatisticsAndPolynomials()
{
    Matrix m = mat(3, 3, {2, -7, 1, 0, 4, 0, 3, 5, 1});
    VoSize r, c;
    QCOMPARE(m.maxAbsVal(r, c), 7.0);
    QCOMPARE(r * 3 + c, VoSize(1));
    QCOMPARE(m.maxAbsVal(r, c, 1, 0, 2, 3), 5.0);
    QCOMPARE(r * 3 + c, VoSize(7));
    QCOMPARE(m.avgVal(1, 1, 2, 2), 2.5);
    QCOMPARE(m.countNonZeros(), VoSize(7));
    QCOMPARE(m.det(), -4.0);
    QCOMPARE(m.det3x3(), -4.0);
    QCOMPARE(mat(2, 2, {3, 1, 4, 2}).det(), 2.0);
    Matrix five(5, 5);
    five.setIdentity(2.0);
    five(4, 0) = 7.0;
    five.swapRows(0, 3);
    QCOMPARE(five.det(), -32.0);

    QVERIFY(m.isValid(7.0) && !m.isValid(6.9));
    m(1, 1) = std::nan("");
    QVERIFY(!m.isValid());

    const Matrix a = mat(1, 2, {1.0, 2.0});
    const Matrix b = mat(1, 2, {1.0, std::nextafter(2.0, 3.0)});
    QVERIFY(a != b && a.isEqual(b, uint64_t(1)) && !a.isEqual(b, uint64_t(0)));
    QVERIFY(a != mat(2, 1, {1.0, 2.0}));
    Matrix masked(3, 3);
    masked.setIdentity(4.0, 5u);
    QCOMPARE(masked, mat(3, 3, {4, 0, 0, 0, 0, 0, 0, 0, 4}));

    const Vector v = vec({4, -8, 0, 2, 6, 0});
    VoSize index;
    QCOMPARE(v.maxAbsVal(index), 8.0);
    QCOMPARE(index, VoSize(1));
    QCOMPARE(v.minAbsDiff(2.5, index), 0.5);
    QCOMPARE(index, VoSize(3));
    QCOMPARE(v.sumAbsVal(), 20.0);
    QCOMPARE(v.nonZeroValues(), vec({4, -8, 2, 6}));
    QCOMPARE(v.unweightedAvgVal(), -1.0);
    QCOMPARE(v.median(), 1.0);
    QCOMPARE(vec({5, 1, 3}).median(), 3.0);
    QCOMPARE(vec({2, 4, 4, 4}).variance(), 1.0);
    QCOMPARE(vec({12, -18, 30}).greatestCommonDenominator(), 6.0);
    QVERIFY(Vector3(3, 4, 0).cartesianLengthLargerOrEqual(5.0) && !Vector3(3, 4, 0).cartesianLengthLargerThan(5.0));
    const Vector::Line line = vec({1, 3, 5, 7}).leastSquaresRegressionLine();
    QCOMPARE(Vector::lineValue(line, 10.0), 21.0);

    const Vector p = vec({2, 0, 1});
    Vector permuted(3), inverse(3), restored(3);
    permuted.setPermutation(Vector3(10, 20, 30), p);
    QCOMPARE(permuted, Vector3(30, 10, 20));
    inverse.setInversePermutation(p);
    restored.setPermutation(permuted, inverse);
    QCOMPARE(restored, Vector3(10, 20, 30));

    // (x - 1)(x + 2)(x - 3) = x^3 - 2x^2 - 5x + 6
    const Vector poly = vec({1, -2, -5, 6});
    QCOMPARE(poly.polyVal(2.0), -4.0);
    Vector grad(3);
    grad.setPolyGrad(poly);
    QCOMPARE(grad, Vector3(3, -4, -5));
    QVERIFY(std::fabs(poly.polyRootFalsePosition(2.0, 4.0) - 3.0) < 1e-12);
    Vector roots;
    QCOMPARE(poly.polyRoot(roots, -10.0, 10.0), VoSize(3));
    QVERIFY(roots.isEqual(Vector3(-2, 1, 3), 1e-12));
    QCOMPARE(poly.polyRoot(roots, 0.0, 2.0), VoSize(1));

    // DFT of one cosine cycle over 8 samples: bin 1 (elements 2, 3) holds 4 + 0i.
    Vector signal(8), spectrum(6);
    for (int i = 0; i < 8; ++i)
        signal[i] = std::cos(2.0 * Pi * i / 8.0);
    spectrum.setRealDFT(signal, 8);
    QVERIFY(spectrum.isEqual(vec({0, spectrum[1], 4, 0, 0, spectrum[5]}), 1e-14));
}

void TestMatrixCore::display()
{
    char buf[1024];
    int n = mat(1, 2, {1.5, -2.0}).display(buf);
    QCOMPARE(QByteArray(buf, n), QByteArray("Matrix 1,2:\n0 [      1.5       -2 ]\n"));
    n = mat(3, 2, {1, 2, 3, 4, 5, 6}).display(buf);
    QCOMPARE(QByteArray(buf, n), QByteArray("Matrix 3,2:\n0 \xDA        1        2 \xBF\n1 \xB3        3        4 \xB3\n"
                                            "2 \xC0        5        6 \xD9\n"));

    // Row numbers take the width of the largest one.
    Matrix many(101, 1);
    many.setZero();
    std::vector<char> big(101 * 32 + 64);
    n = many.display(big.data());
    QVERIFY(QByteArray(big.data(), n).contains("\n000 \xDA"));
    QVERIFY(QByteArray(big.data(), n).contains("\n100 \xC0"));

    n = Vector3(1, 0.25, 1e-10).display(buf);
    QCOMPARE(QByteArray(buf, n), QByteArray("Vector 3: [ 1 0.25 1e-10 ]\n"));
}

void TestMatrixCore::roundTrips_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("cols");
    QTest::newRow("6x6") << 6 << 6;
    QTest::newRow("1x36") << 1 << 36;
    QTest::newRow("36x1") << 36 << 1;
    QTest::newRow("empty") << 0 << 0;
}

void TestMatrixCore::roundTrips()
{
    QFETCH(int, rows);
    QFETCH(int, cols);
    std::vector<double> storage(size_t(rows * (cols + 2)), 42.0);
    Matrix source(VoSize(rows), VoSize(cols), VoSize(cols + 2), storage.data(), VO_DATA_VIEW);
    fillAwkward(source);
    const std::vector<double> values = awkwardValues();
    const Vector v(VoSize(rows * cols), values.data());

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
    std::string vtext;
    const VoSize vlength = v.writeToString(vtext);
    Vector w;
    QCOMPARE(w.readFromString(vtext), vlength - 1);
    QVERIFY(sameBits(w, v));

    // Binary: two 32-bit counts (one for a vector), then the elements row by row. The
    // buffers start at an odd address: the format is unaligned by design.
    std::vector<char> bin(source.serialize(nullptr) + 1);
    QCOMPARE(source.serialize(bin.data() + 1), VoSize(8 + 8 * rows * cols));
    const uint32_t counts[2] = {uint32_t(rows), uint32_t(cols)};
    QCOMPARE(std::memcmp(bin.data() + 1, counts, 8), 0);
    QVERIFY(rows < 2 || std::memcmp(bin.data() + 9 + 8 * cols, &source(1, 0), 8 * size_t(cols)) == 0);
    restored = Matrix(2, 2);
    QCOMPARE(restored.deserialize(bin.data() + 1), VoSize(8 + 8 * rows * cols));
    QVERIFY(sameBits(restored, source));
    std::vector<char> vbin(v.serialize(nullptr) + 1);
    QCOMPARE(v.serialize(vbin.data() + 1), VoSize(4 + 8 * rows * cols));
    const uint32_t size = uint32_t(rows * cols);
    QCOMPARE(std::memcmp(vbin.data() + 1, &size, 4), 0);
    w = Vector(3);
    QCOMPARE(w.deserialize(vbin.data() + 1), VoSize(4 + 8 * rows * cols));
    QVERIFY(sameBits(w, v));
}

void TestMatrixCore::textFormat()
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
    // Streams use their own number format.
    std::ostringstream out;
    out << Matrix(2, 2, values) << Matrix() << Vector();
    QCOMPARE(QByteArray::fromStdString(out.str()), QByteArray("[2,2]{\n( 1.5 -2 )\n( 0.25 1e+20 )}[0,0]{}[0]( )"));
    std::ostringstream formatted;
    formatted.setf(std::ios::fixed);
    formatted.precision(2);
    formatted << Vector(3, values);
    QCOMPARE(QByteArray::fromStdString(formatted.str()), QByteArray("[3]( 1.50 -2.00 0.25 )"));

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

    // Counts are written as what they are, even where the reader would not take them back.
    Matrix wide;
    VoMatrix_assign(&wide, 0x80000000u, 0, 0, nullptr, 0);
    QCOMPARE(wide.writeToString(static_cast<char*>(nullptr)), VoSize(14));
    text.clear();
    wide.writeToString(text);
    QCOMPARE(QByteArray::fromStdString(text), QByteArray("2147483648,0: "));
}

void TestMatrixCore::malformedText_data()
{
    QTest::addColumn<bool>("vector");
    QTest::addColumn<QByteArray>("text");
    // Text cut short is in textFormat, which also checks what it leaves behind.
    const char* matrixTexts[] = {"", "1 2 3", "2,", "2,2", "2;2: 1 2 3 4", "2 ,2: 1 2 3 4", "-1,2: 1 2", "2,2: 1 2 abc 4",
                                 "1,2: 1 -", "2000000000,2000000000: 1 2", "99999999999999999999,1: 1"};
    for (const char* text : matrixTexts)
        QTest::newRow(qPrintable(QString("matrix \"%1\"").arg(text))) << false << QByteArray(text);
    for (const char* text : {"", "3 1 2 3", "2: 1 x", "2000000000: 1"})
        QTest::newRow(qPrintable(QString("vector \"%1\"").arg(text))) << true << QByteArray(text);
}

void TestMatrixCore::malformedText()
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

void TestMatrixCore::degenerateShapes_data()
{
    QTest::addColumn<bool>("binary");
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QByteArray>("written"); // empty: the reader refuses the input
    QTest::newRow("text 20x0") << false << QByteArray("20,0: ") << QByteArray("20,0: ");
    QTest::newRow("text INT_MAX x 0") << false << QByteArray("2147483647,0: ") << QByteArray("2147483647,0: ");
    QTest::newRow("text 0 x INT_MAX") << false << QByteArray("0,2147483647: ") << QByteArray("0,2147483647: ");
    QTest::newRow("binary 5x0") << true << QByteArray("\5\0\0\0\0\0\0\0", 8) << QByteArray("5,0: ");
    QTest::newRow("binary 2^31 x 0") << true << QByteArray("\0\0\0\x80\0\0\0\0", 8) << QByteArray();
    QTest::newRow("binary 0 x 2^31") << true << QByteArray("\0\0\0\0\0\0\0\x80", 8) << QByteArray();
}

// Shapes without values: whatever a reader accepts writes back and reads again, in both formats.
void TestMatrixCore::degenerateShapes()
{
    QFETCH(bool, binary);
    QFETCH(QByteArray, input);
    QFETCH(QByteArray, written);
    Matrix m = mat(1, 1, {-1});
    const VoSize used = binary ? m.deserialize(input.constData(), VoSize(input.size())) : m.readFromString(input.constData());
    if (written.isEmpty()) {
        QCOMPARE(used, VoSize(0));
        QVERIFY(m.rows == 1 && m.cols == 1 && m(0, 0) == -1.0);
        return;
    }
    QVERIFY(used > 0);
    std::string text;
    m.writeToString(text);
    QCOMPARE(QByteArray::fromStdString(text), written);
    char bin[8];
    QCOMPARE(m.serialize(bin), VoSize(8));
    Matrix fromText, fromBinary;
    QVERIFY(fromText.readFromString(text) > 0);
    QCOMPARE(fromBinary.deserialize(bin, sizeof bin), VoSize(8));
    QVERIFY(fromText.rows == m.rows && fromText.cols == m.cols);
    QVERIFY(fromBinary.rows == m.rows && fromBinary.cols == m.cols);
}

void TestMatrixCore::boundedDeserialize_data()
{
    QTest::addColumn<int>("given");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("half header") << 4 << false;
    QTest::newRow("header only") << 8 << false;
    QTest::newRow("one byte short") << 8 + 6 * 8 - 1 << false;
    QTest::newRow("exact") << 8 + 6 * 8 << true;
    QTest::newRow("more than needed") << 100 << true;
}

void TestMatrixCore::boundedDeserialize()
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

void TestMatrixCore::matFileLoadsInScipy()
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

    // Every loaded variable with its shape and the bytes of its values in row-major order.
    const char* script = "import sys, scipy.io\n"
                         "for path in sys.argv[1:]:\n"
                         "    for k, a in sorted(scipy.io.loadmat(path).items()):\n"
                         "        if not k.startswith('__'):\n"
                         "            print(k, a.shape[0], a.shape[1], a.astype(float).tobytes().hex())\n";
    QProcess p;
    p.start(python, {"-c", script, matrixFile, vectorFile});
    QVERIFY(p.waitForFinished(120000));
    QVERIFY2(p.exitCode() == 0, p.readAllStandardError().constData());
    const auto line = [&values](const char* name, int rows, int cols, int first) {
        return QByteArray(name) + ' ' + QByteArray::number(rows) + ' ' + QByteArray::number(cols) + ' '
             + QByteArray(reinterpret_cast<const char*>(&values[size_t(first)]), rows * cols * 8).toHex() + '\n';
    };
    QCOMPARE(p.readAllStandardOutput(), line("velocity", 3, 5, 0) + line("samples_of_v", 7, 1, 3));
}

QTEST_APPLESS_MAIN(TestMatrixCore)
#include "tst_matrixcore.moc"
