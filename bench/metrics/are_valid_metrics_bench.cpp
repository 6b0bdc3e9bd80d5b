#include <Eigen/Eigenvalues>

#include "support/on_fields.h"

using namespace kz3;
using namespace kz3::lattiq;

namespace {

/// Validity by Eigen's closed formulas, which find the eigenvalues in ascending order.
template <int N>
bool are_valid_by_eigen(const dense2D<float>& metrics)
{
    Eigen::SelfAdjointEigenSolver<Eigen::Matrix<double, N, N>> solver;
    Eigen::Matrix<double, N, N> m;
    for (size_t j = 0; j < metrics.cols; ++j) {
        int k = 0;
        for (int c = 0; c < N; ++c)
            for (int r = 0; r <= c; ++r) m(c, r) = m(r, c) = double(metrics(size_t(k++), j));
        solver.computeDirect(m, Eigen::EigenvaluesOnly);
        const double lo = solver.eigenvalues()[0];
        if (!(lo > 0 && lo > solver.eigenvalues()[N - 1] * 1e-24)) return false;
    }
    return true;
}

} // namespace

LATTIQ_BENCHMARKS(are_valid_metrics)
{
    for (const unsigned dimension : {2U, 3U}) {
        bench::add_on_tensors("are_valid_metrics", dimension, "lattiq",
                              {bench::small_size, bench::usual_size, bench::large_size},
                              [](const dense2D<float>& metrics) {
                                  return [&metrics] { return are_valid_metrics(metrics); };
                              });
        bench::add_on_tensors("are_valid_metrics", dimension, "eigen",
                              {bench::small_size, bench::usual_size},
                              [=](const dense2D<float>& metrics) {
                                  return [&metrics, dimension] {
                                      return dimension == 2 ? are_valid_by_eigen<2>(metrics)
                                                            : are_valid_by_eigen<3>(metrics);
                                  };
                              });
    }
    for (const size_t n : {bench::small_size, bench::usual_size, bench::large_size})
        bench::add("are_valid_metrics", "sizes", n, "lattiq", [=] {
            return [sizes = bench::sizes_of(n)] { return are_valid_metrics(sizes); };
        });
}
