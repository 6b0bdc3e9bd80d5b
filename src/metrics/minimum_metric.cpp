#include <kz3/lattiq/metrics.h>

#include "metrics/metric_pair_reduction.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

// The larger eigenvalue is the smaller size. Where a is NaN both of these take b.
double larger(double a, double b)
{
    return a >= b ? a : b;
}

double smaller(double a, double b)
{
    return b >= a ? a : b;
}

/// The tensor that has choose(first, second) in each direction in which both tensors are diagonal.
template <size_t N, typename Choose>
symmetric_fixed<double, N> combine(const symmetric_fixed<double, N>& m1,
                                   const symmetric_fixed<double, N>& m2, Choose choose)
{
    metric_pair_reduction<N> pair;
    pair.reduce(m1, m2);
    symmetric_fixed<double, N> m{};
    for (size_t i = 0; i < N; ++i)
        for (size_t j = 0; j <= i; ++j)
            for (size_t k = 0; k < N; ++k) {
                const double h = choose(pair.first_values[k], pair.second_values[k]);
                m(j, i) += h * pair.inverse_rows[k][j] * pair.inverse_rows[k][i];
            }
    return m;
}

} // namespace

void minimum_metric(const symmetric_fixed<double, 2>& m1, const symmetric_fixed<double, 2>& m2,
                    symmetric_fixed<double, 2>& m)
{
    m = combine(m1, m2, larger);
}

void minimum_metric(const symmetric_fixed<double, 3>& m1, const symmetric_fixed<double, 3>& m2,
                    symmetric_fixed<double, 3>& m)
{
    m = combine(m1, m2, larger);
}

void maximum_metric(const symmetric_fixed<double, 2>& m1, const symmetric_fixed<double, 2>& m2,
                    symmetric_fixed<double, 2>& m)
{
    m = combine(m1, m2, smaller);
}

void maximum_metric(const symmetric_fixed<double, 3>& m1, const symmetric_fixed<double, 3>& m2,
                    symmetric_fixed<double, 3>& m)
{
    m = combine(m1, m2, smaller);
}

} // namespace kz3::lattiq
