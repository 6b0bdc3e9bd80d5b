#pragma once

#include <limits>
#include <vector>

#include "search/kd_tree.h"
#include "support/same.h"

inline constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

template <unsigned Dim>
using point = vector_fixed<double, Dim>;

/// Stores all nodes in the order of their ids.
template <unsigned Dim>
void insert_all(kz3::lattiq::detail::node_kd_tree<Dim>& tree)
{
    for (unsigned node = 0; node < tree.coords->cols; ++node) ASSERT_EQ(tree.insert_node(node), 1);
}

/// The nodes of a box in their order.
template <unsigned Dim>
std::vector<unsigned> box(const kz3::lattiq::detail::node_kd_tree<Dim>& tree, const point<Dim>& lo,
                          const point<Dim>& hi)
{
    dense1D<unsigned> out;
    tree.nodes_in_box(lo, hi, out);
    return {out.begin(), out.end()};
}

/// Nodes at (0, 0), (1, 1), ..., each the right child of the one before.
inline dense2D<double> diagonal(unsigned n)
{
    dense2D<double> pos(2, n);
    for (unsigned j = 0; j < n; ++j) pos(0, j) = pos(1, j) = j;
    return pos;
}
