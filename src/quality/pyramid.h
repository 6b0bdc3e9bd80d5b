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
    const double good = base_quality * pyramid_twist(b, p);
    if (!(good > 1e-12)) return good;
    double lowest = 1.0;
    for (unsigned k = 0; k < 4; ++k)
        take_lowest(lowest, tetrahedron_kernel(b[k], b[(k + 2) % 4], b[(k + 1) % 4], p));
    return unless_inverted(good, lowest);
}

/// From the square of the longest ray, R R, from the centre of an element to its nodes: whether the
/// bounds of sure_twist hold.
inline bool is_sure_size(double square)
{
    return square > 1e-30 && square < 1e30;
}

/// A triple product of rays above which a tetrahedron is sure to be measured above 1e-12.
inline double sure_volume(double cube)
{
    return 1e-7 * cube;
}

/// What quality times sure_twist must exceed.
inline double sure_product(double cube)
{
    return 1e-11 * (cube * cube);
}

/// A number whose product with the quality of a base, where above sure_product, makes sure that the
/// pyramid on that base, seen from the centre, is measured above 1e-12; or 0. a0 to a3 are the rays
/// from the centre to the nodes of the base, `cube` is R cubed, of a sure size.
///
/// Proof. t0 to t3 are the triple products of the four tetrahedron kernels, which compute them in
/// another order; both are within 1e-14 R^3 of the exact ones, whose least is so above 0.99e-7 R^3.
/// Then each two rays span a face of which the kernel's x*y - z*z is above 0.9e-14 R^4, while its
/// rounding is below 2e-15 R^4: it is found above 0, and so is the kernel's divisor, which on the
/// other hand is at most 2R (3 R^2 + 4 R^2), rounded below 15 R^3. So each kernel is above
/// 0.9e-7 * 4.8 / 15, far above 1e-12. The two products of the twist are t1 + t3 and t0 + t2 within
/// 1e-13 R^3, a millionth of them, and its divisor is at most 4 R^6 and, since each ray and each
/// diagonal is at least 0.9e-7 R, no number that underflows. The twist is then at least a fifth of
/// (t1 + t3)(t0 + t2) / R^6 or limited to 1, where the product below is at most 4 times the
/// quality: in both cases quality times twist exceeds 1e-12, and it is the measure.
inline double sure_twist(const arrow<3>& a0, const arrow<3>& a1, const arrow<3>& a2,
                         const arrow<3>& a3, double cube)
{
    const arrow<3> n02 = cross(a0, a2);
    const arrow<3> n13 = cross(a1, a3);
    const double t0 = dot(n02, a1);
    const double t1 = dot(n13, a2);
    const double t2 = -dot(n02, a3);
    const double t3 = -dot(n13, a0);
    const double least = sure_volume(cube);
    double twist = (t1 + t3) * (t0 + t2);
    twist = t0 > least ? twist : 0.0;
    twist = t1 > least ? twist : 0.0;
    twist = t2 > least ? twist : 0.0;
    return t3 > least ? twist : 0.0;
}

template <unsigned Dim>
double pyramid_quality(const double* const p[5])
{
    return pyramid_measure(p, p[4], quadrangle_quality<Dim>(p));
}

} // namespace kz3::lattiq::detail
