#pragma once

#include <cmath>

#include <kz3/fixed.h>

namespace kz3::lattiq::detail {

template <unsigned Dim>
double squared_distance(const double* p, const double* q)
{
    double sum = 0;
    for (unsigned d = 0; d < Dim; ++d) sum += (p[d] - q[d]) * (p[d] - q[d]);
    return sum;
}

template <unsigned Dim>
double distance(const double* p, const double* q)
{
    return std::sqrt(squared_distance<Dim>(p, q));
}

/// The closed box within which a node looks for others.
template <unsigned Dim>
struct merge_box {
    vector_fixed<double, Dim> low;
    vector_fixed<double, Dim> high;

    merge_box(const double* p, double tol)
    {
        for (unsigned d = 0; d < Dim; ++d) {
            low[d] = p[d] - tol;
            high[d] = p[d] + tol;
        }
    }

    bool contains(const double* p) const
    {
        for (unsigned d = 0; d < Dim; ++d)
            if (!(p[d] >= low[d]) || p[d] > high[d]) return false;
        return true;
    }
};

} // namespace kz3::lattiq::detail
