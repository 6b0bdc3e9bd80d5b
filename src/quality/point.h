#pragma once

#include <algorithm>
#include <cmath>

#include <kz3/fixed.h>

/// Vectors between nodes, and the comparisons that the shape measures share.
///
/// A node is given by the address of its coordinates. Sums run from the first coordinate on.
namespace kz3::lattiq::detail {

template <unsigned Dim>
using arrow = vector_fixed<double, Dim>;

/// From b to a.
template <unsigned Dim>
arrow<Dim> difference(const double* a, const double* b)
{
    arrow<Dim> d;
    for (unsigned i = 0; i < Dim; ++i) d[i] = a[i] - b[i];
    return d;
}

inline double dot(const arrow<2>& a, const arrow<2>& b)
{
    return a[0] * b[0] + a[1] * b[1];
}

inline double dot(const arrow<3>& a, const arrow<3>& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

inline double cross(const arrow<2>& a, const arrow<2>& b)
{
    return a[0] * b[1] - a[1] * b[0];
}

inline arrow<3> cross(const arrow<3>& a, const arrow<3>& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

template <typename Arrow>
double length(const Arrow& a)
{
    return std::sqrt(dot(a, a));
}

/// Replaces `lowest` unless x is at or above it. Negated, so that a NaN replaces what stands and is
/// replaced in turn by what comes next.
inline void take_lowest(double& lowest, double x)
{
    if (!(x >= lowest)) lowest = x;
}

/// The largest of values: the first of equals, and what std::max makes of NaN. Without a list in
/// memory, so that loops over elements side by side can hold it.
inline double largest(double a)
{
    return a;
}

template <typename... More>
double largest(double a, double b, More... more)
{
    return largest(a < b ? b : a, more...);
}

/// x within [lowest, highest]; NaN stays.
inline double limited(double x, double lowest, double highest)
{
    return x > highest ? highest : x < lowest ? lowest : x;
}

} // namespace kz3::lattiq::detail
