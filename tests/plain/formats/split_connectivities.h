#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "support/same.h"

namespace plain {

/// Elements of one kind, with the place of the matrix that they came from.
struct piece {
    int kind;
    std::size_t origin;
    std::vector<std::vector<unsigned>> elements;
};

inline int kind_of_count(int mixed, std::size_t count)
{
    using namespace kz3::lattiq;
    if (mixed == ET_FACE_MIX) return count == 4 ? ET_QUAD4 : count == 3 ? ET_TRIA3 : ET_NONE;
    if (count == 8) return ET_HEXA8;
    if (count == 6) return ET_PENTA6;
    if (count == 5) return ET_PYRA5;
    return count == 4 ? ET_TETRA4 : ET_NONE;
}

inline std::vector<piece> split_connectivities(const std::vector<dense2D<unsigned>>& matrices,
                                               const std::vector<int>& types)
{
    std::vector<piece> pieces;
    for (std::size_t i = 0; i < matrices.size(); ++i) {
        const auto& m = matrices[i];
        if (m.rows * m.cols == 0) continue;
        const bool mixed =
            types[i] == kz3::lattiq::ET_FACE_MIX || types[i] == kz3::lattiq::ET_SOLID_MIX;
        std::vector<std::pair<std::size_t, std::size_t>> order;
        for (std::size_t e = 0; e < m.cols; ++e) {
            std::size_t count = 0;
            while (count < m.rows && m(count, e) != none) ++count;
            order.emplace_back(mixed ? count : m.rows, e);
        }
        if (mixed) std::sort(order.rbegin(), order.rend());
        std::size_t current = 0;
        for (const auto& [count, e] : order) {
            if (count != current)
                pieces.push_back({mixed ? kind_of_count(types[i], count) : types[i], i, {}});
            current = count;
            std::vector<unsigned> nodes;
            for (std::size_t k = 0; k < count; ++k) nodes.push_back(m(k, e));
            pieces.back().elements.push_back(nodes);
        }
    }
    return pieces;
}

} // namespace plain
