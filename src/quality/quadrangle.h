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
        set_lengths(length(edge[0]), length(edge[1]), length(edge[2]), length(edge[3]),
                    length(difference<Dim>(p[2], p[0])), length(difference<Dim>(p[3], p[1])));
    }

    /// From lengths of edges and diagonals that are known already.
    quadrangle(const double* const p[4], const double (&l)[4], double d1, double d2)
        : edge{difference<Dim>(p[1], p[0]), difference<Dim>(p[2], p[1]),
               difference<Dim>(p[3], p[2]), difference<Dim>(p[0], p[3])}
    {
        set_lengths(l[0], l[1], l[2], l[3], d1, d2);
    }

    /// The edge that arrives at corner k; edge[k] leaves it.
    const arrow<Dim>& arriving(unsigned k) const { return edge[(k + 3) % 4]; }

    arrow<Dim> edge[4];
    double perimeter = 0.0;
    double shorter = 0.0, longer = 0.0; // diagonals
    double widest = 0.0;                // the longest of edges and diagonals

private:
    void set_lengths(double l0, double l1, double l2, double l3, double d1, double d2)
    {
        perimeter = l0 + l1 + l2 + l3;
        shorter = d2 < d1 ? d2 : d1;
        longer = largest(d1, d2);
        widest = largest(longer, largest(l0, l1, l2, l3));
    }
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
///
/// Everything is computed and then chosen from, so that quadrangles can be measured side by side.
inline double warped_quadrangle_quality(const quadrangle<3>& q)
{
    const arrow<3> n0 = cross(q.edge[3], q.edge[0]);
    const arrow<3> n1 = cross(q.edge[0], q.edge[1]);
    const arrow<3> n2 = cross(q.edge[1], q.edge[2]);
    const arrow<3> n3 = cross(q.edge[2], q.edge[3]);
    const double s0 = dot(n0, n0);
    const double s1 = dot(n1, n1);
    const double s2 = dot(n2, n2);
    const double s3 = dot(n3, n3);

    double corner = s0;
    take_lowest(corner, s1);
    take_lowest(corner, s2);
    take_lowest(corner, s3);
    const double ratio =
        std::sqrt(q.shorter / q.longer) * std::sqrt(corner) / (q.perimeter * q.widest) * q.to_unit;
    const double shape = q.longer > 0.0 ? (ratio > 1.0 ? 1.0 : ratio) : 0.0;

    const double squares31 = s3 * s1;
    const double squares02 = s0 * s2;
    double cosine = dot(n3, n1) / std::sqrt(squares31);
    take_lowest(cosine, dot(n0, n2) / std::sqrt(squares02));
    const double twist = (cosine + 1.0) * 0.5;
    const double some = squares31 > 0.0 ? twist : 0.0;
    const double warp = squares02 > 0.0 ? some : 0.0;
    return limited(shape * warp, 0.0, 1.0);
}

inline double warped_quadrangle_quality(const double* const p[4])
{
    return warped_quadrangle_quality(quadrangle<3>(p));
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
