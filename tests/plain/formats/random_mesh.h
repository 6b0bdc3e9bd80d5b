#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "support/same.h"

namespace plain {

/// Nodes and matrices of every kind for the writers: mixed, of second order, empty, strided.
struct random_mesh {
    explicit random_mesh(std::uint64_t seed) : random(seed) {}

    double coordinate()
    {
        constexpr double odd[] = {0.0,
                                  -0.0,
                                  std::numeric_limits<double>::infinity(),
                                  -std::numeric_limits<double>::infinity(),
                                  std::numeric_limits<double>::quiet_NaN(),
                                  -std::numeric_limits<double>::quiet_NaN(),
                                  4.9406564584124654e-324,
                                  1e308,
                                  0.5,
                                  1234567.5,
                                  9.9999995e-5};
        if (below(4) == 0) return odd[below(std::size(odd))];
        if (below(2) == 0) return std::uniform_real_distribution<double>(-100, 100)(random);
        const std::uint64_t bits = random();
        double x = 0;
        std::memcpy(&x, &bits, sizeof x);
        return x;
    }

    dense2D<double> nodes(std::size_t rows, std::size_t cols)
    {
        dense2D<double> pos(rows, cols, 0.0);
        for (std::size_t j = 0; j < cols; ++j)
            for (std::size_t i = 0; i < rows; ++i) pos(i, j) = coordinate();
        return below(2) ? strided<double>(pos).view : pos;
    }

    /// Up to most elements of the kind on n nodes, with the marks of a mixed kind.
    dense2D<unsigned> elements(int type, unsigned n, unsigned most)
    {
        constexpr unsigned solid_rows[] = {4, 5, 6, 8};
        unsigned rows = kz3::lattiq::element_type_nodes[type];
        if (type == kz3::lattiq::ET_FACE_MIX) rows = 3 + below(2);
        if (type == kz3::lattiq::ET_SOLID_MIX) rows = solid_rows[below(4)];
        dense2D<unsigned> m(rows, below(most + 1), 0);
        for (std::size_t j = 0; j < m.cols; ++j) {
            for (std::size_t i = 0; i < m.rows; ++i) m(i, j) = below(n);
            const unsigned end = 3 + below(4);
            const bool face = type == kz3::lattiq::ET_FACE_MIX && end == 3;
            const bool solid = type == kz3::lattiq::ET_SOLID_MIX && end >= 4;
            if ((face || solid) && end < rows) m(end, j) = none;
        }
        return below(2) ? strided<unsigned>(m).view : m;
    }

    unsigned below(std::size_t n) { return unsigned(random() % n); }

    std::mt19937_64 random;
};

} // namespace plain
