#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>
#include <vector>

namespace plain {

/// The table of edges as a growing linear hash table with a sorted chain for each bucket.
class edge_set {
public:
    using edge = std::array<unsigned, 2>;

    void insert(unsigned a, unsigned b)
    {
        chain& in = chains_[bucket(a, b)];
        const auto place = std::lower_bound(in.begin(), in.end(), edge{a, b}, before);
        if (place != in.end() && !before({a, b}, *place)) return;
        in.insert(place, {a, b});
        ++size_;
        if (float(size_) / float(chains_.size()) > 4.0f) add_bucket();
    }

    std::vector<edge> ordered() const
    {
        std::vector<edge> edges;
        for (const chain& c : chains_) edges.insert(edges.end(), c.begin(), c.end());
        return edges;
    }

    std::size_t size() const { return size_; }
    std::size_t buckets() const { return chains_.size(); }

private:
    using chain = std::vector<edge>;

    static bool before(const edge& x, const edge& y)
    {
        return std::minmax(x[0], x[1]) < std::minmax(y[0], y[1]);
    }

    std::uint32_t bucket(unsigned a, unsigned b) const
    {
        const std::uint32_t hash = ((a ^ 0x811C9DC5u) + (b ^ 0x811C9DC5u)) * 16777619u;
        std::uint32_t place = hash & mask_;
        if (place >= chains_.size()) place -= (mask_ >> 1) + 1;
        return place;
    }

    void add_bucket()
    {
        const std::uint32_t added = std::uint32_t(chains_.size());
        if (added > mask_) mask_ = 2 * mask_ + 1;
        chains_.emplace_back();
        chain all;
        all.swap(chains_[added - ((mask_ >> 1) + 1)]);
        for (const edge& e : all) chains_[bucket(e[0], e[1])].push_back(e); // in order still
    }

    std::vector<chain> chains_ = std::vector<chain>(8);
    std::uint32_t mask_ = 7;
    std::size_t size_ = 0;
};

} // namespace plain
