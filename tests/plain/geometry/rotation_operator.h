#pragma once

#include <array>
#include <cmath>
#include <cstddef>

#include <kz3/fixed.h>

namespace plain {

/// The 66 values that belong to a rotation vector, in order: coefficients c0 to c8, the vector, T, R,
/// P1, P2, P3 and W. Every formula is written out, a series from its first term to its last.
inline std::array<double, 66> rotation_operator(const kz3::vector_fixed<double, 3>& r)
{
    std::array<double, 66> all{};
    double* c = all.data();
    double* T = c + 12;
    double* R = c + 21;
    double* P1 = c + 30;
    double* P2 = c + 39;
    double* P3 = c + 48;
    double* W = c + 57;
    for (std::size_t d = 0; d < 3; ++d) c[9 + d] = r[d];

    const double x = r[0] * r[0] + r[1] * r[1] + r[2] * r[2];
    const double theta = std::sqrt(x);
    if (theta > 0.2) {
        const double s = 1 / x;
        c[0] = std::sin(theta) / theta;
        c[1] = (1 - std::cos(theta)) * s;
        c[4] = (1 - c[0]) * s;
        c[2] = c[4] - c[1];
        c[3] = (c[0] - 2 * c[1]) * s;
        c[5] = (c[1] - 3 * c[4]) * s;
        c[8] = (c[2] - 4 * c[3]) * s;
        c[7] = (c[3] - 5 * c[5]) * s;
    } else {
        const double x2 = x * x;
        const double x3 = x2 * x;
        const double x4 = x3 * x;
        const double x5 = x4 * x;
        c[0] = 1 - x / 6 + x2 / 120 - x3 / 5040 + x4 / 362880 - x5 / 39916800;
        c[1] = 1. / 2 - x / 24 + x2 / 720 - x3 / 40320 + x4 / 3628800;
        c[2] = -1. / 3 + x / 30 - x2 / 840 + x3 / 45360 - x4 / 3991680;
        c[3] = -1. / 12 + x / 180 - x2 / 6720 + x3 / 453600 - x4 / 47900160;
        c[4] = 1. / 6 - x / 120 + x2 / 5040 - x3 / 362880 + x4 / 39916800;
        c[5] = -1. / 60 + x / 1260 - x2 / 60480 + x3 / 4989600;
        c[7] = 1. / 630 - x / 15120 + x2 / 831600 - x3 / 77837760;
        c[8] = 1. / 90 - x / 1680 + x2 / 75600 - x3 / 5987520;
    }

    const double skew[9] = {0, r[2], -r[1], -r[2], 0, r[0], r[1], -r[0], 0};
    for (std::size_t k = 0; k < 9; ++k) W[k] = skew[k];
    double W2[9] = {};
    for (std::size_t j = 0; j < 3; ++j)
        for (std::size_t i = 0; i < 3; ++i)
            for (std::size_t k = 0; k < 3; ++k) W2[3 * j + i] += W[3 * k + i] * W[3 * j + k];

    for (std::size_t k = 0; k < 9; ++k) {
        const double identity = k % 4 == 0 ? 1 : 0;
        T[k] = c[0] * W[k] + c[1] * W2[k];
        R[k] = T[k] + identity;
        P1[k] = identity + c[1] * W[k] + c[4] * W2[k];
        P2[k] = c[3] * W[k] + c[5] * W2[k];
        P3[k] = c[8] * W[k] + c[7] * W2[k];
    }
    return all;
}

} // namespace plain
