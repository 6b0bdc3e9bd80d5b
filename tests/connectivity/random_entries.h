#pragma once

#include <algorithm>
#include <cstddef>
#include <random>
#include <vector>

#include "support/same.h"

/// A matrix of entries below n, one in `holes` of them NO_NODE; 0 for no hole.
inline dense2D<unsigned> random_entries(std::mt19937& random, std::size_t rows, std::size_t cols,
                                        unsigned n, unsigned holes)
{
    dense2D<unsigned> m(rows, cols);
    for (std::size_t j = 0; j < cols; ++j)
        for (std::size_t i = 0; i < rows; ++i) {
            const auto drawn = unsigned(random());
            const bool hole = holes != 0 && random() % holes == 0;
            m(i, j) = hole ? none : drawn % n;
        }
    return m;
}

inline dense1D<unsigned> list(const std::vector<unsigned>& values)
{
    dense1D<unsigned> l(values.size());
    std::copy(values.begin(), values.end(), l.begin());
    return l;
}
