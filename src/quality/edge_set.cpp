#include "quality/edge_set.h"

#include <algorithm>
#include <bit>

#include <kz3/lattiq/element_type.h>

namespace kz3::lattiq::detail {
namespace {

constexpr edge free_slot{NO_NODE, NO_NODE};

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
    const std::uint64_t wanted = edge_key(a, b);
    size_t i = size_t(wanted * 0x9E3779B97F4A7C15U >> shift_); // golden ratio, by its upper bits
    while (slots_[i][0] != NO_NODE && edge_key(slots_[i][0], slots_[i][1]) != wanted)
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

} // namespace kz3::lattiq::detail
