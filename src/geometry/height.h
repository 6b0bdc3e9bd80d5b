#pragma once

#include <cstddef>
#include <type_traits>

namespace kz3::lattiq::detail {

/// Calls work with a number of rows: as a constant, which unrolls loops over a column, where it is one
/// of the usual ones of coordinates and connectivities.
template <typename Work>
void with_height(std::size_t rows, Work work)
{
    switch (rows) {
    case 2:
        return work(std::integral_constant<std::size_t, 2>());
    case 3:
        return work(std::integral_constant<std::size_t, 3>());
    case 4:
        return work(std::integral_constant<std::size_t, 4>());
    case 6:
        return work(std::integral_constant<std::size_t, 6>());
    case 8:
        return work(std::integral_constant<std::size_t, 8>());
    default:
        return work(rows);
    }
}

} // namespace kz3::lattiq::detail
