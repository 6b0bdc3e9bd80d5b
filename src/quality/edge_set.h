#pragma once

#include <cstdint>
#include <vector>

#include <kz3/dense2D.h>
#include <kz3/fixed.h>

#include "quality/edge_order.h"

namespace kz3::lattiq::detail {

/// Pairs of nodes without duplicates, where (a, b) and (b, a) are one edge, kept as met first. Takes
/// IDs of any size, by open addressing.
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

    size_t size() const { return size_; }

    /// Calls visit(a, b) for each edge, as it was met first, in no order worth knowing.
    template <typename Visitor>
    void visit_all(Visitor visit) const
    {
        for (const edge& e : slots_)
            if (e[0] != NO_NODE) visit(e[0], e[1]);
    }

private:
    // The slot that holds the edge, or the free one where it belongs.
    edge& find(unsigned a, unsigned b);
    void double_slots();

    std::vector<edge> slots_; // a power of 2 of them, at least half free, or none
    unsigned shift_ = 64;     // 64 minus the logarithm of their number
    size_t size_ = 0;
};

} // namespace kz3::lattiq::detail
