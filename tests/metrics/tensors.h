#pragma once

#include <cmath>
#include <limits>
#include <random>

#include <kz3/fixed.h>

#include "support/same.h"

using tensor2 = symmetric_fixed<double, 2>;
using tensor3 = symmetric_fixed<double, 3>;
using vectors2 = matrix_fixed<double, 2, 2>;
using vectors3 = matrix_fixed<double, 3, 3>;
using plane = matrix_fixed<double, 3, 2>;

inline constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();
inline constexpr double infinity = std::numeric_limits<double>::infinity();

/// Entries that break formulas.
inline constexpr double awkward[] = {0,     -0.0,    1,         -1,       2,        0.5,
                                     3e-13, 1e-24,   5e-324,    1e-160,   1e154,    -1e154,
                                     1e300, 1.7e308, nan_value, infinity, -infinity};

/// Equal entries, of any of the fixed containers; a failure names the first that differs.
template <typename Fixed>
testing::AssertionResult same(const Fixed& a, const Fixed& b)
{
    for (std::size_t k = 0; k < std::size(a.data); ++k)
        if (!equal(a.data[k], b.data[k]))
            return testing::AssertionFailure()
                   << "[" << k << "]: " << a.data[k] << " against " << b.data[k];
    return testing::AssertionSuccess();
}

/// Entries that differ by no more than tolerance times the largest of b.
template <typename Fixed>
testing::AssertionResult near(const Fixed& a, const Fixed& b, double tolerance)
{
    double scale = 0;
    for (const double x : b.data) scale = std::fmax(scale, std::fabs(x));
    for (std::size_t k = 0; k < std::size(a.data); ++k)
        if (!(std::fabs(a.data[k] - b.data[k]) <= tolerance * scale))
            return testing::AssertionFailure()
                   << "[" << k << "]: " << a.data[k] << " against " << b.data[k];
    return testing::AssertionSuccess();
}

template <std::size_t N>
double form(const symmetric_fixed<double, N>& m, const vector_fixed<double, N>& x)
{
    double sum = 0;
    for (std::size_t i = 0; i < N; ++i)
        for (std::size_t j = 0; j < N; ++j) sum += m(i, j) * x[i] * x[j];
    return sum;
}

template <std::size_t N>
vector_fixed<double, N> column_of(const matrix_fixed<double, N, N>& m, std::size_t j)
{
    vector_fixed<double, N> x;
    for (std::size_t i = 0; i < N; ++i) x[i] = m(i, j);
    return x;
}

template <std::size_t N>
symmetric_fixed<double, N> from_pairs(const vector_fixed<double, N>& values,
                                      const matrix_fixed<double, N, N>& vectors)
{
    symmetric_fixed<double, N> m{};
    for (std::size_t k = 0; k < N; ++k)
        for (std::size_t i = 0; i < N; ++i)
            for (std::size_t j = 0; j <= i; ++j)
                m(j, i) += values[k] * vectors(i, k) * vectors(j, k);
    return m;
}

/// Tensors and vectors from a fixed seed.
class random_tensors {
public:
    explicit random_tensors(unsigned seed) : engine(seed) {}

    double number(double low, double high)
    {
        return low + (high - low) * (double(engine()) / 4294967296.0);
    }

    template <std::size_t N>
    vector_fixed<double, N> vector()
    {
        vector_fixed<double, N> x;
        for (double& c : x) c = number(-1, 1);
        return x;
    }

    /// Any entries from -scale to scale.
    template <std::size_t N>
    symmetric_fixed<double, N> any(double scale = 1)
    {
        symmetric_fixed<double, N> m;
        for (double& c : m.data) c = number(-scale, scale);
        return m;
    }

    /// Entries each of which is, as likely as not, an awkward one.
    template <std::size_t N>
    symmetric_fixed<double, N> hostile()
    {
        symmetric_fixed<double, N> m;
        for (double& c : m.data)
            c = engine() % 2 == 0 ? awkward[engine() % std::size(awkward)] : number(-3, 3);
        return m;
    }

    /// Eigenvalues from 1/spread to spread, in any directions.
    template <std::size_t N>
    symmetric_fixed<double, N> positive(double spread = 100)
    {
        vector_fixed<double, N> values;
        for (double& w : values) w = std::exp(number(-1, 1) * std::log(spread));
        return from_pairs(values, frame<N>());
    }

private:
    /// N orthonormal columns: random ones, each less its parts along those before it.
    template <std::size_t N>
    matrix_fixed<double, N, N> frame()
    {
        matrix_fixed<double, N, N> f{};
        for (std::size_t k = 0; k < N; ++k) {
            vector_fixed<double, N> x;
            double length = 0;
            while (length < 0.1) {
                x = vector<N>();
                for (int twice = 0; twice < 2; ++twice)
                    for (std::size_t l = 0; l < k; ++l) {
                        double part = 0;
                        for (std::size_t i = 0; i < N; ++i) part += x[i] * f(i, l);
                        for (std::size_t i = 0; i < N; ++i) x[i] -= part * f(i, l);
                    }
                length = 0;
                for (const double c : x) length += c * c;
                length = std::sqrt(length);
            }
            for (std::size_t i = 0; i < N; ++i) f(i, k) = x[i] / length;
        }
        return f;
    }

    std::mt19937 engine;
};
