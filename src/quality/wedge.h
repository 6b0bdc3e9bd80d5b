#pragma once

#include "core/element_table.h"
#include "quality/pyramid.h"
#include "quality/triangle.h"

namespace kz3::lattiq::detail {

/// Height of c - d over the plane of a, b, d, as a part of its length; not limited.
inline double corner_sine(const double* d, const double* a, const double* b, const double* c)
{
    const arrow<3> w = difference<3>(c, d);
    const arrow<3> n = cross(difference<3>(a, d), difference<3>(b, d));
    const double scale = std::sqrt(dot(w, w) * dot(n, n));
    const double height = dot(n, w);
    return scale == 0.0 ? height : height / scale;
}

/// Lowest corner sine, scaled by the root of their mean absolute value.
inline double wedge_corners(const double* const p[6])
{
    double lowest = 1.0;
    double sum = 0.0;
    const auto take = [&](double sine) {
        take_lowest(lowest, sine);
        sum += std::abs(sine);
    };
    for (unsigned i = 0; i < 3; ++i) {
        const unsigned j = (i + 1) % 3;
        const unsigned k = (i + 2) % 3;
        take(corner_sine(p[i], p[j], p[k], p[i + 3]));
        take(-corner_sine(p[i + 3], p[j + 3], p[k + 3], p[i]));
    }
    return lowest * std::sqrt(0.16666666666666666 * sum);
}

/// Product of the lowest face quality and the corner term, unless a part seen from the centre is
/// inverted.
template <unsigned Dim>
double wedge_quality(const double* const p[6])
{
    double center[3];
    for (unsigned d = 0; d < 3; ++d) {
        center[d] = p[0][d];
        for (unsigned k = 1; k < 6; ++k) center[d] += p[k][d];
        center[d] *= 0.16666666666666666;
    }

    double inner = 1.0;
    double face = triangle_quality<Dim>(p[0], p[1], p[2]);
    take_lowest(face, triangle_quality<Dim>(p[3], p[4], p[5]));
    constexpr const element_kind& kind = kind_of<ET_PENTA6>;
    for (unsigned f = 0; f < kind.faces; ++f) {
        const unsigned* row = kind.face_rows[f];
        if (kind.face_nodes[f] == 3) {
            take_lowest(inner, -tetrahedron_kernel(p[row[0]], p[row[1]], p[row[2]], center));
        } else {
            const double* const b[4] = {p[row[0]], p[row[1]], p[row[2]], p[row[3]]};
            const double quality = quadrangle_quality<Dim>(b);
            take_lowest(inner, pyramid_measure(b, center, quality));
            take_lowest(face, quality);
        }
    }
    return unless_inverted(face * wedge_corners(p), inner);
}

} // namespace kz3::lattiq::detail
