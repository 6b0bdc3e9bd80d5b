#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <utility>
#include <vector>

#include <kz3/fixed.h>
#include <kz3/lattiq/element_type.h>

#include "core/column.h"

namespace kz3::lattiq::detail {

using edge = vector_fixed<unsigned, 2>;

/// The same for both directions of an edge; rises by lower, then by higher node.
inline std::uint64_t edge_key(unsigned a, unsigned b)
{
    return std::uint64_t(std::min(a, b)) << 32 | std::max(a, b);
}

/// Buckets that the table of `size` edges ends with.
std::uint64_t edge_buckets(std::uint64_t size);

/// Bucket of an edge among `count` of them: buckets from `count` on have not yet been split from
/// those half a table below.
class edge_bucket {
public:
    explicit edge_bucket(std::uint64_t count) : count_(count), mask_(std::bit_ceil(count) - 1) {}

    std::uint64_t operator()(unsigned a, unsigned b) const
    {
        constexpr std::uint32_t basis = 0x811C9DC5;
        const std::uint32_t hash = ((a ^ basis) + (b ^ basis)) * 16777619u;
        const std::uint64_t bucket = hash & mask_;
        return bucket - (bucket < count_ ? 0 : (mask_ >> 1) + 1);
    }

private:
    std::uint64_t count_;
    std::uint64_t mask_;
};

/// Lays out distinct edges in the order of a linear hash table that starts with 8 buckets and adds one
/// whenever an insertion leaves more than 4 edges a bucket: bucket by bucket, and in each bucket by
/// lower and then by higher node. Since it depends on the edges alone and not on the order of
/// insertion, it is reached without that table, in two steps that each stay in the cache: into parts of
/// so many buckets, and in each part into its buckets.
class edge_layout {
public:
    /// visit_all(visit) calls visit(a, b) for each of `size` edges. All memory is taken here.
    template <typename VisitAll>
    edge_layout(size_t size, const VisitAll& visit_all)
        : buckets_(edge_buckets(size)),
          bucket_(buckets_),
          ends_((buckets_ >> part_log2) + 2),
          next_((size_t(1) << part_log2) + 1)
    {
        visit_all([this](unsigned a, unsigned b) { ++ends_[part_of(a, b) + 1]; });
        part_.resize(*std::max_element(ends_.begin(), ends_.end()));
        for (size_t p = 0; p + 1 < ends_.size(); ++p) ends_[p + 1] += ends_[p];
    }

    /// Writes the edges, which visit_all gives as before.
    template <typename VisitAll>
    void write(const VisitAll& visit_all, edge* to)
    {
        // The start of each part moves up to its end while the part fills.
        visit_all([&](unsigned a, unsigned b) { to[ends_[part_of(a, b)]++] = {a, b}; });
        edge* first = to;
        for (size_t p = 0; p + 1 < ends_.size(); ++p) {
            edge* const last = to + ends_[p];
            sort_part(p << part_log2, first, last);
            first = last;
        }
    }

private:
    static constexpr unsigned part_log2 = 12; // of the buckets in a part

    size_t part_of(unsigned a, unsigned b) const { return bucket_(a, b) >> part_log2; }

    void sort_part(std::uint64_t first_bucket, edge* first, edge* last)
    {
        std::copy(first, last, part_.begin());
        const edge* const end = part_.data() + (last - first);
        std::fill(next_.begin(), next_.end(), 0);
        const auto place = [&](const edge& e) { return bucket_(e[0], e[1]) - first_bucket; };
        for (const edge* e = part_.data(); e != end; ++e) ++next_[place(*e) + 1];
        for (size_t b = 0; b + 1 < next_.size(); ++b) next_[b + 1] += next_[b];
        for (const edge* e = part_.data(); e != end; ++e) first[next_[place(*e)]++] = *e;

        size_t begin = 0;
        for (size_t b = 0; b + 1 < next_.size(); ++b) {
            sort_bucket(first + begin, first + next_[b]);
            begin = next_[b];
        }
    }

    static void sort_bucket(edge* first, edge* last)
    {
        const auto before = [](const edge& x, const edge& y) {
            return edge_key(x[0], x[1]) < edge_key(y[0], y[1]);
        };
        // Edges that come by their lower node, as most do, are in order already.
        if (!std::is_sorted(first, last, before)) std::sort(first, last, before);
    }

    std::uint64_t buckets_;
    edge_bucket bucket_;
    std::vector<size_t> ends_; // of each part
    std::vector<size_t> next_; // of each bucket of a part, the place of its next edge
    std::vector<edge> part_;
};

} // namespace kz3::lattiq::detail
