#pragma once

#include <cstdint>
#include <utility>
#include <vector>

namespace plain {

/// MT19937 word by word, with a counter of words left and the whole recurrence modulo 624.
class mersenne_generator {
public:
    mersenne_generator() { seed(1); }

    std::uint32_t draw()
    {
        if (--left_ >= 0) return temper(state_[at_++]);
        if (left_ < -1) seed(4357);
        left_ = 623;
        at_ = 1;
        for (unsigned i = 0; i < 624; ++i) {
            const std::uint32_t y =
                (state_[i] & 0x80000000u) | (state_[(i + 1) % 624] & 0x7FFFFFFFu);
            state_[i] = state_[(i + 397) % 624] ^ (y >> 1);
            if (y % 2 == 1) state_[i] ^= 0x9908B0DFu;
        }
        return temper(state_[0]);
    }

private:
    void seed(std::uint32_t first)
    {
        state_[0] = first;
        for (unsigned i = 1; i < 624; ++i) state_[i] = state_[i - 1] * 69069u;
        left_ = 0;
        at_ = 0;
    }

    static std::uint32_t temper(std::uint32_t y)
    {
        y ^= y >> 11;
        y ^= (y << 7) & 0x9D2C5680u;
        y ^= (y << 15) & 0xEFC60000u;
        y ^= y >> 18;
        return y;
    }

    std::uint32_t state_[625] = {};
    int left_ = 0;
    unsigned at_ = 0;
};

/// A list in the order that a newly seeded generator gives it.
inline std::vector<unsigned> shuffled(std::vector<unsigned> list)
{
    mersenne_generator generator;
    for (std::uint32_t i = 1; i < list.size(); ++i) {
        const std::uint32_t j = generator.draw() % (i + 1);
        if (j != i) std::swap(list[i], list[j]);
    }
    return list;
}

} // namespace plain
