#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include <kz3/lattiq/core.h>

#include "core/column.h"

namespace kz3::lattiq::detail {

/// Spreads an ID over 64 bits; the leading ones choose a slot of a power-of-two table. Consecutive
/// IDs land far apart.
inline std::uint64_t spread_id(unsigned id)
{
    return id * std::uint64_t(0x9E3779B97F4A7C15);
}

/// One above the largest ID that is no hole, 0 for an empty list or matrix.
template <typename Container>
size_t id_bound(const Container& ids, size_t n)
{
    return n == 0 ? 0 : size_t(max_ID(ids)) + 1;
}

/// Set of IDs, local to a call. NO_NODE is taken for a member from the start and not counted.
///
/// Where the IDs are dense it holds a bit for each, otherwise a hash table with linear probing that
/// doubles as it fills. Memory comes from the standard allocator, so std::bad_alloc may leave.
class id_set {
public:
    /// @param bound  every ID inserted is below it, or NO_NODE
    /// @param n      number of insertions to expect
    id_set(size_t bound, size_t n)
    {
        // A bit per ID as long as clearing them costs no more than the insertions will.
        if (bound / word_bits <= n)
            bits_.resize(bound / word_bits + 1);
        else
            slots_.resize(size_t(1) << start_log2, NO_NODE);
    }

    /// True if the ID was not a member yet.
    bool insert(unsigned id)
    {
        if (id == NO_NODE || !(slots_.empty() ? mark(id) : claim(id))) return false;
        ++size_;
        return true;
    }

    /// Members other than NO_NODE.
    size_t size() const { return size_; }

private:
    static constexpr size_t word_bits = 64;
    static constexpr unsigned start_log2 = 6;

    bool mark(unsigned id)
    {
        std::uint64_t& word = bits_[id / word_bits];
        const std::uint64_t bit = std::uint64_t(1) << id % word_bits;
        // Written only where it changes: near IDs share a word, and each would wait for the last write.
        if ((word & bit) != 0) return false;
        word |= bit;
        return true;
    }

    bool claim(unsigned id)
    {
        if (size_ >= slots_.size() / 2) double_slots();
        unsigned& slot = slots_[find_slot(id)];
        if (slot == id) return false;
        slot = id;
        return true;
    }

    size_t find_slot(unsigned id) const
    {
        const size_t mask = slots_.size() - 1;
        size_t s = spread_id(id) >> shift_;
        while (slots_[s] != NO_NODE && slots_[s] != id) s = (s + 1) & mask;
        return s;
    }

    void double_slots()
    {
        std::vector<unsigned> old(slots_.size() * 2, NO_NODE);
        old.swap(slots_);
        --shift_;
        for (const unsigned id : old)
            if (id != NO_NODE) slots_[find_slot(id)] = id;
    }

    std::vector<std::uint64_t> bits_; // empty where the slots are used
    std::vector<unsigned> slots_;     // NO_NODE: free
    unsigned shift_ = word_bits - start_log2;
    size_t size_ = 0;
};

/// A set that takes all IDs of a range of matrices.
inline id_set id_set_for(const dense2D<unsigned>* first, const dense2D<unsigned>* last)
{
    size_t bound = 0;
    size_t n = 0;
    for (const auto* m = first; m != last; ++m) {
        bound = std::max(bound, id_bound(*m, m->rows * m->cols));
        n += m->rows * m->cols;
    }
    return {bound, n};
}

} // namespace kz3::lattiq::detail
