#pragma once

#include <cstddef>
#include <type_traits>

#include <kz3/dense2D.h>
#include <kz3/fixed.h>

#include "core/column.h"

namespace kz3::lattiq::detail {

/// Tensors are stored as floats, one per column, and worked on as doubles.
template <size_t N>
symmetric_fixed<double, N> widen(const float* stored)
{
    symmetric_fixed<double, N> m;
    for (size_t k = 0; k < m.entries; ++k) m[k] = stored[k];
    return m;
}

template <size_t N>
void narrow(const symmetric_fixed<double, N>& m, float* stored)
{
    for (size_t k = 0; k < m.entries; ++k) stored[k] = float(m[k]);
}

/// Calls body with a constant 2 or 3 for a field of 3 or 6 rows; false for any other field.
template <typename Body>
bool with_dimension(size_t rows, Body body)
{
    if (rows == 3) body(std::integral_constant<size_t, 2>{});
    if (rows == 6) body(std::integral_constant<size_t, 3>{});
    return rows == 3 || rows == 6;
}

/// The tensor of the size h: 1/h^2 on the diagonal, all 0 where h is not above 0.
template <size_t N>
symmetric_fixed<double, N> isotropic(double h)
{
    symmetric_fixed<double, N> m{};
    if (h > 0)
        for (size_t d = 0; d < N; ++d) m(d, d) = 1.0 / (h * h);
    return m;
}

/// Replaces metrics by n columns, the j-th the tensor(source, j) of order N, where source holds the
/// elements of input, which may share the storage of metrics. Where memory is exhausted, metrics is
/// left without columns.
template <size_t N, typename Input, typename Tensor>
void replace_field(const Input& input, size_t n, dense2D<float>& metrics, Tensor tensor)
{
    // A shared storage is overwritten while the input is still to be read.
    Input source(input);
    const bool apart = input.vec.get() != metrics.vec.get() || source.copy(input);
    metrics.clear();
    if (!apart) return;
    metrics.resize(symmetric_fixed<double, N>::entries, n, 0.0F);
    for (size_t j = 0; j < metrics.cols; ++j) narrow<N>(tensor(source, j), column(metrics, j));
}

} // namespace kz3::lattiq::detail
