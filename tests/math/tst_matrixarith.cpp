// The arithmetic family checked against Eigen on random operands, dense and as
// strided views, over one-row, one-column and square shapes and sizes that take
// the blocked product kernels.

#include "velo_matrix.h"

#include <Eigen/Dense>
#include <QtTest>
#include <unsupported/Eigen/KroneckerProduct>

#include <algorithm>
#include <functional>
#include <random>
#include <vector>

using velo::Matrix;
using velo::Vector;

namespace {

using RowMat = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
using Vec = Eigen::VectorXd;
using Index = Eigen::Index;
using R = const RowMat&;
using Ops = std::vector<const Matrix*>;
using Rows = std::vector<Vector>;
using Mats = std::vector<RowMat>;
using Vecs = std::vector<Vec>;
using Call = std::function<void(Matrix&, const Ops&, const Rows&)>;
using Reference = std::function<RowMat(R, const Mats&, const Vecs&)>;

RowMat map(const VoMatrix& m)
{
    return Eigen::Map<const RowMat, 0, Eigen::OuterStride<>>(m.data, Index(m.rows), Index(m.cols),
                                                             Eigen::OuterStride<>(Index(m.stride)));
}

RowMat eye(Index n) { return RowMat::Identity(n, n); }
RowMat diagonalOf(R a) { return a.diagonal().asDiagonal(); }
RowMat symmetric(R a) { return a.selfadjointView<Eigen::Upper>(); }
// A large diagonal keeps the triangular solves well conditioned.
RowMat boosted(R a) { return a + 8.0 * eye(a.rows()); }

// Keeps the elements with lo <= col - row <= hi.
RowMat band(R a, Index lo, Index hi)
{
    RowMat r = RowMat::Zero(a.rows(), a.cols());
    for (Index i = 0; i < a.rows(); ++i)
        for (Index j = std::max<Index>(0, i + lo); j < a.cols() && j - i <= hi; ++j)
            r(i, j) = a(i, j);
    return r;
}

RowMat lower(R a, Index k = 0) { return band(a, -a.rows(), k); }
RowMat upper(R a, Index k = 0) { return band(a, k, a.cols()); }

RowMat kron(R a, R b) { return Eigen::kroneckerProduct(a, b); }

RowMat withDiagonal(RowMat a, const Vec& diagonal)
{
    a.diagonal() = diagonal;
    return a;
}

RowMat withTopRows(RowMat a, R top, Index count)
{
    count = std::min(count, a.rows());
    a.topRows(count) = top.topRows(count);
    return a;
}

// Row i of the result is row (3i + 1) mod n of the source.
Vector permutation(VoSize n)
{
    Vector p(n);
    for (VoSize i = 0; i < n; ++i)
        p[i] = double((i * 3 + 1) % n);
    return p;
}

RowMat permuted(R a)
{
    const Vector p = permutation(VoSize(a.rows()));
    return a(std::vector<Index>(p.data, p.data + p.size), Eigen::all);
}

// Operands made fit for the functions that want non-negative, symmetric,
// transposed or well conditioned input.
template <typename T>
T absOf(T a)
{
    a.setAbs(a);
    return a;
}

Matrix symmetric(Matrix a)
{
    a.setSymmetric();
    return a;
}

Matrix transposed(const Matrix& a)
{
    Matrix r(a.cols, a.rows);
    r.setTransposeOf(a);
    return r;
}

Matrix boosted(Matrix a)
{
    a.setMatAddIdentity(a, 8.0);
    return a;
}

const double Sentinel = -12345.678;

// A random matrix; strided, it is a view into a larger buffer padded with a
// sentinel, so that stride handling and stray writes both show.
struct Operand
{
    Matrix storage;
    Matrix view;

    Operand(VoSize rows, VoSize cols, bool strided, std::mt19937_64& rng)
        : storage(rows + 2, cols + 3)
    {
        std::uniform_real_distribution<double> dist(0.5, 2.0);
        std::bernoulli_distribution negative(0.5);
        std::fill(storage.data, storage.data + storage.rows * storage.cols, Sentinel);
        view = strided ? Matrix(rows, cols, storage.stride, &storage(1, 2), VO_DATA_VIEW) : Matrix(rows, cols);
        for (VoSize r = 0; r < rows; ++r)
            for (VoSize c = 0; c < cols; ++c)
                view(r, c) = negative(rng) ? -dist(rng) : dist(rng);
    }

    bool paddingIntact() const
    {
        for (VoSize r = 0; view.data == &storage(1, 2) && r < storage.rows; ++r)
            for (VoSize c = 0; c < storage.cols; ++c)
                if ((r < 1 || r > view.rows || c < 2 || c >= view.cols + 2) && storage(r, c) != Sentinel)
                    return false;
        return true;
    }
};

struct Shape
{
    VoSize rows, cols;
};

struct Case
{
    std::vector<Shape> operands;
    Shape result;
    Call velo;
    Reference eigen;
};

} // namespace

// A case is named after its call on the target t, which sees the operands as
// matrices o and their first rows as vectors v. The Eigen reference sees the
// target's previous value as self and the same operands as m and v. VEC cases
// write a vector: the first row of a one-row target.
#define MAT(result, call, reference, ...) \
    add(#call, {__VA_ARGS__}, result, \
        [=](Matrix& t, [[maybe_unused]] const Ops& o, [[maybe_unused]] const Rows& v) { t.call; }, \
        [=]([[maybe_unused]] R self, [[maybe_unused]] const Mats& m, [[maybe_unused]] const Vecs& v) -> RowMat { \
            return reference; \
        })
#define VEC(size, call, reference, ...) \
    add(#call, {__VA_ARGS__}, {1, size}, \
        [=](Matrix& t, [[maybe_unused]] const Ops& o, [[maybe_unused]] const Rows& v) { Vector(t, 0).call; }, \
        [=](R target, [[maybe_unused]] const Mats& m, [[maybe_unused]] const Vecs& v) { \
            [[maybe_unused]] const Vec self = target.transpose(); \
            return RowMat(Vec(reference).transpose()); \
        })

class TestMatrixArith : public QObject
{
    Q_OBJECT

private slots:
    void operations_data();
    void operations();
    void productDispatchBoundary();

private:
    void add(const char* call, std::vector<Shape> operands, Shape result, Call velo, Reference eigen);
    QString m_tag;
    std::vector<Case> m_cases;
};

void TestMatrixArith::add(const char* call, std::vector<Shape> operands, Shape result, Call velo, Reference eigen)
{
    m_cases.push_back({std::move(operands), result, std::move(velo), std::move(eigen)});
    QTest::newRow(qPrintable(call + m_tag)) << int(m_cases.size() - 1) << false;
    QTest::newRow(qPrintable(call + m_tag + " strided")) << int(m_cases.size() - 1) << true;
}

void TestMatrixArith::operations()
{
    QFETCH(int, index);
    QFETCH(bool, strided);
    const Case& c = m_cases[size_t(index)];
    std::mt19937_64 rng(uint64_t(index) * 7919u + (strided ? 1u : 0u));
    // Reserved up front: the views must not move.
    std::vector<Operand> operands;
    operands.reserve(c.operands.size() + 1);
    Ops o;
    Rows v;
    v.reserve(c.operands.size());
    Mats em;
    Vecs ev;
    for (const Shape s : c.operands) {
        operands.emplace_back(s.rows, s.cols, strided, rng);
        o.push_back(&operands.back().view);
        v.emplace_back(operands.back().view, 0);
        em.push_back(map(operands.back().view));
        ev.push_back(em.back().row(0).transpose());
    }
    operands.emplace_back(c.result.rows, c.result.cols, strided, rng);
    Matrix& target = operands.back().view;
    const RowMat expected = c.eigen(map(target), em, ev);
    c.velo(target, o, v);
    const RowMat actual = map(target);
    QCOMPARE(actual.rows(), expected.rows());
    QCOMPARE(actual.cols(), expected.cols());
    const double error = (actual - expected).cwiseAbs().maxCoeff() / std::max(1.0, expected.cwiseAbs().maxCoeff());
    QVERIFY2(error < 1e-12, qPrintable(QString("relative error %1").arg(error)));
    QVERIFY2(std::all_of(operands.begin(), operands.end(), [](const Operand& x) { return x.paddingIntact(); }),
             "wrote outside a block");
}

void TestMatrixArith::operations_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<bool>("strided");
    m_cases.clear();
    for (const Shape s : std::vector<Shape>{{1, 1}, {3, 4}, {1, 7}, {6, 1}, {5, 5}, {17, 19}, {16, 16}}) {
        m_tag = QString(" %1x%2").arg(s.rows).arg(s.cols);
        MAT(s, setMatAddMat(*o[0], *o[1]), m[0] + m[1], s, s);
        MAT(s, setMatSubMat(*o[0], *o[1]), m[0] - m[1], s, s);
        MAT(s, setMatAddMatAddMatSubMat(*o[0], *o[1], *o[2], *o[3]), m[0] + m[1] + m[2] - m[3], s, s, s, s);
        MAT(s, setMatAddScaMulMat(*o[0], 0.3, *o[1]), m[0] + 0.3 * m[1], s, s);
        MAT(s, setMatAddScaMulMatAddScaMulMat(*o[0], 0.3, *o[1], -2.0, *o[2]), m[0] + 0.3 * m[1] - 2.0 * m[2], s, s, s);
        MAT(s, setScaMulMatAddScaMulMat(1.5, *o[0], -0.25, *o[1]), 1.5 * m[0] - 0.25 * m[1], s, s);
        MAT(s, setScaMulMat(-3.0, *o[0]), -3.0 * m[0], s);
        MAT(s, setSelfAddScaMulMat(0.5, *o[0]), self + 0.5 * m[0], s);
        MAT(s, setMatEMulMat(*o[0], *o[1]), m[0].cwiseProduct(m[1]), s, s);
        MAT(s, setMatEDivMat(*o[0], *o[1]), m[0].cwiseQuotient(m[1]), s, s);
        MAT(s, setScaMulMatEMulMat(2.0, *o[0], *o[1]), 2.0 * m[0].cwiseProduct(m[1]), s, s);
        MAT(s, setAbs(*o[0]), m[0].cwiseAbs(), s);
        MAT(s, setSqrt(absOf(*o[0])), m[0].cwiseAbs().cwiseSqrt(), s);
        MAT(s, setMin(*o[0], *o[1]), m[0].cwiseMin(m[1]), s, s);
        MAT((Shape{s.cols, s.rows}), setTransposeOf(*o[0]), m[0].transpose(), s);
        MAT(s, setTriU(*o[0], 1), upper(m[0], 1), s);
        MAT(s, setTriL(*o[0], 1), lower(m[0], 1), s);
        MAT(s, setSelfAddTriL(*o[0], -1), self + lower(m[0], -1), s);
        MAT(s, setVecMulVec(v[0], v[1]), v[0] * v[1].transpose(), {1, s.rows}, {1, s.cols});
        if (s.rows != s.cols)
            continue;

        const VoSize n = s.rows;
        MAT(s, setMatAddTransMatMulSca(*o[0], *o[1], 0.7), m[0] + 0.7 * m[1].transpose(), s, s);
        MAT(s, setMatAddIdentity(*o[0], 2.5), m[0] + 2.5 * eye(n), s);
        MAT(s, setIdentity(-2.0), -2.0 * eye(n));
        MAT(s, setMatAddMatDiagonal(*o[0], *o[1]), m[0] + diagonalOf(m[1]), s, s);
        MAT(s, setMatAddDiagVec(*o[0], o[1]->diag()), m[0] + diagonalOf(m[1]), s, s);
        MAT(s, setSelfAddDiag(*o[0]), self + diagonalOf(m[0]), s);
        MAT(s, setDiag(v[0]), v[0].asDiagonal(), s);
        MAT(s, setDiag(static_cast<const VoMatrix&>(*o[0])), diagonalOf(m[0]), s);
        MAT(s, setDiagSquared(v[0]), v[0].cwiseAbs2().asDiagonal(), s);
        MAT(s, setSymmetric(*o[0]), symmetric(m[0]), s);
        MAT(s, setSymmetric(), symmetric(self));
        MAT(s, setSymmetricTriL(*o[0]), m[0].selfadjointView<Eigen::Lower>(), s);
        MAT(s, setTransposeOfTriU(*o[0]), upper(m[0]).transpose(), s);
        MAT(s, setTriLMulDiag(*o[0], v[1]), lower(m[0]) * v[1].asDiagonal(), s, s);
        MAT(s, setSelfAddTriLMulDiag(*o[0], v[1]), self + lower(m[0]) * v[1].asDiagonal(), s, s);
        MAT(s, setDiagMulDiag(*o[0], *o[1]), diagonalOf(m[0].cwiseProduct(m[1])), s, s);
        MAT(s, setSelfAddDiagMulDiag(*o[0], *o[1]), self + diagonalOf(m[0].cwiseProduct(m[1])), s, s);
        MAT(s, setMatMulDiag(*o[0], *o[1]), m[0] * diagonalOf(m[1]), s, s);
        MAT(s, setMatMulDiag(*o[0], v[1]), m[0] * v[1].asDiagonal(), s, s);
        MAT(s, setSelfAddMatMulDiag(*o[0], *o[1]), self + m[0] * diagonalOf(m[1]), s, s);
        MAT(s, setSelfAddMatMulDiag(*o[0], v[1]), self + m[0] * v[1].asDiagonal(), s, s);
        MAT(s, setDiagMulMat(*o[0], *o[1]), diagonalOf(m[0]) * m[1], s, s);
        MAT(s, setDiagMulMat(v[0], *o[1]), v[0].asDiagonal() * m[1], s, s);
        MAT(s, setSelfAddDiagMulMat(*o[0], *o[1]), self + diagonalOf(m[0]) * m[1], s, s);
        MAT(s, setSelfAddDiagMulMat(v[0], *o[1]), self + v[0].asDiagonal() * m[1], s, s);
        // The "Diagonal" forms write the diagonal only; the rest must stay as it was.
        MAT(s, setMatMulMatDiagonal(*o[0], *o[1]), withDiagonal(self, (m[0] * m[1]).diagonal()), s, s);
        MAT(s, setSelfMulMatDiagonal(*o[0]), withDiagonal(self, (self * m[0]).diagonal()), s);
        MAT(s, setMatEMulMatDiagonal(*o[0], *o[1]), withDiagonal(self, m[0].cwiseProduct(m[1]).diagonal()), s, s);
        MAT(s, setSqrtDiagonal(absOf(*o[0])), withDiagonal(self, m[0].diagonal().cwiseAbs().cwiseSqrt()), s);
        MAT(s, setABAtDiagonal(*o[0], *o[1]), withDiagonal(self, (m[0] * m[1] * m[0].transpose()).diagonal()), s, s);
        MAT(s, setABAt(*o[0], *o[1]), m[0] * m[1] * m[0].transpose(), s, s);
        MAT(s, setAtBA(*o[0], *o[1]), m[0].transpose() * m[1] * m[0], s, s);
        MAT(s, setABAtSymmetrical(*o[0], symmetric(*o[1])), m[0] * symmetric(m[1]) * m[0].transpose(), s, s);
        MAT(s, setMatMulTransMatSymmetrical(*o[0], *o[0]), m[0] * m[0].transpose(), s);
        MAT(s, setMatMulMatSymmetrical(*o[0], transposed(*o[0])), m[0] * m[0].transpose(), s);
        MAT(s, setMatMulMatTriLSkip(*o[0], *o[1], 2), withTopRows(lower(m[0] * m[1]), self, 2), s, s);
        MAT(s, setPermutation(*o[0], permutation(n)), permuted(m[0]), s);
        MAT((Shape{n, 1}), setMatMulVec(*o[0], v[1]), m[0] * v[1], s, s);
        MAT((Shape{1, n}), setVecMulMat(v[1], *o[0]), v[1].transpose() * m[0], s, s);
        MAT((Shape{n, 1}), setMatAddVec(*o[0], v[1]), m[0] + v[1], {n, 1}, {1, n});
        MAT((Shape{4, n * 3}), setKronTransMatMulMat(*o[0], *o[1]), kron(m[0].transpose(), m[1]), {n, 2}, {2, 3});
        MAT((Shape{3, 4}), setKronHorVecMulIdMulMat(v[0], *o[1]), kron(v[0].transpose(), eye(3)) * m[1], {1, n}, {n * 3, 4});
    }

    // Products over shapes that cover thin operands and both kernels.
    const VoSize dims[][3] = {{1, 1, 1},    {1, 9, 1},    {7, 1, 5},       {5, 7, 3},       {4, 6, 20},
                              {23, 17, 31}, {1, 40, 300}, {300, 270, 290}, {259, 259, 259}, {300, 100, 280}};
    for (const auto& d : dims) {
        const VoSize rows = d[0], inner = d[1], cols = d[2];
        m_tag = QString(" %1x%2x%3").arg(rows).arg(inner).arg(cols);
        const Shape a{rows, inner}, b{inner, cols}, bt{cols, inner}, r{rows, cols};
        MAT(r, setMatMulMat(*o[0], *o[1]), m[0] * m[1], a, b);
        MAT(r, setMatMulMatTrivial(*o[0], *o[1]), m[0] * m[1], a, b);
        MAT(r, setMatMulMatBlocked(*o[0], *o[1]), m[0] * m[1], a, b);
        MAT(r, setMatMulTransMat(*o[0], *o[1]), m[0] * m[1].transpose(), a, bt);
        MAT(r, setMatMulTransMatBlocked(*o[0], *o[1]), m[0] * m[1].transpose(), a, bt);
        if (rows * inner * cols > 1000000)
            continue;
        MAT(r, setTransMatMulMat(*o[0], *o[1]), m[0].transpose() * m[1], {inner, rows}, b);
        MAT(r, setSelfAddScaMulMatMulMat(3.0, *o[0], *o[1]), self + 3.0 * m[0] * m[1], a, b);
        MAT((Shape{rows, 3}), setMatMulMatMulMat(*o[0], *o[1], *o[2]), m[0] * m[1] * m[2], a, b, {cols, 3});
        MAT((Shape{rows * 3, 2 * cols}), setKronMatMulMat(*o[0], *o[1]), kron(m[0], m[1]), {rows, 2}, {3, cols});
        MAT((Shape{rows * 2, cols}), setKronMatMulIdMulMat(*o[0], *o[1]), kron(m[0], eye(2)) * m[1], a, {inner * 2, cols});
        MAT((Shape{rows * 3, cols}), setKronIdMulMatMulMat(*o[0], *o[1]), kron(eye(3), m[0]) * m[1], a, {inner * 3, cols});
    }

    for (const VoSize n : {VoSize(1), VoSize(3), VoSize(37)}) {
        m_tag = QString(" n=%1").arg(n);
        const Shape x{1, n};
        VEC(n, setVecAddVec(v[0], v[1]), v[0] + v[1], x, x);
        VEC(n, setVecSubVec(v[0], v[1]), v[0] - v[1], x, x);
        VEC(n, setVecAddVecAddVec(v[0], v[1], v[2]), v[0] + v[1] + v[2], x, x, x);
        VEC(n, setVecAddVecSubVec(v[0], v[1], v[2]), v[0] + v[1] - v[2], x, x, x);
        VEC(n, setVecAddScaMulVec(v[0], -4.0, v[1]), v[0] - 4.0 * v[1], x, x);
        VEC(n, setVecAddScaMulVecAddScaMulVec(v[0], 2.0, v[1], 3.0, v[2]), v[0] + 2.0 * v[1] + 3.0 * v[2], x, x, x);
        VEC(n, setScaMulVecAddScaMulVec(2.0, v[0], 3.0, v[1]), 2.0 * v[0] + 3.0 * v[1], x, x);
        VEC(n, setScaMulVec(1.5, v[0]), 1.5 * v[0], x);
        VEC(n, setScaDivVec(1.5, v[0]), 1.5 * v[0].cwiseInverse(), x);
        VEC(n, setVecEMulVec(v[0], v[1]), v[0].cwiseProduct(v[1]), x, x);
        VEC(n, setVecEDivVec(v[0], v[1]), v[0].cwiseQuotient(v[1]), x, x);
        VEC(n, setNegVec(v[0]), -v[0], x);
        VEC(n, setAbs(v[0]), v[0].cwiseAbs(), x);
        VEC(n, setSqrt(absOf(v[0])), v[0].cwiseAbs().cwiseSqrt(), x);
        VEC(n, setMax(v[0], v[1]), v[0].cwiseMax(v[1]), x, x);
        VEC(n, setMin(v[0], v[1]), v[0].cwiseMin(v[1]), x, x);
        VEC(n, setClamped(v[0], -1.0, 1.0), v[0].cwiseMax(-1.0).cwiseMin(1.0), x);
        VEC(n, setClamped(v[0], v[1], absOf(v[1])), v[0].cwiseMax(v[1]).cwiseMin(v[1].cwiseAbs()), x, x);
        VEC(n, setInterpolated(0.25, v[0], v[1]), 0.25 * v[0] + 0.75 * v[1], x, x);

        // Matrix-vector products with rows = n + 2 and n columns.
        const VoSize rows = n + 2;
        const Shape mn{rows, n}, nm{n, rows}, nn{n, n}, y{1, rows};
        VEC(rows, setMatMulVec(*o[0], v[1]), m[0] * v[1], mn, x);
        VEC(n, setTransMatMulVec(*o[0], v[1]), m[0].transpose() * v[1], mn, y);
        VEC(n, setTriLMulVec(*o[0], v[1]), lower(m[0]) * v[1], nn, x);
        VEC(rows, setMatMulVecMulSca(*o[0], v[1], 0.5), 0.5 * (m[0] * v[1]), mn, x);
        VEC(rows, setScaMulMatMulVecAddVec(2.0, *o[0], v[1], v[2]), 2.0 * (m[0] * v[1]) + v[2], mn, x, y);
        VEC(rows, setMatMulVecAddVecMulSca(*o[0], v[1], v[2], -3.0), m[0] * v[1] - 3.0 * v[2], mn, x, y);
        VEC(rows, setSelfAddScaMulMatMulVec(0.5, *o[0], v[1]), self + 0.5 * (m[0] * v[1]), mn, x);
        VEC(n, setLeftDivideTriU(boosted(*o[0]), v[1]), boosted(m[0]).triangularView<Eigen::Upper>().solve(v[1]), nn, x);
        VEC(n, setLeftDivideTriL(boosted(*o[0]), v[1]), boosted(m[0]).triangularView<Eigen::Lower>().solve(v[1]), nn, x);
        VEC(n, setLeftDivideDiag(*o[0], v[1]), v[1].cwiseQuotient(m[0].diagonal()), nn, x);
        VEC(n, setSumSquaresMat(*o[0]), m[0].cwiseAbs2().colwise().sum().transpose(), mn);
        VEC(rows, setNormOfRows(*o[0]), m[0].rowwise().norm(), mn);
        VEC(rows, setDiagMatMulMat(*o[0], *o[1]), RowMat(m[0] * m[1]).diagonal(), mn, nm);
        VEC(rows, setDiagMatMulTransMat(*o[0], *o[1]), RowMat(m[0] * m[1].transpose()).diagonal(), mn, mn);
        VEC(rows, setMatCol(*o[0], o[0]->cols - 1), m[0].col(m[0].cols() - 1), mn);
        VEC(n, setMatRow(*o[0], 1), m[0].row(1).transpose(), mn);
        VEC(n, setDiag(*o[0]), m[0].diagonal(), mn);
    }
}

void TestMatrixArith::productDispatchBoundary()
{
    // The two kernels sum in different orders, so their last bits tell which one
    // ran: the blocked one only when all three dimensions are above 258.
    const struct
    {
        VoSize m, k, n;
        bool blocked;
    } cases[] = {{258, 258, 258, false}, {300, 258, 300, false}, {258, 300, 300, false}, {259, 259, 259, true}};
    std::mt19937_64 rng(99);
    for (const auto& c : cases) {
        Operand a(c.m, c.k, false, rng), b(c.k, c.n, false, rng);
        Matrix dispatched(c.m, c.n), trivial(c.m, c.n), blocked(c.m, c.n);
        dispatched.setMatMulMat(a.view, b.view);
        trivial.setMatMulMatTrivial(a.view, b.view);
        blocked.setMatMulMatBlocked(a.view, b.view);
        QVERIFY(trivial != blocked);
        QVERIFY2(dispatched == (c.blocked ? blocked : trivial), qPrintable(QString("%1x%2x%3").arg(c.m).arg(c.k).arg(c.n)));
    }
}

QTEST_APPLESS_MAIN(TestMatrixArith)
#include "tst_matrixarith.moc"
