#pragma once

#include <cmath>
#include <vector>

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>

#include "plain/quality/edge_set.h"

namespace plain {

/// The integral of 1/h over an edge of length 1, by Simpson's rule.
inline double sizes_along(double h1, double h2)
{
    constexpr int steps = 2000;
    double sum = 0.0;
    for (int i = 0; i <= steps; ++i) {
        const double weight = i == 0 || i == steps ? 1 : i % 2 == 1 ? 4 : 2;
        sum += weight / (h1 + (h2 - h1) * i / steps);
    }
    return sum / (3.0 * steps);
}

inline double edge_length(const kz3::dense2D<double>& pos, const kz3::dense1D<float>& sizes,
                          unsigned a, unsigned b)
{
    double square = 0.0;
    for (std::size_t d = 0; d < pos.rows; ++d)
        square += (pos(d, a) - pos(d, b)) * (pos(d, a) - pos(d, b));
    return std::sqrt(square) * sizes_along(sizes[a], sizes[b]);
}

inline double edge_length(const kz3::dense2D<double>& pos, const kz3::dense2D<float>& metrics,
                          unsigned a, unsigned b)
{
    double q[2] = {0, 0};
    const unsigned end[2] = {a, b};
    for (int k = 0; k < 2; ++k)
        for (std::size_t i = 0; i < pos.rows; ++i)
            for (std::size_t j = 0; j < pos.rows; ++j) {
                const std::size_t high = i > j ? i : j;
                const std::size_t low = i > j ? j : i;
                q[k] += double(metrics(high * (high + 1) / 2 + low, end[k])) *
                        (pos(i, a) - pos(i, b)) * (pos(j, a) - pos(j, b));
            }
    if (q[0] > 0 && q[1] > 0) return sizes_along(1 / std::sqrt(q[0]), 1 / std::sqrt(q[1]));
    return 0.0;
}

/// The lengths of all edges of a set.
template <typename Field>
std::vector<double> edge_qualities(const kz3::dense2D<double>& pos, const edge_set& edges,
                                   const Field& field)
{
    std::vector<double> lengths;
    for (const auto& e : edges.ordered()) lengths.push_back(edge_length(pos, field, e[0], e[1]));
    return lengths;
}

} // namespace plain
