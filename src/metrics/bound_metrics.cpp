#include <cmath>
#include <limits>

#include <kz3/lattiq/metrics.h>

#include "metrics/tensor_column.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

/// Limits of the eigenvalues, which are inverse squared sizes.
struct limits {
    double lo;
    double hi;

    limits(double h_min, double h_max)
    {
        constexpr double most = std::numeric_limits<double>::max();
        hi = h_min > 0 ? 1.0 / (h_min * h_min) : most;
        lo = h_max > 0 && h_max < std::sqrt(most) ? 1.0 / (h_max * h_max) : 0;
    }

    // The lower limit last, so that it wins where the two cross.
    double operator()(double w) const
    {
        const double below = hi < w ? hi : w;
        return below > lo ? below : lo;
    }
};

template <size_t N>
symmetric_fixed<double, N> bounded(const symmetric_fixed<double, N>& m, const limits& limit)
{
    // Success is not looked at. In 2-D there are no vectors without it, and the sum is no valid
    // tensor; in 3-D there is what LAPACK left.
    vector_fixed<double, N> w{};
    matrix_fixed<double, N, N> v{};
    eigen_pairs(m, w, v);
    symmetric_fixed<double, N> sum{};
    for (size_t k = 0; k < N; ++k) {
        const double value = limit(w[k]);
        for (size_t i = 0; i < N; ++i)
            for (size_t j = 0; j <= i; ++j) sum(j, i) += value * v(i, k) * v(j, k);
    }
    return sum;
}

} // namespace

int bound_metrics(dense1D<float>& sizes, double h_min, double h_max)
{
    for (size_t i = 0; i < sizes.size; ++i) {
        // negated, so that NaN becomes the minimum
        if (!(double(sizes[i]) >= h_min)) sizes[i] = float(h_min);
        if (double(sizes[i]) > h_max) sizes[i] = float(h_max);
    }
    return 0;
}

int bound_metrics(dense2D<float>& metrics, double h_min, double h_max)
{
    if (metrics.empty()) return 0;
    if (!(h_min >= 0 || h_max >= 0)) return 0; // both bounds are switched off
    const limits limit(h_min, h_max);
    const bool served = with_dimension(metrics.rows, [&](auto dim) {
        for (size_t j = 0; j < metrics.cols; ++j) {
            float* stored = column(metrics, j);
            narrow<dim>(bounded<dim>(widen<dim>(stored), limit), stored);
        }
    });
    return served ? 0 : -1; // metrics
}

} // namespace kz3::lattiq
