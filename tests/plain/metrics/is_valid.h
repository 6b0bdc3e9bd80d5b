#pragma once

#include <algorithm>
#include <cstdint>

#include <kz3/fixed.h>
#include <kz3/lapack/dspev.h>

namespace plain {

/// Validity of a 3-D tensor by the eigenvalues that LAPACK finds, each time.
inline bool is_valid(kz3::symmetric_fixed<double, 3> m)
{
    double w[3] = {};
    double work[9];
    std::int32_t info = 0;
    kz3::lapack::dspev('N', 'U', 3, m.data, w, nullptr, 1, work, info);
    for (const double x : w)
        if (!(x > 0)) return false;
    const double lo = std::min({w[0], w[1], w[2]});
    const double hi = std::max({w[0], w[1], w[2]});
    return lo > hi * 1e-24;
}

} // namespace plain
