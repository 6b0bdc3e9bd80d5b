#include <algorithm>
#include <functional>

#include <kz3/lattiq/core.h>

#include "core/column.h"

namespace kz3::lattiq {
namespace {

/// Whether two vectors may hold a place in common.
template <typename T>
bool overlap(const dense1D<T>& a, const dense1D<unsigned>& b)
{
    const std::less<const void*> before;
    return before(a.begin(), b.end()) && before(b.begin(), a.end());
}

template <typename T>
void move_to_places(const T* from, const dense1D<unsigned>& perm, T* to, size_t n)
{
    const unsigned* place = perm.begin();
    const size_t k = std::min(n, perm.size);
    for (size_t i = 0; i < k; ++i)
        if (place[i] < n && place[i] != i) to[place[i]] = from[i];
}

template <typename T>
void permute(dense1D<T>& values, const dense1D<unsigned>& perm)
{
    const size_t n = values.size;
    if (n == 0) return;
    dense1D<T> scratch;
    if (!scratch.copy(values)) return;

    if (overlap(values, perm)) {
        // The table must be read to its end before it changes.
        move_to_places(values.begin(), perm, scratch.begin(), n);
        std::copy_n(scratch.begin(), n, values.begin());
    } else {
        move_to_places(scratch.begin(), perm, values.begin(), n);
    }
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
