#pragma once

#include <kz3/fixed.h>

namespace kz3::lattiq::detail {

/// The square of a distance. Which of two nodes is nearer may hang on the last bit, so the order of
/// the sums is fixed.
template <unsigned Dim>
double squared_distance(const double* p, const vector_fixed<double, Dim>& q)
{
    const double dx = p[0] - q[0];
    const double dy = p[1] - q[1];
    if constexpr (Dim == 2) {
        return dy * dy + dx * dx;
    } else {
        const double dz = p[2] - q[2];
        return dz * dz + (dx * dx + dy * dy);
    }
}

/// Whether p stands in the closed box from lo to hi; above a bound that is not a number is nothing.
template <unsigned Dim>
bool is_inside(const double* p, const vector_fixed<double, Dim>& lo,
               const vector_fixed<double, Dim>& hi)
{
    for (unsigned d = 0; d < Dim; ++d)
        if (!(p[d] >= lo[d]) || p[d] > hi[d]) return false;
    return true;
}

/// Whether p stands in the closed box that reaches from q by r to all sides.
template <unsigned Dim>
bool is_within(const double* p, const vector_fixed<double, Dim>& q, double r)
{
    for (unsigned d = 0; d < Dim; ++d)
        if (!(p[d] >= q[d] - r) || !(p[d] <= q[d] + r)) return false;
    return true;
}

} // namespace kz3::lattiq::detail
