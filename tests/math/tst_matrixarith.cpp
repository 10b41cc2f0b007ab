// The arithmetic family checked against Eigen on random operands, dense and as
// strided views, over one-row, one-column and square shapes and sizes that take
// the blocked product kernels.

#include "velo_matrix.h"

#include <Eigen/Dense>
#include <QtTest>

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
using O = const std::vector<const Matrix*>&;
using VO = const std::vector<const Vector*>&;
using M = const std::vector<RowMat>&;
using VS = const std::vector<Vec>&;
using R = const RowMat&;
using CV = const Vec&;
using MatFn = std::function<void(Matrix&, O)>;
using MatRef = std::function<RowMat(R, M)>;
using VecFn = std::function<void(Vector&, O, VO)>;
using VecRef = std::function<Vec(CV, M, VS)>;

RowMat map(const VoMatrix& m)
{
    return Eigen::Map<const RowMat, 0, Eigen::OuterStride<>>(m.data, Index(m.rows), Index(m.cols),
                                                             Eigen::OuterStride<>(Index(m.stride)));
}

Vec map(const VoVector& v) { return Eigen::Map<const Vec>(v.data, Index(v.size)); }
RowMat eye(Index n) { return RowMat::Identity(n, n); }
RowMat diagonalOf(R a) { return a.diagonal().asDiagonal(); }

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

RowMat kron(R a, R b)
{
    RowMat k(a.rows() * b.rows(), a.cols() * b.cols());
    for (Index i = 0; i < a.rows(); ++i)
        for (Index j = 0; j < a.cols(); ++j)
            k.block(i * b.rows(), j * b.cols(), b.rows(), b.cols()) = a(i, j) * b;
    return k;
}

RowMat withDiagonal(RowMat a, const Vec& diagonal)
{
    a.diagonal() = diagonal;
    return a;
}

// A large diagonal keeps the triangular solves well conditioned.
RowMat boosted(RowMat a)
{
    a.diagonal() *= 8.0;
    return a;
}

Matrix boosted(const Matrix& a)
{
    Matrix r(a);
    for (VoSize i = 0; i < r.rows; ++i)
        r(i, i) *= 8.0;
    return r;
}

// Row i of the result is row (3i + 1) mod n of the source.
Vector permutation(VoSize n)
{
    Vector p(n);
    for (VoSize i = 0; i < n; ++i)
        p[i] = double((i * 3 + 1) % n);
    return p;
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
    VoSize rows;
    VoSize cols;
};

// A matrix result has a matrix shape; a vector result (velo/eigen for vectors set)
// has `result.cols` elements and is a row view, like the vector operands.
struct Case
{
    std::vector<Shape> matrices;
    std::vector<VoSize> vectors;
    Shape result;
    MatFn mat;
    MatRef matRef;
    VecFn vec;
    VecRef vecRef;
};

// Random operands; vectors are row views over borrowed storage.
struct Inputs
{
    std::vector<Operand> operands;
    std::vector<Vector> vectors;
    std::vector<const Matrix*> ops;
    std::vector<const Vector*> vops;
    std::vector<RowMat> mats;
    std::vector<Vec> vecs;

    Inputs(const Case& c, bool strided, std::mt19937_64& rng)
    {
        operands.reserve(c.matrices.size() + c.vectors.size() + 1);
        vectors.reserve(c.vectors.size() + 1);
        for (const Shape s : c.matrices) {
            operands.emplace_back(s.rows, s.cols, strided, rng);
            ops.push_back(&operands.back().view);
            mats.push_back(map(operands.back().view));
        }
        for (const VoSize n : c.vectors) {
            operands.emplace_back(1, n, strided, rng);
            vectors.emplace_back(operands.back().view, 0);
            vops.push_back(&vectors.back());
            vecs.push_back(map(vectors.back()));
        }
    }

    bool paddingIntact() const
    {
        return std::all_of(operands.begin(), operands.end(), [](const Operand& o) { return o.paddingIntact(); });
    }
};

} // namespace

class TestMatrixArith : public QObject
{
    Q_OBJECT

private slots:
    void operations_data();
    void operations();
    void productDispatchBoundary_data();
    void productDispatchBoundary();

private:
    void matrixCases();
    void vectorCases();
    void addM(const char* name, std::vector<Shape> operands, Shape result, MatFn velo, MatRef eigen);
    void addV(const char* name, std::vector<Shape> matrices, std::vector<VoSize> vectors, VoSize result, VecFn velo,
              VecRef eigen);
    void add(const char* name, Case c);
    QString m_tag;
    std::vector<Case> m_cases;
};

void TestMatrixArith::add(const char* name, Case c)
{
    m_cases.push_back(std::move(c));
    QTest::newRow(qPrintable(name + m_tag)) << int(m_cases.size() - 1) << false;
    QTest::newRow(qPrintable(name + m_tag + " strided")) << int(m_cases.size() - 1) << true;
}

void TestMatrixArith::addM(const char* name, std::vector<Shape> operands, Shape result, MatFn velo, MatRef eigen)
{
    add(name, {std::move(operands), {}, result, std::move(velo), std::move(eigen), {}, {}});
}

void TestMatrixArith::addV(const char* name, std::vector<Shape> matrices, std::vector<VoSize> vectors, VoSize result,
                           VecFn velo, VecRef eigen)
{
    add(name, {std::move(matrices), std::move(vectors), {1, result}, {}, {}, std::move(velo), std::move(eigen)});
}

void TestMatrixArith::operations_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<bool>("strided");
    m_cases.clear();
    matrixCases();
    vectorCases();
}

void TestMatrixArith::operations()
{
    QFETCH(int, index);
    QFETCH(bool, strided);
    const Case& c = m_cases[size_t(index)];
    std::mt19937_64 rng(uint64_t(index) * 7919u + (strided ? 1u : 0u));
    const Inputs in(c, strided, rng);
    Operand target(c.result.rows, c.result.cols, strided, rng);
    RowMat actual, expected;
    if (c.mat) {
        expected = c.matRef(map(target.view), in.mats);
        c.mat(target.view, in.ops);
        actual = map(target.view);
    } else {
        Vector v(target.view, 0);
        expected = c.vecRef(map(v), in.mats, in.vecs).transpose();
        c.vec(v, in.ops, in.vops);
        actual = map(v).transpose();
    }
    QCOMPARE(actual.rows(), expected.rows());
    QCOMPARE(actual.cols(), expected.cols());
    const double error = (actual - expected).cwiseAbs().maxCoeff() / std::max(1.0, expected.cwiseAbs().maxCoeff());
    QVERIFY2(error < 1e-12, qPrintable(QString("relative error %1").arg(error)));
    QVERIFY2(target.paddingIntact() && in.paddingIntact(), "wrote outside a block");
}

void TestMatrixArith::matrixCases()
{
    const Shape shapes[] = {{1, 1}, {3, 4}, {1, 7}, {6, 1}, {5, 5}, {17, 19}, {16, 16}};
    for (const Shape s : shapes) {
        m_tag = QString(" %1x%2").arg(s.rows).arg(s.cols);
        addM("setMatAddMat", {s, s}, s, [](Matrix& t, O o) { t.setMatAddMat(*o[0], *o[1]); }, [](R, M m) -> RowMat { return m[0] + m[1]; });
        addM("setMatSubMat", {s, s}, s, [](Matrix& t, O o) { t.setMatSubMat(*o[0], *o[1]); }, [](R, M m) -> RowMat { return m[0] - m[1]; });
        addM("setMatAddMatAddMatSubMat", {s, s, s, s}, s,
             [](Matrix& t, O o) { t.setMatAddMatAddMatSubMat(*o[0], *o[1], *o[2], *o[3]); },
             [](R, M m) -> RowMat { return m[0] + m[1] + m[2] - m[3]; });
        addM("setMatAddScaMulMat", {s, s}, s, [](Matrix& t, O o) { t.setMatAddScaMulMat(*o[0], 0.3, *o[1]); },
             [](R, M m) -> RowMat { return m[0] + 0.3 * m[1]; });
        addM("setMatAddScaMulMatAddScaMulMat", {s, s, s}, s,
             [](Matrix& t, O o) { t.setMatAddScaMulMatAddScaMulMat(*o[0], 0.3, *o[1], -2.0, *o[2]); },
             [](R, M m) -> RowMat { return m[0] + 0.3 * m[1] - 2.0 * m[2]; });
        addM("setScaMulMatAddScaMulMat", {s, s}, s, [](Matrix& t, O o) { t.setScaMulMatAddScaMulMat(1.5, *o[0], -0.25, *o[1]); },
             [](R, M m) -> RowMat { return 1.5 * m[0] - 0.25 * m[1]; });
        addM("setScaMulMat", {s}, s, [](Matrix& t, O o) { t.setScaMulMat(-3.0, *o[0]); }, [](R, M m) -> RowMat { return -3.0 * m[0]; });
        addM("setSelfAddScaMulMat", {s}, s, [](Matrix& t, O o) { t.setSelfAddScaMulMat(0.5, *o[0]); },
             [](R self, M m) -> RowMat { return self + 0.5 * m[0]; });
        addM("setMatEMulMat", {s, s}, s, [](Matrix& t, O o) { t.setMatEMulMat(*o[0], *o[1]); },
             [](R, M m) -> RowMat { return m[0].cwiseProduct(m[1]); });
        addM("setMatEDivMat", {s, s}, s, [](Matrix& t, O o) { t.setMatEDivMat(*o[0], *o[1]); },
             [](R, M m) -> RowMat { return m[0].cwiseQuotient(m[1]); });
        addM("setScaMulMatEMulMat", {s, s}, s, [](Matrix& t, O o) { t.setScaMulMatEMulMat(2.0, *o[0], *o[1]); },
             [](R, M m) -> RowMat { return 2.0 * m[0].cwiseProduct(m[1]); });
        addM("setAbs", {s}, s, [](Matrix& t, O o) { t.setAbs(*o[0]); }, [](R, M m) -> RowMat { return m[0].cwiseAbs(); });
        addM("setSqrt", {s}, s, [](Matrix& t, O o) { Matrix a(*o[0]); a.setAbs(a); t.setSqrt(a); },
             [](R, M m) -> RowMat { return m[0].cwiseAbs().cwiseSqrt(); });
        addM("setMin", {s, s}, s, [](Matrix& t, O o) { t.setMin(*o[0], *o[1]); }, [](R, M m) -> RowMat { return m[0].cwiseMin(m[1]); });
        addM("setTransposeOf", {s}, {s.cols, s.rows}, [](Matrix& t, O o) { t.setTransposeOf(*o[0]); },
             [](R, M m) -> RowMat { return m[0].transpose(); });
        addM("setTriU k=1", {s}, s, [](Matrix& t, O o) { t.setTriU(*o[0], 1); }, [](R, M m) { return upper(m[0], 1); });
        addM("setTriL", {s}, s, [](Matrix& t, O o) { t.setTriL(*o[0]); }, [](R, M m) { return lower(m[0]); });
        addM("setSelfAddTriL k=-1", {s}, s, [](Matrix& t, O o) { t.setSelfAddTriL(*o[0], -1); },
             [](R self, M m) -> RowMat { return self + lower(m[0], -1); });
        addM("setVecMulVec", {{1, s.rows}, {1, s.cols}}, s, [](Matrix& t, O o) { t.setVecMulVec(o[0]->row(0), o[1]->row(0)); },
             [](R, M m) -> RowMat { return m[0].transpose() * m[1]; });
        if (s.rows != s.cols)
            continue;

        const VoSize n = s.rows;
        addM("setMatAddTransMatMulSca", {s, s}, s, [](Matrix& t, O o) { t.setMatAddTransMatMulSca(*o[0], *o[1], 0.7); },
             [](R, M m) -> RowMat { return m[0] + 0.7 * m[1].transpose(); });
        addM("setMatAddIdentity", {s}, s, [](Matrix& t, O o) { t.setMatAddIdentity(*o[0], 2.5); },
             [](R, M m) -> RowMat { return m[0] + 2.5 * eye(m[0].rows()); });
        addM("setIdentity", {}, s, [](Matrix& t, O) { t.setIdentity(-2.0); }, [](R self, M) -> RowMat { return -2.0 * eye(self.rows()); });
        addM("setMatAddMatDiagonal", {s, s}, s, [](Matrix& t, O o) { t.setMatAddMatDiagonal(*o[0], *o[1]); },
             [](R, M m) -> RowMat { return m[0] + diagonalOf(m[1]); });
        addM("setMatAddDiagVec", {s, s}, s, [](Matrix& t, O o) { t.setMatAddDiagVec(*o[0], o[1]->diag()); },
             [](R, M m) -> RowMat { return m[0] + diagonalOf(m[1]); });
        addM("setSelfAddDiag", {s}, s, [](Matrix& t, O o) { t.setSelfAddDiag(*o[0]); },
             [](R self, M m) -> RowMat { return self + diagonalOf(m[0]); });
        addM("setDiag vector", {s}, s, [](Matrix& t, O o) { t.setDiag(o[0]->row(0)); },
             [](R, M m) -> RowMat { return m[0].row(0).asDiagonal(); });
        addM("setDiag matrix", {s}, s, [](Matrix& t, O o) { t.setDiag(static_cast<const VoMatrix&>(*o[0])); },
             [](R, M m) -> RowMat { return m[0].diagonal().asDiagonal(); });
        addM("setDiagSquared", {s}, s, [](Matrix& t, O o) { t.setDiagSquared(o[0]->row(0)); },
             [](R, M m) -> RowMat { return m[0].row(0).cwiseAbs2().asDiagonal(); });
        addM("setSymmetric", {s}, s, [](Matrix& t, O o) { t.setSymmetric(*o[0]); },
             [](R, M m) -> RowMat { return m[0].selfadjointView<Eigen::Upper>(); });
        addM("setSymmetric in place", {}, s, [](Matrix& t, O) { t.setSymmetric(); },
             [](R self, M) -> RowMat { return self.selfadjointView<Eigen::Upper>(); });
        addM("setSymmetricTriL", {s}, s, [](Matrix& t, O o) { t.setSymmetricTriL(*o[0]); },
             [](R, M m) -> RowMat { return m[0].selfadjointView<Eigen::Lower>(); });
        addM("setTransposeOfTriU", {s}, s, [](Matrix& t, O o) { t.setTransposeOfTriU(*o[0]); },
             [](R, M m) -> RowMat { return upper(m[0]).transpose(); });
        addM("setTriU", {s}, s, [](Matrix& t, O o) { t.setTriU(*o[0]); }, [](R, M m) { return upper(m[0]); });
        addM("setTriL k=1", {s}, s, [](Matrix& t, O o) { t.setTriL(*o[0], 1); }, [](R, M m) { return lower(m[0], 1); });
        addM("setSelfAddTriL", {s}, s, [](Matrix& t, O o) { t.setSelfAddTriL(*o[0]); },
             [](R self, M m) -> RowMat { return self + lower(m[0]); });
        addM("setTriLMulDiag", {s}, s, [](Matrix& t, O o) { t.setTriLMulDiag(*o[0], o[0]->row(0)); },
             [](R, M m) -> RowMat { return lower(m[0]) * m[0].row(0).asDiagonal(); });
        addM("setSelfAddTriLMulDiag", {s}, s, [](Matrix& t, O o) { t.setSelfAddTriLMulDiag(*o[0], o[0]->row(0)); },
             [](R self, M m) -> RowMat { return self + lower(m[0]) * m[0].row(0).asDiagonal(); });
        addM("setDiagMulDiag", {s, s}, s, [](Matrix& t, O o) { t.setDiagMulDiag(*o[0], *o[1]); },
             [](R, M m) -> RowMat { return m[0].diagonal().cwiseProduct(m[1].diagonal()).asDiagonal(); });
        addM("setSelfAddDiagMulDiag", {s, s}, s, [](Matrix& t, O o) { t.setSelfAddDiagMulDiag(*o[0], *o[1]); },
             [](R self, M m) -> RowMat { return self + RowMat(m[0].diagonal().cwiseProduct(m[1].diagonal()).asDiagonal()); });
        addM("setMatMulDiag", {s, s}, s, [](Matrix& t, O o) { t.setMatMulDiag(*o[0], *o[1]); },
             [](R, M m) -> RowMat { return m[0] * m[1].diagonal().asDiagonal(); });
        addM("setMatMulDiag vector", {s}, s, [](Matrix& t, O o) { t.setMatMulDiag(*o[0], o[0]->col(0)); },
             [](R, M m) -> RowMat { return m[0] * m[0].col(0).asDiagonal(); });
        addM("setSelfAddMatMulDiag", {s, s}, s, [](Matrix& t, O o) { t.setSelfAddMatMulDiag(*o[0], *o[1]); },
             [](R self, M m) -> RowMat { return self + m[0] * m[1].diagonal().asDiagonal(); });
        addM("setSelfAddMatMulDiag vector", {s}, s, [](Matrix& t, O o) { t.setSelfAddMatMulDiag(*o[0], o[0]->row(0)); },
             [](R self, M m) -> RowMat { return self + m[0] * m[0].row(0).asDiagonal(); });
        addM("setDiagMulMat", {s, s}, s, [](Matrix& t, O o) { t.setDiagMulMat(*o[0], *o[1]); },
             [](R, M m) -> RowMat { return m[0].diagonal().asDiagonal() * m[1]; });
        addM("setDiagMulMat vector", {s}, s, [](Matrix& t, O o) { t.setDiagMulMat(o[0]->col(0), *o[0]); },
             [](R, M m) -> RowMat { return m[0].col(0).asDiagonal() * m[0]; });
        addM("setSelfAddDiagMulMat", {s, s}, s, [](Matrix& t, O o) { t.setSelfAddDiagMulMat(*o[0], *o[1]); },
             [](R self, M m) -> RowMat { return self + m[0].diagonal().asDiagonal() * m[1]; });
        addM("setSelfAddDiagMulMat vector", {s}, s, [](Matrix& t, O o) { t.setSelfAddDiagMulMat(o[0]->col(0), *o[0]); },
             [](R self, M m) -> RowMat { return self + m[0].col(0).asDiagonal() * m[0]; });
        // The "Diagonal" forms write the diagonal only; the rest must stay as it was.
        addM("setMatMulMatDiagonal", {s, s}, s, [](Matrix& t, O o) { t.setMatMulMatDiagonal(*o[0], *o[1]); },
             [](R self, M m) { return withDiagonal(self, (m[0] * m[1]).diagonal()); });
        addM("setSelfMulMatDiagonal", {s}, s, [](Matrix& t, O o) { t.setSelfMulMatDiagonal(*o[0]); },
             [](R self, M m) { return withDiagonal(self, (self * m[0]).diagonal()); });
        addM("setMatEMulMatDiagonal", {s, s}, s, [](Matrix& t, O o) { t.setMatEMulMatDiagonal(*o[0], *o[1]); },
             [](R self, M m) { return withDiagonal(self, m[0].diagonal().cwiseProduct(m[1].diagonal())); });
        addM("setSqrtDiagonal", {s}, s, [](Matrix& t, O o) { Matrix a(*o[0]); a.setAbs(a); t.setSqrtDiagonal(a); },
             [](R self, M m) { return withDiagonal(self, m[0].diagonal().cwiseAbs().cwiseSqrt()); });
        addM("setABAtDiagonal", {s, s}, s, [](Matrix& t, O o) { t.setABAtDiagonal(*o[0], *o[1]); },
             [](R self, M m) { return withDiagonal(self, (m[0] * m[1] * m[0].transpose()).diagonal()); });
        addM("setABAt", {s, s}, s, [](Matrix& t, O o) { t.setABAt(*o[0], *o[1]); },
             [](R, M m) -> RowMat { return m[0] * m[1] * m[0].transpose(); });
        addM("setAtBA", {s, s}, s, [](Matrix& t, O o) { t.setAtBA(*o[0], *o[1]); },
             [](R, M m) -> RowMat { return m[0].transpose() * m[1] * m[0]; });
        addM("setABAtSymmetrical", {s, s}, s, 
             [](Matrix& t, O o) { Matrix b(*o[1]); b.setSymmetric(); t.setABAtSymmetrical(*o[0], b); },
             [](R, M m) -> RowMat { return m[0] * RowMat(m[1].selfadjointView<Eigen::Upper>()) * m[0].transpose(); });
        addM("setMatMulTransMatSymmetrical", {s}, s, [](Matrix& t, O o) { t.setMatMulTransMatSymmetrical(*o[0], *o[0]); },
             [](R, M m) -> RowMat { return m[0] * m[0].transpose(); });
        addM("setMatMulMatSymmetrical", {s}, s, 
             [](Matrix& t, O o) { Matrix at(o[0]->cols, o[0]->rows); at.setTransposeOf(*o[0]); t.setMatMulMatSymmetrical(*o[0], at); },
             [](R, M m) -> RowMat { return m[0] * m[0].transpose(); });
        addM("setTransMatMulMat(a)", {s}, s, [](Matrix& t, O o) { t.setTransMatMulMat(*o[0]); },
             [](R, M m) -> RowMat { return m[0].transpose() * m[0]; });
        addM("setMatMulMatTriL", {s, s}, s, [](Matrix& t, O o) { t.setMatMulMatTriL(*o[0], *o[1]); },
             [](R, M m) { return lower(m[0] * m[1]); });
        addM("setMatMulMatTriLSkip", {s, s}, s, [](Matrix& t, O o) { t.setMatMulMatTriLSkip(*o[0], *o[1], 2); },
             [](R self, M m) {
                 RowMat r = lower(m[0] * m[1]);
                 r.topRows(std::min<Index>(2, r.rows())) = self.topRows(std::min<Index>(2, r.rows()));
                 return r;
             });
        addM("setPermutation", {s}, s, [n](Matrix& t, O o) { t.setPermutation(*o[0], permutation(n)); }, [n](R, M m) {
            RowMat r = m[0];
            for (VoSize i = 0; i < n; ++i)
                r.row(Index(i)) = m[0].row(Index(permutation(n)[i]));
            return r;
        });
        addM("setCrossTerms", {s}, s, [](Matrix& t, O o) { t.setCrossTerms(o[0]->row(0)); },
             [](R, M m) -> RowMat { return m[0].row(0).transpose() * m[0].row(0); });
        addM("setMatMulVec one column", {s}, {n, 1}, [](Matrix& t, O o) { t.setMatMulVec(*o[0], o[0]->row(0)); },
             [](R, M m) -> RowMat { return m[0] * m[0].row(0).transpose(); });
        addM("setVecMulMat one row", {s}, {1, n}, [](Matrix& t, O o) { t.setVecMulMat(o[0]->col(0), *o[0]); },
             [](R, M m) -> RowMat { return m[0].col(0).transpose() * m[0]; });
        addM("setMatAddVec one column", {{n, 1}, {1, n}}, {n, 1}, [](Matrix& t, O o) { t.setMatAddVec(*o[0], o[1]->row(0)); },
             [](R, M m) -> RowMat { return m[0] + m[1].transpose(); });
        addM("setKronTransMatMulMat", {{n, 2}, {2, 3}}, {4, n * 3}, [](Matrix& t, O o) { t.setKronTransMatMulMat(*o[0], *o[1]); },
             [](R, M m) { return kron(m[0].transpose(), m[1]); });
        addM("setKronHorVecMulIdMulMat", {{1, n}, {n * 3, 4}}, {3, 4},
             [](Matrix& t, O o) { t.setKronHorVecMulIdMulMat(o[0]->row(0), *o[1]); },
             [](R, M m) -> RowMat { return kron(m[0], eye(3)) * m[1]; });
    }

    // Products over shapes that cover thin operands and both kernels.
    const MatRef product = [](R, M m) -> RowMat { return m[0] * m[1]; };
    const MatRef productTransposed = [](R, M m) -> RowMat { return m[0] * m[1].transpose(); };
    const VoSize dims[][3] = {{1, 1, 1},    {1, 9, 1},    {7, 1, 5},       {5, 7, 3},       {4, 6, 20},
                              {23, 17, 31}, {1, 40, 300}, {300, 270, 290}, {259, 259, 259}, {300, 100, 280}};
    for (const auto& d : dims) {
        const VoSize rows = d[0], inner = d[1], cols = d[2];
        m_tag = QString(" %1x%2x%3").arg(rows).arg(inner).arg(cols);
        const Shape a{rows, inner}, b{inner, cols}, bt{cols, inner}, r{rows, cols};
        addM("setMatMulMat", {a, b}, r, [](Matrix& t, O o) { t.setMatMulMat(*o[0], *o[1]); }, product);
        addM("setMatMulMatTrivial", {a, b}, r, [](Matrix& t, O o) { t.setMatMulMatTrivial(*o[0], *o[1]); }, product);
        addM("setMatMulMatBlocked", {a, b}, r, [](Matrix& t, O o) { t.setMatMulMatBlocked(*o[0], *o[1]); }, product);
        addM("setMatMulTransMat", {a, bt}, r, [](Matrix& t, O o) { t.setMatMulTransMat(*o[0], *o[1]); }, productTransposed);
        addM("setMatMulTransMatBlocked", {a, bt}, r, [](Matrix& t, O o) { t.setMatMulTransMatBlocked(*o[0], *o[1]); }, productTransposed);
        if (rows * inner * cols > 1000000)
            continue;
        addM("setTransMatMulMat", {{inner, rows}, b}, r, [](Matrix& t, O o) { t.setTransMatMulMat(*o[0], *o[1]); },
             [](R, M m) -> RowMat { return m[0].transpose() * m[1]; });
        addM("setScaMulMatMulMat", {a, b}, r, [](Matrix& t, O o) { t.setScaMulMatMulMat(-0.5, *o[0], *o[1]); },
             [](R, M m) -> RowMat { return -0.5 * m[0] * m[1]; });
        addM("setSelfAddScaMulMatMulMat", {a, b}, r, [](Matrix& t, O o) { t.setSelfAddScaMulMatMulMat(3.0, *o[0], *o[1]); },
             [](R self, M m) -> RowMat { return self + 3.0 * m[0] * m[1]; });
        addM("setMatMulMatMulMat", {a, b, {cols, 3}}, {rows, 3}, [](Matrix& t, O o) { t.setMatMulMatMulMat(*o[0], *o[1], *o[2]); },
             [](R, M m) -> RowMat { return m[0] * m[1] * m[2]; });
        addM("setKronMatMulMat", {{rows, 2}, {3, cols}}, {rows * 3, 2 * cols},
             [](Matrix& t, O o) { t.setKronMatMulMat(*o[0], *o[1]); }, [](R, M m) { return kron(m[0], m[1]); });
        addM("setKronMatMulIdMulMat", {a, {inner * 2, cols}}, {rows * 2, cols},
             [](Matrix& t, O o) { t.setKronMatMulIdMulMat(*o[0], *o[1]); },
             [](R, M m) -> RowMat { return kron(m[0], eye(2)) * m[1]; });
        addM("setKronIdMulMatMulMat", {a, {inner * 3, cols}}, {rows * 3, cols},
             [](Matrix& t, O o) { t.setKronIdMulMatMulMat(*o[0], *o[1]); },
             [](R, M m) -> RowMat { return kron(eye(3), m[0]) * m[1]; });
    }
}

void TestMatrixArith::vectorCases()
{
    for (const VoSize n : {VoSize(1), VoSize(3), VoSize(37)}) {
        m_tag = QString(" n=%1").arg(n);
        addV("setVecAddVec", {}, {n, n}, n, [](Vector& t, O, VO v) { t.setVecAddVec(*v[0], *v[1]); },
             [](CV, M, VS v) -> Vec { return v[0] + v[1]; });
        addV("setVecSubVec", {}, {n, n}, n, [](Vector& t, O, VO v) { t.setVecSubVec(*v[0], *v[1]); },
             [](CV, M, VS v) -> Vec { return v[0] - v[1]; });
        addV("setVecAddVecAddVec", {}, {n, n, n}, n, [](Vector& t, O, VO v) { t.setVecAddVecAddVec(*v[0], *v[1], *v[2]); },
             [](CV, M, VS v) -> Vec { return v[0] + v[1] + v[2]; });
        addV("setVecAddVecSubVec", {}, {n, n, n}, n, [](Vector& t, O, VO v) { t.setVecAddVecSubVec(*v[0], *v[1], *v[2]); },
             [](CV, M, VS v) -> Vec { return v[0] + v[1] - v[2]; });
        addV("setVecAddVecMulSca", {}, {n, n}, n, [](Vector& t, O, VO v) { t.setVecAddVecMulSca(*v[0], *v[1], 0.25); },
             [](CV, M, VS v) -> Vec { return v[0] + 0.25 * v[1]; });
        addV("setVecAddScaMulVec", {}, {n, n}, n, [](Vector& t, O, VO v) { t.setVecAddScaMulVec(*v[0], -4.0, *v[1]); },
             [](CV, M, VS v) -> Vec { return v[0] - 4.0 * v[1]; });
        addV("setVecAddScaMulVecAddScaMulVec", {}, {n, n, n}, n,
             [](Vector& t, O, VO v) { t.setVecAddScaMulVecAddScaMulVec(*v[0], 2.0, *v[1], 3.0, *v[2]); },
             [](CV, M, VS v) -> Vec { return v[0] + 2.0 * v[1] + 3.0 * v[2]; });
        addV("setScaMulVecAddScaMulVec", {}, {n, n}, n,
             [](Vector& t, O, VO v) { t.setScaMulVecAddScaMulVec(2.0, *v[0], 3.0, *v[1]); },
             [](CV, M, VS v) -> Vec { return 2.0 * v[0] + 3.0 * v[1]; });
        addV("setScaMulVec", {}, {n}, n, [](Vector& t, O, VO v) { t.setScaMulVec(1.5, *v[0]); },
             [](CV, M, VS v) -> Vec { return 1.5 * v[0]; });
        addV("setScaDivVec", {}, {n}, n, [](Vector& t, O, VO v) { t.setScaDivVec(1.5, *v[0]); },
             [](CV, M, VS v) -> Vec { return 1.5 * v[0].cwiseInverse(); });
        addV("setVecEMulVec", {}, {n, n}, n, [](Vector& t, O, VO v) { t.setVecEMulVec(*v[0], *v[1]); },
             [](CV, M, VS v) -> Vec { return v[0].cwiseProduct(v[1]); });
        addV("setVecEDivVec", {}, {n, n}, n, [](Vector& t, O, VO v) { t.setVecEDivVec(*v[0], *v[1]); },
             [](CV, M, VS v) -> Vec { return v[0].cwiseQuotient(v[1]); });
        addV("setNegVec", {}, {n}, n, [](Vector& t, O, VO v) { t.setNegVec(*v[0]); }, [](CV, M, VS v) -> Vec { return -v[0]; });
        addV("setAbs", {}, {n}, n, [](Vector& t, O, VO v) { t.setAbs(*v[0]); }, [](CV, M, VS v) -> Vec { return v[0].cwiseAbs(); });
        addV("setSqrt", {}, {n}, n, [](Vector& t, O, VO v) { t.setAbs(*v[0]); t.setSqrt(t); },
             [](CV, M, VS v) -> Vec { return v[0].cwiseAbs().cwiseSqrt(); });
        addV("setMax", {}, {n, n}, n, [](Vector& t, O, VO v) { t.setMax(*v[0], *v[1]); },
             [](CV, M, VS v) -> Vec { return v[0].cwiseMax(v[1]); });
        addV("setMin", {}, {n, n}, n, [](Vector& t, O, VO v) { t.setMin(*v[0], *v[1]); },
             [](CV, M, VS v) -> Vec { return v[0].cwiseMin(v[1]); });
        addV("setClamped scalars", {}, {n}, n, [](Vector& t, O, VO v) { t.setClamped(*v[0], -1.0, 1.0); },
             [](CV, M, VS v) -> Vec { return v[0].cwiseMax(-1.0).cwiseMin(1.0); });
        addV("setClamped vectors", {}, {n, n, n}, n,
             [](Vector& t, O, VO v) {
                 Vector lo(v[1]->size), hi(v[1]->size);
                 lo.setMin(*v[1], *v[2]);
                 hi.setMax(*v[1], *v[2]);
                 t.setClamped(*v[0], lo, hi);
             },
             [](CV, M, VS v) -> Vec { return v[0].cwiseMax(v[1].cwiseMin(v[2])).cwiseMin(v[1].cwiseMax(v[2])); });
        addV("setInterpolated", {}, {n, n}, n, [](Vector& t, O, VO v) { t.setInterpolated(0.25, *v[0], *v[1]); },
             [](CV, M, VS v) -> Vec { return 0.25 * v[0] + 0.75 * v[1]; });

        // Matrix-vector products with rows = n + 2 and n columns.
        const VoSize rows = n + 2;
        const Shape mn{rows, n}, nm{n, rows}, nn{n, n};
        addV("setMatMulVec", {mn}, {n}, rows, [](Vector& t, O o, VO v) { t.setMatMulVec(*o[0], *v[0]); },
             [](CV, M m, VS v) -> Vec { return m[0] * v[0]; });
        addV("setTransMatMulVec", {mn}, {rows}, n, [](Vector& t, O o, VO v) { t.setTransMatMulVec(*o[0], *v[0]); },
             [](CV, M m, VS v) -> Vec { return m[0].transpose() * v[0]; });
        addV("setVecMulMat", {mn}, {rows}, n, [](Vector& t, O o, VO v) { t.setVecMulMat(*v[0], *o[0]); },
             [](CV, M m, VS v) -> Vec { return m[0].transpose() * v[0]; });
        addV("setTriLMulVec", {nn}, {n}, n, [](Vector& t, O o, VO v) { t.setTriLMulVec(*o[0], *v[0]); },
             [](CV, M m, VS v) -> Vec { return lower(m[0]) * v[0]; });
        addV("setMatMulVecMulSca", {mn}, {n}, rows, [](Vector& t, O o, VO v) { t.setMatMulVecMulSca(*o[0], *v[0], 0.5); },
             [](CV, M m, VS v) -> Vec { return 0.5 * (m[0] * v[0]); });
        addV("setScaMulMatMulVecAddVec", {mn}, {n, rows}, rows,
             [](Vector& t, O o, VO v) { t.setScaMulMatMulVecAddVec(2.0, *o[0], *v[0], *v[1]); },
             [](CV, M m, VS v) -> Vec { return 2.0 * (m[0] * v[0]) + v[1]; });
        addV("setMatMulVecAddVecMulSca", {mn}, {n, rows}, rows,
             [](Vector& t, O o, VO v) { t.setMatMulVecAddVecMulSca(*o[0], *v[0], *v[1], -3.0); },
             [](CV, M m, VS v) -> Vec { return m[0] * v[0] - 3.0 * v[1]; });
        addV("setSelfAddScaMulMatMulVec", {mn}, {n}, rows,
             [](Vector& t, O o, VO v) { t.setSelfAddScaMulMatMulVec(0.5, *o[0], *v[0]); },
             [](CV self, M m, VS v) -> Vec { return self + 0.5 * (m[0] * v[0]); });
        addV("setLeftDivideTriU", {nn}, {n}, n, [](Vector& t, O o, VO v) { t.setLeftDivideTriU(boosted(*o[0]), *v[0]); },
             [](CV, M m, VS v) -> Vec { return boosted(m[0]).triangularView<Eigen::Upper>().solve(v[0]); });
        addV("setLeftDivideTriL", {nn}, {n}, n, [](Vector& t, O o, VO v) { t.setLeftDivideTriL(boosted(*o[0]), *v[0]); },
             [](CV, M m, VS v) -> Vec { return boosted(m[0]).triangularView<Eigen::Lower>().solve(v[0]); });
        addV("setLeftDivideDiag", {nn}, {n}, n, [](Vector& t, O o, VO v) { t.setLeftDivideDiag(*o[0], *v[0]); },
             [](CV, M m, VS v) -> Vec { return v[0].cwiseQuotient(m[0].diagonal()); });
        addV("setSumSquaresMat", {mn}, {}, n, [](Vector& t, O o, VO) { t.setSumSquaresMat(*o[0]); },
             [](CV, M m, VS) -> Vec { return m[0].cwiseAbs2().colwise().sum().transpose(); });
        addV("setNormOfRows", {mn}, {}, rows, [](Vector& t, O o, VO) { t.setNormOfRows(*o[0]); },
             [](CV, M m, VS) -> Vec { return m[0].rowwise().norm(); });
        addV("setDiagMatMulMat", {mn, nm}, {}, rows, [](Vector& t, O o, VO) { t.setDiagMatMulMat(*o[0], *o[1]); },
             [](CV, M m, VS) -> Vec { return RowMat(m[0] * m[1]).diagonal(); });
        addV("setDiagMatMulTransMat", {mn, mn}, {}, rows, [](Vector& t, O o, VO) { t.setDiagMatMulTransMat(*o[0], *o[1]); },
             [](CV, M m, VS) -> Vec { return RowMat(m[0] * m[1].transpose()).diagonal(); });
        addV("setMatCol", {mn}, {}, rows, [](Vector& t, O o, VO) { t.setMatCol(*o[0], o[0]->cols - 1); },
             [](CV, M m, VS) -> Vec { return m[0].col(m[0].cols() - 1); });
        addV("setMatRow", {mn}, {}, n, [](Vector& t, O o, VO) { t.setMatRow(*o[0], 1); },
             [](CV, M m, VS) -> Vec { return m[0].row(1).transpose(); });
        addV("setDiag", {mn}, {}, n, [](Vector& t, O o, VO) { t.setDiag(*o[0]); }, [](CV, M m, VS) -> Vec { return m[0].diagonal(); });
    }
}

void TestMatrixArith::productDispatchBoundary_data()
{
    QTest::addColumn<int>("m");
    QTest::addColumn<int>("k");
    QTest::addColumn<int>("n");
    QTest::addColumn<bool>("blocked");
    QTest::newRow("all 258: trivial") << 258 << 258 << 258 << false;
    QTest::newRow("inner 258: trivial") << 300 << 258 << 300 << false;
    QTest::newRow("rows 258: trivial") << 258 << 300 << 300 << false;
    QTest::newRow("all 259: blocked") << 259 << 259 << 259 << true;
}

void TestMatrixArith::productDispatchBoundary()
{
    // The two kernels sum in different orders, so their last bits tell which one ran.
    QFETCH(int, m);
    QFETCH(int, k);
    QFETCH(int, n);
    QFETCH(bool, blocked);
    std::mt19937_64 rng(99);
    Operand a(VoSize(m), VoSize(k), false, rng), b(VoSize(k), VoSize(n), false, rng);
    Matrix viaDispatch(m, n), trivial(m, n), blockedResult(m, n);
    viaDispatch.setMatMulMat(a.view, b.view);
    trivial.setMatMulMatTrivial(a.view, b.view);
    blockedResult.setMatMulMatBlocked(a.view, b.view);
    QVERIFY(trivial != blockedResult);
    QCOMPARE(viaDispatch == blockedResult, blocked);
    QCOMPARE(viaDispatch == trivial, !blocked);
}

QTEST_APPLESS_MAIN(TestMatrixArith)
#include "tst_matrixarith.moc"
