#pragma once

#include <kz3/lattiq/element_type.h>

#include "core/column.h"

namespace kz3::lattiq::detail {

/// Asks for the memory at this address, which need not be valid, so that a read soon after does not
/// wait. Nothing where the compiler knows no such hint.
inline void prefetch([[maybe_unused]] const void* address)
{
#if defined(__GNUC__)
    __builtin_prefetch(address);
#endif
}

/// The same for the columns of N nodes, of which some may be holes.
template <unsigned N, typename T>
void prefetch_columns(const dense2D<T>& m, const unsigned* node)
{
    for (unsigned k = 0; k < N; ++k)
        if (node[k] != NO_NODE) prefetch(column(m, node[k]));
}

} // namespace kz3::lattiq::detail
