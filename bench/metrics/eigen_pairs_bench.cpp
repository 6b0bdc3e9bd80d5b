#include <Eigen/Eigenvalues>

#include "support/on_fields.h"

using namespace kz3;
using namespace kz3::lattiq;

extern "C" void dspev_(const char* jobz, const char* uplo, const int* n, double* ap, double* w,
                       double* z, const int* ldz, double* work, int* info, std::size_t,
                       std::size_t);

namespace {

/// All eigenvalues and an entry of the vectors, added up so that nothing is left out.
template <size_t N>
double sum_of_pairs(const dense2D<float>& metrics)
{
    double sum = 0;
    for (size_t j = 0; j < metrics.cols; ++j) {
        symmetric_fixed<double, N> m;
        for (size_t k = 0; k < N * (N + 1) / 2; ++k) m[k] = double(metrics(k, j));
        vector_fixed<double, N> values;
        matrix_fixed<double, N, N> vectors;
        eigen_pairs(m, values, vectors);
        for (const double w : values) sum += w;
        sum += vectors(0, 0);
    }
    return sum;
}

template <int N>
double sum_by_eigen(const dense2D<float>& metrics)
{
    Eigen::SelfAdjointEigenSolver<Eigen::Matrix<double, N, N>> solver;
    Eigen::Matrix<double, N, N> m;
    double sum = 0;
    for (size_t j = 0; j < metrics.cols; ++j) {
        int k = 0;
        for (int c = 0; c < N; ++c)
            for (int r = 0; r <= c; ++r) m(c, r) = m(r, c) = double(metrics(size_t(k++), j));
        solver.computeDirect(m);
        sum += solver.eigenvalues().sum() + solver.eigenvectors()(0, 0);
    }
    return sum;
}

/// The LAPACK routine that eigen_pairs is documented to call, in a bare loop.
double sum_by_lapack(const dense2D<float>& metrics)
{
    const int n = 3;
    double sum = 0;
    for (size_t j = 0; j < metrics.cols; ++j) {
        double m[6], w[3], z[9], work[9];
        int info = 0;
        for (size_t k = 0; k < 6; ++k) m[k] = double(metrics(k, j));
        dspev_("V", "U", &n, m, w, z, &n, work, &info, 1, 1);
        sum += w[0] + w[1] + w[2] + z[0];
    }
    return sum;
}

using summation = double (*)(const dense2D<float>&);

void add_sum(unsigned dimension, const char* who, std::initializer_list<size_t> sizes,
             summation sum_of)
{
    bench::add_on_tensors("eigen_pairs", dimension, who, sizes, [=](const dense2D<float>& metrics) {
        return [&metrics, sum_of] { return sum_of(metrics); };
    });
}

} // namespace

LATTIQ_BENCHMARKS(eigen_pairs)
{
    // The largest size takes seconds in space; cost per tensor does not depend on their number.
    add_sum(2, "lattiq", {bench::small_size, bench::usual_size, bench::large_size},
            sum_of_pairs<2>);
    add_sum(2, "eigen", {bench::small_size, bench::usual_size}, sum_by_eigen<2>);
    add_sum(3, "lattiq", {bench::small_size, bench::usual_size}, sum_of_pairs<3>);
    add_sum(3, "eigen", {bench::small_size, bench::usual_size}, sum_by_eigen<3>);
    add_sum(3, "lapack", {bench::small_size, bench::usual_size}, sum_by_lapack);
}
