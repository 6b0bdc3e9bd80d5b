#pragma once

#include <algorithm>
#include <cstddef>

#include <kz3/dense1D.h>

namespace plain {

/// Moves element i to place perm[i] in a copy, then writes all of the copy back.
template <typename T>
void permutation(kz3::dense1D<T>& values, const kz3::dense1D<unsigned>& perm)
{
    const std::size_t n = values.size;
    if (n == 0) return;
    kz3::dense1D<T> scratch;
    scratch.copy(values);
    for (std::size_t i = 0; i < std::min(n, perm.size); ++i)
        if (perm[i] < n && perm[i] != i) scratch[perm[i]] = values[i];
    for (std::size_t i = 0; i < n; ++i) values[i] = scratch[i];
}

} // namespace plain
