#pragma once

#include "plain/connectivity/get_neighbors.h"

namespace plain {

/// Appends the faces of element e for which wanted(f) holds, filled up with holes.
template <typename Wanted>
void append_faces(const dense2D<unsigned>& connectM, element_type type, std::size_t e,
                  std::size_t rows, Wanted wanted, std::vector<std::vector<unsigned>>& columns)
{
    const auto faces = faces_of(connectM, type, e);
    for (std::size_t f = 0; f < faces.size(); ++f) {
        if (!wanted(f)) continue;
        columns.push_back(faces[f]);
        columns.back().resize(rows, 0xFFFFFFFF);
    }
}

inline dense2D<unsigned> matrix_of(std::size_t rows,
                                   const std::vector<std::vector<unsigned>>& columns)
{
    dense2D<unsigned> m(rows, columns.size(), 0xFFFFFFFF);
    for (std::size_t j = 0; j < columns.size(); ++j)
        for (std::size_t k = 0; k < rows; ++k) m(k, j) = columns[j][k];
    return m;
}

inline std::size_t boundary_rows(element_type type)
{
    if (type == ET_BAR2) return 1;
    if (type == ET_TETRA4) return 3;
    return has_four_slots(type) ? 4 : 2;
}

/// All faces of all elements, one after the other; the arguments are good.
inline dense2D<unsigned> get_element_boundaries(const dense2D<unsigned>& connectM,
                                                element_type type)
{
    const std::size_t rows = boundary_rows(type);
    std::vector<std::vector<unsigned>> columns;
    for (std::size_t e = 0; e < connectM.cols; ++e)
        append_faces(
            connectM, type, e, rows, [](std::size_t) { return true; }, columns);
    return matrix_of(rows, columns);
}

} // namespace plain
