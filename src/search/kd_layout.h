#pragma once

#include <cstddef>

namespace kz3::lattiq::detail {

/// A node with its coordinates, to be moved about without a look at the caller's matrix.
template <unsigned Dim>
struct placed_node {
    double p[Dim];
    unsigned node;
};

/// Builds the k-d tree that inserting nodes one by one would build, and numbers its entries so that
/// each subtree stands together: the entry, then its left subtree, then its right one.
///
/// The first node of a list becomes the root, whichever others follow, and each of the others goes to
/// one side by its own coordinates alone, behind those that went there before it. So the two
/// sides are the list without its first node, parted in two without a change of order, and are
/// trees of the same kind. Parting streams through memory, where insertion would jump about.
///
/// @param nodes    n nodes in the order of insertion; left in the order of the entries
/// @param spare    room for n - 1 more
/// @param entries  3 n words: node, left and right of each entry, as in tree_entry
/// @return number of nodes that were compared with a split value
/// Throws std::bad_alloc where a degenerate tree needs a long list of pending subtrees. O(n) times
/// the mean depth, but O(n) for a chain of coincident nodes.
template <unsigned Dim>
std::size_t lay_out_tree(placed_node<Dim>* nodes, unsigned n, placed_node<Dim>* spare,
                         unsigned* entries);

extern template std::size_t lay_out_tree<2>(placed_node<2>*, unsigned, placed_node<2>*, unsigned*);
extern template std::size_t lay_out_tree<3>(placed_node<3>*, unsigned, placed_node<3>*, unsigned*);

} // namespace kz3::lattiq::detail
