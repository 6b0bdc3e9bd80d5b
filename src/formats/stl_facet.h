#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace kz3::lattiq::detail {

/// A facet of an STL file and what is computed of it. Results are documented to the last bit, so the
/// sums keep their order.
using stl_point = std::array<double, 3>;
using stl_facet = std::array<stl_point, 3>;

inline stl_point difference(const stl_point& a, const stl_point& b)
{
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

inline stl_point cross(const stl_point& u, const stl_point& v)
{
    return {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
}

inline double square(const stl_point& v)
{
    return v[0] * v[0] + v[1] * v[1] + v[2] * v[2];
}

/// Left as it is where the length is 0.
inline void divide_by_length(stl_point& v, double length)
{
    if (length == 0.0) return;
    const double inverse = 1.0 / length;
    for (double& x : v) x *= inverse;
}

inline stl_point facet_unit_normal(const stl_facet& corners)
{
    stl_point n = cross(difference(corners[1], corners[0]), difference(corners[2], corners[0]));
    // Not the order of square().
    divide_by_length(n, std::sqrt(n[0] * n[0] + n[2] * n[2] + n[1] * n[1]));
    return n;
}

/// Distance of x from the line through p and q.
inline double point_line_distance(const stl_point& x, const stl_point& p, const stl_point& q)
{
    stl_point direction = difference(q, p);
    divide_by_length(direction, std::sqrt(square(direction)));
    return std::sqrt(square(cross(difference(x, p), direction)));
}

inline double facet_height(const stl_facet& corners)
{
    double height = point_line_distance(corners[0], corners[1], corners[2]);
    for (std::size_t i = 1; i < 3; ++i) {
        const double distance =
            point_line_distance(corners[i], corners[(i + 1) % 3], corners[(i + 2) % 3]);
        if (distance < height) height = distance;
    }
    return height;
}

/// Whether facet_height is above `least`, where that shows without roots and divisions; false decides
/// nothing, and comes for what is not a number.
///
/// Let E be the square of the longest edge and h twice the area divided by its length, computed without
/// rounding: the least of the three distances. Each product and sum here and in facet_height is off by
/// some 2^-53 of the squares of the edges that go into it, so the distance computed there, and the h of
/// the square A computed here, are off from h by less than 2^-48 of the longest edge. With d = 2^-46 of
/// that, h > least + d is enough, and follows from
///     A > E * (least^2 * (1 + 2^-9) + 2^-81 * E),
/// since (least + d)^2 <= least^2 * (1 + t) + d^2 * (1 + 1 / t), with t = 2^-10, and 2^-92 * 1025 is
/// below 2^-81. The rest of the factors covers the rounding of both sides. A within these bounds has lost
/// no bits, and where the right side has, it is below A by far.
inline bool surely_higher(const stl_facet& corners, double least)
{
    const stl_point u = difference(corners[1], corners[0]);
    const stl_point v = difference(corners[2], corners[0]);
    const stl_point w = difference(corners[2], corners[1]);
    const double longest = std::max({square(u), square(v), square(w)});
    const double area = square(cross(u, v));
    return area > longest * (least * least * (1 + 0x1p-9) + 0x1p-81 * longest) && area > 1e-290 &&
           area < 1e300;
}

} // namespace kz3::lattiq::detail
