#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>
#include <kz3/fixed.h>
#include <kz3/lattiq/element_type.h>

namespace kz3::lattiq::detail {

template <unsigned Dim>
class cell_index;
template <unsigned Dim>
class nearest_tie;

/// Which nodes a nearest query may return: all of them, or all but one.
struct node_filter {
    unsigned rejected = NO_NODE; ///< NO_NODE, which no tree holds, rejects nothing

    bool accepts(unsigned node) const { return node != rejected; }
};

/// One stored node, a column of node_kd_tree::entries. A child at or beyond the number of entries is
/// none.
struct tree_entry {
    unsigned node;  ///< column of the coordinates
    unsigned left;  ///< entry whose subtree was below the split value when inserted
    unsigned right; ///< entry whose subtree was at or above it, or not comparable
};

/// An unbalanced k-d tree over columns of a coordinates matrix that belongs to the caller.
///
/// The root is entry 0 and splits on axis 0; each level moves to the next axis. The split value of an
/// entry is its node's coordinate, read anew on every visit: the coordinates must outlive the tree
/// and stay unchanged. Nothing is deduplicated, balanced or removed; nodes inserted in the order of
/// shuffle_indices keep the depth logarithmic. Queries only read and keep nothing between calls, so
/// that several threads may run them at once.
///
/// No function follows the tree by recursion: coincident nodes all go right and make a chain as deep
/// as there are of them.
template <unsigned Dim>
class node_kd_tree {
public:
    using point = vector_fixed<double, Dim>;

    const dense2D<double>* coords = nullptr; ///< at least Dim rows, one column per node
    dense2D<unsigned> entries;               ///< 3 rows: node, left, right; one column per entry
    unsigned* entries_data = nullptr;        ///< first word of entries

    node_kd_tree() = default;
    explicit node_kd_tree(const dense2D<double>& pos) : coords(&pos) {}
    node_kd_tree(const node_kd_tree&) = delete; // a copy of entries would share them: use copy()
    node_kd_tree& operator=(const node_kd_tree&) = delete;
    ~node_kd_tree() = default;

    /// Number of entries: every successful insertion counts.
    unsigned size() const { return unsigned(entries.cols); }

    /// Makes room for n entries, so that inserting them does not reallocate. False if memory is
    /// exhausted; the tree is then unchanged.
    bool reserve(std::size_t n);

    /// Takes the coordinates and a copy of the entries of another tree. False if memory is
    /// exhausted; the entries are then unchanged.
    bool copy(const node_kd_tree& other);

    /// Stores a node. Returns 1, or 0 without any change if coords is null or has no such column.
    ///
    /// Exhausted memory is not reported: the entry is then missing, the link to it stands, and the
    /// next entry stored takes its place.
    int insert_node(unsigned node);

    /// Stores the nodes of a list one after the other. Returns how many; the others are no columns.
    ///
    /// Into an empty tree a longer list is loaded at once, into the very tree that one node after the
    /// other would make, with entries numbered otherwise, and with an index beside for the queries.
    /// The next node stored drops the index. If memory is exhausted for either, nodes are stored one
    /// after the other, or there is no index.
    std::uint32_t insert_nodes(std::span<const unsigned> nodes);

    /// The node nearest to q of those the filter accepts, or NO_NODE.
    ///
    /// Of equidistant nodes the one that a plain descent towards q meets first wins; among those off
    /// its path the first in the order entry, right subtree, left subtree.
    unsigned closest_node(const point& q, node_filter filter) const;

    /// Appends the nodes of the closed box from lo to hi: right subtree, left subtree, the entry
    /// itself. A node that out has no memory for is dropped.
    void nodes_in_box(const point& lo, const point& hi, dense1D<unsigned>& out) const;

private:
    struct nearest {
        unsigned node;
        double radius;
    };

    static constexpr unsigned next(unsigned axis) { return axis + 1 == Dim ? 0 : axis + 1; }

    tree_entry entry(unsigned i) const
    {
        const unsigned* words = entries_data + std::size_t(i) * 3;
        return {words[0], words[1], words[2]};
    }

    // What the index knows of the nearest node: it, or a radius that will do to find it.
    struct hint {
        bool decided;
        nearest best;
    };

    unsigned append_entry(unsigned node);
    std::uint32_t load(std::span<const unsigned> nodes);
    hint look_up(const point& q, node_filter filter) const;
    unsigned resolve(const point& q, unsigned place, node_filter filter,
                     nearest_tie<Dim>& tie) const;
    bool look_up_box(const point& lo, const point& hi, dense1D<unsigned>& out) const;
    void walk_box(const point& lo, const point& hi, dense1D<unsigned>& out) const;
    nearest descend(const point& q, node_filter filter) const;
    unsigned search_around(const point& q, node_filter filter, nearest best) const;

    // Shared between copies of a tree, as it never changes. Null if there is none.
    std::shared_ptr<const cell_index<Dim>> index_;
};

using node_kd_tree2 = node_kd_tree<2>;
using node_kd_tree3 = node_kd_tree<3>;

extern template class node_kd_tree<2>;
extern template class node_kd_tree<3>;

} // namespace kz3::lattiq::detail
