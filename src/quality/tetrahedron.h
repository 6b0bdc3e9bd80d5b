#pragma once

#include "quality/point.h"

namespace kz3::lattiq::detail {

/// Six times the volume over longest edge times face areas, seen from the corner d. Positive where
/// a, b, c run counter-clockwise seen from the side that d is not on.
///
/// The constant has these twelve digits, so that the regular tetrahedron scores 0.9999999999987025.
inline double tetrahedron_kernel(const double* a, const double* b, const double* c, const double* d)
{
    const arrow<3> u = difference<3>(a, d);
    const arrow<3> v = difference<3>(b, d);
    const arrow<3> w = difference<3>(c, d);
    const double uu = dot(u, u), vv = dot(v, v), ww = dot(w, w);
    const double uv = dot(u, v), uw = dot(u, w), vw = dot(v, w);
    const double uv_edge = vv + uu - 2.0 * uv; // squared edges that do not meet d
    const double uw_edge = ww + uu - 2.0 * uw;
    const double vw_edge = ww + vv - 2.0 * vw;

    // Twice the area of a face, from the products of two of its edges.
    const auto face = [](double x, double y, double z) {
        const double square = x * y - z * z;
        return square > 0.0 ? std::sqrt(square) : 0.0;
    };
    const double faces = face(vv, uu, uv) + face(ww, uu, uw) + face(ww, vv, vw) +
                         face(uw_edge, uv_edge, uu - uv - uw + vw);
    const double longest = std::max({uu, vv, ww, uv_edge, uw_edge, vw_edge});
    const double scale = std::sqrt(longest) * faces;
    if (!(scale > 0.0)) return 0.0;
    return limited(dot(cross(u, v), w) * 4.89897948556 / scale, -1.0, 1.0);
}

/// The kernel seen from node 3; for a nearly flat element, where its sign may be rounding alone, the
/// kernels of all corners must agree on the sign, and the largest of them counts.
inline double tetrahedron_quality(const double* const p[4])
{
    double quality = tetrahedron_kernel(p[0], p[1], p[2], p[3]);
    if (std::abs(quality) >= 1e-9) return quality;

    for (unsigned k = 0; k < 3; ++k) {
        double x = tetrahedron_kernel(p[(k + 1) % 4], p[(k + 2) % 4], p[(k + 3) % 4], p[k]);
        if (k != 1) x = -x;
        if (!(x >= 0.0) && quality > 0.0) quality = 0.0;
        if (x > 0.0 && !(quality >= 0.0)) quality = 0.0;
        if (!(std::abs(x) >= std::abs(quality))) quality = x;
    }
    return quality;
}

} // namespace kz3::lattiq::detail
