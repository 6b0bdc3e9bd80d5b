#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "cleaning/representatives.h"

namespace kz3::lattiq::detail {

/// Two nodes within the tolerance of each other. If the pair is applied the keeper stays.
struct merge_pair {
    float distance;
    unsigned keeper;
    unsigned merged;
};

/// The pairs found in the order of the scan.
class merge_pairs {
public:
    explicit merge_pairs(representatives& map) : map_(map) {}

    /// A pair at distance 0 sorts before all others and keeps its place in the scan, so it needs no
    /// sorting: applied at once, it spares the nodes that it absorbs their own search, and keeps a
    /// heap of n coincident nodes from giving n * n pairs.
    void add(float distance, unsigned keeper, unsigned merged)
    {
        if (distance == 0)
            map_.absorb(keeper, merged);
        else
            pairs_.push_back({distance, keeper, merged});
    }

    /// Applies what was added, the closest pairs first.
    void apply()
    {
        std::stable_sort(pairs_.begin(), pairs_.end(), closer);
        for (const merge_pair& pair : pairs_) map_.absorb(pair.keeper, pair.merged);
        // One node of each pair has stopped standing, so none could ever be applied again.
        pairs_.clear();
    }

private:
    // Not a number stands behind every distance: with nodes at infinity both can occur.
    static bool closer(const merge_pair& a, const merge_pair& b)
    {
        return a.distance < b.distance || (std::isnan(b.distance) && !std::isnan(a.distance));
    }

    representatives& map_;
    std::vector<merge_pair> pairs_;
};

} // namespace kz3::lattiq::detail
