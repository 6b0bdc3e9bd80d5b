#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>
#include <kz3/lattiq/element_type.h>

/// Removal of degenerate elements step by step: each column is sorted and its first equal neighbours
/// decide.
namespace plain {

inline int remove_degenerated(kz3::dense2D<unsigned>& connectM, kz3::dense1D<unsigned>& id_map,
                              bool strict)
{
    std::vector<unsigned> scratch(connectM.rows);
    id_map.size = 0;
    id_map.resize(connectM.cols, kz3::lattiq::NO_NODE);
    std::size_t k = 0;
    for (std::size_t j = 0; j < connectM.cols; ++j) {
        for (std::size_t i = 0; i < connectM.rows; ++i) scratch[i] = connectM(i, j);
        std::sort(scratch.begin(), scratch.end());
        const auto twice = std::adjacent_find(scratch.begin(), scratch.end());
        if (twice != scratch.end() && (*twice < kz3::lattiq::NO_NODE || strict)) continue;
        if (j > k)
            for (std::size_t i = 0; i < connectM.rows; ++i) connectM(i, k) = connectM(i, j);
        id_map[j] = unsigned(k);
        ++k;
    }
    const std::size_t removed = connectM.cols - k;
    connectM.resize(connectM.rows, k);
    return int(removed);
}

} // namespace plain
