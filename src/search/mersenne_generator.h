#pragma once

#include <cstdint>

namespace kz3::lattiq::detail {

/// The Mersenne twister MT19937 with a seeding of its own: word i is word i-1 times 69069, from 1 on.
///
/// A new generator always gives the same sequence. It differs from std::mt19937, whose seeding adds
/// an increment and mixes high bits, and it must not change by a bit: it fixes the shape of every
/// search tree, and with it which of several equidistant nodes a query returns.
class mersenne_generator {
public:
    mersenne_generator();

    /// The next number.
    std::uint32_t draw()
    {
        if (next_ == words) reload();
        std::uint32_t y = state_[next_++];
        y ^= y >> 11;
        y ^= (y << 7) & 0x9D2C5680u;
        y ^= (y << 15) & 0xEFC60000u;
        return y ^ (y >> 18);
    }

private:
    static constexpr unsigned words = 624;
    static constexpr unsigned distance = 397;

    void reload();

    std::uint32_t state_[words];
    unsigned next_ = words; // nothing is left of the seed itself: the first draw reloads
};

/// Permutes [first, last) in place: element i in ascending order, from 1 on, changes places with
/// element draw() modulo i+1.
///
/// With a new generator every range of one length undergoes the same permutation of places. A range
/// of zero or one element draws nothing. O(last - first).
void shuffle_indices(unsigned* first, unsigned* last, mersenne_generator& generator);

} // namespace kz3::lattiq::detail
