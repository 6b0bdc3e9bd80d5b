#pragma once

#include <algorithm>
#include <cstddef>

#include <kz3/dense2D.h>

#include "core/column.h"

namespace kz3::lattiq::detail {

/// Appends a column of `rows` values, amortised O(rows): the room for columns doubles, from 4 on.
///
/// @return false if the matrix is not empty and has another number of rows, or memory is exhausted;
///         the matrix is then unchanged
template <typename T>
bool append_column(dense2D<T>& m, const T* values, size_t rows)
{
    if (!m.empty() && m.rows != rows) return false;
    const size_t n = m.empty() ? 0 : m.cols;
    if (n == 0 || n == m.column_capacity()) m.reserve(rows, std::max<size_t>(2 * n, 4));
    if (!m.resize(rows, n + 1)) return false;
    std::copy_n(values, rows, column(m, n));
    return true;
}

} // namespace kz3::lattiq::detail
