#pragma once

#include <cmath>

#include <kz3/fixed.h>
#include <kz3/lapack/dspev.h>

namespace kz3::lattiq::detail {

/// Eigenvalues of a 2-D tensor in closed form, the smaller first. A value that cancellation would
/// have spoilt is found from the determinant. False if one is not finite; both are set all the same.
inline bool eigenvalues(const symmetric_fixed<double, 2>& m, double& l1, double& l2)
{
    const double a = m[0];
    const double b = m[2];
    const double c = m[1];
    const double t = a + b;
    const double d = a * b - c * c;
    const double q = t * t - 4.0 * d;
    const double s = q >= 0 ? std::sqrt(q) : 0;
    l1 = (t - s) * 0.5;
    l2 = l1 + s;
    if (!(std::abs(l1) >= std::abs(l2) * 1e-12) && t > 0) l1 = d / t;
    if (!(std::abs(l2) >= std::abs(l1) * 1e-12) && !(t >= 0)) l2 = d / t;
    return std::isfinite(l1) && std::isfinite(l2);
}

/// Eigenvalues of a 3-D tensor, ascending, and with 'V' its eigenvectors. False if the iteration did
/// not converge.
inline bool eigenvalues(char jobz, symmetric_fixed<double, 3> m, double* w, double* z)
{
    double work[9];
    std::int32_t info = 0;
    return lapack::dspev(jobz, 'U', 3, m.data, w, z, jobz == 'V' ? 3 : 1, work, info) == 0;
}

} // namespace kz3::lattiq::detail
