#pragma once

#include "plain/connectivity/get_element_boundaries.h"

namespace plain {

/// The faces without a neighbour, one after the other; the arguments are good.
inline dense2D<unsigned> get_mesh_boundaries(const dense2D<unsigned>& connectM,
                                             const dense2D<unsigned>& neighbors, element_type type)
{
    const std::size_t rows = boundary_rows(type);
    std::vector<std::vector<unsigned>> columns;
    for (std::size_t e = 0; e < connectM.cols; ++e)
        append_faces(
            connectM, type, e, rows, [&](std::size_t f) { return neighbors(f, e) == 0xFFFFFFFF; },
            columns);
    return matrix_of(rows, columns);
}

} // namespace plain
