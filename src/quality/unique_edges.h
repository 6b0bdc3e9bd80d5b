#pragma once

#include <algorithm>
#include <optional>
#include <vector>

#include <kz3/dense1D.h>
#include <kz3/dense2D.h>

#include "quality/edge_order.h"
#include "quality/edge_set.h"

namespace kz3::lattiq::detail {

/// A range of matrices with their types.
struct meshes {
    const dense2D<unsigned>* first;
    const dense2D<unsigned>* last;
    const dense1D<int>& types;
};

/// Edges in rows by their lower node, each once and as met first. An entry is the higher node twice,
/// and one more where the edge was met from higher to lower.
class edge_rows {
public:
    edge_rows() = default;

    /// The edges of all elements, whose IDs are below the bound.
    edge_rows(const meshes& of, size_t bound);

    size_t size() const { return entries_.size(); }

    /// Calls visit(a, b) for each edge, by rising lower node.
    template <typename Visitor>
    void visit_all(Visitor visit) const
    {
        unsigned i = 0;
        for (unsigned low = 0; low + 1 < ends_.size(); ++low)
            for (; i < ends_[low]; ++i) {
                const unsigned high = entries_[i] / 2;
                // The two directions, without a branch that nothing foretells.
                const unsigned turn = (low ^ high) & (0U - entries_[i] % 2);
                visit(low ^ turn, high ^ turn);
            }
    }

private:
    /// Drops all but the first of equal edges.
    void keep_first();

    std::vector<unsigned> ends_; // of each row; the last is not used
    std::vector<unsigned> entries_;
};

/// The edges of all elements of a range of matrices, each once and as met first, in the order of
/// edge_layout. An empty matrix has none, whatever its type, and so has a type without edges.
///
/// O(edges met) where IDs are of the order of their number, else expected. Memory comes from the
/// standard allocator, so std::bad_alloc may leave the constructor.
class unique_edges {
public:
    explicit unique_edges(const meshes& of);

    size_t size() const { return rows_.size() + set_.size(); }

    /// Writes size() edges. Once.
    void write(edge* to);

private:
    // One of the two is empty.
    edge_rows rows_;
    edge_set set_;
    std::optional<edge_layout> layout_;
};

} // namespace kz3::lattiq::detail
