#pragma once

#include <utility>

#include <kz3/dense1D.h>

#include "core/column.h"

namespace kz3::lattiq::detail {

/// The map that says for each node which one stands for it, at first itself, and a count of the nodes
/// that no longer stand for themselves.
class representatives {
public:
    /// @param id_map  the identity; filled from now on, must outlive this object
    explicit representatives(dense1D<unsigned>& id_map) : id_map_(id_map) {}

    bool stands(unsigned node) const { return id_map_[node] == node; }

    /// Has no effect unless both stand for themselves.
    void absorb(unsigned keeper, unsigned merged)
    {
        if (stands(keeper) && stands(merged)) absorb_standing(keeper, merged);
    }

    /// The same for two nodes that are known to stand, which spares looking them up.
    void absorb_standing(unsigned keeper, unsigned merged)
    {
        id_map_[merged] = keeper;
        ++absorbed_;
    }

    /// Lets every node point at once to the one that stands for it. Returns how many nodes were
    /// absorbed since the last call. O(nodes of the map).
    size_t settle()
    {
        for (size_t j = 0; j < id_map_.size; ++j)
            if (!stands(id_map_[j])) shortcut(unsigned(j));
        return std::exchange(absorbed_, 0);
    }

private:
    // A node that absorbed others may be absorbed in turn; all nodes on the way are shortcut too.
    void shortcut(unsigned node)
    {
        unsigned last = node;
        while (!stands(last)) last = id_map_[last];
        while (node != last) node = std::exchange(id_map_[node], last);
    }

    dense1D<unsigned>& id_map_;
    size_t absorbed_ = 0;
};

} // namespace kz3::lattiq::detail
