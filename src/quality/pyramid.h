#pragma once

#include "quality/quadrangle.h"
#include "quality/tetrahedron.h"

namespace kz3::lattiq::detail {

/// Quality `good`, unless it looks positive while the check that stands behind it does not: then the
/// value of the check, so that an inverted part is never hidden by a good outline.
inline double unless_inverted(double good, double check)
{
    return good > 1e-12 && !(check >= 1e-12) ? check : good;
}

/// How far the base b, seen from p, is from a twisted one: 1 untwisted, positive only where both
/// halves of it are seen from the right side.
inline double pyramid_twist(const double* const b[4], const double* p)
{
    const arrow<3> a0 = difference<3>(b[0], p);
    const arrow<3> a1 = difference<3>(b[1], p);
    const arrow<3> a2 = difference<3>(b[2], p);
    const arrow<3> a3 = difference<3>(b[3], p);
    const arrow<3> ac = difference<3>(a2.data, a0.data);
    const arrow<3> bd = difference<3>(a3.data, a1.data);
    const double x = dot(cross(ac, a1), a3);
    const double y = dot(cross(a0, bd), a2);
    double twist = x * y;
    if (x < 0.0 && y < 0.0) twist = -twist;
    const double scale = std::sqrt(dot(bd, bd) * dot(ac, ac) * dot(a3, a3) * dot(a2, a2) *
                                   dot(a1, a1) * dot(a0, a0));
    return limited(scale > 0.0 ? twist / scale : twist, -1.0, 1.0);
}

/// Measure of the pyramid on base b with apex p, of its own or inside a wedge or hexahedron.
/// `base_quality` is the quadrangle quality of b.
inline double pyramid_measure(const double* const b[4], const double* p, double base_quality)
{
    double lowest = 1.0;
    for (unsigned k = 0; k < 4; ++k)
        take_lowest(lowest, tetrahedron_kernel(b[k], b[(k + 2) % 4], b[(k + 1) % 4], p));
    return unless_inverted(base_quality * pyramid_twist(b, p), lowest);
}

template <unsigned Dim>
double pyramid_quality(const double* const p[5])
{
    return pyramid_measure(p, p[4], quadrangle_quality<Dim>(p));
}

} // namespace kz3::lattiq::detail
