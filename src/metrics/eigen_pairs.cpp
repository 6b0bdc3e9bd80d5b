#include <cmath>

#include <kz3/lattiq/metrics.h>

#include "metrics/eigenvalues.h"

namespace kz3::lattiq {
namespace {
using namespace detail;

/// A lower triangular matrix of order 3, by row and column.
struct lower {
    double l00 = 0, l10 = 0, l11 = 0, l20 = 0, l21 = 0, l22 = 0;
};

/// The Cholesky factor. False where m is not positive; its last pivot may be 0.
bool factor(const symmetric_fixed<double, 3>& m, lower& f)
{
    if (!(m[0] > 0)) return false;
    f.l00 = std::sqrt(m[0]);
    f.l10 = m[1] / f.l00;
    f.l20 = m[3] / f.l00;
    const double second = m[2] - f.l10 * f.l10;
    if (!(second > 0)) return false;
    f.l11 = std::sqrt(second);
    f.l21 = (m[4] - f.l20 * f.l10) / f.l11;
    const double third = m[5] - f.l20 * f.l20 - f.l21 * f.l21;
    if (!(third >= 0)) return false;
    f.l22 = std::sqrt(third);
    return true;
}

lower inverse(const lower& f)
{
    lower i;
    i.l00 = 1.0 / f.l00;
    i.l11 = 1.0 / f.l11;
    i.l22 = 1.0 / f.l22;
    i.l10 = -f.l10 * i.l00 * i.l11;
    i.l21 = -f.l21 * i.l11 * i.l22;
    i.l20 = -(f.l20 * i.l00 + f.l21 * i.l10) * i.l22;
    return i;
}

lower product(const lower& a, const lower& b)
{
    lower p;
    p.l00 = a.l00 * b.l00;
    p.l10 = a.l10 * b.l00 + a.l11 * b.l10;
    p.l11 = a.l11 * b.l11;
    p.l20 = a.l20 * b.l00 + a.l21 * b.l10 + a.l22 * b.l20;
    p.l21 = a.l21 * b.l11 + a.l22 * b.l21;
    p.l22 = a.l22 * b.l22;
    return p;
}

/// k times its transpose.
symmetric_fixed<double, 3> square(const lower& k)
{
    return {k.l00 * k.l00,
            k.l10 * k.l00,
            k.l10 * k.l10 + k.l11 * k.l11,
            k.l20 * k.l00,
            k.l20 * k.l10 + k.l21 * k.l11,
            k.l20 * k.l20 + k.l21 * k.l21 + k.l22 * k.l22};
}

bool is_all_zero(const symmetric_fixed<double, 3>& m)
{
    for (const double x : m.data)
        if (x < 0 || x > 0) return false;
    return true;
}

} // namespace

bool eigen_pairs(const symmetric_fixed<double, 2>& m, vector_fixed<double, 2>& values,
                 matrix_fixed<double, 2, 2>& vectors)
{
    const double a = m[0];
    const double c = m[1];
    const double b = m[2];
    if (!eigenvalues(m, values[0], values[1])) return false;

    double x = values[0] - b;
    double y = c;
    const double length = std::sqrt(x * x + y * y);
    if (length >= 1e-12) {
        x /= length;
        y /= length;
    } else { // diagonal for practical purposes
        x = a > b ? 0 : 1;
        y = a > b ? 1 : 0;
    }
    vectors = {x, y, -y, x};
    return true;
}

bool eigen_pairs(const symmetric_fixed<double, 3>& m, vector_fixed<double, 3>& values,
                 matrix_fixed<double, 3, 3>& vectors)
{
    return eigenvalues('V', m, values.data, vectors.data);
}

bool eigen_pairs(const symmetric_fixed<double, 2>& a, const symmetric_fixed<double, 2>& b,
                 vector_fixed<double, 2>& values, matrix_fixed<double, 2, 2>& vectors)
{
    if (!(a[0] > 0)) return false;
    const double u = 1 / a[0];
    const double p = u * a[1];
    const double r = a[2] - p * a[1];
    if (!(r > 0)) return false;
    const double sr = std::sqrt(r);
    const double sa = std::sqrt(a[0]);
    const symmetric_fixed<double, 2> reduced{b[0] * u, (b[1] - b[0] * p) / (sr * sa),
                                             (b[2] - b[1] * p * 2.0 + b[0] * p * p) / r};
    if (!eigen_pairs(reduced, values, vectors)) return false;

    for (size_t j = 0; j < 2; ++j) {
        double& x = vectors(0, j);
        double& y = vectors(1, j);
        y = y / sr;
        x = x / sa - p * y;
        const double length = std::sqrt(x * x + y * y);
        if (!(length > 0)) continue;
        x /= length;
        y /= length;
    }
    return true;
}

bool eigen_pairs(const symmetric_fixed<double, 3>& a, const symmetric_fixed<double, 3>& b,
                 vector_fixed<double, 3>& values, matrix_fixed<double, 3, 3>& vectors)
{
    lower of_a;
    lower of_b; // stays zero where b is
    if (!factor(a, of_a)) return false;
    if (!is_all_zero(b) && !factor(b, of_b)) return false;
    const lower li = inverse(of_a);
    matrix_fixed<double, 3, 3> z{};
    const bool solved = eigen_pairs(square(product(li, of_b)), values, z);
    vectors = {};
    if (!solved) return false;

    for (size_t j = 0; j < 3; ++j) {
        const double x = li.l00 * z(0, j) + li.l10 * z(1, j) + li.l20 * z(2, j);
        const double y = li.l11 * z(1, j) + li.l21 * z(2, j);
        const double w = li.l22 * z(2, j);
        const double length = std::sqrt(x * x + y * y + w * w);
        const double unit = length == 0 ? 1 : length;
        vectors(0, j) = x / unit;
        vectors(1, j) = y / unit;
        vectors(2, j) = w / unit;
    }
    return true;
}

} // namespace kz3::lattiq
