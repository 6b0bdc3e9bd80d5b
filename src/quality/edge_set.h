#pragma once

#include <cstdint>
#include <vector>

#include <kz3/dense2D.h>
#include <kz3/fixed.h>

#include "core/column.h"
#include "core/element_table.h"

namespace kz3::lattiq::detail {

using edge = vector_fixed<unsigned, 2>;

/// Pairs of nodes without duplicates, where (a, b) and (b, a) are one edge, kept as met first.
///
/// The order in which edges come out is that of a linear hash table that starts with 8 buckets and
/// adds one whenever an insertion leaves more than 4 edges a bucket: bucket by bucket, and in each
/// bucket by lower and then by higher node. Since it depends on the edges alone and not on the order
/// of insertion, it is reached without that table: duplicates are found by open addressing, and the
/// edges are laid out once at the end.
class edge_set {
public:
    /// Adds an edge of two nodes, each other than NO_NODE, unless it is there already.
    void insert(unsigned a, unsigned b)
    {
        if (2 * size_ >= slots_.size()) double_slots();
        edge& slot = find(a, b);
        if (slot[0] != NO_NODE) return;
        slot = {a, b};
        ++size_;
    }

    /// Adds the edges of all elements. An empty matrix has none, whatever its type.
    void insert_all(const dense2D<unsigned>& connectM, element_type type);

    size_t size() const { return size_; }

    /// The edges in the order described. O(size).
    std::vector<edge> ordered() const;

private:
    // The slot that holds the edge, or the free one where it belongs.
    edge& find(unsigned a, unsigned b);
    void double_slots();

    std::vector<edge> slots_; // a power of 2 of them, at least half free, or none
    unsigned shift_ = 64;     // 64 minus the logarithm of their number
    size_t size_ = 0;
};

/// Buckets that the table of `size` edges ends with.
std::uint64_t edge_buckets(std::uint64_t size);

} // namespace kz3::lattiq::detail
