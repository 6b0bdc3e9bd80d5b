#pragma once

#include "quality/point.h"

namespace kz3::lattiq::detail {

/// Twice the area over perimeter times longest edge, 1 for the equilateral triangle. In two
/// dimensions negative for a clockwise triangle, in three never. 0 in any other space.
template <unsigned Dim>
double triangle_quality(const double* a, const double* b, const double* c)
{
    if constexpr (Dim != 2 && Dim != 3) {
        return 0.0;
    } else {
        constexpr double to_unit = 3.4641016151377544;
        const double l1 = length(difference<Dim>(a, b));
        const double l2 = length(difference<Dim>(a, c));
        const double l3 = length(difference<Dim>(b, c));
        const double longest = std::max({l1, l2, l3});
        if (!(longest > 0.0)) return 0.0;

        if constexpr (Dim == 2) {
            const double twice = (c[1] - a[1]) * (b[0] - a[0]) - (b[1] - a[1]) * (c[0] - a[0]);
            return limited(twice / ((l3 + l2 + l1) * longest) * to_unit, -1.0, 1.0);
        } else {
            const double twice = length(cross(difference<3>(a, c), difference<3>(b, c)));
            const double quality = twice / ((l3 + l2 + l1) * longest) * to_unit;
            return quality > 1.0 ? 1.0 : quality;
        }
    }
}

} // namespace kz3::lattiq::detail
