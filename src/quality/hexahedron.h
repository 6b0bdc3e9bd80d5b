#pragma once

#include "core/element_table.h"
#include "quality/pyramid.h"

namespace kz3::lattiq::detail {

/// The three neighbours of each corner, turning to the right seen from inside.
inline constexpr unsigned hexahedron_neighbors[8][3] = {{1, 3, 4}, {2, 0, 5}, {3, 1, 6}, {0, 2, 7},
                                                        {7, 5, 0}, {4, 6, 1}, {5, 7, 2}, {6, 4, 3}};

/// A volume as a part of the product of the three lengths of which these are the squares.
inline double hexahedron_corner(double volume, double uu, double vv, double ww)
{
    const double scale = std::sqrt(ww * vv * uu);
    return limited(scale == 0.0 ? volume : volume / scale, -1.0, 1.0);
}

/// Volume between the three edges of the corner d, as a part of the product of their lengths.
inline double hexahedron_corner(const double* d, const double* a, const double* b, const double* c)
{
    const arrow<3> u = difference<3>(a, d);
    const arrow<3> v = difference<3>(b, d);
    const arrow<3> w = difference<3>(c, d);
    return hexahedron_corner(dot(cross(u, v), w), dot(u, u), dot(v, v), dot(w, w));
}

/// Lowest corner value, scaled by the root of their mean absolute value.
inline double hexahedron_corners(const double* const p[8])
{
    double lowest = 1.0;
    double sum = 0.0;
    for (unsigned k = 0; k < 8; ++k) {
        const unsigned* n = hexahedron_neighbors[k];
        const double corner = hexahedron_corner(p[k], p[n[0]], p[n[1]], p[n[2]]);
        take_lowest(lowest, corner);
        sum += std::abs(corner);
    }
    return lowest * std::sqrt(0.125 * sum);
}

/// Product of the lowest face quality and the corner term, unless a part seen from the centre is
/// inverted.
template <unsigned Dim>
double hexahedron_quality(const double* const p[8])
{
    double center[3];
    for (unsigned d = 0; d < 3; ++d) {
        center[d] = p[0][d];
        for (unsigned k = 1; k < 8; ++k) center[d] += p[k][d];
        center[d] *= 0.125;
    }

    double inner = 1.0;
    double face = 1.0;
    for (const auto& row : kind_of<ET_HEXA8>.face_rows) {
        const double* const b[4] = {p[row[0]], p[row[1]], p[row[2]], p[row[3]]};
        const double quality = quadrangle_quality<Dim>(b);
        take_lowest(inner, pyramid_measure(b, center, quality));
        take_lowest(face, quality);
    }
    return unless_inverted(face * hexahedron_corners(p), inner);
}

} // namespace kz3::lattiq::detail
