#pragma once

#include <cstddef>

namespace kz3::lattiq::detail {

/// Where an entry stands in a search that visits the entry, then its right subtree, then its left one.
class visit_mark {
public:
    static constexpr unsigned most_entries = 1u << 27; ///< that can be told apart

    visit_mark() = default;
    visit_mark(unsigned rank, unsigned axis, unsigned bounded)
        : word_(rank << 5 | axis << 3 | bounded)
    {
    }

    /// Number of entries visited before.
    unsigned rank() const { return word_ >> 5; }

    /// The axis on which the entry splits.
    unsigned axis() const { return word_ >> 3 & 3u; }

    /// Whether it stands right of an entry that splits axis d at the very coordinate of its own node.
    bool bounded(unsigned d) const { return (word_ >> d & 1u) != 0; }

private:
    unsigned word_;
};

/// A node with its coordinates, to be moved about without a look at the caller's matrix.
template <unsigned Dim>
struct placed_node {
    double p[Dim];
    unsigned node;
    visit_mark mark; ///< set where the tree is laid out; of no use beyond most_entries
};

/// Builds the k-d tree that inserting nodes one by one would build, and numbers its entries so that
/// each subtree stands together: the entry, then its left subtree, then its right one.
///
/// The first node of a list becomes the root, whichever others follow, and each of the others goes to
/// one side by its own coordinates alone, behind those that went there before it. So the two
/// sides are the list without its first node, parted in two without a change of order, and are
/// trees of the same kind. Parting streams from one room to the other and back, where insertion would
/// jump about.
///
/// @param nodes    n nodes in the order of insertion; left in the order of the entries
/// @param spare    room for n more
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
