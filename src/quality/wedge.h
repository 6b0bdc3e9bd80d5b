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

/// The lowest measure of the parts into which the centre cuts a wedge: pyramids on its quadrangles,
/// of these qualities in the order of the faces, and tetrahedra on its triangles.
inline double wedge_parts(const double* const p[6], const double* center, const double* quality)
{
    double lowest = 1.0;
    constexpr const element_kind& kind = kind_of<ET_PENTA6>;
    for (unsigned f = 0; f < kind.faces; ++f) {
        const unsigned* row = kind.face_rows[f];
        const double* const b[4] = {p[row[0]], p[row[1]], p[row[2]], p[row[3]]};
        take_lowest(lowest, kind.face_nodes[f] == 3 ? -tetrahedron_kernel(b[0], b[1], b[2], center)
                                                    : pyramid_measure(b, center, quality[f]));
    }
    return lowest;
}

/// True only where all these parts are measured above 1e-12: see sure_twist. The triple product of a
/// tetrahedron is that of three rays, as in a pyramid.
inline bool wedge_parts_are_sure(const double* const p[6], const double* center,
                                 const double* quality)
{
    arrow<3> ray[6];
    double most = 0.0;
    for (unsigned k = 0; k < 6; ++k) {
        ray[k] = difference<3>(p[k], center);
        most = largest(most, dot(ray[k], ray[k]));
    }
    if (!is_sure_size(most)) return false;

    const double cube = most * std::sqrt(most);
    constexpr const element_kind& kind = kind_of<ET_PENTA6>;
    for (unsigned f = 0; f < kind.faces; ++f) {
        const unsigned* row = kind.face_rows[f];
        const bool sure =
            kind.face_nodes[f] == 3
                ? -dot(cross(ray[row[0]], ray[row[1]]), ray[row[2]]) > sure_volume(cube)
                : quality[f] *
                          sure_twist(ray[row[0]], ray[row[1]], ray[row[2]], ray[row[3]], cube) >
                      sure_product(cube);
        if (!sure) return false;
    }
    return true;
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

    constexpr const element_kind& kind = kind_of<ET_PENTA6>;
    double quality[kind.faces] = {};
    double face = triangle_quality<Dim>(p[0], p[1], p[2]);
    take_lowest(face, triangle_quality<Dim>(p[3], p[4], p[5]));
    for (unsigned f = 0; f < kind.faces; ++f) {
        if (kind.face_nodes[f] != 4) continue;
        const unsigned* row = kind.face_rows[f];
        const double* const b[4] = {p[row[0]], p[row[1]], p[row[2]], p[row[3]]};
        quality[f] = quadrangle_quality<Dim>(b);
        take_lowest(face, quality[f]);
    }
    const double good = face * wedge_corners(p);
    // The parts cost most, and are measured only where they may count.
    if (!(good > 1e-12) || wedge_parts_are_sure(p, center, quality)) return good;
    return unless_inverted(good, wedge_parts(p, center, quality));
}

} // namespace kz3::lattiq::detail
