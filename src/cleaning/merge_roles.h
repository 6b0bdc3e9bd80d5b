#pragma once

#include <cstddef>
#include <vector>

namespace kz3::lattiq::detail {

/// Which nodes of a merge may absorb others and which may be absorbed. The list that the ranks refer to
/// begins with those that may absorb.
struct merge_roles {
    std::size_t keepers;      ///< nodes at the front of the list
    std::vector<bool> merged; ///< by node; empty where all may be absorbed, and all may absorb

    bool same_for_all() const { return merged.empty(); }
    bool keeps(unsigned rank) const { return rank < keepers; }
    bool goes(unsigned node) const { return merged.empty() || merged[node]; }
};

} // namespace kz3::lattiq::detail
