#include "quality/edge_set.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "quality/edge_table.h"

namespace kz3::lattiq::detail {
namespace {

constexpr edge free_slot{NO_NODE, NO_NODE};

std::uint64_t key(unsigned a, unsigned b)
{
    return std::uint64_t(std::min(a, b)) << 32 | std::max(a, b);
}

/// Bucket of an edge among `count` of them: buckets from `count` on have not yet been split from
/// those half a table below.
class bucket_of {
public:
    explicit bucket_of(std::uint64_t count) : count_(count), mask_(std::bit_ceil(count) - 1) {}

    std::uint64_t operator()(const edge& e) const
    {
        constexpr std::uint32_t basis = 0x811C9DC5;
        const std::uint32_t hash = ((e[0] ^ basis) + (e[1] ^ basis)) * 16777619u;
        const std::uint64_t bucket = hash & mask_;
        return bucket < count_ ? bucket : bucket - ((mask_ >> 1) + 1);
    }

private:
    std::uint64_t count_;
    std::uint64_t mask_;
};

} // namespace

std::uint64_t edge_buckets(std::uint64_t size)
{
    // Up to here floats count edges exactly, and the rule amounts to a quarter of them, rounded up.
    constexpr std::uint64_t exact = std::uint64_t(1) << 24;
    if (size <= exact) return std::max<std::uint64_t>(8, (size + 3) / 4);

    // Beyond, size and quotient are rounded: buckets come late or early by a few, so that the rounded
    // quarter would not do. Grown as the table would have grown.
    std::uint64_t buckets = exact / 4;
    for (std::uint64_t n = exact + 1; n <= size; ++n)
        if (float(n) / float(buckets) > 4.0F) ++buckets;
    return buckets;
}

edge& edge_set::find(unsigned a, unsigned b)
{
    const std::uint64_t wanted = key(a, b);
    size_t i = size_t(wanted * 0x9E3779B97F4A7C15U >> shift_); // golden ratio, by its upper bits
    while (slots_[i][0] != NO_NODE && key(slots_[i][0], slots_[i][1]) != wanted)
        i = (i + 1) & (slots_.size() - 1);
    return slots_[i];
}

void edge_set::double_slots()
{
    std::vector<edge> old(std::max<size_t>(64, 2 * slots_.size()), free_slot);
    old.swap(slots_);
    shift_ = 64 - unsigned(std::countr_zero(slots_.size()));
    for (const edge& e : old)
        if (e[0] != NO_NODE) find(e[0], e[1]) = e;
}

void edge_set::insert_all(const dense2D<unsigned>& connectM, element_type type)
{
    const edge_kind* same = find_edge_kind(type);
    if (!same && type != ET_FACE_MIX && type != ET_SOLID_MIX) return;

    const size_t n = connectM.empty() ? 0 : connectM.cols;
    for (size_t e = 0; e < n; ++e) {
        const unsigned* node = column(connectM, e);
        const edge_kind& kind = same ? *same : mixed_edge_kind(type, node, connectM.rows);
        for (unsigned k = 0; k < kind.edges; ++k)
            insert(node[kind.rows[k][0]], node[kind.rows[k][1]]);
    }
}

std::vector<edge> edge_set::ordered() const
{
    const std::uint64_t buckets = edge_buckets(size_);
    const bucket_of bucket(buckets);
    std::vector<size_t> next(buckets + 1); // of each bucket, the place of its next edge
    for (const edge& e : slots_)
        if (e[0] != NO_NODE) ++next[bucket(e) + 1];
    for (size_t b = 0; b < buckets; ++b) next[b + 1] += next[b];

    std::vector<edge> edges(size_);
    for (const edge& e : slots_)
        if (e[0] != NO_NODE) edges[next[bucket(e)]++] = e;

    size_t begin = 0;
    for (size_t b = 0; b < buckets; ++b) {
        std::sort(edges.data() + begin, edges.data() + next[b],
                  [](const edge& x, const edge& y) { return key(x[0], x[1]) < key(y[0], y[1]); });
        begin = next[b];
    }
    return edges;
}

} // namespace kz3::lattiq::detail
