#pragma once

#include <cmath>
#include <cstddef>

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>

#include "plain/geometry/rotation_operator.h"

namespace plain {

/// Turns column j about the center by a matrix given column by column: a column of the matrix for each
/// difference that is below or above 0, one after the other.
template <std::size_t N>
void turn(kz3::dense2D<double>& pos, std::size_t j, const kz3::vector_fixed<double, N>& center,
          const double* matrix)
{
    kz3::vector_fixed<double, N> q = center;
    for (std::size_t k = 0; k < N; ++k) {
        const double difference = pos(k, j) - center[k];
        if (difference < 0 || difference > 0)
            for (std::size_t d = 0; d < N; ++d) q[d] += difference * matrix[N * k + d];
    }
    for (std::size_t d = 0; d < N; ++d) pos(d, j) = q[d];
}

/// Turns one node in the plane.
inline void rotate(kz3::dense2D<double>& pos, std::size_t j,
                   const kz3::vector_fixed<double, 2>& center, double angle)
{
    const double matrix[4] = {std::cos(angle), std::sin(angle), -std::sin(angle), std::cos(angle)};
    turn(pos, j, center, matrix);
}

/// Turns one node in space.
inline void rotate(kz3::dense2D<double>& pos, std::size_t j,
                   const kz3::vector_fixed<double, 3>& center,
                   const kz3::vector_fixed<double, 3>& r)
{
    turn(pos, j, center, rotation_operator(r).data() + 21);
}

/// Moves one node.
template <std::size_t N>
void translate(kz3::dense2D<double>& pos, std::size_t j, const kz3::vector_fixed<double, N>& v)
{
    for (std::size_t d = 0; d < N; ++d) pos(d, j) += v[d];
}

/// Moves one node to `factor` times its distance from the center.
template <std::size_t N>
void zoom(kz3::dense2D<double>& pos, std::size_t j, const kz3::vector_fixed<double, N>& center,
          double factor)
{
    for (std::size_t d = 0; d < N; ++d) pos(d, j) += (pos(d, j) - center[d]) * (factor - 1.0);
}

inline double times(double t, double angle)
{
    return t * angle;
}

template <std::size_t N>
kz3::vector_fixed<double, N> times(double t, kz3::vector_fixed<double, N> v)
{
    for (double& component : v) component = t * component;
    return v;
}

} // namespace plain
