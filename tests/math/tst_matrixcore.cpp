#include "velo_matrix.h"

#include <QtTest>

#include <cmath>
#include <functional>

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

// Hamilton product a * b, scalar first, written out from its definition.
VoQuaternion hamilton(const VoQuaternion& a, const VoQuaternion& b)
{
    const double* p = a.data;
    const double* q = b.data;
    return VoQuaternion{{p[0] * q[0] - p[1] * q[1] - p[2] * q[2] - p[3] * q[3],
                         p[0] * q[1] + q[0] * p[1] + (p[2] * q[3] - p[3] * q[2]),
                         p[0] * q[2] + q[0] * p[2] + (p[3] * q[1] - p[1] * q[3]),
                         p[0] * q[3] + q[0] * p[3] + (p[1] * q[2] - p[2] * q[1])}};
}

} // namespace

using Operation = std::function<void()>;
Q_DECLARE_METATYPE(Operation)

class TestMatrixCore : public QObject
{
    Q_OBJECT

private slots:
    void viewsShareStorageAndCopiesAreDeep();
    void fixedSizeKeepsItsOwnStorage();
    void resizeNotAllowed_data();
    void resizeNotAllowed();
    void resizeRules();
    void lineAndBlockAccess();
    void crossProductWriteOrder();
    void angleAndNormalisation();
    void quaternionAndRotationMatrices();
    void reductions();
    void vectorStatisticsAndPolynomials();
    void display();
};

void TestMatrixCore::viewsShareStorageAndCopiesAreDeep()
{
    double storage[12] = {0, 1, 2, 3, 10, 11, 12, 13, 20, 21, 22, 23};
    Matrix user(3, 3, 4, storage, VO_DATA_VIEW);
    Matrix block(2, 2, user, 1, 1);
    QCOMPARE(block.flags, VO_DATA_VIEW);
    QCOMPARE(block(1, 1), 22.0);
    block(1, 0) = 99.0;
    QCOMPARE(storage[9], 99.0);

    Matrix copy(block);
    QVERIFY(copy.isManaged());
    QCOMPARE(copy.stride, VoSize(2));
    storage[5] = 0.0;
    QCOMPARE(copy, mat(2, 2, {11, 12, 99, 22}));

    // A view of the same shape receives values in place; other matrices get their own storage.
    block = mat(2, 2, {1, 2, 3, 4});
    QCOMPARE(storage[10], 4.0);
    QCOMPARE(storage[7], 13.0);
    Matrix grown = mat(1, 1, {5});
    grown = copy;
    QVERIFY(grown.data != copy.data);
    QCOMPARE(grown, copy);

    Matrix dense = mat(2, 3, {1, 2, 3, 4, 5, 6});
    QCOMPARE(dense.flatRow(4), 5.0);
    QCOMPARE(dense.flatCol(1), 4.0);
    Vector rowView(dense, 3);
    QCOMPARE(rowView.flags, VO_DATA_VIEW);
    QCOMPARE(rowView, vec({4, 5, 6}));
    Vector sub(2, rowView, 1);
    sub[1] = 30;
    QCOMPARE(dense(1, 2), 30.0);

    const VoQuaternion q = {{1, 2, 3, 4}};
    QCOMPARE(Vector(q), vec({1, 2, 3, 4}));
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
    QCOMPARE(box.flags, VO_DATA_FIXED_SIZE);
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
    const struct
    {
        const char* name;
        Operation operation;
        QString message;
    } rows[] = {
        {"MatrixF changeSize", [] { MatrixF<3, 2>().changeSize(2, 2); }, changeSize},
        {"view changeSize", [] { double s[4]; Matrix(2, 2, 2, s, VO_DATA_VIEW).changeSize(3, 3); }, changeSize},
        {"view with a zero dimension", [] { double s[4]; Matrix(0, 2, 2, s, VO_DATA_VIEW).changeSize(3, 3); }, changeSize},
        {"assign other shape", [] { MatrixF<3, 2>() = Matrix(2, 2); }, changeSize},
        {"insertCols", [] { MatrixF<2, 2>().insertCols(0, 0, 1.0); },
         "void velo::Matrix::insertCols(VoSize, VoSize, VoReal)" + matrixText},
        {"insertRows", [] { MatrixF<2, 2>().insertRows(1, 1, 1.0); },
         "void velo::Matrix::insertRows(VoSize, VoSize, VoReal)" + matrixText},
        {"transpose", [] { MatrixF<3, 2>().setTransposeSelf(); }, "void velo::Matrix::setTransposeSelf()" + vectorText},
        {"Vector3 changeSize", [] { Vector3().changeSize(4); }, vectorChangeSize},
        {"Vector3 from a longer vector", [] { Vector3() = Vector(4); }, vectorChangeSize},
        {"insertItems", [] { Vector3().insertItems(0, 1, 0.0); },
         "void velo::Vector::insertItems(VoSize, VoSize, VoReal)" + vectorText},
        {"erase", [] { Vector3().erase(0, 1); }, "void velo::Vector::erase(VoSize, VoSize)" + vectorText},
        {"push_back", [] { Vector3().push_back(1.0); }, "void velo::Vector::push_back(VoReal)" + vectorText},
        {"view pop_back", [] { double s[3]; Vector(3, s, VO_DATA_VIEW).pop_back(); }, "void velo::Vector::pop_back()" + vectorText},
    };
    for (const auto& row : rows)
        QTest::newRow(row.name) << row.operation << row.message;
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
    QVERIFY(out.isEqual(Vector(hamilton(q, p)), 1e-14));
    out.setMatMulVec(right, Vector(p));
    QVERIFY(out.isEqual(Vector(hamilton(p, q)), 1e-14));

    // Rotation of a vector by a unit quaternion: q (0, v) q*.
    const double n = std::sqrt(0.25 + 2.25 + 4.0 + 0.0625);
    const VoQuaternion unit = {{0.5 / n, -1.5 / n, 2.0 / n, 0.25 / n}};
    const VoQuaternion conj = {{unit.data[0], -unit.data[1], -unit.data[2], -unit.data[3]}};
    const Vector3 v(1, -2, 0.5);
    const VoQuaternion rotated = hamilton(hamilton(unit, VoQuaternion{{0, v[0], v[1], v[2]}}), conj);
    const Vector3 expected(rotated.data[1], rotated.data[2], rotated.data[3]);

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
    r.setInvQuat(unit);
    result.setMatMulVec(r, expected);
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

void TestMatrixCore::reductions()
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
}

void TestMatrixCore::vectorStatisticsAndPolynomials()
{
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

QTEST_APPLESS_MAIN(TestMatrixCore)
#include "tst_matrixcore.moc"
