#include <algorithm>

#include <kz3/lattiq/metrics.h>

#include "metrics/eigenvalues.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

// Eigenvalues are inverse squared sizes: a ratio of 1e24 is one of 1e12 between sizes.
template <size_t N>
bool are_valid(const double (&values)[N])
{
    // each asked by itself, since NaN would get lost in a minimum
    for (const double w : values)
        if (!(w > 0)) return false;
    const auto [lo, hi] = std::minmax_element(values, values + N);
    return *lo > *hi * 1e-24;
}

} // namespace

bool is_valid_metric(const symmetric_fixed<double, 2>& m)
{
    double w[2];
    eigenvalues(m, w[0], w[1]);
    return are_valid(w);
}

bool is_valid_metric(const symmetric_fixed<double, 3>& m)
{
    double w[3] = {};
    eigenvalues('N', m, w, nullptr);
    return are_valid(w);
}

} // namespace kz3::lattiq
