// The arithmetic family checked against Eigen on random operands, including
// strided views, one-row and one-column shapes and sizes that take the blocked
// product kernels.

#include "velo_matrix.h"

#include <Eigen/Dense>
#include <QtTest>

#include <functional>
#include <random>
#include <vector>

using velo::Matrix;
using velo::Vector;

namespace {

using RowMat = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
using ConstMap = Eigen::Map<const RowMat, 0, Eigen::OuterStride<>>;
using Vec = Eigen::VectorXd;

ConstMap map(const VoMatrix& m)
{
    return ConstMap(m.data, Eigen::Index(m.rows), Eigen::Index(m.cols), Eigen::OuterStride<>(Eigen::Index(m.stride)));
}

Eigen::Map<const Vec> map(const VoVector& v)
{
    return Eigen::Map<const Vec>(v.data, Eigen::Index(v.size));
}

const double Sentinel = -12345.678;

// A random matrix, optionally a view into a larger buffer whose padding holds a
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
        for (VoSize i = 0; i < storage.rows * storage.cols; ++i)
            storage.data[i] = Sentinel;
        if (strided) {
            view = Matrix(rows, cols, storage.stride, &storage(1, 2), VO_DATA_VIEW);
        } else {
            view = Matrix(rows, cols);
        }
        for (VoSize r = 0; r < rows; ++r)
            for (VoSize c = 0; c < cols; ++c)
                view(r, c) = negative(rng) ? -dist(rng) : dist(rng);
    }

    bool paddingIntact() const
    {
        for (VoSize r = 0; r < storage.rows; ++r)
            for (VoSize c = 0; c < storage.cols; ++c) {
                const bool inside = view.data == &storage(1, 2) && r >= 1 && r < view.rows + 1 && c >= 2
                                 && c < view.cols + 2;
                if (!inside && view.data == &storage(1, 2) && storage(r, c) != Sentinel)
                    return false;
            }
        return true;
    }
};

struct Shape
{
    VoSize rows;
    VoSize cols;
};

struct MatrixCase
{
    std::vector<Shape> operands;
    Shape result;
    // The target starts as a copy of this operand (for the accumulating forms), or random.
    int initialFrom;
    std::function<void(Matrix&, const std::vector<const Matrix*>&)> velo;
    std::function<RowMat(const RowMat&, const std::vector<RowMat>&)> eigen;
};

struct VectorCase
{
    std::vector<Shape> matrices;
    std::vector<VoSize> vectors;
    VoSize result;
    std::function<void(Vector&, const std::vector<const Matrix*>&, const std::vector<const Vector*>&)> velo;
    std::function<Vec(const Vec&, const std::vector<RowMat>&, const std::vector<Vec>&)> eigen;
};

double relativeError(const RowMat& actual, const RowMat& expected)
{
    const double scale = std::max(1.0, expected.cwiseAbs().maxCoeff());
    return (actual - expected).cwiseAbs().maxCoeff() / scale;
}

} // namespace

class TestMatrixArith : public QObject
{
    Q_OBJECT

private slots:
    void matrixOperations_data();
    void matrixOperations();
    void vectorOperations_data();
    void vectorOperations();
    void productDispatchBoundary_data();
    void productDispatchBoundary();

private:
    void addMatrixCase(const QString& name, MatrixCase c);
    void addVectorCase(const QString& name, VectorCase c);
    std::vector<MatrixCase> m_matrixCases;
    std::vector<VectorCase> m_vectorCases;
};

void TestMatrixArith::addMatrixCase(const QString& name, MatrixCase c)
{
    m_matrixCases.push_back(std::move(c));
    const int index = int(m_matrixCases.size() - 1);
    QTest::newRow(qPrintable(name + " dense")) << index << false;
    QTest::newRow(qPrintable(name + " strided")) << index << true;
}

void TestMatrixArith::addVectorCase(const QString& name, VectorCase c)
{
    m_vectorCases.push_back(std::move(c));
    QTest::newRow(qPrintable(name)) << int(m_vectorCases.size() - 1) << false;
    QTest::newRow(qPrintable(name + " strided")) << int(m_vectorCases.size() - 1) << true;
}

using Ops = std::vector<const Matrix*>;
using Mats = std::vector<RowMat>;

void TestMatrixArith::matrixOperations_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<bool>("strided");
    m_matrixCases.clear();

    // Element-wise family over several shapes, one-row and one-column included.
    const Shape shapes[] = {{3, 4}, {1, 7}, {6, 1}, {17, 19}};
    for (const Shape s : shapes) {
        const QString tag = QString("%1x%2").arg(s.rows).arg(s.cols);
        const std::vector<Shape> two{s, s}, three{s, s, s}, four{s, s, s, s};
        addMatrixCase("setMatAddMat " + tag, {two, s, -1, [](Matrix& t, const Ops& o) { t.setMatAddMat(*o[0], *o[1]); },
                                               [](const RowMat&, const Mats& m) -> RowMat { return m[0] + m[1]; }});
        addMatrixCase("setMatSubMat " + tag, {two, s, -1, [](Matrix& t, const Ops& o) { t.setMatSubMat(*o[0], *o[1]); },
                                               [](const RowMat&, const Mats& m) -> RowMat { return m[0] - m[1]; }});
        addMatrixCase("setMatAddMatAddMatSubMat " + tag,
                      {four, s, -1, [](Matrix& t, const Ops& o) { t.setMatAddMatAddMatSubMat(*o[0], *o[1], *o[2], *o[3]); },
                       [](const RowMat&, const Mats& m) -> RowMat { return m[0] + m[1] + m[2] - m[3]; }});
        addMatrixCase("setMatAddScaMulMat " + tag,
                      {two, s, -1, [](Matrix& t, const Ops& o) { t.setMatAddScaMulMat(*o[0], 0.3, *o[1]); },
                       [](const RowMat&, const Mats& m) -> RowMat { return m[0] + 0.3 * m[1]; }});
        addMatrixCase("setMatAddScaMulMatAddScaMulMat " + tag,
                      {three, s, -1,
                       [](Matrix& t, const Ops& o) { t.setMatAddScaMulMatAddScaMulMat(*o[0], 0.3, *o[1], -2.0, *o[2]); },
                       [](const RowMat&, const Mats& m) -> RowMat { return m[0] + 0.3 * m[1] - 2.0 * m[2]; }});
        addMatrixCase("setScaMulMatAddScaMulMat " + tag,
                      {two, s, -1, [](Matrix& t, const Ops& o) { t.setScaMulMatAddScaMulMat(1.5, *o[0], -0.25, *o[1]); },
                       [](const RowMat&, const Mats& m) -> RowMat { return 1.5 * m[0] - 0.25 * m[1]; }});
        addMatrixCase("setScaMulMat " + tag, {{s}, s, -1, [](Matrix& t, const Ops& o) { t.setScaMulMat(-3.0, *o[0]); },
                                               [](const RowMat&, const Mats& m) -> RowMat { return -3.0 * m[0]; }});
        addMatrixCase("setSelfAddScaMulMat " + tag,
                      {two, s, 1, [](Matrix& t, const Ops& o) { t.setSelfAddScaMulMat(0.5, *o[0]); },
                       [](const RowMat& self, const Mats& m) -> RowMat { return self + 0.5 * m[0]; }});
        addMatrixCase("setMatEMulMat " + tag, {two, s, -1, [](Matrix& t, const Ops& o) { t.setMatEMulMat(*o[0], *o[1]); },
                                                [](const RowMat&, const Mats& m) -> RowMat { return m[0].cwiseProduct(m[1]); }});
        addMatrixCase("setMatEDivMat " + tag, {two, s, -1, [](Matrix& t, const Ops& o) { t.setMatEDivMat(*o[0], *o[1]); },
                                                [](const RowMat&, const Mats& m) -> RowMat { return m[0].cwiseQuotient(m[1]); }});
        addMatrixCase("setScaMulMatEMulMat " + tag,
                      {two, s, -1, [](Matrix& t, const Ops& o) { t.setScaMulMatEMulMat(2.0, *o[0], *o[1]); },
                       [](const RowMat&, const Mats& m) -> RowMat { return 2.0 * m[0].cwiseProduct(m[1]); }});
        addMatrixCase("setAbs " + tag, {{s}, s, -1, [](Matrix& t, const Ops& o) { t.setAbs(*o[0]); },
                                         [](const RowMat&, const Mats& m) -> RowMat { return m[0].cwiseAbs(); }});
        addMatrixCase("setMin " + tag, {two, s, -1, [](Matrix& t, const Ops& o) { t.setMin(*o[0], *o[1]); },
                                         [](const RowMat&, const Mats& m) -> RowMat { return m[0].cwiseMin(m[1]); }});
        addMatrixCase("setTransposeOf " + tag,
                      {{s}, {s.cols, s.rows}, -1, [](Matrix& t, const Ops& o) { t.setTransposeOf(*o[0]); },
                       [](const RowMat&, const Mats& m) -> RowMat { return m[0].transpose(); }});
        addMatrixCase("setTriU k=1 " + tag,
                      {{s}, s, -1, [](Matrix& t, const Ops& o) { t.setTriU(*o[0], 1); },
                       [](const RowMat&, const Mats& m) -> RowMat { return m[0].triangularView<Eigen::StrictlyUpper>(); }});
        addMatrixCase("setTriL " + tag, {{s}, s, -1, [](Matrix& t, const Ops& o) { t.setTriL(*o[0]); },
                                          [](const RowMat&, const Mats& m) -> RowMat { return m[0].triangularView<Eigen::Lower>(); }});
        addMatrixCase("setSelfAddTriL k=-1 " + tag,
                      {two, s, 1, [](Matrix& t, const Ops& o) { t.setSelfAddTriL(*o[0], -1); },
                       [](const RowMat& self, const Mats& m) -> RowMat {
                           return self + RowMat(m[0].triangularView<Eigen::StrictlyLower>());
                       }});
        addMatrixCase("setVecMulVec " + tag,
                      {{}, s, -1,
                       [s](Matrix& t, const Ops&) {
                           Vector a = Vector::constructRange(1.0, 0.5, 0.5 * double(s.rows + 1));
                           Vector b = Vector::constructRange(-2.0, 0.25, -2.0 + 0.25 * double(s.cols - 1));
                           t.setVecMulVec(a, b);
                       },
                       [s](const RowMat&, const Mats&) -> RowMat {
                           Vec a = Vec::LinSpaced(Eigen::Index(s.rows), 1.0, 0.5 * double(s.rows + 1));
                           Vec b = Vec::LinSpaced(Eigen::Index(s.cols), -2.0, -2.0 + 0.25 * double(s.cols - 1));
                           return a * b.transpose();
                       }});
    }

    // Square-only members.
    for (const VoSize n : {VoSize(1), VoSize(4), VoSize(13)}) {
        const Shape s{n, n};
        const QString tag = QString("%1x%1").arg(n);
        addMatrixCase("setMatAddTransMatMulSca " + tag,
                      {{s, s}, s, -1, [](Matrix& t, const Ops& o) { t.setMatAddTransMatMulSca(*o[0], *o[1], 0.7); },
                       [](const RowMat&, const Mats& m) -> RowMat { return m[0] + 0.7 * m[1].transpose(); }});
        addMatrixCase("setMatAddIdentity " + tag,
                      {{s}, s, -1, [](Matrix& t, const Ops& o) { t.setMatAddIdentity(*o[0], 2.5); },
                       [n](const RowMat&, const Mats& m) -> RowMat { return m[0] + 2.5 * RowMat::Identity(n, n); }});
        addMatrixCase("setMatAddMatDiagonal " + tag,
                      {{s, s}, s, -1, [](Matrix& t, const Ops& o) { t.setMatAddMatDiagonal(*o[0], *o[1]); },
                       [](const RowMat&, const Mats& m) -> RowMat { return m[0] + RowMat(m[1].diagonal().asDiagonal()); }});
        addMatrixCase("setSymmetric " + tag, {{s}, s, -1, [](Matrix& t, const Ops& o) { t.setSymmetric(*o[0]); },
                                               [](const RowMat&, const Mats& m) -> RowMat {
                                                   return m[0].selfadjointView<Eigen::Upper>();
                                               }});
        addMatrixCase("setSymmetricTriL " + tag, {{s}, s, -1, [](Matrix& t, const Ops& o) { t.setSymmetricTriL(*o[0]); },
                                                   [](const RowMat&, const Mats& m) -> RowMat {
                                                       return m[0].selfadjointView<Eigen::Lower>();
                                                   }});
        addMatrixCase("setTransposeOfTriU " + tag,
                      {{s}, s, -1, [](Matrix& t, const Ops& o) { t.setTransposeOfTriU(*o[0]); },
                       [](const RowMat&, const Mats& m) -> RowMat { return RowMat(m[0].triangularView<Eigen::Upper>()).transpose(); }});
        addMatrixCase("setDiagMulDiag " + tag, {{s, s}, s, -1, [](Matrix& t, const Ops& o) { t.setDiagMulDiag(*o[0], *o[1]); },
                                                 [](const RowMat&, const Mats& m) -> RowMat {
                                                     return RowMat(m[0].diagonal().cwiseProduct(m[1].diagonal()).asDiagonal());
                                                 }});
        addMatrixCase("setMatMulDiag " + tag, {{s, s}, s, -1, [](Matrix& t, const Ops& o) { t.setMatMulDiag(*o[0], *o[1]); },
                                                [](const RowMat&, const Mats& m) -> RowMat { return m[0] * m[1].diagonal().asDiagonal(); }});
        addMatrixCase("setDiagMulMat " + tag, {{s, s}, s, -1, [](Matrix& t, const Ops& o) { t.setDiagMulMat(*o[0], *o[1]); },
                                                [](const RowMat&, const Mats& m) -> RowMat { return m[0].diagonal().asDiagonal() * m[1]; }});
        addMatrixCase("setSelfAddDiagMulMat " + tag,
                      {{s, s, s}, s, 2, [](Matrix& t, const Ops& o) { t.setSelfAddDiagMulMat(*o[0], *o[1]); },
                       [](const RowMat& self, const Mats& m) -> RowMat { return self + m[0].diagonal().asDiagonal() * m[1]; }});
        addMatrixCase("setABAt " + tag, {{s, s}, s, -1, [](Matrix& t, const Ops& o) { t.setABAt(*o[0], *o[1]); },
                                          [](const RowMat&, const Mats& m) -> RowMat { return m[0] * m[1] * m[0].transpose(); }});
        addMatrixCase("setAtBA " + tag, {{s, s}, s, -1, [](Matrix& t, const Ops& o) { t.setAtBA(*o[0], *o[1]); },
                                          [](const RowMat&, const Mats& m) -> RowMat { return m[0].transpose() * m[1] * m[0]; }});
        addMatrixCase("setABAtSymmetrical " + tag,
                      {{s, s}, s, -1,
                       [](Matrix& t, const Ops& o) {
                           Matrix sym(*o[1]);
                           sym.setSymmetric();
                           t.setABAtSymmetrical(*o[0], sym);
                       },
                       [](const RowMat&, const Mats& m) -> RowMat {
                           const RowMat sym = m[1].selfadjointView<Eigen::Upper>();
                           return m[0] * sym * m[0].transpose();
                       }});
        addMatrixCase("setMatMulTransMatSymmetrical " + tag,
                      {{s}, s, -1, [](Matrix& t, const Ops& o) { t.setMatMulTransMatSymmetrical(*o[0], *o[0]); },
                       [](const RowMat&, const Mats& m) -> RowMat { return m[0] * m[0].transpose(); }});
        addMatrixCase("setMatMulMatSymmetrical " + tag,
                      {{s}, s, -1,
                       [](Matrix& t, const Ops& o) {
                           Matrix at(o[0]->cols, o[0]->rows);
                           at.setTransposeOf(*o[0]);
                           t.setMatMulMatSymmetrical(*o[0], at);
                       },
                       [](const RowMat&, const Mats& m) -> RowMat { return m[0] * m[0].transpose(); }});
        addMatrixCase("setMatMulMatTriL " + tag, {{s, s}, s, -1, [](Matrix& t, const Ops& o) { t.setMatMulMatTriL(*o[0], *o[1]); },
                                                   [](const RowMat&, const Mats& m) -> RowMat {
                                                       return RowMat(m[0] * m[1]).triangularView<Eigen::Lower>();
                                                   }});
    }

    // Diagonal, triangular and structured members on square operands; the
    // "Diagonal" forms write the diagonal only, so the rest must stay as it was.
    for (const VoSize n : {VoSize(1), VoSize(5), VoSize(16)}) {
        const Shape s{n, n};
        const QString tag = QString("%1x%1").arg(n);
        auto keepOffDiagonal = [](const RowMat& self, const Vec& diagonal) -> RowMat {
            RowMat r = self;
            r.diagonal() = diagonal;
            return r;
        };
        addMatrixCase("setMatAddDiagVec " + tag,
                      {{s, s}, s, -1, [](Matrix& t, const Ops& o) { t.setMatAddDiagVec(*o[0], o[1]->diag()); },
                       [](const RowMat&, const Mats& m) -> RowMat { return m[0] + RowMat(m[1].diagonal().asDiagonal()); }});
        addMatrixCase("setIdentity " + tag, {{}, s, -1, [](Matrix& t, const Ops&) { t.setIdentity(-2.0); },
                                              [n](const RowMat&, const Mats&) -> RowMat { return -2.0 * RowMat::Identity(n, n); }});
        addMatrixCase("setDiag vector " + tag, {{s}, s, -1, [](Matrix& t, const Ops& o) { t.setDiag(o[0]->row(0)); },
                                                 [](const RowMat&, const Mats& m) -> RowMat { return RowMat(m[0].row(0).asDiagonal()); }});
        addMatrixCase("setDiag matrix " + tag, {{s}, s, -1, [](Matrix& t, const Ops& o) { t.setDiag(static_cast<const VoMatrix&>(*o[0])); },
                                                 [](const RowMat&, const Mats& m) -> RowMat { return RowMat(m[0].diagonal().asDiagonal()); }});
        addMatrixCase("setDiagSquared " + tag, {{s}, s, -1, [](Matrix& t, const Ops& o) { t.setDiagSquared(o[0]->row(0)); },
                                                 [](const RowMat&, const Mats& m) -> RowMat {
                                                     return RowMat(m[0].row(0).cwiseAbs2().asDiagonal());
                                                 }});
        addMatrixCase("setSelfAddDiag " + tag, {{s, s}, s, 1, [](Matrix& t, const Ops& o) { t.setSelfAddDiag(*o[0]); },
                                                 [](const RowMat& self, const Mats& m) -> RowMat {
                                                     return self + RowMat(m[0].diagonal().asDiagonal());
                                                 }});
        addMatrixCase("setMatMulMatDiagonal " + tag,
                      {{s, s}, s, -1, [](Matrix& t, const Ops& o) { t.setMatMulMatDiagonal(*o[0], *o[1]); },
                       [keepOffDiagonal](const RowMat& self, const Mats& m) { return keepOffDiagonal(self, (m[0] * m[1]).diagonal()); }});
        addMatrixCase("setSelfMulMatDiagonal " + tag,
                      {{s, s}, s, 1, [](Matrix& t, const Ops& o) { t.setSelfMulMatDiagonal(*o[0]); },
                       [keepOffDiagonal](const RowMat& self, const Mats& m) { return keepOffDiagonal(self, (self * m[0]).diagonal()); }});
        addMatrixCase("setMatEMulMatDiagonal " + tag,
                      {{s, s}, s, -1, [](Matrix& t, const Ops& o) { t.setMatEMulMatDiagonal(*o[0], *o[1]); },
                       [keepOffDiagonal](const RowMat& self, const Mats& m) {
                           return keepOffDiagonal(self, m[0].diagonal().cwiseProduct(m[1].diagonal()));
                       }});
        addMatrixCase("setSqrtDiagonal " + tag,
                      {{s}, s, -1,
                       [](Matrix& t, const Ops& o) {
                           Matrix a(*o[0]);
                           a.setAbs(a);
                           t.setSqrtDiagonal(a);
                       },
                       [keepOffDiagonal](const RowMat& self, const Mats& m) {
                           return keepOffDiagonal(self, m[0].diagonal().cwiseAbs().cwiseSqrt());
                       }});
        addMatrixCase("setSqrt " + tag,
                      {{s}, s, -1,
                       [](Matrix& t, const Ops& o) {
                           Matrix a(*o[0]);
                           a.setAbs(a);
                           t.setSqrt(a);
                       },
                       [](const RowMat&, const Mats& m) -> RowMat { return m[0].cwiseAbs().cwiseSqrt(); }});
        addMatrixCase("setABAtDiagonal " + tag,
                      {{s, s}, s, -1, [](Matrix& t, const Ops& o) { t.setABAtDiagonal(*o[0], *o[1]); },
                       [keepOffDiagonal](const RowMat& self, const Mats& m) {
                           return keepOffDiagonal(self, (m[0] * m[1] * m[0].transpose()).diagonal());
                       }});
        addMatrixCase("setTransMatMulMat(a) " + tag, {{s}, s, -1, [](Matrix& t, const Ops& o) { t.setTransMatMulMat(*o[0]); },
                                                       [](const RowMat&, const Mats& m) -> RowMat { return m[0].transpose() * m[0]; }});
        addMatrixCase("setSymmetric in place " + tag, {{s}, s, 0, [](Matrix& t, const Ops&) { t.setSymmetric(); },
                                                        [](const RowMat& self, const Mats&) -> RowMat {
                                                            return self.selfadjointView<Eigen::Upper>();
                                                        }});
        addMatrixCase("setTriU " + tag, {{s}, s, -1, [](Matrix& t, const Ops& o) { t.setTriU(*o[0]); },
                                          [](const RowMat&, const Mats& m) -> RowMat { return m[0].triangularView<Eigen::Upper>(); }});
        addMatrixCase("setTriL k=1 " + tag, {{s}, s, -1, [](Matrix& t, const Ops& o) { t.setTriL(*o[0], 1); },
                                              [](const RowMat&, const Mats& m) -> RowMat {
                                                  RowMat r = m[0].triangularView<Eigen::Lower>();
                                                  for (Eigen::Index i = 0; i + 1 < r.rows(); ++i)
                                                      r(i, i + 1) = m[0](i, i + 1);
                                                  return r;
                                              }});
        addMatrixCase("setSelfAddTriL " + tag, {{s, s}, s, 1, [](Matrix& t, const Ops& o) { t.setSelfAddTriL(*o[0]); },
                                                 [](const RowMat& self, const Mats& m) -> RowMat {
                                                     return self + RowMat(m[0].triangularView<Eigen::Lower>());
                                                 }});
        addMatrixCase("setTriLMulDiag " + tag, {{s}, s, -1, [](Matrix& t, const Ops& o) { t.setTriLMulDiag(*o[0], o[0]->row(0)); },
                                                 [](const RowMat&, const Mats& m) -> RowMat {
                                                     return RowMat(m[0].triangularView<Eigen::Lower>()) * m[0].row(0).asDiagonal();
                                                 }});
        addMatrixCase("setSelfAddTriLMulDiag " + tag,
                      {{s, s}, s, 1, [](Matrix& t, const Ops& o) { t.setSelfAddTriLMulDiag(*o[0], o[0]->row(0)); },
                       [](const RowMat& self, const Mats& m) -> RowMat {
                           return self + RowMat(m[0].triangularView<Eigen::Lower>()) * m[0].row(0).asDiagonal();
                       }});
        addMatrixCase("setMatMulMatTriLSkip " + tag,
                      {{s, s}, s, -1, [](Matrix& t, const Ops& o) { t.setMatMulMatTriLSkip(*o[0], *o[1], 2); },
                       [](const RowMat& self, const Mats& m) -> RowMat {
                           RowMat r = RowMat(m[0] * m[1]).triangularView<Eigen::Lower>();
                           r.topRows(std::min<Eigen::Index>(2, r.rows())) = self.topRows(std::min<Eigen::Index>(2, r.rows()));
                           return r;
                       }});
        addMatrixCase("setSelfAddMatMulDiag " + tag,
                      {{s, s, s}, s, 2, [](Matrix& t, const Ops& o) { t.setSelfAddMatMulDiag(*o[0], *o[1]); },
                       [](const RowMat& self, const Mats& m) -> RowMat { return self + m[0] * m[1].diagonal().asDiagonal(); }});
        addMatrixCase("setSelfAddMatMulDiag vector " + tag,
                      {{s, s}, s, 1, [](Matrix& t, const Ops& o) { t.setSelfAddMatMulDiag(*o[0], o[0]->row(0)); },
                       [](const RowMat& self, const Mats& m) -> RowMat { return self + m[0] * m[0].row(0).asDiagonal(); }});
        addMatrixCase("setSelfAddDiagMulDiag " + tag,
                      {{s, s, s}, s, 2, [](Matrix& t, const Ops& o) { t.setSelfAddDiagMulDiag(*o[0], *o[1]); },
                       [](const RowMat& self, const Mats& m) -> RowMat {
                           return self + RowMat(m[0].diagonal().cwiseProduct(m[1].diagonal()).asDiagonal());
                       }});
        addMatrixCase("setMatMulDiag vector " + tag,
                      {{s}, s, -1, [](Matrix& t, const Ops& o) { t.setMatMulDiag(*o[0], o[0]->col(0)); },
                       [](const RowMat&, const Mats& m) -> RowMat { return m[0] * m[0].col(0).asDiagonal(); }});
        addMatrixCase("setDiagMulMat vector " + tag,
                      {{s}, s, -1, [](Matrix& t, const Ops& o) { t.setDiagMulMat(o[0]->col(0), *o[0]); },
                       [](const RowMat&, const Mats& m) -> RowMat { return m[0].col(0).asDiagonal() * m[0]; }});
        addMatrixCase("setSelfAddDiagMulMat vector " + tag,
                      {{s, s}, s, 1, [](Matrix& t, const Ops& o) { t.setSelfAddDiagMulMat(o[0]->col(0), *o[0]); },
                       [](const RowMat& self, const Mats& m) -> RowMat { return self + m[0].col(0).asDiagonal() * m[0]; }});
        addMatrixCase("setPermutation " + tag,
                      {{s}, s, -1,
                       [n](Matrix& t, const Ops& o) {
                           Vector p(n);
                           for (VoSize i = 0; i < n; ++i)
                               p[i] = double((i * 3 + 1) % n);
                           t.setPermutation(*o[0], p);
                       },
                       [n](const RowMat&, const Mats& m) -> RowMat {
                           RowMat r(n, n);
                           for (VoSize i = 0; i < n; ++i)
                               r.row(Eigen::Index(i)) = m[0].row(Eigen::Index((i * 3 + 1) % n));
                           return r;
                       }});
        addMatrixCase("setCrossTerms " + tag, {{s}, s, -1, [](Matrix& t, const Ops& o) { t.setCrossTerms(o[0]->row(0)); },
                                                [](const RowMat&, const Mats& m) -> RowMat {
                                                    return m[0].row(0).transpose() * m[0].row(0);
                                                }});
        addMatrixCase("setMatMulVec one column " + tag,
                      {{s}, {n, 1}, -1, [](Matrix& t, const Ops& o) { t.setMatMulVec(*o[0], o[0]->row(0)); },
                       [](const RowMat&, const Mats& m) -> RowMat { return m[0] * m[0].row(0).transpose(); }});
        addMatrixCase("setVecMulMat one row " + tag,
                      {{s}, {1, n}, -1, [](Matrix& t, const Ops& o) { t.setVecMulMat(o[0]->col(0), *o[0]); },
                       [](const RowMat&, const Mats& m) -> RowMat { return m[0].col(0).transpose() * m[0]; }});
        addMatrixCase("setMatAddVec one column " + tag,
                      {{{n, 1}, {1, n}}, {n, 1}, -1, [](Matrix& t, const Ops& o) { t.setMatAddVec(*o[0], o[1]->row(0)); },
                       [](const RowMat&, const Mats& m) -> RowMat { return m[0] + m[1].transpose(); }});
        addMatrixCase("setKronTransMatMulMat " + tag,
                      {{{n, 2}, {2, 3}}, {2 * 2, n * 3}, -1, [](Matrix& t, const Ops& o) { t.setKronTransMatMulMat(*o[0], *o[1]); },
                       [](const RowMat&, const Mats& m) -> RowMat {
                           const RowMat a = m[0].transpose();
                           RowMat k(a.rows() * 2, a.cols() * 3);
                           for (Eigen::Index i = 0; i < a.rows(); ++i)
                               for (Eigen::Index j = 0; j < a.cols(); ++j)
                                   k.block(i * 2, j * 3, 2, 3) = a(i, j) * m[1];
                           return k;
                       }});
        addMatrixCase("setKronHorVecMulIdMulMat " + tag,
                      {{{1, n}, {n * 3, 4}}, {3, 4}, -1, [](Matrix& t, const Ops& o) { t.setKronHorVecMulIdMulMat(o[0]->row(0), *o[1]); },
                       [n](const RowMat&, const Mats& m) -> RowMat {
                           RowMat k = RowMat::Zero(3, Eigen::Index(n) * 3);
                           for (Eigen::Index j = 0; j < Eigen::Index(n); ++j)
                               k.block(0, j * 3, 3, 3) = m[0](0, j) * RowMat::Identity(3, 3);
                           return k * m[1];
                       }});
    }

    // Products over shapes that cover thin operands and both kernels.
    const struct
    {
        VoSize m, k, n;
    } dims[] = {{1, 1, 1}, {1, 9, 1}, {7, 1, 5}, {5, 7, 3}, {4, 6, 20}, {23, 17, 31}, {1, 40, 300},
                {300, 270, 290}, {259, 259, 259}, {300, 100, 280}};
    for (const auto& d : dims) {
        const QString tag = QString("%1x%2x%3").arg(d.m).arg(d.k).arg(d.n);
        const Shape a{d.m, d.k}, b{d.k, d.n}, bt{d.n, d.k}, r{d.m, d.n};
        addMatrixCase("setMatMulMat " + tag, {{a, b}, r, -1, [](Matrix& t, const Ops& o) { t.setMatMulMat(*o[0], *o[1]); },
                                               [](const RowMat&, const Mats& m) -> RowMat { return m[0] * m[1]; }});
        addMatrixCase("setMatMulMatTrivial " + tag,
                      {{a, b}, r, -1, [](Matrix& t, const Ops& o) { t.setMatMulMatTrivial(*o[0], *o[1]); },
                       [](const RowMat&, const Mats& m) -> RowMat { return m[0] * m[1]; }});
        addMatrixCase("setMatMulMatBlocked " + tag,
                      {{a, b}, r, -1, [](Matrix& t, const Ops& o) { t.setMatMulMatBlocked(*o[0], *o[1]); },
                       [](const RowMat&, const Mats& m) -> RowMat { return m[0] * m[1]; }});
        addMatrixCase("setMatMulTransMat " + tag,
                      {{a, bt}, r, -1, [](Matrix& t, const Ops& o) { t.setMatMulTransMat(*o[0], *o[1]); },
                       [](const RowMat&, const Mats& m) -> RowMat { return m[0] * m[1].transpose(); }});
        addMatrixCase("setMatMulTransMatBlocked " + tag,
                      {{a, bt}, r, -1, [](Matrix& t, const Ops& o) { t.setMatMulTransMatBlocked(*o[0], *o[1]); },
                       [](const RowMat&, const Mats& m) -> RowMat { return m[0] * m[1].transpose(); }});
        if (d.m * d.k * d.n > 1000000)
            continue;
        addMatrixCase("setTransMatMulMat " + tag,
                      {{{d.k, d.m}, b}, r, -1, [](Matrix& t, const Ops& o) { t.setTransMatMulMat(*o[0], *o[1]); },
                       [](const RowMat&, const Mats& m) -> RowMat { return m[0].transpose() * m[1]; }});
        addMatrixCase("setScaMulMatMulMat " + tag,
                      {{a, b}, r, -1, [](Matrix& t, const Ops& o) { t.setScaMulMatMulMat(-0.5, *o[0], *o[1]); },
                       [](const RowMat&, const Mats& m) -> RowMat { return -0.5 * m[0] * m[1]; }});
        addMatrixCase("setSelfAddScaMulMatMulMat " + tag,
                      {{a, b, r}, r, 2, [](Matrix& t, const Ops& o) { t.setSelfAddScaMulMatMulMat(3.0, *o[0], *o[1]); },
                       [](const RowMat& self, const Mats& m) -> RowMat { return self + 3.0 * m[0] * m[1]; }});
        addMatrixCase("setMatMulMatMulMat " + tag,
                      {{a, b, {d.n, 3}}, {d.m, 3}, -1,
                       [](Matrix& t, const Ops& o) { t.setMatMulMatMulMat(*o[0], *o[1], *o[2]); },
                       [](const RowMat&, const Mats& m) -> RowMat { return m[0] * m[1] * m[2]; }});
        addMatrixCase("setKronMatMulMat " + tag,
                      {{{d.m, 2}, {3, d.n}}, {d.m * 3, 2 * d.n}, -1,
                       [](Matrix& t, const Ops& o) { t.setKronMatMulMat(*o[0], *o[1]); },
                       [](const RowMat&, const Mats& m) -> RowMat {
                           RowMat k(m[0].rows() * m[1].rows(), m[0].cols() * m[1].cols());
                           for (Eigen::Index i = 0; i < m[0].rows(); ++i)
                               for (Eigen::Index j = 0; j < m[0].cols(); ++j)
                                   k.block(i * m[1].rows(), j * m[1].cols(), m[1].rows(), m[1].cols()) = m[0](i, j) * m[1];
                           return k;
                       }});
        addMatrixCase("setKronMatMulIdMulMat " + tag,
                      {{a, {d.k * 2, d.n}}, {d.m * 2, d.n}, -1,
                       [](Matrix& t, const Ops& o) { t.setKronMatMulIdMulMat(*o[0], *o[1]); },
                       [](const RowMat&, const Mats& m) -> RowMat {
                           RowMat k = RowMat::Zero(m[0].rows() * 2, m[0].cols() * 2);
                           for (Eigen::Index i = 0; i < m[0].rows(); ++i)
                               for (Eigen::Index j = 0; j < m[0].cols(); ++j)
                                   k.block(i * 2, j * 2, 2, 2) = m[0](i, j) * RowMat::Identity(2, 2);
                           return k * m[1];
                       }});
        addMatrixCase("setKronIdMulMatMulMat " + tag,
                      {{a, {d.k * 3, d.n}}, {d.m * 3, d.n}, -1,
                       [](Matrix& t, const Ops& o) { t.setKronIdMulMatMulMat(*o[0], *o[1]); },
                       [](const RowMat&, const Mats& m) -> RowMat {
                           RowMat k = RowMat::Zero(m[0].rows() * 3, m[0].cols() * 3);
                           for (Eigen::Index s = 0; s < 3; ++s)
                               k.block(s * m[0].rows(), s * m[0].cols(), m[0].rows(), m[0].cols()) = m[0];
                           return k * m[1];
                       }});
    }
}

void TestMatrixArith::matrixOperations()
{
    QFETCH(int, index);
    QFETCH(bool, strided);
    const MatrixCase& c = m_matrixCases[size_t(index)];
    std::mt19937_64 rng(uint64_t(index) * 7919u + (strided ? 1u : 0u));

    std::vector<Operand> operands;
    operands.reserve(c.operands.size());
    for (const Shape s : c.operands)
        operands.emplace_back(s.rows, s.cols, strided, rng);
    Operand target(c.result.rows, c.result.cols, strided, rng);
    if (c.initialFrom >= 0)
        target.view.setSub_mat(operands[size_t(c.initialFrom)].view, 0, 0, c.result.rows, c.result.cols);

    Ops ops;
    Mats mats;
    for (const Operand& o : operands) {
        ops.push_back(&o.view);
        mats.push_back(map(o.view));
    }
    const RowMat before = map(target.view);
    const RowMat expected = c.eigen(before, mats);
    c.velo(target.view, ops);

    QCOMPARE(VoSize(expected.rows()), target.view.rows);
    QCOMPARE(VoSize(expected.cols()), target.view.cols);
    const double error = relativeError(map(target.view), expected);
    QVERIFY2(error < 1e-12, qPrintable(QString("relative error %1").arg(error)));
    QVERIFY2(target.paddingIntact(), "wrote outside the target block");
    for (const Operand& o : operands)
        QVERIFY(o.paddingIntact());
}

void TestMatrixArith::vectorOperations_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<bool>("strided");
    m_vectorCases.clear();

    for (const VoSize n : {VoSize(1), VoSize(3), VoSize(37)}) {
        const QString tag = QString("n=%1").arg(n);
        const std::vector<VoSize> two{n, n}, three{n, n, n};
        using VOps = std::vector<const Vector*>;
        using Vecs = std::vector<Vec>;
        auto add = [&](const QString& name, std::vector<VoSize> vectors,
                       std::function<void(Vector&, const VOps&)> velo, std::function<Vec(const Vec&, const Vecs&)> eigen) {
            addVectorCase(name + " " + tag,
                          {{}, std::move(vectors), n,
                           [velo](Vector& t, const Ops&, const VOps& v) { velo(t, v); },
                           [eigen](const Vec& self, const Mats&, const Vecs& v) { return eigen(self, v); }});
        };
        add("setVecAddVec", two, [](Vector& t, const VOps& v) { t.setVecAddVec(*v[0], *v[1]); },
            [](const Vec&, const Vecs& v) -> Vec { return v[0] + v[1]; });
        add("setVecSubVec", two, [](Vector& t, const VOps& v) { t.setVecSubVec(*v[0], *v[1]); },
            [](const Vec&, const Vecs& v) -> Vec { return v[0] - v[1]; });
        add("setVecAddVecAddVec", three, [](Vector& t, const VOps& v) { t.setVecAddVecAddVec(*v[0], *v[1], *v[2]); },
            [](const Vec&, const Vecs& v) -> Vec { return v[0] + v[1] + v[2]; });
        add("setVecAddVecSubVec", three, [](Vector& t, const VOps& v) { t.setVecAddVecSubVec(*v[0], *v[1], *v[2]); },
            [](const Vec&, const Vecs& v) -> Vec { return v[0] + v[1] - v[2]; });
        add("setVecAddVecMulSca", two, [](Vector& t, const VOps& v) { t.setVecAddVecMulSca(*v[0], *v[1], 0.25); },
            [](const Vec&, const Vecs& v) -> Vec { return v[0] + 0.25 * v[1]; });
        add("setVecAddScaMulVec", two, [](Vector& t, const VOps& v) { t.setVecAddScaMulVec(*v[0], -4.0, *v[1]); },
            [](const Vec&, const Vecs& v) -> Vec { return v[0] - 4.0 * v[1]; });
        add("setVecAddScaMulVecAddScaMulVec", three,
            [](Vector& t, const VOps& v) { t.setVecAddScaMulVecAddScaMulVec(*v[0], 2.0, *v[1], 3.0, *v[2]); },
            [](const Vec&, const Vecs& v) -> Vec { return v[0] + 2.0 * v[1] + 3.0 * v[2]; });
        add("setScaMulVecAddScaMulVec", two, [](Vector& t, const VOps& v) { t.setScaMulVecAddScaMulVec(2.0, *v[0], 3.0, *v[1]); },
            [](const Vec&, const Vecs& v) -> Vec { return 2.0 * v[0] + 3.0 * v[1]; });
        add("setScaMulVec", {n}, [](Vector& t, const VOps& v) { t.setScaMulVec(1.5, *v[0]); },
            [](const Vec&, const Vecs& v) -> Vec { return 1.5 * v[0]; });
        add("setScaDivVec", {n}, [](Vector& t, const VOps& v) { t.setScaDivVec(1.5, *v[0]); },
            [](const Vec&, const Vecs& v) -> Vec { return 1.5 * v[0].cwiseInverse(); });
        add("setVecEMulVec", two, [](Vector& t, const VOps& v) { t.setVecEMulVec(*v[0], *v[1]); },
            [](const Vec&, const Vecs& v) -> Vec { return v[0].cwiseProduct(v[1]); });
        add("setVecEDivVec", two, [](Vector& t, const VOps& v) { t.setVecEDivVec(*v[0], *v[1]); },
            [](const Vec&, const Vecs& v) -> Vec { return v[0].cwiseQuotient(v[1]); });
        add("setNegVec", {n}, [](Vector& t, const VOps& v) { t.setNegVec(*v[0]); },
            [](const Vec&, const Vecs& v) -> Vec { return -v[0]; });
        add("setAbs", {n}, [](Vector& t, const VOps& v) { t.setAbs(*v[0]); },
            [](const Vec&, const Vecs& v) -> Vec { return v[0].cwiseAbs(); });
        add("setSqrt", {n},
            [](Vector& t, const VOps& v) {
                t.setAbs(*v[0]);
                t.setSqrt(t);
            },
            [](const Vec&, const Vecs& v) -> Vec { return v[0].cwiseAbs().cwiseSqrt(); });
        add("setMax", two, [](Vector& t, const VOps& v) { t.setMax(*v[0], *v[1]); },
            [](const Vec&, const Vecs& v) -> Vec { return v[0].cwiseMax(v[1]); });
        add("setMin", two, [](Vector& t, const VOps& v) { t.setMin(*v[0], *v[1]); },
            [](const Vec&, const Vecs& v) -> Vec { return v[0].cwiseMin(v[1]); });
        add("setClamped scalars", {n}, [](Vector& t, const VOps& v) { t.setClamped(*v[0], -1.0, 1.0); },
            [](const Vec&, const Vecs& v) -> Vec { return v[0].cwiseMax(-1.0).cwiseMin(1.0); });
        add("setClamped vectors", three,
            [](Vector& t, const VOps& v) {
                Vector lo(v[1]->size), hi(v[1]->size);
                lo.setMin(*v[1], *v[2]);
                hi.setMax(*v[1], *v[2]);
                t.setClamped(*v[0], lo, hi);
            },
            [](const Vec&, const Vecs& v) -> Vec { return v[0].cwiseMax(v[1].cwiseMin(v[2])).cwiseMin(v[1].cwiseMax(v[2])); });
        add("setInterpolated", two, [](Vector& t, const VOps& v) { t.setInterpolated(0.25, *v[0], *v[1]); },
            [](const Vec&, const Vecs& v) -> Vec { return 0.25 * v[0] + 0.75 * v[1]; });

        // Matrix-vector products with m rows and n columns.
        const VoSize m = n + 2;
        const Shape mn{m, n}, nn{n, n};
        addVectorCase("setMatMulVec " + tag, {{mn}, {n}, m, [](Vector& t, const Ops& o, const VOps& v) { t.setMatMulVec(*o[0], *v[0]); },
                                               [](const Vec&, const Mats& o, const Vecs& v) -> Vec { return o[0] * v[0]; }});
        addVectorCase("setTransMatMulVec " + tag,
                      {{mn}, {m}, n, [](Vector& t, const Ops& o, const VOps& v) { t.setTransMatMulVec(*o[0], *v[0]); },
                       [](const Vec&, const Mats& o, const Vecs& v) -> Vec { return o[0].transpose() * v[0]; }});
        addVectorCase("setVecMulMat " + tag, {{mn}, {m}, n, [](Vector& t, const Ops& o, const VOps& v) { t.setVecMulMat(*v[0], *o[0]); },
                                               [](const Vec&, const Mats& o, const Vecs& v) -> Vec { return o[0].transpose() * v[0]; }});
        addVectorCase("setTriLMulVec " + tag,
                      {{nn}, {n}, n, [](Vector& t, const Ops& o, const VOps& v) { t.setTriLMulVec(*o[0], *v[0]); },
                       [](const Vec&, const Mats& o, const Vecs& v) -> Vec { return o[0].triangularView<Eigen::Lower>() * v[0]; }});
        addVectorCase("setMatMulVecMulSca " + tag,
                      {{mn}, {n}, m, [](Vector& t, const Ops& o, const VOps& v) { t.setMatMulVecMulSca(*o[0], *v[0], 0.5); },
                       [](const Vec&, const Mats& o, const Vecs& v) -> Vec { return 0.5 * (o[0] * v[0]); }});
        addVectorCase("setScaMulMatMulVecAddVec " + tag,
                      {{mn}, {n, m}, m,
                       [](Vector& t, const Ops& o, const VOps& v) { t.setScaMulMatMulVecAddVec(2.0, *o[0], *v[0], *v[1]); },
                       [](const Vec&, const Mats& o, const Vecs& v) -> Vec { return 2.0 * (o[0] * v[0]) + v[1]; }});
        addVectorCase("setMatMulVecAddVecMulSca " + tag,
                      {{mn}, {n, m}, m,
                       [](Vector& t, const Ops& o, const VOps& v) { t.setMatMulVecAddVecMulSca(*o[0], *v[0], *v[1], -3.0); },
                       [](const Vec&, const Mats& o, const Vecs& v) -> Vec { return o[0] * v[0] - 3.0 * v[1]; }});
        addVectorCase("setSelfAddScaMulMatMulVec " + tag,
                      {{mn}, {n}, m, [](Vector& t, const Ops& o, const VOps& v) { t.setSelfAddScaMulMatMulVec(0.5, *o[0], *v[0]); },
                       [](const Vec& self, const Mats& o, const Vecs& v) -> Vec { return self + 0.5 * (o[0] * v[0]); }});
        addVectorCase("setLeftDivideTriU " + tag,
                      {{nn}, {n}, n,
                       [](Vector& t, const Ops& o, const VOps& v) {
                           Matrix u(*o[0]);
                           for (VoSize i = 0; i < u.rows; ++i)
                               u(i, i) += 4.0 * (u(i, i) < 0 ? -1.0 : 1.0);
                           t.setLeftDivideTriU(u, *v[0]);
                       },
                       [](const Vec&, const Mats& o, const Vecs& v) -> Vec {
                           RowMat u = o[0];
                           for (Eigen::Index i = 0; i < u.rows(); ++i)
                               u(i, i) += 4.0 * (u(i, i) < 0 ? -1.0 : 1.0);
                           return u.triangularView<Eigen::Upper>().solve(v[0]);
                       }});
        addVectorCase("setLeftDivideTriL " + tag,
                      {{nn}, {n}, n,
                       [](Vector& t, const Ops& o, const VOps& v) {
                           Matrix l(*o[0]);
                           for (VoSize i = 0; i < l.rows; ++i)
                               l(i, i) += 4.0 * (l(i, i) < 0 ? -1.0 : 1.0);
                           t.setLeftDivideTriL(l, *v[0]);
                       },
                       [](const Vec&, const Mats& o, const Vecs& v) -> Vec {
                           RowMat l = o[0];
                           for (Eigen::Index i = 0; i < l.rows(); ++i)
                               l(i, i) += 4.0 * (l(i, i) < 0 ? -1.0 : 1.0);
                           return l.triangularView<Eigen::Lower>().solve(v[0]);
                       }});
        addVectorCase("setLeftDivideDiag " + tag,
                      {{nn}, {n}, n, [](Vector& t, const Ops& o, const VOps& v) { t.setLeftDivideDiag(*o[0], *v[0]); },
                       [](const Vec&, const Mats& o, const Vecs& v) -> Vec { return v[0].cwiseQuotient(o[0].diagonal()); }});
        addVectorCase("setSumSquaresMat " + tag,
                      {{mn}, {}, n, [](Vector& t, const Ops& o, const VOps&) { t.setSumSquaresMat(*o[0]); },
                       [](const Vec&, const Mats& o, const Vecs&) -> Vec { return o[0].cwiseAbs2().colwise().sum().transpose(); }});
        addVectorCase("setNormOfRows " + tag,
                      {{mn}, {}, m, [](Vector& t, const Ops& o, const VOps&) { t.setNormOfRows(*o[0]); },
                       [](const Vec&, const Mats& o, const Vecs&) -> Vec { return o[0].rowwise().norm(); }});
        addVectorCase("setDiagMatMulMat " + tag,
                      {{mn, {n, m}}, {}, std::min(m, m), [](Vector& t, const Ops& o, const VOps&) { t.setDiagMatMulMat(*o[0], *o[1]); },
                       [](const Vec&, const Mats& o, const Vecs&) -> Vec { return RowMat(o[0] * o[1]).diagonal(); }});
        addVectorCase("setDiagMatMulTransMat " + tag,
                      {{mn, mn}, {}, m, [](Vector& t, const Ops& o, const VOps&) { t.setDiagMatMulTransMat(*o[0], *o[1]); },
                       [](const Vec&, const Mats& o, const Vecs&) -> Vec { return RowMat(o[0] * o[1].transpose()).diagonal(); }});
        addVectorCase("setMatCol " + tag, {{mn}, {}, m, [](Vector& t, const Ops& o, const VOps&) { t.setMatCol(*o[0], o[0]->cols - 1); },
                                            [](const Vec&, const Mats& o, const Vecs&) -> Vec { return o[0].col(o[0].cols() - 1); }});
        addVectorCase("setMatRow " + tag, {{mn}, {}, n, [](Vector& t, const Ops& o, const VOps&) { t.setMatRow(*o[0], 1); },
                                            [](const Vec&, const Mats& o, const Vecs&) -> Vec { return o[0].row(1).transpose(); }});
        addVectorCase("setDiag " + tag, {{mn}, {}, n, [](Vector& t, const Ops& o, const VOps&) { t.setDiag(*o[0]); },
                                          [](const Vec&, const Mats& o, const Vecs&) -> Vec { return o[0].diagonal(); }});
    }
}

void TestMatrixArith::vectorOperations()
{
    QFETCH(int, index);
    QFETCH(bool, strided);
    const VectorCase& c = m_vectorCases[size_t(index)];
    std::mt19937_64 rng(uint64_t(index) * 104729u + (strided ? 1u : 0u));

    std::vector<Operand> matrices;
    matrices.reserve(c.matrices.size());
    for (const Shape s : c.matrices)
        matrices.emplace_back(s.rows, s.cols, strided, rng);
    // Vectors as row views of random matrices: views over borrowed storage.
    std::vector<Operand> vectorStorage;
    vectorStorage.reserve(c.vectors.size() + 1);
    std::vector<Vector> vectors;
    vectors.reserve(c.vectors.size());
    for (const VoSize n : c.vectors) {
        vectorStorage.emplace_back(1, n, strided, rng);
        vectors.emplace_back(vectorStorage.back().view, 0);
    }
    vectorStorage.emplace_back(1, c.result, strided, rng);
    Vector target(vectorStorage.back().view, 0);

    Ops ops;
    Mats mats;
    for (const Operand& o : matrices) {
        ops.push_back(&o.view);
        mats.push_back(map(o.view));
    }
    std::vector<const Vector*> vops;
    std::vector<Vec> vecs;
    for (const Vector& v : vectors) {
        vops.push_back(&v);
        vecs.push_back(map(v));
    }
    const Vec before = map(target);
    const Vec expected = c.eigen(before, mats, vecs);
    c.velo(target, ops, vops);

    QCOMPARE(VoSize(expected.size()), target.size);
    const double scale = std::max(1.0, expected.cwiseAbs().maxCoeff());
    const double error = (map(target) - expected).cwiseAbs().maxCoeff() / scale;
    QVERIFY2(error < 1e-12, qPrintable(QString("relative error %1").arg(error)));
    for (const Operand& o : vectorStorage)
        QVERIFY(o.paddingIntact());
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
