// Prints the speed of Matrix::setMatMulMat beside Eigen's single-threaded
// product on the same operands, as GFLOP/s and as a ratio.

#include "velo_matrix.h"

#include <Eigen/Dense>

#include <chrono>
#include <cstdio>
#include <random>

namespace {

using Clock = std::chrono::steady_clock;
using RowMatrix = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

// Repeats f until at least half a second has passed; returns seconds per call.
template <class F>
double secondsPerCall(F f)
{
    f();
    int calls = 0;
    const auto start = Clock::now();
    double elapsed = 0.0;
    do {
        f();
        ++calls;
        elapsed = std::chrono::duration<double>(Clock::now() - start).count();
    } while (elapsed < 0.5);
    return elapsed / calls;
}

} // namespace

int main()
{
    Eigen::setNbThreads(1);
    std::mt19937_64 rng(42);
    std::uniform_real_distribution<double> dist(-1.0, 1.0);
    std::printf("%6s %12s %12s %8s %12s\n", "n", "velo GF/s", "Eigen GF/s", "ratio", "max |diff|");
    for (int n : {64, 256, 512, 1024}) {
        velo::Matrix a(n, n), b(n, n), c(n, n);
        for (int i = 0; i < n * n; ++i) {
            a.data[i] = dist(rng);
            b.data[i] = dist(rng);
        }
        Eigen::Map<RowMatrix> ea(a.data, n, n), eb(b.data, n, n);
        RowMatrix ec(n, n);
        const double flops = 2.0 * n * n * n;
        const double velo = secondsPerCall([&] { c.setMatMulMat(a, b); });
        const double eigen = secondsPerCall([&] { ec.noalias() = ea * eb; });
        const double diff = (Eigen::Map<RowMatrix>(c.data, n, n) - ec).cwiseAbs().maxCoeff();
        std::printf("%6d %12.2f %12.2f %8.2f %12.3g\n", n, flops / velo * 1e-9, flops / eigen * 1e-9, eigen / velo,
                    diff);
    }
    return 0;
}
