#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include <kz3/fixed.h>

/// 2-D tensors step by step, every entry a variable of its own; 3-D eigenvalues by rotations.
namespace plain {

struct pair2 {
    bool solved = false;
    double l1 = 0, l2 = 0;
    double x = 0, y = 0;   // column 0
    double x2 = 0, y2 = 0; // column 1
};

/// Tensor (m00, m01, m11) = (a, c, b).
inline bool eigenvalues(double a, double c, double b, double& l1, double& l2)
{
    const double t = a + b;
    const double d = a * b - c * c;
    const double q = t * t - 4.0 * d;
    double s = 0;
    if (q >= 0) s = std::sqrt(q);
    l1 = (t - s) * 0.5;
    l2 = l1 + s;
    if (!(std::fabs(l1) >= std::fabs(l2) * 1e-12))
        if (t > 0) l1 = d / t;
    if (!(std::fabs(l2) >= std::fabs(l1) * 1e-12))
        if (!(t >= 0)) l2 = d / t;
    return std::isfinite(l1) && std::isfinite(l2);
}

/// A smaller one that is NaN is not above 0, a larger one that is NaN is not below its limit.
inline bool is_valid(double a, double c, double b)
{
    double l1 = 0;
    double l2 = 0;
    eigenvalues(a, c, b, l1, l2);
    const double lo = l2 < l1 ? l2 : l1;
    const double hi = l2 < l1 ? l1 : l2;
    return lo > 0 && lo > hi * 1e-24;
}

inline pair2 eigen_pairs(double a, double c, double b)
{
    pair2 r;
    r.solved = eigenvalues(a, c, b, r.l1, r.l2);
    if (!r.solved) return r;
    r.x = r.l1 - b;
    r.y = c;
    const double n = std::sqrt(r.x * r.x + r.y * r.y);
    if (n >= 1e-12) {
        r.x = r.x / n;
        r.y = r.y / n;
    } else if (a > b) {
        r.x = 0;
        r.y = 1;
    } else {
        r.x = 1;
        r.y = 0;
    }
    r.x2 = -r.y;
    r.y2 = r.x;
    return r;
}

inline void back_to_unit(double sr, double sa, double p, double& x, double& y)
{
    y = y / sr;
    x = x / sa - p * y;
    const double n = std::sqrt(x * x + y * y);
    if (n == 0 || std::isnan(n)) return;
    x = x / n;
    y = y / n;
}

/// b x = value * a x.
inline pair2 eigen_pairs(const double a[3], const double b[3])
{
    pair2 r;
    if (!(a[0] > 0)) return r;
    const double u = 1 / a[0];
    const double p = u * a[1];
    const double rest = a[2] - p * a[1];
    if (!(rest > 0)) return r;
    const double sr = std::sqrt(rest);
    const double sa = std::sqrt(a[0]);
    const double c00 = b[0] * u;
    const double c01 = (b[1] - b[0] * p) / (sr * sa);
    const double c11 = (b[2] - b[1] * p * 2.0 + b[0] * p * p) / rest;
    r = eigen_pairs(c00, c01, c11);
    if (!r.solved) return r;
    back_to_unit(sr, sa, p, r.x, r.y);
    back_to_unit(sr, sa, p, r.x2, r.y2);
    return r;
}

inline double form(const double m[3], double x, double y)
{
    return x * m[0] * x + x * m[1] * y + y * m[1] * x + y * m[2] * y;
}

/// The minimum metric, or the maximum, of m1 and m2.
inline kz3::symmetric_fixed<double, 2> combine(const double m1[3], const double m2[3], bool minimum)
{
    const pair2 r = eigen_pairs(m1, m2);
    if (!r.solved) return {0, 0, 0};
    const double s = 1 / (r.x * r.y2 - r.x2 * r.y);
    const double p0[] = {r.y2 * s, -r.x2 * s};
    const double p1[] = {-r.y * s, r.x * s};
    const auto choose = [&](double a, double b) {
        if (minimum) return a >= b ? a : b;
        return b >= a ? a : b;
    };
    const double f0 = form(m1, r.x, r.y);
    const double f1 = form(m1, r.x2, r.y2);
    const double h0 = choose(f0, f0 * r.l1);
    const double h1 = choose(f1, f1 * r.l2);
    return {h0 * p0[0] * p0[0] + h1 * p1[0] * p1[0], h0 * p0[0] * p0[1] + h1 * p1[0] * p1[1],
            h0 * p0[1] * p0[1] + h1 * p1[1] * p1[1]};
}

/// A tensor whose eigenvalues are finite, with its sizes forced into [h_min, h_max].
inline kz3::symmetric_fixed<double, 2> bound(double a, double c, double b, double h_min,
                                             double h_max)
{
    double hi = 1.7976931348623157e308;
    if (h_min > 0) hi = 1.0 / (h_min * h_min);
    double lo = 0;
    if (h_max > 0 && h_max < std::sqrt(1.7976931348623157e308)) lo = 1.0 / (h_max * h_max);
    const pair2 r = eigen_pairs(a, c, b);
    const double w0 = std::max(std::min(hi, r.l1), lo);
    const double w1 = std::max(std::min(hi, r.l2), lo);
    return {w0 * r.x * r.x + w1 * r.x2 * r.x2, w0 * r.y * r.x + w1 * r.y2 * r.x2,
            w0 * r.y * r.y + w1 * r.y2 * r.y2};
}

/// Eigenvalues of a 3-D tensor, ascending, by Jacobi's rotations: 30 sweeps over the three pairs of
/// axes, each of which clears one entry.
inline kz3::vector_fixed<double, 3> eigenvalues(const kz3::symmetric_fixed<double, 3>& packed)
{
    double m[3][3];
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j) m[i][j] = packed(i, j);
    for (int sweep = 0; sweep < 30; ++sweep)
        for (int p = 0; p < 2; ++p)
            for (int q = p + 1; q < 3; ++q) {
                if (m[p][q] == 0) continue;
                const double angle = 0.5 * std::atan2(2 * m[p][q], m[q][q] - m[p][p]);
                const double c = std::cos(angle);
                const double s = std::sin(angle);
                for (auto& row : m) {
                    const double x = row[p];
                    row[p] = c * x - s * row[q];
                    row[q] = s * x + c * row[q];
                }
                for (int k = 0; k < 3; ++k) {
                    const double x = m[p][k];
                    m[p][k] = c * x - s * m[q][k];
                    m[q][k] = s * x + c * m[q][k];
                }
            }
    kz3::vector_fixed<double, 3> w{m[0][0], m[1][1], m[2][2]};
    std::sort(w.begin(), w.end());
    return w;
}

} // namespace plain
