#pragma once

#include <algorithm>
#include <cstddef>

#include <kz3/dense2D.h>
#include <kz3/fixed.h>

#include "core/column.h"

namespace kz3::lattiq::detail {

/// Column j of a field of bases: the two vectors that span a plane, one behind the other.
inline matrix_fixed<double, 3, 2> read_basis(const dense2D<double>& bases, size_t j)
{
    matrix_fixed<double, 3, 2> basis;
    std::copy_n(column(bases, j), 6, basis.data);
    return basis;
}

inline double dot(const double* a, const double* b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

} // namespace kz3::lattiq::detail
