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

Matrix fromRows(VoSize rows, VoSize cols, std::initializer_list<double> values)
{
    return Matrix(rows, cols, values.begin());
}

QString exceptionText(const std::function<void()>& f)
{
    try {
        f();
    } catch (const VoException& e) {
        return QString::fromLatin1(e.what()) + QString(" [%1]").arg(e.result());
    }
    return QString();
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
    void constructorsAndViews();
    void fixedSizeCopiesOwnStorage();
    void valueAssignment();
    void resizeNotAllowed_data();
    void resizeNotAllowed();
    void changeSizeKeepsTopLeftBlock();
    void insertColsAndRows();
    void transposeSelf();
    void vectorResizing();
    void vectorViewsAndRelocate();
    void lineAndBlockAccess();
    void crossProductWriteOrder();
    void angleAndNormalisation();
    void quaternionMatrices();
    void rotationsAndCrossMatrix();
    void reductions();
    void vectorReductions();
    void polynomials();
    void display();
};

void TestMatrixCore::constructorsAndViews()
{
    Matrix empty;
    QCOMPARE(empty.data, static_cast<VoReal*>(nullptr));
    QCOMPARE(empty.rows + empty.cols + empty.stride + empty.flags, VoSize(0));

    Matrix zeroRows(0, 5);
    QCOMPARE(zeroRows.data, static_cast<VoReal*>(nullptr));

    Matrix owned(2, 3);
    QVERIFY(owned.isManaged());
    QCOMPARE(owned.stride, VoSize(3));

    double storage[12] = {0, 1, 2, 3, 10, 11, 12, 13, 20, 21, 22, 23};
    Matrix user(3, 3, 4, storage, VO_DATA_VIEW);
    QCOMPARE(user(2, 1), 21.0);
    user(1, 2) = -5.0;
    QCOMPARE(storage[6], -5.0);

    // Block view: shares storage and stride, flags 0.
    Matrix block(2, 2, user, 1, 1);
    QCOMPARE(block.flags, VO_DATA_VIEW);
    QCOMPARE(block.stride, VoSize(4));
    QCOMPARE(block(0, 0), 11.0);
    QCOMPARE(block(1, 1), 22.0);
    block(1, 0) = 99.0;
    QCOMPARE(storage[9], 99.0);

    // The copy constructor copies deeply and densely.
    Matrix copy(block);
    QVERIFY(copy.isManaged());
    QCOMPARE(copy.stride, VoSize(2));
    storage[5] = 0.0;
    QCOMPARE(copy(0, 0), 11.0);

    Matrix moved(std::move(copy));
    QCOMPARE(moved(1, 0), 99.0);

    const double flat[6] = {1, 2, 3, 4, 5, 6};
    Matrix dense(2, 3, flat);
    QCOMPARE(dense.flatRow(4), 5.0);
    QCOMPARE(dense.flatCol(1), 4.0);
    QCOMPARE(dense.flatCol(4), 3.0);

    // Row view through a flat index.
    Vector rowView(dense, 3);
    QCOMPARE(rowView.size, VoSize(3));
    QCOMPARE(rowView.flags, VO_DATA_VIEW);
    QCOMPARE(rowView[2], 6.0);

    const VoQuaternion q = {{1, 2, 3, 4}};
    Vector fromQ(q);
    QVERIFY(fromQ.isManaged());
    QCOMPARE(fromQ[0], 1.0);
    QCOMPARE(fromQ[3], 4.0);

    const int fixed[3] = {256, -128, 3};
    const Vector3 v = velo::toVector3(fixed, 8);
    QCOMPARE(v[0], 1.0);
    QCOMPARE(v[1], -0.5);
    QCOMPARE(v[2], 3.0 / 256.0);
}

void TestMatrixCore::fixedSizeCopiesOwnStorage()
{
    MatrixF<3, 2> box;
    QCOMPARE(box.flags, VO_DATA_FIXED_SIZE);
    QCOMPARE(box.stride, VoSize(2));
    box(0, 0) = -1.0;
    box(2, 1) = 7.0;

    MatrixF<3, 2> copy(box);
    QVERIFY(copy.data != box.data);
    QVERIFY(copy.data == reinterpret_cast<double*>(reinterpret_cast<char*>(&copy) + sizeof(Matrix)));
    QCOMPARE(copy(2, 1), 7.0);
    box(2, 1) = 8.0;
    QCOMPARE(copy(2, 1), 7.0);

    MatrixF<3, 2> assigned;
    double* own = assigned.data;
    assigned = box;
    QCOMPARE(assigned.data, own);
    QCOMPARE(assigned(2, 1), 8.0);

    // From a managed matrix of the same shape: values only.
    Matrix extents(3, 2);
    extents.setZero();
    extents(1, 1) = 4.0;
    assigned = extents;
    QCOMPARE(assigned.data, own);
    QCOMPARE(assigned(1, 1), 4.0);
    QCOMPARE(assigned(2, 1), 0.0);

    const Matrix& extentsRef = extents;
    MatrixF<3, 2> converted = extentsRef;
    QVERIFY(converted.data != extents.data);
    QCOMPARE(converted(1, 1), 4.0);

    Vector3 a(1, 2, 3);
    Vector3 b(a);
    QVERIFY(b.data != a.data);
    a[0] = 5;
    QCOMPARE(b[0], 1.0);
    Vector3 c;
    double* cOwn = c.data;
    c = a;
    QCOMPARE(c.data, cOwn);
    QCOMPARE(c[0], 5.0);
    QCOMPARE(c.flags, VO_DATA_FIXED_SIZE);
    const Vector plain(a);
    Vector3 fromPlain = plain;
    QCOMPARE(fromPlain[0], 5.0);
    QVERIFY(fromPlain.data != plain.data);

    std::vector<Vector3> many(5, Vector3(1, 1, 1));
    many.resize(50, Vector3(2, 2, 2));
    // After the reallocations every element still points into itself.
    for (const Vector3& item : many)
        QCOMPARE(static_cast<const void*>(item.data),
                 static_cast<const void*>(reinterpret_cast<const char*>(&item) + sizeof(Vector)));
    QCOMPARE(many[49][2], 2.0);
    QCOMPARE(many[0][0], 1.0);
}

void TestMatrixCore::valueAssignment()
{
    Matrix a = fromRows(2, 2, {1, 2, 3, 4});
    Matrix b;
    b = a;
    QVERIFY(b.data != a.data);
    QCOMPARE(b(1, 0), 3.0);

    // A view of the same shape receives the values in place.
    double storage[6] = {};
    Matrix view(2, 2, 3, storage, VO_DATA_VIEW);
    view = a;
    QCOMPARE(storage[3], 3.0);
    QCOMPARE(storage[2], 0.0);

    Matrix grown = fromRows(1, 1, {5});
    grown = fromRows(2, 3, {1, 2, 3, 4, 5, 6});
    QCOMPARE(grown.rows, VoSize(2));
    QCOMPARE(grown(1, 2), 6.0);

    Vector v(3);
    const double values[3] = {1, 2, 3};
    v = values;
    QCOMPARE(v[2], 3.0);
    Vector w;
    w = v;
    QCOMPARE(w[1], 2.0);
    const VoQuaternion q = {{9, 8, 7, 6}};
    Vector four(4);
    four = q;
    QCOMPARE(four[3], 6.0);
}

void TestMatrixCore::resizeNotAllowed_data()
{
    QTest::addColumn<Operation>("operation");
    QTest::addColumn<QString>("message");
    const QString matrixText = " resizing of this object is not allowed [256]";
    const QString vectorText = " Resizing of this object is not allowed [256]";
    QTest::newRow("MatrixF changeSize")
        << Operation([] {
               MatrixF<3, 2> box;
               box.changeSize(2, 2);
           })
        << "void velo::Matrix::changeSize(VoSize, VoSize)" + matrixText;
    QTest::newRow("view changeSize") << Operation([] {
        double s[4];
        Matrix view(2, 2, 2, s, VO_DATA_VIEW);
        view.changeSize(3, 3);
    }) << "void velo::Matrix::changeSize(VoSize, VoSize)" + matrixText;
    QTest::newRow("view with a zero dimension") << Operation([] {
        double s[4];
        Matrix view(0, 2, 2, s, VO_DATA_VIEW);
        view.changeSize(3, 3);
    }) << "void velo::Matrix::changeSize(VoSize, VoSize)" + matrixText;
    QTest::newRow("insertCols") << Operation([] {
        MatrixF<2, 2> m;
        m.insertCols(0, 0, 1.0);
    }) << "void velo::Matrix::insertCols(VoSize, VoSize, VoReal)" + matrixText;
    QTest::newRow("insertRows") << Operation([] {
        MatrixF<2, 2> m;
        m.insertRows(1, 1, 1.0);
    }) << "void velo::Matrix::insertRows(VoSize, VoSize, VoReal)" + matrixText;
    QTest::newRow("transpose") << Operation([] {
        MatrixF<3, 2> m;
        m.setTransposeSelf();
    }) << "void velo::Matrix::setTransposeSelf() Resizing of this object is not allowed [256]";
    QTest::newRow("assign other shape") << Operation([] {
        MatrixF<3, 2> box;
        box = Matrix(2, 2);
    }) << "void velo::Matrix::changeSize(VoSize, VoSize)" + matrixText;
    QTest::newRow("Vector3 changeSize") << Operation([] {
        Vector3 v;
        v.changeSize(4);
    }) << "void velo::Vector::changeSize(VoSize)" + vectorText;
    QTest::newRow("insertItems") << Operation([] {
        Vector3 v;
        v.insertItems(0, 1, 0.0);
    }) << "void velo::Vector::insertItems(VoSize, VoSize, VoReal)" + vectorText;
    QTest::newRow("erase") << Operation([] {
        Vector3 v;
        v.erase(0, 1);
    }) << "void velo::Vector::erase(VoSize, VoSize)" + vectorText;
    QTest::newRow("push_back") << Operation([] {
        Vector3 v;
        v.push_back(1.0);
    }) << "void velo::Vector::push_back(VoReal)" + vectorText;
    QTest::newRow("pop_back") << Operation([] {
        double s[3];
        Vector view(3, s, VO_DATA_VIEW);
        view.pop_back();
    }) << "void velo::Vector::pop_back()" + vectorText;
    QTest::newRow("Vector3 from a longer vector") << Operation([] {
        Vector3 v;
        v = Vector(4);
    }) << "void velo::Vector::changeSize(VoSize)" + vectorText;
}

void TestMatrixCore::resizeNotAllowed()
{
    QFETCH(Operation, operation);
    QFETCH(QString, message);
    QCOMPARE(exceptionText(operation), message);
}

void TestMatrixCore::changeSizeKeepsTopLeftBlock()
{
    MatrixF<3, 2> box;
    box(2, 1) = 3.0;
    box.changeSize(3, 2);
    QCOMPARE(box(2, 1), 3.0);

    Matrix empty;
    empty.changeSize(2, 5);
    QVERIFY(empty.isManaged());
    QCOMPARE(empty.cols, VoSize(5));

    Matrix m = fromRows(2, 2, {1, 2, 3, 4});
    m.changeSize(3, 3);
    QCOMPARE(m, fromRows(3, 3, {1, 2, 0, 3, 4, 0, 0, 0, 0}));
    m.changeSize(2, 1);
    QCOMPARE(m, fromRows(2, 1, {1, 3}));
    m.changeSize(1, 3);
    QCOMPARE(m, fromRows(1, 3, {1, 0, 0}));
}

void TestMatrixCore::insertColsAndRows()
{
    Matrix m = fromRows(2, 2, {1, 2, 3, 4});
    m.insertCols(1, 2, 7.0);
    QCOMPARE(m, fromRows(2, 4, {1, 7, 7, 2, 3, 7, 7, 4}));
    m.insertCols(4, 1, -1.0);
    QCOMPARE(m, fromRows(2, 5, {1, 7, 7, 2, -1, 3, 7, 7, 4, -1}));

    Matrix r = fromRows(2, 2, {1, 2, 3, 4});
    r.insertRows(0, 1, 5.0);
    QCOMPARE(r, fromRows(3, 2, {5, 5, 1, 2, 3, 4}));
    r.insertRows(2, 2, 0.5);
    QCOMPARE(r, fromRows(5, 2, {5, 5, 1, 2, 0.5, 0.5, 0.5, 0.5, 3, 4}));

    Matrix fresh;
    fresh.insertCols(0, 2, 1.0);
    QCOMPARE(fresh.cols, VoSize(2));
}

void TestMatrixCore::transposeSelf()
{
    // Square: in place, whatever the storage.
    double s[6] = {1, 2, 0, 3, 4, 0};
    Matrix view(2, 2, 3, s, VO_DATA_VIEW);
    view.setTransposeSelf();
    QCOMPARE(s[1], 3.0);
    QCOMPARE(s[3], 2.0);

    Matrix m = fromRows(2, 3, {1, 2, 3, 4, 5, 6});
    m.setTransposeSelf();
    QCOMPARE(m, fromRows(3, 2, {1, 4, 2, 5, 3, 6}));

    Matrix empty(0, 4, 4, nullptr, VO_DATA_VIEW);
    empty.setTransposeSelf();
    QCOMPARE(empty.rows, VoSize(4));
    QCOMPARE(empty.cols, VoSize(0));
}

void TestMatrixCore::vectorResizing()
{
    Vector v;
    v.changeSize(3);
    QVERIFY(v.isManaged());
    QCOMPARE(v[2], 0.0);
    v[0] = 1;
    v[1] = 2;
    v[2] = 3;
    v.push_back(4);
    v.insertItems(1, 2, 9.0);
    QCOMPARE(v, Vector(6, std::initializer_list<double>{1, 9, 9, 2, 3, 4}.begin()));
    v.erase(2, 3);
    QCOMPARE(v, Vector(3, std::initializer_list<double>{1, 9, 4}.begin()));
    v.pop_back();
    v.changeSize(4);
    QCOMPARE(v, Vector(4, std::initializer_list<double>{1, 9, 0, 0}.begin()));

    Vector range = Vector::constructRange(0.0, 0.5, 2.0);
    QCOMPARE(range, Vector(5, std::initializer_list<double>{0, 0.5, 1, 1.5, 2}.begin()));
    QCOMPARE(Vector::constructRange(1.0, 1.0, 3.4).size, VoSize(3));
    QCOMPARE(Vector::constructRange(1.0, 1.0, 3.5).size, VoSize(4));
}

void TestMatrixCore::vectorViewsAndRelocate()
{
    Vector base(5, std::initializer_list<double>{0, 1, 2, 3, 4}.begin());
    Vector sub(2, base, 2);
    QCOMPARE(sub.flags, VO_DATA_VIEW);
    sub[1] = 30;
    QCOMPARE(base[3], 30.0);

    double other[5] = {5, 6, 7, 8, 9};
    Vector owner(5);
    owner.relocate(other, VO_DATA_VIEW);
    QCOMPARE(owner.size, VoSize(5));
    QCOMPARE(owner[4], 9.0);
    owner.relocate(other, VO_DATA_MANAGED);
    QCOMPARE(owner.flags, VO_DATA_VIEW);
}

void TestMatrixCore::lineAndBlockAccess()
{
    Matrix m = fromRows(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    QCOMPARE(m.row(1), Vector(3, std::initializer_list<double>{4, 5, 6}.begin()));
    QCOMPARE(m.col(2), Vector(3, std::initializer_list<double>{3, 6, 9}.begin()));
    QCOMPARE(Matrix().row(0).size, VoSize(0));

    m.setCol(0.5, 1);
    QCOMPARE(m, fromRows(3, 3, {1, 0.5, 3, 4, 0.5, 6, 7, 0.5, 9}));
    m.setRow(Vector(3, std::initializer_list<double>{-1, -2, -3}.begin()), 0);
    m.setRow_rowAddScaMulRow(2, 2.0, 0);
    QCOMPARE(m, fromRows(3, 3, {-1, -2, -3, 4, 0.5, 6, 5, -3.5, 3}));

    m.swapCols(0, 2, 1, 1);
    QCOMPARE(m, fromRows(3, 3, {-1, -2, -3, 6, 0.5, 4, 3, -3.5, 5}));
    m.swapRows(0, 1, 1, 1);
    QCOMPARE(m, fromRows(3, 3, {-1, 0.5, 4, 6, -2, -3, 3, -3.5, 5}));

    Matrix big(4, 5);
    big.setSub_scalar(1.0, 0, 0, 4, 5);
    big.setSub_identity(3.0, 1, 1, 3, 2);
    QCOMPARE(big, fromRows(4, 5, {1, 1, 1, 1, 1, 1, 3, 0, 1, 1, 1, 0, 3, 1, 1, 1, 0, 0, 1, 1}));
    big.setSub_mat(m, 0, 3, 2, 2, 1, 1);
    QCOMPARE(big.row(0), Vector(5, std::initializer_list<double>{1, 1, 1, -2, -3}.begin()));
    QCOMPARE(big.row(1), Vector(5, std::initializer_list<double>{1, 3, 0, -3.5, 5}.begin()));
    big.setSub_zero(3, 0, 1, 5);
    QCOMPARE(big.sumVal(3, 0, 1, 5), 0.0);
    big.setSub_scaMulMat(-2.0, m, 2, 0, 1, 3);
    QCOMPARE(big.row(2), Vector(5, std::initializer_list<double>{2, -1, -8, 1, 1}.begin()));

    Vector column(3);
    m.getCol(column, 0);
    QCOMPARE(column, Vector(3, std::initializer_list<double>{-1, 6, 3}.begin()));
    Vector flat(9);
    flat.setFlatCol(m);
    QCOMPARE(flat[1], 6.0);
    QCOMPARE(flat[3], 0.5);
    flat.setFlatRow(m);
    QCOMPARE(flat[3], 6.0);
}

void TestMatrixCore::crossProductWriteOrder()
{
    Vector3 a(1, 2, 3), b(4, 5, 6), c;
    c.setVecCrossVec(a, b);
    QCOMPARE(c, Vector3(-3, 6, -3));

    // Element 2 is written first and read again for the later elements, so an
    // aliased call uses the new value; the in-place forms avoid that.
    Vector3 alias(a);
    alias.setVecCrossVec(alias, b);
    const double z = 1 * 5 - 2 * 4;
    const double y = z * 4 - 1 * 6;
    const double x = y * 6 - z * 5;
    QCOMPARE(alias, Vector3(x, y, z));

    Vector3 self(a);
    self.setSelfCrossVec(b);
    QCOMPARE(self, Vector3(-3, 6, -3));
    Vector3 other(b);
    other.setVecCrossSelf(a);
    QCOMPARE(other, Vector3(-3, 6, -3));
}

void TestMatrixCore::angleAndNormalisation()
{
    Vector3 x(1, 0, 0), y(0, 1, 0), zero(0, 0, 0), diagonal(1, 1, 0);
    QCOMPARE(x.angleWith(y), Pi / 2.0);
    QCOMPARE(x.angleWith(zero), 0.0);
    QCOMPARE(zero.angleWith(zero), 0.0);
    QVERIFY(std::fabs(x.angleWith(diagonal) - Pi / 4.0) < 1e-15);
    QCOMPARE(x.angleWith(Vector3(-2, 0, 0)), Pi);

    Vector3 d;
    d.setVecSubVec(diagonal, x);
    QCOMPARE(d, y);

    Vector3 tiny(1e-17, 0, 0);
    QCOMPARE(tiny.setNormalizeSelf(), 0.0);
    QCOMPARE(tiny, zero);
    Vector3 v(3, 0, 4);
    QCOMPARE(v.setNormalizeSelf(), 5.0);
    QVERIFY(v.isEqual(Vector3(0.6, 0, 0.8), uint64_t(1)));
    Vector3 n;
    QCOMPARE(n.setNormalizeVec(Vector3(0, 2, 0)), 2.0);
    QCOMPARE(n, y);
    QCOMPARE(n.setNormalizeVecL2(Vector3(0, 0, 1e-20)), 1e-20);
    QCOMPARE(n[2], 1.0);
}

void TestMatrixCore::quaternionMatrices()
{
    const VoQuaternion q = {{0.5, -1.5, 2.0, 0.25}};
    const VoQuaternion p = {{-0.75, 0.5, 1.25, -2.0}};
    const VoQuaternion qp = hamilton(q, p);
    const VoQuaternion pq = hamilton(p, q);

    Matrix left(4, 4), right(4, 4);
    left.setLeftQuat(q);
    right.setRightQuat(q);
    Vector pv(p), out(4);
    out.setMatMulVec(left, pv);
    QVERIFY(out.isEqual(Vector(qp), 1e-14));
    out.setMatMulVec(right, pv);
    QVERIFY(out.isEqual(Vector(pq), 1e-14));

    // Rotation of a vector by a unit quaternion: q (0, v) q*.
    const double n = std::sqrt(0.25 + 2.25 + 4.0 + 0.0625);
    const VoQuaternion unit = {{0.5 / n, -1.5 / n, 2.0 / n, 0.25 / n}};
    const VoQuaternion conj = {{unit.data[0], -unit.data[1], -unit.data[2], -unit.data[3]}};
    const Vector3 v(1, -2, 0.5);
    const VoQuaternion pure = {{0, v[0], v[1], v[2]}};
    const VoQuaternion rotated = hamilton(hamilton(unit, pure), conj);
    const Vector3 expected(rotated.data[1], rotated.data[2], rotated.data[3]);

    Matrix r(3, 3);
    r.setQuat(unit);
    Vector3 viaMatrix;
    viaMatrix.setMatMulVec(r, v);
    QVERIFY(viaMatrix.isEqual(expected, 1e-14));
    Vector3 direct;
    direct.setRotateVecByQuat(v, unit);
    QVERIFY(direct.isEqual(expected, 1e-14));

    Vector3 back;
    back.setRotateVecByInvQuat(expected, unit);
    QVERIFY(back.isEqual(v, 1e-14));
    r.setInvQuat(unit);
    back.setMatMulVec(r, expected);
    QVERIFY(back.isEqual(v, 1e-14));

    Vector3 shifted;
    shifted.setRotateVecByQuatAddVec(v, unit, Vector3(1, 1, 1));
    QVERIFY(shifted.isEqual(Vector3(expected[0] + 1, expected[1] + 1, expected[2] + 1), 1e-14));

    // The normalisation Jacobian against central differences.
    Matrix jacobian(4, 4);
    jacobian.setQuatNormalizeJacobian(q);
    const double h = 1e-6;
    for (int k = 0; k < 4; ++k) {
        VoQuaternion plus = q, minus = q;
        plus.data[k] += h;
        minus.data[k] -= h;
        Vector a(plus), b(minus);
        a.setNormalizeSelf();
        b.setNormalizeSelf();
        for (int i = 0; i < 4; ++i)
            QVERIFY(std::fabs((a[i] - b[i]) / (2 * h) - jacobian(i, k)) < 1e-8);
    }
}

void TestMatrixCore::rotationsAndCrossMatrix()
{
    Matrix r(3, 3);
    Vector3 out;
    r.setRotateZ(Pi / 2.0);
    out.setMatMulVec(r, Vector3(1, 0, 0));
    QVERIFY(out.isEqual(Vector3(0, 1, 0), 1e-15));
    r.setRotateX(Pi / 2.0);
    out.setMatMulVec(r, Vector3(0, 1, 0));
    QVERIFY(out.isEqual(Vector3(0, 0, 1), 1e-15));
    r.setRotateY(Pi / 2.0);
    out.setMatMulVec(r, Vector3(0, 0, 1));
    QVERIFY(out.isEqual(Vector3(1, 0, 0), 1e-15));

    const Vector3 a(1, 2, 3), b(-4, 0.5, 2);
    Vector3 cross;
    cross.setVecCrossVec(a, b);
    r.setMcrossVec(a);
    out.setMatMulVec(r, b);
    QCOMPARE(out, cross);
    r.setMcrossNegVec(a);
    out.setMatMulVec(r, b);
    QCOMPARE(out, Vector3(-cross[0], -cross[1], -cross[2]));
}

void TestMatrixCore::reductions()
{
    Matrix m = fromRows(3, 3, {2, -7, 1, 0, 4, 0, 3, 5, 1});
    QCOMPARE(m.minVal(), -7.0);
    QCOMPARE(m.maxVal(), 5.0);
    VoSize r, c;
    QCOMPARE(m.maxAbsVal(r, c), 7.0);
    QCOMPARE(r, VoSize(0));
    QCOMPARE(c, VoSize(1));
    QCOMPARE(m.maxAbsVal(r, c, 1, 0, 2, 3), 5.0);
    QCOMPARE(r, VoSize(2));
    QCOMPARE(m.maxAbsValForRow(1), 4.0);
    QCOMPARE(m.maxAbsValForCol(0), 3.0);
    QCOMPARE(m.sumVal(), 9.0);
    QCOMPARE(m.sumSquaredVal(), 105.0);
    QCOMPARE(m.avgVal(), 1.0);
    QCOMPARE(m.avgVal(1, 1, 2, 2), 2.5);
    QCOMPARE(m.trace(), 7.0);
    QCOMPARE(m.diag(), Vector(3, std::initializer_list<double>{2, 4, 1}.begin()));
    QCOMPARE(m.countNonZeros(), VoSize(7));
    QCOMPARE(m.det(), m.det3x3());
    QCOMPARE(m.det3x3(), 2.0 * (4 - 0) + 7.0 * (0 - 0) + 1.0 * (0 - 12));
    QCOMPARE(fromRows(2, 2, {3, 1, 4, 2}).det(), 2.0);

    Matrix five(5, 5);
    five.setIdentity(2.0);
    five(4, 0) = 7.0;
    five.swapRows(0, 3);
    QCOMPARE(five.det(), -32.0);

    QVERIFY(m.isValid());
    QVERIFY(m.isValid(7.0));
    QVERIFY(!m.isValid(6.9));
    m(1, 1) = std::numeric_limits<double>::infinity();
    QVERIFY(!m.isValid());
    m(1, 1) = std::nan("");
    QVERIFY(!m.isValid(100.0));

    Matrix a = fromRows(1, 2, {1.0, 2.0});
    Matrix b = fromRows(1, 2, {1.0, std::nextafter(2.0, 3.0)});
    QVERIFY(a != b);
    QVERIFY(a.isEqual(b, uint64_t(1)));
    QVERIFY(!a.isEqual(b, uint64_t(0)));
    QVERIFY(a.isEqual(b, 1e-15));
    QVERIFY(a != fromRows(2, 1, {1.0, 2.0}));

    Matrix masked(3, 3);
    masked.setIdentity(4.0, 5u);
    QCOMPARE(masked, fromRows(3, 3, {4, 0, 0, 0, 0, 0, 0, 0, 4}));
}

void TestMatrixCore::vectorReductions()
{
    Vector v(6, std::initializer_list<double>{4, -8, 0, 2, 6, 0}.begin());
    QCOMPARE(v.minVal(), -8.0);
    VoSize index;
    QCOMPARE(v.maxVal(index), 6.0);
    QCOMPARE(index, VoSize(4));
    QCOMPARE(v.maxAbsVal(index), 8.0);
    QCOMPARE(index, VoSize(1));
    QCOMPARE(v.minAbsDiff(2.5, index), 0.5);
    QCOMPARE(index, VoSize(3));
    QCOMPARE(v.sumVal(), 4.0);
    QCOMPARE(v.sumAbsVal(), 20.0);
    QCOMPARE(v.sumSquaredVal(), 120.0);
    QCOMPARE(v.countNonZeros(), VoSize(4));
    QCOMPARE(v.nonZeroValues(), Vector(4, std::initializer_list<double>{4, -8, 2, 6}.begin()));
    QCOMPARE(v.avgVal(), 4.0 / 6.0);
    QCOMPARE(v.unweightedAvgVal(), -1.0);
    QCOMPARE(v.median(), 1.0);
    QCOMPARE(Vector(3, std::initializer_list<double>{5, 1, 3}.begin()).median(), 3.0);
    QCOMPARE(Vector(4, std::initializer_list<double>{2, 4, 4, 4}.begin()).variance(), 1.0);
    QCOMPARE(Vector(4, std::initializer_list<double>{2, 4, 4, 4}.begin()).stdDev(), 1.0);
    QCOMPARE(Vector(3, std::initializer_list<double>{12, -18, 30}.begin()).greatestCommonDenominator(), 6.0);
    QVERIFY(v.isNotZero());
    QVERIFY(!Vector3().isNotZero());
    QVERIFY(Vector3(3, 4, 0).cartesianLengthLargerOrEqual(5.0));
    QVERIFY(!Vector3(3, 4, 0).cartesianLengthLargerThan(5.0));
    QCOMPARE(Vector3(3, 4, 0).l2Norm(), 5.0);
    QCOMPARE(Vector3(1, 2, 3).dotProductOfSubVector(Vector3(4, 5, 6), 1, 2), 28.0);
    QCOMPARE(Vector::triDot(Vector3(1, 2, 3), Vector3(1, 1, 2), Vector3(2, 1, 1)), 10.0);
    QVERIFY(!Vector3(1, std::nan(""), 0).isValid());

    Vector y(4, std::initializer_list<double>{1, 3, 5, 7}.begin());
    const Vector::Line line = y.leastSquaresRegressionLine();
    QCOMPARE(line.slope, 2.0);
    QCOMPARE(line.offset, 1.0);
    QCOMPARE(Vector::lineValue(line, 10.0), 21.0);

    Vector p(3, std::initializer_list<double>{2, 0, 1}.begin());
    Vector permuted(3);
    permuted.setPermutation(Vector3(10, 20, 30), p);
    QCOMPARE(permuted, Vector3(30, 10, 20));
    Vector inverse(3);
    inverse.setInversePermutation(p);
    Vector restored(3);
    restored.setPermutation(permuted, inverse);
    QCOMPARE(restored, Vector3(10, 20, 30));
}

void TestMatrixCore::polynomials()
{
    // (x - 1)(x + 2)(x - 3) = x^3 - 2x^2 - 5x + 6
    Vector p(4, std::initializer_list<double>{1, -2, -5, 6}.begin());
    QCOMPARE(p.polyVal(2.0), -4.0);
    Vector grad(3);
    grad.setPolyGrad(p);
    QCOMPARE(grad, Vector3(3, -4, -5));
    QVERIFY(p.polyCauchyBound() >= 3.0);
    QVERIFY(std::fabs(p.polyRootFalsePosition(2.0, 4.0) - 3.0) < 1e-12);

    Vector roots;
    QCOMPARE(p.polyRoot(roots, -10.0, 10.0), VoSize(3));
    QVERIFY(roots.isEqual(Vector3(-2, 1, 3), 1e-12));
    QCOMPARE(p.polyRoot(roots, 0.0, 2.0), VoSize(1));
    QVERIFY(std::fabs(roots[0] - 1.0) < 1e-12);

    // DFT of a cosine of one cycle over 8 samples: bin 1 holds 4.
    Vector signal(8);
    for (int i = 0; i < 8; ++i)
        signal[i] = std::cos(2.0 * Pi * i / 8.0);
    Vector spectrum(6);
    spectrum.setRealDFT(signal, 8);
    QVERIFY(std::fabs(spectrum[0]) < 1e-14);
    QVERIFY(std::fabs(spectrum[2] - 4.0) < 1e-14);
    QVERIFY(std::fabs(spectrum[3]) < 1e-14);
    QVERIFY(std::fabs(spectrum[4]) < 1e-14);
}

void TestMatrixCore::display()
{
    char buf[1024];
    Matrix row = fromRows(1, 2, {1.5, -2.0});
    int n = row.display(buf);
    QCOMPARE(QByteArray(buf, n), QByteArray("Matrix 1,2:\n0 [      1.5       -2 ]\n"));

    Matrix three = fromRows(3, 1, {1, 2, 3});
    n = three.display(buf);
    QCOMPARE(QByteArray(buf, n), QByteArray("Matrix 3,1:\n0 \xDA        1 \xBF\n1 \xB3        2 \xB3\n"
                                            "2 \xC0        3 \xD9\n"));

    Matrix eleven(11, 1);
    eleven.setZero();
    n = eleven.display(buf);
    QVERIFY(QByteArray(buf, n).contains("\n00 \xDA"));
    QVERIFY(QByteArray(buf, n).contains("\n10 \xC0"));
    Matrix many(101, 1);
    many.setZero();
    std::vector<char> big(101 * 32 + 64);
    n = many.display(big.data());
    QVERIFY(QByteArray(big.data(), n).contains("\n100 \xC0"));

    n = Vector3(1, 0.25, 1e-10).display(buf);
    QCOMPARE(QByteArray(buf, n), QByteArray("Vector 3: [ 1 0.25 1e-10 ]\n"));
}

QTEST_APPLESS_MAIN(TestMatrixCore)
#include "tst_matrixcore.moc"
