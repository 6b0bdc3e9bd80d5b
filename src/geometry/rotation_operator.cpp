#include "geometry/rotation_operator.h"

#include <cmath>
#include <iterator>

namespace kz3::lattiq::detail {
namespace {

// Coefficients of Rodrigues' formula and of its derivatives by the rotation vector, x = theta^2.
void closed_forms(double x, double theta, double (&c)[9])
{
    const double s = 1 / x;
    c[0] = std::sin(theta) / theta;
    c[1] = (1 - std::cos(theta)) * s;
    c[4] = (1 - c[0]) * s;
    c[2] = c[4] - c[1];
    c[3] = (c[0] - 2 * c[1]) * s;
    c[5] = (c[1] - 3 * c[4]) * s;
    c[8] = (c[2] - 4 * c[3]) * s;
    c[7] = (c[3] - 5 * c[5]) * s;
}

// 1/first + x/second + x^2/third ...
template <typename... Reciprocals>
double power_series(double x, Reciprocals... reciprocals)
{
    const double terms[] = {1.0 / reciprocals...};
    double value = 0;
    for (auto term = std::rbegin(terms); term != std::rend(terms); ++term)
        value = value * x + *term;
    return value;
}

// The closed forms cancel near theta = 0; these are their Taylor series in x.
void series(double x, double (&c)[9])
{
    c[0] = power_series(x, 1.0, -6.0, 120.0, -5040.0, 362880.0, -39916800.0);
    c[1] = power_series(x, 2.0, -24.0, 720.0, -40320.0, 3628800.0);
    c[2] = power_series(x, -3.0, 30.0, -840.0, 45360.0, -3991680.0);
    c[3] = power_series(x, -12.0, 180.0, -6720.0, 453600.0, -47900160.0);
    c[4] = power_series(x, 6.0, -120.0, 5040.0, -362880.0, 39916800.0);
    c[5] = power_series(x, -60.0, 1260.0, -60480.0, 4989600.0);
    c[7] = power_series(x, 630.0, -15120.0, 831600.0, -77837760.0);
    c[8] = power_series(x, 90.0, -1680.0, 75600.0, -5987520.0);
}

// to = diagonal * I + a * A + b * B
void combine(double diagonal, double a, const double (&A)[9], double b, const double (&B)[9],
             double (&to)[9])
{
    for (unsigned k = 0; k < 9; ++k) to[k] = a * A[k] + b * B[k];
    for (unsigned d = 0; d < 3; ++d) to[4 * d] += diagonal;
}

} // namespace

rotation_operator::rotation_operator(const vector_fixed<double, 3>& vector)
    : c{}, r{vector[0], vector[1], vector[2]}, W{0, r[2], -r[1], -r[2], 0, r[0], r[1], -r[0], 0}
{
    const double x = r[0] * r[0] + r[1] * r[1] + r[2] * r[2];
    const double theta = std::sqrt(x);
    if (theta > 0.2)
        closed_forms(x, theta, c);
    else
        series(x, c);

    double W2[9] = {};
    for (unsigned j = 0; j < 3; ++j)
        for (unsigned k = 0; k < 3; ++k)
            for (unsigned i = 0; i < 3; ++i) W2[3 * j + i] += W[3 * k + i] * W[3 * j + k];

    combine(0, c[0], W, c[1], W2, T);
    combine(1, c[0], W, c[1], W2, R);
    combine(1, c[1], W, c[4], W2, P1);
    combine(0, c[3], W, c[5], W2, P2);
    combine(0, c[8], W, c[7], W2, P3);
}

} // namespace kz3::lattiq::detail
