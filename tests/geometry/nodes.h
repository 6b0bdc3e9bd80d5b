#pragma once

#include <cmath>
#include <random>

#include "support/same.h"

/// n nodes in a cube of side 10 about the origin.
inline dense2D<double> cloud(std::size_t rows, std::size_t n, unsigned seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> coordinate(-5, 5);
    dense2D<double> pos(rows, n);
    for (std::size_t j = 0; j < n; ++j)
        for (std::size_t d = 0; d < rows; ++d) pos(d, j) = coordinate(random);
    return pos;
}

/// Equal shapes, and elements no further apart than that.
inline testing::AssertionResult near(const dense2D<double>& a, const dense2D<double>& b,
                                     double within)
{
    if (a.rows != b.rows || a.cols != b.cols) return same(a, b);
    for (std::size_t j = 0; j < a.cols; ++j)
        for (std::size_t i = 0; i < a.rows; ++i)
            if (!(std::abs(a(i, j) - b(i, j)) <= within))
                return testing::AssertionFailure() << "row " << i << ", column " << j << ": "
                                                   << a(i, j) << " against " << b(i, j);
    return testing::AssertionSuccess();
}

/// As same, and zeros have the same sign.
inline testing::AssertionResult same_signs(const dense2D<double>& a, const dense2D<double>& b)
{
    if (const auto values = same(a, b); !values) return values;
    for (std::size_t j = 0; j < a.cols; ++j)
        for (std::size_t i = 0; i < a.rows; ++i)
            if (a(i, j) == 0.0 && std::signbit(a(i, j)) != std::signbit(b(i, j)))
                return testing::AssertionFailure() << "row " << i << ", column " << j << ": "
                                                   << a(i, j) << " against " << b(i, j);
    return testing::AssertionSuccess();
}

// Node j stands at (j, 10 * j).
inline dense2D<double> points(std::size_t n)
{
    dense2D<double> pos(2, n);
    for (std::size_t j = 0; j < n; ++j) {
        pos(0, j) = double(j);
        pos(1, j) = 10.0 * double(j);
    }
    return pos;
}

inline dense2D<double> points(std::initializer_list<unsigned> which)
{
    dense2D<double> pos(2, which.size());
    std::size_t k = 0;
    for (const unsigned j : which) {
        pos(0, k) = j;
        pos(1, k++) = 10.0 * j;
    }
    return pos;
}
