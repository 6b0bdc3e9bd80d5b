#include "search/mersenne_generator.h"

#include <utility>

namespace kz3::lattiq::detail {
namespace {

// What the recurrence adds to a word far ahead: the top bit of one word joined to the rest of the
// word behind it.
std::uint32_t twist(std::uint32_t word, std::uint32_t successor)
{
    const std::uint32_t joined = (word & 0x80000000u) | (successor & 0x7FFFFFFFu);
    return (joined >> 1) ^ ((joined & 1u) != 0 ? 0x9908B0DFu : 0u);
}

} // namespace

mersenne_generator::mersenne_generator()
{
    state_[0] = 1;
    for (unsigned i = 1; i < words; ++i) state_[i] = state_[i - 1] * 69069u;
}

void mersenne_generator::reload()
{
    constexpr unsigned ahead = words - distance;
    for (unsigned i = 0; i < ahead; ++i)
        state_[i] = state_[i + distance] ^ twist(state_[i], state_[i + 1]);
    for (unsigned i = ahead; i < words - 1; ++i)
        state_[i] = state_[i - ahead] ^ twist(state_[i], state_[i + 1]);
    state_[words - 1] = state_[distance - 1] ^ twist(state_[words - 1], state_[0]);
    next_ = 0;
}

void shuffle_indices(unsigned* first, unsigned* last, mersenne_generator& generator)
{
    const auto n = std::uint32_t(last - first);
    for (std::uint32_t i = 1; i < n; ++i) std::swap(first[i], first[generator.draw() % (i + 1)]);
}

} // namespace kz3::lattiq::detail
