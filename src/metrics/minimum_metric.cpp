#include <kz3/lattiq/metrics.h>

#include "metrics/metric_pair_reduction.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

// The larger eigenvalue is the smaller size. Where a is NaN, b is taken.
double larger(double a, double b)
{
    return a >= b ? a : b;
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

} // namespace kz3::lattiq
