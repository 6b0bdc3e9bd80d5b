#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include <kz3/dense2D.h>
#include <kz3/lattiq/element_type.h>

namespace plain {

struct sorted_elements {
    std::vector<unsigned> group_nodes;
    std::vector<unsigned> group_ends;
    std::vector<unsigned> new_indices;
};

inline void exchange_columns(kz3::dense2D<unsigned>& m, std::size_t i, std::size_t j)
{
    for (std::size_t k = 0; k < m.rows; ++k) std::swap(m(k, i), m(k, j));
}

/// Sorts pairs of node count and element, and exchanges the columns one by one. Without links pass
/// an empty matrix.
inline sorted_elements sort_elfes(kz3::dense2D<unsigned>& connectM, kz3::dense2D<unsigned>& links)
{
    using kz3::lattiq::NO_NODE;
    const bool linked = !links.empty();
    sorted_elements out;
    for (unsigned j = 0; j < connectM.cols; ++j) out.new_indices.push_back(j);
    std::vector<unsigned> position = out.new_indices;

    std::vector<std::pair<std::uint64_t, std::uint64_t>> list;
    for (std::size_t j = 0; j < connectM.cols; ++j) {
        std::size_t c = 0;
        while (c < connectM.rows && connectM(c, j) != NO_NODE) ++c;
        if (c != 0) list.emplace_back(c, j);
    }
    std::sort(list.begin(), list.end());
    std::reverse(list.begin(), list.end());

    const auto m = unsigned(list.size());
    std::uint64_t current = m == 0 ? NO_NODE : list[0].first;
    for (unsigned i = 0; i < m; ++i) {
        const unsigned p = out.new_indices[list[i].second];
        if (list[i].first != current) {
            out.group_nodes.push_back(unsigned(current));
            out.group_ends.push_back(i);
            current = list[i].first;
        }
        if (p == i) continue;
        exchange_columns(connectM, i, p);
        if (linked) exchange_columns(links, i, p);
        const unsigned a = position[i];
        const unsigned b = position[p];
        out.new_indices[a] = p;
        out.new_indices[b] = i;
        std::swap(position[i], position[p]);
    }
    out.group_nodes.push_back(unsigned(current));
    out.group_ends.push_back(m);
    connectM.resize(connectM.rows, m);
    if (linked) links.resize(links.rows, m);
    for (unsigned& at : out.new_indices)
        if (at >= m) at = NO_NODE;
    for (std::size_t j = 0; linked && j < links.cols; ++j)
        for (std::size_t r = 0; r < links.rows; ++r)
            if (links(r, j) < NO_NODE) links(r, j) = out.new_indices[links(r, j)];
    return out;
}

} // namespace plain
