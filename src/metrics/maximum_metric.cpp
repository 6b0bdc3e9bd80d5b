#include <kz3/lattiq/metrics.h>

#include "metrics/metric_pair_reduction.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

// The smaller eigenvalue is the larger size. Where a is NaN, b is taken.
double smaller(double a, double b)
{
    return b >= a ? a : b;
}

} // namespace

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
