#include <algorithm>

#include <kz3/lattiq/core.h>

#include "core/column.h"

namespace kz3::lattiq {
namespace {

template <typename T>
void permute(dense1D<T>& values, const dense1D<unsigned>& perm)
{
    const size_t n = values.size;
    if (n == 0) return;
    dense1D<T> scratch;
    if (!scratch.copy(values)) return;

    const size_t k = std::min(n, perm.size);
    for (size_t i = 0; i < k; ++i)
        if (perm[i] < n && perm[i] != i) scratch[perm[i]] = values[i];
    std::copy_n(scratch.begin(), n, values.begin());
}

} // namespace

void permutation(dense1D<unsigned>& values, const dense1D<unsigned>& perm)
{
    permute(values, perm);
}

void permutation(dense1D<double>& values, const dense1D<unsigned>& perm)
{
    permute(values, perm);
}

void permutation(dense1D<float>& values, const dense1D<unsigned>& perm)
{
    permute(values, perm);
}

} // namespace kz3::lattiq
