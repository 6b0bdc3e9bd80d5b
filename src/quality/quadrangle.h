#pragma once

#include "quality/point.h"

namespace kz3::lattiq::detail {

/// Edges and diagonals of a quadrangle, as both of its measures need them.
template <unsigned Dim>
struct quadrangle {
    static constexpr double to_unit = 5.656854249492381; // sqrt(32): the square scores 1

    explicit quadrangle(const double* const p[4])
        : edge{difference<Dim>(p[1], p[0]), difference<Dim>(p[2], p[1]),
               difference<Dim>(p[3], p[2]), difference<Dim>(p[0], p[3])}
    {
        const double l[4] = {length(edge[0]), length(edge[1]), length(edge[2]), length(edge[3])};
        perimeter = l[0] + l[1] + l[2] + l[3];
        const double d1 = length(difference<Dim>(p[2], p[0]));
        const double d2 = length(difference<Dim>(p[3], p[1]));
        shorter = std::min(d1, d2);
        longer = std::max(d1, d2);
        widest = std::max(longer, std::max({l[0], l[1], l[2], l[3]}));
    }

    /// The edge that arrives at corner k; edge[k] leaves it.
    const arrow<Dim>& arriving(unsigned k) const { return edge[(k + 3) % 4]; }

    arrow<Dim> edge[4];
    double perimeter;
    double shorter, longer; // diagonals
    double widest;          // the longest of edges and diagonals
};

/// Lowest signed corner area against perimeter and width, between -1 and 1.
inline double flat_quadrangle_quality(const double* const p[4])
{
    const quadrangle<2> q(p);
    double corner = cross(q.arriving(0), q.edge[0]);
    for (unsigned k = 1; k < 4; ++k) take_lowest(corner, cross(q.arriving(k), q.edge[k]));
    if (!(q.longer > 0.0)) return 0.0;

    const double quality =
        std::sqrt(q.shorter / q.longer) * corner / (q.widest * q.perimeter) * q.to_unit;
    return limited(quality, -1.0, 1.0);
}

/// The same from the lowest corner normal, times a factor that falls from 1 to 0 as opposite
/// normals turn away from each other. Between 0 and 1.
inline double warped_quadrangle_quality(const double* const p[4])
{
    const quadrangle<3> q(p);
    arrow<3> normal[4];
    double square[4];
    for (unsigned k = 0; k < 4; ++k) {
        normal[k] = cross(q.arriving(k), q.edge[k]);
        square[k] = dot(normal[k], normal[k]);
    }

    double shape = 0.0;
    if (q.longer > 0.0) {
        double corner = square[0];
        for (unsigned k = 1; k < 4; ++k) take_lowest(corner, square[k]);
        shape = std::sqrt(q.shorter / q.longer) * std::sqrt(corner) / (q.perimeter * q.widest) *
                q.to_unit;
        if (shape > 1.0) shape = 1.0;
    }

    double warp = 0.0;
    const double squares31 = square[3] * square[1];
    const double squares02 = square[0] * square[2];
    if (squares31 > 0.0 && squares02 > 0.0) {
        double cosine = dot(normal[3], normal[1]) / std::sqrt(squares31);
        take_lowest(cosine, dot(normal[0], normal[2]) / std::sqrt(squares02));
        warp = (cosine + 1.0) * 0.5;
    }
    return limited(shape * warp, 0.0, 1.0);
}

/// By the space of the coordinates: signed in two dimensions, the three-dimensional form in any
/// other.
template <unsigned Dim>
double quadrangle_quality(const double* const p[4])
{
    if constexpr (Dim == 2)
        return flat_quadrangle_quality(p);
    else
        return warped_quadrangle_quality(p);
}

} // namespace kz3::lattiq::detail
