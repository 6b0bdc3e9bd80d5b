#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>
#include <kz3/fixed.h>
#include <kz3/lattiq/export.h>

namespace kz3::lattiq {

namespace detail {
template <unsigned Dim>
class node_kd_tree;
} // namespace detail

// ---- search/node_detector.cpp ----

/// Finds nodes by position: the nearest node to a point or to a node, and the nodes in a box.
///
/// A detector is empty or holds a k-d tree over some columns of a coordinates matrix of 2 or 3 rows.
/// It keeps the address of that matrix and reads it in every query: the matrix must outlive the
/// detector and must not change while it is in use. Of each node indexed it keeps 12 bytes;
/// of a list of 32 or more that goes into an empty detector another 24 (20 in the plane) and, for the
/// cells it is sorted into, 1 to 12: this makes queries faster. Copies share them, and the next
/// insertion gives them up.
///
/// Queries go by the coordinates' dimension: with 2 rows a third component is ignored, with 3 rows a
/// missing third component is 0. They only read, so that several threads may query one detector while
/// none calls a non-const member.
///
/// Nodes are indexed in a shuffled order, the same for every list of one length, which keeps the tree
/// flat: O(log n) per node and per nearest query on nodes in general position. It also fixes which of
/// several equidistant nodes is found and the order of the nodes in a box, so that results are the
/// same from run to run. Nodes at one position stand one below the other: n of them cost O(n) to
/// index at once, O(n*n) in small portions. Queries allocate only where the tree is very deep.
///
/// Where memory for local data is exhausted std::bad_alloc is thrown: by reinit and copies, which
/// leave the detector unchanged or without nodes, by insert, which leaves it unchanged, and by
/// queries on very deep trees.
class node_detector {
public:
    /// An empty detector.
    KZ3_LATTIQ_API node_detector();

    /// The same nodes over the same coordinates, see operator=.
    KZ3_LATTIQ_API node_detector(const node_detector& other);

    /// A detector after reinit with these arguments. A failure shows only in that the detector is
    /// empty.
    KZ3_LATTIQ_API node_detector(const dense2D<double>& pos);
    KZ3_LATTIQ_API node_detector(const dense2D<double>& pos, const dense1D<unsigned>& indices);
    KZ3_LATTIQ_API node_detector(const dense2D<double>& pos, const dense2D<unsigned>& connectM);
    KZ3_LATTIQ_API node_detector(const dense2D<double>& pos, const dense2D<unsigned>* first,
                                 const dense2D<unsigned>* last);

    KZ3_LATTIQ_API ~node_detector();

    /// Becomes a copy that shares the coordinates with the other but has entries of its own, so that
    /// nodes inserted into one do not reach the other. The copy answers every query as its source
    /// does. A detector assigned to itself stays as it is. If memory for the entries is exhausted, the
    /// copy holds no nodes. O(size).
    KZ3_LATTIQ_API node_detector& operator=(const node_detector& other);

    /// Makes the detector empty.
    KZ3_LATTIQ_API void clear();

    /// Indexes all columns of a coordinates matrix in place of what the detector held.
    ///
    /// @param pos  2 or 3 rows, one column per node; kept by address, may be strided, may have no
    ///             columns
    /// @return 0, or:
    ///         -1  pos has neither 2 nor 3 rows
    /// On a negative result the detector is empty. Exhausted memory is not reported: size() then falls
    /// short. O(n log n) for nodes in general position.
    KZ3_LATTIQ_API int reinit(const dense2D<double>& pos);

    /// Indexes the given nodes in place of what the detector held.
    ///
    /// @param pos      as above
    /// @param indices  columns of pos; a NO_NODE is skipped, a node given twice is stored twice
    /// @return 0, or the first that applies:
    ///         -1  pos has neither 2 nor 3 rows
    ///         -2  an index is at or beyond pos.cols and is not NO_NODE
    /// On a negative result the detector is unchanged. Exhausted memory is not reported: size() then
    /// falls short.
    KZ3_LATTIQ_API int reinit(const dense2D<double>& pos, const dense1D<unsigned>& indices);

    /// Indexes the nodes of a connectivity, each once. Results as for a list of them.
    ///
    /// @param connectM  one column per element, may be strided; a NO_NODE is skipped
    KZ3_LATTIQ_API int reinit(const dense2D<double>& pos, const dense2D<unsigned>& connectM);

    /// Indexes the nodes of a range of connectivities, each once.
    ///
    /// @param first, last  the range; where they are equal no node is stored
    /// @return 0, or the first that applies:
    ///         -3  last lies before first
    ///         -1  pos has neither 2 nor 3 rows
    ///         -2  an index is at or beyond pos.cols and is not NO_NODE
    /// On a negative result the detector is unchanged.
    KZ3_LATTIQ_API int reinit(const dense2D<double>& pos, const dense2D<unsigned>* first,
                              const dense2D<unsigned>* last);

    /// Adds nodes to those indexed; nodes already there are stored again.
    ///
    /// @param indices  columns of the coordinates; others, NO_NODE among them, are left out
    /// @return number of nodes stored; 0 if the detector is empty
    /// A list is shuffled by itself, so that adding nodes in several calls may answer ties otherwise
    /// than adding them in one. Exhausted memory is not reported: size() then falls short.
    KZ3_LATTIQ_API std::uint32_t insert(const dense1D<unsigned>& indices);

    /// Adds the nodes of a connectivity, each once. Otherwise as for a list of them.
    KZ3_LATTIQ_API std::uint32_t insert(const dense2D<unsigned>& connectM);

    /// The indexed node nearest to p.
    ///
    /// @return a column of the coordinates; 0xFFFFFFFF if no node is indexed or none lies at a
    ///         distance whose square is a finite double. Where distances are not numbers, some node,
    ///         the same each time
    KZ3_LATTIQ_API std::uint32_t find_closest(const vector_fixed<double, 2>& p) const;
    KZ3_LATTIQ_API std::uint32_t find_closest(const vector_fixed<double, 3>& p) const;

    /// The indexed node nearest to a node, other than that node itself; another node at the same
    /// position qualifies.
    ///
    /// @param node  a column of the coordinates, indexed or not
    /// @return as above, and 0xFFFFFFFF where the coordinates have no such column
    KZ3_LATTIQ_API std::uint32_t find_closest(unsigned node) const;

    /// Appends the indexed nodes of a closed box; a node stored twice is appended twice.
    ///
    /// @param lo, hi  lowest and highest corner. With coordinates of 3 rows, the form of 2 components
    ///                finds only nodes at z = 0
    /// @param out     appended to, in an order that is the same from run to run. A node for which
    ///                memory is exhausted is left out
    KZ3_LATTIQ_API void find_in_box(const vector_fixed<double, 2>& lo,
                                    const vector_fixed<double, 2>& hi,
                                    dense1D<unsigned>& out) const;
    KZ3_LATTIQ_API void find_in_box(const vector_fixed<double, 3>& lo,
                                    const vector_fixed<double, 3>& hi,
                                    dense1D<unsigned>& out) const;

    /// Number of nodes stored; a node stored twice counts twice.
    KZ3_LATTIQ_API std::uint32_t size() const;

private:
    // Takes a tree of room for n nodes over pos; the detector must be empty.
    void start(const dense2D<double>& pos, std::size_t n);

    // At most one of them is set.
    std::unique_ptr<detail::node_kd_tree<2>> tree2;
    std::unique_ptr<detail::node_kd_tree<3>> tree3;
};

} // namespace kz3::lattiq
